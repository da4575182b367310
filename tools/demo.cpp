// `vardell demo`: runs the library's main jobs on the bundled sample pictures and writes the
// results into a folder, printing one line for each thing it did.
#include "tools/commands.h"

#include "effects/effects.h"
#include "hostutil/messages.h"
#include "mask/mask.h"
#include "pens/pen_kinds.h"
#include "picture/picture.h"
#include "platform/region.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace vardell::tool {
namespace {

namespace fs = std::filesystem;

struct DemoContext {
  fs::path samples;
  fs::path out;
  int failures = 0;

  std::string In(const char* name) const { return (samples / name).string(); }
  std::string Out(const std::string& name) const { return (out / name).string(); }
  void Check(bool ok, const std::string& what) {
    std::printf("  %-6s %s\n", ok ? "ok" : "FAILED", what.c_str());
    if (!ok) ++failures;
  }
};

std::string SizeText(const CPicture& p) {
  return std::to_string(p.Width()) + " x " + std::to_string(p.Height());
}

// Pictures: load each sample at full size and reduced, store BMP and JPEG copies.
void DemoPictureFiles(DemoContext& demo) {
  std::printf("Pictures: loading and storing\n");
  for (const char* name : {"coffee.jpg", "astronaut.jpg", "chelsea.bmp"}) {
    std::string stem = fs::path(name).stem().string();
    CPicture full;
    bool ok = full.LoadPicture(demo.In(name).c_str());
    demo.Check(ok, std::string("load ") + name + (ok ? " (" + SizeText(full) + ")" : ""));
    if (!ok) continue;
    demo.Check(full.StorePicture(demo.Out(stem + ".bmp").c_str(), FALSE, 0, 0),
               "store " + stem + ".bmp (24-bit bitmap)");
    demo.Check(full.StorePicture(demo.Out(stem + "-q85.jpg").c_str(), TRUE, 0, 85),
               "store " + stem + "-q85.jpg (JPEG, quality 85)");

    CPicture back;
    bool same =
        back.LoadPicture(demo.Out(stem + ".bmp").c_str()) &&
        back.GetPictureSize() == full.GetPictureSize() &&
        std::equal(full.GetBuffer(), full.GetBuffer() + full.GetDataSize(), back.GetBuffer());
    demo.Check(same, "read " + stem + ".bmp back: identical pixels");

    for (int den : {2, 4}) {
      CPicture reduced;
      bool r = reduced.LoadPicture(demo.In(name).c_str(), 1, den);
      std::string out = stem + "-1of" + std::to_string(den) + ".bmp";
      demo.Check(r && reduced.StorePicture(demo.Out(out).c_str(), FALSE, 0, 0),
                 "load " + std::string(name) + " at 1/" + std::to_string(den) +
                     (r ? " (" + SizeText(reduced) + ")" : "") + ", store " + out);
    }
  }
}

// Pictures: creation, fills and the checkerboard pane.
void DemoPictureFills(DemoContext& demo) {
  std::printf("Pictures: creating and filling\n");
  CPicture pane;
  bool ok = pane.CreatePicture(320, 240, 255) &&
            pane.PaneFill(CRect(0, 0, 320, 240), 16, RGB(204, 204, 204), RGB(255, 255, 255)) &&
            pane.ClearPicture(CRect(40, 40, 120, 100), RGB(200, 30, 30)) &&
            pane.ClearPicture(CRect(200, 140, 280, 200), RGB(30, 60, 200));
  demo.Check(ok && pane.StorePicture(demo.Out("pane.bmp").c_str(), FALSE, 0, 0),
             "checkerboard 320 x 240 with two filled rectangles, store pane.bmp");
}

// Effects: a colour adjustment through a soft elliptical mask, a softening, a light and a gray
// balance, each run on a worker thread; the list saved as a document and replayed on the picture
// again and on a half-size copy.
void DemoEffects(DemoContext& demo) {
  std::printf("Effects: running, recording and replaying\n");
  CPicture picture;
  if (!picture.LoadPicture(demo.In("coffee.jpg").c_str())) {
    demo.Check(false, "load coffee.jpg");
    return;
  }
  CPicture original;
  picture.Duplicate(original);
  const int w = picture.Width(), h = picture.Height();

  CMask mask;
  CRgn ellipse;
  bool ok = mask.CreateMask(w, h, 0) &&
            ellipse.CreateEllipticRgn(w / 5, h / 6, w * 4 / 5, h * 5 / 6) &&
            mask.FillRegion(&ellipse, 255) && mask.Soften(std::max(2, w / 30)) &&
            mask.StoreMask(demo.Out("effects-mask.bmp").c_str(), 0, 75);
  demo.Check(ok, "soft elliptical mask " + std::to_string(w) + " x " + std::to_string(h) +
                     ", store effects-mask.bmp");

  auto* adjust = new CColorAdjust;
  adjust->m_nHue = 150;
  adjust->m_nSaturation = 40;
  adjust->m_nBrightness = 10;
  adjust->SetMask(mask);
  auto* soften = new CSoften;
  soften->m_wRadius = 2;
  auto* light = new CLight;
  light->SetLightParams(CPoint(w / 10, h / 10), CPoint(w * 2 / 5, h * 2 / 5), w / 2, h / 2,
                        RGB(255, 230, 180), 35, 35);
  auto* balance = new CGrayBalance;
  balance->SetCurve(CGrayBalance::master, 12, 240, 0.85, 0, 255);
  CMultiEffects list;
  const std::pair<CEffectObj*, const char*> steps[] = {
      {adjust, "colour adjustment (hue 150, saturation 40) through the mask"},
      {soften, "soften, radius 2"},
      {light, "light from the upper left"},
      {balance, "gray balance 12..240, exponent 0.85"}};
  int n = 0;
  for (const auto& [effect, what] : steps) {
    list.AddEffect(effect);
    effect->SetPictures(&picture, nullptr, nullptr);
    // The light's points are on this picture: its size is the paper the points are scaled from.
    if (effect == light) light->SetPaperSize();
    const std::string out = "effects-" + std::to_string(++n) + ".bmp";
    ok = effect->Execute() && effect->Wait() &&
         picture.StorePicture(demo.Out(out).c_str(), FALSE, 0, 0);
    demo.Check(ok, std::string(what) + " on a worker thread, store " + out);
  }

  const std::string doc = demo.Out("effects.vfx");
  ok = StoreEffect(doc.c_str(), &list);
  demo.Check(ok, "save the four effects as effects.vfx (" +
                     std::to_string(ok ? fs::file_size(doc) : 0) + " bytes, mask included)");
  std::unique_ptr<CEffectObj> replay(LoadEffect(doc.c_str()));
  demo.Check(replay != nullptr, "load effects.vfx back");
  if (!replay) return;

  CPicture again;
  original.Duplicate(again);
  replay->SetPictures(&again, nullptr, nullptr);
  ok = replay->Execute() && replay->Wait() &&
       std::equal(picture.GetBuffer(), picture.GetBuffer() + picture.GetDataSize(),
                  again.GetBuffer());
  demo.Check(ok, "replay effects.vfx on the original: identical pixels");

  CPicture half;
  ok = half.CreatePicture(w / 2, h / 2, 0) &&
       original.Draw(half, half.GetPictureRect(), original.GetPictureRect());
  replay->SetPictures(&half, nullptr, nullptr);
  ok = ok && replay->Execute() && replay->Wait() &&
       half.StorePicture(demo.Out("effects-replay-half.bmp").c_str(), FALSE, 0, 0);
  demo.Check(ok, "replay effects.vfx on a half-size copy (" + SizeText(half) +
                     "), store effects-replay-half.bmp");
}

// Pens: strokes queued point by point and painted on each pen's worker thread.
void DemoPens(DemoContext& demo) {
  std::printf("Pens: painting strokes\n");
  CPicture picture;
  if (!picture.LoadPicture(demo.In("astronaut.jpg").c_str())) {
    demo.Check(false, "load astronaut.jpg");
    return;
  }
  CPicture original;
  picture.Duplicate(original);
  const int w = picture.Width(), h = picture.Height();

  // A soft round brush, 32 x 32.
  CMask brush;
  CRgn round;
  const std::string style = demo.Out("pen-style.bmp");
  bool ok = brush.CreateMask(32, 32, 0) && round.CreateEllipticRgn(2, 2, 30, 30) &&
            brush.FillRegion(&round, 255) && brush.Soften(3) &&
            brush.StoreMask(style.c_str(), 0, 75);
  demo.Check(ok, "soft round pen style 32 x 32, store pen-style.bmp");
  if (!ok) return;

  CWnd display;
  display.CreateMessageWindow();
  // A line of points from (x0, y0) to (x1, y1), three pixels apart; the first may carry the
  // stroke-start mark.
  auto stroke = [](CPenObject& pen, CPoint from, CPoint to, BYTE pressure, bool mark) {
    const int steps = std::max(std::abs(to.x - from.x), std::abs(to.y - from.y)) / 3 + 1;
    for (int i = 0; i <= steps; ++i) {
      CPoint pt(from.x + (to.x - from.x) * i / steps, from.y + (to.y - from.y) * i / steps);
      if (mark && i == 0) pt.Offset(16384, 16384);
      pen.AddPoint(pt, pressure);
    }
  };
  auto paint = [&](CPenObject& pen, const char* out, const std::string& what) {
    pen.SetPictures(&picture, &original, nullptr);
    pen.SetDisplay(&display, WM_USER + 1);
    pen.SetPaperSize();
    bool done =
        pen.Execute() && pen.Wait() && picture.StorePicture(demo.Out(out).c_str(), FALSE, 0, 0);
    demo.Check(done, what + " (" + std::to_string(pen.m_Points.GetSize()) + " points, " +
                         std::to_string(display.GetPostedMessageCount()) +
                         " squares posted), store " + out);
    MSG msg;
    while (display.PeekPostedMessage(msg)) {
    }
  };

  CWaterPen water;
  water.SetPenStyle(style.c_str(), RGB(230, 40, 40), 24);
  stroke(water, CPoint(w / 8, h / 8), CPoint(w * 7 / 8, h / 4), 220, false);
  paint(water, "pens-1-water.bmp", "red water-colour stroke");

  CSoftenPen soften;
  soften.SetPenStyle(style.c_str(), 0, 40);
  stroke(soften, CPoint(w / 4, h / 2), CPoint(w * 3 / 4, h / 2), 255, false);
  paint(soften, "pens-2-soften.bmp", "soften stroke across the middle");

  CFingerPen finger;
  finger.SetPenStyle(style.c_str(), 0, 28);
  stroke(finger, CPoint(w / 3, h / 4 - 10), CPoint(w / 3, h * 2 / 3), 180, true);
  paint(finger, "pens-3-finger.bmp", "finger smudge dragging the red stroke down");

  CDoublePen clone;
  clone.SetPenStyle(style.c_str(), 0, 36);
  clone.SetPoints(CPoint(w / 2, h * 3 / 5), CPoint(w / 8, h * 4 / 5));
  stroke(clone, CPoint(w / 8, h * 4 / 5), CPoint(w * 3 / 8, h * 4 / 5), 255, false);
  paint(clone, "pens-4-clone.bmp", "clone stroke copying the middle to the lower left");

  CModifyPen modify;
  modify.SetPenStyle(style.c_str(), 0, 48);
  modify.SetMode(0, 40);
  stroke(modify, CPoint(w * 2 / 3, h * 2 / 3), CPoint(w * 7 / 8, h * 7 / 8), 255, true);
  paint(modify, "pens-5-modify.bmp", "brightness +40 stroke");

  CUndoPen undo;
  undo.SetPenStyle(style.c_str(), 0, 40);
  stroke(undo, CPoint(w / 2, h / 8), CPoint(w * 7 / 8, h / 4), 255, false);
  paint(undo, "pens-6-undo.bmp", "undo stroke bringing back the original under the red stroke");
}
}  // namespace

