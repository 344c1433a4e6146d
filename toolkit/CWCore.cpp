#include "toolkit/CWCore.h"

#include <cstring>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "toolkit/CObject.h"
#include "toolkit/CWGroup.h"
#include "toolkit/CWShell.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtCursor.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtToolTip.h"
#include "toolkit/WtWnds.h"

Classes_ClassPtr CWCore_class = nullptr;

std::uint32_t CWCore_backgroundAT, CWCore_backgroundPixAT, CWCore_bgGradientAT, CWCore_borderWidthAT,
    CWCore_frameWidthAT, CWCore_elevatedAT, CWCore_highlightedAT, CWCore_hoverAT, CWCore_geometryAT,
    CWCore_hDimAT, CWCore_vDimAT, CWCore_sensitiveAT, CWCore_redrawModeAT, CWCore_widgetTypeAT,
    CWCore_VALUEAT, CWCore_rangeAT, CWCore_autoGrabAT, CWCore_helpMsgAT, CWCore_helpMsgSelectedAT,
    CWCore_helpMsgDisabledAT, CWCore_tabKeepsFocusAT;

namespace {

CWCore_ClassRec* Ops(Widget w) { return CWCore_ClassOf(w); }

void NoSizeAdjust(Widget, std::uintptr_t, Geometry&) {}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) { WtWnds_StdExpose(w, region, event); }
void MyRealize(Widget w) { WtWnds_StdRealize(w); }
void MyRaiseWindow(Widget w) {
  if (!w->gadget && w->window != 0) W_RaiseWindow(w->window);
}
void MyConfigure(Widget) {}

Widget MyGetInstByID(Widget w, std::uint32_t id) { return w->id == id ? w : nullptr; }
void MyGetValue(Widget w, WidgetValue& value) { value = w->value; }
void MySetCallback(Widget w, CWCore_Callback callback, std::uintptr_t data) {
  w->callback = callback;
  w->callbackData = data;
}
bool MyAcceptFocus(Widget, bool) { return false; }
void MyReleaseFocus(Widget) {}
void MyOfferKeyEvent(Widget, Widget, W_Event&) {}
void MyCheckValue(Widget) {}
void MySetEnabledState(Widget w, bool enabled) {
  bool ok;
  CObject_SetAttr(w, CWCore_sensitiveAT, &enabled, 1, ok);
}
bool MyDidToolTipChange(Widget, int, int) { return true; }
void MyDoCommand(Widget, StrIn) {}

void SetHighlighted(Widget w, bool on) {
  bool ok;
  CObject_SetAttr(w, CWCore_highlightedAT, &on, 1, ok);
}

void MyInit(void* instance) {
  auto* w = static_cast<Widget>(instance);
  CWCore_ClassRec* cls = Ops(w);
  w->gadget = cls->gadget;
  w->compressExposure = cls->compressExposure;
  w->classFlag3 = cls->classFlag3;
  w->mapWhenRealized = cls->mapWhenRealized;
  std::uint32_t mask = W_ExposureMask | W_OwnerGrabButtonMask;
  w->translations = cls->translationTable;
  if (w->frameWidth == -1 || w->frameWidth == -2) w->frameWidth = static_cast<std::int32_t>(w->borderWidth);
  w->geometryGiven = 0;
  Dim* dims[2] = {&w->geometry.hDim, &w->geometry.vDim};
  for (int axis = 0; axis < 2; ++axis) {
    if (dims[axis]->min == CWCore_unsetMin) dims[axis]->min = static_cast<std::int32_t>(2 * w->borderWidth);
    else w->geometryGiven |= static_cast<std::uint8_t>(1 << (2 * axis));
    if (dims[axis]->stretch == CWCore_unsetStretch) dims[axis]->stretch = Dim_Unbounded;
    else w->geometryGiven |= static_cast<std::uint8_t>(2 << (2 * axis));
  }
  if (w->helpMsg >= 0 || w->helpMsgSelected >= 0 || w->helpMsgDisabled >= 0) {
    w->gadget = false;
    mask |= W_EnterWindowMask | W_LeaveWindowMask;
  }
  if (w->autoGrab) mask &= ~W_OwnerGrabButtonMask;
  if (!CAttribs_Text(w->backgroundPix).Empty() || w->bgGradient != 0) w->gadget = false;
  w->eventData = WtEvents_CreateEventData(mask);
  w->simpleToolTip = true;
  w->selected = false;
  w->savedPixmap = w->backgroundPixmap;
  w->savedColor = w->background;
  w->savedFrameWidth = w->frameWidth;
  w->sizeAdjust = NoSizeAdjust;
  w->redrawPending = true;
}

