#include "rules/SRename.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"

namespace {

const bool site = UseBuildTreeSite([] {
  ::setenv("LANGUAGE", "eng", 1);
  ::unsetenv("DEBUG");
  SRename_Init();
});

const std::string kData = FLOATDECK_SOURCE_DIR "/tests/data/rename/";

// An owned scheme.
struct Scheme {
  SRename s = SRename_Nil();
  Scheme() = default;
  explicit Scheme(SRename scheme) : s(scheme) {}
  Scheme(Scheme&& other) noexcept : s(other.s) { other.s = SRename_Nil(); }
  ~Scheme() { SRename_Destroy(s); }
};

std::string ErrorMessage() {
  char text[kTextCap];
  SRename_GetErrorMessage(text);
  return text;
}

Scheme FromText(const std::string& text) {
  SRename s = SRename_Nil();
  EXPECT_TRUE(SRename_LoadText(text.data(), text.size(), s)) << text << "\n" << ErrorMessage();
  return Scheme(s);
}

Scheme FromFile(const std::string& name) {
  SRename s = SRename_Nil();
  EXPECT_TRUE(SRename_Load(kData + name, s)) << name << ": " << ErrorMessage();
  return Scheme(s);
}

std::string SaveText(SRename s) {
  std::string text;
  EXPECT_TRUE(SRename_SaveText(s, text)) << ErrorMessage();
  return text;
}

// The pieces of the last match, or nullopt when the name doesn't fit.
std::optional<std::vector<std::string>> Pieces(SRename s, const std::string& name) {
  if (!SRename_Match(s, name)) return std::nullopt;
  std::vector<std::string> pieces;
  SRenamOp seg = SRename_NilSeg();
  for (bool more = SRename_GetFirstSeg(s, true, seg); more; more = SRename_GetNextSeg(s, true, seg)) {
    char content[kNameCap + 1];
    SRenamOp_GetContent(seg, content);
    pieces.emplace_back(content);
  }
  return pieces;
}

std::optional<std::string> Renamed(SRename s, const std::string& name) {
  char out[kNameCap + 1];
  if (!SRename_Rename(s, name, out)) return std::nullopt;
  return std::string(out);
}

using Names = std::vector<std::string>;

}  // namespace

// --- Matching -----------------------------------------------------------------

TEST(SRenameMatch, DelimiterMayBeAbsentAndVariantsAreTriedLongestFirst) {
  const Scheme scheme = FromFile("delimiter.trs");
  EXPECT_EQ(Pieces(scheme.s, "abc_07"), (Names{"abc", "_", "07"}));
  // Without its delimiter the name is all NAME1; the number goes with it.
  EXPECT_EQ(Pieces(scheme.s, "abc07"), (Names{"abc07", "", ""}));
  // A delimiter inside the name can't be skipped over.
  EXPECT_EQ(Pieces(scheme.s, "ab_c07"), std::nullopt);
  EXPECT_EQ(Pieces(scheme.s, "_07"), std::nullopt);
  // The empty name fits with empty pieces, although the scheme needs some.
  EXPECT_EQ(Pieces(scheme.s, ""), (Names{"", "", ""}));
  // Variants are tried longest first.
  const Scheme variants = FromFile("variant.trs");
  EXPECT_EQ(Pieces(variants.s, "CMX"), (Names{"CM", "X"}));
}

TEST(SRenameMatch, LengthsNumbersAndCharacterTypes) {
  struct Case {
    std::string source, name;
    bool fits;
  };
  const Case cases[] = {
      {"[CHARS]1-5", "abcde", true},
      {"[CHARS]1-5", "abcdef", false},
      {"[CHARS]2,4", "abcd", true},
      {"[DIGITS]<0-99999999>9", "123456789", true},
      {"[DIGITS]9", "123456789", false},
      {"[DIGITS]<0-99999999,EVEN>9", "123456789", false},
      {"[DIGITS]<EVEN,0-99999999>9", "123456788", true},
      {"[NUM1]<1-99,ODD>1,2", "07", true},
      {"[NUM1]<1-99,ODD>1,2", "08", false},
      {"[NUM1]<1-99>1-3", "100", false},
      {"[NUM2]1-3", "1a", false},
      {"[NAME1]<FIRST=LETTER,LAST=NODIGIT>1-20", "a1-b", true},
      {"[NAME1]<FIRST=LETTER,LAST=NODIGIT>1-20", "1ab", false},
      {"[NAME2]<FIRST=ALPHANUMERIC,LAST=NOALPHANUMERIC>1-20", "x.", true},
      {"[NAME3]<FIRST=NOLETTER,LAST=DIGIT>1-20", "_9", true},
      {"[NAME3]<FIRST=NOLETTER,LAST=DIGIT>1-20", "a9", false},
      {"\"job\"[CHARS]1-3", "Job12", false},
  };
  for (const Case& c : cases) {
    const Scheme scheme = FromText("V2 " + c.source + " EXAMPLE \"\"");
    EXPECT_EQ(SRename_Match(scheme.s, c.name), c.fits) << c.source << " on " << c.name;
  }
}

