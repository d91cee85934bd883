// The demultiplexer on arbitrary blocks: it must never read past a block.
#include "DVDDemuxer.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  uint64_t sum = 0;
  dvd::DVDDemuxer demuxer([&](dvd::DVDPayload const& p) {
    for (size_t i = 0; i < p.size; ++i) sum += p.data[i];  // touch every payload byte
  });
  for (size_t at = 0; at < size; at += 2048) demuxer.Block(data + at, size - at < 2048 ? size - at : 2048);
  return sum == 1 ? 1 : 0;  // keeps the sum; libFuzzer only wants 0 or -1, and 1 never happens by design
}
