#include "FileTestHelpers.h"
#include "LFSRef.h"
#include "MAC_fopen.h"
#include "XFileName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
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
  return Verify(code, "CoreX/LFSRef", function);
}

}  // namespace

TEST(LFSRef, NewFileInExistingFolderIsLatentUntilSomeoneCreatesIt) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  ::mkdir((dir + "/folder").c_str(), 0700);
  LogTail tail;
  LFSRef ref((dir + "/folder/new.jpg").c_str());
  EXPECT_EQ(LFSRef::State_ExistsWithLatentPath, ref.mState);
  EXPECT_EQ("new.jpg", ref.mLatentPath);
  EXPECT_EQ(dir + "/folder", std::string(ref.mFSRef.path));
  EXPECT_FALSE(ref.Normalize());  // not there yet: no change, no log
  EXPECT_EQ(LFSRef::State_ExistsWithLatentPath, ref.mState);
  WriteText(dir + "/folder/new.jpg", "x");
  EXPECT_TRUE(ref.Normalize());
  EXPECT_EQ(LFSRef::State_Exists, ref.mState);
  EXPECT_EQ("", ref.mLatentPath);
  EXPECT_EQ(dir + "/folder/new.jpg", std::string(ref.mFSRef.path));
  EXPECT_THAT(tail.Lines(), IsEmpty());
}

TEST(LFSRef, ExistingFileIsItsFolderPlusItsName) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  WriteText(dir + "/pic.jpg", "x");
  LFSRef ref((dir + "/pic.jpg").c_str());
  EXPECT_EQ(LFSRef::State_ExistsWithLatentPath, ref.mState);
  EXPECT_EQ("pic.jpg", ref.mLatentPath);
  EXPECT_TRUE(ref.FileExists());
  EXPECT_TRUE(ref.IsFile());
  EXPECT_FALSE(ref.IsFolder());
  EXPECT_FALSE(ref.Exists());  // only state 1 exists as such
  std::string path;
  ASSERT_TRUE(ref.GetUnixPath(path));
  EXPECT_EQ(dir + "/pic.jpg", path);
}

TEST(LFSRef, TwoMissingLevelsStayLatent) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  LFSRef ref((dir + "/new1/new2.jpg").c_str());
  EXPECT_EQ(LFSRef::State_ExistsWithLatentPath, ref.mState);
  EXPECT_EQ("new1/new2.jpg", ref.mLatentPath);
  EXPECT_EQ(dir, std::string(ref.mFSRef.path));
  EXPECT_FALSE(ref.FileExists());
  // Only one name is created inside the existing folder, no intermediate folders.
  LogTail tail;
  EXPECT_FALSE(ref.CreateFile());
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      "VERIFY_ERR FAILED: OSErr:-37  code : err in /Code/sdk/CoreX/LFSRef:N (LFSRef::CreateFile)"));
}

TEST(LFSRef, RootAndBareName) {
  LFSRef root("/");
  EXPECT_EQ(LFSRef::State_Exists, root.mState);
  EXPECT_EQ("", root.mLatentPath);
  EXPECT_TRUE(root.IsFolder());

  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  char saved[4096];
  ASSERT_NE(nullptr, ::getcwd(saved, sizeof saved));
  ASSERT_EQ(0, ::chdir(dir.c_str()));
  LFSRef bare("shot.png");
  EXPECT_EQ(LFSRef::State_ExistsWithLatentPath, bare.mState);
  EXPECT_EQ("shot.png", bare.mLatentPath);
  EXPECT_EQ(dir, std::string(bare.mFSRef.path));
  LFSRef cwd;
  EXPECT_TRUE(cwd.Construct_cwd());
  std::string cwdPath;
  ASSERT_TRUE(cwd.GetUnixPath(cwdPath));
  EXPECT_EQ(dir, cwdPath);
  ASSERT_EQ(0, ::chdir(saved));
}

TEST(LFSRef, PathBelowAFileFailsWithOutIsDirectory) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  WriteText(dir + "/file", "x");
  LogTail tail;
  LFSRef ref((dir + "/file/new.jpg").c_str());
  EXPECT_EQ(LFSRef::State_Invalid, ref.mState);
  EXPECT_TRUE(ref.IsEmpty());
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      V("out_is_directory", "bool_FSRef_MakeLatentFromPath"),
      V("bool_FSRef_MakeLatentFromPath(in_unix_path,mFSRef,mLatentPath)", "LFSRef::Construct")));
}

