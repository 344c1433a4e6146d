// WFstatus: stopping, starting and speeding up folders by the demon's marks,
// and the redo of handled files.
#include <unistd.h>

#include <set>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "manager/WFstatusPrivate.h"
#include "watch/TVWhandled.h"

namespace {

constexpr unsigned kCannotSet = 27;
constexpr unsigned kCannotRemove = 28;
constexpr unsigned kCannotRedo = 30;

bool PutMark(const std::string& dir, const char* mark) {
  const std::string file = dir + "/" + mark;
  WFstatus_ForgetDir(dir);
  if (Messages_Quietly([&] { return DirAcces_Touch(file); })) return true;
  WFstatus_Say(kCannotSet, file);
  return false;
}

bool TakeMark(const std::string& dir, const char* mark) {
  const std::string file = dir + "/" + mark;
  WFstatus_ForgetDir(dir);
  if (::access(file.c_str(), F_OK) != 0 || Messages_Quietly([&] { return DirAcces_Remove(file); })) return true;
  WFstatus_Say(kCannotRemove, file);
  return false;
}

bool TakeMarks(WFfolder folder, std::initializer_list<const char*> marks) {
  bool done = true;
  for (const std::string& dir : WFstatus_MarkDirs(folder))
    for (const char* mark : marks) done = TakeMark(dir, mark) && done;
  return done;
}

// The files the demon handled and that are still there: their jobs left
// them behind, and the demon takes them only when they are new again.
bool RedoLeftFiles(const std::string& dir) {
  StrVector handled = TVWhandled_Load(dir);
  std::vector<std::string> left;
  for (std::size_t i = 0; i < StrVector_ElementCount(handled); ++i) {
    std::string name = StrVector_DynElementAt(handled, i).Str();
    if (::access((dir + "/" + name).c_str(), F_OK) == 0) left.push_back(std::move(name));
  }
  StrVector_Destroy(handled);
  return WFstatus_RedoFiles(dir, left);
}

bool Stop(WFfolder folder) { return !WFfolder_Startable(folder) || PutMark(WFstatus_PathOf(folder), TVWcfg_omitMark); }

bool Start(WFfolder folder) {
  if (!WFfolder_Startable(folder)) return true;
  const bool unmarked = TakeMarks(folder, {TVWcfg_omitMark, TVWcfg_discFullMark});
  return RedoLeftFiles(WFstatus_PathOf(folder)) && unmarked;
}

bool SetExpress(WFfolder folder) {
  return !WFfolder_Startable(folder) || PutMark(WFstatus_PathOf(folder), TVWcfg_expressMark);
}

bool UnsetExpress(WFfolder folder) { return !WFfolder_Startable(folder) || TakeMarks(folder, {TVWcfg_expressMark}); }

// Each folder of the workflow in turn; false when any failed.
bool ForAll(WFbase workflow, bool (*each)(WFfolder)) {
  bool done = true;
  WFbase_FolderList folders = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList e = folders; e != nullptr; e = e->next) done = each(e->folder) && done;
  WFbase_DestroyFolderList(folders);
  return done;
}

bool Announced(bool done) {
  WFbase_Announce(WFbase_msgFolderStoppedStarted);
  return done;
}

}  // namespace

bool WFstatus_StopFolder(WFfolder folder) { return folder == nullptr || Announced(Stop(folder)); }
bool WFstatus_StartFolder(WFfolder folder) { return folder == nullptr || Announced(Start(folder)); }
bool WFstatus_StopWorkflow(WFbase workflow) { return ForAll(workflow, Stop); }
bool WFstatus_StartWorkflow(WFbase workflow) { return ForAll(workflow, Start); }
bool WFstatus_SetExpressFolder(WFfolder folder) { return folder == nullptr || SetExpress(folder); }
bool WFstatus_UnsetExpressFolder(WFfolder folder) { return folder == nullptr || UnsetExpress(folder); }

bool WFstatus_SetExpressWorkflow(WFbase workflow, bool state) {
  return ForAll(workflow, state ? SetExpress : UnsetExpress);
}

bool WFstatus_RedoFiles(StrIn directory, const std::vector<std::string>& names) {
  if (names.empty()) return true;
  const std::string dir = directory.Str();
  if (!TVWhandled_Lock(dir)) {
    WFstatus_Say(kCannotRedo, dir);
    return false;
  }
  const std::set<std::string> redo(names.begin(), names.end());
  StrVector handled = TVWhandled_Load(dir);
  StrVector kept = StrVector_Create();
  for (std::size_t i = 0; i < StrVector_ElementCount(handled); ++i) {
    const std::string name = StrVector_DynElementAt(handled, i).Str();
    if (redo.count(name) == 0) StrVector_AddElement(kept, name);
  }
  const bool saved = StrVector_ElementCount(kept) == StrVector_ElementCount(handled) || TVWhandled_Save(dir, kept);
  StrVector_Destroy(kept);
  StrVector_Destroy(handled);
  TVWhandled_Unlock(dir);
  if (!saved) WFstatus_Say(kCannotRedo, dir);
  return saved;
}
