#include "toolkit/WtEvents.h"

#include <algorithm>
#include <deque>
#include <vector>

#include "toolkit/CWCore.h"
#include "toolkit/CWDraw.h"
#include "toolkit/CWGroup.h"
#include "toolkit/CWShell.h"
#include "toolkit/Wt.h"
#include "toolkit/WtToolTip.h"
#include "toolkit/WtWnds.h"

bool WtEvents_leaveMainLoop = false;
bool WtEvents_doubleClickFlag = false;

struct WtEvents_Data {
  struct Handler {
    std::uint32_t mask;
    bool allUnmaskable;
    WtEvents_Handler proc;
    std::uintptr_t data;
  };
  std::uint32_t additionalMask;
  std::vector<Handler> handlers;
  Regions_Region exposure;
};

namespace {

struct Deferred {
  WtEvents_Action action;
  std::uintptr_t data;
};

struct Grab {
  Widget widget;
  bool exclusive;
};

// A widget whose handlers are running, and how far they got.
struct Receiver {
  Widget widget;
  std::size_t next;
};

constexpr W_Time kDoubleClickMs = 401;

std::vector<W_Event> pushed;  // the last pushed is taken first
std::deque<Deferred> deferred;
std::vector<Grab> grabs;  // the newest first
std::vector<Widget> toDestroy;
std::vector<Receiver> receivers;
int dispatchDepth = 0;
bool inhibited = false;
WtEvents_InhibitProc inhibitProc = nullptr;
W_Time lastReleaseTime = 0;
bool haveLastRelease = false;
std::uint32_t buttonSwallowMask = 0;
std::uint32_t lastButtonMask = 0;
Widget lastButtonWidget = nullptr;
WtEvents_ScheduleProc scheduleProc = nullptr;
WtEvents_CancelProc cancelProc = nullptr;

bool DefaultInhibitProc(Widget, W_Event& event) {
  if (event.kind == W_KeyPress || event.kind == W_ButtonPress) W_Bell(0);
  return true;
}

bool IsPointerKind(std::uint8_t kind) { return kind >= W_ButtonPress && kind <= W_LeaveNotify; }

// Whether shell `s` is transient for `owner`, following the links upward.
bool TransientFor(Widget s, Widget owner) {
  for (auto* shell = static_cast<CWShell>(s); shell != nullptr;
       shell = static_cast<CWShell>(shell->transientFor))
    if (shell->transientFor == owner) return true;
  return false;
}

// Redirects `event` to the grab's widget; false when it is to be dropped.
bool Redirect(const Grab& grab, W_Event& event) {
  if (event.kind == W_KeyPress || event.kind == W_ButtonPress) {
    if (Widget shell = CWShell_GetShellWidget(grab.widget)) CWCore_RaiseWindow(shell);
    return false;
  }
  int x, y;
  W_Window child;
  if (!W_TranslateCoordinates(event.window, grab.widget->window, event.input.x, event.input.y, x, y, child))
    return false;
  event.window = grab.widget->window;
  event.input.x = x;
  event.input.y = y;
  event.input.subwindow = 0;
  return true;
}

// Who gets an input event that arrived at `widget`; nil: nobody.
Widget FindReceiver(Widget widget, W_Event& event) {
  Widget start = widget;
  if (event.kind == W_KeyPress)
    if (auto shell = static_cast<CWShell>(CWShell_GetShellWidget(widget)); shell != nullptr && shell->focusWidget)
      start = shell->focusWidget;
  const Widget startShell = CWShell_GetShellWidget(start);
  for (std::size_t i = 0; i < grabs.size(); ++i) {
    const Grab& grab = grabs[i];
    if (grab.widget == start || CWGroup_IsChildOf(start, grab.widget)) return start;
    if (startShell != nullptr && TransientFor(startShell, CWShell_GetShellWidget(grab.widget))) return start;
    if (grab.exclusive || i + 1 == grabs.size()) return Redirect(grab, event) ? grab.widget : nullptr;
  }
  return start;
}

// Collects the exposure of a burst; true when the event with count 0 has
// come and now carries the union.
bool CompressExposure(Widget widget, W_Event& event) {
  Regions_Region& region = widget->eventData->exposure;
  Regions_UnionRectWithRegion({event.expose.x, event.expose.y, event.expose.width, event.expose.height}, region);
  if (event.expose.count != 0) return false;
  const Regions_Rect box = Regions_Box(region);
  event.expose.x = box.x;
  event.expose.y = box.y;
  event.expose.width = box.width;
  event.expose.height = box.height;
  return true;
}

void RunHandlers(Widget widget, W_Event& event, bool& handled) {
  const std::uint32_t mask = WtEvents_EventTypeToEventMask(event.kind);
  receivers.push_back({widget, 0});
  const std::size_t frame = receivers.size() - 1;
  while (receivers[frame].next < widget->eventData->handlers.size()) {
    const WtEvents_Data::Handler h = widget->eventData->handlers[receivers[frame].next++];
    if ((h.mask & mask) != 0 || (mask == 0 && h.allUnmaskable)) handled = h.proc(widget, event, h.data) || handled;
  }
  receivers.pop_back();
}

void HandleEvent(Widget widget, W_Event& event) {
  if (widget == nullptr || widget->eventData == nullptr) return;
  if (event.kind == W_GraphicsExpose || event.kind == W_NoExpose || event.kind == W_Expose) {
    const bool ownClip = widget->cls == CWDraw_class;
    const Regions_Region* region = nullptr;
    Regions_Region single;
    if (widget->compressExposure && event.kind == W_Expose) {
      region = &widget->eventData->exposure;
    } else {
      single.rects.push_back({event.expose.x, event.expose.y, event.expose.width, event.expose.height});
      region = &single;
    }
    if (!ownClip)
      W_SetImplicitClipping(event.window, event.expose.x, event.expose.y, event.expose.width, event.expose.height);
    CWCore_Expose(widget, region, event);
    if (!ownClip) W_UnsetImplicitClipping();
    if (widget->compressExposure && event.kind == W_Expose) widget->eventData->exposure.rects.clear();
    event.handled = true;
    return;
  }
  if (W_IsInputKind(event.kind) && event.kind != W_KeyPress && event.kind != W_MotionNotify &&
      event.kind != W_EnterNotify && event.kind != W_LeaveNotify) {
    const std::uint32_t bit = 1u << event.input.button;
    if (event.kind == W_ButtonRelease && (buttonSwallowMask & bit) != 0) {
      buttonSwallowMask &= ~bit;
      lastButtonMask &= ~bit;
      return;
    }
    if (event.kind == W_ButtonPress) {
      // A release that never came (its window went first) swallows no
      // later one.
      buttonSwallowMask &= ~bit;
      lastButtonMask |= bit;
      lastButtonWidget = widget;
    } else {
      lastButtonMask &= event.input.state & W_ButtonsMask;
    }
  }
  if (W_IsInputKind(event.kind) && !widget->sensitive) return;
  if (event.kind == W_MotionNotify && event.input.isHint) {
    // A hint stands for the pointer's place now, and asks for the next one.
    int rootX, rootY;
    W_QueryPointer(event.window, rootX, rootY, event.input.x, event.input.y, event.input.state);
    event.input.xRoot = rootX;
    event.input.yRoot = rootY;
  }
  event.handled = false;
  bool handled = WTranslt_TranslateEvent(widget, event);
  RunHandlers(widget, event, handled);
  event.handled = handled;
}

void DispatchOne(W_Event& event) {
  // 1. Keys go to the deepest window under the pointer.
  while (event.kind == W_KeyPress && event.input.subwindow != 0) {
    int x, y;
    W_Window child;
    if (!W_TranslateCoordinates(event.window, event.input.subwindow, event.input.x, event.input.y, x, y, child))
      break;
    event.window = event.input.subwindow;
    event.input.subwindow = child;
    event.input.x = x;
    event.input.y = y;
  }
  // 2. The widget.
  auto widget = static_cast<Widget>(W_FindContext(event.window));
  if (widget == nullptr) return;
  Widget receiver = widget;
  // 3. Input: inhibition, visibility, grabs.
  if (W_IsInputKind(event.kind)) {
    if (inhibited && (inhibitProc != nullptr ? inhibitProc : DefaultInhibitProc)(widget, event)) return;
    if (!WtWnds_IsMapped(widget)) return;
    receiver = FindReceiver(widget, event);
    if (receiver == nullptr) return;
  } else if (event.kind == W_Expose && widget->compressExposure) {
    // 4. Bursts.
    if (!CompressExposure(widget, event)) return;
  } else if (event.kind == W_ConfigureNotify) {
    W_Event later;
    while (W_CheckTypedWindowEvent(event.window, W_ConfigureNotify, later)) event = later;
  }
  // 5. Tool tips.
  if (event.kind == W_KeyPress) WtToolTip_PopDown();
  else if (IsPointerKind(event.kind)) WtToolTip_HandleEvent(receiver, event);
  // 6. Keys: the focus widget, the other widgets of the shell, the shell.
  if (event.kind != W_KeyPress) {
    HandleEvent(receiver, event);
    return;
  }
  const Widget shell = CWShell_GetShellWidget(receiver);
  if (receiver != shell) HandleEvent(receiver, event);
  if (shell == nullptr || event.handled) return;
  event.handled = false;
  CWCore_OfferKeyEvent(shell, receiver, event);
  if (!event.handled) HandleEvent(shell, event);
}

}  // namespace

