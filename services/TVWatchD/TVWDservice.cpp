// TVWDservice: answering the file status service.
#include "services/TVWatchD/TVWDservice.h"

#include <algorithm>
#include <string>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "services/TVWatchD/TVWDfolders.h"
#include "watch/TVWrequest.h"

namespace {

char section[kSectionCap] = "TVWatchD";

constexpr std::size_t kMaxClients = 256;
constexpr unsigned kUnknownRequest = 2, kMissingParameters = 3;

Socket listening = nullptr;
std::vector<Socket> clients;

bool Refuse(Socket client, unsigned number, const std::string& request) {
  TextStr text;
  Messages_GetMsg(section, number, text);  // messages: TVWatchD 2-3
  SPrintf_String(text, request);
  return TVWrequest_SendResult(client, 1, "", text);
}

// Answers one request line; false when the client is to be dropped.
bool Answer(Socket client, StrOut line) {
  const std::string request = StrIn(line).Str();
  TVWrequest_Line file, name;
  std::int32_t pid = 0, modified = 0, count = 0;
  bool begin = false, flag = false;
  switch (TVWrequest_SplitRequest(line)) {
    case TVWrequest_reqTestService: return TVWrequest_SendResult(client, 0, "", "");
    case TVWrequest_reqIgnoreFile:
      if (!TVWrequest_SplitIgnoreFileRequest(line, pid, file, begin, flag))
        return Refuse(client, kMissingParameters, request);
      TVWDfolders_Ignore(file, pid, begin, flag);
      return TVWrequest_SendResult(client, 0, "", "");
    case TVWrequest_reqFileStatus: {
      if (!TVWrequest_SplitFileStatusRequest(line, file, modified)) return Refuse(client, kMissingParameters, request);
      std::string directory, last;
      TVWDfolders_Split(StrIn(file).Str(), directory, last);
      return TVWrequest_SendResult(client, 0, std::to_string(TVWDfolders_Status(directory, last, modified)), "");
    }
    case TVWrequest_reqStatusQuery: {
      if (!TVWrequest_SplitFileStatusQuery(line, file, count)) return Refuse(client, kMissingParameters, request);
      std::string statuses;
      for (std::int32_t i = 0; i < count; ++i) {
        if (!TVWrequest_SplitFile(line, name, modified)) return Refuse(client, kMissingParameters, request);
        statuses += (i == 0 ? "" : " ") + std::to_string(TVWDfolders_Status(file, name, modified));
      }
      return TVWrequest_SendResult(client, 0, statuses, "");
    }
    case TVWrequest_reqFileReady:  // no answer is awaited
      if (TVWrequest_SplitFileReadyInform(line, file)) TVWDfolders_Declare(file);
      return true;
    default: return Refuse(client, kUnknownRequest, request);
  }
}

// Answers what the client sent; false when it is to be dropped.
bool Serve(Socket client) {
  if (!Socket_SendPending(client)) return false;
  TVWrequest_Line line;
  bool tooLong = false;
  while (TVWrequest_TakeLine(client, line, tooLong))
    if (!Answer(client, line)) return false;
  return !tooLong && Socket_IsAlive(client);
}

}  // namespace

void TVWDservice_Init(Socket service) { listening = service; }

int TVWDservice_Port() { return Socket_LocalPort(listening); }

void TVWDservice_Descriptors(std::vector<pollfd>& fds) {
  fds.push_back({Socket_Descriptor(listening), POLLIN, 0});
  // Answers a client has not taken yet leave when its line has room.
  for (Socket c : clients)
    fds.push_back({Socket_Descriptor(c), static_cast<short>(POLLIN | (Socket_Pending(c) > 0 ? POLLOUT : 0)), 0});
}

void TVWDservice_Serve() {
  while (Socket client = Socket_Accept(listening)) {
    if (clients.size() >= kMaxClients) {
      Socket_Close(client);
      continue;
    }
    Socket_SetNoDelay(client);
    // The demon never waits for a client that stops reading its answers; one
    // that leaves too much unread is dropped.
    Socket_SetQueued(client, Socket_PeerBacklogLimit());
    clients.push_back(client);
  }
  std::erase_if(clients, [](Socket& c) {
    if (Serve(c)) return false;
    Socket_Close(c);
    return true;
  });
}

void TVWDservice_Stop() {
  for (Socket c : clients) Socket_Close(c);
  clients.clear();
  Socket_Close(listening);
  listening = nullptr;
}
