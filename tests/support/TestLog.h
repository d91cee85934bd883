// Reading back what the diagnostic log received during a test.
#pragma once

#include <string>
#include <vector>

namespace tavelo_test {

// The folder this test process uses as its private $HOME / XDG root.
std::string const& TestRoot();

// Path of the log file the library writes to in this process.
std::string LogFilePath();

// Remembers where the log file ends; Lines() returns what was appended since.
class LogTail {
 public:
  LogTail();
  std::string Text() const;
  std::vector<std::string> Lines() const;

 private:
  long mStart;
};

// A fresh empty folder below the test root.
std::string MakeTempDir(char const* tag = "dir");

// Whole file as bytes ("" when missing).
std::string ReadFile(std::string const& path);

}  // namespace tavelo_test
