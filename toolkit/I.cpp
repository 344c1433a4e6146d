// Contexts, values, sensitivity and widget access of the dialog layer; the
// loop and its tasks are in ILoop.cpp.
#include "toolkit/I.h"

#include <cstring>
#include <string>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "rc/SrcFile.h"
#include "toolkit/CObject.h"
#include "toolkit/CWLabel.h"
#include "toolkit/CWShell.h"
#include "toolkit/Ibase.h"
#include "toolkit/IReplay.h"
#include "toolkit/IdlgCat.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtCursor.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtEvents.h"
#include "toolkit/WtToolTip.h"

std::uint8_t I_ilibError = 0;

// The loop's part (ILoop.cpp): timers for the toolkit, the handler of
// SIGTERM once a window is shown, and blocked input lifted around a modal
// dialog.
void I_Init_Loop();
void I_Activate_InstallSIGTERMhandler();
int I_Dialog_LiftBlock();
void I_Dialog_RestoreBlock(int depth);

namespace {

char section[kSectionCap] = "I";

// Reports error `code` with the dialog and the number beneath.
void Report(std::uint8_t code, I_Context c, std::int32_t number, const char* what = " AObjID: ") {
  I_ilibError = code;
  if (c != nullptr)
    Messages_SupplyAdditionalInfo("In dialog context: " + SIdPool_IdText(c->def->name).Str() + what +
                                  std::to_string(number));
  Messages_Error(section, code);  // messages: I 1-4 6
}

bool Usable(I_Context c) {
  if (c != nullptr) return true;
  Report(4, nullptr, 0);
  return false;
}

// The AObj `number` of the kind `kind` (any kind when negative); nil with the error reported.
Ibase_AObj* Find(I_Context c, std::int32_t number, int kind = -1) {
  if (!Usable(c)) return nullptr;
  I_ilibError = 0;
  const auto found = c->aobjs.find(number);
  if (found == c->aobjs.end()) {
    Report(2, c, number);
    return nullptr;
  }
  if (kind >= 0 && found->second->kind != kind) {
    Report(3, c, number);
    return nullptr;
  }
  return found->second;
}

bool SameValue(const Ibase_AObj* a, const WidgetValue& v) {
  switch (a->kind) {
    case WtTypes_kBoolean: return (a->value.VALUE[0] != 0) == (v.VALUE[0] != 0);
    case WtTypes_kInteger:
    case WtTypes_kCardinal: return std::memcmp(a->value.VALUE, v.VALUE, 4) == 0;
    case WtTypes_kReal: return WtTypes_AsReal(a->value) == WtTypes_AsReal(v);
    case WtTypes_kString: return WtTypes_AsString(a->value).Str() == WtTypes_AsString(v).Str();
    default: return false;  // what a block points to may have changed
  }
}

void Put(I_Context c, std::int32_t number, WtTypes_Kind kind, const WidgetValue& value) {
  Ibase_AObj* a = Find(c, number, kind);
  if (a == nullptr) return;
  const WidgetValue v = Ibase_Normalize(a, value);
  if (!SameValue(a, v)) Ibase_Callback(Ibase_Source{}, a, v);
}

template <class Proc>
void SetCallback(I_Context c, std::int32_t number, WtTypes_Kind kind, Proc proc, std::uintptr_t data) {
  Ibase_AObj* a = Find(c, number, kind);
  if (a == nullptr) return;
  a->hasCallback = proc != nullptr;
  a->callback = reinterpret_cast<I_AnyProc>(proc);
  a->callbackData = data;
}

const WidgetValue* Get(I_Context c, std::int32_t number, WtTypes_Kind kind) {
  const Ibase_AObj* a = Find(c, number, kind);
  return a != nullptr ? &a->value : nullptr;
}

void SetRange(I_Context c, std::int32_t number, WtTypes_Kind kind, double low, double high) {
  if (Ibase_AObj* a = Find(c, number, kind)) Ibase_SetRange(a, low, high);
}

// The composite whose widgets start at `w`, if `w` is one.
I_Context CompositeAt(I_Context c, Widget w) {
  for (I_Context composite : c->composites)
    if (composite->rootWidget == w) return composite;
  return nullptr;
}

bool SetAttr(I_Context c, Widget w, std::uint32_t id, const void* bytes, std::uint32_t size) {
  if (I_Context composite = CompositeAt(c, w))
    return composite->nested->attributes != nullptr && composite->nested->attributes(composite, id, bytes, size);
  bool ok = false;
  CObject_SetAttr(w, id, bytes, size, ok);
  if (ok) {
    CWCore_InvalidateGeometry(w);
    WtDraw_RedrawWidget(w);
  }
  return ok;
}

void SetWidgetEnabled(Widget w, bool state) {
  if (w->sensitive != state) CWCore_SetEnabledState(w, state);
}

void SetAObjEnabled(Ibase_AObj* a, bool state) {
  for (const Ibase_Binding& b : a->bindings) {
    if (b.widget != nullptr) SetWidgetEnabled(b.widget, state);
    if (b.composite != nullptr) I_SetEnabled(b.composite, 0, state);
  }
}

void DelWndCallback(Widget, std::uintptr_t data) {
  // Blocked, the program is busy on the user's behalf: closing would cut
  // that work off.
  if (I_InputBlocked()) {
    W_Bell(0);
    return;
  }
  auto c = reinterpret_cast<I_Context>(data);
  const bool main = c == Ibase_mainContext;
  I_Deactivate(c);
  const bool leaving = Ibase_activeCount == 0 || main;
  if (leaving) WtEvents_leaveMainLoop = true;
  if (c->closeCallback != nullptr) c->closeCallback(c, leaving, c->closeData);
}

void ShellToolTip(Widget, StrIn text, W_Point, W_Point, std::uintptr_t data) {
  auto c = reinterpret_cast<I_Context>(data);
  if (c->toolTipProc != nullptr) c->toolTipProc(c, text, c->toolTipData);
}

// The tool tip's window is the dialog "WtEvents_ToolTip_Std" (element 2 the
// shell, element 3 the text).
bool MakeToolTipWindow(Widget& shell, Widget& label) {
  return Messages_Quietly([&] {
    I_Context tip = I_Create("WtEvents_ToolTip_Std", false);
    if (tip == nullptr) return false;
    shell = I_AccessWidget(tip, 2);
    label = I_AccessWidget(tip, 3);
    return CWShell_IsShellWidget(shell) && WtBase_InstanceOf(label, CWLabel_class);
  });
}

}  // namespace

