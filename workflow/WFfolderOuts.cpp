// WFfolder: the outs of a folder (links, labels, counts, the iterator, the
// connection rule) and what the demon needs of a folder (file expressions,
// its entry, where its jobs run).
#include <algorithm>
#include <string>
#include <unordered_set>
#include <vector>

#include "base/SPrintf.h"
#include "image/SIsuffix.h"
#include "workflow/WFfolderRec.h"
#include "workflow/WFtvwCfg.h"

namespace {

bool ValidIndex(std::uint32_t index) { return index >= 1 && index <= kWFfolderMaxOuts; }

// The numbers of a list such as "0,20,60,100" (any non-digits divide them).
std::vector<long> Numbers(StrIn text) {
  std::vector<long> numbers;
  std::string digits;
  const std::string_view view = text.View();
  for (std::size_t i = 0; i <= view.size(); ++i) {
    if (i < view.size() && view[i] >= '0' && view[i] <= '9') {
      digits += view[i];
    } else if (!digits.empty()) {
      numbers.push_back(std::stol(digits));
      digits.clear();
    }
  }
  return numbers;
}

// The label of out `index` of a linked out, by kind and mode; empty when the
// table names none.
void ComputeLabel(WFfolder folder, std::uint32_t index, StrOut label) {
  label.Clear();
  const WFfolder_FolderKind kind = folder->kind;
  const std::uint32_t mode = WFfolder_GetMode(folder);
  const char* first = "";
  const char* second = "";
  auto pair = [&](const char* a, const char* b) {
    first = a;
    second = b;
  };
  if (kind == 3) {
    if (mode <= 1) pair("CT", "");
    else if (mode <= 3) pair("LW", "");
    else if (mode <= 5) pair("CT", "LW");
  } else if (kind == 4) {
    if (mode == 1 || mode == 4) pair("CT", "");
    else if (mode == 2 || mode == 3) pair("CT", "LW");
    else if (mode == 5 || mode == 6) pair("LW", "");
  } else if (kind == 10 || kind == 11 || kind == 21) {
    if (mode == 1) pair("+", "-");
  } else if (kind == 24) {
    if (mode == 1) pair("%", "R");
  } else if (kind == 32) {
    if (mode == 0) pair("CT", "LW");
    else if (mode == 1 || mode == 2) pair("+", "-");
    else if (mode == 3) {
      // Out n takes the ink range between the (n-1)th and nth boundary.
      TextStr ranges;
      WFfolder_GetStringOpt(folder, "INKRANGES", ranges);
      const std::vector<long> numbers = Numbers(ranges);
      if (index < numbers.size()) {
        Strings_Assign("%d-%d", label);
        SPrintf_Int(label, static_cast<std::int32_t>(numbers[index - 1]));
        SPrintf_Int(label, static_cast<std::int32_t>(numbers[index]));
      }
      return;
    }
  } else if (kind == 41) {
    pair("+", "-");
  } else if (kind == 52) {
    if (mode == 1) pair("PDF", "REP");
    else if (mode == 0) pair("PDF", "");
  }
  if (index == 1) Strings_Assign(StrIn::C(first), label);
  if (index == 2) Strings_Assign(StrIn::C(second), label);
}

// Writes the out directory as the folder's module reads it back.
void WriteOutdir(WFfolder folder, std::uint32_t index, StrIn path) {
  const WFfolder_FolderKind kind = folder->kind;
  if (kind == 3 && index <= 2) {
    const std::uint32_t mode = WFfolder_GetMode(folder);
    WFfolder_SetRipOutdir(folder->rc, index, index == 1 && mode != 2 && mode != 3, path);
  } else if (kind == 4 && index <= 2) {
    const std::uint32_t mode = WFfolder_GetMode(folder);
    WFfolder_SetJawsOutdir(folder->rc, index == 1 && mode != 5 && mode != 6, path);
  } else if (kind == 7 && index == 1) {
    WFfolder_SetDistillerOutdir(folder->rc, path);
  } else {
    SAutoRcF_SetNthOutdir(folder->rc, index, path);
  }
}

void Link(WFfolder folder, std::uint32_t index, WFfolder out) {
  folder->outs[index - 1] = out;
  WFfolder_SetOutDescription(folder, index);
}

}  // namespace

// --- Out directories kept by front ends -------------------------------------------------------

void WFfolder_SetRipOutdir(SAutoRcF rc, std::uint32_t index, bool ct, StrIn path) {
  if (index >= 2) {
    SAutoRcF_SetStringOpt(rc, "OUTDIR_LW", path);
    return;
  }
  // The rip reads its first out from the colour key; in line-work-only modes
  // it writes through the line-work key, so both name the same directory.
  SAutoRcF_SetStringOpt(rc, "OUTDIR_CT", path);
  if (!ct) SAutoRcF_SetStringOpt(rc, "OUTDIR_LW", path);
}

