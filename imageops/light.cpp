// CPicture::DrawLight: the light of a spot lamp whose cone hangs above the picture.
#include "hostutil/geometry_utils.h"
#include "imageops/numeric.h"
#include "imageops/picture_rows.h"
#include "picture/picture.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

namespace {

// Radians to degrees with pi taken as 3.14, i.e. 180 / 3.14: intended.
constexpr double kDegrees = 57.324840764331206;

// The geometry of one call, in double precision with the picture plane at z = 0.
struct Lamp {
  double ax, ay, az;  // the apex, above `to`
  double ux, uy, uz;  // the beam axis, apex minus rear point
  double axisLength;
  double k;  // height^2 / sin(a) / sin(a)
  double height;
  double amounts[3];  // blue, green, red
  int angle;
  // The cone test decided on cos(theta) where it is clear by a wide margin, and by acos only in
  // a thin band around the edge: cos(theta) > c0 + 1e-9 means acos(cos(theta)) is below the
  // edge angle by at least 1e-9 radians, far beyond the error of acos and of the product, so the
  // result is the one acos would give.
  double litAbove, unlitBelow;
  // Before any square root: cos(theta) = dot / (sqrt(r2) * axisLength) is certainly below
  // c0 - 2e-9, and so below unlitBelow once rounded, when dot < u * sqrt(r2) * axisLength with
  // u = c0 - 2e-9; compared as squares (their relative error, about 1e-15, is far inside the
  // margin).
  double u, uu;

  void SetBand() noexcept {
    const double edge = angle / kDegrees;
    if (angle <= 0) {
      // theta < angle never holds.
      litAbove = unlitBelow = std::numeric_limits<double>::infinity();
    } else if (edge >= std::numbers::pi) {
      // theta is at most pi * kDegrees < angle: every valid cosine is lit.
      litAbove = unlitBelow = -std::numeric_limits<double>::infinity();
    } else {
      const double c0 = std::cos(edge);
      litAbove = c0 + 1e-9;
      unlitBelow = c0 - 1e-9;
    }
    u = unlitBelow - 1e-9;
    uu = u * u * axisLength * axisLength;
  }

  bool CertainlyUnlit(double dot, double r2) const noexcept {
    if (std::isinf(u)) return u > 0;
    if (u >= 0) return dot < 0 || dot * dot < uu * r2;
    return dot < 0 && dot * dot > uu * r2;
  }

  bool Lit(double cosine) const noexcept {
    // Outside -1..1 (rounding on the axis, or no geometry at all) acos is NaN, and NaN < angle
    // is false.
    if (!(cosine >= -1.0 && cosine <= 1.0)) return false;
    if (cosine > litAbove) return true;
    if (cosine < unlitBelow) return false;
    return std::acos(cosine) * kDegrees < angle;
  }
};

// byte + amount, capped at 255 with no lower clamp (a negative sum keeps its low byte:
// intended). An amount with no int value converts to INT_MIN, whose low byte is 0, so that
// byte stays as it was.
BYTE AddLight(BYTE byte, double amount) noexcept {
  const std::int64_t v = std::int64_t{byte} + vardell::imageops::TruncateToInt(amount);
  return v > 255 ? BYTE{255} : static_cast<BYTE>(v);
}

void LightRow(BYTE* p, int y, int left, int right, const Lamp& lamp) noexcept {
  const double dy = lamp.ay - y;
  const double vz = 0.0 - lamp.height;
  for (int x = left; x < right; ++x, p += 3) {
    const double dx = lamp.ax - x;
    const double r2 = lamp.height * lamp.height + dy * dy + dx * dx;
    const double dot = lamp.ux * (x - lamp.ax) + lamp.uy * (y - lamp.ay) + lamp.uz * vz;
    if (lamp.CertainlyUnlit(dot, r2)) continue;
    const double r = std::sqrt(r2);
    if (!lamp.Lit(dot / r / lamp.axisLength)) continue;
    const double w = 1.0 / r;
    for (int c = 0; c < 3; ++c)
      p[c] = AddLight(p[c], lamp.amounts[c] * w * w * lamp.k * (lamp.height * w));
  }
}

}  // namespace

int CPicture::DrawLight(CPoint from, CPoint to, int length, int height, COLORREF color,
                        int intensity, int angle) {
  if (!IsValid()) return 0;
  const double d = std::sqrt(static_cast<double>(Distance2(from, to)));
  const double a = std::acos(d / length);
  const CRect r0 = GetPictureRect();
  from.Offset(r0.left, r0.top);
  to.Offset(r0.left, r0.top);

  Lamp lamp{};
  lamp.height = height;
  lamp.ax = to.x;
  lamp.ay = to.y;
  lamp.az = height;
  // The rear point's height: sin(a) * length truncated to an integer before it is added.
  const double fz = static_cast<double>(std::int64_t{height} +
                                        vardell::imageops::TruncateToInt(std::sin(a) * length));
  lamp.ux = lamp.ax - from.x;
  lamp.uy = lamp.ay - from.y;
  lamp.uz = lamp.az - fz;
  lamp.axisLength = std::sqrt(lamp.ux * lamp.ux + lamp.uy * lamp.uy + lamp.uz * lamp.uz);
  lamp.k = static_cast<double>(height) * height / std::sin(a) / std::sin(a);
  lamp.amounts[0] = static_cast<double>(std::int64_t{GetBValue(color)} * intensity / 100);
  lamp.amounts[1] = static_cast<double>(std::int64_t{GetGValue(color)} * intensity / 100);
  lamp.amounts[2] = static_cast<double>(std::int64_t{GetRValue(color)} * intensity / 100);
  lamp.angle = angle;
  lamp.SetBand();
  // Without a tilt (points farther apart than the arm, or no arm) every amount is NaN and no
  // byte changes; the call still succeeds.
  if (std::isnan(lamp.k)) return 1;

  // Every pixel is lit alone, so the rows go in memory order (bottom first) for the prefetcher.
  for (int y = r0.bottom - 1; y >= r0.top; --y)
    LightRow(GetLineBuffer(y) + 3 * static_cast<std::ptrdiff_t>(r0.left), y, r0.left, r0.right,
             lamp);
  return 1;
}
