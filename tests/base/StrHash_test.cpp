#include "base/StrHash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using Keys = std::vector<std::string>;

// The walking order as a plain list: a new key goes behind the keys of its
// bucket; growth re-sorts stably by the new buckets, as re-hashing the chains
// in bucket order does.
class Model {
 public:
  explicit Model(std::size_t buckets) : buckets_(buckets) {}

  void Put(const std::string& key, bool walking) {
    if (keys_.size() >= 2 * buckets_ && !walking) buckets_ *= 4;
    if (std::find(keys_.begin(), keys_.end(), key) == keys_.end()) keys_.push_back(key);
    std::stable_sort(keys_.begin(), keys_.end(),
                     [this](const auto& a, const auto& b) { return Bucket(a) < Bucket(b); });
  }
  bool Remove(const std::string& key) { return std::erase(keys_, key) > 0; }
  const Keys& Order() const { return keys_; }

 private:
  std::size_t Bucket(const std::string& key) const {
    std::uint32_t h = 0;
    for (unsigned char c : key) h = h * 31 + c;
    return h % buckets_;
  }

  std::size_t buckets_;
  Keys keys_;
};

Keys CursorWalk(StrHash table) {
  Keys keys;
  NameStr key;
  for (StrHash_GetFirst(table, key); !StrHash_AtEnd(table); StrHash_GetNext(table, key)) keys.push_back(key);
  return keys;
}

Keys Drain(StrHash_Iterator iterator) {
  Keys keys;
  NameStr key;
  std::uintptr_t value;
  while (StrHash_Iterate(iterator, key, value)) keys.push_back(key);
  return keys;
}

Keys IteratorWalk(StrHash table) {
  StrHash_Iterator iterator = StrHash_CreateIterator(table);
  Keys keys = Drain(iterator);
  StrHash_DestroyIterator(iterator);
  return keys;
}

// High bytes too: with more than 256 buckets, bytes read as signed would
// land elsewhere.
std::string RandomKey(std::mt19937& random) {
  std::string key(random() % 6, ' ');
  for (char& c : key) c = static_cast<char>(1 + random() % 255);
  return key;
}

}  // namespace

// By hand: "a".."e" are 97..101. In 2 buckets the chains are b d and a c; the
// fifth put finds 4 entries in 2 buckets and first grows to 8. Keys are the
// caller's text up to its bound, copied; "" lies in bucket 0.
TEST(StrHash, WalksBucketsThenChainsAndGrowsByFour) {
  StrHash table = StrHash_CreateTable(2);
  for (const char* key : {"a", "b", "c", "d"}) StrHash_PutEntry(table, StrIn::C(key), 1);
  EXPECT_EQ(CursorWalk(table), (Keys{"b", "d", "a", "c"}));
  EXPECT_EQ(IteratorWalk(table), (Keys{"b", "d", "a", "c"}));
  char text[8] = "eX";
  StrHash_PutEntry(table, StrIn(text, 0), 1);
  EXPECT_EQ(CursorWalk(table), (Keys{"a", "b", "c", "d", "e"}));
  text[0] = 'f';
  StrHash_PutEntry(table, StrIn(text, 0), 2);
  StrHash_PutEntry(table, "", 3);
  StrHash_PutEntry(table, StrIn("fY", 0), 4);  // the same key
  EXPECT_EQ(CursorWalk(table), (Keys{"", "a", "b", "c", "d", "e", "f"}));
  EXPECT_EQ(StrHash_GetEntry(table, "f") + StrHash_GetEntry(table, "e"), 5u);
  StrHash_DestroyTable(table);
}

// Random puts, replacements and removals, for sizes that round differently
// and across several growths.
TEST(StrHash, WalkingOrderFollowsTheModel) {
  std::mt19937 random(5);
  for (const auto& [size, buckets] :
       std::map<std::size_t, std::size_t>{{0, 2}, {1, 2}, {3, 4}, {1024, 1024}, {1025, 2048}}) {
    StrHash table = StrHash_CreateTable(size);
    Model model(buckets);
    std::map<std::string, std::uintptr_t> values;
    for (std::uintptr_t round = 1; round <= 1500; ++round) {
      const std::string key = RandomKey(random);
      if (random() % 5 == 0) {
        EXPECT_EQ(StrHash_DestroyEntry(table, key), model.Remove(key));
        values.erase(key);
      } else {
        StrHash_PutEntry(table, key, round);
        model.Put(key, false);
        values[key] = round;
      }
    }
    EXPECT_EQ(CursorWalk(table), model.Order()) << "size " << size;
    EXPECT_EQ(IteratorWalk(table), model.Order()) << "size " << size;
    EXPECT_EQ(StrHash_Entries(table), values.size());
    for (const auto& [key, value] : values) EXPECT_EQ(StrHash_GetConstEntry(table, key), value);
    StrHash_DestroyTable(table);
  }
}

