// A cursor over the program's argument vector.
#pragma once

#include <cstddef>

#include "base/Strings.h"

// Hands over the vector from main; the cursor stands on argument 1.
void Argument_Init(int argc, const char* const* argv);
// How many arguments are left behind the cursor.
std::size_t Argument_Number();
// The next argument into `arg`; the cursor moves. False when none is left.
bool Argument_Get(StrOut arg);
// Moves the cursor back by one, never before argument 1.
void Argument_Unget();
// Argument `n` (0 is the program) without moving; false when there is none.
bool Argument_Seek(std::size_t n, StrOut arg);
// Puts the cursor back on argument 1.
void Argument_Rewind();
// Drops the next argument from the vector, so that no later walk sees it.
void Argument_Shift();
// The last path element of argument 0, "???" if there is none.
void Argument_GetBinaryName(StrOut name);
