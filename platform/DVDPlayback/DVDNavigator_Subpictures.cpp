// The navigator's part in showing, after a jump, the subpicture on screen where it lands:
// the unit drawing it was read with an earlier group, and is read again for the pipeline.
#include "DVDNavigator.h"

#include "DVDSubpictureSync.h"

#include <dvdnav/dvdnav.h>

#include <utility>
#include <vector>

namespace dvd {

bool DVDNavigator::SyncSubpictures(std::unique_lock<std::mutex>& lk, ReadEvent const& e) {
  if (!mPipeline || !mSubpictureSync || !e.position.inTitle) return true;
  dsi_t const* const dsi = dvdnav_get_current_nav_dsi(mDisc.Nav());
  if (!dsi) return true;
  DVDSubpicturePlace place;
  place.title = e.position.title;
  place.navSector = dsi->dsi_gi.nv_pck_lbn;
  place.vob = dsi->dsi_gi.vobu_vob_idn;
  place.cell = dsi->dsi_gi.vobu_c_idn;
  place.ptsStart = e.vobuStart;
  for (size_t n = 0; n < place.synca.size(); ++n) place.synca[n] = dsi->synci.sp_synca[n];
  // The stream whose pictures show (chosen, or forced ones only) is looked for further back.
  int const spu = mDisc.SelectedSubPicture();
  place.shown = spu < 0 ? 0 : 1u << (spu & 0x1F);
  uint64_t const serial = mWork.mSerial;
  std::vector<DVDSubpictureUnit> units;
  lk.unlock();
  mSubpictureSync->Read(place, &units);
  lk.lock();
  if (mWork.mSerial != serial) return false;
  // Ahead of the group's own blocks, timed by it.
  for (DVDSubpictureUnit& u : units) {
    mPipeline->SubpictureUnit(u.stream, u.pts, std::move(u.bytes));
  }
  return true;
}

}  // namespace dvd
