// SProtocol: the table of requests a service understands, and the forms of a
// request and its result on the wire.
//
// A request is an Array of its name, its version, whether a result is wanted,
// and its parameters, followed by a line feed. A result is an Array of the
// result code (0 success) and either the results or an error: an Array of
// source, number and text, or a plain String. Every table holds the standard
// requests 1 to 9; a service's own requests are numbered behind them.
#pragma once
#include <cstddef>
#include <cstdint>

#include "base/Strings.h"
#include "jobqueue/SReqObj.h"

struct SProtocol_Rec;
using SProtocol = SProtocol_Rec*;

// The standard requests, in every table under these numbers.
enum : int {
  SProtocol_CLIENTID = 1,
  SProtocol_TEST_SERVICE = 2,
  SProtocol_DEBUG_SERVICE = 3,
  SProtocol_SUPPORTED_VERSIONS = 4,
  SProtocol_SET_EVENT_MASK = 5,
  SProtocol_CURRENT_CLIENTS = 6,
  SProtocol_MEMORY_CONSUMPTION = 7,
  SProtocol_CONNECT_CONNECTOR = 8,
  SProtocol_ASYNCHRONOUS_REQUESTS = 9,
};

// Who is on the other side of a connection. Types: 0 an ordinary client,
// 1 a listener for events, 2 a listener for job events, 3 a connector.
struct SProtocol_ClientID {
  char hostname[kNameCap] = "";
  char binaryName[kNameCap] = "";
  std::int32_t pid = 0;
  std::int32_t connNo = 0;
  std::uint8_t clientType = 0;
};

// --- Create and destroy ---------------------------------------------------------
// A table with the standard requests for `serverName`. The port is taken from
// "TV_<SERVERNAME>_PORT" when that holds a number, else `port`. Caller owns it.
SProtocol SProtocol_Create(std::uint16_t port, std::size_t bufferSize, StrIn serverName);
// Accepts nil; sets the handle to nil.
void SProtocol_Destroy(SProtocol& protocol);
SProtocol SProtocol_Nil();

// --- Define ---------------------------------------------------------------------
// A request: versions count from 1. Its number, or 0 (dumped) when the name
// and version are there already or the values are bad.
int SProtocol_DefineRequest(SProtocol p, StrIn name, int version, int parameterCount, bool hasResult);
// Parameter `index` (from 0) of `request`; an Integer with `highest` at 0 or
// above is an enumeration from 0 to `highest`. False (dumped) for an unknown
// request, an index out of range or a parameter defined before.
bool SProtocol_SetParameter(SProtocol p, int request, int index, SReqObj_Type type, StrIn name,
                            std::int32_t highest = -1);

// Moves the table to another port, whatever the environment says.
void SProtocol_SetPort(SProtocol p, std::uint16_t port);

// --- Query ----------------------------------------------------------------------
std::uint16_t SProtocol_Port(SProtocol p);
std::size_t SProtocol_BufferSize(SProtocol p);
void SProtocol_ServerName(SProtocol p, StrOut name);
// The number of `name` in `version`, 0 when there is none.
int SProtocol_FindRequest(SProtocol p, StrIn name, int version);
// The versions defined for `name` as a bit set (bit v for version v).
std::uint32_t SProtocol_Versions(SProtocol p, StrIn name);
void SProtocol_RequestName(SProtocol p, int request, StrOut name);
int SProtocol_RequestVersion(SProtocol p, int request);
bool SProtocol_HasResult(SProtocol p, int request);

// --- Requests and results ---------------------------------------------------------
// Count, types and ranges of `params` (an Array) against the table; a mismatch
// is dumped and answers false.
bool SProtocol_CheckParameterTypes(SProtocol p, int request, SReqObj params);
// Appends a line with the time, the process, the server and `text` to
// ".protocol.errors" in the first element of TMP (by default "/tmp"), where
// faults of a protocol's use are collected.
void SProtocol_DumpError(SProtocol p, StrIn text);
// The wire form of `request` with `params`, which it takes (nil for none).
// Nil when the parameters do not pass the check.
SReqObj SProtocol_BuildRequest(SProtocol p, int request, SReqObj& params);
// Recognises a received request: its number (0 when unknown), whether a
// result is wanted and its parameters, taken out of `wire` for the caller.
bool SProtocol_ParseRequest(SProtocol p, SReqObj wire, int& request, bool& wantsResult, SReqObj& params);
// A success result holding the elements of `results` (taken; nil for none).
SReqObj SProtocol_BuildResult(SReqObj& results);
// A failure result: code `number` with the error array of source, number, text.
SReqObj SProtocol_BuildErrorResult(std::int32_t number, StrIn source, StrIn text);

// --- Client identity ----------------------------------------------------------------
// The parameters of "CLIENTID" for `id`; the caller owns the array.
SReqObj SProtocol_ClientIDParams(const SProtocol_ClientID& id);
// Reads them back; false when they are not of that form.
bool SProtocol_ReadClientID(SReqObj params, SProtocol_ClientID& id);
