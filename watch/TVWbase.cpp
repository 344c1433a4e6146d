// TVWbase: the demon info file, its lock, signals, migration and job addons.
#include "watch/TVWbase.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/FileIO.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "base/Utility.h"
#include "watch/TVWcfg.h"

// messages: TVWbase 1-4
namespace {
char section[kSectionCap] = "TVWbase";
}  // namespace

struct TVWbase_LockRec {
  FileIO_File files[kTVWbaseKinds];
  std::string names[kTVWbaseKinds];  // the info file of each open handle
  std::string dirs[kTVWbaseKinds];   // its directory
};

namespace {

constexpr std::uint32_t kLockPollMs = 100;
constexpr std::size_t kItemCap = 128;

// One cache slot: the info last read from a file and the file's time then.
struct Slot {
  std::int64_t mtime = -1;
  TVWbase_DemonInfo info;
};

bool started = false;
std::string dataDir;
bool oldDirExists = false;
int multiHost = -1;  // not known yet
Slot newSlot, oldSlot;

void Learn() {
  PathStr value = "";
  DirAcces_EnvVar("MARLDAT", value);
  dataDir = StrIn(value).Str();
  DirAcces_Stat stat;
  oldDirExists =
      Messages_Quietly([&] { return DirAcces_FileStatN(TVWbase_oldDir, stat); }) && stat.isDirectory;
  multiHost = -1;
  newSlot = Slot{};
  oldSlot = Slot{};
}

// Whether demons of several hosts share the projects directory. The
// configuration is read for it only when first asked: every module command
// starts this module, and the file grows with the workflows.
bool MultiHost() {
  if (multiHost < 0) {
    Messages_Quietly([] {
      TVWcfg_List list = nullptr;
      TVWcfg_LoadConfiguration(false, list);
      TVWcfg_Destroy(list);
    });
    multiHost = TVWcfg_MultiHostHotfolder ? 1 : 0;
  }
  return multiHost == 1;
}

// The first element of special path `kind`; empty when unset.
std::string FirstDir(int kind) {
  TextStr list = "", first = "";
  DirAcces_GetSpecialPath(kind, list);
  DirAcces_GetPath(list, first);
  return StrIn(first).Str();
}

std::string EnvValue(StrIn name) {
  TextStr value = "";
  DirAcces_EnvVar(name, value);
  return StrIn(value).Str();
}

bool ReadText(const std::string& path, std::string& text) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return false;
  std::ostringstream buffer;
  buffer << file.rdbuf();
  text = buffer.str();
  return true;
}

bool ParseInt(const std::string& line, std::int32_t& value) {
  if (line.empty()) return false;
  char* end = nullptr;
  errno = 0;
  const long parsed = std::strtol(line.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || parsed < INT32_MIN || parsed > INT32_MAX) return false;
  value = static_cast<std::int32_t>(parsed);
  return true;
}

