// Which twin of a row kernel an operation runs: the SSE2 one, or its plain scalar definition.
//
// The SSE2 twins are built when the compiler targets SSE2 (every x86-64 build) unless
// VARDELL_NO_SIMD is defined. Setting VARDELL_FORCE_SCALAR=1 in the environment makes every
// operation run the scalar twins instead; the test suite runs once more that way so the plain
// definitions are exercised end to end. The variable is read once per process.
// This header is self-contained (no link dependency), so any component may use it.
#pragma once

#include <cstdlib>
#include <cstring>

#if defined(__SSE2__) && !defined(VARDELL_NO_SIMD)
#define VARDELL_HAVE_SSE2 1
#else
#define VARDELL_HAVE_SSE2 0
#endif

namespace vardell::simd {

// True when VARDELL_FORCE_SCALAR is set to a value other than "" or "0".
inline bool ForceScalar() noexcept {
  static const bool force = [] {
    const char* v = std::getenv("VARDELL_FORCE_SCALAR");
    return v != nullptr && v[0] != '\0' && std::strcmp(v, "0") != 0;
  }();
  return force;
}

// True when the SSE2 twins are built and not switched off.
inline bool UseSse2() noexcept { return VARDELL_HAVE_SSE2 && !ForceScalar(); }

}  // namespace vardell::simd
