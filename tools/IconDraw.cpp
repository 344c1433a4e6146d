#include "tools/IconDraw.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <set>

namespace {

using Line = IconDraw_Icon::Line;

constexpr int kMaxCanvas = 1000;
constexpr int kMaxNesting = 32;  // templates in templates, includes in includes
constexpr double kPi = 3.14159265358979323846;

// A fault in a source; caught at the module's boundary.
struct Fault {
  std::string text;
};

[[noreturn]] void Fail(const Line& line, const std::string& what) { throw Fault{line.origin + ": " + what}; }

const std::set<std::string>& Keywords() {
  static const std::set<std::string> words = {"size",    "matte",  "include", "colour", "define",
                                              "group",   "repeat", "rect",    "circle", "ellipse",
                                              "polygon", "line",   "arc",     "text",   "}"};
  return words;
}

// Splits one line into words; a quoted text is one word. "#" outside a text
// ends the line.
bool SplitLine(const std::string& text, Line& line, std::string& what) {
  std::size_t i = 0;
  while (i < text.size()) {
    const char c = text[i];
    if (c == ' ' || c == '\t' || c == '\r') {
      ++i;
    } else if (c == '#') {
      break;
    } else if (c == '"') {
      std::string word;
      for (++i; i < text.size() && text[i] != '"'; ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) ++i;
        word += text[i];
      }
      if (i >= text.size()) {
        what = "a text without its closing quote";
        return false;
      }
      ++i;
      line.words.push_back(word);
      line.quoted.push_back(true);
    } else {
      const std::size_t end = text.find_first_of(" \t\r#\"", i);
      line.words.push_back(text.substr(i, end == std::string::npos ? std::string::npos : end - i));
      line.quoted.push_back(false);
      i = end == std::string::npos ? text.size() : end;
    }
  }
  return true;
}

std::vector<Line> ReadLines(std::istream& source, const std::string& origin) {
  std::vector<Line> lines;
  std::string text;
  for (int number = 1; std::getline(source, text); ++number) {
    Line line;
    line.origin = origin + ":" + std::to_string(number);
    std::string what;
    if (!SplitLine(text, line, what)) Fail(line, what);
    if (!line.words.empty()) lines.push_back(std::move(line));
  }
  return lines;
}

double Number(const Line& line, std::size_t at) {
  if (at >= line.words.size()) Fail(line, "a number is missing");
  const std::string& word = line.words[at];
  char* end = nullptr;
  const double value = std::strtod(word.c_str(), &end);
  if (line.quoted[at] || word.empty() || *end != '\0' || !std::isfinite(value))
    Fail(line, "\"" + word + "\" is no number");
  return value;
}

bool IsNumber(const Line& line, std::size_t at) {
  if (at >= line.words.size() || line.quoted[at]) return false;
  char* end = nullptr;
  std::strtod(line.words[at].c_str(), &end);
  return !line.words[at].empty() && *end == '\0';
}

int WholeNumber(const Line& line, std::size_t at, int low, int high) {
  const double value = Number(line, at);
  if (value != std::floor(value) || value < low || value > high)
    Fail(line,
         "\"" + line.words[at] + "\" is no whole number from " + std::to_string(low) + " to " + std::to_string(high));
  return static_cast<int>(value);
}

// m := m * t: t acts on the points first.
void Multiply(double m[6], const double t[6]) {
  const double r[6] = {m[0] * t[0] + m[2] * t[1],        m[1] * t[0] + m[3] * t[1],
                       m[0] * t[2] + m[2] * t[3],        m[1] * t[2] + m[3] * t[3],
                       m[0] * t[4] + m[2] * t[5] + m[4], m[1] * t[4] + m[3] * t[5] + m[5]};
  for (int i = 0; i < 6; ++i) m[i] = r[i];
}

void Move(double m[6], double dx, double dy) {
  const double t[6] = {1, 0, 0, 1, dx, dy};
  Multiply(m, t);
}

