#include "base/SDynArr.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Record {
  int number;
  char name[12];
};

std::string Describe(SDynArr array) {
  std::string text;
  Record record;
  for (std::size_t i = 0; SDynArr_Get(array, i, &record); ++i) {
    text += std::to_string(record.number) + record.name + " ";
  }
  return text;
}

}  // namespace

TEST(SDynArr, RecordsGrowMoveAndShrink) {
  SDynArr array = SDynArr_Create(sizeof(Record), 1);
  for (int i = 0; i < 3; ++i) {
    const Record record{i, "r"};
    EXPECT_EQ(SDynArr_Append(array, &record), static_cast<std::size_t>(i));
  }
  const Record far{9, "far"};
  SDynArr_Put(array, 5, &far);  // the gap is zeroed records
  EXPECT_EQ(Describe(array), "0r 1r 2r 0 0 9far ");
  static_cast<Record*>(SDynArr_At(array, 3))->number = 7;
  SDynArr_Put(array, 0, nullptr);
  EXPECT_TRUE(SDynArr_Remove(array, 1));
  EXPECT_FALSE(SDynArr_Remove(array, 5));
  EXPECT_EQ(Describe(array), "0 2r 7 0 9far ");
  SDynArr_SetCount(array, 2);
  SDynArr_SetCount(array, 3);
  EXPECT_EQ(Describe(array), "0 2r 0 ");
  EXPECT_EQ(SDynArr_At(array, 3), nullptr);
  SDynArr_Destroy(array);
  EXPECT_EQ(array, nullptr);
}
