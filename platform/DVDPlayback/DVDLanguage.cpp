#include "DVDLanguage.h"

#include <cctype>
#include <cstdlib>

namespace dvd {

std::string DVDPreferredLanguage() {
  for (char const* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    char const* value = std::getenv(name);
    if (!value || !*value) continue;  // an empty variable does not count, as for setlocale
    // "C" and "POSIX" name no language; a code is two letters before '_', '.', '@' or the end.
    if (std::isalpha(static_cast<unsigned char>(value[0])) &&
        std::isalpha(static_cast<unsigned char>(value[1])) &&
        (value[2] == '\0' || value[2] == '_' || value[2] == '.' || value[2] == '@')) {
      return {char(std::tolower(static_cast<unsigned char>(value[0]))),
              char(std::tolower(static_cast<unsigned char>(value[1])))};
    }
    break;  // the first variable set decides, as it does for the locale itself
  }
  return "en";
}

}  // namespace dvd
