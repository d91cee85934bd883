// Sessions, the busy lock, opening and closing each kind of media and each refusal,
// region codes and the disc identity.
#include "DVDTestSession.h"

#include "TestLog.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace tavelo_test {
namespace {

TEST(DVDSession, CallsWithoutSessionAnswerNotInitialized) {
  Boolean hasMedia = true;
  EXPECT_EQ(kDVDErrorNotInitialized, DVDHasMedia(&hasMedia));
  EXPECT_EQ(kDVDErrorNotInitialized, DVDPlay());
  EXPECT_EQ(kDVDErrorNotInitialized, DVDDispose());
}

// Runs body in a child process and answers its exit code; the pipes let the parent
// decide when the child goes on.
struct Child {
  pid_t pid = -1;
  int go[2] = {-1, -1};
  int done[2] = {-1, -1};
};

Child StartChild(int (*body)(int, int)) {
  Child c;
  EXPECT_EQ(0, ::pipe(c.go));
  EXPECT_EQ(0, ::pipe(c.done));
  c.pid = ::fork();
  if (c.pid == 0) {
    ::close(c.go[1]);
    ::close(c.done[0]);
    ::_exit(body(c.go[0], c.done[1]));
  }
  ::close(c.go[0]);
  ::close(c.done[1]);
  return c;
}

void Signal(int fd) {
  char const b = 1;
  EXPECT_EQ(1, ::write(fd, &b, 1));
}
bool Await(int fd) {
  char b = 0;
  return ::read(fd, &b, 1) == 1;
}
int Reap(Child& c) {
  int status = 0;
  ::waitpid(c.pid, &status, 0);
  ::close(c.go[1]);
  ::close(c.done[0]);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 255;
}

void UseOwnRuntimeFolder() {
  static std::string const runtime = MakeTempDir("run");
  ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
}

// The child tries twice: while the parent holds the service, then after it let go.
int TryTwice(int go, int done) {
  Await(go);
  OSStatus const first = DVDInitialize();
  Signal(done);
  Await(go);
  OSStatus const second = DVDInitialize();
  if (second == noErr) DVDDispose();
  return (first == kDVDErrorServiceBusy ? 1 : 0) | (second == noErr ? 2 : 0);
}

TEST(DVDSession, SecondProcessIsBusyUntilDispose) {
  UseOwnRuntimeFolder();
  Child c = StartChild(&TryTwice);
  ASSERT_EQ(noErr, DVDInitialize());
  Signal(c.go[1]);
  ASSERT_TRUE(Await(c.done[0]));
  ASSERT_EQ(noErr, DVDDispose());
  Signal(c.go[1]);
  EXPECT_EQ(3, Reap(c)) << "1: busy while held, 2: free after dispose";
}

int HoldAndDie(int go, int done) {
  OSStatus const status = DVDInitialize();
  Signal(done);
  Await(go);
  return status == noErr ? 0 : 1;  // exits without disposing
}

TEST(DVDSession, LockIsReleasedWhenTheHolderDies) {
  UseOwnRuntimeFolder();
  Child c = StartChild(&HoldAndDie);
  ASSERT_TRUE(Await(c.done[0]));
  EXPECT_EQ(kDVDErrorServiceBusy, DVDInitialize());
  Signal(c.go[1]);
  EXPECT_EQ(0, Reap(c));
  ASSERT_EQ(noErr, DVDInitialize());
  EXPECT_EQ(noErr, DVDDispose());
}

TEST(DVDSession, InitializeTwiceInOneProcessIsRefused) {
  UseOwnRuntimeFolder();
  ASSERT_EQ(noErr, DVDInitialize());
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDInitialize());
  EXPECT_EQ(noErr, DVDDispose());
  EXPECT_EQ(kDVDErrorNotInitialized, DVDDispose());
}

using DVDMediaTest = DVDSessionTest;

TEST_F(DVDMediaTest, OpensAVideoTSFolder) {
  Boolean hasMedia = true;
  ASSERT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_FALSE(hasMedia);
  OpenFile(DiscPath("ntsc43/VIDEO_TS"));
  ASSERT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_TRUE(hasMedia);
  EXPECT_EQ(noErr, DVDCloseMediaFile());
  ASSERT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_FALSE(hasMedia);
}

TEST_F(DVDMediaTest, OpensTheFolderThatHoldsVideoTS) {
  OpenFile(DiscPath("pal169"));
  UInt16 width = 0;
  UInt16 height = 0;
  EXPECT_EQ(noErr, DVDGetNativeVideoSize(&width, &height));
  EXPECT_EQ(720, width);
  EXPECT_EQ(576, height);
  EXPECT_EQ(noErr, DVDCloseMediaFile());
}

