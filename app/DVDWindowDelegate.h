// What the windows ask of the application's controller: the keys they do not handle
// themselves, and whether the application may quit. The windows know only this, so that
// the controller can know the windows.
#pragma once

#include <QObject>

class QKeyEvent;

class DVDWindowDelegate {
 public:
  virtual ~DVDWindowDelegate();

  // A key press of the video, controller or compare window; true when it was handled.
  virtual bool onKeyDown(QKeyEvent* event) = 0;
  // Asked on a terminate request; false keeps the application running.
  virtual bool applicationShouldTerminate() const = 0;
  // The object behind the delegate: it is kept in a QPointer, as windows may outlive it,
  // and cast back with qobject_cast.
  virtual QObject* delegateObject() = 0;
};

#define DVDWindowDelegate_iid "org.tavelo.Tavelo.DVDWindowDelegate"
Q_DECLARE_INTERFACE(DVDWindowDelegate, DVDWindowDelegate_iid)
