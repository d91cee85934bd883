// The subpicture decoder on arbitrary packets, split as the demultiplexer would hand them on,
// then drawn over a picture.
#include "DVDDemuxer.h"
#include "DVDSubpictureDecoder.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

// With TAVELO_FUZZ_VOB and TAVELO_FUZZ_SEEDS set, the subpicture payloads of the VOB become
// the first seeds.
void WriteSeeds() {
  char const* vob = std::getenv("TAVELO_FUZZ_VOB");
  char const* seeds = std::getenv("TAVELO_FUZZ_SEEDS");
  if (!vob || !seeds) return;
  std::ifstream in(vob, std::ios::binary);
  std::vector<uint8_t> block(2048);
  int n = 0;
  dvd::DVDDemuxer demuxer([&](dvd::DVDPayload const& p) {
    if (p.kind != dvd::DVDStreamKind::Subpicture || n >= 64) return;
    std::ofstream(std::string(seeds) + "/spu-" + std::to_string(n++), std::ios::binary)
        .write(reinterpret_cast<char const*>(p.data), std::streamsize(p.size));
  });
  while (in.read(reinterpret_cast<char*>(block.data()), 2048)) demuxer.Block(block.data(), 2048);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  WriteSeeds();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  dvd::DVDSubpictureDecoder decoder;
  // Fragments of at most 2000 bytes, as packets carry them.
  for (size_t at = 0; at < size; at += 2000) decoder.Decode(data + at, std::min<size_t>(2000, size - at), at == 0 ? 0 : dvd::kNoTime);
  decoder.Flush();
  std::array<uint32_t, 16> clut{};
  for (size_t i = 0; i < clut.size(); ++i) clut[i] = uint32_t(i * 0x00101010);
  static std::vector<uint8_t> picture(720 * 480 * 3);
  dvd::DVDHighlight highlight;
  highlight.visible = size > 0 && (data[0] & 1);
  highlight.x0 = 10, highlight.y0 = 10, highlight.x1 = 700, highlight.y1 = 470;
  for (int64_t t : {int64_t(0), int64_t(45000), int64_t(900000)}) {
    if (dvd::DVDSubpicture const* sub = decoder.At(t, false))
      dvd::DVDSubpictureDecoder::Draw(*sub, highlight, clut, picture.data(), 720, 480, 720 * 3);
  }
  return 0;
}
