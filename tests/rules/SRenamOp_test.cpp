#include "rules/SRenamOp.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A segment owned by the test.
struct Segment {
  SRenamOp s;
  Segment(bool isString, bool isSrc) : s(SRenamOp_Create(isString, isSrc)) {}
  ~Segment() { SRenamOp_Destroy(s); }
};

std::vector<std::uint32_t> Lengths(SRenamOp s) {
  std::vector<std::uint32_t> lengths;
  std::uint32_t n = 0;
  for (bool more = SRenamOp_GetFirstLength(s, n); more; more = SRenamOp_GetNextLength(s, n)) lengths.push_back(n);
  return lengths;
}

void Collect(StrIn variant, void* data) { static_cast<std::vector<std::string>*>(data)->push_back(variant.Str()); }

}  // namespace

TEST(SRenamOp, LengthIsARangeUntilAFixedLengthTurnsItIntoAList) {
  const Segment seg(false, true);
  std::uint32_t low = 0, high = 0;
  ASSERT_TRUE(SRenamOp_GetRange(seg.s, low, high));
  EXPECT_EQ(std::make_pair(low, high), std::make_pair(1u, 1u));
  SRenamOp_SetRange(seg.s, 20, 3);
  SRenamOp_GetRange(seg.s, low, high);
  EXPECT_EQ(std::make_pair(low, high), std::make_pair(3u, 20u));
  EXPECT_TRUE(Lengths(seg.s).empty());

  for (const std::uint32_t n : {4u, 2u, 4u, 9u}) SRenamOp_AddFixedLength(seg.s, n);
  EXPECT_FALSE(SRenamOp_IsRange(seg.s));
  EXPECT_EQ(Lengths(seg.s), (std::vector<std::uint32_t>{2, 4, 9}));
  // Range calls leave a list alone.
  EXPECT_FALSE(SRenamOp_GetRange(seg.s, low, high));
  EXPECT_EQ(SRenamOp_error, SRenamOp_kNotRange);
  EXPECT_FALSE(SRenamOp_SetRange(seg.s, 1, 2));
  EXPECT_EQ(Lengths(seg.s), (std::vector<std::uint32_t>{2, 4, 9}));
}

TEST(SRenamOp, TypeDataBelongToTheirKeywordFamily) {
  const Segment seg(false, true);
  ASSERT_TRUE(SRenamOp_SetCharProperties(seg.s, SRenamOp_kLetter, SRenamOp_kDigit));
  EXPECT_FALSE(SRenamOp_SetNumRange(seg.s, 1, 9));
  EXPECT_EQ(SRenamOp_error, SRenamOp_kNotNumerical);
  EXPECT_FALSE(SRenamOp_SetFixContent(seg.s, "_"));
  EXPECT_EQ(SRenamOp_error, SRenamOp_kNotDelimiter);
  EXPECT_FALSE(SRenamOp_AddVariant(seg.s, "C"));
  EXPECT_EQ(SRenamOp_error, SRenamOp_kNotVariant);

  // Within a family the data stay; across families they are reset.
  std::uint8_t first = 0, last = 0;
  SRenamOp_SetKeyword(seg.s, SRenamOp_kName2);
  ASSERT_TRUE(SRenamOp_GetCharProperties(seg.s, first, last));
  EXPECT_EQ(first, SRenamOp_kLetter);
  SRenamOp_SetKeyword(seg.s, SRenamOp_kNum1);
  EXPECT_FALSE(SRenamOp_GetCharProperties(seg.s, first, last));
  EXPECT_EQ(SRenamOp_error, SRenamOp_kNotCharType);
  std::uint32_t low = 0, high = 0;
  SRenamOp_SetNumRange(seg.s, 99, 1);
  SRenamOp_SetNumParity(seg.s, SRenamOp_kOdd);
  SRenamOp_SetKeyword(seg.s, SRenamOp_kCounter);
  SRenamOp_GetNumRange(seg.s, low, high);
  EXPECT_EQ(std::make_pair(low, high), std::make_pair(1u, 99u));
  SRenamOp_SetKeyword(seg.s, SRenamOp_kDelimiter);
  SRenamOp_SetKeyword(seg.s, SRenamOp_kDigits);
  SRenamOp_GetNumRange(seg.s, low, high);
  EXPECT_EQ(std::make_pair(low, high), std::make_pair(SRenamOp_kNumLow, SRenamOp_kNumHigh));
  EXPECT_EQ(SRenamOp_GetNumParity(seg.s), SRenamOp_kAnyParity);
}

TEST(SRenamOp, VariantsSetTheRange) {
  const Segment seg(false, true);
  SRenamOp_SetKeyword(seg.s, SRenamOp_kVariant);
  for (const char* v : {"CM", "K", "CYAN", "K"}) ASSERT_TRUE(SRenamOp_AddVariant(seg.s, StrIn::C(v)));
  std::vector<std::string> variants;
  SRenamOp_IterateVariants(seg.s, Collect, &variants);
  EXPECT_EQ(variants, (std::vector<std::string>{"CM", "K", "CYAN"}));
  std::uint32_t low = 0, high = 0;
  SRenamOp_GetRange(seg.s, low, high);
  EXPECT_EQ(std::make_pair(low, high), std::make_pair(1u, 4u));
  SRenamOp_RemoveVariant(seg.s, "CYAN");
  SRenamOp_GetRange(seg.s, low, high);
  EXPECT_EQ(std::make_pair(low, high), std::make_pair(1u, 2u));
}
