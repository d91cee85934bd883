// Converters between 8-bit text of one script or encoding, UTF-8 and UTF-16 (both in
// canonical decomposition), held for the life of the object.
#pragma once

#include "Files.h"
#include "TextEncoding.h"

#include <string>

class LUnicodeTextConverter {
 public:
  LUnicodeTextConverter(short script, short region);
  explicit LUnicodeTextConverter(unsigned long textEncoding);
  ~LUnicodeTextConverter();
  LUnicodeTextConverter(LUnicodeTextConverter const&) = delete;
  LUnicodeTextConverter& operator=(LUnicodeTextConverter const&) = delete;

  void InitEmpty();
  // Makes the four converters for the encoding and the two between UTF-8 and UTF-16;
  // answers the first failure (the others are still tried).
  OSStatus InitUnicodeTextConverter(TextEncoding textEncoding);
  void DeleteCurrentConverters();

  // Into at most 255 units; the length is the bytes produced / 2.
  OSStatus TextToUnicode(std::string const& in_text, HFSUniStr255& out_unicode);
  OSStatus TextToUnicode(unsigned char const* in_pstring, HFSUniStr255& out_unicode);
  OSStatus UTF8ToUnicode(std::string const& in_utf8, HFSUniStr255& out_unicode);
  OSStatus UnicodeToUTF8(HFSUniStr255 const& in_unicode, std::string& out_utf8);
  OSStatus UnicodeToText(HFSUniStr255 const& in_unicode, std::string& out_text);
  // Growing conversions: the output is enlarged until it holds the whole result.
  OSStatus TextToUTF8(std::string const& in_text, std::string& out_utf8);
  OSStatus UTF8ToText(std::string const& in_utf8, std::string& out_text);

  UnicodeToTextInfo mUnicodeToTextInfo_UTF16;
  UnicodeToTextInfo mUnicodeToTextInfo_UTF8;
  TextToUnicodeInfo mTextToUnicodeInfo_UTF16;
  TextToUnicodeInfo mTextToUnicodeInfo_UTF8;
  TECObjectRef mUTF8ToUTF16Converter;
  TECObjectRef mUTF16ToUTF8Converter;

  static TextEncoding UTF16Encoding();
  static TextEncoding UTF8Encoding();
};
