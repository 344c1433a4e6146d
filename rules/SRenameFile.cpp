// The ".trs" file of a scheme: loading by recursive descent over the shared
// scanner's symbols, one symbol of lookahead, and writing.
//
//   file        = version source ["=>" destination] EXAMPLE string END
//   version     = identifier "V" digits, at most SRename_version
//   source      = {string | "[" keyword "]" ["<" properties ">"] [length]}, at least one
//   length      = n "-" m | n {"," n}
//   destination = {string | "[" n "]" ["^" | "v"] {operator}}
//   operator    = "|<" n | ">|" n | "<|" n char | "|>" n char | text "->" text
//               | INC "(" n ")" | DEC "(" n ")" | FORMULA "(" string ")"
//   char, text  = "(" one character, or a string ")"; "()" is a blank, "())" a ")"
//
// Version 1 files write INC and DEC bare, with the step 1.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "base/BFileIO.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SFilMisc.h"
#include "base/SMacros.h"
#include "base/SPrintf.h"
#include "base/Scanner.h"
#include "rules/SRename.h"
#include "rules/SRenameRec.h"

namespace {

// The words of the format in the scanner's table, above its own.
constexpr unsigned kSectionWords = 10;   // + keyword
constexpr unsigned kCharTypeWords = 30;  // + character type
constexpr unsigned kFirst = 40;
constexpr unsigned kLast = 41;
constexpr unsigned kEven = 42;
constexpr unsigned kOdd = 43;
constexpr unsigned kInc = 44;
constexpr unsigned kDec = 45;
constexpr unsigned kFormula = 46;
constexpr unsigned kExample = 47;

constexpr std::string_view kKeywordNames[SRenamOp_kKeywordCount] = {
    "CHARS", "DELIMITER", "LETTERS", "DIGITS", "VARIANT", "NUM1", "NUM2", "COUNTER", "NAME1", "NAME2", "NAME3"};
constexpr std::string_view kCharTypeNames[SRenamOp_kCharTypeCount] = {
    "ANYCHAR", "LETTER", "NOLETTER", "DIGIT", "NODIGIT", "ALPHANUMERIC", "NOALPHANUMERIC"};

// A scheme file is small; anything larger is no scheme. Names have at most
// 128 bytes, so a scheme needs far fewer items than this; the bound keeps a
// macro that expands into thousands of sections from making the matcher
// recurse without end.
constexpr std::size_t kMaxFileSize = std::size_t{1} << 20;
constexpr std::size_t kMaxItems = 500;

constexpr std::size_t kAtEnd = static_cast<std::size_t>(-1);

// A table of the format's words for one load. Each load has its own, so
// that macros a file defines don't reach the next file.
SMacros MakeWords() {
  SMacros words = SMacros_Create();
  for (unsigned k = 0; k < SRenamOp_kKeywordCount; ++k) SMacros_AddKeyword(words, std::string(kKeywordNames[k]), kSectionWords + k);
  for (unsigned t = 0; t < SRenamOp_kCharTypeCount; ++t) SMacros_AddKeyword(words, std::string(kCharTypeNames[t]), kCharTypeWords + t);
  SMacros_AddKeyword(words, "FIRST", kFirst);
  SMacros_AddKeyword(words, "LAST", kLast);
  SMacros_AddKeyword(words, "EVEN", kEven);
  SMacros_AddKeyword(words, "ODD", kOdd);
  SMacros_AddKeyword(words, "INC", kInc);
  SMacros_AddKeyword(words, "DEC", kDec);
  SMacros_AddKeyword(words, "FORMULA", kFormula);
  SMacros_AddKeyword(words, "EXAMPLE", kExample);
  return words;
}

bool Fail(std::uint8_t error) {
  SRename_error = error;
  return false;
}

// --- Reading -------------------------------------------------------------------

class Parser {
 public:
  Parser(const char* text, std::size_t length)
      : words_(MakeWords()), scanner_(Scanner_Create(text, length, words_)) {
    Scanner_SetStringBound(scanner_, kNameCap);
  }
  ~Parser() {
    Scanner_Destroy(scanner_);
    SMacros_Destroy(words_);
    SRename_Destroy(scheme_);
  }
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;

  std::uint8_t ErrorNumber() const { return error_; }
  std::size_t ErrorLine() const { return line_; }

