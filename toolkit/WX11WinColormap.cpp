// The colour map of the program, chosen by the class of the default visual:
//
//   StaticGray, StaticColor  the server's standard map (RGB_GRAY_MAP, RGB_BEST_MAP)
//   GrayScale, PseudoColor   an own map: a gray ramp or a colour cube above
//                            basePixel; the cells below it keep the default
//                            map's colours so that other programs don't flash
//   TrueColor                the default map; pixels are computed from the masks
//   DirectColor              an own map with a ramp per primary
#include <X11/Xatom.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "toolkit/WX11Grap.h"
#include "toolkit/WX11Win.h"

namespace {

bool colormapReady = false;
Colormap ownColormap = 0;
Colormap oldRootColormap = 0;

// Cube sizes (red, green, blue max) of an own map by depth.
void LevelsOfDepth(int depth, unsigned long& red, unsigned long& green, unsigned long& blue) {
  switch (depth) {
    case 4: red = 1, green = 2, blue = 1; break;
    case 8: red = 6, green = 7, blue = 3; break;
    case 16: red = green = blue = 39; break;
    case 24: red = green = blue = 255; break;
    case 32: red = green = blue = 1624; break;
    default: red = green = blue = 1; break;
  }
}

// The ramp value of `level` of `max`; on 8-bit displays raised to a power so
// that the few levels spread evenly to the eye.
unsigned short RampValue(unsigned long level, unsigned long max, int depth) {
  if (max == 0) return 0;
  double value = static_cast<double>(level) / static_cast<double>(max);
  if (depth == 8) {
    constexpr double kCorrection = 0.8;
    value = value < 0.00001 ? 0.0 : std::pow(value, kCorrection);
  }
  return static_cast<unsigned short>(std::lround(value * 65535.0));
}

void MaskToMaxMult(unsigned long mask, unsigned long& max, unsigned long& mult) {
  if (mask == 0) {
    max = 0;
    mult = 1;
    return;
  }
  int shift = 0;
  while (((mask >> shift) & 1) == 0) ++shift;
  max = mask >> shift;
  mult = 1UL << shift;
}

void UseMasks(Visual* visual) {
  XStandardColormap& m = WX11Grap_standardColormap;
  MaskToMaxMult(visual->red_mask, m.red_max, m.red_mult);
  MaskToMaxMult(visual->green_mask, m.green_max, m.green_mult);
  MaskToMaxMult(visual->blue_mask, m.blue_max, m.blue_mult);
  m.base_pixel = 0;
}

void UseServerMap(Display* d, Window root, bool gray) {
  XStandardColormap* maps = nullptr;
  int count = 0;
  WX11Grap_grayDisplay = gray;
  if (XGetRGBColormaps(d, root, &maps, &count, gray ? XA_RGB_GRAY_MAP : XA_RGB_BEST_MAP) != 0 &&
      count > 0) {
    WX11Grap_standardColormap = maps[0];
    WX11Grap_staticColor = true;  // read-only cells: pixels are computed
    XFree(maps);
    return;
  }
  // No standard map published: the server allocates each colour.
  WX11Grap_serverAllocates = true;
  WX11Grap_standardColormap.colormap = DefaultColormap(d, WX11Disp_graphicsScreen);
}

void MakeOwnIndexedMap(Display* d, Window root, bool gray) {
  const int depth = WX11Disp_deepestDepth;
  XStandardColormap& m = WX11Grap_standardColormap;
  const unsigned long cells = depth >= 32 ? 0xFFFFFFFFUL : (1UL << depth);
  if (gray) {
    m.red_max = cells * 3 / 4 - 1;
    m.green_max = m.blue_max = 0;
    m.red_mult = 1;
    m.green_mult = m.blue_mult = 0;
  } else {
    LevelsOfDepth(depth, m.red_max, m.green_max, m.blue_max);
    m.blue_mult = 1;
    m.green_mult = m.blue_max + 1;
    m.red_mult = (m.green_max + 1) * (m.blue_max + 1);
  }
  WX11Grap_grayDisplay = gray;
  const unsigned long used = (m.red_max + 1) * (m.green_max + 1) * (m.blue_max + 1);
  m.base_pixel = cells - used;
  ownColormap = XCreateColormap(d, root, WX11Disp_bestVisual, AllocAll);
  m.colormap = ownColormap;
  std::vector<XColor> colors(cells <= 65536 ? cells : 0);
  if (colors.empty()) return;  // deep indexed visuals: the ramp alone would not fit memory
  for (unsigned long p = 0; p < m.base_pixel; ++p) colors[p].pixel = p;
  if (m.base_pixel > 0)
    XQueryColors(d, DefaultColormap(d, WX11Disp_graphicsScreen), colors.data(),
                 static_cast<int>(m.base_pixel));
  for (unsigned long r = 0; r <= m.red_max; ++r)
    for (unsigned long g = 0; g <= m.green_max; ++g)
      for (unsigned long b = 0; b <= m.blue_max; ++b) {
        XColor& c = colors[m.base_pixel + r * m.red_mult + g * m.green_mult + b * m.blue_mult];
        c.pixel = m.base_pixel + r * m.red_mult + g * m.green_mult + b * m.blue_mult;
        c.red = RampValue(r, m.red_max, depth);
        c.green = gray ? c.red : RampValue(g, m.green_max, depth);
        c.blue = gray ? c.red : RampValue(b, m.blue_max, depth);
      }
  for (XColor& c : colors) c.flags = DoRed | DoGreen | DoBlue;
  XStoreColors(d, ownColormap, colors.data(), static_cast<int>(colors.size()));
}

// DirectColor: the depth split in thirds, the bits left over to green, then red.
void MakeOwnDirectMap(Display* d, Window root) {
  const int depth = WX11Disp_deepestDepth;
  int bits[3] = {depth / 3, depth / 3, depth / 3};
  if (depth % 3 > 0) ++bits[1];
  if (depth % 3 > 1) ++bits[0];
  UseMasks(WX11Disp_bestVisual);
  XStandardColormap& m = WX11Grap_standardColormap;
  m.red_max = std::min(m.red_max, (1UL << bits[0]) - 1);
  m.green_max = std::min(m.green_max, (1UL << bits[1]) - 1);
  m.blue_max = std::min(m.blue_max, (1UL << bits[2]) - 1);
  ownColormap = XCreateColormap(d, root, WX11Disp_bestVisual, AllocAll);
  m.colormap = ownColormap;
  const unsigned long top = std::max({m.red_max, m.green_max, m.blue_max});
  std::vector<XColor> colors(top + 1);
  for (unsigned long i = 0; i <= top; ++i) {
    XColor& c = colors[i];
    c.pixel = std::min(i, m.red_max) * m.red_mult + std::min(i, m.green_max) * m.green_mult +
              std::min(i, m.blue_max) * m.blue_mult;
    c.red = RampValue(std::min(i, m.red_max), m.red_max, depth);
    c.green = RampValue(std::min(i, m.green_max), m.green_max, depth);
    c.blue = RampValue(std::min(i, m.blue_max), m.blue_max, depth);
    c.flags = DoRed | DoGreen | DoBlue;
  }
  XStoreColors(d, ownColormap, colors.data(), static_cast<int>(colors.size()));
}

}  // namespace

