// TVFEbase: the format lists of line work and of continuous tone.
#include <string>

#include "frontends/TVFEbase.h"

namespace {

// Whether the files of the format are line work, as its driver says.
bool LineWork(const SImage_FormatListEntry& format) {
  const std::string suffix = format.suffix;
  if (suffix == ".dev") return false;
  return (SImage_InquireCapabilities("dummy" + suffix, 0) & SImage_kCapLinework) != 0;
}

}  // namespace

SImage_FormatList TVFEbase_SubsetList(bool lineWork) {
  const std::string main = lineWork ? ".qlf" : ".qif";
  SImage_FormatList list = SImage_GetListOfSupportedFormats();
  SImage_FormatList kept = nullptr;
  SImage_FormatListEntry** tail = &kept;
  while (list != nullptr) {
    SImage_FormatListEntry* entry = list;
    list = entry->next;
    entry->next = nullptr;
    if (LineWork(*entry) != lineWork) {
      SImage_DestroyListOfSupportedFormats(entry);
      continue;
    }
    entry->preselected = main == entry->suffix;
    *tail = entry;
    tail = &entry->next;
  }
  return kept;
}

SImage_FormatList TVFEbase_GetListOfLWformats() { return TVFEbase_SubsetList(true); }
SImage_FormatList TVFEbase_GetListOfCTformats() { return TVFEbase_SubsetList(false); }
