// ASfile: the few file operations of the steps, on the system calls
// directly: each answers true or false and leaves errno for the caller, and
// none reports a message.
#pragma once

#include <string>

// Writes all of `text` to the open descriptor.
bool ASfile_WriteAll(int fd, const std::string& text);
// Reads the whole file.
bool ASfile_ReadAll(const std::string& path, std::string& text);
// Writes `text` to `path` (made or emptied, mode 0666), synced when `sync`.
bool ASfile_WriteFile(const std::string& path, const std::string& text, bool sync);
// Puts `text` at `path` whole: written to `tmpName` in the same directory
// (mode 0666, synced when `sync`), then renamed over `path`.
bool ASfile_WriteWhole(const std::string& path, const std::string& tmpName, const std::string& text, bool sync);
// Makes `path` (replacing a file there) a copy of what `fd` reads from its
// start, with the permission bits `mode`, synced to disk.
bool ASfile_CopyTo(int fd, const std::string& path, unsigned mode);
// Renames `from` to `to`; unless `overwrite`, fails with EEXIST when `to`
// exists, and never replaces it.
bool ASfile_Rename(const std::string& from, const std::string& to, bool overwrite);
// Whether `path` is a directory (following links).
bool ASfile_IsDir(const std::string& path);
// Whether anything (a dangling link too) has the name `path`.
bool ASfile_Exists(const std::string& path);
// Makes the directory `path` and those above it that are missing, each with
// mode 0777; true when it is there.
bool ASfile_MakeDirs(const std::string& path);
