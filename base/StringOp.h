// StringOp: the larger toolbox over bounded strings.
//
// Same conventions as Strings: a StrOut is changed in place and never written
// past its High(); a result that does not fit is cut at the bound. Routines
// that only scan (the Is* tests, the Pos routines, NumTokens) read their StrIn
// where it lies.
//
// Whitespace for stripping and for word ends is blank, 8, 10, 12 and 13. The
// tab (9) is deliberately not in it: tabs are data in our text formats.
//
// The backslash rule: a character preceded by an odd number of backslashes is
// escaped and does not count as a delimiter.
#pragma once

#include <cstddef>

#include "base/Strings.h"

// --- Character and text tests ---------------------------------------------

// a-z, A-Z and the Latin-1 letters 192..254 except 215 and 247.
bool StringOp_IsAlpha(char c);
// True when s is not empty and holds only the digits 0-9.
bool StringOp_IsDecimalNum(StrIn s);
// Blank, 8 or 12.
bool StringOp_IsWhite(char c);
// Blank, 8, 10, 12 or 13: the set that strips and ends words.
bool StringOp_IsWhiteOrLn(char c);
// One of the characters that EscapeShellMetaChars escapes.
bool StringOp_IsShellMetaChar(char c);

// --- Stripping --------------------------------------------------------------

// Removes leading whitespace.
void StringOp_LStrip(StrOut s);
// Removes trailing whitespace.
void StringOp_RStrip(StrOut s);
// Removes leading and trailing whitespace.
void StringOp_LRStrip(StrOut s);

// --- Case (Latin-1 aware, like IsAlpha) ---------------------------------------

// Every letter of s to upper case, in place.
void StringOp_UpShift(StrOut s);
// Every letter of s to lower case, in place.
void StringOp_LowShift(StrOut s);
// The upper-case form of c; c itself when it has none.
char StringOp_Upper(char c);
// The lower-case form of c; c itself when it has none.
char StringOp_Lower(char c);

// --- Text surgery -------------------------------------------------------------

// Zeroes all High() + 1 bytes of s.
void StringOp_Null(StrOut s);
// Appends c when there is room; a full s (or c == 0) is left alone.
void StringOp_ConcatChar(StrOut s, char c);
// Inserts c before index pos (at the end when pos is past it); refused, like
// Strings_Insert, when s is full.
void StringOp_InsertChar(StrOut s, char c, std::size_t pos);
// True when c occurs in s.
bool StringOp_ContainsChar(StrIn s, char c);
// Replaces every `from` in s by `to`.
void StringOp_ReplaceChar(StrOut s, char from, char to);
// Removes every character of s that occurs in `chars`.
void StringOp_DeleteChars(StrOut s, StrIn chars);
// Replaces the first occurrence of `pattern` by `replacement`, cut at the
// bound. False (and s unchanged) when there is none or pattern is empty.
bool StringOp_ReplaceFirst(StrOut s, StrIn pattern, StrIn replacement);
// Replaces every occurrence, scanning on behind each replacement, cut at the
// bound. Returns the number replaced; an empty pattern replaces nothing.
std::size_t StringOp_ReplaceAll(StrOut s, StrIn pattern, StrIn replacement);
// Replaces up to `count` characters from index `from` by `text`, cut at the
// bound; a `from` past the end appends.
void StringOp_ReplaceStr(StrOut s, std::size_t from, std::size_t count, StrIn text);
// Pads s with blanks on both sides to `width` (at most the capacity), the odd
// blank going to the right. A longer s is left as it is.
void StringOp_CenterStr(StrOut s, std::size_t width);
// Puts `prefix` before every `c` in s. A cut at the bound never keeps a prefix
// without the character behind it.
void StringOp_PrefixChar(StrOut s, char c, char prefix);
// -1, 0 or 1 by unsigned byte value: the same as Strings_CompareStr.
int StringOp_CompareStr(StrIn a, StrIn b);

// --- Tokens -------------------------------------------------------------------
// The routines that take a piece off the front of s need distinct arrays for s
// and the piece. Pieces are cut at their own bound.

// Strips s on the left and takes the next word: up to the next whitespace, or,
// when it begins with '"', up to the next '"' with both quotes dropped. The
// word and its delimiter leave s; with no delimiter the rest is the word.
void StringOp_NextWord(StrOut s, StrOut word);
// The mirror of NextWord from the end: strips s on the right and takes the last
// word (quoted when it ends with '"'); the word and its delimiter leave s.
void StringOp_LastWord(StrOut s, StrOut word);
// Takes the text up to the first `delimiter` that is not escaped (backslash
// rule). The token keeps its backslashes; token and delimiter leave s, and
// with no delimiter left s becomes empty.
void StringOp_NextToken(StrOut s, char delimiter, StrOut token);
// The number of tokens NextToken would yield: unescaped delimiters plus one,
// so an empty s has 1.
std::size_t StringOp_NumTokens(StrIn s, char delimiter);
// Takes the text up to a line feed or the end; the line feed is dropped and
// the rest moves to the front of s.
void StringOp_NextLine(StrOut s, StrOut line);
// Index of the next `c` at or after `from`, or s.High() + 1. With `escaped`
// an occurrence under the backslash rule does not count.
std::size_t StringOp_CharPos(StrIn s, bool escaped, char c, std::size_t from);
// Index of the next `pattern` at or after `from`, or s.High() + 1; with
// `escaped` one whose first character is escaped does not count. An empty
// pattern is found at `from` when from is not past the end.
std::size_t StringOp_StringPos(StrIn s, bool escaped, StrIn pattern, std::size_t from);

// --- Quoting ------------------------------------------------------------------

// Puts a backslash before every character of s that occurs in `set`, cut at
// the bound like PrefixChar. A backslash in `set` is escaped exactly once.
void StringOp_Escape(StrOut s, StrIn set);
// Removes one level: "\\" becomes "\" and a backslash before anything else
// (or at the very end) disappears.
void StringOp_Unescape(StrOut s);
// Escapes blank, tab and ` ! # $ & | \ ; ' " ( ) { } [ ] < > * ? so that s
// passes a shell as one word.
void StringOp_EscapeShellMetaChars(StrOut s);
