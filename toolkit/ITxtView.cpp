// ITxtView: the text viewer's window. The text area is a drawing widget
// (GENERIC) that draws the lines in view in the fixed-width font; the two
// bars are the dialog's sliders, the vertical one counting from the bottom
// (its value is the number of lines below the last one shown), as the
// toolkit's y runs upward.
#include "toolkit/ITxtView.h"

#include <algorithm>
#include <string>

#include "base/SIdPool.h"
#include "toolkit/CWDraw.h"
#include "toolkit/CWSlider.h"
#include "toolkit/I.h"
#include "toolkit/ITxtViewPrivate.h"
#include "toolkit/WTranslt.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtUtf8.h"

namespace {

constexpr char kDialog[] = "_txtView";
constexpr int kMargin = 4;
constexpr int kFontSize = 2;  // normal, fixed width
constexpr std::uint64_t kWheelLines = 3;
const W_Color kInk{0, 0, 0};
const W_Color kFoundBand{255, 236, 150};

struct Viewer {
  I_Context context = nullptr;
  Widget area = nullptr;
  ITxtView_Text text;
  std::uint64_t top = 0;       // the first line shown
  std::int32_t left = 0;       // columns scrolled away
  std::int64_t found = -1;     // the line found last
  std::int32_t rows = 1, columns = 1, lineHeight = 1, charWidth = 1, descent = 0;
  std::int32_t vHigh = -1, hHigh = -1, vSize = -1, hSize = -1;  // what the bars were given last
  char title[128] = "";        // the catalog's title, behind the file's name
};
Viewer* viewer = nullptr;

std::uint64_t MaxTop(const Viewer& v) {
  const auto rows = static_cast<std::uint64_t>(v.rows);
  return v.text.LineCount() > rows ? v.text.LineCount() - rows : 0;
}

std::int32_t MaxLeft(const Viewer& v) {
  return std::max(0, static_cast<std::int32_t>(v.text.Widest()) - v.columns + 1);
}

std::int32_t Clamp32(std::uint64_t value) {
  return static_cast<std::int32_t>(std::min<std::uint64_t>(value, 0x7FFFFFFF));
}

// "slSize" of a bar when it changed.
void SetBarSize(Viewer& v, std::int32_t element, std::int32_t& last, std::int32_t size) {
  if (size == last) return;
  last = size;
  I_SetReprAttr(v.context, element, CWSlider_slSizeAT, &size, sizeof size);
}

void PutBars(Viewer& v) {
  const std::int32_t vHigh = Clamp32(MaxTop(v)), hHigh = MaxLeft(v);
  if (vHigh != v.vHigh) I_SetINTEGERrange(v.context, ITxtView_kTop, 0, v.vHigh = vHigh);
  if (hHigh != v.hHigh) I_SetINTEGERrange(v.context, ITxtView_kLeft, 0, v.hHigh = hHigh);
  I_PutINTEGER(v.context, ITxtView_kTop, vHigh - Clamp32(v.top));
  I_PutINTEGER(v.context, ITxtView_kLeft, v.left);
  SetBarSize(v, ITxtView_kTop, v.vSize, std::max(v.rows, 1));
  SetBarSize(v, ITxtView_kLeft, v.hSize, std::max(v.columns, 1));
  const std::uint64_t shown = v.text.LineCount() == 0 ? 0 : v.top + 1;
  I_PutSTRING(v.context, ITxtView_kWhere, std::to_string(shown) + " / " + std::to_string(v.text.LineCount()));
}

void Redraw(Viewer& v) {
  if (v.area != nullptr) WtDraw_RedrawWidget(v.area);
}

void ScrollTo(Viewer& v, std::uint64_t top, std::int32_t left) {
  top = std::min(top, MaxTop(v));
  left = std::clamp(left, 0, MaxLeft(v));
  if (top == v.top && left == v.left) return;
  v.top = top;
  v.left = left;
  PutBars(v);
  Redraw(v);
}

// The text after the first `columns` characters of `line`.
std::string FromColumn(const std::string& line, std::int32_t columns) {
  int at = 0;
  for (std::int32_t i = 0; i < columns && at < static_cast<int>(line.size()); ++i) at = WtUtf8_Next(line, at);
  return line.substr(static_cast<std::size_t>(at));
}

void Expose(Widget w, const Regions_Region&, const W_Event& event, std::uintptr_t) {
  if (viewer == nullptr) return;
  Viewer& v = *viewer;
  W_GC gc = WtDraw_GetGC();
  W_SetFont(gc, kFontSize, true);
  const int top = w->height - kMargin;
  const int first = std::max(0, (top - (event.expose.y + event.expose.height)) / v.lineHeight);
  const int last = std::min(v.rows, (top - event.expose.y) / v.lineHeight + 1);
  for (int row = first; row < last; ++row) {
    const std::uint64_t index = v.top + static_cast<std::uint64_t>(row);
    if (index >= v.text.LineCount()) break;
    const int bottom = top - (row + 1) * v.lineHeight;
    if (static_cast<std::int64_t>(index) == v.found) {
      W_SetForeground(gc, kFoundBand);
      W_FillRectangle(w->window, gc, w->frameWidth, bottom, w->width - 2 * w->frameWidth, v.lineHeight);
    }
    W_SetForeground(gc, kInk);
    const std::string shown = FromColumn(v.text.Line(index), v.left);
    if (!shown.empty()) W_DrawString(w->window, gc, kMargin, bottom + v.descent, shown);
  }
  WtDraw_ReleaseGC(gc);
}

void Configure(Widget w, std::uintptr_t) {
  if (viewer == nullptr) return;
  Viewer& v = *viewer;
  int width = 0, ascent = 0, descent = 0;
  W_TextExtents(kFontSize, true, StrIn("MMMMMMMMMM"), width, ascent, descent);
  v.charWidth = std::max(1, width / 10);
  v.lineHeight = std::max(1, ascent + descent + 1);
  v.descent = descent;
  v.rows = std::max(1, (w->height - 2 * kMargin) / v.lineHeight);
  v.columns = std::max(1, (w->width - 2 * kMargin) / v.charWidth);
  v.top = std::min(v.top, MaxTop(v));
  v.left = std::clamp(v.left, 0, MaxLeft(v));
  PutBars(v);
}

// Keys while the text area has the focus, and the wheel.
bool Input(Widget, W_Event& event, std::uintptr_t) {
  if (viewer == nullptr) return false;
  Viewer& v = *viewer;
  const auto rows = static_cast<std::uint64_t>(std::max(v.rows - 1, 1));
  const auto up = [&](std::uint64_t n) { return v.top > n ? v.top - n : 0; };
  if (event.kind == W_ButtonPress && (event.input.button == 3 || event.input.button == 4)) {
    ScrollTo(v, event.input.button == 3 ? up(kWheelLines) : v.top + kWheelLines, v.left);
    return true;
  }
  if (event.kind == W_ButtonPress) return true;  // takes the focus, and nothing else
  if (event.kind != W_KeyPress) return false;
  switch (event.input.ch) {
    case W_KeyUp: ScrollTo(v, up(1), v.left); return true;
    case W_KeyDown: ScrollTo(v, v.top + 1, v.left); return true;
    case W_KeyPrior: ScrollTo(v, up(rows), v.left); return true;
    case W_KeyNext: ScrollTo(v, v.top + rows, v.left); return true;
    case W_KeyHome: ScrollTo(v, 0, 0); return true;
    case W_KeyEnd: ScrollTo(v, MaxTop(v), v.left); return true;
    case W_KeyLeft: ScrollTo(v, v.top, v.left - 8); return true;
    case W_KeyRight: ScrollTo(v, v.top, v.left + 8); return true;
    default: return false;
  }
}

void ScrollCB(I_Context, std::int32_t number, std::int32_t value, std::uintptr_t) {
  if (viewer == nullptr) return;
  Viewer& v = *viewer;
  if (number == ITxtView_kTop) ScrollTo(v, static_cast<std::uint64_t>(std::max(v.vHigh - value, 0)), v.left);
  else ScrollTo(v, v.top, value);
}

void CommandCB(I_Context context, std::int32_t, std::int32_t value, std::uintptr_t) {
  if (value == ITxtView_cmdClose) return ITxtView_Hide();
  if (value != ITxtView_cmdFind) return;
  TextStr text;
  I_GetSTRING(context, ITxtView_kFind, text);
  ITxtView_Find(text);
}

void FindTextCB(I_Context, std::int32_t, StrIn text, std::uintptr_t) { ITxtView_Find(text); }

void CloseCB(I_Context, bool, std::uintptr_t) { ITxtView_Hide(); }

// The window, made on the first show; false without a display or dialog.
bool Make() {
  if (viewer != nullptr) return true;
  I_Context context = I_Create(kDialog, false);
  if (context == nullptr) return false;
  viewer = new Viewer;
  viewer->context = context;
  viewer->area = I_AccessWidget(context, ITxtView_kText);
  I_GetReprAttr(context, -1, SIdPool_EnterId("title"), viewer->title, sizeof viewer->title);
  if (viewer->area != nullptr) {
    CWDraw_SetExposeHook(viewer->area, Expose, 0);
    CWDraw_SetConfigureHook(viewer->area, Configure, 0);
    CWDraw_SetInputHook(viewer->area, Input, 0);
  }
  I_SetINTEGERcallback(context, ITxtView_kCommand, CommandCB, 0);
  I_SetINTEGERcallback(context, ITxtView_kTop, ScrollCB, 0);
  I_SetINTEGERcallback(context, ITxtView_kLeft, ScrollCB, 0);
  I_SetSTRINGcallback(context, ITxtView_kFind, FindTextCB, 0);
  I_SetCloseCallback(context, CloseCB, 0);
  return true;
}

}  // namespace

