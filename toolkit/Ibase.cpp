#include "toolkit/Ibase.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "rc/SrcFile.h"
#include "toolkit/CObject.h"
#include "toolkit/CWCascad.h"
#include "toolkit/CWDraw.h"
#include "toolkit/CWShell.h"
#include "toolkit/IReplay.h"
#include "toolkit/Iplaces.h"
#include "toolkit/Wt.h"

I_Context Ibase_contexts = nullptr;
I_Context Ibase_mainContext = nullptr;
std::uint32_t Ibase_activeCount = 0;

namespace {

char section[kSectionCap] = "Ibase";

struct Nesting {
  I_Context context;
  Widget widget;
  SAttribs attrs;
};
std::vector<Nesting> nesting;

std::uint32_t Id(const char* name) { return SIdPool_EnterId(StrIn::C(name)); }

template <class T>
T Read(const SAttribs_Node* node, std::size_t at = 0) {
  T value{};
  if (node != nullptr && node->size >= at + sizeof(T)) std::memcpy(&value, node->bytes + at, sizeof(T));
  return value;
}

// A number attribute of 1, 4 or 8 bytes (a byte, an INT32 or a double).
double Number(const SAttribs_Node* node, bool isCardinal) {
  if (node->size >= 8) return Read<double>(node);
  if (node->size >= 4) return isCardinal ? Read<std::uint32_t>(node) : Read<std::int32_t>(node);
  return Read<std::uint8_t>(node);
}

// --- Ranges and defaults ------------------------------------------------------------------

void DefaultRange(Ibase_AObj* a) {
  switch (a->kind) {
    case WtTypes_kInteger: a->rangeLow = -2147483647.0, a->rangeHigh = 2147483647.0; break;
    case WtTypes_kCardinal: a->rangeLow = 0, a->rangeHigh = 4294967295.0; break;
    case WtTypes_kReal: a->rangeLow = -1e24, a->rangeHigh = 1e24; break;
    default: break;
  }
}

// "range": two INT32 (CARDINALs for that kind) or two doubles.
void SetConstraints(Ibase_AObj* a, SAttribs attrs) {
  DefaultRange(a);
  const SAttribs_Node* range = SAttribs_Find(attrs, Id("range"));
  if (range == nullptr || range->size < 8) return;
  if (range->size >= 16) {
    a->rangeLow = Read<double>(range);
    a->rangeHigh = Read<double>(range, 8);
  } else if (a->kind == WtTypes_kCardinal) {
    a->rangeLow = Read<std::uint32_t>(range);
    a->rangeHigh = Read<std::uint32_t>(range, 4);
  } else {
    a->rangeLow = Read<std::int32_t>(range);
    a->rangeHigh = Read<std::int32_t>(range, 4);
  }
}

void SetDefault(Ibase_AObj* a, SAttribs attrs) {
  a->value = WidgetValue{};
  a->value.widgetType = a->type;
  const SAttribs_Node* given = SAttribs_Find(attrs, Id("default"));
  if (given == nullptr || given->size == 0) return;
  switch (a->kind) {
    case WtTypes_kBoolean: a->value = WtTypes_Boolean(given->bytes[0] != 0); break;
    case WtTypes_kInteger: a->value = WtTypes_Integer(static_cast<std::int32_t>(Number(given, false))); break;
    case WtTypes_kCardinal: a->value = WtTypes_Cardinal(static_cast<std::uint32_t>(Number(given, true))); break;
    case WtTypes_kReal: a->value = WtTypes_Real(Number(given, false)); break;
    case WtTypes_kString: {
      const char* text = reinterpret_cast<const char*>(given->bytes);
      a->value = WtTypes_String(std::string(text, strnlen(text, std::min<std::size_t>(given->size, 128))));
      break;
    }
    default:
      std::memcpy(a->value.VALUE, given->bytes, std::min<std::size_t>(given->size, WtTypes_TSize(a->type)));
  }
}

// --- Settings ---------------------------------------------------------------------------

void WriteMirror(Ibase_AObj* a) {
  switch (a->kind) {
    case WtTypes_kBoolean: a->rc.b = a->value.VALUE[0] != 0; break;
    case WtTypes_kInteger: a->rc.i = WtTypes_AsInteger(a->value); break;
    case WtTypes_kCardinal: a->rc.c = static_cast<std::uint32_t>(WtTypes_AsInteger(a->value)); break;
    case WtTypes_kReal: a->rc.r = WtTypes_AsReal(a->value); break;
    default: Strings_Assign(WtTypes_AsString(a->value), a->rc.s);
  }
}

WidgetValue MirrorValue(const Ibase_AObj* a) {
  switch (a->kind) {
    case WtTypes_kBoolean: return WtTypes_Boolean(a->rc.b);
    case WtTypes_kInteger: return WtTypes_Integer(a->rc.i);
    case WtTypes_kCardinal: return WtTypes_Cardinal(a->rc.c);
    case WtTypes_kReal: return WtTypes_Real(a->rc.r);
    default: return WtTypes_String(a->rc.s);
  }
}

void RCfileCB(StrIn, std::uintptr_t data) {
  auto* a = reinterpret_cast<Ibase_AObj*>(data);
  Ibase_Callback(Ibase_Source{}, a, MirrorValue(a));
}

// A "configV" value lives in the settings under "<dialog>_<name>". A key
// another dialog holds gives its value and is left to it.
void CheckIfConfigVal(Ibase_AObj* a, SAttribs attrs) {
  const SAttribs_Node* configV = SAttribs_Find(attrs, Id("configV"));
  if (configV == nullptr || configV->size == 0 || configV->bytes[0] == 0 || a->kind == WtTypes_kGeneric) return;
  const std::string key = SIdPool_IdText(a->context->def->name).Str() + "_" + SIdPool_IdText(a->def->name).Str();
  if (SrcFile_IsDefined(key)) {
    a->value = Messages_Quietly([&] {
      switch (a->kind) {
        case WtTypes_kBoolean: return WtTypes_Boolean(SrcFile_QueryBool(key));
        case WtTypes_kInteger: return WtTypes_Integer(SrcFile_QueryInt(key));
        case WtTypes_kCardinal: return WtTypes_Cardinal(SrcFile_QueryCard(key));
        case WtTypes_kReal: return WtTypes_Real(SrcFile_QueryReal(key));
        default: {
          TextStr text;
          SrcFile_QueryString(key, text);
          return WtTypes_String(text);
        }
      }
    });
    a->value.widgetType = a->type;
    return;
  }
  WriteMirror(a);
  // A value of another type in a settings file keeps the default.
  Messages_Quietly([&] {
    switch (a->kind) {
      case WtTypes_kBoolean: SrcFile_DefineBool(key, a->rc.b); break;
      case WtTypes_kInteger: SrcFile_DefineInt(key, a->rc.i); break;
      case WtTypes_kCardinal: SrcFile_DefineCard(key, a->rc.c); break;
      case WtTypes_kReal: SrcFile_DefineReal(key, a->rc.r); break;
      default: SrcFile_DefineString(key, a->rc.s);
    }
    SrcFile_DefineICB(key, RCfileCB, reinterpret_cast<std::uintptr_t>(a));
  });
  a->rcKey = key;
  a->value = Ibase_Normalize(a, MirrorValue(a));
}

Ibase_AObj* MakeAObj(I_Context c, const IdlgCat_AObjDef& d) {
  auto* a = new Ibase_AObj;
  a->def = &d;
  a->context = c;
  a->type = d.type;
  a->kind = WtTypes_KindOf(d.type);
  SAttribs attrs = IdlgCat_ResolveAttrs(d.attrs, d.tmpl);
  SetConstraints(a, attrs);
  const SAttribs_Node* allowNil = SAttribs_Find(attrs, Id("allowNilValue"));
  a->allowNil = allowNil != nullptr && allowNil->size > 0 && allowNil->bytes[0] != 0;
  SetDefault(a, attrs);
  a->value = Ibase_Normalize(a, a->value);
  CheckIfConfigVal(a, attrs);
  SAttribs_Destroy(attrs);
  return a;
}

// The range in the form widgets read it: two values of the kind.
void AddWidgetRange(SAttribs& attrs, const Ibase_AObj* a) {
  if (a->kind == WtTypes_kReal) {
    const double range[2] = {a->rangeLow, a->rangeHigh};
    SAttribs_Add(attrs, Id("range"), range, sizeof range);
  } else if (a->kind == WtTypes_kInteger) {
    const std::int32_t range[2] = {static_cast<std::int32_t>(a->rangeLow), static_cast<std::int32_t>(a->rangeHigh)};
    SAttribs_Add(attrs, Id("range"), range, sizeof range);
  } else if (a->kind == WtTypes_kCardinal) {
    const std::uint32_t range[2] = {static_cast<std::uint32_t>(a->rangeLow),
                                    static_cast<std::uint32_t>(a->rangeHigh)};
    SAttribs_Add(attrs, Id("range"), range, sizeof range);
  }
}

void WidgetCB(Widget widget, std::uintptr_t data, WidgetValue* value) {
  Ibase_Callback(Ibase_Source{widget, nullptr}, reinterpret_cast<Ibase_AObj*>(data), *value);
}

void Bind(Ibase_AObj* a, Widget widget, I_Context composite) {
  a->bindings.insert(a->bindings.begin(), Ibase_Binding{composite != nullptr ? nullptr : widget, composite});
  if (composite != nullptr) {
    composite->boundAObj = a;
    Ibase_Uput(composite, a->value);
  } else {
    CWCore_SetCallback(widget, WidgetCB, reinterpret_cast<std::uintptr_t>(a));
    CWCore_SetValue(widget, a->value);
  }
}

// Makes one widget and those below it; false when one can't be made.
bool MakeRObj(I_Context c, const IdlgCat_RObjDef& r, Widget parent, Widget& made) {
  made = nullptr;
  SAttribs attrs = IdlgCat_ResolveAttrs(r.attrs, r.tmpl);
  Ibase_AObj* a = nullptr;
  if (r.aobj != -1) {
    const auto found = c->aobjs.find(r.aobj);
    if (found == c->aobjs.end()) {
      SAttribs_Destroy(attrs);
      Messages_SupplyAdditionalInfo("In dialog context: " + SIdPool_IdText(c->def->name).Str() +
                                    " AObjID: " + std::to_string(r.aobj));
      Messages_Error(section, 2);
      return false;
    }
    a = found->second;
    SAttribs own = IdlgCat_ResolveAttrs(a->def->attrs, a->def->tmpl);
    SAttribs_SupplementAttrList(attrs, own);
    SAttribs_Destroy(own);
    SAttribs_Add(attrs, Id("widgetType"), &a->type, sizeof a->type);
    AddWidgetRange(attrs, a);
  }
  I_Context composite = nullptr;
  if (const Inesting_Class* nested = Inesting_Find(r.keyword)) {
    nesting.push_back(Nesting{c, parent, attrs});
    composite = nested->create(nested->createData);
    nesting.pop_back();
    if (composite != nullptr) {
      composite->nested = nested;
      made = composite->rootWidget;
    }
  } else {
    Classes_ClassPtr cls = Messages_Quietly([&] { return Classes_GetClassByKeyword(SIdPool_IdText(r.keyword)); });
    // The children of a menu are its items: they live in its pull-down.
    const bool item = CWCascad_IsCascade(parent);
    made = Wt_CreateWidget(item ? nullptr : parent, cls != nullptr ? cls : CWDraw_class, attrs);
    if (made != nullptr && item) CWCascad_AddChild(parent, made);
    if (made != nullptr && parent == nullptr && CWShell_IsShellWidget(made))
      CWShell_SetConfigProcs(made, SIdPool_IdText(c->def->name), Iplaces_GetConfig, Iplaces_SetConfig);
  }
  SAttribs_Destroy(attrs);
  if (made == nullptr) return false;
  if (r.element != -1) {
    made->id = static_cast<std::uint32_t>(r.element);
    c->robjs[r.element] = made;
  }
  if (a != nullptr) Bind(a, made, composite);
  for (const IdlgCat_RObjDef& child : r.children) {
    Widget ignored;
    if (!MakeRObj(c, child, made, ignored)) return false;
  }
  return true;
}

void Unlink(I_Context& list, I_Context c, I_Context I_ContextRec::*link) {
  for (I_Context* at = &list; *at != nullptr; at = &((*at)->*link))
    if (*at == c) {
      *at = c->*link;
      return;
    }
}

}  // namespace

