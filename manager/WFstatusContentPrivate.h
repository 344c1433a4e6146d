// What the WFstatusContent*.cpp files share: directory stamps, the job
// table's word on a file, and the window's state. Private to them.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "manager/WFstatusContent.h"
#include "manager/WFstatusPrivate.h"

// A directory's identity and time when it was looked at.
struct WFstatus_DirStamp {
  bool exists = false;
  dev_t device = 0;
  ino_t inode = 0;
  std::int64_t modified = 0;  // ns
  std::int64_t takenAt = 0;   // ns, when the stamp was taken
};

// Stamps `dir` now; false (an empty stamp) when it is no directory.
bool WFstatus_StampDir(const std::string& dir, WFstatus_DirStamp& stamp);
// Whether `before` and `now` show the same directory with the same time.
bool WFstatus_SameDir(const WFstatus_DirStamp& before, const WFstatus_DirStamp& now);
// Whether what was read at `before` still holds at `now`: the same
// directory, unchanged, and read long enough after its last change that a
// change within the same time stamp can't have been missed.
bool WFstatus_SameStamp(const WFstatus_DirStamp& before, const WFstatus_DirStamp& now);
// The state the job table gives the file `name` of `dir` (WFstatus_fsQueued
// or WFstatus_fsRunning), 0 when its job is not in the queue.
std::uint8_t WFstatus_JobState(WFfolder folder, const std::string& dir, const char* name);

// The message of a file state (WFstatus_fs...).
std::uint16_t WFstatus_StateMessage(std::uint8_t state);
// Whether `name` is a line-work image (a check folder's second list).
bool WFstatus_IsLineWorkFile(const std::string& name);

// Joins the lines of a failure into one message: at most a few, then ", ...".
std::string WFstatus_JoinFailures(const std::vector<std::string>& lines);
// Message `number` of "WFstatus" with each %s filled by the next argument.
std::string WFstatus_Text(unsigned number, std::initializer_list<std::string> arguments);
