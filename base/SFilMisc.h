// SFilMisc: small services on file names and files: suffixes, shell quoting,
// permission bits and temporary names.
//
// The suffix of a path is that of its last element: from the last "." to the
// end, the dot included ("a/b.tar.gz" has ".gz"). The dots that open an
// element do not begin a suffix, so ".hidden" and ".." have none and ".x.tar"
// has ".tar". A name that ends in a dot has the bare "." as its suffix.
//
// Temporary names are "<stem>.<host>-<pid>-<n>.tmp<suffix>" (made here) and
// "<file>.<host>-<pid>.tmp" (the name beside a file that an atomic save writes
// and renames over it). Host and process keep the names of concurrent
// writers apart, also on shared file systems; n keeps one process's apart.
#pragma once

#include <string>
#include <string_view>

#include "base/Strings.h"

void SFilMisc_Init();

// --- Suffixes -----------------------------------------------------------------------

// The suffix of `path`, dot included; empty when it has none.
void SFilMisc_SuffixOf(StrIn path, StrOut suffix);
// Takes the suffix off `path`; a path without one is left alone.
void SFilMisc_StripExtension(StrOut path);
// Makes `extension` the suffix of `path` unless it is already: it is
// appended, a bare trailing dot being taken into it ("a." gives "a.tar").
// The extension may be given with or without its dot; an empty one changes
// nothing. False, and the path unchanged, when the last element is empty or
// all dots, or when the result would not fit: a cut name could hit another file.
bool SFilMisc_RequireExtension(StrOut path, StrIn extension);

// --- Files and the shell ------------------------------------------------------------

// `text` with every shell meta character escaped, so that it passes a shell
// as one word: a backslash before the characters of
// StringOp_EscapeShellMetaChars and "~", a line feed in single quotes. Text
// may be escaped itself. False when the result had to be cut at escaped's
// bound (never inside an escape).
bool SFilMisc_EscapeShMetaChars(StrIn text, StrOut escaped);
// `text` in single quotes (a quote in it as '\''), so that it passes a shell
// as one word whatever it holds, line feeds included.
std::string SFilMisc_QuoteForShell(std::string_view text);
// The whole of the file `path` ("-" is standard input) into `text`; false
// when it can't be opened or read.
bool SFilMisc_ReadAll(const std::string& path, std::string& text);
// Writes `text` as the file `path` whole or not at all: under the atomic
// save's temporary name beside it, with permission bits `mode`, then renamed
// over it. False, the old file untouched and nothing left behind, on failure.
bool SFilMisc_SaveAtomically(StrIn path, std::string_view text, unsigned mode);
// The same for a writer that holds the lock of `path` against other writers:
// the temporary file is always "`path`.tmp", so what a writer that was
// killed left is taken over by the next.
bool SFilMisc_SaveAtomicallyLocked(StrIn path, std::string_view text, unsigned mode);
// Sets the permission bits of `path` to the octal number `mode` ("666",
// "0755"; at most 7777). False for any other text or when the system refuses;
// nothing is reported.
bool SFilMisc_ChMod(StrIn path, StrIn mode);

// --- Temporary names ----------------------------------------------------------------

// A fresh name for a temporary file like `model`: in the model's directory,
// or in the first element of TMP when the model has none, with the stem and
// suffix of its last element, "<stem>.<host>-<pid>-<n>.tmp<suffix>". So
// ".ruleSelection" gives "$TMP/.ruleSelection.h-7-1.tmp" and "/d/l.lst" gives
// "/d/l.h-7-2.tmp.lst" on host "h" in process 7. No file of that name exists
// when it is made; none is created. False, and path empty, when the name does
// not fit.
bool SFilMisc_CreateTmpName(StrIn model, StrOut path);
// Whether the last element of `path` has one of the two forms of temporary
// names told above.
bool SFilMisc_IsTmpName(StrIn path);
