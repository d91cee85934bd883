#include "DVDLibraryLog.h"

#include "PlatformLog.h"

extern "C" {
#include <libavutil/log.h>
}

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
