#include "XFrameBufferMemory.h"

#include "CoreMachDebugLog.h"

#include <cstdlib>

bool XFrameBufferMemory::Construct(size_t frame_malloc_size, size_t frame_start_offset,
                                   long frame_stride_bytes) {
  m_base_malloc = static_cast<std::uint8_t*>(std::malloc(frame_malloc_size));
  if (!CoreVerify(m_base_malloc)) return false;
  m_frame_start = m_base_malloc + frame_start_offset;
  m_frame_stride_bytes = frame_stride_bytes;
  return true;
}

bool XFrameBufferMemory::SetFrameDimensions(int width, int height) {
  Empty();
  long const frame_stride_bytes = (long(width) + 8) * 4 + 32;
  size_t const frame_malloc_size = size_t(frame_stride_bytes) * size_t(long(height) + 4);
  // One stride plus 16 bytes: a spare row and four spare pixels before the frame.
  size_t const frame_start_offset = size_t((long(width) + 8) * 4 + 48);
  if (!CoreVerify(frame_malloc_size!=0)) return false;
  return CoreVerify(Construct(frame_malloc_size, frame_start_offset, frame_stride_bytes));
}

void XFrameBufferMemory::Empty() {
  std::free(m_base_malloc);
  m_base_malloc = nullptr;
  m_frame_start = nullptr;
  m_frame_stride_bytes = 0;
}
