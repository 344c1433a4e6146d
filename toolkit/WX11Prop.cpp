#include "toolkit/WX11Prop.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <climits>
#include <string>
#include <unordered_map>

#include "toolkit/WX11Win.h"

namespace {

std::unordered_map<std::string, W_Atom> atomsByName;
std::unordered_map<W_Atom, std::string> namesByAtom;

// The program's class for the window manager and for X resources.
char resourceClass[] = "Tavrin";

bool TextProperty(StrIn text, XTextProperty& property) {
  std::string copy = text.Str();
  char* list[] = {copy.data()};
  return XStringListToTextProperty(list, 1, &property) != 0;
}

XSizeHints ToX(W_Window window, const W_SizeHints& h) {
  XSizeHints x{};
  x.flags = PMinSize | PMaxSize | PResizeInc | PSize;
  if (h.position) {
    x.flags |= USPosition | PPosition;
    x.x = h.x;
    x.y = WX11Win_TransformY(WX11Win_Parent(window), h.y, h.height);
  }
  x.width = h.width;
  x.height = h.height;
  x.min_width = h.minWidth;
  x.min_height = h.minHeight;
  x.max_width = h.maxWidth;
  x.max_height = h.maxHeight;
  x.width_inc = h.widthInc;
  x.height_inc = h.heightInc;
  return x;
}

XWMHints ToX(const W_WMHints& h) {
  XWMHints x{};
  x.flags = InputHint | StateHint;
  x.input = h.input ? True : False;
  x.initial_state = h.iconic ? IconicState : NormalState;
  if (h.iconPixmap != 0) {
    x.flags |= IconPixmapHint;
    x.icon_pixmap = h.iconPixmap;
  }
  if (h.iconMask != 0) {
    x.flags |= IconMaskHint;
    x.icon_mask = h.iconMask;
  }
  if (h.windowGroup != 0) {
    x.flags |= WindowGroupHint;
    x.window_group = h.windowGroup;
  }
  return x;
}

bool ReadTextProperty(Status (*get)(Display*, Window, XTextProperty*), W_Window window, StrOut name) {
  name.Clear();
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  XTextProperty property{};
  if (get(d, window, &property) == 0 || property.value == nullptr) return false;
  Strings_Assign(StrIn(reinterpret_cast<const char*>(property.value), property.nitems), name);
  XFree(property.value);
  return true;
}

}  // namespace

void WX11Prop_RememberAtom(StrIn name, W_Atom atom) {
  atomsByName[name.Str()] = atom;
  namesByAtom[atom] = name.Str();
}

void WX11Prop_DisplayClosed() {
  atomsByName.clear();
  namesByAtom.clear();
}

W_Atom WX11Prop_InternAtom(StrIn name, bool onlyIfExists) {
  W_wlibError = 0;
  if (const auto found = atomsByName.find(name.Str()); found != atomsByName.end()) return found->second;
  Display* d = WX11Disp_Use();
  if (d == nullptr) return 0;
  const W_Atom atom = XInternAtom(d, name.Str().c_str(), onlyIfExists ? True : False);
  if (atom != None) WX11Prop_RememberAtom(name, atom);
  return atom;
}

bool WX11Prop_GetAtomName(W_Atom atom, StrOut name) {
  W_wlibError = 0;
  name.Clear();
  if (const auto found = namesByAtom.find(atom); found != namesByAtom.end()) {
    Strings_Assign(found->second, name);
    return true;
  }
  Display* d = WX11Disp_Use();
  if (d == nullptr || atom == 0) return false;
  char* text = XGetAtomName(d, atom);
  if (text == nullptr) return false;
  Strings_Assign(StrIn::C(text), name);
  WX11Prop_RememberAtom(StrIn::C(text), atom);
  XFree(text);
  return true;
}

void WX11Prop_ChangeProperty(W_Window window, W_Atom property, W_Atom type, int format, int mode,
                             const void* data, int count) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  const int xMode = mode == 2 ? PropModeAppend : (mode == 1 ? PropModePrepend : PropModeReplace);
  if (format == 32) {
    // Xlib wants 32-bit items as longs.
    std::vector<long> items(static_cast<std::size_t>(count));
    const auto* words = static_cast<const std::uint32_t*>(data);
    for (int i = 0; i < count; ++i) items[i] = static_cast<long>(words[i]);
    XChangeProperty(d, window, property, type, 32, xMode,
                    reinterpret_cast<const unsigned char*>(items.data()), count);
  } else {
    XChangeProperty(d, window, property, type, format, xMode, static_cast<const unsigned char*>(data),
                    count);
  }
}

