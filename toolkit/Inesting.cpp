#include "toolkit/Inesting.h"

#include <cstring>
#include <map>

#include "base/SIdPool.h"
#include "toolkit/Ibase.h"

namespace {

std::map<std::uint32_t, Inesting_Class> classes;

Inesting_Class& Enter(StrIn keyword) { return *Inesting_Enter(SIdPool_EnterId(keyword)); }

// A composite reports a value to the AObj it shows.
void Report(I_Context composite, const WidgetValue& value) {
  if (composite == nullptr || composite->boundAObj == nullptr) return;
  Ibase_AObj* aobj = composite->boundAObj;
  Ibase_Callback(Ibase_Source{nullptr, composite}, aobj, Ibase_Normalize(aobj, value));
}

}  // namespace

Inesting_Class* Inesting_Enter(std::uint32_t keyword) {
  Inesting_Class& c = classes[keyword];
  c.keyword = keyword;
  return &c;
}

const Inesting_Class* Inesting_Find(std::uint32_t keyword) {
  const auto found = classes.find(keyword);
  return found != classes.end() && found->second.create != nullptr ? &found->second : nullptr;
}

void I_AnnounceWidget(StrIn keyword, I_CreateProc create, std::uintptr_t data) {
  Inesting_Class& c = Enter(keyword);
  c.create = create;
  c.createData = data;
}

void I_AnnounceBOOLEAN(StrIn keyword, I_PutBOOLEANproc proc) { Enter(keyword).putBOOLEAN = proc; }
void I_AnnounceINTEGER(StrIn keyword, I_PutINTEGERproc proc) { Enter(keyword).putINTEGER = proc; }
void I_AnnounceCARDINAL(StrIn keyword, I_PutCARDINALproc proc) { Enter(keyword).putCARDINAL = proc; }
void I_AnnounceREAL(StrIn keyword, I_PutREALproc proc) { Enter(keyword).putREAL = proc; }
void I_AnnounceSTRING(StrIn keyword, I_PutSTRINGproc proc) { Enter(keyword).putSTRING = proc; }

void I_AnnounceGeneric(StrIn keyword, I_PutGenericproc proc, StrIn typeName, std::uint32_t size) {
  Inesting_Class& c = Enter(keyword);
  c.putGeneric = proc;
  c.genericType = WtTypes_DeclareType(typeName, size);
}

void I_AnnounceAttributeHandler(StrIn keyword, I_AttributeProc proc) { Enter(keyword).attributes = proc; }

void I_BOOLEANcallback(I_Context composite, bool value) { Report(composite, WtTypes_Boolean(value)); }
void I_INTEGERcallback(I_Context composite, std::int32_t value) { Report(composite, WtTypes_Integer(value)); }
void I_CARDINALcallback(I_Context composite, std::uint32_t value) { Report(composite, WtTypes_Cardinal(value)); }
void I_REALcallback(I_Context composite, double value) { Report(composite, WtTypes_Real(value)); }
void I_STRINGcallback(I_Context composite, StrIn value) { Report(composite, WtTypes_String(value)); }

void I_Genericcallback(I_Context composite, const void* block) {
  if (composite == nullptr || composite->boundAObj == nullptr) return;
  WidgetValue value;
  value.widgetType = composite->boundAObj->type;
  std::memcpy(value.VALUE, block, WtTypes_TSize(value.widgetType));
  Report(composite, value);
}
