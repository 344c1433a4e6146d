// RWconfig: the remote watch daemon's configuration, "RemoteWatchDaemon.cfg"
// in the first directory of TV_CUSTOMER, a structured data file (SDataIO):
//
//   PROXY_HOST = "";  PROXY_PORT = 80;  TIMEOUT = 10;  WATCH_INTERVAL = 180;
//   SERVER = { NAME, PROTOCOL (ftp), NO_PROXY, HOSTNAME, USERNAME, PASSWORD,
//              DEFAULT_REMOTE_DIRECTORY };                    one per server
//   HOTFOLDER = { ID, SERVER_NAME, REMOTE_SOURCE_DIRECTORY,
//                 LOCAL_TARGET_DIRECTORY, FILE_REGULAR_EXPRESSION,
//                 DELETE_SOURCE_FILES_AFTER_COPY,
//                 TARGETID = { KIND (unknown, workflow, webcheck_preprint),
//                              NAME } };                      one per hot folder
//
// Servers are kept by name, hot folders by their key (server, remote
// directory, target); the blocks stand in the order of those keys. Unknown
// keys are passed over. A hot folder says on whose behalf it exists: its
// target, a kind and a name.
//
// An object remembers what was changed in it since it read the file. A save
// takes the file's lock (".RemoteWatchDaemon.lck" beside it); when another
// editor saved in the meantime, the newer file is read and this object's own
// additions and deletions are applied to it, so that two editors don't undo
// each other. The file is written to a temporary name and renamed over the
// old one; with no servers, no hot folders and default settings it is
// removed instead. Every failure comes back as a text in `error` (messages of
// section "RWconfig"), and the old file stays in force.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "distribution/RWbase.h"

struct RWconfig_Rec;
using RWconfig = RWconfig_Rec*;

inline constexpr char RWconfig_fileName[] = "RemoteWatchDaemon.cfg";
inline constexpr char RWconfig_lockName[] = ".RemoteWatchDaemon.lck";

// Kinds of target.
inline constexpr std::uint8_t RWconfig_unknownTarget = 0;
inline constexpr std::uint8_t RWconfig_workflowTarget = 1;
inline constexpr std::uint8_t RWconfig_webcheckTarget = 2;

// On whose behalf a hot folder exists.
struct RWconfig_Target {
  std::uint8_t kind = RWconfig_unknownTarget;
  char name[kPathCap] = "";
};
using RWconfig_TargetID = RWconfig_Target*;

inline constexpr char RWconfig_defaultExpression[] = ".+\\..*$";

// One remote directory copied into a local one.
struct RWconfig_Hotfolder {
  char serverName[kNameCap] = "";
  char remoteSourceDirectory[kPathCap] = "";
  char localTargetDirectory[kPathCap] = "";
  char fileRegularExpression[kPathCap] = ".+\\..*$";
  bool deleteSourceFilesAfterCopy = false;
  RWconfig_Target target;
  char id[kNameCap] = "";
};

struct RWconfig_HotfolderVectorRec;
using RWconfig_HotfolderVector = RWconfig_HotfolderVectorRec*;

// The identity of the file: whether it is there, and its device, inode,
// size and time.
struct RWconfig_FileID {
  bool exists = false;
  std::uint64_t device = 0, inode = 0, size = 0;
  std::int64_t modified = 0;
};

// Starts the modules used; once.
void RWconfig_Init();

// --- The file ------------------------------------------------------------------------------

// The configuration as the file holds it; a missing file is an empty one.
// False, config nil and the reason in `error`, when it can't be read.
bool RWconfig_Load(RWconfig& config, StrOut error);
// Reads the file again if it changed since this object read or wrote it;
// what was changed in the object and not saved is dropped then.
bool RWconfig_Reload(RWconfig config, StrOut error);
// Writes the object's state, merged with a newer file (see above). False
// with the reason in `error`. After a save with servers in it the daemon is
// started (RWbase_StartDaemon).
bool RWconfig_Save(RWconfig config, StrOut error);
// Frees the object and sets it to nil; nil is accepted.
void RWconfig_Destroy(RWconfig& config);
// Whether anything was changed since the last load or save.
bool RWconfig_IsModified(RWconfig config);
// The full names of the file and its lock.
void RWconfig_GetFileName(StrOut name);
void RWconfig_GetLockName(StrOut name);
// The identity of the file `name` now.
void RWconfig_StatFile(StrIn name, RWconfig_FileID& id);
// Applies the changes made in `config` to `newer` (read from a newer file)
// and makes that the content of `config`; `newer` is left empty.
void RWconfig_Merge(RWconfig config, RWconfig newer);

