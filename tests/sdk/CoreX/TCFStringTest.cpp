#include "CoreCString.h"
#include "TCFString.h"
#include "TestLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

using tavelo_test::LogTail;
using testing::MatchesRegex;

namespace {
CFStringRef Make(char const* utf8) { return CFStringCreateWithCString(nullptr, utf8, kCFStringEncodingUTF8); }
}  // namespace

TEST(TCFString, OwnedValuesAreReleasedBorrowedOnesAreNot) {
  CFStringRef s = Make("abc");
  {
    TCFString borrowed(s);
    EXPECT_EQ(s, borrowed.mValueRef);
    EXPECT_EQ(kCFTypeRef_Borrowed, borrowed.mOwnership);
    EXPECT_EQ(1, CFGetRetainCount(s));  // never retained
  }
  EXPECT_EQ(1, CFGetRetainCount(s));
  CFRetain(s);
  {
    TCFString owned(s, kCFTypeRef_Owned);
    EXPECT_EQ(2, CFGetRetainCount(s));
  }
  EXPECT_EQ(1, CFGetRetainCount(s));
  CFRetain(s);
  {
    TCFString owned(s, kCFTypeRef_Owned);
    TCFString moved(std::move(owned));
    EXPECT_EQ(nullptr, owned.mValueRef);
    EXPECT_EQ(s, moved.mValueRef);
    EXPECT_EQ(kCFTypeRef_Owned, moved.mOwnership);
    EXPECT_TRUE(moved.SetValue("other"));  // releases the owned value, takes a new one
    EXPECT_EQ(1, CFGetRetainCount(s));
    EXPECT_EQ(kCFTypeRef_Owned, moved.mOwnership);
  }
  CFRelease(s);
}

TEST(TCFString, GetValueInTheAskedOrPreferredEncoding) {
  TCFString s("caf\xC3\xA9");
  std::string out;
  ASSERT_TRUE(s.GetValue(out));
  EXPECT_EQ("caf\xC3\xA9", out);
  ASSERT_TRUE(s.GetValue(out, kCFStringEncodingMacRoman));
  EXPECT_EQ("caf\x8E", out);
  ASSERT_TRUE(s.GetValue(out, kCFStringEncodingISOLatin1));
  EXPECT_EQ("caf\xE9", out);
  // ASCII cannot hold it: the preferred order (UTF-8 first) answers instead.
  ASSERT_TRUE(s.GetValue(out, kCFStringEncodingASCII));
  EXPECT_EQ("caf\xC3\xA9", out);
  // An unavailable encoding also falls back.
  ASSERT_TRUE(s.GetValue(out, kCFStringEncodingNextStepLatin));
  EXPECT_EQ("caf\xC3\xA9", out);
}

TEST(TCFString, GetValueOfAnEmptyStringFails) {
  TCFString s(CFSTR(""));
  std::string out = "stale";
  LogTail tail;
  EXPECT_FALSE(s.GetValue(out));
  EXPECT_EQ("", out);
  out = "stale";
  EXPECT_FALSE(TCFString().GetValue(out));
  EXPECT_EQ("", out);
  int const n = 5;
  CFNumberRef number = CFNumberCreate(nullptr, kCFNumberIntType, &n);
  out = "stale";
  EXPECT_FALSE(TCFString(reinterpret_cast<CFStringRef>(number)).GetValue(out));
  EXPECT_EQ("", out);
  CFRelease(number);
  EXPECT_EQ("", tail.Text());
}

TEST(TCFString, FailedPreferredConversionIsLoggedAndNotRetried) {
  UniChar const lone[] = {u'a', 0xD800};
  TCFString s(CFStringCreateWithCharacters(nullptr, lone, 2), kCFTypeRef_Owned);
  std::string out = "stale";
  LogTail tail;
  EXPECT_FALSE(s.GetValue(out));
  EXPECT_EQ("", out);
  EXPECT_THAT(tail.Text(),
              MatchesRegex("VERIFY FAILED:  code : fOk = ::CFStringGetCString\\(mValueRef,buffer_raw_string,"
                           "_max_buffer_size,PreferredEncoding\\[i\\]\\) in /Code/sdk/CoreX/TCFString:[0-9]+ "
                           "\\(TCFString::GetValue\\)\n"));
}

