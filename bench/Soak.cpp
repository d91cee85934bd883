// A soak of the playback service on the real clock: the 60-second title played in a loop with
// chapter jumps, pauses and quick saves, and visits to the menu disc's menu, for a set time;
// every minute resident memory, open descriptors and threads are reported.
//   bench_soak DISCS [--minutes N]     (DISCS: the authored discs' folder)
#include "DVDPlayback.h"
#include "NSBitmapImageRep.h"

#include <QDir>
#include <QString>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <unistd.h>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Sample {
  long rssKb = 0;
  int fds = 0;
  int threads = 0;
};

Sample Measure() {
  Sample s;
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmRSS:", 0) == 0) s.rssKb = std::atol(line.c_str() + 6);
    if (line.rfind("Threads:", 0) == 0) s.threads = std::atoi(line.c_str() + 8);
  }
  if (DIR* d = ::opendir("/proc/self/fd")) {
    while (dirent* e = ::readdir(d))
      if (e->d_name[0] != '.') ++s.fds;
    ::closedir(d);
    --s.fds;  // the listing's own
  }
  return s;
}

void Events(DVDEventCode, DVDEventValue, DVDEventValue, void*) {}

bool Open(std::string const& path) {
  FSRef ref{};
  if (FSPathMakeRef(reinterpret_cast<UInt8 const*>(path.c_str()), &ref, nullptr) != noErr) return false;
  return DVDOpenMediaFile(&ref) == noErr;
}

int sSaves = 0;

void QuickSave(QString const& folder) {
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  if (DVDCopyPresentedFrame(&info, nullptr, &size) != noErr || size == 0) return;
  std::vector<unsigned char> pixels(size);
  if (DVDCopyPresentedFrame(&info, pixels.data(), &size) != noErr) return;
  NSBitmapImageRep bitmap(pixels.data(), info.width, info.height, 8, 3, false, info.rowBytes, 24);
  if (bitmap.saveToNextNumberedFileName("Soak %04d", QuikSaveImageType_JPEG)) ++sSaves;
  // Keep the folder small: the numbering restarts, the work stays the same.
  for (QString const& name : QDir(folder).entryList(QDir::Files)) QFile::remove(folder + "/" + name);
}

void Sleep(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

// One round: about 20 s of the long title, then the menu disc's menu and a button.
void Round(std::string const& discs, QString const& folder) {
  if (Open(discs + "/long")) {
    DVDPlay();
    for (int step = 0; step < 4; ++step) {
      Sleep(2500);
      QuickSave(folder);
      DVDNextChapter();
      Sleep(1500);
      DVDPause();
      Sleep(300);
      QuickSave(folder);
      DVDPlay();
    }
    DVDStop();
    DVDCloseMediaFile();
  }
  if (Open(discs + "/menu")) {
    DVDPlay();
    Sleep(800);
    DVDGoToMenu(kDVDMenuRoot);
    Sleep(500);
    DVDDoUserNavigation(kDVDUserNavigationMoveRight);
    DVDDoUserNavigation(kDVDUserNavigationEnter);
    Sleep(1500);
    QuickSave(folder);
    DVDStop();
    DVDCloseMediaFile();
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: bench_soak DISCS [--minutes N]\n");
    return 2;
  }
  std::string const discs = argv[1];
  int minutes = 10;
  if (argc == 4 && std::strcmp(argv[2], "--minutes") == 0) minutes = std::atoi(argv[3]);
  if (minutes < 1) minutes = 1;
  QString const folder = QDir::tempPath() + "/tavelo-soak-" + QString::number(::getpid());
  QDir().mkpath(folder);
  NSBitmapImageRep::setQuickSaveFolderUnixPath(folder);
  if (DVDInitialize() != noErr) return 3;
  DVDEventCode const codes[] = {7, 24, 11, 2, 1, 20, 12};
  DVDEventCallBackRef id = 0;
  DVDRegisterEventCallBack(&Events, codes, 7, nullptr, &id);
  auto const start = Clock::now();
  std::vector<Sample> samples{Measure()};
  std::printf("minute  rss_kb  fds  threads  saves\n%6d  %6ld  %3d  %7d  %5d\n", 0,
              samples[0].rssKb, samples[0].fds, samples[0].threads, sSaves);
  std::fflush(stdout);
  for (int minute = 1; minute <= minutes; ++minute) {
    while (Clock::now() - start < std::chrono::minutes(minute)) Round(discs, folder);
    samples.push_back(Measure());
    Sample const& s = samples.back();
    std::printf("%6d  %6ld  %3d  %7d  %5d\n", minute, s.rssKb, s.fds, s.threads, sSaves);
    std::fflush(stdout);
  }
  DVDUnregisterEventCallBack(id);
  DVDDispose();
  QDir(folder).removeRecursively();
  Sample const& base = samples[std::min<size_t>(2, samples.size() - 1)];
  Sample const& last = samples.back();
  double const growth = base.rssKb ? 100.0 * double(last.rssKb - base.rssKb) / double(base.rssKb) : 0;
  std::printf("growth after minute %zu: rss %+.2f %%, fds %+d, threads %+d\n",
              std::min<size_t>(2, samples.size() - 1), growth, last.fds - base.fds,
              last.threads - base.threads);
  return 0;
}
