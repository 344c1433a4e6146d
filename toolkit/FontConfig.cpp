#include "toolkit/FontConfig.h"

#include <dlfcn.h>

#include <cstdio>

FontConfig_Library FontConfig_lib;

namespace {

int state = 0;  // 0 not tried, 1 usable, 2 unusable

bool Load() {
  void* library = dlopen("libfontconfig.so.1.0", RTLD_GLOBAL | RTLD_NOW);
  if (library == nullptr) library = dlopen("libfontconfig.so.1", RTLD_GLOBAL | RTLD_NOW);
  if (library == nullptr) return false;
  bool complete = true;
#define FONTCONFIG_FETCH(name)                                                    \
  FontConfig_lib.name = reinterpret_cast<decltype(&::name)>(dlsym(library, #name)); \
  if (FontConfig_lib.name == nullptr) {                                           \
    std::fprintf(stderr, "Symbol not found in FontConfig: %s\n", #name);          \
    complete = false;                                                             \
  }
  FONTCONFIG_SYMBOLS(FONTCONFIG_FETCH)
#undef FONTCONFIG_FETCH
  if (!complete) {
    FontConfig_lib = FontConfig_Library{};
    dlclose(library);
  }
  return complete;
}

}  // namespace

bool FontConfig_Init() {
  if (state == 0) state = Load() ? 1 : 2;
  return state == 1;
}
