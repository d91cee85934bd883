#include "GrabSaveQueue.h"

#include <utility>

void GrabSaveQueue::Post(std::function<void()> save) {
  std::lock_guard<std::mutex> g(mMutex);
  mSaves.push_back(std::move(save));
  if (!mThread.joinable()) {
    mStopping = false;
    mThread = std::thread([this] { Run(); });
  }
  mChanged.notify_all();
}

void GrabSaveQueue::WaitUntilDone() {
  std::unique_lock<std::mutex> lk(mMutex);
  mChanged.wait(lk, [this] { return mSaves.empty() && !mRunning; });
}

void GrabSaveQueue::Destruct() {
  {
    std::lock_guard<std::mutex> g(mMutex);
    mStopping = true;
    mHeld = false;
    mChanged.notify_all();
  }
  if (mThread.joinable()) mThread.join();
}

void GrabSaveQueue::HoldForTesting(bool hold) {
  std::lock_guard<std::mutex> g(mMutex);
  mHeld = hold;
  mChanged.notify_all();
}

void GrabSaveQueue::Run() {
  std::unique_lock<std::mutex> lk(mMutex);
  for (;;) {
    mChanged.wait(lk, [this] {
      return (!mSaves.empty() && !mHeld) || (mStopping && mSaves.empty());
    });
    if (mSaves.empty()) return;
    std::function<void()> save = std::move(mSaves.front());
    mSaves.pop_front();
    mRunning = true;
    // Made and written without the lock: a command posting meanwhile never waits for a disk.
    lk.unlock();
    save();
    lk.lock();
    mRunning = false;
    mChanged.notify_all();
  }
}
