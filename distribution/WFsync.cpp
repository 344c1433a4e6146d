// WFsync: what master and slave share: the tokens of the lines, the state
// of a workflow on disk, messages and the shell.
#include "distribution/WFsync.h"

#include <cstdlib>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "distribution/WFbackup.h"
#include "distribution/WFsyncPrivate.h"
#include "watch/TVWcfg.h"
#include "watch/TVWrequest.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFconfig.h"
#include "workflow/WFgroup.h"

char WFsync_section[kSectionCap] = "WFsync";

namespace {

constexpr unsigned kBadHost = 30;  // with the host

void Mark(WFfolder folder, StrIn mark, bool put) {
  if (!WFfolder_Startable(folder)) return;
  PathStr path, file;
  WFfolder_GetPath(folder, path);
  DirAcces_IncludePath(path, mark, file);
  Messages_Quietly([&] { return put ? DirAcces_Touch(file) : DirAcces_Remove(file); });
}

void MarkAll(WFbase workflow, StrIn mark, bool put) {
  WFbase_FolderList folders = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList entry = folders; entry != nullptr; entry = entry->next) Mark(entry->folder, mark, put);
  WFbase_DestroyFolderList(folders);
}

bool StartHolds(WFbase workflow, StrIn mark) {
  WFfolder start = WFbase_StartFolder(workflow);
  if (start == nullptr) return false;
  PathStr path, file;
  WFfolder_GetPath(start, path);
  DirAcces_IncludePath(path, mark, file);
  return Messages_Quietly([&] { return DirAcces_Access(file, DirAcces_Mode::Exists); });
}

}  // namespace

void WFsync_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  DirAcces_Init();
  SFilMisc_Init();
  WFbase_Init();
  AutoMisc_Init();
  WFconfig_Init();
  WFgroup_Init();
  WFbackup_Init();
}

// --- Tokens ------------------------------------------------------------------------------

bool WFsync_AppendString(StrOut line, StrIn text) { return TVWrequest_AppendString(line, text); }
bool WFsync_AppendBool(StrOut line, bool value) { return TVWrequest_AppendBool(line, value); }
bool WFsync_AppendInt(StrOut line, std::int32_t value) { return TVWrequest_AppendInt(line, value); }
bool WFsync_SplitString(StrOut line, StrOut text) { return TVWrequest_SplitToken(line, text); }
bool WFsync_SplitInt(StrOut line, std::int32_t& value) { return TVWrequest_SplitInt(line, value); }

bool WFsync_SplitBool(StrOut line, bool& value) {
  NameStr token;
  if (!TVWrequest_SplitToken(line, token)) return false;
  value = Strings_Equal(token, "true");
  return value || Strings_Equal(token, "false");
}

// --- Workflow state ------------------------------------------------------------------------

bool WFsync_WorkflowStopped(WFbase workflow) { return StartHolds(workflow, TVWcfg_omitMark); }
void WFsync_StopWorkflow(WFbase workflow) { MarkAll(workflow, TVWcfg_omitMark, true); }

void WFsync_StartWorkflow(WFbase workflow) {
  MarkAll(workflow, TVWcfg_omitMark, false);
  MarkAll(workflow, TVWcfg_discFullMark, false);
}

bool WFsync_IsExpressWorkflow(WFbase workflow) { return StartHolds(workflow, TVWcfg_expressMark); }
void WFsync_SetExpressWorkflow(WFbase workflow, bool express) { MarkAll(workflow, TVWcfg_expressMark, express); }

// --- Shared helpers --------------------------------------------------------------------------

std::string WFsync_Text(unsigned number, const std::string& first, const std::string& second) {
  TextStr text;
  Messages_GetMsg(WFsync_section, number, text);
  if (!first.empty()) SPrintf_String(text, first);
  if (!second.empty()) SPrintf_String(text, second);
  return StrIn(text).Str();
}

bool WFsync_Debug() {
  const char* debug = std::getenv("DEBUG");
  return debug != nullptr && *debug != '\0';
}

bool WFsync_Word(StrIn text, std::string& word) {
  word = SFilMisc_QuoteForShell(text.View());
  return !text.Empty();
}

bool WFsync_CheckHost(StrIn host, StrOut reason) {
  reason.Clear();
  const std::string_view text = host.View();
  const std::size_t at = text.find('@');
  const std::string_view user = at == std::string_view::npos ? std::string_view() : text.substr(0, at);
  const std::string_view name = at == std::string_view::npos ? text : text.substr(at + 1);
  const auto fits = [](std::string_view part, std::string_view extra) {
    if (part.empty() || part.front() == '-') return false;
    for (const char c : part) {
      const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
                         c == '.' || c == '_';
      if (!plain && extra.find(c) == std::string_view::npos) return false;
    }
    return true;
  };
  if ((at == std::string_view::npos || fits(user, "")) && fits(name, ":[]")) return true;
  Strings_Assign(WFsync_Text(kBadHost, std::string(text)), reason);  // messages: WFsync 30
  return false;
}

bool WFsync_Run(const std::string& command) {
  return Messages_Quietly([&] { return Processe_ExecuteCommand(command, 0); }) == 0;
}
