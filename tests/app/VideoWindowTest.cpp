#include <QCoreApplication>
#include <QDropEvent>
#include <QFile>
#include <QMimeData>
#include <QUrl>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScreen>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AppTestSupport.h"
#include "DVDControlWindow.h"
#include "DVDVideoWindow.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"
#include "TestLog.h"

#include <thread>

using testing::ElementsAre;

namespace {

QSizeF VideoSize(DVDAspectRatio aspect, UInt16 nativeHeight) {
  fake_dvd::Reset();
  fake_dvd::S().aspect = aspect;
  fake_dvd::S().nativeHeight = nativeHeight;
  DVDVideoWindow window;
  return window.getVideoSize();
}

DVDVideoWindow::WindowSize Compute(SInt32 mode, QSizeF video, QRectF visible,
                                   QSizeF content = QSizeF(640, 480)) {
  fake_dvd::Reset();
  DVDVideoWindow window;
  float const aspect = video.width() / video.height() > 1.5 ? 16.0f / 9.0f : 4.0f / 3.0f;
  return DVDVideoWindow::ComputeWindowSize(mode, aspect, video, visible,
                                           QRectF(QPointF(30, 40), QSizeF(content.width(), content.height() + 22)),
                                           content);
}

}  // namespace

TEST(DVDVideoWindow, AspectRatioCodes) {
  fake_dvd::Reset();
  DVDVideoWindow window;
  fake_dvd::S().aspect = kDVDAspectRatio16x9;
  EXPECT_EQ(window.titleAspectRatio(), 16.0f / 9.0f);
  fake_dvd::S().aspect = kDVDAspectRatioLetterBox;
  EXPECT_EQ(window.titleAspectRatio(), 16.0f / 9.0f);
  fake_dvd::S().aspect = kDVDAspectRatio4x3PanAndScan;
  EXPECT_EQ(window.titleAspectRatio(), 4.0f / 3.0f);
  fake_dvd::S().status["DVDGetAspectRatio"] = kDVDErrorNoMedia;
  fake_dvd::S().aspect = kDVDAspectRatio16x9;
  EXPECT_EQ(window.titleAspectRatio(), 4.0f / 3.0f);
}

TEST(DVDVideoWindow, NtscSizes) {
  QSizeF const normal43 = VideoSize(kDVDAspectRatio4x3, 480);
  EXPECT_FLOAT_EQ(normal43.width(), 640.0f);
  EXPECT_FLOAT_EQ(normal43.height(), 480.0f);
  auto const small43 = Compute(DVDVideoWindow::kSmall, normal43, QRectF(0, 0, 1280, 1000));
  EXPECT_FLOAT_EQ(small43.content.width(), 320.0f);
  EXPECT_FLOAT_EQ(small43.content.height(), 240.0f);

  QSizeF const normal169 = VideoSize(kDVDAspectRatio16x9, 480);
  EXPECT_FLOAT_EQ(normal169.width(), 480.0f * 1.7777778f);
  EXPECT_NEAR(normal169.width(), 853.33, 0.01);
  EXPECT_FLOAT_EQ(normal169.height(), 480.0f);
  auto const small169 = Compute(DVDVideoWindow::kSmall, VideoSize(kDVDAspectRatioLetterBox, 480),
                                QRectF(0, 0, 1280, 1000));
  EXPECT_NEAR(small169.content.width(), 426.67, 0.01);
  EXPECT_FLOAT_EQ(small169.content.height(), 240.0f);
}

TEST(DVDVideoWindow, PalWideNormalSize) {
  QSizeF const normal = VideoSize(kDVDAspectRatio16x9, 576);
  auto const size = Compute(DVDVideoWindow::kNormal, normal, QRectF(0, 0, 800, 600));
  EXPECT_FLOAT_EQ(size.content.width(), 1024.0f);
  EXPECT_FLOAT_EQ(size.content.height(), 576.0f);
  // Normal and small do not move the window.
  EXPECT_EQ(size.anchor, QPointF(30, 40));
}

TEST(DVDVideoWindow, MaximumFourThreeOnAWideArea) {
  QRectF const visible(0, 22, 1440, 878);
  auto const size = Compute(DVDVideoWindow::kMaximum, QSizeF(640, 480), visible);
  EXPECT_FLOAT_EQ(size.content.height(), 878.0f);
  EXPECT_NEAR(size.content.width(), 1170.67, 0.01);
  EXPECT_EQ(size.anchor, visible.topLeft());
}

TEST(DVDVideoWindow, MaximumWideOnANarrowArea) {
  QRectF const visible(100, 0, 1024, 746);
  auto const size = Compute(DVDVideoWindow::kMaximum, QSizeF(853.33, 480), visible);
  EXPECT_FLOAT_EQ(size.content.width(), 1024.0f);
  EXPECT_FLOAT_EQ(size.content.height(), 576.0f);
  EXPECT_EQ(size.anchor, QPointF(100, 0));
}

