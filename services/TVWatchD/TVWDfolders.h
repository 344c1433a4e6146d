// TVWDfolders: what the demon knows of its hot folders: the directories the
// configuration makes it watch (inotify, and a rescan at each entry's
// interval as a safety net), the files in them and where each file stands.
//
//   settling  seen, not taken yet. It is taken once it stopped changing:
//             unchanged for the quiet time (a file its writer closed for an
//             eighth of it, one moved in at once, never less than the
//             entry's silence), or at once when declared ready; and only
//             while its folder is active and holds no stop or disk-full mark
//             (in the folder or above it up to the entry's folder).
//   in hand   taken: its job is on the way to the queue or in it (TVWDjobs).
//   handled   its job ended and the file is still there: listed in the
//             folder's ".readyFiles". Taken again when it changes, leaves
//             that list, or is declared ready.
//   ignored   a client asked the demon to leave it alone.
//
// Names that begin with a dot (marks, settings, the demon's own files) and
// temporary names are never files of a folder. A file that leaves the folder
// is forgotten; its job lives on in TVWDjobs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Strings.h"
#include "watch/TVWcfg.h"

// What tells one version of a file from the next.
struct TVWDfolders_Identity {
  std::uint64_t inode = 0;
  std::int64_t size = -1;
  std::int64_t mtimeNs = 0;
  bool operator==(const TVWDfolders_Identity&) const = default;
};

// A file handed to a job, as the journal keeps it.
struct TVWDfolders_HandedFile {
  std::string name;
  TVWDfolders_Identity identity;
};

// The identity of the file `path`; false when it is no regular file.
bool TVWDfolders_Identify(const std::string& path, TVWDfolders_Identity& identity);

// Sets the quiet time (milliseconds) and starts inotify; false when inotify
// can't be had (the folders are then rescanned every two seconds).
bool TVWDfolders_Init(std::int64_t quietMs);
// Takes `list` (loaded with compiled patterns) as the configuration: folders
// no longer named are left, new ones watched and scanned; what is known of
// the files of folders that stay, stays.
void TVWDfolders_Configure(TVWcfg_List list);
// The inotify descriptor, for the demon's wait; -1 without inotify.
int TVWDfolders_Descriptor();
// Takes in the events that have arrived, without waiting.
void TVWDfolders_TakeEvents();
// The work that is due: folders that came back, rescans, files that
// settled are handed to jobs, ".readyFiles" brought up to date.
void TVWDfolders_Tick();

// The service's questions and hints; `path` is a full path, `directory` a
// folder's path in any spelling that leads to it.
std::uint8_t TVWDfolders_Status(StrIn directory, StrIn name, std::int32_t modified);
void TVWDfolders_Declare(StrIn path);
void TVWDfolders_Ignore(StrIn path, std::int32_t pid, bool begin, bool flag);

// Job `id` of the folder `dirKey` ended: its files still there are handled
// from now on and listed in ".readyFiles". False when that list could not be
// written (its lock is held): ask again later.
bool TVWDfolders_JobEnded(const std::string& dirKey, const std::vector<TVWDfolders_HandedFile>& files,
                          const std::string& id);
// The directory of a full path and its last element.
void TVWDfolders_Split(const std::string& path, std::string& directory, std::string& name);
// The key of a folder's directory (its canonical path); the path itself
// when it can't be resolved.
std::string TVWDfolders_Key(const std::string& directory);
