// Stills from the decoded picture: their sizes for every shape, standard and aspect, their
// colours, the black borders cut and dark scenes kept, the subpicture layer drawn or left
// out, the caller's field filter, and, on the authored discs, the exact frame and
// deinterlacing judged by how combed the moving bar is.
#include "DVDBarcode.h"
#include "DVDStill.h"
#include "DVDTestSession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace tavelo_test {
namespace {

struct YCbCr {
  int y, cb, cr;
};

// R, G, B in 0..1 to TV-range Y'CbCr with the matrix's luma weights.
YCbCr Encode(double r, double g, double b, double kr, double kb) {
  double const y = kr * r + (1 - kr - kb) * g + kb * b;
  return {int(std::lround(16 + 219 * y)), int(std::lround(128 + 112 * (b - y) / (1 - kb))),
          int(std::lround(128 + 112 * (r - y) / (1 - kr)))};
}

// A progressive picture of this size filled with one colour.
DVDStillRequest Flat(int width, int height, DVDAspectRatio aspect, YCbCr c) {
  DVDStillRequest r;
  r.info.width = UInt16(width);
  r.info.height = UInt16(height);
  r.info.pictureBytes = UInt32(width * height * 3 / 2);
  r.info.aspect = aspect;
  r.info.progressive = true;
  r.info.matrix = kDVDColorMatrixBT601;
  r.planes.assign(r.info.pictureBytes, 0);
  std::fill_n(r.planes.begin(), width * height, UInt8(c.y));
  std::fill_n(r.planes.begin() + width * height, width * height / 4, UInt8(c.cb));
  std::fill_n(r.planes.begin() + width * height * 5 / 4, width * height / 4, UInt8(c.cr));
  return r;
}

void Paint(DVDStillRequest& r, int x0, int y0, int x1, int y1, YCbCr c) {
  int const w = r.info.width;
  int const h = r.info.height;
  for (int y = y0; y < y1; ++y) {
    for (int x = x0; x < x1; ++x) {
      r.planes[size_t(y * w + x)] = UInt8(c.y);
      r.planes[size_t(w * h + (y / 2) * (w / 2) + x / 2)] = UInt8(c.cb);
      r.planes[size_t(w * h * 5 / 4 + (y / 2) * (w / 2) + x / 2)] = UInt8(c.cr);
    }
  }
}

struct Rgb {
  int r, g, b;
};
Rgb At(DVDStillPicture const& p, int x, int y) {
  UInt8 const* const px = &p.pixels[size_t(y) * p.rowBytes + size_t(x) * 4];
  return {px[1], px[2], px[3]};
}

DVDStillPicture Make(DVDStillRequest const& r) {
  DVDStillPicture p;
  EXPECT_EQ(noErr, DVDMakeStill(r, &p));
  EXPECT_EQ(size_t(p.rowBytes) * p.height, p.pixels.size());
  return p;
}

// The still shows the stored rows top..bottom at width x height.
void ExpectRows(DVDStillPicture const& p, UInt32 top, UInt32 bottom, UInt32 width,
                UInt32 height) {
  EXPECT_EQ(top, p.top);
  EXPECT_EQ(bottom, p.bottom);
  EXPECT_EQ(width, p.width);
  EXPECT_EQ(height, p.height);
}

constexpr YCbCr kBlack{16, 128, 128};
constexpr YCbCr kGrey{126, 128, 128};

TEST(DVDStillMaking, EveryShapeHasItsSizeForEachStandardAndAspect) {
  struct Case {
    int height;
    DVDAspectRatio aspect;
    UInt32 square;
  };
  for (Case const c : {Case{480, kDVDAspectRatio4x3, 640}, Case{480, kDVDAspectRatio16x9, 854},
                       Case{576, kDVDAspectRatio4x3, 768}, Case{576, kDVDAspectRatio16x9, 1024}}) {
    DVDStillRequest r = Flat(720, c.height, c.aspect, kGrey);
    for (DVDStillShape shape :
         {kDVDStillShapeSquarePixels, kDVDStillShapeSquarePixelsITU, kDVDStillShapeStored}) {
      r.shape = shape;
      DVDStillPicture const p = Make(r);
      EXPECT_EQ(shape == kDVDStillShapeStored ? 720u : c.square, p.width)
          << c.height << " lines, aspect " << c.aspect << ", shape " << shape;
      EXPECT_EQ(UInt32(c.height), p.height);
      // The active aperture leaves out 8 columns at each side.
      EXPECT_EQ(shape == kDVDStillShapeSquarePixelsITU ? 8u : 0u, p.left);
      EXPECT_EQ(shape == kDVDStillShapeSquarePixelsITU ? 712u : 720u, p.right);
    }
  }
}

// 75 % bars: white, yellow, cyan, green, magenta, red, blue, black.
constexpr Rgb kBars[] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0},
                         {1, 0, 1}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0}};

