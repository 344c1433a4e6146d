#include "base/Scanner.h"

#include <locale.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

// Bounds that keep a hostile or broken text from running away: how deep
// macros and includes may nest, how many bytes they may bring in together,
// and how large one included file may be.
constexpr std::size_t kMaxDepth = 16;
constexpr std::size_t kMaxExpansion = std::size_t{4} << 20;
constexpr std::size_t kMaxIncludeSize = std::size_t{1} << 20;

constexpr std::array<std::string_view, 6> kCompounds = {"=>", "->", "<|", "|>", "|<", ">|"};

struct Token {
  Scanner_Sym kind = Scanner_Sym::End;
  std::size_t begin = 0, end = 0;
  std::string text;
  std::uint64_t card = 0;
  double real = 0.0;
  unsigned keyword = 0;
  unsigned error = 0;
};

// One text being read: the scanned text itself, a macro body or an included
// file. Symbols of a nested frame report `usePos`/`useEnd`, the place in the
// scanned text of the word that brought the frame in.
struct Frame {
  std::string text;
  std::size_t at = 0;
  std::size_t usePos = 0, useEnd = 0;
};

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; }
bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsPunctuation(char c) {
  return (c >= '!' && c <= '/') || (c >= ':' && c <= '@') || (c >= '[' && c <= '`') || (c >= '{' && c <= '~');
}

// Reals are read in the C locale whatever the program's locale says, so a
// file reads the same on every workstation.
double ReadReal(const std::string& digits, bool& tooLarge) {
  static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  errno = 0;
  const double value = strtod_l(digits.c_str(), nullptr, cLocale);
  tooLarge = errno == ERANGE && std::isinf(value);
  return value;
}

}  // namespace

struct Scanner_Rec {
  std::vector<Frame> frames;  // frames[0] is the scanned text
  SMacros words = nullptr;
  SMacros ownWords = nullptr;  // the private table made for nil `words`
  std::size_t stringBound = kTextCap - 1;
  std::size_t expanded = 0;  // bytes brought in by macros and includes
  Token current;

  ~Scanner_Rec() { SMacros_Destroy(ownWords); }
};

