#include "rc/SAutoRcF.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/TestFiles.h"

namespace {

const bool site = UseBuildTreeSite(SAutoRcF_Init);

using Pairs = std::vector<std::pair<std::string, std::string>>;

// The options of rc from the head, through the object's own walk.
Pairs Options(SAutoRcF rc) {
  Pairs options;
  char key[kNameCap], value[kTextCap];
  for (bool more = SAutoRcF_GetFirstOpt(rc, key, value); more; more = SAutoRcF_GetNextOpt(rc, key, value)) {
    options.emplace_back(StrIn(key).Str(), StrIn(value).Str());
  }
  return options;
}

std::vector<std::string> Commands(SAutoRcF rc) {
  std::vector<std::string> commands;
  char command[kTextCap];
  for (bool more = SAutoRcF_GetFirstCmd(rc, command); more; more = SAutoRcF_GetNextCmd(rc, command)) {
    commands.emplace_back(StrIn(command).Str());
  }
  return commands;
}

class RcFile : public ::testing::Test {
 protected:
  void TearDown() override { SAutoRcF_Destroy(rc_); }

  void Write(const std::string& text) {
    std::remove(path_.c_str());  // a new file each time: emptying one with data waits for the disk
    PutFile(path_, text);
  }
  // Loads `text` into rc_; on failure rc_ must be nil.
  bool Load(const std::string& text) {
    Write(text);
    SAutoRcF_Destroy(rc_);
    const bool loaded = SAutoRcF_Load(path_, rc_);
    EXPECT_EQ(loaded, rc_ != nullptr);
    return loaded;
  }
  // Saves rc_ and gives back the text.
  std::string Saved() {
    EXPECT_TRUE(SAutoRcF_Save(saved_, rc_));
    return FileText(saved_);
  }

  TempDir dir_;
  std::string path_ = dir_.Path() + "/.autorc";
  std::string saved_ = dir_.Path() + "/saved";
  SAutoRcF rc_ = nullptr;
};

// A line of random bytes that no reader takes for something else: no line
// feed, no zero byte, and no "=" when it is to be a key.
std::string RandomText(std::mt19937& random, std::size_t length, bool key) {
  static const std::string kChars = "abcXYZ019 _/.:=-\t\r\x7f\xe4";
  std::string text;
  while (text.size() < length) {
    const char c = kChars[random() % kChars.size()];
    if (!(key && c == '=')) text += c;
  }
  return text;
}

}  // namespace

