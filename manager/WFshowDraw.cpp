// Drawing the graph: cells (frame, background, icon, marks) and the
// connections between them with their arrowheads and labels.
//
// A cell's box is 41 by 41 pixels from its lower left corner (x, y): a
// ring in the frame colour moved half way to white with its corners left
// out, a ring in the frame colour, a ring in the button colour (lighter
// when raised, darker when pressed), and the icon area of 35 by 35 inside
// on a vertical ramp of the button colour. Connections leave a box at the
// middle of its right side and enter the next at the middle of its left.
#include <algorithm>
#include <cmath>
#include <string>

#include "base/DirAcces.h"
#include "manager/WFshowRec.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtUtf8.h"

namespace {

constexpr int kInner = 3;          // rings around the icon area
constexpr int kTitleFont = WFshow_titleFont;
constexpr int kLabelFont = 1;      // small: the labels of outs
constexpr int kArrowLength = 6, kArrowWidth = 3;
constexpr int kGap = WFshow_kColPitch - WFshow_kCellBox;  // between a box and the next column
constexpr int kMid = WFshow_kCellBox / 2;                 // where links meet a box
const W_Color kLineColor{72, 72, 72};
const W_Color kTextColor{0, 0, 0};
const W_Color kLabelColor{48, 48, 48};

W_Window Window(WFshow_View view) { return view->draw->window; }

W_Color HalfWayToWhite(const W_Color& c) {
  return W_Color{(c.red + 255) / 2, (c.green + 255) / 2, (c.blue + 255) / 2};
}

struct TextSize {
  int width = 0, ascent = 0, descent = 0;
};
TextSize Measure(int font, StrIn text) {
  TextSize s;
  W_TextExtents(font, false, text, s.width, s.ascent, s.descent);
  return s;
}

// The text cut at its end until it fits in `width` pixels.
std::string Fitted(std::string text, int font, int width) {
  while (!text.empty() && Measure(font, text).width > width)
    text.resize(static_cast<std::size_t>(WtUtf8_Previous(text, static_cast<int>(text.size()))));
  return text;
}

void DrawText(WFshow_View view, int font, const W_Color& color, int x, int baseline, StrIn text) {
  W_SetFont(view->gc, font, false);
  W_SetForeground(view->gc, color);
  WtDraw_DrawString(Window(view), view->gc, x, baseline, text);
}

// --- Cells ---------------------------------------------------------------------------------

void DrawFrame(WFshow_View view, int x, int y, const W_Color& color, bool pressed) {
  // Under the panel a frame would reach into it.
  if (y < view->panelHeight) return;
  const W_Window win = Window(view);
  W_GC gc = view->gc;
  const int last = WFshow_kCellBox - 1;
  W_SetForeground(gc, HalfWayToWhite(color));
  const W_Segment outer[4] = {{x + 1, y, x + last - 1, y},
                              {x + 1, y + last, x + last - 1, y + last},
                              {x, y + 1, x, y + last - 1},
                              {x + last, y + 1, x + last, y + last - 1}};
  W_DrawSegments(win, gc, outer, 4);
  W_SetForeground(gc, color);
  W_DrawRectangle(win, gc, x + 1, y + 1, last - 2, last - 2);
  const W_Color button = WtColors_buttonColor;
  W_SetForeground(gc, pressed ? WtColors_Darker(button, 32) : WtColors_Lighter(button, 24));
  W_DrawRectangle(win, gc, x + 2, y + 2, last - 4, last - 4);
}

void DrawBackground(WFshow_View view, int x, int y, bool pressed) {
  W_GC tile = view->tileGC[pressed ? 1 : 0];
  W_SetTSOrigin(tile, x, y);
  W_FillRectangle(Window(view), tile, x, y, WFshow_kIconArea, WFshow_kIconArea);
}

// A folder without icon: its title, cut to fit; a stopped one says so.
void DrawTitle(WFshow_View view, StrIn name, int x, int y, bool disabled, bool stopped) {
  const std::string title = Fitted(std::string(name.View()), kTitleFont, WFshow_kIconArea);
  const TextSize t = Measure(kTitleFont, title);
  const int height = t.ascent + t.descent;
  const int titleX = x + (WFshow_kIconArea - t.width) / 2;
  const W_Color& color = disabled ? WtColors_insensitiveColor : kTextColor;
  if (!stopped) {
    DrawText(view, kTitleFont, color, titleX, y + (WFshow_kIconArea - height) / 2 + t.descent, title);
    return;
  }
  DrawText(view, kTitleFont, color, titleX, y + WFshow_kIconArea - 2 - t.ascent, title);
  int width;
  const StrIn stop = WFshow_StoppedText(width);
  DrawText(view, kTitleFont, WFshow_filesColor, x + (WFshow_kIconArea - width) / 2, y + 4 + t.descent, stop);
}

void DrawMark(WFshow_View view, const WFshow_Icon& mark, int x, int y) {
  if (mark.pixmap != 0) WtDraw_DrawIcon(Window(view), mark.pixmap, x, y);
}

// The icon area of a cell at (x, y): background, icon or title, marks. In
// edit mode a kind that is not editable shows its disabled form.
void DrawIconArea(WFshow_View view, const WFshow_Cell& cell, int x, int y, bool pressed) {
  // A full target disk has its colour; only a folder stopped by its mark
  // gets the stop mark.
  const bool stopped = view->mode == WFshow_kStatusMode && cell.stopState == WFshow_kStopped;
  const WFfolder_FolderKind kind = WFfolder_Kind(cell.folder);
  const bool disabled = view->mode == WFshow_kEditMode && !WFshow_Editable(kind);
  WFshow_Icon icon = WFshow_KindIcon(kind, disabled);
  if (WFfolder_UserDef(cell.folder)) WFshow_UserDefIcon(cell.folder, stopped, icon);
  // An icon is drawn whole: one that would reach under the panel is left out.
  if (y < view->panelHeight) icon = WFshow_Icon{};
  NameStr title;
  if (WFfolder_UserDef(cell.folder)) WFfolder_GetName(cell.folder, title);
  else WFfolder_GetIconTitleByKind(kind, title);
  const bool iconShown = WFshow_DrawIconArea(view, x, y, icon, title, disabled, pressed, stopped);
  if (view->mode != WFshow_kStatusMode || y < view->panelHeight) return;
  // A title says it is stopped: no mark over it.
  if (stopped && iconShown) {
    const WFshow_Icon& mark = WFshow_StopMark();
    DrawMark(view, mark, x + WFshow_kIconArea - mark.width, y + WFshow_kIconArea - mark.height);
  }
  if (WFfolder_ExecuteOn(cell.folder) == 2) {
    const WFshow_Icon& mark = WFshow_ClusterMark();
    DrawMark(view, mark, x, y + WFshow_kIconArea - mark.height);
  }
}

void DrawCell(WFshow_View view, const WFshow_Cell& cell, bool frameOnly) {
  int x, y;
  WFshow_GetPos(view, cell.column, cell.row, x, y);
  const bool pressed = (view->inputState == WFshow_open && view->tipFolder == cell.folder) ||
                       (cell.folder != nullptr && (cell.folder == view->pressed || cell.folder == view->editFolder));
  DrawFrame(view, x, y, WFshow_FrameColor(view, cell), pressed);
  if (!frameOnly) DrawIconArea(view, cell, x + kInner, y + kInner, pressed);
}

Regions_Rect CellBox(WFshow_View view, const WFshow_Cell& cell) {
  Regions_Rect r{0, 0, WFshow_kCellBox, WFshow_kCellBox};
  WFshow_GetPos(view, cell.column, cell.row, r.x, r.y);
  return r;
}

// --- Connections --------------------------------------------------------------------------

struct Path {
  W_Point points[3];
  bool arrow = false;
  bool bend = false;    // the first piece is not horizontal
  int x1 = 0, y1 = 0;   // the source's box
  int direction = 0;    // the end against the start: 1 higher, -1 lower, 0 level
};

// The slope of a link: its rise over the run from the source's icon area.
double Slope(int x1, int y1, int x2, int y2) {
  const int dx = x2 - WFshow_kIconArea - x1;
  return static_cast<double>(y2 - y1) / (dx != 0 ? dx : 1);
}

// Which links of the source run straight first and bend at their end: the
// only one, or of two links rising (falling) both, the flatter one.
bool StraightFirst(const std::vector<double>& slopes, std::size_t index) {
  if (slopes.size() == 1) return true;
  if (slopes.size() != 2) return false;
  const double s = slopes[index];
  if (slopes[0] > 0 && slopes[1] > 0) return s - std::min(slopes[0], slopes[1]) < 0.000001;
  if (slopes[0] < 0 && slopes[1] < 0) return std::max(slopes[0], slopes[1]) - s < 0.000001;
  return false;
}

Path MakePath(WFshow_View view, const WFshow_Cell& from, const WFshow_Link& link, bool straightFirst) {
  Path p;
  int x2, y2;
  WFshow_GetPos(view, from.column, from.row, p.x1, p.y1);
  WFshow_GetPos(view, link.other->column, link.other->row, x2, y2);
  p.points[0] = {p.x1 + WFshow_kCellBox, p.y1 + kMid};
  p.points[2] = {x2, y2 + kMid};
  if (straightFirst) {
    p.points[1] = {x2 - kGap, p.y1 + kMid};
    p.arrow = y2 == p.y1;
  } else {
    p.points[1] = {p.x1 + WFshow_kColPitch, y2 + kMid};
    p.arrow = x2 > p.x1 + WFshow_kColPitch || y2 == p.y1;
    p.bend = y2 != p.y1;
  }
  // A link to the workflow's hidden end shows where it ends by its arrow,
  // whichever way its last piece runs.
  p.arrow = p.arrow || WFfolder_InvisibleEnd(link.other->folder);
  p.direction = y2 > p.y1 ? 1 : (y2 < p.y1 ? -1 : 0);
  return p;
}

Regions_Rect PathBox(const Path& p) {
  int left = p.points[0].x, right = left, low = p.points[0].y, high = low;
  for (const W_Point& q : p.points) {
    left = std::min(left, q.x), right = std::max(right, q.x);
    low = std::min(low, q.y), high = std::max(high, q.y);
  }
  return {left - 1, low - kArrowWidth, right - left + 2, high - low + 2 * kArrowWidth + 1};
}

// Where the label of a link stands: beside its first piece, above it for
// a link going up or level, below for one going down; on a bend, over or
// under the source's box and ending at its right side, clear of the line.
Regions_Rect LabelBox(const Path& p, const TextSize& t) {
  Regions_Rect r{0, 0, t.width, t.ascent + t.descent};
  const int middle = p.y1 + kMid;
  if (p.bend) {
    r.x = p.x1 + WFshow_kCellBox - t.width;
    r.y = p.direction > 0 ? p.y1 + WFshow_kCellBox + 4 : p.y1 - 4 - r.height;
  } else {
    r.x = p.x1 + WFshow_kCellBox + 3;
    r.y = p.direction >= 0 ? middle + 3 : middle - 3 - r.height;
  }
  return r;
}

void DrawLabel(WFshow_View view, const Path& p, StrIn label) {
  const TextSize t = Measure(kLabelFont, label);
  const Regions_Rect r = LabelBox(p, t);
  // Anti-aliased text adds to what is there.
  if (W_UseXft()) W_ClearArea(Window(view), r.x, r.y, r.width, r.height, false);
  DrawText(view, kLabelFont, kLabelColor, r.x, r.y + t.descent, label);
}

void DrawPath(WFshow_View view, const Path& p) {
  W_SetForeground(view->gc, kLineColor);
  W_DrawLines(Window(view), view->gc, p.points, 3);
  if (!p.arrow) return;
  // Two strokes back from the tip along the last piece: to (x - 6, y +/- 3)
  // on a horizontal one.
  const W_Point tip = p.points[2];
  W_Point from = p.points[1];
  if (from.x == tip.x && from.y == tip.y) from = p.points[0];
  const double dx = tip.x - from.x, dy = tip.y - from.y, length = std::hypot(dx, dy);
  if (length == 0) return;
  const double ux = dx / length, uy = dy / length;
  auto at = [&](double side) {
    return W_Point{static_cast<int>(std::lround(tip.x - kArrowLength * ux - side * uy)),
                   static_cast<int>(std::lround(tip.y - kArrowLength * uy + side * ux))};
  };
  const W_Point left = at(kArrowWidth), right = at(-kArrowWidth);
  const W_Segment head[2] = {{tip.x, tip.y, left.x, left.y}, {tip.x, tip.y, right.x, right.y}};
  W_DrawSegments(Window(view), view->gc, head, 2);
}

// The connections of one source that reach `area`, labelled on the outs of
// the smallest and largest slope (first and last when all are equal).
void DrawConnectionsOf(WFshow_View view, const WFshow_Cell& from, const Regions_Rect& area) {
  const std::size_t n = from.outLinks.size();
  if (n == 0) return;
  std::vector<double> slopes;
  for (const WFshow_Link& link : from.outLinks) {
    int x1, y1, x2, y2;
    WFshow_GetPos(view, from.column, from.row, x1, y1);
    WFshow_GetPos(view, link.other->column, link.other->row, x2, y2);
    slopes.push_back(Slope(x1, y1, x2, y2));
  }
  const auto [low, high] = std::minmax_element(slopes.begin(), slopes.end());
  const bool allEqual = *high - *low < 0.000001;
  for (std::size_t i = 0; i < n; ++i) {
    const WFshow_Link& link = from.outLinks[i];
    const Path p = MakePath(view, from, link, StraightFirst(slopes, i));
    NameStr label = "";
    const bool labelled = allEqual ? (i == 0 || i == n - 1)
                                   : (slopes[i] == *low || slopes[i] == *high);
    if (labelled) WFfolder_GetOutDescription(from.folder, link.out, label);
    Regions_Rect box = PathBox(p);
    const bool hasLabel = !StrIn(label).Empty();
    const Regions_Rect labelBox = hasLabel ? LabelBox(p, Measure(kLabelFont, label)) : Regions_Rect{};
    if (!Regions_RectsMeet(box, area) && !(hasLabel && Regions_RectsMeet(labelBox, area))) continue;
    DrawPath(view, p);
    if (hasLabel) DrawLabel(view, p, label);
  }
}

// An end folder that writes outside the workflows' root says so beside it.
void DrawOutsideMark(WFshow_View view, const WFshow_Cell& cell, const Regions_Rect& area) {
  if (WFfolder_Kind(cell.folder) != kWFfolderEnd) return;
  PathStr path, root;
  WFfolder_GetPath(cell.folder, path);
  WFfolder_GetRootDir(kWFfolderStart, root);
  if (DirAcces_PathStartsWith(path, root)) return;
  int x, y;
  WFshow_GetPos(view, cell.column, cell.row, x, y);
  const TextSize t = Measure(kLabelFont, "...");
  const Regions_Rect box{x + WFshow_kCellBox + 2, y + kMid, t.width, t.ascent + t.descent};
  if (Regions_RectsMeet(box, area)) DrawText(view, kLabelFont, kLabelColor, box.x, box.y, "...");
}

}  // namespace

