#include "tools/WtSample.h"

#include "base/Messages.h"
#include "toolkit/CWFrame.h"
#include "toolkit/CWGlue.h"
#include "toolkit/CWHVBox.h"
#include "toolkit/CWIOFld.h"
#include "toolkit/CWLabel.h"
#include "toolkit/CWPush.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWToggle.h"
#include "toolkit/SAttribs.h"
#include "toolkit/Wt.h"

namespace {

char section[kSectionCap] = "wtdemo";

// Adds the text of message `number` as the attribute `name`.
void AddText(SAttribs& attrs, const char* name, unsigned number) {
  TextStr text;
  Messages_GetMsg(section, number, text);  // messages: wtdemo 1-8
  SAttribs_AddString(attrs, StrIn::C(name), text);
}

void AddGap(SAttribs& attrs, bool vertical, std::int32_t pixels) {
  Geometry glue{{0, 0}, {0, 0}};
  (vertical ? glue.vDim : glue.hDim).min = pixels;
  SAttribs_AddByName(attrs, "impliedGlue", &glue, sizeof glue);
}

Widget Make(Widget parent, Classes_ClassPtr cls, SAttribs& attrs) {
  Widget w = Wt_CreateWidget(parent, cls, attrs);
  SAttribs_Destroy(attrs);
  return w;
}

// A row of widgets on a common middle line.
Widget Row(Widget parent) {
  SAttribs attrs = nullptr;
  AddGap(attrs, false, 6);
  SAttribs_AddBool(attrs, "center", true);
  return Make(parent, CWHVBox_class, attrs);
}

Widget Caption(Widget parent, unsigned number, char shortCut) {
  SAttribs attrs = nullptr;
  AddText(attrs, "TEXT", number);
  SAttribs_AddByName(attrs, "shortCut", &shortCut, 1);
  const std::uint8_t left = 0;
  SAttribs_AddByName(attrs, "hAlign", &left, 1);
  const Dim width{80, 0};
  SAttribs_AddByName(attrs, "hDim", &width, sizeof width);
  return Make(parent, CWLabel_class, attrs);
}

Widget Button(Widget parent, unsigned number, char shortCut, std::int32_t value) {
  SAttribs attrs = nullptr;
  AddText(attrs, "TEXT", number);
  SAttribs_AddByName(attrs, "shortCut", &shortCut, 1);
  const Dim width{90, 0};
  SAttribs_AddByName(attrs, "hDim", &width, sizeof width);
  const WidgetValue v = WtTypes_Integer(value);
  SAttribs_AddByName(attrs, "VALUE", v.VALUE, 4);
  return Make(parent, CWPush_class, attrs);
}

Widget Spring(Widget parent) {
  SAttribs attrs = nullptr;
  const Dim none{0, 0};
  SAttribs_AddByName(attrs, "vDim", &none, sizeof none);
  return Make(parent, CWGlue_class, attrs);
}

}  // namespace

void WtSample_Build(WtSample& s) {
  SAttribs attrs = nullptr;
  AddText(attrs, "title", 1);
  SAttribs_AddInt(attrs, "borderWidth", 10);
  SAttribs_AddBool(attrs, "supportKeyConfirm", true);
  AddGap(attrs, true, 8);
  s.shell = Make(nullptr, CWShell_class, attrs);

  AddText(attrs, "TEXT", 2);
  const std::uint8_t left = 0;
  SAttribs_AddByName(attrs, "hAlign", &left, 1);
  const std::uint8_t large = 3;
  SAttribs_AddByName(attrs, "fontSize", &large, 1);
  s.heading = Make(s.shell, CWLabel_class, attrs);

  AddText(attrs, "TEXT", 3);
  AddGap(attrs, true, 6);
  s.frame = Make(s.shell, CWFrame_class, attrs);

  Widget nameRow = Row(s.frame);
  s.nameLabel = Caption(nameRow, 4, 'n');
  SAttribs_AddInt(attrs, "columns", 24);
  s.name = Make(nameRow, CWIOFld_class, attrs);

  Widget copiesRow = Row(s.frame);
  s.copiesLabel = Caption(copiesRow, 5, 'c');
  SAttribs_AddInt(attrs, "columns", 6);
  const WidgetValue one = WtTypes_Integer(1);
  SAttribs_AddByName(attrs, "widgetType", &one.widgetType, 4);
  SAttribs_AddByName(attrs, "VALUE", one.VALUE, 4);
  s.copies = Make(copiesRow, CWIOFld_class, attrs);
  Spring(copiesRow);

  AddText(attrs, "TEXT", 6);
  const char proofKey = 'p';
  SAttribs_AddByName(attrs, "shortCut", &proofKey, 1);
  s.proof = Make(s.frame, CWToggle_class, attrs);

  Widget buttons = Row(s.shell);
  Spring(buttons);
  s.ok = Button(buttons, 7, 'o', 1);
  s.cancel = Button(buttons, 8, 'a', 0);
}

void WtSample_Destroy(WtSample& s) {
  Wt_DestroyWidget(s.shell);
  s = WtSample{};
}
