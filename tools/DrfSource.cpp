#include "tools/DrfSource.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>
#include <vector>

#include "base/SIdPool.h"

namespace {

enum class Tok { End, Name, Int, Real, Text, Punct };

struct Token {
  Tok kind = Tok::End;
  std::string text;  // name, text, or the punctuation character
  long long integer = 0;
  double real = 0;
  int line = 0;
};

class Lexer {
 public:
  explicit Lexer(std::istream& in) : in_(in) {}

  // The next token; false with `error` set on a bad character or literal.
  bool Next(Token& t, std::string& error) {
    SkipBlanks();
    t = Token{};
    t.line = line_;
    const int c = in_.peek();
    if (c == EOF) return true;
    if (std::isalpha(c) || c == '_') {
      t.kind = Tok::Name;
      while (std::isalnum(in_.peek()) || in_.peek() == '_') t.text += static_cast<char>(in_.get());
      return true;
    }
    if (std::isdigit(c) || c == '-' || c == '+' || c == '.') return Number(t, error);
    if (c == '"') return Text(t, error);
    if (c == '\'') return Char(t, error);
    if (c != 0 && std::strchr("{}[]():=,", c) != nullptr) {
      t.kind = Tok::Punct;
      t.text = static_cast<char>(in_.get());
      return true;
    }
    error = "unexpected character '" + std::string(1, static_cast<char>(c)) + "'";
    return false;
  }

 private:
  void SkipBlanks() {
    for (;;) {
      const int c = in_.peek();
      if (c == '\n') ++line_;
      if (c == '#') {
        while (in_.peek() != EOF && in_.peek() != '\n') in_.get();
      } else if (c != EOF && std::isspace(c)) {
        in_.get();
      } else {
        return;
      }
    }
  }
  bool Number(Token& t, std::string& error) {
    std::string s;
    while (std::isalnum(in_.peek()) || (in_.peek() > 0 && std::strchr("+-.", in_.peek()) != nullptr)) {
      const char c = static_cast<char>(in_.get());
      s += c;
      // A sign inside the number belongs to an exponent only.
      if ((in_.peek() == '+' || in_.peek() == '-') && c != 'e' && c != 'E') break;
    }
    char* end = nullptr;
    errno = 0;
    if (s.find_first_of(".eE") != std::string::npos) {
      t.kind = Tok::Real;
      t.real = std::strtod(s.c_str(), &end);
    } else {
      t.kind = Tok::Int;
      t.integer = std::strtoll(s.c_str(), &end, 10);
    }
    if (s.empty() || *end != '\0' || errno != 0) {
      error = "bad number '" + s + "'";
      return false;
    }
    return true;
  }
  bool Text(Token& t, std::string& error) {
    in_.get();
    t.kind = Tok::Text;
    for (;;) {
      int c = in_.get();
      if (c == EOF || c == '\n') {
        error = "text without its closing quote";
        return false;
      }
      if (c == '"') return true;
      if (c == '\\') {
        c = in_.get();
        if (c == 'n') c = '\n';
        else if (c == 't') c = '\t';
        else if (c != '"' && c != '\\') {
          error = "unknown escape in a text";
          return false;
        }
      }
      t.text += static_cast<char>(c);
    }
  }
  bool Char(Token& t, std::string& error) {
    in_.get();
    const int c = in_.get();
    if (c == EOF || c == '\n' || in_.get() != '\'') {
      error = "bad character literal";
      return false;
    }
    t.kind = Tok::Int;
    t.integer = static_cast<unsigned char>(c);
    return true;
  }

  std::istream& in_;
  int line_ = 1;
};

class Parser {
 public:
  Parser(std::istream& in, const std::string& origin, IdlgCat_Catalog& catalog)
      : lexer_(in), origin_(origin), catalog_(catalog) {}

  bool Run(std::string& error) {
    if (!Advance()) return Failed(error);
    while (tok_.kind != Tok::End) {
      const bool ok = IsWord("template") ? Template() : IsWord("context") ? Context() : Fault("template or context expected");
      if (!ok) return Failed(error);
    }
    return true;
  }

