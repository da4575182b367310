// CPicture compositing: one-to-one and scaled copies into another picture, blends with a level
// or through a mask (table arithmetic and the MMX variants' own arithmetic), and drawing on
// device contexts.
//
// Picture-to-picture operations clip in three steps: the destination rectangle to the target
// (and to a nonzero clip rectangle), cutting the source (and mask) rectangle in proportion with
// ScaleTransform; then the source rectangle to this picture, cutting the destination in
// proportion; then, for the masked blend, the mask rectangle must lie inside the mask. Sampling
// is nearest neighbour: destination column i of d reads source column s.left + (i * sw) / dw,
// and likewise for rows, through step tables built once per call.
//
// Decisions where the system leaves the result open:
// - Nothing left to draw after clipping (a rectangle wholly outside, an empty or inverted one)
//   is not a failure: the operation answers 1 and changes nothing.
// - A mask rectangle whose sampled columns or rows would leave the mask answers 0, like one
//   reaching outside it (an empty mask rectangle passes the containment test, as the union of
//   rectangles ignores empty ones, and is then sampled at its corner).
// - The MMX variants answer 1 at once for level 0 like the table versions: their arithmetic
//   would leave every pixel as it was anyway.
// - A picture drawn onto itself (the clone brush does this) is walked row by row from the top
//   and, where a source row overlaps the target row it feeds, pixel by pixel from the left, each
//   pixel read after the previous one was written: the results of the system's pixel loops.
#include "hostutil/geometry_utils.h"
#include "mask/mask.h"
#include "picture/blend_kernels.h"
#include "picture/mmx_switch.h"
#include "picture/picture.h"
#include "picture/print_tiles.h"
#include "picture/simd_dispatch.h"
#include "platform/dc.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

