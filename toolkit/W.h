// W: the toolkit's one door to the window system.
//
// Every operation is a procedure variable W_<Name>, filled by W_InitForX11
// with the procedures of the WX11* modules (and already set to them when the
// program starts). Nothing above this layer names Xlib; tests may put their
// own procedures into single variables and call W_InitForX11 to go back.
//
// Coordinates. Every position handed through this layer has its origin at the
// lower left corner of its window and y grows upward; the X11 side converts.
// A window's (x, y) is the lower left corner of the window inside its parent.
//
// Each procedure clears W_wlibError first and opens the display if it is not
// open yet. A failed server round trip sets W_wlibError to 2 and
// W_srvErrorEv to the X error code (17 or 4 for the usual failures).
#pragma once

#include <cstdint>
#include <vector>

#include "base/Strings.h"
#include "toolkit/Regions.h"

using W_Window = unsigned long;  // a window; 0 is none
using W_Drawable = unsigned long;  // a window or a pixmap
using W_Pixmap = unsigned long;  // 0 none; as a background 1 means "as the parent"
using W_Cursor = unsigned long;
using W_Atom = unsigned long;
using W_Time = unsigned long;  // server time in ms; 0 is "now"
struct W_GCRec;
using W_GC = W_GCRec*;  // a graphics context with its font and clip state

// A colour: three components 0 to 255.
struct W_Color {
  std::uint32_t red = 0, green = 0, blue = 0;
};
inline bool operator==(const W_Color& a, const W_Color& b) {
  return a.red == b.red && a.green == b.green && a.blue == b.blue;
}

struct W_Point {
  int x = 0, y = 0;
};
struct W_Segment {
  int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
};

// The size hints and window manager hints of a top-level window.
struct W_SizeHints {
  bool position = false;  // x, y are the program's wish
  int x = 0, y = 0, width = 0, height = 0;
  int minWidth = 0, minHeight = 0, maxWidth = 0, maxHeight = 0;
  int widthInc = 1, heightInc = 1;
};
struct W_WMHints {
  bool input = true;     // the window wants keyboard input
  bool iconic = false;   // starts as an icon
  W_Pixmap iconPixmap = 0, iconMask = 0;
  W_Window windowGroup = 0;  // the leader of the program's windows; 0 none
};

// --- Events ----------------------------------------------------------------------

// Event kinds; 0 to 5 are input kinds.
enum W_EventKind : std::uint8_t {
  W_KeyPress = 0,
  W_ButtonPress = 1,
  W_ButtonRelease = 2,
  W_MotionNotify = 3,
  W_EnterNotify = 4,
  W_LeaveNotify = 5,
  W_Expose = 6,
  W_PropertyNotify = 7,
  W_FocusIn = 9,
  W_FocusOut = 10,
  W_ConfigureNotify = 40,
  W_CreateNotify = 41,
  W_DestroyNotify = 42,
  W_MapNotify = 43,
  W_UnmapNotify = 44,
  W_ReparentNotify = 45,
  W_ConfigureRequest = 46,
  W_MapRequest = 47,
  W_GraphicsExpose = 48,
  W_NoExpose = 49,
  W_ClientMessage = 50,
  W_SelectionClear = 51,
  W_SelectionRequest = 52,
  W_SelectionNotify = 53,
};
inline constexpr std::uint8_t W_LastEventKind = 53;

// Modifier state of input events: bits 0 to 4 are buttons 1 to 5.
inline constexpr std::uint32_t W_Button1Mask = 0x1;
inline constexpr std::uint32_t W_ButtonsMask = 0x1F;
inline constexpr std::uint32_t W_ShiftMask = 0x2000;
inline constexpr std::uint32_t W_AltMask = 0x4000;
inline constexpr std::uint32_t W_CtrlMask = 0x8000;

