// The directory and file operations of DirAcces: thin, checked wrappers of the
// system calls, each reporting its failure through DirAcces_Error.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Utility.h"

extern char** environ;

struct DirAcces_Dir {
  DIR* dir;
};

namespace {

constexpr std::size_t kCopyBuffer = 65536;
constexpr unsigned kFileServerDelayMs = 1000;

// Reports the current errno; always false, so callers can return it.
bool Fail() {
  DirAcces_Error(DirAcces_MapSystemError(errno));
  return false;
}

bool Check(int result) {
  DirAcces_dirError = 0;
  return result == 0 || Fail();
}

void FillStat(const struct stat& st, DirAcces_Stat& out) {
  out.size = static_cast<std::uint64_t>(st.st_size);
  out.modified = st.st_mtime;
  out.accessed = st.st_atime;
  out.changed = st.st_ctime;
  out.mode = st.st_mode & 07777;
  out.isDirectory = S_ISDIR(st.st_mode);
  out.isLink = S_ISLNK(st.st_mode);
  out.isRegular = S_ISREG(st.st_mode);
  out.device = st.st_dev;
  out.inode = st.st_ino;
  out.links = st.st_nlink;
  out.user = st.st_uid;
  out.group = st.st_gid;
}

bool IsDirectory(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::string BaseName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}


}  // namespace

bool DirAcces_MkDir(StrIn path) {
  DirAcces_dirError = 0;
  const std::string p(path.View());
  if (::mkdir(p.c_str(), 0777) != 0) {
    if (errno == EEXIST && IsDirectory(p)) {
      DirAcces_Error(4);
      return false;
    }
    return Fail();
  }
  // A site's file server shows new directories only after a moment.
  char real[PATH_MAX];
  if (::realpath(p.c_str(), real) != nullptr && std::strncmp(real, "/mntmkdirbug/", 13) == 0)
    Utility_Delay(kFileServerDelayMs);
  return true;
}

bool DirAcces_RecursiveMkDir(StrIn path, std::uint32_t mode) {
  DirAcces_dirError = 0;
  std::string p(path.View());
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  if (p.empty() || p == "/") return true;
  if (!IsDirectory(p)) {
    const std::size_t slash = p.rfind('/');
    if (slash != std::string::npos && slash > 0 && !DirAcces_RecursiveMkDir(p.substr(0, slash), mode))
      return false;
    if (::mkdir(p.c_str(), 0777) != 0 && !(errno == EEXIST && IsDirectory(p))) return Fail();
  }
  return mode == 0 || DirAcces_ChMod(p, mode);
}

bool DirAcces_RmDir(StrIn path) { return Check(::rmdir(path.Str().c_str())); }

DirAcces_DirHandle DirAcces_OpenDir(StrIn path) {
  DirAcces_dirError = 0;
  DIR* dir = ::opendir(path.Str().c_str());
  if (dir == nullptr) {
    Fail();
    return nullptr;
  }
  return new DirAcces_Dir{dir};
}

bool DirAcces_GetDirEntry(DirAcces_DirHandle dir, StrOut name) {
  name.Clear();
  if (dir == nullptr) return false;
  while (const dirent* entry = ::readdir(dir->dir)) {
    if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
    Strings_Assign(StrIn::C(entry->d_name), name);
    return true;
  }
  return false;
}

void DirAcces_CloseDir(DirAcces_DirHandle& dir) {
  if (dir != nullptr) ::closedir(dir->dir);
  delete dir;
  dir = nullptr;
}

bool DirAcces_Rename(StrIn from, StrIn to) {
  DirAcces_dirError = 0;
  const std::string f(from.View()), t(to.View());
  if (::link(f.c_str(), t.c_str()) != 0) return Fail();
  return Check(::unlink(f.c_str()));
}

bool DirAcces_AtomicRename(StrIn from, StrIn to) {
  return Check(::rename(from.Str().c_str(), to.Str().c_str()));
}

bool DirAcces_Remove(StrIn path) { return Check(::unlink(path.Str().c_str())); }

bool DirAcces_Link(StrIn existing, StrIn link) {
  return Check(::link(existing.Str().c_str(), link.Str().c_str()));
}

bool DirAcces_Symlink(StrIn target, StrIn link) {
  return Check(::symlink(target.Str().c_str(), link.Str().c_str()));
}

bool DirAcces_ReadLink(StrIn link, StrOut target) {
  DirAcces_dirError = 0;
  target.Clear();
  char buffer[PATH_MAX];
  const ssize_t n = ::readlink(link.Str().c_str(), buffer, sizeof buffer - 1);
  if (n < 0) return Fail();
  buffer[n] = '\0';
  Strings_Assign(StrIn::C(buffer), target);
  return true;
}

bool DirAcces_RealPath(StrIn path, StrOut real) {
  DirAcces_dirError = 0;
  char buffer[PATH_MAX];
  if (::realpath(path.Str().c_str(), buffer) == nullptr) return Fail();
  Strings_Assign(StrIn::C(buffer), real);
  return true;
}

