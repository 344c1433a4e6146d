#include "manager/Floatdeck.h"

#include <gtest/gtest.h>

#include "base/Argument.h"

namespace {

struct Parsed {
  bool accepted;
  int mode;
  std::string name, archive, master;
  int unit;
};

Parsed Parse(std::vector<const char*> args) {
  args.insert(args.begin(), "Floatdeck");
  Argument_Init(static_cast<int>(args.size()), args.data());
  std::uint8_t mode = 99;
  char name[kNameCap] = "stale", archive[kPathCap] = "stale", master[kNameCap] = "stale";
  const bool accepted = Floatdeck_GetParams(mode, name, archive, master);
  return {accepted, mode, name, archive, master, Floatdeck_startupUnit};
}

}  // namespace

TEST(FloatdeckParams, ModesAndPositionalArguments) {
  Parsed p = Parse({});
  EXPECT_TRUE(p.accepted);
  EXPECT_EQ(p.mode, Floatdeck_Interactive);
  EXPECT_EQ(p.name, "");
  EXPECT_EQ(p.unit, -1);

  p = Parse({"-i", "wf"});
  EXPECT_TRUE(p.accepted);
  EXPECT_EQ(p.mode, Floatdeck_Dump);
  EXPECT_EQ(p.name, "wf");

  p = Parse({"-p", "wf"});
  EXPECT_TRUE(p.accepted);
  EXPECT_EQ(p.archive, "");  // default backup directory
  p = Parse({"-print", "wf", "/backup"});  // only two characters count
  EXPECT_TRUE(p.accepted);
  EXPECT_EQ(p.mode, Floatdeck_Pack);
  EXPECT_EQ(p.archive, "/backup");

  p = Parse({"-p", "-s", "wf"});  // a later mode option wins
  EXPECT_TRUE(p.accepted);
  EXPECT_EQ(p.mode, Floatdeck_Interactive);
  EXPECT_EQ(p.name, "wf");

  p = Parse({"-u", "archive.tgz"});
  EXPECT_EQ(p.mode, Floatdeck_Unpack);
  EXPECT_EQ(p.name, "archive.tgz");
}

TEST(FloatdeckParams, LeftoversAndUnknownOptionsAreRefused) {
  const std::vector<std::vector<const char*>> refused = {
      {"-?"}, {"-x"}, {"-"}, {"-p", "wf", "dir", "extra"}, {"-i", "wf", "dir"}, {"wf", "-i"},
      {"-S"}, {"-U"}, {"-U", "abc"}, {"-?", "-i", "wf"},
  };
  for (const auto& args : refused) {
    std::string line;
    for (const char* a : args) line += std::string(a) + " ";
    EXPECT_FALSE(Parse(args).accepted) << line;
  }
}

TEST(FloatdeckParams, UnitAndMasterArguments) {
  Parsed p = Parse({"-U", "12abc", "wf"});
  EXPECT_TRUE(p.accepted);
  EXPECT_EQ(p.unit, 12);
  EXPECT_EQ(p.name, "wf");
  EXPECT_EQ(Parse({"-U", "-3"}).unit, -3);
  EXPECT_EQ(Parse({"-U", "0"}).unit, 0);

  p = Parse({"-Sfoo", "master:9912"});  // "-Sfoo" is "-S" and still takes the next
  EXPECT_TRUE(p.accepted);
  EXPECT_EQ(p.mode, Floatdeck_Slave);
  EXPECT_EQ(p.master, "master:9912");
  EXPECT_EQ(p.name, "");
  EXPECT_TRUE(Parse({"-U", "3", "-S", "h:1", "wf"}).accepted);
}