// The toolkit's event mask bits, turned into X masks by the X11 side.
inline constexpr std::uint32_t W_KeyPressMask = 0x1;
inline constexpr std::uint32_t W_ButtonPressMask = 0x2;
inline constexpr std::uint32_t W_ButtonReleaseMask = 0x4;
inline constexpr std::uint32_t W_PointerMotionMask = 0x8;
inline constexpr std::uint32_t W_EnterWindowMask = 0x10;
inline constexpr std::uint32_t W_LeaveWindowMask = 0x20;
inline constexpr std::uint32_t W_ExposureMask = 0x40;
inline constexpr std::uint32_t W_PropertyChangeMask = 0x80;
inline constexpr std::uint32_t W_FocusChangeMask = 0x200;
inline constexpr std::uint32_t W_OwnerGrabButtonMask = 0x400;
inline constexpr std::uint32_t W_SubstructureRedirectMask = 0x800;
inline constexpr std::uint32_t W_SubstructureNotifyMask = 0x1000;
inline constexpr std::uint32_t W_StructureNotifyMask = 0x2000;
inline constexpr std::uint32_t W_PointerMotionHintMask = 0x4000;
inline constexpr std::uint32_t W_ButtonMotionMask = 0x8000;  // with W_PointerMotionMask

// Characters of keys without a printable one.
enum W_Key : std::uint8_t {
  W_KeyBackSpace = 8,
  W_KeyTab = 9,
  W_KeyBackTab = 11,
  W_KeyReturn = 13,
  W_KeyInsert = 18,
  W_KeyEscape = 27,
  W_KeyRight = 28,
  W_KeyLeft = 29,
  W_KeyUp = 30,
  W_KeyDown = 31,
  W_KeyDelete = 127,
  W_KeyPrior = 128,
  W_KeyNext = 129,
  W_KeyHome = 130,
  W_KeyEnd = 131,
  W_KeyF1 = 132,  // F1 to F10 are 132 to 141
};

// Key, button, motion and crossing events.
struct W_InputBody {
  W_Window root = 0, subwindow = 0;
  W_Time time = 0;
  int x = 0, y = 0, xRoot = 0, yRoot = 0;
  std::uint32_t state = 0;
  std::uint16_t keysym = 0;  // key
  std::uint8_t ch = 0;       // key: its character, ISO 8859-1 or a W_Key
  std::uint8_t button = 0;   // button: 0 to 4
  bool isHint = false;       // motion
  std::uint8_t mode = 0;     // crossing: 0 normal, 1 grab, 2 ungrab
  std::uint8_t detail = 0;   // crossing
};
// Expose, GraphicsExpose, NoExpose.
struct W_ExposeBody {
  int x = 0, y = 0, width = 0, height = 0, count = 0;
};
struct W_ClientBody {
  W_Atom messageType = 0;  // for WM_PROTOCOLS the protocol's atom
  std::uint8_t format = 0;  // 0 for 8 bits, 1 for 16, 2 for 32
  std::uint8_t data[20] = {};  // 32-bit items as native 32-bit words
};
// ConfigureNotify and ConfigureRequest; CreateNotify and ReparentNotify use
// x, y and parent as well.
struct W_ConfigureBody {
  W_Window parent = 0, above = 0;
  int x = 0, y = 0, width = 0, height = 0, borderWidth = 0;
  bool overrideRedirect = false;
};
struct W_PropertyBody {
  W_Atom atom = 0;
  W_Time time = 0;
  std::uint8_t state = 0;  // 0 new value, 1 deleted
};
struct W_FocusBody {
  std::uint8_t mode = 0, detail = 0;
};
// SelectionClear (window owns), SelectionRequest (window owns, requestor
// asks) and SelectionNotify (window is the requestor).
struct W_SelectionBody {
  W_Window requestor = 0;
  W_Atom selection = 0, target = 0, property = 0;
  W_Time time = 0;
};

// One record for all kinds. `window` is the window the event belongs to.
struct W_Event {
  unsigned long serial = 0;
  bool sendEvent = false;
  bool handled = false;
  std::uint8_t kind = 0;
  W_Window window = 0;
  union {
    W_InputBody input;
    W_ExposeBody expose;
    W_ClientBody client;
    W_ConfigureBody configure;
    W_PropertyBody property;
    W_FocusBody focus;
    W_SelectionBody selection;
  };
  W_Event() : input() {}
};

// Whether `kind` is one of the input kinds 0 to 5.
inline bool W_IsInputKind(std::uint8_t kind) { return kind <= W_LeaveNotify; }

// --- Errors ------------------------------------------------------------------------

