// Message catalogs: the ".srf" files that hold every text the program shows,
// addressed by section name and number, one file per language.
//
// File layout, all integers 16-bit little-endian, no file header:
//   repeated to end of file: section name (16 bytes, zero-filled),
//   entry count (at most 15000), text size, entries (number, text offset),
//   text block of zero-terminated texts.
// Sections stand in ascending name order and entries in ascending number
// order; look-ups stop early on that.
#pragma once

#include <cstdint>

#include "base/Strings.h"

struct Catalog_Catalogue;
using Catalog_Handle = Catalog_Catalogue*;

// 0 no error, 1 nil handle, 2 section not found, 3 number not found,
// 4 catalog file not found, 5 file damaged, 6 section not found by
// Catalog_StartSection.
extern std::uint8_t Catalog_catError;

inline constexpr unsigned kCatalogMaxEntries = 15000;

void Catalog_Init();

// --- Language ----------------------------------------------------------------

// The language word from LANGUAGE, else LANG ("de_DE" gives "deu", "C"
// stays "C"); `fallback` when both are empty.
void Catalog_GetLanguage(StrOut language, StrIn fallback);

// --- Open and close ----------------------------------------------------------

// Opens `name` in the current language (default "eng"). Nil on failure, with
// the error reported.
Catalog_Handle Catalog_OpenCatalogue(StrIn name);
// Looks up "<language>/<name>" along MARLENV, then "eng/<name>", then
// "deu/<name>". All three missing: error 4, reported as message 1.
Catalog_Handle Catalog_OpenForeignCatalogue(StrIn name, StrIn language);
// Reads one catalog file by its path. A damaged section is dropped with
// error 5 reported; what was read before it is kept.
Catalog_Handle Catalog_ReadFile(StrIn path);
// Frees the catalog and sets the handle to nil; nil is accepted.
void Catalog_CloseCatalogue(Catalog_Handle& catalog);
Catalog_Handle Catalog_NilCatalogue();
bool Catalog_CatalogueEqual(Catalog_Handle a, Catalog_Handle b);

// --- Look-up -----------------------------------------------------------------

// Copies the text of (section, number) into `text`. Not found: "???",
// Catalog_catError set, false.
bool Catalog_GetString(Catalog_Handle catalog, StrIn section, unsigned number, StrOut text);
// The same by reference into the catalog; nullptr when not found.
const char* Catalog_GetStringRef(Catalog_Handle catalog, StrIn section, unsigned number);
// Starts the walk through a section in number order; one walk at a time.
bool Catalog_StartSection(Catalog_Handle catalog, StrIn section);
// The next text of the walk and its number; nullptr at the end.
const char* Catalog_NextStringRef(unsigned& number);
