// Every test process gets its own home and XDG folders, so tests never touch the user's
// files and parallel test processes never share a log file.
#include "TestLog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/stat.h>

int main(int argc, char** argv) {
  // A re-executed death-test child keeps its parent's folders.
  bool const owner = !std::getenv("TAVELO_TEST_KEEP_HOME");
  if (owner) {
    std::string const& root = tavelo_test::TestRoot();
    std::string const home = root + "/home";
    ::mkdir(home.c_str(), 0700);
    ::setenv("HOME", home.c_str(), 1);
    ::setenv("XDG_STATE_HOME", (root + "/state").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (root + "/config").c_str(), 1);
    ::setenv("XDG_DATA_HOME", (root + "/data").c_str(), 1);
    ::setenv("XDG_CACHE_HOME", (root + "/cache").c_str(), 1);
    ::setenv("TAVELO_TEST_KEEP_HOME", "1", 1);
  }
  testing::InitGoogleTest(&argc, argv);
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  int const result = RUN_ALL_TESTS();
  if (owner && !std::getenv("TAVELO_TEST_KEEP_FILES")) {
    std::error_code ignored;
    std::filesystem::remove_all(tavelo_test::TestRoot(), ignored);
  }
  return result;
}
