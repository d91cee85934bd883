#include "CoreCString.h"
#include "CoreMachDebugLog.h"
#include "CorePString.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

std::string Pascal(std::string const& text) { return std::string(1, char(text.size())) + text; }
unsigned char const* P(std::string const& pascal) { return reinterpret_cast<unsigned char const*>(pascal.data()); }

// Runs f and returns the message of the CoreException it throws, or "<none>".
template <class F>
std::string Thrown(F f) {
  try {
    f();
  } catch (CoreException const& e) {
    return e.what();
  }
  return "<none>";
}

}  // namespace

TEST(CoreCString, FourCharCodeTexts) {
  CoreCString code(FOUR_CHAR_CODE("JPEG"), 0);
  EXPECT_STREQ("0x4a504547 'JPEG'", code.c_str());
  CoreCStringSized sized(FOUR_CHAR_CODE("JPEG"), 0);
  EXPECT_STREQ("'JPEG'", sized.c_str());
  EXPECT_EQ(7, sized.mCapacity);
  CoreCStringSized wide(FOUR_CHAR_CODE("BINA"), 20);
  EXPECT_STREQ("'BINA'", wide.c_str());
  EXPECT_EQ(20, wide.mCapacity);
  CoreCString s("old text");
  EXPECT_TRUE(s.ConstructFourCharCode(0x54455854UL));
  EXPECT_STREQ("0x54455854 'TEXT'", s.c_str());
}

TEST(CoreCString, AllocCapacityRules) {
  CoreCString s("abc");
  EXPECT_EQ(4, s.mCapacity);
  CoreCString t("abc", 10);
  EXPECT_EQ(10, t.mCapacity);
  CoreCString u("abcdef", 3);
  EXPECT_EQ(7, u.mCapacity);
  // A fitting text reuses the buffer.
  char const* const buffer = t.mBuffer;
  t.Alloc("xy", 0);
  EXPECT_EQ(buffer, t.mBuffer);
  EXPECT_EQ(10, t.mCapacity);
  EXPECT_STREQ("xy", t.c_str());
  t.Alloc("0123456789", 0);
  EXPECT_EQ(11, t.mCapacity);
  EXPECT_STREQ("0123456789", t.c_str());
  t.Alloc(5);
  EXPECT_STREQ("", t.c_str());
  EXPECT_EQ(11, t.mCapacity);
  CoreCString empty;
  EXPECT_STREQ("", empty.c_str());
  EXPECT_EQ(1, empty.mCapacity);
}

TEST(CoreCString, CapacityIsSixteenBits) {
  std::string const text(70000, 'q');
  CoreCString s(text.c_str());
  EXPECT_EQ((70001 & 0xFFFF), s.mCapacity);
  EXPECT_EQ(std::size_t((70001 & 0xFFFF) - 1), std::strlen(s.c_str()));
}

TEST(CoreCString, OtherConstructors) {
  CoreCString a(std::string("std"));
  EXPECT_STREQ("std", a.c_str());
  std::string const p = Pascal("pascal");
  CoreCString b(P(p), 20);
  EXPECT_STREQ("pascal", b.c_str());
  EXPECT_EQ(20, b.mCapacity);
  CorePString ps("from p");
  CoreCString c(ps);
  EXPECT_STREQ("from p", c.c_str());
  CoreCString d(c, 30);
  EXPECT_STREQ("from p", d.c_str());
  EXPECT_EQ(30, d.mCapacity);
  d = a;
  EXPECT_STREQ("std", d.c_str());
  d = d;
  EXPECT_STREQ("std", d.c_str());
  d = "plain";
  EXPECT_STREQ("plain", d.c_str());
}

TEST(CoreCString, MissingBufferThrowsNilExceptionPointer) {
  CoreCString s("x");
  s.Delete();
  EXPECT_EQ(nullptr, s.mBuffer);
  EXPECT_EQ(0, s.mCapacity);
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.Empty(); }));
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.safe_strcpy("a"); }));
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.safe_strcat("a"); }));
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.strcat("a"); }));
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.trim_trailing_whitespace(); }));
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.AsDouble(); }));
  EXPECT_EQ("Nil exception pointer", Thrown([&] { static_cast<void>(s == "x"); }));
  // Alloc makes a buffer again.
  s.Alloc("back", 0);
  EXPECT_STREQ("back", s.c_str());
}

