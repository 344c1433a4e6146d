// SAutoRcF: a folder's rc file, the object that holds it in memory, and the
// typed access to its options.
//
// The file is text, one item per line, each line ended by a line feed:
//
//   command lines   every line before the first option line, at most 11,
//                   kept as they stand (an empty line is a command too)
//   option lines    ": KEY=VALUE"; the key runs to the first "=", the value
//                   is the rest of the line, unstripped, "=" allowed
//
// There are no comments. A non-option line behind an option, a twelfth
// command or an option line without "=" makes the file unreadable (error 6).
// Lines are read up to 5120 bytes; what lies beyond is dropped.
//
// Options are kept newest first: AddOpt puts a new one at the head and Save
// writes from the head, so a load and a save turn the order of the option
// lines round. Nothing depends on that order. AddOpt allows a key twice;
// lookups find the newest, and the setters replace it instead of adding.
//
// Encodings of typed values: booleans "_TRUE_" and "_FALSE_" exactly;
// cardinals and integers in decimal with nothing behind (blanks in front are
// passed over, as all our number readers do); bit sets as the
// ascending bit numbers 0..31 joined by "," (empty for the empty set); reals
// fixed with 8 decimals; strings as they are.
//
// Errors are status values only: this layer never reports a message, the
// caller decides. Every routine sets SAutoRcF_error; reads that fail leave
// zero or empty values.
#pragma once

#include <cstdint>
#include <vector>

#include "base/SDateAri.h"
#include "base/Strings.h"

struct SAutoRcF_Rec;
using SAutoRcF = SAutoRcF_Rec*;

// Error of the last operation: 0 none, 1 file not found (or not readable),
// 2 file cannot be created, 3 nil object, 4 option not present, 5 value has
// the wrong form, 6 syntax error in the file.
extern std::uint8_t SAutoRcF_error;

// The most command lines a file holds.
inline constexpr std::size_t kSAutoRcFMaxCommands = 11;

// One remote start: a server that hands files of its own to the start folder.
struct SAutoRcF_RemoteStart {
  char server[kNameCap] = "";
  char directory[kPathCap] = "";
  bool deleteFiles = false;
};

// The settings of sequence processing; the mode travels beside the record.
struct SAutoRcF_Sequence {
  char nameScheme[kPathCap] = "";  // rename scheme that recognises a sequence
  double startDelay = 30.0;        // seconds before a sequence starts
  double fileTimeout = 300.0;      // seconds to wait for the next file
  double seriesTimeout = 3600.0;   // seconds to wait for the whole series
  bool descending = false;         // the sequence counts down
};

// One option as the helper process of the foreign front ends receives it.
struct SAutoRcF_RPCField {
  char key[kNameCap] = "";
  char value[kTextCap] = "";
};
// All options of an object, in the object's list order (newest first).
using SAutoRcF_RPCObject = std::vector<SAutoRcF_RPCField>;

// Runs once, after the buffered file layer it reads and writes through.
void SAutoRcF_Init();

// --- Create, copy, destroy ----------------------------------------------------

// A new empty object; the caller owns it.
SAutoRcF SAutoRcF_Create();
// A new object with rc's commands in order and its options added in list
// order, so the copy's options stand reversed. Nil (error 3) for nil.
SAutoRcF SAutoRcF_Copy(SAutoRcF rc);
// Frees the object and sets rc to nil; nil is accepted.
void SAutoRcF_Destroy(SAutoRcF& rc);
// The empty handle: every routine accepts it and answers empty.
SAutoRcF SAutoRcF_Nil();
// True for an object; false and error 3 for nil.
bool SAutoRcF_Check(SAutoRcF rc);
// Whether both hold the same commands in the same order and the same options
// in any order, as a save and a load of one of them give the other. Two nils
// are the same; a nil and an object are not.
bool SAutoRcF_SameContent(SAutoRcF a, SAutoRcF b);

// --- File ---------------------------------------------------------------------

// Reads `file` into a new object that the caller owns. On failure rc is nil
// and the error is 1 (cannot be opened or read) or 6 (syntax).
bool SAutoRcF_Load(StrIn file, SAutoRcF& rc);
// Writes rc to `file` directly (no temporary, no backup): commands, then
// options from the head; then mode 666. False with error 2 when the file
// cannot be made, 3 for nil. Errors while writing are not told.
bool SAutoRcF_Save(StrIn file, SAutoRcF rc);

// --- Commands -----------------------------------------------------------------

