// FileIO: the raw file handles of the system, one per descriptor.
//
// A handle is the descriptor itself, entered in a pool of 1024 entries that
// keeps per descriptor whether it is open, whether it carries text (a
// terminal, or the error channel) and whether it was opened for large files.
// Descriptors at or above the pool's size are refused. Files are opened
// close-on-exec, so tools started through the shell hold none of our files
// and none of our locks.
//
// Errors: every routine resets FileIO_ioError; a failure sets it, pushes the
// file's name as a reason and reports message (FileIO, code). Callers that
// expect a failure bracket the call as usual.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Strings.h"

using FileIO_File = int;

// The empty handle: every routine accepts it and fails with error 1.
inline constexpr FileIO_File FileIO_nil = -1;
inline constexpr std::size_t kFileIOPoolSize = 1024;

// The open modes of FileIO_Open.
inline constexpr int FileIO_readMode = 0;
inline constexpr int FileIO_writeMode = 1;
inline constexpr int FileIO_readWriteMode = 2;

// Error of the last operation: 0 none, 1 bad handle or mode (nil, not open,
// not open for this direction, an unknown mode), 2 no permission, 3 no such file, 4 a part of the
// path is not a directory or the name is one, 5 no free handle (the pool or
// the process is full), 6 no room on the device, 7 other system error.
extern std::uint8_t FileIO_ioError;

// Preset at start: descriptors 0, 1 and 2, entered in the pool.
extern FileIO_File FileIO_stdin;
extern FileIO_File FileIO_stdout;
extern FileIO_File FileIO_stderr;

// Enters the standard descriptors; runs once, after Messages and DirAcces.
void FileIO_Init();

// --- Open and close ----------------------------------------------------------

// Opens an existing file in `mode` (0 read, 1 write, 2 read and write); the
// handle or nil. A mode above 2 is refused with error 1.
FileIO_File FileIO_Open(StrIn name, int mode);
// Makes the file (mode 0666 less the umask) or empties an existing one, and
// opens it for reading and writing; the handle or nil.
FileIO_File FileIO_Create(StrIn name);
// Closes the file (releasing its locks) and sets `file` to nil. False when
// the system reported an error; nil is accepted and is no failure.
bool FileIO_Close(FileIO_File& file);

// --- Transfer ------------------------------------------------------------------

// One read of up to `count` bytes: what the file has now, which on pipes and
// terminals may be less. 0 at the end of the file (FileIO_ioError 0) or on
// failure.
std::size_t FileIO_Read(FileIO_File file, void* buffer, std::size_t count);
// Writes all `count` bytes, going on after partial writes. False on failure;
// the bytes before the failure may stand in the file.
bool FileIO_Write(FileIO_File file, const void* buffer, std::size_t count);

// --- Position --------------------------------------------------------------------

// Moves to `position` bytes from the start. False on failure (a pipe, a
// negative position).
bool FileIO_SetPos(FileIO_File file, std::int64_t position);
// The position from the start, or -1 on failure.
std::int64_t FileIO_GetPos(FileIO_File file);
// The size of the file in bytes, or -1 on failure.
std::int64_t FileIO_Length(FileIO_File file);

// --- Query -------------------------------------------------------------------

// Whether `file` is an open entry of the pool; false for nil.
bool FileIO_IsOpen(FileIO_File file);
// Whether the file carries text for a reader that waits line by line: a
// terminal, or the error channel. The buffered layer passes on each line of
// such a file at once. False for nil.
bool FileIO_IsText(FileIO_File file);

// --- Locks ---------------------------------------------------------------------
// Advisory locks on the whole file, between processes: lockf (which wants
// a handle open for writing), or flock when the flag
// "USE_FLOCK_INSTEAD_OF_LOCKF" is set. The flag is read at each lock, so all
// programs of a site must agree on it; an unlock undoes the kind of lock
// that was taken. A lock held by another is not an error: FileIO_ioError
// stays 0.

// Waits until the lock is had. False on failure.
bool FileIO_Lock(FileIO_File file);
// Releases the lock. False on failure.
bool FileIO_UnLock(FileIO_File file);
// Takes the lock if it is free: true when had, false when another holds it
// (FileIO_ioError 0) or on failure.
bool FileIO_TestAndLock(FileIO_File file);
// Whether another holds a lock on the file; a lock held through this handle
// does not count. False on failure.
bool FileIO_IsLocked(FileIO_File file);
