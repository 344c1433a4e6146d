// Workflow descriptions: the form of a line and its faults, and a workflow in
// memory made to match one description after another, changing only what
// differs.
#include "tools/WFdesc.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "base/Argument.h"
#include "tests/support/TestFiles.h"

namespace {

TempDir*& site = UsePrivateSiteForTests([] {
  ::setenv("LANG", "C", 1);
  ::unsetenv("LANGUAGE");
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
  WFdesc_Init();
});

bool Parse(const std::string& text, WFdesc_Description& d, WFdesc_Error& e) {
  return WFdesc_Parse(text.data(), text.size(), d, e);
}

// "LINE: fault" of a text that doesn't parse, or "" when it does.
std::string Fault(const std::string& text) {
  WFdesc_Description d;
  WFdesc_Error e;
  if (Parse(text, d, e)) return "";
  return std::to_string(e.line) + ": " + e.text;
}

std::string Option(WFfolder folder, const char* key) {
  TextStr value;
  return SAutoRcF_GetOpt(WFfolder_RcFile(folder), StrIn::C(key), value) ? std::string(value) : "(none)";
}

}  // namespace

TEST(WFdescParse, WordsQuotesAndComments) {
  WFdesc_Description d;
  WFdesc_Error e;
  ASSERT_TRUE(Parse("# comment\n  workflow  w_1 # trailing\n"
                    "\"Jaws Rip\" j -> outdir NOTE=\"a \\\"b\\\" \\\\ c\" EMPTY= HASH=\"#x\"\r\n"
                    "start s -> j",
                    d, e))
      << e.text;
  EXPECT_STREQ(d.workflow, "w_1");
  EXPECT_EQ(d.lines, 4u);
  ASSERT_EQ(d.folders.size(), 2u);
  const WFdesc_Folder& j = d.folders[0];
  EXPECT_EQ(j.line, 3u);
  EXPECT_STREQ(j.kind, "Jaws Rip");
  ASSERT_EQ(j.outs.size(), 1u);
  EXPECT_STREQ(j.outs[0].text, "outdir");
  ASSERT_EQ(j.params.size(), 3u);
  EXPECT_STREQ(j.params[0].value, "a \"b\" \\ c");
  EXPECT_STREQ(j.params[1].value, "");
  EXPECT_STREQ(j.params[2].value, "#x");
  EXPECT_STREQ(d.folders[1].name, "s");
}

TEST(WFdescParse, FaultsNameTheirLine) {
  EXPECT_EQ(Fault("start s\nrename s -> outdir\n"), "2: Two folders are named s.");
  EXPECT_EQ(Fault("start\n"), "1: A folder needs a name behind its kind.");
  EXPECT_EQ(Fault("start s/x\n"), "1: s/x cannot name a folder: a name is made of letters, digits, \"_\", \"-\" and \".\".");
  EXPECT_EQ(Fault("start s ->\n"), "1: -> is not expected here.");
  EXPECT_EQ(Fault("start s -> outdir K=1 oops\n"), "1: oops is no parameter: parameters are written KEY=VALUE.");
  EXPECT_EQ(Fault("start s _OUTDIR_=/etc\n"), "1: The parameter _OUTDIR_ belongs to the workflow itself and cannot be set.");
  EXPECT_EQ(Fault("start s\nrename r X=\"open\n"), "2: A string in double quotes is not closed.");
  EXPECT_EQ(Fault("workflow a\nworkflow b\n"), "2: The workflow is named twice.");
  EXPECT_EQ(Fault("workflow .hidden\n"), "1: .hidden cannot name a workflow.");
  EXPECT_EQ(Fault("start s K=" + std::string(kWFdescValueCap, 'v') + "\n"), "1: K is too long.");
  std::string many;
  for (std::size_t n = 0; n <= kWFdescMaxFolders; ++n) many += "rename r" + std::to_string(n) + "\n";
  EXPECT_EQ(Fault(many), std::to_string(kWFdescMaxFolders + 1) + ": A description holds at most " +
                             std::to_string(kWFdescMaxFolders) + " folders.");
  EXPECT_EQ(Fault(""), "");
}

class WFdescApply : public ::testing::Test {
 protected:
  void TearDown() override { WFbase_DestroyWorkflow(workflow); }

  // Applies `text`; "" or "LINE: fault".
  std::string Apply(const std::string& text) {
    WFdesc_Description d;
    WFdesc_Error e;
    removed.clear();
    if (!Parse(text, d, e)) return "parse " + std::to_string(e.line) + ": " + e.text;
    if (!WFdesc_Apply(d, workflow, removed, e)) return std::to_string(e.line) + ": " + e.text;
    return "";
  }
  // What an install would leave: nothing marked.
  void Installed() {
    WFbase_FolderList list = WFbase_GetAllFolders(workflow);
    for (WFbase_FolderList entry = list; entry != nullptr; entry = entry->next) WFfolder_SetModified(entry->folder, false);
    WFbase_DestroyFolderList(list);
    for (WFfolder folder = WFbase_TakeFolderToRemove(workflow); folder != nullptr;
         folder = WFbase_TakeFolderToRemove(workflow)) {
      WFfolder_Destroy(folder);
    }
    WFbase_SetModified(workflow, false);
  }
  std::vector<std::string> Modified() {
    std::vector<std::string> names;
    WFbase_FolderList list = WFbase_GetAllFolders(workflow);
    for (WFbase_FolderList entry = list; entry != nullptr; entry = entry->next) {
      NameStr title;
      WFfolder_GetIconTitle(entry->folder, title);
      if (WFfolder_Modified(entry->folder)) names.emplace_back(title);
    }
    WFbase_DestroyFolderList(list);
    return names;
  }

