// Text encodings, script codes and converters between 8-bit text and Unicode, with the
// classic call names and shapes, done over iconv (glibc).
//
// Supported encodings: Mac Roman, Mac Central European, Mac Cyrillic, Mac Icelandic,
// Mac Ukrainian, ISO Latin 1, Windows Latin 1, US-ASCII, and Unicode as UTF-16 and
// UTF-32 (host byte order) and UTF-8. Others give kTextUnsupportedEncodingErr.
// Mac Icelandic is glibc's "MAC-IS", an older table than the classic one: it keeps the
// dagger at 0xA0 and has D/d with stroke at 0xDC/0xDD where the classic table has
// Y acute and Eth/eth.
//
// Canonical decomposition: glibc's iconv does not normalise. Unicode output whose
// variant asks for decomposition (kUnicodeCanonicalDecompVariant, kUnicodeHFSPlusDecompVariant)
// has the precomposed Latin letters U+00C0..U+017F split into base letter + combining mark
// by a fixed table; composed variants join such pairs again. Conversions to 8-bit text
// join such pairs before mapping, so decomposed names convert back. Nothing outside
// that table is decomposed or composed.
#pragma once

#include "MacTypes.h"

using TextEncoding = UInt32;
using TextEncodingBase = UInt32;
using TextEncodingVariant = UInt32;
using TextEncodingFormat = UInt32;
using ScriptCode = SInt16;
using LangCode = SInt16;
using RegionCode = SInt16;
using OptionBits = UInt32;
using ItemCount = unsigned long;
using ByteOffset = unsigned long;
using LogicalAddress = void*;
using ConstLogicalAddress = void const*;
using TextPtr = UInt8*;
using ConstTextPtr = UInt8 const*;

// Base encodings (the Mac ones share their numbers with the script codes).
enum : TextEncodingBase {
  kTextEncodingMacRoman = 0,
  kTextEncodingMacJapanese = 1,
  kTextEncodingMacGreek = 6,
  kTextEncodingMacCyrillic = 7,
  kTextEncodingMacCentralEurRoman = 29,
  kTextEncodingMacIcelandic = 37,
  kTextEncodingMacUkrainian = 0x98,
  kTextEncodingUnicodeDefault = 0x100,
  kTextEncodingUnicodeV1_1 = 0x101,
  kTextEncodingUnicodeV2_0 = 0x102,
  kTextEncodingUnicodeV2_1 = 0x103,
  kTextEncodingUnicodeV3_0 = 0x104,
  kTextEncodingISOLatin1 = 0x201,
  kTextEncodingWindowsLatin1 = 0x500,
  kTextEncodingUS_ASCII = 0x600,
};

// Unicode variants and formats.
enum : TextEncodingVariant {
  kUnicodeNoSubset = 0,
  kUnicodeNoCompatibilityVariant = 1,
  kUnicodeCanonicalDecompVariant = 2,
  kUnicodeCanonicalCompVariant = 3,
  kUnicodeHFSPlusDecompVariant = 8,
  kUnicodeHFSPlusCompVariant = 9,
};
enum : TextEncodingFormat {
  kUnicode16BitFormat = 0,
  kUnicodeUTF7Format = 1,
  kUnicodeUTF8Format = 2,
  kUnicode32BitFormat = 3,
};
enum : TextEncodingVariant { kTextEncodingDefaultVariant = 0 };
enum : TextEncodingFormat { kTextEncodingDefaultFormat = 0 };

// Script, language and region codes.
enum : ScriptCode {
  smSystemScript = -1,
  smCurrentScript = -2,
  smRoman = 0,
  smJapanese = 1,
  smGreek = 6,
  smCyrillic = 7,
  smCentralEuroRoman = 29,
  smUninterp = 32,
  smUnicodeScript = 0x7E,
};
enum : SInt16 {
  kTextScriptDontCare = -128,
  kTextLanguageDontCare = -128,
  kTextRegionDontCare = -128,
};
enum : RegionCode {
  verUS = 0,
  verFrance = 1,
  verBritain = 2,
  verGermany = 3,
  verIceland = 21,
  verUkraine = 62,
};
// Script manager selectors.
enum : short {
  smSysScript = 18,
  smRegionCode = 40,
};

constexpr SInt32 kUnicodeUseLatestMapping = -1;

struct UnicodeMapping {
  TextEncoding unicodeEncoding;
  TextEncoding otherEncoding;
  SInt32 mappingVersion;
};
using UnicodeMappingPtr = UnicodeMapping*;
using ConstUnicodeMappingPtr = UnicodeMapping const*;

