#include "services/TVWatchD/TVWDstages.h"

#include <deque>
#include <map>

#include "base/Messages.h"
#include "rc/SAutoRcF.h"
#include "services/TVWatchD/TVWDfolders.h"
#include "workflow/WFmodule.h"

namespace {

constexpr WFmodule_Kind kStartKind = 1;

// By workflow: the stage of each folder (by key) the start folder reaches.
std::map<std::string, std::map<std::string, std::uint32_t>> stages;

// The outs of the folder `path` as its rc file names them.
std::vector<std::string> Outs(const std::string& path) {
  std::vector<std::string> outs;
  const WFmodule_Kind kind = WFmodule_ModuleKindByPath(path);
  NameStr rcName;
  WFmodule_GetRcFileName(kind, rcName);
  if (kind == kWFmoduleNoKind || rcName[0] == '\0') return outs;
  SAutoRcF rc = SAutoRcF_Nil();
  if (!Messages_Quietly([&] { return SAutoRcF_Load(path + "/" + StrIn(rcName).Str(), rc); })) return outs;
  std::uint32_t minimum = 0, maximum = 0;
  WFmodule_GetOutdirLimits(kind, minimum, maximum);
  for (std::uint32_t i = 1; i <= maximum; ++i) {
    PathStr out;
    if (WFmodule_GetOutdir(rc, kind, i, out) && out[0] != '\0') {
      const std::string text = StrIn(out).Str();
      outs.push_back(text[0] == '/' ? text : path + "/" + text);
    }
  }
  SAutoRcF_Destroy(rc);
  return outs;
}

// The stages of the workflow `name`: a walk from its start folder.
std::map<std::string, std::uint32_t> Walk(const std::string& name) {
  PathStr root;
  WFmodule_GetRootDir(kStartKind, root);
  std::map<std::string, std::uint32_t> found;
  std::deque<std::string> next = {StrIn(root).Str() + "/" + name};
  found[TVWDfolders_Key(next.front())] = 0;
  while (!next.empty()) {
    const std::string path = next.front();
    next.pop_front();
    const std::uint32_t stage = found[TVWDfolders_Key(path)];
    for (const std::string& out : Outs(path))
      if (found.try_emplace(TVWDfolders_Key(out), stage + 1).second) next.push_back(out);
  }
  return found;
}

}  // namespace

void TVWDstages_Of(const std::string& dir, std::string& flow, std::uint32_t& stage) {
  flow.clear();
  stage = 0;
  NameStr name;
  std::uint32_t number = 0;
  if (!WFmodule_GetWorkflowName(dir, name, number)) return;
  flow = StrIn(name).Str();
  auto at = stages.find(flow);
  if (at == stages.end()) at = stages.emplace(flow, Walk(flow)).first;
  const auto known = at->second.find(TVWDfolders_Key(dir));
  if (known != at->second.end()) stage = known->second;
}

void TVWDstages_Forget() { stages.clear(); }
