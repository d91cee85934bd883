#include "CFTestRef.h"
#include "CoreFoundation.h"
#include "TestLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>
#include <unistd.h>
#include <vector>

using tavelo_test::Ref;

namespace {

CFStringRef Make(char const* utf8) { return CFStringCreateWithCString(nullptr, utf8, kCFStringEncodingUTF8); }

std::u16string Units(CFStringRef s) {
  std::u16string units(std::size_t(CFStringGetLength(s)), u'\0');
  CFStringGetCharacters(s, CFRangeMake(0, CFIndex(units.size())), reinterpret_cast<UniChar*>(units.data()));
  return units;
}

int TerminatorWidth(CFStringEncoding encoding) {
  switch (encoding) {
    case kCFStringEncodingUTF16: case kCFStringEncodingUTF16BE: case kCFStringEncodingUTF16LE: return 2;
    case kCFStringEncodingUTF32: case kCFStringEncodingUTF32BE: case kCFStringEncodingUTF32LE: return 4;
    default: return 1;
  }
}

// The whole string in an encoding, or "<fail>". The buffer is pre-filled with 0x7f
// (absent from the texts used here) so the converted bytes and terminator can be found.
std::string Bytes(CFStringRef s, CFStringEncoding encoding, CFIndex extra = 4) {
  CFIndex const size = CFStringGetMaximumSizeForEncoding(CFStringGetLength(s), encoding) + extra;
  std::string buffer(std::size_t(size), '\x7f');
  if (!CFStringGetCString(s, buffer.data(), size, encoding)) return "<fail>";
  std::size_t used = buffer.size();
  while (used > 0 && buffer[used - 1] == '\x7f') --used;
  std::size_t const width = std::size_t(TerminatorWidth(encoding));
  if (used < width || buffer.compare(used - width, width, std::string(width, '\0')) != 0) return "<no terminator>";
  return buffer.substr(0, used - width);
}

std::string Text(CFStringRef s) { return Bytes(s, kCFStringEncodingUTF8); }

struct EncodingCase {
  CFStringEncoding encoding;
  std::string bytes;  // "é€" or as much of it as the encoding has
  std::u16string units;
};

}  // namespace

TEST(CoreFoundation, RetainReleaseCountsAndFrees) {
  CFStringRef s = Make("abc");
  ASSERT_NE(nullptr, s);
  EXPECT_EQ(1, CFGetRetainCount(s));
  EXPECT_EQ(s, CFRetain(s));
  EXPECT_EQ(2, CFGetRetainCount(s));
  CFRelease(s);
  EXPECT_EQ(1, CFGetRetainCount(s));
  CFRelease(s);  // frees: the leak checker of the sanitizer build sees it otherwise
  CFRelease(nullptr);
  EXPECT_EQ(0, CFGetRetainCount(nullptr));
}

TEST(CoreFoundation, ConstantStringsAreInternedAndNeverFreed) {
  CFStringRef a = CFSTR("tavelo constant");
  CFStringRef b = CFSTR("tavelo constant");
  EXPECT_EQ(a, b);
  CFIndex const count = CFGetRetainCount(a);
  CFRelease(a);
  CFRelease(a);
  CFRetain(a);
  EXPECT_EQ(count, CFGetRetainCount(a));
  EXPECT_EQ("tavelo constant", Text(a));
  EXPECT_STREQ("tavelo constant", CFStringGetCStringPtr(a, kCFStringEncodingUTF8));
  EXPECT_NE(CFSTR("other"), a);
}

