#include "services/CCserver/CCqueue.h"

#include <algorithm>
#include <map>

namespace {

std::vector<CCqueue_Entry*> actual, failed;
std::map<std::string, CCqueue_Owned> byId;  // owns every entry of both lists
std::int64_t lastSeq = 0;
std::map<std::string, std::uint32_t, std::less<>> flows;  // a flow's name -> its number

void NameFlow(CCqueue_Entry* entry) {
  const std::string_view name = CCjobBase_GetFlow(entry->job);
  const auto at = flows.find(name);
  entry->flow = at != flows.end() ? at->second : flows.emplace(name, static_cast<std::uint32_t>(flows.size())).first->second;
}
CCrestrict_Table restrictions = CCrestrict_CreateTable();

// Whether `a` is handed out before `b`.
bool Before(const CCqueue_Entry* a, const CCqueue_Entry* b) {
  const std::uint32_t pa = CCjobBase_GetPriority(a->job), pb = CCjobBase_GetPriority(b->job);
  return pa != pb ? pa > pb : a->seq < b->seq;
}

void Unlist(std::vector<CCqueue_Entry*>& list, CCqueue_Entry* entry) {
  list.erase(std::remove(list.begin(), list.end(), entry), list.end());
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
  return entry;
}

CCqueue_Owned CCqueue_Take(CCqueue_Entry* entry) {
  const auto at = byId.find(entry->id);
  if (at == byId.end() || at->second.get() != entry) return nullptr;
  Unlist(entry->inFailed ? failed : actual, entry);
  CCqueue_Owned owned = std::move(at->second);
  byId.erase(at);
  return owned;
}

void CCqueue_Reorder(CCqueue_Entry* entry) {
  if (entry->inFailed) return;
  NameFlow(entry);
  Unlist(actual, entry);
  actual.insert(std::upper_bound(actual.begin(), actual.end(), entry, Before), entry);
}

CCqueue_Entry* CCqueue_Find(const std::string& id) {
  const auto at = byId.find(id);
  return at == byId.end() ? nullptr : at->second.get();
}

const std::vector<CCqueue_Entry*>& CCqueue_Actual() { return actual; }
const std::vector<CCqueue_Entry*>& CCqueue_Failed() { return failed; }

std::int32_t CCqueue_Position(const CCqueue_Entry* entry) {
  const auto& list = entry->inFailed ? failed : actual;
  const auto at = std::find(list.begin(), list.end(), entry);
  return at == list.end() ? 0 : static_cast<std::int32_t>(at - list.begin() + 1);
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
