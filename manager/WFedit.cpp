// WFedit: a folder's parameters edited in the graph, and what they change
// in the graph around it.
#include "manager/WFedit.h"

#include <string>
#include <vector>

namespace {

constexpr WFfolder_FolderKind kFinalPage = 23, kWorksOnFiles = 29, kPrintToFile = 40, kParamSet = 52;

// What of a folder can change the graph, noted before its dialog runs.
struct Notes {
  std::uint32_t outs = 0;
  std::uint32_t mode = 0;
  bool finalPage = false, jobTicket = false;
  std::string kindOption;  // "AUTOMODE" of the start folder, "PARAMSET" of kind 52
};

std::string StringOpt(WFfolder folder, const char* key) {
  TextStr value;
  return WFfolder_GetStringOpt(folder, StrIn::C(key), value) ? StrIn(value).Str() : std::string();
}

Notes Note(WFfolder folder) {
  Notes notes;
  notes.outs = WFfolder_OutdirCount(folder);
  notes.mode = WFfolder_GetMode(folder);
  notes.finalPage = WFfolder_FinalpageMode(folder);
  notes.jobTicket = WFfolder_JobticketMode(folder);
  const WFfolder_FolderKind kind = WFfolder_Kind(folder);
  if (kind == kWFfolderStart) notes.kindOption = StringOpt(folder, "AUTOMODE");
  if (kind == kParamSet) notes.kindOption = StringOpt(folder, "PARAMSET");
  return notes;
}

// Cuts `folder` off the graph when nothing reaches it any more: its outs
// go the same way, and it is removed from disk by the next install. An
// invisible end has nothing on disk and is only let go.
void DeleteBranch(WFbase workflow, WFfolder folder) {
  if (folder == nullptr) return;
  WFbase_FolderList anchestors = WFbase_GetAnchestors(workflow, folder);
  const bool reached = anchestors != nullptr;
  WFbase_DestroyFolderList(anchestors);
  if (reached || folder == WFbase_StartFolder(workflow)) return;
  std::vector<WFfolder> outs;
  for (std::uint32_t index = 8; index >= 1; --index) {
    const WFfolder out = WFfolder_OutFolder(folder, index);
    if (out == nullptr) continue;
    WFfolder_SetOutFolder(folder, index, nullptr);
    outs.push_back(out);
  }
  for (WFfolder out : outs) DeleteBranch(workflow, out);
  if (!WFfolder_InvisibleEnd(folder)) WFbase_AddFolderToRemove(workflow, folder);
}

// The outs follow the number the folder has now: surplus ones are cut off
// from the last down, missing ones get invisible ends.
void CheckOuts(WFbase workflow, WFfolder folder, std::uint32_t before) {
  const std::uint32_t now = WFfolder_OutdirCount(folder);
  for (std::uint32_t index = before; index > now; --index) {
    const WFfolder out = WFfolder_OutFolder(folder, index);
    if (out == nullptr) continue;
    WFfolder_SetOutFolder(folder, index, nullptr);
    DeleteBranch(workflow, out);
  }
  for (std::uint32_t index = 1; index <= now; ++index)
    if (WFfolder_OutFolder(folder, index) == nullptr)
      WFfolder_SetOutFolder(folder, index, WFbase_CreateInvisibleEnd(workflow));
}

// A changed mode (or final-page or job ticket mode) runs along the workflow.
void CheckMode(WFbase workflow, const Notes& before, const Notes& after) {
  if (before.mode != after.mode || before.finalPage != after.finalPage || before.jobTicket != after.jobTicket)
    WFbase_SetFolderMode(workflow);
}

bool StructureChanged(WFfolder_FolderKind kind, const Notes& before, const Notes& after) {
  if (before.outs != after.outs) return true;
  switch (kind) {
    case kWFfolderStart:
      return before.mode != after.mode || before.kindOption != after.kindOption ||
             before.finalPage != after.finalPage || before.jobTicket != after.jobTicket;
    case kFinalPage:
    case kWorksOnFiles:
    case kPrintToFile: return true;
    case kParamSet: return before.kindOption != after.kindOption;
    default: return false;
  }
}

}  // namespace

bool WFedit_EditParams(WFbase workflow, WFfolder folder, bool& structureChanged) {
  structureChanged = false;
  if (workflow == nullptr || folder == nullptr) return false;
  const Notes before = Note(folder);
  if (!WFbase_EditParams(workflow, folder)) return false;
  const Notes after = Note(folder);
  if (after.outs != before.outs) CheckOuts(workflow, folder, before.outs);
  CheckMode(workflow, before, after);
  structureChanged = StructureChanged(WFfolder_Kind(folder), before, after);
  return true;
}
