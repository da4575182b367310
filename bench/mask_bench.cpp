// Mask operations on a 4000 x 3000 mask with large regions, side by side with OpenCV where it is
// installed (a benchmark-only dependency; the library never links it). OpenCV runs on one
// thread, like the library. Each OpenCV twin is checked once against our result where the two
// define the same pixels, and the benchmark stops with an error if they differ.
#include "mask/mask.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#if defined(VARDELL_HAVE_OPENCV)
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int kWidth = 4000, kHeight = 3000;

// Large 0/255 regions: overlapping discs and bars on an empty background, which stays one
// connected region winding between them.
CMask& Source() {
  static CMask mask;
  if (!mask.IsValid()) {
    mask.CreateMask(kWidth, kHeight, 0);
    std::uint32_t seed = 12345;
    const auto next = [&](int n) {
      seed = seed * 1664525u + 1013904223u;
      return static_cast<int>((seed >> 8) % static_cast<std::uint32_t>(n));
    };
    for (int k = 0; k < 60; ++k) {
      const int cx = next(kWidth), cy = next(kHeight), r = 40 + next(260);
      for (int y = std::max(0, cy - r); y < std::min(kHeight, cy + r); ++y)
        for (int x = std::max(0, cx - r); x < std::min(kWidth, cx + r); ++x)
          if ((x - cx) * (x - cx) + (y - cy) * (y - cy) < r * r) *mask.GetPixel(x, y) = 255;
    }
    for (int k = 0; k < 30; ++k) {
      const int l = next(kWidth), t = next(kHeight);
      mask.Rectangle(CRect(l, t, l + 50 + next(500), t + 10 + next(60)), 255);
    }
    mask.Rectangle(CRect(0, 0, 8, 8), 0);  // the flood-fill seed lies in the background
  }
  return mask;
}

std::size_t Bytes(const CMask& m) {
  return static_cast<std::size_t>(m.GetDataWidth()) * static_cast<std::size_t>(m.Height());
}

void Reset(CMask& work) {
  CMask& src = Source();
  if (!work.IsValid()) work.CreateMask(kWidth, kHeight, 0);
  std::memcpy(work.GetBuffer(), src.GetBuffer(), Bytes(src));
}

void SetPixels(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kWidth * kHeight);
}

template <class Op>
void RunInPlace(benchmark::State& state, Op op) {
  CMask work;
  for (auto _ : state) {
    state.PauseTiming();
    Reset(work);
    state.ResumeTiming();
    op(work);
    benchmark::DoNotOptimize(work.GetBuffer());
  }
  SetPixels(state);
}

void BM_DilateHV(benchmark::State& state) {
  const int size = static_cast<int>(state.range(0));
  RunInPlace(state, [&](CMask& m) {
    m.DilateH(size);
    m.DilateV(size);
  });
}
BENCHMARK(BM_DilateHV)->Arg(3)->Arg(15)->Unit(benchmark::kMillisecond);

void BM_ErosionHV(benchmark::State& state) {
  const int size = static_cast<int>(state.range(0));
  RunInPlace(state, [&](CMask& m) {
    m.ErosionH(size);
    m.ErosionV(size);
  });
}
BENCHMARK(BM_ErosionHV)->Arg(3)->Arg(15)->Unit(benchmark::kMillisecond);

void BM_Soften(benchmark::State& state) {
  RunInPlace(state, [](CMask& m) { m.Soften(3); });
}
BENCHMARK(BM_Soften)->Unit(benchmark::kMillisecond);

void BM_EdgeDetect(benchmark::State& state) {
  RunInPlace(state, [](CMask& m) { m.EdgeDetect(); });
}
BENCHMARK(BM_EdgeDetect)->Unit(benchmark::kMillisecond);

void BM_FloodFill(benchmark::State& state) {
  int filled = 0;
  RunInPlace(state, [&](CMask& m) { filled = m.FloodFill(0, 0, 128); });
  state.counters["filled"] = filled;
}
BENCHMARK(BM_FloodFill)->Unit(benchmark::kMillisecond);

void BM_Draw(benchmark::State& state) {
  const int mode = static_cast<int>(state.range(0));
  CMask src, dst;
  Reset(src);
  Reset(dst);
  const CRect all(0, 0, kWidth, kHeight);
  for (auto _ : state) {
    if (mode <= 3)
      src.Draw(dst, all, all, mode);
    else
      src.DrawTransparent(dst, all, all, 100, mode == 5);
    benchmark::DoNotOptimize(dst.GetBuffer());
  }
  SetPixels(state);
}
// 0 copy, 1 or, 2 and, 3 remove, 4 transparent add, 5 transparent subtract.
BENCHMARK(BM_Draw)->DenseRange(0, 5)->Unit(benchmark::kMillisecond);

void BM_DrawScaled(benchmark::State& state) {
  CMask src, dst;
  Reset(dst);
  src.CreateMask(kWidth / 2, kHeight / 2, 0);
  Source().Draw(src, CRect(0, 0, kWidth / 2, kHeight / 2), CRect(0, 0, kWidth, kHeight), MASK_COPY);
  for (auto _ : state) {
    src.Draw(dst, CRect(0, 0, kWidth, kHeight), src.GetMaskRect(), MASK_COPY);
    benchmark::DoNotOptimize(dst.GetBuffer());
  }
  SetPixels(state);
}
BENCHMARK(BM_DrawScaled)->Unit(benchmark::kMillisecond);

#if defined(VARDELL_HAVE_OPENCV)

