#include "GrabTestSupport.h"

#include <QDir>

#include "AppTestSupport.h"
#include "NSBitmapImageRep.h"

void GrabControllerTest::SetUp() {
  tavelo_app_test::ProcessEvents();
  mFolder = tavelo_app_test::NewFolder("quicksave");
  ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPath(mFolder));
  NSBitmapImageRep::setQuikCreatorPreviewApp();
}

void GrabControllerTest::TearDown() { NSBitmapImageRep::setScreenFallbackWindow(nullptr); }

QStringList GrabControllerTest::Files() const { return QDir(mFolder).entryList(QDir::Files, QDir::Name); }

namespace tavelo_grab_test {

QColor CentreColour(NSBitmapImageRep const& bitmap) {
  unsigned char const* p = bitmap.bitmapData() + (bitmap.pixelsHigh() / 2) * bitmap.bytesPerRow() +
                           (bitmap.pixelsWide() / 2) * (bitmap.bitsPerPixel() / 8);
  return QColor(p[0], p[1], p[2]);
}

}  // namespace tavelo_grab_test
