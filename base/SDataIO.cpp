#include "base/SDataIO.h"

#include <algorithm>
#include <charconv>
#include <cfloat>
#include <cmath>
#include <iterator>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "base/SPrintf.h"
#include "base/Scanner.h"

unsigned SDataIO_error = 0;

namespace {

char section[kSectionCap] = "SDataIO";

constexpr std::size_t kMaxUnknownKeys = 10;
constexpr int kMaxBlockDepth = 100;

// The words of a boolean: even positions false, odd ones true.
const StrIn kBoolWords[] = {"false", "true", "False", "True", "FALSE", "TRUE"};

struct Parse {
  bool active = false;
  Scanner scanner = nullptr;  // kept after the parse for SDataIO_FindLineNumber
  std::size_t previousEnd = 0;
  int blockDepth = 0;
  std::vector<unsigned> unknownKeys;
  std::string errorMessage;
  std::size_t errorPosition = 0;
} parse;

struct Generate {
  std::FILE* out = nullptr;
  unsigned step = 0;
  unsigned depth = 0;
  bool suppressDefaults = false;
  bool inFrame = false;
} generate;

std::string Message(unsigned number) {
  char text[kTextCap];
  Messages_GetMsg(section, number, text);  // messages: SDataIO 1-7 29 105
  return StrIn(text).Str();
}

// Records the first error of a parse or generation and reports it; `detail`
// is its message (the catalog's words of `number` when empty) and `reason`
// what goes on the reasoning stack under it.
void Report(unsigned number, std::string detail, const std::string& reason, std::size_t position) {
  if (SDataIO_error != 0) return;
  SDataIO_error = number;
  parse.errorMessage = detail.empty() ? Message(number) : std::move(detail);
  parse.errorPosition = position;
  if (!reason.empty()) Messages_SupplyAdditionalInfo(reason);
  Messages_Error(section, number);  // messages: SDataIO 1-7
}

// A parse error at `position`: the reason names the line.
void ParseError(unsigned number, std::string detail, std::size_t position) {
  char reason[kTextCap];
  Messages_GetMsg(section, 100, reason);
  SPrintf_Int(reason, static_cast<std::int32_t>(Scanner_LineNumber(parse.scanner, position)));
  SPrintf_String(reason, detail);
  Report(number, std::move(detail), StrIn(reason).Str(), position);
}

std::string Filled(unsigned number, const std::string& text) {
  char message[kTextCap];
  Messages_GetMsg(section, number, message);  // messages: SDataIO 20 21
  SPrintf_String(message, text);
  return StrIn(message).Str();
}

std::string CurrentText() {
  char text[kTextCap];
  Scanner_SymText(parse.scanner, text);
  return StrIn(text).Str();
}

// A lexical error of the scanner: messages 22 to 28 follow the scanner's
// numbering; a number too large counts as out of range.
void LexicalError() {
  const unsigned kind = Scanner_SymError(parse.scanner);
  char message[kTextCap];
  Messages_GetMsg(section, 21 + kind, message);  // messages: SDataIO 22-28
  if (kind == Scanner_kIllegalChar) {
    char text[8];
    Scanner_SymText(parse.scanner, text);
    SPrintf_Int(message, static_cast<unsigned char>(text[0]));
  }
  ParseError(kind == Scanner_kNumberTooLarge ? SDataIO_kRange : SDataIO_kLexical, StrIn(message).Str(),
             Scanner_SymPosition(parse.scanner));
}

void Advance() {
  parse.previousEnd = Scanner_SymEnd(parse.scanner);
  if (Scanner_Next(parse.scanner) == Scanner_Sym::Error) LexicalError();
}

// Whether a value may be read: a parse runs and has not failed.
bool Reading() { return parse.active && SDataIO_error == 0; }

bool Expect(StrIn symbol) {
  if (!Scanner_IsSymbol(parse.scanner, symbol)) {
    SDataIO_SyntaxErrorExpected(symbol);
    return false;
  }
  Advance();
  return true;
}

bool IsWord() {
  const Scanner_Sym kind = Scanner_SymKind(parse.scanner);
  return kind == Scanner_Sym::Ident || kind == Scanner_Sym::Keyword;
}

// The index of the current word in `words`, or words.size().
std::size_t WordIndex(std::span<const StrIn> words) {
  if (!IsWord()) return words.size();
  const std::string word = CurrentText();
  return static_cast<std::size_t>(
      std::find_if(words.begin(), words.end(), [&](StrIn w) { return w.View() == word; }) - words.begin());
}

// "a, b or c" wanted: the last word joined by message 105.
void EnumerationError(std::span<const StrIn> words) {
  std::string list = words.empty() ? "Enumeration value" : "";
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) list += i + 1 < words.size() ? ", " : " " + Message(105) + " ";
    list += words[i].View();
  }
  SDataIO_SyntaxErrorExpected(list);
}

