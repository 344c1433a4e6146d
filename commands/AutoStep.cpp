// AutoStep: the module commands of a workflow's hot folders in one program.
// It is installed once under its own name and, as symbolic links to it,
// under every command word of the module kinds ("autostart.sh",
// "autorenm.sh", "AutoSwch", "imgrm", ...); the name it is called by is the
// kind it works as (ASstep).
//
//   COMMAND [RCFILE] FILE...     the step of COMMAND's kind on the files
//   imgrm [-f] FILE...           the delete folder: the files removed
//   AutoStep -links DIRECTORY    makes the links in DIRECTORY (installing)
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Options.h"
#include "base/Processe.h"
#include "commands/ASerror.h"
#include "commands/ASstep.h"

namespace {

char section[kSectionCap] = "AutoStep";

std::string Word(const std::string& command) { return command.substr(0, command.find(' ')); }

void Usage() { std::fprintf(stderr, "%s\n", ASerror_Text(section, 1).c_str()); }  // messages: AutoStep 1

// A link named after each kind's command, to this program, in `dir`. It
// runs while the program is built and installed, before any catalog is
// there: a failure is told by the system's words alone.
int MakeLinks(const std::string& dir) {
  int status = 0;
  for (WFmodule_Kind kind = 1; kind <= kWFmoduleMaxKind; ++kind) {
    NameStr command;
    WFmodule_GetCmdName(kind, command);
    if (command[0] == '\0') continue;
    const std::string link = dir + "/" + Word(StrIn(command).Str());
    ::unlink(link.c_str());
    if (::symlink("AutoStep", link.c_str()) != 0) {
      std::perror(link.c_str());
      status = 1;
    }
  }
  return status;
}

std::string ProgramName(const char* argv0) {
  const std::string path = argv0 != nullptr ? argv0 : "";
  return path.substr(path.rfind('/') + 1);
}

bool Run(const std::string& name, const std::vector<std::string>& words) {
  const WFmodule_Kind kind = ASstep_KindOfCommand(name);
  if (kind == kWFmoduleNoKind) {
    Usage();
    return false;
  }
  NameStr rcName;
  WFmodule_GetRcFileName(kind, rcName);
  std::string rcFile;
  std::vector<std::string> files;
  for (const std::string& text : words) {
    const std::string last = text.substr(text.rfind('/') + 1);
    if (files.empty() && rcFile.empty() && rcName[0] != '\0' && last == StrIn(rcName).View()) rcFile = text;
    else files.push_back(text);
  }
  if (files.empty()) {
    Usage();
    return false;
  }
  return ASstep_Run(kind, rcFile, files);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string name = ProgramName(argv[0]);
  if (name == "AutoStep" && argc == 3 && std::string(argv[1]) == "-links") return MakeLinks(argv[2]);
  // A step that can't run (the installation is stopped) leaves its files
  // where they are and says so by its status.
  Processe_SetExitStatus(1);
  Argument_Init(argc, argv);
  // "-f" of the delete folder is taken and changes nothing: files are removed anyway.
  bool force = false;
  std::vector<std::string> words;
  const Options_Option options[] = {{"-f", false, Options_Set(force)}};
  if (!Options_Read(options, Options_Append(words)) || words.empty())
    Options_Refuse("AUTOSTEPmsg", section, 1, 1);  // messages: AutoStep 1
  Processe_Init();
  Messages_Init();
  ASstep_Init();
  Messages_UseMsgCat("AUTOSTEPmsg");
  if (Run(name, words)) Processe_SetExitStatus(0);
  Processe_Exit();
  return Processe_GetExitStatus();
}