namespace {

using vardell::ByteTables;
namespace kernels = vardell::kernels;

template <class T>
std::unique_ptr<T[]> NewArray(std::size_t n) noexcept {
  return std::unique_ptr<T[]>(new (std::nothrow) T[n == 0 ? 1 : n]);
}

// The clipped destination d (inside the target) and source s (inside this picture).
struct Clipped {
  CRect d, s, mask;
};

// Steps 2 and 3 of the clipping. maskRect, when given, is cut with the destination. False when
// nothing is left to draw.
bool ClipRects(const CRect& targetRect, const CRect& pictureRect, const CRect& dstRect,
               CRect srcRect, const CRect* maskRect, const CRect* clipRect, Clipped& out) {
  CRect d;
  d.IntersectRect(targetRect, dstRect);
  if (clipRect != nullptr && !clipRect->IsRectNull()) d.IntersectRect(d, *clipRect);
  if (d.IsRectEmpty()) return false;
  if (maskRect != nullptr) out.mask = *maskRect;
  if (!d.EqualRect(dstRect)) {
    CRect r = d;
    ScaleTransform(dstRect, srcRect, r);
    srcRect = r;
    if (maskRect != nullptr) {
      r = d;
      ScaleTransform(dstRect, *maskRect, r);
      out.mask = r;
    }
  }
  CRect s;
  s.IntersectRect(pictureRect, srcRect);
  if (s.IsRectEmpty()) return false;
  if (!s.EqualRect(srcRect)) {
    // The mask rectangle keeps the first cut only; it then spans the narrowed d: intended.
    CRect r = s;
    ScaleTransform(srcRect, d, r);
    d = r;
  }
  out.d = d;
  out.s = s;
  return !d.IsRectEmpty();
}

// Nearest-neighbour steps for n destination positions over `extent` source positions: position
// i reads first + (i * extent) / n (truncating, product first); steps[i] is unit times the
// difference between the positions of i + 1 and i, so walking needs only additions.
template <class T>
void FillSteps(T* steps, int n, int extent, std::int64_t unit) noexcept {
  std::int64_t previous = 0;
  for (int i = 0; i < n; ++i) {
    const std::int64_t next = (static_cast<std::int64_t>(i) + 1) * extent / n;
    steps[i] = static_cast<T>((next - previous) * unit);
    previous = next;
  }
}

// Whether every position first + (i * extent) / n, i in [0, n), lies in [0, limit).
bool SamplesInside(int first, std::int64_t extent, int n, int limit) noexcept {
  const std::int64_t a = first;
  const std::int64_t b = first + static_cast<std::int64_t>(n - 1) * extent / n;
  return a >= 0 && b >= 0 && a < limit && b < limit;
}

bool Overlaps(const BYTE* a, std::size_t aBytes, const BYTE* b, std::size_t bBytes) noexcept {
  const auto pa = reinterpret_cast<std::uintptr_t>(a), pb = reinterpret_cast<std::uintptr_t>(b);
  return pa < pb + bBytes && pb < pa + aBytes;
}

// The mask side of a masked blend: the mask, and how its bytes become the weights the row
// kernel takes: M[level][N[v]], N the identity or, with invert, I (level 255 gives N[v]).
struct MaskSource {
  const CMask* mask;
  BYTE level;
  bool invert;
};

// Row functor of the scaled copy: copies sampled pixels straight into the target row.
struct CopyRow {};

// The walk shared by the scaled copy and blends: clipping, sampling tables, then one call of
// row(src, dst, weights, pixels) per run of target pixels (weights: one a pixel, masked blends).
//
// Row order: the system walked rows from the top. That order is kept, and a source row that
// overlaps its target row is handed over pixel by pixel, whenever source and target share a
// buffer (a picture drawn onto itself), where the order shows in the result. Between two
// buffers it cannot show, and rows are walked in memory order (from the bottom row, the first in
// memory) instead, which streams through memory about twice as fast.
template <class Row>
int Composite(const CPicture& source, CPicture& target, const CRect& dstRect, const CRect& srcRect,
              const CRect* maskRect, const MaskSource* maskSource, const CRect* clipRect,
              Row&& row) {
  constexpr bool kCopy = std::is_same_v<std::decay_t<Row>, CopyRow>;
  if (!source.IsValid() || !target.IsValid()) return 0;
  if (maskSource != nullptr && !maskSource->mask->IsValid()) return 0;
  Clipped c;
  if (!ClipRects(target.GetPictureRect(), source.GetPictureRect(), dstRect, srcRect, maskRect,
                 clipRect, c))
    return 1;
  const int dw = c.d.Width(), dh = c.d.Height(), sw = c.s.Width(), sh = c.s.Height();
  const bool contiguous = sw == dw;

  const CMask* mask = maskSource != nullptr ? maskSource->mask : nullptr;
  int maskWidth = 0, maskHeight = 0;  // of the clipped mask rectangle; negative when inverted
  if (mask != nullptr) {
    // The mask rectangle must lie inside the mask.
    const CRect whole = mask->GetMaskRect();
    CRect both;
    both.UnionRect(c.mask, whole);
    if (!both.EqualRect(whole)) return 0;
    const std::int64_t mw = static_cast<std::int64_t>(c.mask.right) - c.mask.left;
    const std::int64_t mh = static_cast<std::int64_t>(c.mask.bottom) - c.mask.top;
    if (mw < -mask->Width() || mh < -mask->Height() ||
        !SamplesInside(c.mask.left, mw, dw, mask->Width()) ||
        !SamplesInside(c.mask.top, mh, dh, mask->Height()))
      return 0;
    // Both fit an int: left and top lie in the mask, and an inverted extent is bounded above.
    maskWidth = static_cast<int>(mw);
    maskHeight = static_cast<int>(mh);
  }

  const std::size_t pixels = static_cast<std::size_t>(dw), bytes = 3 * pixels;
  auto columnSteps = NewArray<int>(static_cast<std::size_t>(dw));
  auto rowSteps = NewArray<std::ptrdiff_t>(static_cast<std::size_t>(dh));
  auto scratch = NewArray<std::uint8_t>(kCopy || contiguous ? 0 : bytes);
  std::unique_ptr<int[]> maskColumnSteps;
  std::unique_ptr<std::ptrdiff_t[]> maskRowSteps;
  std::unique_ptr<std::uint8_t[]> weights;
  if (mask != nullptr) {
    maskColumnSteps = NewArray<int>(static_cast<std::size_t>(dw));
    maskRowSteps = NewArray<std::ptrdiff_t>(static_cast<std::size_t>(dh));
    weights = NewArray<std::uint8_t>(pixels);
    if (!maskColumnSteps || !maskRowSteps || !weights) return 0;
  }
  if (!columnSteps || !rowSteps || !scratch) return 0;

  const bool sameBuffer = source.GetBuffer() == target.GetBuffer();
  const bool fromTop = sameBuffer;
  // Rows are bottom-up: one row down the picture is minus one stride.
  const std::ptrdiff_t srcStride = source.GetDataWidth(), dstStride = target.GetDataWidth();
  FillSteps(columnSteps.get(), dw, sw, 3);
  FillSteps(rowSteps.get(), dh, sh, -srcStride);
  int j = fromTop ? 0 : dh - 1;
  const auto sampledRow = [&](int first, int extent) {
    return first + static_cast<int>(static_cast<std::int64_t>(j) * extent / dh);
  };
  const BYTE* srcRow =
      source.GetLineBuffer(sampledRow(c.s.top, sh)) + 3 * static_cast<std::ptrdiff_t>(c.s.left);
  BYTE* dstRow = target.GetLineBuffer(c.d.top + j) + 3 * static_cast<std::ptrdiff_t>(c.d.left);
  // The source's top row is the last in memory: no byte may be read beyond its pixels.
  const BYTE* const srcLastRow = source.GetLineBuffer(0);
  const BYTE* maskRow = nullptr;
  if (mask != nullptr) {
    const std::ptrdiff_t maskStride = mask->GetDataWidth();
    FillSteps(maskColumnSteps.get(), dw, maskWidth, 1);
    FillSteps(maskRowSteps.get(), dh, maskHeight, -maskStride);
    maskRow = mask->GetBuffer() +
              static_cast<std::ptrdiff_t>(mask->Height() - 1 - sampledRow(c.mask.top, maskHeight)) *
                  maskStride +
              c.mask.left;
  }

  const std::size_t srcBytes = static_cast<std::size_t>(sw) * 3;
  const ByteTables& tables = ByteTables::Get();
  const auto maskWeights =
      vardell::simd::UseSse2() ? kernels::MaskWeightsSse2 : kernels::MaskWeights;
  for (;;) {
    if (mask != nullptr) {
      const BYTE* m = maskRow;
      if (maskWidth != dw) {
        kernels::SampleMask(maskRow, maskColumnSteps.get(), weights.get(), pixels);
        m = weights.get();
      }
      maskWeights(m, weights.get(), pixels, maskSource->level, maskSource->invert, tables);
    }
    const bool inPlace = contiguous && srcRow == dstRow;
    const bool overlapping = sameBuffer && !inPlace && Overlaps(srcRow, srcBytes, dstRow, bytes);
    const bool wide =
        !overlapping && srcRow - 3 * static_cast<std::ptrdiff_t>(c.s.left) != srcLastRow;
    if constexpr (kCopy) {
      if (overlapping)
        kernels::CopyPixels(srcRow, columnSteps.get(), dstRow, pixels);
      else if (contiguous)
        std::memcpy(dstRow, srcRow, inPlace ? 0 : bytes);
      else if (wide)
        kernels::CopyPixelsWide(srcRow, columnSteps.get(), dstRow, pixels);
      else
        kernels::CopyPixels(srcRow, columnSteps.get(), dstRow, pixels);
    } else if (overlapping) {
      const BYTE* s = srcRow;
      for (int i = 0; i < dw; ++i) {
        row(s, dstRow + 3 * i, weights ? weights.get() + i : nullptr, std::size_t{1});
        if (i + 1 < dw) s += columnSteps[i];
      }
    } else if (contiguous) {
      row(srcRow, dstRow, weights.get(), pixels);
    } else {
      (wide ? kernels::CopyPixelsWide : kernels::CopyPixels)(srcRow, columnSteps.get(),
                                                             scratch.get(), pixels);
      row(scratch.get(), dstRow, weights.get(), pixels);
    }
    if (fromTop) {
      if (++j == dh) break;
      srcRow += rowSteps[j - 1];
      dstRow -= dstStride;
      if (mask != nullptr) maskRow += maskRowSteps[j - 1];
    } else {
      if (j-- == 0) break;
      srcRow -= rowSteps[j];
      dstRow += dstStride;
      if (mask != nullptr) maskRow -= maskRowSteps[j];
    }
  }
  return 1;
}

HDC SafeHdc(CDC* dc) noexcept { return dc != nullptr ? dc->GetSafeHdc() : nullptr; }

int ClampToInt(std::int64_t v) noexcept {
  return static_cast<int>(v < INT32_MIN ? INT32_MIN : v > INT32_MAX ? INT32_MAX : v);
}

// The additive masked form, shared by the table entry and the MMX twin: both keep the table
// arithmetic, weighing by N[m] itself.
int MaskedAddTable(const CPicture& source, CPicture& target, const CRect& dstRect,
                   const CRect& srcRect, const CRect& maskRect, CMask& mask, BYTE level,
                   int bInvertMask, const CRect& clipRect) {
  const ByteTables& t = ByteTables::Get();
  const MaskSource maskSource{&mask, BYTE{255}, bInvertMask != 0};
  const auto kernel = vardell::simd::UseSse2() ? kernels::MaskAddTableSse2 : kernels::MaskAddTable;
  return Composite(
      source, target, dstRect, srcRect, &maskRect, &maskSource, &clipRect,
      [&](const BYTE* s, BYTE* d, const BYTE* m, std::size_t n) { kernel(s, d, m, n, level, t); });
}

}  // namespace