bool DirAcces_Copy(StrIn source, StrIn target) {
  DirAcces_dirError = 0;
  const std::string from(source.View());
  std::string to(target.View());
  if (IsDirectory(from)) {
    DirAcces_Error(7);
    return false;
  }
  if (IsDirectory(to)) to += "/" + BaseName(from);
  if (DirAcces_FilesEqual(from, to)) {
    DirAcces_Error(2);
    return false;
  }
  const int in = ::open(from.c_str(), O_RDONLY);
  if (in < 0) return Fail();
  struct stat st;
  ::fstat(in, &st);
  const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC, st.st_mode & 0777);
  if (out < 0) {
    const int saved = errno;
    ::close(in);
    errno = saved;
    return Fail();
  }
  const bool copied = DirAcces_CopyData(in, out);
  const int saved = errno;
  ::close(in);
  const bool closed = ::close(out) == 0;
  if (!copied || !closed) {
    errno = copied ? errno : saved;
    return Fail();
  }
  return true;
}

bool DirAcces_Move(StrIn source, StrIn target) {
  DirAcces_dirError = 0;
  if (::rename(source.Str().c_str(), target.Str().c_str()) == 0) return true;
  if (errno != EXDEV) return Fail();
  return DirAcces_Copy(source, target) && DirAcces_Remove(source);
}

bool DirAcces_ChMod(StrIn path, std::uint32_t mode) {
  return Check(::chmod(path.Str().c_str(), static_cast<mode_t>(mode)));
}

bool DirAcces_Touch(StrIn path) {
  DirAcces_dirError = 0;
  const int fd = ::open(path.Str().c_str(), O_WRONLY | O_CREAT, 0666);
  if (fd < 0) return Fail();
  const bool timed = ::futimens(fd, nullptr) == 0;
  ::close(fd);
  return timed || Fail();
}

bool DirAcces_ChTimes(StrIn path, std::int64_t accessed, std::int64_t modified) {
  const timespec times[2] = {{static_cast<time_t>(accessed), 0}, {static_cast<time_t>(modified), 0}};
  return Check(::utimensat(AT_FDCWD, path.Str().c_str(), times, 0));
}

bool DirAcces_FileStatN(StrIn path, DirAcces_Stat& stat) {
  struct stat st;
  if (!Check(::stat(path.Str().c_str(), &st))) return false;
  FillStat(st, stat);
  return true;
}

bool DirAcces_LFileStatN(StrIn path, DirAcces_Stat& stat) {
  struct stat st;
  if (!Check(::lstat(path.Str().c_str(), &st))) return false;
  FillStat(st, stat);
  return true;
}

bool DirAcces_FileStatF(int descriptor, DirAcces_Stat& stat) {
  struct stat st;
  if (!Check(::fstat(descriptor, &st))) return false;
  FillStat(st, stat);
  return true;
}

std::int64_t DirAcces_LastModified(StrIn path) {
  DirAcces_dirError = 0;
  struct stat st;
  return ::stat(path.Str().c_str(), &st) == 0 ? static_cast<std::int64_t>(st.st_mtime) : -1;
}

bool DirAcces_FilesEqual(StrIn a, StrIn b) {
  DirAcces_dirError = 0;
  if (Strings_Equal(a, b)) return true;
  struct stat x, y;
  return ::stat(a.Str().c_str(), &x) == 0 && ::stat(b.Str().c_str(), &y) == 0 && x.st_dev == y.st_dev &&
         x.st_ino == y.st_ino;
}

bool DirAcces_OnSameFilesystem(StrIn a, StrIn b) {
  DirAcces_dirError = 0;
  struct stat x, y;
  return ::stat(a.Str().c_str(), &x) == 0 && ::stat(b.Str().c_str(), &y) == 0 && x.st_dev == y.st_dev;
}

void DirAcces_CanonicalCurrentDir(StrOut dir) {
  DirAcces_dirError = 0;
  char buffer[PATH_MAX];
  if (::getcwd(buffer, sizeof buffer) == nullptr) {
    dir.Clear();
    Fail();
    return;
  }
  Strings_Assign(StrIn::C(buffer), dir);
}

void DirAcces_LogicalCurrentDir(StrOut dir) {
  const char* pwd = std::getenv("PWD");
  if (pwd != nullptr && *pwd == '/' && DirAcces_FilesEqual(StrIn::C(pwd), ".")) {
    Strings_Assign(StrIn::C(pwd), dir);
    return;
  }
  DirAcces_CanonicalCurrentDir(dir);
}

bool DirAcces_ChDir(StrIn dir) { return Check(::chdir(dir.Str().c_str())); }

bool DirAcces_GetNthEnvVar(std::size_t n, StrOut entry) {
  entry.Clear();
  for (std::size_t i = 0; environ != nullptr && environ[i] != nullptr; ++i)
    if (i == n) {
      Strings_Assign(StrIn::C(environ[i]), entry);
      return true;
    }
  return false;
}

bool DirAcces_CopyData(int in, int out) {
  static char buffer[kCopyBuffer];
  for (;;) {
    const ssize_t got = ::read(in, buffer, sizeof buffer);
    if (got == 0) return true;
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    for (ssize_t done = 0; done < got;) {
      const ssize_t put = ::write(out, buffer + done, static_cast<std::size_t>(got - done));
      if (put < 0 && errno == EINTR) continue;
      if (put <= 0) return false;
      done += put;
    }
  }
}
