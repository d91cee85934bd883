#include "QAutoLock.h"
#include "QGWorld.h"
#include "QImageDescription.h"

#include "LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

using QClasses::QPoint;
using tavelo_test::LogTail;
using tavelo_test::MaskedLines;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
std::string V(std::string const& code, std::string const& function) {
  return tavelo_test::Verify(code, "QClasses/QImageDescription", function);
}
}  // namespace

TEST(QImageDescription, EmptyAnswersZeros) {
  QImageDescription d;
  EXPECT_EQ(0, d.Width());
  EXPECT_EQ(0, d.Height());
  EXPECT_EQ(0u, d.GetPixelFormat());
  EXPECT_EQ(QPoint(0, 0), d.Dimensions());
  Rect r{1, 2, 3, 4};
  EXPECT_FALSE(d.GetBounds(r));
  EXPECT_EQ(0, r.top + r.left + r.bottom + r.right);
  LogTail tail;
  EXPECT_EQ(0, d.DataSize());
  EXPECT_EQ(0, d.BitDepth());
  EXPECT_FALSE(d.Construct(static_cast<ImageDescription**>(nullptr), true));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("mHandle", "QImageDescription::DataSize"),
                                             V("mHandle", "QImageDescription::BitDepth"),
                                             V("mHandle = hImageDescription", "QImageDescription::Construct")));
}

TEST(QImageDescription, FromAPixMapCarriesRowBytes) {
  QGWorld w(Point{3, 5}, k32ARGBPixelFormat);
  QImageDescription d(w.GetPixMap());
  EXPECT_EQ(5, d.Width());
  EXPECT_EQ(3, d.Height());
  EXPECT_EQ(32, d.BitDepth());
  EXPECT_EQ(3 * 32, d.DataSize());
  Rect r{};
  EXPECT_TRUE(d.GetBounds(r));
  EXPECT_EQ(5, r.right);
  long rowBytes = 0;
  ASSERT_TRUE(d.GetExtension_rowb(rowBytes, 1));
  EXPECT_EQ(32, rowBytes);
  EXPECT_TRUE(d.AddExtension_rowb(999));  // one is there already: nothing added
  long count = 0;
  CountImageDescriptionExtensionType(d.mHandle, 'rowb', &count);
  EXPECT_EQ(1, count);
  d.SetWidthHeight(Point{7, 9});
  EXPECT_EQ(QPoint(9, 7), d.Dimensions());  // width 9, height 7
}

TEST(QImageDescription, ComputedRowBytesOnlyForTheFourTwoTwoFormats) {
  QImageDescription yuv(FOUR_CHAR_CODE("yuvs"));
  yuv.SetWidthHeight(10, 4);
  long rowBytes = 0;
  EXPECT_TRUE(yuv.GetExtension_rowb(rowBytes));
  EXPECT_EQ(20, rowBytes);  // width x 2 without a data size
  (*yuv.mHandle)->dataSize = 4 * 24 + 3;
  EXPECT_TRUE(yuv.GetExtension_rowb(rowBytes));
  EXPECT_EQ(24, rowBytes);  // 99 / 4
  QImageDescription other(FOUR_CHAR_CODE("r408"));
  EXPECT_FALSE(other.GetExtension_rowb(rowBytes));
}

TEST(QImageDescription, TypedExtensions) {
  QImageDescription d(FOUR_CHAR_CODE("2vuy"));
  ASSERT_EQ(noErr, d.AddImageDescriptionExtension_U32(0x00023333, 'gama'));
  ASSERT_EQ(noErr, d.AddImageDescriptionExtension_U32(FOUR_CHAR_CODE("709 "), 'cspc'));
  FieldInfoImageDescriptionExtension2 const fiel{2, 9};
  ASSERT_TRUE(d.AddExtension(fiel, 'fiel'));
  PixelAspectRatioImageDescriptionExtension const pasp{10, 11};
  ASSERT_TRUE(d.AddExtension(pasp, 'pasp'));
  NCLCColorInfoImageDescriptionExtension const nclc{FOUR_CHAR_CODE("nclc"), 6, 1, 6};
  ASSERT_TRUE(d.AddExtension(nclc, 'nclc'));
  CleanApertureImageDescriptionExtension const clap{704, 1, 480, 1, 0, 1, 0, 1};
  ASSERT_TRUE(d.AddExtension(clap, 'clap'));
  Fixed gamma = 0;
  EXPECT_TRUE(d.GetExtension_gama(gamma, 1));
  EXPECT_EQ(0x00023333, gamma);
  OSType space = 0;
  EXPECT_TRUE(d.GetExtension_cspc(space, 1));
  EXPECT_EQ(FOUR_CHAR_CODE("709 "), space);
  FieldInfoImageDescriptionExtension2 f{};
  EXPECT_TRUE(d.GetExtension(f, 1));
  EXPECT_EQ(2, f.fields);
  EXPECT_EQ(9, f.detail);
  PixelAspectRatioImageDescriptionExtension p{};
  EXPECT_TRUE(d.GetExtension(p, 1));
  EXPECT_EQ(11u, p.vSpacing);
  NCLCColorInfoImageDescriptionExtension n{};
  EXPECT_TRUE(d.GetExtension(n, 1));
  EXPECT_EQ(6, n.matrix);
  CleanApertureImageDescriptionExtension c{};
  EXPECT_TRUE(d.GetExtension(c, 1));
  EXPECT_EQ(704u, c.cleanApertureWidthN);
  EXPECT_FALSE(d.GetExtension(c, 2));  // only one
  long type = 0;
  std::vector<std::string> types;
  for (bool more = d.GetFirstExtensionType(type); more; more = d.GetNextExtensionType(type))
    types.push_back(std::string{char(type >> 24), char(type >> 16), char(type >> 8), char(type)});
  EXPECT_THAT(types, ElementsAre("gama", "cspc", "fiel", "pasp", "nclc", "clap"));
}

