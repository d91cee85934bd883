#include "StillBatch.h"

#include <QDir>
#include <QImage>

#include <memory>
#include <vector>

#include "NSBitmapImageRep.h"
#include "StillNames.h"
#include "StillSheet.h"

namespace {

QImage ImageOf(NSBitmapImageRep const& bitmap) {
  // Every still is R, G, B in 32 bits.
  return QImage(bitmap.bitmapData(), int(bitmap.pixelsWide()), int(bitmap.pixelsHigh()),
                qsizetype(bitmap.bytesPerRow()), QImage::Format_RGBX8888);
}

// The still of frame made with the choices (and, when asked, not nearly one colour: the
// first picture within 2 s after it that is not); null when it cannot be taken.
std::shared_ptr<NSBitmapImageRep> Still(StillTaker& taker, StillTitleInfo const& title,
                                        uint32_t frame, StillBatchOptions const& options,
                                        uint32_t* taken) {
  bool const pal = title.PAL();
  uint32_t const last = options.skipBlank
                            ? std::min(title.info.frames - 1, frame + (pal ? 50u : 60u))
                            : frame;
  std::shared_ptr<NSBitmapImageRep> first;
  for (uint32_t f = frame; f <= last; ++f) {
    DVDStillRequest request;
    if (!taker.Take(f, options.choices.subtitles, &request)) return first;
    StillMaker::Apply(options.choices, &request);
    std::shared_ptr<NSBitmapImageRep> bitmap = StillMaker::Make(request);
    if (!bitmap) return first;
    if (!first) {
      first = bitmap;
      *taken = f;
    }
    if (!options.skipBlank || !StillMaker::NearlyUniform(*bitmap)) {
      *taken = f;
      return bitmap;
    }
  }
  return first;  // blank all along: the frame asked for
}

std::shared_ptr<NSBitmapImageRep> Sized(std::shared_ptr<NSBitmapImageRep> bitmap, QSize size) {
  if (!bitmap || size.isEmpty()) return bitmap;
  return NSBitmapImageRep::imageRepWithImage(
      ImageOf(*bitmap).scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

}  // namespace

NSBitmapImageRep::QuickSaveSettings StillBatch::SaveSettings(StillBatchOptions const& options) {
  // Named files in a folder of the batch's own: the creator and quality are all that count.
  NSBitmapImageRep::QuickSaveSettings settings = NSBitmapImageRep::quickSaveSettings();
  settings.jpegCompressionFactor = float(options.quality) / 100.0f;
  return settings;
}

int StillBatch::ReportOutside(StillPlan const& plan, StillTitleInfo const& title,
                              StillBatchReport const& report) {
  for (StillPlanEntry const& e : plan.Outside()) {
    if (report.failed) {
      report.failed(QStringLiteral("frame %1 is past the title's end (%2 frames)").arg(e.frame).arg(title.info.frames));
    }
  }
  return int(plan.Outside().size());
}

int StillBatch::Run(StillTaker& taker, QString const& discName, StillTitleInfo const& title,
                    StillPlan const& plan, StillBatchOptions const& options,
                    StillBatchReport const& report, std::atomic<bool> const* cancel) {
  bool const pal = title.PAL();
  NSBitmapImageRep::QuickSaveSettings const settings = SaveSettings(options);
  int failures = ReportOutside(plan, title, report);
  auto const fail = [&](QString const& what) {
    ++failures;
    if (report.failed) report.failed(what);
  };
  if (!taker.StartTitle(title.number)) {
    fail(QStringLiteral("title %1 does not play").arg(title.number));
    return failures + int(plan.Entries().size());
  }
  if (!taker.ChooseStreams(options.audioStream, options.subtitleStream)) {
    fail(QStringLiteral("title %1 does not play the streams chosen").arg(title.number));
    return failures + int(plan.Entries().size());
  }
  if (options.captions && !taker.ShowCaptions(title.number, nullptr)) {
    fail(QStringLiteral("title %1's closed captions cannot be read").arg(title.number));
    return failures + int(plan.Entries().size());
  }
  std::vector<StillSheetTile> tiles;
  int const total = int(plan.Entries().size());
  int done = 0;
  for (StillPlanEntry const& e : plan.Entries()) {
    if (cancel && cancel->load()) break;
    uint32_t taken = e.frame;
    std::shared_ptr<NSBitmapImageRep> const still =
        Sized(Still(taker, title, e.frame, options, &taken), options.size);
    StillPlace place{discName, title.number, StillPlan::ChapterOf(taken, title.chapterFirstFrames),
                     StillPlan::FrameMs(taken, pal), taken, e.n};
    if (!still) {
      fail(QStringLiteral("frame %1 could not be taken").arg(e.frame));
    } else if (options.sheet) {
      // Kept at the size it is drawn: twenty full stills would outweigh the decoder.
      QImage const picture = ImageOf(*still);
      QSize const cell = StillSheet::TileSize(picture, options.sheetCols, options.sheetWidth);
      tiles.push_back(StillSheetTile{
          cell.isEmpty() ? picture.copy()
                         : picture.scaled(cell, Qt::IgnoreAspectRatio, Qt::SmoothTransformation),
          StillNames::DurationText(place.ms)});
    } else {
      QString name;
      StillNames::Expand(options.nameTemplate, place, &name, nullptr);
      QString const path =
          QDir(options.folder).filePath(name + QLatin1Char('.') + NSBitmapImageRep::fileExtensionOfType(options.type));
      if (still->saveToPictureFileName(path, options.type, settings)) {
        if (report.written) report.written(path);
      } else {
        // A full or read-only disk: what is left is reported, not tried.
        fail(QStringLiteral("%1 could not be written").arg(path));
        for (size_t i = size_t(done) + 1; i < plan.Entries().size(); ++i) {
          fail(QStringLiteral("frame %1 not written").arg(plan.Entries()[i].frame));
        }
        return failures;
      }
    }
    if (report.progress) report.progress(++done, total);
  }
  if (cancel && cancel->load()) {
    for (size_t i = size_t(done); i < plan.Entries().size(); ++i) {
      fail(QStringLiteral("frame %1 not taken: cancelled").arg(plan.Entries()[i].frame));
    }
    return failures;
  }
  if (options.sheet) {
    uint64_t const ms = StillPlan::FrameMs(title.info.frames, pal);
    QStringList const header{
        discName,
        QStringLiteral("Title %1, %2, %3 frames").arg(title.number).arg(StillNames::DurationText(ms)).arg(title.info.frames),
        QStringLiteral("%1 x %2 stored, %3, %4").arg(title.info.width).arg(title.info.height)
            .arg(title.info.aspect == kDVDAspectRatio16x9 ? QStringLiteral("16:9") : QStringLiteral("4:3"))
            .arg(pal ? QStringLiteral("PAL") : QStringLiteral("NTSC")),
        QStringLiteral("Tavelo")};
    // The sheet is let go once its bitmap holds it: one copy of the largest picture at a time.
    QImage sheet = StillSheet::Compose(header, tiles, options.sheetCols, options.sheetWidth);
    std::vector<StillSheetTile>().swap(tiles);
    std::shared_ptr<NSBitmapImageRep> const bitmap = NSBitmapImageRep::imageRepWithImage(sheet);
    sheet = QImage();
    QString const path = !options.sheetPath.isEmpty()
                             ? options.sheetPath
                             : QDir(options.folder).filePath(StillNames::Safe(discName) +
                                                             QStringLiteral(" T%1 sheet.").arg(title.number) +
                                                             NSBitmapImageRep::fileExtensionOfType(options.type));
    if (bitmap && bitmap->saveToPictureFileName(path, options.type, settings)) {
      if (report.written) report.written(path);
    } else {
      fail(QStringLiteral("the sheet %1 could not be written").arg(path));
    }
  }
  return failures;
}
