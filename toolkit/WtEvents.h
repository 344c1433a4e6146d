// WtEvents: the event machine. Events are taken from the queue (or from the
// pushed-back list), found a widget through the window table, checked
// against inhibition, grabs and sensitivity, and given to the widget's
// translations and event handlers. Between events, deferred actions run.
//
// Dispatch of one event (WtEvents_DispatchEvent):
//  1. a key event naming a subwindow moves down to the deepest window under
//     the pointer;
//  2. the widget of the window; none: dropped;
//  3. input: inhibition, a widget not fully mapped, or a grab elsewhere
//     drop it (a press outside a grab raises the grab's shell);
//  4. Expose of a widget that compresses exposure waits for the last of its
//     burst and carries the union; of a burst of ConfigureNotify only the
//     last counts;
//  5. a key press pops the tool tip down; pointer events go to the tips;
//  6. keys go to the focus widget, then are offered to the other widgets of
//     the shell, then to the shell; other events to the widget;
//  7. at the outermost level widgets marked for destruction are destroyed.
#pragma once

#include <cstdint>

#include "toolkit/Regions.h"
#include "toolkit/W.h"
#include "toolkit/WtTypes.h"

// Set to leave WtEvents_MainLoop (and the dialog layer's loop).
extern bool WtEvents_leaveMainLoop;
// Set while dispatching a button release less than 401 ms after the one before.
extern bool WtEvents_doubleClickFlag;

// A handler of events by mask; `allUnmaskable` asks for the kinds without a
// mask bit too. Answers whether it handled the event.
using WtEvents_Handler = bool (*)(Widget widget, W_Event& event, std::uintptr_t data);
// A deferred action; runs between events.
using WtEvents_Action = void (*)(std::uintptr_t data);
// Decides on input while input is inhibited: true eats the event.
using WtEvents_InhibitProc = bool (*)(Widget widget, W_Event& event);
// Timers of the layer above: schedule answers a number (0: no timer), cancel
// takes it back. Without them no timer runs (tool tips stay hidden, held
// buttons do not repeat).
using WtEvents_ScheduleProc = int (*)(int milliseconds, WtEvents_Action action, std::uintptr_t data);
using WtEvents_CancelProc = void (*)(int timer);

// The per-widget event data: the additional mask, handlers, the exposure
// collected so far.
struct WtEvents_Data;

// --- The loop ------------------------------------------------------------------------

// Runs deferred actions, then takes and dispatches events until
// WtEvents_leaveMainLoop is set; clears it first.
void WtEvents_MainLoop();
// The next event: the last pushed back first, else the queue's (waits).
void WtEvents_NextEvent(W_Event& event);
// The next event without taking it; false when none is waiting.
bool WtEvents_PeekEvent(W_Event& event);
// Whether an event is waiting (pushed back or queued).
bool WtEvents_Pending();
// Puts an event back in front of the queue.
void WtEvents_PushEvent(const W_Event& event);
void WtEvents_DispatchEvent(W_Event& event);
// Inside a handler: gives the event to the widget's handlers behind the
// current one. Answers whether one of them handled it.
bool WtEvents_PassEvent(Widget widget, W_Event& event);

// --- Deferred actions ------------------------------------------------------------------

void WtEvents_QueueDeferredAction(WtEvents_Action action, std::uintptr_t data);
// Runs the queued actions, those queued meanwhile too.
void WtEvents_ExecuteDeferredActions();
void WtEvents_RemoveDeferredAction(WtEvents_Action action, std::uintptr_t data);
bool WtEvents_IsDeferredActionQueued(WtEvents_Action action, std::uintptr_t data);

// --- Timers --------------------------------------------------------------------------

void WtEvents_SetTimerProcs(WtEvents_ScheduleProc schedule, WtEvents_CancelProc cancel);
int WtEvents_ScheduleTimer(int milliseconds, WtEvents_Action action, std::uintptr_t data);
void WtEvents_CancelTimer(int& timer);

// --- Widgets ---------------------------------------------------------------------------

// The event data of a new widget with its additional mask; freed by
// WtEvents_DestroyEventData (nullptr accepted).
WtEvents_Data* WtEvents_CreateEventData(std::uint32_t additionalMask);
void WtEvents_DestroyEventData(WtEvents_Data*& data);
void WtEvents_AddEventHandler(Widget widget, std::uint32_t mask, bool allUnmaskable,
                              WtEvents_Handler handler, std::uintptr_t data);
void WtEvents_RemoveEventHandler(Widget widget, WtEvents_Handler handler, std::uintptr_t data);
std::uint32_t WtEvents_GetAdditionalEventMask(Widget widget);
// Changes the mask and selects the events anew when the widget has a window.
void WtEvents_SetAdditionalEventMask(Widget widget, std::uint32_t mask);
// Selects on the widget's window what its translations, handlers and
// additional mask need.
void WtEvents_BuildEventMask(Widget widget);
// The mask bit of an event kind (0 for kinds without one, and focus).
std::uint32_t WtEvents_EventTypeToEventMask(std::uint8_t kind);
// The exposure collected for a widget that compresses exposure.
Regions_Region& WtEvents_ExposureRegion(Widget widget);

// --- Grabs, inhibition, destruction ------------------------------------------------------

// Input goes to `widget` (or, unless exclusive, to the shells transient for
// its shell too). The newest grab is tried first.
void WtEvents_AddGrab(Widget widget, bool exclusive);
void WtEvents_RemoveGrab(Widget widget);
// While inhibited the inhibit procedure decides on every input event; the
// default rings the bell on key and button presses and eats all of them.
void WtEvents_InhibitInputEvents(bool inhibit);
void WtEvents_SetInhibitCallback(WtEvents_InhibitProc proc);
// Destroys `widget` when dispatch is back at its outermost level (at once
// when no event is being dispatched).
void WtEvents_DelayedDestroyWidget(Widget widget);
// Tells the machine that `widget` went off the screen: buttons held over it
// are swallowed, and grabs and pointers to it are dropped.
void WtEvents_WidgetTakenDown(Widget widget);
// Forgets every reference to `widget` (it is being destroyed).
void WtEvents_WidgetDestroyed(Widget widget);
