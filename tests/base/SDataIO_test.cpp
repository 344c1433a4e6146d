#include "base/SDataIO.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "tests/fuzz/SDataIOFields.h"
#include "tests/support/TestFiles.h"

namespace {

// The tests read the words of the build's own catalogs.
const bool site = UseBuildTreeSite([] {
  ::setenv("LANGUAGE", "eng", 1);
  ::unsetenv("DEBUG");
  SDataIO_Init();
});

using fuzzfields::Value;
using fuzzfields::Values;

unsigned Key(const char* name) { return SIdPool_EnterId(StrIn::C(name)); }

// What `write` generates with the given indentation.
template <class Write>
std::string Generated(unsigned indent, Write write) {
  char* buffer = nullptr;
  std::size_t size = 0;
  std::FILE* stream = ::open_memstream(&buffer, &size);
  SDataIO_StartGenerate(stream, indent);
  write();
  EXPECT_TRUE(SDataIO_FinishGenerate());
  std::fclose(stream);
  std::string text(buffer, size);
  std::free(buffer);
  return text;
}

std::string Generate(Values& values, bool suppressDefaults = false) {
  return Generated(2, [&] {
    SDataIO_SurpressDefault(suppressDefaults);
    fuzzfields::WriteFields(&values);
  });
}

struct Outcome {
  bool ok = false;
  unsigned error = 0;
  std::string message;
  std::size_t line = 0;
  std::string stderrText;
  Values values;
};

// Parses `text` the way a program that expects bad files does.
Outcome Parse(const std::string& text, SDataIO_FieldProc procedure = fuzzfields::ReadField) {
  Outcome out;
  ::testing::internal::CaptureStderr();
  Messages_IgnoreErrors(true);
  SDataIO_StartParseText(text.data(), text.size());
  SDataIO_ParseFields(&out.values, nullptr, procedure);
  out.ok = SDataIO_FinishParse();
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  out.stderrText = ::testing::internal::GetCapturedStderr();
  out.error = SDataIO_error;
  TextStr message;
  SDataIO_GetErrorMessage(message);
  out.message = StrIn(message).Str();
  if (out.error != 0) out.line = SDataIO_FindLineNumber(SDataIO_ErrorPosition());
  return out;
}

// A field whose kind is its key's first letter, as the field procedure takes it.
Value Field(const char* key, std::int64_t number, double real = 0.0, std::string text = "", Values block = {}) {
  return {Key(key), key[0], number, real, std::move(text), std::move(block)};
}
Value Number(const char* key, std::int64_t number) { return Field(key, number); }
Value Real(const char* key, double real) { return Field(key, 0, real); }
Value Text(const char* key, const char* text) { return Field(key, 0, 0.0, text); }
Value Block(const char* key, Values fields) { return Field(key, 0, 0.0, "", std::move(fields)); }

std::string OrWord() {
  NameStr word;
  Messages_GetMsg("SDataIO", 105, word);
  return StrIn(word).Str();
}

}  // namespace

TEST(SDataIO, EveryKindOfFieldRoundTrips) {
  const std::string text =
      "I = -2147483648;\n"
      "C = 4294967295;\n"
      "L = -9223372036854775808;\n"
      "R = 0.1;\n"
      "B = true;\n"
      "S = \"say \\\"hi\\\" \\\\ back\nnext\";\n"
      "E = BLUE;\n"
      "X = {0,3,31};\n"
      "D = {\n"
      "  S = \"a\";\n"
      "  D = {\n"
      "    E = RED;\n"
      "  };\n"
      "};\n";
  Outcome out = Parse(text);
  EXPECT_TRUE(out.ok) << out.message;
  const Values expected = {Number("I", INT32_MIN), Number("C", UINT32_MAX), Number("L", INT64_MIN),
                           Real("R", 0.1), Number("B", 1), Text("S", "say \"hi\" \\ back\nnext"),
                           Number("E", 2), Number("X", 0x80000009),
                           Block("D", {Text("S", "a"), Block("D", {Number("E", 0)})})};
  EXPECT_EQ(out.values, expected);
  EXPECT_EQ(Generate(out.values), text);

  for (const double value : {-2.5e-300, 1e300, 123456789.125, 5e-324, -0.0, 3.0}) {
    Values real = {Real("R", value)};
    const Outcome again = Parse(Generate(real));
    ASSERT_EQ(again.values.size(), 1u);
    EXPECT_EQ(again.values[0].real, value);
    EXPECT_EQ(std::signbit(again.values[0].real), std::signbit(value));
  }
  EXPECT_EQ(Parse("R = 3;").values.at(0).real, 3.0);  // an integer reads as a real
}

