#include "Files.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {
UInt8 const* U(std::string const& s) { return reinterpret_cast<UInt8 const*>(s.c_str()); }
}

TEST(Files, PathMakeRefNamesTheObjectByIdentityAndCanonicalPath) {
  std::string const dir = tavelo_test::MakeTempDir();
  std::ofstream(dir + "/f.txt") << "x";
  FSRef ref{};
  Boolean isDir = 2;
  ASSERT_EQ(noErr, FSPathMakeRef(U(dir + "/./f.txt"), &ref, &isDir));
  EXPECT_EQ(0, isDir);
  EXPECT_EQ(dir + "/f.txt", ref.path);
  char path[1024];
  ASSERT_EQ(noErr, FSRefMakePath(&ref, reinterpret_cast<UInt8*>(path), sizeof path));
  EXPECT_EQ(dir + "/f.txt", path);
  // Too small a buffer is refused.
  EXPECT_EQ(errFSBadBuffer, FSRefMakePath(&ref, reinterpret_cast<UInt8*>(path), 4));
}

TEST(Files, ReferenceToAReplacedObjectIsNoLongerValid) {
  std::string const dir = tavelo_test::MakeTempDir();
  std::string const file = dir + "/f";
  std::ofstream(file) << "x";
  FSRef ref{};
  ASSERT_EQ(noErr, FSPathMakeRef(U(file), &ref, nullptr));
  EXPECT_EQ(noErr, FSRefValidate(&ref));
  std::string const other = dir + "/g";
  std::ofstream(other) << "y";
  ASSERT_EQ(0, ::rename(other.c_str(), file.c_str()));
  EXPECT_NE(noErr, FSRefValidate(&ref));
  ASSERT_EQ(0, ::unlink(file.c_str()));
  EXPECT_EQ(fnfErr, FSRefValidate(&ref));
  FSRef zero{};
  EXPECT_EQ(errFSBadFSRef, FSRefValidate(&zero));
}

TEST(Files, MissingObjectHasNoReference) {
  FSRef ref{};
  EXPECT_EQ(fnfErr, FSPathMakeRef(U(tavelo_test::TestRoot() + "/nothing-here"), &ref, nullptr));
  EXPECT_EQ(paramErr, FSPathMakeRef(nullptr, &ref, nullptr));
}

TEST(Files, LogsFolderIsTheXdgStateFolderMadePrivateWhenMissing) {
  std::string const state = tavelo_test::MakeTempDir() + "/deep/state";
  ::setenv("XDG_STATE_HOME", state.c_str(), 1);
  FSRef ref{};
  ASSERT_EQ(noErr, FSFindFolder(kUserDomain, kLogsFolderType, kDontCreateFolder, &ref));
  EXPECT_EQ(state, ref.path);
  struct stat st {};
  ASSERT_EQ(0, ::stat(state.c_str(), &st));
  EXPECT_EQ(0700u, st.st_mode & 0777);
}

TEST(Files, LogsFolderDefaultsBelowHome) {
  std::string const saved = std::getenv("XDG_STATE_HOME");
  ::unsetenv("XDG_STATE_HOME");
  FSRef ref{};
  ASSERT_EQ(noErr, FSFindFolder(kUserDomain, kLogsFolderType, kDontCreateFolder, &ref));
  EXPECT_EQ(std::string(std::getenv("HOME")) + "/.local/state", ref.path);
  ::setenv("XDG_STATE_HOME", saved.c_str(), 1);
}

TEST(Files, PicturesFolderFollowsTheXdgUserDirectories) {
  std::string const pictures = tavelo_test::MakeTempDir("pics");
  ::setenv("XDG_PICTURES_DIR", pictures.c_str(), 1);
  FSRef ref{};
  ASSERT_EQ(noErr, FSFindFolder(kUserDomain, kPictureDocumentsFolderType, kDontCreateFolder, &ref));
  EXPECT_EQ(pictures, ref.path);
  ::unsetenv("XDG_PICTURES_DIR");

  std::string const config = std::getenv("XDG_CONFIG_HOME");
  std::string const home = std::getenv("HOME");
  ::mkdir(config.c_str(), 0700);
  ::mkdir((home + "/Bilder").c_str(), 0700);
  std::ofstream(config + "/user-dirs.dirs") << "# written by xdg-user-dirs-update\n"
                                               "XDG_PICTURES_DIR=\"$HOME/Bilder\"\n";
  ASSERT_EQ(noErr, FSFindFolder(kUserDomain, kPictureDocumentsFolderType, kDontCreateFolder, &ref));
  EXPECT_EQ(home + "/Bilder", ref.path);
  ::unlink((config + "/user-dirs.dirs").c_str());
}

TEST(Files, MissingUserFolderIsMadeOnlyWhenAsked) {
  std::string const videos = tavelo_test::MakeTempDir() + "/Videos";
  ::setenv("XDG_VIDEOS_DIR", videos.c_str(), 1);
  FSRef ref{};
  EXPECT_EQ(fnfErr, FSFindFolder(kUserDomain, kMovieDocumentsFolderType, kDontCreateFolder, &ref));
  EXPECT_EQ(noErr, FSFindFolder(kUserDomain, kMovieDocumentsFolderType, kCreateFolder, &ref));
  EXPECT_EQ(videos, ref.path);
  ::unsetenv("XDG_VIDEOS_DIR");
}

TEST(Files, UnknownFolderTypeIsNotFound) {
  FSRef ref{};
  EXPECT_EQ(fnfErr, FSFindFolder(kUserDomain, FOUR_CHAR_CODE("zzzz"), kCreateFolder, &ref));
  EXPECT_EQ(paramErr, FSFindFolder(kUserDomain, kLogsFolderType, kCreateFolder, nullptr));
}

TEST(Files, ForkNames) {
  HFSUniStr255 name{};
  name.length = 9;
  ASSERT_EQ(noErr, FSGetDataForkName(&name));
  EXPECT_EQ(0, name.length);
  ASSERT_EQ(noErr, FSGetResourceForkName(&name));
  ASSERT_EQ(13, name.length);
  EXPECT_EQ(UniChar('R'), name.unicode[0]);
  EXPECT_EQ(UniChar('K'), name.unicode[12]);
  EXPECT_EQ(0, name.unicode[13]);
  EXPECT_EQ(paramErr, FSGetDataForkName(nullptr));
}
