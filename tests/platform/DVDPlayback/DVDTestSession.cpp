#include "DVDTestSession.h"

#include "DVDBarcode.h"

#include "TestLog.h"
#include "TestTime.h"

#include <cstdlib>
#include <cstring>

namespace tavelo_test {

void PrintTo(DVDEventRecord const& e, std::ostream* os) {
  *os << e.code << ":" << e.data1;
  if (e.code == kDVDEventTitleTime) *os << ":" << e.data2;
}

void DVDEventRecorder::CallBack(DVDEventCode code, DVDEventValue data1, DVDEventValue data2,
                                void* refCon) {
  auto* const self = static_cast<DVDEventRecorder*>(refCon);
  std::lock_guard<std::mutex> g(self->mMutex);
  self->mEvents.push_back({code, data1, data2});
}

std::vector<DVDEventRecord> DVDEventRecorder::Events() const {
  std::lock_guard<std::mutex> g(mMutex);
  return mEvents;
}

std::vector<DVDEventRecord> DVDEventRecorder::Changes() const {
  std::vector<DVDEventRecord> out;
  for (auto const& e : Events()) {
    if (e.code != kDVDEventTitleTime) out.push_back(e);
  }
  return out;
}

std::vector<DVDEventRecord> DVDEventRecorder::Of(DVDEventCode code) const {
  std::vector<DVDEventRecord> out;
  for (auto const& e : Events()) {
    if (e.code == code) out.push_back(e);
  }
  return out;
}

void DVDEventRecorder::Clear() {
  std::lock_guard<std::mutex> g(mMutex);
  mEvents.clear();
}

std::string DiscPath(char const* name) { return std::string(TAVELO_TEST_DISCS) + "/" + name; }

FSRef MakeRef(std::string const& path) {
  FSRef ref;
  std::memset(&ref, 0, sizeof ref);
  EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>(path.c_str()), &ref, nullptr))
      << path;
  return ref;
}

void DVDSessionTest::SetUp() {
  static std::string const runtime = MakeTempDir("run");
  ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
  dvd::UseManualClock(true);
  ASSERT_EQ(noErr, DVDInitialize());
  mInitialized = true;
  DVDEventCode const codes[] = {7, 24, 11, 2, 1, 20, 12};
  ASSERT_EQ(noErr, DVDRegisterEventCallBack(&DVDEventRecorder::CallBack, codes, 7, &mRecorder,
                                            &mCallBackID));
  ASSERT_EQ(noErr, DVDSetTimeEventRate(1000));
}

void DVDSessionTest::TearDown() {
  if (!mInitialized) return;
  Boolean hasMedia = false;
  if (DVDHasMedia(&hasMedia) == noErr && hasMedia) {
    if (DVDCloseMediaFile() != noErr) DVDCloseMediaVolume();
  }
  EXPECT_EQ(noErr, DVDUnregisterEventCallBack(mCallBackID));
  EXPECT_EQ(noErr, DVDDispose());
}

bool OnMenu(DVDMenu* which) {
  Boolean onMenu = false;
  DVDMenu menu = kDVDMenuNone;
  EXPECT_EQ(noErr, DVDIsOnMenu(&onMenu, &menu));
  if (which) *which = menu;
  return onMenu;
}

bool CopyPresented(DVDPresentedFrameInfo& info, std::vector<UInt8>& pixels) {
  UInt32 size = 0;
  if (DVDCopyPresentedFrame(&info, nullptr, &size) != noErr) return false;
  pixels.resize(size);
  return DVDCopyPresentedFrame(&info, pixels.data(), &size) == noErr && size == pixels.size();
}

DVDShownPicture PresentedBarcode() {
  DVDShownPicture s;
  std::vector<UInt8> pixels;
  EXPECT_TRUE(CopyPresented(s.info, pixels));
  if (pixels.size() >= size_t(s.info.rowBytes) * (kBarcodeRow + 1)) {
    // Green of the RGB row: white and black blocks are far apart in every channel.
    s.barcode = ReadBarcode(pixels.data() + size_t(kBarcodeRow) * s.info.rowBytes + 1, 3);
  }
  return s;
}

void DVDSessionTest::OpenFile(std::string const& path) {
  FSRef const ref = MakeRef(path);
  ASSERT_EQ(noErr, DVDOpenMediaFile(&ref)) << path;
}

void DVDSessionTest::Advance(UInt32 ms) {
  Settle();
  dvd::AdvanceManualClock(ms);
  Settle();
}

void DVDSessionTest::Settle() { ASSERT_TRUE(dvd::WaitUntilQuiet(ScaledMilliseconds(20000))); }

DVDState DVDSessionTest::LastState() {
  Settle();
  auto const states = mRecorder.Of(kDVDEventPlayback);
  return states.empty() ? kDVDStateUnknown : DVDState(states.back().data1);
}

DVDEventValue DVDSessionTest::Last(DVDEventCode code) {
  Settle();
  auto const events = mRecorder.Of(code);
  return events.empty() ? kNone : events.back().data1;
}

}  // namespace tavelo_test
