#include "AppTestSupport.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTimer>
#include <QWidget>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

#include "GrabDVDController.h"
#include "NSApplication.h"
#include "TestLog.h"
#include "TestTime.h"

namespace {

class AppEnvironment : public testing::Environment {
 public:
  void SetUp() override {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char arg0[] = "test_app";
    static char* argv[] = {arg0, nullptr};
    mApp = std::make_unique<NSApplication>(argc, argv);
  }
  void TearDown() override { mApp.reset(); }

 private:
  std::unique_ptr<NSApplication> mApp;
};

[[maybe_unused]] testing::Environment* const sEnvironment =
    testing::AddGlobalTestEnvironment(new AppEnvironment);

}  // namespace

namespace tavelo_app_test {

void ProcessEvents() {
  for (int i = 0; i < 5; ++i) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

void WhenModal(std::function<void(QWidget*)> fn) {
  auto* timer = new QTimer();
  timer->setInterval(10);
  QObject::connect(timer, &QTimer::timeout, [timer, fn] {
    if (QWidget* modal = QApplication::activeModalWidget()) {
      timer->stop();
      timer->deleteLater();
      fn(modal);
    }
  });
  timer->start();
}

bool OpenMedia(GrabDVDController* controller, QString const& path, bool isVolume) {
  QSignalSpy finished(controller, &GrabDVDController::mediaOpenFinished);
  if (!controller->openMedia(path, isVolume)) return false;
  QDeadlineTimer const limit(tavelo_test::ScaledMilliseconds(10000));
  for (;;) {
    for (QList<QVariant> const& arguments : finished) {
      if (arguments.at(0).toString() == path) {
        ProcessEvents();  // what the open queued (a title event, a refit) runs too
        return arguments.at(1).toBool();
      }
    }
    if (limit.hasExpired()) {
      ADD_FAILURE() << "the open of " << path.toStdString() << " did not come back";
      return false;
    }
    finished.wait(50);
  }
}

bool WaitForOpen(GrabDVDController* controller) {
  QDeadlineTimer const limit(tavelo_test::ScaledMilliseconds(10000));
  while (controller->isOpening()) {
    if (limit.hasExpired()) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));  // the opening thread's turn
  }
  ProcessEvents();
  return true;
}

QString NewFolder(char const* tag) { return QString::fromStdString(tavelo_test::MakeTempDir(tag)); }

QString NewPlainFile(char const* tag) {
  QString const path = NewFolder(tag) + QStringLiteral("/plain.txt");
  QFile file(path);
  if (file.open(QIODevice::WriteOnly)) file.write("not a disc");
  return path;
}

}  // namespace tavelo_app_test
