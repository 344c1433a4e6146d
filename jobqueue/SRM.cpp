#include "jobqueue/SRM.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "base/SRegExpr.h"
#include "jobqueue/SCipc.h"
#include "jobqueue/SClient.h"
#include "jobqueue/SRMproto.h"

std::uint8_t SRM_error = 0;

namespace {

char section[16] = "SRM";

constexpr int kConnectTimeoutMs = 5000;
constexpr int kPipeStartWaitSeconds = 8;

struct Held {
  char name[256] = "";
  SRegExpr expr = nullptr;
  int uses = 0;
  ~Held() { SRegExpr_Destroy(expr); }
};

bool initialised = false;
SProtocol protocol = nullptr;
SClient conn = nullptr;
SCipc pipes = nullptr;
std::vector<std::unique_ptr<Held>> held;  // SRM_resourceLst, sorted by name
std::int32_t readCounter = 0;

bool UsePipes() { return DirAcces_CheckFlag("RMSERVER_USE_SCIPC_SERVICES"); }

std::string MachineName() {
  char name[kNameCap];
  DirAcces_GetMachineName(name);
  return StrIn(name).Str();
}

Held* Matching(StrIn name) {
  for (const auto& h : held)
    if (Strings_Equal(h->name, name) || SRegExpr_Match(h->expr, name)) return h.get();
  return nullptr;
}

void Hold(StrIn name) {
  auto h = std::make_unique<Held>();
  Strings_Assign(name, h->name);
  char expression[1024];
  SRMproto_RegExpr(h->name, expression);
  h->expr = SRegExpr_Create(expression);
  h->uses = 1;
  const auto at = std::lower_bound(held.begin(), held.end(), h,
                                   [](const auto& a, const auto& b) { return Strings_CompareStr(a->name, b->name) < 0; });
  held.insert(at, std::move(h));
}

void Unhold(Held* h) {
  held.erase(std::remove_if(held.begin(), held.end(), [h](const auto& e) { return e.get() == h; }), held.end());
}

// A failed request has no user to tell: standard error, with what was asked.
void SRM_ErrorOnSocketRequest(int request, SReqObj params) {
  SRM_error = 2;
  char name[kNameCap], text[kTextCap], shown[kTextCap], binary[kNameCap];
  SProtocol_RequestName(protocol, request, name);
  Messages_GetMsg(section, 2, text);
  SPrintf_String(text, name);
  SReqObj_ToText(params, shown);
  Argument_GetBinaryName(binary);
  char caller[kTextCap] = "called by => %s";
  SPrintf_String(caller, binary);
  char detail[kTextCap];
  SClient_GetError(conn, detail);
  std::fprintf(stderr, "%s %s\nparams were : %s\n%s\n", text, detail, shown, caller);
}

SReqObj Params(StrIn host, bool withTrap, bool trap, StrIn name) {
  SReqObj params = SReqObj_CreateArray();
  SReqObj_Append(params, SReqObj_CreateString(host.Empty() ? MachineName() : host.Str()));
  SReqObj_Append(params, SReqObj_CreateInteger(Processe_GetPID()));
  if (withTrap) SReqObj_Append(params, SReqObj_CreateBoolean(trap));
  SReqObj_Append(params, SReqObj_CreateString(name.View()));
  return params;
}

// The requests without a result; their failure shows only as a lost connection.
void Tell(int request, SRMproto_Op op, StrIn host, bool trap, StrIn name) {
  if (!SRM_Connect()) return;
  if (pipes != nullptr) {
    SRMproto_Request r;
    r.op = op;
    r.trap = trap;
    r.pid = Processe_GetPID();
    Strings_Assign(host, r.host);
    r.resource = name.Str();
    if (!Messages_Quietly([&] { return SCipc_Send(pipes, SRMproto_BuildRequest(r), false); })) SRM_error = 1;
    return;
  }
  const bool withTrap = request == SRMproto_USE;
  SReqObj params = Params(host, withTrap, trap, name);
  SReqObj shown = SReqObj_Copy(params);
  if (!SClient_Send(conn, request, params, nullptr)) SRM_ErrorOnSocketRequest(request, shown);
  SReqObj_Destroy(shown);
}

bool AskPipes(StrIn name, bool trapDeath) {
  SRMproto_Request r;
  r.op = SRMproto_Op::Reserve;
  r.trap = trapDeath;
  r.pid = Processe_GetPID();
  r.resource = name.Str();
  std::string reply;
  const bool answered = Messages_Quietly([&] {
    return SCipc_Send(pipes, SRMproto_BuildRequest(r), true) && SCipc_Await(pipes, kConnectTimeoutMs, reply);
  });
  if (!answered) SRM_error = 2;
  return answered && reply == "1";
}

bool AskSocket(StrIn name, bool trapDeath, SRM_Holder& holder) {
  SReqObj params = Params("", true, trapDeath, name);
  SReqObj shown = SReqObj_Copy(params);
  SReqObj results = nullptr;
  const bool sent = SClient_Send(conn, SRMproto_RESERVE, params, &results);
  if (!sent) SRM_ErrorOnSocketRequest(SRMproto_RESERVE, shown);
  SReqObj_Destroy(shown);
  const bool granted = sent && SReqObj_GetBoolean(SReqObj_Element(results, 0));
  SReqObj who = SReqObj_Element(results, 1);
  if (!granted && SReqObj_Count(who) == 2) {
    SReqObj_GetString(SReqObj_Element(who, 0), holder.host);
    holder.pid = SReqObj_GetInteger(SReqObj_Element(who, 1));
  }
  SReqObj_Destroy(results);
  return granted;
}

// 1. A name within a held pattern only counts a use; 2. connect; 3. ask.
bool SRM_MyReserve(StrIn name, bool trapDeath, SRM_Holder& holder) {
  holder = SRM_Holder{};
  SRM_error = 0;
  if (Held* h = Matching(name)) {
    Tell(SRMproto_USE, SRMproto_Op::Use, "", true, name);
    ++h->uses;
    return true;
  }
  if (!SRM_Connect()) return false;
  const bool granted = pipes != nullptr ? AskPipes(name, trapDeath) : AskSocket(name, trapDeath, holder);
  if (granted && trapDeath) Hold(name);
  return granted;
}

void ReleaseOne(StrIn name, StrIn host) {
  if (Held* h = Matching(name); h != nullptr && --h->uses <= 0) Unhold(h);
  Tell(SRMproto_RELEASE, SRMproto_Op::Release, host, false, name);
}

}  // namespace

