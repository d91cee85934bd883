// tavelo-grab on film: the same barcoded 23.976 film carried to NTSC by pulldown flags (a
// second encoder's soft telecine) and by telecine coded into interlaced frames (hard). Every
// film frame carries its number, so each still says which film frame it is.
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
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "GrabRun.h"

namespace {

using tavelo_test::Barcode;
using tavelo_test::Grab;
using tavelo_test::Result;

QString Film(char const* name) { return QStringLiteral(TAVELO_FILM_DISCS "/") + QLatin1String(name); }

// The film frame on screen at a time: within one of floor(t x 24000/1001), whichever way
// the encoder lined its cadence up.
bool FilmFrameAt(double seconds, int barcode) {
  int const due = int(std::floor(seconds * 24000.0 / 1001.0 + 1e-9));
  return barcode >= 0 && std::abs(barcode - due) <= 1;
}

// The frame a still was taken at, from a name made of {frame}.
int FrameOf(QString const& path) { return QFileInfo(path).completeBaseName().toInt(); }

// Luma of a still (BT.601, full range as the still is), and of the source's film frame n as
// made again by the graph the disc was authored from, expanded to full range the same way.
std::vector<double> StillLuma(QImage const& image) {
  std::vector<double> luma;
  luma.reserve(size_t(image.width()) * size_t(image.height()));
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      QRgb const p = image.pixel(x, y);
      luma.push_back(0.299 * qRed(p) + 0.587 * qGreen(p) + 0.114 * qBlue(p));
    }
  }
  return luma;
}

std::vector<double> SourceLuma(int frame) {
  QFile graphFile(Film("source.graph"));
  if (!graphFile.open(QIODevice::ReadOnly)) return {};
  QString const graph = QString::fromUtf8(graphFile.readAll()).trimmed();
  QProcess p;
  p.start(QStringLiteral("ffmpeg"),
          {QStringLiteral("-nostdin"), QStringLiteral("-loglevel"), QStringLiteral("error"),
           QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"), graph,
           QStringLiteral("-vf"), QStringLiteral("select=eq(n\\,%1)").arg(frame),
           QStringLiteral("-frames:v"), QStringLiteral("1"), QStringLiteral("-pix_fmt"),
           QStringLiteral("gray"), QStringLiteral("-f"), QStringLiteral("rawvideo"),
           QStringLiteral("-")});
  if (!p.waitForFinished(120000)) return {};
  QByteArray const bytes = p.readAllStandardOutput();
  std::vector<double> luma;
  luma.reserve(size_t(bytes.size()));
  for (char const c : bytes) luma.push_back(double(static_cast<unsigned char>(c)));
  return luma;
}

// Luma PSNR in dB.
double PSNR(std::vector<double> const& a, std::vector<double> const& b) {
  if (a.size() != b.size() || a.empty()) return 0;
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
  double const mse = sum / double(a.size());
  return mse <= 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / mse);
}

// How strongly lines stand out from the lines above and below (combing doubles it where
// two moments' fields are woven together).
double Combing(std::vector<double> const& luma, int width) {
  int const height = int(luma.size()) / width;
  double sum = 0;
  for (int y = 1; y + 1 < height; ++y) {
    for (int x = 0; x < width; ++x) {
      size_t const i = size_t(y) * size_t(width) + size_t(x);
      sum += std::abs(2 * luma[i] - luma[i - size_t(width)] - luma[i + size_t(width)]);
    }
  }
  return sum / double(size_t(width) * size_t(height - 2));
}

class FilmStillsTest : public testing::Test {
 protected:
  QTemporaryDir mOut;
  QString Out() const { return mOut.path(); }
  QStringList Take(QStringList args, char const* disc) {
    args << QStringLiteral("--size") << QStringLiteral("stored") << QStringLiteral("--format")
         << QStringLiteral("png") << QStringLiteral("--name") << QStringLiteral("{frame}")
         << QStringLiteral("-o") << Out() << Film(disc);
    Result const r = Grab(args);
    EXPECT_EQ(0, r.exit) << r.err.toStdString();
    return r.lines;
  }
};

TEST_F(FilmStillsTest, ListSaysWhichTitlesAreFilmAndHowTheyAreCarried) {
  struct Case {
    char const* disc;
    char const* telecine;
  };
  for (Case const c : {Case{"soft", "soft"}, Case{"hard", "hard"}}) {
    Result const r = Grab({QStringLiteral("--list"), QStringLiteral("--json"), Film(c.disc)});
    ASSERT_EQ(0, r.exit) << r.err.toStdString();
    QJsonObject const t = QJsonDocument::fromJson(r.lines.join(QLatin1Char('\n')).toUtf8())
                              .object().value(QStringLiteral("titles")).toArray()[0].toObject();
    EXPECT_EQ(QStringLiteral("film"), t.value(QStringLiteral("content")).toString()) << c.disc;
    EXPECT_EQ(QLatin1String(c.telecine), t.value(QStringLiteral("telecine")).toString()) << c.disc;
    EXPECT_EQ(QStringLiteral("24000/1001"), t.value(QStringLiteral("frameRate")).toString()) << c.disc;
    EXPECT_EQ(QStringLiteral("16:9"), t.value(QStringLiteral("aspect")).toString());
    EXPECT_EQ(2, t.value(QStringLiteral("audio")).toArray().size());
    EXPECT_EQ(2, t.value(QStringLiteral("subtitles")).toArray().size());
    // 480 film frames are 600 frames at 30000/1001.
    EXPECT_EQ(600, t.value(QStringLiteral("frames")).toInt()) << c.disc;
  }
  Result const video = Grab({QStringLiteral("--list"), QStringLiteral("--json"),
                             tavelo_test::Disc("frames")});
  ASSERT_EQ(0, video.exit);
  QJsonObject const v = QJsonDocument::fromJson(video.lines.join(QLatin1Char('\n')).toUtf8())
                            .object().value(QStringLiteral("titles")).toArray()[0].toObject();
  EXPECT_EQ(QStringLiteral("video"), v.value(QStringLiteral("content")).toString());
  EXPECT_EQ(QStringLiteral("30000/1001"), v.value(QStringLiteral("frameRate")).toString());
  Result const text = Grab({QStringLiteral("--list"), Film("soft")});
  ASSERT_EQ(1, text.lines.size());
  EXPECT_TRUE(text.lines[0].contains(QLatin1String("film, soft telecine, 23.976 frames/s")))
      << text.lines[0].toStdString();
}

