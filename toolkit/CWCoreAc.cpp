#include "toolkit/CWCoreAc.h"

Widget CWCoreAc_Parent(Widget w) { return w->parent; }
W_Window CWCoreAc_Window(Widget w) { return w->window; }

void CWCoreAc_Config(Widget w, int& x, int& y, int& width, int& height) {
  x = w->x;
  y = w->y;
  width = w->width;
  height = w->height;
}

void CWCoreAc_Geometry(Widget w, Geometry& geometry) { CWCore_QueryGeometry(w, geometry); }
bool CWCoreAc_Gadget(Widget w) { return w->gadget; }
bool CWCoreAc_Realized(Widget w) { return w->realized; }
bool CWCoreAc_Mapped(Widget w) { return w->mapped; }
