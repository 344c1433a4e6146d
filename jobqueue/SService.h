// SService: what every service of the suite (RMserver, CCserver, CCworker)
// does first.
#pragma once
#include <string>
#include <vector>

#include "base/Strings.h"
#include "jobqueue/SProtocol.h"
#include "jobqueue/SServer.h"

// Starts the modules of a demon: arguments, messages, the process (stop file,
// run file) and the directories. The stop file ends the process with status
// 0; after it the exit status is 1 until the caller sets another, so a
// service that does not come up fails.
void SService_Start(int argc, const char* const* argv);
// The hosts allowed to connect to a service: this host, `siteHosts` (those
// the site names for the service), and those of `allowed` (its option -A)
// or, when that is empty, of the site's variable TV_ALLOWED_HOSTS. Lists are
// separated by commas or blanks; "*" lets every host in. A host that can't be
// found now is noted on standard error (message SServer 42), and let in once
// it can be. The caller owns the list.
SPeers SService_Peers(StrIn allowed, const std::vector<std::string>& siteHosts);
// Listens on the port of `protocol` at `address` ("" every interface). When
// the port can't be had, message 1 of `owner` (with the port in its "%d")
// goes to standard error and the process ends.
SServer SService_Listen(SProtocol protocol, StrIn address, StrIn owner);