// 0 after success; 2 after a failed round trip.
extern std::uint8_t W_wlibError;
// The X error code of the last failure.
extern std::uint8_t W_srvErrorEv;

// --- The procedures ------------------------------------------------------------
// One line per procedure: P(module, result, name, parameters). The module names
// the WX11 module that implements it as WX11<module>_<name>.

// Display. DisplayAvailable tries a private connection and reports the
// server's vendor and release. MaxRequestSize is in bytes.
// ConnectionNumber is the connection's file descriptor (-1 without display).
#define W_DISPLAY_PROCEDURES(P)                                     \
  P(Disp, bool, OpenDisplay, ())                                    \
  P(Disp, void, CloseDisplay, ())                                   \
  P(Disp, bool, DisplayOpen, ())                                    \
  P(Disp, bool, DisplayAvailable, (StrOut vendor, int& release))    \
  P(Disp, int, ScreenCount, ())                                     \
  P(Disp, int, DefaultScreen, ())                                   \
  P(Disp, int, DefaultDepth, ())                                    \
  P(Disp, int, DisplayWidth, (int screen))                          \
  P(Disp, int, DisplayHeight, (int screen))                         \
  P(Disp, int, DisplayWidthMM, (int screen))                        \
  P(Disp, int, DisplayHeightMM, (int screen))                       \
  P(Disp, long, MaxRequestSize, ())                                 \
  P(Disp, int, ConnectionNumber, ())                                \
  P(Disp, void, Flush, ())                                          \
  P(Disp, void, Sync, (bool discard))                               \
  P(Disp, void, Bell, (int percent))                                \
  P(Disp, void, GrabServer, ())                                     \
  P(Disp, void, UngrabServer, ())

// Windows. CreateWindow makes a child of `parent` (sizes at least 1).
// QueryTree answers root, parent and (when asked) the children.
// GetWindowGeometry answers the position in the parent and the size.
// SaveContext ties a window to a widget (nullptr removes); FindContext finds it.
#define W_WINDOW_PROCEDURES(P)                                                               \
  P(Win, W_Window, RootWindow, (int screen))                                                 \
  P(Win, W_Window, CreateWindow, (W_Window parent, int x, int y, int width, int height))     \
  P(Win, void, DestroyWindow, (W_Window window))                                             \
  P(Win, void, MapWindow, (W_Window window))                                                 \
  P(Win, void, MapSubwindows, (W_Window window))                                             \
  P(Win, void, UnmapWindow, (W_Window window))                                               \
  P(Win, void, UnmapSubwindows, (W_Window window))                                           \
  P(Win, void, RaiseWindow, (W_Window window))                                               \
  P(Win, void, LowerWindow, (W_Window window))                                               \
  P(Win, bool, QueryTree,                                                                    \
    (W_Window window, W_Window & root, W_Window & parent, std::vector<W_Window>* children))  \
  P(Win, void, MoveWindow, (W_Window window, int x, int y))                                  \
  P(Win, void, ReparentWindow, (W_Window window, W_Window parent, int x, int y))             \
  P(Win, void, ResizeWindow, (W_Window window, int width, int height))                       \
  P(Win, void, MoveResizeWindow, (W_Window window, int x, int y, int width, int height))     \
  P(Win, void, SetOverrideRedirect, (W_Window window, bool on))                              \
  P(Win, void, SetSaveUnderMode, (W_Window window, bool on))                                 \
  P(Win, void, SetBackgroundColor, (W_Window window, W_Color color))                         \
  P(Win, W_Color, GetBackgroundColor, (W_Window window))                                     \
  P(Win, void, SetBackgroundPixmap, (W_Window window, W_Pixmap pixmap))                      \
  P(Win, bool, GetWindowGeometry,                                                            \
    (W_Window window, int& x, int& y, int& width, int& height, int& borderWidth))            \
  P(Win, W_Window, GetRootWindow, (W_Window window))                                         \
  P(Win, void, AddToSaveSet, (W_Window window))                                              \
  P(Win, void, SetInputFocus, (W_Window window, W_Time time))                                \
  P(Win, void, SaveContext, (W_Window window, void* widget))                                 \
  P(Win, void*, FindContext, (W_Window window))

