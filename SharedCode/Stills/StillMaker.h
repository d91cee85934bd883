// Stills as the window's grabs and the batches make them: the choices (shape,
// deinterlacing, subtitles, black borders) applied to a picture taken from the playback
// service, and the still made into a 32-bit R, G, B bitmap.
#pragma once

#include <memory>

#include "DVDStill.h"
#include "NSBitmapImageRep.h"

struct StillChoices {
  enum Deinterlace { kAuto, kOff, kBlend, kAdaptive };
  DVDStillShape shape = kDVDStillShapeSquarePixels;
  Deinterlace deinterlace = kAuto;
  bool subtitles = true;
  bool cropBorders = false;
};

class StillMaker {
 public:
  // The picture on screen now, to be made with the choices (on any thread); false when
  // there is none.
  static bool Take(StillChoices const& choices, DVDStillRequest* request);
  static void Apply(StillChoices const& choices, DVDStillRequest* request);
  // Null when the request cannot be made.
  static std::shared_ptr<NSBitmapImageRep> Make(DVDStillRequest const& request);
  // Nearly one colour all over (a black or faded picture): the spread of its green.
  static bool NearlyUniform(NSBitmapImageRep const& bitmap);
};
