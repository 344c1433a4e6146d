// Options: a program's command line read whole from a table, before the
// program starts, opens or writes anything; and the way out with the usage
// text when the line is not acceptable.
//
//   std::string address;
//   const Options_Option table[] = {{"-b", true, Options_Store(address)}};
//   if (!Options_Read(table)) Options_Refuse("", "CCserver", 20, 23);
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "base/Strings.h"

// One option of a program: its exact word ("-b"), whether the next argument
// is its value, and what takes it (the value, or "" for a flag). `take`
// answers false for a value it can't use.
struct Options_Option {
  const char* name;
  bool takesValue;
  std::function<bool(const std::string& value)> take;
};
// What takes an argument that is no option; false refuses it.
using Options_Operand = std::function<bool(const std::string& operand)>;

// Takes for the usual cases: the value stored (a later one replaces it), or
// added to a list; a flag set; a whole number from `least` to `most`,
// anything else refused.
Options_Operand Options_Store(std::string& into);
Options_Operand Options_Append(std::vector<std::string>& into);
Options_Operand Options_Set(bool& flag);
Options_Operand Options_Number(long& into, long least, long most);

// Reads the arguments behind the cursor of Argument to the end. False (the
// usage is due) for "-?" or "--help" anywhere before "--", an option not in `table`, an
// option without its value, a value or operand refused, or an operand when
// `operand` is empty. "--" makes every argument behind it an operand; "-"
// alone is an operand (standard input).
bool Options_Read(std::span<const Options_Option> table, const Options_Operand& operand = nullptr);
// The same for the arguments of a vector (argument 0 left out), for programs
// that read their line before Argument is set up.
bool Options_ReadFrom(int argc, const char* const* argv, std::span<const Options_Option> table,
                      const Options_Operand& operand = nullptr);

// Writes messages `first` to `last` of `section` (of the message catalog
// `catalog`, "" for the base catalogs) to standard error, one a line, and
// ends the process with status 1. Takes no run file: a program that only
// tells its usage leaves nothing behind.
[[noreturn]] void Options_Refuse(StrIn catalog, StrIn section, unsigned first, unsigned last);
// The usage lines alone, for programs that have started their modules.
void Options_Usage(StrIn section, unsigned first, unsigned last);
