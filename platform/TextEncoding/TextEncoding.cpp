#include "TextEncoding.h"

#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iconv.h>
#include <memory>
#include <string>
#include <vector>

namespace {

// Canonical decompositions of the precomposed Latin letters U+00C0..U+017F
// (from the Unicode character database; each is one base letter and one mark).
struct Decomposition {
  char32_t composed, base, mark;
};
constexpr Decomposition kDecompositions[] = {
    {0x00C0, 0x0041, 0x0300}, {0x00C1, 0x0041, 0x0301}, {0x00C2, 0x0041, 0x0302}, {0x00C3, 0x0041, 0x0303},
    {0x00C4, 0x0041, 0x0308}, {0x00C5, 0x0041, 0x030A}, {0x00C7, 0x0043, 0x0327}, {0x00C8, 0x0045, 0x0300},
    {0x00C9, 0x0045, 0x0301}, {0x00CA, 0x0045, 0x0302}, {0x00CB, 0x0045, 0x0308}, {0x00CC, 0x0049, 0x0300},
    {0x00CD, 0x0049, 0x0301}, {0x00CE, 0x0049, 0x0302}, {0x00CF, 0x0049, 0x0308}, {0x00D1, 0x004E, 0x0303},
    {0x00D2, 0x004F, 0x0300}, {0x00D3, 0x004F, 0x0301}, {0x00D4, 0x004F, 0x0302}, {0x00D5, 0x004F, 0x0303},
    {0x00D6, 0x004F, 0x0308}, {0x00D9, 0x0055, 0x0300}, {0x00DA, 0x0055, 0x0301}, {0x00DB, 0x0055, 0x0302},
    {0x00DC, 0x0055, 0x0308}, {0x00DD, 0x0059, 0x0301}, {0x00E0, 0x0061, 0x0300}, {0x00E1, 0x0061, 0x0301},
    {0x00E2, 0x0061, 0x0302}, {0x00E3, 0x0061, 0x0303}, {0x00E4, 0x0061, 0x0308}, {0x00E5, 0x0061, 0x030A},
    {0x00E7, 0x0063, 0x0327}, {0x00E8, 0x0065, 0x0300}, {0x00E9, 0x0065, 0x0301}, {0x00EA, 0x0065, 0x0302},
    {0x00EB, 0x0065, 0x0308}, {0x00EC, 0x0069, 0x0300}, {0x00ED, 0x0069, 0x0301}, {0x00EE, 0x0069, 0x0302},
    {0x00EF, 0x0069, 0x0308}, {0x00F1, 0x006E, 0x0303}, {0x00F2, 0x006F, 0x0300}, {0x00F3, 0x006F, 0x0301},
    {0x00F4, 0x006F, 0x0302}, {0x00F5, 0x006F, 0x0303}, {0x00F6, 0x006F, 0x0308}, {0x00F9, 0x0075, 0x0300},
    {0x00FA, 0x0075, 0x0301}, {0x00FB, 0x0075, 0x0302}, {0x00FC, 0x0075, 0x0308}, {0x00FD, 0x0079, 0x0301},
    {0x00FF, 0x0079, 0x0308}, {0x0100, 0x0041, 0x0304}, {0x0101, 0x0061, 0x0304}, {0x0102, 0x0041, 0x0306},
    {0x0103, 0x0061, 0x0306}, {0x0104, 0x0041, 0x0328}, {0x0105, 0x0061, 0x0328}, {0x0106, 0x0043, 0x0301},
    {0x0107, 0x0063, 0x0301}, {0x0108, 0x0043, 0x0302}, {0x0109, 0x0063, 0x0302}, {0x010A, 0x0043, 0x0307},
    {0x010B, 0x0063, 0x0307}, {0x010C, 0x0043, 0x030C}, {0x010D, 0x0063, 0x030C}, {0x010E, 0x0044, 0x030C},
    {0x010F, 0x0064, 0x030C}, {0x0112, 0x0045, 0x0304}, {0x0113, 0x0065, 0x0304}, {0x0114, 0x0045, 0x0306},
    {0x0115, 0x0065, 0x0306}, {0x0116, 0x0045, 0x0307}, {0x0117, 0x0065, 0x0307}, {0x0118, 0x0045, 0x0328},
    {0x0119, 0x0065, 0x0328}, {0x011A, 0x0045, 0x030C}, {0x011B, 0x0065, 0x030C}, {0x011C, 0x0047, 0x0302},
    {0x011D, 0x0067, 0x0302}, {0x011E, 0x0047, 0x0306}, {0x011F, 0x0067, 0x0306}, {0x0120, 0x0047, 0x0307},
    {0x0121, 0x0067, 0x0307}, {0x0122, 0x0047, 0x0327}, {0x0123, 0x0067, 0x0327}, {0x0124, 0x0048, 0x0302},
    {0x0125, 0x0068, 0x0302}, {0x0128, 0x0049, 0x0303}, {0x0129, 0x0069, 0x0303}, {0x012A, 0x0049, 0x0304},
    {0x012B, 0x0069, 0x0304}, {0x012C, 0x0049, 0x0306}, {0x012D, 0x0069, 0x0306}, {0x012E, 0x0049, 0x0328},
    {0x012F, 0x0069, 0x0328}, {0x0130, 0x0049, 0x0307}, {0x0134, 0x004A, 0x0302}, {0x0135, 0x006A, 0x0302},
    {0x0136, 0x004B, 0x0327}, {0x0137, 0x006B, 0x0327}, {0x0139, 0x004C, 0x0301}, {0x013A, 0x006C, 0x0301},
    {0x013B, 0x004C, 0x0327}, {0x013C, 0x006C, 0x0327}, {0x013D, 0x004C, 0x030C}, {0x013E, 0x006C, 0x030C},
    {0x0143, 0x004E, 0x0301}, {0x0144, 0x006E, 0x0301}, {0x0145, 0x004E, 0x0327}, {0x0146, 0x006E, 0x0327},
    {0x0147, 0x004E, 0x030C}, {0x0148, 0x006E, 0x030C}, {0x014C, 0x004F, 0x0304}, {0x014D, 0x006F, 0x0304},
    {0x014E, 0x004F, 0x0306}, {0x014F, 0x006F, 0x0306}, {0x0150, 0x004F, 0x030B}, {0x0151, 0x006F, 0x030B},
    {0x0154, 0x0052, 0x0301}, {0x0155, 0x0072, 0x0301}, {0x0156, 0x0052, 0x0327}, {0x0157, 0x0072, 0x0327},
    {0x0158, 0x0052, 0x030C}, {0x0159, 0x0072, 0x030C}, {0x015A, 0x0053, 0x0301}, {0x015B, 0x0073, 0x0301},
    {0x015C, 0x0053, 0x0302}, {0x015D, 0x0073, 0x0302}, {0x015E, 0x0053, 0x0327}, {0x015F, 0x0073, 0x0327},
    {0x0160, 0x0053, 0x030C}, {0x0161, 0x0073, 0x030C}, {0x0162, 0x0054, 0x0327}, {0x0163, 0x0074, 0x0327},
    {0x0164, 0x0054, 0x030C}, {0x0165, 0x0074, 0x030C}, {0x0168, 0x0055, 0x0303}, {0x0169, 0x0075, 0x0303},
    {0x016A, 0x0055, 0x0304}, {0x016B, 0x0075, 0x0304}, {0x016C, 0x0055, 0x0306}, {0x016D, 0x0075, 0x0306},
    {0x016E, 0x0055, 0x030A}, {0x016F, 0x0075, 0x030A}, {0x0170, 0x0055, 0x030B}, {0x0171, 0x0075, 0x030B},
    {0x0172, 0x0055, 0x0328}, {0x0173, 0x0075, 0x0328}, {0x0174, 0x0057, 0x0302}, {0x0175, 0x0077, 0x0302},
    {0x0176, 0x0059, 0x0302}, {0x0177, 0x0079, 0x0302}, {0x0178, 0x0059, 0x0308}, {0x0179, 0x005A, 0x0301},
    {0x017A, 0x007A, 0x0301}, {0x017B, 0x005A, 0x0307}, {0x017C, 0x007A, 0x0307}, {0x017D, 0x005A, 0x030C},
    {0x017E, 0x007A, 0x030C},
};

Decomposition const* FindDecomposition(char32_t composed) {
  for (auto const& d : kDecompositions)
    if (d.composed == composed) return &d;
  return nullptr;
}

Decomposition const* FindComposition(char32_t base, char32_t mark) {
  for (auto const& d : kDecompositions)
    if (d.base == base && d.mark == mark) return &d;
  return nullptr;
}

bool IsUnicodeBase(TextEncodingBase base) { return base >= 0x100 && base <= 0x10F; }

// The iconv name of a supported encoding, or nullptr.
char const* CharsetName(TextEncoding encoding) {
  constexpr bool little = std::endian::native == std::endian::little;
  TextEncodingBase const base = GetTextEncodingBase(encoding);
  if (IsUnicodeBase(base)) {
    switch (GetTextEncodingFormat(encoding)) {
      case kUnicode16BitFormat: return little ? "UTF-16LE" : "UTF-16BE";
      case kUnicodeUTF8Format: return "UTF-8";
      case kUnicode32BitFormat: return little ? "UTF-32LE" : "UTF-32BE";
      default: return nullptr;
    }
  }
  switch (base) {
    case kTextEncodingMacRoman: return "MACINTOSH";
    case kTextEncodingMacCyrillic: return "MAC-CYRILLIC";
    case kTextEncodingMacCentralEurRoman: return "MAC-CENTRALEUROPE";
    case kTextEncodingMacIcelandic: return "MAC-IS";
    case kTextEncodingMacUkrainian: return "MAC-UK";
    case kTextEncodingISOLatin1: return "ISO-8859-1";
    case kTextEncodingWindowsLatin1: return "CP1252";
    case kTextEncodingUS_ASCII: return "ASCII";
    default: return nullptr;
  }
}

constexpr char const* kPivot = "UTF-32LE";
iconv_t const kNoIconv = reinterpret_cast<iconv_t>(-1);

// One conversion path: source -> code points -> (de)composition -> target.
class Pipeline {
 public:
  Pipeline() = default;
  Pipeline(Pipeline const&) = delete;
  Pipeline& operator=(Pipeline const&) = delete;
  ~Pipeline() {
    if (mDecode != kNoIconv) iconv_close(mDecode);
    if (mEncode != kNoIconv) iconv_close(mEncode);
  }

