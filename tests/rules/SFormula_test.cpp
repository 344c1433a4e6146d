#include "rules/SFormula.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

// The evaluation context the variable callbacks read.
struct Context {
  std::int64_t x = 0;
  double y = 0.0;
  bool b = false;
};

SFormula_Assigns Variables() {
  SFormula_Assigns a = SFormula_NoAssigns();
  EXPECT_TRUE(SFormula_AddIntVar(a, "x", [](void* c) { return static_cast<Context*>(c)->x; }));
  EXPECT_TRUE(SFormula_AddRealVar(a, "y", [](void* c) { return static_cast<Context*>(c)->y; }));
  EXPECT_TRUE(SFormula_AddBoolVar(a, "b", [](void* c) { return static_cast<Context*>(c)->b; }));
  return a;
}

// Compiles and evaluates one text; the error code is kept with the value.
struct Result {
  bool compiled = false;
  unsigned type = SFormula_kAnyType, error = 0, message = 0;
  std::size_t position = 0;
  std::int64_t i = 0;
  double r = 0.0;
  bool b = false;
  std::string canonical;

  bool operator==(const Result& o) const {
    return compiled == o.compiled && type == o.type && error == o.error && i == o.i && b == o.b &&
           std::signbit(r) == std::signbit(o.r) && r == o.r;
  }
};

Result Evaluate(SFormula_Formula f, Context context) {
  Result out;
  out.compiled = f != nullptr;
  out.type = SFormula_ResultType(f);
  switch (out.type) {
    case SFormula_kBool: out.b = SFormula_EvaluateBool(f, &context); break;
    case SFormula_kInt: out.i = SFormula_EvaluateInt(f, &context); break;
    case SFormula_kReal: out.r = SFormula_EvaluateReal(f, &context); break;
  }
  out.error = f != nullptr ? SFormula_error : 0;
  TextStr text;
  SFormula_ToString(f, text);
  out.canonical = StrIn(text).Str();
  return out;
}

class SFormulaTest : public testing::Test {
 protected:
  ~SFormulaTest() override { SFormula_DestroyAssigns(vars_); }

  Result Run(const std::string& text, Context context = {}, SFormula_Functions list = SFormula_GetStdFuncs(),
             unsigned flag = SFormula_kAnyType) {
    Result out;
    SFormula_Formula f = SFormula_CreateFormula(text, list, vars_, flag, out.position, out.message);
    const Result value = Evaluate(f, context);
    SFormula_DestroyFormula(f);
    return {value.compiled, value.type, value.error, out.message, out.position, value.i, value.r, value.b,
            value.canonical};
  }

  SFormula_Assigns vars_ = Variables();
};

