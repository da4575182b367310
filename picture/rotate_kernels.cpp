#include "picture/rotate_kernels.h"

namespace vardell::kernels {
namespace {

using Offset = std::uint64_t;

// Byte offset of (x, y) from the top row, in wrapping arithmetic: positions far outside the
// raster (huge scale factors) may wrap, but an offset is only used while its position lies
// inside, where the wrapped value is the exact one.
inline Offset OffsetOf(std::int64_t x, std::int64_t y, int bytesPerPixel,
                       std::ptrdiff_t stride) noexcept {
  return static_cast<Offset>(x) * static_cast<Offset>(bytesPerPixel) -
         static_cast<Offset>(y) * static_cast<Offset>(stride);
}

inline const std::uint8_t* At(const std::uint8_t* top, Offset offset) noexcept {
  return top + static_cast<std::ptrdiff_t>(offset);
}

}  // namespace

void RotateCopyRun(const std::uint8_t* srcTop, std::ptrdiff_t srcStride, FixedWalk walk,
                   std::uint8_t* dst, std::size_t n) noexcept {
  std::int64_t x = walk.fx >> 12, y = walk.fy >> 12;
  Offset offset = OffsetOf(x, y, 3, srcStride);
  std::int64_t fx = walk.fx, fy = walk.fy;
  for (std::size_t i = 0; i < n; ++i, dst += 3) {
    const std::uint8_t* s = At(srcTop, offset);
    dst[0] = s[0];
    dst[1] = s[1];
    dst[2] = s[2];
    fx += walk.dx;
    fy += walk.dy;
    const std::int64_t nx = fx >> 12, ny = fy >> 12;
    offset += OffsetOf(nx - x, ny - y, 3, srcStride);
    x = nx;
    y = ny;
  }
}

namespace {

// One mask's walk: its integer position, the byte offset of that position, and the clamped
// read when the position strays outside the mask rectangle.
struct MaskCursor {
  explicit MaskCursor(const MaskWalk& w) noexcept
      : m(w),
        fx(w.walk.fx),
        fy(w.walk.fy),
        x(fx >> 12),
        y(fy >> 12),
        offset(OffsetOf(x, y, 1, w.stride)) {}

  std::uint8_t Read() const noexcept {
    if (x >= m.left && x < m.right && y >= m.topRow && y < m.bottom)
      return m.lut[*At(m.top, offset)];
    const std::int64_t cx = x < m.left ? m.left : x >= m.right ? m.right - 1 : x;
    const std::int64_t cy = y < m.topRow ? m.topRow : y >= m.bottom ? m.bottom - 1 : y;
    return m.lut[*At(m.top, OffsetOf(cx, cy, 1, m.stride))];
  }
  void Step() noexcept {
    fx += m.walk.dx;
    fy += m.walk.dy;
    const std::int64_t nx = fx >> 12, ny = fy >> 12;
    offset += OffsetOf(nx - x, ny - y, 1, m.stride);
    x = nx;
    y = ny;
  }

  const MaskWalk& m;
  std::int64_t fx, fy, x, y;
  Offset offset;
};

}  // namespace

std::size_t RotateBlendRun(const std::uint8_t* srcTop, std::ptrdiff_t srcStride, int srcWidth,
                           int srcHeight, FixedWalk walk, MaskWalk* masks, int maskCount,
                           std::uint8_t level, bool add, const ByteTables& t, std::uint8_t* dst,
                           std::size_t n) noexcept {
  MaskCursor first(masks[0]);
  MaskCursor second(masks[maskCount > 1 ? 1 : 0]);
  const BYTE* take = t.mul[level];
  const BYTE* clamp = t.Clamp();
  std::int64_t fx = walk.fx, fy = walk.fy, x = fx >> 12, y = fy >> 12;
  Offset offset = OffsetOf(x, y, 3, srcStride);
  std::uint8_t* const start = dst;
  for (std::size_t i = 0; i < n; ++i) {
    if (x >= 0 && x < srcWidth && y >= 0 && y < srcHeight) {
      unsigned m = first.Read();
      if (maskCount > 1) m = t.mul[m][second.Read()];
      const unsigned a = take[m], keep = 255u - a;
      const std::uint8_t* s = At(srcTop, offset);
      for (int c = 0; c < 3; ++c) {
        const unsigned d = dst[c];
        const unsigned v = add ? clamp[d + t.mul[m][s[c]]] : s[c];
        dst[c] = static_cast<std::uint8_t>((d * keep + v * a) >> 8);
      }
      dst += 3;
    }
    // A skipped pixel leaves the target pointer where it is: intended.
    fx += walk.dx;
    fy += walk.dy;
    const std::int64_t nx = fx >> 12, ny = fy >> 12;
    offset += OffsetOf(nx - x, ny - y, 3, srcStride);
    x = nx;
    y = ny;
    first.Step();
    if (maskCount > 1) second.Step();
  }
  return static_cast<std::size_t>(dst - start) / 3;
}

}  // namespace vardell::kernels
