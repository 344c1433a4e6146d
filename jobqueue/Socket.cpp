#include "jobqueue/Socket.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "jobqueue/SPeers.h"

std::uint8_t Socket_error = 0;

struct Socket_Rec {
  int fd = -1;
  bool listening = false;
  bool broken = false;
  int timeoutMs = 5000;
  // Ring buffer of received bytes: `count` bytes from `head`.
  std::vector<std::uint8_t> ring;
  std::size_t head = 0, count = 0;
  std::vector<std::uint8_t> out;
  // A queued socket's bytes the line has not taken yet, from `sentTo` on.
  std::size_t queueLimit = 0;  // 0: writes wait for the line
  std::vector<std::uint8_t> pending;
  std::size_t sentTo = 0;
  SPeers peers = nullptr;  // a listener's allowed peers; nil lets everyone in
  ~Socket_Rec() { SPeers_Destroy(peers); }
};

namespace {

using Clock = std::chrono::steady_clock;

int Elapsed(Clock::time_point since) {
  return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count());
}

Socket Wrap(int fd, std::size_t bufferSize, bool listening) {
  auto* s = new Socket_Rec;
  s->fd = fd;
  s->listening = listening;
  s->ring.resize(std::max<std::size_t>(bufferSize, 256));
  ::fcntl(fd, F_SETFD, FD_CLOEXEC);
  return s;
}

bool Fail(Socket s, std::uint8_t code) {
  Socket_error = code;
  if (s != nullptr) s->broken = true;
  return false;
}

// Reads what the line holds into the free part of the ring. 1 data, 0 none
// waiting, -1 closed or broken.
int ReadLine(Socket s) {
  if (s->count == s->ring.size()) return 1;
  const std::size_t tail = (s->head + s->count) % s->ring.size();
  const std::size_t room = tail >= s->head ? s->ring.size() - tail : s->head - tail;
  const ssize_t got = ::recv(s->fd, s->ring.data() + tail, room, MSG_DONTWAIT);
  if (got > 0) {
    s->count += static_cast<std::size_t>(got);
    return 1;
  }
  if (got == 0) return Fail(s, 4), -1;
  if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) return 0;
  return Fail(s, 5), -1;
}

bool PollIn(int fd, int timeoutMs) {
  pollfd p{fd, POLLIN, 0};
  int rc;
  do rc = ::poll(&p, 1, timeoutMs);
  while (rc < 0 && errno == EINTR);
  return rc > 0;
}

bool Usable(Socket s) {
  if (s == nullptr || s->fd < 0) return Fail(nullptr, 6);
  if (s->broken) return false;
  return true;
}

// Sends what the line takes now: the count sent, -1 once broken.
std::ptrdiff_t SendSome(Socket s, const std::uint8_t* bytes, std::size_t count) {
  std::size_t done = 0;
  while (done < count) {
    const ssize_t sent = ::send(s->fd, bytes + done, count - done, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0) {
      done += static_cast<std::size_t>(sent);
      continue;
    }
    if (errno == EINTR) continue;
    if (errno == EAGAIN || errno == EWOULDBLOCK) break;
    return Fail(s, errno == EPIPE || errno == ECONNRESET ? 4 : 5), -1;
  }
  return static_cast<std::ptrdiff_t>(done);
}

bool Drain(Socket s) {
  const std::ptrdiff_t sent = SendSome(s, s->pending.data() + s->sentTo, s->pending.size() - s->sentTo);
  if (sent < 0) return false;
  s->sentTo += static_cast<std::size_t>(sent);
  if (s->sentTo == s->pending.size()) {
    s->pending.clear();
    s->sentTo = 0;
  } else if (s->sentTo > s->pending.size() / 2) {  // keeps the copying linear
    s->pending.erase(s->pending.begin(), s->pending.begin() + static_cast<std::ptrdiff_t>(s->sentTo));
    s->sentTo = 0;
  }
  return true;
}

