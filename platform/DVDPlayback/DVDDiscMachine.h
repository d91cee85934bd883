// The disc's machine as the navigator sees it: libdvdnav's handle, the view of the machine the
// application's questions are answered from (taken down by the reading thread after every
// event it reads and every command it carries out), the disc's titles and their frame counts,
// and the sound and subtitle streams chosen. Guarded by the navigator's lock; libdvdnav itself
// is called by the reading thread only.
#pragma once

#include "DVDPlayback.h"
#include "DVDTitleTable.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct dvdnav_s;

namespace dvd {

// dvdnav's position: title (in a menu: 0, and the menu's number as part) and picture.
struct DVDNavPosition {
  bool inTitle = false;
  int32_t title = 0;
  int32_t part = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  int aspect = 0;

  // A frame's length in ticks, and the length the disc's time codes count a frame as.
  int64_t FrameTicks() const;
  int64_t TimeCodeFrameTicks() const;
};

// What the machine said when the reader last looked.
class DVDDiscView {
 public:
  enum class StreamKind { kAudio, kSubPicture };
  static constexpr int kAudioStreams = 8;
  static constexpr int kSubPictureStreams = 32;
  // A menu button: its rectangle in the picture and its neighbours (1-based).
  struct Button {
    uint16_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    uint8_t up = 0, down = 0, left = 0, right = 0;
  };

  // Takes down what nav says now; titleFrames: the title's count when it is the one playing.
  void Take(dvdnav_s* nav, int32_t framesTitle, int64_t titleFrames);
  static int MaxStreams(StreamKind kind);
  // The disc's stream number of a logical stream (-1: none), and its language.
  int ID(StreamKind kind, int logical) const;
  UInt16 Language(StreamKind kind, int logical) const;
  // The button under a point (1-based), -1 when none.
  int ButtonAt(int x, int y) const;
  // The button a move from button goes to (button itself when none).
  int Neighbour(int button, DVDUserNavigation navigation) const;

  DVDNavPosition position;
  bool inMenu = false;
  bool inManagerMenu = false;  // the disc's own menus, before any title set
  bool hasAngles = false;
  int32_t angle = 0;
  int32_t angles = 0;
  int64_t titleFrames = 0;
  std::array<int8_t, kAudioStreams> audioIDs{};
  std::array<UInt16, kAudioStreams> audioLanguages{};
  std::array<int8_t, kSubPictureStreams> subPictureIDs{};
  std::array<UInt16, kSubPictureStreams> subPictureLanguages{};
  int discAudio = -1;  // what the machine selects
  int discSubPicture = -1;
  int buttonCount = 0;
  std::array<Button, 36> buttons{};
};

class DVDDiscMachine {
 public:
  using StreamKind = DVDDiscView::StreamKind;
  // The subpicture stream's flag: forced pictures only.
  static constexpr int kHidden = 0x80;

  DVDDiscMachine() = default;
  ~DVDDiscMachine();
  DVDDiscMachine(DVDDiscMachine const&) = delete;
  DVDDiscMachine& operator=(DVDDiscMachine const&) = delete;

  // Opens libdvdnav on the disc at path, set up for playing, and counts each title's
  // chapters (without the lock: it reads the disc); null when it is no DVD.
  static dvdnav_s* OpenNav(std::string const& path, std::vector<int32_t>* parts);
  // Takes a handle OpenNav gave (lock held).
  void Construct(dvdnav_s* nav, std::vector<int32_t> parts, std::array<UInt8, 8> const& discID,
                 std::shared_ptr<DVDTitleTable const> table);
  void Close();
  bool IsOpen() const { return mNav != nullptr; }
  dvdnav_s* Nav() const { return mNav; }

  // Takes down what the machine says now (reader, lock held).
  void Publish();
  // The current title's frame count, worked out once a title (reader, without the lock: it
  // reads the title set's information file).
  void CountTitleFrames();
  // Back to the disc's first-play state (reader, without the lock).
  void Restart();
  bool InTitle() const { return mNav && mView.position.inTitle; }
  // Chapters of a title of the disc (0: no such title), and how many titles it has.
  int32_t TitleParts(int32_t title) const;
  size_t TitleCount() const { return mTitleParts.size(); }

  // The disc's stream (MPEG) number of a title's logical stream, -1 when absent.
  int StreamID(StreamKind kind, int logical) const;
  // What is decoded now: the stream the user chose, else the one the disc selects; the
  // subpicture's kHidden bit: forced pictures only.
  int SelectedAudio() const;
  int SelectedSubPicture() const;
  int SelectedStream(StreamKind kind) const;
  void ForgetChoices() { mAudioChoice = mSubPictureChoice = mSubPictureShown = -1; }

  DVDDiscView mView;
  std::array<UInt8, 8> mDiscID{};
  std::shared_ptr<DVDTitleTable const> mTitleTable;  // set at open, never changed while open
  int mAudioChoice = -1;  // logical streams the user chose, -1: as the disc says
  int mSubPictureChoice = -1;
  int mSubPictureShown = -1;  // 1 shown, 0 hidden, -1: as the disc says

 private:
  dvdnav_s* mNav = nullptr;
  std::vector<int32_t> mTitleParts;  // chapters of each title, from the disc's manager
  // The reader's own: the title last counted.
  int32_t mFramesTitle = -1;
  int64_t mTitleFrames = 0;
};

}  // namespace dvd
