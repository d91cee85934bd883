#include "CFBaseDLL.h"
#include "CFTestRef.h"
#include "QFramework.h"
#include "SystemFramework.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

using tavelo_test::Ref;

namespace {

namespace fs = std::filesystem;

std::string WithoutLineNumbers(std::string const& text) {
  return std::regex_replace(text, std::regex(":[0-9]+ \\("), ":# (");
}

std::string Failed(char const* code, char const* source, char const* function) {
  return std::string("VERIFY FAILED:  code : ") + code + " in /Code/sdk/CoreX/" + source + ":# (" +
         function + ")\n";
}

std::string Path(CFURLRef url) {
  char path[PATH_MAX];
  if (!url || !CFURLGetFileSystemRepresentation(url, true, reinterpret_cast<UInt8*>(path), sizeof path))
    return "<none>";
  return path;
}

std::string ExeDir() { return fs::canonical("/proc/self/exe").parent_path().string(); }
std::string Prefix() { return fs::path(ExeDir()).parent_path().string(); }

std::string FoundFolder(short domain, OSType type) {
  FSRef ref{};
  return FSFindFolder(domain, type, kDontCreateFolder, &ref) == noErr ? ref.path : "";
}

std::string const kFindFolderFailed =
    " code : FSFindFolder(FindFolderDomain, kFindFolderLocation, kDontCreateFolder, &bundleFolderRef) in "
    "/Code/sdk/CoreX/CFBaseDLL:# (CFBaseDLL::URLOfNameInFindFolder)\n";

}  // namespace

TEST(CFBaseDLL, LocationElevenGivesNoURLAndNoLoad) {
  tavelo_test::LogTail tail;
  Ref url(CFBaseDLL::URLOfNameInLocation(CFSTR("System.framework"), static_cast<CFBaseDLL::Location>(11)));
  EXPECT_EQ(nullptr, url.mRef);
  EXPECT_EQ("", tail.Text());

  CFBundleDLL loader(CFSTR("System.framework"));
  EXPECT_FALSE(loader.LoadLocation(static_cast<CFBaseDLL::Location>(11)));
  EXPECT_EQ(nullptr, loader.mDLLHandle);
  EXPECT_FALSE(loader.IsLoaded());
  EXPECT_EQ(Failed("bundleURL", "CFBaseDLL", "I_CFBundleDLL::LoadFromURL") +
                Failed("fOk = T_Executable::LoadFromURL(bundleURL)", "CFBaseDLL", "CFBundleDLL::LoadLocation"),
            WithoutLineNumbers(tail.Text()));
}

TEST(CFBaseDLL, FrameworkLocationsOfTheSystemAndLocalDomains) {
  tavelo_test::LogTail tail;
  Ref system(CFBaseDLL::URLOfNameInLocation(CFSTR("Name.framework"), CFBaseDLL::kSystemFrameworks));
  std::string const systemFolder = FoundFolder(kSystemDomain, kFrameworksFolderType);
  ASSERT_NE("", systemFolder);
  EXPECT_EQ(systemFolder + "/Name.framework", Path(system.as<CFURLRef>()));
  EXPECT_FALSE(CFURLHasDirectoryPath(system.as<CFURLRef>()));

  Ref local(CFBaseDLL::URLOfNameInLocation(CFSTR("Name.framework"), CFBaseDLL::kLocalFrameworks));
  std::string const localFolder = FoundFolder(kLocalDomain, kFrameworksFolderType);
  if (localFolder.empty()) {
    EXPECT_EQ(nullptr, local.mRef);
  } else {
    EXPECT_EQ(localFolder + "/Name.framework", Path(local.as<CFURLRef>()));
    EXPECT_EQ("", tail.Text());
  }
}

