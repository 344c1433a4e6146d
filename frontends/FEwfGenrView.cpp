// FEwfGenr: values between the dictionary and the dialog's elements, the
// element callbacks and the enum maps.
#include <cmath>
#include <cstring>

#include "base/Messages.h"
#include "frontends/FEwfGenrRec.h"

namespace {

// Reals closer than this show the same value.
constexpr double kRealTolerance = 1e-8;

AutoDict_Parameter ParameterOf(FEwfGenr frame, std::int32_t element) {
  if (frame == nullptr || element < 0) return nullptr;
  return AutoDict_GetParameter(frame->dictionary, static_cast<std::uint32_t>(element));
}

const std::vector<std::uint32_t>* MapOf(FEwfGenr frame, std::uint32_t element) {
  if (frame == nullptr || frame->enumMaps == nullptr) return nullptr;
  const auto found = frame->enumMaps->find(element);
  return found != frame->enumMaps->end() ? &found->second : nullptr;
}

// Puts the parameter's value into its element (quietly: a parameter
// without an element is carried between rc and dictionary only); with `compare`, whether the
// element showed another value before.
bool Put(FEwfGenr frame, AutoDict_Parameter p, bool compare) {
  I_Context d = frame->dialog;
  const std::uint32_t id = AutoDict_GetAObjId(p);
  const auto element = static_cast<std::int32_t>(id);
  bool differed = false;
  switch (AutoDict_GetValueType(p)) {
    case kAutoDictBool: {
      const bool value = AutoDict_GetBool(p);
      if (compare) differed = Messages_Quietly([&] { return I_GetBOOLEAN(d, element); }) != value;
      Messages_Quietly([&] { I_PutBOOLEAN(d, element, value); });
      break;
    }
    case kAutoDictCard: {
      const std::uint32_t value = FEwfGenr_Map(frame, id, AutoDict_GetCard(p));
      if (compare) differed = Messages_Quietly([&] { return I_GetCARDINAL(d, element); }) != value;
      Messages_Quietly([&] { I_PutCARDINAL(d, element, value); });
      break;
    }
    case kAutoDictInt: {
      const std::int32_t value = AutoDict_GetInt(p);
      if (compare) differed = Messages_Quietly([&] { return I_GetINTEGER(d, element); }) != value;
      Messages_Quietly([&] { I_PutINTEGER(d, element, value); });
      break;
    }
    case kAutoDictReal: {
      const double value = AutoDict_GetReal(p);
      if (compare) differed = std::fabs(Messages_Quietly([&] { return I_GetREAL(d, element); }) - value) >= kRealTolerance;
      Messages_Quietly([&] { I_PutREAL(d, element, value); });
      break;
    }
    case kAutoDictString: {
      TextStr value, shown;
      AutoDict_GetString(p, value);
      if (compare) {
        Messages_Quietly([&] { I_GetSTRING(d, element, shown); });
        differed = std::strncmp(value, shown, kTextCap) != 0;
      }
      Messages_Quietly([&] { I_PutSTRING(d, element, value); });
      break;
    }
    default:
      break;
  }
  // A parameter without an element has nothing shown to differ from.
  return differed && I_ilibError == 0;
}

}  // namespace

// --- The view ------------------------------------------------------------------------------

void FEwfGenr_UpdateView(FEwfGenr frame, bool compare) {
  if (frame == nullptr || frame->dialog == nullptr) return;
  for (AutoDict_Parameter p = AutoDict_GetFirstParameter(frame->dictionary); p != nullptr;
       p = AutoDict_GetNextParameter(frame->dictionary)) {
    if (Put(frame, p, compare)) FEwfGenr_ParameterModified(frame, p);
  }
}

void FEwfGenr_SetAllParameters(FEwfGenr frame, AutoDict dictionary) {
  if (frame == nullptr) return;
  AutoDict_CopyAllParameters(dictionary, frame->dictionary);
  FEwfGenr_UpdateView(frame, true);
}

void FEwfGenr_AObjectModified(FEwfGenr frame, std::uint32_t element) {
  AutoDict_Parameter p = ParameterOf(frame, static_cast<std::int32_t>(element));
  if (p == nullptr || frame->dialog == nullptr) return;
  I_Context d = frame->dialog;
  const auto number = static_cast<std::int32_t>(element);
  switch (AutoDict_GetValueType(p)) {
    case kAutoDictBool: AutoDict_SetBool(p, Messages_Quietly([&] { return I_GetBOOLEAN(d, number); })); break;
    case kAutoDictCard:
      AutoDict_SetCard(p, FEwfGenr_Unmap(frame, element, Messages_Quietly([&] { return I_GetCARDINAL(d, number); })));
      break;
    case kAutoDictInt: AutoDict_SetInt(p, Messages_Quietly([&] { return I_GetINTEGER(d, number); })); break;
    case kAutoDictReal: AutoDict_SetReal(p, Messages_Quietly([&] { return I_GetREAL(d, number); })); break;
    case kAutoDictString: {
      TextStr value;
      Messages_Quietly([&] { I_GetSTRING(d, number, value); });
      AutoDict_SetString(p, value);
      break;
    }
    default: return;
  }
  FEwfGenr_ParameterModified(frame, p);
}

