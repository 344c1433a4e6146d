// Starting and stopping the suite's services for tests and benchmarks: each
// on a free loopback port of its own, from the build tree.
#pragma once

#include <string>
#include <utility>
#include <vector>

// A private installation below `root`: the directories customer, projects,
// dat, lib, tmp and env, with TV_CUSTOMER, TV_PROJECTS, MARLDAT, MARLLIB and
// TMP pointing at them, run files off, and MARLENV of env (where the demon's
// configuration goes) and the build tree's catalogs.
void UsePrivateSite(const std::string& root);

// A loopback port nobody listens on just now.
int FreeLoopbackPort();
// A free loopback port, published in the variable `portVariable`
// (TV_RMSERVER_PORT, TV_CCSERVER_PORT, ...).
void ChoosePort(const std::string& portVariable);
// A connection to 127.0.0.1:`port` from the loopback address `from` (such as
// "127.0.0.2"), as a host other than this one would come; the descriptor,
// or -1.
int ConnectFrom(const std::string& from, int port);
// Starts the build tree's service `program` bound to 127.0.0.1 on the port
// in `portVariable`, with `args` behind and `env` added to its environment,
// and waits until it accepts connections. The process id, or -1 when it did
// not come up. It is killed when the thread that started it ends (a test
// killed from outside leaves no service behind).
int StartService(const std::string& program, const std::string& portVariable,
                 const std::vector<std::string>& args = {},
                 const std::vector<std::pair<std::string, std::string>>& env = {});
// The resident memory of process `pid` in megabytes; -1 when unknown.
double ProcessResidentMegabytes(int pid);
// Ends it with `signal` and waits for it; -1 is ignored and the id becomes -1.
void StopService(int& pid, int signal = 15);

// The resource manager on the port of TV_RMSERVER_PORT.
void ChooseRMserverPort();
int StartRMserver(const std::vector<std::pair<std::string, std::string>>& env = {});
void StopRMserver(int& pid);

// Ends the services that programs under test started on their own in the
// installation whose MARLDAT is `dat` (an install starts the watch demon,
// the demon the queue server, the server its worker), found by the MARLDAT
// of their environment: the stop file keeps more from starting, running ones
// get SIGTERM, after 10 s SIGKILL. Waits until none is left; the stop file
// stays.
void StopSiteServices(const std::string& dat);

// The processes other than this one that were started for the installation
// whose MARLDAT is `dat` (found by their environment); none when all ended.
std::vector<int> SiteProcessIds(const std::string& dat);
// Whether anything accepts connections on the loopback port.
bool LoopbackPortAccepts(int port);
