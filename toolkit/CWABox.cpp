#include "toolkit/CWABox.h"

#include <algorithm>

#include "toolkit/CWShell.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtWnds.h"

Classes_ClassPtr CWABox_class = nullptr;
std::uint32_t CWABox_halignAT = 0, CWABox_valignAT = 0, CWABox_dynamicAT = 0;

namespace {

using Box = CWABox_Rec*;
Box AsBox(Widget w) { return static_cast<Box>(w); }
CWABox_ClassRec* BoxOps(Widget w) { return static_cast<CWABox_ClassRec*>(w->cls); }
CWGroup_ClassRec* Super() { return static_cast<CWGroup_ClassRec*>(CWGroup_class); }

Regions_Rect MyPageArea(Widget w) { return Regions_Rect{w->innerX, w->innerY, w->innerWidth, w->innerHeight}; }

int Offset(int align, int room) { return align == 0 ? 0 : (align == 1 ? room / 2 : room); }

// A page in the page area: as large as the room within its limits, aligned.
void Place(Widget box, Widget page) {
  const Regions_Rect area = BoxOps(box)->PageArea(box);
  Geometry g;
  CWCore_QueryGeometry(page, g);
  auto fit = [](int room, const Dim& d) {
    return static_cast<int>(std::max<std::int64_t>(std::min<std::int64_t>(room, WtBase_Largest(d)), d.min));
  };
  const int width = fit(area.width, g.hDim), height = fit(area.height, g.vDim);
  WtWnds_ConfigureWidget(page, area.x + Offset(AsBox(box)->halign, area.width - width),
                         area.y + Offset(AsBox(box)->valign, area.height - height), width, height);
}

// Whether the keyboard focus lies in the page.
bool HoldsFocus(Widget page) {
  Widget focus = CWGroup_GetActualFocus(page);
  return focus != nullptr && CWShell_HasFocus(focus);
}

// The larger minimum and the larger largest size.
Dim Widest(const Dim& a, const Dim& b) {
  const std::int32_t min = std::max(a.min, b.min);
  if (a.stretch == Dim_Unbounded || b.stretch == Dim_Unbounded) return Dim{min, Dim_Unbounded};
  return Dim{min, static_cast<std::uint32_t>(std::max(WtBase_Largest(a), WtBase_Largest(b)) - min)};
}

void MyQueryGeometry(Widget w, Geometry& result) {
  const bool dynamic = AsBox(w)->dynamic;
  const Widget shown = CWABox_ShownChild(w);
  if (dynamic ? shown == nullptr : AsBox(w)->childCount == 0) {
    CWCore_MyQueryGeometry(w, result);
    return;
  }
  result = Geometry{{0, 0}, {0, 0}};
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) {
    if (dynamic && c != shown) continue;
    Geometry g;
    CWCore_QueryGeometry(c, g);
    result.hDim = Widest(result.hDim, g.hDim);
    result.vDim = Widest(result.vDim, g.vDim);
  }
  const auto border = static_cast<std::int32_t>(2 * w->borderWidth);
  result.hDim.min += border;
  result.vDim.min += border;
}

// Hidden pages are placed when they come up: placing one would show the
// windows inside it again.
void MyConfigure(Widget w) {
  if (Widget shown = CWABox_ShownChild(w)) Place(w, shown);
}

// Realizing maps every page; then only the one of the value stays.
void MyRealize(Widget w) {
  CWGroup_MyRealize(w);
  CWABox_ShowPage(w);
}

// A page added to a realized box is realized here, so that it does not
// show up unless it is the one of the value.
void MyInsertChild(CWGroup g, Widget child) {
  Super()->InsertChild(g, child);
  if (!g->realized) return;
  WtWnds_RealizeWidget(child);
  CWABox_ShowPage(g);
}

void MyRemoveChild(CWGroup g, Widget child) {
  Super()->RemoveChild(g, child);
  CWABox_ShowPage(g);
}

void MySetValue(Widget w, const WidgetValue& value) {
  const Widget before = CWABox_ShownChild(w);
  CWCore_MySetValue(w, value);
  if (CWABox_ShownChild(w) == before) return;
  CWABox_ShowPage(w);
  if (AsBox(w)->dynamic) CWCore_InvalidateGeometry(w);
}

void MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) {
  CWCore_MySetAttr(object, id, bytes, size, ok);
  if (!ok) return;
  auto* w = static_cast<Widget>(object);
  if (id == CWABox_dynamicAT) CWCore_InvalidateGeometry(w);
  if ((id == CWABox_halignAT || id == CWABox_valignAT) && CWABox_ShownChild(w) != nullptr) {
    Place(w, CWABox_ShownChild(w));
    WtDraw_RedrawWidget(w);
  }
}

}  // namespace

void CWABox_MyShowPage(Widget box) {
  const Widget shown = CWABox_ShownChild(box);
  bool focusLeft = false;
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(box, walk); c != nullptr; c = CWGroup_GetNextChild(walk))
    if (c != shown && c->mapped) {
      focusLeft = focusLeft || HoldsFocus(c);
      CWCore_UnmapWindow(c);
    }
  if (shown != nullptr && shown->realized && !shown->mapped) {
    Place(box, shown);
    CWCore_MapWindow(shown);
  }
  // The focus goes to the new page, or nowhere.
  if (focusLeft) {
    Widget next = shown != nullptr ? CWGroup_AdvanceFocus(shown, true, false) : nullptr;
    if (next != nullptr) CWShell_RequestFocus(next);
    else if (Widget shell = CWShell_GetShellWidget(box)) CWShell_ClearFocus(shell);
  }
  WtDraw_RedrawWidget(box);
}

void CWABox_MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWABox_ClassRec*>(c);
  auto* p = static_cast<CWABox_Rec*>(prototype);
  cls->SetAttr = MySetAttr;
  cls->Realize = MyRealize;
  cls->QueryGeometry = MyQueryGeometry;
  cls->Configure = MyConfigure;
  cls->SetValue = MySetValue;
  cls->InsertChild = MyInsertChild;
  cls->RemoveChild = MyRemoveChild;
  cls->ShowPage = CWABox_MyShowPage;
  cls->PageArea = MyPageArea;
  CWABox_halignAT = CAttribs_DefAttr(c, "halign", 0, &p->halign);
  CWABox_valignAT = CAttribs_DefAttr(c, "valign", 0, &p->valign);
  CWABox_dynamicAT = CAttribs_DefAttr(c, "dynamic", 0, &p->dynamic);
  p->halign = p->valign = 1;
  p->value = WtTypes_Integer(0);
}

void CWABox_CreateClass() {
  if (CWABox_class != nullptr) return;
  CWGroup_CreateClass();
  CWABox_class = new CWABox_ClassRec;
  Classes_MakeClass(CWABox_class, CWGroup_class, "WABox", sizeof(CWABox_Rec), CWABox_MyInitClass, nullptr, nullptr,
                    "ABOX");
}

Widget CWABox_ShownChild(Widget box) {
  const std::int32_t index = WtTypes_AsInteger(box->value);
  CWGroup_Walk walk;
  std::int32_t i = 0;
  for (Widget c = CWGroup_GetFirstChild(box, walk); c != nullptr; c = CWGroup_GetNextChild(walk), ++i)
    if (i == index) return c;
  return nullptr;
}

void CWABox_ShowPage(Widget box) { BoxOps(box)->ShowPage(box); }
