// SFormula: lexer, compiler, evaluator, folding and canonical text.
//
// A compiled formula is a tree of nodes: constants, the formula's own
// assignments (slots), the caller's variables, calls of function list
// entries, and the implicit casts from integer to real that overload
// resolution inserts. Every node knows its type, so evaluation needs no type
// tests. Nodes keep shared references to the list entries they call, so a
// list may go away while formulas compiled with it live.
//
// The shared Scanner does not fit this language: it has no run-on symbols,
// takes "*" for illegal and "(*" for a comment, and expands MACRO and
// INCLUDE. The few rules here are easier to keep in a lexer of their own.
//
// messages: SFormula 1-14 21-26
#include "rules/SFormula.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

unsigned SFormula_error = 0;

namespace {

using Value = SFormula_Value;
using Int = std::int64_t;
constexpr Int kIntMin = std::numeric_limits<Int>::min();
constexpr std::size_t kUnbounded = std::numeric_limits<std::size_t>::max();

// --- Values ---------------------------------------------------------------------

unsigned CheckReal(double v) {
  if (std::isnan(v)) return SFormula_kDomain;
  if (std::isinf(v)) return SFormula_kOverflow;
  return 0;
}

unsigned SetBool(Value& r, bool v) {
  r.type = SFormula_kBool;
  r.boolean = v;
  return 0;
}

unsigned SetInt(Value& r, Int v) {
  r.type = SFormula_kInt;
  r.integer = v;
  return 0;
}

unsigned SetReal(Value& r, double v) {
  r.type = SFormula_kReal;
  r.real = v;
  return CheckReal(v);
}

// A real that must become an integer: in range or overflow.
unsigned SetIntFromReal(Value& r, double whole) {
  if (!(whole >= -0x1p63 && whole < 0x1p63)) return SFormula_kOverflow;
  return SetInt(r, static_cast<Int>(whole));
}

// --- Built-in operations: each returns 0 or an SFormula_k... error ------------

using Builtin = unsigned (*)(const Value* a, Value& r);

unsigned NegInt(const Value* a, Value& r) {
  if (a[0].integer == kIntMin) return SFormula_kOverflow;
  return SetInt(r, -a[0].integer);
}

unsigned NegReal(const Value* a, Value& r) { return SetReal(r, -a[0].real); }

unsigned AddInt(const Value* a, Value& r) {
  Int s;
  if (__builtin_add_overflow(a[0].integer, a[1].integer, &s)) return SFormula_kOverflow;
  return SetInt(r, s);
}

unsigned SubInt(const Value* a, Value& r) {
  Int s;
  if (__builtin_sub_overflow(a[0].integer, a[1].integer, &s)) return SFormula_kOverflow;
  return SetInt(r, s);
}

unsigned MulInt(const Value* a, Value& r) {
  Int s;
  if (__builtin_mul_overflow(a[0].integer, a[1].integer, &s)) return SFormula_kOverflow;
  return SetInt(r, s);
}

// Floored division: the quotient rounds towards minus infinity.
unsigned DivInt(const Value* a, Value& r) {
  const Int x = a[0].integer, y = a[1].integer;
  if (y == 0) return SFormula_kDivisionByZero;
  if (x == kIntMin && y == -1) return SFormula_kOverflow;
  Int q = x / y;
  if (x % y != 0 && ((x < 0) != (y < 0))) --q;
  return SetInt(r, q);
}

// The remainder of DivInt: it has the sign of the divisor.
unsigned ModInt(const Value* a, Value& r) {
  const Int x = a[0].integer, y = a[1].integer;
  if (y == 0) return SFormula_kDivisionByZero;
  if (y == -1) return SetInt(r, 0);  // x % -1 overflows for the smallest x
  Int m = x % y;
  if (m != 0 && ((m < 0) != (y < 0))) m += y;
  return SetInt(r, m);
}

unsigned AbsInt(const Value* a, Value& r) {
  return a[0].integer < 0 ? NegInt(a, r) : SetInt(r, a[0].integer);
}

unsigned DivReal(const Value* a, Value& r) {
  if (a[1].real == 0.0) return SFormula_kDivisionByZero;
  return SetReal(r, a[0].real / a[1].real);
}

unsigned PowReal(const Value* a, Value& r) {
  if (a[0].real == 0.0 && a[1].real < 0.0) return SFormula_kDivisionByZero;
  return SetReal(r, std::pow(a[0].real, a[1].real));
}

unsigned PowRealInt(const Value* a, Value& r) {
  if (a[0].real == 0.0 && a[1].integer < 0) return SFormula_kDivisionByZero;
  return SetReal(r, SFormula_IntPower(a[0].real, a[1].integer));
}

template <typename Op>
unsigned RealOp(const Value* a, Value& r) {
  return SetReal(r, Op{}(a[0].real, a[1].real));
}

template <typename Cmp>
unsigned CompareInt(const Value* a, Value& r) {
  return SetBool(r, Cmp{}(a[0].integer, a[1].integer));
}

template <typename Cmp>
unsigned CompareReal(const Value* a, Value& r) {
  return SetBool(r, Cmp{}(a[0].real, a[1].real));
}

template <typename Cmp>
unsigned CompareBool(const Value* a, Value& r) {
  return SetBool(r, Cmp{}(a[0].boolean, a[1].boolean));
}

unsigned Identity(const Value* a, Value& r) {
  r = a[0];
  return 0;
}

// --- Function list entries ----------------------------------------------------------

// AND, OR and COND evaluate their operands themselves, and only those needed.
enum class Lazy { None, And, Or, Cond };

struct Entry {
  std::string name;
  unsigned arity = 0;
  unsigned level = 0;  // 0: a function called by name; else an operator
  bool rightAssoc = false;
  unsigned result = SFormula_kInt;
  unsigned types[4] = {};
  Builtin builtin = nullptr;
  SFormula_Callback callback = nullptr;  // set for registered functions only
  Lazy lazy = Lazy::None;

