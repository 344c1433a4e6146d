#include "image/SACache.h"

#include <fcntl.h>
#include <unistd.h>

#include <list>
#include <memory>
#include <unordered_map>

namespace {

struct Page {
  std::uint64_t number;
  bool changed;
  std::unique_ptr<std::uint8_t[]> bytes;
};

// Moves `count` bytes at `at` through `transfer` (pread or pwrite), going on
// after partial transfers.
template <class Transfer, class Byte>
bool Whole(Transfer transfer, int descriptor, Byte* buffer, std::uint64_t count, std::uint64_t at) {
  while (count > 0) {
    const ssize_t moved = transfer(descriptor, buffer, count, static_cast<off_t>(at));
    if (moved <= 0) return false;
    buffer += moved;
    count -= static_cast<std::uint64_t>(moved);
    at += static_cast<std::uint64_t>(moved);
  }
  return true;
}

}  // namespace

bool SACache_ReadAt(int descriptor, std::uint64_t at, void* buffer, std::uint64_t count) {
  return Whole(::pread, descriptor, static_cast<std::uint8_t*>(buffer), count, at);
}

bool SACache_WriteAt(int descriptor, std::uint64_t at, const void* buffer, std::uint64_t count) {
  return Whole(::pwrite, descriptor, static_cast<const std::uint8_t*>(buffer), count, at);
}

struct SACache_Rec {
  int descriptor = -1;
  std::uint64_t base = 0;
  std::uint32_t pageSize = 0;
  std::uint32_t capacity = 0;
  bool writable = false;
  bool failed = false;  // a write-back failed on the way
  std::list<Page> pages;  // most recently used first
  std::unordered_map<std::uint64_t, std::list<Page>::iterator> index;

  std::uint64_t Offset(std::uint64_t page) const { return base + page * pageSize; }

  bool WriteBack(Page& page) {
    if (!page.changed) return true;
    page.changed = false;
    return SACache_WriteAt(descriptor, Offset(page.number), page.bytes.get(), pageSize);
  }
};

SACache SACache_Create(int descriptor, std::uint64_t base, std::uint32_t pageSize, std::uint32_t pages,
                       bool writable) {
  if (pageSize == 0 || pages == 0) return nullptr;
  auto* cache = new SACache_Rec;
  cache->descriptor = descriptor;
  cache->base = base;
  cache->pageSize = pageSize;
  cache->capacity = pages;
  cache->writable = writable;
  return cache;
}

bool SACache_Destroy(SACache& cache) {
  const bool flushed = SACache_Flush(cache);
  delete cache;
  cache = nullptr;
  return flushed;
}

std::uint8_t* SACache_Page(SACache cache, std::uint64_t page, bool change) {
  if (cache == nullptr) return nullptr;
  auto found = cache->index.find(page);
  if (found != cache->index.end()) {
    cache->pages.splice(cache->pages.begin(), cache->pages, found->second);
  } else {
    std::unique_ptr<std::uint8_t[]> bytes;
    if (cache->pages.size() >= cache->capacity) {
      Page& oldest = cache->pages.back();
      if (!cache->WriteBack(oldest)) cache->failed = true;
      cache->index.erase(oldest.number);
      bytes = std::move(oldest.bytes);
      cache->pages.pop_back();
    } else {
      bytes.reset(new std::uint8_t[cache->pageSize]);
    }
    if (!SACache_ReadAt(cache->descriptor, cache->Offset(page), bytes.get(), cache->pageSize)) return nullptr;
    cache->pages.push_front(Page{page, false, std::move(bytes)});
    cache->index[page] = cache->pages.begin();
  }
  Page& current = cache->pages.front();
  if (change && cache->writable) current.changed = true;
  return current.bytes.get();
}

bool SACache_Flush(SACache cache) {
  if (cache == nullptr) return true;
  bool ok = !cache->failed;
  cache->failed = false;
  for (Page& page : cache->pages) ok = cache->WriteBack(page) && ok;
  return ok;
}

void SACache_SequentialHint(SACache cache) {
  if (cache != nullptr) ::posix_fadvise(cache->descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
}
