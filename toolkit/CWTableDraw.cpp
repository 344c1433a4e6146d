// Drawing a table's rows: each row in its shade, the selection's colour or
// the program's colours; cells with icons and texts, progress cells as a bar
// with the percentage over it; the grid and the header. Hidden columns are
// 0 wide and draw nothing.
#include <algorithm>
#include <cmath>
#include <string>

#include "toolkit/CWTableRec.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"

namespace {

const W_Color kShade{240, 240, 235};
const W_Color kGrid{200, 200, 195};
const W_Color kBar{110, 150, 215};
constexpr int kBarInset = 2;  // between the cell's border and the bar's frame

WtTableD_Table Descr(CWTable t) { return t->internTableDescr; }

bool Drawn(CWTable t, std::size_t column) { return t->state->columnWidth[column] > 0; }

// A rectangle cut to the rows and the header: a row cut by the lower edge
// must not draw over the frame, nor columns wider than the table over the
// scroll bar.
Regions_Rect Inside(CWTable t, int x, int bottom, int width, int height) {
  const CWTable_Area a = CWTable_InnerArea(t);
  return Regions_IntersectRects({x, bottom, width, height}, {a.left, a.bottom, a.right - a.left, a.top - a.bottom});
}

void Clip(CWTable t, W_GC gc, int x, int bottom, int width, int height) {
  const Regions_Rect r = Inside(t, x, bottom, width, height);
  W_SetClipRect(gc, r.x, r.y, std::max(r.width, 0), std::max(r.height, 0));
}

void Fill(CWTable t, W_GC gc, const W_Color& color, int x, int bottom, int width, int height) {
  const Regions_Rect r = Inside(t, x, bottom, width, height);
  if (r.width <= 0 || r.height <= 0) return;
  W_SetForeground(gc, color);
  W_FillRectangle(t->window, gc, r.x, r.y, r.width, r.height);
}

void DrawCellText(CWTable t, W_GC gc, int x, int width, int bottom, int height, int size, const std::string& text,
                  std::uint8_t align) {
  if (text.empty() || width <= 0) return;
  int descent;
  const int line = WtDraw_LineHeight(size, t->fontFixed && size == t->fontSize, &descent);
  const int textWidth = WtDraw_StringWidth(size, t->fontFixed, text);
  const int room = width - 2 * t->cellHoriBorder - 4;
  const int left = x + t->cellHoriBorder + 2 +
                   (align == 1 ? (room - textWidth) / 2 : align == 2 ? room - textWidth : 0);
  Clip(t, gc, x, bottom, width, height);
  W_DrawString(t->window, gc, std::max(left, x + t->cellHoriBorder + 2), bottom + (height - line) / 2 + descent, text);
  W_UnsetClipping(gc);
}

// A row's background and text: its shade, or the program's colours; a
// selected row on the selection's colour keeps the program's text colour
// (a failed job stays red when selected).
struct Ink {
  W_Color background, text;
};

Ink RowInk(CWTable t, std::size_t row) {
  const WtTableD_Record* r = t->state->rows[row];
  Ink ink{WtColors_inputColor, t->drawColor};
  if (t->fiveRowBlocks && (row / 5) % 2 == 1) ink.background = kShade;
  if (t->oneRowBlocks && row % 2 == 1) ink.background = kShade;
  W_Color background, text;
  const bool own = WtTableD_RowColors(Descr(t), r, background, text);
  if (own) ink = Ink{background, text};
  if (r->selected && t->selectMode != 0) {
    ink.background = t->selectionColor;
    if (!own) ink.text = WtColors_inputColor;
  }
  if (!t->sensitive) ink.text = WtColors_insensitiveColor;
  return ink;
}

// A progress cell: a framed bar filled in proportion (0 to 100), the
// percentage centred over it; nothing below 0.
void DrawProgress(CWTable t, W_GC gc, WtTableD_Column c, const WtTableD_Record* r, int x, int width, int bottom,
                  int height, const W_Color& text) {
  const double value = WtTableD_CellProgress(c, r);
  if (value < 0) return;
  const int barX = x + t->cellHoriBorder + kBarInset, barY = bottom + t->cellVertBorder + kBarInset;
  const int barWidth = width - 2 * (t->cellHoriBorder + kBarInset);
  const int barHeight = height - 2 * (t->cellVertBorder + kBarInset);
  if (barWidth > 2 && barHeight > 2) {
    Clip(t, gc, x, bottom, width, height);
    W_SetForeground(gc, kGrid);
    W_DrawRectangle(t->window, gc, barX, barY, barWidth - 1, barHeight - 1);
    const int filled = static_cast<int>(std::lround((barWidth - 2) * std::clamp(value, 0.0, 100.0) / 100.0));
    if (filled > 0) {
      W_SetForeground(gc, kBar);
      W_FillRectangle(t->window, gc, barX + 1, barY + 1, filled, barHeight - 2);
    }
    W_UnsetClipping(gc);
  }
  W_SetForeground(gc, text);
  DrawCellText(t, gc, x, width, bottom, height, t->fontSize, WtTableD_CellText(c, r), 1);
}

void DrawCell(CWTable t, W_GC gc, std::size_t column, const WtTableD_Record* r, int bottom, int height,
              const W_Color& text) {
  WtTableD_Column c = WtTableD_GetColumn(Descr(t), column);
  int x = t->state->columnX[column], width = t->state->columnWidth[column];
  if (WtTableD_KindOf(c) == WtTableD_kProgress) return DrawProgress(t, gc, c, r, x, width, bottom, height, text);
  int iconWidth, iconHeight;
  if (const W_Pixmap icon = CWTable_Icon(t, WtTableD_CellIcon(c, r), iconWidth, iconHeight)) {
    Clip(t, gc, x, bottom, width, height);
    WtDraw_DrawIcon(t->window, icon, x + t->cellHoriBorder + 2, bottom + (height - iconHeight) / 2);
    W_UnsetClipping(gc);
    x += iconWidth + CWTable_iconGap;
    width -= iconWidth + CWTable_iconGap;
  }
  W_SetForeground(gc, text);
  DrawCellText(t, gc, x, width, bottom, height, t->fontSize, WtTableD_CellText(c, r),
               WtTableD_KindOf(c) == WtTableD_kString ? t->hAlign : 0);
}

// Calls `draw(row, bottom, height)` for the rows in view, from the top.
template <typename Draw>
void ForRowsInView(CWTable t, Draw draw) {
  const CWTable_Area a = CWTable_InnerArea(t);
  const int height = CWTable_RowHeight(t);
  int bottom = a.rowsTop - height;
  for (std::size_t row = t->state->top; row < t->state->rows.size() && bottom + height > a.bottom;
       ++row, bottom -= height)
    draw(row, bottom, height);
}

void HoriLine(CWTable t, W_GC gc, int left, int right, int y) {
  const CWTable_Area a = CWTable_InnerArea(t);
  if (!t->horiLines || y < a.bottom) return;
  W_SetForeground(gc, kGrid);
  W_DrawLine(t->window, gc, left, y, std::min(right, a.right) - 1, y);
}

// The grid's line left of a column: between shown columns only.
void VertLine(CWTable t, W_GC gc, std::size_t column) {
  const CWTable_State& s = *t->state;
  if (!t->vertLines || column >= s.columnX.size() || !Drawn(t, column)) return;
  bool first = true;
  for (std::size_t i = 0; i < column && first; ++i) first = !Drawn(t, i);
  const CWTable_Area a = CWTable_InnerArea(t);
  const int x = s.columnX[column] - 1;
  if (first || x >= a.right) return;
  W_SetForeground(gc, kGrid);
  W_DrawLine(t->window, gc, x, a.bottom, x, a.rowsTop - 1);
}

void DrawRow(CWTable t, W_GC gc, std::size_t row, int bottom, int height) {
  const CWTable_Area a = CWTable_InnerArea(t);
  const Ink ink = RowInk(t, row);
  Fill(t, gc, ink.background, a.left, bottom, a.right - a.left, height);
  for (std::size_t i = 0; i < t->state->columnX.size(); ++i)
    if (Drawn(t, i)) DrawCell(t, gc, i, t->state->rows[row], bottom, height, ink.text);
  HoriLine(t, gc, a.left, a.right, bottom);
}

void DrawHeader(CWTable t, W_GC gc) {
  const CWTable_State& s = *t->state;
  const CWTable_Area a = CWTable_InnerArea(t);
  const int height = a.top - a.rowsTop;
  if (height <= 0) return;
  const int size = CWTable_HeaderSize(t);
  W_SetForeground(gc, t->headerBackground);
  W_FillRectangle(t->window, gc, a.left, a.rowsTop, a.right - a.left, height);
  W_SetFont(gc, size, false);
  for (std::size_t i = 0; i < s.columnX.size(); ++i) {
    if (!Drawn(t, i)) continue;
    WtDraw_Draw3DFrame2(t->window, true, t->headerBackground, 1, s.columnX[i], a.rowsTop, s.columnWidth[i], height);
    W_SetForeground(gc, t->headerDrawColor);
    std::string text = WtTableD_Header(WtTableD_GetColumn(Descr(t), i)).Str();
    if (static_cast<int>(i) == s.sortColumn) text += s.sortDescending ? " \xE2\x96\xBC" : " \xE2\x96\xB2";
    DrawCellText(t, gc, s.columnX[i], s.columnWidth[i], a.rowsTop, height, size, text, 0);
  }
}

void DrawFocus(CWTable t, W_GC gc) {
  if (!t->state->focused) return;
  const CWTable_Area a = CWTable_InnerArea(t);
  W_SetForeground(gc, WtColors_selectionColor);
  W_DrawRectangle(t->window, gc, a.left, a.bottom, a.right - a.left - 1, a.rowsTop - a.bottom - 1);
}

}  // namespace

