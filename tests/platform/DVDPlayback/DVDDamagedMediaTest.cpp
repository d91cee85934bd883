// Damaged media: each either is refused with a status or plays until an error event or a
// stop, never crashing and never hanging (every wait is bounded).
#include "DVDScrambling.h"
#include "DVDTestSession.h"

#include "TestLog.h"

#include <gtest/gtest.h>

#include <fstream>
#include <mutex>
#include <random>
#include <unistd.h>

namespace tavelo_test {
namespace {

class DVDDamagedMediaTest : public DVDSessionTest {
 protected:
  // A private copy of the NTSC disc's VIDEO_TS folder to damage.
  std::string CopyDisc() {
    std::string const dir = MakeTempDir("damaged");
    std::string const command = "cp -r '" + DiscPath("ntsc43/VIDEO_TS") + "' '" + dir + "/'";
    EXPECT_EQ(0, std::system(command.c_str()));
    return dir + "/VIDEO_TS";
  }

  static void Zero(std::string const& path) {
    auto const size = ReadFile(path).size();
    ASSERT_GT(size, 0u) << path;
    std::ofstream(path, std::ios::binary | std::ios::trunc) << std::string(size, '\0');
  }

  static void Random(std::string const& path, size_t size) {
    std::mt19937 gen(size);
    std::string bytes(size, '\0');
    for (char& c : bytes) c = char(gen());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  }

  OSStatus Open(std::string const& path) {
    FSRef const ref = MakeRef(path);
    return DVDOpenMediaFile(&ref);
  }

  // Plays for longer than the title lasts.
  void PlayThrough() {
    ASSERT_EQ(noErr, DVDPlay());
    Advance(14000);
  }

