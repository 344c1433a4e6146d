#include "base/StrVector.h"

#include <memory>
#include <string>
#include <vector>

#include "base/StringOp.h"

// Elements are held by address so that the texts handed out by GetDynElement
// and DynElementAt do not move when the vector grows.
struct StrVector_Rec {
  std::vector<std::unique_ptr<const std::string>> elements;
};

namespace {

const std::string* ElementAt(StrVector v, std::size_t index) {
  if (v == nullptr || index >= v->elements.size()) return nullptr;
  return v->elements[index].get();
}

}  // namespace

StrVector StrVector_Create() { return new StrVector_Rec; }

StrVector StrVector_Copy(StrVector v) {
  if (v == nullptr) return nullptr;
  StrVector copy = StrVector_Create();
  copy->elements.reserve(v->elements.size());
  for (const auto& element : v->elements) copy->elements.push_back(std::make_unique<const std::string>(*element));
  return copy;
}

void StrVector_Destroy(StrVector& v) {
  delete v;
  v = nullptr;
}

StrVector StrVector_Nil() { return nullptr; }

void StrVector_AddElement(StrVector v, StrIn element) {
  if (v != nullptr) v->elements.push_back(std::make_unique<const std::string>(element.View()));
}

StrVector StrVector_SplitString(StrIn text, char delimiter) {
  StrVector v = StrVector_Create();
  const std::string_view whole = text.View();
  for (std::size_t from = 0;;) {
    const std::size_t at = StringOp_CharPos(text, true, delimiter, from);
    const bool last = at >= whole.size();
    v->elements.push_back(std::make_unique<const std::string>(whole.substr(from, last ? whole.npos : at - from)));
    if (last) return v;
    from = at + 1;
  }
}

std::size_t StrVector_ElementCount(StrVector v) { return v == nullptr ? 0 : v->elements.size(); }

bool StrVector_GetElement(StrVector v, std::size_t index, StrOut result) {
  result.Clear();
  const std::string* element = ElementAt(v, index);
  if (element == nullptr || element->size() > result.Capacity()) return false;
  Strings_Assign(*element, result);
  return true;
}

const char* StrVector_GetDynElement(StrVector v, std::size_t index) {
  const std::string* element = ElementAt(v, index);
  return element == nullptr ? nullptr : element->c_str();
}

StrIn StrVector_DynElementAt(StrVector v, std::size_t index) {
  const std::string* element = ElementAt(v, index);
  return element == nullptr ? StrIn("") : StrIn(*element);
}
