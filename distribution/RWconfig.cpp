// RWconfig: the object, its tables of servers and hot folders, the changes
// made since the file was read, targets and vectors of hot folders. The
// file itself is in RWconfigFile.cpp.
#include "distribution/RWconfig.h"

#include <cstring>

#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SDateAri.h"
#include "base/SPrintf.h"
#include "distribution/RWconfigRec.h"

char RWconfig_section[kSectionCap] = "RWconfig";

namespace {

// messages: RWconfig 10-12
constexpr unsigned kTargetWords = 10;  // 10 + kind: the target for people, with its name
const char* const kKindWords[] = {"unknown", "workflow", "webcheck_preprint"};

std::string Text(StrIn text) { return text.Str(); }

bool SameTarget(const RWconfig_Target& a, const RWconfig_Target& b) {
  return a.kind == b.kind && Strings_Equal(a.name, b.name);
}

// Equal apart from the id.
bool SameHotfolder(const RWconfig_Hotfolder& a, const RWconfig_Hotfolder& b) {
  return Strings_Equal(a.serverName, b.serverName) &&
         Strings_Equal(a.remoteSourceDirectory, b.remoteSourceDirectory) &&
         Strings_Equal(a.localTargetDirectory, b.localTargetDirectory) &&
         Strings_Equal(a.fileRegularExpression, b.fileRegularExpression) &&
         a.deleteSourceFilesAfterCopy == b.deleteSourceFilesAfterCopy && SameTarget(a.target, b.target);
}

// "%09.0f-%06d-%04d": milliseconds, process id and the object's counter.
void NewId(RWconfig config, StrOut id) {
  Strings_Assign("%09.0f-%06d-%04d", id);
  const SDateAri_Stamp now = SDateAri_Now();
  SPrintf_Real(id, static_cast<double>(now.seconds) * 1000.0 + now.nanoseconds / 1000000);
  SPrintf_Int(id, Processe_GetPID());
  SPrintf_Int(id, static_cast<std::int32_t>(++config->idCounter % 10000));
}

void PutHotfolder(RWconfig config, const RWconfig_Hotfolder& hotfolder) {
  const std::string key = RWconfig_Key(hotfolder);
  config->hotfolders[key] = hotfolder;
  config->hotfolderChanges[key] = hotfolder;
}

void DropHotfolder(RWconfig config, const std::string& key) {
  if (config->hotfolders.erase(key) != 0) config->hotfolderChanges[key] = std::nullopt;
}

template <class Map, class Record>
bool Iterate(const Map& map, typename Map::const_iterator& cursor, bool restart, Record& record) {
  if (restart) cursor = map.begin();
  if (cursor == map.end()) return false;
  record = cursor->second;
  ++cursor;
  return true;
}

}  // namespace

std::string RWconfig_Key(const RWconfig_Hotfolder& hotfolder) {
  const std::uint8_t kind = hotfolder.target.kind <= RWconfig_webcheckTarget ? hotfolder.target.kind : 0;
  return Text(hotfolder.serverName) + ":" + Text(hotfolder.remoteSourceDirectory) + "-->" +
         kKindWords[kind] + ":" + Text(hotfolder.target.name);
}

void RWconfig_Compose(unsigned number, StrOut text, StrIn first, StrIn second) {
  Messages_GetMsg(RWconfig_section, number, text);
  if (!first.Empty()) SPrintf_String(text, first);
  if (!second.Empty()) SPrintf_String(text, second);
}

bool RWconfig_IsModified(RWconfig config) {
  return config != nullptr && (config->settingsChanged || !config->serverChanges.empty() ||
                               !config->hotfolderChanges.empty());
}

