// The folder record and the helpers that WFfolder.cpp and WFfolderOuts.cpp
// share. Private to the module: nothing outside workflow/WFfolder*.cpp
// includes it.
#pragma once

#include <array>
#include <cstdint>

#include "workflow/WFfolder.h"

struct WFfolder_Rec {
  std::array<WFfolder, kWFfolderMaxOuts> outs{};  // index 1..8 at 0..7; not owned
  std::array<NameStr, kWFfolderMaxOuts> labels{};
  PathStr path = "";
  WFfolder_FolderKind kind = 0;
  SAutoRcF rc = nullptr;  // owned
  bool done = false;
  bool modified = false;
};

// The component owning the folder's path, for kinds 42 and 49.
bool WFfolder_Component(WFfolder folder, WFconfig_Entry& component);
// Typed reads of rc with a default for an absent or malformed option.
std::uint32_t WFfolder_CardDef(SAutoRcF rc, StrIn key, std::uint32_t fallback);
std::int32_t WFfolder_IntDef(SAutoRcF rc, StrIn key, std::int32_t fallback);
bool WFfolder_BoolDef(SAutoRcF rc, StrIn key, bool fallback);