void CWTable_DrawContents(CWTable t, W_GC gc) {
  const CWTable_Area a = CWTable_InnerArea(t);
  W_SetForeground(gc, WtColors_inputColor);
  W_FillRectangle(t->window, gc, a.left, a.bottom, a.right - a.left, a.rowsTop - a.bottom);
  W_SetFont(gc, t->fontSize, t->fontFixed);
  ForRowsInView(t, [&](std::size_t row, int bottom, int height) { DrawRow(t, gc, row, bottom, height); });
  for (std::size_t i = 1; i < t->state->columnX.size(); ++i) VertLine(t, gc, i);
  DrawHeader(t, gc);
  DrawFocus(t, gc);
  CWTable_DrawEditor(t, gc);
}

void CWTable_DrawColumnCells(CWTable t, W_GC gc, std::size_t column) {
  const CWTable_State& s = *t->state;
  if (column >= s.columnX.size() || !Drawn(t, column)) return;
  const int x = s.columnX[column], width = s.columnWidth[column];
  W_SetFont(gc, t->fontSize, t->fontFixed);
  ForRowsInView(t, [&](std::size_t row, int bottom, int height) {
    const Ink ink = RowInk(t, row);
    Fill(t, gc, ink.background, x, bottom, width, height);
    DrawCell(t, gc, column, s.rows[row], bottom, height, ink.text);
    HoriLine(t, gc, x, x + width, bottom);
  });
  // The line right of the column lies in its last pixel.
  std::size_t next = column + 1;
  while (next < s.columnX.size() && !Drawn(t, next)) ++next;
  VertLine(t, gc, next);
  DrawFocus(t, gc);
  CWTable_DrawEditor(t, gc);
}
