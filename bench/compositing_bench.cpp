// Compositing speed on a 12-megapixel picture (4000 x 3000), one thread, side by side with
// OpenCV's equivalents: the uniform blend (table and MMX variant) against addWeighted, the masked
// blend against the usual 8-bit OpenCV composition (mask to three channels, two scaled products,
// a sum), the scaled copy at x2, x0.5 and x0.73 against resize with nearest neighbour, and the
// rotated draw at 30 degrees against warpAffine with nearest neighbour. A plain read-and-write
// pass over the picture's bytes is the machine's copy floor the blends are compared with.
#include "mask/mask.h"
#include "picture/mmx_switch.h"
#include "picture/picture.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#ifdef VARDELL_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;

void FillPattern(BYTE* p, std::size_t n, unsigned seed) {
  std::uint32_t v = seed;
  for (std::size_t i = 0; i < n; ++i) {
    v = v * 1664525u + 1013904223u;
    p[i] = static_cast<BYTE>(v >> 24);
  }
}

// Source, target and mask, made once.
struct Inputs {
  CPicture source, target;
  CMask mask;
  Inputs() {
    source.CreatePicture(kWidth, kHeight, 0);
    target.CreatePicture(kWidth, kHeight, 0);
    FillPattern(source.GetBuffer(), static_cast<std::size_t>(source.GetDataSize()), 1);
    FillPattern(target.GetBuffer(), static_cast<std::size_t>(target.GetDataSize()), 2);
    // A soft selection: a horizontal ramp.
    mask.CreateMask(kWidth, kHeight, 0);
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x) *mask.GetPixel(x, y) = static_cast<BYTE>(x * 255 / kWidth);
  }
};

Inputs& In() {
  static Inputs inputs;
  return inputs;
}

const CRect kAll(0, 0, kWidth, kHeight);

void Bytes(benchmark::State& state, std::int64_t bytes) {
  state.SetBytesProcessed(state.iterations() * bytes);
}
const std::int64_t kPictureBytes = std::int64_t{kWidth} * 3 * kHeight;

// The floor: one read and one write of every byte of a picture.
void BM_CopyFloor(benchmark::State& state) {
  Inputs& in = In();
  for (auto _ : state) {
    std::memcpy(in.target.GetBuffer(), in.source.GetBuffer(),
                static_cast<std::size_t>(in.source.GetDataSize()));
    benchmark::ClobberMemory();
  }
  Bytes(state, kPictureBytes);
}

void BM_BlendTable(benchmark::State& state) {
  Inputs& in = In();
  EnableMMX(0);
  for (auto _ : state) in.source.DrawTransparent(in.target, kAll, kAll, 128, 1);
  Bytes(state, kPictureBytes);
}

void BM_BlendMmx(benchmark::State& state) {
  Inputs& in = In();
  EnableMMX(1);
  for (auto _ : state) in.source.DrawTransparent(in.target, kAll, kAll, 128, 1);
  EnableMMX(0);
  Bytes(state, kPictureBytes);
}

void BM_MaskedBlendTable(benchmark::State& state) {
  Inputs& in = In();
  EnableMMX(0);
  for (auto _ : state)
    in.source.DrawTransparent(in.target, kAll, kAll, in.mask, kAll, 255, 0, 0, CRect());
  Bytes(state, kPictureBytes);
}

void BM_MaskedBlendMmx(benchmark::State& state) {
  Inputs& in = In();
  EnableMMX(1);
  for (auto _ : state)
    in.source.DrawTransparent(in.target, kAll, kAll, in.mask, kAll, 255, 0, 0, CRect());
  EnableMMX(0);
  Bytes(state, kPictureBytes);
}

// Scale factor in per cent of the source: 200, 50 or 73.
void BM_ScaledDraw(benchmark::State& state) {
  Inputs& in = In();
  const int w = static_cast<int>(kWidth * state.range(0) / 100);
  const int h = static_cast<int>(kHeight * state.range(0) / 100);
  CPicture out;
  out.CreatePicture(w, h, 0);
  for (auto _ : state) in.source.Draw(out, CRect(0, 0, w, h), kAll);
  Bytes(state, std::int64_t{w} * 3 * h);
}

void BM_DrawRotate30(benchmark::State& state) {
  Inputs& in = In();
  for (auto _ : state) in.source.DrawRotate(in.target, kAll, 30.0, kAll, 0.0);
  Bytes(state, kPictureBytes);
}

BENCHMARK(BM_CopyFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BlendTable)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BlendMmx)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MaskedBlendTable)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MaskedBlendMmx)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScaledDraw)->Arg(200)->Arg(50)->Arg(73)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DrawRotate30)->Unit(benchmark::kMillisecond);

#ifdef VARDELL_HAVE_OPENCV

// The same pixels as OpenCV images (top-down rows; the order does not matter for speed).
struct CvInputs {
  cv::Mat source, target, mask;
  CvInputs() {
    cv::setNumThreads(1);
    source.create(kHeight, kWidth, CV_8UC3);
    target.create(kHeight, kWidth, CV_8UC3);
    mask.create(kHeight, kWidth, CV_8UC1);
    FillPattern(source.data, source.total() * 3, 1);
    FillPattern(target.data, target.total() * 3, 2);
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x) mask.at<BYTE>(y, x) = static_cast<BYTE>(x * 255 / kWidth);
  }
};

CvInputs& Cv() {
  static CvInputs inputs;
  return inputs;
}

void BM_CvAddWeighted(benchmark::State& state) {
  CvInputs& in = Cv();
  for (auto _ : state)
    cv::addWeighted(in.source, 128 / 255.0, in.target, 127 / 255.0, 0, in.target);
  Bytes(state, kPictureBytes);
}

// The usual masked composition in 8 bits: out = src * m / 255 + dst * (255 - m) / 255.
void BM_CvMaskedBlend(benchmark::State& state) {
  CvInputs& in = Cv();
  cv::Mat m3, inverse, a, b;
  for (auto _ : state) {
    cv::Mat planes[] = {in.mask, in.mask, in.mask};
    cv::merge(planes, 3, m3);
    cv::subtract(cv::Scalar::all(255), m3, inverse);
    cv::multiply(in.source, m3, a, 1 / 255.0);
    cv::multiply(in.target, inverse, b, 1 / 255.0);
    cv::add(a, b, in.target);
  }
  Bytes(state, kPictureBytes);
}

void BM_CvResizeNearest(benchmark::State& state) {
  CvInputs& in = Cv();
  const int w = static_cast<int>(kWidth * state.range(0) / 100);
  const int h = static_cast<int>(kHeight * state.range(0) / 100);
  cv::Mat out(h, w, CV_8UC3);
  for (auto _ : state) cv::resize(in.source, out, out.size(), 0, 0, cv::INTER_NEAREST);
  Bytes(state, std::int64_t{w} * 3 * h);
}

void BM_CvWarpAffine30(benchmark::State& state) {
  CvInputs& in = Cv();
  const cv::Mat turn = cv::getRotationMatrix2D(cv::Point2f(kWidth / 2.0f, kHeight / 2.0f), -30, 1);
  for (auto _ : state)
    cv::warpAffine(in.source, in.target, turn, in.target.size(), cv::INTER_NEAREST,
                   cv::BORDER_TRANSPARENT);
  Bytes(state, kPictureBytes);
}

BENCHMARK(BM_CvAddWeighted)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CvMaskedBlend)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CvResizeNearest)->Arg(200)->Arg(50)->Arg(73)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CvWarpAffine30)->Unit(benchmark::kMillisecond);

#endif

}  // namespace
