// WFbackup: unpacking. The archive is listed and checked, extracted into a
// private directory inside the projects directory, moved to the workflow's
// name and projects directory there, and moved into place member by member:
//
//   list and check --refused--> nothing written
//        | ok
//   extract into stage --failed--> stage removed, nothing written
//        | ok
//   move names and paths (in the stage)
//        |
//   move into place: existing files are kept --> false, the rest in place
//        | all placed
//   end and error directories, demon entries (stopped), group --> true
#include <dirent.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SFilMisc.h"
#include "distribution/WFbackup.h"
#include "distribution/WFbackupPrivate.h"
#include "rc/SAutoRcF.h"
#include "workflow/WFconfig.h"
#include "workflow/WFgroup.h"
#include "workflow/WFplaces.h"

namespace {

// messages: WFbackup 11-21 23
constexpr unsigned kExists = 11;         // with the workflow
constexpr unsigned kNotExtracted = 12;   // with the archive
constexpr unsigned kUnreadable = 13;     // with the archive
constexpr unsigned kKept = 20;           // with the file
constexpr unsigned kNoWorkflow = 21;     // with the archive
constexpr unsigned kNotRebuilt = 22;     // with the workflow, then the reason
constexpr unsigned kNotPlaced = 23;      // with the file

// Characters that may stand before and behind a path inside an rc file.
constexpr std::string_view kBefore = "\n \t=\"':;,(";
constexpr std::string_view kBehind = "\n \t\"':;,)/";

std::string Text(StrIn text) { return text.Str(); }

void Report(unsigned number, const std::string& argument) { WFbase_Message(WFbackup_section, number, argument); }

// Runs `command` through the shell and collects its standard output; the
// exit status, 2 when it can't be run.
int Capture(const std::string& command, std::string& out) {
  out.clear();
  std::fflush(nullptr);
  std::FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return 2;
  char buffer[8192];
  for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, got);
  const int status = ::pclose(pipe);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 2;
}

// The names of a directory's entries, "." and ".." left out.
std::vector<std::string> Entries(const std::string& dir) {
  std::vector<std::string> names;
  DIR* handle = ::opendir(dir.c_str());
  if (handle == nullptr) return names;
  while (const dirent* entry = ::readdir(handle)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  ::closedir(handle);
  return names;
}

// How the workflow's paths change on their way from the archive to here: to
// another projects directory and to another name.
struct Relocation {
  std::string fromProjects, toProjects;
  std::string fromName, toName;
  std::string rootRel;  // the workflow root below the projects directory

  bool Moves() const { return fromProjects != toProjects; }
  bool Renames() const { return fromName != toName; }

  // "flow_<from>_<digits>" as "flow_<to>_<digits>"; anything else as it is.
  std::string Flow(const std::string& element) const {
    const std::string head = "flow_" + fromName + "_";
    if (!Renames() || !element.starts_with(head) || element.size() == head.size()) return element;
    if (element.find_first_not_of("0123456789", head.size()) != std::string::npos) return element;
    return "flow_" + toName + "_" + element.substr(head.size());
  }

  // The element `element` of the directory `parentRel` (relative to the
  // projects directory) under its new name.
  std::string Element(const std::string& element, const std::string& parentRel) const {
    if (Renames() && parentRel == rootRel && element == fromName) return toName;
    return Flow(element);
  }

  // The paths inside the text of an rc file or of the places.
  std::string Rewrite(std::string text, bool places) const {
    if (Moves()) text = Replace(text, fromProjects + "/", toProjects + "/", false);
    if (!Renames()) return text;
    const std::string root = toProjects + "/" + rootRel + "/";
    text = Replace(text, root + fromName, root + toName, true);
    text = RenameFlows(text);
    if (places && text.starts_with(fromName + "\n")) text = toName + text.substr(fromName.size());
    return text;
  }

 private:
  static bool Starts(const std::string& text, std::size_t at) {
    return at == 0 || kBefore.find(text[at - 1]) != std::string_view::npos;
  }
  static bool Ends(const std::string& text, std::size_t at) {
    return at == text.size() || kBehind.find(text[at]) != std::string_view::npos;
  }
  // Every `from` that begins a path (and, with `whole`, ends it or an
  // element of it) as `to`.
  static std::string Replace(const std::string& text, const std::string& from, const std::string& to, bool whole) {
    std::string out;
    std::size_t done = 0;
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + 1)) {
      if (at < done || !Starts(text, at) || (whole && !Ends(text, at + from.size()))) continue;
      out += text.substr(done, at - done) + to;
      done = at + from.size();
    }
    return out + text.substr(done);
  }
  std::string RenameFlows(const std::string& text) const {
    const std::string head = "/flow_" + fromName + "_";
    std::string out;
    std::size_t done = 0;
    for (std::size_t at = text.find(head); at != std::string::npos; at = text.find(head, at + 1)) {
      std::size_t end = at + head.size();
      while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
      if (at < done || end == at + head.size() || !Ends(text, end)) continue;
      out += text.substr(done, at - done) + "/flow_" + toName + "_";
      done = at + head.size();
    }
    return out + text.substr(done);
  }
};

