// The process-wide MMX switch: 0 when the library is loaded, set only by EnableMMX. Operations
// that have MMX variants read it once at the start of each call and run the variant whose
// results the host asked for. The library never probes the processor itself.
#pragma once

#include "platform/export.h"

// Nonzero selects the MMX variants of Soften, Brightness, AdjustColors and DrawTransparent.
VARDELL_API void EnableMMX(int enable);

namespace vardell {

// The switch as the operations read it.
VARDELL_API bool MmxEnabled() noexcept;

}  // namespace vardell
