// Scanner: the shared tokeniser of the system's text formats (data files,
// rename schemes). It reads a text held in memory (a file is read whole
// first) and delivers one symbol at a time.
//
// Lexical rules:
//   - Blanks, tabs, line ends and form feeds separate symbols.
//   - "(*" ... "*)" is a comment; comments nest.
//   - An identifier is a letter followed by letters, digits and "_" (ASCII).
//     One found in the word table (SMacros) is a keyword; MACRO and INCLUDE
//     are carried out by the scanner and a macro's name is replaced by its
//     body, so none of these three reaches the caller. An included file's
//     relative name is taken from the working directory.
//   - An integer is a run of digits. A real has a fraction: digits "." digits,
//     then optionally "E" or "e", a sign and digits. There are no signed
//     numbers: "-" is a symbol of its own, so "1-20" is three symbols.
//   - A string stands in double or single quotes and may span lines. Inside,
//     a backslash followed by a double quote or by a second backslash stands
//     for that character; any other backslash stands for itself. So a single
//     quote can't be escaped inside single quotes.
//   - The compound symbols are "=>", "->", "<|", "|>", "|<" and ">|"; every
//     other ASCII punctuation character is a symbol of its own, except "*"
//     and "`", which are illegal like control characters and bytes above 127.
//
// Positions are byte offsets into the text given to Scanner_Create. A symbol
// that comes out of a macro body or an included file carries the position of
// the word or directive that brought it in.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/SMacros.h"
#include "base/Strings.h"

struct Scanner_Rec;
using Scanner = Scanner_Rec*;

enum class Scanner_Sym {
  End,      // no more symbols; delivered again on every further call
  Error,    // a lexical error: Scanner_SymError tells which
  Ident,
  Keyword,  // Scanner_SymKeyword gives its number
  Integer,  // Scanner_SymCard gives its value
  Real,     // Scanner_SymReal gives its value
  String,   // the text is the string's contents, escapes resolved
  Symbol,   // punctuation; the text is the symbol
};

// The lexical errors of an Error symbol. Scanning goes on behind the fault.
inline constexpr unsigned Scanner_kOpenComment = 1;    // "(*" without its "*)"
inline constexpr unsigned Scanner_kOpenString = 2;     // no closing quote
inline constexpr unsigned Scanner_kIllegalChar = 3;    // the text is the character
inline constexpr unsigned Scanner_kNumberTooLarge = 4; // above 2^64 - 1, or a real beyond double
inline constexpr unsigned Scanner_kBadMacro = 5;       // MACRO not followed by name BEGIN ... END
inline constexpr unsigned Scanner_kBadInclude = 6;     // INCLUDE without a readable regular file
inline constexpr unsigned Scanner_kTooDeep = 7;        // macros or includes nest or expand too far

// --- Create and destroy ---------------------------------------------------------

// A scanner over a copy of the `length` bytes at `text`, before its first
// symbol. Keywords and macros come from `words`, which also receives the
// macros that the text defines; it stays the caller's and must outlive the
// scanner. Nil `words` gives the scanner a private table of the built-in
// words. The caller owns the scanner.
Scanner Scanner_Create(const char* text, std::size_t length, SMacros words);
// Frees the scanner and sets it to nil; nil is accepted.
void Scanner_Destroy(Scanner& s);
// The empty handle: it delivers End at position 0.
Scanner Scanner_Nil();

// --- Configure ----------------------------------------------------------------------

// Strings longer than `bytes` are cut to that length (the rest is read over).
// The default is kTextCap - 1.
void Scanner_SetStringBound(Scanner s, std::size_t bytes);

// --- Scan -------------------------------------------------------------------------------

// Reads the next symbol and returns its kind.
Scanner_Sym Scanner_Next(Scanner s);

// --- The current symbol -----------------------------------------------------------

Scanner_Sym Scanner_SymKind(Scanner s);
// The offset of its first byte, and the offset just behind its last.
std::size_t Scanner_SymPosition(Scanner s);
std::size_t Scanner_SymEnd(Scanner s);
// Its text, cut at the bound of `text`: an identifier's or keyword's name, a
// string's contents, a number's digits as written (also one too large), a
// symbol's characters, an illegal character; empty at End and other errors.
void Scanner_SymText(Scanner s, StrOut text);
// Whether it is the punctuation symbol `symbol`.
bool Scanner_IsSymbol(Scanner s, StrIn symbol);
// The keyword's number; 0 for any other kind.
unsigned Scanner_SymKeyword(Scanner s);
// An Integer's value; 0 for any other kind.
std::uint64_t Scanner_SymCard(Scanner s);
// A Real's or an Integer's value; 0 for any other kind.
double Scanner_SymReal(Scanner s);
// The Scanner_k... error of an Error symbol; 0 for any other kind.
unsigned Scanner_SymError(Scanner s);

// --- Positions -------------------------------------------------------------------------

// The line, counted from 1, that holds byte `position` of the scanned text;
// a position past the end counts as the end. 0 for nil.
std::size_t Scanner_LineNumber(Scanner s, std::size_t position);
