// WFbackup: the list of a workflow's files, and packing. Checking an
// archive is in WFbackupCheck.cpp, unpacking in WFbackupUnpack.cpp.
#include "distribution/WFbackup.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SFilMisc.h"
#include "distribution/WFbackupPrivate.h"
#include "rc/SAutoRcF.h"
#include "watch/TVWcfg.h"
#include "workflow/WFconfig.h"
#include "workflow/WFgroup.h"
#include "workflow/WFplaces.h"
#include "workflow/WFtvwCfg.h"

char WFbackup_tmpDir[kTextCap] = "";
char WFbackup_dataDir[kTextCap] = "";
char WFbackup_backupDir[kTextCap] = "";
char WFbackup_section[kSectionCap] = "WFbackup";

namespace {

// messages: WFbackup 2
constexpr unsigned kDummyNotMade = 2;  // with the directory

constexpr char kBackupDirName[] = "wfbackup";

std::string Trimmed(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

bool Exists(StrIn path) { return Messages_Quietly([&] { return DirAcces_Access(path, DirAcces_Mode::Exists); }); }

void AddRc(WFmodule_FileList list, WFfolder folder) {
  PathStr rc;
  WFfolder_GetRcFullName(folder, rc);
  WFmodule_AddFile(list, rc, false);
}

// The start folder's share: a link's target and the link, places, rc, the
// error and end directories.
void AddStart(WFmodule_FileList list, WFbase workflow, WFfolder folder, bool withLinks) {
  PathStr path, target;
  WFfolder_GetPath(folder, path);
  if (withLinks && Messages_Quietly([&] { return DirAcces_ReadLink(path, target); })) {
    std::string leadsTo(StrIn(target).View());
    if (!leadsTo.starts_with('/')) {
      PathStr parent, last;
      DirAcces_ExcludePath(path, parent, last);
      leadsTo = StrIn(parent).Str() + "/" + leadsTo;
    }
    if (Trimmed(leadsTo) != Trimmed(StrIn(path).Str())) {
      WFmodule_AddFile(list, leadsTo, true);
      WFmodule_AddFile(list, path, false);
    }
  }
  PathStr places;
  DirAcces_IncludePath(path, WFplaces_fileName, places);
  if (Exists(places)) WFmodule_AddFile(list, places, false);
  AddRc(list, folder);
  PathStr errorDir, outDir;
  WFbase_GetErrordir(workflow, errorDir);
  WFbase_GetDefaultOutdir(workflow, outDir);
  WFmodule_AddFile(list, errorDir, true);
  WFmodule_AddFile(list, outDir, true);
}

// The installer marks of every host in the folder.
void AddMarks(WFmodule_FileList list, StrIn path) {
  const std::string prefix = std::string(TVWcfg_installerMark).substr(0, std::string(TVWcfg_installerMark).find('%'));
  Messages_Quietly([&] {
    DirAcces_DirHandle dir = DirAcces_OpenDir(path);
    NameStr name;
    while (DirAcces_GetDirEntry(dir, name)) {
      if (!StrIn(name).View().starts_with(prefix)) continue;
      PathStr mark;
      DirAcces_IncludePath(path, name, mark);
      WFmodule_AddFile(list, mark, false);
    }
    DirAcces_CloseDir(dir);
  });
}

// A component's command or icon file, found through `variable` when it is a
// bare name; nothing when it lies below MARLLIB or isn't found.
void AddSiteFile(WFmodule_FileList list, StrIn variable, StrIn name) {
  std::string text(name.View());
  text = text.substr(0, text.find(' '));  // a command's arguments are no file
  if (text.empty()) return;
  PathStr found;
  if (text.starts_with('/')) {
    Strings_Assign(text, found);
  } else if (!Messages_Quietly([&] { return DirAcces_Lookup(variable, "", text, DirAcces_Mode::Exists, found); })) {
    return;
  }
  PathStr lib;
  DirAcces_IncludeSpecialPath(DirAcces_MARLLIB, "", lib);
  if (!DirAcces_PathStartsWith(found, Trimmed(StrIn(lib).Str()))) WFmodule_AddFile(list, found, false);
}

void AddComponent(WFmodule_FileList list, WFfolder folder, WFmodule_FileList userDefList) {
  PathStr path;
  WFfolder_GetPath(folder, path);
  if (userDefList != nullptr) {
    WFmodule_AddFile(userDefList, path, true);
    return;
  }
  WFconfig_Entry entry{};
  if (WFconfig_GetEntry(path, entry)) {
    AddSiteFile(list, "PATH", entry.cmd);
    AddSiteFile(list, "MARLENV", entry.icon);
  }
  PathStr cfg;
  WFconfig_GetCfgFilename(cfg);
  WFmodule_AddFile(list, cfg, false);
}

// A line of the list as tar reads it back: "\\" and "\n" for a backslash
// and a line feed, and never an option.
std::string ListLine(std::string path) {
  std::string line;
  if (path.starts_with('-')) line = "./";
  for (const char c : path) {
    if (c == '\\') line += "\\\\";
    else if (c == '\n') line += "\\n";
    else line += c;
  }
  return line + "\n";
}

// Writes the description into `dir`/`start`/.wfarchive.
bool WriteInfo(const WFbackup_Info& info, const std::string& dir, const std::string& start) {
  const std::string file = dir + "/" + start + "/" + WFbackup_infoName;
  SAutoRcF rc = SAutoRcF_Create();
  SAutoRcF_SetStringOpt(rc, WFbackup_infoWorkflow, info.workflow);
  SAutoRcF_SetStringOpt(rc, WFbackup_infoProjects, info.projects);
  SAutoRcF_SetStringOpt(rc, WFbackup_infoGroup, info.group);
  const bool written = Messages_Quietly([&] {
    return DirAcces_RecursiveMkDir(dir + "/" + start, 0) && SAutoRcF_Save(file, rc);
  });
  SAutoRcF_Destroy(rc);
  return written;
}

// Runs `command` through the shell with its standard output on `stream`
// (when 0 or above); its exit status, 2 when it can't be run.
int RunWithOutput(const std::string& command, int stream) {
  if (stream < 0) return Processe_ExecuteCommand(command, 0);
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0) return 2;
  if (child == 0) {
    if (::dup2(stream, STDOUT_FILENO) < 0) ::_exit(2);
    ::execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  int status = 0;
  return Processe_WaitPID(child, false, status) == child ? status : 2;
}

}  // namespace

void WFbackup_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  DirAcces_Init();
  SFilMisc_Init();
  SAutoRcF_Init();
  WFbase_Init();
  WFgroup_Init();
  DirAcces_EnvVar("TMP", WFbackup_tmpDir);
  DirAcces_IncludeSpecialPath(DirAcces_TV_PROJECTS, "", WFbackup_dataDir);
  Strings_Assign(Trimmed(StrIn(WFbackup_dataDir).Str()), WFbackup_dataDir);
  DirAcces_IncludePath(WFbackup_dataDir, kBackupDirName, WFbackup_backupDir);
}

