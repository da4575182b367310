// CPicture: the library's 24-bit true-colour picture.
//
// The pixels are a Win32 device-independent bitmap held in memory: 3 bytes a pixel in the order
// blue, green, red; rows bottom-up (the first row in memory is the bottom row of the picture);
// each row padded to a multiple of 4 bytes, so the row stride is ((Width * 24 + 31) / 32) * 4.
// Together with the kept header the buffer can be handed to a device context unchanged.
//
// Members are defined by concern:
//   picture.cpp          buffer: construction, creation, clearing, fills, copying, accessors
//   picture_files.cpp    bitmap and JPEG files
//   picture_preview.cpp  reduced loading of bitmap files
//   picture_background.cpp  the same on a worker thread, with progress messages
//   compositing.cpp      copies and blends into another picture, drawing on device contexts
//   rotation.cpp         rotated drawing, Rotate and Mirror
//   imageops/            colour transforms, soften and sharpen, gray balance, light beam
//
// Every operation that reports success returns 1 on success and 0 on failure; texts the user must
// see go to ThrowErrorMessage and nothing throws out of the class.
//
// Safety for malformed files: a bitmap file is accepted only when its header describes a picture
// that its pixel data can hold (non-negative dimensions, stride * height within the bytes read and
// within an int); otherwise the load fails with the matching text and the picture is left empty or
// unchanged, so Width() * Height() never promises more than the buffer holds.
#pragma once

#include "picture/byte_tables.h"
#include "platform/bitmap.h"
#include "platform/cstring.h"
#include "platform/export.h"
#include "platform/file.h"
#include "platform/geometry.h"
#include "platform/sync.h"
#include "platform/win_types.h"

#include <atomic>

class CWnd;
class CWinThread;
class CDC;
class CMask;
struct HBITMAP__;
using HBITMAP = HBITMAP__*;

class VARDELL_API CPicture {
 public:
  // Empty picture (no buffer); the first picture of the process builds the shared byte tables.
  CPicture();
  // A background load still running is cancelled and waited for first.
  ~CPicture();
  // Pictures are copied only with Duplicate.
  CPicture(const CPicture&) = delete;
  CPicture& operator=(const CPicture&) = delete;

  // ---- Buffer (picture.cpp) ----

  // Releases the buffer; the header is left as it was, so Width() and Height() still answer the
  // last dimensions.
  void DeleteObject();
  BOOL IsValid() const noexcept { return m_pBuffer != nullptr; }
  int Width() const noexcept { return m_InfoHeader.biWidth; }
  int Height() const noexcept { return m_InfoHeader.biHeight; }
  // Row stride in bytes.
  int GetDataWidth() const noexcept;
  // GetDataWidth() * Height(), padding included.
  int GetDataSize() const noexcept;
  // Width * Height * 3 of the picture in the file at path, without row padding (unlike the
  // member form: intended). 0 when the file gives no size, a negative one, or one beyond an int.
  static int GetDataSize(const CString& path);

  // Writes a 24-bit header for width x height; biSizeImage gets one row's stride (intended). The
  // buffer is not touched: callers keep the two matching.
  void SetInfoHeader(int width, int height);
  // A new buffer of width x height with every byte set to fill. 0 without any change when a
  // dimension is below 1; 0 with an empty picture when the memory cannot be had.
  int CreatePicture(int width, int height, BYTE fill);
  // Every byte of the data, padding included, set to value.
  int ClearPicture(BYTE value);
  // Every pixel set to color (0x00BBGGRR).
  int ClearPicture(COLORREF color);
  // The pixels of rect, clipped to the picture, set to color.
  int ClearPicture(CRect rect, COLORREF color);
  // Checkerboard of cell x cell squares anchored at the picture origin, color1 where the square's
  // column and row parities agree. Each row of rect is written from offset 3 * rect.top (not
  // rect.left: intended). rect must lie inside the picture; one that does not, or a cell of 0,
  // writes nothing and answers 0.
  int PaneFill(CRect rect, int cell, COLORREF color1, COLORREF color2);

  // First byte of the bottom row.
  BYTE* GetBuffer() const noexcept { return m_pBuffer; }
  // Row y counted from the top. Unchecked (asserts in debug builds).
  BYTE* GetLineBuffer(int y) const noexcept;
  // The blue byte of pixel (x, y). Unchecked (asserts in debug builds).
  BYTE* GetPixel(int x, int y) const noexcept;
  // (0, 0, Width, Height), or the empty rectangle without a buffer.
  CRect GetPictureRect() const noexcept;
  // (Width, Height), or (0, 0) without a buffer.
  CSize GetPictureSize() const noexcept;
  // Replaces target by a copy of this picture (target's header as CreatePicture writes it).
  int Duplicate(CPicture& target) const;

  // ---- Files (picture_files.cpp) ----

  // A 24-bit bitmap file, or a JPEG file when the file is not a bitmap file.
  int LoadPicture(const CString& path);
  // Reduced by num/den (nothing to reduce when num >= den): bitmap rows sampled from the file,
  // else the JPEG codec's own reduction. A negative num is no reduction either. Each step reports
  // its own failure, so a JPEG file loaded this way reports " is not a bitmap format!" from the
  // bitmap step before the codec loads it.
  int LoadPicture(const CString& path, int num, int den);
  // Through the JPEG codec, reduced by num/den.
  int LoadJPEG(const CString& path, int num, int den);
  // A bitmap file, or with bJPEG a JPEG file written by the codec with option1 (progressive) and
  // option2 (quality).
  int StorePicture(const CString& path, int bJPEG, int option1, int option2);
  // The size of the picture in a bitmap or JPEG file, without loading it.
  static CSize GetPictureSize(const CString& path);