namespace {

// Reads over a comment that starts at `at`; false when its end is missing.
bool SkipComment(const std::string& text, std::size_t& at) {
  std::size_t depth = 0;
  while (at < text.size()) {
    if (text.compare(at, 2, "(*") == 0) {
      ++depth;
      at += 2;
    } else if (text.compare(at, 2, "*)") == 0) {
      at += 2;
      if (--depth == 0) return true;
    } else {
      ++at;
    }
  }
  return false;
}

void LexNumber(const std::string& text, std::size_t& at, Token& t) {
  const std::size_t n = text.size();
  bool tooLarge = false;
  t.kind = Scanner_Sym::Integer;
  for (; at < n && IsDigit(text[at]); ++at) {
    const unsigned digit = static_cast<unsigned>(text[at] - '0');
    if (t.card > (UINT64_MAX - digit) / 10) tooLarge = true;
    t.card = t.card * 10 + digit;
  }
  if (at + 1 < n && text[at] == '.' && IsDigit(text[at + 1])) {
    t.kind = Scanner_Sym::Real;
    for (++at; at < n && IsDigit(text[at]);) ++at;
    if (at < n && (text[at] == 'E' || text[at] == 'e')) {
      std::size_t digits = at + 1;
      if (digits < n && (text[digits] == '+' || text[digits] == '-')) ++digits;
      if (digits < n && IsDigit(text[digits]))
        for (at = digits; at < n && IsDigit(text[at]);) ++at;
    }
  }
  t.text = text.substr(t.begin, at - t.begin);
  if (t.kind == Scanner_Sym::Real) {
    t.card = 0;
    t.real = ReadReal(t.text, tooLarge);
  } else {
    t.real = static_cast<double>(t.card);
  }
  if (tooLarge) {
    t.kind = Scanner_Sym::Error;
    t.error = Scanner_kNumberTooLarge;
  }
}

void LexString(const std::string& text, std::size_t& at, std::size_t bound, Token& t) {
  const char quote = text[at++];
  while (at < text.size()) {
    char c = text[at++];
    if (c == quote) {
      t.kind = Scanner_Sym::String;
      return;
    }
    if (c == '\\' && at < text.size() && (text[at] == '"' || text[at] == '\\')) c = text[at++];
    if (t.text.size() < bound) t.text += c;
  }
  t.kind = Scanner_Sym::Error;
  t.error = Scanner_kOpenString;
  t.text.clear();
}

// Reads one symbol of frame `f` as it stands: keywords are looked up, but
// directives and macros are left to Scanner_Next. Positions are the frame's.
void Lex(const Scanner_Rec& s, Frame& f, Token& t) {
  const std::string& text = f.text;
  std::size_t& at = f.at;
  const std::size_t n = text.size();
  t = Token{};
  for (;;) {
    while (at < n && IsBlank(text[at])) ++at;
    if (text.compare(at, 2, "(*") != 0) break;
    t.begin = at;
    if (!SkipComment(text, at)) {
      t.kind = Scanner_Sym::Error;
      t.error = Scanner_kOpenComment;
      t.end = n;
      return;
    }
  }
  t.begin = at;
  if (at >= n) {
    t.end = n;
    return;
  }
  const char c = text[at];
  if (IsLetter(c)) {
    while (at < n && (IsLetter(text[at]) || IsDigit(text[at]) || text[at] == '_')) ++at;
    t.text = text.substr(t.begin, at - t.begin);
    t.keyword = SMacros_Keyword(s.words, t.text);
    t.kind = t.keyword != 0 ? Scanner_Sym::Keyword : Scanner_Sym::Ident;
  } else if (IsDigit(c)) {
    LexNumber(text, at, t);
  } else if (c == '"' || c == '\'') {
    LexString(text, at, s.stringBound, t);
  } else {
    const auto compound = std::find_if(kCompounds.begin(), kCompounds.end(),
                                       [&](std::string_view symbol) { return text.compare(at, 2, symbol) == 0; });
    const std::size_t length = compound != kCompounds.end() ? 2 : 1;
    t.text = text.substr(at, length);
    at += length;
    const bool legal = IsPunctuation(c) && c != '*' && c != '`';
    t.kind = legal ? Scanner_Sym::Symbol : Scanner_Sym::Error;
    if (!legal) t.error = Scanner_kIllegalChar;
  }
  t.end = at;
}

// Brings `text` in at the place of symbol `use`; false when that would nest
// or expand too far, and then every nested frame is given up, so that a
// runaway macro ends in one error instead of one per level.
bool Push(Scanner_Rec& s, std::string text, const Token& use) {
  s.expanded += text.size() + 1;
  if (s.frames.size() > kMaxDepth || s.expanded > kMaxExpansion) {
    s.frames.resize(1);
    return false;
  }
  s.frames.push_back({std::move(text), 0, use.begin, use.end});
  return true;
}

// MACRO name BEGIN body END, the MACRO already read from the top frame. The
// body runs to the END that matches its BEGIN, so bodies may hold BEGIN/END
// pairs and whole definitions.
bool DefineMacro(Scanner_Rec& s) {
  Frame& f = s.frames.back();
  Token name, t;
  Lex(s, f, name);
  if (name.kind != Scanner_Sym::Ident) return false;
  Lex(s, f, t);
  if (t.keyword != SMacros_kBegin) return false;
  const std::size_t bodyStart = f.at;
  for (std::size_t depth = 0;;) {
    Lex(s, f, t);
    if (t.kind == Scanner_Sym::End) return false;
    if (t.keyword == SMacros_kBegin) ++depth;
    if (t.keyword != SMacros_kEnd) continue;
    if (depth-- > 0) continue;
    const std::string body = f.text.substr(bodyStart, t.begin - bodyStart);
    return SMacros_Define(s.words, name.text, body);
  }
}

// Reads a regular file whole; false for anything else, or one that is too
// large to be a text of ours.
bool ReadIncludeFile(const std::string& path, std::string& text) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return false;
  char chunk[4096];
  std::size_t got = 0;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0 && text.size() <= kMaxIncludeSize) text.append(chunk, got);
  const bool ok = std::ferror(file) == 0 && text.size() <= kMaxIncludeSize;
  std::fclose(file);
  return ok;
}

