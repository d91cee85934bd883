#include "Files.h"
#include "ScratchMount.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

UInt8 const* U(std::string const& s) { return reinterpret_cast<UInt8 const*>(s.c_str()); }

FSRef RefOf(std::string const& path) {
  FSRef ref{};
  EXPECT_EQ(noErr, FSPathMakeRef(U(path), &ref, nullptr)) << path;
  return ref;
}

HFSUniStr255 Name(std::u16string const& s) {
  HFSUniStr255 n{};
  n.length = UInt16(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) n.unicode[i] = UniChar(s[i]);
  return n;
}

FileInfo AsFileInfo(FSCatalogInfo const& info) {
  FileInfo f;
  std::memcpy(&f, info.finderInfo, sizeof f);
  return f;
}

}  // namespace

TEST(Catalog, NodeFlagsNameAndParent) {
  std::string const dir = tavelo_test::MakeTempDir();
  std::ofstream(dir + "/pic.jpg") << "abc";
  FSRef const file = RefOf(dir + "/pic.jpg");
  FSCatalogInfo info{};
  HFSUniStr255 name{};
  FSRef parent{};
  ASSERT_EQ(noErr, FSGetCatalogInfo(&file, kFSCatInfoNodeFlags | kFSCatInfoDataSizes, &info, &name,
                                    nullptr, &parent));
  EXPECT_EQ(0, info.nodeFlags & kFSNodeIsDirectoryMask);
  EXPECT_EQ(3u, info.dataLogicalSize);
  EXPECT_EQ(Name(u"pic.jpg").length, name.length);
  EXPECT_EQ(0, std::memcmp(Name(u"pic.jpg").unicode, name.unicode, 7 * sizeof(UniChar)));
  EXPECT_EQ(dir, parent.path);

  FSRef const folder = RefOf(dir);
  ASSERT_EQ(noErr, FSGetCatalogInfo(&folder, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr));
  EXPECT_EQ(kFSNodeIsDirectoryMask, info.nodeFlags & kFSNodeIsDirectoryMask);
  // A validity probe asks for nothing.
  EXPECT_EQ(noErr, FSGetCatalogInfo(&folder, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr));
  FSRef zero{};
  EXPECT_EQ(errFSBadFSRef, FSGetCatalogInfo(&zero, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(paramErr, FSGetCatalogInfo(&folder, kFSCatInfoNodeFlags, nullptr, nullptr, nullptr, nullptr));
}

TEST(Catalog, RootHasNoParent) {
  FSRef const root = RefOf("/");
  FSRef parent{};
  parent.inode = 99;
  ASSERT_EQ(noErr, FSGetCatalogInfo(&root, kFSCatInfoNone, nullptr, nullptr, nullptr, &parent));
  EXPECT_EQ(0u, parent.inode);
  EXPECT_EQ(errFSBadFSRef, FSRefValidate(&parent));
}

TEST(Catalog, DatesAreSecondsSince1904) {
  std::string const dir = tavelo_test::MakeTempDir();
  std::string const path = dir + "/d";
  std::ofstream(path) << "x";
  struct timespec times[2] = {{0, UTIME_OMIT}, {1000000000, 500000000}};  // 2001-09-09
  ASSERT_EQ(0, ::utimensat(AT_FDCWD, path.c_str(), times, 0));
  FSRef const ref = RefOf(path);
  FSCatalogInfo info{};
  ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoContentMod | kFSCatInfoCreateDate, &info,
                                    nullptr, nullptr, nullptr));
  unsigned long long const expected = 1000000000ULL + 2082844800ULL;
  EXPECT_EQ(UInt16(expected >> 32), info.contentModDate.highSeconds);
  EXPECT_EQ(UInt32(expected), info.contentModDate.lowSeconds);
  EXPECT_EQ(0x8000, info.contentModDate.fraction);
  EXPECT_NE(0u, info.createDate.lowSeconds);

  // Setting the modification date round-trips.
  FSCatalogInfo set{};
  set.contentModDate = UTCDateTime{0, 3000000000u, 0x4000};
  ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoContentMod, &set));
  ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoContentMod, &info, nullptr, nullptr, nullptr));
  EXPECT_EQ(0, info.contentModDate.highSeconds);
  EXPECT_EQ(3000000000u, info.contentModDate.lowSeconds);
  EXPECT_EQ(0x4000, info.contentModDate.fraction);
}

