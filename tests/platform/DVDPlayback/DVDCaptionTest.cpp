// Closed captions on the caption disc: title 1's pictures carry line-21 captions written
// from cues.txt ("FIRST END TEXT", frames, "|" between rows), title 2 the same pictures
// without them, title 3 the same captions in the groups' user data (as DVD-Video carries
// them). Read from the disc, shown over the picture after seeks and steps.
#include "DVDCaption.h"
#include "DVDCaptionDecoder.h"
#include "DVDCaptionScan.h"
#include "DVDCaptionTrack.h"
#include "DVDTestSession.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace tavelo_test {
namespace {

std::string CaptionDisc() { return std::string(TAVELO_CAPTION_DISCS) + "/captions"; }

std::vector<dvd::DVDCaptionCue> AuthoredCues() {
  std::vector<dvd::DVDCaptionCue> cues;
  std::ifstream in(std::string(TAVELO_CAPTION_DISCS) + "/cues.txt");
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    dvd::DVDCaptionCue cue;
    fields >> cue.firstFrame >> cue.endFrame >> std::ws;
    std::getline(fields, cue.text);
    for (char& c : cue.text) c = c == '|' ? '\n' : c;
    if (!cue.text.empty()) cues.push_back(cue);
  }
  return cues;
}

TEST(DVDCaptionDecoderTest, TheWordsOfADialogueLineKeepTheirRows) {
  EXPECT_EQ("THE QUICK BROWN FOX\nJUMPS OVER 42",
            dvd::DVDCaptionDecoder::PlainText(
                "2,0,Default,,0,0,0,,{\\an7}{\\pos(38,228)}THE QUICK BROWN FOX\\N{\\an7}"
                "{\\pos(38,243)}  JUMPS OVER 42 "));
  EXPECT_EQ("A B", dvd::DVDCaptionDecoder::PlainText("0,0,Default,,0,0,0,,A\\hB"));
  EXPECT_EQ("", dvd::DVDCaptionDecoder::PlainText("1,0,Default,,0,0,0,,"));
}

TEST(DVDCaptionScanTest, ATitlesCaptionsAreTheAuthoredWordsAtTheirFramesInEitherForm) {
  auto const authored = AuthoredCues();
  ASSERT_EQ(3u, authored.size());
  dvd::DVDCaptionScan scan(CaptionDisc());
  for (int title : {1, 3}) {
    std::vector<dvd::DVDCaptionCue> cues;
    ASSERT_TRUE(scan.Read(title, [&](dvd::DVDCaptionCue const& c) { cues.push_back(c); },
                          nullptr, nullptr));
    ASSERT_EQ(authored.size(), cues.size()) << "title " << title;
    for (size_t i = 0; i < cues.size(); ++i) {
      EXPECT_EQ(authored[i].text, cues[i].text);
      EXPECT_EQ(authored[i].firstFrame, cues[i].firstFrame) << "title " << title << ": " << authored[i].text;
      EXPECT_EQ(authored[i].endFrame, cues[i].endFrame) << "title " << title << ": " << authored[i].text;
    }
  }
}

TEST(DVDCaptionScanTest, OnlyTheTitleWhosePicturesCarryCaptionsHasThem) {
  dvd::DVDCaptionScan scan(CaptionDisc());
  EXPECT_TRUE(scan.Carries(1));
  EXPECT_FALSE(scan.Carries(2));
  EXPECT_TRUE(scan.Carries(3));
  std::vector<dvd::DVDCaptionCue> cues;
  ASSERT_TRUE(scan.Read(2, [&](dvd::DVDCaptionCue const& c) { cues.push_back(c); }, nullptr,
                        nullptr));
  EXPECT_TRUE(cues.empty());
  EXPECT_FALSE(dvd::DVDCaptionScan(std::string(TAVELO_FILM_DISCS) + "/soft").Carries(1));
  EXPECT_FALSE(dvd::DVDCaptionScan("/nonexistent/disc").Carries(1));
}

TEST(DVDCaptionTrackTest, ATrackThatLooksUpLateReadsTheDiscOnlyOnceCaptionsAreShown) {
  dvd::DVDCaptionTrack early(CaptionDisc(), true);
  dvd::DVDCaptionTrack late(CaptionDisc(), false);
  late.Follow(1);
  // The early track, given the title after the late one, looks up three titles one after the
  // other (each is as much work as the late one's would be); the late one looks up none.
  for (int title : {1, 2, 3}) {
    early.Follow(title);
    ASSERT_TRUE(WaitFor([&] { return early.Carries(title) != -1; })) << "title " << title;
  }
  EXPECT_EQ(1, early.Carries(1));
  EXPECT_EQ(-1, late.Carries(1));
  EXPECT_EQ(nullptr, early.At(1, 200)) << "hidden captions are not read";
  late.SetShown(true);
  // Frame 200 is in the second authored caption.
  auto const authored = AuthoredCues();
  ASSERT_TRUE(WaitFor([&] { return late.At(1, 200) != nullptr; }));
  EXPECT_EQ(1, late.Carries(1));
  EXPECT_EQ(authored[1].text, late.At(1, 200)->text);
  // A title without captions, looked up once shown, has none.
  late.Follow(2);
  ASSERT_TRUE(WaitFor([&] { return late.Carries(2) != -1; }));
  EXPECT_EQ(0, late.Carries(2));
  EXPECT_EQ(nullptr, late.At(2, 200));
}

