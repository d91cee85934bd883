#include "CoreNumberedFilename.h"
#include "CoreUnixPath.h"
#include "CoreUserFolder.h"
#include "FileTestHelpers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using tavelo_test::Canonical;
using tavelo_test::LogTail;
using tavelo_test::MaskedLines;
using tavelo_test::Verify;
using tavelo_test::WriteText;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string V(std::string const& code, std::string const& function) {
  return Verify(code, "CoreX/CoreNumberedFilename", function);
}

std::string Numbered(std::string const& dir, int n, char const* ext) {
  char name[64];
  std::snprintf(name, sizeof name, "/Tavelo %04d.%s", n, ext);
  return dir + name;
}

}  // namespace

TEST(CoreNumberedFilename, EmptyFolderStartsAtZeroAndFillsTheLowestGap) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  CoreNumberedFilename numbered;
  EXPECT_FALSE(numbered.IsConstructed());
  ASSERT_TRUE(numbered.Construct(dir.c_str()));
  EXPECT_EQ(dir, std::string(numbered.DefaultFolderPath()));
  char path[1024];
  int number = -1;
  ASSERT_TRUE(numbered.FindFirstAvailableNamedPathNumber(path, "Tavelo %04d", "jpg", number));
  EXPECT_EQ(Numbered(dir, 0, "jpg"), path);
  EXPECT_EQ(0, number);
  for (int n = 0; n <= 10; ++n) WriteText(Numbered(dir, n, "png"), "x");
  ASSERT_EQ(0, ::unlink(Numbered(dir, 3, "png").c_str()));
  ASSERT_TRUE(numbered.FindFirstAvailableNamedPathNumber(path, "Tavelo %04d", "png", number));
  EXPECT_EQ(Numbered(dir, 3, "png"), path);
  EXPECT_EQ(3, number);
  // Per extension: the PNGs do not take JPEG numbers.
  ASSERT_TRUE(numbered.FindFirstAvailableNamedFileNumber("Tavelo %04d", "jpg", number));
  EXPECT_EQ(0, number);
}

TEST(CoreNumberedFilename, AnyObjectTakesTheNumber) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  ::mkdir(Numbered(dir, 0, "jpg").c_str(), 0700);
  CoreNumberedFilename numbered;
  ASSERT_TRUE(numbered.Construct(dir.c_str()));
  char path[1024];
  ASSERT_TRUE(numbered.FindFirstAvailableNamedPath(path, "Tavelo %04d", "jpg"));
  EXPECT_EQ(Numbered(dir, 1, "jpg"), path);
}

TEST(CoreNumberedFilename, FormatWithoutANumberAllocatesOneName) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  CoreNumberedFilename numbered;
  ASSERT_TRUE(numbered.Construct(dir.c_str()));
  char path[1024];
  int number = -1;
  ASSERT_TRUE(numbered.FindFirstAvailableNamedPathNumber(path, "Snapshot", "jpg", number));
  EXPECT_EQ(dir + "/Snapshot.jpg", path);
  EXPECT_EQ(0, number);
  WriteText(path, "x");
  LogTail tail;
  EXPECT_FALSE(numbered.FindFirstAvailableNamedPathNumber(path, "Snapshot", "jpg", number));
  EXPECT_EQ('\0', path[0]);
  EXPECT_THAT(tail.Lines(), IsEmpty());
}

TEST(CoreNumberedFilename, AFullSetOfJpegsLeavesPngNamesFree) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  for (int n = 0; n <= 999; ++n) WriteText(Numbered(dir, n, "jpg"), "");
  CoreNumberedFilename numbered;
  ASSERT_TRUE(numbered.Construct(dir.c_str()));
  char path[1024];
  int number = -1;
  EXPECT_FALSE(numbered.FindFirstAvailableNamedPathNumber(path, "Tavelo %04d", "jpg", number));
  EXPECT_EQ('\0', path[0]);
  EXPECT_EQ(0, number);
  ASSERT_TRUE(numbered.FindFirstAvailableNamedPathNumber(path, "Tavelo %04d", "png", number));
  EXPECT_EQ(Numbered(dir, 0, "png"), path);
  // Number 1000 would be a fifth digit: it is never tried.
  ASSERT_EQ(0, ::unlink(Numbered(dir, 999, "jpg").c_str()));
  ASSERT_TRUE(numbered.FindFirstAvailableNamedPathNumber(path, "Tavelo %04d", "jpg", number));
  EXPECT_EQ(999, number);
}