TEST(LFSRef, AddExtensionAppendsVerbatim) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  LFSRef dotted((dir + "/shot").c_str());
  ASSERT_TRUE(dotted.AddExtension(".png"));
  EXPECT_EQ("shot.png", dotted.mLatentPath);
  LFSRef plain((dir + "/shot").c_str());
  ASSERT_TRUE(plain.AddExtension("png"));
  EXPECT_EQ("shotpng", plain.mLatentPath);
  EXPECT_FALSE(plain.HasExtension("png"));
  EXPECT_TRUE(dotted.HasExtension("png"));

  // A folder takes no extension.
  LogTail tail;
  LFSRef folder(dir.c_str());
  EXPECT_FALSE(folder.AddExtension(".png"));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("!IsFolder()", "LFSRef::AddExtension")));
}

TEST(LFSRef, ReplaceJustNameDropsEveryLatentLevel) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  LFSRef ref((dir + "/x/y").c_str());
  ASSERT_EQ("x/y", ref.mLatentPath);
  ASSERT_TRUE(ref.ReplaceJustName("b"));
  EXPECT_EQ("b", ref.mLatentPath);
  EXPECT_EQ(dir, std::string(ref.mFSRef.path));

  LogTail tail;
  EXPECT_FALSE(ref.ReplaceJustName(""));
  EXPECT_FALSE(ref.ReplaceJustName(nullptr));
  std::string const bad = V("(in_justname!=0) && (std::strlen(in_justname)>0)", "LFSRef::ReplaceJustName");
  EXPECT_THAT(MaskedLines(tail), ElementsAre(bad, bad));

  // An existing object first becomes its parent plus its own name.
  WriteText(dir + "/old.jpg", "x");
  FSRef file{};
  ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>((dir + "/old.jpg").c_str()), &file, nullptr));
  LFSRef existing(&file);
  ASSERT_EQ(LFSRef::State_Exists, existing.mState);
  ASSERT_TRUE(existing.ReplaceJustName("new.jpg"));
  EXPECT_EQ(LFSRef::State_ExistsWithLatentPath, existing.mState);
  EXPECT_EQ("new.jpg", existing.mLatentPath);
  EXPECT_EQ(dir, std::string(existing.mFSRef.path));
}

TEST(LFSRef, ReplaceExtensionAndFolder) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  ::mkdir((dir + "/other").c_str(), 0700);
  LFSRef ref((dir + "/shot.jpg").c_str());
  ASSERT_TRUE(ref.ReplaceExtension("png"));
  std::string path;
  ASSERT_TRUE(ref.GetUnixPath(path));
  EXPECT_EQ(dir + "/shot.png", path);
  LFSRef other((dir + "/other").c_str());
  ASSERT_TRUE(ref.ReplaceFolder(other));
  ASSERT_TRUE(ref.GetUnixPath(path));
  EXPECT_EQ(dir + "/other/shot.png", path);
  LFSRef parent;
  ASSERT_TRUE(ref.GetParentFolder(parent));
  ASSERT_TRUE(parent.GetUnixPath(path));
  EXPECT_EQ(dir + "/other", path);
  std::string name;
  ASSERT_TRUE(ref.GetJustName(name));
  EXPECT_EQ("shot.png", name);
}

TEST(LFSRef, FileDeleteLeavesTheLatentNameOfTheGoneFile) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  WriteText(dir + "/gone.jpg", "x");
  FSRef file{};
  ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>((dir + "/gone.jpg").c_str()), &file, nullptr));
  LFSRef ref(&file);
  ASSERT_TRUE(ref.FileDelete());
  EXPECT_EQ(LFSRef::State_ExistsWithLatentPath, ref.mState);
  EXPECT_EQ("gone.jpg", ref.mLatentPath);
  EXPECT_FALSE(ref.FileExists());
  EXPECT_NE(0, ::access((dir + "/gone.jpg").c_str(), F_OK));
  // Ready to be created again.
  ASSERT_TRUE(ref.CreateFile());
  EXPECT_EQ(LFSRef::State_Exists, ref.mState);
  EXPECT_TRUE(ref.FileExists());
  // A folder is not a file to delete.
  LFSRef folder(dir.c_str());
  EXPECT_FALSE(folder.FileDelete());
  EXPECT_FALSE(folder.DeleteFile());
}