// --- Instances --------------------------------------------------------------------------

I_Context Ibase_CreateContextInstance(IdlgCat_ContextDef* definition, I_Context parent, Widget parentWidget) {
  // 1. The record.
  auto* c = new I_ContextRec;
  c->def = definition;
  c->parent = parent;
  c->parentWidget = parentWidget;
  if (parentWidget == nullptr) {
    c->contextId = definition->instances++;
    c->next = Ibase_contexts;
    Ibase_contexts = c;
    if (parent != nullptr) {
      c->nextSibling = parent->firstChild;
      parent->firstChild = c;
    }
  } else if (parent != nullptr) {
    parent->composites.push_back(c);
  }
  // 2. The values.
  for (const IdlgCat_AObjDef& d : definition->aobjs) {
    Ibase_AObj* a = MakeAObj(c, d);
    c->aobjOrder.push_back(a);
    c->aobjs[d.number] = a;
  }
  // 3. The widgets, bound to their values: one tree.
  if (definition->robjs.empty()) return c;
  Widget made;
  const bool ok = MakeRObj(c, definition->robjs.front(), parentWidget, made);
  c->rootWidget = made;
  if (!ok) {
    if (parentWidget == nullptr) {
      Ibase_DestroyContextInstance(c, true);
      return nullptr;
    }
    // A composite's widgets hang in the outer tree: they go now.
    if (parent != nullptr) parent->composites.erase(std::find(parent->composites.begin(), parent->composites.end(), c));
    Ibase_DestroyContextInstance(c, false);
    if (made != nullptr) Wt_DestroyWidget(made);
    return nullptr;
  }
  return c;
}

