// The error window and the viewers on a private X server and a private
// installation with its services: errors written by hand as the module
// commands write them are listed, retried (the demon takes the file on),
// moved and deleted through the window; and files are shown in their
// viewers: text in the text viewer, an image in imgview, PDF through the
// site's command or, without one, message 18.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "base/Messages.h"
#include "manager/Floatdeck.h"
#include "manager/WFstatusErrors.h"
#include "manager/WFstatusView.h"
#include "rc/SrcFile.h"
#include "tests/support/FlowSite.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XUser.h"
#include "tests/toolkit/XvfbServer.h"
#include "toolkit/CWTable.h"
#include "toolkit/IReplay.h"
#include "toolkit/ITxtView.h"
#include "toolkit/WtEvents.h"
// Xlib last: its macros would hide names of the headers above.
#include "tests/toolkit/TopLevel.h"
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

namespace fs = std::filesystem;

WFbase workflow = nullptr;

const bool xvfb = UseXvfb();
FlowSite*& site = UseFlowSiteForTests(
    [] {
      site->PrepareWindows();
      fs::create_directories(site->Path("lib/bin"));
      fs::create_symlink(FLOATDECK_BINARY_DIR "/bin/imgview", site->Path("lib/bin/imgview"));
      ASSERT_TRUE(site->StartWorker(2) && site->StartServer() && site->StartDemon());
      std::string err;
      const std::string description = site->Path("errs.wf");
      std::ofstream(description) << "start in -> lg\nlog lg -> outdir\n";
      ASSERT_TRUE(site->Install(description, "errs", err)) << err;
      site->StartFolders();
      Floatdeck_InitModules();
      Messages_UseMsgCat("FLOATDECKmsg");
      I_UseContextCat("FLOATDECKdlg");
      WFbase_SetFeedback(false);  // messages on standard error, where the tests read them
      TextStr reason;
      workflow = WFbase_RebuildWorkflow("errs", WFbase_NoAnswer, reason);
      ASSERT_NE(workflow, nullptr) << reason;
    },
    [] { WFbase_DestroyWorkflow(workflow); });

bool Rounds(const std::function<bool()>& done) { return RunLoop(done); }
bool Replay(const std::string& lines) { return ReplayLines(site->Root(), lines); }

std::string ErrorDir() {
  PathStr dir;
  WFbase_GetErrordir(workflow, dir);
  return StrIn(dir).Str();
}

// The log folder of the workflow: the only flow directory of its kind.
std::string LogFolder() {
  for (const auto& entry : fs::directory_iterator(site->Path("projects/autofolder/autolog")))
    if (entry.path().filename().string().starts_with("flow_errs_")) return entry.path().string();
  return "";
}

// An error as a module command leaves it: the file (unless `withFile` is
// false) and its ".err" with the folder first, then the reason.
void Fail(const std::string& stamped, const std::string& folder, const std::string& reason, bool withFile = true) {
  const std::string path = ErrorDir() + "/" + stamped;
  if (withFile) PutFile(path, "image data of " + stamped);
  PutFile(path + ".err", folder + "\n" + reason + "\n");
}

const WFstatus_Error* Find(const std::string& name) {
  for (const WFstatus_Error* e : WFstatus_ShownErrors().errors)
    if (std::string(e->name) == name) return e;
  return nullptr;
}

bool Sensitive(std::int32_t element) { return I_AccessWidget(WFstatus_ErrorsContext(), element)->sensitive; }

std::string Listed() {
  std::string names;
  for (const WFstatus_Error* e : WFstatus_ShownErrors().errors) names += std::string(e->name) + " ";
  return names;
}

