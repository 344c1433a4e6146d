#include "base/SPrintf.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <string_view>

#include "base/BConvert.h"
#include "base/StringOp.h"

namespace {

// The text for a placeholder is made here. One buffer for the module, so the
// calls are not reentrant; all of them run on the main thread.
char conversion[kTextCap];

enum class CutMode { kNone, kKeepTail, kKeepHead };

// A placeholder found in a template, its flags read.
struct Placeholder {
  std::size_t pos = 0;  // where the "%" stood
  bool zeroFill = false;
  int width = 0;  // negative aligns left
  int precision = 0;
  CutMode cut = CutMode::kNone;

  std::size_t Columns() const { return static_cast<std::size_t>(width < 0 ? -width : width); }
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsFlag(char c) {
  return IsDigit(c) || c == '.' || c == '!' || c == '$' || c == '-' || c == '+';
}

// Reads the digits at `at`; no text is longer than the buffer, so neither is
// any width or precision worth reading.
int ReadNumber(std::string_view run, std::size_t& at) {
  int number = 0;
  for (; at < run.size() && IsDigit(run[at]); ++at) {
    number = std::min(number * 10 + (run[at] - '0'), static_cast<int>(kTextCap));
  }
  return number;
}

// Each flag is read in turn and anything unexpected ends the reading, so
// "+" (allowed in the run for printf habits) silences what follows it.
void ReadFlags(std::string_view run, Placeholder& ph) {
  std::size_t at = 0;
  if (at < run.size() && run[at] == '0') {
    ph.zeroFill = true;
    ++at;
  }
  const bool left = at < run.size() && run[at] == '-';
  if (left) ++at;
  ph.width = ReadNumber(run, at);
  if (left) ph.width = -ph.width;
  if (at < run.size() && run[at] == '.') {
    ++at;
    ph.precision = ReadNumber(run, at);
  }
  if (at < run.size() && run[at] == '$') ph.cut = CutMode::kKeepTail;
  if (at < run.size() && run[at] == '!') ph.cut = CutMode::kKeepHead;
}

// Finds the first placeholder of `letter`, reads its flags and deletes it
// from tmpl. Every "%%" passed on the way becomes "%"; other placeholders
// are left alone. False, with tmpl otherwise unchanged, when there is none.
bool TakePlaceholder(StrOut tmpl, char letter, Placeholder& ph) {
  std::size_t at = 0;
  for (;;) {
    const std::size_t length = tmpl.Length();
    while (at < length && tmpl[at] != '%') ++at;
    std::size_t end = at + 1;
    while (end < length && IsFlag(tmpl[end])) ++end;
    if (end >= length) return false;
    if (tmpl[end] == letter) {
      ph.pos = at;
      ph.precision = letter == 'f' ? 6 : 0;
      ReadFlags(std::string_view(tmpl.Data() + at + 1, end - at - 1), ph);
      Strings_Delete(tmpl, at, end - at + 1);
      return true;
    }
    if (end == at + 1 && tmpl[end] == '%') Strings_Delete(tmpl, end, 1);
    at = end;
  }
}

// Fills `text` with blanks to the placeholder's width: in front for a width
// of 0 or more, behind for a negative one.
void Align(StrOut text, const Placeholder& ph) {
  const std::size_t length = text.Length();
  const std::size_t target = std::min(ph.Columns(), text.Capacity());
  if (length >= target) return;
  const std::size_t pad = target - length;
  if (ph.width >= 0) {
    std::memmove(text.Data() + pad, text.Data(), length);
    std::memset(text.Data(), ' ', pad);
  } else {
    std::memset(text.Data() + length, ' ', pad);
  }
  text.Terminate(target);
}

// Shortens a text longer than `width`. The marker shows that something is
// missing, where there is room enough for it to leave a readable rest.
void Cut(StrOut text, std::size_t width, CutMode mode) {
  const std::size_t length = text.Length();
  if (mode == CutMode::kNone || length <= width) return;
  if (mode == CutMode::kKeepTail) {
    Strings_Delete(text, 0, length - width);
    if (width > 5) text[0] = '<';
  } else {
    text.Terminate(width);
    if (width > 5) text[width - 1] = '>';
  }
}

// The path of all number placeholders: `convert(text, precision)` appends
// the bare number to the empty buffer.
template <typename Convert>
void FillNumber(StrOut tmpl, char letter, Convert convert) {
  Placeholder ph;
  if (!TakePlaceholder(tmpl, letter, ph)) return;
  const StrOut text(conversion);
  text.Clear();
  convert(text, ph.precision);
  Align(text, ph);
  Cut(text, ph.Columns(), ph.cut);
  // Only blanks in front become zeros: a sign stays where the number has it.
  if (ph.zeroFill) {
    for (std::size_t i = 0; i < text.Length() && text[i] == ' '; ++i) text[i] = '0';
  }
  Strings_Insert(text, tmpl, ph.pos);
}

void FillText(StrOut tmpl, char letter, StrIn value) {
  const StrOut text(conversion);
  // Taken aside before the scan changes tmpl, which may be where value lives.
  Strings_Assign(value, text);
  Placeholder ph;
  if (!TakePlaceholder(tmpl, letter, ph)) return;
  Align(text, ph);
  std::size_t width = ph.Columns();
  CutMode cut = ph.cut;
  // A text too long for the template keeps its end: for paths, the end is
  // what tells them apart.
  const std::size_t length = tmpl.Length();
  if (length + text.Length() > tmpl.High()) {
    width = length < tmpl.High() ? tmpl.High() - length : 0;
    cut = CutMode::kKeepTail;
  }
  Cut(text, width, cut);
  Strings_Insert(text, tmpl, ph.pos);
}

std::tm LocalNow() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return local;
}

// Fills `format` with `fields` in its own buffer, then that into tmpl's "%s".
void FillClock(StrOut tmpl, StrIn format, std::initializer_list<int> fields) {
  NameStr text;
  Strings_Assign(format, text);
  for (const int field : fields) SPrintf_Int(text, field);
  FillText(tmpl, 's', text);
}

}  // namespace

