#include "DVDBookmark.h"

DVDBookmark::DVDBookmark() {
  UInt32 size = 0;
  if (DVDGetBookmark(nullptr, &size) == noErr) {
    mData = std::make_unique<unsigned char[]>(size);
    mSize = size;
    if (DVDGetBookmark(mData.get(), &size) == noErr) mSize = size;
  }
}

void DVDBookmark::gotoBookmark() const {
  static_cast<void>(DVDGotoBookmark(mData.get(), mSize));
}
