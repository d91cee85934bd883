#include "CFTestRef.h"
#include "CoreFoundation.h"
#include "MediaServices.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <string>
#include <unistd.h>

// Found by name in the main bundle: programs export their symbols.
extern "C" int TaveloBundleTestProbe() { return 4711; }

using tavelo_test::Ref;

namespace {

namespace fs = std::filesystem;

std::string Exe() { return fs::canonical("/proc/self/exe").string(); }
std::string ExeDir() { return fs::path(Exe()).parent_path().string(); }
// The build puts the media services in lib/ beside the tests folder.
std::string MediaServicesLibrary() { return fs::canonical(ExeDir() + "/../lib/libQuickTime.so").string(); }

CFURLRef URL(std::string const& path, bool isDirectory = false) {
  return CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<UInt8 const*>(path.data()),
                                                 CFIndex(path.size()), isDirectory);
}

std::string Path(CFURLRef url) {
  char path[PATH_MAX];
  if (!url || !CFURLGetFileSystemRepresentation(url, true, reinterpret_cast<UInt8*>(path), sizeof path))
    return "<none>";
  return path;
}

void* Function(CFBundleRef bundle, char const* name) {
  Ref n(CFStringCreateWithCString(nullptr, name, kCFStringEncodingUTF8));
  return CFBundleGetFunctionPointerForName(bundle, n.as<CFStringRef>());
}

// The file a loaded function came from.
std::string LoadedFrom(void* function) {
  Dl_info info{};
  if (!function || !::dladdr(function, &info) || !info.dli_fname) return "<none>";
  return fs::canonical(info.dli_fname).string();
}

}  // namespace

TEST(CFBundle, MainBundleIsTheRunningProgram) {
  CFBundleRef main = CFBundleGetMainBundle();
  ASSERT_NE(nullptr, main);
  EXPECT_EQ(main, CFBundleGetMainBundle());
  EXPECT_EQ(CFBundleGetTypeID(), CFGetTypeID(main));
  EXPECT_TRUE(CFBundleIsExecutableLoaded(main));
  EXPECT_TRUE(CFBundleLoadExecutable(main));

  Ref exe(CFBundleCopyExecutableURL(main));
  EXPECT_EQ(Exe(), Path(exe.as<CFURLRef>()));
  Ref bundle(CFBundleCopyBundleURL(main));
  EXPECT_EQ(ExeDir(), Path(bundle.as<CFURLRef>()));

  std::string const prefix = fs::path(ExeDir()).parent_path().string();
  Ref privateFrameworks(CFBundleCopyPrivateFrameworksURL(main));
  EXPECT_EQ(prefix + "/lib/tavelo", Path(privateFrameworks.as<CFURLRef>()));
  EXPECT_TRUE(CFURLHasDirectoryPath(privateFrameworks.as<CFURLRef>()));
  Ref sharedFrameworks(CFBundleCopySharedFrameworksURL(main));
  EXPECT_EQ(prefix + "/lib", Path(sharedFrameworks.as<CFURLRef>()));
  Ref resources(CFBundleCopyResourcesDirectoryURL(main));
  EXPECT_EQ(prefix + "/share/tavelo", Path(resources.as<CFURLRef>()));
  Ref plugIns(CFBundleCopyBuiltInPlugInsURL(main));
  EXPECT_EQ(prefix + "/lib/tavelo/plugins", Path(plugIns.as<CFURLRef>()));
  Ref support(CFBundleCopySupportFilesDirectoryURL(main));
  EXPECT_EQ(prefix, Path(support.as<CFURLRef>()));

  auto probe = reinterpret_cast<int (*)()>(Function(main, "TaveloBundleTestProbe"));
  ASSERT_NE(nullptr, probe);
  EXPECT_EQ(4711, probe());
  EXPECT_EQ(nullptr, Function(main, "TaveloNoSuchFunction"));
}

TEST(CFBundle, SystemFrameworkIsTheCLibrary) {
  Ref url(URL("/nowhere/System.framework", true));
  Ref bundle(CFBundleCreate(nullptr, url.as<CFURLRef>()));
  ASSERT_NE(nullptr, bundle.mRef);
  EXPECT_FALSE(CFBundleIsExecutableLoaded(bundle.as<CFBundleRef>()));
  ASSERT_TRUE(CFBundleLoadExecutable(bundle.as<CFBundleRef>()));
  EXPECT_TRUE(CFBundleIsExecutableLoaded(bundle.as<CFBundleRef>()));
  auto getpid_ = reinterpret_cast<pid_t (*)()>(Function(bundle.as<CFBundleRef>(), "getpid"));
  ASSERT_NE(nullptr, getpid_);
  EXPECT_EQ(::getpid(), getpid_());
  EXPECT_NE(nullptr, Function(bundle.as<CFBundleRef>(), "chdir"));
  EXPECT_NE(nullptr, Function(bundle.as<CFBundleRef>(), "mprotect"));
  EXPECT_EQ(nullptr, Function(bundle.as<CFBundleRef>(), "no_such_function_here"));
  // Executables found by name have no path of their own.
  EXPECT_EQ(nullptr, CFBundleCopyExecutableURL(bundle.as<CFBundleRef>()));
}

