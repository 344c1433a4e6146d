// Regions: the region arithmetic of the exposure code. A region is a set of
// rectangles whose union is the area; rectangles may overlap. Coordinates
// follow the toolkit's rule: (x, y) is a rectangle's lower left corner.
#pragma once

#include <vector>

struct Regions_Rect {
  int x = 0, y = 0, width = 0, height = 0;
};

struct Regions_Region {
  std::vector<Regions_Rect> rects;
};

// Whether two rectangles share at least one pixel.
bool Regions_RectsMeet(const Regions_Rect& a, const Regions_Rect& b);
// The common part of two rectangles; width or height 0 when they don't meet.
Regions_Rect Regions_IntersectRects(const Regions_Rect& a, const Regions_Rect& b);
// Adds a rectangle; rectangles already covered by it go, and one covered by a
// rectangle of the region is not added. Empty rectangles are ignored.
void Regions_UnionRectWithRegion(const Regions_Rect& rect, Regions_Region& region);
// The region cut to `rect`.
void Regions_IntersectWithRect(const Regions_Rect& rect, Regions_Region& region);
// The smallest rectangle holding the region; all 0 for the empty region.
Regions_Rect Regions_Box(const Regions_Region& region);
// Whether `rect` meets the region.
bool Regions_RectInRegion(const Regions_Region& region, const Regions_Rect& rect);
bool Regions_Empty(const Regions_Region& region);
