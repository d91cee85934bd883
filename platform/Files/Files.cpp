#include "Files.h"

#include "FilesInternal.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using files_internal::ErrFromErrno;

std::string Home() {
  char const* home = std::getenv("HOME");
  return home && *home ? home : "/";
}

// An absolute value of an XDG variable, else the default below $HOME.
std::string XdgBase(char const* variable, char const* fallback) {
  char const* v = std::getenv(variable);
  if (v && v[0] == '/') return v;
  return Home() + "/" + fallback;
}

// XDG user directory: the variable itself, then user-dirs.dirs, then $HOME/<fallback>.
std::string XdgUserDir(char const* key, char const* fallback) {
  if (char const* v = std::getenv(key); v && v[0] == '/') return v;
  std::ifstream in(XdgBase("XDG_CONFIG_HOME", ".config") + "/user-dirs.dirs");
  std::string line;
  std::string const prefix = std::string(key) + "=";
  while (std::getline(in, line)) {
    if (line.rfind(prefix, 0) != 0) continue;
    std::string value = line.substr(prefix.size());
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
      value = value.substr(1, value.size() - 2);
    if (value.rfind("$HOME", 0) == 0) value = Home() + value.substr(5);
    if (!value.empty() && value[0] == '/') return value;
  }
  return Home() + "/" + fallback;
}

bool FolderPathFor(short domain, OSType type, std::string& out) {
  if (domain == kUserDomain || domain == kOnAppropriateDisk || domain == kOnSystemDisk) {
    switch (type) {
      case kLogsFolderType: out = XdgBase("XDG_STATE_HOME", ".local/state"); return true;
      case kPictureDocumentsFolderType: out = XdgUserDir("XDG_PICTURES_DIR", "Pictures"); return true;
      case kDesktopFolderType: out = XdgUserDir("XDG_DESKTOP_DIR", "Desktop"); return true;
      case kDocumentsFolderType: out = XdgUserDir("XDG_DOCUMENTS_DIR", "Documents"); return true;
      case kMovieDocumentsFolderType: out = XdgUserDir("XDG_VIDEOS_DIR", "Videos"); return true;
      case kDesktopPicturesFolderType:
        out = XdgBase("XDG_DATA_HOME", ".local/share") + "/backgrounds";
        return true;
      case kTemporaryFolderType: {
        char const* t = std::getenv("TMPDIR");
        out = t && t[0] == '/' ? t : "/tmp";
        return true;
      }
      case kTaveloComponentsFolderType:
        out = XdgBase("XDG_DATA_HOME", ".local/share") + "/tavelo";
        return true;
      default: break;
    }
  }
  if (domain == kSystemDomain && type == kTemporaryFolderType) { out = "/tmp"; return true; }
  // Frameworks are shared objects: the system's multiarch library folder, and /usr/local/lib.
  if (type == kFrameworksFolderType && (domain == kSystemDomain || domain == kLocalDomain)) {
    out = domain == kSystemDomain ? "/usr/lib/" TAVELO_LIBRARY_ARCHITECTURE : "/usr/local/lib";
    return true;
  }
  if (type == kTaveloComponentsFolderType && (domain == kSystemDomain || domain == kLocalDomain)) {
    out = domain == kSystemDomain ? "/usr/lib/tavelo" : "/usr/local/lib/tavelo";
    return true;
  }
  return false;
}

// mkdir -p with the given mode for the folders it makes.
bool MakeFolders(std::string const& path, mode_t mode) {
  for (std::size_t at = 1; at <= path.size(); ++at) {
    if (at != path.size() && path[at] != '/') continue;
    std::string const part = path.substr(0, at);
    if (::mkdir(part.c_str(), mode) != 0 && errno != EEXIST) return false;
  }
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace

OSStatus FSPathMakeRef(UInt8 const* path, FSRef* ref, Boolean* isDirectory) {
  if (!path || !ref) return paramErr;
  char resolved[PATH_MAX];
  if (!::realpath(reinterpret_cast<char const*>(path), resolved)) return ErrFromErrno(errno);
  std::size_t const length = std::strlen(resolved);
  if (length >= sizeof(ref->path)) return errFSNameTooLong;
  struct stat st {};
  if (::stat(resolved, &st) != 0) return ErrFromErrno(errno);
  std::memset(ref, 0, sizeof(*ref));
  ref->device = st.st_dev;
  ref->inode = st.st_ino;
  std::memcpy(ref->path, resolved, length + 1);
  if (isDirectory) *isDirectory = S_ISDIR(st.st_mode) ? 1 : 0;
  return noErr;
}

OSErr FSRefValidate(FSRef const* ref) {
  if (!ref || ref->path[0] != '/' || std::memchr(ref->path, 0, sizeof(ref->path)) == nullptr)
    return errFSBadFSRef;
  struct stat st {};
  if (::stat(ref->path, &st) != 0) return ErrFromErrno(errno);
  if (st.st_dev != ref->device || st.st_ino != ref->inode) return fnfErr;
  return noErr;
}

OSStatus FSRefMakePath(FSRef const* ref, UInt8* path, UInt32 maxPathSize) {
  if (!path || maxPathSize == 0) return paramErr;
  if (OSErr const err = FSRefValidate(ref)) return err;
  std::size_t const length = std::strlen(ref->path);
  if (length + 1 > maxPathSize) return errFSBadBuffer;
  std::memcpy(path, ref->path, length + 1);
  return noErr;
}

OSErr FSFindFolder(short vRefNum, OSType folderType, Boolean createFolder, FSRef* foundFolder) {
  if (!foundFolder) return paramErr;
  std::string folder;
  if (!FolderPathFor(vRefNum, folderType, folder)) return fnfErr;
  struct stat st {};
  if (::stat(folder.c_str(), &st) != 0) {
    // The XDG rules ask for the state folder to be made, private, when it is missing.
    bool const make = createFolder || folderType == kLogsFolderType;
    if (!make || !MakeFolders(folder, folderType == kLogsFolderType ? 0700 : 0755))
      return fnfErr;
  }
  Boolean isDirectory = 0;
  OSStatus const err = FSPathMakeRef(reinterpret_cast<UInt8 const*>(folder.c_str()), foundFolder,
                                     &isDirectory);
  if (err != noErr) return static_cast<OSErr>(err);
  return isDirectory ? noErr : static_cast<OSErr>(dirNFErr);
}

namespace {
void SetName(HFSUniStr255* out, char const* ascii) {
  *out = HFSUniStr255{};
  for (; ascii[out->length] != 0; ++out->length) out->unicode[out->length] = UniChar(ascii[out->length]);
}
}  // namespace

OSErr FSGetDataForkName(HFSUniStr255* dataForkName) {
  if (!dataForkName) return paramErr;
  SetName(dataForkName, "");
  return noErr;
}

OSErr FSGetResourceForkName(HFSUniStr255* resourceForkName) {
  if (!resourceForkName) return paramErr;
  SetName(resourceForkName, "RESOURCE_FORK");
  return noErr;
}
