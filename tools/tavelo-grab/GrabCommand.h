// tavelo-grab: stills from a disc without a display or a sound server, through the same
// code as the window's grabs. Parses the command line, lists titles or runs a batch.
#pragma once

#include <QStringList>

#include <atomic>
#include <cstdio>

class GrabCommand {
 public:
  enum Exit { kWritten = 0, kSomeMissing = 1, kBadArguments = 2, kDiscUnusable = 3 };
  // args without the program's name; lines to out (paths, listings) and err (messages,
  // progress when err is a terminal).
  // cancel (may be null), once set, stops the batch between two stills.
  static int Run(QStringList const& args, std::FILE* out, std::FILE* err,
                 std::atomic<bool> const* cancel);
  static char const kUsage[];
};
