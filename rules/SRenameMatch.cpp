// The two engines of a scheme: the matcher, which splits a name over the
// source segments by backtracking, and the renamer, which builds the new name
// from the destination items in four phases (arithmetic, cut-off and fill,
// replace, case shift). Neither allocates per name: pieces are views into the
// name, texts live in fixed arrays.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "rules/SFormula.h"
#include "rules/SRename.h"
#include "rules/SRenameRec.h"

namespace {

char section[kSectionCap] = "SRename";
char opSection[kSectionCap] = "SRenamOp";

constexpr unsigned kMissingSection = 20;  // "The formula uses %s, but the scheme has no %s section."
constexpr unsigned kKeywordNames = 21;    // SRenamOp: the name of keyword k is message 21 + k

bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool CharFits(char c, std::uint8_t type) {
  switch (type) {
    case SRenamOp_kLetter: return IsLetter(c);
    case SRenamOp_kNoLetter: return !IsLetter(c);
    case SRenamOp_kDigit: return IsDigit(c);
    case SRenamOp_kNoDigit: return !IsDigit(c);
    case SRenamOp_kAlphanumeric: return IsLetter(c) || IsDigit(c);
    case SRenamOp_kNoAlphanumeric: return !IsLetter(c) && !IsDigit(c);
    default: return true;
  }
}

bool IsList(const SRenamOp_Rec& s) { return !s.isString && s.lengthIsList && !s.lengths.empty(); }
bool IsKind(const SRenamOp_Rec* s, std::uint8_t keyword) { return s != nullptr && !s->isString && s->keyword == keyword; }

std::size_t MinOf(const SRenamOp_Rec& s) {
  if (s.isString) return SRenamOp_ContentLength(s);
  return IsList(s) ? s.lengths.front() : s.minLength;
}

std::size_t MaxOf(const SRenamOp_Rec& s) {
  if (s.isString) return SRenamOp_ContentLength(s);
  return IsList(s) ? s.lengths.back() : s.maxLength;
}

void Store(SRenamOp_Rec& s, std::string_view text) {
  const std::size_t n = std::min(text.size(), kNameCap);
  std::copy_n(text.data(), n, s.content);
  if (n < kNameCap) s.content[n] = '\0';
}

// A number's test: digits only, the empty text passing. Up to 8 digits the
// value must lie in the section's range; longer numbers aren't computed, so
// only the widest range of 8-digit numbers takes them.
bool NumberFits(const SRenamOp_Rec& s, std::string_view text) {
  if (text.empty()) return true;
  if (!std::all_of(text.begin(), text.end(), IsDigit)) return false;
  if (text.size() <= 8) {
    std::uint32_t value = 0;
    for (const char c : text) value = value * 10 + static_cast<std::uint32_t>(c - '0');
    if (value < s.numLow || value > s.numHigh) return false;
  } else if (s.numLow != 0 || s.numHigh != SRename_maxNumeral) {
    return false;
  }
  const bool odd = (text.back() - '0') % 2 == 1;
  return !(s.numParity == SRenamOp_kEven && odd) && !(s.numParity == SRenamOp_kOdd && !odd);
}

// Tests one piece against one segment.
bool MatchSeg(const SRenamOp_Rec& s, std::string_view text) {
  if (s.isString) return text == std::string_view(s.content, SRenamOp_ContentLength(s));
  bool fits = false;
  switch (s.keyword) {
    case SRenamOp_kChars:
    case SRenamOp_kName1:
    case SRenamOp_kName2:
    case SRenamOp_kName3:
      fits = CharFits(text.empty() ? '\0' : text.front(), s.charFirst) &&
             CharFits(text.empty() ? '\0' : text.back(), s.charLast);
      break;
    case SRenamOp_kDelimiter: fits = std::string_view(s.fix).starts_with(text); break;
    case SRenamOp_kLetters: fits = std::all_of(text.begin(), text.end(), IsLetter); break;
    case SRenamOp_kVariant:
      fits = std::find(s.variants.begin(), s.variants.end(), text) != s.variants.end();
      break;
    default: fits = SRenamOp_KeywordIsNumerical(s.keyword) && NumberFits(s, text);
  }
  return fits;
}

// Depth first over the partitions of the name. A state (segment, position,
// may-miss) always gives the same answer, so one that failed is noted and
// not explored again: the search stays polynomial, and since the order of
// trials is unchanged, the partition found is the one plain backtracking
// finds. The piece a segment passed with is noted as a place in the name;
// the contents are filled from those once the whole name fits.
class Matcher {
 public:
  Matcher(SRename scheme, std::string_view name) : scheme_(scheme), name_(name) {}

