#include "../CoreX/FileTestHelpers.h"
#include "CoreNumberedFilename.h"
#include "Files.h"
#include "NSBitmapImageRep.h"
#include "PictureCheck.h"
#include "ScratchMount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

using tavelo_test::Canonical;
using tavelo_test::DecodeRGB;
using tavelo_test::LogTail;
using tavelo_test::MaskedLines;
using tavelo_test::MaxDifference;
using tavelo_test::PatternBitmap;
using tavelo_test::RGBOf;
using tavelo_test::Verify;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string Q(std::string const& code, std::string const& function) {
  return Verify(code, "CocoaX/NSBitmapImageRep_QuickSaveFile", function);
}

std::set<std::string> Entries(std::string const& dir) {
  std::set<std::string> names;
  if (DIR* d = ::opendir(dir.c_str())) {
    while (dirent* e = ::readdir(d))
      if (std::strcmp(e->d_name, ".") && std::strcmp(e->d_name, "..")) names.insert(e->d_name);
    ::closedir(d);
  }
  return names;
}

// Type and creator from the Finder information attribute; false when it is missing.
bool TypeCreator(std::string const& path, std::string& type, std::string& creator) {
  unsigned char record[32] = {};
  if (::getxattr(path.c_str(), "user.com.apple.FinderInfo", record, sizeof record) != 32) return false;
  type.assign(reinterpret_cast<char*>(record), 4);
  creator.assign(reinterpret_cast<char*>(record) + 4, 4);
  return true;
}

std::string Stamp(std::string const& path) {
  std::string type, creator;
  return TypeCreator(path, type, creator) ? type + "/" + creator : "(none)";
}

class QuickSave : public testing::Test {
 protected:
  void SetUp() override {
    NSBitmapImageRep::setQuikCreatorPreviewApp();
    NSBitmapImageRep::setQuikSaveImageType(QuikSaveImageType_JPEG);
    mDir = Canonical(tavelo_test::MakeTempDir("quick"));
    ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPathUTF8(mDir.c_str()));
  }
  std::string mDir;
  std::unique_ptr<NSBitmapImageRep> mRep = PatternBitmap();
};

}  // namespace

// Runs in a fresh process: the quick-save settings have never been touched there.
TEST(QuickSaveFirstUse, GoesToThePicturesFolderAndNumbersFromZero) {
  std::string const pictures = std::string(std::getenv("HOME")) + "/FirstUsePictures";
  ::mkdir(pictures.c_str(), 0700);
  ::setenv("XDG_PICTURES_DIR", pictures.c_str(), 1);
  EXPECT_EXIT(
      {
        auto const rep = PatternBitmap();
        int code = 0;
        if (NSBitmapImageRep::quickSaveFolderUnixPath() != QString::fromStdString(Canonical(pictures))) code = 2;
        else if (!rep->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_JPEG)) code = 3;
        else if (!rep->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_JPEG)) code = 4;
        else if (!rep->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_TIFF)) code = 5;
        else if (!rep->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_PNG)) code = 6;
        std::exit(code);
      },
      testing::ExitedWithCode(0), "");
  ::unsetenv("XDG_PICTURES_DIR");
  EXPECT_EQ((std::set<std::string>{"Tavelo 0000.jpg", "Tavelo 0001.jpg", "Tavelo 0000.tiff", "Tavelo 0000.png"}),
            Entries(pictures));
  auto const expected = RGBOf(*PatternBitmap());
  for (char const* name : {"Tavelo 0000.tiff", "Tavelo 0000.png"}) {
    int w = 0, h = 0;
    EXPECT_EQ(expected, DecodeRGB(pictures + "/" + name, w, h)) << name;
    EXPECT_EQ("srgb", tavelo_test::Channels(pictures + "/" + name)) << name;
  }
  for (char const* name : {"Tavelo 0000.jpg", "Tavelo 0001.jpg"}) {
    int w = 0, h = 0;
    auto const rgb = DecodeRGB(pictures + "/" + name, w, h);
    EXPECT_EQ(64, w);
    EXPECT_EQ(48, h);
    EXPECT_LE(MaxDifference(expected, rgb), 40) << name;
  }
  EXPECT_EQ("JPEG/prvw", Stamp(pictures + "/Tavelo 0000.jpg"));
  EXPECT_EQ("JPEG/prvw", Stamp(pictures + "/Tavelo 0001.jpg"));
  EXPECT_EQ("TIFF/prvw", Stamp(pictures + "/Tavelo 0000.tiff"));
  EXPECT_EQ("PNGf/prvw", Stamp(pictures + "/Tavelo 0000.png"));
}

