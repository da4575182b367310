// Rubber-band feedback: outlines drawn by inverting the pixels under them, so that drawing the
// same outline a second time restores the picture exactly. The mask editor draws the rectangle
// or circle being dragged, then draws it again to take it away before drawing the next one.
#pragma once

#include "platform/dc.h"
#include "platform/export.h"
#include "platform/geometry.h"

// The one-pixel outline of rect (normalised; right and bottom edges excluded, as Rectangle)
// with every pixel inverted (R2_NOT), inside left as it is. The DC's mix mode, pen and brush
// are restored afterwards. FALSE when pDC is null or the DC cannot draw.
VARDELL_API BOOL DrawXORRect(CDC* pDC, CRect rect);

// The same for the ellipse inscribed in rect (as Ellipse).
VARDELL_API BOOL DrawXOREllipse(CDC* pDC, CRect rect);
