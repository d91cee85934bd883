// Reading a 1920 x 1080 X screen into a bitmap and cropping a 720 x 480 view out of it,
// against ImageMagick's `import -window root` and FFmpeg's x11grab reading the same Xvfb
// screen; and the channel reorder with flip alone against memcpy over the same bytes.
#include "NSBitmapImageRep.h"
#include "XvfbServer.h"
#include "namespace_Apple_CGL_GrabContext.h"

#include <benchmark/benchmark.h>

#include <QRectF>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace {

constexpr int kScreenWidth = 1920;
constexpr int kScreenHeight = 1080;
// The video view: 720 x 480, placed off-centre, origin bottom-left.
QRectF const kView(400, 300, 720, 480);

std::string sDisplay;

bool Run(std::vector<std::string> const& args) {
  std::vector<char*> argv;
  for (auto const& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  int const rc = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) return false;
  int status = 0;
  ::waitpid(pid, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// What a grab does: a context on the display, the read, reorder and flip, then the crop.
void BM_Tavelo_ReadSwizzleFlipCrop(benchmark::State& state) {
  for (auto _ : state) {
    auto const screen = NSBitmapImageRep::bitmapWithScreenPixels(0);
    if (!screen) {
      state.SkipWithError("no screen read");
      return;
    }
    auto const view = NSBitmapImageRep::bitmapCroppedWithRect(screen.get(), kView);
    benchmark::DoNotOptimize(view->bitmapData());
  }
  state.SetBytesProcessed(state.iterations() * int64_t(kScreenWidth) * kScreenHeight * 4);
}

// The same with the context (display connection, shared segment) kept between grabs.
void BM_Tavelo_ReadSwizzleFlipCrop_KeptContext(benchmark::State& state) {
  Apple_CGL::GrabContext oglContext(0);
  if (!oglContext.IsValid() || !oglContext.MakeCurrent(true)) {
    state.SkipWithError("no context");
    return;
  }
  for (auto _ : state) {
    auto const screen = NSBitmapImageRep::bitmapWithOpenGLViewportContents(nullptr, false);
    auto const view = NSBitmapImageRep::bitmapCroppedWithRect(screen.get(), kView);
    benchmark::DoNotOptimize(view->bitmapData());
  }
  oglContext.MakeCurrent(false);
  state.SetBytesProcessed(state.iterations() * int64_t(kScreenWidth) * kScreenHeight * 4);
}

// What a context costs by itself: display connection and shared segment, set up and torn down.
void BM_Tavelo_ContextOnly(benchmark::State& state) {
  for (auto _ : state) {
    Apple_CGL::GrabContext oglContext(0);
    benchmark::DoNotOptimize(oglContext.IsValid());
  }
}

void BM_ImageMagick_ImportWindowRoot(benchmark::State& state) {
  // Raw RGBA to /dev/null: no encoder cost on ImageMagick's side.
  std::vector<std::string> const args = {"import", "-display", sDisplay, "-window", "root",
                                         "-depth", "8", "rgba:/dev/null"};
  for (auto _ : state) {
    if (!Run(args)) {
      state.SkipWithError("import failed");
      return;
    }
  }
}

void BM_FFmpeg_X11Grab_OneFrame(benchmark::State& state) {
  std::vector<std::string> const args = {"ffmpeg", "-loglevel", "error", "-f", "x11grab",
                                         "-video_size", "1920x1080", "-i", sDisplay,
                                         "-frames:v", "1", "-f", "rawvideo", "-y", "/dev/null"};
  for (auto _ : state) {
    if (!Run(args)) {
      state.SkipWithError("ffmpeg failed");
      return;
    }
  }
}

// The reorder alone on a full frame as read (flip on), and memcpy over the same bytes.
std::vector<unsigned char>& Frame() {
  static std::vector<unsigned char> frame = [] {
    std::vector<unsigned char> f(std::size_t(kScreenWidth) * kScreenHeight * 4);
    for (std::size_t i = 0; i < f.size(); ++i) f[i] = static_cast<unsigned char>(i * 131u >> 3);
    return f;
  }();
  return frame;
}

void BM_Swizzle_BGRX_to_RGBA_Flip(benchmark::State& state) {
  bool const vector = state.range(0) != 0;
  if (vector && !OpenGL::ReadPixels::VectorUnitAvailable()) {
    state.SkipWithError("no SSSE3");
    return;
  }
  bool const saved = OpenGL::ReadPixels::UseVectorUnit();
  OpenGL::ReadPixels::SetUseVectorUnit(vector);
  auto& frame = Frame();
  for (auto _ : state) {
    OpenGL::ReadPixels::_swizzle_framebuffer_GL_BGRX_to_RGBA(frame.data(), kScreenHeight,
                                                             kScreenWidth * 4, true, false);
    benchmark::ClobberMemory();
  }
  OpenGL::ReadPixels::SetUseVectorUnit(saved);
  state.SetBytesProcessed(state.iterations() * int64_t(frame.size()));
}

void BM_Memcpy_SameBytes(benchmark::State& state) {
  auto& frame = Frame();
  std::vector<unsigned char> copy(frame.size());
  for (auto _ : state) {
    std::memcpy(copy.data(), frame.data(), frame.size());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * int64_t(frame.size()));
}

BENCHMARK(BM_Tavelo_ReadSwizzleFlipCrop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Tavelo_ReadSwizzleFlipCrop_KeptContext)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Tavelo_ContextOnly)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ImageMagick_ImportWindowRoot)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_FFmpeg_X11Grab_OneFrame)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_Swizzle_BGRX_to_RGBA_Flip)->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Memcpy_SameBytes)->Unit(benchmark::kMicrosecond);

