#include "CoreMachDebugLog.h"

#include "PlatformLog.h"

#include "Core_FSRef_inl.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <syslog.h>

extern "C" __attribute__((weak)) char const* CoreMachDebugLogBundleIdentifier() { return ""; }

namespace {

std::uint32_t sLogOutput = kCoreLogOutputFile;
FSRef sUserLogsFolder{};
char sUserLogsPath[1024];
bool sLogFileInitialised = false;
bool sLogFileInitialising = false;
char sExceptionMessage[1024];

constexpr std::size_t kMessageSize = 1024;

char const* LogFileName() {
  static std::string const name = [] {
    char const* id = CoreMachDebugLogBundleIdentifier();
    return std::string(id && *id ? id : "") + (id && *id ? ".log" : "CoreConsole.log");
  }();
  return name.c_str();
}

bool CoreMachDebugLogClassInitialize() {
  if (bool_FSRef_IsValid(sUserLogsFolder) && sUserLogsPath[0] != 0) return true;
  if (CoreVerifyOSerr(FSFindFolder(kUserDomain, kLogsFolderType, kDontCreateFolder, &sUserLogsFolder)))
    return false;
  bool fOk;
  if (!CoreVerify(fOk=bool_FSRef_GetUnixPath(sUserLogsFolder, sUserLogsPath))) return false;
  std::size_t const used = std::strlen(sUserLogsPath);
  std::snprintf(sUserLogsPath + used, sizeof(sUserLogsPath) - used, "/%s", LogFileName());
  return fOk;
}

// The file output reads the text as a format with no arguments. Every conversion is
// printed as if its argument were zero ("(null)" for strings) instead of reading a
// missing argument.
void AppendFormattedAsIfZero(char const* text, std::string& out) {
  char const* p = text;
  while (*p) {
    if (*p != '%') { out += *p++; continue; }
    char const* const start = p++;
    std::string spec = "%";
    // Positional "n$" is dropped: there is nothing to position.
    if (char const* q = p; *q >= '1' && *q <= '9') {
      while (*q >= '0' && *q <= '9') ++q;
      if (*q == '$') p = q + 1;
    }
    while (*p && std::strchr("-+ #0'", *p)) spec += *p++;
    auto number = [&] {
      if (*p == '*') {
        ++p;
        if (char const* q = p; *q >= '1' && *q <= '9') {
          while (*q >= '0' && *q <= '9') ++q;
          if (*q == '$') p = q + 1;
        }
        spec += '0';
      } else {
        while (*p >= '0' && *p <= '9') spec += *p++;
      }
    };
    number();
    if (*p == '.') { spec += *p++; number(); }
    std::string length;
    while (*p && std::strchr("hlLqjzt", *p)) length += *p++;
    char const conversion = *p;
    if (conversion == 0) { out.append(start); return; }
    ++p;
    char buffer[512];
    int n = 0;
    std::string const plain = spec + conversion;
    switch (conversion) {
      case '%': out += '%'; continue;
      case 'd': case 'i': case 'o': case 'u': case 'x': case 'X':
        n = std::snprintf(buffer, sizeof buffer, (spec + "ll" + conversion).c_str(), 0LL);
        break;
      case 'c':
        n = std::snprintf(buffer, sizeof buffer, plain.c_str(), 0);
        break;
      case 'e': case 'E': case 'f': case 'F': case 'g': case 'G': case 'a': case 'A':
        n = std::snprintf(buffer, sizeof buffer, plain.c_str(), 0.0);
        break;
      case 's':
        n = std::snprintf(buffer, sizeof buffer, plain.c_str(), "(null)");
        break;
      case 'p':
        n = std::snprintf(buffer, sizeof buffer, plain.c_str(), static_cast<void*>(nullptr));
        break;
      case 'n':
        continue;
      default:
        out.append(start, p);
        continue;
    }
    if (n > 0) out.append(buffer, std::min<std::size_t>(std::size_t(n), sizeof buffer - 1));
  }
}

void WriteToLogFile(char const* text) {
  if (sLogFileInitialising) return;
  if (!sLogFileInitialised) {
    sLogFileInitialising = true;
    sLogFileInitialised = CoreMachDebugLogClassInitialize();
    sLogFileInitialising = false;
    if (!sLogFileInitialised) return;
  }
  FILE* file = std::fopen(sUserLogsPath, "at");
  if (!file) return;
  std::string formatted;
  AppendFormattedAsIfZero(text, formatted);
  std::fseek(file, 0, SEEK_END);
  std::fwrite(formatted.data(), 1, formatted.size(), file);
  std::fclose(file);
}

}  // namespace

void CoreMachDebugLogSetUseLogger(std::uint32_t kCoreLogOutput) { sLogOutput = kCoreLogOutput; }

namespace {
// The system services' own messages (disc and decoder libraries) join this log.
[[maybe_unused]] bool const sPlatformLogRegistered =
    (PlatformLogSetWriter(&CoreMachDebugLogString), true);
}  // namespace

char const* CoreMachDebugLogFilePath() { return sLogFileInitialised ? sUserLogsPath : ""; }

