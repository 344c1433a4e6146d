// The program itself, in a process of its own on a private X server and a
// private installation, driven by a user's keys and clicks (XTest): in edit
// mode a click on the start folder's icon opens its parameters, also with 20
// pixels of motion; of nine changes eight can be taken back; and a session
// recorded in the GUI log (another watch interval among its changes),
// replayed on a fresh copy of the site, leaves the same rc files and demon
// configuration. The icon is found by the graph's geometry; the log tells
// when the program has done what it was asked.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "manager/Floatdeck.h"
#include "manager/WFshow.h"
#include "tests/support/Await.h"
#include "tests/support/FlowSite.h"
#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XUser.h"
#include "tests/toolkit/XvfbServer.h"
// Xlib last: its macros would hide names of the headers above.
#include "tests/toolkit/TopLevel.h"
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

namespace fs = std::filesystem;
using Env = std::vector<std::pair<std::string, std::string>>;

int rmserver = -1;

const bool xvfb = UseXvfb();
// The site: the resource manager (edit mode reserves the workflow there),
// the watch demon (an install tells it) and "alpha", a start and a log
// folder in one row.
FlowSite*& site = UseFlowSiteForTests(
    [] {
      site->PrepareWindows();
      ChooseRMserverPort();
      rmserver = StartRMserver();
      ASSERT_TRUE(rmserver > 0 && site->StartWorker(1) && site->StartServer() && site->StartDemon());
      std::string err;
      std::ofstream(site->Path("alpha.wf")) << "start in -> lg\nlog lg -> outdir\n";
      ASSERT_TRUE(site->Install(site->Path("alpha.wf"), "alpha", err)) << err;
      Floatdeck_InitModules();
      Messages_UseMsgCat("FEGENRmsg");
    },
    [] { StopRMserver(rmserver); });

