// Sound through a real PulseAudio server of the test's own (a null sink, its own folders, no
// system configuration), recorded from the sink's monitor with parec: the title's tone is
// heard, sound and picture keep together over a minute, and when the server is killed and
// started again the picture goes on and the sound comes back.
#include "DVDService.h"
#include "DVDTestSession.h"

#include "TestLog.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace tavelo_test {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kRate = 48000;

double Seconds(Clock::time_point t) {
  return std::chrono::duration<double>(t.time_since_epoch()).count();
}

// Starts argv with stdout to outFd (or the log file) and stderr to the log file.
pid_t Spawn(std::vector<std::string> const& args, std::string const& log, int outFd = -1) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 2, log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
  if (outFd >= 0) {
    posix_spawn_file_actions_adddup2(&actions, outFd, 1);
  } else {
    posix_spawn_file_actions_adddup2(&actions, 2, 1);
  }
  std::vector<char*> argv;
  for (auto const& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  pid_t pid = -1;
  if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) pid = -1;
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

void Reap(pid_t& pid, int signal) {
  if (pid <= 0) return;
  ::kill(pid, signal);
  int status = 0;
  ::waitpid(pid, &status, 0);
  pid = -1;
}

// A PulseAudio server in a folder of its own, with one null sink named "tavelo".
class PrivatePulseServer {
 public:
  PrivatePulseServer() : mDir(MakeTempDir("pulse")) {}
  ~PrivatePulseServer() { Kill(); }

  std::string Address() const { return "unix:" + mDir + "/native"; }
  std::string Log() const { return mDir + "/server.log"; }

  bool Start() {
    ::unlink((mDir + "/native").c_str());
    ::setenv("PULSE_RUNTIME_PATH", (mDir + "/run").c_str(), 1);
    ::setenv("PULSE_STATE_PATH", (mDir + "/state").c_str(), 1);
    ::setenv("PULSE_SERVER", Address().c_str(), 1);
    mPid = Spawn({"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
                  "--disable-shm=yes", "--use-pid-file=no", "--log-target=stderr",
                  "-L", "module-null-sink sink_name=tavelo rate=48000",
                  "-L", "module-native-protocol-unix auth-anonymous=1 socket=" + mDir + "/native"},
                 Log());
    if (mPid <= 0) return false;
    for (int i = 0; i < 100; ++i) {
      pid_t check = Spawn({"pactl", "--server=" + Address(), "info"}, mDir + "/pactl.log");
      int status = 1;
      if (check > 0) ::waitpid(check, &status, 0);
      if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  }

  void Kill() { Reap(mPid, SIGKILL); }

 private:
  std::string mDir;
  pid_t mPid = -1;
};

// parec on the sink's monitor: the samples (left channel) and when they were made.
class MonitorRecorder {
 public:
  bool Start(PrivatePulseServer const& server) {
    int fds[2];
    if (::pipe(fds) != 0) return false;
    mPid = Spawn({"parec", "--server=" + server.Address(), "-d", "tavelo.monitor", "--raw",
                  "--format=s16le", "--rate=48000", "--channels=2", "--latency-msec=5"},
                 server.Log() + ".parec", fds[1]);
    ::close(fds[1]);
    if (mPid <= 0) {
      ::close(fds[0]);
      return false;
    }
    mFd = fds[0];
    mThread = std::thread([this] { Read(); });
    return true;
  }

  void Stop() {
    Reap(mPid, SIGTERM);
    if (mThread.joinable()) mThread.join();
    if (mFd >= 0) ::close(mFd);
    mFd = -1;
  }

  ~MonitorRecorder() { Stop(); }

  std::vector<int16_t> Samples() {
    std::lock_guard<std::mutex> g(mMutex);
    return mSamples;
  }

  // When sample 0 was made (seconds on the steady clock): no sample arrives before it is
  // made, so the earliest arrival less its place in the stream is the closest bound.
  double Epoch() {
    std::lock_guard<std::mutex> g(mMutex);
    return mEpoch;
  }

