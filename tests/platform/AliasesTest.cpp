#include "Files.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {
FSRef RefOf(std::string const& path) {
  FSRef ref{};
  EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>(path.c_str()), &ref, nullptr));
  return ref;
}
struct AliasOwner {
  AliasHandle h = nullptr;
  ~AliasOwner() { DisposeAliasHandle(h); }
};
}  // namespace

TEST(Aliases, ResolveUnchangedTarget) {
  std::string const dir = tavelo_test::MakeTempDir();
  std::ofstream(dir + "/t") << "x";
  FSRef const target = RefOf(dir + "/t");
  AliasOwner alias;
  ASSERT_EQ(noErr, FSNewAliasMinimal(&target, &alias.h));
  FSRef resolved{};
  Boolean changed = 7;
  ASSERT_EQ(noErr, FSResolveAlias(nullptr, alias.h, &resolved, &changed));
  EXPECT_EQ(0, changed);
  EXPECT_EQ(dir + "/t", resolved.path);
  EXPECT_EQ(target.inode, resolved.inode);
}

TEST(Aliases, IdentityWinsOverPath) {
  std::string const dir = tavelo_test::MakeTempDir();
  std::ofstream(dir + "/t") << "original";
  FSRef const target = RefOf(dir + "/t");
  AliasOwner alias;
  ASSERT_EQ(noErr, FSNewAliasMinimal(&target, &alias.h));
  // The target is renamed and another file takes its old name.
  ASSERT_EQ(0, std::rename((dir + "/t").c_str(), (dir + "/renamed").c_str()));
  std::ofstream(dir + "/t") << "impostor";
  FSRef resolved{};
  Boolean changed = 0;
  ASSERT_EQ(noErr, FSResolveAlias(nullptr, alias.h, &resolved, &changed));
  EXPECT_EQ(1, changed);
  EXPECT_EQ(dir + "/renamed", resolved.path);
  EXPECT_EQ(dir + "/renamed", std::string((*alias.h)->path));
  // Once brought up to date it resolves unchanged.
  ASSERT_EQ(noErr, FSResolveAlias(nullptr, alias.h, &resolved, &changed));
  EXPECT_EQ(0, changed);
}

TEST(Aliases, PathWhenIdentityIsGone) {
  std::string const dir = tavelo_test::MakeTempDir();
  std::ofstream(dir + "/t") << "old";
  FSRef const target = RefOf(dir + "/t");
  AliasOwner alias;
  ASSERT_EQ(noErr, FSNewAliasMinimal(&target, &alias.h));
  ASSERT_EQ(0, ::unlink((dir + "/t").c_str()));
  FSRef resolved{};
  Boolean changed = 0;
  EXPECT_EQ(fnfErr, FSResolveAlias(nullptr, alias.h, &resolved, &changed));
  // Keep the old file's inode in use so that the new file cannot reuse it.
  std::ofstream(dir + "/t") << "new";
  ASSERT_EQ(noErr, FSResolveAlias(nullptr, alias.h, &resolved, &changed));
  EXPECT_EQ(dir + "/t", resolved.path);
  EXPECT_EQ("new", tavelo_test::ReadFile(resolved.path));
}

TEST(Aliases, RelativeAliasFollowsAMovedTree) {
  std::string const root = tavelo_test::MakeTempDir();
  ::mkdir((root + "/a").c_str(), 0700);
  ::mkdir((root + "/a/pics").c_str(), 0700);
  std::ofstream(root + "/a/doc") << "d";
  std::ofstream(root + "/a/pics/p") << "p";
  FSRef const from = RefOf(root + "/a/doc");
  FSRef const target = RefOf(root + "/a/pics/p");
  AliasOwner alias;
  ASSERT_EQ(noErr, FSNewAlias(&from, &target, &alias.h));
  EXPECT_EQ(std::string("pics/p"), (*alias.h)->relativePath);
  ASSERT_EQ(0, std::rename((root + "/a").c_str(), (root + "/b").c_str()));
  FSRef const movedFrom = RefOf(root + "/b/doc");
  FSRef resolved{};
  Boolean changed = 0;
  ASSERT_EQ(noErr, FSResolveAlias(&movedFrom, alias.h, &resolved, &changed));
  EXPECT_EQ(1, changed);
  EXPECT_EQ(root + "/b/pics/p", resolved.path);
  EXPECT_EQ(target.inode, resolved.inode);
}

TEST(Aliases, BadArguments) {
  FSRef zero{};
  AliasHandle h = nullptr;
  EXPECT_EQ(errFSBadFSRef, FSNewAliasMinimal(&zero, &h));
  EXPECT_EQ(nullptr, h);
  EXPECT_EQ(paramErr, FSNewAliasMinimal(nullptr, &h));
  FSRef out{};
  EXPECT_EQ(paramErr, FSResolveAlias(nullptr, nullptr, &out, nullptr));
}
