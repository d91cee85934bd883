// Reads a title's closed captions straight from the title set's VOBs: its cells in program
// order, the video decoded at the smallest size libavcodec offers (only the pictures' caption
// bytes are wanted, and they come with decoded pictures, in display order), the captions
// through DVDCaptionDecoder. Pictures are numbered the way the presenter numbers them: by the
// first whole frame they are on screen for, repeated fields counted.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

struct dvd_reader_s;

namespace dvd {

struct DVDCaptionCue {
  int64_t firstFrame = 0;
  int64_t endFrame = 0;  // the first frame without it
  std::string text;      // rows joined by '\n'
};

class DVDCaptionScan {
 public:
  // Each cue once it has ended; progress: the frames read so far.
  using CueSink = std::function<void(DVDCaptionCue const&)>;
  using Progress = std::function<void(int64_t frames)>;

  explicit DVDCaptionScan(std::string path);
  ~DVDCaptionScan();
  DVDCaptionScan(DVDCaptionScan const&) = delete;
  DVDCaptionScan& operator=(DVDCaptionScan const&) = delete;

  // Whether the title's pictures carry caption bytes, from its first sectors (no decoding).
  bool Carries(int title);
  // Every caption of the title, in order; false when the disc cannot be read there or stop
  // was set (the cues given until then stand).
  bool Read(int title, CueSink const& cue, Progress const& progress,
            std::atomic<bool> const* stop);

 private:
  struct Extent {
    uint32_t first = 0;
    uint32_t last = 0;
  };
  struct ReaderCloser {
    void operator()(dvd_reader_s* reader) const;
  };
  struct Files;

  // The sector ranges of the title's cells in playing order (one angle); false when unknown.
  bool Extents(int title, std::vector<Extent>* extents);

  std::string mPath;
  std::unique_ptr<dvd_reader_s, ReaderCloser> mReader;
  std::unique_ptr<Files> mFiles;
  bool mUnreadable = false;
};

}  // namespace dvd
