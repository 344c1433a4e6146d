// WFsync: the master's side. The service, starting a slave through ssh and
// its connection, the requests, and sending a workflow with its components.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/Utility.h"
#include "distribution/WFbackup.h"
#include "distribution/WFsync.h"
#include "distribution/WFsyncPrivate.h"
#include "watch/TVWrequest.h"
#include "workflow/WFconfig.h"
#include "workflow/WFgroup.h"

struct WFsync_ConnRec {
  Socket socket = nullptr;
  char host[kNameCap] = "";
  WFsync_YieldProc yield = nullptr;
  void* yieldArg = nullptr;
};

namespace {

// messages: WFsync 1-5 7 9-12 15-18
constexpr unsigned kCopyFailed = 1;        // with the host and the path
constexpr unsigned kComponentFailed = 2;   // with the component and the host
constexpr unsigned kListNotWritten = 3;    // with the list file
constexpr unsigned kNoTmpName = 4;         // with the host
constexpr unsigned kCommandFailed = 5;     // with the command
constexpr unsigned kNotRebuilt = 7;        // with the reason
constexpr unsigned kNoSlave = 9;           // with the host
constexpr unsigned kNoEnvironment = 10;    // with the host
constexpr unsigned kOtherVersion = 11;     // with the host and its version
constexpr unsigned kOtherProjects = 12;    // with the host and its directory
constexpr unsigned kBroken = 15;           // with the host
constexpr unsigned kTimeout = 16;          // with the host and the milliseconds
constexpr unsigned kUnreadable = 17;       // with the host and the line
constexpr unsigned kDebugTimeout = 18;     // with the milliseconds

constexpr int kPollMs = 100;
constexpr int kConnectMs = 5000;
constexpr int kShortMs = 3000;
constexpr int kInstallMs = 30000;
constexpr char kSlaveProgram[] = "Floatdeck";
constexpr char kSlaveLog[] = "Floatdeck.syncSlave.log";

std::string Text(StrIn text) { return text.Str(); }

// "ssh -o="BatchMode=yes" -- HOST " with the host as one word, behind "--"
// so that ssh never reads it as an option.
std::string Ssh(StrIn host) {
  std::string word;
  WFsync_Word(host, word);
  return "ssh -o=\"BatchMode=yes\" -- " + word + " ";
}

// The address ssh reaches `host` at, for a name only its configuration
// knows (an alias); empty when ssh can't tell.
std::string SshHostName(StrIn host) {
  std::string word;
  WFsync_Word(host, word);
  std::string name;
  if (std::FILE* pipe = ::popen(("ssh -G -- " + word + " 2>/dev/null </dev/null").c_str(), "r")) {
    char line[kTextCap];
    while (std::fgets(line, sizeof line, pipe) != nullptr)
      if (std::strncmp(line, "hostname ", 9) == 0) name = std::string(line + 9, std::strcspn(line + 9, "\r\n"));
    ::pclose(pipe);
  }
  return name;
}

// Only the slaves this master starts may connect back to its service: each
// from the addresses of its name, or of the host ssh reaches under it.
void LetIn(Socket service, StrIn host) {
  if (!SPeers_Add(Socket_Peers(service), Text(host))) SPeers_Add(Socket_Peers(service), SshHostName(host));
}

void Yield(WFsync_Connection conn) {
  if (conn->yield != nullptr) conn->yield(conn->yieldArg);
}

bool Request(WFsync_Connection conn, StrIn line, int timeoutMs, StrOut text) {
  if (!WFsync_SendRequest(conn, line)) {
    Strings_Assign(WFsync_Text(kBroken, Text(conn->host)), text);
    return false;
  }
  return WFsync_ReceiveResult(conn, timeoutMs, text);
}

// Copies `path` to the same path on the host.
bool Copy(WFsync_Connection conn, StrIn path) {
  std::string file, target;
  if (!WFsync_Word(path, file) || !WFsync_Word(Text(conn->host) + ":" + Text(path), target)) return false;
  return WFsync_Run("scp -Bpq -- " + file + " " + target);
}

// A component's command or icon as a file of its own outside MARLLIB; empty
// when it is none.
std::string SiteFile(StrIn name) {
  std::string text(name.View());
  text = text.substr(0, text.find(' '));
  if (!text.starts_with('/')) return "";
  PathStr lib;
  DirAcces_IncludeSpecialPath(DirAcces_MARLLIB, "", lib);
  return DirAcces_PathStartsWith(text, lib) ? "" : text;
}

// Sends the tar file of the list `listFile` to `remote` on the host; the
// command in `command`.
bool SendTar(WFsync_Connection conn, StrIn listFile, StrIn remote, std::string& command) {
  NameStr program;
  WFbackup_GetTarProgram(program);
  PathStr status;
  std::string tar, list, target, statusArg;
  WFsync_Word(program, tar);
  WFsync_Word(listFile, list);
  WFsync_Word("cat >" + SFilMisc_QuoteForShell(remote.View()), target);
  if (!SFilMisc_CreateTmpName("wfsync.status", status) || !WFsync_Word(status, statusArg)) return false;
  // The pipe ends with the status of ssh; tar's comes through a file.
  command = "{ " + tar + " --create --directory=/ --files-from=" + list + " --file=- -P; echo $? >" + statusArg +
            "; } | " + Ssh(conn->host) + target;
  const bool sent = WFsync_Run(command);
  std::string packed;
  if (std::FILE* file = std::fopen(status, "r")) {
    char line[16] = "";
    if (std::fgets(line, sizeof line, file) != nullptr) packed = line;
    std::fclose(file);
  }
  Messages_Quietly([&] { return DirAcces_Remove(status); });
  return sent && packed == "0\n";
}

}  // namespace

