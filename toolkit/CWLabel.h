// CWLabel: "WLabel" (keyword "LABEL"): a text, an icon or both.
//
// "TEXT" is drawn in the font slot "fontSize" (mono with "fontFixed") in
// "drawColor" (gray when insensitive), aligned by "hAlign" (0 left,
// 1 centre, 2 right) and "vAlign" (0 bottom, 1 centre, 2 top); with
// "multiLine" it breaks at new lines. "ICON" (a pixmap name) is drawn
// instead of the text, or before it with "dispBoth"; "iconSelected" while
// selected. "shortCut" is a mnemonic character: it is underlined in the text
// and Alt with it activates the label ("additionalShortCut" too, without
// underline); a plain label then gives the focus to the widget after it.
// A STRING value shows as the text; with "dynamicLabel" the label's size
// follows the text. While highlighted (pointer over it with "hover") the
// background is lighter by "hoverBackgroundLighter" and the frame wider by
// "hoverFrameWidthInc"; a pressed one is darker by "pressedBackgroundDarker".
//
// A lamp: "ICON" with several pixmap names (separated by blanks) shows the
// one of its value, counted from 0 (FALSE is 0, TRUE 1; a value that is no
// BOOLEAN, INTEGER or CARDINAL counts as 0); a value without a name shows
// no icon. It keeps the room of its largest icon, so its size does not
// change with the value. A single name shows whatever the value is.
#pragma once

#include "toolkit/CWCore.h"

struct CWLabel_Lamp;

struct CWLabel_Rec : CWCore_Rec {
  CAttribs_String TEXT, ICON, iconSelected;
  bool dispBoth;
  W_Color drawColor;
  std::uint8_t hAlign, vAlign, fontSize;
  bool fontFixed, multiLine, dynamicLabel;
  char shortCut, additionalShortCut;
  std::int32_t pressedBackgroundDarker, hoverBackgroundLighter, hoverFrameWidthInc;
  // State.
  W_Pixmap icon, iconSel;
  CWLabel_Lamp* lamp;  // a lamp's icons, loaded; nil otherwise
  bool pressed;  // drawn pushed in
  bool focused;  // has the keyboard focus
};
using CWLabel = CWLabel_Rec*;

struct CWLabel_ClassRec : CWCore_ClassRec {
  // What the mnemonic does.
  void (*Activate)(Widget w) = nullptr;
  // The room kept left and right of the content (a toggle's check box).
  void (*ExtraRoom)(Widget w, int& left, int& right) = nullptr;
};

extern Classes_ClassPtr CWLabel_class;
extern std::uint32_t CWLabel_TEXTAT, CWLabel_ICONAT, CWLabel_drawColorAT, CWLabel_hAlignAT, CWLabel_vAlignAT,
    CWLabel_fontSizeAT, CWLabel_fontFixedAT, CWLabel_shortCutAT, CWLabel_multiLineAT;

void CWLabel_CreateClass();

// Sets the text (as the attribute "TEXT" does).
void CWLabel_SetText(Widget w, StrIn text);
StrIn CWLabel_GetText(Widget w);
// Runs the class's mnemonic action.
void CWLabel_Activate(Widget w);

// For subclasses: the content area inside frame and border (own window or
// gadget coordinates), and drawing the content into an area.
Regions_Rect CWLabel_ContentArea(Widget w);
void CWLabel_DrawContent(Widget w, const Regions_Rect& area);
// The focus of labels that take it (buttons, toggles): a dark rectangle
// inside the frame. AcceptFocus says yes while sensitive and mapped.
bool CWLabel_AcceptFocusLook(Widget w, bool again);
void CWLabel_ReleaseFocusLook(Widget w);
// A click gives the widget the focus when it takes it.
void CWLabel_TakeFocus(Widget w);
void CWLabel_MyInitClass(Classes_ClassPtr cls, void* prototype);
void CWLabel_MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok);
