// StrHash: a hash table from texts to one machine word, with chained buckets.
//
// The walking order is part of the behaviour (files are written in it), so it
// is fixed: bucket order, then chain order. A key goes to bucket h mod size,
// h being h * 31 + byte over its bytes in unsigned 32-bit arithmetic; a new
// key joins the end of its chain. The bucket count is a power of two, and the
// table grows to four times its size when a put finds at least two entries
// per bucket, unless the table is being walked.
//
// The table owns its copies of the keys, never the values: a value that is an
// address stays its caller's. A value of 0 can't be told from a missing entry.
//
// Walks and the traversal mark: the table's own cursor (GetFirst, GetNext)
// and each iterator (CreateIterator) are walks. A walk holds the mark while it
// has entries left to hand out: from its start until it has delivered the
// last one; an iterator also lets go when it is destroyed. While any walk
// holds the mark, puts don't grow the table, so every walk keeps its place.
// A cursor walk left half-way keeps the mark until a later cursor walk runs
// out: lookups stay right, only the chains get longer. Removing an entry
// during walks is safe: a walk standing on it moves past it first. A key put
// during a walk may or may not be met by that walk, depending on where its
// chain lies. Sorted iterators walk a sorted copy and hold no mark.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/Strings.h"

struct StrHash_Rec;
using StrHash = StrHash_Rec*;
struct StrHash_IteratorRec;
using StrHash_Iterator = StrHash_IteratorRec*;
struct StrHash_SortedIteratorRec;
using StrHash_SortedIterator = StrHash_SortedIteratorRec*;

// One entry as the comparison and SortEntries see it. `key` is the table's own
// copy: valid until the entry is removed or the table destroyed.
struct StrHash_Entry {
  StrIn key;
  std::uintptr_t value;
};

// Negative when `a` goes first, positive when `b` does, 0 when they are equal
// (equal entries keep their walking order). nullptr sorts by key bytes.
using StrHash_Compare = int (*)(const StrHash_Entry& a, const StrHash_Entry& b);

// --- Create and destroy ------------------------------------------------------

// The empty handle: every routine accepts it and answers empty.
StrHash StrHash_Nil();
// A new, empty table of `size` buckets rounded up to a power of two of at
// least 2. The caller owns it.
StrHash StrHash_CreateTable(std::size_t size);
// Frees the table and its keys (not the values) and sets `table` to nil; nil
// is accepted. Iterators still open on it answer the end from then on.
void StrHash_DestroyTable(StrHash& table);

// --- Entries -----------------------------------------------------------------

// Enters `value` under a copy of `key`, replacing the value of an equal key.
// Nothing for nil.
void StrHash_PutEntry(StrHash table, StrIn key, std::uintptr_t value);
// The value under `key`; 0 when missing or for nil.
std::uintptr_t StrHash_GetEntry(StrHash table, StrIn key);
// The same lookup, under the name that callers use for literal keys.
std::uintptr_t StrHash_GetConstEntry(StrHash table, StrIn key);
// Removes the entry of `key`; its value stays the caller's. False when there
// was none.
bool StrHash_DestroyEntry(StrHash table, StrIn key);
// The number of entries; 0 for nil.
std::size_t StrHash_Entries(StrHash table);

// --- The table's cursor ------------------------------------------------------

// Starts a walk: the first entry's key into `key` (cut at its bound) and its
// value. An empty or nil table gives an empty key, 0, and AtEnd.
std::uintptr_t StrHash_GetFirst(StrHash table, StrOut key);
// The next entry of the walk, like GetFirst; past the last, or with no walk
// started, an empty key, 0, and AtEnd.
std::uintptr_t StrHash_GetNext(StrHash table, StrOut key);
// True unless the last GetFirst or GetNext delivered an entry; true for nil.
bool StrHash_AtEnd(StrHash table);

// --- Iterators ---------------------------------------------------------------

// A walk of its own over the table, holding the mark until it reaches the end
// or is destroyed; nil for a nil table. The caller owns it.
StrHash_Iterator StrHash_CreateIterator(StrHash table);
// The next entry into `key` (cut at its bound) and `value`; false, with an
// empty key and 0, at the end or for nil.
bool StrHash_Iterate(StrHash_Iterator iterator, StrOut key, std::uintptr_t& value);
// Frees the iterator and sets it to nil; nil is accepted.
void StrHash_DestroyIterator(StrHash_Iterator& iterator);

// --- Sorted walks --------------------------------------------------------------

// All entries, sorted by `compare`; empty for nil. The keys are the table's
// (see StrHash_Entry).
std::vector<StrHash_Entry> StrHash_SortEntries(StrHash table, StrHash_Compare compare);
// An iterator over a sorted copy of the entries taken now: later changes to
// the table are not seen, and the table may be destroyed first. Nil for a nil
// table. The caller owns it.
StrHash_SortedIterator StrHash_CreateSortedIterator(StrHash table, StrHash_Compare compare);
// The next entry of the copy, like StrHash_Iterate.
bool StrHash_SortedIterate(StrHash_SortedIterator iterator, StrOut key, std::uintptr_t& value);
// Frees the sorted iterator and sets it to nil; nil is accepted.
void StrHash_DestroyIterator(StrHash_SortedIterator& iterator);
