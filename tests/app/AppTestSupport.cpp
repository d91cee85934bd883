#include "AppTestSupport.h"

#include <QApplication>
#include <QFile>
#include <QTimer>
#include <QWidget>
#include <gtest/gtest.h>

#include <memory>

#include "NSApplication.h"
#include "TestLog.h"

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

QString NewFolder(char const* tag) { return QString::fromStdString(tavelo_test::MakeTempDir(tag)); }

QString NewPlainFile(char const* tag) {
  QString const path = NewFolder(tag) + QStringLiteral("/plain.txt");
  QFile file(path);
  if (file.open(QIODevice::WriteOnly)) file.write("not a disc");
  return path;
}

}  // namespace tavelo_app_test
