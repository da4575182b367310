// CPicture's colour operations: lookup tables, offsets, contrast, the HWV hue and saturation
// operations, gray conversion, the average colour, colour differences and masks made from
// colours.
//
// Every operation answers 0 and changes nothing when the picture has no buffer, 1 otherwise.
// The pixel operations touch the 3 * Width channel bytes of each row and never the padding.
#include "imageops/colour_kernels.h"
#include "imageops/colour_model.h"
#include "imageops/picture_rows.h"
#include "mask/mask.h"
#include "picture/mmx_switch.h"
#include "picture/picture.h"
#include "picture/simd_dispatch.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace k = vardell::imageops_kernels;
using vardell::imageops::ForEachRow;
using vardell::imageops::RowOf;

namespace {

// The vector twins of the gray and hue kernels: the AVX2 ones when built in, else the SSE2 ones.
#if VARDELL_HAVE_AVX2
constexpr auto kGrayRowVector = k::GrayRowAvx2;
constexpr auto kGrayBytesRowVector = k::GrayBytesRowAvx2;
constexpr auto kHueRowVector = k::HueRowAvx2;
#else
constexpr auto kGrayRowVector = k::GrayRowSse2;
constexpr auto kGrayBytesRowVector = k::GrayBytesRowSse2;
constexpr auto kHueRowVector = k::HueRowSse2;
#endif

// Offsets added to every pixel, with the MMX variant's arithmetic or the table arithmetic.
void AddOffsets(CPicture& picture, k::Offsets d, bool mmx) {
  const bool sse2 = vardell::simd::UseSse2();
  const auto n = static_cast<std::size_t>(picture.Width());
  ForEachRow(picture, [&](BYTE* row) {
    if (mmx)
      (sse2 ? k::AdjustRowMmxSse2 : k::AdjustRowMmxScalar)(row, n, d);
    else
      (sse2 ? k::AdjustRowTableSse2 : k::AdjustRowTable)(row, n, d);
  });
}

// A byte of the clamped range 0..255.
BYTE Clamped(std::int64_t v) noexcept {
  return static_cast<BYTE>(std::clamp<std::int64_t>(v, 0, 255));
}

}  // namespace

int CPicture::Transform(BYTE* red, BYTE* green, BYTE* blue) {
  if (!IsValid()) return 0;
  BYTE identity[256];
  for (int i = 0; i < 256; ++i) identity[i] = static_cast<BYTE>(i);
  if (!red) red = identity;
  if (!green) green = identity;
  if (!blue) blue = identity;
  const auto n = static_cast<std::size_t>(Width());
  ForEachRow(*this, [&](BYTE* row) { k::TransformRow(row, n, red, green, blue); });
  return 1;
}

int CPicture::Brightness(int offset) {
  if (!IsValid()) return 0;
  const k::Offsets d{offset, offset, offset};
  if (vardell::MmxEnabled()) {
    AddOffsets(*this, d, true);
    return 1;
  }
  // The table t[i] = clamp(i + offset); the SSE2 twin of the offsets gives the same bytes.
  if (vardell::simd::UseSse2()) {
    AddOffsets(*this, d, false);
    return 1;
  }
  BYTE t[256];
  for (int i = 0; i < 256; ++i) t[i] = Clamped(std::int64_t{i} + offset);
  return Transform(t, t, t);
}

int CPicture::Contrast(int contrast) {
  if (!IsValid()) return 0;
  BYTE t[256];
  for (int i = 0; i < 256; ++i) {
    // Signed 32-bit arithmetic, wrapping as the platform's does for contrasts beyond about
    // 16 million: intended. The division truncates towards zero; no upper bound on contrast.
    const auto product = static_cast<std::int32_t>((static_cast<std::uint32_t>(contrast) + 100u) *
                                                   static_cast<std::uint32_t>(i - 128));
    t[i] = Clamped(product / 100 + 128);
  }
  return Transform(t, t, t);
}

int CPicture::AdjustColors(int red, int green, int blue) {
  if (!IsValid()) return 0;
  AddOffsets(*this, k::Offsets{blue, green, red}, vardell::MmxEnabled());
  return 1;
}

int CPicture::Saturate(int saturation) {
  if (!IsValid()) return 0;
  const auto n = static_cast<std::size_t>(Width());
  ForEachRow(*this, [&](BYTE* row) { k::SaturateRow(row, n, saturation); });
  return 1;
}

int CPicture::Hue(int hue) {
  if (!IsValid()) return 0;
  const auto n = static_cast<std::size_t>(Width());
  const auto& tables = vardell::hwv::Tables();
  const auto hueRow = vardell::simd::UseSse2() ? kHueRowVector : k::HueRow;
  ForEachRow(*this, [&](BYTE* row) { hueRow(row, n, hue, false, 0, tables); });
  return 1;
}

int CPicture::HueSaturate(int hue, int saturation) {
  if (!IsValid()) return 0;
  const auto n = static_cast<std::size_t>(Width());
  const auto& tables = vardell::hwv::Tables();
  const auto hueRow = vardell::simd::UseSse2() ? kHueRowVector : k::HueRow;
  ForEachRow(*this, [&](BYTE* row) { hueRow(row, n, hue, true, saturation, tables); });
  return 1;
}

int CPicture::ColorAdjust(int brightness, int contrast, int hue, int saturation, int red, int green,
                          int blue) {
  if (!IsValid()) return 0;
  if (red != 0 || green != 0 || blue != 0) AdjustColors(red, green, blue);
  // A saturation change alone clips (Saturate); with a hue change it goes through the clamped
  // model (HueSaturate). The two give different pixels: intended.
  if (hue != 0 && saturation != 0)
    HueSaturate(hue, saturation);
  else if (hue != 0)
    Hue(hue);
  else if (saturation != 0)
    Saturate(saturation);
  if (brightness != 0) Brightness(brightness);
  if (contrast != 0) Contrast(contrast);
  return 1;
}

