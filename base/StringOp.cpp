#include "base/StringOp.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

namespace {

// Blank, tab and the characters a shell would otherwise interpret.
constexpr char kShellMetaChars[] = " \t`!#$&|\\;'\"(){}[]<>*?";

std::string_view ViewOf(StrOut s) { return StrIn(s).View(); }

bool InSet(std::string_view set, char c) { return c != '\0' && set.find(c) != std::string_view::npos; }

// Writes `text` into dst, cut at its bound. `text` may lie inside dst.
void Put(StrOut dst, std::string_view text) {
  const std::size_t n = std::min(text.size(), dst.Capacity());
  std::memmove(dst.Data(), text.data(), n);
  dst.Terminate(n);
}

// Moves the `pieceLen` characters at `pieceFrom` into `piece`, then removes
// the `cutLen` characters at `cutFrom` (piece and delimiter) from s.
void TakePiece(StrOut s, std::size_t pieceFrom, std::size_t pieceLen, std::size_t cutFrom,
               std::size_t cutLen, StrOut piece) {
  const std::string text(ViewOf(s).substr(pieceFrom, pieceLen));
  Strings_Delete(s, cutFrom, cutLen);
  Put(piece, text);
}

// Puts `prefix` before each character of s for which `wanted` holds. The
// result is cut before the first pair that does not fit whole, so a cut never
// leaves a dangling prefix.
template <class Wanted>
void PrefixWhere(StrOut s, Wanted wanted, char prefix) {
  std::string out;
  for (const char c : ViewOf(s)) {
    const bool pair = wanted(c);
    if (out.size() + (pair ? 2 : 1) > s.Capacity()) break;
    if (pair) out += prefix;
    out += c;
  }
  Put(s, out);
}

}  // namespace

// --- Character and text tests ---------------------------------------------