// What may follow the coordinates of a shape.
struct Options {
  IconDraw_Paint fill, stroke;
  double width = 0, radius = 0, head = 0, tail = 0, height = 5;
  IconDraw_Cap cap = IconDraw_Cap::Round;
  bool centre = false;
  std::set<std::string> given;
};

class Reader {
 public:
  explicit Reader(IconDraw_Icon& icon) : icon_(icon) {}

  void Run(const std::vector<Line>& lines, const double m[6], int depth) {
    if (depth > kMaxNesting && !lines.empty()) Fail(lines.front(), "nested too deeply");
    for (std::size_t i = 0; i < lines.size(); ++i) {
      const Line& line = lines[i];
      if (line.words.back() == "{" && !line.quoted.back()) {
        const std::size_t close = Closing(lines, i);
        const std::vector<Line> body(lines.begin() + static_cast<long>(i) + 1,
                                     lines.begin() + static_cast<long>(close));
        Block(line, body, m, depth);
        i = close;
      } else {
        Statement(line, m, depth);
      }
    }
  }

 private:
  // The index of the "}" that closes the block opened at `open`.
  static std::size_t Closing(const std::vector<Line>& lines, std::size_t open) {
    int level = 0;
    for (std::size_t i = open; i < lines.size(); ++i) {
      const Line& line = lines[i];
      if (line.words.back() == "{" && !line.quoted.back()) ++level;
      if (line.words.size() == 1 && line.words[0] == "}" && --level == 0) return i;
    }
    Fail(lines[open], "this \"{\" is never closed");
  }

  void Block(const Line& line, const std::vector<Line>& body, const double m[6], int depth) {
    const std::string& what = line.words[0];
    const std::size_t last = line.words.size() - 1;  // the "{"
    if (what == "define") {
      if (last < 2) Fail(line, "define needs a name");
      const std::string& name = line.words[1];
      if (Keywords().count(name) != 0) Fail(line, "\"" + name + "\" is a statement of its own");
      if (icon_.templates.count(name) != 0) Fail(line, "the template \"" + name + "\" is defined twice");
      IconDraw_Icon::Template t;
      t.params.assign(line.words.begin() + 2, line.words.begin() + static_cast<long>(last));
      t.body = body;
      icon_.templates[name] = std::move(t);
    } else if (what == "group") {
      double inner[6];
      std::copy(m, m + 6, inner);
      GroupTransform(line, last, inner);
      Run(body, inner, depth + 1);
    } else if (what == "repeat") {
      if (last != 4) Fail(line, "repeat takes a count and a step: repeat N DX DY {");
      const int count = WholeNumber(line, 1, 1, kMaxCanvas);
      const double dx = Number(line, 2), dy = Number(line, 3);
      for (int n = 0; n < count; ++n) {
        double inner[6];
        std::copy(m, m + 6, inner);
        Move(inner, dx * n, dy * n);
        Run(body, inner, depth + 1);
      }
    } else {
      Fail(line, "\"" + what + "\" opens no block");
    }
  }

  static void GroupTransform(const Line& line, std::size_t last, double m[6]) {
    for (std::size_t k = 1; k < last;) {
      const std::string& word = line.words[k];
      if (word == "move") {
        Move(m, Number(line, k + 1), Number(line, k + 2));
        k += 3;
      } else if (word == "turn") {
        const double a = Number(line, k + 1) * kPi / 180;
        const bool about = k + 3 < last && IsNumber(line, k + 2);
        const double cx = about ? Number(line, k + 2) : 0, cy = about ? Number(line, k + 3) : 0;
        const double turn[6] = {std::cos(a), std::sin(a), -std::sin(a), std::cos(a), 0, 0};
        Move(m, cx, cy);
        Multiply(m, turn);
        Move(m, -cx, -cy);
        k += about ? 4 : 2;
      } else if (word == "scale") {
        const double sx = Number(line, k + 1);
        const bool both = k + 2 < last && IsNumber(line, k + 2);
        const double sy = both ? Number(line, k + 2) : sx;
        if (sx == 0 || sy == 0) Fail(line, "a scale of 0");
        const double scale[6] = {sx, 0, 0, sy, 0, 0};
        Multiply(m, scale);
        k += both ? 3 : 2;
      } else {
        Fail(line, "a group takes move, turn and scale, not \"" + word + "\"");
      }
    }
  }

