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
  EXPECT_TRUE(!mask.IsValid() && !mask.Duplicate() && !mask.Invert() &&
              mask.GetMaskSize() == CSize(0, 0) && mask.GetMaskRect() == CRect(0, 0, 0, 0));
  ASSERT_TRUE(mask.CreateMask(5, 3, 7));
  // GetLineBuffer(0) is the last row in memory.
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
  // Sizes no buffer can hold report the byte count and leave the mask empty.
  ErrorRecorder errors;
  EXPECT_FALSE(mask.CreateMask(INT_MAX, INT_MAX, 0));
  EXPECT_FALSE(mask.IsValid());
  EXPECT_EQ(errors.Single(), "Can not alloc memory which size is 4611686016279904256 Bytes.");
}

TEST(MaskBuffer, InvertTransformAndDuplicateCoverThePadding) {
  CMask mask, target;
  ASSERT_TRUE(mask.CreateMask(1, 2, 10));
  mask.GetBuffer()[1] = 0;  // a padding byte
  ASSERT_TRUE(mask.Invert());
  EXPECT_EQ(Bytes(mask), std::vector<BYTE>({245, 255, 245, 245, 245, 245, 245, 245}));
  BYTE lut[256];
  for (int i = 0; i < 256; ++i) lut[i] = static_cast<BYTE>(i / 2);
  ASSERT_TRUE(mask.TransformData(lut));
  EXPECT_EQ(Bytes(mask), std::vector<BYTE>({122, 127, 122, 122, 122, 122, 122, 122}));
  mask.GetBuffer()[3] = 42;
  const std::unique_ptr<CMask> copy(mask.Duplicate());
  ASSERT_TRUE(copy && target.CreateMask(50, 50, 1) && mask.Duplicate(&target));
  EXPECT_TRUE(Bytes(*copy) == Bytes(mask) && Bytes(target) == Bytes(mask));
  EXPECT_FALSE(mask.Duplicate(static_cast<CMask*>(nullptr)));
  EXPECT_TRUE(mask.Duplicate(&mask));  // onto itself: nothing is freed before it is read
  EXPECT_EQ(Bytes(mask), Bytes(target));
}

}  // namespace