TEST_F(QuickSave, TiffTypeWritesDotTiffAndUnknownTypesWriteJpeg) {
  LogTail tail;
  ASSERT_TRUE(mRep->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_TIFF));
  ASSERT_TRUE(mRep->saveToNextNumberedFileName("Tavelo %04d", 7));
  EXPECT_EQ((std::set<std::string>{"Tavelo 0000.tiff", "Tavelo 0000.jpg"}), Entries(mDir));
  EXPECT_EQ("TIFF/prvw", Stamp(mDir + "/Tavelo 0000.tiff"));
  EXPECT_EQ("JPEG/prvw", Stamp(mDir + "/Tavelo 0000.jpg"));
  EXPECT_EQ(std::string("\xFF\xD8"), tavelo_test::ReadFile(mDir + "/Tavelo 0000.jpg").substr(0, 2));
  EXPECT_THAT(tail.Lines(), IsEmpty());
}

TEST_F(QuickSave, CreatorsAreStamped) {
  NSBitmapImageRep::setQuikCreatoriPhotoApp();
  EXPECT_EQ(FOUR_CHAR_CODE("iPho"), NSBitmapImageRep::defaultQuikCreatorCode());
  ASSERT_TRUE(mRep->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_PNG));
  EXPECT_EQ("PNGf/iPho", Stamp(mDir + "/Tavelo 0000.png"));
  NSBitmapImageRep::setQuikCreatorQuickTimeApp();
  EXPECT_EQ(FOUR_CHAR_CODE("TVOD"), NSBitmapImageRep::defaultQuikCreatorCode());
  NSBitmapImageRep::setQuikCreatorPhotoshopApp();
  EXPECT_EQ(FOUR_CHAR_CODE("8BIM"), NSBitmapImageRep::defaultQuikCreatorCode());
  ASSERT_TRUE(mRep->saveAsJPEG(QString::fromStdString(mDir + "/p.jpg")));
  EXPECT_EQ("JPEG/8BIM", Stamp(mDir + "/p.jpg"));
  NSBitmapImageRep::setQuikCreatorCode(FOUR_CHAR_CODE("abcd"));
  ASSERT_TRUE(mRep->saveAsTIFF(QString::fromStdString(mDir + "/p.tif")));
  EXPECT_EQ("TIFF/abcd", Stamp(mDir + "/p.tif"));
  NSBitmapImageRep::setQuikCreatorPreviewApp();
  EXPECT_EQ(FOUR_CHAR_CODE("prvw"), NSBitmapImageRep::defaultQuikCreatorCode());
}

TEST_F(QuickSave, JPEGsUseTheChosenQualityAndSeventyFiveByDefault) {
  EXPECT_FLOAT_EQ(0.75f, NSBitmapImageRep::quikJPEGCompressionFactor());
  std::string const standard = mDir + "/q75.jpg";
  ASSERT_TRUE(mRep->saveAsJPEG(QString::fromStdString(standard)));
  // The same bytes as asking for 0.75 outright.
  ASSERT_TRUE(mRep->saveAsJPEG(QString::fromStdString(mDir + "/explicit.jpg"), 0.75f));
  EXPECT_EQ(tavelo_test::ReadFile(mDir + "/explicit.jpg"), tavelo_test::ReadFile(standard));
  NSBitmapImageRep::setQuikJPEGCompressionFactor(1.0f);
  EXPECT_FLOAT_EQ(1.0f, NSBitmapImageRep::quikJPEGCompressionFactor());
  ASSERT_TRUE(mRep->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_JPEG));
  EXPECT_GT(tavelo_test::ReadFile(mDir + "/Tavelo 0000.jpg").size(),
            tavelo_test::ReadFile(standard).size());
  // Out of range: held to what JPEG allows.
  NSBitmapImageRep::setQuikJPEGCompressionFactor(7.0f);
  EXPECT_FLOAT_EQ(1.0f, NSBitmapImageRep::quikJPEGCompressionFactor());
  NSBitmapImageRep::setQuikJPEGCompressionFactor(0.75f);
}

