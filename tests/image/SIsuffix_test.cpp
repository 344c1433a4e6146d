#include "image/SIsuffix.h"

#include <gtest/gtest.h>

#include <string>

#include "base/SRegExpr.h"
#include "image/SImage.h"

namespace {

// The information suffix, or "<none>" when there is none.
std::string Inf(const char* suffix) {
  NameStr result;
  Strings_Assign("stale", result);
  const bool ok = SIsuffix_InfSuffix(StrIn::C(suffix), result);
  EXPECT_EQ(ok, !StrIn(result).Empty()) << suffix;
  return ok ? StrIn(result).Str() : "<none>";
}

std::string Addons() {
  TextStr expr;
  EXPECT_TRUE(SIsuffix_GetAllSufficesRegExp(expr));
  return StrIn(expr).Str();
}

}  // namespace

TEST(SIsuffixInf, TicketSuffixes) {
  struct Case {
    const char *suffix, *inf;
  };
  for (const Case& c : {Case{".ps", ".jtp"}, Case{".PS", ".jtp"}, Case{".pdf", ".jtpd"}, Case{".PDF", ".jtpd"},
                        Case{"pdf", ".jtpd"}, Case{".qif", ".jtq"}, Case{"QIF", ".jtq"}, Case{".eps", ".jte"},
                        Case{".Spg", ".jts"}, Case{".6rn", ".jt6"}, Case{".pdfx", ".jtp"}, Case{"", "<none>"},
                        Case{".", "<none>"}}) {
    EXPECT_EQ(Inf(c.suffix), c.inf) << c.suffix;
  }

  // A result that does not fit is refused whole, never cut.
  char four[4];
  EXPECT_TRUE(SIsuffix_InfSuffix(".tif", four));
  EXPECT_EQ(StrIn(four).Str(), ".jtt");
  EXPECT_FALSE(SIsuffix_InfSuffix(".pdf", four));
  EXPECT_TRUE(StrIn(four).Empty());
}

TEST(SIsuffixAddons, ExpressionRecognisesAddonsButNoImage) {
  SRegExpr addons = SRegExpr_Create(Addons());
  ASSERT_NE(addons, SRegExpr_Nil());
  for (const char* name : {"a.AIq", "a.PXf", "a.AHt", "a.CN1", "a.aof", "a.ACx", "a.acs", "a.jtq", "a.jtpd",
                           "a.kct", "a.vct", "a.vlw", "a.svs", "a.fa", "a.lfs"}) {
    EXPECT_TRUE(SRegExpr_Match(addons, StrIn::C(name))) << name;
  }
  for (const char* name : {"a.txt", "a.AI", "a.jt", "a.jtpdf", "a.ct", "a.Kct", "AIq"}) {
    EXPECT_FALSE(SRegExpr_Match(addons, StrIn::C(name))) << name;
  }

  // Every image format: its files are no add-ons, while its ticket is one
  // that no image expression takes for an image.
  SImage_FormatList list = SImage_GetListOfSupportedFormats();
  for (SImage_FormatList e = list; e != nullptr; e = e->next) {
    if (StrIn(e->suffix).Empty()) continue;
    const std::string image = "page" + StrIn(e->suffix).Str();
    EXPECT_FALSE(SRegExpr_Match(addons, image)) << image;
    NameStr inf;
    ASSERT_TRUE(SIsuffix_InfSuffix(e->suffix, inf));
    const std::string ticket = "page" + StrIn(inf).Str();
    EXPECT_TRUE(SRegExpr_Match(addons, ticket)) << ticket;
    for (SImage_FormatList f = list; f != nullptr; f = f->next) {
      SRegExpr format = SRegExpr_Create(f->regExpr);
      EXPECT_FALSE(SRegExpr_Match(format, ticket)) << ticket << " taken by " << f->regExpr;
      SRegExpr_Destroy(format);
    }
  }
  SImage_DestroyListOfSupportedFormats(list);
  SRegExpr_Destroy(addons);

  char tight[16];
  EXPECT_FALSE(SIsuffix_GetAllSufficesRegExp(tight));
  EXPECT_TRUE(StrIn(tight).Empty());
}
