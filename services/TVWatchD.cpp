// TVWatchD: the watch demon. Watches the hot folders of the demon
// configuration ("tvwatchd.cfg"), hands each file that has settled to a job
// of its folder's command in the job queue, and answers the file status
// service on the port it publishes in its info file.
//
//   TVWatchD [-b ADDRESS] [-A HOSTS] [-p PORT] [-q MILLISECONDS]
//
// -A names the hosts besides this one and the remote watch servers that may
// use the service, such as worker hosts whose jobs hand in files (commas
// between them; default TV_ALLOWED_HOSTS).
// -b binds the service to one address only; -p takes that port (without it
// the system chooses one: clients read it from the info file); -q is how
// long a file must stay unchanged before it is taken (default 2000; a file
// its writer closed waits an eighth of it, one moved in not at all).
//
// SIGUSR1 reads the configuration again (so does a change of the file,
// noticed within two seconds), SIGUSR2 the ready-file list; SIGTERM, or the
// stop file "stopped" in MARLDAT, ends it with status 0. One demon runs on
// an installation: a second one is refused by the lock of the info files and
// ends with status 1. The demon leaves the session of whoever started it, so
// that it outlives a job or a shell that started it.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Options.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "distribution/RWconfig.h"
#include "jobqueue/CCtypes.h"
#include "jobqueue/SService.h"
#include "services/TVWatchD/TVWDclock.h"
#include "services/TVWatchD/TVWDfolders.h"
#include "services/TVWatchD/TVWDjobs.h"
#include "services/TVWatchD/TVWDlog.h"
#include "services/TVWatchD/TVWDservice.h"
#include "watch/TVWbase.h"
#include "watch/TVWready.h"
#include "watch/TVWrequest.h"
#include "workflow/WFmodule.h"

namespace {

char section[kSectionCap] = "TVWatchD";

constexpr int kTickMs = 100;
constexpr std::uint32_t kLockWaitMs = 5000;
constexpr std::int64_t kLookMs = 1000;        // the stop file
constexpr std::int64_t kConfigLookMs = 2000;  // the configuration file
constexpr long kDefaultQuietMs = 2000;
constexpr long kMaxQuietMs = 24L * 3600 * 1000;  // a day
constexpr unsigned kUsageFirst = 20, kUsageLast = 25;
constexpr unsigned kCannotListen = 1, kInfoNotWritten = 4, kNoConfiguration = 5, kHeld = 6, kNoInotify = 7;

int wake[2] = {-1, -1};  // the signal handlers' pipe into the main loop
volatile sig_atomic_t reload = 0, readyList = 0, leave = 0;

void Say(unsigned number, const std::string& text = "", std::int64_t value = -1) {
  TextStr message;
  Messages_GetMsg(section, number, message);  // messages: TVWatchD 1, 4-7
  if (value >= 0) SPrintf_Int(message, static_cast<std::int32_t>(value));
  if (!text.empty()) SPrintf_String(message, text);
  std::fprintf(stderr, "%s\n", StrIn(message).Str().c_str());
}

void OnSignal(int signal) {
  if (signal == TVWbase_sigUsr1) reload = 1;
  if (signal == TVWbase_sigUsr2) readyList = 1;
  if (signal == TVWbase_sigTerm) leave = 1;
  const char byte = 0;
  [[maybe_unused]] const ssize_t n = ::write(wake[1], &byte, 1);
}

void Goodbye() {
  TVWbase_RemoveDemonInfo();
  TVWDlog_Stop();
  TVWDservice_Stop();
}

// The configuration file as it stands, to notice a change without a signal.
std::string ConfigStamp() {
  PathStr name;
  TVWcfg_GetFileName(name);
  struct stat st;
  if (::stat(StrIn(name).Str().c_str(), &st) != 0) return "";
  return std::to_string(st.st_ino) + ":" + std::to_string(st.st_size) + ":" + std::to_string(st.st_mtim.tv_sec) +
         "." + std::to_string(st.st_mtim.tv_nsec);
}

std::string configStamp;

void LoadConfiguration() {
  configStamp = ConfigStamp();
  TVWcfg_List list = nullptr;
  Messages_Quietly([&] { TVWcfg_LoadConfiguration(true, list); });
  if (TVWcfg_error != 0) {
    PathStr name;
    TVWcfg_GetFileName(name);
    Say(kNoConfiguration, StrIn(name).Str());
  }
  TVWDlog_Configuration(list);
  TVWDfolders_Configure(list);
}

void TakeReadyList() {
  TVWready_FileList list = nullptr;
  TVWready_GetReadyFiles(list);
  PathStr path;
  for (bool more = TVWready_GetFirstFile(list, path); more; more = TVWready_GetNextFile(list, path))
    TVWDfolders_Declare(path);
  TVWready_DestroyFileList(list);
}

bool Held() {
  PathStr stop;
  DirAcces_IncludeSpecialPath(DirAcces_MARLDAT, "stopped", stop);
  if (::access(StrIn(stop).Str().c_str(), F_OK) != 0) return false;
  Say(kHeld, StrIn(stop).Str());
  return true;
}

// The hosts of the remote watch configuration, which may use the service.
std::vector<std::string> RemoteWatchServers() {
  std::vector<std::string> hosts;
  RWconfig config = nullptr;
  TextStr error;
  if (!Messages_Quietly([&] { return RWconfig_Load(config, error); })) return hosts;
  RWbase_Server server;
  for (bool first = true; RWconfig_IterateServer(config, first, server); first = false)
    if (server.hostname[0] != '\0') hosts.emplace_back(server.hostname);
  RWconfig_Destroy(config);
  return hosts;
}

// Waits for a signal, an event, a client or the next tick.
void Wait() {
  std::vector<pollfd> fds = {{wake[0], POLLIN, 0}};
  if (TVWDfolders_Descriptor() >= 0) fds.push_back({TVWDfolders_Descriptor(), POLLIN, 0});
  TVWDservice_Descriptors(fds);
  ::poll(fds.data(), fds.size(), kTickMs);
  char bytes[64];
  while (::read(wake[0], bytes, sizeof bytes) > 0) {
  }
}

}  // namespace

