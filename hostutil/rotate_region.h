// The host's rotated-rectangle region.
#pragma once

#include "platform/export.h"
#include "platform/geometry.h"
#include "platform/region.h"

// A new region covering rect turned by angle degrees about centre; the caller owns it and
// deletes it. The four corners of rect (right and bottom exclusive, so they are the corners of
// the area its pixels cover) are turned with RotatePoint, in its sense: picture coordinates
// with y downwards, so a positive angle turns clockwise on screen. The turned corners, rounded
// to whole pixels, are filled as a polygon by the platform's rule (a pixel is inside when its
// top-left corner is), so an angle of 0 gives exactly the region of rect.
// Degrees become radians with 3.14 for pi, the constant the rotated draw uses to turn its
// target pixels back, so that the region and the draw agree: intended.
// An empty or inverted rect is turned like its normalised form; when the turned corners leave
// the region coordinate range the region is empty. nullptr only when memory runs out.
VARDELL_API CRgn* GetRotateRegion(CRect rect, CPoint centre, double angle);
