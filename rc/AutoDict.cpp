#include "rc/AutoDict.h"

#include <algorithm>
#include <forward_list>
#include <list>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "base/StrHash.h"

std::uint8_t AutoDict_error = 0;

namespace {

enum Error : std::uint8_t { kFine = 0, kNilDictionary = 1, kNilParameter = 2, kWrongType = 3 };

// The alternatives stand in the order of the type numbers, so that a value's
// type is its index plus 1.
using Value = std::variant<bool, std::uint32_t, std::int32_t, double, std::string>;

std::string Bounded(StrIn text) {
  std::string value = text.Str();
  if (value.size() > kTextCap) value.resize(kTextCap);
  return value;
}

}  // namespace

struct AutoDict_ParameterRec {
  std::uint32_t identifier = 0;
  char name[kNameCap] = "";
  Value value;
  Value fallback;
  AutoDict_CheckCB check = AutoDict_NoCheckCB;
};

namespace {

using Bucket = std::list<std::unique_ptr<AutoDict_ParameterRec>>;

}  // namespace

struct AutoDict_Rec {
  StrHash byName = StrHash_Nil();       // name -> parameter; owns nothing
  std::vector<Bucket> byIdentifier;     // owns the parameters; its order is table order
  std::size_t cursorBucket = 0;         // == byIdentifier.size() when the walk has ended
  Bucket::iterator cursor;              // in byIdentifier[cursorBucket]
  std::forward_list<AutoDict_Selection> selections;  // newest first
  std::forward_list<AutoDict_Selection>::iterator selectionCursor = selections.end();

  explicit AutoDict_Rec(std::size_t buckets)
      : byName(StrHash_CreateTable(buckets)), byIdentifier(buckets), cursorBucket(buckets) {}
  ~AutoDict_Rec() { StrHash_DestroyTable(byName); }
  AutoDict_Rec(const AutoDict_Rec&) = delete;
  AutoDict_Rec& operator=(const AutoDict_Rec&) = delete;
};