// Properties and selections. Format is 8, 16 or 32; 32-bit items are passed
// as 32-bit words. Mode 0 replaces, 2 appends. GetWindowProperty with type 0
// takes any type and answers the actual one.
// SetWMProperties registers WM_DELETE_WINDOW and WM_TAKE_FOCUS.
#define W_PROPERTY_PROCEDURES(P)                                                              \
  P(Prop, W_Atom, InternAtom, (StrIn name, bool onlyIfExists))                               \
  P(Prop, bool, GetAtomName, (W_Atom atom, StrOut name))                                     \
  P(Prop, void, ChangeProperty,                                                              \
    (W_Window window, W_Atom property, W_Atom type, int format, int mode, const void* data,  \
     int count))                                                                             \
  P(Prop, bool, GetWindowProperty,                                                           \
    (W_Window window, W_Atom property, W_Atom type, bool remove,                            \
     std::vector<std::uint8_t> & data, W_Atom & actualType, int& format))                    \
  P(Prop, void, SetTextProperty, (W_Window window, StrIn text, W_Atom property))             \
  P(Prop, void, DeleteProperty, (W_Window window, W_Atom property))                          \
  P(Prop, void, SetWMProperties,                                                             \
    (W_Window window, StrIn title, StrIn iconName, const W_SizeHints* sizeHints,             \
     const W_WMHints* wmHints))                                                              \
  P(Prop, void, SetWMNormalHints, (W_Window window, const W_SizeHints& hints))               \
  P(Prop, void, SetWMHints, (W_Window window, const W_WMHints& hints))                       \
  P(Prop, bool, GetWMName, (W_Window window, StrOut name))                                   \
  P(Prop, bool, GetWMIconName, (W_Window window, StrOut name))                               \
  P(Prop, bool, GetWMNormalHints, (W_Window window, W_SizeHints & hints))                    \
  P(Prop, bool, GetWMHints, (W_Window window, W_WMHints & hints))                            \
  P(Prop, void, ConvertSelection,                                                            \
    (W_Atom selection, W_Atom target, W_Atom property, W_Window requestor, W_Time time))     \
  P(Prop, W_Window, GetSelectionOwner, (W_Atom selection))                                   \
  P(Prop, void, SetSelectionOwner, (W_Atom selection, W_Window owner, W_Time time))

// Events. Masks are toolkit masks. The Check forms return at once, false
// when no such event is queued; NextEvent, MaskEvent and WindowEvent wait.
// WaitForEvents waits up to `milliseconds` for the connection to become
// readable: true when an event may be read. Pointer positions are in the
// named window, y upward.
#define W_EVENT_PROCEDURES(P)                                                                 \
  P(Evnt, void, SelectInput, (W_Window window, std::uint32_t mask))                          \
  P(Evnt, std::uint32_t, GetInputMask, (W_Window window))                                    \
  P(Evnt, bool, NextEvent, (W_Event & event))                                                \
  P(Evnt, bool, MaskEvent, (std::uint32_t mask, W_Event& event))                             \
  P(Evnt, bool, CheckMaskEvent, (std::uint32_t mask, W_Event& event))                        \
  P(Evnt, bool, WindowEvent, (W_Window window, std::uint32_t mask, W_Event& event))          \
  P(Evnt, bool, CheckWindowEvent, (W_Window window, std::uint32_t mask, W_Event& event))     \
  P(Evnt, bool, CheckTypedEvent, (std::uint8_t kind, W_Event & event))                       \
  P(Evnt, bool, CheckTypedWindowEvent, (W_Window window, std::uint8_t kind, W_Event& event)) \
  P(Evnt, bool, PeekEvent, (W_Event & event))                                                \
  P(Evnt, int, Pending, ())                                                                  \
  P(Evnt, bool, WaitForEvents, (int milliseconds))                                           \
  P(Evnt, bool, SendEvent,                                                                   \
    (W_Window window, bool propagate, std::uint32_t mask, const W_Event& event))             \
  P(Evnt, bool, GrabKeyboard, (W_Window window, W_Time time))                                \
  P(Evnt, void, UngrabKeyboard, (W_Time time))                                               \
  P(Evnt, bool, GrabPointer, (W_Window window, std::uint32_t mask, W_Cursor cursor, W_Time time)) \
  P(Evnt, void, UngrabPointer, (W_Time time))                                                \
  P(Evnt, bool, QueryPointer,                                                                \
    (W_Window window, int& rootX, int& rootY, int& x, int& y, std::uint32_t& state))         \
  P(Evnt, void, WarpPointer, (W_Window window, int x, int y))                                \
  P(Evnt, bool, TranslateCoordinates,                                                        \
    (W_Window from, W_Window to, int x, int y, int& toX, int& toY, W_Window& child))         \
  P(Evnt, W_Window, SearchSubwindow, (W_Window window, int x, int y))

