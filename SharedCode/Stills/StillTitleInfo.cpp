#include "StillTitleInfo.h"

#include <algorithm>

bool StillTitleInfo::Read(UInt16 title, StillTitleInfo* out) {
  out->number = title;
  if (DVDGetTitleInfo(title, &out->info) != noErr) return false;
  UInt16 chapters = out->info.chapters;
  out->chapterFirstFrames.assign(chapters, 0);
  if (chapters > 0 && DVDGetChapterFirstFrames(title, out->chapterFirstFrames.data(), &chapters) == noErr) {
    out->chapterFirstFrames.resize(std::min<size_t>(chapters, out->chapterFirstFrames.size()));
  } else {
    out->chapterFirstFrames.assign(1, 0);
  }
  return true;
}

std::vector<StillTitleInfo> StillTitleInfo::ReadAll() {
  std::vector<StillTitleInfo> titles;
  UInt16 count = 0;
  if (DVDGetNumTitles(&count) != noErr) return titles;
  for (UInt16 t = 1; t <= count; ++t) {
    StillTitleInfo title;
    if (Read(t, &title)) titles.push_back(std::move(title));
  }
  return titles;
}

UInt16 StillTitleInfo::Longest(std::vector<StillTitleInfo> const& titles) {
  UInt16 longest = 0;
  uint32_t frames = 0;
  for (StillTitleInfo const& t : titles) {
    if (longest == 0 || t.info.frames > frames) {
      longest = t.number;
      frames = t.info.frames;
    }
  }
  return longest;
}
