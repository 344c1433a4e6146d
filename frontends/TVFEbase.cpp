// TVFEbase: starting outside commands from a window, the online help and
// the module's errors.
#include "frontends/TVFEbase.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SFilMisc.h"
#include "base/Utility.h"
#include "toolkit/I.h"
#include "toolkit/Imisc.h"

std::uint8_t TVFEbase_error = 0;
char TVFEbase_section[kSectionCap] = "TVFEbase";

namespace {

// messages: TVFEbase 31 32
constexpr unsigned kHelpFailed = 31;
constexpr unsigned kHelpOpens = 32;
constexpr unsigned kNotifySeconds = 3;
constexpr std::size_t kLineCap = 1024;
constexpr int kPollMs = 100;

// Copies the complete lines of `pending` to standard output, and the rest too
// once it fills a line buffer.
void FlushLines(std::string& pending, bool all) {
  while (!pending.empty()) {
    const std::size_t end = pending.find('\n');
    std::size_t take = 0;
    if (end != std::string::npos && end < kLineCap) {
      take = end + 1;
    } else if (pending.size() >= kLineCap) {
      take = kLineCap;
    } else if (all) {
      take = pending.size();
    } else {
      break;
    }
    std::fwrite(pending.data(), 1, take, stdout);
    pending.erase(0, take);
  }
  std::fflush(stdout);
}

// Where a command's output goes under the flag IO_DEV_NULL: the device in
// CONSOLE, else the console when this process may write to it, else nowhere.
std::string OutputDevice() {
  TextStr console;
  TextStr escaped;
  if (DirAcces_EnvVar("CONSOLE", console) && SFilMisc_EscapeShMetaChars(console, escaped)) return StrIn(escaped).Str();
  const int fd = ::open("/dev/console", O_WRONLY | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return "/dev/null";
  ::close(fd);
  return "/dev/console";
}

// The user's input is blocked while one lives.
struct InputBlock {
  InputBlock() { I_BlockInput(true); }
  ~InputBlock() { I_BlockInput(false); }
  InputBlock(const InputBlock&) = delete;
  InputBlock& operator=(const InputBlock&) = delete;
};

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

bool TVFEbase_ExecCommandModal(StrIn command) {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) return false;
  const int pid = Processe_Fork();
  if (pid < 0) {
    ::close(fds[0]);
    ::close(fds[1]);
    return false;
  }
  if (pid == 0) {
    // The terminal the program was started from is not the command's to read.
    const int none = ::open("/dev/null", O_RDONLY);
    if (none >= 0) ::dup2(none, STDIN_FILENO);
    ::dup2(fds[1], STDOUT_FILENO);
    const std::string text = command.Str();
    const char* const args[] = {"/bin/sh", "-c", text.c_str(), nullptr};
    Processe_Exec("/bin/sh", args);
    ::_exit(127);
  }
  ::close(fds[1]);
  // The windows go on drawing, but take no input till the command is done.
  const InputBlock block;
  // Read while the windows go on: a look every 100 ms while nothing comes.
  std::string pending;
  for (bool open = true; open;) {
    pollfd ready{fds[0], POLLIN, 0};
    if (::poll(&ready, 1, kPollMs) > 0) {
      char chunk[kLineCap];
      const ssize_t got = ::read(fds[0], chunk, sizeof chunk);
      if (got > 0) pending.append(chunk, static_cast<std::size_t>(got));
      open = got > 0 || (got < 0 && errno == EINTR);
      FlushLines(pending, false);
    }
    I_Yield();
  }
  FlushLines(pending, true);
  ::close(fds[0]);
  // A command that closed its output early may still run.
  int status = 0;
  while (Processe_WaitPID(pid, true, status) == 0) {
    Utility_Delay(kPollMs);
    I_Yield();
  }
  return true;
}

void TVFEbase_PrefixBACKPIX(StrIn command, StrOut prefixed) {
  TextStr value;
  const bool set = DirAcces_EnvVar("BACKPIX", value) && StrIn(value).View().find_first_not_of(" \t") != std::string_view::npos;
  if (!set) {
    Strings_Assign(command, prefixed);
    return;
  }
  TextStr escaped;
  SFilMisc_EscapeShMetaChars(value, escaped);
  Strings_Assign("BACKPIX=" + StrIn(escaped).Str() + "; export BACKPIX; " + command.Str(), prefixed);
}

// --- Help and errors -------------------------------------------------------------------

bool TVFEbase_OnlineHelpOnContext(StrIn topic, StrIn document) {
  std::string command = "online.sh ";
  if (!document.Empty()) command += "-j " + SFilMisc_QuoteForShell(document.View()) + " ";
  command += SFilMisc_QuoteForShell(topic.View());
  const bool started = TVFEbase_StartACommand(command, false);
  if (started) {
    Imisc_Notify(TVFEbase_section, kHelpOpens, kNotifySeconds);
  } else {
    Imisc_ErrMsg(TVFEbase_section, kHelpFailed);
  }
  return started;
}

bool TVFEbase_OnlineDocAvailable() { return TVFEbase_StartACommand("online.sh -i", true); }

void TVFEbase_GetReleaseNotesName(std::uint32_t number, StrOut name) {
  static const char* const names[] = {"release", "releas2", "releas3"};
  Strings_Assign(number >= 1 && number <= 3 ? StrIn::C(names[number - 1]) : StrIn(""), name);
}

// messages: TVFEbase 1 2
void TVFEbase_Error(std::uint8_t number) {
  TVFEbase_error = number;
  Messages_Error(TVFEbase_section, number);
}
