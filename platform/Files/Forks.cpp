// Open forks: file descriptors for data forks, attribute values for resource forks.
#include "Files.h"
#include "FilesInternal.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

using files_internal::ErrFromErrno;

namespace {

constexpr char kResourceForkAttribute[] = "user.com.apple.ResourceFork";

enum class ForkKind { Data, Resource };

struct OpenFork {
  ForkKind kind = ForkKind::Data;
  int fd = -1;                 // data fork
  std::string path;            // resource fork: the file holding the attribute
  std::vector<UInt8> bytes;    // resource fork: its current value
  bool writable = false;
  SInt64 mark = 0;
};

std::mutex sForksLock;
std::map<FSIORefNum, OpenFork> sForks;
FSIORefNum sNextRefNum = 1;

OSErr KindFromName(UniCharCount length, UniChar const* name, ForkKind& kind) {
  if (length == 0) { kind = ForkKind::Data; return noErr; }
  HFSUniStr255 resource{};
  FSGetResourceForkName(&resource);
  if (name && length == resource.length &&
      std::memcmp(name, resource.unicode, length * sizeof(UniChar)) == 0) {
    kind = ForkKind::Resource;
    return noErr;
  }
  return errFSForkNotFound;
}

OSErr ReadAttribute(char const* path, std::vector<UInt8>& out) {
  for (;;) {
    ssize_t const size = ::getxattr(path, kResourceForkAttribute, nullptr, 0);
    if (size < 0) return errno == ENODATA ? errFSForkNotFound : ErrFromErrno(errno);
    out.resize(std::size_t(size));
    ssize_t const got = ::getxattr(path, kResourceForkAttribute, out.data(), out.size());
    if (got >= 0) { out.resize(std::size_t(got)); return noErr; }
    if (errno != ERANGE) return ErrFromErrno(errno);  // ERANGE: it grew in between
  }
}

OSErr WriteAttribute(char const* path, std::vector<UInt8> const& bytes, int flags) {
  if (::setxattr(path, kResourceForkAttribute, bytes.data(), bytes.size(), flags) != 0)
    return ErrFromErrno(errno);
  return noErr;
}

OSErr ForkSize(OpenFork const& fork, SInt64& size) {
  if (fork.kind == ForkKind::Resource) { size = SInt64(fork.bytes.size()); return noErr; }
  struct stat st {};
  if (::fstat(fork.fd, &st) != 0) return ErrFromErrno(errno);
  size = st.st_size;
  return noErr;
}

OSErr Position(OpenFork const& fork, UInt16 mode, SInt64 offset, SInt64& out) {
  SInt64 size = 0;
  switch (mode & 3) {
    case fsAtMark: out = fork.mark; break;
    case fsFromStart: out = offset; break;
    case fsFromLEOF:
      if (OSErr const err = ForkSize(fork, size)) return err;
      out = size + offset;
      break;
    case fsFromMark: out = fork.mark + offset; break;
  }
  return out < 0 ? posErr : noErr;
}

OpenFork* Find(FSIORefNum refNum) {
  auto const it = sForks.find(refNum);
  return it == sForks.end() ? nullptr : &it->second;
}

}  // namespace

OSErr FSOpenFork(FSRef const* ref, UniCharCount forkNameLength, UniChar const* forkName,
                 SInt8 permissions, FSIORefNum* forkRefNum) {
  if (!ref || !forkRefNum) return paramErr;
  *forkRefNum = 0;
  ForkKind kind;
  if (OSErr const err = KindFromName(forkNameLength, forkName, kind)) return err;
  if (OSErr const err = FSRefValidate(ref)) return err;
  struct stat st {};
  if (::stat(ref->path, &st) != 0) return ErrFromErrno(errno);
  if (S_ISDIR(st.st_mode)) return notAFileErr;
  OpenFork fork;
  fork.kind = kind;
  fork.writable = permissions == fsWrPerm || permissions == fsRdWrPerm || permissions == fsRdWrShPerm;
  if (kind == ForkKind::Data) {
    int const flags = permissions == fsWrPerm ? O_WRONLY : fork.writable ? O_RDWR : O_RDONLY;
    fork.fd = ::open(ref->path, flags | O_CLOEXEC);
    if (fork.fd < 0) return ErrFromErrno(errno);
  } else {
    if (fork.writable && ::access(ref->path, W_OK) != 0) return ErrFromErrno(errno);
    fork.path = ref->path;
    if (OSErr const err = ReadAttribute(ref->path, fork.bytes)) return err;
  }
  std::lock_guard<std::mutex> lock(sForksLock);
  for (int tries = 0; tries < 0x7FFF && sForks.count(sNextRefNum); ++tries)
    sNextRefNum = FSIORefNum(sNextRefNum == 0x7FFF ? 1 : sNextRefNum + 1);
  if (sForks.count(sNextRefNum)) {
    if (fork.fd >= 0) ::close(fork.fd);
    return tmfoErr;
  }
  *forkRefNum = sNextRefNum;
  sForks.emplace(sNextRefNum, std::move(fork));
  sNextRefNum = FSIORefNum(sNextRefNum == 0x7FFF ? 1 : sNextRefNum + 1);
  return noErr;
}

