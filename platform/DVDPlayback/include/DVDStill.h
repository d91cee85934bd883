// Still pictures from a decoded DVD picture: taken at the moment of the command (the picture
// on screen, its neighbours and what is drawn over it, copied), then made, on any thread:
// a telecined film frame woven back from its fields or deinterlaced when asked, converted
// once to RGB with the stream's matrix and its TV range expanded, filtered (a field blend)
// when asked, the subpicture layer drawn over it when it was taken, black borders cut when
// asked, and scaled with high quality to its true shape.
#pragma once

#include "DVDPlayback.h"

#include <memory>
#include <vector>

using DVDStillShape = UInt32;
enum : DVDStillShape {
  kDVDStillShapeSquarePixels = 0,     // the display shape: 640x480, 854x480, 768x576, 1024x576
  kDVDStillShapeSquarePixelsITU = 1,  // the same from the 704-column BT.601 active aperture
  kDVDStillShapeStored = 2,           // as coded: 720x480, 720x576
};

using DVDStillDeinterlace = UInt32;
enum : DVDStillDeinterlace {
  // For pictures coded interlaced only: a film frame woven when two fields match, else
  // adaptive.
  kDVDStillDeinterlaceAuto = 0,
  kDVDStillDeinterlaceOff = 1,
  kDVDStillDeinterlaceAdaptive = 2,  // always, with the neighbouring pictures
};

// How the still's pixels are laid out: 4 bytes each, A, R, G, B or R, G, B and an unused one.
using DVDStillPixelOrder = UInt32;
enum : DVDStillPixelOrder { kDVDStillPixelsARGB = 0, kDVDStillPixelsRGBX = 1 };

// Run on the converted picture at its stored size, before anything is drawn over it: ARGB
// rows (A, R, G, B bytes), rowBytes apart.
using DVDStillFieldFilter = void (*)(UInt8* argb, UInt32 width, UInt32 height, UInt32 rowBytes,
                                     void* refCon);

// A picture as taken: DVDCopyDecodedFrame's answer with the neighbours at hand and, when
// asked, DVDCopyPresentedOverlay's layer; and how to make the still. DVDTakeStill holds the
// decoded pictures themselves instead of copying them (they never change once decoded):
// then planes and overlay stay empty and the pixels are read from what is held.
struct DVDStillRequest {
  DVDDecodedFrameInfo info{};
  std::vector<UInt8> planes;   // before, picture, after: those info.neighbours names
  std::vector<UInt8> overlay;  // RGBA at the stored size; empty: nothing drawn over it
  std::shared_ptr<void const> taken;
  bool takenWithOverlay = false;
  DVDStillShape shape = kDVDStillShapeSquarePixels;
  DVDStillDeinterlace deinterlace = kDVDStillDeinterlaceAuto;
  bool cropBorders = false;
  DVDStillFieldFilter fieldFilter = nullptr;
  void* fieldFilterRefCon = nullptr;
  DVDStillPixelOrder pixelOrder = kDVDStillPixelsARGB;
};

struct DVDStillPicture {
  UInt32 width = 0;
  UInt32 height = 0;
  UInt32 rowBytes = 0;
  std::vector<UInt8> pixels;  // 4 bytes a pixel in the request's order, rows rowBytes apart
  bool deinterlaced = false;
  // The part of the stored picture shown, after the aperture and the borders cut.
  UInt32 left = 0;
  UInt32 top = 0;
  UInt32 right = 0;
  UInt32 bottom = 0;
  // Woven from two matching fields (a film frame telecined) rather than deinterlaced.
  bool fieldMatched = false;
};

// Which second field, woven with the picture's first, makes a picture coded interlaced
// whole: a film frame telecined, as Auto weaves it instead of deinterlacing.
using DVDStillFieldMatch = UInt32;
enum : DVDStillFieldMatch {
  kDVDStillFieldMatchCurrent = 0,   // its own: the picture alone is not combed
  kDVDStillFieldMatchPrevious = 1,  // the picture before's
  kDVDStillFieldMatchNext = 2,      // the picture after's
  kDVDStillFieldMatchNone = 3,      // combed however woven: video, or a break in the cadence
};

// Takes the picture presented now, its neighbours and, with withOverlay, its subpicture
// layer. kDVDErrorNotAllowedNow before a picture has been presented.
OSStatus DVDTakeStill(bool withOverlay, DVDStillRequest* outRequest);
// kDVDErrorInvalidArgument when the request's pixels do not match its information.
OSStatus DVDMakeStill(DVDStillRequest const& request, DVDStillPicture* outPicture);
// How the request's picture matches, with the neighbours it holds, whatever it asks for
// (progressive pictures are judged too). kDVDErrorInvalidArgument as DVDMakeStill.
OSStatus DVDGetStillFieldMatch(DVDStillRequest const& request, DVDStillFieldMatch* outMatch);
// The square-pixel width of a picture of this height and aspect (even).
UInt32 DVDStillDisplayWidth(UInt32 height, DVDAspectRatio aspect);
