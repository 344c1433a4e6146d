// The combo box of CWList: a private text field (a TEXTFIELD that is no
// child of anything: a gadget drawn in the list's window, which hands it
// its events and its focus) and a button that opens the entries in a
// pull-down, a plain list of the same entries.
#include <algorithm>

#include "toolkit/CObject.h"
#include "toolkit/CWIOFld.h"
#include "toolkit/CWListRec.h"
#include "toolkit/CWShell.h"
#include "toolkit/Wt.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtPopup.h"
#include "toolkit/WtWnds.h"

namespace {

constexpr int kMinButton = 16;

Widget Field(CWList l) { return l->state->field; }
Widget Drop(CWList l) { return l->state->dropList; }
bool IsOpen(CWList l) { return WtPopup_IsOpen(l->state->popup); }
int Margin(Widget w) { return std::max(w->frameWidth, 0) + static_cast<int>(w->borderWidth); }

// The button at the right: as wide as the field is high.
Regions_Rect ButtonRect(CWList l) {
  const int m = Margin(l);
  const int height = l->height - 2 * m;
  const int width = std::max(height, kMinButton);
  return Regions_Rect{l->width - m - width, m, width, height};
}

bool Inside(const Regions_Rect& r, const W_Event& event) { return WtPopup_Contains(r, event.input.x, event.input.y); }

// The value of a text: itself, or the index of its entry.
void SetValueFromText(CWList l, StrIn text) {
  if (CWList_HasText(l)) {
    const std::uint32_t type = l->value.widgetType;
    l->value = WtTypes_String(text);
    l->value.widgetType = type;
  } else {
    l->value = WtTypes_Integer(CWList_FindEntry(l, text));
  }
}

// A typed text was committed (Return, leaving the field).
void FieldCommitted(Widget field, std::uintptr_t data, WidgetValue*) {
  auto* l = reinterpret_cast<CWList>(data);
  SetValueFromText(l, CWTextIO_GetText(field));
  CWCore_CallCallback(l);
}

void Choose(CWList l, std::int32_t index) {
  CWList_ComboClose(l);
  if (index < 0) return;
  const std::string text = CWList_EntryText(l, static_cast<std::size_t>(index)).Str();
  CWTextIO_SetText(Field(l), text);
  SetValueFromText(l, text);
  CWCore_CallCallback(l);
}

// --- The pull-down -----------------------------------------------------------------------------

void Pointer(Widget owner, W_Event& event);
void Closed(Widget owner) { WtDraw_RedrawWidget(owner); }

void MakePopup(CWList l) {
  CWList_State& s = *l->state;
  if (s.popup != nullptr) return;
  s.popup = WtPopup_Create(l, WtColors_inputColor, 0, Pointer, Closed);
  SAttribs attrs = nullptr;
  SAttribs_AddInt(attrs, "frameWidth", 0);
  SAttribs_AddInt(attrs, "columns", l->columns);
  SAttribs_AddInt(attrs, "vGap", l->vGap);
  SAttribs_AddByName(attrs, "fontSize", &l->fontSize, 1);
  SAttribs_AddBool(attrs, "fontFixed", l->fontFixed);
  SAttribs_AddBool(attrs, "coloredList", l->coloredList);
  SAttribs_AddBool(attrs, "fullColoredList", l->fullColoredList);
  s.dropList = Wt_CreateWidget(WtPopup_Box(s.popup), CWList_class, attrs);
  SAttribs_Destroy(attrs);
}

void Open(CWList l) {
  if (!l->sensitive || !WtWnds_IsMapped(l) || CWList_EntryCount(l) == 0) return;
  MakePopup(l);
  Widget drop = Drop(l);
  bool ok;
  const auto rows = std::min(static_cast<std::int32_t>(CWList_EntryCount(l)), std::max(l->rows, 1));
  CObject_SetAttr(drop, CWList_dynStrAT, CAttribs_Text(l->dynStr).Data(), CAttribs_Text(l->dynStr).Length(), ok);
  CObject_SetAttrByName(drop, "rows", &rows, sizeof rows, ok);
  if (!WtPopup_Open(l->state->popup, WtPopup_ScreenRect(l), WtPopup_Place::kBelow, l->width)) return;
  CWList_SelectOnly(drop, CWList_FindEntry(drop, CWTextIO_GetText(Field(l))));
  l->state->closeOnRelease = false;
  WtDraw_RedrawWidget(l);
}

// An event of the pull-down's list, in the list's own coordinates.
W_Event InDrop(CWList l, const W_Event& event) {
  const Regions_Rect r = WtPopup_RectInside(l->state->popup, Drop(l));
  W_Event e = event;
  e.window = Drop(l)->window;
  e.input.x = event.input.xRoot - r.x;
  e.input.y = event.input.yRoot - r.y;
  return e;
}

// Every pointer event while the pull-down is open: the pointer highlights,
// a click (or the release of a drag from the button) chooses; the scroll
// bar and the wheel work as in any list; a click outside closes.
void Pointer(Widget owner, W_Event& event) {
  CWList l = CWList_Of(owner);
  Widget drop = Drop(l);
  W_Event e = InDrop(l, event);
  const bool wheel = event.kind == W_ButtonPress && event.input.button >= 3;
  const bool inside = WtPopup_Contains(WtPopup_RectInside(l->state->popup, drop), event.input.xRoot, event.input.yRoot);
  const bool onBar = event.kind == W_ButtonPress && CWList_InScrollBar(drop, e.input.x);
  if (CWList_Of(drop)->state->grip.dragging || (inside && (wheel || onBar))) {
    WTranslt_TranslateEvent(drop, e);
    return;
  }
  if (inside) {
    const std::int32_t index = CWList_EntryAt(drop, e.input.x, e.input.y);
    if (event.kind == W_ButtonRelease) {
      if (index >= 0) Choose(l, index);
      else if (l->state->closeOnRelease) CWList_ComboClose(l);
    } else if (index >= 0 && index != CWList_FirstSelected(drop)) {
      CWList_SelectOnly(drop, index);
    }
    return;
  }
  // A click outside (or on the button again) closes, on its release: a
  // window taken away under a held button would leave its release to
  // nobody. The release of the click that opened it does nothing.
  CWList_State& s = *l->state;
  if (event.kind == W_ButtonPress) {
    s.closeOnRelease = true;
  } else if (event.kind == W_ButtonRelease) {
    const Regions_Rect screen = WtPopup_ScreenRect(l);
    Regions_Rect button = ButtonRect(l);
    button.x += screen.x;
    button.y += screen.y;
    if (s.closeOnRelease || !WtPopup_Contains(button, event.input.xRoot, event.input.yRoot)) CWList_ComboClose(l);
  }
}

void DropKey(CWList l, W_Event& event) {
  Widget drop = Drop(l);
  const auto end = static_cast<std::int32_t>(CWList_EntryCount(drop)) - 1;
  const std::int32_t at = CWList_FirstSelected(drop);
  const std::int32_t page = std::max(CWList_Of(drop)->rows, 1);
  switch (event.input.ch) {
    case W_KeyUp: CWList_SelectOnly(drop, std::max(at - 1, 0)); break;
    case W_KeyDown: CWList_SelectOnly(drop, std::min(at + 1, end)); break;
    case W_KeyPrior: CWList_SelectOnly(drop, std::max(at - page, 0)); break;
    case W_KeyNext: CWList_SelectOnly(drop, std::min(std::max(at, 0) + page, end)); break;
    case W_KeyHome: CWList_SelectOnly(drop, 0); break;
    case W_KeyEnd: CWList_SelectOnly(drop, end); break;
    case W_KeyReturn: Choose(l, at); break;
    case W_KeyEscape: CWList_ComboClose(l); break;
    default:
      // Anything else goes on to the field.
      CWList_ComboClose(l);
      CWList_ComboKey(l, event);
  }
}

}  // namespace

