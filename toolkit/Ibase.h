// Ibase: the records of the dialog layer and the one path of every value
// change. A context is one instance of a dialog of a catalog: its numbered
// values (AObjs) and its widgets (RObjs). Only the I modules read these
// records; application code holds an I_Context and numbers.
//
// Making an instance (Ibase_CreateContextInstance):
//  1. the record, linked to its parent context and the global list (a
//     composite only keeps its parent);
//  2. the AObjs: kind from the type, range, nil allowed, default, then the
//     rc key of "configV" values;
//  3. the widget tree, depth first, each with its template's attributes and
//     those of the AObj it shows; nested classes are made by their creator;
//  4. each widget bound to its AObj shows the AObj's value and reports
//     changes through Ibase_Callback.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "toolkit/I.h"
#include "toolkit/IdlgCat.h"
#include "toolkit/Inesting.h"

// A place an AObj's value is shown: a widget or a composite context.
struct Ibase_Binding {
  Widget widget = nullptr;
  I_Context composite = nullptr;
};

struct Ibase_AObj {
  const IdlgCat_AObjDef* def = nullptr;
  I_Context context = nullptr;
  std::vector<Ibase_Binding> bindings;  // the newest first
  bool hasCallback = false;
  I_AnyProc callback = nullptr;  // of the AObj's kind
  std::uintptr_t callbackData = 0;
  bool allowNil = false;
  WtTypes_Kind kind = WtTypes_kInteger;
  std::uint32_t type = 0;
  WidgetValue value;
  double rangeLow = 0, rangeHigh = 0;  // INTEGER, CARDINAL and REAL
  std::string rcKey;  // empty: the value is no setting
  // The variable a setting is bound to (the value's bytes are not aligned).
  union {
    bool b;
    std::int32_t i;
    std::uint32_t c;
    double r;
    char s[kWidgetValueSize];
  } rc{};
};

struct I_ContextRec {
  I_Context next = nullptr;  // the global list
  std::uint32_t contextId = 0;
  IdlgCat_ContextDef* def = nullptr;
  std::unordered_map<std::int32_t, Ibase_AObj*> aobjs;
  std::vector<Ibase_AObj*> aobjOrder;  // as the catalog lists them; owns them
  Widget rootWidget = nullptr;
  bool active = false;
  std::unordered_map<std::int32_t, Widget> robjs;  // by element number
  std::uint32_t dialogNesting = 0;
  bool destroyPending = false;
  I_Context parent = nullptr;
  Widget parentWidget = nullptr;  // a composite's place in its parent's tree
  I_CloseProc closeCallback = nullptr;
  std::uintptr_t closeData = 0;
  I_Context firstChild = nullptr, nextSibling = nullptr;
  std::vector<I_Context> composites;  // made inside this one; owned
  const Inesting_Class* nested = nullptr;  // a composite: its class
  Ibase_AObj* boundAObj = nullptr;         // a composite: the outer AObj it shows
  std::uintptr_t privateData = 0;
  I_ToolTipProc toolTipProc = nullptr;
  std::uintptr_t toolTipData = 0;
};

// The source of a value change: a widget, a composite, or nil for the program.
struct Ibase_Source {
  Widget widget = nullptr;
  I_Context composite = nullptr;
};

// The global list of top-level contexts, the main one and how many are active.
extern I_Context Ibase_contexts;
extern I_Context Ibase_mainContext;
extern std::uint32_t Ibase_activeCount;

// --- Instances -------------------------------------------------------------------------

// A new instance of `definition`; nullptr when a widget could not be made
// or an RObj names a missing AObj (error 2 of "Ibase").
I_Context Ibase_CreateContextInstance(IdlgCat_ContextDef* definition, I_Context parent, Widget parentWidget);
// Frees the instance, its child contexts and composites, its settings and
// (unless the tree goes with a parent's) its widgets.
void Ibase_DestroyContextInstance(I_Context context, bool destroyWidgets);

// --- Values ----------------------------------------------------------------------------

// The one path of a value change: stores it (clamped to the range), shows
// it on every binding but the source, and calls the application's
// procedure when the source is a widget or a composite.
void Ibase_Callback(Ibase_Source source, Ibase_AObj* aobj, const WidgetValue& value);
// The value made into the AObj's kind and type.
WidgetValue Ibase_Normalize(const Ibase_AObj* aobj, const WidgetValue& value);
// Whether a value is the AObj's nil mark.
bool Ibase_IsNil(const Ibase_AObj* aobj, const WidgetValue& value);
// Stores a range and clamps the value; plain widgets get the range too.
void Ibase_SetRange(Ibase_AObj* aobj, double low, double high);
// Gives a composite its value through the put procedure of its class.
void Ibase_Uput(I_Context composite, const WidgetValue& value);

// --- Nesting ---------------------------------------------------------------------------

// While a nested class's creator runs: the outer context, the widget that
// becomes the composite's parent and the attributes of its RObj.
I_Context Ibase_TOSparentContext();
Widget Ibase_TOSparentWidget();
SAttribs Ibase_TOSattribs();
