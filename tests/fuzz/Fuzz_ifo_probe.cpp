// The information-file probe on arbitrary titleset information: whatever the bytes do to the
// parser in the probing child, this process must come back with a clean answer.
#include "DVDIFOProbe.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace {
std::string sFolder;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // TAVELO_FUZZ_DISC: a VIDEO_TS folder whose manager information is used as it is.
  char const* disc = std::getenv("TAVELO_FUZZ_DISC");
  char const* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tavelo-fuzz-XXXXXX";
  if (!::mkdtemp(pattern.data())) std::abort();
  sFolder = pattern + "/VIDEO_TS";
  std::filesystem::create_directory(sFolder);
  if (disc) std::filesystem::copy_file(std::string(disc) + "/VIDEO_TS.IFO", sFolder + "/VIDEO_TS.IFO");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  std::ofstream(sFolder + "/VTS_01_0.IFO", std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<char const*>(data), std::streamsize(size));
  dvd::DVDIFOProbe::ForgetResults();
  dvd::DVDProbeResult const r =
      dvd::DVDIFOProbe::Probe(sFolder, sFolder, {}, {.childTimeLimitMs = 2000});
  // A clean answer: opened as it is, from an overlay without the file, or refused.
  if (r.status == 0 && r.openPath.empty()) std::abort();
  if (r.overlay && !std::filesystem::exists(r.openPath + "/VIDEO_TS/VIDEO_TS.IFO")) std::abort();
  return 0;
}
