// POSIX paths kept as text: every question about a path is answered by string rules
// alone; only the file-system operations at the end ask the system.
#pragma once

#include "CoreFoundation.h"
#include "Files.h"

#include <string>

// Case-insensitive comparison of the library: characters compare as signed 8-bit values
// after tolower. Returns -1, 0 or 1.
int stricmp(char const* a, char const* b);

// A file-system object named by reference; the path layer needs only its POSIX text.
class CoreRefPath {
 public:
  CoreRefPath() = default;
  explicit CoreRefPath(FSRef const& ref) : mFSRef(ref) {}

  // Refers to an existing object by path.
  bool Construct(char const* in_path);

  // The object's current POSIX path; null once the reference no longer names it.
  char const* GetUnixPath() const;

  FSRef mFSRef{};

 private:
  mutable char mUnixPath[1024]{};
};

class CoreUnixPath {
 public:
  static std::string const s_slash_str_const;

  CoreUnixPath() = default;
  CoreUnixPath(char const* p);
  CoreUnixPath(CFStringRef unix_file_path);
  CoreUnixPath(CFURLRef unix_file_url);
  CoreUnixPath(CoreRefPath const& copyOf);
  CoreUnixPath(CoreUnixPath const&) = default;
  CoreUnixPath& operator=(CoreUnixPath const&) = default;
  CoreUnixPath& operator=(CoreRefPath const& copyOf);
  virtual ~CoreUnixPath() = default;

  bool Construct(char const* p);
  bool Construct(CFStringRef unix_file_path);
  bool Construct(CFURLRef unix_file_url);
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
  bool GetParent(CoreUnixPath& out_parent_path) const;
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

  // File system.
  static bool FileExists(char const* in_path);
  static bool FileExistsRead(char const* in_path);
  static bool FileExistsReadWrite(char const* in_path);
  // Also asks for read access: a write-only test is not offered.
  static bool FileExistsWrite(char const* in_path);
  static bool FileDelete(char const* in_path);
  static bool FolderDelete(char const* in_path);
  // Makes the link `in_to` pointing at `in_from`.
  static bool MakeSymbolicLinkFromTo(char const* in_from, char const* in_to);
  bool chdir() const;
  bool getcwd();

  std::string mPath;
};
