// RWbase: the records, the daemon's start, and the remote watch's side of
// installing a workflow.
#include "distribution/RWbase.h"

#include <cstring>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "distribution/RWconfig.h"
#include "workflow/WFbase.h"

namespace {

constexpr char kDaemon[] = "RemoteWatchDaemon";
// Room for the remote starts of one start folder; the vector grows beyond.
constexpr std::size_t kRemoteStarts = 16;

bool initialised = false;
RWconfig cached = nullptr;  // this process's configuration

}  // namespace

void RWbase_Init() {
  if (initialised) return;
  initialised = true;
  RWconfig_Init();
  WFbase_Init();
  WFbase_RegisterRemoteWatch(WFbase_RemoteWatch{RWbase_GetConfig, RWbase_UpdateWorkflow});
}

bool RWbase_EqualSettings(const RWbase_GlobalSettings& a, const RWbase_GlobalSettings& b) {
  return Strings_Equal(a.proxyHost, b.proxyHost) && a.proxyPort == b.proxyPort &&
         a.watchInterval == b.watchInterval && a.timeout == b.timeout;
}

bool RWbase_EqualServers(const RWbase_Server& a, const RWbase_Server& b) {
  return Strings_Equal(a.name, b.name) && a.protocol == b.protocol && a.noProxy == b.noProxy &&
         Strings_Equal(a.hostname, b.hostname) && Strings_Equal(a.username, b.username) &&
         Strings_Equal(a.password, b.password) &&
         Strings_Equal(a.defaultRemoteDirectory, b.defaultRemoteDirectory);
}

bool RWbase_StartDaemon() {
  const bool found = Messages_Quietly([] {
    return DirAcces_PathLookup("PATH", kDaemon, DirAcces_Mode::Execute);
  });
  const std::string command = std::string(kDaemon) + " </dev/null &";
  return found && Processe_ExecuteCommand(command, 0) == 0;
}

RWconfig_Rec* RWbase_GetConfig(StrOut error) {
  error.Clear();
  if (cached == nullptr) {
    RWconfig_Load(cached, error);
  } else if (!RWconfig_Reload(cached, error)) {
    RWconfig_Destroy(cached);
  }
  return cached;
}

bool RWbase_UpdateWorkflow(StrIn workflow, StrIn localDir, StrIn files,
                           const std::vector<SAutoRcF_RemoteStart>& starts, bool remove,
                           StrOut error) {
  error.Clear();
  if (cached == nullptr && RWbase_GetConfig(error) == nullptr) return false;
  RWconfig_TargetID target = RWconfig_CreateTargetID(RWconfig_workflowTarget, workflow);
  if (remove) {
    RWconfig_DeleteTargetHotfolder(cached, target);
  } else {
    RWconfig_HotfolderVector vector = RWconfig_CreateHotfolderVector(kRemoteStarts);
    for (const SAutoRcF_RemoteStart& start : starts) {
      RWconfig_Hotfolder hotfolder;
      Strings_Assign(start.server, hotfolder.serverName);
      Strings_Assign(start.directory, hotfolder.remoteSourceDirectory);
      hotfolder.deleteSourceFilesAfterCopy = start.deleteFiles;
      Strings_Assign(localDir, hotfolder.localTargetDirectory);
      // The demon's tokens mean nothing to the daemon: it keeps its default.
      if (!files.Empty() && files.Data()[0] != '<') Strings_Assign(files, hotfolder.fileRegularExpression);
      RWconfig_AddHotfolder(vector, hotfolder);
    }
    RWconfig_SetTargetHotfolder(cached, target, vector);
    RWconfig_DestroyHotfolderVector(vector);
  }
  RWconfig_DestroyTargetID(target);
  if (!RWconfig_IsModified(cached) || RWconfig_Save(cached, error)) return true;
  RWconfig_Destroy(cached);
  return false;
}