namespace {

bool DictionaryFine(AutoDict dictionary) {
  AutoDict_error = dictionary == nullptr ? kNilDictionary : kFine;
  return dictionary != nullptr;
}

bool ParameterFine(AutoDict_Parameter parameter) {
  AutoDict_error = parameter == nullptr ? kNilParameter : kFine;
  return parameter != nullptr;
}

Bucket& BucketOf(AutoDict dictionary, std::uint32_t identifier) {
  return dictionary->byIdentifier[identifier % dictionary->byIdentifier.size()];
}

// Moves a cursor at the end of its bucket on to the first parameter of a
// later bucket, or to the end of the walk.
void Settle(AutoDict dictionary) {
  auto& buckets = dictionary->byIdentifier;
  while (dictionary->cursorBucket < buckets.size() &&
         dictionary->cursor == buckets[dictionary->cursorBucket].end()) {
    if (++dictionary->cursorBucket < buckets.size()) dictionary->cursor = buckets[dictionary->cursorBucket].begin();
  }
}

// Takes `parameter` out of both tables and frees it. A walk standing on it
// first moves on, so that it goes on from the next parameter.
void Remove(AutoDict dictionary, AutoDict_Parameter parameter) {
  const std::size_t index = parameter->identifier % dictionary->byIdentifier.size();
  Bucket& bucket = dictionary->byIdentifier[index];
  const auto at = std::find_if(bucket.begin(), bucket.end(), [&](const auto& p) { return p.get() == parameter; });
  if (at == bucket.end()) return;
  if (dictionary->cursorBucket == index && dictionary->cursor == at) {
    ++dictionary->cursor;
    Settle(dictionary);
  }
  if (StrHash_GetEntry(dictionary->byName, parameter->name) == reinterpret_cast<std::uintptr_t>(parameter)) {
    StrHash_DestroyEntry(dictionary->byName, parameter->name);
  }
  bucket.erase(at);
}

// Enters `parameter` in both tables, in place of any parameter of the same
// identifier or name.
AutoDict_Parameter Enter(AutoDict dictionary, std::unique_ptr<AutoDict_ParameterRec> parameter) {
  if (AutoDict_Parameter old = AutoDict_GetParameter(dictionary, parameter->identifier)) Remove(dictionary, old);
  if (AutoDict_Parameter old = AutoDict_GetParameterByName(dictionary, parameter->name)) Remove(dictionary, old);
  AutoDict_Parameter entered = parameter.get();
  BucketOf(dictionary, entered->identifier).push_back(std::move(parameter));
  StrHash_PutEntry(dictionary->byName, entered->name, reinterpret_cast<std::uintptr_t>(entered));
  AutoDict_error = kFine;
  return entered;
}

AutoDict_Parameter Define(AutoDict dictionary, StrIn name, std::uint32_t identifier, Value fallback) {
  if (!DictionaryFine(dictionary)) return nullptr;
  auto parameter = std::make_unique<AutoDict_ParameterRec>();
  parameter->identifier = identifier;
  Strings_Assign(name, parameter->name);
  parameter->value = fallback;
  parameter->fallback = std::move(fallback);
  return Enter(dictionary, std::move(parameter));
}

template <class Visit>
void ForEachParameter(AutoDict dictionary, Visit visit) {
  for (Bucket& bucket : dictionary->byIdentifier) {
    for (auto& parameter : bucket) visit(parameter.get());
  }
}

// The value of a parameter when it has type T; else error 3 and T's zero.
template <class T>
T Get(AutoDict_Parameter parameter) {
  if (!ParameterFine(parameter)) return T{};
  if (const T* value = std::get_if<T>(&parameter->value)) return *value;
  AutoDict_error = kWrongType;
  return T{};
}

template <class T>
void Set(AutoDict_Parameter parameter, T value) {
  if (!ParameterFine(parameter)) return;
  if (!std::holds_alternative<T>(parameter->value)) {
    AutoDict_error = kWrongType;
    return;
  }
  parameter->value = std::move(value);
}

// Reads the option of the parameter's name by its type; false when it is
// absent or has the wrong form.
bool ReadOption(SAutoRcF rc, AutoDict_Parameter parameter) {
  const StrIn key = parameter->name;
  return std::visit(
      [&](auto& current) {
        using T = std::decay_t<decltype(current)>;
        T read{};
        bool ok = false;
        if constexpr (std::is_same_v<T, bool>) {
          ok = SAutoRcF_GetBoolOpt(rc, key, read);
        } else if constexpr (std::is_same_v<T, std::uint32_t>) {
          ok = SAutoRcF_GetCardOpt(rc, key, read);
        } else if constexpr (std::is_same_v<T, std::int32_t>) {
          ok = SAutoRcF_GetIntOpt(rc, key, read);
        } else if constexpr (std::is_same_v<T, double>) {
          ok = SAutoRcF_GetRealOpt(rc, key, read);
        } else {
          char text[kTextCap];
          ok = SAutoRcF_GetStringOpt(rc, key, text);
          read = StrIn(text).Str();
        }
        if (ok) current = std::move(read);
        return ok;
      },
      parameter->value);
}

void WriteOption(SAutoRcF rc, AutoDict_Parameter parameter) {
  const StrIn key = parameter->name;
  std::visit(
      [&](const auto& current) {
        using T = std::decay_t<decltype(current)>;
        if constexpr (std::is_same_v<T, bool>) {
          SAutoRcF_SetBoolOpt(rc, key, current);
        } else if constexpr (std::is_same_v<T, std::uint32_t>) {
          SAutoRcF_SetCardOpt(rc, key, current);
        } else if constexpr (std::is_same_v<T, std::int32_t>) {
          SAutoRcF_SetIntOpt(rc, key, current);
        } else if constexpr (std::is_same_v<T, double>) {
          SAutoRcF_SetRealOpt(rc, key, current);
        } else {
          SAutoRcF_SetStringOpt(rc, key, current);
        }
      },
      parameter->value);
}

bool DeliverSelection(AutoDict dictionary, AutoDict_Selection& selection) {
  selection = AutoDict_Selection{};
  if (!DictionaryFine(dictionary) || dictionary->selectionCursor == dictionary->selections.end()) return false;
  selection = *dictionary->selectionCursor++;
  return true;
}

}  // namespace

void AutoDict_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  SAutoRcF_Init();
}

// --- Create and destroy -------------------------------------------------------

