#include "GrabDVDController.h"

#include <QTimer>

#include <QAbstractButton>
#include <QAction>
#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QSlider>
#include <QUrl>
#include <QVariant>

#include <cstdio>

#include "CoreMachDebugLog.h"
#include "CoreUnixPath.h"
#include "CoreUserFolder.h"
#include "DVDVideoWindow.h"
#include "LocalizedStringTable.h"
#include "NSApplication.h"
#include "NSMenuItemAction.h"
#include "NSWorkspace.h"
#include "PlaybackTime.h"
#include "PDFSkinWindow.h"

#ifndef TAVELO_HELP_HOST
#define TAVELO_HELP_HOST ""
#endif

SInt32 GrabDVDController::sBookmarkCursor = 0;

namespace {

char const kVersionText[] = "1.005";
char const kShortName[] = "Tavelo";

// A key equivalent is a letter typed with the command key: Ctrl here.
void SetKeyEquivalent(QAction* item, char const* key) {
  item->setShortcut(QKeySequence(QStringLiteral("Ctrl+") + QString::fromLatin1(key).toUpper()));
}

// The bundled offline help page: beside the program in the build, in share/ when installed.
QString OfflineHelpPagePath() {
  QString const dir = QCoreApplication::applicationDirPath();
  for (QString const& candidate :
       {dir + QStringLiteral("/help/index.html"),
        dir + QStringLiteral("/../share/tavelo/help/index.html")}) {
    if (QFileInfo::exists(candidate)) return QFileInfo(candidate).canonicalFilePath();
  }
  return dir + QStringLiteral("/help/index.html");
}

}  // namespace

GrabDVDController::GrabDVDController(QObject* parent) : GrabWindowController(parent) {
  mBookmarks.clear();
  mVolumePath = QString();
  mDVDState = 0;
  mEventCallBackID = 0;
  mFrameTimer = new QTimer(this);
  mFrameTimer->setInterval(100);
  connect(mFrameTimer, &QTimer::timeout, this, &GrabDVDController::updateFrameText);
}

GrabDVDController::~GrabDVDController() {
  abandonOpen();
  mBookmarks.clear();
  disconnect(NSWorkspace::sharedWorkspace(), nullptr, this, nullptr);
}

void GrabDVDController::awakeFromNib() {
  CoreMachDebugVerify(mAboutBox);
  NSWorkspace* workspace = NSWorkspace::sharedWorkspace();
  connect(workspace, &NSWorkspace::didMount, this, [this] { deviceDidMount(nullptr); });
  connect(workspace, &NSWorkspace::willSleep, this, [this] { machineWillSleep(nullptr); });
  connect(workspace, &NSWorkspace::didWake, this, [this] { machineDidWake(nullptr); });
  if (NSApp) NSApp->setDelegate(this);
  awakeFromNibGrab();
}

void GrabDVDController::applicationDidFinishLaunching() {
  beginSession();
  resetUI();
  if (mVideoWindow) mVideoWindow->setupVideoWindow();
  searchMountedDVDDisc();
}

void GrabDVDController::applicationWillTerminate() {
  endSession();
  if (CoreVerify(mGrabDefaultsMenu)) savePreferences(mGrabDefaultsMenu);
  mStillChoices.SavePreferences();
}

