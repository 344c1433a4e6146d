// The icon drawing program's core: reads the readable icon sources
// (icons/*.icon and the shared *.iconlib they include) and paints them into
// binary PAM files (P7, RGB_ALPHA) that W_ReadPixmapFile reads.
//
// Source form, one statement a line ("#" starts a comment; blanks separate;
// a text stands in double quotes, with \" and \\):
//   size W H                  the canvas in pixels (once; 1 to 1000)
//   matte NAME                the colour that edge pixels are blended with
//   include "FILE"            reads FILE, relative to this source
//   colour NAME R G B [A]     a palette entry, 0 to 255 each (A: opacity)
//   define NAME [PARAM...] {  a template; its body's lines up to the "}"
//     ...                     alone on a line. At use, "$PARAM" in the body
//   }                         (also inside a word: $HI:$LO) is replaced
//   NAME [ARG...]             draws a template
//   group [move DX DY] [turn DEG [CX CY]] [scale S [SY]] {  ...  }
//   repeat N DX DY {  ...  }  the body N times, moved by DX DY each time
//   rect X Y W H [radius R] STYLE
//   circle CX CY R STYLE
//   ellipse CX CY RX RY STYLE
//   polygon X1 Y1 X2 Y2 X3 Y3 ... STYLE
//   line X1 Y1 X2 Y2 ... STROKE [cap round|butt|square] [head L] [tail L]
//   arc CX CY R FROM TO STROKE [cap ...] [head L] [tail L]
//   text X Y "TEXT" [height H] [centre] FILL
// STYLE is [fill PAINT] [stroke PAINT WIDTH] (at least one), FILL and
// STROKE one of them. PAINT is a palette name, TOP:BOTTOM (a gradient down
// the shape's extent) or "clear", which erases what lies below.
//
// Coordinates run right and down from the top left corner; pixel (0, 0)
// covers 0..1, so a line of width 1 at y 4.5 fills row 4 exactly. Angles are
// degrees, clockwise on the screen, 0 pointing right; an arc runs from FROM
// to TO. A group's transforms apply as written, the last one first to the
// points (as in SVG). `head` and `tail` end a line in an arrowhead of length
// L at its last or first point. Text is the program's own pixel font
// (capitals, digits, "/-+!?. "), five cells high: height 5 is a pixel a
// cell; with `centre`, X is the middle and the start is rounded to a whole
// pixel. Templates and colours hold for the sources read after them.
#pragma once

#include <istream>
#include <map>
#include <string>
#include <vector>

// A colour with straight alpha, each component 0 to 1.
struct IconDraw_Colour {
  double r = 0, g = 0, b = 0, a = 1;
};

struct IconDraw_Paint {
  enum class Kind { None, Solid, Gradient, Clear } kind = Kind::None;
  IconDraw_Colour top, bottom;  // equal for Solid
};

enum class IconDraw_Cap { Round, Butt, Square };

// One thing painted: its outline in its own coordinates and the affine
// transform to the canvas (x' = m0 x + m2 y + m4, y' = m1 x + m3 y + m5).
struct IconDraw_Shape {
  enum class Kind { Rect, Ellipse, Polygon, Polyline, Cells } kind = Kind::Rect;
  // rect: x y w h; ellipse: cx cy rx ry; polygon, polyline: x y pairs;
  // cells (lettering): x y w h of each square, all together one shape
  std::vector<double> coords;
  double radius = 0;  // of a rectangle's corners
  IconDraw_Paint fill, stroke;
  double strokeWidth = 0;
  IconDraw_Cap cap = IconDraw_Cap::Round;  // square also squares the joins
  double m[6] = {1, 0, 0, 1, 0, 0};
};

// One icon: what its sources defined, and the shapes in painting order.
struct IconDraw_Icon {
  int width = 0, height = 0;
  IconDraw_Colour matte{215 / 255.0, 215 / 255.0, 210 / 255.0, 1};  // the button colour
  std::vector<IconDraw_Shape> shapes;

  struct Line {
    std::string origin;  // "file:line"
    std::vector<std::string> words;
    std::vector<bool> quoted;
  };
  struct Template {
    std::vector<std::string> params;
    std::vector<Line> body;
  };
  std::map<std::string, IconDraw_Colour> palette;
  std::map<std::string, Template> templates;
};

// Adds what `source` draws to `icon`. False with "origin:line: what" in
// `error` on the first fault (a fault inside a template also names where
// it was used).
bool IconDraw_ParseSource(std::istream& source, const std::string& origin, IconDraw_Icon& icon, std::string& error);

// Paints the shapes, supersampled, into rows from the top of straight RGBA
// bytes. Pixels not fully covered carry their colour blended with the
// matte, since the toolkit shows a pixel either fully or not at all. The
// same icon always gives the same bytes. False when no size was given.
bool IconDraw_Render(const IconDraw_Icon& icon, std::vector<unsigned char>& rgba, std::string& error);
// The whole ".pxm" file: a PAM header and the RGBA rows.
bool IconDraw_EncodePam(const IconDraw_Icon& icon, std::vector<unsigned char>& bytes, std::string& error);

// The pixel font: the cells of `c`, one string a row from the top ('#' lit),
// all rows as long as the glyph is wide. False for a character it lacks.
bool IconDraw_Glyph(char c, std::vector<std::string>& rows);
