// File URLs over POSIX paths. A directory URL's path ends with "/"; a relative path keeps
// the working folder of its creation as its base.
#include "CFObject.h"

#include <cstdio>
#include <cstring>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

CFTypeID URLTypeID() {
  static CFTypeID const typeID = CFObjectRegisterType("CFURL");
  return typeID;
}

std::string PercentEncoded(std::string_view path) {
  static char const kHex[] = "0123456789ABCDEF";
  std::string out;
  for (unsigned char c : path) {
    bool const plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       std::strchr("/-._~!$&'()*+,;=:@", c) != nullptr;
    if (plain && c != 0) {
      out += char(c);
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    }
  }
  return out;
}

std::string WorkingFolder() {
  std::string folder(4096, '\0');
  if (!::getcwd(folder.data(), folder.size())) return "/";
  folder.resize(std::strlen(folder.c_str()));
  return folder;
}

bool StringToUTF8(CFStringRef string, std::string& out) {
  out.clear();
  CFIndex const length = CFStringGetLength(string);
  CFIndex const size = CFStringGetMaximumSizeForEncoding(length, kCFStringEncodingUTF8) + 1;
  if (size <= 0) return false;
  std::string buffer(std::size_t(size), '\0');
  if (!CFStringGetCString(string, buffer.data(), size, kCFStringEncodingUTF8)) return false;
  out.assign(buffer.c_str());
  return true;
}

CFStringRef UTF8ToString(std::string const& text) {
  return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<UInt8 const*>(text.data()),
                                 CFIndex(text.size()), kCFStringEncodingUTF8, false);
}

}  // namespace

struct __CFURL final : CFObject {
  __CFURL() : CFObject(URLTypeID()) {}

  std::string Describe() const override {
    char head[64];
    std::snprintf(head, sizeof head, "<CFURL %p>{string = ", static_cast<void const*>(this));
    std::string text = head;
    if (mBase.empty()) text += "file://";
    text += PercentEncoded(mPath) + ", base = ";
    text += mBase.empty() ? "(null)" : "file://" + PercentEncoded(mBase) + "/";
    return text + "}";
  }
  bool Equals(CFObject const& other) const override {
    auto const& o = static_cast<__CFURL const&>(other);
    return mPath == o.mPath && mBase == o.mBase;
  }

  bool IsDirectory() const { return !mPath.empty() && mPath.back() == '/'; }
  // The path without the directory's trailing slash (the root keeps it).
  std::string PlainPath() const {
    std::string p = mPath;
    if (p.size() > 1 && p.back() == '/') p.pop_back();
    return p;
  }
  std::string ResolvedPath() const {
    if (mBase.empty()) return PlainPath();
    std::string const plain = PlainPath();
    return plain == "." || plain == "./" ? mBase : mBase + "/" + plain;
  }

  std::string mPath;  // UTF-8 POSIX path, "/" at the end for a directory
  std::string mBase;  // working folder for a relative path, else empty
};

namespace {

__CFURL const* AsURL(CFURLRef url) { return CFObjectCast<__CFURL const>(url, URLTypeID()); }

CFURLRef MakeURL(std::string path, bool isDirectory, std::string base) {
  if (path.empty()) return nullptr;
  if (isDirectory && path.back() != '/') path += '/';
  while (!isDirectory && path.size() > 1 && path.back() == '/') path.pop_back();
  auto* url = new __CFURL;
  url->mPath = std::move(path);
  url->mBase = url->mPath.front() == '/' ? std::string() : std::move(base);
  return url;
}

}  // namespace

CFTypeID CFURLGetTypeID() { return URLTypeID(); }

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef, CFStringRef filePath, CFURLPathStyle pathStyle,
                                       Boolean isDirectory) {
  std::string path;
  if (pathStyle != kCFURLPOSIXPathStyle || !StringToUTF8(filePath, path)) return nullptr;
  std::string base = path.empty() || path[0] == '/' ? "" : WorkingFolder();
  return MakeURL(std::move(path), isDirectory, std::move(base));
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, UInt8 const* buffer, CFIndex bufLen,
                                                 Boolean isDirectory) {
  if (!buffer || bufLen <= 0) return nullptr;
  std::string path(reinterpret_cast<char const*>(buffer), std::size_t(bufLen));
  // The representation may carry its terminator.
  if (auto const zero = path.find('\0'); zero != std::string::npos) path.resize(zero);
  std::string base = path.empty() || path[0] == '/' ? "" : WorkingFolder();
  return MakeURL(std::move(path), isDirectory, std::move(base));
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, FSRef const* fsRef) {
  if (!fsRef || FSRefValidate(fsRef) != noErr) return nullptr;
  char path[sizeof fsRef->path];
  if (FSRefMakePath(fsRef, reinterpret_cast<UInt8*>(path), sizeof path) != noErr) return nullptr;
  struct stat info {};
  if (::stat(path, &info) != 0) return nullptr;
  return MakeURL(path, S_ISDIR(info.st_mode), "");
}

Boolean CFURLGetFSRef(CFURLRef url, FSRef* fsRef) {
  __CFURL const* u = AsURL(url);
  if (!u || !fsRef) return false;
  std::string const path = u->ResolvedPath();
  return FSPathMakeRef(reinterpret_cast<UInt8 const*>(path.c_str()), fsRef, nullptr) == noErr;
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle pathStyle) {
  __CFURL const* u = AsURL(url);
  if (!u || pathStyle != kCFURLPOSIXPathStyle) return nullptr;
  return UTF8ToString(u->PlainPath());
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex maxBufLen) {
  __CFURL const* u = AsURL(url);
  if (!u || !buffer || maxBufLen <= 0) return false;
  std::string const path = resolveAgainstBase ? u->ResolvedPath() : u->PlainPath();
  if (path.size() + 1 > std::size_t(maxBufLen)) return false;
  std::memcpy(buffer, path.c_str(), path.size() + 1);
  return true;
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url, CFStringRef pathComponent,
                                               Boolean isDirectory) {
  __CFURL const* u = AsURL(url);
  std::string component;
  if (!u || !StringToUTF8(pathComponent, component)) return nullptr;
  std::string path = u->mPath;
  if (path.back() != '/') path += '/';
  path += component;
  return MakeURL(std::move(path), isDirectory, u->mBase);
}

CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef, CFURLRef url) {
  __CFURL const* u = AsURL(url);
  if (!u) return nullptr;
  std::string const plain = u->PlainPath();
  if (plain == "/") return MakeURL("/", true, "");
  auto const slash = plain.rfind('/');
  // A relative single name leaves its working folder.
  std::string parent = slash == std::string::npos ? "./" : plain.substr(0, slash + 1);
  return MakeURL(std::move(parent), true, u->mBase);
}

Boolean CFURLHasDirectoryPath(CFURLRef url) {
  __CFURL const* u = AsURL(url);
  return u && u->IsDirectory();
}
