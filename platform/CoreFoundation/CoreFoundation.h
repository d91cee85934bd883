// A small reference-counted object model for platform strings, numbers, URLs and bundles,
// with the call names and signatures the library is written against. Strings keep UTF-16
// text; conversions to 8-bit encodings go through iconv.
#pragma once

#include "MacTypes.h"
#include "Files.h"

#include <cstddef>

using CFIndex = long;
using CFTypeID = unsigned long;
using CFOptionFlags = unsigned long;
using CFHashCode = unsigned long;
constexpr CFIndex kCFNotFound = -1;

struct CFRange {
  CFIndex location;
  CFIndex length;
};
inline CFRange CFRangeMake(CFIndex location, CFIndex length) { return CFRange{location, length}; }

using CFTypeRef = void const*;
using CFStringRef = struct __CFString const*;
using CFMutableStringRef = struct __CFString*;
using CFNumberRef = struct __CFNumber const*;
using CFURLRef = struct __CFURL const*;
using CFBundleRef = struct __CFBundle*;
using CFAllocatorRef = struct __CFAllocator const*;

// Allocators are accepted for the sake of the call shapes; all memory comes from the heap.
inline CFAllocatorRef const kCFAllocatorDefault = nullptr;
inline CFAllocatorRef const kCFAllocatorSystemDefault = nullptr;

// Reference counting common to every object. CFRelease of null is a caller error and is
// ignored here.
CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFIndex CFGetRetainCount(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
Boolean CFEqual(CFTypeRef a, CFTypeRef b);
CFStringRef CFCopyDescription(CFTypeRef object);      // new string, caller releases
CFStringRef CFCopyTypeIDDescription(CFTypeID typeID);  // "CFString", "CFNumber", ...

// Strings.
using CFStringEncoding = UInt32;
enum CFStringBuiltInEncodings : UInt32 {
  kCFStringEncodingMacRoman = 0,
  kCFStringEncodingWindowsLatin1 = 0x0500,
  kCFStringEncodingISOLatin1 = 0x0201,
  kCFStringEncodingNextStepLatin = 0x0B01,
  kCFStringEncodingASCII = 0x0600,
  kCFStringEncodingUnicode = 0x0100,
  kCFStringEncodingUTF8 = 0x08000100,
  kCFStringEncodingNonLossyASCII = 0x0BFF,
  kCFStringEncodingUTF16 = 0x0100,
  kCFStringEncodingUTF16BE = 0x10000100,
  kCFStringEncodingUTF16LE = 0x14000100,
  kCFStringEncodingUTF32 = 0x0c000100,
  kCFStringEncodingUTF32BE = 0x18000100,
  kCFStringEncodingUTF32LE = 0x1c000100,
};
constexpr CFStringEncoding kCFStringEncodingInvalidId = 0xffffffffU;

enum CFComparisonResult : CFIndex {
  kCFCompareLessThan = -1,
  kCFCompareEqualTo = 0,
  kCFCompareGreaterThan = 1,
};
using CFStringCompareFlags = CFOptionFlags;
constexpr CFStringCompareFlags kCFCompareCaseInsensitive = 1;

CFTypeID CFStringGetTypeID();
CFStringRef CFStringCreateWithCString(CFAllocatorRef, char const* cString, CFStringEncoding encoding);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef, UInt8 const* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, UniChar const* chars, CFIndex numChars);
CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef string);
CFIndex CFStringGetLength(CFStringRef string);  // UTF-16 units
UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index);
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);
// Whole string into buffer, zero-terminated (UTF-16 / UTF-32 with a terminator as wide as
// one unit, no byte-order mark); false when it does not fit or cannot be represented in
// the encoding.
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);
// The bytes a string was made from, when it was made from 8-bit text in this encoding (or
// plain ASCII asked in any 8-bit encoding); otherwise null.
char const* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding);
// Bytes the longest conversion of length UTF-16 units can take (kCFNotFound on overflow).
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
// NeXTSTEP Latin and non-lossy ASCII have no converter here and report unavailable.
Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding);
CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b, CFStringCompareFlags options);
// A string constant that lives for the whole process (never freed, release is ignored).
CFStringRef __CFStringMakeConstantString(char const* utf8);
#define CFSTR(literal) __CFStringMakeConstantString("" literal "")

// Numbers.
enum CFNumberType : CFIndex {
  kCFNumberSInt8Type = 1,
  kCFNumberSInt16Type = 2,
  kCFNumberSInt32Type = 3,
  kCFNumberSInt64Type = 4,
  kCFNumberFloat32Type = 5,
  kCFNumberFloat64Type = 6,
  kCFNumberCharType = 7,
  kCFNumberShortType = 8,
  kCFNumberIntType = 9,
  kCFNumberLongType = 10,
  kCFNumberLongLongType = 11,
  kCFNumberFloatType = 12,
  kCFNumberDoubleType = 13,
  kCFNumberCFIndexType = 14,
  kCFNumberNSIntegerType = 15,
  kCFNumberCGFloatType = 16,
};
CFTypeID CFNumberGetTypeID();
CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, void const* valuePtr);
CFNumberType CFNumberGetType(CFNumberRef number);
// Converts to the asked type; false when the value had to be rounded or clipped.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* valuePtr);

// File URLs (POSIX paths only).
enum CFURLPathStyle : CFIndex {
  kCFURLPOSIXPathStyle = 0,
};
CFTypeID CFURLGetTypeID();
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef, CFStringRef filePath,
                                       CFURLPathStyle pathStyle, Boolean isDirectory);
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, UInt8 const* buffer,
                                                 CFIndex bufLen, Boolean isDirectory);
CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, FSRef const* fsRef);
Boolean CFURLGetFSRef(CFURLRef url, FSRef* fsRef);
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle pathStyle);
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex maxBufLen);
CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url,
                                               CFStringRef pathComponent, Boolean isDirectory);
CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef, CFURLRef url);
Boolean CFURLHasDirectoryPath(CFURLRef url);

// Bundles: a folder or a shared object loaded with dlopen, functions found with dlsym.
CFTypeID CFBundleGetTypeID();
CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef bundleURL);
CFBundleRef CFBundleGetMainBundle();
Boolean CFBundleLoadExecutable(CFBundleRef bundle);
Boolean CFBundleIsExecutableLoaded(CFBundleRef bundle);
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef functionName);
CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle);
CFURLRef CFBundleCopyPrivateFrameworksURL(CFBundleRef bundle);
CFURLRef CFBundleCopySharedFrameworksURL(CFBundleRef bundle);
CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle);
CFURLRef CFBundleCopyBuiltInPlugInsURL(CFBundleRef bundle);
CFURLRef CFBundleCopySupportFilesDirectoryURL(CFBundleRef bundle);