  bool Run() {
    std::size_t count = 0;
    for (SRenamOp_Rec* s = scheme_->source; s != nullptr; s = s->next) s->order = count++;
    stride_ = name_.size() + 1;
    scheme_->failed.assign(count * stride_ * 2, 0);
    scheme_->pieces.resize(count);
    Bounds(count);
    if (!Segments(scheme_->source, 0, true)) return false;
    for (SRenamOp_Rec* s = scheme_->source; s != nullptr; s = s->next) {
      const auto [at, length] = scheme_->pieces[s->order];
      if (!s->isString) Store(*s, name_.substr(at, length));
    }
    return true;
  }

 private:
  // What the segments from each one on can take of the name together: at
  // most the sum of their maxima, at least the sum of their minima, where a
  // delimiter and the section behind it may take nothing.
  void Bounds(std::size_t count) {
    auto& rest = scheme_->rest;
    rest.resize(count);
    const SRenamOp_Rec* previous = nullptr;
    for (const SRenamOp_Rec* s = scheme_->source; s != nullptr; previous = s, s = s->next) {
      const bool mayBeEmpty = IsKind(s, SRenamOp_kDelimiter) || IsKind(previous, SRenamOp_kDelimiter);
      rest[s->order] = {mayBeEmpty ? 0 : MinOf(*s), MaxOf(*s)};
    }
    for (std::size_t i = count; i-- > 1;) {
      rest[i - 1].first += rest[i].first;
      rest[i - 1].second += rest[i].second;
    }
  }

  bool Segments(SRenamOp_Rec* s, std::size_t at, bool mayMiss) {
    if (s == nullptr) return at == name_.size();
    const std::uint64_t rest = name_.size() - at;
    if (rest < scheme_->rest[s->order].first || rest > scheme_->rest[s->order].second) return false;
    std::uint8_t& failed = scheme_->failed[(s->order * stride_ + at) * 2 + (mayMiss ? 1 : 0)];
    if (failed != 0) return false;
    const bool fits = Explore(*s, at, mayMiss);
    failed = fits ? 0 : 1;
    return fits;
  }

  bool Piece(const SRenamOp_Rec& s, std::size_t at, std::size_t length) {
    if (!MatchSeg(s, name_.substr(at, length))) return false;
    scheme_->pieces[s.order] = {at, length};
    return true;
  }

  bool Explore(SRenamOp_Rec& s, std::size_t at, bool mayMiss) {
    const std::size_t rest = name_.size() - at;
    const std::size_t min = MinOf(s);
    const bool mayBeAbsent = IsKind(&s, SRenamOp_kDelimiter) && mayMiss;
    if (rest >= min || mayBeAbsent) {
      if (IsList(s)) {
        // 1. Allowed lengths, ascending.
        for (const std::uint32_t length : s.lengths) {
          if (length > rest) break;
          if (Piece(s, at, length) && Segments(s.next, at + length, true)) return true;
        }
      } else if (const std::size_t bound = std::min(rest, MaxOf(s)); IsKind(&s, SRenamOp_kVariant)) {
        // 2. Variants longest first, so that "CM" wins over its prefix "C".
        for (std::size_t length = bound + 1; length > min;) {
          --length;
          if (Piece(s, at, length) && Segments(s.next, at + length, true)) return true;
        }
      } else {
        // 3. Shortest first. A delimiter behind us that stands in the name
        //    inside the piece tried can't be treated as absent any more.
        std::size_t delimiterAt = std::string_view::npos;
        if (IsKind(s.next, SRenamOp_kDelimiter)) delimiterAt = name_.substr(at).find(s.next->fix);
        for (std::size_t length = min; length <= bound; ++length)
          if (Piece(s, at, length) && Segments(s.next, at + length, length <= delimiterAt)) return true;
      }
    }
    // 4. A delimiter may be absent, but only together with the section
    //    behind it, which then takes the empty text too.
    SRenamOp_Rec* next = s.next;
    if (!mayBeAbsent || next == nullptr || next->isString || !Piece(*next, at, 0)) return false;
    scheme_->pieces[s.order] = {at, 0};
    return Segments(next->next, at, true);
  }

