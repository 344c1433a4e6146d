// CWCore: the root widget class "WCore" (keyword "CORE"): its record, its
// operations with their public wrappers, its geometry, realize, expose and
// focus protocols.
//
// Life of a widget: created (attributes set, no window) -> realized (window,
// context entry, events selected; WtWnds_RealizeWidget) -> mapped
// (CWCore_MapWindow) -> unmapped (CWCore_UnmapWindow) -> unrealized
// (CWCore_Unrealize) -> destroyed (Wt_DestroyWidget). Deleting a realized
// widget is an assertion failure. A gadget has no window of its own and
// draws in its nearest ancestor's.
//
// Coordinates: (x, y) is the lower left corner inside the window the widget
// lies in (a gadget: the window it draws in), y upward.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "toolkit/CAttribs.h"
#include "toolkit/Classes.h"
#include "toolkit/Regions.h"
#include "toolkit/W.h"
#include "toolkit/WTranslt.h"
#include "toolkit/WtEvents.h"
#include "toolkit/WtTypes.h"

// Called with (widget, data, the new value) when the user changed the value.
using CWCore_Callback = void (*)(Widget widget, std::uintptr_t data, WidgetValue* value);
// Lets a dialog correct the geometry a widget asks for.
using CWCore_SizeAdjust = void (*)(Widget widget, std::uintptr_t data, Geometry& geometry);

// geometryGiven bits: the creator's values kept against QueryGeometry.
inline constexpr std::uint8_t CWCore_hMinGiven = 1, CWCore_hStretchGiven = 2, CWCore_vMinGiven = 4,
                              CWCore_vStretchGiven = 8;
// The unset marks of "geometry".
inline constexpr std::int32_t CWCore_unsetMin = -1;
inline constexpr std::uint32_t CWCore_unsetStretch = static_cast<std::uint32_t>(-32767);

struct CWCore_Rec : CObject_Rec {
  W_Color background;           // "background"; the copy colour: the parent's
  std::int32_t bgGradient;      // "bgGradient": height of a vertical ramp, 0 none
  CAttribs_String backgroundPix;  // "backgroundPix": file of a background pixmap
  std::uint32_t borderWidth;    // "borderWidth"
  std::int32_t frameWidth;      // "frameWidth"; -1 and -2: as borderWidth
  bool elevated;                // "elevated": the frame looks raised
  Geometry geometry;            // "geometry", "hDim", "vDim"
  std::uint8_t geometryGiven;
  bool geometryValid;
  bool sensitive;               // "sensitive"
  std::uint8_t redrawMode;      // "redrawMode": 0 by exposure, 1 deferred, 2 at once
  std::int32_t helpMsg, helpMsgSelected, helpMsgDisabled;  // tool tip messages, -1 none
  bool highlighted;             // "highlighted": drawn as under the pointer
  std::uint8_t hover;           // "hover": 0 off, 1 self, 2 self and children, 3 the parent's
  std::uint32_t id;             // the element number in its dialog
  Widget parent;
  W_Window window;
  std::int32_t x, y, width, height;
  std::int32_t innerX, innerY, innerWidth, innerHeight;
  WTranslt_Table translations;
  WtEvents_Data* eventData;
  bool gadget, compressExposure, classFlag3, mapWhenRealized;
  bool realized, mapped;
  bool simpleToolTip, selected;
  bool autoGrab;                // "autoGrab"
  bool tabKeepsFocus;           // "tabKeepsFocus"
  bool redrawPending;
  WidgetValue value;            // "widgetType", "VALUE"
  std::uint8_t range[16];       // "range": two values of the value's kind
  CWCore_Callback callback;
  std::uintptr_t callbackData;
  W_Pixmap backgroundPixmap;
  CWCore_SizeAdjust sizeAdjust;
  std::uintptr_t sizeAdjustData;
  W_Pixmap savedPixmap;
  W_Color savedColor;
  std::int32_t savedFrameWidth;
};

struct CWCore_ClassRec : Classes_ClassRec {
  void (*Expose)(Widget w, const Regions_Region* region, W_Event& event) = nullptr;
  void (*Realize)(Widget w) = nullptr;
  void (*Unrealize)(Widget w) = nullptr;
  void (*MapWindow)(Widget w) = nullptr;
  void (*UnmapWindow)(Widget w) = nullptr;
  void (*RaiseWindow)(Widget w) = nullptr;
  void (*AdjustWindowBounds)(Widget w) = nullptr;
  void (*UpdateWindowAttrs)(Widget w) = nullptr;
  void (*QueryGeometry)(Widget w, Geometry& result) = nullptr;
  void (*Configure)(Widget w) = nullptr;
  Widget (*GetInstByID)(Widget w, std::uint32_t id) = nullptr;
  void (*SetValue)(Widget w, const WidgetValue& value) = nullptr;
  void (*GetValue)(Widget w, WidgetValue& value) = nullptr;
  void (*SetCallback)(Widget w, CWCore_Callback callback, std::uintptr_t data) = nullptr;
  bool (*AcceptFocus)(Widget w, bool again) = nullptr;
  void (*ReleaseFocus)(Widget w) = nullptr;
  void (*OfferKeyEvent)(Widget w, Widget source, W_Event& event) = nullptr;
  void (*CheckValue)(Widget w) = nullptr;
  void (*SetEnabledState)(Widget w, bool enabled) = nullptr;
  void (*InvalidateGeometry)(Widget w) = nullptr;
  bool (*DidToolTipChange)(Widget w, int x, int y) = nullptr;
  bool (*GetToolTipText)(Widget w, int level, int x, int y, StrOut text, W_Point& lowerLeft,
                         W_Point& upperRight) = nullptr;
  void (*DoCommand)(Widget w, StrIn command) = nullptr;
  WTranslt_Table translationTable = nullptr;  // the class's bindings
  bool gadget = false, compressExposure = false, classFlag3 = false, mapWhenRealized = true;
  std::uint32_t wantNoExpose = 0;  // non-zero: Expose also gets NoExpose
};