int CPicture::ConvertToGray() {
  if (!IsValid()) return 0;
  const bool sse2 = vardell::simd::UseSse2();
  const auto n = static_cast<std::size_t>(Width());
  ForEachRow(*this, [&](BYTE* row) { (sse2 ? kGrayRowVector : k::GrayRow)(row, n); });
  return 1;
}

int CPicture::ConvertToGray(CMask* mask) {
  if (!IsValid() || mask == nullptr) return 0;
  mask->DeleteObject();
  const auto grayRow = vardell::simd::UseSse2() ? kGrayBytesRowVector : k::GrayBytesRow;
  const auto n = static_cast<std::size_t>(Width());
  const auto padding = static_cast<std::size_t>(DibStride(Width(), 8)) - n;
  // Bottom row first, both buffers walked forwards through memory. The padding keeps the 255
  // of a mask created with 255, without filling the pixels first.
  return mask->CreateMaskRows(Width(), Height(),
                              [&](BYTE* row, int y) {
                                grayRow(RowOf(*this, y), row, n);
                                std::memset(row + n, 255, padding);
                              })
             ? 1
             : 0;
}

COLORREF CPicture::GetAverageColor(CRect rect) {
  if (!IsValid()) return 0;
  // Right and bottom are inclusive.
  if (rect.right < INT_MAX) ++rect.right;
  if (rect.bottom < INT_MAX) ++rect.bottom;
  CRect area;
  if (!area.IntersectRect(rect, GetPictureRect())) return 0;
  // Unsigned 32-bit sums, which wrap beyond 16843009 pixels of white: intended.
  std::uint32_t sums[3] = {0, 0, 0};
  const auto n = static_cast<std::size_t>(area.Width());
  for (int y = area.top; y < area.bottom; ++y)
    k::SumRow(RowOf(*this, y) + 3 * static_cast<std::ptrdiff_t>(area.left), n, sums);
  const auto count =
      static_cast<std::uint32_t>(area.Width()) * static_cast<std::uint32_t>(area.Height());
  return RGB(static_cast<BYTE>(sums[2] / count), static_cast<BYTE>(sums[1] / count),
             static_cast<BYTE>(sums[0] / count));
}

void CPicture::GetColorDifference(COLORREF from, COLORREF to, int& hue, int& saturation,
                                  int& value) {
  WORD fh, fw, fv, th, tw, tv;
  BYTE r, g, b;
  RGBToHWV(GetRValue(from), GetGValue(from), GetBValue(from), fh, fw, fv);
  RGBToHWV(GetRValue(to), GetGValue(to), GetBValue(to), th, tw, tv);
  // Each step is measured after the previous one has been applied through the model.
  hue = th - fh;
  HWVToRGB(th, fw, fv, r, g, b);
  RGBToHWV(r, g, b, fh, fw, fv);
  saturation = fw - tw;
  HWVToRGB(fh, tw, fv, r, g, b);
  RGBToHWV(r, g, b, fh, fw, fv);
  // Half the value difference, rounded towards minus infinity: intended.
  value = (tv - fv) >> 1;
}

namespace {

// A new mask of the picture's size, or null. The caller owns it.
CMask* NewMaskFor(const CPicture& picture) {
  std::unique_ptr<CMask> mask(new (std::nothrow) CMask);
  if (!mask || !mask->CreateMask(picture.Width(), picture.Height(), 255)) return nullptr;
  return mask.release();
}

// Calls f(pictureRow, maskRow) for each stored row, both walked in memory order.
template <class F>
void ForEachStoredRow(const CPicture& picture, CMask& mask, F&& f) {
  const BYTE* src = picture.GetBuffer();
  BYTE* dst = mask.GetBuffer();
  for (int i = 0; i < picture.Height(); ++i) {
    f(src, dst);
    src += picture.GetDataWidth();
    dst += mask.GetDataWidth();
  }
}

}  // namespace

CMask* CPicture::CreateMask(COLORREF color, int invert) {
  if (!IsValid()) return nullptr;
  CMask* mask = NewMaskFor(*this);
  if (!mask) return nullptr;
  const BYTE bgr[3] = {GetBValue(color), GetGValue(color), GetRValue(color)};
  const BYTE equal = invert ? 0 : 255;
  const auto n = static_cast<std::size_t>(Width());
  ForEachStoredRow(*this, *mask, [&](const BYTE* src, BYTE* dst) {
    k::ExactColourRow(src, dst, n, bgr, equal, static_cast<BYTE>(255 - equal));
  });
  return mask;
}

CMask* CPicture::CreateMask(COLORREF color, int tolerance, BYTE other, BYTE match) {
  if (!IsValid()) return nullptr;
  CMask* mask = NewMaskFor(*this);
  if (!mask) return nullptr;
  // Members: component - tolerance <= v < component + tolerance. The upper end is exclusive, so
  // tolerance 0 selects nothing and 1 exactly the colour: intended.
  bool member[3][256];
  const BYTE components[3] = {GetBValue(color), GetGValue(color), GetRValue(color)};
  for (int c = 0; c < 3; ++c)
    for (int v = 0; v < 256; ++v)
      member[c][v] = std::int64_t{components[c]} - tolerance <= v &&
                     v < std::int64_t{components[c]} + tolerance;
  const auto n = static_cast<std::size_t>(Width());
  ForEachStoredRow(*this, *mask, [&](const BYTE* src, BYTE* dst) {
    k::ColourRangeRow(src, dst, n, member[0], member[1], member[2], match, other);
  });
  return mask;
}