TEST(SRenameMatch, FailingPartitionsAreNotExploredTwice) {
  // Forty ranges over sixty characters with a literal that never comes: plain
  // backtracking would try more partitions than there are atoms in a star.
  std::string text = "V2 ";
  for (int i = 0; i < 40; ++i) text += "[CHARS]0-40";
  const Scheme scheme = FromText(text + "\"x\" EXAMPLE \"\"");
  EXPECT_FALSE(SRename_Match(scheme.s, std::string(60, 'a')));
  EXPECT_TRUE(SRename_Match(scheme.s, std::string(60, 'a') + "x"));
}

namespace {

// The matcher as the format describes it: plain backtracking over small
// schemes, to hold the real one's pruning and memory of failures against.
class ReferenceMatcher {
 public:
  ReferenceMatcher(SRename s, std::string name) : name_(std::move(name)) {
    SRenamOp seg = SRename_NilSeg();
    for (bool more = SRename_GetFirstSeg(s, true, seg); more; more = SRename_GetNextSeg(s, true, seg)) segs_.push_back(seg);
    pieces_.resize(segs_.size());
  }

  std::optional<Names> Run() {
    std::size_t least = 0, most = 0;
    for (std::size_t i = 0; i < segs_.size(); ++i) least += Is(i, SRenamOp_kDelimiter) ? 0 : Min(i), most += Max(i);
    const bool empty = name_.empty();
    if (!empty && (name_.size() < least || name_.size() > most || !Segments(0, 0, true))) return std::nullopt;
    for (std::size_t i = 0; i < segs_.size(); ++i)
      if (SRenamOp_IsString(segs_[i])) pieces_[i] = Content(i);
    return pieces_;
  }

 private:
  bool Is(std::size_t i, std::uint8_t keyword) const {
    return i < segs_.size() && !SRenamOp_IsString(segs_[i]) && SRenamOp_GetKeyword(segs_[i]) == keyword;
  }
  std::string Content(std::size_t i) const {
    char text[kNameCap + 1];
    SRenamOp_GetContent(segs_[i], text);
    return text;
  }
  std::vector<std::uint32_t> List(std::size_t i) const {
    std::vector<std::uint32_t> lengths;
    std::uint32_t n = 0;
    for (bool more = SRenamOp_GetFirstLength(segs_[i], n); more; more = SRenamOp_GetNextLength(segs_[i], n)) lengths.push_back(n);
    return lengths;
  }
  std::size_t Min(std::size_t i) const { return Bounds(i).first; }
  std::size_t Max(std::size_t i) const { return Bounds(i).second; }
  std::pair<std::size_t, std::size_t> Bounds(std::size_t i) const {
    std::uint32_t low = 0, high = 0;
    if (SRenamOp_IsString(segs_[i])) return {Content(i).size(), Content(i).size()};
    if (SRenamOp_GetRange(segs_[i], low, high)) return {low, high};
    return {List(i).front(), List(i).back()};
  }
  static bool TypeFits(char c, std::uint8_t type) {
    const bool letter = std::isalpha(static_cast<unsigned char>(c)) != 0;
    return type == SRenamOp_kLetter ? letter : type == SRenamOp_kDigit ? (c >= '0' && c <= '9') : true;
  }
  bool Fits(std::size_t i, const std::string& t) const {
    const SRenamOp seg = segs_[i];
    if (SRenamOp_IsString(seg)) return t == Content(i);
    char fix[kNameCap + 1];
    std::uint8_t first = 0, last = 0;
    std::uint32_t low = 0, high = 0;
    std::vector<std::string> variants;
    switch (SRenamOp_GetKeyword(seg)) {
      case SRenamOp_kChars:
        SRenamOp_GetCharProperties(seg, first, last);
        return TypeFits(t.empty() ? '\0' : t.front(), first) && TypeFits(t.empty() ? '\0' : t.back(), last);
      case SRenamOp_kDelimiter: return SRenamOp_GetFixContent(seg, fix), std::string(fix).starts_with(t);
      case SRenamOp_kLetters: return std::all_of(t.begin(), t.end(), [](char c) { return std::isalpha(c) != 0; });
      case SRenamOp_kVariant:
        SRenamOp_IterateVariants(seg, [](StrIn v, void* all) { static_cast<Names*>(all)->push_back(v.Str()); }, &variants);
        return std::find(variants.begin(), variants.end(), t) != variants.end();
      default:
        SRenamOp_GetNumRange(seg, low, high);
        return t.empty() || (std::all_of(t.begin(), t.end(), [](char c) { return c >= '0' && c <= '9'; }) &&
                             std::stoul(t) >= low && std::stoul(t) <= high);
    }
  }
  bool Take(std::size_t i, std::size_t at, std::size_t length, bool mayMiss) {
    const std::string piece = name_.substr(at, length);
    if (!Fits(i, piece)) return false;
    pieces_[i] = piece;
    return Segments(i + 1, at + length, mayMiss);
  }
  bool Segments(std::size_t i, std::size_t at, bool mayMiss) {
    if (i == segs_.size()) return at == name_.size();
    const std::size_t rest = name_.size() - at, min = Min(i), bound = std::min(rest, Max(i));
    const bool absent = Is(i, SRenamOp_kDelimiter) && mayMiss;
    if (rest >= min || absent) {
      if (!SRenamOp_IsString(segs_[i]) && !SRenamOp_IsRange(segs_[i])) {
        for (const std::uint32_t n : List(i))
          if (n <= rest && Take(i, at, n, true)) return true;
      } else if (Is(i, SRenamOp_kVariant)) {
        for (std::size_t n = bound + 1; n-- > min;)
          if (Take(i, at, n, true)) return true;
      } else {
        char fix[kNameCap + 1] = "";
        const std::size_t d = Is(i + 1, SRenamOp_kDelimiter) && SRenamOp_GetFixContent(segs_[i + 1], fix)
                                  ? name_.find(fix, at) - (name_.find(fix, at) == std::string::npos ? 0 : at)
                                  : std::string::npos;
        for (std::size_t n = min; n <= bound; ++n)
          if (Take(i, at, n, n <= d)) return true;
      }
    }
    if (!absent || i + 1 == segs_.size() || SRenamOp_IsString(segs_[i + 1]) || !Fits(i + 1, "")) return false;
    pieces_[i] = pieces_[i + 1] = "";
    return Segments(i + 2, at, true);
  }