  OSStatus Open(TextEncoding from, TextEncoding to) {
    char const* const fromName = CharsetName(from);
    char const* const toName = CharsetName(to);
    if (!fromName || !toName) return kTextUnsupportedEncodingErr;
    mDecode = iconv_open(kPivot, fromName);
    mEncode = iconv_open(toName, kPivot);
    if (mDecode == kNoIconv || mEncode == kNoIconv) return kTextUnsupportedEncodingErr;
    bool const toUnicode = IsUnicodeBase(GetTextEncodingBase(to));
    TextEncodingVariant const variant = GetTextEncodingVariant(to);
    mDecompose = toUnicode && (variant == kUnicodeCanonicalDecompVariant ||
                               variant == kUnicodeHFSPlusDecompVariant);
    // 8-bit targets hold precomposed letters only.
    mCompose = !toUnicode || variant == kUnicodeCanonicalCompVariant ||
               variant == kUnicodeHFSPlusCompVariant;
    return noErr;
  }

  OSStatus Convert(UInt8 const* in, ByteCount inLength, UInt8* out, ByteCount outLength,
                   ByteCount* read, ByteCount* written) {
    *read = 0;
    *written = 0;
    if (inLength == 0) return noErr;
    if (!in || (!out && outLength != 0)) return paramErr;
    iconv(mDecode, nullptr, nullptr, nullptr, nullptr);
    iconv(mEncode, nullptr, nullptr, nullptr, nullptr);

    struct Char {
      char32_t code;
      ByteCount end;  // source offset just past this character
    };
    std::vector<Char> chars;
    OSStatus decodeStatus = noErr;
    ByteCount at = 0;
    while (at < inLength) {
      char* inPtr = const_cast<char*>(reinterpret_cast<char const*>(in + at));
      std::size_t inLeft = inLength - at;
      unsigned char unit[4];
      char* outPtr = reinterpret_cast<char*>(unit);
      std::size_t outLeft = sizeof unit;
      std::size_t const r = iconv(mDecode, &inPtr, &inLeft, &outPtr, &outLeft);
      int const error = errno;
      ByteCount const used = (inLength - at) - inLeft;
      if (outLeft == 0) {
        at += used;
        chars.push_back({char32_t(unit[0]) | char32_t(unit[1]) << 8 | char32_t(unit[2]) << 16 |
                             char32_t(unit[3]) << 24,
                         at});
        continue;
      }
      if (r != std::size_t(-1)) break;  // the rest held no characters
      decodeStatus = error == EINVAL ? kTECPartialCharErr : kTextMalformedInputErr;
      break;
    }

    ByteCount consumed = 0;
    ByteCount produced = 0;
    for (std::size_t i = 0; i < chars.size();) {
      char32_t codes[2] = {chars[i].code, 0};
      std::size_t count = 1;
      std::size_t take = 1;
      if (mCompose && i + 1 < chars.size()) {
        if (auto const* d = FindComposition(chars[i].code, chars[i + 1].code)) {
          codes[0] = d->composed;
          take = 2;
        }
      }
      if (take == 1 && mDecompose) {
        if (auto const* d = FindDecomposition(chars[i].code)) {
          codes[0] = d->base;
          codes[1] = d->mark;
          count = 2;
        }
      }
      unsigned char encoded[32];
      std::size_t encodedLength = 0;
      for (std::size_t k = 0; k < count; ++k) {
        unsigned char unit[4] = {UInt8(codes[k]), UInt8(codes[k] >> 8), UInt8(codes[k] >> 16),
                                 UInt8(codes[k] >> 24)};
        char* inPtr = reinterpret_cast<char*>(unit);
        std::size_t inLeft = sizeof unit;
        char* outPtr = reinterpret_cast<char*>(encoded + encodedLength);
        std::size_t outLeft = sizeof encoded / 2;
        if (iconv(mEncode, &inPtr, &inLeft, &outPtr, &outLeft) == std::size_t(-1) || inLeft != 0) {
          *read = consumed;
          *written = produced;
          return kTECUnmappableElementErr;
        }
        encodedLength += sizeof encoded / 2 - outLeft;
      }
      if (produced + encodedLength > outLength) {
        *read = consumed;
        *written = produced;
        return kTECOutputBufferFullStatus;
      }
      std::memcpy(out + produced, encoded, encodedLength);
      produced += encodedLength;
      i += take;
      consumed = chars[i - 1].end;
    }
    *read = decodeStatus == noErr ? inLength : consumed;
    *written = produced;
    return decodeStatus;
  }

