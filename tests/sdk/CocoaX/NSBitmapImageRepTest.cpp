#include "NSBitmapImageRep.h"
#include "NSData_AtomicFile.h"
#include "PictureCheck.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QImage>

#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <string>
#include <sys/stat.h>

using tavelo_test::DecodeRGB;
using tavelo_test::MaxDifference;
using tavelo_test::PatternBitmap;
using tavelo_test::RGBOf;

namespace {

std::string Save(QByteArray const& data, char const* name) {
  std::string const path = tavelo_test::MakeTempDir() + "/" + name;
  QFile f(QString::fromStdString(path));
  f.open(QIODevice::WriteOnly);
  f.write(data);
  return path;
}

int FolderEntries(std::string const& dir) {
  int n = 0;
  if (DIR* d = ::opendir(dir.c_str())) {
    while (dirent* e = ::readdir(d))
      if (std::strcmp(e->d_name, ".") && std::strcmp(e->d_name, "..")) ++n;
    ::closedir(d);
  }
  return n;
}

}  // namespace

TEST(NSBitmapImageRep, OwnedAndBorrowedPixels) {
  NSBitmapImageRep owned(nullptr, 10, 4, 8, 3, false, 0, 32);
  ASSERT_TRUE(owned.IsConstructed());
  EXPECT_TRUE(owned.ownsData());
  EXPECT_EQ(40, owned.bytesPerRow());
  EXPECT_EQ(32, owned.bitsPerPixel());
  EXPECT_EQ(0, owned.bitmapData()[39]);
  unsigned char pixels[3 * 4 * 2] = {};
  NSBitmapImageRep borrowed(pixels, 4, 2, 8, 3, false, 12, 24);
  EXPECT_FALSE(borrowed.ownsData());
  EXPECT_EQ(pixels, borrowed.bitmapData());
  NSBitmapImageRep bad;
  EXPECT_FALSE(bad.Construct(nullptr, 4, 2, 16, 3, false, 0, 0));  // 16-bit samples
  EXPECT_FALSE(bad.Construct(nullptr, 4, 2, 8, 3, false, 8, 24));   // rows too short
  EXPECT_FALSE(bad.Construct(nullptr, 0, 2, 8, 3, false, 0, 24));
  EXPECT_TRUE(bad.representationUsingType(NSPNGFileType, {}).isNull());
}

TEST(NSBitmapImageRep, PngAndTiffDecodeToTheSamePixelsAsOpaqueRGB) {
  auto const rep = PatternBitmap();
  std::string const png = Save(rep->representationUsingType(NSPNGFileType, {{NSImageInterlaced, false}}), "p.png");
  std::string const tiff = Save(rep->TIFFRepresentation(), "t.tiff");
  for (std::string const& path : {png, tiff}) {
    int w = 0, h = 0;
    auto const rgb = DecodeRGB(path, w, h);
    EXPECT_EQ(64, w) << path;
    EXPECT_EQ(48, h) << path;
    EXPECT_EQ(RGBOf(*rep), rgb) << path;
    EXPECT_EQ("srgb", tavelo_test::Channels(path)) << path;
  }
  // PNG colour type 2 (RGB, no alpha), not interlaced.
  std::string const bytes = tavelo_test::ReadFile(png);
  ASSERT_GT(bytes.size(), 29u);
  EXPECT_EQ(2, bytes[25]);
  EXPECT_EQ(0, bytes[28]);
  // An sRGB chunk before the pixels.
  size_t const srgb = bytes.find("sRGB");
  ASSERT_NE(std::string::npos, srgb);
  EXPECT_LT(srgb, bytes.find("IDAT"));
}

TEST(NSBitmapImageRep, JpegDecodesCloseAndTheFactorSetsTheQuality) {
  auto const rep = PatternBitmap();
  QByteArray const best = rep->representationUsingType(NSJPEGFileType, {{NSImageCompressionFactor, 1.0}});
  QByteArray const normal = rep->representationUsingType(NSJPEGFileType, {{NSImageCompressionFactor, 0.75}});
  QByteArray const smallest = rep->representationUsingType(NSJPEGFileType, {{NSImageCompressionFactor, 0.0}});
  ASSERT_FALSE(normal.isEmpty());
  EXPECT_GT(best.size(), normal.size());
  EXPECT_GT(normal.size(), smallest.size());
  // No factor: 0.75.
  EXPECT_EQ(normal, rep->representationUsingType(NSJPEGFileType, {}));
  std::string const path = Save(normal, "n.jpg");
  int w = 0, h = 0;
  auto const rgb = DecodeRGB(path, w, h);
  ASSERT_EQ(64, w);
  EXPECT_LE(MaxDifference(RGBOf(*rep), rgb), 40);
  auto const fine = DecodeRGB(Save(best, "b.jpg"), w, h);
  EXPECT_LE(MaxDifference(RGBOf(*rep), fine), 12);
  EXPECT_EQ("srgb", tavelo_test::Channels(path));
}

