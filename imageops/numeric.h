// Numeric conversions of the image operations. Internal.
#pragma once

#include <climits>

namespace vardell::imageops {

// A double converted to int as the platform's processor converts it: truncated towards zero,
// and INT_MIN (its "integer indefinite") for NaN, infinities and values beyond an int.
inline int TruncateToInt(double v) noexcept {
  if (!(v > -2147483649.0 && v < 2147483648.0)) return INT_MIN;
  return static_cast<int>(v);
}

}  // namespace vardell::imageops
