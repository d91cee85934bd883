// Reads a title straight from the title set's VOBs, its cells in program order, and hands on
// a small luma picture of every frame: the video decoded at 1/8 size (the smallest libavcodec
// offers) and averaged down. Frames are numbered the way the presenter numbers them: a
// picture goes with every whole frame it is on screen for, repeated fields counted.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct dvd_reader_s;

namespace dvd {

class DVDFrameScan {
 public:
  // The frame's luma, width x height bytes, rows top down.
  using Sink = std::function<void(int64_t frame, uint8_t const* luma)>;

  DVDFrameScan(std::string path, int width, int height);
  ~DVDFrameScan();
  DVDFrameScan(DVDFrameScan const&) = delete;
  DVDFrameScan& operator=(DVDFrameScan const&) = delete;

  // Every frame of the title, in order; false when the disc cannot be read there (the frames
  // given until then stand).
  bool Read(int title, Sink const& sink);

 private:
  struct Extent {
    uint32_t first = 0;
    uint32_t last = 0;
  };
  struct ReaderCloser {
    void operator()(dvd_reader_s* reader) const;
  };
  struct Files;

  bool Extents(int title, std::vector<Extent>* extents);
  // Averages a decoded luma plane down to mWidth x mHeight.
  void Shrink(uint8_t const* plane, int stride, int width, int height);

  std::string mPath;
  int mWidth = 0;
  int mHeight = 0;
  std::vector<uint8_t> mLuma;
  std::unique_ptr<dvd_reader_s, ReaderCloser> mReader;
  std::unique_ptr<Files> mFiles;
};

}  // namespace dvd
