#include "GrabCommand.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSaveFile>

#include <cstdlib>
#include <optional>

#include <unistd.h>

#include "GrabCompare.h"
#include "GrabFollow.h"
#include "StillBatch.h"
#include "StillNames.h"
#include "StillPlan.h"
#include "StillTaker.h"

char const GrabCommand::kUsage[] =
    "usage: tavelo-grab [options] DISC\n"
    "Stills from a DVD (a VIDEO_TS folder, a folder holding one, a mounted disc, an ISO image\n"
    "or a block device), frame-exact, without a display.\n"
    "\n"
    "  --list              the disc's titles and their streams, numbered from 0, then exit\n"
    "                      (--json: as JSON)\n"
    "  --title N           the title (default: the longest)\n"
    "What to take (one of; default --chapters):\n"
    "  --at TIMES          comma-separated: seconds (83.5), m:ss, h:mm:ss[.mmm] or a frame (f2500)\n"
    "  --every SECONDS     one every so many seconds from the start\n"
    "  --chapters          the first frame of each chapter\n"
    "  --count N           N spread evenly over the title\n"
    "Output:\n"
    "  -o DIR              the folder (default: the current one; made when missing);\n"
    "                      with --sheet, a file name or a folder\n"
    "  --format jpg|png|tif  (default jpg)\n"
    "  --quality 1-100     JPEG quality (default 90)\n"
    "  --name TEMPLATE     fields {disc} {title} {chapter} {time} {frame} {n}\n"
    "                      (default \"{disc} T{title} C{chapter} {time}\"); files of the same\n"
    "                      name are replaced\n"
    "  --size square|itu|stored|WxH  (default square: 640x480, 854x480, 768x576, 1024x576)\n"
    "  --deinterlace auto|off|blend|adaptive  (default auto)\n"
    "  --subtitles, --no-subtitles  draw the subtitles shown, or not (default: not)\n"
    "  --subtitles=LANG|N  draw that subtitle stream, shown: a language as --list names it\n"
    "                      (en) or its number there (from 0); only with '='\n"
    "  --subtitles=cc      draw the title's closed captions (line 21, CC1)\n"
    "  --captions FILE     write the title's closed captions to FILE as SubRip (.srt), with\n"
    "                      the times they are shown; alone, only that is done\n"
    "  --audio LANG|N      the sound stream, named the same way (default: the disc's)\n"
    "  --crop              cut black borders\n"
    "  --skip-blank        a nearly uniform still gives way to the first frame within 2 s\n"
    "                      that is not\n"
    "  --sheet COLSxROWS   one contact sheet (COLS x ROWS stills spread over the title unless\n"
    "                      told otherwise)\n"
    "  --sheet-width PX    (default 1600)\n"
    "  --compare OTHER     each still with the matching frame of another disc's title, lined\n"
    "                      up by their pictures (printed); files named with {side} (A or B),\n"
    "                      default \"{disc} {time} {side}\"; --sheet lays the pairs out in rows\n"
    "  --other-title N     the other disc's title (default: its longest)\n"
    "  --offset N          frame n of the first is frame n + N of the other: no lining up\n"
    "  --json              with --compare: the alignment (and the files written) as JSON;\n"
    "                      with no stills asked for (--at, --every, --chapters, --count,\n"
    "                      --sheet), only the alignment\n"
    "  --follow DIR        frame numbers read from standard input, one a line: each frame\n"
    "                      of the title written into DIR as PNG, answered by a line\n"
    "                      \"frame N PATH\" (\"frame N none\" when it cannot be taken); of\n"
    "                      the requests waiting, only the newest is taken\n"
    "  -q                  no progress\n"
    "Each file written is named on standard output. Exit status: 0 all written, 1 some stills\n"
    "could not be taken, 2 bad arguments, 3 the disc cannot be opened.\n";

