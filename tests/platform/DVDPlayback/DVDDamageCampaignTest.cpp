// Hundreds of damaged copies of the authored discs, each driven through open, play, next
// chapter, menu, picture copy, stop and close in a child process of its own: none may crash
// the process or hang it. Damage of every kind: bytes changed in IFO, BUP and VOB files, files
// cut short or removed, IFO and BUP zeroed over stretches.
#include "DVDIFOProbe.h"
#include "DVDService.h"
#include "DVDTestSession.h"

#include "TestLog.h"
#include "TestTime.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace tavelo_test {
namespace {

namespace fs = std::filesystem;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kCopies = 60;  // the sanitizers make every child several times slower
#else
constexpr int kCopies = 300;
#endif
constexpr int kChildSeconds = 30;  // on a quiet machine; scaled with its load

std::vector<std::string> Files(std::string const& videoTS, bool information) {
  std::vector<std::string> out;
  for (auto const& e : fs::directory_iterator(videoTS)) {
    std::string const name = e.path().filename().string();
    bool const isInfo = name.ends_with(".IFO") || name.ends_with(".BUP");
    if (isInfo == information) out.push_back(e.path().string());
  }
  std::sort(out.begin(), out.end());
  return out;
}

template <class T>
T const& Pick(std::vector<T> const& v, std::mt19937& r) {
  return v[r() % v.size()];
}

// One to three damages; answers what was done, for the failure message.
std::string Damage(std::string const& videoTS, std::mt19937& r) {
  std::string done;
  int const count = 1 + int(r() % 3);
  for (int d = 0; d < count; ++d) {
    auto const info = Files(videoTS, true), vobs = Files(videoTS, false);
    if (info.empty() || vobs.empty()) break;
    int const kind = int(r() % 6);
    std::string const file = kind == 2 || (kind == 3 && r() % 2) ? Pick(vobs, r) : Pick(info, r);
    std::string bytes = ReadFile(file);
    if (bytes.empty()) continue;
    switch (kind) {
      case 0:  // IFO bytes
      case 1:  // BUP bytes (either information file)
      case 2: {  // VOB bytes
        int const n = 1 + int(r() % 24);
        for (int i = 0; i < n; ++i) bytes[r() % bytes.size()] = char(r());
        done += " bytes(" + fs::path(file).filename().string() + ")";
        break;
      }
      case 3:  // cut short
        bytes.resize(r() % bytes.size());
        done += " cut(" + fs::path(file).filename().string() + ")";
        break;
      case 4:  // removed
        fs::remove(file);
        done += " removed(" + fs::path(file).filename().string() + ")";
        continue;
      default: {  // zeroed over a stretch
        size_t const at = r() % bytes.size();
        size_t const length = std::min<size_t>(bytes.size() - at, 1 + r() % 4096);
        std::fill(bytes.begin() + long(at), bytes.begin() + long(at + length), '\0');
        done += " zeroed(" + fs::path(file).filename().string() + ")";
        break;
      }
    }
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
  }
  return done;
}

void Noop(DVDEventCode, DVDEventValue, DVDEventValue, void*) {}

// The child's verdict, one byte through a pipe: a child that ends without one crashed (under
// the sanitizers a crash ends in a report and an exit status, not a signal).
[[noreturn]] void Verdict(int fd, char v) {
  [[maybe_unused]] ssize_t const n = ::write(fd, &v, 1);
  ::_exit(0);
}

// The child: a whole session on the disc. 'O' opened and played, 'R' refused, 'H' stuck,
// 'S' no session.
[[noreturn]] void Drive(std::string const& disc, int fd) {
  dvd::UseManualClock(true);
  if (DVDInitialize() != noErr) Verdict(fd, 'S');
  DVDEventCode const codes[] = {7, 24, 11, 2, 1, 20, 12};
  DVDEventCallBackRef id = 0;
  DVDRegisterEventCallBack(&Noop, codes, 7, nullptr, &id);
  FSRef ref{};
  FSPathMakeRef(reinterpret_cast<UInt8 const*>(disc.c_str()), &ref, nullptr);
  if (DVDOpenMediaFile(&ref) != noErr) {
    DVDDispose();
    Verdict(fd, 'R');
  }
  UInt32 const quiet = ScaledMilliseconds(20000);
  auto step = [fd, quiet](UInt32 ms) {
    if (!dvd::WaitUntilQuiet(quiet)) Verdict(fd, 'H');
    dvd::AdvanceManualClock(ms);
    if (!dvd::WaitUntilQuiet(quiet)) Verdict(fd, 'H');
  };
  DVDPlay();
  step(1500);
  DVDNextChapter();
  step(1500);
  DVDGoToMenu(kDVDMenuRoot);
  step(500);
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  if (DVDCopyPresentedFrame(&info, nullptr, &size) == noErr && size > 0) {
    std::vector<UInt8> pixels(size);
    DVDCopyPresentedFrame(&info, pixels.data(), &size);
  }
  DVDStop();
  step(100);
  DVDCloseMediaFile();
  DVDUnregisterEventCallBack(id);
  DVDDispose();
  Verdict(fd, 'O');
}

long long NowMs() {
  timespec ts;
  ::clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec * 1000ll + ts.tv_nsec / 1000000;
}

TEST(DVDDamageCampaign, NoDamagedCopyCrashesOrHangsTheService) {
  static std::string const runtime = MakeTempDir("run");
  ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
  char const* const originals[] = {"ntsc43", "menu", "chain", "pal169"};
  int opened = 0, refused = 0, crashed = 0, hung = 0;
  std::string failures;
  for (int copy = 0; copy < kCopies; ++copy) {
    std::mt19937 r(unsigned(copy) * 7919u + 17u);
    char const* const original = originals[copy % 4];
    std::string const root = MakeTempDir("copy");
    fs::copy(DiscPath(original), root + "/disc", fs::copy_options::recursive);
    std::string const videoTS = root + "/disc/VIDEO_TS";
    std::string const what = Damage(videoTS, r);
    int fds[2];
    ASSERT_EQ(0, ::pipe(fds));
    pid_t const pid = ::fork();
    if (pid == 0) {
      ::close(fds[0]);
      Drive(root + "/disc", fds[1]);
    }
    ASSERT_GT(pid, 0);
    ::close(fds[1]);
    int status = 0;
    char verdict = 0;
    long long const deadline = NowMs() + ScaledMilliseconds(kChildSeconds * 1000);
    while (::waitpid(pid, &status, WNOHANG) == 0) {
      if (NowMs() > deadline) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, &status, 0);
        verdict = 'H';
        break;
      }
      ::usleep(2000);
    }
    if (verdict == 0 && ::read(fds[0], &verdict, 1) != 1) verdict = 0;
    ::close(fds[0]);
    std::string const which = std::string(original) + " #" + std::to_string(copy) + what;
    switch (verdict) {
      case 'O': ++opened; break;
      case 'R': ++refused; break;
      case 'H':
        ++hung;
        failures += "hang: " + which + "\n";
        break;
      case 'S': failures += "session could not start: " + which + "\n"; break;
      default:
        ++crashed;
        failures += "crash (" + std::string(WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                                                                 : "exit " + std::to_string(WEXITSTATUS(status))) +
                    "): " + which + "\n";
        break;
    }
    fs::remove_all(root);
  }
  std::printf("damaged-disc campaign: %d copies, %d opened and played, %d refused, %d crashes, %d hangs\n",
              kCopies, opened, refused, crashed, hung);
  EXPECT_EQ(0, crashed) << failures;
  EXPECT_EQ(0, hung) << failures;
  EXPECT_TRUE(failures.empty()) << failures;
  EXPECT_EQ(kCopies, opened + refused);
}

}  // namespace
}  // namespace tavelo_test