  bool IsPrefix() const { return level > 0 && arity == 1; }
  bool IsInfix() const { return level > 0 && arity == 2; }
  bool IsFunction() const { return level == 0; }
  bool SameKind(const Entry& other) const {
    return IsPrefix() == other.IsPrefix() && IsInfix() == other.IsInfix();
  }
};

using EntryRef = std::shared_ptr<const Entry>;

}  // namespace

struct SFormula_FunctionsRec {
  std::vector<EntryRef> entries;
  bool shared = false;
};

struct SFormula_AssignsRec {
  struct Var {
    std::string name;
    unsigned type = SFormula_kInt;
    SFormula_BoolVar boolVar = nullptr;
    SFormula_IntVar intVar = nullptr;
    SFormula_RealVar realVar = nullptr;
  };
  std::vector<Var> vars;
};

namespace {

using Var = SFormula_AssignsRec::Var;

// --- Lexer ------------------------------------------------------------------------------

enum class Tok { End, Ident, Int, Real, Symbol, Open, Close, Comma, Semicolon, Assign, Illegal, BadNumber };

struct Token {
  Tok kind = Tok::End;
  std::size_t pos = 0;
  std::string_view text;
  Int integer = 0;
  double real = 0.0;
};

bool IsLetter(unsigned char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsDigit(unsigned char c) { return c >= '0' && c <= '9'; }
bool IsBlank(unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsSymbolChar(unsigned char c) {
  if (c <= ' ' || c >= 127 || IsLetter(c) || IsDigit(c)) return false;
  return std::string_view("()[]{},;_").find(static_cast<char>(c)) == std::string_view::npos;
}

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) {}

  Token Next() {
    while (at_ < text_.size() && IsBlank(Char(at_))) ++at_;
    Token t;
    t.pos = at_;
    if (at_ >= text_.size()) return t;
    const unsigned char c = Char(at_);
    std::size_t end = at_ + 1;
    if (IsLetter(c)) {
      while (end < text_.size() && (IsLetter(Char(end)) || IsDigit(Char(end)) || Char(end) == '_')) ++end;
      t.kind = Tok::Ident;
    } else if (IsDigit(c)) {
      end = Number(t);
    } else if (IsAssign(at_)) {
      end = at_ + 2;
      t.kind = Tok::Assign;
    } else if (IsSymbolChar(c)) {
      while (end < text_.size() && IsSymbolChar(Char(end)) && !IsAssign(end)) ++end;
      t.kind = Tok::Symbol;
    } else {
      switch (c) {
        case '(': t.kind = Tok::Open; break;
        case ')': t.kind = Tok::Close; break;
        case ',': t.kind = Tok::Comma; break;
        case ';': t.kind = Tok::Semicolon; break;
        default: t.kind = Tok::Illegal; break;
      }
    }
    t.text = text_.substr(at_, end - at_);
    at_ = end;
    return t;
  }

  // Whether the whole of `text` is one identifier or one symbol.
  static bool IsOneName(std::string_view text, bool identifierOnly) {
    Lexer lexer(text);
    const Token t = lexer.Next();
    const bool fits = t.kind == Tok::Ident || (t.kind == Tok::Symbol && !identifierOnly);
    return fits && t.pos == 0 && t.text.size() == text.size();
  }

 private:
  unsigned char Char(std::size_t i) const { return static_cast<unsigned char>(text_[i]); }
  bool IsAssign(std::size_t i) const { return i + 1 < text_.size() && text_[i] == ':' && text_[i + 1] == '='; }
  bool DigitAt(std::size_t i) const { return i < text_.size() && IsDigit(Char(i)); }

  // Digits, then optionally "." digits and an exponent; returns the end.
  std::size_t Number(Token& t) {
    std::size_t end = at_;
    bool real = false;
    while (DigitAt(end)) ++end;
    if (end < text_.size() && text_[end] == '.' && DigitAt(end + 1)) {
      real = true;
      for (++end; DigitAt(end);) ++end;
    }
    if (end < text_.size() && (text_[end] == 'E' || text_[end] == 'e')) {
      std::size_t digits = end + 1;
      if (digits < text_.size() && (text_[digits] == '+' || text_[digits] == '-')) ++digits;
      if (DigitAt(digits)) {
        real = true;
        for (end = digits; DigitAt(end);) ++end;
      }
    }
    const char* first = text_.data() + at_;
    const char* last = text_.data() + end;
    if (real) {
      const auto [ptr, ec] = std::from_chars(first, last, t.real);
      t.kind = ec == std::errc() && ptr == last && std::isfinite(t.real) ? Tok::Real : Tok::BadNumber;
    } else {
      const auto [ptr, ec] = std::from_chars(first, last, t.integer);
      t.kind = ec == std::errc() && ptr == last ? Tok::Int : Tok::BadNumber;
    }
    return end;
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

// --- Tree -----------------------------------------------------------------------------

enum class Kind { Const, Local, Var, Call, Cast };

struct Node {
  Kind kind = Kind::Const;
  unsigned type = SFormula_kInt;
  std::size_t depth = 1;
  Value value;       // Const
  std::size_t slot = 0;  // Local
  std::string name;  // Local
  Var var;           // Var
  EntryRef entry;    // Call
  std::vector<std::unique_ptr<Node>> args;  // Call; Cast has one
};

using NodePtr = std::unique_ptr<Node>;

NodePtr MakeConst(const Value& v) {
  auto n = std::make_unique<Node>();
  n->kind = Kind::Const;
  n->type = v.type;
  n->value = v;
  return n;
}

NodePtr MakeCall(EntryRef entry, std::vector<NodePtr> args) {
  auto n = std::make_unique<Node>();
  n->kind = Kind::Call;
  n->type = entry->result;
  n->entry = std::move(entry);
  for (const NodePtr& a : args) n->depth = std::max(n->depth, a->depth + 1);
  n->args = std::move(args);
  return n;
}

NodePtr MakeCast(NodePtr child) {
  auto n = std::make_unique<Node>();
  n->kind = Kind::Cast;
  n->type = SFormula_kReal;
  n->depth = child->depth + 1;
  n->args.push_back(std::move(child));
  return n;
}

}  // namespace

struct SFormula_Rec {
  struct Assignment {
    std::string name;
    NodePtr expr;
  };
  std::vector<Assignment> assignments;  // slot i is assignment i
  NodePtr expr;
  // The list's built-in prefix "-" for integers and reals: folding writes a
  // negative constant as its negation, since the language has no negative
  // literals. Nil when the list has none.
  EntryRef negInt, negReal;
};

namespace {

// --- Evaluation -------------------------------------------------------------------

class Evaluator {
 public:
  Evaluator(void* context, std::size_t slots) : context_(context), slots_(slots) {}

  unsigned error() const { return error_; }
  Value& Slot(std::size_t i) { return slots_[i]; }

  bool Eval(const Node& n, Value& out) {
    switch (n.kind) {
      case Kind::Const: out = n.value; return true;
      case Kind::Local: out = slots_[n.slot]; return true;
      case Kind::Var: return Fail(ReadVar(n.var, out));
      case Kind::Cast:
        if (!Eval(*n.args[0], out)) return false;
        return Fail(SetReal(out, SFormula_CastToReal(out.integer)));
      case Kind::Call: return Call(n, out);
    }
    return false;
  }

 private:
  bool Fail(unsigned error) {
    error_ = error;
    return error == 0;
  }

  unsigned ReadVar(const Var& v, Value& out) {
    switch (v.type) {
      case SFormula_kBool: return SetBool(out, v.boolVar(context_));
      case SFormula_kInt: return SetInt(out, v.intVar(context_));
      default: return SetReal(out, v.realVar(context_));
    }
  }

  bool Call(const Node& n, Value& out) {
    const Entry& e = *n.entry;
    switch (e.lazy) {
      case Lazy::And:
      case Lazy::Or: {
        if (!Eval(*n.args[0], out)) return false;
        if (out.boolean == (e.lazy == Lazy::Or)) return true;
        return Eval(*n.args[1], out);
      }
      case Lazy::Cond: {
        Value condition;
        if (!Eval(*n.args[0], condition)) return false;
        return Eval(*n.args[condition.boolean ? 1 : 2], out);
      }
      case Lazy::None: break;
    }
    Value args[4];
    for (std::size_t i = 0; i < n.args.size(); ++i) {
      if (!Eval(*n.args[i], args[i])) return false;
    }
    if (e.builtin != nullptr) return Fail(e.builtin(args, out));
    out = Value{};
    out.type = e.result;
    if (!e.callback(context_, args, out)) return Fail(SFormula_kFuncFailed);
    out.type = e.result;
    return Fail(e.result == SFormula_kReal ? CheckReal(out.real) : 0);
  }

  void* context_;
  std::vector<Value> slots_;
  unsigned error_ = 0;
};

// Evaluates the whole formula: the assignments in order, then the expression.
bool Run(SFormula_Formula f, void* context, Value& out) {
  Evaluator e(context, f->assignments.size());
  for (std::size_t i = 0; i < f->assignments.size(); ++i) {
    if (!e.Eval(*f->assignments[i].expr, e.Slot(i))) {
      SFormula_error = e.error();
      return false;
    }
  }
  const bool ok = e.Eval(*f->expr, out);
  SFormula_error = e.error();
  return ok;
}

// --- The standard tables ------------------------------------------------------------

class TableBuilder {
 public:
  explicit TableBuilder(SFormula_FunctionsRec& list) : list_(list) {}

  void Op(const char* name, unsigned level, unsigned result, std::initializer_list<unsigned> types,
          Builtin builtin, Lazy lazy = Lazy::None, bool rightAssoc = false) {
    auto e = std::make_shared<Entry>();
    e->name = name;
    e->level = level;
    e->rightAssoc = rightAssoc;
    e->result = result;
    e->arity = static_cast<unsigned>(types.size());
    std::copy(types.begin(), types.end(), e->types);
    e->builtin = builtin;
    e->lazy = lazy;
    list_.entries.push_back(std::move(e));
  }
  void Fn(const char* name, unsigned result, std::initializer_list<unsigned> types, Builtin builtin,
          Lazy lazy = Lazy::None) {
    Op(name, 0, result, types, builtin, lazy);
  }

 private:
  SFormula_FunctionsRec& list_;
};

constexpr unsigned B = SFormula_kBool, I = SFormula_kInt, R = SFormula_kReal;

// What both tables share: integer arithmetic, MIN and MAX.
void AddIntegerArithmetic(TableBuilder& t) {
  t.Op("*", 4, I, {I, I}, MulInt);
  t.Op("DIV", 4, I, {I, I}, DivInt);
  t.Op("MOD", 4, I, {I, I}, ModInt);
  t.Op("-", 5, I, {I}, NegInt);
  t.Op("+", 6, I, {I, I}, AddInt);
  t.Op("-", 6, I, {I, I}, SubInt);
  t.Fn("MIN", I, {I, I}, +[](const Value* a, Value& r) { return SetInt(r, std::min(a[0].integer, a[1].integer)); });
  t.Fn("MAX", I, {I, I}, +[](const Value* a, Value& r) { return SetInt(r, std::max(a[0].integer, a[1].integer)); });
}

void AddComparisons(TableBuilder& t) {
  t.Op("<", 7, B, {I, I}, CompareInt<std::less<>>);
  t.Op("<", 7, B, {R, R}, CompareReal<std::less<>>);
  t.Op("<=", 7, B, {I, I}, CompareInt<std::less_equal<>>);
  t.Op("<=", 7, B, {R, R}, CompareReal<std::less_equal<>>);
  t.Op(">", 7, B, {I, I}, CompareInt<std::greater<>>);
  t.Op(">", 7, B, {R, R}, CompareReal<std::greater<>>);
  t.Op(">=", 7, B, {I, I}, CompareInt<std::greater_equal<>>);
  t.Op(">=", 7, B, {R, R}, CompareReal<std::greater_equal<>>);
  t.Op("=", 7, B, {I, I}, CompareInt<std::equal_to<>>);
  t.Op("=", 7, B, {R, R}, CompareReal<std::equal_to<>>);
  t.Op("=", 7, B, {B, B}, CompareBool<std::equal_to<>>);
  t.Op("<>", 7, B, {I, I}, CompareInt<std::not_equal_to<>>);
  t.Op("<>", 7, B, {R, R}, CompareReal<std::not_equal_to<>>);
  t.Op("<>", 7, B, {B, B}, CompareBool<std::not_equal_to<>>);
}

void AddRealFunctions(TableBuilder& t) {
  constexpr double kPi = std::numbers::pi;
  t.Fn("SIN", R, {R}, +[](const Value* a, Value& r) { return SetReal(r, std::sin(a[0].real)); });
  t.Fn("COS", R, {R}, +[](const Value* a, Value& r) { return SetReal(r, std::cos(a[0].real)); });
  t.Fn("TAN", R, {R}, +[](const Value* a, Value& r) { return SetReal(r, std::tan(a[0].real)); });
  t.Fn("ATAN", R, {R}, +[](const Value* a, Value& r) { return SetReal(r, std::atan(a[0].real)); });
  t.Fn("LOG", R, {R}, +[](const Value* a, Value& r) {
    return a[0].real <= 0.0 ? SFormula_kDomain : SetReal(r, std::log(a[0].real));
  });
  t.Fn("EXP", R, {R}, +[](const Value* a, Value& r) { return SetReal(r, std::exp(a[0].real)); });
  t.Fn("SQRT", R, {R}, +[](const Value* a, Value& r) { return SetReal(r, std::sqrt(a[0].real)); });
  t.Fn("DEG", R, {R}, +[](const Value* a, Value& r) { return SetReal(r, a[0].real * (180.0 / kPi)); });
  t.Fn("RAD", R, {R}, +[](const Value* a, Value& r) { return SetReal(r, a[0].real * (kPi / 180.0)); });
  t.Fn("ANGLE", R, {R, R}, +[](const Value* a, Value& r) { return SetReal(r, std::atan2(a[1].real, a[0].real)); });
  t.Fn("PI", R, {}, +[](const Value*, Value& r) { return SetReal(r, kPi); });
}

void BuildStdFuncs(SFormula_FunctionsRec& list) {
  TableBuilder t(list);
  t.Op("^", 2, R, {R, R}, PowReal, Lazy::None, true);
  t.Op("^", 2, R, {R, I}, PowRealInt, Lazy::None, true);
  t.Op("*", 4, R, {R, R}, RealOp<std::multiplies<>>);
  t.Op("/", 4, R, {R, R}, DivReal);
  t.Op("-", 5, R, {R}, NegReal);
  t.Op("+", 6, R, {R, R}, RealOp<std::plus<>>);
  t.Op("-", 6, R, {R, R}, RealOp<std::minus<>>);
  AddIntegerArithmetic(t);
  AddComparisons(t);
  t.Op("NOT", 7, B, {B}, +[](const Value* a, Value& r) { return SetBool(r, !a[0].boolean); });
  t.Op("AND", 8, B, {B, B}, nullptr, Lazy::And);
  t.Op("OR", 10, B, {B, B}, nullptr, Lazy::Or);
  t.Op("XOR", 12, B, {B, B}, CompareBool<std::not_equal_to<>>);
  t.Fn("ODD", B, {I}, +[](const Value* a, Value& r) { return SetBool(r, a[0].integer % 2 != 0); });
  t.Fn("EVEN", B, {I}, +[](const Value* a, Value& r) { return SetBool(r, a[0].integer % 2 == 0); });
  t.Fn("REAL", R, {I}, +[](const Value* a, Value& r) { return SetReal(r, SFormula_CastToReal(a[0].integer)); });
  t.Fn("REAL", R, {R}, Identity);
  t.Fn("INT", I, {I}, Identity);
  t.Fn("INT", I, {R}, +[](const Value* a, Value& r) { return SetIntFromReal(r, std::floor(a[0].real)); });
  t.Fn("TRUNC", I, {I}, Identity);
  t.Fn("TRUNC", I, {R}, +[](const Value* a, Value& r) { return SetIntFromReal(r, std::trunc(a[0].real)); });
  t.Fn("ABS", I, {I}, AbsInt);
  t.Fn("ABS", R, {R}, +[](const Value* a, Value& r) { return SetReal(r, std::fabs(a[0].real)); });
  t.Fn("MIN", R, {R, R}, +[](const Value* a, Value& r) { return SetReal(r, std::min(a[0].real, a[1].real)); });
  t.Fn("MAX", R, {R, R}, +[](const Value* a, Value& r) { return SetReal(r, std::max(a[0].real, a[1].real)); });
  AddRealFunctions(t);
  t.Fn("COND", I, {B, I, I}, nullptr, Lazy::Cond);
  t.Fn("COND", R, {B, R, R}, nullptr, Lazy::Cond);
  t.Fn("COND", B, {B, B, B}, nullptr, Lazy::Cond);
}

void BuildStdIntFuncs(SFormula_FunctionsRec& list) {
  TableBuilder t(list);
  AddIntegerArithmetic(t);
  t.Op("/", 4, I, {I, I}, DivInt);  // deliberately DIV itself
}

SFormula_FunctionsRec* SharedTable(void (*build)(SFormula_FunctionsRec&)) {
  auto* list = new SFormula_FunctionsRec;  // lives as long as the process
  build(*list);
  list->shared = true;
  return list;
}

// --- Compiler -----------------------------------------------------------------------

bool IsBoolWord(std::string_view name) { return name == "TRUE" || name == "FALSE"; }

struct Local {
  std::string name;
  unsigned type;
};

struct SyntaxError {
  unsigned message = 0;  // 0: none
  std::size_t position = 0;
};

// Records a syntax error; only the first counts, and it ends the compile.
void SFormula_SetError(SyntaxError& error, unsigned message, std::size_t position) {
  if (error.message != 0) return;
  error.message = message;
  error.position = position;
}

class Compiler {
 public:
  Compiler(std::string_view text, const SFormula_FunctionsRec* functions, const SFormula_AssignsRec* assigns)
      : lexer_(text), functions_(functions), assigns_(assigns) {}

  const SyntaxError& error() const { return error_; }

  // The formula, or nil after the first error.
  std::unique_ptr<SFormula_Rec> Compile(unsigned flag) {
    auto f = std::make_unique<SFormula_Rec>();
    Advance();
    for (;;) {
      if (Failed() || token_.kind != Tok::Ident) break;
      Lexer ahead = lexer_;
      if (ahead.Next().kind != Tok::Assign) break;
      if (!Assignment(*f)) return nullptr;
    }
    const std::size_t start = token_.pos;
    f->expr = Expression(kUnbounded);
    if (Failed()) return nullptr;
    if (token_.kind != Tok::End) {
      Error(SFormula_kMsgOperatorExpected, token_.pos);
      return nullptr;
    }
    const unsigned type = f->expr->type;
    const bool fits = flag >= SFormula_kAnyType || type == flag || (flag == SFormula_kReal && type == SFormula_kInt);
    if (!fits) {
      Error(SFormula_kMsgResultType, start);
      return nullptr;
    }
    for (const EntryRef& e : Entries()) {
      if (!e->IsPrefix() || e->builtin == nullptr) continue;
      if (e->builtin == NegInt) f->negInt = e;
      if (e->builtin == NegReal) f->negReal = e;
    }
    return f;
  }

 private:
  void Error(unsigned message, std::size_t position) { SFormula_SetError(error_, message, position); }
  bool Failed() const { return error_.message != 0; }
  NodePtr Fail(unsigned message, std::size_t position) {
    Error(message, position);
    return nullptr;
  }

  void Advance() {
    token_ = lexer_.Next();
    if (token_.kind == Tok::Illegal) Error(SFormula_kMsgIllegalChar, token_.pos);
    if (token_.kind == Tok::BadNumber) Error(SFormula_kMsgBadNumber, token_.pos);
  }

  const std::vector<EntryRef>& Entries() const {
    static const std::vector<EntryRef> none;
    return functions_ != nullptr ? functions_->entries : none;
  }

  bool Any(std::string_view name, bool (Entry::*kind)() const) const {
    return std::any_of(Entries().begin(), Entries().end(),
                       [&](const EntryRef& e) { return e->name == name && ((*e).*kind)(); });
  }

  const Entry* InfixOperator(const Token& t) const {
    if (t.kind != Tok::Ident && t.kind != Tok::Symbol) return nullptr;
    for (const EntryRef& e : Entries()) {
      if (e->IsInfix() && e->name == t.text) return e.get();
    }
    return nullptr;
  }

  // 1. Among the entries of this name, kind and arity, one that takes the
  //    argument types as they are; 2. else the one needing the fewest casts
  //    from integer to real, the first of equals. Casts are inserted.
  NodePtr Resolve(std::string_view name, bool (Entry::*kind)() const, std::vector<NodePtr> args, std::size_t pos) {
    EntryRef best;
    std::size_t bestCasts = kUnbounded, found = 0;
    for (const EntryRef& e : Entries()) {
      if (e->name != name || !((*e).*kind)() || e->arity != args.size()) continue;
      ++found;
      std::size_t casts = 0;
      for (std::size_t i = 0; i < args.size() && casts != kUnbounded; ++i) {
        if (args[i]->type == e->types[i]) continue;
        casts = args[i]->type == SFormula_kInt && e->types[i] == SFormula_kReal ? casts + 1 : kUnbounded;
      }
      if (casts < bestCasts) {
        best = e;
        bestCasts = casts;
      }
    }
    if (found == 0) return Fail(SFormula_kMsgArgumentCount, pos);
    if (!best) return Fail(SFormula_kMsgTypes, pos);
    for (std::size_t i = 0; i < args.size(); ++i) {
      if (args[i]->type != best->types[i]) args[i] = MakeCast(std::move(args[i]));
    }
    NodePtr call = MakeCall(best, std::move(args));
    if (call->depth > SFormula_kMaxDepth) return Fail(SFormula_kMsgTooDeep, pos);
    return call;
  }

  // name := expression ;
  bool Assignment(SFormula_Rec& f) {
    const Token name = token_;
    const bool listed = std::any_of(Entries().begin(), Entries().end(), [&](const EntryRef& e) { return e->name == name.text; });
    if (IsBoolWord(name.text) || listed) {
      Error(SFormula_kMsgNotAssignable, name.pos);
      return false;
    }
    Advance();  // the name
    Advance();  // ":="
    NodePtr expr = Expression(kUnbounded);
    if (Failed()) return false;
    if (token_.kind != Tok::Semicolon) {
      Error(SFormula_kMsgSemicolonExpected, token_.pos);
      return false;
    }
    Advance();
    locals_.push_back({std::string(name.text), expr->type});
    f.assignments.push_back({std::string(name.text), std::move(expr)});
    return true;
  }

  // Operators of levels up to `maxLevel`, by precedence climbing: the right
  // operand of a left-associative operator of level L takes levels below L,
  // that of a right-associative one levels up to L.
  NodePtr Expression(std::size_t maxLevel) {
    if (++depth_ > SFormula_kMaxDepth) return Fail(SFormula_kMsgTooDeep, token_.pos);
    NodePtr left = Unary(maxLevel);
    while (left && !Failed()) {
      const Entry* op = InfixOperator(token_);
      if (op == nullptr) {
        if (token_.kind == Tok::Symbol) Error(SFormula_kMsgUnknownOperator, token_.pos);
        break;
      }
      if (op->level > maxLevel) break;
      const Token opToken = token_;
      Advance();
      NodePtr right = Expression(op->rightAssoc ? op->level : op->level - 1);
      if (!right) return nullptr;
      std::vector<NodePtr> args;
      args.push_back(std::move(left));
      args.push_back(std::move(right));
      left = Resolve(opToken.text, &Entry::IsInfix, std::move(args), opToken.pos);
    }
    --depth_;
    return Failed() ? nullptr : std::move(left);
  }

  // A prefix operator and its operand, or a primary.
  NodePtr Unary(std::size_t maxLevel) {
    if ((token_.kind == Tok::Ident || token_.kind == Tok::Symbol) && !IsVariable(token_.text)) {
      for (const EntryRef& e : Entries()) {
        if (!e->IsPrefix() || e->name != token_.text) continue;
        const Token opToken = token_;
        Advance();
        NodePtr operand = Expression(std::min<std::size_t>(e->level, maxLevel));
        if (!operand) return nullptr;
        std::vector<NodePtr> args;
        args.push_back(std::move(operand));
        return Resolve(opToken.text, &Entry::IsPrefix, std::move(args), opToken.pos);
      }
    }
    return Primary();
  }

  bool IsVariable(std::string_view name) const {
    if (std::any_of(locals_.begin(), locals_.end(), [&](const Local& l) { return l.name == name; })) return true;
    return assigns_ != nullptr &&
           std::any_of(assigns_->vars.begin(), assigns_->vars.end(), [&](const Var& v) { return v.name == name; });
  }

  NodePtr Primary() {
    const Token t = token_;
    switch (t.kind) {
      case Tok::Int:
      case Tok::Real: {
        Value v;
        if (t.kind == Tok::Int) SetInt(v, t.integer);
        else SetReal(v, t.real);
        Advance();
        return MakeConst(v);
      }
      case Tok::Open: {
        Advance();
        NodePtr inner = Expression(kUnbounded);
        if (!inner) return nullptr;
        if (token_.kind != Tok::Close) return Fail(SFormula_kMsgCloseExpected, token_.pos);
        Advance();
        return inner;
      }
      case Tok::Ident: return Name();
      case Tok::Symbol:
        Error(InfixOperator(t) != nullptr ? SFormula_kMsgOperandExpected : SFormula_kMsgUnknownOperator, t.pos);
        return nullptr;
      case Tok::Illegal:
      case Tok::BadNumber: return nullptr;  // told by Advance
      default: Error(SFormula_kMsgOperandExpected, t.pos); return nullptr;
    }
  }

  // A literal word, an assignment, a caller's variable or a function call.
  NodePtr Name() {
    const Token t = token_;
    if (IsBoolWord(t.text)) {
      Advance();
      Value v;
      SetBool(v, t.text == "TRUE");
      return MakeConst(v);
    }
    for (std::size_t i = locals_.size(); i-- > 0;) {
      if (locals_[i].name != t.text) continue;
      Advance();
      auto n = std::make_unique<Node>();
      n->kind = Kind::Local;
      n->type = locals_[i].type;
      n->slot = i;
      n->name = locals_[i].name;
      return n;
    }
    if (assigns_ != nullptr) {
      for (const Var& v : assigns_->vars) {
        if (v.name != t.text) continue;
        Advance();
        auto n = std::make_unique<Node>();
        n->kind = Kind::Var;
        n->type = v.type;
        n->var = v;
        return n;
      }
    }
    if (Any(t.text, &Entry::IsFunction)) return FunctionCall();
    Error(Any(t.text, &Entry::IsInfix) ? SFormula_kMsgOperandExpected : SFormula_kMsgUnknownName, t.pos);
    return nullptr;
  }

  // NAME(a, ...), or NAME alone for a function without arguments.
  NodePtr FunctionCall() {
    const Token name = token_;
    Advance();
    std::vector<NodePtr> args;
    if (token_.kind != Tok::Open) {
      if (!std::any_of(Entries().begin(), Entries().end(),
                       [&](const EntryRef& e) { return e->IsFunction() && e->arity == 0 && e->name == name.text; })) {
        return Fail(SFormula_kMsgOpenExpected, token_.pos);
      }
      return Resolve(name.text, &Entry::IsFunction, std::move(args), name.pos);
    }
    Advance();
    if (token_.kind != Tok::Close) {
      for (;;) {
        NodePtr arg = Expression(kUnbounded);
        if (!arg) return nullptr;
        args.push_back(std::move(arg));
        if (token_.kind != Tok::Comma) break;
        Advance();
      }
      if (token_.kind != Tok::Close) return Fail(SFormula_kMsgCloseExpected, token_.pos);
    }
    Advance();
    return Resolve(name.text, &Entry::IsFunction, std::move(args), name.pos);
  }

  Lexer lexer_;
  Token token_;
  const SFormula_FunctionsRec* functions_;
  const SFormula_AssignsRec* assigns_;
  std::vector<Local> locals_;
  std::size_t depth_ = 0;
  SyntaxError error_;
};

// --- Canonical text -----------------------------------------------------------------

std::string Literal(const Value& v) {
  if (v.type == SFormula_kBool) return v.boolean ? "TRUE" : "FALSE";
  char buffer[64];
  const auto result = v.type == SFormula_kInt ? std::to_chars(buffer, buffer + sizeof buffer, v.integer)
                                              : std::to_chars(buffer, buffer + sizeof buffer, v.real);
  std::string text(buffer, result.ptr);
  if (v.type == SFormula_kReal && text.find_first_of(".e") == std::string::npos) text += ".0";
  return text;
}

// Writes `n` so that the compiler, parsing at `maxLevel` with an infix
// operator of level `follow` (or none, kUnbounded) behind it, reads it back
// as the same tree; brackets where it wouldn't. An infix node needs them when
// its level exceeds maxLevel or its right operand would take the following
// operator; a prefix node when its operand would.
void Emit(const Node& n, std::size_t maxLevel, std::size_t follow, std::string& out) {
  switch (n.kind) {
    case Kind::Const: out += Literal(n.value); return;
    case Kind::Local: out += n.name; return;
    case Kind::Var: out += n.var.name; return;
    case Kind::Cast: Emit(*n.args[0], maxLevel, follow, out); return;
    case Kind::Call: break;
  }
  const Entry& e = *n.entry;
  if (e.IsFunction()) {
    out += e.name;
    if (n.args.empty()) return;
    out += '(';
    for (std::size_t i = 0; i < n.args.size(); ++i) {
      if (i > 0) out += ", ";
      Emit(*n.args[i], kUnbounded, kUnbounded, out);
    }
    out += ')';
    return;
  }
  const std::size_t level = e.level;
  const std::size_t rightLevel = e.rightAssoc ? level : level - 1;
  const bool bracket = e.IsPrefix() ? std::min(level, maxLevel) >= follow : level > maxLevel || rightLevel >= follow;
  if (bracket) {
    maxLevel = follow = kUnbounded;
    out += '(';
  }
  if (e.IsPrefix()) {
    std::string operand;
    Emit(*n.args[0], std::min(level, maxLevel), follow, operand);
    // A symbol runs on into a following symbol character, a word into a letter.
    const bool blank = IsLetter(static_cast<unsigned char>(e.name[0])) ||
                       IsSymbolChar(static_cast<unsigned char>(operand[0]));
    out += e.name;
    if (blank) out += ' ';
    out += operand;
  } else {
    Emit(*n.args[0], maxLevel, level, out);
    out += ' ';
    out += e.name;
    out += ' ';
    Emit(*n.args[1], rightLevel, follow, out);
  }
  if (bracket) out += ')';
}

// --- Folding ------------------------------------------------------------------------

// The node that stands for the constant `v`: a literal, or the negation of
// one; nil when the formula's list has no negation to write it with.
NodePtr ConstantNode(const SFormula_Rec& f, const Value& v) {
  Value magnitude;
  EntryRef neg;
  if (v.type == SFormula_kInt && v.integer < 0) {
    if (v.integer == kIntMin) return nullptr;  // its magnitude is no integer
    SetInt(magnitude, -v.integer);
    neg = f.negInt;
  } else if (v.type == SFormula_kReal && std::signbit(v.real)) {
    SetReal(magnitude, -v.real);
    neg = f.negReal;
  } else {
    return MakeConst(v);
  }
  if (!neg) return nullptr;
  std::vector<NodePtr> args;
  args.push_back(MakeConst(magnitude));
  return MakeCall(std::move(neg), std::move(args));
}

// Replaces `n` by its value when it is constant and evaluates; leaves it otherwise.
void Replace(const SFormula_Rec& f, NodePtr& n) {
  Evaluator e(nullptr, 0);
  Value v;
  if (!e.Eval(*n, v)) return;
  NodePtr constant = ConstantNode(f, v);
  if (constant) n = std::move(constant);
}

// Folds the subtree; true when it depends on nothing but constants.
bool Fold(const SFormula_Rec& f, NodePtr& n) {
  switch (n->kind) {
    case Kind::Const: return true;
    case Kind::Local:
    case Kind::Var: return false;
    case Kind::Cast:
      if (!Fold(f, n->args[0])) return false;
      Replace(f, n);
      return true;
    case Kind::Call: break;
  }
  std::vector<bool> constants;
  for (NodePtr& arg : n->args) constants.push_back(Fold(f, arg));
  const bool all = std::find(constants.begin(), constants.end(), false) == constants.end();
  if (n->entry->callback != nullptr) return false;
  if (n->entry->lazy == Lazy::None || all) {
    if (all) Replace(f, n);
    return all;
  }
  // AND, OR, COND with a constant condition: the constant answer, or the
  // operand they take. A branch that is still a cast from integer stays
  // inside: written alone it would read back as an integer.
  Evaluator e(nullptr, 0);
  Value first;
  if (!constants[0] || !e.Eval(*n->args[0], first)) return constants[0];
  if (n->entry->lazy != Lazy::Cond && first.boolean == (n->entry->lazy == Lazy::Or)) {
    n = MakeConst(first);
    return true;
  }
  const std::size_t taken = n->entry->lazy == Lazy::Cond && !first.boolean ? 2 : 1;
  if (n->args[taken]->kind == Kind::Cast) return false;
  const bool constant = constants[taken];
  NodePtr branch = std::move(n->args[taken]);
  n = std::move(branch);
  return constant;
}

}  // namespace

// --- Numbers --------------------------------------------------------------------

double SFormula_CastToReal(std::int64_t value) { return static_cast<double>(value); }

double SFormula_IntPower(double base, std::int64_t exponent) {
  // The magnitude in unsigned arithmetic: -exponent overflows for the smallest.
  std::uint64_t n = exponent < 0 ? 0 - static_cast<std::uint64_t>(exponent) : static_cast<std::uint64_t>(exponent);
  double result = 1.0;
  for (double square = base; n != 0; n >>= 1) {
    if (n & 1) result *= square;
    if (n > 1) square *= square;
  }
  return exponent < 0 ? 1.0 / result : result;
}

// --- Function lists -------------------------------------------------------------

SFormula_Functions SFormula_GetStdFuncs() {
  static SFormula_FunctionsRec* const table = SharedTable(BuildStdFuncs);
  return table;
}

SFormula_Functions SFormula_GetStdIntFuncs() {
  static SFormula_FunctionsRec* const table = SharedTable(BuildStdIntFuncs);
  return table;
}

SFormula_Functions SFormula_GetFunctionList(SFormula_Functions base) {
  auto* list = new SFormula_FunctionsRec;
  if (base != nullptr) list->entries = base->entries;
  return list;
}

void SFormula_DestroyFunctionList(SFormula_Functions& list) {
  if (list != nullptr && !list->shared) delete list;
  list = nullptr;
}

namespace {

// The checks of SFormula_Add...Func, then the entry goes in.
bool AddFunc(SFormula_Functions list, StrIn name, unsigned level, unsigned result,
             std::initializer_list<unsigned> types, SFormula_Callback callback) {
  if (list == nullptr || list->shared || callback == nullptr || result > SFormula_kReal) return false;
  if (std::any_of(types.begin(), types.end(), [](unsigned t) { return t > SFormula_kReal; })) return false;
  auto e = std::make_shared<Entry>();
  e->name = name.Str();
  e->level = level;
  e->result = result;
  e->arity = static_cast<unsigned>(types.size());
  std::copy(types.begin(), types.end(), e->types);
  e->callback = callback;
  if (!Lexer::IsOneName(e->name, level == 0) || IsBoolWord(e->name)) return false;
  for (const EntryRef& other : list->entries) {
    if (other->name != e->name) continue;
    const bool sameTypes = other->arity == e->arity && std::equal(types.begin(), types.end(), other->types);
    if (other->SameKind(*e) && (sameTypes || other->level != e->level || other->rightAssoc)) return false;
    if ((other->IsPrefix() && e->IsFunction()) || (other->IsFunction() && e->IsPrefix())) return false;
  }
  list->entries.push_back(std::move(e));
  return true;
}

}  // namespace

bool SFormula_Add0ArgFunc(SFormula_Functions list, StrIn name, unsigned resultType, SFormula_Callback callback) {
  return AddFunc(list, name, 0, resultType, {}, callback);
}

bool SFormula_Add1ArgFunc(SFormula_Functions list, StrIn name, unsigned level, unsigned resultType,
                          unsigned type1, SFormula_Callback callback) {
  return AddFunc(list, name, level, resultType, {type1}, callback);
}

bool SFormula_Add2ArgFunc(SFormula_Functions list, StrIn name, unsigned level, unsigned resultType,
                          unsigned type1, unsigned type2, SFormula_Callback callback) {
  return AddFunc(list, name, level, resultType, {type1, type2}, callback);
}

bool SFormula_Add3ArgFunc(SFormula_Functions list, StrIn name, unsigned resultType, unsigned type1,
                          unsigned type2, unsigned type3, SFormula_Callback callback) {
  return AddFunc(list, name, 0, resultType, {type1, type2, type3}, callback);
}

bool SFormula_Add4ArgFunc(SFormula_Functions list, StrIn name, unsigned resultType, unsigned type1,
                          unsigned type2, unsigned type3, unsigned type4, SFormula_Callback callback) {
  return AddFunc(list, name, 0, resultType, {type1, type2, type3, type4}, callback);
}

// --- Variables of the caller ------------------------------------------------

SFormula_Assigns SFormula_NoAssigns() { return nullptr; }

namespace {

bool AddVar(SFormula_Assigns& assigns, StrIn name, Var var) {
  var.name = name.Str();
  if (!Lexer::IsOneName(var.name, true) || IsBoolWord(var.name)) return false;
  if (assigns == nullptr) assigns = new SFormula_AssignsRec;
  for (const Var& v : assigns->vars) {
    if (v.name == var.name) return false;
  }
  assigns->vars.push_back(std::move(var));
  return true;
}

}  // namespace

bool SFormula_AddBoolVar(SFormula_Assigns& assigns, StrIn name, SFormula_BoolVar callback) {
  Var v;
  v.type = SFormula_kBool;
  v.boolVar = callback;
  return callback != nullptr && AddVar(assigns, name, std::move(v));
}

bool SFormula_AddIntVar(SFormula_Assigns& assigns, StrIn name, SFormula_IntVar callback) {
  Var v;
  v.type = SFormula_kInt;
  v.intVar = callback;
  return callback != nullptr && AddVar(assigns, name, std::move(v));
}

bool SFormula_AddRealVar(SFormula_Assigns& assigns, StrIn name, SFormula_RealVar callback) {
  Var v;
  v.type = SFormula_kReal;
  v.realVar = callback;
  return callback != nullptr && AddVar(assigns, name, std::move(v));
}

SFormula_Assigns SFormula_CopyAssigns(SFormula_Assigns assigns) {
  return assigns == nullptr ? nullptr : new SFormula_AssignsRec(*assigns);
}

void SFormula_DestroyAssigns(SFormula_Assigns& assigns) {
  delete assigns;
  assigns = nullptr;
}

// --- Create and destroy -------------------------------------------------------

SFormula_Formula SFormula_NilFormula() { return nullptr; }

SFormula_Formula SFormula_CreateFormula(StrIn text, SFormula_Functions functions, SFormula_Assigns assigns,
                                        unsigned flag, std::size_t& position, unsigned& message) {
  Compiler compiler(text.View(), functions, assigns);
  std::unique_ptr<SFormula_Rec> formula = compiler.Compile(flag);
  position = compiler.error().position;
  message = compiler.error().message;
  return formula.release();
}

void SFormula_DestroyFormula(SFormula_Formula& formula) {
  delete formula;
  formula = nullptr;
}

// --- Evaluate -----------------------------------------------------------------

namespace {

// Evaluates `formula` for a caller that wants `type`; false with
// SFormula_error set when it can't.
bool EvaluateAs(SFormula_Formula formula, unsigned type, void* context, Value& v) {
  if (formula == nullptr) {
    SFormula_error = SFormula_kNilFormula;
    return false;
  }
  const unsigned has = formula->expr->type;
  if (has != type && !(type == SFormula_kReal && has == SFormula_kInt)) {
    SFormula_error = SFormula_kTypeMismatch;
    return false;
  }
  if (!Run(formula, context, v)) return false;
  if (has != type) SetReal(v, SFormula_CastToReal(v.integer));
  return true;
}

}  // namespace

bool SFormula_EvaluateBool(SFormula_Formula formula, void* context) {
  Value v;
  return EvaluateAs(formula, SFormula_kBool, context, v) && v.boolean;
}

std::int64_t SFormula_EvaluateInt(SFormula_Formula formula, void* context) {
  Value v;
  return EvaluateAs(formula, SFormula_kInt, context, v) ? v.integer : 0;
}

double SFormula_EvaluateReal(SFormula_Formula formula, void* context) {
  Value v;
  return EvaluateAs(formula, SFormula_kReal, context, v) ? v.real : 0.0;
}

// --- Query and rewrite --------------------------------------------------------

unsigned SFormula_ResultType(SFormula_Formula formula) {
  return formula == nullptr ? SFormula_kAnyType : formula->expr->type;
}

bool SFormula_ToString(SFormula_Formula formula, StrOut text) {
  text.Clear();
  if (formula == nullptr) return false;
  std::string out;
  for (const SFormula_Rec::Assignment& a : formula->assignments) {
    out += a.name;
    out += " := ";
    Emit(*a.expr, kUnbounded, kUnbounded, out);
    out += "; ";
  }
  Emit(*formula->expr, kUnbounded, kUnbounded, out);
  Strings_Assign(out, text);
  return out.size() <= text.Capacity();
}

void SFormula_FoldConstants(SFormula_Formula formula) {
  if (formula == nullptr) return;
  for (SFormula_Rec::Assignment& a : formula->assignments) Fold(*formula, a.expr);
  Fold(*formula, formula->expr);
}
