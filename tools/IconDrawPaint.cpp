// Painting the shapes: every pixel is sampled on a grid of 16 by 16 points,
// and a shape covers the pixel by the share of points inside it. The canvas
// keeps premultiplied colour, so shapes lay over each other as paint does.
#include <algorithm>
#include <cmath>

#include "tools/IconDraw.h"

namespace {

using Kind = IconDraw_Shape::Kind;

constexpr int kSamples = 16;

struct Bounds {
  double x0, y0, x1, y1;
};

void Invert(const double m[6], double inv[6]) {
  const double det = m[0] * m[3] - m[1] * m[2];  // never 0: a scale of 0 is refused
  inv[0] = m[3] / det;
  inv[1] = -m[1] / det;
  inv[2] = -m[2] / det;
  inv[3] = m[0] / det;
  inv[4] = -(inv[0] * m[4] + inv[2] * m[5]);
  inv[5] = -(inv[1] * m[4] + inv[3] * m[5]);
}

// The shape's outline in its own coordinates, without the stroke.
Bounds LocalBounds(const IconDraw_Shape& s) {
  const std::vector<double>& c = s.coords;
  if (s.kind == Kind::Rect) return {c[0], c[1], c[0] + c[2], c[1] + c[3]};
  if (s.kind == Kind::Ellipse) return {c[0] - c[2], c[1] - c[3], c[0] + c[2], c[1] + c[3]};
  Bounds b{c[0], c[1], c[0], c[1]};
  const std::size_t step = s.kind == Kind::Cells ? 4 : 2;
  for (std::size_t i = 0; i + 1 < c.size(); i += step) {
    const double w = s.kind == Kind::Cells ? c[i + 2] : 0, h = s.kind == Kind::Cells ? c[i + 3] : 0;
    b = {std::min(b.x0, c[i]), std::min(b.y0, c[i + 1]), std::max(b.x1, c[i] + w), std::max(b.y1, c[i + 1] + h)};
  }
  return b;
}

// The box around the local bounds grown by `grow`, on the canvas.
Bounds CanvasBounds(const IconDraw_Shape& s, double grow) {
  const Bounds b = LocalBounds(s);
  const double xs[2] = {b.x0 - grow, b.x1 + grow}, ys[2] = {b.y0 - grow, b.y1 + grow};
  Bounds out{1e9, 1e9, -1e9, -1e9};
  for (double x : xs)
    for (double y : ys) {
      const double cx = s.m[0] * x + s.m[2] * y + s.m[4], cy = s.m[1] * x + s.m[3] * y + s.m[5];
      out = {std::min(out.x0, cx), std::min(out.y0, cy), std::max(out.x1, cx), std::max(out.y1, cy)};
    }
  return out;
}

// Signed distance to a rectangle's (rounded) outline: negative inside.
double BoxDistance(const IconDraw_Shape& s, double x, double y) {
  const double hw = s.coords[2] / 2, hh = s.coords[3] / 2, r = s.radius;
  const double qx = std::fabs(x - s.coords[0] - hw) - (hw - r);
  const double qy = std::fabs(y - s.coords[1] - hh) - (hh - r);
  return std::hypot(std::max(qx, 0.0), std::max(qy, 0.0)) + std::min(std::max(qx, qy), 0.0) - r;
}

bool InEllipse(const IconDraw_Shape& s, double x, double y, double grow) {
  const double rx = s.coords[2] + grow, ry = s.coords[3] + grow;
  if (rx <= 0 || ry <= 0) return false;
  const double dx = (x - s.coords[0]) / rx, dy = (y - s.coords[1]) / ry;
  return dx * dx + dy * dy <= 1;
}

// Non-zero winding, so that outlines may cross themselves.
bool InPolygon(const std::vector<double>& c, double x, double y) {
  int winding = 0;
  const std::size_t n = c.size() / 2;
  for (std::size_t i = 0; i < n; ++i) {
    const double ax = c[2 * i], ay = c[2 * i + 1], bx = c[2 * ((i + 1) % n)], by = c[2 * ((i + 1) % n) + 1];
    const double cross = (bx - ax) * (y - ay) - (by - ay) * (x - ax);
    if (ay <= y && by > y && cross > 0) ++winding;
    if (ay > y && by <= y && cross < 0) --winding;
  }
  return winding != 0;
}

// Whether (x, y) lies within `half` of the lines through the points; round
// joins, ends as the cap says (square also squares the joins).
bool OnLines(const std::vector<double>& c, bool closed, IconDraw_Cap cap, double half, double x, double y) {
  const std::size_t n = c.size() / 2, segments = closed ? n : n - 1;
  for (std::size_t i = 0; i < segments; ++i) {
    double ax = c[2 * i], ay = c[2 * i + 1], bx = c[2 * ((i + 1) % n)], by = c[2 * ((i + 1) % n) + 1];
    const double length = std::hypot(bx - ax, by - ay);
    if (length == 0) {
      if (cap == IconDraw_Cap::Square ? std::fabs(x - ax) <= half && std::fabs(y - ay) <= half
                                      : cap == IconDraw_Cap::Round && std::hypot(x - ax, y - ay) <= half)
        return true;
      continue;
    }
    const double ux = (bx - ax) / length, uy = (by - ay) / length;
    if (cap == IconDraw_Cap::Square) {
      ax -= ux * half, ay -= uy * half, bx += ux * half, by += uy * half;
    }
    const double span = std::hypot(bx - ax, by - ay);
    double t = (x - ax) * ux + (y - ay) * uy;
    const bool buttStart = cap == IconDraw_Cap::Square || (cap == IconDraw_Cap::Butt && !closed && i == 0);
    const bool buttEnd = cap == IconDraw_Cap::Square || (cap == IconDraw_Cap::Butt && !closed && i == segments - 1);
    if ((t < 0 && buttStart) || (t > span && buttEnd)) continue;
    t = std::clamp(t, 0.0, span);
    if (std::hypot(x - ax - ux * t, y - ay - uy * t) <= half) return true;
  }
  return false;
}

bool InCells(const std::vector<double>& c, double x, double y) {
  for (std::size_t i = 0; i + 3 < c.size(); i += 4)
    if (x >= c[i] && x < c[i] + c[i + 2] && y >= c[i + 1] && y < c[i + 1] + c[i + 3]) return true;
  return false;
}

// Whether the point (in the shape's own coordinates) is inside the fill or
// the stroke.
bool Covers(const IconDraw_Shape& s, bool stroke, double x, double y) {
  const double half = s.strokeWidth / 2;
  switch (s.kind) {
    case Kind::Rect: {
      const double d = BoxDistance(s, x, y);
      return stroke ? std::fabs(d) <= half : d <= 0;
    }
    case Kind::Ellipse:
      return stroke ? InEllipse(s, x, y, half) && !InEllipse(s, x, y, -half) : InEllipse(s, x, y, 0);
    case Kind::Polygon:
      return stroke ? OnLines(s.coords, true, s.cap, half, x, y) : InPolygon(s.coords, x, y);
    case Kind::Polyline:
      return stroke && OnLines(s.coords, false, s.cap, half, x, y);
    case Kind::Cells:
      return !stroke && InCells(s.coords, x, y);
  }
  return false;
}

IconDraw_Colour Mix(const IconDraw_Colour& a, const IconDraw_Colour& b, double t) {
  return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t, a.a + (b.a - a.a) * t};
}