void RWconfig_Merge(RWconfig config, RWconfig newer) {
  if (config == nullptr || newer == nullptr) return;
  if (config->settingsChanged) newer->settings = config->settings;
  for (const auto& [name, server] : config->serverChanges) {
    if (server) {
      newer->servers[name] = *server;
    } else {
      newer->servers.erase(name);
    }
  }
  for (const auto& [key, hotfolder] : config->hotfolderChanges) {
    if (hotfolder) {
      newer->hotfolders[key] = *hotfolder;
    } else {
      newer->hotfolders.erase(key);
    }
  }
  config->settings = newer->settings;
  config->servers = std::move(newer->servers);
  config->hotfolders = std::move(newer->hotfolders);
  config->read = newer->read;
  newer->servers.clear();
  newer->hotfolders.clear();
  config->serverCursor = config->servers.end();
  config->hotfolderCursor = config->hotfolders.end();
}

// --- Settings and servers -------------------------------------------------------------

void RWconfig_GetGlobalSettings(RWconfig config, RWbase_GlobalSettings& settings) {
  settings = config != nullptr ? config->settings : RWbase_GlobalSettings{};
}

void RWconfig_SetGlobalSettings(RWconfig config, const RWbase_GlobalSettings& settings) {
  if (config == nullptr || RWbase_EqualSettings(config->settings, settings)) return;
  config->settings = settings;
  config->settingsChanged = true;
}

bool RWconfig_IterateServer(RWconfig config, bool restart, RWbase_Server& server) {
  return config != nullptr && Iterate(config->servers, config->serverCursor, restart, server);
}

bool RWconfig_GetServer(RWconfig config, StrIn name, RWbase_Server& server) {
  if (config == nullptr) return false;
  const auto found = config->servers.find(name.Str());
  if (found == config->servers.end()) return false;
  server = found->second;
  return true;
}

void RWconfig_AddOrReplaceServer(RWconfig config, const RWbase_Server& server) {
  if (config == nullptr || StrIn(server.name).Empty()) return;
  const std::string name = Text(server.name);
  const auto found = config->servers.find(name);
  if (found != config->servers.end() && RWbase_EqualServers(found->second, server)) return;
  config->servers[name] = server;
  config->serverChanges[name] = server;
  config->serverCursor = config->servers.end();
}

bool RWconfig_RemoveServer(RWconfig config, StrIn name) {
  if (config == nullptr || config->servers.erase(name.Str()) == 0) return false;
  config->serverChanges[name.Str()] = std::nullopt;
  config->serverCursor = config->servers.end();
  return true;
}

bool RWconfig_IsServerUsed(RWconfig config, StrIn name) {
  if (config == nullptr) return false;
  for (const auto& [key, hotfolder] : config->hotfolders) {
    if (Strings_Equal(hotfolder.serverName, name)) return true;
  }
  return false;
}

// --- Hot folders --------------------------------------------------------------------------

bool RWconfig_IterateHotfolder(RWconfig config, bool restart, RWconfig_Hotfolder& hotfolder) {
  return config != nullptr && Iterate(config->hotfolders, config->hotfolderCursor, restart, hotfolder);
}

void RWconfig_GetTargetHotfolder(RWconfig config, RWconfig_TargetID target,
                                 RWconfig_HotfolderVector vector) {
  if (config == nullptr || target == nullptr || vector == nullptr) return;
  for (const auto& [key, hotfolder] : config->hotfolders) {
    if (SameTarget(hotfolder.target, *target)) vector->items.push_back(hotfolder);
  }
}