TEST(LFSRef, CreateWithTypeAndCreatorAndReadThemBack) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  LFSRef ref((dir + "/\xC3\xA9t\xC3\xA9.jpg").c_str());
  ASSERT_TRUE(ref.CreateFile(FOUR_CHAR_CODE("JPEG"), FOUR_CHAR_CODE("prvw")));
  unsigned long type = 0, creator = 0;
  ASSERT_TRUE(ref.GetFileTypeCreator(type, creator));
  EXPECT_EQ(FOUR_CHAR_CODE("JPEG"), type);
  EXPECT_EQ(FOUR_CHAR_CODE("prvw"), creator);
  unsigned char record[32] = {};
  ASSERT_EQ(32, ::getxattr((dir + "/\xC3\xA9t\xC3\xA9.jpg").c_str(), "user.com.apple.FinderInfo", record, 32));
  EXPECT_EQ(0, std::memcmp("JPEGprvw", record, 8));
  // Creating what exists is refused.
  LogTail tail;
  EXPECT_FALSE(ref.CreateFile(FOUR_CHAR_CODE("JPEG"), FOUR_CHAR_CODE("prvw")));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("!FileExists()", "LFSRef::CreateFile")));
}

TEST(LFSRef, SetFileTypeCreatorWithTheValuesPresentWritesNothing) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  std::string const path = dir + "/f.png";
  WriteText(path, "x");
  LFSRef ref(path.c_str());
  ASSERT_TRUE(ref.SetFileTypeCreator(FOUR_CHAR_CODE("PNGf"), FOUR_CHAR_CODE("8BIM")));
  // Every attribute write moves the change time; none may happen now.
  struct stat before {};
  ASSERT_EQ(0, ::stat(path.c_str(), &before));
  ::usleep(20000);
  EXPECT_TRUE(ref.SetFileTypeCreator(FOUR_CHAR_CODE("PNGf"), FOUR_CHAR_CODE("8BIM")));
  struct stat after {};
  ASSERT_EQ(0, ::stat(path.c_str(), &after));
  EXPECT_EQ(before.st_ctim.tv_sec, after.st_ctim.tv_sec);
  EXPECT_EQ(before.st_ctim.tv_nsec, after.st_ctim.tv_nsec);
  // A different creator is written (and so the change time shows writes).
  EXPECT_TRUE(ref.SetFileTypeCreator(FOUR_CHAR_CODE("PNGf"), FOUR_CHAR_CODE("prvw")));
  ASSERT_EQ(0, ::stat(path.c_str(), &after));
  EXPECT_TRUE(after.st_ctim.tv_sec != before.st_ctim.tv_sec || after.st_ctim.tv_nsec != before.st_ctim.tv_nsec);
}

TEST(LFSRef, TypeAndCreatorOfAMissingFile) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  LFSRef ref((dir + "/none").c_str());
  LogTail tail;
  unsigned long type = 0, creator = 0;
  EXPECT_FALSE(ref.GetFileTypeCreator(type, creator));
  EXPECT_FALSE(ref.SetFileTypeCreator(1, 2));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("FileExists()", "LFSRef::GetFileTypeCreator"),
                                             V("FileExists()", "LFSRef::SetFileTypeCreator")));
}

TEST(LFSRef, RenameAndDelete) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  WriteText(dir + "/a.jpg", "x");
  LFSRef ref((dir + "/a.jpg").c_str());
  ASSERT_TRUE(ref.RenameFile("\xC3\xBC.jpg"));
  EXPECT_EQ(LFSRef::State_Exists, ref.mState);
  EXPECT_EQ(dir + "/\xC3\xBC.jpg", std::string(ref.mFSRef.path));
  EXPECT_EQ("x", tavelo_test::ReadFile(dir + "/\xC3\xBC.jpg"));
  ASSERT_TRUE(ref.Delete());
  EXPECT_NE(0, ::access((dir + "/\xC3\xBC.jpg").c_str(), F_OK));

  ::mkdir((dir + "/sub").c_str(), 0700);
  LFSRef sub((dir + "/sub").c_str());
  EXPECT_FALSE(sub.DeleteFile());
  EXPECT_TRUE(sub.DeleteFolder());
  EXPECT_NE(0, ::access((dir + "/sub").c_str(), F_OK));
}

