// TVWhandled: a hot folder's ".readyFiles" and its lock.
#include "watch/TVWhandled.h"

#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>

#include "base/SFilMisc.h"
#include "base/SLock.h"

namespace {

constexpr std::uint32_t kLockWaitMs = 1000;

std::string Path(StrIn folder, const char* name) { return folder.Str() + "/" + name; }

std::string Escape(std::string_view name) {
  std::string out;
  for (const char c : name) {
    if (c == '\n') {
      out += "\\n";
      continue;
    }
    if (c == '\\' || c == ' ') out += '\\';
    out += c;
  }
  return out;
}

std::string Unescape(std::string_view line) {
  std::string out;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\\' && i + 1 < line.size()) {
      ++i;
      out += line[i] == 'n' ? '\n' : line[i];
    } else {
      out += line[i];
    }
  }
  return out;
}

}  // namespace

bool TVWhandled_Lock(StrIn folder) { return SLock_LockNamed(Path(folder, TVWhandled_lockName), kLockWaitMs); }

void TVWhandled_Unlock(StrIn folder) { SLock_UnlockNamed(Path(folder, TVWhandled_lockName)); }

StrVector TVWhandled_Load(StrIn folder) {
  StrVector names = StrVector_Create();
  std::ifstream in(Path(folder, TVWhandled_fileName));
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) StrVector_AddElement(names, Unescape(line));
  return names;
}

bool TVWhandled_Save(StrIn folder, StrVector names) {
  const std::string path = Path(folder, TVWhandled_fileName);
  if (StrVector_ElementCount(names) == 0) return ::unlink(path.c_str()) == 0 || errno == ENOENT;
  std::string text;
  for (std::size_t i = 0; i < StrVector_ElementCount(names); ++i)
    text += Escape(StrVector_DynElementAt(names, i).View()) + '\n';
  return SFilMisc_SaveAtomicallyLocked(path, text, 0666);
}
