#include "CoreUnixPath.h"
#include "TestLog.h"

#include <gmock/gmock.h>
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
#include <type_traits>
#include <unistd.h>
#include <utility>
#include <vector>

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

using Pairs = std::vector<std::pair<std::string, std::string>>;

// GetFirstPair, then GetNextPair until it says the walk is over.
Pairs Walk(CoreUnixPath const& path) {
  Pairs pairs;
  std::string base;
  std::string name;
  if (!path.GetFirstPair(base, name)) return pairs;
  pairs.emplace_back(base, name);
  for (int guard = 0; guard < 64 && path.GetNextPair(base, name); ++guard)
    pairs.emplace_back(base, name);
  return pairs;
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
// Value class

TEST(CoreUnixPath, IsAPolymorphicValueWithOnePathField) {
  EXPECT_TRUE(std::is_polymorphic_v<CoreUnixPath>);
  EXPECT_TRUE(std::has_virtual_destructor_v<CoreUnixPath>);
  CoreUnixPath original("/a/b");
  CoreUnixPath copy(original);
  EXPECT_EQ("/a/b", copy.mPath);
  CoreUnixPath assigned("other");
  assigned = original;
  EXPECT_EQ("/a/b", assigned.mPath);
  original.mPath = "changed";
  EXPECT_EQ("/a/b", copy.mPath);
  EXPECT_EQ(std::string("/"), CoreUnixPath::s_slash_str_const);
}

TEST(CoreUnixPath, DefaultIsEmpty) {
  CoreUnixPath path;
  EXPECT_TRUE(path.IsEmpty());
  EXPECT_EQ("", path.mPath);
  EXPECT_STREQ("", static_cast<char const*>(path));
}

TEST(CoreUnixPath, ConstructTakesTextAndReportsNonEmpty) {
  CoreUnixPath path;
  EXPECT_TRUE(path.Construct("/usr/bin"));
  EXPECT_EQ("/usr/bin", path.mPath);
  EXPECT_STREQ("/usr/bin", static_cast<char const*>(path));
  // A null text leaves the path and reports on the old value.
  EXPECT_TRUE(path.Construct(static_cast<char const*>(nullptr)));
  EXPECT_EQ("/usr/bin", path.mPath);
  EXPECT_FALSE(path.Construct(""));
  EXPECT_TRUE(path.IsEmpty());
  EXPECT_FALSE(path.Construct(static_cast<char const*>(nullptr)));
  EXPECT_TRUE(path.IsEmpty());
}

TEST(CoreUnixPath, ConstructorFromTextIgnoresNull) {
  LogTail tail;
  EXPECT_EQ("a/b", CoreUnixPath("a/b").mPath);
  EXPECT_TRUE(CoreUnixPath(static_cast<char const*>(nullptr)).IsEmpty());
  EXPECT_TRUE(CoreUnixPath("").IsEmpty());
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, EmptyIsANoOp) {
  CoreUnixPath path("/keep/me");
  path.Empty();
  EXPECT_FALSE(path.IsEmpty());
  EXPECT_EQ("/keep/me", path.mPath);
}

// ---------------------------------------------------------------------------------------
// Classification

TEST(CoreUnixPath, IsRootPathTestsTheSecondCharacter) {
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath::IsRootPath("/"));
  EXPECT_TRUE(CoreUnixPath::IsRootPath("a/"));
  EXPECT_TRUE(CoreUnixPath::IsRootPath("//"));
  EXPECT_FALSE(CoreUnixPath::IsRootPath(""));
  EXPECT_FALSE(CoreUnixPath::IsRootPath(nullptr));
  EXPECT_FALSE(CoreUnixPath::IsRootPath("a"));
  EXPECT_FALSE(CoreUnixPath::IsRootPath("ab/"));
  EXPECT_FALSE(CoreUnixPath::IsRootPath("a/b"));
  EXPECT_FALSE(CoreUnixPath::IsRootPath("//a"));
  EXPECT_TRUE(CoreUnixPath("x/").IsRoot());
  EXPECT_FALSE(CoreUnixPath("/").IsRoot());
  EXPECT_FALSE(CoreUnixPath().IsRoot());
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, IsFullyQualified) {
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath::IsFullyQualified("/"));
  EXPECT_TRUE(CoreUnixPath::IsFullyQualified("/a/b"));
  EXPECT_FALSE(CoreUnixPath::IsFullyQualified("a/b"));
  EXPECT_FALSE(CoreUnixPath::IsFullyQualified("a"));
  EXPECT_FALSE(CoreUnixPath::IsFullyQualified(""));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(CoreUnixPath::IsFullyQualified(nullptr));
  EXPECT_EQ(Failed("CoreUnixPath_NotNull", "CoreUnixPath::IsFullyQualified"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, IsPartiallyQualified) {
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath::IsPartiallyQualified("a/b"));
  EXPECT_TRUE(CoreUnixPath::IsPartiallyQualified("a/"));
  EXPECT_TRUE(CoreUnixPath::IsPartiallyQualified("./a"));
  EXPECT_FALSE(CoreUnixPath::IsPartiallyQualified("/a"));
  EXPECT_FALSE(CoreUnixPath::IsPartiallyQualified("a"));
  EXPECT_FALSE(CoreUnixPath::IsPartiallyQualified(""));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(CoreUnixPath::IsPartiallyQualified(nullptr));
  EXPECT_EQ(Failed("CoreUnixPath_NotNull", "CoreUnixPath::IsPartiallyQualified"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, IsQualified) {
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath::IsQualified("/a"));
  EXPECT_TRUE(CoreUnixPath::IsQualified("a/b"));
  EXPECT_FALSE(CoreUnixPath::IsQualified("a"));
  EXPECT_FALSE(CoreUnixPath::IsQualified(""));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(CoreUnixPath::IsQualified(nullptr));
  EXPECT_EQ(Failed("CoreUnixPath_NotNull", "CoreUnixPath::IsQualified"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, IsJustNameIsSilentForNullAndEmpty) {
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath::IsJustName("name"));
  EXPECT_TRUE(CoreUnixPath::IsJustName(".profile"));
  EXPECT_FALSE(CoreUnixPath::IsJustName("a/b"));
  EXPECT_FALSE(CoreUnixPath::IsJustName("/a"));
  EXPECT_FALSE(CoreUnixPath::IsJustName(""));
  EXPECT_FALSE(CoreUnixPath::IsJustName(nullptr));
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, MemberClassificationOfAPath) {
  LogTail tail;
  CoreUnixPath full("/a/b");
  CoreUnixPath partial("a/b");
  CoreUnixPath name("a");
  EXPECT_TRUE(full.IsFullyQualified());
  EXPECT_FALSE(full.IsPartiallyQualified());
  EXPECT_TRUE(full.IsQualified());
  EXPECT_FALSE(full.IsJustName());
  EXPECT_FALSE(partial.IsFullyQualified());
  EXPECT_TRUE(partial.IsPartiallyQualified());
  EXPECT_TRUE(partial.IsQualified());
  EXPECT_FALSE(partial.IsJustName());
  EXPECT_FALSE(name.IsFullyQualified());
  EXPECT_FALSE(name.IsPartiallyQualified());
  EXPECT_FALSE(name.IsQualified());
  EXPECT_TRUE(name.IsJustName());
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, MemberClassificationOfAnEmptyPathLogs) {
  CoreUnixPath empty;
  LogTail tail;
  EXPECT_FALSE(empty.IsFullyQualified());
  EXPECT_FALSE(empty.IsPartiallyQualified());
  EXPECT_FALSE(empty.IsQualified());
  EXPECT_FALSE(empty.IsJustName());
  EXPECT_EQ(Failed("!IsEmpty()", "CoreUnixPath::IsFullyQualified") +
                Failed("!IsEmpty()", "CoreUnixPath::IsPartiallyQualified") +
                Failed("!IsEmpty()", "CoreUnixPath::IsQualified") +
                Failed("!IsEmpty()", "CoreUnixPath::IsJustName"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, LogLineCarriesARealLineNumber) {
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath().IsJustName());
  EXPECT_THAT(tail.Text(),
              testing::MatchesRegex("VERIFY FAILED:  code : !IsEmpty\\(\\) in "
                                    "/Code/sdk/CoreX/CoreUnixPath:[1-9][0-9]* "
                                    "\\(CoreUnixPath::IsJustName\\)\n"));
}

// ---------------------------------------------------------------------------------------
// Slashes

TEST(CoreUnixPath, AddTrailingSlash) {
  std::string s;
  EXPECT_TRUE(CoreUnixPath::AddTrailingSlash(s));
  EXPECT_EQ("/", s);
  EXPECT_FALSE(CoreUnixPath::AddTrailingSlash(s));
  EXPECT_EQ("/", s);
  s = "a";
  EXPECT_TRUE(CoreUnixPath::AddTrailingSlash(s));
  EXPECT_EQ("a/", s);
  EXPECT_FALSE(CoreUnixPath::AddTrailingSlash(s));
  EXPECT_EQ("a/", s);
  CoreUnixPath path("/usr");
  EXPECT_TRUE(path.AddTrailingSlash());
  EXPECT_EQ("/usr/", path.mPath);
}

TEST(CoreUnixPath, RemoveTrailingSlashTakesOneSlash) {
  std::string s = "/";
  EXPECT_TRUE(CoreUnixPath::RemoveTrailingSlash(s));
  EXPECT_EQ("", s);
  EXPECT_FALSE(CoreUnixPath::RemoveTrailingSlash(s));
  EXPECT_EQ("", s);
  s = "a//";
  EXPECT_TRUE(CoreUnixPath::RemoveTrailingSlash(s));
  EXPECT_EQ("a/", s);
  s = "a";
  EXPECT_FALSE(CoreUnixPath::RemoveTrailingSlash(s));
  EXPECT_EQ("a", s);
  CoreUnixPath path("/usr/local/");
  EXPECT_TRUE(path.RemoveTrailingSlash());
  EXPECT_EQ("/usr/local", path.mPath);
  EXPECT_FALSE(path.RemoveTrailingSlash());
  EXPECT_EQ("/usr/local", path.mPath);
}

// ---------------------------------------------------------------------------------------
// Parent and name

TEST(CoreUnixPath, GetPathParent) {
  LogTail tail;
  struct Case {
    char const* path;
    char const* parent;  // null: no parent
  } const cases[] = {
      {"/a/b", "/a/"}, {"/a/b/", "/a/"}, {"a/b", "a/"}, {"a//", "a/"}, {"/a/b/c", "/a/b/"},
      {"/a", nullptr}, {"a", nullptr},   {"/", nullptr}, {"a/", nullptr}, {"", nullptr},
  };
  for (Case const& c : cases) {
    std::string parent = "untouched";
    EXPECT_EQ(c.parent != nullptr, CoreUnixPath::GetPathParent(c.path, parent)) << c.path;
    EXPECT_EQ(c.parent ? c.parent : "untouched", parent) << c.path;
    std::string member = "untouched";
    EXPECT_EQ(c.parent != nullptr, CoreUnixPath(c.path).GetParent(member)) << c.path;
    EXPECT_EQ(parent, member) << c.path;
  }
  EXPECT_EQ("", tail.Text());
}

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

TEST(CoreUnixPath, GetPathJustName) {
  LogTail tail;
  std::string name = "untouched";
  EXPECT_TRUE(CoreUnixPath::GetPathJustName("/a/b/", name));
  EXPECT_EQ("b", name);
  EXPECT_TRUE(CoreUnixPath::GetPathJustName("a/b", name));
  EXPECT_EQ("b", name);
  // Only one trailing slash goes, so the name after the last slash is empty.
  EXPECT_TRUE(CoreUnixPath::GetPathJustName("/a/b//", name));
  EXPECT_EQ("", name);
  name = "untouched";
  EXPECT_FALSE(CoreUnixPath::GetPathJustName("/a", name));
  EXPECT_FALSE(CoreUnixPath::GetPathJustName("a", name));
  EXPECT_FALSE(CoreUnixPath::GetPathJustName("/", name));
  EXPECT_EQ("untouched", name);
  EXPECT_TRUE(CoreUnixPath("/x/y.jpg").GetJustName(name));
  EXPECT_EQ("y.jpg", name);
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, GetPathJustNameOfARootLogs) {
  std::string name = "untouched";
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath::GetPathJustName("a/", name));
  EXPECT_FALSE(CoreUnixPath("//").GetJustName(name));
  EXPECT_EQ("untouched", name);
  EXPECT_EQ(Failed("!IsRootPath(path.c_str())", "CoreUnixPath::GetPathJustName") +
                Failed("!IsRootPath(path.c_str())", "CoreUnixPath::GetPathJustName"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, GetPathBasePartAndNamePart) {
  LogTail tail;
  std::string base = "b?";
  std::string name = "n?";
  EXPECT_TRUE(CoreUnixPath::GetPathBasePartAndNamePart("/usr/bin", base, name));
  EXPECT_EQ("/", base);
  EXPECT_EQ("usr/bin", name);
  // Length 1 leaves the name as it was.
  base = "b?";
  name = "n?";
  EXPECT_TRUE(CoreUnixPath::GetPathBasePartAndNamePart("/", base, name));
  EXPECT_EQ("/", base);
  EXPECT_EQ("n?", name);
  EXPECT_TRUE(CoreUnixPath::GetPathBasePartAndNamePart("a/b/c", base, name));
  EXPECT_EQ("a/", base);
  EXPECT_EQ("b/c", name);
  EXPECT_TRUE(CoreUnixPath::GetPathBasePartAndNamePart("a/", base, name));
  EXPECT_EQ("a/", base);
  EXPECT_EQ("", name);
  // A bare name is all base; the name is left as it was.
  name = "n?";
  EXPECT_TRUE(CoreUnixPath::GetPathBasePartAndNamePart("bare", base, name));
  EXPECT_EQ("bare", base);
  EXPECT_EQ("n?", name);
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, GetPathBasePartAndNamePartOfEmptyLogs) {
  std::string base = "b?";
  std::string name = "n?";
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath::GetPathBasePartAndNamePart("", base, name));
  EXPECT_EQ("b?", base);
  EXPECT_EQ("n?", name);
  EXPECT_EQ(Failed("path_length", "CoreUnixPath::GetPathBasePartAndNamePart"),
            Numberless(tail.Text()));
}

// ---------------------------------------------------------------------------------------
// Walking by pairs

TEST(CoreUnixPath, WalkByPairs) {
  LogTail tail;
  EXPECT_EQ((Pairs{{"/", "usr/local/bin"}, {"/usr/", "local/bin"}, {"/usr/local/", "bin"}}),
            Walk(CoreUnixPath("/usr/local/bin")));
  EXPECT_EQ((Pairs{{"/", "usr/local/"}, {"/usr/", "local/"}, {"/usr/local/", ""}}),
            Walk(CoreUnixPath("/usr/local/")));
  EXPECT_EQ((Pairs{{"a/", "b"}}), Walk(CoreUnixPath("a/b")));
  EXPECT_EQ((Pairs{{"./", "name"}}), Walk(CoreUnixPath("name")));
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, NextPairAfterTheEndKeepsTheOutputs) {
  CoreUnixPath path("/usr/local/bin");
  std::string base = "/usr/local/";
  std::string name = "bin";
  LogTail tail;
  EXPECT_FALSE(path.GetNextPair(base, name));
  EXPECT_EQ("/usr/local/", base);
  EXPECT_EQ("bin", name);
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, FirstPairOfAnEmptyPathLogs) {
  std::string base = "b?";
  std::string name = "n?";
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath().GetFirstPair(base, name));
  EXPECT_EQ("b?", base);
  EXPECT_EQ("n?", name);
  EXPECT_EQ(Failed("!IsEmpty()", "CoreUnixPath::GetFirstPair"), Numberless(tail.Text()));
}

TEST(CoreUnixPath, NextPairNeedsAPathAndABase) {
  std::string base;
  std::string name = "usr/bin";
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath("/usr/bin").GetNextPair(base, name));
  base = "/";
  EXPECT_FALSE(CoreUnixPath().GetNextPair(base, name));
  EXPECT_EQ("/", base);
  EXPECT_EQ("usr/bin", name);
  EXPECT_EQ(Failed("!IsEmpty() && (base_length>0)", "CoreUnixPath::GetNextPair") +
                Failed("!IsEmpty() && (base_length>0)", "CoreUnixPath::GetNextPair"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, NextPairWithABaseThatIsNotAPrefixFailsAndKeepsTheOutputs) {
  // Nothing is left of the path after a base longer than it: the split of nothing fails.
  std::string base = "/a/b/c/d/";
  std::string name = "x/y";
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath("/a/b").GetNextPair(base, name));
  EXPECT_EQ("/a/b/c/d/", base);
  EXPECT_EQ("x/y", name);
  EXPECT_EQ(Failed("path_length", "CoreUnixPath::GetPathBasePartAndNamePart"), Numberless(tail.Text()));
}

// ---------------------------------------------------------------------------------------
// Extensions

TEST(CoreUnixPath, GetPathExtension) {
  LogTail tail;
  std::string ext = "untouched";
  EXPECT_TRUE(CoreUnixPath::GetPathExtension("x.tar.gz", ext));
  EXPECT_EQ("gz", ext);
  // The slash after the dot is not consulted.
  EXPECT_TRUE(CoreUnixPath::GetPathExtension("dir.d/file", ext));
  EXPECT_EQ("d/file", ext);
  EXPECT_TRUE(CoreUnixPath::GetPathExtension("a.", ext));
  EXPECT_EQ("", ext);
  EXPECT_TRUE(CoreUnixPath("/p/pic.JPG").GetExtension(ext));
  EXPECT_EQ("JPG", ext);
  EXPECT_EQ("", tail.Text());
}

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

TEST(CoreUnixPath, HasValidFileExtension) {
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath::HasValidFileExtension("a.jpg"));
  EXPECT_TRUE(CoreUnixPath::HasValidFileExtension("/p.d/a.jpg"));
  EXPECT_TRUE(CoreUnixPath::HasValidFileExtension("/x/.profile"));
  EXPECT_FALSE(CoreUnixPath::HasValidFileExtension("noext"));
  EXPECT_FALSE(CoreUnixPath::HasValidFileExtension(".profile"));
  EXPECT_EQ("", tail.Text());
  EXPECT_FALSE(CoreUnixPath::HasValidFileExtension("dir.d/file"));
  EXPECT_EQ(Failed("rfound_dot_at>rfound_slash_at", "CoreUnixPath::HasValidFileExtension"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, AddPathExtension) {
  LogTail tail;
  std::string path = "pic";
  EXPECT_TRUE(CoreUnixPath::AddPathExtension(path, ".jpg"));
  EXPECT_EQ("pic.jpg", path);
  path = "pic";
  EXPECT_TRUE(CoreUnixPath::AddPathExtension(path, "jpg"));
  EXPECT_EQ("pic.jpg", path);
  path = "pic";
  EXPECT_TRUE(CoreUnixPath::AddPathExtension(path, ""));
  EXPECT_EQ("pic.", path);
  CoreUnixPath member("/a/pic.tar");
  EXPECT_TRUE(member.AddExtension("gz"));
  EXPECT_EQ("/a/pic.tar.gz", member.mPath);
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, AddPathExtensionToARootLogs) {
  std::string path = "a/";
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath::AddPathExtension(path, "jpg"));
  EXPECT_EQ("a/", path);
  EXPECT_EQ(Failed("!IsRootPath(inout_path.c_str())", "CoreUnixPath::AddPathExtension"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, ReplacePathExtension) {
  LogTail tail;
  std::string path = "a.png";
  EXPECT_TRUE(CoreUnixPath::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("a.jpg", path);
  path = "/p/x.tar.gz";
  EXPECT_TRUE(CoreUnixPath::ReplacePathExtension(path, ".tiff"));
  EXPECT_EQ("/p/x.tar.tiff", path);
  path = "noext";
  EXPECT_TRUE(CoreUnixPath::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("noext.jpg", path);
  CoreUnixPath member("/p/pic.png");
  EXPECT_TRUE(member.ReplaceExtension("tiff"));
  EXPECT_EQ("/p/pic.tiff", member.mPath);
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, ReplacePathExtensionWhenTheDotIsInAFolderAppends) {
  std::string path = "dir.d/file";
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("dir.d/file.jpg", path);
  EXPECT_EQ(Failed("rfound_dot_at>rfound_slash_at", "CoreUnixPath::HasValidFileExtension"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, ReplacePathExtensionOfARootLogs) {
  std::string path = "a/";
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("a/", path);
  EXPECT_EQ(Failed("!IsRootPath(path.c_str())", "CoreUnixPath::ReplacePathExtension"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, ReplacePathExtensionThatWouldLeaveARootFails) {
  // Cutting "a/.x" before its dot leaves the root "a/", which takes no extension.
  std::string path = "a/.x";
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath::ReplacePathExtension(path, "jpg"));
  EXPECT_EQ("a/.x", path);
  EXPECT_EQ(Failed("!IsRootPath(inout_path.c_str())", "CoreUnixPath::AddPathExtension") +
                Failed("AddPathExtension(new_path,in_extension)",
                       "CoreUnixPath::ReplacePathExtension"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, HasPathExtensionIgnoresCaseAndOneLeadingDot) {
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath::HasPathExtension("A.JPG", ".jpg"));
  EXPECT_TRUE(CoreUnixPath::HasPathExtension("a.jpg", "JPG"));
  EXPECT_FALSE(CoreUnixPath::HasPathExtension("a.jpeg", "jpg"));
  EXPECT_FALSE(CoreUnixPath::HasPathExtension("a.jpg", "jpeg"));
  EXPECT_FALSE(CoreUnixPath::HasPathExtension("a.jpg", "..jpg"));
  EXPECT_TRUE(CoreUnixPath::HasPathExtension("x.tar.gz", "GZ"));
  EXPECT_EQ("", tail.Text());
}

TEST(CoreUnixPath, HasPathExtensionWithoutAnExtensionLogs) {
  LogTail tail;
  EXPECT_FALSE(CoreUnixPath::HasPathExtension("noext", "jpg"));
  EXPECT_EQ(Failed("int(rfound_dot_at)>0", "CoreUnixPath::GetPathExtension") +
                Failed("GetPathExtension(path, s_extension)", "CoreUnixPath::HasPathExtension"),
            Numberless(tail.Text()));
}

TEST(CoreUnixPath, HasExtensionNeedsAValidExtension) {
  LogTail tail;
  EXPECT_TRUE(CoreUnixPath("/p/A.JPG").HasExtension("jpg"));
  EXPECT_FALSE(CoreUnixPath("/p/a.png").HasExtension("jpg"));
  EXPECT_FALSE(CoreUnixPath("noext").HasExtension("jpg"));
  EXPECT_EQ("", tail.Text());
  // GetPathExtension would answer "d/file"; the member refuses first.
  EXPECT_FALSE(CoreUnixPath("dir.d/file").HasExtension("d/file"));
  EXPECT_EQ(Failed("rfound_dot_at>rfound_slash_at", "CoreUnixPath::HasValidFileExtension"),
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