TEST_F(QuickSave, FormatNamingTiffChoosesTiff) {
  ASSERT_TRUE(mRep->saveToNextNumberedFileName("Tavelo %04d.tiff"));
  EXPECT_EQ((std::set<std::string>{"Tavelo 0000.tiff.tiff"}), Entries(mDir));
  EXPECT_EQ("TIFF/prvw", Stamp(mDir + "/Tavelo 0000.tiff.tiff"));
  ASSERT_TRUE(mRep->saveToNextNumberedFileName("Shot %04d.png"));
  EXPECT_EQ("PNGf/prvw", Stamp(mDir + "/Shot 0000.png.png"));
  // Without a known extension the default type is used.
  NSBitmapImageRep::setQuikSaveImageType(QuikSaveImageType_PNG);
  EXPECT_EQ(QuikSaveImageType_PNG, NSBitmapImageRep::defaultQuikSaveImageType());
  ASSERT_TRUE(mRep->saveToNextNumberedFileName("Grab %04d"));
  EXPECT_EQ("PNGf/prvw", Stamp(mDir + "/Grab 0000.png"));
  ASSERT_TRUE(mRep->saveToNextNumberedFileName("Grab %04d.jpg"));
  EXPECT_EQ("JPEG/prvw", Stamp(mDir + "/Grab 0000.jpg.jpg"));
}

TEST_F(QuickSave, FolderSettings) {
  EXPECT_EQ(QString::fromStdString(mDir), NSBitmapImageRep::quickSaveFolderUnixPath());
  std::string const other = Canonical(tavelo_test::MakeTempDir("\xC3\xA9t\xC3\xA9"));
  ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPath(QString::fromStdString(other)));
  EXPECT_EQ(QString::fromStdString(other), NSBitmapImageRep::quickSaveFolderUnixPath());
  std::string const documents = Canonical(tavelo_test::MakeTempDir("docs"));
  ::setenv("XDG_DOCUMENTS_DIR", documents.c_str(), 1);
  ASSERT_TRUE(NSBitmapImageRep::setQuikSaveLocation(kFolderEnum_Documents));
  EXPECT_EQ(3, NSBitmapImageRep::defaultQuikSaveLocation());
  EXPECT_EQ(QString::fromStdString(documents), NSBitmapImageRep::quickSaveFolderUnixPath());
  ::unsetenv("XDG_DOCUMENTS_DIR");
  EXPECT_FALSE(NSBitmapImageRep::setGrabFolderSubDirectory(QStringLiteral("sub")));
  LogTail tail;
  EXPECT_FALSE(NSBitmapImageRep::setQuickSaveFolderUnixPath(QString()));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(Q("utf8_unix_path", "NSBitmapImageRep::setQuickSaveFolderUnixPath")));
  std::string const pictures = Canonical(tavelo_test::MakeTempDir("pictures"));
  ::setenv("XDG_PICTURES_DIR", pictures.c_str(), 1);
  ASSERT_TRUE(NSBitmapImageRep::setQuikSaveLocation(kFolderEnum_Pictures));
  EXPECT_EQ(0, NSBitmapImageRep::defaultQuikSaveLocation());
  EXPECT_EQ(QString::fromStdString(pictures), NSBitmapImageRep::quickSaveFolderUnixPath());
  ::unsetenv("XDG_PICTURES_DIR");
}

