// SMacros: the table of words that the scanner treats specially.
//
// A word is either a keyword, delivered by the scanner as a numbered keyword
// symbol, or a macro, whose body text the scanner reads in place of the word.
// Every table knows the scanner's own four words from the start:
//
//   MACRO name BEGIN text END   defines the macro `name` as `text`
//   INCLUDE "file"              reads the file in place of the directive
//   BEGIN, END                  keywords; outside a definition they reach
//                               the caller like any other keyword
//
// A format's parser enters its own keywords with numbers above SMacros_kEnd.
#pragma once

#include "base/Strings.h"

struct SMacros_Rec;
using SMacros = SMacros_Rec*;

// The numbers of the built-in words.
inline constexpr unsigned SMacros_kMacro = 1;
inline constexpr unsigned SMacros_kInclude = 2;
inline constexpr unsigned SMacros_kBegin = 3;
inline constexpr unsigned SMacros_kEnd = 4;

// --- Create and destroy ---------------------------------------------------------

// A new table holding the built-in words only; the caller owns it.
SMacros SMacros_Create();
// Frees the table and sets it to nil; nil is accepted.
void SMacros_Destroy(SMacros& table);
// The empty handle: it knows no word and refuses every entry.
SMacros SMacros_Nil();

// --- Keywords ---------------------------------------------------------------------

// Makes `word` a keyword with `number`. False, and no change, for a number of
// SMacros_kEnd or below, an empty word, or a word that is already a keyword
// or a macro.
bool SMacros_AddKeyword(SMacros table, StrIn word, unsigned number);
// The number of keyword `word`, or 0 when it is none.
unsigned SMacros_Keyword(SMacros table, StrIn word);

// --- Macros -----------------------------------------------------------------------

// Makes `name` a macro with a copy of `body`; a macro of that name is
// replaced. False, and no change, for an empty name or a keyword.
bool SMacros_Define(SMacros table, StrIn name, StrIn body);
// Whether `name` is a macro; if so `body` views its text, valid until the
// macro is defined again or the table destroyed.
bool SMacros_Find(SMacros table, StrIn name, StrIn& body);
