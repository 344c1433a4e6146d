// CWCoreAc: plain accessors of a widget's state, for code that should not
// depend on the layout of the widget record.
#pragma once

#include "toolkit/CWCore.h"

Widget CWCoreAc_Parent(Widget w);
// The window the widget draws in (its own, or a gadget's ancestor's).
W_Window CWCoreAc_Window(Widget w);
// The configured place and size, y upward in the window the widget lies in.
void CWCoreAc_Config(Widget w, int& x, int& y, int& width, int& height);
void CWCoreAc_Geometry(Widget w, Geometry& geometry);
bool CWCoreAc_Gadget(Widget w);
bool CWCoreAc_Realized(Widget w);
bool CWCoreAc_Mapped(Widget w);
