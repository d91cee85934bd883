// The string rules CoreUnixPath and LUnixPath share, run against both classes; their
// extension rules are in UnixPathExtensionRulesTest.cpp. What the two answer differently
// (logging, file system, platform strings) stays in each class's own test file.
#include "TestLog.h"
#include "UnixPathRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using tavelo_test::LogTail;
using unix_path_rules::Numberless;

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

// GetFirstPair, then GetNextPair until it says the walk is over.
template <class Path>
Pairs Walk(Path const& path) {
  Pairs pairs;
  std::string base;
  std::string name;
  if (!path.GetFirstPair(base, name)) return pairs;
  pairs.emplace_back(base, name);
  for (int guard = 0; guard < 64 && path.GetNextPair(base, name); ++guard)
    pairs.emplace_back(base, name);
  return pairs;
}

}  // namespace

// ---------------------------------------------------------------------------------------
// Value class

TYPED_TEST(UnixPathRules, IsAPolymorphicValueWithOnePathField) {
  EXPECT_TRUE(std::is_polymorphic_v<TypeParam>);
  EXPECT_TRUE(std::has_virtual_destructor_v<TypeParam>);
  TypeParam original("/a/b");
  TypeParam copy(original);
  EXPECT_EQ("/a/b", copy.mPath);
  TypeParam assigned("other");
  assigned = original;
  EXPECT_EQ("/a/b", assigned.mPath);
  original.mPath = "changed";
  EXPECT_EQ("/a/b", copy.mPath);
  EXPECT_EQ("/a/b", assigned.mPath);
  EXPECT_TRUE(TypeParam().IsEmpty());
  EXPECT_EQ(std::string("/"), TypeParam::s_slash_str_const);
}

TYPED_TEST(UnixPathRules, DefaultIsEmpty) {
  TypeParam path;
  EXPECT_TRUE(path.IsEmpty());
  EXPECT_EQ("", path.mPath);
  EXPECT_STREQ("", static_cast<char const*>(path));
}

TYPED_TEST(UnixPathRules, ConstructTakesTextAndReportsNonEmpty) {
  // Absolute and relative text follow the same rules.
  for (char const* text : {"/usr/bin", "x/y"}) {
    TypeParam path;
    EXPECT_TRUE(path.Construct(text)) << text;
    EXPECT_EQ(text, path.mPath);
    EXPECT_STREQ(text, static_cast<char const*>(path));
    // A null text leaves the path and reports on the old value.
    EXPECT_TRUE(path.Construct(static_cast<char const*>(nullptr))) << text;
    EXPECT_EQ(text, path.mPath);
    EXPECT_FALSE(path.Construct("")) << text;
    EXPECT_TRUE(path.IsEmpty()) << text;
    EXPECT_FALSE(path.Construct(static_cast<char const*>(nullptr))) << text;
    EXPECT_TRUE(path.IsEmpty()) << text;
  }
}

TYPED_TEST(UnixPathRules, ConstructorFromTextIgnoresNull) {
  LogTail tail;
  EXPECT_EQ("a/b", TypeParam("a/b").mPath);
  EXPECT_TRUE(TypeParam(static_cast<char const*>(nullptr)).IsEmpty());
  EXPECT_TRUE(TypeParam("").IsEmpty());
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, EmptyIsANoOp) {
  for (char const* text : {"/keep/me", "latent.jpg"}) {
    TypeParam path(text);
    path.Empty();
    EXPECT_FALSE(path.IsEmpty()) << text;
    EXPECT_EQ(text, path.mPath);
  }
}

// ---------------------------------------------------------------------------------------
// Classification