bool WFshow_DrawIconArea(WFshow_View view, int x, int y, const WFshow_Icon& icon, StrIn title, bool disabled,
                         bool pressed, bool stopped) {
  DrawBackground(view, x, y, pressed);
  if (icon.pixmap == 0) {
    DrawTitle(view, title, x, y, disabled, stopped);
    return false;
  }
  WtDraw_DrawIcon(Window(view), icon.pixmap, x + (WFshow_kIconArea - icon.width) / 2,
                  y + (WFshow_kIconArea - icon.height) / 2);
  return true;
}

W_Color WFshow_FrameColor(WFshow_View view, const WFshow_Cell& cell) {
  if (view->mode != WFshow_kStatusMode) return cell.marked ? WFshow_markedColor : WFshow_idleColor;
  if (cell.stopState == WFshow_kDiscFull) return WFshow_discFullColor;
  switch (cell.status) {
    case 1:
    case 2: return WFshow_filesColor;
    case 3: return WFshow_jobsWaitColor;
    case 4: return WFshow_jobsRunColor;
    default: return WFshow_idleColor;
  }
}

Regions_Rect WFshow_GraphArea(WFshow_View view) {
  const Widget w = view->draw;
  const int inset = std::max(w->frameWidth, 0), bottom = std::max(view->panelHeight, inset);
  return {inset, bottom, std::max(w->width - 2 * inset, 0), std::max(w->height - inset - bottom, 0)};
}

