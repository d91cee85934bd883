#include "NSApplication.h"

#include <QThread>

#include <cstdarg>
#include <cstdio>

#include "CoreMachDebugLog.h"
#include "DVDWindowDelegate.h"

void NSAssertionFailure(char const* method, char const* file, int line, char const* format, ...) {
  char description[512];
  va_list args;
  va_start(args, format);
  std::vsnprintf(description, sizeof description, format, args);
  va_end(args);
  char text[768];
  std::snprintf(text, sizeof text, "*** Assertion failure in %s, %s:%d: %s", method, file, line,
                description);
  throw NSInternalInconsistencyException(text);
}

NSApplication::NSApplication(int& argc, char** argv) : QApplication(argc, argv) {}

NSApplication::~NSApplication() = default;

NSApplication* NSApplication::sharedApplication() {
  return qobject_cast<NSApplication*>(QCoreApplication::instance());
}

void NSApplication::setDelegate(DVDWindowDelegate* delegate) {
  mDelegate = delegate ? delegate->delegateObject() : nullptr;
}

DVDWindowDelegate* NSApplication::delegate() const {
  return qobject_cast<DVDWindowDelegate*>(mDelegate.data());
}

void NSApplication::terminate(QObject* sender) {
  if (QThread::currentThread() != thread()) {
    // The service's threads may ask; the request itself runs on the main thread.
    QPointer<QObject> guardedSender(sender);
    QMetaObject::invokeMethod(
        this, [this, guardedSender] { terminate(guardedSender.data()); }, Qt::QueuedConnection);
    return;
  }
  ++mTerminateRequests;
  emit terminateRequested();
  if (delegate() && !delegate()->applicationShouldTerminate()) return;
  // Queued, so that the request ends the loop once it runs; outside a running loop
  // (events processed by hand) there is nothing to end.
  QMetaObject::invokeMethod(
      this, [] { if (QThread::currentThread()->loopLevel() > 0) QCoreApplication::exit(0); },
      Qt::QueuedConnection);
}

bool NSApplication::notify(QObject* receiver, QEvent* event) {
  try {
    return QApplication::notify(receiver, event);
  } catch (std::exception const& e) {
    reportException(e.what());
  } catch (CoreException const& e) {
    reportException(e.what());
  } catch (...) {
    reportException("unknown exception");
  }
  return false;
}

void NSApplication::reportException(char const* what) {
  // The loop reports the exception and goes on with the next event.
  mLastReportedException = what ? what : "";
  std::fprintf(stderr, "Tavelo: uncaught exception: %s\n", mLastReportedException.c_str());
  CoreMachDebugLog("uncaught exception: %s\n", mLastReportedException.c_str());
}
