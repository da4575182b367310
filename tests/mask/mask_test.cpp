// CMask buffer, header and whole-buffer transforms.
#include "mask/mask.h"
#include "picture/byte_tables.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>

namespace {

using vardell::test::ErrorRecorder;

TEST(MaskBuffer, ConstructionBuildsTablesAndStartsEmpty) {
  CMask mask;
  EXPECT_TRUE(vardell::ByteTables::Built());
  EXPECT_FALSE(mask.IsValid());
  EXPECT_EQ(mask.GetMaskSize(), CSize(0, 0));
  EXPECT_EQ(mask.GetMaskRect(), CRect(0, 0, 0, 0));
  EXPECT_EQ(mask.Duplicate(), nullptr);
  EXPECT_FALSE(mask.Invert());
}

TEST(MaskBuffer, StridesHeaderAndRowsBottomUp) {
  CMask mask;
  ASSERT_TRUE(mask.CreateMask(5, 3, 7));
  EXPECT_EQ(mask.GetDataWidth(), 8);
  EXPECT_EQ(mask.GetMaskRect(), CRect(0, 0, 5, 3));
  // GetLineBuffer(0) is the last row in memory.
  EXPECT_EQ(mask.GetLineBuffer(0), mask.GetBuffer() + 2 * 8);
  EXPECT_EQ(mask.GetPixel(4, 2), mask.GetBuffer() + 4);
  const BITMAPINFOHEADER& h = mask.GetInfoHeader();
  EXPECT_EQ(h.biSize, 40u);
  EXPECT_EQ(h.biBitCount, 8);
  EXPECT_EQ(h.biPlanes, 1);
  EXPECT_EQ(h.biSizeImage, 24u);  // whole image from CreateMask
  for (int i = 0; i < 24; ++i) EXPECT_EQ(mask.GetBuffer()[i], 7) << i;
  for (int i : {0, 100, 255}) {
    const RGBQUAD q = mask.GetPalette()[i];
    EXPECT_TRUE(q.rgbBlue == i && q.rgbGreen == i && q.rgbRed == i && q.rgbReserved == 0);
  }
  // The palette follows the header directly, as one BITMAPINFO.
  EXPECT_EQ(reinterpret_cast<const BYTE*>(mask.GetBitmapInfo()->bmiColors),
            reinterpret_cast<const BYTE*>(&mask.GetInfoHeader()) + 40);

  mask.SetInfoHeader(5, 3);
  EXPECT_EQ(mask.GetInfoHeader().biSizeImage, 8u);  // one stride only
}

TEST(MaskBuffer, CreateRefusesBadSizesAndKeepsTheOldBuffer) {
  CMask mask;
  ASSERT_TRUE(mask.CreateMask(4, 4, 1));
  BYTE* old = mask.GetBuffer();
  EXPECT_FALSE(mask.CreateMask(0, 10, 0));
  EXPECT_FALSE(mask.CreateMask(10, 0, 0));
  EXPECT_FALSE(mask.CreateMask(-3, 5, 0));
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
  EXPECT_EQ(mask.GetDataWidth(), 4);
  mask.GetBuffer()[1] = 0;  // a padding byte
  ASSERT_TRUE(mask.Invert());
  const BYTE* b = mask.GetBuffer();
  EXPECT_EQ(b[0], 245);
  EXPECT_EQ(b[1], 255);
  EXPECT_EQ(b[2], 245);
  EXPECT_EQ(b[7], 245);
  BYTE lut[256];
  for (int i = 0; i < 256; ++i) lut[i] = static_cast<BYTE>(i / 2);
  ASSERT_TRUE(mask.TransformData(lut));
  EXPECT_EQ(b[0], 122);
  EXPECT_EQ(b[1], 127);
}

TEST(MaskBuffer, DuplicateBothForms) {
  CMask mask;
  ASSERT_TRUE(mask.CreateMask(3, 2, 0));
  *mask.GetPixel(2, 1) = 99;
  mask.GetBuffer()[3] = 42;  // padding is copied too
  std::unique_ptr<CMask> copy(mask.Duplicate());
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->GetMaskSize(), CSize(3, 2));
  EXPECT_EQ(*copy->GetPixel(2, 1), 99);
  EXPECT_EQ(copy->GetBuffer()[3], 42);
  EXPECT_NE(copy->GetBuffer(), mask.GetBuffer());

  CMask target;
  ASSERT_TRUE(target.CreateMask(50, 50, 1));
  EXPECT_TRUE(mask.Duplicate(&target));
  EXPECT_EQ(target.GetMaskSize(), CSize(3, 2));
  EXPECT_EQ(*target.GetPixel(2, 1), 99);
  EXPECT_FALSE(mask.Duplicate(static_cast<CMask*>(nullptr)));
  CMask empty;
  EXPECT_FALSE(empty.Duplicate(&target));
  EXPECT_TRUE(mask.Duplicate(&mask));
  EXPECT_EQ(*mask.GetPixel(2, 1), 99);
}

}  // namespace
