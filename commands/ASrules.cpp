#include "commands/ASrules.h"

#include <map>
#include <memory>

#include "commands/ASerror.h"
#include "image/SImage.h"
#include "rules/SRename.h"
#include "workflow/WFticket.h"

namespace {

char section[kSectionCap] = "ASrules";

// The engine each kind needs that has no rule here; 0 for the kinds with a
// rule and those without a command.
unsigned EngineOf(WFmodule_Kind kind) {
  switch (kind) {
    case 29: case 30: case 31: case 32: case 33: case 34: case 35: case 39: case 46:
      return 1;  // raster images
    case 10: case 11: case 12: case 13: case 14: case 15: case 16: case 17: case 18: case 19: case 20:
    case 21: case 22: case 23: case 24: case 25: case 26: case 27: case 28: case 45:
      return 2;  // PostScript and PDF
    case 36: case 37: case 38: case 49:
      return 3;  // colour management
    case 42: case 43: case 44: case 47: case 50:
      return 4;  // imposition
    case 41:
      return 5;  // web approval
    case 48:
      return 6;  // remote transfer
    default:
      return 0;
  }
}

std::string Name(const std::string& path) { return path.substr(path.rfind('/') + 1); }

struct SchemeDeleter {
  void operator()(SRename_Rec* scheme) const {
    SRename handle = scheme;
    SRename_Destroy(handle);
  }
};
std::map<std::string, std::unique_ptr<SRename_Rec, SchemeDeleter>> schemes;

}  // namespace

void ASrules_Init() {
  SRename_Init();
  SImage_Init();
  WFticket_Init();
}

std::uint32_t ASrules_CardOpt(SAutoRcF rc, const char* key, std::uint32_t fallback) {
  std::uint32_t value = 0;
  return SAutoRcF_GetCardOpt(rc, StrIn::C(key), value) ? value : fallback;
}

ASrules_Decision ASrules_Fail(const char* messageSection, unsigned number, const std::vector<std::string>& args) {
  ASrules_Decision decision;
  decision.what = ASrules_Decision::Fail;
  decision.reason.push_back(ASerror_Text(messageSection, number, args));
  return decision;
}

bool ASrules_AddOut(const ASrules_Folder& folder, std::uint32_t index, const std::string& name, ASplan_How how,
                    ASrules_Decision& decision) {
  PathStr dir;
  if (!WFmodule_GetOutdir(folder.rc, folder.kind, index, dir) || dir[0] == '\0') {
    decision = ASrules_Fail(section, 1, {std::to_string(index)});  // messages: ASrules 1
    return false;
  }
  ASplan_Target target;
  target.how = how;
  target.dir = StrIn(dir).Str();
  target.name = name;
  target.overwrite = SAutoRcF_GetOverwriteMode(folder.rc, index);
  decision.what = ASrules_Decision::Deliver;
  decision.targets.push_back(target);
  return true;
}

ASrules_Decision ASrules_ToOut(const ASrules_Folder& folder, std::uint32_t index, const std::string& name,
                               ASplan_How how) {
  ASrules_Decision decision;
  ASrules_AddOut(folder, index, name, how, decision);
  return decision;
}

ASrules_Decision ASrules_NeedsEngine(const ASrules_Folder& folder, unsigned engine) {
  NameStr kind;
  WFmodule_GetName(folder.kind, kind);
  // messages: ASrules 10-16
  ASrules_Decision decision = ASrules_Fail(section, 10, {StrIn(kind).Str(), ASerror_Text(section, 10 + engine)});
  decision.noRetry = true;
  return decision;
}

SRename_Rec* ASrules_Scheme(const ASrules_Folder& folder, const std::string& path, std::string& reason) {
  const std::string full = path.empty() || path[0] == '/' ? path : folder.path + "/" + path;
  const auto known = schemes.find(full);
  if (known != schemes.end()) return known->second.get();
  SRename scheme = SRename_Nil();
  if (full.empty() || !SRename_Load(full, scheme)) {
    TextStr why;
    SRename_GetErrorMessage(why);
    reason = ASerror_Text(section, 2, {full, StrIn(why).Str()});  // messages: ASrules 2
    return nullptr;
  }
  schemes[full].reset(scheme);
  return scheme;
}

ASrules_Decision ASrules_Decide(const ASrules_Folder& folder, const std::string& source, const std::string& subdir) {
  const std::string name = Name(source);
  switch (folder.kind) {
    case 1:
      return ASrules_Start(folder, source, subdir);
    case 2:
      return ASrules_Rename(folder, source);
    case 3: {
      ASrules_Decision decision;
      if (ASrules_AddOut(folder, 2, name, ASplan_How::Copy, decision)) ASrules_AddOut(folder, 1, name, ASplan_How::Move, decision);
      return decision;
    }
    case 4:
      return ASrules_Switch(folder, source);
    case 5:
      return ASrules_ToOut(folder, 1, name);
    case 7:
      return ASrules_Sort(folder, source, subdir);
    case 8:
      return ASrules_Distribute(folder, source);
    case 9: {
      ASrules_Decision decision;
      decision.what = ASrules_Decision::Remove;
      return decision;
    }
    case 40:
      return ASrules_Log(folder, source);
    default:
      return ASrules_NeedsEngine(folder, EngineOf(folder.kind));
  }
}
