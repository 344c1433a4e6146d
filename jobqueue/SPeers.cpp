#include "jobqueue/SPeers.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <set>

#include "base/Messages.h"
#include "base/SPrintf.h"

struct SPeers_Rec {
  std::set<std::uint32_t> addresses;  // network byte order
  std::vector<std::string> names;     // resolved again when a stranger knocks
  bool everyone = false;
  bool thisHost = false;  // a name of this host stood in the list
  std::chrono::steady_clock::time_point resolved{};
  std::chrono::steady_clock::time_point noted{};
  bool notedOnce = false;
  std::uint32_t refused = 0;  // since the last note
};

namespace {

char section[16] = "SServer";

constexpr unsigned kRefused = 41;
constexpr auto kMinute = std::chrono::seconds(60);

std::set<std::uint32_t> OwnAddresses() {
  std::set<std::uint32_t> own = {htonl(INADDR_LOOPBACK)};
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0) return own;
  for (ifaddrs* i = list; i != nullptr; i = i->ifa_next)
    if (i->ifa_addr != nullptr && i->ifa_addr->sa_family == AF_INET)
      own.insert(reinterpret_cast<sockaddr_in*>(i->ifa_addr)->sin_addr.s_addr);
  ::freeifaddrs(list);
  return own;
}

bool Resolve(const std::string& host, std::vector<std::uint32_t>& found) {
  in_addr one{};
  if (::inet_pton(AF_INET, host.c_str(), &one) == 1) {
    found.push_back(one.s_addr);
    return true;
  }
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  if (::getaddrinfo(host.c_str(), nullptr, &hints, &list) != 0) return false;
  for (addrinfo* a = list; a != nullptr; a = a->ai_next)
    found.push_back(reinterpret_cast<sockaddr_in*>(a->ai_addr)->sin_addr.s_addr);
  ::freeaddrinfo(list);
  return !found.empty();
}

// Enters the addresses of `host`; a host that is this one brings all of
// this host's addresses, as its clients may come from any of them.
bool Enter(SPeers peers, const std::string& host) {
  std::vector<std::uint32_t> found;
  if (!Resolve(host, found)) return false;
  const std::set<std::uint32_t> own = OwnAddresses();
  for (std::uint32_t a : found) {
    peers->addresses.insert(a);
    if (own.count(a) != 0) peers->thisHost = true;
  }
  if (peers->thisHost) peers->addresses.insert(own.begin(), own.end());
  return true;
}

std::string Dotted(std::uint32_t address) {
  char text[INET_ADDRSTRLEN] = "";
  in_addr a{};
  a.s_addr = address;
  ::inet_ntop(AF_INET, &a, text, sizeof text);
  return text;
}

}  // namespace

SPeers SPeers_Create() { return new SPeers_Rec; }

void SPeers_Destroy(SPeers& peers) {
  delete peers;
  peers = nullptr;
}

void SPeers_AddThisHost(SPeers peers) {
  if (peers == nullptr) return;
  peers->thisHost = true;
  const std::set<std::uint32_t> own = OwnAddresses();
  peers->addresses.insert(own.begin(), own.end());
}

bool SPeers_Add(SPeers peers, const std::string& host) {
  if (peers == nullptr || host.empty()) return false;
  if (host == "*") return peers->everyone = true;
  if (std::find(peers->names.begin(), peers->names.end(), host) == peers->names.end()) peers->names.push_back(host);
  peers->resolved = std::chrono::steady_clock::now();
  return Enter(peers, host);
}

void SPeers_AddList(SPeers peers, StrIn list, std::vector<std::string>& unknown) {
  const std::string text = list.Str();
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = std::min(text.find_first_of(", \t", at), text.size());
    const std::string host = text.substr(at, end - at);
    if (!host.empty() && !SPeers_Add(peers, host)) unknown.push_back(host);
    at = end + 1;
  }
}

bool SPeers_Allows(SPeers peers, std::uint32_t address) {
  if (peers == nullptr || peers->everyone || peers->addresses.count(address) != 0) return true;
  // A stranger: perhaps a named host moved, or came up after the start.
  const auto now = std::chrono::steady_clock::now();
  if (peers->names.empty() || now - peers->resolved < kMinute) return false;
  peers->resolved = now;
  for (const std::string& name : peers->names) Enter(peers, name);
  if (peers->thisHost) SPeers_AddThisHost(peers);
  return peers->addresses.count(address) != 0;
}

void SPeers_NoteRefused(SPeers peers, std::uint32_t address) {
  if (peers == nullptr) return;
  ++peers->refused;
  const auto now = std::chrono::steady_clock::now();
  if (peers->notedOnce && now - peers->noted < kMinute) return;
  char text[kTextCap];
  Messages_GetMsg(section, kRefused, text);  // messages: SServer 41
  SPrintf_String(text, Dotted(address));
  SPrintf_Card(text, peers->refused);
  std::fprintf(stderr, "%s\n", text);
  std::fflush(stderr);
  peers->notedOnce = true;
  peers->noted = now;
  peers->refused = 0;
}
