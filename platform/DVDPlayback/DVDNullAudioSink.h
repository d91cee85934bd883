// The sink without a device: it plays each piece at its due time on the service clock,
// at the stream's rate, back to back like a device would, and counts what it played.
#pragma once

#include "DVDAudioSink.h"

#include <deque>
#include <mutex>

namespace dvd {

class DVDNullAudioSink : public DVDAudioSink {
 public:
  // heard false: a stills session's, which is never heard (WantsSound).
  explicit DVDNullAudioSink(DVDClock& clock, bool heard = true) : mClock(clock), mHeard(heard) {}

  void Push(int64_t at, int rate, int16_t const* samples, size_t frames) override;
  void Flush() override;
  void Hold(bool hold) override;
  void SetVolume(UInt16 volume, bool muted) override;
  int64_t Delivered() override;
  bool IsDevice() const override { return false; }
  bool WantsSound() const override { return mHeard; }

 private:
  struct Piece {
    int64_t at;
    int rate;
    int64_t frames;
  };
  // Plays everything due up to now.
  void Advance(int64_t now);

  DVDClock& mClock;
  bool const mHeard;
  std::mutex mMutex;  // DVDLockOrder.h: a leaf (8)
  std::deque<Piece> mQueue;
  bool mPlayed = false;       // something played since the last flush
  int64_t mCursor = 0;       // where the last piece played ended
  bool mHeadStarted = false;
  int64_t mHeadStart = 0;    // when the piece at the head began
  int64_t mHeadPlayed = 0;
  int64_t mDelivered = 0;
  bool mHeld = false;
  int64_t mHeldAt = 0;
};

}  // namespace dvd
