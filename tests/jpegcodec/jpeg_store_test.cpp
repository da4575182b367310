#include "jpegcodec/jpeg_codec.h"
#include "jpeg_test_util.h"

namespace vardell::test {
namespace {

Dib Chelsea() { return LoadBmp(SamplePath("chelsea.bmp")); }

Dib GrayOf(const Dib& c) {
  Dib g = MakeDib(c.width, c.height, 1);
  for (int y = 0; y < c.height; ++y)
    for (int x = 0; x < c.width; ++x) {
      const std::uint8_t* p = c.Row(y) + 3 * x;
      g.Row(y)[x] = std::uint8_t((p[0] * 29 + p[1] * 150 + p[2] * 77) >> 8);
    }
  return g;
}

std::vector<std::uint8_t> Store(const Dib& d, const std::string& path, int progressive,
                                int quality) {
  EXPECT_TRUE(StoreBitmap(const_cast<BYTE*>(d.bits.data()), CSize(d.width, d.height), path.c_str(),
                          progressive, d.bpp == 1, quality));
  return ReadBytes(path);
}

// The frame marker (0xC0 baseline, 0xC2 progressive) and the first component's sampling byte
// (0x11 full resolution, 0x22 for 4:2:0).
std::pair<int, int> Frame(const std::vector<std::uint8_t>& f) {
  for (std::size_t i = 2; i + 11 < f.size(); ++i)
    if (f[i] == 0xFF && (f[i + 1] == 0xC0 || f[i + 1] == 0xC2)) return {f[i + 1], f[i + 11]};
  return {-1, -1};
}

// Colour and grey: quality 100 reads back close to the source; progressive files decode to the
// baseline file's pixels.
TEST(StoreBitmap, RoundTripAndProgressive) {
  TempDir dir;
  for (const Dib& src : {Chelsea(), GrayOf(Chelsea())}) {
    SCOPED_TRACE(src.bpp == 1 ? "gray" : "colour");
    Store(src, dir.File("q100.jpg"), 0, 100);
    const Dib back = Ours(dir.File("q100.jpg"), 1, 1, src.bpp == 1);
    ASSERT_EQ(CSize(back.width, back.height), CSize(451, 300));
    int worst = 0;
    for (int y = 0; y < 300; ++y)
      for (int x = 0; x < 451 * src.bpp; ++x)
        worst = std::max(worst, std::abs(int(back.Row(y)[x]) - int(src.Row(y)[x])));
    EXPECT_LE(worst, src.bpp == 1 ? 2 : 4);
    if (src.bpp == 1) {  // a grey file read in colour repeats its grey in every channel
      const Dib colour = Ours(dir.File("q100.jpg"), 5, 8),
                gray = Ours(dir.File("q100.jpg"), 5, 8, 1);
      ASSERT_EQ(colour.width, gray.width);
      for (int y = 0; y < gray.height; ++y)
        for (int x = 0; x < 3 * gray.width; ++x) ASSERT_EQ(colour.Row(y)[x], gray.Row(y)[x / 3]);
    }

    EXPECT_EQ(Frame(Store(src, dir.File("base.jpg"), 0, 80)).first, 0xC0);
    EXPECT_EQ(Frame(Store(src, dir.File("prog.jpg"), 1, 80)).first, 0xC2);
    const Dib prog = Ours(dir.File("prog.jpg"), 3, 8, src.bpp == 1);
    ASSERT_EQ(prog.width, 451 * 3 / 8);
    EXPECT_EQ(prog.bits, Ours(dir.File("base.jpg"), 3, 8, src.bpp == 1).bits);
  }
}

TEST(StoreBitmap, QualityIsClampedAndZeroMeansDefault) {
  TempDir dir;
  const Dib src = Chelsea();
  auto file = [&](int q) { return Store(src, dir.File("q" + std::to_string(q) + ".jpg"), 0, q); };
  EXPECT_EQ(file(0), file(75));
  EXPECT_EQ(file(250), file(100));
  EXPECT_EQ(file(-4), file(1));
  EXPECT_EQ(Frame(file(90)).second, 0x11);
  EXPECT_EQ(Frame(file(89)).second, 0x22);
  EXPECT_EQ(Frame(Store(GrayOf(src), dir.File("g.jpg"), 0, 50)).second, 0x11);
}

TEST(StoreBitmap, FailsWithoutWritingOnBadArguments) {
  TempDir dir;
  Dib src = Chelsea();
  BYTE* bits = src.bits.data();
  const std::string path = dir.File("out.jpg");
  EXPECT_FALSE(StoreBitmap(nullptr, CSize(451, 300), path.c_str(), 0, 0, 75));
  EXPECT_FALSE(StoreBitmap(bits, CSize(0, 300), path.c_str(), 0, 0, 75));
  EXPECT_FALSE(StoreBitmap(bits, CSize(70000, 1), path.c_str(), 0, 0, 75));
  EXPECT_FALSE(StoreBitmap(bits, CSize(451, 300), nullptr, 0, 0, 75));
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_FALSE(StoreBitmap(bits, CSize(451, 300), dir.File("no/such/dir.jpg").c_str(), 0, 0, 75));
  EXPECT_FALSE(StoreBitmap(bits, CSize(451, 300), dir.path().c_str(), 0, 0, 75));
  if (std::filesystem::exists("/dev/full")) {
    EXPECT_FALSE(StoreBitmap(bits, CSize(451, 300), "/dev/full", 0, 0, 75));
  }
}

}  // namespace
}  // namespace vardell::test
