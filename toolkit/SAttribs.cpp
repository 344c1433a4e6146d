#include "toolkit/SAttribs.h"

#include <cstring>

#include "base/SIdPool.h"

namespace {

void FreeNode(SAttribs_Node* node) {
  delete[] node->bytes;
  delete node;
}

}  // namespace

void SAttribs_Add(SAttribs& list, std::uint32_t id, const void* bytes, std::uint32_t size) {
  for (SAttribs* link = &list; *link != nullptr; link = &(*link)->next)
    if ((*link)->id == id) {
      SAttribs_Node* old = *link;
      *link = old->next;
      FreeNode(old);
      break;
    }
  auto* node = new SAttribs_Node;
  node->id = id;
  node->size = size;
  node->bytes = new std::uint8_t[size > 0 ? size : 1];
  if (size > 0) std::memcpy(node->bytes, bytes, size);
  node->next = list;
  list = node;
}

void SAttribs_AddByName(SAttribs& list, StrIn name, const void* bytes, std::uint32_t size) {
  SAttribs_Add(list, SIdPool_EnterId(name), bytes, size);
}

void SAttribs_AddBool(SAttribs& list, StrIn name, bool value) {
  const std::uint8_t byte = value ? 1 : 0;
  SAttribs_AddByName(list, name, &byte, 1);
}

void SAttribs_AddInt(SAttribs& list, StrIn name, std::int32_t value) {
  SAttribs_AddByName(list, name, &value, sizeof value);
}

void SAttribs_AddString(SAttribs& list, StrIn name, StrIn text) {
  const std::string copy = text.Str();
  SAttribs_AddByName(list, name, copy.c_str(), static_cast<std::uint32_t>(copy.size() + 1));
}

const SAttribs_Node* SAttribs_Find(SAttribs list, std::uint32_t id) {
  for (; list != nullptr; list = list->next)
    if (list->id == id) return list;
  return nullptr;
}

void SAttribs_SupplementAttrList(SAttribs& own, SAttribs more) {
  for (; more != nullptr; more = more->next)
    if (SAttribs_Find(own, more->id) == nullptr) SAttribs_Add(own, more->id, more->bytes, more->size);
}

void SAttribs_Destroy(SAttribs& list) {
  while (list != nullptr) {
    SAttribs_Node* next = list->next;
    FreeNode(list);
    list = next;
  }
}
