// The eight pens. Each sets its display name and worker and adds a field or two; the point
// queue, scaling, footprint, confinement and repaint messages are CPenObject's.
#pragma once

#include "pens/pen_object.h"

// Lays the pen colour with the pressure as opacity, shaped by the pen style.
class VARDELL_API CWaterPen : public CPenObject {
  DECLARE_SERIAL(CWaterPen)
 public:
  CWaterPen();
  ~CWaterPen() override;
  BOOL CanExecute() override;

 private:
  static UINT Worker(LPVOID param);
};

// Softens (mode 0) or sharpens what lies under each footprint.
class VARDELL_API CSoftenPen : public CPenObject {
  DECLARE_SERIAL(CSoftenPen)
 public:
  CSoftenPen();
  ~CSoftenPen() override;
  BOOL CanExecute() override;
  void Serialize(CArchive& ar) override;
  // A nonzero mode renames the pen for good.
  void SetMode(int mode);
  // The soften strength for a footprint width: w >> 6, at least 1.
  static int GetStrength(UINT width) noexcept;

  int m_nMode = 0;

 private:
  static UINT Worker(LPVOID param);
};

// Smudges: picks up the ground at a stroke start and drags it along.
class VARDELL_API CFingerPen : public CPenObject {
  DECLARE_SERIAL(CFingerPen)
 public:
  CFingerPen();
  ~CFingerPen() override;
  BOOL CanExecute() override;

 private:
  static UINT Worker(LPVOID param);
};

// Adds the footprint to the target mask, or takes it away by m_nMode.
class VARDELL_API CMaskPen : public CPenObject {
  DECLARE_SERIAL(CMaskPen)
 public:
  CMaskPen();
  ~CMaskPen() override;
  BOOL CanExecute() override;
  void Serialize(CArchive& ar) override;
  int SetPaperSize() override;
  void SetMode(int mode) { m_nMode = mode; }

  int m_nMode = 0;

 private:
  static UINT Worker(LPVOID param);
};

// Softens the target mask under each footprint square.
class VARDELL_API CMaskSoftenPen : public CPenObject {
  DECLARE_SERIAL(CMaskSoftenPen)
 public:
  CMaskSoftenPen();
  ~CMaskSoftenPen() override;
  BOOL CanExecute() override;
  int SetPaperSize() override;

 private:
  static UINT Worker(LPVOID param);
};

// Local colour adjustment from a snapshot taken at each stroke start.
class VARDELL_API CModifyPen : public CPenObject {
  DECLARE_SERIAL(CModifyPen)
 public:
  CModifyPen();
  ~CModifyPen() override;
  BOOL CanExecute() override;
  void Serialize(CArchive& ar) override;
  // mode 0..3 (unchecked): brightness, contrast, hue, saturation; names the pen by step and mode.
  void SetMode(int mode, int step);

  int m_nStep = 0;
  int m_nMode = -1;

 private:
  static UINT Worker(LPVOID param);
};

// Clone brush: paints the picture onto itself from a fixed offset.
class VARDELL_API CDoublePen : public CPenObject {
  DECLARE_SERIAL(CDoublePen)
 public:
  CDoublePen();
  ~CDoublePen() override;
  BOOL CanExecute() override;
  void Serialize(CArchive& ar) override;
  // In paper coordinates: first is the spot copied from, second where the stroke begins.
  void SetPoints(CPoint first, CPoint second);

  CPoint m_ptFirst{-1, -1};
  CPoint m_ptSecond{0, 0};

 private:
  static UINT Worker(LPVOID param);
};

// Restores the saved source picture through the footprint.
class VARDELL_API CUndoPen : public CPenObject {
  DECLARE_SERIAL(CUndoPen)
 public:
  CUndoPen();
  ~CUndoPen() override;
  BOOL CanExecute() override;

 private:
  static UINT Worker(LPVOID param);
};