void WFbackup_GetBackupDir(StrOut dir) { Strings_Assign(WFbackup_backupDir, dir); }

void WFbackup_GetTarProgram(StrOut program) {
  PathStr found;
  const bool gnu = Messages_Quietly([&] { return DirAcces_Lookup("PATH", "", "gtar", DirAcces_Mode::Execute, found); });
  Strings_Assign(gnu ? StrIn("gtar") : StrIn("tar"), program);
}

bool WFbackup_Escaped(StrIn text, std::string& escaped) {
  TextStr buffer;
  const bool whole = SFilMisc_EscapeShMetaChars(text, buffer);
  escaped = StrIn(buffer).Str();
  return whole && !text.Empty();
}

// --- Staging ------------------------------------------------------------------------------

bool WFbackup_Stage::Make(StrIn prefix) {
  PathStr path;
  if (!SFilMisc_CreateTmpName(StrIn(WFbackup_dataDir).Str() + "/" + prefix.Str(), path)) return false;
  if (::mkdir(path, 0700) != 0) return false;
  path_ = StrIn(path).Str();
  return true;
}

WFbackup_Stage::~WFbackup_Stage() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

// --- The list ------------------------------------------------------------------------------

WFmodule_FileList WFbackup_BuildFilelist(WFbase workflow, bool withLinks, bool withMarks,
                                         WFmodule_FileList userDefList) {
  if (workflow == WFbase_NilWorkflow()) return WFmodule_NilFileList();
  WFmodule_FileList list = WFmodule_CreateFileList();
  const bool multiHost = withMarks && Messages_Quietly([] { return WFtvwCfg_MultiHostHotfolder(); });
  WFbase_FolderList folders = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList entry = folders; entry != nullptr; entry = entry->next) {
    WFfolder folder = entry->folder;
    PathStr path;
    WFfolder_GetPath(folder, path);
    // 1.-3. By kind: the start, a passive end as a directory, the rc of the rest.
    if (WFfolder_Kind(folder) == kWFfolderStart) {
      AddStart(list, workflow, folder, withLinks);
    } else if (WFfolder_End(folder) && !WFfolder_ActiveEnd(folder)) {
      WFmodule_AddFile(list, path, true);
    } else {
      AddRc(list, folder);
    }
    // 4. Marks, 5. what the parameters refer to, 6. components.
    if (multiHost) AddMarks(list, path);
    WFfolder_AddReferencedFiles(list, folder);
    if (WFfolder_UserDef(folder)) AddComponent(list, folder, userDefList);
  }
  WFbase_DestroyFolderList(folders);
  return list;
}

