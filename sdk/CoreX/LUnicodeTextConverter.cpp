#include "LUnicodeTextConverter.h"

#include "CoreMachDebugLog.h"

#include <functional>

namespace {

// Converts into a buffer of the first size; while the platform says the output is full,
// grows it by step and converts again from the start. The output keeps what was produced.
OSStatus GrowingConversion(std::string& out, std::size_t size, std::size_t step,
                           std::function<OSStatus(char*, ByteCount, ByteCount*)> const& convert) {
  OSStatus status;
  ByteCount produced = 0;
  out.assign(size, '\0');
  while ((status = convert(out.data(), out.size(), &produced)) == kTECOutputBufferFullStatus &&
         step != 0) {
    out.assign(out.size() + step, '\0');
  }
  out.resize(produced);
  return status;
}

}  // namespace

TextEncoding LUnicodeTextConverter::UTF16Encoding() {
  return CreateTextEncoding(kTextEncodingUnicodeV2_1, kUnicodeCanonicalDecompVariant,
                            kUnicode16BitFormat);
}

TextEncoding LUnicodeTextConverter::UTF8Encoding() {
  return CreateTextEncoding(kTextEncodingUnicodeV2_1, kUnicodeCanonicalDecompVariant,
                            kUnicodeUTF8Format);
}

LUnicodeTextConverter::LUnicodeTextConverter(short script, short region) {
  InitEmpty();
  TextEncoding textEncoding = 0;
  OSStatus status = UpgradeScriptInfoToTextEncoding(script, kTextLanguageDontCare, region,
                                                    nullptr, &textEncoding);
  if (CoreVerify(status == noErr)) InitUnicodeTextConverter(textEncoding);
}

LUnicodeTextConverter::LUnicodeTextConverter(unsigned long textEncoding) {
  InitEmpty();
  InitUnicodeTextConverter(static_cast<TextEncoding>(textEncoding));
}

LUnicodeTextConverter::~LUnicodeTextConverter() { DeleteCurrentConverters(); }

void LUnicodeTextConverter::InitEmpty() {
  mUnicodeToTextInfo_UTF16 = nullptr;
  mUnicodeToTextInfo_UTF8 = nullptr;
  mTextToUnicodeInfo_UTF16 = nullptr;
  mTextToUnicodeInfo_UTF8 = nullptr;
  mUTF8ToUTF16Converter = nullptr;
  mUTF16ToUTF8Converter = nullptr;
}

OSStatus LUnicodeTextConverter::InitUnicodeTextConverter(TextEncoding textEncoding) {
  DeleteCurrentConverters();
  OSStatus first = noErr;
  auto keep = [&first](OSStatus status) {
    if (first == noErr) first = status;
  };
  UnicodeMapping utf16 = {UTF16Encoding(), textEncoding, kUnicodeUseLatestMapping};
  UnicodeMapping utf8 = {UTF8Encoding(), textEncoding, kUnicodeUseLatestMapping};
  OSStatus status;

  status = CreateTextToUnicodeInfo(&utf16, &mTextToUnicodeInfo_UTF16);
  CoreMachDebugVerify(status == noErr);
  keep(status);
  status = CreateTextToUnicodeInfo(&utf8, &mTextToUnicodeInfo_UTF8);
  CoreMachDebugVerify(status == noErr);
  keep(status);
  status = CreateUnicodeToTextInfo(&utf16, &mUnicodeToTextInfo_UTF16);
  CoreMachDebugVerify(status == noErr);
  keep(status);
  status = CreateUnicodeToTextInfo(&utf8, &mUnicodeToTextInfo_UTF8);
  CoreMachDebugVerify(status == noErr);
  keep(status);

  status = TECCreateConverter(&mUTF8ToUTF16Converter, UTF8Encoding(), UTF16Encoding());
  CoreMachDebugVerify(status == noErr);
  keep(status);
  status = TECCreateConverter(&mUTF16ToUTF8Converter, UTF16Encoding(), UTF8Encoding());
  CoreMachDebugVerify(status == noErr);
  keep(status);
  return first;
}

void LUnicodeTextConverter::DeleteCurrentConverters() {
  if (mUTF8ToUTF16Converter) TECDisposeConverter(mUTF8ToUTF16Converter);
  if (mUTF16ToUTF8Converter) TECDisposeConverter(mUTF16ToUTF8Converter);
  mUTF8ToUTF16Converter = nullptr;
  mUTF16ToUTF8Converter = nullptr;
  if (mTextToUnicodeInfo_UTF16) DisposeTextToUnicodeInfo(&mTextToUnicodeInfo_UTF16);
  if (mTextToUnicodeInfo_UTF8) DisposeTextToUnicodeInfo(&mTextToUnicodeInfo_UTF8);
  if (mUnicodeToTextInfo_UTF16) DisposeUnicodeToTextInfo(&mUnicodeToTextInfo_UTF16);
  if (mUnicodeToTextInfo_UTF8) DisposeUnicodeToTextInfo(&mUnicodeToTextInfo_UTF8);
  InitEmpty();
}

