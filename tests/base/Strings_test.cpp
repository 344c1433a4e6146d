#include "base/Strings.h"

#include <gtest/gtest.h>

TEST(Strings, FullArrayHasNoTerminator) {
  char full[4] = {'a', 'b', 'c', 'd'};
  EXPECT_EQ(Strings_Length(full), 4u);
  char dst[8];
  Strings_Assign(full, dst);
  EXPECT_STREQ(dst, "abcd");
}
