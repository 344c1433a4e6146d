#include "toolkit/CWLabel.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "toolkit/CObject.h"
#include "toolkit/CWGroup.h"
#include "toolkit/CWShell.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtWnds.h"

// The icons of a lamp, one per value (0 where a name gives none), and the
// size of the largest.
struct CWLabel_Lamp {
  std::vector<W_Pixmap> icons;
  int width = 0, height = 0;
};

Classes_ClassPtr CWLabel_class = nullptr;
std::uint32_t CWLabel_TEXTAT, CWLabel_ICONAT, CWLabel_drawColorAT, CWLabel_hAlignAT, CWLabel_vAlignAT,
    CWLabel_fontSizeAT, CWLabel_fontFixedAT, CWLabel_shortCutAT, CWLabel_multiLineAT;

namespace {

std::uint32_t iconSelectedAT, dispBothAT;

constexpr int kPadX = 4, kPadY = 2;  // room around the content
constexpr int kIconGap = 4;          // between icon and text

CWLabel AsLabel(Widget w) { return static_cast<CWLabel>(w); }
CWLabel_ClassRec* LabelOps(Widget w) { return static_cast<CWLabel_ClassRec*>(w->cls); }
CWCore_ClassRec* Super() { return static_cast<CWCore_ClassRec*>(CWCore_class); }

std::vector<std::string> Lines(CWLabel l) {
  std::vector<std::string> lines;
  const std::string text = CAttribs_Text(l->TEXT).Str();
  if (text.empty()) return lines;
  if (!l->multiLine) return {text};
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = text.find('\n', start);
    lines.push_back(text.substr(start, end - start));
    if (end == std::string::npos) return lines;
    start = end + 1;
  }
}

// The names of "ICON"; several make a lamp.
std::vector<std::string> IconNames(CWLabel l) {
  std::vector<std::string> names;
  const std::string text = CAttribs_Text(l->ICON).Str();
  std::size_t at = 0;
  while ((at = text.find_first_not_of(' ', at)) != std::string::npos) {
    const std::size_t end = std::min(text.find(' ', at), text.size());
    names.push_back(text.substr(at, end - at));
    at = end;
  }
  return names;
}

void ReleaseLamp(CWLabel l) {
  if (l->lamp == nullptr) return;
  for (W_Pixmap& icon : l->lamp->icons) WtDraw_ReleaseIcons(icon);
  delete l->lamp;
  l->lamp = nullptr;
}

// A lamp's icon of the value (0: none); the size is the largest icon's.
W_Pixmap LampIcon(CWLabel l, const std::vector<std::string>& names, int& width, int& height) {
  if (l->lamp == nullptr) {
    l->lamp = new CWLabel_Lamp;
    for (const std::string& name : names) {
      int w, h;
      l->lamp->icons.push_back(WtDraw_LoadIcons(name, w, h));
      if (l->lamp->icons.back() != 0 && W_GetPixmapGeometry(l->lamp->icons.back(), w, h)) {
        l->lamp->width = std::max(l->lamp->width, w);
        l->lamp->height = std::max(l->lamp->height, h);
      }
    }
  }
  width = l->lamp->width;
  height = l->lamp->height;
  const WtTypes_Kind kind = WtTypes_KindOf(l->value.widgetType);
  const bool number = kind == WtTypes_kBoolean || kind == WtTypes_kInteger || kind == WtTypes_kCardinal;
  const std::int64_t index = number ? WtTypes_AsInteger(l->value) : 0;
  return index >= 0 && index < static_cast<std::int64_t>(l->lamp->icons.size())
             ? l->lamp->icons[static_cast<std::size_t>(index)]
             : 0;
}

// The icon shown and the room kept for it (0 by 0: none).
W_Pixmap IconOf(CWLabel l, bool selected, int& width, int& height) {
  width = height = 0;
  if (!selected) {
    const std::vector<std::string> names = IconNames(l);
    if (names.size() > 1) return LampIcon(l, names, width, height);
  }
  W_Pixmap& icon = selected ? l->iconSel : l->icon;
  const CAttribs_String& name = selected ? l->iconSelected : l->ICON;
  if (CAttribs_Text(name).Empty()) return 0;
  if (icon == 0) icon = WtDraw_LoadIcons(CAttribs_Text(name), width, height);
  if (icon != 0) W_GetPixmapGeometry(icon, width, height);
  return icon;
}

struct Content {
  std::vector<std::string> lines;
  W_Pixmap icon = 0;
  int iconWidth = 0, iconHeight = 0;
  int lineHeight = 0, descent = 0, textWidth = 0;
  int width = 0, height = 0;
  // Whether room is kept for an icon (a lamp may show none in it).
  bool IconRoom() const { return iconWidth > 0 && iconHeight > 0; }
};

