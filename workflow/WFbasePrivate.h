// The workflow record and the helpers that the WFbase*.cpp files share.
// Private to the module: nothing outside workflow/WFbase*.cpp includes it.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "workflow/WFbase.h"

struct WFbase_Rec {
  NameStr name = "";
  WFbase_Options options{};
  std::array<std::uint32_t, kWFbaseCounters> counters{};  // next free N per folder kind
  WFfolder start = nullptr;                 // not owned apart from `folders`
  std::vector<WFfolder> folders;            // every folder of the graph; owned
  std::vector<WFfolder> toRemove;           // removed in the editor; owned, oldest first
  SDateAri_Stamp lastModified{};            // of the start rc at load; zero: unknown
  bool modified = false;
};

// Message section of the module.
extern char WFbase_section[kSectionCap];
// The hooks registered at start-up.
extern WFbase_Hooks WFbase_hooks;

// The root of all workflows, brought up to date in WFbase_wfDir.
void WFbase_RefreshWfDir();
// The start rc file of workflow `name`.
void WFbase_StartRcName(StrIn name, StrOut file);
// Loads the start rc of workflow `name` without building it; nil when it
// can't be read. Nothing is reported. The caller owns the object.
SAutoRcF WFbase_LoadStartRc(StrIn name);
// Runs "rm -rf" on `path` through the shell; true on exit status 0.
bool WFbase_RemoveTree(StrIn path);
// The "FILEMODE" that suits the first step behind the start.
std::uint32_t WFbase_SetFolderMode_FileMode(WFbase workflow);
// Stable ascending byte order and a linked list of the names.
WFbase_WfList WFbase_MakeWfList(std::vector<std::string> names);
