// WFstatusErrors: the error directory read into records, and the errors
// retried, moved and deleted.
#include "manager/WFstatusErrors.h"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <map>
#include <sstream>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "manager/WFstatusPrivate.h"
#include "watch/TVWready.h"
#include "workflow/WFmodule.h"
#include "workflow/WFfileOp.h"

namespace {

constexpr char kNoRetry[] = "NO RETRY";
constexpr char kErrSuffix[] = ".err";
constexpr std::size_t kWidth = 80;   // of a description line
constexpr std::size_t kNamesTold = 5;  // failed names in a message
// messages: WFstatus 83-87
constexpr unsigned kNotRetried = 83, kNotMoved = 84, kNotDeleted = 85, kFolderGone = 86, kUnreadable = 87;

std::string Message(unsigned number, const std::string& argument = "") {
  TextStr text;
  Messages_GetMsg(WFstatus_section, number, text);
  if (!argument.empty()) SPrintf_String(text, argument);
  return StrIn(text).Str();
}

bool Exists(const std::string& path) {
  DirAcces_Stat st;
  return Messages_Quietly([&] { return DirAcces_LFileStatN(path, st); }) && !st.isDirectory;
}

bool IsDirectory(const std::string& path) {
  DirAcces_Stat st;
  return Messages_Quietly([&] { return DirAcces_FileStatN(path, st); }) && st.isDirectory;
}

std::string LastElement(const std::string& path) {
  std::string p = path;
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  return p.substr(p.rfind('/') + 1);
}

// "hh:mm:ss  yyyy-mm-dd" of the stamp "yyyymmddhhmmss" that begins an
// error's name, or of the time `fallback` (seconds) where it has none.
std::string DateText(const std::string& errName, std::int64_t fallback) {
  const std::string s = errName.substr(0, errName.find('_'));
  if (s.size() == 14) {
    return s.substr(8, 2) + ":" + s.substr(10, 2) + ":" + s.substr(12, 2) + "  " + s.substr(0, 4) + "-" +
           s.substr(4, 2) + "-" + s.substr(6, 2);
  }
  const std::time_t t = fallback;
  std::tm local{};
  ::localtime_r(&t, &local);
  char text[32];
  std::strftime(text, sizeof text, "%H:%M:%S  %Y-%m-%d", &local);
  return text;
}

// What the table calls a folder: its module's name ("Log"), found by its
// real path, or else the path's last element. Kept per path: lists of
// thousands of errors name a few folders.
std::string FolderTitle(const std::string& folder) {
  static std::map<std::string, std::string> titles;
  const auto known = titles.find(folder);
  if (known != titles.end()) return known->second;
  NameStr name = "";
  if (const WFmodule_Kind kind = WFmodule_ModuleKindByPath(WFstatus_CanonicalDir(folder))) WFmodule_GetName(kind, name);
  const std::string title = name[0] != '\0' ? StrIn(name).Str() : LastElement(folder);
  titles.emplace(folder, title);
  return title;
}

// The log beside the failed file: the file's name, or the name without its
// suffix, with "-log.pdf" or "log.pdf".
std::string LogOf(const std::string& fileName) {
  const std::size_t dot = fileName.rfind('.'), slash = fileName.rfind('/');
  std::vector<std::string> bases = {fileName};
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash + 1)) bases.push_back(fileName.substr(0, dot));
  for (const std::string& base : bases)
    for (const char* tail : {"-log.pdf", "log.pdf"})
      if (Exists(base + tail)) return base + tail;
  return "";
}

// The errors an action takes.
std::vector<WFstatus_Error*> Chosen(const WFstatus_ErrorList& list, bool all) {
  std::vector<WFstatus_Error*> chosen;
  for (WFstatus_Error* e : list.errors)
    if (all || e->link.selected) chosen.push_back(e);
  return chosen;
}

