// TVWDjobs: the demon's jobs. A folder's files are handed to a job here; the
// job is written to the demon's journal before it goes to the queue, so that
// a demon killed at any moment hands no file twice and loses none:
//
//   H  the job with its id, working directory, text and files (each with
//      inode, size and modification time), synced before the job is sent
//   Q  the queue has it (an event or the server said so)
//   E  it left the queue, and its files still there are listed as handled
//
// The journal, "tvwatchd.journal" in MARLDAT, is read at start and written
// anew when it holds many ended jobs. A job that the queue never confirmed
// is asked for; one the queue doesn't know is sent again under its id while
// its files are there unchanged (the server takes an id once), or counts as
// ended when they are gone. Jobs are submitted without waiting over one
// connection; their events come over a job listener. While the queue server
// is down, jobs wait here and go when it is back; after the listener had to
// connect again, every job is asked for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "services/TVWatchD/TVWDfolders.h"
#include "watch/TVWcfg.h"

// Reads the journal and connects to the queue server of this machine.
void TVWDjobs_Init();
// Hands `files` of the folder `dirPath` (key `dirKey`) to a new job of the
// folder's entry, run as the user and group `uid`, `gid` where the entry
// names none. The job's id.
std::string TVWDjobs_Hand(const TVWcfg_Entry& entry, const std::string& dirPath, const std::string& dirKey,
                          const std::vector<TVWDfolders_HandedFile>& files, std::int32_t uid, std::int32_t gid);
// The id of the job that holds the file `name` of folder `dirKey` as it is
// (`identity`); empty when none does.
std::string TVWDjobs_Claim(const std::string& dirKey, const std::string& name, const TVWDfolders_Identity& identity);
// Syncs the journal, sends what waits, takes the events and asks after jobs
// whose fate is open.
void TVWDjobs_Tick();