TEST(SDataIO, SuppressedDefaultsLeaveOutZerosAndEmptiness) {
  Values empty = {Number("I", 0), Number("C", 0), Number("L", 0), Real("R", 0.0),
                  Number("B", 0), Text("S", ""),  Number("E", 0), Number("X", 0)};
  EXPECT_EQ(Generate(empty, true), "R = 0.0;\nB = false;\nE = RED;\n");
  const std::string all = Generate(empty, false);
  EXPECT_EQ(all, "I = 0;\nC = 0;\nL = 0;\nR = 0.0;\nB = false;\nS = \"\";\nE = RED;\nX = {};\n");
  EXPECT_EQ(Parse(all).values, empty);
}

TEST(SDataIO, BooleansTakeSixWordsAndEnumerationsTheirOwn) {
  const char* const words[] = {"false", "true", "False", "True", "FALSE", "TRUE"};
  for (int i = 0; i < 6; ++i) {
    const Outcome out = Parse(std::string("B = ") + words[i] + ";");
    EXPECT_EQ(out.values, (Values{Number("B", i % 2)})) << words[i];
  }
  const Outcome yes = Parse("B = yes;");
  EXPECT_EQ(yes.error, SDataIO_kSyntax);
  EXPECT_NE(yes.message.find("false " + OrWord() + " true"), std::string::npos) << yes.message;

  EXPECT_NE(Parse("E = red;").message.find("RED, GREEN " + OrWord() + " BLUE"), std::string::npos);
}

TEST(SDataIO, UnknownKeysArePassedOverWholeAndReported) {
  const Outcome out = Parse(
      "NEWER = { A = 1; B = { C = {1,2}; S = \"};\"; }; };\n"
      "ODD = -5;\nGROUP = {1,2};\nI = 7;\nNEWER = x;\n"
      "D = { S = \"s\"; PORT = 21; E = GREEN; };\n");
  EXPECT_TRUE(out.ok) << out.message;
  EXPECT_EQ(out.values, (Values{Number("I", 7), Block("D", {Text("S", "s"), Number("E", 1)})}));
  NameStr keys;
  SDataIO_GetUnknownKeys(keys);
  EXPECT_STREQ(keys, "NEWER, ODD, GROUP, PORT");
  EXPECT_NE(out.stderrText.find("NEWER, ODD, GROUP, PORT"), std::string::npos);

  std::string many;
  for (int i = 0; i < 12; ++i) many += "U" + std::to_string(i) + " = " + std::to_string(i) + ";\n";
  EXPECT_TRUE(Parse(many + many).ok);
  SDataIO_GetUnknownKeys(keys);
  EXPECT_STREQ(keys, "U0, U1, U2, U3, U4, U5, U6, U7, U8, U9");
}

TEST(SDataIO, TheFirstErrorStopsTheParseAndKeepsItsLine) {
  struct Case {
    const char* text;
    unsigned error;
    std::size_t line;
    const char* inMessage;
  };
  const Case cases[] = {
      {"I = 1;\nC = 2\nS = \"x\";\n", SDataIO_kSyntax, 2, ";"},
      {"I 1;", SDataIO_kSyntax, 1, "="},
      {"I =\n\"x\";", SDataIO_kSyntax, 1, "Integer"},
      {"R = x;", SDataIO_kSyntax, 1, "Real"},
      {"I = 1;\nS = 5;", SDataIO_kSyntax, 2, "String"},
      {"X = {1 2};", SDataIO_kSyntax, 1, "}"},
      {"X = {1,};", SDataIO_kSyntax, 1, "Integer"},
      {"D = {\n  S = \"a\";\n", SDataIO_kSyntax, 2, "}"},
      {"I = 1;\n}\n", SDataIO_kSyntax, 2, ""},
      {"I = 2147483648;", SDataIO_kRange, 1, "2147483648"},
      {"I = -2147483649;", SDataIO_kRange, 1, "-2147483649"},
      {"C = -1;", SDataIO_kRange, 1, "-1"},
      {"X = {1,\n32};", SDataIO_kRange, 2, "32"},
      {"L = 99999999999999999999;", SDataIO_kRange, 1, ""},
      {"I = 1;\n(* open (* nested *)\nC = 2;", SDataIO_kLexical, 2, ""},
      {"S = \"never closed;\n", SDataIO_kLexical, 1, ""},
      {"I = 1;\n\nI = 1 ` 2;", SDataIO_kLexical, 3, "96"},
  };
  for (const Case& c : cases) {
    const Outcome out = Parse(c.text);
    EXPECT_FALSE(out.ok) << c.text;
    EXPECT_EQ(out.error, c.error) << c.text;
    EXPECT_EQ(out.line, c.line) << c.text;
    EXPECT_NE(out.message.find(c.inMessage), std::string::npos) << c.text << ": " << out.message;
  }
  // Nothing is read behind the missing ";".
  EXPECT_EQ(Parse(cases[0].text).values.size(), 2u);
}