TEST(NSBitmapImageRep, OtherLayouts) {
  // Packed RGB, grey, and RGBA with alpha.
  unsigned char rgb[2 * 2 * 3] = {255, 0, 0, 0, 255, 0, 0, 0, 255, 10, 20, 30};
  NSBitmapImageRep packed(rgb, 2, 2, 8, 3, false, 0, 24);
  QImage image = QImage::fromData(packed.representationUsingType(NSPNGFileType, {}));
  ASSERT_FALSE(image.isNull());
  EXPECT_EQ(qRgb(10, 20, 30), image.pixel(1, 1));
  EXPECT_EQ(qRgb(0, 255, 0), image.pixel(1, 0));

  unsigned char grey[4] = {0, 85, 170, 255};
  NSBitmapImageRep g(grey, 2, 2, 8, 1, false, 0, 8);
  image = QImage::fromData(g.TIFFRepresentation());
  ASSERT_FALSE(image.isNull());
  EXPECT_EQ(qRgb(170, 170, 170), image.pixel(0, 1));
  EXPECT_FALSE(g.representationUsingType(NSJPEGFileType, {}).isEmpty());

  unsigned char rgba[4] = {200, 100, 50, 128};
  NSBitmapImageRep a(rgba, 1, 1, 8, 4, true, 0, 32);
  image = QImage::fromData(a.representationUsingType(NSPNGFileType, {}));
  ASSERT_FALSE(image.isNull());
  EXPECT_TRUE(image.hasAlphaChannel());
  EXPECT_EQ(qRgba(200, 100, 50, 128), image.pixel(0, 0));

  // Qt's own TIFF reader premultiplies unassociated alpha; ImageMagick reads the samples.
  unsigned char greyAlpha[2] = {90, 30};
  NSBitmapImageRep ga(greyAlpha, 1, 1, 8, 2, true, 0, 16);
  std::string const path = Save(ga.TIFFRepresentation(), "ga.tiff");
  std::string rgbaSamples;
  if (FILE* p = ::popen(("convert '" + path + "' -depth 8 rgba:- 2>/dev/null").c_str(), "r")) {
    char buffer[16];
    rgbaSamples.assign(buffer, std::fread(buffer, 1, sizeof buffer, p));
    ::pclose(p);
  }
  EXPECT_EQ(std::string("\x5A\x5A\x5A\x1E"), rgbaSamples);
  EXPECT_TRUE(packed.representationUsingType(NSGIFFileType, {}).isNull());
}

TEST(NSDataAtomicFile, WritesReplacesAndLeavesNoTemporary) {
  std::string const dir = tavelo_test::MakeTempDir();
  QString const path = QString::fromStdString(dir + "/f.bin");
  ASSERT_TRUE(NSData_writeToFile(QByteArray("first"), path, true));
  ASSERT_TRUE(NSData_writeToFile(QByteArray("second"), path, true));
  EXPECT_EQ("second", tavelo_test::ReadFile(dir + "/f.bin"));
  EXPECT_EQ(1, FolderEntries(dir));
  struct stat st {};
  ASSERT_EQ(0, ::stat((dir + "/f.bin").c_str(), &st));
  mode_t const mask = ::umask(0);
  ::umask(mask);
  EXPECT_EQ(0666u & ~mask, st.st_mode & 0777);
  EXPECT_FALSE(NSData_writeToFile(QByteArray("x"), QString::fromStdString(dir + "/none/f"), true));
  EXPECT_FALSE(NSData_writeToFile(QByteArray(), path, true));
  EXPECT_TRUE(NSData_writeToFile(QByteArray("plain"), path, false));
  EXPECT_EQ("plain", tavelo_test::ReadFile(dir + "/f.bin"));
  EXPECT_EQ(1, FolderEntries(dir));
}
