#include "toolkit/WtColors.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>
#include <string>
#include <unordered_map>

#include "base/DirAcces.h"
#include "base/Messages.h"

const W_Color WtColors_copyColor{0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu};
const W_Color WtColors_defaultBackground{230, 230, 225};
const W_Color WtColors_coreBackground{242, 242, 237};
const W_Color WtColors_inputColor{255, 255, 255};
const W_Color WtColors_buttonColor{215, 215, 210};
const W_Color WtColors_menubarColor{215, 215, 210};
const W_Color WtColors_selectionColor{64, 64, 64};
const W_Color WtColors_insensitiveColor{150, 150, 150};
const W_Color WtColors_rootColor{0, 0, 0};

namespace {

char section[kSectionCap] = "WtColors";

// The X directories that may hold the file, in order.
constexpr const char* kRgbFiles[] = {"/usr/share/X11/rgb.txt", "/etc/X11/rgb.txt", "/usr/lib/X11/rgb.txt",
                                     "/usr/X11R6/lib/X11/rgb.txt", "/usr/openwin/lib/X11/rgb.txt"};

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

const std::unordered_map<std::string, W_Color>& Names() {
  static const std::unordered_map<std::string, W_Color> names = [] {
    std::unordered_map<std::string, W_Color> table(16);
    for (const char* file : kRgbFiles) {
      if (!DirAcces_Access(StrIn::C(file), DirAcces_Mode::Read)) continue;
      std::ifstream in(file);
      std::string line;
      while (std::getline(in, line)) {
        std::istringstream fields(line);
        W_Color c;
        if (!(fields >> c.red >> c.green >> c.blue)) continue;  // comments start with "!"
        std::string name;
        std::getline(fields >> std::ws, name);
        while (!name.empty() && std::isspace(static_cast<unsigned char>(name.back()))) name.pop_back();
        if (!name.empty()) table.emplace(Lower(name), c);
      }
      break;
    }
    return table;
  }();
  return names;
}

}  // namespace

bool WtColors_IsCopyColor(const W_Color& color) { return color == WtColors_copyColor; }

bool WtColors_SetColorByName(StrIn name, W_Color& color) {
  const auto found = Names().find(Lower(name.Str()));
  if (found != Names().end()) {
    color = found->second;
    return true;
  }
  color = W_Color{0, 0, 0};
  Messages_SupplyAdditionalInfo(name);
  Messages_Error(section, 2);
  return false;
}

W_Color WtColors_Darker(const W_Color& color, int delta) {
  const int max = static_cast<int>(std::max({color.red, color.green, color.blue}));
  if (max == 0) return color;
  const int scale = std::max(max - delta, 0);
  auto f = [&](std::uint32_t c) { return static_cast<std::uint32_t>(static_cast<int>(c) * scale / max); };
  return W_Color{f(color.red), f(color.green), f(color.blue)};
}

W_Color WtColors_Lighter(const W_Color& color, int delta) {
  const W_Color inverse{255 - color.red, 255 - color.green, 255 - color.blue};
  const W_Color darker = WtColors_Darker(inverse, delta);
  return W_Color{255 - darker.red, 255 - darker.green, 255 - darker.blue};
}
