// A program may exit with the service still running (a crash handler, a quick quit): the
// service is then destroyed among the other statics, and that must be clean. Found by the
// bookmark fuzzing target, whose process ends that way.
#include "DVDService.h"
#include "DVDTestSession.h"

#include "TestLog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace tavelo_test {
namespace {

void Events(DVDEventCode, DVDEventValue, DVDEventValue, void*) {}

TEST(DVDExit, ExitingWithMediaPlayingIsClean) {
  static std::string const runtime = MakeTempDir("run");
  ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
  pid_t const pid = ::fork();
  if (pid == 0) {
    dvd::UseManualClock(true);
    if (DVDInitialize() != noErr) ::_exit(2);
    DVDEventCode const codes[] = {7, 24, 11, 2, 1, 20, 12};
    DVDEventCallBackRef id = 0;
    DVDRegisterEventCallBack(&Events, codes, 7, nullptr, &id);
    std::string const disc = DiscPath("ntsc43");
    FSRef ref{};
    FSPathMakeRef(reinterpret_cast<UInt8 const*>(disc.c_str()), &ref, nullptr);
    if (DVDOpenMediaFile(&ref) != noErr) ::_exit(3);
    DVDPlay();
    dvd::AdvanceManualClock(1000);
    dvd::WaitUntilQuiet(20000);
    std::exit(0);  // no DVDDispose: the statics' destructors take the service down
  }
  ASSERT_GT(pid, 0);
  int status = 0;
  ASSERT_EQ(pid, ::waitpid(pid, &status, 0));
  ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
  EXPECT_EQ(0, WEXITSTATUS(status));
}

}  // namespace
}  // namespace tavelo_test
