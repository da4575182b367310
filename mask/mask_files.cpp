// CMask files: 8-bit grey BMP files with the fixed 1078-byte preamble (14-byte file header,
// 40-byte info header, 256-entry palette), and JPEG files through the codec.
#include "hostutil/messages.h"
#include "jpegcodec/jpeg_codec.h"
#include "mask/mask.h"
#include "mask/mask_kernels.h"
#include "platform/file.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t kFileHeaderBytes = 14;
constexpr std::size_t kInfoBytes = 40 + 256 * 4;
constexpr std::int64_t kPreambleBytes = 1078;
// Allocated past the file's data on purpose, as slack.
constexpr std::int64_t kSlackBytes = 2048;

// The messages users see, exactly as the library has always worded them.
CString CanNotOpen(const CString& path) { return "Bitmap file " + path + " can not be open!"; }
CString NotBitmapFormat(const CString& path) { return path + " is not a bitmap format!"; }
CString Damaged(const CString& path) { return path + " is a damaged bitmap file!"; }
CString NotGrayScale(const CString& path) { return path + " is not a gray scale bitmap file!"; }
// The stray "." before the "!" is intended.
CString LengthIncorrect(const CString& path) { return path + "'s length is incorrect.!"; }
// No blank after "Picture": intended.
CString BufferNull(const CString& path) { return "Picture" + path + "'s buffer is NULL!"; }
// No blank before "for", and "reading" for a file opened to write: intended.
CString CanNotCreate(const CString& path) { return "Can not open file " + path + "for reading."; }
// "Writting" is intended.
CString WriteFailed(const CString& path) { return "Writting file " + path + " failed."; }
const char* const kNoMemory = "Can't not alloc memory!";

// Reads up to count bytes; a read error counts as the end of the file.
std::size_t ReadSome(CFile& file, void* buffer, std::size_t count) {
  std::size_t done = 0;
  auto* out = static_cast<BYTE*>(buffer);
  try {
    while (done < count) {
      const std::size_t chunk = std::min<std::size_t>(count - done, 1u << 30);
      const UINT got = file.Read(out + done, static_cast<UINT>(chunk));
      done += got;
      if (got < chunk) break;
    }
  } catch (CException* e) {
    e->Delete();
  }
  return done;
}

// Opens path for reading and reads the 14-byte file header; FALSE when the file cannot be
// opened (the message is shown). isBitmap tells whether all 14 bytes arrived and begin with "BM".
BOOL OpenBitmap(CFile& file, const CString& path, bool& isBitmap) {
  if (!file.Open(path, CFile::modeRead | CFile::shareDenyWrite)) {
    ThrowErrorMessage(CanNotOpen(path));
    return FALSE;
  }
  BYTE header[kFileHeaderBytes];
  BITMAPFILEHEADER fileHeader;
  isBitmap = ReadSome(file, header, sizeof header) == sizeof header &&
             (fileHeader.Load(header), fileHeader.bfType == BITMAP_FILE_TYPE);
  return TRUE;
}

// Reads the info header and palette; bytes past the end of a short file read as 0.
void ReadInfo(CFile& file, BITMAPINFOHEADER& header, RGBQUAD* palette) {
  BYTE info[kInfoBytes] = {};
  ReadSome(file, info, sizeof info);
  header.Load(info);
  std::memcpy(palette, info + 40, 256 * sizeof(RGBQUAD));
}

ULONGLONG FileLength(CFile& file) {
  try {
    return file.GetLength();
  } catch (CException* e) {
    e->Delete();
    return 0;
  }
}

}  // namespace

CSize CMask::GetMaskSize(CString path) {
  CFile file;
  bool isBitmap = false;
  if (!OpenBitmap(file, path, isBitmap)) return CSize(0, 0);
  if (!isBitmap) {
    file.Abort();
    int k = 0;
    const CSize size = GetBitmapSize(path, &k);
    // The codec's third output is its error code, 0 for a readable header.
    if (size.cx != 0 && size.cy != 0 && k == 0) return size;
    ThrowErrorMessage(NotBitmapFormat(path));
    return CSize(0, 0);
  }
  BITMAPINFOHEADER header{};
  RGBQUAD palette[256];
  ReadInfo(file, header, palette);
  file.Abort();
  if (header.biSize != 40) {
    ThrowErrorMessage(Damaged(path));
    return CSize(0, 0);
  }
  if (header.biBitCount != 8) {
    ThrowErrorMessage(NotGrayScale(path));
    return CSize(0, 0);
  }
  return CSize(header.biWidth, header.biHeight);
}

BOOL CMask::LoadMask(CString path) { return LoadBitmapFile(path, TRUE); }

BOOL CMask::LoadMask(CString path, int a, int b) { return LoadCodecFile(path, a, b, TRUE); }

