// Outline tracing of 4000 x 3000 masks, one with a few large regions (holes and islands inside)
// and one with many small ones, side by side with OpenCV's findContours (RETR_CCOMP,
// CHAIN_APPROX_SIMPLE: outer boundaries and holes, straight runs reduced to their ends) where it
// is installed. OpenCV runs on one thread, like the library. The tracer repaints the regions it
// finds, so each iteration of both starts from a fresh copy of the mask, made outside the timing.
// OpenCV joins diagonal neighbours (8-connected regions) where the tracer does not, hence the
// slightly different polygon counts.
#include "mask/mask.h"
#include "mask/region_outline.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#if defined(VARDELL_HAVE_OPENCV)
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int kWidth = 4000, kHeight = 3000;

struct Lcg {
  std::uint32_t seed;
  int operator()(int n) {
    seed = seed * 1664525u + 1013904223u;
    return static_cast<int>((seed >> 8) % static_cast<std::uint32_t>(n));
  }
};

// Pixels with inner² <= d² < outer² around (cx, cy) become value.
void Disc(CMask& m, int cx, int cy, int outer, int inner, BYTE value) {
  for (int y = std::max(0, cy - outer); y < std::min(kHeight, cy + outer); ++y)
    for (int x = std::max(0, cx - outer); x < std::min(kWidth, cx + outer); ++x) {
      const int d = (x - cx) * (x - cx) + (y - cy) * (y - cy);
      if (d < outer * outer && d >= inner * inner) *m.GetPixel(x, y) = value;
    }
}

CMask& Large() {
  static CMask mask;
  if (!mask.IsValid()) {
    mask.CreateMask(kWidth, kHeight, 0);
    Lcg next{2024};
    for (int k = 0; k < 12; ++k) {
      const int cx = next(kWidth), cy = next(kHeight), r = 200 + next(400);
      Disc(mask, cx, cy, r, 0, 255);
      Disc(mask, cx, cy, r / 2, 0, 0);    // a hole
      Disc(mask, cx, cy, r / 5, 0, 255);  // an island inside it
    }
    for (int k = 0; k < 8; ++k) {
      const int l = next(kWidth), t = next(kHeight);
      mask.Rectangle(CRect(l, t, l + 100 + next(900), t + 20 + next(200)), 255);
    }
  }
  return mask;
}

CMask& Small() {
  static CMask mask;
  if (!mask.IsValid()) {
    mask.CreateMask(kWidth, kHeight, 0);
    Lcg next{77};
    for (int k = 0; k < 40000; ++k) Disc(mask, next(kWidth), next(kHeight), 1 + next(6), 0, 255);
  }
  return mask;
}

CMask& Source(int which) { return which == 0 ? Large() : Small(); }

void BM_GetMaskOutline(benchmark::State& state) {
  CMask& src = Source(static_cast<int>(state.range(0)));
  const std::size_t bytes =
      static_cast<std::size_t>(src.GetDataWidth()) * static_cast<std::size_t>(src.Height());
  CMask work;
  work.CreateMask(kWidth, kHeight, 0);
  CRegionOutline outline;
  for (auto _ : state) {
    state.PauseTiming();
    std::memcpy(work.GetBuffer(), src.GetBuffer(), bytes);
    state.ResumeTiming();
    if (!outline.GetMaskOutline(work)) state.SkipWithError("no outline");
    benchmark::DoNotOptimize(outline.m_vertices.GetData());
  }
  state.counters["polygons"] = outline.m_groupSizes.GetSize();
  state.counters["vertices"] = outline.m_vertices.GetSize();
  outline.OptimizeOutline();
  state.counters["optimized"] = outline.m_vertices.GetSize();
}
// 0: a few large regions, 1: many small ones.
BENCHMARK(BM_GetMaskOutline)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

#if defined(VARDELL_HAVE_OPENCV)

struct SingleThread {
  SingleThread() { cv::setNumThreads(1); }
} const g_singleThread;

void BM_OpenCV_FindContours(benchmark::State& state) {
  CMask& src = Source(static_cast<int>(state.range(0)));
  cv::Mat top(kHeight, kWidth, CV_8UC1), mat(kHeight, kWidth, CV_8UC1);
  for (int y = 0; y < kHeight; ++y)
    std::memcpy(top.ptr(y), src.GetPixel(0, y), static_cast<std::size_t>(kWidth));
  std::vector<std::vector<cv::Point>> contours;
  std::vector<cv::Vec4i> hierarchy;
  for (auto _ : state) {
    // The same fresh copy as the tracer gets, so both start with the mask equally far from the
    // processor's caches.
    state.PauseTiming();
    std::memcpy(mat.data, top.data, top.total());
    state.ResumeTiming();
    cv::findContours(mat, contours, hierarchy, cv::RETR_CCOMP, cv::CHAIN_APPROX_SIMPLE);
    benchmark::DoNotOptimize(contours.data());
  }
  std::size_t points = 0;
  for (const auto& c : contours) points += c.size();
  state.counters["polygons"] = static_cast<double>(contours.size());
  state.counters["vertices"] = static_cast<double>(points);
}
BENCHMARK(BM_OpenCV_FindContours)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

#endif

}  // namespace
