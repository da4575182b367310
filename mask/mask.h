// CMask: the library's 8-bit selection mask. 0 is outside, 255 fully inside, values between are
// weights. The pixels are a device-independent bitmap as it stands: rows bottom-up, each padded to
// a multiple of 4 bytes (stride ((width * 8 + 31) / 32) * 4), described by a 40-byte info header
// followed directly by a 256-entry grey palette, so the mask can be drawn without conversion.
// Public coordinates count y from the top: image row y lives at buffer + (height - y - 1) * stride.
//
// Limits of the port: a mask buffer never exceeds INT_MAX bytes (what the 32-bit library could
// hold); larger requests fail like an allocation failure. Fills and morphology record
// coordinates in 16-bit arrays, so masks above 65535 pixels a side are outside what they
// support (they stay memory-safe there, but recorded runs wrap).
#pragma once

#include "platform/bitmap.h"
#include "platform/collections.h"
#include "platform/cstring.h"
#include "platform/gdi_objects.h"
#include "platform/export.h"
#include "platform/geometry.h"
#include "platform/region.h"
#include "platform/win_types.h"

#include <cassert>
#include <cstddef>

class CDC;

// Modes of CMask::Draw(CMask&, ...). Any value other than the three named ones copies.
inline constexpr int MASK_COPY = 0;
inline constexpr int MASK_OR = 1;
inline constexpr int MASK_AND = 2;
inline constexpr int MASK_REMOVE = 3;

class VARDELL_API CMask {
 public:
  // Empty; builds the shared byte tables if no picture or mask has done so yet.
  CMask();
  ~CMask();
  CMask(const CMask&) = delete;
  CMask& operator=(const CMask&) = delete;

  // ---- Buffer and header (mask.cpp) ----

  // Frees the buffer; the header is left as it was.
  void DeleteObject();
  BOOL IsValid() const noexcept { return m_pBuffer != nullptr; }
  // width >= 1 and height >= 1; fills the pixels (not the spare row after them) with value.
  BOOL CreateMask(int width, int height, BYTE value);
  // CreateMask with each row written by fillRow(BYTE* row, int y) instead of a fill, bottom row
  // first (memory order). fillRow must write the whole stride, padding included.
  template <class FillRow>
  BOOL CreateMaskRows(int width, int height, FillRow&& fillRow);
  int Width() const noexcept { return m_infoHeader.biWidth; }
  int Height() const noexcept { return m_infoHeader.biHeight; }
  int GetDataWidth() const noexcept { return DibStride(m_infoHeader.biWidth, 8); }
  // Rewrites the header and grey palette for a size; biSizeImage becomes one stride. The buffer
  // is not touched.
  void SetInfoHeader(int width, int height);
  BYTE* GetBuffer() noexcept { return m_pBuffer; }
  const BYTE* GetBuffer() const noexcept { return m_pBuffer; }
  // Start of image row y (counted from the top). Unchecked, like the platform's accessors.
  BYTE* GetLineBuffer(int y) noexcept {
    assert(m_pBuffer && y >= 0 && y < Height());
    return m_pBuffer + static_cast<std::ptrdiff_t>(Height() - y - 1) * GetDataWidth();
  }
  // Address of pixel (x, y). Unchecked.
  BYTE* GetPixel(int x, int y) noexcept {
    assert(x >= 0 && x <= Width());
    return GetLineBuffer(y) + x;
  }
  // (width, height), or (0, 0) when empty.
  CSize GetMaskSize() const noexcept;
  // (0, 0, width, height), or the null rectangle when empty.
  CRect GetMaskRect() const noexcept;
  // The header and palette back to back, ready for the device drawing calls.
  BITMAPINFO* GetBitmapInfo() noexcept { return reinterpret_cast<BITMAPINFO*>(&m_infoHeader); }
  const BITMAPINFOHEADER& GetInfoHeader() const noexcept { return m_infoHeader; }
  const RGBQUAD* GetPalette() const noexcept { return m_palette; }

  // A new mask of the same size and content, owned by the caller; null on failure or when empty.
  CMask* Duplicate();
  // Makes *pTarget a copy of this mask; FALSE when pTarget is null or this mask is empty.
  BOOL Duplicate(CMask* pTarget);
  // Replaces every byte of the stride * height data, padding included, by lut[byte].
  BOOL TransformData(const BYTE* lut);
  BOOL Invert();

  // ---- Files (mask_files.cpp) ----

  // Size of a mask file (8-bit BMP, or any file the JPEG codec reads) without loading it.
  static CSize GetMaskSize(CString path);
  // 8-bit grey BMP with the 1078-byte preamble; other files go to the JPEG codec. Each failure
  // shows one message. After a refused header (damaged, not 8-bit, too short) the mask keeps
  // the new buffer and counts as valid, as it always has, but only while the rows its header
  // describes fit in that buffer; otherwise it is left empty. A file shorter than its rows by
  // no more than the 2048 bytes of slack loads, its missing rows 0.
  BOOL LoadMask(CString path);
  // Through the JPEG codec, reduced by a / b when a < b (full size otherwise); a BMP file falls
  // back to the BMP reader.
  BOOL LoadMask(CString path, int a, int b);
  // format 0 writes an 8-bit BMP; any other value a JPEG file with the given quality.
  BOOL StoreMask(CString path, int format, int quality);

