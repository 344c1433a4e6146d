// RMtable: the resource manager's table of held resources.
//
// An entry is a pattern held by one owner (host and process id) with a use
// count. Two patterns clash when either matches the other's text, so "a*"
// held blocks "ab" and "ab" held blocks "a*". An owner never clashes with
// itself: reserving again counts another use.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>

struct RMtable_Holder {
  std::string host;
  std::int64_t pid = -1;
};

// Grants `pattern` to the owner unless another owner holds a clashing one;
// then false and that owner in `blocker`.
bool RMtable_Reserve(const std::string& host, std::int64_t pid, bool trap, const std::string& pattern,
                     RMtable_Holder& blocker);
// Takes `pattern` for the owner without asking: one use more.
void RMtable_Use(const std::string& host, std::int64_t pid, bool trap, const std::string& pattern);
// One use less of the owner's entry for `name` (the same pattern, else one
// whose pattern matches it); the entry goes with its last use.
void RMtable_Release(const std::string& host, std::int64_t pid, const std::string& name);
// Every entry of the owner for `name`, whatever its count.
void RMtable_Free(const std::string& host, std::int64_t pid, const std::string& name);
// What the owner held with trapped death (`trappedOnly`) or at all.
void RMtable_DropOwner(const std::string& host, std::int64_t pid, bool trappedOnly);
// The demon of `host` is now `pid`: what an earlier demon there held goes.
void RMtable_DemonStarted(const std::string& host, std::int64_t pid);
// One line per entry: pattern, host, pid, uses, trap.
void RMtable_Dump(std::FILE* file);
