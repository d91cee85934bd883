#include "DVDScreenSaverInhibitor.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

#include "CoreMachDebugLog.h"

namespace {

char const kPortalService[] = "org.freedesktop.portal.Desktop";
char const kPortalPath[] = "/org/freedesktop/portal/desktop";
char const kPortalInhibit[] = "org.freedesktop.portal.Inhibit";
char const kPortalRequest[] = "org.freedesktop.portal.Request";
char const kScreenSaverService[] = "org.freedesktop.ScreenSaver";
char const kScreenSaverPath[] = "/org/freedesktop/ScreenSaver";
char const kScreenSaverInterface[] = "org.freedesktop.ScreenSaver";

// The portal's flag for idleness: the screen saver and blanking.
constexpr uint kPortalInhibitIdle = 8;
// At quit the release is waited for this long at most.
constexpr int kReleaseWaitMilliseconds = 2000;

char const kReason[] = "Playing a DVD";

}  // namespace

DVDScreenSaverInhibitor::DVDScreenSaverInhibitor() : mBus(QString()) {}

DVDScreenSaverInhibitor::~DVDScreenSaverInhibitor() { ReleaseNow(); }

bool DVDScreenSaverInhibitor::Construct(QDBusConnection bus) {
  mBus = std::move(bus);
  if (!mBus.isConnected()) {
    CoreMachDebugLog("screen saver: no session bus, the screen may blank while playing\n");
    return false;
  }
  return true;
}

DVDScreenSaverInhibitor::Desktop DVDScreenSaverInhibitor::WhichDesktop() const {
  if (!mBus.isConnected()) return kNone;
  QDBusConnectionInterface* const names = mBus.interface();
  if (!names) return kNone;
  // A sandbox lets only the portal through; where it runs, it speaks for the desktop.
  if (names->isServiceRegistered(QString::fromLatin1(kPortalService)).value()) return kPortal;
  if (names->isServiceRegistered(QString::fromLatin1(kScreenSaverService)).value()) {
    return kScreenSaver;
  }
  QStringList const startable = names->activatableServiceNames().value();
  if (startable.contains(QString::fromLatin1(kPortalService))) return kPortal;
  if (startable.contains(QString::fromLatin1(kScreenSaverService))) return kScreenSaver;
  return kNone;
}

void DVDScreenSaverInhibitor::SetInhibited(bool inhibit) {
  if (inhibit == mWanted) return;
  mWanted = inhibit;
  if (inhibit) {
    if (!mHeld && !mAsking) Ask();
  } else if (mHeld) {
    GiveBack(false);
  }
  // One being asked for is given back as soon as it is granted.
}

void DVDScreenSaverInhibitor::ReleaseNow() {
  mWanted = false;
  if (mHeld) GiveBack(true);
}

void DVDScreenSaverInhibitor::Ask() {
  Desktop const desktop = WhichDesktop();
  if (desktop == kNone) {
    if (mBus.isConnected() && !mToldNone) {
      CoreMachDebugLog("screen saver: neither %s nor %s on the session bus\n", kPortalService,
                       kScreenSaverService);
    }
    mToldNone = true;
    return;
  }
  QDBusMessage call;
  if (desktop == kPortal) {
    call = QDBusMessage::createMethodCall(QString::fromLatin1(kPortalService),
                                          QString::fromLatin1(kPortalPath),
                                          QString::fromLatin1(kPortalInhibit),
                                          QStringLiteral("Inhibit"));
    QVariantMap options;
    options.insert(QStringLiteral("reason"), QString::fromLatin1(kReason));
    call << QString() << kPortalInhibitIdle << options;
  } else {
    call = QDBusMessage::createMethodCall(QString::fromLatin1(kScreenSaverService),
                                          QString::fromLatin1(kScreenSaverPath),
                                          QString::fromLatin1(kScreenSaverInterface),
                                          QStringLiteral("Inhibit"));
    call << QStringLiteral("Tavelo") << QString::fromLatin1(kReason);
  }
  mAsking = true;
  auto* watcher = new QDBusPendingCallWatcher(mBus.asyncCall(call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, desktop](QDBusPendingCallWatcher* w) {
    w->deleteLater();
    mAsking = false;
    QDBusMessage const reply = w->reply();
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
      CoreMachDebugLog("screen saver: inhibit refused: %s\n", qPrintable(reply.errorMessage()));
      return;
    }
    QVariant const answer = reply.arguments().first();
    if (desktop == kPortal) Granted(desktop, 0, answer.value<QDBusObjectPath>().path());
    else Granted(desktop, answer.toUInt(), QString());
  });
}

void DVDScreenSaverInhibitor::Granted(Desktop desktop, uint cookie, QString const& handle) {
  mHeld = true;
  mHeldFrom = desktop;
  mCookie = cookie;
  mHandle = handle;
  // Paused or stopped while it was being asked for.
  if (!mWanted) GiveBack(false);
}

void DVDScreenSaverInhibitor::GiveBack(bool wait) {
  if (!mHeld) return;
  QDBusMessage call;
  if (mHeldFrom == kPortal) {
    call = QDBusMessage::createMethodCall(QString::fromLatin1(kPortalService), mHandle,
                                          QString::fromLatin1(kPortalRequest),
                                          QStringLiteral("Close"));
  } else {
    call = QDBusMessage::createMethodCall(QString::fromLatin1(kScreenSaverService),
                                          QString::fromLatin1(kScreenSaverPath),
                                          QString::fromLatin1(kScreenSaverInterface),
                                          QStringLiteral("UnInhibit"));
    call << mCookie;
  }
  mHeld = false;
  mHeldFrom = kNone;
  mHandle.clear();
  if (!mBus.isConnected()) return;
  if (wait) {
    QDBusMessage const reply = mBus.call(call, QDBus::Block, kReleaseWaitMilliseconds);
    if (reply.type() != QDBusMessage::ReplyMessage) {
      CoreMachDebugLog("screen saver: release refused: %s\n", qPrintable(reply.errorMessage()));
    }
    return;
  }
  auto* watcher = new QDBusPendingCallWatcher(mBus.asyncCall(call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [](QDBusPendingCallWatcher* w) {
    w->deleteLater();
    if (w->isError()) {
      CoreMachDebugLog("screen saver: release refused: %s\n", qPrintable(w->error().message()));
    }
  });
}
