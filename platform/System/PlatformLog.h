// Messages of the system services for the program's diagnostic log. The library that keeps the
// log registers its writer; until it does (or in a program without one) messages are dropped,
// never written to the terminal.
#pragma once

using PlatformLogWriter = void (*)(char const* line);

void PlatformLogSetWriter(PlatformLogWriter writer);
// One line, printf-style; a newline is added when the text has none.
void PlatformLog(char const* format, ...) __attribute__((format(printf, 1, 2)));