void RWconfig_SetTargetHotfolder(RWconfig config, RWconfig_TargetID target,
                                 RWconfig_HotfolderVector vector) {
  if (config == nullptr || target == nullptr) return;
  std::map<std::string, RWconfig_Hotfolder> wanted;
  if (vector != nullptr) {
    for (RWconfig_Hotfolder hotfolder : vector->items) {
      hotfolder.target = *target;
      wanted[RWconfig_Key(hotfolder)] = hotfolder;
    }
  }
  // The target's others go; one that stays as it is keeps its id.
  std::vector<std::string> gone;
  for (const auto& [key, hotfolder] : config->hotfolders) {
    if (!SameTarget(hotfolder.target, *target)) continue;
    const auto kept = wanted.find(key);
    if (kept != wanted.end() && SameHotfolder(kept->second, hotfolder)) {
      wanted.erase(kept);
    } else if (kept == wanted.end()) {
      gone.push_back(key);
    }
  }
  for (const std::string& key : gone) DropHotfolder(config, key);
  for (auto& [key, hotfolder] : wanted) {
    NewId(config, hotfolder.id);
    PutHotfolder(config, hotfolder);
  }
  config->hotfolderCursor = config->hotfolders.end();
}

void RWconfig_DeleteTargetHotfolder(RWconfig config, RWconfig_TargetID target) {
  RWconfig_SetTargetHotfolder(config, target, nullptr);
}

void RWconfig_GetHotfolderKey(const RWconfig_Hotfolder& hotfolder, StrOut key) {
  Strings_Assign(RWconfig_Key(hotfolder), key);
}

// --- Targets ----------------------------------------------------------------------------

RWconfig_TargetID RWconfig_CreateTargetID(std::uint8_t kind, StrIn name) {
  auto* target = new RWconfig_Target;
  target->kind = kind <= RWconfig_webcheckTarget ? kind : RWconfig_unknownTarget;
  Strings_Assign(name, target->name);
  return target;
}

RWconfig_TargetID RWconfig_CopyTargetID(RWconfig_TargetID target) {
  return target != nullptr ? new RWconfig_Target(*target) : nullptr;
}

void RWconfig_DestroyTargetID(RWconfig_TargetID& target) {
  delete target;
  target = nullptr;
}

bool RWconfig_EqualTargets(RWconfig_TargetID a, RWconfig_TargetID b) {
  if (a == nullptr || b == nullptr) return a == b;
  return SameTarget(*a, *b);
}

void RWconfig_GetTargetInfo(RWconfig_TargetID target, std::uint8_t& kind, StrOut name) {
  kind = target != nullptr ? target->kind : RWconfig_unknownTarget;
  Strings_Assign(target != nullptr ? StrIn(target->name) : StrIn(""), name);
}

void RWconfig_GetTargetDescription(RWconfig_TargetID target, StrOut text) {
  const std::uint8_t kind = target != nullptr ? target->kind : RWconfig_unknownTarget;
  RWconfig_Compose(kTargetWords + kind, text, target != nullptr ? StrIn(target->name) : StrIn(""));
}

// --- Vectors ------------------------------------------------------------------------------

RWconfig_HotfolderVector RWconfig_CreateHotfolderVector(std::size_t capacity) {
  auto* vector = new RWconfig_HotfolderVectorRec;
  vector->items.reserve(capacity);
  return vector;
}

void RWconfig_AddHotfolder(RWconfig_HotfolderVector vector, const RWconfig_Hotfolder& hotfolder) {
  if (vector != nullptr) vector->items.push_back(hotfolder);
}

bool RWconfig_DeleteHotfolder(RWconfig_HotfolderVector vector, std::size_t index) {
  if (vector == nullptr || index >= vector->items.size()) return false;
  vector->items.erase(vector->items.begin() + static_cast<std::ptrdiff_t>(index));
  return true;
}

bool RWconfig_GetHotfolder(RWconfig_HotfolderVector vector, std::size_t index,
                           RWconfig_Hotfolder& hotfolder) {
  if (vector == nullptr || index >= vector->items.size()) return false;
  hotfolder = vector->items[index];
  return true;
}

std::size_t RWconfig_HotfolderCount(RWconfig_HotfolderVector vector) {
  return vector != nullptr ? vector->items.size() : 0;
}

void RWconfig_DestroyHotfolderVector(RWconfig_HotfolderVector& vector) {
  delete vector;
  vector = nullptr;
}