void GrabDVDController::beginSession() {
  OSStatus result = DVDInitialize();
  if (result != noErr) {
    if (result == kDVDErrorServiceBusy) {
      displayAlertWithMessage(QStringLiteral("frameworkBusy"), QStringLiteral("frameworkBusyInfo"));
    }
    if (NSApp) NSApp->terminate(this);
    return;
  }
  DVDEventCode const eventCodes[] = {kDVDEventDisplayMode, kDVDEventError,    kDVDEventPlayback,
                                     kDVDEventPTT,         kDVDEventTitle,    kDVDEventTitleTime,
                                     kDVDEventVideoStandard};
  result = DVDRegisterEventCallBack(DVDEventCallBack, eventCodes,
                                    sizeof eventCodes / sizeof eventCodes[0], this,
                                    &mEventCallBackID);
  if (result != noErr) {
    NSAssertionFailure("-[GrabDVDController beginSession]", "GrabDVDController", __LINE__,
                       "DVDRegisterEventCallBack returned %d", static_cast<int>(result));
  }
  result = DVDSetFatalErrorCallBack(DVDFatalErrorCallBack, this);
  if (result != noErr) {
    NSAssertionFailure("-[GrabDVDController beginSession]", "GrabDVDController", __LINE__,
                       "DVDSetFatalErrorCallBack returned %d", static_cast<int>(result));
  }
  // One title-time event a second.
  result = DVDSetTimeEventRate(1000);
  if (result != noErr) {
    NSAssertionFailure("-[GrabDVDController beginSession]", "GrabDVDController", __LINE__,
                       "DVDSetTimeEventRate returned %d", static_cast<int>(result));
  }
}

void GrabDVDController::endSession() {
  // The service cannot be disposed of under an open; what it opened goes with the service.
  abandonOpen();
  if (mEventCallBackID == 0) return;
  closeMedia();
  DVDUnregisterEventCallBack(mEventCallBackID);
  CoreMachDebugVerifyOSerr(DVDDispose());
  mEventCallBackID = 0;
}

bool GrabDVDController::isValidMedia(QString const& path, FSRef* folder) const {
  QFileInfo const info(path);
  if (!info.exists() || !info.isDir()) return false;
  QByteArray const utf8 = path.toUtf8();
  Boolean isDirectory = false;
  return FSPathMakeRef(reinterpret_cast<UInt8 const*>(utf8.constData()), folder, &isDirectory) == noErr;
}

void GrabDVDController::closeMedia() {
  if (!hasMedia()) return;
  mMediaPath = QString();
  if (!mVolumePath.isNull()) {
    CoreMachDebugVerifyOSerr(DVDCloseMediaVolume());
    mVolumePath = QString();
  } else {
    CoreMachDebugVerifyOSerr(DVDCloseMediaFile());
  }
  resetUI();
  mBookmarks.clear();
  emit mediaChanged();
}

bool GrabDVDController::hasMedia() const {
  // Not until an open has come back: meanwhile the service holds its lock while it starts
  // libdvdnav, and the UI thread must not wait for it.
  if (isOpening()) return false;
  Boolean hasMedia = false;
  if (CoreVerifyOSerr(DVDHasMedia (&hasMedia)) != noErr) return false;
  return hasMedia;
}

void GrabDVDController::resetUI() {
  if (mTitleText) mTitleText->setText(QStringLiteral("-"));
  if (mSceneText) mSceneText->setText(QStringLiteral("-"));
  if (mTimeText) mTimeText->setTimeElapsed(0, 0);
}

void GrabDVDController::logMediaInfo() {
  if (!hasMedia()) return;
  DVDMediaUniqueID uniqueID = {};
  DVDRegionCode discRegion = 255;
  DVDRegionCode driveRegion = 255;
  SInt16 changesLeft = -1;
  DVDGetMediaUniqueID(uniqueID);
  DVDGetDiscRegionCode(&discRegion);
  DVDGetDriveRegionCode(&driveRegion, &changesLeft);
#ifndef NDEBUG
  CoreMachDebugLog("media %02x%02x%02x%02x%02x%02x%02x%02x disc region 0x%02x drive region 0x%02x "
                   "changes left %d\n",
                   uniqueID[0], uniqueID[1], uniqueID[2], uniqueID[3], uniqueID[4], uniqueID[5],
                   uniqueID[6], uniqueID[7], discRegion, driveRegion, changesLeft);
#endif
}

