#include "toolkit/WXWHash.h"

#include <algorithm>
#include <unordered_map>

namespace {

std::unordered_map<W_Window, WXWHash_Record>& Table() {
  static std::unordered_map<W_Window, WXWHash_Record> table(1024);
  return table;
}

void Unlink(W_Window id, W_Window parent) {
  if (WXWHash_Record* p = WXWHash_Find(parent)) std::erase(p->children, id);
}

}  // namespace

WXWHash_Record* WXWHash_Find(W_Window id) {
  auto found = Table().find(id);
  return found == Table().end() ? nullptr : &found->second;
}

WXWHash_Record& WXWHash_Get(W_Window id) {
  auto [at, made] = Table().try_emplace(id);
  if (made) {
    at->second.id = id;
    at->second.children.reserve(4);
  }
  return at->second;
}

WXWHash_Record& WXWHash_EnterWindow(W_Window id, W_Window parent, int width, int height) {
  WXWHash_Record& r = WXWHash_Get(id);
  r.width = width;
  r.height = height;
  WXWHash_SetParent(id, parent);
  if (WXWHash_Record* p = WXWHash_Find(parent); p != nullptr && p->valuesKnown) {
    r.root = p->root;
    r.screen = p->screen;
    r.colormap = p->colormap;
    r.valuesKnown = true;
  }
  return r;
}

void WXWHash_EnterPixmap(W_Window id, int width, int height) {
  WXWHash_Record& r = WXWHash_Get(id);
  r.isPixmap = true;
  r.parentKnown = true;
  r.width = width;
  r.height = height;
}

void WXWHash_SetParent(W_Window id, W_Window parent) {
  WXWHash_Record& r = WXWHash_Get(id);
  r.parentKnown = true;
  if (r.parent == parent) return;
  Unlink(id, r.parent);
  r.parent = parent;
  if (parent != 0) {
    auto& siblings = WXWHash_Get(parent).children;
    if (std::find(siblings.begin(), siblings.end(), id) == siblings.end()) siblings.push_back(id);
  }
}

void WXWHash_RemoveTree(W_Window id, std::vector<W_Window>& removed) {
  WXWHash_Record* r = WXWHash_Find(id);
  if (r == nullptr) return;
  Unlink(id, r->parent);
  // Depth first with an explicit stack: trees of thousands of windows.
  std::vector<W_Window> stack{id};
  while (!stack.empty()) {
    const W_Window next = stack.back();
    stack.pop_back();
    auto found = Table().find(next);
    if (found == Table().end()) continue;
    removed.push_back(next);
    stack.insert(stack.end(), found->second.children.begin(), found->second.children.end());
    Table().erase(found);
  }
}

void WXWHash_Clear() { Table().clear(); }
