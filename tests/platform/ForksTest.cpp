#include "Files.h"
#include "ScratchMount.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <sys/xattr.h>

namespace {
FSRef RefOf(std::string const& path) {
  FSRef ref{};
  EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>(path.c_str()), &ref, nullptr));
  return ref;
}
HFSUniStr255 ResourceName() {
  HFSUniStr255 n{};
  FSGetResourceForkName(&n);
  return n;
}
}  // namespace

TEST(Forks, DataForkIsTheFilesBytes) {
  std::string const path = tavelo_test::MakeTempDir() + "/f";
  std::ofstream(path) << "0123456789";
  FSRef const ref = RefOf(path);
  FSIORefNum fork = 0;
  ASSERT_EQ(noErr, FSOpenFork(&ref, 0, nullptr, fsRdWrPerm, &fork));
  EXPECT_GT(fork, 0);
  char buffer[8] = {};
  ByteCount got = 0;
  EXPECT_EQ(noErr, FSReadFork(fork, fsFromStart, 2, 4, buffer, &got));
  EXPECT_EQ(4u, got);
  EXPECT_EQ(0, std::memcmp("2345", buffer, 4));
  SInt64 mark = 0;
  EXPECT_EQ(noErr, FSGetForkPosition(fork, &mark));
  EXPECT_EQ(6, mark);
  // Past the end: eofErr with the bytes that were there.
  EXPECT_EQ(eofErr, FSReadFork(fork, fsAtMark, 0, 8, buffer, &got));
  EXPECT_EQ(4u, got);
  EXPECT_EQ(0, std::memcmp("6789", buffer, 4));
  EXPECT_EQ(noErr, FSWriteFork(fork, fsFromLEOF, 0, 3, "abc", &got));
  SInt64 size = 0;
  EXPECT_EQ(noErr, FSGetForkSize(fork, &size));
  EXPECT_EQ(13, size);
  EXPECT_EQ(posErr, FSSetForkPosition(fork, fsFromStart, -1));
  EXPECT_EQ(noErr, FSCloseFork(fork));
  EXPECT_EQ(rfNumErr, FSCloseFork(fork));
  EXPECT_EQ(rfNumErr, FSReadFork(fork, fsFromStart, 0, 1, buffer, &got));
  EXPECT_EQ("0123456789abc", tavelo_test::ReadFile(path));

  // Deleting the data fork empties the file; creating it is refused, it always exists.
  EXPECT_EQ(errFSForkExists, FSCreateFork(&ref, 0, nullptr));
  EXPECT_EQ(noErr, FSDeleteFork(&ref, 0, nullptr));
  EXPECT_EQ("", tavelo_test::ReadFile(path));
}

TEST(Forks, ReadOnlyForkRefusesWrites) {
  std::string const path = tavelo_test::MakeTempDir() + "/f";
  std::ofstream(path) << "x";
  FSRef const ref = RefOf(path);
  FSIORefNum fork = 0;
  ASSERT_EQ(noErr, FSOpenFork(&ref, 0, nullptr, fsRdPerm, &fork));
  ByteCount got = 9;
  EXPECT_EQ(wrPermErr, FSWriteFork(fork, fsFromStart, 0, 1, "y", &got));
  EXPECT_EQ(0u, got);
  EXPECT_EQ(noErr, FSCloseFork(fork));
}

TEST(Forks, ResourceForkIsTheAttribute) {
  std::string const path = tavelo_test::MakeTempDir() + "/f";
  std::ofstream(path) << "data";
  FSRef const ref = RefOf(path);
  HFSUniStr255 const rsrc = ResourceName();
  FSIORefNum fork = 0;
  EXPECT_EQ(errFSForkNotFound, FSOpenFork(&ref, rsrc.length, rsrc.unicode, fsRdPerm, &fork));
  EXPECT_EQ(errFSForkNotFound, FSDeleteFork(&ref, rsrc.length, rsrc.unicode));
  ASSERT_EQ(noErr, FSCreateFork(&ref, rsrc.length, rsrc.unicode));
  EXPECT_EQ(errFSForkExists, FSCreateFork(&ref, rsrc.length, rsrc.unicode));
  ASSERT_EQ(noErr, FSOpenFork(&ref, rsrc.length, rsrc.unicode, fsRdWrPerm, &fork));
  ByteCount got = 0;
  EXPECT_EQ(noErr, FSWriteFork(fork, fsFromStart, 0, 5, "hello", &got));
  EXPECT_EQ(noErr, FSWriteFork(fork, fsFromMark, 1, 2, "!!", &got));
  char buffer[16] = {};
  EXPECT_EQ(eofErr, FSReadFork(fork, fsFromStart, 0, 16, buffer, &got));
  EXPECT_EQ(8u, got);
  EXPECT_EQ(0, std::memcmp("hello\0!!", buffer, 8));
  EXPECT_EQ(noErr, FSCloseFork(fork));

  char attribute[16] = {};
  EXPECT_EQ(8, ::getxattr(path.c_str(), "user.com.apple.ResourceFork", attribute, sizeof attribute));
  EXPECT_EQ(0, std::memcmp("hello\0!!", attribute, 8));
  EXPECT_EQ("data", tavelo_test::ReadFile(path));
  FSCatalogInfo info{};
  ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoRsrcSizes, &info, nullptr, nullptr, nullptr));
  EXPECT_EQ(8u, info.rsrcLogicalSize);
  EXPECT_EQ(noErr, FSDeleteFork(&ref, rsrc.length, rsrc.unicode));
  EXPECT_LT(::getxattr(path.c_str(), "user.com.apple.ResourceFork", attribute, sizeof attribute), 0);
}

TEST(Forks, UnknownForkNameAndFolders) {
  std::string const dir = tavelo_test::MakeTempDir();
  FSRef const folder = RefOf(dir);
  FSIORefNum fork = 0;
  EXPECT_EQ(notAFileErr, FSOpenFork(&folder, 0, nullptr, fsRdPerm, &fork));
  UniChar const other[] = {'x'};
  EXPECT_EQ(errFSForkNotFound, FSOpenFork(&folder, 1, other, fsRdPerm, &fork));
}

TEST(Forks, ResourceForkOnFileSystemWithoutAttributes) {
  tavelo_test::ScratchMount ramfs("ramfs");
  if (!ramfs.Mounted()) GTEST_SKIP() << "cannot mount a ramfs here";
  std::string const path = ramfs.Path() + "/f";
  std::ofstream(path) << "x";
  FSRef const ref = RefOf(path);
  HFSUniStr255 const rsrc = ResourceName();
  EXPECT_EQ(errFSOperationNotSupported, FSCreateFork(&ref, rsrc.length, rsrc.unicode));
}
