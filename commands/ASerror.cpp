#include "commands/ASerror.h"

#include <algorithm>
#include <ctime>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "commands/ASfile.h"
#include "workflow/WFbase.h"
#include "workflow/WFmodule.h"

namespace {

char section[kSectionCap] = "ASerror";
constexpr char kNoRetry[] = "NO RETRY";

std::uint64_t NowStamp() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  return ((((static_cast<std::uint64_t>(local.tm_year + 1900) * 100 + static_cast<std::uint64_t>(local.tm_mon + 1)) * 100 +
            static_cast<std::uint64_t>(local.tm_mday)) * 100 + static_cast<std::uint64_t>(local.tm_hour)) * 100 +
          static_cast<std::uint64_t>(local.tm_min)) * 100 + static_cast<std::uint64_t>(local.tm_sec);
}

std::string Name(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::uint64_t StampOf(const ASplan_Plan& plan) {
  std::uint64_t stamp = 0;
  for (const char c : plan.targets[0].name) {
    if (c < '0' || c > '9') break;
    stamp = stamp * 10 + static_cast<std::uint64_t>(c - '0');
  }
  return stamp;
}

// Names the two targets of an error plan by the first stamp after `after`
// (and not before now) that neither name has taken.
void Stamp(ASplan_Plan& plan, std::uint64_t after) {
  const std::string& dir = plan.targets[1].dir;
  const std::string name = Name(plan.source);
  std::uint64_t stamp = std::max(after + 1, NowStamp());
  while (ASfile_Exists(dir + "/" + std::to_string(stamp) + "_" + name) ||
         ASfile_Exists(dir + "/" + std::to_string(stamp) + "_" + name + ".err"))
    ++stamp;
  plan.targets[1].name = std::to_string(stamp) + "_" + name;
  plan.targets[0].name = plan.targets[1].name + ".err";
}

}  // namespace

void ASerror_Init() {
  WFmodule_Init();
  WFbase_Init();
}

bool ASerror_Dir(SAutoRcF rc, const std::string& folder, std::string& dir) {
  PathStr path;
  if (SAutoRcF_GetErrordir(rc, path) && path[0] != '\0') {
    dir = StrIn(path).Str();
    return true;
  }
  NameStr workflow;
  std::uint32_t number = 0;
  if (!WFmodule_GetWorkflowName(folder, workflow, number)) return false;
  PathStr start;
  WFbase_GetStartPath(workflow, start);
  DirAcces_IncludePath(start, WFbase_errorDirName, path);
  dir = StrIn(path).Str();
  return true;
}

std::string ASerror_Text(const char* name, unsigned number, const std::vector<std::string>& args) {
  TextStr text;
  char messageSection[kSectionCap];
  Strings_Assign(StrIn::C(name), messageSection);
  Messages_GetMsg(messageSection, number, text);
  for (const std::string& arg : args) SPrintf_String(text, arg);
  return StrIn(text).Str();
}

std::string ASerror_OneLine(const std::string& text) {
  std::string line;
  for (const char c : text) line += c == '\n' ? std::string("\\n") : std::string(1, c);
  return line;
}

void ASerror_MakePlan(ASplan_Plan& plan, const std::string& errorDir, const std::string& folder,
                      const std::vector<std::string>& reason, bool noRetry) {
  std::string text = ASerror_OneLine(folder) + "\n";
  for (const std::string& line : reason) text += ASerror_OneLine(line) + "\n";
  TextStr job;
  if (DirAcces_EnvVar("CCJOB_ID", job) && job[0] != '\0') text += ASerror_Text(section, 1, {StrIn(job).Str()}) + "\n";  // messages: ASerror 1
  if (noRetry) text += std::string(kNoRetry) + "\n";

  plan.failure = true;
  plan.targets.clear();
  ASplan_Target err;
  err.how = ASplan_How::Text;
  err.dir = errorDir;
  err.text = text;
  ASplan_Target file;
  file.how = plan.keep ? ASplan_How::Copy : ASplan_How::Move;
  file.dir = errorDir;
  plan.targets = {err, file};
  Stamp(plan, 0);
}

void ASerror_Restamp(ASplan_Plan& plan) { Stamp(plan, StampOf(plan)); }

std::vector<std::string> ASerror_Reason(const ASplan_Plan& plan) {
  std::vector<std::string> lines;
  const std::string& text = plan.targets.empty() ? std::string() : plan.targets[0].text;
  for (std::size_t start = text.find('\n'); start != std::string::npos && start + 1 < text.size();) {
    const std::size_t end = text.find('\n', start + 1);
    lines.push_back(text.substr(start + 1, end - start - 1));
    start = end;
  }
  return lines;
}
