#include "LHFSUnicodeName.h"
#include "TextEncoding.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

namespace {

std::string WithoutLineNumbers(std::string const& text) {
  return std::regex_replace(text, std::regex(":[0-9]+ \\("), ":# (");
}

std::string Failed(char const* code, char const* function) {
  return std::string("VERIFY FAILED:  code : ") + code + " in /Code/sdk/CoreX/LHFSUnicodeName:# (" +
         function + ")\n";
}

std::u16string Units(HFSUniStr255 const& name) {
  return std::u16string(reinterpret_cast<char16_t const*>(name.unicode), name.length);
}

// A zero-terminated UTF-16 name of n units.
std::vector<unsigned short> Utf16OfLength(std::size_t n) {
  std::vector<unsigned short> units(n + 1, 0);
  for (std::size_t i = 0; i < n; ++i) units[i] = static_cast<unsigned short>(u'a' + i % 26);
  return units;
}

bool AllZero(LHFSUnicodeName const& name) {
  for (UniChar u : name.unicode)
    if (u != 0) return false;
  return true;
}

}  // namespace

TEST(LHFSUnicodeName, StartsEmptyAndValid) {
  LHFSUnicodeName name;
  EXPECT_EQ(0, name.length);
  EXPECT_TRUE(AllZero(name));
  EXPECT_EQ(0xBAAD, name.mGuard[0]);
  EXPECT_EQ(0xDEAD, name.mGuard[1]);
  EXPECT_TRUE(name.IsMarked());
  EXPECT_TRUE(name.IsNullTerminated());
  EXPECT_TRUE(name.IsValid());
  EXPECT_EQ(sizeof(HFSUniStr255) + 4, sizeof(LHFSUnicodeName));
}

TEST(LHFSUnicodeName, Utf16NameOf254UnitsIsStoredLogsTwiceAndStaysValid) {
  auto const units = Utf16OfLength(254);
  tavelo_test::LogTail tail;
  LHFSUnicodeName name;
  EXPECT_TRUE(name.Construct(units.data()));
  EXPECT_EQ(254, name.length);
  EXPECT_EQ(u'a', name.unicode[0]);
  EXPECT_EQ(units[253], name.unicode[253]);
  EXPECT_EQ(0, name.unicode[254]);
  EXPECT_TRUE(name.IsValid());
  EXPECT_EQ(Failed("in_length<kMaxLength", "LHFSUnicodeName::set_length") +
                Failed("fOk = (superclass_t::length<kMaxLength)", "LHFSUnicodeName::NullTerminateIt"),
            WithoutLineNumbers(tail.Text()));
}

TEST(LHFSUnicodeName, Utf16NameOf255UnitsIsRefusedAndLeavesItEmpty) {
  auto const units = Utf16OfLength(255);
  LHFSUnicodeName name(L"previous");
  ASSERT_EQ(8, name.length);
  tavelo_test::LogTail tail;
  EXPECT_FALSE(name.Construct(units.data()));
  EXPECT_EQ(0, name.length);
  EXPECT_TRUE(AllZero(name));
  EXPECT_TRUE(name.IsValid());
  EXPECT_EQ(Failed("in_length<=kMaxLength", "LHFSUnicodeName::Construct"), WithoutLineNumbers(tail.Text()));
}

TEST(LHFSUnicodeName, Utf16NullAndEmpty) {
  LHFSUnicodeName name;
  tavelo_test::LogTail tail;
  EXPECT_FALSE(name.Construct(static_cast<unsigned short const*>(nullptr)));
  EXPECT_TRUE(name.IsValid());
  EXPECT_EQ(Failed("in_file_name!=__null", "LHFSUnicodeName::Construct"), WithoutLineNumbers(tail.Text()));

  tavelo_test::LogTail quiet;
  unsigned short const empty[] = {0};
  EXPECT_FALSE(name.Construct(empty));
  EXPECT_EQ(0, name.length);
  EXPECT_TRUE(name.IsValid());
  EXPECT_EQ("", quiet.Text());
}

