// Frame-exact positions on the barcoded discs: every picture carries its frame number as a
// row of blocks, read back from the presented picture and from the decoded one and compared
// with what the service says it shows, while playing, after seeks, steps and chapter jumps.
#include "DVDBarcode.h"
#include "DVDTestSession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace tavelo_test {
namespace {

constexpr int kBandRow = kBarcodeRow;

using Shown = DVDShownPicture;

class DVDFramePositionTest : public DVDSessionTest {
 protected:
  Shown Presented() {
    Settle();
    return PresentedBarcode();
  }

  // The picture on screen shows frame, and every way of asking agrees.
  void ExpectShows(UInt32 frame, char const* what) {
    Shown const s = Presented();
    EXPECT_EQ(int(frame), s.barcode) << what;
    EXPECT_EQ(frame, s.info.frameInTitle) << what;
    UInt32 asked = 0;
    EXPECT_EQ(noErr, DVDGetFrameInTitle(&asked)) << what;
    EXPECT_EQ(frame, asked) << what;
  }

  // The chapters the events have told, less the first skip of them.
  std::vector<DVDEventValue> ChaptersTold(size_t skip = 0) {
    Settle();
    std::vector<DVDEventValue> chapters;
    for (DVDEventRecord const& e : mRecorder.Of(kDVDEventPTT)) chapters.push_back(e.data1);
    chapters.erase(chapters.begin(), chapters.begin() + std::min(skip, chapters.size()));
    return chapters;
  }

