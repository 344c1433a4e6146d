// TVWrequest: the client's side of the demon's file status service.
#include "watch/TVWrequest.h"

#include <chrono>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/Utility.h"
#include "watch/TVWbase.h"

// messages: TVWrequest 1-3
struct TVWrequest_ConnRec {
  Socket socket = nullptr;
  std::int32_t timeoutMs = -1;  // below 0: no limit
  double lastUse = 0;           // milliseconds on the steady clock
  char host[kNameCap] = "";
  TVWrequest_Line result = "";
  TVWrequest_Line error = "";
};

namespace {

char section[kSectionCap] = "TVWrequest";

constexpr int kRetryMs = 300;
constexpr int kPollMs = 100;
constexpr int kConnectWaitMs = 1000;
constexpr std::size_t kQueryMargin = 10;  // room for the count of a part
constexpr unsigned kNoConnection = 1, kTimeout = 2, kMalformed = 3;

double Now() {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// The error text of message `number`, with ": " and `detail` behind when given.
void SetError(TVWrequest_Connection conn, unsigned number, const std::string& detail = "") {
  TextStr text;
  Messages_GetMsg(section, number, text);
  std::string all = StrIn(text).Str();
  if (!detail.empty()) all += ": " + detail;
  Strings_Assign(all, conn->error);
}

// One try: the port from the demon info, then the socket.
bool TryConnect(TVWrequest_Connection conn) {
  std::int32_t port = -1;
  if (!TVWrequest_GetServicePort(port)) return false;
  const std::string host = TVWbase_IsLocal(conn->host) ? "" : StrIn(conn->host).Str();
  conn->socket = Socket_Connect(host, static_cast<std::uint16_t>(port), kTextCap, kConnectWaitMs);
  if (conn->socket == nullptr) return false;
  Socket_SetNoDelay(conn->socket);
  return true;
}

bool HasLineFeed(StrIn text) { return text.View().find('\n') != std::string_view::npos; }

// Reads the result line: code, result, and for a code other than 0 the error.
bool ParseResult(TVWrequest_Connection conn, StrIn received) {
  TVWrequest_Line line;
  Strings_Assign(received, line);
  std::int32_t code = -1;
  if (!TVWrequest_SplitInt(line, code)) {
    SetError(conn, kMalformed, received.Str());
    return false;
  }
  if (!TVWrequest_SplitToken(line, conn->result)) return code == 0;
  if (code == 0) return true;
  if (!TVWrequest_SplitToken(line, conn->error)) SetError(conn, kMalformed, received.Str());
  return false;
}

// Waits for the result line within the time-out. A connection that timed out
// is closed: a late answer would be taken for the next request's.
bool Receive(TVWrequest_Connection conn) {
  TVWrequest_Line line;
  bool tooLong = false;
  for (double waited = 0;; waited += kPollMs) {
    if (TVWrequest_TakeLine(conn->socket, line, tooLong)) return ParseResult(conn, line);
    if (tooLong || !Socket_IsAlive(conn->socket)) {
      Socket_Close(conn->socket);
      SetError(conn, tooLong ? kMalformed : kNoConnection);
      return false;
    }
    if (conn->timeoutMs >= 0 && waited >= conn->timeoutMs) {
      Socket_Close(conn->socket);
      SetError(conn, kTimeout);
      return false;
    }
    Socket_WaitReadable(conn->socket, kPollMs);
  }
}

bool Send(TVWrequest_Connection conn, StrIn line, bool awaitResult) {
  if (conn == nullptr) return false;
  TVWrequest_Reconnect(conn);
  conn->result[0] = conn->error[0] = '\0';
  if (conn->socket == nullptr) {
    SetError(conn, kNoConnection);
    return false;
  }
  const std::string bytes = line.Str() + "\n";
  bool done = Socket_WriteBytes(conn->socket, bytes.data(), bytes.size()) && Socket_Flush(conn->socket);
  if (!done) {
    Socket_Close(conn->socket);
    SetError(conn, kNoConnection);
  } else if (awaitResult) {
    done = Receive(conn);
  }
  conn->lastUse = Now();
  return done;
}

bool IgnoreFile(TVWrequest_Connection conn, StrIn file, bool begin, bool flag) {
  TVWrequest_Line line = "IGNORE_FILE";
  return !HasLineFeed(file) && TVWrequest_AppendInt(line, Processe_GetPID()) &&
         TVWrequest_AppendString(line, file) && TVWrequest_AppendBool(line, begin) &&
         TVWrequest_AppendBool(line, flag) && Send(conn, line, true);
}

}  // namespace

// --- Records ------------------------------------------------------------------------

TVWrequest_File* TVWrequest_CreateFile(StrIn name, std::int32_t modified) {
  auto* file = new TVWrequest_File;
  Strings_Assign(name, file->name);
  file->modified = modified;
  return file;
}

void TVWrequest_DestroyFileList(TVWrequest_File*& list) {
  while (list != nullptr) delete std::exchange(list, list->next);
}

std::uint8_t TVWrequest_IntToFileStatus(std::int32_t number) {
  return number >= 0 && number <= TVWrequest_InHand ? static_cast<std::uint8_t>(number) : TVWrequest_NotKnown;
}

// --- Connection ------------------------------------------------------------------------

TVWrequest_Connection TVWrequest_NoConnection() { return nullptr; }

bool TVWrequest_GetServicePort(std::int32_t& port) {
  TVWbase_DemonInfo info;
  port = -1;
  if (!TVWbase_DemonRunning(info) || info.port <= 0) return false;
  port = info.port;
  return true;
}

TVWrequest_Connection TVWrequest_Connect(StrIn host, std::int32_t timeoutMs) {
  auto* conn = new TVWrequest_ConnRec;
  Strings_Assign(host, conn->host);
  conn->timeoutMs = timeoutMs;
  for (std::int32_t waited = 0; !TryConnect(conn); waited += kRetryMs) {
    if (timeoutMs >= 0 && waited >= timeoutMs) {
      delete conn;
      return nullptr;
    }
    Utility_Delay(kRetryMs);
  }
  conn->lastUse = Now();
  return conn;
}

int TVWrequest_GetConnStatus(TVWrequest_Connection conn) {
  return conn != nullptr && conn->socket != nullptr && Socket_IsAlive(conn->socket) ? 0 : 1;
}

std::int32_t TVWrequest_IdleTime(TVWrequest_Connection conn) {
  if (conn == nullptr) return -1;
  return static_cast<std::int32_t>((Now() - conn->lastUse) / 1000 + 0.5);
}

void TVWrequest_CloseConn(TVWrequest_Connection& conn) {
  if (conn == nullptr) return;
  Socket_Close(conn->socket);
  delete conn;
  conn = nullptr;
}

bool TVWrequest_Reconnect(TVWrequest_Connection conn) {
  if (conn == nullptr) return false;
  if (TVWrequest_GetConnStatus(conn) == 0) return true;
  Socket_Close(conn->socket);
  for (std::int32_t waited = 0; !TryConnect(conn); waited += kRetryMs) {
    if (conn->timeoutMs >= 0 && waited >= conn->timeoutMs) return false;
    Utility_Delay(kRetryMs);
  }
  return true;
}

// --- Requests ----------------------------------------------------------------------------

bool TVWrequest_TestService(TVWrequest_Connection conn) { return Send(conn, "TEST_SERVICE", true); }

bool TVWrequest_BeginIgnoreFile(TVWrequest_Connection conn, StrIn file) { return IgnoreFile(conn, file, true, false); }

bool TVWrequest_EndIgnoreFile(TVWrequest_Connection conn, StrIn file, bool flag) {
  return IgnoreFile(conn, file, false, flag);
}

std::uint8_t TVWrequest_FileStatus(TVWrequest_Connection conn, StrIn file, std::int32_t modified) {
  TVWrequest_Line line = "FILE_STATUS";
  if (HasLineFeed(file) || !TVWrequest_AppendString(line, file) || !TVWrequest_AppendInt(line, modified) ||
      !Send(conn, line, true))
    return TVWrequest_NotKnown;
  std::int32_t status = 0;
  return TVWrequest_SplitInt(conn->result, status) ? TVWrequest_IntToFileStatus(status) : TVWrequest_NotKnown;
}

bool TVWrequest_QueryFileStatus(TVWrequest_Connection conn, StrIn directory, TVWrequest_File* list) {
  if (conn == nullptr) return false;
  TVWrequest_Line prefix = "STATUS_QUERY";
  if (!TVWrequest_AppendString(prefix, directory)) return false;
  const std::size_t prefixLength = Strings_Length(prefix);
  std::vector<TVWrequest_File*> sent;  // in the order of the results
  std::string body, results;
  std::size_t count = 0;
  const auto sendPart = [&] {
    TVWrequest_Line line;
    Strings_Assign(StrIn(prefix).Str() + " " + std::to_string(count) + body, line);
    if (!Send(conn, line, true)) return false;
    results += " " + StrIn(conn->result).Str();
    body.clear();
    count = 0;
    return true;
  };
  for (TVWrequest_File* f = list; f != nullptr; f = f->next) {
    f->status = TVWrequest_NotKnown;
    TVWrequest_Line pair = "";
    if (HasLineFeed(f->name) || !TVWrequest_AppendString(pair, f->name) || !TVWrequest_AppendInt(pair, f->modified))
      continue;
    const std::string item = " " + StrIn(pair).Str();
    if (prefixLength + body.size() + item.size() + kQueryMargin > kTVWrequestLineCap - 1) {
      if (count == 0) continue;  // a name that alone can't fit is never sent
      if (!sendPart()) return false;
    }
    body += item;
    ++count;
    sent.push_back(f);
  }
  if (count > 0 && !sendPart()) return false;
  std::istringstream numbers(results);
  for (TVWrequest_File* f : sent) {
    std::int32_t status = 0;
    if (!(numbers >> status)) return false;
    f->status = TVWrequest_IntToFileStatus(status);
  }
  return true;
}

bool TVWrequest_InformFileReady(TVWrequest_Connection conn, StrIn file) {
  TVWrequest_Line line = "FILE_READY";
  return !HasLineFeed(file) && TVWrequest_AppendString(line, file) && Send(conn, line, false);
}

void TVWrequest_GetError(TVWrequest_Connection conn, StrOut text) {
  if (conn == nullptr) return text.Clear();
  Strings_Assign(conn->error, text);
}
