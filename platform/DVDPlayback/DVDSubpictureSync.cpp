#include "DVDSubpictureSync.h"

#include "DVDDemuxer.h"
#include "DVDLibraryLog.h"

#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>
#include <dvdread/nav_read.h>
#include <dvdread/nav_types.h>

#include <algorithm>
#include <map>
#include <set>

namespace dvd {

namespace {

constexpr size_t kSector = DVD_VIDEO_LB_LEN;
// Sectors read at a time, and at most for one group (two groups of the highest rate).
constexpr size_t kChunk = 32;
constexpr uint32_t kMaxScan = 1024;
// Cells asked before the group's own: a subtitle rarely outlasts a short cell or two.
constexpr size_t kMaxCellsBefore = 3;
// A sync address pointing back (top bit) that is not "none".
constexpr uint32_t kBackward = 0x80000000u;
constexpr uint32_t kNone = 0x7fffffffu;

bool Backward(uint32_t address) { return (address & kBackward) && address != kNone; }

// A navigation pack: pack header, system header, then the PCI and DSI packets.
bool IsNavPack(uint8_t const* s) {
  auto const startCode = [&](size_t at, uint8_t id) {
    return s[at] == 0 && s[at + 1] == 0 && s[at + 2] == 1 && s[at + 3] == id;
  };
  return startCode(0, 0xBA) && startCode(0x0E, 0xBB) && startCode(0x26, 0xBF) &&
         startCode(0x400, 0xBF) && s[0x406] == 0x01;
}

// Assembles the units of the streams asked from the packets of the sectors given in order.
class UnitCollector {
 public:
  UnitCollector(uint32_t streams, int64_t before, std::array<DVDSubpictureUnit, 32>& found)
      : mStreams(streams), mBefore(before), mFound(found),
        mDemuxer([this](DVDPayload const& p) { Add(p); }) {}

  void Sector(uint8_t const* data) { mDemuxer.Block(data, kSector); }
  bool Assembling() const {
    return std::any_of(mOpen.begin(), mOpen.end(), [](auto const& u) { return !u.bytes.empty(); });
  }

 private:
  void Add(DVDPayload const& p) {
    if (p.kind != DVDStreamKind::Subpicture || p.index < 0 || p.index >= 32 ||
        !(mStreams >> p.index & 1)) {
      return;
    }
    DVDSubpictureUnit& u = mOpen[size_t(p.index)];
    if (p.pts != kNoTime) {
      u.stream = p.index;
      u.pts = p.pts;
      u.bytes.assign(p.data, p.data + p.size);
    } else if (!u.bytes.empty()) {
      u.bytes.insert(u.bytes.end(), p.data, p.data + p.size);
    }
    if (u.bytes.size() < 2) return;
    size_t const size = size_t(u.bytes[0]) << 8 | u.bytes[1];
    if (size < 4) {
      u.bytes.clear();
      return;
    }
    if (u.bytes.size() < size) return;
    u.bytes.resize(size);
    // Units of the group itself and after come with it.
    if (u.pts <= mBefore) mFound[size_t(p.index)] = std::move(u);
    u.bytes.clear();
  }

