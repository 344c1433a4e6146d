// The switch folder: one of two outs by a rename scheme or the image format.
#include <algorithm>
#include <cctype>
#include <sstream>

#include "base/SFilMisc.h"
#include "base/SRegExpr.h"
#include "commands/ASrules.h"
#include "image/SImage.h"
#include "rules/SRename.h"

namespace {

char section[kSectionCap] = "ASswitch";

constexpr std::uint32_t kNoRule = 0, kByScheme = 1, kByFormat = 2, kByInk = 3;

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Whether the file's format is the one of `suffix` (".tif", ".pdf"): its own
// suffix is that one, in any case, or the format of that default suffix
// takes its name.
bool HasFormat(const std::string& name, const std::string& suffix) {
  char own[kNameCap];
  SFilMisc_SuffixOf(name, own);
  if (Lower(StrIn(own).Str()) == Lower(suffix)) return true;
  static const struct Formats {
    SImage_FormatList list = SImage_GetListOfSupportedFormats();
    ~Formats() { SImage_DestroyListOfSupportedFormats(list); }
  } formats;
  const SImage_FormatListEntry* format = SImage_FindSupportedFormat(formats.list, suffix);
  if (format == nullptr || format->regExpr[0] == '\0') return false;
  SRegExpr expr = SRegExpr_Create(format->regExpr);
  const bool match = SRegExpr_Match(expr, name);
  SRegExpr_Destroy(expr);
  return match;
}

}  // namespace

ASrules_Decision ASrules_Switch(const ASrules_Folder& folder, const std::string& source) {
  const std::string name = source.substr(source.rfind('/') + 1);
  const std::uint32_t mode = ASrules_CardOpt(folder.rc, "MODE", kByScheme);
  bool first = true;
  switch (mode) {
    case kNoRule:
      break;
    case kByScheme: {
      TextStr path;
      SAutoRcF_GetStringOpt(folder.rc, "SCHEME", path);
      std::string reason;
      SRename scheme = ASrules_Scheme(folder, StrIn(path).Str(), reason);
      if (scheme == nullptr) {
        ASrules_Decision decision;
        decision.what = ASrules_Decision::Fail;
        decision.reason = {reason};
        return decision;
      }
      first = name.size() < kNameCap && SRename_Match(scheme, name);
      break;
    }
    case kByFormat: {
      TextStr formats;
      SAutoRcF_GetStringOpt(folder.rc, "IMAGEFORMATS", formats);
      std::istringstream words(StrIn(formats).Str());
      std::string suffix;
      first = false;
      while (!first && words >> suffix) first = HasFormat(name, suffix);
      break;
    }
    case kByInk: {
      ASrules_Decision decision = ASrules_NeedsEngine(folder, 1);
      decision.noRetry = false;  // another mode of the folder would do
      return decision;
    }
    default:
      return ASrules_Fail(section, 1, {std::to_string(mode)});  // messages: ASswitch 1
  }
  return ASrules_ToOut(folder, first ? 1 : 2, name);
}