void WFfolder_SetJawsOutdir(SAutoRcF rc, bool ct, StrIn path) {
  SAutoRcF_SetStringOpt(rc, ct ? "OutputPathCT" : "OutputPathLW", path);
}

void WFfolder_SetDistillerOutdir(SAutoRcF rc, StrIn path) { SAutoRcF_SetNthOutdir(rc, 1, path); }

// --- Outs -------------------------------------------------------------------------------------

WFfolder WFfolder_OutFolder(WFfolder folder, std::uint32_t index) {
  if (folder == nullptr || !ValidIndex(index)) return nullptr;
  return folder->outs[index - 1];
}

bool WFfolder_GetOutdir(SAutoRcF rc, WFfolder_FolderKind kind, std::uint32_t index, StrOut path) {
  if (WFfolder_UserDefKind(kind)) {
    path.Clear();
    if (index < 1 || index > kWFconfigMaxOuts || !SAutoRcF_GetNthOutdir(rc, index, path)) return false;
    return !StrIn(path).Empty();
  }
  return WFmodule_GetOutdir(rc, WFfolder_FolderToModuleKind(kind), index, path);
}

bool WFfolder_GetOutPath(WFfolder folder, std::uint32_t index, StrOut path) {
  const WFfolder out = WFfolder_OutFolder(folder, index);
  WFfolder_GetPath(out, path);
  return out != nullptr;
}

void WFfolder_SetOutFolder(WFfolder folder, std::uint32_t index, WFfolder out) {
  if (folder == nullptr || !ValidIndex(index)) return;
  Link(folder, index, out);
  if (folder->rc == nullptr) folder->rc = SAutoRcF_Create();
  PathStr path;
  WFfolder_GetPath(out, path);
  WriteOutdir(folder, index, path);
  folder->modified = true;
}

void WFfolder_SetOutFolderForRebuild(WFfolder folder, std::uint32_t index, WFfolder out) {
  if (folder != nullptr && ValidIndex(index)) Link(folder, index, out);
}

void WFfolder_GetOutDescription(WFfolder folder, std::uint32_t index, StrOut label) {
  if (folder == nullptr || !ValidIndex(index)) {
    label.Clear();
    return;
  }
  Strings_Assign(folder->labels[index - 1], label);
}

void WFfolder_SetOutDescription(WFfolder folder, std::uint32_t index) {
  if (folder == nullptr || !ValidIndex(index)) return;
  char(&label)[kNameCap] = folder->labels[index - 1];
  if (folder->outs[index - 1] == nullptr) {
    label[0] = '\0';
  } else {
    ComputeLabel(folder, index, label);
  }
}

void WFfolder_SetAllOutDescriptions(WFfolder folder) {
  for (std::uint32_t index = 1; index <= kWFfolderMaxOuts; ++index) WFfolder_SetOutDescription(folder, index);
}

std::uint32_t WFfolder_OutdirCount(WFfolder folder) {
  if (folder == nullptr) return 0;
  const WFfolder_FolderKind kind = folder->kind;
  if (kind == kWFfolderUserDef) {
    WFconfig_Entry component{};
    return WFfolder_Component(folder, component) ? component.outs : 0;
  }
  std::uint32_t minimum = 0, maximum = 0;
  WFmodule_GetOutdirLimits(WFfolder_FolderToModuleKind(kind), minimum, maximum);
  if (minimum == maximum) return maximum;
  const std::uint32_t mode = WFfolder_GetMode(folder);
  switch (kind) {
    case 3:
      return mode == 4 || mode == 5 ? 2 : 1;
    case 4:
      return mode == 2 || mode == 3 ? 2 : 1;
    case 10:
    case 11:
    case 21:
    case 24:
    case 52:
      return mode == 1 ? 2 : 1;
    case 32: {
      std::uint32_t count = minimum;
      if (mode == 3 && WFfolder_GetCardOpt(folder, "OUTDIRCOUNT", count)) {
        // The record has room for the kind's maximum, no more.
        count = std::clamp(count, minimum, maximum);
      } else {
        count = minimum;
      }
      return count;
    }
    default:
      return maximum;
  }
}

std::uint32_t WFfolder_CountUsedOuts(WFfolder folder, bool withInvisibleEnd, std::uint32_t& mask) {
  mask = 0;
  if (folder == nullptr) return 0;
  std::uint32_t count = 0;
  for (std::uint32_t index = 1; index <= kWFfolderMaxOuts; ++index) {
    const WFfolder out = folder->outs[index - 1];
    if (out == nullptr || (!withInvisibleEnd && WFfolder_InvisibleEnd(out))) continue;
    bool seen = false;
    for (std::uint32_t before = 1; before < index; ++before) seen = seen || folder->outs[before - 1] == out;
    if (seen) continue;
    ++count;
    mask |= 1u << index;
  }
  return count;
}

