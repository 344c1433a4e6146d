#include "toolkit/CWHVBox.h"

#include <algorithm>
#include <cstdint>

#include "toolkit/CWGlue.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtWnds.h"

Classes_ClassPtr CWHVBox_class = nullptr;
Classes_ClassPtr CWHVBox_vboxClass = nullptr;
std::uint32_t CWHVBox_equalSpacingAT = 0, CWHVBox_centerAT = 0, CWHVBox_impliedGlueAT = 0, CWHVBox_fillAcrossAT = 0;

namespace {

using Box = CWHVBox_Rec*;

constexpr std::int64_t kEqualUnbounded = 32000;

Dim MainDim(const Box box, const Geometry& g) { return box->vertical ? g.vDim : g.hDim; }
Dim CrossDim(const Box box, const Geometry& g) { return box->vertical ? g.hDim : g.vDim; }

bool IsGlue(Widget w) { return WtBase_InstanceOf(w, CWGlue_class); }

// The dimension every child counts with under "equalSpacing".
Dim EqualDim(Box box) {
  std::int32_t largestMin = 0;
  std::int64_t smallestLargest = kEqualUnbounded;
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(box, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) {
    Geometry g;
    CWCore_QueryGeometry(c, g);
    const Dim d = MainDim(box, g);
    largestMin = std::max(largestMin, d.min);
    smallestLargest = std::min(smallestLargest, d.stretch == Dim_Unbounded ? kEqualUnbounded : WtBase_Largest(d));
  }
  return Dim{largestMin, static_cast<std::uint32_t>(std::max<std::int64_t>(smallestLargest - largestMin, 0))};
}

// The row along the main axis: each child, and the implied glue between two
// children where neither is a glue. `children[i]` is the child of item i or nil.
void Row(Box box, std::vector<CWHVBox_Item>& items, std::vector<Widget>& children) {
  const bool equal = box->equalSpacing;
  const Dim equalDim = equal ? EqualDim(box) : Dim{};
  const Dim glue = box->vertical ? box->impliedGlue.vDim : box->impliedGlue.hDim;
  bool previousIsGlue = true;
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(box, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) {
    const bool glueChild = IsGlue(c);
    if (!previousIsGlue && !glueChild) {
      items.push_back({glue});
      children.push_back(nullptr);
    }
    Geometry g;
    CWCore_QueryGeometry(c, g);
    items.push_back({equal ? equalDim : MainDim(box, g)});
    children.push_back(c);
    previousIsGlue = glueChild;
  }
}

void MyQueryGeometry(Widget w, Geometry& result) {
  auto box = static_cast<Box>(w);
  if (box->childCount == 0) {
    CWCore_MyQueryGeometry(w, result);
    return;
  }
  std::vector<CWHVBox_Item> items;
  std::vector<Widget> children;
  Row(box, items, children);
  Dim along{0, 0};
  for (const CWHVBox_Item& item : items) along = WtBase_AddDim(along, item.dim);
  Dim across = WtBase_InitDim();
  for (Widget c : children)
    if (c != nullptr) {
      Geometry g;
      CWCore_QueryGeometry(c, g);
      across = WtBase_CombineDim(across, CrossDim(box, g));
    }
  const auto border = static_cast<std::int32_t>(2 * w->borderWidth);
  along.min += border;
  across.min += border;
  result = box->vertical ? Geometry{across, along} : Geometry{along, across};
}

void MyConfigure(Widget w) {
  auto box = static_cast<Box>(w);
  std::vector<CWHVBox_Item> items;
  std::vector<Widget> children;
  Row(box, items, children);
  const int room = std::max(box->vertical ? w->innerHeight : w->innerWidth, 0);
  const int crossRoom = std::max(box->vertical ? w->innerWidth : w->innerHeight, 0);
  int along = CWHVBox_Distribute(items, room, box->center);
  // A vertical box fills from the top down.
  int top = w->innerY + w->innerHeight - along;
  int left = w->innerX + along;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const int size = items[i].size;
    Widget c = children[i];
    if (c != nullptr) {
      Geometry g;
      CWCore_QueryGeometry(c, g);
      const Dim d = CrossDim(box, g);
      const std::int64_t largest = box->fillAcross ? crossRoom : WtBase_Largest(d);
      const int cross = static_cast<int>(std::max<std::int64_t>(std::min<std::int64_t>(crossRoom, largest), d.min));
      const int free = crossRoom - cross;
      if (box->vertical) {
        const int x = w->innerX + (box->center ? free / 2 : 0);
        WtWnds_ConfigureWidget(c, x, top - size, cross, size);
      } else {
        const int y = w->innerY + (box->center ? free / 2 : free);
        WtWnds_ConfigureWidget(c, left, y, size, cross);
      }
    }
    top -= size;
    left += size;
  }
}

