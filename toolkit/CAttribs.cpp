#include "toolkit/CAttribs.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>

#include "base/Messages.h"
#include "base/SIdPool.h"

char CAttribs_nullString[1] = {'\0'};

struct CAttribs_Table {
  struct Descriptor {
    std::uint32_t offset;
    std::uint32_t size;
    bool isString;
  };
  std::unordered_map<std::uint32_t, Descriptor> attributes{27};
  void* prototype = nullptr;
  std::uint32_t instanceSize = 0;
};

namespace {

char section[kSectionCap] = "CAttribs";

void Unknown(std::uint32_t id) {
  Messages_SupplyAdditionalInfo(SIdPool_IdText(id));
  Messages_Error(section, 1);
}

const CAttribs_Table::Descriptor* Find(Classes_ClassPtr cls, std::uint32_t id) {
  if (cls == nullptr || cls->attrManData == nullptr) return nullptr;
  const auto found = cls->attrManData->attributes.find(id);
  return found == cls->attrManData->attributes.end() ? nullptr : &found->second;
}

std::uint32_t Define(Classes_ClassPtr cls, StrIn name, std::uint32_t size, void* field, bool isString) {
  const std::uint32_t id = SIdPool_EnterId(name);
  const auto offset = static_cast<std::uint32_t>(static_cast<char*>(field) -
                                                 static_cast<char*>(cls->attrManData->prototype));
  cls->attrManData->attributes[id] = {offset, size, isString};
  return id;
}

// Copies at most `room` bytes; a shorter value gets a zero byte behind it.
void CopyCut(void* to, std::uint32_t room, const void* from, std::uint32_t size) {
  const std::uint32_t n = std::min(room, size);
  std::memcpy(to, from, n);
  if (n < room) static_cast<std::uint8_t*>(to)[n] = 0;
}

}  // namespace

void CAttribs_MakeTable(Classes_ClassPtr cls, void* prototype) {
  cls->attrManData = new CAttribs_Table;
  cls->attrManData->prototype = prototype;
  cls->attrManData->instanceSize = cls->instanceSize;
}

void* CAttribs_Prototype(Classes_ClassPtr cls) {
  return cls != nullptr && cls->attrManData != nullptr ? cls->attrManData->prototype : nullptr;
}

std::uint32_t CAttribs_DefAttr(Classes_ClassPtr cls, StrIn name, std::uint32_t highBound, void* field) {
  return Define(cls, name, highBound + 1, field, false);
}

std::uint32_t CAttribs_DefStrAttr(Classes_ClassPtr cls, StrIn name, std::uint32_t highBound,
                                  CAttribs_String* field) {
  field->text = CAttribs_nullString;
  field->length = 0;
  return Define(cls, name, highBound + 1, field, true);
}

void CAttribs_SetDefault(Classes_ClassPtr cls, std::uint32_t id, const void* bytes, std::uint32_t size) {
  const auto* d = Find(cls, id);
  if (d == nullptr) {
    Unknown(id);
    return;
  }
  if (!d->isString) CopyCut(static_cast<char*>(cls->attrManData->prototype) + d->offset, d->size, bytes, size);
}

void CAttribs_GetDefault(Classes_ClassPtr cls, std::uint32_t id, void* bytes, std::uint32_t size) {
  if (!CAttribs_Fetch(cls, CAttribs_Prototype(cls), id, bytes, size)) Unknown(id);
}

bool CAttribs_GetAttrInfo(Classes_ClassPtr cls, std::uint32_t id, std::uint32_t& offset, std::uint32_t& size,
                          bool& isString) {
  const auto* d = Find(cls, id);
  if (d == nullptr) {
    Unknown(id);
    return false;
  }
  offset = d->offset;
  size = d->size;
  isString = d->isString;
  return true;
}

void CAttribs_SetString(CAttribs_String& field, const void* bytes, std::uint32_t bound) {
  CAttribs_FreeString(field);
  const auto* text = static_cast<const char*>(bytes);
  const std::uint32_t length = static_cast<std::uint32_t>(strnlen(text, bound));
  if (length == 0) return;
  field.text = static_cast<char*>(std::malloc(length + 1));
  std::memcpy(field.text, text, length);
  field.text[length] = '\0';
  field.length = length;
}

void CAttribs_FreeString(CAttribs_String& field) {
  if (field.text != nullptr && field.text != CAttribs_nullString) std::free(field.text);
  field.text = CAttribs_nullString;
  field.length = 0;
}

StrIn CAttribs_Text(const CAttribs_String& field) {
  return field.text != nullptr ? StrIn(field.text, field.length) : StrIn("");
}

void CAttribs_SetAllAttributes(Classes_ClassPtr cls, void* instance, SAttribs list) {
  std::memcpy(instance, CAttribs_Prototype(cls), cls->instanceSize);
  for (; list != nullptr; list = list->next) CAttribs_Store(cls, instance, list->id, list->bytes, list->size);
}

bool CAttribs_Store(Classes_ClassPtr cls, void* instance, std::uint32_t id, const void* bytes,
                    std::uint32_t size) {
  const auto* d = Find(cls, id);
  if (d == nullptr) return false;
  void* field = static_cast<char*>(instance) + d->offset;
  if (d->isString) {
    // A value without terminator ends at its size.
    std::string copy(static_cast<const char*>(bytes), strnlen(static_cast<const char*>(bytes), size));
    CAttribs_SetString(*static_cast<CAttribs_String*>(field), copy.c_str(), d->size);
  } else {
    CopyCut(field, d->size, bytes, size);
  }
  return true;
}

bool CAttribs_Fetch(Classes_ClassPtr cls, const void* instance, std::uint32_t id, void* bytes,
                    std::uint32_t size) {
  const auto* d = Find(cls, id);
  if (d == nullptr || instance == nullptr) return false;
  const void* field = static_cast<const char*>(instance) + d->offset;
  if (d->isString) {
    const auto& s = *static_cast<const CAttribs_String*>(field);
    CopyCut(bytes, size, s.text != nullptr ? s.text : "", s.length);
  } else {
    CopyCut(bytes, size, field, d->size);
  }
  return true;
}

void CAttribs_FreeAllStrings(Classes_ClassPtr cls, void* instance) {
  if (cls == nullptr || cls->attrManData == nullptr) return;
  for (const auto& [id, d] : cls->attrManData->attributes)
    if (d.isString) CAttribs_FreeString(*reinterpret_cast<CAttribs_String*>(static_cast<char*>(instance) + d.offset));
}
