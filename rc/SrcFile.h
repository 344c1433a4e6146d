// SrcFile: the settings store of the process.
//
// One table for the whole process maps a key to a typed value that is bound
// to a program variable. Values come from small text files, ".NAMErc" for an
// application and ".tavrinrc" for the whole site, and go back to them. Keys
// of the global file carry the prefix "[global]" in the table. Several
// processes and hosts share these files, so a save merges what is on disk:
// a value this process never changed never overwrites another's change.
//
// A file is one line per value, "%c %s= " and the value: the type key
// (one of "BECIRSPFM"), a blank, the key, "=", the value. A line that starts
// with any other character is a comment.
//
// Errors stand in SrcFile_error: 0 none, 1 key defined already, 2 key not
// defined, 3 wrong type, 4 bad line or value in a file, 5 file not writable
// or value refused by the check, 6 file cannot be opened. Each is reported
// as message (SrcFile, number) with the key or the file beneath it.
#pragma once

#include <cstdint>

#include "base/BFileIO.h"
#include "base/Strings.h"

// The types, by the index of their type key. A string of kind k (0 to 3) is
// SrcFile_tString + k: "S", "P" (paths), "F" (file names), "M" (long texts).
// The kinds only guide the settings editor; files keep them.
inline constexpr std::uint8_t SrcFile_tBool = 0;
inline constexpr std::uint8_t SrcFile_tEnum = 1;
inline constexpr std::uint8_t SrcFile_tCard = 2;
inline constexpr std::uint8_t SrcFile_tInt = 3;
inline constexpr std::uint8_t SrcFile_tReal = 4;
inline constexpr std::uint8_t SrcFile_tString = 5;
inline constexpr std::uint8_t kSrcFileStringKinds = 4;

inline constexpr char SrcFile_globalFileName[] = ".tavrinrc";
inline constexpr char SrcFile_globalSectionName[] = "global";

extern std::uint8_t SrcFile_error;
// The file of the last load; SrcFile_Save writes it. ".tavrinrc" at start.
extern char SrcFile_rcName[kNameCap];

// Checks run before a set; false refuses the value. `data` is the check data
// of the definition. A nil check accepts everything.
using SrcFile_CardCheck = bool (*)(std::uint32_t value, std::uint32_t data);
using SrcFile_IntCheck = bool (*)(std::int32_t value, std::uint32_t data);
using SrcFile_RealCheck = bool (*)(double value, std::uint32_t data);
using SrcFile_StringCheck = bool (*)(StrIn value, std::uint32_t data);
// Called after every set and every load of the key.
using SrcFile_ChangeCallback = void (*)(StrIn key, std::uintptr_t data);
// Receives warnings, such as a settings file that can't be written.
using SrcFile_MessageCallback = void (*)(StrIn text);

// Runs once: empty table, machine name, then loads the global file (see
// SrcFile_Load), so "[global]" keys exist before other modules start. Every
// routine below calls it on first use.
void SrcFile_Init();

// --- Definition: bind a program variable to a key --------------------------
// The variable must live until the key is undefined; the table points at it
// and does not own it. A key loaded before takes over its value (an
// enumeration above the limit becomes 0); otherwise the variable's value is
// the default. Errors: 1 for a defined key, 3 for a loaded key of another
// type (the four string kinds count as one; the definition's kind stays).

void SrcFile_DefineBool(StrIn key, bool& variable);
void SrcFile_DefineEnum(StrIn key, std::uint32_t limit, std::uint8_t& variable);
void SrcFile_DefineCard(StrIn key, std::uint32_t& variable);
void SrcFile_DefineInt(StrIn key, std::int32_t& variable);
void SrcFile_DefineReal(StrIn key, double& variable);
// The variable's bound is kept: values are cut at it.
void SrcFile_DefineString(StrIn key, StrOut variable);
// The same with a description for the settings editor and a check.
void SrcFile_SDefineBool(StrIn key, StrIn description, bool& variable);
void SrcFile_SDefineEnum(StrIn key, StrIn description, std::uint32_t limit, std::uint8_t& variable);
void SrcFile_SDefineCard(StrIn key, StrIn description, SrcFile_CardCheck check, std::uint32_t data,
                         std::uint32_t& variable);
void SrcFile_SDefineInt(StrIn key, StrIn description, SrcFile_IntCheck check, std::uint32_t data,
                        std::int32_t& variable);
void SrcFile_SDefineReal(StrIn key, StrIn description, SrcFile_RealCheck check, std::uint32_t data,
                         double& variable);
void SrcFile_SDefineString(StrIn key, StrIn description, SrcFile_StringCheck check, std::uint32_t data,
                           StrOut variable);
// A string of `kind` 0 to 3 (others: error 3).
void SrcFile_SDefineStringS(StrIn key, StrIn description, SrcFile_StringCheck check, std::uint32_t data,
                            std::uint8_t kind, StrOut variable);
// Whether a program variable is bound to the key.
bool SrcFile_IsDefined(StrIn key);
// Unbinds the variable: the entry keeps its value in storage of its own, so it
// is still saved and may be defined again; description, check and change
// callback go. Error 2 when the key is not defined.
void SrcFile_SUndefine(StrIn key);
// The same for the dialog layer, which unbinds all its values when a dialog
// goes, bound or not: an undefined key is passed over without error.
void SrcFile_UndefineI(StrIn key);
// Sets (nil: removes) the change callback of a defined key; error 2 otherwise.
void SrcFile_DefineICB(StrIn key, SrcFile_ChangeCallback callback, std::uintptr_t data);