// Drawing. GCs are made against a hidden window, usable on every drawable of
// the default depth. Fill styles: 0 solid, 1 tiled, 2 stippled, 3 opaque
// stippled. Line styles: 0 solid, 1 on-off dash, 2 double dash. Angles of
// arcs are in 64ths of a degree, counterclockwise from three o'clock. Scan
// format 2 is three bytes RGB per pixel. Clipping set on a GC is combined
// with the clip of the exposure being handled (SetImplicitClipping).
#define W_DRAWING_PROCEDURES(P)                                                               \
  P(Grap, W_GC, CreateGC, ())                                                                \
  P(Grap, W_GC, CreateGraphicsContext, (W_Drawable drawable))                                \
  P(Grap, void, DestroyGC, (W_GC gc))                                                        \
  P(Grap, void, SetForeground, (W_GC gc, W_Color color))                                     \
  P(Grap, void, SetBackground, (W_GC gc, W_Color color))                                     \
  P(Grap, void, SetExorMode, (W_GC gc, bool on))                                             \
  P(Grap, void, SetSubwindowMode, (W_GC gc, bool includeInferiors))                          \
  P(Grap, void, SetGraphicsExposures, (W_GC gc, bool on))                                    \
  P(Grap, void, SetRegion, (W_GC gc, const Regions_Region& region))                          \
  P(Grap, void, SetClipRect, (W_GC gc, int x, int y, int width, int height))                 \
  P(Grap, void, UnsetClipping, (W_GC gc))                                                    \
  P(Grap, void, SetImplicitClipping, (W_Window window, int x, int y, int width, int height)) \
  P(Grap, void, UnsetImplicitClipping, ())                                                   \
  P(Grap, void, SetFillStyle, (W_GC gc, int style))                                          \
  P(Grap, void, SetTile, (W_GC gc, W_Pixmap tile))                                           \
  P(Grap, void, SetStipple, (W_GC gc, W_Pixmap stipple))                                     \
  P(Grap, void, SetTSOrigin, (W_GC gc, int x, int y))                                        \
  P(Grap, void, SetLineAttributes, (W_GC gc, int width, int style, int cap, int join))       \
  P(Grap, void, SetDashes, (W_GC gc, int offset, const std::uint8_t* dashes, int count))     \
  P(Grap, void, DrawPoint, (W_Drawable d, W_GC gc, int x, int y))                            \
  P(Grap, void, DrawPoints, (W_Drawable d, W_GC gc, const W_Point* points, int count))       \
  P(Grap, void, DrawLine, (W_Drawable d, W_GC gc, int x1, int y1, int x2, int y2))           \
  P(Grap, void, DrawLines, (W_Drawable d, W_GC gc, const W_Point* points, int count))        \
  P(Grap, void, DrawSegments, (W_Drawable d, W_GC gc, const W_Segment* segments, int count)) \
  P(Grap, void, DrawRectangle, (W_Drawable d, W_GC gc, int x, int y, int width, int height)) \
  P(Grap, void, DrawArc,                                                                     \
    (W_Drawable d, W_GC gc, int x, int y, int width, int height, int angle1, int angle2))    \
  P(Grap, void, FillRectangle, (W_Drawable d, W_GC gc, int x, int y, int width, int height)) \
  P(Grap, void, FillPolygon, (W_Drawable d, W_GC gc, const W_Point* points, int count))      \
  P(Grap, void, FillArc,                                                                     \
    (W_Drawable d, W_GC gc, int x, int y, int width, int height, int angle1, int angle2))    \
  P(Grap, void, PutScan,                                                                     \
    (W_Drawable d, W_GC gc, int x, int y, int length, int format, const std::uint8_t* data)) \
  P(Grap, void, PutScans, (W_Drawable d, W_GC gc, const std::uint8_t* runs))                 \
  P(Grap, void, PutScan3,                                                                    \
    (W_Drawable d, W_GC gc, int x, int y, int length, const std::uint8_t* rgb, bool dither)) \
  P(Grap, void, CopyArea,                                                                    \
    (W_Drawable from, W_Drawable to, W_GC gc, int x, int y, int width, int height, int toX,  \
     int toY))                                                                               \
  P(Grap, void, ClearWindow, (W_Window window))                                              \
  P(Grap, void, ClearArea,                                                                   \
    (W_Window window, int x, int y, int width, int height, bool exposures))

