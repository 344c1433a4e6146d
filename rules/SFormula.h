// SFormula: short arithmetic formulas, compiled once into a tree and
// evaluated on demand against a caller's context.
//
// Language. A formula is any number of assignments and then one expression:
//
//     name := expression ; ... expression
//
//   - An identifier is an ASCII letter followed by letters, digits and "_";
//     names are case sensitive. TRUE and FALSE are the boolean literals.
//   - A number starts with a digit: "12" is an integer (64 bits), "1.5",
//     "2E3", "1.5e-7" are reals.
//   - "(", ")", ",", ";" are tokens of their own, and so is ":=". Any other
//     run of characters that are neither letters, digits, blanks, brackets,
//     comma, semicolon nor "_" is one symbol, cut before a ":=": "a*-3" holds
//     the symbol "*-", so write "a * -3". Control characters, bytes above
//     127, "[", "]", "{", "}" and a lone "_" are illegal.
//   - A name is looked up in this order: the formula's own assignments (the
//     latest before the use), the caller's variables, then the function list.
//     An assignment may hide a caller's variable, but not a function or
//     operator name of the list.
//   - Operators have binding levels; a smaller level binds tighter. Infix
//     operators associate to the left, except "^", which associates to the
//     right (2 ^ 3 ^ 2 = 2 ^ 9). A prefix operator may start any operand; its
//     operand reaches over operators up to its own level and never past the
//     level of the place it stands in: -2 ^ 2 = -(2 ^ 2), 2 ^ -1 * 3 =
//     (2 ^ (-1)) * 3, NOT a = b is NOT (a = b).
//   - A function is called as NAME(a, b); one without arguments as NAME or
//     NAME().
//
// Types: 0 boolean, 1 integer, 2 real. Operators and functions are
// overloaded by argument types; when no overload takes the types exactly, an
// integer argument is raised to real (SFormula_CastToReal) where that makes
// one fit, the overload needing the fewest such casts winning. Types are
// fixed at compile time.
//
// The full table (SFormula_GetStdFuncs), levels in brackets:
//   "^" [2] real ^ real, real ^ integer (SFormula_IntPower);
//   "*" [4] integer, real; "/" [4] real; "DIV", "MOD" [4] integer;
//   prefix "-" [5] integer, real; "+", "-" [6] integer, real;
//   "<", "<=", ">", ">=" [7] integer, real; "=", "<>" [7] integer, real,
//   boolean; prefix "NOT" [7]; "AND" [8]; "OR" [10]; "XOR" [12] (booleans).
//   Functions: ODD, EVEN (integer to boolean); REAL (to real); INT (floor to
//   integer); TRUNC (towards zero, to integer); ABS, MIN, MAX (integer, real);
//   SIN, COS, TAN, ATAN, LOG (natural), EXP, SQRT, DEG (radians to degrees),
//   RAD (degrees to radians) on reals; ANGLE(x, y): the angle of the point
//   (x, y) in radians, -pi to pi; PI; COND(condition, a, b) with a and b both
//   integer, real or boolean.
//   "AND", "OR" and COND evaluate only the operands they need.
// The integer table (SFormula_GetStdIntFuncs): prefix "-", "+", "-", "*",
//   "DIV", "MOD", "MIN", "MAX", and "/", which is DIV itself.
//
// Arithmetic. Integers are 64-bit; a result outside that range is the error
// SFormula_kOverflow, never a wrapped value. DIV rounds towards minus
// infinity and MOD takes the sign of the divisor, so that
// a = (a DIV b) * b + a MOD b always: -7 DIV 2 = -4, -7 MOD 2 = 1,
// 7 MOD -2 = -1. A real result that is not finite is an error: overflow for
// an infinite one, a domain error otherwise.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Strings.h"

struct SFormula_Rec;
using SFormula_Formula = SFormula_Rec*;
struct SFormula_FunctionsRec;
using SFormula_Functions = SFormula_FunctionsRec*;
struct SFormula_AssignsRec;
using SFormula_Assigns = SFormula_AssignsRec*;

// The value types; SFormula_kAnyType only as the `flag` of a compile.
inline constexpr unsigned SFormula_kBool = 0;
inline constexpr unsigned SFormula_kInt = 1;
inline constexpr unsigned SFormula_kReal = 2;
inline constexpr unsigned SFormula_kAnyType = 3;