BOOL CMask::LoadBitmapFile(const CString& path, BOOL codecFallback) {
  CFile file;
  bool isBitmap = false;
  if (!OpenBitmap(file, path, isBitmap)) return FALSE;
  if (!isBitmap) {
    file.Abort();
    if (codecFallback) return LoadCodecFile(path, 1, 1, FALSE);
    ThrowErrorMessage(NotBitmapFormat(path));
    return FALSE;
  }

  const std::int64_t dataLength = static_cast<std::int64_t>(FileLength(file)) - kPreambleBytes;
  DeleteObject();
  // The buffer is the file's data plus the slack; a file shorter than its preamble gives a
  // buffer of the slack alone. Buffers are limited to INT_MAX bytes.
  const std::int64_t allocated = (dataLength > 0 ? dataLength : 0) + kSlackBytes;
  BYTE* buffer =
      allocated <= INT_MAX ? new (std::nothrow) BYTE[static_cast<std::size_t>(allocated)] : nullptr;
  if (!buffer) {
    file.Abort();
    ThrowErrorMessage(kNoMemory);
    return FALSE;
  }
  AdoptBuffer(buffer);
  // The file's own header and palette are kept as read; the palette is not checked.
  ReadInfo(file, m_infoHeader, m_palette);

  // After a refused header the buffer is kept and the mask counts as valid (callers treat FALSE
  // as an unusable mask): intended. The port keeps it only while the header's geometry fits in
  // the buffer, so that nothing ever walks past it; otherwise the mask is left empty.
  // Drawing reads the rows at the header's own bit count, so those must fit as well.
  const std::int64_t imageBytes = vardell::mask_kernels::MaskBytes(Width(), Height());
  const std::int64_t drawnBytes = vardell::mask_kernels::MaskBytes(
      DibStride64(Width(), std::max<int>(8, m_infoHeader.biBitCount)), Height());
  const bool fits = Height() >= 1 && imageBytes >= 0 && imageBytes <= allocated &&
                    drawnBytes >= 0 && drawnBytes <= allocated;
  const auto fail = [&](const CString& text) {
    file.Abort();
    if (fits) {
      std::memset(m_pBuffer, 0, static_cast<std::size_t>(allocated));
    } else {
      DeleteObject();
    }
    ThrowErrorMessage(text);
    return FALSE;
  };
  if (m_infoHeader.biSize != 40) return fail(Damaged(path));
  if (m_infoHeader.biBitCount != 8) return fail(NotGrayScale(path));
  // A size the buffer cannot hold, or no rows at all (a top-down file), is a damaged header.
  if (Width() < 1 || Height() < 1 || imageBytes < 0) return fail(Damaged(path));

  const std::size_t wanted = dataLength > 0 ? static_cast<std::size_t>(dataLength) : 0;
  const std::size_t got = ReadSome(file, m_pBuffer, wanted);
  std::memset(m_pBuffer + got, 0, static_cast<std::size_t>(allocated) - got);
  if (dataLength < 0 || got < wanted) return fail(LengthIncorrect(path));
  // The data length is not checked against stride * height, so a file a little short keeps
  // zeros in its last rows; one too short for its own rows is refused.
  if (!fits) return fail(LengthIncorrect(path));
  file.Abort();
  return TRUE;
}

BOOL CMask::LoadCodecFile(const CString& path, int a, int b, BOOL bmpFallback) {
  DeleteObject();
  const CSize size = GetMaskSize(path);
  // a / b is the codec's reduction; anything but a proper fraction reads at full size.
  if (a >= b || a < 1) a = b = 1;
  if (size.cx == 0 || size.cy == 0) return FALSE;
  int width = 0, height = 0;
  BYTE* bits = ReadBitmap(path, &width, &height, a, b, TRUE);
  if (bits && (width < 1 || height < 1 || vardell::mask_kernels::MaskBytes(width, height) < 0)) {
    delete[] bits;
    bits = nullptr;
  }
  if (!bits) {
    // The BMP reader sends files that do not begin with "BM" here, so it is asked back only
    // when it was not the caller.
    if (bmpFallback) return LoadBitmapFile(path, FALSE);
    ThrowErrorMessage(NotBitmapFormat(path));
    return FALSE;
  }
  AdoptBuffer(bits);
  SetInfoHeader(width, height);
  return TRUE;
}

BOOL CMask::StoreMask(CString path, int format, int quality) {
  if (!IsValid()) {
    ThrowErrorMessage(BufferNull(path));
    return FALSE;
  }
  if (format != 0)
    return StoreBitmap(m_pBuffer, CSize(Width(), Height()), path, 0, 1, quality) ? TRUE : FALSE;

  const std::size_t imageSize =
      static_cast<std::size_t>(GetDataWidth()) * static_cast<std::size_t>(Height());
  CFile file;
  if (!file.Open(path, CFile::modeCreate | CFile::modeWrite)) {
    ThrowErrorMessage(CanNotCreate(path));
    return FALSE;
  }
  // The palette is rewritten as the grey ramp and biSizeImage holds one stride: intended.
  SetInfoHeader(Width(), Height());
  BITMAPFILEHEADER fileHeader{};
  fileHeader.bfType = BITMAP_FILE_TYPE;
  fileHeader.bfSize = static_cast<DWORD>(kPreambleBytes + imageSize);
  fileHeader.bfReserved1 = 0;
  fileHeader.bfReserved2 = 0;
  fileHeader.bfOffBits = static_cast<DWORD>(kPreambleBytes);
  BYTE preamble[kPreambleBytes];
  fileHeader.Store(preamble);
  m_infoHeader.Store(preamble + kFileHeaderBytes);
  std::memcpy(preamble + kFileHeaderBytes + 40, m_palette, 256 * sizeof(RGBQUAD));
  try {
    file.Write(preamble, sizeof preamble);
    for (std::size_t done = 0; done < imageSize;) {
      const std::size_t chunk = std::min<std::size_t>(imageSize - done, 1u << 30);
      file.Write(m_pBuffer + done, static_cast<UINT>(chunk));
      done += chunk;
    }
    file.Close();
  } catch (CException* e) {
    e->Delete();
    file.Abort();
    ThrowErrorMessage(WriteFailed(path));
    return FALSE;
  }
  return TRUE;
}