void ExpectBars(DVDColorMatrix matrix, double kr, double kb) {
  DVDStillRequest r = Flat(720, 480, kDVDAspectRatio4x3, kBlack);
  r.info.matrix = matrix;
  r.shape = kDVDStillShapeStored;
  for (int i = 0; i < 8; ++i) {
    Rgb const c = kBars[i];
    Paint(r, i * 90, 0, i * 90 + 90, 480, Encode(0.75 * c.r, 0.75 * c.g, 0.75 * c.b, kr, kb));
  }
  DVDStillPicture const p = Make(r);
  for (int i = 0; i < 8; ++i) {
    Rgb const got = At(p, i * 90 + 45, 240);
    Rgb const want{191 * kBars[i].r, 191 * kBars[i].g, 191 * kBars[i].b};
    EXPECT_NEAR(want.r, got.r, 3) << "bar " << i;
    EXPECT_NEAR(want.g, got.g, 3) << "bar " << i;
    EXPECT_NEAR(want.b, got.b, 3) << "bar " << i;
  }
}

TEST(DVDStillMaking, ColourBarsComeOutAtTheirColoursForTheStreamsMatrix) {
  ExpectBars(kDVDColorMatrixBT601, 0.299, 0.114);
  ExpectBars(kDVDColorMatrixBT709, 0.2126, 0.0722);
}

TEST(DVDStillMaking, PixelsComeInTheOrderAsked) {
  // 75 % red.
  DVDStillRequest r = Flat(720, 480, kDVDAspectRatio4x3, Encode(0.75, 0, 0, 0.299, 0.114));
  for (bool filtered : {false, true}) {
    if (filtered) r.fieldFilter = [](UInt8*, UInt32, UInt32, UInt32, void*) {};
    r.pixelOrder = kDVDStillPixelsARGB;
    DVDStillPicture p = Make(r);
    EXPECT_EQ(255, p.pixels[0]) << filtered;
    EXPECT_NEAR(191, p.pixels[1], 3) << filtered;
    EXPECT_NEAR(0, p.pixels[3], 3) << filtered;
    r.pixelOrder = kDVDStillPixelsRGBX;
    p = Make(r);
    EXPECT_EQ(640u, p.width) << filtered;
    EXPECT_NEAR(191, p.pixels[0], 3) << filtered;
    EXPECT_NEAR(0, p.pixels[2], 3) << filtered;
    EXPECT_EQ(255, p.pixels[3]) << filtered;
  }
}

TEST(DVDStillMaking, LetterboxAndPillarboxBandsAreCutExactly) {
  // 4:3 letterbox: 60 black lines above and below.
  DVDStillRequest r = Flat(720, 480, kDVDAspectRatio4x3, kBlack);
  Paint(r, 0, 60, 720, 420, kGrey);
  r.cropBorders = true;
  DVDStillPicture p = Make(r);
  ExpectRows(p, 60, 420, 640, 360);
  EXPECT_NEAR(kGrey.y, 16 + At(p, 320, 0).g * 219 / 255, 3) << "no black line left";
  // Without the choice the bands stay.
  r.cropBorders = false;
  p = Make(r);
  EXPECT_EQ(480u, p.height);
  // Pillarbox: 90 black columns at each side of a stored picture.
  r = Flat(720, 480, kDVDAspectRatio16x9, kBlack);
  Paint(r, 90, 0, 630, 480, kGrey);
  r.cropBorders = true;
  r.shape = kDVDStillShapeStored;
  p = Make(r);
  EXPECT_EQ(90u, p.left);
  EXPECT_EQ(630u, p.right);
  EXPECT_EQ(540u, p.width);
  EXPECT_EQ(480u, p.height);
}

TEST(DVDStillMaking, ADarkSceneIsNeverCutInto) {
  // Black all over: a dark scene, kept whole.
  DVDStillRequest r = Flat(720, 480, kDVDAspectRatio4x3, kBlack);
  r.cropBorders = true;
  r.shape = kDVDStillShapeStored;
  DVDStillPicture p = Make(r);
  EXPECT_EQ(480u, p.height);
  EXPECT_EQ(720u, p.width);
  // Letterboxed night: inside the bands the picture is black but for two lights at its
  // corners; everything between them stays, only the bands above and below go.
  Paint(r, 0, 100, 4, 104, kGrey);
  Paint(r, 716, 380, 720, 382, YCbCr{60, 128, 128});
  p = Make(r);
  EXPECT_EQ(100u, p.top);
  EXPECT_EQ(382u, p.bottom);
  EXPECT_EQ(0u, p.left);
  EXPECT_EQ(720u, p.right);
  // Dark all over whatever its tint (luma 20, under the limit): still a scene, kept whole.
  r = Flat(720, 480, kDVDAspectRatio4x3, YCbCr{20, 150, 120});
  r.cropBorders = true;
  p = Make(r);
  EXPECT_EQ(480u, p.height);
}