TEST(CFBaseDLL, MainBundleLocations) {
  tavelo_test::LogTail tail;
  auto at = [](CFBaseDLL::Location where) {
    Ref url(CFBaseDLL::URLOfNameInLocation(CFSTR("Name"), where));
    return Path(url.as<CFURLRef>());
  };
  EXPECT_EQ(ExeDir() + "/Name", at(CFBaseDLL::kMainExecutableFolder));
  EXPECT_EQ(Prefix() + "/lib/tavelo/Name", at(CFBaseDLL::kPrivateFrameworks));
  EXPECT_EQ(Prefix() + "/lib/Name", at(CFBaseDLL::kSharedFrameworks));
  EXPECT_EQ(Prefix() + "/share/tavelo/Name", at(CFBaseDLL::kResources));
  EXPECT_EQ(Prefix() + "/lib/tavelo/plugins/Name", at(CFBaseDLL::kBuiltInPlugIns));
  EXPECT_EQ(Prefix() + "/Name", at(CFBaseDLL::kSupportFiles));
  EXPECT_EQ("", tail.Text());
}

TEST(CFBaseDLL, ComponentFolders) {
  std::string const data = tavelo_test::MakeTempDir("data");
  ::setenv("XDG_DATA_HOME", data.c_str(), 1);
  {
    tavelo_test::LogTail tail;
    Ref missing(CFBaseDLL::URLOfNameInLocation(CFSTR("Name"), CFBaseDLL::kUserComponents));
    EXPECT_EQ(nullptr, missing.mRef);
    EXPECT_EQ("VERIFY_ERR FAILED: OSErr:-43 " + kFindFolderFailed, WithoutLineNumbers(tail.Text()));
  }
  fs::create_directory(data + "/tavelo");
  tavelo_test::LogTail tail;
  Ref user(CFBaseDLL::URLOfNameInLocation(CFSTR("Name"), CFBaseDLL::kUserComponents));
  EXPECT_EQ(fs::canonical(data).string() + "/tavelo/Name", Path(user.as<CFURLRef>()));
  EXPECT_EQ("", tail.Text());

  for (auto [where, folder] : {std::pair{CFBaseDLL::kLocalComponents, "/usr/local/lib/tavelo"},
                               std::pair{CFBaseDLL::kSystemComponents, "/usr/lib/tavelo"}}) {
    tavelo_test::LogTail each;
    Ref url(CFBaseDLL::URLOfNameInLocation(CFSTR("Name"), where));
    if (fs::is_directory(folder)) {
      EXPECT_EQ(fs::canonical(folder).string() + "/Name", Path(url.as<CFURLRef>()));
    } else {
      EXPECT_EQ(nullptr, url.mRef);
      EXPECT_EQ("VERIFY_ERR FAILED: OSErr:-43 " + kFindFolderFailed, WithoutLineNumbers(each.Text()));
    }
  }
}

TEST(CFBaseDLL, SubFolderIsAppendedAsAFolder) {
  Ref url(CFBaseDLL::URLOfNameInFindFolder(CFSTR("Name"), kFrameworksFolderType, kSystemDomain, CFSTR("Sub")));
  EXPECT_EQ(FoundFolder(kSystemDomain, kFrameworksFolderType) + "/Sub/Name", Path(url.as<CFURLRef>()));
}

TEST(CFBaseDLL, PrintURL) {
  tavelo_test::LogTail tail;
  Ref url(CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<UInt8 const*>("/a/b c"), 6, false));
  CFBaseDLL::print_URL("where:", url.as<CFURLRef>());
  EXPECT_EQ("where: /a/b c\n", tail.Text());

  tavelo_test::LogTail none;
  CFBaseDLL::print_URL("where:", nullptr);
  EXPECT_EQ(Failed("CFURLGetFileSystemRepresentation(theURL, resolveAgainstBase, (unsigned char*)path, "
                   "sizeof(path))",
                   "CFBaseDLL", "CFBaseDLL::print_URL") +
                "where: (null)\n",
            WithoutLineNumbers(none.Text()));
}

