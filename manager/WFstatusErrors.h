// WFstatusErrors: the errors of a workflow and their window. A file that a
// step could not handle lies in the workflow's error directory
// (WFbase_GetErrordir) as "<stamp>_<name>", with beside it
//   "<stamp>_<name>.err"       its first non-empty line the folder the file
//                              came from, the lines after it why; a line
//                              "NO RETRY" says a retry would fail again
//   "<stamp>_<name>-log.pdf"   a log, where the step wrote one (or
//   "<stamp>_<name>log.pdf")   the older form)
// An ".err" file without its file still lists, but cannot be retried.
//
// The window (the dialog "WFstatus_Errors" of "FLOATDECKdlg"; one for the
// program, showing one workflow) lists the errors, shows the description
// of the one selected, and retries, moves, deletes them or shows a log.
// Retrying moves the file back into its folder and hands all files of one
// action to the demon as one ready list (TVWready), so that it takes them
// at once, also those it handled before. Every action that changed the
// error directory tells "errors changed" on WFbase_switchboard.
//
// Messages of "WFstatus": 83 to 97 (the failures, the questions and the table's words).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Strings.h"
#include "toolkit/I.h"
#include "toolkit/WtTableD.h"
#include "workflow/WFbase.h"

// The window's values and elements.
inline constexpr std::int32_t WFstatus_kErrCommand = 1;   // value and element: close, delete, refresh, log
inline constexpr std::int32_t WFstatus_kErrList = 5;      // value and element: the table of errors
inline constexpr std::int32_t WFstatus_kErrAction = 6;    // value and element: retry and move
inline constexpr std::int32_t WFstatus_kErrText = 7;      // the description of the error selected
inline constexpr std::int32_t WFstatus_kErrTitle = 8;     // the workflow's name and error directory

// Commands: values of WFstatus_kErrCommand and WFstatus_kErrAction.
inline constexpr std::int32_t WFstatus_errClose = 1;
inline constexpr std::int32_t WFstatus_errRetry = 2;
inline constexpr std::int32_t WFstatus_errDelete = 3;
inline constexpr std::int32_t WFstatus_errDeleteAll = 4;
inline constexpr std::int32_t WFstatus_errRefresh = 5;
inline constexpr std::int32_t WFstatus_errMove = 6;
inline constexpr std::int32_t WFstatus_errRetryAll = 7;
inline constexpr std::int32_t WFstatus_errShowLog = 8;

// What the state column shows.
inline constexpr std::uint8_t WFstatus_errRetryable = 0;
inline constexpr std::uint8_t WFstatus_errNoRetry = 1;
inline constexpr std::uint8_t WFstatus_errFileMissing = 2;

// One error: a row of the window's table.
struct WFstatus_Error {
  WtTableD_Record link;
  char name[kNameCap];          // the failed file's own name, without stamp
  char fileName[kPathCap];      // the failed file in the error directory
  char errFile[kPathCap];       // its ".err" file
  bool fileThere;               // the failed file lies beside its ".err"
  bool retryable;               // it is there, has a folder and no "NO RETRY"
  std::uint8_t state;           // WFstatus_errRetryable, ...NoRetry, ...FileMissing
  char dateText[kNameCap];      // when it failed: time, two blanks, date
  char folderPath[kPathCap];    // the folder it came from
  char folderName[kNameCap];    // that folder's module ("Log"), or its last element, for the table
  char logFile[kPathCap];       // its log; empty when it has none
  std::vector<std::string> description;  // lines of at most 80 characters where blanks allow
};

// The list of a workflow's errors, oldest first (by stamp, then name).
struct WFstatus_ErrorList {
  std::vector<WFstatus_Error*> errors;  // owned; linked through link.next in this order
  ~WFstatus_ErrorList();
  WFstatus_ErrorList() = default;
  WFstatus_ErrorList(const WFstatus_ErrorList&) = delete;
  WFstatus_ErrorList& operator=(const WFstatus_ErrorList&) = delete;
  void Clear();
  WtTableD_Record* First() const;
};

// --- The error directory --------------------------------------------------------------------

// Reads the error files of `directory` (names "^[0-9]*_.*\.err") into `list`
// (emptied first). A missing directory has none; an ".err" file that can't
// be read lists with its name, no folder and no retry.
void WFstatus_GetErrorList(StrIn directory, WFstatus_ErrorList& list);
// The record of one error file `errFile` (a path ending in ".err").
void WFstatus_ReadError(StrIn errFile, WFstatus_Error& error);
// `text` split into lines of at most `width` characters at blanks; a word
// longer than a line is cut into lines of its own.
std::vector<std::string> WFstatus_SplitDescription(const std::string& text, std::size_t width);
// The directory the demon knows a folder by: its real path, links resolved;
// the path as it stands when it can't be resolved.
std::string WFstatus_CanonicalDir(const std::string& directory);

// --- Acting on errors -----------------------------------------------------------------------
// Each takes the errors of `list` that are selected, or all with `all`, and
// tells "errors changed" when it changed anything.

// Moves each retryable error's file back to its folder under its own name,
// touches it and removes its ".err" and log; all files moved go to the
// demon as one ready list. The names that failed are told in one message
// (several end with ", ..."). False when any failed.
bool WFstatus_TryAgain(WFstatus_ErrorList& list, bool all);
// Moves the errors' files, ".err" files and logs into `directory` (nothing
// of an error is moved when its file exists there). False, with a message,
// when any failed.
bool WFstatus_MoveErrorFiles(WFstatus_ErrorList& list, bool all, StrIn directory);
// Removes the errors' files, ".err" files and logs. False, with a message,
// when any could not be removed.
bool WFstatus_DeleteErrorFiles(WFstatus_ErrorList& list, bool all);

// --- The window -----------------------------------------------------------------------------

// Shows the error window of `workflow` (made when first needed; a window
// showing another workflow shows this one instead). The workflow must live
// while the window shows it, or until WFstatus_CloseErrors.
void WFstatus_ShowErrors(WFbase workflow);
// Reads the list anew and shows it, keeping the selection by name.
void WFstatus_UpdateErrorList();
// Shows the description of the error selected and enables the commands the
// selection allows.
void WFstatus_UpdateError();
// Takes the window down (the workflow shown goes away).
void WFstatus_CloseErrors();
// Whether the window is shown, and its context (nil when never made).
bool WFstatus_ErrorsShown();
I_Context WFstatus_ErrorsContext();
// The list the window shows (empty when none).
WFstatus_ErrorList& WFstatus_ShownErrors();
