// vardell apply IN OUT --effect NAME[:ARGS] ... [--mask M]
//   Runs the effects in order on the picture IN (each on a worker thread of its own, waited for
//   before the next) and stores the result in OUT (JPEG for a .jpg or .jpeg name, else BMP). With
//   --mask the list runs on a copy that is blended back through the mask file M (an 8-bit BMP or
//   a JPEG file; scaled to the picture when the sizes differ).
// vardell record DOC --effect NAME[:ARGS] ... [--mask M]
//   Writes the same list as an effects document: a CMultiEffects in the platform's archive format.
// vardell replay DOC IN OUT
//   Runs the document's effects on IN, which may be of another size than the picture they were
//   recorded on: a light given with its paper size, and the mask, are scaled to it.
//
// The effects and their arguments are described in EffectUsage() below, which a bad command line
// (or --help) prints.
#include "tools/commands.h"

#include "effects/effects.h"
#include "mask/mask.h"
#include "picture/picture.h"
#include "platform/cstring.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <strings.h>

namespace vardell::tool {
namespace {

void EffectUsage() {
  std::fputs(
      "effects (--effect NAME[:ARGS], integers unless said, commas between the values):\n"
      "  adjust:B,C[,H,S,R,G,BL]  colour adjustment: brightness, contrast, hue, saturation and\n"
      "                           the red, green and blue shifts (missing values are 0)\n"
      "  mirror                   mirror the picture (always the whole picture)\n"
      "  soften[:R]               box softening of radius R (default 1)\n"
      "  sharpen:S                sharpening of strength S (1..16)\n"
      "  gray                     gray picture\n"
      "  light:FX,FY,TX,TY,LEN,HEIGHT,RRGGBB,INTENSITY,ANGLE[,PW,PH]\n"
      "                           spot lamp aimed from (FX,FY) to (TX,TY), arm LEN, apex HEIGHT,\n"
      "                           colour in hex, intensity in percent, half opening in degrees;\n"
      "                           with PW,PH the values are on a PW x PH paper and are scaled to\n"
      "                           the picture\n"
      "  balance:LO,HI,GAMMA,OUTLO,OUTHI[/RED/GREEN/BLUE]\n"
      "                           gray balance: the master curve (input range, exponent, output\n"
      "                           range), optionally followed by one curve a channel in the same\n"
      "                           form; the channel curves run first, then the master curve\n",
      stderr);
}

bool ParseInt(const std::string& text, int& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  errno = 0;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (*end != '\0' || errno != 0 || v < -1000000000L || v > 1000000000L) return false;
  value = static_cast<int>(v);
  return true;
}

bool ParseDouble(const std::string& text, double& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  value = std::strtod(text.c_str(), &end);
  return *end == '\0';
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (;;) {
    const std::size_t at = text.find(separator, start);
    parts.push_back(text.substr(start, at - start));
    if (at == std::string::npos) return parts;
    start = at + 1;
  }
}

bool ParseInts(const std::string& text, std::size_t least, std::size_t most,
               std::vector<int>& values) {
  const auto parts = Split(text, ',');
  if (parts.size() < least || parts.size() > most) return false;
  values.assign(parts.size(), 0);
  for (std::size_t i = 0; i < parts.size(); ++i)
    if (!ParseInt(parts[i], values[i])) return false;
  return true;
}

bool ParseColor(const std::string& text, COLORREF& color) {
  if (text.size() != 6) return false;
  char* end = nullptr;
  const unsigned long rgb = std::strtoul(text.c_str(), &end, 16);
  if (*end != '\0') return false;
  color = RGB((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF);
  return true;
}

std::unique_ptr<CEffectObj> ParseLight(const std::string& args) {
  const auto parts = Split(args, ',');
  if (parts.size() != 9 && parts.size() != 11) return nullptr;
  int v[11] = {};
  COLORREF color = 0;
  for (std::size_t i = 0; i < parts.size(); ++i)
    if (i == 6 ? !ParseColor(parts[i], color) : !ParseInt(parts[i], v[i])) return nullptr;
  auto light = std::make_unique<CLight>();
  light->SetLightParams(CPoint(v[0], v[1]), CPoint(v[2], v[3]), v[4], v[5], color, v[7], v[8]);
  light->m_PaperSize = CSize(v[9], v[10]);
  return light;
}

std::unique_ptr<CEffectObj> ParseBalance(const std::string& args) {
  const auto curves = Split(args, '/');
  if (curves.size() != 1 && curves.size() != 4) return nullptr;
  auto balance = std::make_unique<CGrayBalance>();
  for (std::size_t c = 0; c < curves.size(); ++c) {
    const auto parts = Split(curves[c], ',');
    int lo = 0, hi = 0, outLo = 0, outHi = 0;
    double gamma = 0;
    if (parts.size() != 5 || !ParseInt(parts[0], lo) || !ParseInt(parts[1], hi) ||
        !ParseDouble(parts[2], gamma) || !ParseInt(parts[3], outLo) || !ParseInt(parts[4], outHi))
      return nullptr;
    balance->SetCurve(static_cast<int>(c), lo, hi, gamma, outLo, outHi);
  }
  return balance;
}

// One effect from NAME[:ARGS]; null when the text is not one.
std::unique_ptr<CEffectObj> ParseEffect(const std::string& text) {
  const std::size_t colon = text.find(':');
  const std::string name = text.substr(0, colon);
  const bool hasArgs = colon != std::string::npos;
  const std::string args = hasArgs ? text.substr(colon + 1) : std::string();
  std::vector<int> v;
  if (name == "adjust") {
    if (!ParseInts(args, 2, 7, v)) return nullptr;
    v.resize(7, 0);
    auto adjust = std::make_unique<CColorAdjust>();
    adjust->m_nBrightness = v[0];
    adjust->m_nContrast = v[1];
    adjust->m_nHue = v[2];
    adjust->m_nSaturation = v[3];
    adjust->m_nRed = v[4];
    adjust->m_nGreen = v[5];
    adjust->m_nBlue = v[6];
    return adjust;
  }
  if (name == "mirror" && !hasArgs) return std::make_unique<CMirror>();
  if (name == "gray" && !hasArgs) return std::make_unique<CGray>();
  if (name == "soften") {
    auto soften = std::make_unique<CSoften>();
    if (hasArgs) {
      if (!ParseInts(args, 1, 1, v) || v[0] < 0 || v[0] > 0xFFFF) return nullptr;
      soften->m_wRadius = static_cast<WORD>(v[0]);
    }
    return soften;
  }
  if (name == "sharpen") {
    if (!ParseInts(args, 1, 1, v)) return nullptr;
    auto sharpen = std::make_unique<CSharpen>();
    sharpen->m_nStrength = v[0];
    return sharpen;
  }
  if (name == "light") return ParseLight(args);
  if (name == "balance") return ParseBalance(args);
  return nullptr;
}

struct EffectOptions {
  std::vector<std::string> files;
  std::unique_ptr<CMultiEffects> list = std::make_unique<CMultiEffects>();
  std::string mask;
};

// Files, --effect and --mask; false (after saying why) for a bad command line.
bool ParseOptions(const Args& args, EffectOptions& options) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--effect" && i + 1 < args.size()) {
      std::unique_ptr<CEffectObj> effect = ParseEffect(args[++i]);
      if (!effect) {
        std::fprintf(stderr, "vardell: bad effect \"%s\"\n", args[i].c_str());
        return false;
      }
      options.list->AddEffect(effect.release());
    } else if (a == "--mask" && i + 1 < args.size()) {
      options.mask = args[++i];
    } else if (a == "--help" || a == "-h") {
      return false;
    } else if (a.rfind("--", 0) == 0) {
      std::fprintf(stderr, "vardell: unknown option %s\n", a.c_str());
      return false;
    } else {
      options.files.push_back(a);
    }
  }
  return true;
}

