#include "platform/printer_dc.h"

#include "platform_fixtures.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using vardell::test::Join;

// A PPM (P6, maxval 255) page rasterised by pdftoppm.
struct Page {
  int width = 0;
  int height = 0;
  std::vector<unsigned char> rgb;
  COLORREF At(int x, int y) const {
    const unsigned char* p = &rgb[(static_cast<std::size_t>(y) * width + x) * 3];
    return RGB(p[0], p[1], p[2]);
  }
};

Page ReadPpm(const std::string& path) {
  Page page;
  std::ifstream in(path, std::ios::binary);
  std::string magic;
  int maxval = 0;
  in >> magic >> page.width >> page.height >> maxval;
  in.get();
  if (magic != "P6" || maxval != 255) return Page{};
  page.rgb.resize(static_cast<std::size_t>(page.width) * page.height * 3);
  in.read(reinterpret_cast<char*>(page.rgb.data()), static_cast<std::streamsize>(page.rgb.size()));
  return page;
}

bool HavePdftoppm() { return std::system("pdftoppm -v > /dev/null 2>&1") == 0; }

// A two-page document at 50 dpi on paper of 8 x 6 inches (400 x 300 dots) with 0.2-inch margins
// (10 dots): page 1 has a red block and a blue block drawn through StretchDIBits, page 2 a green
// block drawn with PatBlt. Rasterised at the printer's resolution, each block is where it was
// drawn, shifted by the margin.
TEST(PrinterDc, TwoPagesBecomeAPdf) {
  if (!HavePdftoppm()) GTEST_SKIP() << "pdftoppm (poppler-utils) is not installed";
  vardell::test::TempDir dir;
  const std::string pdf = dir.File("doc.pdf");
  CDC dc;
  ASSERT_TRUE(dc.Attach(CreatePdfPrinterDC(pdf.c_str(), 2032, 1524, 50, 51)));
  ASSERT_EQ(dc.GetDeviceCaps(PHYSICALOFFSETX), 10);
  ASSERT_EQ(dc.GetDeviceCaps(HORZRES), 380);
  EXPECT_FALSE(dc.PatBlt(0, 0, 10, 10, BLACKNESS));  // no page yet
  EXPECT_EQ(dc.StartPage(), SP_ERROR);               // no document yet

  EXPECT_GT(dc.StartDoc("Vardell test"), 0);
  EXPECT_GT(dc.StartPage(), 0);
  // A 2 x 1 DIB, red and blue, stretched over (40,30)-(240,130).
  BITMAPINFO info{};
  info.bmiHeader = BITMAPINFOHEADER{40, 2, 1, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
  const BYTE bits[8] = {0, 0, 255, 255, 0, 0, 0, 0};
  EXPECT_EQ(StretchDIBits(dc.GetSafeHdc(), 40, 30, 200, 100, 0, 0, 2, 1, bits, &info,
                          DIB_RGB_COLORS, SRCCOPY),
            1);
  EXPECT_GT(dc.EndPage(), 0);
  EXPECT_EQ(dc.EndPage(), SP_ERROR);  // no page open
  EXPECT_GT(dc.StartPage(), 0);
  CBrush green(RGB(0, 255, 0));
  dc.SelectObject(&green);
  EXPECT_TRUE(dc.PatBlt(300, 200, 60, 50, PATCOPY));
  dc.SelectStockObject(WHITE_BRUSH);
  EXPECT_GT(dc.EndPage(), 0);
  EXPECT_GT(dc.EndDoc(), 0);
  ASSERT_TRUE(std::filesystem::exists(pdf));

  const std::string prefix = dir.File("page");
  ASSERT_EQ(std::system(("pdftoppm -r 50 \"" + pdf + "\" \"" + prefix + "\"").c_str()), 0);
  const Page one = ReadPpm(prefix + "-1.ppm"), two = ReadPpm(prefix + "-2.ppm");
  ASSERT_TRUE(one.width == 400 && one.height == 300 && two.width == 400);
  // Away from the edges of each block, so that rasteriser rounding does not matter: the red and
  // the blue block, left of and below them, the margin; the green block, and outside it.
  const COLORREF white = RGB(255, 255, 255), red = RGB(255, 0, 0), blue = RGB(0, 0, 255),
                 lime = RGB(0, 255, 0);
  EXPECT_EQ(
      Join(one.At(52, 42), one.At(148, 138), one.At(152, 42), one.At(248, 138), one.At(45, 42),
           one.At(152, 145), two.At(315, 215), two.At(367, 258), two.At(305, 215)),
      Join(red, red, blue, blue, white, white, lime, lime, white));
}

TEST(PrinterDc, AbortAndBadInput) {
  vardell::test::TempDir dir;
  const std::string pdf = dir.File("gone.pdf");
  // No file, no paper, no resolution, nothing but margin, too many dots.
  for (HDC bad :
       {CreatePdfPrinterDC(nullptr, 2100, 2970, 300), CreatePdfPrinterDC("", 2100, 2970, 300),
        CreatePdfPrinterDC(pdf.c_str(), 0, 2970, 300),
        CreatePdfPrinterDC(pdf.c_str(), 2100, 2970, -1),
        CreatePdfPrinterDC(pdf.c_str(), 2100, 2970, 300, 1050),
        CreatePdfPrinterDC(pdf.c_str(), 2100000, 2970000, 4800)})
    EXPECT_EQ(bad, nullptr);

  HDC hdc = CreatePdfPrinterDC(pdf.c_str(), 1000, 1000, 30);
  ASSERT_NE(hdc, nullptr);
  DOCINFO info{static_cast<int>(sizeof(DOCINFO)), "doc", nullptr, nullptr, 0};
  EXPECT_GT(StartDoc(hdc, &info), 0);
  EXPECT_GT(StartPage(hdc), 0);
  EXPECT_TRUE(PatBlt(hdc, 0, 0, 5, 5, BLACKNESS));
  EXPECT_GT(AbortDoc(hdc), 0);
  EXPECT_FALSE(std::filesystem::exists(pdf));
  EXPECT_FALSE(PatBlt(hdc, 0, 0, 5, 5, BLACKNESS));
  // The DOCINFO's output file wins over the DC's; deleting the DC mid-job removes it.
  const std::string other = dir.File("other.pdf");
  info.lpszOutput = other.c_str();
  EXPECT_GT(StartDoc(hdc, &info), 0);
  EXPECT_TRUE(std::filesystem::exists(other));
  EXPECT_TRUE(DeleteDC(hdc));
  EXPECT_FALSE(std::filesystem::exists(other));
  // A folder that does not exist, and DCs that are not printers.
  info.lpszOutput = nullptr;
  HDC nowhere = CreatePdfPrinterDC(dir.File("no/such/folder/x.pdf").c_str(), 1000, 1000, 30);
  EXPECT_EQ(StartDoc(nowhere, &info), SP_ERROR);
  DeleteDC(nowhere);
  HDC memory = CreateCompatibleDC(nullptr);
  EXPECT_EQ(StartDoc(memory, &info), SP_ERROR);
  DeleteDC(memory);
}

}  // namespace
