// RMserver: the resource manager. Hands out named locks to processes of this
// and other hosts over the request layer, and over the named pipes of this
// host when the flag RMSERVER_USE_SCIPC_SERVICES is set.
//
//   RMserver [-b ADDRESS] [-A HOSTS]
//
// -b binds the port to one address only (127.0.0.1 keeps it to this host).
// -A names the hosts besides this one that may connect (commas between
// them; default TV_ALLOWED_HOSTS).
// The port is 5624 unless TV_RMSERVER_PORT names another.
#include <algorithm>
#include <cstdio>
#include <vector>
#include <string>

#include "RMserver/RMtable.h"
#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Options.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "jobqueue/SCipc.h"
#include "jobqueue/SReqObj.h"
#include "jobqueue/SRMproto.h"
#include "jobqueue/SServer.h"
#include "jobqueue/SService.h"

namespace {

char section[16] = "RMserver";

constexpr int kPollMs = 100;
constexpr unsigned kUsageFirst = 20, kUsageLast = 23;

bool debugging = false;

std::string Text(SReqObj params, std::size_t index) { return std::string(SReqObj_Bytes(SReqObj_Element(params, index))); }

void Log(const char* what, const std::string& host, std::int64_t pid, const std::string& resource, bool answer) {
  if (debugging)
    std::fprintf(stderr, "RMserver: %s %s %lld %s -> %s\n", what, host.c_str(), static_cast<long long>(pid),
                 resource.c_str(), answer ? "yes" : "no");
}

void Dump(const std::string& fileName) {
  std::FILE* file = std::fopen(fileName.c_str(), "w");
  if (file == nullptr) {
    char text[kTextCap];
    Messages_GetMsg(section, 2, text);
    SPrintf_String(text, fileName);
    std::fprintf(stderr, "%s\n", text);
    return;
  }
  RMtable_Dump(file);
  std::fclose(file);
}

// A client whose connection ends can no longer release what it held; what it
// asked to be trapped goes now.
void ConnectionGone(SServer_Conn conn, void*) {
  const SProtocol_ClientID& id = SServer_Client(conn);
  if (id.pid != 0) RMtable_DropOwner(std::string(StrIn(id.hostname).View()), id.pid, true);
}

void Serve(const SServer_Request& r) {
  SReqObj p = r.params;
  const std::string host = Text(p, 0);
  const std::int32_t pid = SReqObj_GetInteger(SReqObj_Element(p, 1));
  switch (r.request) {
    case SRMproto_RESERVE: {
      RMtable_Holder holder;
      const bool granted = RMtable_Reserve(host, pid, SReqObj_GetBoolean(SReqObj_Element(p, 2)), Text(p, 3), holder);
      Log("RESERVE", host, pid, Text(p, 3), granted);
      SReqObj results = SReqObj_CreateArray();
      SReqObj_Append(results, SReqObj_CreateBoolean(granted));
      if (!granted) {
        SReqObj who = SReqObj_CreateArray();
        SReqObj_Append(who, SReqObj_CreateString(holder.host));
        SReqObj_Append(who, SReqObj_CreateInteger(static_cast<std::int32_t>(holder.pid)));
        SReqObj_Append(results, who);
      }
      SServer_Reply(r.conn, results);
      break;
    }
    case SRMproto_USE:
      RMtable_Use(host, pid, SReqObj_GetBoolean(SReqObj_Element(p, 2)), Text(p, 3));
      Log("USE", host, pid, Text(p, 3), true);
      break;
    case SRMproto_RELEASE: RMtable_Release(host, pid, Text(p, 2)); break;
    case SRMproto_FREE: RMtable_Free(host, pid, Text(p, 2)); break;
    case SRMproto_TVDEMON: RMtable_DemonStarted(host, SServer_Client(r.conn).pid); break;
    case SRMproto_DEBUG: debugging = SReqObj_GetBoolean(SReqObj_Element(p, 0)); break;
    case SRMproto_DUMP: Dump(host); break;
    default: break;
  }
  if (r.wantsResult && r.request != SRMproto_RESERVE) SServer_Reply(r.conn, nullptr);
}

// A request that came through the pipes: the same table, the owner's host
// from the request ("" is this host).
void ServePipe(SCipc service, const SRMproto_Request& r, int client) {
  char here[kNameCap];
  DirAcces_GetMachineName(here);
  const std::string host = r.host[0] == '\0' ? std::string(StrIn(here).View()) : std::string(r.host);
  RMtable_Holder holder;
  switch (r.op) {
    case SRMproto_Op::Reserve: {
      const bool granted = RMtable_Reserve(host, r.pid, r.trap, r.resource, holder);
      Log("RESERVE", host, r.pid, r.resource, granted);
      SCipc_Reply(service, client, granted ? "1" : "0");
      return;
    }
    case SRMproto_Op::Use: RMtable_Use(host, r.pid, r.trap, r.resource); break;
    case SRMproto_Op::Release: RMtable_Release(host, r.pid, r.resource); break;
    case SRMproto_Op::Free: RMtable_Free(host, r.pid, r.resource); break;
    case SRMproto_Op::Demon: RMtable_DemonStarted(host, r.pid); break;
  }
}

// Pipe clients have no connection whose end would tell of their death; the
// processes that announced themselves are looked after instead.
void WatchPipeClients(SCipc pipes) {
  static std::vector<int> clients;
  for (int pid : SCipc_NewClients(pipes)) clients.push_back(pid);
  const auto dead = std::remove_if(clients.begin(), clients.end(), [](int pid) { return !Processe_IsAlive(pid); });
  char here[kNameCap];
  DirAcces_GetMachineName(here);
  for (auto at = dead; at != clients.end(); ++at) RMtable_DropOwner(std::string(StrIn(here).View()), *at, true);
  clients.erase(dead, clients.end());
}

}  // namespace

int main(int argc, char** argv) {
  Argument_Init(argc, argv);
  std::string address, allowed;
  const Options_Option options[] = {
      {"-b", true, Options_Store(address)},
      {"-A", true, Options_Store(allowed)},
  };
  if (!Options_Read(options)) Options_Refuse("", section, kUsageFirst, kUsageLast);  // messages: RMserver 20-23
  SService_Start(argc, argv);

  SProtocol protocol = SRMproto_Protocol();
  SServer server = SService_Listen(protocol, address, section);  // messages: RMserver 1
  SServer_Restrict(server, SService_Peers(allowed, {}));
  SServer_OnConnectionGone(server, ConnectionGone, nullptr);
  SCipc pipes = DirAcces_CheckFlag("RMSERVER_USE_SCIPC_SERVICES") ? SCipc_CreateService(kSRMprotoIdentity) : SCipc_Nil();
  Processe_SetExitStatus(0);

  // Ends with SIGTERM, through the termination chain, with status 0.
  for (;;) {
    SServer_Request request;
    if (SServer_Next(server, kPollMs, request)) {
      Serve(request);
      SReqObj_Destroy(request.params);
    }
    std::string message;
    int client = 0;
    while (SCipc_Receive(pipes, 0, message, client)) {
      SRMproto_Request r;
      if (SRMproto_ParseRequest(message, r)) ServePipe(pipes, r, client);
    }
    WatchPipeClients(pipes);
  }
}
