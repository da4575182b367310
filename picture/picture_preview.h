// Reduction of a 24-bit bitmap file to a smaller picture by sampling file rows and columns, shared
// by the synchronous preview load and the background loader. Internal to the picture component.
#pragma once

#include "platform/bitmap.h"
#include "platform/cstring.h"
#include "platform/file.h"
#include "platform/geometry.h"
#include "platform/win_types.h"

#include <cstdint>
#include <functional>

namespace vardell::kernels {

// dst pixel i = src pixel (i * srcWidth) / dstWidth for i in 0..dstWidth-1 (3 bytes each),
// stepped without a division per pixel. dstWidth <= srcWidth.
void SampleRow(const BYTE* src, int srcWidth, BYTE* dst, int dstWidth) noexcept;

}  // namespace vardell::kernels

namespace vardell::preview {

// The size a reduced load produces from a file of fileSize when wanted is asked: the file's own
// size unless wanted is smaller in both dimensions, where a wanted height of 0 also means the
// file's size (a wanted width of 0 is not tested: intended, it gives a picture 0 pixels wide).
// A negative wanted dimension is no reduction and gives the file's size too.
CSize ChooseTargetSize(CSize fileSize, CSize wanted) noexcept;

// The file row (counted from the bottom) that destination row j of targetHeight samples.
constexpr int SourceRow(int j, int fileHeight, int targetHeight) noexcept {
  return static_cast<int>(std::int64_t{j} * fileHeight / targetHeight);
}

// Geometry of a reduction: file rows of fileWidth pixels and fileStride bytes, fileHeight of them,
// sampled into targetWidth x targetHeight (each no larger than the file's).
struct Reduction {
  int fileWidth;
  int fileHeight;
  std::int64_t fileStride;
  int targetWidth;
  int targetHeight;
};

// Reads the two headers of a file opened at its start and checks that it can be reduced: a bitmap
// file of 24 bits a pixel, non-negative dimensions, every file row present. On success the file is
// left on its first pixel row, header holds the file's own header, r the file's geometry with
// target as its target size (never beyond the file's rows: the file may have changed since its size
// was asked), and the answer is empty; otherwise the answer is the text to report.
CString ReadReducibleHeader(CFile& file, const CString& path, CSize target,
                            BITMAPINFOHEADER& header, Reduction& r);

// Fills dst (bottom row first, rows Stride(targetWidth) apart, padding zeroed) from file, which is
// positioned on the first byte of the bottom file row. Each destination row costs one seek
// relative to the current position and one read of a whole file row into row (fileStride bytes);
// rows are only ever skipped forward. beforeRow(j), when set, is asked before row j and stops the
// reduction by answering false. Answers the number of rows filled; fewer than targetHeight when
// stopped, when a read comes short or when the file fails.
int ReduceRows(CFile& file, const Reduction& r, BYTE* dst, BYTE* row,
               const std::function<bool(int)>& beforeRow = {}) noexcept;

}  // namespace vardell::preview
