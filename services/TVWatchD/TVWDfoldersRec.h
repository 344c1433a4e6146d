// TVWDfolders: the records and state shared by its two files (directories
// and watches in TVWDfolders.cpp, files in TVWDfoldersFiles.cpp).
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "services/TVWatchD/TVWDfolders.h"

namespace TVWDfoldersRec {

enum class State : std::uint8_t { Settling, InHand, Handled, Ignored };
// How the last change of a settling file came: written, closed by its
// writer, or moved in whole.
enum class How : std::uint8_t { Written, Closed, Moved };

struct File {
  State state = State::Settling;
  How how = How::Written;
  TVWDfolders_Identity identity;
  std::uint32_t uid = 0, gid = 0;
  std::int64_t changedAt = 0;  // when the last change was seen
  std::int64_t dueAt = 0;      // when to look again
  bool declared = false;       // named ready: taken without waiting
  std::string jobId;           // in hand
  std::int32_t ignoredBy = 0;  // the client that asked
};

struct Dir {
  std::string path;        // as the configuration names it: the jobs' working directory
  std::string key;         // canonical path
  std::size_t entry = 0;   // in `entries`
  int watch = -1;          // inotify watch, -1 none
  bool adopted = false;    // watched (if it can be) and scanned since it came
  std::map<std::string, File> files;
  std::size_t settling = 0;         // files in state Settling or Ignored
  std::set<std::string> handled;    // ".readyFiles" as it should be
  std::set<std::string> synced;     // as it was after the last read or write
  bool handledDirty = false;
  TVWDfolders_Identity ownWrite;    // the file as we last wrote it
  std::int64_t nextScan = 0;
};

struct Entry {
  TVWcfg_Entry* cfg = nullptr;
  std::string root;   // its folder
  bool present = false;
  std::int64_t nextLook = 0;
};

extern std::vector<Entry> entries;
extern std::map<std::string, Dir> dirs;  // by key
extern std::int64_t quietMs, closedQuietMs;

// Whether `name` can be a file of a folder at all, and one of the entry's.
bool Candidate(const std::string& name);
bool Matches(const TVWcfg_Entry& cfg, const std::string& name);
// A file seen in `dir` (by a scan or an event of kind `how`); made or updated.
void Seen(Dir& dir, const std::string& name, How how, bool event);
// The file left the folder.
void Gone(Dir& dir, const std::string& name);
// Reads ".readyFiles" again (someone else wrote it) and saves our changes.
bool SyncHandled(Dir& dir);
// Hands settled files to jobs, at most `budget` of them (which it lowers);
// called for each folder with settling files every tick.
void PickUp(Dir& dir, std::int64_t now, std::size_t& budget);
Dir* Find(const std::string& directory);

}  // namespace TVWDfoldersRec
