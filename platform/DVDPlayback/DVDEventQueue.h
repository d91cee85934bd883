// Delivers the service's events on its own thread, in the order they were posted, to
// every registered callback that asked for the event's code.
#pragma once

#include "DVDPlayback.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace dvd {

class DVDEventQueue {
 public:
  DVDEventQueue();
  ~DVDEventQueue();
  DVDEventQueue(DVDEventQueue const&) = delete;
  DVDEventQueue& operator=(DVDEventQueue const&) = delete;

  DVDEventCallBackRef Register(DVDEventCallBackFunctionPtr proc, std::vector<DVDEventCode> codes,
                               void* refCon);
  bool Unregister(DVDEventCallBackRef id);
  void SetFatalErrorCallBack(DVDFatalErrCallBackFunctionPtr proc, void* refCon);

  void Post(DVDEventCode code, DVDEventValue data1, DVDEventValue data2 = 0);
  // An error goes out as an error event when someone listens for it, else to the
  // fatal-error callback.
  void PostError(OSStatus error);

  // True when nothing is queued and no callback is running.
  bool IsDrained() const;

 private:
  struct Registration {
    DVDEventCallBackRef id;
    DVDEventCallBackFunctionPtr proc;
    std::vector<DVDEventCode> codes;
    void* refCon;
  };
  struct Event {
    DVDEventCode code;
    DVDEventValue data1;
    DVDEventValue data2;
    bool fatal;
  };

  void Run();

  mutable std::mutex mMutex;  // DVDLockOrder.h: a leaf (8)
  std::condition_variable mWake;
  std::deque<Event> mQueue;
  std::vector<Registration> mRegistrations;
  DVDEventCallBackRef mNextID = 1;
  DVDFatalErrCallBackFunctionPtr mFatalProc = nullptr;
  void* mFatalRefCon = nullptr;
  bool mDelivering = false;
  bool mQuit = false;
  std::thread mThread;
};

}  // namespace dvd