// Puts don't grow a table while a walk has entries left: a cursor walk left
// half-way until a later one runs out, an iterator until it has run out or is
// destroyed. Then the first put grows it once, by four. An iterator meets
// every old entry once, whatever is put meanwhile.
TEST(StrHash, WalkedTableDoesNotGrow) {
  std::mt19937 random(11);
  StrHash table = StrHash_CreateTable(2);
  Model model(2);
  auto put = [&](const std::string& key, bool walking) {
    StrHash_PutEntry(table, key, 1);
    model.Put(key, walking);
  };
  for (const char* k : {"a", "b", "c", "d", "e", "f"}) put(k, false);
  NameStr key;
  std::uintptr_t value;
  StrHash_GetFirst(table, key);
  for (int i = 0; i < 100; ++i) put(RandomKey(random) + "+", true);
  EXPECT_EQ(CursorWalk(table), model.Order()) << "grew under a cursor walk";

  const Keys old = model.Order();
  StrHash_Iterator iterator = StrHash_CreateIterator(table);
  StrHash_Iterate(iterator, key, value);
  Keys seen = {key};
  for (int i = 0; i < 100; ++i) put(RandomKey(random) + "-", true);
  for (const std::string& k : Drain(iterator)) seen.push_back(k);
  for (const std::string& k : old) EXPECT_EQ(std::count(seen.begin(), seen.end(), k), 1) << k;
  EXPECT_EQ(std::set<std::string>(seen.begin(), seen.end()).size(), seen.size());
  EXPECT_EQ(CursorWalk(table), model.Order()) << "grew under an iterator";
  put("y", false);
  EXPECT_EQ(CursorWalk(table), model.Order()) << "did not grow after the walks";
  StrHash_DestroyIterator(iterator);

  iterator = StrHash_CreateIterator(table);
  put("z", true);
  StrHash_DestroyIterator(iterator);
  put("w", false);
  EXPECT_EQ(CursorWalk(table), model.Order()) << "did not grow after the iterator went";
  StrHash_DestroyTable(table);
}

// Removing the entry a walk stands on, the one it has just delivered, or the
// last, leaves the walk on the entries that remain.
TEST(StrHash, RemovingDuringWalks) {
  StrHash table = StrHash_CreateTable(2);
  for (int i = 0; i < 8; ++i) StrHash_PutEntry(table, "e" + std::to_string(i), 1);
  const Keys order = CursorWalk(table);
  StrHash_Iterator iterator = StrHash_CreateIterator(table);
  NameStr key;
  std::uintptr_t value;
  StrHash_Iterate(iterator, key, value);
  for (const int gone : {0, 1, 7}) StrHash_DestroyEntry(table, order[gone]);
  EXPECT_EQ(Drain(iterator), (Keys{order[2], order[3], order[4], order[5], order[6]}));

  StrHash_DestroyIterator(iterator);
  iterator = StrHash_CreateIterator(table);
  StrHash_DestroyTable(table);
  EXPECT_TRUE(Drain(iterator).empty());  // its table has gone
  StrHash_DestroyIterator(iterator);
}

// Enough entries with equal values that an unstable sort would show.
TEST(StrHash, SortedWalks) {
  StrHash table = StrHash_CreateTable(4);
  std::map<std::string, std::uintptr_t> values;
  for (int i = 0; i < 40; ++i) values["k" + std::to_string(i * 7 % 40)] = i % 3 + 1;
  for (const auto& [key, value] : values) StrHash_PutEntry(table, key, value);
  Keys byKey, expected = CursorWalk(table);
  for (const StrHash_Entry& entry : StrHash_SortEntries(table, nullptr)) byKey.push_back(entry.key.Str());
  EXPECT_TRUE(std::is_sorted(byKey.begin(), byKey.end()) && byKey.size() == expected.size());

  // Descending values; equal values keep the walking order.
  auto descending = [](const StrHash_Entry& a, const StrHash_Entry& b) { return static_cast<int>(b.value - a.value); };
  std::stable_sort(expected.begin(), expected.end(),
                   [&](const auto& a, const auto& b) { return values[a] > values[b]; });
  StrHash_SortedIterator sorted = StrHash_CreateSortedIterator(table, descending);
  StrHash_DestroyEntry(table, "k3");  // the copy does not see it go
  StrHash_DestroyTable(table);
  Keys walked;
  NameStr key;
  std::uintptr_t value;
  while (StrHash_SortedIterate(sorted, key, value)) {
    walked.push_back(key);
    EXPECT_EQ(value, values[key]);
  }
  EXPECT_EQ(walked, expected);
  StrHash_DestroyIterator(sorted);
}