// [-] Integer within low..high; false after an error.
bool ReadInteger(std::int64_t low, std::uint64_t high, std::int64_t& value) {
  if (!Reading()) return false;
  const bool negative = Scanner_IsSymbol(parse.scanner, "-");
  if (negative) Advance();
  if (Scanner_SymKind(parse.scanner) != Scanner_Sym::Integer) {
    SDataIO_SyntaxErrorExpected("Integer");
    return false;
  }
  const std::uint64_t magnitude = Scanner_SymCard(parse.scanner);
  const std::uint64_t lowMagnitude = low < 0 ? static_cast<std::uint64_t>(-(low + 1)) + 1 : 0;
  if (negative ? magnitude > lowMagnitude : magnitude > high) {
    ParseError(SDataIO_kRange, Filled(21, (negative ? "-" : "") + CurrentText()), Scanner_SymPosition(parse.scanner));
    return false;
  }
  value = negative ? static_cast<std::int64_t>(0 - magnitude) : static_cast<std::int64_t>(magnitude);
  Advance();
  return true;
}

// Parsing isn't re-entrant: a field procedure that starts a parse is at
// fault, and the running parse stops with the refusal.
bool RefusedAsNested() {
  if (!parse.active) return false;
  std::fputs("SDataIO: nested parse\n", stderr);
  Report(SDataIO_kNested, "", "", Scanner_SymPosition(parse.scanner));
  return true;
}

void StartParsing(std::string_view text) {
  Scanner_Destroy(parse.scanner);
  parse = Parse{};
  parse.active = true;
  SDataIO_error = 0;
  parse.scanner = Scanner_Create(text.data(), text.size(), nullptr);
  Advance();
}

// --- Writing -----------------------------------------------------------------

bool Writing() { return generate.out != nullptr; }

void Indent() { std::fprintf(generate.out, "%*s", static_cast<int>(generate.depth * generate.step), ""); }

void WriteField(unsigned key, const std::string& value) {
  if (!Writing()) return;
  Indent();
  std::fprintf(generate.out, "%s = %s;\n", SIdPool_IdText(key).Str().c_str(), value.c_str());
}

// Readers take a comment's end wherever "*)" stands, and a nested one at
// "(*": a blank keeps such pairs of the text apart.
std::string CommentText(StrIn text) {
  std::string out;
  for (const char c : text.View()) {
    if (!out.empty() && ((out.back() == '(' && c == '*') || (out.back() == '*' && c == ')'))) out += ' ';
    out += c;
  }
  return out;
}

}  // namespace

void SDataIO_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Messages_Init();
}

// --- Writing -------------------------------------------------------------------

void SDataIO_StartGenerate(std::FILE* stream, unsigned indentStep) {
  generate = Generate{stream, indentStep};
  if (!parse.active) SDataIO_error = 0;
}

bool SDataIO_FinishGenerate() {
  if (!Writing()) return false;
  const bool failed = std::fflush(generate.out) != 0 || std::ferror(generate.out) != 0;
  generate = Generate{};
  if (failed) Report(SDataIO_kWrite, "", "", 0);
  return !failed;
}

void SDataIO_SurpressDefault(bool on) { generate.suppressDefaults = on; }

void SDataIO_WriteInt(unsigned key, std::int32_t value) { SDataIO_WriteInt64(key, value); }

void SDataIO_WriteCard(unsigned key, std::uint32_t value) { SDataIO_WriteInt64(key, value); }

void SDataIO_WriteInt64(unsigned key, std::int64_t value) {
  if (value != 0 || !generate.suppressDefaults) WriteField(key, std::to_string(value));
}