// One message for the failures of an action: the names (the first few,
// then ", ..."), and why the first failed.
class Failures {
 public:
  void Add(const std::string& name, const std::string& reason) {
    if (names_.empty()) reason_ = reason;
    names_.push_back(name);
  }
  bool Tell(unsigned number) const {
    if (names_.empty()) return true;
    std::string list;
    for (std::size_t i = 0; i < names_.size() && i < kNamesTold; ++i) list += (i > 0 ? ", " : "") + names_[i];
    if (names_.size() > kNamesTold) list += ", ...";
    TextStr text;
    Messages_GetMsg(WFstatus_section, number, text);
    SPrintf_String(text, list);
    SPrintf_String(text, reason_);
    WFbase_ShowText(text);
    return false;
  }

 private:
  std::vector<std::string> names_;
  std::string reason_;
};

std::string FileOpReason() {
  TextStr text;
  WFfileOp_GetErrorText(text);
  return StrIn(text).Str();
}

// The error directory changed: what is known of it goes, and the lamps ask again.
void Changed(const WFstatus_ErrorList& list, bool changed) {
  if (!changed || list.errors.empty()) return;
  const std::string errFile = list.errors.front()->errFile;
  WFstatus_ForgetDir(errFile.substr(0, errFile.rfind('/')));
  WFbase_Announce(WFbase_msgErrorsChanged);
}

}  // namespace

// --- The list -------------------------------------------------------------------------------

WFstatus_ErrorList::~WFstatus_ErrorList() { Clear(); }

void WFstatus_ErrorList::Clear() {
  for (WFstatus_Error* e : errors) delete e;
  errors.clear();
}

WtTableD_Record* WFstatus_ErrorList::First() const { return errors.empty() ? nullptr : &errors.front()->link; }

std::vector<std::string> WFstatus_SplitDescription(const std::string& text, std::size_t width) {
  std::vector<std::string> lines;
  std::string line;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    // A word longer than a line is cut: no line is wider.
    for (; word.size() > width; word.erase(0, width)) {
      if (!line.empty()) lines.push_back(std::move(line));
      line.clear();
      lines.push_back(word.substr(0, width));
    }
    if (word.empty()) continue;
    if (!line.empty() && line.size() + 1 + word.size() > width) {
      lines.push_back(std::move(line));
      line.clear();
    }
    line += (line.empty() ? "" : " ") + word;
  }
  if (!line.empty() || lines.empty()) lines.push_back(line);
  return lines;
}

std::string WFstatus_CanonicalDir(const std::string& directory) {
  PathStr real;
  if (Messages_Quietly([&] { return DirAcces_RealPath(directory, real); })) return StrIn(real).Str();
  return directory;
}

void WFstatus_ReadError(StrIn errFile, WFstatus_Error& e) {
  const std::string path = errFile.Str();
  const std::string errName = LastElement(path);
  const std::string fileName = path.substr(0, path.size() - std::min(path.size(), sizeof kErrSuffix - 1));
  const std::string stamped = LastElement(fileName);
  e.link = {nullptr, false};
  Strings_Assign(stamped.substr(std::min(stamped.find('_') + 1, stamped.size())), e.name);
  Strings_Assign(fileName, e.fileName);
  Strings_Assign(path, e.errFile);
  e.fileThere = Exists(fileName);
  Strings_Assign(DateText(errName, DirAcces_LastModified(path)), e.dateText);
  Strings_Assign(LogOf(fileName), e.logFile);
  e.description.clear();
  // The first line that is not empty names the folder; "NO RETRY" on a line
  // of its own says a retry would fail again; the rest says why.
  std::string folder;
  bool noRetry = false;
  std::ifstream in(path);
  if (!in) e.description.push_back(Message(kUnreadable));
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (folder.empty()) folder = line;
    else if (line == kNoRetry) noRetry = true;
    else
      for (std::string& piece : WFstatus_SplitDescription(line, kWidth)) e.description.push_back(std::move(piece));
  }
  while (!e.description.empty() && e.description.back().empty()) e.description.pop_back();
  Strings_Assign(folder, e.folderPath);
  Strings_Assign(folder.empty() ? "" : FolderTitle(folder), e.folderName);
  e.retryable = e.fileThere && !folder.empty() && !noRetry;
  e.state = !e.fileThere ? WFstatus_errFileMissing : e.retryable ? WFstatus_errRetryable : WFstatus_errNoRetry;
}

