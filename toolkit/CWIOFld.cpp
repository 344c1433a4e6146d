#include "toolkit/CWIOFld.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/SPrintf.h"

Classes_ClassPtr CWIOFld_class = nullptr;

namespace {

using Field = CWIOFld_Rec*;

constexpr std::int32_t kNilInteger = -2147483647 - 1;
constexpr std::uint32_t kNilCardinal = 0xFFFFFFFFu;
constexpr double kNilReal = -5e19;

Field AsField(Widget w) { return static_cast<Field>(w); }

WtTypes_Kind Kind(Widget w) { return WtTypes_KindOf(w->value.widgetType); }

bool IsNil(const WidgetValue& v) {
  switch (WtTypes_KindOf(v.widgetType)) {
    case WtTypes_kInteger: return WtTypes_AsInteger(v) == kNilInteger;
    case WtTypes_kCardinal: return static_cast<std::uint32_t>(WtTypes_AsInteger(v)) == kNilCardinal;
    case WtTypes_kReal: return WtTypes_AsReal(v) == kNilReal;
    default: return false;
  }
}

// The text a value shows.
std::string Format(Field f, const WidgetValue& v) {
  if (f->allowNilValue && IsNil(v)) return "";
  const std::string pattern = CAttribs_Text(f->format).Str();
  TextStr text;
  switch (WtTypes_KindOf(v.widgetType)) {
    case WtTypes_kInteger:
      Strings_Assign(pattern.empty() ? std::string("%d") : pattern, text);
      SPrintf_Int(text, WtTypes_AsInteger(v));
      return StrIn(text).Str();
    case WtTypes_kCardinal:
      Strings_Assign(pattern.empty() ? std::string("%d") : pattern, text);
      SPrintf_Card(text, static_cast<std::uint32_t>(WtTypes_AsInteger(v)));
      return StrIn(text).Str();
    case WtTypes_kReal: {
      if (!pattern.empty()) {
        Strings_Assign(pattern, text);
        SPrintf_Real(text, WtTypes_AsReal(v));
        return StrIn(text).Str();
      }
      char buffer[64];
      const auto result = std::to_chars(buffer, buffer + sizeof buffer, WtTypes_AsReal(v));
      return std::string(buffer, result.ptr);
    }
    default: return WtTypes_AsString(v).Str();
  }
}

// The value of a text; false when it is none of the field's type.
bool Parse(Field f, const std::string& raw, WidgetValue& v) {
  std::string text = raw;
  while (!text.empty() && text.front() == ' ') text.erase(text.begin());
  while (!text.empty() && text.back() == ' ') text.pop_back();
  const WtTypes_Kind kind = Kind(f);
  if (kind == WtTypes_kString) {
    v = WtTypes_String(raw);
    return true;
  }
  if (text.empty()) {
    if (!f->allowNilValue) return false;
    v = kind == WtTypes_kInteger ? WtTypes_Integer(kNilInteger)
        : kind == WtTypes_kCardinal ? WtTypes_Cardinal(kNilCardinal) : WtTypes_Real(kNilReal);
    return true;
  }
  const char* begin = text.c_str();
  char* end = nullptr;
  errno = 0;
  if (kind == WtTypes_kReal) {
    const double d = std::strtod(begin, &end);
    if (*end != '\0' || errno != 0 || !std::isfinite(d)) return false;
    v = WtTypes_Real(d);
    return true;
  }
  const long long n = std::strtoll(begin, &end, 10);
  if (*end != '\0' || errno != 0) return false;
  if (kind == WtTypes_kCardinal) {
    if (n < 0 || n > static_cast<long long>(kNilCardinal)) return false;
    v = WtTypes_Cardinal(static_cast<std::uint32_t>(n));
  } else {
    if (n < kNilInteger || n > 2147483647LL) return false;
    v = WtTypes_Integer(static_cast<std::int32_t>(n));
  }
  v.widgetType = f->value.widgetType;
  return true;
}

bool MyAcceptsChar(Widget w, std::uint8_t ch) {
  Field f = AsField(w);
  if (ch == ' ') return !f->onlyOneWord && Kind(w) == WtTypes_kString;
  switch (Kind(w)) {
    case WtTypes_kInteger: return std::strchr("0123456789+-", ch) != nullptr;
    case WtTypes_kCardinal: return std::strchr("0123456789+", ch) != nullptr;
    case WtTypes_kReal: return std::strchr("0123456789+-.eE", ch) != nullptr;
    default: return true;
  }
}

void MySetValue(Widget w, const WidgetValue& value) {
  CWCore_MySetValue(w, value);
  CWTextIO_SetText(w, Format(AsField(w), value));
}

void MyCheckValue(Widget w) {
  Field f = AsField(w);
  if (*f->text == *f->committed) return;
  WidgetValue v;
  if (!Parse(f, *f->text, v) || (f->onlyOneWord && f->text->find(' ') != std::string::npos)) {
    W_Bell(0);
    CWTextIO_SetText(w, Format(f, f->value));
    return;
  }
  *f->committed = *f->text;
  w->value = v;
  CWCore_CallCallback(w);
}

void MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWTextIO_ClassRec*>(c);
  auto* p = static_cast<CWIOFld_Rec*>(prototype);
  cls->SetValue = MySetValue;
  cls->CheckValue = MyCheckValue;
  cls->AcceptsChar = MyAcceptsChar;
  cls->classFlag3 = true;
  CAttribs_DefStrAttr(c, "format", kNameCap - 1, &p->format);
  CAttribs_DefAttr(c, "onlyOneWord", 0, &p->onlyOneWord);
  CAttribs_DefAttr(c, "allowNilValue", 0, &p->allowNilValue);
}

// A field made with a value shows it in its own form.
void MyInit(void* instance) {
  Field f = AsField(static_cast<Widget>(instance));
  if (Kind(f) != WtTypes_kString) CWTextIO_SetText(f, Format(f, f->value));
}

}  // namespace

void CWIOFld_CreateClass() {
  if (CWIOFld_class != nullptr) return;
  CWTextIO_CreateClass();
  CWIOFld_class = new CWTextIO_ClassRec;
  Classes_MakeClass(CWIOFld_class, CWTextIO_class, "WIOFld", sizeof(CWIOFld_Rec),
                    MyInitClass, MyInit, nullptr, "TEXTFIELD");
}
