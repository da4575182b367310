// The three process-wide byte tables of the compositing, colour, filter and mask routines:
//   M[a][b] = (a * b + 128) / 255 with integer division, so row 255 is the identity;
//   S[i] for i in -256..511: 0 below 0, i for 0..255, 255 above 255 (addressed from its middle);
//   I[v] = 255 - v.
// They are built once, by the first CPicture or CMask constructed, and only read afterwards.
#pragma once

#include "platform/export.h"
#include "platform/win_types.h"

namespace vardell {

struct ByteTables {
  BYTE mul[256][256];
  BYTE clampStorage[768];
  BYTE inv[256];

  // S[i] for i in -256..511.
  const BYTE* Clamp() const noexcept { return clampStorage + 256; }
  BYTE Mul(int a, int b) const noexcept { return mul[a][b]; }

  // Builds the tables on the first call (thread-safe) and answers them.
  VARDELL_API static const ByteTables& Get() noexcept;
  // True once the tables have been built.
  VARDELL_API static bool Built() noexcept;
};

}  // namespace vardell
