// Two releases lined up: the comparison discs carry one barcoded source, authored by two
// encoders, the second with a 37-frame lead, wider black bands and brighter pictures.
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <algorithm>

#include "GrabRun.h"
#include "StillAlign.h"
#include "StillTaker.h"

namespace {

using tavelo_test::Barcode;
using tavelo_test::Grab;
using tavelo_test::Result;

QString Side(char const* name) { return QStringLiteral(TAVELO_COMPARE_DISCS "/") + QLatin1String(name); }

constexpr int kLead = 37;
constexpr uint32_t kSourceFrames = 600;

// A title's signatures, read through the disc's own session.
bool Signatures(QString const& disc, StillSignatures* out) {
  StillTaker taker;
  QString why;
  if (taker.Open(disc, &why) != noErr) {
    ADD_FAILURE() << disc.toStdString() << ": " << why.toStdString();
    return false;
  }
  return StillSignatures::Read(1, out) == noErr;
}

TEST(StillAlign, SignaturesCoverEveryFrameOfTheTitle) {
  StillSignatures a;
  StillSignatures b;
  ASSERT_TRUE(Signatures(Side("a"), &a));
  ASSERT_TRUE(Signatures(Side("b"), &b));
  EXPECT_EQ(kSourceFrames, a.frames);
  EXPECT_EQ(kSourceFrames + kLead, b.frames);
  EXPECT_EQ(size_t(a.frames) * kDVDSignatureWidth * kDVDSignatureHeight, a.luma.size());
  // b's first 8 frames are black; its ninth is colour bars.
  uint8_t const* const black = b.Frame(3);
  EXPECT_LT(*std::max_element(black, black + kDVDSignatureWidth * kDVDSignatureHeight), 24);
  uint8_t const* const bars = b.Frame(20);
  EXPECT_GT(*std::max_element(bars, bars + kDVDSignatureWidth * kDVDSignatureHeight), 120);
}

TEST(StillAlign, FindsTheLeadExactly) {
  StillSignatures a;
  StillSignatures b;
  ASSERT_TRUE(Signatures(Side("a"), &a));
  ASSERT_TRUE(Signatures(Side("b"), &b));
  StillAlign align;
  ASSERT_TRUE(align.Construct(a, b));
  EXPECT_EQ(kLead, align.Offset());
  EXPECT_GT(align.Confidence(), 0.5);
  EXPECT_GT(align.Match(), 0.3);
  // The other way round, the lead is a negative offset.
  StillAlign back;
  ASSERT_TRUE(back.Construct(b, a));
  EXPECT_EQ(-kLead, back.Offset());
  uint32_t mapped = 0;
  EXPECT_TRUE(align.Map(100, b.frames, &mapped));
  EXPECT_EQ(100u + kLead, mapped);
  EXPECT_FALSE(back.Map(10, a.frames, &mapped));  // b's lead has nothing in a
}

// Every pair shows one source frame on both sides: the same barcode, and the sides' files
// named to sort together.
TEST(GrabCompare, PairsShowTheSameFrame) {
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  Result const r = Grab({QStringLiteral("--compare"), Side("b"), QStringLiteral("--count"), QStringLiteral("20"),
                         QStringLiteral("--size"), QStringLiteral("stored"), QStringLiteral("--format"),
                         QStringLiteral("png"), QStringLiteral("-o"), dir.path(), Side("a")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  EXPECT_TRUE(r.err.contains(QStringLiteral("offset 37 frames"))) << r.err.toStdString();
  ASSERT_EQ(40, r.lines.size());
  QStringList files = QDir(dir.path()).entryList({QStringLiteral("*.png")}, QDir::Files, QDir::Name);
  ASSERT_EQ(40, files.size());
  for (qsizetype i = 0; i + 1 < files.size(); i += 2) {
    QString const a = files[i];
    QString const b = files[i + 1];
    ASSERT_TRUE(a.endsWith(QLatin1String(" A.png"))) << a.toStdString();
    ASSERT_TRUE(b.endsWith(QLatin1String(" B.png"))) << b.toStdString();
    EXPECT_EQ(a.chopped(6), b.chopped(6));
    int const codeA = Barcode(QImage(dir.filePath(a)));
    int const codeB = Barcode(QImage(dir.filePath(b)));
    EXPECT_GE(codeA, 0) << a.toStdString();
    EXPECT_EQ(codeA, codeB) << a.toStdString();
  }
}

// A forced offset is taken as given: 0 pairs a's frames with b's lead and its first frames.
TEST(GrabCompare, OffsetGivenIsUsed) {
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  Result const r = Grab({QStringLiteral("--compare"), Side("b"), QStringLiteral("--offset"), QStringLiteral("-30"),
                         QStringLiteral("--at"), QStringLiteral("f100,f400"), QStringLiteral("--size"),
                         QStringLiteral("stored"), QStringLiteral("--format"), QStringLiteral("png"),
                         QStringLiteral("-o"), dir.path(), Side("a")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  EXPECT_TRUE(r.err.contains(QStringLiteral("offset -30 frames (given)"))) << r.err.toStdString();
  QStringList const files = QDir(dir.path()).entryList({QStringLiteral("*.png")}, QDir::Files, QDir::Name);
  ASSERT_EQ(4, files.size());
  // b's frame n + 37 is a's frame n: 30 frames back from a's frame is a's frame - 67.
  EXPECT_EQ(100, Barcode(QImage(dir.filePath(files[0]))));
  EXPECT_EQ(100 - 30 - kLead, Barcode(QImage(dir.filePath(files[1]))));
  EXPECT_EQ(400, Barcode(QImage(dir.filePath(files[2]))));
  EXPECT_EQ(400 - 30 - kLead, Barcode(QImage(dir.filePath(files[3]))));
}

// A sheet of pairs: one picture, each row a pair.
TEST(GrabCompare, SheetOfPairs) {
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  QString const sheet = dir.filePath(QStringLiteral("pairs.png"));
  Result const r = Grab({QStringLiteral("--compare"), Side("b"), QStringLiteral("--sheet"), QStringLiteral("1x4"),
                         QStringLiteral("-o"), sheet, Side("a")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  ASSERT_EQ(1, r.lines.size());
  QImage const image(sheet);
  ASSERT_FALSE(image.isNull());
  // Four rows of two pictures under a header: taller than wide at 1600 wide.
  EXPECT_EQ(1600, image.width());
  EXPECT_GT(image.height(), 4 * 500);
}

// Film flagged for pulldown against the same film as 29.97 progressive frames with 15 frames
// of black in front: lined up, every pair shows the same film frame.
TEST(GrabCompare, SoftTelecineAgainstProgressiveVideo) {
  constexpr int kFilmLead = 15;
  StillSignatures soft;
  StillSignatures video;
  ASSERT_TRUE(Signatures(Side("soft"), &soft));
  ASSERT_TRUE(Signatures(Side("video"), &video));
  EXPECT_EQ(600u, soft.frames);
  StillAlign align;
  ASSERT_TRUE(align.Construct(soft, video));
  EXPECT_EQ(kFilmLead, align.Offset());

  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  Result const r = Grab({QStringLiteral("--compare"), Side("video"), QStringLiteral("--count"), QStringLiteral("20"),
                         QStringLiteral("--size"), QStringLiteral("stored"), QStringLiteral("--format"),
                         QStringLiteral("png"), QStringLiteral("-o"), dir.path(), Side("soft")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  QStringList const files = QDir(dir.path()).entryList({QStringLiteral("*.png")}, QDir::Files, QDir::Name);
  ASSERT_EQ(40, files.size());
  for (qsizetype i = 0; i + 1 < files.size(); i += 2) {
    int const codeA = Barcode(QImage(dir.filePath(files[i])));
    EXPECT_GE(codeA, 0) << files[i].toStdString();
    EXPECT_EQ(codeA, Barcode(QImage(dir.filePath(files[i + 1])))) << files[i].toStdString();
  }
}

}  // namespace
