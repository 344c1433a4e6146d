#include "base/FileIO.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"

std::uint8_t FileIO_ioError = 0;
FileIO_File FileIO_stdin = 0;
FileIO_File FileIO_stdout = 1;
FileIO_File FileIO_stderr = 2;

namespace {

char section[kSectionCap] = "FileIO";

enum class LockKind : std::uint8_t { None, Lockf, Flock };
enum class LockOp : std::uint8_t { Wait, Try, Release, Test };

struct Entry {
  bool open = false;
  bool text = false;
  bool large = false;
  LockKind lock = LockKind::None;  // the kind taken through this handle
  std::string name;                // for the reasons of a report
};

std::array<Entry, kFileIOPoolSize> pool;

// This module's code for a system error. DirAcces knows the common ones; the
// failures that only handles and transfers meet are told apart first.
std::uint8_t MapSystemError(int systemError) {
  switch (systemError) {
    case EMFILE: case ENFILE: return 5;
    case ENOSPC: case EDQUOT: case EFBIG: return 6;
    case EISDIR: return 4;
    default: break;
  }
  switch (DirAcces_MapSystemError(systemError)) {
    case 1: return 3;
    case 3: return 4;
    case 6: return 2;
    case 7: return 1;
    default: return 7;
  }
}

void Fail(std::uint8_t code, const std::string& name) {
  // messages: FileIO 1-7
  FileIO_ioError = code;
  if (!name.empty()) Messages_SupplyAdditionalInfo(name);
  Messages_Error(section, code);
}

// Reports the system error in errno, which must still be the failed call's.
void FailSystem(const std::string& name) { Fail(MapSystemError(errno), name); }

// Repeats a system call that a signal interrupted.
template <class Call>
auto Retry(Call call) {
  for (;;) {
    const auto result = call();
    if (result != -1 || errno != EINTR) return result;
  }
}

// The entry of an open handle; reports error 1 for anything else.
Entry* Lookup(FileIO_File file) {
  FileIO_ioError = 0;
  if (file >= 0 && static_cast<std::size_t>(file) < pool.size() && pool[file].open) return &pool[file];
  Fail(1, "");
  return nullptr;
}

FileIO_File Enter(int descriptor, const std::string& name) {
  if (static_cast<std::size_t>(descriptor) >= pool.size()) {
    ::close(descriptor);
    Fail(5, name);
    return FileIO_nil;
  }
  pool[descriptor] = Entry{true, false, true, LockKind::None, name};
  return descriptor;
}

FileIO_File OpenWith(StrIn name, int flags) {
  FileIO_ioError = 0;
  const std::string path(name.View());
  const int descriptor = Retry([&] { return ::open(path.c_str(), flags | O_CLOEXEC | O_LARGEFILE, 0666); });
  if (descriptor < 0) {
    FailSystem(path);
    return FileIO_nil;
  }
  return Enter(descriptor, path);
}

bool HeldByAnother(int systemError) {
  return systemError == EAGAIN || systemError == EACCES || systemError == EWOULDBLOCK;
}

bool UseFlock() { return DirAcces_CheckFlag("USE_FLOCK_INSTEAD_OF_LOCKF"); }

// lockf works from the current position to the end; the lock is taken from
// the start so that it covers the whole file, and the position is put back
// so that readers and writers keep their place. Files opened large use
// lockf64, which is the same call where offsets have 64 bits anyway.
int LockfWhole(FileIO_File file, const Entry& entry, int command) {
  const off_t at = ::lseek(file, 0, SEEK_CUR);
  if (at > 0) ::lseek(file, 0, SEEK_SET);
  const int result = entry.large ? ::lockf64(file, command, 0) : ::lockf(file, command, 0);
  const int error = errno;
  if (at > 0) ::lseek(file, at, SEEK_SET);
  errno = error;
  return result;
}

// One lock operation of `kind`: 0 on success, -1 with errno. A lockf lock
// belongs to the process, a flock lock to the open file, so only flock's
// test must take care not to disturb a lock of this handle.
int Apply(FileIO_File file, const Entry& entry, LockKind kind, LockOp op) {
  if (kind == LockKind::Flock) {
    switch (op) {
      case LockOp::Wait: return Retry([&] { return ::flock(file, LOCK_EX); });
      case LockOp::Try: return ::flock(file, LOCK_EX | LOCK_NB);
      case LockOp::Release: return ::flock(file, LOCK_UN);
      case LockOp::Test:
        // flock has no test: a shared probe fails exactly when an exclusive
        // lock is held, and is given back at once.
        if (::flock(file, LOCK_SH | LOCK_NB) != 0) return -1;
        return ::flock(file, LOCK_UN);
    }
  }
  switch (op) {
    case LockOp::Wait: return Retry([&] { return LockfWhole(file, entry, F_LOCK); });
    case LockOp::Try: return LockfWhole(file, entry, F_TLOCK);
    case LockOp::Release: return LockfWhole(file, entry, F_ULOCK);
    case LockOp::Test: return LockfWhole(file, entry, F_TEST);
  }
  return -1;
}

}  // namespace

void FileIO_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Messages_Init();
  DirAcces_Init();
  // The standard channels count as open only when the process got them.
  // The error channel always carries text: a report must get out line by line.
  const char* names[] = {"/dev/stdin", "/dev/stdout", "/dev/stderr"};
  for (int descriptor = 0; descriptor < 3; ++descriptor) {
    Entry& entry = pool[descriptor];
    entry = Entry{::fcntl(descriptor, F_GETFD) != -1, false, false, LockKind::None, names[descriptor]};
    entry.text = entry.open && (descriptor == 2 || ::isatty(descriptor) == 1);
  }
}