TEST(CoreCString, SafeStrncpyCountNeverShortensOnlyCapacityTruncates) {
  CoreCString big(static_cast<char const*>(nullptr), 16);
  big.safe_strncpy("abcdef", 2);
  EXPECT_STREQ("abcdef", big.c_str());
  CoreCString small(static_cast<char const*>(nullptr), 4);
  small.safe_strncpy("abcdef", 2);
  EXPECT_STREQ("abc", small.c_str());
  // A larger count pads with zeros, within the capacity.
  big.safe_strncpy("ab", 10);
  EXPECT_STREQ("ab", big.c_str());
  EXPECT_EQ(0, std::memcmp(big.mBuffer, "ab\0\0\0\0\0\0\0\0\0", 11));
  big.safe_strncpy(nullptr, 3);
  EXPECT_STREQ("", big.c_str());
  big.safe_strcpy("0123456789abcdefXYZ");
  EXPECT_STREQ("0123456789abcde", big.c_str());
}

TEST(CoreCString, SafeStrcatExactFitOnlyTerminates) {
  CoreCString s("ab", 8);
  // 2 + 1 + 4 + 1 == 8: nothing is appended.
  s.safe_strcat("cdef");
  EXPECT_STREQ("ab", s.c_str());
  s.safe_strcat("cde");
  EXPECT_STREQ("abcde", s.c_str());
  // More than the room is cut off at the capacity.
  s.safe_strcat("0123456789");
  EXPECT_STREQ("abcde01", s.c_str());
}

TEST(CoreCString, StrcatGrows) {
  CoreCString s("ab");
  s.strcat("cdef");
  EXPECT_STREQ("abcdef", s.c_str());
  EXPECT_EQ(7, s.mCapacity);
  s += "gh";
  s += CoreCString("ij");
  s += P(Pascal("kl"));
  EXPECT_STREQ("abcdefghijkl", s.c_str());
  s += s;
  EXPECT_STREQ("abcdefghijklabcdefghijkl", s.c_str());
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.strcat(nullptr); }));
}

TEST(CoreCString, PrintfLimitIs2048Characters) {
  CoreCString s;
  s.printf("%d-%s", 42, "x");
  EXPECT_STREQ("42-x", s.c_str());
  std::string const fits(2048, 'a');
  s.printf("%s", fits.c_str());
  EXPECT_EQ(2048u, std::strlen(s.c_str()));
  std::string const over(2049, 'a');
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.printf("%s", over.c_str()); }));
}

TEST(CoreCString, SprintfAcceptsAtMostThreeCharacters) {
  CoreCString s;
  char buffer[64];
  s.sprintf(buffer, sizeof buffer, "%d", 123);
  EXPECT_STREQ("123", s.c_str());
  EXPECT_STREQ("123", buffer);
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.sprintf(buffer, sizeof buffer, "%d", 1234); }));
  // The size argument plays no part in the check.
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.sprintf(buffer, 1000, "abcd"); }));
}

TEST(CoreCString, AsDouble) {
  EXPECT_DOUBLE_EQ(3.25, CoreCString("3.25").AsDouble());
  EXPECT_DOUBLE_EQ(-1e3, CoreCString("  -1e3xyz").AsDouble());
  EXPECT_EQ(0.0, CoreCString("abc").AsDouble());
  EXPECT_EQ(0.0, CoreCString("").AsDouble());
}

TEST(CoreCString, TrimWhitespace) {
  CoreCString a(" \t hi there \n ");
  EXPECT_STREQ(" \t hi there", a.trim_trailing_whitespace());
  EXPECT_STREQ("hi there", a.trim_leading_whitespace());
  CoreCString b("   ");
  EXPECT_STREQ("   ", b.trim_leading_whitespace());  // all-space text is left alone
  EXPECT_STREQ("", b.trim_trailing_and_leading_whitespace());
  CoreCString c("\n x \t");
  EXPECT_STREQ("x", c.trim_trailing_and_leading_whitespace());
  CoreCString d("no");
  EXPECT_STREQ("no", d.trim_trailing_and_leading_whitespace());
}

