// CCrestrict: the restrictions of a job, which limit how many jobs of one
// name run at the same time.
//
// A job names its limits ("executionLimit" entries: a limit and a name); the
// queue keeps one table of the names in force, each with its limit and the
// ids of the jobs that count against it now.
//
// Text form: the type word, a blank, the limit in decimal, a blank, the name
// with blanks and backslashes escaped.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Strings.h"

inline constexpr std::uint8_t CCrestrict_ExecutionLimit = 1;

struct CCrestrict_ListRec;
using CCrestrict_List = CCrestrict_ListRec*;
struct CCrestrict_TableRec;
using CCrestrict_Table = CCrestrict_TableRec*;

// --- Create and destroy: the caller owns what Create and Copy return -----------------
CCrestrict_List CCrestrict_Create();
CCrestrict_List CCrestrict_Copy(CCrestrict_List list);  // nil for nil
void CCrestrict_Destroy(CCrestrict_List& list);         // accepts nil
CCrestrict_Table CCrestrict_CreateTable();
void CCrestrict_DestroyTable(CCrestrict_Table& table);  // accepts nil

// --- Fill and query -----------------------------------------------------------------------
// False for nil or an empty name.
bool CCrestrict_AddExecutionLimit(CCrestrict_List list, std::int32_t limit, std::string_view name);
std::size_t CCrestrict_Count(CCrestrict_List list);
// The text form of entry `index`; empty out of range.
std::string CCrestrict_RestrictionToString(CCrestrict_List list, std::size_t index);
// Appends the restriction `text` describes; false (nothing added) for a text
// of another form.
bool CCrestrict_ParseRestriction(CCrestrict_List list, std::string_view text);

// --- The queue's table ----------------------------------------------------------------------
// True unless a limit of the list is reached: its name's table entry holds
// `limit` ids or more.
bool CCrestrict_Check(CCrestrict_List list, CCrestrict_Table table);
// Counts `jobId` against every name of the list (entries made as needed).
void CCrestrict_Enter(CCrestrict_List list, StrIn jobId, CCrestrict_Table table);
// Takes `jobId` off again.
void CCrestrict_Delete(CCrestrict_List list, StrIn jobId, CCrestrict_Table table);
// How many ids count against `name` now.
std::size_t CCrestrict_Running(CCrestrict_Table table, std::string_view name);
