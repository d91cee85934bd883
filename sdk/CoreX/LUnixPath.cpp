#include "LUnixPath.h"

#include "CoreMachDebugLog.h"
#include "CoreUnixPath.h"


std::string const LUnixPath::s_slash_str_const = "/";

// ---------------------------------------------------------------------------------------
// Construction

LUnixPath::LUnixPath(char const* p) : LUnixPath() { Construct(p); }

bool LUnixPath::Construct(char const* p) {
  if (p) mPath = p;
  return !IsEmpty();
}

// ---------------------------------------------------------------------------------------
// Classification

// The silent string rules are the full class's own.
bool LUnixPath::IsRootPath(char const* p) { return CoreUnixPath::IsRootPath(p); }

// The null check is logged as this class's own; the rules are the full class's.
bool LUnixPath::IsFullyQualified(char const* p) {
  bool const CoreUnixPath_NotNull = (p != nullptr);
  if (!CoreVerify(CoreUnixPath_NotNull)) return false;
  return CoreUnixPath::IsFullyQualified(p);
}

bool LUnixPath::IsPartiallyQualified(char const* p) {
  bool const CoreUnixPath_NotNull = (p != nullptr);
  if (!CoreVerify(CoreUnixPath_NotNull)) return false;
  return CoreUnixPath::IsPartiallyQualified(p);
}

bool LUnixPath::IsQualified(char const* p) {
  bool const CoreUnixPath_NotNull = (p != nullptr);
  if (!CoreVerify(CoreUnixPath_NotNull)) return false;
  return CoreUnixPath::IsQualified(p);
}

bool LUnixPath::IsJustName(char const* p) { return CoreUnixPath::IsJustName(p); }

bool LUnixPath::IsRoot() const { return IsRootPath(mPath.c_str()); }

bool LUnixPath::IsFullyQualified() const {
  if (!CoreVerify(!IsEmpty())) return false;
  return IsFullyQualified(mPath.c_str());
}

bool LUnixPath::IsPartiallyQualified() const {
  if (!CoreVerify(!IsEmpty())) return false;
  return IsPartiallyQualified(mPath.c_str());
}

bool LUnixPath::IsQualified() const {
  if (!CoreVerify(!IsEmpty())) return false;
  return IsQualified(mPath.c_str());
}

bool LUnixPath::IsJustName() const {
  if (!CoreVerify(!IsEmpty())) return false;
  return !IsQualified();
}

// ---------------------------------------------------------------------------------------
// Slashes

bool LUnixPath::AddTrailingSlash(std::string& s) { return CoreUnixPath::AddTrailingSlash(s); }
bool LUnixPath::RemoveTrailingSlash(std::string& s) { return CoreUnixPath::RemoveTrailingSlash(s); }
bool LUnixPath::AddTrailingSlash() { return AddTrailingSlash(mPath); }
bool LUnixPath::RemoveTrailingSlash() { return RemoveTrailingSlash(mPath); }

// ---------------------------------------------------------------------------------------
// Parent, name and pairs

bool LUnixPath::GetPathParent(std::string const& path, std::string& parent) {
  return CoreUnixPath::GetPathParent(path, parent);
}

bool LUnixPath::GetPathJustName(std::string const& path, std::string& name) {
  if (!CoreVerify(!IsRootPath(path.c_str()))) return false;
  std::string copy = path;
  RemoveTrailingSlash(copy);
  int const found_slash_at = int(copy.rfind('/'));
  if (found_slash_at > 0) {
    name = copy.substr(std::string::size_type(found_slash_at) + 1);
    return true;
  }
  return false;
}

bool LUnixPath::GetPathBasePartAndNamePart(std::string const& path, std::string& base,
                                              std::string& name) {
  std::string::size_type const path_length = path.length();
  if (!CoreVerify(path_length)) return false;
  if (IsFullyQualified(path.c_str())) {
    base = s_slash_str_const;
    if (path_length >= 2) name = path.substr(1);
    return true;
  }
  if (IsPartiallyQualified(path.c_str())) {
    std::string::size_type const found_slash_at = path.find('/');
    if (!CoreVerify(int(found_slash_at)>0)) return false;
    base = path.substr(0, found_slash_at);
    name = path.substr(found_slash_at + 1);
    AddTrailingSlash(base);
    return true;
  }
  base = path;
  return true;
}