TEST(CoreFoundation, TypeIdsAndDescriptions) {
  Ref s(Make("x"));
  int const i = 42;
  Ref n(CFNumberCreate(nullptr, kCFNumberIntType, &i));
  Ref u(CFURLCreateWithFileSystemPath(nullptr, CFSTR("/tmp"), kCFURLPOSIXPathStyle, true));
  EXPECT_EQ(CFStringGetTypeID(), CFGetTypeID(s.mRef));
  EXPECT_EQ(CFNumberGetTypeID(), CFGetTypeID(n.mRef));
  EXPECT_EQ(CFURLGetTypeID(), CFGetTypeID(u.mRef));
  EXPECT_NE(CFStringGetTypeID(), CFNumberGetTypeID());
  EXPECT_NE(CFURLGetTypeID(), CFBundleGetTypeID());

  Ref ts(CFCopyTypeIDDescription(CFStringGetTypeID()));
  Ref tn(CFCopyTypeIDDescription(CFNumberGetTypeID()));
  Ref tu(CFCopyTypeIDDescription(CFURLGetTypeID()));
  Ref tb(CFCopyTypeIDDescription(CFBundleGetTypeID()));
  EXPECT_EQ("CFString", Text(ts.as<CFStringRef>()));
  EXPECT_EQ("CFNumber", Text(tn.as<CFStringRef>()));
  EXPECT_EQ("CFURL", Text(tu.as<CFStringRef>()));
  EXPECT_EQ("CFBundle", Text(tb.as<CFStringRef>()));
  EXPECT_EQ(nullptr, CFCopyTypeIDDescription(0));
  EXPECT_EQ(nullptr, CFCopyTypeIDDescription(100000));

  Ref ds(CFCopyDescription(s.mRef));
  Ref dn(CFCopyDescription(n.mRef));
  Ref du(CFCopyDescription(u.mRef));
  EXPECT_THAT(Text(ds.as<CFStringRef>()), testing::MatchesRegex("<CFString 0x[0-9a-f]+>\\{contents = \"x\"\\}"));
  EXPECT_THAT(Text(dn.as<CFStringRef>()),
              testing::MatchesRegex("<CFNumber 0x[0-9a-f]+>\\{value = \\+42, type = kCFNumberSInt32Type\\}"));
  EXPECT_THAT(Text(du.as<CFStringRef>()),
              testing::MatchesRegex("<CFURL 0x[0-9a-f]+>\\{string = file:///tmp/, base = \\(null\\)\\}"));
  EXPECT_EQ(nullptr, CFCopyDescription(nullptr));
}

TEST(CoreFoundation, EveryEncodingBothWays) {
  // "é€": U+00E9 U+20AC.
  std::vector<EncodingCase> const cases = {
      {kCFStringEncodingUTF8, "\xC3\xA9\xE2\x82\xAC", u"\u00E9\u20AC"},
      {kCFStringEncodingMacRoman, "\x8E\xDB", u"\u00E9\u20AC"},
      {kCFStringEncodingWindowsLatin1, "\xE9\x80", u"\u00E9\u20AC"},
      {kCFStringEncodingISOLatin1, "\xE9", u"\u00E9"},
      {kCFStringEncodingASCII, "Ab", u"Ab"},
      {kCFStringEncodingUTF16BE, std::string("\x00\xE9\x20\xAC", 4), u"\u00E9\u20AC"},
      {kCFStringEncodingUTF16LE, std::string("\xE9\x00\xAC\x20", 4), u"\u00E9\u20AC"},
      {kCFStringEncodingUTF16, std::string("\xE9\x00\xAC\x20", 4), u"\u00E9\u20AC"},  // host order
      {kCFStringEncodingUTF32BE, std::string("\x00\x00\x00\xE9\x00\x00\x20\xAC", 8), u"\u00E9\u20AC"},
      {kCFStringEncodingUTF32LE, std::string("\xE9\x00\x00\x00\xAC\x20\x00\x00", 8), u"\u00E9\u20AC"},
      {kCFStringEncodingUTF32, std::string("\xE9\x00\x00\x00\xAC\x20\x00\x00", 8), u"\u00E9\u20AC"},
  };
  for (EncodingCase const& c : cases) {
    SCOPED_TRACE(c.encoding);
    EXPECT_TRUE(CFStringIsEncodingAvailable(c.encoding));
    Ref s(CFStringCreateWithBytes(nullptr, reinterpret_cast<UInt8 const*>(c.bytes.data()),
                                  CFIndex(c.bytes.size()), c.encoding, false));
    ASSERT_NE(nullptr, s.mRef);
    EXPECT_EQ(c.units, Units(s.as<CFStringRef>()));
    Ref back(CFStringCreateWithCharacters(nullptr, reinterpret_cast<UniChar const*>(c.units.data()),
                                          CFIndex(c.units.size())));
    EXPECT_EQ(c.bytes, Bytes(back.as<CFStringRef>(), c.encoding));
  }
}

