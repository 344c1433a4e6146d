#include "toolkit/WtTypes.h"

#include <cstring>
#include <unordered_map>

#include "base/Messages.h"
#include "base/SIdPool.h"

std::uint32_t WtTypes_booleanT = 0, WtTypes_integerT = 0, WtTypes_cardinalT = 0, WtTypes_realT = 0,
              WtTypes_stringT = 0;

namespace {

char section[kSectionCap] = "WtTypes";
std::unordered_map<std::uint32_t, std::uint32_t> sizes;

template <class T>
WidgetValue Make(std::uint32_t type, T value) {
  WtTypes_Init();
  WidgetValue v;
  v.widgetType = type;
  std::memcpy(v.VALUE, &value, sizeof value);
  return v;
}

template <class T>
T Read(const WidgetValue& value) {
  T result;
  std::memcpy(&result, value.VALUE, sizeof result);
  return result;
}

}  // namespace

void WtTypes_Init() {
  if (WtTypes_booleanT != 0) return;
  WtTypes_booleanT = SIdPool_EnterId("BOOLEAN");
  WtTypes_integerT = SIdPool_EnterId("INTEGER");
  WtTypes_cardinalT = SIdPool_EnterId("CARDINAL");
  WtTypes_realT = SIdPool_EnterId("REAL");
  WtTypes_stringT = SIdPool_EnterId("STRING");
  sizes = {{WtTypes_booleanT, 1}, {WtTypes_integerT, 4}, {WtTypes_cardinalT, 4}, {WtTypes_realT, 8},
           {WtTypes_stringT, 128}};
}

std::uint32_t WtTypes_DeclareType(StrIn name, std::uint32_t size) {
  WtTypes_Init();
  const std::uint32_t id = SIdPool_EnterId(name);
  const auto [at, made] = sizes.try_emplace(id, size > kWidgetValueSize ? kWidgetValueSize : size);
  if (!made && at->second != size) {
    Messages_SupplyAdditionalInfo(name);
    Messages_Error(section, 1);
  }
  return id;
}

std::uint32_t WtTypes_TSize(std::uint32_t type) {
  WtTypes_Init();
  const auto found = sizes.find(type);
  if (found != sizes.end()) return found->second;
  Messages_SupplyAdditionalInfo(SIdPool_IdText(type));
  Messages_Error(section, 2);
  return 0;
}

WtTypes_Kind WtTypes_KindOf(std::uint32_t type) {
  WtTypes_Init();
  if (type == WtTypes_booleanT) return WtTypes_kBoolean;
  if (type == WtTypes_integerT) return WtTypes_kInteger;
  if (type == WtTypes_cardinalT) return WtTypes_kCardinal;
  if (type == WtTypes_realT) return WtTypes_kReal;
  if (type == WtTypes_stringT) return WtTypes_kString;
  return WtTypes_kGeneric;
}

WidgetValue WtTypes_Boolean(bool value) { return Make<std::uint8_t>(WtTypes_booleanT, value ? 1 : 0); }
WidgetValue WtTypes_Integer(std::int32_t value) { return Make(WtTypes_integerT, value); }
WidgetValue WtTypes_Cardinal(std::uint32_t value) { return Make(WtTypes_cardinalT, value); }
WidgetValue WtTypes_Real(double value) { return Make(WtTypes_realT, value); }

WidgetValue WtTypes_String(StrIn text) {
  WtTypes_Init();
  WidgetValue v;
  v.widgetType = WtTypes_stringT;
  Strings_Assign(text, StrOut(reinterpret_cast<char*>(v.VALUE), kWidgetValueSize - 1));
  return v;
}

std::int32_t WtTypes_AsInteger(const WidgetValue& value) {
  switch (WtTypes_KindOf(value.widgetType)) {
    case WtTypes_kBoolean: return value.VALUE[0] != 0 ? 1 : 0;
    case WtTypes_kInteger: return Read<std::int32_t>(value);
    case WtTypes_kCardinal: return static_cast<std::int32_t>(Read<std::uint32_t>(value));
    case WtTypes_kReal: return static_cast<std::int32_t>(Read<double>(value));
    default: return 0;
  }
}

double WtTypes_AsReal(const WidgetValue& value) {
  switch (WtTypes_KindOf(value.widgetType)) {
    case WtTypes_kReal: return Read<double>(value);
    case WtTypes_kCardinal: return Read<std::uint32_t>(value);
    default: return WtTypes_AsInteger(value);
  }
}

StrIn WtTypes_AsString(const WidgetValue& value) {
  if (WtTypes_KindOf(value.widgetType) != WtTypes_kString) return StrIn("");
  return StrIn(reinterpret_cast<const char*>(value.VALUE), kWidgetValueSize - 1);
}
