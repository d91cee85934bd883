#include "DVDLibraryLog.h"

#include "PlatformLog.h"

extern "C" {
#include <libavutil/log.h>
}

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace dvd {

namespace {

void Forward(char const* library, char const* format, va_list args) {
  char text[900];
  std::vsnprintf(text, sizeof text, format, args);
  PlatformLog("%s: %s", library, text);
}

void ReadLog(void*, dvd_logger_level_t level, char const* format, va_list args) {
  if (level == DVD_LOGGER_LEVEL_ERROR || level == DVD_LOGGER_LEVEL_WARN) Forward("libdvdread", format, args);
}

void NavLog(void*, dvdnav_logger_level_t level, char const* format, va_list args) {
  if (level == DVDNAV_LOGGER_LEVEL_ERROR || level == DVDNAV_LOGGER_LEVEL_WARN)
    Forward("libdvdnav", format, args);
}

void Quiet(void*, dvd_logger_level_t, char const*, va_list) {}

void CodecLog(void* context, int level, char const* format, va_list args) {
  if (level > AV_LOG_WARNING) return;
  char text[900];
  int prefix = 1;
  av_log_format_line(context, level, format, args, text, sizeof text, &prefix);
  PlatformLog("ffmpeg: %s", text);
}

dvd_logger_cb const kRead = {ReadLog};
dvdnav_logger_cb const kNav = {NavLog};
dvd_logger_cb const kQuiet = {Quiet};

}  // namespace

dvd_logger_cb const* DVDReadLogger() { return &kRead; }
dvdnav_logger_cb const* DVDNavLogger() { return &kNav; }
dvd_logger_cb const* DVDReadQuietLogger() { return &kQuiet; }

void RouteCodecMessages() {
  static std::once_flag once;
  std::call_once(once, [] { av_log_set_callback(&CodecLog); });
}

}  // namespace dvd

// libdvdread reports through this function, calling the reader's logger when there is one and
// writing to the terminal otherwise; its NAV pack parser (which libdvdnav calls for every VOBU)
// has no reader, so a damaged pack would print there. Defined here, it takes the library's place
// (the library calls it through the PLT): same contract, but without a logger the message goes
// to the diagnostic log like the others.
extern "C" __attribute__((visibility("default"))) void DVDReadLog(void* priv, dvd_logger_cb const* logcb,
                                                                  dvd_logger_level_t level,
                                                                  char const* format, ...) {
  va_list args;
  va_start(args, format);
  if (logcb && logcb->pf_log) {
    logcb->pf_log(priv, level, format, args);
  } else {
    dvd::DVDReadLogger()->pf_log(priv, level, format, args);
  }
  va_end(args);
}
