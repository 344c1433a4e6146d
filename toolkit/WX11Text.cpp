// FontSlot slots: six sizes (0 tiny, 1 small, 2 normal, 3 large, 4 huge,
// 5 normal bold), each proportional or mono, loaded on first use. A slot's
// font is chosen (WX11Text_CheckFontNew) from, in this order: the name in
// "TVFONT"; the X resource "font-<mono|prop>-<size>" of "Tavrin"; the user's
// font settings in the global settings file; the default families.
#include "toolkit/WX11Text.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "rc/SrcFile.h"
#include "toolkit/FontConfig.h"
#include "toolkit/WX11Grap.h"
#include "toolkit/WX11Win.h"
#include "toolkit/WtUtf8.h"
#include "toolkit/X11ft.h"

namespace {

constexpr int kSlots = 6;
constexpr int kBaseSizes[kSlots] = {10, 12, 14, 18, 24, 14};
constexpr const char* kSizeNames[kSlots] = {"tiny", "small", "normal", "large", "huge", "normalBold"};
constexpr char kPropFamilies[] = "bitstream vera sans|helvetica";
constexpr char kMonoFamilies[] = "bitstream vera sans mono|lucidatypewriter|screen";

struct FontSlot {
  bool tried = false;
  XFontStruct* core = nullptr;
  XftFont* xft = nullptr;
};

FontSlot fonts[kSlots][2];
int xftState = 0;  // 0 undecided, 1 in use, 2 not
double sizeFactor = 1.0;
std::unordered_map<W_Drawable, XftDraw*> draws;

bool Logging() { return DirAcces_CheckFlag("FONTLOGGING"); }

std::vector<std::string> SplitFamilies(const std::string& families) {
  std::vector<std::string> list;
  std::size_t start = 0;
  for (;;) {
    const std::size_t bar = families.find('|', start);
    list.push_back(families.substr(start, bar - start));
    if (bar == std::string::npos) return list;
    start = bar + 1;
  }
}

XftFont* OpenFontXft(const std::string& families, int size, int size2, bool bold, bool mono) {
  const FontConfig_Library& fc = FontConfig_lib;
  FcPattern* pattern = fc.FcPatternCreate();
  if (pattern == nullptr) return nullptr;
  for (const std::string& family : SplitFamilies(families))
    fc.FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
  fc.FcPatternAddDouble(pattern, FC_PIXEL_SIZE, size);
  if (size2 != size) fc.FcPatternAddDouble(pattern, FC_PIXEL_SIZE, size2);
  fc.FcPatternAddDouble(pattern, FC_DPI, WX11Text_LowResMonitor() ? 75.0 : 100.0);
  fc.FcPatternAddString(pattern, "encoding", reinterpret_cast<const FcChar8*>("iso8859-1"));
  if (mono) fc.FcPatternAddInteger(pattern, FC_SPACING, FC_MONO);
  fc.FcPatternAddInteger(pattern, FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_MEDIUM);
  fc.FcPatternAddInteger(pattern, FC_SLANT, FC_SLANT_ROMAN);
  int opcode, event, error;
  if (WX11Disp_deepestDepth < 15 || !XQueryExtension(WX11Disp_display, "RENDER", &opcode, &event, &error))
    fc.FcPatternAddBool(pattern, FC_ANTIALIAS, FcFalse);
  FcResult result;
  FcPattern* match = X11ft_lib.XftFontMatch(WX11Disp_display, WX11Disp_textScreen, pattern, &result);
  fc.FcPatternDestroy(pattern);
  if (match == nullptr) return nullptr;
  XftFont* font = X11ft_lib.XftFontOpenPattern(WX11Disp_display, match);
  if (font == nullptr) fc.FcPatternDestroy(match);
  return font;
}

// XLFD patterns from exact to loose: setwidth, then resolution, weight and
// slant become wildcards in turn.
XFontStruct* TryQueryFontX11(const std::string& families, int size, bool bold, bool mono) {
  const std::string resolution = WX11Text_LowResMonitor() ? "75-75-" : "100-100-";
  for (const std::string& family : SplitFamilies(families)) {
    const std::string spacing = family == "fixed" ? "c-" : (mono ? "m-" : "p-");
    const std::string weight = bold ? "bold-" : "medium-";
    const std::string levels[][4] = {{weight, "r-", "normal-", resolution},
                                     {weight, "r-", "*-", resolution},
                                     {weight, "r-", "*-", "*-*-"},
                                     {"*-", "r-", "*-", "*-*-"},
                                     {"*-", "*-", "*-", "*-*-"}};
    for (const auto& level : levels) {
      const std::string name = "-*-" + (family.empty() ? std::string("*-") : family + "-") + level[0] +
                               level[1] + level[2] + "*-" + std::to_string(size) + "-" + "*-" +
                               level[3] + spacing + "*-" + "iso8859-1";
      if (XFontStruct* font = XLoadQueryFont(WX11Disp_display, name.c_str())) return font;
    }
  }
  return nullptr;
}

// The fixed lists of the old selection: five names per size, the last a
// last resort.
std::vector<std::string> OldFontList(bool mono, int size, bool bold) {
  const std::string res = WX11Text_LowResMonitor() ? "75-75-" : "100-100-";
  const std::string weight = bold ? "bold-" : "medium-";
  const std::string px = std::to_string(size);
  const char* const families[] = {mono ? "lucidatypewriter" : "helvetica",
                                  mono ? "screen" : "new century schoolbook",
                                  mono ? "courier" : "lucida", mono ? "fixed" : "times"};
  std::vector<std::string> names;
  for (const char* family : families)
    names.push_back(std::string("-*-") + family + "-" + weight + "r-normal-*-" + px + "-*-" + res +
                    (mono ? "m-" : "p-") + "*-iso8859-1");
  names.push_back("-*-*-*-r-*-*-*-*-75-*-m-*-*-*");
  return names;
}

bool UserFontSetting(bool mono, int slot, std::string& family, int& size) {
  const std::string kind = mono ? "mono" : "prop";
  return Messages_Quietly([&] {
    if (!SrcFile_QueryBoolForeignProcess(StrIn("[global]WX11Text_font_" + kind + "_enabled")))
      return false;
    NameStr text;
    SrcFile_QueryStringForeignProcess(StrIn("[global]WX11Text_font_" + kind + "_family"), text);
    family = StrIn(text).Str();
    // The tiny proportional size is kept under "font", its mono sibling under "size".
    const std::string word = slot == 0 && !mono ? "font" : "size";
    const auto value =
        SrcFile_QueryCardForeignProcess(StrIn("[global]WX11Text_" + word + "_" + kind + "_" + kSizeNames[slot]));
    if (value > 0) size = static_cast<int>(value);
    return !family.empty();
  });
}

void OpenNamed(FontSlot& font, const char* name) {
  if (name == nullptr || *name == '\0') return;
  if (xftState == 1) font.xft = X11ft_lib.XftFontOpenName(WX11Disp_display, WX11Disp_textScreen, name);
  else font.core = XLoadQueryFont(WX11Disp_display, name);
}

void CheckFontNew(int slot, bool mono) {
  FontSlot& font = fonts[slot][mono ? 1 : 0];
  font.tried = true;
  OpenNamed(font, std::getenv("TVFONT"));
  if (font.xft != nullptr || font.core != nullptr) return;
  const std::string option = std::string("font-") + (mono ? "mono" : "prop") + "-" + kSizeNames[slot];
  OpenNamed(font, XGetDefault(WX11Disp_display, "Tavrin", option.c_str()));
  if (font.xft != nullptr || font.core != nullptr) return;
  std::string families = mono ? kMonoFamilies : kPropFamilies;
  int size = WX11Text_PixelSize(slot);
  UserFontSetting(mono, slot, families, size);
  const bool bold = slot > 2;
  if (xftState == 1) {
    if (mono) {
      const auto at = families.find("lucidatypewriter");
      if (at != std::string::npos) families.replace(at, 16, "bitstream vera sans mono");
    }
    font.xft = OpenFontXft(families, size, slot == 3 ? size - 2 : size, bold, mono);
    if (font.xft != nullptr) return;
  } else if (DirAcces_CheckFlag("OLDX11FONTS")) {
    for (const std::string& name : OldFontList(mono, size, bold))
      if ((font.core = XLoadQueryFont(WX11Disp_display, name.c_str())) != nullptr) return;
  } else {
    font.core = TryQueryFontX11(families, size, bold, mono);
    if (font.core == nullptr && slot == 3) font.core = TryQueryFontX11(families, size - 2, bold, mono);
  }
  if (font.core == nullptr && font.xft == nullptr) font.core = XLoadQueryFont(WX11Disp_display, "fixed");
  if (Logging())
    std::fprintf(stderr, "font slot %d %s: %s\n", slot, mono ? "mono" : "prop",
                 font.xft != nullptr ? "client side" : (font.core != nullptr ? "core" : "none"));
}

FontSlot& SlotFont(int slot, bool mono) {
  if (slot < 0 || slot >= kSlots) slot = 2;
  WX11Text_UseXft();
  FontSlot& font = fonts[slot][mono ? 1 : 0];
  if (!font.tried && WX11Disp_display != nullptr) CheckFontNew(slot, mono);
  return font;
}

XftDraw* DrawOf(W_Drawable drawable) {
  auto [at, made] = draws.try_emplace(drawable, nullptr);
  if (made)
    at->second = X11ft_lib.XftDrawCreate(WX11Disp_display, drawable, WX11Disp_bestVisual, WX11Win_Colormap());
  return at->second;
}

XftColor XftColorOf(W_Color color) {
  XftColor c{};
  c.pixel = WX11Grap_PixelOf(color);
  c.color.red = static_cast<unsigned short>(color.red * 257);
  c.color.green = static_cast<unsigned short>(color.green * 257);
  c.color.blue = static_cast<unsigned short>(color.blue * 257);
  c.color.alpha = 0xFFFF;
  return c;
}

void Extents(const FontSlot& font, StrIn text, int& width, int& ascent, int& descent) {
  const std::string_view t = text.View();
  width = ascent = descent = 0;
  if (font.xft != nullptr) {
    XGlyphInfo info{};
    X11ft_lib.XftTextExtentsUtf8(WX11Disp_display, font.xft, reinterpret_cast<const FcChar8*>(t.data()),
                                 static_cast<int>(t.size()), &info);
    width = info.xOff;
    ascent = font.xft->ascent;
    descent = font.xft->descent;
  } else if (font.core != nullptr) {
    const std::string latin1 = WtUtf8_ToLatin1(std::string(t));
    width = XTextWidth(font.core, latin1.data(), static_cast<int>(latin1.size()));
    ascent = font.core->ascent;
    descent = font.core->descent;
  }
}

void Draw(W_Drawable drawable, W_GC gc, int x, int y, StrIn text, bool image) {
  Display* d = WX11Disp_Use();
  WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc);
  if (d == nullptr || info == nullptr) return;
  const FontSlot& font = SlotFont(info->fontSize, info->fontMono);
  const std::string_view t = text.View();
  std::vector<XRectangle> rects;
  const bool clipped = WX11Grap_CheckGCClipping(drawable, gc, &rects);
  if (clipped && rects.empty()) return;
  const int baseline = WX11Win_TransformY(drawable, y, -1);
  if (font.xft != nullptr) {
    XftDraw* draw = DrawOf(drawable);
    if (draw == nullptr) return;
    if (clipped) X11ft_lib.XftDrawSetClipRectangles(draw, 0, 0, rects.data(), static_cast<int>(rects.size()));
    else X11ft_lib.XftDrawSetClip(draw, nullptr);
    if (image) {
      int width, ascent, descent;
      Extents(font, text, width, ascent, descent);
      XftColor back = XftColorOf(info->background);
      X11ft_lib.XftDrawRect(draw, &back, x, baseline - ascent, static_cast<unsigned>(width),
                            static_cast<unsigned>(ascent + descent));
    }
    XftColor fore = XftColorOf(info->foreground);
    X11ft_lib.XftDrawStringUtf8(draw, &fore, font.xft, x, baseline, reinterpret_cast<const FcChar8*>(t.data()),
                                static_cast<int>(t.size()));
  } else if (font.core != nullptr) {
    GC xgc = info->gc;
    XSetFont(d, xgc, font.core->fid);
    const std::string latin1 = WtUtf8_ToLatin1(std::string(t));
    const int length = static_cast<int>(latin1.size());
    if (image) XDrawImageString(d, drawable, xgc, x, baseline, latin1.data(), length);
    else XDrawString(d, drawable, xgc, x, baseline, latin1.data(), length);
  }
}

}  // namespace

