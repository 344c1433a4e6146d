// FEwfGenr: the engine of the front ends whose parameters are declared in an
// AutoDict dictionary. It moves the values between the dictionary, the
// module's dialog and a folder's rc object, and runs the dialog.
//
// A parameter's identifier is the number of its AObj in the dialog; the AObj
// has the kind of the parameter's type (BOOLEAN, CARDINAL, INTEGER, REAL,
// STRING). Parameters without an AObj in the dialog are carried between rc
// and dictionary only. AObj 1 of every dialog is the command: 0 Cancel, 1 OK
// (OK only when the module's check accepts the values; a refusing check
// shows its own error and the dialog stays open with every edit).
//
// A frame lives as long as the process; it is one module's, made on the
// module's first dialog. Frame: created -> attached (a dialog) -> open
// (FEwfGenr_Open runs the dialog modally) -> attached ... A cancelled
// dialog reports false and leaves the rc untouched; one left with OK writes
// every declared parameter and reports whether a value was changed.
//
// Selections (AutoDict_DefineSelection) open a box for a parameter's string:
// the type says which.
//   1 a rename scheme           2 a file of "\.grd$"       3 an ICC profile
//   4 an image format to write  5 image formats to read    6 a directory
//   7 a PDF file (tree)         8 a ".joboptions" file (tree)  9 a ".kfp" file (tree)
//
// Texts: section "FEwfGenr" of FEGENRmsg; the boxes' dialogs in FEGENRdlg.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "base/SwitchBd.h"
#include "rc/AutoDict.h"
#include "rc/SAutoRcF.h"
#include "toolkit/I.h"
#include "workflow/WFmodule.h"

struct FEwfGenr_Rec;
using FEwfGenr = FEwfGenr_Rec*;

// After values were read from an rc, after they were written into one.
using FEwfGenr_ValuesCB = void (*)(SAutoRcF rc, std::uintptr_t client);
// The veto on OK: false keeps the dialog open (the check shows why).
using FEwfGenr_CheckValuesCB = bool (*)(AutoDict dictionary, std::uintptr_t client);
// A parameter's value changed (by the user, a selection or the program).
using FEwfGenr_ParameterCB = void (*)(AutoDict_Parameter parameter, std::uintptr_t client);

// The command AObj of every front end's dialog and its values.
inline constexpr std::int32_t kFEwfGenrCommand = 1;
inline constexpr std::int32_t kFEwfGenrCancel = 0;
inline constexpr std::int32_t kFEwfGenrOK = 1;

// Opens the catalogs FEGENRmsg and FEGENRdlg; once. The dialog catalog
// only with a display.
void FEwfGenr_Init();

// --- The frame ----------------------------------------------------------------------------

// A frame over `dictionary` (not owned) for the module `kind`; no dialog,
// not modified, not confirmed, the title on the root (-1), hooks that do
// nothing (the check accepts), no parameter callbacks, no enum maps.
FEwfGenr FEwfGenr_Create(AutoDict dictionary, WFmodule_Kind kind, std::uintptr_t client);
// Frees a frame (not its dictionary or dialog) and sets it to nil; nil is
// accepted. Modules keep theirs; tests and short-lived frames free them.
void FEwfGenr_Destroy(FEwfGenr& frame);
// Binds the dialog (the module's) and the element that carries the window
// title, and enters the callbacks of every parameter and selection. Only
// the first time: a frame that has a dialog keeps it.
void FEwfGenr_Attach(FEwfGenr frame, I_Context dialog, std::int32_t shellElement);
void FEwfGenr_RegisterGetValuesCB(FEwfGenr frame, FEwfGenr_ValuesCB proc);
void FEwfGenr_RegisterSetValuesCB(FEwfGenr frame, FEwfGenr_ValuesCB proc);
void FEwfGenr_RegisterCheckValuesCB(FEwfGenr frame, FEwfGenr_CheckValuesCB proc);
// One callback per element; a later one replaces the earlier.
void FEwfGenr_RegisterParameterCB(FEwfGenr frame, std::uint32_t element, FEwfGenr_ParameterCB proc);
// The element shows map[i] for the logical value i of its cardinal
// parameter (values from highIndex + 1 on pass unchanged). Copies
// highIndex + 1 entries, replacing an earlier map, and refreshes the view.
void FEwfGenr_RegisterEnumMap(FEwfGenr frame, std::uint32_t element, std::uint32_t highIndex,
                              const std::uint32_t* map);