TEST(CoreFoundation, MacRomanAppleLogoIsTheUsualPrivateUseCharacter) {
  Ref s(CFStringCreateWithCString(nullptr, "\xF0", kCFStringEncodingMacRoman));
  EXPECT_EQ(u"\uF8FF", Units(s.as<CFStringRef>()));
  EXPECT_EQ("\xF0", Bytes(s.as<CFStringRef>(), kCFStringEncodingMacRoman));
  UniChar const other[] = {0xE01E};
  Ref t(CFStringCreateWithCharacters(nullptr, other, 1));
  EXPECT_EQ("<fail>", Bytes(t.as<CFStringRef>(), kCFStringEncodingMacRoman));
}

TEST(CoreFoundation, UnicodeByteOrderMarksOnlyForTheUnmarkedForms) {
  std::string const be("\xFE\xFF\x00\x41", 4);
  Ref a(CFStringCreateWithBytes(nullptr, reinterpret_cast<UInt8 const*>(be.data()), 4, kCFStringEncodingUTF16, true));
  EXPECT_EQ(u"A", Units(a.as<CFStringRef>()));
  Ref b(CFStringCreateWithBytes(nullptr, reinterpret_cast<UInt8 const*>(be.data()), 4, kCFStringEncodingUTF16BE, true));
  EXPECT_EQ(u"\uFEFFA", Units(b.as<CFStringRef>()));
  std::string const utf8("\xEF\xBB\xBFx", 4);
  Ref c(CFStringCreateWithBytes(nullptr, reinterpret_cast<UInt8 const*>(utf8.data()), 4, kCFStringEncodingUTF8, true));
  EXPECT_EQ(u"x", Units(c.as<CFStringRef>()));
}

TEST(CoreFoundation, UnrepresentableOrMalformedTextFails) {
  Ref euro(Make("\xE2\x82\xAC"));
  EXPECT_EQ("<fail>", Bytes(euro.as<CFStringRef>(), kCFStringEncodingASCII));
  EXPECT_EQ("<fail>", Bytes(euro.as<CFStringRef>(), kCFStringEncodingISOLatin1));
  Ref cjk(Make("\xE6\x97\xA5"));
  EXPECT_EQ("<fail>", Bytes(cjk.as<CFStringRef>(), kCFStringEncodingMacRoman));
  EXPECT_EQ("<fail>", Bytes(cjk.as<CFStringRef>(), kCFStringEncodingWindowsLatin1));
  EXPECT_EQ(nullptr, CFStringCreateWithCString(nullptr, "\xC3(", kCFStringEncodingUTF8));
  EXPECT_EQ(nullptr, CFStringCreateWithCString(nullptr, "\x80", kCFStringEncodingASCII));
  EXPECT_EQ(nullptr, CFStringCreateWithCString(nullptr, nullptr, kCFStringEncodingUTF8));
  UniChar const lone[] = {0xD800};
  Ref surrogate(CFStringCreateWithCharacters(nullptr, lone, 1));
  EXPECT_EQ("<fail>", Bytes(surrogate.as<CFStringRef>(), kCFStringEncodingUTF8));
}

TEST(CoreFoundation, GetCStringNeedsRoomForTheTerminator) {
  Ref s(Make("abc"));
  char buffer[8];
  std::memset(buffer, 'x', sizeof buffer);
  EXPECT_FALSE(CFStringGetCString(s.as<CFStringRef>(), buffer, 3, kCFStringEncodingUTF8));
  EXPECT_TRUE(CFStringGetCString(s.as<CFStringRef>(), buffer, 4, kCFStringEncodingUTF8));
  EXPECT_STREQ("abc", buffer);
  // UTF-16 ends with a two-byte terminator.
  EXPECT_FALSE(CFStringGetCString(s.as<CFStringRef>(), buffer, 7, kCFStringEncodingUTF16LE));
  EXPECT_TRUE(CFStringGetCString(s.as<CFStringRef>(), buffer, 8, kCFStringEncodingUTF16LE));
  EXPECT_EQ(0, std::memcmp("a\0b\0c\0\0\0", buffer, 8));
}

