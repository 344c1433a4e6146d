// WFmodule: the file list that packing fills. Paths are kept in insertion
// order, unique through a hash of 64 buckets; their texts live in a heap of
// the list's own, a first block of 8192 bytes followed by blocks of 4096.
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "workflow/WFmodule.h"

namespace {

constexpr std::size_t kBuckets = 64;
constexpr std::size_t kFirstBlock = 8192;
constexpr std::size_t kNextBlock = 4096;
constexpr std::int32_t kNone = -1;

std::size_t BucketOf(std::string_view text) {
  std::uint32_t hash = 2166136261u;
  for (unsigned char c : text) hash = (hash ^ c) * 16777619u;
  return hash % kBuckets;
}

}  // namespace

struct WFmodule_FileListRec {
  struct Entry {
    std::string_view path;  // in the heap below
    bool flag;
    std::int32_t nextInBucket;
  };

  std::vector<std::unique_ptr<char[]>> blocks;
  std::size_t blockSize = 0;
  std::size_t blockUsed = 0;
  std::vector<Entry> entries;
  std::int32_t buckets[kBuckets];
  std::size_t cursor = 0;

  WFmodule_FileListRec() {
    for (std::int32_t& head : buckets) head = kNone;
    Grow(kFirstBlock);
  }

  void Grow(std::size_t size) {
    blocks.push_back(std::make_unique<char[]>(size));
    blockSize = size;
    blockUsed = 0;
  }

  // A copy of `text` in the heap.
  std::string_view Keep(std::string_view text) {
    if (blockSize - blockUsed < text.size()) {
      Grow(text.size() > kNextBlock ? text.size() : kNextBlock);
    }
    char* place = blocks.back().get() + blockUsed;
    std::memcpy(place, text.data(), text.size());
    blockUsed += text.size();
    return {place, text.size()};
  }

  std::int32_t Find(std::string_view path, std::size_t bucket) const {
    for (std::int32_t index = buckets[bucket]; index != kNone;
         index = entries[static_cast<std::size_t>(index)].nextInBucket) {
      if (entries[static_cast<std::size_t>(index)].path == path) return index;
    }
    return kNone;
  }
};

WFmodule_FileList WFmodule_CreateFileList() { return new WFmodule_FileListRec; }

void WFmodule_DestroyFileList(WFmodule_FileList& list) {
  delete list;
  list = nullptr;
}

WFmodule_FileList WFmodule_NilFileList() { return nullptr; }

bool WFmodule_HasFile(WFmodule_FileList list, StrIn path) {
  if (list == nullptr) return false;
  const std::string_view text = path.View();
  return list->Find(text, BucketOf(text)) != kNone;
}

void WFmodule_AddFile(WFmodule_FileList list, StrIn path, bool flag) {
  const std::string_view text = path.View();
  if (list == nullptr || text.empty()) return;
  const std::size_t bucket = BucketOf(text);
  if (list->Find(text, bucket) != kNone) return;
  list->entries.push_back({list->Keep(text), flag, list->buckets[bucket]});
  list->buckets[bucket] = static_cast<std::int32_t>(list->entries.size() - 1);
}

bool WFmodule_IterateFiles(WFmodule_FileList list, bool restart, StrOut path, bool& flag) {
  path.Clear();
  flag = false;
  if (list == nullptr) return false;
  if (restart) list->cursor = 0;
  if (list->cursor >= list->entries.size()) return false;
  const WFmodule_FileListRec::Entry& entry = list->entries[list->cursor++];
  Strings_Assign(std::string(entry.path), path);
  flag = entry.flag;
  return true;
}
