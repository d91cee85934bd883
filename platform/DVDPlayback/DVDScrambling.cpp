#include "DVDScrambling.h"

#include <dvdread/dvd_reader.h>

#include <dlfcn.h>

#include <cstdint>
#include <vector>

namespace dvd {

namespace {

// Enough sectors to hold picture and sound packets after the first navigation packet.
constexpr int kSectorsLooked = 64;
constexpr size_t kSector = 2048;

// A pack with a picture, sound or private-stream packet whose header has its scrambling
// control bits set.
bool ScrambledPacket(uint8_t const* s) {
  if (s[0] != 0 || s[1] != 0 || s[2] != 1 || s[3] != 0xBA) return false;
  if ((s[4] & 0xC0) != 0x40) return false;  // an MPEG-2 pack header
  size_t const at = 14 + (s[13] & 0x07);    // after its stuffing
  if (at + 7 > kSector) return false;
  uint8_t const* p = s + at;
  if (p[0] != 0 || p[1] != 0 || p[2] != 1) return false;
  uint8_t const id = p[3];
  bool const carried = id == 0xE0 || id == 0xBD || (id >= 0xC0 && id <= 0xDF);
  if (!carried || (p[6] & 0xC0) != 0x80) return false;
  return (p[6] & 0x30) != 0;
}

}  // namespace

bool DVDTitlesScrambled(dvd_reader_s* reader, int titleSets) {
  std::vector<uint8_t> sectors(kSector * kSectorsLooked);
  for (int vts = 1; vts <= titleSets && vts <= 99; ++vts) {
    dvd_file_t* const file = ::DVDOpenFile(reader, vts, DVD_READ_TITLE_VOBS);
    if (!file) continue;
    ssize_t const read = ::DVDReadBlocks(file, 0, kSectorsLooked, sectors.data());
    ::DVDCloseFile(file);
    if (read <= 0) continue;
    for (ssize_t i = 0; i < read; ++i) {
      if (ScrambledPacket(sectors.data() + size_t(i) * kSector)) return true;
    }
    // One titleset tells: discs are scrambled whole or not at all.
    return false;
  }
  return false;
}

bool DVDDescramblerInstalled() {
  void* const library = ::dlopen("libdvdcss.so.2", RTLD_LAZY | RTLD_LOCAL);
  if (!library) return false;
  ::dlclose(library);
  return true;
}

}  // namespace dvd