void I_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Messages_Init();
  SrcFile_Init();
  IdlgCat_Init();
  Wt_Initialize();
  I_Init_Loop();
  WtToolTip_SetWindowMaker(MakeToolTipWindow);
  // Without the base dialogs the program still runs; message boxes fall
  // back to standard error.
  Messages_Quietly([] { return IdlgCat_UseCatalog("marldlg"); });
  IReplay_Init();
}

// --- Contexts ---------------------------------------------------------------------------

bool I_UseContextCat(StrIn name) {
  I_Init();
  return IdlgCat_UseCatalog(name);
}

namespace {

I_Context Create(I_Context parent, Widget parentWidget, StrIn name, bool activate) {
  I_Init();
  I_ilibError = 0;
  if (!WtBase_AssertDisplayOpen()) {
    Report(4, nullptr, 0);
    return nullptr;
  }
  IdlgCat_ContextDef* def = IdlgCat_LookupContext(SIdPool_EnterId(name));
  if (def == nullptr) {
    I_ilibError = 1;
    Messages_SupplyAdditionalInfo(name);
    Messages_Error(section, 1);
    return nullptr;
  }
  I_Context c = Ibase_CreateContextInstance(def, parent, parentWidget);
  if (c == nullptr) return nullptr;
  if (parentWidget == nullptr && parent != nullptr && CWShell_IsShellWidget(c->rootWidget))
    CWShell_SetTransientFor(c->rootWidget, CWShell_GetShellWidget(parent->rootWidget));
  if (activate && parentWidget == nullptr) I_Activate(c);
  return c;
}

}  // namespace

I_Context I_Create(StrIn name, bool activate) {
  I_Context outer = Ibase_TOSparentContext();
  return Create(outer, outer != nullptr ? Ibase_TOSparentWidget() : nullptr, name, activate && outer == nullptr);
}

