// Image descriptions: the published header record followed by typed extension atoms
// (each: 32-bit big-endian size including its 8-byte head, 32-bit big-endian type,
// payload). idSize covers the header and every atom.
#pragma once

#include "MacMemory.h"
#include "MacTypes.h"
#include "QDOffscreen.h"

using CodecType = OSType;
using CodecQ = UInt32;

#pragma pack(push, 2)
struct ImageDescription {
  SInt32 idSize;
  CodecType cType;
  SInt32 resvd1;
  SInt16 resvd2;
  SInt16 dataRefIndex;
  SInt16 version;
  SInt16 revisionLevel;
  SInt32 vendor;
  CodecQ temporalQuality;
  CodecQ spatialQuality;
  SInt16 width;
  SInt16 height;
  Fixed hRes;
  Fixed vRes;
  SInt32 dataSize;
  SInt16 frameCount;
  unsigned char name[32];  // Pascal string
  SInt16 depth;
  SInt16 clutID;
};
#pragma pack(pop)
static_assert(sizeof(ImageDescription) == 86, "the published record is 86 bytes");
using ImageDescriptionPtr = ImageDescription*;
using ImageDescriptionHandle = ImageDescription**;

// Typed extension payloads.
struct FieldInfoImageDescriptionExtension2 {
  UInt8 fields;
  UInt8 detail;
};
struct CleanApertureImageDescriptionExtension {
  UInt32 cleanApertureWidthN, cleanApertureWidthD;
  UInt32 cleanApertureHeightN, cleanApertureHeightD;
  SInt32 horizOffN;
  UInt32 horizOffD;
  SInt32 vertOffN;
  UInt32 vertOffD;
};
struct PixelAspectRatioImageDescriptionExtension {
  UInt32 hSpacing;
  UInt32 vSpacing;
};
#pragma pack(push, 2)
struct NCLCColorInfoImageDescriptionExtension {
  OSType colorParamType;
  UInt16 primaries;
  UInt16 transferFunction;
  UInt16 matrix;
};
#pragma pack(pop)
static_assert(sizeof(FieldInfoImageDescriptionExtension2) == 2);
static_assert(sizeof(CleanApertureImageDescriptionExtension) == 32);
static_assert(sizeof(PixelAspectRatioImageDescriptionExtension) == 8);
static_assert(sizeof(NCLCColorInfoImageDescriptionExtension) == 10);

enum : OSType {
  kImageDescriptionRowBytesExtension = FOUR_CHAR_CODE("rowb"),
  kGammaLevelExtension = FOUR_CHAR_CODE("gama"),
  kColorSpaceExtension = FOUR_CHAR_CODE("cspc"),
  kFieldInfoExtension = FOUR_CHAR_CODE("fiel"),
  kCleanApertureExtension = FOUR_CHAR_CODE("clap"),
  kPixelAspectRatioExtension = FOUR_CHAR_CODE("pasp"),
  kColorInfoExtension = FOUR_CHAR_CODE("colr"),
  kNCLCColorInfoExtension = FOUR_CHAR_CODE("nclc"),
};

constexpr OSErr codecExtensionNotFoundErr = -8971;

// A new description of the pixel map's size and format (cType = its pixel format, or
// k32ARGBPixelFormat / k24RGBPixelFormat for the classic 32 / 24), depth from its pixel size,
// dataSize = height x row bytes; no extensions.
OSErr MakeImageDescriptionForPixMap(PixMapHandle pixmap, ImageDescriptionHandle* idh);
// A description of an effect: cType = the effect type, everything else zero but idSize.
OSErr MakeImageDescriptionForEffect(OSType effectType, ImageDescriptionHandle* idh);
// Appends a copy of the extension's block as an atom of that type.
OSErr AddImageDescriptionExtension(ImageDescriptionHandle desc, Handle extension, long idType);
// *extension = a new handle holding the payload of the index-th (from 1) atom of that type;
// codecExtensionNotFoundErr when there is none.
OSErr GetImageDescriptionExtension(ImageDescriptionHandle desc, Handle* extension, long idType,
                                   long index);
OSErr CountImageDescriptionExtensionType(ImageDescriptionHandle desc, long idType, long* count);
// The first type after *idType in atom order (start with 0); 0 when there is no more.
OSErr GetNextImageDescriptionExtensionType(ImageDescriptionHandle desc, long* idType);
OSErr RemoveImageDescriptionExtension(ImageDescriptionHandle desc, long idType, long index);
