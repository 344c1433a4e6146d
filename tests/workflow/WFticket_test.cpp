// Job tickets: names, the line format, writing and the reference that
// follows a moved workflow through the link below the start root.
#include "workflow/WFticket.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "workflow/WFmodule.h"

namespace {

TempDir*& site = UsePrivateSiteForTests([] {
  Messages_Init();
  WFticket_Init();
});

// A directory of the site, made with its parents.
std::string Dir(const std::string& relative) {
  const std::string path = site->Path() + "/" + relative;
  std::filesystem::create_directories(path);
  return path;
}


std::string TicketName(const char* path) {
  TextStr ticket;
  WFticket_TicketFilename(StrIn::C(path), ticket);
  return ticket;
}

std::string Value(const std::string& path, const char* key) {
  TextStr value = "stale";
  return WFticket_Lookup(path, StrIn::C(key), value) ? std::string(value) : "<none:" + std::string(value) + ">";
}

TEST(WFticket, NamesOfTickets) {
  EXPECT_TRUE(WFticket_IsTicketFile("abc.jtx"));
  EXPECT_TRUE(WFticket_IsTicketFile("/d/abc.jtpd"));
  EXPECT_FALSE(WFticket_IsTicketFile("abc.jt"));
  EXPECT_FALSE(WFticket_IsTicketFile("abc.jtpdx"));
  EXPECT_FALSE(WFticket_IsTicketFile("abc.tif"));
  EXPECT_FALSE(WFticket_IsTicketFile("d.jtp/abc"));

  EXPECT_EQ(TicketName("/d/page.PS"), "/d/page.jtp");
  EXPECT_EQ(TicketName("page.pdf"), "page.jtpd");
  EXPECT_EQ(TicketName("/d.x/page.QIF"), "/d.x/page.jtq");
  EXPECT_EQ(TicketName("/d/page.jtp"), "/d/page.jtp");
  EXPECT_EQ(TicketName("/d/page"), "/d/page");
}

TEST(WFticket, WriteAndLookUp) {
  const std::string dir = Dir("jobs");
  ASSERT_TRUE(WFticket_Save("", dir + "/a=b.tif"));
  const std::string ticket = dir + "/a=b.jtt";
  EXPECT_EQ(FileText(ticket), "#T Tavrin-1.0 workflow ticket file\nIMAGEREFERENCE=" + dir + "/a=b.tif\n");
  struct stat st {};
  ASSERT_EQ(::stat(ticket.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0666u);
  EXPECT_EQ(Value(ticket, "IMAGEREFERENCE"), dir + "/a=b.tif");  // split at the first "="

  // Given names pass the same naming; an image in another directory.
  ASSERT_TRUE(WFticket_Save(dir + "/other.pdf", "/images/x.tif"));
  EXPECT_EQ(Value(dir + "/other.jtpd", "IMAGEREFERENCE"), "/images/x.tif");
  ASSERT_TRUE(WFticket_SaveInDir(dir, "/images/y.ps"));
  EXPECT_EQ(Value(dir + "/y.jtp", "IMAGEREFERENCE"), "/images/y.ps");

  // What can't be written is false and leaves no reasons behind.
  const unsigned reasons = Messages_ErrorCount(false);
  EXPECT_FALSE(WFticket_Save("", ""));
  EXPECT_FALSE(WFticket_Save("", dir + "/missing/p.tif"));
  PutFile(dir + "/raw", "image data");
  EXPECT_FALSE(WFticket_Save("", dir + "/raw"));  // no ticket form: never over the image
  EXPECT_EQ(FileText(dir + "/raw"), "image data");
  EXPECT_EQ(Messages_ErrorCount(false), reasons);

  // The reader: comments after blanks, lines without "=", keys as they stand,
  // the first line of a key.
  const std::string hand = dir + "/hand.jtt";
  PutFile(hand, "  # KEY=comment\nKEY\n KEY=blank\nKEY=one=two\nKEY=second\nEMPTY=\n" + std::string(6000, 'x') + "\nLONG=" +
                    std::string(6000, 'y'));
  EXPECT_EQ(Value(hand, "KEY"), "one=two");
  EXPECT_EQ(Value(hand, " KEY"), "blank");
  EXPECT_EQ(Value(hand, "EMPTY"), "");
  EXPECT_EQ(Value(hand, "LONG").size(), 5120u - 5);  // the line is cut at 5120 bytes
  EXPECT_EQ(Value(hand, "key"), "<none:>");
  EXPECT_EQ(Value(dir + "/nothing.jtt", "KEY"), "<none:>");
  TextStr image;
  EXPECT_FALSE(WFticket_LoadImageReference(hand, true, image));
}

TEST(WFticket, ReferenceFollowsTheWorkflowLink) {
  PathStr rootText;
  WFmodule_GetRootDir(1, rootText);
  const std::string root(rootText);
  ASSERT_FALSE(root.empty());
  ASSERT_TRUE(DirAcces_RecursiveMkDir(root, 0));
  const std::string moved = Dir("moved/wf");
  ASSERT_TRUE(DirAcces_Symlink(moved, root + "/wf"));
  ASSERT_TRUE(DirAcces_Symlink("../elsewhere", root + "/rel"));
  Dir("plain");
  const std::string tickets = Dir("tickets");

  const auto resolved = [&](const std::string& reference, bool resolve) {
    PutFile(tickets + "/t.jtt", "IMAGEREFERENCE=" + reference + "\n");
    TextStr image;
    EXPECT_TRUE(WFticket_LoadImageReference(tickets + "/t.jtt", resolve, image));
    return std::string(image);
  };
  EXPECT_EQ(resolved(root + "/wf/in/sub/p.tif", true), moved + "/in/sub/p.tif");
  EXPECT_EQ(resolved(root + "/wf/p.tif", true), moved + "/p.tif");
  EXPECT_EQ(resolved(root + "/wf/in/p.tif", false), root + "/wf/in/p.tif");
  EXPECT_EQ(resolved(root + "/rel/in/p.tif", true), root + "/../elsewhere/in/p.tif");
  EXPECT_EQ(resolved(root + "/plain/in/p.tif", true), root + "/plain/in/p.tif");  // no link
  EXPECT_EQ(resolved(root + "/gone/p.tif", true), root + "/gone/p.tif");          // nothing to read
  EXPECT_EQ(resolved("/outside/wf/p.tif", true), "/outside/wf/p.tif");
  EXPECT_EQ(resolved(root + "x/wf/p.tif", true), root + "x/wf/p.tif");  // a longer name is no child
}

}  // namespace
