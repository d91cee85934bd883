#include "DVDTitleReader.h"

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

struct DVDTitleReader::Files {
  Ifo manager;
  int titleSet = 0;
  Ifo set;
  std::unique_ptr<dvd_file_t, FileCloser> vobs;
};

void DVDTitleReader::ReaderCloser::operator()(dvd_reader_s* reader) const { DVDClose(reader); }

DVDTitleReader::DVDTitleReader(std::string path) : mPath(std::move(path)) {}

DVDTitleReader::~DVDTitleReader() = default;

bool DVDTitleReader::Extents(int title, std::vector<Extent>* extents) {
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

bool DVDTitleReader::Blocks(int title, std::vector<Extent> const& extents, uint64_t sectors,
                            std::function<bool(uint8_t const* block)> const& block,
                            std::atomic<bool> const* stop) {
  std::vector<uint8_t> blocks(kChunk * DVD_VIDEO_LB_LEN);
  for (Extent const& extent : extents) {
    for (uint32_t at = extent.first; at <= extent.last && sectors > 0;) {
      if (stop && stop->load()) return false;
      size_t const count = size_t(std::min<uint64_t>({kChunk, extent.last - at + 1, sectors}));
      if (DVDReadBlocks(mFiles->vobs.get(), int(at), count, blocks.data()) != ssize_t(count)) {
        PlatformLog("DVDTitleReader::Blocks: sectors %u-%u of title %d of %s do not read", at,
                    at + uint32_t(count) - 1, title, mPath.c_str());
        return false;
      }
      for (size_t b = 0; b < count; ++b) {
        if (!block(&blocks[b * DVD_VIDEO_LB_LEN])) return true;
      }
      at += uint32_t(count);
      sectors -= count;
    }
  }
  return true;
}

bool DVDTitleReader::ReadVideo(int title, uint32_t sectors, Video const& video) {
  std::vector<Extent> extents;
  if (!Extents(title, &extents)) return false;
  bool more = true;
  DVDDemuxer demuxer([&](DVDPayload const& payload) {
    if (more && payload.kind == DVDStreamKind::Video) more = video(payload.data, payload.size);
  });
  return Blocks(title, extents, sectors, [&](uint8_t const* block) {
    demuxer.Block(block, DVD_VIDEO_LB_LEN);
    return more;
  }, nullptr);
}

bool DVDTitleReader::Decode(int title, Picture const& picture, std::atomic<bool> const* stop) {
  std::vector<Extent> extents;
  if (!Extents(title, &extents)) {
    PlatformLog("DVDTitleReader::Decode: title %d of %s cannot be read", title, mPath.c_str());
    return false;
  }
  DVDCodecContext video;
  if (!video.Open(AV_CODEC_ID_MPEG2VIDEO, 3)) {
    PlatformLog("DVDTitleReader::Decode: no MPEG-2 decoder");
    return false;
  }
  int64_t fields = 0;  // of the pictures so far
  auto receive = [&] {
    while (avcodec_receive_frame(video.Context(), video.Frame()) == 0) {
      AVFrame const* const f = video.Frame();
      int const shown = 2 + std::max(0, f->repeat_pict);
      picture(f, fields, shown);
      fields += shown;
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
  if (!Blocks(title, extents, UINT64_MAX, [&](uint8_t const* block) {
        demuxer.Block(block, DVD_VIDEO_LB_LEN);
        return true;
      }, stop)) {
    return false;
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
