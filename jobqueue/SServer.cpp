#include "jobqueue/SServer.h"

#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/SPrintf.h"

std::uint8_t SServer_error = 0;

struct SServer_ConnRec {
  Socket socket = nullptr;
  SProtocol_ClientID client;
  SReqObj mask = nullptr;
  bool asynchronous = false;
  bool readable = true;  // the line may hold bytes not yet buffered
  bool lagged = false;   // left too much unread: goes at its next turn
  ~SServer_ConnRec() {
    Socket_Close(socket);
    SReqObj_Destroy(mask);
  }
};

struct SServer_Rec {
  SProtocol protocol = nullptr;
  Socket listener = nullptr;
  std::vector<std::unique_ptr<SServer_ConnRec>> conns;
  std::size_t next = 0;  // where the round of connections goes on, for fairness
  SServer_GoneProc gone = nullptr;
  void* goneData = nullptr;
  SServer_IdentifiedProc identified = nullptr;
  void* identifiedData = nullptr;
  int wake = -1;
  bool debugging = false;
};

namespace {

char section[16] = "SServer";

using Clock = std::chrono::steady_clock;

// How long a client may take to finish a request it has begun to send.
constexpr int kRequestTimeoutMs = 5000;

constexpr unsigned kNotOurWireForm = 40;
constexpr unsigned kLagged = 43;

// A send to `conn` ended with `sent`. A client that left more than the bound
// unread is noted on standard error (the service's log) and goes at its next
// turn; the service never waits for it.
bool Sent(SServer_Conn conn, bool sent) {
  if (sent || conn->lagged || Socket_error != 7) return sent;
  conn->lagged = true;
  char text[kTextCap];
  Messages_GetMsg(section, kLagged, text);  // messages: SServer 43
  SPrintf_String(text, StrIn(conn->client.binaryName));
  SPrintf_String(text, StrIn(conn->client.hostname));
  SPrintf_Int(text, conn->client.pid);
  SPrintf_Card(text, static_cast<std::uint32_t>(Socket_PeerBacklogLimit() / 1024));
  std::fprintf(stderr, "%s\n", text);
  std::fflush(stderr);
  return false;
}

bool Answer(SServer_Conn conn, SReqObj wire) {
  Socket_error = 0;
  const bool sent = SReqObj_Send(conn->socket, wire) && Socket_WriteByte(conn->socket, '\n') &&
                    Socket_Flush(conn->socket);
  SReqObj_Destroy(wire);
  return Sent(conn, sent);
}

bool Refuse(SServer server, SServer_Conn conn, unsigned number, const std::string& what) {
  char text[kTextCap];
  Messages_GetMsg(section, number, text);  // messages: SServer 1-2 40
  SPrintf_String(text, what);
  char name[kNameCap];
  SProtocol_ServerName(server->protocol, name);
  return SServer_ReplyError(conn, static_cast<std::int32_t>(number), name, text);
}

SReqObj One(SReqObj element) {
  SReqObj results = SReqObj_CreateArray();
  SReqObj_Append(results, element);
  return results;
}

std::int32_t ResidentKilobytes() {
  long pages = 0, resident = 0;
  std::FILE* statm = std::fopen("/proc/self/statm", "r");
  if (statm == nullptr) return 0;
  if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = 0;
  std::fclose(statm);
  return static_cast<std::int32_t>(resident * (::sysconf(_SC_PAGESIZE) / 1024));
}

SReqObj CurrentClients(SServer server) {
  SReqObj list = SReqObj_CreateArray();
  for (const auto& c : server->conns) {
    std::string line = std::string(StrIn(c->client.hostname).View()) + " " +
                       std::string(StrIn(c->client.binaryName).View()) + " " + std::to_string(c->client.pid) +
                       " " + std::to_string(c->client.connNo);
    if (c->client.clientType == 3) line += " (Connector)";
    else if (c->client.clientType != 0) line += " (Listener)";
    SReqObj_Append(list, SReqObj_CreateString(line));
  }
  return One(list);
}

// Answers a standard request; false when the connection broke meanwhile.
bool Standard(SServer server, SServer_Conn conn, int request, SReqObj params) {
  SReqObj first = SReqObj_Element(params, 0);
  switch (request) {
    case SProtocol_CLIENTID:
      if (SProtocol_ReadClientID(params, conn->client) && server->identified != nullptr)
        server->identified(conn, server->identifiedData);
      return true;
    case SProtocol_SET_EVENT_MASK:
      SReqObj_Destroy(conn->mask);
      conn->mask = SReqObj_Copy(first);
      return true;
    case SProtocol_TEST_SERVICE: return SServer_Reply(conn, nullptr);
    case SProtocol_DEBUG_SERVICE:
      server->debugging = SReqObj_GetBoolean(first);
      return SServer_Reply(conn, nullptr);
    case SProtocol_SUPPORTED_VERSIONS: {
      const std::string name(SReqObj_Bytes(first));
      return SServer_Reply(conn, One(SReqObj_CreateInteger(static_cast<std::int32_t>(
                                     SProtocol_Versions(server->protocol, name)))));
    }
    case SProtocol_CURRENT_CLIENTS: return SServer_Reply(conn, CurrentClients(server));
    case SProtocol_MEMORY_CONSUMPTION: return SServer_Reply(conn, One(SReqObj_CreateInteger(ResidentKilobytes())));
    case SProtocol_ASYNCHRONOUS_REQUESTS:
      conn->asynchronous = SReqObj_GetBoolean(first);
      return SServer_Reply(conn, nullptr);
    default:  // connectors join nothing here: this server has no peers
      return Refuse(server, conn, 2, "");
  }
}

void Drop(SServer server, std::size_t index) {
  SServer_Conn conn = server->conns[index].get();
  if (server->gone != nullptr) server->gone(conn, server->goneData);
  server->conns.erase(server->conns.begin() + static_cast<std::ptrdiff_t>(index));
  if (server->next > index) --server->next;
}

// Reads one request of `conn`: 1 one of the protocol's own into `request`,
// 0 one answered here, -1 the connection is finished.
int ReadRequest(SServer server, SServer_Conn conn, SServer_Request& request) {
  Socket_SetTimeout(conn->socket, kRequestTimeoutMs);
  SReqObj wire = SReqObj_Receive(conn->socket);
  std::uint8_t lineFeed = 0;
  int number = 0;
  bool wantsResult = false;
  SReqObj params = nullptr;
  const bool parsed = wire != nullptr && Socket_ReadByte(conn->socket, lineFeed) && lineFeed == '\n' &&
                      SProtocol_ParseRequest(server->protocol, wire, number, wantsResult, params);
  const bool badBytes = wire == nullptr && SReqObj_error == 3;
  std::string name(parsed ? SReqObj_Bytes(SReqObj_Element(wire, 0)) : "");
  SReqObj_Destroy(wire);
  // A peer that breaks the framing can't be followed any further. One whose
  // bytes are not of our wire form (elements without their lengths, say) is
  // told so before the line closes, so that it does not wait for an answer.
  if (!parsed) {
    if (badBytes) Refuse(server, conn, kNotOurWireForm, "");
    return -1;
  }
  if (number == 0 || !SProtocol_CheckParameterTypes(server->protocol, number, params)) {
    SReqObj_Destroy(params);
    if (!wantsResult) return 0;
    return Refuse(server, conn, 1, name) ? 0 : -1;
  }
  if (number <= SProtocol_ASYNCHRONOUS_REQUESTS) {
    const bool alive = Standard(server, conn, number, params);
    SReqObj_Destroy(params);
    return alive ? 0 : -1;
  }
  request = {conn, number, wantsResult, params};
  return 1;
}

void AcceptAll(SServer server) {
  while (Socket s = Socket_Accept(server->listener)) {
    auto conn = std::make_unique<SServer_ConnRec>();
    conn->socket = s;
    Socket_SetNoDelay(s);
    Socket_SetQueued(s, Socket_PeerBacklogLimit());
    server->conns.push_back(std::move(conn));
  }
}

// Serves the connections that have bytes, in turn; 1 when a request is ready.
int ServeReady(SServer server, SServer_Request& request) {
  for (std::size_t n = server->conns.size(); n > 0; --n) {
    if (server->next >= server->conns.size()) server->next = 0;
    const std::size_t index = server->next++;
    SServer_Conn conn = server->conns[index].get();
    if (conn->lagged) {
      Drop(server, index);
      continue;
    }
    // Only a line that poll found readable is read: the others have nothing new.
    const bool open = !conn->readable || Socket_Fill(conn->socket);
    conn->readable = false;
    if (Socket_Available(conn->socket) == 0) {
      if (!open) Drop(server, index);
      continue;
    }
    // Requests answered here don't end the turn: what is buffered behind
    // them would otherwise wait for the line to stir.
    int got = 0;
    while (got == 0 && Socket_Available(conn->socket) > 0) got = ReadRequest(server, conn, request);
    if (got == 1) return 1;
    if (got < 0) Drop(server, index);
  }
  return 0;
}

}  // namespace

