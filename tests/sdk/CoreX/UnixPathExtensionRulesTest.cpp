// The extension rules CoreUnixPath and LUnixPath share, run against both classes.
#include "TestLog.h"
#include "UnixPathRules.h"

#include <gtest/gtest.h>

#include <string>

using tavelo_test::LogTail;
using unix_path_rules::Numberless;

TYPED_TEST(UnixPathRules, GetPathExtension) {
  LogTail tail;
  std::string ext = "untouched";
  EXPECT_TRUE(TypeParam::GetPathExtension("x.tar.gz", ext));
  EXPECT_EQ("gz", ext);
  // The slash after the dot is not consulted.
  EXPECT_TRUE(TypeParam::GetPathExtension("dir.d/file", ext));
  EXPECT_EQ("d/file", ext);
  EXPECT_TRUE(TypeParam::GetPathExtension("a.", ext));
  EXPECT_EQ("", ext);
  EXPECT_TRUE(TypeParam("/p/pic.JPG").GetExtension(ext));
  EXPECT_EQ("JPG", ext);
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, HasValidFileExtension) {
  LogTail tail;
  EXPECT_TRUE(TypeParam::HasValidFileExtension("a.jpg"));
  EXPECT_TRUE(TypeParam::HasValidFileExtension("/p.d/a.jpg"));
  EXPECT_TRUE(TypeParam::HasValidFileExtension("/x/.profile"));
  EXPECT_FALSE(TypeParam::HasValidFileExtension("noext"));
  EXPECT_FALSE(TypeParam::HasValidFileExtension(".profile"));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(TypeParam::HasValidFileExtension("dir.d/file"));
  EXPECT_EQ(this->Failed("rfound_dot_at>rfound_slash_at", "HasValidFileExtension"),
            Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, AddPathExtension) {
  LogTail tail;
  std::string path = "pic";
  EXPECT_TRUE(TypeParam::AddPathExtension(path, ".jpg"));
  EXPECT_EQ("pic.jpg", path);
  path = "pic";
  EXPECT_TRUE(TypeParam::AddPathExtension(path, "jpg"));
  EXPECT_EQ("pic.jpg", path);
  path = "pic";
  EXPECT_TRUE(TypeParam::AddPathExtension(path, ""));
  EXPECT_EQ("pic.", path);
  TypeParam member("/a/pic.tar");
  EXPECT_TRUE(member.AddExtension("gz"));
  EXPECT_EQ("/a/pic.tar.gz", member.mPath);
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, AddPathExtensionToARootLogs) {
  std::string path = "a/";
  LogTail tail;
  EXPECT_FALSE(TypeParam::AddPathExtension(path, "jpg"));
  EXPECT_EQ("a/", path);
  EXPECT_EQ(this->Failed("!IsRootPath(inout_path.c_str())", "AddPathExtension"),
            Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, ReplacePathExtension) {
  LogTail tail;
  std::string path = "a.png";
  EXPECT_TRUE(TypeParam::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("a.jpg", path);
  path = "/p/x.tar.gz";
  EXPECT_TRUE(TypeParam::ReplacePathExtension(path, ".tiff"));
  EXPECT_EQ("/p/x.tar.tiff", path);
  path = "noext";
  EXPECT_TRUE(TypeParam::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("noext.jpg", path);
  path = "noext";
  EXPECT_TRUE(TypeParam::ReplacePathExtension(path, ".tiff"));
  EXPECT_EQ("noext.tiff", path);
  TypeParam member("/p/pic.png");
  EXPECT_TRUE(member.ReplaceExtension("tiff"));
  EXPECT_EQ("/p/pic.tiff", member.mPath);
  TypeParam numbered("Tavelo 0001.png");
  EXPECT_TRUE(numbered.ReplaceExtension("jpg"));
  EXPECT_EQ("Tavelo 0001.jpg", numbered.mPath);
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, ReplacePathExtensionWhenTheDotIsInAFolderAppends) {
  std::string path = "dir.d/file";
  LogTail tail;
  EXPECT_TRUE(TypeParam::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("dir.d/file.jpg", path);
  EXPECT_EQ(this->Failed("rfound_dot_at>rfound_slash_at", "HasValidFileExtension"),
            Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, ReplacePathExtensionOfARootLogs) {
  std::string path = "a/";
  LogTail tail;
  EXPECT_FALSE(TypeParam::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("a/", path);
  EXPECT_EQ(this->Failed("!IsRootPath(path.c_str())", "ReplacePathExtension"),
            Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, ReplacePathExtensionThatWouldLeaveARootFails) {
  // Cutting "a/.x" before its dot leaves the root "a/", which takes no extension.
  std::string path = "a/.x";
  LogTail tail;
  EXPECT_FALSE(TypeParam::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("a/.x", path);
  EXPECT_EQ(this->Failed("!IsRootPath(inout_path.c_str())", "AddPathExtension") +
                this->Failed("AddPathExtension(new_path,in_extension)", "ReplacePathExtension"),
            Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, ReplacePathExtensionFailuresLogInTurn) {
  std::string root = "a/";
  std::string dotted = "a/.x";
  LogTail tail;
  EXPECT_FALSE(TypeParam::ReplacePathExtension(root, "jpg"));
  EXPECT_EQ("a/", root);
  EXPECT_FALSE(TypeParam::ReplacePathExtension(dotted, "jpg"));
  EXPECT_EQ("a/.x", dotted);
  EXPECT_EQ(this->Failed("!IsRootPath(path.c_str())", "ReplacePathExtension") +
                this->Failed("!IsRootPath(inout_path.c_str())", "AddPathExtension") +
                this->Failed("AddPathExtension(new_path,in_extension)", "ReplacePathExtension"),
            Numberless(tail.Text()));
}

TYPED_TEST(UnixPathRules, HasPathExtensionIgnoresCaseAndOneLeadingDot) {
  LogTail tail;
  EXPECT_TRUE(TypeParam::HasPathExtension("A.JPG", ".jpg"));
  EXPECT_TRUE(TypeParam::HasPathExtension("a.jpg", "JPG"));
  EXPECT_FALSE(TypeParam::HasPathExtension("a.jpeg", "jpg"));
  EXPECT_FALSE(TypeParam::HasPathExtension("a.jpg", "jpeg"));
  EXPECT_FALSE(TypeParam::HasPathExtension("a.jpg", "..jpg"));
  EXPECT_TRUE(TypeParam::HasPathExtension("x.tar.gz", "GZ"));
  EXPECT_EQ("", tail.Text());
}

TYPED_TEST(UnixPathRules, HasExtensionNeedsAValidExtension) {
  LogTail tail;
  EXPECT_TRUE(TypeParam("/p/A.JPG").HasExtension("jpg"));
  EXPECT_TRUE(TypeParam("/p/A.TIFF").HasExtension(".tiff"));
  EXPECT_FALSE(TypeParam("/p/a.png").HasExtension("jpg"));
  EXPECT_FALSE(TypeParam("/p/a.png").HasExtension("tiff"));
  EXPECT_FALSE(TypeParam("noext").HasExtension("jpg"));
  EXPECT_FALSE(TypeParam("noext").HasExtension("tiff"));
  EXPECT_EQ("", tail.Text());
  // GetPathExtension would answer "d/file"; the member refuses first.
  EXPECT_FALSE(TypeParam("dir.d/file").HasExtension("d/file"));
  EXPECT_EQ(this->Failed("rfound_dot_at>rfound_slash_at", "HasValidFileExtension"),
            Numberless(tail.Text()));
}
