// Fuzz target: compiles arbitrary bytes as a formula with the full and the
// integer table. A text that compiles is evaluated, written canonically and
// compiled again, which must give the same type, value or failure and the
// same canonical text; folding its constants must keep the value too.
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "rules/SFormula.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

struct Context {
  std::int64_t x;
  double y;
  bool b;
};

SFormula_Assigns Variables() {
  SFormula_Assigns a = SFormula_NoAssigns();
  SFormula_AddIntVar(a, "x", [](void* c) { return static_cast<Context*>(c)->x; });
  SFormula_AddRealVar(a, "y", [](void* c) { return static_cast<Context*>(c)->y; });
  SFormula_AddBoolVar(a, "b", [](void* c) { return static_cast<Context*>(c)->b; });
  return a;
}

// The value and failure of one evaluation, comparable bit for bit.
struct Outcome {
  unsigned type, error;
  std::uint64_t bits;
  bool operator==(const Outcome&) const = default;
};

Outcome Evaluate(SFormula_Formula f, Context c) {
  Outcome o{SFormula_ResultType(f), 0, 0};
  switch (o.type) {
    case SFormula_kBool: o.bits = SFormula_EvaluateBool(f, &c); break;
    case SFormula_kInt: o.bits = static_cast<std::uint64_t>(SFormula_EvaluateInt(f, &c)); break;
    default: o.bits = std::bit_cast<std::uint64_t>(SFormula_EvaluateReal(f, &c)); break;
  }
  o.error = SFormula_error;
  Check(o.error <= SFormula_kFuncFailed);
  Check(o.error == 0 || o.bits == 0);
  return o;
}

// Compiles `text`; checks the answer of a compile that fails.
SFormula_Formula Compile(const std::string& text, SFormula_Functions list, SFormula_Assigns vars) {
  std::size_t position = 1;
  unsigned message = 1;
  SFormula_Formula f = SFormula_CreateFormula(text, list, vars, SFormula_kAnyType, position, message);
  if (f != nullptr) {
    Check(message == 0 && position == 0);
  } else {
    Check(message >= SFormula_kMsgIllegalChar && message <= SFormula_kMsgTooDeep);
    Check(position <= StrIn(text).Length());
  }
  return f;
}

void RoundTrip(const std::string& text, SFormula_Functions list, SFormula_Assigns vars) {
  SFormula_Formula f = Compile(text, list, vars);
  if (f == nullptr) return;
  const Context contexts[] = {{0, 0.0, false}, {-3, 2.5, true}, {INT64_MAX, -1e300, false}};
  TextStr canonical;
  if (SFormula_ToString(f, canonical)) {
    SFormula_Formula again = Compile(StrIn(canonical).Str(), list, vars);
    Check(again != nullptr);
    TextStr second;
    Check(SFormula_ToString(again, second) && Strings_Equal(canonical, second));
    for (const Context& c : contexts) Check(Evaluate(f, c) == Evaluate(again, c));
    SFormula_FoldConstants(again);
    TextStr folded;
    if (SFormula_ToString(again, folded)) {
      SFormula_Formula refolded = Compile(StrIn(folded).Str(), list, vars);
      Check(refolded != nullptr);
      for (const Context& c : contexts) Check(Evaluate(f, c) == Evaluate(refolded, c));
      SFormula_DestroyFormula(refolded);
    }
    for (const Context& c : contexts) Check(Evaluate(f, c) == Evaluate(again, c));
    SFormula_DestroyFormula(again);
  }
  SFormula_DestroyFormula(f);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static SFormula_Assigns vars = Variables();
  const std::string text(reinterpret_cast<const char*>(data), size);
  RoundTrip(text, SFormula_GetStdFuncs(), vars);
  RoundTrip(text, SFormula_GetStdIntFuncs(), vars);
  return 0;
}
