// FontConfig: the font configuration library, loaded at run time when it is
// there. Nothing else in the program links it.
#pragma once

#include <fontconfig/fontconfig.h>

#define FONTCONFIG_SYMBOLS(S) \
  S(FcPatternCreate)          \
  S(FcPatternDestroy)         \
  S(FcPatternAddString)       \
  S(FcPatternAddInteger)      \
  S(FcPatternAddDouble)       \
  S(FcPatternAddBool)

struct FontConfig_Library {
#define FONTCONFIG_MEMBER(name) decltype(&::name) name = nullptr;
  FONTCONFIG_SYMBOLS(FONTCONFIG_MEMBER)
#undef FONTCONFIG_MEMBER
};

// The entry points; valid after FontConfig_Init answered true.
extern FontConfig_Library FontConfig_lib;

// Loads "libfontconfig.so.1.0" or "libfontconfig.so.1" once. False when
// neither loads or a symbol is missing (told on standard error); the library
// is then closed and never used.
bool FontConfig_Init();