TEST(CFBundle, FrameworkNotBesideIsFoundByTheDynamicLinker) {
  Ref url(URL("/usr/lib/QuickTime.framework"));
  Ref bundle(CFBundleCreate(nullptr, url.as<CFURLRef>()));
  ASSERT_NE(nullptr, bundle.mRef);
  ASSERT_TRUE(CFBundleLoadExecutable(bundle.as<CFBundleRef>()));
  void* f = Function(bundle.as<CFBundleRef>(), "GetMoviesError");
  EXPECT_EQ(MediaServicesLibrary(), LoadedFrom(f));
}

TEST(CFBundle, ExecutableInsideTheFrameworkComesFirst) {
  std::string const dir = tavelo_test::MakeTempDir("bundles");
  fs::create_directory(dir + "/Probe.framework");
  fs::copy_file(MediaServicesLibrary(), dir + "/Probe.framework/Probe");
  fs::copy_file(MediaServicesLibrary(), dir + "/libProbe.so");
  Ref url(URL(dir + "/Probe.framework", true));
  Ref bundle(CFBundleCreate(nullptr, url.as<CFURLRef>()));
  ASSERT_NE(nullptr, bundle.mRef);
  Ref exe(CFBundleCopyExecutableURL(bundle.as<CFBundleRef>()));
  EXPECT_EQ(fs::canonical(dir).string() + "/Probe.framework/Probe", Path(exe.as<CFURLRef>()));
  ASSERT_TRUE(CFBundleLoadExecutable(bundle.as<CFBundleRef>()));
  EXPECT_EQ(fs::canonical(dir + "/Probe.framework/Probe").string(),
            LoadedFrom(Function(bundle.as<CFBundleRef>(), "GetMoviesError")));
  Ref resources(CFBundleCopyResourcesDirectoryURL(bundle.as<CFBundleRef>()));
  EXPECT_EQ(fs::canonical(dir).string() + "/Probe.framework/Resources", Path(resources.as<CFURLRef>()));
}

TEST(CFBundle, SharedObjectBesideTheFrameworkFolder) {
  std::string const dir = tavelo_test::MakeTempDir("bundles");
  fs::copy_file(MediaServicesLibrary(), dir + "/libBeside.so");
  Ref url(URL(dir + "/Beside.framework"));
  Ref bundle(CFBundleCreate(nullptr, url.as<CFURLRef>()));
  ASSERT_NE(nullptr, bundle.mRef);
  ASSERT_TRUE(CFBundleLoadExecutable(bundle.as<CFBundleRef>()));
  EXPECT_EQ(fs::canonical(dir + "/libBeside.so").string(),
            LoadedFrom(Function(bundle.as<CFBundleRef>(), "GetMoviesError")));
}

TEST(CFBundle, PlainSharedObjectFile) {
  std::string const dir = tavelo_test::MakeTempDir("bundles");
  fs::copy_file(MediaServicesLibrary(), dir + "/plain.so");
  Ref url(URL(dir + "/plain.so"));
  Ref bundle(CFBundleCreate(nullptr, url.as<CFURLRef>()));
  ASSERT_NE(nullptr, bundle.mRef);
  EXPECT_NE(nullptr, Function(bundle.as<CFBundleRef>(), "SampleNumToMediaDecodeTime"));
  EXPECT_TRUE(CFBundleIsExecutableLoaded(bundle.as<CFBundleRef>()));
}

TEST(CFBundle, MissingBundlesAndExecutables) {
  std::string const dir = tavelo_test::MakeTempDir("bundles");
  Ref nothing(URL(dir + "/nothing.bundle"));
  EXPECT_EQ(nullptr, CFBundleCreate(nullptr, nothing.as<CFURLRef>()));
  EXPECT_EQ(nullptr, CFBundleCreate(nullptr, nullptr));

  // A framework that nothing provides is a bundle that does not load.
  Ref unknown(URL(dir + "/TaveloNoSuchLibrary.framework"));
  Ref bundle(CFBundleCreate(nullptr, unknown.as<CFURLRef>()));
  ASSERT_NE(nullptr, bundle.mRef);
  EXPECT_FALSE(CFBundleLoadExecutable(bundle.as<CFBundleRef>()));
  EXPECT_FALSE(CFBundleIsExecutableLoaded(bundle.as<CFBundleRef>()));
  EXPECT_EQ(nullptr, Function(bundle.as<CFBundleRef>(), "GetMoviesError"));

  // A folder without an executable of its name.
  fs::create_directory(dir + "/Empty.bundle");
  Ref empty(URL(dir + "/Empty.bundle", true));
  Ref emptyBundle(CFBundleCreate(nullptr, empty.as<CFURLRef>()));
  ASSERT_NE(nullptr, emptyBundle.mRef);
  EXPECT_FALSE(CFBundleLoadExecutable(emptyBundle.as<CFBundleRef>()));

  // Not a bundle at all.
  EXPECT_FALSE(CFBundleLoadExecutable(reinterpret_cast<CFBundleRef>(const_cast<void*>(nothing.mRef))));
  EXPECT_FALSE(CFBundleIsExecutableLoaded(nullptr));
  EXPECT_EQ(nullptr, CFBundleGetFunctionPointerForName(nullptr, CFSTR("x")));
}