std::vector<std::string> Lines(StrIn text) {
  std::vector<std::string> lines;
  std::istringstream in(text.Str());
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

// Loads an info file; a parsed file naming no live demon is removed.
// Whether an info file's text names a demon of this host that is gone.
bool Stale(const std::string& text, bool oldFormat) {
  TVWbase_DemonInfo info;
  const bool parsed = oldFormat ? TVWbase_ParseOldInfo(text, info) : TVWbase_ParseInfo(text, info);
  return parsed && TVWbase_IsLocal(info.host) && !TVWbase_IsAlive(info.pid);
}

// Removes the info file of a demon that is gone. A demon that starts holds
// the file's lock until it has written its own info into it: such a file
// stays, and one that is removed is read again under its lock first.
void RemoveStale(const std::string& path, bool oldFormat) {
  Messages_Quietly([&] {
    FileIO_File file = FileIO_Open(path, FileIO_readWriteMode);
    if (file == FileIO_nil) return false;
    char buffer[kTextCap];
    const ssize_t got = FileIO_TestAndLock(file) ? ::pread(file, buffer, sizeof buffer - 1, 0) : -1;
    const bool removed = got > 0 && Stale(std::string(buffer, static_cast<std::size_t>(got)), oldFormat) &&
                         DirAcces_Remove(path);
    FileIO_Close(file);
    return removed;
  });
}

bool Load(const std::string& path, TVWbase_DemonInfo& info, bool oldFormat) {
  std::string text;
  if (!ReadText(path, text) || !(oldFormat ? TVWbase_ParseOldInfo(text, info) : TVWbase_ParseInfo(text, info)))
    return false;
  if (!Stale(text, oldFormat)) return true;
  RemoveStale(path, oldFormat);
  return false;
}

bool LoadNew(const std::string& path, TVWbase_DemonInfo& info) { return Load(path, info, false); }
bool LoadOld(const std::string& path, TVWbase_DemonInfo& info) { return Load(path, info, true); }

// One slot's answer: the cache while the file's time is unchanged and its
// demon lives, else a fresh load.
bool Consult(Slot& slot, const std::string& path, bool (*load)(const std::string&, TVWbase_DemonInfo&),
             TVWbase_DemonInfo& info) {
  if (path.empty()) return false;
  const std::int64_t mtime = DirAcces_LastModified(path);
  if (slot.mtime != -1 && slot.mtime == mtime &&
      (!TVWbase_IsLocal(slot.info.host) || TVWbase_IsAlive(slot.info.pid))) {
    info = slot.info;
    return true;
  }
  slot = Slot{};
  if (mtime == -1) return false;
  TVWbase_DemonInfo loaded;
  if (!load(path, loaded)) return false;
  slot.mtime = mtime;
  slot.info = loaded;
  info = loaded;
  return true;
}

std::string OldInfoFile() {
  PathStr name = "";
  TVWbase_GetOldInfoFileName(name);
  return StrIn(name).Str();
}

std::string NewInfoFile() {
  PathStr name = "";
  TVWbase_GetInfoFileName(DirAcces_TV_PROJECTS, name);
  return StrIn(name).Str();
}

void Fail(unsigned number, StrIn name, std::int32_t pid, StrOut message) {
  TVWbase_BuildLockMsg(number, name, pid, message);
}

// Opens and locks the info file of `kind`; nil with the message on failure.
FileIO_File LockDir(int kind, std::uint32_t timeoutMs, StrOut message) {
  PathStr name = "";
  TVWbase_GetInfoFileName(kind, name);
  bool isNew = false;
  FileIO_File file = Messages_Quietly([&] { return FileIO_Open(name, FileIO_readWriteMode); });
  if (file == FileIO_nil) {
    file = Messages_Quietly([&] { return FileIO_Create(name); });
    if (file != FileIO_nil) {
      Messages_Quietly([&] { return DirAcces_ChMod(name, 0666); });
      isNew = true;
    }
  }
  if (file == FileIO_nil) {
    Fail(1, name, -1, message);
    return FileIO_nil;
  }
  std::uint32_t waited = 0;
  while (!Messages_Quietly([&] { return FileIO_TestAndLock(file); })) {
    waited += kLockPollMs;
    if (waited > timeoutMs) {
      Messages_Quietly([&] { return FileIO_Close(file); });
      Fail(2, name, -1, message);
      return FileIO_nil;
    }
    Utility_Delay(kLockPollMs);
  }
  // A reader may have removed the file as stale between our open and lock.
  struct stat held {}, there {};
  if (::fstat(file, &held) != 0 || ::stat(StrIn(name).Str().c_str(), &there) != 0 || held.st_ino != there.st_ino ||
      held.st_dev != there.st_dev) {
    Messages_Quietly([&] { return FileIO_Close(file); });
    return LockDir(kind, timeoutMs, message);
  }
  if (!isNew) {
    std::string text;
    TVWbase_DemonInfo info;
    // Read through the locked handle: closing any other handle of the file
    // would give the lock back.
    char buffer[kTextCap];
    const ssize_t got = ::pread(file, buffer, sizeof buffer - 1, 0);
    if (got > 0) text.assign(buffer, static_cast<std::size_t>(got));
    if (got > 0 && TVWbase_ParseInfo(text, info) && info.pid != getpid() &&
        TVWbase_IsAlive(info.pid)) {
      Messages_Quietly([&] { return FileIO_Close(file); });
      Fail(3, FirstDir(kind), info.pid, message);
      return FileIO_nil;
    }
  }
  return file;
}

std::string Escape(StrIn text) {
  std::string out;
  for (char c : text.View()) {
    if (c == '\\' || c == ' ') out += '\\';
    out += c;
  }
  return out;
}

// Tokens at unescaped blanks, backslashes kept.
std::vector<std::string> Tokens(StrIn text) {
  std::vector<std::string> tokens(1);
  const std::string_view view = text.View();
  for (std::size_t i = 0; i < view.size(); ++i) {
    const char c = view[i];
    if (c == '\\' && i + 1 < view.size()) {
      tokens.back() += c;
      tokens.back() += view[++i];
    } else if (c == ' ') {
      tokens.emplace_back();
    } else {
      tokens.back() += c;
    }
  }
  return tokens;
}

bool AllDigits(const std::string& token) {
  if (token.empty()) return false;
  for (char c : token)
    if (c < '0' || c > '9') return false;
  return true;
}

}  // namespace

