// SService: what every service of the suite (RMserver, CCserver, CCworker)
// does first.
#pragma once

#include "base/Strings.h"
#include "jobqueue/SProtocol.h"
#include "jobqueue/SServer.h"

// Starts the modules of a demon: arguments, messages, the process (stop file,
// run file) and the directories. The stop file ends the process with status
// 0; after it the exit status is 1 until the caller sets another, so a
// service that does not come up fails.
void SService_Start(int argc, const char* const* argv);
// Listens on the port of `protocol` at `address` ("" every interface). When
// the port can't be had, message 1 of `owner` (with the port in its "%d")
// goes to standard error and the process ends.
SServer SService_Listen(SProtocol protocol, StrIn address, StrIn owner);
