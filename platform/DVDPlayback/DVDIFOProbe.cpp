#include "DVDIFOProbe.h"

#include "DVDIFOCheck.h"
#include "DVDLibraryLog.h"
#include "DVDPlayback.h"
#include "PlatformLog.h"

#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <poll.h>
#include <spawn.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace dvd {

namespace {

std::mutex sCacheLock;  // DVDLockOrder.h: a leaf (8)
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

constexpr char kHelperName[] = "tavelo-ifo-probe";

bool IsProgram(std::string const& path) { return ::access(path.c_str(), X_OK) == 0; }

std::string Folder(std::string const& path) {
  return std::filesystem::path(path).parent_path().string();
}

// The helper is installed beside the libraries: next to the object holding this code when
// that is a shared library, else in the library folder as seen from the program's folder. A
// build tree that lays things out otherwise names its own helper.
std::string FindHelper() {
  std::vector<std::string> candidates;
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&FindHelper), &info) && info.dli_fname &&
      info.dli_fname[0] == '/') {
    candidates.push_back(Folder(info.dli_fname) + "/" + kHelperName);
  }
  std::error_code ec;
  std::string const program = std::filesystem::read_symlink("/proc/self/exe", ec).string();
  if (!ec && !program.empty()) {
#ifdef TAVELO_IFO_PROBE_FROM_PROGRAM
    candidates.push_back(Folder(program) + "/" TAVELO_IFO_PROBE_FROM_PROGRAM "/" + kHelperName);
#endif
    candidates.push_back(Folder(program) + "/" + kHelperName);
  }
#ifdef TAVELO_IFO_PROBE_BUILD_PATH
  candidates.push_back(TAVELO_IFO_PROBE_BUILD_PATH);
#endif
  for (auto const& candidate : candidates)
    if (IsProgram(candidate)) return candidate;
  return {};
}

std::string const& HelperPath() {
  static std::string const path = FindHelper();
  return path;
}

// The helper's verdict comes through a pipe, one byte; a helper that ends without one died on
// the way (by a signal, or by a sanitizer's report under the test builds).
// Waits for the verdict and the helper's end within the time limit; a helper past it is killed.
Health Reap(pid_t pid, int verdictFd, int timeLimitMs) {
  long long const deadline = NowMs() + timeLimitMs;
  char verdict = 0;
  bool spoke = false, closed = false;
  while (!closed) {
    long long const left = deadline - NowMs();
    if (left <= 0) break;
    pollfd ready{verdictFd, POLLIN, 0};
    int const n = ::poll(&ready, 1, int(left));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    char byte = 0;
    ssize_t const got = ::read(verdictFd, &byte, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got == 1 && !spoke) verdict = byte, spoke = true;
    closed = got <= 0;
  }
  ::close(verdictFd);
  // The pipe closes as the helper ends; it is reaped within what is left of the limit.
  int status = 0;
  for (unsigned pause = 100;;) {
    pid_t const r = ::waitpid(pid, &status, WNOHANG);
    if (r == pid || (r < 0 && errno != EINTR)) break;
    if (!closed || NowMs() > deadline) {
      ::kill(pid, SIGKILL);
      while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
      }
      return Health::Hung;
    }
    ::usleep(pause);
    if (pause < 4000) pause *= 2;
  }
  if (!spoke) return Health::Crashed;
  return verdict == DVDIFOCheck::kVerdictGood         ? Health::Good
         : verdict == DVDIFOCheck::kVerdictUnplayable ? Health::Unplayable
                                                      : Health::Unparsable;
}

std::atomic<long> sChildren{0};

// Starts the helper on one part of the disc: its verdict on descriptor 3, nothing else open,
// its own output (the parser's, a sanitizer's) thrown away.
pid_t SpawnHelper(std::string const& helper, std::string const& discPath, int title, int verdictFd,
                  int stallMs) {
  posix_spawn_file_actions_t actions;
  if (::posix_spawn_file_actions_init(&actions) != 0) return -1;
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  ::posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, verdictFd, 3);
  ::posix_spawn_file_actions_addclosefrom_np(&actions, 4);
  posix_spawnattr_t attributes;
  ::posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  ::posix_spawnattr_setsigmask(&attributes, &none);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  std::string const titleText = std::to_string(title);
  std::string const stallText = std::to_string(stallMs);
  char* const argv[] = {const_cast<char*>(helper.c_str()), const_cast<char*>(discPath.c_str()),
                        const_cast<char*>(titleText.c_str()), const_cast<char*>(stallText.c_str()),
                        nullptr};
  pid_t pid = -1;
  int const error = ::posix_spawn(&pid, helper.c_str(), &actions, &attributes, argv, environ);
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    PlatformLog("DVD: cannot start %s: %s", helper.c_str(), std::strerror(error));
    return -1;
  }
  return pid;
}

// A helper started on one part of a disc: pid -1 when it could not be.
struct Helper {
  pid_t pid = -1;
  int verdictFd = -1;
};

