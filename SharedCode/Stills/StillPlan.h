// Which pictures of a title a batch of stills takes: at given times, every so many seconds,
// at each chapter's start, or a number spread over the title. Frames are counted from the
// title's start as the disc counts them (30000/1001 or 25 a second); a time means the
// picture on screen at that time. The plan lists the stills in disc order, so that each
// picture group is read once, going forward.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What a plan needs to know of a title.
struct StillTitle {
  uint32_t frames = 0;
  bool pal = false;
  std::vector<uint32_t> chapterFirstFrames;  // chapter 1 first
};

struct StillPlanEntry {
  uint32_t frame = 0;
  int n = 0;        // 1-based, in the order asked for
  int chapter = 0;  // 1-based
};

class StillPlan {
 public:
  enum Kind { kAt, kEvery, kChapters, kCount };

  // at: frames (kAt); every: microseconds (kEvery); count (kCount). False, with nothing
  // planned, when the request cannot be planned (no frames, a count below 1, an interval of 0).
  bool Construct(StillTitle const& title, Kind kind, std::vector<uint32_t> const& at,
                 uint64_t everyMicroseconds, int count);

  // In disc order; frames past the title's end are left out (see Outside).
  std::vector<StillPlanEntry> const& Entries() const { return mEntries; }
  // Those asked for past the title's end, in the order asked.
  std::vector<StillPlanEntry> const& Outside() const { return mOutside; }

  // A time as "83.5" (seconds), "m:ss", "h:mm:ss[.mmm]" or a frame "f2500"; false when it is
  // none of these.
  static bool ParseTime(std::string const& text, bool pal, uint32_t* frame);
  // Comma-separated times; false naming the first bad one in *bad.
  static bool ParseTimes(std::string const& list, bool pal, std::vector<uint32_t>* frames,
                         std::string* bad);
  // Seconds as "10" or "2.5"; false for anything else or 0.
  static bool ParseSeconds(std::string const& text, uint64_t* microseconds);
  // The picture on screen at a time: floor(t x 30000/1001) or floor(t x 25).
  static uint32_t FrameAt(uint64_t microseconds, bool pal);
  // When a frame starts, in milliseconds (floored).
  static uint64_t FrameMs(uint32_t frame, bool pal);
  // The chapter (from 1) a frame is in.
  static int ChapterOf(uint32_t frame, std::vector<uint32_t> const& chapterFirstFrames);

 private:
  std::vector<StillPlanEntry> mEntries;
  std::vector<StillPlanEntry> mOutside;
};
