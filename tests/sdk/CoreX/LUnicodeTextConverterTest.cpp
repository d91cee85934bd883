#include "LUnicodeTextConverter.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <string>

namespace {

std::string WithoutLineNumbers(std::string const& text) {
  return std::regex_replace(text, std::regex(":[0-9]+ \\("), ":# (");
}

std::u16string Units(HFSUniStr255 const& name) {
  return std::u16string(reinterpret_cast<char16_t const*>(name.unicode), name.length);
}

HFSUniStr255 Name(std::u16string const& units) {
  HFSUniStr255 name{};
  name.length = UInt16(units.size());
  std::memcpy(name.unicode, units.data(), units.size() * 2);
  return name;
}

std::string Repeat(std::string const& s, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

}  // namespace

TEST(LUnicodeTextConverter, RomanScriptMakesAllSixConverters) {
  tavelo_test::LogTail tail;
  LUnicodeTextConverter c(smRoman, verUS);
  EXPECT_NE(nullptr, c.mUnicodeToTextInfo_UTF16);
  EXPECT_NE(nullptr, c.mUnicodeToTextInfo_UTF8);
  EXPECT_NE(nullptr, c.mTextToUnicodeInfo_UTF16);
  EXPECT_NE(nullptr, c.mTextToUnicodeInfo_UTF8);
  EXPECT_NE(nullptr, c.mUTF8ToUTF16Converter);
  EXPECT_NE(nullptr, c.mUTF16ToUTF8Converter);
  EXPECT_EQ("", tail.Text());
}

TEST(LUnicodeTextConverter, UnicodeFormsAreVersion21Decomposed) {
  EXPECT_EQ(CreateTextEncoding(0x103, 2, 0), LUnicodeTextConverter::UTF16Encoding());
  EXPECT_EQ(CreateTextEncoding(0x103, 2, 2), LUnicodeTextConverter::UTF8Encoding());
}

TEST(LUnicodeTextConverter, InitEmptyAndDeleteLeaveNoConverters) {
  LUnicodeTextConverter c(smRoman, verUS);
  c.DeleteCurrentConverters();
  EXPECT_EQ(nullptr, c.mUnicodeToTextInfo_UTF16);
  EXPECT_EQ(nullptr, c.mTextToUnicodeInfo_UTF8);
  EXPECT_EQ(nullptr, c.mUTF8ToUTF16Converter);
  EXPECT_EQ(noErr, c.InitUnicodeTextConverter(CreateTextEncoding(kTextEncodingWindowsLatin1, 0, 0)));
  std::string text;
  EXPECT_EQ(noErr, c.UTF8ToText("\xE2\x82\xAC", text));
  EXPECT_EQ("\x80", text);
}

TEST(LUnicodeTextConverter, UnsupportedScriptLogsEachFailedConverter) {
  tavelo_test::LogTail tail;
  LUnicodeTextConverter c(smJapanese, verUS);
  std::string const line =
      "VERIFY FAILED:  code : status == noErr in /Code/sdk/CoreX/LUnicodeTextConverter:# "
      "(LUnicodeTextConverter::InitUnicodeTextConverter)\n";
  EXPECT_EQ(line + line + line + line, WithoutLineNumbers(tail.Text()));
  EXPECT_EQ(nullptr, c.mTextToUnicodeInfo_UTF16);
  EXPECT_NE(nullptr, c.mUTF8ToUTF16Converter);

  tavelo_test::LogTail convert;
  HFSUniStr255 out{};
  EXPECT_EQ(paramErr, c.TextToUnicode(std::string("abc"), out));
  EXPECT_EQ(0, out.length);
  EXPECT_EQ("VERIFY FAILED:  code : status==noErr in /Code/sdk/CoreX/LUnicodeTextConverter:# "
            "(LUnicodeTextConverter::TextToUnicode)\n",
            WithoutLineNumbers(convert.Text()));
}

TEST(LUnicodeTextConverter, UnknownScriptIsLoggedOnce) {
  tavelo_test::LogTail tail;
  LUnicodeTextConverter c(100, verUS);
  EXPECT_EQ("VERIFY FAILED:  code : status == noErr in /Code/sdk/CoreX/LUnicodeTextConverter:# "
            "(LUnicodeTextConverter::LUnicodeTextConverter)\n",
            WithoutLineNumbers(tail.Text()));
  EXPECT_EQ(nullptr, c.mUTF8ToUTF16Converter);
}

TEST(LUnicodeTextConverter, TextToUnicodeDecomposes) {
  LUnicodeTextConverter c(smRoman, verUS);
  HFSUniStr255 out{};
  EXPECT_EQ(noErr, c.TextToUnicode(std::string("Caf\x8E"), out));
  EXPECT_EQ(u"Cafe\u0301", Units(out));
  unsigned char const pascal[] = {3, 'a', 0x80, 'z'};
  EXPECT_EQ(noErr, c.TextToUnicode(pascal, out));
  EXPECT_EQ(u"aA\u0308z", Units(out));
}

TEST(LUnicodeTextConverter, TextToUnicodeStopsAt255Units) {
  LUnicodeTextConverter c(smRoman, verUS);
  HFSUniStr255 out{};
  tavelo_test::LogTail tail;
  EXPECT_EQ(kTECOutputBufferFullStatus, c.TextToUnicode(std::string(300, 'x'), out));
  EXPECT_EQ(255, out.length);
  EXPECT_EQ(1u, tail.Lines().size());
  EXPECT_EQ(noErr, c.TextToUnicode(std::string(255, 'x'), out));
  EXPECT_EQ(255, out.length);
}

TEST(LUnicodeTextConverter, IcelandicRegionUsesMacIcelandic) {
  LUnicodeTextConverter roman(smRoman, verUS);
  LUnicodeTextConverter icelandic(smRoman, verIceland);
  HFSUniStr255 out{};
  // 0xDE is the fi ligature in Mac Roman and a capital thorn in Mac Icelandic.
  EXPECT_EQ(noErr, roman.TextToUnicode(std::string("\xDE"), out));
  EXPECT_EQ(u"\uFB01", Units(out));
  EXPECT_EQ(noErr, icelandic.TextToUnicode(std::string("\xDE"), out));
  EXPECT_EQ(u"\u00DE", Units(out));
}

TEST(LUnicodeTextConverter, UTF8AndUTF16BothWays) {
  LUnicodeTextConverter c(smRoman, verUS);
  HFSUniStr255 out{};
  EXPECT_EQ(noErr, c.UTF8ToUnicode("\xC3\xA9t\xC3\xA9 \xF0\x9F\x8E\xAC", out));
  EXPECT_EQ(u"e\u0301te\u0301 \U0001F3AC", Units(out));
  std::string utf8;
  EXPECT_EQ(noErr, c.UnicodeToUTF8(out, utf8));
  EXPECT_EQ("e\xCC\x81te\xCC\x81 \xF0\x9F\x8E\xAC", utf8);
  EXPECT_EQ(noErr, c.UnicodeToUTF8(Name(u""), utf8));
  EXPECT_EQ("", utf8);
}

TEST(LUnicodeTextConverter, UnicodeToTextComposesBack) {
  LUnicodeTextConverter c(smRoman, verUS);
  std::string text = "left over";
  EXPECT_EQ(noErr, c.UnicodeToText(Name(u"Cafe\u0301 \u00C4"), text));
  EXPECT_EQ("Caf\x8E \x80", text);
  tavelo_test::LogTail tail;
  EXPECT_EQ(kTECUnmappableElementErr, c.UnicodeToText(Name(u"ab\u4E00"), text));
  EXPECT_EQ("ab", text);
  EXPECT_EQ(1u, tail.Lines().size());
}

TEST(LUnicodeTextConverter, TextToUTF8AndBack) {
  LUnicodeTextConverter c(smRoman, verUS);
  std::string utf8;
  EXPECT_EQ(noErr, c.TextToUTF8("na\x8Fve \xA5", utf8));
  EXPECT_EQ("nae\xCC\x80ve \xE2\x80\xA2", utf8);
  std::string text;
  EXPECT_EQ(noErr, c.UTF8ToText(utf8, text));
  EXPECT_EQ("na\x8Fve \xA5", text);
  EXPECT_EQ(noErr, c.UTF8ToText("", text));
  EXPECT_EQ("", text);
  EXPECT_EQ(noErr, c.TextToUTF8("", utf8));
  EXPECT_EQ("", utf8);
}

TEST(LUnicodeTextConverter, GrowingConversionEnlargesUntilItFits) {
  // With UTF-32 as the "text" side, every UTF-8 byte of "abc" becomes four bytes: the first
  // output of 3 bytes is full, then 6 and 9, and 12 holds it.
  LUnicodeTextConverter c(CreateTextEncoding(kTextEncodingUnicodeDefault, 0, kUnicode32BitFormat));
  std::string text;
  EXPECT_EQ(noErr, c.UTF8ToText("abc", text));
  ASSERT_EQ(12u, text.size());
  EXPECT_EQ(std::string("a\0\0\0b\0\0\0c\0\0\0", 12), text);

  // A long Mac Roman text where every byte decomposes still fits in five times its length.
  LUnicodeTextConverter roman(smRoman, verUS);
  std::string utf8;
  EXPECT_EQ(noErr, roman.TextToUTF8(Repeat("\x8E", 1000), utf8));
  EXPECT_EQ(Repeat("e\xCC\x81", 1000), utf8);
}

TEST(LUnicodeTextConverter, GrowingConversionReturnsTheLastError) {
  LUnicodeTextConverter c(smRoman, verUS);
  std::string text = "x";
  EXPECT_EQ(kTextMalformedInputErr, c.UTF8ToText("ok\xFF", text));
  EXPECT_EQ("ok", text);
  LUnicodeTextConverter ascii(CreateTextEncoding(kTextEncodingUS_ASCII, 0, 0));
  std::string utf8;
  EXPECT_EQ(kTextMalformedInputErr, ascii.TextToUTF8("a\x80", utf8));
  EXPECT_EQ("a", utf8);
}
