// tavelo-grab as a user runs it, without a display, on the authored discs: the stills'
// frames read back from the barcode every picture of the "frames" discs carries.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <cstdlib>
#include <vector>

#include "GrabRun.h"

#include <sys/xattr.h>

namespace {

using tavelo_test::Barcode;
using tavelo_test::Barcodes;
using tavelo_test::Disc;
using tavelo_test::Grab;
using tavelo_test::Result;

class TaveloGrabTest : public testing::Test {
 protected:
  QTemporaryDir mOut;
  QString Out() const { return mOut.path(); }
};

TEST_F(TaveloGrabTest, ChaptersGiveEachChaptersFirstFrame) {
  Result const r = Grab({QStringLiteral("--chapters"), QStringLiteral("-o"), Out(), Disc("frames")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  ASSERT_EQ(3, r.lines.size());
  EXPECT_EQ((std::vector<int>{0, 300, 600}), Barcodes(r.lines));
  // Named after the disc, title, chapter and time; 640 x 480 JPEG by default.
  EXPECT_EQ(QStringLiteral("frames T1 C2 00-00-10.010.jpg"), QFileInfo(r.lines[1]).fileName());
  EXPECT_EQ(QSize(640, 480), QImage(r.lines[0]).size());
  EXPECT_TRUE(r.err.isEmpty()) << "no progress without a terminal: " << r.err.toStdString();
  // Stamped like quick saves: type and creator in the file's Finder information.
  char info[32] = {};
  QByteArray const path = r.lines[0].toUtf8();
  ASSERT_GE(getxattr(path.constData(), "user.com.apple.FinderInfo", info, sizeof info), 8);
  EXPECT_EQ(std::string("JPEGprvw"), std::string(info, 8));
}

TEST_F(TaveloGrabTest, EveryFiveSecondsTakesThePictureOnScreenThen) {
  Result const r = Grab({QStringLiteral("--every"), QStringLiteral("5"), QStringLiteral("--size"),
                         QStringLiteral("stored"), QStringLiteral("--format"), QStringLiteral("png"),
                         QStringLiteral("-o"), Out(), Disc("frames")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  std::vector<int> expected;
  for (int k = 0; 5 * k * 30000 / 1001 < 900; ++k) expected.push_back(5 * k * 30000 / 1001);
  EXPECT_EQ(expected, Barcodes(r.lines));
  EXPECT_EQ(QSize(720, 480), QImage(r.lines[0]).size());
  EXPECT_TRUE(r.lines[0].endsWith(QLatin1String(".png")));
}

TEST_F(TaveloGrabTest, AtTakesTimesInEveryForm) {
  Result const r = Grab({QStringLiteral("--at"), QStringLiteral("1.5,0:02,0:00:03.500,f777,25"),
                         QStringLiteral("--name"), QStringLiteral("{n} {frame}"), QStringLiteral("-o"),
                         Out(), Disc("frames")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  // Written in disc order, named in the order asked.
  EXPECT_EQ((std::vector<int>{44, 59, 104, 749, 777}), Barcodes(r.lines));
  EXPECT_EQ(QStringLiteral("1 44.jpg"), QFileInfo(r.lines[0]).fileName());
  EXPECT_EQ(QStringLiteral("4 777.jpg"), QFileInfo(r.lines[4]).fileName());
}

TEST_F(TaveloGrabTest, CountSpreadsStillsEvenly) {
  Result const r = Grab({QStringLiteral("--count"), QStringLiteral("16"), QStringLiteral("--name"),
                         QStringLiteral("{n}"), QStringLiteral("-o"), Out(), Disc("frames")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  std::vector<int> expected;
  for (int i = 0; i < 16; ++i) expected.push_back(int(std::floor((i + 0.5) * 900 / 16 + 0.5)));
  EXPECT_EQ(expected, Barcodes(r.lines));
}

TEST_F(TaveloGrabTest, PALFramesAreCountedAt25) {
  Result const r = Grab({QStringLiteral("--at"), QStringLiteral("2,f60"), QStringLiteral("--size"),
                         QStringLiteral("stored"), QStringLiteral("-o"), Out(), Disc("framespal")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  QImage const first(r.lines[0]);
  EXPECT_EQ(QSize(720, 576), first.size());
  EXPECT_EQ((std::vector<int>{50, 60}), Barcodes(r.lines));
}

TEST_F(TaveloGrabTest, ASheetHoldsItsStillsInOrderAtTheWidthAsked) {
  QString const sheetPath = Out() + QStringLiteral("/sheet.png");
  Result const r = Grab({QStringLiteral("--sheet"), QStringLiteral("4x4"), QStringLiteral("--sheet-width"),
                         QStringLiteral("1200"), QStringLiteral("-o"), sheetPath, Disc("frames")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  ASSERT_EQ(QStringList{sheetPath}, r.lines);
  QImage const sheet(sheetPath);
  ASSERT_EQ(1200, sheet.width());
  // Tiles: runs of columns, then rows, that are not the sheet's background.
  QRgb const background = sheet.pixel(2, sheet.height() - 2);
  auto const plain = [&](QRgb p) {
    return std::abs(qRed(p) - qRed(background)) + std::abs(qGreen(p) - qGreen(background)) +
               std::abs(qBlue(p) - qBlue(background)) < 24;
  };
  // Runs of more than 100 pixels that are not background along a line.
  auto const runs = [&](int count, auto at) {
    std::vector<std::pair<int, int>> found;
    for (int k = 0; k < count;) {
      while (k < count && plain(at(k))) ++k;
      int const start = k;
      while (k < count && !plain(at(k))) ++k;
      if (k - start > 100) found.emplace_back(start, k);
    }
    return found;
  };
  // Columns: along a row through the last row of tiles' pictures (captions are short runs).
  std::vector<std::pair<int, int>> cols;
  for (int y = sheet.height() - 1; y >= 0 && cols.empty(); --y) {
    cols = runs(sheet.width(), [&](int x) { return sheet.pixel(x, y); });
  }
  ASSERT_EQ(4u, cols.size());
  // Near the tile's left edge, clear of its centred caption.
  int const probeX = cols[0].first + 10;
  std::vector<std::pair<int, int>> const rows =
      runs(sheet.height(), [&](int y) { return sheet.pixel(probeX, y); });
  ASSERT_EQ(4u, rows.size());
  std::vector<int> frames;
  for (auto const& [top, bottomRow] : rows) {
    for (auto const& [left, right] : cols) {
      QRect const tile(left, top, right - left, bottomRow - top);
      EXPECT_NEAR(4.0 / 3.0, double(tile.width()) / tile.height(), 0.02) << "true shape";
      frames.push_back(Barcode(sheet, tile));
    }
  }
  std::vector<int> expected;
  for (int i = 0; i < 16; ++i) expected.push_back(int(std::floor((i + 0.5) * 900 / 16 + 0.5)));
  EXPECT_EQ(expected, frames);
}

TEST_F(TaveloGrabTest, SkipBlankMovesPastABlackStartButNotPastAPicture) {
  Result r = Grab({QStringLiteral("--at"), QStringLiteral("0"), QStringLiteral("--skip-blank"),
                   QStringLiteral("--name"), QStringLiteral("{frame}"), QStringLiteral("-o"), Out(),
                   Disc("blank")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  ASSERT_EQ(1, r.lines.size());
  EXPECT_EQ(QStringLiteral("30.jpg"), QFileInfo(r.lines[0]).fileName())
      << "the first picture after the black";
  r = Grab({QStringLiteral("--at"), QStringLiteral("0"), QStringLiteral("--name"),
            QStringLiteral("plain {frame}"), QStringLiteral("-o"), Out(), Disc("blank")});
  ASSERT_EQ(0, r.exit);
  ASSERT_EQ(1, r.lines.size());
  EXPECT_EQ(QStringLiteral("plain 0.jpg"), QFileInfo(r.lines[0]).fileName()) << "without the option";
  r = Grab({QStringLiteral("--at"), QStringLiteral("f5"), QStringLiteral("--skip-blank"),
            QStringLiteral("-o"), Out(), Disc("frames")});
  ASSERT_EQ(0, r.exit);
  EXPECT_EQ(std::vector<int>{5}, Barcodes(r.lines));
}

TEST_F(TaveloGrabTest, AStillThatCannotBeWrittenStopsTheBatchAndTheRestIsReported) {
  // Where the second still's file would go stands a folder: its write fails, as on a full
  // disk; what is left is reported, not written, and nothing half-written stays.
  ASSERT_TRUE(QDir(Out()).mkpath(QStringLiteral("2.jpg")));
  Result const r = Grab({QStringLiteral("--chapters"), QStringLiteral("--name"), QStringLiteral("{n}"),
                         QStringLiteral("-o"), Out(), Disc("frames")});
  EXPECT_EQ(1, r.exit);
  EXPECT_EQ(QStringList{Out() + QStringLiteral("/1.jpg")}, r.lines);
  EXPECT_TRUE(r.err.contains(QLatin1String("2.jpg could not be written"))) << r.err.toStdString();
  EXPECT_TRUE(r.err.contains(QLatin1String("frame 600 not written"))) << r.err.toStdString();
  EXPECT_EQ((QStringList{"1.jpg", "2.jpg"}), QDir(Out()).entryList(QDir::AllEntries | QDir::Hidden |
                                                                     QDir::NoDotAndDotDot, QDir::Name));
}

TEST_F(TaveloGrabTest, ListAsJSONAgreesWithTheDisc) {
  Result const r = Grab({QStringLiteral("--list"), QStringLiteral("--json"), Disc("frames")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  QJsonParseError error{};
  QJsonDocument const doc = QJsonDocument::fromJson(r.lines.join(QLatin1Char('\n')).toUtf8(), &error);
  ASSERT_EQ(QJsonParseError::NoError, error.error) << error.errorString().toStdString();
  QJsonArray const titles = doc.object().value(QStringLiteral("titles")).toArray();
  ASSERT_EQ(1, titles.size());
  QJsonObject const t = titles[0].toObject();
  EXPECT_EQ(1, t.value(QStringLiteral("title")).toInt());
  EXPECT_EQ(900, t.value(QStringLiteral("frames")).toInt());
  EXPECT_EQ(3, t.value(QStringLiteral("chapters")).toInt());
  EXPECT_EQ(QJsonArray({0, 300, 600}), t.value(QStringLiteral("chapterFrames")).toArray());
  EXPECT_EQ(QStringLiteral("00:00:30.030"), t.value(QStringLiteral("duration")).toString());
  EXPECT_EQ(QStringLiteral("NTSC"), t.value(QStringLiteral("standard")).toString());
  EXPECT_EQ(QStringLiteral("4:3"), t.value(QStringLiteral("aspect")).toString());
  EXPECT_EQ(1, t.value(QStringLiteral("audio")).toArray().size());

  Result const streams = Grab({QStringLiteral("--list"), QStringLiteral("--json"), Disc("streams")});
  ASSERT_EQ(0, streams.exit);
  QJsonObject const s = QJsonDocument::fromJson(streams.lines.join(QLatin1Char('\n')).toUtf8())
                            .object().value(QStringLiteral("titles")).toArray()[0].toObject();
  QJsonArray const audio = s.value(QStringLiteral("audio")).toArray();
  ASSERT_EQ(2, audio.size());
  EXPECT_EQ(QStringLiteral("en"), audio[0].toObject().value(QStringLiteral("language")).toString());
  EXPECT_EQ(QStringLiteral("fr"), audio[1].toObject().value(QStringLiteral("language")).toString());
  QJsonArray const subtitles = s.value(QStringLiteral("subtitles")).toArray();
  ASSERT_EQ(2, subtitles.size());
  EXPECT_EQ(QStringLiteral("de"), subtitles[1].toObject().value(QStringLiteral("language")).toString());

  Result const text = Grab({QStringLiteral("--list"), Disc("frames")});
  ASSERT_EQ(0, text.exit);
  ASSERT_EQ(1, text.lines.size());
  EXPECT_TRUE(text.lines[0].startsWith(QLatin1String("Title 1: 00:00:30.030, 900 frames, 3 chapters, NTSC 4:3")))
      << text.lines[0].toStdString();
}

TEST_F(TaveloGrabTest, EveryBadArgumentExitsWithTwoNamingIt) {
  struct Case {
    QStringList args;
    char const* named;
  };
  QString const disc = Disc("frames");
  std::vector<Case> const cases = {
      {{QStringLiteral("--every"), QStringLiteral("0"), disc}, "--every"},
      {{QStringLiteral("--every"), QStringLiteral("x"), disc}, "--every"},
      {{QStringLiteral("--count"), QStringLiteral("0"), disc}, "--count"},
      {{QStringLiteral("--at"), QStringLiteral("1,zz"), disc}, "--at: zz"},
      {{QStringLiteral("--title"), QStringLiteral("7"), disc}, "--title"},
      {{QStringLiteral("--title"), QStringLiteral("one"), disc}, "--title"},
      {{QStringLiteral("--format"), QStringLiteral("gif"), disc}, "--format"},
      {{QStringLiteral("--quality"), QStringLiteral("101"), disc}, "--quality"},
      {{QStringLiteral("--size"), QStringLiteral("big"), disc}, "--size"},
      {{QStringLiteral("--deinterlace"), QStringLiteral("maybe"), disc}, "--deinterlace"},
      {{QStringLiteral("--sheet"), QStringLiteral("4by4"), disc}, "--sheet"},
      {{QStringLiteral("--sheet-width"), QStringLiteral("10"), disc}, "--sheet-width"},
      {{QStringLiteral("--name"), QStringLiteral("{nope}"), disc}, "--name"},
      {{QStringLiteral("--chapters"), QStringLiteral("--count"), QStringLiteral("3"), disc}, "--count"},
      {{QStringLiteral("--bogus"), disc}, "--bogus"},
      {{QStringLiteral("--json"), disc}, "--json"},
      {{QStringLiteral("--every")}, "--every"},
      {{QStringLiteral("--chapters")}, "DISC"},
      {{disc, disc}, "only one DISC"},
  };
  for (Case const& c : cases) {
    Result const r = Grab(c.args);
    EXPECT_EQ(2, r.exit) << c.args.join(QLatin1Char(' ')).toStdString();
    EXPECT_TRUE(r.err.contains(QLatin1String(c.named))) << r.err.toStdString();
    EXPECT_TRUE(r.lines.isEmpty());
  }
  EXPECT_TRUE(QDir(Out()).isEmpty()) << "nothing written";
}

TEST_F(TaveloGrabTest, OptionsInTheirOtherFormsFoldersAndLimits) {
  QString const disc = Disc("frames");
  Result r = Grab({QStringLiteral("--help")});
  EXPECT_EQ(0, r.exit);
  EXPECT_TRUE(r.lines.join(QLatin1Char('\n')).contains(QLatin1String("--sheet"))) << "usage on standard output";
  // --option=value, TIFF by its long name, into a folder that is not there yet.
  QString const folder = Out() + QStringLiteral("/new/stills");
  r = Grab({QStringLiteral("--at=f30"), QStringLiteral("--format=tiff"), QStringLiteral("-o"), folder, disc});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  ASSERT_EQ(1, r.lines.size());
  EXPECT_TRUE(r.lines[0].startsWith(folder) && r.lines[0].endsWith(QLatin1String(".tif")))
      << r.lines[0].toStdString();
  EXPECT_EQ(30, Barcode(QImage(r.lines[0])));
  // A flag given a value, and the limits of sheets and sizes.
  struct Case {
    QStringList args;
    char const* named;
  };
  std::vector<Case> const cases = {
      {{QStringLiteral("--chapters=yes"), disc}, "takes no value"},
      {{QStringLiteral("--sheet"), QStringLiteral("51x1"), disc}, "--sheet"},
      {{QStringLiteral("--size"), QStringLiteral("9000x10"), disc}, "--size"},
  };
  for (Case const& c : cases) {
    r = Grab(c.args);
    EXPECT_EQ(2, r.exit) << c.args.join(QLatin1Char(' ')).toStdString();
    EXPECT_TRUE(r.err.contains(QLatin1String(c.named))) << r.err.toStdString();
  }
  // A folder that cannot be made.
  QFile blocker(Out() + QStringLiteral("/a file"));
  ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
  blocker.close();
  r = Grab({QStringLiteral("--at"), QStringLiteral("f1"), QStringLiteral("-o"), blocker.fileName() + QStringLiteral("/sub"), disc});
  EXPECT_EQ(2, r.exit);
  EXPECT_TRUE(r.err.contains(QLatin1String("-o"))) << r.err.toStdString();
  // A time past the title's end is reported; the others are written.
  r = Grab({QStringLiteral("--at"), QStringLiteral("1,99:00"), QStringLiteral("-o"), Out() + QStringLiteral("/late"), disc});
  EXPECT_EQ(1, r.exit);
  EXPECT_EQ(1, r.lines.size());
  EXPECT_FALSE(r.err.isEmpty());
}

TEST_F(TaveloGrabTest, WhatIsNotADiscExitsWithThree) {
  QTemporaryDir plain;
  QDir(plain.path()).mkpath(QStringLiteral("VIDEO_TS"));
  Result r = Grab({QStringLiteral("--chapters"), plain.path()});
  EXPECT_EQ(3, r.exit);
  EXPECT_TRUE(r.err.contains(QLatin1String("not a DVD"))) << r.err.toStdString();
  r = Grab({QStringLiteral("--chapters"), plain.path() + QStringLiteral("/missing")});
  EXPECT_EQ(3, r.exit);
  EXPECT_TRUE(r.err.contains(QLatin1String("no such file"))) << r.err.toStdString();
  r = Grab({QStringLiteral("--list"), Disc("scrambled")});
  EXPECT_EQ(3, r.exit);
  EXPECT_TRUE(r.err.contains(QLatin1String("libdvdcss"))) << r.err.toStdString();
}

TEST_F(TaveloGrabTest, AnImageWorksAsItsFolderDoes) {
  Result const folder = Grab({QStringLiteral("--list"), QStringLiteral("--json"), Disc("ntsc43")});
  Result const image = Grab({QStringLiteral("--list"), QStringLiteral("--json"), Disc("ntsc43.iso")});
  ASSERT_EQ(0, folder.exit) << folder.err.toStdString();
  ASSERT_EQ(0, image.exit) << image.err.toStdString();
  auto const titles = [](Result const& r) {
    return QJsonDocument::fromJson(r.lines.join(QLatin1Char('\n')).toUtf8()).object().value(QStringLiteral("titles"));
  };
  EXPECT_EQ(titles(folder), titles(image));
  Result const still = Grab({QStringLiteral("--at"), QStringLiteral("f10"), QStringLiteral("-o"), Out(),
                             Disc("ntsc43.iso")});
  ASSERT_EQ(0, still.exit) << still.err.toStdString();
  ASSERT_EQ(1, still.lines.size());
  EXPECT_EQ(QSize(640, 480), QImage(still.lines[0]).size());
}

}  // namespace
