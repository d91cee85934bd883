// Video Frame quick saves on the real clock, for bench/still_save.sh, through the
// controller's own path (the picture taken at the command; made at its 640 x 480 shape,
// encoded and written with its numbered name on the save queue):
//
//   bench_still_save DISC FOLDER FRAME     paused on FRAME: command to JPEG on disk, and the
//                                          still made alone (medians of 30)
//   bench_still_save DISC FOLDER burst     playing: pictures shown late or never, for 6 s of
//                                          playback without saves, then with a burst of 30
//                                          quick saves in it
// FOLDER receives the files. Prints one "name value" line per figure, times in ms.
#include "BenchDiscSession.h"
#include "GrabStillChoices.h"
#include "GrabWindowController.h"
#include "NSBitmapImageRep.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QMetaObject>
#include <QString>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v.empty() ? 0 : v[v.size() / 2];
}

// The application's controller as far as quick saves of video frames go.
class Controller : public GrabWindowController {
 public:
  bool grabsVideoFrames() const override { return true; }
  GrabTaken takeVideoFrame() override { return mChoices.TakeVideoFrameForSaving(QString()); }
  GrabStillChoices mChoices;
};

// What the video view sees: each picture the service presents handed to this thread, one
// at a time, as the view takes them (one still pending when another comes is never shown).
struct Shown {
  std::atomic<bool> pending{false};
  std::vector<std::pair<UInt32, double>> frames;  // frame in title, ms since start
  QElapsedTimer clock;
};
Shown* gShown = nullptr;
QObject* gViewThread = nullptr;

void FrameReady(UInt32, void*) {
  bench_disc::FrameReady(0, nullptr);
  if (!gShown || gShown->pending.exchange(true)) return;
  QMetaObject::invokeMethod(
      gViewThread,
      [] {
        gShown->pending = false;
        DVDPresentedFrameInfo info{};
        UInt32 size = 0;
        if (DVDCopyPresentedFrame(&info, nullptr, &size) != noErr) return;
        std::vector<UInt8> pixels(size);
        if (DVDCopyPresentedFrame(&info, pixels.data(), &size) != noErr) return;
        gShown->frames.emplace_back(info.frameInTitle, double(gShown->clock.nsecsElapsed()) / 1e6);
      },
      Qt::QueuedConnection);
}

// Pictures of the run shown late (over one frame after their time, taken from the run's
// earliest) or never (frames skipped).
int LateOrMissed(std::vector<std::pair<UInt32, double>> const& frames, double frameMs) {
  if (frames.size() < 2) return 1 << 20;
  double offset = 1e300;
  for (auto const& [frame, ms] : frames) offset = std::min(offset, ms - frame * frameMs);
  int bad = 0;
  for (size_t i = 0; i < frames.size(); ++i) {
    if (frames[i].second - frames[i].first * frameMs - offset > frameMs) ++bad;
    if (i > 0 && frames[i].first > frames[i - 1].first + 1) {
      bad += int(frames[i].first - frames[i - 1].first - 1);
    }
  }
  return bad;
}

// Plays 6 s from frame from, showing pictures as the view does; with saves, 30 quick saves
// are asked for at once 2 s in. Answers the pictures late or missed.
int PlayFor6s(QCoreApplication& app, Controller& controller, UInt32 from, bool saves) {
  DVDPause();
  bench_disc::Until(from, [&] { return DVDSeekToFrame(from); });
  Shown shown;
  shown.clock.start();
  gShown = &shown;
  DVDPlay();
  if (saves) {
    QTimer::singleShot(2000, &app, [&] {
      for (int i = 0; i < 30; ++i) controller.grabQuickSave(nullptr);
    });
  }
  QTimer::singleShot(6000, &app, [&] { app.quit(); });
  app.exec();
  DVDPause();
  gShown = nullptr;
  app.processEvents();
  return LateOrMissed(shown.frames, 1001.0 / 30.0);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: bench_still_save DISC FOLDER FRAME|burst\n");
    return 2;
  }
  QCoreApplication app(argc, argv);
  QObject viewThread;
  gViewThread = &viewThread;
  QString const folder = QString::fromUtf8(argv[2]);
  if (!bench_disc::OpenAndPlay(argv[1]) || !bench_disc::WaitForTitle() ||
      !NSBitmapImageRep::setQuickSaveFolderUnixPath(folder)) {
    return 1;
  }
  DVDSetFrameReadyCallBack(&FrameReady, nullptr);
  Controller controller;
  controller.mChoices.mVideoFrame = true;

  if (std::string(argv[3]) == "burst") {
    int const quiet = PlayFor6s(app, controller, 300, false);
    int const burst = PlayFor6s(app, controller, 300, true);
    controller.saveQueue().WaitUntilDone();
    int const written = int(QDir(folder).entryList({QStringLiteral("*.jpg")}, QDir::Files).size());
    if (written != 30) {
      std::fprintf(stderr, "the burst wrote %d files, not 30\n", written);
      return 1;
    }
    std::printf("late_without_saves %d\nlate_with_burst %d\n", quiet, burst);
  } else {
    UInt32 const frame = UInt32(std::atoi(argv[3]));
    DVDPause();
    bench_disc::Until(frame, [&] { return DVDSeekToFrame(frame); });
    std::vector<double> save, made;
    for (int i = 0; i < 30; ++i) {
      auto start = bench_disc::Clock::now();
      auto const bitmap = controller.mChoices.TakeVideoFrame();
      made.push_back(bench_disc::Ms(bench_disc::Clock::now() - start));
      if (!bitmap || bitmap->pixelsWide() != 640 || bitmap->pixelsHigh() != 480) {
        std::fprintf(stderr, "the still is not 640 x 480\n");
        return 1;
      }
      start = bench_disc::Clock::now();
      controller.grabQuickSave(nullptr);
      controller.saveQueue().WaitUntilDone();
      save.push_back(bench_disc::Ms(bench_disc::Clock::now() - start));
      // The controller hears of the save, as in the application's event loop.
      app.processEvents();
    }
    int const written = int(QDir(folder).entryList({QStringLiteral("*.jpg")}, QDir::Files).size());
    if (written != 30) {
      std::fprintf(stderr, "%d files written, not 30\n", written);
      return 1;
    }
    std::printf("still_made %.3f\nquick_save %.3f\n", Median(made), Median(save));
  }
  DVDCloseMediaFile();
  DVDDispose();
  return 0;
}