TEST(ErrorWindow, ListsRetriesMovesAndDeletes) {
  const std::string lg = LogFolder();
  ASSERT_FALSE(lg.empty());
  // The folder named through a link: the file goes back all the same.
  fs::create_symlink(fs::path(lg).parent_path(), site->Path("logs"));
  const std::string viaLink = site->Path("logs/") + fs::path(lg).filename().string();
  const std::string words81 = "The step stopped here because the image named in the job has no channels to work.";
  ASSERT_EQ(words81.size(), 81u);
  Fail("20260101101010_alpha.tif", viaLink, words81);
  PutFile(ErrorDir() + "/20260101101010_alpha.tif-log.pdf", "%PDF-1.4 log");
  Fail("20260101101011_beta.tif", lg, "No engine here.\nNO RETRY");
  Fail("20260101101012_gamma.tif", lg, "Its file went missing.", false);
  Fail("20260101101013_delta.tif", lg, "To be moved.");
  Fail("20260101101014_eps.tif", lg, "To be deleted.");
  Fail("20260101101015_zeta.tif", site->Path("projects/gone"), "Its folder went away.");

  WFstatus_ShowErrors(workflow);
  ASSERT_TRUE(Rounds([] { return CWTable_RowCount(I_AccessWidget(WFstatus_ErrorsContext(), WFstatus_kErrList)) == 6; }));
  EXPECT_EQ(Listed(), "alpha.tif beta.tif gamma.tif delta.tif eps.tif zeta.tif ");
  const WFstatus_Error* alpha = Find("alpha.tif");
  EXPECT_TRUE(alpha->retryable);
  EXPECT_EQ(std::string(alpha->dateText), "10:10:10  2026-01-01");
  EXPECT_EQ(std::string(alpha->logFile), ErrorDir() + "/20260101101010_alpha.tif-log.pdf");
  // 81 characters take two lines, split at a blank.
  ASSERT_EQ(alpha->description.size(), 2u);
  EXPECT_LE(alpha->description[0].size(), 80u);
  EXPECT_EQ(alpha->description[0] + " " + alpha->description[1], words81);
  EXPECT_EQ(Find("beta.tif")->state, WFstatus_errNoRetry);
  EXPECT_EQ(Find("beta.tif")->description, std::vector<std::string>{"No engine here."});
  EXPECT_FALSE(Find("gamma.tif")->fileThere);
  EXPECT_EQ(Find("gamma.tif")->state, WFstatus_errFileMissing);

  // "NO RETRY" keeps Retry off for that error only.
  ASSERT_TRUE(Replay("COMMAND WFstatus_Errors 5 SELECT beta.tif\n"));
  EXPECT_FALSE(Sensitive(10 + WFstatus_errRetry));
  EXPECT_FALSE(Sensitive(10 + WFstatus_errShowLog));
  EXPECT_TRUE(Sensitive(10 + WFstatus_errRetryAll));
  // Nor can one whose file is missing be retried.
  ASSERT_TRUE(Replay("COMMAND WFstatus_Errors 5 SELECT gamma.tif\n"));
  EXPECT_FALSE(Sensitive(10 + WFstatus_errRetry));
  ASSERT_TRUE(Replay("COMMAND WFstatus_Errors 5 SELECT alpha.tif\n"));
  EXPECT_TRUE(Sensitive(10 + WFstatus_errRetry));
  EXPECT_TRUE(Sensitive(10 + WFstatus_errShowLog));

  // Retry: the file goes back into its folder and the demon takes it on to
  // the workflow's end; its ".err" and log go.
  ASSERT_TRUE(Replay("AOBJ WFstatus_Errors 6 2\n"));
  PathStr outdir;
  WFbase_GetDefaultOutdir(workflow, outdir);
  const std::string delivered = StrIn(outdir).Str() + "/alpha.tif";
  ASSERT_TRUE(Rounds([&] { return fs::exists(delivered); })) << delivered;
  EXPECT_EQ(FileText(delivered), "image data of 20260101101010_alpha.tif");
  EXPECT_FALSE(fs::exists(ErrorDir() + "/20260101101010_alpha.tif.err"));
  EXPECT_FALSE(fs::exists(ErrorDir() + "/20260101101010_alpha.tif-log.pdf"));
  EXPECT_EQ(Listed(), "beta.tif gamma.tif delta.tif eps.tif zeta.tif ");

  // Move: file and ".err" into the directory chosen.
  const std::string aside = site->Path("aside");
  fs::create_directories(aside);
  for (WFstatus_Error* e : WFstatus_ShownErrors().errors) e->link.selected = std::string(e->name) == "delta.tif";
  EXPECT_TRUE(WFstatus_MoveErrorFiles(WFstatus_ShownErrors(), false, aside));
  EXPECT_TRUE(fs::exists(aside + "/20260101101013_delta.tif"));
  EXPECT_TRUE(fs::exists(aside + "/20260101101013_delta.tif.err"));
  ASSERT_TRUE(Rounds([] { return Find("delta.tif") == nullptr; }));  // "errors changed" reached the window

  // Delete, after the question.
  ASSERT_TRUE(Replay("COMMAND WFstatus_Errors 5 SELECT eps.tif\nAOBJ WFstatus_Errors 1 3\nAOBJ _yes 2 1\n"));
  EXPECT_FALSE(fs::exists(ErrorDir() + "/20260101101014_eps.tif"));
  EXPECT_FALSE(fs::exists(ErrorDir() + "/20260101101014_eps.tif.err"));

  // Retry all: the file whose folder is gone stays and is told; the one
  // without retry and the one without its file stay untouched.
  testing::internal::CaptureStderr();
  ASSERT_TRUE(Replay("AOBJ WFstatus_Errors 6 7\n"));
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_NE(told.find("zeta.tif"), std::string::npos) << told;
  EXPECT_NE(told.find(site->Path("projects/gone")), std::string::npos) << told;
  EXPECT_EQ(Listed(), "beta.tif gamma.tif zeta.tif ");
  EXPECT_TRUE(fs::exists(ErrorDir() + "/20260101101011_beta.tif"));
  ASSERT_TRUE(Replay("AOBJ WFstatus_Errors 1 1\n"));
  EXPECT_FALSE(WFstatus_ErrorsShown());
}

