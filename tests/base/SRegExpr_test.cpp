#include "base/SRegExpr.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

struct Case {
  const char* pattern;
  std::vector<std::pair<const char*, bool>> texts;
};

}  // namespace

// The kinds of expressions the system compiles: file patterns of hot folders,
// error file names, folder names.
TEST(SRegExpr, ExtendedSyntaxMatchesAnywhereUnlessAnchored) {
  const std::vector<Case> cases = {
      {"^[^\\.]", {{"image.tif", true}, {".hidden", false}, {"", false}}},
      {"\\.(pdf|PDF)$", {{"a.pdf", true}, {"a.PDF", true}, {"a.pdf.bak", false}, {"a.Pdf", false}}},
      {"\\.jt..?$", {{"a.jtp", true}, {"a.jtpd", true}, {"a.jt", false}, {"a.jtpdx", false}}},
      {"^[0-9]*_.*\\.err", {{"1712_a.tif.err", true}, {"_x.err", true}, {"x_1.err", false}}},
      {"flow_.*_[0-9]+", {{"flow_my_job_12", true}, {"/p/flow_a_1/x", true}, {"flow_a_", false}}},
      {"\\.(AI.|[cmyk]ct|jtpd)$", {{"x.AIa", true}, {"x.kct", true}, {"x.rct", false}}},
      {"a{2,3}", {{"baab", true}, {"bab", false}}},
  };
  for (const Case& c : cases) {
    SRegExpr expr = SRegExpr_Create(StrIn::C(c.pattern));
    ASSERT_NE(expr, SRegExpr_Nil()) << c.pattern;
    for (const auto& [text, expected] : c.texts) EXPECT_EQ(SRegExpr_Match(expr, StrIn::C(text)), expected) << c.pattern << " on " << text;
    SRegExpr_Destroy(expr);
    EXPECT_EQ(expr, SRegExpr_Nil());
  }
}

TEST(SRegExpr, BadExpressionGivesNilThatMatchesNothing) {
  for (const char* bad : {"(", "[a-", "[z-a]", "a{2", "a{3,1}", "\\", "*a", "+", "[[:nope:]]", "a{99999}"}) {
    SRegExpr expr = SRegExpr_Create(StrIn::C(bad));
    EXPECT_EQ(expr, SRegExpr_Nil()) << bad;
    SRegExpr_Destroy(expr);  // nil is accepted
  }
  EXPECT_FALSE(SRegExpr_Match(SRegExpr_Nil(), ""));
  EXPECT_FALSE(SRegExpr_Match(SRegExpr_Nil(), "anything"));
}

TEST(SRegExpr, TextAndPatternReadUpToTheirBounds) {
  const char pattern[3] = {'b', 'c', '$'};  // exactly full: no terminator
  const char text[3] = {'a', 'b', 'c'};
  SRegExpr expr = SRegExpr_Create(pattern);
  EXPECT_TRUE(SRegExpr_Match(expr, text));
  EXPECT_FALSE(SRegExpr_Match(expr, StrIn(text, 1)));
  SRegExpr_Destroy(expr);
}
