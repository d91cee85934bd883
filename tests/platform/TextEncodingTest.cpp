#include "TextEncoding.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

TextEncoding Unicode16(TextEncodingVariant variant) {
  return CreateTextEncoding(kTextEncodingUnicodeV2_1, variant, kUnicode16BitFormat);
}
TextEncoding Unicode8(TextEncodingVariant variant) {
  return CreateTextEncoding(kTextEncodingUnicodeV2_1, variant, kUnicodeUTF8Format);
}
TextEncoding Plain(TextEncodingBase base) {
  return CreateTextEncoding(base, kTextEncodingDefaultVariant, kTextEncodingDefaultFormat);
}

struct Result {
  OSStatus status;
  ByteCount read;
  std::vector<UInt8> bytes;
};

Result TextToUnicode(TextEncoding text, TextEncoding unicode, std::string const& in, ByteCount room) {
  UnicodeMapping mapping = {unicode, text, kUnicodeUseLatestMapping};
  TextToUnicodeInfo info = nullptr;
  EXPECT_EQ(noErr, CreateTextToUnicodeInfo(&mapping, &info));
  std::vector<UInt8> out(room + 1, 0xEE);
  ByteCount read = 99, length = 99;
  ItemCount offsets = 7;
  OSStatus const status = ConvertFromTextToUnicode(info, in.size(), in.data(), 0, 0, nullptr, &offsets,
                                                   nullptr, room, &read, &length,
                                                   reinterpret_cast<UniChar*>(out.data()));
  EXPECT_EQ(0u, offsets);
  EXPECT_EQ(0xEE, out[room]) << "wrote past the output buffer";
  EXPECT_EQ(noErr, DisposeTextToUnicodeInfo(&info));
  EXPECT_EQ(nullptr, info);
  out.resize(length);
  return {status, read, out};
}

Result UnicodeToText(TextEncoding unicode, TextEncoding text, std::vector<UInt8> const& in, ByteCount room) {
  UnicodeMapping mapping = {unicode, text, kUnicodeUseLatestMapping};
  UnicodeToTextInfo info = nullptr;
  EXPECT_EQ(noErr, CreateUnicodeToTextInfo(&mapping, &info));
  std::vector<UInt8> out(room + 1, 0xEE);
  ByteCount read = 99, length = 99;
  OSStatus const status = ConvertFromUnicodeToText(info, in.size(), reinterpret_cast<UniChar const*>(in.data()),
                                                   0, 0, nullptr, nullptr, nullptr, room, &read, &length,
                                                   out.data());
  EXPECT_EQ(0xEE, out[room]);
  EXPECT_EQ(noErr, DisposeUnicodeToTextInfo(&info));
  out.resize(length);
  return {status, read, out};
}

// UTF-16 in host order as bytes.
std::vector<UInt8> U16(std::u16string const& s) {
  std::vector<UInt8> bytes(s.size() * 2);
  std::memcpy(bytes.data(), s.data(), bytes.size());
  return bytes;
}

std::vector<UInt8> Bytes(std::string const& s) { return std::vector<UInt8>(s.begin(), s.end()); }

}  // namespace

TEST(TextEncoding, EncodingValuesPackBaseVariantAndFormat) {
  TextEncoding const e = CreateTextEncoding(kTextEncodingUnicodeV2_1, kUnicodeCanonicalDecompVariant,
                                            kUnicodeUTF8Format);
  EXPECT_EQ(0x08020103u, e);
  EXPECT_EQ(0x103u, GetTextEncodingBase(e));
  EXPECT_EQ(2u, GetTextEncodingVariant(e));
  EXPECT_EQ(2u, GetTextEncodingFormat(e));
  EXPECT_EQ(0x00020103u, Unicode16(kUnicodeCanonicalDecompVariant));
}