TEST(DVDStillMaking, BordersAreFoundByLumaAloneUpToTheLimit) {
  // 72-row bands whose two rows next to the picture carry its chroma, as coded bands do:
  // cut at the picture's rows all the same.
  DVDStillRequest r = Flat(720, 480, kDVDAspectRatio4x3, kBlack);
  Paint(r, 0, 72, 720, 408, kGrey);
  Paint(r, 0, 70, 720, 72, YCbCr{16, 150, 110});
  Paint(r, 0, 408, 720, 410, YCbCr{16, 110, 150});
  r.cropBorders = true;
  r.shape = kDVDStillShapeStored;
  DVDStillPicture p = Make(r);
  ExpectRows(p, 72, 408, 720, 336);
  // The same at the sides of a pillarbox.
  r = Flat(720, 480, kDVDAspectRatio16x9, kBlack);
  Paint(r, 90, 0, 630, 480, kGrey);
  Paint(r, 86, 0, 90, 480, YCbCr{16, 150, 110});
  Paint(r, 630, 0, 634, 480, YCbCr{16, 150, 110});
  r.cropBorders = true;
  r.shape = kDVDStillShapeStored;
  p = Make(r);
  EXPECT_EQ(90u, p.left);
  EXPECT_EQ(630u, p.right);
  // Luma 24 as stored is still border; 25 is picture.
  for (int luma : {24, 25}) {
    r = Flat(720, 480, kDVDAspectRatio4x3, kBlack);
    Paint(r, 0, 60, 720, 420, kGrey);
    Paint(r, 0, 0, 720, 60, YCbCr{luma, 128, 128});
    r.cropBorders = true;
    r.shape = kDVDStillShapeStored;
    p = Make(r);
    EXPECT_EQ(luma == 24 ? 60u : 0u, p.top) << "luma " << luma;
    EXPECT_EQ(420u, p.bottom) << "luma " << luma;
  }
}

TEST(DVDStillMaking, TheOverlayIsDrawnOnlyWhenTaken) {
  DVDStillRequest r = Flat(720, 480, kDVDAspectRatio4x3, kBlack);
  r.shape = kDVDStillShapeStored;
  DVDStillPicture p = Make(r);
  EXPECT_EQ(0, At(p, 100, 100).g);
  r.overlay.assign(720 * 480 * 4, 0);
  for (int y = 80; y < 120; ++y) {
    for (int x = 80; x < 120; ++x) {
      UInt8* const o = &r.overlay[size_t(y * 720 + x) * 4];
      o[0] = o[1] = o[2] = 255;
      o[3] = 255;
    }
  }
  p = Make(r);
  EXPECT_EQ(255, At(p, 100, 100).g);
  EXPECT_EQ(0, At(p, 200, 100).g);
  // Half transparent: halfway.
  r.overlay[size_t(100 * 720 + 100) * 4 + 3] = 128;
  p = Make(r);
  EXPECT_NEAR(128, At(p, 100, 100).g, 1);
}

TEST(DVDStillMaking, TheFieldFilterSeesTheStoredPictureBeforeTheOverlay) {
  DVDStillRequest r = Flat(720, 576, kDVDAspectRatio16x9, kBlack);
  r.overlay.assign(720 * 576 * 4, 0);
  UInt8* const o = &r.overlay[size_t(10 * 720 + 10) * 4];
  o[2] = o[3] = 255;  // blue, opaque
  struct Seen {
    UInt32 width = 0, height = 0, rowBytes = 0;
  } seen;
  r.fieldFilter = [](UInt8* argb, UInt32 w, UInt32 h, UInt32 rowBytes, void* refCon) {
    *static_cast<Seen*>(refCon) = Seen{w, h, rowBytes};
    for (UInt32 y = 0; y < h; ++y) {
      for (UInt32 x = 0; x < w; ++x) argb[y * rowBytes + x * 4 + 1] = 255;
    }
  };
  r.fieldFilterRefCon = &seen;
  r.shape = kDVDStillShapeStored;
  DVDStillPicture const p = Make(r);
  EXPECT_EQ(720u, seen.width);
  EXPECT_EQ(576u, seen.height);
  EXPECT_EQ(2880u, seen.rowBytes);
  EXPECT_EQ(255, At(p, 300, 300).r);
  Rgb const over = At(p, 10, 10);
  EXPECT_EQ(0, over.r);
  EXPECT_EQ(255, over.b);
}