Content Measure(CWLabel l) {
  Content c;
  c.icon = IconOf(l, l->selected && !CAttribs_Text(l->iconSelected).Empty(), c.iconWidth, c.iconHeight);
  c.lines = Lines(l);
  const bool showText = !c.lines.empty() && (!c.IconRoom() || l->dispBoth);
  if (!showText) c.lines.clear();
  c.lineHeight = WtDraw_LineHeight(l->fontSize, l->fontFixed, &c.descent);
  c.textWidth = 0;
  for (const std::string& line : c.lines) c.textWidth = std::max(c.textWidth, WtDraw_StringWidth(l->fontSize, l->fontFixed, line));
  const int textHeight = c.lines.empty() ? 0 : c.lineHeight * static_cast<int>(c.lines.size());
  c.width = c.textWidth + (c.IconRoom() ? c.iconWidth + (c.lines.empty() ? 0 : kIconGap) : 0);
  c.height = std::max(textHeight, c.IconRoom() ? c.iconHeight : 0);
  if (!c.IconRoom() && c.lines.empty()) c.height = c.lineHeight;  // an empty label keeps a line's height
  return c;
}

int Margin(Widget w) { return std::max(w->frameWidth, 0) + static_cast<int>(w->borderWidth); }

int Offset(int align, int room, int size) { return align == 0 ? 0 : (align == 1 ? (room - size) / 2 : room - size); }

void ExtraRoom(Widget w, int& left, int& right) {
  left = right = 0;
  if (LabelOps(w)->ExtraRoom != nullptr) LabelOps(w)->ExtraRoom(w, left, right);
}

void MyQueryGeometry(Widget w, Geometry& result) {
  const Content c = Measure(AsLabel(w));
  int left, right;
  ExtraRoom(w, left, right);
  result.hDim = Dim{left + right + c.width + 2 * (kPadX + Margin(w)), 0};
  result.vDim = Dim{c.height + 2 * (kPadY + Margin(w)), 0};
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  CWLabel l = AsLabel(w);
  const Regions_Rect whole =
      w->gadget ? Regions_Rect{w->x, w->y, w->width, w->height} : Regions_Rect{0, 0, w->width, w->height};
  const int change = l->pressed ? -l->pressedBackgroundDarker : (w->highlighted ? l->hoverBackgroundLighter : 0);
  if (change != 0) {
    const W_Color base = CWCore_EffectiveBackground(w);
    W_GC gc = WtDraw_GetGC();
    W_SetForeground(gc, change > 0 ? WtColors_Lighter(base, change) : WtColors_Darker(base, -change));
    W_FillRectangle(w->window, gc, whole.x, whole.y, whole.width, whole.height);
    WtDraw_ReleaseGC(gc);
  }
  Super()->Expose(w, region, event);
  if (w->highlighted && l->hoverFrameWidthInc > 0)
    WtDraw_Draw3DFrame2(w->window, !l->pressed, CWCore_EffectiveBackground(w), w->frameWidth + l->hoverFrameWidthInc,
                        whole.x, whole.y, whole.width, whole.height);
  CWLabel_DrawContent(w, CWLabel_ContentArea(w));
  if (l->focused) {
    // The focus: a thin dark rectangle just inside the frame.
    W_GC gc = WtDraw_GetGC();
    const int m = Margin(w) + 1;
    W_SetForeground(gc, WtColors_selectionColor);
    W_DrawRectangle(w->window, gc, whole.x + m, whole.y + m, whole.width - 2 * m - 1, whole.height - 2 * m - 1);
    WtDraw_ReleaseGC(gc);
  }
}

void MySetValue(Widget w, const WidgetValue& value) {
  CWCore_MySetValue(w, value);
  if (WtTypes_KindOf(value.widgetType) == WtTypes_kString) CWLabel_SetText(w, WtTypes_AsString(value));
  else if (IconNames(AsLabel(w)).size() > 1) WtDraw_RedrawWidget(w);  // a lamp
}

void MyUnrealize(Widget w) {
  CWLabel l = AsLabel(w);
  WtDraw_ReleaseIcons(l->icon);
  WtDraw_ReleaseIcons(l->iconSel);
  ReleaseLamp(l);
  Super()->Unrealize(w);
}

// A mnemonic of a plain label gives the focus to the first widget after it
// that takes it.
void MyActivate(Widget w) {
  if (w->parent == nullptr) return;
  bool after = false;
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w->parent, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) {
    if (c == w) {
      after = true;
      continue;
    }
    if (!after) continue;
    if (Widget got = CWGroup_AdvanceFocus(c, true, false)) {
      CWShell_RequestFocus(got);
      return;
    }
  }
}

