// The icons of the graph, read once for all views: per folder kind the
// normal and the disabled ("@") form, the marks, and the icons of the
// site's user-defined components by their folder.
//
// Icons are read by their plain names. The reader's "!n" (one channel
// only) would turn them grey; the cell's background is the button colour
// their edges are blended with, so they show in colour as they are.
#include <array>
#include <cstdio>
#include <set>
#include <string>
#include <unordered_map>

#include "base/Messages.h"
#include "manager/WFshowRec.h"
#include "toolkit/WtDraw.h"

namespace {

char section[kSectionCap] = "WFshow";

// The trash can of edit mode, the marks of status mode.
constexpr char kTrashIcon[] = "WFtrash.pxm";
constexpr char kStopIcon[] = "stoptiny.pxm";
constexpr char kClusterIcon[] = "WFcluster.pxm";

std::array<std::array<WFshow_Icon, 2>, kWFfolderMaxKind + 1> kindIcons;  // [kind][disabled]
WFshow_Icon trash, stopMark, clusterMark;

struct ComponentIcons {
  WFshow_Icon normal, stopped;
};
std::unordered_map<std::string, ComponentIcons> components;  // by the component's folder

std::string stoppedText;
int stoppedWidth = -1;

void Release(WFshow_Icon& icon) {
  WtDraw_ReleaseIcons(icon.pixmap);
  icon = WFshow_Icon{};
}

// The icon of `name`; one larger than the icon area is given back, and
// told on standard error once per name and reading.
WFshow_Icon Load(const std::string& name, std::set<std::string>& told) {
  WFshow_Icon icon;
  if (name.empty()) return icon;
  icon.pixmap = WtDraw_LoadIcons(name, icon.width, icon.height);
  if (icon.pixmap != 0 && (icon.width > WFshow_kIconArea || icon.height > WFshow_kIconArea)) {
    if (told.insert(name).second)
      std::fprintf(stderr, "Floatdeck: Icon size exceeds limit (%dx%d pixel): %s\n", WFshow_kIconArea,
                   WFshow_kIconArea, name.c_str());
    Release(icon);
  }
  return icon;
}

}  // namespace

void WFshow_InitIcons() {
  std::set<std::string> told;
  for (WFfolder_FolderKind kind = 0; kind <= kWFfolderMaxKind; ++kind) {
    for (WFshow_Icon& icon : kindIcons[kind]) Release(icon);
    NameStr name;
    WFfolder_GetIconByKind(kind, name);
    const std::string plain(StrIn(name).View());
    kindIcons[kind][0] = Load(plain, told);
    if (kindIcons[kind][0].pixmap != 0) kindIcons[kind][1] = Load(plain + "@", told);
  }
  for (auto [icon, name] : {std::pair{&trash, kTrashIcon}, {&stopMark, kStopIcon}, {&clusterMark, kClusterIcon}}) {
    Release(*icon);
    *icon = Load(name, told);
  }
  WFshow_InitUserDefIcons();
}

void WFshow_InitUserDefIcons() {
  for (auto& [folder, icons] : components) {
    Release(icons.normal);
    Release(icons.stopped);
  }
  components.clear();
  std::set<std::string> told;
  const WFconfig_Entry* e = nullptr;
  for (bool more = WFconfig_GetFirstEntry(e); more; more = WFconfig_GetNextEntry(e))
    components[e->folder] = ComponentIcons{Load(e->icon, told), Load(e->stoppedIcon, told)};
}

const WFshow_Icon& WFshow_KindIcon(WFfolder_FolderKind kind, bool disabled) {
  static const WFshow_Icon none;
  return kind <= kWFfolderMaxKind ? kindIcons[kind][disabled ? 1 : 0] : none;
}

bool WFshow_UserDefIcon(WFfolder folder, bool stopped, WFshow_Icon& icon) {
  PathStr path;
  WFfolder_GetPath(folder, path);
  WFconfig_Entry component{};
  if (!WFconfig_GetEntry(path, component)) return false;
  const auto found = components.find(component.folder);
  if (found == components.end()) return false;
  const ComponentIcons& icons = found->second;
  const WFshow_Icon& chosen = stopped && icons.stopped.pixmap != 0 ? icons.stopped : icons.normal;
  if (chosen.pixmap == 0) return false;
  icon = chosen;
  return true;
}

const WFshow_Icon& WFshow_StopMark() { return stopMark; }
const WFshow_Icon& WFshow_ClusterMark() { return clusterMark; }
const WFshow_Icon& WFshow_TrashIcon() { return trash; }

StrIn WFshow_StoppedText(int& width) {
  if (stoppedWidth < 0) {
    TextStr text;
    Messages_GetMsg(section, 20, text);
    stoppedText = std::string(StrIn(text).View());
    stoppedWidth = WtDraw_StringWidth(WFshow_titleFont, false, stoppedText);
  }
  width = stoppedWidth;
  return stoppedText;
}
