// WtWnds: what happens to a widget's window: realizing, mapping, placing,
// and the background it shows.
#pragma once

#include "toolkit/CWCore.h"

// Creates the window (unless a gadget) and everything below; a widget whose
// geometry was never asked is first configured at its minimum size.
void WtWnds_RealizeWidget(Widget w);
void WtWnds_UnrealizeWidget(Widget w);
// Toolkit error 7 when the widget is not realized.
void WtWnds_MapWidget(Widget w);
void WtWnds_UnmapWidget(Widget w);
void WtWnds_RaiseWidget(Widget w);
void WtWnds_MoveWidget(Widget w, int x, int y);
void WtWnds_QueryWidgetGeometry(Widget w, Geometry& geometry);
// Places the widget: stores position and size, computes the inner area
// inside the border, moves the window, then the class's Configure.
void WtWnds_ConfigureWidget(Widget w, int x, int y, int width, int height);
// The window the widget draws in and the widget that owns it.
W_Window WtWnds_SearchWindow(Widget w, Widget& owner);
// The background a widget shows: walking up, the first pixmap (not past a
// shell that has a parent) and the first colour that is not the copy colour.
void WtWnds_SearchBackground(Widget w, Widget& owner, W_Color& color, W_Pixmap& pixmap);
// The pixmap of "backgroundPix", of the gradient, or the root pixmap of a main
// shell; 0 none.
W_Pixmap WtWnds_GetBackgroundPixmap(Widget w);
// The ramp of the reversed gradient for a pressed button: `color` (or the
// widget's own when nil) darker by `delta`.
W_Pixmap WtWnds_GetPressedPixmap(Widget w, const W_Color* color, int delta);
// True only when the widget and all its ancestors are mapped; true for nil.
bool WtWnds_IsMapped(Widget w);
bool WtWnds_IsRealized(Widget w);
// The default Realize and Expose of widgets.
void WtWnds_StdRealize(Widget w);
void WtWnds_StdExpose(Widget w, const Regions_Region* region, W_Event& event);
