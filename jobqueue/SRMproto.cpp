#include "jobqueue/SRMproto.h"

#include <sys/types.h>

#include <cstring>

namespace {

void Define(SProtocol p, const char* name, bool hasResult, bool withTrap) {
  const int count = withTrap ? 4 : 3;
  const int r = SProtocol_DefineRequest(p, StrIn::C(name), 1, count, hasResult);
  SProtocol_SetParameter(p, r, 0, SReqObj_Type::String, "hostname");
  SProtocol_SetParameter(p, r, 1, SReqObj_Type::Integer, "clientPID");
  if (withTrap) SProtocol_SetParameter(p, r, 2, SReqObj_Type::Boolean, "trapPrematureDeath");
  SProtocol_SetParameter(p, r, count - 1, SReqObj_Type::String, "resourcePattern");
}

}  // namespace

SProtocol SRMproto_Protocol() {
  SProtocol p = SProtocol_Create(kSRMprotoPort, kSRMprotoBufferSize, "RMserver");
  Define(p, "RESERVE", true, true);
  Define(p, "USE", false, true);
  Define(p, "RELEASE", false, false);
  Define(p, "FREE", false, false);
  SProtocol_SetParameter(p, SProtocol_DefineRequest(p, "TVDEMON", 1, 1, false), 0, SReqObj_Type::String, "hostname");
  SProtocol_SetParameter(p, SProtocol_DefineRequest(p, "DEBUG", 1, 1, false), 0, SReqObj_Type::Boolean, "debug");
  SProtocol_SetParameter(p, SProtocol_DefineRequest(p, "DUMP", 1, 1, false), 0, SReqObj_Type::String, "fileName");
  return p;
}

void SRMproto_RegExpr(StrIn pattern, StrOut expression) {
  std::string out = "^";
  for (char c : pattern.View()) {
    if (c == '*') out += ".*";
    else if (c == '?') out += '.';
    else if (std::strchr("$()+.[]^|\\{}", c) != nullptr) out += '\\', out += c;
    else out += c;
  }
  out += '$';
  Strings_Assign(out.substr(0, 1023), expression);
}

std::string SRMproto_BuildRequest(const SRMproto_Request& request) {
  std::string bytes;
  bytes += static_cast<char>(request.op);
  bytes += static_cast<char>(request.trap ? 255 : 0);
  auto pid = static_cast<std::uint64_t>(request.pid);
  for (std::size_t i = 0; i < sizeof(pid_t); ++i, pid >>= 8) bytes += static_cast<char>(pid & 0xff);
  char host[17] = {};
  std::memcpy(host, request.host, ::strnlen(request.host, sizeof host));
  bytes.append(host, sizeof host);
  bytes += request.resource.substr(0, request.resource.find('\0'));
  bytes += '\0';
  return bytes;
}

bool SRMproto_ParseRequest(std::string_view bytes, SRMproto_Request& request) {
  constexpr std::size_t kHead = 2 + sizeof(pid_t) + 17;
  if (bytes.size() <= kHead || bytes.back() != '\0') return false;
  const char op = bytes[0];
  if (std::strchr("RULFA", op) == nullptr || op == '\0') return false;
  request.op = static_cast<SRMproto_Op>(op);
  request.trap = bytes[1] != 0;
  std::uint64_t pid = 0;
  for (std::size_t i = sizeof(pid_t); i > 0; --i) pid = pid << 8 | static_cast<std::uint8_t>(bytes[1 + i]);
  request.pid = static_cast<std::int64_t>(static_cast<pid_t>(pid));
  std::memcpy(request.host, bytes.data() + 2 + sizeof(pid_t), 17);
  request.host[17] = '\0';
  request.resource.assign(bytes.data() + kHead, bytes.size() - kHead - 1);
  return request.resource.find('\0') == std::string::npos;
}
