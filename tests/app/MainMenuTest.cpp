#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <gtest/gtest.h>

#include "AppTestSupport.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"
#include "NSMenuItemAction.h"
#include "TestLog.h"

namespace {

class MainMenuTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();
    fake_dvd::Reset();
    tavelo_test::LogTail tail;
    ASSERT_TRUE(mNib.Construct());
    // Loading the nibs and every awake step pass their checks.
    EXPECT_TRUE(tail.Lines().empty()) << tail.Text();
    mNib.controller()->applicationDidFinishLaunching();
    mNib.validateMenuItems();
  }
  QAction* Item(char const* selector) {
    QAction* item = mNib.menuItemWithAction(selector);
    EXPECT_NE(item, nullptr) << selector;
    return item;
  }

  MainMenuNib mNib;
};

}  // namespace

TEST_F(MainMenuTest, EveryCommandHasAnItemWithItsShortcut) {
  struct { char const* selector; char const* shortcut; } const items[] = {
      {"onMediaFolder:", "Ctrl+O"}, {"grabCurrentFrame:", "Ctrl+G"},
      {"grabCurrentFrameSaveNumberedFile:", "Ctrl+Shift+G"}, {"copy:", "Ctrl+C"},
      {"saveAs:", "Ctrl+Shift+S"}, {"onVideoSmall:", "Ctrl+1"}, {"onVideoNormal:", "Ctrl+2"},
      {"onVideoMax:", "Ctrl+3"}, {"onShowController:", "Ctrl+K"}, {"onNextScene:", "Ctrl+Right"},
      {"onPreviousScene:", "Ctrl+Left"}, {"onToggleMenu:", "Ctrl+M"}, {"onNewBookmark:", "Ctrl+B"},
      {"terminate:", "Ctrl+Q"},
  };
  for (auto const& [selector, shortcut] : items) {
    QAction* item = Item(selector);
    if (!item) continue;
    EXPECT_EQ(item->shortcut(), QKeySequence(QString::fromLatin1(shortcut))) << selector;
    EXPECT_EQ(item->shortcutContext(), Qt::ApplicationShortcut) << selector;
  }
  for (char const* selector :
       {"onPlay:", "onPause:", "onPlayPause:", "onStop:", "onScanForward:", "onScanBackward:",
        "onNextAngle:", "onVolumeUp:", "onVolumeDown:", "onMute:", "onEject:", "onNextBookmark:",
        "menuHelpApplicationHelp:", "menuHelpCheckUpdates:", "menuHelpSharePictures:",
        "orderFrontStandardAboutPanel:", "grabScreen:", "grabScreenQuickSave:",
        "grabAndCopy:", "grabScreenAndCopy:", "grabAndSave_JPEG:", "grabAndSave_PNG:",
        "grabAndSave_TIFF:", "saveGrabAs_JPEG:", "saveGrabAs_PNG:", "saveGrabAs_TIFF:"}) {
    Item(selector);
  }
}

TEST_F(MainMenuTest, PlaybackAndGrabCommandsAreEnabledAsTheyValidate) {
  for (char const* selector : {"onMediaFolder:", "onPlay:", "onNextScene:", "onVideoMax:",
                               "onShowController:", "menuHelpApplicationHelp:", "terminate:",
                               "orderFrontStandardAboutPanel:", "grabScreen:", "grabAndCopy:",
                               "selectDefault_SaveJPEG:", "selectDefault_CreatoriPhoto:"}) {
    if (QAction* item = Item(selector)) {
      EXPECT_TRUE(item->isEnabled()) << selector;
    }
  }
  // Without media the DVD grab commands are off; without a picture, copy and save-as are.
  for (char const* selector : {"grabCurrentFrame:", "grabCurrentFrameSaveNumberedFile:", "copy:",
                               "saveAs:", "saveGrabAs_PNG:"}) {
    QAction* item = Item(selector);
    if (!item) continue;
    EXPECT_TRUE(NSMenuItemAction::respondsToSelector(mNib.controller(), selector)) << selector;
    EXPECT_FALSE(item->isEnabled()) << selector;
  }
}

TEST_F(MainMenuTest, GrabMenuItemsValidateOnMediaAndAPicture) {
  GrabDVDController* c = mNib.controller();
  QAction* grab = Item("grabCurrentFrame:");
  QAction* copy = Item("copy:");
  ASSERT_TRUE(grab && copy);
  // The controller's own answer, whatever the target can do.
  EXPECT_FALSE(c->validateMenuItem(grab));
  EXPECT_FALSE(c->validateMenuItem(copy));
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  EXPECT_TRUE(c->validateMenuItem(grab));
  EXPECT_FALSE(c->validateMenuItem(copy));
  c->setGrabbedBitmapImageRep(std::make_shared<NSBitmapImageRep>(nullptr, 4, 4, 8, 3, false, 0, 24));
  EXPECT_TRUE(c->validateMenuItem(copy));
  EXPECT_TRUE(c->validateMenuItem(Item("onPlay:")));
}

