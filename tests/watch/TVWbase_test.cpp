#include "watch/TVWbase.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "base/FileIO.h"
#include "base/Messages.h"
#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

const TempDir& Site() {
  static const TempDir site;
  return site;
}
std::string Projects() { return Site().Path() + "/projects"; }
std::string Customer() { return Site().Path() + "/customer"; }
std::string Data() { return Site().Path() + "/dat"; }

const bool site = UseBuildTreeSite([] {
  Site().Make("cfg/"), Site().Make("projects/"), Site().Make("customer/"), Site().Make("dat/");
  ::setenv("MARLENV", (Site().Path() + "/cfg:" FLOATDECK_BINARY_DIR "/env").c_str(), 1);
  ::setenv("TV_PROJECTS", Projects().c_str(), 1);
  ::setenv("TV_CUSTOMER", Customer().c_str(), 1);
  ::setenv("MARLDAT", Data().c_str(), 1);
  ::setenv("HOST", "pressroom7", 1);
  TVWbase_Init();
});

std::string InfoFile(int kind) {
  char name[kPathCap];
  TVWbase_GetInfoFileName(kind, name);
  return StrIn(name).Str();
}

std::string InfoText(int pid, int port, const std::string& host) {
  return std::to_string(pid) + "\n" + std::to_string(port) + "\n/lib\n/dat\n/cust\n/proj\n" + host + "\n";
}

// A child running "sleep" under the program name `name`, as /proc shows it.
struct Child {
  explicit Child(const char* name) {
    pid = ::fork();
    if (pid == 0) {
      const char* args[] = {name, "30", nullptr};
      ::execv("/bin/sleep", const_cast<char* const*>(args));
      ::_exit(127);
    }
    // Until exec has happened /proc shows the test program's command line.
    for (int i = 0; i < 200 && FileText("/proc/" + std::to_string(pid) + "/cmdline").rfind(name, 0) != 0; ++i)
      ::usleep(5000);
  }
  ~Child() { Stop(); }
  int Stop() {
    int status = 0;
    if (pid > 0) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, &status, 0);
    }
    pid = -1;
    return status;
  }
  int pid = -1;
};

int DeadPid() {
  const int pid = ::fork();
  if (pid == 0) ::_exit(0);
  ::waitpid(pid, nullptr, 0);
  return pid;
}

class TVWbaseTest : public ::testing::Test {
 protected:
  void SetUp() override { TVWbase_RemoveDemonInfo(); }
  void TearDown() override {
    TVWbase_RemoveDemonInfo();
    EXPECT_EQ(Messages_IgnoreLevel(), 0u);
  }
};

TEST_F(TVWbaseTest, InfoFileNamesByKind) {
  EXPECT_EQ(InfoFile(0), Projects() + "/.tvwatchd.info");
  EXPECT_EQ(InfoFile(1), Customer() + "/tvwatchd.info");
  EXPECT_EQ(InfoFile(5), Data() + "/tvwatchd.info");
  EXPECT_EQ(InfoFile(7), "");
  // Demons of several hosts that share the projects directory keep an info
  // file each there: the configuration says so, read when the name is asked.
  PutFile(Site().Path() + "/cfg/tvwatchd.cfg", "VERSION=1\nMULTIHOSTHOTFOLDER=TRUE\n");
  TVWbase_Reset();
  EXPECT_EQ(InfoFile(0), Projects() + "/.tvwatchd_pressroom7.info");
  std::filesystem::remove(Site().Path() + "/cfg/tvwatchd.cfg");
  TVWbase_Reset();
  EXPECT_EQ(InfoFile(0), Projects() + "/.tvwatchd.info");
}