 private:
  iconv_t mDecode = kNoIconv;
  iconv_t mEncode = kNoIconv;
  bool mDecompose = false;
  bool mCompose = false;
};

template <typename Info>
OSStatus CreateInfo(TextEncoding from, TextEncoding to, Info** out) {
  if (!out) return paramErr;
  *out = nullptr;
  auto info = std::make_unique<Info>();
  if (OSStatus const status = info->mPipeline.Open(from, to)) return status;
  *out = info.release();
  return noErr;
}

TextEncoding DefaultUnicode() {
  return CreateTextEncoding(kTextEncodingUnicodeDefault, kUnicodeNoSubset, kUnicode16BitFormat);
}

// Region of the user's locale, from its territory ("is_IS.UTF-8" -> Iceland).
RegionCode RegionOfLocale() {
  char const* locale = std::getenv("LC_ALL");
  if (!locale || !*locale) locale = std::getenv("LANG");
  if (!locale) return verUS;
  char const* underscore = std::strchr(locale, '_');
  if (!underscore || std::strlen(underscore) < 3) return verUS;
  std::string const territory(underscore + 1, 2);
  if (territory == "FR") return verFrance;
  if (territory == "GB") return verBritain;
  if (territory == "DE") return verGermany;
  if (territory == "IS") return verIceland;
  if (territory == "UA") return verUkraine;
  return verUS;
}

}  // namespace

