#include "jpegcodec/jpeg_codec.h"
#include "jpegcodec/jpeg_codec_internal.h"
#include "jpegcodec/jpeg_error.h"

#include <cstring>
#include <memory>
#include <new>

#include <jerror.h>
#include <sys/stat.h>

namespace vardell::jpeg {
namespace {

// Reads a file through a 64 KiB buffer. libjpeg's own stdio source refills 4 KiB at a time, and
// its Huffman decoder takes a slower path whenever fewer than 512 bytes are buffered: an eighth of
// the time with 4 KiB, under one percent with 64 KiB.
struct FileSource {
  static constexpr std::size_t kBuffer = 64 * 1024;
  jpeg_source_mgr pub;  // first: libjpeg hands it back as cinfo->src
  std::FILE* file;
  bool started;
  JOCTET buffer[kBuffer];
};

void InitSource(j_decompress_ptr cinfo) {
  reinterpret_cast<FileSource*>(cinfo->src)->started = false;
}

// At the end of the file: a fatal error when nothing was read, otherwise the premature-end
// warning (fatal by our policy) and a fake end-of-image marker, as libjpeg's own source does.
boolean FillInputBuffer(j_decompress_ptr cinfo) {
  auto* src = reinterpret_cast<FileSource*>(cinfo->src);
  std::size_t n = std::fread(src->buffer, 1, FileSource::kBuffer, src->file);
  if (n == 0) {
    if (!src->started) ERREXIT(cinfo, JERR_INPUT_EMPTY);
    WARNMS(cinfo, JWRN_JPEG_EOF);
    src->buffer[0] = 0xFF;
    src->buffer[1] = JPEG_EOI;
    n = 2;
  }
  src->pub.next_input_byte = src->buffer;
  src->pub.bytes_in_buffer = n;
  src->started = true;
  return TRUE;
}

void SkipInputData(j_decompress_ptr cinfo, long num_bytes) {
  if (num_bytes <= 0) return;
  jpeg_source_mgr* src = cinfo->src;
  while (static_cast<std::size_t>(num_bytes) > src->bytes_in_buffer) {
    num_bytes -= static_cast<long>(src->bytes_in_buffer);
    FillInputBuffer(cinfo);
  }
  src->next_input_byte += num_bytes;
  src->bytes_in_buffer -= static_cast<std::size_t>(num_bytes);
}

void TermSource(j_decompress_ptr) {}

// Where the compressed bytes come from: an open file or a block of memory.
struct Source {
  FileSource* file = nullptr;
  const BYTE* data = nullptr;
  std::size_t size = 0;
};

struct Request {
  int num;
  int den;
  bool gray;
  DecodeLimits limits;
};

struct Result {
  BYTE* bits = nullptr;
  int width = 0;
  int height = 0;
};

// Everything a decode owns. It lives in the frame above the setjmp point, so a jump back from
// libjpeg releases all of it here and leaks nothing; the functions the jump crosses keep only
// trivially destructible locals.
struct Decoder {
  jpeg_decompress_struct cinfo{};
  ErrorManager err{};
  bool created = false;
  BYTE* bits = nullptr;
  std::unique_ptr<BYTE[]> scratch;
  std::unique_ptr<std::size_t[]> columns;

