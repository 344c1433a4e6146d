// SConfigF: text files of lines of fields, the form of the demon's folder
// table and of the user-defined components.
//
//   # a comment line
//   FOLDER=/projects/x:SUBDIRS=TRUE:CMD=autostart.sh:OPTIONS=-v:\   (wrapped)
//   	FILES=^[^\.]
//
// - A logical line holds at most 5120 characters. Blank lines and lines whose
//   first non-blank (space or tab) is "#" are passed over; an unescaped "#"
//   ends a line's content.
// - A line ending in a backslash goes on on the next physical line: the
//   backslash goes, the next line's leading spaces and tabs go, the two are
//   joined (and cut at 5120).
// - Fields are separated by ":"; a field is KEY=VALUE, split at its first
//   "=", the key cut at 127 characters and freed of blanks around it. A field
//   without "=" is a key with an empty value.
// - A backslash in front of ":" or "#" makes that character part of the
//   field and goes; every other backslash stays. The writer escapes ":" and
//   "#" and turns a line feed into backslash and "n", which the reader keeps
//   as those two characters. The writer never doubles a backslash, so a value
//   that ends in one does not come back as it was.
// - The writer wraps at field borders: before a field that would reach
//   column 80 it puts backslash, line feed and tab (a tab counts 8 columns).
//   Files whose name ends in ".jtp" are never wrapped.
//
// Errors stand in SConfigF_error: 0 none, 1 the file could not be created,
// 2 it could not be written, 3 it could not be read. Each is reported as
// (SConfigF, number) with the file's name beneath; a file that can't be
// opened for reading is an answer (nil), not an error.
#pragma once

#include <cstdint>

#include "base/Strings.h"

struct SConfigF_Rec;
using SConfigF = SConfigF_Rec*;

inline constexpr std::size_t kSConfigFKeyCap = 128;
inline constexpr std::size_t kSConfigFWrapColumn = 80;

extern std::uint8_t SConfigF_error;

// Runs the initialisers of the modules used; once.
void SConfigF_Init();

// --- Open and close ----------------------------------------------------------

// The empty handle: reading it finds no line, writing it does nothing.
SConfigF SConfigF_Nil();
// Opens `name` for reading, looked for below each element of the list in the
// variable `envVar`, then as it stands. Nil when neither opens. The caller
// owns the handle.
SConfigF SConfigF_Open(StrIn envVar, StrIn name);
// Makes (or empties) `name` in the first element of the list in `envVar`, or
// as it stands when `envVar` is empty, with mode 0666. Nil and error 1 when
// it can't be made. The caller owns the handle.
SConfigF SConfigF_Create(StrIn envVar, StrIn name);
// Writes the pending line, closes, frees and sets the handle to nil. False
// when anything written to the file failed on the way. Nil is accepted.
bool SConfigF_Close(SConfigF& file);

// --- Reading -----------------------------------------------------------------

// Moves to the next logical line that has content; false at the end of the
// file (or on a read failure, error 3).
bool SConfigF_ReadLine(SConfigF file);
// The next field of the current line, escapes resolved; false when the line
// has no more.
bool SConfigF_NextField(SConfigF file, StrOut key, StrOut value);

// --- Writing -----------------------------------------------------------------

// Sends the pending line to the file; the next field starts a new line.
void SConfigF_StartLine(SConfigF file);
// Appends "KEY=VALUE", escaped, to the pending line, wrapping in front of it
// when it would reach column 80.
void SConfigF_PutField(SConfigF file, StrIn key, StrIn value);
// The same with a number in decimal as the value.
void SConfigF_PutInt(SConfigF file, StrIn key, std::int64_t value);
// Writes "#" and `text` as a line of its own at once, ahead of the pending
// line: finish that line first.
void SConfigF_Comment(SConfigF file, StrIn text);