void MyDestruct(void* instance) {
  auto* w = static_cast<Widget>(instance);
  WtToolTip_WidgetDestroyed(w);
  WtBase_Assert(!w->realized);
  if (w->translations != Ops(w)->translationTable) WTranslt_DestroyTranslationTable(w->translations);
  WtEvents_DestroyEventData(w->eventData);
  if (w->backgroundPixmap != 0 && w->backgroundPixmap != WtBase_rootPixmap) W_FreePixmap(w->backgroundPixmap);
  WtEvents_RemoveDeferredAction(CWCore_RedrawWidgetDirect, reinterpret_cast<std::uintptr_t>(w));
  WtEvents_WidgetDestroyed(w);
}

// The window's background after a change of colour, pixmap or gradient.
void UpdateBackground(Widget w, std::uint32_t id) {
  if (w->gadget) return;
  if (w->backgroundPixmap != 0 && w->backgroundPixmap != WtBase_rootPixmap) W_FreePixmap(w->backgroundPixmap);
  w->backgroundPixmap = WtWnds_GetBackgroundPixmap(w);
  w->savedPixmap = w->backgroundPixmap;
  w->redrawPending = false;
  if (id == CWCore_backgroundAT) w->savedColor = w->background;
  if (w->window == 0) return;
  Widget owner = nullptr;
  W_Color color;
  W_Pixmap pixmap;
  WtWnds_SearchBackground(w, owner, color, pixmap);
  if (pixmap != 0 && owner == w) W_SetBackgroundPixmap(w->window, pixmap);
  else if (pixmap != 0 && owner != nullptr && owner->parent != nullptr) W_SetBackgroundPixmap(w->window, 1);
  else W_SetBackgroundColor(w->window, color);
}

void AttributeDefinitions(Classes_ClassPtr cls, CWCore_Rec* p) {
  CWCore_backgroundAT = CAttribs_DefAttr(cls, "background", 11, &p->background);
  CWCore_backgroundPixAT = CAttribs_DefStrAttr(cls, "backgroundPix", kPathCap - 1, &p->backgroundPix);
  CWCore_bgGradientAT = CAttribs_DefAttr(cls, "bgGradient", 3, &p->bgGradient);
  CWCore_borderWidthAT = CAttribs_DefAttr(cls, "borderWidth", 3, &p->borderWidth);
  CWCore_frameWidthAT = CAttribs_DefAttr(cls, "frameWidth", 3, &p->frameWidth);
  CWCore_elevatedAT = CAttribs_DefAttr(cls, "elevated", 0, &p->elevated);
  CWCore_highlightedAT = CAttribs_DefAttr(cls, "highlighted", 0, &p->highlighted);
  CWCore_hoverAT = CAttribs_DefAttr(cls, "hover", 0, &p->hover);
  CWCore_geometryAT = CAttribs_DefAttr(cls, "geometry", 15, &p->geometry);
  CWCore_hDimAT = CAttribs_DefAttr(cls, "hDim", 7, &p->geometry.hDim);
  CWCore_vDimAT = CAttribs_DefAttr(cls, "vDim", 7, &p->geometry.vDim);
  CWCore_sensitiveAT = CAttribs_DefAttr(cls, "sensitive", 0, &p->sensitive);
  CWCore_redrawModeAT = CAttribs_DefAttr(cls, "redrawMode", 0, &p->redrawMode);
  CWCore_widgetTypeAT = CAttribs_DefAttr(cls, "widgetType", 3, &p->value.widgetType);
  CWCore_VALUEAT = CAttribs_DefAttr(cls, "VALUE", 511, &p->value.VALUE);
  CWCore_rangeAT = CAttribs_DefAttr(cls, "range", 15, &p->range);
  CWCore_autoGrabAT = CAttribs_DefAttr(cls, "autoGrab", 0, &p->autoGrab);
  CWCore_helpMsgAT = CAttribs_DefAttr(cls, "helpMsg", 3, &p->helpMsg);
  CWCore_helpMsgSelectedAT = CAttribs_DefAttr(cls, "helpMsgSelected", 3, &p->helpMsgSelected);
  CWCore_helpMsgDisabledAT = CAttribs_DefAttr(cls, "helpMsgDisabled", 3, &p->helpMsgDisabled);
  CWCore_tabKeepsFocusAT = CAttribs_DefAttr(cls, "tabKeepsFocus", 0, &p->tabKeepsFocus);
}

