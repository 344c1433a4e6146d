#include "jobqueue/CCorder.h"

namespace {

// The stage with its aging, in milliseconds, so that it compares exactly.
std::int64_t Reach(const CCorder_Key& k) { return std::int64_t{k.stage} * kCCorderAgingMs + k.waitedMs; }

}  // namespace

bool CCorder_Before(const CCorder_Key& a, const CCorder_Key& b) {
  if (a.priority != b.priority) return a.priority > b.priority;
  if (a.flowRunning != b.flowRunning) return a.flowRunning < b.flowRunning;
  if (Reach(a) != Reach(b)) return Reach(a) > Reach(b);
  return a.seq < b.seq;
}