bool MatchesShortCut(char shortCut, std::uint8_t ch) {
  return shortCut != '\0' && std::tolower(static_cast<unsigned char>(shortCut)) == std::tolower(ch);
}

void MyOfferKeyEvent(Widget w, Widget, W_Event& event) {
  CWLabel l = AsLabel(w);
  if (event.kind != W_KeyPress || !w->sensitive || !WtWnds_IsMapped(w) || (event.input.state & W_AltMask) == 0) return;
  if (MatchesShortCut(l->shortCut, event.input.ch) || MatchesShortCut(l->additionalShortCut, event.input.ch)) {
    CWLabel_Activate(w);
    event.handled = true;
  }
}

void MyDestruct(void* instance) {
  CWLabel l = AsLabel(static_cast<Widget>(instance));
  WtDraw_ReleaseIcons(l->icon);
  WtDraw_ReleaseIcons(l->iconSel);
  ReleaseLamp(l);
}

// Where the mnemonic stands in a line, regardless of case.
std::size_t ShortCutPlace(const std::string& line, char shortCut) {
  if (shortCut == '\0') return std::string::npos;
  for (std::size_t i = 0; i < line.size(); ++i)
    if (MatchesShortCut(shortCut, static_cast<std::uint8_t>(line[i]))) return i;
  return std::string::npos;
}

}  // namespace

void CWLabel_MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) {
  CWCore_MySetAttr(object, id, bytes, size, ok);
  if (!ok) return;
  auto* w = static_cast<Widget>(object);
  CWLabel l = AsLabel(w);
  if (id == CWLabel_ICONAT) {
    WtDraw_ReleaseIcons(l->icon);
    ReleaseLamp(l);
  }
  if (id == iconSelectedAT) WtDraw_ReleaseIcons(l->iconSel);
  // A new text changes the label's size only when it is dynamic.
  const bool resizes = id == CWLabel_TEXTAT ? l->dynamicLabel
                                           : (id == CWLabel_ICONAT || id == iconSelectedAT || id == CWLabel_fontSizeAT ||
                                              id == CWLabel_fontFixedAT || id == CWLabel_multiLineAT || id == dispBothAT);
  if (resizes || id == CWLabel_TEXTAT) {
    if (resizes) CWCore_InvalidateGeometry(w);
    WtDraw_RedrawWidget(w);
  } else if (id == CWLabel_drawColorAT || id == CWLabel_hAlignAT || id == CWLabel_vAlignAT ||
             id == CWLabel_shortCutAT || id == CWCore_highlightedAT) {
    WtDraw_RedrawWidget(w);
  }
}

void CWLabel_MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWLabel_ClassRec*>(c);
  auto* p = static_cast<CWLabel_Rec*>(prototype);
  cls->SetAttr = CWLabel_MySetAttr;
  cls->QueryGeometry = MyQueryGeometry;
  cls->Expose = MyExpose;
  cls->SetValue = MySetValue;
  cls->Unrealize = MyUnrealize;
  cls->OfferKeyEvent = MyOfferKeyEvent;
  cls->Activate = MyActivate;
  cls->ExtraRoom = nullptr;
  CWLabel_TEXTAT = CAttribs_DefStrAttr(c, "TEXT", kTextCap - 1, &p->TEXT);
  CWLabel_ICONAT = CAttribs_DefStrAttr(c, "ICON", kPathCap - 1, &p->ICON);
  iconSelectedAT = CAttribs_DefStrAttr(c, "iconSelected", kPathCap - 1, &p->iconSelected);
  dispBothAT = CAttribs_DefAttr(c, "dispBoth", 0, &p->dispBoth);
  CWLabel_drawColorAT = CAttribs_DefAttr(c, "drawColor", 11, &p->drawColor);
  CWLabel_hAlignAT = CAttribs_DefAttr(c, "hAlign", 0, &p->hAlign);
  CWLabel_vAlignAT = CAttribs_DefAttr(c, "vAlign", 0, &p->vAlign);
  CWLabel_fontSizeAT = CAttribs_DefAttr(c, "fontSize", 0, &p->fontSize);
  CWLabel_fontFixedAT = CAttribs_DefAttr(c, "fontFixed", 0, &p->fontFixed);
  CWLabel_shortCutAT = CAttribs_DefAttr(c, "shortCut", 0, &p->shortCut);
  CAttribs_DefAttr(c, "additionalShortCut", 0, &p->additionalShortCut);
  CWLabel_multiLineAT = CAttribs_DefAttr(c, "multiLine", 0, &p->multiLine);
  CAttribs_DefAttr(c, "dynamicLabel", 0, &p->dynamicLabel);
  CAttribs_DefAttr(c, "pressedBackgroundDarker", 3, &p->pressedBackgroundDarker);
  CAttribs_DefAttr(c, "hoverBackgroundLighter", 3, &p->hoverBackgroundLighter);
  CAttribs_DefAttr(c, "hoverFrameWidthInc", 3, &p->hoverFrameWidthInc);
  p->drawColor = W_Color{0, 0, 0};
  p->hAlign = 1;
  p->vAlign = 1;
  p->fontSize = 2;
  p->dynamicLabel = true;
  p->pressedBackgroundDarker = 24;
}