// ---- Copies ----

int CPicture::Draw(CPicture& target, CRect dstRect, CPoint srcPoint) {
  if (!IsValid() || !target.IsValid()) return 0;
  // The source block has dstRect's size, moved to srcPoint.
  const CRect srcRect(srcPoint.x, srcPoint.y,
                      ClampToInt(std::int64_t{srcPoint.x} + dstRect.right - dstRect.left),
                      ClampToInt(std::int64_t{srcPoint.y} + dstRect.bottom - dstRect.top));
  Clipped c;
  if (!ClipRects(target.GetPictureRect(), GetPictureRect(), dstRect, srcRect, nullptr, nullptr, c))
    return 1;
  const int w = std::min(c.d.Width(), c.s.Width()), h = std::min(c.d.Height(), c.s.Height());
  const std::ptrdiff_t srcStride = GetDataWidth(), dstStride = target.GetDataWidth();
  // From the top row when the picture is copied onto itself, as the system did; between two
  // pictures in memory order, which is faster and gives the same result.
  const bool fromTop = m_pBuffer == target.m_pBuffer;
  const int first = fromTop ? 0 : h - 1;
  const BYTE* src = GetLineBuffer(c.s.top + first) + 3 * static_cast<std::ptrdiff_t>(c.s.left);
  BYTE* dst = target.GetLineBuffer(c.d.top + first) + 3 * static_cast<std::ptrdiff_t>(c.d.left);
  const std::ptrdiff_t srcStep = fromTop ? -srcStride : srcStride;
  const std::ptrdiff_t dstStep = fromTop ? -dstStride : dstStride;
  for (int y = 0; y < h; ++y) {
    // One block copy per row; memmove so a picture copied onto itself stays defined.
    std::memmove(dst, src, static_cast<std::size_t>(w) * 3);
    if (y + 1 == h) break;
    src += srcStep;
    dst += dstStep;
  }
  return 1;
}

