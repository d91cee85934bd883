// window-probe, which the end-to-end scripts read the windows with, on a private Xvfb whose
// root window is painted with known colours and barcodes.
#include "XRootPaint.h"
#include "XvfbServer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace {

using tavelo_test::RootFill;

struct ProbeRun {
  int status = -1;
  std::string out;
};

ProbeRun RunProbe(std::string const& display, std::string const& args) {
  std::string const command = "DISPLAY=" + display + " '" TAVELO_WINDOW_PROBE "' " + args + " 2>/dev/null";
  ProbeRun run;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return run;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) run.out.append(buffer, n);
  int const status = ::pclose(pipe);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

// The barcoded discs' row: 16 blocks 45 wide, most significant first, white 1 and black 0, in
// rows 8-40 of a 720-wide picture; here drawn WIDTH wide from LEFT, TOP.
std::vector<RootFill> Barcode(unsigned value, int left, int top, int width) {
  std::vector<RootFill> fills;
  for (int i = 0; i < 16; ++i) {
    bool const one = (value >> (15 - i)) & 1;
    int const x0 = left + i * 45 * width / 720, x1 = left + (i + 1) * 45 * width / 720;
    fills.push_back({one ? 0xFFFFFFul : 0x000000ul, x0, top + 8, x1 - x0, 32});
  }
  return fills;
}

class WindowProbe : public testing::Test {
 protected:
  void SetUp() override {
    if (!mServer.Start(800, 120)) GTEST_SKIP() << "Xvfb could not be started";
  }
  bool Paint(std::vector<RootFill> const& fills) {
    return tavelo_test::PaintRootWindow(mServer.Name(), fills);
  }
  ProbeRun Probe(std::string const& args) { return RunProbe(mServer.Name(), args); }
  tavelo_test::XvfbServer mServer;
};

TEST_F(WindowProbe, ReadsTheBarcodeAtAnyWidthAndMinusOneWhereThereIsNone) {
  std::vector<RootFill> fills{{0x808080, 0, 0, 800, 120}};
  for (RootFill const& f : Barcode(43459, 0, 0, 720)) fills.push_back(f);
  for (RootFill const& f : Barcode(301, 40, 60, 640)) fills.push_back(f);
  ASSERT_TRUE(Paint(fills));
  EXPECT_EQ(Probe("barcode root 0 0 720").out, "43459\n");
  EXPECT_EQ(Probe("barcode root 60 40 640").out, "301\n");
  // Grey blocks are neither 0 nor 1; a row outside the window cannot be read.
  EXPECT_EQ(Probe("barcode root 70 0 720").out, "-1\n");
  EXPECT_EQ(Probe("barcode root 100 0 720").out, "-1\n");

  // A saved picture is read by the same decoder, as a PPM file.
  std::string const saved = testing::TempDir() + "/saved.ppm";
  ASSERT_EQ(Probe("ppm root '" + saved + "' 720x60+0+0").status, 0);
  EXPECT_EQ(Probe("barcode '" + saved + "' 0 0 720").out, "43459\n");
  EXPECT_EQ(Probe("barcode '" + saved + "' 40 0 720").out, "-1\n");  // past its last row
  std::ofstream(testing::TempDir() + "/not.ppm") << "P3\n1 1\n255\n0 0 0\n";
  EXPECT_EQ(Probe("barcode '" + testing::TempDir() + "/not.ppm' 0 0 1").out, "-1\n");
  EXPECT_EQ(Probe("pixel '" + testing::TempDir() + "/missing.ppm' 0 0").status, 1);
}

TEST_F(WindowProbe, PixelSumAndPicturesAreWhatTheWindowShows) {
  ASSERT_TRUE(Paint({{0x102030, 0, 0, 800, 120}, {0xA0B0C0, 10, 5, 2, 1}}));
  EXPECT_EQ(Probe("pixel root 10 5").out, "160 176 192\n");
  EXPECT_EQ(Probe("pixel root 0 0").out, "16 32 48\n");
  ProbeRun const before = Probe("sum root");
  ProbeRun const part = Probe("sum root 4x4+20+20");
  ASSERT_EQ(before.status, 0);
  EXPECT_EQ(before.out.size(), 17u);
  EXPECT_NE(before.out, part.out);

  ProbeRun const txt = Probe("txt root 3x1+9+5");
  EXPECT_EQ(txt.out,
            "# ImageMagick pixel enumeration: 3,1,255,srgb\n"
            "0,0: (16,32,48)  #102030\n"
            "1,0: (160,176,192)  #A0B0C0\n"
            "2,0: (160,176,192)  #A0B0C0\n");

  std::string const ppm = testing::TempDir() + "/probe.ppm";
  ASSERT_EQ(Probe("ppm root '" + ppm + "' 2x1+10+5").status, 0);
  std::ifstream file(ppm, std::ios::binary);
  std::stringstream bytes;
  bytes << file.rdbuf();
  EXPECT_EQ(bytes.str(), std::string("P6\n2 1\n255\n\xA0\xB0\xC0\xA0\xB0\xC0", 17));

  ASSERT_TRUE(Paint({{0xFFFFFF, 30, 30, 1, 1}}));
  EXPECT_NE(Probe("sum root").out, before.out);
}

TEST_F(WindowProbe, AWindowThatCannotBeReadExitsWithOneAndBadArgumentsWithTwo) {
  ASSERT_TRUE(Paint({{0x000000, 0, 0, 800, 120}}));
  // No such window on this server.
  ProbeRun const gone = Probe("pixel 0x7fffff 0 0");
  EXPECT_EQ(gone.status, 1);
  EXPECT_EQ(gone.out, "");
  EXPECT_EQ(Probe("barcode 0x7fffff 0 0 720").out, "-1\n");
  EXPECT_EQ(Probe("pixel root 800 0").status, 1);
  EXPECT_EQ(Probe("ppm root '" + testing::TempDir() + "/p.ppm' 10x10+795+0").status, 1);
  EXPECT_EQ(Probe("pixel root x 0").status, 2);
  EXPECT_EQ(Probe("barcode root 0 0 0").status, 2);
  EXPECT_EQ(Probe("grab root").status, 2);
  EXPECT_EQ(Probe("").status, 2);
}

TEST(WindowProbeNoServer, ADisplayThatIsNotThereExitsWithOne) {
  ProbeRun const run = RunProbe(":9873", "pixel root 0 0");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
}

}  // namespace