  std::string name_;
  std::vector<SRenamOp> segs_;
  Names pieces_;
};

}  // namespace

TEST(SRenameMatch, FindsThePartitionPlainBacktrackingFinds) {
  std::mt19937 random(99);
  auto pick = [&](std::vector<std::string> items) { return items[random() % items.size()]; };
  std::size_t fitting = 0;
  for (int i = 0; i < 3000; ++i) {
    std::string text = "V2 ";
    for (std::size_t n = 1 + random() % 5; n > 0; --n)
      text += pick({"\"a\"", "\"_\"", "[CHARS]0-3", "[CHARS]<FIRST=LETTER,LAST=DIGIT>1,3", "[DELIMITER]<\"_\">",
                    "[DELIMITER]<\"-_\">1-2", "[DIGITS]0-2", "[NUM1]<0-50>1,2", "[VARIANT]<\"a\"|\"ab\"|\"1\">",
                    "[LETTERS]1-4", "[VARIANT]<\"\"|\"b\">0-1"});
    const Scheme scheme = FromText(text + " EXAMPLE \"\"");
    std::string name;
    for (std::size_t n = random() % 9; n > 0; --n) name += "ab_1-"[random() % 5];
    const std::optional<Names> expected = ReferenceMatcher(scheme.s, name).Run();
    EXPECT_EQ(Pieces(scheme.s, name), expected) << text << " on " << name;
    fitting += expected.has_value() ? 1 : 0;
  }
  EXPECT_GT(fitting, 300u);
}

// --- Renaming -----------------------------------------------------------------

TEST(SRenameRename, ReplacementsNeverTouchWhatAnEarlierOneWrote) {
  const Scheme scheme = FromFile("swap.trs");
  EXPECT_EQ(Renamed(scheme.s, "ab"), "ba+ab");
  EXPECT_EQ(Renamed(scheme.s, "aaa"), "bbb+ba");
  const Scheme lengths = FromText(R"x(V2 [CHARS]1-20 => [1]("ab")->("xyz")(z)->("")(y)->(y) EXAMPLE "")x");
  EXPECT_EQ(Renamed(lengths.s, "abzab"), "xyzxyz");
}

TEST(SRenameRename, StepsRunRoundWithinTheRange) {
  const Scheme scheme = FromFile("counter.trs");
  EXPECT_EQ(Renamed(scheme.s, "08"), "09/07");
  EXPECT_EQ(Renamed(scheme.s, "09"), "01/08");
  EXPECT_EQ(Renamed(scheme.s, "10"), "01/09");
  const Scheme version1 = FromFile("version1.trs");
  EXPECT_EQ(Renamed(version1.s, "10"), "01/09");
  const Scheme bigSteps = FromText(R"x(V2 [COUNTER]<1-10>2 => [1]INC(13)"/"[1]DEC(3) EXAMPLE "")x");
  EXPECT_EQ(Renamed(bigSteps.s, "05"), "08/02");
}

