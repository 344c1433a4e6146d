// WFsync: the slave's side. The loop that serves the master, the answers to
// its requests, the start directory and the components. The install of a
// workflow is in WFsyncInstall.cpp.
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "base/Utility.h"
#include "distribution/WFbackup.h"
#include "distribution/WFsync.h"
#include "distribution/WFsyncPrivate.h"
#include "watch/TVWrequest.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFconfig.h"

namespace {

// messages: WFsync 7 8 13 14 19-21
constexpr unsigned kNotReserved = 7;
constexpr unsigned kNotSaved = 19;
constexpr unsigned kBadComponent = 8;      // with the text
constexpr unsigned kNoStartDir = 13;       // with the path
constexpr unsigned kNoStartLink = 14;      // with the path
constexpr unsigned kUnknownRequest = 20;   // with the line
constexpr unsigned kInvalidRequest = 21;   // with the line

constexpr int kPollMs = 100;
constexpr int kConnectMs = 5000;
// How long a component file held by another is waited for.
constexpr int kReserveMs = 3000;

std::string Text(StrIn text) { return text.Str(); }

bool Send(Socket s, bool success, const std::string& text) {
  TVWrequest_Line line = "";
  WFsync_AppendBool(line, success);
  std::string answer = text;
  while (!WFsync_AppendString(line, answer) && !answer.empty()) answer.resize(answer.size() / 2);  // cut to fit
  const std::string bytes = StrIn(line).Str() + "\n";
  return Socket_WriteBytes(s, bytes.data(), bytes.size()) && Socket_Flush(s);
}

bool Answer(Socket s, bool success, StrIn text) { return Send(s, success, Text(text)); }

bool IsLinkTo(StrIn link, StrIn target) {
  PathStr leadsTo;
  return Messages_Quietly([&] { return DirAcces_ReadLink(link, leadsTo); }) && Strings_Equal(leadsTo, target);
}

}  // namespace

bool WFsync_NoRepair(StrIn) { return false; }

bool WFsync_HasFolder(WFbase workflow, StrIn path) { return WFbase_FindFolder(workflow, path) != nullptr; }

// --- The loop ----------------------------------------------------------------------------------

bool WFsync_Slave(StrIn host, std::uint16_t port) {
  // 1. Nobody to ask: every question of an install is a yes.
  WFbase_SetFeedback(false);
  AutoMisc_SetFeedback(false);
  // 2. To the master, 3. its requests until it goes.
  Socket master = Messages_Quietly([&] { return Socket_Connect(host, port, 4096, kConnectMs); });
  if (master == Socket_Nil()) return false;
  Socket_SetNoDelay(master);
  TVWrequest_Line line;
  for (;;) {
    bool tooLong = false;
    if (TVWrequest_TakeLine(master, line, tooLong)) {
      if (!WFsync_HandleRequest(master, line)) break;
      continue;
    }
    // A line too long for the protocol puts the two out of step: the slave
    // leaves, and the master finds the connection gone.
    if (tooLong || !Socket_IsAlive(master)) break;
    if (Socket_Available(master) > 0) Utility_Delay(kPollMs);  // the rest of a line
    else Socket_WaitReadable(master, kPollMs);
  }
  Socket_Close(master);
  return true;
}

bool WFsync_HandleRequest(Socket s, StrIn request) {
  TVWrequest_Line line;
  Strings_Assign(request, line);
  NameStr word;
  WFsync_SplitString(line, word);
  const std::string invalid = WFsync_Text(kInvalidRequest, Text(request));
  if (Strings_Equal(word, WFsync_reqEnvironment)) {
    TVWrequest_Line environment = "";
    WFsync_AppendInt(environment, WFsync_version);
    WFsync_AppendString(environment, WFbackup_dataDir);
    return Answer(s, true, environment);
  }
  if (Strings_Equal(word, WFsync_reqTmpFilename)) {
    NameStr suffix;
    PathStr name;
    if (!WFsync_SplitString(line, suffix) || !StrIn(line).Empty()) return Send(s, false, invalid);
    const bool made = SFilMisc_CreateTmpName("wfsync" + Text(suffix), name);
    return Answer(s, made, made ? StrIn(name) : StrIn(invalid));
  }
  if (Strings_Equal(word, WFsync_reqInstallWorkflow)) {
    NameStr name, group;
    PathStr startDir, tarFile;
    bool express = false;
    if (!WFsync_SplitString(line, name) || !WFsync_SplitString(line, startDir) || !WFsync_SplitString(line, group) ||
        !WFsync_SplitString(line, tarFile) || !WFsync_SplitBool(line, express) || !StrIn(line).Empty() ||
        StrIn(name).Empty() || StrIn(tarFile).Empty())
      return Send(s, false, invalid);
    TextStr reason;
    const bool installed = WFsync_InstallWorkflow(name, startDir, group, tarFile, express, reason);
    return Answer(s, installed, reason);
  }
  if (Strings_Equal(word, WFsync_reqInstallModule)) {
    TextStr text, reason;
    if (!WFsync_SplitString(line, text) || !StrIn(line).Empty()) return Send(s, false, invalid);
    const bool installed = WFsync_InstallModule(text, reason);
    return Answer(s, installed, reason);
  }
  return Send(s, false, WFsync_Text(kUnknownRequest, Text(request)));
}

