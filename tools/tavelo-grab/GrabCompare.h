// tavelo-grab --compare: the stills a plan names from the first disc's title, each with the
// matching frame of another disc's title (lined up by their pictures, or by an offset given),
// written as pairs named to sort together, or laid out as a sheet of pairs.
#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

#include <atomic>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include "StillAlign.h"
#include "StillBatch.h"
#include "StillPlan.h"
#include "StillTaker.h"

struct GrabCompareOptions {
  QString first;   // the first disc, opened again for its side
  QString other;   // the other disc
  int otherTitle = 0;  // 0: its longest
  std::optional<int> offset;  // forced: frame n of the first is frame n + offset of the other
  bool alignOnly = false;     // the alignment is all that is asked: no stills
};

// The alignment a comparison used, found or given, and the two titles it lines up.
struct GrabAlignment {
  bool given = false;
  int offset = 0;
  double confidence = 0;
  double match = 0;
  std::vector<StillAlignPiece> pieces;
  UInt16 titles[2] = {0, 0};
  uint32_t frames[2] = {0, 0};
  QString discs[2];

  // As JSON on out, with the files written (none when only the alignment was asked).
  void PrintJson(QStringList const& files, std::FILE* out) const;
};

class GrabCompare {
 public:
  // taker has the first disc open (it is opened again after the other's). The answer: how many
  // stills could not be taken or written, or -1 when the other disc cannot be used (the
  // message written). alignment (may be null) gets the alignment used.
  static int Run(StillTaker& taker, QString const& discName, StillTitleInfo const& title,
                 StillPlan const& plan, StillBatchOptions const& options,
                 GrabCompareOptions const& compare, StillBatchReport const& report,
                 std::FILE* err, std::atomic<bool> const* cancel, GrabAlignment* alignment);
  // One side's still of frame of the title playing, at the size asked for; null when it
  // cannot be taken.
  static std::shared_ptr<NSBitmapImageRep> Still(StillTaker& taker, uint32_t frame,
                                                 StillBatchOptions const& options);
  // A still's pixels (shared, not copied).
  static QImage ImageOf(NSBitmapImageRep const& bitmap);
};
