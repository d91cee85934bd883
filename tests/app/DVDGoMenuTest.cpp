// Go → Titles, Chapters, Audio, Subtitles and Angle, filled from the disc as they open.
#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <gtest/gtest.h>

#include "AppTestSupport.h"
#include "DVDGoMenu.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"

namespace {

DVDLanguageCode Code(char const* two) { return DVDLanguageCode(two[0] << 8 | two[1]); }

QStringList Texts(QMenu* menu) {
  QStringList texts;
  for (QAction* item : menu->actions()) texts << item->text();
  return texts;
}

QString Checked(QMenu* menu) {
  for (QAction* item : menu->actions()) {
    if (item->isChecked()) return item->text();
  }
  return QString();
}

class DVDGoMenuTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();
    fake_dvd::Reset();
    ASSERT_TRUE(mNib.Construct());
    mGo = mNib.goMenu();
    ASSERT_NE(mGo, nullptr);
  }
  // A disc of two titles (0:30 with chapters at 0, 10.010 and 20.020 s; 1:02:03), playing
  // title 1 at frame 400, with sound in English and French and subtitles in German.
  void TwoTitles() {
    fake_dvd::State& s = fake_dvd::S();
    ASSERT_TRUE(tavelo_app_test::OpenMedia(mNib.controller(), tavelo_app_test::NewFolder("disc"), false));
    fake_dvd::State::Title first;
    first.info.frames = 900;
    first.info.durationMs = 30030;
    first.info.chapters = 3;
    first.info.standard = kDVDVideoStandardNTSC;
    first.info.audioStreams = 2;
    first.info.audioFormats[0] = kDVDAudioFormatAC3;
    first.info.audioChannels[0] = 6;
    first.info.audioFormats[1] = kDVDAudioFormatLPCM;
    first.info.audioChannels[1] = 2;
    first.chapterFirstFrames = {0, 300, 600};
    fake_dvd::State::Title second;
    second.info.frames = 111600;
    second.info.durationMs = 3723000;
    second.info.chapters = 1;
    second.chapterFirstFrames = {0};
    s.titles = {first, second};
    s.playingTitle = 1;
    s.hasFrame = true;
    s.frameInTitle = 400;
    s.audioLanguages = {Code("en"), Code("fr")};
    s.audioStream = 1;
    s.subPictureLanguages = {Code("de")};
  }

  MainMenuNib mNib;
  DVDGoMenu* mGo = nullptr;
};

TEST_F(DVDGoMenuTest, TheMenuBarHasGoBeforeHelp) {
  QMenu* go = mGo->mGo;
  ASSERT_NE(go, nullptr);
  EXPECT_EQ(QStringLiteral("Go"), go->title());
  EXPECT_EQ((QStringList{"Titles", "Chapters", "Audio", "Subtitles", "Angle"}), Texts(go));
  auto* menuBar = mNib.videoWindow()->findChild<QMenuBar*>(QStringLiteral("mainMenu"));
  ASSERT_NE(menuBar, nullptr);
  QList<QAction*> const bar = menuBar->actions();
  qsizetype const at = bar.indexOf(go->menuAction());
  ASSERT_GE(at, 1);
  ASSERT_LT(at + 1, bar.size());
  EXPECT_EQ(QStringLiteral("Help"), bar[at + 1]->text());
  EXPECT_EQ(QStringLiteral("Grab"), bar[at - 1]->text());
}

TEST_F(DVDGoMenuTest, TitlesListEveryTitleWithItsDurationAndPlayTheOneChosen) {
  TwoTitles();
  mGo->fillTitles();
  EXPECT_EQ((QStringList{"Title 1 (0:30)", "Title 2 (1:02:03)"}), Texts(mGo->mTitles));
  EXPECT_EQ(QStringLiteral("Title 1 (0:30)"), Checked(mGo->mTitles));
  mGo->mTitles->actions()[1]->trigger();
  EXPECT_EQ(std::vector<UInt16>{2}, fake_dvd::S().setTitles);
}

TEST_F(DVDGoMenuTest, ChaptersOfTheTitlePlayingWithTheOneOnScreenChecked) {
  TwoTitles();
  mGo->fillChapters();
  EXPECT_EQ((QStringList{"Chapter 1 (0:00)", "Chapter 2 (0:10)", "Chapter 3 (0:20)"}),
            Texts(mGo->mChapters));
  EXPECT_EQ(QStringLiteral("Chapter 2 (0:10)"), Checked(mGo->mChapters));
  mGo->mChapters->actions()[2]->trigger();
  EXPECT_EQ(std::vector<UInt16>{3}, fake_dvd::S().setChapters);
}