TEST(CoreFoundation, MaximumSizeForEncoding) {
  EXPECT_EQ(30, CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF8));
  EXPECT_EQ(10, CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingMacRoman));
  EXPECT_EQ(10, CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingWindowsLatin1));
  EXPECT_EQ(10, CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingISOLatin1));
  EXPECT_EQ(10, CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingASCII));
  EXPECT_EQ(20, CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF16));
  EXPECT_EQ(20, CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF16BE));
  EXPECT_EQ(20, CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF16LE));
  EXPECT_EQ(40, CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF32));
  EXPECT_EQ(40, CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF32BE));
  EXPECT_EQ(40, CFStringGetMaximumSizeForEncoding(10, kCFStringEncodingUTF32LE));
  EXPECT_EQ(kCFNotFound, CFStringGetMaximumSizeForEncoding(std::numeric_limits<CFIndex>::max() / 2,
                                                           kCFStringEncodingUTF8));
}

TEST(CoreFoundation, NextStepAndNonLossyAsciiAreUnavailable) {
  EXPECT_FALSE(CFStringIsEncodingAvailable(kCFStringEncodingNextStepLatin));
  EXPECT_FALSE(CFStringIsEncodingAvailable(kCFStringEncodingNonLossyASCII));
  EXPECT_EQ(nullptr, CFStringCreateWithCString(nullptr, "a", kCFStringEncodingNextStepLatin));
  Ref s(Make("a"));
  EXPECT_EQ("<fail>", Bytes(s.as<CFStringRef>(), kCFStringEncodingNonLossyASCII));
}

TEST(CoreFoundation, StringAccessCompareAndEquality) {
  Ref s(Make("h\xC3\xA9llo"));
  EXPECT_EQ(5, CFStringGetLength(s.as<CFStringRef>()));
  EXPECT_EQ(0xE9, CFStringGetCharacterAtIndex(s.as<CFStringRef>(), 1));
  EXPECT_EQ(0, CFStringGetCharacterAtIndex(s.as<CFStringRef>(), 5));
  EXPECT_STREQ("h\xC3\xA9llo", CFStringGetCStringPtr(s.as<CFStringRef>(), kCFStringEncodingUTF8));
  EXPECT_EQ(nullptr, CFStringGetCStringPtr(s.as<CFStringRef>(), kCFStringEncodingMacRoman));
  Ref copy(CFStringCreateCopy(nullptr, s.as<CFStringRef>()));
  EXPECT_TRUE(CFEqual(s.mRef, copy.mRef));
  Ref other(Make("h\xC3\xA9llo"));
  EXPECT_TRUE(CFEqual(s.mRef, other.mRef));
  Ref upper(Make("H\xC3\x89LLO"));
  EXPECT_FALSE(CFEqual(s.mRef, upper.mRef));
  EXPECT_EQ(kCFCompareGreaterThan, CFStringCompare(s.as<CFStringRef>(), upper.as<CFStringRef>(), 0));
  EXPECT_EQ(kCFCompareEqualTo,
            CFStringCompare(s.as<CFStringRef>(), upper.as<CFStringRef>(), kCFCompareCaseInsensitive));
  EXPECT_EQ(kCFCompareLessThan, CFStringCompare(CFSTR("ab"), CFSTR("abc"), 0));
  int const one = 1;
  Ref n(CFNumberCreate(nullptr, kCFNumberIntType, &one));
  EXPECT_FALSE(CFEqual(s.mRef, n.mRef));
  // Type-checked: a number is not a string.
  EXPECT_EQ(0, CFStringGetLength(n.as<CFStringRef>()));
}

TEST(CoreFoundation, NumbersKeepCanonicalTypes) {
  char const c = -5;
  short const sh = -300;
  long const l = 1L << 40;
  float const f = 1.5f;
  double const d = 2.25;
  Ref nc(CFNumberCreate(nullptr, kCFNumberCharType, &c));
  Ref ns(CFNumberCreate(nullptr, kCFNumberShortType, &sh));
  Ref nl(CFNumberCreate(nullptr, kCFNumberLongType, &l));
  Ref nf(CFNumberCreate(nullptr, kCFNumberFloatType, &f));
  Ref nd(CFNumberCreate(nullptr, kCFNumberCGFloatType, &d));
  EXPECT_EQ(kCFNumberSInt8Type, CFNumberGetType(nc.as<CFNumberRef>()));
  EXPECT_EQ(kCFNumberSInt16Type, CFNumberGetType(ns.as<CFNumberRef>()));
  EXPECT_EQ(kCFNumberSInt64Type, CFNumberGetType(nl.as<CFNumberRef>()));
  EXPECT_EQ(kCFNumberFloat32Type, CFNumberGetType(nf.as<CFNumberRef>()));
  EXPECT_EQ(kCFNumberFloat64Type, CFNumberGetType(nd.as<CFNumberRef>()));
  EXPECT_EQ(nullptr, CFNumberCreate(nullptr, CFNumberType(99), &c));
  EXPECT_EQ(nullptr, CFNumberCreate(nullptr, kCFNumberIntType, nullptr));
}