// --- Life ------------------------------------------------------------------------------------

void CWList_ComboInit(CWList l) {
  SAttribs attrs = nullptr;
  SAttribs_AddInt(attrs, "frameWidth", 0);
  SAttribs_AddInt(attrs, "columns", l->columns);
  SAttribs_AddByName(attrs, "fontSize", &l->fontSize, 1);
  SAttribs_AddBool(attrs, "fontFixed", l->fontFixed);
  SAttribs_AddByName(attrs, "background", &WtColors_inputColor, sizeof WtColors_inputColor);
  SAttribs_AddBool(attrs, "sensitive", l->sensitive);
  Widget field = Wt_CreateWidget(nullptr, CWIOFld_class, attrs);
  SAttribs_Destroy(attrs);
  field->gadget = true;
  CWCore_SetCallback(field, FieldCommitted, reinterpret_cast<std::uintptr_t>(l));
  l->state->field = field;
}

void CWList_ComboDestruct(CWList l) {
  WtPopup_Destroy(l->state->popup);
  Wt_DestroyWidget(l->state->field);
}

void CWList_ComboRealize(CWList l) {
  Widget field = Field(l);
  field->window = l->window;
  WtWnds_RealizeWidget(field);
  CWCore_MapWindow(field);
}

void CWList_ComboUnrealize(CWList l) {
  CWList_ComboClose(l);
  CWCore_Unrealize(Field(l));
}

