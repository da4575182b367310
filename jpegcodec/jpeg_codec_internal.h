// The codec's in-memory entry points and limits, for the fuzz target and the tests; the exported
// functions in jpeg_codec.h are these applied to a file.
#pragma once

#include "jpegcodec/jpeg_codec.h"
#include "platform/geometry.h"
#include "platform/win_types.h"

#include <cstddef>
#include <cstdint>

namespace vardell::jpeg {

struct DecodeLimits {
  // Largest buffer ReadBitmap hands out, spare row and slack included: the library's DIB
  // arithmetic is 32-bit, so INT32_MAX bytes.
  std::uint64_t max_buffer_bytes = 0x7FFFFFFF;
  // Largest working memory the decoder may take (a progressive file keeps all its coefficients).
  long max_decoder_memory = 0x7FFFFFFF;
  int max_scans = 500;
};

BYTE* ReadBitmapFromMemory(const BYTE* data, std::size_t size, int* width, int* height, int num,
                           int den, BOOL gray, const DecodeLimits& limits = {});
CSize GetBitmapSizeFromMemory(const BYTE* data, std::size_t size, int* error);

}  // namespace vardell::jpeg
