// FEwfGenr: the frame record, shared by the engine's files only.
#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "frontends/FEwfGenr.h"

struct FEwfGenr_Rec {
  I_Context dialog = nullptr;  // set by FEwfGenr_Attach
  bool modified = false;       // a value changed during this dialog
  bool confirmed = false;      // the dialog ended with OK
  WFmodule_Kind kind = 0;      // for the window title
  std::int32_t shellElement = -1;
  AutoDict dictionary = nullptr;  // not owned
  FEwfGenr_ValuesCB getValuesCB = nullptr;      // nil: nothing
  FEwfGenr_ValuesCB setValuesCB = nullptr;      // nil: nothing
  FEwfGenr_CheckValuesCB checkValuesCB = nullptr;  // nil: accepts
  // Made on first registration.
  std::unique_ptr<std::unordered_map<std::uint32_t, FEwfGenr_ParameterCB>> parameterCallbacks;
  std::unique_ptr<std::unordered_map<std::uint32_t, std::vector<std::uint32_t>>> enumMaps;
  std::uintptr_t client = 0;
};

// Bucket counts of the two tables when they are made.
inline constexpr std::size_t kFEwfGenrCallbackBuckets = 256;
inline constexpr std::size_t kFEwfGenrEnumMapBuckets = 32;

// Enters the element callback of every parameter by its type and the
// selection callback of every selection with a selector (FEwfGenrView.cpp).
void FEwfGenr_EnterCallbacks(FEwfGenr frame);
