// The dialog catalog compiler's core: reads the readable dialog source and
// makes the catalog that IdlgCat writes as a ".drf" file.
//
// Source form (blanks and line ends separate; "#" starts a comment):
//   template value NAME [: PARENT] [ATTRS]      a template of values
//   template widget NAME [: PARENT] [ATTRS]     a template of widgets
//   context NAME {
//     value NUMBER TYPE NAME [: TEMPLATE] [ATTRS]
//     ...
//     KEYWORD [value NUMBER] [element NUMBER] [: TEMPLATE] [ATTRS] [{ WIDGETS }]
//   }
//   A context has its values first, then one widget at the top (usually a
//   SHELL), which holds the others.
//   ATTRS is "[" NAME = LITERAL, ... "]" (the commas may be left out).
//   LITERAL: true, false, an integer (4 bytes), a real with a point or an
//   exponent (8 bytes), 'c' (the character's code as an integer), a text
//   in double quotes (\" \\ \n \t), or a tuple of numbers in parentheses
//   (integers of 4 bytes each, or doubles of 8 when any is a real).
//
// Identifiers enter the pool in the order they stand in the source; names
// are at most 32 bytes. A template is known from its declaration on.
#pragma once

#include <istream>
#include <string>

#include "toolkit/IdlgCat.h"

// Adds what `source` holds to `catalog`. False with "origin:line: what" in
// `error` on the first fault.
bool Drf_ParseSource(std::istream& source, const std::string& origin, IdlgCat_Catalog& catalog,
                     std::string& error);