  void Statement(const Line& line, const double m[6], int depth) {
    const std::string& what = line.words[0];
    if (line.quoted[0]) Fail(line, "a statement begins with a name");
    if (what == "}") Fail(line, "a \"}\" without its \"{\"");
    if (what == "size") {
      Expect(line, 3);
      if (icon_.width != 0) Fail(line, "the size is given twice");
      icon_.width = WholeNumber(line, 1, 1, kMaxCanvas);
      icon_.height = WholeNumber(line, 2, 1, kMaxCanvas);
    } else if (what == "matte") {
      Expect(line, 2);
      icon_.matte = Colour(line, 1);
    } else if (what == "include") {
      Expect(line, 2);
      Include(line, m, depth);
    } else if (what == "colour") {
      if (line.words.size() != 5 && line.words.size() != 6) Fail(line, "colour NAME R G B [A]");
      IconDraw_Colour c;
      double* parts[4] = {&c.r, &c.g, &c.b, &c.a};
      for (std::size_t k = 2; k < line.words.size(); ++k) *parts[k - 2] = WholeNumber(line, k, 0, 255) / 255.0;
      if (line.words[1] == "clear" || line.words[1].find(':') != std::string::npos)
        Fail(line, "\"" + line.words[1] + "\" can't name a colour");
      icon_.palette[line.words[1]] = c;
    } else if (what == "rect" || what == "circle" || what == "ellipse" || what == "polygon" || what == "line" ||
               what == "arc" || what == "text") {
      Shape(line, m);
    } else {
      Use(line, m, depth);
    }
  }

  static void Expect(const Line& line, std::size_t words) {
    if (line.words.size() != words)
      Fail(line, line.words[0] + " takes " + std::to_string(words - 1) + " value" + (words == 2 ? "" : "s"));
  }

  void Include(const Line& line, const double m[6], int depth) {
    std::string path = line.words[1];
    const std::string file = line.origin.substr(0, line.origin.rfind(':'));
    if (!path.empty() && path[0] != '/' && file.find('/') != std::string::npos)
      path = file.substr(0, file.rfind('/') + 1) + path;
    std::ifstream source(path);
    if (!source) Fail(line, "cannot read " + path);
    Run(ReadLines(source, path), m, depth + 1);
  }

  void Use(const Line& line, const double m[6], int depth) {
    const auto found = icon_.templates.find(line.words[0]);
    if (found == icon_.templates.end()) Fail(line, "unknown statement \"" + line.words[0] + "\"");
    const IconDraw_Icon::Template& t = found->second;
    if (line.words.size() - 1 != t.params.size())
      Fail(line, "\"" + line.words[0] + "\" takes " + std::to_string(t.params.size()) + " argument" +
                     (t.params.size() == 1 ? "" : "s"));
    std::vector<Line> body = t.body;
    for (Line& each : body)
      for (std::string& word : each.words) word = Substitute(word, t.params, line);
    try {
      Run(body, m, depth + 1);
    } catch (Fault& fault) {
      fault.text += " (in \"" + line.words[0] + "\" used at " + line.origin + ")";
      throw;
    }
  }

  // `word` with every "$PARAM" replaced by its argument (the longest
  // parameter name that fits wins).
  static std::string Substitute(const std::string& word, const std::vector<std::string>& params, const Line& use) {
    std::string out;
    for (std::size_t i = 0; i < word.size(); ++i) {
      std::size_t best = params.size();
      for (std::size_t p = 0; p < params.size(); ++p)
        if (word.compare(i + 1, params[p].size(), params[p]) == 0 && word[i] == '$' &&
            (best == params.size() || params[p].size() > params[best].size()))
          best = p;
      if (best == params.size()) {
        out += word[i];
      } else {
        out += use.words[best + 1];
        i += params[best].size();
      }
    }
    return out;
  }

