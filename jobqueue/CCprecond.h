// CCprecond: the preconditions of a job, which must hold before it starts.
//
// An entry is a file that must exist, a resource of the resource manager that
// must be free (and is reserved for the job), or a shell command that must
// end with status 0. A resource the submitter reserved and passes on with the
// job is "inherited": it counts as held. The queue server checks the list
// before it hands a job out; a check that succeeds leaves the job holding its
// resources, one that fails holds nothing.
//
// Text form: the type word; for a resource, directly behind it, the inherited
// flag in a field of width 2 (" 0" or " 1"); a blank; the name as it stands
// up to the end.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Strings.h"

inline constexpr std::uint8_t CCprecond_File = 1;
inline constexpr std::uint8_t CCprecond_Resource = 2;
inline constexpr std::uint8_t CCprecond_Script = 3;

struct CCprecond_ListRec;
using CCprecond_List = CCprecond_ListRec*;
struct CCprecond_EntryRec;
// A link into a list, valid while the list lives and is not changed.
using CCprecond_Entry = const CCprecond_EntryRec*;
struct CCprecond_FailTableRec;
// Names that failed once in a pass over a queue, so that they are not tried
// again for the next job of that pass.
using CCprecond_FailTable = CCprecond_FailTableRec*;

// --- Create and destroy -------------------------------------------------------------
// Lists belong to their job; the caller of Create and Copy owns the result.
CCprecond_List CCprecond_Create();
CCprecond_List CCprecond_Copy(CCprecond_List list);  // nil for nil
void CCprecond_Destroy(CCprecond_List& list);        // accepts nil

CCprecond_FailTable CCprecond_CreateFailTable();
void CCprecond_DestroyFailTable(CCprecond_FailTable& table);  // accepts nil
CCprecond_FailTable CCprecond_NilFailTable();

// --- Fill ---------------------------------------------------------------------------
// False for nil, an unknown type or an empty name.
bool CCprecond_AddPrecondition(CCprecond_List list, std::uint8_t type, std::string_view name);
bool CCprecond_AddInheritedResource(CCprecond_List list, std::string_view name);

// --- Query --------------------------------------------------------------------------
std::size_t CCprecond_Count(CCprecond_List list);
// Walks the list: `first` starts over. False at the end (entry nil).
bool CCprecond_IteratePreconditions(CCprecond_List list, bool first, CCprecond_Entry& entry);
std::uint8_t CCprecond_Type(CCprecond_Entry entry);     // 0 for nil
std::string_view CCprecond_GetName(CCprecond_Entry entry);  // valid while the entry is
bool CCprecond_IsSatisfied(CCprecond_Entry entry);      // as the last check found it
bool CCprecond_IsInherited(CCprecond_Entry entry);

// --- Text form ------------------------------------------------------------------------
std::string CCprecond_PreconditionToString(CCprecond_Entry entry);
// Appends the precondition `text` describes; false (nothing added) for a bad
// type word, a bad inherited flag or an empty name.
bool CCprecond_ParsePrecondition(CCprecond_List list, std::string_view text);

// --- Evaluation ---------------------------------------------------------------------------
// Checks the entries in order: a file (relative names within `workDir`) must
// exist; a resource is reserved unless inherited or in `failTable`; a script
// runs through the shell in `workDir`, status 0 satisfies it. Names that fail
// go into `failTable` (nil: none kept). Without `all` it stops at the first
// failure. What it reserved is released again when it fails and, with `all`,
// always. Changes the current directory for the time of the scripts: one
// thread only.
bool CCprecond_Check(CCprecond_List list, StrIn workDir, CCprecond_FailTable failTable, bool all);
// Gives back the resources the list holds; inherited ones only with `alsoInherited`.
void CCprecond_ReleaseResources(CCprecond_List list, bool alsoInherited);
// Takes the list's resources without asking: only the inherited ones (a
// server accepting a job), or with `all` every one (a server taking back
// what its running jobs held before it restarted).
void CCprecond_UseResources(CCprecond_List list, bool all);
// The submitter's side of inheriting: once the server holds the inherited
// resources, the submitter gives its own reservation of them back.
void CCprecond_InheritResourcesToServer(CCprecond_List list);