OSStatus LUnicodeTextConverter::TextToUnicode(std::string const& in_text, HFSUniStr255& out_unicode) {
  ByteCount sourceRead = 0;
  ByteCount unicodeLength = 0;
  OSStatus status = ConvertFromTextToUnicode(
      mTextToUnicodeInfo_UTF16, in_text.size(), in_text.data(), 0, 0, nullptr, nullptr, nullptr,
      sizeof(out_unicode.unicode), &sourceRead, &unicodeLength, out_unicode.unicode);
  out_unicode.length = static_cast<UInt16>(unicodeLength / 2);
  CoreMachDebugVerify(status==noErr);
  return status;
}

OSStatus LUnicodeTextConverter::TextToUnicode(unsigned char const* in_pstring,
                                              HFSUniStr255& out_unicode) {
  out_unicode.length = 0;
  if (!in_pstring) {
    OSStatus status = paramErr;
    CoreMachDebugVerify(status==noErr);
    return status;
  }
  ByteCount sourceRead = 0;
  ByteCount unicodeLength = 0;
  OSStatus status = ConvertFromTextToUnicode(
      mTextToUnicodeInfo_UTF16, in_pstring[0], in_pstring + 1, 0, 0, nullptr, nullptr, nullptr,
      sizeof(out_unicode.unicode), &sourceRead, &unicodeLength, out_unicode.unicode);
  out_unicode.length = static_cast<UInt16>(unicodeLength / 2);
  CoreMachDebugVerify(status==noErr);
  return status;
}

OSStatus LUnicodeTextConverter::UTF8ToUnicode(std::string const& in_utf8, HFSUniStr255& out_unicode) {
  ByteCount sourceRead = 0;
  ByteCount unicodeLength = 0;
  OSStatus status = TECConvertText(mUTF8ToUTF16Converter,
                                   reinterpret_cast<ConstTextPtr>(in_utf8.data()), in_utf8.size(),
                                   &sourceRead, reinterpret_cast<TextPtr>(out_unicode.unicode),
                                   sizeof(out_unicode.unicode), &unicodeLength);
  out_unicode.length = static_cast<UInt16>(unicodeLength / 2);
  CoreMachDebugVerify(status==noErr);
  return status;
}

OSStatus LUnicodeTextConverter::UnicodeToUTF8(HFSUniStr255 const& in_unicode, std::string& out_utf8) {
  std::size_t const bytes = std::size_t(in_unicode.length) * 2;
  // A unit gives at most 3 bytes of UTF-8, or 3 for a decomposed letter.
  OSStatus status = GrowingConversion(out_utf8, bytes * 2, bytes, [&](char* out, ByteCount size, ByteCount* produced) {
    ByteCount read = 0;
    return TECConvertText(mUTF16ToUTF8Converter, reinterpret_cast<ConstTextPtr>(in_unicode.unicode),
                          bytes, &read, reinterpret_cast<TextPtr>(out), size, produced);
  });
  CoreMachDebugVerify(status==noErr);
  return status;
}

OSStatus LUnicodeTextConverter::UnicodeToText(HFSUniStr255 const& in_unicode, std::string& out_text) {
  std::size_t const bytes = std::size_t(in_unicode.length) * 2;
  OSStatus status = GrowingConversion(out_text, in_unicode.length, bytes, [&](char* out, ByteCount size, ByteCount* produced) {
    ByteCount read = 0;
    return ConvertFromUnicodeToText(mUnicodeToTextInfo_UTF16, bytes, in_unicode.unicode, 0, 0,
                                    nullptr, nullptr, nullptr, size, &read, produced, out);
  });
  CoreMachDebugVerify(status==noErr);
  return status;
}

OSStatus LUnicodeTextConverter::TextToUTF8(std::string const& in_text, std::string& out_utf8) {
  return GrowingConversion(out_utf8, in_text.size() * 5, in_text.size(), [&](char* out, ByteCount size, ByteCount* produced) {
    ByteCount read = 0;
    return ConvertFromTextToUnicode(mTextToUnicodeInfo_UTF8, in_text.size(), in_text.data(), 0, 0,
                                    nullptr, nullptr, nullptr, size, &read, produced,
                                    reinterpret_cast<UniChar*>(out));
  });
}

OSStatus LUnicodeTextConverter::UTF8ToText(std::string const& in_utf8, std::string& out_text) {
  return GrowingConversion(out_text, in_utf8.size(), in_utf8.size(), [&](char* out, ByteCount size, ByteCount* produced) {
    ByteCount read = 0;
    return ConvertFromUnicodeToText(mUnicodeToTextInfo_UTF8, in_utf8.size(),
                                    reinterpret_cast<UniChar const*>(in_utf8.data()), 0, 0, nullptr,
                                    nullptr, nullptr, size, &read, produced, out);
  });
}