TEST(CoreFoundation, EveryNumberTypeRoundTrips) {
  for (CFIndex t = kCFNumberSInt8Type; t <= kCFNumberCGFloatType; ++t) {
    SCOPED_TRACE(t);
    auto const type = CFNumberType(t);
    unsigned char in[8] = {};
    unsigned char out[8];
    std::memset(out, 0xAA, sizeof out);
    bool const isFloat = type == kCFNumberFloat32Type || type == kCFNumberFloatType;
    bool const isDouble = type == kCFNumberFloat64Type || type == kCFNumberDoubleType || type == kCFNumberCGFloatType;
    std::size_t width = 8;
    if (isFloat) { float const v = -7.5f; std::memcpy(in, &v, 4); width = 4; }
    else if (isDouble) { double const v = -7.5; std::memcpy(in, &v, 8); }
    else if (type == kCFNumberSInt8Type || type == kCFNumberCharType) { in[0] = 0xF9; width = 1; }
    else if (type == kCFNumberSInt16Type || type == kCFNumberShortType) { SInt16 const v = -7; std::memcpy(in, &v, 2); width = 2; }
    else if (type == kCFNumberSInt32Type || type == kCFNumberIntType) { SInt32 const v = -7; std::memcpy(in, &v, 4); width = 4; }
    else { SInt64 const v = -7; std::memcpy(in, &v, 8); }
    Ref n(CFNumberCreate(nullptr, type, in));
    ASSERT_NE(nullptr, n.mRef);
    EXPECT_TRUE(CFNumberGetValue(n.as<CFNumberRef>(), type, out));
    EXPECT_EQ(0, std::memcmp(in, out, width));
    double asDouble = 0;
    EXPECT_TRUE(CFNumberGetValue(n.as<CFNumberRef>(), kCFNumberDoubleType, &asDouble));
    EXPECT_EQ(isFloat || isDouble ? -7.5 : -7.0, asDouble);
  }
}

TEST(CoreFoundation, LossyNumberConversionsReportFalseAndStillWrite) {
  SInt32 const big = 300;
  Ref n(CFNumberCreate(nullptr, kCFNumberSInt32Type, &big));
  SInt8 small = 0;
  EXPECT_FALSE(CFNumberGetValue(n.as<CFNumberRef>(), kCFNumberSInt8Type, &small));
  EXPECT_EQ(127, small);  // clipped
  SInt16 mid = 0;
  EXPECT_TRUE(CFNumberGetValue(n.as<CFNumberRef>(), kCFNumberSInt16Type, &mid));
  EXPECT_EQ(300, mid);

  double const frac = 2.75;
  Ref f(CFNumberCreate(nullptr, kCFNumberDoubleType, &frac));
  int i = 0;
  EXPECT_FALSE(CFNumberGetValue(f.as<CFNumberRef>(), kCFNumberIntType, &i));
  EXPECT_EQ(2, i);
  double const huge = 1e300;
  Ref h(CFNumberCreate(nullptr, kCFNumberDoubleType, &huge));
  float fl = 0;
  EXPECT_FALSE(CFNumberGetValue(h.as<CFNumberRef>(), kCFNumberFloatType, &fl));
  EXPECT_EQ(std::numeric_limits<float>::max(), fl);
  SInt64 i64 = 0;
  EXPECT_FALSE(CFNumberGetValue(h.as<CFNumberRef>(), kCFNumberSInt64Type, &i64));
  EXPECT_EQ(std::numeric_limits<SInt64>::max(), i64);
  double const nan = std::nan("");
  Ref nn(CFNumberCreate(nullptr, kCFNumberDoubleType, &nan));
  EXPECT_FALSE(CFNumberGetValue(nn.as<CFNumberRef>(), kCFNumberIntType, &i));
  EXPECT_EQ(0, i);
  double const third = 1.0 / 3.0;
  Ref t(CFNumberCreate(nullptr, kCFNumberDoubleType, &third));
  EXPECT_FALSE(CFNumberGetValue(t.as<CFNumberRef>(), kCFNumberFloatType, &fl));
  EXPECT_EQ(float(third), fl);

  SInt64 const odd = (SInt64(1) << 53) + 1;  // no double holds it
  Ref o(CFNumberCreate(nullptr, kCFNumberSInt64Type, &odd));
  double d = 0;
  EXPECT_FALSE(CFNumberGetValue(o.as<CFNumberRef>(), kCFNumberDoubleType, &d));
  EXPECT_EQ(double(odd), d);
  SInt64 const negative = -129;
  Ref ng(CFNumberCreate(nullptr, kCFNumberSInt64Type, &negative));
  EXPECT_FALSE(CFNumberGetValue(ng.as<CFNumberRef>(), kCFNumberSInt8Type, &small));
  EXPECT_EQ(-128, small);
  EXPECT_FALSE(CFNumberGetValue(ng.as<CFNumberRef>(), CFNumberType(0), &small));
}

