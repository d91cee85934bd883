// tavelo-grab --follow DIR: frames of one title brought on screen as they are asked for, for a
// window that shows this disc beside another one. Frame numbers come on standard input, one a
// line; each frame taken is written into DIR as a PNG file of its own, and one line answers:
//   "frame N PATH"  written
//   "frame N none"  the title has no frame N, or it could not be taken
//   "error TEXT"    a line that is not a frame number (said on standard error too)
// Requests that queue up while a frame is taken are skipped but for the newest: while the
// other disc plays only the latest frame matters. It ends at the end of input or on a signal.
#pragma once

#include <QString>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "StillBatch.h"
#include "StillTaker.h"

// What the input asks, line by line, the newest frame kept.
class GrabFollowRequests {
 public:
  // Bytes as read: each whole line is a request.
  void Feed(char const* data, size_t size);
  // The end of input: a last line without its newline counts too.
  void Close();
  bool Closed() const { return mClosed; }
  bool Pending() const { return mNewest.has_value(); }
  // The newest frame asked since the last Take; false when none was.
  bool Take(uint32_t* frame);
  // The lines that were not frame numbers since the last call, in order.
  std::vector<std::string> TakeBad();
  // Requests passed over for a newer one.
  uint64_t Skipped() const { return mSkipped; }

  // A frame number as a line gives it (spaces around allowed); false for anything else.
  static bool ParseFrame(std::string const& line, uint32_t* frame);

 private:
  void Line(std::string const& line);

  std::string mPartial;
  std::optional<uint32_t> mNewest;
  std::vector<std::string> mBad;
  uint64_t mSkipped = 0;
  bool mClosed = false;
};

class GrabFollow {
 public:
  // taker has the title playing (paused). Answers the requests read from the file descriptor
  // in on out until the input ends or cancel is set; the exit status (0, or 1 when the
  // input could not be read).
  static int Run(StillTaker& taker, StillTitleInfo const& title, StillBatchOptions const& options,
                 QString const& folder, int in, std::FILE* out, std::FILE* err,
                 std::atomic<bool> const* cancel);
};