// A queued socket's send: behind what waits already, the rest kept for later.
bool Enqueue(Socket s, const std::uint8_t* bytes, std::size_t count) {
  if (!Drain(s)) return false;
  if (s->pending.empty()) {
    const std::ptrdiff_t sent = SendSome(s, bytes, count);
    if (sent < 0) return false;
    bytes += sent;
    count -= static_cast<std::size_t>(sent);
  }
  s->pending.insert(s->pending.end(), bytes, bytes + count);
  if (s->pending.size() - s->sentTo > s->queueLimit) return Fail(s, 7);
  return true;
}

bool SendAll(Socket s, const std::uint8_t* bytes, std::size_t count) {
  if (s->queueLimit > 0) return Enqueue(s, bytes, count);
  while (count > 0) {
    const ssize_t sent = ::send(s->fd, bytes, count, MSG_NOSIGNAL);
    if (sent < 0) {
      if (errno == EINTR) continue;
      if (errno == EAGAIN || errno == EWOULDBLOCK) {
        pollfd p{s->fd, POLLOUT, 0};
        if (::poll(&p, 1, s->timeoutMs < 0 ? -1 : std::max(s->timeoutMs, 1000)) <= 0) return Fail(s, 3);
        continue;
      }
      return Fail(s, errno == EPIPE || errno == ECONNRESET ? 4 : 5);
    }
    bytes += sent;
    count -= static_cast<std::size_t>(sent);
  }
  return true;
}

bool ResolveHost(StrIn host, in_addr& address) {
  const std::string name = host.Empty() ? "127.0.0.1" : host.Str();
  if (::inet_pton(AF_INET, name.c_str(), &address) == 1) return true;
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (::getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0 || found == nullptr) return false;
  address = reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr;
  ::freeaddrinfo(found);
  return true;
}

// A connection to a port of this host where nobody listens can, when the
// port lies in the range the system picks local ports from, be given that
// same port as its own and end up connected to itself. It would hold the
// port that the service it waits for wants back: treat it as refused.
bool ConnectedToItself(int fd) {
  sockaddr_in local{}, peer{};
  socklen_t localLength = sizeof local, peerLength = sizeof peer;
  return ::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &localLength) == 0 &&
         ::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerLength) == 0 &&
         local.sin_port == peer.sin_port && local.sin_addr.s_addr == peer.sin_addr.s_addr;
}

}  // namespace

Socket Socket_Nil() { return nullptr; }

Socket Socket_Connect(StrIn host, std::uint16_t port, std::size_t bufferSize, int timeoutMs) {
  Socket_error = 0;
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(port);
  if (!ResolveHost(host, to.sin_addr)) return Fail(nullptr, 1), nullptr;
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return Fail(nullptr, 5), nullptr;
  // Non-blocking connect, so that a host that does not answer costs only the time-out.
  if (::connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to) != 0) {
    pollfd p{fd, POLLOUT, 0};
    int error = errno == EINPROGRESS ? 0 : errno;
    socklen_t length = sizeof error;
    if (error == 0 && (::poll(&p, 1, timeoutMs < 0 ? -1 : timeoutMs) <= 0 ||
                       ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0))
      error = ETIMEDOUT;
    if (error != 0) {
      ::close(fd);
      return Fail(nullptr, error == ETIMEDOUT ? 3 : 2), nullptr;
    }
  }
  if (ConnectedToItself(fd)) {
    ::close(fd);
    return Fail(nullptr, 2), nullptr;
  }
  return Wrap(fd, bufferSize, false);
}

Socket Socket_Listen(StrIn address, std::uint16_t port, std::size_t bufferSize) {
  Socket_error = 0;
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_port = htons(port);
  at.sin_addr.s_addr = htonl(INADDR_ANY);
  if (!address.Empty() && ::inet_pton(AF_INET, address.Str().c_str(), &at.sin_addr) != 1)
    return Fail(nullptr, 1), nullptr;
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return Fail(nullptr, 5), nullptr;
  const int on = 1;
  ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (::bind(fd, reinterpret_cast<sockaddr*>(&at), sizeof at) != 0 || ::listen(fd, 64) != 0) {
    ::close(fd);
    return Fail(nullptr, 2), nullptr;
  }
  return Wrap(fd, bufferSize, true);
}

