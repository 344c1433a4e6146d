// Colours become pixels. On TrueColor the pixel is computed. On indexed
// visuals the colours widgets use are matched against the cells the program
// allocated below basePixel (64 buckets by the top two bits of each
// component); a colour too far from all of them gets a cell of its own while
// cells are free, otherwise the nearest cell of the colour cube.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "toolkit/WX11Grap.h"
#include "toolkit/WX11Win.h"

XStandardColormap WX11Grap_standardColormap{};
bool WX11Grap_staticColor = false;
bool WX11Grap_grayDisplay = false;
bool WX11Grap_serverAllocates = false;

namespace {

struct Entry {
  unsigned long pixel;
  unsigned r, g, b;
};

constexpr unsigned kMaxDistance = 22222;  // squared distance that still matches
constexpr int kMaxTracked = 2000;

std::vector<Entry> buckets[64];
bool bucketsReady = false;
unsigned long nextFreeCell = 0;  // the next cell to take, counting down
int allocated = 0;

unsigned Bucket(unsigned r, unsigned g, unsigned b) { return (r / 64) * 16 + (g / 64) * 4 + b / 64; }

bool Logging() { return std::getenv("COLORLOGGING") != nullptr; }

unsigned Squared(int a) { return static_cast<unsigned>(a * a); }

bool AllocateColor(unsigned r, unsigned g, unsigned b, unsigned long& pixel) {
  Display* d = WX11Disp_display;
  if (d == nullptr) return false;
  if (WX11Grap_serverAllocates) {
    XColor c{};
    c.red = static_cast<unsigned short>(r * 257);
    c.green = static_cast<unsigned short>(g * 257);
    c.blue = static_cast<unsigned short>(b * 257);
    if (XAllocColor(d, WX11Grap_standardColormap.colormap, &c) == 0) return false;
    pixel = c.pixel;
  } else {
    // Cells 0 and 1 are never taken: other programs rely on black and white.
    if (nextFreeCell < 2 || allocated >= kMaxTracked) return false;
    XColor c{};
    c.pixel = nextFreeCell--;
    c.red = static_cast<unsigned short>(r * 257);
    c.green = static_cast<unsigned short>(g * 257);
    c.blue = static_cast<unsigned short>(b * 257);
    c.flags = DoRed | DoGreen | DoBlue;
    XStoreColor(d, WX11Grap_standardColormap.colormap, &c);
    pixel = c.pixel;
  }
  ++allocated;
  buckets[Bucket(r, g, b)].push_back({pixel, r, g, b});
  if (Logging()) std::fprintf(stderr, "colour (%u,%u,%u) in cell %lu\n", r, g, b, pixel);
  return true;
}

void PrepareBuckets() {
  if (bucketsReady) return;
  bucketsReady = true;
  nextFreeCell = WX11Grap_standardColormap.base_pixel > 0 ? WX11Grap_standardColormap.base_pixel - 1 : 0;
  static constexpr unsigned kFirst[9][3] = {{127, 127, 127}, {63, 63, 63},    {163, 255, 248},
                                            {230, 204, 255}, {220, 220, 220}, {255, 220, 96},
                                            {255, 128, 0},   {198, 198, 198}, {190, 190, 190}};
  for (const auto& c : kFirst) {
    unsigned long pixel;
    AllocateColor(c[0], c[1], c[2], pixel);
  }
}

unsigned long Component(unsigned value, unsigned long max, unsigned long mult) {
  return ((value * (max + 1)) >> 8) * mult;
}

}  // namespace

bool WX11Grap_MatchingColorLookup(unsigned r, unsigned g, unsigned b, unsigned long& pixel) {
  if (WX11Grap_staticColor) return false;
  WX11Win_GetStandardColormap();
  PrepareBuckets();
  const Entry* best = nullptr;
  unsigned bestDistance = kMaxDistance;
  for (const Entry& e : buckets[Bucket(r, g, b)]) {
    const unsigned distance = Squared(static_cast<int>(e.r) - static_cast<int>(r)) +
                              Squared(static_cast<int>(e.g) - static_cast<int>(g)) +
                              Squared(static_cast<int>(e.b) - static_cast<int>(b));
    if (distance < bestDistance) {
      bestDistance = distance;
      best = &e;
    }
  }
  if (best != nullptr) {
    pixel = best->pixel;
    return true;
  }
  return AllocateColor(r, g, b, pixel);
}

unsigned long WX11Grap_CalculatePixelValueUndithered(unsigned r, unsigned g, unsigned b) {
  const XStandardColormap& m = WX11Grap_standardColormap;
  if (WX11Grap_grayDisplay) {
    const unsigned gray = (r + 2 * g + b) / 4;
    return Component(gray, m.red_max, m.red_mult) + m.base_pixel;
  }
  return Component(r, m.red_max, m.red_mult) + Component(g, m.green_max, m.green_mult) +
         Component(b, m.blue_max, m.blue_mult) + m.base_pixel;
}

unsigned long WX11Grap_DitheredPixel(unsigned r, unsigned g, unsigned b, int x, int y) {
  static constexpr int kBayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  const XStandardColormap& m = WX11Grap_standardColormap;
  const int threshold = kBayer[y & 3][x & 3];
  // Each component moves up by up to one level step before it is cut down.
  auto nudge = [&](unsigned value, unsigned long max) {
    const unsigned step = max > 0 ? 256 / static_cast<unsigned>(max + 1) : 256;
    const unsigned raised = value + step * static_cast<unsigned>(threshold) / 16;
    return raised > 255 ? 255U : raised;
  };
  return WX11Grap_CalculatePixelValueUndithered(nudge(r, m.red_max), nudge(g, m.green_max),
                                                nudge(b, m.blue_max));
}

unsigned long WX11Grap_PixelOf(W_Color color) {
  WX11Win_GetStandardColormap();
  const unsigned r = color.red & 0xFF, g = color.green & 0xFF, b = color.blue & 0xFF;
  unsigned long pixel;
  if (WX11Grap_MatchingColorLookup(r, g, b, pixel)) return pixel;
  return WX11Grap_CalculatePixelValueUndithered(r, g, b);
}

void WX11Grap_ColorsForgotten() {
  for (auto& bucket : buckets) bucket.clear();
  bucketsReady = false;
  allocated = 0;
}