// --- Enum maps -----------------------------------------------------------------------------

void FEwfGenr_RegisterEnumMap(FEwfGenr frame, std::uint32_t element, std::uint32_t highIndex,
                              const std::uint32_t* map) {
  if (frame == nullptr || map == nullptr) return;
  if (frame->enumMaps == nullptr) {
    frame->enumMaps = std::make_unique<std::unordered_map<std::uint32_t, std::vector<std::uint32_t>>>();
    frame->enumMaps->reserve(kFEwfGenrEnumMapBuckets);
  }
  (*frame->enumMaps)[element].assign(map, map + highIndex + 1);
  FEwfGenr_UpdateView(frame, false);
}

std::uint32_t FEwfGenr_Map(FEwfGenr frame, std::uint32_t element, std::uint32_t value) {
  const std::vector<std::uint32_t>* map = MapOf(frame, element);
  return map != nullptr && value < map->size() ? (*map)[value] : value;
}

std::uint32_t FEwfGenr_Unmap(FEwfGenr frame, std::uint32_t element, std::uint32_t value) {
  const std::vector<std::uint32_t>* map = MapOf(frame, element);
  if (map == nullptr) return value;
  for (std::size_t i = 0; i < map->size(); ++i) {
    if ((*map)[i] == value) return static_cast<std::uint32_t>(i);
  }
  return value;
}

// --- Element callbacks ---------------------------------------------------------------------

void FEwfGenr_BoolCB(I_Context, std::int32_t element, bool value, std::uintptr_t data) {
  auto* frame = reinterpret_cast<FEwfGenr>(data);
  if (AutoDict_Parameter p = ParameterOf(frame, element)) {
    AutoDict_SetBool(p, value);
    FEwfGenr_ParameterModified(frame, p);
  }
}

void FEwfGenr_CardCB(I_Context, std::int32_t element, std::uint32_t value, std::uintptr_t data) {
  auto* frame = reinterpret_cast<FEwfGenr>(data);
  if (AutoDict_Parameter p = ParameterOf(frame, element)) {
    AutoDict_SetCard(p, FEwfGenr_Unmap(frame, static_cast<std::uint32_t>(element), value));
    FEwfGenr_ParameterModified(frame, p);
  }
}

void FEwfGenr_IntCB(I_Context, std::int32_t element, std::int32_t value, std::uintptr_t data) {
  auto* frame = reinterpret_cast<FEwfGenr>(data);
  if (AutoDict_Parameter p = ParameterOf(frame, element)) {
    AutoDict_SetInt(p, value);
    FEwfGenr_ParameterModified(frame, p);
  }
}

void FEwfGenr_RealCB(I_Context, std::int32_t element, double value, std::uintptr_t data) {
  auto* frame = reinterpret_cast<FEwfGenr>(data);
  if (AutoDict_Parameter p = ParameterOf(frame, element)) {
    AutoDict_SetReal(p, value);
    FEwfGenr_ParameterModified(frame, p);
  }
}

void FEwfGenr_StringCB(I_Context, std::int32_t element, StrIn value, std::uintptr_t data) {
  auto* frame = reinterpret_cast<FEwfGenr>(data);
  if (AutoDict_Parameter p = ParameterOf(frame, element)) {
    AutoDict_SetString(p, value);
    FEwfGenr_ParameterModified(frame, p);
  }
}

void FEwfGenr_EnterCallbacks(FEwfGenr frame) {
  I_Context d = frame->dialog;
  const auto data = reinterpret_cast<std::uintptr_t>(frame);
  for (AutoDict_Parameter p = AutoDict_GetFirstParameter(frame->dictionary); p != nullptr;
       p = AutoDict_GetNextParameter(frame->dictionary)) {
    const auto element = static_cast<std::int32_t>(AutoDict_GetAObjId(p));
    Messages_Quietly([&] {
      switch (AutoDict_GetValueType(p)) {
        case kAutoDictBool: I_SetBOOLEANcallback(d, element, FEwfGenr_BoolCB, data); break;
        case kAutoDictCard: I_SetCARDINALcallback(d, element, FEwfGenr_CardCB, data); break;
        case kAutoDictInt: I_SetINTEGERcallback(d, element, FEwfGenr_IntCB, data); break;
        case kAutoDictReal: I_SetREALcallback(d, element, FEwfGenr_RealCB, data); break;
        case kAutoDictString: I_SetSTRINGcallback(d, element, FEwfGenr_StringCB, data); break;
        default: break;
      }
    });
  }
  AutoDict_Selection s;
  for (bool more = AutoDict_GetFirstSelection(frame->dictionary, s); more;
       more = AutoDict_GetNextSelection(frame->dictionary, s)) {
    if (s.selector < 0) continue;
    Messages_Quietly([&] { I_SetINTEGERcallback(d, s.selector, FEwfGenr_IntCB_Selection, data); });
  }
}