TEST(CoreNumberedFilename, NonAsciiNames) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir()) + "/Bilder \xC3\xA4\xC3\xB6";
  ::mkdir(dir.c_str(), 0700);
  CoreNumberedFilename numbered;
  ASSERT_TRUE(numbered.Construct(dir.c_str()));
  WriteText(dir + "/\xE5\x86\x99\xE7\x9C\x9F 0000.jpg", "x");
  char path[1024];
  ASSERT_TRUE(numbered.FindFirstAvailableNamedPath(path, "\xE5\x86\x99\xE7\x9C\x9F %04d", "jpg"));
  EXPECT_EQ(dir + "/\xE5\x86\x99\xE7\x9C\x9F 0001.jpg", path);
}

TEST(CoreNumberedFilename, MissingFolderIsRefused) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  CoreNumberedFilename numbered;
  LogTail tail;
  EXPECT_FALSE(numbered.Construct((dir + "/none").c_str()));
  EXPECT_FALSE(numbered.IsConstructed());
  char path[1024];
  EXPECT_FALSE(numbered.FindFirstAvailableNamedPath(path, "Tavelo %04d", "jpg"));
  EXPECT_THAT(MaskedLines(tail),
              ElementsAre(V("bool_FSRef_ConstructFromPath(sUserDefaultFolder, inFolderUnixPath)",
                            "CoreNumberedFilename::Construct"),
                          V("IsConstructed()", "CoreNumberedFilename::FindFirstAvailableNamedPathNumber")));
}

TEST(CoreNumberedFilename, FolderRemovedAfterConstructionIsReported) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir()) + "/gone";
  ::mkdir(dir.c_str(), 0700);
  CoreNumberedFilename numbered;
  ASSERT_TRUE(numbered.Construct(dir.c_str()));
  ASSERT_EQ(0, ::rmdir(dir.c_str()));
  EXPECT_TRUE(numbered.IsConstructed());
  LogTail tail;
  char path[1024];
  EXPECT_FALSE(numbered.FindFirstAvailableNamedPath(path, "Tavelo %04d", "jpg"));
  EXPECT_THAT(MaskedLines(tail),
              ElementsAre(V("IsConstructed()", "CoreNumberedFilename::FindFirstAvailableNamedPathNumber")));
}

TEST(CoreNumberedFilename, UserFoldersByEnum) {
  EXPECT_EQ(FOUR_CHAR_CODE("pdoc"), CoreNumberedFilename::LocationFromEnum(kFolderEnum_Pictures));
  EXPECT_EQ(FOUR_CHAR_CODE("desk"), CoreNumberedFilename::LocationFromEnum(kFolderEnum_Desktop));
  EXPECT_EQ(0x647470C4u, CoreNumberedFilename::LocationFromEnum(kFolderEnum_DesktopPictures));
  EXPECT_EQ(FOUR_CHAR_CODE("docs"), CoreNumberedFilename::LocationFromEnum(kFolderEnum_Documents));
  EXPECT_EQ(FOUR_CHAR_CODE("mdoc"), CoreNumberedFilename::LocationFromEnum(kFolderEnum_Movies));
  EXPECT_EQ(FOUR_CHAR_CODE("desk"), CoreNumberedFilename::LocationFromEnum(static_cast<folder_enum_t>(9)));

  std::string const videos = Canonical(tavelo_test::MakeTempDir("videos"));
  ::setenv("XDG_VIDEOS_DIR", videos.c_str(), 1);
  CoreNumberedFilename movies(kFolderEnum_Movies);
  EXPECT_EQ(videos, std::string(movies.DefaultFolderPath()));

  // The folder is not made when missing.
  ::setenv("XDG_VIDEOS_DIR", (videos + "/missing").c_str(), 1);
  LogTail tail;
  CoreNumberedFilename missing(kFolderEnum_Movies);
  EXPECT_FALSE(missing.IsConstructed());
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      "VERIFY_ERR FAILED: OSErr:-43  code : FSFindFolder(domain, inFolderLocation, kDontCreateFolder, "
      "&sUserDefaultFolder) in /Code/sdk/CoreX/CoreNumberedFilename:N (CoreNumberedFilename::Construct)",
      V("Construct(LocationFromEnum(inFolderEnum))", "CoreNumberedFilename::Construct"),
      V("Construct(inFolderEnum)", "CoreNumberedFilename::CoreNumberedFilename")));
  ::unsetenv("XDG_VIDEOS_DIR");
}

