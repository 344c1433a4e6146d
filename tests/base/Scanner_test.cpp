#include "base/Scanner.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TestFiles.h"

namespace {

// Each symbol as "<kind>:<text>@<position>": I identifier, K<n> keyword,
// N integer, R real, S string, P punctuation, E<n> error.
std::string Describe(Scanner s) {
  std::string kind;
  switch (Scanner_SymKind(s)) {
    case Scanner_Sym::Ident: kind = "I"; break;
    case Scanner_Sym::Keyword: kind = "K" + std::to_string(Scanner_SymKeyword(s)); break;
    case Scanner_Sym::Integer: kind = "N"; break;
    case Scanner_Sym::Real: kind = "R"; break;
    case Scanner_Sym::String: kind = "S"; break;
    case Scanner_Sym::Symbol: kind = "P"; break;
    case Scanner_Sym::Error: kind = "E" + std::to_string(Scanner_SymError(s)); break;
    case Scanner_Sym::End: kind = "."; break;
  }
  TextStr text;
  Scanner_SymText(s, text);
  return kind + ":" + StrIn(text).Str() + "@" + std::to_string(Scanner_SymPosition(s));
}

std::vector<std::string> Scan(std::string_view text, SMacros words = SMacros_Nil(), std::size_t bound = 0) {
  Scanner s = Scanner_Create(text.data(), text.size(), words);
  if (bound > 0) Scanner_SetStringBound(s, bound);
  std::vector<std::string> symbols;
  while (Scanner_Next(s) != Scanner_Sym::End && symbols.size() < 100) symbols.push_back(Describe(s));
  EXPECT_EQ(Scanner_SymPosition(s), text.size());
  Scanner_Destroy(s);
  return symbols;
}

using Symbols = std::vector<std::string>;

}  // namespace

TEST(Scanner, SplitsIdentifiersNumbersAndPunctuation) {
  EXPECT_EQ(Scan("KEY = 12;\n  R=1.5e3-7 V2 1-20 1e5 1..5 x_1"),
            (Symbols{"I:KEY@0", "P:=@4", "N:12@6", "P:;@8", "I:R@12", "P:=@13", "R:1.5e3@14", "P:-@19", "N:7@20",
                     "I:V2@22", "N:1@25", "P:-@26", "N:20@27", "N:1@30", "I:e5@31", "N:1@34", "P:.@35", "P:.@36",
                     "N:5@37", "I:x_1@39"}));

  const std::string_view text = "1.5e3 12 ->";
  Scanner s = Scanner_Create(text.data(), text.size(), SMacros_Nil());
  Scanner_Next(s);
  EXPECT_DOUBLE_EQ(Scanner_SymReal(s), 1500.0);
  EXPECT_EQ(Scanner_SymCard(s), 0u);
  Scanner_Next(s);
  EXPECT_EQ(Scanner_SymCard(s), 12u);
  EXPECT_DOUBLE_EQ(Scanner_SymReal(s), 12.0);
  Scanner_Next(s);
  EXPECT_TRUE(Scanner_IsSymbol(s, "->"));
  EXPECT_FALSE(Scanner_IsSymbol(s, "-"));
  EXPECT_EQ(Scanner_SymEnd(s), text.size());
  EXPECT_EQ(Scanner_Next(s), Scanner_Sym::End);
  EXPECT_EQ(Scanner_Next(s), Scanner_Sym::End);
  Scanner_Destroy(s);
  EXPECT_EQ(s, nullptr);
}

TEST(Scanner, CompoundSymbolsAndIllegalCharacters) {
  EXPECT_EQ(Scan("(a)->(b)=><|5|>6|<7>|8 ==>"),
            (Symbols{"P:(@0", "I:a@1", "P:)@2", "P:->@3", "P:(@5", "I:b@6", "P:)@7", "P:=>@8", "P:<|@10", "N:5@12",
                     "P:|>@13", "N:6@15", "P:|<@16", "N:7@18", "P:>|@19", "N:8@21", "P:=@23", "P:=>@24"}));
  // Star, back quote, control characters and bytes above 127 are no symbols;
  // scanning goes on behind them.
  EXPECT_EQ(Scan("a*b`\x01\xc3_"), (Symbols{"I:a@0", "E3:*@1", "I:b@2", "E3:`@3", "E3:\x01@4", "E3:\xc3@5", "P:_@6"}));
}

TEST(Scanner, CommentsNest) {
  EXPECT_EQ(Scan("a (* x (* y *) z *) b (*) c *) d"), (Symbols{"I:a@0", "I:b@20", "I:d@31"}));
  EXPECT_EQ(Scan("a (* (* *) b"), (Symbols{"I:a@0", "E1:@2"}));
  EXPECT_EQ(Scan("(*"), (Symbols{"E1:@0"}));
}

TEST(Scanner, StringsInEitherQuoteWithTwoEscapes) {
  EXPECT_EQ(Scan(R"("a\"b\\c\d" 'say "hi"' 'x\"' "two
lines")"),
            (Symbols{"S:a\"b\\c\\d@0", "S:say \"hi\"@12", "S:x\"@23", "S:two\nlines@29"}));
  // A backslash before a single quote stands for itself, so this string ends.
  EXPECT_EQ(Scan(R"('a\' b)"), (Symbols{"S:a\\@0", "I:b@5"}));
  EXPECT_EQ(Scan("x \"open"), (Symbols{"I:x@0", "E2:@2"}));
  EXPECT_EQ(Scan("\"abcdef\" z", SMacros_Nil(), 3), (Symbols{"S:abc@0", "I:z@9"}));
}