TEST(TCFString, SetValueLogsNullAndFailedConversions) {
  TCFString s;
  LogTail tail;
  EXPECT_FALSE(s.SetValue(nullptr));
  EXPECT_THAT(tail.Text(), MatchesRegex("VERIFY FAILED:  code : in_cstring!=NULL in /Code/sdk/CoreX/TCFString:[0-9]+ "
                                        "\\(TCFString::SetValue\\)\n"));
  LogTail tail2;
  EXPECT_TRUE(s.SetValue("ok"));
  EXPECT_FALSE(s.SetValue("\xC3(", kCFStringEncodingUTF8));
  EXPECT_EQ("TCFString::SetValue in_cstring:\xC3( inFromThisEncoding:134217984\n", tail2.Text());
  // The previous value stays.
  std::string out;
  ASSERT_TRUE(s.GetValue(out));
  EXPECT_EQ("ok", out);
  ASSERT_TRUE(s.SetValue("\x8E", kCFStringEncodingMacRoman));
  ASSERT_TRUE(s.GetValue(out));
  EXPECT_EQ("\xC3\xA9", out);
}

TEST(TCFString, LengthAndCompare) {
  TCFString s("h\xC3\xA9llo");
  EXPECT_EQ(5, s.strlen());
  EXPECT_EQ(0, TCFString().strlen());
  EXPECT_EQ(0, s.strcmp("h\xC3\xA9llo"));
  EXPECT_GT(0, s.strcmp("zzz"));
  EXPECT_LT(0, s.strcmp("a"));
  EXPECT_EQ(0, s.strcmp(s.Get()));
  EXPECT_LT(0, s.strcmp(static_cast<CFStringRef>(nullptr)));
  EXPECT_GT(0, TCFString().strcmp("a"));
}

TEST(TCFString, Utf16AndWideForms) {
  TCFString s;
  ASSERT_TRUE(s.SetValue(std::u16string(u"\u00E9\U0001F600")));
  EXPECT_EQ(3, s.strlen());  // a surrogate pair is two units
  std::wstring wide;
  ASSERT_TRUE(s.GetValue(wide));
  EXPECT_EQ(std::wstring(L"\u00E9\U0001F600"), wide);
  ASSERT_TRUE(s.SetValue(std::wstring(L"\uFEFFx\U0001F601")));
  std::u16string units;
  ASSERT_TRUE(s.GetValue(units));
  EXPECT_EQ(std::u16string(u"\uFEFFx\U0001F601"), units);
  std::string utf8;
  ASSERT_TRUE(s.GetValue(utf8));
  EXPECT_EQ("\xEF\xBB\xBFx\xF0\x9F\x98\x81", utf8);
}

TEST(TCFString, FileNameConversions) {
  HFSUniStr255 name{};
  ASSERT_TRUE(TCFString::ToUnicode("R\xC3\xA9sum\xC3\xA9.txt", name, kCFStringEncodingUTF8));
  EXPECT_EQ(10, name.length);
  EXPECT_EQ(0xE9, name.unicode[1]);
  std::string back;
  ASSERT_TRUE(TCFString::FromUnicode(name, back));
  EXPECT_EQ("R\xC3\xA9sum\xC3\xA9.txt", back);
  ASSERT_TRUE(TCFString::FromUnicode(name, back, kCFStringEncodingMacRoman));
  EXPECT_EQ("R\x8Esum\x8E.txt", back);
  EXPECT_FALSE(TCFString::FromUnicode(name, back, kCFStringEncodingASCII));
  EXPECT_EQ("", back);

  unsigned char const pascal[] = {3, 'a', 0x8E, 'b'};
  ASSERT_TRUE(TCFString::ToUnicode(pascal, name, kCFStringEncodingMacRoman));
  EXPECT_EQ(3, name.length);
  EXPECT_EQ(0xE9, name.unicode[1]);

  // Invalid in the encoding, or longer than 255 units.
  EXPECT_FALSE(TCFString::ToUnicode("\xC3(", name, kCFStringEncodingUTF8));
  EXPECT_EQ(0, name.length);
  std::string const longest(255, 'n');
  EXPECT_TRUE(TCFString::ToUnicode(longest.c_str(), name, kCFStringEncodingUTF8));
  EXPECT_EQ(255, name.length);
  HFSUniStr255 const longestName = name;
  std::string const too_long(256, 'n');
  EXPECT_FALSE(TCFString::ToUnicode(too_long.c_str(), name, kCFStringEncodingUTF8));
  EXPECT_FALSE(TCFString::ToUnicode(static_cast<char const*>(nullptr), name, kCFStringEncodingUTF8));

  HFSUniStr255 empty{};
  EXPECT_TRUE(TCFString::FromUnicode(empty, back));
  EXPECT_EQ("", back);

  TCFString s;
  ASSERT_TRUE(s.SetValue(longestName));
  HFSUniStr255 again{};
  ASSERT_TRUE(s.GetValue(again));
  EXPECT_EQ(255, again.length);
  EXPECT_EQ(u'n', again.unicode[254]);
}