TEST_F(FilmStillsTest, SoftTelecineCountTakesEveryStillAsTheFilmFrameOnScreen) {
  QStringList const files = Take({QStringLiteral("--count"), QStringLiteral("12")}, "soft");
  ASSERT_EQ(12, files.size());
  for (QString const& f : files) {
    int const frame = FrameOf(f);
    EXPECT_TRUE(FilmFrameAt(frame * 1001.0 / 30000.0, Barcode(QImage(f))))
        << "frame " << frame << " shows film frame " << Barcode(QImage(f));
  }
}

TEST_F(FilmStillsTest, SoftTelecineEveryTwoSecondsTakesEveryStill) {
  QStringList const files = Take({QStringLiteral("--every"), QStringLiteral("2")}, "soft");
  // 0, 2, ... 20 s: the title is 20.02 s long.
  ASSERT_EQ(11, files.size());
  for (int k = 0; k < files.size(); ++k) {
    EXPECT_TRUE(FilmFrameAt(2.0 * k, Barcode(QImage(files[k]))))
        << "at " << 2 * k << " s: film frame " << Barcode(QImage(files[k]));
  }
}

TEST_F(FilmStillsTest, SoftTelecineAtEveryTenthOfASecondTakesTheFilmFrameOnScreen) {
  QStringList times;
  for (int k = 0; k < 100; ++k) times << QString::number(k / 10.0, 'f', 1);
  QStringList const files = Take({QStringLiteral("--at"), times.join(QLatin1Char(','))}, "soft");
  ASSERT_EQ(100, files.size());
  int last = -1;
  for (int k = 0; k < files.size(); ++k) {
    int const code = Barcode(QImage(files[k]));
    EXPECT_TRUE(FilmFrameAt(k / 10.0, code)) << "at " << k / 10.0 << " s: film frame " << code;
    EXPECT_GT(code, last) << "at " << k / 10.0 << " s";
    last = code;
  }
}

TEST_F(FilmStillsTest, HardTelecineAutoStillsAreTheFilmFramesWovenWhole) {
  // Every frame position of two cadences, a second into the title.
  QStringList positions;
  for (int f = 30; f < 40; ++f) positions << QStringLiteral("f%1").arg(f);
  QString const at = positions.join(QLatin1Char(','));
  QStringList const woven = Take({QStringLiteral("--at"), at}, "hard");
  ASSERT_EQ(10, woven.size());
  QTemporaryDir adaptiveOut;
  Result const adaptive =
      Grab({QStringLiteral("--at"), at, QStringLiteral("--deinterlace"), QStringLiteral("adaptive"),
            QStringLiteral("--size"), QStringLiteral("stored"), QStringLiteral("--format"),
            QStringLiteral("png"), QStringLiteral("--name"), QStringLiteral("{frame}"),
            QStringLiteral("-o"), adaptiveOut.path(), Film("hard")});
  ASSERT_EQ(0, adaptive.exit) << adaptive.err.toStdString();
  ASSERT_EQ(10, adaptive.lines.size());

  std::vector<int> films;
  for (int i = 0; i < woven.size(); ++i) {
    QImage const still(woven[i]);
    ASSERT_EQ(QSize(720, 480), still.size());
    int const film = Barcode(still);
    ASSERT_GE(film, 0) << woven[i].toStdString();
    films.push_back(film);
    std::vector<double> const source = SourceLuma(film);
    std::vector<double> const luma = StillLuma(still);
    ASSERT_EQ(source.size(), luma.size());
    double const psnr = PSNR(luma, source);
    double const combing = Combing(luma, 720) / Combing(source, 720);
    double const bwdif = PSNR(StillLuma(QImage(adaptive.lines[i])), source);
    std::printf("frame %d: film frame %d, woven %.2f dB (combing x%.3f), adaptive %.2f dB\n",
                FrameOf(woven[i]), film, psnr, combing, bwdif);
    EXPECT_GE(psnr, 38.0) << "frame " << FrameOf(woven[i]);
    EXPECT_LT(combing, 1.15) << "frame " << FrameOf(woven[i]);
    EXPECT_GT(psnr, bwdif) << "frame " << FrameOf(woven[i]);
  }
  // Each cadence of 5 frames gives its 4 film frames: over two cadences, 8 film frames in
  // order, none skipped, the one shown twice 5 frames after the last.
  std::vector<size_t> repeats;
  for (size_t i = 1; i < films.size(); ++i) {
    EXPECT_TRUE(films[i] == films[i - 1] || films[i] == films[i - 1] + 1) << i;
    if (films[i] == films[i - 1]) repeats.push_back(i);
  }
  ASSERT_EQ(2u, repeats.size());
  EXPECT_EQ(5u, repeats[1] - repeats[0]);
  EXPECT_EQ(8u, std::set<int>(films.begin(), films.end()).size());
}

}  // namespace