TEST(FinderInfo, IsTheBigEndianRecordOfTheAttribute) {
  std::string const dir = tavelo_test::MakeTempDir();
  std::string const path = dir + "/pic.jpg";
  std::ofstream(path) << "x";
  FSRef const ref = RefOf(path);
  FSCatalogInfo info{};
  ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info, nullptr, nullptr, nullptr));
  EXPECT_EQ(0u, AsFileInfo(info).fileType);  // no attribute yet: all zero

  FileInfo f{};
  f.fileType = FOUR_CHAR_CODE("JPEG");
  f.fileCreator = FOUR_CHAR_CODE("prvw");
  f.finderFlags = 0x0100;
  f.location.v = 0x0102;
  f.location.h = 0x0304;
  std::memcpy(info.finderInfo, &f, sizeof f);
  ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));

  unsigned char record[64] = {};
  ASSERT_EQ(32, ::getxattr(path.c_str(), "user.com.apple.FinderInfo", record, sizeof record));
  unsigned char const expected[16] = {'J', 'P', 'E', 'G', 'p', 'r', 'v', 'w',
                                      0x01, 0x00, 0x01, 0x02, 0x03, 0x04, 0, 0};
  EXPECT_EQ(0, std::memcmp(expected, record, 16));
  for (int i = 16; i < 32; ++i) EXPECT_EQ(0, record[i]) << i;

  FSCatalogInfo back{};
  ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoFinderInfo, &back, nullptr, nullptr, nullptr));
  EXPECT_EQ(FOUR_CHAR_CODE("JPEG"), AsFileInfo(back).fileType);
  EXPECT_EQ(FOUR_CHAR_CODE("prvw"), AsFileInfo(back).fileCreator);
  EXPECT_EQ(0x0100, AsFileInfo(back).finderFlags);
  EXPECT_EQ(0x0304, AsFileInfo(back).location.h);
}

TEST(FinderInfo, SettingTheFirstHalfKeepsTheExtendedHalf) {
  std::string const path = tavelo_test::MakeTempDir() + "/f";
  std::ofstream(path) << "x";
  unsigned char record[32] = {};
  for (int i = 16; i < 32; ++i) record[i] = UInt8(i);
  ASSERT_EQ(0, ::setxattr(path.c_str(), "user.com.apple.FinderInfo", record, 32, 0));
  FSRef const ref = RefOf(path);
  FSCatalogInfo info{};
  FileInfo f{};
  f.fileType = FOUR_CHAR_CODE("TIFF");
  std::memcpy(info.finderInfo, &f, sizeof f);
  ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));
  unsigned char after[32] = {};
  ASSERT_EQ(32, ::getxattr(path.c_str(), "user.com.apple.FinderInfo", after, 32));
  EXPECT_EQ(0, std::memcmp("TIFF", after, 4));
  EXPECT_EQ(0, std::memcmp(record + 16, after + 16, 16));
}

TEST(FinderInfo, FileSystemWithoutUserAttributesGivesAnError) {
  tavelo_test::ScratchMount ramfs("ramfs");
  if (!ramfs.Mounted()) GTEST_SKIP() << "cannot mount a ramfs here";
  std::string const path = ramfs.Path() + "/pic.jpg";
  std::ofstream(path) << "x";
  FSRef const ref = RefOf(path);
  FSCatalogInfo info{};
  EXPECT_EQ(errFSOperationNotSupported,
            FSGetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info, nullptr, nullptr, nullptr));
  EXPECT_EQ(errFSOperationNotSupported, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));
  // Other catalog information is still there.
  EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr));
  // Creating with Finder information fails and leaves nothing behind.
  FSRef const folder = RefOf(ramfs.Path());
  HFSUniStr255 const name = Name(u"typed");
  FSRef made{};
  EXPECT_EQ(errFSOperationNotSupported,
            FSCreateFileUnicode(&folder, name.length, name.unicode, kFSCatInfoFinderInfo, &info, &made, nullptr));
  EXPECT_NE(0, ::access((ramfs.Path() + "/typed").c_str(), F_OK));
}