void WX11Win_GetStandardColormap() {
  Display* d = WX11Disp_display;
  if (colormapReady || d == nullptr) return;
  colormapReady = true;
  WX11Grap_standardColormap = XStandardColormap{};
  WX11Grap_staticColor = WX11Grap_grayDisplay = WX11Grap_serverAllocates = false;
  const Window root = WX11Win_RootWindow(WX11Disp_graphicsScreen);
  Visual* visual = WX11Disp_bestVisual;
  WX11Grap_standardColormap.visualid = XVisualIDFromVisual(visual);
  switch (visual->c_class) {
    case StaticGray: UseServerMap(d, root, true); break;
    case StaticColor: UseServerMap(d, root, false); break;
    case GrayScale: MakeOwnIndexedMap(d, root, true); break;
    case PseudoColor: MakeOwnIndexedMap(d, root, false); break;
    case DirectColor: MakeOwnDirectMap(d, root); break;
    default:  // TrueColor
      WX11Grap_staticColor = true;
      UseMasks(visual);
      WX11Grap_standardColormap.colormap = DefaultColormap(d, WX11Disp_graphicsScreen);
      break;
  }
  if (ownColormap != 0) {
    // Installed on the root so that the program's colours show without a
    // window manager to install them; given back at the end.
    XWindowAttributes a;
    if (XGetWindowAttributes(d, root, &a) != 0) oldRootColormap = a.colormap;
    XInstallColormap(d, ownColormap);
  }
}

Colormap WX11Win_Colormap() {
  WX11Win_GetStandardColormap();
  return WX11Grap_standardColormap.colormap;
}

void WX11Win_SetOldColormapOnRoot() {
  Display* d = WX11Disp_display;
  if (d != nullptr && ownColormap != 0) {
    if (oldRootColormap != 0) XInstallColormap(d, oldRootColormap);
    XFreeColormap(d, ownColormap);
  }
  ownColormap = oldRootColormap = 0;
  colormapReady = false;
}
