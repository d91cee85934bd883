// The diagnostic log and the verification convention every module reports through.
#pragma once

#include <cstdint>
#include <string>

// Where messages go; chosen once per process (0 = the log file).
enum : std::uint32_t {
  kCoreLogOutputFile = 0,
  kCoreLogOutputSystemLogService = 1,
  kCoreLogOutputSysLog = 2,
  kCoreLogOutputStdoutAndFile = 4,
};

void CoreMachDebugLogSetUseLogger(std::uint32_t kCoreLogOutput);
void CoreMachDebugLog(char const* format, ...) __attribute__((format(printf, 1, 2)));
void CoreMachDebugLogString(char const* text);
inline void CoreMachDebugLogNull(...) {}

// The application's bundle identifier. A program defines it once (a strong definition
// replaces the library's empty default); it names the log file "<identifier>.log".
extern "C" char const* CoreMachDebugLogBundleIdentifier();

// Full path of the log file once it has been set up; empty before.
char const* CoreMachDebugLogFilePath();

void _CoreMachDebugVerifyBody(char const* function, char const* file, int line, char const* code);
void _CoreMachDebugVerifyOSerrBody(short err, char const* function, char const* file, int line,
                                   char const* code);

// "Class::method" out of the compiler's decorated function name.
std::string CoreMachDebugFunctionName(char const* prettyFunction);
// "/Code/sdk/CoreX/CoreUnixPath" out of the source path; application modules by bare name.
std::string CoreMachDebugSourceName(char const* sourceFile);

// The checks behind the macros: cheap when they pass, log the decorated names when not.
bool _CoreMachDebugCheck(bool condition, char const* prettyFunction, char const* sourceFile,
                         int line, char const* code);
long _CoreMachDebugCheckOSerr(long err, char const* prettyFunction, char const* sourceFile,
                              int line, char const* code);

#define CORE_DEBUG_STRINGIZE_(...) #__VA_ARGS__
#define CORE_DEBUG_STRINGIZE(...) CORE_DEBUG_STRINGIZE_(__VA_ARGS__)

// Boolean check, as an expression that yields the condition: fOk = CoreVerify(x);
#define CoreVerify(...)                                                          \
  _CoreMachDebugCheck(static_cast<bool>(__VA_ARGS__), __PRETTY_FUNCTION__, __FILE__, \
                      __LINE__, " code : " CORE_DEBUG_STRINGIZE(__VA_ARGS__))

// Boolean check as a statement.
#define CoreMachDebugVerify(...) static_cast<void>(CoreVerify(__VA_ARGS__))

// Status check (0 = no error); yields the status.
#define CoreVerifyOSerr(...)                                                    \
  _CoreMachDebugCheckOSerr(static_cast<long>(__VA_ARGS__), __PRETTY_FUNCTION__, __FILE__, \
                           __LINE__, " code : " CORE_DEBUG_STRINGIZE(__VA_ARGS__))
#define CoreMachDebugVerifyOSerr(...) static_cast<void>(CoreVerifyOSerr(__VA_ARGS__))

// The library's one exception type. Its text lives in one buffer shared by all exceptions.
class CoreException {
 public:
  explicit CoreException(char const* format, ...) __attribute__((format(printf, 2, 3)));
  char const* what() const { return mMessage; }

  char const* mMessage;
};
