// CMask buffer, header and whole-buffer transforms.
#include "mask_fixtures.h"
#include "picture/byte_tables.h"

#include <climits>
#include <memory>

namespace {

using namespace vardell::test;

TEST(MaskBuffer, EmptyThenCreatedBottomUpWithHeaderAndPalette) {
  CMask mask;
  EXPECT_TRUE(vardell::ByteTables::Built());
  EXPECT_TRUE(!mask.IsValid() && !mask.Duplicate() && !mask.Invert());
  EXPECT_TRUE(mask.GetMaskSize() == CSize(0, 0) && mask.GetMaskRect() == CRect(0, 0, 0, 0));
  ASSERT_TRUE(mask.CreateMask(5, 3, 7));
  EXPECT_TRUE(mask.GetDataWidth() == 8 && mask.GetMaskRect() == CRect(0, 0, 5, 3));
  // GetLineBuffer(0) is the last row in memory.
  EXPECT_EQ(mask.GetLineBuffer(0), mask.GetBuffer() + 2 * 8);
  EXPECT_EQ(mask.GetPixel(4, 2), mask.GetBuffer() + 4);
  const BITMAPINFOHEADER& h = mask.GetInfoHeader();
  // biSizeImage is the whole image after CreateMask, one stride after SetInfoHeader.
  EXPECT_EQ(std::vector<DWORD>({h.biSize, h.biBitCount, h.biPlanes, h.biSizeImage}),
            std::vector<DWORD>({40, 8, 1, 24}));
  EXPECT_EQ(Bytes(mask), std::vector<BYTE>(24, 7));
  for (int i = 0; i < 256; ++i) {
    const RGBQUAD q = mask.GetPalette()[i];
    ASSERT_EQ(RGB(q.rgbRed, q.rgbGreen, q.rgbBlue) | q.rgbReserved << 24, RGB(i, i, i)) << i;
  }
  // The palette follows the header directly, as one BITMAPINFO.
  EXPECT_EQ(reinterpret_cast<const BYTE*>(mask.GetBitmapInfo()->bmiColors),
            reinterpret_cast<const BYTE*>(&mask.GetInfoHeader()) + 40);
  mask.SetInfoHeader(5, 3);
  EXPECT_EQ(mask.GetInfoHeader().biSizeImage, 8u);
}

TEST(MaskBuffer, CreateRefusesBadSizesAndKeepsTheOldBuffer) {
  CMask mask;
  ASSERT_TRUE(mask.CreateMask(4, 4, 1));
  BYTE* old = mask.GetBuffer();
  EXPECT_FALSE(mask.CreateMask(0, 10, 0) || mask.CreateMask(10, 0, 0) || mask.CreateMask(-3, 5, 0));
  EXPECT_EQ(mask.GetBuffer(), old);
  EXPECT_EQ(mask.GetMaskSize(), CSize(4, 4));
  // Sizes no buffer can hold report the byte count and leave the mask empty.
  ErrorRecorder errors;
  EXPECT_FALSE(mask.CreateMask(INT_MAX, INT_MAX, 0));
  EXPECT_FALSE(mask.IsValid());
  EXPECT_EQ(errors.Single(), "Can not alloc memory which size is 4611686016279904256 Bytes.");
  errors.Clear();
  EXPECT_FALSE(mask.CreateMask(40000, 60000, 0));
  EXPECT_EQ(errors.Single(), "Can not alloc memory which size is 2400000000 Bytes.");
}

TEST(MaskBuffer, InvertAndTransformRewriteThePadding) {
  CMask mask;
  ASSERT_TRUE(mask.CreateMask(1, 2, 10));
  mask.GetBuffer()[1] = 0;  // a padding byte
  ASSERT_TRUE(mask.Invert());
  EXPECT_EQ(Bytes(mask), std::vector<BYTE>({245, 255, 245, 245, 245, 245, 245, 245}));
  BYTE lut[256];
  for (int i = 0; i < 256; ++i) lut[i] = static_cast<BYTE>(i / 2);
  ASSERT_TRUE(mask.TransformData(lut));
  EXPECT_EQ(Bytes(mask), std::vector<BYTE>({122, 127, 122, 122, 122, 122, 122, 122}));
}

TEST(MaskBuffer, DuplicateBothForms) {
  CMask mask, target, empty;
  ASSERT_TRUE(mask.CreateMask(3, 2, 0));
  *mask.GetPixel(2, 1) = 99;
  mask.GetBuffer()[3] = 42;  // padding is copied too
  std::unique_ptr<CMask> copy(mask.Duplicate());
  ASSERT_TRUE(copy);
  EXPECT_EQ(Bytes(*copy), Bytes(mask));
  EXPECT_NE(copy->GetBuffer(), mask.GetBuffer());
  ASSERT_TRUE(target.CreateMask(50, 50, 1));
  EXPECT_TRUE(mask.Duplicate(&target));
  EXPECT_EQ(target.GetMaskSize(), CSize(3, 2));
  EXPECT_EQ(Bytes(target), Bytes(mask));
  EXPECT_FALSE(mask.Duplicate(static_cast<CMask*>(nullptr)) || empty.Duplicate(&target));
  EXPECT_TRUE(mask.Duplicate(&mask));
  EXPECT_EQ(*mask.GetPixel(2, 1), 99);
}

}  // namespace
