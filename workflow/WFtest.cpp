// WFtest: the walk of the checks, the parameter checks of the front ends
// and the formats that leave a folder.
//
// The walk visits a folder once per path that reaches it, each time with
// the format of that path. Since the first fault ends the walk, a folder
// that passed with a format can only pass again with it: the (folder,
// format) pairs that passed are remembered, so a graph of stacked joins
// costs a check per pair and not one per path.
#include "workflow/WFtest.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/SRegExpr.h"

namespace {

char section[kSectionCap] = "WFtest";

// messages: WFtest 1 2 7 10-14
constexpr unsigned kUnfinished = 1;          // no argument
constexpr unsigned kFormatRefused = 2;       // with the format
constexpr unsigned kFinalPages = 7;
constexpr unsigned kTwiceToOne = 10;         // with the out's path
constexpr unsigned kNoTickets = 11;          // with the folder's name
constexpr unsigned kRenameOnFiles = 12;
constexpr unsigned kExtendedNames = 13;
constexpr unsigned kSubdirsNeedTickets = 14;

// Folder kinds the checks and formats name.
constexpr WFfolder_FolderKind kRip = 3, kJawsRip = 4, kPs2Pdf = 7, kCt2Pdf = 8, kICopy = 22, kCombine = 23,
                              kImgFork = 24, kRename = 29, kDuplicate = 31, kSwitch = 32, kJxkOvw = 39,
                              kBitmapProof = 40, kSort = 44, kJxkInput = 47, kDiffPosition = 50,
                              kRemoteCopy = 51, kProfileTagger = 52, kCip3 = 53;

// The parameter checks the front ends registered, by folder kind; the
// workflow layer knows no front end.
std::array<WFtest_CheckProc, kWFfolderMaxKind + 1> checks{};

WFtest_MarkProc markProc = nullptr;
WFfolder faultyFolder = nullptr;
unsigned faultMessage = 0;

void Mark(void* view, WFfolder folder, WFfolder other) {
  if (view != nullptr && markProc != nullptr) markProc(view, folder, other);
}

std::string Path(WFfolder folder) {
  PathStr path;
  WFfolder_GetPath(folder, path);
  return StrIn(path).Str();
}

std::string Option(WFfolder folder, StrIn key, StrIn fallback = "") {
  TextStr value;
  WFfolder_GetStringOptDef(folder, key, fallback, value);
  return StrIn(value).Str();
}

std::string Outformat(WFfolder folder, std::uint32_t out) {
  NameStr format;
  WFtest_GetOutformat(folder, out, format);
  return StrIn(format).Str();
}

// Which format of a rip leaves through `out`: its colour option, its line
// work option, or the fixed format of the second out.
enum class RipFormat { None, Colour, LineWork, Fixed };
RipFormat RipOut(WFfolder_FolderKind kind, std::uint32_t mode, std::uint32_t out) {
  const bool second = out == 2;
  if (kind == kRip) {
    switch (mode) {
      case 0: case 1: return RipFormat::Colour;
      case 2: case 3: return RipFormat::LineWork;
      case 4: return second ? RipFormat::LineWork : RipFormat::Colour;
      case 5: return second ? RipFormat::Fixed : RipFormat::Colour;
      default: return RipFormat::None;
    }
  }
  switch (mode) {
    case 1: case 4: return RipFormat::Colour;
    case 2: return second ? RipFormat::Fixed : RipFormat::Colour;
    case 3: return second ? RipFormat::LineWork : RipFormat::Colour;
    case 5: case 6: return RipFormat::LineWork;
    default: return RipFormat::None;
  }
}

std::string RipOutformat(WFfolder folder, std::uint32_t out) {
  const WFfolder_FolderKind kind = WFfolder_Kind(folder);
  const bool jaws = kind == kJawsRip;
  switch (RipOut(kind, WFfolder_GetMode(folder), out)) {
    case RipFormat::Colour: return jaws ? Option(folder, "OutputFormatCT") : Option(folder, "IMGFFMT_CT");
    case RipFormat::LineWork: return jaws ? Option(folder, "OutputFormatLW") : Option(folder, "IMGFFMT_LW");
    case RipFormat::Fixed: return ".QHf";
    case RipFormat::None: break;
  }
  return {};
}

// The path two outs of the folder share; empty when all differ.
std::string EqualOuts(WFfolder folder) {
  std::unordered_set<std::string> paths;
  for (std::uint32_t index = 1; index <= kWFfolderMaxOuts; ++index) {
    const WFfolder out = WFfolder_OutFolder(folder, index);
    if (out == nullptr) break;
    std::string path = Path(out);
    if (!paths.insert(path).second) return path;
  }
  return {};
}

// A Rename that works on any file needs such folders only in front of it:
// along out 1 from the start, up to it (or to the end of that road).
bool OnlyFileCompsBefore(WFfolder start, WFfolder folder) {
  std::unordered_set<WFfolder> seen;
  for (WFfolder f = start; f != nullptr && f != folder; f = WFfolder_OutFolder(f, 1)) {
    // A loop read back from disk ends the road too.
    if (!seen.insert(f).second) break;
    if (!WFfolder_WorksOnFiles(f)) return false;
  }
  return true;
}

bool Matches(StrIn pattern, StrIn text) {
  SRegExpr expression = SRegExpr_Create(pattern);
  const bool matches = SRegExpr_Match(expression, text);
  SRegExpr_Destroy(expression);
  return matches;
}

// The walk from the start folder; `passed` keeps the formats each folder
// passed with, `onPath` the folders of the road to the folder walked.
struct Walk {
  void* view;
  WFbase workflow;
  WFfolder start;
  std::unordered_map<WFfolder, std::vector<std::string>> passed;
  std::unordered_set<WFfolder> onPath;