  // The scheme, handed over, or nil with the error and its line recorded.
  SRename Run() {
    if (!Advance() || !Version()) return nullptr;
    scheme_ = SRename_Create();
    std::size_t items = 0;
    for (; IsString() || Is("["); ++items)
      if (items == kMaxItems || !SourceItem()) return Error(SRename_kSyntax), nullptr;
    if (items == 0) return Error(SRename_kSyntax), nullptr;
    if (Is("=>")) {
      if (!Advance()) return nullptr;
      for (items = 0; IsString() || Is("["); ++items)
        if (items == kMaxItems || !DestinationItem()) return Error(SRename_kSyntax), nullptr;
    }
    if (!Example()) return nullptr;
    SRename scheme = scheme_;
    scheme_ = nullptr;
    return scheme;
  }

 private:
  // --- Symbols

  // The first error of the parse counts; later ones are its consequences.
  bool Error(std::uint8_t error) { return ErrorAt(error, Scanner_SymPosition(scanner_)); }
  bool ErrorAt(std::uint8_t error, std::size_t position) {
    if (error_ == 0) {
      error_ = error;
      line_ = Scanner_LineNumber(scanner_, position);
    }
    return false;
  }
  bool Advance() { return Scanner_Next(scanner_) != Scanner_Sym::Error || Error(SRename_kScanner); }
  Scanner_Sym Kind() const { return Scanner_SymKind(scanner_); }
  bool Is(StrIn symbol) const { return Scanner_IsSymbol(scanner_, symbol); }
  bool IsString() const { return Kind() == Scanner_Sym::String; }
  unsigned Keyword() const { return Scanner_SymKeyword(scanner_); }
  bool IsWord() const { return Kind() == Scanner_Sym::Ident || Kind() == Scanner_Sym::Keyword; }
  std::string Text() const {
    char text[kTextCap];
    Scanner_SymText(scanner_, text);
    return StrIn(text).Str();
  }
  bool Expect(StrIn symbol) { return Is(symbol) ? Advance() : Error(SRename_kSyntax); }
  bool Card(std::uint32_t& value) {
    if (Kind() != Scanner_Sym::Integer || Scanner_SymCard(scanner_) > SRenamOp_kNumHigh) return Error(SRename_kSyntax);
    value = static_cast<std::uint32_t>(Scanner_SymCard(scanner_));
    return Advance();
  }

  // --- Version and example

