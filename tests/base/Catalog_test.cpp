#include "base/Catalog.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"

namespace {

std::string Language(const char* language, const char* lang) {
  language ? ::setenv("LANGUAGE", language, 1) : ::unsetenv("LANGUAGE");
  lang ? ::setenv("LANG", lang, 1) : ::unsetenv("LANG");
  char word[kNameCap];
  Catalog_GetLanguage(word, "dflt");
  return word;
}

std::string Text(Catalog_Handle catalog, const char* section, unsigned number) {
  char text[kTextCap];
  Catalog_GetString(catalog, StrIn::C(section), number, text);
  return text;
}

// Opens `path` with errors ignored, as a caller that survives damage would.
Catalog_Handle ReadIgnoringErrors(const std::string& path) {
  Messages_IgnoreErrors(true);
  Catalog_Handle catalog = Catalog_ReadFile(path);
  Messages_IgnoreErrors(false);
  return catalog;
}

class CatalogFiles : public ::testing::Test {
 protected:
  TempDir dir;
  std::string path = dir.Make("test.srf");
};

}  // namespace

TEST(CatalogLanguage, PrefixesNamesAndFallback) {
  EXPECT_EQ(Language(nullptr, "de_DE"), "deu");
  EXPECT_EQ(Language(nullptr, "en_US.UTF-8"), "eng");
  EXPECT_EQ(Language(nullptr, "pt_BR"), "por");
  EXPECT_EQ(Language(nullptr, "German"), "deu");
  EXPECT_EQ(Language(nullptr, "English"), "eng");
  EXPECT_EQ(Language(nullptr, "C"), "C");  // no rule: kept as it is
  EXPECT_EQ(Language("fr", "de_DE"), "fra");  // LANGUAGE wins over LANG
  EXPECT_EQ(Language("", "it_IT"), "ita");    // an empty LANGUAGE does not count
  EXPECT_EQ(Language(nullptr, nullptr), "dflt");
  ::unsetenv("LANGUAGE");
  ::unsetenv("LANG");
}

TEST_F(CatalogFiles, LooksUpTextsAndReportsWhatIsMissing) {
  WriteCatalog(path, {{"Alpha", {{1, "one"}, {20, "twenty"}}}, {"Beta", {{5, "five"}}}});
  Catalog_Handle catalog = Catalog_ReadFile(path);
  ASSERT_NE(catalog, nullptr);
  EXPECT_EQ(Text(catalog, "Alpha", 20), "twenty");
  EXPECT_EQ(Text(catalog, "Beta", 5), "five");
  EXPECT_EQ(Catalog_catError, 0);
  EXPECT_EQ(Text(catalog, "Gamma", 1), "???");
  EXPECT_EQ(Catalog_catError, 2);
  EXPECT_EQ(Text(catalog, "Alpha", 2), "???");
  EXPECT_EQ(Catalog_catError, 3);
  EXPECT_EQ(Catalog_GetStringRef(catalog, "Alpha", 2), nullptr);
  EXPECT_EQ(Text(Catalog_NilCatalogue(), "Alpha", 1), "???");
  EXPECT_EQ(Catalog_catError, 1);

  char small[4];
  EXPECT_TRUE(Catalog_GetString(catalog, "Alpha", 20, small));  // cut at the bound
  EXPECT_EQ(std::string(small, 4), "twen");

  unsigned number = 0;
  ASSERT_TRUE(Catalog_StartSection(catalog, "Alpha"));
  EXPECT_STREQ(Catalog_NextStringRef(number), "one");
  EXPECT_EQ(number, 1u);
  EXPECT_STREQ(Catalog_NextStringRef(number), "twenty");
  EXPECT_EQ(Catalog_NextStringRef(number), nullptr);
  EXPECT_FALSE(Catalog_StartSection(catalog, "Zeta"));
  EXPECT_EQ(Catalog_catError, 6);
  Catalog_CloseCatalogue(catalog);
  EXPECT_EQ(catalog, nullptr);
}