// Prints the comparisons once every benchmark has run.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(std::vector<Run> const& runs) override {
    for (Run const& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      // Keyed by the bare name: "BM_X/min_time:2.000/real_time" -> "BM_X", "BM_Y/1" kept.
      std::string name = run.benchmark_name();
      for (char const* suffix : {"/real_time", "/min_time:2.000"}) {
        std::size_t const at = name.rfind(suffix);
        if (at != std::string::npos && at + std::strlen(suffix) == name.size()) name.erase(at);
      }
      mTime[name] = run.GetAdjustedRealTime();
      if (run.counters.count("bytes_per_second")) mRate[name] = run.counters.at("bytes_per_second");
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void Summary() const {
    auto const time = [&](char const* name) {
      auto const at = mTime.find(name);
      return at == mTime.end() ? 0.0 : at->second;
    };
    auto const rate = [&](char const* name) {
      auto const at = mRate.find(name);
      return at == mRate.end() ? 0.0 : double(at->second);
    };
    double const ours = time("BM_Tavelo_ReadSwizzleFlipCrop");
    double const kept = time("BM_Tavelo_ReadSwizzleFlipCrop_KeptContext");
    if (ours > 0) {
      std::printf("\nread-to-bitmap speed-up, context per grab: %.1fx import -window root, %.1fx ffmpeg x11grab\n",
                  time("BM_ImageMagick_ImportWindowRoot") / ours, time("BM_FFmpeg_X11Grab_OneFrame") / ours);
    }
    if (kept > 0) {
      std::printf("read-to-bitmap speed-up, kept context:     %.1fx import -window root, %.1fx ffmpeg x11grab\n",
                  time("BM_ImageMagick_ImportWindowRoot") / kept, time("BM_FFmpeg_X11Grab_OneFrame") / kept);
    }
    double const memcpyRate = rate("BM_Memcpy_SameBytes");
    if (memcpyRate > 0) {
      std::printf("swizzle+flip bandwidth / memcpy: SSSE3 %.2f, scalar %.2f\n",
                  rate("BM_Swizzle_BGRX_to_RGBA_Flip/1") / memcpyRate,
                  rate("BM_Swizzle_BGRX_to_RGBA_Flip/0") / memcpyRate);
    }
  }

 private:
  std::map<std::string, double> mTime;
  std::map<std::string, double> mRate;
};

}  // namespace

int main(int argc, char** argv) {
  tavelo_test::XvfbServer server;
  if (!server.Start(kScreenWidth, kScreenHeight)) {
    std::fprintf(stderr, "Xvfb could not be started\n");
    return 1;
  }
  sDisplay = server.Name();
  ::setenv("DISPLAY", sDisplay.c_str(), 1);
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.Summary();
  benchmark::Shutdown();
  return 0;
}
