// Padded, vector-friendly memory for one 32-bit frame: a spare row and four spare pixels
// before the frame and sixteen spare pixels at the end of every row.
#pragma once

#include <cstddef>
#include <cstdint>

class XFrameBufferMemory {
 public:
  XFrameBufferMemory() = default;
  ~XFrameBufferMemory() { Empty(); }
  XFrameBufferMemory(XFrameBufferMemory const&) = delete;
  XFrameBufferMemory& operator=(XFrameBufferMemory const&) = delete;

  bool SetFrameDimensions(int width, int height);
  void Empty();

  std::uint8_t* FrameStart() const { return m_frame_start; }
  long FrameStride() const { return m_frame_stride_bytes; }

  std::uint8_t* m_base_malloc = nullptr;
  std::uint8_t* m_frame_start = nullptr;
  long m_frame_stride_bytes = 0;

 private:
  bool Construct(size_t frame_malloc_size, size_t frame_start_offset, long frame_stride_bytes);
};
