// The pens' display names, as GBK bytes (the archives store them so), with the text beside.
#pragma once

namespace vardell::pen_names {

inline constexpr const char* kWaterPen = "\xD2\xD5\xCA\xF5\xB1\xCA";    // 艺术笔
inline constexpr const char* kSoftenPen = "\xC8\xE1\xBB\xAF\xB1\xCA";   // 柔化笔
inline constexpr const char* kSharpenPen = "\xC8\xF1\xBB\xAF\xB1\xCA";  // 锐化笔
inline constexpr const char* kFingerPen = "\xCA\xD6\xD6\xB8";           // 手指
inline constexpr const char* kMaskPen = "\xD0\xDE\xB0\xE5\xB1\xCA";     // 修板笔
inline constexpr const char* kMaskSoftenPen =
    "\xC3\xC9\xC6\xAC\xC8\xE1\xBB\xAF\xB1\xCA";                        // 蒙片柔化笔
inline constexpr const char* kModifyPen = "\xB5\xF7\xD5\xFB\xB1\xCA";  // 调整笔
inline constexpr const char* kDoublePen = "\xCB\xAB\xCB\xA2";          // 双刷
inline constexpr const char* kUndoPen = "\xBB\xDA\xB1\xCA";            // 悔笔
// The modify pen's modes: brightness, contrast, hue, saturation.
inline constexpr const char* kModifyModes[4] = {
    "\xC1\xC1\xB6\xC8",          // 亮度
    "\xB6\xD4\xB1\xC8\xB6\xC8",  // 对比度
    "\xC9\xAB\xB6\xC8",          // 色度
    "\xB1\xA5\xBA\xCD\xB6\xC8",  // 饱和度
};

}  // namespace vardell::pen_names
