#include "base/Vector.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

// The typed forms carry the whole range of their elements through words.
TEST(Vector, GrowsAndKeepsTypedElements) {
  IntVector ints = IntVector_Create(2);
  for (const std::intptr_t i : std::vector<std::intptr_t>{-1, INTPTR_MIN, INTPTR_MAX, 0}) IntVector_Append(ints, i);
  EXPECT_EQ(IntVector_Get(ints, 1), INTPTR_MIN);
  EXPECT_EQ(IntVector_Find(ints, INTPTR_MAX), 2u);
  EXPECT_EQ(IntVector_Find(ints, 5), 4u);
  EXPECT_TRUE(IntVector_Remove(ints, 0));
  EXPECT_FALSE(IntVector_Remove(ints, 3));
  IntVector_Put(ints, 5, -7);  // the gap is zeros
  EXPECT_EQ(IntVector_Count(ints), 6u);
  EXPECT_EQ(IntVector_Get(ints, 0), INTPTR_MIN);
  EXPECT_EQ(IntVector_Get(ints, 4), 0);
  EXPECT_EQ(IntVector_Get(ints, 5), -7);
  EXPECT_EQ(IntVector_Get(ints, 6), 0);
  IntVector_SetCount(ints, 1);
  EXPECT_EQ(IntVector_Count(ints), 1u);
  IntVector_Destroy(ints);
  EXPECT_EQ(ints, nullptr);

  int cells[3];
  AdrVector addresses = AdrVector_Create(0);
  for (int& cell : cells) AdrVector_Append(addresses, &cell);
  EXPECT_EQ(AdrVector_Get(addresses, 2), &cells[2]);
  EXPECT_EQ(AdrVector_Find(addresses, &cells[1]), 1u);
  AdrVector_Destroy(addresses);
}
