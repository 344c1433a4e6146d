#include "jobqueue/CCcleanup.h"

#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "jobqueue/CCtypes.h"

struct CCcleanup_ListRec {
  struct Entry {
    std::uint8_t statusSet = 0;
    std::uint8_t type = CCcleanup_Remove;
    std::string first, second;
  };
  std::vector<Entry> entries;
};

namespace {

constexpr const char* kTypeWords[] = {"remove", "move", "shell"};

}  // namespace

CCcleanup_List CCcleanup_Create() { return new CCcleanup_ListRec; }
CCcleanup_List CCcleanup_Copy(CCcleanup_List list) { return list == nullptr ? nullptr : new CCcleanup_ListRec(*list); }

void CCcleanup_Destroy(CCcleanup_List& list) {
  delete list;
  list = nullptr;
}

bool CCcleanup_AddCommand(CCcleanup_List list, std::uint8_t statusSet, std::uint8_t type, std::string_view first,
                          std::string_view second) {
  if (list == nullptr || type > CCcleanup_Shell || first.empty()) return false;
  list->entries.push_back({statusSet, type, std::string(first), type == CCcleanup_Move ? std::string(second) : ""});
  return true;
}

std::size_t CCcleanup_Count(CCcleanup_List list) { return list == nullptr ? 0 : list->entries.size(); }

std::string CCcleanup_CommandToString(CCcleanup_List list, std::size_t index) {
  if (index >= CCcleanup_Count(list)) return "";
  const auto& e = list->entries[index];
  char states[kTextCap];
  CCtypes_JobStatusSetToString(e.statusSet, states);
  std::string text = StrIn(states).Str() + " " + kTypeWords[e.type] + " " + CCtypes_Escape(e.first);
  if (!e.second.empty()) text += " " + CCtypes_Escape(e.second);
  return text;
}

bool CCcleanup_ParseCommand(CCcleanup_List list, std::string_view text) {
  const std::vector<std::string> tokens = CCtypes_SplitEscaped(text);
  if (tokens.size() < 3 || tokens.size() > 4) return false;
  for (std::uint8_t type = CCcleanup_Remove; type <= CCcleanup_Shell; ++type)
    if (tokens[1] == kTypeWords[type])
      return CCcleanup_AddCommand(list, CCtypes_StringToJobStatusSet(tokens[0]), type, tokens[2],
                                  tokens.size() == 4 ? tokens[3] : "");
  return false;
}

void CCcleanup_Cleanup(CCcleanup_List list, std::uint8_t status) {
  if (list == nullptr || status > 7) return;
  for (const auto& e : list->entries) {
    if ((e.statusSet >> status & 1U) == 0) continue;
    switch (e.type) {
      case CCcleanup_Remove: Messages_Quietly([&] { return DirAcces_Remove(e.first); }); break;
      case CCcleanup_Move:
        if (!e.second.empty()) Messages_Quietly([&] { return DirAcces_Move(e.first, e.second); });
        break;
      default: Processe_ExecuteCommand(e.first, 0); break;
    }
  }
}
