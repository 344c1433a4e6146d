// RWbase: the records of the remote watch, and its side of installing a
// workflow.
//
// Some hot folders are fed from a remote server: a separate program, the
// remote watch daemon, polls FTP directories and copies new files into a
// local directory. Its configuration (RWconfig) names the servers, the global
// settings and the hot folders. A workflow's start folder may name remote
// starts; installing the workflow makes them the workflow's hot folders in
// that configuration, and removing it deletes them.
//
// RWbase_Init registers this layer with the workflow's install
// (WFbase_RegisterRemoteWatch); every program that installs or removes
// workflows calls it at start-up.
#pragma once

#include <cstdint>
#include <vector>

#include "base/Strings.h"
#include "rc/SAutoRcF.h"

struct RWconfig_Rec;

// The daemon's settings for all servers.
struct RWbase_GlobalSettings {
  char proxyHost[kNameCap] = "";
  std::int32_t proxyPort = 80;
  std::int32_t watchInterval = 180;  // seconds
  std::int32_t timeout = 10;         // seconds
};

// The protocols of a server; "ftp" is the only one.
inline constexpr std::uint8_t RWbase_ftp = 0;

// A remote server. The password stands in the file as it is.
struct RWbase_Server {
  char name[kNameCap] = "";
  std::uint8_t protocol = RWbase_ftp;
  bool noProxy = false;
  char hostname[kNameCap] = "";
  char username[kNameCap] = "";
  char password[kNameCap] = "";
  char defaultRemoteDirectory[kPathCap] = "";
};

// Starts RWconfig and WFbase and registers the remote watch with the install;
// once.
void RWbase_Init();

bool RWbase_EqualSettings(const RWbase_GlobalSettings& a, const RWbase_GlobalSettings& b);
bool RWbase_EqualServers(const RWbase_Server& a, const RWbase_Server& b);

// Starts "RemoteWatchDaemon </dev/null &" when the program is found along
// PATH; the daemon keeps itself to one running copy. False when it isn't.
bool RWbase_StartDaemon();

// --- The install's side (registered with WFbase) ---------------------------------------

// The configuration of this process: loaded on the first call, brought up
// to date with the file on each later one. Nil, with the reason in `error`,
// when the file can't be read. Owned here.
RWconfig_Rec* RWbase_GetConfig(StrOut error);
// The hot folders of workflow `workflow` become one per remote start, each
// copying into `localDir` the files of `files` (the daemon's default when
// that is a token of the demon, "<...>"); with `remove` they all go. A
// changed configuration is saved; when that fails, `error` says why and the
// cached configuration is forgotten.
bool RWbase_UpdateWorkflow(StrIn workflow, StrIn localDir, StrIn files,
                           const std::vector<SAutoRcF_RemoteStart>& starts, bool remove,
                           StrOut error);
