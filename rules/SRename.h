// SRename: rename schemes, their ".trs" files, and the two engines that use
// them: matching (does a name fit the source pattern, and what are its
// pieces) and renaming (the destination built from those pieces).
//
// A scheme holds a list of source segments (literals and typed sections, in
// the order of the name), a list of destination items (literals and sections
// that refer to a source section), and an example text, whose segments may be
// separated by "\|". Segments are SRenamOp handles; a scheme owns the
// segments in its lists. The state of the last match stays in the segments,
// so a scheme serves one caller at a time.
//
// The file, in the shared scanner's lexical rules ("(* *)" comments nest,
// strings of at most 128 bytes in either quote):
//
//   V2 [NAME1]1-20[DELIMITER]<"_">1-1[NUM1]<1-99>2[VARIANT]<"C"|"M">1-1
//   => [1]^"-"[3]INC(1)"."[4]v
//   EXAMPLE "abc\|_\|07\|C"
//
// Errors: calls that fail set SRename_error; nothing is reported to the
// message layer, a bad scheme is an answer. Callers show message
// (SRename, SRename_error), or use SRename_GetErrorMessage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/Strings.h"
#include "rules/SRenamOp.h"

struct SRename_Rec;
using SRename = SRename_Rec*;

// --- Errors ---------------------------------------------------------------------

inline constexpr std::uint8_t SRename_kNotCreated = 2;    // file can't be created or closed
inline constexpr std::uint8_t SRename_kNotOpened = 3;     // file can't be opened or read
inline constexpr std::uint8_t SRename_kInconsistent = 4;  // a section without source, a bad keyword
inline constexpr std::uint8_t SRename_kNoSegment = 5;     // no such segment, or the wrong side
inline constexpr std::uint8_t SRename_kNoName = 6;        // empty file name, nil scheme or segment
inline constexpr std::uint8_t SRename_kWrite = 7;
inline constexpr std::uint8_t SRename_kScanner = 8;       // a lexical error in the file
inline constexpr std::uint8_t SRename_kBothQuotes = 9;    // a literal that can't be written
inline constexpr std::uint8_t SRename_kVersion = 10;
inline constexpr std::uint8_t SRename_kSyntax = 11;
inline constexpr std::uint8_t SRename_kArithmetic = 13;
extern std::uint8_t SRename_error;
// Where a load failed: the line (from 1; 0 when no symbol was read) and,
// for a formula that failed its check, the check's message.
extern std::size_t SRename_errorLine;
extern char SRename_errorDetail[kTextCap];

// The largest number of 8 digits: numbers up to it are computed.
inline constexpr std::uint32_t SRename_maxNumeral = 99999999;
// The characters an operator writes as a string of one character, since the
// scanner can't deliver them as a symbol.
inline constexpr char SRename_scannerSpecialChars[] = "`'*\"";
// The version that Save writes and the newest that Load accepts.
inline constexpr std::uint32_t SRename_version = 2;
// The suffix of a scheme file.
inline constexpr char SRename_suffix[] = ".trs";

// Starts the modules that files and messages need; runs once.
void SRename_Init();

// --- Create and destroy ----------------------------------------------------------

// An empty scheme; the caller owns it.
SRename SRename_Create();
// Frees the scheme with both lists and sets it to nil; nil is accepted.
void SRename_Destroy(SRename& scheme);
SRename SRename_Nil();
// Whether every destination section refers to a source section of this
// scheme and every keyword, shift and operator is known (else error 4).
bool SRename_Check(SRename scheme);

// --- Files ---------------------------------------------------------------------------

// Loads "<name>.trs" (any suffix of `name` is replaced). True with a new
// scheme that the caller owns; false with `scheme` nil, SRename_error,
// SRename_errorLine and SRename_errorDetail set.
bool SRename_Load(StrIn name, SRename& scheme);
// Saves to "<name>.trs" through a temporary file beside it, so that a
// failure leaves the old file and no half-written one.
bool SRename_Save(StrIn name, SRename scheme);
// The same on a text in memory, for callers that hold a scheme's text.
bool SRename_LoadText(const char* text, std::size_t length, SRename& scheme);
bool SRename_SaveText(SRename scheme, std::string& text);
// The words of message (SRename, SRename_error), with the line of a load
// failure and the formula check's message; empty when there is no error.
void SRename_GetErrorMessage(StrOut text);