struct OpaqueTextToUnicodeInfo {
  Pipeline mPipeline;
};
struct OpaqueUnicodeToTextInfo {
  Pipeline mPipeline;
};
struct OpaqueTECObjectRef {
  Pipeline mPipeline;
};

TextEncoding CreateTextEncoding(TextEncodingBase base, TextEncodingVariant variant,
                                TextEncodingFormat format) {
  return (base & 0xFFFF) | ((variant & 0x3FF) << 16) | ((format & 0x3F) << 26);
}
TextEncodingBase GetTextEncodingBase(TextEncoding encoding) { return encoding & 0xFFFF; }
TextEncodingVariant GetTextEncodingVariant(TextEncoding encoding) { return (encoding >> 16) & 0x3FF; }
TextEncodingFormat GetTextEncodingFormat(TextEncoding encoding) { return (encoding >> 26) & 0x3F; }

OSStatus UpgradeScriptInfoToTextEncoding(ScriptCode iTextScriptID, LangCode /*iTextLanguageID*/,
                                         RegionCode iRegionID, ConstStr255Param /*iTextFontname*/,
                                         TextEncoding* oEncoding) {
  if (!oEncoding) return paramErr;
  ScriptCode script = iTextScriptID;
  if (script == smSystemScript || script == smCurrentScript || script == kTextScriptDontCare)
    script = smRoman;
  TextEncodingBase base;
  if (script == smUnicodeScript) {
    base = kTextEncodingUnicodeDefault;
  } else if (script >= 0 && script <= smUninterp) {
    base = TextEncodingBase(script);
    if (script == smRoman && iRegionID == verIceland) base = kTextEncodingMacIcelandic;
    if (script == smCyrillic && iRegionID == verUkraine) base = kTextEncodingMacUkrainian;
  } else {
    return paramErr;
  }
  *oEncoding = CreateTextEncoding(base, kTextEncodingDefaultVariant, kTextEncodingDefaultFormat);
  return noErr;
}