  void OpenAndPlay(char const* disc) {
    OpenFile(DiscPath(disc));
    ASSERT_EQ(noErr, DVDPlay());
    Settle();
  }
  // Paused on the opengop disc: steps across its chapters' starts, and seeks to them.
  void StepAcrossChapters();
};

TEST_F(DVDFramePositionTest, PlayingPicturesCarryTheFrameTheyShow) {
  OpenAndPlay("frames");
  UInt32 frames = 0;
  ASSERT_EQ(noErr, DVDGetTitleFrameCount(&frames));
  EXPECT_EQ(900u, frames);
  ExpectShows(0, "first picture");
  int last = 0;
  for (int i = 0; i < 120; ++i) {
    Advance(47);
    Shown const s = Presented();
    ASSERT_EQ(s.barcode, int(s.info.frameInTitle)) << "after " << (i + 1) * 47 << " ms";
    // Frame n is on screen from n x 1001/30000 s.
    int const due = int((i + 1) * 47 * 30000LL / 1001000);
    EXPECT_EQ(due, s.barcode) << "after " << (i + 1) * 47 << " ms";
    EXPECT_GE(s.barcode, last);
    last = s.barcode;
  }
}

TEST_F(DVDFramePositionTest, SeeksShowExactlyTheirFramePausedAndPlaying) {
  OpenAndPlay("frames");
  std::mt19937 random(20261125);
  std::uniform_int_distribution<UInt32> anyFrame(0, 899);
  for (int i = 0; i < 50; ++i) {
    bool const paused = i % 2 == 0;
    if (paused) {
      ASSERT_EQ(noErr, DVDPause());
    } else {
      ASSERT_EQ(noErr, DVDPlay());
    }
    Settle();
    UInt32 const target = anyFrame(random);
    ASSERT_EQ(noErr, DVDSeekToFrame(target)) << target;
    std::string const what = std::to_string(target) + (paused ? " paused" : " playing");
    ExpectShows(target, what.c_str());
    EXPECT_EQ(paused ? kDVDStatePaused : kDVDStatePlaying, LastState()) << what;
    Advance(100);
    // Paused it stays; playing, 100 ms later it is two frames on.
    UInt32 const later = paused ? target : std::min<UInt32>(target + 2, 899);
    if (paused || target + 3 < 900) ExpectShows(later, (what + ", 100 ms later").c_str());
  }
}

TEST_F(DVDFramePositionTest, EveryFrameOfOpenGroupsIsReachedBySeeking) {
  // A group's first pictures need the group before: seeks to them read on from there.
  OpenAndPlay("opengop");
  ASSERT_EQ(noErr, DVDPause());
  for (UInt32 target = 0; target < 150; ++target) {
    // From far away each time, so every seek lands by itself.
    UInt32 const frame = target % 2 ? target : 149 - target;
    ASSERT_EQ(noErr, DVDSeekToFrame(frame)) << frame;
    ExpectShows(frame, ("open groups, " + std::to_string(frame)).c_str());
  }
}

TEST_F(DVDFramePositionTest, StepsCrossAChapterOfOpenGroups) {
  OpenAndPlay("opengop");
  ASSERT_EQ(noErr, DVDPause());
  StepAcrossChapters();
}

TEST_F(DVDFramePositionTest, StepsCrossAChapterOfAChainThatIsNotTheTitleSetsFirst) {
  // Title 2's cells lie after title 1's in the title set: where its chain ends is not where
  // the title set's sectors do.
  OpenAndPlay("opengop");
  ASSERT_EQ(noErr, DVDSetTitle(2));
  Settle();
  ASSERT_EQ(noErr, DVDPause());
  StepAcrossChapters();
}

void DVDFramePositionTest::StepAcrossChapters() {
  // Into the second chapter, and from it into the third (a chapter that is not the last
  // must not be taken for the chain's end).
  for (UInt32 const chapter : {60u, 120u}) {
    ASSERT_EQ(noErr, DVDSeekToFrame(chapter - 8));
    ExpectShows(chapter - 8, "before the chapter");
    for (UInt32 frame = chapter - 7; frame <= chapter + 6; ++frame) {
      ASSERT_EQ(noErr, DVDStepFrame(1));
      ExpectShows(frame, ("step to " + std::to_string(frame)).c_str());
    }
    ASSERT_EQ(noErr, DVDSeekToFrame(chapter));
    ExpectShows(chapter, "the chapter's first frame");
    ASSERT_EQ(noErr, DVDSeekToFrame(chapter + 1));
    ExpectShows(chapter + 1, "the one after it");
  }
}

TEST_F(DVDFramePositionTest, OpenGroupsPlayEveryFrameInOrder) {
  OpenAndPlay("opengop");
  int last = -1;
  for (int i = 0; i < 60; ++i) {
    Advance(67);
    Shown const s = Presented();
    ASSERT_EQ(s.barcode, int(s.info.frameInTitle)) << "after " << (i + 1) * 67 << " ms";
    EXPECT_EQ(int((i + 1) * 67 * 30000LL / 1001000), s.barcode);
    EXPECT_GT(s.barcode, last);
    last = s.barcode;
  }
}

TEST_F(DVDFramePositionTest, StepsBackThenForwardOneFrameAtATime) {
  OpenAndPlay("frames");
  ASSERT_EQ(noErr, DVDSeekToFrame(300));
  ExpectShows(300, "seek");
  for (UInt32 frame = 299; frame >= 270; --frame) {
    ASSERT_EQ(noErr, DVDStepFrame(-1));
    ExpectShows(frame, "step back");
  }
  EXPECT_EQ(kDVDStatePaused, LastState());
  for (UInt32 frame = 271; frame <= 300; ++frame) {
    ASSERT_EQ(noErr, DVDStepFrame(1));
    ExpectShows(frame, "step forward");
  }
  ASSERT_EQ(noErr, DVDStepFrame(-25));
  ExpectShows(275, "25 back");
  ASSERT_EQ(noErr, DVDStepFrame(40));
  ExpectShows(315, "40 on");
}

TEST_F(DVDFramePositionTest, StepsForwardReadOnAcrossGroupsAndChapters) {
  OpenAndPlay("frames");
  ASSERT_EQ(noErr, DVDPause());
  ASSERT_EQ(noErr, DVDSeekToFrame(250));
  ExpectShows(250, "seek");
  // Past several picture groups and the second chapter's first frame, one at a time.
  for (UInt32 frame = 251; frame <= 330; ++frame) {
    ASSERT_EQ(noErr, DVDStepFrame(1));
    ExpectShows(frame, "step forward");
  }
  EXPECT_EQ(2u, Last(kDVDEventPTT));
  EXPECT_EQ(kDVDStatePaused, LastState());
  // To the title's last frame and no further.
  ASSERT_EQ(noErr, DVDSeekToFrame(890));
  ExpectShows(890, "near the end");
  for (UInt32 frame = 891; frame <= 899; ++frame) {
    ASSERT_EQ(noErr, DVDStepFrame(1));
    ExpectShows(frame, "to the end");
  }
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDStepFrame(1));
  ExpectShows(899, "at the end");
  EXPECT_EQ(kDVDStatePaused, LastState());
}

