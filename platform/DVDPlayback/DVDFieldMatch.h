// Film frames out of hard-telecined pictures: a picture coded interlaced whose fields may
// come from two film frames (3:2 pulldown baked into the stream) keeps its first field and
// takes the second field from itself, the picture before or the one after, whichever
// weave combs least. When every weave stays combed (true video, a break in the cadence)
// there is no match and the picture is left to the deinterlacer.
// Pictures are 8-bit planar 4:2:0; luma decides, all three planes are woven.
#pragma once

#include "MacTypes.h"

namespace dvd {

// One planar 4:2:0 picture's planes, wherever they are (not owned).
struct DVDPlanes {
  UInt8 const* data[3] = {};
  int linesize[3] = {};
};

// The picture and its neighbours; a neighbour whose data[0] is null is not at hand.
struct DVDFieldSource {
  DVDPlanes before;
  DVDPlanes picture;
  DVDPlanes after;
  int width = 0;   // even
  int height = 0;  // even
  bool topFieldFirst = true;
};

// Where the picture's second field comes from.
enum class DVDFieldMatchKind { kCurrent, kPrevious, kNext, kNone };

// Which second field makes the picture whole; kNone when every weave stays combed.
DVDFieldMatchKind DVDMatchFields(DVDFieldSource const& source);

// The picture's first field woven with the second field kind names into out, a 4:2:0
// picture of the source's size the caller owns. False for kNone or a neighbour not at hand.
bool DVDWeaveFields(DVDFieldSource const& source, DVDFieldMatchKind kind,
                    UInt8* const outData[3], int const outLinesize[3]);

}  // namespace dvd
