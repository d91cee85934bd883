// Finder information kept as the 32-byte big-endian record in a user extended attribute.
#include "FilesInternal.h"

#include <cerrno>
#include <cstring>
#include <sys/xattr.h>

namespace files_internal {

namespace {

constexpr char kFinderInfoAttribute[] = "user.com.apple.FinderInfo";

UInt16 Get16(UInt8 const* p) { return UInt16((p[0] << 8) | p[1]); }
UInt32 Get32(UInt8 const* p) {
  return (UInt32(p[0]) << 24) | (UInt32(p[1]) << 16) | (UInt32(p[2]) << 8) | UInt32(p[3]);
}
void Put16(UInt8* p, UInt16 v) { p[0] = UInt8(v >> 8); p[1] = UInt8(v); }
void Put32(UInt8* p, UInt32 v) {
  p[0] = UInt8(v >> 24); p[1] = UInt8(v >> 16); p[2] = UInt8(v >> 8); p[3] = UInt8(v);
}

// A file's first half starts with two 32-bit codes; everything else is 16-bit words
// (folder information and the extended halves are, apart from the last 32-bit field of a
// file's extended half, which is swapped as a whole).
void Convert(UInt8 const* from, UInt8* to, bool isDirectory, bool isExtended, bool toDisk) {
  int firstWords = (!isDirectory && !isExtended) ? 2 : 0;
  int lastWords = (!isDirectory && isExtended) ? 1 : 0;
  int at = 0;
  auto copy32 = [&] {
    if (toDisk) {
      UInt32 v;
      std::memcpy(&v, from + at, 4);
      Put32(to + at, v);
    } else {
      UInt32 const v = Get32(from + at);
      std::memcpy(to + at, &v, 4);
    }
    at += 4;
  };
  for (int i = 0; i < firstWords; ++i) copy32();
  while (at < 16 - 4 * lastWords) {
    if (toDisk) {
      UInt16 v;
      std::memcpy(&v, from + at, 2);
      Put16(to + at, v);
    } else {
      UInt16 const v = Get16(from + at);
      std::memcpy(to + at, &v, 2);
    }
    at += 2;
  }
  for (int i = 0; i < lastWords; ++i) copy32();
}

}  // namespace

OSErr ReadFinderInfo(char const* path, bool isDirectory, UInt8 (&info)[16], UInt8 (&ext)[16]) {
  UInt8 record[32] = {};
  ssize_t const got = ::getxattr(path, kFinderInfoAttribute, record, sizeof record);
  if (got < 0) {
    if (errno == ENODATA) {
      std::memset(info, 0, 16);
      std::memset(ext, 0, 16);
      return noErr;
    }
    // A record of another size than 32 bytes is not ours to read.
    if (errno == ERANGE) return ioErr;
    return ErrFromErrno(errno);
  }
  Convert(record, info, isDirectory, false, false);
  Convert(record + 16, ext, isDirectory, true, false);
  return noErr;
}

OSErr WriteFinderInfo(char const* path, bool isDirectory, UInt8 const (&info)[16],
                      UInt8 const (&ext)[16]) {
  UInt8 record[32] = {};
  Convert(info, record, isDirectory, false, true);
  Convert(ext, record + 16, isDirectory, true, true);
  if (::setxattr(path, kFinderInfoAttribute, record, sizeof record, 0) != 0)
    return ErrFromErrno(errno);
  return noErr;
}

}  // namespace files_internal
