#include "KitTestSupport.h"
#include "NSAlphaWindow.h"
#include "NSClassRegistry.h"
#include "NSNibLoader.h"
#include "NSUITransparentWindow.h"
#include "NSWindow_Platform.h"
#include "TestLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

// Window opacity is kept in 8 bits.
constexpr double kOpacityStep = 1.0 / 255.0;

std::unique_ptr<QWidget> Underlay(QRect geometry) {
  auto window = std::make_unique<QWidget>(nullptr, Qt::Window | Qt::FramelessWindowHint);
  window->setGeometry(geometry);
  window->show();
  QCoreApplication::processEvents();
  return window;
}

std::unique_ptr<NSUITransparentWindow> Overlay(QRect geometry) {
  std::unique_ptr<NSUITransparentWindow> overlay(NSClassInstantiate<NSUITransparentWindow>(nullptr));
  overlay->setGeometry(geometry);
  overlay->show();
  QCoreApplication::processEvents();
  return overlay;
}

std::string LogLine(char const* code, char const* function) {
  return std::string("VERIFY FAILED:  code : ") + code +
         " in /Code/sdk/CocoaX/NSUITransparentWindow:[0-9]+ \\(" + function + "\\)\n";
}

class InitProbe : public NSAlphaWindowWithoutShadow {
 public:
  using NSAlphaWindowWithoutShadow::NSAlphaWindowWithoutShadow;
  int mInits = 0;
  void NSAlphaWindow_initSubclass() override { ++mInits; }
};

}  // namespace

TEST(NSUITransparentWindow, FollowsTheUnderlaysMovesAndResizes) {
  auto underlay = Underlay(QRect(100, 100, 320, 240));
  auto overlay = Overlay(QRect(10, 10, 50, 50));
  overlay->setUnderlayWindow(underlay.get());

  underlay->resize(400, 300);
  QCoreApplication::processEvents();
  EXPECT_EQ(underlay->geometry(), overlay->geometry());

  underlay->move(150, 120);
  QCoreApplication::processEvents();
  EXPECT_EQ(QRect(150, 120, 400, 300), overlay->geometry());

  underlay->setGeometry(QRect(20, 30, 200, 100));
  QCoreApplication::processEvents();
  EXPECT_EQ(QRect(20, 30, 200, 100), overlay->geometry());
}

TEST(NSUITransparentWindow, PositionSyncAlignsBottomLeftCorners) {
  auto underlay = Underlay(QRect(100, 100, 320, 240));
  auto overlay = Overlay(QRect(0, 0, 100, 40));
  overlay->mUnderlayWindow = underlay.get();
  overlay->syncOverlayPositionFromUnderlayPosition();
  QCoreApplication::processEvents();
  // Same origin (bottom-left); the size is its own.
  EXPECT_EQ(QRect(100, 300, 100, 40), overlay->geometry());
  overlay->syncUnderlayWindowSizePosition(nullptr);
  QCoreApplication::processEvents();
  EXPECT_EQ(underlay->geometry(), overlay->geometry());
}

TEST(NSUITransparentWindow, WithoutUnderlayLogsAndStaysPut) {
  auto overlay = Overlay(QRect(30, 40, 100, 80));
  tavelo_test::LogTail tail;
  overlay->syncronizeWindowPositions();
  overlay->syncronizeWindowSizes();
  overlay->bindToUnderlayWindow();
  QCoreApplication::processEvents();
  std::vector<std::string> const lines = tail.Lines();
  ASSERT_EQ(3u, lines.size());
  EXPECT_THAT(lines[0] + "\n", testing::MatchesRegex(LogLine(
                                   "mUnderlayWindow", "NSUITransparentWindow::syncronizeWindowPositions")));
  EXPECT_THAT(lines[1] + "\n", testing::MatchesRegex(LogLine(
                                   "mUnderlayWindow", "NSUITransparentWindow::syncronizeWindowSizes")));
  EXPECT_THAT(lines[2] + "\n", testing::MatchesRegex(LogLine(
                                   "mUnderlayWindow", "NSUITransparentWindow::bindToUnderlayWindow")));
  EXPECT_EQ(QRect(30, 40, 100, 80), overlay->geometry());
}

TEST(NSUITransparentWindow, UnderlayObjectMustBeAWindow) {
  auto overlay = Overlay(QRect(30, 40, 100, 80));
  QObject notAWindow;
  tavelo_test::LogTail tail;
  overlay->setUnderlayWindowObject(&notAWindow);
  EXPECT_THAT(tail.Text(), testing::MatchesRegex(LogLine(
                               "\\[sender isKindOfClass:\\[NSWindow class\\]\\]",
                               "NSUITransparentWindow::setUnderlayWindowObject")));
  EXPECT_EQ(nullptr, overlay->mUnderlayWindow.data());

  auto underlay = Underlay(QRect(100, 100, 320, 240));
  tavelo_test::LogTail quiet;
  overlay->setUnderlayWindowObject(underlay.get());
  EXPECT_EQ("", quiet.Text());
  EXPECT_EQ(underlay.get(), overlay->mUnderlayWindow.data());
}

TEST(NSUITransparentWindow, NotificationsFromOtherWindowsAreIgnored) {
  auto underlay = Underlay(QRect(100, 100, 320, 240));
  auto other = Underlay(QRect(0, 0, 50, 50));
  auto overlay = Overlay(QRect(30, 40, 100, 80));
  overlay->mUnderlayWindow = underlay.get();
  overlay->windowDidResize(other.get());
  overlay->windowDidMove(other.get());
  overlay->windowWillMove(other.get());
  QCoreApplication::processEvents();
  EXPECT_EQ(QRect(30, 40, 100, 80), overlay->geometry());
  overlay->windowDidResize(underlay.get());
  QCoreApplication::processEvents();
  EXPECT_EQ(underlay->geometry(), overlay->geometry());
}

