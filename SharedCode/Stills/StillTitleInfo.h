// What the playback service says of the open disc's titles, in the form the stills' planning
// and the windows use: the title's table entry and its chapters' first frames.
#pragma once

#include <cstdint>
#include <vector>

#include "DVDPlayback.h"
#include "StillPlan.h"

struct StillTitleInfo {
  UInt16 number = 0;
  DVDTitleInfo info{};
  std::vector<uint32_t> chapterFirstFrames;  // chapter 1's first, at least

  // What the playback service says of a title of the open disc; false when it has none such.
  static bool Read(UInt16 title, StillTitleInfo* out);
  // Every title of the open disc (those it can tell of), and the longest (0 when none).
  static std::vector<StillTitleInfo> ReadAll();
  static UInt16 Longest(std::vector<StillTitleInfo> const& titles);

  bool PAL() const { return info.standard == kDVDVideoStandardPAL; }
  // What a plan needs to know of it.
  StillTitle Planned() const { return {info.frames, PAL(), chapterFirstFrames}; }
};
