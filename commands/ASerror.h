// ASerror: where a failed file goes. The workflow's error directory holds
// the file as "<stamp>_<name>" and beside it "<stamp>_<name>.err": its first
// line is the hot folder the file came from, the lines after it say why, and
// a line "NO RETRY" tells the status view that a retry would fail again. The
// stamp is the time of the failure, "yyyymmddhhmmss", raised by one while
// either name is taken.
#pragma once

#include <string>
#include <vector>

#include "commands/ASplan.h"
#include "rc/SAutoRcF.h"

void ASerror_Init();

// The error directory of the folder: the rc's "_ERRORDIR_", or else the
// "error" directory of the workflow the folder's path belongs to. False when
// neither gives one.
bool ASerror_Dir(SAutoRcF rc, const std::string& folder, std::string& dir);

// Message `number` of `section` with its "%s" filled by `args` in order.
std::string ASerror_Text(const char* section, unsigned number, const std::vector<std::string>& args = {});

// `text` fit for one line of a ".err" file or a log: a line feed in it (from
// a file's name) is written as backslash and "n".
std::string ASerror_OneLine(const std::string& text);

// Turns `plan` (whose source and identity are set) into the plan that puts
// the file into `errorDir`: the ".err" file first, then the file itself (a
// copy when the plan keeps it). `folder` is the hot folder, `reason` the
// lines that say why.
void ASerror_MakePlan(ASplan_Plan& plan, const std::string& errorDir, const std::string& folder,
                      const std::vector<std::string>& reason, bool noRetry);
// Gives an error plan the next free stamp after its own, its text kept: for
// a stamp that another failure of that name took meanwhile.
void ASerror_Restamp(ASplan_Plan& plan);
// The lines of an error plan's ".err" file that say why.
std::vector<std::string> ASerror_Reason(const ASplan_Plan& plan);