TEST_F(DVDFramePositionTest, SeeksInAnotherTitleShowThatTitlesPictures) {
  // Both titles play the same pictures: what was kept of the first must not stand in for
  // the second's.
  OpenAndPlay("opengop");
  ASSERT_EQ(noErr, DVDPause());
  ASSERT_EQ(noErr, DVDSeekToFrame(50));
  ExpectShows(50, "title 1");
  ASSERT_EQ(noErr, DVDStepFrame(5));
  ExpectShows(55, "title 1, stepped");
  ASSERT_EQ(noErr, DVDSetTitle(2));
  Settle();
  ASSERT_EQ(noErr, DVDPause());
  ASSERT_EQ(noErr, DVDSeekToFrame(50));
  Shown const s = Presented();
  EXPECT_EQ(2, s.info.title);
  EXPECT_EQ(50, s.barcode);
  EXPECT_EQ(50u, s.info.frameInTitle);
}

TEST_F(DVDFramePositionTest, PlayingOnAfterStepsStartsFromTheFrameShown) {
  OpenAndPlay("frames");
  ASSERT_EQ(noErr, DVDSeekToFrame(500));
  ASSERT_EQ(noErr, DVDStepFrame(-7));
  ExpectShows(493, "stepped");
  ASSERT_EQ(noErr, DVDPlay());
  Settle();
  Advance(100);
  Shown const s = Presented();
  EXPECT_GE(s.barcode, 494);
  EXPECT_LE(s.barcode, 497);
  EXPECT_EQ(s.barcode, int(s.info.frameInTitle));
}

TEST_F(DVDFramePositionTest, EachChapterStartsAtItsFirstFrame) {
  OpenAndPlay("frames");
  ExpectShows(0, "chapter 1");
  ASSERT_EQ(noErr, DVDNextChapter());
  ExpectShows(300, "chapter 2");
  EXPECT_EQ(2u, Last(kDVDEventPTT));
  ASSERT_EQ(noErr, DVDNextChapter());
  ExpectShows(600, "chapter 3");
  EXPECT_EQ(3u, Last(kDVDEventPTT));
  // A seek across a chapter point reports the chapter it lands in.
  ASSERT_EQ(noErr, DVDSeekToFrame(150));
  ExpectShows(150, "back in chapter 1");
  EXPECT_EQ(1u, Last(kDVDEventPTT));
}

TEST_F(DVDFramePositionTest, NextChapterCountsFromThePictureOnScreen) {
  OpenAndPlay("frames");
  // Frame 280 is on screen from 9343 ms; reading is a picture group or two further on.
  Advance(9350);
  ExpectShows(280, "just before chapter 2");
  EXPECT_EQ(1u, Last(kDVDEventPTT));
  ASSERT_EQ(noErr, DVDNextChapter());
  ExpectShows(300, "chapter 2");
  EXPECT_EQ(2u, Last(kDVDEventPTT));
  EXPECT_EQ(kDVDStatePlaying, LastState());
  Advance(100);
  ExpectShows(302, "playing on");
}

