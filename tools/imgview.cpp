// imgview: the image viewer the workflow manager starts for a file of a
// folder: one image, or a pair side by side, reduced to fit the screen.
//
//   imgview [-q] [-r FILE] [--] IMAGE [IMAGE]
//
// The window opens at once and fills as the image is read (line by line,
// so that an image of gigabytes takes a few megabytes); a window made
// smaller shows the picture smaller. -q reads only the lines the picture
// needs (the quick form). With -r the file FILE is made once the images
// are read and shown whole, for scripts. Exit status 0; 1 for an unusable
// command line, an image that can't be read (said in a box, or on standard
// error without a display) or no display; 2 for an internal error.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Options.h"
#include "base/Processe.h"
#include "base/SIdPool.h"
#include "base/SPrintf.h"
#include "image/SIqif.h"
#include "image/SItiff.h"
#include "toolkit/CWDraw.h"
#include "toolkit/I.h"
#include "toolkit/Imisc.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtEvents.h"
#include "tools/ImgView.h"

namespace {

char section[kSectionCap] = "imgview";
constexpr unsigned kUsage = 1, kCannotRead = 5, kCaption = 10;
constexpr char kDialog[] = "imgview";
constexpr std::int32_t kCommand = 1, kCaptionValue = 2, kArea = 3;
constexpr int kGap = 8;                  // between the two pictures of a pair
constexpr int kFrameRoom = 120;          // of the screen, for the window's frame, caption and buttons
constexpr std::uint32_t kLinesAStep = 64;
constexpr int kShowEveryMs = 250;

struct Viewer {
  std::vector<std::unique_ptr<ImgView_Picture>> pictures;
  std::vector<std::string> names;
  I_Context context = nullptr;
  Widget area = nullptr;
  std::string readyFile;  // empty when none is asked for, or once it is made
  bool failed = false;  // an image could not be read (whole)
  std::chrono::steady_clock::time_point shown{};  // when the picture was drawn last
};
Viewer viewer;

// Message 5 with the image's name and what went wrong, in a box.
void TellCannotRead(const std::string& name) {
  TextStr text, reason;
  Messages_GetMsg(section, kCannotRead, text);
  Messages_GetMsg("SImage", SImage_imgError, reason);  // messages: SImage 1-10 12 15
  SPrintf_String(text, name);
  SPrintf_String(text, reason);
  Messages_ForgetErrorReasons();
  Imisc_StrErrMsg(text);
  viewer.failed = true;
}

// The composition of the pictures: their total width and height.
void Extent(int& width, int& height) {
  width = height = 0;
  for (const auto& p : viewer.pictures) {
    width += (width > 0 ? kGap : 0) + p->Width();
    height = std::max(height, p->Height());
  }
}

// Whether every picture is read (or failed).
bool AllRead() {
  for (const auto& p : viewer.pictures)
    if (p->RowsDone() < p->Height() && !p->Failed()) return false;
  return true;
}

// The ready file of -r, once the whole picture was drawn.
void Ready() {
  if (viewer.readyFile.empty()) return;
  W_Sync(false);
  if (std::FILE* f = std::fopen(viewer.readyFile.c_str(), "w")) std::fclose(f);
  viewer.readyFile.clear();
}

// The pictures drawn at the scale that fits the area (never above 1), each
// row of the window from the picture row nearest to it; rows not read yet
// stay the background.
void Expose(Widget w, const Regions_Region&, const W_Event& event, std::uintptr_t) {
  int width, height;
  Extent(width, height);
  if (width == 0 || height == 0) return;
  const double scale = std::min({1.0, static_cast<double>(w->width) / width, static_cast<double>(w->height) / height});
  int x = static_cast<int>((w->width - width * scale) / 2);
  const int top = static_cast<int>((w->height + height * scale) / 2);
  W_GC gc = WtDraw_GetGC();
  std::vector<std::uint8_t> line;
  for (const auto& p : viewer.pictures) {
    const int shownWidth = std::max(1, static_cast<int>(p->Width() * scale));
    const int shownHeight = std::max(1, static_cast<int>(p->Height() * scale));
    line.resize(static_cast<std::size_t>(shownWidth) * 3);
    const int below = (static_cast<int>(height * scale) - shownHeight) / 2;  // a lower picture stands in the middle
    for (int row = 0; row < shownHeight; ++row) {
      const int y = top - 1 - below - row;
      if (y < event.expose.y || y >= event.expose.y + event.expose.height) continue;
      const int source = std::min(p->Height() - 1, static_cast<int>(row / scale));
      if (source >= p->RowsDone()) break;
      const std::uint8_t* rgb = p->Row(source);
      for (int i = 0; i < shownWidth; ++i) {
        const int from = std::min(p->Width() - 1, static_cast<int>(i / scale));
        std::memcpy(line.data() + 3 * i, rgb + 3 * from, 3);
      }
      W_PutScan3(w->window, gc, x, y, shownWidth, line.data(), true);
    }
    x += static_cast<int>((p->Width() + kGap) * scale);
  }
  WtDraw_ReleaseGC(gc);
  // A redraw asked for is an expose to come: only one of the whole area
  // after the last line shows the picture whole.
  if (AllRead() && event.expose.width >= w->width && event.expose.height >= w->height) Ready();
}

// Reads a step of every picture still being read, and shows what came.
void ReadStep(std::uintptr_t) {
  bool more = false;
  for (std::size_t i = 0; i < viewer.pictures.size(); ++i) {
    ImgView_Picture& p = *viewer.pictures[i];
    if (p.RowsDone() == p.Height() || p.Failed()) continue;
    if (p.Step(kLinesAStep)) more = true;
    if (p.Failed()) TellCannotRead(viewer.names[i]);  // what was read stays
  }
  // What came is shown a few times a second, and when all is there.
  const auto now = std::chrono::steady_clock::now();
  if (!more || now - viewer.shown > std::chrono::milliseconds(kShowEveryMs)) {
    viewer.shown = now;
    WtDraw_RedrawWidget(viewer.area);
  }
  if (more) I_QueueIdleTask(ReadStep, 0);
}

void CommandCB(I_Context, std::int32_t, std::int32_t, std::uintptr_t) { WtEvents_leaveMainLoop = true; }

std::string Caption(const std::string& name, const ImgView_Picture& p) {
  TextStr text;
  Messages_GetMsg(section, kCaption, text);
  SPrintf_String(text, name.substr(name.rfind('/') + 1));
  SPrintf_Card(text, p.ImageWidth());
  SPrintf_Card(text, p.ImageHeight());
  // Its colours: grey, RGB, CMYK, or so many inks.
  TextStr colours;
  const std::uint32_t channels = p.Channels();
  Messages_GetMsg(section, channels == 1 ? 11 : channels == 3 ? 12 : channels == 4 ? 13 : 14, colours);  // messages: imgview 11-14
  SPrintf_Card(colours, channels);
  SPrintf_String(text, colours);
  return StrIn(text).Str();
}

bool Show(const std::vector<std::string>& names, bool quick) {
  Wt_Initialize();
  if (!Messages_Quietly([] { return WtBase_AssertDisplayOpen(); })) {
    // Said here: as an error of the toolkit it would end the program as an internal one.
    TextStr text;
    Messages_GetMsg("WtErrors", 1, text);  // messages: WtErrors 1
    std::fprintf(stderr, "imgview: %s\n", text);
    return false;
  }
  I_Init();
  if (!I_UseContextCat("IMGVIEWdlg")) return false;
  // Each picture gets its share of the screen.
  const int count = static_cast<int>(names.size());
  const int width = (W_DisplayWidth(W_DefaultScreen()) - kFrameRoom - kGap * (count - 1)) / count;
  const int height = W_DisplayHeight(W_DefaultScreen()) - kFrameRoom;
  std::string caption, title;
  for (const std::string& name : names) {
    auto picture = std::make_unique<ImgView_Picture>();
    if (!picture->Open(name, width, height, quick)) {
      TellCannotRead(name);
      return false;
    }
    caption += (caption.empty() ? "" : "     ") + Caption(name, *picture);
    title += (title.empty() ? "" : " + ") + name.substr(name.rfind('/') + 1);
    viewer.pictures.push_back(std::move(picture));
    viewer.names.push_back(name);
  }
  viewer.context = I_Create(kDialog, false);
  if (viewer.context == nullptr) return false;
  viewer.area = I_AccessWidget(viewer.context, kArea);
  int areaWidth, areaHeight;
  Extent(areaWidth, areaHeight);
  const Dim hDim{areaWidth, Dim_Unbounded}, vDim{areaHeight, Dim_Unbounded};
  I_SetReprAttr(viewer.context, kArea, CWCore_hDimAT, &hDim, sizeof hDim);
  I_SetReprAttr(viewer.context, kArea, CWCore_vDimAT, &vDim, sizeof vDim);
  char own[128] = "";
  I_GetReprAttr(viewer.context, -1, SIdPool_EnterId("title"), own, sizeof own);
  title = (title + " - " + own).substr(0, sizeof own - 1);
  I_SetReprAttr(viewer.context, -1, SIdPool_EnterId("title"), title.c_str(), static_cast<std::uint32_t>(title.size() + 1));
  I_PutSTRING(viewer.context, kCaptionValue, caption);
  const Dim captionDim{Imisc_TextWidth(caption) + 8, Dim_Unbounded};  // the caption whole, however narrow the picture
  I_SetReprAttr(viewer.context, kCaptionValue, CWCore_hDimAT, &captionDim, sizeof captionDim);
  CWDraw_SetExposeHook(viewer.area, Expose, 0);
  I_SetINTEGERcallback(viewer.context, kCommand, CommandCB, 0);
  I_Activate(viewer.context);
  I_QueueIdleTask(ReadStep, 0);
  I_MainLoop();
  CWDraw_SetExposeHook(viewer.area, nullptr, 0);
  I_Destroy(viewer.context);
  viewer.pictures.clear();
  return true;
}

// The command line, read whole before anything starts: the images and -q.
bool GetOptions(std::vector<std::string>& names, bool& quick) {
  const Options_Option options[] = {
      {"-q", false, Options_Set(quick)},
      {"-r", true, Options_Store(viewer.readyFile)},
  };
  return Options_Read(options, Options_Append(names)) && !names.empty() && names.size() <= 2;
}

}  // namespace

int main(int argc, char** argv) {
  Argument_Init(argc, argv);
  std::vector<std::string> names;
  bool quick = false;
  if (!GetOptions(names, quick)) Options_Refuse("IMGVIEWmsg", section, kUsage, kUsage + 2);  // messages: imgview 1-3
  Processe_Init();
  Messages_Init();
  Messages_UseMsgCat("IMGVIEWmsg");
  Processe_SetExitStatus(1);
  SIqif_Init();
  SItiff_Init();
  if (Show(names, quick) && !viewer.failed) Processe_SetExitStatus(0);
  Processe_Exit();
  return Processe_GetExitStatus();
}
