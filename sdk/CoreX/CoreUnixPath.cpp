#include "CoreUnixPath.h"

#include "CoreMachDebugLog.h"
#include "TCFString.h"

#include <cctype>
#include <string_view>
#include <unistd.h>

std::string const CoreUnixPath::s_slash_str_const = "/";

int stricmp(char const* a, char const* b) {
  for (;; ++a, ++b) {
    signed char const ca = static_cast<signed char>(std::tolower(static_cast<signed char>(*a)));
    signed char const cb = static_cast<signed char>(std::tolower(static_cast<signed char>(*b)));
    if (ca < cb) return -1;
    if (ca > cb) return 1;
    if (ca == 0) return 0;
  }
}

// ---------------------------------------------------------------------------------------
// CoreRefPath

bool CoreRefPath::Construct(char const* in_path) {
  mFSRef = FSRef{};
  return noErr == CoreVerifyOSerr(FSPathMakeRef(reinterpret_cast<UInt8 const*>(in_path), &mFSRef, nullptr));
}

char const* CoreRefPath::GetUnixPath() const {
  if (noErr != FSRefMakePath(&mFSRef, reinterpret_cast<UInt8*>(mUnixPath), sizeof(mUnixPath)))
    return nullptr;
  return mUnixPath;
}

// ---------------------------------------------------------------------------------------
// Construction

CoreUnixPath::CoreUnixPath(char const* p) : CoreUnixPath() { Construct(p); }

CoreUnixPath::CoreUnixPath(CoreRefPath const& copyOf) : CoreUnixPath() {
  CoreMachDebugVerify(Construct(copyOf.GetUnixPath()));
}

CoreUnixPath& CoreUnixPath::operator=(CoreRefPath const& copyOf) {
  CoreMachDebugVerify(Construct(copyOf.GetUnixPath()));
  return *this;
}

bool CoreUnixPath::Construct(char const* p) {
  if (p) mPath = p;
  return !IsEmpty();
}

CoreUnixPath::CoreUnixPath(CFStringRef unix_file_path) : CoreUnixPath() { Construct(unix_file_path); }

CoreUnixPath::CoreUnixPath(CFURLRef unix_file_url) : CoreUnixPath() { Construct(unix_file_url); }

// No encoding is chosen: the string's preferred one gives the file-system text.
bool CoreUnixPath::Construct(CFStringRef unix_file_path) {
  bool fOk = CoreVerify(unix_file_path);
  if (fOk) CoreMachDebugVerify(fOk = TCFString(unix_file_path).GetValue(mPath));
  return fOk;
}

bool CoreUnixPath::Construct(CFURLRef unix_file_url) {
  if (!CoreVerify(unix_file_url)) return false;
  CFStringRef const posix_file_path = CFURLCopyFileSystemPath(unix_file_url, kCFURLPOSIXPathStyle);
  if (!CoreVerify(posix_file_path)) return false;
  bool fOk;
  CoreMachDebugVerify(fOk = Construct(posix_file_path));
  CFRelease(posix_file_path);
  return fOk;
}

// ---------------------------------------------------------------------------------------
// Classification

// The test is on the second character: "a/" and "//" are roots, "/" is not.
bool CoreUnixPath::IsRootPath(char const* p) {
  return p != nullptr && p[0] != 0 && p[1] == '/' && p[2] == 0;
}

bool CoreUnixPath::IsFullyQualified(char const* p) {
  bool const CoreUnixPath_NotNull = (p != nullptr);
  if (!CoreVerify(CoreUnixPath_NotNull)) return false;
  return p[0] == '/';
}

bool CoreUnixPath::IsPartiallyQualified(char const* p) {
  bool const CoreUnixPath_NotNull = (p != nullptr);
  if (!CoreVerify(CoreUnixPath_NotNull)) return false;
  return p[0] != 0 && p[0] != '/' && std::string_view(p).find('/') != std::string_view::npos;
}

bool CoreUnixPath::IsQualified(char const* p) {
  bool const CoreUnixPath_NotNull = (p != nullptr);
  if (!CoreVerify(CoreUnixPath_NotNull)) return false;
  if (p[0] == 0) return false;
  return IsFullyQualified(p) || IsPartiallyQualified(p);
}

