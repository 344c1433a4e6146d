#include "base/SFilMisc.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>
#include <string>

#include "tests/support/TestFiles.h"

namespace {

std::string SuffixOf(const std::string& path) {
  PathStr suffix;
  SFilMisc_SuffixOf(path, suffix);
  return suffix;
}

std::string Stripped(const std::string& path) {
  PathStr s;
  Strings_Assign(path, s);
  SFilMisc_StripExtension(s);
  return s;
}

// The path with the extension required; the path unchanged, and a failure
// noted, when that is refused.
std::string Required(const std::string& path, const char* extension, bool fits = true) {
  PathStr s;
  Strings_Assign(path, s);
  EXPECT_EQ(SFilMisc_RequireExtension(s, StrIn::C(extension)), fits) << path;
  return s;
}

unsigned ModeOf(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : ~0u;
}

}  // namespace

TEST(SFilMiscSuffix, LastElementAfterItsOpeningDots) {
  struct Row {
    const char *path, *suffix, *stripped, *withTar;
  };
  for (const Row& row : {Row{"a/b.tar.gz", ".gz", "a/b.tar", "a/b.tar.gz.tar"}, Row{"a.b/c", "", "a.b/c", "a.b/c.tar"},
                         Row{".hidden", "", ".hidden", ".hidden.tar"}, Row{"d/.x.tar", ".tar", "d/.x", "d/.x.tar"},
                         Row{".tar", "", ".tar", ".tar.tar"}, Row{"...x.y", ".y", "...x", "...x.y.tar"},
                         Row{"abc.", ".", "abc", "abc.tar"}}) {
    EXPECT_EQ(SuffixOf(row.path), row.suffix) << row.path;
    EXPECT_EQ(Stripped(row.path), row.stripped) << row.path;
    const std::string required = Required(row.path, ".tar");
    EXPECT_EQ(required, row.withTar);
    EXPECT_EQ(SuffixOf(required), ".tar") << row.path;
    EXPECT_EQ(Required(required, "tar"), required);  // once is enough; the dot is optional
  }
  EXPECT_EQ(Required("a.tar.gz", ".tar.gz"), "a.tar.gz");
  EXPECT_EQ(Required("a.TAR", ".tar"), "a.TAR.tar");  // case counts

  // Without a name in the last element there is nothing to carry a suffix.
  for (const char* nameless : {"", "a.b/", "..", "d/..."}) {
    EXPECT_TRUE(SuffixOf(nameless).empty() && Stripped(nameless) == nameless) << nameless;
    EXPECT_EQ(Required(nameless, ".tar", false), nameless);
  }
}

TEST(SFilMiscSuffix, RequireRefusesToCut) {
  char exact[7] = "abc", tight[7] = "abcd";
  EXPECT_TRUE(SFilMisc_RequireExtension(exact, ".tar"));
  EXPECT_EQ(std::string(exact, 7), "abc.tar");  // fills the array, no terminator
  EXPECT_EQ(SuffixOf(std::string(exact, 7)), ".tar");
  EXPECT_FALSE(SFilMisc_RequireExtension(tight, ".tar"));
  EXPECT_STREQ(tight, "abcd");
}

// What a shell gives back of `word`.
std::string Echoed(const std::string& word) {
  FILE* shell = ::popen(("printf %s " + word).c_str(), "r");
  if (shell == nullptr) return "(no shell)";
  std::string echoed;
  for (int c; (c = std::fgetc(shell)) != EOF;) echoed += static_cast<char>(c);
  return ::pclose(shell) == 0 ? echoed : "(failed)";
}