TEST_F(MainMenuTest, GrabDefaultsMenuHoldsTypeFolderAndCreatorItems) {
  QMenu* menu = mNib.controller()->mGrabDefaultsMenu;
  ASSERT_NE(menu, nullptr);
  QStringList selectors;
  for (QAction* item : menu->actions()) {
    if (!item->isSeparator() && !item->menu()) selectors << QString::fromLatin1(NSMenuItemAction::action(item));
  }
  // The still choices follow (GrabDefaultsMenuEndsWithTheStillChoices).
  EXPECT_EQ(selectors.mid(0, 10), (QStringList{"selectDefault_SaveJPEG:", "selectDefault_SaveTIFF:", "selectDefault_SavePNG:",
                                    "selectDefault_PicturesFolder:", "selectDefault_DesktopFolder:",
                                    "selectDefault_DocumentsFolder:", "selectDefault_CreatorPreview:",
                                    "selectDefault_CreatorQuickTime:", "selectDefault_CreatorPhotoShop:",
                                    "selectDefault_CreatoriPhoto:"}));
}

TEST_F(MainMenuTest, GrabDefaultsMenuEndsWithTheStillChoices) {
  QMenu* menu = mNib.controller()->mGrabDefaultsMenu;
  ASSERT_NE(menu, nullptr);
  QStringList tail;
  for (QAction* item : menu->actions().mid(menu->actions().size() - 7)) {
    tail << (item->menu() ? item->menu()->title() : QString::fromLatin1(NSMenuItemAction::action(item)));
  }
  EXPECT_EQ(tail, (QStringList{"Grab From", "Picture Size", "Deinterlacing", "JPEG Quality", "File Names",
                               "toggleGrabIncludeSubtitles:",
                               "toggleGrabCropBorders:"}));
  auto const actionsOf = [&](char const* name) {
    QStringList names;
    if (QMenu* sub = menu->findChild<QMenu*>(QString::fromLatin1(name))) {
      for (QAction* item : sub->actions()) names << QString::fromLatin1(NSMenuItemAction::action(item));
    }
    return names;
  };
  EXPECT_EQ(actionsOf("mGrabFromMenu"), (QStringList{"selectDefault_GrabScreen:", "selectDefault_GrabVideoFrame:"}));
  EXPECT_EQ(actionsOf("mGrabSizeMenu"),
            (QStringList{"selectDefault_SizeSquarePixels:", "selectDefault_SizeSquarePixelsITU:",
                         "selectDefault_SizeStored:"}));
  EXPECT_EQ(actionsOf("mGrabDeinterlaceMenu"),
            (QStringList{"selectDefault_DeinterlaceAuto:", "selectDefault_DeinterlaceOff:",
                         "selectDefault_DeinterlaceBlend:", "selectDefault_DeinterlaceAdaptive:"}));
  EXPECT_EQ(actionsOf("mGrabNamesMenu"),
            (QStringList{"selectDefault_NamesNumbered:", "selectDefault_NamesDiscTime:"}));
  EXPECT_EQ(actionsOf("mGrabJPEGQualityMenu"),
            (QStringList{"selectDefault_JPEGQuality75:", "selectDefault_JPEGQuality90:",
                         "selectDefault_JPEGQuality100:"}));
}

TEST_F(MainMenuTest, OutletsAreConnected) {
  GrabDVDController* c = mNib.controller();
  EXPECT_NE(c->mAboutBox, nullptr);
  EXPECT_NE(c->mMenuItemAboutApp, nullptr);
  EXPECT_NE(c->mLastGrabImageView, nullptr);
  EXPECT_NE(c->mQuickGrabButton, nullptr);
  EXPECT_NE(c->mGrabDefaultsMenu, nullptr);
  EXPECT_NE(c->mPlayPauseButton, nullptr);
  EXPECT_NE(c->mAudioControl, nullptr);
  EXPECT_NE(c->mSceneText, nullptr);
  EXPECT_NE(c->mTitleText, nullptr);
  EXPECT_NE(c->mControlWindow, nullptr);
  EXPECT_NE(c->mTimeText, nullptr);
  EXPECT_NE(c->mVideoWindow, nullptr);
  EXPECT_EQ(c->grabWindow(), c->mVideoWindow.data());
}

TEST_F(MainMenuTest, ControllerButtonsPerformTheirActions) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  fake_dvd::S().calls.clear();
  c->mDVDState = kDVDStatePlaying;
  c->mPlayPauseButton->click();
  EXPECT_EQ(fake_dvd::Calls("DVDPause"), 1);
  EXPECT_TRUE(c->mQuickGrabButton->isEnabled());
}