void WFfolder_SetUsedOutsOpts(WFfolder folder) {
  if (folder == nullptr || folder->rc == nullptr) return;
  std::uint32_t mask = 0;
  const std::uint32_t count = WFfolder_CountUsedOuts(folder, false, mask);
  SAutoRcF_SetIntOpt(folder->rc, "_USED_OUTS_COUNT", static_cast<std::int32_t>(count));
  SAutoRcF_SetBitsetOpt(folder->rc, "_USED_OUTS_MASK", mask);
}

void WFfolder_UnsetUsedOutsOpts(WFfolder folder) {
  const SAutoRcF rc = WFfolder_RcFile(folder);
  SAutoRcF_UnsetOpt(rc, "_USED_OUTS_COUNT");
  SAutoRcF_UnsetOpt(rc, "_USED_OUTS_MASK");
}

bool WFfolder_ConnectionExists(WFfolder from, WFfolder to) {
  if (from == nullptr || to == nullptr) return false;
  // Depth first with an explicit stack; graphs share folders, so each is
  // entered once.
  std::unordered_set<WFfolder> visited(32);
  std::vector<WFfolder> stack{from};
  while (!stack.empty()) {
    const WFfolder folder = stack.back();
    stack.pop_back();
    if (folder == to) return true;
    if (!visited.insert(folder).second) continue;
    for (const WFfolder out : folder->outs) {
      if (out != nullptr && visited.count(out) == 0) stack.push_back(out);
    }
  }
  return false;
}

// --- Out iterator --------------------------------------------------------------------------------

struct WFfolder_OutIteratorRec {
  WFfolder folder;
  std::uint32_t next = 1;  // index of the next step; past 8 at the end
};

WFfolder_OutIterator WFfolder_CreateOutIterator(WFfolder folder) {
  if (folder == nullptr) return nullptr;
  return new WFfolder_OutIteratorRec{folder};
}

void WFfolder_ResetOutIterator(WFfolder_OutIterator iterator) {
  if (iterator != nullptr) iterator->next = 1;
}

void WFfolder_DestroyOutIterator(WFfolder_OutIterator& iterator) {
  delete iterator;
  iterator = nullptr;
}

bool WFfolder_IterateOuts(WFfolder_OutIterator iterator, std::uint32_t& index, WFfolder& out) {
  index = 1;
  out = nullptr;
  if (iterator == nullptr || iterator->next > kWFfolderMaxOuts) return false;
  const WFfolder found = iterator->folder->outs[iterator->next - 1];
  if (found == nullptr) {
    // A gap ends the walk: outs are dense from 1, whatever lies behind a
    // gap is not shown.
    iterator->next = kWFfolderMaxOuts + 1;
    return false;
  }
  index = iterator->next++;
  out = found;
  return true;
}

// --- File expressions ----------------------------------------------------------------------------

namespace {

constexpr char kAllFiles[] = "^[^\\.]";
constexpr char kJxkFiles[] = "\\.jxk$";

// PostScript and PDF files together with their information files.
void PsPdfWithInfoExpr(StrOut files) {
  NameStr ps, pdf, escapedPs, escapedPdf;
  SIsuffix_InfSuffix(".ps", ps);
  SIsuffix_InfSuffix(".pdf", pdf);
  std::string text = std::string(TVWcfg_psFiles) + "|(%s|%s)$";
  auto escape = [](StrIn suffix, StrOut escaped) {
    std::string out;
    for (char c : suffix.View()) {
      if (c == '.') out += '\\';
      out += c;
    }
    Strings_Assign(out, escaped);
  };
  escape(ps, escapedPs);
  escape(pdf, escapedPdf);
  Strings_Assign(text, files);
  SPrintf_String(files, escapedPs);
  SPrintf_String(files, escapedPdf);
}

// The start folder's files by its "FILEMODE".
void StartFilesExpr(WFfolder folder, StrOut files, StrOut omitFiles) {
  const std::int32_t fileMode = WFfolder_GetIntOptDef(folder, "FILEMODE", 2);
  switch (fileMode) {
    case 0: Strings_Assign(TVWcfg_allImages, files); break;
    case 1: Strings_Assign(TVWcfg_allImagesFP, files); break;
    case 3: Strings_Assign(TVWcfg_psFiles, files); break;
    case 4: WFfolder_GetStringOptDef(folder, "FILESREGEXP", kAllFiles, files); break;
    case 5: WFtvwCfg_BuildFilesRegExpr(false, true, false, files); break;
    case 6: WFtvwCfg_BuildFilesRegExpr(true, true, false, files); break;
    case 7: Strings_Assign(TVWcfg_jobTickets, files); break;
    case 8: Strings_Assign(TVWcfg_jxkBitmaps, files); break;
    case 9: Strings_Assign(kJxkFiles, files); break;
    case 10: PsPdfWithInfoExpr(files); break;
    default: Strings_Assign(kAllFiles, files); break;
  }
  if (fileMode >= 5 && fileMode <= 7) Strings_Assign(kJxkFiles, omitFiles);
}

bool NamesNoImages(StrIn files) {
  return Strings_Pos(TVWcfg_allImages, files) > files.High() &&
         Strings_Pos(TVWcfg_allImagesFP, files) > files.High();
}

}  // namespace

