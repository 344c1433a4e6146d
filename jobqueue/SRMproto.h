// SRMproto: what the resource manager and its clients agree on: the requests
// of "RMserver", resource patterns, and the binary requests of the pipe
// transport.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Strings.h"
#include "jobqueue/SProtocol.h"

inline constexpr std::uint16_t kSRMprotoPort = 5624;
inline constexpr std::size_t kSRMprotoBufferSize = 8192;
// The service's name on the pipe transport.
inline constexpr char kSRMprotoIdentity[] = "RM2.2.6";

// The requests in the order SRMproto_Protocol defines them, behind the standard ones.
enum : int {
  SRMproto_RESERVE = SProtocol_ASYNCHRONOUS_REQUESTS + 1,
  SRMproto_USE,
  SRMproto_RELEASE,
  SRMproto_FREE,
  SRMproto_TVDEMON,
  SRMproto_DEBUG,
  SRMproto_DUMP,
};

// Operations of the pipe transport, as their bytes.
enum class SRMproto_Op : std::uint8_t { Reserve = 'R', Use = 'U', Release = 'L', Free = 'F', Demon = 'A' };

struct SRMproto_Request {
  SRMproto_Op op = SRMproto_Op::Reserve;
  bool trap = false;
  std::int64_t pid = 0;
  char host[18] = "";  // 17 bytes on the line
  std::string resource;
};

// The protocol "RMserver" (port 5624 unless TV_RMSERVER_PORT says otherwise,
// buffer 8192). The caller owns it.
SProtocol SRMproto_Protocol();
// The anchored expression of a resource pattern: "*" any run, "?" any one
// character, everything else literal. Cut at 1023 characters.
void SRMproto_RegExpr(StrIn pattern, StrOut expression);
// The binary form of a pipe request: operation, trap byte, the process id in
// the width of pid_t (least significant byte first), 17 bytes of host and the
// resource with its terminating zero.
std::string SRMproto_BuildRequest(const SRMproto_Request& request);
// Reads it back; false for bytes of another form.
bool SRMproto_ParseRequest(std::string_view bytes, SRMproto_Request& request);
