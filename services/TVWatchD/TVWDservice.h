// TVWDservice: the demon's side of the file status service (TVWrequest):
// the clients' connections on the published port, their request lines and
// the answers. A client that sends more than a line without a line feed,
// or whose connection broke, is dropped; requests that are unknown or lack
// parameters are answered with code 1 and the reason (section "TVWatchD").
#pragma once

#include <poll.h>

#include <vector>

#include "jobqueue/Socket.h"

// Serves on the listening socket `service` (owned here from now on).
void TVWDservice_Init(Socket service);
// The port it listens on.
int TVWDservice_Port();
// Adds the descriptors to wait on: the listening socket and the clients.
void TVWDservice_Descriptors(std::vector<pollfd>& fds);
// Accepts who came and answers every whole request line there is.
void TVWDservice_Serve();
// Closes the clients' connections and the listening socket (at the end).
void TVWDservice_Stop();
