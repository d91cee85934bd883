// Media opened through a block device: a read-only loop device over the authored image
// stands in for a drive. Opening as a file and as a volume, playing, the region answers of
// a device that is no DVD drive, the identity, and refusing a device without DVD-Video.
#include "DVDTestSession.h"

#include "TestLog.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <linux/cdrom.h>
#include <linux/loop.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tavelo_test {
namespace {

// A loop device attached read-only to an image. It is set to clear itself on last close,
// so a test process that dies still leaves no device behind; Detach is the explicit undo.
class LoopDevice {
 public:
  LoopDevice() = default;
  LoopDevice(LoopDevice const&) = delete;
  LoopDevice& operator=(LoopDevice const&) = delete;
  ~LoopDevice() { Detach(); }

  // Empty when it worked, else why loop devices cannot be used here.
  std::string Attach(std::string const& image) {
    if (::geteuid() != 0) return "loop devices need root";
    int const control = ::open("/dev/loop-control", O_RDWR | O_CLOEXEC);
    if (control < 0) return std::string("/dev/loop-control: ") + std::strerror(errno);
    int const backing = ::open(image.c_str(), O_RDONLY | O_CLOEXEC);
    if (backing < 0) {
      ::close(control);
      return image + ": " + std::strerror(errno);
    }
    std::string why;
    // Another process may take the free device between asking and attaching.
    for (int attempt = 0; attempt < 20 && mFd < 0; ++attempt) {
      int const n = ::ioctl(control, LOOP_CTL_GET_FREE);
      if (n < 0) {
        why = std::string("LOOP_CTL_GET_FREE: ") + std::strerror(errno);
        break;
      }
      std::string const path = "/dev/loop" + std::to_string(n);
      int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
      if (fd < 0) {
        why = path + ": " + std::strerror(errno);
        break;
      }
      loop_config config;
      std::memset(&config, 0, sizeof config);
      config.fd = unsigned(backing);
      config.info.lo_flags = LO_FLAGS_READ_ONLY | LO_FLAGS_AUTOCLEAR;
      if (::ioctl(fd, LOOP_CONFIGURE, &config) == 0) {
        mFd = fd;
        mPath = path;
        mNumber = n;
        why.clear();
      } else {
        why = path + " LOOP_CONFIGURE: " + std::strerror(errno);
        bool const taken = errno == EBUSY;
        ::close(fd);
        if (!taken) break;
      }
    }
    ::close(backing);
    ::close(control);
    return why;
  }

  // Detaches now, as `losetup -d` does; answers whether the kernel let the device go.
  bool Detach() {
    if (mFd < 0) return true;
    ::ioctl(mFd, LOOP_CLR_FD, 0);
    ::close(mFd);
    mFd = -1;
    // Release runs after the last close; the backing file entry goes with it.
    std::string const backing = "/sys/block/loop" + std::to_string(mNumber) + "/loop/backing_file";
    for (int i = 0; i < 200; ++i) {
      struct stat st;
      if (::stat(backing.c_str(), &st) != 0) return true;
      ::usleep(10000);
    }
    return false;
  }

  std::string const& Path() const { return mPath; }
  int Fd() const { return mFd; }

 private:
  int mFd = -1;
  int mNumber = -1;
  std::string mPath;
};

struct Rgb {
  int r, g, b;
};

// Limited-range video converted back to RGB is a few steps off the authored colour.
::testing::AssertionResult CentreIs(Rgb expected) {
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  if (DVDCopyPresentedFrame(&info, nullptr, &size) != noErr) {
    return ::testing::AssertionFailure() << "no picture presented";
  }
  std::vector<UInt8> pixels(size);
  if (DVDCopyPresentedFrame(&info, pixels.data(), &size) != noErr) {
    return ::testing::AssertionFailure() << "picture could not be copied";
  }
  size_t const i = size_t(info.height / 2) * info.rowBytes + size_t(info.width / 2) * 3;
  if (i + 2 >= pixels.size()) return ::testing::AssertionFailure() << "picture too small";
  Rgb const actual{pixels[i], pixels[i + 1], pixels[i + 2]};
  if (std::abs(actual.r - expected.r) <= 14 && std::abs(actual.g - expected.g) <= 14 &&
      std::abs(actual.b - expected.b) <= 14) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "(" << actual.r << "," << actual.g << "," << actual.b
                                       << ") is not near (" << expected.r << "," << expected.g
                                       << "," << expected.b << ")";
}

class DVDBlockDeviceTest : public DVDSessionTest {
 protected:
  void SetUp() override {
    DVDSessionTest::SetUp();
    if (HasFatalFailure()) return;
    std::string const why = mLoop.Attach(DiscPath("ntsc43.iso"));
    if (!why.empty()) GTEST_SKIP() << "no loop device: " << why;
  }

  void TearDown() override {
    DVDSessionTest::TearDown();
    EXPECT_TRUE(mLoop.Detach()) << mLoop.Path() << " was not released";
  }

