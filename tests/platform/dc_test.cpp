#include "platform/dc.h"
#include "platform/printer_dc.h"
#include "platform/region.h"
#include "platform/window_surface.h"

#include "dc_test_util.h"
#include "platform_fixtures.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using vardell::test::Calls;
using vardell::test::Join;
using Handles = std::vector<HGDIOBJ>;
using vardell::test::MemoryDc;
using vardell::test::Px;

TEST(DeviceContext, SelectObjectAnswersThePreviousObject) {
  HDC hdc = CreateCompatibleDC(nullptr);
  EXPECT_EQ(GetObjectType(hdc), OBJ_MEMDC);
  HBITMAP a = CreateCompatibleBitmap(hdc, 3, 2), b = CreateCompatibleBitmap(hdc, 3, 2);
  const HGDIOBJ stock = SelectObject(hdc, a);
  EXPECT_EQ(GetObjectType(stock), OBJ_BITMAP);  // the 1x1 stock bitmap a new memory DC holds
  EXPECT_EQ((Handles{SelectObject(hdc, b), GetCurrentObject(hdc, OBJ_BITMAP),
                     SelectObject(hdc, stock), GetCurrentObject(hdc, OBJ_BRUSH)}),
            (Handles{a, b, b, GetStockObject(WHITE_BRUSH)}));
  HPEN pen = CreatePen(PS_SOLID, 1, RGB(1, 2, 3));
  EXPECT_EQ(SelectObject(hdc, pen), GetStockObject(BLACK_PEN));
  // Modes answer the previous value, 0 for an unknown one.
  EXPECT_EQ((Calls{SetStretchBltMode(hdc, COLORONCOLOR), SetStretchBltMode(hdc, 9),
                   GetStretchBltMode(hdc), SetROP2(hdc, 17), GetROP2(hdc)}),
            (Calls{BLACKONWHITE, 0, COLORONCOLOR, 0, R2_COPYPEN}));
  EXPECT_EQ((Calls{DeleteDC(hdc), DeleteDC(hdc), SelectObject(hdc, a) == nullptr, DeleteObject(a),
                   DeleteObject(b), DeleteObject(pen)}),
            (Calls{TRUE, FALSE, true, TRUE, TRUE, TRUE}));  // the pen went with its DC
}

TEST(DeviceContext, BitmapsBelongToOneDcAtATime) {
  HDC first = CreateCompatibleDC(nullptr), second = CreateCompatibleDC(first);
  HBITMAP bitmap = CreateCompatibleBitmap(first, 2, 2);
  const HGDIOBJ stock = SelectObject(first, bitmap);
  EXPECT_EQ(SelectObject(second, bitmap), nullptr);
  SelectObject(first, stock);
  EXPECT_NE(SelectObject(second, bitmap), nullptr);
  // The stock bitmap is shared freely; a DC holding it cannot draw. Deleting a selected bitmap
  // fails and the DC draws on; deleting its DC lets it go.
  EXPECT_NE(SelectObject(first, stock), nullptr);
  EXPECT_EQ((Calls{PatBlt(first, 0, 0, 1, 1, WHITENESS), DeleteObject(bitmap),
                   PatBlt(second, 0, 0, 1, 1, WHITENESS), GetPixel(second, 0, 0)}),
            (Calls{FALSE, FALSE, TRUE, RGB(255, 255, 255)}));
  DeleteDC(first);
  DeleteDC(second);
  EXPECT_TRUE(DeleteObject(bitmap));
}

