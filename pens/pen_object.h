// CPenObject: the base of the brush tools. The host gives a pen its shape (an 8-bit mask file),
// colour, size and pictures, then queues the stroke's points one by one with AddPoint; the pen
// paints its footprint at every queued point on a worker thread of its own (CEffectObj's
// Execute), and posts the square it has just changed to a host window.
//
// Threads: m_Mutex guards m_Points and m_Pressures only while a point is appended or read; the
// worker paints unlocked, so AddPoint may append while it runs. The worker ends by itself when
// the queue is drained; the next Execute resumes at m_nProcessed. The host must not draw into the
// pen's pictures while it runs, and must Wait or Terminate before deleting it.
#pragma once

#include "effects/effect_object.h"
#include "mask/mask.h"
#include "picture/picture.h"
#include "platform/collections.h"
#include "platform/geometry.h"
#include "platform/sync.h"
#include "platform/wnd.h"

#include <functional>

class VARDELL_API CPenObject : public CEffectObj {
  DECLARE_SERIAL(CPenObject)
 public:
  CPenObject();
  ~CPenObject() override;

  // The effect's part, the points and pressures, then the style path, colour, size and paper
  // size; loading reloads the shape from the style path and rewinds to the first point.
  void Serialize(CArchive& ar) override;
  // Stops a running worker, then rewinds: the next Execute repaints the whole queue.
  void Reset() override;
  // Takes the target picture's size as the paper size; answers 1 (0 without a target).
  virtual int SetPaperSize();

  // Stores the three values, then loads the shape and makes the 10 x 10 colour picture. 0, with
  // the message, only when the file's width reads 0 and its height does not.
  int SetPenStyle(CString file, DWORD color, UINT size);
  // Appends (pt.y << 16) + pt.x and the pressure under the mutex; starts nothing.
  void AddPoint(CPoint pt, BYTE pressure);
  void SetDisplay(CWnd* wnd, UINT message);

  // The queued word's point: each half sign-extended.
  static CPoint UnpackPoint(DWORD packed) noexcept;
  static DWORD PackPoint(CPoint pt) noexcept;
  // Stores or loads one mode field as a LONG, as the pens with a mode keep it.
  static void SerializeMode(CArchive& ar, int& mode);

  // ---- Fields, in the platform's order ----

  CDWordArray m_Points;
  CByteArray m_Pressures;
  int m_nProcessed = 0;
  CWnd* m_pDisplay = nullptr;
  UINT m_nMessage = 0;
  CString m_PenStyle;
  DWORD m_Color = 0;
  UINT m_nSize = 0;
  CSize m_PaperSize{0, 0};
  CMask m_PenMask;
  CPicture m_ColorPic;
  CMutex m_Mutex;

 protected:
  // The footprint size and the scale from paper to target (the target mask's size for mask
  // pens).
  struct PenScale {
    double sx = 1.0;
    double sy = 1.0;
    UINT w = 0;
    UINT h = 0;
  };
  // One queued point, ready to paint.
  struct PenPoint {
    CPoint pt;  // scaled
    BYTE pressure;
    BOOL bStart;     // carried a stroke-start mark
    CRect R;         // the footprint in target coordinates
    CMask* pWeight;  // the footprint weight F
    CRect rWeight;   // its rectangle
  };
  enum PenLoopFlags {
    kStrokeMarks = 1,  // points above 10000 start a stroke (finger and modify pens)
    kMaskPen = 2,      // scale from the target mask; post paper coordinates; no confinement
  };

  PenScale GetScale(BOOL fromMask) const;
  // The loop shared by every pen's worker: reads the queue, scales, confines the weight by the
  // limiting mask, calls paint, posts the square; ends the worker when drained or stopped.
  UINT RunPenLoop(const PenScale& scale, int flags, const std::function<void(PenPoint&)>& paint);
  // Base test, a target picture, the shape and the colour picture.
  BOOL CanPaintPicture();
};
