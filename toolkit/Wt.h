// Wt: making and destroying widgets.
#pragma once

#include <cstdint>

#include "toolkit/Classes.h"
#include "toolkit/SAttribs.h"
#include "toolkit/WtTypes.h"

// Makes every widget class of the toolkit and the value types; runs once.
void Wt_Initialize();
// A new widget of `cls` with the attributes of the list, inserted into
// `parent` when there is one. nullptr and toolkit error 2 on failure.
Widget Wt_CreateWidget(Widget parent, Classes_ClassPtr cls, SAttribs attrList);
// Unrealizes (when realized), takes the widget out of its parent, deletes it
// with its children and sets `widget` to nil; nil is accepted.
void Wt_DestroyWidget(Widget& widget);
// The widget of element number `id` below `root`; toolkit error 4 with the
// number beneath when there is none.
Widget Wt_IDToWidget(Widget root, std::uint32_t id);
