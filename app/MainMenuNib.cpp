#include "MainMenuNib.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAction>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>

#include "DVDFullScreen.h"
#include "DVDGoMenu.h"
#include "DVDRecentMenu.h"
#include <QSignalBlocker>
#include <QSlider>

#include "CocoaX_Lib.h"
#include "CoreMachDebugLog.h"
#include "DVDControlWindow.h"
#include "DVDVideoView.h"
#include "DVDVideoWindow.h"
#include "GrabDVDController.h"
#include "NSApplication.h"
#include "NSClassRegistry.h"
#include "NSMenuItemAction.h"
#include "NSNibLoader.h"
#include "DVDGrabStrip.h"
#include "DVDSeekBar.h"
#include "PlaybackTime.h"

namespace {

// The classes the nibs name, the kit's and the application's, registered before a nib loads.
void RegisterClasses() {
  CocoaX_RegisterClasses();
  NS_REGISTER_CLASS(DVDVideoWindow);
  NS_REGISTER_CLASS(DVDVideoView);
  NS_REGISTER_CLASS(DVDControlWindow);
  NS_REGISTER_CLASS(PlaybackTime);
  NS_REGISTER_CLASS(DVDSeekBar);
  NS_REGISTER_CLASS(DVDGrabStrip);
}

}  // namespace

MainMenuNib::MainMenuNib() = default;

MainMenuNib::~MainMenuNib() {
  // What watches the windows goes first; the windows go before the controller they call.
  mRecentMenu.reset();
  mFullScreen.reset();
  mGoMenu.reset();
  delete mAboutBox.data();
  delete mVideoWindow.data();
  mController.reset();
}

bool MainMenuNib::Construct() {
  RegisterClasses();
  NSNibLoader loader;
  QWidget* const root = loader.loadNibNamed(QStringLiteral("MainMenu"));
  mVideoWindow = qobject_cast<DVDVideoWindow*>(root);
  bool const fOk = CoreVerify(mVideoWindow);
  if (!fOk) {
    delete root;
    return false;
  }
  mControlWindow = mVideoWindow->findChild<DVDControlWindow*>(QStringLiteral("mControlWindow"));
  if (mControlWindow) {
    // A tool window floats above the video window that owns it.
    mControlWindow->setParent(mVideoWindow, Qt::Tool);
  }
  mAboutBox = loader.loadNibNamed(QStringLiteral("AboutBox"));
  mController = std::make_unique<GrabDVDController>();
  auto* const bar = mVideoWindow->findChild<QMenuBar*>(QStringLiteral("mainMenu"));
  // After the menus the nib has always had, before Help.
  auto* const help = mVideoWindow->findChild<QMenu*>(QStringLiteral("menuHelp"));
  mGoMenu = std::make_unique<DVDGoMenu>(bar, help ? help->menuAction() : nullptr);
  mFullScreen = std::make_unique<DVDFullScreen>(mVideoWindow, mControlWindow);
  GrabDVDController* const controller = mController.get();
  mRecentMenu = std::make_unique<DVDRecentMenu>(
      mVideoWindow->findChild<QMenu*>(QStringLiteral("menuFile")),
      mVideoWindow->findChild<QAction*>(QStringLiteral("actionMediaFolder")),
      [controller](QString const& path) { controller->openMedia(path, QFileInfo(path).isFile()); });
  connectOutlets();
  wireMenuItems();
  wireControls();
  mController->awakeFromNib();
  return true;
}