TEST(SRenameRename, ArithmeticKeepsTheWidthOrFails) {
  const Scheme wide = FromText(R"x(V2 [NUM1]<0-999>3 => [1]INC(1) EXAMPLE "")x");
  EXPECT_EQ(Renamed(wide.s, "007"), "008");
  // The default range steps with a span of -1: the result is -1.
  const Scheme unbounded = FromText(R"x(V2 [NUM1]3 => [1]INC(1) EXAMPLE "")x");
  EXPECT_EQ(Renamed(unbounded.s, "007"), "0-1");
  // A range of one number can't be stepped; nor can an absent number.
  const Scheme single = FromText(R"x(V2 [NUM1]<5-5>1 => [1]INC(1) EXAMPLE "")x");
  EXPECT_EQ(Renamed(single.s, "5"), std::nullopt);
  EXPECT_EQ(SRename_error, SRename_kArithmetic);
  const Scheme separation = FromFile("separation.trs");
  EXPECT_EQ(Renamed(separation.s, "abc07C"), std::nullopt);
  EXPECT_EQ(SRename_error, SRename_kArithmetic);
  EXPECT_EQ(Renamed(separation.s, "x_99K"), "X-01.k");
}

TEST(SRenameRename, FormulasSeeTheNumbersOfTheMatch) {
  const Scheme scheme = FromText(R"x(V2 [NUM1]2[NUM2]2 => [1]FORMULA("VALUE * 10 + NUM2")"-"[2]FORMULA("NUM1 - VALUE") EXAMPLE "")x");
  EXPECT_EQ(Renamed(scheme.s, "0305"), "35--2");
  EXPECT_EQ(Renamed(scheme.s, "0007"), "7--7");
}

TEST(SRenameRename, CutFillAndCaseInFileOrder) {
  const Scheme scheme =
      FromText(R"x(V2 [CHARS]1-20 => [1]^|<3"-"[1]>|2"-"[1]<|6(0)"-"[1]v|>6(_)"-"[1]|>5())"-"[1]>|2<|4()|>5("*") EXAMPLE "")x");
  EXPECT_EQ(Renamed(scheme.s, "aBcd"), "BCD-aB-00aBcd-abcd__-aBcd)-  aB*");
  const Scheme matchOnly = FromFile("delimiter.trs");
  EXPECT_EQ(Renamed(matchOnly.s, "abc_07"), std::nullopt);
  EXPECT_EQ(Renamed(matchOnly.s, ""), "");
}

// --- Files --------------------------------------------------------------------

TEST(SRenameFile, ExampleSchemeFromAFile) {
  const Scheme scheme = FromFile("separation.trs");
  char example[kNameCap + 1], renamed[kNameCap + 1];
  SRename_GetExampleString(scheme.s, example);
  EXPECT_STREQ(example, "abc\\|_\\|07\\|C");
  SRename_GetExampleAssignment(scheme.s, example, renamed);
  EXPECT_STREQ(example, "abc_07C");
  EXPECT_STREQ(renamed, "ABC-08.c");
  EXPECT_EQ(SaveText(scheme.s),
            "V2 [NAME1]1-20[DELIMITER]<\"_\">1-1[NUM1]<1-99>2[VARIANT]<\"C\"|\"M\"|\"Y\"|\"K\">1-1\n"
            "=> [1]^\"-\"[3]INC(1)\".\"[4]v\n"
            "EXAMPLE \"abc\\|_\\|07\\|C\"\n");
  const Scheme matchOnly = FromFile("variant.trs");
  SRename_GetExampleAssignment(matchOnly.s, example, renamed);
  EXPECT_STREQ(example, "CMX");
  EXPECT_STREQ(renamed, "");
}

TEST(SRenameFile, BadSchemesTellWhyAndWhere) {
  struct Case {
    std::string text;
    std::uint8_t error;
    std::size_t line;
  };
  const Case cases[] = {
      {"", SRename_kVersion, 1},
      {"X2 [CHARS]1-1 EXAMPLE \"\"", SRename_kVersion, 1},
      {"V3 [CHARS]1-1 EXAMPLE \"\"", SRename_kVersion, 1},
      {"V2\nEXAMPLE \"\"", SRename_kSyntax, 2},
      {"V2 [CHARS]1-1\n=> [1]\nEXAMPLE \"\" [1]", SRename_kSyntax, 3},
      {"V2 \"job\"[CHARS]1-1\n=> [1]\nEXAMPLE \"\"", SRename_kSyntax, 2},
      {"V2 [CHARS]1-1 => [2] EXAMPLE \"\"", SRename_kInconsistent, 1},
      {"V2 [CHARS]1-1\n\n[DELIMITER]<", SRename_kSyntax, 3},
      {"V2 [\"CHARS\"]1-1 EXAMPLE \"\"", SRename_kSyntax, 1},
      {"V2 [LETTERS]<\"x\">1-1 EXAMPLE \"\"", SRename_kSyntax, 1},
      {"V2 [CHARS]1-1 => [1]INC EXAMPLE \"\"", SRename_kSyntax, 1},
      {"V1 [CHARS]1-1 => [1]INC(2) EXAMPLE \"\"", SRename_kSyntax, 1},
      {"V2 [CHARS]1-1 => [1]|<3 x EXAMPLE \"\"", SRename_kSyntax, 1},
      {"V2 [CHARS]1-1 => [1]<|3(ab) EXAMPLE \"\"", SRename_kSyntax, 1},
      {"V2 [CHARS]1-1\n(* not closed", SRename_kScanner, 2},
      {"V2 [CHARS]1-1 EXAMPLE \"\" =>", SRename_kSyntax, 1},
  };
  for (const Case& c : cases) {
    SRename s = SRename_Nil();
    EXPECT_FALSE(SRename_LoadText(c.text.data(), c.text.size(), s)) << c.text;
    EXPECT_EQ(s, SRename_Nil());
    EXPECT_EQ(SRename_error, c.error) << c.text;
    EXPECT_EQ(SRename_errorLine, c.line) << c.text;
  }
  SRename s = SRename_Nil();
  EXPECT_FALSE(SRename_Load(kData + "bad_reference.trs", s));
  EXPECT_EQ(ErrorMessage(), "Line 3: The rename scheme is not written in the expected form.");
  EXPECT_FALSE(SRename_Load(kData + "missing", s));
  EXPECT_EQ(SRename_error, SRename_kNotOpened);
  EXPECT_FALSE(SRename_Load("", s));
  EXPECT_EQ(SRename_error, SRename_kNoName);
}

