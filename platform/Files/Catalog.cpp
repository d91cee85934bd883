// Catalog queries (stat(2) and the Finder information attribute), children by UTF-16 name,
// creating, deleting and renaming.
#include "Files.h"
#include "FilesInternal.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace files_internal {

OSErr ErrFromErrno(int e) {
  switch (e) {
    case ENOENT: return fnfErr;
    case ENOTDIR: return dirNFErr;
    case EACCES:
    case EPERM: return permErr;
    case EROFS: return wPrErr;
    case ENOSPC:
    case EFBIG:
    case EDQUOT: return dskFulErr;
    case ENAMETOOLONG: return errFSNameTooLong;
    case EEXIST: return dupFNErr;
    case EBUSY:
    case ENOTEMPTY: return fBsyErr;
    case EISDIR: return notAFileErr;
    case ENOTSUP: return errFSOperationNotSupported;
    case EINVAL: return paramErr;
    default: return ioErr;
  }
}

OSErr NameToUTF8(UniCharCount length, UniChar const* name, std::string& out) {
  out.clear();
  if (length > 0 && !name) return paramErr;
  for (UniCharCount i = 0; i < length; ++i) {
    UInt32 c = name[i];
    if (c == 0) return bdNamErr;
    if (c >= 0xD800 && c <= 0xDBFF) {
      if (i + 1 >= length || name[i + 1] < 0xDC00 || name[i + 1] > 0xDFFF) return bdNamErr;
      c = 0x10000 + ((c - 0xD800) << 10) + (name[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xDC00 && c <= 0xDFFF) {
      return bdNamErr;
    }
    if (c < 0x80) {
      out += char(c);
    } else if (c < 0x800) {
      out += char(0xC0 | (c >> 6));
      out += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += char(0xE0 | (c >> 12));
      out += char(0x80 | ((c >> 6) & 0x3F));
      out += char(0x80 | (c & 0x3F));
    } else {
      out += char(0xF0 | (c >> 18));
      out += char(0x80 | ((c >> 12) & 0x3F));
      out += char(0x80 | ((c >> 6) & 0x3F));
      out += char(0x80 | (c & 0x3F));
    }
  }
  return noErr;
}

OSErr UTF8ToName(std::string const& text, HFSUniStr255& out) {
  out = HFSUniStr255{};
  std::size_t i = 0;
  while (i < text.size()) {
    UInt8 const b = UInt8(text[i]);
    UInt32 c = 0;
    int more = 0;
    if (b < 0x80) { c = b; }
    else if ((b & 0xE0) == 0xC0) { c = b & 0x1F; more = 1; }
    else if ((b & 0xF0) == 0xE0) { c = b & 0x0F; more = 2; }
    else if ((b & 0xF8) == 0xF0) { c = b & 0x07; more = 3; }
    else return bdNamErr;
    if (i + more >= text.size()) return bdNamErr;
    for (int k = 1; k <= more; ++k) {
      UInt8 const cont = UInt8(text[i + k]);
      if ((cont & 0xC0) != 0x80) return bdNamErr;
      c = (c << 6) | (cont & 0x3F);
    }
    i += more + 1;
    if (c == 0 || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return bdNamErr;
    int const units = c >= 0x10000 ? 2 : 1;
    if (out.length + units > 255) return errFSNameTooLong;
    if (units == 2) {
      c -= 0x10000;
      out.unicode[out.length++] = UniChar(0xD800 + (c >> 10));
      out.unicode[out.length++] = UniChar(0xDC00 + (c & 0x3FF));
    } else {
      out.unicode[out.length++] = UniChar(c);
    }
  }
  return noErr;
}

OSErr ChildPath(FSRef const* parentRef, UniCharCount length, UniChar const* name,
                std::string& outPath) {
  if (!parentRef) return paramErr;
  if (OSErr const err = FSRefValidate(parentRef)) return err;
  if (length == 0) return errFSMissingName;
  if (length > 255) return errFSNameTooLong;
  std::string utf8;
  if (OSErr const err = NameToUTF8(length, name, utf8)) return err;
  if (utf8 == "." || utf8 == ".." || utf8.find('/') != std::string::npos) return bdNamErr;
  struct stat st {};
  if (::stat(parentRef->path, &st) != 0) return ErrFromErrno(errno);
  if (!S_ISDIR(st.st_mode)) return errFSNotAFolder;
  outPath = parentRef->path;
  if (outPath != "/") outPath += '/';
  outPath += utf8;
  return noErr;
}

namespace {
constexpr long long kSecondsFrom1904To1970 = 2082844800LL;
}

UTCDateTime DateFromTimespec(long long seconds, long nanoseconds) {
  unsigned long long const total = static_cast<unsigned long long>(seconds + kSecondsFrom1904To1970);
  UTCDateTime d{};
  d.highSeconds = UInt16(total >> 32);
  d.lowSeconds = UInt32(total);
  d.fraction = UInt16((static_cast<unsigned long long>(nanoseconds) << 16) / 1000000000ULL);
  return d;
}

void TimespecFromDate(UTCDateTime const& date, long long& seconds, long& nanoseconds) {
  unsigned long long const total = (static_cast<unsigned long long>(date.highSeconds) << 32) | date.lowSeconds;
  seconds = static_cast<long long>(total) - kSecondsFrom1904To1970;
  // Round up so that converting back gives the same fraction.
  nanoseconds = long((static_cast<unsigned long long>(date.fraction) * 1000000000ULL + 65535) >> 16);
}

}  // namespace files_internal

using namespace files_internal;

namespace {

std::string ParentPath(std::string const& path) {
  std::size_t const slash = path.rfind('/');
  if (slash == std::string::npos || slash == 0) return "/";
  return path.substr(0, slash);
}

std::string LastName(std::string const& path) {
  if (path == "/") return "/";
  std::size_t const slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

OSErr RefFromPath(std::string const& path, FSRef* newRef) {
  FSRef scratch{};
  return static_cast<OSErr>(FSPathMakeRef(reinterpret_cast<UInt8 const*>(path.c_str()),
                                          newRef ? newRef : &scratch, nullptr));
}

OSErr SetDates(char const* path, FSCatalogInfoBitmap whichInfo, FSCatalogInfo const& info) {
  if (!(whichInfo & (kFSCatInfoContentMod | kFSCatInfoAccessDate))) return noErr;
  struct timespec times[2];
  times[0].tv_nsec = UTIME_OMIT;
  times[1].tv_nsec = UTIME_OMIT;
  auto set = [](struct timespec& t, UTCDateTime const& d) {
    long long s;
    long ns;
    TimespecFromDate(d, s, ns);
    t.tv_sec = s;
    t.tv_nsec = ns;
  };
  if (whichInfo & kFSCatInfoAccessDate) set(times[0], info.accessDate);
  if (whichInfo & kFSCatInfoContentMod) set(times[1], info.contentModDate);
  if (::utimensat(AT_FDCWD, path, times, 0) != 0) return ErrFromErrno(errno);
  return noErr;
}

OSErr SetFinderInfo(char const* path, bool isDirectory, FSCatalogInfoBitmap whichInfo,
                    FSCatalogInfo const& info) {
  if (!(whichInfo & (kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo))) return noErr;
  UInt8 current[16];
  UInt8 currentExt[16];
  if (OSErr const err = ReadFinderInfo(path, isDirectory, current, currentExt)) return err;
  if (whichInfo & kFSCatInfoFinderInfo) std::memcpy(current, info.finderInfo, 16);
  if (whichInfo & kFSCatInfoFinderXInfo) std::memcpy(currentExt, info.extFinderInfo, 16);
  return WriteFinderInfo(path, isDirectory, current, currentExt);
}

}  // namespace

OSErr FSGetCatalogInfo(FSRef const* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                       HFSUniStr255* outName, FSSpec* fsSpec, FSRef* parentRef) {
  if (!ref || fsSpec) return paramErr;
  if (whichInfo != kFSCatInfoNone && !catalogInfo) return paramErr;
  if (OSErr const err = FSRefValidate(ref)) return err;
  struct statx sx {};
  if (::statx(AT_FDCWD, ref->path, 0, STATX_BASIC_STATS | STATX_BTIME, &sx) != 0)
    return ErrFromErrno(errno);
  bool const isDirectory = S_ISDIR(sx.stx_mode);
  if (catalogInfo && whichInfo != kFSCatInfoNone) {
    FSCatalogInfo info{};
    info.nodeFlags = isDirectory ? kFSNodeIsDirectoryMask : 0;
    info.volume = SInt16(ref->device);
    info.nodeID = UInt32(sx.stx_ino);
    info.createDate = (sx.stx_mask & STATX_BTIME)
                          ? DateFromTimespec(sx.stx_btime.tv_sec, sx.stx_btime.tv_nsec)
                          : DateFromTimespec(sx.stx_ctime.tv_sec, sx.stx_ctime.tv_nsec);
    info.contentModDate = DateFromTimespec(sx.stx_mtime.tv_sec, sx.stx_mtime.tv_nsec);
    info.attributeModDate = DateFromTimespec(sx.stx_ctime.tv_sec, sx.stx_ctime.tv_nsec);
    info.accessDate = DateFromTimespec(sx.stx_atime.tv_sec, sx.stx_atime.tv_nsec);
    if (!isDirectory) {
      info.dataLogicalSize = sx.stx_size;
      info.dataPhysicalSize = sx.stx_blocks * 512ULL;
    }
    if (whichInfo & kFSCatInfoParentDirID) {
      struct stat parent {};
      if (::stat(ParentPath(ref->path).c_str(), &parent) == 0) info.parentDirID = UInt32(parent.st_ino);
    }
    if (whichInfo & (kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo)) {
      if (OSErr const err = ReadFinderInfo(ref->path, isDirectory, info.finderInfo, info.extFinderInfo))
        return err;
    }
    if (whichInfo & kFSCatInfoRsrcSizes) {
      ssize_t const size = ::getxattr(ref->path, "user.com.apple.ResourceFork", nullptr, 0);
      info.rsrcLogicalSize = size > 0 ? UInt64(size) : 0;
      info.rsrcPhysicalSize = info.rsrcLogicalSize;
    }
    *catalogInfo = info;
  }
  if (outName) {
    if (OSErr const err = UTF8ToName(LastName(ref->path), *outName)) return err;
  }
  if (parentRef) {
    *parentRef = FSRef{};
    if (std::strcmp(ref->path, "/") != 0) {
      if (OSErr const err = RefFromPath(ParentPath(ref->path), parentRef)) return err;
    }
  }
  return noErr;
}

OSErr FSSetCatalogInfo(FSRef const* ref, FSCatalogInfoBitmap whichInfo,
                       FSCatalogInfo const* catalogInfo) {
  if (!ref || !catalogInfo) return paramErr;
  if (OSErr const err = FSRefValidate(ref)) return err;
  struct stat st {};
  if (::stat(ref->path, &st) != 0) return ErrFromErrno(errno);
  if (OSErr const err = SetFinderInfo(ref->path, S_ISDIR(st.st_mode), whichInfo, *catalogInfo))
    return err;
  return SetDates(ref->path, whichInfo, *catalogInfo);
}

OSErr FSMakeFSRefUnicode(FSRef const* parentRef, UniCharCount nameLength, UniChar const* name,
                         UInt32 /*textEncodingHint*/, FSRef* newRef) {
  if (!newRef) return paramErr;
  std::string path;
  if (OSErr const err = ChildPath(parentRef, nameLength, name, path)) return err;
  struct stat st {};
  if (::lstat(path.c_str(), &st) != 0) return ErrFromErrno(errno);
  return RefFromPath(path, newRef);
}

OSErr FSCreateFileUnicode(FSRef const* parentRef, UniCharCount nameLength, UniChar const* name,
                          FSCatalogInfoBitmap whichInfo, FSCatalogInfo const* catalogInfo,
                          FSRef* newRef, FSSpec* newSpec) {
  if (newSpec || (whichInfo != kFSCatInfoNone && !catalogInfo)) return paramErr;
  std::string path;
  if (OSErr const err = ChildPath(parentRef, nameLength, name, path)) return err;
  int const fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd < 0) return ErrFromErrno(errno);
  ::close(fd);
  OSErr err = noErr;
  if (catalogInfo) {
    err = SetFinderInfo(path.c_str(), false, whichInfo, *catalogInfo);
    if (err == noErr) err = SetDates(path.c_str(), whichInfo, *catalogInfo);
  }
  if (err == noErr) err = RefFromPath(path, newRef);
  // A file that could not be given what was asked for is not left behind.
  if (err != noErr) ::unlink(path.c_str());
  return err;
}

OSErr FSCreateDirectoryUnicode(FSRef const* parentRef, UniCharCount nameLength,
                               UniChar const* name, FSCatalogInfoBitmap whichInfo,
                               FSCatalogInfo const* catalogInfo, FSRef* newRef, FSSpec* newSpec,
                               UInt32* newDirID) {
  if (newSpec || (whichInfo != kFSCatInfoNone && !catalogInfo)) return paramErr;
  std::string path;
  if (OSErr const err = ChildPath(parentRef, nameLength, name, path)) return err;
  if (::mkdir(path.c_str(), 0777) != 0) return ErrFromErrno(errno);
  OSErr err = noErr;
  if (catalogInfo) {
    err = SetFinderInfo(path.c_str(), true, whichInfo, *catalogInfo);
    if (err == noErr) err = SetDates(path.c_str(), whichInfo, *catalogInfo);
  }
  FSRef made{};
  if (err == noErr) err = RefFromPath(path, &made);
  if (err != noErr) {
    ::rmdir(path.c_str());
    return err;
  }
  if (newRef) *newRef = made;
  if (newDirID) *newDirID = UInt32(made.inode);
  return noErr;
}

OSErr FSDeleteObject(FSRef const* ref) {
  if (!ref) return paramErr;
  if (OSErr const err = FSRefValidate(ref)) return err;
  struct stat st {};
  if (::lstat(ref->path, &st) != 0) return ErrFromErrno(errno);
  int const rc = S_ISDIR(st.st_mode) ? ::rmdir(ref->path) : ::unlink(ref->path);
  return rc == 0 ? noErr : ErrFromErrno(errno);
}

OSErr FSRenameUnicode(FSRef const* ref, UniCharCount nameLength, UniChar const* name,
                      UInt32 /*textEncodingHint*/, FSRef* newRef) {
  if (!ref) return paramErr;
  if (OSErr const err = FSRefValidate(ref)) return err;
  if (std::strcmp(ref->path, "/") == 0) return bdNamErr;
  FSRef parent{};
  if (OSErr const err = RefFromPath(ParentPath(ref->path), &parent)) return err;
  std::string path;
  if (OSErr const err = ChildPath(&parent, nameLength, name, path)) return err;
  if (path != ref->path) {
    if (::renameat2(AT_FDCWD, ref->path, AT_FDCWD, path.c_str(), RENAME_NOREPLACE) != 0)
      return ErrFromErrno(errno);
  }
  return RefFromPath(path, newRef);
}