  IconDraw_Colour Colour(const Line& line, std::size_t at) const {
    if (at >= line.words.size()) Fail(line, "a colour is missing");
    const auto found = icon_.palette.find(line.words[at]);
    if (found == icon_.palette.end()) Fail(line, "unknown colour \"" + line.words[at] + "\"");
    return found->second;
  }

  IconDraw_Paint Paint(const Line& line, std::size_t at) const {
    IconDraw_Paint p;
    if (at >= line.words.size()) Fail(line, "a paint is missing");
    const std::string& word = line.words[at];
    const std::size_t colon = word.find(':');
    if (word == "clear") {
      p.kind = IconDraw_Paint::Kind::Clear;
    } else if (colon == std::string::npos) {
      p.kind = IconDraw_Paint::Kind::Solid;
      p.top = p.bottom = Colour(line, at);
    } else {
      Line parts = line;
      parts.words = {word.substr(0, colon), word.substr(colon + 1)};
      parts.quoted = {false, false};
      p.kind = IconDraw_Paint::Kind::Gradient;
      p.top = Colour(parts, 0);
      p.bottom = Colour(parts, 1);
    }
    return p;
  }

  // Reads the options behind the coordinates, from `at` on.
  Options ReadOptions(const Line& line, std::size_t at) const {
    Options o;
    while (at < line.words.size()) {
      const std::string& word = line.words[at];
      if (!o.given.insert(word).second) Fail(line, "\"" + word + "\" is given twice");
      if (word == "fill") {
        o.fill = Paint(line, at + 1);
        at += 2;
      } else if (word == "stroke") {
        o.stroke = Paint(line, at + 1);
        o.width = Number(line, at + 2);
        if (o.width <= 0) Fail(line, "a stroke needs a width above 0");
        at += 3;
      } else if (word == "radius" || word == "head" || word == "tail" || word == "height") {
        const double value = Number(line, at + 1);
        if (value < 0 || (word == "height" && value == 0))
          Fail(line, "\"" + word + "\" can't be " + line.words[at + 1]);
        (word == "radius" ? o.radius : word == "head" ? o.head : word == "tail" ? o.tail : o.height) = value;
        at += 2;
      } else if (word == "cap") {
        static const std::map<std::string, IconDraw_Cap> caps = {
            {"round", IconDraw_Cap::Round}, {"butt", IconDraw_Cap::Butt}, {"square", IconDraw_Cap::Square}};
        const auto found = at + 1 < line.words.size() ? caps.find(line.words[at + 1]) : caps.end();
        if (found == caps.end()) Fail(line, "cap is round, butt or square");
        o.cap = found->second;
        at += 2;
      } else if (word == "centre") {
        o.centre = true;
        ++at;
      } else {
        Fail(line, "\"" + word + "\" is no option here");
      }
    }
    return o;
  }

  // Checks that only `allowed` options were given and that something is drawn.
  static void Allow(const Line& line, const Options& o, const std::set<std::string>& allowed) {
    for (const std::string& word : o.given)
      if (allowed.count(word) == 0) Fail(line, line.words[0] + " takes no \"" + word + "\"");
    if (o.fill.kind == IconDraw_Paint::Kind::None && o.stroke.kind == IconDraw_Paint::Kind::None)
      Fail(line, "nothing to draw: no fill or stroke");
  }

  // Reads x y pairs from `at` up to the first word that is no number.
  static std::vector<double> Points(const Line& line, std::size_t& at, std::size_t least) {
    std::vector<double> coords;
    while (IsNumber(line, at)) coords.push_back(Number(line, at++));
    if (coords.size() % 2 != 0 || coords.size() < 2 * least)
      Fail(line, line.words[0] + " needs at least " + std::to_string(least) + " points, as x y pairs");
    return coords;
  }

