#include "commands/ASfile.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

bool ASfile_WriteAll(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

bool ASfile_ReadAll(const std::string& path, std::string& text) {
  text.clear();
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  char buffer[8192];
  ssize_t n;
  while ((n = ::read(fd, buffer, sizeof buffer)) != 0) {
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) break;
    text.append(buffer, static_cast<std::size_t>(n));
  }
  ::close(fd);
  return n == 0;
}

bool ASfile_WriteFile(const std::string& path, const std::string& text, bool sync) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) return false;
  const bool ok = ASfile_WriteAll(fd, text) && ::fchmod(fd, 0666) == 0 && (!sync || ::fdatasync(fd) == 0);
  return ::close(fd) == 0 && ok;
}

bool ASfile_WriteWhole(const std::string& path, const std::string& tmpName, const std::string& text, bool sync) {
  const std::string tmp = path.substr(0, path.rfind('/') + 1) + tmpName;
  const bool ok = ASfile_WriteFile(tmp, text, sync) && ::rename(tmp.c_str(), path.c_str()) == 0;
  if (!ok) {
    const int error = errno;
    ::unlink(tmp.c_str());
    errno = error;
  }
  return ok;
}

bool ASfile_CopyTo(int fd, const std::string& path, unsigned mode) {
  const int out = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (out < 0) return false;
  off_t offset = 0;
  bool ok = true;
  for (;;) {
    const ssize_t n = ::copy_file_range(fd, &offset, out, nullptr, 1 << 30, 0);
    if (n == 0) break;
    if (n > 0) continue;
    if (errno == EINTR) continue;
    if (errno != EXDEV && errno != ENOSYS && errno != EINVAL && errno != EOPNOTSUPP) {
      ok = false;
      break;
    }
    // No copy in the kernel between these file systems: through a buffer.
    char buffer[65536];
    ssize_t got;
    while (ok && (got = ::pread(fd, buffer, sizeof buffer, offset)) != 0) {
      if (got < 0 && errno == EINTR) continue;
      ok = got > 0 && ASfile_WriteAll(out, std::string(buffer, static_cast<std::size_t>(got)));
      offset += got;
    }
    break;
  }
  ok = ok && ::fchmod(out, mode & 07777) == 0 && ::fdatasync(out) == 0;
  ok = ::close(out) == 0 && ok;
  return ok;
}

bool ASfile_Rename(const std::string& from, const std::string& to, bool overwrite) {
  if (overwrite) return ::rename(from.c_str(), to.c_str()) == 0;
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  // A file system without the flag: a hard link never replaces either.
  if (::link(from.c_str(), to.c_str()) != 0) return false;
  ::unlink(from.c_str());
  return true;
}

bool ASfile_IsDir(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool ASfile_Exists(const std::string& path) {
  struct stat info;
  return ::lstat(path.c_str(), &info) == 0;
}

bool ASfile_MakeDirs(const std::string& path) {
  if (path.empty() || ASfile_IsDir(path)) return !path.empty();
  const std::size_t slash = path.rfind('/');
  if (slash != std::string::npos && slash > 0 && !ASfile_MakeDirs(path.substr(0, slash))) return false;
  if (::mkdir(path.c_str(), 0777) != 0 && errno != EEXIST) return false;
  ::chmod(path.c_str(), 0777);
  return ASfile_IsDir(path);
}