// Appends a command (cut at 5120 bytes). Nothing for nil.
void SAutoRcF_AddCmd(SAutoRcF rc, StrIn command);
// Replaces all commands by `command`.
void SAutoRcF_SetFirstCmd(SAutoRcF rc, StrIn command);
// The first command, starting the command cursor; false and empty when none.
bool SAutoRcF_GetFirstCmd(SAutoRcF rc, StrOut command);
// The command behind the cursor; false and empty past the last.
bool SAutoRcF_GetNextCmd(SAutoRcF rc, StrOut command);
// Removes every command.
void SAutoRcF_UnsetAllCmds(SAutoRcF rc);

// --- Options, untyped ---------------------------------------------------------

// Puts a new option at the head, even when the key is there already; key cut
// at 128 bytes, value at 5120. A key "REMOTESTART_n/..." raises the remote
// start count to n+1.
void SAutoRcF_AddOpt(SAutoRcF rc, StrIn key, StrIn value);
// The head option's key and value, starting the option cursor; false and
// empty when there is none.
bool SAutoRcF_GetFirstOpt(SAutoRcF rc, StrOut key, StrOut value);
// The option behind the cursor; false and empty past the last.
bool SAutoRcF_GetNextOpt(SAutoRcF rc, StrOut key, StrOut value);
// The same walk, each option as one text "KEY=VALUE", the way its line reads
// without the leading ": ".
bool SAutoRcF_GetFirstOption(SAutoRcF rc, StrOut option);
bool SAutoRcF_GetNextOption(SAutoRcF rc, StrOut option);
// The value of the newest option of `key` (exact comparison); false, error 4
// and empty when there is none.
bool SAutoRcF_GetOpt(SAutoRcF rc, StrIn key, StrOut value);
// The same, giving `fallback` when the key is absent.
bool SAutoRcF_GetOptValue(SAutoRcF rc, StrIn key, StrIn fallback, StrOut value);
// Removes every option of `key`; false (error 4) when there was none. The
// remote start count stays.
bool SAutoRcF_UnsetOpt(SAutoRcF rc, StrIn key);
// Removes every option and sets the remote start count to 0.
void SAutoRcF_UnsetAllOpts(SAutoRcF rc);

// --- Options, typed: false with error 4 (absent) or 5 (wrong form) -------------

bool SAutoRcF_GetBoolOpt(SAutoRcF rc, StrIn key, bool& value);
bool SAutoRcF_GetCardOpt(SAutoRcF rc, StrIn key, std::uint32_t& value);
bool SAutoRcF_GetIntOpt(SAutoRcF rc, StrIn key, std::int32_t& value);
// Bit n of `value` is bit number n of the text.
bool SAutoRcF_GetBitsetOpt(SAutoRcF rc, StrIn key, std::uint32_t& value);
bool SAutoRcF_GetRealOpt(SAutoRcF rc, StrIn key, double& value);
bool SAutoRcF_GetStringOpt(SAutoRcF rc, StrIn key, StrOut value);

// Each replaces the value of the newest option of `key`, or adds the key.
void SAutoRcF_SetBoolOpt(SAutoRcF rc, StrIn key, bool value);
void SAutoRcF_SetCardOpt(SAutoRcF rc, StrIn key, std::uint32_t value);
void SAutoRcF_SetIntOpt(SAutoRcF rc, StrIn key, std::int32_t value);
void SAutoRcF_SetBitsetOpt(SAutoRcF rc, StrIn key, std::uint32_t value);
void SAutoRcF_SetRealOpt(SAutoRcF rc, StrIn key, double value);
void SAutoRcF_SetStringOpt(SAutoRcF rc, StrIn key, StrIn value);

// --- Reserved keys: absent keys read as empty, 0 or false ---------------------

