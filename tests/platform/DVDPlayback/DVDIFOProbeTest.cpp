// Information files that take libdvdread's parser down are found in a child process first:
// the disc then opens from its backups, or is refused with a log line naming the file.
#include "DVDIFOProbe.h"
#include "DVDLibraryLog.h"
#include "DVDService.h"
#include "DVDTestSession.h"

#include "TestLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <thread>
#include <vector>

namespace tavelo_test {
namespace {

// The crash libdvdread 6.1 has in ifoRead_PGCIT: the program chain table claims 255 search
// pointers, and the parser follows offsets read past the table.
void BreakProgramChainTable(std::string const& ifo) {
  std::string bytes = ReadFile(ifo);
  ASSERT_GT(bytes.size(), 0xD0u) << ifo;
  auto const* p = reinterpret_cast<unsigned char const*>(bytes.data()) + 0xCC;
  size_t const sector = (size_t(p[0]) << 24) | (size_t(p[1]) << 16) | (size_t(p[2]) << 8) | p[3];
  ASSERT_LT(sector * 2048 + 1, bytes.size());
  bytes[sector * 2048 + 1] = char(0xFF);  // low byte of the search-pointer count
  std::ofstream(ifo, std::ios::binary | std::ios::trunc) << bytes;
}

uint32_t BigEndian(std::string const& b, size_t at, int bytes) {
  uint32_t v = 0;
  for (int i = 0; i < bytes; ++i) v = (v << 8) | UInt8(b[at + size_t(i)]);
  return v;
}

// Parses, but the title's first program starts at cell 0: libdvdnav's machine asserts on it.
void PointFirstProgramAtNoCell(std::string const& ifo) {
  std::string bytes = ReadFile(ifo);
  ASSERT_GT(bytes.size(), 0xD0u) << ifo;
  size_t const table = size_t(BigEndian(bytes, 0xCC, 4)) * 2048;
  size_t const pgc = table + BigEndian(bytes, table + 8 + 4, 4);
  size_t const map = pgc + BigEndian(bytes, pgc + 0xE6, 2);
  ASSERT_LT(map, bytes.size());
  ASSERT_EQ(1, bytes[map]) << "the first program starts at the first cell";
  bytes[map] = 0;
  std::ofstream(ifo, std::ios::binary | std::ios::trunc) << bytes;
}


bool LogHas(LogTail const& tail, std::string const& text) {
  return tail.Text().find(text) != std::string::npos;
}

class DVDIFOProbeTest : public DVDSessionTest {
 protected:
  void SetUp() override {
    DVDSessionTest::SetUp();
    dvd::DVDIFOProbe::ForgetResults();
  }
  std::string CopyDisc(char const* name = "ntsc43") {
    std::string const dir = MakeTempDir("probe");
    std::string const command =
        "cp -r '" + DiscPath((std::string(name) + "/VIDEO_TS").c_str()) + "' '" + dir + "/'";
    EXPECT_EQ(0, std::system(command.c_str()));
    return dir + "/VIDEO_TS";
  }
  OSStatus Open(std::string const& path) {
    FSRef const ref = MakeRef(path);
    return DVDOpenMediaFile(&ref);
  }
};

TEST_F(DVDIFOProbeTest, TheDamageReallyTakesTheParserDown) {
  // The probe's own child reports it: the recipe is the crash, not a parse failure.
  std::string const disc = CopyDisc();
  BreakProgramChainTable(disc + "/VTS_01_0.IFO");
  ::unlink((disc + "/VTS_01_0.BUP").c_str());
  LogTail tail;
  ASSERT_EQ(noErr, Open(disc));
  EXPECT_TRUE(LogHas(tail, "VTS_01_0.IFO of " + disc + " crashes the parser")) << tail.Text();
  ASSERT_EQ(noErr, DVDCloseMediaFile());
}

TEST_F(DVDIFOProbeTest, ACrashingTitlesetIsOpenedFromItsBackupAndPlays) {
  std::string const disc = CopyDisc();
  BreakProgramChainTable(disc + "/VTS_01_0.IFO");
  LogTail tail;
  ASSERT_EQ(noErr, Open(disc));
  EXPECT_TRUE(LogHas(tail, "VTS_01_0.IFO of " + disc + " crashes the parser")) << tail.Text();
  ASSERT_EQ(noErr, DVDPlay());
  Advance(5000);
  EXPECT_EQ(2u, Last(kDVDEventPTT)) << "the second chapter starts at 4.004 s";
  EXPECT_TRUE(mRecorder.Of(kDVDEventError).empty());
  ASSERT_EQ(noErr, DVDCloseMediaFile());
}

TEST_F(DVDIFOProbeTest, AProgramAtNoCellCountsAsDamageAndTheBackupPlays) {
  // Found by the damaged-disc campaign: a zeroed stretch left a program starting at cell 0,
  // and libdvdnav's machine stopped the process with an assertion.
  std::string const disc = CopyDisc();
  PointFirstProgramAtNoCell(disc + "/VTS_01_0.IFO");
  LogTail tail;
  ASSERT_EQ(noErr, Open(disc));
  EXPECT_TRUE(LogHas(tail, "VTS_01_0.IFO of " + disc + " parses into program chains")) << tail.Text();
  ASSERT_EQ(noErr, DVDPlay());
  Advance(5000);
  EXPECT_EQ(2u, Last(kDVDEventPTT));
  EXPECT_TRUE(mRecorder.Of(kDVDEventError).empty());
}

TEST_F(DVDIFOProbeTest, ATitlesetWithNoSafeCopyOpensAndEndsInAnError) {
  std::string const disc = CopyDisc();
  BreakProgramChainTable(disc + "/VTS_01_0.IFO");
  BreakProgramChainTable(disc + "/VTS_01_0.BUP");
  LogTail tail;
  ASSERT_EQ(noErr, Open(disc));
  EXPECT_TRUE(LogHas(tail, "VTS_01_0.BUP of " + disc + " crashes the parser")) << tail.Text();
  ASSERT_EQ(noErr, DVDPlay());
  Advance(3000);
  EXPECT_EQ(DVDEventValue(kDVDErrorReadFailed), Last(kDVDEventError));
  EXPECT_EQ(kDVDStateStopped, LastState());
}

TEST_F(DVDIFOProbeTest, AHungManagerIsRefusedNamingTheFile) {
  std::string const disc = CopyDisc();
  // Every child stalls far past the limit: each file counts as hanging the parser.
  dvd::UseProbeOptions({.childTimeLimitMs = 100, .childStallMs = 60000});
  LogTail tail;
  EXPECT_EQ(kDVDErrorMediaNotDVD, Open(disc));
  EXPECT_TRUE(LogHas(tail, "VIDEO_TS.IFO of " + disc + " hangs the parser")) << tail.Text();
  EXPECT_TRUE(LogHas(tail, "DVD refused: VIDEO_TS.IFO of " + disc)) << tail.Text();
}

TEST_F(DVDIFOProbeTest, AnImageWithACrashingTitlesetIsRefused) {
  std::string const disc = CopyDisc();
  BreakProgramChainTable(disc + "/VTS_01_0.IFO");
  BreakProgramChainTable(disc + "/VTS_01_0.BUP");
  std::string const iso = MakeTempDir("iso") + "/damaged.iso";
  std::string const command = "genisoimage -quiet -dvd-video -udf -o '" + iso + "' '" +
                              disc.substr(0, disc.size() - 9) + "'";
  ASSERT_EQ(0, std::system(command.c_str()));
  LogTail tail;
  EXPECT_EQ(kDVDErrorMediaNotDVD, Open(iso));
  EXPECT_TRUE(LogHas(tail, "VTS_01_0.IFO of " + iso + " crashes the parser")) << tail.Text();
}

TEST_F(DVDIFOProbeTest, AReopenCostsNoChild) {
  std::string const disc = CopyDisc();
  long const before = dvd::DVDIFOProbe::ChildrenStarted();
  ASSERT_EQ(noErr, Open(disc));
  ASSERT_EQ(noErr, DVDCloseMediaFile());
  long const first = dvd::DVDIFOProbe::ChildrenStarted();
  EXPECT_GT(first, before);
  ASSERT_EQ(noErr, Open(disc));
  ASSERT_EQ(noErr, DVDCloseMediaFile());
  EXPECT_EQ(first, dvd::DVDIFOProbe::ChildrenStarted());
}

TEST_F(DVDIFOProbeTest, AWholeDiscNeedsNoOverlay) {
  std::string const disc = CopyDisc();
  dvd::DVDProbeResult const r = dvd::DVDIFOProbe::Probe(disc, disc, {1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_EQ(noErr, r.status);
  EXPECT_EQ(disc, r.openPath);
  EXPECT_TRUE(r.damaged.empty());
  EXPECT_EQ(nullptr, r.overlay);
}

TEST_F(DVDIFOProbeTest, TheOverlayReadsTheBackupInPlaceOfTheCrashingFileAndGoesAway) {
  std::string const disc = CopyDisc();
  BreakProgramChainTable(disc + "/VTS_01_0.IFO");
  std::string overlay;
  {
    dvd::DVDProbeResult const r = dvd::DVDIFOProbe::Probe(disc, disc, {9, 9, 9, 9, 9, 9, 9, 9});
    ASSERT_NE(nullptr, r.overlay);
    overlay = r.openPath;
    EXPECT_THAT(r.damaged, testing::ElementsAre("VTS_01_0.IFO"));
    struct stat st;
    char target[4096] = {};
    ASSERT_GT(::readlink((overlay + "/VIDEO_TS/VTS_01_0.IFO").c_str(), target, sizeof target - 1), 0);
    EXPECT_EQ(disc + "/VTS_01_0.BUP", std::string(target));
    EXPECT_EQ(0, ::lstat((overlay + "/VIDEO_TS/VTS_01_0.BUP").c_str(), &st));
    EXPECT_EQ(0, ::lstat((overlay + "/VIDEO_TS/VTS_01_1.VOB").c_str(), &st));
  }
  dvd::DVDIFOProbe::ForgetResults();  // the last owner lets go
  struct stat st;
  EXPECT_NE(0, ::stat(overlay.c_str(), &st));
}

// Threads that keep the allocator, libdvdread and the terminal's stdio lock busy until the
// end of the scope.
class BusyLocks {
 public:
  explicit BusyLocks(std::string const& disc) {
    for (int t = 0; t < 2; ++t) {
      mThreads.emplace_back([this, t] {
        std::vector<void*> blocks(64, nullptr);
        for (size_t n = size_t(t); !mStop.load(std::memory_order_relaxed); ++n) {
          std::free(blocks[n % blocks.size()]);
          blocks[n % blocks.size()] = std::malloc(16 + (n * 37) % 8192);
        }
        for (void* block : blocks) std::free(block);
      });
    }
    mThreads.emplace_back([this, disc] {
      while (!mStop.load()) {
        if (dvd_reader_t* reader = ::DVDOpen2(nullptr, dvd::DVDReadQuietLogger(), disc.c_str())) {
          for (int title = 0; title <= 1; ++title)
            if (ifo_handle_t* ifo = ::ifoOpen(reader, title)) ::ifoClose(ifo);
          ::DVDClose(reader);
        }
        ++mParsed;
      }
    });
    mThreads.emplace_back([this] {
      ::flockfile(stderr);
      std::unique_lock<std::mutex> lock(mMutex);
      mHolding = true;
      mChanged.notify_all();
      mChanged.wait(lock, [this] { return mStop.load(); });
      ::funlockfile(stderr);
    });
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait(lock, [this] { return mHolding; });
  }
  ~BusyLocks() {
    {
      std::lock_guard<std::mutex> lock(mMutex);
      mStop = true;
    }
    mChanged.notify_all();
    for (auto& thread : mThreads) thread.join();
  }
  long Parsed() const { return mParsed.load(); }

 private:
  std::atomic<bool> mStop{false};
  std::atomic<long> mParsed{0};
  std::mutex mMutex;
  std::condition_variable mChanged;
  bool mHolding = false;
  std::vector<std::thread> mThreads;
};

// A fork of this threaded process could inherit a lock another thread held at that moment and
// hang in it; the helper is a fresh program. Here the allocator is never still, libdvdread is
// forever parsing the same disc, and one thread holds the terminal's stdio lock throughout.
TEST_F(DVDIFOProbeTest, OpensWhileOtherThreadsHoldTheAllocatorAndTheReader) {
  std::string const disc = CopyDisc();
  LogTail tail;
  long const before = dvd::DVDIFOProbe::ChildrenStarted();
  constexpr int kOpens = 20;
  int opened = 0;
  {
    BusyLocks busy(disc);
    ASSERT_TRUE(WaitFor([&] { return busy.Parsed() > 0; })) << "libdvdread never got through the disc";
    for (int i = 0; i < kOpens; ++i) {
      dvd::DVDIFOProbe::ForgetResults();
      if (Open(disc) == noErr) ++opened;
      DVDCloseMediaFile();
    }
  }
  EXPECT_EQ(kOpens, opened) << tail.Text();
  EXPECT_GE(dvd::DVDIFOProbe::ChildrenStarted() - before, 2 * kOpens) << "the manager and the title set";
  EXPECT_FALSE(LogHas(tail, "hangs the parser")) << tail.Text();
  EXPECT_FALSE(LogHas(tail, "of " + disc + " ")) << "no file of the good disc is damaged\n" << tail.Text();
}

// The helpers run without the service's lock: the service answers while a disc is probed.
TEST_F(DVDIFOProbeTest, TheServiceAnswersWhileADiscIsProbed) {
  std::string const disc = CopyDisc();
  dvd::UseProbeOptions({.childTimeLimitMs = 120000, .childStallMs = 2000});
  long const before = dvd::DVDIFOProbe::ChildrenStarted();
  std::atomic<bool> done{false};
  auto opening = std::async(std::launch::async, [&] {
    OSStatus const status = Open(disc);
    done = true;
    return status;
  });
  ASSERT_TRUE(WaitFor([&] { return dvd::DVDIFOProbe::ChildrenStarted() > before; }));
  Boolean hasMedia = true;
  EXPECT_EQ(noErr, DVDHasMedia(&hasMedia));
  EXPECT_FALSE(done.load()) << "the service waited for the probe";
  EXPECT_FALSE(hasMedia);
  EXPECT_EQ(noErr, opening.get());
  EXPECT_EQ(noErr, DVDCloseMediaFile());
}

}  // namespace
}  // namespace tavelo_test