TEST(DeviceContext, DeleteObjectRefusesSelectedObjectsAndKeepsStockOnes) {
  MemoryDc dc(2, 1);
  HPEN pen = CreatePen(PS_SOLID, 1, RGB(255, 0, 0));
  HBRUSH brush = CreateSolidBrush(RGB(0, 0, 255));
  const HGDIOBJ stockPen = SelectObject(dc.hdc(), pen);
  const HGDIOBJ stockBrush = SelectObject(dc.hdc(), brush);
  EXPECT_FALSE(DeleteObject(pen) || DeleteObject(brush));
  EXPECT_TRUE(PatBlt(dc.hdc(), 0, 0, 1, 1, PATCOPY));
  MoveToEx(dc.hdc(), 1, 0, nullptr);
  LineTo(dc.hdc(), 2, 0);
  EXPECT_EQ(dc.Pixels(), (std::vector<std::uint32_t>{Px(0, 0, 255), Px(255, 0, 0)}));

  // Selected into two DCs, the pen stays until both let it go; reselecting does not count twice.
  HDC other = CreateCompatibleDC(nullptr);
  SelectObject(other, pen);
  SelectObject(other, pen);
  SelectObject(dc.hdc(), stockPen);
  EXPECT_EQ((Calls{DeleteObject(pen), DeleteDC(other), DeleteObject(pen), GetObjectType(pen)}),
            (Calls{FALSE, TRUE, TRUE, 0}));
  // A stock object answers TRUE and stays, selected or not.
  SelectObject(dc.hdc(), stockBrush);
  EXPECT_EQ(
      (Calls{DeleteObject(brush), DeleteObject(stockBrush), DeleteObject(GetStockObject(NULL_PEN)),
             PatBlt(dc.hdc(), 0, 0, 2, 1, PATCOPY), GetObjectType(GetStockObject(NULL_PEN))}),
      (Calls{TRUE, TRUE, TRUE, TRUE, OBJ_PEN}));
  EXPECT_EQ(dc.At(1, 0), Px(255, 255, 255));
}

TEST(DeviceContext, BitmapSizes) {
  HBITMAP stock = CreateCompatibleBitmap(nullptr, 0, 5);
  BITMAP bm{};
  ASSERT_EQ(GetObject(stock, sizeof bm, &bm), static_cast<int>(sizeof bm));
  EXPECT_EQ(bm.bmWidth, 1);  // a zero size answers the 1x1 stock bitmap
  for (HBITMAP bad :
       {CreateCompatibleBitmap(nullptr, -1, 5), CreateCompatibleBitmap(nullptr, 70000, 70000),
        CreateCompatibleBitmap(nullptr, 0x7FFFFFFF, 0x7FFFFFFF),
        CreateBitmap(2, 2, 1, 24, nullptr)})
    EXPECT_EQ(bad, nullptr);

  const std::uint32_t rows[] = {0xFF010203, 0x00040506, 0x00070809, 0x000A0B0C};
  HBITMAP bitmap = CreateBitmap(2, 2, 1, 32, rows);
  GetObject(bitmap, sizeof bm, &bm);
  EXPECT_EQ(Join(bm.bmWidth, bm.bmHeight, bm.bmWidthBytes, bm.bmBitsPixel), "2|2|8|32");
  std::uint32_t back[4] = {};
  EXPECT_EQ((Calls{GetBitmapBits(bitmap, 0, nullptr), GetBitmapBits(bitmap, 16, back),
                   GetBitmapBits(nullptr, 16, back), DeleteObject(bitmap),
                   GetBitmapBits(bitmap, 16, back)}),
            (Calls{16, 16, 0, TRUE, 0}));
  EXPECT_TRUE(back[0] == 0x010203u && back[3] == 0x0A0B0Cu);  // the X byte is not kept
}

