#include "tests/toolkit/FakeW.h"

#include "toolkit/WX11Procs.h"

int FakeW::bells = 0;
int FakeW::raises = 0;
std::map<W_Window, bool> FakeW::mapped;

namespace {

template <class F>
struct Nop;
template <class R, class... A>
struct Nop<R (*)(A...)> {
  static R Call(A...) {
    if constexpr (!std::is_void_v<R>) return R{};
  }
};

W_Window nextWindow = 100;
std::map<std::string, W_Atom> atoms;

W_Window CreateWindow(W_Window, int, int, int, int) { return nextWindow++; }
void MapWindow(W_Window w) { FakeW::mapped[w] = true; }
void UnmapWindow(W_Window w) { FakeW::mapped[w] = false; }
void RaiseWindow(W_Window) { ++FakeW::raises; }
void Bell(int) { ++FakeW::bells; }
W_GC CreateGC() { return reinterpret_cast<W_GC>(nextWindow++); }
int DisplaySize(int) { return 1000; }
W_Window Root(int) { return 1; }
W_Window RootOf(W_Window) { return 1; }
W_Atom InternAtom(StrIn name, bool) {
  auto [at, made] = atoms.try_emplace(name.Str(), 0);
  if (made) at->second = 300 + atoms.size();
  return at->second;
}
void Extents(int, bool, StrIn text, int& width, int& ascent, int& descent) {
  width = 7 * static_cast<int>(text.Length());
  ascent = 8;
  descent = 2;
}
void ExtentsGC(W_GC, StrIn text, int& width, int& ascent, int& descent) {
  Extents(0, false, text, width, ascent, descent);
}

}  // namespace

void FakeW::Install() {
#define FAKE_W(module, result, name, params) W_##name = &Nop<decltype(W_##name)>::Call;
  W_PROCEDURES(FAKE_W)
#undef FAKE_W
  W_SaveContext = WX11Win_SaveContext;
  W_FindContext = WX11Win_FindContext;
  W_CreateWindow = CreateWindow;
  W_MapWindow = MapWindow;
  W_UnmapWindow = UnmapWindow;
  W_RaiseWindow = RaiseWindow;
  W_Bell = Bell;
  W_CreateGC = CreateGC;
  W_DisplayWidth = W_DisplayHeight = DisplaySize;
  W_RootWindow = Root;
  W_GetRootWindow = RootOf;
  W_InternAtom = InternAtom;
  W_TextExtents = Extents;
  W_TextExtentsGC = ExtentsGC;
}

void FakeW::Remove() { W_InitForX11(); }
