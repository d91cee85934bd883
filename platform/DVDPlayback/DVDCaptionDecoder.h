// Line-21 closed captions (CEA-608, channel CC1) through libavcodec's caption decoder: the
// caption bytes a picture carries in, pictures in display order, and out what the screen
// shows whenever that changes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

struct AVCodecContext;
struct AVPacket;

namespace dvd {

class DVDCaptionDecoder {
 public:
  DVDCaptionDecoder() = default;
  ~DVDCaptionDecoder();
  DVDCaptionDecoder(DVDCaptionDecoder const&) = delete;
  DVDCaptionDecoder& operator=(DVDCaptionDecoder const&) = delete;

  bool Construct();

  // data: a picture's caption triplets (A/53 cc_data, as FFmpeg exports them). True when the
  // screen changed with them; text is then what it shows, rows joined by '\n', empty when
  // the captions went off.
  bool Feed(uint8_t const* data, size_t size, std::string* text);
  // The stream continues elsewhere: nothing shown or loaded counts.
  void Reset();

  // The words of an ASS dialogue line as the decoder writes it (its fields before the text
  // and its override tags dropped, "\N" a new row, "\h" a space).
  static std::string PlainText(char const* dialogue);

 private:
  AVCodecContext* mContext = nullptr;
  AVPacket* mPacket = nullptr;
  int64_t mPts = 0;
};

}  // namespace dvd
