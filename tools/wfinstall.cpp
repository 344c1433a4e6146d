// wfinstall: the operator's tool that creates, changes and removes
// workflows without the manager's window.
//
//   wfinstall [-f] [-n] [-w NAME] FILE   make the workflow FILE describes
//                                        (WFdesc) look like that, and install it
//   wfinstall -c [-w NAME] FILE      only check FILE against the kinds
//   wfinstall [-f] -r NAME           remove the workflow NAME
//   wfinstall -S HOST... [NAME...]   synchronise workflows to slave hosts
//                                    (WFsyncRun); without names, those
//                                    whose sync options name the host
//
// FILE "-" is standard input. Installing goes through the workflow model as
// the manager's does: the workflow is read from disk (or made new), changed
// in memory by the description, and installed, which writes only what
// changed. A folder that the change (or the removal) would delete while it
// still holds files is refused, and nothing is written, unless -f is given;
// so is a workflow locked against changes. Before anything is written the
// workflow must pass the checks of WFtest (also with -c): a refusal names
// the check's fault and the folder's line. An install tells the watch demon;
// when none runs it starts one, unless -n is given.
//
// Results go to standard output, failures to standard error. Exit status:
// 0 success, 1 a reported failure (a bad description or command line, a
// refusal, an install that failed part way), 2 an internal error.
#include <algorithm>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/Catalog.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Options.h"
#include "base/Processe.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "distribution/RWbase.h"
#include "distribution/WFsync.h"
#include "rc/SrcFile.h"
#include "tools/WFdesc.h"
#include "tools/WFsyncRun.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFtest.h"

