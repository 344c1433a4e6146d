// WFgroup: the site's group file, the current list and the changes to it.
//
// The lock is the file's own advisory lock. A save writes a new file and
// renames it over the old one, so a process that waited for the lock may
// hold it on a file that is no longer there: after taking the lock it
// compares the descriptor's file with the one at the path and starts again
// when they differ. A change always reads the file again under the lock, so
// it never builds on a stale list. A query reads without the lock: the
// file it opens is always a whole one.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/FileIO.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/Utility.h"
#include "workflow/WFbase.h"
#include "workflow/WFgroup.h"

WFgroup_List WFgroup_grpList = nullptr;
StrHash WFgroup_grpTable = nullptr;

namespace {

constexpr std::size_t kTableBuckets = 1024;
constexpr int kLockTries = 10;
constexpr int kLockPauseMs = 50;
// How often a lock on a file that was replaced meanwhile is taken again.
constexpr int kReplacedRetries = 20;

std::string FileName() {
  PathStr path;
  WFgroup_GetFileName(path);
  return StrIn(path).Str();
}

WFgroup_FileTime TimeOf(const struct stat& info) {
  return {static_cast<std::int64_t>(info.st_mtim.tv_sec), static_cast<std::int64_t>(info.st_mtim.tv_nsec),
          static_cast<std::uint64_t>(info.st_ino), static_cast<std::uint64_t>(info.st_size)};
}

WFgroup_FileTime FileTime() {
  struct stat info {};
  if (::stat(FileName().c_str(), &info) != 0) return {};
  return TimeOf(info);
}

// Whether the open `file` is the one at the path now.
bool StillThere(int file) {
  struct stat open {}, named {};
  return ::fstat(file, &open) == 0 && ::stat(FileName().c_str(), &named) == 0 &&
         open.st_ino == named.st_ino && open.st_dev == named.st_dev;
}

// Makes a missing file; one made by another process meanwhile is kept.
void CreateFile(const std::string& name) {
  Messages_Quietly([&] {
    const int made = ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (made < 0) return;
    ::close(made);
    DirAcces_ChMod(name, 0666);
  });
}

bool TakeLock(int file) {
  for (int attempt = 0; attempt < kLockTries; ++attempt) {
    if (attempt > 0) Utility_Delay(kLockPauseMs);
    if (Messages_Quietly([&] { return FileIO_TestAndLock(file); })) return true;
  }
  return false;
}

// "\" before each character of `special` and before "\"; a line feed as "\n".
std::string Escape(const std::string& text, char special) {
  std::string out;
  for (const char c : text) {
    if (c == '\n') {
      out += "\\n";
      continue;
    }
    if (c == special || c == '\\') out += '\\';
    out += c;
  }
  return out;
}

// The text of `line` from `at` up to the first unescaped `end` (or the line's
// end), unescaped; `at` moves behind the delimiter.
std::string TakeField(const std::string& line, std::size_t& at, char end) {
  std::string out;
  while (at < line.size()) {
    const char c = line[at++];
    if (c == end) return out;
    if (c == '\\' && at < line.size()) {
      const char next = line[at++];
      out += next == 'n' ? '\n' : next;
      continue;
    }
    out += c;
  }
  return out;
}

std::string ReadAll(int file) {
  std::string text;
  if (!Messages_Quietly([&] { return FileIO_SetPos(file, 0); })) return text;
  char buffer[8192];
  for (;;) {
    const std::size_t got = Messages_Quietly([&] { return FileIO_Read(file, buffer, sizeof buffer); });
    if (got == 0) break;
    text.append(buffer, got);
  }
  return text;
}

WFgroup_Group* GroupOfWorkflow(StrIn workflow) {
  return reinterpret_cast<WFgroup_Group*>(StrHash_GetEntry(WFgroup_grpTable, workflow));
}

// Enters `workflow` into `group`, out of any group it was in.
void Enter(const std::string& workflow, WFgroup_Group* group) {
  WFgroup_Group* old = GroupOfWorkflow(workflow);
  if (old == group) return;
  if (old != nullptr) {
    --old->count;
    StrHash_DestroyEntry(WFgroup_grpTable, workflow);
  }
  if (group == nullptr) return;
  StrHash_PutEntry(WFgroup_grpTable, workflow, reinterpret_cast<std::uintptr_t>(group));
  ++group->count;
}

// Replaces the current list and table.
void Install(WFgroup_List list, StrHash table) {
  WFgroup_DestroyGroupList(WFgroup_grpList);
  StrHash_DestroyTable(WFgroup_grpTable);
  WFgroup_grpList = list;
  WFgroup_grpTable = table;
}

// The workflows of each group in the table's walking order.
std::map<const WFgroup_Group*, std::vector<std::string>> Members() {
  std::map<const WFgroup_Group*, std::vector<std::string>> members;
  StrHash_Iterator walk = StrHash_CreateIterator(WFgroup_grpTable);
  NameStr workflow;
  std::uintptr_t value = 0;
  while (StrHash_Iterate(walk, workflow, value)) {
    members[reinterpret_cast<const WFgroup_Group*>(value)].emplace_back(StrIn(workflow).View());
  }
  StrHash_DestroyIterator(walk);
  return members;
}

// The steps every change shares: lock (making the file), read it again,
// `change`, save, let go.
template <class Step>
bool Locked(Step change) {
  int file = WFgroup_OpenAndLock(true);
  if (file < 0) return false;
  WFgroup_Reload(file);
  change();
  const bool saved = WFgroup_Save(file);
  WFgroup_CloseAndUnlock(file);
  return saved;
}

bool GroupProc(StrIn workflow, StrOut group) {
  WFgroup_GetGroup(workflow, group);
  return !StrIn(group).Empty();
}

}  // namespace

