#include "jpegcodec/jpeg_codec.h"
#include "jpegcodec/jpeg_error.h"

#include <algorithm>

#include <sys/stat.h>

namespace vardell::jpeg {
namespace {

constexpr int kDefaultQuality = 75;
// From this quality up colour is kept at full resolution: chroma subsampling would cost more
// than the quantisation does.
constexpr int kFullChromaQuality = 90;

struct Encoder {
  jpeg_compress_struct cinfo{};
  ErrorManager err{};
  bool created = false;

  Encoder() = default;
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;
  ~Encoder() {
    if (created) jpeg_destroy_compress(&cinfo);
  }
};

struct Job {
  const BYTE* bits;
  int width;
  int height;
  bool progressive;
  bool gray;
  int quality;
};

int EffectiveQuality(int quality) {
  return quality == 0 ? kDefaultQuality : std::clamp(quality, 1, 100);
}

// The encode proper; any libjpeg failure (a short write included) leaves it by longjmp.
void EncodeBody(Encoder& e, std::FILE* file, const Job& job) {
  jpeg_compress_struct& cinfo = e.cinfo;
  cinfo.err = InitErrorManager(e.err);
  jpeg_create_compress(&cinfo);
  e.created = true;
  jpeg_stdio_dest(&cinfo, file);
  cinfo.image_width = static_cast<JDIMENSION>(job.width);
  cinfo.image_height = static_cast<JDIMENSION>(job.height);
  cinfo.input_components = job.gray ? 1 : 3;
  cinfo.in_color_space = job.gray ? JCS_GRAYSCALE : JCS_EXT_BGR;
  jpeg_set_defaults(&cinfo);
  jpeg_set_quality(&cinfo, job.quality, TRUE);
  if (!job.gray && job.quality >= kFullChromaQuality)
    cinfo.comp_info[0].h_samp_factor = cinfo.comp_info[0].v_samp_factor = 1;
  if (job.progressive) jpeg_simple_progression(&cinfo);
  jpeg_start_compress(&cinfo, TRUE);
  const std::size_t stride =
      (static_cast<std::size_t>(job.width) * cinfo.input_components * 8 + 31) / 32 * 4;
  while (cinfo.next_scanline < cinfo.image_height) {
    // Rows are bottom-up in memory; libjpeg takes them top first.
    JSAMPROW row[1] = {const_cast<BYTE*>(job.bits) +
                       (cinfo.image_height - 1 - cinfo.next_scanline) * stride};
    jpeg_write_scanlines(&cinfo, row, 1);
  }
  jpeg_finish_compress(&cinfo);
}

bool Encode(Encoder& e, std::FILE* file, const Job& job) {
  if (setjmp(e.err.jump)) return false;
  EncodeBody(e, file, job);
  return true;
}

}  // namespace
}  // namespace vardell::jpeg

BOOL StoreBitmap(BYTE* bits, CSize size, const char* path, int progressive, int gray, int quality) {
  using namespace vardell::jpeg;
  if (!bits || !path || size.cx <= 0 || size.cy <= 0 || size.cx > JPEG_MAX_DIMENSION ||
      size.cy > JPEG_MAX_DIMENSION)
    return FALSE;
  std::FILE* file = std::fopen(path, "wb");
  if (!file) return FALSE;
  struct stat st;
  const bool regular = fstat(fileno(file), &st) == 0 && S_ISREG(st.st_mode);
  bool ok;
  {
    Encoder e;
    ok =
        Encode(e, file,
               Job{bits, size.cx, size.cy, progressive != 0, gray != 0, EffectiveQuality(quality)});
  }
  ok = std::fflush(file) == 0 && ok;
  ok = !std::ferror(file) && ok;
  ok = std::fclose(file) == 0 && ok;
  if (!ok && regular) std::remove(path);
  return ok ? TRUE : FALSE;
}
