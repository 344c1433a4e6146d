// The ends that run a command, sort and distribute, and the log folder.
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "base/SFilMisc.h"
#include "commands/ASfile.h"
#include "commands/ASerror.h"
#include "commands/ASrules.h"
#include "rules/SRename.h"

namespace {

char section[kSectionCap] = "ASends";

constexpr std::uint32_t kSortBySuffix = 0, kSortByScheme = 1, kSortByDate = 2;
constexpr std::uint32_t kFewestFiles = 0, kEveryTarget = 1;
constexpr char kLogName[] = "Log";

std::string Name(const std::string& path) { return path.substr(path.rfind('/') + 1); }

bool UsableDirName(const std::string& name) {
  return !name.empty() && name[0] != '.' && name.find('/') == std::string::npos;
}

ASrules_Decision Failure(const std::string& reason) {
  ASrules_Decision decision;
  decision.what = ASrules_Decision::Fail;
  decision.reason = {reason};
  return decision;
}

ASrules_Decision Into(const ASrules_Folder& folder, const std::string& dir, const std::string& name, ASplan_How how) {
  ASrules_Decision decision;
  decision.what = ASrules_Decision::Deliver;
  ASplan_Target target;
  target.how = how;
  target.dir = dir;
  target.name = name;
  target.overwrite = SAutoRcF_GetOverwriteMode(folder.rc, 1);
  decision.targets.push_back(target);
  return decision;
}

// The subdirectory a file is sorted into; empty with `reason` when none.
std::string SortKey(const ASrules_Folder& folder, const std::string& name, std::uint32_t mode, std::string& reason) {
  if (mode == kSortBySuffix) {
    char suffix[kNameCap];
    SFilMisc_SuffixOf(name, suffix);
    std::string key = StrIn(suffix).Str();
    for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return key.size() > 1 ? key.substr(1) : std::string();
  }
  if (mode == kSortByDate) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char date[16];
    std::strftime(date, sizeof date, "%Y-%m-%d", &local);
    return date;
  }
  TextStr path;
  SAutoRcF_GetStringOpt(folder.rc, "SCHEME", path);
  SRename scheme = ASrules_Scheme(folder, StrIn(path).Str(), reason);
  if (scheme == nullptr) return "";
  NameStr key;
  if (name.size() >= kNameCap || !SRename_Match(scheme, name) || !SRename_GetContentForKey(scheme, SRenamOp_kName1, key) ||
      !UsableDirName(StrIn(key).Str())) {
    reason = ASerror_Text(section, 1, {name, StrIn(path).Str()});  // messages: ASends 1
    return "";
  }
  return StrIn(key).Str();
}

// Names in `dir` that don't begin with a dot; -1 when it can't be read.
long CountFiles(const std::string& dir) {
  DIR* stream = ::opendir(dir.c_str());
  if (stream == nullptr) return -1;
  long count = 0;
  while (const dirent* entry = ::readdir(stream))
    if (entry->d_name[0] != '.') ++count;
  ::closedir(stream);
  return count;
}

}  // namespace

ASrules_Decision ASrules_Sort(const ASrules_Folder& folder, const std::string& source, const std::string& subdir) {
  ASrules_Decision stay;
  if (!subdir.empty()) return stay;  // sorted already
  const std::string name = Name(source);
  const std::uint32_t mode = ASrules_CardOpt(folder.rc, "MODE", kSortBySuffix);
  if (mode > kSortByDate) return ASrules_Fail(section, 2, {std::to_string(mode)});  // messages: ASends 2
  std::string reason;
  const std::string key = SortKey(folder, name, mode, reason);
  if (key.empty()) return reason.empty() ? stay : Failure(reason);
  const std::string dir = folder.path + "/" + key;
  if (!ASfile_MakeDirs(dir)) return ASrules_Fail(section, 3, {dir, std::strerror(errno)});  // messages: ASends 3
  return Into(folder, dir, name, ASplan_How::Move);
}

ASrules_Decision ASrules_Distribute(const ASrules_Folder& folder, const std::string& source) {
  const std::string name = Name(source);
  std::vector<std::string> dirs;
  PathStr dir;
  while (SAutoRcF_GetStringOpt(folder.rc, "DISTDIR_" + std::to_string(dirs.size()), dir) && dir[0] != '\0')
    dirs.push_back(StrIn(dir).Str());
  if (dirs.empty()) return ASrules_Fail(section, 4);  // messages: ASends 4
  const std::uint32_t mode = ASrules_CardOpt(folder.rc, "DISTMODE", kFewestFiles);
  if (mode == kEveryTarget) {
    ASrules_Decision decision;
    for (std::size_t i = 0; i < dirs.size(); ++i) {
      ASrules_Decision one = Into(folder, dirs[i], name, i + 1 == dirs.size() ? ASplan_How::Move : ASplan_How::Copy);
      decision.what = one.what;
      decision.targets.push_back(one.targets[0]);
    }
    return decision;
  }
  std::size_t best = dirs.size();
  long fewest = 0;
  for (std::size_t i = 0; i < dirs.size(); ++i) {
    const long count = CountFiles(dirs[i]);
    if (count >= 0 && (best == dirs.size() || count < fewest)) {
      best = i;
      fewest = count;
    }
  }
  if (best == dirs.size()) return ASrules_Fail(section, 5, {dirs[0]});  // messages: ASends 5
  return Into(folder, dirs[best], name, ASplan_How::Move);
}

ASrules_Decision ASrules_Log(const ASrules_Folder& folder, const std::string& source) {
  const std::string name = Name(source);
  struct stat info{};
  ::stat(source.c_str(), &info);
  char when[kNameCap];
  SAutoRcF_GetCurrentInstalltime(when);
  const std::string line = StrIn(when).Str() + "  " + std::to_string(info.st_size) + "  " + ASerror_OneLine(name) + "\n";
  const std::string log = folder.path + "/" + kLogName;
  const int fd = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  bool written = fd >= 0 && ::flock(fd, LOCK_EX) == 0 && ASfile_WriteAll(fd, line);
  const int error = errno;
  if (fd >= 0) written = ::close(fd) == 0 && written;
  if (!written) return ASrules_Fail(section, 6, {log, std::strerror(error)});  // messages: ASends 6
  return ASrules_ToOut(folder, 1, name);
}
