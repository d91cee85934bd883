// Log lines compared with their line numbers masked.
#pragma once

#include "TestLog.h"

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

}  // namespace tavelo_test
