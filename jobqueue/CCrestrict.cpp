#include "jobqueue/CCrestrict.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <vector>

#include "jobqueue/CCtypes.h"

struct CCrestrict_ListRec {
  struct Entry {
    std::uint8_t type = CCrestrict_ExecutionLimit;
    std::int32_t limit = 0;
    std::string name;
  };
  std::vector<Entry> entries;
};

struct CCrestrict_TableRec {
  struct Entry {
    std::int32_t limit = 0;
    std::vector<std::string> ids;
  };
  std::map<std::string, Entry, std::less<>> names;
};

CCrestrict_List CCrestrict_Create() { return new CCrestrict_ListRec; }
CCrestrict_List CCrestrict_Copy(CCrestrict_List list) { return list == nullptr ? nullptr : new CCrestrict_ListRec(*list); }

void CCrestrict_Destroy(CCrestrict_List& list) {
  delete list;
  list = nullptr;
}

CCrestrict_Table CCrestrict_CreateTable() { return new CCrestrict_TableRec; }

void CCrestrict_DestroyTable(CCrestrict_Table& table) {
  delete table;
  table = nullptr;
}

bool CCrestrict_AddExecutionLimit(CCrestrict_List list, std::int32_t limit, std::string_view name) {
  if (list == nullptr || name.empty()) return false;
  list->entries.push_back({CCrestrict_ExecutionLimit, limit, std::string(name)});
  return true;
}

std::size_t CCrestrict_Count(CCrestrict_List list) { return list == nullptr ? 0 : list->entries.size(); }

std::string CCrestrict_RestrictionToString(CCrestrict_List list, std::size_t index) {
  if (index >= CCrestrict_Count(list)) return "";
  const auto& e = list->entries[index];
  return std::string(e.type == CCrestrict_ExecutionLimit ? "executionLimit" : "unknown") + " " +
         std::to_string(e.limit) + " " + CCtypes_Escape(e.name);
}

bool CCrestrict_ParseRestriction(CCrestrict_List list, std::string_view text) {
  const std::vector<std::string> tokens = CCtypes_SplitEscaped(text);
  if (tokens.size() != 3 || tokens[0] != "executionLimit") return false;
  std::int32_t limit = 0;
  const auto [end, error] = std::from_chars(tokens[1].data(), tokens[1].data() + tokens[1].size(), limit);
  if (error != std::errc() || end != tokens[1].data() + tokens[1].size()) return false;
  return CCrestrict_AddExecutionLimit(list, limit, tokens[2]);
}

bool CCrestrict_Check(CCrestrict_List list, CCrestrict_Table table) {
  if (list == nullptr || table == nullptr) return true;
  for (const auto& e : list->entries) {
    if (e.type != CCrestrict_ExecutionLimit) continue;
    const auto found = table->names.find(e.name);
    if (found != table->names.end() && found->second.ids.size() >= static_cast<std::size_t>(std::max(e.limit, 0)))
      return false;
  }
  return true;
}

void CCrestrict_Enter(CCrestrict_List list, StrIn jobId, CCrestrict_Table table) {
  if (list == nullptr || table == nullptr) return;
  for (const auto& e : list->entries) {
    auto [at, made] = table->names.try_emplace(e.name);
    if (made) at->second.limit = e.limit;
    auto& ids = at->second.ids;
    if (std::find(ids.begin(), ids.end(), jobId.View()) == ids.end()) ids.push_back(jobId.Str());
  }
}

void CCrestrict_Delete(CCrestrict_List list, StrIn jobId, CCrestrict_Table table) {
  if (list == nullptr || table == nullptr) return;
  for (const auto& e : list->entries) {
    const auto at = table->names.find(e.name);
    if (at == table->names.end()) continue;
    auto& ids = at->second.ids;
    ids.erase(std::remove(ids.begin(), ids.end(), jobId.View()), ids.end());
    if (ids.empty()) table->names.erase(at);
  }
}

std::size_t CCrestrict_Running(CCrestrict_Table table, std::string_view name) {
  if (table == nullptr) return 0;
  const auto at = table->names.find(name);
  return at == table->names.end() ? 0 : at->second.ids.size();
}
