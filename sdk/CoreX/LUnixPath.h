// The lighter twin of CoreUnixPath for latent paths: the same string rules, no file
// system, and quiet where a missing extension is an ordinary answer.
#pragma once

#include <string>

class LUnixPath {
 public:
  static std::string const s_slash_str_const;

  LUnixPath() = default;
  LUnixPath(char const* p);
  LUnixPath(LUnixPath const&) = default;
  LUnixPath& operator=(LUnixPath const&) = default;
  virtual ~LUnixPath() = default;

  bool Construct(char const* p);
  // Deliberately keeps the path; callers that want an empty path assign one.
  void Empty() {}

  // Classification.
  static bool IsRootPath(char const* p);
  static bool IsFullyQualified(char const* p);
  static bool IsPartiallyQualified(char const* p);
  static bool IsQualified(char const* p);
  static bool IsJustName(char const* p);
  bool IsRoot() const;
  bool IsFullyQualified() const;
  bool IsPartiallyQualified() const;
  bool IsQualified() const;
  bool IsJustName() const;
  bool IsEmpty() const { return mPath.length() == 0; }
  operator char const*() const { return mPath.c_str(); }

  // Slashes.
  static bool AddTrailingSlash(std::string& s);
  static bool RemoveTrailingSlash(std::string& s);
  bool AddTrailingSlash();
  bool RemoveTrailingSlash();

  // Parent, name and the walk by folder levels.
  static bool GetPathParent(std::string const& path, std::string& parent);
  static bool GetPathJustName(std::string const& path, std::string& name);
  static bool GetPathBasePartAndNamePart(std::string const& path, std::string& base,
                                         std::string& name);
  bool GetParent(std::string& parent) const;
  bool GetJustName(std::string& name) const;
  bool GetFirstPair(std::string& base, std::string& name) const;
  bool GetNextPair(std::string& base, std::string& name) const;

  // Extensions.
  static bool GetPathExtension(std::string const& path, std::string& ext);
  static bool HasValidFileExtension(std::string const& path);
  static bool AddPathExtension(std::string& inout_path, char const* ext);
  static bool ReplacePathExtension(std::string& path, char const* in_extension);
  static bool HasPathExtension(std::string const& path, char const* ext);
  bool GetExtension(std::string& ext) const;
  bool AddExtension(char const* ext);
  bool ReplaceExtension(char const* in_extension);
  bool HasExtension(char const* ext) const;

  std::string mPath;
};