SServer SServer_Create(SProtocol protocol, StrIn address) {
  SServer_error = 0;
  Socket listener = Socket_Listen(address, SProtocol_Port(protocol), SProtocol_BufferSize(protocol));
  if (protocol == nullptr || listener == nullptr) {
    Socket_Close(listener);
    SServer_error = 1;
    return nullptr;
  }
  auto* server = new SServer_Rec;
  server->protocol = protocol;
  server->listener = listener;
  return server;
}

void SServer_Destroy(SServer& server) {
  if (server == nullptr) return;
  Socket_Close(server->listener);
  delete server;
  server = nullptr;
}

void SServer_OnConnectionGone(SServer server, SServer_GoneProc proc, void* data) {
  if (server == nullptr) return;
  server->gone = proc;
  server->goneData = data;
}

void SServer_OnClientIdentified(SServer server, SServer_IdentifiedProc proc, void* data) {
  if (server == nullptr) return;
  server->identified = proc;
  server->identifiedData = data;
}

void SServer_Restrict(SServer server, SPeers peers) {
  if (server == nullptr) return SPeers_Destroy(peers);
  Socket_Restrict(server->listener, peers);
}

void SServer_WakeOn(SServer server, int descriptor) {
  if (server != nullptr) server->wake = descriptor;
}

