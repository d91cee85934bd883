// The disc's titles as read when it is opened, held against what playing them shows: the
// frame count the navigator reports, the first picture after every chapter jump (its frame
// number and the barcode it carries), picture and stream attributes, the title and chapter
// commands, and what is refused.
#include "DVDBarcode.h"
#include "DVDTestSession.h"
#include "DVDTitleTable.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavelo_test {
namespace {

constexpr DVDLanguageCode Code(char a, char b) { return DVDLanguageCode(a << 8 | b); }

using Shown = DVDShownPicture;

class DVDTitleTableTest : public DVDSessionTest {
 protected:
  static UInt16 NumTitles() {
    UInt16 count = 0;
    EXPECT_EQ(noErr, DVDGetNumTitles(&count));
    return count;
  }

  static DVDTitleInfo Info(UInt16 title) {
    DVDTitleInfo info{};
    EXPECT_EQ(noErr, DVDGetTitleInfo(title, &info)) << "title " << title;
    return info;
  }

  static std::vector<UInt32> ChapterFrames(UInt16 title) {
    UInt16 count = 0;
    EXPECT_EQ(noErr, DVDGetChapterFirstFrames(title, nullptr, &count));
    std::vector<UInt32> frames(count, 0xDEADBEEF);
    UInt16 written = count;
    EXPECT_EQ(noErr, DVDGetChapterFirstFrames(title, frames.data(), &written));
    EXPECT_EQ(count, written);
    return frames;
  }

  static UInt16 PlayingTitle() {
    UInt16 title = 0xFFFF;
    EXPECT_EQ(noErr, DVDGetTitle(&title));
    return title;
  }

  static UInt32 TitleFrameCount() {
    UInt32 frames = 0;
    EXPECT_EQ(noErr, DVDGetTitleFrameCount(&frames));
    return frames;
  }

  // The picture on screen once the service has caught up, with its barcode when it has one.
  Shown Presented() {
    Settle();
    return PresentedBarcode();
  }

  // A new picture came after the command, and it is the table's first frame of the chapter.
  void ExpectChapterStart(UInt32 before, UInt16 chapter, UInt32 first, char const* how) {
    Shown const s = Presented();
    EXPECT_GT(s.info.frameNumber, before) << how << " " << chapter;
    EXPECT_EQ(chapter, s.info.chapter) << how << " " << chapter;
    EXPECT_EQ(first, s.info.frameInTitle) << how << " " << chapter;
    EXPECT_EQ(int(first), s.barcode) << how << " " << chapter;
  }

  // Every chapter of the title playing, gone to with DVDSetChapter from the last one back,
  // then stepped through with DVDNextChapter from the first.
  void ExpectChaptersStartAtTheirFrames(std::vector<UInt32> const& firsts) {
    for (size_t c = firsts.size(); c >= 1; --c) {
      UInt32 const before = Presented().info.frameNumber;
      ASSERT_EQ(noErr, DVDSetChapter(UInt16(c)));
      ExpectChapterStart(before, UInt16(c), firsts[c - 1], "DVDSetChapter");
    }
    for (size_t c = 2; c <= firsts.size(); ++c) {
      UInt32 const before = Presented().info.frameNumber;
      ASSERT_EQ(noErr, DVDNextChapter());
      ExpectChapterStart(before, UInt16(c), firsts[c - 1], "DVDNextChapter");
    }
  }

  // The title's last frame is there, carrying its number.
  void ExpectLastFrame(UInt32 frames) {
    ASSERT_EQ(noErr, DVDSeekToFrame(frames - 1));
    Shown const last = Presented();
    EXPECT_EQ(frames - 1, last.info.frameInTitle);
    EXPECT_EQ(int(frames - 1), last.barcode);
  }