TEST(SRenameFile, FormulasAreCheckedOnLoad) {
  const std::string missing = R"x(V2 [NUM1]2 => [1]FORMULA("VALUE + COUNTER") EXAMPLE "")x";
  SRename s = SRename_Nil();
  EXPECT_FALSE(SRename_LoadText(missing.data(), missing.size(), s));
  EXPECT_EQ(SRename_error, SRename_kSyntax);
  EXPECT_STREQ(SRename_errorDetail, "The formula uses the counter, but the scheme has no counter section.");
  const std::string broken = R"x(V2 [NUM1]2 => [1]FORMULA("VALUE +") EXAMPLE "")x";
  EXPECT_FALSE(SRename_LoadText(broken.data(), broken.size(), s));
  EXPECT_NE(std::string(SRename_errorDetail).find(" (#"), std::string::npos) << SRename_errorDetail;
  // The check reads the scheme's source, not the formula's meaning.
  const Scheme scheme = FromText(R"x(V2 [COUNTER]2 EXAMPLE "")x");
  char message[kTextCap];
  EXPECT_TRUE(SRename_CheckFormula("COUNTER * 2", scheme.s, message));
  EXPECT_FALSE(SRename_CheckFormula("NUM2", scheme.s, message));
  EXPECT_STREQ(message, "The formula uses the second number, but the scheme has no number 2 section.");
}

TEST(SRenameFile, LenientPropertiesAndSaveRules) {
  // Unknown words pass; a type that is none means any character.
  const Scheme lenient = FromText(R"x(V2 [NAME1]<COLOR=RED,FIRST=FOO,LAST=DIGIT>1-5 EXAMPLE "")x");
  EXPECT_EQ(SaveText(lenient.s), "V2 [NAME1]<LAST=DIGIT>1-5\nEXAMPLE \"\"\n");
  // Characters that the scanner can't deliver bare are quoted; "()" is a blank.
  const Scheme chars = FromText(R"x(V2 [CHARS]1-9 => [1]('"')->("*")("'")->("`")()->()) EXAMPLE 'say "hi"')x");
  EXPECT_EQ(SaveText(chars.s), "V2 [CHARS]1-9\n=> [1]('\"')->(\"*\")(\"'\")->(\"`\")()->())\nEXAMPLE 'say \"hi\"'\n");
  EXPECT_EQ(Renamed(chars.s, "a\"b' c"), "a*b`)c");
  // Both quotes in one literal can't be written.
  SRenamOp literal = SRename_CreateSrcSeg(true);
  SRenamOp_SetContent(literal, "it's \"x\"");
  ASSERT_TRUE(SRename_InsertSrcSeg(lenient.s, 1, literal));
  std::string text;
  EXPECT_FALSE(SRename_SaveText(lenient.s, text));
  EXPECT_EQ(SRename_error, SRename_kBothQuotes);
}

TEST(SRenameFile, SaveReplacesTheSuffixAndLeavesNoTrace) {
  TempDir dir;
  const Scheme scheme = FromFile("separation.trs");
  ASSERT_TRUE(SRename_Save(dir.Path() + "/job.txt", scheme.s)) << ErrorMessage();
  Scheme again;
  ASSERT_TRUE(SRename_Load(dir.Path() + "/job", again.s));
  EXPECT_EQ(SaveText(again.s), SaveText(scheme.s));
  // A target that can't be replaced stays as it was, with no temporary file.
  std::filesystem::create_directory(dir.Path() + "/blocked.trs");
  EXPECT_FALSE(SRename_Save(dir.Path() + "/blocked", scheme.s));
  EXPECT_EQ(SRename_error, SRename_kNotCreated);
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(dir.Path())) files.push_back(entry.path().filename());
  std::sort(files.begin(), files.end());
  EXPECT_EQ(files, (std::vector<std::string>{"blocked.trs", "job.trs"}));
}