TEST(CoreFoundation, NumbersEqualByValue) {
  int const i = 2;
  double const d = 2.0;
  double const e = 2.5;
  Ref a(CFNumberCreate(nullptr, kCFNumberIntType, &i));
  Ref b(CFNumberCreate(nullptr, kCFNumberDoubleType, &d));
  Ref c(CFNumberCreate(nullptr, kCFNumberDoubleType, &e));
  EXPECT_TRUE(CFEqual(a.mRef, b.mRef));
  EXPECT_FALSE(CFEqual(a.mRef, c.mRef));
}

namespace {
std::string PathOf(CFURLRef url) {
  Ref path(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle));
  return path.mRef ? Text(path.as<CFStringRef>()) : "<null>";
}
}  // namespace

TEST(CoreFoundation, FileUrlsKeepTheDirectoryFlag) {
  Ref dir(CFURLCreateWithFileSystemPath(nullptr, CFSTR("/tmp/a"), kCFURLPOSIXPathStyle, true));
  Ref file(CFURLCreateWithFileSystemPath(nullptr, CFSTR("/tmp/a/"), kCFURLPOSIXPathStyle, false));
  EXPECT_TRUE(CFURLHasDirectoryPath(dir.as<CFURLRef>()));
  EXPECT_FALSE(CFURLHasDirectoryPath(file.as<CFURLRef>()));
  EXPECT_EQ("/tmp/a", PathOf(dir.as<CFURLRef>()));
  EXPECT_EQ("/tmp/a", PathOf(file.as<CFURLRef>()));
  EXPECT_FALSE(CFEqual(dir.mRef, file.mRef));
  Ref root(CFURLCreateWithFileSystemPath(nullptr, CFSTR("/"), kCFURLPOSIXPathStyle, true));
  EXPECT_EQ("/", PathOf(root.as<CFURLRef>()));
  EXPECT_EQ(nullptr, CFURLCreateWithFileSystemPath(nullptr, CFSTR(""), kCFURLPOSIXPathStyle, false));
  EXPECT_EQ(nullptr, CFURLCreateWithFileSystemPath(nullptr, nullptr, kCFURLPOSIXPathStyle, false));
}

