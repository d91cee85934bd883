// Two releases lined up: the comparison discs carry one barcoded source, authored by two
// encoders, the second with a 37-frame lead, wider black bands and brighter pictures.
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "GrabRun.h"
#include "StillAlign.h"
#include "StillTaker.h"
#include "TestTime.h"

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

// The first title read on a thread of its own while the session opens the other disc and reads
// its title: both come out as they do one after the other.
TEST(StillAlign, TitlesReadSideBySideGiveTheSameSignatures) {
  StillSignatures a;
  StillSignatures b;
  ASSERT_TRUE(Signatures(Side("a"), &a));
  ASSERT_TRUE(Signatures(Side("b"), &b));
  StillTaker taker;
  QString why;
  ASSERT_EQ(noErr, taker.Open(Side("a"), &why)) << why.toStdString();
  StillSignatures first;
  StillSignatureRead read;
  read.Start(1, taker.Titles().front().info.frames, &first);
  ASSERT_EQ(noErr, taker.Open(Side("b"), &why)) << why.toStdString();
  StillSignatures second;
  ASSERT_EQ(noErr, StillSignatures::Read(1, &second, taker.Titles().front().info.frames));
  ASSERT_EQ(noErr, read.Finish());
  EXPECT_EQ(a.frames, first.frames);
  EXPECT_TRUE(a.luma == first.luma);
  EXPECT_EQ(b.frames, second.frames);
  EXPECT_TRUE(b.luma == second.luma);
  // Nothing started: nothing to wait for, and no status of a read.
  StillSignatureRead none;
  EXPECT_NE(noErr, none.Finish());
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
  EXPECT_GT(align.Match(), 0.8);
  // The other way round, the lead is a negative offset.
  StillAlign back;
  ASSERT_TRUE(back.Construct(b, a));
  EXPECT_EQ(-kLead, back.Offset());
  uint32_t mapped = 0;
  EXPECT_TRUE(align.Map(100, b.frames, &mapped));
  EXPECT_EQ(100u + kLead, mapped);
  EXPECT_FALSE(back.Map(10, a.frames, &mapped));  // b's lead has nothing in a
  // Nothing added or cut along the way: one piece.
  ASSERT_EQ(1u, align.Pieces().size());
  EXPECT_EQ(kLead, align.Pieces()[0].offset);
}

// Signatures made up of scenes of moving patterns, for the pieces: b has 10 flat frames in
// front and misses a's frames 400-429 (a shot cut out).
StillSignatures MadeUp(std::vector<std::pair<uint32_t, uint32_t>> const& runs, uint32_t flatFirst) {
  constexpr int kW = kDVDSignatureWidth;
  constexpr int kH = kDVDSignatureHeight;
  StillSignatures s;
  s.width = kW;
  s.height = kH;
  auto const frame = [&](uint32_t n) {
    // Scene: 60-140 frames, each its own pattern drifting by a pixel a frame.
    uint32_t scene = 0;
    uint32_t start = 0;
    for (uint32_t at = 0;; ++scene) {
      uint32_t const length = 60 + (scene * 37) % 81;
      if (n < at + length) { start = at; break; }
      at += length;
    }
    std::vector<uint8_t> luma(size_t(kW * kH));
    for (int y = 0; y < kH; ++y) {
      for (int x = 0; x < kW; ++x) {
        double const t = double(n - start);
        double const v = std::sin((x + t * 0.7) * (0.3 + 0.05 * (scene % 5)) + scene) *
                         std::cos((y - t * 0.4) * (0.25 + 0.04 * (scene % 7)) + 2.0 * scene);
        luma[size_t(y * kW + x)] = uint8_t(128 + 90 * v);
      }
    }
    return luma;
  };
  for (uint32_t i = 0; i < flatFirst; ++i) s.luma.insert(s.luma.end(), size_t(kW * kH), uint8_t(16));
  s.frames = flatFirst;
  for (auto const& run : runs) {
    for (uint32_t n = run.first; n < run.second; ++n) {
      std::vector<uint8_t> const luma = frame(n);
      s.luma.insert(s.luma.end(), luma.begin(), luma.end());
      ++s.frames;
    }
  }
  return s;
}

