#include "services/CCworker/CCemployer.h"

#include <chrono>
#include <memory>

#include "base/DirAcces.h"
#include "jobqueue/CCclient.h"

namespace {

constexpr int kCallTimeoutMs = 5000;
constexpr std::int64_t kRetryMs = 1000;

std::vector<std::unique_ptr<CCemployer_Employer>> employers;
SClient_YieldProc yieldProc = nullptr;

std::int64_t Now() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// This machine's own name is reached over the loopback, where a server
// bound to it listens too.
std::string Address(const std::string& host) {
  char machine[kNameCap];
  DirAcces_GetMachineName(machine);
  return host == StrIn(machine).View() ? "" : host;
}

// Connected, or after one attempt when its time has come.
bool Reach(CCemployer_Employer* e) {
  if (SClient_IsConnected(e->conn)) return true;
  if (Now() < e->retryAt) return false;
  if (e->conn == nullptr) {
    e->conn = CCclient_ConnectPort(Address(e->host), e->port, 0, yieldProc);
    SClient_SetTimeout(e->conn, kCallTimeoutMs);
  }
  if (SClient_IsConnected(e->conn) || SClient_TryReconnect(e->conn)) return true;
  e->retryAt = Now() + kRetryMs;
  return false;
}

}  // namespace

void CCemployer_SetYield(SClient_YieldProc yield) { yieldProc = yield; }

CCemployer_Employer* CCemployer_Get(const std::string& host, std::uint16_t port) {
  for (const auto& e : employers)
    if (e->host == host && e->port == port) return e.get();
  auto e = std::make_unique<CCemployer_Employer>();
  e->host = host;
  e->port = port;
  employers.push_back(std::move(e));
  return employers.back().get();
}

std::vector<CCemployer_Employer*> CCemployer_All() {
  std::vector<CCemployer_Employer*> all;
  for (const auto& e : employers) all.push_back(e.get());
  return all;
}

std::vector<CCjobBase_Job> CCemployer_Peek(CCemployer_Employer* e, std::uint8_t cpuUsages, std::int32_t count,
                                           const std::vector<std::string>& held, bool& reached) {
  reached = Reach(e);
  if (!reached) return {};
  const std::uint64_t news = e->news;
  std::vector<CCjobBase_Job> jobs = CCclient_PeekJobs(e->conn, e->workerName, cpuUsages, held, count);
  reached = SClient_IsConnected(e->conn);
  if (!reached || e->news != news) return jobs;
  // (An older server hands one at a time: only none tells that none waits.)
  if (jobs.empty() && cpuUsages != 0) e->hasWork = false;
  e->mustAsk = false;
  return jobs;
}

std::int32_t CCemployer_Report(CCemployer_Employer* e, const std::string& id, std::uint8_t status,
                               std::uint8_t reason, const std::string& errorFile) {
  if (!Reach(e) || !CCclient_InformJobFinished(e->conn, e->workerName, id, status, reason, errorFile, true)) return 0;
  return SClient_ConnNo(e->conn);
}

bool CCemployer_Heard(CCemployer_Employer* e, std::int32_t connNo) {
  return SClient_ConnNo(e->conn) == connNo && SClient_TakePosted(e->conn, false);
}