TEST_F(DVDFramePositionTest, NextChapterWhilePausedShowsItsFirstFrameStillPaused) {
  OpenAndPlay("frames");
  ASSERT_EQ(noErr, DVDPause());
  ASSERT_EQ(noErr, DVDSeekToFrame(150));
  ExpectShows(150, "paused in chapter 1");
  size_t const told = ChaptersTold().size();
  ASSERT_EQ(noErr, DVDNextChapter());
  ExpectShows(300, "chapter 2");
  // Only the chapter shown is told, none the seek passed through on its way.
  EXPECT_EQ((std::vector<DVDEventValue>{2}), ChaptersTold(told));
  EXPECT_EQ(kDVDStatePaused, LastState());
  Advance(500);
  ExpectShows(300, "still paused");
  // Twice at once: the second counts from where the first is going.
  ASSERT_EQ(noErr, DVDPreviousChapter());
  ASSERT_EQ(noErr, DVDNextChapter());
  ASSERT_EQ(noErr, DVDNextChapter());
  ExpectShows(600, "chapter 3");
  EXPECT_EQ(3u, Last(kDVDEventPTT));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDNextChapter());
  ExpectShows(600, "no chapter after the last");
  EXPECT_EQ(kDVDStatePaused, LastState());
}

TEST_F(DVDFramePositionTest, PreviousChapterRestartsTheChapterOnScreenAfterThreeSeconds) {
  OpenAndPlay("frames");
  ASSERT_EQ(noErr, DVDSeekToFrame(400));
  ExpectShows(400, "3.3 s into chapter 2");
  ASSERT_EQ(noErr, DVDPreviousChapter());
  ExpectShows(300, "chapter 2 again");
  EXPECT_EQ(2u, Last(kDVDEventPTT));
  ASSERT_EQ(noErr, DVDSeekToFrame(320));
  ExpectShows(320, "less than a second into chapter 2");
  ASSERT_EQ(noErr, DVDPreviousChapter());
  ExpectShows(0, "chapter 1");
  EXPECT_EQ(1u, Last(kDVDEventPTT));
  // The first chapter has none before it: it starts again.
  ASSERT_EQ(noErr, DVDSeekToFrame(30));
  ExpectShows(30, "a second into chapter 1");
  ASSERT_EQ(noErr, DVDPreviousChapter());
  ExpectShows(0, "chapter 1 again");
  EXPECT_EQ(kDVDStatePlaying, LastState());
}

TEST_F(DVDFramePositionTest, PreviousChapterCountsThreeSecondsAtThePalRate) {
  // Three seconds are 75 PAL frames: 80 frames into chapter 2 is past them, 70 not.
  OpenAndPlay("framespal");
  ASSERT_EQ(noErr, DVDPause());
  ASSERT_EQ(noErr, DVDSeekToFrame(230));
  ExpectShows(230, "80 frames into chapter 2");
  ASSERT_EQ(noErr, DVDPreviousChapter());
  ExpectShows(150, "chapter 2 again");
  ASSERT_EQ(noErr, DVDSeekToFrame(220));
  ExpectShows(220, "70 frames into chapter 2");
  ASSERT_EQ(noErr, DVDPreviousChapter());
  ExpectShows(0, "chapter 1");
  EXPECT_EQ(kDVDStatePaused, LastState());
}

TEST_F(DVDFramePositionTest, GoingToAChapterWhilePausedShowsItsFirstFrame) {
  OpenAndPlay("frames");
  ASSERT_EQ(noErr, DVDPause());
  ASSERT_EQ(noErr, DVDSeekToFrame(100));
  ExpectShows(100, "paused in chapter 1");
  size_t const told = ChaptersTold().size();
  ASSERT_EQ(noErr, DVDSetChapter(3));
  ExpectShows(600, "chapter 3");
  EXPECT_EQ((std::vector<DVDEventValue>{3}), ChaptersTold(told));
  EXPECT_EQ(kDVDStatePaused, LastState());
  ASSERT_EQ(noErr, DVDPlay());
  Advance(100);
  ExpectShows(602, "playing on from it");
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSetChapter(4));
}

