// The batch dialogs: the command line their choices make, and the stills they plan for the
// open disc (the same plan tavelo-grab makes, from the disc's title table).
#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QLineEdit>
#include <QSpinBox>
#include <gtest/gtest.h>

#include "AppTestSupport.h"
#include "BatchGrabDialog.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"

namespace {

class BatchGrabDialogTest : public testing::Test {
 protected:
  void SetUp() override {
    fake_dvd::Reset();
    fake_dvd::S().hasMedia = true;
    // 900 frames at 30000/1001, chapters at 0, 300 and 600.
    fake_dvd::State::Title t;
    t.info.frames = 900;
    t.info.chapters = 3;
    t.info.standard = kDVDVideoStandardNTSC;
    t.chapterFirstFrames = {0, 300, 600};
    fake_dvd::S().titles = {t};
  }
};

TEST_F(BatchGrabDialogTest, TheChoicesMakeTheCommandLine) {
  BatchGrabDialog d(BatchGrabDialog::kFiles, QStringLiteral("/discs/Film"), 0,
                    QStringLiteral("/pictures"));
  EXPECT_EQ((QStringList{"-q", "--chapters", "--format", "jpg", "--size", "square",
                         "--deinterlace", "auto", "--no-subtitles", "-o", "/pictures",
                         "/discs/Film"}),
            d.Arguments());
  EXPECT_EQ(3, d.Planned());
  d.mWhat->setCurrentIndex(1);
  EXPECT_EQ(QStringLiteral("10"), d.mValue->text());
  d.mValue->setText(QStringLiteral("5"));
  d.mFormat->setCurrentIndex(1);
  d.mSize->setCurrentIndex(2);
  d.mDeinterlace->setCurrentIndex(3);
  d.mSubtitles->setChecked(true);
  d.mCrop->setChecked(true);
  d.mSkipBlank->setChecked(true);
  EXPECT_EQ((QStringList{"-q", "--every", "5", "--format", "png", "--size", "stored",
                         "--deinterlace", "adaptive", "--subtitles", "--crop", "--skip-blank",
                         "-o", "/pictures",
                         "/discs/Film"}),
            d.Arguments());
  EXPECT_EQ(7, d.Planned()) << "frames 0, 149, 299, 449, 599, 749, 899";
  d.mWhat->setCurrentIndex(3);
  d.mValue->setText(QStringLiteral("1,0:02,f950"));
  EXPECT_EQ(2, d.Planned()) << "f950 is past the title's end";
  d.mValue->setText(QStringLiteral("soon"));
  EXPECT_EQ(0, d.Planned());
}

TEST_F(BatchGrabDialogTest, TheSheetDialogAsksForItsGrid) {
  BatchGrabDialog d(BatchGrabDialog::kSheet, QStringLiteral("/discs/Film"), 2,
                    QStringLiteral("/pictures"));
  d.mColumns->setValue(3);
  d.mRows->setValue(5);
  d.mSheetWidth->setValue(1200);
  QStringList const args = d.Arguments();
  EXPECT_EQ((QStringList{"-q", "--title", "2", "--sheet", "3x5", "--sheet-width", "1200"}),
            args.mid(0, 7));
  EXPECT_EQ(15, d.Planned());
}

TEST(BatchGrabDialog, TavelosOwnGrabCommandIsFoundBesideIt) {
  // The test program is not beside tavelo-grab: found on the PATH or not at all, never a
  // file that cannot run.
  QString const program = BatchGrabDialog::GrabProgram();
  EXPECT_TRUE(program.isEmpty() || QFileInfo(program).isExecutable()) << program.toStdString();
}

TEST(BatchGrabMenu, BothItemsWaitForADisc) {
  tavelo_app_test::ProcessEvents();
  fake_dvd::Reset();
  MainMenuNib nib;
  ASSERT_TRUE(nib.Construct());
  GrabDVDController* c = nib.controller();
  for (char const* action : {"batchGrab:", "contactSheet:"}) {
    QAction* item = nib.menuItemWithAction(action);
    ASSERT_NE(item, nullptr) << action;
    EXPECT_FALSE(c->validateMenuItem(item)) << action;
  }
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  for (char const* action : {"batchGrab:", "contactSheet:"}) {
    EXPECT_TRUE(c->validateMenuItem(nib.menuItemWithAction(action))) << action;
  }
  c->contactSheet(nullptr);
  auto* shown = qobject_cast<BatchGrabDialog*>(c->mBatchDialog.data());
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(QStringLiteral("contactSheetDialog"), shown->objectName());
  EXPECT_TRUE(shown->isVisible());
}

}  // namespace