int Demo(const Args& args) {
  DemoContext demo;
  demo.samples = VARDELL_SAMPLES_DIR;
  demo.out = "demo-output";
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--out" && i + 1 < args.size())
      demo.out = args[++i];
    else if (args[i] == "--samples" && i + 1 < args.size())
      demo.samples = args[++i];
    else
      return 2;
  }
  if (!fs::exists(demo.samples / "coffee.jpg") && fs::exists("samples/coffee.jpg"))
    demo.samples = "samples";
  std::error_code ec;
  fs::create_directories(demo.out, ec);
  if (ec) {
    std::fprintf(stderr, "vardell: cannot create %s: %s\n", demo.out.c_str(), ec.message().c_str());
    return 1;
  }
  std::printf("Vardell demo: samples from %s, results into %s\n", demo.samples.c_str(),
              fs::absolute(demo.out).c_str());
  // The library's texts are shown in line with the step that caused them. A reduced load of a
  // JPEG file, for one, first reports that the file is not a bitmap and then loads it through the
  // codec: that is the library's defined behaviour, not a failure of the demo.
  ErrorMessageHandler previous = SetErrorMessageHandler(
      [](const CString& text) { std::printf("  text   \"%s\"\n", static_cast<LPCTSTR>(text)); });
  const std::function<void(DemoContext&)> steps[] = {DemoPictureFiles, DemoPictureFills,
                                                     DemoEffects, DemoPens};
  for (const auto& step : steps) step(demo);
  SetErrorMessageHandler(std::move(previous));
  std::printf("%s: %d failure(s); results in %s\n", demo.failures ? "Demo FAILED" : "Demo done",
              demo.failures, fs::absolute(demo.out).c_str());
  return demo.failures ? 1 : 0;
}

}  // namespace vardell::tool
