// What the WFbackup*.cpp files share. Private to the module.
#pragma once

#include <string>

#include "base/Strings.h"

// Message section of the module.
extern char WFbackup_section[kSectionCap];

// The keys of the archive's description.
inline constexpr char WFbackup_infoWorkflow[] = "WORKFLOW";
inline constexpr char WFbackup_infoProjects[] = "PROJECTS";
inline constexpr char WFbackup_infoGroup[] = "GROUP";

// `text` as one word for the shell; false when it is empty or doesn't fit.
bool WFbackup_Escaped(StrIn text, std::string& escaped);
