// Job ids, the job's error and progress files, and paths seen from another host.
#include <chrono>
#include <cstdio>
#include <set>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "jobqueue/CCjobBaseRec.h"

namespace {

std::int32_t idCounter = 0;

const char kNfsFlag[] = "NFS_PREFIX_BEHAVIOUR";

std::string MachineName() {
  char name[kNameCap];
  DirAcces_GetMachineName(name);
  return StrIn(name).Str();
}

// "<dir>/<id><suffix>" in `dirName` of MARLDAT (of TMP for NFS sites), the
// directory made on first use, open to every user.
std::string JobFile(CCjobBase_Job job, const char* dirName, const char* suffix) {
  static std::set<std::string> made;  // a server names files for thousands of jobs
  char dir[kPathCap];
  DirAcces_IncludeSpecialPath(DirAcces_CheckFlag(kNfsFlag) ? DirAcces_TMP : DirAcces_MARLDAT, StrIn::C(dirName), dir);
  const std::string path = StrIn(dir).Str();
  if (made.insert(path).second) Messages_Quietly([&] { return DirAcces_RecursiveMkDir(dir, 0777); });
  return path + "/" + StrIn(job->id).Str() + suffix;
}

std::size_t Parts(std::string_view id) {
  std::size_t parts = 1;
  for (char c : id) parts += c == '-' ? 1 : 0;
  return parts;
}

}  // namespace

bool CCjobBase_NeedsPrefix(CCjobBase_Job job) {
  return job != nullptr && !job->employerHost.empty() && job->employerHost != MachineName() &&
         DirAcces_CheckFlag(kNfsFlag);
}

std::string CCjobBase_LocalPath(CCjobBase_Job job, std::string_view path) {
  if (path.empty() || !CCjobBase_NeedsPrefix(job)) return std::string(path);
  char prefixed[kTextCap];
  CCjobBase_PrefixNFS(job->employerHost, std::string(path), prefixed);
  return StrIn(prefixed).Str();
}

void CCjobBase_GenerateId(StrOut id) {
  const double milliseconds = static_cast<double>(
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
          .count());
  char text[kTextCap];
  std::snprintf(text, sizeof text, "%s-%.0f-%d-%d", MachineName().c_str(), milliseconds, Processe_GetPID(),
                static_cast<int>(idCounter++));
  Strings_Assign(StrIn(text), id);
}

void CCjobBase_GenerateErrorFilename(CCjobBase_Job job) {
  if (job != nullptr && job->errorFilename.empty()) job->errorFilename = JobFile(job, "cluster-error", ".err");
}

void CCjobBase_GenerateProgressFilename(CCjobBase_Job job) {
  if (job != nullptr && job->progressFilename.empty())
    job->progressFilename = JobFile(job, "cluster-progress", ".progress");
}

bool CCjobBase_DecodeErrorFilename(StrIn path, StrOut id) {
  id.Clear();
  std::string_view name = path.View();
  name.remove_prefix(name.rfind('/') == std::string_view::npos ? 0 : name.rfind('/') + 1);
  constexpr std::string_view kSuffix = ".err";
  if (name.size() <= kSuffix.size() || name.substr(name.size() - kSuffix.size()) != kSuffix) return false;
  name.remove_suffix(kSuffix.size());
  if (Parts(name) < 4) return false;
  Strings_Assign(std::string(name), id);
  return true;
}

void CCjobBase_PrefixNFS(StrIn host, StrIn path, StrOut prefixed) {
  Strings_Assign("/nfs" + host.Str() + path.Str(), prefixed);
}
