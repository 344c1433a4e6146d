// I: the dialog layer, the only way application code reaches widgets.
//
// A dialog is described in a dialog catalog and made by name into a context
// (I_Create). The program speaks to it only through numbered values, AObjs,
// each of one kind: BOOLEAN, INTEGER, CARDINAL, REAL, STRING or a declared
// Generic type (a block of bytes). It puts values (I_PutINTEGER), reads them
// (I_GetINTEGER) and is called back when the user changes one
// (I_SetINTEGERcallback). A program's own put never calls its own
// callback, and a put of the value there is does nothing at all. Numbers
// typed beyond an AObj's range are stored clamped; with "allowNilValue"
// the nil marks (INTEGER -2147483648, CARDINAL all ones, REAL -5e19) pass.
//
// Context life: created -> active (shown; I_Activate) <-> inactive
// (I_Deactivate) -> destroyed (I_Destroy). While a modal loop (I_Dialog)
// runs on a context its destruction waits for the loop's end.
//
// One loop drives the program (I_MainLoop): events first, then scheduled
// tasks that are due, then one idle task per round. Long work keeps the
// windows alive by calling I_Yield.
//
// Failures are messages of "I" with the dialog and number beneath, kept in
// I_ilibError: 1 no such dialog, 2 no such AObj or element, 3 wrong kind
// for this call, 4 nil context or no display, 6 attribute refused. A failed
// put leaves the value alone; a failed get answers 0, FALSE or "".
#pragma once

#include <cstdint>

#include "base/SDateAri.h"
#include "base/Strings.h"
#include "toolkit/SAttribs.h"
#include "toolkit/W.h"
#include "toolkit/WtTypes.h"

struct I_ContextRec;
using I_Context = I_ContextRec*;

extern std::uint8_t I_ilibError;

// Called when the user changed a value: (context, number, value, data).
using I_BOOLEANproc = void (*)(I_Context context, std::int32_t number, bool value, std::uintptr_t data);
using I_INTEGERproc = void (*)(I_Context context, std::int32_t number, std::int32_t value, std::uintptr_t data);
using I_CARDINALproc = void (*)(I_Context context, std::int32_t number, std::uint32_t value, std::uintptr_t data);
using I_REALproc = void (*)(I_Context context, std::int32_t number, double value, std::uintptr_t data);
// The text has at most 511 bytes.
using I_STRINGproc = void (*)(I_Context context, std::int32_t number, StrIn value, std::uintptr_t data);
// The block of the type's size.
using I_Genericproc = void (*)(I_Context context, std::int32_t number, void* block, std::uintptr_t data);
// Any of these, as it is stored.
using I_AnyProc = void (*)();
// The window manager closed the context's window; `leaving`: the main loop ends.
using I_CloseProc = void (*)(I_Context context, bool leaving, std::uintptr_t data);
// A tool tip of a widget of the context's window: its text (empty: none).
using I_ToolTipProc = void (*)(I_Context context, StrIn text, std::uintptr_t data);

// Nested classes: the creator makes the composite (I_Create inside it makes
// the context in the outer dialog's tree) and answers it; the put
// procedures show a value in it; the attribute procedure takes attributes
// set on it (false: refused).
using I_CreateProc = I_Context (*)(std::uintptr_t data);
using I_PutBOOLEANproc = void (*)(I_Context composite, bool value);
using I_PutINTEGERproc = void (*)(I_Context composite, std::int32_t value);
using I_PutCARDINALproc = void (*)(I_Context composite, std::uint32_t value);
using I_PutREALproc = void (*)(I_Context composite, double value);
using I_PutSTRINGproc = void (*)(I_Context composite, StrIn value);
using I_PutGenericproc = void (*)(I_Context composite, const void* block);
using I_AttributeProc = bool (*)(I_Context composite, std::uint32_t id, const void* bytes, std::uint32_t size);

// Scheduled and idle work, and refreshes (which may be cancelled).
using I_TaskProc = void (*)(std::uintptr_t data);
using I_RefreshProc = void (*)(int refresh, std::uintptr_t data);
// Told of every key press and button press or release before it is dispatched.
using I_ButtonProc = void (*)(const W_Event& event);

inline constexpr std::int32_t I_nilINTEGER = -2147483647 - 1;
inline constexpr std::uint32_t I_nilCARDINAL = 0xFFFFFFFFu;
inline constexpr double I_nilREAL = -5e19;

// Opens the dialog catalog "marldlg"; runs once.
void I_Init();

// --- Contexts --------------------------------------------------------------------------