void WFshow_DrawArea(WFshow_View view, const Regions_Rect& area) {
  for (const auto& cell : view->cells)
    if (!WFfolder_InvisibleEnd(cell->folder) && Regions_RectsMeet(CellBox(view, *cell), area))
      DrawCell(view, *cell, false);
  for (const auto& cell : view->cells) {
    DrawConnectionsOf(view, *cell, area);
    DrawOutsideMark(view, *cell, area);
  }
}

void WFshow_ExposeHandler(Widget w, const Regions_Region&, const W_Event& event, std::uintptr_t data) {
  if (event.kind != W_Expose && event.kind != W_GraphicsExpose) return;
  auto view = reinterpret_cast<WFshow_View>(data);
  if (view->gc == nullptr) return;
  const Regions_Rect exposed{event.expose.x, event.expose.y, event.expose.width, event.expose.height};
  const Regions_Rect area = Regions_IntersectRects(WFshow_GraphArea(view), exposed);
  if (area.width > 0 && area.height > 0) {
    W_SetImplicitClipping(w->window, area.x, area.y, area.width, area.height);
    WFshow_DrawArea(view, area);
    W_UnsetImplicitClipping();
  }
  // The panel and the trash can lie over the graph.
  if (view->mode == WFshow_kEditMode) WFshow_DrawEditMode(view, exposed);
}

