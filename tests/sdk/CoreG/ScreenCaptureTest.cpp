// The X screen reader below the grab context.
#include "ScreenCapture.h"

#include "XRootPaint.h"
#include "XvfbServer.h"

#include <gtest/gtest.h>

#include <vector>

using namespace ScreenCapture;

namespace {

TEST(XScreenReader, NoServerNoReader) {
  XScreenReader reader;
  EXPECT_EQ(reader.Open(":9875"), kScreenCaptureNoDisplayErr);
  EXPECT_FALSE(reader.IsOpen());
  EXPECT_EQ(reader.Width(), 0);
  unsigned char pixel[4];
  EXPECT_EQ(reader.ReadRect(0, 0, 1, 1, pixel, 4), kScreenCaptureNotOpenErr);
  EXPECT_FALSE(XDisplayAvailable(":9875"));
}

TEST(XScreenReader, ReadsThroughSharedMemoryAndSurvivesAServerRestart) {
  for (int round = 0; round < 2; ++round) {
    tavelo_test::XvfbServer server;
    if (!server.Start(40, 30)) GTEST_SKIP() << "Xvfb could not be started";
    unsigned long const colour = round == 0 ? 0x102030 : 0xA0B0C0;
    ASSERT_TRUE(tavelo_test::PaintRootWindow(server.Name(), {{colour, 0, 0, 40, 30}, {0xFFFFFF, 39, 0, 1, 1}}));
    EXPECT_TRUE(XDisplayAvailable(server.Name().c_str()));

    XScreenReader reader;
    ASSERT_EQ(reader.Open(server.Name().c_str()), noErr) << round;
    EXPECT_EQ(reader.Width(), 40);
    EXPECT_EQ(reader.Height(), 30);
    EXPECT_TRUE(reader.UsesSharedMemory());
    // The top-right 2 x 2 corner, bottom row first: the white dot ends up in the last row.
    std::vector<unsigned char> pixels(2 * 2 * 4, 0xEE);
    ASSERT_EQ(reader.ReadRect(38, 0, 2, 2, pixels.data(), 8), noErr);
    int const r = int(colour >> 16), g = int((colour >> 8) & 0xFF), b = int(colour & 0xFF);
    EXPECT_EQ(std::vector<int>(pixels.begin() + 1, pixels.begin() + 4), (std::vector<int>{r, g, b}));
    EXPECT_EQ(std::vector<int>(pixels.begin() + 13, pixels.begin() + 16), (std::vector<int>{255, 255, 255}));
    EXPECT_EQ(std::vector<int>(pixels.begin() + 9, pixels.begin() + 12), (std::vector<int>{r, g, b}));

    // Outside the screen, or a short destination row, is refused without asking the server.
    EXPECT_EQ(reader.ReadRect(39, 0, 2, 1, pixels.data(), 8), paramErr);
    EXPECT_EQ(reader.ReadRect(-1, 0, 1, 1, pixels.data(), 8), paramErr);
    EXPECT_EQ(reader.ReadRect(0, 0, 2, 1, pixels.data(), 4), paramErr);
    EXPECT_EQ(reader.ReadRect(0, 0, 0, 1, pixels.data(), 4), paramErr);

    // A second reader of the same display works beside the first.
    XScreenReader second;
    ASSERT_EQ(second.Open(server.Name().c_str()), noErr);
    std::vector<unsigned char> one(4);
    ASSERT_EQ(second.ReadRect(0, 29, 1, 1, one.data(), 4), noErr);
    EXPECT_EQ(std::vector<int>(one.begin() + 1, one.end()), (std::vector<int>{r, g, b}));
    // The server goes away at the end of the round; the next round's reader must not use
    // the old connection even if the new server gets the same display number.
  }
}

}  // namespace
