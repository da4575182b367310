// Little-endian loads and stores for file and archive structures, independent of the host.
#pragma once

#include "platform/win_types.h"

#include <bit>
#include <cstring>

namespace vardell {

template <class T>
constexpr T ByteSwap(T v) noexcept {
  if constexpr (sizeof(T) == 1)
    return v;
  else if constexpr (sizeof(T) == 2)
    return static_cast<T>(__builtin_bswap16(static_cast<std::uint16_t>(v)));
  else if constexpr (sizeof(T) == 4)
    return static_cast<T>(__builtin_bswap32(static_cast<std::uint32_t>(v)));
  else
    return static_cast<T>(__builtin_bswap64(static_cast<std::uint64_t>(v)));
}

template <class T>
inline T LoadLE(const void* p) noexcept {
  T v;
  std::memcpy(&v, p, sizeof v);
  if constexpr (std::endian::native == std::endian::big) v = ByteSwap(v);
  return v;
}

template <class T>
inline void StoreLE(void* p, T v) noexcept {
  if constexpr (std::endian::native == std::endian::big) v = ByteSwap(v);
  std::memcpy(p, &v, sizeof v);
}

}  // namespace vardell