I_Context I_CreateChild(I_Context parent, StrIn name, bool activate) {
  if (!Usable(parent)) return nullptr;
  return Create(parent, nullptr, name, activate);
}

void I_Destroy(I_Context& c) {
  if (c == nullptr) return;
  if (c == Ibase_mainContext) Ibase_mainContext = nullptr;
  if (c->dialogNesting > 0) {
    c->destroyPending = true;
    I_Deactivate(c);
  } else {
    Ibase_DestroyContextInstance(c, true);
  }
  c = nullptr;
}

I_Context I_Nil() { return nullptr; }
bool I_Equal(I_Context a, I_Context b) { return a == b; }

void I_GetContextName(I_Context c, StrOut name) {
  if (c == nullptr) return name.Clear();
  SIdPool_GetId(c->def->name, name);
}

void I_Activate(I_Context c) {
  if (!Usable(c)) return;
  const bool shell = CWShell_IsShellWidget(c->rootWidget);
  if (c->active) {
    if (shell) CWCore_RaiseWindow(c->rootWidget);
    return;
  }
  if (Ibase_mainContext == nullptr) Ibase_mainContext = c;
  I_Activate_InstallSIGTERMhandler();
  if (shell) {
    CWShell_Popup(c->rootWidget, 0);
    CWShell_SetDelWndCallback(c->rootWidget, DelWndCallback, reinterpret_cast<std::uintptr_t>(c));
  }
  c->active = true;
  ++Ibase_activeCount;
}

void I_Deactivate(I_Context c) {
  if (!Usable(c) || !c->active) return;
  if (CWShell_IsShellWidget(c->rootWidget)) CWShell_Popdown(c->rootWidget);
  c->active = false;
  --Ibase_activeCount;
  for (I_Context child = c->firstChild; child != nullptr; child = child->nextSibling) I_Deactivate(child);
}

bool I_Active(I_Context c) { return c != nullptr && c->active; }

void I_Dialog(I_Context c) {
  if (!Usable(c)) return;
  ++c->dialogNesting;
  WtEvents_leaveMainLoop = false;
  const int blocked = I_Dialog_LiftBlock();
  while (c->active && !c->destroyPending && !WtEvents_leaveMainLoop) I_SingleEventLoopIteration();
  I_Dialog_RestoreBlock(blocked);
  if (--c->dialogNesting == 0 && c->destroyPending) Ibase_DestroyContextInstance(c, true);
}

void I_SetAsMainApplicationContext(I_Context c) {
  if (!Usable(c)) return;
  Ibase_mainContext = c;
  if (CWShell_IsShellWidget(c->rootWidget)) CWShell_SetAsMainApplicationWidget(c->rootWidget);
}

void I_SetMaximized(I_Context c, bool state) {
  if (Usable(c) && CWShell_IsShellWidget(c->rootWidget)) CWShell_SetMaximized(c->rootWidget, state);
}

void I_SetCloseCallback(I_Context c, I_CloseProc proc, std::uintptr_t data) {
  if (!Usable(c)) return;
  c->closeCallback = proc;
  c->closeData = data;
}

// --- Values -----------------------------------------------------------------------------

void I_PutBOOLEAN(I_Context c, std::int32_t n, bool v) { Put(c, n, WtTypes_kBoolean, WtTypes_Boolean(v)); }
void I_PutINTEGER(I_Context c, std::int32_t n, std::int32_t v) { Put(c, n, WtTypes_kInteger, WtTypes_Integer(v)); }
void I_PutCARDINAL(I_Context c, std::int32_t n, std::uint32_t v) { Put(c, n, WtTypes_kCardinal, WtTypes_Cardinal(v)); }
void I_PutREAL(I_Context c, std::int32_t n, double v) { Put(c, n, WtTypes_kReal, WtTypes_Real(v)); }
void I_PutSTRING(I_Context c, std::int32_t n, StrIn v) { Put(c, n, WtTypes_kString, WtTypes_String(v)); }

void I_PutGeneric(I_Context c, std::int32_t n, const void* block) {
  Ibase_AObj* a = Find(c, n, WtTypes_kGeneric);
  if (a == nullptr) return;
  WidgetValue v;
  v.widgetType = a->type;
  std::memcpy(v.VALUE, block, WtTypes_TSize(a->type));
  Ibase_Callback(Ibase_Source{}, a, v);
}