AutoDict AutoDict_Create(std::size_t buckets) {
  AutoDict_error = kFine;
  return new AutoDict_Rec(std::max<std::size_t>(buckets, 1));
}

void AutoDict_Destroy(AutoDict& dictionary) {
  delete dictionary;
  dictionary = nullptr;
}

AutoDict AutoDict_Nil() { return nullptr; }

// --- Define -------------------------------------------------------------------

AutoDict_Parameter AutoDict_DefineBool(AutoDict dictionary, StrIn name, std::uint32_t identifier, bool fallback) {
  return Define(dictionary, name, identifier, fallback);
}

AutoDict_Parameter AutoDict_DefineCard(AutoDict dictionary, StrIn name, std::uint32_t identifier,
                                       std::uint32_t fallback) {
  return Define(dictionary, name, identifier, fallback);
}

AutoDict_Parameter AutoDict_DefineInt(AutoDict dictionary, StrIn name, std::uint32_t identifier,
                                      std::int32_t fallback) {
  return Define(dictionary, name, identifier, fallback);
}

AutoDict_Parameter AutoDict_DefineReal(AutoDict dictionary, StrIn name, std::uint32_t identifier, double fallback) {
  return Define(dictionary, name, identifier, fallback);
}

AutoDict_Parameter AutoDict_DefineString(AutoDict dictionary, StrIn name, std::uint32_t identifier, StrIn fallback) {
  return Define(dictionary, name, identifier, Bounded(fallback));
}

bool AutoDict_DefineCheckCB(AutoDict dictionary, std::uint32_t identifier, AutoDict_CheckCB check) {
  AutoDict_Parameter parameter = AutoDict_GetParameter(dictionary, identifier);
  if (parameter == nullptr) return false;
  parameter->check = check == nullptr ? AutoDict_NoCheckCB : check;
  return true;
}

bool AutoDict_NoCheckCB(AutoDict_Parameter) { return true; }

void AutoDict_DefineSelection(AutoDict dictionary, std::uint8_t type, std::uint32_t parameter,
                              std::int32_t selector, std::uint32_t value) {
  if (!DictionaryFine(dictionary)) return;
  dictionary->selections.push_front(AutoDict_Selection{type, parameter, selector, value});
}

// --- Find and walk ------------------------------------------------------------

AutoDict_Parameter AutoDict_GetParameter(AutoDict dictionary, std::uint32_t identifier) {
  if (!DictionaryFine(dictionary)) return nullptr;
  for (const auto& parameter : BucketOf(dictionary, identifier)) {
    if (parameter->identifier == identifier) return parameter.get();
  }
  return nullptr;
}

AutoDict_Parameter AutoDict_GetParameterByName(AutoDict dictionary, StrIn name) {
  if (!DictionaryFine(dictionary)) return nullptr;
  return reinterpret_cast<AutoDict_Parameter>(StrHash_GetEntry(dictionary->byName, name));
}

AutoDict_Parameter AutoDict_GetFirstParameter(AutoDict dictionary) {
  if (!DictionaryFine(dictionary)) return nullptr;
  dictionary->cursorBucket = 0;
  dictionary->cursor = dictionary->byIdentifier[0].begin();
  Settle(dictionary);
  return AutoDict_GetNextParameter(dictionary);
}

AutoDict_Parameter AutoDict_GetNextParameter(AutoDict dictionary) {
  if (!DictionaryFine(dictionary) || dictionary->cursorBucket >= dictionary->byIdentifier.size()) return nullptr;
  AutoDict_Parameter parameter = (dictionary->cursor++)->get();
  Settle(dictionary);
  return parameter;
}

bool AutoDict_GetFirstSelection(AutoDict dictionary, AutoDict_Selection& selection) {
  if (dictionary != nullptr) dictionary->selectionCursor = dictionary->selections.begin();
  return DeliverSelection(dictionary, selection);
}

bool AutoDict_GetNextSelection(AutoDict dictionary, AutoDict_Selection& selection) {
  return DeliverSelection(dictionary, selection);
}