// --- The loop ------------------------------------------------------------------------

void WtEvents_MainLoop() {
  WtEvents_leaveMainLoop = false;
  for (;;) {
    WtEvents_ExecuteDeferredActions();
    if (WtEvents_leaveMainLoop) break;
    W_Event event;
    WtEvents_NextEvent(event);
    WtEvents_DispatchEvent(event);
  }
}

void WtEvents_NextEvent(W_Event& event) {
  if (!pushed.empty()) {
    event = pushed.back();
    pushed.pop_back();
  } else if (!W_NextEvent(event)) {
    event = W_Event{};
    return;
  }
  if (event.kind == W_ButtonRelease) {
    if (haveLastRelease && event.input.time - lastReleaseTime < kDoubleClickMs) WtEvents_doubleClickFlag = true;
    lastReleaseTime = event.input.time;
    haveLastRelease = true;
  }
}

bool WtEvents_PeekEvent(W_Event& event) {
  if (!pushed.empty()) {
    event = pushed.back();
    return true;
  }
  return W_Pending() > 0 && W_PeekEvent(event);
}

bool WtEvents_Pending() { return !pushed.empty() || W_Pending() > 0; }

void WtEvents_PushEvent(const W_Event& event) { pushed.push_back(event); }

void WtEvents_DispatchEvent(W_Event& event) {
  ++dispatchDepth;
  DispatchOne(event);
  --dispatchDepth;
  // 7. Destructions wait for the outermost level.
  if (dispatchDepth == 0) {
    while (!toDestroy.empty()) {
      Widget w = toDestroy.back();
      toDestroy.pop_back();
      Wt_DestroyWidget(w);
    }
    WtEvents_doubleClickFlag = false;
  }
}

