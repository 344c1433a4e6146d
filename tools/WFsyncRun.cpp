// WFsyncRun: the synchronisation of the operator tool.
#include "tools/WFsyncRun.h"

#include <cstdio>
#include <sstream>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "distribution/WFsync.h"
#include "workflow/WFbase.h"

namespace {

char section[kSectionCap] = "WFsyncRun";

// messages: WFsyncRun 1-6
constexpr unsigned kNoService = 1;
constexpr unsigned kHost = 2;            // with the host, its number and how many
constexpr unsigned kWorkflow = 3;        // with the workflow, the host, its number and how many
constexpr unsigned kNotSynced = 4;       // with the workflow, the host and the reason
constexpr unsigned kHostFailed = 5;      // with the host and the reason
constexpr unsigned kNothing = 6;         // with the host

void Say(unsigned number, const std::vector<std::string>& arguments) {
  TextStr text;
  Messages_GetMsg(section, number, text);
  for (const std::string& argument : arguments) SPrintf_String(text, argument);
  std::fprintf(stderr, "%s\n", StrIn(text).Str().c_str());
}

std::string Of(std::size_t number, std::size_t count) { return std::to_string(number) + "/" + std::to_string(count); }

// The workflows that go to `host`.
std::vector<std::string> Chosen(const std::string& host, const std::vector<std::string>& named) {
  if (!named.empty()) return named;
  std::vector<std::string> chosen;
  WFbase_WfList list = WFbase_GetAllWorkflows("");
  for (WFbase_WfList entry = list; entry != nullptr; entry = entry->next) {
    if (WFsyncRun_Selected(StrIn(entry->name).Str(), host)) chosen.push_back(StrIn(entry->name).Str());
  }
  WFbase_DestroyWfList(list);
  return chosen;
}

bool SyncHost(Socket service, std::uint16_t port, const std::string& host, const std::vector<std::string>& named) {
  const std::vector<std::string> workflows = Chosen(host, named);
  if (workflows.empty()) {
    Say(kNothing, {host});
    return true;
  }
  TextStr reason;
  WFsync_Connection conn = WFsync_Connect(service, port, host, nullptr, nullptr, reason);
  if (conn == WFsync_NoConnection()) {
    Say(kHostFailed, {host, StrIn(reason).Str()});
    return false;
  }
  // The components go once per host.
  WFmodule_FileList installed = WFmodule_CreateFileList();
  bool all = true;
  for (std::size_t index = 0; index < workflows.size(); ++index) {
    Say(kWorkflow, {workflows[index], host, Of(index + 1, workflows.size())});
    if (WFsync_SyncWorkflow(conn, workflows[index], installed, reason)) continue;
    Say(kNotSynced, {workflows[index], host, StrIn(reason).Str()});
    all = false;
  }
  WFmodule_DestroyFileList(installed);
  WFsync_CloseConnection(conn);
  return all;
}

}  // namespace

bool WFsyncRun_Selected(const std::string& name, const std::string& host) {
  WFbase start = WFbase_RebuildWorkflowStart(name);
  if (start == WFbase_NilWorkflow()) return false;
  WFbase_Options options;
  WFbase_GetOptions(start, options);
  WFbase_DestroyWorkflow(start);
  std::istringstream slaves(StrIn(options.syncSlaves).Str());
  bool named = false;
  for (std::string slave; slaves >> slave;) named = named || slave == host;
  return options.doSync && named;
}

bool WFsyncRun_Sync(const std::vector<std::string>& hosts, const std::vector<std::string>& workflows) {
  // Every host is checked before any is contacted: one refused, none synced.
  bool usable = true;
  for (const std::string& host : hosts) {
    TextStr reason;
    if (WFsync_CheckHost(host, reason)) continue;
    std::fprintf(stderr, "%s\n", StrIn(reason).Str().c_str());
    usable = false;
  }
  if (!usable) return false;
  std::uint16_t port = 0;
  Socket service = WFsync_SetupService(port);
  if (service == Socket_Nil()) {
    Say(kNoService, {});
    return false;
  }
  bool all = true;
  for (std::size_t index = 0; index < hosts.size(); ++index) {
    Say(kHost, {hosts[index], Of(index + 1, hosts.size())});
    all = SyncHost(service, port, hosts[index], workflows) && all;
  }
  WFsync_CloseService(service);
  return all;
}