bool WX11Text_LowResMonitor() {
  const char* monitor = std::getenv("TAVRIN_MONITOR");
  if (monitor != nullptr && std::strcmp(monitor, "HIGHRES") == 0) return false;
  if (monitor != nullptr && std::strcmp(monitor, "LOWRES") == 0) return true;
  Display* d = WX11Disp_display;
  if (d == nullptr) return false;
  const int mm = DisplayWidthMM(d, WX11Disp_textScreen);
  return mm > 0 && DisplayWidth(d, WX11Disp_textScreen) * 25.4 / mm < 87.5;
}

int WX11Text_PixelSize(int size) {
  if (size < 0 || size >= kSlots) size = 2;
  return static_cast<int>(std::lround(kBaseSizes[size] * sizeFactor));
}

void WX11Text_WinDestroyed(W_Drawable drawable) {
  const auto found = draws.find(drawable);
  if (found == draws.end()) return;
  if (found->second != nullptr) X11ft_lib.XftDrawDestroy(found->second);
  draws.erase(found);
}

void WX11Text_DisplayClosed() {
  for (auto& [drawable, draw] : draws)
    if (draw != nullptr && WX11Disp_display != nullptr) X11ft_lib.XftDrawDestroy(draw);
  draws.clear();
  for (auto& pair : fonts)
    for (FontSlot& font : pair) {
      if (WX11Disp_display != nullptr) {
        if (font.xft != nullptr) X11ft_lib.XftFontClose(WX11Disp_display, font.xft);
        if (font.core != nullptr) XFreeFont(WX11Disp_display, font.core);
      }
      font = FontSlot{};
    }
  xftState = 0;
}