TEST(LHFSUnicodeName, Utf32KeepsTheLowHalfOfEachUnit) {
  LHFSUnicodeName name(L"a\U0001F600b");
  EXPECT_EQ(3, name.length);
  EXPECT_EQ(u'a', name.unicode[0]);
  EXPECT_EQ(0xF600, name.unicode[1]);
  EXPECT_EQ(u'b', name.unicode[2]);
  EXPECT_TRUE(name.IsValid());

  tavelo_test::LogTail tail;
  EXPECT_FALSE(name.Construct(static_cast<wchar_t const*>(nullptr)));
  EXPECT_EQ(0, name.length);
  EXPECT_EQ(Failed("in_file_name!=__null", "LHFSUnicodeName::Construct"), WithoutLineNumbers(tail.Text()));
  std::wstring const tooLong(255, L'x');
  tavelo_test::LogTail tail2;
  EXPECT_FALSE(name.Construct(tooLong.c_str()));
  EXPECT_EQ(Failed("in_length<=kMaxLength", "LHFSUnicodeName::Construct"), WithoutLineNumbers(tail2.Text()));
  EXPECT_FALSE(name.Construct(L""));
  EXPECT_TRUE(name.IsValid());
}

TEST(LHFSUnicodeName, SpecialNames) {
  tavelo_test::LogTail tail;
  LHFSUnicodeName name;
  EXPECT_FALSE(name.Construct(static_cast<LHFSUnicodeName::kSpecialName>(5)));
  EXPECT_EQ(0, name.length);
  EXPECT_TRUE(AllZero(name));
  EXPECT_TRUE(name.IsValid());

  EXPECT_TRUE(name.Construct(LHFSUnicodeName::kResourceForkSpecialName));
  HFSUniStr255 resource{};
  ASSERT_EQ(noErr, FSGetResourceForkName(&resource));
  EXPECT_TRUE(name == resource);
  EXPECT_TRUE(name.IsValid());
  EXPECT_TRUE(LHFSUnicodeName::Identical(&LHFSUnicodeName::sResourceFork, &resource));

  EXPECT_TRUE(name.Construct(LHFSUnicodeName::kDataForkSpecialName));
  HFSUniStr255 data{};
  ASSERT_EQ(noErr, FSGetDataForkName(&data));
  EXPECT_TRUE(name == data);
  EXPECT_TRUE(LHFSUnicodeName::sDataFork == data);
  EXPECT_TRUE(LHFSUnicodeName::sDataFork.IsValid());
  EXPECT_FALSE(LHFSUnicodeName::sDataFork == LHFSUnicodeName::sResourceFork);

  EXPECT_TRUE(name.Construct(LHFSUnicodeName::kNoSpecialName));
  EXPECT_EQ(0, name.length);
  EXPECT_EQ("", tail.Text());
}

TEST(LHFSUnicodeName, CopyOfAPlatformName) {
  HFSUniStr255 source{};
  source.length = 3;
  source.unicode[0] = u'x';
  source.unicode[1] = u'y';
  source.unicode[2] = u'z';
  source.unicode[3] = u'!';  // beyond the length: not copied
  LHFSUnicodeName name(source);
  EXPECT_EQ(u"xyz", Units(name));
  EXPECT_EQ(0, name.unicode[3]);
  EXPECT_TRUE(name.IsValid());

  name = static_cast<HFSUniStr255 const&>(name);  // from itself
  EXPECT_EQ(u"xyz", Units(name));

  source.length = 0;
  EXPECT_TRUE(name.Construct(source));
  EXPECT_EQ(0, name.length);
  EXPECT_TRUE(AllZero(name));

  source.length = 255;
  name = LHFSUnicodeName(L"keep");
  tavelo_test::LogTail tail;
  EXPECT_TRUE(name.Construct(source));
  EXPECT_EQ(0, name.length);
  EXPECT_TRUE(name.IsValid());
  EXPECT_EQ(Failed("copyOf.length<=kMaxLength", "LHFSUnicodeName::Construct"), WithoutLineNumbers(tail.Text()));
}

