// A batch of stills from a disc: a plan's pictures taken in disc order with the still
// choices, each written to its own file (named from a template) or all laid out on one
// contact sheet. Every file is written whole or not at all, stamped like quick saves.
#pragma once

#include <QSize>
#include <QString>

#include <atomic>
#include <functional>

#include "NSBitmapImageRep.h"
#include "StillMaker.h"
#include "StillPlan.h"
#include "StillTaker.h"

struct StillBatchOptions {
  StillChoices choices;
  QSize size;  // empty: the shape's own size
  QuikSaveImageType type = QuikSaveImageType_JPEG;
  int quality = 90;  // JPEG, 1-100
  QString folder;
  QString nameTemplate = QStringLiteral("{disc} T{title} C{chapter} {time}");
  bool skipBlank = false;
  // Streams numbered from 0, -1: the disc's own. A subtitle stream chosen is shown.
  int audioStream = -1;
  int subtitleStream = -1;
  // The title's closed captions drawn over the stills (read through first).
  bool captions = false;
  // A contact sheet instead of files: cols to a row, sheetWidth pixels wide, written to
  // sheetPath (empty: "{disc} T{title} sheet.<ext>" in the folder).
  bool sheet = false;
  int sheetCols = 4;
  int sheetWidth = 1600;
  QString sheetPath;
};

struct StillBatchReport {
  std::function<void(QString const& path)> written;
  std::function<void(QString const& what)> failed;
  std::function<void(int done, int total)> progress;
};

class StillBatch {
 public:
  // Stills that could not be taken or written are reported and counted; the answer is how
  // many. cancel (may be null) stops the batch between two stills.
  static int Run(StillTaker& taker, QString const& discName, StillTitleInfo const& title,
                 StillPlan const& plan, StillBatchOptions const& options,
                 StillBatchReport const& report, std::atomic<bool> const* cancel);
  // Quick-save settings with the batch's JPEG quality.
  static NSBitmapImageRep::QuickSaveSettings SaveSettings(StillBatchOptions const& options);
  // Reports the plan's frames past the title's end; the answer is how many.
  static int ReportOutside(StillPlan const& plan, StillTitleInfo const& title,
                           StillBatchReport const& report);
};
