// Helpers for the file-reference tests: log lines with the line number masked, files.
#pragma once

#include "TestLog.h"

#include <cstdlib>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace tavelo_test {

// The log lines since `tail` began, each ":<line> (" written as ":N (".
inline std::vector<std::string> MaskedLines(LogTail const& tail) {
  std::vector<std::string> out;
  static std::regex const line(":[0-9]+ \\(");
  for (auto const& l : tail.Lines()) out.push_back(std::regex_replace(l, line, ":N ("));
  return out;
}

inline std::string Verify(std::string const& code, std::string const& source, std::string const& function) {
  return "VERIFY FAILED:  code : " + code + " in /Code/sdk/" + source + ":N (" + function + ")";
}

// The path with links resolved (temporary folders may sit behind one), or as given.
inline std::string Canonical(std::string const& path) {
  char buffer[4096];
  return ::realpath(path.c_str(), buffer) ? buffer : path;
}

inline void WriteText(std::string const& path, std::string const& text) { std::ofstream(path) << text; }

}  // namespace tavelo_test