TEST(CFBaseDLL, BundleThatCannotBeMadeIsPrinted) {
  std::string const dir = fs::canonical(tavelo_test::MakeTempDir("dll")).string();
  std::string const path = dir + "/thing.bundle";
  Ref url(CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<UInt8 const*>(path.c_str()),
                                                  CFIndex(path.size()), false));
  CFBundleDLL loader(CFSTR("thing.bundle"));
  tavelo_test::LogTail tail;
  EXPECT_FALSE(loader.LoadFromURL(url.as<CFURLRef>()));
  EXPECT_EQ(Failed("mDLLHandle = ::CFBundleCreate(kCFAllocatorSystemDefault,bundleURL)", "CFBaseDLL",
                   "I_CFBundleDLL::LoadFromURL") +
                "I_CFBundleDLL::LoadFromURL:  " + path + "\n",
            WithoutLineNumbers(tail.Text()));
}

TEST(CFBaseDLL, ExecutableThatDoesNotLoad) {
  CFBundleDLL loader(CFSTR("TaveloNoSuchLibrary.framework"));
  tavelo_test::LogTail tail;
  EXPECT_FALSE(loader.LoadSystemFramework());
  EXPECT_NE(nullptr, loader.mDLLHandle);
  EXPECT_FALSE(loader.IsLoaded());
  EXPECT_EQ(Failed("fOk = ::CFBundleLoadExecutable(mDLLHandle)", "CFBaseDLL", "I_CFBundleDLL::LoadFromURL") +
                Failed("fOk = T_Executable::LoadFromURL(bundleURL)", "CFBaseDLL", "CFBundleDLL::LoadLocation"),
            WithoutLineNumbers(tail.Text()));
  int result = 0;
  EXPECT_FALSE(loader.CallByName("getpid", result));

  // A failed load is tried again; a name given replaces the stored one.
  tavelo_test::LogTail retry;
  EXPECT_TRUE(loader.LoadLocation(CFBaseDLL::kSystemFrameworks, CFSTR("System.framework")));
  EXPECT_TRUE(CFEqual(CFSTR("System.framework"), loader.mDLLName));
  EXPECT_TRUE(loader.IsLoaded());
  EXPECT_EQ("", retry.Text());
}

TEST(CFBaseDLL, SystemFrameworkLoadsOnceAndCallsByName) {
  CFBundleDLL loader(CFSTR("System.framework"));
  EXPECT_FALSE(loader.IsLoaded());
  tavelo_test::LogTail tail;
  ASSERT_TRUE(loader.LoadSystemFramework());
  CFBundleRef const handle = loader.mDLLHandle;
  EXPECT_TRUE(loader.LoadLocation(static_cast<CFBaseDLL::Location>(11)));  // already loaded
  EXPECT_EQ(handle, loader.mDLLHandle);
  pid_t pid = 0;
  EXPECT_TRUE(loader.CallByName("getpid", pid));
  EXPECT_EQ(::getpid(), pid);
  std::size_t length = 0;
  EXPECT_TRUE(loader.CallByName("strlen", length, static_cast<char const*>("four")));
  EXPECT_EQ(4u, length);
  int unused = 0;
  EXPECT_FALSE(loader.CallByName("TaveloNoSuchFunction", unused));
  EXPECT_EQ(nullptr, loader.FunctionPointerForName("TaveloNoSuchFunction"));
  EXPECT_EQ("", tail.Text());
}

TEST(CFBaseDLL, MediaServicesFromTheExecutableFolderLocation) {
  CFBundleDLL loader(CFSTR("QuickTime.framework"));
  ASSERT_TRUE(loader.LoadLocation(CFBaseDLL::kMainExecutableFolder));
  OSErr error = 1;
  EXPECT_TRUE(loader.CallByName("GetMoviesError", error));
  EXPECT_EQ(noErr, error);
}