bool LUnixPath::GetParent(std::string& parent) const { return GetPathParent(mPath, parent); }

bool LUnixPath::GetJustName(std::string& name) const { return GetPathJustName(mPath, name); }

bool LUnixPath::GetFirstPair(std::string& base, std::string& name) const {
  if (!CoreVerify(!IsEmpty())) return false;
  if (IsJustName()) {
    base = "./";
    name = mPath;
    return true;
  }
  return GetPathBasePartAndNamePart(mPath, base, name);
}

// `base` is the prefix walked so far; the walk ends when `name` has no inner slash left.
bool LUnixPath::GetNextPair(std::string& base, std::string& name) const {
  std::string::size_type const base_length = base.length();
  if (!CoreVerify(!IsEmpty() && (base_length>0))) return false;
  if (!IsPartiallyQualified(name.c_str())) return false;
  std::string const rest =
      base_length <= mPath.length() ? mPath.substr(base_length) : std::string();
  std::string part = base;
  bool const fOk = GetPathBasePartAndNamePart(rest, part, name);
  if (fOk) base += part;
  return fOk;
}

// ---------------------------------------------------------------------------------------
// Extensions

// The last dot wins even when a slash follows it: "dir.d/file" gives "d/file". A path
// without an extension is an ordinary answer here, so nothing is logged.
bool LUnixPath::GetPathExtension(std::string const& path, std::string& ext) {
  if (IsRootPath(path.c_str())) return false;
  std::string::size_type const rfound_dot_at = path.rfind('.');
  if (!(int(rfound_dot_at) > 0)) return false;
  ext = path.substr(rfound_dot_at + 1);
  return true;
}

bool LUnixPath::HasValidFileExtension(std::string const& path) {
  int const rfound_dot_at = int(path.rfind('.'));
  if (!(rfound_dot_at > 0)) return false;
  int const rfound_slash_at = int(path.rfind('/'));
  return CoreVerify(rfound_dot_at>rfound_slash_at);
}

bool LUnixPath::AddPathExtension(std::string& inout_path, char const* ext) {
  if (!CoreVerify(!IsRootPath(inout_path.c_str()))) return false;
  if (ext == nullptr) ext = "";
  if (ext[0] != '.') inout_path += '.';
  inout_path += ext;
  return true;
}

bool LUnixPath::ReplacePathExtension(std::string& path, char const* in_extension) {
  if (!CoreVerify(!IsRootPath(path.c_str()))) return false;
  bool fOk;
  if (HasValidFileExtension(path)) {
    std::string::size_type const rfound_dot_at = path.rfind('.');
    if (!CoreVerify(int(rfound_dot_at)>0)) return false;
    std::string new_path = path.substr(0, rfound_dot_at);
    fOk = CoreVerify(AddPathExtension(new_path,in_extension));
    if (fOk) path = new_path;
  } else {
    CoreMachDebugVerify(fOk = LUnixPath::AddPathExtension(path,in_extension));
  }
  return fOk;
}

bool LUnixPath::HasPathExtension(std::string const& path, char const* ext) {
  std::string s_extension;
  if (!GetPathExtension(path, s_extension)) return false;
  if (ext == nullptr) ext = "";
  if (ext[0] == '.') ++ext;
  return 0 == stricmp(s_extension.c_str(), ext);
}

bool LUnixPath::GetExtension(std::string& ext) const { return GetPathExtension(mPath, ext); }
bool LUnixPath::AddExtension(char const* ext) { return AddPathExtension(mPath, ext); }

bool LUnixPath::ReplaceExtension(char const* in_extension) {
  return ReplacePathExtension(mPath, in_extension);
}

bool LUnixPath::HasExtension(char const* ext) const {
  if (!HasValidFileExtension(mPath)) return false;
  return HasPathExtension(mPath, ext);
}