TEST(CoreFoundation, AppendingAndDeletingPathComponents) {
  Ref base(CFURLCreateWithFileSystemPath(nullptr, CFSTR("/usr/lib"), kCFURLPOSIXPathStyle, true));
  Ref file(CFURLCreateCopyAppendingPathComponent(nullptr, base.as<CFURLRef>(), CFSTR("libc.so.6"), false));
  EXPECT_EQ("/usr/lib/libc.so.6", PathOf(file.as<CFURLRef>()));
  EXPECT_FALSE(CFURLHasDirectoryPath(file.as<CFURLRef>()));
  Ref sub(CFURLCreateCopyAppendingPathComponent(nullptr, file.as<CFURLRef>(), CFSTR("x y"), true));
  EXPECT_EQ("/usr/lib/libc.so.6/x y", PathOf(sub.as<CFURLRef>()));
  EXPECT_TRUE(CFURLHasDirectoryPath(sub.as<CFURLRef>()));
  Ref up(CFURLCreateCopyDeletingLastPathComponent(nullptr, sub.as<CFURLRef>()));
  EXPECT_EQ("/usr/lib/libc.so.6", PathOf(up.as<CFURLRef>()));
  EXPECT_TRUE(CFURLHasDirectoryPath(up.as<CFURLRef>()));
  Ref up2(CFURLCreateCopyDeletingLastPathComponent(nullptr, up.as<CFURLRef>()));
  EXPECT_EQ("/usr/lib", PathOf(up2.as<CFURLRef>()));
  Ref top(CFURLCreateWithFileSystemPath(nullptr, CFSTR("/usr"), kCFURLPOSIXPathStyle, false));
  Ref root(CFURLCreateCopyDeletingLastPathComponent(nullptr, top.as<CFURLRef>()));
  EXPECT_EQ("/", PathOf(root.as<CFURLRef>()));
  Ref stillRoot(CFURLCreateCopyDeletingLastPathComponent(nullptr, root.as<CFURLRef>()));
  EXPECT_EQ("/", PathOf(stillRoot.as<CFURLRef>()));
  Ref described(CFCopyDescription(sub.mRef));
  EXPECT_NE(std::string::npos, Text(described.as<CFStringRef>()).find("file:///usr/lib/libc.so.6/x%20y/"));
}

TEST(CoreFoundation, FileSystemRepresentationAndRelativePaths) {
  UInt8 buffer[1024];
  std::string const rel = "sub/file";
  Ref url(CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<UInt8 const*>(rel.data()),
                                                  CFIndex(rel.size()), false));
  EXPECT_EQ("sub/file", PathOf(url.as<CFURLRef>()));
  ASSERT_TRUE(CFURLGetFileSystemRepresentation(url.as<CFURLRef>(), false, buffer, sizeof buffer));
  EXPECT_STREQ("sub/file", reinterpret_cast<char const*>(buffer));
  char cwd[1024];
  ASSERT_NE(nullptr, ::getcwd(cwd, sizeof cwd));
  ASSERT_TRUE(CFURLGetFileSystemRepresentation(url.as<CFURLRef>(), true, buffer, sizeof buffer));
  EXPECT_EQ(std::string(cwd) + "/sub/file", reinterpret_cast<char const*>(buffer));
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(url.as<CFURLRef>(), false, buffer, 8));
  EXPECT_TRUE(CFURLGetFileSystemRepresentation(url.as<CFURLRef>(), false, buffer, 9));
}

TEST(CoreFoundation, UrlsAndFileReferences) {
  std::string const dir = tavelo_test::MakeTempDir("cfurl");
  std::ofstream(dir + "/pic.png") << "x";
  FSRef ref{};
  ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>(dir.c_str()), &ref, nullptr));
  Ref url(CFURLCreateFromFSRef(nullptr, &ref));
  ASSERT_NE(nullptr, url.mRef);
  EXPECT_TRUE(CFURLHasDirectoryPath(url.as<CFURLRef>()));
  EXPECT_EQ(dir, PathOf(url.as<CFURLRef>()));
  CFStringRef name = CFStringCreateWithCString(nullptr, "pic.png", kCFStringEncodingUTF8);
  Ref file(CFURLCreateCopyAppendingPathComponent(nullptr, url.as<CFURLRef>(), name, false));
  CFRelease(name);
  FSRef fileRef{};
  ASSERT_TRUE(CFURLGetFSRef(file.as<CFURLRef>(), &fileRef));
  EXPECT_EQ(dir + "/pic.png", fileRef.path);
  Ref missing(CFURLCreateCopyAppendingPathComponent(nullptr, url.as<CFURLRef>(), CFSTR("none"), false));
  EXPECT_FALSE(CFURLGetFSRef(missing.as<CFURLRef>(), &fileRef));
  FSRef zero{};
  EXPECT_EQ(nullptr, CFURLCreateFromFSRef(nullptr, &zero));
  EXPECT_EQ(nullptr, CFURLCreateFromFSRef(nullptr, nullptr));
}
