#include "toolkit/CWGroup.h"

#include "toolkit/WtBase.h"
#include "toolkit/WtWnds.h"

Classes_ClassPtr CWGroup_class = nullptr;
std::uint32_t CWGroup_isMenuBarAT = 0;

namespace {

CWGroup_ClassRec* GroupOps(Widget w) { return static_cast<CWGroup_ClassRec*>(w->cls); }
CWGroup AsGroup(Widget w) { return static_cast<CWGroup>(w); }
CWCore_ClassRec* Super() { return static_cast<CWCore_ClassRec*>(CWCore_class); }

CWGroup_Link* LinkOf(CWGroup g, Widget child) {
  for (CWGroup_Link* l = g->firstChild; l != nullptr; l = l->next)
    if (l->widget == child) return l;
  return nullptr;
}

void MyInsertChild(CWGroup g, Widget child) {
  auto* link = new CWGroup_Link;
  link->widget = child;
  link->prev = g->lastChild;
  if (g->lastChild != nullptr) g->lastChild->next = link;
  else g->firstChild = link;
  g->lastChild = link;
  ++g->childCount;
  child->parent = g;
}

void MyRemoveChild(CWGroup g, Widget child) {
  CWGroup_Link* link = LinkOf(g, child);
  if (link == nullptr) return;
  (link->prev != nullptr ? link->prev->next : g->firstChild) = link->next;
  (link->next != nullptr ? link->next->prev : g->lastChild) = link->prev;
  if (g->focusLink == link) g->focusLink = nullptr;
  --g->childCount;
  child->parent = nullptr;
  delete link;
}

void MyGeometryManager(CWGroup g, Widget) { Classes_MissingMethodError(g->cls, "WGroup.GeometryManager"); }

// Shows or hides the X windows of a subtree that lie in a gadget's window.
void ShowWindows(Widget w, bool show) {
  if (!w->gadget) {
    if (w->window == 0) return;
    if (show && w->mapped && w->width > 0 && w->height > 0) W_MapWindow(w->window);
    else if (!show) W_UnmapWindow(w->window);
    return;
  }
  if (!CWGroup_IsGroupWidget(w) || (show && !w->mapped)) return;
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) ShowWindows(c, show);
}

void MyMapWindow(Widget w) {
  const bool was = w->mapped;
  CWCore_MyMapWindow(w);
  if (!was && w->gadget) {
    CWGroup_Walk walk;
    for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) ShowWindows(c, true);
  }
}

void MyUnmapWindow(Widget w) {
  if (w->mapped && w->gadget) {
    CWGroup_Walk walk;
    for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) ShowWindows(c, false);
  }
  CWCore_MyUnmapWindow(w);
}

Widget MyGetInstByID(Widget w, std::uint32_t id) {
  if (w->id == id) return w;
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk))
    if (Widget found = CWCore_GetInstByID(c, id)) return found;
  return nullptr;
}

void MyOfferKeyEvent(Widget w, Widget source, W_Event& event) {
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr && !event.handled; c = CWGroup_GetNextChild(walk))
    if (c != source) CWCore_OfferKeyEvent(c, source, event);
}

// A menu bar has a window of its own.
void MyInit(void* instance) {
  CWGroup g = AsGroup(static_cast<Widget>(instance));
  if (g->isMenuBar) g->gadget = false;
}

void MyDestruct(void* instance) {
  CWGroup g = AsGroup(static_cast<Widget>(instance));
  while (g->firstChild != nullptr) {
    void* child = g->firstChild->widget;
    MyRemoveChild(g, g->firstChild->widget);
    Classes_DeleteInstance(child);
  }
}

}  // namespace

void CWGroup_MyRealize(Widget w) {
  WtWnds_StdRealize(w);
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) {
    if (w->hover == 2) c->hover = 3;
    WtWnds_RealizeWidget(c);
  }
}

void CWGroup_MyUnrealize(Widget w) {
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) CWCore_Unrealize(c);
  CWCore_MyUnrealize(w);
}

void CWGroup_MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  Super()->Expose(w, region, event);
  const Regions_Rect exposed{event.expose.x, event.expose.y, event.expose.width, event.expose.height};
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk))
    if (c->gadget && c->mapped && Regions_RectsMeet({c->x, c->y, c->width, c->height}, exposed))
      CWCore_Expose(c, region, event);
}

void CWGroup_MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWGroup_ClassRec*>(c);
  auto* p = static_cast<CWGroup_Rec*>(prototype);
  cls->Realize = CWGroup_MyRealize;
  cls->Unrealize = CWGroup_MyUnrealize;
  cls->Expose = CWGroup_MyExpose;
  cls->MapWindow = MyMapWindow;
  cls->UnmapWindow = MyUnmapWindow;
  cls->GetInstByID = MyGetInstByID;
  cls->OfferKeyEvent = MyOfferKeyEvent;
  cls->InsertChild = MyInsertChild;
  cls->RemoveChild = MyRemoveChild;
  cls->GeometryManager = MyGeometryManager;
  cls->invalidateOnChange = true;
  cls->gadget = true;
  CWGroup_isMenuBarAT = CAttribs_DefAttr(cls, "isMenuBar", 0, &p->isMenuBar);
}