TEST(DVDStillMaking, ARequestWhosePixelsDoNotMatchIsRefused) {
  DVDStillRequest r = Flat(720, 480, kDVDAspectRatio4x3, kGrey);
  DVDStillPicture p;
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDMakeStill(r, nullptr));
  r.planes.pop_back();
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDMakeStill(r, &p));
  r = Flat(720, 480, kDVDAspectRatio4x3, kGrey);
  r.info.neighbours = kDVDDecodedAfter;  // named but not there
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDMakeStill(r, &p));
  r = Flat(720, 480, kDVDAspectRatio4x3, kGrey);
  r.overlay.assign(10, 0);
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDMakeStill(r, &p));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDTakeStill(false, nullptr));
}

// ---- on the authored discs

// How combed a picture is: neighbouring rows (other field) against rows two apart (same
// field), summed where the picture moves between fields; about 1 when not combed.
double Combing(DVDStillPicture const& p) {
  double near = 0;
  double far = 0;
  for (UInt32 y = 40; y + 2 < p.height; ++y) {
    for (UInt32 x = 0; x < p.width; ++x) {
      int const a = At(p, int(x), int(y)).g;
      int const b = At(p, int(x), int(y + 1)).g;
      int const c = At(p, int(x), int(y + 2)).g;
      near += std::abs(a - b);
      far += std::abs(a - c);
    }
  }
  return far > 0 ? near / far : 0;
}

class DVDStillTest : public DVDSessionTest {
 protected:
  DVDStillRequest PausedAt(char const* disc, UInt32 frame) {
    return PausedIn(DiscPath(disc), frame);
  }
  DVDStillRequest PausedIn(std::string const& path, UInt32 frame) {
    OpenFile(path);
    EXPECT_EQ(noErr, DVDPlay());
    Settle();
    EXPECT_EQ(noErr, DVDPause());
    EXPECT_EQ(noErr, DVDSeekToFrame(frame));
    Settle();
    DVDStillRequest r;
    EXPECT_EQ(noErr, DVDTakeStill(true, &r));
    return r;
  }
  // Played from the start for ms, then paused (a subtitle that started before is read).
  DVDStillRequest PlayedFor(char const* disc, UInt32 ms) {
    OpenFile(DiscPath(disc));
    EXPECT_EQ(noErr, DVDPlay());
    Advance(ms);
    EXPECT_EQ(noErr, DVDPause());
    Settle();
    DVDStillRequest r;
    EXPECT_EQ(noErr, DVDTakeStill(true, &r));
    return r;
  }
};

TEST_F(DVDStillTest, NothingToTakeBeforeAPictureIsPresented) {
  OpenFile(DiscPath("frames"));
  DVDStillRequest r;
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDTakeStill(false, &r));
}

TEST_F(DVDStillTest, TheStillIsTheExactFrameOnScreen) {
  for (UInt32 frame : {0u, 123u, 301u, 899u}) {
    DVDStillRequest r = PausedAt("frames", frame);
    ASSERT_EQ(frame, r.info.frameInTitle);
    r.shape = kDVDStillShapeStored;
    DVDStillPicture const p = Make(r);
    ASSERT_GT(p.height, UInt32(kBarcodeRow));
    EXPECT_EQ(int(frame), ReadBarcode(&p.pixels[size_t(kBarcodeRow) * p.rowBytes + 2], 4));
    EXPECT_FALSE(p.deinterlaced) << "progressive pictures are left as they are by Auto";
    ASSERT_EQ(noErr, DVDCloseMediaFile());
  }
}