void Ibase_DestroyContextInstance(I_Context c, bool destroyWidgets) {
  while (c->firstChild != nullptr) Ibase_DestroyContextInstance(c->firstChild, true);
  for (I_Context composite : c->composites) Ibase_DestroyContextInstance(composite, false);
  c->composites.clear();
  if (c->active) {
    c->active = false;
    --Ibase_activeCount;
    if (CWShell_IsShellWidget(c->rootWidget)) CWShell_Popdown(c->rootWidget);
  }
  if (c->parentWidget == nullptr) {
    Unlink(Ibase_contexts, c, &I_ContextRec::next);
    if (c->parent != nullptr) Unlink(c->parent->firstChild, c, &I_ContextRec::nextSibling);
  }
  if (Ibase_mainContext == c) Ibase_mainContext = nullptr;
  for (Ibase_AObj* a : c->aobjOrder) {
    if (!a->rcKey.empty()) SrcFile_UndefineI(a->rcKey);
    // Widgets may outlive the context by a moment (their destruction waits
    // for the end of the event being dispatched): they report to nobody.
    for (const Ibase_Binding& b : a->bindings)
      if (b.widget != nullptr) CWCore_SetCallback(b.widget, nullptr, 0);
    delete a;
  }
  if (destroyWidgets && c->rootWidget != nullptr) WtEvents_DelayedDestroyWidget(c->rootWidget);
  delete c;
}

