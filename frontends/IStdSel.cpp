// IStdSel: the file box, with a check of the sort of the file chosen.
#include "frontends/IStdSel.h"

#include <cstring>
#include <fstream>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "frontends/FEwfGenr.h"
#include "rc/SrcFile.h"
#include "rules/SRename.h"
#include "toolkit/IFileSel.h"

namespace {

constexpr char section[] = "IStdSel";
// messages: IStdSel 1-4
constexpr unsigned kSchemeTitle = 1, kProfileTitle = 2, kNoScheme = 3, kNoProfile = 4;


std::string SchemeProblem(StrIn path) {
  SRename scheme = SRename_Nil();
  const bool loaded = Messages_Quietly([&] { return SRename_Load(path, scheme); });
  if (loaded) {
    SRename_Destroy(scheme);
    return "";
  }
  TextStr why, text;
  SRename_GetErrorMessage(why);
  Messages_GetMsg(section, kNoScheme, text);
  SPrintf_String(text, path);
  SPrintf_String(text, why);
  return StrIn(text).Str();
}

std::string ProfileProblem(StrIn path) {
  if (IStdSel_IsICCProfile(path)) return "";
  TextStr text;
  Messages_GetMsg(section, kNoProfile, text);
  SPrintf_String(text, path);
  return StrIn(text).Str();
}

// Where a box without a start value opens: the folder the settings name
// under `key` (if any), else the site's customer directory.
void Home(const char* key, StrOut at) {
  at.Clear();
  if (key != nullptr) Messages_Quietly([&] { SrcFile_QueryStringForeignProcess(StrIn::C(key), at); });
  if (StrIn(at).Empty()) DirAcces_IncludeSpecialPath(DirAcces_TV_CUSTOMER, "", at);
}

bool Choose(StrIn title, unsigned ownTitle, StrIn filter, StrIn start, const char* homeKey, IFileSel_CheckProc check,
            StrOut chosen) {
  FEwfGenr_Init();
  const std::string startValue = start.Str();
  TextStr heading;
  if (title.Empty()) Messages_GetMsg(section, ownTitle, heading);
  else Strings_Assign(title, heading);
  PathStr at;
  if (startValue.empty()) Home(homeKey, at);
  else Strings_Assign(startValue, at);
  if (IFileSel_SelectACheckedFile(heading, filter, at, check, chosen)) return true;
  Strings_Assign(startValue, chosen);  // not the place the box opened at
  return false;
}

}  // namespace

bool IStdSel_SelectARenameScheme(StrIn title, StrIn start, StrOut scheme) {
  return Choose(title, kSchemeTitle, "\\.trs$", start, "_NameScheme", SchemeProblem, scheme);
}

bool IStdSel_SelectAICCProfile(StrIn title, StrIn start, StrOut profile) {
  return Choose(title, kProfileTitle, "\\.[iI][cC][cCmM]$", start, nullptr, ProfileProblem, profile);
}

bool IStdSel_IsICCProfile(StrIn path) {
  // The header is 128 bytes; the signature "acsp" stands at byte 36.
  char header[128];
  std::ifstream in(path.Str(), std::ios::binary);
  return in.read(header, sizeof header) && std::memcmp(header + 36, "acsp", 4) == 0;
}