TEST(DVDVideoWindow, RefitKeepsHeightUnlessTooWide) {
  auto const wide = DVDVideoWindow::ComputeWindowSize(DVDVideoWindow::kRefit, 16.0f / 9.0f, QSizeF(853, 480),
                                                      QRectF(0, 0, 1280, 1000), QRectF(5, 6, 700, 922),
                                                      QSizeF(700, 900));
  EXPECT_FLOAT_EQ(wide.content.width(), 1280.0f);
  EXPECT_FLOAT_EQ(wide.content.height(), 720.0f);
  EXPECT_EQ(wide.anchor, QPointF(5, 6));
  auto const fits = DVDVideoWindow::ComputeWindowSize(DVDVideoWindow::kRefit, 4.0f / 3.0f, QSizeF(640, 480),
                                                      QRectF(0, 0, 1280, 1000), QRectF(0, 0, 500, 322),
                                                      QSizeF(500, 300));
  EXPECT_FLOAT_EQ(fits.content.width(), 400.0f);
  EXPECT_FLOAT_EQ(fits.content.height(), 300.0f);
  // Any other mode keeps the content size.
  auto const other = DVDVideoWindow::ComputeWindowSize(7, 4.0f / 3.0f, QSizeF(640, 480),
                                                       QRectF(0, 0, 1280, 1000), QRectF(0, 0, 500, 322),
                                                       QSizeF(500, 300));
  EXPECT_EQ(other.content, QSizeF(500, 300));
}

TEST(DVDVideoWindow, VideoRectangleUnderATitleBar) {
  Rect const r = DVDVideoWindow::VideoBounds(502, QSizeF(640, 480));
  EXPECT_EQ(r.top, 22);
  EXPECT_EQ(r.left, 0);
  EXPECT_EQ(r.bottom, 502);
  EXPECT_EQ(r.right, 640);
}

TEST(DVDVideoWindow, MenuPointFromWindowLocation) {
  Point const pt = DVDVideoWindow::MenuPoint(QPointF(100, 50), 502);
  EXPECT_EQ(pt.h, 100);
  EXPECT_EQ(pt.v, 452);
}

TEST(DVDVideoWindow, DisplayIsAskedOnlyWhenItChanges) {
  fake_dvd::Reset();
  SInt32 const start = DVDVideoWindow::CurrentDisplay();
  // Moving within one display does not call the service.
  DVDVideoWindow::SwitchToDisplay(start);
  DVDVideoWindow::SwitchToDisplay(start);
  EXPECT_EQ(fake_dvd::Calls("DVDSwitchToDisplay"), 0);
  // A refused display stays not current and is asked again next time.
  fake_dvd::S().displaySupported = false;
  DVDVideoWindow::SwitchToDisplay(start + 1);
  DVDVideoWindow::SwitchToDisplay(start + 1);
  EXPECT_EQ(fake_dvd::Calls("DVDSwitchToDisplay"), 2);
  EXPECT_EQ(DVDVideoWindow::CurrentDisplay(), start);
  fake_dvd::S().displaySupported = true;
  DVDVideoWindow::SwitchToDisplay(start + 1);
  EXPECT_EQ(DVDVideoWindow::CurrentDisplay(), start + 1);
  DVDVideoWindow::SwitchToDisplay(start + 1);
  EXPECT_EQ(fake_dvd::Calls("DVDSwitchToDisplay"), 3);
  DVDVideoWindow::SwitchToDisplay(start);  // back, for the other tests
  EXPECT_EQ(DVDVideoWindow::CurrentDisplay(), start);
}

namespace {

class WindowTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();  // requests left over from earlier tests
    fake_dvd::Reset();
    ASSERT_TRUE(mNib.Construct());
    c = mNib.controller();
    w = mNib.videoWindow();
    w->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(w));
    c->applicationDidFinishLaunching();
  }
  QWidget* Content() const { return w->grabThisViewContentRect(); }

  MainMenuNib mNib;
  GrabDVDController* c = nullptr;
  DVDVideoWindow* w = nullptr;
};

}  // namespace

