// WFjobStat: the table of files in the job queue, fed by job events.
#include "watch/WFjobStat.h"

#include <array>
#include <map>
#include <string>

#include "jobqueue/CCclient.h"
#include "jobqueue/CCtypes.h"
#include "watch/TVWbase.h"

namespace {

struct Folder {
  std::map<std::string, std::uint8_t> files;
  std::array<std::size_t, 3> counts{};  // files of each status
};

std::map<std::string, Folder> folderTable;
SClient listener = nullptr;

std::string Key(StrIn folder) {
  std::string key = folder.Str();
  while (key.size() > 1 && key.back() == '/') key.pop_back();
  return key;
}

// The addons' tokens keep their escapes; the table holds plain names.
std::string Plain(StrIn token) { return CCtypes_Unescape(token.View()); }

void TakeEvent(const CCjobEvent_Event& event) {
  if (event.submitterName != TVWbase_demonName) return;
  TextStr first, second;
  TVWbase_FileList files = nullptr;
  if (!TVWbase_DecodeJobAddons(event.submitterAddons, first, second, files)) return;
  const std::string folder = Plain(first);
  for (std::size_t i = 0; i < StrVector_ElementCount(files); ++i) {
    const std::string file = Plain(StrVector_DynElementAt(files, i));
    if (event.removed) WFjobStat_DeleteFile(folder, file);
    else WFjobStat_AddFile(folder, file, event.status == CCtypes_Running ? WFjobStat_Running : WFjobStat_Waiting);
  }
  TVWbase_DestroyFileList(files);
}

}  // namespace

void WFjobStat_AddFile(StrIn folder, StrIn file, std::uint8_t status) {
  if (folder.Empty() || file.Empty() || status > WFjobStat_Running) return;
  Folder& f = folderTable[Key(folder)];
  const auto [at, added] = f.files.try_emplace(file.Str(), status);
  if (!added) --f.counts[at->second];
  at->second = status;
  ++f.counts[status];
}

void WFjobStat_DeleteFile(StrIn folder, StrIn file) {
  const auto f = folderTable.find(Key(folder));
  if (f == folderTable.end()) return;
  const auto at = f->second.files.find(file.Str());
  if (at == f->second.files.end()) return;
  --f->second.counts[at->second];
  f->second.files.erase(at);
  if (f->second.files.empty()) folderTable.erase(f);
}

std::uint8_t WFjobStat_FolderStatus(StrIn folder) {
  const auto f = folderTable.find(Key(folder));
  if (f == folderTable.end()) return WFjobStat_NotKnown;
  if (f->second.counts[WFjobStat_Running] > 0) return WFjobStat_Running;
  return f->second.counts[WFjobStat_Waiting] > 0 ? WFjobStat_Waiting : WFjobStat_NotKnown;
}

std::uint8_t WFjobStat_FileStatus(StrIn folder, StrIn file) {
  const auto f = folderTable.find(Key(folder));
  if (f == folderTable.end()) return WFjobStat_NotKnown;
  const auto at = f->second.files.find(file.Str());
  return at == f->second.files.end() ? WFjobStat_NotKnown : at->second;
}

void WFjobStat_Update() {
  if (listener == nullptr) {
    listener = CCclient_ConnectJobListener("");
    CCclient_SetEventMask(listener, "", TVWbase_demonName);
  }
  CCjobEvent_Event event;
  while (CCclient_ReceiveJobEvent(listener, event)) TakeEvent(event);
}