// --- Start directory and components -------------------------------------------------------------

bool WFsync_InstallStartDir(StrIn name, StrIn startDir, StrOut reason) {
  reason.Clear();
  PathStr standard, other;
  WFbase_GetStartPath(name, standard);
  // 1. A directory that another workflow starts in is refused.
  bool below = false;
  const StrIn dir = startDir.Empty() ? StrIn(standard) : startDir;
  if (WFbase_IsWorkflowStart(dir, name, other, below)) {
    TextStr text;
    Messages_GetMsg("WFbase", below ? 11 : 10, text);
    SPrintf_String(text, dir);
    SPrintf_String(text, other);
    Strings_Assign(text, reason);
    return false;
  }
  // 2. The standard place needs nothing.
  if (startDir.Empty() || Strings_Equal(startDir, standard)) return true;
  // 3. The directories of the path, one by one.
  const std::string path = Text(startDir);
  for (std::size_t at = path.find('/', 1);; at = path.find('/', at + 1)) {
    const std::string step = path.substr(0, at);
    if (::mkdir(step.c_str(), 0777) != 0 && errno != EEXIST) {
      Strings_Assign(WFsync_Text(kNoStartDir, step), reason);
      return false;
    }
    if (at == std::string::npos) break;
  }
  // 4. The link that is there, 5. or one in place of what is there.
  if (IsLinkTo(standard, startDir)) return true;
  DirAcces_Stat stat;
  if (Messages_Quietly([&] { return DirAcces_LFileStatN(standard, stat); })) {
    std::string word;
    WFsync_Word(standard, word);
    if (stat.isLink) Messages_Quietly([&] { return DirAcces_Remove(standard); });
    else WFsync_Run("rm -rf " + word);
  }
  if (!Messages_Quietly([&] { return DirAcces_Symlink(startDir, standard); })) {
    Strings_Assign(WFsync_Text(kNoStartLink, Text(standard)), reason);
    return false;
  }
  return true;
}

bool WFsync_InstallModule(StrIn text, StrOut reason) {
  reason.Clear();
  WFconfig_Entry entry{};
  if (!WFconfig_StringToEntry(text, entry)) {
    Strings_Assign(WFsync_Text(kBadComponent, Text(text)), reason);
    return false;
  }
  int waited = 0;
  while (!Messages_Quietly([] { return WFconfig_Reserve(); })) {
    if (waited >= kReserveMs) {
      PathStr file;
      WFconfig_GetCfgFilename(file);
      Strings_Assign(WFsync_Text(kNotReserved, Text(file)), reason);
      return false;
    }
    Utility_Delay(kPollMs);
    waited += kPollMs;
  }
  // The entry of the same folder is replaced in its place, a new one goes last.
  WFconfig_List list = WFconfig_LoadConfiguration();
  bool replaced = false;
  for (WFconfig_Entry* at = list; at != nullptr && !replaced; at = at->next) {
    if (!Strings_Equal(at->folder, entry.folder)) continue;
    WFconfig_Entry* next = at->next;
    *at = entry;
    at->next = next;
    replaced = true;
  }
  if (!replaced) {
    WFconfig_Entry* added = WFconfig_CopyComponent(&entry);
    WFconfig_AppendEntry(list, added);
  }
  const bool saved = Messages_Quietly([&] { return WFconfig_SaveConfiguration(list); });
  WFconfig_DestroyList(list);
  WFconfig_Release();
  if (!saved) Strings_Assign(WFsync_Text(kNotSaved), reason);
  return saved;
}