bool AutoDict_GetSelection(AutoDict dictionary, std::int32_t selector, std::uint32_t value,
                           AutoDict_Selection& selection) {
  selection = AutoDict_Selection{};
  if (!DictionaryFine(dictionary)) return false;
  for (const AutoDict_Selection& candidate : dictionary->selections) {
    if (candidate.selector == selector && candidate.value == value) {
      selection = candidate;
      return true;
    }
  }
  return false;
}

// --- Transfer to and from an rc object ----------------------------------------

bool AutoDict_GetAllValues(AutoDict dictionary, SAutoRcF rc, bool check) {
  if (!DictionaryFine(dictionary)) return false;
  ForEachParameter(dictionary, [&](AutoDict_Parameter parameter) {
    // A refused value is no error: the folder simply runs with the default.
    if (!ReadOption(rc, parameter) || (check && !parameter->check(parameter))) {
      parameter->value = parameter->fallback;
    }
  });
  AutoDict_error = kFine;
  return true;
}

bool AutoDict_SetAllValues(AutoDict dictionary, SAutoRcF rc) {
  if (!DictionaryFine(dictionary)) return false;
  if (rc == nullptr) return false;
  ForEachParameter(dictionary, [&](AutoDict_Parameter parameter) { WriteOption(rc, parameter); });
  return true;
}

bool AutoDict_CopyAllParameters(AutoDict from, AutoDict to) {
  if (!DictionaryFine(from) || !DictionaryFine(to)) return false;
  ForEachParameter(from, [&](AutoDict_Parameter parameter) {
    AutoDict_Parameter target = AutoDict_GetParameter(to, parameter->identifier);
    if (target != nullptr && target->value.index() == parameter->value.index()) {
      target->value = parameter->value;
    } else {
      Enter(to, std::make_unique<AutoDict_ParameterRec>(*parameter));
    }
  });
  AutoDict_error = kFine;
  return true;
}

// --- Parameter properties -----------------------------------------------------

std::uint8_t AutoDict_GetValueType(AutoDict_Parameter parameter) {
  if (!ParameterFine(parameter)) return 0;
  return static_cast<std::uint8_t>(parameter->value.index() + 1);
}

std::uint32_t AutoDict_GetAObjId(AutoDict_Parameter parameter) {
  return ParameterFine(parameter) ? parameter->identifier : 0;
}

void AutoDict_GetName(AutoDict_Parameter parameter, StrOut name) {
  if (ParameterFine(parameter)) {
    Strings_Assign(parameter->name, name);
  } else {
    name.Clear();
  }
}

// --- Values -------------------------------------------------------------------

bool AutoDict_GetBool(AutoDict_Parameter parameter) { return Get<bool>(parameter); }
std::uint32_t AutoDict_GetCard(AutoDict_Parameter parameter) { return Get<std::uint32_t>(parameter); }
std::int32_t AutoDict_GetInt(AutoDict_Parameter parameter) { return Get<std::int32_t>(parameter); }
double AutoDict_GetReal(AutoDict_Parameter parameter) { return Get<double>(parameter); }
void AutoDict_GetString(AutoDict_Parameter parameter, StrOut value) {
  Strings_Assign(Get<std::string>(parameter), value);
}

void AutoDict_SetBool(AutoDict_Parameter parameter, bool value) { Set(parameter, value); }
void AutoDict_SetCard(AutoDict_Parameter parameter, std::uint32_t value) { Set(parameter, value); }
void AutoDict_SetInt(AutoDict_Parameter parameter, std::int32_t value) { Set(parameter, value); }
void AutoDict_SetReal(AutoDict_Parameter parameter, double value) { Set(parameter, value); }
void AutoDict_SetString(AutoDict_Parameter parameter, StrIn value) { Set(parameter, Bounded(value)); }

// --- Defaults -----------------------------------------------------------------

void AutoDict_SetDefault(AutoDict_Parameter parameter) {
  if (ParameterFine(parameter)) parameter->value = parameter->fallback;
}

void AutoDict_SetValueAsDefault(AutoDict_Parameter parameter) {
  if (ParameterFine(parameter)) parameter->fallback = parameter->value;
}

void AutoDict_SetAllDefaults(AutoDict dictionary) {
  if (!DictionaryFine(dictionary)) return;
  ForEachParameter(dictionary, [](AutoDict_Parameter parameter) { parameter->value = parameter->fallback; });
}