  // ---- Device drawing (mask_draw.cpp) ----
  // StretchDIBits with the mask's own header and grey palette; TRUE when it does not fail.

  // The whole mask at (x, y), actual size. FALSE when empty.
  BOOL Draw(CDC* pDC, int x, int y, DWORD rop);
  // The whole mask stretched into dest. FALSE when empty.
  BOOL Draw(CDC* pDC, CRect dest, DWORD rop);
  // The top-based rectangle src stretched into dest. TRUE when empty (nothing to do).
  BOOL Draw(CDC* pDC, CRect dest, CRect src, DWORD rop);
  // A new device bitmap compatible with pDC of the given size ((0, 0): the mask's), white, with
  // the mask stretched over it or fitted into it with kept proportions. Owned by the caller;
  // null when empty or when the bitmap cannot be made.
  HBITMAP CreateDDB(CDC* pDC, CSize size, BOOL stretch);

  // ---- Combination (mask_combine.cpp) ----
  // This mask is the source; dest receives the result. Rectangles are clipped to both masks
  // with the other rectangle cut in proportion, then sampled by nearest neighbour.

  BOOL Draw(CMask& dest, CRect destRect, CRect srcRect, int mode);
  // d = S[d + M[level][s]], or S[d - M[level][s]] when subtract; level is 0..255, unchecked.
  BOOL DrawTransparent(CMask& dest, CRect destRect, CRect srcRect, int level, BOOL subtract);

  // ---- Fills (mask_fill.cpp) ----

  // Sets the pixels of rect, clipped to the mask, to value.
  BOOL Rectangle(CRect rect, BYTE value);
  // Sets every pixel inside the region to value, rectangle by rectangle of its region data.
  BOOL FillRegion(CRgn* pRgn, BYTE value);
  BOOL FillOutline(class CRegionOutline* pOutline, BYTE value);  // its polygons, even-odd rule
  // Scan-line seed fill, 4-connected, of the pixels equal to the seed's value. Answers the
  // number of pixels changed (0 when empty, the seed is outside or already has value).
  int FloodFill(int x, int y, BYTE value);
  // The same fill; also appends each filled run (row, first column, one past the last column)
  // to the three arrays, in the order the runs are filled.
  int FloodFillRecord(int x, int y, BYTE value, CWordArray& runLeft, CWordArray& runEnd,
                      CWordArray& runRow);

  // ---- Morphology (mask_morphology.cpp) ----
  // All of these write only 0 and 255; FALSE when empty or size < 2.

  BOOL DilateH(int size);
  BOOL ErosionH(int size);
  BOOL DilateV(int size);
  BOOL ErosionV(int size);
  // Marks pixels larger than a neighbour; see the one-sided lower-neighbour rule in the code.
  BOOL EdgeDetect();
  // Separable box blur of span 2 * radius + 1 with edge replication; 16-bit sums. FALSE for a
  // negative radius.
  BOOL Soften(int radius);

 private:
  enum class CombineOp { copy, orOp, andOp, removeOp, add, subtract };
  BOOL DrawOr(CMask& dest, CRect destRect, CRect srcRect);
  BOOL DrawAnd(CMask& dest, CRect destRect, CRect srcRect);
  BOOL DrawRemove(CMask& dest, CRect destRect, CRect srcRect);
  BOOL Combine(CMask& dest, CRect destRect, CRect srcRect, CombineOp op, int level);
  // The BMP reader; codecFallback FALSE when called back from the codec reader.
  BOOL LoadBitmapFile(const CString& path, BOOL codecFallback);
  // The codec reader behind LoadMask(path, a, b); bmpFallback FALSE when called from the BMP
  // reader for a file that does not begin with "BM".
  BOOL LoadCodecFile(const CString& path, int a, int b, BOOL bmpFallback);
  // CreateMask without the fill: the image bytes are left for the caller to write.
  BOOL AllocateMask(int width, int height);
  void AdoptBuffer(BYTE* buffer) noexcept;
  void WriteGreyPalette() noexcept;
  template <class Fill>
  int SeedFill(int x, int y, BYTE value, Fill&& onRun);

  BYTE* m_pBuffer = nullptr;
  // The info header and palette lie back to back: together they are one BITMAPINFO.
  BITMAPINFOHEADER m_infoHeader{};
  RGBQUAD m_palette[256]{};
};

template <class FillRow>
BOOL CMask::CreateMaskRows(int width, int height, FillRow&& fillRow) {
  if (!AllocateMask(width, height)) return FALSE;
  for (int y = height - 1; y >= 0; --y) fillRow(GetLineBuffer(y), y);
  return TRUE;
}
