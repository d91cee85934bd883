#include "DVDTitleTable.h"

#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>

#include <algorithm>
#include <map>
#include <memory>

namespace dvd {

void IfoCloser::operator()(ifo_handle_t* ifo) const { ifoClose(ifo); }

namespace {

int64_t Bcd(uint8_t value) { return int64_t(value >> 4) * 10 + (value & 0x0F); }

// The cells from first up to (not with) end, 1-based; of an angle block only the first
// angle's cell counts, as only one angle plays.
int64_t CellTicks(pgc_t const& pgc, int first, int end) {
  int64_t ticks = 0;
  for (int cell = std::max(first, 1); cell < end && cell <= pgc.nr_of_cells; ++cell) {
    cell_playback_t const playback = pgc.cell_playback[cell - 1];
    if (playback.block_type == BLOCK_TYPE_ANGLE_BLOCK &&
        playback.block_mode != BLOCK_MODE_FIRST_CELL) {
      continue;
    }
    ticks += DVDTitleTable::Ticks(playback.playback_time);
  }
  return ticks;
}

int64_t AllCellTicks(pgc_t const& pgc) { return CellTicks(pgc, 1, pgc.nr_of_cells + 1); }

UInt32 Frames(int64_t ticks, bool pal) {
  int64_t const frame = pal ? 3600 : 3000;
  return UInt32((ticks + frame / 2) / frame);
}

UInt8 AudioFormat(unsigned format) {
  switch (format) {
    case 0: return kDVDAudioFormatAC3;
    case 2:
    case 3: return kDVDAudioFormatMPEG;
    case 4: return kDVDAudioFormatLPCM;
    case 6: return kDVDAudioFormatDTS;
    default: return kDVDAudioFormatOther;
  }
}

DVDLanguageCode Language(bool named, uint16_t code) {
  return named && code != 0xFFFF ? DVDLanguageCode(code) : 0;
}

// The program chain of a chapter, and the cell its program starts with; null when the title
// set names one it lacks.
pgc_t const* ChapterChain(ifo_handle_t const& vts, ptt_info_t const& chapter, int* firstCell) {
  pgcit_t const* const chains = vts.vts_pgcit;
  if (!chains || !chains->pgci_srp || chapter.pgcn < 1 || chapter.pgcn > chains->nr_of_pgci_srp) {
    return nullptr;
  }
  pgc_t const* const pgc = chains->pgci_srp[chapter.pgcn - 1].pgc;
  if (!pgc || !pgc->program_map || !pgc->cell_playback || chapter.pgn < 1 ||
      chapter.pgn > pgc->nr_of_programs) {
    return nullptr;
  }
  *firstCell = pgc->program_map[chapter.pgn - 1];
  return *firstCell >= 1 && *firstCell <= pgc->nr_of_cells ? pgc : nullptr;
}

// Streams the program chain marks available, numbered as the navigator numbers them: the
// count runs to the last one available.
void DescribeStreams(vtsi_mat_t const& mat, pgc_t const& pgc, DVDTitleInfo& info) {
  for (int i = 0; i < 8; ++i) {
    uint16_t const control = pgc.audio_control[i];
    if ((control & 0x8000) == 0) {
      info.audioFormats[i] = kDVDAudioFormatOther;
      continue;
    }
    audio_attr_t const attr = mat.vts_audio_attr[i];
    info.audioStreams = UInt16(i + 1);
    info.audioLanguages[i] = Language(attr.lang_type == 1, attr.lang_code);
    info.audioFormats[i] = AudioFormat(attr.audio_format);
    info.audioChannels[i] = UInt16(attr.channels + 1);
  }
  for (int i = 0; i < 32; ++i) {
    uint32_t const control = pgc.subp_control[i];
    if ((control & 0x80000000u) == 0) continue;
    subp_attr_t const attr = mat.vts_subp_attr[i];
    info.subPictureStreams = UInt16(i + 1);
    info.subPictureLanguages[i] = Language(attr.type == 1, attr.lang_code);
  }
}

void Describe(ifo_handle_t const& vts, title_info_t const& entry, DVDTitleTable::Title& title) {
  if (!vts.vtsi_mat) return;
  vtsi_mat_t const& mat = *vts.vtsi_mat;
  DVDTitleInfo& info = title.info;
  // Sizes as the navigator takes them from the same attributes.
  video_attr_t const video = mat.vts_video_attr;
  bool const pal = video.video_format != 0;
  info.standard = pal ? kDVDVideoStandardPAL : kDVDVideoStandardNTSC;
  info.aspect = video.display_aspect_ratio == 3 ? kDVDAspectRatio16x9 : kDVDAspectRatio4x3;
  info.height = pal ? 576 : 480;
  switch (video.picture_size) {
    case 0: info.width = 720; break;
    case 1: info.width = 704; break;
    case 2: info.width = 352; break;
    default:
      info.width = 352;
      info.height /= 2;
      break;
  }

  vts_ptt_srpt_t const* const chapters = vts.vts_ptt_srpt;
  if (!chapters || !chapters->title || entry.vts_ttn < 1 || entry.vts_ttn > chapters->nr_of_srpts) {
    return;
  }
  ttu_t const& unit = chapters->title[entry.vts_ttn - 1];
  if (!unit.ptt) return;
  int const count = std::min<int>(entry.nr_of_ptts, unit.nr_of_ptts);
  // A title is usually one program chain; one of several chains starts where the chains
  // before it end.
  std::map<int, int64_t> chainStart;
  int64_t length = 0;
  for (int c = 0; c < count; ++c) {
    ptt_info_t const chapter = unit.ptt[c];
    int firstCell = 0;
    pgc_t const* const pgc = ChapterChain(vts, chapter, &firstCell);
    if (!pgc) break;
    auto chain = chainStart.find(chapter.pgcn);
    if (chain == chainStart.end()) {
      chain = chainStart.emplace(chapter.pgcn, length).first;
      length += AllCellTicks(*pgc);
      if (c == 0) DescribeStreams(mat, *pgc, info);
    }
    title.chapterFirstFrames.push_back(Frames(chain->second + CellTicks(*pgc, 1, firstCell), pal));
  }
  info.chapters = UInt16(title.chapterFirstFrames.size());
  if (info.chapters == 0) return;
  info.frames = Frames(length, pal);
  // A frame lasts 1001/30000 s (NTSC) or 1/25 s.
  uint64_t const frames = info.frames;
  info.durationMs = UInt32(pal ? frames * 40 : (frames * 1001 + 15) / 30);
}

}  // namespace

int64_t DVDTitleTable::Ticks(dvd_time_t const& time) {
  int64_t const seconds = (Bcd(time.hour) * 60 + Bcd(time.minute)) * 60 + Bcd(time.second);
  int64_t const frames = Bcd(time.frame_u & 0x3F);
  // Rate bits 11 are 30 frames a second, 01 are 25: the top bit tells them apart.
  return seconds * 90000 + frames * ((time.frame_u & 0x80) ? 3000 : 3600);
}

DVDTitleTable DVDTitleTable::Read(dvd_reader_s* reader, ifo_handle_t const& manager) {
  DVDTitleTable table;
  tt_srpt_t const* const titles = manager.tt_srpt;
  if (!reader || !titles || !titles->title) return table;
  int const titleSets = manager.vmgi_mat ? manager.vmgi_mat->vmg_nr_of_title_sets : 0;
  // Each title set's information is parsed once, however many titles it holds.
  std::map<int, Ifo> sets;
  for (int t = 0; t < titles->nr_of_srpts; ++t) {
    title_info_t const entry = titles->title[t];
    Title& title = table.mTitles.emplace_back();
    title.info.angles = entry.nr_of_angles;
    int const set = entry.title_set_nr;
    if (set < 1 || set > titleSets) continue;
    auto it = sets.find(set);
    if (it == sets.end()) it = sets.emplace(set, Ifo(::ifoOpen(reader, set))).first;
    if (it->second) Describe(*it->second, entry, title);
  }
  return table;
}

DVDTitleTable::Title const* DVDTitleTable::Find(UInt32 title) const {
  return title >= 1 && title <= mTitles.size() ? &mTitles[title - 1] : nullptr;
}

}  // namespace dvd
