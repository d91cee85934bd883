#include "FileTestHelpers.h"
#include "LFSRef.h"
#include "LFileFork.h"
#include "LHFSUnicodeName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <sys/xattr.h>

using tavelo_test::LogTail;
using tavelo_test::MaskedLines;
using tavelo_test::Verify;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
FSRef RefOf(std::string const& path) {
  FSRef ref{};
  EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>(path.c_str()), &ref, nullptr));
  return ref;
}
std::string V(std::string const& code, std::string const& function) {
  return Verify(code, "CoreX/LFileFork", function);
}
}  // namespace

TEST(LFileFork, ReadAcrossTheEndGivesTheShortCount) {
  std::string const path = tavelo_test::MakeTempDir() + "/f";
  tavelo_test::WriteText(path, "0123456789");
  LFSRef ref(path.c_str());
  LFileFork fork;
  ASSERT_TRUE(fork.OpenData(ref, fsRdPerm));
  char buffer[16] = {};
  unsigned long actual = 0;
  LogTail tail;
  EXPECT_TRUE(fork.Read(buffer, 16, fsFromStart, 6, &actual));
  EXPECT_EQ(4u, actual);
  EXPECT_EQ(0, std::memcmp("6789", buffer, 4));
  long long position = 0;
  EXPECT_TRUE(fork.GetPosition(position));
  EXPECT_EQ(10, position);
  EXPECT_THAT(tail.Lines(), IsEmpty());
  EXPECT_TRUE(fork.Close());
}

TEST(LFileFork, CloseOnAClosedForkIsTrue) {
  LFileFork fork;
  EXPECT_FALSE(fork.IsOpen());
  LogTail tail;
  EXPECT_TRUE(fork.Close());
  EXPECT_TRUE(fork.Close());
  EXPECT_THAT(tail.Lines(), IsEmpty());
}

TEST(LFileFork, AFailedCloseStillLeavesItClosed) {
  LFileFork fork;
  fork.mRef = 4321;  // a number the platform never gave out
  LogTail tail;
  EXPECT_FALSE(fork.Close());
  EXPECT_FALSE(fork.IsOpen());
  EXPECT_EQ(-1, fork.mRef);
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("noErr==(err=::FSCloseFork(mRef))", "LFileFork::Close")));
  EXPECT_TRUE(fork.Close());
}

TEST(LFileFork, OperationsOnAClosedForkLog) {
  LFileFork fork;
  char buffer[4];
  unsigned long actual = 0;
  long long position = 0;
  LogTail tail;
  EXPECT_FALSE(fork.Read(buffer, 4, fsFromStart, 0, &actual));
  EXPECT_FALSE(fork.Write(buffer, 4, fsFromStart, 0, &actual));
  EXPECT_FALSE(fork.GetPosition(position));
  EXPECT_FALSE(fork.SetPosition(0, fsFromStart));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("IsOpen()", "LFileFork::Read"), V("IsOpen()", "LFileFork::Write"),
                                             V("IsOpen()", "LFileFork::GetPosition"),
                                             V("IsOpen()", "LFileFork::SetPosition")));
}

TEST(LFileFork, OpenFailures) {
  LFileFork fork;
  LogTail tail;
  EXPECT_FALSE(fork.Open(nullptr, nullptr, fsRdPerm));
  FSRef zero{};
  EXPECT_FALSE(fork.OpenData(&zero, fsRdPerm));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("theFileRef", "LFileFork::Open"), V("fOk = (err==noErr)", "LFileFork::Open")));
}

TEST(LFileFork, WriteAndDeleteForks) {
  std::string const path = tavelo_test::MakeTempDir() + "/f";
  tavelo_test::WriteText(path, "old content");
  FSRef const ref = RefOf(path);
  {
    LFileFork resource;
    ASSERT_TRUE(resource.Create(&ref, &LHFSUnicodeName::sResourceFork));
    unsigned long done = 0;
    EXPECT_TRUE(resource.Write("rsrc", 4, fsFromStart, 0, &done));
    EXPECT_EQ(4u, done);
  }
  char value[8] = {};
  EXPECT_EQ(4, ::getxattr(path.c_str(), "user.com.apple.ResourceFork", value, sizeof value));
  // Re-creating a file empties both forks and sets type and creator.
  LFSRef file(path.c_str());
  ASSERT_TRUE(file.RecreateFile(FOUR_CHAR_CODE("TEXT"), FOUR_CHAR_CODE("ttxt")));
  EXPECT_EQ("", tavelo_test::ReadFile(path));
  EXPECT_LT(::getxattr(path.c_str(), "user.com.apple.ResourceFork", value, sizeof value), 0);
  unsigned long type = 0, creator = 0;
  ASSERT_TRUE(file.GetFileTypeCreator(type, creator));
  EXPECT_EQ(FOUR_CHAR_CODE("TEXT"), type);
  // A missing file is created instead.
  LFSRef fresh((tavelo_test::MakeTempDir() + "/new").c_str());
  ASSERT_TRUE(fresh.RecreateFile(FOUR_CHAR_CODE("TEXT"), FOUR_CHAR_CODE("ttxt")));
  EXPECT_TRUE(fresh.FileExists());
}