TEST_F(DVDMediaTest, OpensAnImageFile) {
  OpenFile(DiscPath("ntsc43.iso"));
  EXPECT_EQ(noErr, DVDPlay());
  Advance(100);
  EXPECT_EQ((std::vector<DVDEventRecord>{{11, 1, 0}, {1, 1, 0}, {12, 1, 0}, {7, 1, 0}, {2, 1, 0}}),
            mRecorder.Changes());
  EXPECT_EQ(noErr, DVDCloseMediaFile());
}

TEST_F(DVDMediaTest, OpensAVolumeAndClosesItAsAVolume) {
  FSRef const ref = MakeRef(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDOpenMediaVolume(&ref));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDCloseMediaFile());
  EXPECT_EQ(noErr, DVDCloseMediaVolume());
  EXPECT_EQ(kDVDErrorNoMedia, DVDCloseMediaVolume());
}

TEST_F(DVDMediaTest, OpeningWhileOpenIsRefusedAndKeepsTheFirst) {
  OpenFile(DiscPath("pal169"));
  FSRef const other = MakeRef(DiscPath("ntsc43"));
  EXPECT_EQ(kDVDErrorMediaAlreadyOpen, DVDOpenMediaFile(&other));
  EXPECT_EQ(kDVDErrorMediaAlreadyOpen, DVDOpenMediaVolume(&other));
  UInt16 width = 0;
  UInt16 height = 0;
  EXPECT_EQ(noErr, DVDGetNativeVideoSize(&width, &height));
  EXPECT_EQ(576, height);
}

TEST_F(DVDMediaTest, RefusesWhatIsNotADVD) {
  std::string const empty = MakeTempDir("empty");
  std::string const text = MakeTempDir("text") + "/notes.txt";
  std::ofstream(text) << "not a disc\n";
  for (std::string const& path : {empty, text, std::string("/dev/null")}) {
    FSRef const ref = MakeRef(path);
    EXPECT_EQ(kDVDErrorMediaNotDVD, DVDOpenMediaFile(&ref)) << path;
    EXPECT_EQ(kDVDErrorMediaNotDVD, DVDOpenMediaVolume(&ref)) << path;
  }
  Boolean hasMedia = true;
  ASSERT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_FALSE(hasMedia);
}

TEST_F(DVDMediaTest, RefusesAReferenceToSomethingGoneAndNoReference) {
  std::string const dir = MakeTempDir("gone");
  FSRef const ref = MakeRef(dir);
  ASSERT_EQ(0, ::rmdir(dir.c_str()));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDOpenMediaFile(&ref));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDOpenMediaFile(nullptr));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDOpenMediaVolume(nullptr));
}

TEST_F(DVDMediaTest, CommandsWithoutMediaAnswerNoMedia) {
  EXPECT_EQ(kDVDErrorNoMedia, DVDCloseMediaFile());
  EXPECT_EQ(kDVDErrorNoMedia, DVDPlay());
  EXPECT_EQ(kDVDErrorNoMedia, DVDNextChapter());
  DVDMediaUniqueID id;
  EXPECT_EQ(kDVDErrorNoMedia, DVDGetMediaUniqueID(id));
  SInt32 index = 7;
  EXPECT_EQ(kDVDErrorNoMedia, DVDDoMenuClick(Point{10, 10}, &index));
  EXPECT_EQ(-1, index);
}

TEST_F(DVDMediaTest, RegionCodesOfAFolderWithoutDrive) {
  OpenFile(DiscPath("ntsc43"));
  DVDRegionCode disc = 1234;
  ASSERT_EQ(noErr, DVDGetDiscRegionCode(&disc));
  EXPECT_EQ(0u, disc) << "authored discs restrict no region";
  DVDRegionCode drive = 0;
  SInt16 changes = 0;
  ASSERT_EQ(noErr, DVDGetDriveRegionCode(&drive, &changes));
  EXPECT_EQ(255u, drive);
  EXPECT_EQ(-1, changes);
}

std::array<UInt8, 8> UniqueIDOf(std::string const& path, bool volume = false) {
  std::array<UInt8, 8> id{};
  FSRef const ref = MakeRef(path);
  EXPECT_EQ(noErr, volume ? DVDOpenMediaVolume(&ref) : DVDOpenMediaFile(&ref)) << path;
  EXPECT_EQ(noErr, DVDGetMediaUniqueID(id.data()));
  EXPECT_EQ(noErr, volume ? DVDCloseMediaVolume() : DVDCloseMediaFile());
  return id;
}

TEST_F(DVDMediaTest, UniqueIDIsStableAcrossOpensAndCopies) {
  auto const first = UniqueIDOf(DiscPath("ntsc43"));
  EXPECT_NE((std::array<UInt8, 8>{}), first);
  EXPECT_EQ(first, UniqueIDOf(DiscPath("ntsc43/VIDEO_TS")));
  EXPECT_EQ(first, UniqueIDOf(DiscPath("ntsc43"), true));
  EXPECT_EQ(first, UniqueIDOf(DiscPath("ntsc43.iso")));
  std::string const copy = MakeTempDir("copy");
  ASSERT_EQ(0, std::system(("cp -r '" + DiscPath("ntsc43/VIDEO_TS") + "' '" + copy + "/'").c_str()));
  EXPECT_EQ(first, UniqueIDOf(copy));
  EXPECT_NE(first, UniqueIDOf(DiscPath("pal169")));
  EXPECT_NE(first, UniqueIDOf(DiscPath("menu")));
}

