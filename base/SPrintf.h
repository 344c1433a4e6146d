// Filling templates one placeholder at a time.
//
// A placeholder is "%", a run of flags and a letter: "d" for the integer
// calls, "f" for reals, "s" for texts, "c" for characters. Each call fills the
// first placeholder of its own letter, whatever other placeholders stand in
// front of it, so a translated message may reorder placeholders of different
// letters. A "%%" passed on the way becomes "%". With no placeholder of the
// letter the template stays as it is (apart from those "%%").
//
// Flags, read in this order: a leading "0" fills leading blanks with "0"; a
// width, negative to align left; "." and a precision (reals; default 6); "$"
// cuts a text too long for the width at its front, "!" at its end, marking
// the cut with "<" or ">" when the width is above 5.
//
// A filled-in text that would not fit the template is not inserted; for "s"
// it is cut at its front to the room left instead. The calls share one
// conversion buffer and are not reentrant.
#pragma once

#include <cstdint>

#include "base/Strings.h"

// --- Numbers: right-aligned, the sign where the number puts it -----------

void SPrintf_Card(StrOut tmpl, std::uint32_t value);
void SPrintf_Card64(StrOut tmpl, std::uint64_t value);
void SPrintf_Int(StrOut tmpl, std::int32_t value);
void SPrintf_Int64(StrOut tmpl, std::int64_t value);
// Fixed notation with the placeholder's precision.
void SPrintf_Real(StrOut tmpl, double value);

// --- Texts: `text` may be tmpl itself -------------------------------------

void SPrintf_String(StrOut tmpl, StrIn text);
// As SPrintf_String, with shell metacharacters in `path` escaped by "\".
void SPrintf_EscapedPath(StrOut tmpl, StrIn path);
// Fills "%c"; character 0 fills in nothing.
void SPrintf_Char(StrOut tmpl, char c);

// --- The current local time, into a "%s" placeholder -----------------------

// "dd.mm.yyyy"
void SPrintf_Date(StrOut tmpl);
// "yyyy-mm-dd"
void SPrintf_ISODate(StrOut tmpl);
// "hh:mm"
void SPrintf_Time(StrOut tmpl);
