#include "toolkit/CWSlider.h"

#include <algorithm>
#include <cstring>

#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"

Classes_ClassPtr CWSlider_class = nullptr;
std::uint32_t CWSlider_slSizeAT = 0, CWSlider_orientationAT = 0;

namespace {

std::uint32_t transparentBedAT;

constexpr int kBreadth = 16;  // across, inside the frame
constexpr int kMinThumb = 12;
constexpr int kInitialWait = 400, kRepeatMs = 80;
const W_Color kGlyph{80, 80, 80};

// What lies under the pointer.
enum Part : std::uint8_t { kNone, kLowArrow, kHighArrow, kLowTrough, kHighTrough, kThumb };

using Slider = CWSlider_Rec*;
Slider AsSlider(Widget w) { return static_cast<Slider>(w); }
CWCore_ClassRec* Super() { return static_cast<CWCore_ClassRec*>(CWCore_class); }

// --- Value ---------------------------------------------------------------------------------

struct Range {
  std::int32_t low, high;
  std::int64_t Span() const { return static_cast<std::int64_t>(high) - low; }
};

Range RangeOf(Widget w) {
  std::int32_t r[2];
  std::memcpy(r, w->range, sizeof r);
  return Range{r[0], std::max(r[0], r[1])};
}

std::int32_t ValueOf(Widget w) { return WtTypes_AsInteger(w->value); }

// Stores the value, kept within the range; whether it changed.
bool Store(Widget w, std::int64_t value) {
  const Range r = RangeOf(w);
  const auto clamped = static_cast<std::int32_t>(std::clamp<std::int64_t>(value, r.low, r.high));
  const bool changed = clamped != ValueOf(w);
  w->value = WtTypes_Integer(clamped);
  return changed;
}

// --- Layout --------------------------------------------------------------------------------

// The parts along the axis, in pixels from the low end: the low arrow, the
// trough with the thumb in it, the high arrow.
struct Bar {
  Regions_Rect area;  // inside frame and border
  bool vertical = false;
  int length = 0, breadth = 0;
  int arrow = 0, trough = 0;
  CWSlider_Thumb thumb;
};

Bar Layout(Widget w) {
  Slider s = AsSlider(w);
  const int m = std::max(w->frameWidth, 0) + static_cast<int>(w->borderWidth);
  Bar b;
  b.area = Regions_Rect{(w->gadget ? w->x : 0) + m, (w->gadget ? w->y : 0) + m, w->width - 2 * m, w->height - 2 * m};
  b.vertical = s->orientation == 1;
  b.length = std::max(b.vertical ? b.area.height : b.area.width, 0);
  b.breadth = std::max(b.vertical ? b.area.width : b.area.height, 0);
  // Square arrows; on a short bar they share what there is.
  b.arrow = std::min(b.breadth, b.length / 2);
  b.trough = b.length - 2 * b.arrow;
  const Range r = RangeOf(w);
  b.thumb = CWSlider_ThumbPlace(b.trough, r.Span(), s->slSize, static_cast<std::int64_t>(ValueOf(w)) - r.low);
  return b;
}

// The piece of the bar from `from` along, `length` long, across the whole breadth.
Regions_Rect Piece(const Bar& b, int from, int length) {
  return b.vertical ? Regions_Rect{b.area.x, b.area.y + from, b.area.width, length}
                    : Regions_Rect{b.area.x + from, b.area.y, length, b.area.height};
}

int Along(const Bar& b, const W_Event& event) {
  return b.vertical ? event.input.y - b.area.y : event.input.x - b.area.x;
}

Part PartAt(const Bar& b, int along) {
  if (along < b.arrow) return kLowArrow;
  if (along >= b.length - b.arrow) return kHighArrow;
  const int at = along - b.arrow;
  if (at < b.thumb.start) return kLowTrough;
  return at < b.thumb.start + b.thumb.length ? kThumb : kHighTrough;
}

// --- Drawing -------------------------------------------------------------------------------

// A flat button: its face and a frame of one pixel, sunk while pressed.
void DrawButton(W_Window window, W_GC gc, const Regions_Rect& r, bool pressed) {
  const W_Color face = pressed ? WtColors_Darker(WtColors_buttonColor, 24) : WtColors_buttonColor;
  W_SetForeground(gc, face);
  W_FillRectangle(window, gc, r.x, r.y, r.width, r.height);
  WtDraw_Draw3DFrame2(window, !pressed, face, 1, r.x, r.y, r.width, r.height);
}

// An arrow button with a triangle pointing away from the trough.
void DrawArrow(Widget w, W_GC gc, const Bar& b, bool high) {
  const Regions_Rect r = Piece(b, high ? b.length - b.arrow : 0, b.arrow);
  if (r.width <= 0 || r.height <= 0) return;
  DrawButton(w->window, gc, r, AsSlider(w)->held == (high ? kHighArrow : kLowArrow));
  const int half = std::max(b.arrow / 4, 2);  // half the base; the tip is as far from it
  const int along = b.vertical ? r.y + r.height / 2 : r.x + r.width / 2;
  const int across = b.vertical ? r.x + (r.width - 1) / 2 : r.y + (r.height - 1) / 2;
  const int d = high ? 1 : -1;
  const int tip = along + d * ((half + 1) / 2), base = tip - d * half;
  auto point = [&](int u, int v) { return b.vertical ? W_Point{v, u} : W_Point{u, v}; };
  const W_Point triangle[3] = {point(tip, across), point(base, across - half), point(base, across + half)};
  W_SetForeground(gc, w->sensitive ? kGlyph : WtColors_insensitiveColor);
  W_FillPolygon(w->window, gc, triangle, 3);
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  Super()->Expose(w, region, event);
  const Bar b = Layout(w);
  if (b.length <= 0 || b.breadth <= 0) return;
  W_GC gc = WtDraw_GetGC();
  DrawArrow(w, gc, b, false);
  DrawArrow(w, gc, b, true);
  WtDraw_ReleaseGC(gc);
  CWSlider_DrawTrough(w->window, Piece(b, b.arrow, b.trough), b.vertical, AsSlider(w)->transparentBed,
                      w->sensitive ? b.thumb : CWSlider_Thumb{}, AsSlider(w)->held == kThumb);
}

void Redraw(Widget w) { WtDraw_RedrawWidgetDirect(w); }

// --- Input ---------------------------------------------------------------------------------

void Change(Widget w, std::int64_t value, bool report) {
  if (!Store(w, value)) return;
  Redraw(w);
  if (report) CWCore_CallCallback(w);
}

// One step of the arrow or trough held: the trough pages toward the press
// until the thumb has reached it.
void StepHeld(Widget w) {
  Slider s = AsSlider(w);
  const Bar b = Layout(w);
  const std::int64_t value = ValueOf(w), page = std::max(s->slSize, 1);
  const int thumbStart = b.arrow + b.thumb.start;
  switch (s->held) {
    case kLowArrow: Change(w, value - 1, true); break;
    case kHighArrow: Change(w, value + 1, true); break;
    case kLowTrough:
      if (s->pressAt < thumbStart) Change(w, value - page, true);
      break;
    case kHighTrough:
      if (s->pressAt >= thumbStart + b.thumb.length) Change(w, value + page, true);
      break;
    default: break;
  }
}

void Repeat(std::uintptr_t data) {
  auto* w = reinterpret_cast<Widget>(data);
  Slider s = AsSlider(w);
  s->timer = 0;
  if (s->held == kNone || s->held == kThumb) return;
  StepHeld(w);
  s->timer = WtEvents_ScheduleTimer(kRepeatMs, Repeat, data);
}

void APress(Widget w, W_Event& event) {
  Slider s = AsSlider(w);
  const Bar b = Layout(w);
  s->pressAt = Along(b, event);
  s->held = PartAt(b, s->pressAt);
  WtEvents_CancelTimer(s->timer);
  if (s->held == kThumb) {
    s->grip = s->pressAt - (b.arrow + b.thumb.start);
    s->pressValue = ValueOf(w);
  } else {
    StepHeld(w);
    s->timer = WtEvents_ScheduleTimer(kInitialWait, Repeat, reinterpret_cast<std::uintptr_t>(w));
  }
  Redraw(w);
}

void ADrag(Widget w, W_Event& event) {
  Slider s = AsSlider(w);
  if (s->held != kThumb) return;
  const Bar b = Layout(w);
  const Range r = RangeOf(w);
  const int start = Along(b, event) - s->grip - b.arrow;
  Change(w, r.low + CWSlider_OffsetAt(b.trough, b.thumb.length, r.Span(), start), s->continuousCB);
}

void ARelease(Widget w, W_Event&) {
  Slider s = AsSlider(w);
  WtEvents_CancelTimer(s->timer);
  const bool dragged = s->held == kThumb;
  s->held = kNone;
  Redraw(w);
  if (dragged && !s->continuousCB && ValueOf(w) != s->pressValue) CWCore_CallCallback(w);
}

// The wheel: button 4 up, 5 down; the top of a vertical bar is its high end.
void AWheel(Widget w, W_Event& event) {
  const int up = event.input.button == 3 ? 1 : -1;
  Change(w, static_cast<std::int64_t>(ValueOf(w)) + (AsSlider(w)->orientation == 1 ? up : -up), true);
}

// --- Operations ----------------------------------------------------------------------------

void MyQueryGeometry(Widget w, Geometry& result) {
  const int m = std::max(w->frameWidth, 0) + static_cast<int>(w->borderWidth);
  const Dim across{kBreadth + 2 * m, 0};
  const Dim along{3 * kBreadth + 2 * m, Dim_Unbounded};
  result = AsSlider(w)->orientation == 1 ? Geometry{across, along} : Geometry{along, across};
}

void MySetValue(Widget w, const WidgetValue& value) {
  Store(w, WtTypes_AsInteger(value));
  Redraw(w);
}

void MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) {
  CWCore_MySetAttr(object, id, bytes, size, ok);
  if (!ok) return;
  auto* w = static_cast<Widget>(object);
  if (id == CWCore_rangeAT) Store(w, ValueOf(w));
  if (id == CWSlider_orientationAT) CWCore_InvalidateGeometry(w);
  if (id == CWCore_rangeAT || id == CWSlider_slSizeAT || id == CWSlider_orientationAT || id == transparentBedAT)
    Redraw(w);
}