// The two things that don't read back the same, kept as the format has them.
TEST(SRenameFile, DocumentedAsymmetries) {
  const Scheme scheme = FromText(R"x(V2 [CHARS]1-9 => [1]v EXAMPLE "")x");
  SRenamOp_Operator inc;
  inc.kind = SRenamOp_kArithmetic;
  ASSERT_TRUE(SRenamOp_AddOp(SRename_GetSeg(scheme.s, false, 1), inc));
  const std::string text = SaveText(scheme.s);
  EXPECT_NE(text.find("[1]vINC(1)"), std::string::npos);
  SRename s = SRename_Nil();
  EXPECT_FALSE(SRename_LoadText(text.data(), text.size(), s));
  EXPECT_EQ(SRename_error, SRename_kSyntax);

  // A literal's backslash before a quote is written as it stands and read as
  // an escape.
  const Scheme literal = FromText(R"x(V2 "x" EXAMPLE "")x");
  SRenamOp_SetContent(SRename_GetSeg(literal.s, true, 1), R"(a\"b)");
  const std::string written = SaveText(literal.s);
  EXPECT_EQ(written, "V2 'a\\\"b'\nEXAMPLE \"\"\n");
  const Scheme back = FromText(written);
  char content[kNameCap + 1];
  SRenamOp_GetContent(SRename_GetSeg(back.s, true, 1), content);
  EXPECT_STREQ(content, "a\"b");
}

// --- Round trip of random schemes ----------------------------------------------

namespace {

class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}

  SRename Make() {
    SRename s = SRename_Create();
    const std::size_t sources = 1 + Below(6);
    std::vector<std::size_t> sections;
    for (std::size_t i = 1; i <= sources; ++i) {
      const bool literal = Below(4) == 0;
      SRenamOp seg = SRename_CreateSrcSeg(literal);
      if (literal) SRenamOp_SetContent(seg, Text(kLiteral, 0, 6));
      else FillSource(seg), sections.push_back(i);
      SRename_InsertSrcSeg(s, i, seg);
    }
    const std::size_t destinations = Below(6);
    for (std::size_t i = 1; i <= destinations; ++i) {
      const bool literal = sections.empty() || Below(3) == 0;
      SRenamOp seg = SRename_CreateDstSeg(literal);
      std::size_t index = 0;
      if (literal) SRenamOp_SetContent(seg, Text(kLiteral, 0, 4));
      else index = sections[Below(sections.size())], FillDestination(seg);
      EXPECT_TRUE(SRename_InsertDstSeg(s, 1 + Below(i), index, seg));
    }
    SRename_SetExampleString(s, Text(kLiteral, 0, 3) + "\\|" + Text(kLiteral, 0, 3));
    return s;
  }

 private:
  static constexpr const char* kLiteral = "abcXYZ019 _-.,;:!?#$%&()[]<>=+^{}|~@/\"";
  static constexpr const char* kAny = "ab1 )(\"'*`\\|<>-=.,";

  std::size_t Below(std::size_t n) { return random_() % n; }
  std::uint32_t Number() { return Below(3) == 0 ? static_cast<std::uint32_t>(random_()) : static_cast<std::uint32_t>(Below(30)); }
  std::string Text(const char* chars, std::size_t least, std::size_t most) {
    std::string text;
    for (std::size_t n = least + Below(most - least + 1); n > 0; --n) text += chars[Below(std::strlen(chars))];
    return text;
  }

  void FillSource(SRenamOp seg) {
    const auto keyword = static_cast<std::uint8_t>(Below(SRenamOp_kKeywordCount));
    SRenamOp_SetKeyword(seg, keyword);
    if (keyword == SRenamOp_kDelimiter) SRenamOp_SetFixContent(seg, Text(kLiteral, 0, 3));
    for (std::size_t n = keyword == SRenamOp_kVariant ? 1 + Below(4) : 0; n > 0; --n)
      SRenamOp_AddVariant(seg, Text(kLiteral, 0, 4));
    SRenamOp_SetCharProperties(seg, static_cast<std::uint8_t>(Below(7)), static_cast<std::uint8_t>(Below(7)));
    if (Below(2) == 0) SRenamOp_SetNumRange(seg, Number(), Number());
    SRenamOp_SetNumParity(seg, static_cast<std::uint8_t>(Below(3)));
    if (keyword != SRenamOp_kVariant && Below(3) == 0) {
      for (std::size_t n = 1 + Below(3); n > 0; --n) SRenamOp_AddFixedLength(seg, Number());
    } else {
      SRenamOp_SetRange(seg, Number(), Number());
    }
  }

  void FillDestination(SRenamOp seg) {
    const auto shift = static_cast<std::uint8_t>(Below(3));
    SRenamOp_SetShiftOp(seg, shift);
    for (std::size_t n = Below(5); n > 0; --n) {
      SRenamOp_Operator op;
      op.kind = static_cast<std::uint8_t>(Below(4));
      op.left = Below(2) == 0;
      op.length = Number();
      op.fillChar = kAny[Below(std::strlen(kAny))];
      Strings_Assign(Text(kAny, 0, 3), op.from);
      Strings_Assign(Text(kAny, 0, 3), op.to);
      op.operation = static_cast<std::uint8_t>(Below(3));
      op.amount = Number();
      Strings_Assign(StrIn::C(Below(2) == 0 ? "VALUE * 2" : "MAX(VALUE, 3) - 1"), op.formula);
      // "v" and an arithmetic operator behind it would read as one word.
      SRenamOp_Operator first;
      if (shift == SRenamOp_kLower && op.kind == SRenamOp_kArithmetic && !SRenamOp_GetFirstOp(seg, first))
        op.kind = SRenamOp_kReplace;
      SRenamOp_AddOp(seg, op);
    }
  }

  std::mt19937 random_;
};