void WFgroup_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  DirAcces_Init();
  FileIO_Init();
  SFilMisc_Init();
  WFbase_Init();
  WFbase_RegisterGroupProc(GroupProc);
}

void WFgroup_GetFileName(StrOut path) { DirAcces_IncludeSpecialPath(DirAcces_TV_CUSTOMER, WFgroup_fileName, path); }

// --- The file ---------------------------------------------------------------------------

int WFgroup_OpenAndLock(bool create) {
  const std::string name = FileName();
  for (int round = 0; round < kReplacedRetries; ++round) {
    int file = Messages_Quietly([&] { return FileIO_Open(name, FileIO_readWriteMode); });
    if (file == FileIO_nil) {
      if (!create) return -1;
      CreateFile(name);
      file = Messages_Quietly([&] { return FileIO_Open(name, FileIO_readWriteMode); });
      if (file == FileIO_nil) return -1;
    }
    if (!TakeLock(file)) {
      Messages_Quietly([&] { return FileIO_Close(file); });
      return -1;
    }
    if (StillThere(file)) return file;
    WFgroup_CloseAndUnlock(file);  // replaced while we waited: the new one counts
  }
  return -1;
}

void WFgroup_CloseAndUnlock(int& file) {
  if (file < 0) return;
  Messages_Quietly([&] {
    FileIO_UnLock(file);
    FileIO_Close(file);
  });
  file = -1;
}

bool WFgroup_ListExpired(WFgroup_List list, const WFgroup_FileTime& mtime) {
  return list == nullptr || !(list->mtime == mtime);
}

bool WFgroup_Expired(WFgroup_List list) { return WFgroup_ListExpired(list, FileTime()); }

void WFgroup_Update() {
  if (!WFgroup_Expired(WFgroup_grpList)) return;
  const std::string name = FileName();
  int file = Messages_Quietly([&] { return FileIO_Open(name, FileIO_readMode); });
  if (file != FileIO_nil) {
    WFgroup_Reload(file);
    Messages_Quietly([&] { return FileIO_Close(file); });
  } else if (WFgroup_grpList == nullptr || !DirAcces_Access(name, DirAcces_Mode::Exists)) {
    Install(WFgroup_CreateGroupList(), StrHash_CreateTable(kTableBuckets));  // no file: no groups
  }
}

