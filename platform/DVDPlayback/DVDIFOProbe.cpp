#include "DVDIFOProbe.h"

#include "DVDLibraryLog.h"
#include "DVDPlayback.h"
#include "PlatformLog.h"

#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <strings.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace dvd {

namespace {


std::atomic<int> sTimeLimitMs{5000};
std::atomic<int> sChildStallMs{0};
std::mutex sCacheLock;
// By unique ID and path: an overlay links to one copy's files.
using CacheKey = std::pair<std::array<UInt8, 8>, std::string>;
std::map<CacheKey, DVDProbeResult>& Cache() {
  static std::map<CacheKey, DVDProbeResult> cache;
  return cache;
}

enum class Health { Good, Unparsable, Crashed, Hung, Unplayable };

char const* Describe(Health h) {
  switch (h) {
    case Health::Good: return "parses";
    case Health::Unparsable: return "does not parse";
    case Health::Crashed: return "crashes the parser";
    case Health::Hung: return "hangs the parser";
    case Health::Unplayable: return "parses into program chains the navigator cannot play";
  }
  return "";
}

long long NowMs() {
  timespec ts;
  ::clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec * 1000ll + ts.tv_nsec / 1000000;
}

// The child's verdict comes through a pipe, one byte; a child that ends without one died on
// the way (by a signal, or by a sanitizer's report under the test builds).
enum : char { kVerdictGood = 'G', kVerdictUnparsable = 'U', kVerdictUnplayable = 'P' };

// Waits for the child's verdict within the time limit; a child past it is killed.
Health Reap(pid_t pid, int verdictFd) {
  long long const deadline = NowMs() + sTimeLimitMs.load();
  useconds_t pause = 50;
  int status = 0;
  for (;;) {
    pid_t const r = ::waitpid(pid, &status, WNOHANG);
    if (r == pid || (r < 0 && errno != EINTR)) break;
    if (NowMs() > deadline) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, &status, 0);
      ::close(verdictFd);
      return Health::Hung;
    }
    ::usleep(pause);
    if (pause < 2000) pause *= 2;
  }
  char verdict = 0;
  ssize_t const got = ::read(verdictFd, &verdict, 1);
  ::close(verdictFd);
  if (got != 1) return Health::Crashed;
  return verdict == kVerdictGood ? Health::Good
         : verdict == kVerdictUnplayable ? Health::Unplayable
                                         : Health::Unparsable;
}

// Program chains the navigator would stop the process on (it asserts, for one, that every
// program starts at a cell that exists).
bool Playable(pgc_t const* pgc) {
  if (!pgc) return true;
  if (pgc->nr_of_programs > 0 && (!pgc->program_map || !pgc->cell_playback || pgc->nr_of_cells == 0))
    return false;
  for (int p = 0; p < pgc->nr_of_programs; ++p)
    if (pgc->program_map[p] < 1 || pgc->program_map[p] > pgc->nr_of_cells) return false;
  return true;
}

bool Playable(pgcit_t const* table) {
  if (!table) return true;
  if (table->nr_of_pgci_srp > 0 && !table->pgci_srp) return false;
  for (int i = 0; i < table->nr_of_pgci_srp; ++i)
    if (!Playable(table->pgci_srp[i].pgc)) return false;
  return true;
}

bool Playable(pgci_ut_t const* units) {
  if (!units) return true;
  if (units->nr_of_lus > 0 && !units->lu) return false;
  for (int i = 0; i < units->nr_of_lus; ++i)
    if (!Playable(units->lu[i].pgcit)) return false;
  return true;
}

// Parts of titles that name program chains or programs that are not there.
bool Playable(vts_ptt_srpt_t const* parts, pgcit_t const* chains) {
  if (!parts || !chains) return true;
  for (int t = 0; t < parts->nr_of_srpts; ++t) {
    if (!parts->title) return false;
    ttu_t const& title = parts->title[t];
    for (int p = 0; p < title.nr_of_ptts; ++p) {
      if (!title.ptt) return false;
      int const pgcn = title.ptt[p].pgcn;
      if (pgcn < 1 || pgcn > chains->nr_of_pgci_srp || !chains->pgci_srp[pgcn - 1].pgc) return false;
      if (title.ptt[p].pgn < 1 || title.ptt[p].pgn > chains->pgci_srp[pgcn - 1].pgc->nr_of_programs)
        return false;
    }
  }
  return true;
}

