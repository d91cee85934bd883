// NAV packs as the reader meets them: the navigation library parses the presentation and search
// information of every VOBU's first block, and the reader takes from it the VOBU's time span,
// its end, the next VOBU, and the buttons' highlight areas. Arbitrary packs through that path.
#include <dvdnav/dvdnav.h>
#include <dvdread/nav_read.h>
#include <dvdread/nav_types.h>

#include "DVDLibraryLog.h"

#include <cstdint>
#include <cstring>

// The program's handling of the libraries' messages: FFmpeg's routed, and the reader's own report
// function (which the parser calls on a bad pack) in place, as in every program that plays discs.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  dvd::RouteCodecMessages();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  unsigned char block[2048] = {};
  std::memcpy(block, data, size < sizeof block ? size : sizeof block);
  pci_t pci;
  dsi_t dsi;
  std::memset(&pci, 0, sizeof pci);
  std::memset(&dsi, 0, sizeof dsi);
  // The presentation packet's data follows the pack and system headers; the search packet's
  // starts at 0x407, as the navigation library reads them.
  navRead_PCI(&pci, block + 0x2d);
  navRead_DSI(&dsi, block + 0x407);
  volatile int64_t span = int64_t(pci.pci_gi.vobu_e_ptm) - int64_t(pci.pci_gi.vobu_s_ptm);
  volatile uint32_t end = dsi.dsi_gi.vobu_ea;
  volatile bool cellEnd = dsi.vobu_sri.next_vobu == SRI_END_OF_CELL;
  (void)span, (void)end, (void)cellEnd;
  if (pci.hli.hl_gi.hli_ss != 0) {
    for (int32_t button = 1; button <= pci.hli.hl_gi.btn_ns && button <= 36; ++button) {
      for (int32_t mode = 0; mode < 2; ++mode) {
        dvdnav_highlight_area_t area;
        dvdnav_get_highlight_area(&pci, button, mode, &area);
      }
    }
  }
  return 0;
}