// --- The W procedures ------------------------------------------------------------

bool WX11Text_UseXft() {
  if (xftState == 0 && WX11Disp_Use() != nullptr) {
    const bool wanted = !DirAcces_CheckFlag("DISABLE_XFT") && !DirAcces_CheckFlag("OLDX11FONTS");
    const bool trueColor = WX11Disp_bestVisual->c_class == TrueColor;
    xftState = wanted && trueColor && FontConfig_Init() && X11ft_IsUsable() ? 1 : 2;
  }
  return xftState == 1;
}

void WX11Text_SetFontSizeFactor(double factor) {
  if (factor > 0.0) sizeFactor = factor;
}

void WX11Text_SetFont(W_GC gc, int size, bool mono) {
  Display* d = WX11Disp_Use();
  WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc);
  if (d == nullptr || info == nullptr) return;
  info->fontSize = size;
  info->fontMono = mono;
  const FontSlot& font = SlotFont(size, mono);
  if (font.core != nullptr) XSetFont(d, info->gc, font.core->fid);
}

void WX11Text_TextExtents(int size, bool mono, StrIn text, int& width, int& ascent, int& descent) {
  width = ascent = descent = 0;
  if (WX11Disp_Use() == nullptr) return;
  Extents(SlotFont(size, mono), text, width, ascent, descent);
}

void WX11Text_TextExtentsGC(W_GC gc, StrIn text, int& width, int& ascent, int& descent) {
  width = ascent = descent = 0;
  WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc);
  if (WX11Disp_Use() == nullptr || info == nullptr) return;
  Extents(SlotFont(info->fontSize, info->fontMono), text, width, ascent, descent);
}

void WX11Text_DrawString(W_Drawable d, W_GC gc, int x, int y, StrIn text) { Draw(d, gc, x, y, text, false); }

void WX11Text_DrawImageString(W_Drawable d, W_GC gc, int x, int y, StrIn text) {
  Draw(d, gc, x, y, text, true);
}