int CPicture::Draw(CPicture& target, CRect dstRect, CRect srcRect) {
  return Composite(*this, target, dstRect, srcRect, nullptr, nullptr, nullptr, CopyRow{});
}

// ---- Blends ----

int CPicture::DrawTransparent(CPicture& target, CRect dstRect, CRect srcRect, BYTE level,
                              int bBlend) {
  if (vardell::MmxEnabled()) return DrawTransparentMMX(target, dstRect, srcRect, level, bBlend);
  // Level 0 draws nothing and succeeds, even without buffers.
  if (level == 0) return 1;
  if (level == 255 && bBlend) return Draw(target, dstRect, srcRect);
  const ByteTables& t = ByteTables::Get();
  const bool sse2 = vardell::simd::UseSse2();
  // Nonzero bBlend blends and zero adds; the masked form's bAdd has the opposite sense: intended.
  const auto kernel = bBlend ? (sse2 ? kernels::BlendTableSse2 : kernels::BlendTable)
                             : (sse2 ? kernels::AddTableSse2 : kernels::AddTable);
  return Composite(
      *this, target, dstRect, srcRect, nullptr, nullptr, nullptr,
      [&](const BYTE* s, BYTE* d, const BYTE*, std::size_t n) { kernel(s, d, 3 * n, level, t); });
}

