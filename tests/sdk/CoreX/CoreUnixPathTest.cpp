#include "CoreUnixPath.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <grp.h>
#include <pwd.h>
#include <regex>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

using tavelo_test::LogTail;
using tavelo_test::MakeTempDir;

namespace {

// The log text with every line number replaced by '#'.
std::string Numberless(std::string const& text) {
  static std::regex const number(":[0-9]+ \\(");
  return std::regex_replace(text, number, ":# (");
}

std::string Failed(std::string const& code, std::string const& function) {
  return "VERIFY FAILED:  code : " + code + " in /Code/sdk/CoreX/CoreUnixPath:# (" + function +
         ")\n";
}

bool WriteFile(std::string const& path, char const* text = "x") {
  FILE* f = std::fopen(path.c_str(), "w");
  if (!f) return false;
  std::fputs(text, f);
  return std::fclose(f) == 0;
}

bool LinkExists(std::string const& path) {
  struct stat st {};
  return ::lstat(path.c_str(), &st) == 0;
}

// Restores the working folder when a test has moved it.
class CwdGuard {
 public:
  CwdGuard() : mFd(::open(".", O_RDONLY | O_DIRECTORY)) {}
  ~CwdGuard() {
    if (mFd >= 0) {
      [[maybe_unused]] int const ignored = ::fchdir(mFd);
      ::close(mFd);
    }
  }
  CwdGuard(CwdGuard const&) = delete;
  CwdGuard& operator=(CwdGuard const&) = delete;

 private:
  int mFd;
};

// access(2) grants root read and write whatever the mode bits say. These checks run in a
// forked child that, when the tests run as root, first becomes "nobody" in a folder of its
// own. The child reports each failed check as a line of text; empty means all passed.
class Unprivileged {
 public:
  Unprivileged() {
    if (::geteuid() != 0) {
      mFolder = MakeTempDir("unprivileged");
      return;
    }
    passwd const* nobody = ::getpwnam("nobody");
    if (!nobody || nobody->pw_uid == 0) {
      mSkipReason = "running as root and there is no unprivileged user \"nobody\"";
      return;
    }
    mUid = nobody->pw_uid;
    mGid = nobody->pw_gid;
    // The test root is private to root, so the folder lives directly in /tmp.
    std::string pattern = "/tmp/tavelo-unprivileged-XXXXXX";
    if (!::mkdtemp(pattern.data())) {
      mSkipReason = "cannot make a folder in /tmp";
      return;
    }
    mFolder = pattern;
    mOwnFolder = true;
    if (::chown(mFolder.c_str(), mUid, mGid) != 0 || ::chmod(mFolder.c_str(), 0700) != 0)
      mSkipReason = "cannot hand a folder to \"nobody\"";
  }
  ~Unprivileged() {
    if (mOwnFolder) {
      std::error_code ignored;
      std::filesystem::remove_all(mFolder, ignored);
    }
  }
  Unprivileged(Unprivileged const&) = delete;
  Unprivileged& operator=(Unprivileged const&) = delete;

  std::string const& SkipReason() const { return mSkipReason; }
  std::string const& Folder() const { return mFolder; }

  std::string Run(std::function<std::string(std::string const& folder)> const& checks) const {
    int fds[2];
    if (::pipe(fds) != 0) return "pipe failed";
    pid_t const pid = ::fork();
    if (pid < 0) return "fork failed";
    if (pid == 0) {
      ::close(fds[0]);
      std::string report;
      if (::geteuid() == 0 &&
          (::setgroups(0, nullptr) != 0 || ::setgid(mGid) != 0 || ::setuid(mUid) != 0))
        report = "could not drop privileges\n";
      else if (::geteuid() == 0 || ::getuid() == 0)
        report = "still root\n";
      else
        report = checks(mFolder);
      for (std::size_t done = 0; done < report.size();) {
        ssize_t const n = ::write(fds[1], report.data() + done, report.size() - done);
        if (n <= 0) break;
        done += std::size_t(n);
      }
      ::_exit(0);
    }
    ::close(fds[1]);
    std::string report;
    char buffer[256];
    for (ssize_t n; (n = ::read(fds[0], buffer, sizeof buffer)) > 0;) report.append(buffer, std::size_t(n));
    ::close(fds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) report += "child did not exit cleanly\n";
    return report;
  }

