#include "GrabFollow.h"

#include <QDir>
#include <QImage>
#include <QSaveFile>

#include <cerrno>
#include <memory>

#include <poll.h>
#include <unistd.h>

#include "CoreMachDebugLog.h"
#include "GrabCompare.h"

namespace {

// Longer lines are not frame numbers; kept short so that junk cannot grow without end.
constexpr size_t kLongestLine = 64;

}  // namespace

bool GrabFollowRequests::ParseFrame(std::string const& line, uint32_t* frame) {
  size_t first = line.find_first_not_of(" \t\r");
  size_t const last = line.find_last_not_of(" \t\r");
  if (first == std::string::npos) return false;
  std::string const digits = line.substr(first, last - first + 1);
  if (digits.empty() || digits.size() > 9) return false;
  uint32_t value = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + uint32_t(c - '0');
  }
  *frame = value;
  return true;
}

void GrabFollowRequests::Line(std::string const& line) {
  if (line.find_first_not_of(" \t\r") == std::string::npos) return;  // blank: nothing asked
  uint32_t frame = 0;
  if (!ParseFrame(line, &frame)) {
    mBad.push_back(line.size() > kLongestLine ? line.substr(0, kLongestLine) + "..." : line);
    return;
  }
  if (mNewest) ++mSkipped;
  mNewest = frame;
}

void GrabFollowRequests::Feed(char const* data, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == '\n') {
      Line(mPartial);
      mPartial.clear();
    } else if (mPartial.size() <= kLongestLine) {
      mPartial += data[i];
    }
  }
}

void GrabFollowRequests::Close() {
  if (!mPartial.empty()) Line(mPartial);
  mPartial.clear();
  mClosed = true;
}

bool GrabFollowRequests::Take(uint32_t* frame) {
  if (!mNewest) return false;
  *frame = *mNewest;
  mNewest.reset();
  return true;
}

std::vector<std::string> GrabFollowRequests::TakeBad() {
  std::vector<std::string> bad;
  bad.swap(mBad);
  return bad;
}

int GrabFollow::Run(StillTaker& taker, StillTitleInfo const& title, StillBatchOptions const& options,
                    QString const& folder, int in, std::FILE* out, std::FILE* err,
                    std::atomic<bool> const* cancel) {
  GrabFollowRequests requests;
  uint64_t serial = 0;
  char buffer[4096];
  // Ready: the title plays (paused) and the first request can come.
  std::fprintf(out, "ready %u %u\n", unsigned(title.number), unsigned(title.info.frames));
  std::fflush(out);
  while (!(cancel && cancel->load())) {
    // Everything that has come in, waiting a little only when nothing is asked.
    while (!requests.Closed()) {
      pollfd p{in, POLLIN, 0};
      int const ready = ::poll(&p, 1, requests.Pending() ? 0 : 200);
      if (ready <= 0) break;  // nothing more now, or a signal: look at cancel
      ssize_t const n = ::read(in, buffer, sizeof buffer);
      if (n < 0 && errno == EINTR) break;
      if (n < 0) {
        CoreMachDebugLog("tavelo-grab --follow: the input cannot be read (errno %d)\n", errno);
        std::fprintf(err, "tavelo-grab: --follow: the input cannot be read\n");
        return 1;
      }
      if (n == 0) requests.Close();
      else requests.Feed(buffer, size_t(n));
    }
    for (std::string const& bad : requests.TakeBad()) {
      CoreMachDebugLog("tavelo-grab --follow: \"%s\" is not a frame number\n", bad.c_str());
      std::fprintf(err, "tavelo-grab: --follow: \"%s\" is not a frame number\n", bad.c_str());
      std::fprintf(out, "error \"%s\" is not a frame number\n", bad.c_str());
      std::fflush(out);
    }
    uint32_t frame = 0;
    if (!requests.Take(&frame)) {
      if (requests.Closed()) break;
      continue;
    }
    std::shared_ptr<NSBitmapImageRep> const still =
        frame < title.info.frames ? GrabCompare::Still(taker, frame, options) : nullptr;
    QString path;
    if (still) {
      // A file a frame: the reader may still be looking at the one before.
      path = QDir(folder).filePath(QStringLiteral("B %1-%2.png").arg(frame).arg(++serial));
      QSaveFile file(path);
      // Little compression: the file is read once, at once.
      bool const written = CoreVerify(file.open(QIODevice::WriteOnly)) &&
                           CoreVerify(GrabCompare::ImageOf(*still).save(&file, "PNG", 90)) &&
                           CoreVerify(file.commit());
      if (!written) path.clear();
    }
    if (path.isEmpty()) std::fprintf(out, "frame %u none\n", unsigned(frame));
    else std::fprintf(out, "frame %u %s\n", unsigned(frame), path.toUtf8().constData());
    std::fflush(out);
  }
  return 0;
}