  bool Fail(WFfolder folder, unsigned message, StrIn argument = "", WFfolder marked = nullptr,
            WFfolder other = nullptr) {
    faultyFolder = folder;
    faultMessage = message;
    Mark(view, marked != nullptr ? marked : folder, other);
    if (message != 0) WFbase_Message(section, message, argument);
    return false;
  }

  // The checks of the folder itself, with the format that reaches it from
  // `previous`, in a fixed order: the first that fails is told. Not
  // inlined: its buffers stay off the frames of the walk's recursion.
  [[gnu::noinline]] bool CheckFolder(WFfolder folder, WFfolder previous, const std::string& format) {
    TextStr reason;
    if (!WFtest_CheckSettings(workflow, folder, reason)) {
      Fail(folder, 0);
      if (!StrIn(reason).Empty()) WFbase_ShowText(reason);
      return false;
    }
    const WFfolder_FolderKind kind = WFfolder_Kind(folder);
    const std::uint32_t mode = WFfolder_GetMode(folder);
    // Every branch must end in a real end folder.
    if (kind == kWFfolderInvisibleEnd) return Fail(folder, kUnfinished);
    if (kind == kDuplicate) {
      const std::string twice = EqualOuts(folder);
      if (!twice.empty()) return Fail(folder, kTwiceToOne, twice);
    }
    if (kind == kRename && WFfolder_WorksOnFiles(folder) && !OnlyFileCompsBefore(start, folder)) {
      return Fail(folder, kRenameOnFiles);
    }
    if (kind == kImgFork && mode == 2 && WFfolder_FinalpageMode(folder)) return Fail(folder, kFinalPages);
    if (kind == kSort && mode == 2 && !WFfolder_GetBoolOptDef(start, "EXTENDFILENAMES", false)) {
      return Fail(folder, kExtendedNames);
    }
    if (kind == kRemoteCopy && WFfolder_GetBoolOptDef(folder, "TAKEOVERSUBDIRS", false) &&
        !WFfolder_JobticketMode(folder)) {
      return Fail(folder, kSubdirsNeedTickets);
    }
    // The connection is what is wrong: the folder before is marked with it.
    TextStr pattern;
    if (!format.empty() && kind == kICopy && WFfolder_GetStringOpt(folder, "INREGEXPR", pattern) &&
        !Matches(pattern, format)) {
      return Fail(folder, kFormatRefused, format, previous, folder);
    }
    if (kind != kWFfolderStart && WFfolder_JobticketMode(folder) && !WFfolder_AcceptsJobticket(folder)) {
      NameStr name;
      WFfolder_GetName(folder, name);
      return Fail(folder, kNoTickets, name);
    }
    return true;
  }

