// The companion JPEG codec: reads and writes JPEG files in the DIB layout the library's pictures
// and masks use (rows bottom-up, each padded to a multiple of 4 bytes; 24-bit blue-green-red or
// 8-bit gray). It never prints, never throws and never ends the process: every failure is a
// return value. Callers compose the messages a user sees.
//
// Failure policy: libjpeg errors fail the call, and so do the warnings that mean image data is
// missing or invented: premature end of data, a marker or bad code inside entropy-coded data, a
// lost restart sync, a broken scan sequence. Harmless warnings (extraneous bytes before a marker,
// an unknown Adobe transform, a damaged ICC chunk) are ignored. Files with more than 500 scans
// are refused.
#pragma once

#include "platform/export.h"
#include "platform/geometry.h"
#include "platform/win_types.h"

namespace vardell {
// The nonzero *error values of GetBitmapSize.
inline constexpr int kJpegCannotOpen = 1;  // missing, unreadable, or not a regular file
inline constexpr int kJpegNotJpeg = 2;     // no readable JPEG header
}  // namespace vardell

// The size of the JPEG picture in path, reading only its header. *error is 0 when the header is
// readable, otherwise kJpegCannotOpen or kJpegNotJpeg, and the size is (0, 0). error may be null.
VARDELL_API CSize GetBitmapSize(const char* path, int* error);

// Decodes path reduced (or enlarged) by num/den into a new buffer, stores its width and height
// (when the pointers are not null) and answers it; null on any failure.
// - Size: exactly (dimension * num) / den in each dimension, multiplied first. num <= 0,
//   den <= 0, a result of 0, or a buffer over 2^31 - 1 bytes fail (the library's DIB arithmetic
//   is 32-bit); so does a file whose decoding needs more than 2^31 - 1 bytes of working memory
//   (a progressive file keeps all its coefficients).
// - Buffer: allocated with new BYTE[] and released by its owner with delete[]. Rows bottom-up,
//   stride ((width * bits + 31) / 32) * 4, padding bytes 0; one spare row and 8 bytes follow the
//   last row (all 0) so routines that read a few bytes past the last pixel stay inside it.
// - Pixels: 24-bit blue-green-red; with gray nonzero, 8-bit gray (the decoder's own luminance
//   output for colour files). Gray files are replicated into the three bytes. CMYK and YCCK
//   files are taken as Adobe writes them (inverted) and turned into RGB: R = C * K / 255 rounded;
//   their gray is the usual 0.299 R + 0.587 G + 0.114 B.
// - Reduction: the decoder's own DCT scaling M/8 (M = 1..16) does the work. When num/den is such
//   a ratio the decoder's picture is used as it is, its rounded-up last column or row dropped;
//   otherwise the smallest M/8 that covers the requested size is decoded (16/8 when none does)
//   and sampled to it by nearest neighbour: column (i * W) / w, row (j * H) / h.
// - Decoding options are libjpeg's defaults (accurate integer DCT, fancy upsampling).
VARDELL_API BYTE* ReadBitmap(const char* path, int* width, int* height, int num, int den,
                             BOOL gray = FALSE);

// Encodes a buffer of size.cx by size.cy pixels in the DIB layout above (24-bit blue-green-red,
// or 8-bit gray rows when gray is nonzero) as a JPEG file; progressive nonzero writes a
// progressive file. quality runs 1..100: above 100 counts as 100, below 1 as 1, and 0 asks for
// the default 75. Colour files are written 4:4:4 at quality 90 and above, 4:2:0 below.
// Answers FALSE for a null buffer or path, a size that is not positive or over 65500, or a file
// that cannot be created or fully written; a file that failed half-written is removed.
VARDELL_API BOOL StoreBitmap(BYTE* bits, CSize size, const char* path, int progressive, int gray,
                             int quality);