// The names of the rc files of all kinds and of the site's components.
std::set<std::string> RcNames() {
  std::set<std::string> names;
  for (WFmodule_Kind kind = 1; kind <= kWFmoduleMaxKind; ++kind) {
    NameStr name;
    WFmodule_GetRcFileName(kind, name);
    if (!StrIn(name).Empty()) names.insert(Text(name));
  }
  const WFconfig_Entry* component = nullptr;
  for (bool more = WFconfig_GetFirstEntry(component); more; more = WFconfig_GetNextEntry(component)) {
    if (!StrIn(component->options).Empty()) names.insert(Text(component->options));
  }
  return names;
}

// Rewrites the paths in the rc files and places of the stage.
void RewriteStage(const std::string& stage, const Relocation& relocation) {
  if (!relocation.Moves() && !relocation.Renames()) return;
  const std::set<std::string> rcNames = RcNames();
  std::error_code error;
  for (auto walk = std::filesystem::recursive_directory_iterator(stage, error);
       !error && walk != std::filesystem::recursive_directory_iterator(); walk.increment(error)) {
    if (!walk->is_regular_file(error) || walk->is_symlink(error)) continue;
    const std::string name = walk->path().filename().string();
    const bool places = name == WFplaces_fileName;
    if (!places && rcNames.count(name) == 0) continue;
    std::ifstream in(walk->path(), std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    in.close();
    const std::string rewritten = relocation.Rewrite(text.str(), places);
    if (rewritten != text.str()) std::ofstream(walk->path(), std::ios::binary | std::ios::trunc) << rewritten;
  }
}

// Moves the stage's tree into place, renaming elements on the way. Files
// that exist are kept; what can't be placed is noted.
class Placer {
 public:
  explicit Placer(const Relocation& relocation) : relocation_(relocation) {}
  std::vector<std::string> kept, failed;

  void Directory(const std::string& from, const std::string& to, const std::string& rel) {
    for (const std::string& entry : Entries(from)) {
      const std::string name = relocation_.Element(entry, rel);
      One(from + "/" + entry, to + "/" + name, rel.empty() ? name : rel + "/" + name);
    }
  }

 private:
  const Relocation& relocation_;

  void One(const std::string& from, const std::string& to, const std::string& rel) {
    struct stat source {}, target {};
    if (::lstat(from.c_str(), &source) != 0) return failed.push_back(to);
    const bool exists = ::lstat(to.c_str(), &target) == 0;
    if (S_ISDIR(source.st_mode)) {
      // A directory joins one that is there (also through a link of the
      // site's own). A new one is open to all, as every directory an install
      // makes, once it is filled.
      if (exists && (::stat(to.c_str(), &target) != 0 || !S_ISDIR(target.st_mode))) return kept.push_back(to);
      if (!exists && ::mkdir(to.c_str(), 0700) != 0) return failed.push_back(to);
      Directory(from, to, rel);
      if (!exists) ::chmod(to.c_str(), 0777);
      return;
    }
    if (exists) return kept.push_back(to);
    // Files from elsewhere run with nobody's rights.
    if (S_ISREG(source.st_mode) && (source.st_mode & 06000) != 0) ::chmod(from.c_str(), source.st_mode & 01777);
    if (::rename(from.c_str(), to.c_str()) == 0) return;
    const bool otherDevice = errno == EXDEV;  // a directory of the site's own may lead to another disk
    std::error_code error;
    if (otherDevice) std::filesystem::copy(from, to, std::filesystem::copy_options::copy_symlinks, error);
    if (!otherDevice || error) failed.push_back(to);
  }
};

// Moves the stage into place; false when anything was kept or failed, each
// told.
bool Place(const std::string& stage, const Relocation& relocation) {
  Placer placer(relocation);
  placer.Directory(stage, relocation.toProjects, "");
  for (const std::string& path : placer.kept) Report(kKept, path);
  for (const std::string& path : placer.failed) Report(kNotPlaced, path);
  return placer.kept.empty() && placer.failed.empty();
}

// The workflow in the stage: the one of the wanted name, else the only one;
// empty when there is none.
std::string FindWorkflow(const std::string& stage, const std::string& rootRel, const std::string& wanted) {
  const std::vector<std::string> starts = Entries(stage + "/" + rootRel);
  for (const std::string& start : starts) {
    if (start == wanted) return start;
  }
  return starts.size() == 1 ? starts.front() : std::string();
}

// Reads and removes the description in the stage's start directory.
void TakeInfo(const std::string& file, WFbackup_Info& info) {
  SAutoRcF rc = SAutoRcF_Nil();
  if (!SAutoRcF_Load(file, rc)) return;
  SAutoRcF_GetStringOpt(rc, WFbackup_infoWorkflow, info.workflow);
  SAutoRcF_GetStringOpt(rc, WFbackup_infoProjects, info.projects);
  SAutoRcF_GetStringOpt(rc, WFbackup_infoGroup, info.group);
  SAutoRcF_Destroy(rc);
  ::unlink(file.c_str());
}

std::string RootRel() {
  PathStr root;
  WFmodule_GetRootDir(1, root);
  DirAcces_ReplacePathHead(root, WFbackup_dataDir, "");
  std::string rel = Text(root);
  while (rel.starts_with('/')) rel.erase(0, 1);
  return rel;
}

// The workflow is there: its end and error directories, demon entries with
// every folder stopped, the remote watch.
bool Install(StrIn name) {
  WFbase fresh = WFbase_NewWorkflow(name);
  WFbase_InstallDefaultSubdirs(fresh);
  WFbase_DestroyWorkflow(fresh);
  TextStr reason;
  WFbase workflow = WFbase_RebuildWorkflow(name, WFbase_NoAnswer, reason);
  if (workflow == WFbase_NilWorkflow()) {
    Report(kNotRebuilt, Text(name));
    WFbase_ShowText(reason);
    return false;
  }
  WFbase_FolderList folders = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList entry = folders; entry != nullptr; entry = entry->next) WFbase_StopFolder(entry->folder);
  WFbase_DestroyFolderList(folders);
  const bool entries = WFbase_UpdateDemonConfig(workflow);
  const bool remote = WFbase_UpdateRemoteWatchConfig(workflow, false);
  WFbase_DestroyWorkflow(workflow);
  return entries && remote;
}

}  // namespace

