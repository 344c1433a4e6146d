// WFdebug: the dump of a workflow, one line per folder, numbered as
// WFbase_GetAllFolders numbers them, so a folder reached by two roads is
// shown once and named by its number wherever it is an out.
#include "workflow/WFdebug.h"

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "base/StringOp.h"

namespace {

char section[kSectionCap] = "WFdebug";

bool initialised = false;

// The running number of `folder` in `list`; 0 for a folder not on it.
std::uint32_t NumberOf(WFbase_FolderList list, WFfolder folder) {
  for (; list != nullptr; list = list->next) {
    if (list->folder == folder) return list->number;
  }
  return 0;
}

// "[N] TITLE: PATH", and " --> [A], [B]" for a folder with outs.
void FolderLine(WFbase_FolderList list, const WFbase_FolderListEntry& entry, StrOut line) {
  NameStr title;
  WFfolder_GetIconTitle(entry.folder, title);
  for (std::size_t i = 0; i < Strings_Length(title); ++i) title[i] = StringOp_Upper(title[i]);
  PathStr path, target;
  WFfolder_GetPath(entry.folder, path);
  if (Messages_Quietly([&] { return DirAcces_ReadLink(path, target); })) Strings_Assign(target, path);

  Strings_Assign("[%d] %s: %s", line);
  SPrintf_Int(line, static_cast<std::int32_t>(entry.number));
  SPrintf_String(line, title);
  SPrintf_String(line, path);
  if (WFfolder_OutdirCount(entry.folder) == 0) return;

  Strings_Concat(line, " -->", line);
  WFfolder_OutIterator outs = WFfolder_CreateOutIterator(entry.folder);
  std::uint32_t index = 0;
  WFfolder out = WFfolder_Nil();
  while (WFfolder_IterateOuts(outs, index, out)) {
    NameStr number = " [%d],";
    SPrintf_Int(number, static_cast<std::int32_t>(NumberOf(list, out)));
    Strings_Concat(line, number, line);
  }
  WFfolder_DestroyOutIterator(outs);
  const std::size_t length = Strings_Length(line);
  if (length > 0 && line[length - 1] == ',') line.Terminate(length - 1);
}

}  // namespace

void WFdebug_Init() {
  if (initialised) return;
  initialised = true;
  Messages_Init();
  DirAcces_Init();
  WFbase_Init();
}

void WFdebug_WriteWorkflow(std::FILE* file, WFbase workflow) {
  if (file == nullptr || workflow == WFbase_NilWorkflow()) return;
  NameStr name;
  WFbase_GetName(workflow, name);
  TextStr line;
  Messages_GetMsg(section, 1, line);
  SPrintf_String(line, name);
  std::fprintf(file, "\n%s\n", StrIn(line).Str().c_str());

  WFbase_FolderList list = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList entry = list; entry != nullptr; entry = entry->next) {
    FolderLine(list, *entry, line);
    std::fprintf(file, "%s\n", StrIn(line).Str().c_str());
  }
  WFbase_DestroyFolderList(list);
}
