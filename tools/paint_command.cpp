// vardell paint IN OUT --pen KIND --style MASK --stroke FILE [options]
//   Paints a recorded stroke onto IN with one pen and stores the result in OUT (JPEG for a .jpg
//   or .jpeg name, else BMP). The stroke file holds one point a line, "x y pressure" (pressure
//   0..255); a blank line starts a new stroke, and '#' starts a comment. The finger and modify
//   pens get the stroke-start mark on the first point of every stroke.
//   For the mask pens (mask, masksoften) IN and OUT are mask files.
// Options: --size N (footprint side, default 10), --color RRGGBB (default 000000), --mode N
// (soften/sharpen 0/1, mask add/remove 0/1, modify 0..3 brightness, contrast, hue, saturation),
// --step N (modify pen, default 15), --clone FX,FY,SX,SY (double pen: the spot copied from and
// where the stroke begins), --source FILE (undo pen: the picture brought back).
#include "tools/commands.h"

#include "pens/pen_kinds.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <strings.h>

namespace vardell::tool {
namespace {

struct PaintOptions {
  std::string in, out, kind, style, stroke, source;
  int size = 10, mode = 0, step = 15;
  COLORREF color = 0;
  bool clone = false;
  CPoint first, second;
};

bool ToInt(const std::string& text, int& value) {
  char* end = nullptr;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || v < -100000 || v > 100000) return false;
  value = static_cast<int>(v);
  return true;
}

bool ParseOptions(const Args& args, PaintOptions& o) {
  std::vector<std::string> files;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool hasValue = i + 1 < args.size();
    if (a.rfind("--", 0) != 0) {
      files.push_back(a);
      continue;
    }
    if (!hasValue) return false;
    const std::string v = args[++i];
    if (a == "--pen") {
      o.kind = v;
    } else if (a == "--style") {
      o.style = v;
    } else if (a == "--stroke") {
      o.stroke = v;
    } else if (a == "--source") {
      o.source = v;
    } else if (a == "--size") {
      if (!ToInt(v, o.size) || o.size < 1) return false;
    } else if (a == "--mode") {
      if (!ToInt(v, o.mode)) return false;
    } else if (a == "--step") {
      if (!ToInt(v, o.step)) return false;
    } else if (a == "--color") {
      char* end = nullptr;
      const unsigned long c = std::strtoul(v.c_str(), &end, 16);
      if (v.size() != 6 || *end != '\0') return false;
      o.color = RGB((c >> 16) & 0xFF, (c >> 8) & 0xFF, c & 0xFF);
    } else if (a == "--clone") {
      int fx, fy, sx, sy;
      char tail;
      if (std::sscanf(v.c_str(), "%d,%d,%d,%d%c", &fx, &fy, &sx, &sy, &tail) != 4) return false;
      o.clone = true;
      o.first = CPoint(fx, fy);
      o.second = CPoint(sx, sy);
    } else {
      return false;
    }
  }
  if (files.size() != 2 || o.kind.empty() || o.style.empty() || o.stroke.empty()) return false;
  o.in = files[0];
  o.out = files[1];
  return true;
}

std::unique_ptr<CPenObject> MakePen(const PaintOptions& o) {
  const std::string& k = o.kind;
  if (k == "water") return std::make_unique<CWaterPen>();
  if (k == "soften" || k == "sharpen") {
    auto pen = std::make_unique<CSoftenPen>();
    pen->SetMode(k == "sharpen" ? 1 : o.mode);
    return pen;
  }
  if (k == "finger") return std::make_unique<CFingerPen>();
  if (k == "mask") {
    auto pen = std::make_unique<CMaskPen>();
    pen->SetMode(o.mode);
    return pen;
  }
  if (k == "masksoften") return std::make_unique<CMaskSoftenPen>();
  if (k == "modify") {
    if (o.mode < 0 || o.mode > 3) return nullptr;
    auto pen = std::make_unique<CModifyPen>();
    pen->SetMode(o.mode, o.step);
    return pen;
  }
  if (k == "double" && o.clone) {
    auto pen = std::make_unique<CDoublePen>();
    pen->SetPoints(o.first, o.second);
    return pen;
  }
  if (k == "undo") return std::make_unique<CUndoPen>();
  return nullptr;
}

// Queues the stroke file's points; false (with a message) when it cannot be read.
bool QueueStroke(const std::string& path, CPenObject& pen, bool marks) {
  std::ifstream in(path);
  if (!in) {
    std::fprintf(stderr, "Cannot read the stroke file %s.\n", path.c_str());
    return false;
  }
  std::string line;
  bool start = true;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    const std::size_t hash = line.find('#');
    if (hash != std::string::npos) line.erase(hash);
    std::istringstream fields(line);
    int x, y, pressure;
    if (!(fields >> x)) {
      start = true;
      continue;
    }
    std::string rest;
    if (!(fields >> y >> pressure) || (fields >> rest) || pressure < 0 || pressure > 255) {
      std::fprintf(stderr, "%s:%d: expected \"x y pressure\".\n", path.c_str(), number);
      return false;
    }
    if (marks && start) {
      x += 16384;
      y += 16384;
    }
    start = false;
    pen.AddPoint(CPoint(x, y), static_cast<BYTE>(pressure));
  }
  return true;
}

bool IsJpeg(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos) return false;
  const std::string ext = path.substr(dot);
  return strcasecmp(ext.c_str(), ".jpg") == 0 || strcasecmp(ext.c_str(), ".jpeg") == 0;
}

}  // namespace

int Paint(const Args& args) {
  PaintOptions o;
  if (!ParseOptions(args, o)) return 2;
  std::unique_ptr<CPenObject> pen = MakePen(o);
  if (!pen) return 2;
  const bool maskPen = o.kind == "mask" || o.kind == "masksoften";
  CPicture picture, source;
  CMask mask;
  if (maskPen) {
    if (!mask.LoadMask(o.in.c_str())) return 1;
    const CSize size = mask.GetMaskSize();
    picture.CreatePicture(size.cx, size.cy, 255);
  } else if (!picture.LoadPicture(o.in.c_str())) {
    return 1;
  }
  if (!o.source.empty() && !source.LoadPicture(o.source.c_str())) return 1;
  pen->SetPictures(&picture, source.IsValid() ? &source : nullptr, maskPen ? &mask : nullptr);
  if (!pen->SetPenStyle(o.style.c_str(), o.color, static_cast<UINT>(o.size))) return 1;
  if (!QueueStroke(o.stroke, *pen, o.kind == "finger" || o.kind == "modify")) return 1;
  if (!pen->Execute()) {
    std::fprintf(stderr, "The %s pen cannot paint: check its style, pictures and settings.\n",
                 o.kind.c_str());
    return 1;
  }
  pen->Wait();
  if (maskPen) return mask.StoreMask(o.out.c_str(), IsJpeg(o.out) ? 1 : 0, 90) ? 0 : 1;
  return picture.StorePicture(o.out.c_str(), IsJpeg(o.out), 0, 90) ? 0 : 1;
}

}  // namespace vardell::tool
