// ASstep: one run of a module command on the files it is given.
//
//   COMMAND [RCFILE] FILE...
//
// COMMAND is the kind's command word (the program is called by that name);
// RCFILE the folder's rc file name as the demon entry's options give it,
// taken as such when it is the kind's rc file name (it may then be left
// out). RCFILE and FILE are relative to the working directory or absolute.
// The folder is the directory of the rc file: the working directory if it
// holds it, else the nearest directory above the file that does (a start
// folder that takes files from its subdirectories). A kind without rc file
// ("imgrm -f") works in the file's own directory.
//
// Each file ends in one place: its out(s), the error directory with its
// ".err" file, or (for a file that could not even be moved there) still in
// its folder, with the reason on standard error. Exit status: 0 when every
// file was delivered (or stays, or was removed, as the kind does), 1 when a
// file failed or the command line was wrong, 2 for an internal error.
#pragma once

#include <string>
#include <vector>

#include "workflow/WFmodule.h"

void ASstep_Init();

// The kind whose command is `word` ("autorenm.sh", "imgrm"); 0 when none.
WFmodule_Kind ASstep_KindOfCommand(const std::string& word);

// Runs the kind's step on the files; `rcFile` may be empty. True when every
// file was delivered.
bool ASstep_Run(WFmodule_Kind kind, const std::string& rcFile, const std::vector<std::string>& files);
