// Reads a title straight from its title set's VOBs, outside the navigator: its cells in
// program order (of an angle block, the first angle), for the readers that go through a whole
// title without playing it (closed captions, frame signatures). The video can be had as it is
// or decoded at 1/8 size, the smallest libavcodec offers, pictures in display order with the
// fields they are on screen for.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct AVFrame;
struct dvd_reader_s;

namespace dvd {

class DVDTitleReader {
 public:
  // A decoded picture, the first of its fields counted from the title's start, and how many
  // fields it is on screen for (3 where a field is repeated).
  using Picture = std::function<void(AVFrame const* f, int64_t firstField, int fields)>;
  // Video elementary-stream bytes as they come; false stops the reading.
  using Video = std::function<bool(uint8_t const* data, size_t size)>;

  explicit DVDTitleReader(std::string path);
  ~DVDTitleReader();
  DVDTitleReader(DVDTitleReader const&) = delete;
  DVDTitleReader& operator=(DVDTitleReader const&) = delete;

  // Every picture of the title; false when the disc cannot be read there or stop was set
  // (the pictures given until then stand).
  bool Decode(int title, Picture const& picture, std::atomic<bool> const* stop);
  // The video bytes of the title's first sectors, at most sectors of them.
  bool ReadVideo(int title, uint32_t sectors, Video const& video);

 private:
  struct Extent {
    uint32_t first = 0;
    uint32_t last = 0;
  };
  struct ReaderCloser {
    void operator()(dvd_reader_s* reader) const;
  };
  struct Files;

  // The sector ranges of the title's cells in playing order; false when unknown.
  bool Extents(int title, std::vector<Extent>* extents);
  // Hands each block of the extents on, up to sectors of them; false on a read failure.
  bool Blocks(int title, std::vector<Extent> const& extents, uint64_t sectors,
              std::function<bool(uint8_t const* block)> const& block,
              std::atomic<bool> const* stop);

  std::string mPath;
  std::unique_ptr<dvd_reader_s, ReaderCloser> mReader;
  std::unique_ptr<Files> mFiles;
  bool mUnreadable = false;
};

}  // namespace dvd
