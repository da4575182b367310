// The companion JPEG codec: reads and writes JPEG files in the DIB layout the library's pictures
// and masks use (rows bottom-up, padded to 4 bytes; 24-bit blue-green-red or 8-bit gray).
#pragma once

#include "platform/export.h"
#include "platform/geometry.h"
#include "platform/win_types.h"

// The size of the JPEG picture in path, without decoding it. *error is 0 when the file is a
// readable JPEG header; otherwise it is nonzero and the size is (0, 0).
VARDELL_API CSize GetBitmapSize(const char* path, int* error);

// Decodes path reduced by num/den into a new buffer (allocated with new BYTE[], released by its
// owner with delete[]), stores the buffer's width and height and returns it; null on any failure.
// The reduced size is (dimension * num) / den. gray selects 8-bit gray rows instead of 24-bit.
VARDELL_API BYTE* ReadBitmap(const char* path, int* width, int* height, int num, int den,
                             BOOL gray = FALSE);

// Encodes a buffer of size.cx by size.cy pixels in the DIB layout. progressive nonzero writes a
// progressive file, gray nonzero takes 8-bit gray rows instead of 24-bit, quality is 1..100.
// Answers nonzero on success.
VARDELL_API BOOL StoreBitmap(BYTE* bits, CSize size, const char* path, int progressive, int gray,
                             int quality);
