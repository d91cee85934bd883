// A library opened when first needed: found and bound, or refused with a line in the log.
#include "DVDSharedLibrary.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace tavelo_test {
namespace {

bool Logged(LogTail const& tail, std::string const& text) {
  return tail.Text().find(text) != std::string::npos;
}

TEST(DVDSharedLibraryTest, ALibraryThatIsThereIsBoundByName) {
  dvd::DVDSharedLibrary library;
  ASSERT_TRUE(library.Construct("libc.so.6"));
  decltype(&std::strlen) length = nullptr;
  ASSERT_TRUE(library.Bind(length, "strlen"));
  EXPECT_EQ(5u, length("Hello"));
}

TEST(DVDSharedLibraryTest, AMissingLibraryOrSymbolIsRefusedAndLogged) {
  LogTail const tail;
  dvd::DVDSharedLibrary missing;
  EXPECT_FALSE(missing.Construct("libtavelo-not-installed.so.0"));
  decltype(&std::strlen) length = &std::strlen;
  EXPECT_FALSE(missing.Bind(length, "strlen"));
  EXPECT_EQ(nullptr, length) << "a failed bind leaves nothing to call";
  EXPECT_TRUE(Logged(tail, "cannot load libtavelo-not-installed.so.0"));

  dvd::DVDSharedLibrary libc;
  ASSERT_TRUE(libc.Construct("libc.so.6"));
  EXPECT_FALSE(libc.Bind(length, "tavelo_no_such_function"));
  EXPECT_EQ(nullptr, length);
  EXPECT_TRUE(Logged(tail, "libc.so.6 has no tavelo_no_such_function"));
}

}  // namespace
}  // namespace tavelo_test
