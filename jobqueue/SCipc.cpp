#include "jobqueue/SCipc.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "base/Utility.h"

std::uint8_t SCipc_error = 0;

struct SCipc_Rec {
  std::string identity;
  bool service = false;
  int high = -1, low = -1, knock = -1;  // the service's queues: read by it, written by clients
  int own = -1;                         // the client's queue
  std::string ownPath;
  std::string buffers[3];               // partial messages of high, low, knock
};

namespace {

char section[16] = "SCipc";

constexpr std::size_t kHeader = 8;

std::string QueuePath(const std::string& name) {
  char directory[kPathCap];
  SCipc_Directory(directory);
  return std::string(StrIn(directory).View()) + "/" + name;
}

std::string ClientQueue(const std::string& identity, int pid) {
  char digits[16];
  std::snprintf(digits, sizeof digits, "%05d", pid);
  return identity + digits;
}

bool Fail(std::uint8_t code, unsigned number, const std::string& name) {
  SCipc_error = code;
  char text[kTextCap];
  Messages_GetMsg(section, number, text);  // messages: SCipc 1-3
  SPrintf_String(text, name);
  Messages_SupplyAdditionalInfo(text);
  return false;
}

// A queue opened for reading without blocking and without ever seeing the end
// of file: our own descriptor counts as a writer.
int OpenReading(const std::string& path) {
  if (::mkfifo(path.c_str(), 0666) != 0 && errno != EEXIST) return -1;
  return ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
}

// Open for writing fails with ENXIO while nobody reads: the service is down.
int OpenWriting(const std::string& path) { return ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC); }

void PutCard(std::string& out, std::uint32_t v) {
  for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>(v >> shift);
}

std::uint32_t GetCard(const std::string& in, std::size_t at) {
  std::uint32_t v = 0;
  for (std::size_t i = 0; i < 4; ++i) v = v << 8 | static_cast<std::uint8_t>(in[at + i]);
  return v;
}

bool WriteMessage(int fd, std::string_view message) {
  if (message.size() + kHeader > PIPE_BUF) return SCipc_error = 3, false;
  std::string frame;
  PutCard(frame, static_cast<std::uint32_t>(message.size()));
  PutCard(frame, static_cast<std::uint32_t>(::getpid()));
  frame += message;
  return ::write(fd, frame.data(), frame.size()) == static_cast<ssize_t>(frame.size());
}

// Takes one whole message out of the queue's buffer, reading what waits first.
bool TakeMessage(int fd, std::string& buffer, std::string& message, int& sender) {
  char chunk[PIPE_BUF];
  for (ssize_t got; (got = ::read(fd, chunk, sizeof chunk)) > 0;) buffer.append(chunk, static_cast<std::size_t>(got));
  if (buffer.size() < kHeader) return false;
  const std::uint32_t length = GetCard(buffer, 0);
  if (length + kHeader > PIPE_BUF) {
    // Writes are atomic, so a bad length means a foreign writer: start afresh.
    buffer.clear();
    return false;
  }
  if (buffer.size() < kHeader + length) return false;
  sender = static_cast<int>(GetCard(buffer, 4));
  message = buffer.substr(kHeader, length);
  buffer.erase(0, kHeader + length);
  return true;
}

bool WaitFor(std::initializer_list<int> fds, int timeoutMs) {
  std::vector<pollfd> p;
  for (int fd : fds)
    if (fd >= 0) p.push_back({fd, POLLIN, 0});
  return ::poll(p.data(), p.size(), timeoutMs) > 0;
}

}  // namespace

SCipc SCipc_Nil() { return nullptr; }

void SCipc_Directory(StrOut directory) { DirAcces_IncludeSpecialPath(DirAcces_MARLDAT, "scipc", directory); }