TEST_F(DVDStillTest, InterlacedPicturesAreDeinterlacedWithoutCombing) {
  // A picture inside its group, so that both neighbours are decoded.
  DVDStillRequest r = PausedAt("interlaced", 65);
  ASSERT_FALSE(r.info.progressive);
  EXPECT_EQ(UInt32(kDVDDecodedBefore | kDVDDecodedAfter), r.info.neighbours);
  r.shape = kDVDStillShapeStored;
  r.deinterlace = kDVDStillDeinterlaceOff;
  DVDStillPicture const off = Make(r);
  EXPECT_FALSE(off.deinterlaced);
  r.deinterlace = kDVDStillDeinterlaceAuto;
  DVDStillPicture const autoStill = Make(r);
  EXPECT_TRUE(autoStill.deinterlaced);
  r.deinterlace = kDVDStillDeinterlaceAdaptive;
  DVDStillPicture const adaptive = Make(r);
  EXPECT_TRUE(adaptive.deinterlaced);
  double const combed = Combing(off);
  EXPECT_GT(combed, 1.5) << "the disc's bar should comb when left alone";
  EXPECT_LT(Combing(autoStill), 1.15);
  EXPECT_LT(Combing(adaptive), 1.15);
  // The frame's own barcode survives deinterlacing.
  EXPECT_EQ(65, ReadBarcode(&adaptive.pixels[size_t(kBarcodeRow) * adaptive.rowBytes + 2], 4));
}

TEST_F(DVDStillTest, ColourBarsFromTheDiscComeOutWithinThreeOfTheirColours) {
  DVDStillRequest r = PausedAt("bars", 30);
  r.shape = kDVDStillShapeStored;
  DVDStillPicture const p = Make(r);
  // 75 %: white, yellow, cyan, green, magenta, red, blue across the top two thirds.
  constexpr Rgb kTop[] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0},
                          {1, 0, 1}, {1, 0, 0}, {0, 0, 1}};
  for (int i = 0; i < 7; ++i) {
    Rgb const got = At(p, (2 * i + 1) * 720 / 14, 120);
    EXPECT_NEAR(191 * kTop[i].r, got.r, 3) << "bar " << i;
    EXPECT_NEAR(191 * kTop[i].g, got.g, 3) << "bar " << i;
    EXPECT_NEAR(191 * kTop[i].b, got.b, 3) << "bar " << i;
  }
}

TEST_F(DVDStillTest, LetterboxBandsAreCutAndTheSubtitleIsDrawnOnlyWhenTaken) {
  DVDStillRequest r = PlayedFor("letterbox", 1000);
  r.cropBorders = true;
  DVDStillPicture p = Make(r);
  ExpectRows(p, 60, 420, 640, 360);
  EXPECT_EQ(0u, p.left);
  EXPECT_EQ(720u, p.right);
  // The forced subtitle's box: at 300,200-420,260 of the stored picture.
  r.shape = kDVDStillShapeStored;
  p = Make(r);
  EXPECT_GT(At(p, 360, 230 - 60).g, 230) << "the subtitle is drawn";
  EXPECT_NEAR(128, At(p, 100, 100).g, 4) << "grey around it";
  ASSERT_EQ(noErr, DVDTakeStill(false, &r));
  r.shape = kDVDStillShapeStored;
  r.cropBorders = true;
  p = Make(r);
  EXPECT_NEAR(128, At(p, 360, 230 - 60).g, 4) << "without subtitles the picture is bare";
}

TEST_F(DVDStillTest, CodedBandsAreCutToThePicturesRowsWhateverTheirChroma) {
  struct Case {
    char const* disc;
    UInt32 band;
  };
  for (Case const c : {Case{"lb72", 72}, Case{"lb60", 60}}) {
    DVDStillRequest r = PausedIn(std::string(TAVELO_BORDER_DISCS "/") + c.disc, 30);
    // The disc does what it is for: the band's last rows are black in luma, tinted in chroma.
    DVDDecodedFrameInfo info{};
    UInt32 size = 0;
    ASSERT_EQ(noErr, DVDCopyDecodedFrame(0, &info, nullptr, &size));
    std::vector<UInt8> planes(size);
    ASSERT_EQ(noErr, DVDCopyDecodedFrame(0, &info, planes.data(), &size));
    ASSERT_EQ(size_t(720 * 480 * 3 / 2), planes.size());
    int luma = 0;
    int tint = 0;
    for (int x = 0; x < 720; ++x) luma = std::max<int>(luma, planes[(c.band - 1) * 720 + x]);
    for (size_t plane : {size_t(720 * 480), size_t(720 * 480 * 5 / 4)}) {
      for (int x = 0; x < 360; ++x) {
        tint = std::max(tint, std::abs(planes[plane + (c.band / 2 - 1) * 360 + x] - 128));
      }
    }
    EXPECT_LE(luma, 24) << c.disc;
    EXPECT_GT(tint, 8) << c.disc;
    r.cropBorders = true;
    r.shape = kDVDStillShapeStored;
    DVDStillPicture const p = Make(r);
    ExpectRows(p, c.band, 480 - c.band, 720, 480 - 2 * c.band);
    ASSERT_EQ(noErr, DVDCloseMediaFile());
  }
}

}  // namespace
}  // namespace tavelo_test