// Read-only views of the frame's state.
I_Context FEwfGenr_Dialog(FEwfGenr frame);
AutoDict FEwfGenr_Dictionary(FEwfGenr frame);
bool FEwfGenr_Modified(FEwfGenr frame);
bool FEwfGenr_Confirmed(FEwfGenr frame);

// --- The dialog run ----------------------------------------------------------------------

// Runs the dialog on `rc` modally: title, values read, shown, the dialog
// until OK or Cancel. With OK the values go into rc and `modified` tells
// whether one changed; with Cancel `modified` is false and rc untouched.
void FEwfGenr_Open(FEwfGenr frame, SAutoRcF rc, StrIn workflow, bool& modified);
// Ends an active dialog as Cancel does; nothing otherwise.
void FEwfGenr_Cancel(FEwfGenr frame);
// Whether a switchboard message is one under which an open parameter
// dialog must close ("workflow changed", "mode changed").
bool FEwfGenr_ClosesDialog(std::uintptr_t message);
// What a module's SwitchboardCB does: cancels the frame's dialog on such a
// message. A nil frame is accepted.
void FEwfGenr_CancelOnChange(FEwfGenr frame, std::uintptr_t message);

// --- Values --------------------------------------------------------------------------------

// Puts every parameter's value into its element. With `compare`, an element
// whose value differed before counts as a change of its parameter (reals
// from 1e-8 apart, strings within their first 5120 bytes).
void FEwfGenr_UpdateView(FEwfGenr frame, bool compare);
// Every value of `dictionary` into the frame's, then the view compared.
void FEwfGenr_SetAllParameters(FEwfGenr frame, AutoDict dictionary);
// After the program put a value into an element: into its parameter, as a
// change.
void FEwfGenr_AObjectModified(FEwfGenr frame, std::uint32_t element);
// Runs the parameter's callback and marks the frame modified.
void FEwfGenr_ParameterModified(FEwfGenr frame, AutoDict_Parameter parameter);
void FEwfGenr_SetModified(FEwfGenr frame);
// The values from rc (defaults for missing or refused ones); unless
// `quiet`, then every parameter's callback in dictionary order, so that the
// dialog's enabling starts right. Then the get hook.
void FEwfGenr_GetValuesFromRcFile(FEwfGenr frame, SAutoRcF rc, bool quiet);
// Every declared parameter into rc, then the set hook.
void FEwfGenr_SetValuesInRcFile(FEwfGenr frame, SAutoRcF rc);

// --- Enum maps -----------------------------------------------------------------------------

// The element's value for the logical `value`: map[value], or `value` at
// or beyond the map's count or without a map.
std::uint32_t FEwfGenr_Map(FEwfGenr frame, std::uint32_t element, std::uint32_t value);
// The logical value of an element's `value`: the first index whose entry
// is `value`, or `value` itself when none is or there is no map.
std::uint32_t FEwfGenr_Unmap(FEwfGenr frame, std::uint32_t element, std::uint32_t value);

// --- Element callbacks (entered by FEwfGenr_Attach; data is the frame) ----------------------

void FEwfGenr_BoolCB(I_Context context, std::int32_t element, bool value, std::uintptr_t data);
void FEwfGenr_CardCB(I_Context context, std::int32_t element, std::uint32_t value, std::uintptr_t data);
void FEwfGenr_IntCB(I_Context context, std::int32_t element, std::int32_t value, std::uintptr_t data);
void FEwfGenr_RealCB(I_Context context, std::int32_t element, double value, std::uintptr_t data);
void FEwfGenr_StringCB(I_Context context, std::int32_t element, StrIn value, std::uintptr_t data);
// A selector element reported `value`: opens the box of the selection of
// (element, value) with its parameter's string; a confirmed choice becomes
// the parameter's value.
void FEwfGenr_IntCB_Selection(I_Context context, std::int32_t element, std::int32_t value, std::uintptr_t data);
// AObj 1: Cancel, or OK after the check.
void FEwfGenr_CommandCB(I_Context context, std::int32_t element, std::int32_t value, std::uintptr_t data);