namespace {

char section[kSectionCap] = "wfinstall";

constexpr unsigned kUsageFirst = 1;
constexpr unsigned kUsageLast = 7;
constexpr unsigned kValid = 10;          // with the file
constexpr unsigned kInstalled = 11;      // with the workflow
constexpr unsigned kUnchanged = 12;      // with the workflow
constexpr unsigned kRemoved = 13;        // with the workflow
constexpr unsigned kFault = 20;          // with the file, the line and the fault
constexpr unsigned kUnreadable = 21;     // with the file
constexpr unsigned kNoName = 22;
constexpr unsigned kBadName = 23;        // with the name
constexpr unsigned kBroken = 24;         // with the workflow and the reasons
constexpr unsigned kHoldsFiles = 25;     // with the folder's directory
constexpr unsigned kNotInstalled = 26;   // with the workflow
constexpr unsigned kNotRemoved = 27;     // with the workflow
constexpr unsigned kNoWorkflow = 28;     // with the workflow
constexpr unsigned kLocked = 29;         // with the workflow
// messages: wfinstall 30
constexpr unsigned kRefused = 30;        // with the folder's name

enum class Action { Install, Check, Remove, Sync };

struct Options {
  Action action = Action::Install;
  bool force = false;
  bool noDemon = false;  // -n
  std::string name;  // -w NAME, or the workflow of -r
  std::string file;
  std::vector<std::string> hosts, workflows;  // -S
};

void Say(std::FILE* stream, unsigned number, StrIn first = "", StrIn second = "") {
  TextStr text;
  Messages_GetMsg(section, number, text);
  if (!first.Empty()) SPrintf_String(text, first);
  if (!second.Empty()) SPrintf_String(text, second);
  std::fprintf(stream, "%s\n", StrIn(text).Str().c_str());
}

// The command line, read whole before any module starts.
bool GetOptions(Options& options) {
  const Options_Option table[] = {
      {"-f", false, Options_Set(options.force)},
      {"-n", false, Options_Set(options.noDemon)},
      {"-c", false, [&](const std::string&) {
         options.action = Action::Check;
         return true;
       }},
      {"-r", true,
       [&](const std::string& name) {
         options.action = Action::Remove;
         options.name = name;
         return true;
       }},
      {"-w", true, Options_Store(options.name)},
      {"-S", true,
       [&](const std::string& host) {
         options.action = Action::Sync;
         options.hosts.push_back(host);
         return !host.empty();
       }},
  };
  const auto operand = [&options](const std::string& word) {
    if (options.action == Action::Sync) {
      options.workflows.push_back(word);
      return true;
    }
    if (!options.file.empty()) return false;
    options.file = word;
    return true;
  };
  if (!Options_Read(table, operand)) return false;
  if (options.action == Action::Sync) return options.file.empty() && options.name.empty() && !options.force;
  if (options.action == Action::Remove) return options.file.empty() && !options.name.empty();
  return !options.file.empty();
}

// --- Looking at the disk -------------------------------------------------------------------

bool IsLink(StrIn path) {
  DirAcces_Stat stat;
  return Messages_Quietly([&] { return DirAcces_LFileStatN(path, stat); }) && stat.isLink;
}

// Refuses, unless forced, to delete a folder that still holds files (names
// that don't begin with a dot); a start folder with its end and error
// directories. A start behind a link keeps its directory.
bool MayDelete(WFbase workflow, const std::vector<WFfolder>& folders, bool force) {
  if (force) return true;
  bool may = true;
  for (WFfolder folder : folders) {
    PathStr path;
    WFfolder_GetPath(folder, path);
    std::vector<std::string> dirs;
    const bool start = WFfolder_Kind(folder) == kWFfolderStart;
    if (!WFfolder_PassiveEnd(folder) && !(start && IsLink(path))) dirs.push_back(StrIn(path).Str());
    if (start) {
      PathStr dir;
      WFbase_GetDefaultOutdir(workflow, dir);
      dirs.push_back(StrIn(dir).Str());
      WFbase_GetErrordir(workflow, dir);
      dirs.push_back(StrIn(dir).Str());
    }
    for (const std::string& dir : dirs) {
      if (!AutoMisc_HoldsFiles(dir, start && dir == StrIn(path).Str())) continue;
      Say(stderr, kHoldsFiles, dir);
      may = false;
    }
  }
  return may;
}

bool Unlocked(StrIn name, bool force) {
  if (force || !WFbase_WorkflowLockedByName(name)) return true;
  Say(stderr, kLocked, name);
  return false;
}

bool StartExists(StrIn name) {
  PathStr start;
  WFbase_GetStartPath(name, start);
  DirAcces_Stat stat;
  return Messages_Quietly([&] { return DirAcces_LFileStatN(start, stat); });
}

// The workflow as it stands on disk, or a new one when there is none (or
// only a start directory that a failed install left without its rc).
WFbase Open(StrIn name, WFbase_AnswerProc answer) {
  if (WFbase workflow = WFbase_RebuildWorkflowStart(name); workflow != WFbase_NilWorkflow()) {
    WFbase_DestroyWorkflow(workflow);
    TextStr reason;
    workflow = WFbase_RebuildWorkflow(name, answer, reason);
    if (workflow == WFbase_NilWorkflow()) Say(stderr, kBroken, name, reason);
    return workflow;
  }
  return WFbase_CreateWorkflow(name, false);
}

bool Repair(StrIn) { return true; }

// --- The actions ------------------------------------------------------------------------------

bool Install(const Options& options) {
  std::string text;
  if (!SFilMisc_ReadAll(options.file, text)) {
    Say(stderr, kUnreadable, options.file);
    return false;
  }
  WFdesc_Description description;
  WFdesc_Error error;
  const auto fault = [&] {
    TextStr line;
    Messages_GetMsg(section, kFault, line);
    SPrintf_String(line, options.file);
    SPrintf_Card(line, error.line);
    SPrintf_String(line, error.text);
    std::fprintf(stderr, "%s\n", StrIn(line).Str().c_str());
    return false;
  };
  if (!WFdesc_Parse(text.data(), text.size(), description, error)) return fault();
  const std::string name = !options.name.empty() ? options.name : StrIn(description.workflow).Str();
  if (name.empty()) {
    Say(stderr, kNoName);
    return false;
  }
  if (!WFdesc_ValidWorkflowName(name)) {
    Say(stderr, kBadName, name);
    return false;
  }
  if (options.action == Action::Install && !Unlocked(name, options.force)) return false;
  WFbase workflow = Open(name, WFbase_NoAnswer);
  if (workflow == WFbase_NilWorkflow()) return false;
  std::vector<WFfolder> removed;
  std::vector<WFdesc_Made> made;
  bool ok = WFdesc_Apply(description, workflow, removed, error, &made) || fault();
  if (ok && !WFtest_CheckWorkflow(nullptr, workflow)) {
    // The check has told what is wrong; the tool tells where.
    const WFfolder faulty = WFtest_FaultyFolder();
    const auto at = std::find_if(made.begin(), made.end(), [&](const WFdesc_Made& m) { return m.folder == faulty; });
    error.line = at != made.end() ? at->line->line : description.lines;
    Messages_GetMsg(section, kRefused, error.text);
    SPrintf_String(error.text, at != made.end() ? StrIn(at->line->name) : StrIn(WFdesc_outdir));
    ok = fault();
  }
  if (ok && options.action == Action::Check) {
    Say(stdout, kValid, options.file);
  } else if (ok) {
    ok = MayDelete(workflow, removed, options.force);
    if (ok && WFbase_Modified(workflow)) {
      ok = WFbase_InstallWorkflow(workflow);
      Say(ok ? stdout : stderr, ok ? kInstalled : kNotInstalled, name);
    } else if (ok) {
      // Nothing to write: the demon and the remote watch still catch up on
      // what an earlier, failed install left out.
      ok = WFbase_UpdateDemonConfig(workflow) && WFbase_UpdateRemoteWatchConfig(workflow, false);
      Say(ok ? stdout : stderr, ok ? kUnchanged : kNotInstalled, name);
    }
  }
  WFbase_DestroyWorkflow(workflow);
  return ok;
}

bool Remove(const Options& options) {
  const StrIn name(options.name);
  if (!WFdesc_ValidWorkflowName(name)) {
    Say(stderr, kBadName, name);
    return false;
  }
  if (!StartExists(name)) {
    Say(stderr, kNoWorkflow, name);
    return false;
  }
  if (!Unlocked(name, options.force)) return false;
  // A broken branch is read as far as it goes: all of that is removed.
  WFbase workflow = Open(name, Repair);
  if (workflow == WFbase_NilWorkflow()) return false;
  std::vector<WFfolder> folders;
  WFbase_FolderList list = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList entry = list; entry != nullptr; entry = entry->next) folders.push_back(entry->folder);
  WFbase_DestroyFolderList(list);
  if (!MayDelete(workflow, folders, options.force)) {
    WFbase_DestroyWorkflow(workflow);
    return false;
  }
  const bool ok = WFbase_UninstallWorkflow(workflow);
  Say(ok ? stdout : stderr, ok ? kRemoved : kNotRemoved, name);
  return ok;
}

bool Run(const Options& options) {
  AutoMisc_AllowDemonStart(!options.noDemon);
  // Batch work: messages go to standard error, every question is a yes.
  WFbase_SetFeedback(false);
  AutoMisc_SetFeedback(false);
  if (options.action == Action::Sync) return WFsyncRun_Sync(options.hosts, options.workflows);
  return options.action == Action::Remove ? Remove(options) : Install(options);
}

}  // namespace

int main(int argc, char** argv) {
  Argument_Init(argc, argv);
  Options options;
  if (!GetOptions(options)) Options_Refuse("WFINSTALLmsg", section, kUsageFirst, kUsageLast);  // messages: wfinstall 1-7
  Processe_Init();
  Messages_Init();
  Catalog_Init();
  DirAcces_Init();
  SrcFile_Init();
  RWbase_Init();
  WFdesc_Init();
  WFsync_Init();
  WFtest_Init();
  Messages_UseMsgCat("WFINSTALLmsg");
  // Anything that does not explicitly succeed leaves with 1.
  Processe_SetExitStatus(1);
  if (Run(options)) Processe_SetExitStatus(0);
  Processe_Exit();
  return Processe_GetExitStatus();
}
