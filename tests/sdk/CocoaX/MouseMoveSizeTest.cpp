#include "KitTestSupport.h"
#include "NSAlphaWindow.h"
#include "NSClassRegistry.h"
#include "NSWindow_Platform.h"
#include "PDFSkinWindow.h"
#include "category_NSWindow_MouseMoveSize.h"
#include "protocol_MouseCapture.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QScreen>
#include <QTimer>

#include <memory>

using namespace category_NSWindow_MouseMoveSize;
using tavelo_test::Drag;

namespace {

// A borderless window with the standard behaviour that counts its hooks.
class ProbeWindow : public PDFSkinWindow {
 public:
  using PDFSkinWindow::PDFSkinWindow;
  int mSingleClicks = 0;
  int mDragMoves = 0;
  void windowMouseMoveSize_SingleClick() override { ++mSingleClicks; }
  void windowMouseMoveSize_OnDragMoved() override { ++mDragMoves; }
};

template <class T>
std::unique_ptr<T> ShowWindow(QRect geometry) {
  std::unique_ptr<T> window(NSClassInstantiate<T>(nullptr));
  window->setGeometry(geometry);
  window->show();
  QCoreApplication::processEvents();
  return window;
}

// Records the steps of a capture run on a view.
class CaptureProbe : public QWidget, public protocol_MouseCapture {
 public:
  using QWidget::QWidget;
  int mBegins = 0, mMoves = 0, mIdles = 0, mUps = 0, mEnds = 0;
  QPointF mIdleLast;
  std::uint8_t mIdleFlag = 0;
  std::uint8_t mConstrainAtUp = 0;
  void mouseCaptureBegin(self_MouseCapture*) override { ++mBegins; }
  void mouseCaptureMove(self_MouseCapture*) override { ++mMoves; }
  void mouseCaptureIdle(self_MouseCapture* r) override {
    ++mIdles;
    mIdleLast = r->mLast;
    mIdleFlag = r->mIdle;
  }
  void mouseCaptureUp(self_MouseCapture* r) override {
    ++mUps;
    mConstrainAtUp = r->mConstrain;
  }
  void mouseCaptureEnd(self_MouseCapture*) override { ++mEnds; }
};

}  // namespace

TEST(MouseMoveSize, ScreenIsTheOffscreenPrimary) {
  ASSERT_NE(nullptr, QGuiApplication::primaryScreen());
  QRectF const main = NSWindow_Platform::mainScreenFrame();
  EXPECT_EQ(0.0, main.y());
  EXPECT_EQ(QGuiApplication::primaryScreen()->geometry().height(), main.height());
}

TEST(MouseMoveSize, ClickWithoutMovementCallsSingleClickAndStaysPut) {
  auto window = ShowWindow<ProbeWindow>(QRect(100, 150, 400, 300));
  Drag(window.get(), QPoint(200, 100), {});
  EXPECT_EQ(1, window->mSingleClicks);
  EXPECT_EQ(QRect(100, 150, 400, 300), window->geometry());
}

TEST(MouseMoveSize, HitTestOfCorners) {
  auto window = ShowWindow<ProbeWindow>(QRect(100, 150, 400, 300));
  auto const hit = [&](QPoint local) {
    QMouseEvent const event(QEvent::MouseButtonPress, QPointF(local),
                            QPointF(window->geometry().topLeft() + local), Qt::LeftButton,
                            Qt::LeftButton, Qt::NoModifier);
    return windowMouseMoveSize_MouseHitTest(window.get(), &event, QSizeF(32, 32));
  };
  EXPECT_EQ(kNSWindow_HitTopLeft, hit(QPoint(5, 5)));
  EXPECT_EQ(kNSWindow_HitTopRight, hit(QPoint(395, 5)));
  EXPECT_EQ(kNSWindow_HitBottomLeft, hit(QPoint(5, 295)));
  EXPECT_EQ(kNSWindow_HitBottomRight, hit(QPoint(390, 290)));
  EXPECT_EQ(kNSWindow_HitNone, hit(QPoint(360, 260)));
  EXPECT_EQ(kNSWindow_HitNone, hit(QPoint(200, 150)));
}

TEST(MouseMoveSize, NearBottomRightResizesFartherMoves) {
  auto window = ShowWindow<ProbeWindow>(QRect(100, 150, 400, 300));
  Drag(window.get(), QPoint(390, 290), {QPoint(400, 300)});
  EXPECT_EQ(QRect(100, 150, 410, 310), window->geometry());
  EXPECT_EQ(0, window->mDragMoves);

  window->setGeometry(QRect(100, 150, 400, 300));
  QCoreApplication::processEvents();
  Drag(window.get(), QPoint(360, 260), {QPoint(370, 270)});
  EXPECT_EQ(QRect(110, 160, 400, 300), window->geometry());
  EXPECT_EQ(2, window->mDragMoves);  // the release reports its position as a move too
  EXPECT_EQ(0, window->mSingleClicks);
}

TEST(MouseMoveSize, BottomRightDragKeepsTopLeftFixed) {
  auto window = ShowWindow<ProbeWindow>(QRect(100, 150, 400, 300));
  Drag(window.get(), QPoint(395, 295), {QPoint(420, 310), QPoint(445, 325)});
  EXPECT_EQ(QRect(100, 150, 450, 330), window->geometry());
}

TEST(MouseMoveSize, PastMinimumWidthSlidesByTheExcess) {
  auto window = ShowWindow<ProbeWindow>(QRect(100, 150, 400, 300));
  window->setMinimumSize(300, 100);
  Drag(window.get(), QPoint(395, 295), {QPoint(245, 295)});
  EXPECT_EQ(QRect(50, 150, 300, 300), window->geometry());
}

