#include "jobqueue/SService.h"

#include <cstdio>
#include <cstdlib>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SPrintf.h"

void SService_Start(int argc, const char* const* argv) {
  Argument_Init(argc, argv);
  Messages_Init();
  Processe_SetApplicationType(kProcesseDemonType);
  // A service held by the stop file ends here with status 0: no failure, so
  // that a supervisor (systemd) does not start it again and again.
  Processe_Init();
  Processe_SetExitStatus(1);
  DirAcces_Init();
}

SServer SService_Listen(SProtocol protocol, StrIn address, StrIn owner) {
  SServer server = SServer_Create(protocol, address);
  if (server != nullptr) return server;
  char text[kTextCap];
  Messages_GetMsg(StrIn(owner), 1, text);
  SPrintf_Int(text, SProtocol_Port(protocol));
  std::fprintf(stderr, "%s\n", text);
  Processe_Exit();
  return nullptr;
}

SPeers SService_Peers(StrIn allowed, const std::vector<std::string>& siteHosts) {
  SPeers peers = SPeers_Create();
  SPeers_AddThisHost(peers);
  std::vector<std::string> unknown;
  for (const std::string& host : siteHosts)
    if (!SPeers_Add(peers, host)) unknown.push_back(host);
  const char* site = std::getenv("TV_ALLOWED_HOSTS");
  SPeers_AddList(peers, !allowed.Empty() ? allowed : StrIn::C(site != nullptr ? site : ""), unknown);
  for (const std::string& host : unknown) {
    char text[kTextCap];
    Messages_GetMsg("SServer", 42, text);  // messages: SServer 42
    SPrintf_String(text, host);
    std::fprintf(stderr, "%s\n", text);
  }
  return peers;
}
