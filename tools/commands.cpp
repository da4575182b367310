#include "tools/commands.h"

#include "hostutil/messages.h"
#include "jpegcodec/jpeg_codec.h"
#include "picture/picture.h"
#include "platform/bitmap.h"
#include "platform/file.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace vardell::tool {
namespace {

bool EndsWithNoCase(const std::string& s, const char* tail) {
  std::size_t n = std::strlen(tail);
  return s.size() >= n && strcasecmp(s.c_str() + s.size() - n, tail) == 0;
}

bool ParseInt(const std::string& text, int& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  long v = std::strtol(text.c_str(), &end, 10);
  if (*end != '\0' || v < -1000000000L || v > 1000000000L) return false;
  value = static_cast<int>(v);
  return true;
}

}  // namespace

bool ParseScale(const std::string& text, int& num, int& den) {
  std::size_t slash = text.find('/');
  if (slash == std::string::npos) return false;
  return ParseInt(text.substr(0, slash), num) && ParseInt(text.substr(slash + 1), den) && num > 0 &&
         den > 0;
}

void InstallTerminalHandlers() {
  if (!::isatty(STDERR_FILENO)) return;
  ProgressHandler handler;
  handler.begin = [](const CString& title) {
    std::fprintf(stderr, "%s\n", static_cast<LPCTSTR>(title));
    return 1;
  };
  handler.set = [](int, int percent) {
    int filled = percent * 40 / 100;
    std::fprintf(stderr, "\r[%.*s%*s] %3d%%", filled,
                 "========================================", 40 - filled, "", percent);
  };
  handler.end = [](int) { std::fputs("\r\033[K", stderr); };
  SetProgressHandler(std::move(handler));
}

int Info(const Args& args) {
  if (args.size() != 1) return 2;
  const std::string& path = args[0];
  CFile file;
  CFileException error;
  if (!file.Open(path.c_str(), CFile::modeRead, &error)) {
    std::fprintf(stderr, "%s\n", static_cast<LPCTSTR>(error.Describe()));
    return 1;
  }
  BYTE head[54] = {};
  UINT got = 0;
  ULONGLONG length = 0;
  try {
    got = file.Read(head, sizeof head);
    length = file.GetLength();
  } catch (CFileException* e) {
    std::fprintf(stderr, "%s\n", static_cast<LPCTSTR>(e->Describe()));
    e->Delete();
    return 1;
  }
  file.Abort();
  if (got >= 2 && head[0] == 'B' && head[1] == 'M') {
    if (got < 54) {
      std::fprintf(stderr, "%s: truncated bitmap header (%u bytes)\n", path.c_str(), got);
      return 1;
    }
    BITMAPFILEHEADER fh;
    BITMAPINFOHEADER ih;
    fh.Load(head);
    ih.Load(head + 14);
    std::printf("file        %s\n", path.c_str());
    std::printf("format      BMP\n");
    std::printf("file size   %llu bytes (header says %u)\n",
                static_cast<unsigned long long>(length), fh.bfSize);
    std::printf("size        %d x %d\n", ih.biWidth, ih.biHeight);
    std::printf("bit count   %u\n", ih.biBitCount);
    std::printf("compression %u\n", ih.biCompression);
    std::printf("stride      %lld bytes\n",
                static_cast<long long>(DibStride64(ih.biWidth, ih.biBitCount)));
    std::printf("pixel data  offset %u\n", fh.bfOffBits);
    return 0;
  }
  int codecError = 0;
  CSize size = GetBitmapSize(path.c_str(), &codecError);
  if (codecError != 0 || size.cx == 0 || size.cy == 0) {
    std::fprintf(stderr, "%s is neither a bitmap nor a JPEG file\n", path.c_str());
    return 1;
  }
  std::printf("file        %s\n", path.c_str());
  std::printf("format      JPEG\n");
  std::printf("file size   %llu bytes\n", static_cast<unsigned long long>(length));
  std::printf("size        %d x %d\n", size.cx, size.cy);
  std::printf("bit count   24 (as loaded)\n");
  std::printf("stride      %d bytes (as loaded)\n", DibStride(size.cx, 24));
  return 0;
}

int Convert(const Args& args) {
  std::vector<std::string> files;
  bool jpeg = false;
  bool progressive = false;
  int quality = 90;
  int num = 1, den = 1;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--jpeg") {
      jpeg = true;
    } else if (a == "--progressive") {
      progressive = true;
    } else if (a == "--quality" && i + 1 < args.size()) {
      if (!ParseInt(args[++i], quality) || quality < 1 || quality > 100) {
        std::fprintf(stderr, "vardell: --quality takes 1..100\n");
        return 2;
      }
    } else if (a == "--scale" && i + 1 < args.size()) {
      if (!ParseScale(args[++i], num, den)) {
        std::fprintf(stderr, "vardell: --scale takes NUM/DEN with positive integers\n");
        return 2;
      }
    } else if (a.rfind("--", 0) == 0) {
      std::fprintf(stderr, "vardell: unknown option %s\n", a.c_str());
      return 2;
    } else {
      files.push_back(a);
    }
  }
  if (files.size() != 2) return 2;
  // A .jpg or .jpeg output name asks for JPEG too.
  jpeg = jpeg || EndsWithNoCase(files[1], ".jpg") || EndsWithNoCase(files[1], ".jpeg");
  CPicture picture;
  BOOL loaded = num == den ? picture.LoadPicture(files[0].c_str())
                           : picture.LoadPicture(files[0].c_str(), num, den);
  if (!loaded) return 1;
  if (!picture.StorePicture(files[1].c_str(), jpeg, progressive, quality)) return 1;
  std::printf("%s (%d x %d) -> %s as %s\n", files[0].c_str(), picture.Width(), picture.Height(),
              files[1].c_str(), jpeg ? "JPEG" : "BMP");
  return 0;
}

}  // namespace vardell::tool