void MyUnrealize(Widget w) {
  WtEvents_CancelTimer(AsSlider(w)->timer);
  AsSlider(w)->held = kNone;
  Super()->Unrealize(w);
}

void MyInit(void* instance) {
  auto* w = static_cast<Widget>(instance);
  Store(w, ValueOf(w));
}

void MyDestruct(void* instance) { WtEvents_CancelTimer(AsSlider(static_cast<Widget>(instance))->timer); }

void MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWCore_ClassRec*>(c);
  auto* p = static_cast<CWSlider_Rec*>(prototype);
  cls->SetAttr = MySetAttr;
  cls->Expose = MyExpose;
  cls->QueryGeometry = MyQueryGeometry;
  cls->SetValue = MySetValue;
  cls->Unrealize = MyUnrealize;
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Down>", APress);
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Motion>", ADrag);
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Up>", ARelease);
  WTranslt_EnterTranslation(cls->translationTable, "<Btn4Down>", AWheel);
  WTranslt_EnterTranslation(cls->translationTable, "<Btn5Down>", AWheel);
  CAttribs_DefAttr(c, "continuousCB", 0, &p->continuousCB);
  CWSlider_orientationAT = CAttribs_DefAttr(c, "orientation", 0, &p->orientation);
  transparentBedAT = CAttribs_DefAttr(c, "transparentBed", 0, &p->transparentBed);
  CWSlider_slSizeAT = CAttribs_DefAttr(c, "slSize", 3, &p->slSize);
  p->value = WtTypes_Integer(0);
}

}  // namespace

