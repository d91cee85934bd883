// tavelo-grab --crop on pictures between black bands as discs code them: the bands' rows
// next to the picture carry its chroma, and the cut is still at the picture's first and last
// rows, whether or not the bands are a whole number of macroblocks. A dark scene stays whole.
#include <QImage>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "GrabRun.h"

namespace {

using tavelo_test::Grab;
using tavelo_test::Result;

QString Borders(char const* name) {
  return QStringLiteral(TAVELO_BORDER_DISCS "/") + QLatin1String(name);
}

class BorderStillsTest : public testing::Test {
 protected:
  // The still at 1 s, cropped, at the stored size.
  QImage Cropped(char const* disc) {
    Result const r = Grab({QStringLiteral("--at"), QStringLiteral("1"), QStringLiteral("--crop"),
                           QStringLiteral("--size"), QStringLiteral("stored"),
                           QStringLiteral("--format"), QStringLiteral("png"), QStringLiteral("-o"),
                           mOut.path(), Borders(disc)});
    EXPECT_EQ(0, r.exit) << r.err.toStdString();
    EXPECT_EQ(1, r.lines.size());
    return r.lines.isEmpty() ? QImage() : QImage(r.lines[0]);
  }
  QTemporaryDir mOut;
};

TEST_F(BorderStillsTest, BandsOf72RowsAreCutToThePicturesRows) {
  // Rows 72-407: the two rows above and below, tinted by the picture's chroma, go too.
  QImage const still = Cropped("lb72");
  EXPECT_EQ(720, still.width());
  EXPECT_EQ(336, still.height());
}

TEST_F(BorderStillsTest, BandsOf60RowsAreCutToThePicturesRows) {
  // Rows 60-419: not rounded to a multiple of 16 rows.
  QImage const still = Cropped("lb60");
  EXPECT_EQ(720, still.width());
  EXPECT_EQ(360, still.height());
}

TEST_F(BorderStillsTest, ADarkSceneIsKeptWhole) {
  QImage const still = Cropped("dark");
  EXPECT_EQ(720, still.width());
  EXPECT_EQ(480, still.height());
}

}  // namespace