TEST_F(DVDFramePositionTest, TheChapterToldIsThatOfThePictureOnScreenWhilePaused) {
  OpenAndPlay("frames");
  ASSERT_EQ(noErr, DVDPause());
  // Reading goes on into chapter 2 for the picture after this one.
  ASSERT_EQ(noErr, DVDSeekToFrame(299));
  ExpectShows(299, "chapter 1's last frame");
  EXPECT_EQ(1u, Last(kDVDEventPTT));
  ASSERT_EQ(noErr, DVDStepFrame(1));
  ExpectShows(300, "chapter 2's first");
  EXPECT_EQ(2u, Last(kDVDEventPTT));
  // Back to a picture kept from the way here.
  ASSERT_EQ(noErr, DVDStepFrame(-1));
  ExpectShows(299, "chapter 1 again");
  EXPECT_EQ(1u, Last(kDVDEventPTT));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(100);
  ExpectShows(302, "played into chapter 2");
  EXPECT_EQ(2u, Last(kDVDEventPTT));
}

TEST_F(DVDFramePositionTest, FramesOutsideTheTitleAreRefusedAndNothingMoves) {
  OpenAndPlay("frames");
  ASSERT_EQ(noErr, DVDSeekToFrame(10));
  ExpectShows(10, "seek");
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSeekToFrame(900));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDStepFrame(-11));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDStepFrame(890));
  ExpectShows(10, "after the refusals");
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetFrameInTitle(nullptr));
}

TEST_F(DVDFramePositionTest, MenusHaveNoFrames) {
  OpenAndPlay("menu");
  Boolean onMenu = false;
  DVDMenu menu = kDVDMenuNone;
  ASSERT_EQ(noErr, DVDIsOnMenu(&onMenu, &menu));
  ASSERT_TRUE(onMenu);
  UInt32 value = 0;
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDStepFrame(1));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDSeekToFrame(0));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetFrameInTitle(&value));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetTitleFrameCount(&value));
  Shown const s = Presented();
  EXPECT_EQ(kDVDNoFrame, s.info.frameInTitle);
}

TEST_F(DVDFramePositionTest, WithoutMediaThereIsNothingToPosition) {
  UInt32 value = 0;
  EXPECT_EQ(kDVDErrorNoMedia, DVDGetFrameInTitle(&value));
  EXPECT_EQ(kDVDErrorNoMedia, DVDSeekToFrame(0));
  EXPECT_EQ(kDVDErrorNoMedia, DVDStepFrame(1));
}

TEST_F(DVDFramePositionTest, PalFramesLastAFiftiethOfASecondTwice) {
  OpenAndPlay("framespal");
  UInt32 frames = 0;
  ASSERT_EQ(noErr, DVDGetTitleFrameCount(&frames));
  EXPECT_EQ(300u, frames);
  Advance(1000);
  ExpectShows(25, "one second in");
  ASSERT_EQ(noErr, DVDNextChapter());
  ExpectShows(150, "chapter 2");
  ASSERT_EQ(noErr, DVDPause());
  ASSERT_EQ(noErr, DVDSeekToFrame(233));
  ExpectShows(233, "seek");
  ASSERT_EQ(noErr, DVDStepFrame(-1));
  ExpectShows(232, "step back");
  ASSERT_EQ(noErr, DVDSeekToFrame(299));
  ExpectShows(299, "last frame");
}

// The decoded picture, its neighbours and its coding flags.
struct Decoded {
  DVDDecodedFrameInfo info{};
  std::vector<UInt8> pixels;
  int Barcode(int picture) const {
    size_t const at = size_t(picture) * info.pictureBytes + size_t(kBandRow) * info.width;
    return at < pixels.size() ? ReadBarcode(pixels.data() + at, 1) : -2;
  }
};

