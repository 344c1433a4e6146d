// WFbase: reading a workflow back from disk. No file holds the graph, so it
// is followed from the start folder through the out directories that each
// folder's rc file names.
//
// A table from path to folder lives for one rebuild: every directory becomes
// one folder, so a graph whose branches join again is read as a graph, not as
// a tree, and a longer cycle stops the recursion instead of running forever.
// Only a folder naming itself as its out is refused. After the first failure
// the walk still looks at every out, to collect all reasons, but reads no
// further folders.
#include <cstdint>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "base/StrHash.h"
#include "workflow/WFbasePrivate.h"

namespace {

char section[kSectionCap] = "WFbase";

// messages: WFbase 3-5 7 8
constexpr unsigned kMissingFolder = 3;      // with the path
constexpr unsigned kStartIsEnd = 4;
constexpr unsigned kOutAbsent = 5;          // with the folder's path
constexpr unsigned kOwnOut = 7;             // with the folder's path
constexpr unsigned kRepairQuestion = 8;

// Buckets of the path table of one rebuild.
constexpr std::size_t kTableBuckets = 32;

struct Rebuild {
  WFbase workflow = nullptr;
  WFbase_AnswerProc answer = nullptr;
  StrOut reason;
  StrHash table = nullptr;
  PathStr startPath = "";
  bool repaired = false;
};

// Where a folder that has been read is linked: the workflow's start (no
// parent) or out `index` of `parent`.
struct Slot {
  WFfolder parent;
  std::uint32_t index;
};

// The text of message `number` with its "%s" filled by `path` (if any).
void Compose(unsigned number, StrIn path, StrOut text) {
  Messages_GetMsg(section, number, text);
  if (!path.Empty()) SPrintf_String(text, path);
}

// Reasons stand one behind the other on one line, cut at the buffer's end.
void AddText(StrOut reason, StrIn text) {
  if (text.Empty()) return;
  if (!StrIn(reason).Empty()) Strings_Concat(reason, " ", reason);
  Strings_Concat(reason, text, reason);
}

void AddReason(Rebuild& context, unsigned number, StrIn path) {
  TextStr text;
  Compose(number, path, text);
  AddText(context.reason, text);
}

// A directory, or a link to one, that can be read and written.
bool UsableDirectory(StrIn path) {
  DirAcces_Stat stat;
  return Messages_Quietly([&] { return DirAcces_FileStatN(path, stat); }) && stat.isDirectory &&
         DirAcces_Access(path, DirAcces_Mode::Read) && DirAcces_Access(path, DirAcces_Mode::Write);
}

WFfolder Known(const Rebuild& context, StrIn path) {
  return reinterpret_cast<WFfolder>(StrHash_GetEntry(context.table, path));
}

// Links `folder` into `slot`. A repaired link is written into the parent's
// rc too, which marks the parent: the next install must not write the broken
// branch back.
void Store(const Rebuild& context, Slot slot, WFfolder folder, bool repaired) {
  if (slot.parent == nullptr) {
    WFbase_SetStartFolder(context.workflow, folder);
  } else if (repaired) {
    WFfolder_SetOutFolder(slot.parent, slot.index, folder);
  } else {
    WFfolder_SetOutFolderForRebuild(slot.parent, slot.index, folder);
  }
}

// Asks whether a missing directory may be replaced by the workflow's default
// end. True when the branch is to be repaired.
bool AskRepair(const Rebuild& context, StrIn path) {
  if (context.answer == nullptr) return false;
  TextStr question, tail;
  Compose(kMissingFolder, path, question);
  Compose(kRepairQuestion, "", tail);
  AddText(question, tail);
  return context.answer(StrIn(question));
}

// Reads the folder at `outPath` and, depth first, everything behind it, and
// links it into `slot`. False when the graph cannot be read; the reasons are
// in context.reason.
bool WFbase_RebuildWorkflow_RebuildFolders(Rebuild& context, Slot slot, StrIn outPath) {
  PathStr path;
  Strings_Assign(outPath, path);

  // 1. The directory must be there; a repaired branch ends in the default
  // end, which is one folder however many branches end there.
  bool repaired = false;
  if (!UsableDirectory(path)) {
    if (!AskRepair(context, path)) {
      AddReason(context, kMissingFolder, path);
      return false;
    }
    context.repaired = repaired = true;
    WFbase_GetDefaultOutdir(context.workflow, path);
    WFfolder end = Known(context, path);
    if (end != nullptr) {
      Store(context, slot, end, repaired);
      return true;
    }
  }

  // 2. The kind. Another directory below the root of workflows ("outdir",
  // for one) is an end.
  WFfolder_FolderKind kind = WFfolder_KindByPath(path);
  if (kind == kWFfolderStart && !Strings_Equal(path, context.startPath)) kind = kWFfolderEnd;

  // 3. The rc. An unknown directory is an end, and an end needs none.
  TextStr message;
  SAutoRcF rc = WFfolder_LoadRcFile(path, kind, message);
  if (rc == nullptr) {
    if (kind == 0) {
      kind = kWFfolderEnd;
    } else if (!WFfolder_EndKind(kind)) {
      AddText(context.reason, message);
      return false;
    }
  }

  // 4. The folder, known from now on under its path.
  WFfolder folder = WFbase_CreateFolder(context.workflow, kind, rc, path, true);
  StrHash_PutEntry(context.table, path, reinterpret_cast<std::uintptr_t>(folder));
  Store(context, slot, folder, repaired);

  // 5. An end closes the branch, but a workflow cannot begin with one.
  if (WFfolder_End(folder)) {
    if (slot.parent != nullptr) return true;
    AddReason(context, kStartIsEnd, "");
    return false;
  }

  // 6. The outs, in index order.
  bool ok = true;
  const std::uint32_t count = WFfolder_OutdirCount(folder);
  for (std::uint32_t index = 1; index <= count; ++index) {
    PathStr outdir;
    if (!WFfolder_GetOutdir(rc, kind, index, outdir)) {
      AddReason(context, kOutAbsent, path);
      ok = false;
      continue;
    }
    WFfolder out = Known(context, outdir);
    if (out == nullptr) {
      if (ok) ok = WFbase_RebuildWorkflow_RebuildFolders(context, Slot{folder, index}, outdir);
    } else if (out == folder) {
      AddReason(context, kOwnOut, path);
      ok = false;
    } else {
      WFfolder_SetOutFolderForRebuild(folder, index, out);
    }
  }

  // 7. The labels follow the links.
  WFfolder_SetAllOutDescriptions(folder);
  return ok;
}

}  // namespace