TEST(QFramework, DataReferenceFromAFolderAndAName) {
  std::string const dir = fs::canonical(tavelo_test::MakeTempDir("media")).string();
  FSRef folder{};
  ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>(dir.c_str()), &folder, nullptr));
  Handle dataRef = nullptr;
  OSType type = 0;
  tavelo_test::LogTail tail;
  ASSERT_EQ(noErr, QFramework::NewDataReferenceFromFSRefCFString(&folder, CFSTR("clip.mov"), 0, &dataRef, &type));
  EXPECT_TRUE(QFramework::sQuickTime.IsLoaded());
  EXPECT_EQ(dir + "/clip.mov", std::string(*dataRef));
  EXPECT_EQ(FOUR_CHAR_CODE("path"), type);
  MediaServicesDisposeDataRef(dataRef);
  EXPECT_EQ(paramErr, QFramework::NewDataReferenceFromFSRefCFString(&folder, CFSTR(""), 0, &dataRef, &type));
  EXPECT_EQ("", tail.Text());

  ASSERT_EQ(noErr, QFramework::NewDataReferenceFromFSRef(&folder, 0, &dataRef, &type));
  EXPECT_EQ(dir, std::string(*dataRef));
  MediaServicesDisposeDataRef(dataRef);
}

TEST(QFramework, SampleDecodeTimes) {
  MediaRecord media = {100, 512};
  long long time = -1, duration = -1;
  tavelo_test::LogTail tail;
  QFramework::SampleNumToMediaDecodeTime(&media, 7, &time, &duration);
  EXPECT_EQ(7 * 512, time);
  EXPECT_EQ(512, duration);
  EXPECT_EQ("", tail.Text());

  tavelo_test::LogTail failed;
  QFramework::SampleNumToMediaDecodeTime(&media, 100, &time, &duration);
  EXPECT_EQ(Failed("error==noErr", "QFramework", "QFramework::SampleNumToMediaDecodeTime") +
                "-50=SampleNumToMediaDecodeTime()\n",
            WithoutLineNumbers(failed.Text()));
}

