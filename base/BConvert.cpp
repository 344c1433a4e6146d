#include "base/BConvert.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

bool BConvert_done = false;

namespace {

// --- Appending -------------------------------------------------------------

// Appends `text` after `fill` characters that bring it to `width`, cut at
// dst's bound. Sets BConvert_done and answers whether everything fitted.
bool AppendPadded(StrOut dst, std::string_view text, std::size_t width, char fill) {
  const std::size_t start = dst.Length();
  const std::size_t room = dst.Capacity() - start;
  const std::size_t pad = width > text.size() ? width - text.size() : 0;
  const std::size_t padWritten = std::min(pad, room);
  const std::size_t textWritten = std::min(text.size(), room - padWritten);
  // text may lie inside dst, but only in front of `start`, which stays put.
  std::memmove(dst.Data() + start + padWritten, text.data(), textWritten);
  std::memset(dst.Data() + start, fill, padWritten);
  dst.Terminate(start + padWritten + textWritten);
  BConvert_done = padWritten == pad && textWritten == text.size();
  return BConvert_done;
}

template <typename T>
void AppendInteger(StrOut dst, T value, std::size_t width) {
  char text[24];
  const auto converted = std::to_chars(text, text + sizeof text, value);
  AppendPadded(dst, std::string_view(text, converted.ptr), width, ' ');
}

// --- Reals -----------------------------------------------------------------

// Longest decimal part a conversion writes; more would not fit any text.
constexpr int kMaxPlaces = static_cast<int>(kTextCap);
// Longest shortest fixed form of a double: "0.", up to 323 zeros and at most
// 17 significant digits.
constexpr std::size_t kMaxFixedChars = 2 + 323 + 17;

// A finite value >= 0 as the shortest decimal that reads back as it: digits
// without the point, which stands in front of digits[point]. Truncating this
// form, not the binary value's exact expansion, keeps 2.25 + 0.05 at "2.3"
// although the double nearest 2.3 lies just below it.
struct Decimal {
  char digits[kMaxFixedChars];
  std::size_t length = 0;
  std::size_t point = 0;

  // Digits behind the stored ones are zeros.
  char At(std::size_t index) const { return index < length ? digits[index] : '0'; }
};

void Expand(double magnitude, Decimal& x) {
  const auto converted =
      std::to_chars(x.digits, x.digits + sizeof x.digits, magnitude, std::chars_format::fixed);
  x.length = static_cast<std::size_t>(converted.ptr - x.digits);
  char* dot = std::find(x.digits, converted.ptr, '.');
  x.point = static_cast<std::size_t>(dot - x.digits);
  if (dot != converted.ptr) {
    std::memmove(dot, dot + 1, static_cast<std::size_t>(converted.ptr - dot - 1));
    --x.length;
  }
}

// Half a unit of the last place, for 0 to 14 places. At 15 places and more
// the addition would only disturb the value's last digits, so none is made.
double HalfUnit(int places) {
  static constexpr double kHalf[15] = {5e-1, 5e-2, 5e-3,  5e-4,  5e-5,  5e-6,  5e-7, 5e-8,
                                       5e-9, 5e-10, 5e-11, 5e-12, 5e-13, 5e-14, 5e-15};
  return places >= 0 && places < 15 ? kHalf[places] : 0.0;
}

void AppendFixed(std::string& text, double magnitude, int places) {
  Decimal x;
  Expand(magnitude + HalfUnit(places), x);
  text.append(x.digits, x.point);
  if (places > 0) text += '.';
  for (int i = 0; i < places; ++i) text += x.At(x.point + static_cast<std::size_t>(i));
}

// Index of the first significant digit; a zero counts as "0" in the units.
std::size_t LeadingDigit(const Decimal& x) {
  for (std::size_t i = 0; i < x.length; ++i) {
    if (x.digits[i] != '0') return i;
  }
  return x.point - 1;
}

int DecimalExponent(const Decimal& x) {
  return static_cast<int>(x.point) - static_cast<int>(LeadingDigit(x)) - 1;
}

void AppendExponent(std::string& text, double magnitude, int places) {
  Decimal x;
  Expand(magnitude, x);
  // Round at the mantissa's last place; a carry (9.96 -> 10.0) moves the
  // leading digit, which is why the exponent is taken again afterwards. Zero
  // has no places to round.
  if (magnitude > 0) {
    const double rounded = magnitude + HalfUnit(places) * std::pow(10.0, DecimalExponent(x));
    if (std::isfinite(rounded)) Expand(rounded, x);
  }
  const std::size_t lead = LeadingDigit(x);
  const int exponent = DecimalExponent(x);
  text += x.At(lead);
  text += '.';
  for (int i = 1; i <= places; ++i) text += x.At(lead + static_cast<std::size_t>(i));
  text += 'E';
  text += exponent < 0 ? '-' : '+';
  char digits[3];
  const int e = std::abs(exponent);  // a double's exponent has three digits at most
  digits[0] = static_cast<char>('0' + e / 100);
  digits[1] = static_cast<char>('0' + e / 10 % 10);
  digits[2] = static_cast<char>('0' + e % 10);
  text.append(digits, 3);
}

// --- From text -------------------------------------------------------------

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::size_t SkipBlanks(StrIn text, std::size_t at) {
  while (text[at] == ' ') ++at;
  return at;
}

std::size_t SkipDigits(StrIn text, std::size_t at) {
  while (IsDigit(text[at])) ++at;
  return at;
}

// An integer field at the front of a text.
struct IntegerField {
  std::size_t end = 0;  // characters taken: blanks, sign and digits
  bool negative = false;
  std::uint64_t magnitude = 0;  // saturated at the 64-bit maximum
};

bool ScanInteger(StrIn text, bool withSign, IntegerField& field) {
  std::size_t at = SkipBlanks(text, 0);
  if (withSign && text[at] == '-') {
    field.negative = true;
    ++at;
  }
  const std::size_t digits = at;
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  for (; IsDigit(text[at]); ++at) {
    const auto digit = static_cast<std::uint64_t>(text[at] - '0');
    field.magnitude = field.magnitude > (kMax - digit) / 10 ? kMax : field.magnitude * 10 + digit;
  }
  field.end = at;
  return at > digits;
}

template <typename T>
bool ReadInteger(StrOut text, T& result) {
  BConvert_done = false;
  IntegerField field;
  if (!ScanInteger(text, std::is_signed_v<T>, field)) return false;
  Strings_Delete(text, 0, field.end);
  // The saturated 64-bit maximum is out of range for every type here but the
  // unsigned 64-bit one, which has no reader.
  constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
  const std::uint64_t limit = field.negative ? kMax + 1 : kMax;
  if (field.magnitude > limit) return false;
  // Negation in unsigned arithmetic, so that the minimum needs no special case.
  result = static_cast<T>(field.negative ? 0 - field.magnitude : field.magnitude);
  BConvert_done = true;
  return true;
}

}  // namespace