TEST(StillAlign, PiecesWhereAShotIsCutOut) {
  StillSignatures const a = MadeUp({{0, 900}}, 0);
  StillSignatures const b = MadeUp({{0, 400}, {430, 900}}, 10);
  StillAlign align;
  ASSERT_TRUE(align.Construct(a, b));
  ASSERT_EQ(2u, align.Pieces().size());
  EXPECT_EQ(0u, align.Pieces()[0].firstFrame);
  EXPECT_EQ(10, align.Pieces()[0].offset);
  EXPECT_EQ(-20, align.Pieces()[1].offset);
  EXPECT_GE(align.Pieces()[1].firstFrame, 400u);
  EXPECT_LE(align.Pieces()[1].firstFrame, 430u);
  uint32_t mapped = 0;
  ASSERT_TRUE(align.Map(100, b.frames, &mapped));
  EXPECT_EQ(110u, mapped);
  ASSERT_TRUE(align.Map(700, b.frames, &mapped));
  EXPECT_EQ(680u, mapped);
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
  // The README's picture of a sheet of pairs (scripts/screenshots): its first two rows.
  if (QString const shots = qEnvironmentVariable("TAVELO_E2E_SHOTS"); !shots.isEmpty()) {
    int const rows = image.height() * 2 / 4;
    QImage const shown = image.copy(0, 0, image.width(), rows).scaledToWidth(960, Qt::SmoothTransformation);
    EXPECT_TRUE(shown.save(QDir(shots).filePath(QStringLiteral("pair-sheet.jpg")), "JPEG", 85));
  }
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
  // Slow, smooth scenes fit nearby offsets nearly as well: still one piece.
  EXPECT_EQ(1u, align.Pieces().size());

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

namespace {

QJsonObject JsonOf(Result const& r) {
  QJsonParseError error{};
  QJsonDocument const doc = QJsonDocument::fromJson(r.lines.join(QLatin1Char('\n')).toUtf8(), &error);
  EXPECT_EQ(QJsonParseError::NoError, error.error) << r.lines.join(QLatin1Char('\n')).toStdString();
  return doc.object();
}

// tavelo-grab --follow on a disc: requests written, answers read, each within a time limit.
class Follower {
 public:
  explicit Follower(QStringList args) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.insert(QStringLiteral("PULSE_SERVER"), QStringLiteral("unix:/nonexistent"));
    mProcess.setProcessEnvironment(env);
    mProcess.start(QStringLiteral(TAVELO_GRAB), args);
  }
  ~Follower() {
    if (mProcess.state() != QProcess::NotRunning) {
      mProcess.kill();
      mProcess.waitForFinished();
    }
  }
  void Ask(QByteArray const& lines) { mProcess.write(lines); }
  // The next line of its standard output; empty when none comes in time.
  QString Answer() {
    QElapsedTimer timer;
    timer.start();
    qint64 const limit = qint64(tavelo_test::ScaledMilliseconds(20000));
    while (!mProcess.canReadLine() && timer.elapsed() < limit) {
      if (!mProcess.waitForReadyRead(200) && mProcess.state() == QProcess::NotRunning) break;
    }
    return mProcess.canReadLine() ? QString::fromUtf8(mProcess.readLine()).trimmed() : QString();
  }
  // Closes its input: it ends; its exit status (-1 when it does not end in time).
  int End() {
    mProcess.closeWriteChannel();
    if (!mProcess.waitForFinished(int(tavelo_test::ScaledMilliseconds(20000)))) return -1;
    return mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
  }
  QString Errors() { return QString::fromUtf8(mProcess.readAllStandardError()); }

  QProcess mProcess;
};

// "frame N PATH": the frame and the barcode its picture carries (-2 when it has no picture).
std::pair<int, int> FrameAnswered(QString const& answer) {
  QStringList const parts = answer.split(QLatin1Char(' '));
  if (parts.size() < 3 || parts[0] != QLatin1String("frame")) return {-1, -2};
  QString const path = answer.section(QLatin1Char(' '), 2);
  QImage const picture(path);
  return {parts[1].toInt(), picture.isNull() ? -2 : Barcode(picture)};
}

}  // namespace

