#include "LUnixPath.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <string>

using tavelo_test::LogTail;

// The rules shared with CoreUnixPath are tested for both classes together; here stays
// only where this class is quiet and CoreUnixPath logs.

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

TEST(LUnixPath, HasPathExtensionIsSilent) {
  LogTail tail;
  EXPECT_TRUE(LUnixPath::HasPathExtension("A.JPG", ".jpg"));
  EXPECT_TRUE(LUnixPath::HasPathExtension("a.jpg", "JPG"));
  EXPECT_FALSE(LUnixPath::HasPathExtension("a.jpeg", "jpg"));
  EXPECT_FALSE(LUnixPath::HasPathExtension("noext", "jpg"));
  EXPECT_FALSE(LUnixPath::HasPathExtension(".jpg", "jpg"));
  EXPECT_EQ("", tail.Text());
}