namespace {

struct Options {
  bool list = false;
  bool json = false;
  int title = 0;
  std::optional<StillPlan::Kind> kind;
  QString at;
  uint64_t everyUs = 0;
  int count = 0;
  QString output;
  StillBatchOptions batch;
  bool typed = false;  // --format given
  int sheetRows = 0;
  bool quiet = false;
  QString disc;
  // As given, looked up in the title's streams once it is known.
  QString audio;
  QString subtitles;
  QString captionsFile;  // --captions
  GrabCompareOptions compare;  // compared when compare.other is set
  bool named = false;          // --name given
  QString follow;              // --follow: the folder frames are written into
};

// A positive whole number within [low, high].
bool Number(QString const& text, int low, int high, int* value) {
  static QRegularExpression const digits(QStringLiteral("^[0-9]{1,9}$"));
  if (!digits.match(text).hasMatch()) return false;
  int const v = text.toInt();
  if (v < low || v > high) return false;
  *value = v;
  return true;
}

// A stream named as --list names it: a two-letter language or a number.
bool StreamName(QString const& text) {
  static QRegularExpression const name(QStringLiteral("^([A-Za-z]{2}|[0-9]{1,2})$"));
  return name.match(text).hasMatch();
}
char const kStreamAccepts[] =
    "accepts a language as --list names it (en), a stream number from 0, or cc (closed captions)";

bool Pair(QString const& text, int* a, int* b) {
  QStringList const parts = text.split(QLatin1Char('x'));
  return parts.size() == 2 && Number(parts[0], 1, 100000, a) && Number(parts[1], 1, 100000, b);
}

class Parser {
 public:
  Parser(QStringList const& args, std::FILE* err) : mArgs(args), mErr(err) {}
  // False with the message written.
  bool Parse(Options* o);

 private:
  bool Bad(QString const& argument, char const* accepts) {
    std::fprintf(mErr, "tavelo-grab: %s: %s\n", argument.toLocal8Bit().constData(), accepts);
    return false;
  }
  bool SetKind(Options* o, StillPlan::Kind kind, QString const& name) {
    if (o->kind && *o->kind != kind) return Bad(name, "only one of --at, --every, --chapters, --count");
    o->kind = kind;
    return true;
  }