void CWSlider_CreateClass() {
  if (CWSlider_class != nullptr) return;
  CWCore_CreateClass();
  CWSlider_class = new CWCore_ClassRec;
  Classes_MakeClass(CWSlider_class, CWCore_class, "WSlider", sizeof(CWSlider_Rec), MyInitClass, MyInit, MyDestruct,
                    "SLIDER");
}

// --- The trough and its thumb ----------------------------------------------------------------

W_Color CWSlider_TroughColor() { return WtColors_Darker(WtColors_defaultBackground, 24); }

CWSlider_Thumb CWSlider_ThumbPlace(int trough, std::int64_t span, std::int64_t visible, std::int64_t offset) {
  CWSlider_Thumb t;
  if (trough <= 0) return t;
  if (span <= 0) {
    t.length = trough;
    return t;
  }
  visible = std::max<std::int64_t>(visible, 0);
  t.length = static_cast<int>(
      std::clamp<std::int64_t>(trough * visible / (span + visible), std::min(kMinThumb, trough), trough));
  offset = std::clamp<std::int64_t>(offset, 0, span);
  t.start = static_cast<int>(((trough - t.length) * offset * 2 + span) / (2 * span));
  return t;
}

std::int64_t CWSlider_OffsetAt(int trough, int thumbLength, std::int64_t span, int start) {
  const int room = trough - thumbLength;
  if (room <= 0 || span <= 0) return 0;
  const std::int64_t at = std::clamp(start, 0, room);
  return (at * span * 2 + room) / (2 * room);
}

void CWSlider_DrawTrough(W_Window window, const Regions_Rect& trough, bool vertical, bool transparent,
                         const CWSlider_Thumb& thumb, bool pressed) {
  if (trough.width <= 0 || trough.height <= 0) return;
  W_GC gc = WtDraw_GetGC();
  if (!transparent) {
    W_SetForeground(gc, CWSlider_TroughColor());
    W_FillRectangle(window, gc, trough.x, trough.y, trough.width, trough.height);
  }
  // The thumb keeps a pixel off the trough's sides.
  if (thumb.length > 0)
    DrawButton(window, gc,
               vertical ? Regions_Rect{trough.x + 1, trough.y + thumb.start, trough.width - 2, thumb.length}
                        : Regions_Rect{trough.x + thumb.start, trough.y + 1, thumb.length, trough.height - 2},
               pressed);
  WtDraw_ReleaseGC(gc);
}