TEST(LFSRef, CreateFolderByLatentName) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  LFSRef ref((dir + "/Tavelo").c_str());
  ASSERT_TRUE(ref.CreateFolder());
  EXPECT_EQ(LFSRef::State_Exists, ref.mState);
  EXPECT_TRUE(ref.IsFolder());
  LogTail tail;
  LFSRef again((dir + "/Tavelo").c_str());
  EXPECT_FALSE(again.CreateFolder());
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      "VERIFY_ERR FAILED: OSErr:-48  code : err in /Code/sdk/CoreX/LFSRef:N (LFSRef::CreateFolder)"));
}

TEST(LFSRef, EqualityComparesNormalisedPaths) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  WriteText(dir + "/f", "x");
  FSRef file{};
  ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>((dir + "/f").c_str()), &file, nullptr));
  LFSRef a((dir + "/f").c_str());
  LFSRef b(&file);
  EXPECT_TRUE(a == b);
  WriteText(dir + "/F", "x");
  LFSRef c((dir + "/F").c_str());
  EXPECT_FALSE(a == c);  // case matters
  LogTail tail;
  LFSRef missing((dir + "/missing").c_str());
  EXPECT_FALSE(a == missing);
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      V("lhs_normal.Normalize() && rhs_normal.Normalize()", "LFSRef::operator==")));
}

TEST(LFSRef, DataRecordRoundTrip) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  LFSRef ref((dir + "/caf\xC3\xA9.tiff").c_str());
  LFSRef_data_t data;
  ASSERT_TRUE(ref.GetData(data));
  EXPECT_EQ(3, data.state);
  EXPECT_EQ(9, data.latent_path.length);
  EXPECT_EQ(0x00E9, data.latent_path.unicode[3]);
  LFSRef back(data);
  EXPECT_EQ(LFSRef::State_ExistsWithLatentPath, back.mState);
  EXPECT_EQ("caf\xC3\xA9.tiff", back.mLatentPath);
  data.Empty();
  EXPECT_TRUE(data.IsEmpty());
  LFSRef empty;
  EXPECT_FALSE(empty.Construct(data));
}

TEST(LFSRef, ConstructFromBadReferences) {
  LogTail tail;
  LFSRef ref(static_cast<FSRef const*>(nullptr));
  FSRef zero{};
  LFSRef ref2(&zero);
  EXPECT_TRUE(ref.IsEmpty());
  EXPECT_TRUE(ref2.IsEmpty());
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("theFileRef", "LFSRef::Construct"),
                                             V("bool_FSRef_IsValid(*theFileRef)", "LFSRef::Construct")));
}

TEST(LFSRef, HasLatentPathOverAnEmptyPathLogs) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  FSRef folder{};
  ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>(dir.c_str()), &folder, nullptr));
  LFSRef ref(&folder);
  ref.AddState(LFSRef::State_HasLatentPath);
  LogTail tail;
  EXPECT_FALSE(ref.HasLatentPath());
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("fOk = (mLatentPath.length()>0)", "LFSRef::HasLatentPath")));
}

TEST(LFSRef, DebugDump) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  LFSRef ref((dir + "/new.jpg").c_str());
  char buffer[4096];
  EXPECT_EQ("label\n LFSRef contents = { mState:State_ExistsWithLatentPath '3'\nmLatentPath:new.jpg\nmFSRef:" +
                dir + "\nmFSRef: \n}\n",
            std::string(ref.CoreDebugGetContents("label", buffer, false)));
  LFSRef empty;
  EXPECT_EQ("\n LFSRef contents = { mState:State_Invalid '0'\nmLatentPath:\nmFSRef:(empty)\nmFSRef: \n}\n",
            std::string(empty.CoreDebugGetContents(nullptr, buffer, false)));
  std::string const withHex = empty.CoreDebugGetContents("h", buffer, true);
  EXPECT_NE(std::string::npos, withHex.find("mFSRef:00"));
  EXPECT_STREQ("State_HasLatentPath '2'", LFSRef::StateName(2));
  EXPECT_STREQ("????", LFSRef::StateName(9));
  LogTail tail;
  ref.CoreDebugPrint("printed");
  EXPECT_EQ("printed\n LFSRef contents = { mState:State_ExistsWithLatentPath '3'\nmLatentPath:new.jpg\nmFSRef:" +
                dir + "\nmFSRef: \n}\n",
            tail.Text());
}