TEST(TextEncoding, ScriptCodesGiveTheirEncodings) {
  TextEncoding e = 0xFFFF;
  EXPECT_EQ(noErr, UpgradeScriptInfoToTextEncoding(smRoman, kTextLanguageDontCare, verUS, nullptr, &e));
  EXPECT_EQ(Plain(kTextEncodingMacRoman), e);
  EXPECT_EQ(noErr, UpgradeScriptInfoToTextEncoding(smRoman, kTextLanguageDontCare, verIceland, nullptr, &e));
  EXPECT_EQ(Plain(kTextEncodingMacIcelandic), e);
  EXPECT_EQ(noErr, UpgradeScriptInfoToTextEncoding(smCyrillic, kTextLanguageDontCare, verUkraine, nullptr, &e));
  EXPECT_EQ(Plain(kTextEncodingMacUkrainian), e);
  EXPECT_EQ(noErr, UpgradeScriptInfoToTextEncoding(smCyrillic, kTextLanguageDontCare, verUS, nullptr, &e));
  EXPECT_EQ(Plain(kTextEncodingMacCyrillic), e);
  EXPECT_EQ(noErr, UpgradeScriptInfoToTextEncoding(smSystemScript, kTextLanguageDontCare, verUS, nullptr, &e));
  EXPECT_EQ(Plain(kTextEncodingMacRoman), e);
  EXPECT_EQ(noErr, UpgradeScriptInfoToTextEncoding(smUnicodeScript, kTextLanguageDontCare, verUS, nullptr, &e));
  EXPECT_EQ(Plain(kTextEncodingUnicodeDefault), e);
  EXPECT_EQ(paramErr, UpgradeScriptInfoToTextEncoding(100, kTextLanguageDontCare, verUS, nullptr, &e));
  EXPECT_EQ(paramErr, UpgradeScriptInfoToTextEncoding(smRoman, kTextLanguageDontCare, verUS, nullptr, nullptr));
}

TEST(TextEncoding, RegionComesFromTheLocale) {
  std::string const savedAll = std::getenv("LC_ALL") ? std::getenv("LC_ALL") : "";
  std::string const savedLang = std::getenv("LANG") ? std::getenv("LANG") : "";
  ::unsetenv("LC_ALL");
  ::setenv("LANG", "is_IS.UTF-8", 1);
  EXPECT_EQ(verIceland, GetScriptManagerVariable(smRegionCode));
  ::setenv("LC_ALL", "de_DE.UTF-8", 1);
  EXPECT_EQ(verGermany, GetScriptManagerVariable(smRegionCode));
  ::setenv("LC_ALL", "C", 1);
  EXPECT_EQ(verUS, GetScriptManagerVariable(smRegionCode));
  EXPECT_EQ(smRoman, GetScriptManagerVariable(smSysScript));
  savedAll.empty() ? ::unsetenv("LC_ALL") : ::setenv("LC_ALL", savedAll.c_str(), 1);
  savedLang.empty() ? ::unsetenv("LANG") : ::setenv("LANG", savedLang.c_str(), 1);
}

TEST(TextEncoding, MacRomanToUnicodeKeepsLettersComposedUnlessAsked) {
  Result r = TextToUnicode(Plain(kTextEncodingMacRoman), Unicode16(kUnicodeNoSubset), "caf\x8E", 100);
  EXPECT_EQ(noErr, r.status);
  EXPECT_EQ(4u, r.read);
  EXPECT_EQ(U16(u"caf\u00E9"), r.bytes);

  r = TextToUnicode(Plain(kTextEncodingMacRoman), Unicode16(kUnicodeCanonicalDecompVariant), "caf\x8E", 100);
  EXPECT_EQ(noErr, r.status);
  EXPECT_EQ(U16(u"cafe\u0301"), r.bytes);

  r = TextToUnicode(Plain(kTextEncodingMacRoman), Unicode8(kUnicodeCanonicalDecompVariant), "\x80\x8E", 100);
  EXPECT_EQ(noErr, r.status);
  EXPECT_EQ(Bytes("A\xCC\x88" "e\xCC\x81"), r.bytes);
}

TEST(TextEncoding, ByEncodingConvertsToSixteenBitUnicode) {
  TextToUnicodeInfo info = nullptr;
  ASSERT_EQ(noErr, CreateTextToUnicodeInfoByEncoding(Plain(kTextEncodingWindowsLatin1), &info));
  UniChar out[4] = {};
  ByteCount read = 0, length = 0;
  EXPECT_EQ(noErr, ConvertFromTextToUnicode(info, 2, "\x80" "A", 0, 0, nullptr, nullptr, nullptr,
                                            sizeof out, &read, &length, out));
  EXPECT_EQ(4u, length);
  EXPECT_EQ(0x20AC, out[0]);
  EXPECT_EQ(u'A', out[1]);
  DisposeTextToUnicodeInfo(&info);

  UnicodeToTextInfo back = nullptr;
  ASSERT_EQ(noErr, CreateUnicodeToTextInfoByEncoding(Plain(kTextEncodingISOLatin1), &back));
  char text[4] = {};
  EXPECT_EQ(noErr, ConvertFromUnicodeToText(back, 2, reinterpret_cast<UniChar const*>(u"\u00FF"), 0, 0, nullptr, nullptr, nullptr,
                                            sizeof text, &read, &length, text));
  EXPECT_EQ(1u, length);
  EXPECT_EQ('\xFF', text[0]);
  DisposeUnicodeToTextInfo(&back);
}

