// Film frames woven back from hard-telecined pictures: five film frames telecined 3:2 into
// five interlaced pictures give back four film frames exactly; video whose fields come from
// two moments matches nothing; a still picture matches itself; and Auto stills weave the
// film frame where Adaptive deinterlaces.
#include "DVDFieldMatch.h"
#include "DVDStill.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tavelo_test {
namespace {

using dvd::DVDFieldMatchKind;

constexpr int kWidth = 720;
constexpr int kHeight = 480;
constexpr int kLuma = kWidth * kHeight;
constexpr int kChroma = kLuma / 4;
constexpr int kPictureBytes = kLuma + 2 * kChroma;

// A packed 4:2:0 picture: Y, then Cb, then Cr.
using Picture = std::vector<UInt8>;

// Film frame t of a checkerboard of 24x24 squares moving 10 columns right and 2 rows down
// each frame: edges across and along the rows, all moving, and no frame within three of
// another looking like it. Chroma moves too, in bands of its own.
Picture Film(int t) {
  Picture p(kPictureBytes);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      bool const light = ((x + 10 * t) / 24 + (y + 2 * t) / 24) % 2;
      p[size_t(y * kWidth + x)] = UInt8(light ? 200 : 40);
    }
  }
  for (int y = 0; y < kHeight / 2; ++y) {
    for (int x = 0; x < kWidth / 2; ++x) {
      size_t const i = size_t(y * (kWidth / 2) + x);
      p[size_t(kLuma) + i] = UInt8(((x + 3 * t) / 10) % 2 ? 170 : 90);
      p[size_t(kLuma + kChroma) + i] = UInt8(((y + 2 * t) / 6) % 2 ? 160 : 100);
    }
  }
  return p;
}

// A picture coded interlaced: its top rows (luma and chroma) from top, the others from
// bottom.
Picture Interlace(Picture const& top, Picture const& bottom) {
  Picture p(kPictureBytes);
  auto const rows = [&](size_t start, int width, int height) {
    for (int y = 0; y < height; ++y) {
      Picture const& from = y % 2 ? bottom : top;
      size_t const at = start + size_t(y) * size_t(width);
      std::copy_n(from.begin() + std::ptrdiff_t(at), width, p.begin() + std::ptrdiff_t(at));
    }
  };
  rows(0, kWidth, kHeight);
  rows(size_t(kLuma), kWidth / 2, kHeight / 2);
  rows(size_t(kLuma + kChroma), kWidth / 2, kHeight / 2);
  return p;
}

dvd::DVDPlanes PlanesOf(Picture const* p) {
  dvd::DVDPlanes planes;
  if (!p) return planes;
  planes.data[0] = p->data();
  planes.data[1] = p->data() + kLuma;
  planes.data[2] = p->data() + kLuma + kChroma;
  planes.linesize[0] = kWidth;
  planes.linesize[1] = planes.linesize[2] = kWidth / 2;
  return planes;
}

dvd::DVDFieldSource Fields(Picture const* before, Picture const& picture, Picture const* after,
                           bool topFieldFirst = true) {
  dvd::DVDFieldSource s;
  s.before = PlanesOf(before);
  s.picture = PlanesOf(&picture);
  s.after = PlanesOf(after);
  s.width = kWidth;
  s.height = kHeight;
  s.topFieldFirst = topFieldFirst;
  return s;
}

Picture Woven(dvd::DVDFieldSource const& s, DVDFieldMatchKind kind) {
  Picture out(kPictureBytes, 0);
  UInt8* const data[3] = {out.data(), out.data() + kLuma, out.data() + kLuma + kChroma};
  int const linesize[3] = {kWidth, kWidth / 2, kWidth / 2};
  EXPECT_TRUE(dvd::DVDWeaveFields(s, kind, data, linesize));
  return out;
}

// Film frames A B C D telecined: fields A A B B B C C D D D give (At,Ab) (Bt,Bb) (Bt,Cb)
// (Ct,Db) (Dt,Db).
struct Telecined {
  std::vector<Picture> film;
  std::vector<Picture> pictures;
  Telecined() {
    for (int t = 0; t < 4; ++t) film.push_back(Film(t));
    Picture const& a = film[0];
    Picture const& b = film[1];
    Picture const& c = film[2];
    Picture const& d = film[3];
    pictures = {Interlace(a, a), Interlace(b, b), Interlace(b, c), Interlace(c, d),
                Interlace(d, d)};
  }
};