TEST(DeviceContext, GetDIBitsWritesBottomUpAndTopDownDibs) {
  MemoryDc dc(3, 2);
  dc.Set({Px(1, 2, 3), Px(4, 5, 6), Px(7, 8, 9), Px(10, 11, 12), Px(13, 14, 15), Px(16, 17, 18)});
  BITMAPINFO info{};
  info.bmiHeader.biSize = 40;
  // With biBitCount 0 and no bits, the header is filled in.
  EXPECT_NE(GetDIBits(dc.hdc(), dc.bitmap(), 0, 2, nullptr, &info, DIB_RGB_COLORS), 0);
  const BITMAPINFOHEADER& h = info.bmiHeader;
  EXPECT_EQ(Join(h.biWidth, h.biHeight, h.biBitCount, h.biSizeImage), "3|2|32|24");

  info.bmiHeader.biBitCount = 24;
  std::vector<BYTE> bits(2 * 12, 0xEE);
  EXPECT_EQ(GetDIBits(dc.hdc(), dc.bitmap(), 0, 2, bits.data(), &info, DIB_RGB_COLORS), 2);
  // Bottom row first, B G R, rows padded to 12 bytes (the padding is not written).
  const std::vector<BYTE> expected = {12, 11, 10, 15, 14, 13, 18, 17, 16, 0xEE, 0xEE, 0xEE,
                                      3,  2,  1,  6,  5,  4,  9,  8,  7,  0xEE, 0xEE, 0xEE};
  EXPECT_EQ(bits, expected);
  // Scan line 1 alone is the top row.
  std::vector<BYTE> one(12, 0);
  EXPECT_EQ(GetDIBits(nullptr, dc.bitmap(), 1, 1, one.data(), &info, DIB_RGB_COLORS), 1);
  EXPECT_EQ(one[0], 3);
  EXPECT_EQ(GetDIBits(nullptr, dc.bitmap(), 5, 1, one.data(), &info, DIB_RGB_COLORS), 0);

  BITMAPINFO sixteen = info;
  sixteen.bmiHeader.biBitCount = 16;
  EXPECT_EQ(Join(GetDIBits(nullptr, dc.bitmap(), 0, 2, bits.data(), &sixteen, DIB_RGB_COLORS),
                 GetDIBits(nullptr, dc.bitmap(), 0, 2, bits.data(), nullptr, DIB_RGB_COLORS),
                 GetDIBits(nullptr, nullptr, 0, 2, bits.data(), &info, DIB_RGB_COLORS)),
            "0|0|0");
}

TEST(DeviceContext, DeviceCaps) {
  vardell::SetDisplayMetrics(1280, 1024, 120);
  HDC screen = CreateCompatibleDC(nullptr);
  EXPECT_EQ(Join(GetDeviceCaps(screen, VERTRES), GetDeviceCaps(screen, LOGPIXELSX),
                 GetDeviceCaps(screen, PHYSICALWIDTH)),
            "1024|120|0");
  vardell::SetDisplayMetrics(1920, 1080, 96);
  DeleteDC(screen);

  // A4 at 300 dpi with 5 mm margins: 2480 x 3508 dots of paper, 59 dots of margin.
  vardell::test::TempDir dir;
  HDC printer = CreatePdfPrinterDC(dir.File("a4.pdf").c_str(), 2100, 2970, 300, 50);
  std::string caps;
  for (int cap : {TECHNOLOGY, PHYSICALWIDTH, PHYSICALHEIGHT, PHYSICALOFFSETX, HORZRES, HORZSIZE})
    caps += std::to_string(GetDeviceCaps(printer, cap)) + " ";
  EXPECT_EQ(caps, std::to_string(DT_RASPRINTER) + " 2480 3508 59 2362 200 ");
  // A memory DC made compatible with the printer reports the printer.
  HDC memory = CreateCompatibleDC(printer);
  EXPECT_EQ(Join(GetDeviceCaps(memory, LOGPIXELSX), GetDeviceCaps(memory, HORZRES)), "300|2362");
  DeleteDC(memory);
  DeleteDC(printer);
  EXPECT_EQ(GetDeviceCaps(printer, HORZRES), 0);
}

