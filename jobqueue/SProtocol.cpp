#include "jobqueue/SProtocol.h"

#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "base/DirAcces.h"

struct SProtocol_Rec {
  struct Parameter {
    bool defined = false;
    SReqObj_Type type = SReqObj_Type::Void;
    std::string name;
    std::int32_t highest = -1;
  };
  struct Request {
    std::string name;
    int version = 1;
    bool hasResult = false;
    std::vector<Parameter> params;
  };
  std::uint16_t port = 0;
  std::size_t bufferSize = 0;
  std::string serverName;
  std::vector<Request> requests;  // request n at index n - 1
};

namespace {

SProtocol_Rec::Request* Find(SProtocol p, int request) {
  if (p == nullptr || request < 1 || static_cast<std::size_t>(request) > p->requests.size()) return nullptr;
  return &p->requests[static_cast<std::size_t>(request) - 1];
}

bool Dumped(SProtocol p, const std::string& text) {
  SProtocol_DumpError(p, text);
  return false;
}

void Define(SProtocol p, const char* name, int count, bool result, SReqObj_Type type = SReqObj_Type::Void,
            const char* param = "") {
  const int request = SProtocol_DefineRequest(p, StrIn::C(name), 1, count, result);
  if (count > 0) SProtocol_SetParameter(p, request, 0, type, StrIn::C(param));
}

void DefineStandardRequests(SProtocol p) {
  const int id = SProtocol_DefineRequest(p, "CLIENTID", 1, 5, false);
  SProtocol_SetParameter(p, id, 0, SReqObj_Type::String, "hostname");
  SProtocol_SetParameter(p, id, 1, SReqObj_Type::String, "binaryName");
  SProtocol_SetParameter(p, id, 2, SReqObj_Type::Integer, "pid");
  SProtocol_SetParameter(p, id, 3, SReqObj_Type::Integer, "connNo");
  SProtocol_SetParameter(p, id, 4, SReqObj_Type::Integer, "clientType", 3);
  Define(p, "TEST_SERVICE", 0, true);
  Define(p, "DEBUG_SERVICE", 1, true, SReqObj_Type::Boolean, "debug");
  Define(p, "SUPPORTED_VERSIONS", 1, true, SReqObj_Type::String, "requestName");
  Define(p, "SET_EVENT_MASK", 1, false, SReqObj_Type::Array, "eventMask");
  Define(p, "CURRENT_CLIENTS", 0, true);
  Define(p, "MEMORY_CONSUMPTION", 0, true);
  Define(p, "CONNECT_CONNECTOR", 1, true, SReqObj_Type::String, "connectionID");
  Define(p, "ASYNCHRONOUS_REQUESTS", 1, true, SReqObj_Type::Boolean, "asynchron");
}

std::uint16_t PortOverride(const std::string& serverName, std::uint16_t port) {
  std::string variable = "TV_";
  for (char c : serverName) variable += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  variable += "_PORT";
  const char* value = std::getenv(variable.c_str());
  if (value == nullptr || *value == '\0') return port;
  char* end = nullptr;
  const long number = std::strtol(value, &end, 10);
  return *end == '\0' && number > 0 && number < 65536 ? static_cast<std::uint16_t>(number) : port;
}

}  // namespace

SProtocol SProtocol_Create(std::uint16_t port, std::size_t bufferSize, StrIn serverName) {
  auto* p = new SProtocol_Rec;
  p->serverName = serverName.Str();
  p->port = PortOverride(p->serverName, port);
  p->bufferSize = bufferSize;
  DefineStandardRequests(p);
  return p;
}

void SProtocol_Destroy(SProtocol& protocol) {
  delete protocol;
  protocol = nullptr;
}

SProtocol SProtocol_Nil() { return nullptr; }

int SProtocol_DefineRequest(SProtocol p, StrIn name, int version, int parameterCount, bool hasResult) {
  if (p == nullptr) return 0;
  if (name.Empty() || version < 1 || version > 31 || parameterCount < 0) return Dumped(p, "Empty request"), 0;
  if (SProtocol_FindRequest(p, name, version) != 0) return Dumped(p, "Cannot redefine request " + name.Str()), 0;
  SProtocol_Rec::Request request;
  request.name = name.Str();
  request.version = version;
  request.hasResult = hasResult;
  request.params.resize(static_cast<std::size_t>(parameterCount));
  p->requests.push_back(std::move(request));
  return static_cast<int>(p->requests.size());
}

