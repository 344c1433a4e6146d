#include "toolkit/CWToggle.h"

#include <algorithm>

#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"

Classes_ClassPtr CWToggle_class = nullptr;

namespace {

constexpr int kBoxGap = 5;

using Toggle = CWToggle_Rec*;
Toggle AsToggle(Widget w) { return static_cast<Toggle>(w); }
CWLabel_ClassRec* Super() { return static_cast<CWLabel_ClassRec*>(CWLabel_class); }

// The box is as high as a line of the label's font.
int BoxSize(Widget w) {
  return std::max(WtDraw_LineHeight(AsToggle(w)->fontSize, AsToggle(w)->fontFixed) - 2, 8);
}

void ExtraRoom(Widget w, int& left, int& right) {
  left = right = 0;
  (AsToggle(w)->checkPos == 1 ? right : left) = BoxSize(w) + kBoxGap;
}

void Flip(Widget w) {
  w->value = WtTypes_Boolean(!CWToggle_IsOn(w));
  WtDraw_RedrawWidget(w);
  CWCore_CallCallback(w);
}

void APress(Widget w, W_Event&) {
  CWLabel_TakeFocus(w);
  AsToggle(w)->armed = true;
}

void ARelease(Widget w, W_Event& event) {
  if (!AsToggle(w)->armed) return;
  AsToggle(w)->armed = false;
  if (event.input.x >= 0 && event.input.x < w->width && event.input.y >= 0 && event.input.y < w->height) Flip(w);
}

void AKey(Widget w, W_Event& event) {
  if (event.input.ch == ' ') Flip(w);
  else WTranslt_ReturnEvent(w, event);
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  Super()->Expose(w, region, event);
  const Regions_Rect content = CWLabel_ContentArea(w);
  const int size = BoxSize(w);
  const int x = AsToggle(w)->checkPos == 1 ? content.x + content.width + kBoxGap : content.x - size - kBoxGap;
  const int y = content.y + (content.height - size) / 2;
  W_GC gc = WtDraw_GetGC();
  W_SetForeground(gc, w->sensitive ? WtColors_inputColor : WtColors_coreBackground);
  W_FillRectangle(w->window, gc, x, y, size, size);
  WtDraw_Draw3DFrame2(w->window, false, CWCore_EffectiveBackground(w), 1, x, y, size, size);
  if (CWToggle_IsOn(w)) {
    // A check mark: two strokes, two pixels thick.
    W_SetForeground(gc, w->sensitive ? W_Color{0, 0, 0} : WtColors_insensitiveColor);
    const int s = size;
    for (int t = 0; t < 2; ++t) {
      W_DrawLine(w->window, gc, x + 2, y + s / 2 + t, x + s / 2 - 1, y + 3 + t);
      W_DrawLine(w->window, gc, x + s / 2 - 1, y + 3 + t, x + s - 3, y + s - 3 + t);
    }
  }
  WtDraw_ReleaseGC(gc);
}

void MySetValue(Widget w, const WidgetValue& value) {
  CWCore_MySetValue(w, value);
  WtDraw_RedrawWidget(w);
}

void MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWLabel_ClassRec*>(c);
  auto* p = static_cast<CWToggle_Rec*>(prototype);
  cls->Expose = MyExpose;
  cls->SetValue = MySetValue;
  cls->AcceptFocus = CWLabel_AcceptFocusLook;
  cls->ReleaseFocus = CWLabel_ReleaseFocusLook;
  cls->Activate = Flip;
  cls->ExtraRoom = ExtraRoom;
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Down>", APress);
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Up>", ARelease);
  WTranslt_EnterTranslation(cls->translationTable, "<Key>", AKey);
  CAttribs_DefAttr(c, "checkPos", 0, &p->checkPos);
  p->value = WtTypes_Boolean(false);
  p->hAlign = 0;
}

}  // namespace

void CWToggle_CreateClass() {
  if (CWToggle_class != nullptr) return;
  CWLabel_CreateClass();
  CWToggle_class = new CWLabel_ClassRec;
  Classes_MakeClass(CWToggle_class, CWLabel_class, "WToggle", sizeof(CWToggle_Rec),
                    MyInitClass, nullptr, nullptr, "TOGGLE");
}

bool CWToggle_IsOn(Widget w) { return WtTypes_AsInteger(w->value) != 0; }
