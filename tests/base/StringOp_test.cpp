#include "base/StringOp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// Takes pieces off the front (or back) of `text` until it is empty.
using Taker = void (*)(StrOut, StrOut);
std::vector<std::string> TakeAll(const std::string& text, Taker take) {
  TextStr s, piece;
  Strings_Assign(text, s);
  std::vector<std::string> pieces;
  for (int guard = 0; s[0] != '\0' && guard < 100; ++guard) {
    take(StrOut(s), StrOut(piece));
    pieces.push_back(StrIn(piece).Str());
  }
  return pieces;
}

using Pieces = std::vector<std::string>;

}  // namespace

TEST(StringOp, CharacterClassesAndCase) {
  EXPECT_TRUE(StringOp_IsAlpha('\xC0') && StringOp_IsAlpha('\xFE') && StringOp_IsAlpha('z'));
  EXPECT_FALSE(StringOp_IsAlpha('\xD7') || StringOp_IsAlpha('\xF7') || StringOp_IsAlpha('\xFF') ||
               StringOp_IsAlpha('\xBF') || StringOp_IsAlpha('@') || StringOp_IsAlpha('['));
  EXPECT_TRUE(StringOp_IsWhite('\b') && StringOp_IsWhite('\f') && !StringOp_IsWhite('\n'));
  EXPECT_TRUE(StringOp_IsWhiteOrLn('\n') && StringOp_IsWhiteOrLn('\r'));
  EXPECT_FALSE(StringOp_IsWhite('\t') || StringOp_IsWhiteOrLn('\t'));
  EXPECT_TRUE(StringOp_IsShellMetaChar('\t') && StringOp_IsShellMetaChar('`') && !StringOp_IsShellMetaChar('-'));
  EXPECT_TRUE(StringOp_IsDecimalNum("0129"));
  EXPECT_FALSE(StringOp_IsDecimalNum("") || StringOp_IsDecimalNum("-1") || StringOp_IsDecimalNum("1 "));
  NameStr stripped = " \b\n\f\r\tx\t \r\b";  // backspace is white space, tab is not
  StringOp_LRStrip(stripped);
  EXPECT_STREQ(stripped, "\tx\t");

  // Only letters change case (not the two signs amid the Latin-1 letters),
  // and Lower undoes Upper.
  for (int i = 0; i < 256; ++i) {
    const char c = static_cast<char>(i);
    if (!StringOp_IsAlpha(c)) {
      EXPECT_TRUE(StringOp_Upper(c) == c && StringOp_Lower(c) == c) << i;
    } else if (StringOp_Upper(c) != c) {
      EXPECT_EQ(StringOp_Lower(StringOp_Upper(c)), c) << i;
    }
  }
  char s[4];
  Strings_Assign("a\xE9Z1", s);  // exactly full
  StringOp_UpShift(s);
  EXPECT_EQ(std::string(s, 4), "A\xC9Z1");
  StringOp_LowShift(s);
  EXPECT_EQ(std::string(s, 4), "a\xE9z1");
}

TEST(StringOp, SurgeryStaysWithinTheBound) {
  char full[4];
  Strings_Assign("abcd", full);
  StringOp_ConcatChar(full, 'e');
  StringOp_InsertChar(full, 'e', 0);  // refused, not cut
  EXPECT_EQ(std::string(full, 4), "abcd");

  char five[5] = "aaa";
  EXPECT_EQ(StringOp_ReplaceAll(five, "a", "xy"), 3u);
  EXPECT_EQ(std::string(five, 5), "xyxyx");

  NameStr s = "aaa";
  EXPECT_EQ(StringOp_ReplaceAll(s, "aa", "b"), 1u);
  EXPECT_STREQ(s, "ba");
  Strings_Assign("a-b-c", s);
  EXPECT_EQ(StringOp_ReplaceAll(s, "-", "--"), 2u);  // no rescan of the replacement
  EXPECT_STREQ(s, "a--b--c");
  EXPECT_FALSE(StringOp_ReplaceFirst(s, "x", "y"));
  EXPECT_TRUE(StringOp_ReplaceFirst(s, "--", "+"));
  EXPECT_STREQ(s, "a+b--c");
  StringOp_DeleteChars(s, "-x");
  EXPECT_STREQ(s, "a+bc");

  char c8[8] = "ab";
  StringOp_CenterStr(c8, 5);
  EXPECT_STREQ(c8, " ab  ");
  StringOp_CenterStr(c8, 100);  // at most the capacity
  EXPECT_EQ(std::string(c8, 8), "  ab    ");

  StringOp_Null(c8);
  EXPECT_EQ(std::count(c8, c8 + 8, '\0'), 8);
}