bool SProtocol_SetParameter(SProtocol p, int request, int index, SReqObj_Type type, StrIn name,
                            std::int32_t highest) {
  SProtocol_Rec::Request* r = Find(p, request);
  if (r == nullptr) return p != nullptr && Dumped(p, "Invalid request in SetParameter()");
  if (index < 0 || static_cast<std::size_t>(index) >= r->params.size())
    return Dumped(p, "Parameter index out of range: " + r->name);
  SProtocol_Rec::Parameter& param = r->params[static_cast<std::size_t>(index)];
  if (param.defined) return Dumped(p, "Cannot redefine parameter " + name.Str() + " of " + r->name);
  param = {true, type, name.Str(), type == SReqObj_Type::Integer ? highest : -1};
  return true;
}

void SProtocol_SetPort(SProtocol p, std::uint16_t port) {
  if (p != nullptr) p->port = port;
}

std::uint16_t SProtocol_Port(SProtocol p) { return p == nullptr ? 0 : p->port; }
std::size_t SProtocol_BufferSize(SProtocol p) { return p == nullptr ? 0 : p->bufferSize; }

void SProtocol_ServerName(SProtocol p, StrOut name) {
  if (p == nullptr) return name.Clear();
  Strings_Assign(p->serverName, name);
}

int SProtocol_FindRequest(SProtocol p, StrIn name, int version) {
  if (p == nullptr) return 0;
  for (std::size_t i = 0; i < p->requests.size(); ++i)
    if (p->requests[i].version == version && p->requests[i].name == name.View()) return static_cast<int>(i + 1);
  return 0;
}

std::uint32_t SProtocol_Versions(SProtocol p, StrIn name) {
  std::uint32_t versions = 0;
  if (p == nullptr) return 0;
  for (const auto& r : p->requests)
    if (r.name == name.View()) versions |= std::uint32_t{1} << r.version;
  return versions;
}

void SProtocol_RequestName(SProtocol p, int request, StrOut name) {
  const SProtocol_Rec::Request* r = Find(p, request);
  if (r == nullptr) return name.Clear();
  Strings_Assign(r->name, name);
}

int SProtocol_RequestVersion(SProtocol p, int request) {
  const SProtocol_Rec::Request* r = Find(p, request);
  return r == nullptr ? 0 : r->version;
}

bool SProtocol_HasResult(SProtocol p, int request) {
  const SProtocol_Rec::Request* r = Find(p, request);
  return r != nullptr && r->hasResult;
}

bool SProtocol_CheckParameterTypes(SProtocol p, int request, SReqObj params) {
  if (p == nullptr) return false;
  const SProtocol_Rec::Request* r = Find(p, request);
  if (r == nullptr) return Dumped(p, "Unknown request");
  if (params != nullptr && SReqObj_TypeOf(params) != SReqObj_Type::Array)
    return Dumped(p, "Parameter object has to be of type ARRAY: " + r->name);
  if (SReqObj_Count(params) != r->params.size()) return Dumped(p, "Wrong number of parameters: " + r->name);
  for (std::size_t i = 0; i < r->params.size(); ++i) {
    const SProtocol_Rec::Parameter& param = r->params[i];
    SReqObj value = SReqObj_Element(params, i);
    if (param.defined && SReqObj_TypeOf(value) != param.type)
      return Dumped(p, "Type mismatch for parameter " + param.name + " of " + r->name);
    if (param.highest >= 0 && (SReqObj_GetInteger(value) < 0 || SReqObj_GetInteger(value) > param.highest))
      return Dumped(p, "Value out of range for parameter " + param.name + " of " + r->name);
  }
  return true;
}

void SProtocol_DumpError(SProtocol p, StrIn text) {
  // Faults of a protocol's use are programming faults with no user to tell;
  // they are collected where the service's maintainer looks for them.
  char path[kPathCap];
  DirAcces_IncludeSpecialPath(DirAcces_TMP, ".protocol.errors", path);
  std::FILE* dump = std::fopen(StrIn(path).Str().c_str(), "a");
  if (dump == nullptr) return;
  char when[32] = "";
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  std::strftime(when, sizeof when, "%Y-%m-%d %H:%M:%S", ::localtime_r(&now, &local));
  std::fprintf(dump, "%s pid %d %s: %s\n", when, static_cast<int>(::getpid()),
               p == nullptr ? "" : p->serverName.c_str(), text.Str().c_str());
  std::fclose(dump);
}

