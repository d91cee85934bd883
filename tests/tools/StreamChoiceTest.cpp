// tavelo-grab --audio and --subtitles=LANG|N: the streams named by language or by their
// number in --list, the stills carrying the subtitle chosen (English: a white box at
// 64,64-192,128; German: at 528,352-656,416, on the streams disc and the soft film disc),
// and a stream the title does not have refused as a bad argument.
#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "GrabRun.h"

namespace {

using tavelo_test::Disc;
using tavelo_test::Grab;
using tavelo_test::Result;

QString SoftFilm() { return QStringLiteral(TAVELO_FILM_DISCS "/soft"); }

class StreamChoiceTest : public testing::Test {
 protected:
  // The still at 1 s at its stored size, with the options given.
  QImage At1(QStringList const& args, QString const& disc) {
    return tavelo_test::StoredStillAt(QStringLiteral("1"), args, mOut.path(), disc);
  }
  static bool BoxAt(QImage const& still, int x, int y) { return tavelo_test::WhiteAt(still, x, y); }
  static bool English(QImage const& still) { return BoxAt(still, 128, 96); }
  static bool German(QImage const& still) { return BoxAt(still, 592, 384); }
  QTemporaryDir mOut;
};

TEST_F(StreamChoiceTest, ListNumbersTheStreamsFromZero) {
  Result const r = Grab({QStringLiteral("--list"), Disc("streams")});
  ASSERT_EQ(0, r.exit) << r.err.toStdString();
  ASSERT_EQ(1, r.lines.size());
  EXPECT_TRUE(r.lines[0].endsWith(
      QLatin1String("audio: 0 en (AC-3 2ch), 1 fr (AC-3 2ch); subtitles: 0 en, 1 de")))
      << r.lines[0].toStdString();
}

TEST_F(StreamChoiceTest, TheSubtitleChosenByLanguageOrNumberIsTheOneDrawn) {
  for (QString const& disc : {Disc("streams"), SoftFilm()}) {
    std::string const on = disc.toStdString();
    QImage still = At1({QStringLiteral("--subtitles=de")}, disc);
    ASSERT_FALSE(still.isNull()) << on;
    EXPECT_TRUE(German(still)) << on;
    EXPECT_FALSE(English(still)) << on;
    still = At1({QStringLiteral("--subtitles=1")}, disc);
    EXPECT_TRUE(German(still)) << on;
    EXPECT_FALSE(English(still)) << on;
    still = At1({QStringLiteral("--subtitles=en")}, disc);
    EXPECT_TRUE(English(still)) << on;
    EXPECT_FALSE(German(still)) << on;
    // The last word wins.
    still = At1({QStringLiteral("--subtitles=de"), QStringLiteral("--no-subtitles")}, disc);
    EXPECT_FALSE(English(still)) << on;
    EXPECT_FALSE(German(still)) << on;
  }
}

TEST_F(StreamChoiceTest, SoundIsChosenInEitherFormAndSubtitlesAloneStayAFlag) {
  QString const disc = Disc("streams");
  for (QStringList const& args : {QStringList{QStringLiteral("--audio=fr")},
                                  QStringList{QStringLiteral("--audio"), QStringLiteral("fr")},
                                  QStringList{QStringLiteral("--audio=1")},
                                  QStringList{QStringLiteral("--audio=FR")}}) {
    EXPECT_FALSE(At1(args, disc).isNull()) << args.join(QLatin1Char(' ')).toStdString();
  }
  // --subtitles just before the disc takes no value from it.
  Result const r = Grab({QStringLiteral("--at"), QStringLiteral("1"), QStringLiteral("-o"),
                         mOut.path(), QStringLiteral("--subtitles"), disc});
  EXPECT_EQ(0, r.exit) << r.err.toStdString();
  EXPECT_EQ(1, r.lines.size());
}

TEST_F(StreamChoiceTest, AStreamTheTitleDoesNotHaveExitsWithTwoNamingIt) {
  struct Case {
    QStringList args;
    char const* named;
  };
  std::vector<Case> const cases = {
      {{QStringLiteral("--audio=xx")}, "--audio: xx"},
      {{QStringLiteral("--audio"), QStringLiteral("2")}, "--audio: 2"},
      {{QStringLiteral("--subtitles=9")}, "--subtitles: 9"},
      {{QStringLiteral("--subtitles=2")}, "--subtitles: 2"},
      {{QStringLiteral("--subtitles=fr")}, "--subtitles: fr"},
      {{QStringLiteral("--subtitles=")}, "--subtitles"},
      {{QStringLiteral("--subtitles=german")}, "--subtitles"},
      {{QStringLiteral("--audio=-1")}, "--audio"},
  };
  for (Case const& c : cases) {
    QStringList args = c.args;
    args << QStringLiteral("--at") << QStringLiteral("1") << QStringLiteral("-o") << mOut.path()
         << Disc("streams");
    Result const r = Grab(args);
    EXPECT_EQ(2, r.exit) << args.join(QLatin1Char(' ')).toStdString();
    EXPECT_TRUE(r.err.contains(QLatin1String(c.named))) << r.err.toStdString();
    EXPECT_TRUE(r.lines.isEmpty());
  }
  EXPECT_TRUE(QDir(mOut.path()).isEmpty()) << "nothing written";
}

}  // namespace
