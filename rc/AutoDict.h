// AutoDict: the typed parameters of a module's front end, over the untyped
// options of a folder's rc object.
//
// A parameter has a name (its option key), an identifier (the number of its
// element in the module's dialog), a current value, a default and a check.
// Values are tagged: 1 boolean, 2 cardinal, 3 integer, 4 real, 5 string; a
// string value belongs to its parameter (at most 5120 bytes), and a copied
// parameter has its own.
//
// The dictionary keeps two tables, by name and by identifier, both made with
// the bucket count given at creation. The name table rounds and grows as any
// StrHash does; the identifier table keeps its count, so that "table order",
// in which walks and the transfers to and from an rc object visit the
// parameters, stays fixed: buckets by identifier mod bucket count ascending,
// and in a bucket the order of definition. Selections link a selecting dialog element to a parameter's
// element; they are kept newest first.
//
// Parameters belong to their dictionary: a handle stays valid until the
// parameter is replaced or the dictionary destroyed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Strings.h"
#include "rc/SAutoRcF.h"

struct AutoDict_Rec;
using AutoDict = AutoDict_Rec*;
struct AutoDict_ParameterRec;
using AutoDict_Parameter = AutoDict_ParameterRec*;

// Error of the last parameter operation: 0 none, 1 nil dictionary, 2 nil
// parameter, 3 the parameter's value has another type.
extern std::uint8_t AutoDict_error;

// The value types.
inline constexpr std::uint8_t kAutoDictBool = 1;
inline constexpr std::uint8_t kAutoDictCard = 2;
inline constexpr std::uint8_t kAutoDictInt = 3;
inline constexpr std::uint8_t kAutoDictReal = 4;
inline constexpr std::uint8_t kAutoDictString = 5;

// A check on a parameter's value: false refuses it.
using AutoDict_CheckCB = bool (*)(AutoDict_Parameter parameter);

// A link from a selecting element to the element of a parameter: choosing
// `value` in the selector fills the parameter by a box of kind `type`.
struct AutoDict_Selection {
  std::uint8_t type = 0;
  std::uint32_t parameter = 0;  // identifier of the parameter's element
  std::int32_t selector = 0;    // the selecting element; below 0 for none
  std::uint32_t value = 0;      // the selector's value that means this link
};

// Runs once, after SAutoRcF.
void AutoDict_Init();

// --- Create and destroy -------------------------------------------------------

// A new, empty dictionary with `buckets` buckets in each table (at least 1);
// the caller owns it.
AutoDict AutoDict_Create(std::size_t buckets);
// Frees the dictionary with its parameters and selections, and sets it to
// nil; nil is accepted.
void AutoDict_Destroy(AutoDict& dictionary);
// The empty handle: every routine accepts it and answers empty.
AutoDict AutoDict_Nil();

// --- Define -------------------------------------------------------------------
// Each makes a parameter whose value is its default and whose check is
// AutoDict_NoCheckCB, replacing any parameter of the same name or identifier.
// The parameter, or nil (error 1) for a nil dictionary.

AutoDict_Parameter AutoDict_DefineBool(AutoDict dictionary, StrIn name, std::uint32_t identifier, bool fallback);
AutoDict_Parameter AutoDict_DefineCard(AutoDict dictionary, StrIn name, std::uint32_t identifier,
                                       std::uint32_t fallback);
AutoDict_Parameter AutoDict_DefineInt(AutoDict dictionary, StrIn name, std::uint32_t identifier,
                                      std::int32_t fallback);
AutoDict_Parameter AutoDict_DefineReal(AutoDict dictionary, StrIn name, std::uint32_t identifier, double fallback);
AutoDict_Parameter AutoDict_DefineString(AutoDict dictionary, StrIn name, std::uint32_t identifier, StrIn fallback);
// Gives the parameter of `identifier` its check; nullptr restores
// AutoDict_NoCheckCB. False when there is no such parameter.
bool AutoDict_DefineCheckCB(AutoDict dictionary, std::uint32_t identifier, AutoDict_CheckCB check);
// The check that accepts every value.
bool AutoDict_NoCheckCB(AutoDict_Parameter parameter);
// Puts a selection at the head of the list. Nothing for nil.
void AutoDict_DefineSelection(AutoDict dictionary, std::uint8_t type, std::uint32_t parameter,
                              std::int32_t selector, std::uint32_t value);