  bool Folders(WFfolder folder, WFfolder previous, const std::string& format) {
    // A folder on its own road again is a loop read back from disk: it is
    // walked already.
    if (folder == nullptr || WFfolder_Done(folder) || onPath.count(folder) != 0) return true;
    std::vector<std::string>& formats = passed[folder];
    if (std::find(formats.begin(), formats.end(), format) != formats.end()) return true;
    if (!CheckFolder(folder, previous, format)) return false;
    // Then its outs in order; the first that fails ends the walk.
    onPath.insert(folder);
    bool result = true;
    for (std::uint32_t index = 1; index <= kWFfolderMaxOuts && result; ++index) {
      const WFfolder out = WFfolder_OutFolder(folder, index);
      if (out == nullptr) break;
      // Behind a Switch the file's format isn't known.
      std::string outFormat;
      if (WFfolder_Kind(folder) != kSwitch) {
        outFormat = Outformat(folder, index);
        if (outFormat.empty()) outFormat = format;
      }
      result = Folders(out, folder, outFormat);
    }
    onPath.erase(folder);
    if (result) formats.push_back(format);
    return result;
  }
};

}  // namespace

void WFtest_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  WFbase_Init();
}

void WFtest_RegisterMarkProc(WFtest_MarkProc proc) { markProc = proc; }

bool WFtest_CheckWorkflow(void* view, WFbase workflow) {
  faultyFolder = nullptr;
  faultMessage = 0;
  Mark(view, nullptr, nullptr);
  if (workflow == nullptr) return false;
  WFbase_SetDone(workflow, false);
  const WFfolder start = WFbase_StartFolder(workflow);
  Walk walk{view, workflow, start, {}, {}};
  return walk.Folders(start, nullptr, "");
}

WFfolder WFtest_FaultyFolder() { return faultyFolder; }
unsigned WFtest_FaultMessage() { return faultMessage; }

bool WFtest_CheckSettings(WFbase workflow, WFfolder folder, StrOut reason) {
  Strings_Assign("", reason);
  if (folder == nullptr) return true;
  const WFfolder_FolderKind kind = WFfolder_Kind(folder);
  return kind >= checks.size() || checks[kind] == nullptr || checks[kind](workflow, folder, reason);
}

void WFtest_RegisterCheck(WFfolder_FolderKind kind, WFtest_CheckProc proc) {
  if (kind < checks.size()) checks[kind] = proc;
}

bool WFtest_GetOutformat(WFfolder folder, std::uint32_t out, StrOut format) {
  Strings_Assign("", format);
  const WFfolder_FolderKind kind = WFfolder_Kind(folder);
  if (WFfolder_OutFolder(folder, out) == nullptr || kind == 0 || kind > kWFfolderMaxKind) return false;
  std::string text;
  switch (kind) {
    case kWFfolderStart: {
      const std::uint32_t fileMode = WFfolder_GetCardOptDef(folder, WFbase_optFileMode, 2);
      if (fileMode == 3) text = ".ps";
      if (fileMode == 4) text = Option(folder, "FILEFMTS");
      break;
    }
    case kRip:
    case kJawsRip: text = RipOutformat(folder, out); break;
    case kPs2Pdf:
    case kCt2Pdf:
    case kProfileTagger: text = ".pdf"; break;
    case kICopy:
    case kCombine: text = Option(folder, "OUTFORMAT"); break;
    case kImgFork: text = Option(folder, "IMGFORMAT"); break;
    case kJxkOvw:
    case kJxkInput: text = ".jxk"; break;
    case kBitmapProof:
      if (WFfolder_GetBoolOptDef(folder, "PRINTTOFILE", false)) text = Option(folder, "PRINTFILE_FORMAT", ".qtf");
      break;
    case kDiffPosition: text = Option(folder, "OUTPUTFORMAT"); break;
    case kCip3: text = ".ppf"; break;
    default: break;
  }
  Strings_Assign(text, format);
  return !text.empty();
}
