// libFuzzer target of the bitmap file readers: the 8-bit mask reader and the 24-bit picture reader
// (whole and reduced by row sampling) and their size queries, over the input written to a file,
// since both read through CFile by path. Whatever loads is read end to end, so a header that
// promises more rows than the buffer holds shows up under AddressSanitizer. Inputs that do not
// begin with "BM" go to the JPEG codec, which has its own target; they are skipped here.
#include "hostutil/messages.h"
#include "mask/mask.h"
#include "picture/picture.h"

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace {

const std::string& ScratchPath() {
  static const std::string path = "/tmp/vardell-bitmap-fuzz-" + std::to_string(getpid()) + ".bmp";
  return path;
}

bool WriteScratch(const std::uint8_t* data, std::size_t size) {
  std::FILE* f = std::fopen(ScratchPath().c_str(), "wb");
  if (!f) return false;
  const bool ok = std::fwrite(data, 1, size, f) == size;
  return std::fclose(f) == 0 && ok;
}

// Every byte of every row, so that a row past the buffer is caught.
unsigned Checksum(const BYTE* row, int bytes) {
  unsigned sum = 0;
  for (int i = 0; i < bytes; ++i) sum += row[i];
  return sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2 || data[0] != 'B' || data[1] != 'M') return 0;
  static const vardell::ErrorMessageHandler quiet =
      vardell::SetErrorMessageHandler([](const CString&) {});
  (void)quiet;
  if (!WriteScratch(data, size)) return 0;
  const CString path(ScratchPath().c_str());
  volatile unsigned sink = 0;

  const CSize maskSize = CMask::GetMaskSize(path);
  CMask mask;
  if (mask.LoadMask(path)) {
    if (mask.Width() != maskSize.cx || mask.Height() != maskSize.cy) __builtin_trap();
    for (int y = 0; y < mask.Height(); ++y)
      sink = sink + Checksum(mask.GetLineBuffer(y), mask.Width());
  }

  const CSize pictureSize = CPicture::GetPictureSize(path);
  const int reduce = data[size - 1] & 3;  // 1/1, 1/2, 1/3, 1/4 from the last byte
  CPicture picture;
  if (picture.LoadPicture(path, 1, reduce + 1)) {
    if (reduce == 0 && (picture.Width() != pictureSize.cx || picture.Height() != pictureSize.cy))
      __builtin_trap();
    // A picture 0 pixels wide may still claim millions of rows of no bytes.
    for (int y = 0; picture.Width() > 0 && y < picture.Height(); ++y)
      sink = sink + Checksum(picture.GetLineBuffer(y), 3 * picture.Width());
  }
  std::remove(ScratchPath().c_str());
  return 0;
}