WFmodule_FileList WFbackup_GetFilelist(StrIn name) {
  TextStr reason;
  WFbase workflow = WFbase_RebuildWorkflow(name, WFbase_NoAnswer, reason);
  WFmodule_FileList list = WFbackup_BuildFilelist(workflow, true, true, WFmodule_NilFileList());
  WFbase_DestroyWorkflow(workflow);
  return list;
}

bool WFbackup_WriteFilelist(WFmodule_FileList list, bool absolute, StrIn fileName) {
  std::FILE* file = std::fopen(fileName.Str().c_str(), "w");
  if (file == nullptr) return false;
  PathStr path;
  bool isDirectory = false;
  for (bool more = WFmodule_IterateFiles(list, true, path, isDirectory); more;
       more = WFmodule_IterateFiles(list, false, path, isDirectory)) {
    if (!Exists(path)) continue;
    if (isDirectory) {
      PathStr dummy;
      DirAcces_IncludePath(path, WFbackup_dummyName, dummy);
      if (!Messages_Quietly([&] { return DirAcces_Touch(dummy); })) {
        WFbase_Message(WFbackup_section, kDummyNotMade, path);
        continue;
      }
      Strings_Assign(dummy, path);
    }
    if (!absolute) DirAcces_ReplacePathHead(path, WFbackup_dataDir, ".");
    std::fputs(ListLine(StrIn(path).Str()).c_str(), file);
  }
  const bool written = std::ferror(file) == 0;
  return std::fclose(file) == 0 && written;
}

// --- Packing -------------------------------------------------------------------------------