SInt32 GrabDVDController::displayAlertWithMessage(QString const& messageKey, QString const& infoKey) {
  QString messageText, infoText;
  LocalizedStringTable table;
  bool const bundle = table.Construct(LocalizedStringTable::PathForTable(QStringLiteral("Localizable")));
  if (CoreVerify(bundle)) {
    messageText = table.localizedStringForKey(messageKey);
    infoText = table.localizedStringForKey(infoKey);
  }
  QMessageBox alert;
  alert.setObjectName(QStringLiteral("NSAlert"));
  alert.setIcon(QMessageBox::Critical);
  alert.setText(messageText);
  alert.setInformativeText(infoText);
  return alert.exec();
}

void GrabDVDController::handleDVDEvent(std::shared_ptr<DVDEvent const> const& event) {
  std::shared_ptr<DVDEvent const> const retained = event;
  if (!retained) return;
  DVDEventValue const data1 = retained->eventData1();
  DVDEventValue const data2 = retained->eventData2();
  switch (retained->eventCode()) {
    case kDVDEventTitle:
      if (mTitleText) mTitleText->setText(QString::number(static_cast<int>(data1)));
      if (mVideoWindow) mVideoWindow->setWindowSize(DVDVideoWindow::kRefit);
      break;
    case kDVDEventPTT:
      if (mSceneText) mSceneText->setText(QString::number(static_cast<int>(data1)));
      break;
    case kDVDEventDisplayMode:
    case kDVDEventVideoStandard:
      if (mVideoWindow) mVideoWindow->setWindowSize(DVDVideoWindow::kRefit);
      break;
    case kDVDEventPlayback:
      mDVDState = static_cast<SInt32>(data1);
      if (mDVDState == kDVDStatePaused) mFrameTimer->start();
      else mFrameTimer->stop();
      updateFrameText();
      break;
    case kDVDEventTitleTime:
      if (mTimeText) mTimeText->setTimeElapsed(static_cast<SInt32>(data1), static_cast<SInt32>(data2 - data1));
      break;
    case kDVDEventError:
      handleDVDError(static_cast<SInt32>(data1));
      break;
    default:
      break;
  }
}

void GrabDVDController::updateFrameText() {
  if (!mFrameText) return;
  UInt32 frame = 0;
  if (mDVDState == kDVDStatePaused && DVDGetFrameInTitle(&frame) == noErr) {
    mFrameText->setText(QStringLiteral("Frame %1").arg(frame));
  } else {
    mFrameText->clear();
  }
}

void GrabDVDController::DVDEventCallBack(DVDEventCode code, DVDEventValue data1, DVDEventValue data2,
                                         void* refCon) {
  auto* controller = static_cast<GrabDVDController*>(refCon);
  std::shared_ptr<DVDEvent const> event = DVDEvent::initWithData(code, data1, data2);
  // Queued for the main thread without waiting; queued calls keep their order.
  QMetaObject::invokeMethod(
      controller, [controller, event] { controller->handleDVDEvent(event); }, Qt::QueuedConnection);
}

void GrabDVDController::DVDFatalErrorCallBack(OSStatus error, void* refCon) {
  static_cast<GrabDVDController*>(refCon)->handleDVDError(error);
}

// ---- commands

void GrabDVDController::onMediaFolder(QObject*) {
  if (hasMedia()) {
    closeMedia();
    return;
  }
  QString const path = runOpenPanel();
  if (!path.isEmpty()) openMedia(path, false);
}

QString GrabDVDController::runOpenPanel() {
  QFileDialog panel;
  panel.setObjectName(QStringLiteral("NSOpenPanel"));
  panel.setFileMode(QFileDialog::Directory);
  panel.setOption(QFileDialog::ShowDirsOnly, true);
  panel.setOption(QFileDialog::DontUseNativeDialog, true);
  if (panel.exec() != QDialog::Accepted) return {};
  QStringList const chosen = panel.selectedFiles();
  return chosen.isEmpty() ? QString() : chosen.first();
}

