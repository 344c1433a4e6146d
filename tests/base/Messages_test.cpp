#include "base/Messages.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "base/Argument.h"
#include "tests/support/TestFiles.h"

namespace {

// The catalogs every test of this program sees: "Shared" 1 stands in both
// base catalogs and in the program's own, so the pool order shows.
class CatalogSite : public ::testing::Environment {
 public:
  void SetUp() override {
    site_ = std::make_unique<TempDir>();
    WriteCatalog(site_->Make("eng/marlmsg.srf"),
                 {{"Messages", {{100, "REPORT"}, {101, "ASK ADMIN"}, {102, "END"}}},
                  {"Shared", {{1, "from marlmsg"}}},
                  {"Test", {{1, "first"}, {2, "second %s"}, {3, "third"}}}});
    WriteCatalog(site_->Make("eng/marlerr.srf"), {{"Shared", {{1, "from marlerr"}}}});
    WriteCatalog(site_->Make("eng/prog.srf"), {{"Shared", {{1, "from prog"}}}});
    WriteCatalog(site_->Make("deu/marlmsg.srf"), {{"Test", {{1, "erste"}}}});
    ::setenv("MARLENV", site_->Path().c_str(), 1);
    ::unsetenv("LANGUAGE");
    ::unsetenv("LANG");
    ::unsetenv("DEBUG");
    ::setenv("TV_NO_RUN_FILE", "1", 1);  // the program name below is made up
    static const char* const argv[] = {"/opt/bin/testprog"};
    Argument_Init(1, argv);
    Messages_Init();
  }

 private:
  std::unique_ptr<TempDir> site_;
};

const auto* const site = ::testing::AddGlobalTestEnvironment(new CatalogSite);

std::string Message(const char* section, unsigned number) {
  Messages_GetMessage(StrIn::C(section), number);
  return Messages_message;
}

std::vector<std::string> PopAll() {
  std::vector<std::string> all;
  char text[kTextCap];
  while (Messages_ErrorReason(text)) all.push_back(text);
  return all;
}

class MessagesTest : public ::testing::Test {
 protected:
  void TearDown() override {
    EXPECT_EQ(Messages_IgnoreLevel(), 0u);
    PopAll();
  }
};

}  // namespace

TEST_F(MessagesTest, NewestCatalogWinsAndMissingTextsAreMarked) {
  EXPECT_EQ(Message("Shared", 1), "from marlerr");  // marlerr opened after marlmsg
  EXPECT_EQ(Message("Test", 1), "first");           // falls through to marlmsg
  EXPECT_FALSE(Messages_IsUndefMessage());
  Messages_UseMsgCat("prog");
  Messages_UseMsgCat("prog");  // a second use adds nothing
  EXPECT_EQ(Message("Shared", 1), "from prog");
  EXPECT_EQ(Message("WFbase", 3), "*** ERROR (WFbase, 3) : message text not found ***");
  EXPECT_TRUE(Messages_IsUndefMessage());
  const unsigned before = Messages_SectionUseCount("Test");
  Message("Test", 3);
  EXPECT_EQ(Messages_SectionUseCount("Test"), before + 1);
}

TEST_F(MessagesTest, ForeignLanguagePools) {
  char text[kTextCap];
  Messages_GetForeignMsg("deu", "Test", 1, text);
  EXPECT_STREQ(text, "erste");
  Messages_GetForeignMsg("eng", "Test", 1, text);  // the native language is the main pool
  EXPECT_STREQ(text, "first");
  Messages_GetForeignMsg("", "Test", 1, text);
  EXPECT_STREQ(text, "*** ERROR (Test, 1) : message text not found ***");
  EXPECT_EQ(Messages_ErrorCount(false), 0u);  // opening the pool left no reasons
}

TEST_F(MessagesTest, IgnoredErrorsReturnAndKeepTheirReasons) {
  Messages_IgnoreErrors(true);
  Messages_SupplyAdditionalInfo("short reason");
  Messages_SupplyAdditionalInfo(std::string(200, 'x'));
  Messages_Error("Test", 2);
  EXPECT_EQ(Messages_IgnoreLevel(), 1u);
  Messages_IgnoreErrors(false);
  EXPECT_EQ(PopAll(), (std::vector<std::string>{"second %s", std::string(200, 'x'), "    short reason"}));
}