// The alignment alone, as JSON: the lead found exactly, one piece, both titles' frames.
TEST(GrabCompare, JsonAlignmentAlone) {
  Result const r = Grab({QStringLiteral("--compare"), Side("b"), QStringLiteral("--json"), Side("a")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  QJsonObject const json = JsonOf(r);
  EXPECT_EQ(kLead, json.value(QStringLiteral("offset")).toInt(-1));
  EXPECT_FALSE(json.value(QStringLiteral("given")).toBool(true));
  EXPECT_GT(json.value(QStringLiteral("confidence")).toDouble(), 0.5);
  EXPECT_GT(json.value(QStringLiteral("match")).toDouble(), 0.8);
  QJsonArray const pieces = json.value(QStringLiteral("pieces")).toArray();
  ASSERT_EQ(1, pieces.size());
  EXPECT_EQ(0, pieces[0].toObject().value(QStringLiteral("firstFrame")).toInt(-1));
  EXPECT_EQ(kLead, pieces[0].toObject().value(QStringLiteral("offset")).toInt(-1));
  QJsonObject const a = json.value(QStringLiteral("a")).toObject();
  QJsonObject const b = json.value(QStringLiteral("b")).toObject();
  EXPECT_EQ(int(kSourceFrames), a.value(QStringLiteral("frames")).toInt());
  EXPECT_EQ(int(kSourceFrames) + kLead, b.value(QStringLiteral("frames")).toInt());
  EXPECT_EQ(1, a.value(QStringLiteral("title")).toInt());
  EXPECT_EQ(1, b.value(QStringLiteral("title")).toInt());
  EXPECT_EQ(QStringLiteral("b"), b.value(QStringLiteral("disc")).toString());
  EXPECT_FALSE(json.contains(QStringLiteral("files")));
}

// With stills asked for, the JSON names the pairs written, and each pair shows one frame.
TEST(GrabCompare, JsonWithStillsNamesTheFiles) {
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  Result const r = Grab({QStringLiteral("--compare"), Side("b"), QStringLiteral("--json"), QStringLiteral("--at"),
                         QStringLiteral("f150"), QStringLiteral("--size"), QStringLiteral("stored"),
                         QStringLiteral("--format"), QStringLiteral("png"), QStringLiteral("-o"), dir.path(),
                         Side("a")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  QJsonObject const json = JsonOf(r);
  EXPECT_EQ(kLead, json.value(QStringLiteral("offset")).toInt(-1));
  QJsonArray const files = json.value(QStringLiteral("files")).toArray();
  ASSERT_EQ(2, files.size());
  EXPECT_EQ(150, Barcode(QImage(files[0].toString())));
  EXPECT_EQ(150, Barcode(QImage(files[1].toString())));
}

// --json is for listings and comparisons only.
TEST(GrabCompare, JsonNeedsListOrCompare) {
  Result const r = Grab({QStringLiteral("--json"), QStringLiteral("--count"), QStringLiteral("2"), Side("a")});
  EXPECT_EQ(2, r.exit);
  EXPECT_TRUE(r.err.contains(QStringLiteral("--list or --compare"))) << r.err.toStdString();
}

// Following the other disc: each frame asked comes back written, showing that frame; a line
// that is not a frame number is answered, not waited on; the end of input ends it.
TEST(GrabFollow, FramesAskedComeBackWithTheirPictures) {
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  Follower follow({QStringLiteral("--follow"), dir.path(), QStringLiteral("--size"), QStringLiteral("stored"),
                   Side("b")});
  QString const ready = follow.Answer();
  ASSERT_EQ(QStringLiteral("ready 1 %1").arg(kSourceFrames + kLead), ready) << follow.Errors().toStdString();
  // b's frame n + 37 shows a's frame n.
  for (int frame : {137, 138, 400, 139, 37}) {
    follow.Ask(QByteArray::number(frame) + "\n");
    auto const [answered, code] = FrameAnswered(follow.Answer());
    EXPECT_EQ(frame, answered);
    EXPECT_EQ(frame - kLead, code) << "frame " << frame;
  }
  follow.Ask("bogus\n");
  EXPECT_EQ(QStringLiteral("error \"bogus\" is not a frame number"), follow.Answer());
  follow.Ask("100000\n");
  EXPECT_EQ(QStringLiteral("frame 100000 none"), follow.Answer());
  // Many asked at once: the newest is taken, and it is the last answered.
  follow.Ask("200\n201\n202\n203\n500\n");
  QStringList answers;
  for (QString a = follow.Answer(); !a.isEmpty(); a = follow.Answer()) {
    answers << a;
    if (FrameAnswered(a).first == 500) break;
  }
  ASSERT_FALSE(answers.isEmpty());
  EXPECT_LT(answers.size(), 5) << answers.join(QLatin1String(" | ")).toStdString();
  auto const [last, code] = FrameAnswered(answers.last());
  EXPECT_EQ(500, last);
  EXPECT_EQ(500 - kLead, code);
  EXPECT_EQ(0, follow.End());
  EXPECT_TRUE(follow.Errors().contains(QStringLiteral("\"bogus\" is not a frame number")));
}

// A folder that cannot be made, or --follow with stills to take: a clear refusal at once.
TEST(GrabFollow, BadArgumentsAreRefused) {
  Result const stills = Grab({QStringLiteral("--follow"), QStringLiteral("/tmp"), QStringLiteral("--count"),
                              QStringLiteral("3"), Side("b")});
  EXPECT_EQ(2, stills.exit);
  EXPECT_TRUE(stills.err.contains(QStringLiteral("--follow"))) << stills.err.toStdString();
  Result const folder = Grab({QStringLiteral("--follow"), QStringLiteral("/proc/no/such"), Side("b")});
  EXPECT_EQ(2, folder.exit);
  EXPECT_TRUE(folder.err.contains(QStringLiteral("cannot be made"))) << folder.err.toStdString();
}
