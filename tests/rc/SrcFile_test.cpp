#include "rc/SrcFile.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/Processe.h"
#include "base/StrHash.h"
#include "tests/support/TestFiles.h"

// The store keeps the addresses of bound variables for the rest of the run,
// so the tests' variables are static.
namespace {

// The site of the whole run: HOME, TV_CUSTOMER and the current directory lie
// in a directory of its own, which forked peers leave in place.
const TempDir& Dir() {
  static const TempDir dir;
  return dir;
}
const bool site = UseBuildTreeSite([] {
  ::setenv("HOME", Dir().Make("home/").c_str(), 1);
  ::setenv("TV_CUSTOMER", Dir().Make("site/").c_str(), 1);
  std::filesystem::current_path(Dir().Make("cwd/"));
  SrcFile_Init();
});

std::string Home() { return Dir().Path() + "/home"; }
std::string SiteDir() { return Dir().Path() + "/site"; }

// Runs `call` with errors ignored; the error it left.
template <class Call>
int Quietly(Call call) {
  Messages_IgnoreErrors(true);
  call();
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  return SrcFile_error;
}

// The lines of `text` whose key begins with `prefix`, in file order.
std::vector<std::string> LinesOf(const std::string& text, const std::string& prefix) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    if (line.size() > 2 && line.compare(2, prefix.size(), prefix) == 0) lines.push_back(line);
  return lines;
}

// The walking order of `keys` in a table of the store's size, entered in
// this order: the order a save must write them in.
std::vector<std::string> WalkOrder(const std::vector<std::string>& keys) {
  StrHash reference = StrHash_CreateTable(256);
  for (const std::string& key : keys) StrHash_PutEntry(reference, key, 1);
  std::vector<std::string> order;
  char key[kNameCap];
  std::uintptr_t value = 0;
  StrHash_Iterator walk = StrHash_CreateIterator(reference);
  while (StrHash_Iterate(walk, key, value)) order.push_back(key);
  StrHash_DestroyIterator(walk);
  StrHash_DestroyTable(reference);
  return order;
}

TEST(SrcFileFormat, LinesAreReadTheWayTheFormatSays) {
  static std::uint8_t level = 3;
  SrcFile_DefineEnum("q_level", 5, level);
  const std::string filler(kTextCap, 'x');
  PutFile(Home() + "/.quirksrc",
      "X q_foo= 1\n"
      "B q_swallow\nno equals here\nstill none= ON\n"
      "B q_bad= YES\n"
      "E q_level= 300\n"
      "C q_card= 12 and more\n"
      "I q_int= +7\n"
      "R q_real= -1.5E+002\n"
      "P q_path=   /a b/c\n"
      "S q_long= " + filler + "C q_tail= 9\n");
  EXPECT_EQ(Quietly([] { SrcFile_LoadFromLocation("quirks", 1); }), 0);
  EXPECT_STREQ(SrcFile_rcName, ".quirksrc");
  EXPECT_EQ(Quietly([] { SrcFile_QueryCardForeignProcess("q_foo"); }), 2);
  EXPECT_TRUE(SrcFile_QueryBoolForeignProcess("q_swallow\nno equals here\nstill none"));
  EXPECT_FALSE(SrcFile_QueryBoolForeignProcess("q_bad"));
  EXPECT_EQ(level, 0);
  EXPECT_EQ(SrcFile_QueryCardForeignProcess("q_card"), 12u);
  EXPECT_EQ(SrcFile_QueryIntForeignProcess("q_int"), 7);
  EXPECT_EQ(SrcFile_QueryRealForeignProcess("q_real"), -150.0);
  char text[kTextCap];
  SrcFile_QueryStringForeignProcess("q_path", text);
  EXPECT_STREQ(text, "/a b/c");
  SrcFile_QueryStringForeignProcess("q_long", text);
  EXPECT_EQ(StrIn(text).Str(), filler);
  EXPECT_EQ(SrcFile_QueryCardForeignProcess("q_tail"), 9u);

  // Strict reading stops at the first bad value; what came before stays.
  PutFile(Home() + "/.strictrc", "C st_before= 1\nB st_bad= YES\nC st_behind= 2\n");
  EXPECT_EQ(Quietly([] { SrcFile_LoadFromLocationAndName("strict", 1); }), 4);
  EXPECT_EQ(SrcFile_QueryCardForeignProcess("st_before"), 1u);
  EXPECT_EQ(Quietly([] { SrcFile_QueryCardForeignProcess("st_behind"); }), 2);
  EXPECT_EQ(Quietly([] { SrcFile_LoadFromLocationAndName("missing", 1); }), 6);
}

