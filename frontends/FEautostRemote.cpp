// FEautost: the remote starts, the servers that hand files of their own to
// the start folder.
#include <algorithm>

#include "base/Messages.h"
#include "distribution/RWconfig.h"
#include "frontends/FEautost.h"
#include "workflow/WFbase.h"

extern char FEautost_section[kSectionCap];

namespace {

// messages: FEautost 9
constexpr unsigned kNoServerChosen = 9;

const RWbase_Server* Server(const FEautost_Data& data, StrIn name) {
  for (const RWbase_Server& server : data.serverList) {
    if (Strings_Equal(server.name, name)) return &server;
  }
  return nullptr;
}

}  // namespace

void FEautost_LoadRemoteStarts(FEautost_Data& data, SAutoRcF rc) {
  data.remoteChanged = false;
  Messages_GetMsg(FEautost_section, kNoServerChosen, data.noServerText);
  data.serverList.clear();
  data.remoteList.clear();
  // 1. The servers, in the order of their names.
  RWconfig config = WFbase_GetRemoteWatchConfig();
  RWbase_Server server;
  for (bool more = RWconfig_IterateServer(config, true, server); more;
       more = RWconfig_IterateServer(config, false, server)) {
    data.serverList.push_back(server);
  }
  // 2. The remote starts, passing over numbers without server or directory.
  const std::uint32_t count = SAutoRcF_RemoteStartCount(rc);
  for (std::uint32_t index = 0; index < count; ++index) {
    SAutoRcF_RemoteStart start;
    if (SAutoRcF_GetRemoteStart(rc, index, start)) data.remoteList.push_back(start);
  }
  // 3. Without servers they can't work: dropped, whatever the dialog ends with.
  data.remoteStartsOn = !data.remoteList.empty();
  if (data.remoteStartsOn && data.serverList.empty()) {
    data.remoteStartsOn = false;
    data.remoteChanged = true;
  }
}

bool FEautost_SaveRemoteStarts(FEautost_Data& data, SAutoRcF rc) {
  if (!data.remoteChanged) return false;
  SAutoRcF_UnsetAllRemoteStarts(rc);
  if (!data.remoteStartsOn) return true;
  std::uint32_t number = 0;
  for (SAutoRcF_RemoteStart start : data.remoteList) {
    // The server's own directory is kept as "the server's", not as a copy.
    const RWbase_Server* server = Server(data, start.server);
    if (server != nullptr && Strings_Equal(start.directory, server->defaultRemoteDirectory)) {
      start.directory[0] = '\0';
    }
    SAutoRcF_SetRemoteStart(rc, number++, start);
  }
  return true;
}

void FEautost_AddRemoteStart(FEautost_Data& data, StrIn name) {
  SAutoRcF_RemoteStart start;
  Strings_Assign(name, start.server);
  if (const RWbase_Server* server = Server(data, name)) {
    Strings_Assign(server->defaultRemoteDirectory, start.directory);
  }
  data.remoteList.push_back(start);
  data.remoteChanged = true;
}

void FEautost_DeleteRemoteStarts(FEautost_Data& data, const std::vector<std::size_t>& indices) {
  std::vector<SAutoRcF_RemoteStart> kept;
  for (std::size_t i = 0; i < data.remoteList.size(); ++i) {
    if (std::find(indices.begin(), indices.end(), i) == indices.end()) kept.push_back(data.remoteList[i]);
  }
  data.remoteList.swap(kept);
  data.remoteChanged = true;
}
