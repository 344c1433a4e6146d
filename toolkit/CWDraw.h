// CWDraw: "WDraw" (keyword "GENERIC"), a widget the application draws on
// itself through three hooks: expose, configure and input (keys, buttons,
// motion). With "unitedExposure" all exposures of a burst come as one, with
// the bounding box and the region; "autoClip" clips drawing to it;
// "autoGetFocus" takes the keyboard focus when the pointer enters. It also
// gets NoExpose, for drawing that copies areas.
#pragma once

#include "toolkit/CWCore.h"

using CWDraw_ExposeProc = void (*)(Widget w, const Regions_Region& region, const W_Event& event,
                                   std::uintptr_t data);
using CWDraw_ConfigureProc = void (*)(Widget w, std::uintptr_t data);
// Answers whether it handled the event.
using CWDraw_InputProc = bool (*)(Widget w, W_Event& event, std::uintptr_t data);

struct CWDraw_Rec : CWCore_Rec {
  bool autoGetFocus, unitedExposure, autoClip;
  CWDraw_ExposeProc expose;
  std::uintptr_t exposeData;
  CWDraw_ConfigureProc configure;
  std::uintptr_t configureData;
  CWDraw_InputProc input;
  std::uintptr_t inputData;
};

extern Classes_ClassPtr CWDraw_class;

void CWDraw_CreateClass();
void CWDraw_SetExposeHook(Widget w, CWDraw_ExposeProc proc, std::uintptr_t data);
void CWDraw_SetConfigureHook(Widget w, CWDraw_ConfigureProc proc, std::uintptr_t data);
// A widget with an input hook takes the keyboard focus.
void CWDraw_SetInputHook(Widget w, CWDraw_InputProc proc, std::uintptr_t data);