TEST_F(CatalogFiles, SearchesStopEarlyOnTheFilesOrder) {
  // Two catalogs glued in the wrong order: "B" before "A". The search for
  // "A" stops at "B", so the out-of-order section is never found.
  std::vector<unsigned char> bytes = EncodeCatalog({{"B", {{2, "b"}, {1, "late"}}}});
  const std::vector<unsigned char> a = EncodeCatalog({{"A", {{1, "a"}}}});
  // Swap the entries of "B" so that 2 stands before 1.
  std::swap_ranges(bytes.begin() + 20, bytes.begin() + 24, bytes.begin() + 24);
  bytes.insert(bytes.end(), a.begin(), a.end());
  WriteBytes(path, bytes);
  Catalog_Handle catalog = Catalog_ReadFile(path);
  EXPECT_EQ(Text(catalog, "A", 1), "???");
  EXPECT_EQ(Text(catalog, "B", 2), "b");
  EXPECT_EQ(Text(catalog, "B", 1), "???");  // stopped at 2
  Catalog_CloseCatalogue(catalog);
}

TEST_F(CatalogFiles, DamagedSectionsAreDroppedAndTheRestKept) {
  const std::vector<unsigned char> good = EncodeCatalog({{"A", {{1, "kept"}}}});
  const std::vector<unsigned char> next = EncodeCatalog({{"B", {{1, "lost"}}}});

  struct Case {
    const char* what;
    std::vector<unsigned char> tail;
    int error;
  };
  std::vector<unsigned char> truncatedText(next.begin(), next.end() - 2);
  std::vector<unsigned char> truncatedTable(next.begin(), next.begin() + 22);
  std::vector<unsigned char> badOffset = next;
  badOffset[22] = 9;  // offset past the text block
  std::vector<unsigned char> tooMany = next;
  tooMany[16] = 15001 & 0xFF;
  tooMany[17] = 15001 >> 8;
  const Case cases[] = {
      {"text block cut short", truncatedText, 5},
      {"entry table cut short", truncatedTable, 5},
      {"offset outside the block", badOffset, 5},
      {"more than 15000 entries ends quietly", tooMany, 0},
  };
  for (const Case& c : cases) {
    std::vector<unsigned char> bytes = good;
    bytes.insert(bytes.end(), c.tail.begin(), c.tail.end());
    WriteBytes(path, bytes);
    Catalog_Handle catalog = ReadIgnoringErrors(path);
    EXPECT_EQ(Catalog_catError, c.error) << c.what;
    EXPECT_EQ(Text(catalog, "A", 1), "kept") << c.what;
    EXPECT_EQ(Text(catalog, "B", 1), "???") << c.what;
    Catalog_CloseCatalogue(catalog);
  }
  Messages_ForgetErrorReasons();
}

TEST(CatalogSearch, FallsBackToEnglishThenGermanAlongMarlenv) {
  TempDir empty, site;
  WriteCatalog(site.Make("eng/both.srf"), {{"S", {{1, "english"}}}});
  WriteCatalog(site.Make("deu/both.srf"), {{"S", {{1, "deutsch"}}}});
  WriteCatalog(site.Make("deu/german.srf"), {{"S", {{1, "nur deutsch"}}}});
  ::setenv("MARLENV", (empty.Path() + ":" + site.Path()).c_str(), 1);

  Catalog_Handle c = Catalog_OpenForeignCatalogue("both.srf", "deu");
  EXPECT_EQ(Text(c, "S", 1), "deutsch");
  Catalog_CloseCatalogue(c);
  c = Catalog_OpenForeignCatalogue("both.srf", "C");  // no "C" directory
  EXPECT_EQ(Text(c, "S", 1), "english");
  Catalog_CloseCatalogue(c);
  c = Catalog_OpenForeignCatalogue("german.srf", "fra");
  EXPECT_EQ(Text(c, "S", 1), "nur deutsch");
  Catalog_CloseCatalogue(c);

  Messages_IgnoreErrors(true);
  c = Catalog_OpenForeignCatalogue("missing.srf", "eng");
  Messages_IgnoreErrors(false);
  EXPECT_EQ(c, nullptr);
  EXPECT_EQ(Catalog_catError, 4);
  // The lookups' own failures are forgotten; the reason names the catalog.
  char reason[kTextCap];
  ASSERT_TRUE(Messages_ErrorReason(reason));  // the error itself
  ASSERT_TRUE(Messages_ErrorReason(reason));
  EXPECT_NE(std::string(reason).find("missing.srf'"), std::string::npos) << reason;
  EXPECT_FALSE(Messages_ErrorReason(reason));
  ::unsetenv("MARLENV");
}
