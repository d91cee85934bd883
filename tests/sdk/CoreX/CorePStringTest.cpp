#include "CorePString.h"
#include "TestLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

using tavelo_test::LogTail;

namespace {
std::string Pascal(std::string const& text) { return std::string(1, char(text.size())) + text; }
unsigned char const* P(std::string const& pascal) { return reinterpret_cast<unsigned char const*>(pascal.data()); }
}  // namespace

TEST(CorePString, AssignFromCTextKeepsAtMost255AndATerminator) {
  CorePString s("hello");
  EXPECT_EQ(5, s.strlen());
  EXPECT_EQ(6, s.string_size());
  EXPECT_STREQ("hello", s.c_str());
  std::string const long_text(300, 'x');
  s = long_text.c_str();
  EXPECT_EQ(255, s.strlen());
  EXPECT_EQ(std::string(255, 'x'), std::string(s.c_str(), 255));
  s = static_cast<char const*>(nullptr);
  EXPECT_EQ(0, s.strlen());
}

TEST(CorePString, AssignFromPascalAndCopy) {
  std::string const p = Pascal("abc");
  CorePString s(P(p));
  EXPECT_TRUE(s == "abc");
  EXPECT_TRUE(s == P(p));
  CorePString t;
  t = s;
  EXPECT_TRUE(t == "abc");
  EXPECT_FALSE(t == "abcd");
  EXPECT_FALSE(t == P(Pascal("abd")));
  EXPECT_FALSE(t == static_cast<char const*>(nullptr));
  EXPECT_STREQ("abc", t.c_str());
}

TEST(CorePString, StrcatAppendsAndTerminates) {
  CorePString s("ab");
  s.strcat(P(Pascal("cd")));
  EXPECT_TRUE(s == "abcd");
  EXPECT_STREQ("abcd", s.c_str());
  s.strcat(P(Pascal("")));
  EXPECT_TRUE(s == "abcd");
}

TEST(CorePString, StrcatOfTwo128ByteStringsLogsAndLeavesLengthZero) {
  CorePString s(std::string(128, 'a').c_str());
  std::string const rhs = Pascal(std::string(128, 'b'));
  LogTail tail;
  s.strcat(P(rhs));
  EXPECT_EQ(0, s.strlen());
  EXPECT_THAT(tail.Text(), testing::MatchesRegex("VERIFY FAILED:  code : pstring_len\\+rhs_len in "
                                                 "/Code/sdk/CoreX/CorePString:[0-9]+ \\(CorePString::strcat\\)\n"));
  // What fits in the record was still moved in.
  EXPECT_EQ('b', char(s.mPString[255]));
}

TEST(CorePString, SumAbove256WrapsWithoutALog) {
  CorePString s(std::string(200, 'a').c_str());
  std::string const rhs = Pascal(std::string(100, 'b'));
  LogTail tail;
  s.strcat(P(rhs));
  EXPECT_EQ(44, s.strlen());  // 300 in 8 bits
  EXPECT_EQ("", tail.Text());
}

TEST(CorePString, EmptyPlusEmptyIsNoOverflow) {
  CorePString s;
  LogTail tail;
  s.strcat(P(Pascal("")));
  EXPECT_EQ(0, s.strlen());
  EXPECT_EQ("", tail.Text());
}

TEST(CorePString, StrcatcStopsAt255) {
  CorePString s(std::string(254, 'a').c_str());
  s.strcatc('z');
  EXPECT_EQ(255, s.strlen());
  EXPECT_EQ('z', char(s.mPString[255]));
  s.strcatc('y');
  EXPECT_EQ(255, s.strlen());
  CorePString t("a");
  t.strcatc('b');
  EXPECT_STREQ("ab", t.c_str());
}

TEST(CorePString, CopyOut) {
  CorePString s("hello");
  unsigned char out[8];
  std::memset(out, 0xEE, sizeof out);
  s.strcpy(out, 4);
  EXPECT_EQ(3, out[0]);
  EXPECT_EQ(0, std::memcmp(out + 1, "hel", 3));
  EXPECT_EQ(0xEE, out[4]);
  s.AssignTo(out, 8);
  EXPECT_EQ(5, out[0]);
  EXPECT_EQ(0, std::memcmp(out + 1, "hello", 5));
  char text[8];
  s.AssignTo(text);
  EXPECT_STREQ("hello", text);
}