 private:
  void Read() {
    std::vector<char> buffer(4096);
    std::vector<char> pending;
    for (;;) {
      ssize_t const n = ::read(mFd, buffer.data(), buffer.size());
      if (n <= 0) return;
      double const now = Seconds(Clock::now());
      pending.insert(pending.end(), buffer.begin(), buffer.begin() + n);
      std::lock_guard<std::mutex> g(mMutex);
      size_t const frames = pending.size() / 4;
      for (size_t i = 0; i < frames; ++i) {
        int16_t left = 0;
        std::memcpy(&left, pending.data() + i * 4, 2);
        mSamples.push_back(left);
      }
      pending.erase(pending.begin(), pending.begin() + std::ptrdiff_t(frames * 4));
      mEpoch = std::min(mEpoch, now - double(mSamples.size()) / kRate);
    }
  }

  pid_t mPid = -1;
  int mFd = -1;
  std::thread mThread;
  std::mutex mMutex;
  std::vector<int16_t> mSamples;
  double mEpoch = 1e300;
};

// How strong frequency f is in samples (Goertzel), relative to full scale.
double Strength(std::vector<int16_t> const& samples, size_t from, size_t count, double f) {
  double const w = 2 * M_PI * f / kRate;
  double s1 = 0;
  double s2 = 0;
  for (size_t i = from; i < from + count && i < samples.size(); ++i) {
    double const s = samples[i] / 32768.0 + 2 * std::cos(w) * s1 - s2;
    s2 = s1;
    s1 = s;
  }
  double const power = s1 * s1 + s2 * s2 - 2 * std::cos(w) * s1 * s2;
  return std::sqrt(std::max(0.0, power)) / double(count) * 2;
}

// The last second of the recording carries the 1 kHz tone (and not a neighbour).
::testing::AssertionResult HasTone(std::vector<int16_t> const& samples) {
  if (samples.size() < size_t(kRate)) {
    return ::testing::AssertionFailure() << "only " << samples.size() << " samples recorded";
  }
  size_t const from = samples.size() - kRate;
  double const tone = Strength(samples, from, kRate, 1000);
  double const other = Strength(samples, from, kRate, 700);
  if (tone > 0.05 && tone > 20 * other) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "1 kHz at " << tone << ", 700 Hz at " << other;
}

struct Flashes {
  std::mutex mutex;
  std::vector<double> times;  // when each flash was first presented
  double lastBright = -10;
};

void NoteFlash(UInt32, void* refCon) {
  auto* flashes = static_cast<Flashes*>(refCon);
  double const now = Seconds(Clock::now());
  DVDPresentedFrameInfo info{};
  std::vector<UInt8> pixels;
  if (!CopyPresented(info, pixels)) return;
  size_t const centre = size_t(info.height / 2) * info.rowBytes + size_t(info.width / 2) * 3;
  if (centre + 2 >= pixels.size() || pixels[centre] < 128) return;
  std::lock_guard<std::mutex> g(flashes->mutex);
  if (now - flashes->lastBright > 1.0) flashes->times.push_back(now);
  flashes->lastBright = now;
}

class DVDPulseAudioTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ::setenv("XDG_RUNTIME_DIR", MakeTempDir("run").c_str(), 1);
    ASSERT_TRUE(mServer.Start()) << ReadFile(mServer.Log());
    dvd::UseManualClock(false);
    ASSERT_EQ(noErr, DVDInitialize());
    mInitialized = true;
  }

  void TearDown() override {
    if (!mInitialized) return;
    DVDSetFrameReadyCallBack(nullptr, nullptr);
    Boolean hasMedia = false;
    if (DVDHasMedia(&hasMedia) == noErr && hasMedia) DVDCloseMediaFile();
    EXPECT_EQ(noErr, DVDDispose());
    dvd::UseManualClock(true);
  }

  void Play(char const* disc) {
    FSRef const ref = MakeRef(DiscPath(disc));
    ASSERT_EQ(noErr, DVDOpenMediaFile(&ref));
    bool isDevice = false;
    dvd::AudioFramesDelivered(&isDevice);
    ASSERT_TRUE(isDevice) << "the sound went to the null sink, not the server";
    ASSERT_EQ(noErr, DVDPlay());
  }

  static void Wait(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  }

  PrivatePulseServer mServer;
  bool mInitialized = false;
};

