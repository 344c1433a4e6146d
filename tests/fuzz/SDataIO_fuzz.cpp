// Fuzz target: parses arbitrary bytes as a data file (fields read as
// SDataIOFields.h says). A failed parse must name a line of the text; a
// successful one is written back, and that text must parse to the same values.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "base/Messages.h"
#include "base/SDataIO.h"
#include "tests/fuzz/SDataIOFields.h"

namespace {

using fuzzfields::Values;

void Check(bool condition) {
  if (!condition) std::abort();
}

bool Parse(const char* text, std::size_t size, Values& values) {
  SDataIO_StartParseText(text, size);
  SDataIO_ParseFields(&values, nullptr, fuzzfields::ReadField);
  const bool ok = SDataIO_FinishParse();
  if (!ok) {
    std::size_t lines = 1;
    for (std::size_t i = 0; i < size; ++i) lines += text[i] == '\n';
    const std::size_t line = SDataIO_FindLineNumber(SDataIO_ErrorPosition());
    Check(line >= 1 && line <= lines);
  }
  return ok;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  SDataIO_Init();
  Messages_IgnoreErrors(true);
  Values first;
  if (Parse(reinterpret_cast<const char*>(data), size, first)) {
    char* buffer = nullptr;
    std::size_t length = 0;
    std::FILE* stream = ::open_memstream(&buffer, &length);
    SDataIO_StartGenerate(stream, 2);
    fuzzfields::WriteFields(&first);
    Check(SDataIO_FinishGenerate());
    std::fclose(stream);
    Values second;
    Check(Parse(buffer, length, second) && second == first);
    std::free(buffer);
  }
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  return 0;
}
