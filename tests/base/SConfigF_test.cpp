#include "base/SConfigF.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"

namespace {

const bool site = UseBuildTreeSite(SConfigF_Init);

using Field = std::pair<std::string, std::string>;
using Lines = std::vector<std::vector<Field>>;

Lines ReadAll(SConfigF file) {
  Lines lines;
  char key[kSConfigFKeyCap];
  TextStr value;
  while (SConfigF_ReadLine(file)) {
    lines.emplace_back();
    while (SConfigF_NextField(file, key, value)) lines.back().emplace_back(StrIn(key).Str(), StrIn(value).Str());
  }
  SConfigF_Close(file);
  return lines;
}

Lines ReadFile(const std::string& path) { return ReadAll(SConfigF_Open("", path)); }

void WriteAll(SConfigF file, const Lines& lines) {
  for (const auto& line : lines) {
    for (const auto& [key, value] : line) SConfigF_PutField(file, key, value);
    SConfigF_StartLine(file);
  }
}

class SConfigFTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(Messages_IgnoreLevel(), 0u); }
  TempDir dir_;
  std::string Path(const std::string& name) const { return dir_.Path() + "/" + name; }
};

}  // namespace

TEST_F(SConfigFTest, TheReaderJoinsSkipsAndSplitsAsTheFormatSays) {
  const std::string a3000(3000, 'a'), b3000(3000, 'b'), key200(200, 'k');
  PutFile(Path("in.cfg"),
      "# comment\n"
      "   \t  \n"
      "  # indented comment:A=1\n"
      "A=1:B=two=2:C:  D  =x # trailing comment\n"
      "E=a\\:b\\#c\\d\\\\:F=\n"
      "G=first\\\n"
      "   \t  second:H=3\n"
      "L=" + a3000 + "\\\n" + b3000 + "\n" +
      key200 + "=v\n"
      "I=x\\");
  const Lines lines = ReadFile(Path("in.cfg"));
  const Lines expected = {
      {{"A", "1"}, {"B", "two=2"}, {"C", ""}, {"D", "x "}},
      {{"E", "a:b#c\\d\\:F="}},  // only the backslash right in front counts
      {{"G", "firstsecond"}, {"H", "3"}},
      {{"L", a3000 + b3000.substr(0, kTextCap - 3002)}},  // the joined line is cut at 5120
      {{key200.substr(0, 127), "v"}},
      {{"I", "x"}},  // a continuation at the end of the file joins nothing
  };
  EXPECT_EQ(lines, expected);
}