  void Shape(const Line& line, const double m[6]) {
    const std::string& what = line.words[0];
    IconDraw_Shape s;
    std::copy(m, m + 6, s.m);
    std::size_t at = 1;
    Options o;
    if (what == "rect" || what == "circle" || what == "ellipse") {
      const std::size_t count = what == "circle" ? 3 : 4;
      for (std::size_t k = 0; k < count; ++k) s.coords.push_back(Number(line, at++));
      if (what == "circle") s.coords.push_back(s.coords[2]);
      s.kind = what == "rect" ? IconDraw_Shape::Kind::Rect : IconDraw_Shape::Kind::Ellipse;
      o = ReadOptions(line, at);
      const std::set<std::string> rectOptions = {"fill", "stroke", "radius"}, roundOptions = {"fill", "stroke"};
      Allow(line, o, what == "rect" ? rectOptions : roundOptions);
      if (s.coords[2] <= 0 || s.coords[3] <= 0) Fail(line, "an empty " + what);
      s.radius = std::min({o.radius, s.coords[2] / 2, s.coords[3] / 2});
    } else if (what == "polygon") {
      s.kind = IconDraw_Shape::Kind::Polygon;
      s.coords = Points(line, at, 3);
      o = ReadOptions(line, at);
      Allow(line, o, {"fill", "stroke"});
    } else if (what == "line" || what == "arc") {
      s.kind = IconDraw_Shape::Kind::Polyline;
      s.coords = what == "line" ? Points(line, at, 2) : Arc(line, at);
      o = ReadOptions(line, at);
      Allow(line, o, {"stroke", "cap", "head", "tail"});
    } else {
      Text(line, s);
      return;
    }
    s.fill = o.fill;
    s.stroke = o.stroke;
    s.strokeWidth = o.width;
    s.cap = o.cap;
    if (o.tail > 0) Arrowhead(line, s, o.tail, false);
    if (o.head > 0) Arrowhead(line, s, o.head, true);
    icon_.shapes.push_back(s);
    for (IconDraw_Shape& head : heads_) icon_.shapes.push_back(head);
    heads_.clear();
  }

  static std::vector<double> Arc(const Line& line, std::size_t& at) {
    const double cx = Number(line, 1), cy = Number(line, 2), r = Number(line, 3);
    const double from = Number(line, 4), to = Number(line, 5);
    at = 6;
    if (r <= 0 || from == to) Fail(line, "an empty arc");
    const int steps = std::max(4, static_cast<int>(std::ceil(std::fabs(to - from) / 3)));
    std::vector<double> coords;
    for (int k = 0; k <= steps; ++k) {
      const double a = (from + (to - from) * k / steps) * kPi / 180;
      coords.push_back(cx + r * std::cos(a));
      coords.push_back(cy + r * std::sin(a));
    }
    return coords;
  }

  // The point at `distance` along the line from its end (or start), and how
  // many points, counted from that end, lie before it.
  static bool Along(const std::vector<double>& c, bool fromEnd, double distance, double& x, double& y,
                    std::size_t& passed) {
    const std::size_t n = c.size() / 2;
    auto at = [&](std::size_t k) { return fromEnd ? n - 1 - k : k; };
    for (std::size_t k = 0; k + 1 < n; ++k) {
      const double ax = c[2 * at(k)], ay = c[2 * at(k) + 1], bx = c[2 * at(k + 1)], by = c[2 * at(k + 1) + 1];
      const double piece = std::hypot(bx - ax, by - ay);
      if (piece >= distance && piece > 0) {
        x = ax + (bx - ax) * distance / piece;
        y = ay + (by - ay) * distance / piece;
        passed = k + 1;
        return true;
      }
      distance -= piece;
    }
    return false;
  }