bool WFbackup_PackFilelist(WFmodule_FileList list, const WFbackup_Info* info, StrIn archive, int stream) {
  PathStr listFile, infoDir, temporary;
  if (!SFilMisc_CreateTmpName("wfbackup.lst", listFile) || !WFbackup_WriteFilelist(list, false, listFile)) {
    Messages_Quietly([&] { return DirAcces_Remove(listFile); });
    return false;
  }
  // The description goes in from a directory of its own, at the start
  // directory's place in the archive.
  std::string infoMember;
  bool ok = true;
  if (info != nullptr) {
    PathStr start;
    WFbase_GetStartPath(info->workflow, start);
    DirAcces_ReplacePathHead(start, WFbackup_dataDir, ".");
    infoMember = StrIn(start).Str() + "/" + WFbackup_infoName;
    ok = SFilMisc_CreateTmpName("wfbackup", infoDir) && WriteInfo(*info, StrIn(infoDir).Str(), StrIn(start).Str());
  }
  const bool toFile = stream < 0;
  if (toFile) ok = ok && SFilMisc_CreateTmpName(archive, temporary);
  std::string tar, projects, target, listArg, infoDirArg, infoArg;
  NameStr program;
  WFbackup_GetTarProgram(program);
  ok = ok && WFbackup_Escaped(program, tar) && WFbackup_Escaped(WFbackup_dataDir, projects) &&
       WFbackup_Escaped(listFile, listArg) && (!toFile || WFbackup_Escaped(temporary, target));
  if (ok && info != nullptr) ok = WFbackup_Escaped(infoDir, infoDirArg) && WFbackup_Escaped(infoMember, infoArg);
  if (ok) {
    std::string command = "cd " + projects + " && " + tar + " --create --file=" + (toFile ? target : "-") +
                          " --files-from=" + listArg + " -P";
    if (info != nullptr) command += " -C " + infoDirArg + " " + infoArg;
    ok = RunWithOutput(command, stream) == 0;
  }
  // The list and the description go; the archive replaces the old one.
  Messages_Quietly([&] { return DirAcces_Remove(listFile); });
  std::error_code ignored;
  if (!StrIn(infoDir).Empty()) std::filesystem::remove_all(StrIn(infoDir).Str(), ignored);
  if (toFile && !StrIn(temporary).Empty()) {
    Messages_Quietly([&] { return DirAcces_ChMod(temporary, 0666); });
    ok = ok && Messages_Quietly([&] { return DirAcces_AtomicRename(temporary, archive); });
    if (!ok) Messages_Quietly([&] { return DirAcces_Remove(temporary); });
  }
  return ok;
}

bool WFbackup_PackWorkflow(StrIn name, StrIn targetDir, StrOut archive) {
  archive.Clear();
  std::fputs("\n", stderr);
  // 1. The workflow's files.
  WFmodule_FileList list = WFbackup_GetFilelist(name);
  if (list == WFmodule_NilFileList()) return false;
  // 2. Where the archive goes: a relative directory counts from here.
  PathStr dir;
  Strings_Assign(targetDir.Empty() ? StrIn(WFbackup_backupDir) : targetDir, dir);
  if (dir[0] != '/') {
    PathStr here, relative;
    Strings_Assign(dir, relative);
    DirAcces_LogicalCurrentDir(here);
    DirAcces_IncludePath(here, relative, dir);
  }
  // The site's backup directory is open to all; a directory of the caller's
  // is only made when missing.
  if (!Exists(dir)) Messages_Quietly([&] { return DirAcces_RecursiveMkDir(dir, targetDir.Empty() ? 0777 : 0); });
  PathStr file;
  Strings_Concat(name, ".tar", file);
  DirAcces_IncludePath(dir, file, archive);
  // 3. The description, 4. the archive.
  WFbackup_Info info;
  Strings_Assign(name, info.workflow);
  Strings_Assign(WFbackup_dataDir, info.projects);
  WFgroup_GetGroup(name, info.group);
  if (StrIn(info.group).View().find('\n') != std::string_view::npos) info.group[0] = '\0';  // no line of its own
  const bool packed = WFbackup_PackFilelist(list, &info, archive, -1);
  WFmodule_DestroyFileList(list);
  return packed;
}
