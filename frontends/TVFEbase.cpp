// TVFEbase: starting outside commands from a window.
#include "frontends/TVFEbase.h"

#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "base/DirAcces.h"
#include "base/Processe.h"

namespace {

// Where a command's output goes under the flag IO_DEV_NULL: the device in
// CONSOLE, else the console when this process may write to it, else nowhere.
std::string OutputDevice() {
  TextStr console;
  if (DirAcces_EnvVar("CONSOLE", console)) return StrIn(console).Str();
  const int fd = ::open("/dev/console", O_WRONLY | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return "/dev/null";
  ::close(fd);
  return "/dev/console";
}

}  // namespace

void TVFEbase_CommandLine(StrIn command, bool wait, StrOut line) {
  std::string text = command.Str();
  const bool redirectsOut = text.find('>') != std::string::npos;
  const bool redirectsErr = text.find("2>") != std::string::npos;
  const bool redirectsIn = text.find('<') != std::string::npos;
  if (DirAcces_CheckFlag("IO_DEV_NULL")) {
    if (!redirectsOut) text += " >" + OutputDevice();
    if (!redirectsErr) text += " 2>&1";
  } else {
    text += " ";
  }
  if (!redirectsIn) text += " </dev/null";
  if (!wait) text += " &";
  Strings_Assign(text, line);
}

bool TVFEbase_StartACommand(StrIn command, bool wait) {
  TextStr line;
  TVFEbase_CommandLine(command, wait, line);
  return !Processe_System(line);
}
