// Points painted per second by each pen on a 4000 x 3000 picture, with footprints of 16, 64 and
// 256 pixels, one worker thread. Each iteration rewinds the pen (Reset) and paints a queued
// stroke of 200 points along the diagonal, so the thread start is shared by the 200 points.
#include "pens/pen_kinds.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;
constexpr int kPoints = 200;

// A soft round 64 x 64 style file, written once into the temporary folder.
const std::string& StylePath() {
  static const std::string path = [] {
    std::string p = "/tmp/vardell-pens-bench-" + std::to_string(getpid()) + ".bmp";
    CMask mask;
    mask.CreateMask(64, 64, 0);
    for (int y = 0; y < 64; ++y)
      for (int x = 0; x < 64; ++x) {
        const int d2 = (x - 32) * (x - 32) + (y - 32) * (y - 32);
        *mask.GetPixel(x, y) = d2 >= 1024 ? 0 : static_cast<BYTE>(255 - d2 / 4);
      }
    mask.StoreMask(p.c_str(), 0, 75);
    std::atexit([] { std::remove(StylePath().c_str()); });
    return p;
  }();
  return path;
}

template <class Pen>
void BM_Pen(benchmark::State& state) {
  const UINT size = static_cast<UINT>(state.range(0));
  CPicture picture, source;
  picture.CreatePicture(kWidth, kHeight, 0);
  for (int y = 0; y < kHeight; ++y) {
    BYTE* row = picture.GetLineBuffer(y);
    for (int x = 0; x < kWidth * 3; ++x) row[x] = static_cast<BYTE>(x * 7 + y * 3);
  }
  picture.Duplicate(source);
  CMask mask;
  mask.CreateMask(kWidth, kHeight, 128);
  Pen pen;
  pen.SetPictures(&picture, &source, &mask);
  pen.SetPenStyle(StylePath().c_str(), RGB(200, 40, 40), size);
  if constexpr (std::is_same_v<Pen, CModifyPen>) pen.SetMode(1, 20);
  if constexpr (std::is_same_v<Pen, CDoublePen>) pen.SetPoints(CPoint(600, 300), CPoint(300, 300));
  const bool marks = std::is_same_v<Pen, CFingerPen> || std::is_same_v<Pen, CModifyPen>;
  for (int i = 0; i < kPoints; ++i) {
    CPoint pt(300 + i * 15, 300 + i * 11);
    if (marks && i == 0) pt.Offset(16384, 16384);
    pen.AddPoint(pt, 200);
  }
  for (auto _ : state) {
    pen.Reset();
    if (!pen.Execute()) {
      state.SkipWithError("the pen cannot execute");
      break;
    }
    pen.Wait();
  }
  state.counters["points/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kPoints,
                                                  benchmark::Counter::kIsRate);
}

#define PEN_BENCH(Pen) BENCHMARK_TEMPLATE(BM_Pen, Pen)->Arg(16)->Arg(64)->Arg(256)->UseRealTime()

PEN_BENCH(CWaterPen);
PEN_BENCH(CSoftenPen);
PEN_BENCH(CFingerPen);
PEN_BENCH(CMaskPen);
PEN_BENCH(CMaskSoftenPen);
PEN_BENCH(CModifyPen);
PEN_BENCH(CDoublePen);
PEN_BENCH(CUndoPen);

}  // namespace
