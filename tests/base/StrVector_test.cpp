#include "base/StrVector.h"

#include <gtest/gtest.h>

#include <string>

#include "base/StringOp.h"

TEST(StrVector, OwnsCopiesThatStayPut) {
  StrVector v = StrVector_Create();
  NameStr text = "first";
  StrVector_AddElement(v, text);
  Strings_Assign("changed", text);
  const char* first = StrVector_GetDynElement(v, 0);
  for (int i = 0; i < 100; ++i) StrVector_AddElement(v, std::to_string(i));
  EXPECT_EQ(StrVector_GetDynElement(v, 0), first);
  EXPECT_STREQ(first, "first");
  EXPECT_EQ(StrVector_DynElementAt(v, 100).Str(), "99");
  EXPECT_EQ(StrVector_GetDynElement(v, 101), nullptr);

  StrVector copy = StrVector_Copy(v);
  StrVector_Destroy(v);
  EXPECT_EQ(v, nullptr);
  EXPECT_EQ(StrVector_ElementCount(copy), 101u);
  EXPECT_EQ(StrVector_DynElementAt(copy, 0).Str(), "first");
  StrVector_Destroy(copy);
}

TEST(StrVector, GetElementNeedsRoomForTheWholeElement) {
  StrVector v = StrVector_Create();
  StrVector_AddElement(v, "abcd");
  char exact[4];
  EXPECT_TRUE(StrVector_GetElement(v, 0, exact));
  EXPECT_EQ(std::string(exact, 4), "abcd");
  char tooShort[3] = "xy";
  EXPECT_FALSE(StrVector_GetElement(v, 0, tooShort));
  EXPECT_STREQ(tooShort, "");
  EXPECT_FALSE(StrVector_GetElement(v, 1, exact));
  StrVector_Destroy(v);
}

// Splitting must give what NumTokens counts and NextToken takes.
TEST(StrVector, SplitAgreesWithNextToken) {
  for (const std::string text : {"", ":", "a:b", "a\\:b:c:", "\\\\:x", "::y::"}) {
    StrVector v = StrVector_SplitString(text, ':');
    const std::size_t count = StringOp_NumTokens(text, ':');
    ASSERT_EQ(StrVector_ElementCount(v), count) << text;
    TextStr rest, token;
    Strings_Assign(text, rest);
    for (std::size_t i = 0; i < count; ++i) {
      StringOp_NextToken(rest, ':', token);
      EXPECT_EQ(StrVector_DynElementAt(v, i).Str(), StrIn(token).Str()) << text << " #" << i;
    }
    StrVector_Destroy(v);
  }
}