// --- Look ------------------------------------------------------------------------------------

void CWList_ComboQueryGeometry(CWList l, Geometry& result) {
  Geometry field;
  CWCore_QueryGeometry(Field(l), field);
  const int m = Margin(l);
  result.hDim = Dim{field.hDim.min + std::max(field.vDim.min, kMinButton) + 2 * m, Dim_Unbounded};
  result.vDim = Dim{field.vDim.min + 2 * m, 0};
}

void CWList_ComboConfigure(CWList l) {
  const int m = Margin(l);
  const Regions_Rect button = ButtonRect(l);
  WtWnds_ConfigureWidget(Field(l), m, m, std::max(button.x - m, 1), std::max(l->height - 2 * m, 1));
}

void CWList_ComboExpose(CWList l, const Regions_Region* region, W_Event& event) {
  static_cast<CWCore_ClassRec*>(CWCore_class)->Expose(l, region, event);
  CWCore_Expose(Field(l), region, event);
  // The button: the menu's colour, darker while its pull-down is open, a
  // line apart from the field, with a triangle pointing down.
  const Regions_Rect b = ButtonRect(l);
  W_GC gc = WtDraw_GetGC();
  W_SetForeground(gc, IsOpen(l) ? WtColors_Darker(WtColors_buttonColor, 24) : WtColors_buttonColor);
  W_FillRectangle(l->window, gc, b.x, b.y, b.width, b.height);
  W_SetForeground(gc, WtColors_Darker(WtColors_buttonColor, 48));
  W_DrawLine(l->window, gc, b.x, b.y, b.x, b.y + b.height - 1);
  const int cx = b.x + b.width / 2, cy = b.y + b.height / 2;
  const W_Point arrow[3] = {{cx - 4, cy + 2}, {cx + 5, cy + 2}, {cx, cy - 3}};
  W_SetForeground(gc, l->sensitive ? W_Color{0, 0, 0} : WtColors_insensitiveColor);
  W_FillPolygon(l->window, gc, arrow, 3);
  WtDraw_ReleaseGC(gc);
}

// --- Value -----------------------------------------------------------------------------------

void CWList_ComboSetValue(CWList l) {
  if (CWList_HasText(l)) {
    CWTextIO_SetText(Field(l), WtTypes_AsString(l->value));
  } else {
    const std::int32_t index = WtTypes_AsInteger(l->value);
    CWTextIO_SetText(Field(l), index >= 0 ? CWList_EntryText(l, static_cast<std::size_t>(index)) : StrIn(""));
  }
}

void CWList_ComboSensitivity(CWList l) {
  bool ok;
  if (!l->sensitive) CWList_ComboClose(l);
  CObject_SetAttr(Field(l), CWCore_sensitiveAT, &l->sensitive, sizeof l->sensitive, ok);
}

void CWList_ComboEntriesChanged(CWList l) {
  CWList_ComboClose(l);
  if (!CWList_HasText(l)) CWList_ComboSetValue(l);
}

// --- Input -----------------------------------------------------------------------------------

void CWList_ComboPress(CWList l, W_Event& event) {
  if (!CWShell_HasFocus(l) && CWCore_AcceptFocus(l, false)) CWShell_RequestFocus(l);
  if (Inside(ButtonRect(l), event)) {
    if (IsOpen(l)) CWList_ComboClose(l);
    else Open(l);
    return;
  }
  WTranslt_TranslateEvent(Field(l), event);
}

void CWList_ComboPass(CWList l, W_Event& event) {
  if (!WTranslt_TranslateEvent(Field(l), event)) WTranslt_ReturnEvent(l, event);
}

void CWList_ComboKey(CWList l, W_Event& event) {
  if (IsOpen(l)) return DropKey(l, event);
  if (event.input.ch == W_KeyDown && (event.input.state & W_AltMask) != 0) return Open(l);
  CWList_ComboPass(l, event);
}

void CWList_ComboClose(CWList l) { WtPopup_Close(l->state->popup); }

// --- For looking at it -----------------------------------------------------------------------

Widget CWList_ComboField(Widget combo) { return CWList_Of(combo)->state->field; }
Widget CWList_ComboDropList(Widget combo) { return CWList_Of(combo)->state->dropList; }
bool CWList_ComboIsOpen(Widget combo) { return CWList_Of(combo)->state->field != nullptr && IsOpen(CWList_Of(combo)); }
