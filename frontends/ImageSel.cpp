// ImageSel: the image format box.
#include "frontends/ImageSel.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "frontends/FEwfGenr.h"
#include "image/SImage.h"
#include "toolkit/CWList.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"

namespace {

constexpr char section[] = "ImageSel";
constexpr std::int32_t kButtons = 1, kHeading = 2, kFormats = 3, kShown = 4, kNote = 5, kKeys = 6;
constexpr std::int32_t kFormatsElement = 3;
constexpr std::int32_t kOK = 1;
// messages: ImageSel 1-3
constexpr unsigned kOneTitle = 1, kSeveralTitle = 2, kNoneChosen = 3;

struct Format {
  std::string suffix;
  std::string text;  // as listed
};

struct Box {
  I_Context context = nullptr;
  bool multiple = false;
  std::vector<Format> formats;    // the set's, in the registry's order
  std::vector<std::size_t> shown;  // indices into formats, as listed
  std::set<std::string> chosen;    // suffixes
  bool confirmed = false;
};

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string Joined(const Box& b, const std::vector<std::size_t>& indices, bool suffixes) {
  std::string text;
  for (std::size_t i : indices) {
    if (suffixes && b.chosen.count(b.formats[i].suffix) == 0) continue;
    if (!text.empty()) text += suffixes ? " " : "\n";
    text += suffixes ? b.formats[i].suffix : b.formats[i].text;
  }
  return text;
}

void Fill(Box& b) {
  TextStr shown;
  I_GetSTRING(b.context, kShown, shown);
  const std::string part = Lower(StrIn(shown).Str());
  b.shown.clear();
  for (std::size_t i = 0; i < b.formats.size(); ++i) {
    if (part.empty() || Lower(b.formats[i].text).find(part) != std::string::npos) b.shown.push_back(i);
  }
  std::string text;
  for (std::size_t i : b.shown) text += (text.empty() ? "" : "\n") + b.formats[i].text;
  I_SetReprAttr(b.context, kFormatsElement, SIdPool_EnterId("dynStr"), text.c_str(),
                static_cast<std::uint32_t>(text.size() + 1));
  std::vector<std::size_t> chosenShown;
  for (std::size_t i : b.shown) {
    if (b.chosen.count(b.formats[i].suffix) != 0) chosenShown.push_back(i);
  }
  I_PutSTRING(b.context, kFormats, Joined(b, chosenShown, false));
}

Box& Of(std::uintptr_t data) { return *reinterpret_cast<Box*>(data); }

// The list's selection among the formats shown; the hidden ones keep theirs.
void FormatsCB(I_Context, std::int32_t, StrIn, std::uintptr_t data) {
  Box& b = Of(data);
  Widget list = I_AccessWidget(b.context, kFormatsElement);
  if (!b.multiple) b.chosen.clear();
  for (std::size_t row = 0; row < b.shown.size(); ++row) {
    const std::string& suffix = b.formats[b.shown[row]].suffix;
    if (CWList_IsSelected(list, row)) b.chosen.insert(suffix);
    else b.chosen.erase(suffix);
  }
  I_PutSTRING(b.context, kNote, " ");
  if (!b.multiple && I_WasDoubleClick() && !b.chosen.empty()) {
    b.confirmed = true;
    I_Deactivate(b.context);
  }
}

void ShownCB(I_Context, std::int32_t, StrIn, std::uintptr_t data) { Fill(Of(data)); }

void ButtonsCB(I_Context, std::int32_t, std::int32_t value, std::uintptr_t data) {
  Box& b = Of(data);
  if (value == kOK && b.chosen.empty()) {
    TextStr text;
    Messages_GetMsg(section, kNoneChosen, text);
    I_PutSTRING(b.context, kNote, text);
    return;
  }
  b.confirmed = value == kOK;
  I_Deactivate(b.context);
}

// Return in the text of the formats shown applies it; elsewhere it is OK.
void KeysCB(I_Context context, std::int32_t, std::int32_t value, std::uintptr_t data) {
  const Widget focus = static_cast<CWShell>(I_AccessWidget(context, -1))->focusWidget;
  if (value == kOK && focus == I_AccessWidget(context, kShown)) return;
  ButtonsCB(context, kButtons, value, data);
}

void ReadFormats(Box& b, unsigned formatSet, StrIn start) {
  SImage_FormatList list = SImage_GetListOfSelectedSupportedFormats(formatSet);
  for (SImage_FormatList e = list; e != nullptr; e = e->next) {
    if (e->suffix[0] == '\0') continue;
    b.formats.push_back({e->suffix, std::string(e->suffix) + "  " + e->description});
  }
  SImage_DestroyListOfSupportedFormats(list);
  const std::string text = start.Str();
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = std::min(text.find(' ', at), text.size());
    const std::string suffix = text.substr(at, end - at);
    const bool known = std::any_of(b.formats.begin(), b.formats.end(),
                                   [&](const Format& f) { return f.suffix == suffix; });
    if (known && (b.multiple || b.chosen.empty())) b.chosen.insert(suffix);
    at = end + 1;
  }
}

}  // namespace

bool ImageSel_SelectAnImageFormat(StrIn title, unsigned formatSet, bool multiple, StrIn start, StrOut formats) {
  FEwfGenr_Init();
  const std::string startValue = start.Str();
  Strings_Assign(startValue, formats);
  Box b;
  b.context = Messages_Quietly([] { return I_Create("ImageSel_Formats", false); });
  if (b.context == nullptr) return false;
  b.multiple = multiple;
  ReadFormats(b, formatSet, startValue);
  TextStr heading;
  if (title.Empty()) Messages_GetMsg(section, multiple ? kSeveralTitle : kOneTitle, heading);
  else Strings_Assign(title, heading);
  I_SetReprAttr(b.context, -1, SIdPool_EnterId("title"), heading, static_cast<std::uint32_t>(std::strlen(heading) + 1));
  I_PutSTRING(b.context, kHeading, heading);
  const bool several = multiple;
  I_SetReprAttr(b.context, kFormatsElement, SIdPool_EnterId("multipleSelect"), &several, 1);
  Fill(b);
  const auto data = reinterpret_cast<std::uintptr_t>(&b);
  I_SetSTRINGcallback(b.context, kFormats, FormatsCB, data);
  I_SetSTRINGcallback(b.context, kShown, ShownCB, data);
  I_SetINTEGERcallback(b.context, kButtons, ButtonsCB, data);
  I_SetINTEGERcallback(b.context, kKeys, KeysCB, data);
  I_Activate(b.context);
  I_Dialog(b.context);
  I_Destroy(b.context);
  if (!b.confirmed) return false;
  std::vector<std::size_t> all(b.formats.size());
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
  Strings_Assign(Joined(b, all, true), formats);
  return true;
}