// What the escaped and quoted texts are worth: a shell gives back the original word.
TEST(SFilMiscShell, EscapedTextSurvivesTheShell) {
  const std::string nasty = "~root a b\t$HOME `id` \"q\" 'p' \\ ; & | < > ( ) { } [ ] * ? ! #x\nnext\n";
  TextStr escaped;
  ASSERT_TRUE(SFilMisc_EscapeShMetaChars(nasty, escaped));
  EXPECT_EQ(Echoed(escaped), nasty);
  EXPECT_EQ(Echoed(SFilMisc_QuoteForShell(nasty + "\nline 2 ''")), nasty + "\nline 2 ''");

  char inPlace[5] = "a&b;";
  EXPECT_FALSE(SFilMisc_EscapeShMetaChars(inPlace, inPlace));
  EXPECT_STREQ(inPlace, "a\\&b");  // cut, but never a lone escape
}

TEST(SFilMiscShell, ChModTakesOctalTextOnly) {
  TempDir dir;
  const std::string file = dir.Path() + "/f";
  WriteBytes(file, {'x'});
  for (const auto& [text, mode] : {std::pair{"640", 0640u}, {"0755", 0755u}, {"1777", 01777u}}) {
    ASSERT_TRUE(SFilMisc_ChMod(file, StrIn::C(text)));
    EXPECT_EQ(ModeOf(file), mode);
  }
  for (const char* bad : {"", "8", "68", "6a6", " 644", "644 ", "-644", "17777", "000000"})
    EXPECT_FALSE(SFilMisc_ChMod(file, StrIn::C(bad)) || ModeOf(file) != 01777u) << bad;
  EXPECT_FALSE(SFilMisc_ChMod(dir.Path() + "/missing", "666"));
}

TEST(SFilMiscTmp, FreshNamesBesideTheModelOrInTmp) {
  SFilMisc_Init();
  TempDir dir;
  ::setenv("TMP", dir.Path().c_str(), 1);
  ::setenv("HOST", "h.example", 1);
  PathStr path;
  ASSERT_TRUE(SFilMisc_CreateTmpName(".ruleSelection", path));
  const std::string first = path, prefix = dir.Path() + "/.ruleSelection.h.example-" + std::to_string(::getpid()) + "-";
  ASSERT_EQ(first.substr(0, prefix.size()), prefix);
  const unsigned long n = std::stoul(first.substr(prefix.size()));
  EXPECT_EQ(first, prefix + std::to_string(n) + ".tmp");

  // The next number is taken by a file already, so it is passed over.
  WriteBytes(prefix + std::to_string(n + 1) + ".tmp", {});
  ASSERT_TRUE(SFilMisc_CreateTmpName(".ruleSelection", path));
  EXPECT_EQ(path, prefix + std::to_string(n + 2) + ".tmp");

  ASSERT_TRUE(SFilMisc_CreateTmpName("/some/where/list.lst", path));
  EXPECT_EQ(std::string(path), "/some/where/list.h.example-" + std::to_string(::getpid()) + "-" +
                                   std::to_string(n + 3) + ".tmp.lst");

  std::set<std::string> names;
  for (int i = 0; i < 50 && SFilMisc_CreateTmpName("same", path); ++i) {
    names.insert(path);
    EXPECT_TRUE(SFilMisc_IsTmpName(path)) << path;
  }
  EXPECT_EQ(names.size(), 50u);

  char tiny[64];
  EXPECT_FALSE(SFilMisc_CreateTmpName(std::string(60, 'n'), tiny));
  EXPECT_STREQ(tiny, "");
}

TEST(SFilMiscTmp, RecognisesBothFormsOnly) {
  for (const char* name : {"/d/.xrc.h-7.tmp", "report.pdf.host-12.tmp", "a.h-7-3.tmp.tif", "x.my-host.local-99.tmp"})
    EXPECT_TRUE(SFilMisc_IsTmpName(StrIn::C(name))) << name;
  for (const char* name : {"report.pdf", "a.tmp", "x-7.tmp", "a.h-7.tmp.tif.bak", "a.h-7.tmp/c", "a.h-x.tmp", ""})
    EXPECT_FALSE(SFilMisc_IsTmpName(StrIn::C(name))) << name;
}
