// What the navigator shows of the machine: the menu highlight, and the title, chapter and
// display events as the pictures they concern reach the screen.
#include "DVDNavigator.h"

#include <dvdnav/dvdnav.h>


namespace dvd {

void DVDNavigator::ShowHighlight(int mode) {
  if (!mPipeline) return;
  DVDHighlight highlight;
  pci_t* const pci = dvdnav_get_current_nav_pci(mDisc.Nav());
  int32_t button = 0;
  dvdnav_highlight_area_t area{};
  if (pci && pci->hli.hl_gi.hli_ss != 0 && pci->hli.hl_gi.btn_ns > 0 &&
      dvdnav_get_current_highlight(mDisc.Nav(), &button) == DVDNAV_STATUS_OK && button > 0 &&
      dvdnav_get_highlight_area(pci, button, mode, &area) == DVDNAV_STATUS_OK) {
    highlight.visible = true;
    highlight.x0 = area.sx;
    highlight.y0 = area.sy;
    highlight.x1 = area.ex;
    highlight.y1 = area.ey;
    highlight.palette = area.palette;
  }
  mPipeline->SetHighlight(highlight);
}

void DVDNavigator::ReportPosition(DVDNavPosition const& position) {
  // Title time starts again with the title's first picture group.
  if (mAnnounced.Position(position)) mTime.mNextTimeEvent = -1;
}

void DVDNavigator::ReportChapter(ReadEvent const& e) {
  // A seek's target past this group's pictures is read on to: nothing of it is shown.
  if (!e.position.inTitle || (e.seekOffset > 0 && e.seekOffset >= e.vobuSpan)) return;
  mAnnounced.Chapter(e.position.part);
}

}  // namespace dvd