TEST(DVDCaptionLayerTest, ACaptionIsWhiteLettersOnABlackBoxNearTheBottom) {
  dvd::DVDCaption caption;
  caption.text = "HELLO CAPTIONS";
  auto const& layer = caption.Layer(720, 480, 640);
  ASSERT_EQ(720u * 480u * 4u, layer.size());
  int top = 480, bottom = -1, white = 0, black = 0;
  for (int y = 0; y < 480; ++y) {
    for (int x = 0; x < 720; ++x) {
      uint8_t const* p = &layer[(size_t(y) * 720 + x) * 4];
      if (p[3] < 250) continue;
      top = std::min(top, y);
      bottom = std::max(bottom, y);
      if (p[0] > 200 && p[1] > 200 && p[2] > 200) ++white;
      if (p[0] < 40 && p[1] < 40 && p[2] < 40) ++black;
    }
  }
  EXPECT_GT(top, 480 / 2) << "in the lower half";
  EXPECT_LT(bottom, 480 - 20) << "above the bottom edge";
  EXPECT_GT(white, 200);
  EXPECT_GT(black, white) << "a box around the letters";
}

class DVDCaptionSessionTest : public DVDSessionTest {
 protected:
  // Whether the presented overlay has caption letters in its lower half (white on black), and
  // the frame it is over; waits (bounded) until it has when want says so, as captions are
  // read by a thread of their own.
  bool CaptionShown(bool want, UInt32* frame = nullptr) {
    auto const until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    bool shown = false;
    do {
      Settle();
      DVDPresentedFrameInfo info{};
      UInt32 size = 0;
      EXPECT_EQ(noErr, DVDCopyPresentedOverlay(&info, nullptr, &size));
      std::vector<UInt8> rgba(size);
      if (size) {
        EXPECT_EQ(noErr, DVDCopyPresentedOverlay(&info, rgba.data(), &size));
      }
      if (frame) *frame = info.frameInTitle;
      int white = 0;
      for (size_t i = size_t(info.width) * info.height / 2 * 4; i + 3 < rgba.size(); i += 4) {
        if (rgba[i + 3] > 250 && rgba[i] > 200 && rgba[i + 1] > 200 && rgba[i + 2] > 200) ++white;
      }
      shown = white > 100;
      if (shown == want) return shown;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    } while (std::chrono::steady_clock::now() < until);
    return shown;
  }
};

TEST_F(DVDCaptionSessionTest, ShownCaptionsAreOverThePictureAfterSeeksAndSteps) {
  OpenFile(CaptionDisc());
  ASSERT_EQ(noErr, DVDSetTitle(1));
  ASSERT_EQ(noErr, DVDPlay());
  Settle();
  ASSERT_EQ(noErr, DVDPause());
  // Looked up once the title is on screen.
  Boolean has = false;
  auto const until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!has && std::chrono::steady_clock::now() < until) {
    ASSERT_EQ(noErr, DVDHasClosedCaptions(&has));
    if (!has) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  ASSERT_TRUE(has);
  ASSERT_EQ(noErr, DVDSetClosedCaptionsShown(true));
  // Frame 200: in the second caption (152-233), loaded three picture groups before.
  ASSERT_EQ(noErr, DVDSeekToFrame(200));
  UInt32 frame = 0;
  EXPECT_TRUE(CaptionShown(true, &frame));
  EXPECT_EQ(200u, frame);
  ASSERT_EQ(noErr, DVDSeekToFrame(147));
  EXPECT_FALSE(CaptionShown(false, &frame)) << "between captions, at " << frame;
  ASSERT_EQ(noErr, DVDStepFrame(5));
  EXPECT_TRUE(CaptionShown(true, &frame)) << "its first frame, at " << frame;
  EXPECT_EQ(152u, frame);
  ASSERT_EQ(noErr, DVDStepFrame(-1));
  EXPECT_FALSE(CaptionShown(false, &frame)) << "the frame before it, at " << frame;
  ASSERT_EQ(noErr, DVDSeekToFrame(200));
  EXPECT_TRUE(CaptionShown(true, &frame));
  // Hidden and shown again over the picture on screen, still paused.
  ASSERT_EQ(noErr, DVDSetClosedCaptionsShown(false));
  EXPECT_FALSE(CaptionShown(false, &frame)) << "hidden";
  ASSERT_EQ(noErr, DVDSetClosedCaptionsShown(true));
  EXPECT_TRUE(CaptionShown(true, &frame)) << "shown again";
  ASSERT_EQ(noErr, DVDSetClosedCaptionsShown(false));
}

TEST_F(DVDCaptionSessionTest, ATitlesCaptionsAreReadWithTheirFrames) {
  OpenFile(CaptionDisc());
  std::vector<dvd::DVDCaptionCue> cues;
  auto const proc = [](UInt32 first, UInt32 end, char const* text, void* refCon) {
    static_cast<std::vector<dvd::DVDCaptionCue>*>(refCon)->push_back({first, end, text});
  };
  ASSERT_EQ(noErr, DVDReadClosedCaptions(1, proc, &cues));
  auto const authored = AuthoredCues();
  ASSERT_EQ(authored.size(), cues.size());
  for (size_t i = 0; i < cues.size(); ++i) {
    EXPECT_EQ(authored[i].text, cues[i].text);
    EXPECT_EQ(authored[i].firstFrame, cues[i].firstFrame);
  }
  cues.clear();
  ASSERT_EQ(noErr, DVDReadClosedCaptions(2, proc, &cues));
  EXPECT_TRUE(cues.empty());
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDReadClosedCaptions(9, proc, &cues));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDReadClosedCaptions(1, nullptr, nullptr));
}

}  // namespace
}  // namespace tavelo_test