TEST(CoreCString, CompareAndCopyOut) {
  CoreCString s("abc");
  EXPECT_TRUE(s == "abc");
  EXPECT_FALSE(s == "abd");
  EXPECT_FALSE(s == static_cast<char const*>(nullptr));
  EXPECT_TRUE(s == P(Pascal("abc")));
  EXPECT_FALSE(s == P(Pascal("ab")));
  char out[8];
  s.AssignTo(out);
  EXPECT_STREQ("abc", out);
  unsigned char pascal[8];
  s.AssignTo(pascal, 2);
  EXPECT_EQ(2, pascal[0]);
  EXPECT_EQ(0, std::memcmp(pascal + 1, "ab", 2));
  s.AssignTo(pascal, 7);
  EXPECT_EQ(3, pascal[0]);
  CoreCString::AssignTo(pascal, 7, nullptr);
  EXPECT_EQ(0, pascal[0]);
  CoreCString::AssignTo(pascal, 7, "xyz");
  EXPECT_EQ(3, pascal[0]);
  EXPECT_EQ(0, std::memcmp(pascal + 1, "xyz", 3));
  EXPECT_EQ(s.c_str(), s.Get_const_cstring());
}

TEST(CoreCString, HexDigitPairs) {
  unsigned char byte = 0x4A;
  EXPECT_STREQ("4A", HexDigitPairFromByte(&byte, 0));
  EXPECT_STREQ("4A-", HexDigitPairFromByte(&byte, '-'));
  EXPECT_STREQ("4A ", HexDigitPairFromByte(&byte, '\t'));
  EXPECT_STREQ("4A ", HexDigitPairFromByte(&byte, static_cast<char>(0xA0)));  // negative as signed
  byte = 0x0F;
  EXPECT_STREQ("0F", HexDigitPairFromByte(&byte, 0));
}

TEST(CoreCString, EncodeHexString) {
  unsigned char const bytes[] = {0x4A, 0x00, 0xFF};
  CoreCString s;
  EXPECT_STREQ("4A 00 FF ", s.EncodeHexString(bytes, 3, 0, ' '));
  EXPECT_EQ(3 * 4 + 9, s.mCapacity);
  EXPECT_STREQ("4A00FF", s.HexData(bytes, 3, 0, 0));
  EXPECT_STREQ("4A00", s.EncodeHexString(bytes, 3, 2, 0));  // maxBytes 2 of 3
  EXPECT_STREQ("4A00FF", s.EncodeHexString(bytes, 3, 5, 0));  // a larger maxBytes is ignored
  EXPECT_STREQ("", s.EncodeHexString(bytes, 0, 0, ' '));
}

TEST(CoreCString, AsHexString) {
  CoreCString s("J\x01");
  EXPECT_STREQ("4A 01 ", s.AsHexString());
  CoreCString e("");
  EXPECT_STREQ("", e.AsHexString());
}

TEST(CoreCString, DecodeHexString) {
  CoreCString s;
  char const* bytes = s.DecodeHexString("4a-6B z7");
  EXPECT_EQ(0x4A, static_cast<unsigned char>(bytes[0]));
  EXPECT_EQ(0x6B, static_cast<unsigned char>(bytes[1]));
  EXPECT_EQ(0, bytes[2]);
  EXPECT_EQ(5 / 2 + 9, s.mCapacity);
  bytes = s.DecodeHexString("00ff10");
  EXPECT_EQ(0, std::memcmp(bytes, "\x00\xff\x10\x00", 4));
  // Round trip through its own buffer.
  CoreCString t("4A4B");
  EXPECT_STREQ("JK", t.DecodeHexString(t.c_str()));
}

TEST(CoreCStringSized, StrcatNeverGrows) {
  CoreCStringSized s("ab", 6);
  s.strcat("cd");  // 4 < 5
  EXPECT_STREQ("abcd", s.c_str());
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.strcat("e"); }));  // 5 is not below 5
  EXPECT_STREQ("abcd", s.c_str());
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.strcat(nullptr); }));
  EXPECT_EQ(6, s.mCapacity);
  // += goes through the fixed-capacity strcat as well.
  CoreCString& base = s;
  EXPECT_EQ("Nil exception pointer", Thrown([&] { base += "xyz"; }));
  s.Delete();
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.strcat("a"); }));
}

TEST(CoreCStringSized, Truncate) {
  CoreCStringSized s("abcdef", 10);
  s.truncate(s.c_str() + 3);
  EXPECT_STREQ("abc", s.c_str());
  s.truncate(s.c_str() + 3);  // the terminator itself is inside
  EXPECT_STREQ("abc", s.c_str());
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.truncate(s.c_str() + 4); }));
  char const other[] = "abc";
  EXPECT_EQ("Nil exception pointer", Thrown([&] { s.truncate(other); }));
  s.truncate(s.c_str());
  EXPECT_STREQ("", s.c_str());
}