TEST_F(SConfigFTest, AFileIsFoundAlongTheVariableThenAsItStands) {
  dir_.Make("one/x");
  PutFile(dir_.Make("two/found.cfg"), "K=two\n");
  PutFile(Path("plain.cfg"), "K=plain\n");
  ::setenv("SCONFIGF_TEST_PATH", (Path("one") + ":" + Path("two")).c_str(), 1);
  EXPECT_EQ(ReadAll(SConfigF_Open("SCONFIGF_TEST_PATH", "found.cfg")), Lines({{{"K", "two"}}}));
  EXPECT_EQ(ReadAll(SConfigF_Open("SCONFIGF_TEST_PATH", Path("plain.cfg"))), Lines({{{"K", "plain"}}}));
  EXPECT_EQ(SConfigF_Open("SCONFIGF_TEST_PATH", "missing.cfg"), SConfigF_Nil());

  // Create makes the file in the list's first element, writable by all.
  ::umask(022);
  SConfigF made = SConfigF_Create("SCONFIGF_TEST_PATH", "made.cfg");
  ASSERT_NE(made, nullptr);
  EXPECT_TRUE(SConfigF_Close(made));
  struct stat info {};
  ASSERT_EQ(::stat(Path("one/made.cfg").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0666u);
}

TEST_F(SConfigFTest, LongLinesWrapInFrontOfTheFieldThatWouldReachColumn80) {
  const std::string x70(70, 'x');  // "A=" and 70: a field of 72, so the next starts at column 73
  const std::string f55(55, 'f'), f66(66, 'f');
  for (const std::string name : {"wrap.cfg", "ticket.jtp"}) {
    SConfigF file = SConfigF_Create("", Path(name));
    SConfigF_PutField(file, "A", x70);
    SConfigF_PutField(file, "B", "1234");  // 73 + 6 = 79: stays
    SConfigF_StartLine(file);
    SConfigF_PutField(file, "A", x70);
    SConfigF_PutField(file, "B", "12345");  // 73 + 7 = 80: wraps
    // Behind a wrap the tab counts 8 columns: "\tB=12345:" ends at 16.
    SConfigF_PutField(file, "C", f55);  // 16 + 57 = 73: stays
    SConfigF_PutField(file, "D", "1");  // 74 + 3 = 77: stays
    SConfigF_PutField(file, "E", "1");  // 78 + 3 = 81: wraps
    SConfigF_PutField(file, "F", f66);  // 12 + 68 = 80: wraps
    ASSERT_TRUE(SConfigF_Close(file));
    const bool wraps = name == std::string("wrap.cfg");
    const std::string cut = wraps ? "\\\n\t" : "";
    EXPECT_EQ(FileText(Path(name)), "A=" + x70 + ":B=1234\n" + "A=" + x70 + ":" + cut + "B=12345:C=" + f55 +
                                        ":D=1:" + cut + "E=1:" + cut + "F=" + f66 + "\n")
        << name;
    EXPECT_EQ(ReadFile(Path(name)),
              Lines({{{"A", x70}, {"B", "1234"}}, {{"A", x70}, {"B", "12345"}, {"C", f55}, {"D", "1"}, {"E", "1"}, {"F", f66}}}));
  }
}

// Any fields written come back, but for the line feed, which comes back as
// backslash and "n": the escapes and the wrapping undo each other.
TEST_F(SConfigFTest, WrittenFieldsComeBackWithLineFeedsAsBackslashN) {
  std::mt19937 random(7);
  const std::string alphabet = "ab =:#\\\t\nZ";
  const auto text = [&](std::size_t most, bool key) {
    std::string t(1 + random() % most, 'a');
    for (char& c : t) c = alphabet[random() % alphabet.size()];
    if (key) {
      for (char& c : t)
        if (c == '=' || c == ' ' || c == '\t') c = 'k';
    }
    if (t.back() == '\\') t.back() = 'z';  // the writer doesn't double backslashes
    return t;
  };
  Lines lines(300);
  for (auto& line : lines) {
    line.resize(1 + random() % 12);
    for (auto& [key, value] : line) {
      key = text(20, true);
      value = random() % 5 == 0 ? std::string() : text(40, false);
    }
  }
  SConfigF file = SConfigF_Create("", Path("round.cfg"));
  SConfigF_PutField(file, "PENDING", "1");
  SConfigF_Comment(file, "made by a test");  // goes out ahead of the pending line
  SConfigF_StartLine(file);
  WriteAll(file, lines);
  ASSERT_TRUE(SConfigF_Close(file));
  const std::string head = "#made by a test\nPENDING=1\n";
  EXPECT_EQ(FileText(Path("round.cfg")).substr(0, head.size()), head);

  Lines expected = lines;
  expected.insert(expected.begin(), std::vector<Field>{{"PENDING", "1"}});
  for (auto& line : expected)
    for (auto& field : line)
      for (std::string* t : {&field.first, &field.second})
        for (std::size_t at; (at = t->find('\n')) != std::string::npos;) t->replace(at, 1, "\\n");
  EXPECT_EQ(ReadFile(Path("round.cfg")), expected);
}

TEST_F(SConfigFTest, FilesThatCantBeMadeOrWrittenFail) {
  PutFile(Path("plain"), "x");
  Messages_IgnoreErrors(true);
  EXPECT_EQ(SConfigF_Create("", Path("plain/below.cfg")), nullptr);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  EXPECT_EQ(SConfigF_error, 1);

  // A file size limit makes the writes fail; the child tells how Close saw it.
  const pid_t child = ::fork();
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{100, 100};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    Messages_IgnoreErrors(true);
    SConfigF file = SConfigF_Create("", Path("full.cfg"));
    for (int i = 0; i < 100; ++i) {
      SConfigF_PutField(file, "KEY", std::string(100, 'v'));
      SConfigF_StartLine(file);
    }
    const bool closed = SConfigF_Close(file);
    ::_exit(file == nullptr && !closed && SConfigF_error == 2 ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}