// --- Find and walk ------------------------------------------------------------

// The parameter of `identifier`, or nil.
AutoDict_Parameter AutoDict_GetParameter(AutoDict dictionary, std::uint32_t identifier);
// The parameter of `name`, or nil.
AutoDict_Parameter AutoDict_GetParameterByName(AutoDict dictionary, StrIn name);
// The first parameter in table order, starting the dictionary's cursor; nil
// when there is none.
AutoDict_Parameter AutoDict_GetFirstParameter(AutoDict dictionary);
// The parameter behind the cursor; nil past the last.
AutoDict_Parameter AutoDict_GetNextParameter(AutoDict dictionary);
// The newest selection, starting the selection cursor; false when none.
bool AutoDict_GetFirstSelection(AutoDict dictionary, AutoDict_Selection& selection);
// The selection behind the cursor; false past the last.
bool AutoDict_GetNextSelection(AutoDict dictionary, AutoDict_Selection& selection);
// The newest selection of `selector` with `value`; false when none.
bool AutoDict_GetSelection(AutoDict dictionary, std::int32_t selector, std::uint32_t value,
                           AutoDict_Selection& selection);

// --- Transfer to and from an rc object ----------------------------------------

// Every parameter, in table order, reads the option of its name by its type;
// an option that is absent or has the wrong form gives the default. With
// `check`, a value the parameter's check refuses gives the default too. A nil
// rc gives every default. False for a nil dictionary.
bool AutoDict_GetAllValues(AutoDict dictionary, SAutoRcF rc, bool check);
// Writes every parameter as the option of its name; options that no
// parameter names stay. False for a nil dictionary or rc.
bool AutoDict_SetAllValues(AutoDict dictionary, SAutoRcF rc);
// For each parameter of `from`: the parameter of `to` with its identifier
// takes its value when the types agree; otherwise a copy of the parameter
// takes its place. False when either is nil.
bool AutoDict_CopyAllParameters(AutoDict from, AutoDict to);

// --- Parameter properties: 0 or empty for nil (error 2) ------------------------

std::uint8_t AutoDict_GetValueType(AutoDict_Parameter parameter);
std::uint32_t AutoDict_GetAObjId(AutoDict_Parameter parameter);
void AutoDict_GetName(AutoDict_Parameter parameter, StrOut name);

// --- Values: reads of another type answer 0 or empty (error 3) -----------------

bool AutoDict_GetBool(AutoDict_Parameter parameter);
std::uint32_t AutoDict_GetCard(AutoDict_Parameter parameter);
std::int32_t AutoDict_GetInt(AutoDict_Parameter parameter);
double AutoDict_GetReal(AutoDict_Parameter parameter);
void AutoDict_GetString(AutoDict_Parameter parameter, StrOut value);

// Set the value without a check; a value of another type is refused (error 3).
void AutoDict_SetBool(AutoDict_Parameter parameter, bool value);
void AutoDict_SetCard(AutoDict_Parameter parameter, std::uint32_t value);
void AutoDict_SetInt(AutoDict_Parameter parameter, std::int32_t value);
void AutoDict_SetReal(AutoDict_Parameter parameter, double value);
void AutoDict_SetString(AutoDict_Parameter parameter, StrIn value);

// --- Defaults -----------------------------------------------------------------

// The value goes back to the default.
void AutoDict_SetDefault(AutoDict_Parameter parameter);
// The default becomes the present value.
void AutoDict_SetValueAsDefault(AutoDict_Parameter parameter);
// Every parameter's value becomes its default.
void AutoDict_SetAllDefaults(AutoDict dictionary);
