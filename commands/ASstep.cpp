#include "commands/ASstep.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <map>

#include "base/Messages.h"
#include "commands/ASdeliver.h"
#include "commands/ASerror.h"
#include "commands/ASfile.h"
#include "commands/ASrules.h"

namespace {

char section[kSectionCap] = "AutoStep";

// Tries at a free stamp in the error directory before giving up.
constexpr int kStampTries = 100;

std::string Dir(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string WorkingDir() {
  char buffer[PATH_MAX];
  return ::getcwd(buffer, sizeof buffer) != nullptr ? buffer : ".";
}

std::string Absolute(const std::string& path) {
  std::string full = path.empty() || path[0] == '/' ? path : WorkingDir() + "/" + path;
  while (full.size() > 1 && full.back() == '/') full.pop_back();
  for (std::size_t at; (at = full.find("/./")) != std::string::npos;) full.erase(at, 2);
  return full;
}

void Report(const std::string& file, const std::vector<std::string>& reason) {
  std::fprintf(stderr, "%s\n", ASerror_Text(section, 2, {file}).c_str());  // messages: AutoStep 2
  for (const std::string& line : reason) std::fprintf(stderr, "  %s\n", line.c_str());
}

// The folders met in this run, with their rc files.
struct Folder {
  ASrules_Folder rules;
  std::vector<std::string> problem;  // why the rc can't be used; empty when fine
  Folder() = default;
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() { SAutoRcF_Destroy(rules.rc); }
};
std::map<std::string, Folder> folders;

// The folder of `file`: where the rc file lies (see the header).
Folder& FolderOf(WFmodule_Kind kind, const std::string& rcFile, const std::string& file) {
  NameStr rcName;
  WFmodule_GetRcFileName(kind, rcName);
  std::string rcPath;
  if (rcName[0] != '\0') {
    const std::string given = rcFile.empty() ? StrIn(rcName).Str() : rcFile;
    if (given.find('/') != std::string::npos || ASfile_Exists(Absolute(given))) {
      rcPath = Absolute(given);
    } else {
      for (std::string dir = Dir(file); rcPath.empty() && dir.size() > 1; dir = Dir(dir))
        if (ASfile_Exists(dir + "/" + given)) rcPath = dir + "/" + given;
    }
  }
  const std::string path = rcPath.empty() ? Dir(file) : Dir(rcPath);
  const auto known = folders.find(path);
  if (known != folders.end()) return known->second;
  Folder& folder = folders[path];
  folder.rules.kind = kind;
  folder.rules.path = path;
  if (rcName[0] == '\0') return folder;
  if (rcPath.empty()) {
    folder.problem = {ASerror_Text(section, 3, {rcFile.empty() ? StrIn(rcName).Str() : rcFile})};  // messages: AutoStep 3
  } else if (!SAutoRcF_Load(rcPath, folder.rules.rc)) {
    folder.rules.rc = SAutoRcF_Nil();
    folder.problem = {ASerror_Text(section, SAutoRcF_error == 6 ? 5 : 4, {rcPath})};  // messages: AutoStep 4, 5
  }
  return folder;
}

std::string Explain(const ASdeliver_Outcome& outcome) {
  switch (outcome.result) {
    case ASdeliver_Result::Missing:
      return ASerror_Text(section, 6, {outcome.path});  // messages: AutoStep 6
    case ASdeliver_Result::Clash:
      return ASerror_Text(section, 7, {outcome.path});  // messages: AutoStep 7
    default:
      return ASerror_Text(section, 8, {outcome.path, std::strerror(outcome.error)});  // messages: AutoStep 8
  }
}

// Carries out an error plan, with the next stamp while another failure of
// that name takes one; then tells why the file failed. Always false: the
// file was not delivered.
bool PlaceFailure(ASplan_Plan& plan, ASdeliver_Outcome outcome, int fd) {
  for (int tries = 0; outcome.result == ASdeliver_Result::Clash && tries < kStampTries; ++tries) {
    plan.cleanup = ASdeliver_Leftovers(plan, outcome.index);
    if (outcome.index > 0 && plan.committed) plan.cleanup.push_back(ASplan_FinalPath(plan.targets[0]));
    ASerror_Restamp(plan);
    outcome = ASdeliver_Run(plan, fd);
  }
  std::vector<std::string> reason = ASerror_Reason(plan);
  if (outcome.result != ASdeliver_Result::Done) reason.push_back(Explain(outcome));
  Report(plan.source, reason);
  return false;
}

// Puts the file into the error directory (see PlaceFailure).
bool Fail(const Folder& folder, ASplan_Plan& plan, std::vector<std::string> reason, bool noRetry, int fd) {
  std::string errorDir;
  if (!ASerror_Dir(folder.rules.rc, folder.rules.path, errorDir)) {
    reason.push_back(ASerror_Text(section, 9));  // messages: AutoStep 9
    Report(plan.source, reason);
    return false;
  }
  ASerror_MakePlan(plan, errorDir, folder.rules.path, reason, noRetry);
  return PlaceFailure(plan, ASdeliver_Run(plan, fd), fd);
}

// What an outcome of a delivery means for the file: done, or failed.
bool Settle(const Folder& folder, ASplan_Plan& plan, const ASdeliver_Outcome& outcome, int fd) {
  if (plan.failure) return PlaceFailure(plan, outcome, fd);
  if (outcome.result == ASdeliver_Result::Done) return true;
  plan.cleanup = ASdeliver_Leftovers(plan, outcome.index);
  return Fail(folder, plan, {Explain(outcome)}, false, fd);
}

bool Handle(WFmodule_Kind kind, const std::string& rcFile, const std::string& given) {
  const std::string source = Absolute(given);
  const int fd = ::open(source.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASplan_Plan plan;
  if (fd < 0 && errno == ENOENT) {
    // Handled by another run meanwhile, or by one killed before it removed
    // its record: a plan whose file has gone is through.
    if (!ASplan_Load(source, plan)) return true;
    ASdeliver_Discard(plan);
    if (plan.failure) Report(source, ASerror_Reason(plan));
    return !plan.failure;
  }
  plan.source = source;
  struct stat info{};
  if (fd < 0 || ::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    Report(source, {ASerror_Text(section, 11, {std::strerror(fd < 0 ? errno : EISDIR)})});  // messages: AutoStep 11
    if (fd >= 0) ::close(fd);
    return false;
  }
  // One run at a time works on a file; a run that waited finds it gone.
  ::flock(fd, LOCK_EX);
  ASplan_Identity now;
  if (!ASplan_GetIdentity(source, now) || now.inode != info.st_ino || now.device != info.st_dev) {
    ::close(fd);
    return true;
  }
  plan.identity = now;
  const Folder& folder = FolderOf(kind, rcFile, source);
  bool delivered = false;
  ASplan_Plan recorded;
  if (ASplan_Load(source, recorded) && recorded.identity == now) {
    delivered = Settle(folder, recorded, ASdeliver_Resume(recorded, fd), fd);
  } else {
    if (!recorded.targets.empty()) ASdeliver_Discard(recorded);
    const std::string dir = Dir(source), below = folder.rules.path + "/";
    const std::string subdir = dir.rfind(below, 0) == 0 ? dir.substr(below.size()) : "";
    const ASrules_Decision decision =
        folder.problem.empty() ? ASrules_Decide(folder.rules, source, subdir) : ASrules_Decision{ASrules_Decision::Fail, false, {}, folder.problem, false};
    switch (decision.what) {
      case ASrules_Decision::Stay:
        delivered = true;
        break;
      case ASrules_Decision::Remove:
        delivered = ::unlink(source.c_str()) == 0 || errno == ENOENT;
        if (!delivered) Report(source, {ASerror_Text(section, 8, {source, std::strerror(errno)})});
        break;
      case ASrules_Decision::Fail:
        plan.keep = decision.keep;
        delivered = Fail(folder, plan, decision.reason, decision.noRetry, fd);
        break;
      case ASrules_Decision::Deliver:
        plan.keep = decision.keep;
        plan.targets = decision.targets;
        delivered = Settle(folder, plan, ASdeliver_Run(plan, fd), fd);
        break;
    }
  }
  ::close(fd);
  return delivered;
}

}  // namespace

void ASstep_Init() {
  ASerror_Init();
  ASrules_Init();
  ASdeliver_Init();
}

WFmodule_Kind ASstep_KindOfCommand(const std::string& word) {
  for (WFmodule_Kind kind = 1; kind <= kWFmoduleMaxKind; ++kind) {
    NameStr command;
    WFmodule_GetCmdName(kind, command);
    const std::string text = StrIn(command).Str();
    if (!text.empty() && text.substr(0, text.find(' ')) == word) return kind;
  }
  return kWFmoduleNoKind;
}

bool ASstep_Run(WFmodule_Kind kind, const std::string& rcFile, const std::vector<std::string>& files) {
  bool all = true;
  for (const std::string& file : files) all = Handle(kind, rcFile, file) && all;
  return all;
}