TYPED_TEST(UnixPathRules, IsRootPathTestsTheSecondCharacter) {
  LogTail tail;
  EXPECT_FALSE(TypeParam::IsRootPath("/"));
  EXPECT_TRUE(TypeParam::IsRootPath("a/"));
  EXPECT_TRUE(TypeParam::IsRootPath("//"));
  EXPECT_FALSE(TypeParam::IsRootPath(""));
  EXPECT_FALSE(TypeParam::IsRootPath(nullptr));
  EXPECT_FALSE(TypeParam::IsRootPath("a"));
  EXPECT_FALSE(TypeParam::IsRootPath("ab/"));
  EXPECT_FALSE(TypeParam::IsRootPath("a/b"));
  EXPECT_FALSE(TypeParam::IsRootPath("//a"));
  EXPECT_TRUE(TypeParam("x/").IsRoot());
  EXPECT_TRUE(TypeParam("z/").IsRoot());
  EXPECT_FALSE(TypeParam("/").IsRoot());
  EXPECT_FALSE(TypeParam().IsRoot());
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, IsFullyQualified) {
  LogTail tail;
  EXPECT_TRUE(TypeParam::IsFullyQualified("/"));
  EXPECT_TRUE(TypeParam::IsFullyQualified("/a"));
  EXPECT_TRUE(TypeParam::IsFullyQualified("/a/b"));
  EXPECT_FALSE(TypeParam::IsFullyQualified("a/b"));
  EXPECT_FALSE(TypeParam::IsFullyQualified("a"));
  EXPECT_FALSE(TypeParam::IsFullyQualified(""));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(TypeParam::IsFullyQualified(nullptr));
  EXPECT_EQ(this->Failed("CoreUnixPath_NotNull", "IsFullyQualified"), Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, IsPartiallyQualified) {
  LogTail tail;
  EXPECT_TRUE(TypeParam::IsPartiallyQualified("a/b"));
  EXPECT_TRUE(TypeParam::IsPartiallyQualified("a/"));
  EXPECT_TRUE(TypeParam::IsPartiallyQualified("./a"));
  EXPECT_FALSE(TypeParam::IsPartiallyQualified("/a"));
  EXPECT_FALSE(TypeParam::IsPartiallyQualified("/a/b"));
  EXPECT_FALSE(TypeParam::IsPartiallyQualified("a"));
  EXPECT_FALSE(TypeParam::IsPartiallyQualified(""));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(TypeParam::IsPartiallyQualified(nullptr));
  EXPECT_EQ(this->Failed("CoreUnixPath_NotNull", "IsPartiallyQualified"), Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, IsQualified) {
  LogTail tail;
  EXPECT_TRUE(TypeParam::IsQualified("/a"));
  EXPECT_TRUE(TypeParam::IsQualified("a/b"));
  EXPECT_TRUE(TypeParam::IsQualified("a/"));
  EXPECT_FALSE(TypeParam::IsQualified("a"));
  EXPECT_FALSE(TypeParam::IsQualified(""));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(TypeParam::IsQualified(nullptr));
  EXPECT_EQ(this->Failed("CoreUnixPath_NotNull", "IsQualified"), Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, StaticClassificationOfNullLogsEachCall) {
  LogTail tail;
  EXPECT_FALSE(TypeParam::IsFullyQualified(nullptr));
  EXPECT_FALSE(TypeParam::IsPartiallyQualified(nullptr));
  EXPECT_FALSE(TypeParam::IsQualified(nullptr));
  EXPECT_EQ(this->Failed("CoreUnixPath_NotNull", "IsFullyQualified") +
                this->Failed("CoreUnixPath_NotNull", "IsPartiallyQualified") +
                this->Failed("CoreUnixPath_NotNull", "IsQualified"),
            Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, IsJustNameIsSilentForNullAndEmpty) {
  LogTail tail;
  EXPECT_TRUE(TypeParam::IsJustName("name"));
  EXPECT_TRUE(TypeParam::IsJustName("a"));
  EXPECT_TRUE(TypeParam::IsJustName(".profile"));
  EXPECT_FALSE(TypeParam::IsJustName("a/b"));
  EXPECT_FALSE(TypeParam::IsJustName("/a"));
  EXPECT_FALSE(TypeParam::IsJustName(""));
  EXPECT_FALSE(TypeParam::IsJustName(nullptr));
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, MemberClassificationOfAPath) {
  LogTail tail;
  TypeParam full("/a/b");
  TypeParam partial("a/b");
  TypeParam name("a");
  EXPECT_TRUE(full.IsFullyQualified());
  EXPECT_FALSE(full.IsPartiallyQualified());
  EXPECT_TRUE(full.IsQualified());
  EXPECT_FALSE(full.IsJustName());
  EXPECT_FALSE(partial.IsFullyQualified());
  EXPECT_TRUE(partial.IsPartiallyQualified());
  EXPECT_TRUE(partial.IsQualified());
  EXPECT_FALSE(partial.IsJustName());
  EXPECT_FALSE(name.IsFullyQualified());
  EXPECT_FALSE(name.IsPartiallyQualified());
  EXPECT_FALSE(name.IsQualified());
  EXPECT_TRUE(name.IsJustName());
  EXPECT_TRUE(TypeParam("/a").IsFullyQualified());
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, MemberClassificationOfAnEmptyPathLogs) {
  TypeParam empty;
  LogTail tail;
  EXPECT_FALSE(empty.IsFullyQualified());
  EXPECT_FALSE(empty.IsPartiallyQualified());
  EXPECT_FALSE(empty.IsQualified());
  EXPECT_FALSE(empty.IsJustName());
  EXPECT_EQ(this->Failed("!IsEmpty()", "IsFullyQualified") +
                this->Failed("!IsEmpty()", "IsPartiallyQualified") +
                this->Failed("!IsEmpty()", "IsQualified") + this->Failed("!IsEmpty()", "IsJustName"),
            Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, LogLineCarriesARealLineNumber) {
  LogTail tail;
  EXPECT_FALSE(TypeParam().IsJustName());
  EXPECT_THAT(tail.Text(), testing::MatchesRegex("VERIFY FAILED:  code : !IsEmpty\\(\\) in "
                                                 "/Code/sdk/CoreX/" +
                                                 this->Name() + ":[1-9][0-9]* \\(" + this->Name() +
                                                 "::IsJustName\\)\n"));
}

// ---------------------------------------------------------------------------------------
// Slashes

TYPED_TEST(UnixPathRules, AddTrailingSlash) {
  std::string s;
  EXPECT_TRUE(TypeParam::AddTrailingSlash(s));
  EXPECT_EQ("/", s);
  EXPECT_FALSE(TypeParam::AddTrailingSlash(s));
  EXPECT_EQ("/", s);
  s = "a";
  EXPECT_TRUE(TypeParam::AddTrailingSlash(s));
  EXPECT_EQ("a/", s);
  EXPECT_FALSE(TypeParam::AddTrailingSlash(s));
  EXPECT_EQ("a/", s);
  TypeParam path("/usr");
  EXPECT_TRUE(path.AddTrailingSlash());
  EXPECT_EQ("/usr/", path.mPath);
}

TYPED_TEST(UnixPathRules, RemoveTrailingSlashTakesOneSlash) {
  std::string s = "/";
  EXPECT_TRUE(TypeParam::RemoveTrailingSlash(s));
  EXPECT_EQ("", s);
  EXPECT_FALSE(TypeParam::RemoveTrailingSlash(s));
  EXPECT_EQ("", s);
  s = "a//";
  EXPECT_TRUE(TypeParam::RemoveTrailingSlash(s));
  EXPECT_EQ("a/", s);
  s = "a";
  EXPECT_FALSE(TypeParam::RemoveTrailingSlash(s));
  EXPECT_EQ("a", s);
  TypeParam path("/usr/local/");
  EXPECT_TRUE(path.RemoveTrailingSlash());
  EXPECT_EQ("/usr/local", path.mPath);
  EXPECT_FALSE(path.RemoveTrailingSlash());
  EXPECT_EQ("/usr/local", path.mPath);
}

TYPED_TEST(UnixPathRules, MemberSlashesRoundTrip) {
  TypeParam path("dir");
  EXPECT_TRUE(path.AddTrailingSlash());
  EXPECT_EQ("dir/", path.mPath);
  EXPECT_TRUE(path.RemoveTrailingSlash());
  EXPECT_EQ("dir", path.mPath);
}

// ---------------------------------------------------------------------------------------
// Parent and name

TYPED_TEST(UnixPathRules, GetPathParent) {
  LogTail tail;
  struct Case {
    char const* path;
    char const* parent;  // null: no parent
  } const cases[] = {
      {"/a/b", "/a/"}, {"/a/b/", "/a/"}, {"a/b", "a/"}, {"a//", "a/"}, {"/a/b/c", "/a/b/"},
      {"/a", nullptr}, {"a", nullptr},   {"/", nullptr}, {"a/", nullptr}, {"", nullptr},
  };
  for (Case const& c : cases) {
    std::string parent = "untouched";
    EXPECT_EQ(c.parent != nullptr, TypeParam::GetPathParent(c.path, parent)) << c.path;
    EXPECT_EQ(c.parent ? c.parent : "untouched", parent) << c.path;
    std::string member = "untouched";
    EXPECT_EQ(c.parent != nullptr, TypeParam(c.path).GetParent(member)) << c.path;
    EXPECT_EQ(parent, member) << c.path;
  }
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, GetPathJustName) {
  LogTail tail;
  std::string name = "untouched";
  EXPECT_TRUE(TypeParam::GetPathJustName("/a/b/", name));
  EXPECT_EQ("b", name);
  EXPECT_TRUE(TypeParam::GetPathJustName("a/b", name));
  EXPECT_EQ("b", name);
  // Only one trailing slash goes, so the name after the last slash is empty.
  EXPECT_TRUE(TypeParam::GetPathJustName("/a/b//", name));
  EXPECT_EQ("", name);
  name = "untouched";
  EXPECT_FALSE(TypeParam::GetPathJustName("/a", name));
  EXPECT_FALSE(TypeParam::GetPathJustName("a", name));
  EXPECT_FALSE(TypeParam::GetPathJustName("/", name));
  EXPECT_FALSE(TypeParam("a").GetJustName(name));
  EXPECT_EQ("untouched", name);
  EXPECT_TRUE(TypeParam("/x/y.jpg").GetJustName(name));
  EXPECT_EQ("y.jpg", name);
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, GetPathJustNameOfARootLogs) {
  std::string name = "untouched";
  LogTail tail;
  EXPECT_FALSE(TypeParam::GetPathJustName("a/", name));
  EXPECT_EQ(this->Failed("!IsRootPath(path.c_str())", "GetPathJustName"), Numberless(tail.Text()));
  EXPECT_FALSE(TypeParam("//").GetJustName(name));
  EXPECT_EQ("untouched", name);
  EXPECT_EQ(this->Failed("!IsRootPath(path.c_str())", "GetPathJustName") +
                this->Failed("!IsRootPath(path.c_str())", "GetPathJustName"),
            Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, GetPathBasePartAndNamePart) {
  LogTail tail;
  std::string base = "b?";
  std::string name = "n?";
  EXPECT_TRUE(TypeParam::GetPathBasePartAndNamePart("/usr/bin", base, name));
  EXPECT_EQ("/", base);
  EXPECT_EQ("usr/bin", name);
  // Length 1 leaves the name as it was.
  base = "b?";
  name = "n?";
  EXPECT_TRUE(TypeParam::GetPathBasePartAndNamePart("/", base, name));
  EXPECT_EQ("/", base);
  EXPECT_EQ("n?", name);
  EXPECT_TRUE(TypeParam::GetPathBasePartAndNamePart("a/b/c", base, name));
  EXPECT_EQ("a/", base);
  EXPECT_EQ("b/c", name);
  // A bare name is all base; the name is left as it was.
  EXPECT_TRUE(TypeParam::GetPathBasePartAndNamePart("bare", base, name));
  EXPECT_EQ("bare", base);
  EXPECT_EQ("b/c", name);
  EXPECT_TRUE(TypeParam::GetPathBasePartAndNamePart("a/", base, name));
  EXPECT_EQ("a/", base);
  EXPECT_EQ("", name);
  name = "n?";
  EXPECT_TRUE(TypeParam::GetPathBasePartAndNamePart("bare", base, name));
  EXPECT_EQ("bare", base);
  EXPECT_EQ("n?", name);
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, GetPathBasePartAndNamePartOfEmptyLogs) {
  std::string base = "b?";
  std::string name = "n?";
  LogTail tail;
  EXPECT_FALSE(TypeParam::GetPathBasePartAndNamePart("", base, name));
  EXPECT_EQ("b?", base);
  EXPECT_EQ("n?", name);
  EXPECT_EQ(this->Failed("path_length", "GetPathBasePartAndNamePart"), Numberless(tail.Text()));
}

// ---------------------------------------------------------------------------------------
// Walking by pairs

TYPED_TEST(UnixPathRules, WalkByPairs) {
  LogTail tail;
  EXPECT_EQ((Pairs{{"/", "usr/local/bin"}, {"/usr/", "local/bin"}, {"/usr/local/", "bin"}}),
            Walk(TypeParam("/usr/local/bin")));
  EXPECT_EQ((Pairs{{"/", "usr/local/"}, {"/usr/", "local/"}, {"/usr/local/", ""}}),
            Walk(TypeParam("/usr/local/")));
  EXPECT_EQ((Pairs{{"a/", "b"}}), Walk(TypeParam("a/b")));
  EXPECT_EQ((Pairs{{"./", "name"}}), Walk(TypeParam("name")));
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, NextPairAfterTheEndKeepsTheOutputs) {
  TypeParam path("/usr/local/bin");
  std::string base = "/usr/local/";
  std::string name = "bin";
  LogTail tail;
  EXPECT_FALSE(path.GetNextPair(base, name));
  EXPECT_EQ("/usr/local/", base);
  EXPECT_EQ("bin", name);
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, FirstPairOfAnEmptyPathLogs) {
  std::string base = "b?";
  std::string name = "n?";
  LogTail tail;
  EXPECT_FALSE(TypeParam().GetFirstPair(base, name));
  EXPECT_EQ("b?", base);
  EXPECT_EQ("n?", name);
  EXPECT_EQ(this->Failed("!IsEmpty()", "GetFirstPair"), Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, NextPairNeedsAPathAndABase) {
  std::string base;
  std::string name = "usr/bin";
  LogTail tail;
  EXPECT_FALSE(TypeParam("/usr/bin").GetNextPair(base, name));
  base = "/";
  EXPECT_FALSE(TypeParam().GetNextPair(base, name));
  EXPECT_EQ("/", base);
  EXPECT_EQ("usr/bin", name);
  EXPECT_EQ(this->Failed("!IsEmpty() && (base_length>0)", "GetNextPair") +
                this->Failed("!IsEmpty() && (base_length>0)", "GetNextPair"),
            Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, PairsOfAnEmptyPathOrBaseLog) {
  std::string base;
  std::string name = "a/b";
  LogTail tail;
  EXPECT_FALSE(TypeParam().GetFirstPair(base, name));
  EXPECT_FALSE(TypeParam("/a/b").GetNextPair(base, name));
  EXPECT_EQ("", base);
  EXPECT_EQ("a/b", name);
  EXPECT_EQ(this->Failed("!IsEmpty()", "GetFirstPair") +
                this->Failed("!IsEmpty() && (base_length>0)", "GetNextPair"),
            Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, NextPairWithABaseThatIsNotAPrefixFailsAndKeepsTheOutputs) {
  // Nothing is left of the path after a base longer than it: the split of nothing fails.
  std::string base = "/a/b/c/d/";
  std::string name = "x/y";
  LogTail tail;
  EXPECT_FALSE(TypeParam("/a/b").GetNextPair(base, name));
  EXPECT_EQ("/a/b/c/d/", base);
  EXPECT_EQ("x/y", name);
  EXPECT_EQ(this->Failed("path_length", "GetPathBasePartAndNamePart"), Numberless(tail.Text()));
}