  uint32_t const mStreams;
  int64_t const mBefore;
  std::array<DVDSubpictureUnit, 32>& mFound;
  std::array<DVDSubpictureUnit, 32> mOpen;
  DVDDemuxer mDemuxer;
};

uint32_t FoundStreams(std::array<DVDSubpictureUnit, 32> const& found) {
  uint32_t streams = 0;
  for (size_t n = 0; n < found.size(); ++n) {
    if (!found[n].bytes.empty()) streams |= 1u << n;
  }
  return streams;
}

}  // namespace

void DVDSubpictureSync::ReaderCloser::operator()(dvd_reader_s* reader) const {
  DVDClose(reader);
}

void DVDSubpictureSync::FileCloser::operator()(dvd_file_s* file) const { DVDCloseFile(file); }

DVDSubpictureSync::DVDSubpictureSync(std::string path) : mPath(std::move(path)) {}

DVDSubpictureSync::~DVDSubpictureSync() = default;

bool DVDSubpictureSync::OpenTitleSet(int title) {
  if (!mReader && !mUnreadable) {
    mReader.reset(DVDOpen2(nullptr, DVDReadLogger(), mPath.c_str()));
    if (mReader) mManager.reset(ifoOpen(mReader.get(), 0));
    mUnreadable = !mReader || !mManager || !mManager->tt_srpt;
  }
  if (mUnreadable) return false;
  tt_srpt_t const& titles = *mManager->tt_srpt;
  if (title < 1 || title > titles.nr_of_srpts || !titles.title) return false;
  title_info_t const& entry = titles.title[title - 1];
  mTitleSetTitle = entry.vts_ttn;
  // Opened once a title set, and not tried again when it does not open.
  if (entry.title_set_nr != mTitleSet) {
    mTitleSet = entry.title_set_nr;
    mSet.reset(ifoOpen(mReader.get(), mTitleSet));
    mVobs.reset(DVDOpenFile(mReader.get(), mTitleSet, DVD_READ_TITLE_VOBS));
  }
  return mSet && mVobs;
}

bool DVDSubpictureSync::ReadSectors(uint32_t sector, size_t count, uint8_t* data) {
  return DVDReadBlocks(mVobs.get(), int(sector), count, data) == ssize_t(count);
}

bool DVDSubpictureSync::Read(DVDSubpicturePlace const& place,
                             std::vector<DVDSubpictureUnit>* units) {
  units->clear();
  if (!OpenTitleSet(place.title)) return false;
  Found found;
  uint32_t const synced = ScanSynced(place.navSector, place.synca, 0xFFFFFFFFu,
                                     place.navSector, place.ptsStart, found);
  // Without an address the unit on screen may have come in a cell before: the last group of
  // each cell holds its own units, or points to the group that does.
  uint32_t wanted = place.shown & ~synced;
  for (uint32_t const nav : wanted ? CellsBefore(place) : std::vector<uint32_t>()) {
    if (!Scan(nav, place.navSector, wanted, place.ptsStart, found)) break;
    wanted &= ~FoundStreams(found);
    if (!wanted) break;
    uint8_t sector[kSector];
    if (!ReadSectors(nav, 1, sector) || !IsNavPack(sector)) break;
    dsi_t dsi;
    navRead_DSI(&dsi, sector + DSI_START_BYTE);
    std::array<uint32_t, 32> synca;
    for (size_t n = 0; n < synca.size(); ++n) synca[n] = dsi.synci.sp_synca[n];
    wanted &= ~ScanSynced(nav, synca, wanted, nav, place.ptsStart, found);
    if (!wanted) break;
  }
  for (DVDSubpictureUnit& u : found) {
    if (!u.bytes.empty()) units->push_back(std::move(u));
  }
  return true;
}

uint32_t DVDSubpictureSync::ScanSynced(uint32_t nav, std::array<uint32_t, 32> const& synca,
                                       uint32_t streams, uint32_t end, int64_t before,
                                       Found& found) {
  // Streams whose units are in the same group are read together.
  std::map<uint32_t, uint32_t> groups;
  uint32_t synced = 0;
  for (uint32_t n = 0; n < 32; ++n) {
    uint32_t const address = synca[n];
    if (!(streams >> n & 1) || !Backward(address)) continue;
    uint32_t const back = address & ~kBackward;
    if (back == 0 || back > nav) continue;
    groups[nav - back] |= 1u << n;
    synced |= 1u << n;
  }
  for (auto const& [from, those] : groups) Scan(from, end, those, before, found);
  return synced;
}

bool DVDSubpictureSync::Scan(uint32_t from, uint32_t end, uint32_t streams, int64_t before,
                             Found& found) {
  UnitCollector collector(streams, before, found);
  std::vector<uint8_t> data(kChunk * kSector);
  uint32_t const last = std::min(end, from + kMaxScan);
  for (uint32_t sector = from; sector < last;) {
    size_t const count = std::min<size_t>(kChunk, last - sector);
    if (!ReadSectors(sector, count, data.data())) return false;
    for (size_t i = 0; i < count; ++i, ++sector) {
      uint8_t const* const s = data.data() + i * kSector;
      // The group ends at the next one's navigation packet, unless a unit runs on into it.
      if (sector != from && IsNavPack(s) && !collector.Assembling()) return true;
      collector.Sector(s);
    }
  }
  return true;
}

std::vector<uint32_t> DVDSubpictureSync::CellsBefore(DVDSubpicturePlace const& place) const {
  std::vector<uint32_t> navs;
  vts_ptt_srpt_t const* const parts = mSet->vts_ptt_srpt;
  pgcit_t const* const chains = mSet->vts_pgcit;
  if (!parts || !parts->title || !chains || !chains->pgci_srp || mTitleSetTitle < 1 ||
      mTitleSetTitle > parts->nr_of_srpts) {
    return navs;
  }
  ttu_t const& unit = parts->title[mTitleSetTitle - 1];
  std::set<int> seen;
  for (int p = 0; p < unit.nr_of_ptts && unit.ptt; ++p) {
    int const pgcn = unit.ptt[p].pgcn;
    if (pgcn < 1 || pgcn > chains->nr_of_pgci_srp || !seen.insert(pgcn).second) continue;
    pgc_t const* const pgc = chains->pgci_srp[pgcn - 1].pgc;
    if (!pgc || !pgc->cell_position || !pgc->cell_playback) continue;
    for (int c = 0; c < pgc->nr_of_cells; ++c) {
      cell_position_t const& at = pgc->cell_position[c];
      if (at.vob_id_nr != place.vob || at.cell_nr != place.cell) continue;
      for (int k = c - 1; k >= 0 && navs.size() < kMaxCellsBefore; --k) {
        cell_playback_t const& cell = pgc->cell_playback[k];
        // Another VOB's time stamps start afresh; of an angle block only one angle plays.
        if (pgc->cell_position[k].vob_id_nr != place.vob ||
            cell.block_type == BLOCK_TYPE_ANGLE_BLOCK) {
          break;
        }
        navs.push_back(cell.last_vobu_start_sector);
      }
      return navs;
    }
  }
  return navs;
}

}  // namespace dvd