 private:
  bool Failed(std::string& error) {
    error = origin_ + ":" + std::to_string(errorLine_) + ": " + error_;
    return false;
  }
  bool Fault(const std::string& what) { return FaultAt(tok_.line, what); }
  bool FaultAt(int line, const std::string& what) {
    error_ = what;
    errorLine_ = line;
    return false;
  }
  bool Advance() {
    std::string error;
    if (lexer_.Next(tok_, error)) return true;
    error_ = error;
    errorLine_ = tok_.line;
    return false;
  }
  bool IsWord(const char* word) const { return tok_.kind == Tok::Name && tok_.text == word; }
  bool IsPunct(char c) const { return tok_.kind == Tok::Punct && tok_.text[0] == c; }
  bool Expect(char c) {
    if (!IsPunct(c)) return Fault(std::string("'") + c + "' expected");
    return Advance();
  }
  // An identifier, entered into the pool now.
  bool Ident(std::uint32_t& id) {
    if (tok_.kind != Tok::Name) return Fault("name expected");
    if (tok_.text.size() > IdlgCat_poolStringCap) return Fault("name longer than 32 bytes: " + tok_.text);
    id = SIdPool_EnterId(tok_.text);
    return Advance();
  }
  bool Int(std::int32_t& value) {
    if (tok_.kind != Tok::Int || tok_.integer < -2147483648LL || tok_.integer > 2147483647LL)
      return Fault("number expected");
    value = static_cast<std::int32_t>(tok_.integer);
    return Advance();
  }

  IdlgCat_Template* FindTemplate(const IdlgCat_Templates& table, std::uint32_t name) {
    for (const auto& t : table)
      if (t->name == name) return t.get();
    return nullptr;
  }
  // ": NAME" when it stands here.
  bool TemplateRef(const IdlgCat_Templates& table, IdlgCat_Template*& tmpl) {
    tmpl = nullptr;
    if (!IsPunct(':')) return true;
    if (!Advance()) return false;
    const int line = tok_.line;
    const std::string name = tok_.text;
    std::uint32_t id;
    if (!Ident(id)) return false;
    tmpl = FindTemplate(table, id);
    return tmpl != nullptr || FaultAt(line, "unknown template " + name);
  }

  bool Template() {
    if (!Advance()) return false;
    const bool values = IsWord("value");
    if (!values && !IsWord("widget")) return Fault("value or widget expected");
    if (!Advance()) return false;
    IdlgCat_Templates& table = values ? catalog_.aobjTemplates : catalog_.robjTemplates;
    auto t = std::make_unique<IdlgCat_Template>();
    const std::string name = tok_.text;
    const int line = tok_.line;
    if (!Ident(t->name)) return false;
    if (FindTemplate(table, t->name) != nullptr) return FaultAt(line, "template " + name + " declared twice");
    if (!TemplateRef(table, t->parent) || !Attrs(t->attrs)) return false;
    table.push_back(std::move(t));
    return true;
  }

  bool Context() {
    if (!Advance()) return false;
    auto context = std::make_unique<IdlgCat_ContextDef>();
    const std::string name = tok_.text;
    const int line = tok_.line;
    if (!Ident(context->name)) return false;
    for (const auto& c : catalog_.contexts)
      if (c->name == context->name) return FaultAt(line, "context " + name + " declared twice");
    if (!Expect('{')) return false;
    numbers_.clear();
    elements_.clear();
    while (IsWord("value"))
      if (!Value(*context)) return false;
    if (!IsPunct('}')) {
      context->robjs.emplace_back();
      if (!Widget(context->robjs.back())) return false;
    }
    if (!IsPunct('}')) return Fault(tok_.kind == Tok::End ? "'}' expected" : "a dialog has one widget at the top");
    if (!Advance()) return false;
    catalog_.contexts.push_back(std::move(context));
    return true;
  }

  bool Value(IdlgCat_ContextDef& context) {
    if (!Advance()) return false;
    IdlgCat_AObjDef a;
    const int line = tok_.line;
    if (!Int(a.number)) return false;
    if (!numbers_.insert(a.number).second) return FaultAt(line, "value " + std::to_string(a.number) + " declared twice");
    if (!Ident(a.type) || !Ident(a.name) || !TemplateRef(catalog_.aobjTemplates, a.tmpl) || !Attrs(a.attrs))
      return false;
    context.aobjs.push_back(std::move(a));
    return true;
  }

