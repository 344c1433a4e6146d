#include "toolkit/X11ft.h"

#include <dlfcn.h>

#include <cstdio>


X11ft_Library X11ft_lib;

namespace {

int state = 0;  // 0 not tried, 1 usable, 2 unusable
constexpr int kLeastVersion = 20100;

bool Load() {
  void* library = dlopen("libXft.so.2.1", RTLD_GLOBAL | RTLD_NOW);
  if (library == nullptr) library = dlopen("libXft.so.2", RTLD_GLOBAL | RTLD_NOW);
  if (library == nullptr) return false;
  bool complete = true;
#define X11FT_FETCH(name)                                                    \
  X11ft_lib.name = reinterpret_cast<decltype(&::name)>(dlsym(library, #name)); \
  if (X11ft_lib.name == nullptr) {                                           \
    std::fprintf(stderr, "Symbol not found in Xft: %s\n", #name);            \
    complete = false;                                                        \
  }
  X11FT_SYMBOLS(X11FT_FETCH)
#undef X11FT_FETCH
  if (complete && X11ft_lib.XftGetVersion() >= kLeastVersion && X11ft_lib.XftInit(nullptr)) return true;
  X11ft_lib = X11ft_Library{};
  dlclose(library);
  return false;
}

}  // namespace

bool X11ft_IsUsable() {
  if (state == 0) state = Load() ? 1 : 2;
  return state == 1;
}