bool Playable(ifo_handle_t const* ifo, int title) {
  if (title == 0) {
    if (!Playable(ifo->first_play_pgc) || !Playable(ifo->pgci_ut)) return false;
    tt_srpt_t const* titles = ifo->tt_srpt;
    for (int t = 0; titles && t < titles->nr_of_srpts; ++t)
      if (!titles->title || titles->title[t].title_set_nr < 1 ||
          titles->title[t].title_set_nr > ifo->vmgi_mat->vmg_nr_of_title_sets)
        return false;
    return true;
  }
  return Playable(ifo->vts_pgcit) && Playable(ifo->pgci_ut) && Playable(ifo->vts_ptt_srpt, ifo->vts_pgcit);
}

// In the child: parse title's information (0: the manager), check what the navigator relies
// on, and leave without running any of this process' exit handlers.
[[noreturn]] void Verdict(int verdictFd, char verdict) {
  [[maybe_unused]] ssize_t const n = ::write(verdictFd, &verdict, 1);
  ::_exit(0);
}

[[noreturn]] void ParseAndExit(char const* discPath, int title, int verdictFd) {
  // Whatever the parser or a sanitizer has to say stays off the terminal.
  if (int const quiet = ::open("/dev/null", O_WRONLY); quiet >= 0) {
    ::dup2(quiet, STDOUT_FILENO);
    ::dup2(quiet, STDERR_FILENO);
  }
  if (int const stall = sChildStallMs.load(); stall > 0) ::usleep(useconds_t(stall) * 1000);
  dvd_reader_t* reader = ::DVDOpen2(nullptr, DVDReadQuietLogger(), discPath);
  if (!reader) Verdict(verdictFd, kVerdictUnparsable);
  ifo_handle_t* ifo = ::ifoOpen(reader, title);
  bool const ok = ifo && (title == 0 ? ifo->vmgi_mat && ifo->tt_srpt : ifo->vtsi_mat != nullptr);
  bool const playable = ok && Playable(ifo, title);
  if (ifo) ::ifoClose(ifo);
  ::DVDClose(reader);
  Verdict(verdictFd, !ok ? kVerdictUnparsable : playable ? kVerdictGood : kVerdictUnplayable);
}

std::atomic<long> sChildren{0};

Health ParseInChild(std::string const& discPath, int title) {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) return Health::Unparsable;
  ++sChildren;
  pid_t const pid = ::fork();
  if (pid == 0) {
    ::close(fds[0]);
    ParseAndExit(discPath.c_str(), title, fds[1]);
  }
  ::close(fds[1]);
  if (pid < 0) {
    ::close(fds[0]);
    return Health::Unparsable;
  }
  return Reap(pid, fds[0]);
}

// The information files of a VIDEO_TS folder by title (0: VIDEO_TS), as the folder names them.
struct InfoFiles {
  std::string ifo, bup;
};

std::map<int, InfoFiles> ListInfoFiles(std::string const& videoTS) {
  std::map<int, InfoFiles> files;
  std::error_code ec;
  for (auto const& entry : std::filesystem::directory_iterator(videoTS, ec)) {
    std::string const name = entry.path().filename().string();
    if (name.size() != 12) continue;
    int title = -1;
    if (::strncasecmp(name.c_str(), "VIDEO_TS.", 9) == 0) {
      title = 0;
    } else if (::strncasecmp(name.c_str(), "VTS_", 4) == 0 && std::isdigit(UInt8(name[4])) &&
               std::isdigit(UInt8(name[5])) && ::strncasecmp(name.c_str() + 6, "_0.", 3) == 0) {
      title = (name[4] - '0') * 10 + (name[5] - '0');
    }
    if (title < 0) continue;
    if (::strcasecmp(name.c_str() + 9, "IFO") == 0) files[title].ifo = name;
    else if (::strcasecmp(name.c_str() + 9, "BUP") == 0) files[title].bup = name;
  }
  return files;
}

