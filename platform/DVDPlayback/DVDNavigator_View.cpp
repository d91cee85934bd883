// What the navigator shows of the machine: the view the application's questions are
// answered from (taken down by the reading thread after every event it reads and every
// command it carries out, so that no question waits for libdvdnav in the middle of a read),
// the menu highlight, and the title, chapter and display events.
#include "DVDNavigator.h"

#include <dvdnav/dvdnav.h>

#include <algorithm>
#include <cstdlib>

namespace dvd {

namespace {

UInt16 LanguageCode(uint16_t code) { return code == 0xFFFF ? 0 : UInt16(code); }

}  // namespace

void DVDNavigator::Publish() {
  View v;
  v.position.inTitle = dvdnav_is_domain_vts(mNav) == 1;
  v.inManagerMenu = dvdnav_is_domain_vmgm(mNav) == 1;
  v.inMenu = v.inManagerMenu || dvdnav_is_domain_vtsm(mNav) == 1;
  if (dvdnav_current_title_info(mNav, &v.position.title, &v.position.part) != DVDNAV_STATUS_OK) {
    v.position.title = v.position.part = 0;
  }
  dvdnav_get_video_resolution(mNav, &v.position.width, &v.position.height);
  v.position.aspect = dvdnav_get_video_aspect(mNav);
  v.hasAngles =
      v.position.inTitle && dvdnav_get_angle_info(mNav, &v.angle, &v.angles) == DVDNAV_STATUS_OK;
  v.titleFrames = v.position.inTitle && v.position.title == mFramesTitle ? mTitleFrames : 0;
  v.audioIDs.fill(-1);
  v.subPictureIDs.fill(-1);
  if (v.position.inTitle) {
    for (size_t i = 0; i < v.audioIDs.size(); ++i) {
      v.audioIDs[i] = dvdnav_get_audio_logical_stream(mNav, uint8_t(i));
      if (v.audioIDs[i] >= 0) {
        v.audioLanguages[i] = LanguageCode(dvdnav_audio_stream_to_lang(mNav, uint8_t(i)));
      }
    }
    for (size_t i = 0; i < v.subPictureIDs.size(); ++i) {
      v.subPictureIDs[i] = dvdnav_get_spu_logical_stream(mNav, uint8_t(i));
      if (v.subPictureIDs[i] >= 0) {
        v.subPictureLanguages[i] = LanguageCode(dvdnav_spu_stream_to_lang(mNav, uint8_t(i)));
      }
    }
  }
  v.discAudio = dvdnav_get_active_audio_stream(mNav);
  v.discSubPicture = dvdnav_get_active_spu_stream(mNav);
  if (pci_t const* const pci = dvdnav_get_current_nav_pci(mNav)) {
    v.buttonCount = std::min<int>(pci->hli.hl_gi.btn_ns, int(v.buttons.size()));
    for (int i = 0; i < v.buttonCount; ++i) {
      btni_t const& b = pci->hli.btnit[i];
      Button& to = v.buttons[size_t(i)];
      to.x0 = uint16_t(b.x_start);
      to.y0 = uint16_t(b.y_start);
      to.x1 = uint16_t(b.x_end);
      to.y1 = uint16_t(b.y_end);
      to.up = uint8_t(b.up);
      to.down = uint8_t(b.down);
      to.left = uint8_t(b.left);
      to.right = uint8_t(b.right);
    }
  }
  mView = v;
}

void DVDNavigator::CountTitleFrames() {
  int32_t title = 0;
  int32_t part = 0;
  if (dvdnav_is_domain_vts(mNav) != 1 ||
      dvdnav_current_title_info(mNav, &title, &part) != DVDNAV_STATUS_OK || title <= 0 ||
      title == mFramesTitle) {
    return;
  }
  // The disc's table counts every cell; dvdnav's own count stops at the first cell of the
  // last chapter.
  DVDTitleTable::Title const* const known =
      mTitleTable ? mTitleTable->Find(UInt32(title)) : nullptr;
  if (known && known->info.chapters > 0) {
    mFramesTitle = title;
    mTitleFrames = known->info.frames;
    return;
  }
  uint64_t* times = nullptr;
  uint64_t duration = 0;
  uint32_t const chapters = dvdnav_describe_title_chapters(mNav, title, &times, &duration);
  std::free(times);
  Position position;
  dvdnav_get_video_resolution(mNav, &position.width, &position.height);
  int64_t const code = TimeCodeFrameTicks(position);
  mFramesTitle = title;
  mTitleFrames = chapters == 0 ? 0 : (int64_t(duration) + code / 2) / code;
}

void DVDNavigator::ShowHighlight(int mode) {
  if (!mPresenter) return;
  DVDHighlight highlight;
  pci_t* const pci = dvdnav_get_current_nav_pci(mNav);
  int32_t button = 0;
  dvdnav_highlight_area_t area{};
  if (pci && pci->hli.hl_gi.hli_ss != 0 && pci->hli.hl_gi.btn_ns > 0 &&
      dvdnav_get_current_highlight(mNav, &button) == DVDNAV_STATUS_OK && button > 0 &&
      dvdnav_get_highlight_area(pci, button, mode, &area) == DVDNAV_STATUS_OK) {
    highlight.visible = true;
    highlight.x0 = area.sx;
    highlight.y0 = area.sy;
    highlight.x1 = area.ex;
    highlight.y1 = area.ey;
    highlight.palette = area.palette;
  }
  mPresenter->SetHighlight(highlight);
}

void DVDNavigator::ReportPosition(Position const& position) {
  int32_t title = position.title;
  bool const inTitle = position.inTitle;
  if (!inTitle) title = 0;
  uint32_t const height = position.height;
  DVDVideoStandard const standard =
      height == 0 ? mStandard : (height == 576 || height == 288 ? kDVDVideoStandardPAL
                                                                : kDVDVideoStandardNTSC);
  DVDAspectRatio const aspect =
      position.aspect == 3 ? kDVDAspectRatio16x9 : kDVDAspectRatio4x3;

  bool const titleChanged = title != mTitle;
  if (titleChanged) {
    mTitle = title;
    mEvents.Post(kDVDEventTitle, DVDEventValue(title));
    // Title time starts again with the title's first picture group.
    mNextTimeEvent = -1;
  }
  if (standard != mStandard) {
    mStandard = standard;
    mEvents.Post(kDVDEventVideoStandard, DVDEventValue(standard));
  }
  if (aspect != mAspect) {
    mAspect = aspect;
    mEvents.Post(kDVDEventDisplayMode, DVDEventValue(aspect));
  }
  // The chapter waits for its pictures: the cell is read ahead of them, and a seek's probes
  // pass through cells never shown.
  if (titleChanged || !inTitle) mChapter = -1;
}

void DVDNavigator::ReportChapter(ReadEvent const& e) {
  // A seek's target past this group's pictures is read on to: nothing of it is shown.
  if (!e.position.inTitle || (e.seekOffset > 0 && e.seekOffset >= e.vobuSpan)) return;
  AnnounceChapter(e.position.part);
}

void DVDNavigator::AnnounceChapter(int32_t chapter) {
  if (chapter == mChapter) return;
  mChapter = chapter;
  mEvents.Post(kDVDEventPTT, DVDEventValue(chapter));
}

}  // namespace dvd