void GrabDVDController::onPlay(QObject*) {
  if (hasMedia() && mDVDState != kDVDStatePlaying) DVDPlay();
}

void GrabDVDController::onPause(QObject*) {
  if (hasMedia() && mDVDState != kDVDStatePaused) DVDPause();
}

void GrabDVDController::onPlayPause(QObject* sender) {
  if (!hasMedia()) return;
  if (mDVDState == kDVDStatePlaying) onPause(sender);
  else onPlay(sender);
}

void GrabDVDController::onStop(QObject*) {
  if (!hasMedia()) return;
  if (mDVDState == kDVDStateStopped) resetUI();
  DVDStop();
}

void GrabDVDController::onScanForward(QObject*) {
  if (mDVDState == kDVDStatePlaying) DVDScan(kDVDScanRate4x, kDVDScanDirectionForward);
}

void GrabDVDController::onScanBackward(QObject*) {
  if (mDVDState == kDVDStatePlaying) DVDScan(kDVDScanRate4x, kDVDScanDirectionBackward);
}

// Paused too: the service shows the scene's first picture and stays paused.
void GrabDVDController::onNextScene(QObject*) {
  if (mDVDState == kDVDStatePlaying || mDVDState == kDVDStatePaused) DVDNextChapter();
}

void GrabDVDController::onPreviousScene(QObject*) {
  if (mDVDState == kDVDStatePlaying || mDVDState == kDVDStatePaused) DVDPreviousChapter();
}

void GrabDVDController::onToggleMenu(QObject*) {
  if (mDVDState != kDVDStatePlaying && mDVDState != kDVDStatePlayingStill &&
      mDVDState != kDVDStatePaused) {
    return;
  }
  Boolean onMenu = false;
  DVDMenu whichMenu = kDVDMenuNone;
  CoreMachDebugVerifyOSerr(DVDIsOnMenu (&onMenu, &whichMenu));
  if (onMenu) {
    CoreMachDebugVerifyOSerr(DVDReturnToTitle());
  } else {
    CoreMachDebugVerifyOSerr(DVDGoToMenu(kDVDMenuRoot));
  }
}

void GrabDVDController::onNextAngle(QObject*) {
  if (mDVDState != kDVDStatePlaying) return;
  UInt16 numAngles = 0;
  UInt16 angle = 0;
  CoreMachDebugVerifyOSerr(DVDGetNumAngles (&numAngles));
  CoreMachDebugVerifyOSerr(DVDGetAngle (&angle));
  // Angles are numbered from 1.
  angle = static_cast<UInt16>(angle + 1);
  if (angle > numAngles) angle = 1;
  CoreMachDebugVerifyOSerr(DVDSetAngle (angle));
}

UInt16 GrabDVDController::setAudioVolume(bool up) {
  UInt16 minVolume = 0, curVolume = 0, maxVolume = 0;
  DVDGetAudioVolumeInfo(&minVolume, &curVolume, &maxVolume);
  // Sixteen steps across the range; signed, so a step below the minimum clamps.
  SInt16 const step = static_cast<SInt16>((static_cast<int>(maxVolume) - static_cast<int>(minVolume) + 1) / 16);
  SInt32 newVolume;
  if (up) {
    newVolume = curVolume + step;
    if (maxVolume <= newVolume) newVolume = maxVolume;
  } else {
    newVolume = curVolume - step;
    if (minVolume >= newVolume) newVolume = minVolume;
  }
  DVDSetAudioVolume(static_cast<UInt16>(newVolume));
  return static_cast<UInt16>(newVolume);
}

void GrabDVDController::onVolumeUp(QObject*) {
  UInt16 const volume = setAudioVolume(true);
  if (mAudioControl) {
    // Showing the volume is not a new choice of the user.
    QSignalBlocker const quiet(mAudioControl);
    mAudioControl->setValue(volume);
  }
}

