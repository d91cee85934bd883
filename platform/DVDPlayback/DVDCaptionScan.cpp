#include "DVDCaptionScan.h"

#include "DVDCaptionDecoder.h"
#include "PlatformLog.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <cstring>
#include <vector>

namespace dvd {

namespace {

constexpr uint32_t kProbeSectors = 2048;  // the first 4 MB: a few seconds of any title

// Picture user data that carries captions: ATSC A/53 ("GA94", cc_data) or the DVD form
// ("CC", a group's worth).
bool HasCaptionUserData(uint8_t const* p, size_t size) {
  for (size_t i = 0; i + 9 <= size; ++i) {
    if (p[i] != 0 || p[i + 1] != 0 || p[i + 2] != 1 || p[i + 3] != 0xB2) continue;
    uint8_t const* const d = p + i + 4;
    if (std::memcmp(d, "GA94\x03", 5) == 0) return true;
    if (d[0] == 'C' && d[1] == 'C' && d[2] == 0x01 && d[3] == 0xF8) return true;
  }
  return false;
}

// Hands each field shown its caption bytes. Captions come as picture user data (A/53: each
// picture carries the pairs of its own fields) or as group user data (DVD: the group's first
// decoded picture carries a pair for every field of the group, in display order, the pictures
// shown before it in an open group included). Either way each pair goes with its field, so
// that a caption starts on the frame it was sent for.
class DVDCaptionFields {
 public:
  using Field = std::function<void(int64_t field, uint8_t const* triplet)>;

  void Picture(int64_t firstField, int shownFields, uint8_t const* data, size_t size,
               Field const& field) {
    std::vector<std::array<uint8_t, 3>> line21;
    for (size_t i = 0; i + 3 <= size; i += 3) {
      // Line-21 pairs (type 0 and 1, field 1 and 2) only; the rest is digital captions.
      if ((data[i] & 0x04) && (data[i] & 0x03) <= 1) line21.push_back({data[i], data[i + 1], data[i + 2]});
    }
    if (!line21.empty() && int(line21.size()) <= shownFields && mPending.empty()) {
      mOwed.clear();
      for (size_t i = 0; i < line21.size(); ++i) field(firstField + int64_t(i), line21[i].data());
      return;
    }
    for (auto const& t : line21) mPending.push_back(t);
    for (int i = 0; i < shownFields; ++i) mOwed.push_back(firstField + i);
    while (!mPending.empty() && !mOwed.empty()) {
      field(mOwed.front(), mPending.front().data());
      mPending.pop_front();
      mOwed.pop_front();
    }
    // Fields waiting long for bytes get none (a stretch without captions); bytes far ahead of
    // their fields are a stream that says more than it shows.
    while (mOwed.size() > kOwedAtMost) mOwed.pop_front();
    while (mPending.size() > kPendingAtMost) mPending.pop_front();
  }

 private:
  static constexpr size_t kOwedAtMost = 8;  // an open group's leading pictures
  static constexpr size_t kPendingAtMost = 512;
  std::deque<std::array<uint8_t, 3>> mPending;
  std::deque<int64_t> mOwed;
};

}  // namespace

DVDCaptionScan::DVDCaptionScan(std::string path) : mReader(std::move(path)) {}

DVDCaptionScan::~DVDCaptionScan() = default;

bool DVDCaptionScan::Carries(int title) {
  bool found = false;
  mReader.ReadVideo(title, kProbeSectors, [&](uint8_t const* data, size_t size) {
    found = HasCaptionUserData(data, size);
    return !found;
  });
  return found;
}

bool DVDCaptionScan::Read(int title, CueSink const& cue, Progress const& progress,
                          std::atomic<bool> const* stop) {
  DVDCaptionDecoder captions;
  if (!captions.Construct()) return false;
  bool shown = false;
  DVDCaptionCue current;
  std::string text;
  DVDCaptionFields pacer;
  int64_t frames = 0;
  auto changed = [&](int64_t frame) {
    if (shown && text == current.text) return;
    if (shown && frame > current.firstFrame) {
      current.endFrame = frame;
      cue(current);
    }
    shown = !text.empty();
    current = DVDCaptionCue{frame, 0, text};
  };
  bool const read = mReader.Decode(
      title,
      [&](AVFrame const* f, int64_t firstField, int fields) {
        AVFrameSideData const* const data = av_frame_get_side_data(f, AV_FRAME_DATA_A53_CC);
        pacer.Picture(firstField, fields, data ? data->data : nullptr, data ? data->size : 0,
                      [&](int64_t field, uint8_t const* triplet) {
                        // A field that starts halfway through a frame counts from the next.
                        if (captions.Feed(triplet, 3, &text)) changed((field + 1) / 2);
                      });
        frames = (firstField + fields + 1) / 2;
        if (progress && frames % 64 == 0) progress(frames);
      },
      stop);
  if (!read) return false;
  if (shown && frames > current.firstFrame) {
    current.endFrame = frames;
    cue(current);
  }
  if (progress) progress(frames);
  return true;
}

}  // namespace dvd
