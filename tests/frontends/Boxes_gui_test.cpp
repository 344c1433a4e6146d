// The selection boxes on a private X server, used through XTest as a user
// of a desktop program would: a name typed by hand opens a folder, the
// names shown narrow the list, a double click takes a file, Return takes
// the entry chosen by a click, Escape gives the start value back. The image
// format box keeps several choices while its list is narrowed.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "frontends/IStdSel.h"
#include "frontends/ImageSel.h"
#include "image/SImage.h"
#include "image/SIqif.h"
#include "image/SItiff.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "toolkit/CWList.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
#include "toolkit/IFileSel.h"
#include "toolkit/IReplay.h"
#include "toolkit/Ibase.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/keysym.h>

namespace {

namespace fs = std::filesystem;

const bool registered = UseTestDialogs([] {
  SIqif_Init();
  SItiff_Init();
});

// The newest shown instance of the dialog `name`; nil when none.
I_Context Shown(const std::string& name) {
  for (I_Context c = Ibase_contexts; c != nullptr; c = c->next) {
    NameStr found;
    I_GetContextName(c, found);
    if (StrIn(found).Str() == name && I_Active(c) && static_cast<CWShell>(I_AccessWidget(c, -1))->exposed) return c;
  }
  return nullptr;
}

// What the user does while a box runs modally: steps, each tried every
// 30 ms until it answers that it is done. A script that stalls for 20 s
// closes the box.
struct Script {
  std::vector<std::function<bool()>> steps;
  std::size_t next = 0;
  std::chrono::steady_clock::time_point deadline;
  std::string box;
};

void Step(std::uintptr_t data) {
  Script& s = *reinterpret_cast<Script*>(data);
  if (s.next < s.steps.size() && s.steps[s.next]()) ++s.next;
  if (s.next >= s.steps.size()) return;
  if (std::chrono::steady_clock::now() < s.deadline) {
    I_RescheduleTask(30);
  } else if (I_Context box = Shown(s.box)) {
    ADD_FAILURE() << "stalled at step " << s.next;
    I_Deactivate(box);
  }
}

class Boxes : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* dir : {"jobs/sub", ".hidden"}) fs::create_directories(root_.Path() + "/" + dir);
    for (const char* file : {"jobs/a.pdf", "jobs/b.tif", "x.pdf"}) PutFile(root_.Path() + "/" + file, "%");
  }
  // The replay `lines` answers the next box.
  void Answer(const std::string& lines) {
    PutFile(root_.Path() + "/.hidden/replay.log", lines);
    ASSERT_TRUE(IReplay_Start(root_.Path() + "/.hidden/replay.log", 5000));
  }
  void Run(const std::string& box, std::vector<std::function<bool()>> steps) {
    script_.box = box;
    script_.steps = std::move(steps);
    script_.next = 0;
    script_.deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    I_ScheduleTask(30, Step, reinterpret_cast<std::uintptr_t>(&script_));
  }
  // The entries of the box's list, as shown.
  std::vector<std::string> Entries(I_Context c, std::int32_t element) {
    std::vector<std::string> texts;
    Widget list = I_AccessWidget(c, element);
    for (std::size_t i = 0; i < CWList_EntryCount(list); ++i) texts.push_back(CWList_EntryText(list, i).Str());
    return texts;
  }
  std::string Text(I_Context c, std::int32_t number) {
    TextStr text;
    I_GetSTRING(c, number, text);
    return StrIn(text).Str();
  }
  void ClickEntry(I_Context c, std::int32_t element, std::size_t index, int times = 1) {
    Widget list = I_AccessWidget(c, element);
    Regions_Rect place;
    ASSERT_TRUE(CWList_EntryPlace(list, index, place));
    for (int i = 0; i < times; ++i) user_.ClickAt(list, place.x + place.width / 2, place.y + place.height / 2);
  }
  void TypeInto(I_Context c, std::int32_t element, const std::string& text) {
    Widget field = I_AccessWidget(c, element);
    user_.Click(field);
    user_.PointAt(field);
    user_.Type(text);
    user_.Press(XK_Return);
  }

  TempDir root_;
  XUser user_;
  Script script_;
  I_Context box_ = nullptr;
};

TEST_F(Boxes, TheFileBoxOpensATypedFolderNarrowsTheListAndTakesADoubleClickedFile) {
  const std::string root = root_.Path();
  std::vector<std::string> atRoot, inJobs, narrowed;
  Run("IFileSel_Box", {
      [&] { return (box_ = Shown("IFileSel_Box")) != nullptr; },
      [&] {
        atRoot = Entries(box_, 4);
        TypeInto(box_, 6, "jobs");
        return true;
      },
      [&] { return Text(box_, 3) == root + "/jobs"; },
      [&] {
        inJobs = Entries(box_, 4);
        TypeInto(box_, 5, "z");  // "*z": no file
        return true;
      },
      [&] { return Entries(box_, 4).size() == 2; },
      [&] {
        narrowed = Entries(box_, 4);
        Widget field = I_AccessWidget(box_, 5);
        user_.PointAt(field);
        user_.Press(XK_BackSpace);
        user_.Press(XK_Return);
        return true;
      },
      [&] { return Entries(box_, 4).size() == 3; },
      [&] {
        ClickEntry(box_, 4, 2, 2);
        return true;
      },
  });
  PathStr chosen;
  EXPECT_TRUE(IFileSel_SelectAFile("", "\\.pdf$", root, chosen));
  EXPECT_EQ(StrIn(chosen).Str(), root + "/jobs/a.pdf");
  EXPECT_EQ(atRoot, (std::vector<std::string>{"../", "jobs/", "x.pdf"}));
  EXPECT_EQ(inJobs, (std::vector<std::string>{"../", "sub/", "a.pdf"}));
  EXPECT_EQ(narrowed, (std::vector<std::string>{"../", "sub/"}));
}