TEST(QImageDescription, AClapOfTheWrongSizeReadsAsZeros) {
  QImageDescription d(FOUR_CHAR_CODE("2vuy"));
  unsigned char const shortClap[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  ASSERT_EQ(noErr, d.AddImageDescriptionExtension(shortClap, sizeof shortClap, 'clap'));
  CleanApertureImageDescriptionExtension c;
  std::memset(&c, 0xAB, sizeof c);
  LogTail tail;
  EXPECT_TRUE(d.GetExtension(c, 1));
  CleanApertureImageDescriptionExtension const zero{};
  EXPECT_EQ(0, std::memcmp(&zero, &c, sizeof c));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("in_data_size==lock.HandleSizeBytes()",
                                               "QImageDescription::GetImageDescriptionExtension")));
}

TEST(QImageDescription, ExtensionCallsRefuseBadArguments) {
  QImageDescription d(FOUR_CHAR_CODE("2vuy"));
  LogTail tail;
  EXPECT_EQ(paramErr, d.AddImageDescriptionExtension(static_cast<char**>(nullptr), 'abcd'));
  Handle h = NewHandle(4);
  EXPECT_EQ(paramErr, d.AddImageDescriptionExtension(h, 0));
  DisposeHandle(h);
  EXPECT_EQ(paramErr, d.AddImageDescriptionExtension("abcd", 4, 0));
  char** out = nullptr;
  EXPECT_EQ(codecExtensionNotFoundErr, d.GetImageDescriptionExtension(out, 'none', 1));  // quiet
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("idType!=kInvalidTypeId",
                                               "QImageDescription::AddImageDescriptionExtension")));
}

TEST(QImageDescription, CopiesAreDuplicatesItDoesNotOwn) {
  QImageDescription original(FOUR_CHAR_CODE("2vuy"));
  original.SetWidthHeight(8, 2);
  QImageDescription copy(original);
  ASSERT_NE(nullptr, copy.mHandle);
  EXPECT_NE(original.mHandle, copy.mHandle);
  EXPECT_FALSE(copy.mOwned);
  EXPECT_EQ(8, copy.Width());
  ImageDescriptionHandle const duplicate = copy.mHandle;
  copy.Destruct();
  // The duplicate is still alive: this object never disposes it.
  EXPECT_EQ(8, (*duplicate)->width);
  DisposeHandle(reinterpret_cast<Handle>(duplicate));
}

TEST(QImageDescription, DebugPrint) {
  QImageDescription d(FOUR_CHAR_CODE("2vuy"));
  d.SetWidthHeight(720, 480);
  (*d.mHandle)->depth = 24;
  ASSERT_EQ(noErr, d.AddImageDescriptionExtension_S32(1440, 'rowb'));
  ASSERT_EQ(noErr, d.AddImageDescriptionExtension_U32(7, 'fiel'));
  LogTail tail;
  d.CoreDebugPrint("frame", 0);
  auto lines = tail.Lines();
  ASSERT_EQ(6u, lines.size());
  EXPECT_THAT(lines[0], testing::MatchesRegex("QImageDescription: frame \\([0-9a-f]{8,}\\)"));
  EXPECT_EQ("ImageDescription.depth = 24", lines[1]);
  EXPECT_EQ("ImageDescription.(width,height) = (720,480)", lines[2]);
  EXPECT_EQ("ImageDescription.cType (pixelFormat)= 2vuy", lines[3]);
  EXPECT_EQ("ImageDescription.extension[00]=rowb", lines[4]);
  EXPECT_EQ("ImageDescription.extension[01]=fiel", lines[5]);
  LogTail verbose;
  d.CoreDebugPrint("frame", 1);
  lines = verbose.Lines();
  ASSERT_EQ(19u, lines.size());
  EXPECT_EQ("ImageDescription.resvd1=0 (0)", lines[4]);
  EXPECT_EQ("ImageDescription.spatialQuality =0", lines[11]);
  EXPECT_EQ("ImageDescription.clutID=0", lines[16]);
  LogTail empty;
  QImageDescription().CoreDebugPrint("none", 1);
  lines = MaskedLines(empty);
  ASSERT_EQ(2u, lines.size());
  EXPECT_EQ("QImageDescription: none (00000000)", lines[0]);
  EXPECT_EQ(V("mHandle", "QImageDescription::CoreDebugPrint"), lines[1]);
}

TEST(QAutoLock, UnlocksOnlyWhatItLocked) {
  Handle h = NewHandle(8);
  {
    QAutoLock lock(h);
    EXPECT_TRUE(HGetState(h) & kHandleLockedMask);
    EXPECT_EQ(8u, lock.HandleSizeBytes());
  }
  EXPECT_FALSE(HGetState(h) & kHandleLockedMask);
  HLock(h);
  { QAutoLock lock(h); }
  EXPECT_TRUE(HGetState(h) & kHandleLockedMask);  // was locked before: stays locked
  HUnlock(h);
  Handle other = NewHandle(1);
  {
    QAutoLock lock(h);
    lock.Lock(other);
    EXPECT_FALSE(HGetState(h) & kHandleLockedMask);
    EXPECT_TRUE(HGetState(other) & kHandleLockedMask);
  }
  EXPECT_FALSE(HGetState(other) & kHandleLockedMask);
  DisposeHandle(h);
  DisposeHandle(other);
}