void TVWbase_Init() {
  if (started) return;
  started = true;
  Messages_Init();
  DirAcces_Init();
  FileIO_Init();
  Processe_Init();
  TVWcfg_Init();
  Learn();
}

void TVWbase_Reset() {
  TVWbase_Init();
  Learn();
}

// --- Names --------------------------------------------------------------------------

void TVWbase_GetInfoFileName(int kind, StrOut name) {
  name.Clear();
  TVWbase_Init();
  if (kind < 0 || kind >= kTVWbaseKinds) return;
  const std::string dir = FirstDir(kind);
  if (dir.empty()) return;
  std::string file = TVWbase_infoName;
  if (kind == DirAcces_TV_PROJECTS) {
    file = "." + file;
    if (MultiHost()) {
      NameStr host = "";
      DirAcces_GetMachineName(host);
      file.insert(file.size() - 5, "_" + StrIn(host).Str());  // before ".info"
    }
  }
  DirAcces_IncludePath(dir, file, name);
}

bool TVWbase_GetOldInfoFileName(StrOut name) {
  name.Clear();
  TVWbase_Init();
  if (!oldDirExists) return false;
  DirAcces_IncludePath(TVWbase_oldDir, TVWbase_oldInfoName, name);
  return true;
}

// --- Client side --------------------------------------------------------------------

bool TVWbase_GetDemonInfo(TVWbase_DemonInfo& info) {
  TVWbase_Init();
  const bool found = Messages_Quietly([&] {
    if (Consult(newSlot, NewInfoFile(), LoadNew, info)) return true;
    return oldDirExists && Consult(oldSlot, OldInfoFile(), LoadOld, info);
  });
  if (!found) info = TVWbase_DemonInfo{};
  return found;
}

bool TVWbase_DemonRunning(TVWbase_DemonInfo& info) {
  if (TVWbase_GetDemonInfo(info) && (!TVWbase_IsLocal(info.host) || TVWbase_IsAlive(info.pid)))
    return true;
  info = TVWbase_DemonInfo{};
  return false;
}

bool TVWbase_IsAlive(std::int32_t pid) {
  return pid > 0 && Processe_IsApplicationAlive(pid, TVWbase_demonName);
}

bool TVWbase_IsLocal(StrIn host) {
  if (host.Empty()) return true;
  NameStr machine = "";
  DirAcces_GetMachineName(machine);
  return Strings_Equal(host, machine);
}

void TVWbase_SignalName(int signal, StrOut name) {
  switch (signal) {
    case TVWbase_sigTest: Strings_Assign("SIGTEST", name); break;
    case TVWbase_sigKill: Strings_Assign("SIGKILL", name); break;
    case TVWbase_sigTerm: Strings_Assign("SIGTERM", name); break;
    case TVWbase_sigUsr1: Strings_Assign("SIGUSR1", name); break;
    case TVWbase_sigUsr2: Strings_Assign("SIGUSR2", name); break;
    default: name.Clear(); break;
  }
}

bool TVWbase_KillDemon(int signal) {
  TVWbase_DemonInfo info;
  if (!TVWbase_GetDemonInfo(info) || info.pid <= 0) return false;
  if (Processe_Kill(info.pid, signal)) return true;
  if (Processe_prError != 5) return false;
  // The demon runs as another user: the installation's helper has the rights.
  NameStr signalName = "";
  TVWbase_SignalName(signal, signalName);
  TextStr command = "KILL %s %d";
  SPrintf_String(command, signalName);
  SPrintf_Int(command, info.pid);
  return Messages_Quietly([&] { return Processe_ExecuteCommand(command, 0); }) == 0;
}

void TVWbase_GetDatadir(StrOut dir) {
  TVWbase_Init();
  Strings_Assign(dataDir, dir);
}

bool TVWbase_GetOldGlobalDatadir(StrOut dir) {
  TVWbase_Init();
  if (!oldDirExists) {
    dir.Clear();
    return false;
  }
  Strings_Assign(TVWbase_oldDir, dir);
  return true;
}