TEST_F(SFormulaTest, LevelsAndAssociativityMatchTheBracketedForms) {
  const struct {
    const char* text;
    const char* bracketed;
  } cases[] = {
      {"1 + 2 * 3", "1 + (2 * 3)"},          {"10 - 4 - 3", "(10 - 4) - 3"},
      {"100 DIV 5 DIV 2", "(100 DIV 5) DIV 2"}, {"2 ^ 3 ^ 2", "2 ^ (3 ^ 2)"},
      {"-2 ^ 2", "-(2 ^ 2)"},                {"2 ^ -1 * 3", "(2 ^ (-1)) * 3"},
      {"- x + 1", "(-x) + 1"},               {"x * -x + 1", "(x * (-x)) + 1"},
      {"x - - x", "x - (-x)"},               {"1 + 2 < 4", "(1 + 2) < 4"},
      {"NOT b = b", "NOT (b = b)"},          {"NOT b AND b", "(NOT b) AND b"},
      {"b OR b AND NOT b", "b OR (b AND (NOT b))"}, {"b XOR b OR b", "b XOR (b OR b)"},
      {"x = 1 = b", "(x = 1) = b"},          {"7 MOD 4 * 3", "(7 MOD 4) * 3"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    for (Context ctx : {Context{3, 0.5, true}, Context{-2, -1.5, false}}) {
      const Result plain = Run(c.text, ctx), bracketed = Run(c.bracketed, ctx);
      ASSERT_TRUE(plain.compiled) << plain.message << "@" << plain.position;
      EXPECT_EQ(plain, bracketed);
      EXPECT_EQ(plain.canonical, bracketed.canonical);
    }
  }
  // The canonical text keeps exactly the brackets the levels need.
  const struct {
    const char* text;
    const char* canonical;
  } written[] = {
      {"(2 ^ 3) ^ 2", "(2 ^ 3) ^ 2"}, {"2 ^ (3 ^ 2)", "2 ^ 3 ^ 2"},   {"(x - 1) - 2", "x - 1 - 2"},
      {"x - (1 - 2)", "x - (1 - 2)"}, {"(NOT b) = b", "(NOT b) = b"}, {"(b AND b) = b", "(b AND b) = b"},
      {"(-x) * x", "(-x) * x"},       {"-(x * x)", "-x * x"},         {"(-y) ^ 2", "(-y) ^ 2"},
      {"-(-x)", "- -x"},              {"NOT(NOT(b))", "NOT NOT b"},   {"2^(-(x+1))*3", "2 ^ -(x + 1) * 3"},
  };
  for (const auto& w : written) EXPECT_EQ(Run(w.text).canonical, w.canonical);
  EXPECT_EQ(Run("2 ^ 3 ^ 2").r, 512.0);
  EXPECT_EQ(Run("-2 ^ 2").r, -4.0);
}

TEST_F(SFormulaTest, OverloadsPickIntegerOrRealAndCastIntegers) {
  const SFormula_Functions full = SFormula_GetStdFuncs(), integers = SFormula_GetStdIntFuncs();
  EXPECT_EQ(Run("7 DIV 2").type, SFormula_kInt);
  EXPECT_EQ(Run("7 / 2").r, 3.5);
  EXPECT_EQ(Run("7 / 2", {}, integers).i, 3);
  EXPECT_EQ(Run("1 + 2.5").r, 3.5);
  EXPECT_EQ(Run("2 ^ 10").r, 1024.0);  // the integer exponent goes to SFormula_IntPower
  EXPECT_EQ(Run("MAX(2, 2.5)").r, 2.5);
  EXPECT_EQ(Run("ABS(x)", {-4}).i, 4);
  EXPECT_EQ(Run("ABS(y)", {0, -4.5}).r, 4.5);
  EXPECT_EQ(Run("INT(-2.5)").i, -3);
  EXPECT_EQ(Run("TRUNC(-2.5)").i, -2);
  EXPECT_EQ(Run("REAL(x) / 4", {2}).r, 0.5);
  EXPECT_TRUE(Run("ODD(x) AND NOT EVEN(x)", {-3}).b);
  EXPECT_DOUBLE_EQ(Run("SQRT(2) ^ 2 + LOG(EXP(1.5)) + COS(0) + SIN(RAD(90)) + DEG(ANGLE(0, 1))").r, 95.5);
  Result wrong = Run("7.5 DIV 2");
  EXPECT_EQ(wrong.message, SFormula_kMsgTypes);
  EXPECT_EQ(wrong.position, 4u);
  EXPECT_EQ(Run("1.5 + 1", {}, integers).message, SFormula_kMsgTypes);
  EXPECT_EQ(Run("1 < 2", {}, integers).message, SFormula_kMsgUnknownOperator);
  EXPECT_EQ(full, SFormula_GetStdFuncs());
}

TEST_F(SFormulaTest, DivisionRoundsDownAndSlashIsDivInTheIntegerTable) {
  const SFormula_Functions integers = SFormula_GetStdIntFuncs();
  for (std::int64_t a = -13; a <= 13; ++a) {
    for (std::int64_t d : {-5, -3, -1, 1, 2, 4}) {
      SCOPED_TRACE(std::to_string(a) + " " + std::to_string(d));
      const std::string suffix = " " + std::to_string(d);
      const Result q = Run("x DIV" + suffix, {a}, integers), m = Run("x MOD" + suffix, {a}, integers);
      EXPECT_EQ(q.i, static_cast<std::int64_t>(std::floor(static_cast<double>(a) / static_cast<double>(d))));
      EXPECT_EQ(q.i * d + m.i, a);
      EXPECT_TRUE(m.i == 0 || (m.i < 0) == (d < 0));
      EXPECT_EQ(Run("x /" + suffix, {a}, integers), q);
    }
  }
  EXPECT_EQ(Run("x DIV 0", {5}).error, SFormula_kDivisionByZero);
  EXPECT_EQ(Run("x MOD 0", {5}, integers).error, SFormula_kDivisionByZero);
  EXPECT_EQ(Run("x / 0", {5}, integers).error, SFormula_kDivisionByZero);
}

TEST_F(SFormulaTest, FailuresOfEvaluationAreReportedNotWrapped) {
  const std::int64_t max = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(Run("x + 1", {max}).error, SFormula_kOverflow);
  EXPECT_EQ(Run("x * 2", {max / 2 + 1}).error, SFormula_kOverflow);
  EXPECT_EQ(Run("-x - 1", {max}).i, -max - 1);
  EXPECT_EQ(Run("ABS(-x - 1)", {max}).error, SFormula_kOverflow);
  EXPECT_EQ(Run("(-x - 1) DIV -1", {max}).error, SFormula_kOverflow);
  EXPECT_EQ(Run("(-x - 1) MOD -1", {max}).i, 0);
  EXPECT_EQ(Run("y * 1E300", {0, 1e300}).error, SFormula_kOverflow);
  EXPECT_EQ(Run("INT(1E19)").error, SFormula_kOverflow);
  EXPECT_EQ(Run("SQRT(y)", {0, -1.0}).error, SFormula_kDomain);
  EXPECT_EQ(Run("LOG(0.0)").error, SFormula_kDomain);
  EXPECT_EQ(Run("y ^ 0.5", {0, -4.0}).error, SFormula_kDomain);
  EXPECT_EQ(Run("1 / y", {0, 0.0}).error, SFormula_kDivisionByZero);
  EXPECT_EQ(Run("y ^ -1", {0, 0.0}).error, SFormula_kDivisionByZero);
  EXPECT_EQ(Run("x + 1", {1}).error, 0u);  // no error left over from before

  // Asked for another type than the formula gives; an integer serves as real.
  std::size_t at;
  unsigned message;
  SFormula_Formula f = SFormula_CreateFormula("x + 1", SFormula_GetStdFuncs(), vars_, SFormula_kAnyType, at, message);
  Context c{4};
  EXPECT_FALSE(SFormula_EvaluateBool(f, &c));
  EXPECT_EQ(SFormula_error, SFormula_kTypeMismatch);
  EXPECT_EQ(SFormula_EvaluateReal(f, &c), 5.0);
  EXPECT_EQ(SFormula_error, 0u);
  SFormula_DestroyFormula(f);
  EXPECT_EQ(f, SFormula_NilFormula());
  EXPECT_EQ(SFormula_EvaluateInt(f, &c), 0);
  EXPECT_EQ(SFormula_error, SFormula_kNilFormula);
}

TEST_F(SFormulaTest, CondTakesEachTypeAndEvaluatesOnlyTheChosenBranch) {
  EXPECT_EQ(Run("COND(x = 0, 0, 100 DIV x)", {0}).error, 0u);
  EXPECT_EQ(Run("COND(x = 0, 0, 100 DIV x)", {7}).i, 14);
  EXPECT_EQ(Run("COND(b, y, 2.5)", {0, 1.25, true}).r, 1.25);
  EXPECT_EQ(Run("COND(b, 1, 2.5)", {0, 0, true}).r, 1.0);  // mixed branches become real
  EXPECT_TRUE(Run("COND(x > 0, b, NOT b)", {-1, 0, false}).b);
  EXPECT_FALSE(Run("x <> 0 AND 10 DIV x > 1", {0}).b);
  EXPECT_TRUE(Run("x = 0 OR 10 DIV x > 1", {0}).b);
  EXPECT_EQ(Run("COND(b, 1, b)").message, SFormula_kMsgTypes);
  EXPECT_EQ(Run("COND(1, 2, 3)").message, SFormula_kMsgTypes);
}

TEST_F(SFormulaTest, VariablesAssignmentsAndRegisteredFunctionsSeeTheContext) {
  EXPECT_EQ(Run("t := x * 2; t := t + 1; t * t", {3}).i, 49);
  EXPECT_EQ(Run("x := y; x", {1, 2.5}).r, 2.5);  // an assignment hides a caller's variable
  EXPECT_EQ(Run("t := 1 DIV 0; 5").error, SFormula_kDivisionByZero);

  SFormula_Assigns copy = SFormula_CopyAssigns(vars_);
  EXPECT_FALSE(SFormula_AddIntVar(copy, "x", [](void*) -> std::int64_t { return 0; }));
  EXPECT_FALSE(SFormula_AddIntVar(copy, "TRUE", [](void*) -> std::int64_t { return 0; }));
  EXPECT_FALSE(SFormula_AddIntVar(copy, "2x", [](void*) -> std::int64_t { return 0; }));
  SFormula_DestroyAssigns(vars_);
  vars_ = copy;
  EXPECT_EQ(Run("x + 1", {41}).i, 42);

  SFormula_Functions list = SFormula_GetFunctionList(SFormula_GetStdIntFuncs());
  const SFormula_Callback scaled = [](void* c, const SFormula_Value* a, SFormula_Value& r) {
    r.integer = a[0].integer * static_cast<Context*>(c)->x;
    return a[0].integer >= 0;
  };
  const SFormula_Callback sum4 = [](void*, const SFormula_Value* a, SFormula_Value& r) {
    r.integer = a[0].integer + a[1].integer + a[2].integer + a[3].integer;
    return true;
  };
  EXPECT_TRUE(SFormula_Add1ArgFunc(list, "SCALED", 0, SFormula_kInt, SFormula_kInt, scaled));
  EXPECT_TRUE(SFormula_Add4ArgFunc(list, "SUM", SFormula_kInt, 1, 1, 1, 1, sum4));
  const SFormula_Callback minus = [](void*, const SFormula_Value* a, SFormula_Value& r) {
    r.integer = a[0].integer - a[1].integer;
    return true;
  };
  EXPECT_TRUE(SFormula_Add2ArgFunc(list, "<->", 6, SFormula_kInt, 1, 1, minus));
  EXPECT_FALSE(SFormula_Add1ArgFunc(list, "SCALED", 0, SFormula_kInt, SFormula_kInt, scaled));  // same overload
  EXPECT_FALSE(SFormula_Add2ArgFunc(list, "+", 4, SFormula_kReal, 2, 2, scaled));             // other level
  EXPECT_FALSE(SFormula_Add1ArgFunc(list, "SUM", 3, SFormula_kInt, 1, scaled));               // prefix and function
  EXPECT_FALSE(SFormula_Add0ArgFunc(list, "a b", SFormula_kInt, scaled));
  EXPECT_FALSE(SFormula_Add0ArgFunc(SFormula_GetStdFuncs(), "NEW", SFormula_kInt, scaled));
  EXPECT_EQ(Run("SCALED(x) + SUM(1, 2, 3, 4)", {5}, list).i, 35);
  EXPECT_EQ(Run("SCALED(-1)", {5}, list).error, SFormula_kFuncFailed);
  EXPECT_EQ(Run("2 <-> 3 * 2 <-> 1", {}, list).i, -5);  // level 6, below "*", to the left
  SFormula_DestroyFunctionList(list);
  EXPECT_EQ(list, nullptr);
}

TEST_F(SFormulaTest, SyntaxErrorsTellTheFirstFaultAndWhereItIs) {
  const struct {
    const char* text;
    unsigned message;
    std::size_t position;
  } cases[] = {
      {"", SFormula_kMsgOperandExpected, 0},        {"1 + [2]", SFormula_kMsgIllegalChar, 4},
      {"99999999999999999999", SFormula_kMsgBadNumber, 0}, {"x + FOO", SFormula_kMsgUnknownName, 4},
      {"x*-3", SFormula_kMsgUnknownOperator, 1},    {"3 +", SFormula_kMsgOperandExpected, 3},
      {"(1 + 2", SFormula_kMsgCloseExpected, 6},    {"MIN 3", SFormula_kMsgOpenExpected, 4},
      {"1 + MIN(1)", SFormula_kMsgArgumentCount, 4}, {"NOT 3", SFormula_kMsgTypes, 0},
      {"PI := 3; PI", SFormula_kMsgNotAssignable, 0}, {"t := 3 t", SFormula_kMsgSemicolonExpected, 7},
      {"1 2", SFormula_kMsgOperatorExpected, 2},    {"t := 1; $ + [", SFormula_kMsgUnknownOperator, 8},
      {"x := 1;", SFormula_kMsgOperandExpected, 7}, {"1 _ 2", SFormula_kMsgIllegalChar, 2},
      {"DIV 2", SFormula_kMsgOperandExpected, 0},   {"2 ^ 3 ^ (1 ^ 0 ^", SFormula_kMsgOperandExpected, 16},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Result r = Run(c.text);
    EXPECT_FALSE(r.compiled);
    EXPECT_EQ(r.message, c.message);
    EXPECT_EQ(r.position, c.position);
  }
  EXPECT_EQ(Run("x:=-3;x").i, -3);  // ":=" stands apart from the symbols around it
  EXPECT_EQ(Run("1").message, 0u);
  const Result typed = Run("t := 1; x < 2", {}, SFormula_GetStdFuncs(), SFormula_kInt);
  EXPECT_EQ(typed.message, SFormula_kMsgResultType);
  EXPECT_EQ(typed.position, 8u);
  EXPECT_TRUE(Run("x", {}, SFormula_GetStdFuncs(), SFormula_kReal).compiled);
  EXPECT_EQ(Run(std::string(600, '(') + "1" + std::string(600, ')')).message, SFormula_kMsgTooDeep);
  std::string chain = "1";
  for (int i = 0; i < 600; ++i) chain += " + 1";
  EXPECT_EQ(Run(chain).message, SFormula_kMsgTooDeep);
}

// Random well-typed formulas over the full table, written fully bracketed.
class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}

  std::string Make(unsigned type, int depth) {
    if (depth == 0 || Pick(4) == 0) return Leaf(type);
    const std::string a = "(" + Make(type, depth - 1) + ")", i = Make(SFormula_kInt, depth - 1),
                      r = Make(SFormula_kReal, depth - 1), c = Make(SFormula_kBool, depth - 1);
    const char* const intOps[] = {" + ", " - ", " * ", " DIV ", " MOD "};
    const char* const realOps[] = {" + ", " - ", " * ", " / ", " ^ "};
    const char* const compare[] = {" < ", " <= ", " > ", " >= ", " = ", " <> "};
    const char* const logic[] = {" AND ", " OR ", " XOR ", " = "};
    switch (type) {
      case SFormula_kInt:
        switch (Pick(5)) {
          case 0: return "-" + a;
          case 1: return "COND(" + c + ", " + i + ", " + Make(SFormula_kInt, depth - 1) + ")";
          case 2: return std::string(Pick(2) ? "INT(" : "TRUNC(") + r + ")";
          default: return a + intOps[Pick(5)] + "(" + i + ")";
        }
      case SFormula_kReal:
        switch (Pick(5)) {
          case 0: return "-" + a;
          case 1: return std::string(Pick(2) ? "SIN(" : "SQRT(") + r + ")";
          case 2: return "MAX(" + r + ", " + i + ")";
          default: return a + realOps[Pick(5)] + "(" + (Pick(2) ? i : r) + ")";
        }
      default:
        switch (Pick(4)) {
          case 0: return "NOT " + a;
          case 1: return "(" + i + ")" + compare[Pick(6)] + "(" + r + ")";
          case 2: return "ODD(" + i + ")";
          default: return a + logic[Pick(4)] + "(" + c + ")";
        }
    }
  }

 private:
  unsigned Pick(unsigned n) { return std::uniform_int_distribution<unsigned>(0, n - 1)(random_); }
  std::string Leaf(unsigned type) {
    switch (type) {
      case SFormula_kInt: return Pick(2) ? "x" : std::to_string(Pick(12));
      case SFormula_kReal: return Pick(2) ? "y" : (Pick(2) ? "PI" : std::to_string(Pick(9)) + ".25");
      default: return Pick(2) ? "b" : (Pick(2) ? "TRUE" : "FALSE");
    }
  }
  std::mt19937 random_;
};

