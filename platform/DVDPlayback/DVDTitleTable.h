// The disc's titles as its information files describe them, read once when the disc is
// opened, so that titles and chapters can be listed without playing them. Frames are counted
// the way the navigator numbers the pictures it presents: cell playback times summed in
// 90 kHz ticks, then divided by a time-code frame (1/30 s NTSC, 1/25 s PAL) and rounded.
#pragma once

#include "DVDPlayback.h"

#include <dvdread/ifo_types.h>

#include <cstdint>
#include <memory>
#include <vector>

struct dvd_reader_s;

namespace dvd {

// An information file that closes itself.
struct IfoCloser {
  void operator()(ifo_handle_t* ifo) const;
};
using Ifo = std::unique_ptr<ifo_handle_t, IfoCloser>;

class DVDTitleTable {
 public:
  struct Title {
    DVDTitleInfo info{};
    std::vector<UInt32> chapterFirstFrames;  // one a chapter, the first 0
  };

  // Every title the manager lists, in its order. Only information files the probe passed
  // may be given: the title sets' are parsed here. A title whose title set cannot be read
  // is listed without chapters or frames.
  static DVDTitleTable Read(dvd_reader_s* reader, ifo_handle_t const& manager);

  UInt16 Count() const { return UInt16(mTitles.size()); }
  // Title n, from 1; null for one the disc lacks.
  Title const* Find(UInt32 title) const;

  // A playback time (BCD hours, minutes, seconds, frames; the frames byte's top bit set for
  // 30 frames a second) in 90 kHz ticks.
  static int64_t Ticks(dvd_time_t const& time);

 private:
  std::vector<Title> mTitles;
};

}  // namespace dvd