// --- Service and connection --------------------------------------------------------------------

Socket WFsync_SetupService(std::uint16_t& port) {
  port = 0;
  for (std::uint16_t candidate = WFsync_firstPort; candidate <= WFsync_lastPort; ++candidate) {
    Socket service = Messages_Quietly([&] { return Socket_Listen("", candidate, 4096); });
    if (service != Socket_Nil()) {
      port = candidate;
      Socket_Restrict(service, SPeers_Create());  // no one, until a slave is started
      return service;
    }
  }
  return Socket_Nil();
}

void WFsync_CloseService(Socket& service) { Socket_Close(service); }

WFsync_Connection WFsync_NoConnection() { return nullptr; }

WFsync_Connection WFsync_Connect(Socket service, std::uint16_t port, StrIn host, WFsync_YieldProc yield,
                                 void* yieldArg, StrOut reason) {
  reason.Clear();
  // 1. No service, no slave.
  if (service == Socket_Nil()) {
    Strings_Assign(WFsync_Text(kNoSlave, Text(host)), reason);
    return nullptr;
  }
  // 2. The slave is started in the background on its host, with this
  // process's DEBUG; it connects to this machine. A host that ssh could
  // take for an option (or the shell for a command) is never handed on.
  if (!WFsync_CheckHost(host, reason)) return nullptr;
  NameStr thisHost;
  DirAcces_GetMachineName(thisHost);
  const char* debug = std::getenv("DEBUG");
  const std::string remote = "DEBUG=" + SFilMisc_QuoteForShell(debug != nullptr ? debug : "") + " " + kSlaveProgram +
                             " -S " + SFilMisc_QuoteForShell(Text(thisHost) + ":" + std::to_string(port)) +
                             " >\"${TMP:-/tmp}\"/" + kSlaveLog + " 2>&1 </dev/null &";
  std::string remoteWord;
  WFsync_Word(remote, remoteWord);
  const std::string command = Ssh(host) + remoteWord;
  LetIn(service, host);
  if (!WFsync_Run(command)) {
    Strings_Assign(WFsync_Text(kCommandFailed, command), reason);
    return nullptr;
  }
  // 3. It connects back within 5 seconds.
  auto* conn = new WFsync_ConnRec;
  Strings_Assign(host, conn->host);
  conn->yield = yield;
  conn->yieldArg = yieldArg;
  for (int waited = 0; waited <= kConnectMs && conn->socket == nullptr; waited += kPollMs) {
    conn->socket = Messages_Quietly([&] { return Socket_Accept(service); });
    if (conn->socket != nullptr) break;
    Yield(conn);
    Utility_Delay(kPollMs);
  }
  if (conn->socket == nullptr) {
    Strings_Assign(WFsync_Text(kNoSlave, Text(host)), reason);
    WFsync_CloseConnection(conn);
    return nullptr;
  }
  Socket_SetNoDelay(conn->socket);
  // 4.-6. Its version and projects directory.
  TVWrequest_Line line = "";
  TextStr answer;
  PathStr projects;
  std::int32_t version = 0;
  WFsync_AppendString(line, WFsync_reqEnvironment);
  std::string failure;
  if (!Request(conn, line, kShortMs, answer) || !WFsync_SplitInt(answer, version) ||
      !WFsync_SplitString(answer, projects)) {
    failure = WFsync_Text(kNoEnvironment, Text(host));
  } else if (version != WFsync_version) {
    failure = WFsync_Text(kOtherVersion, Text(host), std::to_string(version));
  } else if (!Strings_Equal(projects, WFbackup_dataDir)) {
    failure = WFsync_Text(kOtherProjects, Text(host), Text(projects));
  }
  if (failure.empty()) return conn;
  Strings_Assign(failure, reason);
  WFsync_CloseConnection(conn);
  return nullptr;
}