OSErr FSReadFork(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset,
                 ByteCount requestCount, void* buffer, ByteCount* actualCount) {
  if (actualCount) *actualCount = 0;
  std::lock_guard<std::mutex> lock(sForksLock);
  OpenFork* fork = Find(forkRefNum);
  if (!fork) return rfNumErr;
  if (!buffer && requestCount > 0) return paramErr;
  SInt64 at = 0;
  if (OSErr const err = Position(*fork, positionMode, positionOffset, at)) return err;
  ByteCount got = 0;
  if (fork->kind == ForkKind::Resource) {
    SInt64 const size = SInt64(fork->bytes.size());
    if (at < size) {
      got = ByteCount(std::min<SInt64>(size - at, SInt64(requestCount)));
      std::memcpy(buffer, fork->bytes.data() + at, got);
    }
  } else {
    while (got < requestCount) {
      ssize_t const n = ::pread(fork->fd, static_cast<char*>(buffer) + got, requestCount - got,
                                at + SInt64(got));
      if (n < 0) {
        if (errno == EINTR) continue;
        return ErrFromErrno(errno);
      }
      if (n == 0) break;
      got += ByteCount(n);
    }
  }
  fork->mark = at + SInt64(got);
  if (actualCount) *actualCount = got;
  return got < requestCount ? eofErr : noErr;
}

OSErr FSWriteFork(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset,
                  ByteCount requestCount, void const* buffer, ByteCount* actualCount) {
  if (actualCount) *actualCount = 0;
  std::lock_guard<std::mutex> lock(sForksLock);
  OpenFork* fork = Find(forkRefNum);
  if (!fork) return rfNumErr;
  if (!fork->writable) return wrPermErr;
  if (!buffer && requestCount > 0) return paramErr;
  SInt64 at = 0;
  if (OSErr const err = Position(*fork, positionMode, positionOffset, at)) return err;
  if (fork->kind == ForkKind::Resource) {
    std::vector<UInt8> bytes = fork->bytes;
    if (SInt64(bytes.size()) < at + SInt64(requestCount)) bytes.resize(std::size_t(at) + requestCount);
    if (requestCount) std::memcpy(bytes.data() + at, buffer, requestCount);
    if (OSErr const err = WriteAttribute(fork->path.c_str(), bytes, 0)) return err;
    fork->bytes = std::move(bytes);
    fork->mark = at + SInt64(requestCount);
    if (actualCount) *actualCount = requestCount;
    return noErr;
  }
  ByteCount done = 0;
  while (done < requestCount) {
    ssize_t const n = ::pwrite(fork->fd, static_cast<char const*>(buffer) + done,
                               requestCount - done, at + SInt64(done));
    if (n < 0) {
      if (errno == EINTR) continue;
      fork->mark = at + SInt64(done);
      if (actualCount) *actualCount = done;
      return ErrFromErrno(errno);
    }
    done += ByteCount(n);
  }
  fork->mark = at + SInt64(done);
  if (actualCount) *actualCount = done;
  return noErr;
}

OSErr FSGetForkPosition(FSIORefNum forkRefNum, SInt64* position) {
  if (!position) return paramErr;
  std::lock_guard<std::mutex> lock(sForksLock);
  OpenFork* fork = Find(forkRefNum);
  if (!fork) return rfNumErr;
  *position = fork->mark;
  return noErr;
}

OSErr FSSetForkPosition(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset) {
  std::lock_guard<std::mutex> lock(sForksLock);
  OpenFork* fork = Find(forkRefNum);
  if (!fork) return rfNumErr;
  SInt64 at = 0;
  if (OSErr const err = Position(*fork, positionMode, positionOffset, at)) return err;
  fork->mark = at;
  return noErr;
}

OSErr FSGetForkSize(FSIORefNum forkRefNum, SInt64* forkSize) {
  if (!forkSize) return paramErr;
  std::lock_guard<std::mutex> lock(sForksLock);
  OpenFork* fork = Find(forkRefNum);
  if (!fork) return rfNumErr;
  return ForkSize(*fork, *forkSize);
}

OSErr FSCloseFork(FSIORefNum forkRefNum) {
  std::lock_guard<std::mutex> lock(sForksLock);
  auto const it = sForks.find(forkRefNum);
  if (it == sForks.end()) return rfNumErr;
  int const fd = it->second.fd;
  sForks.erase(it);
  if (fd >= 0 && ::close(fd) != 0) return ErrFromErrno(errno);
  return noErr;
}

OSErr FSCreateFork(FSRef const* ref, UniCharCount forkNameLength, UniChar const* forkName) {
  if (!ref) return paramErr;
  ForkKind kind;
  if (OSErr const err = KindFromName(forkNameLength, forkName, kind)) return err;
  if (OSErr const err = FSRefValidate(ref)) return err;
  if (kind == ForkKind::Data) return errFSForkExists;
  OSErr const err = WriteAttribute(ref->path, {}, XATTR_CREATE);
  return err == dupFNErr ? errFSForkExists : err;
}

OSErr FSDeleteFork(FSRef const* ref, UniCharCount forkNameLength, UniChar const* forkName) {
  if (!ref) return paramErr;
  ForkKind kind;
  if (OSErr const err = KindFromName(forkNameLength, forkName, kind)) return err;
  if (OSErr const err = FSRefValidate(ref)) return err;
  if (kind == ForkKind::Data) {
    struct stat st {};
    if (::stat(ref->path, &st) != 0) return ErrFromErrno(errno);
    if (S_ISDIR(st.st_mode)) return notAFileErr;
    return ::truncate(ref->path, 0) == 0 ? noErr : ErrFromErrno(errno);
  }
  if (::removexattr(ref->path, kResourceForkAttribute) != 0)
    return errno == ENODATA ? errFSForkNotFound : ErrFromErrno(errno);
  return noErr;
}
