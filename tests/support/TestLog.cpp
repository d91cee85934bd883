#include "TestLog.h"

#include "CoreMachDebugLog.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace tavelo_test {

std::string const& TestRoot() {
  static std::string const root = [] {
    char const* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tavelo-test-XXXXXX";
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    return pattern;
  }();
  return root;
}

std::string LogFilePath() {
  char const* id = CoreMachDebugLogBundleIdentifier();
  std::string const name = id && *id ? std::string(id) + ".log" : "CoreConsole.log";
  return std::string(std::getenv("XDG_STATE_HOME")) + "/" + name;
}

std::string ReadFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

LogTail::LogTail() : mStart(static_cast<long>(ReadFile(LogFilePath()).size())) {}

std::string LogTail::Text() const {
  std::string const all = ReadFile(LogFilePath());
  return static_cast<long>(all.size()) >= mStart ? all.substr(mStart) : all;
}

std::vector<std::string> LogTail::Lines() const {
  std::vector<std::string> lines;
  std::istringstream in(Text());
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string MakeTempDir(char const* tag) {
  std::string pattern = TestRoot() + "/" + tag + "-XXXXXX";
  if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  return pattern;
}

}  // namespace tavelo_test