  LoopDevice mLoop;
};

TEST_F(DVDBlockDeviceTest, DeviceNodeIsABlockDeviceButNoDVDDrive) {
  struct stat st;
  ASSERT_EQ(0, ::stat(mLoop.Path().c_str(), &st));
  EXPECT_TRUE(S_ISBLK(st.st_mode));
  // The region question the service asks a drive has no answer here.
  dvd_authinfo ai;
  std::memset(&ai, 0, sizeof ai);
  ai.type = DVD_LU_SEND_RPC_STATE;
  EXPECT_EQ(-1, ::ioctl(mLoop.Fd(), DVD_AUTH, &ai));
}

TEST_F(DVDBlockDeviceTest, OpensTheDeviceAsAFileAndPlaysATitle) {
  OpenFile(mLoop.Path());
  Boolean hasMedia = false;
  ASSERT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_TRUE(hasMedia);
  UInt16 width = 0;
  UInt16 height = 0;
  EXPECT_EQ(noErr, DVDGetNativeVideoSize(&width, &height));
  EXPECT_EQ(720, width);
  EXPECT_EQ(480, height);
  ASSERT_EQ(noErr, DVDPlay());
  Advance(100);
  EXPECT_EQ((std::vector<DVDEventRecord>{{11, 1, 0}, {1, 1, 0}, {12, 1, 0}, {7, 1, 0}, {2, 1, 0}}),
            mRecorder.Changes());
  Advance(1900);
  EXPECT_TRUE(CentreIs({255, 0, 0}));
  // Chapter 2 (green) starts at 4004 ms.
  Advance(2300);
  EXPECT_EQ(2u, Last(kDVDEventPTT));
  EXPECT_TRUE(CentreIs({0, 128, 0}));
  EXPECT_EQ(kDVDStatePlaying, LastState());
  EXPECT_EQ(noErr, DVDCloseMediaFile());
  ASSERT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_FALSE(hasMedia);
  EXPECT_EQ(kDVDErrorNoMedia, DVDCloseMediaFile());
}

TEST_F(DVDBlockDeviceTest, OpensTheDeviceAsAVolumeAndClosesItAsAVolume) {
  FSRef const ref = MakeRef(mLoop.Path());
  ASSERT_EQ(noErr, DVDOpenMediaVolume(&ref));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(1000);
  EXPECT_EQ(1u, Last(kDVDEventTitle));
  EXPECT_TRUE(CentreIs({255, 0, 0}));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDCloseMediaFile());
  EXPECT_EQ(noErr, DVDCloseMediaVolume());
  EXPECT_EQ(kDVDErrorNoMedia, DVDCloseMediaVolume());
  // Closed means closed: the device opens again.
  ASSERT_EQ(noErr, DVDOpenMediaVolume(&ref));
  EXPECT_EQ(noErr, DVDCloseMediaVolume());
}

TEST_F(DVDBlockDeviceTest, RegionOfADeviceThatIsNotADVDDriveIsThatOfNoDrive) {
  for (bool const volume : {false, true}) {
    SCOPED_TRACE(volume ? "as a volume" : "as a file");
    FSRef const ref = MakeRef(mLoop.Path());
    ASSERT_EQ(noErr, volume ? DVDOpenMediaVolume(&ref) : DVDOpenMediaFile(&ref));
    DVDRegionCode disc = 1234;
    ASSERT_EQ(noErr, DVDGetDiscRegionCode(&disc));
    EXPECT_EQ(0u, disc) << "authored discs restrict no region";
    DVDRegionCode drive = 0;
    SInt16 changes = 0;
    EXPECT_EQ(noErr, DVDGetDriveRegionCode(&drive, &changes));
    EXPECT_EQ(255u, drive);
    EXPECT_EQ(-1, changes);
    ASSERT_EQ(noErr, volume ? DVDCloseMediaVolume() : DVDCloseMediaFile());
  }
}

TEST_F(DVDBlockDeviceTest, UniqueIDIsThatOfTheImageItHolds) {
  std::array<UInt8, 8> fromDevice{};
  std::array<UInt8, 8> fromImage{};
  OpenFile(mLoop.Path());
  ASSERT_EQ(noErr, DVDGetMediaUniqueID(fromDevice.data()));
  ASSERT_EQ(noErr, DVDCloseMediaFile());
  OpenFile(DiscPath("ntsc43.iso"));
  ASSERT_EQ(noErr, DVDGetMediaUniqueID(fromImage.data()));
  ASSERT_EQ(noErr, DVDCloseMediaFile());
  EXPECT_NE((std::array<UInt8, 8>{}), fromDevice);
  EXPECT_EQ(fromImage, fromDevice);
}

TEST_F(DVDBlockDeviceTest, DeviceWithoutDVDVideoIsRefused) {
  // Whole sectors of zeros: a readable device, but no file system at all.
  std::string const blank = MakeTempDir("blank") + "/blank.img";
  std::ofstream(blank, std::ios::binary) << std::string(2048 * 512, '\0');
  LoopDevice other;
  std::string const why = other.Attach(blank);
  ASSERT_EQ("", why);
  FSRef const ref = MakeRef(other.Path());
  EXPECT_EQ(kDVDErrorMediaNotDVD, DVDOpenMediaFile(&ref));
  EXPECT_EQ(kDVDErrorMediaNotDVD, DVDOpenMediaVolume(&ref));
  Boolean hasMedia = true;
  ASSERT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_FALSE(hasMedia);
  EXPECT_TRUE(other.Detach());
}

}  // namespace
}  // namespace tavelo_test
