// Pictures as presented, read back through DVDCopyPresentedFrame on the authored discs:
// each chapter's solid colour at its times, the picture after a jump, the display aspect,
// the menu highlight inside the selected button, stills, pause, and sound and picture
// keeping step on the null sink.
#include "DVDTestSession.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <mutex>

namespace tavelo_test {
namespace {

struct Rgb {
  int r, g, b;
};

// Limited-range video converted back to RGB is a few steps off the authored colour.
constexpr int kTolerance = 14;

bool Close(Rgb actual, Rgb expected) {
  return std::abs(actual.r - expected.r) <= kTolerance &&
         std::abs(actual.g - expected.g) <= kTolerance &&
         std::abs(actual.b - expected.b) <= kTolerance;
}

::testing::AssertionResult Near(Rgb actual, Rgb expected) {
  if (Close(actual, expected)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "(" << actual.r << "," << actual.g << "," << actual.b
                                       << ") is not near (" << expected.r << "," << expected.g
                                       << "," << expected.b << ")";
}

constexpr Rgb kRed{255, 0, 0};
constexpr Rgb kGreen{0, 128, 0};  // the colour named green is half bright
constexpr Rgb kBlue{0, 0, 255};
constexpr Rgb kYellow{255, 255, 0};
constexpr Rgb kCyan{0, 255, 255};
constexpr Rgb kGrey{128, 128, 128};
constexpr Rgb kOrange{255, 165, 0};

struct Picture {
  DVDPresentedFrameInfo info{};
  std::vector<UInt8> pixels;
  // No colour at all (-1) where there is no picture.
  Rgb At(int x, int y) const {
    size_t const i = size_t(y) * info.rowBytes + size_t(x) * 3;
    if (i + 2 >= pixels.size()) return {-1, -1, -1};
    return {pixels[i], pixels[i + 1], pixels[i + 2]};
  }
  Rgb Centre() const { return At(info.width / 2, info.height / 2); }
};

class DVDPictureTest : public DVDSessionTest {
 protected:
  Picture Presented() {
    Settle();
    Picture p;
    EXPECT_TRUE(CopyPresented(p.info, p.pixels));
    EXPECT_EQ(size_t(p.info.rowBytes) * p.info.height, p.pixels.size());
    return p;
  }

  // Plays on in steps, calling check with every newly presented picture.
  template <class F>
  void Watch(UInt32 ms, UInt32 step, F&& check) {
    UInt32 last = Presented().info.frameNumber;
    for (UInt32 t = 0; t < ms; t += step) {
      Advance(step);
      Picture const p = Presented();
      if (p.info.frameNumber != last) check(p);
      last = p.info.frameNumber;
    }
  }
};

Rgb NtscChapterColour(int chapter) {
  return chapter == 1 ? kRed : chapter == 2 ? kGreen : kBlue;
}

TEST_F(DVDPictureTest, NothingIsPresentedBeforePlay) {
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDCopyPresentedFrame(nullptr, nullptr, &size));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDCopyPresentedFrame(&info, nullptr, nullptr));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDCopyPresentedFrame(&info, nullptr, &size));
  OpenFile(DiscPath("ntsc43"));
  Advance(1000);
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDCopyPresentedFrame(&info, nullptr, &size));
}

TEST_F(DVDPictureTest, CentreIsTheChaptersColourAtSeveralTimes) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  // Chapters change at 4004 and 8008 ms.
  struct Point {
    UInt32 ms;
    int chapter;
  };
  Point const points[] = {{300, 1},  {2000, 1}, {3900, 1},  {4300, 2},  {6000, 2},
                          {7900, 2}, {8300, 3}, {10000, 3}, {11900, 3}};
  UInt32 now = 0;
  for (Point const& point : points) {
    Advance(point.ms - now);
    now = point.ms;
    Picture const p = Presented();
    SCOPED_TRACE(testing::Message() << "at " << point.ms << " ms");
    EXPECT_EQ(720, p.info.width);
    EXPECT_EQ(480, p.info.height);
    EXPECT_EQ(1, p.info.title);
    EXPECT_EQ(point.chapter, p.info.chapter);
    EXPECT_NEAR(double(point.ms), double(p.info.elapsedMs), 80.0);
    EXPECT_TRUE(Near(p.Centre(), NtscChapterColour(point.chapter)));
    // Solid colour: the corners too.
    EXPECT_TRUE(Near(p.At(10, 10), NtscChapterColour(point.chapter)));
    EXPECT_TRUE(Near(p.At(709, 469), NtscChapterColour(point.chapter)));
  }
}