// --- Reading values --------------------------------------------------------
// Error 2 for a key that is not defined, 3 for another type; then the answer
// is false, 0 or empty. The ForeignProcess forms also read a key that is only
// loaded from a file: the settings of another program.

bool SrcFile_QueryBool(StrIn key);
std::uint8_t SrcFile_QueryEnum(StrIn key);
std::uint32_t SrcFile_QueryCard(StrIn key);
std::int32_t SrcFile_QueryInt(StrIn key);
double SrcFile_QueryReal(StrIn key);
// Any of the four string kinds.
void SrcFile_QueryString(StrIn key, StrOut value);
bool SrcFile_QueryBoolForeignProcess(StrIn key);
std::uint8_t SrcFile_QueryEnumForeignProcess(StrIn key);
std::uint32_t SrcFile_QueryCardForeignProcess(StrIn key);
std::int32_t SrcFile_QueryIntForeignProcess(StrIn key);
double SrcFile_QueryRealForeignProcess(StrIn key);
void SrcFile_QueryStringForeignProcess(StrIn key, StrOut value);

// --- Setting values --------------------------------------------------------
// For defined keys (else error 2) of the right type (else error 3): the check
// runs first and may refuse (error 5, the value stays); then the variable
// changes and the change callback runs.

void SrcFile_SetBool(StrIn key, bool value);
void SrcFile_SetCard(StrIn key, std::uint32_t value);
void SrcFile_SetInt(StrIn key, std::int32_t value);
void SrcFile_SetReal(StrIn key, double value);
// Strings of kind 0 only.
void SrcFile_SetString(StrIn key, StrIn value);
// Any string kind; the entry takes `kind` (0 to 3).
void SrcFile_SetStringS(StrIn key, std::uint8_t kind, StrIn value);
// As SetStringS without the check; the change callback still runs.
void SrcFile_SetStringSnoCB(StrIn key, std::uint8_t kind, StrIn value);

// --- Files -----------------------------------------------------------------
// `name` is an application's name ("x" gives ".xrc"); empty means the global
// file, read with the prefix "[global]". Locations: 0 the site directory (the
// first element of TV_CUSTOMER), 1 HOME, 2 the current directory; 3 or more
// stands for no file at all.

// Opens `path` for reading, trying again every 100 ms up to `waitMs` while it
// exists but can't be opened; an empty file counts as damaged. Then the same
// with ".backup" appended, without the size test. The handle (the caller
// closes it) or nil.
BFileIO_File SrcFile_MyOpen(StrIn path, std::uint32_t waitMs);
// Reads the first file that opens of: the current directory (waiting 500 ms),
// HOME (1000 ms), the site directory (1000 ms). Bad values are passed over;
// no file is no error. The file name becomes SrcFile_rcName.
void SrcFile_Load(StrIn name);
// The same from one location, waiting 1500 ms.
void SrcFile_LoadFromLocation(StrIn name, unsigned location);
// The strict form: error 6 when no file opens, error 4 at the first bad line
// or value (what came before it stays loaded).
void SrcFile_LoadFromLocationAndName(StrIn name, unsigned location);
// Looks up one key in a file without touching the table; lines are split in
// words, so a key holding a blank is never found. False, value empty, when
// the file or the key is missing.
bool SrcFile_GetEntryFromLocation(StrIn name, unsigned location, StrIn key, StrOut value);
// Writes the table's entries of `section` ("" for keys without a section)
// into `file` at `location`, prefix removed, in table order, merged with the
// file on disk; through a temporary file "<file>.<host>-<pid>.tmp" and an
// atomic rename, then copied to "<file>.backup". Error 5 when it can't be
// written; a file that exists but is not writable is first told to the
// message callback.
void SrcFile_SaveToFile(StrIn file, unsigned location, StrIn section);
// Saves SrcFile_rcName with the empty section.
void SrcFile_Save(unsigned location);
// Saves the "[global]" keys to the global file.
void SrcFile_SaveGlobal(unsigned location);
// Saves the file of `name` with the empty section: never the global keys.
void SrcFile_SaveToLocation(StrIn name, unsigned location);
// SrcFile_Save(location) when the process ends; the last location given wins.
void SrcFile_AutoSave(unsigned location);

// --- Settings editor -------------------------------------------------------

// One described entry. The list owns its records.
struct SrcFile_Default {
  bool spare = false;           // the editor's own mark
  char text[kNameCap] = "";     // the description without its "<<group>>" mark
  char key[kNameCap] = "";
  std::uint8_t type = 0;
  SrcFile_Default* next = nullptr;
};
using SrcFile_DefaultsList = SrcFile_Default*;

// A record for every entry with a description that begins with none of the
// blank-separated words of `exclusions`, in descending order of the texts
// (equal texts in table order). The caller destroys the list.
SrcFile_DefaultsList SrcFile_GetDefaultsList(StrIn exclusions);
// Frees the list and sets it to nil; nil is accepted.
void SrcFile_DestroyDefaultsList(SrcFile_DefaultsList& list);

// Where warnings go; nil (the start) drops them.
void SrcFile_DefineMessageCallback(SrcFile_MessageCallback callback);
