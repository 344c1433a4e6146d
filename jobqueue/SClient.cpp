#include "jobqueue/SClient.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <set>
#include <string>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "base/Utility.h"
#include "jobqueue/Socket.h"

struct SClient_Rec {
  std::string host;
  int timeoutMs = 0;
  std::uint8_t clientType = 0;
  SProtocol protocol = nullptr;
  SClient_YieldProc yield = SClient_NoopYield;
  Socket socket = nullptr;
  std::int32_t connNo = 0;
  SReqObj mask = nullptr;
  std::map<std::string, std::uint32_t> versions;  // per connection, cleared at reconnect
  int code = 0;
  std::string text;
  int owed = 0;  // results of posted requests still to come
};

namespace {

char section[16] = "SClient";

using Clock = std::chrono::steady_clock;

constexpr int kConnectSliceMs = 300;
constexpr int kReceiveSliceMs = 100;
constexpr int kUnlimitedReadMs = 1000;

// Every open connection, so that the end of the process can close them all.
std::set<SClient> connections;
std::int32_t connCounter = 0;

int Since(Clock::time_point start) {
  return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

bool Failed(SClient conn, int code, StrIn info = "") {
  char text[kTextCap];
  Messages_GetMsg(section, static_cast<unsigned>(code), text);  // messages: SClient 100-102 104-108
  SPrintf_String(text, info);
  conn->code = code;
  conn->text = StrIn(text).Str();
  return false;
}

void Succeeded(SClient conn) {
  conn->code = 0;
  conn->text.clear();
}

void Close(SClient conn) { Socket_Close(conn->socket); }

bool IsLocal(const std::string& host) {
  if (host.empty() || host == "localhost" || host == "127.0.0.1") return true;
  char name[kNameCap];
  DirAcces_GetMachineName(name);
  if (host == StrIn(name).View()) return true;
  DirAcces_GetNodeName(name);
  return host == StrIn(name).View();
}

void StartServer(SClient conn) {
  char name[kNameCap];
  SProtocol_ServerName(conn->protocol, name);
  char command[kTextCap] = "%s </dev/null >/dev/null 2>&1 &";
  SPrintf_String(command, name);
  Processe_System(command);
}

// Writes the request and its line feed. A value over its limit fails before
// any of it is collected, so the line stays in step.
bool Transmit(SClient conn, int request, SReqObj params) {
  SReqObj wire = SProtocol_BuildRequest(conn->protocol, request, params);
  if (wire == nullptr) return Failed(conn, SClient_BadRequest);
  const bool sent = SReqObj_Send(conn->socket, wire);
  SReqObj_Destroy(wire);
  if (!sent && SReqObj_error == 1) return Failed(conn, SClient_SendFailed);
  if (!sent || !Socket_WriteByte(conn->socket, '\n') || !Socket_Flush(conn->socket)) {
    Close(conn);
    char name[kNameCap];
    SProtocol_ServerName(conn->protocol, name);
    return Failed(conn, SClient_CannotConnect, name);
  }
  return true;
}

// Greets the service: who we are, and what we listen for.
bool Introduce(SClient conn) {
  SProtocol_ClientID id;
  DirAcces_GetMachineName(id.hostname);
  Argument_GetBinaryName(id.binaryName);
  id.pid = Processe_GetPID();
  id.connNo = conn->connNo;
  id.clientType = conn->clientType;
  if (!Transmit(conn, SProtocol_CLIENTID, SProtocol_ClientIDParams(id))) return false;
  if (conn->mask == nullptr) return true;
  SReqObj params = SReqObj_CreateArray();
  SReqObj_Append(params, SReqObj_Copy(conn->mask));
  return Transmit(conn, SProtocol_SET_EVENT_MASK, params);
}

bool Attach(SClient conn, Socket socket) {
  conn->socket = socket;
  Socket_SetNoDelay(socket);
  conn->connNo = ++connCounter;
  conn->versions.clear();
  conn->owed = 0;
  if (!Introduce(conn)) return false;
  Succeeded(conn);
  return true;
}

// Waits for the result in slices, yielding in between, then reads it.
bool ReceiveResult(SClient conn, SReqObj* results) {
  const Clock::time_point start = Clock::now();
  char name[kNameCap];
  SProtocol_ServerName(conn->protocol, name);
  for (;;) {
    const int left = conn->timeoutMs < 0 ? kReceiveSliceMs : conn->timeoutMs - Since(start);
    if (left <= 0) break;
    if (Socket_WaitReadable(conn->socket, std::min(left, kReceiveSliceMs))) break;
    if (!Socket_IsAlive(conn->socket)) {
      Close(conn);
      return Failed(conn, SClient_CannotConnect, name);
    }
    conn->yield();
  }
  const int left = conn->timeoutMs < 0 ? kUnlimitedReadMs : conn->timeoutMs - Since(start);
  if (left <= 0) {
    Close(conn);
    return Failed(conn, SClient_Timeout);
  }
  Socket_SetTimeout(conn->socket, left);
  SReqObj wire = SReqObj_Receive(conn->socket);
  if (wire == nullptr) {
    const bool timedOut = Socket_error == 3, badBytes = SReqObj_error == 3;
    Close(conn);
    if (badBytes) return Failed(conn, SClient_BadResult);
    return timedOut ? Failed(conn, SClient_Timeout) : Failed(conn, SClient_CannotConnect, name);
  }
  std::uint8_t lineFeed = 0;
  if (!Socket_ReadByte(conn->socket, lineFeed) || lineFeed != '\n') {
    SReqObj_Destroy(wire);
    Close(conn);
    return Failed(conn, SClient_NoLineFeed);
  }
  SReqObj code = SReqObj_Element(wire, 0);
  if (SReqObj_TypeOf(code) != SReqObj_Type::Integer) {
    char text[kTextCap];
    SReqObj_ToText(wire, text);
    SReqObj_Destroy(wire);
    Failed(conn, SClient_NoResultCode);
    conn->text = StrIn(text).Str();
    return false;
  }
  if (SReqObj_GetInteger(code) != 0) {
    // The service's own failure: its code, and its text.
    SReqObj error = SReqObj_Element(wire, 1);
    SReqObj text = SReqObj_Count(error) >= 3 ? SReqObj_Element(error, 2) : error;
    conn->code = SReqObj_GetInteger(code);
    conn->text = SReqObj_TypeOf(text) == SReqObj_Type::String ? std::string(SReqObj_Bytes(text)) : "";
    SReqObj_Destroy(wire);
    return false;
  }
  SReqObj removed = SReqObj_Remove(wire, 0);
  SReqObj_Destroy(removed);
  if (results != nullptr) *results = wire;
  else SReqObj_Destroy(wire);
  return true;
}

// Whether a whole result lies in the buffer.
bool ResultBuffered(SClient conn) {
  Socket_Fill(conn->socket);
  std::string bytes(Socket_Available(conn->socket), '\0');
  if (bytes.empty() || !Socket_Peek(conn->socket, 0, bytes.data(), bytes.size())) return false;
  std::size_t used = 0;
  SReqObj result = SReqObj_Decode(bytes, used);
  const bool whole = result != nullptr && used < bytes.size();
  SReqObj_Destroy(result);
  return whole;
}

// Takes the results of posted requests off the line: all of them (waiting
// as for any result), or without `wait` those that are there. False when
// the line broke meanwhile.
bool SettleOwed(SClient conn, bool wait) {
  while (conn->owed > 0) {
    if (!wait && !ResultBuffered(conn)) return true;
    --conn->owed;
    ReceiveResult(conn, nullptr);  // the service's refusal is no concern of a post
    if (conn->socket == nullptr) return false;
  }
  return true;
}

}  // namespace

void SClient_NoopYield() {}

SClient SClient_Nil() { return nullptr; }

SClient SClient_Connect(StrIn host, int timeoutMs, std::uint8_t clientType, SProtocol protocol,
                        SClient_YieldProc yield) {
  if (protocol == nullptr) return nullptr;
  auto* conn = new SClient_Rec;
  conn->host = host.Str();
  conn->timeoutMs = timeoutMs;
  conn->clientType = clientType;
  conn->protocol = protocol;
  if (yield != nullptr) conn->yield = yield;
  connections.insert(conn);
  SClient_Reconnect(conn);
  return conn;
}

bool SClient_Reconnect(SClient conn) {
  if (conn == nullptr) return false;
  if (conn->socket != nullptr && Socket_IsAlive(conn->socket)) return true;
  Close(conn);
  char name[kNameCap];
  SProtocol_ServerName(conn->protocol, name);
  const bool mayStart = IsLocal(conn->host) && !StrIn(name).Empty();
  const Clock::time_point start = Clock::now();
  for (int used = 0, tries = 0;; ++tries) {
    const int slice = conn->timeoutMs < 0 ? kConnectSliceMs : std::max(1, conn->timeoutMs - used);
    Socket socket = Socket_Connect(conn->host, SProtocol_Port(conn->protocol), SProtocol_BufferSize(conn->protocol),
                                   std::min(slice, 2000));
    if (socket != nullptr) return Attach(conn, socket);
    // A local client brings up its own service, once: a second start while the
    // first is still coming up would only fight it for the port.
    if (tries == 0 && mayStart) StartServer(conn);
    used = std::max(used + kConnectSliceMs, Since(start));
    if (conn->timeoutMs >= 0 && used >= conn->timeoutMs) break;
    Utility_Delay(kConnectSliceMs);
    conn->yield();
  }
  return Failed(conn, SClient_CannotConnect, name);
}

bool SClient_TryReconnect(SClient conn) {
  if (conn == nullptr) return false;
  if (conn->socket != nullptr && Socket_IsAlive(conn->socket)) return true;
  Close(conn);
  const int wait = conn->timeoutMs < 0 ? kUnlimitedReadMs : conn->timeoutMs;
  Socket socket = Socket_Connect(conn->host, SProtocol_Port(conn->protocol), SProtocol_BufferSize(conn->protocol), wait);
  if (socket != nullptr) return Attach(conn, socket);
  char name[kNameCap];
  SProtocol_ServerName(conn->protocol, name);
  return Failed(conn, SClient_CannotConnect, name);
}

void SClient_CloseConn(SClient& conn) {
  if (conn == nullptr) return;
  connections.erase(conn);
  Close(conn);
  SReqObj_Destroy(conn->mask);
  delete conn;
  conn = nullptr;
}

void SClient_CloseAllConnections() {
  while (!connections.empty()) {
    SClient conn = *connections.begin();
    SClient_CloseConn(conn);
  }
}

bool SClient_SetEventMask(SClient conn, SReqObj mask) {
  if (conn == nullptr) {
    SReqObj_Destroy(mask);
    return false;
  }
  SReqObj_Destroy(conn->mask);
  conn->mask = mask;
  SReqObj params = SReqObj_CreateArray();
  SReqObj_Append(params, SReqObj_Copy(mask));
  return SClient_Send(conn, SProtocol_SET_EVENT_MASK, params, nullptr);
}

void SClient_SetTimeout(SClient conn, int timeoutMs) {
  if (conn != nullptr) conn->timeoutMs = timeoutMs;
}

bool SClient_Send(SClient conn, int request, SReqObj params, SReqObj* results) {
  if (results != nullptr) *results = nullptr;
  if (conn == nullptr) {
    SReqObj_Destroy(params);
    return false;
  }
  const bool hasResult = SProtocol_HasResult(conn->protocol, request);
  // 1. Listeners only listen: a request with a result would mix its answer with events.
  if (hasResult && conn->clientType != 0) {
    SReqObj_Destroy(params);
    return Failed(conn, SClient_ListenerRequest);
  }
  // 2. A broken line is mended first.
  if (!SClient_Reconnect(conn)) {
    SReqObj_Destroy(params);
    return false;
  }
  // 3. Out it goes; 4. the results owed for posted requests come first, then its own.
  if (!Transmit(conn, request, params)) return false;
  if (hasResult && !SettleOwed(conn, true)) return false;
  if (hasResult && !ReceiveResult(conn, results)) return false;
  Succeeded(conn);
  return true;
}

bool SClient_Post(SClient conn, int request, SReqObj params) {
  if (conn == nullptr || !SProtocol_HasResult(conn->protocol, request) || conn->clientType != 0)
    return SClient_Send(conn, request, params, nullptr);
  if (!SClient_Reconnect(conn) || !SettleOwed(conn, false)) {
    SReqObj_Destroy(params);
    return false;
  }
  if (!Transmit(conn, request, params)) return false;
  ++conn->owed;
  Succeeded(conn);
  return true;
}

bool SClient_TakePosted(SClient conn, bool wait) {
  if (conn == nullptr) return false;
  return conn->socket != nullptr && SettleOwed(conn, wait) && conn->owed == 0;
}

std::uint32_t SClient_SupportedRequestVersions(SClient conn, StrIn name) {
  if (conn == nullptr) return 0;
  const auto known = conn->versions.find(name.Str());
  if (known != conn->versions.end()) return known->second;
  SReqObj params = SReqObj_CreateArray();
  SReqObj_Append(params, SReqObj_CreateString(name.View()));
  SReqObj results = nullptr;
  if (!SClient_Send(conn, SProtocol_SUPPORTED_VERSIONS, params, &results)) return 0;
  const auto versions = static_cast<std::uint32_t>(SReqObj_GetInteger(SReqObj_Element(results, 0)));
  SReqObj_Destroy(results);
  conn->versions[name.Str()] = versions;
  return versions;
}

bool SClient_ReceiveEvent(SClient conn, SEvent event) {
  if (conn == nullptr || !SClient_TryReconnect(conn)) return false;
  Socket_Fill(conn->socket);
  std::uint8_t head[4];
  if (!Socket_Peek(conn->socket, 0, head, 4)) return false;
  const std::uint32_t length = std::uint32_t{head[0]} << 24 | std::uint32_t{head[1]} << 16 |
                               std::uint32_t{head[2]} << 8 | head[3];
  if (length > kSReqObjMaxData) {  // not an event of ours: the line is out of step
    Close(conn);
    return false;
  }
  // An event larger than the ring is read whole with a short wait; a smaller
  // one only when it is all there, so that polling never blocks.
  if (Socket_Available(conn->socket) < 4 + length && length + 4 <= SProtocol_BufferSize(conn->protocol)) return false;
  std::string bytes;
  Socket_SetTimeout(conn->socket, kUnlimitedReadMs);
  if (!Socket_ReadObject(conn->socket, bytes, kSReqObjMaxData)) {
    Close(conn);
    return false;
  }
  SEvent_Load(event, bytes);
  return true;
}

bool SClient_AwaitEvent(SClient conn, int timeoutMs) {
  if (conn == nullptr || !SClient_TryReconnect(conn)) return false;
  const Clock::time_point start = Clock::now();
  for (;;) {
    if (Socket_Available(conn->socket) > 0) return true;
    const int left = timeoutMs - Since(start);
    if (left <= 0) return false;
    if (Socket_WaitReadable(conn->socket, std::min(left, kReceiveSliceMs))) {
      Socket_Fill(conn->socket);
      if (Socket_Available(conn->socket) > 0) return true;
    }
    if (!Socket_IsAlive(conn->socket)) return false;
    conn->yield();
  }
}

bool SClient_IsConnected(SClient conn) { return conn != nullptr && conn->socket != nullptr && Socket_IsAlive(conn->socket); }
int SClient_ErrorCode(SClient conn) { return conn == nullptr ? 0 : conn->code; }

void SClient_GetError(SClient conn, StrOut text) {
  if (conn == nullptr) return text.Clear();
  Strings_Assign(conn->text, text);
}

std::int32_t SClient_ConnNo(SClient conn) { return conn == nullptr ? 0 : conn->connNo; }