TEST(DeviceContext, CdcWrapsTheHandleFunctions) {
  CDC dc;
  ASSERT_TRUE(dc.CreateCompatibleDC(nullptr));
  EXPECT_EQ(CDC::FromHandle(dc.GetSafeHdc()), &dc);
  CBitmap bitmap;
  ASSERT_TRUE(bitmap.CreateCompatibleBitmap(&dc, 4, 3));
  EXPECT_FALSE(bitmap.CreateCompatibleBitmap(&dc, 4, 3));  // already holds one
  CBitmap* old = dc.SelectObject(&bitmap);
  EXPECT_EQ(dc.GetCurrentBitmap(), &bitmap);

  dc.FillSolidRect(0, 0, 4, 3, RGB(10, 20, 30));
  EXPECT_EQ(Join(dc.GetPixel(3, 1), dc.GetPixel(4, 1)), Join(RGB(10, 20, 30), CLR_INVALID));

  CPen pen(PS_SOLID, 1, RGB(0, 0, 255));
  CPen* oldPen = dc.SelectObject(&pen);
  EXPECT_EQ(oldPen->m_hObject, GetStockObject(BLACK_PEN));
  EXPECT_EQ(dc.MoveTo(0, 2), CPoint(0, 0));
  EXPECT_TRUE(dc.LineTo(4, 2));
  EXPECT_EQ(dc.GetPixel(3, 2), RGB(0, 0, 255));
  dc.SelectObject(oldPen);
  dc.SelectObject(old);

  CRgn clip;
  clip.CreateRectRgn(0, 0, 1, 1);
  // With the stock bitmap selected again, clearing the clip shows nothing.
  EXPECT_EQ((Calls{dc.SelectObject(&clip), dc.SelectClipRgn(&clip), dc.SelectClipRgn(nullptr)}),
            (Calls{SIMPLEREGION, SIMPLEREGION, NULLREGION}));
  CGdiObject::DeleteTempMap();
  // The CDC deletes its DC when destroyed; bitmap and pen delete their objects.
}

TEST(WindowSurface, DrawsIntoItsBackingPixels) {
  CWindowSurface window;
  EXPECT_TRUE(window.GetDC() == nullptr && !window.Create(0, 10));
  ASSERT_TRUE(window.Create(6, 4, RGB(0, 0, 255)));
  EXPECT_EQ(window.GetPixels()[0], Px(0, 0, 255));
  EXPECT_EQ(window.TakeDirtyRect(), CRect(0, 0, 6, 4));
  EXPECT_TRUE(window.TakeDirtyRect().IsRectEmpty());

  CDC* dc = window.GetDC();
  EXPECT_EQ(Join(GetObjectType(dc->GetSafeHdc()), dc->GetDeviceCaps(HORZRES)), Join(OBJ_DC, 1920));
  EXPECT_TRUE(dc->PatBlt(1, 1, 2, 2, BLACKNESS));
  dc->SetPixel(5, 0, RGB(9, 9, 9));
  EXPECT_EQ(Join(window.GetPixel(2, 2), window.GetPixel(5, 0), window.GetPixel(6, 0)),
            Join(RGB(0, 0, 0), RGB(9, 9, 9), CLR_INVALID));
  EXPECT_EQ(window.TakeDirtyRect(), CRect(1, 0, 6, 3));
  // The DC belongs to the surface.
  EXPECT_FALSE(DeleteDC(dc->GetSafeHdc()) || DeleteObject(dc->GetSafeHdc()));

  // Resizing keeps the DC and its state.
  dc->SetROP2(R2_NOT);
  const HDC hdc = dc->GetSafeHdc();
  ASSERT_TRUE(window.Create(3, 3));
  EXPECT_TRUE(window.GetSafeHdc() == hdc && dc->GetROP2() == R2_NOT);
  EXPECT_EQ((Calls{dc->PatBlt(0, 0, 9, 9, SRCCOPY), dc->PatBlt(0, 0, 9, 9, DSTINVERT)}),
            (Calls{FALSE, TRUE}));
  EXPECT_EQ(window.GetPixel(2, 2), RGB(0, 0, 0));
}

}  // namespace