TEST_F(WindowTest, SizeCommandsSetTheContentSize) {
  c->onVideoNormal(nullptr);
  EXPECT_EQ(Content()->size(), QSize(640, 480));
  c->onVideoSmall(nullptr);
  EXPECT_EQ(Content()->size(), QSize(320, 240));
  fake_dvd::S().aspect = kDVDAspectRatio16x9;
  c->onVideoNormal(nullptr);
  EXPECT_EQ(Content()->size(), QSize(853, 480));
  // The maximum fills the screen's visible height (or width) and moves to its corner.
  fake_dvd::S().aspect = kDVDAspectRatio4x3;
  c->onVideoMax(nullptr);
  QRect const visible = w->screen()->availableGeometry();
  float const ratio = 4.0f / 3.0f;
  if (ratio <= float(visible.width()) / float(visible.height())) {
    EXPECT_EQ(Content()->height(), visible.height());
  } else {
    EXPECT_EQ(Content()->width(), visible.width());
  }
  EXPECT_EQ(w->frameGeometry().topLeft(), visible.topLeft());
}

TEST_F(WindowTest, TitleEventRefitsTheWidthToTheNewAspect) {
  c->onVideoNormal(nullptr);
  ASSERT_EQ(Content()->size(), QSize(640, 480));
  fake_dvd::S().aspect = kDVDAspectRatio16x9;
  QRect const visible = w->screen()->availableGeometry();
  fake_dvd::S().eventCallBack(kDVDEventTitle, 1, 0, c);
  tavelo_app_test::ProcessEvents();
  int const expectedWidth = int(std::lround(std::min(480.0f * 16.0f / 9.0f, float(visible.width()))));
  EXPECT_EQ(Content()->width(), expectedWidth);
}

TEST_F(WindowTest, VideoBoundsFollowTheContent) {
  c->onVideoSmall(nullptr);
  int const sent = fake_dvd::Calls("DVDSetVideoBounds");
  c->onVideoNormal(nullptr);
  // The content's change of size tells the service.
  EXPECT_GT(fake_dvd::Calls("DVDSetVideoBounds"), sent);
  Rect const r = fake_dvd::S().videoBounds;
  EXPECT_EQ(r.right, 640);
  EXPECT_EQ(r.bottom, int(w->videoFrameRect().height()));
  EXPECT_EQ(r.bottom - r.top, 480);
  EXPECT_EQ(r.left, 0);
}

