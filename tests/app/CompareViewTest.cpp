// File → Compare With...: its items, its panel (folders and disc images), the alignment read
// from tavelo-grab, and where the compare view goes.
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QKeySequence>
#include <gtest/gtest.h>

#include "AppTestSupport.h"
#include "DVDCompareView.h"
#include "DVDComparison.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"
#include "TestTime.h"

namespace {

TEST(DVDCompareAlignment, ReadsWhatTaveloGrabPrints) {
  DVDCompareAlignment a;
  ASSERT_TRUE(a.Construct(R"({"a": {"disc": "a", "frames": 600, "title": 1},
                              "b": {"disc": "b", "frames": 637, "title": 1},
                              "confidence": 0.72, "given": false, "match": 0.94, "offset": 37,
                              "pieces": [{"firstFrame": 0, "offset": 37}, {"firstFrame": 400, "offset": 7}]})"));
  EXPECT_EQ(37, a.offset);
  EXPECT_DOUBLE_EQ(0.72, a.confidence);
  EXPECT_EQ(637u, a.otherFrames);
  ASSERT_EQ(2u, a.pieces.size());
  EXPECT_EQ(400u, a.pieces[1].firstFrame);
  EXPECT_EQ(7, a.pieces[1].offset);
}

TEST(DVDCompareAlignment, RefusesWhatIsNotOne) {
  DVDCompareAlignment a;
  EXPECT_FALSE(a.Construct("tavelo-grab: --compare: the titles cannot be lined up"));
  EXPECT_FALSE(a.Construct(R"({"offset": 3})"));  // no pieces
  // Pieces out of order.
  EXPECT_FALSE(a.Construct(R"({"offset": 3, "pieces": [{"firstFrame": 10, "offset": 3}, {"firstFrame": 5, "offset": 1}]})"));
  EXPECT_FALSE(a.Construct(R"({"offset": 3, "pieces": [{"offset": 3}]})"));
}

TEST(DVDCompareView, BesideTheWindowWhereThereIsRoom) {
  QRect const screen(0, 0, 1920, 1080);
  // Right of it.
  EXPECT_EQ(QRect(668, 40, 640, 480), DVDCompareView::BesidePlace(QRect(0, 0, 660, 520), QSize(640, 480), 40, screen));
  // No room on the right: left of it.
  EXPECT_EQ(QRect(752, 40, 640, 480), DVDCompareView::BesidePlace(QRect(1400, 0, 500, 520), QSize(640, 480), 40, screen));
  // Room on neither side: at the screen's right edge.
  EXPECT_EQ(QRect(1280, 40, 640, 480), DVDCompareView::BesidePlace(QRect(300, 0, 1300, 800), QSize(640, 480), 40, screen));
}

class CompareMenuTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();
    fake_dvd::Reset();
    ASSERT_TRUE(mNib.Construct());
    mNib.controller()->applicationDidFinishLaunching();
    mNib.validateMenuItems();
  }
  MainMenuNib mNib;
};

TEST_F(CompareMenuTest, ItemsAreInTheFileMenuAndEnabledAsTheyCanBeUsed) {
  QAction* compare = mNib.menuItemWithAction("compareWith:");
  QAction* flip = mNib.menuItemWithAction("flipCompareSides:");
  QAction* pair = mNib.menuItemWithAction("grabComparePair:");
  QAction* end = mNib.menuItemWithAction("endComparison:");
  ASSERT_TRUE(compare && flip && pair && end);
  EXPECT_EQ(QKeySequence(QStringLiteral("Ctrl+Shift+O")), compare->shortcut());
  EXPECT_EQ(QKeySequence(QStringLiteral("X")), flip->shortcut());
  EXPECT_EQ(QKeySequence(QStringLiteral("Ctrl+Shift+P")), pair->shortcut());
  // Without a disc nothing can be compared; without a comparison, nothing flipped or grabbed.
  for (QAction* item : {compare, flip, pair, end}) EXPECT_FALSE(item->isEnabled()) << item->text().toStdString();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(mNib.controller(), tavelo_app_test::NewFolder("disc"), false));
  mNib.validateMenuItems();
  EXPECT_TRUE(compare->isEnabled());
  EXPECT_FALSE(flip->isEnabled());
  // The File menu keeps its items in their order, the comparison's after Eject.
  QStringList actions;
  QMenu* const file = mNib.videoWindow()->findChild<QMenu*>(QStringLiteral("menuFile"));
  ASSERT_NE(file, nullptr);
  for (QAction* item : file->actions()) {
    if (!item->isSeparator() && !item->menu()) actions << item->text();
  }
  EXPECT_EQ(actions.mid(0, 6), (QStringList{"Close DVD/VIDEO_TS Folder", "Eject", "Compare With...", "Flip Sides",
                                            "Grab Pair", "End Comparison"}));
}

// A disc image named in the panel is taken; a file that is no disc ends the comparison at
// once with the reason in the status line, its tavelo-grab children gone.
TEST_F(CompareMenuTest, PanelTakesADiscImageAndABadOneIsToldOf) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  QString const image = tavelo_app_test::NewFolder("other") + QStringLiteral("/other.iso");
  {
    QFile file(image);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, 'x'));
  }
  QString shown;
  tavelo_app_test::WhenModal([&](QWidget* modal) {
    auto* panel = qobject_cast<QFileDialog*>(modal);
    ASSERT_NE(panel, nullptr);
    shown = panel->windowTitle();
    auto* name = panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    ASSERT_NE(name, nullptr);
    name->setText(image);
    // As the Choose button does.
    QMetaObject::invokeMethod(panel, "accept", Qt::QueuedConnection);
  });
  c->compareWith(nullptr);
  EXPECT_EQ(QStringLiteral("Compare With"), shown);
  ASSERT_NE(c->mComparison, nullptr);
  EXPECT_EQ(image, c->mComparison->Other());
  QElapsedTimer timer;
  timer.start();
  while (c->mComparison && timer.elapsed() < qint64(tavelo_test::ScaledMilliseconds(30000))) {
    tavelo_app_test::ProcessEvents();
  }
  EXPECT_EQ(c->mComparison, nullptr);
  EXPECT_TRUE(c->mStatusText->text().contains(QStringLiteral("cannot be shown"))) << c->mStatusText->text().toStdString();
}

}  // namespace