void GrabDVDController::onVolumeDown(QObject*) {
  UInt16 const volume = setAudioVolume(false);
  if (mAudioControl) {
    // Showing the volume is not a new choice of the user.
    QSignalBlocker const quiet(mAudioControl);
    mAudioControl->setValue(volume);
  }
}

void GrabDVDController::onAudioVolume(QObject* sender) {
  double const floatValue = sender ? sender->property("value").toDouble() : 0.0;
  // Truncated toward zero, then its low 16 bits.
  UInt16 const volume = static_cast<UInt16>(static_cast<long>(floatValue));
  OSStatus const err = DVDSetAudioVolume(volume);
  if (err != noErr) {
    _CoreMachDebugVerifyOSerrBody(static_cast<short>(err),
                                  CoreMachDebugFunctionName(__PRETTY_FUNCTION__).c_str(),
                                  CoreMachDebugSourceName(__FILE__).c_str(), __LINE__,
                                  " code : DVDSetAudioVolume ([sender floatValue])");
  }
}

void GrabDVDController::onMute(QObject*) {
  Boolean isMuted = false;
  CoreMachDebugVerifyOSerr(DVDIsMuted (&isMuted));
  CoreMachDebugVerifyOSerr(DVDMute(!isMuted));
}

void GrabDVDController::onShowController(QObject*) {
  if (!mControlWindow) return;
  if (mControlWindow->isVisible()) {
    mControlWindow->hide();
  } else {
    mControlWindow->show();
    mControlWindow->raise();
  }
}

void GrabDVDController::onVideoMax(QObject*) {
  if (mVideoWindow) mVideoWindow->setWindowSize(DVDVideoWindow::kMaximum);
}

void GrabDVDController::onVideoNormal(QObject*) {
  if (mVideoWindow) mVideoWindow->setWindowSize(DVDVideoWindow::kNormal);
}

void GrabDVDController::onVideoSmall(QObject*) {
  if (mVideoWindow) mVideoWindow->setWindowSize(DVDVideoWindow::kSmall);
}

void GrabDVDController::onEject(QObject*) {
  if (mVolumePath.isNull()) return;
  QString const volumePath = mVolumePath;
  closeMedia();
  NSWorkspace::sharedWorkspace()->unmountAndEjectDeviceAtPath(volumePath);
}

void GrabDVDController::onNewBookmark(QObject*) {
  if (mDVDState == kDVDStatePlaying || mDVDState == kDVDStatePlayingStill) {
    mBookmarks.push_back(std::make_unique<DVDBookmark>());
  }
}

void GrabDVDController::onNextBookmark(QObject*) {
  SInt32 const count = static_cast<SInt32>(mBookmarks.size());
  if (count == 0) return;
  // The cursor is shared by all media and wraps only when it equals the count: a cursor
  // left beyond a shorter list is an out-of-range request.
  mBookmarks.at(static_cast<std::size_t>(static_cast<UInt32>(sBookmarkCursor)))->gotoBookmark();
  ++sBookmarkCursor;
  if (sBookmarkCursor == count) sBookmarkCursor = 0;
}

void GrabDVDController::menuHelpApplicationHelp(QObject*) { launchAppWebPageByID(QStringLiteral("help")); }
void GrabDVDController::menuHelpCheckUpdates(QObject*) { launchAppWebPageByID(QStringLiteral("updates")); }
void GrabDVDController::menuHelpSharePictures(QObject*) { launchAppWebPageByID(QStringLiteral("share")); }

void GrabDVDController::deviceDidMount(QObject*) {}
void GrabDVDController::machineWillSleep(QObject*) { DVDSleep(); }
void GrabDVDController::machineDidWake(QObject*) { DVDWakeUp(); }

// ---- keyboard

