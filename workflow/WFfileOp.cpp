// WFfileOp: moving, copying and deleting files, never leaving half a file
// at a name and never replacing one.
#include "workflow/WFfileOp.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"

std::uint8_t WFfileOp_error = WFfileOp_ok;
int WFfileOp_systemError = 0;

namespace {

char section[kSectionCap] = "WFfileOp";

// What the last call was about, for its words.
std::string lastFrom, lastTo;
unsigned lastVerb = 0;  // messages: WFfileOp 1-3 (move, copy, delete)

constexpr unsigned kMove = 1, kCopy = 2, kDelete = 3;

bool Begin(unsigned verb, StrIn from, StrIn to) {
  lastVerb = verb;
  lastFrom = from.Str();
  lastTo = to.Str();
  WFfileOp_error = WFfileOp_ok;
  WFfileOp_systemError = 0;
  return true;
}

bool Fail(std::uint8_t why, int error) {
  WFfileOp_error = why;
  WFfileOp_systemError = error;
  return false;
}

bool Exists(const std::string& path) {
  struct stat st{};
  return ::lstat(path.c_str(), &st) == 0;
}

// A failure of the system call on `from` that might mean the source is gone.
bool FailOn(const std::string& from, int error) {
  return Fail(error == ENOENT && !Exists(from) ? WFfileOp_gone : WFfileOp_failed, error);
}

std::string DirOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Gives `temporary` the name `to` unless that is taken (in one step where
// the file system allows it); the temporary name goes either way.
bool NameWithoutReplacing(const std::string& temporary, const std::string& to) {
  int result = ::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE);
  if (result != 0 && errno == EINVAL) {  // a file system without the flag: a link never replaces either
    result = ::link(temporary.c_str(), to.c_str());
    const int error = errno;
    ::unlink(temporary.c_str());
    errno = error;
  }
  if (result == 0) return true;
  const int error = errno;
  ::unlink(temporary.c_str());
  return Fail(error == EEXIST ? WFfileOp_exists : WFfileOp_failed, error);
}

// The copy of `from` at `to`: written aside, synced, then named.
bool CopyWhole(const std::string& from, const std::string& to) {
  if (Exists(to)) return Fail(WFfileOp_exists, EEXIST);
  const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return FailOn(from, errno);
  struct stat st{};
  PathStr temporary;
  if (::fstat(in, &st) != 0 || !S_ISREG(st.st_mode) ||
      !SFilMisc_CreateTmpName(DirOf(to) + "/.fileop", temporary)) {
    const int error = errno != 0 ? errno : EINVAL;
    ::close(in);
    return Fail(WFfileOp_failed, S_ISREG(st.st_mode) ? error : EISDIR);
  }
  const std::string tmp = StrIn(temporary).Str();
  const int out = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, st.st_mode & 07777);
  if (out < 0) {
    const int error = errno;
    ::close(in);
    return Fail(WFfileOp_failed, error);
  }
  const timespec times[2] = {st.st_atim, st.st_mtim};
  bool written = DirAcces_CopyData(in, out);
  int error = errno;
  written = written && ::fchmod(out, st.st_mode & 07777) == 0 && ::futimens(out, times) == 0 && ::fsync(out) == 0;
  if (!written && error == 0) error = errno;
  written = ::close(out) == 0 && written;
  ::close(in);
  if (!written) {
    ::unlink(tmp.c_str());
    return Fail(WFfileOp_failed, error != 0 ? error : EIO);
  }
  return NameWithoutReplacing(tmp, to);
}

}  // namespace

bool WFfileOp_Move(StrIn from, StrIn to) {
  Begin(kMove, from, to);
  const std::string source = from.Str(), target = to.Str();
  if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) return true;
  int error = errno;
  if (error == EINVAL) {  // no such flag here: a link refuses a taken name as well
    if (::link(source.c_str(), target.c_str()) == 0) {
      if (::unlink(source.c_str()) == 0) return true;
      error = errno;
      ::unlink(target.c_str());
      return Fail(WFfileOp_failed, error);
    }
    error = errno;
  }
  if (error == EEXIST) return Fail(WFfileOp_exists, error);
  if (error != EXDEV) return FailOn(source, error);
  // Another file system: a whole copy, then the source goes.
  if (!CopyWhole(source, target)) return false;
  if (::unlink(source.c_str()) == 0) return true;
  error = errno;
  ::unlink(target.c_str());  // the file stays where it was, and only there
  return FailOn(source, error);
}

bool WFfileOp_MoveInto(StrIn from, StrIn directory) {
  const std::string source = from.Str();
  std::string target = directory.Str();
  while (target.size() > 1 && target.back() == '/') target.pop_back();
  return WFfileOp_Move(source, target + "/" + source.substr(source.rfind('/') + 1));
}

bool WFfileOp_Copy(StrIn from, StrIn to) {
  Begin(kCopy, from, to);
  return CopyWhole(from.Str(), to.Str());
}

bool WFfileOp_Delete(StrIn path) {
  Begin(kDelete, path, "");
  if (::unlink(lastFrom.c_str()) == 0) return true;
  return FailOn(lastFrom, errno);
}

void WFfileOp_GetErrorText(StrOut text) {
  text.Clear();
  if (WFfileOp_error == WFfileOp_ok) return;
  // messages: WFfileOp 1-3 the action failed, 4 gone, 5 the name is taken
  if (WFfileOp_error == WFfileOp_gone) {
    Messages_GetMsg(section, 4, text);
    SPrintf_String(text, lastFrom);
  } else if (WFfileOp_error == WFfileOp_exists) {
    Messages_GetMsg(section, 5, text);
    SPrintf_String(text, lastTo);
  } else {
    Messages_GetMsg(section, lastVerb, text);
    SPrintf_String(text, lastFrom);
    if (lastVerb != kDelete) SPrintf_String(text, lastTo);
    SPrintf_String(text, StrIn::C(std::strerror(WFfileOp_systemError)));
  }
}
