#include "base/SPrintf.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <string>

namespace {

// `fill` applied to a 128-byte template holding `tmpl`.
template <typename Fill>
std::string Filled(const char* tmpl, Fill fill) {
  NameStr text;
  Strings_Assign(StrIn::C(tmpl), text);
  fill(StrOut(text));
  return text;
}

std::string Int(const char* tmpl, std::int32_t value) {
  return Filled(tmpl, [&](StrOut t) { SPrintf_Int(t, value); });
}

std::string Real(const char* tmpl, double value) {
  return Filled(tmpl, [&](StrOut t) { SPrintf_Real(t, value); });
}

std::string String(const char* tmpl, const char* value) {
  return Filled(tmpl, [&](StrOut t) { SPrintf_String(t, StrIn::C(value)); });
}

std::string LocalTime(const char* format, std::time_t at) {
  std::tm local{};
  localtime_r(&at, &local);
  char text[64];
  return std::string(text, std::strftime(text, sizeof text, format, &local));
}

}  // namespace

TEST(SPrintf, EachCallFillsTheFirstPlaceholderOfItsLetter) {
  // Placeholders of other letters do not stand in the way: translations reorder.
  EXPECT_EQ(Filled("%d files in %s, %c%f %d", [](StrOut t) {
              SPrintf_Char(t, '!');
              SPrintf_String(t, "/in");
              SPrintf_Real(t, 0.5);
              SPrintf_Card(t, 3);
              SPrintf_Card64(t, UINT64_MAX);
            }),
            "3 files in /in, !0.500000 18446744073709551615");
  EXPECT_EQ(Int("%5s%-2%d", 7), "%5s%-27");  // a flag run before another letter is skipped

  EXPECT_EQ(Int("100%% of %d", 5), "100% of 5");
  EXPECT_EQ(Int("%%%d", 5), "%5");
  EXPECT_EQ(Int("%d%%", 5), "5%%");  // behind the placeholder: not reached
  EXPECT_EQ(Int("a%%b%%c %s", 5), "a%b%c %s");
  EXPECT_EQ(Int("50%", 5), "50%");
}

TEST(SPrintf, NumberWidthsZeroFillAndCuts) {
  EXPECT_EQ(Int("[%6d]", 42), "[    42]");
  EXPECT_EQ(Int("[%-6d]", 42), "[42    ]");
  EXPECT_EQ(Int("[%06d]", 42), "[000042]");
  EXPECT_EQ(Int("[%05d]", -5), "[000-5]");  // the sign stays where it was
  EXPECT_EQ(Int("[%+5d]", 42), "[42]");     // "+" stops the reading
  EXPECT_EQ(Int("[%3!d]", 123456), "[123]");
  EXPECT_EQ(Int("[%7$d]", 123456789), "[<456789]");
  EXPECT_EQ(Filled("%d", [](StrOut t) { SPrintf_Int64(t, INT64_MIN); }), "-9223372036854775808");

  EXPECT_EQ(Real("%f", 2.5), "2.500000");
  EXPECT_EQ(Real("%.0f", 2.5), "3");
  EXPECT_EQ(Real("[%08.3f]", -1.5), "[00-1.500]");
  EXPECT_EQ(Real("[%-6.1f]", 2.25), "[2.3   ]");
  EXPECT_EQ(Real("[%+8.1f]", 2.25), "[2.250000]");

  // A number that does not fit the template is left out, never cut.
  char small[6] = "ab%d";
  SPrintf_Int(small, 123456);
  EXPECT_STREQ(small, "ab");
}

TEST(SPrintf, TextWidthsAndCutModes) {
  EXPECT_EQ(String("[%s]", ""), "[]");
  EXPECT_EQ(String("[%5s]", "ab"), "[   ab]");
  EXPECT_EQ(String("[%-5s]", "ab"), "[ab   ]");
  EXPECT_EQ(String("[%2s]", "abcd"), "[abcd]");  // no cut mode: whole
  EXPECT_EQ(String("[%8!s]", "abcdefghijk"), "[abcdefg>]");
  EXPECT_EQ(String("[%4!s]", "abcdefghijk"), "[abcd]");
  EXPECT_EQ(String("[%8$s]", "abcdefghijk"), "[<efghijk]");
  EXPECT_EQ(String("[%4$s]", "abcdefghijk"), "[hijk]");

  EXPECT_EQ(Filled("a%cb%c", [](StrOut t) {
              SPrintf_Char(t, '\0');
              SPrintf_Char(t, 'x');
            }),
            "abx");
  EXPECT_EQ(Filled("cp %s", [](StrOut t) { SPrintf_EscapedPath(t, "my file$"); }),
            "cp my\\ file\\$");
  char self[16] = "<%s>";  // the text may be the template itself
  SPrintf_String(self, self);
  EXPECT_STREQ(self, "<<%s>>");

  // A text too long for the template keeps its end, in the room left.
  char tmpl[16] = "path: %s";
  SPrintf_String(tmpl, "/very/long/path/name");
  EXPECT_STREQ(tmpl, "path: <ath/name");
  char aligned[16] = "%20!s|";
  SPrintf_String(aligned, "abc");
  EXPECT_STREQ(aligned, "<          abc|");
  char narrow[8] = "ab %s";  // no room for the marker
  SPrintf_String(narrow, "123456");
  EXPECT_STREQ(narrow, "ab 3456");
}

TEST(SPrintf, DateAndTime) {
  const std::time_t from = std::time(nullptr);
  const std::string date = Filled("on %s at %d", [](StrOut t) { SPrintf_Date(t); });
  const std::string iso = Filled("%s", [](StrOut t) { SPrintf_ISODate(t); });
  const std::string time = Filled("%s", [](StrOut t) { SPrintf_Time(t); });
  const std::time_t to = std::time(nullptr);
  // Either reading of the clock around the calls will do.
  for (const auto& [text, format] : {std::pair{date, "on %d.%m.%Y at %%d"},
                                      std::pair{iso, "%Y-%m-%d"}, std::pair{time, "%H:%M"}}) {
    EXPECT_TRUE(text == LocalTime(format, from) || text == LocalTime(format, to)) << text;
  }
}