std::string TempRoot() {
  char const* tmp = std::getenv("TMPDIR");
  return tmp && *tmp ? tmp : "/tmp";
}

// A scratch folder holding VIDEO_TS with one link at a time: one file parsed on its own.
class ScratchDisc {
 public:
  ScratchDisc() {
    std::string pattern = TempRoot() + "/tavelo-probe-XXXXXX";
    if (::mkdtemp(pattern.data())) {
      mRoot = pattern;
      ::mkdir((mRoot + "/VIDEO_TS").c_str(), 0700);
    }
  }
  ~ScratchDisc() {
    std::error_code ec;
    if (!mRoot.empty()) std::filesystem::remove_all(mRoot, ec);
  }
  bool Valid() const { return !mRoot.empty(); }
  Health Parse(std::string const& target, std::string const& name, int title) {
    std::string const link = mRoot + "/VIDEO_TS/" + name;
    ::unlink(link.c_str());
    if (::symlink(target.c_str(), link.c_str()) != 0) return Health::Unparsable;
    Health const h = ParseInChild(mRoot, title);
    ::unlink(link.c_str());
    return h;
  }

 private:
  std::string mRoot;
};

std::string Upper(std::string s) {
  for (char& c : s) c = char(std::toupper(UInt8(c)));
  return s;
}

DVDProbeResult Refuse(DVDProbeResult result, std::string const& discPath, std::string const& file) {
  PlatformLog("DVD refused: %s of %s is damaged and has no usable backup", file.c_str(),
              discPath.c_str());
  result.status = kDVDErrorMediaNotDVD;
  result.openPath.clear();
  result.overlay.reset();
  return result;
}

bool Harmful(Health h) {
  return h == Health::Crashed || h == Health::Hung || h == Health::Unplayable;
}

// Folders: every information file alone. Only files that parsed cleanly in a child are parsed
// here: an IFO that did not is replaced in an overlay folder by its backup (what the reader
// would fall back to after a failed parse), and where neither copy is good both are left out
// and the disc behaves as one missing them (unplayable titles end in an error event). A
// damaged file can read past its buffers without crashing one process and crash the next, so
// "did not parse" is not trusted either.
DVDProbeResult ProbeFolder(std::string const& discPath, std::string const& videoTS) {
  DVDProbeResult result;
  result.openPath = discPath;
  ScratchDisc scratch;
  if (!scratch.Valid()) return result;  // nowhere to probe: open as before
  std::vector<std::string> hidden;
  std::map<std::string, std::string> swapped;  // an IFO name -> the BUP read in its place
  for (auto const& [title, files] : ListInfoFiles(videoTS)) {
    Health const ifo = files.ifo.empty() ? Health::Unparsable
                                         : scratch.Parse(videoTS + "/" + files.ifo, files.ifo, title);
    if (ifo == Health::Good) continue;  // its backup is never read
    Health const bup = files.bup.empty() ? Health::Unparsable
                                         : scratch.Parse(videoTS + "/" + files.bup, files.bup, title);
    for (auto const& [name, health] : {std::pair(files.ifo, ifo), std::pair(files.bup, bup)}) {
      if (name.empty() || health == Health::Good) continue;
      PlatformLog("DVD information file %s of %s %s", Upper(name).c_str(), discPath.c_str(),
                  Describe(health));
      result.damaged.push_back(Upper(name));
      hidden.push_back(name);
    }
    // The reader wants the manager's IFO by name, so a good backup stands in under that name.
    if (!files.ifo.empty() && bup == Health::Good) swapped[files.ifo] = files.bup;
    // Without the manager's information nothing plays.
    if (title == 0 && bup != Health::Good)
      return Refuse(result, discPath, Upper(files.ifo.empty() ? files.bup : files.ifo));
  }
  if (hidden.empty()) return result;
  auto overlay = std::make_shared<DVDOverlayFolder>();
  std::string pattern = TempRoot() + "/tavelo-disc-XXXXXX";
  if (!::mkdtemp(pattern.data())) return Refuse(result, discPath, Upper(hidden.front()));
  overlay->mPath = pattern;
  std::string const folder = overlay->mPath + "/VIDEO_TS";
  ::mkdir(folder.c_str(), 0700);
  std::error_code ec;
  for (auto const& entry : std::filesystem::directory_iterator(videoTS, ec)) {
    std::string const name = entry.path().filename().string();
    auto const swap = swapped.find(name);
    if (swap == swapped.end() && std::find(hidden.begin(), hidden.end(), name) != hidden.end())
      continue;
    std::string const target = videoTS + "/" + (swap == swapped.end() ? name : swap->second);
    if (::symlink(target.c_str(), (folder + "/" + name).c_str()) != 0)
      return Refuse(result, discPath, Upper(name));
  }
  result.openPath = overlay->mPath;
  result.overlay = std::move(overlay);
  return result;
}

