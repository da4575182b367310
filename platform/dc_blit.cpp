// Block transfers: StretchDIBits, BitBlt, StretchBlt and PatBlt.
//
// Each transfer maps destination columns and rows to source ones once per call (an axis map of
// the visible destination range), then walks the destination rows and hands each visible run to
// a row kernel: no division or coordinate arithmetic per pixel.
#include "platform/dc.h"

#include "platform/device_internal.h"
#include "platform/last_error.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

namespace vardell::gdi {
namespace {

using kernels::Rop3Index;
using kernels::RopRow;
using kernels::RopUsesPattern;
using kernels::RopUsesSource;

// The pixels an extent covers: [o, o + e) for e > 0, (o + e, o] for e < 0; in both cases the
// first pixel in drawing order is o.
struct Run {
  std::int64_t lo;
  std::int64_t hi;  // exclusive
};
constexpr Run RunOf(std::int64_t origin, std::int64_t extent) noexcept {
  return extent > 0 ? Run{origin, origin + extent} : Run{origin + extent + 1, origin + 1};
}

// COLORONCOLOR: the source index shown by destination index k when n destination pixels show m
// source pixels. Enlarging (n >= m): ceil((2k + 1) m / 2n) - 1, the source pixel under the
// destination pixel's centre, ties to the lower one. Reducing: the first source pixel s of the
// group whose ceil((2s + 1) n / 2m) - 1 is k, i.e. floor((2km - n) / 2n) + 1 for k > 0.
// Extents are 32-bit, so k < n <= 2^31 and m <= 2^31: every product stays below 2^64.
std::int64_t SampleIndex(std::int64_t k, std::int64_t n, std::int64_t m) noexcept {
  const auto uk = static_cast<std::uint64_t>(k), un = static_cast<std::uint64_t>(n),
             um = static_cast<std::uint64_t>(m);
  if (n >= m) return static_cast<std::int64_t>(((2 * uk + 1) * um + 2 * un - 1) / (2 * un)) - 1;
  if (k == 0) return 0;
  return static_cast<std::int64_t>((2 * uk * um - un) / (2 * un)) + 1;
}

// Source coordinates of the visible destination pixels [d0, d1) of one axis.
struct AxisMap {
  int d0 = 0;
  int d1 = 0;
  std::vector<std::int32_t> src;  // src[i] is the source coordinate of destination d0 + i
  bool identity = false;          // src[i] == d0 + i + offset
  std::int64_t offset = 0;
};

// False when nothing of the destination run is visible in [visLo, visHi) or no visible pixel
// takes its source from [0, srcLimit).
bool BuildAxisMap(std::int64_t dOrg, std::int64_t dExt, std::int64_t sOrg, std::int64_t sExt,
                  std::int64_t visLo, std::int64_t visHi, std::int64_t srcLimit, AxisMap& map) {
  if (dExt == 0 || sExt == 0) return false;
  const std::int64_t n = dExt > 0 ? dExt : -dExt;
  const std::int64_t m = sExt > 0 ? sExt : -sExt;
  const Run run = RunOf(dOrg, dExt);
  std::int64_t lo = std::max(run.lo, visLo);
  std::int64_t hi = std::min(run.hi, visHi);
  if (lo >= hi) return false;
  auto sourceOf = [&](std::int64_t p) {
    const std::int64_t k = dExt > 0 ? p - dOrg : dOrg - p;
    const std::int64_t j = n == m ? k : SampleIndex(k, n, m);
    return sExt > 0 ? sOrg + j : sOrg - j;
  };
  map.src.clear();
  map.src.reserve(static_cast<std::size_t>(hi - lo));
  std::int64_t first = -1, last = -1;
  for (std::int64_t p = lo; p < hi; ++p) {
    const std::int64_t s = sourceOf(p);
    if (s >= 0 && s < srcLimit) {
      if (first < 0) first = p;
      last = p;
    }
    map.src.push_back(static_cast<std::int32_t>(std::clamp<std::int64_t>(s, -1, srcLimit)));
  }
  if (first < 0) return false;
  // Source coordinates are monotonic, so the valid ones are contiguous.
  map.src.erase(map.src.begin() + (last + 1 - lo), map.src.end());
  map.src.erase(map.src.begin(), map.src.begin() + (first - lo));
  map.d0 = static_cast<int>(first);
  map.d1 = static_cast<int>(last + 1);
  map.identity = n == m && (dExt > 0) == (sExt > 0);
  map.offset = map.identity ? map.src[0] - std::int64_t{map.d0} : 0;
  return true;
}

// The solid pattern of the DC's brush; false for the null brush.
bool PatternOf(const DeviceContext& dc, std::uint32_t& pattern) {
  if (dc.SelectedBrush().style == BS_NULL) return false;
  pattern = PixelFromColor(dc.SelectedBrush().color);
  return true;
}

// Applies a raster operation that uses no source to the run (x0, y0)-(x1, y1).
void FillRuns(DeviceContext& dc, const Surface& s, std::int64_t x0, std::int64_t y0,
              std::int64_t x1, std::int64_t y1, BYTE code, std::uint32_t pattern) {
  const RECT box = dc.VisibleBox();
  y0 = std::max<std::int64_t>(y0, box.top);
  y1 = std::min<std::int64_t>(y1, box.bottom);
  x0 = std::max<std::int64_t>(x0, box.left);
  x1 = std::min<std::int64_t>(x1, box.right);
  if (x0 >= x1 || y0 >= y1) return;
  for (std::int64_t y = y0; y < y1; ++y) {
    std::uint32_t* row = s.Row(static_cast<int>(y));
    dc.ForEachVisibleSpan(static_cast<int>(y), x0, x1, [&](int a, int b) {
      RopRow(code, row + a, nullptr, pattern, static_cast<std::size_t>(b - a));
    });
  }
  dc.Touch(RECT{static_cast<LONG>(x0), static_cast<LONG>(y0), static_cast<LONG>(x1),
                static_cast<LONG>(y1)});
}

struct DibSource {
  const BYTE* bits;
  std::int64_t stride;
  int width;
  int height;
  int bitCount;
  bool topDown;
  std::uint32_t palette[256];
};

// Reads the header and colour table; false for a format this port does not draw.
bool ReadDibSource(const BITMAPINFO* info, const void* bits, UINT usage, DibSource& src) {
  const BITMAPINFOHEADER& h = info->bmiHeader;
  // Headers up to BITMAPV5HEADER's 124 bytes; the colour table follows the header.
  if (h.biSize < BITMAPINFOHEADER::kFileSize || h.biSize > 124) return false;
  if (h.biWidth <= 0 || h.biWidth > 0x7FFFFFF || h.biHeight == 0 || h.biHeight < -0x7FFFFFF ||
      h.biHeight > 0x7FFFFFF || h.biPlanes != 1 || h.biCompression != BI_RGB)
    return false;
  if (h.biBitCount != 8 && h.biBitCount != 24 && h.biBitCount != 32) return false;
  if (usage != DIB_RGB_COLORS) return false;
  src.bits = static_cast<const BYTE*>(bits);
  src.width = h.biWidth;
  src.topDown = h.biHeight < 0;
  src.height = src.topDown ? -h.biHeight : h.biHeight;
  src.bitCount = h.biBitCount;
  src.stride = DibStride64(h.biWidth, h.biBitCount);
  if (h.biBitCount == 8) {
    // Entries past biClrUsed (or past 256) do not exist; their indexes draw black.
    const DWORD entries = h.biClrUsed == 0 || h.biClrUsed > 256 ? 256 : h.biClrUsed;
    const BYTE* table = reinterpret_cast<const BYTE*>(info) + h.biSize;
    for (DWORD i = 0; i < 256; ++i) {
      src.palette[i] = i < entries ? (std::uint32_t{table[4 * i + 2]} << 16) |
                                         (std::uint32_t{table[4 * i + 1]} << 8) | table[4 * i]
                                   : 0u;
    }
  }
  return true;
}

}  // namespace
}  // namespace vardell::gdi