TEST(CFTypeRefClass, Descriptions) {
  std::string out;
  ASSERT_TRUE(CFTypeRefClass::GetTypeDescription(CFStringGetTypeID(), out));
  EXPECT_EQ("CFString", out);
  ASSERT_TRUE(CFTypeRefClass::GetTypeDescription(CFNumberGetTypeID(), out));
  EXPECT_EQ("CFNumber", out);
  EXPECT_FALSE(CFTypeRefClass::GetTypeDescription(0, out));
  EXPECT_EQ("", out);
  ASSERT_TRUE(CFTypeRefClass::GetDescription(CFSTR("abc"), out));
  EXPECT_THAT(out, MatchesRegex("<CFString 0x[0-9a-f]+>\\{contents = \"abc\"\\}"));
  EXPECT_FALSE(CFTypeRefClass::GetDescription(nullptr, out));
}

TEST(CFTypeRefClass, ConvertNumbersAndStrings) {
  int const i = 70000;
  CFNumberRef n = CFNumberCreate(nullptr, kCFNumberIntType, &i);
  double d = 0;
  EXPECT_TRUE(CFTypeRefClass::ConvertTo(n, d));
  EXPECT_EQ(70000.0, d);
  float f = 0;
  EXPECT_TRUE(CFTypeRefClass::ConvertTo(n, f));
  EXPECT_EQ(70000.0f, f);
  int ii = 0;
  EXPECT_TRUE(CFTypeRefClass::ConvertTo(n, ii));
  EXPECT_EQ(70000, ii);
  unsigned int ui = 0;
  EXPECT_TRUE(CFTypeRefClass::ConvertTo(n, ui));
  EXPECT_EQ(70000u, ui);
  long l = 0;
  EXPECT_TRUE(CFTypeRefClass::ConvertTo(n, l));
  EXPECT_EQ(70000, l);
  unsigned long ul = 0;
  EXPECT_TRUE(CFTypeRefClass::ConvertTo(n, ul));
  EXPECT_EQ(70000ul, ul);
  short s = 0;
  EXPECT_FALSE(CFTypeRefClass::ConvertTo(n, s));  // does not fit
  EXPECT_EQ(32767, s);
  unsigned short us = 0;
  EXPECT_FALSE(CFTypeRefClass::ConvertTo(n, us));
  EXPECT_EQ(65535, us);
  CFRelease(n);

  int const minus = -1;
  n = CFNumberCreate(nullptr, kCFNumberIntType, &minus);
  EXPECT_FALSE(CFTypeRefClass::ConvertTo(n, ui));
  EXPECT_EQ(0u, ui);
  EXPECT_TRUE(CFTypeRefClass::ConvertTo(n, s));
  EXPECT_EQ(-1, s);
  std::string text = "stale";
  EXPECT_FALSE(CFTypeRefClass::ConvertTo(n, text));
  EXPECT_EQ("", text);
  CFRelease(n);

  EXPECT_TRUE(CFTypeRefClass::ConvertTo(CFSTR("text"), text));
  EXPECT_EQ("text", text);
  EXPECT_FALSE(CFTypeRefClass::ConvertTo(CFSTR("text"), d));
  EXPECT_FALSE(CFTypeRefClass::ConvertTo(nullptr, d));
}

TEST(TCFString, CoreCStringFromAPlatformString) {
  CoreCString s("old");
  s = CFSTR("new text");
  EXPECT_STREQ("new text", s.c_str());
  s = static_cast<CFStringRef>(nullptr);
  EXPECT_STREQ("", s.c_str());
}