TEST_F(TVWbaseTest, InfoTextRoundTripAndPartialFiles) {
  TVWbase_DemonInfo info, back;
  info.pid = 4711, info.port = 5612;
  Strings_Assign("/opt/lib", info.libDir);
  Strings_Assign("/opt/dat", info.dataDir);
  Strings_Assign("/c", info.customerDir);
  Strings_Assign("/p", info.projectsDir);
  Strings_Assign("press", info.host);
  TextStr text;
  TVWbase_FormatInfo(info, text);
  EXPECT_STREQ(text, "4711\n5612\n/opt/lib\n/opt/dat\n/c\n/p\npress\n");
  ASSERT_TRUE(TVWbase_ParseInfo(text, back));
  TextStr again;
  TVWbase_FormatInfo(back, again);
  EXPECT_STREQ(again, text);

  // Strings are taken as far as they are there; the integers are required.
  ASSERT_TRUE(TVWbase_ParseInfo("12\n-1\n/lib\n", back));
  EXPECT_EQ(back.port, -1);
  EXPECT_STREQ(back.libDir, "/lib");
  EXPECT_STREQ(back.dataDir, "");
  EXPECT_FALSE(TVWbase_ParseInfo("12\n", back));
  EXPECT_FALSE(TVWbase_ParseInfo("12\nport\n/lib\n", back));
  EXPECT_FALSE(TVWbase_ParseInfo("12x\n5\n", back));
  EXPECT_EQ(back.pid, -1);
}

TEST_F(TVWbaseTest, OldFormatMapsToNewRecord) {
  TVWbase_DemonInfo info;
  ASSERT_TRUE(TVWbase_ParseOldInfo("321\nMARLLIB=/opt/tavrin\n", info));
  EXPECT_EQ(info.pid, 321);
  EXPECT_EQ(info.port, -1);
  EXPECT_STREQ(info.libDir, "/opt/tavrin");
  EXPECT_STREQ(info.dataDir, "/opt/tavrin/dat");
  EXPECT_STREQ(info.customerDir, "/customer");
  EXPECT_STREQ(info.projectsDir, "/projects");
  EXPECT_STREQ(info.host, "");
  ASSERT_TRUE(TVWbase_ParseOldInfo("321\nMARLDAT=/x\n", info));
  EXPECT_STREQ(info.libDir, "");
  EXPECT_FALSE(TVWbase_ParseOldInfo("none\n", info));
}

TEST_F(TVWbaseTest, StaleInfoIsRemovedByTheFirstReader) {
  TVWbase_DemonInfo info;
  // A dead process.
  PutFile(InfoFile(0), InfoText(DeadPid(), 5612, "pressroom7"));
  EXPECT_FALSE(TVWbase_GetDemonInfo(info));
  EXPECT_EQ(info.pid, -1);
  EXPECT_FALSE(fs::exists(InfoFile(0)));
  // A live process that is not the demon: its id was reused.
  Child other("/bin/sleep");
  PutFile(InfoFile(0), InfoText(other.pid, 5612, ""));
  EXPECT_FALSE(TVWbase_IsAlive(other.pid));
  EXPECT_FALSE(TVWbase_DemonRunning(info));
  EXPECT_FALSE(fs::exists(InfoFile(0)));
  // A demon that starts holds the stale file's lock until it has written its
  // own info into it: the file stays.
  PutFile(InfoFile(0), InfoText(DeadPid(), 5612, ""));
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t starting = ::fork();
  if (starting == 0) {
    FileIO_File file = FileIO_Open(InfoFile(0), FileIO_readWriteMode);
    const char locked = file != FileIO_nil && FileIO_TestAndLock(file) ? 1 : 0;
    if (::write(ready[1], &locked, 1) == 1) ::pause();
    ::_exit(0);
  }
  char locked = 0;
  ASSERT_EQ(::read(ready[0], &locked, 1), 1);
  ASSERT_EQ(locked, 1);
  EXPECT_FALSE(TVWbase_GetDemonInfo(info));
  EXPECT_TRUE(fs::exists(InfoFile(0)));
  ::kill(starting, SIGKILL);
  ::waitpid(starting, nullptr, 0);
  ::close(ready[0]);
  ::close(ready[1]);
  EXPECT_FALSE(TVWbase_GetDemonInfo(info));
  EXPECT_FALSE(fs::exists(InfoFile(0)));
}

TEST_F(TVWbaseTest, LiveDemonIsFoundAndCachedUntilItDies) {
  Child demon("/opt/bin/TVWatchD");
  PutFile(InfoFile(0), InfoText(demon.pid, 5612, "pressroom7"));
  TVWbase_DemonInfo info;
  ASSERT_TRUE(TVWbase_DemonRunning(info));
  EXPECT_EQ(info.pid, demon.pid);
  EXPECT_EQ(info.port, 5612);
  EXPECT_STREQ(info.customerDir, "/cust");
  ASSERT_TRUE(TVWbase_GetDemonInfo(info));  // from the cache
  demon.Stop();
  // Same file, same time: the cache must still see the death.
  EXPECT_FALSE(TVWbase_GetDemonInfo(info));
  EXPECT_FALSE(fs::exists(InfoFile(0)));
}

