// One saved position of the open medium, as the service's opaque block.
#pragma once

#include <memory>

#include "DVDPlayback.h"

class DVDBookmark {
 public:
  // Captures the current position; when the service cannot answer the bookmark stays empty.
  DVDBookmark();
  DVDBookmark(DVDBookmark const&) = delete;
  DVDBookmark& operator=(DVDBookmark const&) = delete;

  void gotoBookmark() const;

  void const* data() const { return mData.get(); }
  UInt32 size() const { return mSize; }

 private:
  std::unique_ptr<unsigned char[]> mData;
  UInt32 mSize = 0;
};
