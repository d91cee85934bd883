// Where decoded sound goes: PulseAudio (also under PipeWire), or, when no sound server is
// reachable or the clock is the manual test clock, the null sink that keeps time without
// a device. Sound comes as interleaved 16-bit stereo tagged with the clock time it is
// due at; the sink plays it then, with the volume and mute applied.
#pragma once

#include "DVDClock.h"
#include "MacTypes.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace dvd {

class DVDAudioSink {
 public:
  virtual ~DVDAudioSink() = default;

  virtual void Push(int64_t at, int rate, int16_t const* samples, size_t frames) = 0;
  // Drops everything not yet played.
  virtual void Flush() = 0;
  // Pause: nothing more is played until released.
  virtual void Hold(bool hold) = 0;
  virtual void SetVolume(UInt16 volume, bool muted) = 0;
  // Sample frames played so far.
  virtual int64_t Delivered() = 0;
  virtual bool IsDevice() const = 0;
  // False: nothing is ever heard (a stills session), so sound is not even decoded.
  virtual bool WantsSound() const { return true; }

  static std::unique_ptr<DVDAudioSink> Create(DVDClock& clock);

 protected:
  // Scales samples by volume 0..255; silence when muted.
  static void ApplyVolume(int16_t* samples, size_t count, UInt16 volume, bool muted);
};

}  // namespace dvd
