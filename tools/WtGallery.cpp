#include "tools/WtGallery.h"

#include <string>

#include "base/Messages.h"
#include "toolkit/CWHVBox.h"
#include "toolkit/CWLabel.h"
#include "toolkit/CWShell.h"
#include "toolkit/SAttribs.h"
#include "toolkit/Wt.h"
#include "workflow/WFmodule.h"

namespace {

char section[kSectionCap] = "wtdemo";

constexpr int kColumns = 8;
constexpr int kCellWidth = 124;
constexpr int kIconBox = 37;  // the largest icon (35) and a pixel around it

// The icons besides the kinds', in the order shown.
const char* const kExtras[] = {"AutoUDef.pxm", "WFtrash.pxm",   "stoptiny.pxm",   "WFcluster.pxm",
                               "WFstopped.pxm", "WFerrors.pxm", "WFexpress.pxm",  "WFlocked.pxm",
                               "WFsynced.pxm",  "lampoff.pxm",  "lampred.pxm",    "lampyellow.pxm",
                               "lampgreen.pxm", "lampblue.pxm", "WMdefaul.pxm"};

Widget Make(Widget parent, Classes_ClassPtr cls, SAttribs& attrs) {
  Widget w = Wt_CreateWidget(parent, cls, attrs);
  SAttribs_Destroy(attrs);
  return w;
}

Widget Box(Widget parent, Classes_ClassPtr cls, int gap) {
  SAttribs attrs = nullptr;
  Geometry glue{{0, 0}, {0, 0}};
  (cls == CWHVBox_class ? glue.hDim : glue.vDim).min = gap;
  SAttribs_AddByName(attrs, "impliedGlue", &glue, sizeof glue);
  SAttribs_AddBool(attrs, "center", true);
  return Make(parent, cls, attrs);
}

void Icon(Widget parent, const std::string& name) {
  SAttribs attrs = nullptr;
  SAttribs_AddString(attrs, "ICON", name);
  const Dim box{kIconBox, 0};
  SAttribs_AddByName(attrs, "hDim", &box, sizeof box);
  SAttribs_AddByName(attrs, "vDim", &box, sizeof box);
  Make(parent, CWLabel_class, attrs);
}

void Caption(Widget parent, const std::string& text) {
  SAttribs attrs = nullptr;
  SAttribs_AddString(attrs, "TEXT", text);
  const std::uint8_t small = 0;
  SAttribs_AddByName(attrs, "fontSize", &small, 1);
  const Dim width{kCellWidth, 0};
  SAttribs_AddByName(attrs, "hDim", &width, sizeof width);
  Make(parent, CWLabel_class, attrs);
}

// A cell: the icon (and its disabled form) above its caption.
void Cell(Widget row, const std::string& icon, bool withDisabled, const std::string& caption) {
  Widget cell = Box(row, CWHVBox_vboxClass, 2);
  Widget icons = Box(cell, CWHVBox_class, 4);
  Icon(icons, icon);
  if (withDisabled) Icon(icons, icon + "@");
  Caption(cell, caption);
}

// Rows of kColumns cells below `parent`; `next` gives a cell's icon, whether
// its disabled form shows, and its caption, and false at the end.
template <class Next>
void Rows(Widget parent, Next next) {
  std::string icon, caption;
  bool disabled = false;
  for (bool more = true; more;) {
    Widget row = Box(parent, CWHVBox_class, 0);
    for (int column = 0; column < kColumns && (more = next(icon, disabled, caption)); ++column)
      Cell(row, icon, disabled, caption);
  }
}

}  // namespace

Widget WtGallery_Build() {
  SAttribs attrs = nullptr;
  TextStr title;
  Messages_GetMsg(section, 40, title);  // messages: wtdemo 40
  SAttribs_AddString(attrs, "title", title);
  SAttribs_AddInt(attrs, "borderWidth", 10);
  Geometry glue{{0, 0}, {8, 0}};
  SAttribs_AddByName(attrs, "impliedGlue", &glue, sizeof glue);
  Widget shell = Make(nullptr, CWShell_class, attrs);
  int kind = 1;
  Rows(shell, [&](std::string& icon, bool& disabled, std::string& caption) {
    if (kind > 50) return false;
    NameStr name;
    WFmodule_GetIcon(static_cast<WFmodule_Kind>(kind), name);
    icon = StrIn(name).Str();
    WFmodule_GetName(static_cast<WFmodule_Kind>(kind), name);
    caption = std::to_string(kind++) + " " + StrIn(name).Str();
    disabled = true;
    return true;
  });
  std::size_t extra = 0;
  Rows(shell, [&](std::string& icon, bool& disabled, std::string& caption) {
    if (extra >= std::size(kExtras)) return false;
    icon = kExtras[extra++];
    caption = icon.substr(0, icon.size() - 4);
    disabled = false;
    return true;
  });
  return shell;
}