bool ITxtView_Show(StrIn path) {
  ITxtView_Text text;
  if (!text.Open(path.Str()) || !Make()) return false;
  Viewer& v = *viewer;
  v.text.Swap(text);
  v.top = 0;
  v.left = 0;
  v.found = -1;
  I_PutSTRING(v.context, ITxtView_kTitle, path);
  const std::string file = path.Str().substr(path.Str().rfind('/') + 1), title = file + " - " + v.title;
  I_SetReprAttr(v.context, -1, SIdPool_EnterId("title"), title.c_str(), static_cast<std::uint32_t>(title.size() + 1));
  if (v.area != nullptr) Configure(v.area, 0);
  I_Activate(v.context);
  Redraw(v);
  return true;
}

void ITxtView_Hide() {
  if (viewer == nullptr) return;
  I_Deactivate(viewer->context);
  viewer->text.Close();
}

I_Context ITxtView_Context() { return viewer != nullptr ? viewer->context : nullptr; }

bool ITxtView_Shown() { return viewer != nullptr && I_Active(viewer->context); }

std::uint64_t ITxtView_LineCount() { return viewer != nullptr ? viewer->text.LineCount() : 0; }
std::uint64_t ITxtView_TopLine() { return viewer != nullptr ? viewer->top : 0; }
std::int64_t ITxtView_FoundLine() { return viewer != nullptr ? viewer->found : -1; }

std::string ITxtView_Line(std::uint64_t index) { return viewer != nullptr ? viewer->text.Line(index) : std::string(); }

bool ITxtView_Find(StrIn text) {
  if (viewer == nullptr || text.Empty()) return false;
  Viewer& v = *viewer;
  const std::uint64_t from = v.found >= 0 ? static_cast<std::uint64_t>(v.found) + 1 : v.top;
  std::size_t column = 0;
  v.found = v.text.Find(text.Str(), from < v.text.LineCount() ? from : 0, column);
  if (v.found < 0) {
    W_Bell(0);
    Redraw(v);
    return false;
  }
  // The line found stands a third down the window; its match in view.
  const auto line = static_cast<std::uint64_t>(v.found);
  const std::uint64_t above = static_cast<std::uint64_t>(v.rows / 3);
  const bool inView = line >= v.top && line < v.top + static_cast<std::uint64_t>(v.rows);
  const auto col = static_cast<std::int32_t>(column);
  const bool colInView = col >= v.left && col < v.left + v.columns - 4;
  ScrollTo(v, inView ? v.top : (line > above ? line - above : 0), colInView ? v.left : std::max(0, col - 8));
  Redraw(v);
  return true;
}