TEST_F(DVDPictureTest, EveryPictureIsPresentedInOrderAtNormalSpeed) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(200);
  UInt32 const first = Presented().info.frameNumber;
  UInt32 previousMs = Presented().info.elapsedMs;
  int presented = 0;
  // Three seconds in 10 ms steps cover about 90 pictures, across picture-group ends.
  Watch(3000, 10, [&](Picture const& p) {
    ++presented;
    EXPECT_GT(p.info.elapsedMs, previousMs);
    EXPECT_LT(p.info.elapsedMs, previousMs + 40);
    previousMs = p.info.elapsedMs;
  });
  EXPECT_GE(presented, 88);
  EXPECT_LE(presented, 91);
  EXPECT_EQ(UInt32(first + presented), Presented().info.frameNumber);
}

TEST_F(DVDPictureTest, AfterAChapterJumpOnlyTheNewChaptersPicturesShow) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(1000);
  EXPECT_TRUE(Near(Presented().Centre(), kRed));
  ASSERT_EQ(noErr, DVDNextChapter());
  int seen = 0;
  Watch(1000, 10, [&](Picture const& p) {
    ++seen;
    EXPECT_EQ(2, p.info.chapter);
    EXPECT_TRUE(Near(p.Centre(), kGreen)) << "picture " << seen;
  });
  EXPECT_GT(seen, 20);
  ASSERT_EQ(noErr, DVDPreviousChapter());
  Watch(300, 10, [&](Picture const& p) { EXPECT_TRUE(Near(p.Centre(), kRed)); });
  EXPECT_TRUE(Near(Presented().Centre(), kRed));
}

