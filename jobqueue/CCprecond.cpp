#include "jobqueue/CCprecond.h"

#include <set>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "jobqueue/SRM.h"

struct CCprecond_EntryRec {
  std::string name;
  bool satisfied = false;
  std::uint8_t type = 0;
  bool inherited = false;
  bool held = false;  // reserved or taken by this list and not given back
};

struct CCprecond_ListRec {
  std::vector<CCprecond_EntryRec> entries;
  std::size_t cursor = 0;
};

struct CCprecond_FailTableRec {
  std::set<std::pair<std::uint8_t, std::string>> failed;
};

namespace {

constexpr const char* kTypeWords[] = {"unknown", "file", "resource", "script"};

bool InFailTable(CCprecond_FailTable table, const CCprecond_EntryRec& e) {
  return table != nullptr && table->failed.count({e.type, e.name}) > 0;
}

void Fail(CCprecond_FailTable table, const CCprecond_EntryRec& e) {
  if (table != nullptr) table->failed.insert({e.type, e.name});
}

void Release(CCprecond_EntryRec& e) {
  if (!e.held) return;
  SRM_Release(e.name);
  e.held = false;
}

bool Reserve(CCprecond_EntryRec& e, CCprecond_FailTable table) {
  if (e.inherited || e.held) return true;
  if (InFailTable(table, e)) return false;
  e.held = SRM_Reserve(e.name, false);
  if (!e.held) Fail(table, e);
  return e.held;
}

bool FileExists(const CCprecond_EntryRec& e, StrIn workDir) {
  char path[kTextCap];
  if (e.name.front() != '/' && !workDir.Empty()) DirAcces_IncludePath(workDir, e.name, path);
  else Strings_Assign(e.name, path);
  return DirAcces_Access(path, DirAcces_Mode::Exists);
}

// Scripts run in the job's directory; the first one of a check goes there.
struct ScriptDir {
  bool tried = false, failed = false, moved = false;
  char old[kPathCap] = "";
  bool Enter(StrIn workDir) {
    if (tried) return !failed;
    tried = true;
    if (workDir.Empty()) return true;
    DirAcces_CanonicalCurrentDir(old);
    moved = Messages_Quietly([&] { return DirAcces_ChDir(workDir); });
    failed = !moved;
    return moved;
  }
  ~ScriptDir() {
    if (moved) Messages_Quietly([&] { return DirAcces_ChDir(old); });
  }
};

bool RunScript(const CCprecond_EntryRec& e, CCprecond_FailTable table, ScriptDir& dir, StrIn workDir) {
  if (!dir.Enter(workDir) || InFailTable(table, e)) return false;
  const bool ok = Processe_ExecuteCommand(e.name, 0) == 0;
  if (!ok) Fail(table, e);
  return ok;
}

}  // namespace

CCprecond_List CCprecond_Create() { return new CCprecond_ListRec; }

CCprecond_List CCprecond_Copy(CCprecond_List list) {
  if (list == nullptr) return nullptr;
  auto* copy = new CCprecond_ListRec;
  copy->entries = list->entries;
  for (auto& e : copy->entries) e.held = false;  // a reservation has one holder
  return copy;
}

void CCprecond_Destroy(CCprecond_List& list) {
  delete list;
  list = nullptr;
}

CCprecond_FailTable CCprecond_CreateFailTable() { return new CCprecond_FailTableRec; }

void CCprecond_DestroyFailTable(CCprecond_FailTable& table) {
  delete table;
  table = nullptr;
}

CCprecond_FailTable CCprecond_NilFailTable() { return nullptr; }

bool CCprecond_AddPrecondition(CCprecond_List list, std::uint8_t type, std::string_view name) {
  if (list == nullptr || type < CCprecond_File || type > CCprecond_Script || name.empty()) return false;
  CCprecond_EntryRec e;
  e.name = name;
  e.type = type;
  list->entries.push_back(std::move(e));
  return true;
}

bool CCprecond_AddInheritedResource(CCprecond_List list, std::string_view name) {
  if (!CCprecond_AddPrecondition(list, CCprecond_Resource, name)) return false;
  list->entries.back().inherited = true;
  return true;
}

std::size_t CCprecond_Count(CCprecond_List list) { return list == nullptr ? 0 : list->entries.size(); }

bool CCprecond_IteratePreconditions(CCprecond_List list, bool first, CCprecond_Entry& entry) {
  entry = nullptr;
  if (list == nullptr) return false;
  if (first) list->cursor = 0;
  if (list->cursor >= list->entries.size()) return false;
  entry = &list->entries[list->cursor++];
  return true;
}

