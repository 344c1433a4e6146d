#include "base/Options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// What a program with "-b ADDRESS", "-v" and "-j 1..64" makes of a line.
struct Parsed {
  bool accepted = false;
  std::string address;
  bool verbose = false;
  long slots = 0;
  std::vector<std::string> operands;
};

Parsed Parse(std::vector<std::string> words, bool takesOperands = true) {
  words.insert(words.begin(), "program");
  std::vector<const char*> argv;
  for (const std::string& word : words) argv.push_back(word.c_str());
  Parsed p;
  const Options_Option table[] = {
      {"-b", true, Options_Store(p.address)},
      {"-v", false, Options_Set(p.verbose)},
      {"-j", true, Options_Number(p.slots, 1, 64)},
  };
  p.accepted = Options_ReadFrom(static_cast<int>(argv.size()), argv.data(), table,
                                takesOperands ? Options_Append(p.operands) : Options_Operand());
  return p;
}

TEST(Options, TakesOptionsAndOperandsInAnyOrder) {
  const Parsed p = Parse({"one", "-b", "127.0.0.1", "two", "-v", "-j", "8", "-"});
  EXPECT_TRUE(p.accepted);
  EXPECT_EQ(p.address, "127.0.0.1");
  EXPECT_TRUE(p.verbose);
  EXPECT_EQ(p.slots, 8);
  EXPECT_EQ(p.operands, (std::vector<std::string>{"one", "two", "-"}));
}

TEST(Options, HelpWinsWhereverItStandsAmongTheOptions) {
  for (const char* help : {"-?", "--help"}) {
    EXPECT_FALSE(Parse({help}).accepted) << help;
    EXPECT_FALSE(Parse({"-b", "x", "one", help}).accepted) << help;
    // Behind a bad option too: the usage is due either way, never a start.
    EXPECT_FALSE(Parse({"-zz", help}).accepted) << help;
  }
}

TEST(Options, RefusesUnknownOptionsMissingOrUnusableValuesAndStrayOperands) {
  EXPECT_FALSE(Parse({"-x"}).accepted);
  EXPECT_FALSE(Parse({"-bx"}).accepted) << "options are whole words";
  EXPECT_FALSE(Parse({"-b"}).accepted);
  EXPECT_FALSE(Parse({"one", "-j"}).accepted);
  for (const char* slots : {"0", "65", "8x", "", "-3", "99999999999999999999"})
    EXPECT_FALSE(Parse({"-j", slots}).accepted) << slots;
  EXPECT_TRUE(Parse({"-j", "64"}).accepted);
  EXPECT_FALSE(Parse({"one"}, false).accepted);
  EXPECT_TRUE(Parse({"-v"}, false).accepted);
}

TEST(Options, DoubleDashMakesTheRestOperands) {
  const Parsed p = Parse({"-v", "--", "-b", "-?", "--"});
  EXPECT_TRUE(p.accepted);
  EXPECT_EQ(p.address, "");
  EXPECT_EQ(p.operands, (std::vector<std::string>{"-b", "-?", "--"}));
}

TEST(Options, AValueMayLookLikeAnOption) {
  const Parsed p = Parse({"-b", "-v"});
  EXPECT_TRUE(p.accepted);
  EXPECT_EQ(p.address, "-v");
  EXPECT_FALSE(p.verbose);
}

}  // namespace