TEST(LFSRef, FopenOpensThePath) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  LFSRef ref((dir + "/out.bin").c_str());
  std::FILE* f = ref.fopen("wb");
  ASSERT_NE(nullptr, f);
  std::fputs("abc", f);
  std::fclose(f);
  EXPECT_EQ("abc", tavelo_test::ReadFile(dir + "/out.bin"));
  LFSRef missing((dir + "/no/such/dir").c_str());
  LogTail tail;
  EXPECT_EQ(nullptr, missing.fopen("rb"));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      V("fp = std::fopen(s_unix_path.c_str(), open_mode)", "LFSRef::fopen")));
}

TEST(LFSRef, ChdirNeedsAFolder) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  char saved[4096];
  ASSERT_NE(nullptr, ::getcwd(saved, sizeof saved));
  LFSRef folder(dir.c_str());
  EXPECT_TRUE(folder.chdir());
  char now[4096];
  ASSERT_NE(nullptr, ::getcwd(now, sizeof now));
  EXPECT_EQ(dir, std::string(now));
  ASSERT_EQ(0, ::chdir(saved));
  LogTail tail;
  LFSRef missing((dir + "/none").c_str());
  EXPECT_FALSE(missing.chdir());
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("IsFolder()", "LFSRef::chdir")));
}

TEST(LFSRef, FindExistingFolder) {
  std::string const pictures = Canonical(tavelo_test::MakeTempDir("pics"));
  ::setenv("XDG_PICTURES_DIR", pictures.c_str(), 1);
  LFSRef ref;
  EXPECT_TRUE(ref.FindExistingFolder(kPictureDocumentsFolderType, kUserDomain));
  std::string path;
  ASSERT_TRUE(ref.GetUnixPath(path));
  EXPECT_EQ(pictures, path);
  ::unsetenv("XDG_PICTURES_DIR");
  LogTail tail;
  EXPECT_FALSE(ref.FindExistingFolder(FOUR_CHAR_CODE("zzzz"), kUserDomain));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("err==noErr", "LFSRef::FindExistingFolder")));
}

TEST(LFSRef, AliasRoundTrip) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  WriteText(dir + "/t.jpg", "x");
  LFSRef ref((dir + "/t.jpg").c_str());
  AliasHandle alias = ref.AsNewAliasHandle(nullptr);
  ASSERT_NE(nullptr, alias);
  ASSERT_EQ(0, ::rename((dir + "/t.jpg").c_str(), (dir + "/moved.jpg").c_str()));
  LFSRef resolved;
  Boolean changed = 0;
  EXPECT_TRUE(resolved.ResolveAlias(alias, &changed, nullptr));
  EXPECT_EQ(1, changed);
  EXPECT_EQ(dir + "/moved.jpg", std::string(resolved.mFSRef.path));
  DisposeAliasHandle(alias);
}

TEST(XFileName, FreeFopenStampsTypeAndCreatorInItsOrder) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  XFileName name((dir + "/pic.jpg").c_str());
  // Creator first, then type.
  std::FILE* f = fopen(name, "wb", FOUR_CHAR_CODE("8BIM"), FOUR_CHAR_CODE("JPEG"));
  ASSERT_NE(nullptr, f);
  std::fclose(f);
  unsigned long type = 0, creator = 0;
  ASSERT_TRUE(name.GetFileTypeCreator(type, creator));
  EXPECT_EQ(FOUR_CHAR_CODE("JPEG"), type);
  EXPECT_EQ(FOUR_CHAR_CODE("8BIM"), creator);
}

TEST(XFileName, MacFopenNeverOpensAResourceFork) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  LFSRef ref((dir + "/data.bin").c_str());
  short resFile = 5;
  LogTail tail;
  std::FILE* f = MAC_fopen(ref, "wb", FOUR_CHAR_CODE("ttxt"), FOUR_CHAR_CODE("TEXT"), &resFile);
  ASSERT_NE(nullptr, f);
  std::fclose(f);
  EXPECT_EQ(-1, resFile);
  EXPECT_THAT(MaskedLines(tail), ElementsAre(Verify("*outResFile!=-1", "CoreX/MAC_fopen", "MAC_fopen")));
  unsigned long type = 0, creator = 0;
  ASSERT_TRUE(ref.GetFileTypeCreator(type, creator));
  EXPECT_EQ(FOUR_CHAR_CODE("TEXT"), type);
  EXPECT_EQ(FOUR_CHAR_CODE("ttxt"), creator);
}

