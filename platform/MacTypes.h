// Basic types and status codes of the platform interface the library is written against.
#pragma once

#include <cstdint>

using UInt8 = std::uint8_t;
using SInt8 = std::int8_t;
using UInt16 = std::uint16_t;
using SInt16 = std::int16_t;
using UInt32 = std::uint32_t;
using SInt32 = std::int32_t;
using UInt64 = std::uint64_t;
using SInt64 = std::int64_t;
using Boolean = unsigned char;
using OSErr = SInt16;
using OSStatus = SInt32;
using OSType = UInt32;
using FourCharCode = UInt32;
using UniChar = UInt16;
using UniCharCount = unsigned long;
using ByteCount = unsigned long;
using Str255 = unsigned char[256];
using StringPtr = unsigned char*;
using ConstStringPtr = unsigned char const*;
using ConstStr255Param = unsigned char const*;
using Ptr = char*;
using Handle = char**;
using Size = long;
using Fixed = SInt32;  // 16.16

// Screen-style coordinates: origin at the top-left, v grows downwards.
struct Point {
  SInt16 v;
  SInt16 h;
};
struct Rect {
  SInt16 top;
  SInt16 left;
  SInt16 bottom;
  SInt16 right;
};

constexpr OSErr noErr = 0;
constexpr OSErr paramErr = -50;
constexpr OSErr memFullErr = -108;
constexpr OSErr dirFulErr = -33;
constexpr OSErr dskFulErr = -34;
constexpr OSErr nsvErr = -35;
constexpr OSErr ioErr = -36;
constexpr OSErr bdNamErr = -37;
constexpr OSErr fnOpnErr = -38;
constexpr OSErr eofErr = -39;
constexpr OSErr fnfErr = -43;
constexpr OSErr wPrErr = -44;
constexpr OSErr fLckdErr = -45;
constexpr OSErr vLckdErr = -46;
constexpr OSErr fBsyErr = -47;
constexpr OSErr dupFNErr = -48;
constexpr OSErr opWrErr = -49;
constexpr OSErr permErr = -54;
constexpr OSErr wrPermErr = -61;
constexpr OSErr dirNFErr = -120;
constexpr OSErr errFSBadFSRef = -1401;
constexpr OSErr errFSBadBuffer = -1404;
constexpr OSErr errFSNotAFolder = -1407;
constexpr OSErr errFSMissingName = -1411;
constexpr OSErr errFSNameTooLong = -1412;
constexpr OSErr afpAccessDenied = -5000;
constexpr OSErr notAFileErr = -1302;
constexpr OSErr unimpErr = -4;
constexpr OSErr kTECOutputBufferFullStatus = -8785;
constexpr OSErr kTextUnsupportedEncodingErr = -8738;
constexpr OSErr kTextMalformedInputErr = -8739;
constexpr OSErr kTextUndefinedElementErr = -8740;
constexpr OSErr kTECNoConversionPathErr = -8749;
constexpr OSErr kTECPartialCharErr = -8753;
constexpr OSErr kTECUnmappableElementErr = -8754;
constexpr OSErr gestaltUnknownErr = -5550;
constexpr OSErr gestaltUndefSelectorErr = -5551;

constexpr Boolean kDontCreateFolder = 0;
constexpr Boolean kCreateFolder = 1;

// Four-character codes are written big-endian in the source: 'JPEG' == 0x4A504547.
constexpr OSType FOUR_CHAR_CODE(char const (&s)[5]) {
  return (OSType(UInt8(s[0])) << 24) | (OSType(UInt8(s[1])) << 16) |
         (OSType(UInt8(s[2])) << 8) | OSType(UInt8(s[3]));
}
