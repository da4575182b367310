// CPicture's files: uncompressed 24-bit bitmap files read and written by the class itself, JPEG
// files through the companion codec.
//
// A bitmap file is read the library's own way: its pixel rows are taken to start right after the
// two headers (byte 54) whatever bfOffBits says, and everything from there to the end of the file
// is read in one call into a buffer 2048 bytes larger than that. Beyond that, a file is refused
// when its header does not fit its pixel data, so the picture never promises more than its buffer
// holds:
//   - a negative width or height            -> " is a damaged bitmap file!"
//   - a header shorter than 40 bytes        -> " is a damaged bitmap file!"
//   - stride * height beyond the pixel data -> "'s length is incorrect.!"
//   - pixel data too large for an int       -> "Can't not alloc memory!"
// A refused file leaves the picture empty, as every failure after the allocation does. A file
// that is neither a bitmap nor a readable JPEG reports the JPEG reader's text first, then the
// bitmap reader's.
#include "hostutil/messages.h"
#include "jpegcodec/jpeg_codec.h"
#include "picture/picture.h"
#include "picture/picture_io.h"
#include "picture/picture_messages.h"

#include <cstdint>

namespace text = vardell::picture_text;
using vardell::picture_io::kHeadersSize;
using vardell::picture_io::kMaxDataSize;
using vardell::picture_io::ReadFileHeader;
using vardell::picture_io::ReadInfoHeader;
using vardell::picture_io::ReadSome;

namespace {

// The 2048 spare bytes behind a loaded bitmap's pixel data: intended.
constexpr std::int64_t kLoadMargin = 2048;

}  // namespace

int CPicture::LoadPicture(const CString& path) {
  CFile file;
  if (!file.Open(path, CFile::modeRead)) {
    ThrowErrorMessage(text::CannotOpenBitmap(path));
    return 0;
  }
  if (!ReadFileHeader(file)) {
    file.Abort();
    if (LoadJPEG(path, 1, 1)) return 1;
    ThrowErrorMessage(text::NotBitmapFormat(path));
    return 0;
  }

  // Everything after the two headers is pixel data; no colour table is expected.
  const std::int64_t length = vardell::picture_io::LengthOf(file);
  const std::int64_t dataSize = length > kHeadersSize ? length - kHeadersSize : 0;
  ReleaseBuffer();
  if (dataSize + kLoadMargin <= kMaxDataSize)
    m_pBuffer = vardell::picture_io::AllocateBytes(dataSize + kLoadMargin);
  if (!m_pBuffer) {
    file.Abort();
    ThrowErrorMessage(text::kLoadAllocFailed);
    return 0;
  }

  auto fail = [&](const CString& message) {
    file.Abort();
    ThrowErrorMessage(message);
    ReleaseBuffer();
    return 0;
  };
  const bool wholeHeader = ReadInfoHeader(file, m_InfoHeader);
  if (!wholeHeader || m_InfoHeader.biSize != BITMAPINFOHEADER::kFileSize)
    return fail(text::DamagedBitmap(path));
  if (m_InfoHeader.biBitCount != 24) return fail(text::NotTrueColor(path));
  if (m_InfoHeader.biWidth < 0 || m_InfoHeader.biHeight < 0) return fail(text::DamagedBitmap(path));
  if (!vardell::picture_io::HeaderFitsData(m_InfoHeader, dataSize))
    return fail(text::LengthIncorrect(path));
  if (ReadSome(file, m_pBuffer, static_cast<UINT>(dataSize)) < dataSize)
    return fail(text::LengthIncorrect(path));
  file.Abort();
  // The header keeps the file's values, biSizeImage and biCompression included.
  return 1;
}

int CPicture::LoadJPEG(const CString& path, int num, int den) {
  int error = 0;
  const CSize size = GetBitmapSize(path, &error);
  int width = 0, height = 0;
  BYTE* bits = nullptr;
  // A factor that is not a positive fraction cannot be decoded.
  if (size.cx != 0 && size.cy != 0 && error == 0 && num > 0 && den > 0)
    bits = ReadBitmap(path, &width, &height, num, den);
  if (bits && (width < 0 || height < 0)) {
    delete[] bits;
    bits = nullptr;
  }
  if (!bits) {
    ThrowErrorMessage(text::CannotReadJpeg(path));
    return 0;
  }
  ReleaseBuffer();
  m_pBuffer = bits;
  SetInfoHeader(width, height);
  return 1;
}

