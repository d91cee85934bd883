// File → Open Recent keeps the last eight discs; the windows come back where they were.
#include <QAction>
#include <QMenu>
#include <gtest/gtest.h>

#include "AppTestSupport.h"
#include "DVDRecentMenu.h"
#include "DVDWindowPlaces.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"
#include "NSUISelectorGroup.h"

namespace {

QStringList Items(QMenu* menu) {
  QStringList texts;
  for (QAction* item : menu->actions()) texts << (item->isSeparator() ? QStringLiteral("-") : item->text());
  return texts;
}

class RecentMenuTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();
    fake_dvd::Reset();
    NSUserDefaults_Standard::setStringArray({}, QString::fromLatin1(DVDRecentMenu::kKey));
    ASSERT_TRUE(mNib.Construct());
    ASSERT_NE(mNib.recentMenu(), nullptr);
    ASSERT_NE(mNib.recentMenu()->mMenu, nullptr);
  }
  void TearDown() override {
    NSUserDefaults_Standard::setStringArray({}, QString::fromLatin1(DVDRecentMenu::kKey));
  }
  MainMenuNib mNib;
};

TEST_F(RecentMenuTest, TheLastEightDiscsOpenedNewestFirst) {
  GrabDVDController* c = mNib.controller();
  QMenu* menu = mNib.recentMenu()->mMenu;
  EXPECT_EQ(QStringLiteral("Open Recent"), menu->title());
  EXPECT_EQ(QStringList{"Clear Menu"}, Items(menu));
  EXPECT_FALSE(menu->actions().last()->isEnabled());
  QStringList opened;
  for (int i = 0; i < 10; ++i) {
    QString const folder = tavelo_app_test::NewFolder(("disc" + std::to_string(i)).c_str());
    ASSERT_TRUE(tavelo_app_test::OpenMedia(c, folder, false));
    opened.prepend(folder);
  }
  // A disc that does not open is not remembered.
  fake_dvd::S().status["DVDOpenMediaFile"] = kDVDErrorMediaNotDVD;
  EXPECT_FALSE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("notadisc"), false));
  fake_dvd::S().status.erase("DVDOpenMediaFile");
  QStringList const kept = DVDRecentMenu::Discs();
  ASSERT_EQ(8, kept.size());
  EXPECT_EQ(opened.mid(0, 8), kept);
  mNib.recentMenu()->fill();
  QList<QAction*> const items = menu->actions();
  ASSERT_EQ(10, items.size());  // eight, a separator, Clear Menu
  EXPECT_EQ(kept[0], items[0]->toolTip());
  EXPECT_TRUE(items[0]->text().startsWith(QStringLiteral("disc9")));
  // Choosing one opens it again, and it comes first.
  items[3]->trigger();
  ASSERT_TRUE(tavelo_app_test::WaitForOpen(c));
  EXPECT_EQ(kept[3].toStdString(), fake_dvd::S().openedPath);
  EXPECT_EQ(kept[3], DVDRecentMenu::Discs().first());
  EXPECT_EQ(8, DVDRecentMenu::Discs().size());
  // A new window remembers them; Clear Menu forgets them.
  MainMenuNib again;
  ASSERT_TRUE(again.Construct());
  EXPECT_EQ(10, again.recentMenu()->mMenu->actions().size());
  menu->actions().last()->trigger();
  EXPECT_TRUE(DVDRecentMenu::Discs().isEmpty());
  EXPECT_EQ(QStringList{"Clear Menu"}, Items(menu));
}

class WindowPlacesTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();
    fake_dvd::Reset();
    ASSERT_TRUE(mNib.Construct());
    mNib.videoWindow()->show();
    mNib.controlWindow()->show();
    tavelo_app_test::ProcessEvents();
  }
  void TearDown() override {
    NSUserDefaults_Standard::setString(QString(), QStringLiteral("VideoWindowPlace"));
    NSUserDefaults_Standard::setString(QString(), QStringLiteral("ControllerWindowPlace"));
  }
  MainMenuNib mNib;
};

TEST_F(WindowPlacesTest, BothWindowsComeBackWhereTheyWere) {
  QWidget* video = mNib.videoWindow();
  QWidget* control = mNib.controlWindow();
  video->move(100, 60);
  control->move(300, 700);
  tavelo_app_test::ProcessEvents();
  QPoint const videoAt = video->pos();
  QPoint const controlAt = control->pos();
  DVDWindowPlaces::Save(video, control);
  video->move(0, 0);
  control->move(0, 0);
  ASSERT_TRUE(DVDWindowPlaces::Restore(video, control));
  tavelo_app_test::ProcessEvents();
  EXPECT_EQ(videoAt, video->pos());
  EXPECT_EQ(controlAt, control->pos());
}

TEST_F(WindowPlacesTest, TheControllerNeverComesBackOverThePicture) {
  QWidget* video = mNib.videoWindow();
  QWidget* control = mNib.controlWindow();
  video->move(100, 60);
  control->move(150, 100);  // over the video
  tavelo_app_test::ProcessEvents();
  DVDWindowPlaces::Save(video, control);
  ASSERT_TRUE(DVDWindowPlaces::Restore(video, control));
  tavelo_app_test::ProcessEvents();
  EXPECT_FALSE(control->frameGeometry().intersects(video->frameGeometry()));
  EXPECT_GE(control->pos().y(), video->frameGeometry().bottom());
}

TEST_F(WindowPlacesTest, WhenTheVideoWindowGrowsOverTheControllerItMovesBelow) {
  QWidget* video = mNib.videoWindow();
  QWidget* control = mNib.controlWindow();
  // Small enough for the test screen to have room below.
  video->setGeometry(0, 0, 240, 200);
  tavelo_app_test::ProcessEvents();
  DVDWindowPlaces::PlaceControllerBelow(video, control);
  DVDWindowPlaces::KeepControllerOffVideo(video, control);
  tavelo_app_test::ProcessEvents();
  ASSERT_FALSE(control->frameGeometry().intersects(video->frameGeometry()));
  video->resize(320, 280);
  tavelo_app_test::ProcessEvents();
  EXPECT_FALSE(control->frameGeometry().intersects(video->frameGeometry()))
      << "controller at y " << control->y() << ", video bottom " << video->frameGeometry().bottom();
  // A place the user chose away from the picture stays.
  control->move(10, 400);
  tavelo_app_test::ProcessEvents();
  QPoint const chosen = control->pos();
  video->resize(300, 260);
  tavelo_app_test::ProcessEvents();
  EXPECT_EQ(chosen, control->pos());
}

TEST_F(WindowPlacesTest, NothingSavedOrOffEveryScreenLeavesThemBe) {
  QWidget* video = mNib.videoWindow();
  EXPECT_FALSE(DVDWindowPlaces::Restore(video, mNib.controlWindow()));
  NSUserDefaults_Standard::setString(QStringLiteral("50000 50000 640 480"), QStringLiteral("VideoWindowPlace"));
  EXPECT_FALSE(DVDWindowPlaces::Restore(video, mNib.controlWindow()));
  NSUserDefaults_Standard::setString(QStringLiteral("garbage"), QStringLiteral("VideoWindowPlace"));
  EXPECT_FALSE(DVDWindowPlaces::Restore(video, mNib.controlWindow()));
}

}  // namespace
