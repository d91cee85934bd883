// The application object: the toolkit's loop with a delegate, the terminate request and
// the loop's reporting of exceptions that escape an event handler.
#pragma once

#include <QApplication>
#include <QPointer>

#include <stdexcept>
#include <string>

class DVDWindowDelegate;

// The assertion handler's exception for internal-consistency failures.
class NSInternalInconsistencyException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Raises an internal-consistency failure of method in file at line, described by format.
[[noreturn]] void NSAssertionFailure(char const* method, char const* file, int line,
                                     char const* format, ...)
    __attribute__((format(printf, 4, 5)));

class NSApplication : public QApplication {
  Q_OBJECT

 public:
  NSApplication(int& argc, char** argv);
  ~NSApplication() override;

  static NSApplication* sharedApplication();

  void setDelegate(DVDWindowDelegate* delegate);
  DVDWindowDelegate* delegate() const;

  int terminateRequests() const { return mTerminateRequests; }

  // What the loop reported last about an escaped exception (empty when none).
  std::string const& lastReportedException() const { return mLastReportedException; }

  bool notify(QObject* receiver, QEvent* event) override;

  // Runs one action; an exception that escapes it is reported and the loop goes on.
  template <class F>
  void performReporting(F&& action) {
    try {
      action();
    } catch (std::exception const& e) {
      reportException(e.what());
    }
  }
  void reportException(char const* what);

 public slots:
  // Asks the delegate and, when it agrees, ends the loop; callable from any thread.
  void terminate(QObject* sender);

 signals:
  void terminateRequested();

 private:
  QPointer<QObject> mDelegate;  // the controller
  int mTerminateRequests = 0;
  std::string mLastReportedException;
};

#define NSApp (NSApplication::sharedApplication())
