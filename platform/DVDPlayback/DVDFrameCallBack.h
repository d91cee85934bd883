// The application's frame-ready callback and the numbers of the pictures it is told of.
// Called without any other lock held; once Set returns, the callback it replaced is not
// running (unless Set is called from inside it).
#pragma once

#include "DVDPlayback.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace dvd {

class DVDFrameCallBack {
 public:
  void Set(DVDFrameReadyCallBackFunctionPtr proc, void* refCon);
  // The next picture's number, and the last one given.
  UInt32 Next();
  UInt32 Last();
  // Tells the callback (when there is one) that picture number is ready.
  void Call(UInt32 number);

 private:
  std::mutex mMutex;  // DVDLockOrder.h: a leaf (8), never held during the call
  std::condition_variable mDone;
  DVDFrameReadyCallBackFunctionPtr mProc = nullptr;
  void* mRefCon = nullptr;
  bool mInCall = false;
  std::thread::id mCaller;  // the thread calling it while mInCall
  UInt32 mNumber = 0;
};

}  // namespace dvd
