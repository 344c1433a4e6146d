#include "toolkit/WtIconList.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>

#include "toolkit/WtDraw.h"

void WtIconList::DefineAttrs(Classes_ClassPtr c, CAttribs_String& path, CAttribs_String (&lists)[5],
                             std::uint32_t (*ids)[6]) {
  std::uint32_t defined[6];
  defined[5] = CAttribs_DefStrAttr(c, "iconPath", kPathCap - 1, &path);
  const char* names[] = {"iconList", "iconList1", "iconList2", "iconList3", "iconList4"};
  for (int i = 0; i < 5; ++i) defined[i] = CAttribs_DefStrAttr(c, StrIn::C(names[i]), kTextCap - 1, &lists[i]);
  if (ids != nullptr) std::copy(std::begin(defined), std::end(defined), std::begin(*ids));
}

void WtIconList::Load(const CAttribs_String& path, const CAttribs_String (&lists)[5]) {
  if (loaded_) return;
  loaded_ = true;
  const std::string dir = CAttribs_Text(path).Str();
  for (const CAttribs_String& list : lists) {
    std::istringstream names(CAttribs_Text(list).Str());
    for (std::string name; names >> name;) {
      int width, height;
      icons_.push_back(WtDraw_LoadIcons(dir.empty() || name[0] == '/' ? name : dir + "/" + name, width, height));
    }
  }
}

W_Pixmap WtIconList::Get(const CAttribs_String& path, const CAttribs_String (&lists)[5], std::int32_t index,
                         int& width, int& height) {
  width = height = 0;
  Load(path, lists);
  if (index < 0 || static_cast<std::size_t>(index) >= icons_.size()) return 0;
  const W_Pixmap icon = icons_[static_cast<std::size_t>(index)];
  if (icon != 0) W_GetPixmapGeometry(icon, width, height);
  return icon;
}

int WtIconList::TallestHeight(const CAttribs_String& path, const CAttribs_String (&lists)[5]) {
  Load(path, lists);
  int tallest = 0;
  for (const W_Pixmap icon : icons_) {
    int width, height;
    if (icon != 0 && W_GetPixmapGeometry(icon, width, height)) tallest = std::max(tallest, height);
  }
  return tallest;
}

void WtIconList::Release() {
  for (W_Pixmap& icon : icons_) WtDraw_ReleaseIcons(icon);
  icons_.clear();
  loaded_ = false;
}
