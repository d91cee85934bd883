#include "DVDMedia.h"

#include "DVDLibraryLog.h"
#include "DVDScrambling.h"
#include "DVDTitleTable.h"
#include "PlatformLog.h"

#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>

#include <cstdarg>
#include <fcntl.h>
#include <linux/cdrom.h>
#include <mntent.h>
#include <strings.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

namespace dvd {

namespace {


struct ReaderCloser {
  void operator()(dvd_reader_t* r) const { DVDClose(r); }
};

bool IsDir(std::string const& p) {
  struct stat st;
  return ::stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The VIDEO_TS folder inside dir, whatever its case.
std::string FindVideoTS(std::string const& dir) {
  std::error_code ec;
  for (auto const& entry : std::filesystem::directory_iterator(dir, ec)) {
    std::string const name = entry.path().filename().string();
    if (::strcasecmp(name.c_str(), "VIDEO_TS") == 0 && IsDir(entry.path().string())) {
      return entry.path().string();
    }
  }
  return {};
}

// The device mounted at dir, when dir is a mount point.
std::string MountedDevice(std::string const& dir) {
  std::string device;
  FILE* const f = ::setmntent("/proc/self/mounts", "r");
  if (!f) return device;
  struct mntent entry;
  char buf[4096];
  while (::getmntent_r(f, &entry, buf, sizeof buf)) {
    if (dir == entry.mnt_dir && std::strncmp(entry.mnt_fsname, "/dev/", 5) == 0) {
      device = entry.mnt_fsname;
    }
  }
  ::endmntent(f);
  return device;
}

// The manager's title-set count, read from its bytes (nothing is parsed); the IFO's, or with
// backup set, the BUP's.
int TitleSetCount(dvd_reader_t* reader, bool backup) {
  dvd_file_t* file = ::DVDOpenFile(reader, 0, backup ? DVD_READ_INFO_BACKUP_FILE : DVD_READ_INFO_FILE);
  if (!file) return -1;
  unsigned char head[DVD_VIDEO_LB_LEN];
  ssize_t const got = ::DVDReadBytes(file, head, sizeof head);
  ::DVDCloseFile(file);
  if (got < 0x40 || std::memcmp(head, "DVDVIDEO-VMG", 12) != 0) return -1;
  return (head[0x3E] << 8) | head[0x3F];
}

// FNV-1a over the information files of the manager and every titleset. A file's backup
// holds the same bytes, so a disc missing a file hashes as the complete one does.
bool HashInformationFiles(dvd_reader_t* reader, int titlesets, std::array<UInt8, 8>& id) {
  if (titlesets < 0 || titlesets > 99) return false;
  uint64_t hash = 0xcbf29ce484222325ull;
  for (int n = 0; n <= titlesets; ++n) {
    dvd_file_t* file = ::DVDOpenFile(reader, n, DVD_READ_INFO_FILE);
    if (!file) file = ::DVDOpenFile(reader, n, DVD_READ_INFO_BACKUP_FILE);
    if (!file) return false;
    ssize_t const blocks = ::DVDFileSize(file);
    std::vector<unsigned char> bytes(size_t(blocks > 0 ? blocks : 0) * DVD_VIDEO_LB_LEN);
    ssize_t const got = bytes.empty() ? 0 : ::DVDReadBytes(file, bytes.data(), bytes.size());
    ::DVDCloseFile(file);
    if (got <= 0) return false;
    for (ssize_t i = 0; i < got; ++i) {
      hash = (hash ^ bytes[size_t(i)]) * 0x100000001b3ull;
    }
  }
  for (size_t i = 0; i < id.size(); ++i) id[i] = UInt8(hash >> (56 - 8 * i));
  return true;
}

}  // namespace

OSStatus DVDMedia::Construct(std::string const& path, DVDProbeOptions const& probeOptions) {
  mPath.clear();
  mOpenPath.clear();
  mOverlay.reset();
  mDevice.clear();
  mUniqueID = {};
  mDiscRegion = kDVDRegionCodeUninitialized;
  mNativeHeight = 480;
  mAspect = kDVDAspectRatio4x3;
  mTitles = std::make_shared<DVDTitleTable const>();

  struct stat st;
  if (path.empty() || ::stat(path.c_str(), &st) != 0) return kDVDErrorInvalidArgument;
  std::string videoTS;  // the folder whose files can be swapped for their backups
  if (S_ISBLK(st.st_mode)) {
    mKind = Kind::Device;
    mDevice = path;
  } else if (S_ISREG(st.st_mode)) {
    // Images are whole sectors and hold at least the volume descriptors.
    if (st.st_size < 32 * 2048 + 2048 || st.st_size % 2048 != 0) return kDVDErrorMediaNotDVD;
    mKind = Kind::Image;
  } else if (S_ISDIR(st.st_mode)) {
    std::string const name = std::filesystem::path(path).filename().string();
    if (::strcasecmp(name.c_str(), "VIDEO_TS") == 0) {
      mKind = Kind::Folder;
      videoTS = path;
    } else if ((videoTS = FindVideoTS(path)).empty()) {
      return kDVDErrorMediaNotDVD;
    } else {
      mDevice = MountedDevice(path);
      mKind = mDevice.empty() ? Kind::Folder : Kind::Volume;
    }
  } else {
    return kDVDErrorMediaNotDVD;
  }

  std::unique_ptr<dvd_reader_t, ReaderCloser> reader(
      ::DVDOpen2(nullptr, DVDReadLogger(), path.c_str()));
  if (!reader) return kDVDErrorMediaNotDVD;
  // The identity comes from the files' bytes alone; nothing has been parsed yet.
  if (!HashInformationFiles(reader.get(), TitleSetCount(reader.get(), false), mUniqueID) &&
      !HashInformationFiles(reader.get(), TitleSetCount(reader.get(), true), mUniqueID)) {
    return kDVDErrorMediaNotDVD;
  }
  // Only what parses in a child process is parsed here.
  DVDProbeResult probe = DVDIFOProbe::Probe(path, videoTS, mUniqueID, probeOptions);
  if (probe.status != noErr) return probe.status;
  if (probe.openPath != path) {
    reader.reset(::DVDOpen2(nullptr, DVDReadLogger(), probe.openPath.c_str()));
    if (!reader) return kDVDErrorMediaNotDVD;
  }
  // The manager's information (IFO, or its backup) must be readable for a disc to play.
  Ifo vmg(::ifoOpen(reader.get(), 0));
  if (!vmg || !vmg->vmgi_mat || !vmg->tt_srpt) return kDVDErrorMediaNotDVD;
  mDiscRegion = (vmg->vmgi_mat->vmg_category >> 16) & 0xFF;
  if (DVDTitlesScrambled(reader.get(), vmg->vmgi_mat->vmg_nr_of_title_sets) &&
      !DVDDescramblerInstalled()) {
    PlatformLog("DVD: %s is scrambled (CSS) and libdvdcss is not installed", path.c_str());
    return kDVDErrorMediaScrambled;
  }
  auto titles = std::make_shared<DVDTitleTable const>(DVDTitleTable::Read(reader.get(), *vmg));

  if (vmg->vmgi_mat->vmg_nr_of_title_sets > 0) {
    Ifo vts(::ifoOpen(reader.get(), 1));
    if (vts && vts->vtsi_mat) {
      video_attr_t const& video = vts->vtsi_mat->vts_video_attr;
      mNativeHeight = video.video_format == 1 ? 576 : 480;
      mAspect = video.display_aspect_ratio == 3 ? kDVDAspectRatio16x9 : kDVDAspectRatio4x3;
    }
  }

  mPath = path;
  mOpenPath = probe.openPath;
  mOverlay = std::move(probe.overlay);
  mTitles = std::move(titles);
  return noErr;
}

OSStatus DVDMedia::DriveRegion(DVDRegionCode* code, SInt16* changesLeft) const {
  *code = kDVDRegionCodeUninitialized;
  *changesLeft = -1;
  if (mDevice.empty()) return noErr;
  int const fd = ::open(mDevice.c_str(), O_RDONLY | O_NONBLOCK);
  if (fd < 0) return noErr;  // a drive we may not ask counts as no drive
  dvd_authinfo ai;
  std::memset(&ai, 0, sizeof ai);
  ai.type = DVD_LU_SEND_RPC_STATE;
  int const rc = ::ioctl(fd, DVD_AUTH, &ai);
  ::close(fd);
  if (rc != 0) return noErr;  // RPC-1 drives and non-DVD devices have no region state
  if (ai.lrpcs.type == 0) return kDVDErrorRegionCodeUninitialized;
  *code = ai.lrpcs.region_mask;
  *changesLeft = ai.lrpcs.ucca;
  return noErr;
}

}  // namespace dvd
