// A signature of every frame of a title, read through without playing it: on the comparison
// discs, a title coded as 29.97 frames and one of film flagged for pulldown.
#include "DVDTestSession.h"

#include <cstring>
#include <string>
#include <vector>

namespace tavelo_test {
namespace {

std::string CompareDisc(char const* side) { return std::string(TAVELO_COMPARE_DISCS) + "/" + side; }

struct Signatures {
  std::vector<UInt32> frames;
  std::vector<std::vector<UInt8>> luma;

  static void Proc(UInt32 frame, UInt8 const* luma, void* refCon) {
    auto* const self = static_cast<Signatures*>(refCon);
    self->frames.push_back(frame);
    self->luma.emplace_back(luma, luma + kDVDSignatureWidth * kDVDSignatureHeight);
  }
  // Reads title 1 of the disc open, which must give each of its frames once, in order.
  void ReadEveryFrame() {
    DVDTitleInfo info{};
    ASSERT_EQ(noErr, DVDGetTitleInfo(1, &info));
    ASSERT_EQ(noErr, DVDReadFrameSignatures(1, &Signatures::Proc, this));
    ASSERT_EQ(info.frames, frames.size());
    for (size_t i = 0; i < frames.size(); ++i) ASSERT_EQ(i, frames[i]);
  }
  // Frames alike to the one before.
  int Repeats() const {
    int same = 0;
    for (size_t i = 1; i < luma.size(); ++i) same += luma[i] == luma[i - 1];
    return same;
  }
};

using DVDFrameSignaturesTest = DVDSessionTest;

TEST_F(DVDFrameSignaturesTest, EveryFrameOnceInOrder) {
  Signatures none;
  EXPECT_EQ(kDVDErrorNoMedia, DVDReadFrameSignatures(1, &Signatures::Proc, &none));
  OpenFile(CompareDisc("a"));
  Signatures s;
  ASSERT_NO_FATAL_FAILURE(s.ReadEveryFrame());
  // Moving pictures: no two frames in a row alike.
  EXPECT_LT(s.Repeats(), 30);
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDReadFrameSignatures(9, &Signatures::Proc, &s));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDReadFrameSignatures(1, nullptr, nullptr));
}

TEST_F(DVDFrameSignaturesTest, FilmPicturesShownTwiceAreGivenForBothFrames) {
  OpenFile(CompareDisc("soft"));
  Signatures s;
  ASSERT_NO_FATAL_FAILURE(s.ReadEveryFrame());
  // 480 film pictures over 600 frames: one frame in five repeats the picture before.
  EXPECT_GE(s.Repeats(), 120);
  EXPECT_LT(s.Repeats(), 150);
}

}  // namespace
}  // namespace tavelo_test
