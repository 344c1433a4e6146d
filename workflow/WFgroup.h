// WFgroup: named groups of workflows, shared by all users of a site.
//
// The groups live in "floatdeck.groups" in the first element of TV_CUSTOMER,
// one line per group: the group's name with ":", "\" and a line feed escaped
// ("\:", "\\", "\n"), a ":", then the names of its workflows separated by
// ",", each with ",", "\" and a line feed escaped. A group without workflows
// is its name and the ":". A workflow belongs to at most one group.
//
// The module keeps the current list (WFgroup_grpList, sorted by name) and a
// table from workflow name to its group (WFgroup_grpTable). Every query first
// looks at the file's time and reads it again when it changed, so another
// user's change shows at the next query. Every change takes the file's lock,
// reads the file again, changes, writes and lets go, so two managers don't
// lose each other's changes; the new file is written beside the old one and
// renamed over it, so nobody ever reads half a file.
//
// Failures are silent: a change that can't have the lock (10 tries, 50 ms
// apart) or can't write the file answers false and leaves things as they are.
#pragma once

#include <cstdint>

#include "base/StrHash.h"
#include "base/Strings.h"

inline constexpr char WFgroup_fileName[] = "floatdeck.groups";

// One group. A list owns its groups, linked by next.
struct WFgroup_Group {
  WFgroup_Group* next;
  bool selected;               // dialog mark
  char name[kNameCap];
  char oldName[kNameCap];      // the name when the list was saved last: a rename follows it
  std::uint32_t count;         // workflows in the group
};

// What tells one state of the group file from another: its time to the
// nanosecond, its identity and size. All zero for a missing file.
struct WFgroup_FileTime {
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0;
};
bool operator==(const WFgroup_FileTime& a, const WFgroup_FileTime& b);

// A list of groups and the state of the file it was read from.
struct WFgroup_ListRec {
  WFgroup_Group* head = nullptr;
  WFgroup_FileTime mtime{};
};
using WFgroup_List = WFgroup_ListRec*;

// The current list, sorted by name; nil before the first query.
extern WFgroup_List WFgroup_grpList;
// Workflow name to its group of WFgroup_grpList (1024 buckets).
extern StrHash WFgroup_grpTable;

// Starts the modules used and registers the groups with WFbase, so that the
// workflow lists can be asked by group; once.
void WFgroup_Init();

// --- Groups and lists in memory ------------------------------------------------------------

// A new unlinked group with name and old name `name`; the caller owns it.
WFgroup_Group* WFgroup_CreateGroup(StrIn name);
// Frees one group (not its successors) and sets it to nil; nil is accepted.
void WFgroup_DestroyGroup(WFgroup_Group*& group);
// An unlinked copy; nil for nil.
WFgroup_Group* WFgroup_CopyGroup(const WFgroup_Group* group);
// A new empty list with an all-zero time; the caller owns it.
WFgroup_List WFgroup_CreateGroupList();
// A deep copy, time included; nil for nil.
WFgroup_List WFgroup_CopyGroupList(WFgroup_List list);
// Frees the list and its groups and sets it to nil; nil is accepted.
void WFgroup_DestroyGroupList(WFgroup_List& list);
WFgroup_List WFgroup_NilGroupList();
// The group `name` in its sorted place (byte order); an existing group of
// that name is returned instead of a second one. Nil for a nil list.
WFgroup_Group* WFgroup_InsertGroup(WFgroup_List list, StrIn name);
// A new group `name` in front of the list, whatever the order. Nil for nil.
WFgroup_Group* WFgroup_PrependGroup(WFgroup_List list, StrIn name);
// Look-ups; nil when there is none.
WFgroup_Group* WFgroup_GetGroupByName(WFgroup_List list, StrIn name);
WFgroup_Group* WFgroup_GetGroupByOldName(WFgroup_List list, StrIn oldName);
WFgroup_Group* WFgroup_GetFirstGroup(WFgroup_List list);
WFgroup_Group* WFgroup_GetFirstSelected(WFgroup_List list);
// The group at `index`, counted from 0 in list order.
WFgroup_Group* WFgroup_GetNthGroup(WFgroup_List list, std::uint32_t index);
void WFgroup_SetAllSelected(WFgroup_List list, bool selected);
// Takes the selected groups out of the list and frees them.
void WFgroup_DeleteAllSelected(WFgroup_List list);
// The group's name; empty for nil.
void WFgroup_GetName(const WFgroup_Group* group, StrOut name);

// --- The site's groups -----------------------------------------------------------------------

// Reads the file again when it changed; then whether any group exists.
bool WFgroup_Active();
// A private copy of the current list for the dialog (an empty one when there
// are no groups); the caller owns it.
WFgroup_List WFgroup_LoadGroupList();
// Makes `list` (still the caller's) the site's groups. Each workflow keeps
// its group under the group's new name when the group was renamed in `list`
// (found by old name), and loses it when the group is gone. Old names become
// the names. True when the file was written.
bool WFgroup_SaveGroupList(WFgroup_List list);
// Whether the list is nil or `mtime` differs from the list's time.
bool WFgroup_ListExpired(WFgroup_List list, const WFgroup_FileTime& mtime);
// Whether the list is nil or the file's time differs from the list's.
bool WFgroup_Expired(WFgroup_List list);
// The group of `workflow`; empty when it has none.
void WFgroup_GetGroup(StrIn workflow, StrOut group);
// Moves `workflow` into `group`; a group that doesn't exist, or an empty
// name, takes it out of any group. True when the file was written.
bool WFgroup_SetGroup(StrIn workflow, StrIn group);
// Makes the group when it is missing (in front of the list; it finds its
// sorted place at the next read). An empty name does nothing. True when the
// group exists afterwards.
bool WFgroup_AssertGroup(StrIn group);

// --- The file ------------------------------------------------------------------------------

// The full name of the group file.
void WFgroup_GetFileName(StrOut path);
// Opens the file for reading and writing and takes its lock, trying 10 times
// 50 ms apart; with `create` a missing file is made (mode 0666). The
// descriptor, or -1 when the file is missing or the lock can't be had.
int WFgroup_OpenAndLock(bool create);
// Lets go of the lock and closes; -1 is accepted. Sets `file` to -1.
void WFgroup_CloseAndUnlock(int& file);
// Reads the file again when the current list expired; a missing file means
// no groups. Takes no lock: every file at the path is a whole one.
void WFgroup_Update();
// Replaces the current list and table by what the open `file` holds.
void WFgroup_Reload(int file);
// Writes the current list and table as the new group file, beside the old
// one, renamed over it. The lock on `file` is kept. False on failure.
bool WFgroup_Save(int file);