TEST(SrcFileFormat, ValuesAreWrittenInTableOrderWithTheirTypeKeys) {
  std::vector<std::string> keys;
  static std::vector<std::uint32_t> cards(24);
  for (std::size_t i = 0; i < cards.size(); ++i) {
    keys.push_back("ord_" + std::to_string(i * 7));
    cards[i] = static_cast<std::uint32_t>(i);
    SrcFile_DefineCard(keys.back(), cards[i]);
  }
  static bool flag = true;
  static std::int32_t negative = -42;
  static double reals[] = {12345.678, -12.5, 1.5, 0.5, 0.0};
  static char path[kPathCap] = "/p";
  SrcFile_DefineBool("fmt_flag", flag);
  SrcFile_DefineInt("fmt_int", negative);
  for (std::size_t i = 0; i < std::size(reals); ++i) SrcFile_DefineReal("fmt_r" + std::to_string(i), reals[i]);
  SrcFile_SDefineStringS("fmt_path", "", nullptr, 0, 1, path);
  SrcFile_SaveToLocation("order", 1);
  ASSERT_EQ(SrcFile_error, 0);
  const std::string text = FileText(Home() + "/.orderrc");
  EXPECT_EQ(FileText(Home() + "/.orderrc.backup"), text);
  EXPECT_EQ(std::filesystem::status(Home() + "/.orderrc").permissions(), std::filesystem::perms(0666));

  std::vector<std::string> written;
  for (const std::string& line : LinesOf(text, "ord_")) written.push_back(line.substr(2, line.find('=') - 2));
  EXPECT_EQ(written, WalkOrder(keys));
  const std::vector<std::string> expected = {
      "B fmt_flag= ON", "I fmt_int= -42", "R fmt_r0= 12345.678000000", "R fmt_r1= -12.500000000000",
      "R fmt_r2= 1.5000000000000", "R fmt_r3=  5.0000000000E-001", "R fmt_r4=  0.0000000000E+000",
      "P fmt_path= /p"};
  for (const std::string& line : expected) EXPECT_NE(text.find(line + "\n"), std::string::npos) << line;
  // What is written reads back to the same values.
  for (double& real : reals) real = 7;
  SrcFile_LoadFromLocationAndName("order", 1);
  EXPECT_EQ(reals[0], 12345.678);
  EXPECT_EQ(reals[3], 0.5);

  // The global file's keys carry "[global]" in the table and nowhere else.
  PutFile(SiteDir() + "/.tavrinrc", "C g_card= 4\n");
  SrcFile_Load("");
  EXPECT_EQ(SrcFile_QueryCardForeignProcess("[global]g_card"), 4u);
  SrcFile_SaveGlobal(0);
  const std::string global = FileText(SiteDir() + "/.tavrinrc");
  EXPECT_EQ(LinesOf(global, "g_card"), std::vector<std::string>{"C g_card= 4"});
  EXPECT_TRUE(LinesOf(global, "ord_").empty());
  SrcFile_SaveToLocation("", 1);
  EXPECT_TRUE(LinesOf(FileText(Home() + "/.tavrinrc"), "g_card").empty());
}

int changes = 0;
void Count(StrIn, std::uintptr_t data) { changes += static_cast<int>(data); }
bool Small(std::uint32_t value, std::uint32_t limit) { return value <= limit; }
bool NotEmpty(StrIn value, std::uint32_t) { return !value.Empty(); }

