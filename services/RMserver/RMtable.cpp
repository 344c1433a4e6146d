#include "RMtable.h"

#include <algorithm>
#include <map>
#include <memory>
#include <vector>

#include "base/SRegExpr.h"
#include "jobqueue/SRMproto.h"

namespace {

struct Entry {
  std::string pattern;
  SRegExpr expr = nullptr;
  RMtable_Holder owner;
  bool trap = false;
  int uses = 0;
  ~Entry() { SRegExpr_Destroy(expr); }
};

std::vector<std::unique_ptr<Entry>> entries;
std::map<std::string, std::int64_t> demons;  // host -> the demon's pid

SRegExpr Compile(const std::string& pattern) {
  char expression[1024];
  SRMproto_RegExpr(pattern, expression);
  return SRegExpr_Create(expression);
}

bool Owns(const Entry& e, const std::string& host, std::int64_t pid) {
  return e.owner.pid == pid && e.owner.host == host;
}

// Whether the entry stands for `name`: the same text, or a pattern over it.
bool Covers(const Entry& e, const std::string& name) { return e.pattern == name || SRegExpr_Match(e.expr, name); }

void Add(const std::string& host, std::int64_t pid, bool trap, const std::string& pattern) {
  for (auto& e : entries)
    if (Owns(*e, host, pid) && e->pattern == pattern) {
      ++e->uses;
      e->trap = e->trap || trap;
      return;
    }
  auto e = std::make_unique<Entry>();
  e->pattern = pattern;
  e->expr = Compile(pattern);
  e->owner = {host, pid};
  e->trap = trap;
  e->uses = 1;
  entries.push_back(std::move(e));
}

template <class Test>
void RemoveIf(Test test) {
  entries.erase(std::remove_if(entries.begin(), entries.end(), [&](const auto& e) { return test(*e); }),
                entries.end());
}

}  // namespace

bool RMtable_Reserve(const std::string& host, std::int64_t pid, bool trap, const std::string& pattern,
                     RMtable_Holder& blocker) {
  SRegExpr wanted = Compile(pattern);
  for (const auto& e : entries) {
    if (Owns(*e, host, pid)) continue;
    if (Covers(*e, pattern) || SRegExpr_Match(wanted, e->pattern)) {
      blocker = e->owner;
      SRegExpr_Destroy(wanted);
      return false;
    }
  }
  SRegExpr_Destroy(wanted);
  Add(host, pid, trap, pattern);
  return true;
}

void RMtable_Use(const std::string& host, std::int64_t pid, bool trap, const std::string& pattern) {
  Add(host, pid, trap, pattern);
}

void RMtable_Release(const std::string& host, std::int64_t pid, const std::string& name) {
  auto same = std::find_if(entries.begin(), entries.end(),
                           [&](const auto& e) { return Owns(*e, host, pid) && e->pattern == name; });
  if (same == entries.end())
    same = std::find_if(entries.begin(), entries.end(),
                        [&](const auto& e) { return Owns(*e, host, pid) && Covers(*e, name); });
  if (same != entries.end() && --(*same)->uses <= 0) entries.erase(same);
}

void RMtable_Free(const std::string& host, std::int64_t pid, const std::string& name) {
  RemoveIf([&](const Entry& e) { return Owns(e, host, pid) && Covers(e, name); });
}

void RMtable_DropOwner(const std::string& host, std::int64_t pid, bool trappedOnly) {
  RemoveIf([&](const Entry& e) { return Owns(e, host, pid) && (e.trap || !trappedOnly); });
}

void RMtable_DemonStarted(const std::string& host, std::int64_t pid) {
  const auto last = demons.find(host);
  if (last != demons.end() && last->second != pid) RMtable_DropOwner(host, last->second, false);
  demons[host] = pid;
}

void RMtable_Dump(std::FILE* file) {
  for (const auto& e : entries)
    std::fprintf(file, "%s %s %lld %d %s\n", e->pattern.c_str(), e->owner.host.c_str(),
                 static_cast<long long>(e->owner.pid), e->uses, e->trap ? "trap" : "-");
}
