// The catalog compiler's core: reads the readable catalog source and writes
// the binary ".srf" form that the program's Catalog module reads.
//
// Source form, one item per line:
//   # a comment                 (also blank lines)
//   [Section]                   starts a section; at most 16 bytes
//   12 "text with \"quotes\", \\, \n and \t"
// The same section may be opened more than once; a number stands once.
#pragma once

#include <istream>
#include <map>
#include <string>
#include <vector>

struct SrfCatalog {
  // Ordered by byte value, as the reader's early-stopping searches expect.
  std::map<std::string, std::map<unsigned, std::string>> sections;
};

// Adds what `source` holds to `catalog`. False with "origin:line: what" in
// `error` on the first bad line.
bool Srf_ParseSource(std::istream& source, const std::string& origin, SrfCatalog& catalog,
                     std::string& error);

// The binary form of `catalog`. False with `error` when a section breaks a
// limit of the format (15000 entries, 65535 bytes of text).
bool Srf_Encode(const SrfCatalog& catalog, std::vector<unsigned char>& bytes, std::string& error);