  WFbase workflow = WFbase_CreateWorkflow("w", false);
  std::vector<WFfolder> removed;
};

TEST_F(WFdescApply, MeaningFaults) {
  EXPECT_EQ(Apply("rename r -> outdir\n"), "1: The description has no start folder.");
  EXPECT_EQ(Apply("start s -> outdir\nstart t -> outdir\n"), "2: A workflow has one start folder only.");
  EXPECT_EQ(Apply("rename r -> s\nstart s -> r\n"), "1: The start folder cannot be an out of r.");
  EXPECT_EQ(Apply("start s -> d\ndelete d\ndelete e\n"), "3: Only one folder of kind delete fits in a workflow: all workflows share its directory.");
  EXPECT_EQ(Apply("start s -> outdir MODE=7\n"), "1: The transfer mode 7 is not a number from 0 to 3.");
  EXPECT_EQ(Apply("start s -> e\nend e -> outdir\n"), "2: The folder e is given 1 outs, but its kind and mode take 0.");
  EXPECT_EQ(Apply("start s -> e\nsort e -> outdir\n"), "2: The folder e is given 1 outs, but its kind and mode take 0.");
  EXPECT_EQ(Apply("start s -> outdir\n\"jaws rip\" j\n"), "2: The folder j is not reached from the start folder.");
}

TEST_F(WFdescApply, FoldersAreFoundAgainByKindAndNameAndOnlyDifferencesAreSet) {
  const std::string base =
      "start s -> r\nRENAME r -> d NOTE=x\nduplicate d -> e f\nend e\nfilter f -> outdir\n";
  ASSERT_EQ(Apply(base), "");
  EXPECT_TRUE(WFbase_Modified(workflow));
  WFfolder rename = WFfolder_OutFolder(WFbase_StartFolder(workflow), 1);
  WFfolder duplicate = WFfolder_OutFolder(rename, 1);
  WFfolder filter = WFfolder_OutFolder(duplicate, 2);
  EXPECT_EQ(WFfolder_OutFolder(duplicate, 1), WFfolder_OutFolder(filter, 1)) << "\"end\" is the outdir";
  EXPECT_EQ(Option(rename, "_DESCRIPTION_"), "r");
  EXPECT_EQ(Option(rename, "NOTE"), "x");
  Installed();

  ASSERT_EQ(Apply(base), "");
  EXPECT_FALSE(WFbase_Modified(workflow));
  EXPECT_TRUE(Modified().empty());

  // A parameter dropped goes; one changed marks only its folder.
  ASSERT_EQ(Apply("start s -> r\nrename r -> d\nduplicate d -> outdir f\nfilter f -> outdir MODE=3\n"), "");
  EXPECT_EQ(Modified(), (std::vector<std::string>{"Rename", "Filter"}));
  EXPECT_EQ(Option(rename, "NOTE"), "(none)");
  EXPECT_EQ(WFfolder_OutFolder(WFbase_StartFolder(workflow), 1), rename);
  Installed();

  // The rename taken out, the filter renamed: the old ones go, a new filter
  // comes.
  ASSERT_EQ(Apply("start s -> d\nduplicate d -> outdir g\nfilter g -> outdir MODE=3\n"), "");
  ASSERT_EQ(removed.size(), 2u);
  EXPECT_EQ(removed[0], rename);
  EXPECT_EQ(removed[1], filter);
  WFfolder g = WFfolder_OutFolder(duplicate, 2);
  EXPECT_NE(g, filter);
  PathStr path;
  WFfolder_GetPath(g, path);
  EXPECT_NE(std::string(path).find("/autofilter/flow_w_1"), std::string::npos) << path;
  EXPECT_TRUE(WFbase_Modified(workflow));
}

TEST_F(WFdescApply, TheStartsModeAndDirectoryGoThroughTheWorkflow) {
  ASSERT_EQ(Apply("start s -> outdir MODE=3 STARTDIR=/elsewhere/in\n"), "");
  EXPECT_EQ(WFbase_GetStartTransferMode(workflow), 3u);
  EXPECT_TRUE(WFfolder_JobticketMode(WFbase_StartFolder(workflow)));
  EXPECT_EQ(Option(WFbase_StartFolder(workflow), "STARTDIR"), "/elsewhere/in");
  ASSERT_EQ(Apply("start s -> outdir\n"), "");
  EXPECT_EQ(WFbase_GetStartTransferMode(workflow), 0u);
  EXPECT_NE(Option(WFbase_StartFolder(workflow), "STARTDIR").find("/projects/workflow/w"), std::string::npos);
}