TEST_F(QuickSave, MissingFolderIsRefusedAndWritingIntoItFails) {
  std::string const missing = mDir + "/none";
  LogTail tail;
  EXPECT_FALSE(NSBitmapImageRep::setQuickSaveFolderUnixPathUTF8(missing.c_str()));
  EXPECT_FALSE(mRep->saveAsJPEG(QString::fromStdString(missing + "/a.jpg")));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      Verify("bool_FSRef_ConstructFromPath(sUserDefaultFolder, inFolderUnixPath)", "CoreX/CoreNumberedFilename",
             "CoreNumberedFilename::Construct"),
      Q("sNumberedFilename.Construct(quickSaveFolderUnixPath)", "NSBitmapImageRep::setQuickSaveFolderUnixPathUTF8"),
      Q("[JPEG_ImageData writeToFile:inOutputFileName atomically:YES]", "NSBitmapImageRep::saveAsJPEG")));
  EXPECT_TRUE(Entries(mDir).empty());
}

TEST_F(QuickSave, FolderThatIsAFileTakesNoPicture) {
  std::string const file = mDir + "/plain";
  tavelo_test::WriteText(file, "x");
  ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPathUTF8(file.c_str()));
  LogTail tail;
  EXPECT_FALSE(mRep->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_PNG));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      Q("[imageData writeToFile:inOutputFileName atomically:YES]", "NSBitmapImageRep::saveAsPNG"),
      Q("result=[saveImageRep saveAsPNG:inFilePathName]", "NSBitmapImageRep::saveToPictureFileName"),
      Q("result = saveToPictureFileName(withNamedFilePath, imageType)", "NSBitmapImageRep::saveToNextNumberedFileName")));
  EXPECT_EQ((std::set<std::string>{"plain"}), Entries(mDir));
  EXPECT_EQ("x", tavelo_test::ReadFile(file));
}

TEST_F(QuickSave, ReadOnlyFolderTakesNoPicture) {
  std::string folder;
  std::unique_ptr<tavelo_test::ScratchMount> ro;
  if (::geteuid() == 0) {
    // Root writes into any folder: take a read-only file system instead.
    ro = std::make_unique<tavelo_test::ScratchMount>("tmpfs", "size=256k");
    if (!ro->MakeReadOnly()) GTEST_SKIP() << "cannot mount a read-only file system here";
    folder = ro->Path();
  } else {
    folder = mDir + "/ro";
    ::mkdir(folder.c_str(), 0500);
  }
  ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPathUTF8(folder.c_str()));
  LogTail tail;
  EXPECT_FALSE(mRep->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_TIFF));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      Q("[imageData writeToFile:inOutputFileName atomically:YES]", "NSBitmapImageRep::saveAsTIFF"),
      Q("result=[saveImageRep saveAsTIFF:inFilePathName]", "NSBitmapImageRep::saveToPictureFileName"),
      Q("result = saveToPictureFileName(withNamedFilePath, imageType)", "NSBitmapImageRep::saveToNextNumberedFileName")));
  EXPECT_TRUE(Entries(folder).empty());
  if (!ro) ::chmod(folder.c_str(), 0700);
}

TEST_F(QuickSave, FileSystemWithoutAttributesKeepsThePictureButAnswersNo) {
  tavelo_test::ScratchMount ramfs("ramfs");
  if (!ramfs.Mounted()) GTEST_SKIP() << "cannot mount a ramfs here";
  std::string const path = ramfs.Path() + "/a.jpg";
  LogTail tail;
  EXPECT_FALSE(mRep->saveAsJPEG(QString::fromStdString(path)));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      Q("result = FSRef_SetFileTypeCreator(fileRef, filetype, creator )", "SetFileTypeCreatorCode"),
      Q("result = SetFileTypeCreatorCode( [inOutputFileName UTF8String], QuikSaveImageType_JPEG )",
        "NSBitmapImageRep::saveAsJPEG")));
  EXPECT_EQ((std::set<std::string>{"a.jpg"}), Entries(ramfs.Path()));
  int w = 0, h = 0;
  EXPECT_LE(MaxDifference(RGBOf(*mRep), DecodeRGB(path, w, h)), 40);
}