TEST(DVDFieldMatch, TelecinedPicturesGiveBackTheirFilmFramesExactly) {
  Telecined const tc;
  DVDFieldMatchKind const kinds[] = {DVDFieldMatchKind::kCurrent, DVDFieldMatchKind::kCurrent,
                                     DVDFieldMatchKind::kPrevious, DVDFieldMatchKind::kPrevious,
                                     DVDFieldMatchKind::kCurrent};
  int const filmOf[] = {0, 1, 1, 2, 3};  // A B B C D
  for (size_t i = 0; i < 5; ++i) {
    Picture const* const before = i > 0 ? &tc.pictures[i - 1] : nullptr;
    Picture const* const after = i + 1 < 5 ? &tc.pictures[i + 1] : nullptr;
    dvd::DVDFieldSource const s = Fields(before, tc.pictures[i], after);
    DVDFieldMatchKind const kind = dvd::DVDMatchFields(s);
    EXPECT_EQ(kinds[i], kind) << "picture " << i;
    if (kind == DVDFieldMatchKind::kNone) continue;
    // No coding loss: the weave is the film frame, chroma too.
    EXPECT_TRUE(Woven(s, kind) == tc.film[size_t(filmOf[i])]) << "picture " << i;
  }
}

TEST(DVDFieldMatch, TheMixedPicturesAreCombedAsTheyStand) {
  // Left as they are, the two pictures mixing film frames comb; the others do not.
  Telecined const tc;
  for (size_t i = 0; i < 5; ++i) {
    bool const mixed = i == 2 || i == 3;
    EXPECT_EQ(mixed ? DVDFieldMatchKind::kNone : DVDFieldMatchKind::kCurrent,
              dvd::DVDMatchFields(Fields(nullptr, tc.pictures[i], nullptr)))
        << "picture " << i;
  }
}

TEST(DVDFieldMatch, ANeighbourNotAtHandIsNotUsed) {
  // (Bt,Cb) with only the picture after, (Ct,Db): neither weave is whole.
  Telecined const tc;
  EXPECT_EQ(DVDFieldMatchKind::kNone,
            dvd::DVDMatchFields(Fields(nullptr, tc.pictures[2], &tc.pictures[3])));
  Picture out(kPictureBytes);
  UInt8* const data[3] = {out.data(), out.data() + kLuma, out.data() + kLuma + kChroma};
  int const linesize[3] = {kWidth, kWidth / 2, kWidth / 2};
  EXPECT_FALSE(dvd::DVDWeaveFields(Fields(nullptr, tc.pictures[2], nullptr),
                                   DVDFieldMatchKind::kPrevious, data, linesize));
  EXPECT_FALSE(dvd::DVDWeaveFields(Fields(nullptr, tc.pictures[2], nullptr),
                                   DVDFieldMatchKind::kNone, data, linesize));
}

TEST(DVDFieldMatch, TheSecondFieldMayComeFromThePictureAfter) {
  // Cut out of order: the picture's second field waits in the next picture.
  Picture const a = Film(0);
  Picture const b = Film(1);
  Picture const c = Film(2);
  Picture const picture = Interlace(b, c);
  Picture const after = Interlace(a, b);
  Picture const before = Interlace(a, a);
  dvd::DVDFieldSource const s = Fields(&before, picture, &after);
  ASSERT_EQ(DVDFieldMatchKind::kNext, dvd::DVDMatchFields(s));
  EXPECT_TRUE(Woven(s, DVDFieldMatchKind::kNext) == b);
}

TEST(DVDFieldMatch, BottomFieldFirstKeepsTheBottomField) {
  // (Cb first, Bt): the bottom field is kept and the top one found before, in (Ct,Cb).
  Picture const b = Film(1);
  Picture const c = Film(2);
  Picture const before = Interlace(c, c);
  Picture const picture = Interlace(b, c);
  Picture const after = Interlace(b, b);
  dvd::DVDFieldSource s = Fields(&before, picture, &after, false);
  ASSERT_EQ(DVDFieldMatchKind::kPrevious, dvd::DVDMatchFields(s));
  EXPECT_TRUE(Woven(s, DVDFieldMatchKind::kPrevious) == c);
  // Kept on top instead, the same pictures match the one after.
  s.topFieldFirst = true;
  ASSERT_EQ(DVDFieldMatchKind::kNext, dvd::DVDMatchFields(s));
  EXPECT_TRUE(Woven(s, DVDFieldMatchKind::kNext) == b);
}

TEST(DVDFieldMatch, VideoWhoseFieldsAreTwoMomentsMatchesNothing) {
  // Each field its own moment (t, t + 1/2 ...): no neighbour holds the other half of any.
  Picture const before = Interlace(Film(0), Film(1));
  Picture const picture = Interlace(Film(2), Film(3));
  Picture const after = Interlace(Film(4), Film(5));
  EXPECT_EQ(DVDFieldMatchKind::kNone, dvd::DVDMatchFields(Fields(&before, picture, &after)));
  EXPECT_EQ(DVDFieldMatchKind::kNone, dvd::DVDMatchFields(Fields(nullptr, picture, nullptr)));
}

TEST(DVDFieldMatch, AStillPictureMatchesItself) {
  Picture const still = Film(2);
  EXPECT_EQ(DVDFieldMatchKind::kCurrent, dvd::DVDMatchFields(Fields(&still, still, &still)));
  EXPECT_EQ(DVDFieldMatchKind::kCurrent, dvd::DVDMatchFields(Fields(nullptr, still, nullptr)));
  // A flat picture too (nothing combs anywhere).
  Picture const grey(kPictureBytes, 128);
  EXPECT_EQ(DVDFieldMatchKind::kCurrent, dvd::DVDMatchFields(Fields(&grey, grey, &grey)));
}

