#include "toolkit/Iplaces.h"

#include <cstdio>
#include <map>
#include <string>

#include "base/Messages.h"
#include "rc/SrcFile.h"

namespace {

// The variables the settings are bound to, one per dialog; map nodes stay put.
std::map<std::string, NameStr> places;

std::string Key(StrIn dialogName) { return "Iplaces_" + dialogName.Str(); }

// The variable of a dialog's key, bound on first use (taking a loaded value).
char* Variable(const std::string& key) {
  auto [at, fresh] = places.try_emplace(key);
  if (fresh) {
    at->second[0] = '\0';
    // A key of another type in a settings file counts as nothing stored.
    Messages_Quietly([&] { SrcFile_DefineString(key, at->second); });
  }
  return at->second;
}

}  // namespace

bool Iplaces_GetConfig(StrIn dialogName, int& x, int& y, int& dx, int& dy) {
  if (dialogName.Str().empty()) return false;
  int width, height;
  if (std::sscanf(Variable(Key(dialogName)), "%d %d %d %d", &x, &y, &width, &height) != 4 || width <= 0 ||
      height <= 0)
    return false;
  dx = -width;
  dy = -height;
  return true;
}

void Iplaces_SetConfig(StrIn dialogName, int x, int y, int width, int height, int, int) {
  if (dialogName.Str().empty()) return;
  const std::string key = Key(dialogName);
  Variable(key);
  NameStr text;
  std::snprintf(text, sizeof text, "%d %d %d %d", x, y, width, height);
  Messages_Quietly([&] { SrcFile_SetString(key, text); });
}
