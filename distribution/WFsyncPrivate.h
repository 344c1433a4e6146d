// What the WFsync*.cpp files share. Private to the module.
#pragma once

#include <string>

#include "base/Strings.h"

// Message section of the module.
extern char WFsync_section[kSectionCap];

// The request words, in the order of the protocol.
inline constexpr char WFsync_reqEnvironment[] = "ENVIRONMENT";
inline constexpr char WFsync_reqTmpFilename[] = "TMPFILENAME";
inline constexpr char WFsync_reqInstallWorkflow[] = "INSTALLWORKFLOW";
inline constexpr char WFsync_reqInstallModule[] = "INSTALLMODULE";

// The text of message `number` with its "%s" filled by the arguments given,
// in order.
std::string WFsync_Text(unsigned number, const std::string& first = "", const std::string& second = "");
// Whether DEBUG is set: temporary files stay, requests and results are told.
bool WFsync_Debug();
// `text` as one word for the shell; false when it is empty.
bool WFsync_Word(StrIn text, std::string& word);
// Runs `command` through the shell; true when it ended with 0.
bool WFsync_Run(const std::string& command);
