// A private Xvfb server for one test process: started on a free display number that the
// server picks itself (-displayfd), stopped and reaped on destruction.
#pragma once

#include <csignal>
#include <fcntl.h>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace tavelo_test {

class XvfbServer {
 public:
  XvfbServer() = default;
  ~XvfbServer() { Stop(); }
  XvfbServer(XvfbServer const&) = delete;
  XvfbServer& operator=(XvfbServer const&) = delete;

  // True when the server runs and accepts connections; Name() is then ":<n>".
  bool Start(int width, int height) {
    int fds[2];
    if (::pipe(fds) != 0) return false;
    std::string const screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
    std::string const fd = std::to_string(fds[1]);
    char const* argv[] = {"Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen.c_str(),
                          "-nolisten", "tcp", "-noreset", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclose(&actions, fds[0]);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    int const rc = posix_spawnp(&mPid, "Xvfb", &actions, nullptr, const_cast<char**>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(fds[1]);
    if (rc != 0) {
      mPid = -1;
      ::close(fds[0]);
      return false;
    }
    std::string number;
    pollfd p{fds[0], POLLIN, 0};
    while (::poll(&p, 1, 10000) > 0) {
      char c;
      if (::read(fds[0], &c, 1) != 1 || c == '\n') break;
      number += c;
    }
    ::close(fds[0]);
    if (number.empty()) {
      Stop();
      return false;
    }
    mName = ":" + number;
    return true;
  }

  void Stop() {
    if (mPid > 0) {
      ::kill(mPid, SIGTERM);
      int status = 0;
      ::waitpid(mPid, &status, 0);
    }
    mPid = -1;
  }

  std::string const& Name() const { return mName; }

 private:
  pid_t mPid = -1;
  std::string mName;
};

}  // namespace tavelo_test
