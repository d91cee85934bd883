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
};

using DVDFrameSignaturesTest = DVDSessionTest;

TEST_F(DVDFrameSignaturesTest, EveryFrameOnceInOrder) {
  Signatures none;
  EXPECT_EQ(kDVDErrorNoMedia, DVDReadFrameSignatures(1, &Signatures::Proc, &none));
  OpenFile(CompareDisc("a"));
  DVDTitleInfo info{};
  ASSERT_EQ(noErr, DVDGetTitleInfo(1, &info));
  Signatures s;
  ASSERT_EQ(noErr, DVDReadFrameSignatures(1, &Signatures::Proc, &s));
  ASSERT_EQ(info.frames, s.frames.size());
  for (size_t i = 0; i < s.frames.size(); ++i) ASSERT_EQ(i, s.frames[i]);
  // Moving pictures: no two frames in a row alike.
  int same = 0;
  for (size_t i = 1; i < s.luma.size(); ++i) same += s.luma[i] == s.luma[i - 1];
  EXPECT_LT(same, 30);
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDReadFrameSignatures(9, &Signatures::Proc, &s));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDReadFrameSignatures(1, nullptr, nullptr));
}

TEST_F(DVDFrameSignaturesTest, FilmPicturesShownTwiceAreGivenForBothFrames) {
  OpenFile(CompareDisc("soft"));
  DVDTitleInfo info{};
  ASSERT_EQ(noErr, DVDGetTitleInfo(1, &info));
  Signatures s;
  ASSERT_EQ(noErr, DVDReadFrameSignatures(1, &Signatures::Proc, &s));
  ASSERT_EQ(info.frames, s.frames.size());
  for (size_t i = 0; i < s.frames.size(); ++i) ASSERT_EQ(i, s.frames[i]);
  // 480 film pictures over 600 frames: one frame in five repeats the picture before.
  int same = 0;
  for (size_t i = 1; i < s.luma.size(); ++i) same += s.luma[i] == s.luma[i - 1];
  EXPECT_GE(same, 120);
  EXPECT_LT(same, 150);
}

}  // namespace
}  // namespace tavelo_test
