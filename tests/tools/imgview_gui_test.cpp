// The image viewer program on a private X server: a pair side by side at
// its own size, an image wider than the screen reduced to fit in both
// forms, and an image it can't read (a box, exit status 1) or no display
// (said on standard error). The pictures are found on the screen by their
// colours.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "image/SIqif.h"
#include "image/SImage.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XUser.h"
#include "tests/toolkit/XvfbServer.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

namespace fs = std::filesystem;

const bool xvfb = UseXvfb();

// An image of 8-bit RGB whose colour at (x, y) `colour` gives as 0xRRGGBB.
std::string WriteRgb(const TempDir& dir, const std::string& name, std::uint32_t width, std::uint32_t height,
                     const std::function<unsigned long(std::uint32_t, std::uint32_t)>& colour) {
  SIqif_Init();
  const std::string path = dir.Path() + "/" + name;
  SImage image = SImage_Create(path, width, height, 3, SImage_kTopBottom);
  SScan scan = SScan_Create(width, 3);
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x)
      for (std::uint32_t c = 0; c < 3; ++c) SScan_Samples(scan, c)[x] = static_cast<std::uint8_t>(colour(x, y) >> (16 - 8 * c));
    SImage_WriteScan(image, scan);
  }
  SScan_Destroy(scan);
  EXPECT_TRUE(SImage_Close(image));
  return path;
}

