#include "base/StrHash.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace {

struct Node {
  Node* next = nullptr;
  std::string key;
  std::uintptr_t value = 0;
};

// A place in the walking order: the next node to deliver and its bucket. A
// walk with a next node holds the traversal mark; one without has ended.
struct Walk {
  std::size_t bucket = 0;
  Node* next = nullptr;
};

std::size_t RoundedSize(std::size_t size) {
  std::size_t buckets = 2;
  while (buckets < size && buckets <= std::numeric_limits<std::size_t>::max() / 2) buckets *= 2;
  return buckets;
}

std::size_t BucketOf(std::string_view key, std::size_t buckets) {
  std::uint32_t h = 0;
  for (const unsigned char byte : key) h = h * 31u + byte;
  return h % buckets;
}

}  // namespace

struct StrHash_IteratorRec {
  StrHash table = nullptr;  // not owned; nil once the table is destroyed
  Walk walk;
};

struct StrHash_SortedIteratorRec {
  std::vector<Node> entries;  // copies, unlinked
  std::size_t at = 0;
};

struct StrHash_Rec {
  std::vector<Node*> buckets;
  std::size_t entries = 0;
  Walk cursor;
  bool cursorDelivered = false;
  // Open iterators, not owned: they are told when the table goes, and their
  // places are mended when an entry goes.
  std::vector<StrHash_IteratorRec*> iterators;

  ~StrHash_Rec() {
    for (Node* node : buckets) {
      while (node != nullptr) delete std::exchange(node, node->next);
    }
  }
};

namespace {

template <class Visit>
void ForEachWalk(StrHash table, Visit visit) {
  visit(table->cursor);
  for (StrHash_IteratorRec* iterator : table->iterators) visit(iterator->walk);
}

// The mark is not a flag that could be left set by mistake: the table is
// being traversed exactly while some walk has entries left to deliver.
bool BeingTraversed(StrHash table) {
  bool traversed = false;
  ForEachWalk(table, [&](const Walk& walk) { traversed = traversed || walk.next != nullptr; });
  return traversed;
}

// Moves an empty place on to the first node of a later bucket.
void Settle(StrHash table, Walk& walk) {
  while (walk.next == nullptr && walk.bucket + 1 < table->buckets.size()) walk.next = table->buckets[++walk.bucket];
}

void Start(StrHash table, Walk& walk) {
  walk.bucket = 0;
  walk.next = table->buckets[0];
  Settle(table, walk);
}

Node* Step(StrHash table, Walk& walk) {
  Node* node = walk.next;
  if (node == nullptr) return nullptr;
  walk.next = node->next;
  Settle(table, walk);
  return node;
}

// Hands a node out through the bounded forms; nullptr gives the empty answer.
std::uintptr_t Deliver(const Node* node, StrOut key) {
  if (node == nullptr) {
    key.Clear();
    return 0;
  }
  Strings_Assign(node->key, key);
  return node->value;
}

// Old chains are taken in bucket order and each node joins the end of its new
// chain, so the new walking order follows from the old one.
void Grow(StrHash table) {
  std::vector<Node*> buckets(table->buckets.size() * 4, nullptr);
  std::vector<Node**> tails(buckets.size());
  for (std::size_t b = 0; b < buckets.size(); ++b) tails[b] = &buckets[b];
  for (Node* node : table->buckets) {
    while (node != nullptr) {
      Node* next = std::exchange(node->next, nullptr);
      Node**& tail = tails[BucketOf(node->key, buckets.size())];
      *tail = node;
      tail = &node->next;
      node = next;
    }
  }
  table->buckets = std::move(buckets);
}

// The link that points at the node of `key`, or the chain's end link.
Node** LinkOf(StrHash table, std::string_view key) {
  Node** link = &table->buckets[BucketOf(key, table->buckets.size())];
  while (*link != nullptr && (*link)->key != key) link = &(*link)->next;
  return link;
}

int CompareKeys(const StrHash_Entry& a, const StrHash_Entry& b) { return Strings_CompareStr(a.key, b.key); }

}  // namespace

StrHash StrHash_Nil() { return nullptr; }

StrHash StrHash_CreateTable(std::size_t size) {
  StrHash table = new StrHash_Rec;
  table->buckets.assign(RoundedSize(size), nullptr);
  return table;
}