// A typed value, as the callbacks of registered functions see it; only the
// field of `type` counts.
struct SFormula_Value {
  unsigned type = SFormula_kInt;
  bool boolean = false;
  std::int64_t integer = 0;
  double real = 0.0;
};

// Variable callbacks: get the context given to the evaluation, return the value.
using SFormula_BoolVar = bool (*)(void* context);
using SFormula_IntVar = std::int64_t (*)(void* context);
using SFormula_RealVar = double (*)(void* context);
// A registered function: `args` holds as many values as the function takes,
// of the declared types; `result` comes with its declared type set and gets
// the value in the field of that type. False fails the evaluation
// (SFormula_kFuncFailed).
using SFormula_Callback = bool (*)(void* context, const SFormula_Value* args, SFormula_Value& result);

// The result of the last evaluation: 0 for success, else one of these.
extern unsigned SFormula_error;
inline constexpr unsigned SFormula_kDivisionByZero = 1;
inline constexpr unsigned SFormula_kTypeMismatch = 2;  // evaluated as a type it doesn't give
inline constexpr unsigned SFormula_kDomain = 3;        // SQRT(-1), LOG(0), a NaN
inline constexpr unsigned SFormula_kOverflow = 4;      // beyond 64-bit integers or reals
inline constexpr unsigned SFormula_kFuncFailed = 5;    // a registered callback said false
inline constexpr unsigned SFormula_kNilFormula = 6;
// The catalog message (section "SFormula") of evaluation error e is
// SFormula_kEvalMessages + e.
inline constexpr unsigned SFormula_kEvalMessages = 20;

// The syntax error messages of a compile (section "SFormula").
inline constexpr unsigned SFormula_kMsgIllegalChar = 1;
inline constexpr unsigned SFormula_kMsgBadNumber = 2;       // too large, or badly written
inline constexpr unsigned SFormula_kMsgUnknownName = 3;
inline constexpr unsigned SFormula_kMsgUnknownOperator = 4;
inline constexpr unsigned SFormula_kMsgOperandExpected = 5;
inline constexpr unsigned SFormula_kMsgCloseExpected = 6;   // ")"
inline constexpr unsigned SFormula_kMsgOpenExpected = 7;    // "(" behind a function name
inline constexpr unsigned SFormula_kMsgArgumentCount = 8;
inline constexpr unsigned SFormula_kMsgTypes = 9;           // no overload takes these types
inline constexpr unsigned SFormula_kMsgNotAssignable = 10;
inline constexpr unsigned SFormula_kMsgSemicolonExpected = 11;
inline constexpr unsigned SFormula_kMsgResultType = 12;     // not the type `flag` asks for
inline constexpr unsigned SFormula_kMsgOperatorExpected = 13;
inline constexpr unsigned SFormula_kMsgTooDeep = 14;        // nesting beyond SFormula_kMaxDepth
inline constexpr std::size_t SFormula_kMaxDepth = 500;

// --- Numbers ------------------------------------------------------------------

// An integer as real: how an integer meets a real.
double SFormula_CastToReal(std::int64_t value);
// base raised to an integer exponent by repeated squaring; the plain IEEE
// result (infinite when it overflows or for 0 to a negative power).
double SFormula_IntPower(double base, std::int64_t exponent);

// --- Function lists -------------------------------------------------------------

// The full table and the integer table. Both are shared by the module and
// never change: SFormula_Add...Func refuses them, and destroying them does
// nothing.
SFormula_Functions SFormula_GetStdFuncs();
SFormula_Functions SFormula_GetStdIntFuncs();
// A new list of the caller's, holding the entries of `base` (nil: none), to be
// extended with SFormula_Add...Func. Formulas keep what they use of a list, so
// it may be changed or destroyed while they live.
SFormula_Functions SFormula_GetFunctionList(SFormula_Functions base);
// Frees a list of the caller's and sets it to nil; nil and the shared tables
// are accepted.
void SFormula_DestroyFunctionList(SFormula_Functions& list);

// Register a function with a callback. `level` 0 makes a function called by
// name; above 0 a prefix operator (1 argument) or a left-associative infix
// operator (2 arguments) of that binding level. A function's name is an
// identifier; an operator's an identifier or one symbol. False, and no
// change, for a nil or shared list, a bad name or type, TRUE or FALSE, an
// overload with the same argument types as one there, an operator name with
// another level or associativity ("^"), or a name both prefix operator and
// function.
bool SFormula_Add0ArgFunc(SFormula_Functions list, StrIn name, unsigned resultType,
                          SFormula_Callback callback);