SCipc SCipc_CreateService(StrIn identity) {
  SCipc_error = 0;
  char directory[kPathCap];
  SCipc_Directory(directory);
  ::mkdir(directory, 0777);
  auto* ipc = new SCipc_Rec;
  ipc->identity = identity.Str();
  ipc->service = true;
  ipc->high = OpenReading(QueuePath(ipc->identity + ".H"));
  ipc->low = OpenReading(QueuePath(ipc->identity + ".L"));
  ipc->knock = OpenReading(QueuePath(ipc->identity + ".K"));
  if (ipc->high < 0 || ipc->low < 0 || ipc->knock < 0) {
    SCipc_Close(ipc);
    Fail(1, 1, identity.Str());
  }
  return ipc;
}

SCipc SCipc_Connect(StrIn identity, int waitSeconds) {
  SCipc_error = 0;
  const std::string name = identity.Str();
  auto* ipc = new SCipc_Rec;
  ipc->identity = name;
  for (int waited = 0;; ++waited) {
    ipc->high = OpenWriting(QueuePath(name + ".H"));
    ipc->low = OpenWriting(QueuePath(name + ".L"));
    ipc->knock = OpenWriting(QueuePath(name + ".K"));
    if (ipc->high >= 0 && ipc->low >= 0 && ipc->knock >= 0) break;
    for (int* fd : {&ipc->high, &ipc->low, &ipc->knock})
      if (*fd >= 0) ::close(*fd), *fd = -1;
    if (waited >= waitSeconds) {
      SCipc_Close(ipc);
      Fail(2, 2, name);
      return nullptr;
    }
    Utility_Delay(1000);
  }
  ipc->ownPath = QueuePath(ClientQueue(name, ::getpid()));
  ipc->own = OpenReading(ipc->ownPath);
  if (ipc->own < 0 || !WriteMessage(ipc->knock, "")) {
    SCipc_Close(ipc);
    Fail(1, 1, ClientQueue(name, ::getpid()));
  }
  return ipc;
}

void SCipc_Close(SCipc& ipc) {
  if (ipc == nullptr) return;
  for (int fd : {ipc->high, ipc->low, ipc->knock, ipc->own})
    if (fd >= 0) ::close(fd);
  if (!ipc->ownPath.empty()) ::unlink(ipc->ownPath.c_str());
  if (ipc->service)
    for (const char* suffix : {".H", ".L", ".K"}) ::unlink(QueuePath(ipc->identity + suffix).c_str());
  delete ipc;
  ipc = nullptr;
}

bool SCipc_Send(SCipc client, std::string_view message, bool high) {
  if (client == nullptr || client->service) return false;
  if (WriteMessage(high ? client->high : client->low, message)) return true;
  return Fail(SCipc_error == 3 ? 3 : 2, SCipc_error == 3 ? 3 : 2, client->identity);
}

bool SCipc_Await(SCipc client, int timeoutMs, std::string& reply) {
  if (client == nullptr || client->service) return false;
  const auto start = std::chrono::steady_clock::now();
  int sender = 0;
  while (!TakeMessage(client->own, client->buffers[0], reply, sender)) {
    const auto used = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    if (used.count() >= timeoutMs) return SCipc_error = 4, false;
    WaitFor({client->own}, static_cast<int>(timeoutMs - used.count()));
  }
  return true;
}

bool SCipc_Receive(SCipc service, int timeoutMs, std::string& message, int& client) {
  if (service == nullptr || !service->service) return false;
  if (TakeMessage(service->high, service->buffers[0], message, client)) return true;
  if (TakeMessage(service->low, service->buffers[1], message, client)) return true;
  if (timeoutMs <= 0 || !WaitFor({service->high, service->low}, timeoutMs)) return false;
  return SCipc_Receive(service, 0, message, client);
}

bool SCipc_Reply(SCipc service, int client, std::string_view message) {
  if (service == nullptr || !service->service) return false;
  const int fd = OpenWriting(QueuePath(ClientQueue(service->identity, client)));
  if (fd < 0) return SCipc_error = 2, false;
  const bool written = WriteMessage(fd, message);
  ::close(fd);
  return written;
}

std::vector<int> SCipc_NewClients(SCipc service) {
  std::vector<int> clients;
  if (service == nullptr || !service->service) return clients;
  std::string message;
  int client = 0;
  while (TakeMessage(service->knock, service->buffers[2], message, client)) clients.push_back(client);
  return clients;
}
