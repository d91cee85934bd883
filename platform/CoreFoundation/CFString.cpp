// Immutable strings of UTF-16 units; 8-bit and Unicode encodings are converted with iconv.
#include "CFObject.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <iconv.h>
#include <map>
#include <mutex>
#include <string_view>

namespace {

constexpr bool kHostLittleEndian = std::endian::native == std::endian::little;
char const* const kHostUTF16 = kHostLittleEndian ? "UTF-16LE" : "UTF-16BE";
char const* const kHostUTF32 = kHostLittleEndian ? "UTF-32LE" : "UTF-32BE";

struct EncodingInfo {
  CFStringEncoding encoding;
  char const* iconvName;
  int unitBytes;  // width of one code unit, and of the terminator CFStringGetCString writes
  bool byteOrderMarked;  // unmarked UTF-16/32: a leading BOM picks the order, else host order
};

EncodingInfo const kEncodings[] = {
    {kCFStringEncodingUTF8, "UTF-8", 1, false},
    {kCFStringEncodingMacRoman, "MACINTOSH", 1, false},
    {kCFStringEncodingWindowsLatin1, "CP1252", 1, false},
    {kCFStringEncodingISOLatin1, "ISO-8859-1", 1, false},
    {kCFStringEncodingASCII, "ASCII", 1, false},
    {kCFStringEncodingUTF16, kHostUTF16, 2, true},
    {kCFStringEncodingUTF16BE, "UTF-16BE", 2, false},
    {kCFStringEncodingUTF16LE, "UTF-16LE", 2, false},
    {kCFStringEncodingUTF32, kHostUTF32, 4, true},
    {kCFStringEncodingUTF32BE, "UTF-32BE", 4, false},
    {kCFStringEncodingUTF32LE, "UTF-32LE", 4, false},
};

EncodingInfo const* FindEncoding(CFStringEncoding encoding) {
  for (EncodingInfo const& info : kEncodings)
    if (info.encoding == encoding) return &info;
  return nullptr;
}

// Whole-buffer conversion; false on any character the target cannot take or bad input.
bool Iconv(char const* to, char const* from, void const* in, std::size_t inBytes, std::string& out) {
  out.clear();
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  // Four output bytes per input byte cover every pair here (ASCII to UTF-32); grow anyway.
  out.resize(inBytes * 4 + 16);
  char* inPtr = const_cast<char*>(static_cast<char const*>(in));
  std::size_t inLeft = inBytes;
  std::size_t used = 0;
  bool fOk = true;
  bool flushing = false;
  for (;;) {
    char* outPtr = out.data() + used;
    std::size_t outLeft = out.size() - used;
    std::size_t const r = flushing ? iconv(cd, nullptr, nullptr, &outPtr, &outLeft)
                                   : iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
    used = std::size_t(outPtr - out.data());
    if (r == std::size_t(-1)) {
      if (errno == E2BIG) {
        out.resize(out.size() * 2);
        continue;
      }
      fOk = false;  // EILSEQ: not representable or malformed; EINVAL: truncated input
      break;
    }
    if (flushing) break;
    flushing = true;
  }
  iconv_close(cd);
  out.resize(fOk ? used : 0);
  return fOk;
}

UInt32 ReadUnit(UInt8 const* p, int width, bool bigEndian) {
  UInt32 v = 0;
  for (int i = 0; i < width; ++i) {
    UInt32 const byte = p[bigEndian ? i : width - 1 - i];
    v = (v << 8) | byte;
  }
  return v;
}

// glibc's MACINTOSH table puts the Apple logo (0xF0) at U+E01E; the platform's own table
// has U+F8FF, so the two are swapped on the way in and out.
constexpr char16_t kGlibcAppleLogo = 0xE01E;
constexpr char16_t kAppleLogo = 0xF8FF;

bool Decode(UInt8 const* bytes, std::size_t numBytes, CFStringEncoding encoding,
            bool externalRepresentation, std::u16string& units) {
  units.clear();
  EncodingInfo const* info = FindEncoding(encoding);
  if (!info) return false;
  char const* from = info->iconvName;
  if (info->byteOrderMarked && numBytes >= std::size_t(info->unitBytes)) {
    int const w = info->unitBytes;
    if (ReadUnit(bytes, w, true) == 0xFEFF) {
      from = w == 2 ? "UTF-16BE" : "UTF-32BE";
      bytes += w, numBytes -= w;
    } else if (ReadUnit(bytes, w, false) == 0xFEFF) {
      from = w == 2 ? "UTF-16LE" : "UTF-32LE";
      bytes += w, numBytes -= w;
    }
  }
  if (externalRepresentation && encoding == kCFStringEncodingUTF8 && numBytes >= 3 &&
      bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) {
    bytes += 3, numBytes -= 3;
  }
  std::string raw;
  if (!Iconv(kHostUTF16, from, bytes, numBytes, raw)) return false;
  units.resize(raw.size() / 2);
  std::memcpy(units.data(), raw.data(), units.size() * 2);
  if (encoding == kCFStringEncodingMacRoman) std::replace(units.begin(), units.end(), kGlibcAppleLogo, kAppleLogo);
  return true;
}

bool Encode(std::u16string_view units, CFStringEncoding encoding, std::string& out) {
  out.clear();
  EncodingInfo const* info = FindEncoding(encoding);
  if (!info) return false;
  if (encoding == kCFStringEncodingMacRoman) {
    if (units.find(kGlibcAppleLogo) != std::u16string_view::npos) return false;
    std::u16string mac(units);
    std::replace(mac.begin(), mac.end(), kAppleLogo, kGlibcAppleLogo);
    return Iconv(info->iconvName, kHostUTF16, mac.data(), mac.size() * 2, out);
  }
  return Iconv(info->iconvName, kHostUTF16, units.data(), units.size() * 2, out);
}

std::string ToUTF8Lossless(std::u16string_view units) {
  std::string out;
  if (!Encode(units, kCFStringEncodingUTF8, out)) {
    // Lone surrogates: describe them rather than fail.
    for (char16_t u : units) out += u < 0x80 ? char(u) : '?';
  }
  return out;
}

CFTypeID StringTypeID() {
  static CFTypeID const typeID = CFObjectRegisterType("CFString");
  return typeID;
}

}  // namespace

