// The server's top-level windows as a window manager sees them, for tests
// that find the windows of a program (their own or another process's) by
// their titles.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <X11/Xlib.h>

// The top-level windows that are mapped and viewable, each with its title
// ("" when it has none), in the server's stacking order.
inline std::vector<std::pair<Window, std::string>> ViewableTopLevels(Display* d) {
  std::vector<std::pair<Window, std::string>> shown;
  Window rootWindow, parent, *children = nullptr;
  unsigned count = 0;
  XQueryTree(d, DefaultRootWindow(d), &rootWindow, &parent, &children, &count);
  for (unsigned c = 0; c < count; ++c) {
    XWindowAttributes a;
    char* name = nullptr;
    if (!XGetWindowAttributes(d, children[c], &a) || a.map_state != IsViewable) continue;
    shown.emplace_back(children[c], XFetchName(d, children[c], &name) && name != nullptr ? name : "");
    if (name != nullptr) XFree(name);
  }
  if (children != nullptr) XFree(children);
  return shown;
}

// The first of them whose title holds `part`; 0 when none does.
inline Window TopLevelTitled(Display* d, const std::string& part) {
  for (const auto& [window, title] : ViewableTopLevels(d))
    if (title.find(part) != std::string::npos) return window;
  return 0;
}
