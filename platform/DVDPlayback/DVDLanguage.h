// The language the user reads, for the disc's menus, sound and subtitles: the two-letter code of
// LC_ALL, else LC_MESSAGES, else LANG ("de_DE.UTF-8" -> "de"); English when none names one.
#pragma once

#include <string>

namespace dvd {

std::string DVDPreferredLanguage();

}  // namespace dvd