TEST_F(QuickSave, DiskFullPartWayLeavesNoPartialPicture) {
  tavelo_test::ScratchMount small("tmpfs", "size=64k");
  if (!small.Mounted()) GTEST_SKIP() << "cannot mount a tmpfs here";
  auto const big = PatternBitmap(400, 300);  // 360 000 bytes as TIFF
  std::string const path = small.Path() + "/big.tiff";
  LogTail tail;
  EXPECT_FALSE(big->saveAsTIFF(QString::fromStdString(path)));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(
      Q("[imageData writeToFile:inOutputFileName atomically:YES]", "NSBitmapImageRep::saveAsTIFF")));
  EXPECT_TRUE(Entries(small.Path()).empty());
}

TEST_F(QuickSave, FileSizeLimitPartWayLeavesNoPartialPictureAndKeepsTheOldOne) {
  std::string const path = mDir + "/Tavelo 0000.tiff";
  tavelo_test::WriteText(path, "old picture");
  auto const big = PatternBitmap(400, 300);
  std::fflush(nullptr);
  pid_t const child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 100000;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    bool const saved = big->saveAsTIFF(QString::fromStdString(path));
    ::_exit(saved ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(child, ::waitpid(child, &status, 0));
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status));  // the save answered NO
  EXPECT_EQ((std::set<std::string>{"Tavelo 0000.tiff"}), Entries(mDir));
  EXPECT_EQ("old picture", tavelo_test::ReadFile(path));
}

TEST_F(QuickSave, NonAsciiFolderAndName) {
  std::string const folder = mDir + "/Bilder \xC3\xA4\xC3\xB6\xC3\xBC";
  ::mkdir(folder.c_str(), 0700);
  ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPathUTF8(folder.c_str()));
  ASSERT_TRUE(mRep->saveToNextNumberedFileName("\xE5\x86\x99\xE7\x9C\x9F %04d", QuikSaveImageType_PNG));
  std::string const path = folder + "/\xE5\x86\x99\xE7\x9C\x9F 0000.png";
  EXPECT_EQ("PNGf/prvw", Stamp(path));
  int w = 0, h = 0;
  EXPECT_EQ(RGBOf(*mRep), DecodeRGB(path, w, h));
  EXPECT_EQ(QString::fromUtf8((folder + "/\xE5\x86\x99\xE7\x9C\x9F 0001.png").c_str()),
            mRep->nextNumberedFileNameString("\xE5\x86\x99\xE7\x9C\x9F %04d", QuikSaveImageType_PNG));
}

TEST_F(QuickSave, AThousandJpegsLeaveNoJpegNameButPngStillWorks) {
  for (int n = 0; n <= 999; ++n) {
    char name[64];
    std::snprintf(name, sizeof name, "/Tavelo %04d.jpg", n);
    tavelo_test::WriteText(mDir + name, "");
  }
  LogTail tail;
  EXPECT_TRUE(mRep->nextNumberedFileNameString("Tavelo %04d", QuikSaveImageType_JPEG).isNull());
  EXPECT_FALSE(mRep->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_JPEG));
  std::string const find = Q("sNumberedFilename.FindFirstAvailableNamedPath(firstUnixPathAvailable, "
                             "inNameFormatString, fileExtension)",
                             "NSBitmapImageRep::nextNumberedFileNameString");
  EXPECT_THAT(MaskedLines(tail), ElementsAre(find, find, Q("withNamedFilePath", "NSBitmapImageRep::saveToNextNumberedFileName")));
  EXPECT_EQ(1000u, Entries(mDir).size());
  ASSERT_TRUE(mRep->saveToNextNumberedFileName("Tavelo %04d", QuikSaveImageType_PNG));
  EXPECT_EQ("PNGf/prvw", Stamp(mDir + "/Tavelo 0000.png"));
}

TEST_F(QuickSave, SetFileTypeCreatorCodeOfAMissingFile) {
  LogTail tail;
  EXPECT_FALSE(SetFileTypeCreatorCode((mDir + "/none.jpg").c_str(), QuikSaveImageType_JPEG));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(Q("bool_FSRef_ConstructFromPath(fileRef, in_pathname)", "SetFileTypeCreatorCode")));
  tavelo_test::WriteText(mDir + "/x", "x");
  EXPECT_TRUE(SetFileTypeCreatorCode((mDir + "/x").c_str(), 5));
  EXPECT_EQ("JPEG/prvw", Stamp(mDir + "/x"));
}