void WFgroup_Reload(int file) {
  WFgroup_List list = WFgroup_CreateGroupList();
  struct stat info {};
  if (::fstat(file, &info) == 0) list->mtime = TimeOf(info);
  Install(list, StrHash_CreateTable(kTableBuckets));
  const std::string text = ReadAll(file);
  std::size_t lineStart = 0;
  while (lineStart < text.size()) {
    std::size_t lineEnd = text.find('\n', lineStart);
    if (lineEnd == std::string::npos) lineEnd = text.size();
    const std::string line = text.substr(lineStart, lineEnd - lineStart);
    lineStart = lineEnd + 1;
    std::size_t at = 0;
    const std::string name = TakeField(line, at, ':');
    if (name.empty()) continue;
    WFgroup_Group* group = WFgroup_InsertGroup(list, name);
    while (at < line.size()) {
      const std::string workflow = TakeField(line, at, ',');
      if (!workflow.empty()) Enter(workflow, group);
    }
  }
}

bool WFgroup_Save(int file) {
  if (file < 0 || WFgroup_grpList == nullptr) return false;
  const auto members = Members();
  std::string text;
  for (const WFgroup_Group* group = WFgroup_grpList->head; group != nullptr; group = group->next) {
    text += Escape(group->name, ':') + ":";
    const auto found = members.find(group);
    if (found != members.end()) {
      std::uint32_t written = 0;
      for (const std::string& workflow : found->second) {
        if (written == group->count) break;
        text += (written++ > 0 ? "," : "") + Escape(workflow, ',');
      }
    }
    text += '\n';
  }
  const bool saved = SFilMisc_SaveAtomically(FileName(), text, 0666);
  WFgroup_grpList->mtime = saved ? FileTime() : WFgroup_FileTime{};  // unsaved: read again next time
  return saved;
}

// --- The site's groups ---------------------------------------------------------------------

bool WFgroup_Active() {
  WFgroup_Update();
  return WFgroup_GetFirstGroup(WFgroup_grpList) != nullptr;
}

WFgroup_List WFgroup_LoadGroupList() {
  WFgroup_Update();
  return WFgroup_grpList != nullptr ? WFgroup_CopyGroupList(WFgroup_grpList) : WFgroup_CreateGroupList();
}

bool WFgroup_SaveGroupList(WFgroup_List list) {
  if (list == nullptr) return false;
  const bool saved = Locked([&] {
    // Each workflow follows its group to the group's new name.
    WFgroup_List groups = WFgroup_CopyGroupList(list);
    for (WFgroup_Group* group = groups->head; group != nullptr; group = group->next) group->count = 0;
    StrHash table = StrHash_CreateTable(kTableBuckets);
    StrHash_Iterator walk = StrHash_CreateIterator(WFgroup_grpTable);
    NameStr workflow;
    std::uintptr_t value = 0;
    while (StrHash_Iterate(walk, workflow, value)) {
      const auto* old = reinterpret_cast<const WFgroup_Group*>(value);
      WFgroup_Group* now = WFgroup_GetGroupByOldName(groups, old->name);
      if (now == nullptr) continue;
      StrHash_PutEntry(table, workflow, reinterpret_cast<std::uintptr_t>(now));
      ++now->count;
    }
    StrHash_DestroyIterator(walk);
    for (WFgroup_Group* group = groups->head; group != nullptr; group = group->next) {
      Strings_Assign(group->name, group->oldName);
    }
    Install(groups, table);
  });
  if (saved) {
    for (WFgroup_Group* group = list->head; group != nullptr; group = group->next) {
      Strings_Assign(group->name, group->oldName);
    }
  }
  return saved;
}

void WFgroup_GetGroup(StrIn workflow, StrOut group) {
  WFgroup_Update();
  WFgroup_GetName(GroupOfWorkflow(workflow), group);
}

bool WFgroup_SetGroup(StrIn workflow, StrIn group) {
  const std::string name = workflow.Str();
  const std::string target = group.Str();
  return Locked([&] {
    Enter(name, target.empty() ? nullptr : WFgroup_GetGroupByName(WFgroup_grpList, target));
  });
}

bool WFgroup_AssertGroup(StrIn group) {
  if (group.Empty()) return true;
  const std::string name = group.Str();
  WFgroup_Update();
  if (WFgroup_GetGroupByName(WFgroup_grpList, name) != nullptr) return true;
  return Locked([&] {
    if (WFgroup_GetGroupByName(WFgroup_grpList, name) == nullptr) WFgroup_PrependGroup(WFgroup_grpList, name);
  });
}