// Opens the dialog catalog `name` once; dialogs of the catalog opened last
// are found first. False when it can't be read (the error reported).
bool I_UseContextCat(StrIn name);
// A new context of the dialog `name`, shown at once if `activate` (only a
// top-level one). Inside a nested class's creator it becomes a composite
// of the outer dialog. Nil with error 1 for an unknown dialog, 4 without a
// display.
I_Context I_Create(StrIn name, bool activate);
// The same as a child of `parent`: it goes with its parent, and its window
// stays over the parent's.
I_Context I_CreateChild(I_Context parent, StrIn name, bool activate);
// Destroys the context (after its modal loop, if one runs) and sets the
// variable to nil; nil is accepted.
void I_Destroy(I_Context& context);
I_Context I_Nil();
bool I_Equal(I_Context a, I_Context b);
void I_GetContextName(I_Context context, StrOut name);
// Shows the context's window (the first shown is the main context), or
// raises it when shown.
void I_Activate(I_Context context);
// Takes the window and those of the child contexts down.
void I_Deactivate(I_Context context);
bool I_Active(I_Context context);
// Runs a modal loop while the context is active, not destroyed and the
// main loop not left.
void I_Dialog(I_Context context);
void I_SetAsMainApplicationContext(I_Context context);
void I_SetMaximized(I_Context context, bool state);
void I_SetCloseCallback(I_Context context, I_CloseProc proc, std::uintptr_t data);

// --- Values ----------------------------------------------------------------------------

void I_PutBOOLEAN(I_Context context, std::int32_t number, bool value);
bool I_GetBOOLEAN(I_Context context, std::int32_t number);
void I_SetBOOLEANcallback(I_Context context, std::int32_t number, I_BOOLEANproc proc, std::uintptr_t data);
void I_PutINTEGER(I_Context context, std::int32_t number, std::int32_t value);
std::int32_t I_GetINTEGER(I_Context context, std::int32_t number);
void I_SetINTEGERcallback(I_Context context, std::int32_t number, I_INTEGERproc proc, std::uintptr_t data);
void I_PutCARDINAL(I_Context context, std::int32_t number, std::uint32_t value);
std::uint32_t I_GetCARDINAL(I_Context context, std::int32_t number);
void I_SetCARDINALcallback(I_Context context, std::int32_t number, I_CARDINALproc proc, std::uintptr_t data);
void I_PutREAL(I_Context context, std::int32_t number, double value);
double I_GetREAL(I_Context context, std::int32_t number);
void I_SetREALcallback(I_Context context, std::int32_t number, I_REALproc proc, std::uintptr_t data);
// Texts are cut at 511 bytes.
void I_PutSTRING(I_Context context, std::int32_t number, StrIn value);
void I_GetSTRING(I_Context context, std::int32_t number, StrOut value);
void I_SetSTRINGcallback(I_Context context, std::int32_t number, I_STRINGproc proc, std::uintptr_t data);
// A Generic value is a block of its type's size; every put is shown, since
// what the block points to may have changed.
void I_PutGeneric(I_Context context, std::int32_t number, const void* block);
void I_GetGeneric(I_Context context, std::int32_t number, void* block);
void I_SetGenericcallback(I_Context context, std::int32_t number, I_Genericproc proc, std::uintptr_t data);
// The range a number is clamped to; the value is clamped at once.
void I_SetINTEGERrange(I_Context context, std::int32_t number, std::int32_t low, std::int32_t high);
void I_SetCARDINALrange(I_Context context, std::int32_t number, std::uint32_t low, std::uint32_t high);
void I_SetREALrange(I_Context context, std::int32_t number, double low, double high);

// --- Sensitivity -----------------------------------------------------------------------

// All widgets of an AObj take input or not; number 0 means every AObj.
void I_SetEnabled(I_Context context, std::int32_t number, bool state);
void I_Enable(I_Context context, std::int32_t number);
void I_Disable(I_Context context, std::int32_t number);
// Each widget of the AObj whose own value (a button's number) is v takes
// input when bit v of `mask` is set; others when any bit is.
void I_SetEnabledState(I_Context context, std::int32_t number, std::uint32_t mask);
// The widget of element `element` takes input or not; with a mask, element
// `first` + i by bit i.
void I_SetSensitive(I_Context context, std::int32_t element, bool state);
void I_SetSensitiveMask(I_Context context, std::int32_t first, std::uint32_t mask);

// --- Widgets ---------------------------------------------------------------------------