TEST_F(SFormulaTest, CanonicalTextAndFoldingKeepEveryValue) {
  Generator generate(20240611);
  const Context contexts[] = {{0, 0.0, false}, {3, -1.5, true}, {-7, 2.0, false}};
  for (int n = 0; n < 1500; ++n) {
    const unsigned type = n % 3;
    const std::string text = (type == SFormula_kInt && n % 2 == 0 ? "t := " + generate.Make(type, 2) + "; t + " : "") +
                             generate.Make(type, 4);
    SCOPED_TRACE(text);
    std::size_t at;
    unsigned message;
    SFormula_Formula f = SFormula_CreateFormula(text, SFormula_GetStdFuncs(), vars_, SFormula_kAnyType, at, message);
    ASSERT_NE(f, nullptr) << message << "@" << at;
    TextStr canonical;
    ASSERT_TRUE(SFormula_ToString(f, canonical));
    SFormula_Formula again = SFormula_CreateFormula(canonical, SFormula_GetStdFuncs(), vars_, SFormula_kAnyType, at, message);
    ASSERT_NE(again, nullptr) << StrIn(canonical).Str() << ": " << message << "@" << at;
    SFormula_Formula folded = SFormula_CreateFormula(canonical, SFormula_GetStdFuncs(), vars_, SFormula_kAnyType, at, message);
    SFormula_FoldConstants(folded);
    TextStr foldedText;
    ASSERT_TRUE(SFormula_ToString(folded, foldedText));
    SFormula_Formula refolded = SFormula_CreateFormula(foldedText, SFormula_GetStdFuncs(), vars_, SFormula_kAnyType, at, message);
    ASSERT_NE(refolded, nullptr) << StrIn(foldedText).Str() << ": " << message << "@" << at;
    for (const Context& c : contexts) {
      const Result expected = Evaluate(f, c);
      const Result back = Evaluate(again, c), foldedResult = Evaluate(folded, c), refoldedResult = Evaluate(refolded, c);
      EXPECT_EQ(back, expected);
      EXPECT_EQ(back.canonical, expected.canonical);
      EXPECT_EQ(foldedResult, expected) << foldedResult.canonical;
      EXPECT_EQ(refoldedResult, expected);
      EXPECT_EQ(refoldedResult.canonical, foldedResult.canonical);
    }
    for (SFormula_Formula* g : {&f, &again, &folded, &refolded}) SFormula_DestroyFormula(*g);
  }
}

