#include "services/CCserver/CCqueue.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <map>

#include "jobqueue/CCtypes.h"

namespace {

// The waiting jobs by priority (higher first), flow, CPU usage, and then
// CCorder's order within those, which does not change while they wait.
struct ByPlace {
  struct Key {
    std::uint32_t flow;
    std::uint8_t usage;
    const CCorder_Key& place;
  };
  static Key Of(const CCqueue_Entry* e) { return {e->flow, e->usage, e->place}; }
  static bool Less(const Key& a, const Key& b) {
    if (a.place.priority != b.place.priority) return a.place.priority > b.place.priority;
    if (a.flow != b.flow) return a.flow < b.flow;
    if (a.usage != b.usage) return a.usage < b.usage;
    return CCorder_Before(a.place, b.place);
  }
  using is_transparent = void;
  bool operator()(const CCqueue_Entry* a, const CCqueue_Entry* b) const { return Less(Of(a), Of(b)); }
  bool operator()(const CCqueue_Entry* a, const Key& b) const { return Less(Of(a), b); }
  bool operator()(const Key& a, const CCqueue_Entry* b) const { return Less(a, Of(b)); }
};

std::vector<CCqueue_Entry*> actual, failed;
std::map<std::string, CCqueue_Owned> byId;  // owns every entry of both lists
std::int64_t lastSeq = 0;
std::map<std::string, std::uint32_t, std::less<>> flows;  // a flow's name -> its number
std::set<CCqueue_Entry*, ByPlace> waiting;
std::set<CCqueue_Entry*> waitingForPrecond;
std::array<std::size_t, 8> waitingByUsage{};
std::vector<std::uint32_t> runningByFlow;  // jobs running now, by flow
CCrestrict_Table restrictions = CCrestrict_CreateTable();

void NameFlow(CCqueue_Entry* entry) {
  const std::string_view name = CCjobBase_GetFlow(entry->job);
  const auto at = flows.find(name);
  entry->flow = at != flows.end() ? at->second : flows.emplace(name, static_cast<std::uint32_t>(flows.size())).first->second;
  runningByFlow.resize(flows.size(), 0);
}

// Whether `a` is handed out before `b`.
bool Before(const CCqueue_Entry* a, const CCqueue_Entry* b) {
  const std::uint32_t pa = CCjobBase_GetPriority(a->job), pb = CCjobBase_GetPriority(b->job);
  return pa != pb ? pa > pb : a->seq < b->seq;
}

// Where a job of the actual list stands; end when it is not there.
std::vector<CCqueue_Entry*>::iterator Locate(const CCqueue_Entry* entry) {
  const auto at = std::lower_bound(actual.begin(), actual.end(), entry, Before);
  return at != actual.end() && *at == entry ? at : actual.end();
}

void Unindex(CCqueue_Entry* e) {
  if (e->waiting) waiting.erase(e), --waitingByUsage[e->usage & 7U];
  if (e->precond) waitingForPrecond.erase(e);
  if (e->running) --runningByFlow[e->flow];
  e->waiting = e->precond = e->running = false;
}

// The place of a job among those of its priority and flow: its arrival as
// a point in time, so that the order of two holds at any moment.
CCorder_Key PlaceOf(const CCqueue_Entry* e) {
  const auto arrived = std::chrono::duration_cast<std::chrono::milliseconds>(e->since.time_since_epoch()).count();
  return {CCjobBase_GetPriority(e->job), e->seq, CCjobBase_GetStage(e->job), -arrived, 0};
}

}  // namespace

CCqueue_Entry* CCqueue_Insert(CCqueue_Owned owned) {
  CCqueue_Entry* entry = owned.get();
  byId[entry->id] = std::move(owned);
  NameFlow(entry);
  if (!entry->inFailed && entry->since == std::chrono::steady_clock::time_point{})
    entry->since = std::chrono::steady_clock::now();
  if (entry->inFailed) failed.push_back(entry);
  else actual.insert(std::upper_bound(actual.begin(), actual.end(), entry, Before), entry);
  CCqueue_Update(entry);
  return entry;
}

CCqueue_Owned CCqueue_Take(CCqueue_Entry* entry) {
  const auto at = byId.find(entry->id);
  if (at == byId.end() || at->second.get() != entry) return nullptr;
  Unindex(entry);
  if (entry->inFailed) failed.erase(std::find(failed.begin(), failed.end(), entry));
  else actual.erase(Locate(entry));
  CCqueue_Owned owned = std::move(at->second);
  byId.erase(at);
  return owned;
}

