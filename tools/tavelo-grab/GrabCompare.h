// tavelo-grab --compare: the stills a plan names from the first disc's title, each with the
// matching frame of another disc's title (lined up by their pictures, or by an offset given),
// written as pairs named to sort together, or laid out as a sheet of pairs.
#pragma once

#include <QString>

#include <atomic>
#include <cstdio>
#include <optional>

#include "StillBatch.h"
#include "StillPlan.h"
#include "StillTaker.h"

struct GrabCompareOptions {
  QString first;   // the first disc, opened again for its side
  QString other;   // the other disc
  int otherTitle = 0;  // 0: its longest
  std::optional<int> offset;  // forced: frame n of the first is frame n + offset of the other
};

class GrabCompare {
 public:
  // taker has the first disc open (it is opened again after the other's). The answer: how many
  // stills could not be taken or written, or -1 when the other disc cannot be used (the
  // message written).
  static int Run(StillTaker& taker, QString const& discName, StillTitleInfo const& title,
                 StillPlan const& plan, StillBatchOptions const& options,
                 GrabCompareOptions const& compare, StillBatchReport const& report,
                 std::FILE* err, std::atomic<bool> const* cancel);
};