  Decoder() = default;
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;
  ~Decoder() {
    if (created) jpeg_destroy_decompress(&cinfo);
    delete[] bits;
  }
};

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// Opens a regular file for reading; null for anything else (a directory opens fine on POSIX).
FilePtr OpenRegularFile(const char* path) {
  if (!path) return nullptr;
  FilePtr file(std::fopen(path, "rb"));
  if (!file) return nullptr;
  struct stat st;
  if (fstat(fileno(file.get()), &st) != 0 || !S_ISREG(st.st_mode)) return nullptr;
  return file;
}

std::unique_ptr<FileSource> MakeFileSource(std::FILE* file) {
  std::unique_ptr<FileSource> src(new (std::nothrow) FileSource);
  if (!src) return nullptr;
  src->pub.init_source = InitSource;
  src->pub.fill_input_buffer = FillInputBuffer;
  src->pub.skip_input_data = SkipInputData;
  src->pub.resync_to_restart = jpeg_resync_to_restart;
  src->pub.term_source = TermSource;
  src->pub.bytes_in_buffer = 0;
  src->pub.next_input_byte = nullptr;
  src->file = file;
  return src;
}

void Start(Decoder& d, const Source& src, const DecodeLimits& limits) {
  d.cinfo.err = InitErrorManager(d.err);
  jpeg_create_decompress(&d.cinfo);
  d.created = true;
  LimitScans(&d.cinfo, d.err, limits.max_scans);
  d.cinfo.mem->max_memory_to_use = limits.max_decoder_memory;
  if (src.file)
    d.cinfo.src = &src.file->pub;
  else
    jpeg_mem_src(&d.cinfo, src.data, static_cast<unsigned long>(src.size));
  jpeg_read_header(&d.cinfo, TRUE);
}

std::uint64_t Stride(std::uint64_t width, int bytes_per_pixel) {
  return (width * 8 * bytes_per_pixel + 31) / 32 * 4;
}

// R = C * K / 255 on Adobe's inverted values, rounded to nearest.
inline BYTE CmykChannel(unsigned v, unsigned k) { return static_cast<BYTE>((v * k + 127) / 255); }

// libjpeg's own luminance weights (16-bit fixed point, rounded).
inline BYTE Luma(unsigned r, unsigned g, unsigned b) {
  return static_cast<BYTE>((19595 * r + 38470 * g + 7471 * b + 32768) >> 16);
}

// One output row from one decoded row: columns[i] is the decoded column of output column i (null
// when they coincide); comps is the decoder's bytes a pixel (1, 3 or 4 for CMYK), bpp ours.
void EmitRow(const BYTE* src, BYTE* dst, std::size_t width, const std::size_t* columns, int comps,
             int bpp) {
  if (comps == bpp && !columns) {
    std::memcpy(dst, src, width * bpp);
    return;
  }
  for (std::size_t i = 0; i < width; ++i) {
    const BYTE* s = src + (columns ? columns[i] : i) * comps;
    if (comps == 4) {
      const BYTE r = CmykChannel(s[0], s[3]);
      const BYTE g = CmykChannel(s[1], s[3]);
      const BYTE b = CmykChannel(s[2], s[3]);
      if (bpp == 1) {
        dst[i] = Luma(r, g, b);
      } else {
        dst[3 * i] = b, dst[3 * i + 1] = g, dst[3 * i + 2] = r;
      }
    } else if (bpp == 1) {
      dst[i] = s[0];
    } else {
      dst[3 * i] = s[0], dst[3 * i + 1] = s[1], dst[3 * i + 2] = s[2];
    }
  }
}

void ReadOneScanline(Decoder& d, BYTE* row) {
  JSAMPROW rows[1] = {row};
  if (jpeg_read_scanlines(&d.cinfo, rows, 1) != 1) ERREXIT(&d.cinfo, JERR_BAD_BUFFER_MODE);
}

// The decode proper; any libjpeg failure leaves it by longjmp. Answers false for requests it
// refuses without libjpeg's help.
bool DecodeBody(Decoder& d, const Source& src, const Request& req, Result& out) {
  Start(d, src, req.limits);
  jpeg_decompress_struct& cinfo = d.cinfo;
  const std::uint64_t target_w = std::uint64_t{cinfo.image_width} * req.num / req.den;
  const std::uint64_t target_h = std::uint64_t{cinfo.image_height} * req.num / req.den;
  const int bpp = req.gray ? 1 : 3;
  if (target_w == 0 || target_h == 0 || target_w > 0x7FFFFFFF || target_h > 0x7FFFFFFF)
    return false;
  const std::uint64_t stride = Stride(target_w, bpp);
  if (stride > req.limits.max_buffer_bytes ||
      (req.limits.max_buffer_bytes - 8) / stride < target_h + 1)
    return false;

  const bool cmyk = cinfo.jpeg_color_space == JCS_CMYK || cinfo.jpeg_color_space == JCS_YCCK;
  cinfo.out_color_space = cmyk ? JCS_CMYK : req.gray ? JCS_GRAYSCALE : JCS_EXT_BGR;

  // A ratio of the form M/8 is decoded at exactly that scale; any other at the smallest scale
  // that covers the target, to be sampled down (or up from 16/8).
  const std::uint64_t eighths = std::uint64_t(req.num) * 8;
  const bool exact_scale =
      eighths % req.den == 0 && eighths / req.den >= 1 && eighths / req.den <= 16;
  cinfo.scale_denom = 8;
  if (exact_scale) {
    cinfo.scale_num = static_cast<unsigned>(eighths / req.den);
  } else {
    for (unsigned m = 1; m <= 16; ++m) {
      cinfo.scale_num = m;
      jpeg_calc_output_dimensions(&cinfo);
      if (cinfo.output_width >= target_w && cinfo.output_height >= target_h) break;
    }
  }
  jpeg_start_decompress(&cinfo);

  const std::size_t tw = target_w, th = target_h;
  const std::size_t dw = cinfo.output_width, dh = cinfo.output_height;
  const int comps = cinfo.output_components;
  if (dw == 0 || dh == 0) return false;
  if (exact_scale && (dw < tw || dh < th)) return false;  // not the scale asked for
  const bool sample = !exact_scale && (dw != tw || dh != th);

  const std::size_t bytes = stride * (th + 1) + 8;
  d.bits = new (std::nothrow) BYTE[bytes];
  if (!d.bits) return false;
  std::memset(d.bits + stride * th, 0, stride + 8);
  d.scratch.reset(new (std::nothrow) BYTE[dw * comps]);
  if (!d.scratch) return false;
  const std::size_t* columns = nullptr;
  if (sample && dw != tw) {
    d.columns.reset(new (std::nothrow) std::size_t[tw]);
    if (!d.columns) return false;
    for (std::size_t i = 0; i < tw; ++i) d.columns[i] = i * dw / tw;
    columns = d.columns.get();
  }
  // A decoded row goes straight to its place in the buffer when it needs no conversion and fits
  // the row's stride (the surplus column of an exact scale then lands in the padding).
  const bool fits = comps == bpp && !columns && dw * comps <= stride;

  std::size_t j = 0;  // next output row, 0 = top
  for (std::size_t r = 0; r < dh && j < th; ++r) {
    std::size_t count = 0;
    while (j + count < th && (sample ? (j + count) * dh / th : j + count) == r) ++count;
    BYTE* first = d.bits + (th - 1 - j) * stride;
    if (count == 1 && fits) {
      ReadOneScanline(d, first);
    } else {
      ReadOneScanline(d, d.scratch.get());
      if (count == 0) continue;
      EmitRow(d.scratch.get(), first, tw, columns, comps, bpp);
    }
    std::memset(first + tw * bpp, 0, stride - tw * bpp);
    for (std::size_t k = 1; k < count; ++k)
      std::memcpy(d.bits + (th - 1 - j - k) * stride, first, stride);
    j += count;
  }
  if (j != th) return false;
  out.bits = d.bits;
  out.width = static_cast<int>(tw);
  out.height = static_cast<int>(th);
  d.bits = nullptr;
  return true;
}

bool Decode(Decoder& d, const Source& src, const Request& req, Result& out) {
  if (setjmp(d.err.jump)) return false;
  return DecodeBody(d, src, req, out);
}

bool HeaderBody(Decoder& d, const Source& src, CSize& size) {
  Start(d, src, DecodeLimits{});
  size = CSize(static_cast<int>(d.cinfo.image_width), static_cast<int>(d.cinfo.image_height));
  return true;
}

bool ReadHeader(Decoder& d, const Source& src, CSize& size) {
  if (setjmp(d.err.jump)) return false;
  return HeaderBody(d, src, size);
}

BYTE* Read(const Source& src, int* width, int* height, int num, int den, BOOL gray,
           const DecodeLimits& limits) {
  if (num <= 0 || den <= 0) return nullptr;
  Decoder d;
  Result out;
  if (!Decode(d, src, Request{num, den, gray != FALSE, limits}, out)) return nullptr;
  if (width) *width = out.width;
  if (height) *height = out.height;
  return out.bits;
}

CSize Size(const Source& src, int* error) {
  Decoder d;
  CSize size;
  const bool ok = ReadHeader(d, src, size);
  if (error) *error = ok ? 0 : kJpegNotJpeg;
  return ok ? size : CSize();
}

}  // namespace

BYTE* ReadBitmapFromMemory(const BYTE* data, std::size_t size, int* width, int* height, int num,
                           int den, BOOL gray, const DecodeLimits& limits) {
  if (!data) return nullptr;
  return Read(Source{nullptr, data, size}, width, height, num, den, gray, limits);
}

CSize GetBitmapSizeFromMemory(const BYTE* data, std::size_t size, int* error) {
  if (!data) {
    if (error) *error = kJpegNotJpeg;
    return CSize();
  }
  return Size(Source{nullptr, data, size}, error);
}

}  // namespace vardell::jpeg

using namespace vardell;

CSize GetBitmapSize(const char* path, int* error) {
  jpeg::FilePtr file = jpeg::OpenRegularFile(path);
  std::unique_ptr<jpeg::FileSource> src = file ? jpeg::MakeFileSource(file.get()) : nullptr;
  if (!src) {
    if (error) *error = kJpegCannotOpen;
    return CSize();
  }
  return jpeg::Size(jpeg::Source{src.get()}, error);
}

BYTE* ReadBitmap(const char* path, int* width, int* height, int num, int den, BOOL gray) {
  if (num <= 0 || den <= 0) return nullptr;
  jpeg::FilePtr file = jpeg::OpenRegularFile(path);
  std::unique_ptr<jpeg::FileSource> src = file ? jpeg::MakeFileSource(file.get()) : nullptr;
  if (!src) return nullptr;
  return jpeg::Read(jpeg::Source{src.get()}, width, height, num, den, gray, {});
}
