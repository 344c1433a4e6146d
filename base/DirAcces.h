// Where the system lives and how paths are put together: the environment
// with its computed defaults, special path lists, path arithmetic and look-ups.
#pragma once

#include <cstdint>

#include "base/Strings.h"

// Error of the last operation: 0 none, 1 no such file, 2 exists or same file,
// 3 not a directory, 4 directory exists, 6 no permission, 7 bad handle or
// other, 8 environment failure, 9 other system error, 11 across file systems.
extern std::uint8_t DirAcces_dirError;
// The full name that the last successful DirAcces_PathLookup found.
extern char DirAcces_effName[kTextCap];

// The special paths: environment variables holding colon-separated lists.
enum DirAcces_Special : int {
  DirAcces_TV_PROJECTS = 0,
  DirAcces_TV_CUSTOMER = 1,
  DirAcces_TV_NODE = 2,
  DirAcces_MARLENV = 3,
  DirAcces_MARLLIB = 4,
  DirAcces_MARLDAT = 5,
  DirAcces_TMP = 6,
};

enum class DirAcces_Mode : std::uint8_t { Read = 0, Write = 1, Execute = 2, Exists = 3 };

void DirAcces_Init();

// --- Environment -------------------------------------------------------------

// The value of `name`. An unset variable that has a computed default gets
// it, stored in the environment so that children see it. A MARLDAT that is
// not writable ends the process with status 1. False when the value is empty.
bool DirAcces_EnvVar(StrIn name, StrOut value);
void DirAcces_PutEnvVar(StrIn name, StrIn value);

// --- Special paths -----------------------------------------------------------

// The list of special path `number`; a number above 6 stands for "/".
void DirAcces_GetSpecialPath(int number, StrOut list);
// The first element of that list with `name` appended; "/" for an empty list.
void DirAcces_IncludeSpecialPath(int number, StrIn name, StrOut path);
// Takes the first element off `list` into `element`; false when list is empty.
bool DirAcces_GetPath(StrOut list, StrOut element);

// --- Path arithmetic ---------------------------------------------------------

// head "/" tail with exactly one slash; trailing blanks of head are skipped;
// an empty head gives tail unchanged.
void DirAcces_IncludePath(StrIn head, StrIn tail, StrOut result);

// --- Look-ups and tests ------------------------------------------------------

bool DirAcces_Access(StrIn path, DirAcces_Mode mode);
// Finds `name` as it stands, then below each element of the list in the
// variable `variable`. Found: true, the name in DirAcces_effName. Not found:
// reports message 1 with variable and name, error 7.
bool DirAcces_PathLookup(StrIn variable, StrIn name, DirAcces_Mode mode);

// --- Machine -----------------------------------------------------------------

// The variable HOST (computed from the node name when unset).
void DirAcces_GetMachineName(StrOut name);
// The node name of this machine, "NONAME" when it can't be had.
void DirAcces_GetNodeName(StrOut name);
// The program's distribution directory: the parent of its bin directory.
void DirAcces_DetermineDistLocation(StrOut directory);

// --- Errors ------------------------------------------------------------------

// Maps a system error number to this module's code.
std::uint8_t DirAcces_MapSystemError(int systemError);
// Sets DirAcces_dirError, pushes the code as a reason and reports it.
void DirAcces_Error(std::uint8_t code);
