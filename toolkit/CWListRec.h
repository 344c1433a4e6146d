// The state of a list, shared by the files of CWList only: CWList.cpp (the
// class and the plain list) and CWListCombo.cpp (the combo box).
#pragma once

#include <string>
#include <vector>

#include "toolkit/CWList.h"
#include "toolkit/WtRowScroll.h"

struct CWList_Entry {
  std::string text;  // as shown, without the colour mark
  bool colored = false;
  W_Color color;
};

struct CWList_State {
  std::vector<CWList_Entry> entries;
  std::vector<bool> selected;
  std::int32_t last = -1;  // the entry clicked or moved to last
  bool focused = false;
  WtRowScroll_Grip grip;  // the scroll bar's thumb
  bool pressedOnEntry = false, changedOnPress = false;
  // The combo box.
  Widget field = nullptr;     // its text field, drawn in the list's window; owned
  Widget popup = nullptr;     // its pull-down; owned
  Widget dropList = nullptr;  // the plain list in the pull-down; the pull-down owns it
  bool closeOnRelease = false;  // a press outside the open pull-down closes it on release
};

inline CWList CWList_Of(Widget w) { return static_cast<CWList>(w); }
// Whether the list's value is a text (else a number: an index).
inline bool CWList_HasText(CWList l) { return WtTypes_KindOf(l->value.widgetType) == WtTypes_kString; }

// --- The plain list, for the combo box ---------------------------------------------------

// The entry at (x, y) of the list's window; -1 none.
std::int32_t CWList_EntryAt(Widget list, int x, int y);
bool CWList_InScrollBar(Widget list, int x);
// Selects `index` alone (-1: nothing) and scrolls it into view; no report.
void CWList_SelectOnly(Widget list, std::int32_t index);
// The first selected entry; -1 none.
std::int32_t CWList_FirstSelected(Widget list);
// The first entry of that text; -1 none.
std::int32_t CWList_FindEntry(Widget list, StrIn text);
// The widget's callback with its value as it stands (the user changed it).
void CWList_Report(Widget list);

// --- The combo box (CWListCombo.cpp) ---------------------------------------------------------

void CWList_ComboInit(CWList l);
void CWList_ComboDestruct(CWList l);
void CWList_ComboQueryGeometry(CWList l, Geometry& result);
void CWList_ComboConfigure(CWList l);
void CWList_ComboRealize(CWList l);
void CWList_ComboUnrealize(CWList l);
void CWList_ComboExpose(CWList l, const Regions_Region* region, W_Event& event);
void CWList_ComboSetValue(CWList l);
// The entries changed; "sensitive" changed.
void CWList_ComboEntriesChanged(CWList l);
void CWList_ComboSensitivity(CWList l);
// Input: the press of button 1, other pointer events and keys.
void CWList_ComboPress(CWList l, W_Event& event);
void CWList_ComboPass(CWList l, W_Event& event);
void CWList_ComboKey(CWList l, W_Event& event);
// Closes the pull-down.
void CWList_ComboClose(CWList l);
