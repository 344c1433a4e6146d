// TVWrequest: the watch demon's file status service, a line protocol on the
// port the demon publishes in its info file. Both sides live here: the
// client's connection and requests, and the demon's reading of requests and
// writing of results.
//
// A request or a result is one line of at most 4095 characters, of tokens
// separated by one blank. A string token has a backslash before each blank,
// double quote and backslash; the empty string is two double quotes.
// Integers are decimal, booleans "true" or "false" (reading takes anything
// but "true" as false).
//
//   1 TEST_SERVICE
//   2 IGNORE_FILE  pid file begin flag
//   3 FILE_STATUS  file modified            -> the status number
//   4 STATUS_QUERY directory count {name modified}  -> the status numbers
//   5 FILE_READY   file                     (no result awaited)
//
// A result line: the code (0 success), the result string, and behind another
// code the error string. A file name that holds a line feed can't travel on a
// line: it is never sent, and its status stays 0.
//
// File status: 0 not known to the demon (not taken yet, or passed over),
// 1 handled (its job ended and the file is still there), 2 in hand (taken;
// its job is on the way to the queue or in it).
//
// Client failures are kept in the connection as text (messages of section
// "TVWrequest": 1 no connection to the demon, 2 time-out waiting for the
// result, 3 malformed result) and shown by nobody here: the caller decides.
// A nil connection answers false, 0 or empty.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "jobqueue/Socket.h"

// --- Records ------------------------------------------------------------------------

inline constexpr std::size_t kTVWrequestLineCap = 4096;  // a line: at most 4095 characters
using TVWrequest_Line = char[kTVWrequestLineCap];

// The request numbers.
enum : int {
  TVWrequest_reqUnknown = 0,
  TVWrequest_reqTestService = 1,
  TVWrequest_reqIgnoreFile = 2,
  TVWrequest_reqFileStatus = 3,
  TVWrequest_reqStatusQuery = 4,
  TVWrequest_reqFileReady = 5,
};

// File status as the demon answers it.
inline constexpr std::uint8_t TVWrequest_NotKnown = 0;
inline constexpr std::uint8_t TVWrequest_Handled = 1;
inline constexpr std::uint8_t TVWrequest_InHand = 2;

struct TVWrequest_ConnRec;
// A client's connection, owned by the caller; nil is TVWrequest_NoConnection().
using TVWrequest_Connection = TVWrequest_ConnRec*;

// One file of a status query; the list is owned by the caller.
struct TVWrequest_File {
  TVWrequest_File* next = nullptr;
  char name[kNameCap] = "";
  std::int32_t modified = 0;  // seconds, as DirAcces_LastModified gives them
  std::uint8_t status = 0;
};

// A new file record (next nil, status 0).
TVWrequest_File* TVWrequest_CreateFile(StrIn name, std::int32_t modified);
// Frees the list from `list` on and sets it to nil.
void TVWrequest_DestroyFileList(TVWrequest_File*& list);
// 0, 1 or 2 as they stand; any other number is 0.
std::uint8_t TVWrequest_IntToFileStatus(std::int32_t number);

// --- Client ---------------------------------------------------------------------------

TVWrequest_Connection TVWrequest_NoConnection();
// Connects to the demon of `host` ("" this machine), reading the port from
// the demon info before every try and trying every 300 ms until `timeoutMs`
// (below 0: until it works). Nil when that failed.
TVWrequest_Connection TVWrequest_Connect(StrIn host, std::int32_t timeoutMs);
// True when the demon runs and its info names a port above 0.
bool TVWrequest_GetServicePort(std::int32_t& port);
// 0 for a good connection; 1 for a broken or nil one.
int TVWrequest_GetConnStatus(TVWrequest_Connection conn);
// Whole seconds since the connection was last used; -1 for nil.
std::int32_t TVWrequest_IdleTime(TVWrequest_Connection conn);
// Closes and frees; accepts nil; sets the handle to nil.
void TVWrequest_CloseConn(TVWrequest_Connection& conn);
// A broken connection connects again, within its time-out; true when good.
bool TVWrequest_Reconnect(TVWrequest_Connection conn);

// The requests. Each reconnects first if need be and waits for the result
// within the connection's time-out; false on any failure (see GetError).
bool TVWrequest_TestService(TVWrequest_Connection conn);
// Asks the demon to leave `file` alone (begin) until the end; `flag` at the
// end tells it that the caller has handled the file.
bool TVWrequest_BeginIgnoreFile(TVWrequest_Connection conn, StrIn file);
bool TVWrequest_EndIgnoreFile(TVWrequest_Connection conn, StrIn file, bool flag);
// The status of `file` (a full path) last modified at `modified`; 0 on any failure.
std::uint8_t TVWrequest_FileStatus(TVWrequest_Connection conn, StrIn file, std::int32_t modified);
// Fills the status of every file of `list` (names in `directory`), in as few
// requests as lines allow. An empty list sends nothing. False on failure; the
// files before the failure keep the status they got.
bool TVWrequest_QueryFileStatus(TVWrequest_Connection conn, StrIn directory, TVWrequest_File* list);
// Tells the demon that `file` is complete; no result is awaited.
bool TVWrequest_InformFileReady(TVWrequest_Connection conn, StrIn file);
// The error text of the last request; empty for nil.
void TVWrequest_GetError(TVWrequest_Connection conn, StrOut text);

// --- Tokens ---------------------------------------------------------------------------

// Appends a blank (unless `line` is empty) and the token to `line`; false when
// it would not fit into a line.
bool TVWrequest_AppendString(StrOut line, StrIn text);
bool TVWrequest_AppendInt(StrOut line, std::int64_t value);
bool TVWrequest_AppendBool(StrOut line, bool value);
// Takes the next token off the front of `line` (leading blanks skipped) and
// unescapes it; false when there is none.
bool TVWrequest_SplitToken(StrOut line, StrOut token);
// The same for a decimal integer; false when there is none or it is no number.
bool TVWrequest_SplitInt(StrOut line, std::int32_t& value);

// --- Demon side -------------------------------------------------------------------------

// The listening socket of the service at `address` ("" every interface) and
// `port` (0: one the system chooses); nil when it can't be had.
Socket TVWrequest_SetupService(StrIn address, std::uint16_t port);
// Takes a whole line off `s`, without its line feed, when one is buffered;
// never waits. False otherwise, and `tooLong` set when more than a line's
// worth arrived without a line feed (the peer is out of step).
bool TVWrequest_TakeLine(Socket s, StrOut line, bool& tooLong);
// Takes the request's first token off `line`; its number, 0 when unknown.
int TVWrequest_SplitRequest(StrOut line);
// The parameters of each request, taken off `line`; false when one is
// missing or an empty file name.
bool TVWrequest_SplitIgnoreFileRequest(StrOut line, std::int32_t& pid, StrOut file, bool& begin, bool& flag);
bool TVWrequest_SplitFileStatusRequest(StrOut line, StrOut file, std::int32_t& modified);
bool TVWrequest_SplitFileStatusQuery(StrOut line, StrOut directory, std::int32_t& count);
// One pair of a query.
bool TVWrequest_SplitFile(StrOut line, StrOut name, std::int32_t& modified);
bool TVWrequest_SplitFileReadyInform(StrOut line, StrOut file);
// Writes and flushes a result line; false when the connection broke.
bool TVWrequest_SendResult(Socket s, std::int32_t code, StrIn result, StrIn error);