TEST(Scanner, NumbersBeyondTheirTypesAreErrors) {
  EXPECT_EQ(Scan("18446744073709551615 18446744073709551616 1.0e999 1.0e-999"),
            (Symbols{"N:18446744073709551615@0", "E4:18446744073709551616@21", "E4:1.0e999@42",
                     "R:1.0e-999@50"}));
}

TEST(Scanner, KeywordsComeFromTheWordTable) {
  SMacros words = SMacros_Create();
  EXPECT_TRUE(SMacros_AddKeyword(words, "EXAMPLE", 10));
  EXPECT_FALSE(SMacros_AddKeyword(words, "EXAMPLE", 11));
  EXPECT_FALSE(SMacros_AddKeyword(words, "OTHER", SMacros_kEnd));
  EXPECT_FALSE(SMacros_Define(words, "EXAMPLE", "1"));
  EXPECT_EQ(Scan("EXAMPLE example BEGIN END", words), (Symbols{"K10:EXAMPLE@0", "I:example@8", "K3:BEGIN@16", "K4:END@22"}));
  SMacros_Destroy(words);
  EXPECT_EQ(words, nullptr);
  EXPECT_FALSE(SMacros_AddKeyword(SMacros_Nil(), "X", 10));
  EXPECT_EQ(SMacros_Keyword(SMacros_Nil(), "BEGIN"), 0u);
}

TEST(Scanner, MacrosAreReadInPlaceOfTheirNames) {
  SMacros words = SMacros_Create();
  // A body may hold BEGIN/END pairs; its symbols carry the place of the use.
  EXPECT_EQ(Scan("MACRO PAIR BEGIN 1 , BEGIN END 2 END x = PAIR;", words),
            (Symbols{"I:x@37", "P:=@39", "N:1@41", "P:,@41", "K3:BEGIN@41", "K4:END@41", "N:2@41", "P:;@45"}));
  // Definitions stay in the caller's table and may be replaced.
  EXPECT_EQ(Scan("PAIR MACRO PAIR BEGIN 3 END PAIR", words), (Symbols{"N:1@0", "P:,@0", "K3:BEGIN@0", "K4:END@0", "N:2@0", "N:3@28"}));
  StrIn body("");
  EXPECT_TRUE(SMacros_Find(words, "PAIR", body));
  EXPECT_EQ(body.Str(), " 3 ");
  EXPECT_FALSE(SMacros_AddKeyword(words, "PAIR", 10));
  SMacros_Destroy(words);

  EXPECT_EQ(Scan("MACRO A BEGIN A END A b"), (Symbols{"E7:@20", "I:b@22"}));
  EXPECT_EQ(Scan("MACRO BEGIN 1 END z"), (Symbols{"E5:@0", "N:1@12", "K4:END@14", "I:z@18"}));
  EXPECT_EQ(Scan("MACRO OPEN BEGIN 1"), (Symbols{"E5:@0"}));
  // Ten-fold at every level runs into the bound on expansion, not out of
  // memory; the comment makes each body count without costing symbols.
  std::string growing = "MACRO L0 BEGIN x (*" + std::string(4000, '.') + "*) END";
  for (int level = 1; level <= 10; ++level) {
    growing += " MACRO L" + std::to_string(level) + " BEGIN";
    for (int copy = 0; copy < 10; ++copy) growing += " L" + std::to_string(level - 1);
    growing += " END";
  }
  growing += " L10";
  Scanner s = Scanner_Create(growing.data(), growing.size(), SMacros_Nil());
  std::size_t count = 0;
  while (Scanner_Next(s) == Scanner_Sym::Ident) ++count;
  EXPECT_EQ(Scanner_SymError(s), Scanner_kTooDeep);
  EXPECT_GT(count, 100u);
  Scanner_Destroy(s);
}

TEST(Scanner, IncludeReadsARegularFileInPlace) {
  TempDir dir;
  const std::string inner = dir.Make("inner.txt"), loop = dir.Make("loop.txt");
  std::ofstream(inner) << "inner (* c *) 5";
  std::ofstream(loop) << "INCLUDE \"" << loop << "\"";
  const std::string text = "INCLUDE \"" + inner + "\" after";
  EXPECT_EQ(Scan(text), (Symbols{"I:inner@0", "N:5@0", "I:after@" + std::to_string(text.size() - 5)}));
  EXPECT_EQ(Scan("INCLUDE \"" + dir.Path() + "/missing\" x"), (Symbols{"E6:@0", "I:x@" + std::to_string(dir.Path().size() + 19)}));
  EXPECT_EQ(Scan("INCLUDE \"" + dir.Path() + "\""), (Symbols{"E6:@0"}));
  EXPECT_EQ(Scan("INCLUDE 5"), (Symbols{"E6:@0"}));
  EXPECT_EQ(Scan("INCLUDE \"" + loop + "\""), (Symbols{"E7:@0"}));
}

TEST(Scanner, LinesOfPositions) {
  const std::string_view text = "a\nb\n\nc";
  Scanner s = Scanner_Create(text.data(), text.size(), SMacros_Nil());
  EXPECT_EQ(Scanner_LineNumber(s, 0), 1u);
  EXPECT_EQ(Scanner_LineNumber(s, 2), 2u);
  EXPECT_EQ(Scanner_LineNumber(s, 5), 4u);
  EXPECT_EQ(Scanner_LineNumber(s, 500), 4u);
  Scanner_Destroy(s);
}
