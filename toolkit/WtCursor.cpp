#include "toolkit/WtCursor.h"

#include <unordered_map>

namespace {

constexpr int kArrow = 68;   // left_ptr of the cursor font
constexpr int kWatch = 150;  // watch
constexpr std::size_t kMaxCached = 1000;

std::unordered_map<int, W_Cursor> cache;
std::unordered_map<W_Window, W_Cursor> windows;  // window to its own cursor
bool waiting = false;

}  // namespace

W_Cursor WtCursor_FontCursor(int shape) {
  const auto found = cache.find(shape);
  if (found != cache.end()) return found->second;
  const W_Cursor cursor = W_CreateFontCursor(shape);
  if (cache.size() < kMaxCached) cache.emplace(shape, cursor);
  return cursor;
}

void WtCursor_EnterWindow(W_Window window) { WtCursor_SetCursor(window, 0); }

void WtCursor_SetCursor(W_Window window, W_Cursor cursor) {
  windows[window] = cursor;
  if (!waiting) W_DefineCursor(window, cursor != 0 ? cursor : WtCursor_FontCursor(kArrow));
}

void WtCursor_ForgetWindow(W_Window window) { windows.erase(window); }

void WtCursor_WaitCursor() {
  if (waiting) return;
  waiting = true;
  const W_Cursor watch = WtCursor_FontCursor(kWatch);
  for (const auto& [window, cursor] : windows) W_DefineCursor(window, watch);
  W_Flush();
}

void WtCursor_RestoreCursors() {
  if (!waiting) return;
  waiting = false;
  for (const auto& [window, cursor] : windows)
    W_DefineCursor(window, cursor != 0 ? cursor : WtCursor_FontCursor(kArrow));
}