// "_DESCRIPTION_": the folder's comment.
bool SAutoRcF_GetDescription(SAutoRcF rc, StrOut text);
void SAutoRcF_SetDescription(SAutoRcF rc, StrIn text);
// Out directories: index 1 (and 0) is "_OUTDIR_", index n from 2 "_OUTDIRn_".
bool SAutoRcF_GetOutdir(SAutoRcF rc, StrOut path);
void SAutoRcF_SetOutdir(SAutoRcF rc, StrIn path);
bool SAutoRcF_GetSecondOutdir(SAutoRcF rc, StrOut path);
void SAutoRcF_SetSecondOutdir(SAutoRcF rc, StrIn path);
bool SAutoRcF_GetNthOutdir(SAutoRcF rc, std::uint32_t index, StrOut path);
void SAutoRcF_SetNthOutdir(SAutoRcF rc, std::uint32_t index, StrIn path);
// "_ERRORDIR_": where failed files go.
bool SAutoRcF_GetErrordir(SAutoRcF rc, StrOut path);
void SAutoRcF_SetErrordir(SAutoRcF rc, StrIn path);
// "_ERRORMODE_", a cardinal.
std::uint32_t SAutoRcF_GetErrorMode(SAutoRcF rc);
void SAutoRcF_SetErrorMode(SAutoRcF rc, std::uint32_t mode);
// "_INSTALLTIME_", in the form of SAutoRcF_FormatInstalltime.
bool SAutoRcF_GetInstalltime(SAutoRcF rc, StrOut text);
void SAutoRcF_SetInstalltime(SAutoRcF rc, StrIn text);
// "_FINALPAGEMODE_" and "_JOBTICKETMODE_", booleans.
bool SAutoRcF_GetFinalpageMode(SAutoRcF rc);
void SAutoRcF_SetFinalpageMode(SAutoRcF rc, bool on);
bool SAutoRcF_GetJobticketMode(SAutoRcF rc);
void SAutoRcF_SetJobticketMode(SAutoRcF rc, bool on);
// May the folder overwrite in out `index`: "_OVERWRITE_" below 2,
// "_OVERWRITE_n_" from 2.
bool SAutoRcF_GetOverwriteMode(SAutoRcF rc, std::uint32_t index);
void SAutoRcF_SetOverwriteMode(SAutoRcF rc, std::uint32_t index, bool on);
// "_REPORTID_"; setting an empty id removes the key.
bool SAutoRcF_GetReportID(SAutoRcF rc, StrOut id);
void SAutoRcF_SetReportID(SAutoRcF rc, StrIn id);
// "_REPORTADDON_", an integer.
std::int32_t SAutoRcF_GetReportAddon(SAutoRcF rc);
void SAutoRcF_SetReportAddon(SAutoRcF rc, std::int32_t addon);

// --- Install time -------------------------------------------------------------

// "dd-Mon-yyyy  hh:mm:ss", day and hour right-aligned in 2 columns, the
// month in English letters ("???" outside 1..12).
void SAutoRcF_FormatInstalltime(const SDateAri_DateTime& when, StrOut text);
// The present local time in that form.
void SAutoRcF_GetCurrentInstalltime(StrOut text);

// --- Sequence group "SEQUENCE/..." --------------------------------------------

// The mode (0 off, 1 or 2) and the record. A mode that is absent, unreadable
// or not below 3 gives 0 and the defaults, reading nothing else. A missing
// "SEQUENCE/FILETIMEOUT" falls back to the older "SEQUENCE/TIMEOUT".
std::uint32_t SAutoRcF_GetSequenceMode(SAutoRcF rc, SAutoRcF_Sequence& sequence);
// Mode 0 removes the whole group; any other writes mode and record, never
// the older "SEQUENCE/TIMEOUT" (which stays if it was there).
void SAutoRcF_SetSequenceMode(SAutoRcF rc, std::uint32_t mode, const SAutoRcF_Sequence& sequence);

// --- Remote starts "REMOTESTART_n/..." -----------------------------------------

// Highest n of any remote start key ever added, plus 1; 0 for nil.
std::uint32_t SAutoRcF_RemoteStartCount(SAutoRcF rc);
// Remote start `index`: false (and an empty record) unless both its server
// and its directory key are there.
bool SAutoRcF_GetRemoteStart(SAutoRcF rc, std::uint32_t index, SAutoRcF_RemoteStart& start);
// Writes the three keys of remote start `index`.
void SAutoRcF_SetRemoteStart(SAutoRcF rc, std::uint32_t index, const SAutoRcF_RemoteStart& start);
// Removes every remote start key and sets the count to 0.
void SAutoRcF_UnsetAllRemoteStarts(SAutoRcF rc);

// --- Transfer to the foreign front ends ---------------------------------------

// The options of rc, in list order, into `object`. False (error 3, empty
// object) for nil.
bool SAutoRcF_CreateRPCObject(SAutoRcF rc, SAutoRcF_RPCObject& object);
// A new object holding the options of `object` in the same list order and no
// commands; the caller owns it.
SAutoRcF SAutoRcF_CreateFromRPCObject(const SAutoRcF_RPCObject& object);
// Replaces all options of rc by those of `object`, in its list order; the
// commands stay. False (error 3) for nil.
bool SAutoRcF_SetFromRPCObject(SAutoRcF rc, const SAutoRcF_RPCObject& object);