TEST(Catalog, ChildByUnicodeName) {
  std::string const dir = tavelo_test::MakeTempDir();
  std::ofstream(dir + "/\xC3\xA9t\xC3\xA9 \xF0\x9F\x93\xB7.png") << "x";  // "été 📷.png"
  FSRef const folder = RefOf(dir);
  HFSUniStr255 const name = Name(u"\u00e9t\u00e9 \U0001F4F7.png");
  FSRef child{};
  ASSERT_EQ(noErr, FSMakeFSRefUnicode(&folder, name.length, name.unicode, kTextEncodingUnknown, &child));
  EXPECT_EQ(dir + "/\xC3\xA9t\xC3\xA9 \xF0\x9F\x93\xB7.png", child.path);

  HFSUniStr255 const missing = Name(u"none");
  EXPECT_EQ(fnfErr, FSMakeFSRefUnicode(&folder, missing.length, missing.unicode, 0, &child));
  HFSUniStr255 const slash = Name(u"a/b");
  EXPECT_EQ(bdNamErr, FSMakeFSRefUnicode(&folder, slash.length, slash.unicode, 0, &child));
  HFSUniStr255 const dots = Name(u"..");
  EXPECT_EQ(bdNamErr, FSMakeFSRefUnicode(&folder, dots.length, dots.unicode, 0, &child));
  UniChar const lone[] = {0xD800, 'a'};
  EXPECT_EQ(bdNamErr, FSMakeFSRefUnicode(&folder, 2, lone, 0, &child));
  EXPECT_EQ(errFSMissingName, FSMakeFSRefUnicode(&folder, 0, name.unicode, 0, &child));
  // A file is not a folder to look in.
  FSRef const file = child;
  FSRef ignored{};
  ASSERT_EQ(noErr, FSMakeFSRefUnicode(&folder, name.length, name.unicode, 0, &ignored));
  EXPECT_EQ(errFSNotAFolder, FSMakeFSRefUnicode(&ignored, missing.length, missing.unicode, 0, &child));
  (void)file;
}

TEST(Catalog, CreateFileAndFolderByName) {
  std::string const dir = tavelo_test::MakeTempDir();
  FSRef const folder = RefOf(dir);
  HFSUniStr255 const name = Name(u"Bild \u00fc.jpg");
  FSCatalogInfo info{};
  FileInfo f{};
  f.fileType = FOUR_CHAR_CODE("JPEG");
  f.fileCreator = FOUR_CHAR_CODE("8BIM");
  std::memcpy(info.finderInfo, &f, sizeof f);
  FSRef file{};
  ASSERT_EQ(noErr, FSCreateFileUnicode(&folder, name.length, name.unicode, kFSCatInfoFinderInfo, &info,
                                       &file, nullptr));
  EXPECT_EQ(dir + "/Bild \xC3\xBC.jpg", file.path);
  FSCatalogInfo back{};
  ASSERT_EQ(noErr, FSGetCatalogInfo(&file, kFSCatInfoFinderInfo | kFSCatInfoNodeFlags, &back, nullptr,
                                    nullptr, nullptr));
  EXPECT_EQ(FOUR_CHAR_CODE("8BIM"), AsFileInfo(back).fileCreator);
  EXPECT_EQ(0, back.nodeFlags);
  EXPECT_EQ(dupFNErr, FSCreateFileUnicode(&folder, name.length, name.unicode, 0, nullptr, &file, nullptr));

  HFSUniStr255 const sub = Name(u"sub");
  FSRef made{};
  UInt32 dirID = 0;
  ASSERT_EQ(noErr, FSCreateDirectoryUnicode(&folder, sub.length, sub.unicode, 0, nullptr, &made, nullptr, &dirID));
  struct stat st {};
  ASSERT_EQ(0, ::stat((dir + "/sub").c_str(), &st));
  EXPECT_TRUE(S_ISDIR(st.st_mode));
  EXPECT_EQ(UInt32(st.st_ino), dirID);
  EXPECT_EQ(dupFNErr, FSCreateDirectoryUnicode(&folder, sub.length, sub.unicode, 0, nullptr, &made, nullptr, nullptr));
}