// INCLUDE "file", the INCLUDE already read from the top frame.
bool Include(Scanner_Rec& s, const Token& directive, bool& tooDeep) {
  Token name;
  Lex(s, s.frames.back(), name);
  std::string text;
  if (name.kind != Scanner_Sym::String || !ReadIncludeFile(name.text, text)) return false;
  tooDeep = !Push(s, std::move(text), directive);
  return !tooDeep;
}

// Turns the current symbol into an error of `kind`, keeping its place.
Scanner_Sym Fail(Scanner_Rec& s, unsigned kind) {
  s.current.kind = Scanner_Sym::Error;
  s.current.error = kind;
  s.current.text.clear();
  return Scanner_Sym::Error;
}

}  // namespace

Scanner Scanner_Create(const char* text, std::size_t length, SMacros words) {
  auto* s = new Scanner_Rec;
  if (words == nullptr) words = s->ownWords = SMacros_Create();
  s->words = words;
  s->frames.push_back({std::string(text, length), 0, 0, 0});
  return s;
}

void Scanner_Destroy(Scanner& s) {
  delete s;
  s = nullptr;
}

Scanner Scanner_Nil() { return nullptr; }

void Scanner_SetStringBound(Scanner s, std::size_t bytes) {
  if (s != nullptr) s->stringBound = bytes;
}

Scanner_Sym Scanner_Next(Scanner s) {
  if (s == nullptr) return Scanner_Sym::End;
  Token& t = s->current;
  for (;;) {
    Lex(*s, s->frames.back(), t);
    if (s->frames.size() > 1) {
      if (t.kind == Scanner_Sym::End) {
        s->frames.pop_back();
        continue;
      }
      t.begin = s->frames.back().usePos;
      t.end = s->frames.back().useEnd;
    }
    if (t.keyword == SMacros_kMacro) {
      if (!DefineMacro(*s)) return Fail(*s, Scanner_kBadMacro);
      continue;
    }
    if (t.keyword == SMacros_kInclude) {
      bool tooDeep = false;
      if (!Include(*s, t, tooDeep)) return Fail(*s, tooDeep ? Scanner_kTooDeep : Scanner_kBadInclude);
      continue;
    }
    StrIn body("");
    if (t.kind == Scanner_Sym::Ident && SMacros_Find(s->words, t.text, body)) {
      if (!Push(*s, body.Str(), t)) return Fail(*s, Scanner_kTooDeep);
      continue;
    }
    return t.kind;
  }
}

Scanner_Sym Scanner_SymKind(Scanner s) { return s == nullptr ? Scanner_Sym::End : s->current.kind; }

std::size_t Scanner_SymPosition(Scanner s) { return s == nullptr ? 0 : s->current.begin; }

std::size_t Scanner_SymEnd(Scanner s) { return s == nullptr ? 0 : s->current.end; }

void Scanner_SymText(Scanner s, StrOut text) {
  if (s == nullptr) {
    text.Clear();
    return;
  }
  Strings_Assign(StrIn(s->current.text), text);
}

bool Scanner_IsSymbol(Scanner s, StrIn symbol) {
  return s != nullptr && s->current.kind == Scanner_Sym::Symbol && s->current.text == symbol.View();
}

unsigned Scanner_SymKeyword(Scanner s) {
  return s != nullptr && s->current.kind == Scanner_Sym::Keyword ? s->current.keyword : 0;
}

std::uint64_t Scanner_SymCard(Scanner s) {
  return s != nullptr && s->current.kind == Scanner_Sym::Integer ? s->current.card : 0;
}

double Scanner_SymReal(Scanner s) {
  if (s == nullptr) return 0.0;
  const bool number = s->current.kind == Scanner_Sym::Real || s->current.kind == Scanner_Sym::Integer;
  return number ? s->current.real : 0.0;
}

unsigned Scanner_SymError(Scanner s) {
  return s != nullptr && s->current.kind == Scanner_Sym::Error ? s->current.error : 0;
}

std::size_t Scanner_LineNumber(Scanner s, std::size_t position) {
  if (s == nullptr) return 0;
  const std::string& text = s->frames.front().text;
  const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(position, text.size()));
  return 1 + static_cast<std::size_t>(std::count(text.begin(), end, '\n'));
}
