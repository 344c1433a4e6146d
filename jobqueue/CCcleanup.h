// CCcleanup: the commands that run when a job has ended, each for a set of
// end states: remove a file, move a file, or run a shell command.
//
// Text form: the status set in words joined by ",", a blank, the type word,
// a blank, the first name with blanks and backslashes escaped, and for a move
// a blank and the second name escaped the same way.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

inline constexpr std::uint8_t CCcleanup_Remove = 0;
inline constexpr std::uint8_t CCcleanup_Move = 1;
inline constexpr std::uint8_t CCcleanup_Shell = 2;

struct CCcleanup_ListRec;
using CCcleanup_List = CCcleanup_ListRec*;

// --- Create and destroy: the caller owns what Create and Copy return -----------------
CCcleanup_List CCcleanup_Create();
CCcleanup_List CCcleanup_Copy(CCcleanup_List list);  // nil for nil
void CCcleanup_Destroy(CCcleanup_List& list);        // accepts nil

// --- Fill and query -----------------------------------------------------------------------
// `statusSet` has one bit per job status. `second` is kept for a move only.
// False for nil, an unknown type or an empty first name.
bool CCcleanup_AddCommand(CCcleanup_List list, std::uint8_t statusSet, std::uint8_t type, std::string_view first,
                          std::string_view second);
std::size_t CCcleanup_Count(CCcleanup_List list);
// The text form of entry `index`; empty out of range.
std::string CCcleanup_CommandToString(CCcleanup_List list, std::size_t index);
// Appends the command `text` describes; false (nothing added) otherwise.
bool CCcleanup_ParseCommand(CCcleanup_List list, std::string_view text);

// --- Run -----------------------------------------------------------------------------------
// Runs, in order, the commands whose set holds `status`. A move without a
// second name does nothing; every failure is silent.
void CCcleanup_Cleanup(CCcleanup_List list, std::uint8_t status);