Decoded CopyDecoded(UInt32 neighbours) {
  Decoded d;
  UInt32 size = 0;
  EXPECT_EQ(noErr, DVDCopyDecodedFrame(neighbours, &d.info, nullptr, &size));
  d.pixels.resize(size);
  EXPECT_EQ(noErr, DVDCopyDecodedFrame(neighbours, &d.info, d.pixels.data(), &size));
  return d;
}

TEST_F(DVDFramePositionTest, DecodedPicturesComeWithTheirNeighboursAndFlags) {
  OpenAndPlay("frames");
  ASSERT_EQ(noErr, DVDPause());
  ASSERT_EQ(noErr, DVDSeekToFrame(50));
  ExpectShows(50, "seek");
  Decoded const d = CopyDecoded(kDVDDecodedBefore | kDVDDecodedAfter);
  EXPECT_EQ(720, d.info.width);
  EXPECT_EQ(480, d.info.height);
  EXPECT_EQ(720u * 480 * 3 / 2, d.info.pictureBytes);
  EXPECT_EQ(UInt32(kDVDDecodedBefore | kDVDDecodedAfter), d.info.neighbours);
  ASSERT_EQ(size_t(d.info.pictureBytes) * 3, d.pixels.size());
  EXPECT_EQ(49, d.Barcode(0));
  EXPECT_EQ(50, d.Barcode(1));
  EXPECT_EQ(51, d.Barcode(2));
  EXPECT_EQ(50u, d.info.frameInTitle);
  EXPECT_TRUE(d.info.progressive);
  EXPECT_EQ(kDVDColorMatrixBT601, d.info.matrix);
  EXPECT_FALSE(d.info.fullRange);

  Decoded const alone = CopyDecoded(0);
  EXPECT_EQ(0u, alone.info.neighbours);
  ASSERT_EQ(size_t(alone.info.pictureBytes), alone.pixels.size());
  EXPECT_EQ(50, alone.Barcode(0));
  // A buffer too small is refused.
  DVDDecodedFrameInfo info{};
  UInt32 size = 1;
  std::vector<UInt8> small(1);
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDCopyDecodedFrame(0, &info, small.data(), &size));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDCopyDecodedFrame(4, &info, nullptr, &size));
}

TEST_F(DVDFramePositionTest, AnInterlacedDiscSaysSoTopFieldFirst) {
  OpenAndPlay("interlaced");
  Advance(500);
  Decoded const d = CopyDecoded(0);
  EXPECT_FALSE(d.info.progressive);
  EXPECT_TRUE(d.info.topFieldFirst);
  EXPECT_EQ(int(d.info.frameInTitle), d.Barcode(0));
  UInt32 frames = 0;
  ASSERT_EQ(noErr, DVDGetTitleFrameCount(&frames));
  EXPECT_EQ(120u, frames);
}

TEST_F(DVDFramePositionTest, TheOverlayIsTheMenuHighlightAlone) {
  OpenAndPlay("menu");
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  ASSERT_EQ(noErr, DVDCopyPresentedOverlay(&info, nullptr, &size));
  ASSERT_EQ(size_t(info.width) * info.height * 4, size_t(size));
  EXPECT_EQ(UInt32(info.width) * 4, info.rowBytes);
  std::vector<UInt8> rgba(size);
  ASSERT_EQ(noErr, DVDCopyPresentedOverlay(&info, rgba.data(), &size));
  auto const alpha = [&](int x, int y) { return rgba[(size_t(y) * info.width + x) * 4 + 3]; };
  // Inside the first button the highlight is drawn; far from both buttons nothing is.
  EXPECT_GT(alpha(190, 240), 0);
  EXPECT_EQ(0, alpha(360, 400));
  EXPECT_EQ(0, alpha(10, 10));
}

}  // namespace
}  // namespace tavelo_test
