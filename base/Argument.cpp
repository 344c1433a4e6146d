#include "base/Argument.h"

#include <string>
#include <vector>

namespace {

std::vector<std::string> arguments;
std::size_t cursor = 1;

}  // namespace

void Argument_Init(int argc, const char* const* argv) {
  arguments.assign(argv, argv + argc);
  cursor = 1;
}

std::size_t Argument_Number() {
  return cursor < arguments.size() ? arguments.size() - cursor : 0;
}

bool Argument_Get(StrOut arg) {
  arg.Clear();
  if (cursor >= arguments.size()) return false;
  Strings_Assign(arguments[cursor++], arg);
  return true;
}

void Argument_Unget() {
  if (cursor > 1) --cursor;
}

bool Argument_Seek(std::size_t n, StrOut arg) {
  arg.Clear();
  if (n >= arguments.size()) return false;
  Strings_Assign(arguments[n], arg);
  return true;
}

void Argument_Rewind() { cursor = 1; }

void Argument_Shift() {
  if (cursor < arguments.size()) arguments.erase(arguments.begin() + static_cast<long>(cursor));
}

void Argument_GetBinaryName(StrOut name) {
  if (arguments.empty() || arguments[0].empty()) {
    Strings_Assign("???", name);
    return;
  }
  const std::string& path = arguments[0];
  const std::size_t slash = path.rfind('/');
  Strings_Assign(slash == std::string::npos ? path : path.substr(slash + 1), name);
}
