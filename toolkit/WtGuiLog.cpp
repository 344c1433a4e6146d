#include "toolkit/WtGuiLog.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "base/SPrintf.h"
#include "toolkit/CWShell.h"

namespace {

char section[kSectionCap] = "WtGuiLog";

bool started = false;
int fd = -1;
std::string fileName;
std::string failure;  // of the replayed command being played

// Message 1: the log cannot be written (the file and the system's reason).
void ReportFailure(int error) {
  TextStr text;
  Messages_GetMsg(section, 1, text);  // messages: WtGuiLog 1
  SPrintf_String(text, fileName);
  SPrintf_String(text, StrIn::C(std::strerror(error)));
  std::fprintf(stderr, "%s\n", text);
}

void Close() {
  if (fd >= 0) ::close(fd);
  fd = -1;
}

void Start() {
  if (started) return;
  started = true;
  if (const char* file = std::getenv("TV_GUILOG"); file != nullptr && *file != '\0') WtGuiLog_Open(StrIn::C(file));
}

// The dialog name of the shell that `w` lies in; empty when none.
std::string DialogOf(Widget w) {
  const Widget shell = CWShell_GetShellWidget(w);
  if (shell == nullptr || static_cast<CWShell>(shell)->dialogName == SIdPool_NoName) return {};
  return SIdPool_IdText(static_cast<CWShell>(shell)->dialogName).Str();
}

}  // namespace

bool WtGuiLog_Active() {
  Start();
  return fd >= 0;
}

bool WtGuiLog_Open(StrIn file) {
  started = true;
  Close();
  fileName = file.Str();
  if (fileName.empty()) return true;
  fd = ::open(fileName.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) ReportFailure(errno);
  return fd >= 0;
}

void WtGuiLog_Line(StrIn line) {
  if (!WtGuiLog_Active()) return;
  // One write a line: lines of a crashed program are whole.
  const std::string text = line.Str() + "\n";
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ReportFailure(n < 0 ? errno : ENOSPC);
      Close();
      return;
    }
    done += static_cast<std::size_t>(n);
  }
}

bool WtGuiLog_IsHidden(Widget w) {
  const Widget shell = CWShell_GetShellWidget(w);
  return shell != nullptr && static_cast<CWShell>(shell)->noGuiLog;
}

void WtGuiLog_Command(Widget w, StrIn text) {
  if (!WtGuiLog_Active() || WtGuiLog_IsHidden(w)) return;
  const std::string dialog = DialogOf(w);
  if (dialog.empty()) return;
  WtGuiLog_Line("COMMAND " + dialog + " " + std::to_string(w->id) + " " + text.Str());
}

void WtGuiLog_DeleteWindow(Widget shell) {
  if (!WtGuiLog_Active() || WtGuiLog_IsHidden(shell)) return;
  const std::string dialog = DialogOf(shell);
  if (!dialog.empty()) WtGuiLog_Line("DELETE_WINDOW " + dialog);
}

std::string WtGuiLog_Quote(StrIn text) {
  std::string quoted = "\"";
  for (const char c : text.Str()) {
    if (c == '"' || c == '\\') quoted += '\\';
    if (c == '\n') quoted += "\\n";
    else quoted += c;
  }
  return quoted + "\"";
}

std::string WtGuiLog_Word(StrIn text) {
  const std::string word = text.Str();
  if (!word.empty() && word.find_first_of(" \t\"\\\n") == std::string::npos) return word;
  return WtGuiLog_Quote(word);
}

bool WtGuiLog_SplitWords(StrIn text, std::vector<std::string>& words) {
  words.clear();
  const std::string line = text.Str();
  std::size_t at = 0;
  for (;;) {
    while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) ++at;
    if (at >= line.size()) return true;
    std::string word;
    if (line[at] != '"') {
      while (at < line.size() && line[at] != ' ' && line[at] != '\t') word += line[at++];
      words.push_back(word);
      continue;
    }
    for (++at;; ++at) {
      if (at >= line.size()) return false;
      if (line[at] == '"') break;
      if (line[at] == '\\') {
        if (++at >= line.size()) return false;
        const char c = line[at];
        if (c == 'n') word += '\n';
        else if (c == '"' || c == '\\') word += c;
        else return false;
      } else {
        word += line[at];
      }
    }
    ++at;
    // A quoted word ends at its quote: something glued to it is no word.
    if (at < line.size() && line[at] != ' ' && line[at] != '\t') return false;
    words.push_back(word);
  }
}

void WtGuiLog_CommandFailed(StrIn why) {
  if (failure.empty()) failure = why.Str();
}

bool WtGuiLog_TakeCommandFailure(std::string& why) {
  why = failure;
  failure.clear();
  return !why.empty();
}