TEST(NSUITransparentWindow, WindowPropertiesAndOverlayView) {
  auto overlay = Overlay(QRect(30, 40, 100, 80));
  EXPECT_TRUE(overlay->windowFlags().testFlag(Qt::FramelessWindowHint));
  EXPECT_TRUE(overlay->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
  EXPECT_EQ(25, NSWindow_Platform::level(overlay.get()));
  EXPECT_FALSE(NSWindow_Platform::isOpaque(overlay.get()));
  EXPECT_FALSE(NSWindow_Platform::hasShadow(overlay.get()));
  EXPECT_FLOAT_EQ(1.0f, NSWindow_Platform::alphaValue(overlay.get()));
  EXPECT_TRUE(overlay->canBecomeKeyWindow());

  auto* const view = NSClassInstantiate<NSUITransparentWindowView>(overlay.get());
  NSNibLoader::AwakeFromNib(overlay.get());
  EXPECT_EQ(view, overlay->mUIOverlayView.data());

  NSWindow_Platform::setHasShadow(overlay.get(), true);
  overlay->hideOverlayView(nullptr);
  EXPECT_TRUE(view->isHidden());
  EXPECT_FALSE(NSWindow_Platform::hasShadow(overlay.get()));
  EXPECT_NEAR(0.99, NSWindow_Platform::alphaValue(overlay.get()), kOpacityStep);

  overlay->smoothHideWindow(nullptr);
  EXPECT_NEAR(0.1, NSWindow_Platform::alphaValue(overlay.get()), kOpacityStep);
  overlay->showOverlayView(nullptr);
  EXPECT_FALSE(view->isHidden());
  EXPECT_NEAR(0.99, NSWindow_Platform::alphaValue(overlay.get()), kOpacityStep);

  overlay->smoothHideWindow(nullptr);
  view->ensureOverlayHidden(nullptr);
  EXPECT_TRUE(view->isHidden());
  EXPECT_NEAR(0.99, NSWindow_Platform::alphaValue(overlay.get()), kOpacityStep);
  overlay->smoothHideWindow(nullptr);
  view->ensureOverlayVisible(nullptr);
  EXPECT_FALSE(view->isHidden());
  EXPECT_NEAR(0.99, NSWindow_Platform::alphaValue(overlay.get()), kOpacityStep);
}

TEST(NSUITransparentWindow, OverlayViewPaintsClear) {
  QWidget host;
  host.resize(40, 40);
  auto* const view = NSClassInstantiate<NSUITransparentWindowView>(&host);
  view->setGeometry(0, 0, 40, 40);
  QImage const image = tavelo_test::Render(*view, Qt::red);
  EXPECT_EQ(0, image.pixelColor(20, 20).alpha());
}

TEST(NSUITransparentWindow, AwakeBindsAConnectedUnderlay) {
  auto underlay = Underlay(QRect(100, 100, 320, 240));
  auto overlay = Overlay(QRect(0, 0, 10, 10));
  overlay->mUnderlayWindow = underlay.get();
  overlay->awakeFromNib();
  underlay->resize(330, 250);
  QCoreApplication::processEvents();
  EXPECT_EQ(QRect(100, 100, 330, 250), overlay->geometry());
}

TEST(NSAlphaWindow, PropertiesOfAllFourClasses) {
  for (char const* name : {"NSAlphaWindowWithShadow", "NSAlphaWindowWithoutShadow",
                           "NSAlphaPanelWithShadow", "NSAlphaPanelWithoutShadow"}) {
    std::unique_ptr<QWidget> window(NSClassRegistry::Shared().Create(name));
    ASSERT_NE(nullptr, window) << name;
    EXPECT_TRUE(window->windowFlags().testFlag(Qt::FramelessWindowHint)) << name;
    EXPECT_FALSE(window->windowFlags().testFlag(Qt::WindowStaysOnTopHint)) << name;
    EXPECT_EQ(0, NSWindow_Platform::level(window.get())) << name;
    EXPECT_FALSE(NSWindow_Platform::isOpaque(window.get())) << name;
    // Classes "without shadow" get one as well.
    EXPECT_TRUE(NSWindow_Platform::hasShadow(window.get())) << name;
    EXPECT_FLOAT_EQ(1.0f, NSWindow_Platform::alphaValue(window.get())) << name;
  }
  std::unique_ptr<QWidget> panel(NSClassRegistry::Shared().Create("NSAlphaPanelWithShadow"));
  EXPECT_EQ(Qt::Tool, panel->windowType());
}

TEST(NSAlphaWindow, InitialiserRunsSubclassHookAndTakesContentRect) {
  InitProbe window;
  window.initWithContentRect(QRectF(100, 200, 300, 150), 15u, 0u, true);
  EXPECT_EQ(1, window.mInits);
  QRectF const main = NSWindow_Platform::mainScreenFrame();
  // Kit rectangle (origin bottom-left) to Qt geometry (origin top-left).
  EXPECT_EQ(QRect(100, int(main.height()) - 350, 300, 150), window.geometry());
  EXPECT_EQ(3, NSWindow_Platform::CGWindowLevelForKey(5));
  EXPECT_EQ(25, NSWindow_Platform::CGWindowLevelForKey(9));
  EXPECT_EQ(0, NSWindow_Platform::CGWindowLevelForKey(4));
}