void WFshow_RedrawCell(WFshow_View view, const WFshow_Cell& cell, bool frameOnly) {
  const Widget w = view->draw;
  if (!w->mapped || w->window == 0 || view->gc == nullptr) return;
  const Regions_Rect area = WFshow_GraphArea(view), box = CellBox(view, cell);
  if (!Regions_RectsMeet(box, area)) return;
  W_SetImplicitClipping(w->window, area.x, area.y, area.width, area.height);
  DrawCell(view, cell, frameOnly);
  W_UnsetImplicitClipping();
  if (view->mode == WFshow_kEditMode) WFshow_DrawEditMode(view, box);
}

void WFshow_RedrawAll(WFshow_View view) {
  if (view->draw->window != 0) WtDraw_RedrawWidget(view->draw);
}

void WFshow_MakeGCs(WFshow_View view) {
  if (view->gc != nullptr) return;
  view->gc = W_CreateGC();
  view->xorGC = W_CreateGC();
  W_SetExorMode(view->xorGC, true);
  const W_Color button = WtColors_buttonColor;
  // Raised, the face is lighter at the top like every raised face of the
  // toolkit (and the icons' own light); pressed, darker there.
  const W_Color faces[2] = {button, WtColors_Darker(button, 32)};
  const int gradients[2] = {60, -60};
  for (int i = 0; i < 2; ++i) {
    view->tileGC[i] = W_CreateGC();
    view->tile[i] = WtDraw_GetVRampPixmap(faces[i], WFshow_kIconArea, gradients[i]);
    W_SetForeground(view->tileGC[i], faces[i]);
    // Few colours: the plain face.
    if (view->tile[i] == 0) continue;
    W_SetTile(view->tileGC[i], view->tile[i]);
    W_SetFillStyle(view->tileGC[i], 1);
  }
}

void WFshow_FreeGCs(WFshow_View view) {
  for (W_GC* gc : {&view->gc, &view->xorGC, &view->tileGC[0], &view->tileGC[1]}) {
    if (*gc != nullptr) W_DestroyGC(*gc);
    *gc = nullptr;
  }
  for (W_Pixmap& tile : view->tile) WtDraw_ReleaseIcons(tile);
}
