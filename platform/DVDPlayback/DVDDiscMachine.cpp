#include "DVDDiscMachine.h"

#include "DVDLanguage.h"
#include "DVDLibraryLog.h"

#include <dvdnav/dvdnav.h>

#include <algorithm>
#include <cstdlib>

namespace dvd {

namespace {

UInt16 LanguageCode(uint16_t code) { return code == 0xFFFF ? 0 : UInt16(code); }

bool IsPAL(uint32_t height) { return height == 576 || height == 288; }

}  // namespace

int64_t DVDNavPosition::FrameTicks() const { return IsPAL(height) ? 3600 : 3003; }

// Time codes count NTSC frames as thirtieths of a second.
int64_t DVDNavPosition::TimeCodeFrameTicks() const { return IsPAL(height) ? 3600 : 3000; }

// ---- the view

void DVDDiscView::Take(dvdnav_s* nav, int32_t framesTitle, int64_t frames) {
  DVDDiscView v;
  v.position.inTitle = dvdnav_is_domain_vts(nav) == 1;
  v.inManagerMenu = dvdnav_is_domain_vmgm(nav) == 1;
  v.inMenu = v.inManagerMenu || dvdnav_is_domain_vtsm(nav) == 1;
  if (dvdnav_current_title_info(nav, &v.position.title, &v.position.part) != DVDNAV_STATUS_OK) {
    v.position.title = v.position.part = 0;
  }
  dvdnav_get_video_resolution(nav, &v.position.width, &v.position.height);
  v.position.aspect = dvdnav_get_video_aspect(nav);
  v.hasAngles =
      v.position.inTitle && dvdnav_get_angle_info(nav, &v.angle, &v.angles) == DVDNAV_STATUS_OK;
  v.titleFrames = v.position.inTitle && v.position.title == framesTitle ? frames : 0;
  v.audioIDs.fill(-1);
  v.subPictureIDs.fill(-1);
  if (v.position.inTitle) {
    for (size_t i = 0; i < v.audioIDs.size(); ++i) {
      v.audioIDs[i] = dvdnav_get_audio_logical_stream(nav, uint8_t(i));
      if (v.audioIDs[i] >= 0) {
        v.audioLanguages[i] = LanguageCode(dvdnav_audio_stream_to_lang(nav, uint8_t(i)));
      }
    }
    for (size_t i = 0; i < v.subPictureIDs.size(); ++i) {
      v.subPictureIDs[i] = dvdnav_get_spu_logical_stream(nav, uint8_t(i));
      if (v.subPictureIDs[i] >= 0) {
        v.subPictureLanguages[i] = LanguageCode(dvdnav_spu_stream_to_lang(nav, uint8_t(i)));
      }
    }
  }
  v.discAudio = dvdnav_get_active_audio_stream(nav);
  v.discSubPicture = dvdnav_get_active_spu_stream(nav);
  if (pci_t const* const pci = dvdnav_get_current_nav_pci(nav)) {
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
  *this = v;
}

int DVDDiscView::MaxStreams(StreamKind kind) {
  return kind == StreamKind::kAudio ? kAudioStreams : kSubPictureStreams;
}

int DVDDiscView::ID(StreamKind kind, int logical) const {
  if (logical < 0 || logical >= MaxStreams(kind)) return -1;
  return kind == StreamKind::kAudio ? audioIDs[size_t(logical)] : subPictureIDs[size_t(logical)];
}

UInt16 DVDDiscView::Language(StreamKind kind, int logical) const {
  if (logical < 0 || logical >= MaxStreams(kind)) return 0;
  return kind == StreamKind::kAudio ? audioLanguages[size_t(logical)]
                                    : subPictureLanguages[size_t(logical)];
}

int DVDDiscView::ButtonAt(int x, int y) const {
  for (int i = 0; i < buttonCount; ++i) {
    Button const& b = buttons[size_t(i)];
    if (x >= int(b.x0) && x <= int(b.x1) && y >= int(b.y0) && y <= int(b.y1)) return i + 1;
  }
  return -1;
}

int DVDDiscView::Neighbour(int button, DVDUserNavigation navigation) const {
  if (button < 1 || button > buttonCount) return button;
  Button const& from = buttons[size_t(button - 1)];
  int to = button;
  switch (navigation) {
    case kDVDUserNavigationMoveUp: to = from.up; break;
    case kDVDUserNavigationMoveDown: to = from.down; break;
    case kDVDUserNavigationMoveLeft: to = from.left; break;
    case kDVDUserNavigationMoveRight: to = from.right; break;
    default: break;
  }
  return to >= 1 && to <= buttonCount ? to : button;
}

// ---- the machine

DVDDiscMachine::~DVDDiscMachine() { Close(); }

dvdnav_s* DVDDiscMachine::OpenNav(std::string const& path, std::vector<int32_t>* parts) {
  dvdnav_t* nav = nullptr;
  if (dvdnav_open2(&nav, nullptr, DVDNavLogger(), path.c_str()) != DVDNAV_STATUS_OK) {
    if (nav) dvdnav_close(nav);
    return nullptr;
  }
  dvdnav_set_readahead_flag(nav, 1);
  dvdnav_set_PGC_positioning_flag(nav, 1);
  // Copies on disk carry no drive to enforce a region; play every region.
  dvdnav_set_region_mask(nav, 0xFF);
  std::string language = DVDPreferredLanguage();
  dvdnav_menu_language_select(nav, language.data());
  dvdnav_audio_language_select(nav, language.data());
  dvdnav_spu_language_select(nav, language.data());
  parts->clear();
  int32_t titles = 0;
  if (dvdnav_get_number_of_titles(nav, &titles) == DVDNAV_STATUS_OK) {
    for (int32_t t = 1; t <= titles; ++t) {
      int32_t n = 0;
      parts->push_back(dvdnav_get_number_of_parts(nav, t, &n) == DVDNAV_STATUS_OK ? n : 0);
    }
  }
  return nav;
}

void DVDDiscMachine::Construct(dvdnav_s* nav, std::vector<int32_t> parts,
                               std::array<UInt8, 8> const& discID,
                               std::shared_ptr<DVDTitleTable const> table) {
  Close();
  mNav = nav;
  mTitleParts = std::move(parts);
  mTitleTable = std::move(table);
  mDiscID = discID;
  mFramesTitle = -1;
  mTitleFrames = 0;
  ForgetChoices();
}

void DVDDiscMachine::Close() {
  if (!mNav) return;
  dvdnav_close(mNav);
  mNav = nullptr;
}

void DVDDiscMachine::Publish() { mView.Take(mNav, mFramesTitle, mTitleFrames); }

void DVDDiscMachine::CountTitleFrames() {
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
  DVDNavPosition position;
  dvdnav_get_video_resolution(mNav, &position.width, &position.height);
  int64_t const code = position.TimeCodeFrameTicks();
  mFramesTitle = title;
  mTitleFrames = chapters == 0 ? 0 : (int64_t(duration) + code / 2) / code;
}

void DVDDiscMachine::Restart() { dvdnav_reset(mNav); }

int32_t DVDDiscMachine::TitleParts(int32_t title) const {
  return title >= 1 && size_t(title) <= mTitleParts.size() ? mTitleParts[size_t(title - 1)] : 0;
}

int DVDDiscMachine::StreamID(StreamKind kind, int logical) const {
  if (!InTitle()) return -1;
  return mView.ID(kind, logical);
}

int DVDDiscMachine::SelectedAudio() const {
  int const chosen = StreamID(StreamKind::kAudio, mAudioChoice);
  return chosen >= 0 ? chosen : mView.discAudio;
}

int DVDDiscMachine::SelectedSubPicture() const {
  int const disc = mView.discSubPicture;
  int const chosen = StreamID(StreamKind::kSubPicture, mSubPictureChoice);
  int stream = chosen >= 0 ? chosen : disc;
  if (stream < 0) return stream;
  bool hidden = (disc >= 0 && (disc & kHidden) != 0) || disc < 0;
  if (InTitle() && mSubPictureShown >= 0) hidden = mSubPictureShown == 0;
  stream &= 0x1F;
  return hidden ? stream | kHidden : stream;
}

// The disc's number of the stream decoded now, without the subpicture's flags.
int DVDDiscMachine::SelectedStream(StreamKind kind) const {
  if (kind == StreamKind::kAudio) return SelectedAudio();
  int const spu = SelectedSubPicture();
  return spu < 0 ? spu : spu & 0x1F;
}

}  // namespace dvd