bool I_GetBOOLEAN(I_Context c, std::int32_t n) {
  const WidgetValue* v = Get(c, n, WtTypes_kBoolean);
  return v != nullptr && v->VALUE[0] != 0;
}

std::int32_t I_GetINTEGER(I_Context c, std::int32_t n) {
  const WidgetValue* v = Get(c, n, WtTypes_kInteger);
  return v != nullptr ? WtTypes_AsInteger(*v) : 0;
}

std::uint32_t I_GetCARDINAL(I_Context c, std::int32_t n) {
  const WidgetValue* v = Get(c, n, WtTypes_kCardinal);
  return v != nullptr ? static_cast<std::uint32_t>(WtTypes_AsInteger(*v)) : 0;
}

double I_GetREAL(I_Context c, std::int32_t n) {
  const WidgetValue* v = Get(c, n, WtTypes_kReal);
  return v != nullptr ? WtTypes_AsReal(*v) : 0;
}

void I_GetSTRING(I_Context c, std::int32_t n, StrOut value) {
  const WidgetValue* v = Get(c, n, WtTypes_kString);
  if (v != nullptr) Strings_Assign(WtTypes_AsString(*v), value);
  else value.Clear();
}

void I_GetGeneric(I_Context c, std::int32_t n, void* block) {
  if (const Ibase_AObj* a = Find(c, n, WtTypes_kGeneric)) std::memcpy(block, a->value.VALUE, WtTypes_TSize(a->type));
}

void I_SetBOOLEANcallback(I_Context c, std::int32_t n, I_BOOLEANproc p, std::uintptr_t d) {
  SetCallback(c, n, WtTypes_kBoolean, p, d);
}
void I_SetINTEGERcallback(I_Context c, std::int32_t n, I_INTEGERproc p, std::uintptr_t d) {
  SetCallback(c, n, WtTypes_kInteger, p, d);
}
void I_SetCARDINALcallback(I_Context c, std::int32_t n, I_CARDINALproc p, std::uintptr_t d) {
  SetCallback(c, n, WtTypes_kCardinal, p, d);
}
void I_SetREALcallback(I_Context c, std::int32_t n, I_REALproc p, std::uintptr_t d) {
  SetCallback(c, n, WtTypes_kReal, p, d);
}
void I_SetSTRINGcallback(I_Context c, std::int32_t n, I_STRINGproc p, std::uintptr_t d) {
  SetCallback(c, n, WtTypes_kString, p, d);
}
void I_SetGenericcallback(I_Context c, std::int32_t n, I_Genericproc p, std::uintptr_t d) {
  SetCallback(c, n, WtTypes_kGeneric, p, d);
}

void I_SetINTEGERrange(I_Context c, std::int32_t n, std::int32_t low, std::int32_t high) {
  SetRange(c, n, WtTypes_kInteger, low, high);
}
void I_SetCARDINALrange(I_Context c, std::int32_t n, std::uint32_t low, std::uint32_t high) {
  SetRange(c, n, WtTypes_kCardinal, low, high);
}
void I_SetREALrange(I_Context c, std::int32_t n, double low, double high) { SetRange(c, n, WtTypes_kReal, low, high); }

// --- Sensitivity ------------------------------------------------------------------------

void I_SetEnabled(I_Context c, std::int32_t number, bool state) {
  if (number == 0) {
    if (Usable(c))
      for (Ibase_AObj* a : c->aobjOrder) SetAObjEnabled(a, state);
  } else if (Ibase_AObj* a = Find(c, number)) {
    SetAObjEnabled(a, state);
  }
}

void I_Enable(I_Context c, std::int32_t number) { I_SetEnabled(c, number, true); }
void I_Disable(I_Context c, std::int32_t number) { I_SetEnabled(c, number, false); }

void I_SetEnabledState(I_Context c, std::int32_t number, std::uint32_t mask) {
  Ibase_AObj* a = Find(c, number);
  if (a == nullptr) return;
  for (const Ibase_Binding& b : a->bindings) {
    if (b.widget == nullptr) continue;
    const std::int32_t own = WtTypes_AsInteger(b.widget->value);
    SetWidgetEnabled(b.widget, own >= 0 && own < 32 ? (mask >> own & 1) != 0 : mask != 0);
  }
}

