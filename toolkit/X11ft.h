// X11ft: the client side font library of X, loaded at run time when it is
// there. Nothing else in the program links it.
#pragma once

#include <X11/Xft/Xft.h>

#define X11FT_SYMBOLS(S)      \
  S(XftGetVersion)            \
  S(XftInit)                  \
  S(XftFontMatch)             \
  S(XftFontOpenPattern)       \
  S(XftFontOpenName)          \
  S(XftFontClose)             \
  S(XftTextExtentsUtf8)       \
  S(XftDrawCreate)            \
  S(XftDrawDestroy)           \
  S(XftDrawStringUtf8)        \
  S(XftDrawRect)              \
  S(XftDrawSetClip)           \
  S(XftDrawSetClipRectangles)

struct X11ft_Library {
#define X11FT_MEMBER(name) decltype(&::name) name = nullptr;
  X11FT_SYMBOLS(X11FT_MEMBER)
#undef X11FT_MEMBER
};

// The entry points; valid after X11ft_IsUsable answered true.
extern X11ft_Library X11ft_lib;

// Loads "libXft.so.2.1" or "libXft.so.2" once, asks for version 2.1 or later
// and initialises it. False when that fails or a symbol is missing (told on
// standard error); the library is then closed and never used.
bool X11ft_IsUsable();
