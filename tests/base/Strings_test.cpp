#include "base/Strings.h"

#include <gtest/gtest.h>

TEST(Strings, FullArrayHasNoTerminator) {
  char full[4] = {'a', 'b', 'c', 'd'};
  EXPECT_EQ(Strings_Length(full), 4u);
  char dst[8];
  Strings_Assign(full, dst);
  EXPECT_STREQ(dst, "abcd");
}

TEST(Strings, InsertIsRefusedRatherThanCut) {
  char s[6] = "abc";
  Strings_Insert("XY", s, 1);  // 5 characters fit exactly, without terminator
  EXPECT_EQ(std::string(s, 5), "aXYbc");
  char t[5] = "abcd";
  Strings_Insert("XY", t, 0);  // one byte too little room
  EXPECT_STREQ(t, "abcd");
  Strings_Insert("", t, 0);
  EXPECT_STREQ(t, "abcd");
  Strings_Insert("!", t, 99);  // past the end: appended, filling the array
  EXPECT_EQ(std::string(t, 5), "abcd!");
}

TEST(Strings, ConcatCutsAndMayReadItsOwnDestination) {
  char s[8] = "abc";
  Strings_Concat(s, s, s);
  EXPECT_STREQ(s, "abcabc");
  Strings_Concat(s, "12345", s);  // cut at the bound, no terminator
  EXPECT_EQ(std::string(s, 8), "abcabc12");
  EXPECT_EQ(Strings_Length(s), 8u);
  char big[kTextCap + 100];
  std::string text(kTextCap + 50, 'x');
  Strings_Assign(text, big);
  Strings_Concat("", big, big);  // an aliased b is copied aside through 5120 bytes
  EXPECT_EQ(Strings_Length(big), kTextCap);
}

TEST(Strings, CopyDeleteAndSearch) {
  char s[8] = "hello";
  char part[8];
  Strings_Copy(s, 3, 4, part);  // "lo" then zero bytes from behind the terminator
  EXPECT_STREQ(part, "lo");
  Strings_Copy(s, 1, 3, s);
  EXPECT_STREQ(s, "ell");
  Strings_Delete(s, 1, 99);
  EXPECT_STREQ(s, "e");
  Strings_Delete(s, 5, 1);
  EXPECT_STREQ(s, "e");

  char text[16] = "abcabc";
  EXPECT_EQ(Strings_Pos("bc", text), 1u);
  EXPECT_EQ(Strings_Pos("", text), 0u);
  EXPECT_EQ(Strings_Pos("x", text), 16u);  // high bound plus one
  EXPECT_EQ(Strings_LastPos("bc", text), 4u);
  EXPECT_EQ(Strings_LastPos("", text), 5u);
  EXPECT_EQ(Strings_LastPos("a", ""), 1u);
  EXPECT_EQ(Strings_CompareStr("ab", "abc"), -1);
  EXPECT_EQ(Strings_CompareStr("\xe4", "z"), 1);  // unsigned bytes
  EXPECT_TRUE(Strings_Equal(std::string("same"), "same"));
}