void CWGroup_CreateClass() {
  if (CWGroup_class != nullptr) return;
  CWCore_CreateClass();
  CWGroup_class = new CWGroup_ClassRec;
  Classes_MakeClass(CWGroup_class, CWCore_class, "WGroup", sizeof(CWGroup_Rec), CWGroup_MyInitClass, MyInit,
                    MyDestruct, "GROUP");
}

// --- Children ----------------------------------------------------------------------------

void CWGroup_InsertChild(Widget group, Widget child) {
  GroupOps(group)->InsertChild(AsGroup(group), child);
  if (GroupOps(group)->invalidateOnChange) CWCore_InvalidateGeometry(group);
  if (group->realized) WtWnds_RealizeWidget(child);
}

void CWGroup_RemoveChild(Widget group, Widget child) {
  GroupOps(group)->RemoveChild(AsGroup(group), child);
  if (GroupOps(group)->invalidateOnChange) CWCore_InvalidateGeometry(group);
}

void CWGroup_GeometryManager(Widget group, Widget child) { GroupOps(group)->GeometryManager(AsGroup(group), child); }

std::uint32_t CWGroup_ChildCount(Widget group) { return CWGroup_IsGroupWidget(group) ? AsGroup(group)->childCount : 0; }

Widget CWGroup_GetFirstChild(Widget group, CWGroup_Walk& walk) {
  walk = CWGroup_IsGroupWidget(group) ? AsGroup(group)->firstChild : nullptr;
  return walk != nullptr ? walk->widget : nullptr;
}

Widget CWGroup_GetNextChild(CWGroup_Walk& walk) {
  if (walk != nullptr) walk = walk->next;
  return walk != nullptr ? walk->widget : nullptr;
}

void CWGroup_DestroyWalkInfo(CWGroup_Walk& walk) { walk = nullptr; }

bool CWGroup_EnumChildren(Widget group, bool recursive, bool (*proc)(Widget child, std::uintptr_t data),
                          std::uintptr_t data) {
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(group, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) {
    if (!proc(c, data)) return false;
    if (recursive && CWGroup_IsGroupWidget(c) && !CWGroup_EnumChildren(c, true, proc, data)) return false;
  }
  return true;
}

Widget CWGroup_FindWidgetByType(Widget group, Classes_ClassPtr cls) {
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(group, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) {
    if (WtBase_InstanceOf(c, cls)) return c;
    if (Widget found = CWGroup_FindWidgetByType(c, cls)) return found;
  }
  return nullptr;
}

bool CWGroup_IsChildOf(Widget child, Widget ancestor) {
  if (child == nullptr || ancestor == nullptr) return false;
  for (Widget w = child->parent; w != nullptr; w = w->parent)
    if (w == ancestor) return true;
  return false;
}

bool CWGroup_IsGroupWidget(Widget w) { return WtBase_InstanceOf(w, CWGroup_class); }

bool CWGroup_IsMenuBar(Widget w) { return CWGroup_IsGroupWidget(w) && AsGroup(w)->isMenuBar; }

Widget CWGroup_FindMenuBar(Widget w) {
  if (CWGroup_IsMenuBar(w)) return w;
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk))
    if (Widget found = CWGroup_FindMenuBar(c)) return found;
  return nullptr;
}

// --- Focus ---------------------------------------------------------------------------------

Widget CWGroup_GetActualFocus(Widget w) {
  while (w != nullptr && w->mapped) {
    if (!CWGroup_IsGroupWidget(w)) return w;
    CWGroup_Link* link = AsGroup(w)->focusLink;
    w = link != nullptr ? link->widget : nullptr;
  }
  return nullptr;
}

Widget CWGroup_AdvanceFocus(Widget w, bool restart, bool backward) {
  if (w == nullptr || !w->mapped) return nullptr;
  if (!CWGroup_IsGroupWidget(w)) return restart && CWCore_AcceptFocus(w, false) ? w : nullptr;
  CWGroup g = AsGroup(w);
  CWGroup_Link* link;
  bool childRestart;
  if (restart || g->focusLink == nullptr) {
    link = backward ? g->lastChild : g->firstChild;
    childRestart = true;
  } else {
    link = g->focusLink;
    childRestart = restart;
  }
  for (; link != nullptr; link = backward ? link->prev : link->next) {
    if (Widget got = CWGroup_AdvanceFocus(link->widget, childRestart, backward)) {
      g->focusLink = link;
      return got;
    }
    childRestart = true;
  }
  return nullptr;
}
