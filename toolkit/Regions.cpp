#include "toolkit/Regions.h"

#include <algorithm>

namespace {

bool IsEmpty(const Regions_Rect& r) { return r.width <= 0 || r.height <= 0; }

bool Covers(const Regions_Rect& outer, const Regions_Rect& inner) {
  return outer.x <= inner.x && outer.y <= inner.y && outer.x + outer.width >= inner.x + inner.width &&
         outer.y + outer.height >= inner.y + inner.height;
}

}  // namespace

bool Regions_RectsMeet(const Regions_Rect& a, const Regions_Rect& b) {
  return !IsEmpty(a) && !IsEmpty(b) && a.x < b.x + b.width && b.x < a.x + a.width &&
         a.y < b.y + b.height && b.y < a.y + a.height;
}

Regions_Rect Regions_IntersectRects(const Regions_Rect& a, const Regions_Rect& b) {
  Regions_Rect r;
  r.x = std::max(a.x, b.x);
  r.y = std::max(a.y, b.y);
  r.width = std::max(0, std::min(a.x + a.width, b.x + b.width) - r.x);
  r.height = std::max(0, std::min(a.y + a.height, b.y + b.height) - r.y);
  if (r.width == 0 || r.height == 0) r.width = r.height = 0;
  return r;
}

void Regions_UnionRectWithRegion(const Regions_Rect& rect, Regions_Region& region) {
  if (IsEmpty(rect)) return;
  for (const Regions_Rect& r : region.rects)
    if (Covers(r, rect)) return;
  std::erase_if(region.rects, [&](const Regions_Rect& r) { return Covers(rect, r); });
  region.rects.push_back(rect);
}

void Regions_IntersectWithRect(const Regions_Rect& rect, Regions_Region& region) {
  for (Regions_Rect& r : region.rects) r = Regions_IntersectRects(r, rect);
  std::erase_if(region.rects, IsEmpty);
}

Regions_Rect Regions_Box(const Regions_Region& region) {
  if (region.rects.empty()) return {};
  int left = region.rects[0].x, bottom = region.rects[0].y;
  int right = left + region.rects[0].width, top = bottom + region.rects[0].height;
  for (const Regions_Rect& r : region.rects) {
    left = std::min(left, r.x);
    bottom = std::min(bottom, r.y);
    right = std::max(right, r.x + r.width);
    top = std::max(top, r.y + r.height);
  }
  return {left, bottom, right - left, top - bottom};
}

bool Regions_RectInRegion(const Regions_Region& region, const Regions_Rect& rect) {
  return std::any_of(region.rects.begin(), region.rects.end(),
                     [&](const Regions_Rect& r) { return Regions_RectsMeet(r, rect); });
}

bool Regions_Empty(const Regions_Region& region) { return region.rects.empty(); }