void AddVariantText(StrIn variant, void* data) { *static_cast<std::string*>(data) += "|" + variant.Str(); }

// Everything a scheme holds, through the public calls.
std::string Describe(SRename s) {
  std::ostringstream out;
  SRenamOp seg = SRename_NilSeg();
  for (bool more = SRename_GetFirstSeg(s, true, seg); more; more = SRename_GetNextSeg(s, true, seg)) {
    char text[kNameCap + 1];
    SRenamOp_GetContent(seg, text);
    if (SRenamOp_IsString(seg) && out << "lit(" << text << ") ") continue;
    out << "[" << int(SRenamOp_GetKeyword(seg)) << "]";
    std::uint32_t a = 0, b = 0;
    if (SRenamOp_GetRange(seg, a, b)) out << a << "-" << b;
    for (bool l = SRenamOp_GetFirstLength(seg, a); l; l = SRenamOp_GetNextLength(seg, a)) out << "," << a;
    if (SRenamOp_GetNumRange(seg, a, b)) out << " num " << a << "-" << b << "/" << int(SRenamOp_GetNumParity(seg));
    std::uint8_t first = 0, last = 0;
    if (SRenamOp_GetCharProperties(seg, first, last)) out << " types " << int(first) << int(last);
    if (SRenamOp_GetFixContent(seg, text)) out << " fix(" << text << ")";
    std::string variants;
    if (SRenamOp_IterateVariants(seg, AddVariantText, &variants)) out << " variants" << variants;
    out << " ";
  }
  out << "=> ";
  for (bool more = SRename_GetFirstSeg(s, false, seg); more; more = SRename_GetNextSeg(s, false, seg)) {
    char text[kNameCap + 1];
    SRenamOp_GetContent(seg, text);
    if (SRenamOp_IsString(seg) && out << "lit(" << text << ") ") continue;
    out << "[" << SRename_GetSrcSeg(s, seg) << "]" << int(SRenamOp_GetShiftOp(seg));
    SRenamOp_Operator op;
    for (bool o = SRenamOp_GetFirstOp(seg, op); o; o = SRenamOp_GetNextOp(seg, op)) {
      out << " op" << int(op.kind) << ":";
      if (op.kind <= SRenamOp_kFill) out << op.left << op.length;
      if (op.kind == SRenamOp_kFill) out << "(" << op.fillChar << ")";
      if (op.kind == SRenamOp_kReplace) out << "(" << op.from << ")->(" << op.to << ")";
      if (op.kind == SRenamOp_kArithmetic) out << int(op.operation) << "/" << (op.operation == SRenamOp_kFormula ? op.formula : std::to_string(op.amount));
    }
    out << " ";
  }
  char example[kNameCap + 1];
  SRename_GetExampleString(s, example);
  return out.str() + "example(" + example + ")";
}

}  // namespace

TEST(SRenameFile, SavedSchemesLoadAsTheyWere) {
  Generator generate(20240611);
  for (int i = 0; i < 400; ++i) {
    const Scheme original(generate.Make());
    const std::string text = SaveText(original.s);
    SRename reloaded = SRename_Nil();
    ASSERT_TRUE(SRename_LoadText(text.data(), text.size(), reloaded)) << text << "\n" << ErrorMessage();
    const Scheme owned(reloaded);
    EXPECT_EQ(Describe(owned.s), Describe(original.s)) << text;
    EXPECT_EQ(SaveText(owned.s), text);
  }
}

// --- Editing and contents ---------------------------------------------------------