TEST(SrcFileTable, DefinitionsChecksAndCallbacks) {
  PutFile(Home() + "/.tablerc", "C t_loaded= 17\nC t_typed= 1\nF t_file= /f\n");
  SrcFile_LoadFromLocation("table", 1);
  static std::uint32_t loaded = 0, small = 3;
  SrcFile_DefineCard("t_loaded", loaded);
  EXPECT_EQ(loaded, 17u);
  EXPECT_EQ(Quietly([&] { SrcFile_DefineCard("t_loaded", loaded); }), 1);
  bool typed = false;
  EXPECT_EQ(Quietly([&] { SrcFile_DefineBool("t_typed", typed); }), 3);
  EXPECT_FALSE(SrcFile_IsDefined("t_typed"));
  EXPECT_EQ(Quietly([] { SrcFile_QueryCard("t_typed"); }), 2);
  EXPECT_EQ(Quietly([] { SrcFile_QueryInt("t_loaded"); }), 3);

  SrcFile_SDefineCard("t_small", "a small number", Small, 10, small);
  SrcFile_DefineICB("t_small", Count, 1);
  changes = 0;
  SrcFile_SetCard("t_small", 9);
  EXPECT_EQ(Quietly([] { SrcFile_SetCard("t_small", 11); }), 5);
  EXPECT_EQ(small, 9u);
  EXPECT_EQ(changes, 1);
  PutFile(Home() + "/.tablerc", "C t_small= 4\n");
  SrcFile_LoadFromLocation("table", 1);
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(SrcFile_QueryCard("t_small"), 4u);

  // String kinds: SetString is for kind 0; the S forms set the kind.
  static char file[16] = "";
  SrcFile_SDefineString("t_file", "", NotEmpty, 0, file);
  EXPECT_STREQ(file, "/f");
  SrcFile_SetStringS("t_file", 2, "/g");
  EXPECT_EQ(Quietly([] { SrcFile_SetString("t_file", "/h"); }), 3);
  EXPECT_EQ(Quietly([] { SrcFile_SetStringS("t_file", 2, ""); }), 5);
  SrcFile_SetStringSnoCB("t_file", 3, "");
  EXPECT_STREQ(file, "");
  SrcFile_SetStringS("t_file", 2, "a text longer than its variable");
  EXPECT_EQ(StrIn(file).Str(), "a text longer th");
  SrcFile_SaveToLocation("table", 1);
  EXPECT_EQ(LinesOf(FileText(Home() + "/.tablerc"), "t_file"), std::vector<std::string>{"F t_file= a text longer th"});

  // Undefined, the value stays in the table and in the file.
  SrcFile_SUndefine("t_small");
  EXPECT_EQ(Quietly([] { SrcFile_SUndefine("t_small"); }), 2);
  EXPECT_EQ(Quietly([] { SrcFile_UndefineI("t_small"); }), 0);
  EXPECT_EQ(SrcFile_QueryCardForeignProcess("t_small"), 4u);
  small = 0;
  SrcFile_DefineCard("t_small", small);
  EXPECT_EQ(small, 4u);
  SrcFile_SetCard("t_small", 60);  // neither the old check nor the callback
  EXPECT_EQ(changes, 2);
}

TEST(SrcFileTable, DefaultsListIsSortedDescendingWithoutGroupMarks) {
  static bool b = false;
  static std::int32_t i = 0;
  static std::uint32_t c = 0;
  static double r = 0;
  SrcFile_SDefineCard("dl_a", "<<Group>>  beta", nullptr, 0, c);
  SrcFile_SDefineBool("dl_b", "alpha", b);
  SrcFile_SDefineInt("dl_c", "beta", nullptr, 0, i);
  SrcFile_SDefineReal("dl_d", "hidden thing", nullptr, 0, r);
  SrcFile_DefaultsList list = SrcFile_GetDefaultsList("other hidden");
  std::vector<std::string> rows;
  for (const SrcFile_Default* row = list; row != nullptr; row = row->next)
    if (std::string(row->key).starts_with("dl_")) rows.push_back(std::string(row->text) + "/" + row->key);
  const std::vector<std::string> betas = WalkOrder({"dl_a", "dl_c"});
  EXPECT_EQ(rows, (std::vector<std::string>{"beta/" + betas[0], "beta/" + betas[1], "alpha/dl_b"}));
  SrcFile_DestroyDefaultsList(list);
  EXPECT_EQ(list, nullptr);
}

