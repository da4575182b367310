// Helpers of the effect tests: seeded pictures and masks, pixel snapshots, effects built with
// their parameters (one of every class among them), running an effect to its end, a work folder
// of the test's own for the masks' temporary files, and PiPL resource bytes with a one-line view
// of the description read from them.
#pragma once

#include "effects/effects.h"
#include "effects/filter_description.h"
#include "hostutil/paths.h"
#include "mask/mask.h"
#include "picture/picture.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vardell::test {

// A width x height picture of seeded pixels.
inline void FillRandom(CPicture& p, int width, int height, std::uint32_t seed) {
  p.CreatePicture(width, height, 0);
  Rng rng(seed);
  for (int i = 0; i < p.GetDataSize(); ++i) p.GetBuffer()[i] = rng.Byte();
}

inline std::vector<BYTE> Pixels(const CPicture& p) {
  return std::vector<BYTE>(p.GetBuffer(), p.GetBuffer() + p.GetDataSize());
}

// The three bytes of pixel (x, y), y from the top, as one number.
inline std::uint32_t PixelAt(const CPicture& p, int x, int y) {
  const BYTE* b = p.GetPixel(x, y);
  return b[0] | b[1] << 8 | b[2] << 16;
}

// Left half 255, right half 0, with a column of 128 where they meet.
inline void MakeHalfMask(CMask& mask, int width, int height) {
  mask.CreateMask(width, height, 0);
  mask.Rectangle(CRect(0, 0, width / 2, height), 255);
  mask.Rectangle(CRect(width / 2, 0, width / 2 + 1, height), 128);
}

// A new effect of class T with its parameters set by `set`.
template <class T, class F>
T* New(F set) {
  T* effect = new T;
  set(*effect);
  return effect;
}

inline CColorAdjust* NewAdjust(int hue, int saturation, int brightness, int contrast, int red,
                               int blue, int green) {
  return New<CColorAdjust>([&](CColorAdjust& a) {
    a.m_nHue = hue, a.m_nSaturation = saturation, a.m_nBrightness = brightness;
    a.m_nContrast = contrast, a.m_nRed = red, a.m_nBlue = blue, a.m_nGreen = green;
  });
}

inline void RunEffect(CEffectObj& effect, CPicture& target) {
  effect.SetPictures(&target, nullptr, nullptr);
  ASSERT_EQ(effect.Execute(), 1);
  ASSERT_EQ(effect.Wait(), 1);
}

// An effect that counts its instances, so that leaks show in every build. Registered by the
// archive tests.
inline int g_live = 0;
class CCountedEffect : public CEffectObj {
  DECLARE_SERIAL(CCountedEffect)
 public:
  CCountedEffect() { ++g_live; }
  ~CCountedEffect() override { --g_live; }
};

// One effect of each class with every parameter away from its default, all disabled and needing
// the before-picture, their names marked.
inline std::vector<std::unique_ptr<CEffectObj>> EveryClass() {
  std::vector<std::unique_ptr<CEffectObj>> all;
  all.emplace_back(NewAdjust(-30, 11, 12, 13, 14, 15, 16));
  all.emplace_back(New<CMirror>([](CMirror& e) { e.m_byMirror = 0xA5; }));
  all.emplace_back(New<CSoften>([](CSoften& e) { e.m_wRadius = 0x1234; }));
  all.emplace_back(New<CSharpen>([](CSharpen& e) { e.m_nStrength = 7; }));
  all.emplace_back(new CGray);
  all.emplace_back(New<CLight>([](CLight& e) {
    e.SetLightParams(CPoint(-1, 2), CPoint(3, 4), 5, 6, RGB(7, 8, 9), 10, 11);
    e.m_PaperSize = CSize(640, 480);
  }));
  all.emplace_back(New<CGrayBalance>([](CGrayBalance& e) {
    for (int c = 0; c < 4; ++c) e.SetCurve(c, c + 1, 200 + c, 0.25 * (c + 1), c + 5, 250 - c);
  }));
  all.emplace_back(New<CMultiEffects>([](CMultiEffects& e) {
    e.AddEffect(new CGray);
    e.AddEffect(nullptr);
    e.AddEffect(new CCountedEffect);
  }));
  all.emplace_back(new CEffectObj);
  for (auto& effect : all) {
    effect->m_bEnable = 0;
    effect->m_bNeedBefore = 1;
    effect->m_strName += "*";
  }
  return all;
}

