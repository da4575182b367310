// The host's geometry helpers: proportional mapping of rectangles and points between two frames,
// fitting with kept proportions, turning points about a centre, angles and squared distances.
// Coordinates are picture coordinates: origin at the top-left pixel, y growing downwards, right
// and bottom exclusive. All results saturate at the limits of a 32-bit int instead of wrapping.
#pragma once

#include "platform/export.h"
#include "platform/geometry.h"

// Maps r, given in the frame of `from`, into the frame of `to` by the linear map that takes
// `from` onto `to`, in place. Each edge is mapped on its own with exact integer arithmetic:
//   x' = to.left + floor((x - from.left) * to.Width() / from.Width())
// and likewise for y with top and Height(). Rounding is towards minus infinity for all four
// edges, so that:
//   - from == to is the identity, and r == from gives exactly `to`;
//   - the map is monotonic, and rectangles that share an edge in `from` share it in `to`
//     (tiles stay seamless, and a clipped part of `from` maps to a part of `to`);
//   - the left edge of a clipped part of a destination lands on the very source column that
//     nearest-neighbour sampling, floor(i * sw / dw), reads for its first pixel.
// An axis of `from` with zero extent cannot be mapped: both edges of r on that axis become
// to.left (or to.top), so the result is empty on that axis. Inverted frames map linearly too.
VARDELL_API void ScaleTransform(CRect from, CRect to, CRect& r);

// The same map for one point: the rectangle form is this form applied to the top-left and
// bottom-right corners.
VARDELL_API void ScaleTransform(CRect from, CRect to, CPoint& point);

// The largest rectangle with the proportions of inner that fits in outer, centred in it. Both
// rectangles are taken normalised. The side that does not fill outer is rounded to the nearest
// integer (halves up) and is never thinner than one pixel; any odd pixel left over by the
// centring goes to the right or bottom. An empty inner or outer gives the empty rectangle at
// outer's centre point.
VARDELL_API CRect FitIn(CRect inner, CRect outer);

// Swaps left with right and top with bottom where they are inverted, in place.
VARDELL_API void NormalizeRect(RECT& r);

// point turned about centre by the angle whose cosine and sine are given:
//   x' = cx + (x - cx) * cosine - (y - cy) * sine
//   y' = cy + (x - cx) * sine   + (y - cy) * cosine
// Since y grows downwards, a positive angle turns clockwise as seen on screen (from the +x axis
// towards the +y axis); every angle of the host's utility functions turns in this sense. Each
// coordinate is rounded to the nearest integer, halves away from zero. A non-finite result gives
// centre.
VARDELL_API CPoint RotatePoint(CPoint point, CPoint centre, double cosine, double sine);

// The direction of the vector from `from` to `to` in degrees, in the same sense as RotatePoint:
// 0 along +x, 90 along +y (straight down on screen), in (-180, 180]. Equal points give 0.
// RotatePoint(from + (d, 0), from, cos(a), sin(a)) lies on the ray towards `to` for a = this angle.
VARDELL_API double GetAngle(CPoint from, CPoint to);

// The squared Euclidean distance between the two points, computed in 64 bits; a distance whose
// square exceeds INT_MAX (2147483647) answers INT_MAX.
VARDELL_API int Distance2(CPoint a, CPoint b);