void PrototypeDefaults(CWCore_Rec* p) {
  p->background = WtColors_copyColor;
  p->geometry = Geometry{{CWCore_unsetMin, CWCore_unsetStretch}, {CWCore_unsetMin, CWCore_unsetStretch}};
  p->sensitive = true;
  p->helpMsg = p->helpMsgSelected = p->helpMsgDisabled = -1;
  p->value = WtTypes_Integer(0);
  const std::int32_t range[2] = {-32768, 32767};
  std::memcpy(p->range, range, sizeof range);
  p->innerWidth = p->innerHeight = 1;
}

}  // namespace

void CWCore_MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWCore_ClassRec*>(c);
  auto* p = static_cast<CWCore_Rec*>(prototype);
  cls->SetAttr = CWCore_MySetAttr;
  cls->Expose = MyExpose;
  cls->Realize = MyRealize;
  cls->Unrealize = CWCore_MyUnrealize;
  cls->MapWindow = CWCore_MyMapWindow;
  cls->UnmapWindow = CWCore_MyUnmapWindow;
  cls->RaiseWindow = MyRaiseWindow;
  cls->AdjustWindowBounds = CWCore_MyAdjustWindowBounds;
  cls->UpdateWindowAttrs = CWCore_MyUpdateWindowAttrs;
  cls->QueryGeometry = CWCore_MyQueryGeometry;
  cls->Configure = MyConfigure;
  cls->GetInstByID = MyGetInstByID;
  cls->SetValue = CWCore_MySetValue;
  cls->GetValue = MyGetValue;
  cls->SetCallback = MySetCallback;
  cls->AcceptFocus = MyAcceptFocus;
  cls->ReleaseFocus = MyReleaseFocus;
  cls->OfferKeyEvent = MyOfferKeyEvent;
  cls->CheckValue = MyCheckValue;
  cls->SetEnabledState = MySetEnabledState;
  cls->InvalidateGeometry = CWCore_MyInvalidateGeometry;
  cls->DidToolTipChange = MyDidToolTipChange;
  cls->GetToolTipText = CWCore_MyGetToolTipText;
  cls->DoCommand = MyDoCommand;
  // Every class gets a table of its own, starting with the crossing actions.
  cls->translationTable = WTranslt_CreateTranslationTable();
  WTranslt_EnterTranslation(cls->translationTable, "<Enter>", CWCore_AEnter);
  WTranslt_EnterTranslation(cls->translationTable, "<Leave>", CWCore_ALeave);
  cls->gadget = false;
  cls->compressExposure = true;
  cls->classFlag3 = false;
  cls->mapWhenRealized = true;
  cls->wantNoExpose = 0;
  AttributeDefinitions(cls, p);
  PrototypeDefaults(p);
}

void CWCore_CreateClass() {
  if (CWCore_class != nullptr) return;
  CObject_CreateClass();
  WtTypes_Init();
  CWCore_class = new CWCore_ClassRec;
  Classes_MakeClass(CWCore_class, CObject_class, "WCore", sizeof(CWCore_Rec),
                    CWCore_MyInitClass, MyInit, MyDestruct, "CORE");
}

// --- Operations ----------------------------------------------------------------------

void CWCore_MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) {
  auto* w = static_cast<Widget>(object);
  const bool wasSensitive = w->sensitive;
  CObject_MySetAttr(object, id, bytes, size, ok);
  if (!ok) return;
  if (id == CWCore_sensitiveAT) {
    if (wasSensitive != w->sensitive) WtDraw_RedrawWidget(w);
  } else if (id == CWCore_backgroundAT || id == CWCore_backgroundPixAT || id == CWCore_bgGradientAT) {
    UpdateBackground(w, id);
    WtDraw_RedrawWidget(w);
  } else if (id == CWCore_highlightedAT && w->hover == 2 && CWGroup_IsGroupWidget(w)) {
    CWGroup_Walk walk;
    for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk))
      SetHighlighted(c, w->highlighted);
  }
}