TEST(LHFSUnicodeName, Utf8NamesBothWays) {
  LHFSUnicodeName name("\xC3\xA9t\xC3\xA9.txt");
  EXPECT_EQ(u"\u00E9t\u00E9.txt", Units(name));
  EXPECT_TRUE(name.IsValid());
  std::string path = "stale";
  EXPECT_TRUE(name.GetUnixPath(path));
  EXPECT_EQ("\xC3\xA9t\xC3\xA9.txt", path);

  LHFSUnicodeName fromString(std::string("Tavelo 0001.png"));
  EXPECT_EQ(u"Tavelo 0001.png", Units(fromString));

  HFSUniStr255 converted{};
  EXPECT_TRUE(LHFSUnicodeName::ConvertFileName(std::string("a\xE2\x82\xAC"), converted));
  EXPECT_EQ(u"a\u20AC", Units(converted));
}

TEST(LHFSUnicodeName, BadUtf8IsRefused) {
  LHFSUnicodeName name(L"old");
  tavelo_test::LogTail tail;
  EXPECT_FALSE(name.Construct(std::string("bad\xFF")));
  EXPECT_EQ(0, name.length);
  EXPECT_TRUE(name.IsValid());
  EXPECT_EQ(Failed("fOk = Construct(in_file_name.c_str())", "LHFSUnicodeName::Construct"),
            WithoutLineNumbers(tail.Text()));

  tavelo_test::LogTail tail2;
  EXPECT_FALSE(name.Construct(static_cast<char const*>(nullptr)));
  EXPECT_EQ(Failed("in_file_name!=__null", "LHFSUnicodeName::Construct"), WithoutLineNumbers(tail2.Text()));
}

TEST(LHFSUnicodeName, MacRomanPascalName) {
  unsigned char const pascal[] = {5, 'c', 'a', 'f', 0x8E, 0xA5};
  LHFSUnicodeName name(pascal);
  EXPECT_EQ(u"caf\u00E9\u2022", Units(name));
  EXPECT_TRUE(name.IsValid());

  tavelo_test::LogTail tail;
  EXPECT_FALSE(name.Construct(static_cast<unsigned char const*>(nullptr)));
  EXPECT_EQ(0, name.length);
  EXPECT_EQ(Failed("in_mac_roman_file_name!=__null", "LHFSUnicodeName::Construct"),
            WithoutLineNumbers(tail.Text()));
}

TEST(LHFSUnicodeName, ScriptCodedPascalName) {
  unsigned char const pascal[] = {4, 'c', 'a', 'f', 0x8E};
  tavelo_test::LogTail tail;
  LHFSUnicodeName name(pascal, smRoman);
  // Through the text converter: canonical decomposition.
  EXPECT_EQ(u"cafe\u0301", Units(name));
  EXPECT_TRUE(name.IsValid());
  EXPECT_EQ("", tail.Text());

  HFSUniStr255 out{};
  EXPECT_TRUE(LHFSUnicodeName::ConvertFileName(pascal, smRoman, out));
  EXPECT_TRUE(name == out);
}