bool SServer_Next(SServer server, int timeoutMs, SServer_Request& request) {
  request = {};
  if (server == nullptr) return false;
  const Clock::time_point start = Clock::now();
  for (;;) {
    // 1. Bytes already buffered are served before anything waits.
    if (ServeReady(server, request) == 1) return true;
    // 2. Wait for the line: new clients or new bytes.
    std::vector<pollfd> fds{{Socket_Descriptor(server->listener), POLLIN, 0}, {server->wake, POLLIN, 0}};
    // Output that waits leaves when the line takes it, never holding the loop.
    for (const auto& c : server->conns)
      fds.push_back({Socket_Descriptor(c->socket),
                     static_cast<short>(POLLIN | (Socket_Pending(c->socket) > 0 ? POLLOUT : 0)), 0});
    const auto used = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    const int left = timeoutMs < 0 ? -1 : static_cast<int>(timeoutMs - used);
    if (timeoutMs >= 0 && left <= 0) return false;
    if (::poll(fds.data(), fds.size(), left) <= 0) continue;
    for (std::size_t i = 0; i < server->conns.size(); ++i) {
      SServer_Conn conn = server->conns[i].get();
      const short got = fds[i + 2].revents;
      if ((got & POLLOUT) != 0 && !Socket_SendPending(conn->socket)) conn->readable = true;
      if ((got & ~POLLOUT) != 0) conn->readable = true;
    }
    if (fds[1].revents != 0) return false;
    if (fds[0].revents != 0) AcceptAll(server);
  }
}

bool SServer_Reply(SServer_Conn conn, SReqObj results) {
  if (conn == nullptr) {
    SReqObj_Destroy(results);
    return false;
  }
  return Answer(conn, SProtocol_BuildResult(results));
}

bool SServer_ReplyError(SServer_Conn conn, std::int32_t number, StrIn source, StrIn text) {
  if (conn == nullptr) return false;
  return Answer(conn, SProtocol_BuildErrorResult(number, source, text));
}

bool SServer_SendEvent(SServer_Conn conn, SEvent event) {
  if (conn == nullptr) return false;
  Socket_error = 0;
  return Sent(conn, SEvent_Send(conn->socket, event) && Socket_Flush(conn->socket));
}

const SProtocol_ClientID& SServer_Client(SServer_Conn conn) {
  static const SProtocol_ClientID none;
  return conn == nullptr ? none : conn->client;
}

SReqObj SServer_EventMask(SServer_Conn conn) { return conn == nullptr ? nullptr : conn->mask; }
std::size_t SServer_ConnectionCount(SServer server) { return server == nullptr ? 0 : server->conns.size(); }
bool SServer_Debugging(SServer server) { return server != nullptr && server->debugging; }
std::uint16_t SServer_Port(SServer server) { return server == nullptr ? 0 : Socket_LocalPort(server->listener); }
