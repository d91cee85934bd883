// Sound and subtitle streams on the authored streams disc: what the title has and in which
// languages, choosing another track or subtitle, and subtitles switched off and on, read
// back from the decoder and the presented picture.
#include "DVDService.h"
#include "DVDTestSession.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavelo_test {
namespace {

constexpr DVDLanguageCode Code(char a, char b) { return DVDLanguageCode(a << 8 | b); }

class DVDStreamSelectionTest : public DVDSessionTest {
 protected:
  void SetUp() override {
    DVDSessionTest::SetUp();
    OpenFile(DiscPath("streams"));
    ASSERT_EQ(noErr, DVDPlay());
    Advance(100);
  }

  // Green of the presented picture at x, y: the subtitle boxes are white on blue.
  int Green(int x, int y) {
    Settle();
    DVDPresentedFrameInfo info{};
    std::vector<UInt8> pixels;
    EXPECT_TRUE(CopyPresented(info, pixels));
    size_t const i = size_t(y) * info.rowBytes + size_t(x) * 3 + 1;
    return i < pixels.size() ? pixels[i] : -1;
  }
  bool BoxAt(int x, int y) { return Green(x, y) > 160; }
};

TEST_F(DVDStreamSelectionTest, TheTitleListsItsStreamsWithTheirLanguages) {
  UInt16 count = 0;
  ASSERT_EQ(noErr, DVDGetNumAudioStreams(&count));
  EXPECT_EQ(2, count);
  ASSERT_EQ(noErr, DVDGetNumSubPictureStreams(&count));
  EXPECT_EQ(2, count);
  DVDLanguageCode code = 0;
  ASSERT_EQ(noErr, DVDGetAudioLanguageCode(0, &code));
  EXPECT_EQ(Code('e', 'n'), code);
  ASSERT_EQ(noErr, DVDGetAudioLanguageCode(1, &code));
  EXPECT_EQ(Code('f', 'r'), code);
  ASSERT_EQ(noErr, DVDGetSubPictureLanguageCode(0, &code));
  EXPECT_EQ(Code('e', 'n'), code);
  ASSERT_EQ(noErr, DVDGetSubPictureLanguageCode(1, &code));
  EXPECT_EQ(Code('d', 'e'), code);
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetAudioLanguageCode(2, &code));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetSubPictureLanguageCode(2, &code));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetAudioLanguageCode(0, nullptr));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetNumAudioStreams(nullptr));
}

TEST_F(DVDStreamSelectionTest, AnotherSoundTrackIsDecodedOnceChosen) {
  UInt16 stream = 9;
  ASSERT_EQ(noErr, DVDGetAudioStream(&stream));
  ASSERT_LT(stream, 2);
  Advance(300);
  EXPECT_EQ(int(stream), dvd::DecodedAudioStream());
  UInt16 const other = stream == 0 ? 1 : 0;
  ASSERT_EQ(noErr, DVDSetAudioStream(other));
  Advance(1200);
  EXPECT_EQ(int(other), dvd::DecodedAudioStream());
  ASSERT_EQ(noErr, DVDGetAudioStream(&stream));
  EXPECT_EQ(other, stream);
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSetAudioStream(2));
  ASSERT_EQ(noErr, DVDGetAudioStream(&stream));
  EXPECT_EQ(other, stream);
}

TEST_F(DVDStreamSelectionTest, SubtitlesFollowTheStreamChosenAndCanBeSwitchedOff) {
  ASSERT_EQ(noErr, DVDEnableSubPicture(true));
  ASSERT_EQ(noErr, DVDSetSubPictureStream(0));
  Advance(100);
  Boolean enabled = false;
  ASSERT_EQ(noErr, DVDIsSubPictureEnabled(&enabled));
  EXPECT_TRUE(enabled);
  UInt16 stream = 9;
  ASSERT_EQ(noErr, DVDGetSubPictureStream(&stream));
  EXPECT_EQ(0, stream);
  EXPECT_TRUE(BoxAt(128, 96));
  EXPECT_FALSE(BoxAt(592, 384));

  ASSERT_EQ(noErr, DVDSetSubPictureStream(1));
  Advance(100);
  ASSERT_EQ(noErr, DVDGetSubPictureStream(&stream));
  EXPECT_EQ(1, stream);
  EXPECT_FALSE(BoxAt(128, 96));
  EXPECT_TRUE(BoxAt(592, 384));

  ASSERT_EQ(noErr, DVDEnableSubPicture(false));
  Settle();
  ASSERT_EQ(noErr, DVDIsSubPictureEnabled(&enabled));
  EXPECT_FALSE(enabled);
  EXPECT_FALSE(BoxAt(128, 96));
  EXPECT_FALSE(BoxAt(592, 384));

  // Paused, the picture on screen changes with the choice too.
  ASSERT_EQ(noErr, DVDPause());
  ASSERT_EQ(noErr, DVDEnableSubPicture(true));
  EXPECT_TRUE(BoxAt(592, 384));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSetSubPictureStream(2));
}

class DVDStreamsElsewhereTest : public DVDSessionTest {};

TEST_F(DVDStreamsElsewhereTest, MenusAndNoMediaHaveNoStreamsToChoose) {
  UInt16 value = 0;
  EXPECT_EQ(kDVDErrorNoMedia, DVDGetNumAudioStreams(&value));
  EXPECT_EQ(kDVDErrorNoMedia, DVDSetSubPictureStream(0));
  OpenFile(DiscPath("menu"));
  ASSERT_EQ(noErr, DVDPlay());
  Settle();
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetNumAudioStreams(&value));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDSetAudioStream(0));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetSubPictureStream(&value));
}

// A stills session (as tavelo-grab starts one): nothing it plays is heard.
class DVDStillsSessionTest : public DVDSessionTest {
 protected:
  void SetUp() override {
    dvd::UseManualClock(true);
    ASSERT_EQ(noErr, DVDInitializeForStills());
    mInitialized = true;
    DVDEventCode const codes[] = {kDVDEventPlayback};
    ASSERT_EQ(noErr, DVDRegisterEventCallBack(&DVDEventRecorder::CallBack, codes, 1, &mRecorder,
                                              &mCallBackID));
  }
};

TEST_F(DVDStillsSessionTest, PicturesAreDecodedButNoSound) {
  OpenFile(DiscPath("streams"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(100);
  Advance(1200);
  DVDPresentedFrameInfo info{};
  std::vector<UInt8> pixels;
  EXPECT_TRUE(CopyPresented(info, pixels)) << "a picture is presented";
  EXPECT_NE(kDVDNoFrame, info.frameInTitle) << "of the title";
  EXPECT_GT(info.frameInTitle, 0u) << "played on";
  UInt16 stream = 9;
  ASSERT_EQ(noErr, DVDGetAudioStream(&stream));
  EXPECT_LT(stream, 2) << "a sound track is chosen all the same";
  EXPECT_EQ(-1, dvd::DecodedAudioStream());
}

}  // namespace
}  // namespace tavelo_test