  SRename scheme_;
  std::string_view name_;
  std::size_t stride_ = 0;
};

// --- Renaming ----------------------------------------------------------------

// A text of at most 128 bytes under construction.
struct Text {
  char c[kNameCap];
  std::size_t n = 0;

  std::string_view View() const { return {c, n}; }
  void Assign(std::string_view text) {
    n = std::min(text.size(), kNameCap);
    std::copy_n(text.data(), n, c);
  }
};

std::string_view Bounded(const char* text, std::size_t capacity) {
  return {text, static_cast<std::size_t>(std::find(text, text + capacity, '\0') - text)};
}

std::int64_t ContentNumber(const SRenamOp_Rec* s) {
  if (s == nullptr) return 0;
  const std::string_view text(s->content, SRenamOp_ContentLength(*s));
  if (text.empty() || text.size() > 18 || !std::all_of(text.begin(), text.end(), IsDigit)) return 0;
  return std::stoll(std::string(text));
}

SRenamOp_Rec* FirstWithKey(SRename scheme, std::uint8_t keyword) {
  for (SRenamOp_Rec* s = scheme == nullptr ? nullptr : scheme->source; s != nullptr; s = s->next)
    if (IsKind(s, keyword)) return s;
  return nullptr;
}

// What a formula's variables read: the current value and the numbers of the
// scheme's last match.
struct FormulaContext {
  std::int64_t value = 0, num1 = 0, num2 = 0, counter = 0;
};

SFormula_Assigns FormulaVariables() {
  static SFormula_Assigns assigns = [] {
    SFormula_Assigns a = SFormula_NoAssigns();
    SFormula_AddIntVar(a, "VALUE", [](void* c) { return static_cast<FormulaContext*>(c)->value; });
    SFormula_AddIntVar(a, "NUM1", [](void* c) { return static_cast<FormulaContext*>(c)->num1; });
    SFormula_AddIntVar(a, "NUM2", [](void* c) { return static_cast<FormulaContext*>(c)->num2; });
    SFormula_AddIntVar(a, "COUNTER", [](void* c) { return static_cast<FormulaContext*>(c)->counter; });
    return a;
  }();
  return assigns;
}

SFormula_Formula Compile(StrIn text, std::size_t& position, unsigned& message) {
  return SFormula_CreateFormula(text, SFormula_GetStdIntFuncs(), FormulaVariables(), SFormula_kInt, position,
                                message);
}

bool EvaluateFormula(SRename scheme, const SRenamOp_Operator& op, std::int64_t value, std::int64_t& result) {
  std::size_t position = 0;
  unsigned message = 0;
  SFormula_Formula formula = Compile(op.formula, position, message);
  FormulaContext context{value, ContentNumber(FirstWithKey(scheme, SRenamOp_kNum1)),
                         ContentNumber(FirstWithKey(scheme, SRenamOp_kNum2)),
                         ContentNumber(FirstWithKey(scheme, SRenamOp_kCounter))};
  result = SFormula_EvaluateInt(formula, &context);
  const bool done = formula != SFormula_NilFormula() && SFormula_error == 0;
  SFormula_DestroyFormula(formula);
  return done;
}

std::int32_t Wrap(std::int64_t value) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(value)); }

// INC and DEC within the source's number range, in 32-bit arithmetic with its
// wrap-around. The off-by-ones of the steps past either end belong to the
// format: with the range 1-10, INC(1) takes "10" to "01" and DEC(1) "01" to
// "10". A range of a single number can't be stepped.
bool Step(const SRenamOp_Rec& source, const SRenamOp_Operator& op, std::int64_t value, std::int64_t& result) {
  const std::int32_t low = Wrap(source.numLow);
  const std::int32_t span = Wrap(std::int64_t{Wrap(source.numHigh)} - low);
  if (span == 0) return false;
  std::int32_t v = Wrap(value - low);
  const std::int32_t amount = Wrap(op.amount);
  v = Wrap(op.operation == SRenamOp_kInc ? std::int64_t{v} + amount : std::int64_t{v} - amount);
  if (v > span) v = Wrap(std::int64_t{v} % span - 1);
  else if (v >= 0) v = Wrap(std::int64_t{v} % span);
  else v = Wrap(std::int64_t{Wrap(std::int64_t{span} + v)} % span + 1);
  result = Wrap(std::int64_t{v} + low);
  return true;
}