TEST_F(SFormulaTest, FoldingReducesConstantsButKeepsFailuresAndVariables) {
  std::size_t at;
  unsigned message;
  const auto folded = [&](const std::string& text) {
    SFormula_Formula f = SFormula_CreateFormula(text, SFormula_GetStdFuncs(), vars_, SFormula_kAnyType, at, message);
    SFormula_FoldConstants(f);
    TextStr out;
    SFormula_ToString(f, out);
    SFormula_DestroyFormula(f);
    return StrIn(out).Str();
  };
  EXPECT_EQ(folded("x + 2 * 3"), "x + 6");
  EXPECT_EQ(folded("1 - 5 + x"), "-4 + x");
  EXPECT_EQ(folded("y * (2 - 3)"), "y * -1.0");
  EXPECT_EQ(folded("COND(1 < 2, x, 1 DIV 0)"), "x");
  EXPECT_EQ(folded("x + 1 DIV 0"), "x + 1 DIV 0");
  EXPECT_EQ(folded("COND(2 > 1, x, 2.5)"), "COND(TRUE, x, 2.5)");  // x alone would be an integer
  EXPECT_EQ(folded("FALSE AND b"), "FALSE");
  EXPECT_EQ(folded("TRUE AND b"), "b");
  EXPECT_EQ(folded("(2 ^ 3) ^ 2"), "64.0");
  EXPECT_EQ(folded("(-x - 1) + (-9223372036854775807 - 1)"), "-x - 1 + (-9223372036854775807 - 1)");
}

}  // namespace
