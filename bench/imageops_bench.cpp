// Speed of the image operations on a 12-megapixel picture (4000 x 3000, a photograph tiled with
// mirroring), one thread, side by side with the OpenCV function a user would otherwise call.
// Our operations work in place, so each iteration starts from a fresh copy of the picture (the
// copy is not timed); OpenCV's read a fresh copy too and write into a separate destination. The
// results are not the same arithmetic (OpenCV rounds where the library truncates, and its HSV model
// differs); the pairs compare the cost of the same kind of work.
#include "mask/mask.h"
#include "picture/mmx_switch.h"
#include "picture/picture.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#if VARDELL_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;

// The tiled photograph, built once.
const CPicture& Source() {
  static const CPicture* picture = [] {
    CPicture tile;
    if (!tile.LoadPicture((std::string(VARDELL_SAMPLES_DIR) + "/coffee.jpg").c_str()))
      tile.CreatePicture(64, 64, 128);
    auto* p = new CPicture;
    p->CreatePicture(kWidth, kHeight, 0);
    const int tw = tile.Width(), th = tile.Height();
    for (int y = 0; y < kHeight; ++y) {
      const int ty = (y / th) % 2 == 0 ? y % th : th - 1 - y % th;
      BYTE* dst = p->GetLineBuffer(y);
      const BYTE* src = tile.GetLineBuffer(ty);
      for (int x = 0; x < kWidth; ++x) {
        const int tx = (x / tw) % 2 == 0 ? x % tw : tw - 1 - x % tw;
        std::memcpy(dst + 3 * x, src + 3 * tx, 3);
      }
    }
    return p;
  }();
  return *picture;
}

