#include "base/SLnkList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>
#include <vector>

namespace {

struct Item {
  SLnkList_Link link;
  int key;
  int id;
};

Item* ItemOf(SLnkList_Link* link) { return reinterpret_cast<Item*>(link); }

int ByKey(const SLnkList_Link* a, const SLnkList_Link* b) {
  return reinterpret_cast<const Item*>(a)->key - reinterpret_cast<const Item*>(b)->key;
}

SLnkList_Link* Chain(const std::vector<Item*>& items) {
  SLnkList_Link* list = nullptr;
  for (auto it = items.rbegin(); it != items.rend(); ++it) {
    (*it)->link.next = list;
    list = &(*it)->link;
  }
  return list;
}

std::vector<int> Ids(SLnkList_Link* list) {
  std::vector<int> ids;
  for (; list != nullptr; list = list->next) ids.push_back(ItemOf(list)->id);
  return ids;
}

std::vector<int> Ids(const std::vector<Item*>& items) {
  std::vector<int> ids;
  for (const Item* item : items) ids.push_back(item->id);
  return ids;
}

// One insertion into a sorted vector, by the rules the list follows.
void ModelInsert(std::vector<Item*>& sorted, Item* item, SLnkList_Equal mode, std::vector<Item*>& leftOut) {
  auto equal = std::find_if(sorted.begin(), sorted.end(), [&](const Item* i) { return i->key == item->key; });
  if (mode != SLnkList_Equal::kKeep && equal != sorted.end()) {
    leftOut.push_back(mode == SLnkList_Equal::kReplace ? std::exchange(*equal, item) : item);
    return;
  }
  sorted.insert(std::upper_bound(sorted.begin(), sorted.end(), item,
                                 [](const Item* a, const Item* b) { return a->key < b->key; }),
                item);
}

constexpr SLnkList_Equal kModes[] = {SLnkList_Equal::kKeep, SLnkList_Equal::kReplace, SLnkList_Equal::kRefuse};

class SLnkListTest : public testing::Test {
 protected:
  // `count` fresh items with random keys below `keys`, ids counting on.
  std::vector<Item*> Fresh(std::size_t count, int keys) {
    std::vector<Item*> made;
    for (std::size_t i = 0; i < count; ++i) {
      store_.push_back({{}, static_cast<int>(random_() % keys), static_cast<int>(store_.size())});
      made.push_back(&store_.back());
    }
    return made;
  }

  std::mt19937 random_{17};
  std::deque<Item> store_;  // items stay put while more are made
};

}  // namespace

// Sorting a list, then merging a sorted one into it or inserting its records,
// gives what inserting the records one after another gives. What is left out
// comes back in order, except from sorting.
TEST_F(SLnkListTest, AddingIsRepeatedInsertion) {
  for (const SLnkList_Equal mode : kModes) {
    for (int round = 0; round < 60; ++round) {
      const std::vector<Item*> items = Fresh(random_() % 30, 8);
      std::vector<Item*> other, sorted, leftOut;
      for (Item* item : Fresh(random_() % 15, 8)) ModelInsert(other, item, SLnkList_Equal::kKeep, leftOut);
      for (Item* item : items) ModelInsert(sorted, item, mode, leftOut);
      SLnkList_Link* list = Chain(items);
      std::vector<int> left = Ids(SLnkList_Sort(list, ByKey, mode)), want = Ids(leftOut);
      EXPECT_EQ(Ids(list), Ids(sorted));
      EXPECT_TRUE(std::is_permutation(left.begin(), left.end(), want.begin(), want.end()));

      leftOut.clear();
      for (Item* item : other) ModelInsert(sorted, item, mode, leftOut);
      if (round % 2 == 0) {
        left = Ids(SLnkList_Merge(list, Chain(other), ByKey, mode));
      } else {
        left.clear();
        for (Item* item : other) {
          for (const int id : Ids(SLnkList_Insert(list, &item->link, ByKey, mode))) left.push_back(id);
        }
      }
      EXPECT_EQ(left, Ids(leftOut));
      EXPECT_EQ(Ids(list), Ids(sorted));
    }
  }
}

// Keys equal ids here: the list 0 1 2, and a twin of 2 with id 4.
TEST_F(SLnkListTest, AppendPrependFindRemoveReverse) {
  std::vector<Item*> items = Fresh(5, 1);
  for (Item* item : items) item->key = item->id;
  Item* twin = items[4];
  twin->key = 2;
  SLnkList_Link* list = Chain({items[0], items[1], items[2]});
  EXPECT_EQ(SLnkList_Append(list, &twin->link, ByKey, SLnkList_Equal::kRefuse), &twin->link);
  EXPECT_EQ(SLnkList_Prepend(list, &twin->link, ByKey, SLnkList_Equal::kRefuse), &twin->link);
  EXPECT_EQ(SLnkList_Prepend(list, &items[3]->link, ByKey, SLnkList_Equal::kRefuse), nullptr);
  EXPECT_EQ(SLnkList_Append(list, &twin->link, ByKey, SLnkList_Equal::kReplace), &items[2]->link);
  EXPECT_EQ(SLnkList_Append(list, &items[2]->link, ByKey, SLnkList_Equal::kKeep), nullptr);
  EXPECT_EQ(Ids(list), (std::vector<int>{3, 0, 1, 4, 2}));
  EXPECT_EQ(SLnkList_Find(list, &items[2]->link, ByKey), &twin->link);
  EXPECT_EQ(SLnkList_Find(list, &items[2]->link, nullptr), list);  // all equal

  EXPECT_TRUE(SLnkList_Remove(list, &items[3]->link));
  EXPECT_TRUE(SLnkList_Remove(list, &items[2]->link));
  EXPECT_FALSE(SLnkList_Remove(list, &items[2]->link));
  SLnkList_Reverse(list);
  EXPECT_EQ(Ids(list), (std::vector<int>{4, 1, 0}));
  EXPECT_EQ(SLnkList_Count(list), 3u);
  SLnkList_Link* empty = nullptr;
  SLnkList_Reverse(empty);
  EXPECT_EQ(SLnkList_Sort(empty, ByKey, SLnkList_Equal::kRefuse), nullptr);
  EXPECT_EQ(SLnkList_Find(empty, list, ByKey), nullptr);
}
