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
// The first element of that list with `name` appended ("/" for an empty
// list); an empty name gives the element itself.
void DirAcces_IncludeSpecialPath(int number, StrIn name, StrOut path);
// Takes the first element off `list` into `element`; false when list is empty.
bool DirAcces_GetPath(StrOut list, StrOut element);

// --- Path arithmetic ---------------------------------------------------------

// head "/" tail with exactly one slash; trailing blanks of head are skipped;
// an empty head gives tail unchanged.
void DirAcces_IncludePath(StrIn head, StrIn tail, StrOut result);

// Cuts `path` at its last "/": the part before (blanks in front of the slash
// left out) and the part behind. No slash: empty head, the path as tail.
void DirAcces_ExcludePath(StrIn path, StrOut head, StrOut tail);
// The first element of `path` ("a" of "a/b/c"; "" for an absolute path).
void DirAcces_GetPathHead(StrIn path, StrOut head);
// Removes the first element and the slashes behind it ("a//b/c" gives "b/c").
void DirAcces_CutPathHead(StrOut path);
// Whether `path` is `head` or begins with `head` followed by "/".
bool DirAcces_PathStartsWith(StrIn path, StrIn head);
// Replaces a leading `oldHead` (followed by "/" or the end) by `newHead`;
// false, path unchanged, when it does not stand there.
bool DirAcces_ReplacePathHead(StrOut path, StrIn oldHead, StrIn newHead);
// Whether the list in the variable holds `element`.
bool DirAcces_ContainsPath(StrIn variable, StrIn element);

// --- Look-ups and tests ------------------------------------------------------

bool DirAcces_Access(StrIn path, DirAcces_Mode mode);
// Finds `name` as it stands, then below each element of the list in the
// variable `variable`. Found: true, the name in DirAcces_effName. Not found:
// reports message 1 with variable and name, error 7.
bool DirAcces_PathLookup(StrIn variable, StrIn name, DirAcces_Mode mode);

// Finds `name` below the elements of the variable's list (or of
// `fallbackList` when the variable is empty); the full name into `path`.
bool DirAcces_Lookup(StrIn variable, StrIn fallbackList, StrIn name, DirAcces_Mode mode, StrOut path);
// The first element of special path `number` below which `name` passes the
// access test; the full name into `path`.
bool DirAcces_AccessSpecial(int number, StrIn name, DirAcces_Mode mode, StrOut path);
// Like Access, with the last element of `path` matched regardless of case;
// the name as it stands on disk into `found`.
bool DirAcces_AccessICASE(StrIn path, DirAcces_Mode mode, StrOut found);
// The n-th entry "NAME=value" of the environment (from 0); false past the end.
bool DirAcces_GetNthEnvVar(std::size_t n, StrOut entry);

// --- Flags -------------------------------------------------------------------
// A flag NAME is the variable TV_NAME or, when that is empty, a file NAME in
// the first element of TV_CUSTOMER.

// True when TV_NAME is set to anything but "false", "no" or "off" (any case);
// when it is empty, true exactly when the flag file exists.
bool DirAcces_CheckFlag(StrIn name);
// A set variable becomes "on" or "off"; otherwise the file is made or removed.
void DirAcces_SetFlag(StrIn name, bool value);
// The number (or text) of the variable, else the first number (word) in the
// flag file; `fallback` when neither is there. True when the flag was there.
bool DirAcces_CheckIntFlag(StrIn name, std::int32_t fallback, std::int32_t& value);
bool DirAcces_CheckRealFlag(StrIn name, double fallback, double& value);
bool DirAcces_CheckStringFlag(StrIn name, StrIn fallback, StrOut value);

// --- Directories and files -------------------------------------------------
// Every operation resets DirAcces_dirError; a failure reports through
// DirAcces_Error, so callers that expect one bracket the call.

struct DirAcces_Stat {
  std::uint64_t size = 0;
  std::int64_t modified = 0, accessed = 0, changed = 0;  // seconds since the epoch
  std::uint32_t mode = 0;                                // permission bits
  bool isDirectory = false, isLink = false, isRegular = false;
  std::uint64_t device = 0, inode = 0, links = 0;
  std::uint32_t user = 0, group = 0;
};

struct DirAcces_Dir;
using DirAcces_DirHandle = DirAcces_Dir*;

// Makes one directory (mode 0777 less the umask); an existing one is error 4.
bool DirAcces_MkDir(StrIn path);
// Makes the path with every missing parent; existing directories are fine.
// A `mode` above 0 is applied to each directory made or found.
bool DirAcces_RecursiveMkDir(StrIn path, std::uint32_t mode);
bool DirAcces_RmDir(StrIn path);
// Opens a directory for reading its entries ("." and ".." are passed over).
DirAcces_DirHandle DirAcces_OpenDir(StrIn path);
// The next entry's name; false at the end or on a nil handle.
bool DirAcces_GetDirEntry(DirAcces_DirHandle dir, StrOut name);
// Accepts nil; sets the handle to nil.
void DirAcces_CloseDir(DirAcces_DirHandle& dir);

// Renames by link and unlink: fails (error 2) when the target exists.
bool DirAcces_Rename(StrIn from, StrIn to);
// Renames over an existing target in one step.
bool DirAcces_AtomicRename(StrIn from, StrIn to);
bool DirAcces_Remove(StrIn path);
bool DirAcces_Link(StrIn existing, StrIn link);
bool DirAcces_Symlink(StrIn target, StrIn link);
bool DirAcces_ReadLink(StrIn link, StrOut target);
bool DirAcces_RealPath(StrIn path, StrOut real);
// Copies a file's data; a directory target gets the source's name. A
// directory source is refused; the same file as target is error 2.
bool DirAcces_Copy(StrIn source, StrIn target);
// Copies what is left to read of `in` to `out`; false, errno set, on a
// failure of either (interrupted calls are repeated).
bool DirAcces_CopyData(int in, int out);
// Renames, or copies and removes across file systems.
bool DirAcces_Move(StrIn source, StrIn target);
bool DirAcces_ChMod(StrIn path, std::uint32_t mode);
// Makes the file when missing, else sets its times to now.
bool DirAcces_Touch(StrIn path);
bool DirAcces_ChTimes(StrIn path, std::int64_t accessed, std::int64_t modified);
bool DirAcces_FileStatN(StrIn path, DirAcces_Stat& stat);
bool DirAcces_LFileStatN(StrIn path, DirAcces_Stat& stat);
bool DirAcces_FileStatF(int descriptor, DirAcces_Stat& stat);
// The time of last change in seconds; -1 for a missing file, reporting nothing.
std::int64_t DirAcces_LastModified(StrIn path);
// The same string, or the same device and inode.
bool DirAcces_FilesEqual(StrIn a, StrIn b);
bool DirAcces_OnSameFilesystem(StrIn a, StrIn b);

// --- Current directory -------------------------------------------------------

// $PWD when it names the current directory (keeping the user's links), else
// the canonical one.
void DirAcces_LogicalCurrentDir(StrOut dir);
void DirAcces_CanonicalCurrentDir(StrOut dir);
bool DirAcces_ChDir(StrIn dir);

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