void WFstatus_GetErrorList(StrIn directory, WFstatus_ErrorList& list) {
  list.Clear();
  std::vector<std::string> names;
  DirAcces_DirHandle dir = Messages_Quietly([&] { return DirAcces_OpenDir(directory); });
  NameStr name;
  while (DirAcces_GetDirEntry(dir, name))
    if (WFstatus_IsErrorName(name)) names.push_back(StrIn(name).Str());
  DirAcces_CloseDir(dir);
  std::sort(names.begin(), names.end());
  WtTableD_Record* last = nullptr;
  for (const std::string& n : names) {
    auto* e = new WFstatus_Error;
    PathStr path;
    DirAcces_IncludePath(directory, n, path);
    WFstatus_ReadError(path, *e);
    if (last != nullptr) last->next = &e->link;
    last = &e->link;
    list.errors.push_back(e);
  }
}

// --- Acting on errors ----------------------------------------------------------------------

bool WFstatus_TryAgain(WFstatus_ErrorList& list, bool all) {
  TVWready_FileList ready = TVWready_CreateFileList();
  Failures failures;
  bool changed = false;
  for (WFstatus_Error* e : Chosen(list, all)) {
    if (!e->retryable) continue;
    const std::string folder = e->folderPath;
    PathStr target;
    DirAcces_IncludePath(folder, e->name, target);
    if (!IsDirectory(folder)) {
      failures.Add(e->name, Message(kFolderGone, folder));
      continue;
    }
    if (!WFfileOp_Move(e->fileName, target)) {
      failures.Add(e->name, FileOpReason());
      continue;
    }
    // New to the demon, whatever link the folder was named through: it
    // takes the file at once, also one it handled under that name before.
    Messages_Quietly([&] { return DirAcces_Touch(target); });
    TVWready_AddFile(ready, WFstatus_CanonicalDir(folder) + "/" + e->name);
    WFstatus_ForgetDir(folder);
    for (const StrIn file : {StrIn(e->errFile), StrIn(e->logFile)})
      if (!file.Empty()) WFbase_RemoveFile(file);
    changed = true;
  }
  // One hand-over for the whole action. A demon that is down finds the
  // files when it starts.
  if (TVWready_FileCount(ready) > 0) Messages_Quietly([&] { return TVWready_SendReadyFiles(ready); });
  TVWready_DestroyFileList(ready);
  Changed(list, changed);
  return failures.Tell(kNotRetried);
}

bool WFstatus_MoveErrorFiles(WFstatus_ErrorList& list, bool all, StrIn directory) {
  Failures failures;
  bool changed = false;
  for (WFstatus_Error* e : Chosen(list, all)) {
    // The file first: when it can't go, its description stays with it.
    if (e->fileThere && !WFfileOp_MoveInto(e->fileName, directory)) {
      failures.Add(e->name, FileOpReason());
      continue;
    }
    changed = true;
    for (const StrIn file : {StrIn(e->errFile), StrIn(e->logFile)})
      if (!file.Empty() && !WFfileOp_MoveInto(file, directory)) failures.Add(LastElement(file.Str()), FileOpReason());
  }
  Changed(list, changed);
  return failures.Tell(kNotMoved);
}

bool WFstatus_DeleteErrorFiles(WFstatus_ErrorList& list, bool all) {
  Failures failures;
  bool changed = false;
  for (WFstatus_Error* e : Chosen(list, all))
    for (const StrIn file : {e->fileThere ? StrIn(e->fileName) : StrIn(""), StrIn(e->errFile), StrIn(e->logFile)}) {
      if (file.Empty()) continue;
      if (WFfileOp_Delete(file)) changed = true;
      else if (WFfileOp_error != WFfileOp_gone) failures.Add(LastElement(file.Str()), FileOpReason());
    }
  Changed(list, changed);
  return failures.Tell(kNotDeleted);
}
