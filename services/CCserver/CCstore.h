// CCstore: the server's queue on disk, so that an accepted job outlives the
// server.
//
// One journal file, "queue.journal" in the server's directory, of lines:
//   O <host> <pid>                        the server that holds the jobs' resources
//   Q <status>                            the queue status
//   J <id> <seq> <a|f> <worker> <job>     a job as it is now, in the actual or failed list
//   X <id>                                a job that left the server
// Fields are escaped as in the job text ("-" stands for no worker); a line
// break or "%" of the job text is written as "%0A" or "%25". Every record is
// written at once, so a killed server loses nothing it has recorded; Commit
// makes the records durable (fdatasync) where a crash of the machine must not
// lose them. Reading stops at nothing: a line cut by a crash or damaged is
// passed over and counted. Rewrite replaces the journal atomically by the
// records of the state as it is.
#pragma once
#include <cstdint>
#include <map>
#include <string>

struct CCstore_Job {
  std::int64_t seq = 0;
  bool inFailed = false;
  std::string worker;
  std::string text;  // the job text
};

struct CCstore_State {
  std::string ownerHost;
  std::int32_t ownerPid = 0;
  std::uint8_t queueStatus = 1;
  std::map<std::string, CCstore_Job> jobs;  // by id
  std::size_t damaged = 0;                  // lines passed over
};

// Opens (makes) the journal in `dir`, locked against a second server, and
// reads what it holds into `state`. False when the directory or the file
// can't be had or another server holds it.
bool CCstore_Open(const std::string& dir, CCstore_State& state);
// The journal's path, for messages.
const std::string& CCstore_Path();

// --- Records ----------------------------------------------------------------------------
void CCstore_PutJob(const std::string& id, const CCstore_Job& job);
void CCstore_RemoveJob(const std::string& id);
void CCstore_PutQueueStatus(std::uint8_t status);
// Asks the next Commit to make the records durable.
void CCstore_WantDurable();
// Makes what was written durable if that was asked for. False when the file
// refused a write or the sync since the last commit.
bool CCstore_Commit();

// --- Rewriting ---------------------------------------------------------------------------
// Records written since the last rewrite.
std::size_t CCstore_RecordCount();
// Writes `state` (with this server as owner) to a new journal, syncs it and
// renames it over the old one. False (the old journal stays) on failure.
bool CCstore_Rewrite(const CCstore_State& state);
