#include "base/SIdPool.h"

#include <gtest/gtest.h>

#include <string>

TEST(SIdPool, SameTextSameNumber) {
  const unsigned name = SIdPool_EnterId("NAME");
  EXPECT_NE(name, SIdPool_NoName);
  EXPECT_EQ(SIdPool_EnterId(std::string("NAME")), name);
  EXPECT_NE(SIdPool_EnterId("Name"), name);  // case counts
  EXPECT_EQ(SIdPool_EnterId(""), SIdPool_NoName);
  EXPECT_EQ(SIdPool_IdText(SIdPool_NoName).Str(), "");

  const std::size_t count = SIdPool_Count();
  EXPECT_EQ(SIdPool_FindId("NEVER_ENTERED"), SIdPool_NoName);
  EXPECT_EQ(SIdPool_Count(), count);
  EXPECT_EQ(SIdPool_FindId("NAME"), name);
  EXPECT_EQ(SIdPool_EnterId("FRESH"), count);  // numbers rise from the last one handed out
}

TEST(SIdPool, TextsStayPutAndAreCutAtTheirBound) {
  const unsigned id = SIdPool_EnterId("a_rather_long_identifier");
  const StrIn text = SIdPool_IdText(id);
  for (int i = 0; i < 1000; ++i) SIdPool_EnterId("filler" + std::to_string(i));
  EXPECT_EQ(SIdPool_IdText(id).Data(), text.Data());
  EXPECT_EQ(text.Str(), "a_rather_long_identifier");

  char shortName[7];
  SIdPool_GetId(id, shortName);
  EXPECT_EQ(std::string(shortName, 7), "a_rathe");
  NameStr name = "old";
  SIdPool_GetId(static_cast<unsigned>(SIdPool_Count()), name);
  EXPECT_STREQ(name, "");
}

TEST(SIdPool, SavedPoolsTranslateIntoThisOne) {
  StrVector saved = StrVector_Create();
  for (const char* text : {"", "BOOLEAN", "neverSeenBefore"}) StrVector_AddElement(saved, StrIn::C(text));
  EXPECT_EQ(SIdPool_TranslateId(saved, 0), SIdPool_NoName);
  EXPECT_EQ(SIdPool_TranslateId(saved, 1), SIdPool_EnterId("BOOLEAN"));
  const unsigned fresh = SIdPool_TranslateId(saved, 2);
  EXPECT_EQ(SIdPool_IdText(fresh).Str(), "neverSeenBefore");
  EXPECT_EQ(SIdPool_TranslateId(saved, 3), SIdPool_NoName);
  EXPECT_EQ(SIdPool_TranslateId(StrVector_Nil(), 1), SIdPool_NoName);
  StrVector_Destroy(saved);
}
