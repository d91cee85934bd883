// A service session for one test: its own runtime folder (so parallel test processes do
// not share the busy lock), the manual clock, and a recorder of every event.
#pragma once

#include "DVDPlayback.h"
#include "DVDService.h"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tavelo_test {

// Polls for a condition, a minute at most (a stuck wait fails rather than hangs the suite).
template <class Condition>
bool WaitFor(Condition condition) {
  auto const until = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > until) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

struct DVDEventRecord {
  DVDEventCode code;
  DVDEventValue data1;
  DVDEventValue data2;
  bool operator==(DVDEventRecord const&) const = default;
};

// Prints as "code:data1" (and ":data2" for title time) so that failures read easily.
void PrintTo(DVDEventRecord const& e, std::ostream* os);

class DVDEventRecorder {
 public:
  static void CallBack(DVDEventCode code, DVDEventValue data1, DVDEventValue data2, void* refCon);
  std::vector<DVDEventRecord> Events() const;
  // Every event but title time.
  std::vector<DVDEventRecord> Changes() const;
  std::vector<DVDEventRecord> Of(DVDEventCode code) const;
  void Clear();

 private:
  mutable std::mutex mMutex;
  std::vector<DVDEventRecord> mEvents;
};

std::string DiscPath(char const* name);
FSRef MakeRef(std::string const& path);
// Whether a menu is on, as DVDIsOnMenu answers (which must answer), and which.
bool OnMenu(DVDMenu* which = nullptr);
// The presented picture as DVDCopyPresentedFrame gives it; false when it gives none.
bool CopyPresented(DVDPresentedFrameInfo& info, std::vector<UInt8>& pixels);

// The presented picture's information and the number its barcode carries (-1 when it has
// none); the test fails when no picture is presented.
struct DVDShownPicture {
  DVDPresentedFrameInfo info{};
  int barcode = -1;
};
DVDShownPicture PresentedBarcode();

class DVDSessionTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Opens media as a folder; the test fails when that does not succeed.
  void OpenFile(std::string const& path);
  // Moves the clock and waits until the service has caught up with it.
  void Advance(UInt32 ms);
  void Settle();
  // The last playback state reported, once every event has arrived.
  DVDState LastState();
  // data1 of the last event with this code; kNone when there was none.
  static constexpr DVDEventValue kNone = 0xFFFFFFFF;
  DVDEventValue Last(DVDEventCode code);

  DVDEventRecorder mRecorder;
  DVDEventCallBackRef mCallBackID = 0;
  bool mInitialized = false;
};

}  // namespace tavelo_test