int main(int argc, char** argv) {
  Argument_Init(argc, argv);
  std::string address, allowed;
  long portNumber = 0, quietMs = kDefaultQuietMs;
  const Options_Option options[] = {
      {"-b", true, Options_Store(address)},
      {"-A", true, Options_Store(allowed)},
      {"-p", true, Options_Number(portNumber, 0, 65535)},
      {"-q", true, Options_Number(quietMs, 0, kMaxQuietMs)},
  };
  if (!Options_Read(options)) Options_Refuse("", section, kUsageFirst, kUsageLast);  // messages: TVWatchD 20-25
  const auto port = static_cast<std::uint16_t>(portNumber);
  SService_Start(argc, argv);
  // Its own session, and none of the job variables of whoever started it.
  ::setsid();
  Processe_SignalIgnore(1);
  ::unsetenv(CCtypes_jobIdEnvVar);
  ::unsetenv(CCtypes_employerEnvVar);

  WFmodule_Init();
  TVWbase_Init();
  TVWbase_LockSet handles = nullptr;
  TextStr message;
  if (!TVWbase_Lock(kLockWaitMs, handles, message)) {
    std::fprintf(stderr, "%s\n", StrIn(message).Str().c_str());
    Processe_Exit();
  }
  Socket service = TVWrequest_SetupService(address, port);
  if (service == nullptr) {
    Say(kCannotListen, "", port);
    TVWbase_Unlock(handles);
    Processe_Exit();
  }
  Socket_Restrict(service, SService_Peers(allowed, RemoteWatchServers()));
  TVWDservice_Init(service);

  if (::pipe2(wake, O_NONBLOCK | O_CLOEXEC) != 0) Processe_Exit();
  for (int signal : {TVWbase_sigUsr1, TVWbase_sigUsr2, TVWbase_sigTerm}) Processe_InstallSignalHandler(signal, OnSignal);

  if (!TVWDfolders_Init(quietMs)) Say(kNoInotify);
  TVWDjobs_Init();
  LoadConfiguration();
  if (!TVWbase_WriteDemonInfo(handles, TVWDservice_Port())) {
    Say(kInfoNotWritten);
    Processe_Exit();
  }
  Processe_InstallTerminationProcedure(Goodbye);
  Processe_SetExitStatus(0);
  TVWDlog_Start(TVWDservice_Port());

  std::int64_t nextLook = 0, nextConfigLook = 0;
  for (;;) {
    Wait();
    if (leave != 0) break;
    if (reload != 0) {
      reload = 0;
      LoadConfiguration();
    }
    if (readyList != 0) {
      readyList = 0;
      TakeReadyList();
    }
    TVWDfolders_TakeEvents();
    TVWDservice_Serve();
    TVWDfolders_Tick();
    TVWDjobs_Tick();
    const std::int64_t now = TVWDclock_Now();
    if (now >= nextLook) {
      nextLook = now + kLookMs;
      if (Held()) break;
    }
    if (now >= nextConfigLook) {
      nextConfigLook = now + kConfigLookMs;
      if (ConfigStamp() != configStamp) LoadConfiguration();
    }
  }
  Processe_Exit();
  return 0;
}