  void OpenAndPlay(char const* disc) {
    OpenFile(DiscPath(disc));
    ASSERT_EQ(noErr, DVDPlay());
    Settle();
  }
};

TEST(DVDTitleTableTimeCodes, AreBinaryCodedDecimalAtTheirFrameRate) {
  // 1:23:45 and 29 frames at 30 frames a second (rate bits 11).
  dvd_time_t const ntsc{0x01, 0x23, 0x45, 0xC0 | 0x29};
  EXPECT_EQ(((1 * 60 + 23) * 60 + 45) * 90000LL + 29 * 3000, dvd::DVDTitleTable::Ticks(ntsc));
  // 0:10:07 and 24 frames at 25 a second (rate bits 01).
  dvd_time_t const pal{0x00, 0x10, 0x07, 0x40 | 0x24};
  EXPECT_EQ((10 * 60 + 7) * 90000LL + 24 * 3600, dvd::DVDTitleTable::Ticks(pal));
  dvd_time_t const zero{0, 0, 0, 0xC0};
  EXPECT_EQ(0, dvd::DVDTitleTable::Ticks(zero));
}

TEST_F(DVDTitleTableTest, TheFramesDiscListsItsTitleAndChapters) {
  OpenFile(DiscPath("frames"));
  // Known before anything plays.
  ASSERT_EQ(1, NumTitles());
  DVDTitleInfo const info = Info(1);
  EXPECT_EQ(900u, info.frames);
  EXPECT_EQ(30030u, info.durationMs);  // 900 x 1001/30000 s
  EXPECT_EQ(3, info.chapters);
  EXPECT_EQ(1, info.angles);
  EXPECT_EQ(kDVDVideoStandardNTSC, info.standard);
  EXPECT_EQ(kDVDAspectRatio4x3, info.aspect);
  EXPECT_EQ(720, info.width);
  EXPECT_EQ(480, info.height);
  ASSERT_EQ(1, info.audioStreams);
  EXPECT_EQ(kDVDAudioFormatAC3, info.audioFormats[0]);
  EXPECT_EQ(2, info.audioChannels[0]);
  EXPECT_EQ(0, info.audioLanguages[0]);
  EXPECT_EQ(0, info.subPictureStreams);
  std::vector<UInt32> const firsts = ChapterFrames(1);
  EXPECT_EQ((std::vector<UInt32>{0, 300, 600}), firsts);
  EXPECT_EQ(0, PlayingTitle());

  ASSERT_EQ(noErr, DVDPlay());
  Settle();
  EXPECT_EQ(1, PlayingTitle());
  EXPECT_EQ(info.frames, TitleFrameCount());
  ExpectChaptersStartAtTheirFrames(firsts);
  ExpectLastFrame(info.frames);
}

TEST_F(DVDTitleTableTest, PalChaptersStartWhereNextChapterLands) {
  OpenFile(DiscPath("framespal"));
  ASSERT_EQ(1, NumTitles());
  DVDTitleInfo const info = Info(1);
  EXPECT_EQ(300u, info.frames);
  EXPECT_EQ(12000u, info.durationMs);
  EXPECT_EQ(kDVDVideoStandardPAL, info.standard);
  EXPECT_EQ(kDVDAspectRatio16x9, info.aspect);
  EXPECT_EQ(720, info.width);
  EXPECT_EQ(576, info.height);
  std::vector<UInt32> const firsts = ChapterFrames(1);
  ASSERT_EQ(2u, firsts.size());
  EXPECT_EQ(0u, firsts[0]);

  ASSERT_EQ(noErr, DVDPlay());
  Settle();
  EXPECT_EQ(info.frames, TitleFrameCount());
  Advance(1000);
  UInt32 const before = Presented().info.frameNumber;
  ASSERT_EQ(noErr, DVDNextChapter());
  ExpectChapterStart(before, 2, firsts[1], "DVDNextChapter");
  ExpectChaptersStartAtTheirFrames(firsts);
  ExpectLastFrame(info.frames);
}

TEST_F(DVDTitleTableTest, ChaptersOfSeveralCellsCountEveryCell) {
  OpenFile(DiscPath("cells"));
  DVDTitleInfo const info = Info(1);
  EXPECT_EQ(300u, info.frames);
  EXPECT_EQ(2, info.chapters);
  std::vector<UInt32> const firsts = ChapterFrames(1);
  EXPECT_EQ((std::vector<UInt32>{0, 180}), firsts);

  ASSERT_EQ(noErr, DVDPlay());
  Settle();
  EXPECT_EQ(info.frames, TitleFrameCount());
  ExpectChaptersStartAtTheirFrames(firsts);
  // The last chapter's second cell counts too.
  ExpectLastFrame(info.frames);
}

TEST_F(DVDTitleTableTest, TheStreamsDiscNamesItsTracksAndSubtitles) {
  OpenFile(DiscPath("streams"));
  DVDTitleInfo const info = Info(1);
  EXPECT_EQ(150u, info.frames);
  ASSERT_EQ(2, info.audioStreams);
  EXPECT_EQ(Code('e', 'n'), info.audioLanguages[0]);
  EXPECT_EQ(Code('f', 'r'), info.audioLanguages[1]);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(kDVDAudioFormatAC3, info.audioFormats[i]) << i;
    EXPECT_EQ(2, info.audioChannels[i]) << i;
  }
  ASSERT_EQ(2, info.subPictureStreams);
  EXPECT_EQ(Code('e', 'n'), info.subPictureLanguages[0]);
  EXPECT_EQ(Code('d', 'e'), info.subPictureLanguages[1]);

