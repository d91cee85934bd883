// Opening a disc. The service identifies the disc and probes its information files in helper
// processes before it starts libdvdnav: a second on a good disc, many on a damaged one. So the
// service's open runs on a thread of its own and the window stays live; what follows an open
// (playing, the menus, the recent list, MPRIS, a notice when it failed) runs here, on the UI
// thread, once the result comes back.
//
// The service's open takes its lock only briefly before probing and again while it starts
// libdvdnav, and calls none of the application's callbacks on the opening thread (events come
// from its own event thread, queued to this one), so it may run on any thread. While it runs
// the controller says it has no media and calls nothing that waits for that lock.
#include "GrabDVDController.h"

#include <QCursor>
#include <QFileInfo>
#include <QGuiApplication>

#include "CoreMachDebugLog.h"
#include "NSApplication.h"

namespace {

// A disc image file may be opened as a volume.
bool IsDiscImageFile(QString const& path) {
  QFileInfo const info(path);
  return info.isFile() && info.suffix().compare(QLatin1String("iso"), Qt::CaseInsensitive) == 0;
}

void ShowBusy(bool busy) {
  if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return;
  if (busy) QGuiApplication::setOverrideCursor(QCursor(Qt::BusyCursor));
  else QGuiApplication::restoreOverrideCursor();
}

// On the opening thread: the service's open, logged when it fails.
OSStatus OpenInService(FSRef const& fileRef, bool isVolume) {
  OSStatus result = noErr;
  if (isVolume) {
    CoreMachDebugVerifyOSerr(result = DVDOpenMediaVolume(&fileRef));
  } else {
    CoreMachDebugVerifyOSerr(result = DVDOpenMediaFile(&fileRef));
  }
  return result;
}

}  // namespace

bool GrabDVDController::openMedia(QString const& path, bool isVolume) {
  FSRef fileRef{};
  bool valid = isValidMedia(path, &fileRef);
  if (!valid && isVolume && IsDiscImageFile(path)) {
    // A disc image stands for a volume.
    QByteArray const utf8 = path.toUtf8();
    valid = FSPathMakeRef(reinterpret_cast<UInt8 const*>(utf8.constData()), &fileRef, nullptr) == noErr;
  }
  if (!valid) {
    reportOpenFailure(path, kDVDErrorMediaNotDVD);
    return false;
  }
  if (isOpening()) {
    // An open cannot be stopped halfway. The disc chosen last is the one the user wants: it
    // opens when this one is done, in place of any chosen before it, and this one is closed.
    mNextOpenPath = path;
    mNextOpenIsVolume = isVolume;
    showStatus(tr("Opening “%1” next…").arg(QFileInfo(path).fileName()), 0);
    return true;
  }
  if (hasMedia()) closeMedia();
  if (mOpenThread.joinable()) mOpenThread.join();  // its result is in; it has ended or is ending

  mOpeningPath = path;
  mOpeningIsVolume = isVolume;
  unsigned const serial = ++mOpenSerial;
  showStatus(tr("Opening “%1”…").arg(QFileInfo(path).fileName()), 0);
  mOpeningStatusSerial = mStatusSerial;
  ShowBusy(true);
  mOpenThread = std::thread([this, serial, path, isVolume, fileRef] {
    OSStatus const result = OpenInService(fileRef, isVolume);
    // Dropped with the controller if it is gone by then.
    QMetaObject::invokeMethod(
        this, [this, serial, path, isVolume, result] { openFinished(serial, path, isVolume, result); },
        Qt::QueuedConnection);
  });
  return true;
}

void GrabDVDController::openFinished(unsigned serial, QString const& path, bool isVolume,
                                     OSStatus result) {
  if (serial != mOpenSerial || !isOpening()) return;  // abandoned
  mOpeningPath = QString();
  ShowBusy(false);
  if (!mNextOpenPath.isNull()) {
    // Another disc was chosen meanwhile: this one is let go without a word.
    if (result == noErr) {
      CoreMachDebugVerifyOSerr(isVolume ? DVDCloseMediaVolume() : DVDCloseMediaFile());
    }
    QString const next = mNextOpenPath;
    bool const nextIsVolume = mNextOpenIsVolume;
    mNextOpenPath = QString();
    emit mediaOpenFinished(path, false);
    openMedia(next, nextIsVolume);
    return;
  }
  if (mStatusSerial == mOpeningStatusSerial) showStatus(QString(), 0);

  bool fOk = false;
  if (result != noErr) {
    CoreMachDebugVerifyOSerr(result);
    if (result != kDVDErrorRegionCodeUninitialized) reportOpenFailure(path, result);
  } else {
    if (isVolume) mVolumePath = path;
    mMediaPath = path;
    logMediaInfo();
    onPlay(mPlayPauseButton);
    fOk = true;
  }
  emit mediaChanged();
  emit mediaOpenFinished(path, fOk);
  if (result == kDVDErrorRegionCodeUninitialized) {
    displayAlertWithMessage(QStringLiteral("noRegionCode"), QStringLiteral("noRegionCodeInfo"));
    if (NSApp) NSApp->terminate(this);
  }
}

void GrabDVDController::abandonOpen() {
  bool const abandoned = isOpening();
  if (abandoned) {
    mOpeningPath = QString();
    mNextOpenPath = QString();
    ++mOpenSerial;
    ShowBusy(false);
  }
  // Only when quitting in the middle of an open: the service cannot be torn down under it,
  // and the probe's limit bounds the wait.
  if (mOpenThread.joinable()) mOpenThread.join();
  if (abandoned && hasMedia()) {
    // What the abandoned open opened is not the controller's: let it go.
    if (mOpeningIsVolume) CoreMachDebugVerifyOSerr(DVDCloseMediaVolume());
    else CoreMachDebugVerifyOSerr(DVDCloseMediaFile());
  }
}