  QStringList const& mArgs;
  std::FILE* mErr;
};

bool Parser::Parse(Options* o) {
  o->batch.choices.subtitles = false;
  for (qsizetype i = 0; i < mArgs.size(); ++i) {
    QString name = mArgs[i];
    QString value;
    bool inlineValue = false;
    if (name.startsWith(QLatin1String("--")) && name.contains(QLatin1Char('='))) {
      value = name.mid(name.indexOf(QLatin1Char('=')) + 1);
      name = name.left(name.indexOf(QLatin1Char('=')));
      inlineValue = true;
    }
    static QStringList const withValue{
        QStringLiteral("--title"),   QStringLiteral("--at"),      QStringLiteral("--every"),
        QStringLiteral("--count"),   QStringLiteral("-o"),        QStringLiteral("--format"),
        QStringLiteral("--quality"), QStringLiteral("--name"),    QStringLiteral("--size"),
        QStringLiteral("--deinterlace"), QStringLiteral("--sheet"), QStringLiteral("--sheet-width"),
        QStringLiteral("--audio"), QStringLiteral("--captions"), QStringLiteral("--compare"),
        QStringLiteral("--other-title"), QStringLiteral("--offset"), QStringLiteral("--follow")};
    if (withValue.contains(name)) {
      if (!inlineValue) {
        if (i + 1 >= mArgs.size()) return Bad(name, "needs a value");
        value = mArgs[++i];
      }
    } else if (inlineValue && name != QLatin1String("--subtitles")) {
      // --subtitles takes its value only after '=': otherwise it would take the DISC.
      return Bad(name, "takes no value");
    }
    if (name == QLatin1String("--list")) o->list = true;
    else if (name == QLatin1String("--json")) o->json = true;
    else if (name == QLatin1String("-q")) o->quiet = true;
    else if (name == QLatin1String("--chapters")) { if (!SetKind(o, StillPlan::kChapters, name)) return false; }
    else if (name == QLatin1String("--subtitles")) {
      bool const cc = inlineValue && value.compare(QLatin1String("cc"), Qt::CaseInsensitive) == 0;
      if (inlineValue && !cc && !StreamName(value)) return Bad(name, kStreamAccepts);
      o->batch.choices.subtitles = true;
      o->batch.captions = cc;
      o->subtitles = inlineValue && !cc ? value : QString();
    } else if (name == QLatin1String("--no-subtitles")) {
      o->batch.choices.subtitles = false;
      o->batch.captions = false;
      o->subtitles.clear();
    } else if (name == QLatin1String("--captions")) {
      if (value.isEmpty() || QFileInfo(value).isDir()) return Bad(name, "accepts a file name");
      o->captionsFile = value;
    } else if (name == QLatin1String("--audio")) {
      if (!StreamName(value)) return Bad(name, kStreamAccepts);
      o->audio = value;
    }
    else if (name == QLatin1String("--crop")) o->batch.choices.cropBorders = true;
    else if (name == QLatin1String("--skip-blank")) o->batch.skipBlank = true;
    else if (name == QLatin1String("--title")) {
      if (!Number(value, 1, 99, &o->title)) return Bad(name, "accepts a title number, 1-99");
    } else if (name == QLatin1String("--at")) {
      if (!SetKind(o, StillPlan::kAt, name)) return false;
      o->at = value;
    } else if (name == QLatin1String("--every")) {
      if (!SetKind(o, StillPlan::kEvery, name)) return false;
      if (!StillPlan::ParseSeconds(value.toStdString(), &o->everyUs)) {
        return Bad(name, "accepts seconds above 0, like 10 or 2.5");
      }
    } else if (name == QLatin1String("--count")) {
      if (!SetKind(o, StillPlan::kCount, name)) return false;
      if (!Number(value, 1, 10000, &o->count)) return Bad(name, "accepts a number of stills, 1-10000");
    } else if (name == QLatin1String("-o")) {
      if (value.isEmpty()) return Bad(name, "accepts a folder (or, with --sheet, a file)");
      o->output = value;
    } else if (name == QLatin1String("--format")) {
      o->typed = true;
      if (value == QLatin1String("jpg") || value == QLatin1String("jpeg")) o->batch.type = QuikSaveImageType_JPEG;
      else if (value == QLatin1String("png")) o->batch.type = QuikSaveImageType_PNG;
      else if (value == QLatin1String("tif") || value == QLatin1String("tiff")) o->batch.type = QuikSaveImageType_TIFF;
      else return Bad(name, "accepts jpg, png or tif");
    } else if (name == QLatin1String("--quality")) {
      if (!Number(value, 1, 100, &o->batch.quality)) return Bad(name, "accepts 1-100");
    } else if (name == QLatin1String("--name")) {
      QString expanded;
      QString bad;
      if (!StillNames::Expand(QString(value).replace(QLatin1String("{side}"), QLatin1String("A")),
                              StillPlace{}, &expanded, &bad)) {
        return Bad(name, "accepts a file name with the fields {disc} {title} {chapter} {time} "
                         "{frame} {n}, no folders");
      }
      o->batch.nameTemplate = value;
      o->named = true;
    } else if (name == QLatin1String("--compare")) {
      o->compare.other = value;
    } else if (name == QLatin1String("--follow")) {
      if (value.isEmpty() || QFileInfo(value).isFile()) return Bad(name, "accepts a folder");
      o->follow = value;
    } else if (name == QLatin1String("--other-title")) {
      if (!Number(value, 1, 99, &o->compare.otherTitle)) return Bad(name, "accepts 1-99");
    } else if (name == QLatin1String("--offset")) {
      bool ok = false;
      int const offset = value.toInt(&ok);
      if (!ok || std::abs(offset) > 10000000) return Bad(name, "accepts a number of frames, + or -");
      o->compare.offset = offset;
    } else if (name == QLatin1String("--size")) {
      int w = 0;
      int h = 0;
      if (value == QLatin1String("square")) o->batch.choices.shape = kDVDStillShapeSquarePixels;
      else if (value == QLatin1String("itu")) o->batch.choices.shape = kDVDStillShapeSquarePixelsITU;
      else if (value == QLatin1String("stored")) o->batch.choices.shape = kDVDStillShapeStored;
      else if (Pair(value, &w, &h) && w <= 8192 && h <= 8192) o->batch.size = QSize(w, h);
      else return Bad(name, "accepts square, itu, stored or WIDTHxHEIGHT (up to 8192x8192)");
    } else if (name == QLatin1String("--deinterlace")) {
      if (value == QLatin1String("auto")) o->batch.choices.deinterlace = StillChoices::kAuto;
      else if (value == QLatin1String("off")) o->batch.choices.deinterlace = StillChoices::kOff;
      else if (value == QLatin1String("blend")) o->batch.choices.deinterlace = StillChoices::kBlend;
      else if (value == QLatin1String("adaptive")) o->batch.choices.deinterlace = StillChoices::kAdaptive;
      else return Bad(name, "accepts auto, off, blend or adaptive");
    } else if (name == QLatin1String("--sheet")) {
      if (!Pair(value, &o->batch.sheetCols, &o->sheetRows) || o->batch.sheetCols > 50 || o->sheetRows > 50) {
        return Bad(name, "accepts COLSxROWS, like 4x4 (up to 50x50)");
      }
      o->batch.sheet = true;
    } else if (name == QLatin1String("--sheet-width")) {
      if (!Number(value, 200, 20000, &o->batch.sheetWidth)) return Bad(name, "accepts 200-20000 pixels");
    } else if (name.startsWith(QLatin1Char('-')) && name.size() > 1) {
      return Bad(name, "is not an option (see --help)");
    } else if (o->disc.isEmpty()) {
      o->disc = name;
    } else {
      return Bad(name, "only one DISC");
    }
  }
  if (o->disc.isEmpty()) return Bad(QStringLiteral("DISC"), "missing: a VIDEO_TS folder, a disc, an image or a device");
  if (o->json && !o->list && o->compare.other.isEmpty()) {
    return Bad(QStringLiteral("--json"), "goes with --list or --compare");
  }
  if (!o->follow.isEmpty() && (o->list || !o->compare.other.isEmpty() || o->kind || o->batch.sheet)) {
    return Bad(QStringLiteral("--follow"), "takes frames as they are asked: no --list, --compare, "
                                           "--sheet or stills to take");
  }
  return true;
}

QString Language(DVDLanguageCode code) {
  if (code == 0) return QStringLiteral("unknown");
  return QString(QChar(char(code >> 8))) + QChar(char(code & 0xff));
}

QString Format(UInt8 format) {
  switch (format) {
    case kDVDAudioFormatAC3: return QStringLiteral("AC-3");
    case kDVDAudioFormatMPEG: return QStringLiteral("MPEG");
    case kDVDAudioFormatLPCM: return QStringLiteral("LPCM");
    case kDVDAudioFormatDTS: return QStringLiteral("DTS");
    default: return QStringLiteral("other");
  }
}

QString Duration(uint64_t ms) { return StillNames::DurationText(ms); }

// The stream of count, languages as the disc stores them, that text names: a language in
// either case (the first stream in it), or a number from 0; -1 when the title has none such.
int StreamNamed(QString const& text, UInt16 count, DVDLanguageCode const* languages) {
  bool number = false;
  int const n = text.toInt(&number);
  if (number) return n < count ? n : -1;
  for (UInt16 s = 0; s < count; ++s) {
    if (languages[s] != 0 && Language(languages[s]).compare(text, Qt::CaseInsensitive) == 0) {
      return s;
    }
  }
  return -1;
}

// The title's streams as --list names them ("0 en, 1 fr"), for a message.
QString Streams(UInt16 count, DVDLanguageCode const* languages) {
  QStringList names;
  for (UInt16 s = 0; s < count; ++s) names << QStringLiteral("%1 %2").arg(s).arg(Language(languages[s]));
  return names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "));
}

// Which of the title's streams an option names, into *stream (left alone when it names
// none); false with the message written.
bool ChosenStream(char const* option, QString const& text, UInt16 number, UInt16 count,
                  DVDLanguageCode const* languages, std::FILE* err, int* stream) {
  if (text.isEmpty()) return true;
  *stream = StreamNamed(text, count, languages);
  if (*stream >= 0) return true;
  std::fprintf(err, "tavelo-grab: %s: %s: not a stream of title %u (it has %s)\n", option,
               text.toUtf8().constData(), unsigned(number),
               Streams(count, languages).toUtf8().constData());
  return false;
}

// What the title carries, in JSON's words: content, telecine, and the frames a second of
// the film or video.
struct ContentText {
  QString content;
  QString telecine;
  QString rate;
  QString text;
};

ContentText Describe(StillContent content, bool pal) {
  QString const video = pal ? QStringLiteral("25") : QStringLiteral("30000/1001");
  switch (content) {
    case StillContent::kSoftTelecine:
      return {QStringLiteral("film"), QStringLiteral("soft"), QStringLiteral("24000/1001"),
              QStringLiteral("film, soft telecine, 23.976 frames/s")};
    case StillContent::kHardTelecine:
      return {QStringLiteral("film"), QStringLiteral("hard"), QStringLiteral("24000/1001"),
              QStringLiteral("film, hard telecine, 23.976 frames/s")};
    case StillContent::kVideo:
      return {QStringLiteral("video"), QStringLiteral("none"), video,
              QStringLiteral("video, %1 frames/s").arg(pal ? QStringLiteral("25") : QStringLiteral("29.97"))};
    default:
      return {QStringLiteral("unknown"), QStringLiteral("unknown"), video, QStringLiteral("content unknown")};
  }
}

void List(QString const& disc, std::vector<StillTitleInfo> const& titles,
          std::vector<StillContent> const& contents, bool json, std::FILE* out) {
  QJsonArray array;
  for (size_t n = 0; n < titles.size(); ++n) {
    StillTitleInfo const& t = titles[n];
    DVDTitleInfo const& i = t.info;
    ContentText const content =
        Describe(n < contents.size() ? contents[n] : StillContent::kUnknown, t.PAL());
    QJsonArray audio;
    QStringList audioText;
    for (UInt16 a = 0; a < std::min<UInt16>(i.audioStreams, 8); ++a) {
      audio.append(QJsonObject{{QStringLiteral("language"), Language(i.audioLanguages[a])},
                               {QStringLiteral("format"), Format(i.audioFormats[a])},
                               {QStringLiteral("channels"), int(i.audioChannels[a])}});
      audioText << QStringLiteral("%1 %2 (%3 %4ch)").arg(a).arg(Language(i.audioLanguages[a]), Format(i.audioFormats[a])).arg(i.audioChannels[a]);
    }
    QJsonArray subtitles;
    QStringList subtitleText;
    for (UInt16 s = 0; s < std::min<UInt16>(i.subPictureStreams, 32); ++s) {
      subtitles.append(QJsonObject{{QStringLiteral("language"), Language(i.subPictureLanguages[s])}});
      subtitleText << QStringLiteral("%1 %2").arg(s).arg(Language(i.subPictureLanguages[s]));
    }
    QJsonArray chapters;
    for (uint32_t f : t.chapterFirstFrames) chapters.append(qint64(f));
    QString const standard = i.standard == kDVDVideoStandardPAL ? QStringLiteral("PAL") : QStringLiteral("NTSC");
    QString const aspect = i.aspect == kDVDAspectRatio16x9 ? QStringLiteral("16:9") : QStringLiteral("4:3");
    if (json) {
      array.append(QJsonObject{{QStringLiteral("title"), int(t.number)},
                               {QStringLiteral("duration"), Duration(i.durationMs)},
                               {QStringLiteral("durationMs"), qint64(i.durationMs)},
                               {QStringLiteral("frames"), qint64(i.frames)},
                               {QStringLiteral("chapters"), int(i.chapters)},
                               {QStringLiteral("chapterFrames"), chapters},
                               {QStringLiteral("standard"), standard},
                               {QStringLiteral("aspect"), aspect},
                               {QStringLiteral("width"), int(i.width)},
                               {QStringLiteral("height"), int(i.height)},
                               {QStringLiteral("angles"), int(i.angles)},
                               {QStringLiteral("audio"), audio},
                               {QStringLiteral("subtitles"), subtitles},
                               {QStringLiteral("content"), content.content},
                               {QStringLiteral("telecine"), content.telecine},
                               {QStringLiteral("frameRate"), content.rate}});
    } else {
      std::fprintf(out, "Title %u: %s, %u frames, %u chapters, %s %s, %s; audio: %s; subtitles: %s\n",
                   unsigned(t.number), Duration(i.durationMs).toUtf8().constData(), unsigned(i.frames),
                   unsigned(i.chapters), standard.toUtf8().constData(), aspect.toUtf8().constData(),
                   content.text.toUtf8().constData(),
                   audioText.isEmpty() ? "none" : audioText.join(QStringLiteral(", ")).toUtf8().constData(),
                   subtitleText.isEmpty() ? "none" : subtitleText.join(QStringLiteral(", ")).toUtf8().constData());
    }
  }
  if (json) {
    QJsonObject const root{{QStringLiteral("disc"), disc}, {QStringLiteral("titles"), array}};
    std::fprintf(out, "%s\n", QJsonDocument(root).toJson(QJsonDocument::Indented).constData());
  }
}

// A title frame's time as SubRip writes it: hh:mm:ss,mmm.
QString SrtTime(uint32_t frame, bool pal) {
  uint64_t const ms = StillPlan::FrameMs(frame, pal);
  return QString::asprintf("%02llu:%02llu:%02llu,%03llu", static_cast<unsigned long long>(ms / 3600000),
                           static_cast<unsigned long long>(ms / 60000 % 60),
                           static_cast<unsigned long long>(ms / 1000 % 60),
                           static_cast<unsigned long long>(ms % 1000));
}

// The title's closed captions into path as SubRip, whole or not at all; false with the
// message written.
bool WriteCaptions(StillTaker& taker, StillTitleInfo const& title, QString const& path,
                   std::FILE* out, std::FILE* err) {
  std::vector<StillCaption> cues;
  if (!taker.ShowCaptions(title.number, &cues)) {
    std::fprintf(err, "tavelo-grab: --captions: title %u cannot be read through\n", unsigned(title.number));
    return false;
  }
  if (cues.empty()) {
    std::fprintf(err, "tavelo-grab: --captions: title %u carries no closed captions\n", unsigned(title.number));
    return false;
  }
  QByteArray text;
  int n = 0;
  for (StillCaption const& c : cues) {
    text += QStringLiteral("%1\n%2 --> %3\n").arg(++n).arg(SrtTime(c.firstFrame, title.PAL()),
                                                          SrtTime(c.endFrame, title.PAL())).toUtf8();
    text += QByteArray::fromStdString(c.text) + "\n\n";
  }
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
    std::fprintf(err, "tavelo-grab: --captions: %s: %s\n", path.toLocal8Bit().constData(),
                 file.errorString().toLocal8Bit().constData());
    return false;
  }
  std::fprintf(out, "%s\n", QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath()).toUtf8().constData());
  return true;
}

}  // namespace