TEST_F(TVWbaseTest, DemonOfAnotherHostIsBelievedWithoutTest) {
  PutFile(InfoFile(0), InfoText(DeadPid(), 5612, "pressroom9"));
  TVWbase_DemonInfo info;
  EXPECT_TRUE(TVWbase_DemonRunning(info));
  EXPECT_STREQ(info.host, "pressroom9");
  EXPECT_FALSE(TVWbase_IsLocal(info.host));
  EXPECT_TRUE(TVWbase_IsLocal("pressroom7"));
  EXPECT_TRUE(TVWbase_IsLocal(""));
  EXPECT_TRUE(fs::exists(InfoFile(0)));
}

TEST_F(TVWbaseTest, KillDemonSignalsTheNamedProcess) {
  EXPECT_FALSE(TVWbase_KillDemon(TVWbase_sigTest));
  Child demon("TVWatchD");
  PutFile(InfoFile(0), InfoText(demon.pid, -1, ""));
  EXPECT_TRUE(TVWbase_KillDemon(TVWbase_sigTest));
  ASSERT_TRUE(TVWbase_KillDemon(TVWbase_sigTerm));
  int status = 0;
  ASSERT_EQ(::waitpid(demon.pid, &status, 0), demon.pid);
  demon.pid = -1;
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGTERM);
  EXPECT_FALSE(TVWbase_KillDemon(TVWbase_sigTest));

  char name[kNameCap];
  TVWbase_SignalName(TVWbase_sigUsr1, name);
  EXPECT_STREQ(name, "SIGUSR1");
  TVWbase_SignalName(3, name);
  EXPECT_STREQ(name, "");
}

TEST_F(TVWbaseTest, LockWritesEveryDirectoryOnceAndUnlocks) {
  // The customer directory is the projects directory under another name.
  const std::string link = Site().Path() + "/customer-link";
  fs::create_directory_symlink(Projects(), link);
  ::setenv("TV_CUSTOMER", link.c_str(), 1);
  TVWbase_LockSet set = nullptr;
  char message[kTextCap] = "";
  ASSERT_TRUE(TVWbase_Lock(1000, set, message)) << message;
  EXPECT_TRUE(TVWbase_AlreadyLocked(set, link));
  EXPECT_FALSE(fs::exists(link + "/tvwatchd.info"));
  EXPECT_EQ(fs::status(InfoFile(5)).permissions() & fs::perms::others_write, fs::perms::others_write);
  ASSERT_TRUE(TVWbase_WriteDemonInfo(set, 5612));
  EXPECT_EQ(set, nullptr);
  for (int kind : {0, 5}) {
    TVWbase_DemonInfo info;
    ASSERT_TRUE(TVWbase_ParseInfo(FileText(InfoFile(kind)), info));
    EXPECT_EQ(info.pid, ::getpid());
    EXPECT_EQ(info.port, 5612);
    EXPECT_EQ(StrIn(info.customerDir).Str(), link);
    EXPECT_STREQ(info.host, "pressroom7");
  }
  EXPECT_FALSE(TVWbase_WriteDemonInfo(set, 1));
  // A second write through a new lock rewrites in place and cuts the rest.
  PutFile(InfoFile(5), std::string(400, '#'));
  ASSERT_TRUE(TVWbase_Lock(1000, set, message));
  ASSERT_TRUE(TVWbase_WriteDemonInfo(set, 7));
  EXPECT_EQ(FileText(InfoFile(5)).find('#'), std::string::npos) << FileText(InfoFile(5));
  EXPECT_TRUE(TVWbase_RemoveDemonInfo());
  EXPECT_FALSE(fs::exists(InfoFile(0)));
  EXPECT_FALSE(fs::exists(InfoFile(5)));
  ::setenv("TV_CUSTOMER", Customer().c_str(), 1);
  fs::remove(link);
}

