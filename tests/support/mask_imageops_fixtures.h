// Shared by the mask and image-operation tests: the separable box blur as first defined, slow and
// plain, that both blurs are compared with.
#pragma once

#include <algorithm>
#include <vector>

namespace vardell::test {

// px holds h rows of w pixels of `channels` interleaved values. Each line of each channel is
// copied to a scratch line with r replicated values before and r + 1 after, then summed in a
// 16-bit running sum; rows first, then columns of the result. Outputs keep the low byte of
// sum / (2r + 1). mmx selects the MMX variant: saturating sums and ((sum * f) mod 65536) >> 7
// outputs, f = 129 / (2r + 1).
inline void ReferenceBoxBlur(std::vector<int>& px, int w, int h, int channels, int r, bool mmx) {
  const int span = 2 * r + 1, f = 129 / span;
  auto pass = [&](int count, int lines, auto index) {
    std::vector<int> line(count + span);
    for (int l = 0; l < lines; ++l)
      for (int c = 0; c < channels; ++c) {
        for (int i = 0; i < count + span; ++i)
          line[i] = px[index(l, std::clamp(i - r, 0, count - 1), c)];
        int s = 0;
        for (int i = 0; i < span; ++i)
          s = mmx ? std::min(s + line[i], 65535) : (s + line[i]) & 0xFFFF;
        for (int x = 0; x < count; ++x) {
          px[index(l, x, c)] = mmx ? std::min(((s * f) & 0xFFFF) >> 7, 255) : (s / span) & 0xFF;
          s = mmx ? std::min(std::max(s - line[x], 0) + line[x + span], 65535)
                  : (s - line[x] + line[x + span]) & 0xFFFF;
        }
      }
  };
  pass(w, h, [&](int y, int x, int c) { return (y * w + x) * channels + c; });
  pass(h, w, [&](int x, int y, int c) { return (y * w + x) * channels + c; });
}

}  // namespace vardell::test
