// Restoring arbitrary bookmark bytes on an open disc: refused, or a jump the disc can make.
#include "DVDPlayback.h"
#include "DVDService.h"

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {
void Events(DVDEventCode, DVDEventValue, DVDEventValue, void*) {}
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // TAVELO_FUZZ_DISC: the disc to open; TAVELO_FUZZ_SEEDS: where a real bookmark is left.
  char const* disc = std::getenv("TAVELO_FUZZ_DISC");
  if (!disc) std::abort();
  dvd::UseManualClock(true);
  if (DVDInitialize() != noErr) std::abort();
  DVDEventCode const codes[] = {7, 24, 11, 2, 1, 20, 12};
  DVDEventCallBackRef id = 0;
  DVDRegisterEventCallBack(&Events, codes, 7, nullptr, &id);
  FSRef ref{};
  FSPathMakeRef(reinterpret_cast<UInt8 const*>(disc), &ref, nullptr);
  if (DVDOpenMediaFile(&ref) != noErr) std::abort();
  DVDPlay();
  dvd::AdvanceManualClock(1000);
  dvd::WaitUntilQuiet(20000);
  UInt32 size = 0;
  DVDGetBookmark(nullptr, &size);
  std::vector<char> mark(size);
  if (size && DVDGetBookmark(mark.data(), &size) == noErr) {
    if (char const* seeds = std::getenv("TAVELO_FUZZ_SEEDS"))
      std::ofstream(std::string(seeds) + "/bookmark", std::ios::binary).write(mark.data(), size);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  DVDGotoBookmark(data, UInt32(size));
  dvd::AdvanceManualClock(40);
  dvd::WaitUntilQuiet(20000);
  return 0;
}