WFbase WFbase_RebuildWorkflow(StrIn name, WFbase_AnswerProc answer, StrOut reason) {
  reason.Clear();
  // 1. A new record, the start path, a new table.
  Rebuild context{.workflow = WFbase_NewWorkflow(name), .answer = answer, .reason = reason};
  WFbase_GetStartPath(name, context.startPath);
  context.table = StrHash_CreateTable(kTableBuckets);

  // 2. Everything from the start folder on.
  const PathStr& start = context.startPath;
  const bool ok = WFbase_RebuildWorkflow_RebuildFolders(context, Slot{nullptr, 0}, start);
  StrHash_DestroyTable(context.table);
  WFbase workflow = context.workflow;
  if (!ok) {
    // 4. Nothing half read leaves here.
    WFbase_DestroyWorkflow(workflow);
    return WFbase_NilWorkflow();
  }

  // 3. Options and the time of the load. A repair is written by the next
  // install: setting out 1 of the start again marks the start folder.
  WFbase_LoadOptions(workflow);
  WFbase_SetWorkflowLastModified(workflow);
  if (context.repaired) {
    WFfolder startFolder = WFbase_StartFolder(workflow);
    WFfolder_SetOutFolder(startFolder, 1, WFfolder_OutFolder(startFolder, 1));
    WFbase_SetModified(workflow, true);
  }
  // Every workflow that is read has its end and error directories; one that
  // cannot have them is still a workflow.
  Messages_Quietly([&] { return WFbase_InstallDefaultSubdirs(workflow); });
  return workflow;
}

WFbase WFbase_RebuildWorkflowStart(StrIn name) {
  PathStr path;
  WFbase_GetStartPath(name, path);
  TextStr message;
  SAutoRcF rc = WFfolder_LoadRcFile(path, kWFfolderStart, message);
  if (rc == nullptr) return WFbase_NilWorkflow();
  WFbase workflow = WFbase_NewWorkflow(name);
  WFfolder start = WFbase_CreateFolder(workflow, kWFfolderStart, rc, path, true);
  WFbase_SetStartFolder(workflow, start);
  PathStr outdir;
  WFbase_GetDefaultOutdir(workflow, outdir);
  WFfolder end = WFbase_CreateFolder(workflow, kWFfolderInvisibleEnd, SAutoRcF_Nil(), outdir, true);
  WFfolder_SetOutFolderForRebuild(start, 1, end);
  WFbase_LoadOptions(workflow);
  return workflow;
}

bool WFbase_NoAnswer(StrIn) { return false; }
