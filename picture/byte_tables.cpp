#include "picture/byte_tables.h"

#include <atomic>

namespace vardell {
namespace {

std::atomic<bool> g_built{false};

ByteTables MakeTables() noexcept {
  ByteTables t{};
  for (int a = 0; a < 256; ++a)
    for (int b = 0; b < 256; ++b) t.mul[a][b] = static_cast<BYTE>((a * b + 128) / 255);
  for (int i = -256; i < 512; ++i)
    t.clampStorage[i + 256] = static_cast<BYTE>(i < 0 ? 0 : i > 255 ? 255 : i);
  for (int v = 0; v < 256; ++v) t.inv[v] = static_cast<BYTE>(255 - v);
  g_built.store(true, std::memory_order_release);
  return t;
}

}  // namespace

const ByteTables& ByteTables::Get() noexcept {
  static const ByteTables tables = MakeTables();
  return tables;
}

bool ByteTables::Built() noexcept { return g_built.load(std::memory_order_acquire); }

}  // namespace vardell
