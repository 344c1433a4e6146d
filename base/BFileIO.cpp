#include "base/BFileIO.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>

#include "base/Messages.h"
#include "base/Processe.h"

// The buffers of a handle
// -----------------------
//   in[inPos, inEnd)   read ahead of the position; the file stands at inEnd
//   out[0, outCount)   written but not passed on; they belong at the position
// At most one of them holds bytes on a file that can seek: reading passes the
// writes on first (FlushOut), writing seeks back over the read-ahead first
// (DropReadAhead). On pipes and sockets the two directions are apart and
// read-ahead is kept.

struct BFileIO_Rec {
  FileIO_File raw = FileIO_nil;
  int mode = FileIO_readMode;
  bool preset = false;     // a standard channel: closing only flushes
  bool seekable = false;
  bool lineByLine = false;  // FileIO's text flag: lines go out at once
  std::unique_ptr<char[]> in, out;  // made on first use
  std::size_t inPos = 0, inEnd = 0, outCount = 0;
};

std::uint8_t BFileIO_ioError = 0;
std::size_t BFileIO_bytesTransferred = 0;
BFileIO_File BFileIO_stdout = nullptr;
BFileIO_File BFileIO_stderr = nullptr;

namespace {

char section[kSectionCap] = "BFileIO";

// The message numbers: the operation that failed.
enum Operation : unsigned { kOpen = 1, kCreate = 2, kRead = 3, kWrite = 4, kPosition = 5, kClose = 6, kLock = 7 };
constexpr int kAnyMode = -1;

// Every handle not yet closed, for the flush at exit.
std::set<BFileIO_File> openFiles;

void Fail(unsigned operation, std::uint8_t cause) {
  // messages: BFileIO 1-7
  BFileIO_ioError = cause;
  Messages_Error(section, operation);
}

// Runs a call of the raw layer with its report held back, so that it stands
// beneath this module's own, which follows when the raw layer failed.
template <class Call>
auto Raw(unsigned operation, Call call) {
  Messages_IgnoreErrors(true);
  const auto result = call();
  Messages_IgnoreErrors(false);
  if (FileIO_ioError != 0) Fail(operation, FileIO_ioError);
  return result;
}

// Whether `file` may be used for `direction` (a FileIO mode, or any);
// reports error 1 otherwise.
bool Usable(BFileIO_File file, unsigned operation, int direction) {
  BFileIO_ioError = 0;
  if (file != nullptr &&
      (direction == kAnyMode || file->mode == FileIO_readWriteMode || file->mode == direction))
    return true;
  Fail(operation, 1);
  return false;
}

BFileIO_File Wrap(FileIO_File raw, int mode) {
  auto file = new BFileIO_Rec;
  file->raw = raw;
  file->mode = mode;
  file->lineByLine = FileIO_IsText(raw);
  Messages_IgnoreErrors(true);
  file->seekable = FileIO_GetPos(raw) >= 0;
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  openFiles.insert(file);
  return file;
}

// Passes pending writes on. Bytes that fail to go out are dropped, so that a
// full device does not hold the handle up for ever.
bool FlushOut(BFileIO_File file, unsigned operation) {
  if (file->outCount == 0) return true;
  const std::size_t count = file->outCount;
  file->outCount = 0;
  Raw(operation, [&] { return FileIO_Write(file->raw, file->out.get(), count); });
  return BFileIO_ioError == 0;
}

// Puts the file back at the position of the reader, forgetting what was read
// ahead.
bool DropReadAhead(BFileIO_File file, unsigned operation) {
  if (file->inPos == file->inEnd || !file->seekable) return true;
  const std::int64_t at = Raw(operation, [&] { return FileIO_GetPos(file->raw); });
  if (BFileIO_ioError != 0) return false;
  const auto ahead = static_cast<std::int64_t>(file->inEnd - file->inPos);
  file->inPos = file->inEnd = 0;
  Raw(operation, [&] { return FileIO_SetPos(file->raw, at - ahead); });
  return BFileIO_ioError == 0;
}

// One read of the raw layer into the read buffer; false at the end or on failure.
bool Fill(BFileIO_File file) {
  if (!file->in) file->in = std::make_unique<char[]>(kBFileIOBufferSize);
  const std::size_t n = Raw(kRead, [&] { return FileIO_Read(file->raw, file->in.get(), kBFileIOBufferSize); });
  file->inPos = 0;
  file->inEnd = n;
  return n > 0;
}

void FlushAllAtExit() {
  Messages_IgnoreErrors(true);
  for (BFileIO_File file : openFiles) FlushOut(file, kWrite);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
}

}  // namespace

void BFileIO_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  FileIO_Init();
  Processe_Init();
  BFileIO_stdout = Wrap(FileIO_stdout, FileIO_writeMode);
  BFileIO_stderr = Wrap(FileIO_stderr, FileIO_writeMode);
  BFileIO_stdout->preset = BFileIO_stderr->preset = true;
  Processe_InstallTerminationProcedure(FlushAllAtExit);
}

BFileIO_File BFileIO_Nil() { return nullptr; }

BFileIO_File BFileIO_Open(StrIn name, int mode) {
  BFileIO_ioError = 0;
  const FileIO_File raw = Raw(kOpen, [&] { return FileIO_Open(name, mode); });
  return raw == FileIO_nil ? nullptr : Wrap(raw, mode);
}

