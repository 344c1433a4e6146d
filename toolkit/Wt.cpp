#include "toolkit/Wt.h"

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "toolkit/CWABox.h"
#include "toolkit/CWCascad.h"
#include "toolkit/CWDraw.h"
#include "toolkit/CWFrame.h"
#include "toolkit/CWGlue.h"
#include "toolkit/CWGroup.h"
#include "toolkit/CWHVBox.h"
#include "toolkit/CWIOFld.h"
#include "toolkit/CWLabel.h"
#include "toolkit/CWList.h"
#include "toolkit/CWPush.h"
#include "toolkit/CWRadio.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWSlider.h"
#include "toolkit/CWTable.h"
#include "toolkit/CWTextIO.h"
#include "toolkit/CWToggle.h"
#include "toolkit/CWTree.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtWnds.h"

void Wt_Initialize() {
  static bool done = false;
  if (done) return;
  done = true;
  WtTypes_Init();
  CWCore_CreateClass();
  CWGroup_CreateClass();
  CWGlue_CreateClass();
  CWHVBox_CreateClass();
  CWShell_CreateClass();
  CWFrame_CreateClass();
  CWDraw_CreateClass();
  CWLabel_CreateClass();
  CWPush_CreateClass();
  CWToggle_CreateClass();
  CWTextIO_CreateClass();
  CWIOFld_CreateClass();
  CWTable_CreateClass();
  CWCascad_CreateClass();
  CWList_CreateClass();
  CWSlider_CreateClass();
  CWABox_CreateClass();
  CWRadio_CreateClass();
  CWTree_CreateClass();
}

Widget Wt_CreateWidget(Widget parent, Classes_ClassPtr cls, SAttribs attrList) {
  auto* w = static_cast<Widget>(Messages_Quietly([&] { return Classes_CreateAndInit(cls, attrList); }));
  if (w == nullptr) {
    WtBase_WtError(2);
    return nullptr;
  }
  if (parent != nullptr) CWGroup_InsertChild(parent, w);
  return w;
}

void Wt_DestroyWidget(Widget& widget) {
  if (widget == nullptr) return;
  WtWnds_UnrealizeWidget(widget);
  if (widget->parent != nullptr) CWGroup_RemoveChild(widget->parent, widget);
  void* instance = widget;
  Classes_DeleteInstance(instance);
  widget = nullptr;
}

Widget Wt_IDToWidget(Widget root, std::uint32_t id) {
  Widget w = root != nullptr ? CWCore_GetInstByID(root, id) : nullptr;
  if (w == nullptr) {
    TextStr text = "%d";
    SPrintf_Card(text, id);
    Messages_SupplyAdditionalInfo(text);
    WtBase_WtError(4);
  }
  return w;
}