void StrHash_DestroyTable(StrHash& table) {
  if (table == nullptr) return;
  for (StrHash_IteratorRec* iterator : table->iterators) iterator->table = nullptr;
  delete table;
  table = nullptr;
}

void StrHash_PutEntry(StrHash table, StrIn key, std::uintptr_t value) {
  if (table == nullptr) return;
  if (table->entries >= 2 * table->buckets.size() && !BeingTraversed(table)) Grow(table);
  Node** link = LinkOf(table, key.View());
  if (*link == nullptr) {
    *link = new Node{nullptr, key.Str(), value};
    ++table->entries;
  } else {
    (*link)->value = value;
  }
}

std::uintptr_t StrHash_GetEntry(StrHash table, StrIn key) {
  if (table == nullptr) return 0;
  const Node* node = *LinkOf(table, key.View());
  return node == nullptr ? 0 : node->value;
}

std::uintptr_t StrHash_GetConstEntry(StrHash table, StrIn key) { return StrHash_GetEntry(table, key); }

bool StrHash_DestroyEntry(StrHash table, StrIn key) {
  if (table == nullptr) return false;
  Node** link = LinkOf(table, key.View());
  Node* node = *link;
  if (node == nullptr) return false;
  ForEachWalk(table, [&](Walk& walk) {
    if (walk.next == node) Step(table, walk);
  });
  *link = node->next;
  delete node;
  --table->entries;
  return true;
}

std::size_t StrHash_Entries(StrHash table) { return table == nullptr ? 0 : table->entries; }

std::uintptr_t StrHash_GetFirst(StrHash table, StrOut key) {
  if (table == nullptr) return Deliver(nullptr, key);
  Start(table, table->cursor);
  return StrHash_GetNext(table, key);
}

std::uintptr_t StrHash_GetNext(StrHash table, StrOut key) {
  if (table == nullptr) return Deliver(nullptr, key);
  const Node* node = Step(table, table->cursor);
  table->cursorDelivered = node != nullptr;
  return Deliver(node, key);
}

bool StrHash_AtEnd(StrHash table) { return table == nullptr || !table->cursorDelivered; }

StrHash_Iterator StrHash_CreateIterator(StrHash table) {
  if (table == nullptr) return nullptr;
  auto* iterator = new StrHash_IteratorRec{table, {}};
  Start(table, iterator->walk);
  table->iterators.push_back(iterator);
  return iterator;
}

bool StrHash_Iterate(StrHash_Iterator iterator, StrOut key, std::uintptr_t& value) {
  const Node* node =
      iterator == nullptr || iterator->table == nullptr ? nullptr : Step(iterator->table, iterator->walk);
  value = Deliver(node, key);
  return node != nullptr;
}

void StrHash_DestroyIterator(StrHash_Iterator& iterator) {
  if (iterator == nullptr) return;
  if (StrHash table = iterator->table; table != nullptr) std::erase(table->iterators, iterator);
  delete iterator;
  iterator = nullptr;
}

std::vector<StrHash_Entry> StrHash_SortEntries(StrHash table, StrHash_Compare compare) {
  std::vector<StrHash_Entry> entries;
  if (table == nullptr) return entries;
  entries.reserve(table->entries);
  for (const Node* chain : table->buckets) {
    for (const Node* node = chain; node != nullptr; node = node->next) entries.push_back({node->key, node->value});
  }
  if (compare == nullptr) compare = CompareKeys;
  std::stable_sort(entries.begin(), entries.end(),
                   [compare](const StrHash_Entry& a, const StrHash_Entry& b) { return compare(a, b) < 0; });
  return entries;
}

StrHash_SortedIterator StrHash_CreateSortedIterator(StrHash table, StrHash_Compare compare) {
  if (table == nullptr) return nullptr;
  auto* iterator = new StrHash_SortedIteratorRec;
  for (const StrHash_Entry& entry : StrHash_SortEntries(table, compare)) {
    iterator->entries.push_back({nullptr, entry.key.Str(), entry.value});
  }
  return iterator;
}

bool StrHash_SortedIterate(StrHash_SortedIterator iterator, StrOut key, std::uintptr_t& value) {
  const bool more = iterator != nullptr && iterator->at < iterator->entries.size();
  value = Deliver(more ? &iterator->entries[iterator->at++] : nullptr, key);
  return more;
}

void StrHash_DestroyIterator(StrHash_SortedIterator& iterator) {
  delete iterator;
  iterator = nullptr;
}
