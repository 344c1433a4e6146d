// Messages and the error discipline of the whole system.
//
// A message is a catalog section and a number; its text comes from the pool
// of open catalogs. A routine that fails pushes its reasons on the reasoning
// stack and calls Messages_Error. An error nobody ignores prints the stack and
// ends the process with status 2; code that expects failure brackets the call
// with Messages_IgnoreErrors(true/false), tests its module's error variable
// and calls Messages_ForgetErrorReasons.
#pragma once

#include <cstdint>
#include <cstdio>
#include <type_traits>

#include "base/Strings.h"

// The result buffer of Messages_GetMessage and the walks. Shared: copy a
// message before asking for the next one.
extern char Messages_message[kTextCap];

inline constexpr std::size_t kMessagesStackSize = 48;

// Opens "marlmsg" and "marlerr" (errors ignored) and installs the crash report.
void Messages_Init();

// --- Catalog pool ------------------------------------------------------------

// Adds "<name>.srf" to the pool unless it is there; the newest is searched
// first. A catalog that cannot be opened is not added and the error reported.
void Messages_UseMsgCat(StrIn name);
// Reopens every catalog in the current language; those that fail leave the pool.
void Messages_ReloadAllMsgCats();

// --- Getting texts -----------------------------------------------------------

// The text of (section, number) into Messages_message; a missing one gives
// "*** ERROR (section, number) : message text not found ***".
void Messages_GetMessage(StrIn section, unsigned number);
// The same into the caller's buffer.
void Messages_GetMsg(StrIn section, unsigned number, StrOut text);
// The same from the pool of another language (opened on first use).
void Messages_GetForeignMessage(StrIn language, StrIn section, unsigned number);
void Messages_GetForeignMsg(StrIn language, StrIn section, unsigned number, StrOut text);
// Whether Messages_message holds the text for a missing message.
bool Messages_IsUndefMessage();
// How often texts of `section` were taken from the main pool.
unsigned Messages_SectionUseCount(StrIn section);
// Walks a section in number order; the first catalog of the pool holding it
// wins. Each step puts the text into Messages_message; empty at the end.
void Messages_StartSection(StrIn section);
bool Messages_NextMessage(unsigned& number);

// --- Failure -----------------------------------------------------------------

// Reports the error (section, number): pushed on the stack; ignored levels
// return to the caller, otherwise the process ends with status 2.
void Messages_Error(StrIn section, unsigned number);
// Pushes a reason; called before Messages_Error so that it stands under it.
void Messages_SupplyAdditionalInfo(StrIn text);
// Raises (true) or lowers (false) the ignore level.
void Messages_IgnoreErrors(bool on);
unsigned Messages_IgnoreLevel();
// The stack height; since the current level's recorded height if asked.
unsigned Messages_ErrorCount(bool sinceLevel);
// Cuts the stack back to the height recorded for the current level.
void Messages_ForgetErrorReasons();
// Pops the top reason into `text`; false on an empty stack.
bool Messages_ErrorReason(StrOut text);
// Writes the crash report of the stack to `file` and empties the stack.
void Messages_ShowError(std::FILE* file);
// When `condition` holds: every reason to standard error, exit status 1.
void Messages_TerminateIf(bool condition);

// Runs `call` inside an ignore bracket and forgets the reasons it left: for
// calls of lower modules whose failure is an answer, not an error. Returns
// what `call` returns.
template <class Call>
auto Messages_Quietly(Call call) {
  Messages_IgnoreErrors(true);
  if constexpr (std::is_void_v<decltype(call())>) {
    call();
    Messages_IgnoreErrors(false);
    Messages_ForgetErrorReasons();
  } else {
    auto result = call();
    Messages_IgnoreErrors(false);
    Messages_ForgetErrorReasons();
    return result;
  }
}
