// Reduced loading of 24-bit bitmap files: the target-size choice, the row and column sampling, and
// CPicture::LoadPicturePreview.
#include "picture/picture_preview.h"

#include "hostutil/messages.h"
#include "picture/picture.h"
#include "picture/picture_io.h"
#include "picture/picture_messages.h"

#include <cstring>
#include <memory>
#include <new>

namespace text = vardell::picture_text;
using vardell::picture_io::Stride64;

namespace vardell::kernels {

void SampleRow(const BYTE* src, int srcWidth, BYTE* dst, int dstWidth) noexcept {
  if (dstWidth <= 0) return;
  // Column i is floor(i * srcWidth / dstWidth), carried as quotient and remainder.
  const int step = srcWidth / dstWidth;
  const int rest = srcWidth % dstWidth;
  std::int64_t column = 0;
  int remainder = 0;
  for (int i = 0; i < dstWidth; ++i, dst += 3) {
    const BYTE* s = src + 3 * column;
    dst[0] = s[0];
    dst[1] = s[1];
    dst[2] = s[2];
    column += step;
    remainder += rest;
    if (remainder >= dstWidth) {
      remainder -= dstWidth;
      ++column;
    }
  }
}

}  // namespace vardell::kernels

namespace vardell::preview {

CSize ChooseTargetSize(CSize fileSize, CSize wanted) noexcept {
  // Only the height is tested for 0: intended.
  if (wanted.cx >= fileSize.cx || wanted.cy >= fileSize.cy || wanted.cy == 0) return fileSize;
  if (wanted.cx < 0 || wanted.cy < 0) return fileSize;
  return wanted;
}

CString ReadReducibleHeader(CFile& file, const CString& path, CSize target,
                            BITMAPINFOHEADER& header, Reduction& r) {
  if (!picture_io::ReadFileHeader(file)) return text::NotBitmapFormat(path);
  if (!picture_io::ReadInfoHeader(file, header) || header.biSize != BITMAPINFOHEADER::kFileSize)
    return text::DamagedBitmap(path);
  if (header.biBitCount != 24) return text::NotTrueColor(path);
  if (header.biWidth < 0 || header.biHeight < 0) return text::DamagedBitmap(path);
  // Every file row must be there; the file itself may be larger than a picture can be, as only
  // the sampled rows are read.
  r = Reduction{header.biWidth, header.biHeight, Stride64(header.biWidth), 0, 0};
  const std::int64_t available = picture_io::LengthOf(file) - picture_io::kHeadersSize;
  if (!picture_io::RowsFit(r.fileStride, r.fileHeight, available))
    return text::LengthIncorrect(path);
  // The file may have changed since its size was asked; never sample beyond the rows it has.
  if (target.cx > r.fileWidth || target.cy > r.fileHeight)
    target = CSize(r.fileWidth, r.fileHeight);
  r.targetWidth = target.cx;
  r.targetHeight = target.cy;
  return CString();
}

int ReduceRows(CFile& file, const Reduction& r, BYTE* dst, BYTE* row,
               const std::function<bool(int)>& beforeRow) noexcept {
  const std::int64_t dstStride = Stride64(r.targetWidth);
  const std::int64_t pixelBytes = 3 * std::int64_t{r.targetWidth};
  std::int64_t position = 0;  // from the first pixel byte
  int j = 0;
  if (r.fileStride == 0 && !beforeRow) return r.targetHeight;
  try {
    for (; j < r.targetHeight; ++j, dst += dstStride) {
      if (beforeRow && !beforeRow(j)) break;
      // A picture 0 pixels wide has rows of no bytes: nothing to seek or read, however many.
      if (r.fileStride == 0) continue;
      const std::int64_t offset = SourceRow(j, r.fileHeight, r.targetHeight) * r.fileStride;
      file.Seek(offset - position, CFile::current);
      const UINT got = file.Read(row, static_cast<UINT>(r.fileStride));
      if (got < r.fileStride) break;
      position = offset + r.fileStride;
      kernels::SampleRow(row, r.fileWidth, dst, r.targetWidth);
      std::memset(dst + pixelBytes, 0, static_cast<std::size_t>(dstStride - pixelBytes));
    }
  } catch (CFileException* e) {
    e->Delete();
  }
  return j;
}

}  // namespace vardell::preview

int CPicture::LoadPicturePreview(const CString& path, CSize size) {
  CSize target = vardell::preview::ChooseTargetSize(GetPictureSize(path), size);
  CFile file;
  if (!file.Open(path, CFile::modeRead)) {
    ThrowErrorMessage(text::CannotOpenBitmap(path));
    return 0;
  }
  auto fail = [&](const CString& message) {
    file.Abort();
    ThrowErrorMessage(message);
    return 0;
  };
  BITMAPINFOHEADER header{};
  vardell::preview::Reduction r{};
  // The file's header is read aside, so a refused file leaves the picture as it was.
  const CString refused = vardell::preview::ReadReducibleHeader(file, path, target, header, r);
  if (!refused.IsEmpty()) return fail(refused);
  const std::int64_t targetStride = Stride64(r.targetWidth);
  if (r.fileStride > vardell::picture_io::kMaxDataSize ||
      !vardell::picture_io::RowsFit(targetStride, r.targetHeight,
                                    vardell::picture_io::kMaxDataSize))
    return fail(vardell::picture_text::kLoadAllocFailed);

  std::unique_ptr<BYTE[]> row(new (std::nothrow) BYTE[static_cast<std::size_t>(r.fileStride)]);
  if (!row) return fail(vardell::picture_text::kLoadAllocFailed);
  // The header takes the target size and keeps the file's other values.
  header.biWidth = r.targetWidth;
  header.biHeight = r.targetHeight;
  m_InfoHeader = header;
  ReleaseBuffer();
  // No spare margin behind a reduced picture.
  m_pBuffer = vardell::picture_io::AllocateBytes(targetStride * r.targetHeight);
  if (!m_pBuffer) return fail(vardell::picture_text::kLoadAllocFailed);

  const int rows = vardell::preview::ReduceRows(file, r, m_pBuffer, row.get());
  file.Abort();
  if (rows < r.targetHeight) {
    // The file shrank after its length was checked.
    ReleaseBuffer();
    ThrowErrorMessage(text::LengthIncorrect(path));
    return 0;
  }
  return 1;
}
