// The tip window is a shell of its own (override-redirect, a small label)
// made on first use. States: none -> launched (waiting for the timer) ->
// visible -> none; a change of tip widget starts again from none.
#include "toolkit/WtToolTip.h"

#include <cstdlib>

#include "base/DirAcces.h"
#include "toolkit/CObject.h"
#include "toolkit/CWLabel.h"
#include "toolkit/CWShell.h"
#include "toolkit/Wt.h"
#include "toolkit/WtWnds.h"

int WtToolTip_level = -1;
bool WtToolTip_showToolTips = true;

namespace {

constexpr int kDelayMs = 750;
constexpr int kOffset = 14;   // from the pointer
constexpr int kSlack = 3;     // moves smaller than this keep a launched tip

Widget tipWidget = nullptr;   // the widget whose tip is on its way or shown
Widget maskWidget = nullptr;  // the widget whose mask asks for motion
std::uint32_t savedMask = 0;
Widget tipShell = nullptr, tipLabel = nullptr;
int timer = 0;
bool launched = false, visible = false;
int pointerX = 0, pointerY = 0;  // root coordinates
int startX = 0, startY = 0;
NameStr tipText;
W_Point tipLowerLeft, tipUpperRight;

int Level() { return WtToolTip_Level(); }

void TellShell(Widget w, StrIn text) {
  auto shell = static_cast<CWShell>(CWShell_GetShellWidget(w));
  if (shell != nullptr && shell->toolTipCallback != nullptr)
    shell->toolTipCallback(shell, text, tipLowerLeft, tipUpperRight, shell->toolTipData);
}

WtToolTip_WindowMaker windowMaker = nullptr;

void MakeTipWindow() {
  if (tipShell != nullptr) return;
  if (windowMaker != nullptr && windowMaker(tipShell, tipLabel)) {
    static_cast<CWShell>(tipShell)->isToolTip = true;
    return;
  }
  tipShell = tipLabel = nullptr;
  SAttribs attrs = nullptr;
  SAttribs_AddBool(attrs, "overrideRedirect", true);
  SAttribs_AddBool(attrs, "saveUnder", true);
  SAttribs_AddBool(attrs, "ignoreConfig", true);
  SAttribs_AddInt(attrs, "borderWidth", 1);
  const W_Color paper{255, 255, 225};
  SAttribs_AddByName(attrs, "background", &paper, sizeof paper);
  tipShell = Wt_CreateWidget(nullptr, CWShell_class, attrs);
  static_cast<CWShell>(tipShell)->isToolTip = true;
  SAttribs_Destroy(attrs);
  SAttribs_AddInt(attrs, "fontSize", 1);
  SAttribs_AddBool(attrs, "multiLine", true);
  tipLabel = Wt_CreateWidget(tipShell, CWLabel_class, attrs);
  SAttribs_Destroy(attrs);
}

void PopUp(std::uintptr_t) {
  timer = 0;
  if (tipWidget == nullptr || !WtToolTip_showToolTips || Level() < 1) return;
  MakeTipWindow();
  CWLabel_SetText(tipLabel, tipText);
  Geometry g;
  CWCore_QueryGeometry(tipShell, g);
  const int screen = W_DefaultScreen();
  int x = pointerX + kOffset;
  if (x + g.hDim.min > W_DisplayWidth(screen)) x = pointerX - (g.hDim.min + kOffset);
  int y = pointerY - g.vDim.min - kOffset;
  if (y < 0) y = pointerY + kOffset;
  WtWnds_ConfigureWidget(tipShell, x, y, g.hDim.min, g.vDim.min);
  CWShell_Place(tipShell, x, y);
  CWShell_Popup(tipShell, 0);
  visible = true;
}

void AskForMotion(Widget w, bool on) {
  if (!on) {
    if (maskWidget != nullptr) WtEvents_SetAdditionalEventMask(maskWidget, savedMask);
    maskWidget = nullptr;
    return;
  }
  Widget owner;
  if (WtWnds_SearchWindow(w, owner) == 0 || owner == maskWidget) return;
  AskForMotion(nullptr, false);
  maskWidget = owner;
  savedMask = WtEvents_GetAdditionalEventMask(owner);
  WtEvents_SetAdditionalEventMask(owner, savedMask | W_PointerMotionMask | W_PointerMotionHintMask);
}

bool Inside(Widget w, int x, int y) {
  return w->gadget ? (x >= w->x && x < w->x + w->width && y >= w->y && y < w->y + w->height)
                   : (x >= 0 && x < w->width && y >= 0 && y < w->height);
}

}  // namespace