bool WFfolder_WorksOnFiles(WFfolder folder) {
  switch (WFfolder_Kind(folder)) {
    case kWFfolderStart:
      return WFfolder_GetIntOptDef(folder, "FILEMODE", 2) == 2;
    case 29: {
      bool imageMode = false;
      if (WFfolder_GetBoolOpt(folder, "IMAGEMODE", imageMode)) return !imageMode;
      return WFfolder_GetCardOptDef(folder, "MODE", 0) != 0;
    }
    case kWFfolderUserDef:
    case kWFfolderUserDefEnd: {
      WFconfig_Entry component{};
      return WFfolder_Component(folder, component) && NamesNoImages(component.files);
    }
    default:
      return false;
  }
}

void WFfolder_GetFileRegExpr(WFfolder folder, StrOut files, StrOut omitFiles) {
  files.Clear();
  omitFiles.Clear();
  if (folder == nullptr) return;
  if (WFfolder_UserDef(folder)) {
    WFconfig_Entry component{};
    Strings_Assign(WFfolder_Component(folder, component) ? StrIn(component.files) : StrIn(TVWcfg_allImages), files);
    return;
  }
  WFmodule_GetFileRegExpr(WFfolder_ModuleKind(folder), files, omitFiles);
  switch (folder->kind) {
    case kWFfolderStart:
      StartFilesExpr(folder, files, omitFiles);
      break;
    case 22:
      WFfolder_GetStringOptDef(folder, "INREGEXPR", TVWcfg_allImages, files);
      break;
    case 29:
      if (WFfolder_WorksOnFiles(folder)) {
        Strings_Assign(kAllFiles, files);
      } else {
        WFtvwCfg_BuildFilesRegExpr(WFfolder_FinalpageMode(folder), false, WFfolder_JobticketMode(folder), files);
      }
      break;
    default:
      break;
  }
}

// --- The demon ---------------------------------------------------------------------------------------

TVWcfg_Entry* WFfolder_CreateDemonConfigEntry(WFfolder folder) {
  if (folder == nullptr) return nullptr;
  // 1. The entry of the kind or of the component.
  TVWcfg_Entry* entry = nullptr;
  const WFmodule_Kind moduleKind = WFfolder_ModuleKind(folder);
  if (moduleKind != 0) {
    entry = WFmodule_CreateDemonConfigEntry(moduleKind);
  } else {
    WFconfig_Entry component{};
    if (WFfolder_Component(folder, component)) entry = WFconfig_CreateDemonConfigEntry(&component);
  }
  if (entry == nullptr) return nullptr;
  WFfolder_GetFileRegExpr(folder, entry->files, entry->omitFiles);
  // 2. A kind that is not watched as a whole tree gets an entry of its own.
  if (moduleKind != 0 && !WFmodule_RecursiveDemonConfigEntry(moduleKind)) {
    Strings_Assign(folder->path, entry->folder);
    entry->subdirs = false;
  }
  // 3. A start folder may take files from sub-folders, but never from the
  //    workflow's own end and error directories below it.
  if (folder->kind == kWFfolderStart) {
    entry->subdirs = WFfolder_GetBoolOptDef(folder, "SUBDIRS", false);
    if (entry->subdirs) Strings_Insert("outdir,error,", entry->omit, 0);
  }
  // 4. The sequence mode of the rc.
  SAutoRcF_Sequence sequence;
  entry->sequenceMode = static_cast<std::uint8_t>(WFfolder_SequenceMode(folder, sequence));
  return entry;
}

bool WFfolder_AcceptsJobticket(WFfolder folder) {
  return WFmodule_AcceptsJobticket(WFfolder_ModuleKind(folder));
}

void WFfolder_AddReferencedFiles(WFmodule_FileList list, WFfolder folder) {
  if (folder == nullptr) return;
  if (WFfolder_UserDef(folder)) {
    PathStr scheme;
    if (WFfolder_GetStringOpt(folder, "PARTNERSCHEME", scheme)) WFmodule_AddFile(list, scheme, false);
    return;
  }
  WFmodule_AddReferencedFiles(list, WFfolder_ModuleKind(folder), folder->rc, folder->path);
}
