#include "DVDDecodeFeed.h"

namespace dvd {

void DVDDecodeFeed::Start() {
  std::lock_guard<std::mutex> g(mMutex);
  if (mThread.joinable()) return;
  mQuit = false;
  mThread = std::thread([this] { Run(); });
}

void DVDDecodeFeed::Stop() {
  {
    std::lock_guard<std::mutex> g(mMutex);
    if (!mThread.joinable()) return;
    mQuit = true;
  }
  mWake.notify_all();
  mRoomFreed.notify_all();
  mThread.join();
  std::lock_guard<std::mutex> g(mMutex);
  mTasks.clear();
  mBlocks = 0;
  mJumps = mTargets = 0;
}

void DVDDecodeFeed::SetRoomListener(std::function<void()> listener) {
  std::lock_guard<std::mutex> g(mListenerMutex);
  mRoomListener = std::move(listener);
}

void DVDDecodeFeed::Post(Kind kind, std::function<void()> task, int64_t target) {
  std::lock_guard<std::mutex> g(mMutex);
  if (kind == Kind::Block) ++mBlocks;
  if (kind == Kind::Jump) ++mJumps;
  if (kind == Kind::Target) {
    ++mTargets;
    mLastTarget = target;
  }
  mTasks.push_back({kind, std::move(task)});
  mWake.notify_all();
}

void DVDDecodeFeed::WaitForRoom() {
  std::unique_lock<std::mutex> lk(mMutex);
  mRoomFreed.wait(lk, [&] { return mQuit || mBlocks < mMaxBlocks; });
}

bool DVDDecodeFeed::HasRoom() const {
  std::lock_guard<std::mutex> g(mMutex);
  return mBlocks < mMaxBlocks;
}

void DVDDecodeFeed::NoticeRoom() {
  std::lock_guard<std::mutex> g(mMutex);
  mRoomWanted = true;
}

bool DVDDecodeFeed::Idle() const {
  std::lock_guard<std::mutex> g(mMutex);
  return mTasks.empty() && !mRunning;
}

bool DVDDecodeFeed::JumpQueued() const {
  std::lock_guard<std::mutex> g(mMutex);
  return mJumps > 0;
}

bool DVDDecodeFeed::QueuedTarget(int64_t* target) const {
  std::lock_guard<std::mutex> g(mMutex);
  if (mTargets == 0) return false;
  *target = mLastTarget;
  return true;
}

void DVDDecodeFeed::Run() {
  std::unique_lock<std::mutex> lk(mMutex);
  for (;;) {
    mWake.wait(lk, [&] { return mQuit || !mTasks.empty(); });
    if (mQuit) return;
    Task task = std::move(mTasks.front());
    mTasks.pop_front();
    mRunning = true;
    lk.unlock();
    task.run();
    lk.lock();
    mRunning = false;
    if (task.kind == Kind::Jump) --mJumps;
    if (task.kind == Kind::Target) --mTargets;
    if (task.kind == Kind::Block) {
      --mBlocks;
      mRoomFreed.notify_all();
    }
    bool const tell = mRoomWanted && mBlocks < mMaxBlocks;
    if (tell) mRoomWanted = false;
    if (tell) {
      // Not under the queue's lock: the listener takes the reader's.
      lk.unlock();
      {
        std::lock_guard<std::mutex> g(mListenerMutex);
        if (mRoomListener) mRoomListener();
      }
      lk.lock();
    }
  }
}

}  // namespace dvd
