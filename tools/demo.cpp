// `vardell demo`: runs the library's main jobs on the bundled sample pictures and writes the
// results into a folder, printing one line for each thing it did.
#include "tools/commands.h"

#include "hostutil/messages.h"
#include "picture/picture.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>

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
  const std::function<void(DemoContext&)> steps[] = {DemoPictureFiles, DemoPictureFills};
  for (const auto& step : steps) step(demo);
  SetErrorMessageHandler(std::move(previous));
  std::printf("%s: %d failure(s); results in %s\n", demo.failures ? "Demo FAILED" : "Demo done",
              demo.failures, fs::absolute(demo.out).c_str());
  return demo.failures ? 1 : 0;
}

}  // namespace vardell::tool