TEST(XFileName, OwnFopenStampsBinary) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  XFileName name((dir + "/raw").c_str());
  std::FILE* f = name.fopen("wb");
  ASSERT_NE(nullptr, f);
  std::fclose(f);
  unsigned long type = 0, creator = 0;
  ASSERT_TRUE(name.GetFileTypeCreator(type, creator));
  EXPECT_EQ(FOUR_CHAR_CODE("BINA"), type);
  EXPECT_EQ(FOUR_CHAR_CODE("BINA"), creator);
}

TEST(XFileName, EqualDatesAreNeitherOlderNorNewer) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  WriteText(dir + "/a", "a");
  WriteText(dir + "/b", "b");
  struct timespec const same[2] = {{0, UTIME_OMIT}, {1500000000, 123456789}};
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, (dir + "/a").c_str(), same, 0));
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, (dir + "/b").c_str(), same, 0));
  XFileName a((dir + "/a").c_str());
  XFileName b((dir + "/b").c_str());
  EXPECT_FALSE(a.IsOlderThan(b));
  EXPECT_FALSE(a.IsNewerThan(b));
  // Only the fraction differs.
  struct timespec const later[2] = {{0, UTIME_OMIT}, {1500000000, 623456789}};
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, (dir + "/b").c_str(), later, 0));
  EXPECT_TRUE(a.IsOlderThan(b));
  EXPECT_FALSE(a.IsNewerThan(b));
  EXPECT_TRUE(b.IsNewerThan(a));
  UTCDateTime created{};
  EXPECT_TRUE(a.GetDateTimeCreated(created));
  LogTail tail;
  XFileName missing((dir + "/none").c_str());
  EXPECT_FALSE(a.IsOlderThan(missing));
  auto const lines = MaskedLines(tail);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(Verify("GetDateTimeModified(our_time) && rhs.GetDateTimeModified(their_time)", "CoreX/XFileName",
                   "XFileName::CompareModified"),
            lines.back());
}

TEST(XFileName, ForwardedEdits) {
  std::string const dir = Canonical(tavelo_test::MakeTempDir());
  ::mkdir((dir + "/sub").c_str(), 0700);
  XFileName name((dir + "/shot").c_str());
  ASSERT_TRUE(name.AddExtension(".jpg"));
  ASSERT_TRUE(name.ReplaceExtension("png"));
  XFileName folder((dir + "/sub").c_str());
  ASSERT_TRUE(name.ReplaceFolder(folder));
  std::string path;
  ASSERT_TRUE(name.GetUnixPath(path));
  EXPECT_EQ(dir + "/sub/shot.png", path);
  ASSERT_TRUE(name.ReplaceJustName("other.tiff"));
  std::string just;
  ASSERT_TRUE(name.GetJustName(just));
  EXPECT_EQ("other.tiff", just);
  XFileName parent;
  ASSERT_TRUE(name.GetParentFolder(parent));
  ASSERT_TRUE(parent.GetUnixPath(path));
  EXPECT_EQ(dir + "/sub", path);

  WriteText(dir + "/sub/other.tiff", "x");
  EXPECT_TRUE(name.RenameFile("renamed.tiff"));
  EXPECT_EQ("x", tavelo_test::ReadFile(dir + "/sub/renamed.tiff"));
  XFileName renamed((dir + "/sub/renamed.tiff").c_str());
  EXPECT_TRUE(renamed.DeleteFile());
  EXPECT_NE(0, ::access((dir + "/sub/renamed.tiff").c_str(), F_OK));

  FSRef parentRef{};
  ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<UInt8 const*>(dir.c_str()), &parentRef, nullptr));
  XFileName child;
  EXPECT_TRUE(child.Construct(&parentRef, "sub"));
  LogTail tail;
  EXPECT_FALSE(child.Construct(&parentRef, "none"));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(Verify(
      "noErr==(result = FSRef_ConstructFromParentAndRelativeName(out_Ref, parent, relative))",
      "CoreX/XFileName", "XFileName::Construct")));
}