void SDataIO_WriteReal(unsigned key, double value) {
  if (std::isnan(value)) value = 0.0;
  value = std::clamp(value, -DBL_MAX, DBL_MAX);
  char digits[64];
  std::string text(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
  // The scanner takes a number without a fraction for an integer.
  if (text.find('.') == std::string::npos) text.insert(std::min(text.find('e'), text.size()), ".0");
  WriteField(key, text);
}

void SDataIO_WriteBool(unsigned key, bool value) { WriteField(key, value ? "true" : "false"); }

void SDataIO_WriteStr(unsigned key, StrIn value) {
  if (value.Empty() && generate.suppressDefaults) return;
  std::string quoted = "\"";
  for (const char c : value.View()) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  WriteField(key, quoted + '"');
}

void SDataIO_WriteEnum(unsigned key, unsigned value, std::span<const StrIn> names) {
  if (!Writing()) return;
  if (value < names.size()) {
    WriteField(key, names[value].Str());
    return;
  }
  char message[kTextCap];
  Messages_GetMsg(section, 31, message);
  SPrintf_Int(message, static_cast<std::int32_t>(value));
  SPrintf_String(message, SIdPool_IdText(key));
  Report(SDataIO_kNoWord, StrIn(message).Str(), StrIn(message).Str(), 0);
}

void SDataIO_WriteBitset(unsigned key, std::uint32_t set) {
  if (set == 0 && generate.suppressDefaults) return;
  std::string text = "{";
  for (unsigned member = 0; member < 32; ++member) {
    if ((set >> member & 1u) == 0) continue;
    if (text.size() > 1) text += ',';
    text += std::to_string(member);
  }
  WriteField(key, text + '}');
}

void SDataIO_WriteSub(unsigned key, void* data, SDataIO_WriteProc procedure) {
  if (!Writing()) return;
  Indent();
  std::fprintf(generate.out, "%s = {\n", SIdPool_IdText(key).Str().c_str());
  ++generate.depth;
  procedure(data);
  --generate.depth;
  Indent();
  std::fputs("};\n", generate.out);
}

void SDataIO_WriteUnknown(unsigned key, StrIn value) { WriteField(key, value.Str()); }

void SDataIO_WriteComment(StrIn text) {
  if (!Writing()) return;
  Indent();
  const std::string body = CommentText(text);
  if (generate.inFrame)
    std::fprintf(generate.out, "%s\n", body.c_str());
  else
    std::fprintf(generate.out, "(* %s *)\n", body.c_str());
}

void SDataIO_BeginComment() {
  if (!Writing()) return;
  Indent();
  std::fputs("(********************\n", generate.out);
  generate.inFrame = true;
}

void SDataIO_EndComment() {
  if (!Writing()) return;
  Indent();
  std::fputs("********************)\n", generate.out);
  generate.inFrame = false;
}

// --- Reading -------------------------------------------------------------------

bool SDataIO_StartParse(std::FILE* stream) {
  if (RefusedAsNested()) return false;
  std::string text;
  bool readable = stream != nullptr;
  if (readable) {
    char chunk[8192];
    for (std::size_t got; (got = std::fread(chunk, 1, sizeof chunk, stream)) > 0;) text.append(chunk, got);
    readable = std::ferror(stream) == 0;
  }
  StartParsing(readable ? text : std::string());
  if (!readable) Report(SDataIO_kRead, "", "", 0);
  return SDataIO_error == 0;
}

bool SDataIO_StartParseText(const char* text, std::size_t length) {
  if (RefusedAsNested()) return false;
  StartParsing(std::string_view(text, length));
  return SDataIO_error == 0;
}

void SDataIO_ParseFields(void* data, void* extra, SDataIO_FieldProc fieldProcedure) {
  while (Reading() && IsWord()) {
    NameStr name;
    Scanner_SymText(parse.scanner, name);
    const unsigned key = SIdPool_EnterId(name);
    Advance();
    if (!Expect("=")) return;
    fieldProcedure(data, extra, key);
    if (SDataIO_error != 0 || !Expect(";")) return;
  }
}

bool SDataIO_FinishParse() {
  if (!parse.active) return false;
  if (SDataIO_error == 0 && Scanner_SymKind(parse.scanner) != Scanner_Sym::End)
    ParseError(SDataIO_kSyntax, Message(29), Scanner_SymPosition(parse.scanner));
  parse.active = false;
  if (!parse.unknownKeys.empty()) {
    TextStr keys, report;
    SDataIO_GetUnknownKeys(keys);
    Messages_GetMsg(section, 106, report);
    SPrintf_String(report, keys);
    std::fprintf(stderr, "%s\n", StrIn(report).Str().c_str());
  }
  return SDataIO_error == 0;
}

bool SDataIO_ReadInt(std::int32_t& value) {
  std::int64_t wide = 0;
  if (!ReadInteger(INT32_MIN, INT32_MAX, wide)) return false;
  value = static_cast<std::int32_t>(wide);
  return true;
}

bool SDataIO_ReadCard(std::uint32_t& value) {
  std::int64_t wide = 0;
  if (!ReadInteger(0, UINT32_MAX, wide)) return false;
  value = static_cast<std::uint32_t>(wide);
  return true;
}

bool SDataIO_ReadInt64(std::int64_t& value) { return ReadInteger(INT64_MIN, INT64_MAX, value); }

bool SDataIO_ReadReal(double& value) {
  if (!Reading()) return false;
  const bool negative = Scanner_IsSymbol(parse.scanner, "-");
  if (negative) Advance();
  const Scanner_Sym kind = Scanner_SymKind(parse.scanner);
  if (kind != Scanner_Sym::Real && kind != Scanner_Sym::Integer) {
    SDataIO_SyntaxErrorExpected("Real");
    return false;
  }
  value = negative ? -Scanner_SymReal(parse.scanner) : Scanner_SymReal(parse.scanner);
  Advance();
  return true;
}

bool SDataIO_ReadBool(bool& value) {
  if (!Reading()) return false;
  const std::size_t index = WordIndex(kBoolWords);
  if (index == std::size(kBoolWords)) {
    EnumerationError(std::span(kBoolWords).first(2));
    return false;
  }
  value = index % 2 == 1;
  Advance();
  return true;
}

bool SDataIO_ReadStr(StrOut value) {
  if (!Reading()) return false;
  if (Scanner_SymKind(parse.scanner) != Scanner_Sym::String) {
    SDataIO_SyntaxErrorExpected("String");
    return false;
  }
  Scanner_SymText(parse.scanner, value);
  Advance();
  return true;
}

bool SDataIO_ReadEnum(unsigned& value, std::span<const StrIn> names) {
  if (!Reading()) return false;
  const std::size_t index = WordIndex(names);
  if (index == names.size()) {
    EnumerationError(names);
    return false;
  }
  value = static_cast<unsigned>(index);
  Advance();
  return true;
}

bool SDataIO_ReadBitset(std::uint32_t& set) {
  if (!Reading() || !Expect("{")) return false;
  std::uint32_t members = 0;
  for (bool more = !Scanner_IsSymbol(parse.scanner, "}"); more;) {
    std::int64_t member = 0;
    if (!ReadInteger(0, 31, member)) return false;
    members |= std::uint32_t{1} << member;
    more = Scanner_IsSymbol(parse.scanner, ",");
    if (more) Advance();
  }
  if (!Expect("}")) return false;
  set = members;
  return true;
}

bool SDataIO_ReadSub(void* data, void* extra, SDataIO_FieldProc fieldProcedure) {
  if (!Reading()) return false;
  if (parse.blockDepth >= kMaxBlockDepth) {
    char message[kTextCap];
    Messages_GetMsg(section, 30, message);
    SPrintf_Int(message, kMaxBlockDepth);
    ParseError(SDataIO_kSyntax, StrIn(message).Str(), Scanner_SymPosition(parse.scanner));
    return false;
  }
  if (!Expect("{")) return false;
  ++parse.blockDepth;
  SDataIO_ParseFields(data, extra, fieldProcedure);
  --parse.blockDepth;
  return Reading() && Expect("}");
}

void SDataIO_UnknownAttribute(unsigned key) {
  if (!Reading()) return;
  std::vector<unsigned>& keys = parse.unknownKeys;
  if (keys.size() < kMaxUnknownKeys && std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
  // The value ends at the ";" outside any braces; a "}" that closes the
  // enclosing block ends it too, and the caller then misses its ";".
  for (int depth = 0; Reading();) {
    const Scanner_Sym kind = Scanner_SymKind(parse.scanner);
    if (kind == Scanner_Sym::End) return;
    if (Scanner_IsSymbol(parse.scanner, "{")) {
      ++depth;
    } else if (Scanner_IsSymbol(parse.scanner, "}")) {
      if (depth-- == 0) return;
    } else if (depth == 0 && Scanner_IsSymbol(parse.scanner, ";")) {
      return;
    }
    Advance();
  }
}

void SDataIO_SyntaxErrorExpected(StrIn text) {
  if (!Reading()) return;
  ParseError(SDataIO_kSyntax, Filled(20, text.Str()), parse.previousEnd);
}

// --- After an error ------------------------------------------------------------

void SDataIO_GetErrorMessage(StrOut text) {
  Strings_Assign(SDataIO_error != 0 ? StrIn(parse.errorMessage) : StrIn(""), text);
}

std::size_t SDataIO_ErrorPosition() { return parse.errorPosition; }

std::size_t SDataIO_FindLineNumber(std::size_t position) { return Scanner_LineNumber(parse.scanner, position); }

void SDataIO_GetUnknownKeys(StrOut text) {
  std::string keys;
  for (const unsigned key : parse.unknownKeys) {
    if (!keys.empty()) keys += ", ";
    keys += SIdPool_IdText(key).View();
  }
  Strings_Assign(keys, text);
}
