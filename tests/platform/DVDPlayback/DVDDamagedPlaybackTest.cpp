// Playing on past damage on the barcoded disc: a stretch of sectors that cannot be read and
// a picture group overwritten with garbage are skipped, playback reaches the title's end
// without an error event, and every picture after the damage is the frame it says it is.
// Damage that leaves nothing more to play ends with the error event.
#include "DVDBarcode.h"
#include "DVDService.h"
#include "DVDTestSession.h"

#include "TestLog.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <vector>

namespace tavelo_test {
namespace {

class DVDDamagedPlaybackTest : public DVDSessionTest {
 protected:
  void SetUp() override {
    DVDSessionTest::SetUp();
    // The session's reads go through a drive the test damages.
    dvd::UseReadFaults(mDrive);
  }

  std::shared_ptr<dvd::DVDReadFaults> const mDrive = std::make_shared<dvd::DVDReadFaults>();

  // The presented picture's barcode and frame number.
  std::pair<int, int> Shown() {
    Settle();
    DVDPresentedFrameInfo info{};
    std::vector<UInt8> pixels;
    if (!CopyPresented(info, pixels)) return {-1, -1};
    int const code = ReadBarcode(pixels.data() + size_t(kBarcodeRow) * info.rowBytes + 1, 3);
    return {code, int(info.frameInTitle)};
  }

  // Plays until the title ends (or 40 s): the frames seen with their barcodes (-1 where
  // the picture's barcode cannot be read).
  std::map<int, int> PlayToTheEnd() {
    std::map<int, int> seen;
    EXPECT_EQ(noErr, DVDPlay());
    for (int t = 0; t < 40000 && LastState() != kDVDStateStopped; t += 100) {
      Advance(100);
      auto const [code, frame] = Shown();
      if (frame >= 0 && frame < 900) seen[frame] = code;
    }
    return seen;
  }

  // Every picture outside [from, to] (where damaged pictures may show) is the frame it is
  // said to be.
  static void ExpectExactOutside(std::map<int, int> const& seen, int from, int to) {
    for (auto const& [frame, code] : seen) {
      if (frame < from || frame > to) {
        EXPECT_EQ(frame, code);
      }
    }
  }

  bool ReportedError() { return !mRecorder.Of(kDVDEventError).empty(); }
};

TEST_F(DVDDamagedPlaybackTest, UnreadableSectorsAreSkippedAndPlayingGoesOn) {
  OpenFile(DiscPath("frames"));
  // A stretch in the second chapter.
  mDrive->Fail(4200, 400);
  std::map<int, int> const seen = PlayToTheEnd();
  EXPECT_EQ(kDVDStateStopped, LastState());
  EXPECT_FALSE(ReportedError());
  // The end was reached, and part of the title was passed over.
  ASSERT_FALSE(seen.empty());
  EXPECT_GE(seen.rbegin()->first, 880);
  int gap = 0;
  for (auto it = seen.begin(); std::next(it) != seen.end(); ++it) {
    gap = std::max(gap, std::next(it)->first - it->first);
  }
  EXPECT_GT(gap, 6) << "nothing was skipped";
  // Unread blocks leave no damaged pictures: what is shown is whole.
  ExpectExactOutside(seen, 0, -1);
}

TEST_F(DVDDamagedPlaybackTest, DamageToTheEndStopsWithTheErrorEvent) {
  OpenFile(DiscPath("frames"));
  mDrive->Fail(4200, 1000000);
  std::map<int, int> const seen = PlayToTheEnd();
  EXPECT_EQ(kDVDStateStopped, LastState());
  ASSERT_TRUE(ReportedError());
  EXPECT_EQ(DVDEventValue(kDVDErrorReadFailed), mRecorder.Of(kDVDEventError).back().data1);
  ASSERT_FALSE(seen.empty());
  EXPECT_LT(seen.rbegin()->first, 600);
}

TEST_F(DVDDamagedPlaybackTest, AGroupOfGarbageIsPassedOver) {
  std::string const dir = MakeTempDir("garbage");
  std::string const command = "cp -r '" + DiscPath("frames/VIDEO_TS") + "' '" + dir + "/'";
  ASSERT_EQ(0, std::system(command.c_str()));
  std::string const vob = dir + "/VIDEO_TS/VTS_01_1.VOB";
  {
    // 600 kB of noise at 45 %: several picture groups, navigation packets included.
    std::fstream file(vob, std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(0, std::ios::end);
    std::streamoff const size = file.tellg();
    ASSERT_GT(size, 1000000);
    std::streamoff const at = size * 45 / 100 / 2048 * 2048;
    std::mt19937 gen(7);
    std::string noise(600 * 1024, '\0');
    for (char& c : noise) c = char(gen());
    file.seekp(at);
    file.write(noise.data(), std::streamsize(noise.size()));
  }
  OpenFile(dir + "/VIDEO_TS");
  std::map<int, int> const seen = PlayToTheEnd();
  EXPECT_EQ(kDVDStateStopped, LastState());
  EXPECT_FALSE(ReportedError());
  ASSERT_FALSE(seen.empty());
  EXPECT_GE(seen.rbegin()->first, 880);
  // Pictures decoded from the noise, and those predicted from them until the next group,
  // may show anything; the rest are exact.
  ExpectExactOutside(seen, 340, 520);
}

}  // namespace
}  // namespace tavelo_test