long GetScriptManagerVariable(short selector) {
  switch (selector) {
    case smRegionCode: return RegionOfLocale();
    case smSysScript: return smRoman;
    default: return 0;
  }
}

OSStatus CreateTextToUnicodeInfo(ConstUnicodeMappingPtr iUnicodeMapping,
                                 TextToUnicodeInfo* oTextToUnicodeInfo) {
  if (!iUnicodeMapping) return paramErr;
  if (!IsUnicodeBase(GetTextEncodingBase(iUnicodeMapping->unicodeEncoding))) return paramErr;
  return CreateInfo(iUnicodeMapping->otherEncoding, iUnicodeMapping->unicodeEncoding,
                    oTextToUnicodeInfo);
}

OSStatus CreateTextToUnicodeInfoByEncoding(TextEncoding iEncoding,
                                           TextToUnicodeInfo* oTextToUnicodeInfo) {
  return CreateInfo(iEncoding, DefaultUnicode(), oTextToUnicodeInfo);
}

OSStatus CreateUnicodeToTextInfo(ConstUnicodeMappingPtr iUnicodeMapping,
                                 UnicodeToTextInfo* oUnicodeToTextInfo) {
  if (!iUnicodeMapping) return paramErr;
  if (!IsUnicodeBase(GetTextEncodingBase(iUnicodeMapping->unicodeEncoding))) return paramErr;
  return CreateInfo(iUnicodeMapping->unicodeEncoding, iUnicodeMapping->otherEncoding,
                    oUnicodeToTextInfo);
}

