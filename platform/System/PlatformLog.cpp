#include "PlatformLog.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {
std::atomic<PlatformLogWriter> sWriter{nullptr};
}

void PlatformLogSetWriter(PlatformLogWriter writer) { sWriter.store(writer); }

void PlatformLog(char const* format, ...) {
  PlatformLogWriter const writer = sWriter.load();
  if (!writer || !format) return;
  char line[1024];
  va_list args;
  va_start(args, format);
  std::vsnprintf(line, sizeof line - 1, format, args);
  va_end(args);
  size_t const n = std::strlen(line);
  if (n == 0 || line[n - 1] != '\n') {
    line[n] = '\n';
    line[n + 1] = '\0';
  }
  writer(line);
}