  bool ReportedError() { return !mRecorder.Of(kDVDEventError).empty(); }
};

TEST_F(DVDDamagedMediaTest, TruncatedVobEndsWithAStopOrAnError) {
  std::string const disc = CopyDisc();
  std::string const vob = disc + "/VTS_01_1.VOB";
  auto const size = ReadFile(vob).size();
  ASSERT_EQ(0, ::truncate(vob.c_str(), off_t(size / 2)));
  ASSERT_EQ(noErr, Open(disc));
  PlayThrough();
  DVDState const state = LastState();
  EXPECT_TRUE(state == kDVDStateStopped && ReportedError())
      << testing::PrintToString(mRecorder.Changes());
  // The first chapter lies in the half that is left and still plays.
  EXPECT_EQ(DVDEventValue(1), mRecorder.Of(kDVDEventPTT).front().data1);
}

TEST_F(DVDDamagedMediaTest, ZeroedIfoFallsBackToItsBackup) {
  std::string const disc = CopyDisc();
  Zero(disc + "/VIDEO_TS.IFO");
  Zero(disc + "/VTS_01_0.IFO");
  ASSERT_EQ(noErr, Open(disc));
  PlayThrough();
  std::vector<DVDEventRecord> const expected = {
      {11, 1, 0}, {1, 1, 0}, {12, 1, 0}, {7, 1, 0}, {2, 1, 0}, {2, 2, 0}, {2, 3, 0}, {11, 4, 0}};
  EXPECT_EQ(expected, mRecorder.Changes());
}

TEST_F(DVDDamagedMediaTest, ZeroedIfoAndBackupIsNotADisc) {
  std::string const disc = CopyDisc();
  Zero(disc + "/VIDEO_TS.IFO");
  Zero(disc + "/VIDEO_TS.BUP");
  EXPECT_EQ(kDVDErrorMediaNotDVD, Open(disc));
  Boolean hasMedia = true;
  ASSERT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_FALSE(hasMedia);
}

TEST_F(DVDDamagedMediaTest, ZeroedTitlesetInformationReportsAnError) {
  std::string const disc = CopyDisc();
  Zero(disc + "/VTS_01_0.IFO");
  Zero(disc + "/VTS_01_0.BUP");
  // The manager's information is whole, so the disc opens; the title cannot be read.
  ASSERT_EQ(noErr, Open(disc));
  PlayThrough();
  EXPECT_TRUE(ReportedError() && LastState() == kDVDStateStopped)
      << testing::PrintToString(mRecorder.Changes());
  EXPECT_EQ(DVDEventValue(kDVDErrorReadFailed), Last(kDVDEventError));
  EXPECT_TRUE(mRecorder.Of(kDVDEventPTT).empty()) << "no chapter of a title it cannot read";
}

struct FatalRecord {
  std::mutex mutex;
  std::vector<OSStatus> errors;
  static void CallBack(OSStatus error, void* refCon) {
    auto* const self = static_cast<FatalRecord*>(refCon);
    std::lock_guard<std::mutex> g(self->mutex);
    self->errors.push_back(error);
  }
};

TEST_F(DVDDamagedMediaTest, WithoutAnErrorListenerTheFatalErrorCallBackIsCalled) {
  ASSERT_EQ(noErr, DVDUnregisterEventCallBack(mCallBackID));
  DVDEventCode const codes[] = {11};
  ASSERT_EQ(noErr, DVDRegisterEventCallBack(&DVDEventRecorder::CallBack, codes, 1, &mRecorder,
                                            &mCallBackID));
  FatalRecord fatal;
  ASSERT_EQ(noErr, DVDSetFatalErrorCallBack(&FatalRecord::CallBack, &fatal));
  std::string const disc = CopyDisc();
  Zero(disc + "/VTS_01_0.IFO");
  Zero(disc + "/VTS_01_0.BUP");
  ASSERT_EQ(noErr, Open(disc));
  PlayThrough();
  EXPECT_EQ(kDVDStateStopped, LastState());
  std::lock_guard<std::mutex> g(fatal.mutex);
  EXPECT_EQ(std::vector<OSStatus>{kDVDErrorReadFailed}, fatal.errors);
}

TEST_F(DVDDamagedMediaTest, MissingTitlesetIfoWithBackupPresentPlays) {
  std::string const disc = CopyDisc();
  ASSERT_EQ(0, ::unlink((disc + "/VTS_01_0.IFO").c_str()));
  ASSERT_EQ(noErr, Open(disc));
  PlayThrough();
  std::vector<DVDEventRecord> const expected = {
      {11, 1, 0}, {1, 1, 0}, {12, 1, 0}, {7, 1, 0}, {2, 1, 0}, {2, 2, 0}, {2, 3, 0}, {11, 4, 0}};
  EXPECT_EQ(expected, mRecorder.Changes());
}

TEST_F(DVDDamagedMediaTest, MissingManagerIfoWithBackupPresentIsRefused) {
  // The navigator reads the manager's own file to start; its backup is not enough.
  std::string const disc = CopyDisc();
  ASSERT_EQ(0, ::unlink((disc + "/VIDEO_TS.IFO").c_str()));
  EXPECT_EQ(kDVDErrorMediaNotDVD, Open(disc));
  Boolean hasMedia = true;
  ASSERT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_FALSE(hasMedia);
}

TEST_F(DVDDamagedMediaTest, FolderOfRandomFilesIsNotADisc) {
  std::string const disc = MakeTempDir("random") + "/VIDEO_TS";
  ASSERT_EQ(0, ::mkdir(disc.c_str(), 0700));
  Random(disc + "/VIDEO_TS.IFO", 20480);
  Random(disc + "/VIDEO_TS.BUP", 20480);
  Random(disc + "/VTS_01_0.IFO", 20480);
  Random(disc + "/VTS_01_1.VOB", 204800);
  EXPECT_EQ(kDVDErrorMediaNotDVD, Open(disc));
  EXPECT_EQ(kDVDErrorMediaNotDVD, Open(disc + "/.."));
}

TEST_F(DVDDamagedMediaTest, ImageOfRandomBytesIsNotADisc) {
  std::string const image = MakeTempDir("image") + "/random.iso";
  Random(image, 100 * 2048);
  EXPECT_EQ(kDVDErrorMediaNotDVD, Open(image));
}

TEST_F(DVDDamagedMediaTest, VobOfRandomBytesDoesNotHang) {
  std::string const disc = CopyDisc();
  std::string const vob = disc + "/VTS_01_1.VOB";
  Random(vob, ReadFile(vob).size());
  ASSERT_EQ(noErr, Open(disc));
  PlayThrough();
  EXPECT_TRUE(LastState() == kDVDStateStopped && ReportedError())
      << testing::PrintToString(mRecorder.Changes());
}

TEST_F(DVDDamagedMediaTest, LibraryMessagesGoToTheDiagnosticLogNotTheTerminal) {
  std::string const disc = CopyDisc();
  std::string const vob = disc + "/VTS_01_1.VOB";
  // A VOB of garbage: the navigation library complains about every block it cannot use.
  Random(vob, ReadFile(vob).size());
  LogTail tail;
  testing::internal::CaptureStderr();
  ASSERT_EQ(noErr, Open(disc));
  PlayThrough();
  std::string const terminal = testing::internal::GetCapturedStderr();
  EXPECT_EQ("", terminal);
  std::string const log = tail.Text();
  EXPECT_TRUE(log.find("ffmpeg: ") != std::string::npos || log.find("libdvdnav: ") != std::string::npos ||
              log.find("libdvdread: ") != std::string::npos)
      << log;
}

TEST_F(DVDDamagedMediaTest, ParserWarningsOnNavPacksGoToTheDiagnosticLog) {
  std::string const disc = CopyDisc();
  std::string const vob = disc + "/VTS_01_1.VOB";
  // Every NAV pack keeps its structure but has a byte that must be zero set (the search
  // information's zero1 field): the reader's pack parser warns without a reader to report to.
  std::string bytes = ReadFile(vob);
  int marked = 0;
  for (size_t at = 0; at + 2048 <= bytes.size(); at += 2048) {
    if (bytes.compare(at, 4, std::string("\0\0\1\xba", 4)) == 0 &&
        bytes.compare(at + 14, 4, std::string("\0\0\1\xbb", 4)) == 0) {
      bytes[at + 0x407 + 26] = '\1';
      ++marked;
    }
  }
  ASSERT_GT(marked, 10);
  std::ofstream(vob, std::ios::binary | std::ios::trunc) << bytes;
  LogTail tail;
  testing::internal::CaptureStderr();
  ASSERT_EQ(noErr, Open(disc));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(3000);
  std::string const terminal = testing::internal::GetCapturedStderr();
  EXPECT_EQ("", terminal);
  EXPECT_NE(std::string::npos, tail.Text().find("libdvdread: CHECK_VALUE failed")) << tail.Text();
}

}  // namespace
}  // namespace tavelo_test

namespace tavelo_test {
namespace {

class DVDScrambledMediaTest : public DVDSessionTest {};

TEST_F(DVDScrambledMediaTest, ScrambledDiscsNeedTheDescramblerToOpen) {
  // The machines these tests run on have no libdvdcss (Debian ships it through
  // libdvd-pkg only); with it installed libdvdread descrambles and the disc would open.
  if (dvd::DVDDescramblerInstalled()) GTEST_SKIP() << "libdvdcss is installed here";
  FSRef const ref = MakeRef(DiscPath("scrambled"));
  EXPECT_EQ(kDVDErrorMediaScrambled, DVDOpenMediaFile(&ref));
  Boolean hasMedia = true;
  ASSERT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_FALSE(hasMedia);
  // The same disc unmarked opens.
  FSRef const clear = MakeRef(DiscPath("ntsc43"));
  EXPECT_EQ(noErr, DVDOpenMediaFile(&clear));
}

}  // namespace
}  // namespace tavelo_test
