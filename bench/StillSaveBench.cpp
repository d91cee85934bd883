// A Video Frame quick save on the real clock, for bench/still_save.sh: paused on a frame,
// the time from the grab command to the JPEG on disk, through the application's own path
// (the decoded picture taken and made at its 640 x 480 shape, encoded and written with its
// numbered name). Also the same with the still made only (no file).
//
//   bench_still_save DISC FOLDER FRAME     (FOLDER receives the files)
// Prints one "name value" line per figure, times in milliseconds (medians of 30).
#include "BenchDiscSession.h"
#include "GrabStillChoices.h"
#include "NSBitmapImageRep.h"

#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v.empty() ? 0 : v[v.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: bench_still_save DISC FOLDER FRAME\n");
    return 2;
  }
  UInt32 const frame = UInt32(std::atoi(argv[3]));
  if (!bench_disc::OpenAndPlay(argv[1]) || !bench_disc::WaitForTitle() ||
      !NSBitmapImageRep::setQuickSaveFolderUnixPath(QString::fromUtf8(argv[2]))) {
    return 1;
  }
  DVDPause();
  bench_disc::Until(frame, [&] { return DVDSeekToFrame(frame); });
  GrabStillChoices choices;
  choices.mVideoFrame = true;
  std::vector<double> save, made;
  for (int i = 0; i < 30; ++i) {
    auto start = bench_disc::Clock::now();
    auto const bitmap = choices.TakeVideoFrame();
    made.push_back(bench_disc::Ms(bench_disc::Clock::now() - start));
    start = bench_disc::Clock::now();
    auto const again = choices.TakeVideoFrame();
    if (!again || !again->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_JPEG)) {
      std::fprintf(stderr, "the quick save failed\n");
      return 1;
    }
    save.push_back(bench_disc::Ms(bench_disc::Clock::now() - start));
    if (!bitmap || bitmap->pixelsWide() != 640 || bitmap->pixelsHigh() != 480) {
      std::fprintf(stderr, "the still is not 640 x 480\n");
      return 1;
    }
  }
  std::printf("still_made %.3f\nquick_save %.3f\n", Median(made), Median(save));
  DVDCloseMediaFile();
  DVDDispose();
  return 0;
}