  // The playing title's streams say the same.
  ASSERT_EQ(noErr, DVDPlay());
  Advance(100);
  UInt16 count = 0;
  ASSERT_EQ(noErr, DVDGetNumAudioStreams(&count));
  EXPECT_EQ(info.audioStreams, count);
  ASSERT_EQ(noErr, DVDGetNumSubPictureStreams(&count));
  EXPECT_EQ(info.subPictureStreams, count);
  for (UInt16 i = 0; i < 2; ++i) {
    DVDLanguageCode code = 0;
    ASSERT_EQ(noErr, DVDGetAudioLanguageCode(i, &code));
    EXPECT_EQ(info.audioLanguages[i], code) << i;
    ASSERT_EQ(noErr, DVDGetSubPictureLanguageCode(i, &code));
    EXPECT_EQ(info.subPictureLanguages[i], code) << i;
  }
}

TEST_F(DVDTitleTableTest, SetTitlePlaysAnotherTitleSetsTitle) {
  OpenFile(DiscPath("three"));
  ASSERT_EQ(3, NumTitles());
  for (UInt16 t = 1; t <= 3; ++t) {
    DVDTitleInfo const info = Info(t);
    EXPECT_EQ(120u, info.frames) << t;
    EXPECT_EQ(1, info.chapters) << t;
    EXPECT_EQ((std::vector<UInt32>{0}), ChapterFrames(t)) << t;
  }
  // Straight from the open disc, without DVDPlay.
  ASSERT_EQ(noErr, DVDSetTitle(2));
  Settle();
  EXPECT_EQ(kDVDStatePlaying, LastState());
  EXPECT_EQ(2, PlayingTitle());
  EXPECT_EQ(DVDEventValue(2), Last(kDVDEventTitle));
  EXPECT_EQ(Info(2).frames, TitleFrameCount());
  Shown const first = Presented();
  EXPECT_EQ(2, first.info.title);
  Advance(500);
  Shown const later = Presented();
  EXPECT_EQ(2, later.info.title);
  EXPECT_GT(later.info.frameNumber, first.info.frameNumber) << "pictures come";
  EXPECT_GT(later.info.frameInTitle, first.info.frameInTitle);

  // While a title plays, another starts from its beginning.
  ASSERT_EQ(noErr, DVDSetTitle(3));
  Settle();
  EXPECT_EQ(3, PlayingTitle());
  Shown const third = Presented();
  EXPECT_EQ(3, third.info.title);
  EXPECT_EQ(0u, third.info.frameInTitle);
  EXPECT_EQ(DVDEventValue(1), Last(kDVDEventPTT));
}

TEST_F(DVDTitleTableTest, SetTitleFromAMenuAndFromAStop) {
  OpenAndPlay("menu");
  ASSERT_TRUE(OnMenu());
  ASSERT_EQ(2, NumTitles());
  EXPECT_EQ(60u, Info(1).frames);
  EXPECT_EQ(60u, Info(2).frames);
  EXPECT_EQ(0, PlayingTitle());
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDSetChapter(1));
  ASSERT_EQ(noErr, DVDSetTitle(2));
  Settle();
  EXPECT_FALSE(OnMenu());
  EXPECT_EQ(2, PlayingTitle());
  EXPECT_EQ(2, Presented().info.title);

  ASSERT_EQ(noErr, DVDStop());
  Settle();
  EXPECT_EQ(0, PlayingTitle());
  ASSERT_EQ(noErr, DVDSetTitle(1));
  Settle();
  EXPECT_EQ(kDVDStatePlaying, LastState());
  EXPECT_EQ(1, PlayingTitle());
  EXPECT_EQ(1, Presented().info.title);
}

