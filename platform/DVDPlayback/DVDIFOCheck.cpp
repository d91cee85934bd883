#include "DVDIFOCheck.h"

#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>

#include <cstdarg>

namespace dvd {

namespace {

// The helper has nothing to say: whatever the parser reports stays unwritten.
void Quiet(void*, dvd_logger_level_t, char const*, va_list) {}
dvd_logger_cb const kQuiet = {Quiet};

// Program chains the navigator would stop the process on (it asserts, for one, that every
// program starts at a cell that exists).
bool Playable(pgc_t const* pgc) {
  if (!pgc) return true;
  if (pgc->nr_of_programs > 0 && (!pgc->program_map || !pgc->cell_playback || pgc->nr_of_cells == 0))
    return false;
  for (int p = 0; p < pgc->nr_of_programs; ++p)
    if (pgc->program_map[p] < 1 || pgc->program_map[p] > pgc->nr_of_cells) return false;
  return true;
}

bool Playable(pgcit_t const* table) {
  if (!table) return true;
  if (table->nr_of_pgci_srp > 0 && !table->pgci_srp) return false;
  for (int i = 0; i < table->nr_of_pgci_srp; ++i)
    if (!Playable(table->pgci_srp[i].pgc)) return false;
  return true;
}

bool Playable(pgci_ut_t const* units) {
  if (!units) return true;
  if (units->nr_of_lus > 0 && !units->lu) return false;
  for (int i = 0; i < units->nr_of_lus; ++i)
    if (!Playable(units->lu[i].pgcit)) return false;
  return true;
}

// Parts of titles that name program chains or programs that are not there.
bool Playable(vts_ptt_srpt_t const* parts, pgcit_t const* chains) {
  if (!parts || !chains) return true;
  for (int t = 0; t < parts->nr_of_srpts; ++t) {
    if (!parts->title) return false;
    ttu_t const& title = parts->title[t];
    for (int p = 0; p < title.nr_of_ptts; ++p) {
      if (!title.ptt) return false;
      int const pgcn = title.ptt[p].pgcn;
      if (pgcn < 1 || pgcn > chains->nr_of_pgci_srp || !chains->pgci_srp[pgcn - 1].pgc) return false;
      if (title.ptt[p].pgn < 1 || title.ptt[p].pgn > chains->pgci_srp[pgcn - 1].pgc->nr_of_programs)
        return false;
    }
  }
  return true;
}

bool Playable(ifo_handle_t const* ifo, int title) {
  if (title == 0) {
    if (!Playable(ifo->first_play_pgc) || !Playable(ifo->pgci_ut)) return false;
    tt_srpt_t const* titles = ifo->tt_srpt;
    for (int t = 0; titles && t < titles->nr_of_srpts; ++t)
      if (!titles->title || titles->title[t].title_set_nr < 1 ||
          titles->title[t].title_set_nr > ifo->vmgi_mat->vmg_nr_of_title_sets)
        return false;
    return true;
  }
  return Playable(ifo->vts_pgcit) && Playable(ifo->pgci_ut) && Playable(ifo->vts_ptt_srpt, ifo->vts_pgcit);
}

}  // namespace

DVDIFOCheck::Verdict DVDIFOCheck::Parse(char const* discPath, int title) {
  dvd_reader_t* reader = ::DVDOpen2(nullptr, &kQuiet, discPath);
  if (!reader) return kVerdictUnparsable;
  ifo_handle_t* ifo = ::ifoOpen(reader, title);
  bool const ok = ifo && (title == 0 ? ifo->vmgi_mat && ifo->tt_srpt : ifo->vtsi_mat != nullptr);
  bool const playable = ok && Playable(ifo, title);
  if (ifo) ::ifoClose(ifo);
  ::DVDClose(reader);
  return !ok ? kVerdictUnparsable : playable ? kVerdictGood : kVerdictUnplayable;
}

}  // namespace dvd