void I_SetSensitive(I_Context c, std::int32_t element, bool state) {
  if (Widget w = I_AccessWidget(c, element)) SetWidgetEnabled(w, state);
}

void I_SetSensitiveMask(I_Context c, std::int32_t first, std::uint32_t mask) {
  if (!Usable(c)) return;
  for (int bit = 0; bit < 32; ++bit) {
    const auto found = c->robjs.find(first + bit);
    if (found != c->robjs.end()) SetWidgetEnabled(found->second, (mask >> bit & 1) != 0);
  }
}

// --- Widgets ----------------------------------------------------------------------------

Widget I_AccessWidget(I_Context c, std::int32_t element) {
  if (!Usable(c)) return nullptr;
  if (element == -1) return c->rootWidget;
  const auto found = c->robjs.find(element);
  if (found != c->robjs.end()) return found->second;
  Report(2, c, element, " RObjID: ");
  return nullptr;
}

bool I_SetReprAttr(I_Context c, std::int32_t element, std::uint32_t id, const void* bytes, std::uint32_t size) {
  Widget w = I_AccessWidget(c, element);
  if (w == nullptr) return false;
  if (SetAttr(c, w, id, bytes, size)) return true;
  Report(6, c, element, " RObjID: ");
  return false;
}

bool I_GetReprAttr(I_Context c, std::int32_t element, std::uint32_t id, void* bytes, std::uint32_t size) {
  Widget w = I_AccessWidget(c, element);
  if (w == nullptr) return false;
  bool ok = false;
  CObject_GetAttr(w, id, bytes, size, ok);
  if (!ok) Report(6, c, element, " RObjID: ");
  return ok;
}

bool I_SetApplAttr(I_Context c, std::int32_t number, std::uint32_t id, const void* bytes, std::uint32_t size) {
  Ibase_AObj* a = Find(c, number);
  if (a == nullptr) return false;
  bool all = true;
  for (const Ibase_Binding& b : a->bindings)
    all = SetAttr(c, b.widget != nullptr ? b.widget : b.composite->rootWidget, id, bytes, size) && all;
  if (!all) Report(6, c, number);
  return all;
}

bool I_GetApplAttr(I_Context c, std::int32_t number, std::uint32_t id, void* bytes, std::uint32_t size) {
  const Ibase_AObj* a = Find(c, number);
  if (a == nullptr) return false;
  std::string first;
  bool some = false, same = true;
  for (const Ibase_Binding& b : a->bindings) {
    if (b.widget == nullptr) continue;
    std::string value(size, '\0');
    bool ok = false;
    CObject_GetAttr(b.widget, id, value.data(), size, ok);
    if (!ok) continue;
    if (!some) std::memcpy(bytes, value.data(), size);
    same = same && (!some || value == first);
    if (!some) first = value;
    some = true;
  }
  return some && same;
}

std::uintptr_t I_GetPrivateData(I_Context c) { return c != nullptr ? c->privateData : 0; }

void I_SetPrivateData(I_Context c, std::uintptr_t data) {
  if (Usable(c)) c->privateData = data;
}

void I_SetFontCursor(I_Context c, int shape) {
  if (Usable(c) && c->rootWidget != nullptr && c->rootWidget->window != 0)
    WtCursor_SetCursor(c->rootWidget->window, WtCursor_FontCursor(shape));
}

void I_UnsetCursor(I_Context c) {
  if (Usable(c) && c->rootWidget != nullptr && c->rootWidget->window != 0)
    WtCursor_SetCursor(c->rootWidget->window, 0);
}

void I_SetToolTipCB(I_Context c, I_ToolTipProc proc, std::uintptr_t data) {
  if (!Usable(c) || !CWShell_IsShellWidget(c->rootWidget)) return;
  c->toolTipProc = proc;
  c->toolTipData = data;
  CWShell_SetToolTipCallback(c->rootWidget, ShellToolTip, reinterpret_cast<std::uintptr_t>(c));
}

void I_SetToolTipLevel(int level) { WtToolTip_SetLevel(level, WtToolTip_showToolTips); }
int I_GetToolTipLevel() { return WtToolTip_Level(); }
bool I_WasDoubleClick() { return WtEvents_doubleClickFlag; }
