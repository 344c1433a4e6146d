// WFbase: the modes that run down a workflow from its start folder (final
// page, job ticket, overwrite in the ends) and the report id of all folders.
#include <cstdint>
#include <set>

#include "base/Strings.h"
#include "workflow/WFbase.h"
#include "workflow/WFbasePrivate.h"

namespace {

constexpr char kOutFormat[] = "OUTFORMAT";
constexpr char kPrintToFile[] = "PRINTTOFILE";

struct Spreader {
  WFbase workflow;
  bool changed = false;
  std::set<WFfolder> switchedOn;  // met with a mode on: never again

  // Each setter counts a change only when the folder really took it: a
  // folder without rc holds no modes.
  void SetFinalpage(WFfolder folder, bool on) {
    const bool before = WFfolder_FinalpageMode(folder);
    if (before != on) WFfolder_SetFinalpageMode(folder, on);
    changed = changed || WFfolder_FinalpageMode(folder) != before;
  }
  void SetJobticket(WFfolder folder, bool on) {
    const bool before = WFfolder_JobticketMode(folder);
    if (before != on) WFfolder_SetJobticketMode(folder, on);
    changed = changed || WFfolder_JobticketMode(folder) != before;
  }
  void SetOverwrite(WFfolder folder, std::uint32_t index, bool on) {
    const bool before = WFfolder_OverwriteMode(folder, index);
    if (before != on) WFfolder_SetOverwriteMode(folder, index, on);
    changed = changed || WFfolder_OverwriteMode(folder, index) != before;
  }

  void Visit(WFfolder folder, bool finalPage, bool jobTicket) {
    if (folder == nullptr) return;
    // 2. A second road may switch a folder on, never off again.
    const bool holds = WFfolder_FinalpageMode(folder) || WFfolder_JobticketMode(folder);
    const bool brings = finalPage || jobTicket;
    if (WFfolder_Done(folder) && (holds || !brings || !switchedOn.insert(folder).second)) return;
    if (brings) switchedOn.insert(folder);
    WFfolder_SetDone(folder, true);
    // 3. The folder takes both modes.
    SetFinalpage(folder, finalPage);
    SetJobticket(folder, jobTicket);
    // 4. Where each mode ends.
    const WFfolder_FolderKind kind = WFfolder_Kind(folder);
    bool outFinalPage = finalPage;
    bool outJobTicket = jobTicket;
    if ((kind >= 22 && kind <= 24) || (kind == kWFfolderStart && jobTicket)) outFinalPage = false;
    if (kind == 39 || (kind == 40 && WFfolder_GetBoolOptDef(folder, kPrintToFile, false))) {
      outJobTicket = false;
    }
    // 5. A final-page output format makes final pages again.
    if (kind == 23 && !outFinalPage) {
      NameStr format;
      WFfolder_GetStringOptDef(folder, kOutFormat, ".qif", format);
      outFinalPage = Strings_Equal(format, ".fp");
    }
    // 6. Overwriting in each out, then the outs themselves.
    WFfolder_OutIterator outs = WFfolder_CreateOutIterator(folder);
    std::uint32_t index = 0;
    WFfolder out = nullptr;
    while (WFfolder_IterateOuts(outs, index, out)) {
      bool overwrite = false;
      if (WFfolder_End(out)) {
        PathStr path;
        WFfolder_GetPath(out, path);
        overwrite = WFbase_OverwriteInEnd(workflow, path);
      } else {
        overwrite = WFfolder_Kind(out) == kWFfolderCheck;
      }
      SetOverwrite(folder, index, overwrite);
      Visit(out, outFinalPage, outJobTicket);
    }
    WFfolder_DestroyOutIterator(outs);
  }
};

}  // namespace

// The file mode that suits the first step behind the start.
std::uint32_t WFbase_SetFolderMode_FileMode(WFbase workflow) {
  WFfolder start = WFbase_StartFolder(workflow);
  WFfolder first = WFfolder_OutFolder(start, 1);
  if (start == nullptr || first == nullptr) return 2;
  TextStr files, omitFiles;
  WFfolder_GetFileRegExpr(first, files, omitFiles);
  const WFfolder_FolderKind kind = WFfolder_Kind(first);
  std::uint32_t mode = 0;
  if (Strings_Equal(files, TVWcfg_psFiles) || Strings_Equal(files, TVWcfg_pdfFiles)) {
    mode = 3;
  } else if (kind == 29 && WFfolder_WorksOnFiles(first)) {
    mode = 2;
  } else if (kind == 40) {
    mode = 8;
  } else if (kind == 47) {
    mode = 9;
  } else if (kind == 39 && WFfolder_GetMode(first) == 1) {
    mode = 3;
  } else if (WFfolder_UserDef(first)) {
    mode = Strings_Equal(files, TVWcfg_allImages) ? 0 : 2;
  } else {
    mode = WFfolder_FinalpageMode(start) ? 1 : 0;
  }
  if (WFfolder_JobticketMode(start)) {
    if (mode == 1) mode = 6;
    else if (mode == 0) mode = 5;
    else if (mode == 3) mode = 10;
  }
  return mode;
}

void WFbase_SetFolderMode(WFbase workflow) {
  WFfolder start = WFbase_StartFolder(workflow);
  if (start == nullptr) return;
  Spreader spreader{workflow, false, {}};
  // 1. Both modes come from the start; its file mode may follow the first step.
  if (WFfolder_GetBoolOptDef(start, WFbase_optAutoMode, false)) {
    const std::uint32_t fileMode = WFbase_SetFolderMode_FileMode(workflow);
    if (WFfolder_GetCardOptDef(start, WFbase_optFileMode, 2) != fileMode) {
      PathStr path;
      WFfolder_GetPath(start, path);
      if (WFbase_hooks.setFileMode != nullptr) {
        WFbase_hooks.setFileMode(WFfolder_RcFile(start), StrIn(path), fileMode);
        WFfolder_SetModified(start, true);
      } else {
        WFfolder_SetCardOpt(start, WFbase_optFileMode, fileMode);
      }
      spreader.changed = true;
    }
  }
  // 2.-6. Down the graph with done marks.
  WFbase_SetDone(workflow, false);
  spreader.Visit(start, WFfolder_FinalpageMode(start), WFfolder_JobticketMode(start));
  if (spreader.changed) WFbase_SetModified(workflow, true);
}

void WFbase_SetReportID(WFbase workflow, StrIn id, std::int32_t addon) {
  WFbase_FolderList list = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList entry = list; entry != nullptr; entry = entry->next) {
    SAutoRcF rc = WFfolder_RcFile(entry->folder);
    if (rc == nullptr) continue;
    NameStr old = "";
    if (!SAutoRcF_GetReportID(rc, old)) old[0] = '\0';
    if (Strings_Equal(old, id) && SAutoRcF_GetReportAddon(rc) == addon) continue;
    SAutoRcF_SetReportID(rc, id);
    SAutoRcF_SetReportAddon(rc, addon);
    WFfolder_SetModified(entry->folder, true);
    WFbase_SetModified(workflow, true);
  }
  WFbase_DestroyFolderList(list);
}