TEST_F(DVDPulseAudioTest, TheTitlesToneIsHeard) {
  Play("frames");
  MonitorRecorder recorder;
  ASSERT_TRUE(recorder.Start(mServer));
  // A new stream on the null sink waits up to two seconds for the server to start taking
  // its sound; the last second recorded is well past that.
  Wait(4);
  recorder.Stop();
  EXPECT_TRUE(HasTone(recorder.Samples()));
  EXPECT_GT(dvd::AudioFramesDelivered(), kRate);
}

TEST_F(DVDPulseAudioTest, SoundAndPictureKeepTogetherForAMinute) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "instrumented decoding does not keep real time";
#endif
  Flashes flashes;
  ASSERT_EQ(noErr, DVDSetFrameReadyCallBack(&NoteFlash, &flashes));
  MonitorRecorder recorder;
  ASSERT_TRUE(recorder.Start(mServer));
  Play("sync");
  Wait(61);
  ASSERT_EQ(noErr, DVDSetFrameReadyCallBack(nullptr, nullptr));
  recorder.Stop();
  std::vector<int16_t> const samples = recorder.Samples();
  double const epoch = recorder.Epoch();
  // Each beep's start: loud after at least a second of quiet.
  std::vector<double> beeps;
  size_t quietSince = 0;
  for (size_t i = 0; i < samples.size(); ++i) {
    if (std::abs(int(samples[i])) < 3000) continue;
    if (i - quietSince > size_t(kRate)) beeps.push_back(epoch + double(i) / kRate);
    quietSince = i;
  }
  std::lock_guard<std::mutex> g(flashes.mutex);
  ASSERT_GE(flashes.times.size(), 10u);
  ASSERT_GE(beeps.size(), 10u);
  int compared = 0;
  double worst = 0;
  for (double const flash : flashes.times) {
    // The start settles first; compare from 5 s on.
    if (flash - flashes.times.front() < 4) continue;
    double nearest = 1e9;
    for (double const beep : beeps) {
      if (std::abs(beep - flash) < std::abs(nearest)) nearest = beep - flash;
    }
    EXPECT_LT(std::abs(nearest) * 1000, 40.0)
        << "sound " << nearest * 1000 << " ms after the picture at "
        << flash - flashes.times.front() << " s";
    if (std::abs(nearest) > std::abs(worst)) worst = nearest;
    ++compared;
  }
  EXPECT_GE(compared, 9);
  std::printf("sound and picture: %d points, furthest apart %+.1f ms\n", compared, worst * 1000);
}

TEST_F(DVDPulseAudioTest, TheSoundComesBackWhenTheServerDoes) {
  Play("frames");
  Wait(1);
  mServer.Kill();
  UInt32 before = 0;
  ASSERT_EQ(noErr, DVDGetFrameInTitle(&before));
  Wait(1.5);
  UInt32 during = 0;
  ASSERT_EQ(noErr, DVDGetFrameInTitle(&during));
  // The picture goes on by the system clock.
  EXPECT_GE(during, before + 30);
  ASSERT_TRUE(mServer.Start()) << ReadFile(mServer.Log());
  Wait(1.5);
  int64_t const delivered = dvd::AudioFramesDelivered();
  MonitorRecorder recorder;
  ASSERT_TRUE(recorder.Start(mServer));
  Wait(2);
  recorder.Stop();
  EXPECT_TRUE(HasTone(recorder.Samples()));
  EXPECT_GT(dvd::AudioFramesDelivered(), delivered + kRate);
  UInt32 after = 0;
  ASSERT_EQ(noErr, DVDGetFrameInTitle(&after));
  EXPECT_GE(after, during + 90);
}

}  // namespace
}  // namespace tavelo_test
