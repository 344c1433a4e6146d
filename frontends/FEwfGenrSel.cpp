// FEwfGenr: the selections, each a box that fills a parameter's string.
#include "base/Messages.h"
#include "frontends/FEwfGenrRec.h"
#include "frontends/IStdSel.h"
#include "frontends/ImageSel.h"
#include "toolkit/IFileSel.h"
#include "toolkit/ITreeSel.h"

namespace {

constexpr char section[] = "FEwfGenr";

// The box of each selection type: its filter and its title's message (0:
// the box's own title).
// messages: FEwfGenr 1-6
struct Box {
  const char* filter;
  unsigned title;
};
constexpr Box kBoxes[] = {
    {"", 0},                       // 0 no box
    {"", 0},                       // 1 rename scheme
    {"\\.grd$", 1},                // 2 file
    {"", 2},                       // 3 ICC profile
    {"", 0},                       // 4 image format to write
    {"", 0},                       // 5 image formats to read
    {"", 3},                       // 6 directory
    {"\\.[pP][dD][fF]$", 4},       // 7 PDF file in the tree
    {"\\.joboptions$", 5},         // 8 job options in the tree
    {"\\.kfp$", 6},                // 9 profile in the tree
};
constexpr std::uint8_t kLastType = 9;

// Runs the box of `type` from `start`; true with the choice in `chosen`.
bool RunBox(std::uint8_t type, StrIn start, StrOut chosen) {
  TextStr title;
  if (kBoxes[type].title != 0) Messages_GetMsg(section, kBoxes[type].title, title);
  const StrIn filter = StrIn::C(kBoxes[type].filter);
  switch (type) {
    case 1: return IStdSel_SelectARenameScheme(title, start, chosen);
    case 2: return IFileSel_SelectAFile(title, filter, start, chosen);
    case 3: return IStdSel_SelectAICCProfile(title, start, chosen);
    case 4: return ImageSel_SelectAnImageFormat(title, kImageSelWritable, false, start, chosen);
    case 5: return ImageSel_SelectAnImageFormat(title, kImageSelReadable, true, start, chosen);
    case 6: return IFileSel_SelectADir(title, start, chosen);
    default: return ITreeSel_SelectAFile(title, filter, start, chosen);
  }
}

}  // namespace

void FEwfGenr_IntCB_Selection(I_Context, std::int32_t element, std::int32_t value, std::uintptr_t data) {
  auto* frame = reinterpret_cast<FEwfGenr>(data);
  AutoDict_Selection selection;
  if (frame == nullptr || value < 0 ||
      !AutoDict_GetSelection(frame->dictionary, element, static_cast<std::uint32_t>(value), selection)) {
    return;
  }
  AutoDict_Parameter p = AutoDict_GetParameter(frame->dictionary, selection.parameter);
  if (p == nullptr || selection.type == 0 || selection.type > kLastType) return;
  TextStr start, chosen;
  AutoDict_GetString(p, start);
  if (!RunBox(selection.type, start, chosen)) return;
  AutoDict_SetString(p, chosen);
  FEwfGenr_ParameterModified(frame, p);
  FEwfGenr_UpdateView(frame, false);
}