// --- Matching and renaming ----------------------------------------------------

// Whether `name` fits the source; on true every source segment holds its
// piece. An empty name fits every scheme; an empty source fits nothing.
bool SRename_Match(SRename scheme, StrIn name);
// Matches and builds the new name into `newName` (cut at its bound). An empty
// name gives true and an empty result; a scheme without destination, a name
// that doesn't fit, and an arithmetic failure (error 13) give false.
bool SRename_Rename(SRename scheme, StrIn name, StrOut newName);

// --- Example ----------------------------------------------------------------------

void SRename_SetExampleString(SRename scheme, StrIn example);
void SRename_GetExampleString(SRename scheme, StrOut example);
// The example with every "\|" removed, and its new name; both empty when it
// doesn't fit, and `renamed` empty for a scheme without destination.
void SRename_GetExampleAssignment(SRename scheme, StrOut example, StrOut renamed);

// --- Segments ------------------------------------------------------------------------
// `source` chooses the list. Segments are counted from 1 over literals and
// sections alike.

// Walks a list; false at its end.
bool SRename_GetFirstSeg(SRename scheme, bool source, SRenamOp& segment);
bool SRename_GetNextSeg(SRename scheme, bool source, SRenamOp& segment);
// Segment `n` (below 2 gives the first); nil when there is none.
SRenamOp SRename_GetSeg(SRename scheme, bool source, std::size_t n);
// The source section that destination section `destination` refers to, and
// its number in `index`; nil and 0 when it refers to none.
SRenamOp SRename_GetSrcSegWithIndex(SRename scheme, SRenamOp destination, std::size_t& index);
SRenamOp SRename_NilSeg();

// --- Editing ---------------------------------------------------------------------------
// A segment that is inserted belongs to the scheme from then on. References
// from destination sections follow their source section wherever it moves.

// New segments of either side, owned by the caller until inserted.
SRenamOp SRename_CreateSrcSeg(bool isString);
SRenamOp SRename_CreateDstSeg(bool isString);
// Inserts `segment` so that it becomes number `place` (below 2 the first,
// past the end the last). False (error 6 for nil, 5 for a segment of the
// other side) without taking it.
bool SRename_InsertSrcSeg(SRename scheme, std::size_t place, SRenamOp segment);
// The same for the destination; a section is made to refer to source
// segment `sourceIndex`, which must be a section (error 5 otherwise).
bool SRename_InsertDstSeg(SRename scheme, std::size_t place, std::size_t sourceIndex, SRenamOp segment);
// Moves a destination item of the scheme to `place`.
bool SRename_MoveDstSeg(SRename scheme, SRenamOp segment, std::size_t place);
// The number of the source segment a destination section refers to; 0 when none.
std::size_t SRename_GetSrcSeg(SRename scheme, SRenamOp destination);
// Makes a destination section of the scheme refer to source section `sourceIndex`.
bool SRename_SetSrcSeg(SRename scheme, SRenamOp destination, std::size_t sourceIndex);
// Takes a segment out of its list and frees it, and sets it to nil; a source
// section takes every destination section that refers to it along.
bool SRename_DestroySeg(SRename scheme, SRenamOp& segment);

// --- Contents of the last match -----------------------------------------------
// How callers read a separation or a counter out of a file name.

bool SRename_IsKeyIncluded(SRename scheme, std::uint8_t keyword);
// The content of the first source section with `keyword`; false when none.
bool SRename_GetContentForKey(SRename scheme, std::uint8_t keyword, StrOut text);
// All source contents in order, without that section's; false (and all
// contents) when there is none.
bool SRename_GetContentWithoutKey(SRename scheme, std::uint8_t keyword, StrOut name);
// All source contents, with that section's replaced by `text`.
bool SRename_GetContentKeyReplaced(SRename scheme, std::uint8_t keyword, StrIn text, StrOut name);

// --- Formulas ----------------------------------------------------------------------

// Whether `formula` may stand in a FORMULA operator of `scheme`: every
// variable NUM1, NUM2, COUNTER it names has its section in the source, and it
// compiles. Otherwise false with the reason in `message`.
bool SRename_CheckFormula(StrIn formula, SRename scheme, StrOut message);