// The mask's rows as an OpenCV image, top row first (the DIB stores them bottom-up).
cv::Mat ToMat(CMask& m) {
  cv::Mat mat(m.Height(), m.Width(), CV_8UC1);
  for (int y = 0; y < m.Height(); ++y)
    std::memcpy(mat.ptr(y), m.GetPixel(0, y), static_cast<std::size_t>(m.Width()));
  return mat;
}

const cv::Mat& SourceMat() {
  static cv::Mat mat = ToMat(Source());
  return mat;
}

bool Same(CMask& m, const cv::Mat& mat) {
  for (int y = 0; y < m.Height(); ++y)
    if (std::memcmp(mat.ptr(y), m.GetPixel(0, y), static_cast<std::size_t>(m.Width())) != 0)
      return false;
  return true;
}

struct SingleThread {
  SingleThread() { cv::setNumThreads(1); }
} const g_singleThread;

void BM_OpenCV_Dilate(benchmark::State& state) {
  const int k = 2 * (static_cast<int>(state.range(0)) / 2) + 1;
  const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(k, k));
  cv::Mat out;
  for (auto _ : state) {
    cv::dilate(SourceMat(), out, element, cv::Point(-1, -1), 1, cv::BORDER_CONSTANT, cv::Scalar(0));
    benchmark::DoNotOptimize(out.data);
  }
  CMask check;
  Reset(check);
  check.DilateH(static_cast<int>(state.range(0)));
  check.DilateV(static_cast<int>(state.range(0)));
  if (!Same(check, out)) state.SkipWithError("results differ");
  SetPixels(state);
}
BENCHMARK(BM_OpenCV_Dilate)->Arg(3)->Arg(15)->Unit(benchmark::kMillisecond);

void BM_OpenCV_Erode(benchmark::State& state) {
  const int k = 2 * (static_cast<int>(state.range(0)) / 2) + 1;
  const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(k, k));
  cv::Mat out;
  for (auto _ : state) {
    // Pixels outside count as 0, as in the library.
    cv::erode(SourceMat(), out, element, cv::Point(-1, -1), 1, cv::BORDER_CONSTANT, cv::Scalar(0));
    benchmark::DoNotOptimize(out.data);
  }
  CMask check;
  Reset(check);
  check.ErosionH(static_cast<int>(state.range(0)));
  check.ErosionV(static_cast<int>(state.range(0)));
  if (!Same(check, out)) state.SkipWithError("results differ");
  SetPixels(state);
}
BENCHMARK(BM_OpenCV_Erode)->Arg(3)->Arg(15)->Unit(benchmark::kMillisecond);

// A 7 x 7 box with replicated edges; OpenCV rounds its average where the library truncates.
void BM_OpenCV_Blur(benchmark::State& state) {
  cv::Mat out;
  for (auto _ : state) {
    cv::blur(SourceMat(), out, cv::Size(7, 7), cv::Point(-1, -1), cv::BORDER_REPLICATE);
    benchmark::DoNotOptimize(out.data);
  }
  SetPixels(state);
}
BENCHMARK(BM_OpenCV_Blur)->Unit(benchmark::kMillisecond);

void BM_OpenCV_FloodFill(benchmark::State& state) {
  cv::Mat work;
  int filled = 0;
  for (auto _ : state) {
    state.PauseTiming();
    SourceMat().copyTo(work);
    state.ResumeTiming();
    filled = cv::floodFill(work, cv::Point(0, 0), cv::Scalar(128), nullptr, cv::Scalar(0),
                           cv::Scalar(0), 4);
    benchmark::DoNotOptimize(work.data);
  }
  CMask check;
  Reset(check);
  if (check.FloodFill(0, 0, 128) != filled || !Same(check, work))
    state.SkipWithError("results differ");
  state.counters["filled"] = filled;
  SetPixels(state);
}
BENCHMARK(BM_OpenCV_FloodFill)->Unit(benchmark::kMillisecond);

void BM_OpenCV_Draw(benchmark::State& state) {
  const int mode = static_cast<int>(state.range(0));
  cv::Mat src = SourceMat().clone(), dst = SourceMat().clone(), notSrc;
  for (auto _ : state) {
    switch (mode) {
      case 0: src.copyTo(dst); break;
      case 1: cv::bitwise_or(dst, src, dst); break;
      case 2: cv::bitwise_and(dst, src, dst); break;
      case 3:  // OpenCV has no and-not: two passes
        cv::bitwise_not(src, notSrc);
        cv::bitwise_and(dst, notSrc, dst);
        break;
      case 4: cv::scaleAdd(src, 100.0 / 255.0, dst, dst); break;
      default: cv::addWeighted(dst, 1.0, src, -100.0 / 255.0, 0.0, dst); break;
    }
    benchmark::DoNotOptimize(dst.data);
  }
  SetPixels(state);
}
BENCHMARK(BM_OpenCV_Draw)->DenseRange(0, 5)->Unit(benchmark::kMillisecond);

void BM_OpenCV_DrawScaled(benchmark::State& state) {
  cv::Mat half, dst;
  cv::resize(SourceMat(), half, cv::Size(kWidth / 2, kHeight / 2), 0, 0, cv::INTER_NEAREST);
  for (auto _ : state) {
    cv::resize(half, dst, cv::Size(kWidth, kHeight), 0, 0, cv::INTER_NEAREST);
    benchmark::DoNotOptimize(dst.data);
  }
  SetPixels(state);
}
BENCHMARK(BM_OpenCV_DrawScaled)->Unit(benchmark::kMillisecond);

#endif

}  // namespace