 private:
  std::string mFolder;
  std::string mSkipReason;
  uid_t mUid = 0;
  gid_t mGid = 0;
  bool mOwnFolder = false;
};

// A failed check as one line of the child's report.
std::string Check(bool ok, char const* what) { return ok ? "" : std::string(what) + "\n"; }

}  // namespace

// ---------------------------------------------------------------------------------------
// Parent into a path of this class

TEST(CoreUnixPath, GetParentIntoAPath) {
  CoreUnixPath parent("untouched");
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath("/a/b/c").GetParent(parent));
  EXPECT_EQ("/a/b/", parent.mPath);
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(CoreUnixPath("/a").GetParent(parent));
  EXPECT_EQ("/a/b/", parent.mPath);
  EXPECT_EQ(Failed("GetParent(parent_path)", "CoreUnixPath::GetParent"), Numberless(tail.Text()));
}

// ---------------------------------------------------------------------------------------
// Extensions

TEST(CoreUnixPath, GetPathExtensionFailuresLog) {
  std::string ext = "untouched";
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath::GetPathExtension(".profile", ext));
  EXPECT_FALSE(CoreUnixPath::GetPathExtension("noext", ext));
  EXPECT_FALSE(CoreUnixPath::GetPathExtension("a/", ext));
  EXPECT_EQ("untouched", ext);
  EXPECT_EQ(Failed("int(rfound_dot_at)>0", "CoreUnixPath::GetPathExtension") +
                Failed("int(rfound_dot_at)>0", "CoreUnixPath::GetPathExtension") +
                Failed("!IsRootPath(path.c_str())", "CoreUnixPath::GetPathExtension"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, HasPathExtensionWithoutAnExtensionLogs) {
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath::HasPathExtension("noext", "jpg"));
  EXPECT_EQ(Failed("int(rfound_dot_at)>0", "CoreUnixPath::GetPathExtension") +
                Failed("GetPathExtension(path, s_extension)", "CoreUnixPath::HasPathExtension"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, Stricmp) {
  EXPECT_EQ(0, stricmp("abc", "ABC"));
  EXPECT_EQ(0, stricmp("", ""));
  EXPECT_EQ(-1, stricmp("a", "b"));
  EXPECT_EQ(1, stricmp("B", "a"));
  EXPECT_EQ(-1, stricmp("ab", "abc"));
  EXPECT_EQ(1, stricmp("abc", "ab"));
  // Lower-cased first: 'A' becomes 'a' (97), which is above '[' (91).
  EXPECT_EQ(1, stricmp("A", "["));
  // Signed characters: a byte above 127 compares below every ASCII letter.
  EXPECT_EQ(-1, stricmp("\xe9", "a"));
  EXPECT_EQ(1, stricmp("a", "\xe9"));
}

// ---------------------------------------------------------------------------------------
// File system

TEST(CoreUnixPath, FileExistsFamilyOnAnOrdinaryFile) {
  std::string const dir = MakeTempDir("exists");
  std::string const file = dir + "/f";
  ASSERT_TRUE(WriteFile(file));
  ASSERT_EQ(0, ::chmod(file.c_str(), 0600));
  EXPECT_TRUE(CoreUnixPath::FileExists(file.c_str()));
  EXPECT_TRUE(CoreUnixPath::FileExistsRead(file.c_str()));
  EXPECT_TRUE(CoreUnixPath::FileExistsReadWrite(file.c_str()));
  EXPECT_TRUE(CoreUnixPath::FileExistsWrite(file.c_str()));
  EXPECT_TRUE(CoreUnixPath::FileExists(dir.c_str()));
  std::string const missing = dir + "/missing";
  EXPECT_FALSE(CoreUnixPath::FileExists(missing.c_str()));
  EXPECT_FALSE(CoreUnixPath::FileExistsRead(missing.c_str()));
  EXPECT_FALSE(CoreUnixPath::FileExistsReadWrite(missing.c_str()));
  EXPECT_FALSE(CoreUnixPath::FileExistsWrite(missing.c_str()));
}

TEST(CoreUnixPath, FileExistsWriteIsFalseForAWriteOnlyFile) {
  Unprivileged user;
  if (!user.SkipReason().empty()) GTEST_SKIP() << user.SkipReason();
  std::string const report = user.Run([](std::string const& folder) {
    std::string const writeOnly = folder + "/write-only";
    std::string const readOnly = folder + "/read-only";
    std::string const both = folder + "/read-write";
    ::umask(0);
    for (auto const& [path, mode] : {std::pair{writeOnly, 0200}, {readOnly, 0400}, {both, 0600}}) {
      int const fd = ::open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC, mode);
      if (fd < 0) return "cannot create " + path + "\n";
      ::close(fd);
    }
    std::string failures;
    // The write-only file really is writable for this user: only the read part fails.
    failures += Check(::access(writeOnly.c_str(), W_OK) == 0, "write-only: W_OK denied");
    failures += Check(CoreUnixPath::FileExists(writeOnly.c_str()), "write-only: FileExists");
    failures += Check(!CoreUnixPath::FileExistsRead(writeOnly.c_str()), "write-only: Read");
    failures += Check(!CoreUnixPath::FileExistsReadWrite(writeOnly.c_str()), "write-only: ReadWrite");
    failures += Check(!CoreUnixPath::FileExistsWrite(writeOnly.c_str()), "write-only: Write");
    failures += Check(CoreUnixPath::FileExistsRead(readOnly.c_str()), "read-only: Read");
    failures += Check(!CoreUnixPath::FileExistsReadWrite(readOnly.c_str()), "read-only: ReadWrite");
    failures += Check(!CoreUnixPath::FileExistsWrite(readOnly.c_str()), "read-only: Write");
    failures += Check(CoreUnixPath::FileExistsReadWrite(both.c_str()), "read-write: ReadWrite");
    failures += Check(CoreUnixPath::FileExistsWrite(both.c_str()), "read-write: Write");
    return failures;
  });
  EXPECT_EQ("", report);
}

TEST(CoreUnixPath, FileDelete) {
  std::string const dir = MakeTempDir("delete");
  std::string const file = dir + "/f";
  ASSERT_TRUE(WriteFile(file));
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath::FileDelete(file.c_str()));
  EXPECT_FALSE(LinkExists(file));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(CoreUnixPath::FileDelete(file.c_str()));
  EXPECT_EQ(Failed("fOk = (0==unlink(in_path))", "CoreUnixPath::FileDelete"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, FolderDelete) {
  std::string const dir = MakeTempDir("rmdir");
  std::string const full = dir + "/full";
  std::string const empty = dir + "/empty";
  ASSERT_EQ(0, ::mkdir(full.c_str(), 0755));
  ASSERT_EQ(0, ::mkdir(empty.c_str(), 0755));
  ASSERT_TRUE(WriteFile(full + "/f"));
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath::FolderDelete(empty.c_str()));
  EXPECT_FALSE(LinkExists(empty));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(CoreUnixPath::FolderDelete(full.c_str()));
  EXPECT_TRUE(LinkExists(full));
  EXPECT_EQ(Failed("fOk = (0==rmdir(in_path))", "CoreUnixPath::FolderDelete"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, MakeSymbolicLinkNamesTheLinkAfterTo) {
  std::string const dir = MakeTempDir("symlink");
  std::string const target = dir + "/target";
  ASSERT_EQ(0, ::mkdir(target.c_str(), 0755));
  std::string const link = dir + "/link";
  LogTail tail;
  // One trailing slash is removed from both.
  EXPECT_TRUE(CoreUnixPath::MakeSymbolicLinkFromTo((target + "/").c_str(), (link + "/").c_str()));
  char buffer[PATH_MAX] = {};
  ASSERT_GT(::readlink(link.c_str(), buffer, sizeof buffer - 1), 0);
  EXPECT_STREQ(target.c_str(), buffer);
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, MakeSymbolicLinkOverAnExistingNameLogs) {
  std::string const dir = MakeTempDir("symlink");
  std::string const target = dir + "/target";
  std::string const taken = dir + "/taken";
  ASSERT_TRUE(WriteFile(target));
  ASSERT_TRUE(WriteFile(taken, "keep"));
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath::MakeSymbolicLinkFromTo(target.c_str(), taken.c_str()));
  EXPECT_EQ("keep", tavelo_test::ReadFile(taken));
  EXPECT_EQ(Failed("fOk = (0==posix_result)", "CoreUnixPath::MakeSymbolicLinkFromTo"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, MakeSymbolicLinkFromAMissingTargetDoesNothing) {
  std::string const dir = MakeTempDir("symlink");
  std::string const link = dir + "/link";
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath::MakeSymbolicLinkFromTo((dir + "/missing").c_str(), link.c_str()));
  EXPECT_FALSE(LinkExists(link));
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, MakeSymbolicLinkFromAnUnreadableTargetDoesNothing) {
  Unprivileged user;
  if (!user.SkipReason().empty()) GTEST_SKIP() << user.SkipReason();
  std::string const link = user.Folder() + "/link";
  std::string const report = user.Run([&link](std::string const& folder) {
    std::string const target = folder + "/unreadable";
    ::umask(0);
    int const fd = ::open(target.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0200);
    if (fd < 0) return std::string("cannot create the target\n");
    ::close(fd);
    std::string failures;
    // The link could be made: the folder is this user's own.
    failures += Check(::access(folder.c_str(), W_OK) == 0, "folder not writable");
    failures += Check(!CoreUnixPath::MakeSymbolicLinkFromTo(target.c_str(), link.c_str()),
                      "MakeSymbolicLinkFromTo succeeded");
    failures += Check(!LinkExists(link), "link was created");
    return failures;
  });
  EXPECT_EQ("", report);
  EXPECT_FALSE(LinkExists(link));
}

TEST(CoreUnixPath, ChdirAndGetcwd) {
  CwdGuard guard;
  std::string const dir = MakeTempDir("cwd");
  char resolved[PATH_MAX];
  ASSERT_NE(nullptr, ::realpath(dir.c_str(), resolved));
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath(dir.c_str()).chdir());
  CoreUnixPath cwd("untouched");
  EXPECT_TRUE(cwd.getcwd());
  EXPECT_EQ(resolved, cwd.mPath);
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, ChdirFailuresLog) {
  CwdGuard guard;
  std::string const dir = MakeTempDir("cwd");
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath().chdir());
  EXPECT_FALSE(CoreUnixPath((dir + "/missing").c_str()).chdir());
  CoreUnixPath cwd;
  ASSERT_TRUE(cwd.getcwd());
  EXPECT_NE(dir + "/missing", cwd.mPath);
  EXPECT_EQ(Failed("!IsEmpty()", "CoreUnixPath::chdir") +
                Failed("fOk = (0==::chdir(mPath.c_str()))", "CoreUnixPath::chdir"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, GetcwdOfARemovedFolderLogs) {
  CwdGuard guard;
  std::string const dir = MakeTempDir("cwd") + "/gone";
  ASSERT_EQ(0, ::mkdir(dir.c_str(), 0755));
  ASSERT_EQ(0, ::chdir(dir.c_str()));
  ASSERT_EQ(0, ::rmdir(dir.c_str()));
  CoreUnixPath cwd("untouched");
  LogTail tail;
  EXPECT_FALSE(cwd.getcwd());
  EXPECT_EQ("untouched", cwd.mPath);
  EXPECT_EQ(Failed("::getcwd(cwd.buffer,sizeof(cwd.buffer))", "CoreUnixPath::getcwd"),
            Numberless(tail.Text()));
}

// ---------------------------------------------------------------------------------------
// From a file reference

TEST(CoreUnixPath, FromAFileReference) {
  std::string const dir = MakeTempDir("ref");
  std::string const file = dir + "/f.jpg";
  ASSERT_TRUE(WriteFile(file));
  char resolved[PATH_MAX];
  ASSERT_NE(nullptr, ::realpath(file.c_str(), resolved));
  CoreRefPath ref;
  LogTail tail;
  ASSERT_TRUE(ref.Construct(file.c_str()));
  ASSERT_NE(nullptr, ref.GetUnixPath());
  EXPECT_STREQ(resolved, ref.GetUnixPath());
  CoreUnixPath constructed(ref);
  EXPECT_EQ(resolved, constructed.mPath);
  CoreUnixPath assigned("other");
  assigned = ref;
  EXPECT_EQ(resolved, assigned.mPath);
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, FromAStaleFileReferenceLogsAndKeepsThePath) {
  std::string const dir = MakeTempDir("ref");
  std::string const file = dir + "/f";
  ASSERT_TRUE(WriteFile(file));
  CoreRefPath ref;
  ASSERT_TRUE(ref.Construct(file.c_str()));
  ASSERT_EQ(0, ::unlink(file.c_str()));
  EXPECT_EQ(nullptr, ref.GetUnixPath());
  LogTail tail;
  CoreUnixPath constructed(ref);
  EXPECT_TRUE(constructed.IsEmpty());
  CoreUnixPath assigned("keep");
  assigned = ref;
  EXPECT_EQ("keep", assigned.mPath);
  // A path that is not empty reports success on its old value, so nothing is logged.
  EXPECT_EQ(Failed("Construct(copyOf.GetUnixPath())", "CoreUnixPath::CoreUnixPath"),
            Numberless(tail.Text()));
  CoreUnixPath empty;
  empty = ref;
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_EQ(Failed("Construct(copyOf.GetUnixPath())", "CoreUnixPath::CoreUnixPath") +
                Failed("Construct(copyOf.GetUnixPath())", "CoreUnixPath::operator="),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, FileReferenceToAMissingPathFails) {
  std::string const dir = MakeTempDir("ref");
  CoreRefPath ref;
  LogTail tail;
  EXPECT_FALSE(ref.Construct((dir + "/missing").c_str()));
  EXPECT_EQ(nullptr, ref.GetUnixPath());
  EXPECT_EQ("VERIFY_ERR FAILED: OSErr:-43  code : FSPathMakeRef(reinterpret_cast<UInt8 "
            "const*>(in_path), &mFSRef, nullptr) in /Code/sdk/CoreX/CoreUnixPath:# "
            "(CoreRefPath::Construct)\n",
            Numberless(tail.Text()));
}

// ---------------------------------------------------------------------------------------
// From platform strings and URLs

TEST(CoreUnixPath, FromAPlatformStringTakesUTF8) {
  CFStringRef const text =
      CFStringCreateWithCString(kCFAllocatorDefault, "/Bilder/\xC3\xA9t\xC3\xA9 1.jpg", kCFStringEncodingUTF8);
  ASSERT_NE(nullptr, text);
  LogTail tail;
  CoreUnixPath path;
  EXPECT_TRUE(path.Construct(text));
  EXPECT_EQ("/Bilder/\xC3\xA9t\xC3\xA9 1.jpg", path.mPath);
  EXPECT_EQ("/Bilder/\xC3\xA9t\xC3\xA9 1.jpg", CoreUnixPath(text).mPath);
  EXPECT_EQ("", tail.Text());
  // Borrowed: the caller's string is still its own.
  EXPECT_EQ(1, CFGetRetainCount(text));
  CFRelease(text);
}

TEST(CoreUnixPath, FromANullOrEmptyPlatformStringLogs) {
  CFStringRef const empty = CFStringCreateWithCString(kCFAllocatorDefault, "", kCFStringEncodingUTF8);
  ASSERT_NE(nullptr, empty);
  CoreUnixPath path("keep");
  LogTail tail;
  EXPECT_FALSE(path.Construct(static_cast<CFStringRef>(nullptr)));
  EXPECT_EQ("keep", path.mPath);
  EXPECT_FALSE(path.Construct(empty));
  EXPECT_TRUE(CoreUnixPath(static_cast<CFStringRef>(nullptr)).IsEmpty());
  EXPECT_EQ(Failed("unix_file_path", "CoreUnixPath::Construct") +
                Failed("fOk = TCFString(unix_file_path).GetValue(mPath)", "CoreUnixPath::Construct") +
                Failed("unix_file_path", "CoreUnixPath::Construct"),
            Numberless(tail.Text()));
  CFRelease(empty);
}

TEST(CoreUnixPath, FromAPlatformURL) {
  CFStringRef const file = CFStringCreateWithCString(kCFAllocatorDefault, "/Bilder/caf\xC3\xA9 2.png",
                                                     kCFStringEncodingUTF8);
  CFStringRef const folder = CFStringCreateWithCString(kCFAllocatorDefault, "/Bilder/Tavelo",
                                                       kCFStringEncodingUTF8);
  CFStringRef const relative = CFStringCreateWithCString(kCFAllocatorDefault, "pics/a.jpg",
                                                         kCFStringEncodingUTF8);
  ASSERT_TRUE(file && folder && relative);
  CFURLRef const fileURL = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, file, kCFURLPOSIXPathStyle, false);
  CFURLRef const folderURL = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, folder, kCFURLPOSIXPathStyle, true);
  CFURLRef const relativeURL =
      CFURLCreateWithFileSystemPath(kCFAllocatorDefault, relative, kCFURLPOSIXPathStyle, false);
  ASSERT_TRUE(fileURL && folderURL && relativeURL);
  LogTail tail;
  CoreUnixPath path;
  EXPECT_TRUE(path.Construct(fileURL));
  EXPECT_EQ("/Bilder/caf\xC3\xA9 2.png", path.mPath);
  // The platform gives a folder's path without its trailing slash.
  EXPECT_EQ("/Bilder/Tavelo", CoreUnixPath(folderURL).mPath);
  EXPECT_EQ("pics/a.jpg", CoreUnixPath(relativeURL).mPath);
  EXPECT_EQ("", tail.Text());
  for (CFTypeRef object : {CFTypeRef(fileURL), CFTypeRef(folderURL), CFTypeRef(relativeURL),
                           CFTypeRef(file), CFTypeRef(folder), CFTypeRef(relative)})
    CFRelease(object);
}

TEST(CoreUnixPath, FromANullURLOrAnObjectWithoutAPathLogs) {
  CFStringRef const notAURL = CFStringCreateWithCString(kCFAllocatorDefault, "/a", kCFStringEncodingUTF8);
  ASSERT_NE(nullptr, notAURL);
  CoreUnixPath path("keep");
  LogTail tail;
  EXPECT_FALSE(path.Construct(static_cast<CFURLRef>(nullptr)));
  EXPECT_FALSE(path.Construct(reinterpret_cast<CFURLRef>(notAURL)));
  EXPECT_EQ("keep", path.mPath);
  EXPECT_EQ(Failed("unix_file_url", "CoreUnixPath::Construct") +
                Failed("posix_file_path", "CoreUnixPath::Construct"),
            Numberless(tail.Text()));
  CFRelease(notAURL);
}