// --- Settings and servers -------------------------------------------------------------

void RWconfig_GetGlobalSettings(RWconfig config, RWbase_GlobalSettings& settings);
void RWconfig_SetGlobalSettings(RWconfig config, const RWbase_GlobalSettings& settings);
// The servers in order of their names; `restart` begins at the first. False
// past the last.
bool RWconfig_IterateServer(RWconfig config, bool restart, RWbase_Server& server);
bool RWconfig_GetServer(RWconfig config, StrIn name, RWbase_Server& server);
void RWconfig_AddOrReplaceServer(RWconfig config, const RWbase_Server& server);
// False when there was none of that name.
bool RWconfig_RemoveServer(RWconfig config, StrIn name);
// Whether a hot folder copies from the server.
bool RWconfig_IsServerUsed(RWconfig config, StrIn name);

// --- Hot folders --------------------------------------------------------------------------

// The hot folders in order of their keys.
bool RWconfig_IterateHotfolder(RWconfig config, bool restart, RWconfig_Hotfolder& hotfolder);
// Appends the hot folders of `target` to `vector`.
void RWconfig_GetTargetHotfolder(RWconfig config, RWconfig_TargetID target,
                                 RWconfig_HotfolderVector vector);
// Makes the hot folders of `target` those of `vector` (their targets are set
// to it): the others of the target are deleted, new ones get a new id, and
// one that is there already unchanged keeps its id and changes nothing.
void RWconfig_SetTargetHotfolder(RWconfig config, RWconfig_TargetID target,
                                 RWconfig_HotfolderVector vector);
void RWconfig_DeleteTargetHotfolder(RWconfig config, RWconfig_TargetID target);
// "%s:%s-->%s:%s" of server name, remote directory, target kind word and
// target name: the identity of a hot folder.
void RWconfig_GetHotfolderKey(const RWconfig_Hotfolder& hotfolder, StrOut key);

// --- Targets ----------------------------------------------------------------------------

// A new target; the caller destroys it. Nil for nil.
RWconfig_TargetID RWconfig_CreateTargetID(std::uint8_t kind, StrIn name);
RWconfig_TargetID RWconfig_CopyTargetID(RWconfig_TargetID target);
void RWconfig_DestroyTargetID(RWconfig_TargetID& target);
bool RWconfig_EqualTargets(RWconfig_TargetID a, RWconfig_TargetID b);
void RWconfig_GetTargetInfo(RWconfig_TargetID target, std::uint8_t& kind, StrOut name);
// The target for people, "workflow NAME" in the catalog's words.
void RWconfig_GetTargetDescription(RWconfig_TargetID target, StrOut text);

// --- Vectors of hot folders -------------------------------------------------------------

// An empty vector with room for `capacity`; it grows. The caller destroys it.
RWconfig_HotfolderVector RWconfig_CreateHotfolderVector(std::size_t capacity);
void RWconfig_AddHotfolder(RWconfig_HotfolderVector vector, const RWconfig_Hotfolder& hotfolder);
// False for an index (from 0) past the end.
bool RWconfig_DeleteHotfolder(RWconfig_HotfolderVector vector, std::size_t index);
bool RWconfig_GetHotfolder(RWconfig_HotfolderVector vector, std::size_t index,
                           RWconfig_Hotfolder& hotfolder);
std::size_t RWconfig_HotfolderCount(RWconfig_HotfolderVector vector);
void RWconfig_DestroyHotfolderVector(RWconfig_HotfolderVector& vector);
