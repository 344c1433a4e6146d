// WFsyncRun: a synchronisation from the command line, for the operator tool:
// workflows to slave hosts, one host after the other, with the progress of
// each host and each workflow on standard error.
#pragma once

#include <string>
#include <vector>

// Brings `workflows` onto each of `hosts`; with no workflows named, those
// whose start rc asks for it (DOSYNC, with the host among SYNCSLAVES). A
// failed workflow or host is told and the others go on. True when every
// workflow reached every host.
bool WFsyncRun_Sync(const std::vector<std::string>& hosts, const std::vector<std::string>& workflows);
// Whether workflow `name`'s sync options name `host`.
bool WFsyncRun_Selected(const std::string& name, const std::string& host);