void CWCore_MyMapWindow(Widget w) {
  if (w->mapped) return;
  WtBase_Assert(w->window != 0);
  if (!w->gadget && w->width > 0 && w->height > 0) W_MapWindow(w->window);
  w->mapped = true;
}

void CWCore_MyUnmapWindow(Widget w) {
  if (!w->mapped) return;
  if (!w->gadget && w->window != 0) W_UnmapWindow(w->window);
  w->mapped = false;
  w->highlighted = false;
}

void CWCore_MyUnrealize(Widget w) {
  if (!w->gadget && w->window != 0) {
    W_SaveContext(w->window, nullptr);
    WtCursor_ForgetWindow(w->window);
  }
}

void CWCore_MyAdjustWindowBounds(Widget w) {
  if (w->gadget || w->window == 0) return;
  if (w->width > 0 && w->height > 0) {
    W_MoveResizeWindow(w->window, w->x, w->y, w->width, w->height);
    if (w->mapped) W_MapWindow(w->window);
  } else if (w->mapped) {
    W_UnmapWindow(w->window);
  }
}

void CWCore_MyUpdateWindowAttrs(Widget w) {
  if (w->gadget) return;
  W_SaveContext(w->window, w);
  WtEvents_BuildEventMask(w);
}

void CWCore_MyQueryGeometry(Widget w, Geometry& result) {
  const auto border = static_cast<std::int32_t>(2 * w->borderWidth);
  result = Geometry{{border, Dim_Unbounded}, {border, Dim_Unbounded}};
}

void CWCore_MyInvalidateGeometry(Widget w) {
  w->geometryValid = false;
  if (w->parent != nullptr) CWCore_InvalidateGeometry(w->parent);
}

void CWCore_MySetValue(Widget w, const WidgetValue& value) { w->value = value; }

bool CWCore_MyGetToolTipText(Widget w, int level, int, int, StrOut text, W_Point& lowerLeft,
                             W_Point& upperRight) {
  text.Clear();
  if (level != 2) return false;
  std::int32_t number = w->helpMsg;
  if (w->sensitive && w->selected && w->helpMsgSelected >= 0) number = w->helpMsgSelected;
  if (!w->sensitive && w->helpMsgDisabled >= 0) number = w->helpMsgDisabled;
  if (number < 0 || !CWCore_GetHelpMessage(w, number, text)) return false;
  lowerLeft = W_Point{0, 0};
  upperRight = W_Point{w->width, w->height};
  return true;
}

// --- Wrappers ------------------------------------------------------------------------

void CWCore_Expose(Widget w, const Regions_Region* region, W_Event& event) {
  if (event.kind == W_NoExpose && Ops(w)->wantNoExpose == 0) return;
  w->redrawPending = false;
  Ops(w)->Expose(w, region, event);
}

void CWCore_Realize(Widget w) {
  if (w->realized) return;
  Ops(w)->Realize(w);
  w->realized = true;
}

void CWCore_Unrealize(Widget w) {
  if (!w->realized) return;
  Ops(w)->Unrealize(w);
  w->realized = false;
  w->mapped = false;
  w->window = 0;
}

void CWCore_MapWindow(Widget w) { Ops(w)->MapWindow(w); }

void CWCore_UnmapWindow(Widget w) {
  Ops(w)->UnmapWindow(w);
  WtEvents_WidgetTakenDown(w);
}

void CWCore_RaiseWindow(Widget w) { Ops(w)->RaiseWindow(w); }
void CWCore_AdjustWindowBounds(Widget w) { Ops(w)->AdjustWindowBounds(w); }
void CWCore_UpdateWindowAttrs(Widget w) { Ops(w)->UpdateWindowAttrs(w); }

void CWCore_QueryGeometry(Widget w, Geometry& result) {
  if (!w->geometryValid) {
    Geometry scratch;
    Ops(w)->QueryGeometry(w, scratch);
    w->sizeAdjust(w, w->sizeAdjustData, scratch);
    if (!(w->geometryGiven & CWCore_hMinGiven)) w->geometry.hDim.min = scratch.hDim.min;
    if (!(w->geometryGiven & CWCore_hStretchGiven)) w->geometry.hDim.stretch = scratch.hDim.stretch;
    if (!(w->geometryGiven & CWCore_vMinGiven)) w->geometry.vDim.min = scratch.vDim.min;
    if (!(w->geometryGiven & CWCore_vStretchGiven)) w->geometry.vDim.stretch = scratch.vDim.stretch;
    w->geometryValid = true;
  }
  result = w->geometry;
}

