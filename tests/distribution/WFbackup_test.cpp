// Archives of workflows: which members an archive may have, hostile
// archives made with GNU tar, names that the shell and tar's list file must
// carry unchanged, and a workflow with an awkward name packed and unpacked.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "distribution/RWbase.h"
#include "distribution/WFbackup.h"
#include "tests/support/BatchProgram.h"
#include "tests/support/TestFiles.h"
#include "workflow/WFgroup.h"

namespace {

namespace fs = std::filesystem;

TempDir*& site = UsePrivateSiteForTests([] {
  InitBatchTestProgram();
  RWbase_Init();
  WFbackup_Init();
  WFbase_SetFeedback(false);
});

std::string Projects() { return site->Path() + "/projects"; }

int Shell(const std::string& command) { return RunProgram({"/bin/sh", "-c", command}, {}).status; }

// Every path below `root` with its type, mode and size: what a change would show.
std::map<std::string, std::string> Snapshot(const std::string& root) {
  std::map<std::string, std::string> seen;
  for (auto walk = fs::recursive_directory_iterator(root); walk != fs::recursive_directory_iterator(); ++walk) {
    const auto status = walk->symlink_status();
    seen[walk->path().string()] = std::to_string(static_cast<int>(status.type())) + ":" +
                                  std::to_string(static_cast<int>(status.permissions())) + ":" +
                                  (fs::is_regular_file(status) ? std::to_string(walk->file_size()) : "");
  }
  return seen;
}

std::string Line(char type, const std::string& quotedName, const std::string& link = "") {
  std::string line = std::string(1, type) + "rw-r--r-- 0/0           5 2024-01-01 00:00 \"" + quotedName + "\"";
  if (type == 'l') line += " -> \"" + link + "\"";
  if (type == 'h') line += " link to \"" + link + "\"";
  return line + "\n";
}

unsigned Check(const std::string& listing, std::string* member = nullptr) {
  TextStr refused;
  const unsigned number = WFbackup_CheckListing(listing, Projects(), refused);
  if (member != nullptr) *member = refused;
  return number;
}

}  // namespace

TEST(WFbackupListing, MembersThatCouldWriteOutsideAreRefused) {
  const std::string start = Line('-', "./workflow/w/.autostartrc");
  EXPECT_EQ(Check(start + Line('d', "./") + Line('l', "./workflow/w/up", "../x")), 0u);
  EXPECT_EQ(Check(start + Line('l', "./workflow/w/in", Projects() + "/x")), 0u);
  EXPECT_EQ(Check(start + Line('h', "./workflow/w/h", "workflow/w/.autostartrc")), 0u);

  std::string member;
  EXPECT_EQ(Check(start + Line('-', "/etc/passwd"), &member), 14u);
  EXPECT_EQ(member, "/etc/passwd");
  EXPECT_EQ(Check(Line('-', "./workflow/../../x")), 15u);
  EXPECT_EQ(Check(Line('l', "./w/l", "/etc")), 16u);
  EXPECT_EQ(Check(Line('l', "./w/l", "../../x")), 16u);
  EXPECT_EQ(Check(Line('l', "./w/l", Projects() + "/../x")), 16u);
  EXPECT_EQ(Check(Line('h', "./w/h", "../x")), 16u);
  EXPECT_EQ(Check(Line('h', "./w/h", "/etc/passwd")), 16u);
  EXPECT_EQ(Check(Line('c', "./w/null")), 17u);
  EXPECT_EQ(Check(Line('p', "./w/fifo")), 17u);
  EXPECT_EQ(Check(Line('-', "./w/" + std::string(1100, 'n'))), 18u);
  EXPECT_EQ(Check(Line('-', "./w/" + std::string(256, 'n'))), 18u);
  // A link inside the tree still may not carry a member, before or after it.
  EXPECT_EQ(Check(Line('l', "./w/l", ".") + Line('-', "./w/l/x"), &member), 19u);
  EXPECT_EQ(member, "./w/l/x");
  EXPECT_EQ(Check(Line('-', "./w/l/x") + Line('l', "./w/l", ".")), 19u);
  EXPECT_EQ(Check(Line('l', "./w/l", ".") + Line('h', "./w/h", "w/l/x")), 19u);
  // Climbing back out of a link leaves from the link's target on disk.
  EXPECT_EQ(Check(Line('l', "./a/b/l", ".") + Line('l', "./a/up", "b/l/../../..")), 16u);
  EXPECT_EQ(Check(Line('l', "./a/b/l", ".") + Line('h', "./a/h", "a/b/l/../x")), 16u);
  EXPECT_EQ(Check(start + "garbage\n", &member), 13u);
  EXPECT_EQ(member, "garbage");
}

