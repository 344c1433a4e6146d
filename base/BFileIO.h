// BFileIO: buffered files on top of the raw FileIO handles.
//
// A handle is an opaque pointer with nil as the empty value. Each handle has
// a read buffer and a write buffer of kBFileIOBufferSize bytes. Reading first
// passes on pending writes; writing first gives back unread read-ahead, so
// reads and writes on one handle meet at one position. Lines written to a
// text file (a terminal, the error channel) go out at each line feed; all
// open handles are flushed when the process ends through Processe_Exit.
//
// Errors: every routine resets BFileIO_ioError. A failure sets it to the
// cause, in FileIO's numbering (3 is "no such file", 1 a nil handle or a
// transfer against the open mode), and reports a message of section BFileIO
// numbered by the operation, with the raw layer's report beneath it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/FileIO.h"
#include "base/Strings.h"

struct BFileIO_Rec;
using BFileIO_File = BFileIO_Rec*;

inline constexpr std::size_t kBFileIOBufferSize = 8192;

// The cause of the last failure, as FileIO_ioError; 0 none.
extern std::uint8_t BFileIO_ioError;
// Bytes moved by the last BFileIO_Read or BFileIO_Write.
extern std::size_t BFileIO_bytesTransferred;

// Preset at start on FileIO_stdout and FileIO_stderr. Closing them only
// flushes them.
extern BFileIO_File BFileIO_stdout;
extern BFileIO_File BFileIO_stderr;

// Makes the presets and the flush at exit; runs once, after FileIO.
void BFileIO_Init();

// --- Open and close ----------------------------------------------------------

// The empty handle: every routine accepts it; transfers fail with error 1.
BFileIO_File BFileIO_Nil();
// Opens an existing file in FileIO's `mode` (0 read, 1 write, 2 both); the
// caller owns the handle. Nil on failure.
BFileIO_File BFileIO_Open(StrIn name, int mode);
// Makes or empties the file (mode 0666 less the umask) and opens it for
// reading and writing. Nil on failure.
BFileIO_File BFileIO_Create(StrIn name);
// Flushes, closes and frees the handle and sets `file` to nil; false when the
// flush or the close failed (the handle is freed all the same). Nil is
// accepted and no failure.
bool BFileIO_Close(BFileIO_File& file);

// --- Transfer ------------------------------------------------------------------

// Reads `count` bytes, going on until they are there or the file ends; the
// number read, also in BFileIO_bytesTransferred. Fewer at the end of the file
// (BFileIO_ioError 0) or on failure.
std::size_t BFileIO_Read(BFileIO_File file, void* buffer, std::size_t count);
// Writes `count` bytes through the buffer; false on failure, and then
// BFileIO_bytesTransferred tells how many the handle took.
bool BFileIO_Write(BFileIO_File file, const void* buffer, std::size_t count);
// Passes pending writes to the file. True for nil and when nothing waits.
bool BFileIO_Flush(BFileIO_File file);

// --- Position --------------------------------------------------------------------

// Moves to `position` from the start, after passing pending writes on.
bool BFileIO_SetPos(BFileIO_File file, std::int64_t position);
// The position as reads and writes see it; -1 for nil or on failure.
std::int64_t BFileIO_GetPos(BFileIO_File file);
// The size of the file including pending writes; -1 for nil or on failure.
std::int64_t BFileIO_Length(BFileIO_File file);

// --- Locks ---------------------------------------------------------------------
// FileIO's locks on the handle's file. Taking a lock drops read-ahead, which
// another process may have changed meanwhile; giving it up first passes
// pending writes on, so the next holder sees them.

bool BFileIO_Lock(BFileIO_File file);
bool BFileIO_UnLock(BFileIO_File file);
// True when the lock was free and is now had; false when another holds it
// (BFileIO_ioError 0), for nil or on failure.
bool BFileIO_TestAndLock(BFileIO_File file);
bool BFileIO_IsLocked(BFileIO_File file);