void MainMenuNib::connectOutlets() {
  GrabDVDController& c = *mController;
  DVDVideoWindow& w = *mVideoWindow;
  c.mAboutBox = mAboutBox;
  c.mMenuItemAboutApp = w.findChild<QAction*>(QStringLiteral("mMenuItemAboutApp"));
  c.mLastGrabImageView = w.findChild<QLabel*>(QStringLiteral("mLastGrabImageView"));
  c.mQuickGrabButton = w.findChild<QAbstractButton*>(QStringLiteral("mQuickGrabButton"));
  c.mGrabDefaultsMenu = w.findChild<QMenu*>(QStringLiteral("mGrabDefaultsMenu"));
  c.mPlayPauseButton = w.findChild<QAbstractButton*>(QStringLiteral("mPlayPauseButton"));
  c.mAudioControl = w.findChild<QSlider*>(QStringLiteral("mAudioControl"));
  c.mSceneText = w.findChild<QLabel*>(QStringLiteral("mSceneText"));
  c.mTitleText = w.findChild<QLabel*>(QStringLiteral("mTitleText"));
  c.mControlWindow = mControlWindow.data();
  c.mTimeText = w.findChild<PlaybackTime*>(QStringLiteral("mTimeText"));
  c.mFrameText = w.findChild<QLabel*>(QStringLiteral("mFrameText"));
  c.mStatusText = w.findChild<QLabel*>(QStringLiteral("mStatusText"));
  c.mGrabStrip = w.findChild<DVDGrabStrip*>(QStringLiteral("mGrabStrip"));
  c.mFullScreen = mFullScreen.get();
  if (c.mStatusText) {
    connect(c.mStatusText, &QLabel::linkActivated, &c, &GrabDVDController::openStatusLink);
  }
  c.mVideoWindow = mVideoWindow.data();
  c.setGrabWindow(mVideoWindow);
  w.setDelegate(&c);
  if (mControlWindow) {
    mControlWindow->setDelegate(&c);
    mControlWindow->setButtonIcons();
  }
  // Open and close change the open item's title and key equivalent.
  connect(&c, &GrabDVDController::mediaChanged, this, &MainMenuNib::validateMenuItems);
  // A disc that opened joins File → Open Recent.
  connect(&c, &GrabDVDController::mediaChanged, this, [this] {
    if (mRecentMenu && !mController->mMediaPath.isEmpty()) mRecentMenu->add(mController->mMediaPath);
  });
  // A dropped folder opens as a folder, a disc image as a volume.
  connect(&w, &DVDVideoWindow::mediaDropped, &c, [this](QString const& path) {
    mController->openMedia(path, QFileInfo(path).isFile());
  });
}

QObject* MainMenuNib::targetForAction(QByteArray const& selector) const {
  if (selector == "terminate:") return NSApp;
  return mController.get();
}

QAction* MainMenuNib::menuItemWithAction(char const* selector) const {
  if (!mVideoWindow) return nullptr;
  for (QAction* item : mVideoWindow->findChildren<QAction*>()) {
    if (NSMenuItemAction::action(item) == selector) return item;
  }
  return nullptr;
}

void MainMenuNib::validateMenuItems() {
  if (!mVideoWindow || !mController) return;
  for (QAction* item : mVideoWindow->findChildren<QAction*>()) {
    QByteArray const selector = NSMenuItemAction::action(item);
    if (selector.isEmpty()) continue;
    QObject* const target = targetForAction(selector);
    // An action nobody implements yet stays disabled.
    bool enabled = NSMenuItemAction::respondsToSelector(target, selector);
    if (enabled && target == mController.get()) enabled = mController->validateMenuItem(item);
    item->setEnabled(enabled);
  }
}

bool MainMenuNib::performMenuItem(QAction* item) {
  if (!item) return false;
  validateMenuItems();
  if (!item->isEnabled()) return false;
  item->trigger();
  return true;
}

void MainMenuNib::wireMenuItems() {
  for (QAction* item : mVideoWindow->findChildren<QAction*>()) {
    QByteArray const selector = NSMenuItemAction::action(item);
    if (selector.isEmpty()) continue;
    // Key equivalents work wherever the focus is, also in the controller window.
    item->setShortcutContext(Qt::ApplicationShortcut);
    connect(item, &QAction::triggered, this, [this, item, selector] {
      // Exceptions stop here: Qt's signal delivery does not unwind.
      NSApp->performReporting([&] { NSMenuItemAction::perform(targetForAction(selector), selector, item); });
      validateMenuItems();
    });
  }
  for (QMenu* menu : mVideoWindow->findChildren<QMenu*>()) {
    connect(menu, &QMenu::aboutToShow, this, &MainMenuNib::validateMenuItems);
  }
}

void MainMenuNib::wireControls() {
  if (!mControlWindow) return;
  for (QAbstractButton* button : mControlWindow->findChildren<QAbstractButton*>()) {
    QByteArray const selector = button->property("action").toByteArray();
    if (selector.isEmpty()) continue;
    // Keys belong to the window's navigation, not to a focused button.
    button->setFocusPolicy(Qt::NoFocus);
    button->setEnabled(NSMenuItemAction::respondsToSelector(targetForAction(selector), selector));
    connect(button, &QAbstractButton::clicked, this, [this, button, selector] {
      NSApp->performReporting([&] { NSMenuItemAction::perform(targetForAction(selector), selector, button); });
      validateMenuItems();
    });
  }
  for (QAbstractSlider* slider : mControlWindow->findChildren<QAbstractSlider*>()) {
    QByteArray const selector = slider->property("action").toByteArray();
    if (selector.isEmpty()) continue;
    slider->setFocusPolicy(Qt::NoFocus);
    connect(slider, &QAbstractSlider::valueChanged, this, [this, slider, selector] {
      NSApp->performReporting([&] { NSMenuItemAction::perform(targetForAction(selector), selector, slider); });
    });
  }
}
