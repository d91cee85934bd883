// tavelo-grab and closed captions, on the caption disc: title 1's pictures carry line-21
// captions written from cues.txt ("FIRST END TEXT", frames at 30000/1001, "|" between rows),
// title 2 the same pictures without them.
#include <QDir>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTextStream>
#include <gtest/gtest.h>

#include "GrabRun.h"

namespace {

using tavelo_test::Grab;
using tavelo_test::Result;

QString CaptionDisc() { return QStringLiteral(TAVELO_CAPTION_DISCS "/captions"); }

struct Cue {
  qint64 startMs = 0;
  qint64 endMs = 0;
  QString text;
};

// The authored cues, their frames as times.
std::vector<Cue> Authored() {
  std::vector<Cue> cues;
  QFile file(QStringLiteral(TAVELO_CAPTION_DISCS "/cues.txt"));
  EXPECT_TRUE(file.open(QIODevice::ReadOnly));
  QTextStream in(&file);
  static QRegularExpression const line(QStringLiteral("^(\\d+) (\\d+) (.+)$"));
  while (!in.atEnd()) {
    QRegularExpressionMatch const m = line.match(in.readLine());
    if (!m.hasMatch()) continue;
    cues.push_back({m.captured(1).toLongLong() * 1001 / 30, m.captured(2).toLongLong() * 1001 / 30,
                    m.captured(3).replace(QLatin1Char('|'), QLatin1Char('\n'))});
  }
  return cues;
}

qint64 Ms(QString const& t) {
  static QRegularExpression const time(QStringLiteral("^(\\d\\d):(\\d\\d):(\\d\\d),(\\d\\d\\d)$"));
  QRegularExpressionMatch const m = time.match(t);
  if (!m.hasMatch()) return -1;
  return ((m.captured(1).toLongLong() * 60 + m.captured(2).toLongLong()) * 60 +
          m.captured(3).toLongLong()) * 1000 + m.captured(4).toLongLong();
}

// A SubRip file's cues; empty when it does not read as one.
std::vector<Cue> ReadSrt(QString const& path) {
  std::vector<Cue> cues;
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return cues;
  QStringList const blocks = QString::fromUtf8(file.readAll()).split(QStringLiteral("\n\n"), Qt::SkipEmptyParts);
  int n = 0;
  for (QString const& block : blocks) {
    QStringList const lines = block.split(QLatin1Char('\n'));
    QStringList const times = lines.value(1).split(QStringLiteral(" --> "));
    if (lines.size() < 3 || lines[0].toInt() != ++n || times.size() != 2) return {};
    cues.push_back({Ms(times[0]), Ms(times[1]), lines.mid(2).join(QLatin1Char('\n'))});
  }
  return cues;
}

class CaptionFileTest : public testing::TestWithParam<char const*> {};

// Title 1 carries them in the pictures' user data, title 3 in the groups'.
INSTANTIATE_TEST_SUITE_P(BothForms, CaptionFileTest, testing::Values("1", "3"));

TEST_P(CaptionFileTest, TheCaptionsFileHasTheAuthoredWordsAtTheirTimes) {
  QTemporaryDir out;
  QString const srt = out.filePath(QStringLiteral("title.srt"));
  Result const r = Grab({QStringLiteral("--title"), QLatin1String(GetParam()), QStringLiteral("--captions"),
                         srt, CaptionDisc()});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  EXPECT_EQ(QStringList{srt}, r.lines) << "only the captions file is written";
  auto const authored = Authored();
  auto const written = ReadSrt(srt);
  ASSERT_EQ(3u, authored.size());
  ASSERT_EQ(authored.size(), written.size());
  qint64 const frame = 34;  // ms, a frame and its rounding
  for (size_t i = 0; i < written.size(); ++i) {
    EXPECT_EQ(authored[i].text, written[i].text);
    EXPECT_LE(std::abs(authored[i].startMs - written[i].startMs), frame) << i;
    EXPECT_LE(std::abs(authored[i].endMs - written[i].endMs), frame) << i;
  }
}

TEST(CaptionGrabTest, ATitleWithoutCaptionsOrAFileThatCannotBeWrittenLeavesNoFile) {
  QTemporaryDir out;
  QString const srt = out.filePath(QStringLiteral("title2.srt"));
  Result const none = Grab({QStringLiteral("--title"), QStringLiteral("2"), QStringLiteral("--captions"),
                            srt, CaptionDisc()});
  EXPECT_EQ(1, none.exit);
  EXPECT_TRUE(none.err.contains(QStringLiteral("carries no closed captions"))) << none.err.toStdString();
  EXPECT_FALSE(QFile::exists(srt));
  QString const missing = out.filePath(QStringLiteral("no/such/folder/t.srt"));
  Result const unwritable = Grab({QStringLiteral("--title"), QStringLiteral("1"),
                                  QStringLiteral("--captions"), missing, CaptionDisc()});
  EXPECT_EQ(1, unwritable.exit);
  EXPECT_TRUE(unwritable.err.contains(QStringLiteral("--captions"))) << unwritable.err.toStdString();
  EXPECT_TRUE(QDir(out.path()).entryList(QDir::Files | QDir::NoDotAndDotDot).isEmpty());
  EXPECT_EQ(2, Grab({QStringLiteral("--captions"), CaptionDisc()}).exit) << "no file named";
}

// Pixels of the lower half that differ between two stills of one frame.
int LowerDifference(QImage const& a, QImage const& b) {
  if (a.size() != b.size() || a.isNull()) return -1;
  int differ = 0;
  for (int y = a.height() / 2; y < a.height(); ++y) {
    for (int x = 0; x < a.width(); ++x) {
      QRgb const p = a.pixel(x, y);
      QRgb const q = b.pixel(x, y);
      if (std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) + std::abs(qBlue(p) - qBlue(q)) > 150) {
        ++differ;
      }
    }
  }
  return differ;
}

TEST(CaptionGrabTest, StillsWithCaptionsShownHaveTheCaptionOfTheirFrame) {
  QTemporaryDir out;
  QStringList const title{QStringLiteral("--title"), QStringLiteral("1")};
  QStringList const cc = title + QStringList{QStringLiteral("--subtitles=cc")};
  // Frame 200 (6.673 s): in the second caption, loaded three picture groups before the one
  // a seek lands in; frame 135: between captions.
  QImage const with = tavelo_test::StoredStillAt(QStringLiteral("f200"), cc, out.filePath(QStringLiteral("a")), CaptionDisc());
  QImage const without = tavelo_test::StoredStillAt(QStringLiteral("f200"), title, out.filePath(QStringLiteral("b")), CaptionDisc());
  ASSERT_FALSE(with.isNull());
  EXPECT_EQ(200, tavelo_test::Barcode(with));
  EXPECT_GT(LowerDifference(with, without), 2000) << "the caption's box and letters";
  QImage const between = tavelo_test::StoredStillAt(QStringLiteral("f135"), cc, out.filePath(QStringLiteral("c")), CaptionDisc());
  QImage const plain = tavelo_test::StoredStillAt(QStringLiteral("f135"), title, out.filePath(QStringLiteral("d")), CaptionDisc());
  EXPECT_EQ(0, LowerDifference(between, plain)) << "no caption on screen then";
}

}  // namespace