QString GrabDVDController::KeyEventCharacters(QKeyEvent const* event) {
  if (!event) return {};
  switch (event->key()) {
    case Qt::Key_Up: return QString(QChar(0xF700));
    case Qt::Key_Down: return QString(QChar(0xF701));
    case Qt::Key_Left: return QString(QChar(0xF702));
    case Qt::Key_Right: return QString(QChar(0xF703));
    case Qt::Key_Return: return QString(QChar(0x000D));
    case Qt::Key_Enter: return QString(QChar(0x0003));
    case Qt::Key_Space: return QString(QChar(0x0020));
    default: return event->text();
  }
}

bool GrabDVDController::onKeyDown(QKeyEvent* event) {
  QString const characters = KeyEventCharacters(event);
  if (characters.isEmpty()) return false;
  switch (characters.at(0).unicode()) {
    case 0xF700:
      CoreMachDebugVerifyOSerr(DVDDoUserNavigation (kDVDUserNavigationMoveUp));
      return true;
    case 0xF701:
      CoreMachDebugVerifyOSerr(DVDDoUserNavigation (kDVDUserNavigationMoveDown));
      return true;
    case 0xF702:
      CoreMachDebugVerifyOSerr(DVDDoUserNavigation (kDVDUserNavigationMoveLeft));
      return true;
    case 0xF703:
      CoreMachDebugVerifyOSerr(DVDDoUserNavigation (kDVDUserNavigationMoveRight));
      return true;
    case 0x000D:
    case 0x0003:
      CoreMachDebugVerifyOSerr(DVDDoUserNavigation (kDVDUserNavigationEnter));
      return true;
    case 0x0020:
      if (mDVDState == kDVDStatePlaying) onPause(this);
      else if (mDVDState == kDVDStatePaused) onPlay(this);
      return true;
    default:
      return false;
  }
}

// ---- menus

bool GrabDVDController::validateMenuItem(QAction* item) {
  QByteArray const action = NSMenuItemAction::action(item);
  if (action == "onMediaFolder:") {
    if (!hasMedia()) {
      item->setText(QStringLiteral("Open DVD/VIDEO_TS Folder..."));
      SetKeyEquivalent(item, "o");
    } else {
      item->setText(QStringLiteral("Close DVD/VIDEO_TS Folder"));
      SetKeyEquivalent(item, "w");
    }
  } else if (action == "onMute:") {
    Boolean isMuted = false;
    DVDIsMuted(&isMuted);
    item->setCheckable(true);
    item->setChecked(isMuted);
  } else if (action == "onShowController:") {
    bool const visible = mControlWindow && mControlWindow->isVisible();
    item->setText(visible ? QStringLiteral("Hide Controller") : QStringLiteral("Show Controller"));
  }
  return validateMenuItemGrab(item) && validateMenuItemCompare(item);
}

// ---- About box and web pages

QString GrabDVDController::AppWebPageAddress(QString const& page, QString const& host) {
  if (host.isEmpty()) return QUrl::fromLocalFile(OfflineHelpPagePath()).toString();
  char query[256];
  std::snprintf(query, sizeof query, "/redirect.php?page=%s&version=%s&level=%d&bundle=%s",
                page.toUtf8().constData(), kVersionText, 1, kShortName);
  return QStringLiteral("http://") + host + QString::fromUtf8(query);
}

void GrabDVDController::launchAppWebPageByID(QString const& page) {
  QString const address = AppWebPageAddress(page, QStringLiteral(TAVELO_HELP_HOST));
  bool const urlString = !address.isEmpty();
  if (!CoreVerify(urlString)) return;
  QUrl const url(address);
  bool const www_url = url.isValid();
  if (!CoreVerify(www_url)) return;
  NSWorkspace::sharedWorkspace()->openURL(url);
}

void GrabDVDController::orderFrontStandardAboutPanel(QObject*) {
  if (!mAboutBox) return;
  mAboutBox->show();
  mAboutBox->raise();
  mAboutBox->activateWindow();
}