  // Ends the line in an arrowhead of `length` at its last (or first) point,
  // pointing along the line's last stretch of that length. The line stops
  // inside the head, so that its cap can't show beside the point.
  void Arrowhead(const Line& line, IconDraw_Shape& s, double length, bool atEnd) {
    std::vector<double>& c = s.coords;
    const std::size_t tip = atEnd ? c.size() - 2 : 0;
    const double tx = c[tip], ty = c[tip + 1];
    double bx, by, cx, cy;
    std::size_t passed, cutPassed;
    if (!Along(c, atEnd, length, bx, by, passed) || !Along(c, atEnd, length * 0.6, cx, cy, cutPassed))
      Fail(line, "the arrowhead is longer than the line");
    const double d = std::hypot(tx - bx, ty - by);
    if (d == 0) Fail(line, "the arrowhead has no direction");
    const double ux = (tx - bx) / d, uy = (ty - by) / d;
    IconDraw_Shape head = s;
    head.kind = IconDraw_Shape::Kind::Polygon;
    head.fill = s.stroke;
    head.stroke = IconDraw_Paint{};
    const double half = std::max(length * 0.7, s.strokeWidth);
    const double baseX = tx - ux * length, baseY = ty - uy * length;
    head.coords = {tx, ty, baseX - uy * half, baseY + ux * half, baseX + uy * half, baseY - ux * half};
    heads_.push_back(head);
    // Drop the points inside the head's reach and end at the cut.
    const std::size_t n = c.size() / 2;
    std::vector<double> rest;
    for (std::size_t k = 0; k < n; ++k) {
      const std::size_t fromTip = atEnd ? n - 1 - k : k;
      if (fromTip >= cutPassed) rest.insert(rest.end(), {c[2 * k], c[2 * k + 1]});
    }
    if (atEnd)
      rest.insert(rest.end(), {cx, cy});
    else
      rest.insert(rest.begin(), {cx, cy});
    c = rest;
  }

  void Text(const Line& line, IconDraw_Shape& s) {
    if (line.words.size() < 4 || !line.quoted[3]) Fail(line, "text X Y \"TEXT\" ...");
    const double x = Number(line, 1), y = Number(line, 2);
    const Options o = ReadOptions(line, 4);
    Allow(line, o, {"fill", "height", "centre"});
    const double cell = o.height / 5;
    std::vector<std::vector<std::string>> glyphs;
    double width = -cell;
    for (const char c : line.words[3]) {
      std::vector<std::string> rows;
      if (!IconDraw_Glyph(c, rows)) Fail(line, "the font has no \"" + std::string(1, c) + "\"");
      width += (static_cast<double>(rows[0].size()) + 1) * cell;
      glyphs.push_back(rows);
    }
    if (glyphs.empty()) Fail(line, "an empty text");
    double pen = o.centre ? std::round(x - width / 2) : x;
    for (const auto& rows : glyphs) {
      for (std::size_t row = 0; row < rows.size(); ++row)
        for (std::size_t col = 0; col < rows[row].size(); ++col)
          if (rows[row][col] == '#')
            s.coords.insert(s.coords.end(),
                            {pen + static_cast<double>(col) * cell, y + static_cast<double>(row) * cell, cell, cell});
      pen += (static_cast<double>(rows[0].size()) + 1) * cell;
    }
    s.kind = IconDraw_Shape::Kind::Cells;
    s.fill = o.fill;
    icon_.shapes.push_back(s);
  }

  IconDraw_Icon& icon_;
  std::vector<IconDraw_Shape> heads_;
};

}  // namespace

bool IconDraw_ParseSource(std::istream& source, const std::string& origin, IconDraw_Icon& icon, std::string& error) {
  try {
    const double identity[6] = {1, 0, 0, 1, 0, 0};
    Reader(icon).Run(ReadLines(source, origin), identity, 0);
    return true;
  } catch (const Fault& fault) {
    error = fault.text;
    return false;
  }
}