TEST(CFBundle, DescriptionNamesTheBundle) {
  Ref url(URL("/x/System.framework"));
  Ref bundle(CFBundleCreate(nullptr, url.as<CFURLRef>()));
  Ref text(CFCopyDescription(bundle.mRef));
  char buffer[512];
  ASSERT_TRUE(CFStringGetCString(text.as<CFStringRef>(), buffer, sizeof buffer, kCFStringEncodingUTF8));
  EXPECT_NE(nullptr, std::strstr(buffer, "<CFBundle 0x"));
  EXPECT_NE(nullptr, std::strstr(buffer, "path = /x/System.framework, executable = libc.so.6, not loaded"));
}

TEST(MediaServices, DataReferenceAndSampleTimingByName) {
  Ref url(URL("/usr/lib/QuickTime.framework"));
  Ref bundle(CFBundleCreate(nullptr, url.as<CFURLRef>()));
  CFBundleRef b = bundle.as<CFBundleRef>();
  auto newDataRef = reinterpret_cast<QTNewDataReferenceFromFSRefCFStringProc>(
      Function(b, "QTNewDataReferenceFromFSRefCFString"));
  auto sampleTime = reinterpret_cast<SampleNumToMediaDecodeTimeProc>(Function(b, "SampleNumToMediaDecodeTime"));
  auto moviesError = reinterpret_cast<GetMoviesErrorProc>(Function(b, "GetMoviesError"));
  ASSERT_NE(nullptr, newDataRef);
  ASSERT_NE(nullptr, sampleTime);
  ASSERT_NE(nullptr, moviesError);

  std::string const dir = fs::canonical(tavelo_test::MakeTempDir("media")).string();
  FSRef folder{};
  ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>(dir.c_str()), &folder, nullptr));
  Handle dataRef = nullptr;
  OSType type = 0;
  ASSERT_EQ(noErr, newDataRef(&folder, CFSTR("clip é.mov"), 0, &dataRef, &type));
  ASSERT_NE(nullptr, dataRef);
  EXPECT_EQ(dir + "/clip é.mov", std::string(*dataRef));
  EXPECT_EQ(FOUR_CHAR_CODE("path"), type);
  EXPECT_EQ(noErr, moviesError());
  MediaServicesDisposeDataRef(dataRef);

  EXPECT_EQ(paramErr, newDataRef(&folder, CFSTR("a/b"), 0, &dataRef, &type));
  EXPECT_EQ(paramErr, moviesError());
  EXPECT_EQ(paramErr, newDataRef(&folder, nullptr, 0, &dataRef, &type));
  FSRef stale = folder;
  stale.inode += 1;
  EXPECT_EQ(invalidDataRef, newDataRef(&stale, CFSTR("x"), 0, &dataRef, &type));

  MediaRecord media = {10, 100};
  TimeValue64 time = -1, duration = -1;
  sampleTime(&media, 3, &time, &duration);
  EXPECT_EQ(noErr, moviesError());
  EXPECT_EQ(300, time);
  EXPECT_EQ(100, duration);
  sampleTime(&media, 10, &time, &duration);
  EXPECT_EQ(paramErr, moviesError());
  sampleTime(nullptr, 0, &time, &duration);
  EXPECT_EQ(invalidMedia, moviesError());
}

TEST(MediaServices, DirectDataReferenceFromAReference) {
  std::string const dir = fs::canonical(tavelo_test::MakeTempDir("media")).string();
  FSRef folder{};
  ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>(dir.c_str()), &folder, nullptr));
  Handle dataRef = nullptr;
  OSType type = 0;
  ASSERT_EQ(noErr, QTNewDataReferenceFromFSRef(&folder, 0, &dataRef, &type));
  EXPECT_EQ(dir, std::string(*dataRef));
  EXPECT_EQ(PathDataHandlerSubType, type);
  MediaServicesDisposeDataRef(dataRef);
  EXPECT_EQ(invalidDataRef, QTNewDataReferenceFromFSRef(nullptr, 0, &dataRef, &type));
  EXPECT_EQ(paramErr, QTNewDataReferenceFromFSRef(&folder, 0, nullptr, &type));
}
