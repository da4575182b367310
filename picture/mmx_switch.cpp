#include "picture/mmx_switch.h"

#include <atomic>

namespace {
std::atomic<int> g_mmx{0};
}

void EnableMMX(int enable) { g_mmx.store(enable != 0 ? 1 : 0, std::memory_order_relaxed); }

namespace vardell {
bool MmxEnabled() noexcept { return g_mmx.load(std::memory_order_relaxed) != 0; }
}  // namespace vardell
