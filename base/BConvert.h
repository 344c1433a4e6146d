// Numbers to and from text.
//
// Conversions to text append to what the destination already holds; the
// caller empties it first if it wants the number alone. A width is a minimum:
// blanks go on the left. Conversions from text consume what they read from
// the front of the string they are given, so a run of fields is parsed by
// calling them one after another on the same string.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Strings.h"

// Result of the last conversion: true when the whole number fitted (to text)
// or a number in range was read (from text). Shared by all callers.
extern bool BConvert_done;

// --- To text ---------------------------------------------------------------

// Appends `value` in decimal, right-aligned in `width`. Text that does not fit
// is cut at dst's bound and BConvert_done is false.
void BConvert_CardToStr(StrOut dst, std::uint32_t value, std::size_t width);
void BConvert_Card64ToStr(StrOut dst, std::uint64_t value, std::size_t width);
void BConvert_IntToStr(StrOut dst, std::int32_t value, std::size_t width);
void BConvert_Int64ToStr(StrOut dst, std::int64_t value, std::size_t width);
// Appends `value` in upper-case hex, filled with "0" on the left to `width`.
// A result that does not fit is taken away again: dst is as before.
void BConvert_CardToStrInHex(StrOut dst, std::uint32_t value, std::size_t width);
// Appends `value` with `precision` decimals (rounded half up), right-aligned
// in `width`. A negative precision gives exponent notation "d.dddE+ddd" in at
// least 9 columns, with width - 8 decimals; positive numbers keep one blank
// where the sign would stand.
void BConvert_RealToStr(StrOut dst, double value, int width, int precision);
// Appends the shortest readable form of `value`: "0", plain decimals up to
// six places, or exponent notation in 18 columns outside 0.00001..100000.
void BConvert_PrettyRealToStr(StrOut dst, double value);
// Appends `text` right-aligned in `width`; cut at dst's bound, and then
// BConvert_done is false. `text` may be dst itself.
void BConvert_StrToStr(StrOut dst, StrIn text, std::size_t width);

// --- From text --------------------------------------------------------------

// Each skips leading blanks, reads an optional "-" (signed forms only) and
// digits, and stops at the first other character. What was read is deleted
// from `text`. `result` is written only when the return value (and
// BConvert_done) is true: out of range consumes the digits and answers false;
// no digit at all leaves text and result alone and answers false.
bool BConvert_StrToCard(StrOut text, std::uint32_t& result);
bool BConvert_StrToInt(StrOut text, std::int32_t& result);
bool BConvert_StrToInt64(StrOut text, std::int64_t& result);
// The same for a decimal number with optional fraction (".5") and exponent
// ("E+003"; the exponent alone may carry a "+").
bool BConvert_StrToReal(StrOut text, double& result);
