// Lining two titles up, for bench/align_titles.sh: each title's frame signatures read from its
// disc (the whole title, the two side by side), then the alignment, as tavelo-grab --compare
// does them.
//
//   bench_align DISC_A DISC_B     (title 1 of each)
// Prints one "name value" line per figure: seconds, bytes, and the alignment found.
#include <QCoreApplication>
#include <QString>

#include <sys/resource.h>

#include <chrono>
#include <cstdio>

#include "StillAlign.h"
#include "StillTaker.h"

namespace {

using Clock = std::chrono::steady_clock;

double Seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

bool Open(StillTaker& taker, char const* path, uint32_t* frames) {
  QString why;
  if (taker.Open(QString::fromLocal8Bit(path), &why) != noErr) {
    std::fprintf(stderr, "bench_align: %s: %s\n", path, why.toUtf8().constData());
    return false;
  }
  *frames = taker.Titles().empty() ? 0 : taker.Titles().front().info.frames;
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: bench_align DISC_A DISC_B\n");
    return 2;
  }
  QCoreApplication app(argc, argv);
  StillTaker taker;
  StillSignatures a;
  StillSignatures b;
  uint32_t expected = 0;
  // As tavelo-grab --compare reads them: the first title on a thread of its own while the
  // other disc is opened and its title read.
  auto const started = Clock::now();
  if (!Open(taker, argv[1], &expected)) return 1;
  StillSignatureRead first;
  first.Start(1, expected, &a);
  if (!Open(taker, argv[2], &expected)) return 1;
  OSStatus const second = StillSignatures::Read(1, &b, expected);
  double const readB = Seconds(Clock::now() - started);
  OSStatus const firstStatus = first.Finish();
  double const readBoth = Seconds(Clock::now() - started);
  if (firstStatus != noErr || second != noErr) {
    std::fprintf(stderr, "bench_align: a title cannot be read through\n");
    return 1;
  }
  taker.Close();
  auto const start = Clock::now();
  StillAlign align;
  if (!align.Construct(a, b)) {
    std::fprintf(stderr, "bench_align: the titles cannot be lined up\n");
    return 1;
  }
  double const aligning = Seconds(Clock::now() - start);
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("frames_a %u\nframes_b %u\n", unsigned(a.frames), unsigned(b.frames));
  std::printf("read_b_s %.3f\nread_both_s %.3f\nalign_s %.3f\ntotal_s %.3f\n", readB, readBoth,
              aligning, readBoth + aligning);
  std::printf("signature_bytes %zu\npeak_rss_bytes %ld\n",
              a.luma.capacity() + b.luma.capacity() + align.FeatureBytes(),
              long(usage.ru_maxrss) * 1024);
  std::printf("offset %d\nconfidence %.3f\npieces %zu\n", align.Offset(), align.Confidence(),
              align.Pieces().size());
  return 0;
}
