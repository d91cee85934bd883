// The pure parts of following another disc: A's frames mapped to B's through the pieces of an
// alignment, and the requests of the follow mode, of which only the newest is taken.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "GrabFollow.h"
#include "StillAlign.h"

namespace {

TEST(StillAlignMap, OnePieceIsTheOffset) {
  std::vector<StillAlignPiece> const pieces{{0, 37}};
  uint32_t b = 0;
  ASSERT_TRUE(StillAlign::MapByPieces(pieces, 37, 0, 637, &b));
  EXPECT_EQ(37u, b);
  ASSERT_TRUE(StillAlign::MapByPieces(pieces, 37, 599, 637, &b));
  EXPECT_EQ(636u, b);
  // Past b's end: no match, and b is left alone.
  b = 7;
  EXPECT_FALSE(StillAlign::MapByPieces(pieces, 37, 600, 637, &b));
  EXPECT_EQ(7u, b);
}

TEST(StillAlignMap, NegativeOffsetHasNoMatchBeforeB) {
  std::vector<StillAlignPiece> const pieces{{0, -37}};
  uint32_t b = 0;
  EXPECT_FALSE(StillAlign::MapByPieces(pieces, -37, 36, 600, &b));
  ASSERT_TRUE(StillAlign::MapByPieces(pieces, -37, 37, 600, &b));
  EXPECT_EQ(0u, b);
}

TEST(StillAlignMap, EachFrameByItsPiece) {
  // A shot of 30 frames cut out of b at a's frame 400; 10 frames added in front.
  std::vector<StillAlignPiece> const pieces{{0, 10}, {415, -20}};
  uint32_t b = 0;
  ASSERT_TRUE(StillAlign::MapByPieces(pieces, 10, 414, 880, &b));
  EXPECT_EQ(424u, b);
  ASSERT_TRUE(StillAlign::MapByPieces(pieces, 10, 415, 880, &b));
  EXPECT_EQ(395u, b);
  ASSERT_TRUE(StillAlign::MapByPieces(pieces, 10, 899, 880, &b));
  EXPECT_EQ(879u, b);
}

TEST(StillAlignMap, NoPiecesIsTheOffset) {
  uint32_t b = 0;
  ASSERT_TRUE(StillAlign::MapByPieces({}, 5, 10, 100, &b));
  EXPECT_EQ(15u, b);
}

TEST(GrabFollowRequests, OnlyTheNewestIsTaken) {
  GrabFollowRequests r;
  uint32_t frame = 0;
  EXPECT_FALSE(r.Take(&frame));
  std::string const lines = "10\n11\n12\n";
  r.Feed(lines.data(), lines.size());
  ASSERT_TRUE(r.Take(&frame));
  EXPECT_EQ(12u, frame);
  EXPECT_EQ(2u, r.Skipped());
  // Taken once.
  EXPECT_FALSE(r.Take(&frame));
  EXPECT_FALSE(r.Pending());
}

TEST(GrabFollowRequests, LinesCanComeInPieces) {
  GrabFollowRequests r;
  uint32_t frame = 0;
  r.Feed("12", 2);
  EXPECT_FALSE(r.Pending());  // not a whole line yet
  r.Feed("34\n5", 4);
  ASSERT_TRUE(r.Take(&frame));
  EXPECT_EQ(1234u, frame);
  EXPECT_FALSE(r.Pending());
  // The end of input makes the last piece a line.
  r.Close();
  EXPECT_TRUE(r.Closed());
  ASSERT_TRUE(r.Take(&frame));
  EXPECT_EQ(5u, frame);
}

TEST(GrabFollowRequests, BadLinesAreToldAndDoNotReplaceAFrame) {
  GrabFollowRequests r;
  std::string const lines = "7\nseven\n \n-3\n 8 \r\n1234567890\n";
  r.Feed(lines.data(), lines.size());
  uint32_t frame = 0;
  ASSERT_TRUE(r.Take(&frame));
  EXPECT_EQ(8u, frame);  // spaces and a carriage return around a number are fine
  EXPECT_EQ((std::vector<std::string>{"seven", "-3", "1234567890"}), r.TakeBad());
  EXPECT_TRUE(r.TakeBad().empty());
}

TEST(GrabFollowRequests, AVeryLongLineIsCutShort) {
  GrabFollowRequests r;
  std::string const junk(100000, 'x');
  r.Feed(junk.data(), junk.size());
  r.Feed("\n", 1);
  std::vector<std::string> const bad = r.TakeBad();
  ASSERT_EQ(1u, bad.size());
  EXPECT_LT(bad[0].size(), 100u);
}

TEST(GrabFollowRequests, ParseFrame) {
  uint32_t frame = 0;
  EXPECT_TRUE(GrabFollowRequests::ParseFrame("0", &frame));
  EXPECT_EQ(0u, frame);
  EXPECT_TRUE(GrabFollowRequests::ParseFrame("999999999", &frame));
  EXPECT_EQ(999999999u, frame);
  EXPECT_FALSE(GrabFollowRequests::ParseFrame("", &frame));
  EXPECT_FALSE(GrabFollowRequests::ParseFrame("1 2", &frame));
  EXPECT_FALSE(GrabFollowRequests::ParseFrame("+1", &frame));
  EXPECT_FALSE(GrabFollowRequests::ParseFrame("0x10", &frame));
}

}  // namespace