Helper StartHelper(std::string const& discPath, int title, DVDProbeOptions const& options) {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) return {};
  // Kept clear of 3 so that the helper's descriptor 3 is always a fresh copy (one without
  // close-on-exec).
  int const writeFd = ::fcntl(fds[1], F_DUPFD_CLOEXEC, 10);
  ::close(fds[1]);
  if (writeFd < 0) {
    ::close(fds[0]);
    return {};
  }
  ++sChildren;
  pid_t const pid = SpawnHelper(HelperPath(), discPath, title, writeFd, options.childStallMs);
  ::close(writeFd);
  if (pid < 0) {
    ::close(fds[0]);
    return {};
  }
  return {pid, fds[0]};
}

Health Finish(Helper const& helper, DVDProbeOptions const& options) {
  if (helper.pid < 0) return Health::Unparsable;
  return Reap(helper.pid, helper.verdictFd, options.childTimeLimitMs);
}

Health ParseInHelper(std::string const& discPath, int title, DVDProbeOptions const& options) {
  return Finish(StartHelper(discPath, title, options), options);
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
  explicit ScratchDisc(DVDProbeOptions const& options) : mOptions(options) {
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
  std::string const& Root() const { return mRoot; }
  // The file target, alone in the folder under name.
  bool Link(std::string const& target, std::string const& name) {
    if (!mLink.empty()) ::unlink(mLink.c_str());
    mLink = mRoot + "/VIDEO_TS/" + name;
    ::unlink(mLink.c_str());
    return ::symlink(target.c_str(), mLink.c_str()) == 0;
  }
  Health Parse(std::string const& target, std::string const& name, int title) {
    if (!Link(target, name)) return Health::Unparsable;
    return ParseInHelper(mRoot, title, mOptions);
  }

 private:
  DVDProbeOptions mOptions;
  std::string mRoot;
  std::string mLink;
};

// Helpers checking a disc's files side by side, at most this many at once.
constexpr size_t kHelpersAtOnce = 8;

// Every IFO listed, each alone in a scratch folder and checked by a helper of its own, the
// helpers run side by side: a disc of many title sets opens in about the time of its slowest
// file rather than of all of them.
std::map<int, Health> ParseInfoFiles(std::string const& videoTS,
                                     std::map<int, InfoFiles> const& listed,
                                     DVDProbeOptions const& options) {
  struct Check {
    int title;
    std::unique_ptr<ScratchDisc> scratch;
    Helper helper;
  };
  std::map<int, Health> health;
  std::deque<Check> running;
  auto const finishFirst = [&] {
    health[running.front().title] = Finish(running.front().helper, options);
    running.pop_front();
  };
  for (auto const& [title, files] : listed) {
    if (files.ifo.empty()) continue;
    if (running.size() == kHelpersAtOnce) finishFirst();
    auto scratch = std::make_unique<ScratchDisc>(options);
    if (!scratch->Valid() || !scratch->Link(videoTS + "/" + files.ifo, files.ifo)) {
      health[title] = Health::Unparsable;
      continue;
    }
    Helper const helper = StartHelper(scratch->Root(), title, options);
    running.push_back({title, std::move(scratch), helper});
  }
  while (!running.empty()) finishFirst();
  return health;
}

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
DVDProbeResult ProbeFolder(std::string const& discPath, std::string const& videoTS,
                           DVDProbeOptions const& options) {
  DVDProbeResult result;
  result.openPath = discPath;
  ScratchDisc scratch(options);
  if (!scratch.Valid()) return result;  // nowhere to probe: open as before
  std::vector<std::string> hidden;
  std::map<std::string, std::string> swapped;  // an IFO name -> the BUP read in its place
  std::map<int, InfoFiles> const listed = ListInfoFiles(videoTS);
  std::map<int, Health> const ifos = ParseInfoFiles(videoTS, listed, options);
  for (auto const& [title, files] : listed) {
    auto const checked = ifos.find(title);
    Health const ifo = checked == ifos.end() ? Health::Unparsable : checked->second;
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
DVDProbeResult ProbeWhole(std::string const& discPath, DVDProbeOptions const& options) {
  DVDProbeResult result;
  result.openPath = discPath;
  int titles = 0;
  {
    // The manager first, on its own: its title-set count bounds the rest.
    Health const vmg = ParseInHelper(discPath, 0, options);
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
    Health const h = ParseInHelper(discPath, title, options);
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
                                  std::array<UInt8, 8> const& uniqueID,
                                  DVDProbeOptions const& options) {
  {
    std::lock_guard<std::mutex> lock(sCacheLock);
    auto const known = Cache().find(CacheKey(uniqueID, discPath));
    if (known != Cache().end()) return known->second;
  }
  if (HelperPath().empty()) {
    // Nothing to probe with: opened as before, unprobed (and not remembered).
    PlatformLog("DVD: %s is not installed; %s opened without probing its information files",
                kHelperName, discPath.c_str());
    DVDProbeResult unprobed;
    unprobed.openPath = discPath;
    return unprobed;
  }
  DVDProbeResult result = videoTS.empty() ? ProbeWhole(discPath, options)
                                          : ProbeFolder(discPath, videoTS, options);
  std::lock_guard<std::mutex> lock(sCacheLock);
  Cache()[CacheKey(uniqueID, discPath)] = result;
  return result;
}

long DVDIFOProbe::ChildrenStarted() { return sChildren.load(); }

void DVDIFOProbe::ForgetResults() {
  std::lock_guard<std::mutex> lock(sCacheLock);
  Cache().clear();
}

}  // namespace dvd