TEST(Catalog, CreateInReadOnlyFolderIsRefused) {
  HFSUniStr255 const name = Name(u"x");
  FSRef made{};
  if (::geteuid() != 0) {
    std::string const dir = tavelo_test::MakeTempDir();
    ::chmod(dir.c_str(), 0500);
    FSRef const folder = RefOf(dir);
    EXPECT_EQ(permErr, FSCreateFileUnicode(&folder, name.length, name.unicode, 0, nullptr, &made, nullptr));
    ::chmod(dir.c_str(), 0700);
    return;
  }
  // Root writes into any folder: take a read-only file system instead.
  tavelo_test::ScratchMount ro("tmpfs", "size=64k");
  if (!ro.MakeReadOnly()) GTEST_SKIP() << "cannot mount a read-only file system here";
  FSRef const folder = RefOf(ro.Path());
  EXPECT_EQ(wPrErr, FSCreateFileUnicode(&folder, name.length, name.unicode, 0, nullptr, &made, nullptr));
  EXPECT_EQ(wPrErr, FSCreateDirectoryUnicode(&folder, name.length, name.unicode, 0, nullptr, &made, nullptr, nullptr));
}

TEST(Catalog, DeleteObject) {
  std::string const dir = tavelo_test::MakeTempDir();
  std::ofstream(dir + "/f") << "x";
  ::mkdir((dir + "/full").c_str(), 0700);
  std::ofstream(dir + "/full/g") << "x";
  FSRef const file = RefOf(dir + "/f");
  FSRef const full = RefOf(dir + "/full");
  EXPECT_EQ(fBsyErr, FSDeleteObject(&full));
  EXPECT_EQ(noErr, FSDeleteObject(&file));
  EXPECT_NE(0, ::access((dir + "/f").c_str(), F_OK));
  EXPECT_EQ(fnfErr, FSDeleteObject(&file));
  ::unlink((dir + "/full/g").c_str());
  EXPECT_EQ(noErr, FSDeleteObject(&full));
}

TEST(Catalog, RenameKeepsIdentityAndRefusesAnExistingName) {
  std::string const dir = tavelo_test::MakeTempDir();
  std::ofstream(dir + "/a") << "A";
  std::ofstream(dir + "/b") << "B";
  FSRef const a = RefOf(dir + "/a");
  HFSUniStr255 const b = Name(u"b");
  FSRef renamed{};
  EXPECT_EQ(dupFNErr, FSRenameUnicode(&a, b.length, b.unicode, kTextEncodingMacUnicode, &renamed));
  EXPECT_EQ("B", tavelo_test::ReadFile(dir + "/b"));
  HFSUniStr255 const c = Name(u"\u00e7");
  ASSERT_EQ(noErr, FSRenameUnicode(&a, c.length, c.unicode, kTextEncodingMacUnicode, &renamed));
  EXPECT_EQ(dir + "/\xC3\xA7", renamed.path);
  EXPECT_EQ(a.inode, renamed.inode);
  EXPECT_EQ("A", tavelo_test::ReadFile(dir + "/\xC3\xA7"));
  EXPECT_NE(noErr, FSRefValidate(&a));
}