int GrabCommand::Run(QStringList const& args, std::FILE* out, std::FILE* err,
                     std::atomic<bool> const* cancel) {
  if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
    std::fputs(kUsage, out);
    return kWritten;
  }
  Options o;
  if (!Parser(args, err).Parse(&o)) return kBadArguments;

  StillTaker taker;
  QString why;
  if (taker.Open(o.disc, &why) != noErr) {
    std::fprintf(err, "tavelo-grab: %s: %s\n", o.disc.toLocal8Bit().constData(), why.toUtf8().constData());
    return kDiscUnusable;
  }
  QString const discName = StillNames::DiscName(o.disc);
  if (o.list) {
    std::vector<StillContent> contents;
    for (StillTitleInfo const& t : taker.Titles()) contents.push_back(taker.Examine(t));
    List(discName, taker.Titles(), contents, o.json, out);
    return kWritten;
  }
  UInt16 const number = o.title ? UInt16(o.title) : taker.LongestTitle();
  StillTitleInfo const* title = nullptr;
  for (StillTitleInfo const& t : taker.Titles()) {
    if (t.number == number) title = &t;
  }
  if (!title) {
    std::fprintf(err, "tavelo-grab: --title: accepts 1-%zu on this disc\n", taker.Titles().size());
    return kBadArguments;
  }
  DVDTitleInfo const& streams = title->info;
  if (!ChosenStream("--audio", o.audio, number, std::min<UInt16>(streams.audioStreams, 8),
                    streams.audioLanguages, err, &o.batch.audioStream) ||
      !ChosenStream("--subtitles", o.subtitles, number,
                    std::min<UInt16>(streams.subPictureStreams, 32), streams.subPictureLanguages,
                    err, &o.batch.subtitleStream)) {
    return kBadArguments;
  }
  if (!o.follow.isEmpty()) {
    if (!QDir().mkpath(o.follow)) {
      std::fprintf(err, "tavelo-grab: --follow: %s cannot be made\n", o.follow.toLocal8Bit().constData());
      return kBadArguments;
    }
    if (!taker.StartTitle(number)) {
      std::fprintf(err, "tavelo-grab: title %u does not play\n", unsigned(number));
      return kDiscUnusable;
    }
    return GrabFollow::Run(taker, *title, o.batch, o.follow, STDIN_FILENO, out, err, cancel) == 0
               ? kWritten
               : kSomeMissing;
  }
  if (!o.captionsFile.isEmpty()) {
    if (!WriteCaptions(taker, *title, o.captionsFile, out, err)) return kSomeMissing;
    if (!o.kind && !o.batch.sheet) return kWritten;
  }
  bool const pal = title->PAL();
  StillTitle planned = title->Planned();
  std::vector<uint32_t> at;
  if (o.kind == StillPlan::kAt) {
    std::string bad;
    if (!StillPlan::ParseTimes(o.at.toStdString(), pal, &at, &bad)) {
      std::fprintf(err, "tavelo-grab: --at: %s: accepts seconds (83.5), m:ss, h:mm:ss[.mmm] or f<frame>\n",
                   bad.c_str());
      return kBadArguments;
    }
  }
  StillPlan::Kind const kind = o.kind.value_or(o.batch.sheet ? StillPlan::kCount : StillPlan::kChapters);
  int const count = o.count ? o.count : (o.batch.sheet ? o.batch.sheetCols * o.sheetRows : 0);
  StillPlan plan;
  plan.Construct(planned, kind, at, o.everyUs, count);

  // Where files go.
  o.batch.folder = QDir::currentPath();
  if (!o.output.isEmpty()) {
    QFileInfo const info(o.output);
    if (o.batch.sheet && !info.isDir() && !o.output.endsWith(QLatin1Char('/'))) {
      o.batch.sheetPath = info.absoluteFilePath();
      o.batch.folder = info.absolutePath();
      // A sheet file's own extension says its type unless --format does.
      QString const suffix = info.suffix().toLower();
      if (!o.typed && suffix == QLatin1String("png")) o.batch.type = QuikSaveImageType_PNG;
      if (!o.typed && (suffix == QLatin1String("tif") || suffix == QLatin1String("tiff"))) {
        o.batch.type = QuikSaveImageType_TIFF;
      }
    } else {
      o.batch.folder = info.absoluteFilePath();
    }
  }
  if (!QDir().mkpath(o.batch.folder)) {
    std::fprintf(err, "tavelo-grab: -o: %s cannot be made\n", o.batch.folder.toLocal8Bit().constData());
    return kBadArguments;
  }

  bool const bar = !o.quiet && ::isatty(::fileno(err));
  StillBatchReport report;
  report.written = [out](QString const& path) {
    std::fprintf(out, "%s\n", QDir::toNativeSeparators(path).toUtf8().constData());
    std::fflush(out);
  };
  report.failed = [err](QString const& what) {
    std::fprintf(err, "tavelo-grab: %s\n", what.toUtf8().constData());
  };
  if (bar) {
    report.progress = [err](int done, int total) {
      int const width = 40;
      int const filled = total ? done * width / total : width;
      std::fprintf(err, "\r[%s%s] %d/%d", std::string(size_t(filled), '#').c_str(),
                   std::string(size_t(width - filled), ' ').c_str(), done, total);
      if (done == total) std::fputc('\n', err);
      std::fflush(err);
    };
  }
  if (!o.compare.other.isEmpty()) {
    o.compare.first = o.disc;
    if (!o.named) o.batch.nameTemplate = QStringLiteral("{disc} {time} {side}");
    // As JSON the files are named there, after the alignment.
    o.compare.alignOnly = o.json && !o.kind && !o.batch.sheet;
    QStringList files;
    if (o.json) report.written = [&files](QString const& path) { files << QDir::toNativeSeparators(path); };
    GrabAlignment alignment;
    int const missing = GrabCompare::Run(taker, discName, *title, plan, o.batch, o.compare, report,
                                         err, cancel, &alignment);
    if (o.json && missing >= 0) alignment.PrintJson(files, out);
    return missing < 0 ? kDiscUnusable : missing ? kSomeMissing : kWritten;
  }
  int const failures = StillBatch::Run(taker, discName, *title, plan, o.batch, report, cancel);
  return failures ? kSomeMissing : kWritten;
}
