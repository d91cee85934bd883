// Helpers for the file-reference tests: log lines with the line number masked, files.
#pragma once

#include "LogLines.h"
#include "TestLog.h"

#include <cstdlib>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace tavelo_test {

// The path with links resolved (temporary folders may sit behind one), or as given.
inline std::string Canonical(std::string const& path) {
  char buffer[4096];
  return ::realpath(path.c_str(), buffer) ? buffer : path;
}

inline void WriteText(std::string const& path, std::string const& text) { std::ofstream(path) << text; }

}  // namespace tavelo_test