  bool Widget(IdlgCat_RObjDef& r) {
    if (!Ident(r.keyword)) return false;
    if (IsWord("value")) {
      const int line = tok_.line;
      if (!Advance() || !Int(r.aobj)) return false;
      if (numbers_.count(r.aobj) == 0) return FaultAt(line, "no value " + std::to_string(r.aobj) + " in this context");
    }
    if (IsWord("element")) {
      const int line = tok_.line;
      if (!Advance() || !Int(r.element)) return false;
      if (!elements_.insert(r.element).second) return FaultAt(line, "element " + std::to_string(r.element) + " used twice");
    }
    if (!TemplateRef(catalog_.robjTemplates, r.tmpl) || !Attrs(r.attrs)) return false;
    if (!IsPunct('{')) return true;
    if (!Advance()) return false;
    while (!IsPunct('}')) {
      if (tok_.kind == Tok::End) return Fault("'}' expected");
      r.children.emplace_back();
      if (!Widget(r.children.back())) return false;
    }
    return Advance();
  }

  bool Attrs(IdlgCat_Attrs& attrs) {
    if (!IsPunct('[')) return true;
    if (!Advance()) return false;
    std::set<std::uint32_t> seen;
    while (!IsPunct(']')) {
      const std::string name = tok_.text;
      const int line = tok_.line;
      std::uint32_t id;
      if (!Ident(id)) return false;
      if (!seen.insert(id).second) return FaultAt(line, "attribute " + name + " given twice");
      if (!Expect('=') || !Literal(attrs, id)) return false;
      if (IsPunct(',') && !Advance()) return false;
    }
    return Advance();
  }

  template <class T>
  static void Put(std::vector<std::uint8_t>& bytes, T value) {
    std::uint8_t raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));
    bytes.insert(bytes.end(), raw, raw + sizeof(T));  // the machine's order is little-endian
  }

  bool Literal(IdlgCat_Attrs& attrs, std::uint32_t id) {
    std::vector<std::uint8_t> bytes;
    std::uint8_t type;
    if (IsWord("true") || IsWord("false")) {
      type = IdlgCat_tBoolean;
      bytes.push_back(IsWord("true") ? 1 : 0);
    } else if (tok_.kind == Tok::Int) {
      if (tok_.integer < -2147483648LL || tok_.integer > 4294967295LL) return Fault("number out of range");
      type = IdlgCat_tInteger;
      Put(bytes, static_cast<std::uint32_t>(tok_.integer));
    } else if (tok_.kind == Tok::Real) {
      type = IdlgCat_tReal;
      Put(bytes, tok_.real);
    } else if (tok_.kind == Tok::Text) {
      type = IdlgCat_tString;
      bytes.assign(tok_.text.begin(), tok_.text.end());
      bytes.push_back(0);
    } else if (IsPunct('(')) {
      return Tuple(attrs, id);
    } else {
      return Fault("value expected");
    }
    attrs.Append(type, id, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    return Advance();
  }

  bool Tuple(IdlgCat_Attrs& attrs, std::uint32_t id) {
    std::vector<Token> items;
    if (!Advance()) return false;
    while (!IsPunct(')')) {
      if (tok_.kind != Tok::Int && tok_.kind != Tok::Real) return Fault("number expected");
      if (tok_.kind == Tok::Int && (tok_.integer < -2147483648LL || tok_.integer > 4294967295LL))
        return Fault("number out of range");
      items.push_back(tok_);
      if (!Advance() || (IsPunct(',') && !Advance())) return false;
    }
    if (items.empty()) return Fault("number expected");
    bool reals = false;
    for (const Token& t : items) reals = reals || t.kind == Tok::Real;
    std::vector<std::uint8_t> bytes;
    for (const Token& t : items) {
      if (reals) Put(bytes, t.kind == Tok::Real ? t.real : static_cast<double>(t.integer));
      else Put(bytes, static_cast<std::uint32_t>(t.integer));
    }
    attrs.Append(IdlgCat_tWords, id, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    return Advance();
  }

  Lexer lexer_;
  std::string origin_;
  IdlgCat_Catalog& catalog_;
  Token tok_;
  std::string error_;
  int errorLine_ = 0;
  std::set<std::int32_t> numbers_, elements_;  // of the context being read
};

}  // namespace

bool Drf_ParseSource(std::istream& source, const std::string& origin, IdlgCat_Catalog& catalog,
                     std::string& error) {
  return Parser(source, origin, catalog).Run(error);
}