bool WtEvents_PassEvent(Widget widget, W_Event& event) {
  for (auto r = receivers.rbegin(); r != receivers.rend(); ++r)
    if (r->widget == widget) {
      bool handled = false;
      const std::uint32_t mask = WtEvents_EventTypeToEventMask(event.kind);
      while (r->next < widget->eventData->handlers.size()) {
        const WtEvents_Data::Handler h = widget->eventData->handlers[r->next++];
        if ((h.mask & mask) != 0 || (mask == 0 && h.allUnmaskable)) handled = h.proc(widget, event, h.data) || handled;
      }
      return handled;
    }
  return false;
}

// --- Deferred actions ------------------------------------------------------------------

void WtEvents_QueueDeferredAction(WtEvents_Action action, std::uintptr_t data) { deferred.push_back({action, data}); }

void WtEvents_ExecuteDeferredActions() {
  while (!deferred.empty()) {
    const Deferred next = deferred.front();
    deferred.pop_front();
    next.action(next.data);
  }
}

void WtEvents_RemoveDeferredAction(WtEvents_Action action, std::uintptr_t data) {
  std::erase_if(deferred, [&](const Deferred& d) { return d.action == action && d.data == data; });
}

bool WtEvents_IsDeferredActionQueued(WtEvents_Action action, std::uintptr_t data) {
  return std::any_of(deferred.begin(), deferred.end(),
                     [&](const Deferred& d) { return d.action == action && d.data == data; });
}

// --- Timers --------------------------------------------------------------------------

void WtEvents_SetTimerProcs(WtEvents_ScheduleProc schedule, WtEvents_CancelProc cancel) {
  scheduleProc = schedule;
  cancelProc = cancel;
}

int WtEvents_ScheduleTimer(int milliseconds, WtEvents_Action action, std::uintptr_t data) {
  return scheduleProc != nullptr ? scheduleProc(milliseconds, action, data) : 0;
}

void WtEvents_CancelTimer(int& timer) {
  if (timer != 0 && cancelProc != nullptr) cancelProc(timer);
  timer = 0;
}

// --- Widgets ---------------------------------------------------------------------------

WtEvents_Data* WtEvents_CreateEventData(std::uint32_t additionalMask) {
  auto* data = new WtEvents_Data;
  data->additionalMask = additionalMask;
  return data;
}