TEST_F(WindowTest, ClickGoesToTheDiscMenuAndTheCursorShowsButtons) {
  c->onVideoNormal(nullptr);
  int const top = int(w->videoFrameRect().height()) - Content()->height();
  fake_dvd::S().menuIndex = 2;
  QTest::mousePress(Content(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 50));
  EXPECT_EQ(fake_dvd::Calls("DVDDoMenuClick"), 1);
  EXPECT_EQ(fake_dvd::S().menuPoint.h, 100);
  EXPECT_EQ(fake_dvd::S().menuPoint.v, top + 50);
  EXPECT_EQ(Content()->cursor().shape(), Qt::PointingHandCursor);
  // The release is another event: the arrow comes back.
  QTest::mouseRelease(Content(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 50));
  EXPECT_EQ(Content()->cursor().shape(), Qt::ArrowCursor);
  EXPECT_EQ(fake_dvd::Calls("DVDDoMenuClick"), 1);
  fake_dvd::S().menuIndex = -1;
  QMouseEvent move(QEvent::MouseMove, QPointF(20, 30), Content()->mapToGlobal(QPointF(20, 30)),
                   Qt::NoButton, Qt::NoButton, Qt::NoModifier);
  QCoreApplication::sendEvent(Content(), &move);
  EXPECT_GE(fake_dvd::Calls("DVDDoMenuMouseOver"), 1);
  EXPECT_EQ(fake_dvd::S().menuPoint.v, top + 30);
  EXPECT_EQ(Content()->cursor().shape(), Qt::ArrowCursor);
  fake_dvd::S().menuIndex = 0;
  QCoreApplication::sendEvent(Content(), &move);
  EXPECT_EQ(Content()->cursor().shape(), Qt::PointingHandCursor);
  QMouseEvent right(QEvent::MouseButtonPress, QPointF(20, 30), Content()->mapToGlobal(QPointF(20, 30)),
                    Qt::RightButton, Qt::RightButton, Qt::NoModifier);
  int const clicks = fake_dvd::Calls("DVDDoMenuClick");
  QCoreApplication::sendEvent(Content(), &right);
  EXPECT_EQ(fake_dvd::Calls("DVDDoMenuClick"), clicks);
  EXPECT_EQ(Content()->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(WindowTest, HandledKeysDropTheKeysQueuedBehindThem) {
  for (int i = 0; i < 5; ++i) {
    QCoreApplication::postEvent(w, new QKeyEvent(QEvent::KeyPress, Qt::Key_Down, Qt::NoModifier));
  }
  QKeyEvent up(QEvent::KeyPress, Qt::Key_Up, Qt::NoModifier);
  QCoreApplication::sendEvent(w, &up);
  tavelo_app_test::ProcessEvents();
  EXPECT_THAT(fake_dvd::S().navigation, ElementsAre(kDVDUserNavigationMoveUp));
}

TEST_F(WindowTest, UnhandledKeysKeepTheQueue) {
  QCoreApplication::postEvent(w, new QKeyEvent(QEvent::KeyPress, Qt::Key_Down, Qt::NoModifier));
  QKeyEvent letter(QEvent::KeyPress, Qt::Key_X, Qt::NoModifier, QStringLiteral("x"));
  QCoreApplication::sendEvent(w, &letter);
  EXPECT_TRUE(fake_dvd::S().navigation.empty());
  tavelo_app_test::ProcessEvents();
  EXPECT_THAT(fake_dvd::S().navigation, ElementsAre(kDVDUserNavigationMoveDown));
}

TEST_F(WindowTest, ControllerWindowKeysGoToTheController) {
  DVDControlWindow* control = mNib.controlWindow();
  ASSERT_NE(control, nullptr);
  EXPECT_TRUE(control->windowFlags().testFlag(Qt::Tool));
  EXPECT_EQ(control->parentWidget(), w);
  QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QStringLiteral("\r"));
  QCoreApplication::sendEvent(control, &enter);
  EXPECT_THAT(fake_dvd::S().navigation, ElementsAre(kDVDUserNavigationEnter));
}

TEST_F(WindowTest, TheViewDrawsThePresentedPicture) {
  c->onVideoNormal(nullptr);
  ASSERT_NE(fake_dvd::S().frameReady, nullptr);
  EXPECT_EQ(fake_dvd::S().frameRefCon, Content());
  // No picture yet: black.
  QImage before = Content()->grab().toImage();
  EXPECT_EQ(before.pixelColor(320, 240).red(), before.pixelColor(320, 240).green());
  fake_dvd::S().hasFrame = true;
  fake_dvd::S().frameRGB[0] = 200;
  fake_dvd::S().frameRGB[1] = 30;
  fake_dvd::S().frameRGB[2] = 10;
  // Announced on the service's thread, copied and drawn on the main thread.
  std::thread presenter([] {
    for (UInt32 n = 1; n <= 3; ++n) fake_dvd::S().frameReady(n, fake_dvd::S().frameRefCon);
  });
  presenter.join();
  EXPECT_EQ(fake_dvd::Calls("DVDCopyPresentedPlanes"), 0);
  tavelo_app_test::ProcessEvents();
  // Three announcements while one was pending: one copy (sizes, then the planes).
  EXPECT_EQ(fake_dvd::Calls("DVDCopyPresentedPlanes"), 2);
  QImage const after = Content()->grab().toImage();
  // The view converts the Y'CbCr planes itself: the colour within their rounding.
  auto const near = [](QColor const& c, int r, int g, int b) {
    return std::abs(c.red() - r) <= 2 && std::abs(c.green() - g) <= 2 && std::abs(c.blue() - b) <= 2;
  };
  EXPECT_TRUE(near(after.pixelColor(320, 240), 200, 30, 10)) << after.pixelColor(320, 240).name().toStdString();
  EXPECT_TRUE(near(after.pixelColor(1, 1), 200, 30, 10)) << after.pixelColor(1, 1).name().toStdString();
}

namespace {

// A drag that enters the window and is dropped, as the window system delivers it.
void DragAndDrop(QWidget* window, QMimeData* data) {
  QPoint const at(20, 40);
  QDragEnterEvent enter(at, Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(window, &enter);
  QDragMoveEvent move(at, Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(window, &move);
  QDropEvent drop(QPointF(at), Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(window, &drop);
}

}  // namespace

TEST_F(WindowTest, DroppedFolderOrDiscImageOpens) {
  QString const folder = tavelo_app_test::NewFolder("dropped");
  QMimeData folderData;
  folderData.setUrls({QUrl::fromLocalFile(folder)});
  DragAndDrop(w, &folderData);
  ASSERT_TRUE(tavelo_app_test::WaitForOpen(c));
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaFile"), 1);

  QString const image = tavelo_app_test::NewFolder("image") + QStringLiteral("/disc.iso");
  QFile file(image);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.close();
  QMimeData imageData;
  imageData.setUrls({QUrl::fromLocalFile(image)});
  DragAndDrop(w, &imageData);
  ASSERT_TRUE(tavelo_app_test::WaitForOpen(c));
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaVolume"), 1);
  EXPECT_EQ(c->mVolumePath, image);

  // A plain file is not media: nothing opens, nothing is closed.
  QMimeData textData;
  textData.setUrls({QUrl::fromLocalFile(tavelo_app_test::NewPlainFile("text"))});
  DragAndDrop(w, &textData);
  EXPECT_FALSE(c->isOpening());
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaFile") + fake_dvd::Calls("DVDOpenMediaVolume"), 2);
  EXPECT_TRUE(c->hasMedia());
}