void CWCore_Configure(Widget w) { Ops(w)->Configure(w); }
Widget CWCore_GetInstByID(Widget w, std::uint32_t id) { return Ops(w)->GetInstByID(w, id); }
void CWCore_SetValue(Widget w, const WidgetValue& value) { Ops(w)->SetValue(w, value); }
void CWCore_GetValue(Widget w, WidgetValue& value) { Ops(w)->GetValue(w, value); }
void CWCore_SetCallback(Widget w, CWCore_Callback callback, std::uintptr_t data) {
  Ops(w)->SetCallback(w, callback, data);
}
bool CWCore_AcceptFocus(Widget w, bool again) { return Ops(w)->AcceptFocus(w, again); }
void CWCore_ReleaseFocus(Widget w) { Ops(w)->ReleaseFocus(w); }
void CWCore_OfferKeyEvent(Widget w, Widget source, W_Event& event) { Ops(w)->OfferKeyEvent(w, source, event); }
void CWCore_CheckValue(Widget w) { Ops(w)->CheckValue(w); }
void CWCore_SetEnabledState(Widget w, bool enabled) { Ops(w)->SetEnabledState(w, enabled); }
void CWCore_InvalidateGeometry(Widget w) { Ops(w)->InvalidateGeometry(w); }
bool CWCore_DidToolTipChange(Widget w, int x, int y) { return Ops(w)->DidToolTipChange(w, x, y); }
bool CWCore_GetToolTipText(Widget w, int level, int x, int y, StrOut text, W_Point& lowerLeft,
                           W_Point& upperRight) {
  return Ops(w)->GetToolTipText(w, level, x, y, text, lowerLeft, upperRight);
}
void CWCore_DoCommand(Widget w, StrIn command) { Ops(w)->DoCommand(w, command); }

// --- Helpers ---------------------------------------------------------------------------

void CWCore_CallCallback(Widget w) {
  if (w->callback != nullptr) w->callback(w, w->callbackData, &w->value);
}

void CWCore_SetSizeAdjustCB(Widget w, CWCore_SizeAdjust proc, std::uintptr_t data) {
  w->sizeAdjust = proc != nullptr ? proc : NoSizeAdjust;
  w->sizeAdjustData = data;
  CWCore_InvalidateGeometry(w);
}

void CWCore_RedrawDelayed(Widget w) {
  if (w->redrawPending) return;
  w->redrawPending = true;
  WtEvents_QueueDeferredAction(CWCore_RedrawWidgetDirect, reinterpret_cast<std::uintptr_t>(w));
}

void CWCore_RedrawWidgetDirect(std::uintptr_t widget) {
  auto* w = reinterpret_cast<Widget>(widget);
  w->redrawPending = false;
  WtDraw_RedrawWidgetDirect(w);
}

WTranslt_Table& CWCore_OwnTranslations(Widget w) {
  if (w->translations == Ops(w)->translationTable) w->translations = WTranslt_CopyTranslationTable(w->translations);
  return w->translations;
}

bool CWCore_GetHelpMessage(Widget w, std::int32_t number, StrOut text) {
  text.Clear();
  Widget root = w;
  while (root->parent != nullptr) root = root->parent;
  if (root->cls != CWShell_class || number < 0) return false;
  Messages_GetMessage(SIdPool_IdText(static_cast<CWShell>(root)->dialogName), static_cast<unsigned>(number));
  if (Messages_IsUndefMessage()) return false;
  Strings_Assign(Messages_message, text);
  return true;
}

W_Color CWCore_EffectiveBackground(Widget w) {
  for (; w != nullptr; w = w->parent)
    if (!WtColors_IsCopyColor(w->background)) return w->background;
  return WtColors_defaultBackground;
}

void CWCore_AEnter(Widget w, W_Event& event) {
  if (event.input.mode != 0) return;
  if (w->hover == 1 || w->hover == 2) SetHighlighted(w, true);
  else if (w->hover == 3 && w->parent != nullptr && !w->parent->highlighted) SetHighlighted(w->parent, true);
}

void CWCore_ALeave(Widget w, W_Event& event) {
  if (event.input.mode != 0) return;
  if (w->hover == 1 || w->hover == 2) SetHighlighted(w, false);
  else if (w->hover == 3 && w->parent != nullptr && w->parent->highlighted) SetHighlighted(w->parent, false);
}