int CPicture::DrawTransparent(CPicture& target, CRect dstRect, CRect srcRect, CMask& mask,
                              CRect maskRect, BYTE level, int bAdd, int bInvertMask,
                              CRect clipRect) {
  if (vardell::MmxEnabled())
    return DrawTransparentMMX(target, dstRect, srcRect, mask, maskRect, level, bAdd, bInvertMask,
                              clipRect);
  if (level == 0) return 1;
  if (bAdd)
    return MaskedAddTable(*this, target, dstRect, srcRect, maskRect, mask, level, bInvertMask,
                          clipRect);
  const ByteTables& t = ByteTables::Get();
  // The blend weighs by M[level][N[m]].
  const MaskSource maskSource{&mask, level, bInvertMask != 0};
  const bool sse2 = vardell::simd::UseSse2();
  const auto kernel = sse2 ? kernels::MaskBlendTableSse2 : kernels::MaskBlendTable;
  return Composite(
      *this, target, dstRect, srcRect, &maskRect, &maskSource, &clipRect,
      [&](const BYTE* s, BYTE* d, const BYTE* a, std::size_t n) { kernel(s, d, a, n, t); });
}

int CPicture::DrawTransparentMMX(CPicture& target, CRect dstRect, CRect srcRect, BYTE level,
                                 int bBlend) {
  if (level == 0) return 1;
  // Its own arithmetic at every level, 255 included (no plain copy there).
  const bool sse2 = vardell::simd::UseSse2();
  const auto kernel = bBlend ? (sse2 ? kernels::BlendMmxSse2 : kernels::BlendMmxScalar)
                             : (sse2 ? kernels::AddMmxSse2 : kernels::AddMmxScalar);
  return Composite(
      *this, target, dstRect, srcRect, nullptr, nullptr, nullptr,
      [&](const BYTE* s, BYTE* d, const BYTE*, std::size_t n) { kernel(s, d, 3 * n, level); });
}

int CPicture::DrawTransparentMMX(CPicture& target, CRect dstRect, CRect srcRect, CMask& mask,
                                 CRect maskRect, BYTE level, int bAdd, int bInvertMask,
                                 CRect clipRect) {
  if (level == 0) return 1;
  if (bAdd)
    return MaskedAddTable(*this, target, dstRect, srcRect, maskRect, mask, level, bInvertMask,
                          clipRect);
  // The blend weighs by M[level][N[m]].
  const MaskSource maskSource{&mask, level, bInvertMask != 0};
  const bool sse2 = vardell::simd::UseSse2();
  const auto kernel = sse2 ? kernels::MaskBlendMmxSse2 : kernels::MaskBlendMmxScalar;
  return Composite(
      *this, target, dstRect, srcRect, &maskRect, &maskSource, &clipRect,
      [&](const BYTE* s, BYTE* d, const BYTE* a, std::size_t n) { kernel(s, d, a, n); });
}

