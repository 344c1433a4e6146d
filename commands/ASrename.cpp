// The rename folder: the new name from the folder's rename schemes.
#include "commands/ASrules.h"
#include "rules/SRename.h"

namespace {

char section[kSectionCap] = "ASrename";

constexpr std::uint32_t kOneScheme = 1, kByFormat = 2, kSeveralSchemes = 3;
constexpr std::uint32_t kPassUnmatched = 1;

std::vector<std::string> SchemePaths(SAutoRcF rc, std::uint32_t mode) {
  TextStr path;
  if (mode != kSeveralSchemes) {
    SAutoRcF_GetStringOpt(rc, "SCHEME", path);
    return {StrIn(path).Str()};
  }
  std::uint32_t count = 0;
  const bool counted = SAutoRcF_GetCardOpt(rc, "SCHEMECOUNT", count);
  std::vector<std::string> paths;
  for (std::uint32_t n = 0; !counted || n < count; ++n) {
    if (!SAutoRcF_GetStringOpt(rc, "SCHEME_" + std::to_string(n), path)) break;
    paths.push_back(StrIn(path).Str());
  }
  return paths;
}

// A name the out can take: not empty, no directory, not "." or "..".
bool UsableName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

}  // namespace

ASrules_Decision ASrules_Rename(const ASrules_Folder& folder, const std::string& source) {
  const std::string name = source.substr(source.rfind('/') + 1);
  const std::uint32_t mode = ASrules_CardOpt(folder.rc, "MODE", kOneScheme);
  if (mode == kByFormat) {
    ASrules_Decision decision = ASrules_NeedsEngine(folder, 1);
    decision.noRetry = false;  // another mode of the folder would do
    return decision;
  }
  if (name.size() >= kNameCap) return ASrules_Fail(section, 1, {name});  // messages: ASrename 1
  const std::vector<std::string> paths = SchemePaths(folder.rc, mode);
  if (paths.empty()) return ASrules_Fail(section, 2);  // messages: ASrename 2
  for (const std::string& path : paths) {
    std::string reason;
    SRename scheme = ASrules_Scheme(folder, path, reason);
    if (scheme == nullptr) {
      ASrules_Decision decision;
      decision.what = ASrules_Decision::Fail;
      decision.reason = {reason};
      return decision;
    }
    if (!SRename_Match(scheme, name)) continue;
    SRenamOp destination = SRename_NilSeg();
    if (!SRename_GetFirstSeg(scheme, false, destination)) return ASrules_ToOut(folder, 1, name);
    NameStr renamed;
    if (!SRename_Rename(scheme, name, renamed)) {
      TextStr why;
      SRename_GetErrorMessage(why);
      return ASrules_Fail(section, 3, {name, StrIn(why).Str()});  // messages: ASrename 3
    }
    const std::string newName = StrIn(renamed).Str();
    if (!UsableName(newName)) return ASrules_Fail(section, 4, {name, newName});  // messages: ASrename 4
    return ASrules_ToOut(folder, 1, newName);
  }
  if (ASrules_CardOpt(folder.rc, "NOMATCHMODE", 0) == kPassUnmatched) return ASrules_ToOut(folder, 1, name);
  std::string list;
  for (const std::string& path : paths) list += (list.empty() ? "" : ", ") + path;
  return ASrules_Fail(section, 5, {name, list});  // messages: ASrename 5
}
