// SPeers: the hosts allowed to connect to a service.
//
// A list of IPv4 addresses. A host name stands for every address it resolves
// to, and a name or address of this host for all of this host's own
// addresses (each interface's, loopback included); "*" lets every host in.
// A name that can't be resolved is kept: names are resolved again, at most
// once a minute, when an address that is not in the list knocks, so that a
// host that came up later or moved is let in after a while.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "base/Strings.h"

struct SPeers_Rec;
using SPeers = SPeers_Rec*;

// --- Create and destroy -------------------------------------------------------
// An empty list, which lets no one in; the caller owns it.
SPeers SPeers_Create();
// Accepts nil; sets the handle to nil.
void SPeers_Destroy(SPeers& peers);

// --- Fill ------------------------------------------------------------------------
// This host's own addresses.
void SPeers_AddThisHost(SPeers peers);
// One host (name, dotted address or "*"); false when it can't be resolved now.
bool SPeers_Add(SPeers peers, const std::string& host);
// The hosts of a list separated by commas or blanks; the ones that can't be
// resolved now are appended to `unknown`.
void SPeers_AddList(SPeers peers, StrIn list, std::vector<std::string>& unknown);

// --- Check -----------------------------------------------------------------------
// Whether a peer at `address` (IPv4, network byte order) may connect. Nil
// lets everyone in.
bool SPeers_Allows(SPeers peers, std::uint32_t address);
// Counts a connection from `address` that was closed unanswered, and notes
// it on standard error (the service's log) at most once a minute, with the
// number refused since the last note (message SServer 41).
void SPeers_NoteRefused(SPeers peers, std::uint32_t address);
