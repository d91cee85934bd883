#include "DVDCaptionScan.h"

#include "DVDCaptionDecoder.h"
#include "DVDCodecContext.h"
#include "DVDDemuxer.h"
#include "DVDLibraryLog.h"
#include "DVDTitleTable.h"
#include "PlatformLog.h"

#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <cstring>
#include <set>
#include <vector>

#include <unistd.h>

namespace dvd {

namespace {

constexpr size_t kChunk = 256;        // sectors read at a time
constexpr uint32_t kProbeSectors = 2048;  // the first 4 MB: a few seconds of any title

struct FileCloser {
  void operator()(dvd_file_t* file) const { DVDCloseFile(file); }
};

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

struct DVDCaptionScan::Files {
  Ifo manager;
  int titleSet = 0;
  Ifo set;
  std::unique_ptr<dvd_file_t, FileCloser> vobs;
};

void DVDCaptionScan::ReaderCloser::operator()(dvd_reader_s* reader) const { DVDClose(reader); }

DVDCaptionScan::DVDCaptionScan(std::string path) : mPath(std::move(path)) {}

DVDCaptionScan::~DVDCaptionScan() = default;

bool DVDCaptionScan::Extents(int title, std::vector<Extent>* extents) {
  extents->clear();
  if (!mReader && !mUnreadable) {
    // libdvdread leaks what it allocated for a path it cannot open: asked only of one there.
    if (::access(mPath.c_str(), R_OK) == 0) {
      mReader.reset(DVDOpen2(nullptr, DVDReadLogger(), mPath.c_str()));
    }
    mFiles = std::make_unique<Files>();
    if (mReader) mFiles->manager.reset(ifoOpen(mReader.get(), 0));
    mUnreadable = !mReader || !mFiles->manager || !mFiles->manager->tt_srpt;
  }
  if (mUnreadable) return false;
  tt_srpt_t const& titles = *mFiles->manager->tt_srpt;
  if (title < 1 || title > titles.nr_of_srpts || !titles.title) return false;
  title_info_t const& entry = titles.title[title - 1];
  if (entry.title_set_nr != mFiles->titleSet) {
    mFiles->titleSet = entry.title_set_nr;
    mFiles->set.reset(ifoOpen(mReader.get(), entry.title_set_nr));
    mFiles->vobs.reset(DVDOpenFile(mReader.get(), entry.title_set_nr, DVD_READ_TITLE_VOBS));
  }
  ifo_handle_t const* const set = mFiles->set.get();
  if (!set || !mFiles->vobs || !set->vts_ptt_srpt || !set->vts_pgcit) return false;
  vts_ptt_srpt_t const& parts = *set->vts_ptt_srpt;
  pgcit_t const& chains = *set->vts_pgcit;
  if (entry.vts_ttn < 1 || entry.vts_ttn > parts.nr_of_srpts || !parts.title) return false;
  ttu_t const& unit = parts.title[entry.vts_ttn - 1];
  std::set<int> seen;
  for (int p = 0; p < unit.nr_of_ptts && unit.ptt; ++p) {
    int const pgcn = unit.ptt[p].pgcn;
    if (pgcn < 1 || pgcn > chains.nr_of_pgci_srp || !seen.insert(pgcn).second) continue;
    pgc_t const* const pgc = chains.pgci_srp[pgcn - 1].pgc;
    if (!pgc || !pgc->cell_playback) continue;
    for (int c = 0; c < pgc->nr_of_cells; ++c) {
      cell_playback_t const& cell = pgc->cell_playback[c];
      // Of an angle block only the first angle plays.
      if (cell.block_type == BLOCK_TYPE_ANGLE_BLOCK && cell.block_mode != BLOCK_MODE_FIRST_CELL) {
        continue;
      }
      if (cell.last_sector >= cell.first_sector) {
        extents->push_back({cell.first_sector, cell.last_sector});
      }
    }
  }
  return !extents->empty();
}

bool DVDCaptionScan::Carries(int title) {
  std::vector<Extent> extents;
  if (!Extents(title, &extents)) return false;
  bool found = false;
  DVDDemuxer demuxer([&](DVDPayload const& payload) {
    if (payload.kind == DVDStreamKind::Video && HasCaptionUserData(payload.data, payload.size)) {
      found = true;
    }
  });
  std::vector<uint8_t> blocks(kChunk * DVD_VIDEO_LB_LEN);
  uint32_t budget = kProbeSectors;
  for (Extent const& extent : extents) {
    for (uint32_t at = extent.first; at <= extent.last && budget > 0 && !found;) {
      size_t const count = std::min<size_t>({kChunk, extent.last - at + 1, budget});
      if (DVDReadBlocks(mFiles->vobs.get(), int(at), count, blocks.data()) != ssize_t(count)) {
        return found;
      }
      for (size_t b = 0; b < count; ++b) demuxer.Block(&blocks[b * DVD_VIDEO_LB_LEN], DVD_VIDEO_LB_LEN);
      at += uint32_t(count);
      budget -= uint32_t(count);
    }
    if (budget == 0 || found) break;
  }
  return found;
}

bool DVDCaptionScan::Read(int title, CueSink const& cue, Progress const& progress,
                          std::atomic<bool> const* stop) {
  std::vector<Extent> extents;
  if (!Extents(title, &extents)) {
    PlatformLog("DVDCaptionScan::Read: title %d of %s cannot be read", title, mPath.c_str());
    return false;
  }
  DVDCodecContext video;
  DVDCaptionDecoder captions;
  if (!video.Open(AV_CODEC_ID_MPEG2VIDEO, 3) || !captions.Construct()) return false;

  int64_t fields = 0;  // of the pictures so far
  bool shown = false;
  DVDCaptionCue current;
  std::string text;
  DVDCaptionFields pacer;
  auto changed = [&](int64_t frame) {
    if (shown && text == current.text) return;
    if (shown && frame > current.firstFrame) {
      current.endFrame = frame;
      cue(current);
    }
    shown = !text.empty();
    current = DVDCaptionCue{frame, 0, text};
  };
  auto picture = [&](AVFrame const* f) {
    int const shownFields = 2 + std::max(0, f->repeat_pict);
    AVFrameSideData const* const data = av_frame_get_side_data(f, AV_FRAME_DATA_A53_CC);
    pacer.Picture(fields, shownFields, data ? data->data : nullptr, data ? data->size : 0,
                  [&](int64_t field, uint8_t const* triplet) {
                    // A field that starts halfway through a frame counts from the next.
                    if (captions.Feed(triplet, 3, &text)) changed((field + 1) / 2);
                  });
    fields += shownFields;
  };
  auto receive = [&] {
    while (avcodec_receive_frame(video.Context(), video.Frame()) == 0) {
      picture(video.Frame());
      av_frame_unref(video.Frame());
    }
  };
  auto send = [&](AVPacket* packet) {
    if (avcodec_send_packet(video.Context(), packet) == AVERROR(EAGAIN)) {
      receive();
      avcodec_send_packet(video.Context(), packet);
    }
    receive();
  };
  auto parsed = [&](uint8_t* data, int size) {
    if (size <= 0) return;
    AVPacket* const packet = video.Packet();
    packet->data = data;
    packet->size = size;
    packet->pts = AV_NOPTS_VALUE;
    packet->dts = AV_NOPTS_VALUE;
    send(packet);
  };
  DVDDemuxer demuxer([&](DVDPayload const& payload) {
    if (payload.kind == DVDStreamKind::Video) video.Parse(payload.data, payload.size, payload.pts, parsed);
  });

  std::vector<uint8_t> blocks(kChunk * DVD_VIDEO_LB_LEN);
  for (Extent const& extent : extents) {
    for (uint32_t at = extent.first; at <= extent.last;) {
      if (stop && stop->load()) return false;
      size_t const count = std::min<size_t>(kChunk, extent.last - at + 1);
      if (DVDReadBlocks(mFiles->vobs.get(), int(at), count, blocks.data()) != ssize_t(count)) {
        PlatformLog("DVDCaptionScan::Read: sectors %u-%u of title %d do not read", at,
                    at + uint32_t(count) - 1, title);
        return false;
      }
      for (size_t b = 0; b < count; ++b) demuxer.Block(&blocks[b * DVD_VIDEO_LB_LEN], DVD_VIDEO_LB_LEN);
      at += uint32_t(count);
      if (progress) progress((fields + 1) / 2);
    }
  }
  // The last picture is still in the parser, and the decoder holds one for reordering.
  uint8_t* out = nullptr;
  int outSize = 0;
  av_parser_parse2(video.Parser(), video.Context(), &out, &outSize, nullptr, 0, AV_NOPTS_VALUE,
                   AV_NOPTS_VALUE, 0);
  parsed(out, outSize);
  send(nullptr);
  if (shown) {
    current.endFrame = (fields + 1) / 2;
    if (current.endFrame > current.firstFrame) cue(current);
  }
  if (progress) progress((fields + 1) / 2);
  return true;
}

}  // namespace dvd
