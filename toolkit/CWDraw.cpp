#include "toolkit/CWDraw.h"

#include "toolkit/CWShell.h"
#include "toolkit/WtWnds.h"

Classes_ClassPtr CWDraw_class = nullptr;

namespace {

using Draw = CWDraw_Rec*;
Draw AsDraw(Widget w) { return static_cast<Draw>(w); }
CWCore_ClassRec* Super() { return static_cast<CWCore_ClassRec*>(CWCore_class); }

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  Super()->Expose(w, region, event);
  Draw d = AsDraw(w);
  Regions_Region united;
  if (region != nullptr) united = *region;
  if (d->unitedExposure && event.kind == W_Expose) {
    W_Event more;
    while (W_CheckTypedWindowEvent(w->window, W_Expose, more))
      Regions_UnionRectWithRegion({more.expose.x, more.expose.y, more.expose.width, more.expose.height}, united);
    const Regions_Rect box = Regions_Box(united);
    event.expose = W_ExposeBody{box.x, box.y, box.width, box.height, 0};
  }
  if (d->expose == nullptr) return;
  // The class clips for itself: the dispatcher leaves it alone.
  if (d->autoClip)
    W_SetImplicitClipping(w->window, event.expose.x, event.expose.y, event.expose.width, event.expose.height);
  d->expose(w, united, event, d->exposeData);
  if (d->autoClip) W_UnsetImplicitClipping();
}

void MyConfigure(Widget w) {
  Draw d = AsDraw(w);
  if (d->configure != nullptr) d->configure(w, d->configureData);
}

void AInput(Widget w, W_Event& event) {
  Draw d = AsDraw(w);
  if (d->input == nullptr || !d->input(w, event, d->inputData)) WTranslt_ReturnEvent(w, event);
}

void AEnter(Widget w, W_Event&) {
  if (AsDraw(w)->autoGetFocus && !CWShell_HasFocus(w) && CWCore_AcceptFocus(w, false)) CWShell_RequestFocus(w);
}

bool MyAcceptFocus(Widget w, bool) { return AsDraw(w)->input != nullptr && w->sensitive && WtWnds_IsMapped(w); }

void MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWCore_ClassRec*>(c);
  auto* p = static_cast<CWDraw_Rec*>(prototype);
  cls->Expose = MyExpose;
  cls->Configure = MyConfigure;
  cls->AcceptFocus = MyAcceptFocus;
  cls->compressExposure = false;
  cls->wantNoExpose = 1;
  // Its own crossing translations: focus on entry besides the hover look.
  WTranslt_EnterTranslation(cls->translationTable, "<Enter>", AEnter);
  WTranslt_EnterTranslation(cls->translationTable, "<Key>,<BtnDown>,<BtnUp>,<Motion>", AInput);
  CAttribs_DefAttr(c, "autoGetFocus", 0, &p->autoGetFocus);
  CAttribs_DefAttr(c, "unitedExposure", 0, &p->unitedExposure);
  CAttribs_DefAttr(c, "autoClip", 0, &p->autoClip);
}

}  // namespace

void CWDraw_CreateClass() {
  if (CWDraw_class != nullptr) return;
  CWCore_CreateClass();
  CWDraw_class = new CWCore_ClassRec;
  Classes_MakeClass(CWDraw_class, CWCore_class, "WDraw", sizeof(CWDraw_Rec),
                    MyInitClass, nullptr, nullptr, "GENERIC");
}

void CWDraw_SetExposeHook(Widget w, CWDraw_ExposeProc proc, std::uintptr_t data) {
  AsDraw(w)->expose = proc;
  AsDraw(w)->exposeData = data;
}

void CWDraw_SetConfigureHook(Widget w, CWDraw_ConfigureProc proc, std::uintptr_t data) {
  AsDraw(w)->configure = proc;
  AsDraw(w)->configureData = data;
}

void CWDraw_SetInputHook(Widget w, CWDraw_InputProc proc, std::uintptr_t data) {
  AsDraw(w)->input = proc;
  AsDraw(w)->inputData = data;
  if (w->realized) WtEvents_BuildEventMask(w);
}
