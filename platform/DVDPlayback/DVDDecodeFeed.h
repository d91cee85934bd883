// A stage's own thread and its bounded queue: the stage before hands over its work (blocks
// or packets, and the changes that go with them: picture groups, jumps, speed, targets) and
// goes on; it is carried out here in the order given. A full queue holds the stage before
// back, never the application.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace dvd {

class DVDDecodeFeed {
 public:
  enum class Kind { Block, Jump, Target, Other };

  explicit DVDDecodeFeed(size_t maxBlocks) : mMaxBlocks(maxBlocks) {}
  ~DVDDecodeFeed() { Stop(); }
  DVDDecodeFeed(DVDDecodeFeed const&) = delete;
  DVDDecodeFeed& operator=(DVDDecodeFeed const&) = delete;

  void Start();
  // Waits for the task running; the rest are dropped.
  void Stop();

  // target: the frame of a Target task.
  void Post(Kind kind, std::function<void()> task, int64_t target = -1);
  bool HasRoom() const;
  // Blocks until the queue has room for another block (or the feed stops).
  void WaitForRoom();
  // Called on the feed's thread when room frees after NoticeRoom() (once each time).
  // Once this returns the listener it replaced is not running.
  void SetRoomListener(std::function<void()> listener);
  void NoticeRoom();
  // Nothing queued and nothing running.
  bool Idle() const;
  bool JumpQueued() const;
  // The frame of the last target queued, while one is queued.
  bool QueuedTarget(int64_t* target) const;

 private:
  struct Task {
    Kind kind;
    std::function<void()> run;
  };
  void Run();

  size_t const mMaxBlocks;
  std::mutex mListenerMutex;  // held while the listener runs; DVDLockOrder.h (2)
  std::function<void()> mRoomListener;
  mutable std::mutex mMutex;  // DVDLockOrder.h: a stage queue's (4)
  std::condition_variable mWake;
  std::condition_variable mRoomFreed;
  std::deque<Task> mTasks;
  size_t mBlocks = 0;
  int mJumps = 0;
  int mTargets = 0;
  int64_t mLastTarget = -1;
  bool mRunning = false;
  bool mRoomWanted = false;
  bool mQuit = false;
  std::thread mThread;
};

}  // namespace dvd