TEST_F(DVDPictureTest, WidescreenTitleIsPresentedAtSixteenByNine) {
  OpenFile(DiscPath("pal169"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(1000);
  Picture p = Presented();
  EXPECT_EQ(kDVDAspectRatio16x9, p.info.aspect);
  EXPECT_EQ(720, p.info.width);
  EXPECT_EQ(576, p.info.height);
  EXPECT_EQ(1024, p.info.displayWidth);
  EXPECT_EQ(576, p.info.displayHeight);
  EXPECT_TRUE(Near(p.Centre(), kYellow));
  Advance(3000);
  p = Presented();
  EXPECT_EQ(2, p.info.chapter);
  EXPECT_TRUE(Near(p.Centre(), kCyan));
  EXPECT_EQ(kDVDAspectRatio16x9, p.info.aspect);
}

TEST_F(DVDPictureTest, FourByThreeTitleIsPresentedAtFourByThree) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(500);
  Picture const p = Presented();
  EXPECT_EQ(kDVDAspectRatio4x3, p.info.aspect);
  EXPECT_EQ(640, p.info.displayWidth);
  EXPECT_EQ(480, p.info.displayHeight);
}

TEST_F(DVDPictureTest, ChainedTitleChangesAspectWithItsPictures) {
  OpenFile(DiscPath("chain"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(4000);  // title 1's still
  Picture p = Presented();
  EXPECT_EQ(kDVDAspectRatio4x3, p.info.aspect);
  EXPECT_TRUE(Near(p.Centre(), Rgb{255, 0, 255}));
  Advance(2500);
  p = Presented();
  EXPECT_EQ(2, p.info.title);
  EXPECT_EQ(kDVDAspectRatio16x9, p.info.aspect);
  EXPECT_TRUE(Near(p.Centre(), Rgb{255, 255, 255}));
}

TEST_F(DVDPictureTest, ScanAtTwiceShowsEveryPictureAboveOnlyIntraPictures) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(500);
  ASSERT_EQ(noErr, DVDScan(kDVDScanRate2x, kDVDScanDirectionForward));
  std::vector<UInt32> times;
  Watch(1000, 5, [&](Picture const& p) { times.push_back(p.info.elapsedMs); });
  // Two seconds of title in one of clock: about 60 pictures, a frame apart.
  EXPECT_GE(times.size(), 50u);
  for (size_t i = 1; i < times.size(); ++i) EXPECT_LT(times[i] - times[i - 1], 70u) << i;
  ASSERT_EQ(noErr, DVDScan(kDVDScanRate8x, kDVDScanDirectionForward));
  // Pictures decoded before the change still show at the new speed; then only the intra
  // pictures: the first of each 10-frame group (333.7 ms).
  Advance(200);
  times.clear();
  Watch(800, 5, [&](Picture const& p) {
    times.push_back(p.info.elapsedMs);
    EXPECT_EQ(1, p.info.title);
  });
  ASSERT_GE(times.size(), 8u);
  for (size_t i = 0; i < times.size(); ++i) {
    double const inGroup = std::fmod(double(times[i]), 1001.0 / 3.0);
    EXPECT_TRUE(inGroup < 20.0 || inGroup > 313.0) << times[i];
    if (i > 0) {
      EXPECT_GT(times[i] - times[i - 1], 300u);
    }
  }
  EXPECT_GT(times.back() - times.front(), 4000u);
}

TEST_F(DVDPictureTest, PlayAfterAScanGoesOnFromThePictureOnScreen) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(500);
  ASSERT_EQ(noErr, DVDScan(kDVDScanRate8x, kDVDScanDirectionForward));
  Advance(500);
  UInt32 const scanned = Presented().info.elapsedMs;
  EXPECT_GT(scanned, 2500u);
  ASSERT_EQ(noErr, DVDPlay());
  // What was read ahead at the scan's speed plays at normal speed: the pictures go on from
  // where the scan got to, in order, and after it every picture shows, a frame apart.
  std::vector<UInt32> times;
  Watch(2500, 5, [&](Picture const& p) {
    times.push_back(p.info.elapsedMs);
    EXPECT_EQ(1, p.info.title);
  });
  ASSERT_GE(times.size(), 40u);
  EXPECT_GE(times.front(), scanned);
  EXPECT_LT(times.front(), scanned + 1500);
  for (size_t i = 1; i < times.size(); ++i) EXPECT_GT(times[i], times[i - 1]) << i;
  for (size_t i = times.size() - 20; i < times.size(); ++i) {
    EXPECT_LT(times[i] - times[i - 1], 40u) << i;
  }
  EXPECT_NEAR(double(times.front()) + 2500.0, double(times.back()), 1100.0);
}

TEST_F(DVDPictureTest, AfterATimedStillTheNextTitlePlaysEveryPicture) {
  OpenFile(DiscPath("chain"));
  ASSERT_EQ(noErr, DVDPlay());
  // Title 1 (3003 ms) and its 2-second still, then title 2.
  Advance(5200);
  ASSERT_EQ(2, Presented().info.title);
  int presented = 0;
  Watch(2000, 10, [&](Picture const& p) {
    ++presented;
    EXPECT_TRUE(Near(p.Centre(), Rgb{255, 255, 255}));
  });
  EXPECT_GE(presented, 58);
}

class DVDMenuPictureTest : public DVDPictureTest {
 protected:
  void OpenMenu() {
    OpenFile(DiscPath("menu"));
    ASSERT_EQ(noErr, DVDPlay());
    Advance(1000);
  }

  // The box around every pixel of the highlight colour; false when there is none.
  static bool HighlightBox(Picture const& p, Rgb colour, int* x0, int* y0, int* x1, int* y1) {
    *x0 = *y0 = 100000;
    *x1 = *y1 = -1;
    for (int y = 0; y < p.info.height; ++y) {
      for (int x = 0; x < p.info.width; ++x) {
        if (!Close(p.At(x, y), colour)) continue;
        *x0 = std::min(*x0, x);
        *y0 = std::min(*y0, y);
        *x1 = std::max(*x1, x);
        *y1 = std::max(*y1, y);
      }
    }
    return *x1 >= 0;
  }
};

// Button 1 is (96,192)-(288,288), button 2 (432,192)-(624,288); the selected one is
// drawn in the highlight picture's yellow over the grey background.
TEST_F(DVDMenuPictureTest, HighlightOfTheSelectedButtonIsInsideItsRectangle) {
  OpenMenu();
  Picture const p = Presented();
  EXPECT_EQ(0, p.info.title);
  EXPECT_TRUE(Near(p.At(192, 240), kYellow));
  EXPECT_TRUE(Near(p.At(528, 240), kGrey));
  EXPECT_TRUE(Near(p.At(360, 100), kGrey));
  int x0, y0, x1, y1;
  ASSERT_TRUE(HighlightBox(p, kYellow, &x0, &y0, &x1, &y1));
  EXPECT_GE(x0, 96);
  EXPECT_GE(y0, 192);
  EXPECT_LE(x1, 288);
  EXPECT_LE(y1, 288);
  // It fills most of the button.
  EXPECT_GT((x1 - x0) * (y1 - y0), 150 * 80);
}

TEST_F(DVDMenuPictureTest, HighlightMovesWithTheSelection) {
  OpenMenu();
  UInt32 const before = Presented().info.frameNumber;
  ASSERT_EQ(noErr, DVDDoUserNavigation(kDVDUserNavigationMoveRight));
  Picture p = Presented();
  EXPECT_GT(p.info.frameNumber, before) << "drawn again for the new selection";
  EXPECT_TRUE(Near(p.At(528, 240), kYellow));
  EXPECT_TRUE(Near(p.At(192, 240), kGrey));
  int x0, y0, x1, y1;
  ASSERT_TRUE(HighlightBox(p, kYellow, &x0, &y0, &x1, &y1));
  EXPECT_GE(x0, 432);
  EXPECT_GE(y0, 192);
  EXPECT_LE(x1, 624);
  EXPECT_LE(y1, 288);
  // Pointing at button 1 moves it back.
  Rect const bounds{0, 0, 480, 720};
  ASSERT_EQ(noErr, DVDSetVideoBounds(&bounds));
  SInt32 index = 0;
  ASSERT_EQ(noErr, DVDDoMenuMouseOver(Point{240, 150}, &index));
  ASSERT_EQ(1, index);
  p = Presented();
  EXPECT_TRUE(Near(p.At(192, 240), kYellow));
  EXPECT_TRUE(Near(p.At(528, 240), kGrey));
}

TEST_F(DVDMenuPictureTest, StillMenuStaysPresented) {
  OpenMenu();
  Picture const first = Presented();
  for (int i = 0; i < 6; ++i) {
    Advance(10000);
    Picture const p = Presented();
    EXPECT_EQ(first.info.frameNumber, p.info.frameNumber);
    EXPECT_EQ(first.pixels, p.pixels);
  }
  EXPECT_EQ(kDVDStatePlayingStill, LastState());
}

TEST_F(DVDMenuPictureTest, ActivatedButtonPlaysItsTitlesPictures) {
  OpenMenu();
  ASSERT_EQ(noErr, DVDDoUserNavigation(kDVDUserNavigationEnter));
  Advance(500);
  Picture const p = Presented();
  EXPECT_EQ(1, p.info.title);
  EXPECT_TRUE(Near(p.Centre(), kOrange));
  // No button is drawn over the title.
  EXPECT_TRUE(Near(p.At(192, 240), kOrange));
}

TEST_F(DVDPictureTest, PauseFreezesPictureAndSoundAtOnce) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(1500);
  ASSERT_EQ(noErr, DVDPause());
  Settle();
  Picture const paused = Presented();
  int64_t const sound = dvd::AudioFramesDelivered();
  EXPECT_GT(sound, 0);
  Advance(3000);
  EXPECT_EQ(paused.info.frameNumber, Presented().info.frameNumber);
  EXPECT_EQ(sound, dvd::AudioFramesDelivered());
  ASSERT_EQ(noErr, DVDPlay());
  Advance(1000);
  Picture const playing = Presented();
  EXPECT_NEAR(double(paused.info.elapsedMs) + 1000.0, double(playing.info.elapsedMs), 40.0);
  EXPECT_NEAR(double(sound) + 48000.0, double(dvd::AudioFramesDelivered()), 48000 * 0.04);
}