TEST(SDataIO, BlocksNestAHundredDeep) {
  const auto nested = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "D = {\n";
    text += "I = 5;\n";
    for (int i = 0; i < depth; ++i) text += "};\n";
    return text;
  };
  EXPECT_TRUE(Parse(nested(100)).ok);
  const Outcome deeper = Parse(nested(101));
  EXPECT_EQ(deeper.error, SDataIO_kSyntax);
  EXPECT_EQ(deeper.line, 101u);
}

namespace {

void StartsAnotherParse(void*, void*, unsigned) { SDataIO_StartParseText("I = 1;", 6); }

}  // namespace

TEST(SDataIO, ANestedParseIsRefusedAndStopsTheRunningOne) {
  const Outcome out = Parse("A = 1;\nB = 2;", StartsAnotherParse);
  EXPECT_FALSE(out.ok);
  EXPECT_EQ(out.error, SDataIO_kNested);
  EXPECT_NE(out.stderrText.find("SDataIO: nested parse\n"), std::string::npos);
  // Once the outer parse is over, a new one starts as usual.
  EXPECT_TRUE(Parse("I = 3;").ok);
}

TEST(SDataIO, AnErrorNobodyIgnoresEndsTheProcess) {
  EXPECT_EXIT(
      {
        Values values;
        SDataIO_StartParseText("I = ;", 5);
        SDataIO_ParseFields(&values, nullptr, fuzzfields::ReadField);
      },
      ::testing::ExitedWithCode(2), "");
}

TEST(SDataIO, CommentsAreWrittenSoThatTheyReadOver) {
  const std::string text = Generated(4, [] {
    SDataIO_BeginComment();
    SDataIO_WriteComment("not *) the end (*");
    SDataIO_EndComment();
    SDataIO_WriteComment("(*)");
    SDataIO_WriteSub(Key("D"), nullptr, [](void*) { SDataIO_WriteComment("inside"); });
  });
  EXPECT_EQ(text,
            "(********************\nnot * ) the end ( *\n********************)\n"
            "(* ( * ) *)\nD = {\n    (* inside *)\n};\n");
  EXPECT_TRUE(Parse(text).ok);
}

TEST(SDataIO, StreamFailuresAreReported) {
  std::FILE* writeOnly = std::fopen("/dev/null", "w");
  Messages_IgnoreErrors(true);
  EXPECT_FALSE(SDataIO_StartParse(writeOnly));
  EXPECT_EQ(SDataIO_error, SDataIO_kRead);
  EXPECT_FALSE(SDataIO_FinishParse());
  std::fclose(writeOnly);

  std::FILE* full = std::fopen("/dev/full", "w");
  SDataIO_StartGenerate(full, 2);
  EXPECT_EQ(SDataIO_error, 0u);
  SDataIO_WriteEnum(Key("E"), 3, fuzzfields::kColours);
  EXPECT_EQ(SDataIO_error, SDataIO_kNoWord);
  SDataIO_WriteStr(Key("S"), "does not fit on a full device");
  EXPECT_FALSE(SDataIO_FinishGenerate());
  std::fclose(full);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();

  SDataIO_StartGenerate(nullptr, 2);  // nothing to write to: the writers do nothing
  SDataIO_WriteInt(Key("I"), 1);
  EXPECT_FALSE(SDataIO_FinishGenerate());
}

// Inputs that once got past the parser or broke it; their keys follow the
// fuzz target's field procedure, so that its finds can be kept as they are.
TEST(SDataIO, MalformedFilesThatOnceBrokeTheParserAreRefused) {
  const std::filesystem::path dir = FLOATDECK_SOURCE_DIR "/tests/data/malformed/SDataIO";
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    const std::string text = FileText(entry.path());
    const Outcome out = Parse(text);
    EXPECT_FALSE(out.ok) << entry.path();
    EXPECT_GE(out.line, 1u) << entry.path();
    EXPECT_LE(out.line, 1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'))) << entry.path();
    ++files;
  }
  EXPECT_GT(files, 0);
}
