// What the WFstatus*.cpp files share: the directory cache, the directories
// a folder's marks count in, and the messages. Private to the module:
// nothing outside manager/WFstatus*.cpp includes it.
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "manager/WFstatus.h"

// Message section of the module.
extern char WFstatus_section[kSectionCap];

// Shows message `number` of the section with `argument` for its %s.
void WFstatus_Say(unsigned number, const std::string& argument);
// The folder's path without a trailing slash.
std::string WFstatus_PathOf(WFfolder folder);
// The folder's directory, then each one above it up to the top directory of
// its demon entry: only the folder's own when it has no entry or the entry's
// top does not hold it.
std::vector<std::string> WFstatus_MarkDirs(WFfolder folder);

// --- The directory cache (WFstatusDirs.cpp) ------------------------------------------------
// Every answer is taken from the directory when first asked and kept while
// the directory's device, inode and modification time stay the same. Time
// stamps are coarse: a directory changed so shortly before it was read that
// a later change could carry the same stamp is read again in the next round
// (WFstatus_NewRound), until its stamp lies far enough behind. A missing
// directory holds nothing.

// A stamp within this time before the reading could be shared by a later
// change (file systems keep coarse times, and a server's clock may run
// behind); answers taken so early are taken again in the next round.
constexpr std::int64_t kWFstatusTrustNs = 2'000'000'000;
// A file system time, and the clock's time now, in nanoseconds.
std::int64_t WFstatus_Ns(const timespec& t);
std::int64_t WFstatus_NowNs();

// Begins a round of updates.
void WFstatus_NewRound();

// Whether a file waits in `path`: a regular file whose name does not begin
// with "." and is no temporary name. With `enter`, the sub-directories it
// accepts (by name, below `path` and below each other) count too.
bool WFstatus_DirHoldsFiles(const std::string& path, const std::function<bool(const std::string&)>& enter);
// Whether a file named `mark` lies in `path`.
bool WFstatus_DirHoldsMark(const std::string& path, const std::string& mark);
// Whether `path` holds an error file (WFstatus_IsErrorName).
bool WFstatus_DirHoldsError(const std::string& path);
// Drops what is known of `path`: this process changed it, perhaps within
// the same stamp.
void WFstatus_ForgetDir(const std::string& path);

// --- File expressions (WFstatusFiles.cpp) -----------------------------------------------------

// Builds the expressions of images, tickets and text files from the image
// registry; once.
void WFstatus_InitFiles();
