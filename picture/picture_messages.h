// The texts CPicture shows to the user, exactly as the library has always worded them (their
// typos and missing blanks included: intended). Paths are joined without a separator of their own.
#pragma once

#include "platform/cstring.h"

namespace vardell::picture_text {

inline CString CannotOpenBitmap(const CString& path) {
  return "Bitmap file " + path + " can not be open!";
}
inline CString NotBitmapFormat(const CString& path) { return path + " is not a bitmap format!"; }
inline CString DamagedBitmap(const CString& path) { return path + " is a damaged bitmap file!"; }
inline CString NotTrueColor(const CString& path) {
  return path + " is not a true-color bitmap file!";
}
inline CString LengthIncorrect(const CString& path) { return path + "'s length is incorrect.!"; }
inline CString CannotReadJpeg(const CString& path) {
  return "Can not read " + path + " as a jpg file";
}
// No blank after "Picture": intended.
inline CString BufferIsNull(const CString& path) { return "Picture" + path + "'s buffer is NULL!"; }
// Says "reading" for a file opened for writing, with no blank before "for": intended.
inline CString CannotCreateFile(const CString& path) {
  return "Can not open file " + path + "for reading.";
}
inline CString WriteFailed(const CString& path) { return "Writting file " + path + " failed."; }
// The allocation text of a bitmap load names no file: intended.
inline constexpr const char* kLoadAllocFailed = "Can't not alloc memory!";
// Formatted with the data size (stride * height), not the size asked of the allocator.
inline constexpr const char* kCreateAllocFailedFormat =
    "Can not alloc memory which size is %d Bytes.";
// The rotated draw could not hold the outline of its region.
inline constexpr const char* kRegionAllocFailed =
    "Can not alloc memory when getting outline of a region.";

}  // namespace vardell::picture_text
