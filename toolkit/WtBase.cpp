#include "toolkit/WtBase.h"

#include <algorithm>
#include <cstdlib>

#include "base/Messages.h"
#include "base/Processe.h"
#include "toolkit/CWCore.h"

std::uint8_t WtBase_wtError = 0;
W_Pixmap WtBase_rootPixmap = 0;

namespace {

char errorSection[kSectionCap] = "WtErrors";
char section[kSectionCap] = "WtBase";
bool opened = false;

constexpr std::int64_t kInfinite = static_cast<std::int64_t>(1) << 40;

void Terminate() { W_CloseDisplay(); }

void SupplyVariable(const char* name) {
  TextStr text;
  Strings_Assign("Environment Variable ", text);
  Strings_Concat(text, StrIn::C(name), text);
  Strings_Concat(text, "=", text);
  Strings_Concat(text, StrIn::C(std::getenv(name)), text);
  Messages_SupplyAdditionalInfo(text);
}

}  // namespace

Dim WtBase_InitDim() { return Dim{0, Dim_Unbounded}; }

Dim WtBase_AddDim(Dim a, Dim b) {
  Dim sum;
  sum.min = a.min + b.min;
  sum.stretch = a.stretch == Dim_Unbounded || b.stretch == Dim_Unbounded ? Dim_Unbounded : a.stretch + b.stretch;
  return sum;
}

std::int64_t WtBase_Largest(Dim d) {
  return d.stretch == Dim_Unbounded ? kInfinite : static_cast<std::int64_t>(d.min) + d.stretch;
}

Dim WtBase_CombineDim(Dim a, Dim b) {
  Dim result;
  result.min = std::max(a.min, b.min);
  if (a.stretch == Dim_Unbounded && b.stretch == Dim_Unbounded) {
    result.stretch = Dim_Unbounded;
  } else {
    const std::int64_t largest = std::min(WtBase_Largest(a), WtBase_Largest(b));
    result.stretch = static_cast<std::uint32_t>(std::max<std::int64_t>(largest - result.min, 0));
  }
  return result;
}

bool WtBase_GeomsEqual(const Geometry& a, const Geometry& b) {
  return a.hDim.min == b.hDim.min && a.hDim.stretch == b.hDim.stretch && a.vDim.min == b.vDim.min &&
         a.vDim.stretch == b.vDim.stretch;
}

void WtBase_WtError(std::uint8_t code) {
  WtBase_wtError = code;
  Messages_Error(errorSection, code);  // messages: WtErrors 1 2 4 7
}

void WtBase_Assert(bool condition) {
  if (condition) return;
  Messages_Error(section, 1);
  // Even when errors are ignored, a broken assertion ends the program.
  Processe_SetExitStatus(2);
  Processe_Exit();
  std::abort();
}

bool WtBase_InstanceOf(Widget widget, Classes_ClassPtr cls) {
  return widget != nullptr && Classes_IsSubClass(widget->cls, cls);
}

bool WtBase_AssertDisplayOpen() {
  if (W_DisplayOpen()) return true;
  const bool open = Messages_Quietly([] { return W_OpenDisplay(); });
  if (!open) {
    SupplyVariable("SSH_CONNECTION");
    SupplyVariable("DISPLAY");
    WtBase_WtError(1);
    return false;
  }
  if (!opened) {
    opened = true;
    Processe_InstallTerminationProcedure(Terminate);
    if (const char* file = std::getenv("BACKPIX"); file != nullptr && *file != '\0') {
      int width, height;
      WtBase_rootPixmap = Messages_Quietly([&] { return W_ReadPixmapFile(StrIn::C(file), width, height); });
    }
  }
  return true;
}