void WFsync_CloseConnection(WFsync_Connection& conn) {
  if (conn == nullptr) return;
  Socket_Close(conn->socket);
  delete conn;
  conn = nullptr;
}

// --- Requests and results ---------------------------------------------------------------------

bool WFsync_SendRequest(WFsync_Connection conn, StrIn line) {
  if (conn == nullptr) return false;
  if (WFsync_Debug()) std::fprintf(stderr, "Request: %s\n", line.Str().c_str());
  const std::string bytes = line.Str() + "\n";
  return Socket_WriteBytes(conn->socket, bytes.data(), bytes.size()) && Socket_Flush(conn->socket);
}

bool WFsync_ReceiveResult(WFsync_Connection conn, int timeoutMs, StrOut text) {
  text.Clear();
  if (conn == nullptr) return false;
  TVWrequest_Line line;
  bool tooLong = false;
  for (int waited = 0;; waited += kPollMs) {
    if (TVWrequest_TakeLine(conn->socket, line, tooLong)) break;
    if (tooLong || !Socket_IsAlive(conn->socket)) {
      Strings_Assign(WFsync_Text(tooLong ? kUnreadable : kBroken, Text(conn->host)), text);
      return false;
    }
    if (waited >= timeoutMs) {
      if (WFsync_Debug()) std::fprintf(stderr, "%s\n", WFsync_Text(kDebugTimeout, std::to_string(timeoutMs)).c_str());
      Strings_Assign(WFsync_Text(kTimeout, Text(conn->host), std::to_string(timeoutMs)), text);
      return false;
    }
    Yield(conn);
    // Half a line may be there already: then the rest is waited for.
    if (Socket_Available(conn->socket) > 0) Utility_Delay(kPollMs);
    else Socket_WaitReadable(conn->socket, kPollMs);
  }
  if (WFsync_Debug()) std::fprintf(stderr, "Result: %s\n", StrIn(line).Str().c_str());
  const std::string received = StrIn(line).Str();
  bool success = false;
  if (!WFsync_SplitBool(line, success) || !WFsync_SplitString(line, text) || !StrIn(line).Empty()) {
    Strings_Assign(WFsync_Text(kUnreadable, Text(conn->host), received), text);
    return false;
  }
  return success;
}

bool WFsync_TmpFilenameReq(WFsync_Connection conn, StrIn suffix, StrOut text) {
  TVWrequest_Line line = "";
  WFsync_AppendString(line, WFsync_reqTmpFilename);
  WFsync_AppendString(line, suffix);
  return Request(conn, line, kShortMs, text);
}

bool WFsync_InstallWorkflowReq(WFsync_Connection conn, StrIn name, StrIn startDir, StrIn group, StrIn tarFile,
                               bool express, StrOut text) {
  TVWrequest_Line line = "";
  const bool fits = WFsync_AppendString(line, WFsync_reqInstallWorkflow) && WFsync_AppendString(line, name) &&
                    WFsync_AppendString(line, startDir) && WFsync_AppendString(line, group) &&
                    WFsync_AppendString(line, tarFile) && WFsync_AppendBool(line, express);
  if (!fits) {
    Strings_Assign(WFsync_Text(kCommandFailed, WFsync_reqInstallWorkflow), text);
    return false;
  }
  return Request(conn, line, kInstallMs, text);
}