// imgview started with `args`; its standard error goes to `errors` when given.
class Viewer {
 public:
  explicit Viewer(std::vector<std::string> args, const std::string& errors = "") {
    pid_ = ::fork();
    if (pid_ != 0) return;
    if (!errors.empty()) std::freopen(errors.c_str(), "w", stderr);
    std::vector<char*> argv{const_cast<char*>(FLOATDECK_BINARY_DIR "/bin/imgview")};
    for (std::string& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  ~Viewer() {
    if (pid_ > 0 && status_ < 0) ::kill(pid_, SIGTERM), ::waitpid(pid_, nullptr, 0);
  }
  // Its exit status once it ended within 20 s; -1 when it still runs.
  int ExitStatus() {
    for (int i = 0; i < 2000 && status_ < 0; ++i) {
      int status = 0;
      if (::waitpid(pid_, &status, WNOHANG) == pid_) status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
      else std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return status_;
  }

 private:
  int pid_ = -1;
  int status_ = -1;
};

bool WaitFor(const std::function<bool()>& done) {
  for (int i = 0; i < 2000; ++i) {
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

// Where a colour lies on the screen: the box around all its pixels.
struct Box {
  int left = 1 << 20, top = 1 << 20, right = -1, bottom = -1;
  int Width() const { return right - left + 1; }
  int Height() const { return bottom - top + 1; }
};

Box Find(Display* d, unsigned long colour) {
  const int width = DisplayWidth(d, DefaultScreen(d)), height = DisplayHeight(d, DefaultScreen(d));
  XImage* image = XGetImage(d, DefaultRootWindow(d), 0, 0, width, height, AllPlanes, ZPixmap);
  Box box;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      if ((XGetPixel(image, x, y) & 0xFFFFFF) == colour)
        box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x), std::max(box.bottom, y)};
  XDestroyImage(image);
  return box;
}

TEST(imgview, PairSideBySideAtItsOwnSize) {
  TempDir dir;
  const std::string top = WriteRgb(dir, "redblue.qif", 200, 100, [](std::uint32_t, std::uint32_t y) {
    return y < 50 ? 0xFF0000ul : 0x0000FFul;
  });
  const std::string right = WriteRgb(dir, "green.qif", 100, 60, [](std::uint32_t, std::uint32_t) { return 0x00FF00ul; });
  const std::string ready = dir.Path() + "/ready";
  Viewer viewer({"-r", ready, top, right});
  ASSERT_TRUE(WaitFor([&] { return fs::exists(ready); }));
  XUser user;
  const Box red = Find(user.display(), 0xFF0000), blue = Find(user.display(), 0x0000FF),
            green = Find(user.display(), 0x00FF00);
  EXPECT_EQ(red.Width(), 200);
  EXPECT_EQ(red.Height(), 50);
  EXPECT_EQ(blue.top, red.bottom + 1);
  EXPECT_EQ(blue.left, red.left);
  EXPECT_EQ(blue.Height(), 50);
  // The second to the right, not touching, the lower one in the middle of the height.
  EXPECT_GT(green.left, red.right + 1);
  EXPECT_EQ(green.Width(), 100);
  EXPECT_EQ(green.Height(), 60);
  EXPECT_NEAR(green.top - red.top, 20, 1);
}

TEST(imgview, WiderThanTheScreenFitsInBothForms) {
  TempDir dir;
  // 3000 x 300: its left third red, the rest blue; the screen is narrower.
  const std::string wide = WriteRgb(dir, "wide.qif", 3000, 300, [](std::uint32_t x, std::uint32_t) {
    return x < 1000 ? 0xFF0000ul : 0x0000FFul;
  });
  for (const bool quick : {false, true}) {
    const std::string ready = dir.Path() + (quick ? "/ready.q" : "/ready");
    std::vector<std::string> args{"-r", ready, wide};
    if (quick) args.insert(args.begin(), "-q");
    Viewer viewer(args);
    ASSERT_TRUE(WaitFor([&] { return fs::exists(ready); })) << quick;
    XUser user;
    const int screen = DisplayWidth(user.display(), DefaultScreen(user.display()));
    const Box red = Find(user.display(), 0xFF0000), blue = Find(user.display(), 0x0000FF);
    const int width = red.Width() + blue.Width();
    EXPECT_LT(width, screen) << quick;
    EXPECT_GT(width, screen / 2) << quick;
    // The proportions kept: a third red, ten times as wide as high.
    EXPECT_NEAR(red.Width() * 3, width, 3) << quick;
    EXPECT_NEAR(red.Height() * 10, width, 10) << quick;
    // The normal form averages the column where they meet; the quick one takes a side.
    EXPECT_EQ(blue.left - red.right - 1, quick ? 0 : 1) << quick;
  }
}

TEST(imgview, UnreadableImageOrNoDisplayExitsWithOne) {
  TempDir dir;
  PutFile(dir.Path() + "/bad.tif", "no image at all");
  {
    // A box tells it; Return closes it, and the program ends.
    Viewer viewer({dir.Path() + "/bad.tif"});
    XUser user;
    Display* d = user.display();
    Window box = 0;
    ASSERT_TRUE(WaitFor([&] {
      Window rootWindow, parent, *children = nullptr;
      unsigned count = 0;
      XQueryTree(d, DefaultRootWindow(d), &rootWindow, &parent, &children, &count);
      for (unsigned i = 0; i < count; ++i) {
        XWindowAttributes at;
        if (XGetWindowAttributes(d, children[i], &at) && at.map_state == IsViewable && at.width > 100) box = children[i];
      }
      if (children != nullptr) XFree(children);
      return box != 0;
    }));
    XWindowAttributes at;
    XGetWindowAttributes(d, box, &at);
    XTestFakeMotionEvent(d, -1, at.x + at.width / 2, at.y + at.height / 2, 0);
    XTestFakeKeyEvent(d, XKeysymToKeycode(d, XK_Return), True, 0);
    XTestFakeKeyEvent(d, XKeysymToKeycode(d, XK_Return), False, 0);
    XFlush(d);
    EXPECT_EQ(viewer.ExitStatus(), 1);
  }
  // Without a display: the reason on standard error.
  const std::string errors = dir.Path() + "/errors";
  const std::string display = std::getenv("DISPLAY");
  ::unsetenv("DISPLAY");
  Viewer viewer({dir.Path() + "/bad.tif"}, errors);
  ::setenv("DISPLAY", display.c_str(), 1);
  EXPECT_EQ(viewer.ExitStatus(), 1);
  EXPECT_NE(FileText(errors).find("display"), std::string::npos) << FileText(errors);
}

}  // namespace
