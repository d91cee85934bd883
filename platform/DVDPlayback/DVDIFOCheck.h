// One part of a disc's information (the manager's or a title set's) parsed by libdvdread in
// this process, and what the navigator relies on checked. The probe runs it in a helper program
// of its own (tavelo-ifo-probe): a damaged file can take the parser down.
#pragma once

namespace dvd {

class DVDIFOCheck {
 public:
  // One byte, as the helper writes it to the probe.
  enum Verdict : char {
    kVerdictGood = 'G',
    kVerdictUnparsable = 'U',
    kVerdictUnplayable = 'P',  // parses into program chains the navigator cannot play
  };

  // title 0: the video manager (VIDEO_TS); 1...99: that title set.
  static Verdict Parse(char const* discPath, int title);
};

}  // namespace dvd