bool WFbackup_ExtractArchive(StrIn archive, StrIn name, WFbackup_Info& info) {
  info = WFbackup_Info{};
  const std::string archiveName = Text(archive);
  std::string tar, file, listing;
  NameStr program;
  WFbackup_GetTarProgram(program);
  if (!WFbackup_Escaped(program, tar) || !WFbackup_Escaped(archive, file)) {
    Report(kUnreadable, archiveName);
    return false;
  }
  // 1. The listing as tar reads the archive; a damaged one fails here.
  if (Capture("LC_ALL=C " + tar + " --list --verbose --numeric-owner --quoting-style=c -P --file=" + file,
              listing) != 0 ||
      listing.find('\0') != std::string::npos) {  // a text would end there, unchecked
    Report(kUnreadable, archiveName);
    return false;
  }
  TextStr member;
  const unsigned refused = WFbackup_CheckListing(listing, WFbackup_dataDir, member);
  if (refused != 0) {
    Report(refused, Text(member));
    return false;
  }
  // 2. Into the stage.
  WFbackup_Stage stage;
  std::string stageArg;
  if (!stage.Make(".wfunpack") || !WFbackup_Escaped(stage.Path(), stageArg) ||
      Messages_Quietly([&] {
        return Processe_ExecuteCommand("cd " + stageArg + " && " + tar + " --extract --file=" + file +
                                           " --keep-old-files --preserve-permissions",
                                       0);
      }) != 0) {
    Report(kNotExtracted, archiveName);
    return false;
  }
  // 3. Which workflow it holds, and where it comes from.
  Relocation relocation;
  relocation.rootRel = RootRel();
  relocation.toName = Text(name);
  relocation.toProjects = Text(WFbackup_dataDir);
  relocation.fromName = FindWorkflow(stage.Path(), relocation.rootRel, relocation.toName);
  if (relocation.fromName.empty()) {
    Report(kNoWorkflow, archiveName);
    return false;
  }
  TakeInfo(stage.Path() + "/" + relocation.rootRel + "/" + relocation.fromName + "/" + WFbackup_infoName, info);
  relocation.fromProjects = StrIn(info.projects).Empty() ? relocation.toProjects : Text(info.projects);
  // 4. Its paths here, 5. into place.
  RewriteStage(stage.Path(), relocation);
  if (Place(stage.Path(), relocation)) return true;
  Report(kNotExtracted, archiveName);
  return false;
}

bool WFbackup_UnpackWorkflow(StrIn archive) {
  std::fputs("\n", stderr);
  // 1. The workflow's name is the archive's, without ".tar".
  PathStr head, name;
  DirAcces_ExcludePath(archive, head, name);
  std::string text = Text(name);
  if (text.ends_with(".tar")) text.resize(text.size() - 4);
  if (text.empty() || text.size() >= kNameCap) {
    Report(kNoWorkflow, Text(archive));
    return false;
  }
  // 2. An existing workflow is never overwritten.
  PathStr start;
  WFbase_GetStartPath(text, start);
  struct stat info {};
  if (::lstat(start, &info) == 0) {
    Report(kExists, text);
    return false;
  }
  // 3. Where the archive lies.
  PathStr path;
  if (archive[0] == '/') {
    Strings_Assign(archive, path);
  } else {
    DirAcces_IncludePath(WFbackup_backupDir, archive, path);
  }
  if (!Text(path).ends_with(".tar")) Strings_Concat(path, ".tar", path);
  // 4. In, 5. installed and back in its group.
  WFbackup_Info described;
  if (!WFbackup_ExtractArchive(path, text, described)) return false;
  if (!Install(text)) return false;
  if (!StrIn(described.group).Empty()) {
    WFgroup_AssertGroup(described.group);
    WFgroup_SetGroup(text, described.group);
  }
  return true;
}