SReqObj SProtocol_BuildRequest(SProtocol p, int request, SReqObj& params) {
  SReqObj taken = params;
  params = nullptr;
  if (!SProtocol_CheckParameterTypes(p, request, taken)) {
    SReqObj_Destroy(taken);
    return nullptr;
  }
  const SProtocol_Rec::Request* r = Find(p, request);
  SReqObj wire = SReqObj_CreateArray();
  SReqObj_Append(wire, SReqObj_CreateString(r->name));
  SReqObj_Append(wire, SReqObj_CreateInteger(r->version));
  SReqObj_Append(wire, SReqObj_CreateBoolean(r->hasResult));
  while (SReqObj_Count(taken) > 0) SReqObj_Append(wire, SReqObj_Remove(taken, 0));
  SReqObj_Destroy(taken);
  return wire;
}

bool SProtocol_ParseRequest(SProtocol p, SReqObj wire, int& request, bool& wantsResult, SReqObj& params) {
  request = 0;
  wantsResult = false;
  params = nullptr;
  if (p == nullptr || SReqObj_Count(wire) < 3 || SReqObj_TypeOf(SReqObj_Element(wire, 0)) != SReqObj_Type::String ||
      SReqObj_TypeOf(SReqObj_Element(wire, 1)) != SReqObj_Type::Integer ||
      SReqObj_TypeOf(SReqObj_Element(wire, 2)) != SReqObj_Type::Boolean)
    return false;
  const std::string name(SReqObj_Bytes(SReqObj_Element(wire, 0)));
  request = SProtocol_FindRequest(p, name, SReqObj_GetInteger(SReqObj_Element(wire, 1)));
  wantsResult = SReqObj_GetBoolean(SReqObj_Element(wire, 2));
  params = SReqObj_CreateArray();
  while (SReqObj_Count(wire) > 3) SReqObj_Append(params, SReqObj_Remove(wire, 3));
  return true;
}

SReqObj SProtocol_BuildResult(SReqObj& results) {
  SReqObj wire = SReqObj_CreateArray();
  SReqObj_Append(wire, SReqObj_CreateInteger(0));
  while (SReqObj_Count(results) > 0) SReqObj_Append(wire, SReqObj_Remove(results, 0));
  SReqObj_Destroy(results);
  return wire;
}

SReqObj SProtocol_BuildErrorResult(std::int32_t number, StrIn source, StrIn text) {
  SReqObj error = SReqObj_CreateArray();
  SReqObj_Append(error, SReqObj_CreateString(source.View().substr(0, kNameCap)));
  SReqObj_Append(error, SReqObj_CreateInteger(number));
  SReqObj_Append(error, SReqObj_CreateString(text.View().substr(0, 1025)));
  SReqObj wire = SReqObj_CreateArray();
  SReqObj_Append(wire, SReqObj_CreateInteger(number == 0 ? 1 : number));
  SReqObj_Append(wire, error);
  return wire;
}

SReqObj SProtocol_ClientIDParams(const SProtocol_ClientID& id) {
  SReqObj params = SReqObj_CreateArray();
  SReqObj_Append(params, SReqObj_CreateString(StrIn(id.hostname).View()));
  SReqObj_Append(params, SReqObj_CreateString(StrIn(id.binaryName).View()));
  SReqObj_Append(params, SReqObj_CreateInteger(id.pid));
  SReqObj_Append(params, SReqObj_CreateInteger(id.connNo));
  SReqObj_Append(params, SReqObj_CreateInteger(id.clientType));
  return params;
}

bool SProtocol_ReadClientID(SReqObj params, SProtocol_ClientID& id) {
  if (SReqObj_Count(params) != 5 || SReqObj_TypeOf(SReqObj_Element(params, 0)) != SReqObj_Type::String ||
      SReqObj_TypeOf(SReqObj_Element(params, 1)) != SReqObj_Type::String ||
      SReqObj_TypeOf(SReqObj_Element(params, 2)) != SReqObj_Type::Integer ||
      SReqObj_TypeOf(SReqObj_Element(params, 3)) != SReqObj_Type::Integer ||
      SReqObj_TypeOf(SReqObj_Element(params, 4)) != SReqObj_Type::Integer)
    return false;
  const std::int32_t type = SReqObj_GetInteger(SReqObj_Element(params, 4));
  if (type < 0 || type > 3) return false;
  SReqObj_GetString(SReqObj_Element(params, 0), id.hostname);
  SReqObj_GetString(SReqObj_Element(params, 1), id.binaryName);
  id.pid = SReqObj_GetInteger(SReqObj_Element(params, 2));
  id.connNo = SReqObj_GetInteger(SReqObj_Element(params, 3));
  id.clientType = static_cast<std::uint8_t>(type);
  return true;
}
