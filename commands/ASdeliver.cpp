#include "commands/ASdeliver.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/DirAcces.h"
#include "commands/ASfile.h"

namespace {

std::int32_t faultAt = 0;
std::int32_t faultCount = 0;

ASdeliver_Outcome Outcome(ASdeliver_Result result, const std::string& path, std::size_t index, int error = 0) {
  return {result, path, error, index};
}

bool IsMove(const ASplan_Target& t) { return t.how == ASplan_How::Move; }

std::uint64_t DeviceOf(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 ? info.st_dev : 0;
}

// Every out is there, and every name free that may not be replaced.
ASdeliver_Outcome Check(const ASplan_Plan& plan) {
  for (std::size_t i = 0; i < plan.targets.size(); ++i) {
    const ASplan_Target& t = plan.targets[i];
    if (!ASfile_IsDir(t.dir)) return Outcome(ASdeliver_Result::Missing, t.dir, i, ENOENT);
    if (!t.overwrite && ASfile_Exists(ASplan_FinalPath(t))) return Outcome(ASdeliver_Result::Clash, ASplan_FinalPath(t), i, EEXIST);
  }
  return {};
}

void RemoveTmps(const ASplan_Plan& plan) {
  for (const ASplan_Target& t : plan.targets)
    if (!IsMove(t)) ::unlink(ASplan_TmpPath(t).c_str());
}

bool MakeTmp(const ASplan_Plan& plan, const ASplan_Target& t, int fd) {
  const std::string tmp = ASplan_TmpPath(t);
  switch (t.how) {
    case ASplan_How::Copy: {
      struct stat info;
      return ::fstat(fd, &info) == 0 && ASfile_CopyTo(fd, tmp, info.st_mode);
    }
    case ASplan_How::Link:
      ::unlink(tmp.c_str());
      return ::symlink(plan.source.c_str(), tmp.c_str()) == 0;
    case ASplan_How::Text:
      return ASfile_WriteFile(tmp, t.text, true);
    case ASplan_How::Move:
      break;
  }
  return true;
}

// The temporary files, then the mark "committed".
ASdeliver_Outcome Prepare(ASplan_Plan& plan, int fd) {
  for (std::size_t i = 0; i < plan.targets.size(); ++i) {
    const ASplan_Target& t = plan.targets[i];
    if (IsMove(t)) continue;
    if (!MakeTmp(plan, t, fd)) {
      const int error = errno;
      ASdeliver_Discard(plan);
      return Outcome(ASdeliver_Result::Failed, ASplan_TmpPath(t), i, error);
    }
    ASdeliver_FaultPoint();
  }
  if (!ASplan_MarkCommitted(plan)) {
    const int error = errno;
    ASdeliver_Discard(plan);
    return Outcome(ASdeliver_Result::Failed, ASplan_RecordPath(plan.source), 0, error);
  }
  plan.committed = true;
  ASdeliver_FaultPoint();
  return {};
}

// One rename of a committed plan; a source that is gone was renamed before.
ASdeliver_Outcome Place(const std::string& from, const ASplan_Target& t, std::size_t index) {
  if (ASfile_Rename(from, ASplan_FinalPath(t), t.overwrite)) {
    ASdeliver_FaultPoint();
    return {};
  }
  const int error = errno;
  if (error == ENOENT && !ASfile_Exists(from)) return {};
  if (error == EEXIST) return Outcome(ASdeliver_Result::Clash, ASplan_FinalPath(t), index, error);
  return Outcome(ASdeliver_Result::Failed, ASplan_FinalPath(t), index, error);
}

// The renames (the move last) and the end of a committed plan.
ASdeliver_Outcome Finish(ASplan_Plan& plan) {
  std::size_t move = plan.targets.size();
  for (std::size_t i = 0; i < plan.targets.size(); ++i) {
    const ASplan_Target& t = plan.targets[i];
    if (IsMove(t)) {
      move = i;
      continue;
    }
    const ASdeliver_Outcome placed = Place(ASplan_TmpPath(t), t, i);
    if (placed.result != ASdeliver_Result::Done) return placed;
  }
  if (move < plan.targets.size()) {
    const ASdeliver_Outcome placed = Place(plan.source, plan.targets[move], move);
    if (placed.result != ASdeliver_Result::Done) return placed;
  } else if (!plan.keep && ::unlink(plan.source.c_str()) == 0) {
    ASdeliver_FaultPoint();
  }
  if (plan.keep) {
    if (ASplan_MarkDone(plan)) plan.done = true;
  } else {
    ASplan_Remove(plan.source);
  }
  return {};
}

ASdeliver_Outcome Phases(ASplan_Plan& plan, int fd) {
  if (!plan.committed) {
    const ASdeliver_Outcome prepared = Prepare(plan, fd);
    if (prepared.result != ASdeliver_Result::Done) return prepared;
  }
  return Finish(plan);
}

}  // namespace

void ASdeliver_Init() { DirAcces_CheckIntFlag("STEP_FAULT", 0, faultAt); }

void ASdeliver_FaultPoint() {
  if (faultAt > 0 && ++faultCount == faultAt) ::kill(::getpid(), SIGKILL);
}

ASdeliver_Outcome ASdeliver_Run(ASplan_Plan& plan, int fd) {
  const ASdeliver_Outcome checked = Check(plan);
  if (checked.result != ASdeliver_Result::Done) return checked;
  const std::uint64_t device = DeviceOf(plan.source);
  if (plan.targets.size() == 1 && IsMove(plan.targets[0]) && DeviceOf(plan.targets[0].dir) == device) {
    const ASdeliver_Outcome placed = Place(plan.source, plan.targets[0], 0);
    if (placed.result != ASdeliver_Result::Failed || placed.error != EXDEV) return placed;
  }
  for (ASplan_Target& t : plan.targets) {
    if (IsMove(t) && DeviceOf(t.dir) != device) t.how = ASplan_How::Copy;
    if (!IsMove(t)) t.tmp = ASplan_TmpName(t.name);
  }
  plan.committed = plan.done = false;
  if (!ASplan_Save(plan)) return Outcome(ASdeliver_Result::Failed, ASplan_RecordPath(plan.source), 0, errno);
  ASdeliver_FaultPoint();
  for (const std::string& path : plan.cleanup) ::unlink(path.c_str());
  return Phases(plan, fd);
}

ASdeliver_Outcome ASdeliver_Resume(ASplan_Plan& plan, int fd) {
  if (plan.done) return {};
  for (const std::string& path : plan.cleanup) ::unlink(path.c_str());
  if (!plan.committed) {
    RemoveTmps(plan);
    const ASdeliver_Outcome checked = Check(plan);
    if (checked.result != ASdeliver_Result::Done) {
      ASplan_Remove(plan.source);
      return checked;
    }
  }
  return Phases(plan, fd);
}

void ASdeliver_Discard(const ASplan_Plan& plan) {
  RemoveTmps(plan);
  ASplan_Remove(plan.source);
}

std::vector<std::string> ASdeliver_Leftovers(const ASplan_Plan& plan, std::size_t index) {
  std::vector<std::string> paths;
  for (std::size_t i = index; i < plan.targets.size(); ++i)
    if (!IsMove(plan.targets[i]) && ASfile_Exists(ASplan_TmpPath(plan.targets[i])))
      paths.push_back(ASplan_TmpPath(plan.targets[i]));
  return paths;
}