// --- Values -----------------------------------------------------------------------------

bool Ibase_IsNil(const Ibase_AObj* a, const WidgetValue& v) {
  switch (a->kind) {
    case WtTypes_kInteger: return WtTypes_AsInteger(v) == I_nilINTEGER;
    case WtTypes_kCardinal: return static_cast<std::uint32_t>(WtTypes_AsInteger(v)) == I_nilCARDINAL;
    case WtTypes_kReal: return WtTypes_AsReal(v) == I_nilREAL;
    default: return false;
  }
}

WidgetValue Ibase_Normalize(const Ibase_AObj* a, const WidgetValue& value) {
  if (value.widgetType == a->type) return value;
  WidgetValue v;
  switch (a->kind) {
    case WtTypes_kBoolean: v = WtTypes_Boolean(WtTypes_AsInteger(value) != 0); break;
    case WtTypes_kInteger: v = WtTypes_Integer(WtTypes_AsInteger(value)); break;
    case WtTypes_kCardinal: v = WtTypes_Cardinal(static_cast<std::uint32_t>(WtTypes_AsInteger(value))); break;
    case WtTypes_kReal: v = WtTypes_Real(WtTypes_AsReal(value)); break;
    case WtTypes_kString: v = WtTypes_String(WtTypes_AsString(value)); break;
    default: v = value;
  }
  v.widgetType = a->type;
  return v;
}

