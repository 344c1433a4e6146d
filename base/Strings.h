// Bounded strings: the one way texts are passed through the system.
//
// A bounded string is a byte array with a high bound H; it holds H+1 bytes and
// is terminated by a zero byte unless it is exactly full. Every routine gets
// the bound with the address, so nothing ever writes past an array.
//
//   StrOut  writable view: address + high bound. Made implicitly from a
//           `char (&)[N]` (a fixed array or a record field), or explicitly from
//           (address, high bound) for memory the caller sized itself.
//   StrIn   readable view: reading stops at the first zero byte or at the
//           bound. Made implicitly from arrays, literals, std::string and
//           StrOut; from a plain `const char*` only through StrIn::C().
//
// Routines treat a StrIn as a value: source and destination may be the same
// array unless a routine says otherwise.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The named capacities of the system's texts, in bytes.
inline constexpr std::size_t kSectionCap = 16;  // catalog section names
inline constexpr std::size_t kNameCap = 128;    // workflows, folders, keys, hosts
inline constexpr std::size_t kPathCap = 1024;   // directory paths
inline constexpr std::size_t kTextCap = 5120;   // messages, command lines, values

using SectionStr = char[kSectionCap];
using NameStr = char[kNameCap];
using PathStr = char[kPathCap];
using TextStr = char[kTextCap];

class StrOut {
 public:
  template <std::size_t N>
  constexpr StrOut(char (&array)[N]) noexcept : data_(array), high_(N - 1) {}
  // `high` is the last valid index: the array holds high + 1 bytes.
  constexpr StrOut(char* data, std::size_t high) noexcept : data_(data), high_(high) {}

  constexpr char* Data() const noexcept { return data_; }
  constexpr std::size_t High() const noexcept { return high_; }
  constexpr std::size_t Capacity() const noexcept { return high_ + 1; }
  // Characters up to the terminator, at most High() + 1.
  std::size_t Length() const noexcept;
  // The character at `index`; the caller keeps index <= High().
  constexpr char& operator[](std::size_t index) const noexcept { return data_[index]; }
  // Makes the string empty.
  constexpr void Clear() const noexcept { data_[0] = '\0'; }
  // Ends the string after `length` characters (no terminator when full).
  constexpr void Terminate(std::size_t length) const noexcept {
    if (length <= high_) data_[length] = '\0';
  }

 private:
  char* data_;
  std::size_t high_;
};

class StrIn {
 public:
  template <std::size_t N>
  constexpr StrIn(const char (&array)[N]) noexcept : data_(array), high_(N - 1) {}
  StrIn(const std::string& text) noexcept : data_(text.c_str()), high_(text.size()) {}
  constexpr StrIn(const StrOut& text) noexcept : data_(text.Data()), high_(text.High()) {}
  constexpr StrIn(const char* data, std::size_t high) noexcept : data_(data), high_(high) {}
  // A zero-terminated text of unknown capacity (argv, getenv); nullptr reads empty.
  static StrIn C(const char* text) noexcept;

  constexpr const char* Data() const noexcept { return data_; }
  constexpr std::size_t High() const noexcept { return high_; }
  std::size_t Length() const noexcept;
  bool Empty() const noexcept { return data_[0] == '\0'; }
  // The character at `index`, or 0 past the bound.
  constexpr char operator[](std::size_t index) const noexcept {
    return index <= high_ ? data_[index] : '\0';
  }
  std::string_view View() const noexcept { return {data_, Length()}; }
  std::string Str() const { return std::string(View()); }

 private:
  const char* data_;
  std::size_t high_;
};

// --- The primitive set -----------------------------------------------------

// Copies `src` into `dst` up to its terminator or the smaller bound;
// a terminator is written if there is room.
void Strings_Assign(StrIn src, StrOut dst);
// Number of characters, at most High() + 1.
std::size_t Strings_Length(StrIn s);
// dst becomes a then b, cut at dst's bound. A `b` that is dst itself is first
// copied aside through a 5120-byte buffer, so such a b is cut at 5120 bytes.
void Strings_Concat(StrIn a, StrIn b, StrOut dst);
// The `count` characters of `src` from index `from`, not stopping at a
// terminator; positions past src's bound give zero bytes.
void Strings_Copy(StrIn src, std::size_t from, std::size_t count, StrOut dst);
// Inserts `src` before index `pos` (at the end when pos is past it). An empty
// src, or a result that would not fit, leaves dst unchanged: never cut.
void Strings_Insert(StrIn src, StrOut dst, std::size_t pos);
// Removes up to `count` characters from index `from`; nothing when from is at
// or past the end.
void Strings_Delete(StrOut s, std::size_t from, std::size_t count);
// Index of the first occurrence of `pattern` in `s`, or s.High() + 1 when
// there is none. An empty pattern gives 0. "Pos == 0" is the prefix test.
std::size_t Strings_Pos(StrIn pattern, StrIn s);
// Index of the last occurrence, or s.High() + 1. An empty pattern gives the
// last index of s; an empty s gives s.High() + 1.
std::size_t Strings_LastPos(StrIn pattern, StrIn s);
// -1, 0 or 1 by unsigned byte value.
int Strings_CompareStr(StrIn a, StrIn b);
bool Strings_Equal(StrIn a, StrIn b);
