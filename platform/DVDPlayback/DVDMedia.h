// What a path names as DVD-Video media, and what the disc says about itself: its
// identity and region, and the region state of the drive it sits in.
#pragma once

#include "DVDIFOProbe.h"
#include "DVDPlayback.h"
#include "DVDTitleTable.h"

#include <array>
#include <memory>
#include <string>

namespace dvd {

class DVDMedia {
 public:
  enum class Kind { Folder, Volume, Device, Image };

  // Checks that path is DVD-Video (a VIDEO_TS folder, the folder or volume holding one, a
  // block device or an image file) and reads its identity and region. Its information files
  // are probed as probeOptions say.
  OSStatus Construct(std::string const& path, DVDProbeOptions const& probeOptions);

  std::string const& Path() const { return mPath; }
  // Where the disc is read from: its path, or a private folder in which damaged information
  // files are replaced by their backups.
  std::string const& OpenPath() const { return mOpenPath; }
  Kind MediaKind() const { return mKind; }
  std::array<UInt8, 8> const& UniqueID() const { return mUniqueID; }
  DVDRegionCode DiscRegion() const { return mDiscRegion; }
  // The first titleset's picture, until playback tells otherwise.
  UInt16 NativeWidth() const { return 720; }
  UInt16 NativeHeight() const { return mNativeHeight; }
  DVDAspectRatio Aspect() const { return mAspect; }
  // The disc's titles, read once here; shared with the navigator, which counts frames by it.
  std::shared_ptr<DVDTitleTable const> const& Titles() const { return mTitles; }

  // 0 and the drive's region mask and changes left; 255 / -1 when no drive holds the media;
  // kDVDErrorRegionCodeUninitialized for a drive whose region was never set.
  OSStatus DriveRegion(DVDRegionCode* code, SInt16* changesLeft) const;

 private:
  std::string mPath;
  std::string mOpenPath;
  std::shared_ptr<DVDOverlayFolder> mOverlay;
  std::string mDevice;  // the block device behind the media, if any
  Kind mKind = Kind::Folder;
  std::array<UInt8, 8> mUniqueID{};
  DVDRegionCode mDiscRegion = kDVDRegionCodeUninitialized;
  UInt16 mNativeHeight = 480;
  DVDAspectRatio mAspect = kDVDAspectRatio4x3;
  std::shared_ptr<DVDTitleTable const> mTitles = std::make_shared<DVDTitleTable const>();
};

}  // namespace dvd
