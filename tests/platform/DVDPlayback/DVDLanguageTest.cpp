#include "DVDLanguage.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

class DVDLanguageTest : public testing::Test {
 protected:
  void SetUp() override {
    for (char const* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) ::unsetenv(name);
  }
  void TearDown() override { SetUp(); }
};

TEST_F(DVDLanguageTest, EnglishWhenNothingIsSet) { EXPECT_EQ("en", dvd::DVDPreferredLanguage()); }

TEST_F(DVDLanguageTest, TheFirstVariableSetDecides) {
  ::setenv("LANG", "fr_FR.UTF-8", 1);
  EXPECT_EQ("fr", dvd::DVDPreferredLanguage());
  ::setenv("LC_MESSAGES", "de_DE@euro", 1);
  EXPECT_EQ("de", dvd::DVDPreferredLanguage());
  ::setenv("LC_ALL", "IT", 1);
  EXPECT_EQ("it", dvd::DVDPreferredLanguage());
  ::setenv("LC_ALL", "", 1);  // empty: as if not set
  EXPECT_EQ("de", dvd::DVDPreferredLanguage());
}

TEST_F(DVDLanguageTest, LocalesWithoutALanguageMeanEnglish) {
  ::setenv("LANG", "C.UTF-8", 1);
  EXPECT_EQ("en", dvd::DVDPreferredLanguage());
  ::setenv("LANG", "POSIX", 1);
  EXPECT_EQ("en", dvd::DVDPreferredLanguage());
  ::setenv("LC_MESSAGES", "C", 1);
  ::setenv("LANG", "es_ES.UTF-8", 1);
  EXPECT_EQ("en", dvd::DVDPreferredLanguage());  // LC_MESSAGES is set and names none
}

}  // namespace
