// Film on the soft-telecined disc (mpeg2enc's pulldown flags, groups that start halfway
// through a frame): every frame position shows the film frame on screen then, a reported
// position sought again shows the same picture, and steps both ways show a new film frame
// each time. Every film frame carries its number as a barcode.
#include "DVDBarcode.h"
#include "DVDTestSession.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

namespace tavelo_test {
namespace {

// The barcode is the film frame's number.
using Shown = DVDShownPicture;

class DVDFilmFrameTest : public DVDSessionTest {
 protected:
  Shown Presented() {
    Settle();
    return PresentedBarcode();
  }

  void OpenPaused() {
    OpenFile(std::string(TAVELO_FILM_DISCS) + "/soft");
    ASSERT_EQ(noErr, DVDPlay());
    Settle();
    ASSERT_EQ(noErr, DVDPause());
    Settle();
  }
};

TEST_F(DVDFilmFrameTest, EveryFrameShowsTheFilmFrameOnScreenThen) {
  OpenPaused();
  UInt32 frames = 0;
  ASSERT_EQ(noErr, DVDGetTitleFrameCount(&frames));
  EXPECT_EQ(600u, frames);
  std::map<int, int> positions;  // film frame -> frames it was found at
  int last = -1;
  // Across several groups, half of which start halfway through a frame.
  for (UInt32 frame = 170; frame < 250; ++frame) {
    // From far away each time, so that every seek lands by itself.
    ASSERT_EQ(noErr, DVDSeekToFrame(frame % 2 ? 560 - frame : frame)) << frame;
    Presented();
    ASSERT_EQ(noErr, DVDSeekToFrame(frame)) << frame;
    Shown const s = Presented();
    std::string const what = "frame " + std::to_string(frame);
    ASSERT_GE(s.barcode, 0) << what;
    // The picture shown says which frames it is on screen for; this is one of them.
    EXPECT_LE(s.info.frameInTitle, frame) << what;
    EXPECT_LT(frame, s.info.frameInTitle + s.info.framesShown) << what;
    EXPECT_LE(std::abs(s.barcode - int(std::floor(frame * 0.8))), 1) << what << ": film " << s.barcode;
    EXPECT_TRUE(s.barcode == last || s.barcode == last + 1 || last < 0) << what << ": film " << s.barcode;
    last = s.barcode;
    ++positions[s.barcode];
  }
  // 3:2 pulldown: 5 frames show 4 film frames, one of them at two frames.
  int twice = 0;
  for (auto const& [film, count] : positions) {
    EXPECT_LE(count, 2) << "film frame " << film;
    twice += count == 2;
  }
  EXPECT_GE(twice, int(positions.size()) / 4 - 1);
  EXPECT_LE(twice, int(positions.size()) / 4 + 1);
}

TEST_F(DVDFilmFrameTest, StepsBothWaysShowANewFilmFrameEachTime) {
  OpenPaused();
  ASSERT_EQ(noErr, DVDSeekToFrame(300));
  Shown const start = Presented();
  ASSERT_GE(start.barcode, 0);
  std::vector<Shown> seen{start};
  for (int i = 1; i <= 40; ++i) {
    ASSERT_EQ(noErr, DVDStepFrame(1));
    Shown const s = Presented();
    EXPECT_EQ(start.barcode + i, s.barcode) << "step " << i << " forward";
    seen.push_back(s);
  }
  for (int i = 39; i >= 0; --i) {
    ASSERT_EQ(noErr, DVDStepFrame(-1));
    Shown const s = Presented();
    EXPECT_EQ(start.barcode + i, s.barcode) << "step back to " << i;
    EXPECT_EQ(seen[size_t(i)].info.frameInTitle, s.info.frameInTitle) << "step back to " << i;
  }
  EXPECT_EQ(kDVDStatePaused, LastState());
  // A position reported is a way back to the same picture.
  for (size_t i = 0; i < seen.size(); i += 7) {
    ASSERT_EQ(noErr, DVDSeekToFrame(seen[i].info.frameInTitle));
    EXPECT_EQ(seen[i].barcode, Presented().barcode) << "seek to " << seen[i].info.frameInTitle;
  }
}

TEST_F(DVDFilmFrameTest, PlayingOnAfterStepsStartsFromTheFilmFrameShown) {
  OpenPaused();
  ASSERT_EQ(noErr, DVDSeekToFrame(200));
  ASSERT_EQ(noErr, DVDStepFrame(-1));
  Shown const s = Presented();
  ASSERT_GE(s.barcode, 0);
  ASSERT_EQ(noErr, DVDPlay());
  Advance(80);
  Shown const later = Presented();
  // 80 ms on: two film frames, give or take the one being shown.
  EXPECT_GE(later.barcode, s.barcode + 1);
  EXPECT_LE(later.barcode, s.barcode + 3);
}

}  // namespace
}  // namespace tavelo_test
