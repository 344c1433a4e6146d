// The field procedure of the data-file fuzz target, shared with the unit
// tests, so that an input saved by the fuzzer reads the same way there. A key's first letter gives the kind of its value:
// I integer, C cardinal, L 64-bit integer, R real, B boolean, S string,
// E enumeration, X set, D block of the same kind of fields; any other key is
// passed over as unknown. What was read can be written back.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/SDataIO.h"
#include "base/SIdPool.h"

namespace fuzzfields {

inline const StrIn kColours[] = {"RED", "GREEN", "BLUE"};

struct Value {
  unsigned key = 0;
  char kind = 0;
  std::int64_t number = 0;
  double real = 0.0;
  std::string text;
  std::vector<Value> block;
  bool operator==(const Value&) const = default;
};
using Values = std::vector<Value>;

void ReadField(void* data, void* extra, unsigned key);

inline bool ReadValue(Value& v, void* extra) {
  std::int32_t i = 0;
  std::uint32_t c = 0;
  unsigned e = 0;
  bool b = false;
  NameStr s;
  switch (v.kind) {
    case 'I': return SDataIO_ReadInt(i) && ((v.number = i), true);
    case 'C': return SDataIO_ReadCard(c) && ((v.number = c), true);
    case 'L': return SDataIO_ReadInt64(v.number);
    case 'R': return SDataIO_ReadReal(v.real);
    case 'B': return SDataIO_ReadBool(b) && ((v.number = b), true);
    case 'S': return SDataIO_ReadStr(s) && ((v.text = StrIn(s).Str()), true);
    case 'E': return SDataIO_ReadEnum(e, kColours) && ((v.number = e), true);
    case 'X': return SDataIO_ReadBitset(c) && ((v.number = c), true);
    default: return SDataIO_ReadSub(&v.block, extra, ReadField);
  }
}

// `data` is the Values the field is appended to.
inline void ReadField(void* data, void* extra, unsigned key) {
  Value v;
  v.key = key;
  v.kind = SIdPool_IdText(key)[0];
  if (std::string_view("ICLRBSEXD").find(v.kind) == std::string_view::npos) {
    SDataIO_UnknownAttribute(key);
    return;
  }
  if (ReadValue(v, extra)) static_cast<Values*>(data)->push_back(std::move(v));
}

// `data` is the Values to write.
inline void WriteFields(void* data) {
  for (Value& v : *static_cast<Values*>(data)) {
    switch (v.kind) {
      case 'I': SDataIO_WriteInt(v.key, static_cast<std::int32_t>(v.number)); break;
      case 'C': SDataIO_WriteCard(v.key, static_cast<std::uint32_t>(v.number)); break;
      case 'L': SDataIO_WriteInt64(v.key, v.number); break;
      case 'R': SDataIO_WriteReal(v.key, v.real); break;
      case 'B': SDataIO_WriteBool(v.key, v.number != 0); break;
      case 'S': SDataIO_WriteStr(v.key, v.text); break;
      case 'E': SDataIO_WriteEnum(v.key, static_cast<unsigned>(v.number), kColours); break;
      case 'X': SDataIO_WriteBitset(v.key, static_cast<std::uint32_t>(v.number)); break;
      default: SDataIO_WriteSub(v.key, &v.block, WriteFields); break;
    }
  }
}

}  // namespace fuzzfields
