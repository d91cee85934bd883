// The playback service's stream parts on hand-made input: program-stream packs split into
// their streams, a run-length subpicture decoded and drawn with a button highlight, and
// the null audio sink keeping time on the manual clock.
#include "DVDAudioDecoder.h"
#include "DVDClock.h"
#include "DVDDemuxer.h"
#include "DVDNullAudioSink.h"
#include "DVDSubpictureDecoder.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavelo_test {
namespace {

using dvd::DVDPayload;
using dvd::DVDStreamKind;

std::vector<uint8_t> PackHeader() {
  // MPEG-2 pack header with 2 stuffing bytes.
  return {0, 0, 1, 0xBA, 0x44, 0, 4, 0, 4, 1, 0x01, 0x89, 0xC3, 0xFA, 0xFF, 0xFF};
}

void AddPes(std::vector<uint8_t>& block, uint8_t id, int64_t pts,
            std::vector<uint8_t> const& payload) {
  std::vector<uint8_t> header = {0x81, uint8_t(pts >= 0 ? 0x80 : 0), uint8_t(pts >= 0 ? 5 : 0)};
  if (pts >= 0) {
    header.push_back(uint8_t(0x21 | ((pts >> 29) & 0x0E)));
    header.push_back(uint8_t(pts >> 22));
    header.push_back(uint8_t(((pts >> 14) & 0xFE) | 1));
    header.push_back(uint8_t(pts >> 7));
    header.push_back(uint8_t(((pts << 1) & 0xFE) | 1));
  }
  size_t const length = header.size() + payload.size();
  block.insert(block.end(), {0, 0, 1, id, uint8_t(length >> 8), uint8_t(length)});
  block.insert(block.end(), header.begin(), header.end());
  block.insert(block.end(), payload.begin(), payload.end());
}

struct Seen {
  DVDStreamKind kind;
  int index;
  int64_t pts;
  std::vector<uint8_t> data;
};

std::vector<Seen> Demux(std::vector<uint8_t> const& block) {
  std::vector<Seen> seen;
  dvd::DVDDemuxer demuxer([&](DVDPayload const& p) {
    seen.push_back({p.kind, p.index, p.pts, std::vector<uint8_t>(p.data, p.data + p.size)});
  });
  demuxer.Block(block.data(), block.size());
  return seen;
}

TEST(DVDDemuxerTest, SplitsAPackIntoItsStreamsWithTimeStamps) {
  std::vector<uint8_t> block = PackHeader();
  AddPes(block, 0xE0, 0x1FFFFFFFFLL, {1, 2, 3});                  // video, 33-bit time stamp
  AddPes(block, 0xBD, 4000, {0x81, 1, 0, 1, 0x0B, 0x77});        // AC-3 stream 1
  AddPes(block, 0xBD, -1, {0x89, 1, 0, 1, 0x7F});                 // DTS stream 1
  AddPes(block, 0xBD, 5000, {0xA2, 1, 0, 4, 0, 0x01, 0x80, 9, 9});  // LPCM 3 with its header
  AddPes(block, 0xBD, 6000, {0x25, 7, 8});                         // subpicture 5
  AddPes(block, 0xC1, 7000, {0xFF, 0xFD});                         // MPEG audio 1
  AddPes(block, 0xBE, -1, {0, 0, 0});                              // padding
  auto const seen = Demux(block);
  ASSERT_EQ(6u, seen.size());
  EXPECT_EQ(DVDStreamKind::Video, seen[0].kind);
  EXPECT_EQ(0x1FFFFFFFFLL, seen[0].pts);
  EXPECT_EQ((std::vector<uint8_t>{1, 2, 3}), seen[0].data);
  EXPECT_EQ(DVDStreamKind::AC3, seen[1].kind);
  EXPECT_EQ(1, seen[1].index);
  EXPECT_EQ(4000, seen[1].pts);
  EXPECT_EQ((std::vector<uint8_t>{0x0B, 0x77}), seen[1].data);
  EXPECT_EQ(DVDStreamKind::DTS, seen[2].kind);
  EXPECT_EQ(dvd::kNoTime, seen[2].pts);
  EXPECT_EQ(DVDStreamKind::LPCM, seen[3].kind);
  EXPECT_EQ(2, seen[3].index);
  EXPECT_EQ((std::vector<uint8_t>{0, 0x01, 0x80, 9, 9}), seen[3].data);
  EXPECT_EQ(DVDStreamKind::Subpicture, seen[4].kind);
  EXPECT_EQ(5, seen[4].index);
  EXPECT_EQ((std::vector<uint8_t>{7, 8}), seen[4].data);
  EXPECT_EQ(DVDStreamKind::MPEGAudio, seen[5].kind);
  EXPECT_EQ(1, seen[5].index);
}

TEST(DVDDemuxerTest, APacketLongerThanTheBlockIsNotReadPastItsEnd) {
  std::vector<uint8_t> block = PackHeader();
  AddPes(block, 0xE0, 1000, {1, 2, 3, 4});
  AddPes(block, 0xE0, 2000, {5, 6, 7, 8});
  block.resize(block.size() - 2);  // the second packet is cut short
  auto const seen = Demux(block);
  ASSERT_EQ(1u, seen.size());
  EXPECT_EQ(1000, seen[0].pts);
  // A block of garbage gives nothing.
  std::vector<uint8_t> garbage(2048, 0xA5);
  EXPECT_TRUE(Demux(garbage).empty());
}

// A 4 x 2 subpicture at (10, 20): the top line four pixels of type 1, the bottom line two
// of type 2 and two of type 3; forced; colours = types, contrast 15 but type 0.
std::vector<uint8_t> Subpicture() {
  std::vector<uint8_t> p = {0, 0, 0, 6, 0x11, 0xAB};
  size_t const control = p.size();
  p.insert(p.end(), {0, 0, uint8_t(control >> 8), uint8_t(control)});
  p.insert(p.end(), {0x00, 0x03, 0x32, 0x10, 0x04, 0xFF, 0xF0});
  p.insert(p.end(), {0x05, 0x00, 0xA0, 0x0D, 0x01, 0x40, 0x15});
  p.insert(p.end(), {0x06, 0x00, 0x04, 0x00, 0x05, 0xFF});
  p[0] = uint8_t(p.size() >> 8);
  p[1] = uint8_t(p.size());
  return p;
}

TEST(DVDSubpictureDecoderTest, DecodesRunsFieldsColoursAndArea) {
  dvd::DVDSubpictureDecoder decoder;
  auto const packet = Subpicture();
  // Split in two fragments, as packets are across blocks.
  decoder.Decode(packet.data(), 5, 9000);
  EXPECT_EQ(nullptr, decoder.At(9000, false));
  decoder.Decode(packet.data() + 5, packet.size() - 5, dvd::kNoTime);
  EXPECT_EQ(nullptr, decoder.At(8999, false));
  dvd::DVDSubpicture const* const sub = decoder.At(9000, true);
  ASSERT_NE(nullptr, sub);
  EXPECT_TRUE(sub->forced);
  EXPECT_EQ(10, sub->x);
  EXPECT_EQ(20, sub->y);
  EXPECT_EQ(4, sub->width);
  EXPECT_EQ(2, sub->height);
  EXPECT_EQ((std::vector<uint8_t>{1, 1, 1, 1, 2, 2, 3, 3}), sub->pixels);
  EXPECT_EQ((std::array<uint8_t, 4>{0, 1, 2, 3}), sub->colour);
  EXPECT_EQ((std::array<uint8_t, 4>{0, 15, 15, 15}), sub->contrast);
}

TEST(DVDSubpictureDecoderTest, DrawsInThePaletteWithTheHighlightInsideTheButton) {
  dvd::DVDSubpictureDecoder decoder;
  auto const packet = Subpicture();
  decoder.Decode(packet.data(), packet.size(), 0);
  dvd::DVDSubpicture const* const sub = decoder.At(0, false);
  ASSERT_NE(nullptr, sub);
  std::array<uint32_t, 16> clut{};
  clut[1] = 0xEB8080;  // white
  clut[2] = 0x108080;  // black
  clut[3] = 0x51F05A;  // red
  clut[4] = 0x296EF0;  // blue
  int const width = 30;
  int const height = 30;
  std::vector<uint8_t> rgb(size_t(width * height * 3), 100);
  auto at = [&](int x, int y) {
    uint8_t const* p = &rgb[size_t((y * width + x) * 3)];
    return std::array<int, 3>{p[0], p[1], p[2]};
  };
  dvd::DVDHighlight highlight;
  highlight.visible = true;
  highlight.x0 = 12;
  highlight.x1 = 13;
  highlight.y0 = 20;
  highlight.y1 = 21;
  // Inside the button type 3 turns colour 4 (blue), type 1 half transparent colour 1.
  highlight.palette = 0x40000000u | 0x00100000u | 0xF000u | 0x0070u;
  dvd::DVDSubpictureDecoder::Draw(*sub, highlight, clut, rgb.data(), width, height, width * 3);
  EXPECT_EQ((std::array<int, 3>{255, 255, 255}), at(10, 20));  // type 1, outside
  EXPECT_EQ((std::array<int, 3>{0, 0, 0}), at(10, 21));        // type 2, outside
  auto const blue = at(13, 21);                                  // type 3, inside
  EXPECT_LT(blue[0], 40);
  EXPECT_GT(blue[2], 200);
  auto const mixed = at(12, 20);  // type 1 inside: contrast 7 of colour 1 over grey 100
  EXPECT_NEAR(100 + (255 - 100) * 8 / 16, mixed[0], 3);
  EXPECT_EQ((std::array<int, 3>{100, 100, 100}), at(9, 20));  // outside the subpicture
  EXPECT_EQ((std::array<int, 3>{100, 100, 100}), at(14, 21));
}

TEST(DVDSubpictureDecoderTest, DamagedPacketsAreDropped) {
  dvd::DVDSubpictureDecoder decoder;
  auto packet = Subpicture();
  packet[3] = 0xF0;  // control sequence beyond the packet
  decoder.Decode(packet.data(), packet.size(), 0);
  EXPECT_EQ(nullptr, decoder.At(0, false));
  std::vector<uint8_t> tiny = {0, 2};
  decoder.Decode(tiny.data(), tiny.size(), 0);
  EXPECT_EQ(nullptr, decoder.At(0, false));
}

TEST(DVDAudioDecoderTest, LpcmIsInterleavedStereoWithTimesCarriedOn) {
  struct Out {
    int64_t pts;
    int rate;
    std::vector<int16_t> samples;
  };
  std::vector<Out> out;
  dvd::DVDAudioDecoder decoder;
  ASSERT_TRUE(decoder.Construct(DVDStreamKind::LPCM, [&](int64_t pts, int rate,
                                                         int16_t const* s, size_t n) {
    out.push_back({pts, rate, std::vector<int16_t>(s, s + n * 2)});
  }));
  // 16-bit, 48 kHz, 2 channels; big-endian samples. The first packet ends half-way
  // through its third sample frame.
  std::vector<uint8_t> const first = {0, 0x01, 0x80, 0x00, 0x01, 0xFF, 0xFF, 0x7F, 0xFF,
                                      0x80, 0x00, 0x12};
  std::vector<uint8_t> const second = {0, 0x01, 0x80, 0x34, 0x00, 0x02};
  decoder.Decode(first.data(), first.size(), 9000);
  decoder.Decode(second.data(), second.size(), dvd::kNoTime);
  ASSERT_EQ(2u, out.size());
  EXPECT_EQ(9000, out[0].pts);
  EXPECT_EQ(48000, out[0].rate);
  EXPECT_EQ((std::vector<int16_t>{1, -1, 32767, -32768}), out[0].samples);
  // Two sample frames later, 2 / 48000 s = 3.75 ticks: 3.
  EXPECT_EQ(9003, out[1].pts);
  EXPECT_EQ((std::vector<int16_t>{0x1234, 2}), out[1].samples);
}

TEST(DVDNullAudioSinkTest, PlaysAtTheStreamRateFromEachPiecesTime) {
  dvd::DVDClock clock(true);
  dvd::DVDNullAudioSink sink(clock);
  std::vector<int16_t> samples(4800 * 2);
  // 100 ms pieces at 1 s and 1.1 s, then one after a 300 ms gap.
  sink.Push(90000, 48000, samples.data(), 4800);
  sink.Push(99000, 48000, samples.data(), 4800);
  sink.Push(135000, 48000, samples.data(), 4800);
  clock.Advance(90000);
  EXPECT_EQ(0, sink.Delivered());
  clock.Advance(4500);  // 50 ms in
  EXPECT_EQ(2400, sink.Delivered());
  clock.Advance(13500);  // 200 ms in: both back-to-back pieces played
  EXPECT_EQ(9600, sink.Delivered());
  clock.Advance(9000);  // in the gap: nothing more
  EXPECT_EQ(9600, sink.Delivered());
  // A pause stops the clock: time resumes where it stood.
  clock.SetStopped(true);
  sink.Hold(true);
  clock.Advance(90000);
  EXPECT_EQ(9600, sink.Delivered());
  clock.SetStopped(false);
  sink.Hold(false);
  clock.Advance(36000);  // 400 ms after the gap's end, not counting the pause
  EXPECT_EQ(14400, sink.Delivered());
  sink.Flush();
  sink.Push(clock.Now(), 48000, samples.data(), 4800);
  clock.Advance(900);
  EXPECT_EQ(14880, sink.Delivered());
}

}  // namespace
}  // namespace tavelo_test