// A fresh copy of the source before each timed call of op.
template <class Op>
void RunOnCopy(benchmark::State& state, Op op) {
  CPicture p;
  Source().Duplicate(p);
  for (auto _ : state) {
    state.PauseTiming();
    std::memcpy(p.GetBuffer(), Source().GetBuffer(), static_cast<std::size_t>(p.GetDataSize()));
    state.ResumeTiming();
    if (!op(p)) state.SkipWithError("operation failed");
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}

void BM_Soften(benchmark::State& state) {
  EnableMMX(0);
  const int r = static_cast<int>(state.range(0));
  RunOnCopy(state, [r](CPicture& p) { return p.Soften(r); });
}
BENCHMARK(BM_Soften)->Arg(1)->Arg(2)->Arg(3)->Arg(8)->Arg(32)->Unit(benchmark::kMillisecond);

void BM_SoftenMMX(benchmark::State& state) {
  const int r = static_cast<int>(state.range(0));
  RunOnCopy(state, [r](CPicture& p) { return p.SoftenMMX(r); });
}
BENCHMARK(BM_SoftenMMX)->Arg(1)->Arg(2)->Arg(3)->Arg(8)->Arg(32)->Unit(benchmark::kMillisecond);

void BM_Sharpen(benchmark::State& state) {
  RunOnCopy(state, [](CPicture& p) { return p.Sharpen(8); });
}
BENCHMARK(BM_Sharpen)->Unit(benchmark::kMillisecond);

void BM_Transform(benchmark::State& state) {
  BYTE r[256], g[256], b[256];
  for (int i = 0; i < 256; ++i) {
    r[i] = static_cast<BYTE>(255 - i);
    g[i] = static_cast<BYTE>(i * i / 255);
    b[i] = static_cast<BYTE>(i / 2 + 64);
  }
  RunOnCopy(state, [&](CPicture& p) { return p.Transform(r, g, b); });
}
BENCHMARK(BM_Transform)->Unit(benchmark::kMillisecond);

void BM_Brightness(benchmark::State& state) {
  EnableMMX(0);
  RunOnCopy(state, [](CPicture& p) { return p.Brightness(40); });
}
BENCHMARK(BM_Brightness)->Unit(benchmark::kMillisecond);

void BM_AdjustColorsMMX(benchmark::State& state) {
  EnableMMX(1);
  RunOnCopy(state, [](CPicture& p) { return p.AdjustColors(40, -20, 10); });
  EnableMMX(0);
}
BENCHMARK(BM_AdjustColorsMMX)->Unit(benchmark::kMillisecond);

void BM_Contrast(benchmark::State& state) {
  RunOnCopy(state, [](CPicture& p) { return p.Contrast(30); });
}
BENCHMARK(BM_Contrast)->Unit(benchmark::kMillisecond);

void BM_Hue(benchmark::State& state) {
  RunOnCopy(state, [](CPicture& p) { return p.Hue(40); });
}
BENCHMARK(BM_Hue)->Unit(benchmark::kMillisecond);

void BM_HueSaturate(benchmark::State& state) {
  RunOnCopy(state, [](CPicture& p) { return p.HueSaturate(40, 20); });
}
BENCHMARK(BM_HueSaturate)->Unit(benchmark::kMillisecond);

void BM_Saturate(benchmark::State& state) {
  RunOnCopy(state, [](CPicture& p) { return p.Saturate(20); });
}
BENCHMARK(BM_Saturate)->Unit(benchmark::kMillisecond);

void BM_ConvertToGray(benchmark::State& state) {
  RunOnCopy(state, [](CPicture& p) { return p.ConvertToGray(); });
}
BENCHMARK(BM_ConvertToGray)->Unit(benchmark::kMillisecond);

// One byte a pixel into a mask, like cvtColor to gray; the mask is made anew by each call.
void BM_ConvertToGrayMask(benchmark::State& state) {
  CMask mask;
  RunOnCopy(state, [&](CPicture& p) { return p.ConvertToGray(&mask); });
}
BENCHMARK(BM_ConvertToGrayMask)->Unit(benchmark::kMillisecond);

void BM_GrayBalance(benchmark::State& state) {
  RunOnCopy(state, [](CPicture& p) {
    return p.GrayBalance(10, 240, 1.4, 0, 255, 0.8, 5, 250, 1.0, 0, 255, 10, 245, 0, 255);
  });
}
BENCHMARK(BM_GrayBalance)->Unit(benchmark::kMillisecond);

void BM_DrawLight(benchmark::State& state) {
  RunOnCopy(state, [](CPicture& p) {
    return p.DrawLight(CPoint(1200, 900), CPoint(2000, 1500), 1500, 800, RGB(255, 240, 200), 80,
                       35);
  });
}
BENCHMARK(BM_DrawLight)->Unit(benchmark::kMillisecond);

#if VARDELL_HAVE_OPENCV

// The source as an OpenCV matrix (top row first, like cv's own images).
const cv::Mat& SourceMat() {
  static const cv::Mat mat = [] {
    cv::setNumThreads(1);
    cv::Mat m(kHeight, kWidth, CV_8UC3);
    for (int y = 0; y < kHeight; ++y)
      std::memcpy(m.ptr(y), Source().GetLineBuffer(y), 3 * static_cast<std::size_t>(kWidth));
    return m;
  }();
  return mat;
}

// Like RunOnCopy: the input is a fresh copy made just before each timed call, so both sides
// start with the same cache state; OpenCV then writes into a separate destination.
template <class Op>
void RunCv(benchmark::State& state, Op op) {
  cv::Mat in = SourceMat().clone(), dst;
  op(in, dst);
  for (auto _ : state) {
    state.PauseTiming();
    SourceMat().copyTo(in);
    state.ResumeTiming();
    op(in, dst);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}

void BM_CvBlur(benchmark::State& state) {
  const int k = 2 * static_cast<int>(state.range(0)) + 1;
  RunCv(state, [k](const cv::Mat& s, cv::Mat& d) {
    cv::blur(s, d, cv::Size(k, k), cv::Point(-1, -1), cv::BORDER_REPLICATE);
  });
}
BENCHMARK(BM_CvBlur)->Arg(1)->Arg(2)->Arg(3)->Arg(8)->Arg(32)->Unit(benchmark::kMillisecond);

void BM_CvFilter2D(benchmark::State& state) {
  // Centre 1 + 8 * 8 / 16, neighbours -8 / 16: Sharpen(8)'s kernel.
  cv::Mat kernel(3, 3, CV_32F, cv::Scalar(-0.5f));
  kernel.at<float>(1, 1) = 5.0f;
  RunCv(state, [&](const cv::Mat& s, cv::Mat& d) { cv::filter2D(s, d, -1, kernel); });
}
BENCHMARK(BM_CvFilter2D)->Unit(benchmark::kMillisecond);

void BM_CvLut(benchmark::State& state) {
  cv::Mat lut(1, 256, CV_8UC3);
  for (int i = 0; i < 256; ++i)
    lut.at<cv::Vec3b>(0, i) =
        cv::Vec3b(static_cast<uchar>(i / 2 + 64), static_cast<uchar>(i * i / 255),
                  static_cast<uchar>(255 - i));
  RunCv(state, [&](const cv::Mat& s, cv::Mat& d) { cv::LUT(s, lut, d); });
}
BENCHMARK(BM_CvLut)->Unit(benchmark::kMillisecond);

void BM_CvConvertTo(benchmark::State& state) {
  RunCv(state, [](const cv::Mat& s, cv::Mat& d) { s.convertTo(d, -1, 1.0, 40.0); });
}
BENCHMARK(BM_CvConvertTo)->Unit(benchmark::kMillisecond);

void BM_CvHsvRoundTrip(benchmark::State& state) {
  cv::Mat hsv;
  RunCv(state, [&](const cv::Mat& s, cv::Mat& d) {
    cv::cvtColor(s, hsv, cv::COLOR_BGR2HSV_FULL);
    cv::cvtColor(hsv, d, cv::COLOR_HSV2BGR_FULL);
  });
}
BENCHMARK(BM_CvHsvRoundTrip)->Unit(benchmark::kMillisecond);

void BM_CvGray(benchmark::State& state) {
  RunCv(state, [](const cv::Mat& s, cv::Mat& d) { cv::cvtColor(s, d, cv::COLOR_BGR2GRAY); });
}
BENCHMARK(BM_CvGray)->Unit(benchmark::kMillisecond);

// The same into a destination allocated by each call, as ConvertToGray(CMask*) makes its mask.
void BM_CvGrayNewDestination(benchmark::State& state) {
  RunCv(state, [](const cv::Mat& s, cv::Mat& d) {
    d.release();
    cv::cvtColor(s, d, cv::COLOR_BGR2GRAY);
  });
}
BENCHMARK(BM_CvGrayNewDestination)->Unit(benchmark::kMillisecond);

#endif

}  // namespace
