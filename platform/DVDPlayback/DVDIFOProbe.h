// Parsing a disc's information files (IFO and BUP) in short-lived helper processes
// (tavelo-ifo-probe, beside the libraries) before this process parses them: libdvdread trusts
// the offsets in these files, and a damaged one can take the parser down. What parses decides
// where the disc is opened from.
#pragma once

#include "MacTypes.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace dvd {

// A private folder of links to a disc's files in which damaged information files are replaced
// by their backups; removed with its last owner.
class DVDOverlayFolder {
 public:
  ~DVDOverlayFolder();
  std::string mPath;  // holds VIDEO_TS
};

struct DVDProbeResult {
  OSStatus status = noErr;             // kDVDErrorMediaNotDVD when a part of the disc is unreadable
  std::string openPath;                // where to open the disc from: itself, or the overlay's path
  std::vector<std::string> damaged;    // information files that did not parse
  std::shared_ptr<DVDOverlayFolder> overlay;
};

// How the probe runs its helpers; tests shorten the limit and make every helper stall.
struct DVDProbeOptions {
  int childTimeLimitMs = 5000;  // a helper that runs longer is taken as hung
  int childStallMs = 0;         // helpers wait this long before they parse: a parser that hangs
};

class DVDIFOProbe {
 public:
  // discPath: what the user opened. videoTS: its VIDEO_TS folder (folders and mounted volumes),
  // empty for images and devices, whose files can be checked but not swapped. Results are
  // remembered for the process, keyed by the disc's unique ID (and path: an overlay links to one
  // copy's files).
  static DVDProbeResult Probe(std::string const& discPath, std::string const& videoTS,
                              std::array<UInt8, 8> const& uniqueID,
                              DVDProbeOptions const& options = {});

  static void ForgetResults();
  // How many probing helpers this process has started.
  static long ChildrenStarted();
};

}  // namespace dvd
