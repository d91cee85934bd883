// Where the disc and decoder libraries' own messages go: warnings and errors to the diagnostic
// log (through PlatformLog), nothing to the terminal.
#pragma once

#include <dvdnav/dvdnav.h>
#include <dvdread/dvd_reader.h>

namespace dvd {

dvd_logger_cb const* DVDReadLogger();
dvdnav_logger_cb const* DVDNavLogger();
// For processes that must stay silent (probing children).
dvd_logger_cb const* DVDReadQuietLogger();
// FFmpeg's messages, once for the process.
void RouteCodecMessages();

}  // namespace dvd