TEST(CoreNumberedFilename, DefaultFolderPathOfAnEmptyAllocatorLogs) {
  CoreNumberedFilename numbered;
  LogTail tail;
  EXPECT_STREQ("", numbered.DefaultFolderPath());
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("IsConstructed()", "CoreNumberedFilename::DefaultFolderPath")));
}

TEST(CoreUserFolder, MakesTheFolderAndItsSubFolder) {
  std::string const pictures = Canonical(tavelo_test::MakeTempDir("p")) + "/Pictures";
  ::setenv("XDG_PICTURES_DIR", pictures.c_str(), 1);
  LogTail tail;
  CoreUserFolder folder("Tavelo", kPictureDocumentsFolderType, kUserDomain);
  struct stat st {};
  ASSERT_EQ(0, ::stat((pictures + "/Tavelo").c_str(), &st));
  EXPECT_TRUE(S_ISDIR(st.st_mode));
  FSRef ref{};
  ASSERT_TRUE(folder.GetFileRef(ref));
  EXPECT_EQ(pictures + "/Tavelo", std::string(ref.path));
  CoreUnixPath path;
  ASSERT_TRUE(folder.GetUnixPath(path));
  EXPECT_EQ(pictures + "/Tavelo", path.mPath);
  CFURLRef url = folder.GetURLRef();
  ASSERT_NE(nullptr, url);
  CFRelease(url);
  // Found again without making anything.
  CoreUserFolder again("Tavelo", kPictureDocumentsFolderType, kUserDomain);
  EXPECT_TRUE(again.GetFileRef(ref));
  EXPECT_THAT(tail.Lines(), IsEmpty());

  CoreUserFolder plain(kPictureDocumentsFolderType, kUserDomain);
  ASSERT_TRUE(plain.GetFileRef(ref));
  EXPECT_EQ(pictures, std::string(ref.path));
  ::unsetenv("XDG_PICTURES_DIR");
}

TEST(CoreUserFolder, SubFolderNameHeldByAFileIsReported) {
  std::string const documents = Canonical(tavelo_test::MakeTempDir("d"));
  ::setenv("XDG_DOCUMENTS_DIR", documents.c_str(), 1);
  WriteText(documents + "/Tavelo", "a file");
  LogTail tail;
  CoreUserFolder folder("Tavelo", kDocumentsFolderType, kUserDomain);
  FSRef ref{};
  EXPECT_FALSE(CoreUserFolder::FSRefOfFoundFolder(ref, kDocumentsFolderType, kUserDomain, "Tavelo"));
  std::string const create =
      "VERIFY_ERR FAILED: OSErr:-48  code : err in /Code/sdk/CoreX/LFSRef:N (LFSRef::CreateFolder)";
  std::string const nested = Verify("nestedFolder.CreateFolder()", "CoreX/CoreUserFolder", "CoreUserFolder::FSRefOfFoundFolder");
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      create, nested,
      Verify("FSRefOfFoundFolder(out_file_ref, mFindFolderLocation, mFindFolderDomain, mSubFolderName)",
             "CoreX/CoreUserFolder", "CoreUserFolder::GetFileRef"),
      Verify("GetFileRef(foundFolderRef)", "CoreX/CoreUserFolder", "CoreUserFolder::CoreUserFolder"),
      create, nested));
  EXPECT_EQ("a file", tavelo_test::ReadFile(documents + "/Tavelo"));
  ::unsetenv("XDG_DOCUMENTS_DIR");
}