TEST(LHFSUnicodeName, ScriptWithoutConverterFails) {
  unsigned char const pascal[] = {1, 'a'};
  LHFSUnicodeName name(L"old");
  tavelo_test::LogTail tail;
  EXPECT_FALSE(name.Construct(pascal, smJapanese));
  EXPECT_EQ(0, name.length);
  EXPECT_TRUE(name.IsValid());
  std::string const converter =
      "VERIFY FAILED:  code : status == noErr in /Code/sdk/CoreX/LUnicodeTextConverter:# "
      "(LUnicodeTextConverter::InitUnicodeTextConverter)\n";
  EXPECT_EQ(converter + converter + converter + converter +
                "VERIFY FAILED:  code : status==noErr in /Code/sdk/CoreX/LUnicodeTextConverter:# "
                "(LUnicodeTextConverter::TextToUnicode)\n" +
                Failed("fOk = (status==noErr)", "LHFSUnicodeName::ConvertFileName") +
                Failed("ConvertFileName(in_pstring, forScriptCode, utf16_file_name)", "LHFSUnicodeName::Construct"),
            WithoutLineNumbers(tail.Text()));
}

TEST(LHFSUnicodeName, GetUnixPathOfAnEmptyNameIsEmpty) {
  LHFSUnicodeName name;
  std::string path = "something";
  tavelo_test::LogTail tail;
  EXPECT_TRUE(name.GetUnixPath(path));
  EXPECT_EQ("", path);
  EXPECT_EQ("", tail.Text());
}

TEST(LHFSUnicodeName, GetUnixPathNeedsTheTerminator) {
  LHFSUnicodeName name(L"abc");
  name.unicode[3] = u'x';
  EXPECT_FALSE(name.IsNullTerminated());
  EXPECT_FALSE(name.IsValid());
  std::string path = "something";
  tavelo_test::LogTail tail;
  EXPECT_FALSE(name.GetUnixPath(path));
  EXPECT_EQ("", path);
  EXPECT_EQ(Failed("IsNullTerminated()", "LHFSUnicodeName::GetUnixPath"), WithoutLineNumbers(tail.Text()));
}

TEST(LHFSUnicodeName, SetLengthAndNullTerminate) {
  LHFSUnicodeName name;
  tavelo_test::LogTail quiet;
  name.set_length(253);
  EXPECT_EQ(253, name.length);
  EXPECT_EQ("", quiet.Text());

  tavelo_test::LogTail tail;
  name.set_length(254);
  EXPECT_EQ(254, name.length);
  EXPECT_EQ(Failed("in_length<kMaxLength", "LHFSUnicodeName::set_length"), WithoutLineNumbers(tail.Text()));

  name.unicode[3] = u'q';
  name.set_length(3);
  name.mGuard[0] = 0;
  EXPECT_FALSE(name.IsMarked());
  name.NullTerminateIt();
  EXPECT_EQ(0, name.unicode[3]);
  EXPECT_TRUE(name.IsMarked());
  EXPECT_TRUE(name.IsValid());
}

TEST(LHFSUnicodeName, OverwrittenGuardIsReported) {
  LHFSUnicodeName name(L"abc");
  name.mGuard[1] = 0x0041;  // as if a unit had been written past the end
  EXPECT_FALSE(name.IsMarked());
  EXPECT_FALSE(name.IsValid());
  EXPECT_FALSE(name.IsValid());
  name.MarkOverflow();
  EXPECT_TRUE(name.IsValid());
}

TEST(LHFSUnicodeName, IdenticalComparesUnitsExactly) {
  LHFSUnicodeName const a(L"Name");
  LHFSUnicodeName const b(L"Name");
  LHFSUnicodeName const lower(L"name");
  LHFSUnicodeName const longer(L"Names");
  LHFSUnicodeName const composed(L"\u00E9");
  LHFSUnicodeName const decomposed(L"e\u0301");
  EXPECT_TRUE(LHFSUnicodeName::Identical(&a, &b));
  EXPECT_TRUE(a == b);
  EXPECT_FALSE(a == lower);
  EXPECT_FALSE(a == longer);
  EXPECT_FALSE(composed == decomposed);
  EXPECT_TRUE(LHFSUnicodeName::Identical(nullptr, nullptr));
  EXPECT_FALSE(LHFSUnicodeName::Identical(&a, nullptr));
}
