#include "CoreMachDebugLog.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using tavelo_test::LogTail;
using tavelo_test::ReadFile;

namespace {

bool Exists(std::string const& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0;
}

struct Checker {
  int mSteps = 0;
  int mCheckLine = 0;
  bool RunWithFailingStep() {
    mCheckLine = __LINE__ + 1;
    bool fOk = CoreVerify(mSteps == 1);
    if (fOk) ++mSteps;  // skipped: the flag says the step failed
    ++mSteps;           // runs: a failed check never stops execution
    return fOk;
  }
};

}  // namespace

TEST(CoreMachDebugLog, FirstMessageCreatesTheFileThenAppends) {
  EXPECT_EXIT(
      {
        std::string const state = tavelo_test::MakeTempDir("logs") + "/state";
        ::setenv("XDG_STATE_HOME", state.c_str(), 1);
        std::string const file = state + "/org.tavelo.tests.log";
        if (Exists(file)) std::exit(2);
        CoreMachDebugLog("first %s\n", "line");
        if (ReadFile(file) != "first line\n") std::exit(3);
        CoreMachDebugLog("second\n");
        if (ReadFile(file) != "first line\nsecond\n") std::exit(4);
        if (std::string(CoreMachDebugLogFilePath()) != file) std::exit(5);
        // The folder was made private, as the XDG rules ask.
        struct stat st {};
        if (::stat(state.c_str(), &st) != 0 || (st.st_mode & 0777) != 0700) std::exit(6);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(CoreMachDebugLog, DeletedFileIsCreatedAgain) {
  CoreMachDebugLog("before\n");
  std::string const file = tavelo_test::LogFilePath();
  ASSERT_EQ(0, ::unlink(file.c_str()));
  CoreMachDebugLog("after\n");
  EXPECT_EQ("after\n", ReadFile(file));
}

TEST(CoreMachDebugLog, FailedBooleanCheckLogsAndExecutionGoesOn) {
  LogTail tail;
  Checker checker;
  EXPECT_FALSE(checker.RunWithFailingStep());
  EXPECT_EQ(1, checker.mSteps);
  EXPECT_EQ("VERIFY FAILED:  code : mSteps == 1 in /Code/tests/sdk/CoreX/CoreMachDebugLogTest:" +
                std::to_string(checker.mCheckLine) + " (Checker::RunWithFailingStep)\n",
            tail.Text());
}

TEST(CoreMachDebugLog, VerifyLineFormat) {
  LogTail tail;
  _CoreMachDebugVerifyBody("main", "CocoaMain", 24, " code : CocoaX_Init()");
  EXPECT_EQ("VERIFY FAILED:  code : CocoaX_Init() in CocoaMain:24 (main)\n", tail.Text());
}

TEST(CoreMachDebugLog, VerifyOSerrLineFormat) {
  LogTail tail;
  _CoreMachDebugVerifyOSerrBody(-43, "CoreMachDebugLogClassInitialize",
                                "/Code/sdk/CoreX/CoreMachDebugLog", 31,
                                " code : FSFindFolder(domain, kLogsFolderType, kDontCreateFolder, "
                                "&sUserLogsFolder)");
  EXPECT_EQ(
      "VERIFY_ERR FAILED: OSErr:-43  code : FSFindFolder(domain, kLogsFolderType, "
      "kDontCreateFolder, &sUserLogsFolder) in /Code/sdk/CoreX/CoreMachDebugLog:31 "
      "(CoreMachDebugLogClassInitialize)\n",
      tail.Text());
}

TEST(CoreMachDebugLog, StatusCheckLogsOnlyNonZeroAndYieldsTheStatus) {
  LogTail tail;
  EXPECT_EQ(0, CoreVerifyOSerr(0));
  EXPECT_EQ("", tail.Text());
  int const line = __LINE__ + 1;
  EXPECT_EQ(-36, CoreVerifyOSerr(-36));
  EXPECT_EQ("VERIFY_ERR FAILED: OSErr:-36  code : -36 in /Code/tests/sdk/CoreX/CoreMachDebugLogTest:" +
                std::to_string(line) +
                " (CoreMachDebugLog_StatusCheckLogsOnlyNonZeroAndYieldsTheStatus_Test::TestBody)\n",
            tail.Text());
}

TEST(CoreMachDebugLog, CheckExpressionTextIsTheExpandedExpression) {
  LogTail tail;
  char const* in_file_name = nullptr;
  int const line = __LINE__ + 1;
  bool const fOk = CoreVerify(in_file_name!=NULL);
  EXPECT_FALSE(fOk);
  EXPECT_EQ("VERIFY FAILED:  code : in_file_name!=__null in /Code/tests/sdk/CoreX/CoreMachDebugLogTest:" +
                std::to_string(line) +
                " (CoreMachDebugLog_CheckExpressionTextIsTheExpandedExpression_Test::TestBody)\n",
            tail.Text());
}

TEST(CoreMachDebugLog, PassingCheckWritesNothing) {
  LogTail tail;
  EXPECT_TRUE(CoreVerify(1 + 1 == 2));
  CoreMachDebugVerify(true);
  EXPECT_EQ("", tail.Text());
}

TEST(CoreMachDebugLog, FileOutputReadsTheTextAsAFormat) {
  LogTail tail;
  CoreMachDebugLogString("count=%d name=%s pct=100%% x=%5.1f\n");
  EXPECT_EQ("count=0 name=(null) pct=100% x=  0.0\n", tail.Text());
}

TEST(CoreMachDebugLog, StandardOutputIsLiteralAndTheFileStillGetsIt) {
  LogTail tail;
  CoreMachDebugLogSetUseLogger(kCoreLogOutputStdoutAndFile);
  testing::internal::CaptureStdout();
  CoreMachDebugLogString("value %d\n");
  std::string const out = testing::internal::GetCapturedStdout();
  CoreMachDebugLogSetUseLogger(kCoreLogOutputFile);
  EXPECT_EQ("org.tavelo.tests:value %d\n", out);
  EXPECT_EQ("value 0\n", tail.Text());
}

TEST(CoreMachDebugLog, SystemLogOutputsDoNotTouchTheFile) {
  LogTail tail;
  CoreMachDebugLogSetUseLogger(kCoreLogOutputSysLog);
  CoreMachDebugLogString("to syslog %s\n");
  CoreMachDebugLogSetUseLogger(kCoreLogOutputSystemLogService);
  CoreMachDebugLogString("to syslog with echo\n");
  CoreMachDebugLogSetUseLogger(kCoreLogOutputFile);
  EXPECT_EQ("", tail.Text());
}

TEST(CoreMachDebugLog, UnlistedOutputMeansTheFile) {
  LogTail tail;
  CoreMachDebugLogSetUseLogger(3);
  CoreMachDebugLogString("three\n");
  CoreMachDebugLogSetUseLogger(kCoreLogOutputFile);
  EXPECT_EQ("three\n", tail.Text());
}

TEST(CoreMachDebugLog, LongMessageIsCutNotOverrun) {
  LogTail tail;
  std::string const big(5000, 'x');
  CoreMachDebugLog("%s\n", big.c_str());
  EXPECT_EQ(std::string(1023, 'x'), tail.Text());
}

TEST(CoreMachDebugLog, UnusableLogsFolderDropsMessagesAndIsRetried) {
  EXPECT_EXIT(
      {
        std::string const dir = tavelo_test::MakeTempDir("blocked");
        std::string const state = dir + "/state";
        // A plain file where the folder should be: the folder can be neither found nor made.
        std::ofstream(state) << "not a folder";
        ::setenv("XDG_STATE_HOME", state.c_str(), 1);
        CoreMachDebugLog("dropped\n");
        if (CoreMachDebugLogFilePath()[0] != 0) std::exit(2);
        ::unlink(state.c_str());
        CoreMachDebugLog("kept\n");
        if (ReadFile(state + "/org.tavelo.tests.log") != "kept\n") std::exit(3);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(CoreException, TwoExceptionsBothShowTheSecondMessage) {
  CoreException const first("OSErr: %d", -43);
  CoreException const second("Nil exception pointer");
  EXPECT_STREQ("Nil exception pointer", first.what());
  EXPECT_STREQ("Nil exception pointer", second.what());
}

TEST(CoreException, IsThrownByValueAndCaughtByType) {
  try {
    throw CoreException("OSErr: %d", -50);
  } catch (CoreException const& e) {
    EXPECT_STREQ("OSErr: -50", e.what());
  }
}

TEST(CoreMachDebugFunctionName, TakesTheQualifiedName) {
  EXPECT_EQ("main", CoreMachDebugFunctionName("int main(int, char**)"));
  EXPECT_EQ("GrabDVDController::awakeFromNib",
            CoreMachDebugFunctionName("void GrabDVDController::awakeFromNib()"));
  EXPECT_EQ("CoreUnixPath::IsFullyQualified",
            CoreMachDebugFunctionName("static bool CoreUnixPath::IsFullyQualified(const char*)"));
  EXPECT_EQ("CoreCString::CoreCString",
            CoreMachDebugFunctionName("CoreCString::CoreCString(const char*, short unsigned int)"));
  EXPECT_EQ("CoreCString::~CoreCString",
            CoreMachDebugFunctionName("virtual CoreCString::~CoreCString()"));
  EXPECT_EQ("LHFSUnicodeName::operator==",
            CoreMachDebugFunctionName("bool LHFSUnicodeName::operator==(const HFSUniStr255&) const"));
  EXPECT_EQ("TCFString::GetValue",
            CoreMachDebugFunctionName(
                "bool TCFString::GetValue(std::string&, CFStringBuiltInEncodings) const"));
  EXPECT_EQ("Holder<T>::Get", CoreMachDebugFunctionName("T* Holder<T>::Get() [with T = int]"));
  EXPECT_EQ("CoreMachDebugLogClassInitialize",
            CoreMachDebugFunctionName("bool {anonymous}::CoreMachDebugLogClassInitialize()"));
  EXPECT_EQ("f", CoreMachDebugFunctionName("std::vector<int> f()"));
  EXPECT_EQ("Outer::Inner::Run", CoreMachDebugFunctionName("std::map<int, Foo> Outer::Inner::Run(int) const"));
}

TEST(CoreMachDebugSourceName, LibraryModulesByBuildPathApplicationModulesByName) {
  EXPECT_EQ("/Code/sdk/CoreX/CoreMachDebugLog",
            CoreMachDebugSourceName("/Code/sdk/CoreX/CoreMachDebugLog.cpp"));
  EXPECT_EQ("/Code/sdk/CoreX/Core_FSRef_inl", CoreMachDebugSourceName("/Code/sdk/CoreX/Core_FSRef_inl.h"));
  EXPECT_EQ("CocoaMain", CoreMachDebugSourceName("/Code/app/CocoaMain.cpp"));
  EXPECT_EQ("/Code/dir.d/file", CoreMachDebugSourceName("/Code/dir.d/file"));
  // Relative to a build folder inside the tree, as a compiler cache may pass it.
  EXPECT_EQ("/Code/sdk/CoreX/CoreUnixPath", CoreMachDebugSourceName("../../sdk/CoreX/CoreUnixPath.cpp"));
  EXPECT_EQ("CocoaMain", CoreMachDebugSourceName("../app/CocoaMain.cpp"));
}
