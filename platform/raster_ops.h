// Raster operations: the ternary codes of BitBlt/StretchBlt/StretchDIBits/PatBlt, the binary mix
// modes of SetROP2, and the row kernels that apply them to device pixels.
//
// A device pixel is a 32-bit value 0x00RRGGBB (bytes B, G, R, X in memory, as a 32-bit DDB).
// Operations act bit by bit on the 24 colour bits; the X byte of every result is 0.
#pragma once

#include "platform/export.h"
#include "platform/win_types.h"

#include <cstddef>
#include <cstdint>

// Ternary raster operations. Bits 16..23 hold the truth table: the result bit for pattern bit P,
// source bit S and destination bit D is bit (4P + 2S + D) of that byte.
inline constexpr DWORD SRCCOPY = 0x00CC0020;
inline constexpr DWORD SRCPAINT = 0x00EE0086;
inline constexpr DWORD SRCAND = 0x008800C6;
inline constexpr DWORD SRCINVERT = 0x00660046;
inline constexpr DWORD SRCERASE = 0x00440328;
inline constexpr DWORD NOTSRCCOPY = 0x00330008;
inline constexpr DWORD NOTSRCERASE = 0x001100A6;
inline constexpr DWORD MERGECOPY = 0x00C000CA;
inline constexpr DWORD MERGEPAINT = 0x00BB0226;
inline constexpr DWORD PATCOPY = 0x00F00021;
inline constexpr DWORD PATPAINT = 0x00FB0A09;
inline constexpr DWORD PATINVERT = 0x005A0049;
inline constexpr DWORD DSTINVERT = 0x00550009;
inline constexpr DWORD BLACKNESS = 0x00000042;
inline constexpr DWORD WHITENESS = 0x00FF0062;

// Binary mix modes (SetROP2). Code - 1 is a truth table: result bit = bit (2P + D) of it.
inline constexpr int R2_BLACK = 1;         // 0
inline constexpr int R2_NOTMERGEPEN = 2;   // ~(P | D)
inline constexpr int R2_MASKNOTPEN = 3;    // ~P & D
inline constexpr int R2_NOTCOPYPEN = 4;    // ~P
inline constexpr int R2_MASKPENNOT = 5;    // P & ~D
inline constexpr int R2_NOT = 6;           // ~D
inline constexpr int R2_XORPEN = 7;        // P ^ D
inline constexpr int R2_NOTMASKPEN = 8;    // ~(P & D)
inline constexpr int R2_MASKPEN = 9;       // P & D
inline constexpr int R2_NOTXORPEN = 10;    // ~(P ^ D)
inline constexpr int R2_NOP = 11;          // D
inline constexpr int R2_MERGENOTPEN = 12;  // ~P | D
inline constexpr int R2_COPYPEN = 13;      // P
inline constexpr int R2_MERGEPENNOT = 14;  // P | ~D
inline constexpr int R2_MERGEPEN = 15;     // P | D
inline constexpr int R2_WHITE = 16;        // all ones
inline constexpr int R2_LAST = 16;

namespace vardell::kernels {

inline constexpr std::uint32_t kColourBits = 0x00FFFFFFu;

// The truth-table byte of a ternary raster operation.
constexpr BYTE Rop3Index(DWORD rop) noexcept { return static_cast<BYTE>((rop >> 16) & 0xFF); }

// The ternary truth table of a binary mix mode (the source plays no part), or 0xAA (leave the
// destination) for a code outside 1..16.
constexpr BYTE Rop2ToRop3(int rop2) noexcept {
  if (rop2 < R2_BLACK || rop2 > R2_WHITE) return 0xAA;
  const unsigned t = static_cast<unsigned>(rop2 - 1);
  unsigned code = 0;
  for (unsigned p = 0; p < 2; ++p)
    for (unsigned s = 0; s < 2; ++s)
      for (unsigned d = 0; d < 2; ++d)
        if (t & (1u << (2 * p + d))) code |= 1u << (4 * p + 2 * s + d);
  return static_cast<BYTE>(code);
}

// Whether the result depends on the source, the pattern or the destination.
constexpr bool RopUsesSource(BYTE code) noexcept { return ((code >> 2) & 0x33) != (code & 0x33); }
constexpr bool RopUsesPattern(BYTE code) noexcept { return (code >> 4) != (code & 0x0F); }
constexpr bool RopUsesDest(BYTE code) noexcept { return ((code >> 1) & 0x55) != (code & 0x55); }

// Generic evaluation from the truth table, by Shannon expansion on P, then S, then D. Each t[i]
// is all ones when bit i of the table is set.
class RopEvaluator {
 public:
  constexpr explicit RopEvaluator(BYTE code) noexcept : m_t{} {
    for (int i = 0; i < 8; ++i) m_t[i] = (code >> i) & 1 ? 0xFFFFFFFFu : 0u;
  }
  constexpr std::uint32_t operator()(std::uint32_t p, std::uint32_t s,
                                     std::uint32_t d) const noexcept {
    const std::uint32_t nd = ~d, ns = ~s;
    const std::uint32_t h00 = (d & m_t[1]) | (nd & m_t[0]);
    const std::uint32_t h01 = (d & m_t[3]) | (nd & m_t[2]);
    const std::uint32_t h10 = (d & m_t[5]) | (nd & m_t[4]);
    const std::uint32_t h11 = (d & m_t[7]) | (nd & m_t[6]);
    const std::uint32_t k0 = (s & h01) | (ns & h00);
    const std::uint32_t k1 = (s & h11) | (ns & h10);
    return ((p & k1) | (~p & k0)) & kColourBits;
  }

 private:
  std::uint32_t m_t[8];
};

constexpr std::uint32_t EvalRop3(BYTE code, std::uint32_t p, std::uint32_t s,
                                 std::uint32_t d) noexcept {
  return RopEvaluator(code)(p, s, d);
}

// dst[i] = rop(pattern, src[i], dst[i]) for n pixels. src may be null when the operation does
// not use the source. The common operations have their own loops; the rest use the evaluator.
void RopRow(BYTE code, std::uint32_t* dst, const std::uint32_t* src, std::uint32_t pattern,
            std::size_t n) noexcept;

// Source rows converted to device pixels. Pixels are read at byte offsets xoffs[i] (3 bytes
// B, G, R) or indexes xidx[i] (palette); the plain forms read n consecutive pixels.
void Convert24Row(const BYTE* src, std::uint32_t* dst, std::size_t n) noexcept;
void Gather24Row(const BYTE* src, const std::int32_t* xoffs, std::uint32_t* dst,
                 std::size_t n) noexcept;
void Convert32Row(const BYTE* src, std::uint32_t* dst, std::size_t n) noexcept;
void Gather32Row(const BYTE* src, const std::int32_t* xoffs, std::uint32_t* dst,
                 std::size_t n) noexcept;
void Convert8Row(const BYTE* src, const std::uint32_t* palette, std::uint32_t* dst,
                 std::size_t n) noexcept;
void Gather8Row(const BYTE* src, const std::int32_t* xoffs, const std::uint32_t* palette,
                std::uint32_t* dst, std::size_t n) noexcept;
void GatherDeviceRow(const std::uint32_t* src, const std::int32_t* xidx, std::uint32_t* dst,
                     std::size_t n) noexcept;

}  // namespace vardell::kernels