TEST_F(MessagesTest, DelayedFlushKeepsOldReasonsUntilANewBracketRecords) {
  Messages_IgnoreErrors(true);
  Messages_Error("Test", 1);
  Messages_IgnoreErrors(false);
  Messages_IgnoreErrors(true);  // new outermost bracket: nothing recorded yet
  EXPECT_EQ(Messages_ErrorCount(false), 1u);
  Messages_IgnoreErrors(true);  // an inner level does not set the flush again
  Messages_SupplyAdditionalInfo("new");
  EXPECT_EQ(Messages_ErrorCount(false), 1u);  // the old reason went first
  Messages_IgnoreErrors(false);
  Messages_IgnoreErrors(false);
  EXPECT_EQ(PopAll(), std::vector<std::string>{"    new"});
}

TEST_F(MessagesTest, ForgetDropsOnlyWhatAnInnerBracketAdded) {
  Messages_IgnoreErrors(true);
  Messages_Error("Test", 1);  // recorded for level 1
  Messages_IgnoreErrors(true);
  Messages_SupplyAdditionalInfo("inner");
  Messages_Error("Test", 3);
  EXPECT_EQ(Messages_ErrorCount(false), 3u);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  EXPECT_EQ(Messages_ErrorCount(false), 1u);
  Messages_IgnoreErrors(false);
  EXPECT_EQ(PopAll(), std::vector<std::string>{"first"});
}

TEST_F(MessagesTest, StackHoldsFortyEightReasons) {
  Messages_IgnoreErrors(true);
  for (int i = 0; i < 60; ++i) Messages_SupplyAdditionalInfo(std::to_string(i));
  Messages_IgnoreErrors(false);
  const std::vector<std::string> all = PopAll();
  ASSERT_EQ(all.size(), kMessagesStackSize);
  EXPECT_EQ(all.front(), "    47");  // later pushes were dropped
}

TEST_F(MessagesTest, ShowErrorWritesTheReportFrame) {
  Messages_IgnoreErrors(true);
  Messages_SupplyAdditionalInfo("why");
  Messages_Error("Test", 3);
  Messages_Error("LongSectionName", 12);
  Messages_IgnoreErrors(false);
  TempDir dir;
  const std::string path = dir.Make("report");
  std::FILE* file = std::fopen(path.c_str(), "w");
  Messages_ShowError(file);
  std::fclose(file);
  EXPECT_EQ(FileText(path),
            "\nREPORT\n"
            "  (LongSectionName,  12) : *** ERROR (LongSectionName, 12) : message text not found ***\n"
            "  (Test,       3) : third\n"
            "\twhy\n"
            "ASK ADMIN\n"  // no message 103 in this catalog: 101 stands in
            "END\n");
  EXPECT_EQ(Messages_ErrorCount(false), 0u);
}

using MessagesDeathTest = MessagesTest;

TEST_F(MessagesDeathTest, UnignoredErrorsEndTheProcess) {
  EXPECT_EXIT(
      {
        Messages_SupplyAdditionalInfo("the reason");
        Messages_Error("Test", 1);
      },
      ::testing::ExitedWithCode(2), "REPORT\n  \\(Test,       1\\) : first\n\tthe reason\nASK ADMIN\nEND");
  EXPECT_EXIT(Messages_IgnoreErrors(false), ::testing::ExitedWithCode(2), "\\(Messages,   1\\)");
  EXPECT_EXIT(
      {
        for (int i = 0; i < 63; ++i) Messages_IgnoreErrors(true);
      },
      ::testing::ExitedWithCode(2), "\\(Messages,   2\\)");
  EXPECT_EXIT(
      {
        ::setenv("DEBUG", "1", 1);
        Messages_Error("Test", 1);
      },
      ::testing::KilledBySignal(16), "DebugModeExit !");
  EXPECT_EXIT(
      {
        Messages_IgnoreErrors(true);
        Messages_Error("Test", 3);
        Messages_IgnoreErrors(false);
        Messages_TerminateIf(true);
      },
      ::testing::ExitedWithCode(1), "third");
}