OSStatus CreateUnicodeToTextInfoByEncoding(TextEncoding iEncoding,
                                           UnicodeToTextInfo* oUnicodeToTextInfo) {
  return CreateInfo(DefaultUnicode(), iEncoding, oUnicodeToTextInfo);
}

OSStatus DisposeTextToUnicodeInfo(TextToUnicodeInfo* ioTextToUnicodeInfo) {
  if (!ioTextToUnicodeInfo || !*ioTextToUnicodeInfo) return paramErr;
  delete *ioTextToUnicodeInfo;
  *ioTextToUnicodeInfo = nullptr;
  return noErr;
}

OSStatus DisposeUnicodeToTextInfo(UnicodeToTextInfo* ioUnicodeToTextInfo) {
  if (!ioUnicodeToTextInfo || !*ioUnicodeToTextInfo) return paramErr;
  delete *ioUnicodeToTextInfo;
  *ioUnicodeToTextInfo = nullptr;
  return noErr;
}

OSStatus ConvertFromTextToUnicode(TextToUnicodeInfo iTextToUnicodeInfo, ByteCount iSourceLen,
                                  ConstLogicalAddress iSourceStr, OptionBits /*iControlFlags*/,
                                  ItemCount /*iOffsetCount*/, ByteOffset const* /*iOffsetArray*/,
                                  ItemCount* oOffsetCount, ByteOffset* /*oOffsetArray*/,
                                  ByteCount iOutputBufLen, ByteCount* oSourceRead,
                                  ByteCount* oUnicodeLen, UniChar* oUnicodeStr) {
  if (oOffsetCount) *oOffsetCount = 0;
  if (!iTextToUnicodeInfo || !oSourceRead || !oUnicodeLen) return paramErr;
  return iTextToUnicodeInfo->mPipeline.Convert(static_cast<UInt8 const*>(iSourceStr), iSourceLen,
                                               reinterpret_cast<UInt8*>(oUnicodeStr),
                                               iOutputBufLen, oSourceRead, oUnicodeLen);
}

OSStatus ConvertFromUnicodeToText(UnicodeToTextInfo iUnicodeToTextInfo, ByteCount iUnicodeLen,
                                  UniChar const* iUnicodeStr, OptionBits /*iControlFlags*/,
                                  ItemCount /*iOffsetCount*/, ByteOffset const* /*iOffsetArray*/,
                                  ItemCount* oOffsetCount, ByteOffset* /*oOffsetArray*/,
                                  ByteCount iOutputBufLen, ByteCount* oInputRead,
                                  ByteCount* oOutputLen, LogicalAddress oOutputStr) {
  if (oOffsetCount) *oOffsetCount = 0;
  if (!iUnicodeToTextInfo || !oInputRead || !oOutputLen) return paramErr;
  return iUnicodeToTextInfo->mPipeline.Convert(reinterpret_cast<UInt8 const*>(iUnicodeStr),
                                               iUnicodeLen, static_cast<UInt8*>(oOutputStr),
                                               iOutputBufLen, oInputRead, oOutputLen);
}

OSStatus TECCreateConverter(TECObjectRef* newEncodingConverter, TextEncoding inputEncoding,
                            TextEncoding outputEncoding) {
  return CreateInfo(inputEncoding, outputEncoding, newEncodingConverter);
}

OSStatus TECConvertText(TECObjectRef encodingConverter, ConstTextPtr inputBuffer,
                        ByteCount inputBufferLength, ByteCount* actualInputLength,
                        TextPtr outputBuffer, ByteCount outputBufferLength,
                        ByteCount* actualOutputLength) {
  if (!encodingConverter || !actualInputLength || !actualOutputLength) return paramErr;
  return encodingConverter->mPipeline.Convert(inputBuffer, inputBufferLength, outputBuffer,
                                              outputBufferLength, actualInputLength,
                                              actualOutputLength);
}

OSStatus TECDisposeConverter(TECObjectRef encodingConverter) {
  if (!encodingConverter) return paramErr;
  delete encodingConverter;
  return noErr;
}
