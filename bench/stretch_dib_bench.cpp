// StretchDIBits of a 12-megapixel 24-bit picture (4000 x 3000) onto a 32-bit memory DC: one to
// one, reduced to a quarter of the side (a screen view of the picture), and a 1000 x 750 picture
// enlarged twice; SRCCOPY and, for the general raster-operation path, SRCINVERT; and an 8-bit
// mask through its grey table. pixman's nearest-neighbour composite of the same pixels (24-bit
// source, x8r8g8b8 destination) is the peer a user would otherwise reach for.
#include "platform/dc.h"

#include <benchmark/benchmark.h>
#include <pixman.h>

#include <cstdint>
#include <vector>

namespace {

struct Picture {
  int width;
  int height;
  int bitCount;
  std::vector<BYTE> info;  // header and colour table
  std::vector<BYTE> bits;

  Picture(int w, int h, int bpp) : width(w), height(h), bitCount(bpp) {
    info.assign(40 + (bpp == 8 ? 1024 : 0), 0);
    const BITMAPINFOHEADER header{40, w, h, 1, static_cast<WORD>(bpp), BI_RGB, 0, 0, 0, 0, 0};
    *reinterpret_cast<BITMAPINFOHEADER*>(info.data()) = header;
    for (int i = 0; bpp == 8 && i < 256; ++i)
      info[40 + 4 * i] = info[41 + 4 * i] = info[42 + 4 * i] = static_cast<BYTE>(i);
    bits.resize(static_cast<std::size_t>(DibStride(w, bpp)) * h);
    std::uint32_t state = 12345;
    for (BYTE& b : bits) b = static_cast<BYTE>((state = state * 1103515245u + 12345u) >> 24);
  }
  const BITMAPINFO* bmi() const { return reinterpret_cast<const BITMAPINFO*>(info.data()); }
};

class Target {
 public:
  Target(int w, int h) {
    m_hdc = CreateCompatibleDC(nullptr);
    m_bitmap = CreateCompatibleBitmap(m_hdc, w, h);
    m_old = SelectObject(m_hdc, m_bitmap);
    SetStretchBltMode(m_hdc, COLORONCOLOR);
  }
  ~Target() {
    SelectObject(m_hdc, m_old);
    DeleteDC(m_hdc);
    DeleteObject(m_bitmap);
  }
  HDC hdc() const { return m_hdc; }

 private:
  HDC m_hdc;
  HBITMAP m_bitmap;
  HGDIOBJ m_old;
};

void Stretch(benchmark::State& state, int srcW, int srcH, int dstW, int dstH, int bpp, DWORD rop) {
  const Picture picture(srcW, srcH, bpp);
  Target target(dstW, dstH);
  for (auto _ : state) {
    const int lines = StretchDIBits(target.hdc(), 0, 0, dstW, dstH, 0, 0, srcW, srcH,
                                    picture.bits.data(), picture.bmi(), DIB_RGB_COLORS, rop);
    benchmark::DoNotOptimize(lines);
  }
  state.SetItemsProcessed(state.iterations() * std::int64_t{dstW} * dstH);
}

void Pixman(benchmark::State& state, int srcW, int srcH, int dstW, int dstH) {
  const Picture picture(srcW, srcH, 24);
  std::vector<std::uint32_t> out(static_cast<std::size_t>(dstW) * dstH);
  pixman_image_t* src = pixman_image_create_bits(
      PIXMAN_r8g8b8, srcW, srcH,
      reinterpret_cast<std::uint32_t*>(const_cast<BYTE*>(picture.bits.data())),
      DibStride(srcW, 24));
  pixman_image_t* dst = pixman_image_create_bits(PIXMAN_x8r8g8b8, dstW, dstH, out.data(), dstW * 4);
  pixman_transform_t scale;
  pixman_transform_init_scale(&scale, pixman_int_to_fixed(srcW) / dstW,
                              pixman_int_to_fixed(srcH) / dstH);
  pixman_image_set_transform(src, &scale);
  pixman_image_set_filter(src, PIXMAN_FILTER_NEAREST, nullptr, 0);
  for (auto _ : state) {
    pixman_image_composite32(PIXMAN_OP_SRC, src, nullptr, dst, 0, 0, 0, 0, 0, 0, dstW, dstH);
    benchmark::DoNotOptimize(out.data());
  }
  pixman_image_unref(src);
  pixman_image_unref(dst);
  state.SetItemsProcessed(state.iterations() * std::int64_t{dstW} * dstH);
}

BENCHMARK_CAPTURE(Stretch, OneToOne24, 4000, 3000, 4000, 3000, 24, SRCCOPY)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Pixman, OneToOne24, 4000, 3000, 4000, 3000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Stretch, Reduce24, 4000, 3000, 1000, 750, 24, SRCCOPY)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Pixman, Reduce24, 4000, 3000, 1000, 750)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Stretch, Enlarge24, 1000, 750, 2000, 1500, 24, SRCCOPY)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Pixman, Enlarge24, 1000, 750, 2000, 1500)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Stretch, OneToOne24SrcInvert, 4000, 3000, 4000, 3000, 24, SRCINVERT)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Stretch, OneToOne8, 4000, 3000, 4000, 3000, 8, SRCCOPY)
    ->Unit(benchmark::kMillisecond);

}  // namespace