void BConvert_CardToStr(StrOut dst, std::uint32_t value, std::size_t width) {
  AppendInteger(dst, value, width);
}

void BConvert_Card64ToStr(StrOut dst, std::uint64_t value, std::size_t width) {
  AppendInteger(dst, value, width);
}

void BConvert_IntToStr(StrOut dst, std::int32_t value, std::size_t width) {
  AppendInteger(dst, value, width);
}

void BConvert_Int64ToStr(StrOut dst, std::int64_t value, std::size_t width) {
  AppendInteger(dst, value, width);
}

void BConvert_CardToStrInHex(StrOut dst, std::uint32_t value, std::size_t width) {
  char text[8];
  const auto converted = std::to_chars(text, text + sizeof text, value, 16);
  std::transform(text, converted.ptr, text, [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
  const std::size_t before = dst.Length();
  // A cut hex number would read as a different number: all or nothing.
  if (!AppendPadded(dst, std::string_view(text, converted.ptr), width, '0')) dst.Terminate(before);
}

void BConvert_RealToStr(StrOut dst, double value, int width, int precision) {
  std::string text;
  if (!std::isfinite(value)) {
    char special[8];
    text.assign(special, std::to_chars(special, special + sizeof special, value).ptr);
  } else {
    if (value < 0) text += '-';
    if (precision >= 0) {
      AppendFixed(text, std::fabs(value), std::min(precision, kMaxPlaces));
    } else {
      width = std::max(width, 9);
      AppendExponent(text, std::fabs(value), std::min(width - 8, kMaxPlaces));
    }
  }
  AppendPadded(dst, text, static_cast<std::size_t>(std::max(width, 0)), ' ');
}

void BConvert_PrettyRealToStr(StrOut dst, double value) {
  if (value == 0) {
    AppendPadded(dst, "0", 0, ' ');
    return;
  }
  const double magnitude = std::fabs(value);
  if (magnitude >= 100000.0 || magnitude < 0.00001) {
    BConvert_RealToStr(dst, value, 18, -1);
    return;
  }
  // Shift decimals in front of the point until what is left behind it is
  // noise. The noise grows with each shift, hence the tolerance with it.
  int places = 0;
  double scaled = magnitude;
  for (double tolerance = 0.000001; std::fabs(scaled - std::nearbyint(scaled)) >= tolerance;
       tolerance *= 10) {
    scaled *= 10;
    ++places;
  }
  BConvert_RealToStr(dst, value, 0, places);
}

void BConvert_StrToStr(StrOut dst, StrIn text, std::size_t width) {
  AppendPadded(dst, text.View(), width, ' ');
}

bool BConvert_StrToCard(StrOut text, std::uint32_t& result) { return ReadInteger(text, result); }

bool BConvert_StrToInt(StrOut text, std::int32_t& result) { return ReadInteger(text, result); }

bool BConvert_StrToInt64(StrOut text, std::int64_t& result) { return ReadInteger(text, result); }

bool BConvert_StrToReal(StrOut text, double& result) {
  BConvert_done = false;
  const StrIn in(text);
  const std::size_t start = SkipBlanks(in, 0);
  std::size_t end = start;
  if (in[end] == '-') ++end;
  const std::size_t mantissa = end;
  end = SkipDigits(in, end);
  bool anyDigit = end > mantissa;
  if (in[end] == '.') {
    const std::size_t fraction = SkipDigits(in, end + 1);
    anyDigit = anyDigit || fraction > end + 1;
    end = fraction;
  }
  if (!anyDigit) return false;
  // An "E" without digits behind it is not part of the number.
  if (in[end] == 'E' || in[end] == 'e') {
    std::size_t exponent = end + 1;
    if (in[exponent] == '+' || in[exponent] == '-') ++exponent;
    const std::size_t exponentEnd = SkipDigits(in, exponent);
    if (exponentEnd > exponent) end = exponentEnd;
  }
  double value = 0;
  const auto parsed = std::from_chars(in.Data() + start, in.Data() + end, value);
  Strings_Delete(text, 0, end);
  if (parsed.ec != std::errc()) return false;
  result = value;
  BConvert_done = true;
  return true;
}
