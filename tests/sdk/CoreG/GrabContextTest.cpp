#include "namespace_Apple_CGL_GrabContext.h"

#include "TestLog.h"
#include "XRootPaint.h"
#include "XvfbServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

using testing::MatchesRegex;

namespace {

// Points DISPLAY somewhere for one test and puts it back.
class DisplayVariable {
 public:
  explicit DisplayVariable(std::string const& name) {
    if (char const* old = std::getenv("DISPLAY")) mOld = old, mHadOld = true;
    ::setenv("DISPLAY", name.c_str(), 1);
  }
  ~DisplayVariable() {
    if (mHadOld) ::setenv("DISPLAY", mOld.c_str(), 1);
    else ::unsetenv("DISPLAY");
  }

 private:
  std::string mOld;
  bool mHadOld = false;
};

// One logged line as a pattern; Lines() gives lines without their line break.
std::string VerifyLine(char const* code, char const* function, bool lineBreak = true) {
  return std::string("VERIFY FAILED:  code : ") + code +
         " in /Code/sdk/CoreG/namespace_Apple_CGL_GrabContext:[0-9]+ \\(" + function + "\\)" +
         (lineBreak ? "\n" : "");
}

TEST(GrabContext, EmptyContextIsNotValid) {
  Apple_CGL::GrabContext oglContext;
  EXPECT_FALSE(oglContext.IsValid());
  EXPECT_FALSE(oglContext.ReadsXScreen());
  tavelo_test::LogTail tail;
  EXPECT_FALSE(oglContext.MakeCurrent(true));
  EXPECT_THAT(tail.Text(), MatchesRegex(VerifyLine("IsValid\\(\\)", "Apple_CGL::GrabContext::MakeCurrent")));
  int viewport[4] = {9, 9, 9, 9};
  Apple_CGL::glGetViewport(viewport);
  EXPECT_EQ(viewport[2], 0);
  EXPECT_EQ(viewport[3], 0);
  unsigned char pixel[4];
  EXPECT_NE(Apple_CGL::glReadFrontBuffer(0, 0, 1, 1, pixel, 4), 0);
}

TEST(GrabContext, NoDisplayAndNoFallbackFailsAndLogs) {
  DisplayVariable display(":9876");  // nothing listens there
  Apple_CGL::GrabContext::SetFallbackProvider(nullptr);
  tavelo_test::LogTail tail;
  Apple_CGL::GrabContext oglContext(0);
  EXPECT_FALSE(oglContext.IsValid());
  EXPECT_THAT(tail.Lines(),
              testing::ElementsAre(
                  MatchesRegex(VerifyLine("IsValid\\(\\)", "Apple_CGL::GrabContext::Construct", false)),
                  MatchesRegex(VerifyLine("Construct\\(displayID\\)", "Apple_CGL::GrabContext::GrabContext",
                                          false))));
}

TEST(GrabContext, FallbackProviderStandsInForTheScreen) {
  DisplayVariable display(":9876");
  Apple_CGL::GrabContext::SetFallbackProvider([](CGDirectDisplayID id) {
    QImage image(6, 4, QImage::Format_RGB32);
    image.fill(QColor(10, 20, 30));
    image.setPixel(0, 0, qRgb(200, 100, 50));  // top-left
    image.setPixel(5, 3, qRgb(1, 2, 3 + int(id)));  // bottom-right
    return image;
  });
  Apple_CGL::GrabContext oglContext;
  ASSERT_TRUE(oglContext.Construct(0));
  EXPECT_FALSE(oglContext.ReadsXScreen());
  ASSERT_TRUE(oglContext.MakeCurrent(true));
  int viewport[4];
  Apple_CGL::glGetViewport(viewport);
  EXPECT_EQ(viewport[2], 6);
  EXPECT_EQ(viewport[3], 4);
  std::vector<unsigned char> pixels(6 * 4 * 4, 0xEE);
  ASSERT_EQ(Apple_CGL::glReadFrontBuffer(0, 0, 6, 4, pixels.data(), 24), 0);
  // Bottom-up X, R, G, B: the first row read is the picture's bottom row.
  EXPECT_EQ(std::vector<unsigned char>(pixels.begin() + 20, pixels.begin() + 24),
            (std::vector<unsigned char>{0, 1, 2, 3}));
  EXPECT_EQ(std::vector<unsigned char>(pixels.begin() + 72, pixels.begin() + 76),
            (std::vector<unsigned char>{0, 200, 100, 50}));
  EXPECT_EQ(pixels[4 * 1 + 1], 10);
  EXPECT_TRUE(oglContext.MakeCurrent(false));
  Apple_CGL::glGetViewport(viewport);
  EXPECT_EQ(viewport[2], 0);
  Apple_CGL::GrabContext::SetFallbackProvider(nullptr);
}

// A real X server: known colours drawn on its root window are read back in place.
class GrabContextXvfb : public testing::Test {
 protected:
  static constexpr int kWidth = 64;
  static constexpr int kHeight = 48;

