// SRenamOp: one segment of a rename scheme and the operators of a
// destination section.
//
// A segment is a literal (its text is its content) or a section. A source
// section is typed by its keyword and carries a length (a range, or a sorted
// list of allowed lengths) and the data of its keyword's family. A
// destination section refers to a source section (never to a literal),
// shifts case, and holds an ordered list of operators. Every segment keeps
// in `content` the text it last matched or produced.
//
// Errors: every call sets SRenamOp_error, 0 when it went through. A call
// that doesn't suit the segment leaves its data alone. Nothing is reported
// to the message layer: callers show message (SRenamOp, SRenamOp_error).
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Strings.h"

struct SRenamOp_Rec;
using SRenamOp = SRenamOp_Rec*;

// --- Errors ---------------------------------------------------------------------

inline constexpr std::uint8_t SRenamOp_kNilSeg = 1;         // nil segment
inline constexpr std::uint8_t SRenamOp_kNotSrc = 2;         // source-only call on a destination
inline constexpr std::uint8_t SRenamOp_kNotDst = 3;         // destination-only call on a source
inline constexpr std::uint8_t SRenamOp_kNotRange = 4;       // range call on a list of lengths
inline constexpr std::uint8_t SRenamOp_kNotSection = 5;     // a reference to no source section
inline constexpr std::uint8_t SRenamOp_kNotNumerical = 6;
inline constexpr std::uint8_t SRenamOp_kNotDelimiter = 7;
inline constexpr std::uint8_t SRenamOp_kNotCharType = 8;    // not CHARS, NAME1, NAME2, NAME3
inline constexpr std::uint8_t SRenamOp_kNotVariant = 9;
extern std::uint8_t SRenamOp_error;

// --- Keywords of source sections, in their numeric order -------------------------

inline constexpr std::uint8_t SRenamOp_kChars = 0;
inline constexpr std::uint8_t SRenamOp_kDelimiter = 1;
inline constexpr std::uint8_t SRenamOp_kLetters = 2;
inline constexpr std::uint8_t SRenamOp_kDigits = 3;
inline constexpr std::uint8_t SRenamOp_kVariant = 4;
inline constexpr std::uint8_t SRenamOp_kNum1 = 5;
inline constexpr std::uint8_t SRenamOp_kNum2 = 6;
inline constexpr std::uint8_t SRenamOp_kCounter = 7;
inline constexpr std::uint8_t SRenamOp_kName1 = 8;
inline constexpr std::uint8_t SRenamOp_kName2 = 9;
inline constexpr std::uint8_t SRenamOp_kName3 = 10;
inline constexpr std::uint8_t SRenamOp_kKeywordCount = 11;

// Character types of FIRST and LAST. Letters are A-Z and a-z, digits 0-9;
// a value past the last accepts everything.
inline constexpr std::uint8_t SRenamOp_kAnyChar = 0;
inline constexpr std::uint8_t SRenamOp_kLetter = 1;
inline constexpr std::uint8_t SRenamOp_kNoLetter = 2;
inline constexpr std::uint8_t SRenamOp_kDigit = 3;
inline constexpr std::uint8_t SRenamOp_kNoDigit = 4;
inline constexpr std::uint8_t SRenamOp_kAlphanumeric = 5;
inline constexpr std::uint8_t SRenamOp_kNoAlphanumeric = 6;
inline constexpr std::uint8_t SRenamOp_kCharTypeCount = 7;

// Parity of numerical sections.
inline constexpr std::uint8_t SRenamOp_kAnyParity = 0;
inline constexpr std::uint8_t SRenamOp_kEven = 1;
inline constexpr std::uint8_t SRenamOp_kOdd = 2;

// Case shift of destination sections.
inline constexpr std::uint8_t SRenamOp_kNoShift = 0;
inline constexpr std::uint8_t SRenamOp_kUpper = 1;
inline constexpr std::uint8_t SRenamOp_kLower = 2;

// The default number range of a numerical section.
inline constexpr std::uint32_t SRenamOp_kNumLow = 0;
inline constexpr std::uint32_t SRenamOp_kNumHigh = 4294967295u;

// --- Operators of destination sections -------------------------------------------

inline constexpr std::uint8_t SRenamOp_kCutOff = 0;
inline constexpr std::uint8_t SRenamOp_kFill = 1;
inline constexpr std::uint8_t SRenamOp_kReplace = 2;
inline constexpr std::uint8_t SRenamOp_kArithmetic = 3;

inline constexpr std::uint8_t SRenamOp_kInc = 0;
inline constexpr std::uint8_t SRenamOp_kDec = 1;
inline constexpr std::uint8_t SRenamOp_kFormula = 2;

inline constexpr std::size_t kSRenamOpReplaceCap = 16;

// One operator; only the fields of its kind count.
struct SRenamOp_Operator {
  std::uint8_t kind = SRenamOp_kCutOff;
  bool left = false;           // cut-off: keep the last `length`; fill: on the left
  std::uint32_t length = 0;    // cut-off, fill
  char fillChar = ' ';         // fill
  char from[kSRenamOpReplaceCap] = "";  // replace; an empty `from` never matches
  char to[kSRenamOpReplaceCap] = "";    // replace; empty deletes
  std::uint8_t operation = SRenamOp_kInc;  // arithmetic
  std::uint32_t amount = 1;                // INC, DEC
  char formula[kNameCap] = "";             // FORMULA
};