TEST(MouseMoveSize, MaximumAndAspectHookConstrain) {
  class SquareWindow : public ProbeWindow {
   public:
    using ProbeWindow::ProbeWindow;
    QSizeF windowMouseMoveSize_ConstrainAspectRatio(QSizeF size) override {
      qreal const side = std::min(size.width(), size.height());
      return QSizeF(side, side);
    }
  };
  auto window = ShowWindow<SquareWindow>(QRect(100, 100, 200, 200));
  window->setMaximumSize(260, 500);
  QSizeF out;
  windowConstrainSize(window.get(), QSizeF(300, 280), &out);
  EXPECT_EQ(QSizeF(260, 260), out);
  windowConstrainSize(window.get(), QSizeF(-5, 120), &out);
  EXPECT_EQ(QSizeF(0, 0), out);
}

TEST(MouseMoveSize, StandardDragStopsAtScreenTopFromHitRegionDoesNot) {
  auto window = ShowWindow<ProbeWindow>(QRect(100, 150, 400, 300));
  Drag(window.get(), QPoint(200, 100), {QPoint(200, 0), QPoint(200, -100)});
  EXPECT_EQ(QRect(100, 0, 400, 300), window->geometry());

  auto panel = ShowWindow<NSAlphaPanelWithShadow>(QRect(100, 150, 400, 300));
  Drag(panel.get(), QPoint(200, 100), {QPoint(200, 0), QPoint(200, -100)});
  EXPECT_EQ(QRect(100, -50, 400, 300), panel->geometry());
}

TEST(MouseMoveSize, PanelResizesFromEveryCorner) {
  auto panel = ShowWindow<NSAlphaPanelWithShadow>(QRect(100, 150, 400, 300));
  // Top-left: the width follows dx with the right corners' sign while x moves by -dx.
  Drag(panel.get(), QPoint(5, 5), {QPoint(15, 25)});
  EXPECT_EQ(QRect(90, 170, 410, 280), panel->geometry());

  panel->setGeometry(QRect(100, 150, 400, 300));
  QCoreApplication::processEvents();
  Drag(panel.get(), QPoint(395, 5), {QPoint(405, 25)});  // top-right
  EXPECT_EQ(QRect(100, 170, 410, 280), panel->geometry());

  panel->setGeometry(QRect(100, 150, 400, 300));
  QCoreApplication::processEvents();
  Drag(panel.get(), QPoint(5, 295), {QPoint(15, 315)});  // bottom-left
  EXPECT_EQ(QRect(90, 150, 410, 320), panel->geometry());
}

TEST(MouseMoveSize, ShiftHeldReportsNoMovesOnlyIdle) {
  QWidget window;
  window.setGeometry(QRect(50, 60, 300, 200));
  auto* const probe = new CaptureProbe(&window);
  probe->setGeometry(QRect(0, 0, 300, 200));
  window.show();
  QCoreApplication::processEvents();

  auto const run = [&](Qt::KeyboardModifiers modifiers) {
    QPoint const o = window.geometry().topLeft();
    // The drag arrives at once; the release only after the loop has gone idle.
    QTimer::singleShot(0, probe, [probe, o, modifiers] {
      tavelo_test::SendMouse(probe, QEvent::MouseMove, o + QPoint(40, 30), modifiers);
    });
    QTimer::singleShot(50, probe, [probe, o, modifiers] {
      tavelo_test::SendMouse(probe, QEvent::MouseButtonRelease, o + QPoint(40, 30), modifiers);
    });
    QMouseEvent const press(QEvent::MouseButtonPress, QPointF(10, 10), QPointF(o + QPoint(10, 10)),
                            Qt::LeftButton, Qt::LeftButton, modifiers);
    auto record = std::make_unique<self_MouseCapture>(&press);
    protocol_MouseCaptureEventLoop(probe, record.get());
    return record;
  };

  auto const shifted = run(Qt::ShiftModifier);
  EXPECT_EQ(1, probe->mBegins);
  EXPECT_EQ(0, probe->mMoves);
  EXPECT_EQ(1, probe->mIdles);
  // Window coordinates, y upwards: (40, 200 - 30).
  EXPECT_EQ(QPointF(40, 170), probe->mIdleLast);
  EXPECT_EQ(0, probe->mIdleFlag);
  EXPECT_EQ(1, probe->mConstrainAtUp);
  EXPECT_EQ(1, probe->mUps);
  EXPECT_EQ(1, probe->mEnds);
  EXPECT_EQ(0, shifted->mConstrain);
  EXPECT_EQ(QPointF(10, 190), shifted->mStart);
  EXPECT_EQ(QPointF(10, 190), shifted->mAnchor);

  probe->mBegins = probe->mMoves = probe->mIdles = probe->mUps = probe->mEnds = 0;
  auto const plain = run(Qt::NoModifier);
  EXPECT_EQ(2, probe->mMoves);  // the drag and the release
  EXPECT_EQ(1, probe->mIdles);
  EXPECT_EQ(1, probe->mIdleFlag);
  EXPECT_EQ(QPointF(0, 0), probe->mIdleLast);
  EXPECT_EQ(QPointF(40, 170), plain->mCurrent);
}

TEST(MouseMoveSize, NonWidgetObjectReturnsAtOnce) {
  QObject object;
  CaptureProbe steps;
  QMouseEvent const press(QEvent::MouseButtonPress, QPointF(1, 1), QPointF(1, 1), Qt::LeftButton,
                          Qt::LeftButton, Qt::NoModifier);
  self_MouseCapture record(&press);
  protocol_MouseCaptureEventLoop(&object, &record, &steps);
  EXPECT_EQ(0, steps.mBegins);
}