using vardell::gdi::AxisMap;
using vardell::gdi::DeviceContext;
using vardell::gdi::Surface;

int StretchDIBits(HDC hdc, int xDest, int yDest, int destWidth, int destHeight, int xSrc, int ySrc,
                  int srcWidth, int srcHeight, const void* bits, const BITMAPINFO* info, UINT usage,
                  DWORD rop) {
  using namespace vardell::gdi;
  using namespace vardell::kernels;
  DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return GDI_ERROR;
  if (bits == nullptr || info == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return GDI_ERROR;
  }
  DibSource src;
  if (!ReadDibSource(info, bits, usage, src)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return GDI_ERROR;
  }
  const Surface s = dc->GetSurface();
  if (!s.Valid()) return GDI_ERROR;
  const BYTE code = Rop3Index(rop);
  std::uint32_t pattern = 0;
  if (RopUsesPattern(code) && !PatternOf(*dc, pattern)) return 0;

  // The source rectangle in top-based rows: a bottom-up DIB counts ySrc from its bottom row.
  const std::int64_t sy =
      src.topDown ? ySrc : std::int64_t{src.height} - ySrc - std::int64_t{srcHeight};
  const RECT box = dc->VisibleBox();
  thread_local AxisMap xmap, ymap;
  try {
    if (!BuildAxisMap(xDest, destWidth, xSrc, srcWidth, box.left, box.right, src.width, xmap) ||
        !BuildAxisMap(yDest, destHeight, sy, srcHeight, box.top, box.bottom, src.height, ymap))
      return 0;
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return GDI_ERROR;
  }

  const int bytesPerPixel = src.bitCount / 8;
  const std::size_t columns = static_cast<std::size_t>(xmap.d1 - xmap.d0);
  thread_local std::vector<std::int32_t> xoffs;
  thread_local std::vector<std::uint32_t> fetched;
  try {
    xoffs.resize(columns);
    fetched.resize(columns);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return GDI_ERROR;
  }
  for (std::size_t i = 0; i < columns; ++i) xoffs[i] = xmap.src[i] * bytesPerPixel;

  const bool usesSource = RopUsesSource(code);
  for (int y = ymap.d0; y < ymap.d1; ++y) {
    const std::int64_t t = ymap.src[static_cast<std::size_t>(y - ymap.d0)];
    const std::int64_t stored = src.topDown ? t : src.height - 1 - t;
    const BYTE* srcRow = src.bits + stored * src.stride;
    std::uint32_t* dstRow = s.Row(y);
    dc->ForEachVisibleSpan(y, xmap.d0, xmap.d1, [&](int a, int b) {
      const std::size_t n = static_cast<std::size_t>(b - a);
      const std::size_t first = static_cast<std::size_t>(a - xmap.d0);
      if (!usesSource) {
        RopRow(code, dstRow + a, nullptr, pattern, n);
        return;
      }
      // SRCCOPY converts straight into the surface; other operations convert, then combine.
      std::uint32_t* out = code == 0xCC ? dstRow + a : fetched.data();
      const BYTE* base = xmap.identity ? srcRow + xoffs[first] : srcRow;
      switch (src.bitCount) {
        case 24:
          if (xmap.identity)
            Convert24Row(base, out, n);
          else
            Gather24Row(srcRow, xoffs.data() + first, out, n);
          break;
        case 32:
          if (xmap.identity)
            Convert32Row(base, out, n);
          else
            Gather32Row(srcRow, xoffs.data() + first, out, n);
          break;
        default:
          if (xmap.identity)
            Convert8Row(base, src.palette, out, n);
          else
            Gather8Row(srcRow, xoffs.data() + first, src.palette, out, n);
          break;
      }
      if (code != 0xCC) RopRow(code, dstRow + a, out, pattern, n);
    });
  }
  dc->Touch(RECT{xmap.d0, ymap.d0, xmap.d1, ymap.d1});
  return rop == SRCCOPY ? src.height : info->bmiHeader.biHeight;
}