TEST(StringOp, SourcesMayBeTheDestination) {
  NameStr s = "ab";
  StringOp_ReplaceAll(s, "b", s);
  EXPECT_STREQ(s, "aab");
  StringOp_ReplaceStr(s, 0, 1, s);
  EXPECT_STREQ(s, "aabab");
  NameStr t = "a:b";
  StringOp_Escape(t, t);
  EXPECT_STREQ(t, "\\a\\:\\b");
}

TEST(StringOp, WordsEndAtWhitespaceOrQuotes) {
  EXPECT_EQ(TakeAll("  one\ttwo\bthree\"four\" \"five six\"seven \"open end", StringOp_NextWord),
            (Pieces{"one\ttwo", "three\"four\"", "five six", "seven", "open end"}));
  EXPECT_EQ(TakeAll("a\r\nb \"c d\"  ", StringOp_LastWord), (Pieces{"c d", "b", "a"}));

  NameStr rest = "a\tb c";
  NameStr last;
  StringOp_LastWord(rest, last);
  EXPECT_STREQ(last, "c");
  EXPECT_STREQ(rest, "a\tb");

  TextStr s = "abcdef ghi";
  char word[3];
  StringOp_NextWord(s, word);
  EXPECT_EQ(std::string(word, 3), "abc");
  EXPECT_STREQ(s, "ghi");
}

TEST(StringOp, TokensFollowTheBackslashRule) {
  const Taker byColon = [](StrOut s, StrOut token) { StringOp_NextToken(s, ':', token); };
  EXPECT_EQ(TakeAll("a\\:b:c", byColon), (Pieces{"a\\:b", "c"}));
  EXPECT_EQ(TakeAll("a\\\\:b\\\\\\::", byColon), (Pieces{"a\\\\", "b\\\\\\:"}));
  EXPECT_EQ(StringOp_NumTokens("", ':'), 1u);
  EXPECT_EQ(StringOp_NumTokens("a\\:b:c:", ':'), 3u);
  EXPECT_EQ(StringOp_NumTokens("\\\\::", ':'), 3u);

  char s[10] = "\\:a:";
  EXPECT_EQ(StringOp_CharPos(s, true, ':', 1), 3u);  // the run before `from` counts
  EXPECT_EQ(StringOp_CharPos(s, false, ':', 0), 1u);
  EXPECT_EQ(StringOp_CharPos(s, false, 'z', 0), 10u);
  EXPECT_EQ(StringOp_StringPos("x\\ab ab", true, "ab", 0), 5u);
  EXPECT_EQ(StringOp_StringPos("x\\ab ab", false, "ab", 0), 2u);
  EXPECT_EQ(StringOp_StringPos(s, false, "a:", 3), 10u);
  EXPECT_EQ(StringOp_StringPos(s, false, "", 2), 2u);

  EXPECT_EQ(TakeAll("l1\nl2\n\nl3", StringOp_NextLine), (Pieces{"l1", "l2", "", "l3"}));
}

TEST(StringOp, EscapeAndUnescape) {
  NameStr s = "a b$c\\d\te";
  StringOp_EscapeShellMetaChars(s);
  EXPECT_STREQ(s, "a\\ b\\$c\\\\d\\\te");
  StringOp_Unescape(s);
  EXPECT_STREQ(s, "a b$c\\d\te");

  NameStr u = "\\\\x\\y\\";
  StringOp_Unescape(u);
  EXPECT_STREQ(u, "\\xy");

  // Unescape undoes Escape for every character of a set that holds a backslash.
  std::string all;
  for (int i = 1; i < 256; ++i) all += static_cast<char>(i);
  TextStr round;
  Strings_Assign(all, round);
  StringOp_Escape(round, ":\\/ ");
  EXPECT_EQ(Strings_Length(round), all.size() + 4);
  StringOp_Unescape(round);
  EXPECT_EQ(StrIn(round).Str(), all);

  // A cut never leaves a prefix without its character.
  char three[3];
  Strings_Assign("ab:", three);
  StringOp_Escape(three, ":");
  EXPECT_STREQ(three, "ab");
  char four[4] = "a/b";
  StringOp_PrefixChar(four, '/', '%');
  EXPECT_EQ(std::string(four, 4), "a%/b");
}