TEST_F(Boxes, TheFolderBoxTakesTheClickedEntryWithReturnAndEscapeKeepsTheStart) {
  const std::string root = root_.Path();
  Run("IFileSel_Box", {
      [&] { return (box_ = Shown("IFileSel_Box")) != nullptr; },
      [&] {
        ClickEntry(box_, 4, 1);  // "jobs/"
        return true;
      },
      [&] { return Text(box_, 6) == "jobs"; },
      [&] {
        user_.PointAt(I_AccessWidget(box_, 4));
        user_.Press(XK_Return);
        return true;
      },
  });
  PathStr chosen;
  EXPECT_TRUE(IFileSel_SelectADir("", root, chosen));
  EXPECT_EQ(StrIn(chosen).Str(), root + "/jobs");

  // A start below a folder that does not exist opens the nearest one; Escape
  // gives the start back.
  std::string opened;
  Run("IFileSel_Box", {
      [&] { return (box_ = Shown("IFileSel_Box")) != nullptr; },
      [&] {
        opened = Text(box_, 3);
        user_.PointAt(I_AccessWidget(box_, 4));
        user_.Press(XK_Escape);
        return true;
      },
  });
  const std::string start = root + "/jobs/gone/deeper";
  EXPECT_FALSE(IFileSel_SelectADir("", start, chosen));
  EXPECT_EQ(StrIn(chosen).Str(), start);
  EXPECT_EQ(opened, root + "/jobs");
}

TEST_F(Boxes, TheFormatBoxKeepsSeveralChoicesWhileItsListIsNarrowed) {
  SImage_FormatList list = SImage_GetListOfSelectedSupportedFormats(kImageSelReadable);
  std::vector<std::string> suffixes;
  for (SImage_FormatList e = list; e != nullptr; e = e->next) {
    if (e->suffix[0] != '\0') suffixes.push_back(e->suffix);
  }
  SImage_DestroyListOfSupportedFormats(list);
  ASSERT_GE(suffixes.size(), 2u);
  // The first format chosen at the start stays chosen while the list shows
  // only the last, which a click adds.
  std::size_t shownWhileNarrowed = 0;
  Run("ImageSel_Formats", {
      [&] { return (box_ = Shown("ImageSel_Formats")) != nullptr; },
      [&] {
        TypeInto(box_, 4, suffixes.back());
        return true;
      },
      [&] {
        shownWhileNarrowed = Entries(box_, 3).size();
        return shownWhileNarrowed >= 1 && shownWhileNarrowed < suffixes.size();
      },
      [&] {
        std::vector<std::string> entries = Entries(box_, 3);
        for (std::size_t i = 0; i < entries.size(); ++i) {
          if (entries[i].rfind(suffixes.back() + " ", 0) == 0) ClickEntry(box_, 3, i);
        }
        return true;
      },
      [&] {
        user_.Click(I_AccessWidget(box_, 11));  // OK
        return true;
      },
  });
  PathStr chosen;
  EXPECT_TRUE(ImageSel_SelectAnImageFormat("", kImageSelReadable, true, suffixes.front(), chosen));
  EXPECT_EQ(StrIn(chosen).Str(), suffixes.front() + " " + suffixes.back());
}

TEST_F(Boxes, TheProfileAndSchemeBoxesRefuseAFileOfAnotherSort) {
  const std::string root = root_.Path();
  std::string header(128, '\0');
  header.replace(36, 4, "acsp");
  PutFile(root + "/good.icc", header + "tags");
  PutFile(root + "/bad.icc", std::string(200, 'x'));
  EXPECT_TRUE(IStdSel_IsICCProfile(root + "/good.icc"));
  EXPECT_FALSE(IStdSel_IsICCProfile(root + "/bad.icc"));
  // The refused file leaves the box open.
  Answer("AOBJ IFileSel_Box 6 \"bad.icc\"\nAOBJ IFileSel_Box 1 1\n"
         "AOBJ IFileSel_Box 6 \"good.icc\"\nAOBJ IFileSel_Box 1 1\n");
  PathStr chosen;
  EXPECT_TRUE(IStdSel_SelectAICCProfile("", root + "/x.pdf", chosen));
  EXPECT_EQ(StrIn(chosen).Str(), root + "/good.icc");

  fs::copy_file(FLOATDECK_SOURCE_DIR "/tests/data/rename/bad_reference.trs", root + "/broken.trs");
  Answer("AOBJ IFileSel_Box 6 \"broken.trs\"\nAOBJ IFileSel_Box 1 1\nAOBJ IFileSel_Box 1 0\n");
  EXPECT_FALSE(IStdSel_SelectARenameScheme("", root + "/jobs/old.trs", chosen));
  EXPECT_EQ(StrIn(chosen).Str(), root + "/jobs/old.trs");
  IReplay_Stop();
}

}  // namespace