TEST(QFramework, UnavailableFramework) {
  // A fresh process whose loader names a framework that nothing provides.
  EXPECT_EXIT(
      {
        QFramework::sQuickTime.mDLLName = CFSTR("TaveloNoSuchLibrary.framework");
        std::string const loadFailed =
            Failed("fOk = ::CFBundleLoadExecutable(mDLLHandle)", "CFBaseDLL", "I_CFBundleDLL::LoadFromURL") +
            Failed("fOk = T_Executable::LoadFromURL(bundleURL)", "CFBaseDLL", "CFBundleDLL::LoadLocation");
        FSRef folder{};
        Handle dataRef = nullptr;
        OSType type = 0;
        tavelo_test::LogTail tail;
        if (QFramework::NewDataReferenceFromFSRefCFString(&folder, CFSTR("x"), 0, &dataRef, &type) != unimpErr)
          std::exit(2);
        if (WithoutLineNumbers(tail.Text()) !=
            loadFailed + Failed("sQuickTime.LoadSystemFramework()", "QFramework",
                                "QFramework::NewDataReferenceFromFSRefCFString"))
          std::exit(3);
        tavelo_test::LogTail sample;
        long long time = -1;
        QFramework::SampleNumToMediaDecodeTime(nullptr, 0, &time, nullptr);
        if (time != -1) std::exit(4);
        if (WithoutLineNumbers(sample.Text()) !=
            loadFailed +
                Failed("sQuickTime.LoadSystemFramework()", "QFramework", "QFramework::SampleNumToMediaDecodeTime") +
                Failed("sQuickTime.IsLoaded()", "QFramework", "QFramework::SampleNumToMediaDecodeTime"))
          std::exit(5);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(QFramework, MissingFunctions) {
  // A fresh process whose loader finds a library without the media functions.
  EXPECT_EXIT(
      {
        QFramework::sQuickTime.mDLLName = CFSTR("System.framework");
        FSRef folder{};
        Handle dataRef = nullptr;
        OSType type = 0;
        tavelo_test::LogTail tail;
        if (QFramework::NewDataReferenceFromFSRefCFString(&folder, CFSTR("x"), 0, &dataRef, &type) != unimpErr)
          std::exit(2);
        if (WithoutLineNumbers(tail.Text()) !=
            Failed("sQuickTime.CallByName(\"QTNewDataReferenceFromFSRefCFString\", status, fileRef, name, "
                   "static_cast<UInt32>(flags), dataRef, dataRefType)",
                   "QFramework", "QFramework::NewDataReferenceFromFSRefCFString"))
          std::exit(3);
        tavelo_test::LogTail sample;
        QFramework::SampleNumToMediaDecodeTime(nullptr, 0, nullptr, nullptr);
        if (WithoutLineNumbers(sample.Text()) !=
            Failed("sQuickTime.CallVoidByName(\"SampleNumToMediaDecodeTime\", theMedia, TimeValue64(sampleNum), "
                   "decodeTime, durationPerSample)",
                   "QFramework", "QFramework::SampleNumToMediaDecodeTime"))
          std::exit(4);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(SystemFramework, ChdirWithANullPathCallsNothing) {
  std::string const before = fs::current_path().string();
  tavelo_test::LogTail tail;
  EXPECT_EQ(-1, SystemFramework::chdir(nullptr));
  EXPECT_EQ(before, fs::current_path().string());
  EXPECT_EQ(Failed("in_utf8_path_string", "SystemFramework", "SystemFramework::chdir"),
            WithoutLineNumbers(tail.Text()));
}

TEST(SystemFramework, ChdirAndGetcwdByName) {
  std::string const before = fs::current_path().string();
  std::string const dir = fs::canonical(tavelo_test::MakeTempDir("cwd é")).string();
  EXPECT_EQ(0, SystemFramework::chdir(dir.c_str()));
  char buffer[PATH_MAX];
  EXPECT_EQ(buffer, SystemFramework::getcwd(buffer, sizeof buffer));
  EXPECT_EQ(dir, std::string(buffer));
  EXPECT_EQ(nullptr, SystemFramework::getcwd(buffer, 1));  // too small: the C library's answer
  EXPECT_EQ(-1, SystemFramework::chdir((dir + "/missing").c_str()));
  ASSERT_EQ(0, ::chdir(before.c_str()));
  EXPECT_TRUE(SystemFramework::sSystem.IsLoaded());
}

TEST(SystemFramework, MprotectByName) {
  long const page = ::sysconf(_SC_PAGESIZE);
  void* memory = ::mmap(nullptr, std::size_t(page), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(MAP_FAILED, memory);
  static_cast<char*>(memory)[0] = 'x';
  EXPECT_EQ(0, SystemFramework::mprotect(memory, static_cast<unsigned long>(page), PROT_READ));
  EXPECT_EQ('x', static_cast<char const*>(memory)[0]);
  // Not page-aligned: the C library refuses.
  EXPECT_EQ(-1, SystemFramework::mprotect(static_cast<char*>(memory) + 1, 1, PROT_READ));
  ::munmap(memory, std::size_t(page));
}

TEST(SystemFramework, UnavailableFrameworkGivesTheFallbacks) {
  EXPECT_EXIT(
      {
        SystemFramework::sSystem.mDLLName = CFSTR("TaveloNoSuchLibrary.framework");
        char buffer[64];
        if (SystemFramework::chdir("/") != -1) std::exit(2);
        if (SystemFramework::getcwd(buffer, sizeof buffer) != nullptr) std::exit(3);
        if (SystemFramework::mprotect(buffer, 1, 0) != 0) std::exit(4);
        tavelo_test::LogTail tail;
        SystemFramework::chdir(nullptr);
        // Not loaded comes first: the null path is not even looked at.
        if (WithoutLineNumbers(tail.Text()).find(" code : in_utf8_path_string") != std::string::npos) std::exit(5);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}