void SPrintf_Card(StrOut tmpl, std::uint32_t value) {
  FillNumber(tmpl, 'd', [value](StrOut text, int) { BConvert_CardToStr(text, value, 0); });
}

void SPrintf_Card64(StrOut tmpl, std::uint64_t value) {
  FillNumber(tmpl, 'd', [value](StrOut text, int) { BConvert_Card64ToStr(text, value, 0); });
}

void SPrintf_Int(StrOut tmpl, std::int32_t value) {
  FillNumber(tmpl, 'd', [value](StrOut text, int) { BConvert_IntToStr(text, value, 0); });
}

void SPrintf_Int64(StrOut tmpl, std::int64_t value) {
  FillNumber(tmpl, 'd', [value](StrOut text, int) { BConvert_Int64ToStr(text, value, 0); });
}

void SPrintf_Real(StrOut tmpl, double value) {
  FillNumber(tmpl, 'f', [value](StrOut text, int precision) {
    BConvert_RealToStr(text, value, 0, precision);
  });
}

void SPrintf_String(StrOut tmpl, StrIn text) { FillText(tmpl, 's', text); }

void SPrintf_EscapedPath(StrOut tmpl, StrIn path) {
  TextStr escaped;
  Strings_Assign(path, escaped);
  StringOp_EscapeShellMetaChars(escaped);
  FillText(tmpl, 's', escaped);
}

void SPrintf_Char(StrOut tmpl, char c) {
  const char text[2] = {c, '\0'};
  FillText(tmpl, 'c', text);
}

void SPrintf_Date(StrOut tmpl) {
  const std::tm now = LocalNow();
  FillClock(tmpl, "%02d.%02d.%d", {now.tm_mday, now.tm_mon + 1, now.tm_year + 1900});
}

void SPrintf_ISODate(StrOut tmpl) {
  const std::tm now = LocalNow();
  FillClock(tmpl, "%d-%02d-%02d", {now.tm_year + 1900, now.tm_mon + 1, now.tm_mday});
}

void SPrintf_Time(StrOut tmpl) {
  const std::tm now = LocalNow();
  FillClock(tmpl, "%02d:%02d", {now.tm_hour, now.tm_min});
}