TEST_F(DVDGoMenuTest, AudioStreamsByLanguageAndFormat) {
  TwoTitles();
  mGo->fillAudio();
  EXPECT_EQ((QStringList{"1: English (Dolby Digital, 6 ch)", "2: French (PCM, 2 ch)"}),
            Texts(mGo->mAudio));
  EXPECT_EQ(QStringLiteral("2: French (PCM, 2 ch)"), Checked(mGo->mAudio));
  mGo->mAudio->actions()[0]->trigger();
  EXPECT_EQ(0, fake_dvd::S().audioStream);
}

TEST_F(DVDGoMenuTest, SubtitlesOffAndEachStream) {
  TwoTitles();
  mGo->fillSubtitles();
  EXPECT_EQ((QStringList{"Off", "1: German"}), Texts(mGo->mSubtitles));
  EXPECT_EQ(QStringLiteral("Off"), Checked(mGo->mSubtitles));
  mGo->mSubtitles->actions()[1]->trigger();
  EXPECT_TRUE(fake_dvd::S().subPictureEnabled);
  EXPECT_EQ(0, fake_dvd::S().subPictureStream);
  mGo->fillSubtitles();
  EXPECT_EQ(QStringLiteral("1: German"), Checked(mGo->mSubtitles));
  mGo->mSubtitles->actions()[0]->trigger();
  EXPECT_FALSE(fake_dvd::S().subPictureEnabled);
}

TEST_F(DVDGoMenuTest, ClosedCaptionsAreAChoiceOnlyWhereTheTitleCarriesThem) {
  TwoTitles();
  mGo->fillSubtitles();
  EXPECT_FALSE(Texts(mGo->mSubtitles).contains(QStringLiteral("Closed captions")));
  fake_dvd::S().hasClosedCaptions = true;
  mGo->fillSubtitles();
  EXPECT_EQ((QStringList{"Off", "1: German", "Closed captions"}), Texts(mGo->mSubtitles));
  mGo->mSubtitles->actions()[2]->trigger();
  EXPECT_TRUE(fake_dvd::S().closedCaptionsShown);
  EXPECT_FALSE(fake_dvd::S().subPictureEnabled);
  mGo->fillSubtitles();
  EXPECT_EQ(QStringLiteral("Closed captions"), Checked(mGo->mSubtitles));
  // A subtitle stream chosen takes their place, and Off hides both.
  mGo->mSubtitles->actions()[1]->trigger();
  EXPECT_FALSE(fake_dvd::S().closedCaptionsShown);
  EXPECT_TRUE(fake_dvd::S().subPictureEnabled);
  mGo->mSubtitles->actions()[2]->trigger();
  mGo->mSubtitles->actions()[0]->trigger();
  EXPECT_FALSE(fake_dvd::S().closedCaptionsShown);
  EXPECT_FALSE(fake_dvd::S().subPictureEnabled);
}

TEST_F(DVDGoMenuTest, AngleShowsOnlyWithMoreThanOne) {
  TwoTitles();
  mGo->update();
  EXPECT_FALSE(mGo->mAngle->menuAction()->isVisible());
  fake_dvd::S().numAngles = 3;
  fake_dvd::S().angle = 2;
  mGo->update();
  EXPECT_TRUE(mGo->mAngle->menuAction()->isVisible());
  mGo->fillAngles();
  EXPECT_EQ((QStringList{"Angle 1", "Angle 2", "Angle 3"}), Texts(mGo->mAngle));
  EXPECT_EQ(QStringLiteral("Angle 2"), Checked(mGo->mAngle));
  mGo->mAngle->actions()[2]->trigger();
  EXPECT_EQ(3, fake_dvd::S().setAngle);
}

TEST_F(DVDGoMenuTest, WithoutADiscTheListsAreOff) {
  mGo->update();
  EXPECT_FALSE(mGo->mTitles->isEnabled());
  EXPECT_FALSE(mGo->mChapters->isEnabled());
  EXPECT_FALSE(mGo->mSubtitles->isEnabled());
  mGo->fillTitles();
  EXPECT_TRUE(mGo->mTitles->actions().isEmpty());
}

TEST(DVDGoMenuNames, DurationsAndLanguages) {
  EXPECT_EQ(QStringLiteral("0:45"), DVDGoMenu::Duration(45999));
  EXPECT_EQ(QStringLiteral("12:34"), DVDGoMenu::Duration(754000));
  EXPECT_EQ(QStringLiteral("1:02:03"), DVDGoMenu::Duration(3723000));
  EXPECT_EQ(QStringLiteral("English"), DVDGoMenu::LanguageName(Code("en")));
  EXPECT_EQ(QStringLiteral("Japanese"), DVDGoMenu::LanguageName(Code("ja")));
  EXPECT_EQ(QStringLiteral("Unknown"), DVDGoMenu::LanguageName(0));
  EXPECT_EQ(QStringLiteral("qq"), DVDGoMenu::LanguageName(Code("qq")));
}

}  // namespace
