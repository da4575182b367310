// libFuzzer target of the JPEG codec: header, then a decode at a ratio and colour depth chosen by
// the input's last byte, under limits that keep a hostile header from taking gigabytes.
#include "jpegcodec/jpeg_codec.h"
#include "jpegcodec/jpeg_codec_internal.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vardell::jpeg;
  int error = -1;
  const CSize header = GetBitmapSizeFromMemory(data, size, &error);
  static const int kRatios[][2] = {{1, 1}, {1, 8}, {3, 8}, {2, 3}, {5, 2}, {13, 8}, {1, 3}, {1, 2}};
  const std::uint8_t pick = size ? data[size - 1] : 0;
  const int num = kRatios[pick & 7][0], den = kRatios[pick & 7][1];
  DecodeLimits limits;
  limits.max_buffer_bytes = 64u << 20;
  limits.max_decoder_memory = 256l << 20;
  int width = 0, height = 0;
  BYTE* bits = ReadBitmapFromMemory(data, size, &width, &height, num, den, (pick & 8) != 0, limits);
  if (bits) {
    if (error != 0 || width != header.cx * num / den || height != header.cy * num / den)
      __builtin_trap();
    const std::size_t stride = std::size_t((width * ((pick & 8) ? 8 : 24) + 31) / 32 * 4);
    volatile BYTE sink = bits[0] ^ bits[stride * (height + 1) + 7];
    (void)sink;
    delete[] bits;
  }
  return 0;
}