  bool Version() {
    const std::string word = Text();
    const bool digits = word.size() >= 2 && word.size() <= 10 &&
                        std::all_of(word.begin() + 1, word.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (Kind() != Scanner_Sym::Ident || word[0] != 'V' || !digits) return Error(SRename_kVersion);
    version_ = std::stoul(word.substr(1));
    if (version_ > SRename_version) return Error(SRename_kVersion);
    return Advance();
  }

  bool Example() {
    if (Keyword() != kExample || !Advance()) return Error(SRename_kSyntax);
    if (!IsString()) return Error(SRename_kSyntax);
    SRename_SetExampleString(scheme_, Text());
    if (!Advance()) return false;
    return Kind() == Scanner_Sym::End || Error(SRename_kSyntax);
  }

  // --- Source

  bool SourceItem() {
    if (IsString()) {
      SRenamOp literal = SRename_CreateSrcSeg(true);
      SRenamOp_SetContent(literal, Text());
      SRename_InsertSrcSeg(scheme_, kAtEnd, literal);
      return Advance();
    }
    if (!Advance()) return false;
    const unsigned word = Keyword();
    if (word < kSectionWords || word >= kSectionWords + SRenamOp_kKeywordCount) return Error(SRename_kSyntax);
    SRenamOp s = SRename_CreateSrcSeg(false);
    SRename_InsertSrcSeg(scheme_, kAtEnd, s);
    SRenamOp_SetKeyword(s, static_cast<std::uint8_t>(word - kSectionWords));
    if (!Advance() || !Expect("]")) return false;
    if (Is("<") && !(Advance() && Properties(s) && Expect(">"))) return false;
    return Kind() != Scanner_Sym::Integer || Length(s);
  }

  bool Properties(SRenamOp s) {
    const std::uint8_t keyword = SRenamOp_GetKeyword(s);
    if (keyword == SRenamOp_kDelimiter) {
      if (!IsString()) return Error(SRename_kSyntax);
      SRenamOp_SetFixContent(s, Text());
      return Advance();
    }
    if (keyword == SRenamOp_kVariant) {
      for (;;) {
        if (!IsString()) return Error(SRename_kSyntax);
        SRenamOp_AddVariant(s, Text());
        if (!Advance()) return false;
        if (!Is("|")) return true;
        if (!Advance()) return false;
      }
    }
    if (keyword == SRenamOp_kLetters) return Error(SRename_kSyntax);
    const bool numerical = SRenamOp_KeywordIsNumerical(keyword);
    for (;;) {
      if (!(numerical ? NumberProperty(s) : CharProperty(s))) return false;
      if (!Is(",")) return true;
      if (!Advance()) return false;
    }
  }

  // "a-b", EVEN or ODD.
  bool NumberProperty(SRenamOp s) {
    if (Keyword() == kEven || Keyword() == kOdd) {
      SRenamOp_SetNumParity(s, Keyword() == kEven ? SRenamOp_kEven : SRenamOp_kOdd);
      return Advance();
    }
    std::uint32_t low = 0, high = 0;
    if (!Card(low) || !Expect("-") || !Card(high)) return false;
    SRenamOp_SetNumRange(s, low, high);
    return true;
  }

  // FIRST=type or LAST=type. Another word, with or without a value, is
  // passed over, and a word that is no type means any character.
  bool CharProperty(SRenamOp s) {
    if (!IsWord()) return Error(SRename_kSyntax);
    const unsigned which = Keyword();
    if (!Advance()) return false;
    const bool typed = which == kFirst || which == kLast;
    if (!Is("=")) return !typed || Error(SRename_kSyntax);
    if (!Advance()) return false;
    if (!IsWord()) return Error(SRename_kSyntax);
    const unsigned word = Keyword();
    const bool known = word >= kCharTypeWords && word < kCharTypeWords + SRenamOp_kCharTypeCount;
    const std::uint8_t type = known ? static_cast<std::uint8_t>(word - kCharTypeWords) : SRenamOp_kAnyChar;
    std::uint8_t first = 0, last = 0;
    SRenamOp_GetCharProperties(s, first, last);
    if (which == kFirst) SRenamOp_SetCharProperties(s, type, last);
    if (which == kLast) SRenamOp_SetCharProperties(s, first, type);
    return Advance();
  }

  bool Length(SRenamOp s) {
    std::uint32_t length = 0;
    if (!Card(length)) return false;
    if (Is("-")) {
      std::uint32_t longest = 0;
      if (!Advance() || !Card(longest)) return false;
      SRenamOp_SetRange(s, length, longest);
      return true;
    }
    SRenamOp_AddFixedLength(s, length);
    while (Is(",")) {
      if (!Advance() || !Card(length)) return false;
      SRenamOp_AddFixedLength(s, length);
    }
    return true;
  }

  // --- Destination

  bool DestinationItem() {
    if (IsString()) {
      SRenamOp literal = SRename_CreateDstSeg(true);
      SRenamOp_SetContent(literal, Text());
      SRename_InsertDstSeg(scheme_, kAtEnd, 0, literal);
      return Advance();
    }
    std::uint32_t n = 0;
    if (!Advance()) return false;
    const std::size_t reference = Scanner_SymPosition(scanner_);
    if (!Card(n) || !Expect("]")) return false;
    SRenamOp source = n == 0 ? nullptr : SRename_GetSeg(scheme_, true, n);
    if (source == nullptr) return ErrorAt(SRename_kInconsistent, reference);
    if (SRenamOp_IsString(source)) return ErrorAt(SRename_kSyntax, reference);
    SRenamOp d = SRename_CreateDstSeg(false);
    SRename_InsertDstSeg(scheme_, kAtEnd, n, d);
    if (Is("^") || (Kind() == Scanner_Sym::Ident && Text() == "v")) {
      SRenamOp_SetShiftOp(d, Is("^") ? SRenamOp_kUpper : SRenamOp_kLower);
      if (!Advance()) return false;
    }
    for (bool more = true; more;) {
      SRenamOp_Operator op;
      if (!Operator(op, more)) return false;
      if (more) SRenamOp_AddOp(d, op);
    }
    // The operators end at the next item or the example.
    return IsString() || Is("[") || Keyword() == kExample || Error(SRename_kSyntax);
  }

  // One operator into `op`; `more` false when the symbol starts none.
  bool Operator(SRenamOp_Operator& op, bool& more) {
    more = true;
    if (Is("|<") || Is(">|") || Is("<|") || Is("|>")) {
      op.kind = Is("|<") || Is(">|") ? SRenamOp_kCutOff : SRenamOp_kFill;
      op.left = Is("|<") || Is("<|");
      if (!Advance() || !Card(op.length)) return false;
      if (op.kind == SRenamOp_kCutOff) return true;
      std::string fill;
      if (!Bracketed(fill)) return false;
      if (fill.size() != 1) return Error(SRename_kSyntax);
      op.fillChar = fill[0];
      return true;
    }
    if (Is("(")) {
      std::string from, to;
      if (!Bracketed(from) || !Expect("->") || !Bracketed(to)) return false;
      op.kind = SRenamOp_kReplace;
      Strings_Assign(from, op.from);
      Strings_Assign(to, op.to);
      return true;
    }
    if (Keyword() == kInc || Keyword() == kDec) {
      op.kind = SRenamOp_kArithmetic;
      op.operation = Keyword() == kInc ? SRenamOp_kInc : SRenamOp_kDec;
      op.amount = 1;
      if (!Advance()) return false;
      return version_ < 2 || (Expect("(") && Card(op.amount) && Expect(")"));
    }
    if (Keyword() == kFormula) {
      op.kind = SRenamOp_kArithmetic;
      op.operation = SRenamOp_kFormula;
      if (!Advance() || !Expect("(")) return false;
      if (!IsString()) return Error(SRename_kSyntax);
      Strings_Assign(Text(), op.formula);
      if (!SRename_CheckFormula(op.formula, scheme_, SRename_errorDetail)) return Error(SRename_kSyntax);
      return Advance() && Expect(")");
    }
    more = false;
    return true;
  }

  // "(" character or string ")". A bare character is a digit, a letter or
  // a punctuation mark; "()" stands for a blank, which the scanner would
  // pass over, and "())" for the closing bracket. Longer texts are strings;
  // a bare word or number is taken as its text too, so "(aa)->(b)" reads as
  // it is written by hand.
  bool Bracketed(std::string& text) {
    if (!Expect("(")) return false;
    if (Is(")")) {
      if (!Advance()) return false;
      text = " ";
      if (!Is(")")) return true;
      text = ")";
      return Advance();
    }
    const std::string symbol = Text();
    const Scanner_Sym kind = Kind();
    const bool bare = kind == Scanner_Sym::Integer || kind == Scanner_Sym::Ident ||
                      (kind == Scanner_Sym::Symbol && symbol.size() == 1);
    if (!bare && kind != Scanner_Sym::String) return Error(SRename_kSyntax);
    text = symbol;
    return Advance() && Expect(")");
  }

  SMacros words_;
  Scanner scanner_;
  SRename scheme_ = nullptr;
  unsigned long version_ = 0;
  std::uint8_t error_ = 0;
  std::size_t line_ = 0;
};

// --- Writing -------------------------------------------------------------------

// A literal in double quotes, or in single ones when it holds a double
// quote; without escapes, as readers of the format expect.
bool Quote(std::string_view text, std::string& out) {
  const bool doubleQuote = text.find('"') != std::string_view::npos;
  if (doubleQuote && text.find('\'') != std::string_view::npos) return Fail(SRename_kBothQuotes);
  const char quote = doubleQuote ? '\'' : '"';
  out += quote;
  out += text;
  out += quote;
  return true;
}

// A string with backslash and double quote escaped: replace texts and formulas.
void Escaped(std::string_view text, std::string& out) {
  out += '"';
  for (const char c : text) {
    if (c == '\\' || c == '"') out += '\\';
    out += c;
  }
  out += '"';
}

bool IsBare(char c) {
  const unsigned char u = static_cast<unsigned char>(c);
  return u > ' ' && u < 127 && std::string_view(SRename_scannerSpecialChars).find(c) == std::string_view::npos;
}

// One character between its brackets.
void Character(char c, std::string& out) {
  out += '(';
  if (c == ')') {
    out += ')';
  } else if (c == '"') {
    out += "'\"'";
  } else if (IsBare(c)) {
    out += c;
  } else if (c != ' ' && c != '\0') {
    out += '"';
    out += c;
    out += '"';
  }
  out += ')';
}

void ReplaceText(const char (&text)[kSRenamOpReplaceCap], std::string& out) {
  const std::string_view view(text, static_cast<std::size_t>(std::find(text, text + kSRenamOpReplaceCap, '\0') - text));
  if (view.size() == 1) {
    Character(view[0], out);
    return;
  }
  out += '(';
  Escaped(view, out);
  out += ')';
}

std::string Number(std::uint32_t value) { return std::to_string(value); }

bool WriteProperties(const SRenamOp_Rec& s, std::string& out) {
  std::string items;
  auto item = [&items](std::string_view text) {
    if (!items.empty()) items += ',';
    items += text;
  };
  if (s.keyword == SRenamOp_kDelimiter && !s.fix.empty()) {
    if (!Quote(s.fix, items)) return false;
  } else if (s.keyword == SRenamOp_kVariant) {
    for (const std::string& variant : s.variants) {
      if (!items.empty()) items += '|';
      if (!Quote(variant, items)) return false;
    }
  } else if (SRenamOp_KeywordIsNumerical(s.keyword)) {
    if (s.numLow != SRenamOp_kNumLow || s.numHigh != SRenamOp_kNumHigh) item(Number(s.numLow) + "-" + Number(s.numHigh));
    if (s.numParity == SRenamOp_kEven) item("EVEN");
    if (s.numParity == SRenamOp_kOdd) item("ODD");
  } else if (SRenamOp_KeywordHasCharTypes(s.keyword)) {
    if (s.charFirst > 0 && s.charFirst < SRenamOp_kCharTypeCount) item("FIRST=" + std::string(kCharTypeNames[s.charFirst]));
    if (s.charLast > 0 && s.charLast < SRenamOp_kCharTypeCount) item("LAST=" + std::string(kCharTypeNames[s.charLast]));
  }
  if (!items.empty()) out += "<" + items + ">";
  return true;
}

void WriteLength(const SRenamOp_Rec& s, std::string& out) {
  if (!s.lengthIsList || s.lengths.empty()) {
    out += Number(s.minLength) + "-" + Number(s.maxLength);
  } else if (s.keyword == SRenamOp_kVariant) {
    out += Number(s.lengths.front()) + "-" + Number(s.lengths.back());
  } else {
    for (std::size_t i = 0; i < s.lengths.size(); ++i) out += (i > 0 ? "," : "") + Number(s.lengths[i]);
  }
}

bool WriteSource(const SRenamOp_Rec& s, std::string& out) {
  if (s.isString) return Quote({s.content, SRenamOp_ContentLength(s)}, out);
  out += "[" + std::string(kKeywordNames[s.keyword]) + "]";
  if (!WriteProperties(s, out)) return false;
  WriteLength(s, out);
  return true;
}

void WriteOperator(const SRenamOp_Operator& op, std::string& out) {
  switch (op.kind) {
    case SRenamOp_kCutOff: out += (op.left ? "|<" : ">|") + Number(op.length); break;
    case SRenamOp_kFill:
      out += (op.left ? "<|" : "|>") + Number(op.length);
      Character(op.fillChar, out);
      break;
    case SRenamOp_kReplace:
      ReplaceText(op.from, out);
      out += "->";
      ReplaceText(op.to, out);
      break;
    default:
      if (op.operation == SRenamOp_kFormula) {
        out += "FORMULA(";
        Escaped(StrIn(op.formula).View(), out);
        out += ')';
      } else {
        out += (op.operation == SRenamOp_kInc ? "INC(" : "DEC(") + Number(op.amount) + ")";
      }
  }
}

bool WriteDestination(SRename scheme, const SRenamOp_Rec& d, std::string& out) {
  if (d.isString) return Quote({d.content, SRenamOp_ContentLength(d)}, out);
  std::size_t index = 1;
  for (const SRenamOp_Rec* s = scheme->source; s != d.source; s = s->next) ++index;
  out += "[" + std::to_string(index) + "]";
  if (d.shift == SRenamOp_kUpper) out += '^';
  if (d.shift == SRenamOp_kLower) out += 'v';
  for (const SRenamOp_Operator& op : d.ops) WriteOperator(op, out);
  return true;
}

// The file name with its suffix: any other is replaced by ".trs".
bool SchemePath(StrIn name, StrOut path) {
  if (name.Empty()) return Fail(SRename_kNoName);
  Strings_Assign(name, path);
  SFilMisc_StripExtension(path);
  return SFilMisc_RequireExtension(path, SRename_suffix) || Fail(SRename_kNoName);
}

bool ReadWhole(StrIn path, std::string& text) {
  Messages_IgnoreErrors(true);
  BFileIO_File in = BFileIO_Open(path, FileIO_readMode);
  bool read = in != BFileIO_Nil();
  char chunk[kBFileIOBufferSize];
  while (read && text.size() <= kMaxFileSize) {
    const std::size_t got = BFileIO_Read(in, chunk, sizeof chunk);
    text.append(chunk, got);
    if (got < sizeof chunk) break;
  }
  read = read && BFileIO_ioError == 0 && text.size() <= kMaxFileSize;
  read = BFileIO_Close(in) && read;
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  return read;
}

// Writes beside the target and renames over it, so that readers see the old
// scheme or the new one; a failure leaves no temporary file.
bool WriteWhole(StrIn path, const std::string& text) {
  char suffix[kNameCap] = ".%s-%d.tmp";
  NameStr host;
  DirAcces_GetMachineName(host);
  SPrintf_String(suffix, host);
  SPrintf_Int(suffix, Processe_GetPID());
  const std::string temporary = path.Str() + StrIn(suffix).Str();
  std::uint8_t error = 0;
  Messages_IgnoreErrors(true);
  BFileIO_File out = BFileIO_Create(temporary);
  if (out == BFileIO_Nil()) {
    error = SRename_kNotCreated;
  } else {
    if (!BFileIO_Write(out, text.data(), text.size())) error = SRename_kWrite;
    if (!BFileIO_Close(out) && error == 0) error = SRename_kNotCreated;
    if (error == 0 && !DirAcces_AtomicRename(temporary, path)) error = SRename_kNotCreated;
    if (error != 0) DirAcces_Remove(temporary);
  }
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  return error == 0 || Fail(error);
}

void ClearError() {
  SRename_error = 0;
  SRename_errorLine = 0;
  SRename_errorDetail[0] = '\0';
}

}  // namespace

bool SRename_LoadText(const char* text, std::size_t length, SRename& scheme) {
  ClearError();
  Parser parser(text, length);
  scheme = parser.Run();
  SRename_error = parser.ErrorNumber();
  SRename_errorLine = parser.ErrorLine();
  return scheme != nullptr;
}

bool SRename_SaveText(SRename scheme, std::string& text) {
  ClearError();
  text.clear();
  if (!SRename_Check(scheme)) return false;
  std::string out = "V" + std::to_string(SRename_version) + " ";
  for (const SRenamOp_Rec* s = scheme->source; s != nullptr; s = s->next)
    if (!WriteSource(*s, out)) return false;
  out += '\n';
  if (scheme->destination != nullptr) {
    out += "=> ";
    for (const SRenamOp_Rec* d = scheme->destination; d != nullptr; d = d->next)
      if (!WriteDestination(scheme, *d, out)) return false;
    out += '\n';
  }
  out += "EXAMPLE ";
  if (!Quote(StrIn(scheme->example).View(), out)) return false;
  out += '\n';
  text = std::move(out);
  SRename_error = 0;
  return true;
}

bool SRename_Load(StrIn name, SRename& scheme) {
  scheme = nullptr;
  ClearError();
  PathStr path;
  if (!SchemePath(name, path)) return false;
  std::string text;
  if (!ReadWhole(path, text)) return Fail(SRename_kNotOpened);
  return SRename_LoadText(text.data(), text.size(), scheme);
}

bool SRename_Save(StrIn name, SRename scheme) {
  ClearError();
  if (scheme == nullptr) return Fail(SRename_kNoName);
  PathStr path;
  std::string text;
  if (!SchemePath(name, path) || !SRename_SaveText(scheme, text)) return false;
  return WriteWhole(path, text);
}
