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
using tavelo_test::Grab;
using tavelo_test::Result;

QString SoftFilm() { return QStringLiteral(TAVELO_FILM_DISCS "/soft"); }

class SubtitleStillsTest : public testing::Test {
 protected:
  // The still at seconds, stored size, with the options given.
  QImage At(char const* seconds, QStringList args, QString const& disc) {
    args << QStringLiteral("--at") << QLatin1String(seconds) << QStringLiteral("--size")
         << QStringLiteral("stored") << QStringLiteral("--format") << QStringLiteral("png")
         << QStringLiteral("-o") << mOut.path() << disc;
    Result const r = Grab(args);
    EXPECT_EQ(0, r.exit) << args.join(QLatin1Char(' ')).toStdString() << ": "
                         << r.err.toStdString();
    EXPECT_EQ(1, r.lines.size());
    return r.lines.isEmpty() ? QImage() : QImage(r.lines[0]);
  }
  static bool White(QImage const& still, int x, int y) {
    QRgb const p = still.pixel(x, y);
    return qRed(p) > 220 && qGreen(p) > 220 && qBlue(p) > 220;
  }
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