void WtToolTip_Launch(bool on) {
  WtEvents_CancelTimer(timer);
  if (!on) {
    launched = false;
    if (tipWidget == nullptr || tipWidget->simpleToolTip) AskForMotion(nullptr, false);
    return;
  }
  launched = true;
  startX = pointerX;
  startY = pointerY;
  timer = WtEvents_ScheduleTimer(kDelayMs, PopUp, 0);
  if (tipWidget != nullptr) AskForMotion(tipWidget, true);
}

void WtToolTip_PopDown() {
  WtToolTip_Launch(false);
  if (visible && tipShell != nullptr) CWShell_Popdown(tipShell);
  visible = false;
}

bool WtToolTip_UpdateWidget(Widget widget, int x, int y) {
  if (widget == tipWidget && widget->simpleToolTip && Inside(widget, x, y)) return false;
  Widget found = nullptr;
  for (Widget w = widget; w != nullptr; w = w->parent) {
    if (Inside(w, x, y)) {
      if (w == tipWidget && !CWCore_DidToolTipChange(w, x, y)) return false;
      if (CWCore_GetToolTipText(w, Level(), x, y, tipText, tipLowerLeft, tipUpperRight)) {
        found = w;
        break;
      }
    }
    if (!w->gadget) {
      x += w->x;
      y += w->y;
    }
  }
  if (found == nullptr && tipWidget == nullptr) return false;
  tipWidget = found;
  return true;
}

void WtToolTip_HandleEvent(Widget widget, W_Event& event) {
  if (Level() < 1) return;
  pointerX = event.input.xRoot;
  pointerY = event.input.yRoot;
  const Widget before = tipWidget;
  const bool inWidget = event.kind != W_LeaveNotify;
  if (inWidget ? WtToolTip_UpdateWidget(widget, event.input.x, event.input.y) : before != nullptr) {
    if (!inWidget) tipWidget = nullptr;
    WtToolTip_PopDown();
    if (before != nullptr && before != tipWidget) TellShell(before, "");
    if (tipWidget != nullptr) {
      WtToolTip_Launch(true);
      TellShell(tipWidget, tipText);
    }
    return;
  }
  if (tipWidget == nullptr) return;
  if (event.kind == W_ButtonPress || event.kind == W_ButtonRelease) {
    WtToolTip_PopDown();
  } else if (event.kind == W_MotionNotify &&
             (std::abs(pointerX - startX) >= kSlack || std::abs(pointerY - startY) >= kSlack)) {
    if (visible) WtToolTip_PopDown();
    else if (launched) WtToolTip_Launch(true);
  }
}

void WtToolTip_SetWindowMaker(WtToolTip_WindowMaker maker) { windowMaker = maker; }

int WtToolTip_Level() {
  if (WtToolTip_level < 0) WtToolTip_level = DirAcces_CheckFlag("NOTOOLTIPS") ? 0 : 1;
  return WtToolTip_level;
}

void WtToolTip_SetLevel(int level, bool show) {
  WtToolTip_level = level;
  WtToolTip_showToolTips = show;
  if (!show || level < 1) WtToolTip_PopDown();
  if (level < 1 && tipWidget != nullptr) TellShell(tipWidget, "");
}

void WtToolTip_WidgetDestroyed(Widget widget) {
  if (widget == maskWidget) maskWidget = nullptr;
  if (widget == tipShell || widget == tipLabel) {
    tipShell = tipLabel = nullptr;
    visible = false;
  }
  if (widget != tipWidget) return;
  WtToolTip_PopDown();
  tipWidget = nullptr;
}