Socket Socket_Accept(Socket listener) {
  if (!Usable(listener) || !listener->listening) return Fail(nullptr, 6), nullptr;
  for (;;) {
    sockaddr_in from{};
    socklen_t length = sizeof from;
    const int fd = ::accept4(listener->fd, reinterpret_cast<sockaddr*>(&from), &length, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) return nullptr;
    if (from.sin_family != AF_INET || SPeers_Allows(listener->peers, from.sin_addr.s_addr))
      return Wrap(fd, listener->ring.size(), false);
    // A stranger learns nothing: not even an answer that the service is here.
    ::close(fd);
    SPeers_NoteRefused(listener->peers, from.sin_addr.s_addr);
  }
}

void Socket_Close(Socket& s) {
  if (s == nullptr) return;
  if (s->fd >= 0) ::close(s->fd);
  delete s;
  s = nullptr;
}

void Socket_Restrict(Socket listener, SPeers peers) {
  if (listener == nullptr) return SPeers_Destroy(peers);
  SPeers_Destroy(listener->peers);
  listener->peers = peers;
}

SPeers Socket_Peers(Socket listener) { return listener == nullptr ? nullptr : listener->peers; }

void Socket_SetNoDelay(Socket s) {
  if (s == nullptr) return;
  const int on = 1;
  ::setsockopt(s->fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void Socket_SetTimeout(Socket s, int timeoutMs) {
  if (s != nullptr) s->timeoutMs = timeoutMs;
}

std::size_t Socket_PeerBacklogLimit() {
  static const std::size_t limit = [] {
    const char* given = std::getenv("TV_PEER_BACKLOG_KB");
    const long kb = given == nullptr ? 0 : std::atol(given);
    return (kb > 0 ? static_cast<std::size_t>(kb) : std::size_t{8192}) * 1024;
  }();
  return limit;
}

void Socket_SetQueued(Socket s, std::size_t limit) {
  if (s != nullptr) s->queueLimit = std::max<std::size_t>(limit, 1);
}

int Socket_Descriptor(Socket s) { return s == nullptr ? -1 : s->fd; }

std::uint16_t Socket_LocalPort(Socket s) {
  if (s == nullptr) return 0;
  sockaddr_in at{};
  socklen_t length = sizeof at;
  if (::getsockname(s->fd, reinterpret_cast<sockaddr*>(&at), &length) != 0) return 0;
  return ntohs(at.sin_port);
}

bool Socket_IsAlive(Socket s) {
  if (!Usable(s)) return false;
  while (ReadLine(s) > 0 && s->count < s->ring.size()) {
  }
  return !s->broken;
}

bool Socket_WaitReadable(Socket s, int timeoutMs) {
  if (!Usable(s)) return false;
  if (s->count > 0) return true;
  if (!PollIn(s->fd, timeoutMs)) return false;
  if (s->listening) return true;
  return ReadLine(s) > 0;
}

bool Socket_Fill(Socket s) {
  if (!Usable(s)) return false;
  while (ReadLine(s) > 0 && s->count < s->ring.size()) {
  }
  return !s->broken;
}

std::size_t Socket_Available(Socket s) { return s == nullptr ? 0 : s->count; }

bool Socket_Peek(Socket s, std::size_t offset, void* bytes, std::size_t count) {
  if (s == nullptr || offset + count > s->count) return false;
  auto* to = static_cast<std::uint8_t*>(bytes);
  for (std::size_t i = 0; i < count; ++i) to[i] = s->ring[(s->head + offset + i) % s->ring.size()];
  return true;
}

bool Socket_ReadBytes(Socket s, void* bytes, std::size_t count) {
  // What arrived before the peer closed is still read.
  if (s == nullptr || s->fd < 0) return Fail(nullptr, 6);
  auto* to = static_cast<std::uint8_t*>(bytes);
  const Clock::time_point start = Clock::now();
  while (count > 0) {
    if (s->count == 0) {
      if (s->broken) return false;
      int left = -1;
      if (s->timeoutMs >= 0 && (left = s->timeoutMs - Elapsed(start)) <= 0) return Fail(s, 3);
      if (!PollIn(s->fd, left)) return Fail(s, 3);
      if (ReadLine(s) < 0) return false;
      continue;
    }
    const std::size_t run = std::min({count, s->count, s->ring.size() - s->head});
    if (to != nullptr) std::memcpy(to, s->ring.data() + s->head, run), to += run;
    s->head = (s->head + run) % s->ring.size();
    s->count -= run;
    count -= run;
  }
  return true;
}

bool Socket_ReadByte(Socket s, std::uint8_t& value) { return Socket_ReadBytes(s, &value, 1); }

bool Socket_ReadBoolean(Socket s, bool& value) {
  std::uint8_t byte = 0;
  if (!Socket_ReadBytes(s, &byte, 1)) return false;
  value = byte != 0;
  return true;
}

bool Socket_ReadInteger(Socket s, std::int32_t& value) {
  std::uint8_t b[4];
  if (!Socket_ReadBytes(s, b, 4)) return false;
  value = static_cast<std::int32_t>(std::uint32_t{b[0]} << 24 | std::uint32_t{b[1]} << 16 | std::uint32_t{b[2]} << 8 | b[3]);
  return true;
}

bool Socket_ReadReal(Socket s, double& value) {
  std::uint8_t b[8];
  if (!Socket_ReadBytes(s, b, 8)) return false;
  std::uint64_t bits = 0;
  for (std::uint8_t byte : b) bits = bits << 8 | byte;
  std::memcpy(&value, &bits, sizeof value);
  return true;
}

bool Socket_ReadObject(Socket s, std::string& bytes, std::size_t maxLength) {
  std::int32_t length = 0;
  if (!Socket_ReadInteger(s, length)) return false;
  if (length < 0 || static_cast<std::size_t>(length) > maxLength) return Fail(s, 5);
  bytes.resize(static_cast<std::size_t>(length));
  return Socket_ReadBytes(s, bytes.data(), bytes.size());
}

bool Socket_WriteBytes(Socket s, const void* bytes, std::size_t count) {
  if (!Usable(s)) return false;
  const auto* from = static_cast<const std::uint8_t*>(bytes);
  // A large block goes out directly instead of growing the collection.
  if (s->out.size() + count > s->ring.size()) {
    if (!Socket_Flush(s)) return false;
    if (count > s->ring.size()) return SendAll(s, from, count);
  }
  s->out.insert(s->out.end(), from, from + count);
  return true;
}

bool Socket_WriteByte(Socket s, std::uint8_t value) { return Socket_WriteBytes(s, &value, 1); }

bool Socket_WriteBoolean(Socket s, bool value) { return Socket_WriteByte(s, value ? 1 : 0); }

bool Socket_WriteInteger(Socket s, std::int32_t value) {
  const auto v = static_cast<std::uint32_t>(value);
  const std::uint8_t b[4] = {static_cast<std::uint8_t>(v >> 24), static_cast<std::uint8_t>(v >> 16),
                             static_cast<std::uint8_t>(v >> 8), static_cast<std::uint8_t>(v)};
  return Socket_WriteBytes(s, b, 4);
}

bool Socket_WriteReal(Socket s, double value) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  std::uint8_t b[8];
  for (int i = 7; i >= 0; --i, bits >>= 8) b[i] = static_cast<std::uint8_t>(bits);
  return Socket_WriteBytes(s, b, 8);
}

bool Socket_WriteObject(Socket s, const void* bytes, std::size_t count) {
  if (count > 0x7fffffff) return Fail(nullptr, 5);
  return Socket_WriteInteger(s, static_cast<std::int32_t>(count)) && Socket_WriteBytes(s, bytes, count);
}

bool Socket_Flush(Socket s) {
  if (!Usable(s)) return false;
  const bool sent = SendAll(s, s->out.data(), s->out.size());
  s->out.clear();
  return sent;
}

std::size_t Socket_Pending(Socket s) { return s == nullptr ? 0 : s->pending.size() - s->sentTo; }

bool Socket_SendPending(Socket s) { return Usable(s) && Drain(s); }