TEST_F(RcFile, SaveTurnsTheOptionsRoundAndASecondRoundRestoresTheFile) {
  // Generated files within the format's limits: up to 11 commands (among them
  // empty ones and ones that look almost like options), then options whose
  // keys reach 128 bytes and whose lines reach 5120.
  std::mt19937 random(7);
  for (int round = 0; round < 150; ++round) {
    std::string commands, options;
    std::vector<std::string> optionLines;
    for (std::size_t n = random() % 12; n > 0; --n) {
      const std::size_t pick = random() % 6;
      std::string line = pick == 0 ? "" : pick == 1 ? ":" + RandomText(random, random() % 4, false)
                                                    : RandomText(random, random() % 80, false);
      if (line.starts_with(": ")) line[1] = 'x';
      commands += line + "\n";
    }
    for (std::size_t n = random() % 15; n > 0; --n) {
      const std::size_t keyLength = random() % 3 == 0 ? 128 : random() % 20;
      const std::size_t room = kTextCap - 3 - keyLength;
      const std::size_t valueLength = random() % 8 == 0 ? room : random() % 60;
      optionLines.push_back(": " + RandomText(random, keyLength, true) + "=" +
                            RandomText(random, valueLength, false) + "\n");
    }
    for (const std::string& line : optionLines) options += line;
    std::string reversed = commands;
    for (auto line = optionLines.rbegin(); line != optionLines.rend(); ++line) reversed += *line;

    ASSERT_TRUE(Load(commands + options)) << round;
    const std::string first = Saved();
    EXPECT_EQ(first, reversed) << round;
    ASSERT_TRUE(Load(first));
    EXPECT_EQ(Saved(), commands + options) << round;
  }
  // Mode 666 whatever the umask: the demon and the modules run as others.
  struct stat status {};
  ASSERT_EQ(::stat(saved_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0666u);
}

TEST_F(RcFile, LimitsAndSyntaxErrors) {
  std::string eleven;
  for (int i = 0; i < 11; ++i) eleven += "cmd " + std::to_string(i) + "\n";
  EXPECT_TRUE(Load(eleven));
  EXPECT_EQ(Commands(rc_).size(), 11u);
  EXPECT_TRUE(Load(eleven + ": K=v\n"));

  for (const std::string& bad : {eleven + "twelfth\n", std::string("cmd\n: KEY\n"), std::string(": A=b\ncmd\n"),
                                 std::string(": A=b\n\n"), std::string(": \n")}) {
    SAutoRcF_error = 0;
    EXPECT_FALSE(Load(bad)) << bad;
    EXPECT_EQ(SAutoRcF_error, 6) << bad;
  }

  // The key runs to the first "="; the value is the rest, unstripped; a last
  // line needs no line feed.
  ASSERT_TRUE(Load("run\n: A=b=c\n:  pad = x \n: =\n: E=  "));
  EXPECT_EQ(Options(rc_), (Pairs{{"E", "  "}, {"", ""}, {" pad ", " x "}, {"A", "b=c"}}));
  EXPECT_EQ(Commands(rc_), std::vector<std::string>{"run"});
  ASSERT_TRUE(Load(""));
  EXPECT_TRUE(Commands(rc_).empty() && Options(rc_).empty());
}

TEST_F(RcFile, FilesThatCannotBeReadOrWritten) {
  SAutoRcF before = SAutoRcF_Create();
  rc_ = before;
  EXPECT_FALSE(SAutoRcF_Load(dir_.Path() + "/missing", rc_));
  EXPECT_EQ(rc_, nullptr);
  SAutoRcF_Destroy(before);
  EXPECT_EQ(SAutoRcF_error, 1);
  EXPECT_FALSE(SAutoRcF_Load(dir_.Path(), rc_));  // a directory opens but does not read
  EXPECT_EQ(SAutoRcF_error, 1);

  rc_ = SAutoRcF_Create();
  Write("a regular file");
  EXPECT_FALSE(SAutoRcF_Save(path_ + "/below", rc_));
  EXPECT_EQ(SAutoRcF_error, 2);
  EXPECT_FALSE(SAutoRcF_Save(saved_, SAutoRcF_Nil()));
  EXPECT_EQ(SAutoRcF_error, 3);
}

TEST(SAutoRcFOptions, NewestFirstWithDuplicatesReplacementAndRemoval) {
  SAutoRcF rc = SAutoRcF_Create();
  SAutoRcF_AddOpt(rc, "K", "old");
  SAutoRcF_AddOpt(rc, "X", "x");
  SAutoRcF_AddOpt(rc, "K", "new");
  char value[kTextCap];
  EXPECT_TRUE(SAutoRcF_GetOpt(rc, "K", value));
  EXPECT_STREQ(value, "new");
  // A setter replaces the newest in place and adds nothing.
  SAutoRcF_SetStringOpt(rc, "K", "set");
  SAutoRcF_SetStringOpt(rc, "Y", "y");
  EXPECT_EQ(Options(rc), (Pairs{{"Y", "y"}, {"K", "set"}, {"X", "x"}, {"K", "old"}}));
  // Keys compare exactly.
  EXPECT_FALSE(SAutoRcF_GetOpt(rc, "k", value));
  EXPECT_EQ(SAutoRcF_error, 4);
  EXPECT_FALSE(SAutoRcF_GetOptValue(rc, "k", "fallback", value));
  EXPECT_STREQ(value, "fallback");

  // Removal takes every option of the key; a walk standing on one goes on.
  char key[kNameCap], option[kTextCap];
  ASSERT_TRUE(SAutoRcF_GetFirstOption(rc, option));
  EXPECT_STREQ(option, "Y=y");
  EXPECT_TRUE(SAutoRcF_UnsetOpt(rc, "K"));
  ASSERT_TRUE(SAutoRcF_GetNextOpt(rc, key, value));
  EXPECT_STREQ(key, "X");
  EXPECT_FALSE(SAutoRcF_GetNextOpt(rc, key, value));
  EXPECT_FALSE(SAutoRcF_UnsetOpt(rc, "K"));
  EXPECT_EQ(SAutoRcF_error, 4);

  // A copy adds in list order, so its options stand reversed.
  SAutoRcF_AddCmd(rc, "one");
  SAutoRcF_AddCmd(rc, "two");
  SAutoRcF copy = SAutoRcF_Copy(rc);
  EXPECT_EQ(Options(copy), (Pairs{{"X", "x"}, {"Y", "y"}}));
  EXPECT_EQ(Commands(copy), (std::vector<std::string>{"one", "two"}));
  SAutoRcF_SetFirstCmd(copy, "only");
  EXPECT_EQ(Commands(copy), std::vector<std::string>{"only"});

  // The record for the foreign front ends keeps list order both ways.
  SAutoRcF_RPCObject object;
  ASSERT_TRUE(SAutoRcF_CreateRPCObject(rc, object));
  SAutoRcF back = SAutoRcF_CreateFromRPCObject(object);
  EXPECT_EQ(Options(back), Options(rc));
  EXPECT_TRUE(Commands(back).empty());
  ASSERT_TRUE(SAutoRcF_SetFromRPCObject(copy, object));
  EXPECT_EQ(Options(copy), Options(rc));
  EXPECT_EQ(Commands(copy), std::vector<std::string>{"only"});
  for (SAutoRcF* each : {&rc, &copy, &back}) SAutoRcF_Destroy(*each);
}

TEST(SAutoRcFOptions, TypedValuesKeepTheirFormsAndRefuseOthers) {
  SAutoRcF rc = SAutoRcF_Create();
  SAutoRcF_SetBoolOpt(rc, "B", true);
  SAutoRcF_SetCardOpt(rc, "C", 4294967295u);
  SAutoRcF_SetIntOpt(rc, "I", -17);
  SAutoRcF_SetBitsetOpt(rc, "S", (1u << 31) | (1u << 5) | 1u);
  SAutoRcF_SetBitsetOpt(rc, "E", 0);
  SAutoRcF_SetRealOpt(rc, "R", -2.5);
  char text[kTextCap];
  for (const auto& [key, form] : Pairs{{"B", "_TRUE_"}, {"C", "4294967295"}, {"I", "-17"},
                                       {"S", "0,5,31"}, {"E", ""}, {"R", "-2.50000000"}}) {
    ASSERT_TRUE(SAutoRcF_GetOpt(rc, key, text));
    EXPECT_EQ(StrIn(text).Str(), form) << key;
  }
  bool b = false;
  std::uint32_t c = 0, bits = 7;
  std::int32_t i = 0;
  double r = 0;
  EXPECT_TRUE(SAutoRcF_GetBoolOpt(rc, "B", b) && b);
  EXPECT_TRUE(SAutoRcF_GetCardOpt(rc, "C", c) && c == 4294967295u);
  EXPECT_TRUE(SAutoRcF_GetIntOpt(rc, "I", i) && i == -17);
  EXPECT_TRUE(SAutoRcF_GetBitsetOpt(rc, "E", bits) && bits == 0);
  EXPECT_TRUE(SAutoRcF_GetRealOpt(rc, "R", r) && r == -2.5);
  SAutoRcF_AddOpt(rc, "S", "3,1");  // read in any order
  EXPECT_TRUE(SAutoRcF_GetBitsetOpt(rc, "S", bits) && bits == 0b1010u);

  // Wrong forms are error 5 and leave zero.
  const std::vector<std::pair<std::vector<std::string>, std::function<bool()>>> refusals = {
      {{"_TRUE_ ", "true", ""}, [&] { return !SAutoRcF_GetBoolOpt(rc, "V", b) && !b; }},
      {{"12x", "", "-1", "4294967296", "7 "}, [&] { return !SAutoRcF_GetCardOpt(rc, "V", c) && c == 0; }},
      {{"2147483648", "-", "5.0"}, [&] { return !SAutoRcF_GetIntOpt(rc, "V", i) && i == 0; }},
      {{"1,32", "1,", "1;2", "-1"}, [&] { return !SAutoRcF_GetBitsetOpt(rc, "V", bits) && bits == 0; }},
      {{"1.5x", "abc", ""}, [&] { return !SAutoRcF_GetRealOpt(rc, "V", r) && r == 0; }},
  };
  for (const auto& [texts, refused] : refusals) {
    for (const std::string& text : texts) {
      b = true, c = bits = 1, i = 1, r = 1;
      SAutoRcF_SetStringOpt(rc, "V", text);
      EXPECT_TRUE(refused()) << text;
      EXPECT_EQ(SAutoRcF_error, 5) << text;
    }
  }
  EXPECT_FALSE(SAutoRcF_GetIntOpt(rc, "missing", i));
  EXPECT_EQ(SAutoRcF_error, 4);
  SAutoRcF_Destroy(rc);
}

TEST(SAutoRcFReservedKeys, IndexedKeysAndDefaults) {
  SAutoRcF rc = SAutoRcF_Create();
  char text[kTextCap];
  EXPECT_FALSE(SAutoRcF_GetOutdir(rc, text));
  EXPECT_EQ(SAutoRcF_GetErrorMode(rc) + SAutoRcF_GetReportAddon(rc), 0);
  EXPECT_FALSE(SAutoRcF_GetFinalpageMode(rc) || SAutoRcF_GetJobticketMode(rc) || SAutoRcF_GetOverwriteMode(rc, 1));

  SAutoRcF_SetNthOutdir(rc, 1, "/first");
  SAutoRcF_SetSecondOutdir(rc, "/second");
  SAutoRcF_SetNthOutdir(rc, 3, "/third");
  SAutoRcF_SetOverwriteMode(rc, 0, true);
  SAutoRcF_SetOverwriteMode(rc, 2, true);
  SAutoRcF_SetReportID(rc, "R1");
  SAutoRcF_SetReportAddon(rc, -3);
  SAutoRcF_SetErrorMode(rc, 2);
  for (const auto& [key, value] : Pairs{{"_OUTDIR_", "/first"}, {"_OUTDIR2_", "/second"}, {"_OUTDIR3_", "/third"},
                                        {"_OVERWRITE_", "_TRUE_"}, {"_OVERWRITE_2_", "_TRUE_"},
                                        {"_REPORTID_", "R1"}, {"_REPORTADDON_", "-3"}, {"_ERRORMODE_", "2"}}) {
    EXPECT_TRUE(SAutoRcF_GetOpt(rc, key, text) && StrIn(text).Str() == value) << key;
  }
  EXPECT_FALSE(SAutoRcF_GetOpt(rc, "_OUTDIR1_", text));
  EXPECT_TRUE(SAutoRcF_GetOutdir(rc, text) && StrIn(text).Str() == "/first");
  EXPECT_TRUE(SAutoRcF_GetOverwriteMode(rc, 1) && !SAutoRcF_GetOverwriteMode(rc, 3));
  EXPECT_EQ(SAutoRcF_GetReportAddon(rc), -3);
  SAutoRcF_SetReportID(rc, "");
  EXPECT_FALSE(SAutoRcF_GetReportID(rc, text));

  SDateAri_DateTime when;
  when.year = 2024, when.month = 3, when.day = 5, when.hour = 9, when.minute = 4, when.second = 0;
  SAutoRcF_FormatInstalltime(when, text);
  EXPECT_STREQ(text, " 5-Mar-2024   9:04:00");
  when.month = 13, when.day = 28, when.hour = 23;
  SAutoRcF_FormatInstalltime(when, text);
  EXPECT_STREQ(text, "28-?\?\?-2024  23:04:00");
  SAutoRcF_Destroy(rc);
}

TEST(SAutoRcFReservedKeys, SequenceGroup) {
  SAutoRcF rc = SAutoRcF_Create();
  SAutoRcF_Sequence sequence;
  SAutoRcF_AddOpt(rc, "SEQUENCE/MODE", "2");
  SAutoRcF_AddOpt(rc, "SEQUENCE/TIMEOUT", "12.5");
  SAutoRcF_AddOpt(rc, "SEQUENCE/NAMESCHEME", "scheme.trs");
  ASSERT_EQ(SAutoRcF_GetSequenceMode(rc, sequence), 2u);
  EXPECT_EQ(sequence.fileTimeout, 12.5);
  EXPECT_EQ(sequence.startDelay, 30.0);
  EXPECT_STREQ(sequence.nameScheme, "scheme.trs");

  sequence.fileTimeout = 60;
  SAutoRcF_SetSequenceMode(rc, 2, sequence);
  char text[kTextCap];
  EXPECT_TRUE(SAutoRcF_GetOpt(rc, "SEQUENCE/FILETIMEOUT", text) && StrIn(text).Str() == "60.00000000");
  EXPECT_TRUE(SAutoRcF_GetOpt(rc, "SEQUENCE/TIMEOUT", text) && StrIn(text).Str() == "12.5");

  // Mode 3 is off, and then nothing else is read.
  SAutoRcF_SetCardOpt(rc, "SEQUENCE/MODE", 3);
  EXPECT_EQ(SAutoRcF_GetSequenceMode(rc, sequence), 0u);
  EXPECT_EQ(sequence.fileTimeout, 300.0);
  EXPECT_STREQ(sequence.nameScheme, "");

  SAutoRcF_SetSequenceMode(rc, 0, sequence);
  EXPECT_TRUE(Options(rc).empty());
  SAutoRcF_Destroy(rc);
}

TEST(SAutoRcFReservedKeys, RemoteStartCountComesFromTheKeys) {
  SAutoRcF rc = SAutoRcF_Create();
  SAutoRcF_AddOpt(rc, "REMOTESTART_0/SERVERNAME", "alpha");
  SAutoRcF_AddOpt(rc, "REMOTESTART_0/SERVERDIR", "");
  SAutoRcF_AddOpt(rc, "REMOTESTART_5/SERVERNAME", "beta");
  SAutoRcF_AddOpt(rc, "REMOTESTART_x/SERVERNAME", "not counted");
  SAutoRcF_AddOpt(rc, "OTHER", "stays");
  EXPECT_EQ(SAutoRcF_RemoteStartCount(rc), 6u);
  SAutoRcF_RemoteStart start;
  EXPECT_TRUE(SAutoRcF_GetRemoteStart(rc, 0, start));
  EXPECT_STREQ(start.server, "alpha");
  EXPECT_FALSE(start.deleteFiles);
  EXPECT_FALSE(SAutoRcF_GetRemoteStart(rc, 3, start));
  EXPECT_FALSE(SAutoRcF_GetRemoteStart(rc, 5, start));  // no directory key
  EXPECT_STREQ(start.server, "");

  SAutoRcF_UnsetOpt(rc, "REMOTESTART_5/SERVERNAME");
  EXPECT_EQ(SAutoRcF_RemoteStartCount(rc), 6u);
  SAutoRcF_UnsetAllRemoteStarts(rc);
  EXPECT_EQ(SAutoRcF_RemoteStartCount(rc), 0u);
  EXPECT_EQ(Options(rc), (Pairs{{"OTHER", "stays"}}));

  Strings_Assign("gamma", start.server);
  Strings_Assign("/in", start.directory);
  start.deleteFiles = true;
  SAutoRcF_SetRemoteStart(rc, 7, start);
  EXPECT_EQ(SAutoRcF_RemoteStartCount(rc), 8u);
  SAutoRcF_RemoteStart read;
  EXPECT_TRUE(SAutoRcF_GetRemoteStart(rc, 7, read) && read.deleteFiles && StrIn(read.directory).Str() == "/in");
  SAutoRcF_Destroy(rc);
}