TEST(DVDFieldMatch, APictureWithoutPlanesMatchesNothing) {
  dvd::DVDFieldSource s;
  s.width = kWidth;
  s.height = kHeight;
  EXPECT_EQ(DVDFieldMatchKind::kNone, dvd::DVDMatchFields(s));
}

// ---- through the stills

// A request holding before, picture and after, coded interlaced, top field first.
DVDStillRequest Request(Picture const& before, Picture const& picture, Picture const& after) {
  DVDStillRequest r;
  r.info.width = kWidth;
  r.info.height = kHeight;
  r.info.pictureBytes = kPictureBytes;
  r.info.aspect = kDVDAspectRatio4x3;
  r.info.progressive = false;
  r.info.topFieldFirst = true;
  r.info.matrix = kDVDColorMatrixBT601;
  r.info.neighbours = kDVDDecodedBefore | kDVDDecodedAfter;
  r.planes = before;
  r.planes.insert(r.planes.end(), picture.begin(), picture.end());
  r.planes.insert(r.planes.end(), after.begin(), after.end());
  r.shape = kDVDStillShapeStored;
  return r;
}

DVDStillPicture Made(DVDStillRequest const& r) {
  DVDStillPicture p;
  EXPECT_EQ(noErr, DVDMakeStill(r, &p));
  return p;
}

TEST(DVDFieldMatchStill, AutoWeavesTheFilmFrameWhereAdaptiveDeinterlaces) {
  Telecined const tc;
  DVDStillRequest r = Request(tc.pictures[1], tc.pictures[2], tc.pictures[3]);
  // The film frame B, as a progressive picture would come out.
  DVDStillRequest film = Request(tc.pictures[1], tc.film[1], tc.pictures[3]);
  film.info.progressive = true;
  DVDStillPicture const want = Made(film);
  EXPECT_FALSE(want.deinterlaced);

  DVDStillPicture const automatic = Made(r);
  EXPECT_TRUE(automatic.fieldMatched);
  EXPECT_TRUE(automatic.deinterlaced);
  EXPECT_TRUE(automatic.pixels == want.pixels) << "the film frame, converted the same";

  r.deinterlace = kDVDStillDeinterlaceAdaptive;
  DVDStillPicture const adaptive = Made(r);
  EXPECT_FALSE(adaptive.fieldMatched);
  EXPECT_TRUE(adaptive.deinterlaced);
  EXPECT_FALSE(adaptive.pixels == want.pixels) << "interpolated, not woven";

  r.deinterlace = kDVDStillDeinterlaceOff;
  DVDStillPicture const off = Made(r);
  EXPECT_FALSE(off.fieldMatched);
  EXPECT_FALSE(off.deinterlaced);
}

TEST(DVDFieldMatchStill, AutoDeinterlacesVideoThatMatchesNothing) {
  DVDStillRequest const r = Request(Interlace(Film(0), Film(1)), Interlace(Film(2), Film(3)),
                                    Interlace(Film(4), Film(5)));
  DVDStillPicture const p = Made(r);
  EXPECT_FALSE(p.fieldMatched);
  EXPECT_TRUE(p.deinterlaced);
}

TEST(DVDFieldMatchStill, TheTakenPicturesMatchIsAnswered) {
  Telecined const tc;
  DVDStillFieldMatch match = kDVDStillFieldMatchNone;
  ASSERT_EQ(noErr, DVDGetStillFieldMatch(
                       Request(tc.pictures[1], tc.pictures[2], tc.pictures[3]), &match));
  EXPECT_EQ(kDVDStillFieldMatchPrevious, match);
  ASSERT_EQ(noErr, DVDGetStillFieldMatch(
                       Request(tc.pictures[0], tc.pictures[1], tc.pictures[2]), &match));
  EXPECT_EQ(kDVDStillFieldMatchCurrent, match);
  // Only the picture after at hand: (Bt,Cb) stays combed.
  DVDStillRequest r = Request(tc.pictures[1], tc.pictures[2], tc.pictures[3]);
  r.planes.erase(r.planes.begin(), r.planes.begin() + kPictureBytes);
  r.info.neighbours = kDVDDecodedAfter;
  ASSERT_EQ(noErr, DVDGetStillFieldMatch(r, &match));
  EXPECT_EQ(kDVDStillFieldMatchNone, match);
  // After and before swapped: the second field is found after.
  r = Request(tc.pictures[3], tc.pictures[2], tc.pictures[1]);
  ASSERT_EQ(noErr, DVDGetStillFieldMatch(r, &match));
  EXPECT_EQ(kDVDStillFieldMatchNext, match);
  // Refused as DVDMakeStill refuses.
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetStillFieldMatch(r, nullptr));
  r.planes.pop_back();
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetStillFieldMatch(r, &match));
}

}  // namespace
}  // namespace tavelo_test
