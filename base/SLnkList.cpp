#include "base/SLnkList.h"

// All adding goes through one step, Add: link a record at a place, unless an
// equal record is already there and the mode says to replace or refuse.
// Insert, Merge and Sort differ only in how they find the place.

namespace {

using Link = SLnkList_Link;

int AllEqual(const Link*, const Link*) { return 0; }

SLnkList_Compare Or(SLnkList_Compare compare) { return compare != nullptr ? compare : AllEqual; }

// The records left out, in the order they were left.
struct LeftOut {
  Link* first = nullptr;
  Link** tail = &first;

  void Add(Link* record) {
    record->next = nullptr;
    *tail = record;
    tail = &record->next;
  }
};

// The link that points at the first record equal to `probe`, or the end link.
Link** EqualLink(Link** at, const Link* probe, SLnkList_Compare compare) {
  while (*at != nullptr && compare(*at, probe) != 0) at = &(*at)->next;
  return at;
}

Link** EndLink(Link** at) {
  while (*at != nullptr) at = &(*at)->next;
  return at;
}

// Links `record` in at `at`; or, when `equal` points at a record, replaces or
// refuses by `mode`.
void Add(Link** at, Link** equal, Link* record, SLnkList_Equal mode, LeftOut& out) {
  Link* old = equal == nullptr ? nullptr : *equal;
  if (old == nullptr || mode == SLnkList_Equal::kKeep) {
    record->next = *at;
    *at = record;
  } else if (mode == SLnkList_Equal::kReplace) {
    record->next = old->next;
    *equal = record;
    out.Add(old);
  } else {
    out.Add(record);
  }
}

// Inserts into the sorted part from `at` on. The answer is the link holding
// the record now in its place (the new one, or the equal one that refused
// it), from where a record not smaller may be inserted next.
Link** InsertFrom(Link** at, Link* record, SLnkList_Compare compare, SLnkList_Equal mode, LeftOut& out) {
  const bool keep = mode == SLnkList_Equal::kKeep;
  while (*at != nullptr && (keep ? compare(*at, record) <= 0 : compare(*at, record) < 0)) at = &(*at)->next;
  const bool equal = !keep && *at != nullptr && compare(*at, record) == 0;
  Add(at, equal ? at : nullptr, record, mode, out);
  return at;
}

void MergeInto(Link*& list, Link* other, SLnkList_Compare compare, SLnkList_Equal mode, LeftOut& out) {
  Link** at = &list;
  while (other != nullptr) {
    Link* record = other;
    other = other->next;
    at = InsertFrom(at, record, compare, mode, out);
  }
}

// Takes the first `count` records off `list` and answers them sorted. Each
// half is sorted, and the later half merged into the earlier, so equal
// records keep their order.
Link* SortRun(Link*& list, std::size_t count, SLnkList_Compare compare, SLnkList_Equal mode, LeftOut& out) {
  if (count == 0) return nullptr;
  if (count == 1) {
    Link* record = list;
    list = record->next;
    record->next = nullptr;
    return record;
  }
  Link* sorted = SortRun(list, count / 2, compare, mode, out);
  Link* later = SortRun(list, count - count / 2, compare, mode, out);
  MergeInto(sorted, later, compare, mode, out);
  return sorted;
}

Link* AddOnce(Link*& list, Link** at, Link* record, SLnkList_Compare compare, SLnkList_Equal mode) {
  LeftOut out;
  Link** equal = mode == SLnkList_Equal::kKeep ? nullptr : EqualLink(&list, record, Or(compare));
  Add(at, equal, record, mode, out);
  return out.first;
}

}  // namespace

std::size_t SLnkList_Count(const Link* list) {
  std::size_t count = 0;
  for (; list != nullptr; list = list->next) ++count;
  return count;
}

Link* SLnkList_Find(Link* list, const Link* probe, SLnkList_Compare compare) {
  return *EqualLink(&list, probe, Or(compare));
}

Link* SLnkList_Append(Link*& list, Link* record, SLnkList_Compare compare, SLnkList_Equal mode) {
  return AddOnce(list, EndLink(&list), record, compare, mode);
}

Link* SLnkList_Prepend(Link*& list, Link* record, SLnkList_Compare compare, SLnkList_Equal mode) {
  return AddOnce(list, &list, record, compare, mode);
}

Link* SLnkList_Insert(Link*& list, Link* record, SLnkList_Compare compare, SLnkList_Equal mode) {
  LeftOut out;
  InsertFrom(&list, record, Or(compare), mode, out);
  return out.first;
}

Link* SLnkList_Merge(Link*& list, Link* other, SLnkList_Compare compare, SLnkList_Equal mode) {
  LeftOut out;
  MergeInto(list, other, Or(compare), mode, out);
  return out.first;
}

Link* SLnkList_Sort(Link*& list, SLnkList_Compare compare, SLnkList_Equal mode) {
  LeftOut out;
  Link* unsorted = list;
  list = SortRun(unsorted, SLnkList_Count(unsorted), Or(compare), mode, out);
  return out.first;
}

bool SLnkList_Remove(Link*& list, Link* record) {
  Link** at = &list;
  while (*at != nullptr && *at != record) at = &(*at)->next;
  if (*at == nullptr) return false;
  *at = record->next;
  record->next = nullptr;
  return true;
}

void SLnkList_Reverse(Link*& list) {
  Link* reversed = nullptr;
  while (list != nullptr) {
    Link* record = list;
    list = record->next;
    record->next = reversed;
    reversed = record;
  }
  list = reversed;
}
