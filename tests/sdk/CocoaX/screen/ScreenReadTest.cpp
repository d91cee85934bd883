// Grabs on a real X screen: a private Xvfb, an X11 (xcb) application on it, a window with
// known colours, read back through the toolkit bitmap's screen operations.
#include "../ColourWidget.h"
#include "NSBitmapImageRep.h"
#include "XvfbServer.h"
#include "namespace_Apple_CGL_GrabContext.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QThread>
#include <QWidget>
#include <QWindow>

#include <array>
#include <cstdlib>
#include <memory>

// Qt's X11 platform asks the session bus for accessibility; libdbus keeps a buffer of that
// failed connection for the life of the process.
extern "C" char const* __lsan_default_suppressions() { return "leak:libdbus-1.so"; }

using tavelo_test::ColourWidget;

namespace {

std::array<int, 3> RGB(NSBitmapImageRep const& b, long row, long column) {
  unsigned char const* p = b.getStartOfScanLine(row, column);
  return {p[0], p[1], p[2]};
}

class ScreenRead : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    sServer = new tavelo_test::XvfbServer;
    if (!sServer->Start(320, 240)) return;
    ::setenv("DISPLAY", sServer->Name().c_str(), 1);
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    sApp = new QApplication(sArgc, sArgv);
  }
  static void TearDownTestSuite() {
    delete sApp;
    sApp = nullptr;
    delete sServer;
    sServer = nullptr;
  }

  void SetUp() override {
    if (!sApp) GTEST_SKIP() << "Xvfb could not be started";
    ASSERT_EQ(QGuiApplication::platformName(), QStringLiteral("xcb"));
    // No window manager: the window lands where it is put, without a frame.
    mWindow = std::make_unique<ColourWidget>(QColor(255, 0, 0));
    mWindow->setGeometry(30, 40, 120, 80);
    mView = new ColourWidget(QColor(0, 255, 0), mWindow.get());
    mView->setGeometry(20, 10, 60, 40);
    mWindow->show();
    QElapsedTimer timer;
    timer.start();
    while (!(mWindow->windowHandle() && mWindow->windowHandle()->isExposed()) && timer.elapsed() < 5000)
      QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    ASSERT_TRUE(mWindow->windowHandle()->isExposed());
    mWindow->repaint();
    // Let the server draw what the window flushed.
    for (int i = 0; i < 10; ++i) {
      QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
      QThread::msleep(20);
    }
  }
  void TearDown() override { mWindow.reset(); }

  static inline tavelo_test::XvfbServer* sServer = nullptr;
  static inline QApplication* sApp = nullptr;
  static inline int sArgc = 1;
  static inline char sName[20] = "test_CocoaXScreen";
  static inline char* sArgv[2] = {sName, nullptr};
  std::unique_ptr<ColourWidget> mWindow;
  ColourWidget* mView = nullptr;
};

TEST_F(ScreenRead, TheContextReadsTheXScreen) {
  Apple_CGL::GrabContext oglContext(CGMainDisplayID());
  ASSERT_TRUE(oglContext.IsValid());
  EXPECT_TRUE(oglContext.ReadsXScreen());
}

TEST_F(ScreenRead, WholeScreenHasTheWindowWhereItIs) {
  QRectF viewport;
  auto const screen = NSBitmapImageRep::bitmapWithScreenPixels(CGMainDisplayID(), &viewport);
  ASSERT_TRUE(screen);
  EXPECT_EQ(viewport, QRectF(0, 0, 320, 240));
  ASSERT_EQ(screen->pixelsWide(), 320);
  ASSERT_EQ(screen->pixelsHigh(), 240);
  // Rows from the top, as on screen.
  EXPECT_EQ(RGB(*screen, 40, 30), (std::array<int, 3>{255, 0, 0}));
  EXPECT_EQ(RGB(*screen, 40 + 79, 30 + 119), (std::array<int, 3>{255, 0, 0}));
  EXPECT_EQ(RGB(*screen, 50, 50), (std::array<int, 3>{0, 255, 0}));
  EXPECT_EQ(RGB(*screen, 89, 109), (std::array<int, 3>{0, 255, 0}));
  EXPECT_EQ(RGB(*screen, 90, 110), (std::array<int, 3>{255, 0, 0}));
  EXPECT_EQ(screen->getStartOfScanLine(50, 50)[3], 255);
}

TEST_F(ScreenRead, GrabViewFrameIsExactlyTheView) {
  auto const grab = NSBitmapImageRep::bitmapWithScreenPixelsGrabViewFrame(mView);
  ASSERT_TRUE(grab);
  ASSERT_EQ(grab->pixelsWide(), 60);
  ASSERT_EQ(grab->pixelsHigh(), 40);
  int wrong = 0;
  for (long r = 0; r < 40; ++r)
    for (long c = 0; c < 60; ++c)
      if (RGB(*grab, r, c) != (std::array<int, 3>{0, 255, 0})) ++wrong;
  EXPECT_EQ(wrong, 0);
  // The window around the view: its crop has the view inside a red border.
  auto const window = NSBitmapImageRep::bitmapWithScreenPixelsGrabViewFrame(mWindow.get());
  ASSERT_TRUE(window);
  EXPECT_EQ(window->pixelsWide(), 120);
  EXPECT_EQ(window->pixelsHigh(), 80);
  EXPECT_EQ(RGB(*window, 0, 0), (std::array<int, 3>{255, 0, 0}));
  EXPECT_EQ(RGB(*window, 10, 20), (std::array<int, 3>{0, 255, 0}));
  EXPECT_EQ(RGB(*window, 49, 79), (std::array<int, 3>{0, 255, 0}));
  EXPECT_EQ(RGB(*window, 50, 80), (std::array<int, 3>{255, 0, 0}));
}

}  // namespace
