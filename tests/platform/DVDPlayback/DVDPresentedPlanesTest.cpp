// The presented picture's planes and overlay for a view that converts them itself: the same
// bytes the decoded-frame and overlay copies give, of one picture, with its colour details.
#include "DVDBarcode.h"
#include "DVDTestSession.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavelo_test {
namespace {

class DVDPresentedPlanesTest : public DVDSessionTest {
 protected:
  void OpenPaused(char const* disc, UInt32 ms) {
    OpenFile(DiscPath(disc));
    ASSERT_EQ(noErr, DVDPlay());
    Advance(ms);
    ASSERT_EQ(noErr, DVDPause());
    Settle();
  }
};

TEST_F(DVDPresentedPlanesTest, NothingBeforeAPictureIsPresented) {
  DVDPresentedPlanesInfo info{};
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDCopyPresentedPlanes(&info, nullptr, 0, nullptr, 0));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDCopyPresentedPlanes(nullptr, nullptr, 0, nullptr, 0));
}

TEST_F(DVDPresentedPlanesTest, ThePlanesAreThePictureAsDecoded) {
  OpenPaused("frames", 1000);
  DVDPresentedPlanesInfo info{};
  ASSERT_EQ(noErr, DVDCopyPresentedPlanes(&info, nullptr, 0, nullptr, 0));
  EXPECT_EQ(720, info.frame.width);
  EXPECT_EQ(480, info.frame.height);
  EXPECT_EQ(640, info.frame.displayWidth);
  EXPECT_EQ(720u * 480u * 3u / 2u, info.planesBytes);
  EXPECT_EQ(720u * 480u * 4u, info.overlayBytes);
  EXPECT_EQ(kDVDColorMatrixBT601, info.matrix);
  EXPECT_FALSE(info.fullRange);
  EXPECT_FALSE(info.hasOverlay) << "the title has no subtitles";

  std::vector<UInt8> planes(info.planesBytes);
  ASSERT_EQ(noErr, DVDCopyPresentedPlanes(&info, planes.data(), UInt32(planes.size()), nullptr, 0));
  DVDDecodedFrameInfo decoded{};
  UInt32 size = 0;
  ASSERT_EQ(noErr, DVDCopyDecodedFrame(0, &decoded, nullptr, &size));
  std::vector<UInt8> pixels(size);
  ASSERT_EQ(noErr, DVDCopyDecodedFrame(0, &decoded, pixels.data(), &size));
  EXPECT_EQ(decoded.frameInTitle, info.frame.frameInTitle);
  EXPECT_EQ(decoded.frameNumber, info.frame.frameNumber);
  EXPECT_TRUE(pixels == planes) << "the same bytes as the decoded frame";
  // The barcode read from the planes is the frame the information names.
  EXPECT_EQ(int(info.frame.frameInTitle), ReadBarcode(planes.data() + kBarcodeRow * 720, 1));

  // A buffer too small is refused; the information still says what is needed.
  DVDPresentedPlanesInfo small{};
  EXPECT_EQ(kDVDErrorInvalidArgument,
            DVDCopyPresentedPlanes(&small, planes.data(), 100, nullptr, 0));
  EXPECT_EQ(info.planesBytes, small.planesBytes);
}

TEST_F(DVDPresentedPlanesTest, TheOverlayIsTheMenuHighlightOfTheSamePicture) {
  OpenPaused("menu", 500);
  DVDPresentedPlanesInfo info{};
  ASSERT_EQ(noErr, DVDCopyPresentedPlanes(&info, nullptr, 0, nullptr, 0));
  ASSERT_TRUE(info.hasOverlay);
  EXPECT_EQ(UInt32(info.frame.width) * 4, info.frame.rowBytes);
  std::vector<UInt8> planes(info.planesBytes), overlay(info.overlayBytes);
  ASSERT_EQ(noErr, DVDCopyPresentedPlanes(&info, planes.data(), UInt32(planes.size()),
                                          overlay.data(), UInt32(overlay.size())));
  ASSERT_TRUE(info.hasOverlay);
  DVDPresentedFrameInfo alone{};
  UInt32 size = 0;
  ASSERT_EQ(noErr, DVDCopyPresentedOverlay(&alone, nullptr, &size));
  std::vector<UInt8> expected(size);
  ASSERT_EQ(noErr, DVDCopyPresentedOverlay(&alone, expected.data(), &size));
  EXPECT_EQ(alone.frameNumber, info.frame.frameNumber);
  EXPECT_TRUE(expected == overlay) << "the same layer as the overlay copy";
  auto const alpha = [&](int x, int y) {
    return overlay[(size_t(y) * info.frame.width + x) * 4 + 3];
  };
  EXPECT_GT(alpha(190, 240), 0) << "inside the first button";
  EXPECT_EQ(0, alpha(10, 10));
  // An overlay buffer too small is refused.
  EXPECT_EQ(kDVDErrorInvalidArgument,
            DVDCopyPresentedPlanes(&info, planes.data(), UInt32(planes.size()), overlay.data(),
                                   16));
}

}  // namespace
}  // namespace tavelo_test
