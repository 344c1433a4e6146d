// Fuzz target: loads arbitrary bytes as a rename scheme. A scheme that loads
// is saved, loaded again and saved again, which must give the same text
// unless one of the format's known asymmetries is in it; then it matches and
// renames a few names. A load that fails leaves no scheme and says why.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "rules/SRename.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

// A text that the writer puts in quotes without escapes and that reads back
// otherwise: a backslash before a quote, before a backslash, or at the end.
bool Unsafe(std::string_view text) {
  return text.find("\\\"") != std::string_view::npos || text.find("\\\\") != std::string_view::npos ||
         (!text.empty() && text.back() == '\\');
}

void AddVariant(StrIn variant, void* unsafe) { *static_cast<bool*>(unsafe) |= Unsafe(variant.View()); }

// Whether the scheme holds what the format can't write back as it was: such
// texts, or a lower-case shift with an arithmetic operator right behind it.
bool HasAsymmetry(SRename scheme) {
  bool unsafe = false;
  char text[kNameCap + 1];
  SRename_GetExampleString(scheme, text);
  unsafe |= Unsafe(text);
  SRenamOp seg = SRename_NilSeg();
  for (bool more = SRename_GetFirstSeg(scheme, true, seg); more; more = SRename_GetNextSeg(scheme, true, seg)) {
    SRenamOp_GetContent(seg, text);
    if (SRenamOp_IsString(seg)) unsafe |= Unsafe(text);
    if (SRenamOp_GetFixContent(seg, text)) unsafe |= Unsafe(text);
    SRenamOp_IterateVariants(seg, AddVariant, &unsafe);
  }
  for (bool more = SRename_GetFirstSeg(scheme, false, seg); more; more = SRename_GetNextSeg(scheme, false, seg)) {
    SRenamOp_GetContent(seg, text);
    SRenamOp_Operator op;
    if (SRenamOp_IsString(seg)) unsafe |= Unsafe(text);
    else if (SRenamOp_GetShiftOp(seg) == SRenamOp_kLower && SRenamOp_GetFirstOp(seg, op))
      unsafe |= op.kind == SRenamOp_kArithmetic;
  }
  return unsafe;
}

void Exercise(SRename scheme, std::string_view input) {
  char example[kNameCap + 1], renamed[kNameCap + 1];
  SRename_GetExampleAssignment(scheme, example, renamed);
  std::vector<std::string> names = {example, "abc_07C", "0123456789", "a", std::string(128, 'a'),
                                    std::string(input.substr(0, 40))};
  for (const std::string& name : names) {
    const bool matched = SRename_Match(scheme, name);
    char out[kNameCap + 1];
    const bool done = SRename_Rename(scheme, name, out);
    Check(!done || matched);
    Check(done || out[0] == '\0');
    for (std::uint8_t key = 0; key < SRenamOp_kKeywordCount; ++key) {
      char text[kNameCap + 1];
      Check(SRename_GetContentForKey(scheme, key, text) == SRename_IsKeyIncluded(scheme, key));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool started = (SRename_Init(), true);
  Check(started);
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  SRename scheme = SRename_Nil();
  if (!SRename_LoadText(input.data(), input.size(), scheme)) {
    Check(scheme == SRename_Nil() && SRename_error != 0);
    return 0;
  }
  Check(SRename_Check(scheme));
  std::string text;
  if (SRename_SaveText(scheme, text)) {
    SRename again = SRename_Nil();
    const bool reloaded = SRename_LoadText(text.data(), text.size(), again);
    if (!HasAsymmetry(scheme)) {
      Check(reloaded);
      std::string second;
      Check(SRename_SaveText(again, second) && second == text);
    }
    SRename_Destroy(again);
  } else {
    Check(SRename_error == SRename_kBothQuotes);
  }
  Exercise(scheme, input);
  SRename_Destroy(scheme);
  return 0;
}