bool WFsync_InstallModuleReq(WFsync_Connection conn, StrIn component, StrOut text) {
  TVWrequest_Line line = "";
  if (!WFsync_AppendString(line, WFsync_reqInstallModule) || !WFsync_AppendString(line, component)) {
    Strings_Assign(WFsync_Text(kCommandFailed, WFsync_reqInstallModule), text);
    return false;
  }
  return Request(conn, line, kShortMs, text);
}

// --- Workflows and components -------------------------------------------------------------------

bool WFsync_SyncUserDefModules(WFsync_Connection conn, WFmodule_FileList folders, WFmodule_FileList installed,
                               StrOut reason) {
  PathStr path;
  bool isDirectory = false;
  for (bool more = WFmodule_IterateFiles(folders, true, path, isDirectory); more;
       more = WFmodule_IterateFiles(folders, false, path, isDirectory)) {
    WFconfig_Entry entry{};
    if (!WFconfig_GetEntry(path, entry) || WFmodule_HasFile(installed, entry.folder)) continue;
    // 1. The command, 2. the icon (that one may fail), 3. the entry.
    const std::string command = SiteFile(entry.cmd);
    if (!command.empty() && !Copy(conn, command)) {
      Strings_Assign(WFsync_Text(kCopyFailed, Text(conn->host), command), reason);
      return false;
    }
    if (const std::string icon = SiteFile(entry.icon); !icon.empty()) Copy(conn, icon);
    TextStr text, answer;
    WFconfig_EntryToString(entry, text);
    if (!WFsync_InstallModuleReq(conn, text, answer)) {
      Strings_Assign(WFsync_Text(kComponentFailed, Text(entry.shortDesc), Text(conn->host)) + " " + Text(answer),
                     reason);
      return false;
    }
    // 4. Once per connection.
    WFmodule_AddFile(installed, entry.folder, true);
  }
  return true;
}

bool WFsync_SyncWorkflow(WFsync_Connection conn, StrIn name, WFmodule_FileList installed, StrOut reason) {
  reason.Clear();
  // 1. The workflow as it stands, 2. its express state and start directory.
  TextStr why;
  WFbase workflow = WFbase_RebuildWorkflow(name, WFbase_NoAnswer, why);
  if (workflow == WFbase_NilWorkflow()) {
    Strings_Assign(WFsync_Text(kNotRebuilt, Text(why)), reason);
    return false;
  }
  const bool express = WFsync_IsExpressWorkflow(workflow);
  PathStr startDir;
  WFfolder_GetStringOptDef(WFbase_StartFolder(workflow), WFbase_optStartDir, "", startDir);
  // 3. Its files, and its components apart; 4. the components first.
  WFmodule_FileList components = WFmodule_CreateFileList();
  WFmodule_FileList files = WFbackup_BuildFilelist(workflow, false, false, components);
  WFbase_DestroyWorkflow(workflow);
  bool ok = WFsync_SyncUserDefModules(conn, components, installed, reason);
  WFmodule_DestroyFileList(components);
  // 5. The list, 6. a name at the slave, 7. the tar file into it.
  PathStr listFile;
  TextStr remote;
  if (ok && (!SFilMisc_CreateTmpName("wfsync.lst", listFile) || !WFbackup_WriteFilelist(files, true, listFile))) {
    Strings_Assign(WFsync_Text(kListNotWritten, Text(listFile)), reason);
    ok = false;
  }
  WFmodule_DestroyFileList(files);
  if (ok && !WFsync_TmpFilenameReq(conn, ".tar", remote)) {
    Strings_Assign(WFsync_Text(kNoTmpName, Text(conn->host)) + " " + Text(remote), reason);
    ok = false;
  }
  std::string command;
  if (ok && !SendTar(conn, listFile, remote, command)) {
    Strings_Assign(WFsync_Text(kCommandFailed, command), reason);
    ok = false;
  }
  // 8. The list goes, 9. the install order with the group.
  if (!WFsync_Debug() && !StrIn(listFile).Empty()) Messages_Quietly([&] { return DirAcces_Remove(listFile); });
  if (!ok) return false;
  NameStr group;
  WFgroup_GetGroup(name, group);
  return WFsync_InstallWorkflowReq(conn, name, startDir, group, remote, express, reason);
}