FileIO_File FileIO_Open(StrIn name, int mode) {
  static constexpr int kFlags[] = {O_RDONLY, O_WRONLY, O_RDWR};
  if (mode < 0 || mode > 2) {
    FileIO_ioError = 0;
    Fail(1, name.Str());
    return FileIO_nil;
  }
  return OpenWith(name, kFlags[mode]);
}

FileIO_File FileIO_Create(StrIn name) { return OpenWith(name, O_RDWR | O_CREAT | O_TRUNC); }

bool FileIO_Close(FileIO_File& file) {
  FileIO_ioError = 0;
  if (file == FileIO_nil) return true;
  Entry* entry = Lookup(file);
  if (entry == nullptr) return false;
  const std::string name = std::move(entry->name);
  *entry = Entry{};
  const int descriptor = file;
  file = FileIO_nil;
  // Linux frees the descriptor even when close reports an error, so a close
  // is never repeated.
  if (::close(descriptor) != 0) {
    FailSystem(name);
    return false;
  }
  return true;
}

std::size_t FileIO_Read(FileIO_File file, void* buffer, std::size_t count) {
  Entry* entry = Lookup(file);
  if (entry == nullptr || count == 0) return 0;
  const ssize_t n = Retry([&] { return ::read(file, buffer, count); });
  if (n < 0) {
    FailSystem(entry->name);
    return 0;
  }
  return static_cast<std::size_t>(n);
}

bool FileIO_Write(FileIO_File file, const void* buffer, std::size_t count) {
  Entry* entry = Lookup(file);
  if (entry == nullptr) return false;
  const char* from = static_cast<const char*>(buffer);
  while (count > 0) {
    const ssize_t n = Retry([&] { return ::write(file, from, count); });
    if (n < 0) {
      FailSystem(entry->name);
      return false;
    }
    if (n == 0) {  // the device takes nothing more
      Fail(6, entry->name);
      return false;
    }
    from += n;
    count -= static_cast<std::size_t>(n);
  }
  return true;
}

bool FileIO_SetPos(FileIO_File file, std::int64_t position) {
  Entry* entry = Lookup(file);
  if (entry == nullptr) return false;
  if (::lseek(file, static_cast<off_t>(position), SEEK_SET) < 0) {
    FailSystem(entry->name);
    return false;
  }
  return true;
}

std::int64_t FileIO_GetPos(FileIO_File file) {
  Entry* entry = Lookup(file);
  if (entry == nullptr) return -1;
  const off_t at = ::lseek(file, 0, SEEK_CUR);
  if (at < 0) FailSystem(entry->name);
  return at < 0 ? -1 : static_cast<std::int64_t>(at);
}

std::int64_t FileIO_Length(FileIO_File file) {
  Entry* entry = Lookup(file);
  if (entry == nullptr) return -1;
  struct stat st;
  if (::fstat(file, &st) != 0) {
    FailSystem(entry->name);
    return -1;
  }
  return static_cast<std::int64_t>(st.st_size);
}

bool FileIO_IsOpen(FileIO_File file) {
  return file >= 0 && static_cast<std::size_t>(file) < pool.size() && pool[file].open;
}

bool FileIO_IsText(FileIO_File file) { return FileIO_IsOpen(file) && pool[file].text; }

// --- Locks ---------------------------------------------------------------------
// Note that a lockf lock is the process's: closing any other handle of the
// same file in this process gives it up too. That is the system's rule and
// one more reason to keep one handle per locked file.

bool FileIO_Lock(FileIO_File file) {
  Entry* entry = Lookup(file);
  if (entry == nullptr) return false;
  const LockKind kind = UseFlock() ? LockKind::Flock : LockKind::Lockf;
  if (Apply(file, *entry, kind, LockOp::Wait) != 0) {
    FailSystem(entry->name);
    return false;
  }
  entry->lock = kind;
  return true;
}

bool FileIO_UnLock(FileIO_File file) {
  Entry* entry = Lookup(file);
  if (entry == nullptr) return false;
  LockKind kind = entry->lock;
  if (kind == LockKind::None) kind = UseFlock() ? LockKind::Flock : LockKind::Lockf;
  entry->lock = LockKind::None;
  if (Apply(file, *entry, kind, LockOp::Release) != 0) {
    FailSystem(entry->name);
    return false;
  }
  return true;
}

bool FileIO_TestAndLock(FileIO_File file) {
  Entry* entry = Lookup(file);
  if (entry == nullptr) return false;
  const LockKind kind = UseFlock() ? LockKind::Flock : LockKind::Lockf;
  if (Apply(file, *entry, kind, LockOp::Try) != 0) {
    if (!HeldByAnother(errno)) FailSystem(entry->name);
    return false;
  }
  entry->lock = kind;
  return true;
}

bool FileIO_IsLocked(FileIO_File file) {
  Entry* entry = Lookup(file);
  if (entry == nullptr || entry->lock != LockKind::None) return false;
  const LockKind kind = UseFlock() ? LockKind::Flock : LockKind::Lockf;
  if (Apply(file, *entry, kind, LockOp::Test) == 0) return false;
  if (HeldByAnother(errno)) return true;
  FailSystem(entry->name);
  return false;
}