using TextToUnicodeInfo = struct OpaqueTextToUnicodeInfo*;
using UnicodeToTextInfo = struct OpaqueUnicodeToTextInfo*;
using TECObjectRef = struct OpaqueTECObjectRef*;

// Encoding values: base in bits 0-15, variant in bits 16-25, format in bits 26-31.
TextEncoding CreateTextEncoding(TextEncodingBase base, TextEncodingVariant variant,
                                TextEncodingFormat format);
TextEncodingBase GetTextEncodingBase(TextEncoding encoding);
TextEncodingVariant GetTextEncodingVariant(TextEncoding encoding);
TextEncodingFormat GetTextEncodingFormat(TextEncoding encoding);

// The encoding of a script, refined by the region (Roman in Iceland is Mac Icelandic,
// Cyrillic in Ukraine is Mac Ukrainian). The system script here is Roman. Language and
// font name are accepted and not used.
OSStatus UpgradeScriptInfoToTextEncoding(ScriptCode iTextScriptID, LangCode iTextLanguageID,
                                         RegionCode iRegionID, ConstStr255Param iTextFontname,
                                         TextEncoding* oEncoding);

// smRegionCode: the region of the user's locale (LC_ALL, then LANG) for the few regions
// listed above, verUS otherwise; smSysScript: smRoman. Other selectors give 0.
long GetScriptManagerVariable(short selector);

OSStatus CreateTextToUnicodeInfo(ConstUnicodeMappingPtr iUnicodeMapping,
                                 TextToUnicodeInfo* oTextToUnicodeInfo);
// Text in the encoding to 16-bit Unicode (canonical decomposition is not asked for).
OSStatus CreateTextToUnicodeInfoByEncoding(TextEncoding iEncoding,
                                           TextToUnicodeInfo* oTextToUnicodeInfo);
OSStatus CreateUnicodeToTextInfo(ConstUnicodeMappingPtr iUnicodeMapping,
                                 UnicodeToTextInfo* oUnicodeToTextInfo);
OSStatus CreateUnicodeToTextInfoByEncoding(TextEncoding iEncoding,
                                           UnicodeToTextInfo* oUnicodeToTextInfo);
OSStatus DisposeTextToUnicodeInfo(TextToUnicodeInfo* ioTextToUnicodeInfo);
OSStatus DisposeUnicodeToTextInfo(UnicodeToTextInfo* ioUnicodeToTextInfo);

// Converts whole characters. Lengths are in bytes on both sides (the Unicode side is
// written in the mapping's Unicode form). Results: noErr; kTECOutputBufferFullStatus when
// the output is full (what fitted is written, *oSourceRead says how far it got);
// kTextMalformedInputErr for bytes that are not text in the source encoding;
// kTECPartialCharErr for a character cut off at the end of the input;
// kTECUnmappableElementErr for a character the target cannot represent; paramErr for
// missing arguments. Offset arrays are not supported: *oOffsetCount is set to 0.
OSStatus ConvertFromTextToUnicode(TextToUnicodeInfo iTextToUnicodeInfo, ByteCount iSourceLen,
                                  ConstLogicalAddress iSourceStr, OptionBits iControlFlags,
                                  ItemCount iOffsetCount, ByteOffset const* iOffsetArray,
                                  ItemCount* oOffsetCount, ByteOffset* oOffsetArray,
                                  ByteCount iOutputBufLen, ByteCount* oSourceRead,
                                  ByteCount* oUnicodeLen, UniChar* oUnicodeStr);
OSStatus ConvertFromUnicodeToText(UnicodeToTextInfo iUnicodeToTextInfo, ByteCount iUnicodeLen,
                                  UniChar const* iUnicodeStr, OptionBits iControlFlags,
                                  ItemCount iOffsetCount, ByteOffset const* iOffsetArray,
                                  ItemCount* oOffsetCount, ByteOffset* oOffsetArray,
                                  ByteCount iOutputBufLen, ByteCount* oInputRead,
                                  ByteCount* oOutputLen, LogicalAddress oOutputStr);

// A direct converter between any two supported encodings; same results as above.
OSStatus TECCreateConverter(TECObjectRef* newEncodingConverter, TextEncoding inputEncoding,
                            TextEncoding outputEncoding);
OSStatus TECConvertText(TECObjectRef encodingConverter, ConstTextPtr inputBuffer,
                        ByteCount inputBufferLength, ByteCount* actualInputLength,
                        TextPtr outputBuffer, ByteCount outputBufferLength,
                        ByteCount* actualOutputLength);
OSStatus TECDisposeConverter(TECObjectRef encodingConverter);