void SRM_Init() {
  if (initialised) return;
  initialised = true;
  DirAcces_Init();
  protocol = SRMproto_Protocol();
}

void SRM_BanRemoteRequests() {
  char employer[kNameCap];
  if (!DirAcces_EnvVar("CCJOB_EMPLOYER", employer) || StrIn(employer).View() == MachineName()) return;
  char binary[kNameCap];
  Argument_GetBinaryName(binary);
  std::fprintf(stderr, "%s: Cannot connect to remote RMserver\n", binary);
  Processe_SetExitStatus(1);
  Processe_Exit();
}

bool SRM_Connect() {
  SRM_Init();
  SRM_BanRemoteRequests();
  if (UsePipes()) {
    if (pipes != nullptr) return true;
    pipes = Messages_Quietly([] { return SCipc_Connect(kSRMprotoIdentity, 0); });
    if (pipes == nullptr) {
      SRM_BanRemoteRequests();
      Processe_System("RMserver </dev/null &");
      pipes = Messages_Quietly([] { return SCipc_Connect(kSRMprotoIdentity, kPipeStartWaitSeconds); });
    }
  } else if (conn == nullptr) {
    char employer[kNameCap] = "";
    DirAcces_EnvVar("CCJOB_EMPLOYER", employer);
    conn = SClient_Connect(employer, kConnectTimeoutMs, 0, protocol, nullptr);
  } else {
    SClient_Reconnect(conn);
  }
  if (pipes != nullptr || SClient_IsConnected(conn)) return true;
  SRM_error = 1;
  return false;
}

void SRM_Disconnect() {
  SClient_CloseConn(conn);
  SCipc_Close(pipes);
  held.clear();
}

bool SRM_Reserve(StrIn name, bool trapDeath) {
  SRM_Holder ignored;
  return SRM_MyReserve(name, trapDeath, ignored);
}

bool SRM_ReserveVerbose(StrIn name, bool trapDeath, SRM_Holder& holder) {
  return SRM_MyReserve(name, trapDeath, holder);
}

bool SRM_Use(StrIn name, StrIn host, bool trapDeath) {
  SRM_error = 0;
  Tell(SRMproto_USE, SRMproto_Op::Use, host, trapDeath, name);
  if (SRM_error != 0) return false;
  if (!trapDeath) return true;
  if (Held* h = Matching(name)) ++h->uses;
  else Hold(name);
  return true;
}

void SRM_Release(StrIn name) { ReleaseOne(name, ""); }
void SRM_ReleaseOnHost(StrIn name, StrIn host) { ReleaseOne(name, host); }

void SRM_Free(StrIn name) {
  while (Held* h = Matching(name)) Unhold(h);
  Tell(SRMproto_FREE, SRMproto_Op::Free, "", false, name);
}

bool SRM_QueryInUse(StrIn name) {
  if (Matching(name) != nullptr || !SRM_Reserve(name, false)) return true;
  SRM_Release(name);
  return false;
}

void SRM_TVDemonStartup() {
  if (!SRM_Connect()) return;
  if (pipes != nullptr) return Tell(0, SRMproto_Op::Demon, "", false, "");
  SReqObj params = SReqObj_CreateArray();
  SReqObj_Append(params, SReqObj_CreateString(MachineName()));
  if (!SClient_Send(conn, SRMproto_TVDEMON, params, nullptr)) SRM_error = 1;
}

void SRM_ReadResource(StrOut name) {
  char suffix[kNameCap];
  std::snprintf(suffix, sizeof suffix, ":%05d-%d-%8s", Processe_GetPID(), static_cast<int>(readCounter),
                MachineName().c_str());
  readCounter = static_cast<std::int32_t>((static_cast<std::int64_t>(readCounter) + 1) % 2147483646);
  Strings_Concat(name, suffix, name);
}

void SRM_UpdateResource(StrOut name) { Strings_Concat(name, ":*", name); }

int SRM_UseCount(StrIn name) {
  const Held* h = Matching(name);
  return h == nullptr ? 0 : h->uses;
}

namespace {

void SendOne(int request, SReqObj value) {
  SReqObj params = SReqObj_CreateArray();
  SReqObj_Append(params, value);
  if (!SRM_Connect() || pipes != nullptr) return SReqObj_Destroy(params);
  if (!SClient_Send(conn, request, params, nullptr)) SRM_error = 1;
}

}  // namespace

void SRM_StartDebugLog() { SendOne(SRMproto_DEBUG, SReqObj_CreateBoolean(true)); }
void SRM_StopDebugLog() { SendOne(SRMproto_DEBUG, SReqObj_CreateBoolean(false)); }
void SRM_DumpResourceDatabase(StrIn fileName) { SendOne(SRMproto_DUMP, SReqObj_CreateString(fileName.View())); }
