// WFgroup: groups and group lists in memory. The site's file and the current
// list are in WFgroupFile.cpp.
#include "workflow/WFgroup.h"

#include "base/StringOp.h"

bool operator==(const WFgroup_FileTime& a, const WFgroup_FileTime& b) {
  return a.seconds == b.seconds && a.nanoseconds == b.nanoseconds && a.inode == b.inode &&
         a.size == b.size;
}

WFgroup_Group* WFgroup_CreateGroup(StrIn name) {
  auto* group = new WFgroup_Group{nullptr, false, "", "", 0};
  Strings_Assign(name, group->name);
  Strings_Assign(name, group->oldName);
  return group;
}

void WFgroup_DestroyGroup(WFgroup_Group*& group) {
  delete group;
  group = nullptr;
}

WFgroup_Group* WFgroup_CopyGroup(const WFgroup_Group* group) {
  if (group == nullptr) return nullptr;
  auto* copy = new WFgroup_Group(*group);
  copy->next = nullptr;
  return copy;
}

WFgroup_List WFgroup_CreateGroupList() { return new WFgroup_ListRec; }

WFgroup_List WFgroup_CopyGroupList(WFgroup_List list) {
  if (list == nullptr) return nullptr;
  WFgroup_List copy = WFgroup_CreateGroupList();
  copy->mtime = list->mtime;
  WFgroup_Group** tail = &copy->head;
  for (const WFgroup_Group* group = list->head; group != nullptr; group = group->next) {
    *tail = WFgroup_CopyGroup(group);
    tail = &(*tail)->next;
  }
  return copy;
}

void WFgroup_DestroyGroupList(WFgroup_List& list) {
  if (list == nullptr) return;
  while (list->head != nullptr) {
    WFgroup_Group* group = list->head;
    list->head = group->next;
    WFgroup_DestroyGroup(group);
  }
  delete list;
  list = nullptr;
}

WFgroup_List WFgroup_NilGroupList() { return nullptr; }

WFgroup_Group* WFgroup_InsertGroup(WFgroup_List list, StrIn name) {
  if (list == nullptr) return nullptr;
  WFgroup_Group** place = &list->head;
  while (*place != nullptr) {
    const int order = StringOp_CompareStr((*place)->name, name);
    if (order == 0) return *place;
    if (order > 0) break;
    place = &(*place)->next;
  }
  WFgroup_Group* group = WFgroup_CreateGroup(name);
  group->next = *place;
  *place = group;
  return group;
}

WFgroup_Group* WFgroup_PrependGroup(WFgroup_List list, StrIn name) {
  if (list == nullptr) return nullptr;
  WFgroup_Group* group = WFgroup_CreateGroup(name);
  group->next = list->head;
  list->head = group;
  return group;
}

WFgroup_Group* WFgroup_GetGroupByName(WFgroup_List list, StrIn name) {
  for (WFgroup_Group* group = WFgroup_GetFirstGroup(list); group != nullptr; group = group->next) {
    if (Strings_Equal(group->name, name)) return group;
  }
  return nullptr;
}

WFgroup_Group* WFgroup_GetGroupByOldName(WFgroup_List list, StrIn oldName) {
  for (WFgroup_Group* group = WFgroup_GetFirstGroup(list); group != nullptr; group = group->next) {
    if (Strings_Equal(group->oldName, oldName)) return group;
  }
  return nullptr;
}

WFgroup_Group* WFgroup_GetFirstGroup(WFgroup_List list) { return list != nullptr ? list->head : nullptr; }

WFgroup_Group* WFgroup_GetFirstSelected(WFgroup_List list) {
  for (WFgroup_Group* group = WFgroup_GetFirstGroup(list); group != nullptr; group = group->next) {
    if (group->selected) return group;
  }
  return nullptr;
}

WFgroup_Group* WFgroup_GetNthGroup(WFgroup_List list, std::uint32_t index) {
  WFgroup_Group* group = WFgroup_GetFirstGroup(list);
  for (; group != nullptr && index > 0; --index) group = group->next;
  return group;
}

void WFgroup_SetAllSelected(WFgroup_List list, bool selected) {
  for (WFgroup_Group* group = WFgroup_GetFirstGroup(list); group != nullptr; group = group->next) {
    group->selected = selected;
  }
}

void WFgroup_DeleteAllSelected(WFgroup_List list) {
  if (list == nullptr) return;
  WFgroup_Group** place = &list->head;
  while (*place != nullptr) {
    WFgroup_Group* group = *place;
    if (!group->selected) {
      place = &group->next;
      continue;
    }
    *place = group->next;
    WFgroup_DestroyGroup(group);
  }
}

void WFgroup_GetName(const WFgroup_Group* group, StrOut name) {
  Strings_Assign(group != nullptr ? StrIn(group->name) : StrIn(""), name);
}