TEST(WFbackupListing, QuotedNamesAreReadBack) {
  WFbackup_Member member;
  ASSERT_TRUE(WFbackup_ParseMember(
      "lrwxrwxrwx 0/0 0 2024-01-01 00:00 \"./a\\nb \\\"q\\\" \\303\\244 -> x\" -> \"t\\\\u\"", member));
  EXPECT_EQ(member.type, 'l');
  EXPECT_STREQ(member.name, "./a\nb \"q\" \xc3\xa4 -> x");
  EXPECT_STREQ(member.link, "t\\u");
  EXPECT_FALSE(WFbackup_ParseMember("lrwxrwxrwx 0/0 0 2024-01-01 00:00 \"./l\"", member));  // a link needs its target
  EXPECT_FALSE(WFbackup_ParseMember("-rw-r--r-- 0/0 0 2024-01-01 00:00 \"./open", member));
  EXPECT_FALSE(WFbackup_ParseMember("-rw-r--r-- 0/0 0 2024-01-01 00:00 \"./x\" trailing", member));
}

TEST(WFbackupArchive, HostileArchivesChangeNothing) {
  TempDir work;
  const std::string outside = site->Make("outside/.keep");
  PutFile(outside, "");
  PutFile(work.Path() + "/payload", "pwned\n");
  const std::string tar = "cd " + work.Path() + " && tar -cPf ";
  const auto transform = [](const std::string& to) { return " --transform='s,^payload," + to + ",' payload"; };
  ASSERT_EQ(Shell(tar + "abs.tar" + transform(site->Path() + "/outside/abs")), 0);
  ASSERT_EQ(Shell(tar + "up.tar" + transform("./workflow/up/../../../outside/up")), 0);
  ASSERT_EQ(Shell("ln -s /etc " + work.Path() + "/etc && " + tar + "etc.tar --transform='s,^etc,./workflow/etc/etc,' etc"), 0);
  // A link to the outside, then a file through it.
  ASSERT_EQ(Shell("ln -s " + site->Path() + "/outside " + work.Path() + "/out && " + tar +
                   "through.tar --transform='s,^out,./workflow/through/out,' out && tar -rPf through.tar" +
                   transform("./workflow/through/out/pwned")),
            0);
  // A good archive cut short.
  site->Make("projects/workflow/cut/.autostartrc");
  PutFile(Projects() + "/workflow/cut/.autostartrc", std::string(20000, 'x'));
  ASSERT_EQ(Shell("cd " + Projects() + " && tar -cf " + work.Path() + "/whole.tar ./workflow/cut && head -c 12000 " +
                  work.Path() + "/whole.tar > " + work.Path() + "/cut.tar && rm -r workflow/cut"),
            0);

  const auto before = Snapshot(site->Path());
  for (const char* archive : {"abs", "up", "etc", "through", "cut"}) {
    EXPECT_FALSE(WFbackup_UnpackWorkflow(work.Path() + "/" + archive + ".tar")) << archive;
    EXPECT_EQ(Snapshot(site->Path()), before) << archive;
  }
}