int CPicture::LoadPicture(const CString& path, int num, int den) {
  // Nothing to reduce. A negative num (with den <= 0 the only way to get here) is no reduction
  // either, and keeps the scaling below from dividing by zero.
  if (num >= den || num < 0) return LoadPicture(path);
  const CSize fileSize = GetPictureSize(path);
  // Multiply first, then divide, truncating.
  const CSize scaled(static_cast<int>(std::int64_t{fileSize.cx} * num / den),
                     static_cast<int>(std::int64_t{fileSize.cy} * num / den));
  if (LoadPicturePreview(path, scaled)) return 1;
  return LoadJPEG(path, num, den);
}

CSize CPicture::GetPictureSize(const CString& path) {
  CFile file;
  if (!file.Open(path, CFile::modeRead)) {
    ThrowErrorMessage(text::CannotOpenBitmap(path));
    return CSize(0, 0);
  }
  if (!ReadFileHeader(file)) {
    file.Abort();
    int error = 0;
    const CSize size = GetBitmapSize(path, &error);
    if (size.cx != 0 && size.cy != 0 && error == 0) return size;
    ThrowErrorMessage(text::NotBitmapFormat(path));
    return size;
  }
  BITMAPINFOHEADER header{};
  const bool wholeHeader = ReadInfoHeader(file, header);
  file.Abort();
  if (!wholeHeader || header.biSize != BITMAPINFOHEADER::kFileSize) {
    ThrowErrorMessage(text::DamagedBitmap(path));
    return CSize(0, 0);
  }
  // The bit count is not checked here.
  return CSize(header.biWidth, header.biHeight);
}

int CPicture::GetDataSize(const CString& path) {
  const CSize size = GetPictureSize(path);
  // No row padding, unlike the member GetDataSize: intended.
  const std::int64_t bytes = std::int64_t{size.cx} * size.cy * 3;
  return size.cx < 0 || size.cy < 0 || bytes > kMaxDataSize ? 0 : static_cast<int>(bytes);
}

int CPicture::StorePicture(const CString& path, int bJPEG, int option1, int option2) {
  if (!m_pBuffer) {
    ThrowErrorMessage(text::BufferIsNull(path));
    return 0;
  }
  if (bJPEG) return StoreBitmap(m_pBuffer, GetPictureSize(), path, option1, 0, option2);

  CFile file;
  if (!file.Open(path, CFile::modeCreate | CFile::modeWrite)) {
    ThrowErrorMessage(text::CannotCreateFile(path));
    return 0;
  }
  // So the stored biSizeImage is one row's stride: intended.
  SetInfoHeader(Width(), Height());
  const auto dataSize = static_cast<DWORD>(GetDataSize());
  BITMAPFILEHEADER fileHeader;
  fileHeader.bfType = BITMAP_FILE_TYPE;
  fileHeader.bfSize = static_cast<DWORD>(kHeadersSize) + dataSize;
  fileHeader.bfReserved1 = 0;
  fileHeader.bfReserved2 = 0;
  fileHeader.bfOffBits = static_cast<DWORD>(kHeadersSize);
  BYTE rawFile[BITMAPFILEHEADER::kFileSize];
  BYTE rawInfo[BITMAPINFOHEADER::kFileSize];
  fileHeader.Store(rawFile);
  m_InfoHeader.Store(rawInfo);
  try {
    file.Write(rawFile, sizeof rawFile);
    file.Write(rawInfo, sizeof rawInfo);
    file.Write(m_pBuffer, dataSize);
    file.Close();
  } catch (CFileException* e) {
    e->Delete();
    file.Abort();
    ThrowErrorMessage(text::WriteFailed(path));
    return 0;
  }
  return 1;
}
