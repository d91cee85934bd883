// The frame filters' row kernels at 32 bytes: this file alone is compiled with -mavx2 and is
// used only where the processor has AVX2.
#include "XFrameKernels.h"

namespace XFrameKernels {

using v32u8 = std::uint8_t __attribute__((vector_size(32)));

Table const* AVX2Table() {
  static Table const table = MakeTable<v32u8, v8f, v8i, v8u8>();
  return &table;
}

}  // namespace XFrameKernels
