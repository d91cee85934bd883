#include "GrabCompare.h"

#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdlib>
#include <memory>
#include <vector>

#include "NSBitmapImageRep.h"
#include "StillAlign.h"
#include "StillMaker.h"
#include "StillNames.h"
#include "StillSheet.h"

namespace {

struct Side {
  char const* letter;
  UInt16 title = 0;
  std::vector<uint32_t> frames;  // the plan's, or their matches; kDVDNoFrame: none
};

}  // namespace

QImage GrabCompare::ImageOf(NSBitmapImageRep const& bitmap) {
  // Every still is R, G, B in 32 bits.
  return QImage(bitmap.bitmapData(), int(bitmap.pixelsWide()), int(bitmap.pixelsHigh()),
                qsizetype(bitmap.bytesPerRow()), QImage::Format_RGBX8888);
}

std::shared_ptr<NSBitmapImageRep> GrabCompare::Still(StillTaker& taker, uint32_t frame,
                                                     StillBatchOptions const& options) {
  DVDStillRequest request;
  if (!taker.Take(frame, options.choices.subtitles, &request)) return nullptr;
  StillMaker::Apply(options.choices, &request);
  std::shared_ptr<NSBitmapImageRep> bitmap = StillMaker::Make(request);
  if (!bitmap || options.size.isEmpty()) return bitmap;
  return NSBitmapImageRep::imageRepWithImage(
      ImageOf(*bitmap).scaled(options.size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

void GrabAlignment::PrintJson(QStringList const& files, std::FILE* out) const {
  QJsonArray jsonPieces;
  for (StillAlignPiece const& piece : pieces) {
    jsonPieces.append(QJsonObject{{QStringLiteral("firstFrame"), qint64(piece.firstFrame)},
                                  {QStringLiteral("offset"), piece.offset}});
  }
  auto const side = [&](int which) {
    return QJsonObject{{QStringLiteral("disc"), discs[which]},
                       {QStringLiteral("title"), int(titles[which])},
                       {QStringLiteral("frames"), qint64(frames[which])}};
  };
  QJsonObject root{{QStringLiteral("a"), side(0)},
                   {QStringLiteral("b"), side(1)},
                   {QStringLiteral("offset"), offset},
                   {QStringLiteral("given"), given},
                   {QStringLiteral("pieces"), jsonPieces}};
  // A given offset was not measured.
  if (!given) {
    root.insert(QStringLiteral("confidence"), confidence);
    root.insert(QStringLiteral("match"), match);
  }
  if (!files.isEmpty()) root.insert(QStringLiteral("files"), QJsonArray::fromStringList(files));
  std::fprintf(out, "%s\n", QJsonDocument(root).toJson(QJsonDocument::Indented).constData());
  std::fflush(out);
}

int GrabCompare::Run(StillTaker& taker, QString const& discName, StillTitleInfo const& firstTitle,
                     StillPlan const& plan, StillBatchOptions const& options,
                     GrabCompareOptions const& compare, StillBatchReport const& report,
                     std::FILE* err, std::atomic<bool> const* cancel, GrabAlignment* alignment) {
  // The taker's titles go with the disc it has open.
  StillTitleInfo const title = firstTitle;
  bool const pal = title.PAL();
  std::vector<StillPlanEntry> const& entries = plan.Entries();
  // The first title is read on a thread of its own while the other disc replaces the first in
  // the session: its signatures side by side with the first's, then its stills.
  StillSignatures first;
  StillSignatureRead firstRead;
  if (!compare.offset) firstRead.Start(title.number, title.info.frames, &first);
  QString why;
  if (taker.Open(compare.other, &why) != noErr) {
    std::fprintf(err, "tavelo-grab: --compare: %s: %s\n", compare.other.toLocal8Bit().constData(),
                 why.toUtf8().constData());
    return -1;
  }
  UInt16 const otherNumber = compare.otherTitle ? UInt16(compare.otherTitle) : taker.LongestTitle();
  StillTitleInfo other;
  for (StillTitleInfo const& t : taker.Titles()) {
    if (t.number == otherNumber) other = t;
  }
  if (other.number == 0) {
    std::fprintf(err, "tavelo-grab: --other-title: accepts 1-%zu on %s\n", taker.Titles().size(),
                 compare.other.toLocal8Bit().constData());
    return -1;
  }
  int offset = compare.offset.value_or(0);
  StillAlign align;
  if (!compare.offset) {
    StillSignatures second;
    OSStatus const secondRead = StillSignatures::Read(other.number, &second, other.info.frames);
    if (firstRead.Finish() != noErr) {
      std::fprintf(err, "tavelo-grab: --compare: title %u cannot be read through\n", unsigned(title.number));
      return -1;
    }
    if (secondRead != noErr || !align.Construct(first, second)) {
      std::fprintf(err, "tavelo-grab: --compare: the titles cannot be lined up\n");
      return -1;
    }
    offset = align.Offset();
    std::fprintf(err, "alignment: offset %d frames (B = A %c %d), confidence %.2f, match %.2f\n",
                 offset, offset < 0 ? '-' : '+', std::abs(offset), align.Confidence(), align.Match());
    if (align.Pieces().size() > 1) {
      for (StillAlignPiece const& piece : align.Pieces()) {
        std::fprintf(err, "alignment: from frame %u of A: offset %d frames\n", unsigned(piece.firstFrame), piece.offset);
      }
    }
  } else {
    std::fprintf(err, "alignment: offset %d frames (given)\n", offset);
  }
  if (alignment) {
    *alignment = GrabAlignment{};
    alignment->given = compare.offset.has_value();
    alignment->offset = offset;
    alignment->confidence = align.Confidence();
    alignment->match = align.Match();
    alignment->pieces = compare.offset ? std::vector<StillAlignPiece>{{0, offset}} : align.Pieces();
    alignment->titles[0] = title.number;
    alignment->titles[1] = other.number;
    alignment->frames[0] = title.info.frames;
    alignment->frames[1] = other.info.frames;
    alignment->discs[0] = discName;
    alignment->discs[1] = StillNames::DiscName(compare.other);
  }
  if (compare.alignOnly) return 0;

  Side a{"A", title.number, {}};
  Side b{"B", other.number, {}};
  for (StillPlanEntry const& e : entries) {
    int64_t const mapped = int64_t(e.frame) + offset;
    uint32_t matched = kDVDNoFrame;
    if (compare.offset) {
      if (mapped >= 0 && mapped < int64_t(other.info.frames)) matched = uint32_t(mapped);
    } else if (!align.Map(e.frame, other.info.frames, &matched)) {
      matched = kDVDNoFrame;
    }
    a.frames.push_back(e.frame);
    b.frames.push_back(matched);
  }
  NSBitmapImageRep::QuickSaveSettings const settings = StillBatch::SaveSettings(options);
  QString nameTemplate = options.nameTemplate;
  if (!nameTemplate.contains(QLatin1String("{side}"))) nameTemplate += QStringLiteral(" {side}");
  int failures = StillBatch::ReportOutside(plan, title, report);
  auto const fail = [&](QString const& what) {
    ++failures;
    if (report.failed) report.failed(what);
  };
  std::vector<QImage> tiles[2];
  std::vector<QString> captions[2];
  // The other disc is open: its side first, then the first disc again for its own.
  for (Side const* side : {&b, &a}) {
    int const which = side == &a ? 0 : 1;
    if (side == &a && taker.Open(compare.first, &why) != noErr) {
      std::fprintf(err, "tavelo-grab: %s: %s\n", compare.first.toLocal8Bit().constData(), why.toUtf8().constData());
      return failures + int(entries.size());
    }
    if (!taker.StartTitle(side->title) ||
        !taker.ChooseStreams(side == &a ? options.audioStream : -1,
                             side == &a ? options.subtitleStream : -1)) {
      fail(QStringLiteral("title %1 of side %2 does not play").arg(side->title).arg(QLatin1String(side->letter)));
      return failures + int(entries.size());
    }
    for (size_t i = 0; i < entries.size(); ++i) {
      if (cancel && cancel->load()) {
        fail(QStringLiteral("frame %1 not taken: cancelled").arg(entries[i].frame));
        return failures;
      }
      uint32_t const frame = side->frames[i];
      // Both sides of a pair are named after the first's place, so that they sort together.
      StillPlace const place{discName, title.number, StillPlan::ChapterOf(entries[i].frame, title.chapterFirstFrames),
                             StillPlan::FrameMs(entries[i].frame, pal), entries[i].frame, entries[i].n};
      std::shared_ptr<NSBitmapImageRep> const still =
          frame == kDVDNoFrame ? nullptr : Still(taker, frame, options);
      if (!still) {
        fail(frame == kDVDNoFrame
                 ? QStringLiteral("frame %1 has no match in title %2 of %3").arg(entries[i].frame).arg(other.number).arg(compare.other)
                 : QStringLiteral("frame %1 of side %2 could not be taken").arg(frame).arg(QLatin1String(side->letter)));
        tiles[which].push_back(QImage());
        captions[which].push_back(QString());
        continue;
      }
      if (options.sheet) {
        tiles[which].push_back(ImageOf(*still).copy());
        captions[which].push_back(QStringLiteral("%1 %2 (frame %3)").arg(QLatin1String(side->letter))
                                      .arg(StillNames::DurationText(StillPlan::FrameMs(frame, pal))).arg(frame));
        continue;
      }
      QString name;
      StillNames::Expand(QString(nameTemplate).replace(QLatin1String("{side}"), QLatin1String(side->letter)),
                         place, &name, nullptr);
      QString const path = QDir(options.folder).filePath(
          name + QLatin1Char('.') + NSBitmapImageRep::fileExtensionOfType(options.type));
      if (!still->saveToPictureFileName(path, options.type, settings)) {
        fail(QStringLiteral("%1 could not be written").arg(path));
        return failures + int(entries.size() - i - 1);
      }
      if (report.written) report.written(path);
    }
  }
  if (!options.sheet) return failures;

  // Each pair a row: the first disc's still on the left.
  std::vector<StillSheetTile> pairs;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (tiles[0][i].isNull() || tiles[1][i].isNull()) continue;
    pairs.push_back(StillSheetTile{tiles[0][i], captions[0][i]});
    pairs.push_back(StillSheetTile{tiles[1][i], captions[1][i]});
  }
  QStringList const header{QStringLiteral("A: %1, title %2").arg(discName).arg(title.number),
                           QStringLiteral("B: %1, title %2").arg(StillNames::DiscName(compare.other)).arg(other.number),
                           QStringLiteral("B = A %1 %2 frames").arg(offset < 0 ? QLatin1Char('-') : QLatin1Char('+')).arg(std::abs(offset)),
                           QStringLiteral("Tavelo")};
  QImage const sheet = StillSheet::Compose(header, pairs, 2, options.sheetWidth);
  QString const path = !options.sheetPath.isEmpty()
                           ? options.sheetPath
                           : QDir(options.folder).filePath(StillNames::Safe(discName) +
                                                           QStringLiteral(" T%1 compare.").arg(title.number) +
                                                           NSBitmapImageRep::fileExtensionOfType(options.type));
  std::shared_ptr<NSBitmapImageRep> const bitmap = NSBitmapImageRep::imageRepWithImage(sheet);
  if (!sheet.isNull() && bitmap && bitmap->saveToPictureFileName(path, options.type, settings)) {
    if (report.written) report.written(path);
  } else {
    fail(QStringLiteral("the sheet %1 could not be written").arg(path));
  }
  return failures;
}
