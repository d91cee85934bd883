// What the controller tells the user where the user acted: a short line in the controller's
// status line and, for a disc that cannot be opened, a notice that does not block; and the
// reason playback stops, on the terminal, before the program ends.
#include "GrabDVDController.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QMessageBox>
#include <QTimer>
#include <QUrl>

#include <cstdio>

#include "CoreMachDebugLog.h"
#include "NSApplication.h"

QString GrabDVDController::OpenFailureText(QString const& path, OSStatus status) {
  QString const name = QFileInfo(path).fileName().isEmpty() ? path : QFileInfo(path).fileName();
  if (!QFileInfo::exists(path)) return tr("“%1” does not exist.").arg(path);
  switch (status) {
    case kDVDErrorMediaScrambled:
      return tr("“%1” is encrypted (CSS) and cannot be played without libdvdcss. Debian ships "
                "libdvdcss through the libdvd-pkg package.")
          .arg(name);
    case kDVDErrorReadFailed:
      return tr("“%1” cannot be read: the disc or its files are damaged.").arg(name);
    case kDVDErrorMediaNotDVD:
    default:
      return tr("“%1” is not a DVD: it holds no DVD-Video (VIDEO_TS) files.").arg(path);
  }
}

void GrabDVDController::reportOpenFailure(QString const& path, OSStatus status) {
  // The log already has the failed call; the user gets the reason in words.
  QString const text = OpenFailureText(path, status);
  showStatus(text, 0);
  // A notice that leaves the program usable; one at a time.
  if (mOpenFailureNotice) mOpenFailureNotice->close();
  auto* notice = new QMessageBox(QMessageBox::Warning, tr("Cannot Open Disc"), text, QMessageBox::Ok,
                                 mVideoWindow ? mVideoWindow->window() : nullptr);
  notice->setObjectName(QStringLiteral("openFailureNotice"));
  notice->setAttribute(Qt::WA_DeleteOnClose);
  notice->setModal(false);
  notice->show();
  mOpenFailureNotice = notice;
}

void GrabDVDController::showStatus(QString const& text, int milliseconds, QString const& link) {
  if (!mStatusText) return;
  if (link.isEmpty()) {
    mStatusText->setText(text.toHtmlEscaped());
  } else {
    mStatusText->setText(QStringLiteral("<a href=\"%1\">%2</a>")
                             .arg(QUrl::fromLocalFile(link).toString(QUrl::FullyEncoded),
                                  text.toHtmlEscaped()));
  }
  ++mStatusSerial;
  if (milliseconds > 0) {
    unsigned const serial = mStatusSerial;
    QTimer::singleShot(milliseconds, this, [this, serial] {
      if (mStatusText && serial == mStatusSerial) mStatusText->clear();
    });
  }
}

void GrabDVDController::grabSaved(QString const& path) {
  grabbedFrameUpdated();
  addToGrabStrip(path);
  if (!path.isEmpty()) quickSaveWritten(path);
}

void GrabDVDController::quickSaveWritten(QString const& path) {
  // A click on the name shows the folder it went to.
  showStatus(tr("Saved “%1”").arg(QFileInfo(path).fileName()), 5000,
             QFileInfo(path).absolutePath());
}

void GrabDVDController::openStatusLink(QString const& link) {
  QDesktopServices::openUrl(QUrl(link));
}

void GrabDVDController::handleDVDError(SInt32 error) {
  // The program ends as it always has; the reason is told first.
  char const* const why = error == kDVDErrorReadFailed ? "the disc can no longer be read"
                                                       : "the playback service failed";
  std::fprintf(stderr, "tavelo: playback stopped: %s (%d)\n", why, int(error));
  std::fflush(stderr);
  CoreMachDebugLog("playback stopped: %s (%d)", why, int(error));
  if (NSApp) NSApp->terminate(this);
}