// The process of the image viewer showing `image`, found by its command
// line; -1 when none runs.
int ViewerOf(const std::string& image) {
  for (const auto& entry : fs::directory_iterator("/proc")) {
    std::string cmdline = FileText(entry.path().string() + "/cmdline");
    if (cmdline.find("imgview") != std::string::npos && cmdline.find(image) != std::string::npos)
      return std::stoi(entry.path().filename().string());
  }
  return -1;
}

unsigned long PixelOf(Display* d, Window w, int x, int y) {
  XImage* image = XGetImage(d, w, x, y, 1, 1, AllPlanes, ZPixmap);
  if (image == nullptr) return ~0UL;  // the window is gone
  const unsigned long p = XGetPixel(image, 0, 0) & 0xFFFFFF;
  XDestroyImage(image);
  return p;
}

// A TIFF of 8-bit RGB, its upper half red and its lower half blue.
void WriteRedOverBlue(const std::string& path, std::uint16_t width, std::uint16_t height) {
  std::ofstream out(path, std::ios::binary);
  const auto put16 = [&](std::uint16_t v) { out.write(reinterpret_cast<const char*>(&v), 2); };
  const auto put32 = [&](std::uint32_t v) { out.write(reinterpret_cast<const char*>(&v), 4); };
  out.write("II", 2);
  put16(42);
  put32(8);
  const std::uint16_t tags[][2] = {{256, 3}, {257, 3}, {258, 3}, {259, 3}, {262, 3}, {273, 4}, {277, 3}, {278, 3}, {279, 4}};
  const std::uint32_t values[] = {width, height, 8, 1, 2, 256, 3, height, 3u * width * height};
  put16(9);
  for (std::size_t i = 0; i < 9; ++i) {
    put16(tags[i][0]);
    put16(tags[i][1]);
    put32(1);
    if (tags[i][1] == 3) put16(static_cast<std::uint16_t>(values[i])), put16(0);
    else put32(values[i]);
  }
  put32(0);
  out.seekp(256);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) out.write(y < height / 2 ? "\xff\x00\x00" : "\x00\x00\xff", 3);
}

