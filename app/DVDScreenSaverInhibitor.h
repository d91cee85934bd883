// Keeps the screen from blanking while a disc plays: an inhibition asked of the desktop on
// the session bus (its portal, org.freedesktop.portal.Inhibit, where one runs; else
// org.freedesktop.ScreenSaver) and given back on pause, stop, close and quit. Without a bus
// or either service nothing is asked, and the program runs on.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

class DVDScreenSaverInhibitor : public QObject {
  Q_OBJECT

 public:
  enum Desktop { kNone, kPortal, kScreenSaver };

  DVDScreenSaverInhibitor();
  ~DVDScreenSaverInhibitor() override;

  // Asks on bus from now on; false (logged) without one.
  bool Construct(QDBusConnection bus);
  // Asked for (or being asked for) while true; given back once false. The desktop answers
  // later: nothing waits for it.
  void SetInhibited(bool inhibit);
  // Gives back an inhibition held now and waits for the desktop to take it (at quit).
  void ReleaseNow();

  bool Wanted() const { return mWanted; }
  // Whether the desktop granted one that is not yet given back.
  bool Held() const { return mHeld; }
  // Where the inhibition goes now (looked up each time one is asked for).
  Desktop WhichDesktop() const;

 private:
  void Ask();
  void GiveBack(bool wait);
  void Granted(Desktop desktop, uint cookie, QString const& handle);

  QDBusConnection mBus;
  bool mWanted = false;
  bool mAsking = false;  // a request is on its way
  bool mHeld = false;
  Desktop mHeldFrom = kNone;
  uint mCookie = 0;      // org.freedesktop.ScreenSaver's
  QString mHandle;       // the portal's request object
  bool mToldNone = false;
};