bool SFormula_Add1ArgFunc(SFormula_Functions list, StrIn name, unsigned level, unsigned resultType,
                          unsigned type1, SFormula_Callback callback);
bool SFormula_Add2ArgFunc(SFormula_Functions list, StrIn name, unsigned level, unsigned resultType,
                          unsigned type1, unsigned type2, SFormula_Callback callback);
bool SFormula_Add3ArgFunc(SFormula_Functions list, StrIn name, unsigned resultType, unsigned type1,
                          unsigned type2, unsigned type3, SFormula_Callback callback);
bool SFormula_Add4ArgFunc(SFormula_Functions list, StrIn name, unsigned resultType, unsigned type1,
                          unsigned type2, unsigned type3, unsigned type4, SFormula_Callback callback);

// --- Variables of the caller ------------------------------------------------

// The empty list (nil); the Add calls make it on first use. The caller owns it.
SFormula_Assigns SFormula_NoAssigns();
// Declare a variable delivered by `callback`. False, and no change, for a
// name that is no identifier, TRUE or FALSE, a name already declared, or a
// nil callback.
bool SFormula_AddBoolVar(SFormula_Assigns& assigns, StrIn name, SFormula_BoolVar callback);
bool SFormula_AddIntVar(SFormula_Assigns& assigns, StrIn name, SFormula_IntVar callback);
bool SFormula_AddRealVar(SFormula_Assigns& assigns, StrIn name, SFormula_RealVar callback);
// A new list with the same variables (nil for nil), owned by the caller.
SFormula_Assigns SFormula_CopyAssigns(SFormula_Assigns assigns);
// Frees the list and sets it to nil; nil is accepted.
void SFormula_DestroyAssigns(SFormula_Assigns& assigns);

// --- Create and destroy -------------------------------------------------------

SFormula_Formula SFormula_NilFormula();
// Compiles `text` with the operators and functions of `functions` (nil:
// none) and the variables of `assigns` (nil: none); neither is kept. `flag`
// is the type the caller will evaluate for: SFormula_kBool, SFormula_kInt or
// SFormula_kReal (an integer formula is accepted for a real), or
// SFormula_kAnyType. On success `position` and `message` are 0 and the caller
// owns the formula. A text that is no formula gives SFormula_NilFormula(),
// `message` the number of the first error in section "SFormula" (the
// SFormula_kMsg... above) and `position` the byte offset, from 0, of the
// token where it was found. A bad text is a normal result: no error is
// reported through Messages.
SFormula_Formula SFormula_CreateFormula(StrIn text, SFormula_Functions functions,
                                        SFormula_Assigns assigns, unsigned flag,
                                        std::size_t& position, unsigned& message);
// Frees the formula and sets it to nil; nil is accepted.
void SFormula_DestroyFormula(SFormula_Formula& formula);

// --- Evaluate -----------------------------------------------------------------

// The value for `context`, which reaches every callback. Assignments are
// evaluated first, in order, each once. SFormula_error is 0 on success;
// otherwise it tells the failure and the result is FALSE, 0 or 0.0. A
// formula asked for a type it doesn't give fails with SFormula_kTypeMismatch,
// except that an integer formula evaluates as real. Failures are results of
// the data, not reported through Messages.
bool SFormula_EvaluateBool(SFormula_Formula formula, void* context);
std::int64_t SFormula_EvaluateInt(SFormula_Formula formula, void* context);
double SFormula_EvaluateReal(SFormula_Formula formula, void* context);

// --- Query and rewrite --------------------------------------------------------

// The type of the formula's value; SFormula_kAnyType for nil.
unsigned SFormula_ResultType(SFormula_Formula formula);
// The formula in canonical form: assignments as "name := expression; ", one
// blank around infix operators, brackets only where the levels need them,
// reals in their shortest exact form. Compiled again with the same list and
// variables it gives an equal formula with the same canonical text. False
// when it didn't fit `text` (cut) or for nil (empty).
bool SFormula_ToString(SFormula_Formula formula, StrOut text);
// Replaces every part that doesn't depend on variables, assignments or
// registered callbacks by its value, and COND, AND, OR with a constant
// condition by the part they take. A part whose evaluation fails stays, so
// the failure stays too; the value of the formula never changes. Nil is
// accepted.
void SFormula_FoldConstants(SFormula_Formula formula);