std::uint8_t CCprecond_Type(CCprecond_Entry entry) { return entry == nullptr ? 0 : entry->type; }
std::string_view CCprecond_GetName(CCprecond_Entry entry) { return entry == nullptr ? "" : entry->name; }
bool CCprecond_IsSatisfied(CCprecond_Entry entry) { return entry != nullptr && entry->satisfied; }
bool CCprecond_IsInherited(CCprecond_Entry entry) { return entry != nullptr && entry->inherited; }

std::string CCprecond_PreconditionToString(CCprecond_Entry entry) {
  if (entry == nullptr) return "";
  std::string text = kTypeWords[entry->type <= CCprecond_Script ? entry->type : 0];
  if (entry->type == CCprecond_Resource) text += entry->inherited ? " 1" : " 0";
  return text + " " + entry->name;
}

bool CCprecond_ParsePrecondition(CCprecond_List list, std::string_view text) {
  auto word = [&text]() {
    const std::size_t start = text.find_first_not_of(' ');
    if (start == std::string_view::npos) return std::string_view();
    text.remove_prefix(start);
    const std::string_view w = text.substr(0, text.find(' '));
    text.remove_prefix(w.size());
    return w;
  };
  const std::string_view type = word();
  std::uint8_t number = 0;
  for (std::uint8_t t = CCprecond_File; t <= CCprecond_Script; ++t)
    if (type == kTypeWords[t]) number = t;
  if (number == 0) return false;
  bool inherited = false;
  if (number == CCprecond_Resource) {
    const std::string_view flag = word();
    if (flag != "0" && flag != "1") return false;
    inherited = flag == "1";
  }
  const std::size_t start = text.find_first_not_of(' ');
  if (start == std::string_view::npos) return false;
  return inherited ? CCprecond_AddInheritedResource(list, text.substr(start))
                   : CCprecond_AddPrecondition(list, number, text.substr(start));
}

bool CCprecond_Check(CCprecond_List list, StrIn workDir, CCprecond_FailTable failTable, bool all) {
  if (list == nullptr || list->entries.empty()) return true;
  for (auto& e : list->entries) e.satisfied = false;
  bool result = true;
  std::size_t failedAt = list->entries.size();
  {
    ScriptDir dir;  // back to the old directory when the pass is over
    for (std::size_t i = 0; i < list->entries.size(); ++i) {
      CCprecond_EntryRec& e = list->entries[i];
      switch (e.type) {
        case CCprecond_File: e.satisfied = FileExists(e, workDir); break;
        case CCprecond_Resource: e.satisfied = Reserve(e, failTable); break;
        case CCprecond_Script: e.satisfied = RunScript(e, failTable, dir, workDir); break;
        default: e.satisfied = false; break;
      }
      if (e.satisfied) continue;
      result = false;
      if (!all) {
        failedAt = i;
        break;
      }
    }
  }
  // Nothing is kept but by a check that held all the way.
  const std::size_t releaseUpTo = all ? list->entries.size() : result ? 0 : failedAt;
  for (std::size_t i = 0; i < releaseUpTo; ++i)
    if (!list->entries[i].inherited) Release(list->entries[i]);
  return result;
}

void CCprecond_ReleaseResources(CCprecond_List list, bool alsoInherited) {
  if (list == nullptr) return;
  for (auto& e : list->entries)
    if (e.type == CCprecond_Resource && (alsoInherited || !e.inherited)) Release(e);
}

void CCprecond_UseResources(CCprecond_List list, bool all) {
  if (list == nullptr) return;
  bool used = false;
  for (auto& e : list->entries) {
    if (e.type != CCprecond_Resource || e.held || !(all || e.inherited)) continue;
    e.held = SRM_Use(e.name, "", false);
    e.satisfied = e.satisfied || e.held;
    used = used || e.held;
  }
  // Uses travel without an answer; a question behind them on the same line
  // makes sure the manager took them before the submitter lets go.
  if (!used) return;
  char barrier[kNameCap] = "CCprecond";
  SRM_ReadResource(barrier);
  SRM_QueryInUse(barrier);
}

void CCprecond_InheritResourcesToServer(CCprecond_List list) {
  if (list == nullptr) return;
  for (const auto& e : list->entries)
    if (e.type == CCprecond_Resource && e.inherited) SRM_Release(e.name);
}