void CCqueue_Reorder(CCqueue_Entry* entry) {
  if (entry->inFailed) return;
  // Its priority or number changed: it is found by looking, not by its place.
  actual.erase(std::find(actual.begin(), actual.end(), entry));
  Unindex(entry);
  NameFlow(entry);
  actual.insert(std::upper_bound(actual.begin(), actual.end(), entry, Before), entry);
  CCqueue_Update(entry);
}

void CCqueue_Update(CCqueue_Entry* e) {
  Unindex(e);
  const std::uint8_t status = CCjobBase_GetStatus(e->job);
  if (e->inFailed) return;
  if (status == CCtypes_Waiting || status == CCtypes_WaitingForPrecond) {
    e->place = PlaceOf(e);
    e->usage = CCjobBase_GetCpuUsage(e->job);
    e->waiting = true;
    waiting.insert(e);
    ++waitingByUsage[e->usage & 7U];
  }
  if (status == CCtypes_WaitingForPrecond) e->precond = true, waitingForPrecond.insert(e);
  if (status == CCtypes_Running) e->running = true, ++runningByFlow[e->flow];
}

CCqueue_Entry* CCqueue_FirstWaiting(std::uint8_t cpuUsages, bool (*take)(CCqueue_Entry*, void*), void* context) {
  // One run of jobs for each priority, flow and CPU usage, each in order;
  // the heads of those of `cpuUsages` are merged by the whole order, the
  // running jobs of each flow included.
  struct Run {
    std::set<CCqueue_Entry*, ByPlace>::iterator at, end;
  };
  std::vector<Run> runs;
  for (auto at = waiting.begin(); at != waiting.end();) {
    const CCorder_Key first{(*at)->place.priority, std::numeric_limits<std::int64_t>::min(),
                            std::numeric_limits<std::uint32_t>::max(), std::int64_t{1} << 60, 0};
    const auto end = waiting.lower_bound(ByPlace::Key{(*at)->flow, static_cast<std::uint8_t>((*at)->usage + 1), first});
    if ((cpuUsages >> (*at)->usage & 1U) != 0) runs.push_back({at, end});
    at = end;
  }
  const auto key = [](const CCqueue_Entry* e) {
    CCorder_Key k = e->place;
    k.flowRunning = runningByFlow[e->flow];
    return k;
  };
  for (;;) {
    Run* best = nullptr;
    for (Run& r : runs)
      if (r.at != r.end && (best == nullptr || CCorder_Before(key(*r.at), key(*best->at)))) best = &r;
    if (best == nullptr) return nullptr;
    CCqueue_Entry* e = *best->at++;
    if (take(e, context)) return e;
  }
}

std::size_t CCqueue_WaitingCount(std::uint8_t& cpuUsages) {
  cpuUsages = 0;
  for (std::size_t usage = 0; usage < waitingByUsage.size(); ++usage)
    if (waitingByUsage[usage] > 0) cpuUsages = static_cast<std::uint8_t>(cpuUsages | 1U << usage);
  return waiting.size();
}

const std::set<CCqueue_Entry*>& CCqueue_WaitingForPrecond() { return waitingForPrecond; }

CCqueue_Entry* CCqueue_Find(const std::string& id) {
  const auto at = byId.find(id);
  return at == byId.end() ? nullptr : at->second.get();
}

const std::vector<CCqueue_Entry*>& CCqueue_Actual() { return actual; }
const std::vector<CCqueue_Entry*>& CCqueue_Failed() { return failed; }

std::int32_t CCqueue_Position(const CCqueue_Entry* entry) {
  if (entry->inFailed) {
    const auto at = std::find(failed.begin(), failed.end(), entry);
    return at == failed.end() ? 0 : static_cast<std::int32_t>(at - failed.begin() + 1);
  }
  const auto at = Locate(entry);
  return at == actual.end() ? 0 : static_cast<std::int32_t>(at - actual.begin() + 1);
}

std::uint32_t CCqueue_Flows() { return static_cast<std::uint32_t>(flows.size()); }

std::int64_t CCqueue_NextSeq() { return ++lastSeq; }
void CCqueue_SeenSeq(std::int64_t seq) { lastSeq = std::max(lastSeq, seq); }

std::int64_t CCqueue_FrontSeq() {
  std::int64_t front = lastSeq + 1;
  for (const CCqueue_Entry* e : actual) front = std::min(front, e->seq);
  return front - 1;
}

CCrestrict_Table CCqueue_Restrictions() { return restrictions; }