bool StringOp_IsAlpha(char c) {
  const unsigned char u = static_cast<unsigned char>(c);
  if ((u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z')) return true;
  return u >= 192 && u <= 254 && u != 215 && u != 247;
}

bool StringOp_IsDecimalNum(StrIn s) {
  const std::string_view text = s.View();
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool StringOp_IsWhite(char c) { return c == ' ' || c == 8 || c == 12; }

bool StringOp_IsWhiteOrLn(char c) { return StringOp_IsWhite(c) || c == 10 || c == 13; }

bool StringOp_IsShellMetaChar(char c) { return InSet(kShellMetaChars, c); }

// --- Stripping --------------------------------------------------------------

void StringOp_LStrip(StrOut s) {
  const std::string_view text = ViewOf(s);
  std::size_t n = 0;
  while (n < text.size() && StringOp_IsWhiteOrLn(text[n])) ++n;
  Strings_Delete(s, 0, n);
}

void StringOp_RStrip(StrOut s) {
  std::size_t len = s.Length();
  while (len > 0 && StringOp_IsWhiteOrLn(s[len - 1])) --len;
  s.Terminate(len);
}

void StringOp_LRStrip(StrOut s) {
  StringOp_RStrip(s);
  StringOp_LStrip(s);
}

// --- Case -------------------------------------------------------------------

// Latin-1 keeps its upper-case letters 32 below the lower-case ones, like
// ASCII; 215 and 247 (the multiplication and division signs) sit in between.
char StringOp_Upper(char c) {
  const unsigned char u = static_cast<unsigned char>(c);
  if ((u >= 'a' && u <= 'z') || (u >= 224 && u <= 254 && u != 247)) return static_cast<char>(u - 32);
  return c;
}

char StringOp_Lower(char c) {
  const unsigned char u = static_cast<unsigned char>(c);
  if ((u >= 'A' && u <= 'Z') || (u >= 192 && u <= 222 && u != 215)) return static_cast<char>(u + 32);
  return c;
}

void StringOp_UpShift(StrOut s) {
  for (std::size_t i = 0, len = s.Length(); i < len; ++i) s[i] = StringOp_Upper(s[i]);
}

void StringOp_LowShift(StrOut s) {
  for (std::size_t i = 0, len = s.Length(); i < len; ++i) s[i] = StringOp_Lower(s[i]);
}

// --- Text surgery -------------------------------------------------------------

void StringOp_Null(StrOut s) { std::memset(s.Data(), 0, s.Capacity()); }

void StringOp_ConcatChar(StrOut s, char c) {
  const std::size_t len = s.Length();
  if (c == '\0' || len > s.High()) return;
  s[len] = c;
  s.Terminate(len + 1);
}

void StringOp_InsertChar(StrOut s, char c, std::size_t pos) {
  const char one[2] = {c, '\0'};
  Strings_Insert(one, s, pos);
}

bool StringOp_ContainsChar(StrIn s, char c) { return InSet(s.View(), c); }

void StringOp_ReplaceChar(StrOut s, char from, char to) {
  for (std::size_t i = 0, len = s.Length(); i < len; ++i) {
    if (s[i] == from) s[i] = to;
  }
}

void StringOp_DeleteChars(StrOut s, StrIn chars) {
  const std::string_view set = chars.View();
  std::size_t kept = 0;
  for (std::size_t i = 0, len = s.Length(); i < len; ++i) {
    if (!InSet(set, s[i])) s[kept++] = s[i];
  }
  s.Terminate(kept);
}

bool StringOp_ReplaceFirst(StrOut s, StrIn pattern, StrIn replacement) {
  const std::string_view p = pattern.View();
  const std::size_t at = ViewOf(s).find(p);
  if (p.empty() || at == std::string_view::npos) return false;
  StringOp_ReplaceStr(s, at, p.size(), replacement);
  return true;
}

std::size_t StringOp_ReplaceAll(StrOut s, StrIn pattern, StrIn replacement) {
  // Built aside: pattern or replacement may lie inside s.
  const std::string_view text = ViewOf(s), p = pattern.View(), r = replacement.View();
  if (p.empty()) return 0;
  std::string out;
  std::size_t count = 0, from = 0;
  for (std::size_t at; (at = text.find(p, from)) != std::string_view::npos; from = at + p.size()) {
    out.append(text.substr(from, at - from)).append(r);
    ++count;
  }
  out.append(text.substr(from));
  Put(s, out);
  return count;
}

void StringOp_ReplaceStr(StrOut s, std::size_t from, std::size_t count, StrIn text) {
  std::string out(ViewOf(s));
  from = std::min(from, out.size());
  out.replace(from, std::min(count, out.size() - from), text.View());
  Put(s, out);
}

void StringOp_CenterStr(StrOut s, std::size_t width) {
  width = std::min(width, s.Capacity());
  const std::string_view text = ViewOf(s);
  if (text.size() >= width) return;
  const std::size_t left = (width - text.size()) / 2;
  std::string out(left, ' ');
  out.append(text).append(width - text.size() - left, ' ');
  Put(s, out);
}

void StringOp_PrefixChar(StrOut s, char c, char prefix) {
  PrefixWhere(s, [c](char x) { return x == c; }, prefix);
}

int StringOp_CompareStr(StrIn a, StrIn b) { return Strings_CompareStr(a, b); }

// --- Tokens -------------------------------------------------------------------

void StringOp_NextWord(StrOut s, StrOut word) {
  StringOp_LStrip(s);
  const std::string_view text = ViewOf(s);
  if (!text.empty() && text[0] == '"') {
    const std::size_t close = text.find('"', 1);
    if (close == std::string_view::npos) {
      TakePiece(s, 1, text.size() - 1, 0, text.size(), word);
    } else {
      TakePiece(s, 1, close - 1, 0, close + 1, word);
    }
    return;
  }
  const auto end = std::find_if(text.begin(), text.end(), StringOp_IsWhiteOrLn);
  const std::size_t n = static_cast<std::size_t>(end - text.begin());
  TakePiece(s, 0, n, 0, n + 1, word);
}

void StringOp_LastWord(StrOut s, StrOut word) {
  StringOp_RStrip(s);
  const std::string_view text = ViewOf(s);
  const std::size_t len = text.size();
  if (len > 0 && text[len - 1] == '"') {
    const std::size_t open = len >= 2 ? text.rfind('"', len - 2) : std::string_view::npos;
    if (open == std::string_view::npos) {
      TakePiece(s, 0, len - 1, 0, len, word);
    } else {
      TakePiece(s, open + 1, len - 2 - open, open, len - open, word);
    }
    return;
  }
  const auto delimiter = std::find_if(text.rbegin(), text.rend(), StringOp_IsWhiteOrLn);
  const std::size_t start = static_cast<std::size_t>(text.rend() - delimiter);  // 0 when none
  const std::size_t cut = start == 0 ? 0 : start - 1;
  TakePiece(s, start, len - start, cut, len - cut, word);
}

void StringOp_NextToken(StrOut s, char delimiter, StrOut token) {
  const std::size_t len = s.Length();
  const std::size_t n = std::min(StringOp_CharPos(s, true, delimiter, 0), len);
  TakePiece(s, 0, n, 0, n + 1, token);
}

std::size_t StringOp_NumTokens(StrIn s, char delimiter) {
  std::size_t count = 1;
  for (std::size_t at = 0; (at = StringOp_CharPos(s, true, delimiter, at)) <= s.High(); ++at) ++count;
  return count;
}

void StringOp_NextLine(StrOut s, StrOut line) {
  const std::size_t n = std::min(StringOp_CharPos(s, false, '\n', 0), s.Length());
  TakePiece(s, 0, n, 0, n + 1, line);
}

std::size_t StringOp_CharPos(StrIn s, bool escaped, char c, std::size_t from) {
  const std::string_view text = s.View();
  // `odd`: the character at i follows an odd run of backslashes. Only the run
  // just before `from` matters, so the scan need not start at 0.
  bool odd = false;
  if (escaped) {
    for (std::size_t i = std::min(from, text.size()); i > 0 && text[i - 1] == '\\'; --i) odd = !odd;
  }
  for (std::size_t i = from; i < text.size(); ++i) {
    if (text[i] == c && !(escaped && odd)) return i;
    odd = text[i] == '\\' && !odd;
  }
  return s.High() + 1;
}

std::size_t StringOp_StringPos(StrIn s, bool escaped, StrIn pattern, std::size_t from) {
  const std::string_view text = s.View(), p = pattern.View();
  if (p.empty()) return from <= text.size() ? from : s.High() + 1;
  for (std::size_t at = from; (at = StringOp_CharPos(s, escaped, p[0], at)) <= s.High(); ++at) {
    if (text.substr(at).starts_with(p)) return at;
  }
  return s.High() + 1;
}

// --- Quoting ------------------------------------------------------------------

void StringOp_Escape(StrOut s, StrIn set) {
  // One pass, so a backslash in `set` is escaped once and not again behind
  // the backslashes that other characters received.
  const std::string_view chars = set.View();
  PrefixWhere(s, [chars](char c) { return InSet(chars, c); }, '\\');
}

void StringOp_Unescape(StrOut s) {
  std::size_t kept = 0;
  for (std::size_t i = 0, len = s.Length(); i < len; ++i) {
    if (s[i] == '\\' && ++i == len) break;
    s[kept++] = s[i];
  }
  s.Terminate(kept);
}

void StringOp_EscapeShellMetaChars(StrOut s) { StringOp_Escape(s, kShellMetaChars); }