bool CoreUnixPath::IsJustName(char const* p) {
  if (p == nullptr || p[0] == 0) return false;
  return !IsFullyQualified(p) && !IsPartiallyQualified(p);
}

bool CoreUnixPath::IsRoot() const { return IsRootPath(mPath.c_str()); }

bool CoreUnixPath::IsFullyQualified() const {
  if (!CoreVerify(!IsEmpty())) return false;
  return IsFullyQualified(mPath.c_str());
}

bool CoreUnixPath::IsPartiallyQualified() const {
  if (!CoreVerify(!IsEmpty())) return false;
  return IsPartiallyQualified(mPath.c_str());
}

bool CoreUnixPath::IsQualified() const {
  if (!CoreVerify(!IsEmpty())) return false;
  return IsQualified(mPath.c_str());
}

bool CoreUnixPath::IsJustName() const {
  if (!CoreVerify(!IsEmpty())) return false;
  return !IsQualified();
}

// ---------------------------------------------------------------------------------------
// Slashes

bool CoreUnixPath::AddTrailingSlash(std::string& s) {
  if (s.empty()) {
    s = s_slash_str_const;
    return true;
  }
  if (s.back() == '/') return false;
  s += s_slash_str_const;
  return true;
}

// Only one slash goes: "/" becomes empty, "a//" becomes "a/".
bool CoreUnixPath::RemoveTrailingSlash(std::string& s) {
  if (s.empty() || s.back() != '/') return false;
  s.pop_back();
  return true;
}

bool CoreUnixPath::AddTrailingSlash() { return AddTrailingSlash(mPath); }
bool CoreUnixPath::RemoveTrailingSlash() { return RemoveTrailingSlash(mPath); }

// ---------------------------------------------------------------------------------------
// Parent, name and pairs

// A top-level name ("/a", "a") has no parent.
bool CoreUnixPath::GetPathParent(std::string const& path, std::string& parent) {
  if (IsRootPath(path.c_str())) return false;
  std::string copy = path;
  RemoveTrailingSlash(copy);
  int const found_slash_at = int(copy.rfind('/'));
  if (found_slash_at > 0) {
    parent = copy.substr(0, std::string::size_type(found_slash_at));
    AddTrailingSlash(parent);
    return true;
  }
  return false;
}

