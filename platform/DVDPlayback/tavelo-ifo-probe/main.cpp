// tavelo-ifo-probe DISC TITLE [STALL_MS]: the information-file probe's helper. Parses one part
// of DISC's information (TITLE 0: the manager) and writes its verdict, one byte, to descriptor 3.
// A helper that ends without one was taken down by the file. STALL_MS: a wait before parsing,
// for tests of a parser that hangs.
#include "DVDIFOCheck.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

namespace {

constexpr int kVerdictFD = 3;

bool ReadNumber(char const* text, long low, long high, long* out) {
  char* end = nullptr;
  errno = 0;
  long const value = std::strtol(text, &end, 10);
  if (errno != 0 || end == text || *end != '\0' || value < low || value > high) return false;
  *out = value;
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  long title = 0, stall = 0;
  if (argc < 3 || argc > 4 || !ReadNumber(argv[2], 0, 99, &title) ||
      (argc == 4 && !ReadNumber(argv[3], 0, 3600000, &stall))) {
    return 2;
  }
  if (stall > 0) {
    timespec pause{stall / 1000, (stall % 1000) * 1000000};
    while (::nanosleep(&pause, &pause) != 0 && errno == EINTR) {
    }
  }
  char const verdict = dvd::DVDIFOCheck::Parse(argv[1], int(title));
  return ::write(kVerdictFD, &verdict, 1) == 1 ? 0 : 1;
}
