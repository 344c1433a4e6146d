// Fuzz target: arbitrary bytes as a workflow description. A fault names a
// line of the text; a description that parses has names that are legal and
// distinct. Applied to a new workflow in memory, it either fails with a
// message or gives a graph in which every folder reached has exactly the outs
// its kind needs and no folder reaches itself again; the same description
// applied a second time changes nothing.
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include "base/Messages.h"
#include "tools/WFdesc.h"

namespace {

std::string site;
pid_t parent = 0;

// Tells which property failed (seen with --verbose), then crashes.
void Check(bool condition, int line = __builtin_LINE()) {
  if (condition) return;
  std::fprintf(stderr, "WFdesc_fuzz: the check in line %d failed\n", line);
  std::abort();
}

void RemoveSite() {
  if (::getpid() != parent) return;
  std::error_code ignored;
  std::filesystem::remove_all(site, ignored);
}

// A private site; nothing of the installation is touched, and nothing is
// written: the workflow lives in memory only.
void SetUp() {
  char pattern[] = "/tmp/floatdeck-fuzz-XXXXXX";
  if (::mkdtemp(pattern) == nullptr) std::abort();
  site = pattern;
  parent = ::getpid();
  std::atexit(RemoveSite);
  ::setenv("TV_CUSTOMER", site.c_str(), 1);
  ::setenv("TV_PROJECTS", site.c_str(), 1);
  ::setenv("TV_NO_RUN_FILE", "1", 1);
  Messages_Init();
  WFdesc_Init();
}

bool AnyModified(WFbase workflow) {
  bool modified = WFbase_Modified(workflow);
  WFbase_FolderList list = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList e = list; e != nullptr; e = e->next) modified = modified || WFfolder_Modified(e->folder);
  WFbase_DestroyFolderList(list);
  return modified;
}

void CheckGraph(WFbase workflow) {
  WFbase_FolderList list = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList e = list; e != nullptr; e = e->next) {
    const std::uint32_t count = WFfolder_OutdirCount(e->folder);
    for (std::uint32_t index = 1; index <= kWFfolderMaxOuts; ++index) {
      WFfolder out = WFfolder_OutFolder(e->folder, index);
      Check((out != nullptr) == (index <= count));
      Check(out == nullptr || !WFfolder_ConnectionExists(out, e->folder));
    }
    WFfolder_SetModified(e->folder, false);
  }
  WFbase_DestroyFolderList(list);
  for (WFfolder folder = WFbase_TakeFolderToRemove(workflow); folder != nullptr;
       folder = WFbase_TakeFolderToRemove(workflow)) {
    WFfolder_Destroy(folder);
  }
  WFbase_SetModified(workflow, false);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (parent == 0) SetUp();
  WFdesc_Description description;
  WFdesc_Error error;
  if (!WFdesc_Parse(reinterpret_cast<const char*>(data), size, description, error)) {
    Check(error.line >= 1 && error.text[0] != '\0');
    return 0;
  }
  std::set<std::string> names;
  for (const WFdesc_Folder& folder : description.folders) {
    Check(folder.line >= 1 && folder.line <= description.lines);
    Check(folder.name[0] != '\0' && names.insert(folder.name).second);
  }
  WFbase workflow = WFbase_CreateWorkflow("fuzz", false);
  std::vector<WFfolder> removed;
  if (!WFdesc_Apply(description, workflow, removed, error)) {
    Check(error.text[0] != '\0');
  } else {
    CheckGraph(workflow);
    Check(WFdesc_Apply(description, workflow, removed, error));
    Check(removed.empty() && !AnyModified(workflow));
  }
  WFbase_DestroyWorkflow(workflow);
  return 0;
}