TEST_F(DVDPictureTest, NullSinkSoundAndPictureAdvanceTogether) {
  // The long title's tone runs without a gap, across its chapters.
  OpenFile(DiscPath("long"));
  bool isDevice = true;
  EXPECT_EQ(0, dvd::AudioFramesDelivered(&isDevice));
  EXPECT_FALSE(isDevice);
  ASSERT_EQ(noErr, DVDPlay());
  UInt32 elapsed = 0;
  for (UInt32 checkAt : {2000u, 5000u, 14900u, 15300u, 24000u}) {
    for (; elapsed < checkAt; elapsed += 100) Advance(100);
    Picture const p = Presented();
    // The picture on screen covers one frame from its time.
    double const pictureMs = p.info.elapsedMs + 1001.0 / 30.0;
    double const soundMs = double(dvd::AudioFramesDelivered()) / 48.0;
    SCOPED_TRACE(testing::Message() << "after " << checkAt << " ms");
    EXPECT_NEAR(pictureMs, soundMs, 40.0);
    EXPECT_NEAR(double(checkAt), soundMs, 40.0);
    EXPECT_NEAR(double(checkAt), pictureMs, 40.0);
  }
}

struct ReadyRecord {
  std::mutex mutex;
  std::vector<UInt32> numbers;
  static void CallBack(UInt32 number, void* refCon) {
    auto* const self = static_cast<ReadyRecord*>(refCon);
    std::lock_guard<std::mutex> g(self->mutex);
    self->numbers.push_back(number);
  }
};

TEST_F(DVDPictureTest, FrameReadyCallBackAnnouncesEachPicture) {
  ReadyRecord record;
  ASSERT_EQ(noErr, DVDSetFrameReadyCallBack(&ReadyRecord::CallBack, &record));
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  for (int i = 0; i < 50; ++i) Advance(20);
  UInt32 const last = Presented().info.frameNumber;
  // The callback runs just after the picture is published.
  for (int i = 0; i < 100; ++i) {
    {
      std::lock_guard<std::mutex> g(record.mutex);
      if (!record.numbers.empty() && record.numbers.back() == last) break;
    }
    usleep(10000);
  }
  std::lock_guard<std::mutex> g(record.mutex);
  ASSERT_EQ(size_t(last), record.numbers.size());
  for (size_t i = 0; i < record.numbers.size(); ++i) EXPECT_EQ(UInt32(i + 1), record.numbers[i]);
  EXPECT_GT(last, 25u);
  ASSERT_EQ(noErr, DVDSetFrameReadyCallBack(nullptr, nullptr));
}

}  // namespace
}  // namespace tavelo_test
