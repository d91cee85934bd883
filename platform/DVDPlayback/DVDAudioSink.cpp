#include "DVDAudioSink.h"

#include "DVDNullAudioSink.h"
#include "DVDSharedLibrary.h"

#include <pulse/error.h>
#include <pulse/simple.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace dvd {

namespace {

constexpr int kDefaultRate = 48000;
// How often a server that went away is looked for again.
constexpr std::chrono::milliseconds kReconnectWait{500};
// Sound later than this is dropped rather than played out of step with the picture.
constexpr int64_t kLateLimit = DVDClock::kTicksPerSecond * 10 / 1000;
// Sound later than this has its late beginning cut.
constexpr int64_t kTrimLimit = DVDClock::kTicksPerSecond * 3 / 1000;
// The device may steer the clock by this much; further off (starting, a stall) the sound
// is placed again on the clock instead.
constexpr int64_t kSteerLimit = DVDClock::kTicksPerSecond / 10;

// PulseAudio, loaded when sound is first wanted: a grab never plays any.
struct PulseLibrary {
  decltype(&pa_simple_new) open = nullptr;
  decltype(&pa_simple_free) free = nullptr;
  decltype(&pa_simple_write) write = nullptr;
  decltype(&pa_simple_drain) drain = nullptr;
  decltype(&pa_simple_flush) flush = nullptr;
  decltype(&pa_simple_get_latency) latency = nullptr;
  bool loaded = false;
};

PulseLibrary const& Pulse() {
  static PulseLibrary const library = [] {
    PulseLibrary p;
    static DVDSharedLibrary shared;
    p.loaded = shared.Construct("libpulse-simple.so.0") && shared.Bind(p.open, "pa_simple_new") &&
               shared.Bind(p.free, "pa_simple_free") && shared.Bind(p.write, "pa_simple_write") &&
               shared.Bind(p.drain, "pa_simple_drain") && shared.Bind(p.flush, "pa_simple_flush") &&
               shared.Bind(p.latency, "pa_simple_get_latency");
    return p;
  }();
  return library;
}

pa_simple* OpenStream(int rate) {
  if (!Pulse().loaded) return nullptr;
  pa_sample_spec spec{};
  spec.format = PA_SAMPLE_S16LE;
  spec.rate = uint32_t(rate);
  spec.channels = 2;
  // A short device buffer keeps pause and jumps prompt.
  pa_buffer_attr attr{};
  attr.maxlength = uint32_t(-1);
  attr.tlength = uint32_t(rate / 10 * 4);
  attr.prebuf = uint32_t(-1);
  attr.minreq = uint32_t(-1);
  attr.fragsize = uint32_t(-1);
  int error = 0;
  return Pulse().open(nullptr, "Tavelo", PA_STREAM_PLAYBACK, nullptr, "DVD", &spec, nullptr,
                       &attr, &error);
}

class DVDPulseAudioSink : public DVDAudioSink {
 public:
  DVDPulseAudioSink(DVDClock& clock, pa_simple* stream)
      : mClock(clock), mStream(stream), mThread([this] { Run(); }) {}

  ~DVDPulseAudioSink() override {
    {
      std::lock_guard<std::mutex> g(mMutex);
      mQuit = true;
    }
    mWake.notify_all();
    mThread.join();
    if (mStream) Pulse().free(mStream);
  }

  void Push(int64_t at, int rate, int16_t const* samples, size_t frames) override {
    std::lock_guard<std::mutex> g(mMutex);
    mQueue.push_back({at, rate, std::vector<int16_t>(samples, samples + frames * 2)});
    mWake.notify_all();
  }

  void Flush() override {
    std::lock_guard<std::mutex> g(mMutex);
    mQueue.clear();
    mFlushDevice = true;
    mWake.notify_all();
  }

  void Hold(bool hold) override {
    std::lock_guard<std::mutex> g(mMutex);
    mHeld = hold;
    // Pausing stops what the device still holds at once.
    if (hold) mFlushDevice = true;
    mWake.notify_all();
  }

  void SetVolume(UInt16 volume, bool muted) override {
    std::lock_guard<std::mutex> g(mMutex);
    mVolume = volume;
    mMuted = muted;
  }

  int64_t Delivered() override {
    std::lock_guard<std::mutex> g(mMutex);
    return mDelivered;
  }

  bool IsDevice() const override { return true; }

 private:
  struct Piece {
    int64_t at;
    int rate;
    std::vector<int16_t> samples;
  };

