#include "DVDFrameCallBack.h"

namespace dvd {

void DVDFrameCallBack::Set(DVDFrameReadyCallBackFunctionPtr proc, void* refCon) {
  std::unique_lock<std::mutex> lk(mMutex);
  if (std::this_thread::get_id() != mCaller) mDone.wait(lk, [&] { return !mInCall; });
  mProc = proc;
  mRefCon = refCon;
}

UInt32 DVDFrameCallBack::Next() {
  std::lock_guard<std::mutex> g(mMutex);
  return ++mNumber;
}

UInt32 DVDFrameCallBack::Last() {
  std::lock_guard<std::mutex> g(mMutex);
  return mNumber;
}

void DVDFrameCallBack::Call(UInt32 number) {
  std::unique_lock<std::mutex> lk(mMutex);
  DVDFrameReadyCallBackFunctionPtr const proc = mProc;
  void* const refCon = mRefCon;
  if (!proc) return;
  mInCall = true;
  mCaller = std::this_thread::get_id();
  lk.unlock();
  proc(number, refCon);
  lk.lock();
  mInCall = false;
  mCaller = std::thread::id();
  mDone.notify_all();
}

}  // namespace dvd
