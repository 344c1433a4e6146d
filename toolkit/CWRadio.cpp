#include "toolkit/CWRadio.h"

#include <algorithm>

#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"

Classes_ClassPtr CWRadio_class = nullptr;

namespace {

constexpr int kGap = 5;

using Radio = CWRadio_Rec*;
Radio AsRadio(Widget w) { return static_cast<Radio>(w); }
CWLabel_ClassRec* Super() { return static_cast<CWLabel_ClassRec*>(CWLabel_class); }

// An odd size, so that the diamond has a middle pixel.
int DiamondSize(Widget w) {
  Radio r = AsRadio(w);
  int size = r->diamondSize;
  if (size <= 0) size = std::max(WtDraw_LineHeight(r->fontSize, r->fontFixed) - 2, 9);
  return size | 1;
}

void ExtraRoom(Widget w, int& left, int& right) {
  left = right = 0;
  (AsRadio(w)->diamondPos == 1 ? right : left) = DiamondSize(w) + kGap;
}

void Redraw(Widget w) {
  if (w->realized) WtDraw_RedrawWidget(w);
}

void Choose(Widget w) {
  // The group's value becomes this radio's number; the dialog shows it on
  // the others (not on the one that reports).
  if (!AsRadio(w)->chosen) {
    AsRadio(w)->chosen = true;
    Redraw(w);
  }
  CWCore_CallCallback(w);
}

void APress(Widget w, W_Event&) {
  CWLabel_TakeFocus(w);
  AsRadio(w)->armed = true;
  Redraw(w);
}

bool Inside(Widget w, const W_Event& event) {
  return event.input.x >= 0 && event.input.x < w->width && event.input.y >= 0 && event.input.y < w->height;
}

void ARelease(Widget w, W_Event& event) {
  Radio r = AsRadio(w);
  if (!r->armed) return;
  r->armed = false;
  Redraw(w);
  if (Inside(w, event)) Choose(w);
}

void AKey(Widget w, W_Event& event) {
  if (event.input.ch == ' ') Choose(w);
  else WTranslt_ReturnEvent(w, event);
}

void Diamond(W_Window window, W_GC gc, int x, int y, int size, int inset) {
  const int half = size / 2;
  const W_Point p[4] = {{x + half, y + inset}, {x + size - 1 - inset, y + half}, {x + half, y + size - 1 - inset},
                        {x + inset, y + half}};
  W_FillPolygon(window, gc, p, 4);
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  Super()->Expose(w, region, event);
  Radio r = AsRadio(w);
  const Regions_Rect content = CWLabel_ContentArea(w);
  const int size = DiamondSize(w);
  const int x = r->diamondPos == 1 ? content.x + content.width + kGap : content.x - size - kGap;
  const int y = content.y + (content.height - size) / 2;
  W_GC gc = WtDraw_GetGC();
  // A sunk diamond: a dark rim above, a light one below, the paper inside.
  W_SetForeground(gc, WtColors_Darker(CWCore_EffectiveBackground(w), 96));
  Diamond(w->window, gc, x, y, size, 0);
  W_SetForeground(gc, WtColors_Lighter(CWCore_EffectiveBackground(w), 24));
  const int half = size / 2;
  const W_Point lower[3] = {{x + 1, y + half}, {x + half, y}, {x + size - 2, y + half}};
  W_FillPolygon(w->window, gc, lower, 3);
  const W_Color paper = !w->sensitive ? WtColors_coreBackground : r->armed ? r->pressedBackground : WtColors_inputColor;
  W_SetForeground(gc, paper);
  Diamond(w->window, gc, x, y, size, 2);
  if (r->chosen) {
    W_SetForeground(gc, w->sensitive ? W_Color{0, 0, 0} : WtColors_insensitiveColor);
    Diamond(w->window, gc, x, y, size, std::max(3, size / 4));
  }
  WtDraw_ReleaseGC(gc);
}

// The number stays; the value shown tells whether this radio is chosen. A
// text becomes the label, as on a button.
void MySetValue(Widget w, const WidgetValue& value) {
  Radio r = AsRadio(w);
  if (WtTypes_KindOf(value.widgetType) == WtTypes_kString) return Super()->SetValue(w, value);
  const bool chosen = WtTypes_AsInteger(value) == WtTypes_AsInteger(w->value);
  if (chosen == r->chosen) return;
  r->chosen = chosen;
  Redraw(w);
}

void MyUnrealize(Widget w) {
  AsRadio(w)->armed = false;
  Super()->Unrealize(w);
}

void MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWLabel_ClassRec*>(c);
  auto* p = static_cast<CWRadio_Rec*>(prototype);
  cls->Expose = MyExpose;
  cls->SetValue = MySetValue;
  cls->Unrealize = MyUnrealize;
  cls->AcceptFocus = CWLabel_AcceptFocusLook;
  cls->ReleaseFocus = CWLabel_ReleaseFocusLook;
  cls->Activate = Choose;
  cls->ExtraRoom = ExtraRoom;
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Down>", APress);
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Up>", ARelease);
  WTranslt_EnterTranslation(cls->translationTable, "<Key>", AKey);
  CAttribs_DefAttr(c, "diamondPos", 0, &p->diamondPos);
  CAttribs_DefAttr(c, "diamondSize", 3, &p->diamondSize);
  CAttribs_DefAttr(c, "pressedBackground", 11, &p->pressedBackground);
  p->pressedBackground = WtColors_buttonColor;
  p->value = WtTypes_Integer(0);
  p->hAlign = 0;
}

}  // namespace

void CWRadio_CreateClass() {
  if (CWRadio_class != nullptr) return;
  CWLabel_CreateClass();
  CWRadio_class = new CWLabel_ClassRec;
  Classes_MakeClass(CWRadio_class, CWLabel_class, "WRadio", sizeof(CWRadio_Rec), MyInitClass, nullptr, nullptr,
                    "RADIO");
}

bool CWRadio_IsChosen(Widget w) { return AsRadio(w)->chosen; }