class Canvas {
 public:
  Canvas(int width, int height) : width_(width), height_(height), p_(static_cast<std::size_t>(width) * height * 4) {}

  void Draw(const IconDraw_Shape& s) {
    if (s.fill.kind != IconDraw_Paint::Kind::None) Layer(s, s.fill, false);
    if (s.stroke.kind != IconDraw_Paint::Kind::None) Layer(s, s.stroke, true);
  }

  // Straight colour in bytes; what is not fully covered is blended with
  // the matte.
  void Bytes(const IconDraw_Colour& matte, std::vector<unsigned char>& out) const {
    out.resize(p_.size());
    const double m[3] = {matte.r, matte.g, matte.b};
    for (std::size_t i = 0; i < p_.size(); i += 4) {
      const double a = p_[i + 3];
      for (int k = 0; k < 3; ++k) out[i + k] = Byte(p_[i + k] + m[k] * (1 - a));
      out[i + 3] = Byte(a);
    }
  }

 private:
  static unsigned char Byte(double v) { return static_cast<unsigned char>(std::lround(std::clamp(v, 0.0, 1.0) * 255)); }

  void Layer(const IconDraw_Shape& s, const IconDraw_Paint& paint, bool stroke) {
    // Square ends reach out diagonally by half the width times the root of 2.
    const Bounds box = CanvasBounds(s, stroke ? s.strokeWidth : 0);
    const Bounds extent = CanvasBounds(s, 0);
    const int x0 = std::max(0, static_cast<int>(std::floor(box.x0)));
    const int y0 = std::max(0, static_cast<int>(std::floor(box.y0)));
    const int x1 = std::min(width_, static_cast<int>(std::ceil(box.x1)));
    const int y1 = std::min(height_, static_cast<int>(std::ceil(box.y1)));
    double inv[6];
    Invert(s.m, inv);
    for (int py = y0; py < y1; ++py)
      for (int px = x0; px < x1; ++px) {
        int inside = 0;
        for (int sy = 0; sy < kSamples; ++sy)
          for (int sx = 0; sx < kSamples; ++sx) {
            const double cx = px + (sx + 0.5) / kSamples, cy = py + (sy + 0.5) / kSamples;
            inside += Covers(s, stroke, inv[0] * cx + inv[2] * cy + inv[4], inv[1] * cx + inv[3] * cy + inv[5]);
          }
        if (inside == 0) continue;
        const double cover = static_cast<double>(inside) / (kSamples * kSamples);
        double* d = &p_[(static_cast<std::size_t>(py) * width_ + px) * 4];
        if (paint.kind == IconDraw_Paint::Kind::Clear) {
          for (int k = 0; k < 4; ++k) d[k] *= 1 - cover;
          continue;
        }
        const double t =
            extent.y1 > extent.y0 ? std::clamp((py + 0.5 - extent.y0) / (extent.y1 - extent.y0), 0.0, 1.0) : 0.0;
        const IconDraw_Colour c = Mix(paint.top, paint.bottom, t);
        const double a = c.a * cover;
        d[0] = c.r * a + d[0] * (1 - a);
        d[1] = c.g * a + d[1] * (1 - a);
        d[2] = c.b * a + d[2] * (1 - a);
        d[3] = a + d[3] * (1 - a);
      }
  }

  int width_, height_;
  std::vector<double> p_;  // premultiplied r g b a, rows from the top
};

}  // namespace

bool IconDraw_Render(const IconDraw_Icon& icon, std::vector<unsigned char>& rgba, std::string& error) {
  if (icon.width < 1 || icon.height < 1) {
    error = "no size given";
    return false;
  }
  Canvas canvas(icon.width, icon.height);
  for (const IconDraw_Shape& s : icon.shapes) canvas.Draw(s);
  canvas.Bytes(icon.matte, rgba);
  return true;
}

bool IconDraw_EncodePam(const IconDraw_Icon& icon, std::vector<unsigned char>& bytes, std::string& error) {
  std::vector<unsigned char> rgba;
  if (!IconDraw_Render(icon, rgba, error)) return false;
  const std::string header = "P7\nWIDTH " + std::to_string(icon.width) + "\nHEIGHT " + std::to_string(icon.height) +
                             "\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
  bytes.assign(header.begin(), header.end());
  bytes.insert(bytes.end(), rgba.begin(), rgba.end());
  return true;
}