bool CoreUnixPath::GetPathJustName(std::string const& path, std::string& name) {
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

bool CoreUnixPath::GetPathBasePartAndNamePart(std::string const& path, std::string& base,
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

bool CoreUnixPath::GetParent(std::string& parent) const { return GetPathParent(mPath, parent); }

bool CoreUnixPath::GetParent(CoreUnixPath& out_parent_path) const {
  std::string parent_path;
  bool fOk = CoreVerify(GetParent(parent_path));
  if (fOk) CoreMachDebugVerify(fOk=out_parent_path.Construct(parent_path.c_str()));
  return fOk;
}

bool CoreUnixPath::GetJustName(std::string& name) const { return GetPathJustName(mPath, name); }

bool CoreUnixPath::GetFirstPair(std::string& base, std::string& name) const {
  if (!CoreVerify(!IsEmpty())) return false;
  if (IsJustName()) {
    base = "./";
    name = mPath;
    return true;
  }
  return GetPathBasePartAndNamePart(mPath, base, name);
}

// `base` is the prefix walked so far; the walk ends when `name` has no inner slash left.
bool CoreUnixPath::GetNextPair(std::string& base, std::string& name) const {
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

// The last dot wins even when a slash follows it: "dir.d/file" gives "d/file".
bool CoreUnixPath::GetPathExtension(std::string const& path, std::string& ext) {
  if (!CoreVerify(!IsRootPath(path.c_str()))) return false;
  std::string::size_type const rfound_dot_at = path.rfind('.');
  if (!CoreVerify(int(rfound_dot_at)>0)) return false;
  ext = path.substr(rfound_dot_at + 1);
  return true;
}

bool CoreUnixPath::HasValidFileExtension(std::string const& path) {
  int const rfound_dot_at = int(path.rfind('.'));
  if (!(rfound_dot_at > 0)) return false;
  int const rfound_slash_at = int(path.rfind('/'));
  return CoreVerify(rfound_dot_at>rfound_slash_at);
}

bool CoreUnixPath::AddPathExtension(std::string& inout_path, char const* ext) {
  if (!CoreVerify(!IsRootPath(inout_path.c_str()))) return false;
  if (ext == nullptr) ext = "";
  if (ext[0] != '.') inout_path += '.';
  inout_path += ext;
  return true;
}

bool CoreUnixPath::ReplacePathExtension(std::string& path, char const* in_extension) {
  if (!CoreVerify(!IsRootPath(path.c_str()))) return false;
  bool fOk;
  if (HasValidFileExtension(path)) {
    std::string::size_type const rfound_dot_at = path.rfind('.');
    if (!CoreVerify(int(rfound_dot_at)>0)) return false;
    std::string new_path = path.substr(0, rfound_dot_at);
    fOk = CoreVerify(AddPathExtension(new_path,in_extension));
    if (fOk) path = new_path;
  } else {
    CoreMachDebugVerify(fOk = CoreUnixPath::AddPathExtension(path,in_extension));
  }
  return fOk;
}

bool CoreUnixPath::HasPathExtension(std::string const& path, char const* ext) {
  std::string s_extension;
  if (!CoreVerify(GetPathExtension(path, s_extension))) return false;
  if (ext == nullptr) ext = "";
  if (ext[0] == '.') ++ext;
  return 0 == stricmp(s_extension.c_str(), ext);
}

bool CoreUnixPath::GetExtension(std::string& ext) const { return GetPathExtension(mPath, ext); }
bool CoreUnixPath::AddExtension(char const* ext) { return AddPathExtension(mPath, ext); }

bool CoreUnixPath::ReplaceExtension(char const* in_extension) {
  return ReplacePathExtension(mPath, in_extension);
}

bool CoreUnixPath::HasExtension(char const* ext) const {
  if (!HasValidFileExtension(mPath)) return false;
  return HasPathExtension(mPath, ext);
}

// ---------------------------------------------------------------------------------------
// File system

bool CoreUnixPath::FileExists(char const* in_path) {
  return in_path != nullptr && 0 == ::access(in_path, F_OK);
}

bool CoreUnixPath::FileExistsRead(char const* in_path) {
  return in_path != nullptr && 0 == ::access(in_path, R_OK);
}

bool CoreUnixPath::FileExistsReadWrite(char const* in_path) {
  return in_path != nullptr && 0 == ::access(in_path, R_OK | W_OK);
}

bool CoreUnixPath::FileExistsWrite(char const* in_path) {
  return in_path != nullptr && 0 == ::access(in_path, R_OK | W_OK);
}

bool CoreUnixPath::FileDelete(char const* in_path) {
  bool fOk;
  CoreMachDebugVerify(fOk = (0==unlink(in_path)));
  return fOk;
}

bool CoreUnixPath::FolderDelete(char const* in_path) {
  bool fOk;
  CoreMachDebugVerify(fOk = (0==rmdir(in_path)));
  return fOk;
}

bool CoreUnixPath::MakeSymbolicLinkFromTo(char const* in_from, char const* in_to) {
  if (in_from == nullptr || 0 != ::access(in_from, R_OK)) return false;
  CoreUnixPath link_path(in_to);
  CoreUnixPath target_path(in_from);
  link_path.RemoveTrailingSlash();
  target_path.RemoveTrailingSlash();
  int const posix_result = ::symlink(target_path.mPath.c_str(), link_path.mPath.c_str());
  bool fOk;
  if (!CoreVerify(fOk = (0==posix_result))) {
    CoreMachDebugLogNull("%d=CoreUnixPath::MakeSymbolicLink(%s <= %s)\n", posix_result,
                         link_path.mPath.c_str(), target_path.mPath.c_str());
  }
  return fOk;
}

bool CoreUnixPath::chdir() const {
  if (!CoreVerify(!IsEmpty())) return false;
  bool fOk;
  CoreMachDebugVerify(fOk = (0==::chdir(mPath.c_str())));
  return fOk;
}

bool CoreUnixPath::getcwd() {
  struct {
    char buffer[1025];
  } cwd{};
  if (!CoreVerify(::getcwd(cwd.buffer,sizeof(cwd.buffer)))) return false;
  bool fOk;
  CoreMachDebugVerify(fOk = Construct(cwd.buffer));
  return fOk;
}
