// Division by small divisors through a table of reciprocals. Internal.
#pragma once

#include <array>
#include <cstdint>

namespace vardell::imageops {

// R[d] = floor(2^32 / d) + 1 for d = 1..510. For n < 2^32 / d, (n * R[d]) >> 32 = n / d: with
// n = q d + s (s < d) the product is n / d + n e / 2^32 (0 < e <= 1), and n e / 2^32 < 1 / d
// keeps it below q + 1.
inline constexpr std::array<std::uint64_t, 511> kReciprocals = [] {
  std::array<std::uint64_t, 511> r{};
  for (std::uint64_t d = 1; d < r.size(); ++d) r[d] = (std::uint64_t{1} << 32) / d + 1;
  return r;
}();

// n / d for 1 <= d <= 510 and n < 2^32 / d (every quotient of the colour model: n <= 130305).
inline unsigned DivideSmall(unsigned n, unsigned d) noexcept {
  return static_cast<unsigned>((n * kReciprocals[d]) >> 32);
}

}  // namespace vardell::imageops