// Points the masks' temporary files at a folder of the test's own, and tells whether any is left.
class WorkFolder {
 public:
  WorkFolder() : m_previous(strWorkPath) { strWorkPath = (m_dir.path().string() + "/").c_str(); }
  ~WorkFolder() { strWorkPath = m_previous; }
  bool Empty() const { return std::filesystem::is_empty(m_dir.path()); }

 private:
  TempDir m_dir;
  CString m_previous;
};

// PiPL resource bytes: a reserved word, version 0, a property count, then properties of vendor,
// key, id, length and data, exactly as added (no padding unless asked).
class PiPLBuilder {
 public:
  using Bytes = std::vector<std::uint8_t>;

  // A property whose stored length is `length` (the data's size when negative).
  PiPLBuilder& Add(const char (&key)[5], const Bytes& data, long long length = -1,
                   const char (&vendor)[5] = "8BIM") {
    const auto size = static_cast<std::uint32_t>(length < 0 ? data.size() : length);
    for (const Bytes& b : {Le(FourCC(vendor)), Le(FourCC(key)), Le(0), Le(size), data})
      m_bytes.insert(m_bytes.end(), b.begin(), b.end());
    ++m_count;
    return *this;
  }
  PiPLBuilder& Dword(const char (&key)[5], std::uint32_t value) { return Add(key, Le(value)); }
  // A Pascal string padded with zeros to a multiple of 4, the length saying so.
  PiPLBuilder& Pascal(const char (&key)[5], const std::string& text) {
    Bytes b{static_cast<std::uint8_t>(text.size())};
    b.insert(b.end(), text.begin(), text.end());
    b.resize((b.size() + 3) & ~std::size_t{3});
    return Add(key, b);
  }
  // A zero-terminated text padded to a multiple of 4.
  PiPLBuilder& Text(const char (&key)[5], const std::string& text) {
    Bytes b(text.begin(), text.end());
    b.resize((text.size() + 4) & ~std::size_t{3});
    return Add(key, b);
  }
  // The properties that make a kept filter.
  PiPLBuilder& Filter(const std::string& category, const std::string& name,
                      const std::string& entry) {
    Dword("kind", FourCC("8BFM"));
    if (!category.empty()) Pascal("catg", category);
    Pascal("name", name);
    return Text("wx86", entry);
  }

  Bytes Build(std::uint32_t version = 0) const {
    Bytes out{1, 0};
    for (const Bytes& b : {Le(version), Le(m_count), m_bytes})
      out.insert(out.end(), b.begin(), b.end());
    return out;
  }

  static Bytes Le(std::uint32_t v) {
    return {static_cast<std::uint8_t>(v), static_cast<std::uint8_t>(v >> 8),
            static_cast<std::uint8_t>(v >> 16), static_cast<std::uint8_t>(v >> 24)};
  }

 private:
  Bytes m_bytes;
  std::uint32_t m_count = 0;
};

// A four-character code as text, "-" for none.
inline std::string Code(DWORD v) {
  return v ? std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)} : "-";
}

// The description's fields on one line: category/name/priority/entry point, then kind, version,
// host, modes (hex) and whether it is kept as a filter.
inline std::string Summary(const CFilterDescription& d) {
  char tail[64];
  std::snprintf(tail, sizeof tail, "/%s %X %s %X %d", Code(d.GetKind()).c_str(), d.GetVersion(),
                Code(d.GetHost()).c_str(), d.GetModes(), d.IsFilter());
  return d.GetCategory().str() + "/" + d.GetName().str() + "/" + std::to_string(d.GetPriority()) +
         "/" + d.GetEntryPoint().str() + tail;
}

}  // namespace vardell::test
