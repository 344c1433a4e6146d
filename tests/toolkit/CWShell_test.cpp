// Where a shell opens and how it follows the window manager, on made-up
// windows: stored places are kept on the screen, stored sizes never go below
// the minimum, and a new size from the window manager lays the dialog out.
#include "toolkit/CWShell.h"

#include <gtest/gtest.h>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/FakeW.h"
#include "toolkit/CWCoreAc.h"
#include "toolkit/Wt.h"

namespace {

// The stored place the shell is asked for, and what it stores.
int storedX, storedY, storedDX, storedDY;
int savedWidth = 0, savedHeight = 0;

bool GetConfig(StrIn, int& x, int& y, int& dx, int& dy) {
  x = storedX, y = storedY, dx = storedDX, dy = storedDY;
  return true;
}
void SetConfig(StrIn, int, int, int width, int height, int, int) {
  savedWidth = width;
  savedHeight = height;
}

class ShellPlaceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    FakeW::Install();
    Wt_Initialize();
    shell_ = Wt_CreateWidget(nullptr, CWShell_class, nullptr);
    SAttribs attrs = nullptr;
    const Dim h{100, 0}, v{50, 400};
    SAttribs_AddByName(attrs, "hDim", &h, sizeof h);
    SAttribs_AddByName(attrs, "vDim", &v, sizeof v);
    content_ = Wt_CreateWidget(shell_, CWCore_class, attrs);
    SAttribs_Destroy(attrs);
    CWShell_SetConfigProcs(shell_, "test", GetConfig, SetConfig);
  }
  void TearDown() override {
    Wt_DestroyWidget(shell_);
    FakeW::Remove();
  }
  void Open(int x, int y, int dx, int dy) {
    storedX = x, storedY = y, storedDX = dx, storedDY = dy;
    CWShell_Popup(shell_, 0);
  }

  Widget shell_ = nullptr, content_ = nullptr;
};

TEST_F(ShellPlaceTest, AStoredPlaceOffTheScreenIsPulledBack) {
  Open(-500, 5000, 0, 0);  // the fake display is 1000 by 1000
  EXPECT_EQ(shell_->x, 30 - 100);  // 30 pixels stay visible
  EXPECT_EQ(shell_->y, 1000 - 10);
  EXPECT_EQ(shell_->width, 100);
  EXPECT_EQ(shell_->height, 50);
}

TEST_F(ShellPlaceTest, StoredSizesGrowTheWindowButNeverShrinkItBelowItsMinimum) {
  Open(200, 300, -60, 20);  // an absolute width below the minimum; 20 higher
  EXPECT_EQ(shell_->width, 100);
  EXPECT_EQ(shell_->height, 70);
  EXPECT_EQ(shell_->y, 280);  // the top stays where it was stored
  int x, y, width, height;
  CWCoreAc_Config(content_, x, y, width, height);
  EXPECT_EQ(height, 70);  // the content fills the room
}

TEST_F(ShellPlaceTest, TheWindowManagersSizeLaysTheDialogOut) {
  Open(200, 300, -150, 0);
  EXPECT_EQ(shell_->width, 150);
  W_Event e;
  e.kind = W_ConfigureNotify;
  e.window = static_cast<CWShell>(shell_)->outerWindow;
  e.configure.width = 180;
  e.configure.height = 90;
  WtEvents_DispatchEvent(e);
  EXPECT_EQ(savedWidth, 180);
  EXPECT_EQ(savedHeight, 90);
  EXPECT_EQ(shell_->width, 180);
  EXPECT_EQ(content_->width, 100);  // no wider than it stretches
  EXPECT_EQ(content_->height, 90);
  // A widget that wants more room: the window grows by the same amount,
  // keeping what the user added.
  SAttribs attrs = nullptr;
  const Dim v{30, 0};
  SAttribs_AddByName(attrs, "vDim", &v, sizeof v);
  Wt_CreateWidget(shell_, CWCore_class, attrs);
  SAttribs_Destroy(attrs);
  WtEvents_ExecuteDeferredActions();
  EXPECT_TRUE(static_cast<CWShell>(shell_)->resizeExpected);
}

const bool site = UseBuildTreeSite(Messages_Init);

}  // namespace
