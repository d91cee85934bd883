// The typed fixture the shared string-rule tests of CoreUnixPath and LUnixPath run in, and
// the helpers they read the classes' answers and log lines with.
#pragma once

#include "CoreUnixPath.h"
#include "LUnixPath.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace unix_path_rules {

// The name each class gives its log lines: its source file and its functions.
template <class Path>
struct UnixPathTraits;

template <>
struct UnixPathTraits<CoreUnixPath> {
  static constexpr char const* kName = "CoreUnixPath";
};

template <>
struct UnixPathTraits<LUnixPath> {
  static constexpr char const* kName = "LUnixPath";
};

struct ClassName {
  template <class Path>
  static std::string GetName(int) {
    return UnixPathTraits<Path>::kName;
  }
};

// The log text with every line number replaced by '#'.
inline std::string Numberless(std::string const& text) {
  static std::regex const number(":[0-9]+ \\(");
  return std::regex_replace(text, number, ":# (");
}

using PathClasses = testing::Types<CoreUnixPath, LUnixPath>;

}  // namespace unix_path_rules

template <class Path>
class UnixPathRules : public testing::Test {
 protected:
  static std::string Name() { return unix_path_rules::UnixPathTraits<Path>::kName; }

  // The log line of a failed check in `function` of the class under test.
  static std::string Failed(std::string const& code, std::string const& function) {
    return "VERIFY FAILED:  code : " + code + " in /Code/sdk/CoreX/" + Name() + ":# (" + Name() +
           "::" + function + ")\n";
  }
};

TYPED_TEST_SUITE(UnixPathRules, unix_path_rules::PathClasses, unix_path_rules::ClassName);