// Images and devices: the whole disc parsed in order; a title that takes the child down is the
// culprit. Their files cannot be swapped, so any damage refuses the disc.
DVDProbeResult ProbeWhole(std::string const& discPath) {
  DVDProbeResult result;
  result.openPath = discPath;
  int titles = 0;
  {
    // The manager first, on its own: its title-set count bounds the rest.
    Health const vmg = ParseInChild(discPath, 0);
    if (Harmful(vmg)) {
      PlatformLog("DVD information file VIDEO_TS.IFO of %s %s", discPath.c_str(), Describe(vmg));
      result.damaged.push_back("VIDEO_TS.IFO");
      return Refuse(result, discPath, "VIDEO_TS.IFO");
    }
    if (vmg != Health::Good) return result;  // refused where it is parsed, as any unreadable disc
    dvd_reader_t* reader = ::DVDOpen2(nullptr, DVDReadLogger(), discPath.c_str());
    if (!reader) return result;
    if (ifo_handle_t* ifo = ::ifoOpen(reader, 0)) {
      titles = ifo->vmgi_mat ? ifo->vmgi_mat->vmg_nr_of_title_sets : 0;
      ::ifoClose(ifo);
    }
    ::DVDClose(reader);
  }
  for (int title = 1; title <= titles; ++title) {
    Health const h = ParseInChild(discPath, title);
    if (Harmful(h)) {
      char name[32];
      std::snprintf(name, sizeof name, "VTS_%02d_0.IFO", title);
      PlatformLog("DVD information file %s of %s %s", name, discPath.c_str(), Describe(h));
      result.damaged.push_back(name);
      return Refuse(result, discPath, name);
    }
  }
  return result;
}

}  // namespace

DVDOverlayFolder::~DVDOverlayFolder() {
  std::error_code ec;
  if (!mPath.empty()) std::filesystem::remove_all(mPath, ec);
}

DVDProbeResult DVDIFOProbe::Probe(std::string const& discPath, std::string const& videoTS,
                                  std::array<UInt8, 8> const& uniqueID) {
  {
    std::lock_guard<std::mutex> lock(sCacheLock);
    auto const known = Cache().find(CacheKey(uniqueID, discPath));
    if (known != Cache().end()) return known->second;
  }
  DVDProbeResult result = videoTS.empty() ? ProbeWhole(discPath) : ProbeFolder(discPath, videoTS);
  std::lock_guard<std::mutex> lock(sCacheLock);
  Cache()[CacheKey(uniqueID, discPath)] = result;
  return result;
}

void DVDIFOProbe::SetChildTimeLimitMilliseconds(int milliseconds) { sTimeLimitMs = milliseconds; }
void DVDIFOProbe::SetChildStallMillisecondsForTesting(int milliseconds) { sChildStallMs = milliseconds; }

long DVDIFOProbe::ChildrenStarted() { return sChildren.load(); }

void DVDIFOProbe::ForgetResults() {
  std::lock_guard<std::mutex> lock(sCacheLock);
  Cache().clear();
}

}  // namespace dvd