// ---- Device contexts ----

int CPicture::Draw(CDC* dc, int x, int y, DWORD rop) {
  return Draw(dc, x, y, Width(), Height(), rop);
}

int CPicture::Draw(CDC* dc, int x, int y, int width, int height, DWORD rop) {
  if (!IsValid()) return 0;
  BITMAPINFO info{};
  info.bmiHeader = m_InfoHeader;
  return ::StretchDIBits(SafeHdc(dc), x, y, width, height, 0, 0, Width(), Height(), m_pBuffer,
                         &info, DIB_RGB_COLORS, rop) != GDI_ERROR;
}

int CPicture::Draw(CDC* dc, CRect dstRect, CRect srcRect, DWORD rop) {
  if (!IsValid()) return 0;
  BITMAPINFO info{};
  info.bmiHeader = m_InfoHeader;
  // The buffer is bottom-up: the source origin counts rows up from the bottom row.
  const int ySrc = ClampToInt(std::int64_t{Height()} - srcRect.bottom);
  const int srcWidth = ClampToInt(std::int64_t{srcRect.right} - srcRect.left);
  const int srcHeight = ClampToInt(std::int64_t{srcRect.bottom} - srcRect.top);
  const int dstWidth = ClampToInt(std::int64_t{dstRect.right} - dstRect.left);
  const int dstHeight = ClampToInt(std::int64_t{dstRect.bottom} - dstRect.top);
  return ::StretchDIBits(SafeHdc(dc), dstRect.left, dstRect.top, dstWidth, dstHeight, srcRect.left,
                         ySrc, srcWidth, srcHeight, m_pBuffer, &info, DIB_RGB_COLORS,
                         rop) != GDI_ERROR;
}

int CPicture::Draw(CDC* dc, CRect dstRect, DWORD rop) {
  return Draw(dc, dstRect.left, dstRect.top, ClampToInt(std::int64_t{dstRect.right} - dstRect.left),
              ClampToInt(std::int64_t{dstRect.bottom} - dstRect.top), rop);
}

int CPicture::Print(CDC* dc, CRect dstRect, DWORD rop) {
  if (!IsValid()) return 0;
  const CRect whole = GetPictureRect();
  return vardell::compositing::ForEachPrintTile(Width(), Height(), [&](const CRect& tile) {
    CRect dstTile = tile;
    ScaleTransform(whole, dstRect, dstTile);
    return Draw(dc, dstTile, tile, rop) != 0;
  });
}

HBITMAP CPicture::CreateDDB(CDC* dc, CSize size, int bStretch) {
  if (!IsValid()) return nullptr;
  if (size.cx == 0 && size.cy == 0) size = GetPictureSize();
  CDC memDC;
  if (!memDC.CreateCompatibleDC(dc)) return nullptr;
  const HBITMAP bitmap = ::CreateCompatibleBitmap(SafeHdc(dc), size.cx, size.cy);
  if (bitmap == nullptr) return nullptr;
  const HGDIOBJ old = ::SelectObject(memDC.GetSafeHdc(), bitmap);
  if (old == nullptr) {
    ::DeleteObject(bitmap);
    return nullptr;
  }
  memDC.SetStretchBltMode(COLORONCOLOR);
  memDC.PatBlt(0, 0, size.cx, size.cy, WHITENESS);
  const CRect whole(0, 0, size.cx, size.cy);
  Draw(&memDC, bStretch ? whole : FitIn(GetPictureRect(), whole), SRCCOPY);
  ::SelectObject(memDC.GetSafeHdc(), old);
  return bitmap;
}
