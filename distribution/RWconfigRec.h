// The remote watch configuration's record, shared by RWconfig*.cpp only.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "distribution/RWconfig.h"

struct RWconfig_Rec {
  RWbase_GlobalSettings settings;
  std::map<std::string, RWbase_Server> servers;          // by name
  std::map<std::string, RWconfig_Hotfolder> hotfolders;  // by key
  RWconfig_FileID read;  // the file as this object last read or wrote it
  // What was changed since then: new values, or nothing for a removal.
  bool settingsChanged = false;
  std::map<std::string, std::optional<RWbase_Server>> serverChanges;
  std::map<std::string, std::optional<RWconfig_Hotfolder>> hotfolderChanges;
  std::uint32_t idCounter = 0;  // rises with each new hot folder id
  std::map<std::string, RWbase_Server>::const_iterator serverCursor;
  std::map<std::string, RWconfig_Hotfolder>::const_iterator hotfolderCursor;
};

struct RWconfig_HotfolderVectorRec {
  std::vector<RWconfig_Hotfolder> items;
};

// Message section of the module.
extern char RWconfig_section[kSectionCap];

// The key of a hot folder as a text.
std::string RWconfig_Key(const RWconfig_Hotfolder& hotfolder);
// The text of message `number` of "RWconfig" with its placeholders filled.
void RWconfig_Compose(unsigned number, StrOut text, StrIn first = "", StrIn second = "");