void WtEvents_DestroyEventData(WtEvents_Data*& data) {
  delete data;
  data = nullptr;
}

void WtEvents_AddEventHandler(Widget widget, std::uint32_t mask, bool allUnmaskable, WtEvents_Handler handler,
                              std::uintptr_t data) {
  widget->eventData->handlers.push_back({mask, allUnmaskable, handler, data});
  if (widget->realized) WtEvents_BuildEventMask(widget);
}

void WtEvents_RemoveEventHandler(Widget widget, WtEvents_Handler handler, std::uintptr_t data) {
  auto& handlers = widget->eventData->handlers;
  for (std::size_t i = 0; i < handlers.size(); ++i)
    if (handlers[i].proc == handler && handlers[i].data == data) {
      handlers.erase(handlers.begin() + static_cast<std::ptrdiff_t>(i));
      // Handlers running now keep their place in the list.
      for (Receiver& r : receivers)
        if (r.widget == widget && r.next > i) --r.next;
      break;
    }
  if (widget->realized) WtEvents_BuildEventMask(widget);
}

std::uint32_t WtEvents_GetAdditionalEventMask(Widget widget) { return widget->eventData->additionalMask; }

void WtEvents_SetAdditionalEventMask(Widget widget, std::uint32_t mask) {
  widget->eventData->additionalMask = mask;
  if (widget->realized) WtEvents_BuildEventMask(widget);
}

void WtEvents_BuildEventMask(Widget widget) {
  if (widget->gadget || widget->window == 0) return;
  std::uint32_t mask = widget->eventData->additionalMask | WTranslt_EventMask(widget->translations);
  for (const auto& h : widget->eventData->handlers) mask |= h.mask;
  W_SelectInput(widget->window, mask);
  if (CWShell_IsShellWidget(widget)) W_SelectInput(static_cast<CWShell>(widget)->outerWindow, mask);
}

std::uint32_t WtEvents_EventTypeToEventMask(std::uint8_t kind) {
  switch (kind) {
    case W_KeyPress: return W_KeyPressMask;
    case W_ButtonPress: return W_ButtonPressMask;
    case W_ButtonRelease: return W_ButtonReleaseMask;
    case W_MotionNotify: return W_PointerMotionMask;
    case W_EnterNotify: return W_EnterWindowMask;
    case W_LeaveNotify: return W_LeaveWindowMask;
    case W_Expose: return W_ExposureMask;
    case W_PropertyNotify: return W_PropertyChangeMask;
    case W_CreateNotify: return W_SubstructureNotifyMask;
    case W_ConfigureNotify:
    case W_DestroyNotify:
    case W_MapNotify:
    case W_UnmapNotify:
    case W_ReparentNotify: return W_StructureNotifyMask;
    case W_ConfigureRequest:
    case W_MapRequest: return W_SubstructureRedirectMask;
    default: return 0;
  }
}

Regions_Region& WtEvents_ExposureRegion(Widget widget) { return widget->eventData->exposure; }

// --- Grabs, inhibition, destruction ------------------------------------------------------

void WtEvents_AddGrab(Widget widget, bool exclusive) { grabs.insert(grabs.begin(), Grab{widget, exclusive}); }

void WtEvents_RemoveGrab(Widget widget) {
  std::erase_if(grabs, [&](const Grab& g) { return g.widget == widget; });
}

void WtEvents_InhibitInputEvents(bool inhibit) { inhibited = inhibit; }

void WtEvents_SetInhibitCallback(WtEvents_InhibitProc proc) { inhibitProc = proc; }

void WtEvents_DelayedDestroyWidget(Widget widget) {
  if (dispatchDepth == 0) {
    Wt_DestroyWidget(widget);
    return;
  }
  if (std::find(toDestroy.begin(), toDestroy.end(), widget) == toDestroy.end()) toDestroy.push_back(widget);
}

void WtEvents_WidgetTakenDown(Widget widget) {
  if (lastButtonMask == 0 || lastButtonWidget == nullptr) return;
  if (lastButtonWidget == widget || CWGroup_IsChildOf(lastButtonWidget, widget)) {
    buttonSwallowMask |= lastButtonMask;
    lastButtonWidget = nullptr;
  }
}

void WtEvents_WidgetDestroyed(Widget widget) {
  WtEvents_RemoveGrab(widget);
  if (lastButtonWidget == widget) lastButtonWidget = nullptr;
  std::erase(toDestroy, widget);
}