// --- Create and destroy ----------------------------------------------------------

// A new segment: a literal or a section, of the source or the destination.
// A source section starts as CHARS with the range 1 to 1; a destination
// section refers to nothing. The caller owns it until a scheme takes it.
SRenamOp SRenamOp_Create(bool isString, bool isSrc);
// Frees the segment and sets it to nil; nil is accepted. The segment must not
// stand in a scheme's list any more.
void SRenamOp_Destroy(SRenamOp& segment);
SRenamOp SRenamOp_Nil();

// --- Every segment -----------------------------------------------------------------

// The text last matched or produced; a literal's own text. Cut at 128 bytes.
void SRenamOp_GetContent(SRenamOp segment, StrOut content);
void SRenamOp_SetContent(SRenamOp segment, StrIn content);
bool SRenamOp_IsString(SRenamOp segment);
bool SRenamOp_IsSrc(SRenamOp segment);

// --- Source sections: keyword and length ----------------------------------------

// The keyword, SRenamOp_kChars for nil and destinations.
std::uint8_t SRenamOp_GetKeyword(SRenamOp segment);
// Sets the keyword; the type data go back to their defaults when the family
// changes (character types, numbers, delimiter, variants). A value past
// NAME3 is kept, and SRename_Check finds the scheme inconsistent.
bool SRenamOp_SetKeyword(SRenamOp segment, std::uint8_t keyword);
// Whether the length is a range (true) or a list.
bool SRenamOp_IsRange(SRenamOp segment);
// The range; false (error 4) on a list.
bool SRenamOp_GetRange(SRenamOp segment, std::uint32_t& minLength, std::uint32_t& maxLength);
// Sets the range, the smaller value first; false (error 4) on a list.
bool SRenamOp_SetRange(SRenamOp segment, std::uint32_t a, std::uint32_t b);
// Walks the list of lengths, ascending; false at its end and on a range.
bool SRenamOp_GetFirstLength(SRenamOp segment, std::uint32_t& length);
bool SRenamOp_GetNextLength(SRenamOp segment, std::uint32_t& length);
// Adds an allowed length; a range becomes a list holding just this length.
// The list stays ascending and holds each length once.
bool SRenamOp_AddFixedLength(SRenamOp segment, std::uint32_t length);

// --- Source sections: type data -------------------------------------------------------

// True exactly for DIGITS, NUM1, NUM2 and COUNTER.
bool SRenamOp_IsNumerical(SRenamOp segment);
// The number range of a numerical section (error 6 otherwise); set stores
// the smaller value first.
bool SRenamOp_GetNumRange(SRenamOp segment, std::uint32_t& low, std::uint32_t& high);
bool SRenamOp_SetNumRange(SRenamOp segment, std::uint32_t a, std::uint32_t b);
std::uint8_t SRenamOp_GetNumParity(SRenamOp segment);
bool SRenamOp_SetNumParity(SRenamOp segment, std::uint8_t parity);
// The text of a DELIMITER (error 7 otherwise).
bool SRenamOp_GetFixContent(SRenamOp segment, StrOut text);
bool SRenamOp_SetFixContent(SRenamOp segment, StrIn text);
// FIRST and LAST of CHARS, NAME1, NAME2, NAME3 (error 8 otherwise).
bool SRenamOp_GetCharProperties(SRenamOp segment, std::uint8_t& first, std::uint8_t& last);
bool SRenamOp_SetCharProperties(SRenamOp segment, std::uint8_t first, std::uint8_t last);
// The texts of a VARIANT (error 9 otherwise). Adding or removing one sets a
// range to the lengths of the shortest and the longest variant; a variant
// that is there already is not added twice.
bool SRenamOp_AddVariant(SRenamOp segment, StrIn variant);
bool SRenamOp_RemoveVariant(SRenamOp segment, StrIn variant);
// Calls `visit` with each variant, in the order they were added.
using SRenamOp_VariantProc = void (*)(StrIn variant, void* data);
bool SRenamOp_IterateVariants(SRenamOp segment, SRenamOp_VariantProc visit, void* data);

// --- Destination sections ----------------------------------------------------------

std::uint8_t SRenamOp_GetShiftOp(SRenamOp segment);
bool SRenamOp_SetShiftOp(SRenamOp segment, std::uint8_t shift);
// Appends a copy of `op`; operators run in the order they were added.
bool SRenamOp_AddOp(SRenamOp segment, const SRenamOp_Operator& op);
// Removes operator `n`, counted from 1; false when there is none.
bool SRenamOp_RemoveOp(SRenamOp segment, std::size_t n);
// Walks the operators in order, copying each into `op`; false at the end.
bool SRenamOp_GetFirstOp(SRenamOp segment, SRenamOp_Operator& op);
bool SRenamOp_GetNextOp(SRenamOp segment, SRenamOp_Operator& op);
// The source section referred to (not owned), nil when none.
SRenamOp SRenamOp_GetSrcSeg(SRenamOp segment);
// Refers to `source`, a source section or nil (error 5 for anything else).
// Schemes keep these references through SRename_SetSrcSeg.
bool SRenamOp_SetSrcSeg(SRenamOp segment, SRenamOp source);