  void SetUp() override {
    if (!mServer.Start(kWidth, kHeight)) GTEST_SKIP() << "Xvfb could not be started";
    mDisplay = std::make_unique<DisplayVariable>(mServer.Name());
    // Top half red, bottom-left quarter green, bottom-right quarter blue, one dot.
    ASSERT_TRUE(tavelo_test::PaintRootWindow(
        mServer.Name(), {{0xFF0000, 0, 0, kWidth, kHeight / 2},
                         {0x00FF00, 0, kHeight / 2, kWidth / 2, kHeight / 2},
                         {0x0000FF, kWidth / 2, kHeight / 2, kWidth / 2, kHeight / 2},
                         {0x123456, 5, 7, 1, 1}}));
  }

  tavelo_test::XvfbServer mServer;
  std::unique_ptr<DisplayVariable> mDisplay;
};

TEST_F(GrabContextXvfb, ReadsTheRootWindowBottomUpAsXRGB) {
  Apple_CGL::GrabContext oglContext;
  ASSERT_TRUE(oglContext.Construct());
  EXPECT_TRUE(oglContext.ReadsXScreen());
  ASSERT_TRUE(oglContext.MakeCurrent(true));
  int viewport[4];
  Apple_CGL::glGetViewport(viewport);
  EXPECT_EQ(viewport[0], 0);
  EXPECT_EQ(viewport[1], 0);
  ASSERT_EQ(viewport[2], kWidth);
  ASSERT_EQ(viewport[3], kHeight);

  long const rowBytes = kWidth * 4;
  std::vector<unsigned char> pixels(std::size_t(rowBytes * kHeight));
  ASSERT_EQ(Apple_CGL::glReadFrontBuffer(0, 0, kWidth, kHeight, pixels.data(), rowBytes), 0);
  auto rgb = [&](int row, int column) {
    unsigned char const* p = pixels.data() + row * rowBytes + column * 4;
    return std::vector<int>{p[1], p[2], p[3]};
  };
  // Row 0 is the screen's bottom row.
  EXPECT_EQ(rgb(0, 0), (std::vector<int>{0, 255, 0}));
  EXPECT_EQ(rgb(0, kWidth - 1), (std::vector<int>{0, 0, 255}));
  EXPECT_EQ(rgb(kHeight - 1, 0), (std::vector<int>{255, 0, 0}));
  EXPECT_EQ(rgb(kHeight - 1 - 7, 5), (std::vector<int>{0x12, 0x34, 0x56}));

  // Then the in-place reorder with the flip gives R, G, B, 255 rows from the top.
  OpenGL::ReadPixels::_swizzle_framebuffer_GL_BGRX_to_RGBA(pixels.data(), kHeight, rowBytes, true, false);
  unsigned char const* dot = pixels.data() + 7 * rowBytes + 5 * 4;
  EXPECT_EQ(std::vector<int>(dot, dot + 4), (std::vector<int>{0x12, 0x34, 0x56, 255}));
  unsigned char const* bottomRight = pixels.data() + (kHeight - 1) * rowBytes + 4 * 4;
  EXPECT_EQ(std::vector<int>(bottomRight, bottomRight + 3), (std::vector<int>{0, 255, 0}));
  EXPECT_TRUE(oglContext.MakeCurrent(false));
}

TEST_F(GrabContextXvfb, ReadsARectangleFromTheBottomLeft) {
  Apple_CGL::GrabContext oglContext(0);
  ASSERT_TRUE(oglContext.IsValid());
  ASSERT_TRUE(oglContext.MakeCurrent(true));
  // 4 x 2 pixels whose bottom-left corner is 2 rows above the bottom, 30 from the left:
  // columns 30, 31 green, 32, 33 blue.
  std::vector<unsigned char> pixels(4 * 2 * 4, 0xEE);
  ASSERT_EQ(Apple_CGL::glReadFrontBuffer(30, 2, 4, 2, pixels.data(), 16), 0);
  for (int row = 0; row < 2; ++row) {
    for (int column = 0; column < 4; ++column) {
      unsigned char const* p = pixels.data() + row * 16 + column * 4;
      std::vector<int> const want = column < 2 ? std::vector<int>{0, 255, 0} : std::vector<int>{0, 0, 255};
      EXPECT_EQ(std::vector<int>(p + 1, p + 4), want) << row << "," << column;
    }
  }
  // Outside the viewport nothing is read.
  EXPECT_NE(Apple_CGL::glReadFrontBuffer(60, 0, 8, 1, pixels.data(), 32), 0);
}

TEST_F(GrabContextXvfb, OnlyDisplayZeroWithoutAGuiApplication) {
  tavelo_test::LogTail tail;
  Apple_CGL::GrabContext oglContext;
  EXPECT_FALSE(oglContext.Construct(1));
  EXPECT_THAT(tail.Text(), MatchesRegex(VerifyLine("IsValid\\(\\)", "Apple_CGL::GrabContext::Construct")));
  EXPECT_EQ(CGMainDisplayID(), 0u);
}

}  // namespace