TEST(SrcFileFiles, PlacesBackupsAndFailures) {
  // The current directory before HOME before the site, each alone.
  PutFile(".inhrc", "C inh= 2\n");
  PutFile(Home() + "/.inhrc", "C inh= 1\nC inh_home= 1\n");
  PutFile(SiteDir() + "/.inhrc", "C inh= 0\n");
  for (std::uint32_t expected : {2u, 1u, 0u}) {
    SrcFile_Load("inh");
    EXPECT_EQ(SrcFile_QueryCardForeignProcess("inh"), expected);
    std::filesystem::remove(expected == 2 ? ".inhrc" : Home() + "/.inhrc");
  }
  EXPECT_EQ(SrcFile_QueryCardForeignProcess("inh_home"), 1u);

  // An empty file is damaged: the backup stands in.
  PutFile(Home() + "/.bkrc", "");
  PutFile(Home() + "/.bkrc.backup", "C bk= 5\n");
  SrcFile_LoadFromLocation("bk", 1);
  EXPECT_EQ(SrcFile_QueryCardForeignProcess("bk"), 5u);

  char value[kTextCap];
  PutFile(Home() + "/.onerc", "C one= 12\nS with blank= x\n");
  EXPECT_TRUE(SrcFile_GetEntryFromLocation("one", 1, "one", value));
  EXPECT_STREQ(value, "12");
  EXPECT_FALSE(SrcFile_GetEntryFromLocation("one", 1, "with blank", value));
  EXPECT_FALSE(SrcFile_GetEntryFromLocation("none", 1, "one", value));

  // Write failures: no directory for the temporary file; a directory where
  // the file should be. Neither leaves a temporary file behind.
  const std::string home = Home();
  PutFile(home + "/plain", "");
  ::setenv("HOME", (home + "/plain/below").c_str(), 1);
  EXPECT_EQ(Quietly([] { SrcFile_SaveToLocation("wf", 1); }), 5);
  ::setenv("HOME", home.c_str(), 1);
  std::filesystem::create_directory(home + "/.dirrc");
  EXPECT_EQ(Quietly([] { SrcFile_SaveToLocation("dir", 1); }), 5);
  for (const auto& item : std::filesystem::directory_iterator(home))
    EXPECT_NE(item.path().extension(), ".tmp") << item.path();
}

// A process of its own, driven by one-line commands: "def KEY" binds a
// cardinal, "load NAME", "set KEY N", "save NAME", "get KEY", "autosave";
// "exit" ends it through the termination chain, "quit" at once.
class Peer {
 public:
  Peer() {
    int down[2], up[2];
    EXPECT_EQ(::pipe(down), 0);
    EXPECT_EQ(::pipe(up), 0);
    std::fflush(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) {
      ::close(down[1]);
      ::close(up[0]);
      Serve(::fdopen(down[0], "r"), ::fdopen(up[1], "w"));
      ::_exit(0);
    }
    ::close(down[0]);
    ::close(up[1]);
    to_ = ::fdopen(down[1], "w");
    from_ = ::fdopen(up[0], "r");
  }
  ~Peer() { Finish("quit"); }
  std::string Ask(const std::string& command) {
    std::fprintf(to_, "%s\n", command.c_str());
    std::fflush(to_);
    char line[256];
    if (std::fgets(line, sizeof line, from_) == nullptr) return "<gone>";
    return std::string(line, std::strlen(line) - 1);
  }
  // Sends the last command and waits for the end: the exit status.
  int Finish(const std::string& command) {
    if (pid_ > 0) {
      Ask(command);
      std::fclose(to_);
      std::fclose(from_);
      ::waitpid(pid_, &status_, 0);
      pid_ = 0;
    }
    return status_;
  }

 private:
  static void Serve(std::FILE* in, std::FILE* out) {
    std::map<std::string, std::uint32_t> values;
    char line[256];
    while (std::fgets(line, sizeof line, in) != nullptr) {
      std::istringstream words(line);
      std::string verb, argument;
      std::uint32_t number = 0;
      words >> verb >> argument >> number;
      std::string reply = "ok";
      if (verb == "quit") return;
      if (verb == "exit") Processe_Exit();
      if (verb == "def") SrcFile_DefineCard(argument, values[argument]);
      if (verb == "load") SrcFile_LoadFromLocationAndName(argument, 1);
      if (verb == "set") SrcFile_SetCard(argument, number);
      if (verb == "save") SrcFile_SaveToLocation(argument, 1);
      if (verb == "get") reply = std::to_string(SrcFile_QueryCard(argument));
      if (verb == "autosave") SrcFile_AutoSave(1);
      std::fprintf(out, "%s\n", reply.c_str());
      std::fflush(out);
    }
  }
  pid_t pid_ = 0;
  int status_ = -1;
  std::FILE* to_ = nullptr;
  std::FILE* from_ = nullptr;
};

std::string EntryOf(const std::string& name, const std::string& key) {
  char value[kTextCap];
  return SrcFile_GetEntryFromLocation(name, 1, key, value) ? value : "<none>";
}

