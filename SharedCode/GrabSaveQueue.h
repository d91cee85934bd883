// Saves made on a thread of their own, one after another in the order asked: the command
// takes its picture and returns at once, encoding and writing happen here.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

class GrabSaveQueue {
 public:
  GrabSaveQueue() = default;
  ~GrabSaveQueue() { Destruct(); }
  GrabSaveQueue(GrabSaveQueue const&) = delete;
  GrabSaveQueue& operator=(GrabSaveQueue const&) = delete;

  // The thread starts with the first save.
  void Post(std::function<void()> save);
  // Returns once every save posted before has been written (not while held).
  void WaitUntilDone();
  // Finishes what is queued (nothing is left half-written), then stops the thread.
  void Destruct();

  // Tests: while held, the thread takes no save.
  void HoldForTesting(bool hold);

 private:
  void Run();

  std::mutex mMutex;
  std::condition_variable mChanged;
  std::deque<std::function<void()>> mSaves;
  bool mRunning = false;  // a save is being made
  bool mStopping = false;
  bool mHeld = false;
  std::thread mThread;
};
