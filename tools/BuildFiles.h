// What the catalog compilers share: the command line "NAME -o OUTPUT
// SOURCE..." and the output file written in one piece.
#pragma once

#include <functional>
#include <istream>
#include <string>
#include <vector>

// Reads one source into the compiler's catalog; false with "origin:line: what".
using BuildFiles_Parse = std::function<bool(std::istream& source, const std::string& origin, std::string& error)>;
// The output's bytes; false with the reason.
using BuildFiles_Encode = std::function<bool(std::vector<unsigned char>& bytes, std::string& error)>;

// The whole compiler: parses every source, encodes, writes the output. Exit
// status 0, 1 for a fault in a source or in writing, 2 for a bad command line.
int BuildFiles_CompilerMain(int argc, char** argv, const std::string& name, const BuildFiles_Parse& parse,
                            const BuildFiles_Encode& encode);

// Writes `bytes` under a temporary name and renames it to `path`, so that a
// failed run never leaves a half-written file. False with `error` set.
bool BuildFiles_WriteAtomically(const std::string& path, const std::vector<unsigned char>& bytes,
                                std::string& error);