BFileIO_File BFileIO_Create(StrIn name) {
  BFileIO_ioError = 0;
  const FileIO_File raw = Raw(kCreate, [&] { return FileIO_Create(name); });
  return raw == FileIO_nil ? nullptr : Wrap(raw, FileIO_readWriteMode);
}

bool BFileIO_Close(BFileIO_File& file) {
  BFileIO_ioError = 0;
  if (file == nullptr) return true;
  if (file->preset) return BFileIO_Flush(file);
  std::unique_ptr<BFileIO_Rec> gone(file);
  file = nullptr;
  openFiles.erase(gone.get());
  const bool flushed = FlushOut(gone.get(), kWrite);
  const std::uint8_t flushError = BFileIO_ioError;
  const bool closed = Raw(kClose, [&] { return FileIO_Close(gone->raw); });
  if (!flushed) BFileIO_ioError = flushError;  // the first cause is the one to tell
  return flushed && closed;
}

std::size_t BFileIO_Read(BFileIO_File file, void* buffer, std::size_t count) {
  BFileIO_bytesTransferred = 0;
  if (!Usable(file, kRead, FileIO_readMode) || !FlushOut(file, kWrite)) return 0;
  char* to = static_cast<char*>(buffer);
  std::size_t done = 0;
  while (done < count) {
    if (file->inPos < file->inEnd) {
      const std::size_t n = std::min(count - done, file->inEnd - file->inPos);
      std::memcpy(to + done, file->in.get() + file->inPos, n);
      file->inPos += n;
      done += n;
    } else if (count - done >= kBFileIOBufferSize) {
      // Large reads go straight to the caller: no copy through the buffer.
      const std::size_t n = Raw(kRead, [&] { return FileIO_Read(file->raw, to + done, count - done); });
      if (n == 0) break;
      done += n;
    } else if (!Fill(file)) {
      break;
    }
  }
  BFileIO_bytesTransferred = done;
  return done;
}

bool BFileIO_Write(BFileIO_File file, const void* buffer, std::size_t count) {
  BFileIO_bytesTransferred = 0;
  if (!Usable(file, kWrite, FileIO_writeMode) || !DropReadAhead(file, kWrite)) return false;
  if (!file->out) file->out = std::make_unique<char[]>(kBFileIOBufferSize);
  const char* from = static_cast<const char*>(buffer);
  std::size_t done = 0;
  while (done < count && BFileIO_ioError == 0) {
    if (file->outCount == kBFileIOBufferSize) {
      FlushOut(file, kWrite);
    } else if (file->outCount == 0 && count - done >= kBFileIOBufferSize) {
      Raw(kWrite, [&] { return FileIO_Write(file->raw, from + done, count - done); });
      if (BFileIO_ioError == 0) done = count;
    } else {
      const std::size_t n = std::min(count - done, kBFileIOBufferSize - file->outCount);
      std::memcpy(file->out.get() + file->outCount, from + done, n);
      file->outCount += n;
      done += n;
    }
  }
  BFileIO_bytesTransferred = done;
  if (BFileIO_ioError == 0 && file->lineByLine && std::memchr(from, '\n', count) != nullptr)
    FlushOut(file, kWrite);
  return BFileIO_ioError == 0;
}

bool BFileIO_Flush(BFileIO_File file) {
  BFileIO_ioError = 0;
  return file == nullptr || FlushOut(file, kWrite);
}

bool BFileIO_SetPos(BFileIO_File file, std::int64_t position) {
  if (!Usable(file, kPosition, kAnyMode) || !FlushOut(file, kWrite)) return false;
  file->inPos = file->inEnd = 0;
  return Raw(kPosition, [&] { return FileIO_SetPos(file->raw, position); });
}

std::int64_t BFileIO_GetPos(BFileIO_File file) {
  if (!Usable(file, kPosition, kAnyMode)) return -1;
  const std::int64_t at = Raw(kPosition, [&] { return FileIO_GetPos(file->raw); });
  if (at < 0) return -1;
  return at - static_cast<std::int64_t>(file->inEnd - file->inPos) + static_cast<std::int64_t>(file->outCount);
}

std::int64_t BFileIO_Length(BFileIO_File file) {
  if (!Usable(file, kPosition, kAnyMode)) return -1;
  const std::int64_t length = Raw(kPosition, [&] { return FileIO_Length(file->raw); });
  if (length < 0 || file->outCount == 0) return length;
  // Pending writes end at the position; they may reach past the end.
  const std::int64_t end = BFileIO_GetPos(file);
  return end < 0 ? -1 : std::max(length, end);
}

bool BFileIO_Lock(BFileIO_File file) {
  if (!Usable(file, kLock, kAnyMode)) return false;
  return Raw(kLock, [&] { return FileIO_Lock(file->raw); }) && DropReadAhead(file, kLock);
}

bool BFileIO_UnLock(BFileIO_File file) {
  if (!Usable(file, kLock, kAnyMode) || !FlushOut(file, kWrite)) return false;
  return Raw(kLock, [&] { return FileIO_UnLock(file->raw); });
}

bool BFileIO_TestAndLock(BFileIO_File file) {
  if (!Usable(file, kLock, kAnyMode)) return false;
  return Raw(kLock, [&] { return FileIO_TestAndLock(file->raw); }) && DropReadAhead(file, kLock);
}

bool BFileIO_IsLocked(BFileIO_File file) {
  if (!Usable(file, kLock, kAnyMode)) return false;
  return Raw(kLock, [&] { return FileIO_IsLocked(file->raw); });
}
