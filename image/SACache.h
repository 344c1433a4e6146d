// SACache: a page cache over a region of an open file, for files that are
// not mapped. Pages are of one fixed size and numbered from the region's
// start; the cache keeps at most a given number of them and gives the least
// recently used one back first, writing it out when it was changed.
//
// Pages past the end of the file read as an error (a short file is a damaged
// one), so a new file must have its full size before its pages are used.
#pragma once

#include <cstdint>

struct SACache_Rec;
using SACache = SACache_Rec*;

// A cache of `pages` pages of `pageSize` bytes over the file `descriptor`
// from byte `base`; pages are written back when `writable`. The caller owns
// the cache, not the descriptor. Nil for a page size or count of 0.
SACache SACache_Create(int descriptor, std::uint64_t base, std::uint32_t pageSize, std::uint32_t pages,
                       bool writable);
// Writes changed pages back and frees the cache; false when a write failed.
// Nil is accepted; the handle is set to nil.
bool SACache_Destroy(SACache& cache);

// The bytes of page `page`, read on first use; valid until the next call on
// the cache. `change` marks the page as changed (only in a writable cache).
// nullptr when the page could not be read whole, or for nil.
std::uint8_t* SACache_Page(SACache cache, std::uint64_t page, bool change);
// Writes every changed page back; false when a write failed.
bool SACache_Flush(SACache cache);
// Tells the system that the file will be read from front to back.
void SACache_SequentialHint(SACache cache);

// Reads or writes `count` bytes at byte `at` of a file, going on after
// partial transfers; false when the file ended or the system refused.
bool SACache_ReadAt(int descriptor, std::uint64_t at, void* buffer, std::uint64_t count);
bool SACache_WriteAt(int descriptor, std::uint64_t at, const void* buffer, std::uint64_t count);