void TVWbase_MigrateOldFile(StrIn name) {
  TVWbase_Init();
  if (!oldDirExists) return;
  Messages_Quietly([&] {
    PathStr oldFile = "", newFile = "", target = "";
    DirAcces_IncludePath(TVWbase_oldDir, name, oldFile);
    if (DirAcces_LastModified(oldFile) == -1) return;
    DirAcces_IncludePath(FirstDir(DirAcces_MARLDAT), name, newFile);
    DirAcces_Stat stat;
    bool copy = true;
    if (DirAcces_LFileStatN(newFile, stat)) {
      if (stat.isLink && DirAcces_ReadLink(newFile, target) && Strings_Equal(target, oldFile))
        DirAcces_Remove(newFile);
      else
        copy = false;  // the new file wins; the old one stays
    }
    if (copy && DirAcces_Copy(oldFile, newFile)) DirAcces_Remove(oldFile);
    DirAcces_RmDir(TVWbase_oldDir);  // only when empty
  });
}

// --- Info file text ---------------------------------------------------------------------

bool TVWbase_ParseInfo(StrIn text, TVWbase_DemonInfo& info) {
  info = TVWbase_DemonInfo{};
  const std::vector<std::string> lines = Lines(text);
  if (lines.size() < 2 || !ParseInt(lines[0], info.pid) || !ParseInt(lines[1], info.port)) {
    info = TVWbase_DemonInfo{};
    return false;
  }
  StrOut fields[] = {info.libDir, info.dataDir, info.customerDir, info.projectsDir, info.host};
  for (std::size_t i = 0; i < std::size(fields) && i + 2 < lines.size(); ++i)
    Strings_Assign(lines[i + 2], fields[i]);
  return true;
}

bool TVWbase_ParseOldInfo(StrIn text, TVWbase_DemonInfo& info) {
  info = TVWbase_DemonInfo{};
  const std::vector<std::string> lines = Lines(text);
  if (lines.empty() || !ParseInt(lines[0], info.pid)) {
    info = TVWbase_DemonInfo{};
    return false;
  }
  if (lines.size() > 1) {
    const std::size_t eq = lines[1].find('=');
    if (eq != std::string::npos && lines[1].substr(0, eq) == "MARLLIB") {
      Strings_Assign(lines[1].substr(eq + 1), info.libDir);
      DirAcces_IncludePath(info.libDir, "dat", info.dataDir);
    }
  }
  Strings_Assign("/customer", info.customerDir);
  Strings_Assign("/projects", info.projectsDir);
  return true;
}

void TVWbase_FormatInfo(const TVWbase_DemonInfo& info, StrOut text) {
  std::string out = std::to_string(info.pid) + "\n" + std::to_string(info.port) + "\n";
  for (StrIn field : {StrIn(info.libDir), StrIn(info.dataDir), StrIn(info.customerDir),
                      StrIn(info.projectsDir), StrIn(info.host)})
    out += field.Str() + "\n";
  Strings_Assign(out, text);
}

// --- Demon side ---------------------------------------------------------------------------

void TVWbase_BuildLockMsg(unsigned number, StrIn name, std::int32_t pid, StrOut message) {
  Messages_GetMsg(section, number, message);
  SPrintf_String(message, name);
  if (number >= 3) SPrintf_Int(message, pid);
}

bool TVWbase_AlreadyLocked(TVWbase_LockSet handles, StrIn dir) {
  if (handles == nullptr) return false;
  for (int kind = 0; kind < kTVWbaseKinds; ++kind)
    if (handles->files[kind] != FileIO_nil &&
        Messages_Quietly([&] { return DirAcces_FilesEqual(handles->dirs[kind], dir); }))
      return true;
  return false;
}

bool TVWbase_Lock(std::uint32_t timeoutMs, TVWbase_LockSet& handles, StrOut message) {
  TVWbase_Init();
  handles = nullptr;
  message.Clear();
  // 1. A demon of the old format.
  const std::string oldFile = OldInfoFile();
  if (!oldFile.empty()) {
    std::string text;
    TVWbase_DemonInfo old;
    if (ReadText(oldFile, text) && TVWbase_ParseOldInfo(text, old)) {
      if (TVWbase_IsAlive(old.pid)) {
        Fail(4, oldFile, old.pid, message);
        return false;
      }
      Messages_Quietly([&] { return DirAcces_Remove(oldFile); });
    }
  }
  // 2. and 3. Every directory kind of the set, each directory once.
  auto* set = new TVWbase_LockRec;
  for (FileIO_File& file : set->files) file = FileIO_nil;
  for (int kind = 0; kind < kTVWbaseKinds; ++kind) {
    if ((TVWbase_toLock & (1u << kind)) == 0) continue;
    const std::string dir = FirstDir(kind);
    if (dir.empty() || TVWbase_AlreadyLocked(set, dir)) continue;
    const FileIO_File file = LockDir(kind, timeoutMs, message);
    if (file == FileIO_nil) {
      TVWbase_Unlock(set);
      return false;
    }
    PathStr name = "";
    TVWbase_GetInfoFileName(kind, name);
    set->files[kind] = file;
    set->names[kind] = StrIn(name).Str();
    set->dirs[kind] = dir;
  }
  handles = set;
  return true;
}