struct __CFString final : CFObject {
  __CFString() : CFObject(StringTypeID()) {}

  std::string Describe() const override {
    char head[64];
    std::snprintf(head, sizeof head, "<CFString %p>{contents = \"", static_cast<void const*>(this));
    return head + ToUTF8Lossless(mUnits) + "\"}";
  }
  bool Equals(CFObject const& other) const override {
    return mUnits == static_cast<__CFString const&>(other).mUnits;
  }

  std::u16string mUnits;
  // Strings made from 8-bit text keep those bytes, so CFStringGetCStringPtr can hand them out.
  std::string mBytes;
  CFStringEncoding mBytesEncoding = kCFStringEncodingInvalidId;
};

namespace {

__CFString const* AsString(CFStringRef s) { return CFObjectCast<__CFString const>(s, StringTypeID()); }

CFStringRef MakeString(std::u16string units) {
  auto* s = new __CFString;
  s->mUnits = std::move(units);
  return s;
}

}  // namespace

CFTypeID CFStringGetTypeID() { return StringTypeID(); }

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, UInt8 const* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
  if (numBytes < 0 || (!bytes && numBytes > 0)) return nullptr;
  std::u16string units;
  if (!Decode(bytes, std::size_t(numBytes), encoding, isExternalRepresentation, units)) return nullptr;
  auto* s = new __CFString;
  s->mUnits = std::move(units);
  if (FindEncoding(encoding)->unitBytes == 1) {
    s->mBytes.assign(reinterpret_cast<char const*>(bytes), std::size_t(numBytes));
    s->mBytesEncoding = encoding;
  }
  return s;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, char const* cString,
                                      CFStringEncoding encoding) {
  if (!cString) return nullptr;
  return CFStringCreateWithBytes(allocator, reinterpret_cast<UInt8 const*>(cString),
                                 CFIndex(std::strlen(cString)), encoding, false);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, UniChar const* chars, CFIndex numChars) {
  if (numChars < 0 || (!chars && numChars > 0)) return nullptr;
  return MakeString(std::u16string(reinterpret_cast<char16_t const*>(chars), std::size_t(numChars)));
}

CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef string) {
  // Strings are immutable: a copy is the same object.
  return AsString(string) ? static_cast<CFStringRef>(CFRetain(string)) : nullptr;
}

CFIndex CFStringGetLength(CFStringRef string) {
  __CFString const* s = AsString(string);
  return s ? CFIndex(s->mUnits.size()) : 0;
}

UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index) {
  __CFString const* s = AsString(string);
  if (!s || index < 0 || std::size_t(index) >= s->mUnits.size()) return 0;
  return s->mUnits[std::size_t(index)];
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer) {
  __CFString const* s = AsString(string);
  if (!s || !buffer || range.location < 0 || range.length <= 0) return;
  std::size_t const size = s->mUnits.size();
  std::size_t const from = std::min(std::size_t(range.location), size);
  std::size_t const count = std::min(std::size_t(range.length), size - from);
  std::memcpy(buffer, s->mUnits.data() + from, count * sizeof(UniChar));
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
  __CFString const* s = AsString(string);
  EncodingInfo const* info = FindEncoding(encoding);
  if (!buffer || bufferSize <= 0) return false;
  buffer[0] = 0;
  if (!s || !info) return false;
  std::string bytes;
  if (!Encode(s->mUnits, encoding, bytes)) return false;
  std::size_t const terminator = std::size_t(info->unitBytes);
  if (bytes.size() + terminator > std::size_t(bufferSize)) return false;
  std::memcpy(buffer, bytes.data(), bytes.size());
  std::memset(buffer + bytes.size(), 0, terminator);
  return true;
}

char const* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding) {
  __CFString const* s = AsString(string);
  if (!s || s->mBytesEncoding == kCFStringEncodingInvalidId) return nullptr;
  if (s->mBytesEncoding == encoding && s->mBytes.find('\0') == std::string::npos)
    return s->mBytes.c_str();
  // Plain ASCII bytes read the same in every 8-bit encoding kept here.
  EncodingInfo const* info = FindEncoding(encoding);
  bool const ascii = std::all_of(s->mBytes.begin(), s->mBytes.end(),
                                 [](char c) { return c > 0 && static_cast<unsigned char>(c) < 0x80; });
  return ascii && info && info->unitBytes == 1 ? s->mBytes.c_str() : nullptr;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
  if (length < 0) return kCFNotFound;
  CFIndex perUnit = 1;
  switch (encoding) {
    case kCFStringEncodingUTF8: perUnit = 3; break;
    case kCFStringEncodingUTF16: case kCFStringEncodingUTF16BE: case kCFStringEncodingUTF16LE:
      perUnit = 2; break;
    case kCFStringEncodingUTF32: case kCFStringEncodingUTF32BE: case kCFStringEncodingUTF32LE:
      perUnit = 4; break;
    case kCFStringEncodingNonLossyASCII: perUnit = 6; break;  // "\uXXXX" per unit
    default: perUnit = 1; break;
  }
  if (length > LONG_MAX / perUnit) return kCFNotFound;
  return length * perUnit;
}

Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding) { return FindEncoding(encoding) != nullptr; }

namespace {
// Case folding for case-insensitive compares: ASCII and the Latin-1 letters.
char16_t Fold(char16_t u) {
  if (u >= u'A' && u <= u'Z') return char16_t(u + 0x20);
  if (u >= 0xC0 && u <= 0xDE && u != 0xD7) return char16_t(u + 0x20);
  return u;
}
}  // namespace

CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b, CFStringCompareFlags options) {
  __CFString const* sa = AsString(a);
  __CFString const* sb = AsString(b);
  std::u16string_view const va = sa ? std::u16string_view(sa->mUnits) : std::u16string_view();
  std::u16string_view const vb = sb ? std::u16string_view(sb->mUnits) : std::u16string_view();
  bool const fold = (options & kCFCompareCaseInsensitive) != 0;
  std::size_t const n = std::min(va.size(), vb.size());
  for (std::size_t i = 0; i < n; ++i) {
    char16_t const ca = fold ? Fold(va[i]) : va[i];
    char16_t const cb = fold ? Fold(vb[i]) : vb[i];
    if (ca != cb) return ca < cb ? kCFCompareLessThan : kCFCompareGreaterThan;
  }
  if (va.size() == vb.size()) return kCFCompareEqualTo;
  return va.size() < vb.size() ? kCFCompareLessThan : kCFCompareGreaterThan;
}

CFStringRef __CFStringMakeConstantString(char const* utf8) {
  if (!utf8) return nullptr;
  struct Table {
    std::mutex mLock;
    std::map<std::string, __CFString*, std::less<>> mStrings;
  };
  // Constants live for the whole process, so the table is never destroyed.
  static Table& table = *new Table;
  std::lock_guard<std::mutex> lock(table.mLock);
  if (auto const it = table.mStrings.find(std::string_view(utf8)); it != table.mStrings.end())
    return it->second;
  std::u16string units;
  std::size_t const size = std::strlen(utf8);
  // A literal that is not UTF-8 is read byte for byte rather than lost.
  if (!Decode(reinterpret_cast<UInt8 const*>(utf8), size, kCFStringEncodingUTF8, false, units))
    Decode(reinterpret_cast<UInt8 const*>(utf8), size, kCFStringEncodingISOLatin1, false, units);
  auto* s = new __CFString;
  s->mImmortal = true;
  s->mUnits = std::move(units);
  s->mBytes = utf8;
  s->mBytesEncoding = kCFStringEncodingUTF8;
  table.mStrings.emplace(utf8, s);
  return s;
}