  // ---- Background loading (picture_background.cpp) ----

  // Loads the bitmap file at path reduced to size on a worker thread, posting progress (wParam 1),
  // cancellation (2) and the end (3) to pWnd with message; answers the started thread, or null
  // when nothing was started. A load already running is cancelled first. The file's headers are
  // checked here, so a refused file starts no thread and leaves the picture as it was. While
  // IsLoading() the worker owns the pixels, the header and the file; pWnd must outlive the load.
  CWinThread* LoadPictureInBackground(const CString& path, CSize size, CWnd* pWnd, UINT message);
  // Asks the running load to stop and waits until its worker has ended. The end of every load
  // leaves one signal that the first call after it consumes; a call with no load running and no
  // signal left waits for ever (intended): test IsLoading() first.
  void CancelLoading();
  BOOL IsLoading() const noexcept { return m_bLoading.load(); }

  // ---- Compositing (compositing.cpp) ----
  // Picture-to-picture operations are called on the source and name the target first.

  int Draw(CPicture& target, CRect dstRect, CPoint srcPoint);
  int Draw(CPicture& target, CRect dstRect, CRect srcRect);
  int DrawTransparent(CPicture& target, CRect dstRect, CRect srcRect, BYTE level, int bBlend);
  int DrawTransparent(CPicture& target, CRect dstRect, CRect srcRect, CMask& mask, CRect maskRect,
                      BYTE level, int bAdd, int bInvertMask, CRect clipRect);
  int DrawTransparentMMX(CPicture& target, CRect dstRect, CRect srcRect, BYTE level, int bBlend);
  int DrawTransparentMMX(CPicture& target, CRect dstRect, CRect srcRect, CMask& mask,
                         CRect maskRect, BYTE level, int bAdd, int bInvertMask, CRect clipRect);
  int Draw(CDC* dc, int x, int y, DWORD rop);
  int Draw(CDC* dc, int x, int y, int width, int height, DWORD rop);
  int Draw(CDC* dc, CRect dstRect, CRect srcRect, DWORD rop);
  int Draw(CDC* dc, CRect dstRect, DWORD rop);
  int Print(CDC* dc, CRect dstRect, DWORD rop);
  HBITMAP CreateDDB(CDC* dc, CSize size, int bStretch);

  // ---- Rotation (rotation.cpp) ----

  int DrawRotate(CPicture& target, CRect dstRect, double angle, CRect srcRect, double angle2);
  int DrawRotate(CPicture& target, CRect dstRect, double angle, CRect srcRect, double angle2,
                 CMask& mask, CRect maskRect, BYTE level, int bAdd, int bInvertMask,
                 CRect clipRect);
  int DrawRotate(CPicture& target, CRect dstRect, double angle, CMask& mask, CRect maskRect,
                 CRect srcRect, double angle2, BYTE level, int bAdd, int bInvertMask,
                 CRect clipRect);
  int DrawRotate(CPicture& target, CRect dstRect, double angle, CMask& mask, CRect maskRect,
                 CRect srcRect, double angle2, CMask& mask2, CRect mask2Rect, BYTE level, int bAdd,
                 int bInvertMask, int flag, CRect clipRect);
  int Rotate(int angle, COLORREF background);
  int Mirror();

  // ---- Colour transforms (imageops/) ----

  int Transform(BYTE* red, BYTE* green, BYTE* blue);
  int Brightness(int offset);
  int Contrast(int contrast);
  int Saturate(int saturation);
  int Hue(int hue);
  int HueSaturate(int hue, int saturation);
  int AdjustColors(int red, int green, int blue);
  int ColorAdjust(int brightness, int contrast, int hue, int saturation, int red, int green,
                  int blue);
  int ConvertToGray();
  int ConvertToGray(CMask* mask);
  COLORREF GetAverageColor(CRect rect);
  static void GetColorDifference(COLORREF from, COLORREF to, int& hue, int& saturation, int& value);
  CMask* CreateMask(COLORREF color, int invert);
  CMask* CreateMask(COLORREF color, int tolerance, BYTE other, BYTE match);

  // ---- Softening and sharpening (imageops/) ----

  int Soften(int radius);
  int SoftenMMX(int radius);
  int Sharpen(int strength);

  // ---- Gray balance and light beam (imageops/) ----

  int GrayBalance(int inLowR, int inHighR, double gammaR, int inLowG, int inHighG, double gammaG,
                  int inLowB, int inHighB, double gammaB, int outLowR, int outHighR, int outLowG,
                  int outHighG, int outLowB, int outHighB);
  int DrawLight(CPoint from, CPoint to, int length, int height, COLORREF color, int intensity,
                int angle);

 private:
  // ---- Reduced loading (picture_preview.cpp) ----

  // Reads the bitmap file at path reduced to size (or at full size when size is not a reduction
  // of it), sampling one file row per picture row.
  int LoadPicturePreview(const CString& path, CSize size);
  // The background loader's thread procedure; param is the picture.
  static UINT LoadingWorker(LPVOID param);

  // Drops the buffer without touching the header.
  void ReleaseBuffer() noexcept;

  BYTE* m_pBuffer = nullptr;
  BITMAPINFOHEADER m_InfoHeader{};
  // Background loading: signalled when the loader's worker ends.
  CEvent m_LoadedEvent;
  CSize m_LoadSize;
  CFile m_LoadFile;
  // The running and cancel flags are plain 0/1 integers of the background loader, atomic here so
  // that the worker and the caller may read them at any time.
  std::atomic<int> m_bLoading{0};
  std::atomic<int> m_bCancel{0};
  CWnd* m_pNotifyWnd = nullptr;
  UINT m_nNotifyMsg = 0;
};