TEST(SrcFileProcesses, EachWriterKeepsItsChangeAndTheLastSaverWinsATie) {
  PutFile(Home() + "/.peersrc", "C p_a= 1\nC p_b= 1\nC p_c= 1\n");
  Peer first, second;
  for (Peer* peer : {&first, &second}) {
    for (const char* key : {"p_a", "p_b", "p_c"}) peer->Ask(std::string("def ") + key);
    ASSERT_EQ(peer->Ask("load peers"), "ok");
  }
  first.Ask("set p_a 10");
  first.Ask("set p_c 30");
  second.Ask("set p_b 20");
  second.Ask("set p_c 33");
  first.Ask("save peers");
  second.Ask("save peers");
  EXPECT_EQ(EntryOf("peers", "p_a"), "10");
  EXPECT_EQ(EntryOf("peers", "p_b"), "20");
  EXPECT_EQ(EntryOf("peers", "p_c"), "33");
  EXPECT_EQ(second.Ask("get p_a"), "10");  // taken over by the merge
  // Once saved, the first's own value is the base: the newer one comes in.
  first.Ask("save peers");
  EXPECT_EQ(first.Ask("get p_c"), "33");
  EXPECT_EQ(first.Ask("get p_b"), "20");
  EXPECT_EQ(EntryOf("peers", "p_c"), "33");
  // A process that ends saves its file when asked to.
  first.Ask("set p_a 77");
  first.Ask("autosave");
  EXPECT_EQ(first.Finish("exit"), 0);
  EXPECT_EQ(EntryOf("peers", "p_a"), "77");
}

std::string Filler(std::uint32_t round) { return std::string(2000, static_cast<char>('a' + round % 26)); }

// The round of `text` when it is one whole file of the saver below, whose
// torn_ keys all carry the same round; -1 otherwise.
long RoundOf(const std::string& text, std::size_t cards) {
  const std::vector<std::string> lines = LinesOf(text, "torn_");
  std::vector<std::string> rounds;
  std::string filler;
  for (const std::string& line : lines) {
    const std::string value = line.substr(line.find("= ") + 2);
    if (line[0] == 'C') rounds.push_back(value);
    else filler = value;
  }
  if (lines.size() != cards + 1 || rounds.size() != cards || text.back() != '\n') return -1;
  if (std::count(rounds.begin(), rounds.end(), rounds[0]) != static_cast<long>(cards)) return -1;
  const long round = std::stol(rounds[0]);
  return filler == Filler(static_cast<std::uint32_t>(round)) ? round : -1;
}

std::string ReadAsReader(const std::string& path) {
  BFileIO_File file = SrcFile_MyOpen(path, 1000);
  std::string text;
  char buffer[4096];
  for (std::size_t count; file != BFileIO_Nil() && (count = BFileIO_Read(file, buffer, sizeof buffer)) > 0;)
    text.append(buffer, count);
  BFileIO_Close(file);
  return text;
}

// Kills its process when it goes, also when an assertion leaves early.
struct Saver {
  pid_t pid;
  void Stop() {
    if (pid > 0) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, nullptr, 0);
    }
    pid = 0;
  }
  ~Saver() { Stop(); }
};

TEST(SrcFileProcesses, AKilledSaverNeverLeavesATornFile) {
  constexpr std::size_t kCards = 8;
  static std::vector<std::uint32_t> cards(kCards);
  static char filler[kTextCap] = "";
  for (std::size_t i = 0; i < kCards; ++i) SrcFile_DefineCard("torn_" + std::to_string(i), cards[i]);
  SrcFile_DefineString("torn_s", filler);
  const auto Round = [&](std::uint32_t round) {
    for (std::size_t i = 0; i < kCards; ++i) SrcFile_SetCard("torn_" + std::to_string(i), round);
    SrcFile_SetString("torn_s", Filler(round));
    SrcFile_SaveToLocation("torn", 1);
  };
  Round(0);
  const std::string path = Home() + "/.tornrc";
  std::mt19937 random(7);
  long kills = 0, reads = 0, newest = 0;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1500);
  while (std::chrono::steady_clock::now() < end) {
    std::fflush(nullptr);
    Saver saver{::fork()};
    if (saver.pid == 0) {
      for (std::uint32_t round = 1;; ++round) Round(round);
    }
    // Reads while the saver works, then a kill at a random moment.
    const auto killAt = std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 20000);
    do {
      const std::string text = ReadAsReader(path);
      const long round = RoundOf(text, kCards);
      ASSERT_GE(round, 0) << text.substr(0, 300);
      newest = std::max(newest, round);
      ++reads;
    } while (std::chrono::steady_clock::now() < killAt);
    saver.Stop();
    ++kills;
    ASSERT_GE(RoundOf(ReadAsReader(path), kCards), 0);
  }
  EXPECT_GT(kills, 20);
  EXPECT_GT(newest, 0);  // the savers got through
  std::printf("%ld kills, %ld whole reads, newest round %ld\n", kills, reads, newest);
}

}  // namespace