  void Run() {
    std::unique_lock<std::mutex> lk(mMutex);
    int rate = kDefaultRate;
    int64_t writtenUntil = -1;  // clock time the device's buffer runs to
    while (!mQuit) {
      if (mFlushDevice) {
        mFlushDevice = false;
        writtenUntil = -1;
        lk.unlock();
        if (mStream) Pulse().flush(mStream, nullptr);
        lk.lock();
        mClock.FollowAudio(false, 0);
        continue;
      }
      if (mHeld || mQueue.empty()) {
        // Run dry: the system clock takes over until sound comes again.
        if (writtenUntil >= 0 && mClock.Now() > writtenUntil) {
          writtenUntil = -1;
          mClock.FollowAudio(false, 0);
        }
        mWake.wait_for(lk, std::chrono::milliseconds(20));
        continue;
      }
      Piece& head = mQueue.front();
      int64_t const now = mClock.Now();
      int64_t const duration = int64_t(head.samples.size() / 2) * DVDClock::kTicksPerSecond /
                               head.rate;
      // Late for the clock, or for where the device's sound has got to (after a stall):
      // dropped, so that what follows is heard at its time.
      int64_t const heardAt = writtenUntil >= 0 ? std::max(now, writtenUntil) : now;
      if (head.at + duration < heardAt - kLateLimit) {
        mQueue.pop_front();
        continue;
      }
      if (writtenUntil >= 0 && head.at < heardAt - kTrimLimit) {
        // Partly late: its late beginning goes.
        size_t const late = size_t((heardAt - head.at) * head.rate / DVDClock::kTicksPerSecond);
        size_t const frames = head.samples.size() / 2;
        if (late >= frames) {
          mQueue.pop_front();
          continue;
        }
        head.samples.erase(head.samples.begin(), head.samples.begin() + std::ptrdiff_t(late * 2));
        head.at += int64_t(late) * DVDClock::kTicksPerSecond / head.rate;
        continue;
      }
      if (writtenUntil < 0) {
        // Starting from idle: the first sample should be heard at its time.
        int64_t const lead = DVDClock::kTicksPerSecond / 20;
        if (head.at - lead > now) {
          mWake.wait_for(lk, std::chrono::microseconds((head.at - lead - now) * 100 / 9));
          continue;
        }
      }
      Piece piece = std::move(head);
      mQueue.pop_front();
      UInt16 const volume = mVolume;
      bool const muted = mMuted;
      lk.unlock();
      if (piece.rate != rate && mStream) {
        Pulse().drain(mStream, nullptr);
        Pulse().free(mStream);
        rate = piece.rate;
        mStream = OpenStream(rate);
      }
      bool ok = mStream != nullptr;
      if (ok) {
        ApplyVolume(piece.samples.data(), piece.samples.size(), volume, muted);
        ok = Pulse().write(mStream, piece.samples.data(), piece.samples.size() * 2, nullptr) >= 0;
      }
      pa_usec_t latency = 0;
      if (ok) latency = Pulse().latency(mStream, nullptr);
      lk.lock();
      if (!ok) {
        // The server went away: the picture goes on by the system clock, the sound is
        // dropped, and the server is looked for again every so often.
        mClock.FollowAudio(false, 0);
        writtenUntil = -1;
        mQueue.clear();
        lk.unlock();
        if (mStream) Pulse().free(mStream);
        mStream = nullptr;
        lk.lock();
        mWake.wait_for(lk, kReconnectWait, [&] { return mQuit; });
        if (mQuit) break;
        lk.unlock();
        pa_simple* const stream = OpenStream(rate);
        lk.lock();
        mStream = stream;
        continue;
      }
      int64_t const start = writtenUntil >= 0 ? std::max(writtenUntil, piece.at) : piece.at;
      writtenUntil = start + duration;
      mDelivered += int64_t(piece.samples.size() / 2);
      // What is heard now is what was written, less what the device still holds.
      int64_t const held = int64_t(latency) * 9 / 100;
      int64_t const heard = writtenUntil - held;
      int64_t const error = heard - mClock.Now();
      if (error > kSteerLimit || error < -kSteerLimit) {
        writtenUntil = mClock.Now() + held;
        mClock.FollowAudio(false, 0);
      } else {
        mClock.FollowAudio(!muted && !mHeld, heard);
      }
    }
  }

  DVDClock& mClock;
  pa_simple* mStream;
  std::mutex mMutex;  // DVDLockOrder.h: a leaf (8)
  std::condition_variable mWake;
  std::deque<Piece> mQueue;
  bool mQuit = false;
  bool mHeld = false;
  bool mFlushDevice = false;
  UInt16 mVolume = 255;
  bool mMuted = false;
  int64_t mDelivered = 0;
  std::thread mThread;
};

}  // namespace

void DVDAudioSink::ApplyVolume(int16_t* samples, size_t count, UInt16 volume, bool muted) {
  if (muted) {
    std::fill_n(samples, count, int16_t(0));
    return;
  }
  if (volume >= 255) return;
  for (size_t i = 0; i < count; ++i) samples[i] = int16_t(samples[i] * int(volume) / 255);
}

std::unique_ptr<DVDAudioSink> DVDAudioSink::Create(DVDClock& clock) {
  // A device cannot follow the manual clock.
  if (!clock.IsManual()) {
    if (pa_simple* const stream = OpenStream(kDefaultRate)) {
      return std::make_unique<DVDPulseAudioSink>(clock, stream);
    }
  }
  return std::make_unique<DVDNullAudioSink>(clock);
}

}  // namespace dvd