TEST_F(TVWbaseTest, LockRefusesARunningDemonAndAHeldLock) {
  Child demon("TVWatchD");
  PutFile(InfoFile(1), InfoText(demon.pid, 1, ""));
  TVWbase_LockSet set = nullptr;
  char message[kTextCap] = "";
  EXPECT_FALSE(TVWbase_Lock(1000, set, message));
  EXPECT_EQ(set, nullptr);
  EXPECT_NE(std::string(message).find(std::to_string(demon.pid)), std::string::npos) << message;
  EXPECT_NE(std::string(message).find(Customer()), std::string::npos) << message;
  // Nothing stays locked after the failure: the projects file is free again.
  fs::remove(InfoFile(1));
  demon.Stop();

  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const int holder = ::fork();
  if (holder == 0) {
    TVWbase_LockSet held = nullptr;
    char text[kTextCap];
    const char ok = TVWbase_Lock(1000, held, text) ? 'y' : 'n';
    (void)!::write(ready[1], &ok, 1);
    ::pause();
    ::_exit(0);
  }
  char ok = 'n';
  ASSERT_EQ(::read(ready[0], &ok, 1), 1);
  ASSERT_EQ(ok, 'y');
  EXPECT_FALSE(TVWbase_Lock(300, set, message));
  EXPECT_NE(std::string(message).find(InfoFile(0)), std::string::npos) << message;
  ::kill(holder, SIGKILL);
  ::waitpid(holder, nullptr, 0);
  ::close(ready[0]), ::close(ready[1]);
  ASSERT_TRUE(TVWbase_Lock(300, set, message)) << message;
  TVWbase_Unlock(set);
  EXPECT_EQ(set, nullptr);
}

StrVector Items(std::initializer_list<const char*> items) {
  StrVector list = StrVector_Create();
  for (const char* item : items) StrVector_AddElement(list, StrIn::C(item));
  return list;
}

TEST(TVWbaseAddons, EncodingEscapesBlanksAndBackslashes) {
  StrVector list = Items({"a b"});
  TextStr text;
  TVWbase_EncodeJobAddons("/work dir", "", list, text);
  EXPECT_STREQ(text, "/work\\ dir  1 a\\ b");
  StrVector_Destroy(list);
  list = Items({"x\\y", "z"});
  TVWbase_EncodeJobAddons("/w", "777", list, text);
  EXPECT_STREQ(text, "/w 777 2 x\\\\y z");
  StrVector_Destroy(list);
}

// The decoder leaves the escapes in; an all-digit second is read as the
// count, the accepted ambiguity.
TEST(TVWbaseAddons, DecodeRoundTripKeepsEscapes) {
  const auto decoded = [](const char* first, const char* second, std::initializer_list<const char*> items) {
    StrVector list = Items(items), back = nullptr;
    TextStr text, a, b;
    TVWbase_EncodeJobAddons(StrIn::C(first), StrIn::C(second), list, text);
    std::string out = TVWbase_DecodeJobAddons(text, a, b, back) ? StrIn(a).Str() + "|" + StrIn(b).Str() : "failed";
    for (std::size_t i = 0; i < StrVector_ElementCount(back); ++i) out += "|" + StrVector_DynElementAt(back, i).Str();
    TVWbase_DestroyFileList(back);
    StrVector_Destroy(list);
    return out;
  };
  EXPECT_EQ(decoded("/work dir", "", {"a b", "c"}), "/work\\ dir||a\\ b|c");
  EXPECT_EQ(decoded("/w", "job-12", {"one"}), "/w|job-12|one");
  EXPECT_EQ(decoded("/w", "2", {"x"}), "/w||1|x");
}

TEST(TVWbaseAddons, DecodeRejectsIncompleteTexts) {
  TextStr first, second;
  StrVector list = nullptr;
  for (const char* text : {"/w  0", " x 1 a", "/w x 2 a", "/w x 1 ", "/w x", "/w x many a", ""}) {
    EXPECT_FALSE(TVWbase_DecodeJobAddons(StrIn::C(text), first, second, list)) << text;
    EXPECT_EQ(list, nullptr) << text;
  }
  ASSERT_TRUE(TVWbase_DecodeJobAddons("/w  1 a", first, second, list));
  EXPECT_STREQ(first, "/w");
  EXPECT_STREQ(second, "");
  TVWbase_DestroyFileList(list);
  EXPECT_EQ(list, nullptr);
}

}  // namespace
