#include "toolkit/CWPush.h"

#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"

Classes_ClassPtr CWPush_class = nullptr;

namespace {

constexpr int kRepeatMs = 100;

using Push = CWPush_Rec*;
Push repeating = nullptr;  // the button whose repetition runs

Push AsPush(Widget w) { return static_cast<Push>(w); }
CWLabel_ClassRec* Super() { return static_cast<CWLabel_ClassRec*>(CWLabel_class); }

void Activate(Widget w) { CWCore_CallCallback(w); }

void SetPressed(Push p, bool pressed) {
  if (p->pressed == pressed) return;
  p->pressed = pressed;
  WtDraw_RedrawWidget(p);
}

void StopRepeat(Push p) {
  WtEvents_CancelTimer(p->timer);
  if (repeating == p) repeating = nullptr;
}

void Repeat(std::uintptr_t data) {
  Push p = reinterpret_cast<Push>(data);
  p->timer = 0;
  if (!p->armed) return;
  Activate(p);
  p->timer = WtEvents_ScheduleTimer(kRepeatMs, Repeat, data);
}

void APress(Widget w, W_Event&) {
  Push p = AsPush(w);
  CWLabel_TakeFocus(w);
  p->armed = true;
  SetPressed(p, true);
  if (p->autorepeat) {
    Activate(w);
    repeating = p;
    p->timer = WtEvents_ScheduleTimer(p->initialWait, Repeat, reinterpret_cast<std::uintptr_t>(p));
  }
}

void ARelease(Widget w, W_Event& event) {
  Push p = AsPush(w);
  if (!p->armed) return;
  p->armed = false;
  StopRepeat(p);
  SetPressed(p, false);
  const bool inside = event.input.x >= 0 && event.input.x < w->width && event.input.y >= 0 && event.input.y < w->height;
  if (inside && !p->autorepeat) Activate(w);
}

// The pushed look follows the pointer while the button is held.
void AEnter(Widget w, W_Event&) {
  if (AsPush(w)->armed) SetPressed(AsPush(w), true);
}
void ALeave(Widget w, W_Event&) {
  if (AsPush(w)->armed) SetPressed(AsPush(w), false);
}

void AKey(Widget w, W_Event& event) {
  if (event.input.ch != ' ' && event.input.ch != W_KeyReturn) {
    WTranslt_ReturnEvent(w, event);
    return;
  }
  Activate(w);
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  // Pressed, the frame is sunk.
  const bool elevated = w->elevated;
  w->elevated = elevated && !AsPush(w)->pressed;
  Super()->Expose(w, region, event);
  w->elevated = elevated;
}

// A button reports its own number: a number shown on it changes nothing,
// a text becomes its label.
void MySetValue(Widget w, const WidgetValue& value) {
  if (WtTypes_KindOf(value.widgetType) == WtTypes_kString) Super()->SetValue(w, value);
}

void MyUnrealize(Widget w) {
  StopRepeat(AsPush(w));
  AsPush(w)->armed = false;
  Super()->Unrealize(w);
}

void MyDestruct(void* instance) { StopRepeat(AsPush(static_cast<Widget>(instance))); }

void MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWLabel_ClassRec*>(c);
  auto* p = static_cast<CWPush_Rec*>(prototype);
  cls->Expose = MyExpose;
  cls->Unrealize = MyUnrealize;
  cls->SetValue = MySetValue;
  cls->AcceptFocus = CWLabel_AcceptFocusLook;
  cls->ReleaseFocus = CWLabel_ReleaseFocusLook;
  cls->Activate = Activate;
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Down>", APress);
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Up>", ARelease);
  WTranslt_EnterTranslation(cls->translationTable, "<Enter>", AEnter);
  WTranslt_EnterTranslation(cls->translationTable, "<Leave>", ALeave);
  WTranslt_EnterTranslation(cls->translationTable, "<Key>", AKey);
  CAttribs_DefAttr(c, "autorepeat", 0, &p->autorepeat);
  CAttribs_DefAttr(c, "initialWait", 3, &p->initialWait);
  p->initialWait = 400;
  p->background = WtColors_buttonColor;
  p->frameWidth = 2;
  p->elevated = true;
}

}  // namespace

void CWPush_CreateClass() {
  if (CWPush_class != nullptr) return;
  CWLabel_CreateClass();
  CWPush_class = new CWLabel_ClassRec;
  Classes_MakeClass(CWPush_class, CWLabel_class, "WPush", sizeof(CWPush_Rec),
                    MyInitClass, nullptr, MyDestruct, "PUSH");
}

void CWPush_AutoRepeatOff() {
  if (repeating == nullptr) return;
  repeating->armed = false;
  SetPressed(repeating, false);
  StopRepeat(repeating);
}