// The widget of element `element`; -1 is the root. Nil with error 2.
Widget I_AccessWidget(I_Context context, std::int32_t element);
// Sets or reads an attribute of an element's widget (a composite's through
// its attribute procedure); false with error 6 when it is refused.
bool I_SetReprAttr(I_Context context, std::int32_t element, std::uint32_t id, const void* bytes, std::uint32_t size);
bool I_GetReprAttr(I_Context context, std::int32_t element, std::uint32_t id, void* bytes, std::uint32_t size);
// The same on every widget that shows an AObj; the get answers false when
// they differ.
bool I_SetApplAttr(I_Context context, std::int32_t number, std::uint32_t id, const void* bytes, std::uint32_t size);
bool I_GetApplAttr(I_Context context, std::int32_t number, std::uint32_t id, void* bytes, std::uint32_t size);
std::uintptr_t I_GetPrivateData(I_Context context);
void I_SetPrivateData(I_Context context, std::uintptr_t data);
// The font cursor `shape` on the context's window, and back to the standard.
void I_SetFontCursor(I_Context context, int shape);
void I_UnsetCursor(I_Context context);
void I_SetToolTipCB(I_Context context, I_ToolTipProc proc, std::uintptr_t data);
// Tool tips: 0 none, 1 the program's, 2 help texts too.
void I_SetToolTipLevel(int level);
int I_GetToolTipLevel();
// Inside a callback: the value came from the second click of a double click.
bool I_WasDoubleClick();
void I_SetButtonCallback(I_ButtonProc proc);
// Blocks the user's input to all windows (true) and lets it in again
// (false); calls nest. While blocked, keys, buttons and pointer moves go
// nowhere (a press rings the bell), the watch is shown, the window
// manager's close is refused; windows keep redrawing. Input given meanwhile
// is dropped when the block ends. A modal dialog (I_Dialog) opened while
// blocked takes input for as long as it runs.
void I_BlockInput(bool block);
bool I_InputBlocked();

// --- Nested classes --------------------------------------------------------------------

void I_AnnounceWidget(StrIn keyword, I_CreateProc create, std::uintptr_t data);
void I_AnnounceBOOLEAN(StrIn keyword, I_PutBOOLEANproc proc);
void I_AnnounceINTEGER(StrIn keyword, I_PutINTEGERproc proc);
void I_AnnounceCARDINAL(StrIn keyword, I_PutCARDINALproc proc);
void I_AnnounceREAL(StrIn keyword, I_PutREALproc proc);
void I_AnnounceSTRING(StrIn keyword, I_PutSTRINGproc proc);
// Declares the type `typeName` of `size` bytes too.
void I_AnnounceGeneric(StrIn keyword, I_PutGenericproc proc, StrIn typeName, std::uint32_t size);
void I_AnnounceAttributeHandler(StrIn keyword, I_AttributeProc proc);
// What a composite calls when its user changed the value it shows.
void I_BOOLEANcallback(I_Context composite, bool value);
void I_INTEGERcallback(I_Context composite, std::int32_t value);
void I_CARDINALcallback(I_Context composite, std::uint32_t value);
void I_REALcallback(I_Context composite, double value);
void I_STRINGcallback(I_Context composite, StrIn value);
void I_Genericcallback(I_Context composite, const void* block);

// --- The loop and its tasks ------------------------------------------------------------

// Runs `proc` after `milliseconds`; the task's number (counting up, from 0
// again at the sign bit). Tasks never nest.
int I_ScheduleTask(int milliseconds, I_TaskProc proc, std::uintptr_t data);
// The number that stands for no task (-1).
int I_NilTask();
// Inside a task: runs the same task with the same number again after
// `milliseconds`; answers its number. Outside a task: I_NilTask().
int I_RescheduleTask(int milliseconds);
void I_CancelScheduledTask(int task);
// Runs `proc` once in a round with no event waiting, after those queued before.
void I_QueueIdleTask(I_TaskProc proc, std::uintptr_t data);
// Queues a refresh, run from an idle task; its number.
int I_QueueRefresh(I_RefreshProc proc, std::uintptr_t data);
// Marks a refresh (or all) as cancelled; a running one learns it from
// I_RefreshBreak.
void I_CancelRefresh(int refresh);
void I_CancelAllRefreshes();
// Inside a refresh's long loop: dispatches waiting events; true when the
// refresh was cancelled meanwhile and should stop.
bool I_RefreshBreak(int refresh);
// From long work: dispatches waiting events, runs due tasks (unless inside
// one) and one idle task.
void I_Yield();
// One round of the loop: an event, a due task or an idle task.
void I_SingleEventLoopIteration();
// Rounds until WtEvents_leaveMainLoop is set (cleared first).
void I_MainLoop();
// Milliseconds until the first task is due (0 when due), -1 without tasks.
std::int64_t I_TimeTillNextTask();
// The scheduler's clock: a monotonic stamp; only differences count.
SDateAri_Stamp I_GetSysTimeStamp();
// Gives the scheduler a clock of its own (tests run timed tasks without
// waiting); nullptr goes back to the system's.
using I_ClockProc = SDateAri_Stamp (*)();
void I_SetClock(I_ClockProc clock);