// Cursors: shapes are the numbers of the X cursor font.
#define W_CURSOR_PROCEDURES(P)                                                            \
  P(Curs, W_Cursor, CreateFontCursor, (int shape))                                       \
  P(Curs, W_Cursor, CreatePixmapCursor,                                                  \
    (W_Pixmap source, W_Pixmap mask, W_Color foreground, W_Color background, int x, int y)) \
  P(Curs, void, DefineCursor, (W_Window window, W_Cursor cursor))                        \
  P(Curs, void, UndefineCursor, (W_Window window))                                       \
  P(Curs, void, FreeCursor, (W_Cursor cursor))

// Text and pixmaps. Font sizes are slots 0 tiny, 1 small, 2 normal, 3 large,
// 4 huge, 5 normal bold; `mono` picks the fixed-width family. Texts are
// UTF-8 (core fonts show what ISO 8859-1 has); a string's y is its baseline. ReadPixmapFile takes the name
// language of WX11Pixm.h and answers 0 when there is no pixmap; the pixmap
// is shared and given back with FreePixmap. CreateBitmap makes a 1-bit
// pixmap of at most 32 by 32 from hexadecimal text. CopyPixmap puts a pixmap
// at (x, y) of a drawable; CopyTPixmap keeps its transparent parts.
#define W_TEXT_PROCEDURES(P)                                                                  \
  P(Text, void, SetFont, (W_GC gc, int size, bool mono))                                     \
  P(Text, void, TextExtents,                                                                 \
    (int size, bool mono, StrIn text, int& width, int& ascent, int& descent))                \
  P(Text, void, TextExtentsGC, (W_GC gc, StrIn text, int& width, int& ascent, int& descent)) \
  P(Text, void, DrawString, (W_Drawable d, W_GC gc, int x, int y, StrIn text))               \
  P(Text, void, DrawImageString, (W_Drawable d, W_GC gc, int x, int y, StrIn text))          \
  P(Text, bool, UseXft, ())                                                                  \
  P(Text, void, SetFontSizeFactor, (double factor))                                          \
  P(Pixm, W_Pixmap, ReadPixmapFile, (StrIn name, int& width, int& height))                   \
  P(Pixm, W_Pixmap, CreateBitmap, (int width, int height, StrIn hex))                        \
  P(Pixm, void, FreePixmap, (W_Pixmap pixmap))                                               \
  P(Pixm, bool, GetPixmapGeometry, (W_Pixmap pixmap, int& width, int& height))               \
  P(Pixm, void, CopyPixmap, (W_Pixmap pixmap, W_Drawable d, W_GC gc, int x, int y))          \
  P(Pixm, void, CopyTPixmap, (W_Pixmap pixmap, W_Drawable d, W_GC gc, int x, int y))

#define W_PROCEDURES(P)       \
  W_DISPLAY_PROCEDURES(P)     \
  W_WINDOW_PROCEDURES(P)      \
  W_PROPERTY_PROCEDURES(P)    \
  W_EVENT_PROCEDURES(P)       \
  W_DRAWING_PROCEDURES(P)     \
  W_CURSOR_PROCEDURES(P)      \
  W_TEXT_PROCEDURES(P)

#define W_DECLARE_PROCEDURE(module, result, name, params) extern result(*W_##name) params;
W_PROCEDURES(W_DECLARE_PROCEDURE)
#undef W_DECLARE_PROCEDURE

// Puts the X11 procedures into every variable.
void W_InitForX11();
