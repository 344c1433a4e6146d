// WtTypes: the shared value types of the toolkit and the table of value types.
//
// A dimension is a minimum size and a stretch; the largest size is min +
// stretch, and a stretch of all ones is unbounded. A widget's value is a type
// identifier (an SIdPool number) and 512 bytes.
//
// Built-in types: "BOOLEAN" size 1, "INTEGER" 4, "CARDINAL" 4, "REAL" 8,
// "STRING" 128, of kinds 0 to 4; every other declared type is kind 5.
// Failures: message 1 of "WtTypes" for a known name declared with another
// size, 2 for the size of an unknown type.
#pragma once

#include <cstdint>

#include "base/Strings.h"

// A widget: an instance of CWCore or one of its subclasses.
struct CWCore_Rec;
using Widget = CWCore_Rec*;

struct Dim {
  std::int32_t min = 0;
  std::uint32_t stretch = 0;
};
inline constexpr std::uint32_t Dim_Unbounded = 0xFFFFFFFFu;

struct Geometry {
  Dim hDim, vDim;
};

inline constexpr std::size_t kWidgetValueSize = 512;
struct WidgetValue {
  std::uint32_t widgetType = 0;
  std::uint8_t VALUE[kWidgetValueSize] = {};
};

// Kinds of value types.
enum WtTypes_Kind : std::uint8_t {
  WtTypes_kBoolean = 0,
  WtTypes_kInteger = 1,
  WtTypes_kCardinal = 2,
  WtTypes_kReal = 3,
  WtTypes_kString = 4,
  WtTypes_kGeneric = 5,
};

// The identifiers of the built-in types (set by WtTypes_Init).
extern std::uint32_t WtTypes_booleanT, WtTypes_integerT, WtTypes_cardinalT, WtTypes_realT,
    WtTypes_stringT;

// Enters the built-in types; runs once.
void WtTypes_Init();

// --- The table ---------------------------------------------------------------------

// Declares `name` with `size` bytes (at most 512); its identifier. A known
// name with another size is error 1 and keeps its size.
std::uint32_t WtTypes_DeclareType(StrIn name, std::uint32_t size);
// The size of a type; error 2 and 0 for an unknown one.
std::uint32_t WtTypes_TSize(std::uint32_t type);
// The kind of a type (WtTypes_kGeneric for declared and unknown ones).
WtTypes_Kind WtTypes_KindOf(std::uint32_t type);

// --- Values ------------------------------------------------------------------------

WidgetValue WtTypes_Boolean(bool value);
WidgetValue WtTypes_Integer(std::int32_t value);
WidgetValue WtTypes_Cardinal(std::uint32_t value);
WidgetValue WtTypes_Real(double value);
// A STRING value: the text cut at 511 bytes, terminated.
WidgetValue WtTypes_String(StrIn text);
// The value read as its kind; other kinds are converted where a number
// allows (a BOOLEAN is 0 or 1), texts give 0.
std::int32_t WtTypes_AsInteger(const WidgetValue& value);
double WtTypes_AsReal(const WidgetValue& value);
// The text of a STRING value (empty for other kinds).
StrIn WtTypes_AsString(const WidgetValue& value);