bool WX11Prop_GetWindowProperty(W_Window window, W_Atom property, W_Atom type, bool remove,
                                std::vector<std::uint8_t>& data, W_Atom& actualType, int& format) {
  data.clear();
  actualType = 0;
  format = 0;
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  Atom gotType;
  int gotFormat;
  unsigned long count, after;
  unsigned char* bytes = nullptr;
  if (XGetWindowProperty(d, window, property, 0, LONG_MAX / 4, remove ? True : False,
                         type == 0 ? AnyPropertyType : type, &gotType, &gotFormat, &count, &after,
                         &bytes) != Success) {
    W_wlibError = 2;
    return false;
  }
  actualType = gotType;
  format = gotFormat;
  if (bytes != nullptr && gotType != None) {
    if (gotFormat == 32) {
      const auto* items = reinterpret_cast<const long*>(bytes);
      for (unsigned long i = 0; i < count; ++i) {
        const auto word = static_cast<std::uint32_t>(items[i]);
        const auto* b = reinterpret_cast<const std::uint8_t*>(&word);
        data.insert(data.end(), b, b + 4);
      }
    } else {
      data.assign(bytes, bytes + count * static_cast<unsigned long>(gotFormat / 8));
    }
  }
  if (bytes != nullptr) XFree(bytes);
  return gotType != None;
}

void WX11Prop_SetTextProperty(W_Window window, StrIn text, W_Atom property) {
  Display* d = WX11Disp_Use();
  XTextProperty p{};
  if (d == nullptr || !TextProperty(text, p)) return;
  XSetTextProperty(d, window, &p, property);
  XFree(p.value);
}

void WX11Prop_DeleteProperty(W_Window window, W_Atom property) {
  if (Display* d = WX11Disp_Use()) XDeleteProperty(d, window, property);
}

void WX11Prop_SetWMProperties(W_Window window, StrIn title, StrIn iconName,
                              const W_SizeHints* sizeHints, const W_WMHints* wmHints) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  XTextProperty titleProperty{}, iconProperty{};
  const bool haveTitle = TextProperty(title, titleProperty);
  const bool haveIcon = TextProperty(iconName, iconProperty);
  XSizeHints size{};
  XWMHints hints{};
  if (sizeHints != nullptr) size = ToX(window, *sizeHints);
  if (wmHints != nullptr) hints = ToX(*wmHints);
  char resourceName[] = "floatdeck";
  XClassHint classHint{resourceName, resourceClass};
  XSetWMProperties(d, window, haveTitle ? &titleProperty : nullptr, haveIcon ? &iconProperty : nullptr,
                   nullptr, 0, sizeHints != nullptr ? &size : nullptr,
                   wmHints != nullptr ? &hints : nullptr, &classHint);
  if (haveTitle) XFree(titleProperty.value);
  if (haveIcon) XFree(iconProperty.value);
  Atom protocols[] = {WX11Prop_InternAtom("WM_DELETE_WINDOW", false),
                      WX11Prop_InternAtom("WM_TAKE_FOCUS", false)};
  XSetWMProtocols(d, window, protocols, 2);
}

void WX11Prop_SetWMNormalHints(W_Window window, const W_SizeHints& hints) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  XSizeHints x = ToX(window, hints);
  XSetWMNormalHints(d, window, &x);
}

void WX11Prop_SetWMHints(W_Window window, const W_WMHints& hints) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  XWMHints x = ToX(hints);
  XSetWMHints(d, window, &x);
}

bool WX11Prop_GetWMName(W_Window window, StrOut name) { return ReadTextProperty(XGetWMName, window, name); }

bool WX11Prop_GetWMIconName(W_Window window, StrOut name) {
  return ReadTextProperty(XGetWMIconName, window, name);
}

bool WX11Prop_GetWMNormalHints(W_Window window, W_SizeHints& hints) {
  hints = W_SizeHints{};
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  XSizeHints x{};
  long supplied = 0;
  if (XGetWMNormalHints(d, window, &x, &supplied) == 0) return false;
  hints.position = (x.flags & (USPosition | PPosition)) != 0;
  hints.width = x.width;
  hints.height = x.height;
  hints.minWidth = x.min_width;
  hints.minHeight = x.min_height;
  hints.maxWidth = x.max_width;
  hints.maxHeight = x.max_height;
  hints.widthInc = x.width_inc;
  hints.heightInc = x.height_inc;
  hints.x = x.x;
  hints.y = WX11Win_TransformY(WX11Win_Parent(window), x.y, x.height);
  return true;
}

bool WX11Prop_GetWMHints(W_Window window, W_WMHints& hints) {
  hints = W_WMHints{};
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  XWMHints* x = XGetWMHints(d, window);
  if (x == nullptr) return false;
  if (x->flags & InputHint) hints.input = x->input != False;
  if (x->flags & StateHint) hints.iconic = x->initial_state == IconicState;
  if (x->flags & IconPixmapHint) hints.iconPixmap = x->icon_pixmap;
  if (x->flags & IconMaskHint) hints.iconMask = x->icon_mask;
  if (x->flags & WindowGroupHint) hints.windowGroup = x->window_group;
  XFree(x);
  return true;
}

void WX11Prop_ConvertSelection(W_Atom selection, W_Atom target, W_Atom property, W_Window requestor,
                               W_Time time) {
  if (Display* d = WX11Disp_Use()) XConvertSelection(d, selection, target, property, requestor, time);
}

W_Window WX11Prop_GetSelectionOwner(W_Atom selection) {
  Display* d = WX11Disp_Use();
  return d != nullptr ? XGetSelectionOwner(d, selection) : 0;
}

void WX11Prop_SetSelectionOwner(W_Atom selection, W_Window owner, W_Time time) {
  if (Display* d = WX11Disp_Use()) XSetSelectionOwner(d, selection, owner, time);
}