void CWLabel_CreateClass() {
  if (CWLabel_class != nullptr) return;
  CWCore_CreateClass();
  CWLabel_class = new CWLabel_ClassRec;
  Classes_MakeClass(CWLabel_class, CWCore_class, "WLabel", sizeof(CWLabel_Rec),
                    CWLabel_MyInitClass, nullptr, MyDestruct, "LABEL");
}

void CWLabel_SetText(Widget w, StrIn text) {
  const std::string copy = text.Str();
  bool ok;
  CObject_SetAttr(w, CWLabel_TEXTAT, copy.c_str(), static_cast<std::uint32_t>(copy.size() + 1), ok);
}

StrIn CWLabel_GetText(Widget w) { return CAttribs_Text(AsLabel(w)->TEXT); }

void CWLabel_Activate(Widget w) { LabelOps(w)->Activate(w); }

Regions_Rect CWLabel_ContentArea(Widget w) {
  const int m = Margin(w);
  int left, right;
  ExtraRoom(w, left, right);
  const int x0 = w->gadget ? w->x : 0, y0 = w->gadget ? w->y : 0;
  return Regions_Rect{x0 + m + kPadX + left, y0 + m + kPadY, w->width - 2 * (m + kPadX) - left - right,
                      w->height - 2 * (m + kPadY)};
}

void CWLabel_DrawContent(Widget w, const Regions_Rect& area) {
  CWLabel l = AsLabel(w);
  const Content c = Measure(l);
  W_GC gc = WtDraw_GetGC();
  W_SetFont(gc, l->fontSize, l->fontFixed);
  const W_Color color = !w->sensitive ? WtColors_insensitiveColor
                                      : (WtColors_IsCopyColor(l->drawColor) ? W_Color{0, 0, 0} : l->drawColor);
  W_SetForeground(gc, color);
  int x = area.x + Offset(l->hAlign, area.width, c.width);
  const int bottom = area.y + Offset(l->vAlign, area.height, c.height);
  if (c.IconRoom()) {
    // Centred in the room kept for it (a lamp's icons may differ in size).
    int width, height;
    if (c.icon != 0 && W_GetPixmapGeometry(c.icon, width, height))
      WtDraw_DrawIcon(w->window, c.icon, x + (c.iconWidth - width) / 2, bottom + (c.height - height) / 2);
    x += c.iconWidth + kIconGap;
  }
  const int blockHeight = c.lineHeight * static_cast<int>(c.lines.size());
  int lineTop = bottom + (c.height + blockHeight) / 2;
  bool underlined = false;
  for (const std::string& line : c.lines) {
    const int lineWidth = WtDraw_StringWidth(l->fontSize, l->fontFixed, line);
    const int lineX = c.IconRoom() ? x : area.x + Offset(l->hAlign, area.width, lineWidth);
    const int baseline = lineTop - c.lineHeight + c.descent;
    W_DrawString(w->window, gc, lineX, baseline, line);
    const std::size_t at = ShortCutPlace(line, l->shortCut);
    if (!underlined && at != std::string::npos) {
      const int from = lineX + WtDraw_StringWidth(l->fontSize, l->fontFixed, line.substr(0, at));
      const int to = from + WtDraw_StringWidth(l->fontSize, l->fontFixed, line.substr(at, 1)) - 1;
      W_DrawLine(w->window, gc, from, baseline - 1, to, baseline - 1);
      underlined = true;
    }
    lineTop -= c.lineHeight;
  }
  WtDraw_ReleaseGC(gc);
}

bool CWLabel_AcceptFocusLook(Widget w, bool) {
  if (!w->sensitive || !WtWnds_IsMapped(w)) return false;
  if (!AsLabel(w)->focused) {
    AsLabel(w)->focused = true;
    WtDraw_RedrawWidget(w);
  }
  return true;
}

void CWLabel_ReleaseFocusLook(Widget w) {
  if (!AsLabel(w)->focused) return;
  AsLabel(w)->focused = false;
  WtDraw_RedrawWidget(w);
}

void CWLabel_TakeFocus(Widget w) {
  if (!CWShell_HasFocus(w) && CWCore_AcceptFocus(w, false)) CWShell_RequestFocus(w);
}