TEST(TextEncoding, FullOutputSaysHowFarItGot) {
  Result r = TextToUnicode(Plain(kTextEncodingMacRoman), Unicode16(kUnicodeNoSubset), "abcdef", 6);
  EXPECT_EQ(kTECOutputBufferFullStatus, r.status);
  EXPECT_EQ(3u, r.read);
  EXPECT_EQ(U16(u"abc"), r.bytes);
  // An odd room never gets half a unit.
  r = TextToUnicode(Plain(kTextEncodingMacRoman), Unicode16(kUnicodeNoSubset), "abcdef", 5);
  EXPECT_EQ(kTECOutputBufferFullStatus, r.status);
  EXPECT_EQ(2u, r.read);
  EXPECT_EQ(U16(u"ab"), r.bytes);
  // A decomposed letter is written whole or not at all.
  r = TextToUnicode(Plain(kTextEncodingMacRoman), Unicode16(kUnicodeCanonicalDecompVariant), "x\x8E", 4);
  EXPECT_EQ(kTECOutputBufferFullStatus, r.status);
  EXPECT_EQ(1u, r.read);
  EXPECT_EQ(U16(u"x"), r.bytes);
}

TEST(TextEncoding, MalformedAndCutOffInput) {
  Result r = TextToUnicode(Plain(kTextEncodingUS_ASCII), Unicode16(kUnicodeNoSubset), "ab\x80" "c", 100);
  EXPECT_EQ(kTextMalformedInputErr, r.status);
  EXPECT_EQ(2u, r.read);
  EXPECT_EQ(U16(u"ab"), r.bytes);

  r = TextToUnicode(Plain(kTextEncodingWindowsLatin1), Unicode16(kUnicodeNoSubset), "\x81", 100);
  EXPECT_EQ(kTextMalformedInputErr, r.status);

  r = UnicodeToText(Unicode8(kUnicodeNoSubset), Plain(kTextEncodingMacRoman), Bytes("a\xC3"), 100);
  EXPECT_EQ(kTECPartialCharErr, r.status);
  EXPECT_EQ(1u, r.read);
  EXPECT_EQ(Bytes("a"), r.bytes);

  r = UnicodeToText(Unicode8(kUnicodeNoSubset), Plain(kTextEncodingMacRoman), Bytes("\xFF"), 100);
  EXPECT_EQ(kTextMalformedInputErr, r.status);

  // A lone surrogate is not UTF-16; a high one at the very end may still be cut off.
  std::u16string const lowAlone(1, char16_t(0xDC00));
  r = UnicodeToText(Unicode16(kUnicodeNoSubset), Plain(kTextEncodingMacRoman), U16(lowAlone), 100);
  EXPECT_EQ(kTextMalformedInputErr, r.status);
  std::u16string const highThenLetter = {char16_t(0xD800), u'a'};
  r = UnicodeToText(Unicode16(kUnicodeNoSubset), Plain(kTextEncodingMacRoman), U16(highThenLetter), 100);
  EXPECT_EQ(kTextMalformedInputErr, r.status);
  EXPECT_EQ(0u, r.read);
  std::u16string const letterThenHigh = {u'a', char16_t(0xD800)};
  r = UnicodeToText(Unicode16(kUnicodeNoSubset), Plain(kTextEncodingMacRoman), U16(letterThenHigh), 100);
  EXPECT_EQ(kTECPartialCharErr, r.status);
  EXPECT_EQ(2u, r.read);
  EXPECT_EQ(Bytes("a"), r.bytes);
}

TEST(TextEncoding, UnicodeToTextComposesAndReportsUnmappable) {
  Result r = UnicodeToText(Unicode16(kUnicodeCanonicalDecompVariant), Plain(kTextEncodingMacRoman),
                           U16(u"cafe\u0301"), 100);
  EXPECT_EQ(noErr, r.status);
  EXPECT_EQ(Bytes("caf\x8E"), r.bytes);

  r = UnicodeToText(Unicode16(kUnicodeNoSubset), Plain(kTextEncodingMacRoman), U16(u"a\u4E00b"), 100);
  EXPECT_EQ(kTECUnmappableElementErr, r.status);
  EXPECT_EQ(2u, r.read);
  EXPECT_EQ(Bytes("a"), r.bytes);

  r = UnicodeToText(Unicode16(kUnicodeNoSubset), Plain(kTextEncodingMacCyrillic), U16(u"\u0416"), 100);
  EXPECT_EQ(noErr, r.status);
  EXPECT_EQ(Bytes("\x86"), r.bytes);
}

