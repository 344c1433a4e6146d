#include "base/SWilCard.h"

#include <fnmatch.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

bool Match(const std::string& pattern, const std::string& name) { return SWilCard_Match(pattern, name); }

// Random texts over the characters that matter to a pattern, and one letter
// more so that stars have something to skip.
std::string RandomText(std::mt19937& random, std::size_t maxLength) {
  static constexpr char kAlphabet[] = {'a', 'b', '*', '?', '\\'};
  std::uniform_int_distribution<std::size_t> length(0, maxLength), pick(0, sizeof kAlphabet - 1);
  std::string text(length(random), ' ');
  for (char& c : text) c = kAlphabet[pick(random)];
  return text;
}

}  // namespace

TEST(SWilCard, OmitListEntries) {
  // ".*" passes over every hidden directory, "." and ".." included.
  for (const char* name : {".", "..", ".hidden", ".x.y"}) EXPECT_TRUE(Match(".*", name)) << name;
  for (const char* name : {"", "x.y", "hidden."}) EXPECT_FALSE(Match(".*", name)) << name;
  EXPECT_TRUE(Match("Temporary*", "Temporary Items"));
  EXPECT_TRUE(Match("*Trash*", "Network Trash Folder"));
  EXPECT_FALSE(Match("*trash*", "Network Trash Folder"));  // case counts
  EXPECT_TRUE(Match("*", "") && Match("*", "a/b") && Match("**", ".x"));
  EXPECT_TRUE(Match("flow_?_*", "flow_a_12") && !Match("flow_?_*", "flow__12"));
  EXPECT_TRUE(Match("", "") && !Match("", "a") && !Match("?", ""));
}

TEST(SWilCard, BackslashAndBracketsAreLiteral) {
  EXPECT_TRUE(Match("\\*", "*") && !Match("\\*", "a"));
  EXPECT_TRUE(Match("a\\?", "a?") && !Match("a\\?", "ab"));
  EXPECT_TRUE(Match("\\\\*", "\\x") && !Match("\\\\*", "x"));
  EXPECT_TRUE(Match("\\a", "a"));
  EXPECT_TRUE(Match("a\\", "a\\") && !Match("a\\", "a"));  // a trailing backslash is itself
  EXPECT_TRUE(Match("[ab]", "[ab]") && !Match("[ab]", "a"));

  const char full[3] = {'a', '*', 'c'};  // exactly full: read up to the bound
  EXPECT_TRUE(SWilCard_Match(full, "abbc"));
}

// fnmatch without flags has the same rules on texts without "[" and without a
// trailing backslash, and serves as the reference.
TEST(SWilCard, AgreesWithTheSystemMatcher) {
  std::mt19937 random(20240611);
  int matches = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string pattern = RandomText(random, 8);
    const std::size_t backslashes = pattern.size() - 1 - pattern.find_last_not_of('\\');
    if (backslashes % 2 == 1) pattern.pop_back();  // leave no lone backslash at the end
    const std::string name = RandomText(random, 10);
    const bool expected = ::fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
    ASSERT_EQ(Match(pattern, name), expected) << "pattern \"" << pattern << "\" name \"" << name << '"';
    matches += expected;
  }
  EXPECT_GT(matches, 1000);  // the sample covers both answers
}

// Patterns that make a backtracking matcher try every split. Each must be
// answered in one go: a slow matcher would run into the test's time-out.
TEST(SWilCard, ManyStarsStayCheap) {
  const std::string many(20000, 'a');
  EXPECT_FALSE(Match("a*a*a*a*a*a*a*a*a*a*a*b", many));
  EXPECT_TRUE(Match("a*a*a*a*a*a*a*a*a*a*a*b", many + "b"));
  EXPECT_FALSE(Match("*?*?*?*?*?*?*?*?*?*?*?x", many));
  EXPECT_TRUE(Match("*a*a*a*a*a*a*a*a*a*a*a*", many));
  std::string pattern;
  for (int i = 0; i < 500; ++i) pattern += "*a";
  EXPECT_FALSE(Match(pattern + "b", many));
  EXPECT_TRUE(Match(pattern, many));
}