// The program showing "alpha", with `env` added to its environment; killed
// when the test leaves it running.
class Program {
 public:
  explicit Program(const Env& env) : pid_(::fork()) {
    if (pid_ != 0) return;
    for (const auto& [name, value] : env) ::setenv(name.c_str(), value.c_str(), 1);
    if (FILE* err = std::fopen(site->Path("tmp/program.err").c_str(), "w")) ::dup2(fileno(err), 2);
    const char* program = FLOATDECK_BINARY_DIR "/bin/Floatdeck";
    ::execl(program, program, "alpha", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ~Program() {
    if (pid_ > 0) ::kill(pid_, SIGKILL);
    Ended(5);
  }
  // Whether it ended with status 0 within `seconds`.
  bool Ended(int seconds) {
    int status = -1;
    for (int i = 0; i < seconds * 20 && pid_ > 0; ++i) {
      if (::waitpid(pid_, &status, WNOHANG) == pid_) {
        pid_ = -1;
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  }

 private:
  pid_t pid_;
};

// How often `part` stands in the text of the file `path`.
std::size_t Count(const std::string& path, const std::string& part) {
  const std::string text = FileText(path);
  std::size_t n = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

// A window's place on the screen (y downward, as the server counts).
struct Place {
  int x = 0, y = 0, width = 0, height = 0;
};

// A user of the program's windows, which this process knows only by the
// server: top-level windows by their titles, places by the graph's geometry.
class User {
 public:
  Display* d() const { return user_.display(); }
  // The mapped top-level windows with their titles.
  std::vector<std::pair<Window, std::string>> Shown() const { return ViewableTopLevels(d()); }
  // The one titled `title` (or holding it, with `part`); 0 when none.
  Window Titled(const std::string& title, bool part = false) const {
    for (const auto& [window, name] : Shown())
      if (part ? name.find(title) != std::string::npos : name == title) return window;
    return 0;
  }
  std::string Titles() const {
    std::string titles;
    for (const auto& shown : Shown()) titles += "[" + shown.second + "]";
    return titles;
  }
  Place PlaceOf(Window w) const {
    XWindowAttributes a;
    XGetWindowAttributes(d(), w, &a);
    Place p{0, 0, a.width, a.height};
    Window child;
    XTranslateCoordinates(d(), w, DefaultRootWindow(d()), 0, 0, &p.x, &p.y, &child);
    return p;
  }
  // The largest window below `w` that holds none: in the main window, the graph.
  Window Largest(Window w) const {
    Window best = 0, rootWindow, parent, *children = nullptr;
    unsigned count = 0;
    XQueryTree(d(), w, &rootWindow, &parent, &children, &count);
    for (unsigned c = 0; c < count; ++c) {
      const Window candidate = Largest(children[c]);
      const Place p = PlaceOf(candidate), b = PlaceOf(best);
      if (best == 0 || p.width * p.height > b.width * b.height) best = candidate;
    }
    if (children != nullptr) XFree(children);
    return count == 0 ? w : best;
  }
  void MoveTo(int x, int y) const {
    XTestFakeMotionEvent(d(), -1, x, y, 0);
    XFlush(d());
  }
  void PointInto(Window w) const {
    const Place p = PlaceOf(w);
    MoveTo(p.x + p.width / 2, p.y + p.height / 2);
  }
  void Button(bool down) const {
    XTestFakeButtonEvent(d(), 1, down ? True : False, 0);
    XFlush(d());
  }
  void Key(KeySym key, KeySym modifier = 0) const {
    const KeyCode mod = modifier != 0 ? XKeysymToKeycode(d(), modifier) : 0;
    if (mod != 0) XTestFakeKeyEvent(d(), mod, True, 0);
    XTestFakeKeyEvent(d(), XKeysymToKeycode(d(), key), True, 0);
    XTestFakeKeyEvent(d(), XKeysymToKeycode(d(), key), False, 0);
    if (mod != 0) XTestFakeKeyEvent(d(), mod, False, 0);
    XFlush(d());
  }

 private:
  XUser user_;
};

// What the program logs and how the user acts on it.
class Session : public ::testing::Test {
 protected:
  // The main window of the program just started, found by its title.
  void Open() {
    main_ = 0;
    ASSERT_TRUE(Await([&] { return (main_ = user_.Titled("alpha", true)) != 0; }));
    graph_ = user_.Largest(main_);
  }
  // Waits until the log holds `part` `times` times.
  bool Logged(const std::string& part, std::size_t times = 1) {
    return Await([&] { return Count(log_, part) >= times; });
  }
  // Alt with a menu's or a button's mnemonic in the main window, then `item`
  // in the menu it opened (0: none).
  void MainKey(KeySym key, KeySym item = 0) {
    user_.PointInto(main_);
    const std::size_t mapped = user_.Shown().size();
    user_.Key(key, XK_Alt_L);
    if (item == 0) return;
    EXPECT_TRUE(Await([&] { return user_.Shown().size() > mapped; })) << "the menu opens";
    user_.Key(item);
    // The menu's grab ends with it.
    EXPECT_TRUE(Await([&] { return user_.Shown().size() <= mapped; })) << "the menu closes";
  }
  // The middle of the start folder's icon in edit mode, by the graph's
  // geometry: the workflow is one row, the start's row, which status mode
  // centres in the rows that fit and edit mode moves up by one over its
  // panel of the kinds that may be inserted (this site has no components).
  std::pair<int, int> StartIcon() {
    const Place g = user_.PlaceOf(graph_);
    int kinds = 0;
    for (WFfolder_FolderKind kind = 0; kind <= kWFfolderMaxKind; ++kind)
      kinds += WFfolder_InsertableKind(kind) && !WFfolder_UserDefKind(kind);
    const int columns = std::clamp(g.width / WFshow_kPanelPitch, 1, kinds);
    const int panel = (kinds + columns - 1) / columns * WFshow_kIconArea + 7;
    const int statusRows = (g.height - 2 - 1) / WFshow_kRowPitch;
    const int firstRow = WFshow_kStartRow - (statusRows - 1) / 2 + 1;
    const int x = WFshow_kLeftMargin + WFshow_kCellBox / 2;
    const int y = panel + (WFshow_kStartRow - firstRow) * WFshow_kRowPitch + 1 + WFshow_kCellBox / 2;
    return {g.x + x, g.y + g.height - 1 - y};
  }
  // The start folder's dialog, by the title it must have: the kind's name
  // and the workflow's.
  std::string StartTitle() {
    TextStr reason, title;
    NameStr kind;
    WFbase workflow = WFbase_RebuildWorkflow("alpha", WFbase_NoAnswer, reason);
    WFmodule_GetName(WFfolder_ModuleKind(WFbase_StartFolder(workflow)), kind);
    WFbase_DestroyWorkflow(workflow);
    Messages_GetMsg("FEwfGenr", 10, title);
    SPrintf_String(title, kind);
    SPrintf_String(title, "alpha");
    return StrIn(title).Str();
  }
  // A click on the start icon, with `motion` pixels across between press and
  // release: its dialog is open, the pointer in it.
  Window OpenStart(int motion = 0) {
    const auto [x, y] = StartIcon();
    user_.MoveTo(x, y);
    user_.Button(true);
    user_.MoveTo(x + motion, y);
    user_.Button(false);
    Window dialog = 0;
    EXPECT_TRUE(Await([&] { return (dialog = user_.Titled(StartTitle())) != 0; })) << motion << ": " << user_.Titles();
    if (dialog != 0) user_.PointInto(dialog);
    return dialog;
  }
  // Alt with `key` in the open dialog: a value of FEautost changes.
  void Change(KeySym key) {
    const std::size_t values = Count(log_, "AOBJ FEautost ");
    user_.Key(key, XK_Alt_L);
    EXPECT_TRUE(Logged("AOBJ FEautost ", values + 1)) << "Alt " << XKeysymToString(key);
  }
  // The watch interval two entries on: the keys go round the dialog until
  // its list opens, and take the entry.
  void NextIntervals() {
    const std::size_t values = Count(log_, "AOBJ FEautost 22 "), shown = user_.Shown().size();
    for (int tab = 0; tab < 12 && user_.Shown().size() == shown; ++tab) {
      user_.Key(XK_Tab);
      user_.Key(XK_Down, XK_Alt_L);
      Await([&] { return user_.Shown().size() > shown; }, 0.3);
    }
    user_.Key(XK_Down);
    user_.Key(XK_Down);
    user_.Key(XK_Return);
    EXPECT_TRUE(Logged("AOBJ FEautost 22 ", values + 1));
  }
  // OK by Return: the dialog is gone.
  void Ok() {
    user_.Key(XK_Return);
    EXPECT_TRUE(Await([&] { return user_.Titled(StartTitle()) == 0; }));
  }
  // The start folder's option `key` as installed.
  static bool Installed(const char* key) {
    TextStr reason;
    WFbase workflow = WFbase_RebuildWorkflow("alpha", WFbase_NoAnswer, reason);
    const bool value = WFfolder_GetBoolOptDef(WFbase_StartFolder(workflow), StrIn::C(key), false);
    WFbase_DestroyWorkflow(workflow);
    return value;
  }

  User user_;
  std::string log_ = site->Path("tmp/session.log");
  Window main_ = 0, graph_ = 0;
};

// What a session changes: the rc files of the site's folders and the demon's
// configuration, install times masked.
std::map<std::string, std::string> Outcome() {
  std::map<std::string, std::string> files;
  const std::regex rc(R"(\.auto.*rc)"), time("_INSTALLTIME_=.*");
  for (const auto& e : fs::recursive_directory_iterator(site->Path("projects")))
    if (std::regex_match(e.path().filename().string(), rc))
      files[e.path().string()] = std::regex_replace(FileText(e.path()), time, "_INSTALLTIME_=#");
  files["demon"] = FileText(site->Path("env/tvwatchd.cfg"));
  return files;
}

void CopyTree(const std::string& from, const std::string& to) {
  fs::remove_all(to);
  fs::create_directories(to);
  fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
}

// Nine changes in edit mode: the first switches sub-directories and takes
// another watch interval (its list opened by keys), the next seven switch
// empty files, the ninth the change time; the second click comes with 20
// pixels of motion. Eight can be taken back, which leaves what the first
// change made, and that is installed. The session, recorded, is replayed by
// a program started on a copy of the site as it was before.
TEST_F(Session, EightOfNineChangesAreTakenBackAndTheRecordedSessionReplaysToTheSameFiles) {
  const bool subdirs = Installed("SUBDIRS"), omitEmpty = Installed("OMITEMPTYFILES"),
             ctime = Installed("CONSIDERCTIME");
  const std::string before = site->Path("before");
  for (const char* dir : {"projects", "env", "customer"}) CopyTree(site->Path(dir), before + "/" + dir);
  fs::remove(log_);
  {
    Program program({{"TV_GUILOG", log_}});
    Open();
    MainKey(XK_w, XK_e);
    ASSERT_TRUE(Logged("AOBJ Floatdeck 1 2\n"));
    for (int i = 1; i <= 9; ++i) {
      ASSERT_NE(OpenStart(i == 2 ? 20 : 0), 0u) << i;
      Change(i == 1 ? XK_s : i < 9 ? XK_e : XK_t);
      if (i == 1) NextIntervals();
      Ok();
    }
    EXPECT_EQ(Count(log_, "EDIT_PARAMS"), 9u);
    // Undo nine times: the ninth finds the button off. Install, then quit;
    // each is done when the next is logged.
    for (int i = 0; i < 9; ++i) MainKey(XK_u);
    MainKey(XK_i);
    ASSERT_TRUE(Logged("AOBJ Floatdeck 1 10\n"));
    EXPECT_EQ(Count(log_, "AOBJ Floatdeck 11 1\n"), 8u);
    MainKey(XK_w, XK_q);
    ASSERT_TRUE(program.Ended(30));
  }
  EXPECT_EQ(Installed("SUBDIRS"), !subdirs);
  EXPECT_EQ(Installed("OMITEMPTYFILES"), omitEmpty);
  EXPECT_EQ(Installed("CONSIDERCTIME"), ctime);
  const auto recorded = Outcome();
  for (const char* dir : {"projects", "env", "customer"}) CopyTree(before + "/" + dir, site->Path(dir));
  ASSERT_NE(Outcome(), recorded);
  {
    Program replay({{"TV_GUIREPLAY", log_}});
    EXPECT_TRUE(replay.Ended(60));
    EXPECT_EQ(FileText(site->Path("tmp/program.err")), "") << "every line played";
  }
  EXPECT_EQ(Outcome(), recorded);
}

}  // namespace