void CoreMachDebugLogString(char const* text) {
  if (!text) return;
  char const* const id = CoreMachDebugLogBundleIdentifier();
  switch (sLogOutput) {
    case kCoreLogOutputSystemLogService:
      openlog(id, LOG_PERROR, LOG_USER);
      syslog(LOG_DEBUG, "%s\n", text);
      closelog();
      break;
    case kCoreLogOutputSysLog:
      syslog(LOG_DEBUG, "%s:%s\n", id, text);
      break;
    case kCoreLogOutputStdoutAndFile:
      std::printf("%s:%s", id, text);
      std::fflush(stdout);
      WriteToLogFile(text);
      break;
    default:
      WriteToLogFile(text);
      break;
  }
}

void CoreMachDebugLog(char const* format, ...) {
  char message[kMessageSize];
  va_list args;
  va_start(args, format);
  std::vsnprintf(message, sizeof message, format ? format : "", args);
  va_end(args);
  CoreMachDebugLogString(message);
}

void _CoreMachDebugVerifyBody(char const* function, char const* file, int line, char const* code) {
  CoreMachDebugLog("VERIFY FAILED: %s in %s:%d (%s)\n", code, file, line, function);
}

void _CoreMachDebugVerifyOSerrBody(short err, char const* function, char const* file, int line,
                                   char const* code) {
  CoreMachDebugLog("VERIFY_ERR FAILED: OSErr:%d %s in %s:%d (%s)\n", err, code, file, line,
                   function);
}

std::string CoreMachDebugFunctionName(char const* prettyFunction) {
  std::string_view s = prettyFunction ? prettyFunction : "";
  if (auto const with = s.find(" [with "); with != std::string_view::npos) s = s.substr(0, with);
  // The parameter list is the bracket group that closes last.
  std::size_t end = s.rfind(')');
  if (end == std::string_view::npos) return std::string(s);
  int depth = 0;
  std::size_t open = end;
  for (std::size_t i = end + 1; i-- > 0;) {
    if (s[i] == ')') ++depth;
    else if (s[i] == '(' && --depth == 0) { open = i; break; }
  }
  std::string_view head = s.substr(0, open);
  // The name starts after the last blank that is not inside template brackets.
  depth = 0;
  std::size_t start = 0;
  for (std::size_t i = head.size(); i-- > 0;) {
    char const c = head[i];
    if (c == '>' || c == ')') ++depth;
    else if ((c == '<' || c == '(') && depth > 0) --depth;
    else if (c == ' ' && depth == 0) {
      // "operator new" and friends keep their blank.
      if (i >= 8 && head.substr(i - 8, 8) == "operator") continue;
      start = i + 1;
      break;
    }
  }
  head = head.substr(start);
  std::string name(head);
  for (std::string_view const anonymous : {"{anonymous}::", "(anonymous namespace)::"}) {
    for (auto at = name.find(anonymous); at != std::string::npos; at = name.find(anonymous))
      name.erase(at, anonymous.size());
  }
  std::string_view trimmed = name;
  while (!trimmed.empty() && (trimmed.front() == '*' || trimmed.front() == '&'))
    trimmed.remove_prefix(1);
  return std::string(trimmed);
}

std::string CoreMachDebugSourceName(char const* sourceFile) {
  std::string_view s = sourceFile ? sourceFile : "";
  // ccache may hand the compiler a path relative to the build folder ("../../sdk/...");
  // it names the same module as "/Code/sdk/...".
  std::string rooted;
  if (s.rfind("/Code/", 0) != 0 && !s.empty() && s.front() != '/') {
    while (s.rfind("./", 0) == 0 || s.rfind("../", 0) == 0) s.remove_prefix(s.find('/') + 1);
    rooted = "/Code/" + std::string(s);
    s = rooted;
  }
  if (auto const dot = s.rfind('.'); dot != std::string_view::npos && s.find('/', dot) == std::string_view::npos)
    s = s.substr(0, dot);
  if (s.rfind("/Code/app/", 0) == 0) {
    if (auto const slash = s.rfind('/'); slash != std::string_view::npos) s = s.substr(slash + 1);
  }
  return std::string(s);
}

bool _CoreMachDebugCheck(bool condition, char const* prettyFunction, char const* sourceFile,
                         int line, char const* code) {
  if (!condition) {
    _CoreMachDebugVerifyBody(CoreMachDebugFunctionName(prettyFunction).c_str(),
                             CoreMachDebugSourceName(sourceFile).c_str(), line, code);
  }
  return condition;
}

long _CoreMachDebugCheckOSerr(long err, char const* prettyFunction, char const* sourceFile,
                              int line, char const* code) {
  if (err != 0) {
    _CoreMachDebugVerifyOSerrBody(static_cast<short>(err),
                                  CoreMachDebugFunctionName(prettyFunction).c_str(),
                                  CoreMachDebugSourceName(sourceFile).c_str(), line, code);
  }
  return err;
}

CoreException::CoreException(char const* format, ...) : mMessage(sExceptionMessage) {
  va_list args;
  va_start(args, format);
  std::vsnprintf(sExceptionMessage, sizeof sExceptionMessage, format ? format : "", args);
  va_end(args);
}
