// SDataIO: the reader and writer of the system's structured data files, a
// small language of keys, values and nested blocks:
//
//   (* a comment; comments nest *)
//   VERSION = 4;                  integer or cardinal
//   RATIO = 1.5;                  real
//   NAME = "text";                string; a backslash escapes "\" and """
//   ACTIVE = true;                boolean or enumeration: a word
//   DAYS = {0,3,7};               set of 0..31, rising, no blanks
//   SERVER = {                    block: its fields one step further in
//     NAME = "x";
//   };
//
// A key is an identifier (or a keyword of the scanner), held as an SIdPool
// number. The words MACRO and INCLUDE are carried out by the scanner, so they
// can't serve as keys. The meaning of each key belongs to the file's owner,
// who reads through a field procedure called once per field.
//
// Errors stand in SDataIO_error; each is reported with Messages_Error of
// section "SDataIO", so a caller that expects bad files brackets the parse
// with Messages_IgnoreErrors. The first error of a parse stops it and is
// kept with its message and position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>

#include "base/Strings.h"

// 0 none; otherwise one of the SDataIO_k... numbers.
extern unsigned SDataIO_error;

inline constexpr unsigned SDataIO_kSyntax = 1;   // a wrong symbol, or text after the last field
inline constexpr unsigned SDataIO_kRange = 2;    // a number out of the field's range
inline constexpr unsigned SDataIO_kLexical = 3;  // a bad character, an open comment or string, ...
inline constexpr unsigned SDataIO_kNested = 4;   // a parse started inside a parse
inline constexpr unsigned SDataIO_kRead = 5;     // the stream could not be read
inline constexpr unsigned SDataIO_kWrite = 6;    // the stream could not be written
inline constexpr unsigned SDataIO_kNoWord = 7;   // an enumeration value beyond its words

// Reads the value of field `key` with the SDataIO_Read... routines (or passes
// over it with SDataIO_UnknownAttribute). `data` and `extra` are the caller's.
using SDataIO_FieldProc = void (*)(void* data, void* extra, unsigned key);
// Writes the fields of a block with the SDataIO_Write... routines.
using SDataIO_WriteProc = void (*)(void* data);

// Runs the initialisers of the modules used.
void SDataIO_Init();

// --- Writing -------------------------------------------------------------------------

// Starts a file on `stream`, which stays the caller's; blocks indent by
// `indentStep` blanks. Defaults are written until SDataIO_SurpressDefault.
// Clears SDataIO_error unless a parse is running.
void SDataIO_StartGenerate(std::FILE* stream, unsigned indentStep);
// Flushes the stream; false, with SDataIO_kWrite, when anything failed to go
// out. The stream is left open. Write calls outside Start/Finish do nothing.
bool SDataIO_FinishGenerate();
// While on, integers and cardinals of 0, empty sets and empty strings are
// left out.
void SDataIO_SurpressDefault(bool on);

// Each writes one line "KEY = value;" at the current indentation.
void SDataIO_WriteInt(unsigned key, std::int32_t value);
void SDataIO_WriteCard(unsigned key, std::uint32_t value);
void SDataIO_WriteInt64(unsigned key, std::int64_t value);
// The shortest text that reads back as the same double. The file has no word
// for infinity or NaN: they are written as the largest finite value and 0.
void SDataIO_WriteReal(unsigned key, double value);
void SDataIO_WriteBool(unsigned key, bool value);
void SDataIO_WriteStr(unsigned key, StrIn value);
// Writes word `value` of `names`, which must be identifiers; a value beyond
// them writes nothing and is error SDataIO_kNoWord.
void SDataIO_WriteEnum(unsigned key, unsigned value, std::span<const StrIn> names);
void SDataIO_WriteBitset(unsigned key, std::uint32_t set);
// "KEY = {", the fields `procedure` writes for `data`, "};".
void SDataIO_WriteSub(unsigned key, void* data, SDataIO_WriteProc procedure);
// A value written as it is given, for values of a form the other writers
// don't know.
void SDataIO_WriteUnknown(unsigned key, StrIn value);

// "(* text *)" on a line of its own; between Begin/EndComment the text alone,
// inside the frame "(********************" ... "********************)".
// "(*" and "*)" in the text are broken up so they can't end the comment.
void SDataIO_WriteComment(StrIn text);
void SDataIO_BeginComment();
void SDataIO_EndComment();

// --- Reading -------------------------------------------------------------------------

// Reads `stream` whole from where it stands (it stays the caller's) and
// starts parsing it; StartParseText parses a copy of `length` bytes at
// `text`. Each clears SDataIO_error first and answers whether it is still 0.
// During a parse both refuse with SDataIO_kNested, writing
// "SDataIO: nested parse" to standard error, and the running parse stops.
bool SDataIO_StartParse(std::FILE* stream);
bool SDataIO_StartParseText(const char* text, std::size_t length);
// Reads fields while the current symbol is a key: the key, "=", a call of
// `fieldProcedure`, ";". Returns at the first symbol that is no key, or after
// an error.
void SDataIO_ParseFields(void* data, void* extra, SDataIO_FieldProc fieldProcedure);
// Ends the parse: text after the last field is a syntax error, and the keys
// passed over as unknown are reported on standard error. True when the whole
// parse went without error. The text is kept for SDataIO_FindLineNumber
// until the next parse starts.
bool SDataIO_FinishParse();

// --- Reading a value, from inside a field procedure -----------------------------
// Each reads the current field's value and answers whether it could. On
// failure `value` is as before, SDataIO_error is set and the parse stops.

// An optional "-" and digits in the range of the type.
bool SDataIO_ReadInt(std::int32_t& value);
bool SDataIO_ReadCard(std::uint32_t& value);
bool SDataIO_ReadInt64(std::int64_t& value);
// An optional "-" and an integer or real.
bool SDataIO_ReadReal(double& value);
// Any of "false", "true", "False", "True", "FALSE", "TRUE".
bool SDataIO_ReadBool(bool& value);
// A string, cut at the bound of `value`.
bool SDataIO_ReadStr(StrOut value);
// A word of `names`; `value` becomes its index.
bool SDataIO_ReadEnum(unsigned& value, std::span<const StrIn> names);
// "{", members 0..31 in any order separated by ",", "}".
bool SDataIO_ReadBitset(std::uint32_t& set);
// "{", the block's fields through `fieldProcedure`, "}". Blocks nest at most
// 100 deep.
bool SDataIO_ReadSub(void* data, void* extra, SDataIO_FieldProc fieldProcedure);
// Passes over the value whatever it is, blocks included, so a newer file can
// be read by an older program. Up to 10 different keys are remembered for
// the report of SDataIO_FinishParse.
void SDataIO_UnknownAttribute(unsigned key);
// Reports that `text` ("Integer", ";", ...) was wanted where the current
// symbol stands; the error's position is just behind the previous symbol.
void SDataIO_SyntaxErrorExpected(StrIn text);

// --- After an error ------------------------------------------------------------------

// The first error's message (empty without an error) and its byte position
// in the text.
void SDataIO_GetErrorMessage(StrOut text);
std::size_t SDataIO_ErrorPosition();
// The line, from 1, of byte `position` in the text of the last parse; 0 when
// there was none.
std::size_t SDataIO_FindLineNumber(std::size_t position);
// The keys of the last parse that were passed over, joined by ", ".
void SDataIO_GetUnknownKeys(StrOut text);