TEST(Viewers, TextImagePdf) {
  const std::string dir = site->Path("view");
  fs::create_directories(dir);
  // A text file shows in the text viewer.
  PutFile(dir + "/notes.txt", "first line\nsecond\tline\n");
  ASSERT_TRUE(WFstatus_DisplayFile(dir, "notes.txt", 0));
  EXPECT_TRUE(ITxtView_Shown());
  EXPECT_EQ(ITxtView_LineCount(), 2u);
  EXPECT_EQ(ITxtView_Line(1), "second  line");
  WFstatus_HideViewers();
  EXPECT_FALSE(ITxtView_Shown());

  // An image opens in imgview, the name reaching it intact: its upper half
  // red above its lower half blue.
  const std::string image = "pic a'b $HOME.tif";
  WriteRedOverBlue(dir + "/" + image, 200, 100);
  ASSERT_TRUE(WFstatus_DisplayFile(dir, image, 0));
  struct Ending {  // the viewer goes whatever the test finds
    std::string image;
    ~Ending() {
      for (int i = 0; i < 500 && ViewerOf(image) < 0; ++i) ::usleep(10000);
      if (const int viewer = ViewerOf(image); viewer > 0) ::kill(viewer, SIGTERM);
    }
  } ending{dir + "/" + image};
  XUser user;
  Display* d = user.display();
  Window shown = 0;
  ASSERT_TRUE(Rounds([&] { return (shown = TopLevelTitled(d, image)) != 0; }));
  XWindowAttributes at;
  bool red = false, blue = false;
  const auto picture = [&] {
    XGetWindowAttributes(d, shown, &at);
    red = PixelOf(d, shown, at.width / 2, 25) == 0xFF0000;
    blue = PixelOf(d, shown, at.width / 2, 75) == 0x0000FF;
    return red && blue;
  };
  EXPECT_TRUE(Rounds(picture)) << red << blue;

  // A pair in the quick form: both images in one window of the viewer.
  WriteRedOverBlue(dir + "/partner.tif", 50, 50);
  ASSERT_TRUE(WFstatus_DisplayCTLW(dir, image, "partner.tif", WFstatus_displayQuick));
  Ending pairEnding{dir + "/partner.tif"};
  EXPECT_TRUE(Rounds([&] { return TopLevelTitled(d, image + " + partner.tif") != 0; }));
  const int pair = ViewerOf(dir + "/partner.tif");
  ASSERT_GT(pair, 0);
  EXPECT_NE(FileText("/proc/" + std::to_string(pair) + "/cmdline").find(std::string("\0-q\0", 4)), std::string::npos);

  // PDF: without a viewer set, message 18 names the setting; with one, its
  // command gets the file's name intact, line feed and all.
  const std::string pdf = "log\n'1' $x.pdf";
  PutFile(dir + "/" + pdf, "%PDF-1.4");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(WFstatus_DisplayFile(dir, pdf, 0));
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_NE(told.find(WFstatus_pdfViewerKey), std::string::npos) << told;
  const std::string script = site->Path("cmds/showpdf"), got = site->Path("shown");
  PutFile(script, "#!/bin/sh\nprintf '%s' \"$2\" > " + got + ".tmp && mv " + got + ".tmp " + got + "\n");
  fs::permissions(script, fs::perms::owner_all);
  PutFile(site->Path("customer/.tavrinrc"), std::string("S ") + WFstatus_pdfViewerKey + "= showpdf -p %s\n");
  SrcFile_Load("");
  ASSERT_TRUE(WFstatus_DisplayFile(dir, pdf, 0));
  ASSERT_TRUE(Rounds([&] { return fs::exists(got); }));
  EXPECT_EQ(FileText(got), dir + "/" + pdf);
}

}  // namespace
