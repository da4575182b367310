// The effects' display names, as GBK bytes (the library's code page; documents store them so).
// Each is written as byte escapes, with the text in UTF-8 beside it.
#pragma once

namespace vardell::effect_names {

inline constexpr const char* kColorAdjust = "\xC9\xAB\xB2\xCA\xB5\xF7\xD5\xFB";   // 色彩调整
inline constexpr const char* kMirror = "\xBE\xB5\xCF\xF1";                        // 镜像
inline constexpr const char* kSoften = "\xC8\xE1\xBB\xAF";                        // 柔化
inline constexpr const char* kSharpen = "\xC8\xF1\xBB\xAF";                       // 锐化
inline constexpr const char* kGray = "\xBA\xDA\xB0\xD7\xC6\xAC";                  // 黑白片
inline constexpr const char* kLight = "\xB5\xC6\xB9\xE2";                         // 灯光
inline constexpr const char* kGrayBalance = "\xBB\xD2\xC6\xBD\xBA\xE2";           // 灰平衡
inline constexpr const char* kMultiEffects = "\xD7\xE9\xBA\xCF\xD0\xA7\xB9\xFB";  // 组合效果

}  // namespace vardell::effect_names
