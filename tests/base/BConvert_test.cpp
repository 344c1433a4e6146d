#include "base/BConvert.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

std::string Real(double value, int width, int precision) {
  NameStr text = "";
  BConvert_RealToStr(text, value, width, precision);
  return text;
}

std::string Pretty(double value) {
  NameStr text = "";
  BConvert_PrettyRealToStr(text, value);
  return text;
}

}  // namespace

TEST(BConvert, ToTextAppends) {
  char text[32] = "n=";
  BConvert_CardToStr(text, 42, 5);
  EXPECT_TRUE(BConvert_done);
  BConvert_Int64ToStr(text, INT64_MIN, 0);
  EXPECT_STREQ(text, "n=   42-9223372036854775808");
  char twice[8] = "abc";
  BConvert_StrToStr(twice, twice, 4);
  EXPECT_STREQ(twice, "abc abc");

  // Decimal is cut at the bound (the full array has no terminator) ...
  char small[4] = "ab";
  BConvert_CardToStr(small, 12345, 0);
  EXPECT_FALSE(BConvert_done);
  EXPECT_EQ(std::string(small, 4), "ab12");
  // ... hex is all or nothing.
  char hex[8] = "0x";
  BConvert_CardToStrInHex(hex, 0x1f, 4);
  EXPECT_STREQ(hex, "0x001F");
  BConvert_CardToStrInHex(hex, 0xABCDEF, 0);
  EXPECT_FALSE(BConvert_done);
  EXPECT_STREQ(hex, "0x001F");
}

TEST(BConvert, RealsRoundHalfUpByAddition) {
  EXPECT_EQ(Real(3.14159, 0, 2), "3.14");
  // Exact in binary: the added half rounds up where half-even would not.
  EXPECT_EQ(Real(0.125, 0, 2), "0.13");
  // The double nearest 2.3 lies below it; it still reads "2.3".
  EXPECT_EQ(Real(2.25, 0, 1), "2.3");
  EXPECT_EQ(Real(9.9999, 0, 3), "10.000");
  EXPECT_EQ(Real(-1.5, 8, 3), "  -1.500");
  EXPECT_EQ(Real(0.1, 0, 17), "0.10000000000000000");  // nothing added from 15 on

  EXPECT_EQ(Real(12345.678, 9, -1), " 1.2E+004");
  EXPECT_EQ(Real(1.0, 3, -1), " 1.0E+000");  // raised to 9 columns
  EXPECT_EQ(Real(-0.000123456, 12, -1), "-1.2346E-004");
  EXPECT_EQ(Real(9.99, 9, -1), " 1.0E+001");  // the carry moves the exponent
  EXPECT_EQ(Real(0.0, 9, -1), " 0.0E+000");

  EXPECT_EQ(Pretty(0.0), "0");
  EXPECT_EQ(Pretty(-42.0), "-42");
  EXPECT_EQ(Pretty(123.456), "123.456");
  EXPECT_EQ(Pretty(0.1 + 0.2), "0.3");
  EXPECT_EQ(Pretty(1.0 / 3.0), "0.333333");
  EXPECT_EQ(Pretty(1e6), " 1.0000000000E+006");
}

TEST(BConvert, IntegersFromTextConsumeWhatTheyRead) {
  char fields[32] = "  12 -8abc";
  std::int32_t a = 0, b = 0;
  EXPECT_TRUE(BConvert_StrToInt(fields, a));
  EXPECT_TRUE(BConvert_StrToInt(fields, b));
  EXPECT_EQ(a * 100 + b, 1192);
  EXPECT_STREQ(fields, "abc");

  // No digit: string and result untouched; "+" is no sign, "-" none for cards.
  char plus[8] = " +5";
  EXPECT_FALSE(BConvert_StrToInt(plus, a));
  EXPECT_EQ(a, 12);
  EXPECT_STREQ(plus, " +5");
  std::uint32_t card = 7;
  char minus[8] = "-3";
  EXPECT_FALSE(BConvert_StrToCard(minus, card));
  EXPECT_STREQ(minus, "-3");

  // Out of range: the digits are consumed, the result is not written.
  char big[32] = "2147483648,-2147483648";
  EXPECT_FALSE(BConvert_StrToInt(big, a));
  EXPECT_FALSE(BConvert_done);
  EXPECT_EQ(a, 12);
  EXPECT_STREQ(big, ",-2147483648");
  char cards[32] = "4294967296";
  EXPECT_FALSE(BConvert_StrToCard(cards, card));
  EXPECT_EQ(card, 7u);
  char wide[64] = "-9223372036854775808 99999999999999999999";
  std::int64_t w = 0;
  EXPECT_TRUE(BConvert_StrToInt64(wide, w));
  EXPECT_EQ(w, INT64_MIN);
  EXPECT_FALSE(BConvert_StrToInt64(wide, w));
  EXPECT_STREQ(wide, "");

  // A full array without terminator is read to its bound.
  char full[3] = {'4', '5', '6'};
  EXPECT_TRUE(BConvert_StrToCard(full, card));
  EXPECT_EQ(card, 456u);
}

TEST(BConvert, RealsFromText) {
  double value = 0;
  char text[32] = "  -1.5E+003xyz";
  EXPECT_TRUE(BConvert_StrToReal(text, value));
  EXPECT_EQ(value, -1500.0);
  EXPECT_STREQ(text, "xyz");
  char bare[16] = ".25e;";  // an "e" without digits is not part of it
  EXPECT_TRUE(BConvert_StrToReal(bare, value));
  EXPECT_EQ(value, 0.25);
  EXPECT_STREQ(bare, "e;");

  char none[16] = " .e5";
  EXPECT_FALSE(BConvert_StrToReal(none, value));
  EXPECT_STREQ(none, " .e5");
  char huge[16] = "1e999 ";
  EXPECT_FALSE(BConvert_StrToReal(huge, value));
  EXPECT_EQ(value, 0.25);
  EXPECT_STREQ(huge, " ");

  // What RealToStr writes reads back.
  NameStr round = "";
  BConvert_RealToStr(round, -6.02214076e23, 16, -1);
  EXPECT_TRUE(BConvert_StrToReal(round, value));
  EXPECT_EQ(value, -6.02214076e23);
}
