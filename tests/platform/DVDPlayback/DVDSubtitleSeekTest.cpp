// The subtitle on screen at a frame after a seek or a step, when the unit drawing it was
// read with a picture group before the one landed in: the soft film disc's subtitles run
// from 0 to 15 s (English a box at 64,64-192,128, German at 528,352-656,416) over groups of
// about 0.6 s and a second cell from 10.01 s; the letterbox disc forces its box
// (300,200-420,260) from 0 to 2 s over groups of 20 frames. Read back from the overlay.
#include "DVDSubpictureDecoder.h"
#include "DVDTestSession.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tavelo_test {
namespace {

// A 4 x 2 subpicture at (10, 20) shown from its time stamp, for stop x 1024 ticks when stop
// is not 0.
std::vector<uint8_t> Unit(uint16_t stop) {
  std::vector<uint8_t> p = {0, 0, 0, 6, 0x11, 0xAB};
  size_t const control = p.size();
  size_t const second = control + 4 + 20;
  uint16_t const next = uint16_t(stop ? second : control);
  p.insert(p.end(), {0, 0, uint8_t(next >> 8), uint8_t(next)});
  p.insert(p.end(), {0x01, 0x03, 0x32, 0x10, 0x04, 0xFF, 0xF0});
  p.insert(p.end(), {0x05, 0x00, 0xA0, 0x0D, 0x01, 0x40, 0x15});
  p.insert(p.end(), {0x06, 0x00, 0x04, 0x00, 0x05, 0xFF});
  if (stop) {
    p.insert(p.end(), {uint8_t(stop >> 8), uint8_t(stop), uint8_t(second >> 8),
                       uint8_t(second), 0x02, 0xFF});
  }
  p[0] = uint8_t(p.size() >> 8);
  p[1] = uint8_t(p.size());
  return p;
}

TEST(DVDSubpictureJumpTest, AUnitReadBeforeTheLandingShowsFromItUnlessItHadEnded) {
  dvd::DVDSubpictureDecoder decoder;
  auto const lasting = Unit(0);
  auto const brief = Unit(10);  // 10240 ticks
  // The old position: one on screen, one read ahead and never shown.
  decoder.Decode(lasting.data(), lasting.size(), 50000);
  decoder.Decode(lasting.data(), lasting.size(), 300000);
  decoder.EndAt(200000);
  // Read again for the landing at 200000: one over by then, one still on screen there.
  decoder.Decode(brief.data(), brief.size(), 150000);
  EXPECT_EQ(nullptr, decoder.At(200000, false));
  decoder.Decode(lasting.data(), lasting.size(), 100000);
  EXPECT_NE(nullptr, decoder.At(200000, false));
  EXPECT_NE(nullptr, decoder.At(350000, false));
}

TEST(DVDSubpictureJumpTest, AUnitIsShownByItsStartWhicheverOrderItCameIn) {
  dvd::DVDSubpictureDecoder decoder;
  auto const brief = Unit(10);
  auto const lasting = Unit(0);
  decoder.Decode(brief.data(), brief.size(), 500000);
  decoder.Decode(lasting.data(), lasting.size(), 100000);
  EXPECT_NE(nullptr, decoder.At(120000, false)) << "the earlier one, read later";
  EXPECT_NE(nullptr, decoder.At(505000, false)) << "the later one once it starts";
  EXPECT_EQ(nullptr, decoder.At(520000, false)) << "and over when it stops";
}

TEST(DVDSubpictureJumpTest, TheRestOfAUnitWhoseStartWasNotReadIsDropped) {
  dvd::DVDSubpictureDecoder decoder;
  auto const unit = Unit(0);
  // The tail of a unit begun before the landing: no time stamp of its own.
  decoder.Decode(unit.data() + 4, unit.size() - 4, dvd::kNoTime);
  decoder.Decode(unit.data(), unit.size(), 9000);
  EXPECT_NE(nullptr, decoder.At(9000, false));
}

class DVDSubtitleSeekTest : public DVDSessionTest {
 protected:
  // Opens disc, with the subtitle stream shown (-1: as the disc says), playing then paused.
  void OpenPaused(std::string const& path, int stream) {
    OpenFile(path);
    ASSERT_EQ(noErr, DVDPlay());
    Settle();
    if (stream >= 0) {
      ASSERT_EQ(noErr, DVDSetSubPictureStream(UInt16(stream)));
      ASSERT_EQ(noErr, DVDEnableSubPicture(true));
    }
    ASSERT_EQ(noErr, DVDPause());
    Settle();
  }
  // Whether the overlay draws at x, y of the stored picture, and the frame it is over.
  bool Drawn(int x, int y, UInt32* frame = nullptr) {
    Settle();
    DVDPresentedFrameInfo info{};
    UInt32 size = 0;
    EXPECT_EQ(noErr, DVDCopyPresentedOverlay(&info, nullptr, &size));
    std::vector<UInt8> rgba(size);
    EXPECT_EQ(noErr, DVDCopyPresentedOverlay(&info, rgba.data(), &size));
    if (frame) *frame = info.frameInTitle;
    size_t const i = (size_t(y) * info.width + size_t(x)) * 4;
    return i + 3 < rgba.size() && rgba[i + 3] > 128 && rgba[i + 1] > 200;
  }
  bool English(UInt32* frame = nullptr) { return Drawn(128, 96, frame); }
  bool German() { return Drawn(592, 384); }
};

std::string SoftFilm() { return std::string(TAVELO_FILM_DISCS) + "/soft"; }

TEST_F(DVDSubtitleSeekTest, TheFilmSubtitleIsOnScreenAfterASeekAndStepsEitherWay) {
  OpenPaused(SoftFilm(), 0);
  ASSERT_EQ(noErr, DVDSeekToFrame(300));
  UInt32 frame = 0;
  EXPECT_TRUE(English(&frame));
  EXPECT_EQ(300u, frame);
  EXPECT_FALSE(German());
  ASSERT_EQ(noErr, DVDStepFrame(-1));
  EXPECT_TRUE(English(&frame)) << "a step back, at " << frame;
  // Far enough back that its group is decoded again.
  ASSERT_EQ(noErr, DVDStepFrame(-30));
  EXPECT_TRUE(English(&frame)) << "a step back to a group read again, at " << frame;
  ASSERT_EQ(noErr, DVDStepFrame(1));
  EXPECT_TRUE(English(&frame)) << "a step on, at " << frame;
  // Every stream's unit is read again: the other one shows once chosen.
  ASSERT_EQ(noErr, DVDSetSubPictureStream(1));
  EXPECT_TRUE(German());
  EXPECT_FALSE(English());
}

TEST_F(DVDSubtitleSeekTest, ASubtitleBegunInTheCellBeforeIsOnScreenUntilItEnds) {
  OpenPaused(SoftFilm(), 0);
  // 12 s: in the second cell, whose groups point to no unit of their own.
  ASSERT_EQ(noErr, DVDSeekToFrame(360));
  UInt32 frame = 0;
  EXPECT_TRUE(English(&frame));
  EXPECT_EQ(360u, frame);
  // 16 s: the subtitle ended at 15 s.
  ASSERT_EQ(noErr, DVDSeekToFrame(480));
  EXPECT_FALSE(English(&frame));
  EXPECT_EQ(480u, frame);
  ASSERT_EQ(noErr, DVDSeekToFrame(400));
  EXPECT_TRUE(English(&frame)) << "back into it, at " << frame;
}

TEST_F(DVDSubtitleSeekTest, TheForcedSubtitleIsOnScreenAfterASeekWithoutSubtitlesChosen) {
  OpenPaused(DiscPath("letterbox"), -1);
  ASSERT_EQ(noErr, DVDSeekToFrame(45));
  UInt32 frame = 0;
  EXPECT_TRUE(Drawn(360, 230, &frame));
  EXPECT_EQ(45u, frame);
  ASSERT_EQ(noErr, DVDStepFrame(-20));
  EXPECT_TRUE(Drawn(360, 230, &frame)) << "a step back, at " << frame;
}

}  // namespace
}  // namespace tavelo_test
