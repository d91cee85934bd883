#include "DVDFrameScan.h"

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
#include <set>

#include <unistd.h>

namespace dvd {

namespace {

constexpr size_t kChunk = 256;  // sectors read at a time

struct FileCloser {
  void operator()(dvd_file_t* file) const { DVDCloseFile(file); }
};

}  // namespace

struct DVDFrameScan::Files {
  Ifo manager;
  Ifo set;
  std::unique_ptr<dvd_file_t, FileCloser> vobs;
};

void DVDFrameScan::ReaderCloser::operator()(dvd_reader_s* reader) const { DVDClose(reader); }

DVDFrameScan::DVDFrameScan(std::string path, int width, int height)
    : mPath(std::move(path)), mWidth(width), mHeight(height), mLuma(size_t(width * height)) {}

DVDFrameScan::~DVDFrameScan() = default;

bool DVDFrameScan::Extents(int title, std::vector<Extent>* extents) {
  extents->clear();
  // libdvdread leaks what it allocated for a path it cannot open: asked only of one there.
  if (::access(mPath.c_str(), R_OK) != 0) return false;
  mReader.reset(DVDOpen2(nullptr, DVDReadLogger(), mPath.c_str()));
  if (!mReader) return false;
  mFiles = std::make_unique<Files>();
  mFiles->manager.reset(ifoOpen(mReader.get(), 0));
  if (!mFiles->manager || !mFiles->manager->tt_srpt) return false;
  tt_srpt_t const& titles = *mFiles->manager->tt_srpt;
  if (title < 1 || title > titles.nr_of_srpts || !titles.title) return false;
  title_info_t const& entry = titles.title[title - 1];
  mFiles->set.reset(ifoOpen(mReader.get(), entry.title_set_nr));
  mFiles->vobs.reset(DVDOpenFile(mReader.get(), entry.title_set_nr, DVD_READ_TITLE_VOBS));
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

void DVDFrameScan::Shrink(uint8_t const* plane, int stride, int width, int height) {
  for (int y = 0; y < mHeight; ++y) {
    int const top = y * height / mHeight;
    int const bottom = std::max(top + 1, (y + 1) * height / mHeight);
    for (int x = 0; x < mWidth; ++x) {
      int const left = x * width / mWidth;
      int const right = std::max(left + 1, (x + 1) * width / mWidth);
      unsigned sum = 0;
      for (int r = top; r < bottom; ++r) {
        uint8_t const* const row = plane + ptrdiff_t(r) * stride;
        for (int c = left; c < right; ++c) sum += row[c];
      }
      unsigned const count = unsigned((bottom - top) * (right - left));
      mLuma[size_t(y * mWidth + x)] = uint8_t((sum + count / 2) / count);
    }
  }
}

bool DVDFrameScan::Read(int title, Sink const& sink) {
  std::vector<Extent> extents;
  if (!Extents(title, &extents)) {
    PlatformLog("DVDFrameScan::Read: title %d of %s cannot be read", title, mPath.c_str());
    return false;
  }
  DVDCodecContext video;
  if (!video.Open(AV_CODEC_ID_MPEG2VIDEO, 3)) {
    PlatformLog("DVDFrameScan::Read: no MPEG-2 decoder");
    return false;
  }
  int64_t fields = 0;  // of the pictures so far
  auto picture = [&](AVFrame const* f) {
    int const shownFields = 2 + std::max(0, f->repeat_pict);
    // A picture starting halfway through a frame is on screen from the next whole one.
    int64_t const first = (fields + 1) / 2;
    int64_t const end = (fields + shownFields + 1) / 2;
    fields += shownFields;
    if (f->width < 1 || f->height < 1 || !f->data[0]) return;
    Shrink(f->data[0], f->linesize[0], f->width, f->height);
    for (int64_t frame = first; frame < end; ++frame) sink(frame, mLuma.data());
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
      size_t const count = std::min<size_t>(kChunk, extent.last - at + 1);
      if (DVDReadBlocks(mFiles->vobs.get(), int(at), count, blocks.data()) != ssize_t(count)) {
        PlatformLog("DVDFrameScan::Read: sectors %u-%u of title %d do not read", at,
                    at + uint32_t(count) - 1, title);
        return false;
      }
      for (size_t b = 0; b < count; ++b) demuxer.Block(&blocks[b * DVD_VIDEO_LB_LEN], DVD_VIDEO_LB_LEN);
      at += uint32_t(count);
    }
  }
  // The last picture is still in the parser, and the decoder holds one for reordering.
  uint8_t* out = nullptr;
  int outSize = 0;
  av_parser_parse2(video.Parser(), video.Context(), &out, &outSize, nullptr, 0, AV_NOPTS_VALUE,
                   AV_NOPTS_VALUE, 0);
  parsed(out, outSize);
  send(nullptr);
  return true;
}

}  // namespace dvd