TEST_F(DVDMediaTest, SettingsKeepWhatTheApplicationGave) {
  UInt16 minimum = 1;
  UInt16 current = 0;
  UInt16 maximum = 0;
  ASSERT_EQ(noErr, DVDGetAudioVolumeInfo(&minimum, &current, &maximum));
  EXPECT_EQ(0, minimum);
  EXPECT_EQ(255, maximum);
  EXPECT_EQ(noErr, DVDSetAudioVolume(100));
  ASSERT_EQ(noErr, DVDGetAudioVolumeInfo(&minimum, &current, &maximum));
  EXPECT_EQ(100, current);
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSetAudioVolume(256));
  Boolean muted = true;
  ASSERT_EQ(noErr, DVDIsMuted(&muted));
  EXPECT_FALSE(muted);
  EXPECT_EQ(noErr, DVDMute(true));
  ASSERT_EQ(noErr, DVDIsMuted(&muted));
  EXPECT_TRUE(muted);
  Boolean supported = false;
  EXPECT_EQ(noErr, DVDSwitchToDisplay(1, &supported));
  EXPECT_TRUE(supported);
  EXPECT_EQ(noErr, DVDSetVideoWindowID(42));
  Rect const bad{10, 0, 5, 100};
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSetVideoBounds(&bad));
  EXPECT_EQ(noErr, DVDSleep());
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDSleep());
  EXPECT_EQ(noErr, DVDWakeUp());
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDWakeUp());
}

}  // namespace
}  // namespace tavelo_test

namespace tavelo_test {
namespace {

using DVDEventDeliveryTest = DVDSessionTest;

TEST_F(DVDEventDeliveryTest, EachCallbackGetsOnlyTheCodesItAskedFor) {
  DVDEventRecorder chapters;
  DVDEventCode const codes[] = {kDVDEventPTT};
  DVDEventCallBackRef id = 0;
  ASSERT_EQ(noErr, DVDRegisterEventCallBack(&DVDEventRecorder::CallBack, codes, 1, &chapters, &id));
  EXPECT_NE(mCallBackID, id);
  EXPECT_EQ(kDVDErrorInvalidArgument,
            DVDRegisterEventCallBack(&DVDEventRecorder::CallBack, codes, 0, &chapters, &id));
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(5000);
  EXPECT_EQ((std::vector<DVDEventRecord>{{2, 1, 0}, {2, 2, 0}}), chapters.Events());
  EXPECT_EQ(chapters.Events(), mRecorder.Of(kDVDEventPTT));
  ASSERT_EQ(noErr, DVDUnregisterEventCallBack(id));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDUnregisterEventCallBack(id));
  Advance(5000);
  EXPECT_EQ(2u, chapters.Events().size());
  EXPECT_EQ(3u, mRecorder.Of(kDVDEventPTT).size());
}

TEST_F(DVDEventDeliveryTest, DisposeWhilePlayingEndsEverything) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(2000);
  ASSERT_EQ(noErr, DVDDispose());
  mInitialized = false;
  Boolean hasMedia = true;
  EXPECT_EQ(kDVDErrorNotInitialized, DVDHasMedia(&hasMedia));
  ASSERT_EQ(noErr, DVDInitialize());
  ASSERT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_FALSE(hasMedia);
  EXPECT_EQ(noErr, DVDDispose());
}

TEST(DVDSystemClock, PlaybackIsHeldBackByTheClock) {
  static std::string const runtime = MakeTempDir("run");
  ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
  dvd::UseManualClock(false);
  ASSERT_EQ(noErr, DVDInitialize());
  DVDEventRecorder recorder;
  DVDEventCode const codes[] = {kDVDEventTitle, kDVDEventPlayback};
  DVDEventCallBackRef id = 0;
  ASSERT_EQ(noErr, DVDRegisterEventCallBack(&DVDEventRecorder::CallBack, codes, 2, &recorder, &id));
  FSRef const ref = MakeRef(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDOpenMediaFile(&ref));
  ASSERT_EQ(noErr, DVDPlay());
  // Quiet as soon as the first picture group waits for its time: the 12-second title has
  // started and is far from over.
  ASSERT_TRUE(dvd::WaitUntilQuiet(5000));
  EXPECT_EQ((std::vector<DVDEventRecord>{{11, 1, 0}, {1, 1, 0}}), recorder.Events());
  EXPECT_EQ(noErr, DVDCloseMediaFile());
  EXPECT_EQ(noErr, DVDDispose());
}

}  // namespace
}  // namespace tavelo_test