TEST(WFbackupArchive, EveryNameReachesTarUnchanged) {
  // Awkward names in the projects directory and in the archive's directory.
  const std::string odd = "sp ace 'q' \"d\" $HOME;x\nline\\b ~t";
  const std::string file = site->Make("projects/" + odd + "/-f " + odd);
  PutFile(file, "x");
  site->Make("projects/" + odd + "/dir/x");
  WFmodule_FileList list = WFmodule_CreateFileList();
  WFmodule_AddFile(list, file, false);
  WFmodule_AddFile(list, Projects() + "/" + odd + "/dir", true);
  WFmodule_AddFile(list, Projects() + "/gone", false);  // left out without a word
  const std::string archive = site->Make("archives/" + odd + "/a.tar");
  ASSERT_TRUE(WFbackup_PackFilelist(list, nullptr, archive, -1));
  WFmodule_DestroyFileList(list);
  EXPECT_EQ(fs::status(archive).permissions(), fs::perms(0666));

  const RunResult listed = RunProgram({"/bin/tar", "--list", "--verbose", "--quoting-style=c", "-f", archive}, {{"LC_ALL", "C"}});
  std::vector<std::string> names;
  for (std::size_t at = 0, end; (end = listed.out.find('\n', at)) != std::string::npos; at = end + 1) {
    WFbackup_Member member;
    ASSERT_TRUE(WFbackup_ParseMember(listed.out.substr(at, end - at), member));
    names.push_back(member.name);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"./" + odd + "/-f " + odd, "./" + odd + "/dir/.dummy"}));
}

TEST(WFbackupArchive, TheGnuNameIsPreferred) {
  TempDir bin;
  PutFile(bin.Path() + "/gtar", "#!/bin/sh\ntouch " + bin.Path() + "/used\nexec tar \"$@\"\n");
  fs::permissions(bin.Path() + "/gtar", fs::perms(0755));
  const std::string path = ::getenv("PATH");
  ::setenv("PATH", (bin.Path() + ":" + path).c_str(), 1);
  NameStr program;
  WFbackup_GetTarProgram(program);
  EXPECT_STREQ(program, "gtar");
  WFmodule_FileList list = WFmodule_CreateFileList();
  EXPECT_TRUE(WFbackup_PackFilelist(list, nullptr, bin.Path() + "/empty.tar", -1));
  WFmodule_DestroyFileList(list);
  ::setenv("PATH", path.c_str(), 1);
  EXPECT_TRUE(fs::exists(bin.Path() + "/used"));
  WFbackup_GetTarProgram(program);
  EXPECT_STREQ(program, "tar");
}

TEST(WFbackupArchive, AWorkflowOfAnAwkwardNameComesBackWithItsGroup) {
  const std::string name = "we 'ird' \"q\" $x;y";
  WFbase workflow = WFbase_CreateWorkflow(name, false);
  ASSERT_TRUE(WFbase_InstallWorkflow(workflow));
  ASSERT_TRUE(WFgroup_AssertGroup("g"));
  ASSERT_TRUE(WFgroup_SetGroup(name, "g"));
  PathStr archive;
  ASSERT_TRUE(WFbackup_PackWorkflow(name, "", archive));
  EXPECT_EQ(std::string(archive), Projects() + "/wfbackup/" + name + ".tar");
  // An existing workflow is left alone.
  const auto installed = Snapshot(Projects() + "/workflow");
  EXPECT_FALSE(WFbackup_UnpackWorkflow(name));
  EXPECT_EQ(Snapshot(Projects() + "/workflow"), installed);

  ASSERT_TRUE(WFbase_UninstallWorkflow(workflow));
  ASSERT_TRUE(WFgroup_SetGroup(name, ""));
  ASSERT_TRUE(WFbackup_UnpackWorkflow(name));
  EXPECT_EQ(Snapshot(Projects() + "/workflow"), installed);
  NameStr group;
  WFgroup_GetGroup(name, group);
  EXPECT_STREQ(group, "g");
  TextStr reason;
  workflow = WFbase_RebuildWorkflow(name, WFbase_NoAnswer, reason);
  EXPECT_NE(workflow, nullptr) << reason;
  WFbase_DestroyWorkflow(workflow);
}
