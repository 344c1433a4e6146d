#include "toolkit/WtRowScroll.h"

#include <algorithm>
#include <cstdint>

#include "toolkit/CWSlider.h"

namespace {

constexpr std::size_t kWheelRows = 3;

// The thumb of a bar, from the trough's bottom; the first row shown stands
// at the top, so the offset counts from the other end.
std::int64_t Span(const WtRowScroll_Bar& bar) {
  return bar.count > bar.visible ? static_cast<std::int64_t>(bar.count - bar.visible) : 0;
}

CWSlider_Thumb Thumb(const WtRowScroll_Bar& bar) {
  const std::int64_t span = Span(bar);
  return CWSlider_ThumbPlace(bar.top - bar.bottom, span, static_cast<std::int64_t>(bar.visible),
                             span - static_cast<std::int64_t>(bar.first));
}

}  // namespace

std::size_t WtRowScroll_Clamp(std::size_t first, std::size_t count, std::size_t visible) {
  return count > visible ? std::min(first, count - visible) : 0;
}

bool WtRowScroll_Show(const WtRowScroll_Bar& bar, std::size_t row, std::size_t& first) {
  if (row < bar.first) first = row;
  else if (row >= bar.first + bar.visible) first = row + 1 - bar.visible;
  else return false;
  return true;
}

void WtRowScroll_Draw(W_Window window, const WtRowScroll_Bar& bar) {
  // All rows in view: no thumb.
  const CWSlider_Thumb thumb = Span(bar) > 0 ? Thumb(bar) : CWSlider_Thumb{};
  CWSlider_DrawTrough(window, Regions_Rect{bar.x, bar.bottom, WtRowScroll_barWidth, bar.top - bar.bottom}, true,
                      false, thumb, false);
}

bool WtRowScroll_Press(const WtRowScroll_Bar& bar, int y, WtRowScroll_Grip& grip, std::size_t& first) {
  const CWSlider_Thumb thumb = Thumb(bar);
  const int top = bar.bottom + thumb.start + thumb.length;
  grip.dragging = false;
  if (y >= top) first = bar.first > bar.visible ? bar.first - bar.visible : 0;
  else if (y < bar.bottom + thumb.start) first = bar.first + bar.visible;
  else grip = WtRowScroll_Grip{true, top - y};
  return !grip.dragging;
}

bool WtRowScroll_Drag(const WtRowScroll_Bar& bar, int y, const WtRowScroll_Grip& grip, std::size_t& first) {
  if (!grip.dragging) return false;
  const CWSlider_Thumb thumb = Thumb(bar);
  const std::int64_t span = Span(bar);
  if (span <= 0 || thumb.length >= bar.top - bar.bottom) return false;
  const int start = y + grip.offset - thumb.length - bar.bottom;
  first = static_cast<std::size_t>(span - CWSlider_OffsetAt(bar.top - bar.bottom, thumb.length, span, start));
  return true;
}

bool WtRowScroll_Wheel(const WtRowScroll_Bar& bar, unsigned button, std::size_t& first) {
  if (button == 3) first = bar.first > kWheelRows ? bar.first - kWheelRows : 0;
  else if (button == 4) first = bar.first + kWheelRows;
  else return false;
  return true;
}

bool WtRowScroll_KeyRow(unsigned key, std::size_t current, std::size_t count, std::size_t page, std::size_t& row) {
  switch (key) {
    case W_KeyUp: row = current > 0 ? current - 1 : 0; break;
    case W_KeyDown: row = std::min(current + 1, count - 1); break;
    case W_KeyPrior: row = current > page ? current - page : 0; break;
    case W_KeyNext: row = std::min(current + page, count - 1); break;
    case W_KeyHome: row = 0; break;
    case W_KeyEnd: row = count - 1; break;
    default: return false;
  }
  return true;
}
