// Fuzz target: tokenises arbitrary bytes and checks what every caller relies
// on: the scan ends, positions lie in the text and never go back, and every
// symbol but an error or a string has a text.
#include <cstdint>
#include <cstdlib>

#include "base/Scanner.h"

namespace {

// Macros may expand a short text into millions of symbols (up to the
// scanner's bound on expansion); a run stops counting well before that.
constexpr std::size_t kMaxSymbols = 200000;

void Check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  SMacros words = SMacros_Create();
  SMacros_AddKeyword(words, "EXAMPLE", 10);
  Scanner s = Scanner_Create(reinterpret_cast<const char*>(data), size, words);
  // Odd first bytes take the short strings of rename schemes.
  if (size > 0 && data[0] % 2 == 1) Scanner_SetStringBound(s, 128);
  std::size_t previous = 0;
  for (std::size_t count = 0; count < kMaxSymbols; ++count) {
    const Scanner_Sym kind = Scanner_Next(s);
    const std::size_t at = Scanner_SymPosition(s), end = Scanner_SymEnd(s);
    Check(previous <= at && at <= end && end <= size);
    Check(Scanner_LineNumber(s, at) >= 1);
    previous = at;
    if (kind == Scanner_Sym::End) {
      Check(at == size);
      break;
    }
    char text[8];
    Scanner_SymText(s, text);
    Check(kind == Scanner_Sym::Error || kind == Scanner_Sym::String || text[0] != '\0');
    Check((kind == Scanner_Sym::Error) == (Scanner_SymError(s) != 0));
    Check(kind != Scanner_Sym::Keyword || Scanner_SymKeyword(s) != 0);
  }
  Scanner_Destroy(s);
  SMacros_Destroy(words);
  return 0;
}