// The class's record of a widget.
inline CWCore_ClassRec* CWCore_ClassOf(Widget w) { return static_cast<CWCore_ClassRec*>(w->cls); }

extern Classes_ClassPtr CWCore_class;

// Attribute identifiers of the class.
extern std::uint32_t CWCore_backgroundAT, CWCore_backgroundPixAT, CWCore_bgGradientAT, CWCore_borderWidthAT,
    CWCore_frameWidthAT, CWCore_elevatedAT, CWCore_highlightedAT, CWCore_hoverAT, CWCore_geometryAT,
    CWCore_hDimAT, CWCore_vDimAT, CWCore_sensitiveAT, CWCore_redrawModeAT, CWCore_widgetTypeAT,
    CWCore_VALUEAT, CWCore_rangeAT, CWCore_autoGrabAT, CWCore_helpMsgAT, CWCore_helpMsgSelectedAT,
    CWCore_helpMsgDisabledAT, CWCore_tabKeepsFocusAT;

// Makes the class; runs once.
void CWCore_CreateClass();

// --- The operations -------------------------------------------------------------------

// Drops NoExpose unless the class wants it, clears redrawPending, exposes.
void CWCore_Expose(Widget w, const Regions_Region* region, W_Event& event);
// Runs the class's Realize unless realized, then marks it realized.
void CWCore_Realize(Widget w);
void CWCore_Unrealize(Widget w);
void CWCore_MapWindow(Widget w);
// Unmaps, then tells the event machine.
void CWCore_UnmapWindow(Widget w);
void CWCore_RaiseWindow(Widget w);
void CWCore_AdjustWindowBounds(Widget w);
void CWCore_UpdateWindowAttrs(Widget w);
// The widget's geometry: computed once by the class's QueryGeometry and the
// size adjust procedure; values the creator gave are kept.
void CWCore_QueryGeometry(Widget w, Geometry& result);
void CWCore_Configure(Widget w);
Widget CWCore_GetInstByID(Widget w, std::uint32_t id);
void CWCore_SetValue(Widget w, const WidgetValue& value);
void CWCore_GetValue(Widget w, WidgetValue& value);
void CWCore_SetCallback(Widget w, CWCore_Callback callback, std::uintptr_t data);
// Whether the widget takes the keyboard focus (`again`: it gets back a focus
// it had); one that does shows it.
bool CWCore_AcceptFocus(Widget w, bool again);
void CWCore_ReleaseFocus(Widget w);
// Offers a key event that nobody claimed; sets the event's handled flag when
// taken.
void CWCore_OfferKeyEvent(Widget w, Widget source, W_Event& event);
// Commits a value being edited.
void CWCore_CheckValue(Widget w);
// Sets "sensitive".
void CWCore_SetEnabledState(Widget w, bool enabled);
// Clears the cached geometry up to the shell, which queues a resize.
void CWCore_InvalidateGeometry(Widget w);
bool CWCore_DidToolTipChange(Widget w, int x, int y);
bool CWCore_GetToolTipText(Widget w, int level, int x, int y, StrOut text, W_Point& lowerLeft,
                           W_Point& upperRight);
// The hook through which replayed commands reach a widget.
void CWCore_DoCommand(Widget w, StrIn command);

// --- Helpers of widgets -----------------------------------------------------------------

// Calls the widget's callback with its current value (the user changed it).
void CWCore_CallCallback(Widget w);
void CWCore_SetSizeAdjustCB(Widget w, CWCore_SizeAdjust proc, std::uintptr_t data);
// redrawMode 1: queues a redraw between events unless one is pending.
void CWCore_RedrawDelayed(Widget w);
// The deferred action of CWCore_RedrawDelayed.
void CWCore_RedrawWidgetDirect(std::uintptr_t widget);
// The widget's translations become a table of its own (a copy of the
// class's) that it may change.
WTranslt_Table& CWCore_OwnTranslations(Widget w);
// The text of help message `number` of the widget's dialog (section: the
// dialog name of its shell); false when the root is not a shell or the
// message is not defined.
bool CWCore_GetHelpMessage(Widget w, std::int32_t number, StrOut text);
// The widget's effective colour: its own, or the first ancestor's that is
// not the copy colour.
W_Color CWCore_EffectiveBackground(Widget w);

// The translations of every non-shell class.
void CWCore_AEnter(Widget w, W_Event& event);
void CWCore_ALeave(Widget w, W_Event& event);

// The operations of the class, for subclasses that extend them.
void CWCore_MyInitClass(Classes_ClassPtr cls, void* prototype);
void CWCore_MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok);
void CWCore_MyMapWindow(Widget w);
void CWCore_MyUnmapWindow(Widget w);
void CWCore_MyUnrealize(Widget w);
void CWCore_MyAdjustWindowBounds(Widget w);
void CWCore_MyUpdateWindowAttrs(Widget w);
void CWCore_MyQueryGeometry(Widget w, Geometry& result);
void CWCore_MyInvalidateGeometry(Widget w);
void CWCore_MySetValue(Widget w, const WidgetValue& value);
bool CWCore_MyGetToolTipText(Widget w, int level, int x, int y, StrOut text, W_Point& lowerLeft,
                             W_Point& upperRight);
