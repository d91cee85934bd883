#include "DVDEventQueue.h"

#include <algorithm>

namespace dvd {

DVDEventQueue::DVDEventQueue() : mThread([this] { Run(); }) {}

DVDEventQueue::~DVDEventQueue() {
  {
    std::lock_guard<std::mutex> g(mMutex);
    mQuit = true;
  }
  mWake.notify_all();
  mThread.join();
}

DVDEventCallBackRef DVDEventQueue::Register(DVDEventCallBackFunctionPtr proc,
                                            std::vector<DVDEventCode> codes, void* refCon) {
  std::lock_guard<std::mutex> g(mMutex);
  DVDEventCallBackRef const id = mNextID++;
  mRegistrations.push_back({id, proc, std::move(codes), refCon});
  return id;
}

bool DVDEventQueue::Unregister(DVDEventCallBackRef id) {
  std::lock_guard<std::mutex> g(mMutex);
  auto const it = std::find_if(mRegistrations.begin(), mRegistrations.end(),
                               [id](Registration const& r) { return r.id == id; });
  if (it == mRegistrations.end()) return false;
  mRegistrations.erase(it);
  return true;
}

void DVDEventQueue::SetFatalErrorCallBack(DVDFatalErrCallBackFunctionPtr proc, void* refCon) {
  std::lock_guard<std::mutex> g(mMutex);
  mFatalProc = proc;
  mFatalRefCon = refCon;
}

void DVDEventQueue::Post(DVDEventCode code, DVDEventValue data1, DVDEventValue data2) {
  {
    std::lock_guard<std::mutex> g(mMutex);
    mQueue.push_back({code, data1, data2, false});
  }
  mWake.notify_all();
}

void DVDEventQueue::PostError(OSStatus error) {
  {
    std::lock_guard<std::mutex> g(mMutex);
    bool const listened = std::any_of(mRegistrations.begin(), mRegistrations.end(),
                                      [](Registration const& r) {
                                        return std::find(r.codes.begin(), r.codes.end(),
                                                         kDVDEventError) != r.codes.end();
                                      });
    mQueue.push_back({kDVDEventError, DVDEventValue(error), 0, !listened});
  }
  mWake.notify_all();
}

bool DVDEventQueue::IsDrained() const {
  std::lock_guard<std::mutex> g(mMutex);
  return mQueue.empty() && !mDelivering;
}

void DVDEventQueue::Run() {
  std::unique_lock<std::mutex> lk(mMutex);
  for (;;) {
    mWake.wait(lk, [this] { return mQuit || !mQueue.empty(); });
    if (mQueue.empty()) return;  // quitting with nothing left to deliver
    Event const e = mQueue.front();
    mQueue.pop_front();
    // Callbacks run unlocked so that they may call back into the service.
    std::vector<Registration> targets;
    for (Registration const& r : mRegistrations) {
      if (std::find(r.codes.begin(), r.codes.end(), e.code) != r.codes.end()) targets.push_back(r);
    }
    DVDFatalErrCallBackFunctionPtr const fatal = mFatalProc;
    void* const fatalRefCon = mFatalRefCon;
    mDelivering = true;
    lk.unlock();
    if (e.fatal) {
      if (fatal) fatal(OSStatus(SInt32(e.data1)), fatalRefCon);
    } else {
      for (Registration const& r : targets) r.proc(e.code, e.data1, e.data2, r.refCon);
    }
    lk.lock();
    mDelivering = false;
  }
}

}  // namespace dvd