TEST(TextEncoding, DirectConvertersBetweenUnicodeForms) {
  TECObjectRef toUTF16 = nullptr;
  TECObjectRef toComposedUTF8 = nullptr;
  ASSERT_EQ(noErr, TECCreateConverter(&toUTF16, Unicode8(kUnicodeCanonicalDecompVariant),
                                      Unicode16(kUnicodeCanonicalDecompVariant)));
  ASSERT_EQ(noErr, TECCreateConverter(&toComposedUTF8, Unicode16(kUnicodeCanonicalDecompVariant),
                                      Unicode8(kUnicodeCanonicalCompVariant)));
  std::string const in = "\xC3\xA9\xF0\x9F\x98\x80";  // é, U+1F600
  UInt8 out[32];
  ByteCount read = 0, length = 0;
  EXPECT_EQ(noErr, TECConvertText(toUTF16, reinterpret_cast<ConstTextPtr>(in.data()), in.size(), &read,
                                  out, sizeof out, &length));
  EXPECT_EQ(in.size(), read);
  EXPECT_EQ(U16(u"e\u0301\U0001F600"), std::vector<UInt8>(out, out + length));

  std::vector<UInt8> const decomposed(out, out + length);
  UInt8 back[32];
  EXPECT_EQ(noErr, TECConvertText(toComposedUTF8, decomposed.data(), decomposed.size(), &read, back,
                                  sizeof back, &length));
  EXPECT_EQ(Bytes(in), std::vector<UInt8>(back, back + length));

  EXPECT_EQ(noErr, TECDisposeConverter(toUTF16));
  EXPECT_EQ(noErr, TECDisposeConverter(toComposedUTF8));
}

TEST(TextEncoding, EmptyInputConvertsToNothing) {
  Result r = TextToUnicode(Plain(kTextEncodingMacRoman), Unicode16(kUnicodeNoSubset), "", 0);
  EXPECT_EQ(noErr, r.status);
  EXPECT_EQ(0u, r.read);
  EXPECT_TRUE(r.bytes.empty());
}

TEST(TextEncoding, UnsupportedEncodingsAndMissingArguments) {
  TextToUnicodeInfo info = nullptr;
  EXPECT_EQ(kTextUnsupportedEncodingErr, CreateTextToUnicodeInfoByEncoding(Plain(kTextEncodingMacJapanese), &info));
  EXPECT_EQ(nullptr, info);
  UnicodeToTextInfo back = nullptr;
  EXPECT_EQ(kTextUnsupportedEncodingErr, CreateUnicodeToTextInfoByEncoding(Plain(kTextEncodingMacGreek), &back));
  EXPECT_EQ(nullptr, back);
  TECObjectRef tec = nullptr;
  EXPECT_EQ(kTextUnsupportedEncodingErr,
            TECCreateConverter(&tec, CreateTextEncoding(kTextEncodingUnicodeV2_1, 0, kUnicodeUTF7Format),
                               Unicode16(0)));
  EXPECT_EQ(nullptr, tec);
  // The Unicode side of a mapping must be Unicode.
  UnicodeMapping wrong = {Plain(kTextEncodingMacRoman), Plain(kTextEncodingMacRoman), kUnicodeUseLatestMapping};
  EXPECT_EQ(paramErr, CreateTextToUnicodeInfo(&wrong, &info));
  EXPECT_EQ(paramErr, CreateTextToUnicodeInfo(nullptr, &info));
  EXPECT_EQ(paramErr, CreateTextToUnicodeInfoByEncoding(Plain(kTextEncodingMacRoman), nullptr));

  ByteCount read = 0, length = 0;
  UniChar out[4];
  EXPECT_EQ(paramErr, ConvertFromTextToUnicode(nullptr, 1, "a", 0, 0, nullptr, nullptr, nullptr, sizeof out,
                                               &read, &length, out));
  EXPECT_EQ(paramErr, DisposeTextToUnicodeInfo(&info));
  EXPECT_EQ(paramErr, DisposeUnicodeToTextInfo(nullptr));
  EXPECT_EQ(paramErr, TECDisposeConverter(nullptr));
}