BOOL StretchBlt(HDC hdc, int x, int y, int width, int height, HDC hdcSrc, int xSrc, int ySrc,
                int srcWidth, int srcHeight, DWORD rop) {
  using namespace vardell::gdi;
  using namespace vardell::kernels;
  DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return FALSE;
  const Surface s = dc->GetSurface();
  if (!s.Valid()) return FALSE;
  const BYTE code = Rop3Index(rop);
  std::uint32_t pattern = 0;
  if (RopUsesPattern(code) && !PatternOf(*dc, pattern)) return TRUE;
  if (!RopUsesSource(code)) {
    if (width == 0 || height == 0) return TRUE;
    const Run xs = RunOf(x, width), ys = RunOf(y, height);
    FillRuns(*dc, s, xs.lo, ys.lo, xs.hi, ys.hi, code, pattern);
    return TRUE;
  }
  DeviceContext* srcDc = DeviceContext::Find(hdcSrc);
  if (srcDc == nullptr) return FALSE;
  const Surface ss = srcDc->GetSurface();
  if (!ss.Valid()) return FALSE;

  const RECT box = dc->VisibleBox();
  AxisMap xmap, ymap;
  std::vector<std::uint32_t> fetched, copy;
  try {
    if (!BuildAxisMap(x, width, xSrc, srcWidth, box.left, box.right, ss.width, xmap) ||
        !BuildAxisMap(y, height, ySrc, srcHeight, box.top, box.bottom, ss.height, ymap))
      return TRUE;
    fetched.resize(static_cast<std::size_t>(xmap.d1 - xmap.d0));
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
  // Reading from the surface being written: work from a copy of the source rows concerned.
  Surface from = ss;
  if (ss.bits == s.bits) {
    const auto [lo, hi] = std::minmax_element(ymap.src.begin(), ymap.src.end());
    const int top = *lo, rows = *hi - *lo + 1;
    try {
      copy.resize(static_cast<std::size_t>(rows) * static_cast<std::size_t>(ss.width));
    } catch (const std::bad_alloc&) {
      SetLastError(ERROR_NOT_ENOUGH_MEMORY);
      return FALSE;
    }
    for (int r = 0; r < rows; ++r)
      std::memcpy(copy.data() + static_cast<std::size_t>(r) * ss.width, ss.Row(top + r),
                  static_cast<std::size_t>(ss.width) * 4);
    from = Surface{copy.data() - static_cast<std::ptrdiff_t>(top) * ss.width, ss.width, ss.height,
                   ss.width};
  }
  for (int row = ymap.d0; row < ymap.d1; ++row) {
    const std::uint32_t* srcRow = from.Row(ymap.src[static_cast<std::size_t>(row - ymap.d0)]);
    std::uint32_t* dstRow = s.Row(row);
    dc->ForEachVisibleSpan(row, xmap.d0, xmap.d1, [&](int a, int b) {
      const std::size_t n = static_cast<std::size_t>(b - a);
      const std::size_t first = static_cast<std::size_t>(a - xmap.d0);
      if (code == 0xCC && xmap.identity) {
        std::memcpy(dstRow + a, srcRow + a + xmap.offset, n * 4);
        return;
      }
      GatherDeviceRow(srcRow, xmap.src.data() + first, fetched.data(), n);
      RopRow(code, dstRow + a, fetched.data(), pattern, n);
    });
  }
  dc->Touch(RECT{xmap.d0, ymap.d0, xmap.d1, ymap.d1});
  return TRUE;
}

BOOL BitBlt(HDC hdc, int x, int y, int width, int height, HDC hdcSrc, int xSrc, int ySrc,
            DWORD rop) {
  return StretchBlt(hdc, x, y, width, height, hdcSrc, xSrc, ySrc, width, height, rop);
}

BOOL PatBlt(HDC hdc, int x, int y, int width, int height, DWORD rop) {
  using namespace vardell::gdi;
  DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return FALSE;
  const Surface s = dc->GetSurface();
  if (!s.Valid()) return FALSE;
  const BYTE code = vardell::kernels::Rop3Index(rop);
  if (vardell::kernels::RopUsesSource(code)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  std::uint32_t pattern = 0;
  if (vardell::kernels::RopUsesPattern(code) && !PatternOf(*dc, pattern)) return TRUE;
  std::int64_t x0 = x, x1 = std::int64_t{x} + width, y0 = y, y1 = std::int64_t{y} + height;
  if (x0 > x1) std::swap(x0, x1);
  if (y0 > y1) std::swap(y0, y1);
  FillRuns(*dc, s, x0, y0, x1, y1, code, pattern);
  return TRUE;
}
