#include "LUnixPath.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using tavelo_test::LogTail;

namespace {

// The log text with every line number replaced by '#'.
std::string Numberless(std::string const& text) {
  static std::regex const number(":[0-9]+ \\(");
  return std::regex_replace(text, number, ":# (");
}

std::string Failed(std::string const& code, std::string const& function) {
  return "VERIFY FAILED:  code : " + code + " in /Code/sdk/CoreX/LUnixPath:# (" + function + ")\n";
}

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs Walk(LUnixPath const& path) {
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

TEST(LUnixPath, IsAPolymorphicValueWithOnePathField) {
  EXPECT_TRUE(std::is_polymorphic_v<LUnixPath>);
  EXPECT_TRUE(std::has_virtual_destructor_v<LUnixPath>);
  LUnixPath original("/a/b");
  LUnixPath copy(original);
  LUnixPath assigned("other");
  assigned = original;
  original.mPath = "changed";
  EXPECT_EQ("/a/b", copy.mPath);
  EXPECT_EQ("/a/b", assigned.mPath);
  EXPECT_TRUE(LUnixPath().IsEmpty());
  EXPECT_EQ(std::string("/"), LUnixPath::s_slash_str_const);
}

TEST(LUnixPath, Construct) {
  LUnixPath path;
  EXPECT_TRUE(path.Construct("x/y"));
  EXPECT_STREQ("x/y", static_cast<char const*>(path));
  EXPECT_TRUE(path.Construct(nullptr));
  EXPECT_EQ("x/y", path.mPath);
  EXPECT_FALSE(path.Construct(""));
  EXPECT_FALSE(path.Construct(nullptr));
  EXPECT_TRUE(LUnixPath(nullptr).IsEmpty());
}

TEST(LUnixPath, EmptyIsANoOp) {
  LUnixPath path("latent.jpg");
  path.Empty();
  EXPECT_EQ("latent.jpg", path.mPath);
}

// ---------------------------------------------------------------------------------------
// Classification

TEST(LUnixPath, IsRootPathTestsTheSecondCharacter) {
  EXPECT_FALSE(LUnixPath::IsRootPath("/"));
  EXPECT_TRUE(LUnixPath::IsRootPath("a/"));
  EXPECT_TRUE(LUnixPath::IsRootPath("//"));
  EXPECT_FALSE(LUnixPath::IsRootPath(""));
  EXPECT_FALSE(LUnixPath::IsRootPath(nullptr));
  EXPECT_FALSE(LUnixPath::IsRootPath("ab/"));
  EXPECT_TRUE(LUnixPath("z/").IsRoot());
  EXPECT_FALSE(LUnixPath("/").IsRoot());
}

TEST(LUnixPath, StaticClassification) {
  LogTail tail;
  EXPECT_TRUE(LUnixPath::IsFullyQualified("/a"));
  EXPECT_FALSE(LUnixPath::IsFullyQualified("a/b"));
  EXPECT_TRUE(LUnixPath::IsPartiallyQualified("a/b"));
  EXPECT_FALSE(LUnixPath::IsPartiallyQualified("/a/b"));
  EXPECT_FALSE(LUnixPath::IsPartiallyQualified("a"));
  EXPECT_TRUE(LUnixPath::IsQualified("/a"));
  EXPECT_TRUE(LUnixPath::IsQualified("a/"));
  EXPECT_FALSE(LUnixPath::IsQualified("a"));
  EXPECT_FALSE(LUnixPath::IsQualified(""));
  EXPECT_TRUE(LUnixPath::IsJustName("a"));
  EXPECT_FALSE(LUnixPath::IsJustName("a/b"));
  EXPECT_FALSE(LUnixPath::IsJustName(""));
  EXPECT_FALSE(LUnixPath::IsJustName(nullptr));
  EXPECT_EQ("", tail.Text());
}

TEST(LUnixPath, StaticClassificationOfNullLogs) {
  LogTail tail;
  EXPECT_FALSE(LUnixPath::IsFullyQualified(nullptr));
  EXPECT_FALSE(LUnixPath::IsPartiallyQualified(nullptr));
  EXPECT_FALSE(LUnixPath::IsQualified(nullptr));
  EXPECT_EQ(Failed("CoreUnixPath_NotNull", "LUnixPath::IsFullyQualified") +
                Failed("CoreUnixPath_NotNull", "LUnixPath::IsPartiallyQualified") +
                Failed("CoreUnixPath_NotNull", "LUnixPath::IsQualified"),
            Numberless(tail.Text()));
}

TEST(LUnixPath, MemberClassification) {
  LogTail tail;
  EXPECT_TRUE(LUnixPath("/a").IsFullyQualified());
  EXPECT_TRUE(LUnixPath("a/b").IsPartiallyQualified());
  EXPECT_TRUE(LUnixPath("a/b").IsQualified());
  EXPECT_FALSE(LUnixPath("a/b").IsJustName());
  EXPECT_TRUE(LUnixPath("a").IsJustName());
  EXPECT_EQ("", tail.Text());
  LUnixPath empty;
  EXPECT_FALSE(empty.IsFullyQualified());
  EXPECT_FALSE(empty.IsPartiallyQualified());
  EXPECT_FALSE(empty.IsQualified());
  EXPECT_FALSE(empty.IsJustName());
  EXPECT_EQ(Failed("!IsEmpty()", "LUnixPath::IsFullyQualified") +
                Failed("!IsEmpty()", "LUnixPath::IsPartiallyQualified") +
                Failed("!IsEmpty()", "LUnixPath::IsQualified") +
                Failed("!IsEmpty()", "LUnixPath::IsJustName"),
            Numberless(tail.Text()));
}

// ---------------------------------------------------------------------------------------
// Slashes, parent and name

TEST(LUnixPath, TrailingSlashes) {
  std::string s;
  EXPECT_TRUE(LUnixPath::AddTrailingSlash(s));
  EXPECT_EQ("/", s);
  EXPECT_FALSE(LUnixPath::AddTrailingSlash(s));
  EXPECT_TRUE(LUnixPath::RemoveTrailingSlash(s));
  EXPECT_EQ("", s);
  EXPECT_FALSE(LUnixPath::RemoveTrailingSlash(s));
  s = "a//";
  EXPECT_TRUE(LUnixPath::RemoveTrailingSlash(s));
  EXPECT_EQ("a/", s);
  LUnixPath path("dir");
  EXPECT_TRUE(path.AddTrailingSlash());
  EXPECT_EQ("dir/", path.mPath);
  EXPECT_TRUE(path.RemoveTrailingSlash());
  EXPECT_EQ("dir", path.mPath);
}

TEST(LUnixPath, GetPathParent) {
  LogTail tail;
  struct Case {
    char const* path;
    char const* parent;
  } const cases[] = {
      {"/a/b", "/a/"}, {"/a/b/", "/a/"}, {"a/b", "a/"}, {"a//", "a/"},
      {"/a", nullptr}, {"a", nullptr},   {"/", nullptr}, {"a/", nullptr},
  };
  for (Case const& c : cases) {
    std::string parent = "untouched";
    EXPECT_EQ(c.parent != nullptr, LUnixPath::GetPathParent(c.path, parent)) << c.path;
    EXPECT_EQ(c.parent ? c.parent : "untouched", parent) << c.path;
    std::string member = "untouched";
    EXPECT_EQ(c.parent != nullptr, LUnixPath(c.path).GetParent(member)) << c.path;
    EXPECT_EQ(parent, member) << c.path;
  }
  EXPECT_EQ("", tail.Text());
}

TEST(LUnixPath, GetPathJustName) {
  LogTail tail;
  std::string name = "untouched";
  EXPECT_TRUE(LUnixPath::GetPathJustName("/a/b/", name));
  EXPECT_EQ("b", name);
  name = "untouched";
  EXPECT_FALSE(LUnixPath::GetPathJustName("/a", name));
  EXPECT_FALSE(LUnixPath("a").GetJustName(name));
  EXPECT_EQ("untouched", name);
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(LUnixPath::GetPathJustName("a/", name));
  EXPECT_EQ("untouched", name);
  EXPECT_EQ(Failed("!IsRootPath(path.c_str())", "LUnixPath::GetPathJustName"),
            Numberless(tail.Text()));
}

TEST(LUnixPath, GetPathBasePartAndNamePart) {
  std::string base = "b?";
  std::string name = "n?";
  LogTail tail;
  EXPECT_TRUE(LUnixPath::GetPathBasePartAndNamePart("/usr/bin", base, name));
  EXPECT_EQ("/", base);
  EXPECT_EQ("usr/bin", name);
  EXPECT_TRUE(LUnixPath::GetPathBasePartAndNamePart("a/b/c", base, name));
  EXPECT_EQ("a/", base);
  EXPECT_EQ("b/c", name);
  EXPECT_TRUE(LUnixPath::GetPathBasePartAndNamePart("bare", base, name));
  EXPECT_EQ("bare", base);
  EXPECT_EQ("b/c", name);
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(LUnixPath::GetPathBasePartAndNamePart("", base, name));
  EXPECT_EQ(Failed("path_length", "LUnixPath::GetPathBasePartAndNamePart"),
            Numberless(tail.Text()));
}

TEST(LUnixPath, WalkByPairs) {
  LogTail tail;
  EXPECT_EQ((Pairs{{"/", "usr/local/bin"}, {"/usr/", "local/bin"}, {"/usr/local/", "bin"}}),
            Walk(LUnixPath("/usr/local/bin")));
  EXPECT_EQ((Pairs{{"/", "usr/local/"}, {"/usr/", "local/"}, {"/usr/local/", ""}}),
            Walk(LUnixPath("/usr/local/")));
  EXPECT_EQ((Pairs{{"a/", "b"}}), Walk(LUnixPath("a/b")));
  EXPECT_EQ((Pairs{{"./", "name"}}), Walk(LUnixPath("name")));
  EXPECT_EQ("", tail.Text());
}

TEST(LUnixPath, PairsOfAnEmptyPathOrBaseLog) {
  std::string base;
  std::string name = "a/b";
  LogTail tail;
  EXPECT_FALSE(LUnixPath().GetFirstPair(base, name));
  EXPECT_FALSE(LUnixPath("/a/b").GetNextPair(base, name));
  EXPECT_EQ("", base);
  EXPECT_EQ("a/b", name);
  EXPECT_EQ(Failed("!IsEmpty()", "LUnixPath::GetFirstPair") +
                Failed("!IsEmpty() && (base_length>0)", "LUnixPath::GetNextPair"),
            Numberless(tail.Text()));
}

TEST(LUnixPath, NextPairWithABaseThatIsNotAPrefixFailsAndKeepsTheOutputs) {
  // Nothing is left of the path after a base longer than it: the split of nothing fails.
  std::string base = "/a/b/c/d/";
  std::string name = "x/y";
  LogTail tail;
  EXPECT_FALSE(LUnixPath("/a/b").GetNextPair(base, name));
  EXPECT_EQ("/a/b/c/d/", base);
  EXPECT_EQ("x/y", name);
  EXPECT_EQ(Failed("path_length", "LUnixPath::GetPathBasePartAndNamePart"), Numberless(tail.Text()));
}

// ---------------------------------------------------------------------------------------
// Extensions

TEST(LUnixPath, GetPathExtensionIsSilent) {
  LogTail tail;
  std::string ext = "untouched";
  EXPECT_TRUE(LUnixPath::GetPathExtension("x.tar.gz", ext));
  EXPECT_EQ("gz", ext);
  EXPECT_TRUE(LUnixPath::GetPathExtension("dir.d/file", ext));
  EXPECT_EQ("d/file", ext);
  ext = "untouched";
  EXPECT_FALSE(LUnixPath::GetPathExtension(".profile", ext));
  EXPECT_FALSE(LUnixPath::GetPathExtension("noext", ext));
  EXPECT_FALSE(LUnixPath::GetPathExtension("a/", ext));
  EXPECT_FALSE(LUnixPath("b/").GetExtension(ext));
  EXPECT_EQ("untouched", ext);
  EXPECT_TRUE(LUnixPath("/p/q.png").GetExtension(ext));
  EXPECT_EQ("png", ext);
  EXPECT_EQ("", tail.Text());
}

TEST(LUnixPath, HasValidFileExtension) {
  LogTail tail;
  EXPECT_TRUE(LUnixPath::HasValidFileExtension("a.jpg"));
  EXPECT_FALSE(LUnixPath::HasValidFileExtension(".profile"));
  EXPECT_FALSE(LUnixPath::HasValidFileExtension("noext"));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(LUnixPath::HasValidFileExtension("dir.d/file"));
  EXPECT_EQ(Failed("rfound_dot_at>rfound_slash_at", "LUnixPath::HasValidFileExtension"),
            Numberless(tail.Text()));
}

TEST(LUnixPath, AddPathExtension) {
  LogTail tail;
  std::string path = "pic";
  EXPECT_TRUE(LUnixPath::AddPathExtension(path, ".jpg"));
  EXPECT_EQ("pic.jpg", path);
  path = "pic";
  EXPECT_TRUE(LUnixPath::AddPathExtension(path, "jpg"));
  EXPECT_EQ("pic.jpg", path);
  path = "pic";
  EXPECT_TRUE(LUnixPath::AddPathExtension(path, ""));
  EXPECT_EQ("pic.", path);
  EXPECT_EQ("", tail.Text());
  path = "a/";
  EXPECT_FALSE(LUnixPath::AddPathExtension(path, "jpg"));
  EXPECT_EQ("a/", path);
  EXPECT_EQ(Failed("!IsRootPath(inout_path.c_str())", "LUnixPath::AddPathExtension"),
            Numberless(tail.Text()));
}

TEST(LUnixPath, ReplacePathExtension) {
  LogTail tail;
  std::string path = "a.png";
  EXPECT_TRUE(LUnixPath::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("a.jpg", path);
  path = "noext";
  EXPECT_TRUE(LUnixPath::ReplacePathExtension(path, ".tiff"));
  EXPECT_EQ("noext.tiff", path);
  LUnixPath member("Tavelo 0001.png");
  EXPECT_TRUE(member.ReplaceExtension("jpg"));
  EXPECT_EQ("Tavelo 0001.jpg", member.mPath);
  EXPECT_EQ("", tail.Text());
  // The dot belongs to a folder: the extension is appended, after the validity log.
  path = "dir.d/file";
  EXPECT_TRUE(LUnixPath::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("dir.d/file.jpg", path);
  EXPECT_EQ(Failed("rfound_dot_at>rfound_slash_at", "LUnixPath::HasValidFileExtension"),
            Numberless(tail.Text()));
}

TEST(LUnixPath, ReplacePathExtensionFailuresLog) {
  std::string root = "a/";
  std::string dotted = "a/.x";
  LogTail tail;
  EXPECT_FALSE(LUnixPath::ReplacePathExtension(root, "jpg"));
  EXPECT_EQ("a/", root);
  EXPECT_FALSE(LUnixPath::ReplacePathExtension(dotted, "jpg"));
  EXPECT_EQ("a/.x", dotted);
  EXPECT_EQ(Failed("!IsRootPath(path.c_str())", "LUnixPath::ReplacePathExtension") +
                Failed("!IsRootPath(inout_path.c_str())", "LUnixPath::AddPathExtension") +
                Failed("AddPathExtension(new_path,in_extension)",
                       "LUnixPath::ReplacePathExtension"),
            Numberless(tail.Text()));
}

TEST(LUnixPath, HasPathExtensionIsSilent) {
  LogTail tail;
  EXPECT_TRUE(LUnixPath::HasPathExtension("A.JPG", ".jpg"));
  EXPECT_TRUE(LUnixPath::HasPathExtension("a.jpg", "JPG"));
  EXPECT_FALSE(LUnixPath::HasPathExtension("a.jpeg", "jpg"));
  EXPECT_FALSE(LUnixPath::HasPathExtension("noext", "jpg"));
  EXPECT_FALSE(LUnixPath::HasPathExtension(".jpg", "jpg"));
  EXPECT_EQ("", tail.Text());
}

TEST(LUnixPath, HasExtension) {
  LogTail tail;
  EXPECT_TRUE(LUnixPath("/p/A.TIFF").HasExtension(".tiff"));
  EXPECT_FALSE(LUnixPath("/p/a.png").HasExtension("tiff"));
  EXPECT_FALSE(LUnixPath("noext").HasExtension("tiff"));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(LUnixPath("dir.d/file").HasExtension("d/file"));
  EXPECT_EQ(Failed("rfound_dot_at>rfound_slash_at", "LUnixPath::HasValidFileExtension"),
            Numberless(tail.Text()));
}
