#include "Files.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {
std::string FoundPath(short domain, OSType type, OSErr* err) {
  FSRef ref{};
  *err = FSFindFolder(domain, type, kDontCreateFolder, &ref);
  return *err == noErr ? std::string(ref.path) : std::string();
}
}  // namespace

TEST(FrameworkFolders, SystemAndLocalFrameworks) {
  OSErr err = 0;
  std::string const system = FoundPath(kSystemDomain, kFrameworksFolderType, &err);
  ASSERT_EQ(noErr, err);
  // The folder the C library comes from.
  EXPECT_TRUE(std::filesystem::exists(system + "/libc.so.6")) << system;
  EXPECT_EQ(0u, system.rfind("/usr/lib", 0)) << system;

  std::string const local = FoundPath(kLocalDomain, kFrameworksFolderType, &err);
  if (std::filesystem::is_directory("/usr/local/lib")) {
    EXPECT_EQ(noErr, err);
    EXPECT_EQ(std::filesystem::canonical("/usr/local/lib").string(), local);
  } else {
    EXPECT_EQ(fnfErr, err);
  }
  FoundPath(kUserDomain, kFrameworksFolderType, &err);
  EXPECT_EQ(fnfErr, err);
}

TEST(FrameworkFolders, ComponentsFolders) {
  OSErr err = 0;
  std::string const data = tavelo_test::MakeTempDir("data");
  ::setenv("XDG_DATA_HOME", data.c_str(), 1);
  FoundPath(kUserDomain, kTaveloComponentsFolderType, &err);
  EXPECT_EQ(fnfErr, err);  // not made unless asked
  FSRef ref{};
  ASSERT_EQ(noErr, FSFindFolder(kUserDomain, kTaveloComponentsFolderType, kCreateFolder, &ref));
  EXPECT_EQ(std::filesystem::canonical(data).string() + "/tavelo", std::string(ref.path));

  FoundPath(kSystemDomain, kTaveloComponentsFolderType, &err);
  EXPECT_EQ(std::filesystem::is_directory("/usr/lib/tavelo") ? noErr : fnfErr, err);
  FoundPath(kLocalDomain, kTaveloComponentsFolderType, &err);
  EXPECT_EQ(std::filesystem::is_directory("/usr/local/lib/tavelo") ? noErr : fnfErr, err);
}