void TVWbase_Unlock(TVWbase_LockSet& handles) {
  if (handles == nullptr) return;
  Messages_Quietly([&] {
    for (FileIO_File& file : handles->files) {
      if (file == FileIO_nil) continue;
      FileIO_UnLock(file);
      FileIO_Close(file);
      file = FileIO_nil;
    }
  });
  delete handles;
  handles = nullptr;
}

bool TVWbase_WriteDemonInfo(TVWbase_LockSet& handles, std::int32_t port) {
  if (handles == nullptr) return false;
  TVWbase_DemonInfo info;
  info.pid = static_cast<std::int32_t>(getpid());
  info.port = port;
  Strings_Assign(EnvValue("MARLLIB"), info.libDir);
  Strings_Assign(dataDir, info.dataDir);
  Strings_Assign(EnvValue("TV_CUSTOMER"), info.customerDir);
  Strings_Assign(EnvValue("TV_PROJECTS"), info.projectsDir);
  DirAcces_GetMachineName(info.host);
  TextStr text = "";
  TVWbase_FormatInfo(info, text);
  const std::size_t length = Strings_Length(text);
  bool written = true;
  for (int kind = 0; kind < kTVWbaseKinds; ++kind) {
    const FileIO_File file = handles->files[kind];
    if (file == FileIO_nil) continue;
    // Rewritten in place, so the file keeps its identity and its lock.
    const bool ok = Messages_Quietly([&] {
      return FileIO_SetPos(file, 0) && FileIO_Write(file, text, length) &&
             ::ftruncate(file, static_cast<off_t>(length)) == 0;
    });
    written = written && ok;
  }
  TVWbase_Unlock(handles);
  return written;
}

bool TVWbase_RemoveDemonInfo() {
  TVWbase_Init();
  bool removed = true;
  for (int kind = 0; kind < kTVWbaseKinds; ++kind) {
    if ((TVWbase_toLock & (1u << kind)) == 0) continue;
    PathStr name = "";
    TVWbase_GetInfoFileName(kind, name);
    if (Strings_Length(name) == 0 || DirAcces_LastModified(name) == -1) continue;
    removed = Messages_Quietly([&] { return DirAcces_Remove(name); }) && removed;
  }
  return removed;
}

// --- Job addons -------------------------------------------------------------------------

void TVWbase_EncodeJobAddons(StrIn first, StrIn second, TVWbase_FileList list, StrOut text) {
  const std::size_t count = StrVector_ElementCount(list);
  std::string out = Escape(first) + " " + Escape(second) + " " + std::to_string(count);
  for (std::size_t i = 0; i < count; ++i) {
    char item[kItemCap + 1] = "";
    Strings_Assign(StrVector_DynElementAt(list, i), item);
    out += " " + Escape(item);
  }
  Strings_Assign(out, text);
}

bool TVWbase_DecodeJobAddons(StrIn text, StrOut first, StrOut second, TVWbase_FileList& list) {
  first.Clear();
  second.Clear();
  list = nullptr;
  const std::vector<std::string> tokens = Tokens(text);
  std::size_t next = 1;
  if (tokens.size() < 2 || tokens[0].empty()) return false;
  std::string countToken;
  if (AllDigits(tokens[1])) {
    countToken = tokens[1];
    next = 2;
  } else {
    if (tokens.size() < 3) return false;
    Strings_Assign(tokens[1], second);
    countToken = tokens[2];
    next = 3;
  }
  std::int32_t count = 0;
  if (!AllDigits(countToken) || !ParseInt(countToken, count) || count <= 0) {
    second.Clear();
    return false;
  }
  list = StrVector_Create();
  for (std::int32_t i = 0; i < count; ++i, ++next) {
    if (next >= tokens.size() || tokens[next].empty()) {
      TVWbase_DestroyFileList(list);
      second.Clear();
      return false;
    }
    StrVector_AddElement(list, tokens[next]);
  }
  Strings_Assign(tokens[0], first);
  return true;
}

void TVWbase_DestroyFileList(TVWbase_FileList& list) { StrVector_Destroy(list); }