// Gives the list its mask from the file, if one was named.
bool LoadListMask(EffectOptions& options) {
  if (options.mask.empty()) return true;
  CMask mask;
  if (!mask.LoadMask(options.mask.c_str())) return false;
  options.list->SetMask(mask);
  return true;
}

bool IsJpegName(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos) return false;
  const char* ext = path.c_str() + dot;
  return strcasecmp(ext, ".jpg") == 0 || strcasecmp(ext, ".jpeg") == 0;
}

// Runs the effect on the picture in `in` and stores the result in `out`.
int RunOnFile(CEffectObj& effect, const std::string& in, const std::string& out) {
  CPicture picture;
  if (!picture.LoadPicture(in.c_str())) return 1;
  effect.SetPictures(&picture, nullptr, nullptr);
  if (!effect.Execute()) {
    std::fprintf(stderr, "vardell: the effects could not be started\n");
    return 1;
  }
  effect.Wait();
  if (!picture.StorePicture(out.c_str(), IsJpegName(out), 0, 90)) return 1;
  std::printf("%s (%d x %d) -> %s\n", in.c_str(), picture.Width(), picture.Height(), out.c_str());
  return 0;
}

// "name, name, ..." of the effects in a list, in UTF-8.
std::string Names(const CMultiEffects& list) {
  std::string names;
  for (int i = 0; i < list.GetCount(); ++i) {
    const CEffectObj* effect = list.GetEffect(i);
    names += (i ? ", " : "") + (effect ? GbkToUtf8(effect->m_strName.view()) : "(none)");
  }
  return names;
}

}  // namespace

int Apply(const Args& args) {
  EffectOptions options;
  if (!ParseOptions(args, options) || options.files.size() != 2 || options.list->GetCount() == 0) {
    EffectUsage();
    return 2;
  }
  if (!LoadListMask(options)) return 1;
  std::printf("effects: %s%s\n", Names(*options.list).c_str(),
              options.mask.empty() ? "" : (", through " + options.mask).c_str());
  return RunOnFile(*options.list, options.files[0], options.files[1]);
}

int Record(const Args& args) {
  EffectOptions options;
  if (!ParseOptions(args, options) || options.files.size() != 1 || options.list->GetCount() == 0) {
    EffectUsage();
    return 2;
  }
  if (!LoadListMask(options)) return 1;
  if (!StoreEffect(options.files[0].c_str(), options.list.get())) return 1;
  std::printf("%s: %s%s\n", options.files[0].c_str(), Names(*options.list).c_str(),
              options.mask.empty() ? "" : (", through " + options.mask).c_str());
  return 0;
}

int Replay(const Args& args) {
  if (args.size() != 3) return 2;
  std::unique_ptr<CEffectObj> effect(LoadEffect(args[0].c_str()));
  if (!effect) return 1;
  std::string what = GbkToUtf8(effect->m_strName.view());
  if (effect->IsKindOf(RUNTIME_CLASS(CMultiEffects)))
    what += ": " + Names(static_cast<const CMultiEffects&>(*effect));
  if (effect->m_Mask.IsValid()) what += ", through its mask";
  std::printf("%s: %s\n", args[0].c_str(), what.c_str());
  return RunOnFile(*effect, args[1], args[2]);
}

}  // namespace vardell::tool