// Phase 1: the arithmetic operators in order; each reads the text as a number
// of at most 8 digits' value and writes its result right-aligned in the
// text's width, with zeros in front (a formula's width is 1).
bool Arithmetic(SRename scheme, const SRenamOp_Rec& section, Text& text) {
  for (const SRenamOp_Operator& op : section.ops) {
    if (op.kind != SRenamOp_kArithmetic) continue;
    const std::string_view digits = text.View();
    if (digits.empty() || !std::all_of(digits.begin(), digits.end(), IsDigit)) return false;
    std::int64_t value = 0;
    for (const char c : digits) {
      value = value * 10 + (c - '0');
      if (value > SRename_maxNumeral) return false;
    }
    std::int64_t result = 0;
    std::size_t width = text.n;
    if (op.operation == SRenamOp_kFormula) {
      if (!EvaluateFormula(scheme, op, value, result)) return false;
      width = 1;
    } else if (!Step(*section.source, op, value, result)) {
      return false;
    }
    std::string number = std::to_string(result);
    if (number.size() < width) number.insert(0, width - number.size(), '0');
    text.Assign(number);
  }
  return true;
}

// Phase 2: cut-off and fill, in order.
void CutAndFill(const SRenamOp_Rec& section, Text& text) {
  for (const SRenamOp_Operator& op : section.ops) {
    if (op.kind == SRenamOp_kCutOff && text.n > op.length) {
      if (op.left) std::memmove(text.c, text.c + text.n - op.length, op.length);
      text.n = op.length;
    } else if (op.kind == SRenamOp_kFill && text.n < op.length) {
      const std::size_t target = std::min<std::size_t>(op.length, kNameCap);
      const std::size_t added = target - text.n;
      if (op.left) {
        std::memmove(text.c + added, text.c, text.n);
        std::memset(text.c, op.fillChar, added);
      } else {
        std::memset(text.c + text.n, op.fillChar, added);
      }
      text.n = target;
    }
  }
}

// Phase 3: one replace operator. Characters that an earlier replacement of
// the same section wrote are marked and never replaced again, so that
// "(a)->(b)(b)->(a)" swaps.
void Replace(const SRenamOp_Operator& op, Text& text, bool* marks) {
  const std::string_view from = Bounded(op.from, kSRenamOpReplaceCap);
  const std::string_view to = Bounded(op.to, kSRenamOpReplaceCap);
  if (from.empty()) return;
  for (std::size_t at = 0; at < text.n;) {
    if (!text.View().substr(at).starts_with(from) || std::any_of(marks + at, marks + at + from.size(), std::identity{})) {
      ++at;
      continue;
    }
    const std::size_t tail = at + from.size();
    const std::size_t written = std::min(to.size(), kNameCap - at);
    const std::size_t kept = std::min(text.n - tail, kNameCap - (at + written));
    std::memmove(text.c + at + written, text.c + tail, kept);
    std::memmove(marks + at + written, marks + tail, kept);
    std::memcpy(text.c + at, to.data(), written);
    text.n = at + written + kept;
    std::fill(marks + text.n, marks + kNameCap, false);
    std::fill(marks + at, marks + at + written, true);
    at += written;
  }
}

