#include "toolkit/CWFrame.h"

#include <algorithm>

#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"

Classes_ClassPtr CWFrame_class = nullptr;

namespace {

constexpr int kLine = 2;     // the etched line: a dark and a light one
constexpr int kTitleSize = 1;  // the small font

using Frame = CWFrame_Rec*;
Frame AsFrame(Widget w) { return static_cast<Frame>(w); }
CWGroup_ClassRec* Super() { return static_cast<CWGroup_ClassRec*>(CWHVBox_vboxClass); }

struct Title {
  int width = 0, ascent = 0, descent = 0;
};

Title TitleOf(Frame f) {
  Title t;
  if (!CAttribs_Text(f->TEXT).Empty()) W_TextExtents(kTitleSize, false, CAttribs_Text(f->TEXT), t.width, t.ascent, t.descent);
  return t;
}

// The room between the frame's edge and its children, per side.
void Insets(Frame f, int& top, int& bottom, int& side) {
  const Title t = TitleOf(f);
  const int title = std::max(kLine, t.ascent + t.descent);
  side = kLine + f->frameGap;
  top = (f->labelPos == 0 ? title : kLine) + f->frameGap;
  bottom = (f->labelPos == 1 ? title : kLine) + f->frameGap;
}

void MyQueryGeometry(Widget w, Geometry& result) {
  Frame f = AsFrame(w);
  Super()->QueryGeometry(w, result);
  int top, bottom, side;
  Insets(f, top, bottom, side);
  result.hDim.min = std::max(result.hDim.min + 2 * side, TitleOf(f).width + 2 * (f->labelGap + kLine + 2));
  result.vDim.min += top + bottom;
}

void MyConfigure(Widget w) {
  Frame f = AsFrame(w);
  int top, bottom, side;
  Insets(f, top, bottom, side);
  const int x = w->innerX, y = w->innerY, width = w->innerWidth, height = w->innerHeight;
  w->innerX += side;
  w->innerY += bottom;
  w->innerWidth -= 2 * side;
  w->innerHeight -= top + bottom;
  Super()->Configure(w);
  w->innerX = x, w->innerY = y, w->innerWidth = width, w->innerHeight = height;
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  Super()->Expose(w, region, event);
  Frame f = AsFrame(w);
  const Title t = TitleOf(f);
  const int lineOffset = (t.ascent + t.descent) / 2;
  const int left = w->innerX, right = w->innerX + w->innerWidth - 1;
  const int bottom = w->innerY + (f->labelPos == 1 ? lineOffset : 0);
  const int top = w->innerY + w->innerHeight - 1 - (f->labelPos == 0 ? lineOffset : 0);
  const W_Color base = CWCore_EffectiveBackground(w);
  W_GC gc = WtDraw_GetGC();
  // The etched line: dark, and light one pixel inside.
  for (int pass = 0; pass < 2; ++pass) {
    W_SetForeground(gc, pass == 0 ? WtColors_Darker(base, 96) : WtColors_Lighter(base, 24));
    W_DrawRectangle(w->window, gc, left + pass, bottom + pass, right - left - 1, top - bottom - 1);
  }
  if (t.width > 0) {
    const int free = w->innerWidth - t.width - 2 * f->labelGap;
    const int x = left + f->labelGap + (f->labelHoriAlign == 0 ? 0 : f->labelHoriAlign == 1 ? free / 2 : free);
    const int lineY = f->labelPos == 0 ? top : bottom;
    W_SetForeground(gc, base);
    W_FillRectangle(w->window, gc, x - 2, lineY - lineOffset, t.width + 4, t.ascent + t.descent);
    W_SetFont(gc, kTitleSize, false);
    W_SetForeground(gc, WtColors_IsCopyColor(f->labelColor) ? W_Color{0, 0, 0} : f->labelColor);
    W_DrawString(w->window, gc, x, lineY - lineOffset + t.descent, CAttribs_Text(f->TEXT));
  }
  WtDraw_ReleaseGC(gc);
}

void MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWGroup_ClassRec*>(c);
  auto* p = static_cast<CWFrame_Rec*>(prototype);
  cls->QueryGeometry = MyQueryGeometry;
  cls->Configure = MyConfigure;
  cls->Expose = MyExpose;
  CAttribs_DefStrAttr(c, "TEXT", kNameCap - 1, &p->TEXT);
  CAttribs_DefAttr(c, "labelColor", 11, &p->labelColor);
  CAttribs_DefAttr(c, "labelPos", 0, &p->labelPos);
  CAttribs_DefAttr(c, "labelHoriAlign", 0, &p->labelHoriAlign);
  CAttribs_DefAttr(c, "labelGap", 3, &p->labelGap);
  CAttribs_DefAttr(c, "frameGap", 3, &p->frameGap);
  p->labelColor = W_Color{0, 0, 0};
  p->labelGap = 8;
  p->frameGap = 4;
}

}  // namespace

void CWFrame_CreateClass() {
  if (CWFrame_class != nullptr) return;
  CWHVBox_CreateClass();
  CWFrame_class = new CWGroup_ClassRec;
  Classes_MakeClass(CWFrame_class, CWHVBox_vboxClass, "WFrame", sizeof(CWFrame_Rec),
                    MyInitClass, nullptr, nullptr, "FRAME");
}