void VerticalInitClass(Classes_ClassPtr, void* prototype) { static_cast<CWHVBox_Rec*>(prototype)->vertical = true; }

}  // namespace

int CWHVBox_Distribute(std::vector<CWHVBox_Item>& items, int room, bool center) {
  std::int64_t sumMin = 0, totalStretch = 0;
  std::size_t unbounded = 0;
  for (CWHVBox_Item& item : items) {
    item.size = std::max(item.dim.min, 0);
    sumMin += item.size;
    if (item.dim.stretch == Dim_Unbounded) ++unbounded;
    else totalStretch += item.dim.stretch;
  }
  // Tightly packed or overfull: everybody at the minimum.
  if (room <= sumMin) return 0;
  const std::int64_t extra = room - sumMin;
  if (unbounded > 0) {
    // The extra in equal shares to the unbounded ones.
    const std::int64_t share = extra / static_cast<std::int64_t>(unbounded);
    std::int64_t left = extra % static_cast<std::int64_t>(unbounded);
    for (CWHVBox_Item& item : items)
      if (item.dim.stretch == Dim_Unbounded) item.size += static_cast<int>(share + (left-- > 0 ? 1 : 0));
    return 0;
  }
  if (extra < totalStretch) {
    // Shares in proportion to the stretches; the pixels the division leaves
    // go one each to the first items with room left.
    std::int64_t given = 0;
    for (CWHVBox_Item& item : items) {
      const std::int64_t share = extra * item.dim.stretch / totalStretch;
      item.size += static_cast<int>(share);
      given += share;
    }
    std::int64_t left = extra - given;
    for (CWHVBox_Item& item : items)
      if (left > 0 && item.size < WtBase_Largest(item.dim)) {
        ++item.size;
        --left;
      }
    return 0;
  }
  // Everybody at the largest; the rest before and after, or after.
  for (CWHVBox_Item& item : items) item.size = static_cast<int>(WtBase_Largest(item.dim));
  const std::int64_t rest = extra - totalStretch;
  return center ? static_cast<int>(rest / 2) : 0;
}

void CWHVBox_MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWGroup_ClassRec*>(c);
  auto* p = static_cast<CWHVBox_Rec*>(prototype);
  cls->QueryGeometry = MyQueryGeometry;
  cls->Configure = MyConfigure;
  CWHVBox_equalSpacingAT = CAttribs_DefAttr(cls, "equalSpacing", 0, &p->equalSpacing);
  CWHVBox_centerAT = CAttribs_DefAttr(cls, "center", 0, &p->center);
  CWHVBox_impliedGlueAT = CAttribs_DefAttr(cls, "impliedGlue", 15, &p->impliedGlue);
  CWHVBox_fillAcrossAT = CAttribs_DefAttr(cls, "fillAcross", 0, &p->fillAcross);
  p->impliedGlue = Geometry{{0, 0}, {0, 0}};
  p->vertical = false;
}

void CWHVBox_CreateClass() {
  if (CWHVBox_class != nullptr) return;
  CWGroup_CreateClass();
  CWHVBox_class = new CWGroup_ClassRec;
  Classes_MakeClass(CWHVBox_class, CWGroup_class, "WHBox", sizeof(CWHVBox_Rec), CWHVBox_MyInitClass, nullptr,
                    nullptr, "HBOX");
  CWHVBox_vboxClass = new CWGroup_ClassRec;
  Classes_MakeClass(CWHVBox_vboxClass, CWHVBox_class, "WVBox", sizeof(CWHVBox_Rec), VerticalInitClass, nullptr,
                    nullptr, "VBOX");
}