// Phase 4: the case shift, ASCII letters only.
void Shift(std::uint8_t shift, Text& text) {
  for (std::size_t i = 0; i < text.n; ++i) {
    char& c = text.c[i];
    if (shift == SRenamOp_kUpper && c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    if (shift == SRenamOp_kLower && c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
}

bool BuildSection(SRename scheme, SRenamOp_Rec& section, Text& text) {
  text.Assign(std::string_view(section.source->content, SRenamOp_ContentLength(*section.source)));
  if (SRenamOp_KeywordIsNumerical(section.source->keyword) && !Arithmetic(scheme, section, text)) return false;
  CutAndFill(section, text);
  bool marks[kNameCap] = {};
  for (const SRenamOp_Operator& op : section.ops)
    if (op.kind == SRenamOp_kReplace) Replace(op, text, marks);
  Shift(section.shift, text);
  Store(section, text.View());
  return true;
}

}  // namespace

bool SRename_Match(SRename scheme, StrIn name) {
  if (scheme == nullptr) {
    SRename_error = SRename_kNoName;
    return false;
  }
  SRename_error = 0;
  const std::string_view text = name.View();
  // 1. The empty name fits every scheme, with empty pieces.
  if (text.empty()) {
    for (SRenamOp_Rec* s = scheme->source; s != nullptr; s = s->next)
      if (!s->isString) Store(*s, {});
    return true;
  }
  if (scheme->source == nullptr) return false;
  // 2. The length must lie within the sum of the segments' bounds; the
  //    delimiters, which may be absent, add nothing to the minimum.
  std::uint64_t least = 0, most = 0;
  for (const SRenamOp_Rec* s = scheme->source; s != nullptr; s = s->next) {
    if (!IsKind(s, SRenamOp_kDelimiter)) least += MinOf(*s);
    most += MaxOf(*s);
  }
  if (text.size() < least || text.size() > most) return false;
  // 3. The partitions.
  return Matcher(scheme, text).Run();
}

bool SRename_Rename(SRename scheme, StrIn name, StrOut newName) {
  newName.Clear();
  if (scheme == nullptr) {
    SRename_error = SRename_kNoName;
    return false;
  }
  SRename_error = 0;
  if (name.Empty()) return true;
  if (scheme->destination == nullptr || !SRename_Match(scheme, name)) return false;
  std::size_t length = 0;
  for (SRenamOp_Rec* d = scheme->destination; d != nullptr; d = d->next) {
    Text text;
    if (d->isString) {
      text.Assign(std::string_view(d->content, SRenamOp_ContentLength(*d)));
    } else if (d->source == nullptr) {
      SRename_error = SRename_kInconsistent;
      newName.Clear();
      return false;
    } else if (!BuildSection(scheme, *d, text)) {
      SRename_error = SRename_kArithmetic;
      newName.Clear();
      return false;
    }
    const std::size_t n = std::min(text.n, newName.Capacity() - length);
    std::memcpy(newName.Data() + length, text.c, n);
    length += n;
    newName.Terminate(length);
  }
  return true;
}

bool SRename_CheckFormula(StrIn formula, SRename scheme, StrOut message) {
  message.Clear();
  // 1. The numbers the formula reads must have their sections.
  struct Variable {
    const char* name;
    std::uint8_t keyword;
    unsigned display;  // message in section SRename
  };
  static constexpr Variable kVariables[] = {
      {"NUM1", SRenamOp_kNum1, 22}, {"NUM2", SRenamOp_kNum2, 23}, {"COUNTER", SRenamOp_kCounter, 24}};
  for (const Variable& v : kVariables) {
    if (formula.View().find(v.name) == std::string_view::npos || FirstWithKey(scheme, v.keyword) != nullptr)
      continue;
    char words[kTextCap];
    Messages_GetMsg(section, kMissingSection, message);
    Messages_GetMsg(section, v.display, words);  // messages: SRename 22-24
    SPrintf_String(message, words);
    Messages_GetMsg(opSection, kKeywordNames + v.keyword, words);  // messages: SRenamOp 26-28
    SPrintf_String(message, words);
    SRename_error = SRename_kSyntax;
    return false;
  }
  // 2. It must compile.
  std::size_t position = 0;
  unsigned number = 0;
  SFormula_Formula compiled = Compile(formula, position, number);
  if (compiled == SFormula_NilFormula()) {
    char where[kNameCap] = " (#%d)";
    Messages_GetMsg("SFormula", number, message);  // messages: SFormula 1-14
    SPrintf_Card(where, static_cast<std::uint32_t>(position));
    Strings_Concat(message, where, message);
    SRename_error = SRename_kSyntax;
    return false;
  }
  SFormula_DestroyFormula(compiled);
  SRename_error = 0;
  return true;
}
