// tavelo-grab --subtitles at times whose subtitle began in a picture group before the one
// the still's seek lands in: the letterbox disc's forced box (300,200-420,260, 0 to 2 s)
// and the soft film disc's English box (64,64-192,128, 0 to 15 s, a second cell from
// 10.01 s), on the stored picture.
#include <QImage>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "GrabRun.h"

namespace {

using tavelo_test::Disc;

QString SoftFilm() { return QStringLiteral(TAVELO_FILM_DISCS "/soft"); }

class SubtitleStillsTest : public testing::Test {
 protected:
  // The still at seconds, stored size, with the options given.
  QImage At(char const* seconds, QStringList const& args, QString const& disc) {
    return tavelo_test::StoredStillAt(QLatin1String(seconds), args, mOut.path(), disc);
  }
  static bool White(QImage const& still, int x, int y) { return tavelo_test::WhiteAt(still, x, y); }
  QTemporaryDir mOut;
};

TEST_F(SubtitleStillsTest, TheForcedSubtitleBegunGroupsBeforeIsInTheStill) {
  for (char const* seconds : {"1.5", "1.9"}) {
    QImage const still = At(seconds, {QStringLiteral("--subtitles")}, Disc("letterbox"));
    ASSERT_FALSE(still.isNull()) << seconds;
    EXPECT_TRUE(White(still, 360, 230)) << seconds;
    EXPECT_FALSE(White(still, 100, 100)) << seconds;
  }
  EXPECT_FALSE(White(At("1.5", {}, Disc("letterbox")), 360, 230)) << "without --subtitles";
}

TEST_F(SubtitleStillsTest, TheFilmSubtitleBegunSecondsBeforeIsInTheStill) {
  // 10 s: its unit is ten seconds back in the same cell; 12 s: in the cell before.
  for (char const* seconds : {"10", "12"}) {
    QImage const still = At(seconds, {QStringLiteral("--subtitles=en")}, SoftFilm());
    ASSERT_FALSE(still.isNull()) << seconds;
    EXPECT_TRUE(White(still, 128, 96)) << seconds;
    EXPECT_FALSE(White(still, 592, 384)) << seconds;
  }
  EXPECT_FALSE(White(At("10", {}, SoftFilm()), 128, 96)) << "without --subtitles";
  EXPECT_FALSE(White(At("16", {QStringLiteral("--subtitles=en")}, SoftFilm()), 128, 96))
      << "after it ended";
}

}  // namespace