TEST_F(DVDTitleTableTest, AnImageListsWhatItsFolderLists) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(1, NumTitles());
  DVDTitleInfo const folder = Info(1);
  std::vector<UInt32> const folderFirsts = ChapterFrames(1);
  EXPECT_EQ(360u, folder.frames);
  EXPECT_EQ((std::vector<UInt32>{0, 120, 240}), folderFirsts);
  ASSERT_EQ(noErr, DVDCloseMediaFile());

  OpenFile(DiscPath("ntsc43.iso"));
  ASSERT_EQ(1, NumTitles());
  DVDTitleInfo const image = Info(1);
  EXPECT_EQ(folder.frames, image.frames);
  EXPECT_EQ(folder.durationMs, image.durationMs);
  EXPECT_EQ(folder.chapters, image.chapters);
  EXPECT_EQ(folder.standard, image.standard);
  EXPECT_EQ(folder.aspect, image.aspect);
  EXPECT_EQ(folder.height, image.height);
  EXPECT_EQ(folder.audioStreams, image.audioStreams);
  EXPECT_EQ(folderFirsts, ChapterFrames(1));
  ASSERT_EQ(noErr, DVDPlay());
  Settle();
  EXPECT_EQ(image.frames, TitleFrameCount());
}

TEST_F(DVDTitleTableTest, WithoutADiscThereAreNoTitles) {
  UInt16 count = 0;
  UInt16 title = 0;
  DVDTitleInfo info{};
  UInt32 frames[4] = {};
  UInt16 n = 4;
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetNumTitles(&count));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetTitleInfo(1, &info));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetChapterFirstFrames(1, frames, &n));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetTitle(&title));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDSetTitle(1));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDSetChapter(1));
  // Closed again, the table goes with the disc.
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDGetNumTitles(&count));
  ASSERT_EQ(noErr, DVDCloseMediaFile());
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetNumTitles(&count));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetTitleInfo(1, &info));
}

TEST_F(DVDTitleTableTest, TitlesAndChaptersTheDiscLacksAndNullPointersAreRefused) {
  OpenFile(DiscPath("ntsc43"));
  DVDTitleInfo info{};
  UInt32 frames[4] = {7, 7, 7, 7};
  UInt16 n = 4;
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetNumTitles(nullptr));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetTitleInfo(0, &info));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetTitleInfo(2, &info));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetTitleInfo(1, nullptr));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetChapterFirstFrames(0, frames, &n));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetChapterFirstFrames(2, frames, &n));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetChapterFirstFrames(1, frames, nullptr));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetChapterFirstFrames(1, nullptr, &n));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetTitle(nullptr));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSetTitle(0));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSetTitle(2));
  // Nothing written by the refusals.
  EXPECT_EQ(7u, frames[0]);
  EXPECT_EQ(4, n);

  // Fewer places than chapters: only those are written, and the count is told.
  n = 2;
  ASSERT_EQ(noErr, DVDGetChapterFirstFrames(1, frames, &n));
  EXPECT_EQ(3, n);
  EXPECT_EQ(0u, frames[0]);
  EXPECT_EQ(120u, frames[1]);
  EXPECT_EQ(7u, frames[2]);

  // Chapters only in a title, and only those it has.
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDSetChapter(1));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(500);
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSetChapter(0));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSetChapter(4));
  mRecorder.Clear();
  Advance(500);
  EXPECT_TRUE(mRecorder.Of(kDVDEventPTT).empty()) << "nothing moved";
  ASSERT_EQ(noErr, DVDSetChapter(3));
  Settle();
  EXPECT_EQ(DVDEventValue(3), Last(kDVDEventPTT));
  EXPECT_EQ(1, PlayingTitle());
}

}  // namespace
}  // namespace tavelo_test