void Ibase_Callback(Ibase_Source source, Ibase_AObj* a, const WidgetValue& value) {
  // 1. Store the value, 2. clamped to the range unless it is the nil mark.
  if (&value != &a->value) a->value = Ibase_Normalize(a, value);
  if (!(a->allowNil && Ibase_IsNil(a, a->value))) {
    if (a->kind == WtTypes_kInteger) {
      const double v = std::clamp<double>(WtTypes_AsInteger(a->value), a->rangeLow, a->rangeHigh);
      a->value = WtTypes_Integer(static_cast<std::int32_t>(v));
    } else if (a->kind == WtTypes_kCardinal) {
      const double v = std::clamp<double>(static_cast<std::uint32_t>(WtTypes_AsInteger(a->value)), a->rangeLow,
                                          a->rangeHigh);
      a->value = WtTypes_Cardinal(static_cast<std::uint32_t>(v));
    } else if (a->kind == WtTypes_kReal) {
      a->value = WtTypes_Real(std::clamp(WtTypes_AsReal(a->value), a->rangeLow, a->rangeHigh));
    }
    a->value.widgetType = a->type;
  }
  if (!a->rcKey.empty()) WriteMirror(a);
  // 3. Every other place that shows it. The user's own field keeps what was
  // typed.
  const std::vector<Ibase_Binding> bindings = a->bindings;
  for (const Ibase_Binding& b : bindings) {
    if (b.composite != nullptr && b.composite != source.composite) Ibase_Uput(b.composite, a->value);
    if (b.widget != nullptr && b.widget != source.widget) CWCore_SetValue(b.widget, a->value);
  }
  // 4. The user's changes go to the GUI log, 5. and to the application.
  if (source.widget == nullptr && source.composite == nullptr) return;
  IReplay_LogValue(a);
  if (!a->hasCallback) return;
  I_Context c = a->context;
  const std::int32_t number = a->def->number;
  const std::uintptr_t data = a->callbackData;
  switch (a->kind) {
    case WtTypes_kBoolean:
      reinterpret_cast<I_BOOLEANproc>(a->callback)(c, number, a->value.VALUE[0] != 0, data);
      break;
    case WtTypes_kInteger:
      reinterpret_cast<I_INTEGERproc>(a->callback)(c, number, WtTypes_AsInteger(a->value), data);
      break;
    case WtTypes_kCardinal:
      reinterpret_cast<I_CARDINALproc>(a->callback)(c, number, static_cast<std::uint32_t>(WtTypes_AsInteger(a->value)),
                                                    data);
      break;
    case WtTypes_kReal: reinterpret_cast<I_REALproc>(a->callback)(c, number, WtTypes_AsReal(a->value), data); break;
    case WtTypes_kString: {
      // A copy: the procedure may put another text meanwhile.
      char text[kWidgetValueSize];
      Strings_Assign(WtTypes_AsString(a->value), text);
      reinterpret_cast<I_STRINGproc>(a->callback)(c, number, StrIn(text), data);
      break;
    }
    default: reinterpret_cast<I_Genericproc>(a->callback)(c, number, a->value.VALUE, data);
  }
}

void Ibase_SetRange(Ibase_AObj* a, double low, double high) {
  a->rangeLow = low;
  a->rangeHigh = high;
  for (const Ibase_Binding& b : a->bindings) {
    if (b.widget == nullptr) continue;
    SAttribs attrs = nullptr;
    AddWidgetRange(attrs, a);
    bool ok;
    CObject_SetAttr(b.widget, attrs->id, attrs->bytes, attrs->size, ok);
    SAttribs_Destroy(attrs);
  }
  Ibase_Callback(Ibase_Source{}, a, a->value);
}

void Ibase_Uput(I_Context composite, const WidgetValue& v) {
  const Inesting_Class* n = composite->nested;
  if (n == nullptr) return;
  switch (WtTypes_KindOf(v.widgetType)) {
    case WtTypes_kBoolean:
      if (n->putBOOLEAN != nullptr) n->putBOOLEAN(composite, v.VALUE[0] != 0);
      break;
    case WtTypes_kInteger:
      if (n->putINTEGER != nullptr) n->putINTEGER(composite, WtTypes_AsInteger(v));
      break;
    case WtTypes_kCardinal:
      if (n->putCARDINAL != nullptr) n->putCARDINAL(composite, static_cast<std::uint32_t>(WtTypes_AsInteger(v)));
      break;
    case WtTypes_kReal:
      if (n->putREAL != nullptr) n->putREAL(composite, WtTypes_AsReal(v));
      break;
    case WtTypes_kString:
      if (n->putSTRING != nullptr) n->putSTRING(composite, WtTypes_AsString(v));
      break;
    default:
      if (n->putGeneric != nullptr) n->putGeneric(composite, v.VALUE);
  }
}

// --- Nesting ----------------------------------------------------------------------------

I_Context Ibase_TOSparentContext() { return nesting.empty() ? nullptr : nesting.back().context; }
Widget Ibase_TOSparentWidget() { return nesting.empty() ? nullptr : nesting.back().widget; }
SAttribs Ibase_TOSattribs() { return nesting.empty() ? nullptr : nesting.back().attrs; }