TEST(SRenameEdit, ReferencesFollowTheirSourceSections) {
  const Scheme scheme = FromText(R"x(V2 [NAME1]1-20"_"[NUM1]2 => [3]"-"[1] EXAMPLE "")x");
  // A section in front renumbers the references.
  SRenamOp front = SRename_CreateSrcSeg(false);
  SRenamOp_SetKeyword(front, SRenamOp_kLetters);
  ASSERT_TRUE(SRename_InsertSrcSeg(scheme.s, 1, front));
  EXPECT_NE(SaveText(scheme.s).find("=> [4]\"-\"[2]"), std::string::npos);
  // References to literals or to nothing are refused.
  SRenamOp d = SRename_CreateDstSeg(false);
  EXPECT_FALSE(SRename_InsertDstSeg(scheme.s, 1, 3, d));
  EXPECT_EQ(SRename_error, SRename_kNoSegment);
  EXPECT_FALSE(SRename_InsertDstSeg(scheme.s, 1, 9, d));
  ASSERT_TRUE(SRename_InsertDstSeg(scheme.s, 9, 2, d));
  EXPECT_EQ(Renamed(scheme.s, "Xjob_07"), "07-jobjob");
  // Moving and re-pointing.
  ASSERT_TRUE(SRename_MoveDstSeg(scheme.s, d, 1));
  ASSERT_TRUE(SRename_SetSrcSeg(scheme.s, d, 1));
  EXPECT_FALSE(SRename_SetSrcSeg(scheme.s, d, 3));
  EXPECT_EQ(Renamed(scheme.s, "Xjob_07"), "X07-job");
  // A source section takes its destination sections along.
  SRenamOp name = SRename_GetSeg(scheme.s, true, 2);
  ASSERT_TRUE(SRename_DestroySeg(scheme.s, name));
  EXPECT_EQ(name, SRename_NilSeg());
  EXPECT_TRUE(SRename_Check(scheme.s));
  EXPECT_EQ(SaveText(scheme.s), "V2 [LETTERS]1-1\"_\"[NUM1]2\n=> [1][3]\"-\"\nEXAMPLE \"\"\n");
  SRenamOp stranger = SRename_CreateDstSeg(true);
  EXPECT_FALSE(SRename_DestroySeg(scheme.s, stranger));
  EXPECT_EQ(SRename_error, SRename_kNoSegment);
  SRenamOp_Destroy(stranger);
}

TEST(SRenameEdit, ContentsOfTheLastMatch) {
  const Scheme scheme = FromText(R"x(V2 [NAME1]1-20[DELIMITER]<"_">[VARIANT]<"C"|"M"|"Y"|"K">1-1 EXAMPLE "")x");
  ASSERT_TRUE(SRename_Match(scheme.s, "job_M"));
  char text[kNameCap + 1];
  EXPECT_TRUE(SRename_GetContentForKey(scheme.s, SRenamOp_kVariant, text));
  EXPECT_STREQ(text, "M");
  EXPECT_TRUE(SRename_GetContentKeyReplaced(scheme.s, SRenamOp_kVariant, "K", text));
  EXPECT_STREQ(text, "job_K");
  EXPECT_FALSE(SRename_IsKeyIncluded(scheme.s, SRenamOp_kNum1));
  EXPECT_FALSE(SRename_GetContentWithoutKey(scheme.s, SRenamOp_kNum1, text));
  EXPECT_STREQ(text, "job_M");
}

// --- The operator's tool ------------------------------------------------------------

TEST(RenameCheck, ShowsPiecesAndNewNamesOrWhyTheSchemeIsBad) {
  TempDir site;
  const std::vector<std::pair<std::string, std::string>> env{
      {"TV_CUSTOMER", site.Path()}, {"MARLENV", ""}, {"MARLLIB", ""}, {"LANGUAGE", ""},
      {"LANG", "C"},                {"DEBUG", ""},   {"MARLDAT", site.Path()}};
  const std::string program = FLOATDECK_BINARY_DIR "/bin/renamecheck";
  ASSERT_TRUE(std::filesystem::exists(program)) << "renamecheck is not built";

  RunResult r = RunProgram({program, kData + "separation.trs", "abc_07C", "x_7Y"}, env);
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, kData + "separation.trs: the scheme is valid.\n"
                   "Example: abc_07C -> ABC-08.c\n"
                   "abc_07C: matches\n"
                   "  segments:\n"
                   "    1 name 1 \"abc\"\n"
                   "    2 delimiter \"_\"\n"
                   "    3 number 1 \"07\"\n"
                   "    4 variant \"C\"\n"
                   "  new name: ABC-08.c\n"
                   "x_7Y: does not match\n");

  r = RunProgram({program, kData + "separation.trs", "abc07C"}, env);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "abc07C: A number of the name could not be computed.\n");

  r = RunProgram({program, kData + "bad_reference.trs", "abc"}, env);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, kData + "bad_reference.trs: Line 3: The rename scheme is not written in the expected form.\n");

  r = RunProgram({program}, env);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("Usage: renamecheck", 0), 0u) << r.err;
}
