// A presented picture: the decoded picture with its place in the title, the pictures
// decoded just before and after it (when there were), and what is drawn over it. Its RGB
// form and its overlay layer are made only when someone asks for them (the view converts
// only what it draws), once, and shared by its copies.
#pragma once

#include "DVDCaption.h"
#include "DVDPlayback.h"
#include "DVDSubpictureDecoder.h"

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

struct AVFrame;

namespace dvd {

// How a decoded picture was coded: as two fields (and which first), or as a frame.
struct DVDFieldOrder {
  bool interlaced = false;
  bool topFieldFirst = false;
};
DVDFieldOrder FieldOrderOf(AVFrame const* f);

struct DVDPicture {
  int width = 0;
  int height = 0;
  DVDAspectRatio aspect = kDVDAspectRatio4x3;
  int title = 0;
  int chapter = 0;
  int64_t titleTime = 0;
  UInt32 number = 0;
  int64_t frameInTitle = -1;
  int64_t framesShown = 1;
  std::shared_ptr<AVFrame const> decoded;
  std::shared_ptr<AVFrame const> before;
  std::shared_ptr<AVFrame const> after;
  // The subpicture shown over it (null when none), with the highlight and palette it is
  // drawn in.
  std::shared_ptr<DVDSubpicture const> subpicture;
  DVDHighlight highlight;
  std::array<uint32_t, 16> clut{};
  // The closed caption shown over it (null when none).
  std::shared_ptr<DVDCaption const> caption;

  // The picture's width at its display aspect.
  int DisplayWidth() const;
  // RGB24 rows (width * 3 bytes) at the stored size with the subpicture and caption drawn; empty when
  // the picture cannot be converted.
  std::vector<uint8_t> const& RGB() const;
  // The subpicture, highlight and caption alone as RGBA with straight alpha; empty when nothing is
  // drawn over the picture.
  std::vector<uint8_t> const& Overlay() const;

 private:
  struct Made {
    std::mutex mutex;  // DVDLockOrder.h: drawing (7), first
    bool rgb = false;
    bool overlay = false;
    std::vector<uint8_t> rgbPixels;
    std::vector<uint8_t> overlayPixels;
  };
  std::shared_ptr<Made> mMade = std::make_shared<Made>();
};

}  // namespace dvd
