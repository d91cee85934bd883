// The service's C interface for the disc's titles: the table read when the disc was opened
// (answered here, without the reader), and the title and chapter jumps.
#include "DVDPlayback.h"

#include "DVDService.h"

#include <algorithm>
#include <vector>

using dvd::DVDNavigator;
using dvd::DVDService;
using dvd::DVDTitleTable;
using dvd::WithService;

namespace {

// Runs f with the open disc's navigator; without a disc there are no titles to ask about.
template <class F>
OSStatus WithDisc(F&& f) {
  return WithService([&](DVDService& s) -> OSStatus {
    if (!s.mMedia || !s.mNavigator) return kDVDErrorNotAllowedNow;
    return f(*s.mNavigator);
  });
}

// Runs f with title inTitle of the open disc's table.
template <class F>
OSStatus WithTitle(UInt16 inTitle, F&& f) {
  return WithService([&](DVDService& s) -> OSStatus {
    if (!s.mMedia || !s.mMedia->Titles()) return kDVDErrorNotAllowedNow;
    DVDTitleTable::Title const* const title = s.mMedia->Titles()->Find(inTitle);
    if (!title) return kDVDErrorInvalidArgument;
    return f(*title);
  });
}

}  // namespace

OSStatus DVDGetNumTitles(UInt16* outNumTitles) {
  if (!outNumTitles) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    if (!s.mMedia || !s.mMedia->Titles()) return kDVDErrorNotAllowedNow;
    *outNumTitles = s.mMedia->Titles()->Count();
    return noErr;
  });
}

OSStatus DVDGetTitleInfo(UInt16 inTitle, DVDTitleInfo* outInfo) {
  if (!outInfo) return kDVDErrorInvalidArgument;
  return WithTitle(inTitle, [&](DVDTitleTable::Title const& title) -> OSStatus {
    *outInfo = title.info;
    return noErr;
  });
}

OSStatus DVDGetChapterFirstFrames(UInt16 inTitle, UInt32* outFrames, UInt16* ioCount) {
  if (!ioCount || (!outFrames && *ioCount > 0)) return kDVDErrorInvalidArgument;
  return WithTitle(inTitle, [&](DVDTitleTable::Title const& title) -> OSStatus {
    std::vector<UInt32> const& frames = title.chapterFirstFrames;
    size_t const n = std::min<size_t>(*ioCount, frames.size());
    std::copy_n(frames.begin(), n, outFrames);
    *ioCount = UInt16(frames.size());
    return noErr;
  });
}

OSStatus DVDGetTitle(UInt16* outTitle) {
  if (!outTitle) return kDVDErrorInvalidArgument;
  return WithDisc([&](DVDNavigator& n) { return n.GetTitle(outTitle); });
}

OSStatus DVDSetTitle(UInt16 inTitle) {
  return WithDisc([&](DVDNavigator& n) { return n.SetTitle(inTitle); });
}

OSStatus DVDSetChapter(UInt16 inChapter) {
  return WithDisc([&](DVDNavigator& n) { return n.SetChapter(inChapter); });
}
