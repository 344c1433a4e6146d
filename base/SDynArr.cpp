#include "base/SDynArr.h"

#include <cstring>
#include <vector>

struct SDynArr_Rec {
  std::size_t recordSize;
  std::vector<unsigned char> bytes;

  std::size_t Count() const { return bytes.size() / recordSize; }
  unsigned char* At(std::size_t index) { return bytes.data() + index * recordSize; }
};

SDynArr SDynArr_Nil() { return nullptr; }

SDynArr SDynArr_Create(std::size_t recordSize, std::size_t initialCount) {
  if (recordSize == 0) return nullptr;
  auto* array = new SDynArr_Rec{recordSize, {}};
  array->bytes.reserve(recordSize * initialCount);
  return array;
}

void SDynArr_Destroy(SDynArr& array) {
  delete array;
  array = nullptr;
}

std::size_t SDynArr_Append(SDynArr array, const void* record) {
  if (array == nullptr) return 0;
  const std::size_t index = array->Count();
  SDynArr_Put(array, index, record);
  return index;
}

void SDynArr_Put(SDynArr array, std::size_t index, const void* record) {
  if (array == nullptr) return;
  if (index >= array->Count()) SDynArr_SetCount(array, index + 1);
  if (record == nullptr) {
    std::memset(array->At(index), 0, array->recordSize);
  } else {
    std::memcpy(array->At(index), record, array->recordSize);
  }
}

bool SDynArr_Remove(SDynArr array, std::size_t index) {
  if (array == nullptr || index >= array->Count()) return false;
  auto from = array->bytes.begin() + static_cast<std::ptrdiff_t>(index * array->recordSize);
  array->bytes.erase(from, from + static_cast<std::ptrdiff_t>(array->recordSize));
  return true;
}

void SDynArr_SetCount(SDynArr array, std::size_t count) {
  if (array != nullptr) array->bytes.resize(count * array->recordSize, 0);
}

std::size_t SDynArr_Count(SDynArr array) { return array == nullptr ? 0 : array->Count(); }

std::size_t SDynArr_RecordSize(SDynArr array) { return array == nullptr ? 0 : array->recordSize; }

void* SDynArr_At(SDynArr array, std::size_t index) {
  return array == nullptr || index >= array->Count() ? nullptr : array->At(index);
}

bool SDynArr_Get(SDynArr array, std::size_t index, void* record) {
  const void* at = SDynArr_At(array, index);
  if (at != nullptr) std::memcpy(record, at, array->recordSize);
  return at != nullptr;
}
