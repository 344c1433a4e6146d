#include "jobqueue/SReqObj.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "base/BConvert.h"
#include "base/Strings.h"

std::uint8_t SReqObj_error = 0;

struct SReqObj_Rec {
  SReqObj_Type type = SReqObj_Type::Void;
  bool boolean = false;
  std::int32_t integer = 0;
  double real = 0;
  std::string bytes;                                  // String, Data
  std::vector<std::unique_ptr<SReqObj_Rec>> elements;  // Array
};

namespace {

constexpr char kTypeChars[] = "VBIRSAD";

SReqObj Make(SReqObj_Type type) {
  auto* obj = new SReqObj_Rec;
  obj->type = type;
  return obj;
}

bool Is(SReqObj obj, SReqObj_Type type) {
  if (obj != nullptr && obj->type == type) return true;
  SReqObj_error = 4;
  return false;
}

// Checks the limits of the whole value before anything of it is written.
bool WithinLimits(SReqObj obj, std::size_t depth) {
  if (obj == nullptr || depth > kSReqObjMaxDepth) return false;
  if (obj->type == SReqObj_Type::String) return obj->bytes.size() <= kSReqObjMaxString;
  if (obj->type == SReqObj_Type::Data) return obj->bytes.size() <= kSReqObjMaxObject - 5;
  if (obj->type != SReqObj_Type::Array) return true;
  if (obj->elements.size() > kSReqObjMaxArray) return false;
  for (const auto& e : obj->elements)
    if (!WithinLimits(e.get(), depth + 1)) return false;
  return true;
}

void PutInteger(std::string& out, std::uint32_t v) {
  const char b[4] = {static_cast<char>(v >> 24), static_cast<char>(v >> 16), static_cast<char>(v >> 8),
                     static_cast<char>(v)};
  out.append(b, 4);
}

void PatchInteger(std::string& out, std::size_t at, std::uint32_t v) {
  for (int i = 3; i >= 0; --i, v >>= 8) out[at + static_cast<std::size_t>(i)] = static_cast<char>(v);
}

// False when an element grew beyond what its 4-byte length can tell.
bool EncodeUnchecked(SReqObj obj, std::string& out) {
  out.push_back(kTypeChars[static_cast<int>(obj->type)]);
  switch (obj->type) {
    case SReqObj_Type::Void: break;
    case SReqObj_Type::Boolean: out.push_back(obj->boolean ? 1 : 0); break;
    case SReqObj_Type::Integer: PutInteger(out, static_cast<std::uint32_t>(obj->integer)); break;
    case SReqObj_Type::Real: {
      std::uint64_t bits = 0;
      std::memcpy(&bits, &obj->real, sizeof bits);
      PutInteger(out, static_cast<std::uint32_t>(bits >> 32));
      PutInteger(out, static_cast<std::uint32_t>(bits));
      break;
    }
    case SReqObj_Type::String:
    case SReqObj_Type::Data:
      PutInteger(out, static_cast<std::uint32_t>(obj->bytes.size()));
      out += obj->bytes;
      break;
    case SReqObj_Type::Array:
      PutInteger(out, static_cast<std::uint32_t>(obj->elements.size()));
      // Each element is an object of its own: its length first, so that a
      // reader can pass over what it does not understand.
      for (const auto& e : obj->elements) {
        const std::size_t at = out.size();
        PutInteger(out, 0);
        if (!EncodeUnchecked(e.get(), out)) return false;
        const std::size_t length = out.size() - at - 4;
        if (length > kSReqObjMaxObject) return false;
        PatchInteger(out, at, static_cast<std::uint32_t>(length));
      }
      break;
  }
  return true;
}

// Where a value is read from. Every read stays inside the object being read:
// `end_` is where the innermost element's declared length ends, so that an
// element that claims more or fewer bytes than its body holds is caught at
// once instead of swallowing what follows or waiting for bytes that never come.
class Source {
 public:
  virtual ~Source() = default;
  bool Read(void* to, std::size_t n) {
    if (n > end_ - at_) return Short();
    if (!Raw(to, n)) return SReqObj_error = 2, false;
    at_ += n;
    return true;
  }
  // Appends `n` bytes to `into`, never allocating ahead of what arrived.
  bool Take(std::string& into, std::size_t n) {
    if (n > end_ - at_) return Short();
    if (!RawTake(into, n)) return SReqObj_error = 2, false;
    at_ += n;
    return true;
  }
  std::size_t Used() const { return at_; }
  std::size_t Left() const { return end_ - at_; }
  // Confines the reads to the next `n` bytes; gives the bound to restore.
  std::size_t Enter(std::size_t n) {
    const std::size_t outer = end_;
    end_ = at_ + n;
    return outer;
  }
  // Leaves an element: true when it used exactly the bytes it declared.
  bool Leave(std::size_t outer) {
    if (at_ != end_) return Short();
    end_ = outer;
    return true;
  }

 private:
  virtual bool Raw(void* to, std::size_t n) = 0;
  virtual bool RawTake(std::string& into, std::size_t n) = 0;
  static bool Short() { return SReqObj_error = 3, false; }
  std::size_t at_ = 0;
  std::size_t end_ = SIZE_MAX;
};

class MemorySource final : public Source {
 public:
  explicit MemorySource(std::string_view bytes) : bytes_(bytes) {}

 private:
  bool Raw(void* to, std::size_t n) override {
    if (n > bytes_.size() - Used()) return false;
    std::memcpy(to, bytes_.data() + Used(), n);
    return true;
  }
  bool RawTake(std::string& into, std::size_t n) override {
    if (n > bytes_.size() - Used()) return false;
    into.append(bytes_.data() + Used(), n);
    return true;
  }
  std::string_view bytes_;
};

class SocketSource final : public Source {
 public:
  explicit SocketSource(Socket s) : s_(s) {}

 private:
  bool Raw(void* to, std::size_t n) override { return Socket_ReadBytes(s_, to, n); }
  // Grows in steps as the bytes arrive, so a lying length costs nothing.
  bool RawTake(std::string& into, std::size_t n) override {
    while (n > 0) {
      const std::size_t step = n < 65536 ? n : 65536;
      const std::size_t old = into.size();
      into.resize(old + step);
      if (!Socket_ReadBytes(s_, into.data() + old, step)) return false;
      n -= step;
    }
    return true;
  }
  Socket s_;
};

// A 4-byte length no higher than `limit` (SReqObj_error 1 above it, or 3
// when it can't be a length at all).
bool ReadLength(Source& in, std::size_t limit, std::size_t& length) {
  std::uint8_t b[4];
  if (!in.Read(b, 4)) return false;
  const std::uint32_t v = std::uint32_t{b[0]} << 24 | std::uint32_t{b[1]} << 16 | std::uint32_t{b[2]} << 8 | b[3];
  if (v > limit) return SReqObj_error = v > kSReqObjMaxObject ? 3 : 1, false;
  length = v;
  return true;
}

std::unique_ptr<SReqObj_Rec> DecodeFrom(Source& in, std::size_t depth);

// The elements of an Array: `count` objects, each its length and a value
// that fills exactly that length.
bool DecodeElements(Source& in, std::size_t depth, SReqObj_Rec& array) {
  std::size_t count = 0;
  if (!ReadLength(in, kSReqObjMaxArray, count)) return false;
  // The smallest element takes 5 bytes: a count its container can't hold is
  // refused before any of it is read.
  if (count > in.Left() / 5) return SReqObj_error = 3, false;
  for (std::size_t i = 0; i < count; ++i) {
    std::size_t length = 0;
    if (!ReadLength(in, kSReqObjMaxObject, length)) return false;
    if (length == 0 || length > in.Left()) return SReqObj_error = 3, false;
    const std::size_t outer = in.Enter(length);
    auto element = DecodeFrom(in, depth + 1);
    if (element == nullptr || !in.Leave(outer)) return false;
    array.elements.push_back(std::move(element));
  }
  return true;
}

std::unique_ptr<SReqObj_Rec> DecodeFrom(Source& in, std::size_t depth) {
  char c = 0;
  if (!in.Read(&c, 1)) return nullptr;
  const char* at = c == 0 ? nullptr : std::strchr(kTypeChars, c);
  if (at == nullptr || depth > kSReqObjMaxDepth) return SReqObj_error = 3, nullptr;
  auto obj = std::make_unique<SReqObj_Rec>();
  obj->type = static_cast<SReqObj_Type>(at - kTypeChars);
  std::uint8_t b[8];
  std::size_t length = 0;
  switch (obj->type) {
    case SReqObj_Type::Void: break;
    case SReqObj_Type::Boolean:
      if (!in.Read(b, 1)) return nullptr;
      obj->boolean = b[0] != 0;
      break;
    case SReqObj_Type::Integer:
      if (!in.Read(b, 4)) return nullptr;
      obj->integer = static_cast<std::int32_t>(std::uint32_t{b[0]} << 24 | std::uint32_t{b[1]} << 16 |
                                               std::uint32_t{b[2]} << 8 | b[3]);
      break;
    case SReqObj_Type::Real: {
      if (!in.Read(b, 8)) return nullptr;
      std::uint64_t bits = 0;
      for (std::uint8_t byte : b) bits = bits << 8 | byte;
      std::memcpy(&obj->real, &bits, sizeof bits);
      break;
    }
    case SReqObj_Type::String:
    case SReqObj_Type::Data:
      if (!ReadLength(in, obj->type == SReqObj_Type::String ? kSReqObjMaxString : kSReqObjMaxData, length))
        return nullptr;
      if (!in.Take(obj->bytes, length)) return nullptr;
      break;
    case SReqObj_Type::Array:
      if (!DecodeElements(in, depth, *obj)) return nullptr;
      break;
  }
  return obj;
}

void AppendText(SReqObj obj, std::string& out) {
  char number[64] = "";
  switch (SReqObj_TypeOf(obj)) {
    case SReqObj_Type::Void: out += "V"; break;
    case SReqObj_Type::Boolean: out += obj->boolean ? "B TRUE" : "B FALSE"; break;
    case SReqObj_Type::Integer:
      BConvert_IntToStr(number, obj->integer, 0);
      out += "I ";
      out += number;
      break;
    case SReqObj_Type::Real:
      BConvert_PrettyRealToStr(number, obj->real);
      out += "R ";
      out += number;
      break;
    case SReqObj_Type::String: out += "S \"" + obj->bytes + "\""; break;
    case SReqObj_Type::Data:
      BConvert_CardToStr(number, static_cast<std::uint32_t>(obj->bytes.size()), 0);
      out += "D ";
      out += number;
      break;
    case SReqObj_Type::Array:
      out += "[";
      for (std::size_t i = 0; i < obj->elements.size() && out.size() < kTextCap; ++i) {
        if (i > 0) out += ", ";
        AppendText(obj->elements[i].get(), out);
      }
      out += "]";
      break;
  }
}

}  // namespace

SReqObj SReqObj_Nil() { return nullptr; }
SReqObj SReqObj_CreateVoid() { return Make(SReqObj_Type::Void); }

SReqObj SReqObj_CreateBoolean(bool value) {
  SReqObj obj = Make(SReqObj_Type::Boolean);
  obj->boolean = value;
  return obj;
}

SReqObj SReqObj_CreateInteger(std::int32_t value) {
  SReqObj obj = Make(SReqObj_Type::Integer);
  obj->integer = value;
  return obj;
}

SReqObj SReqObj_CreateReal(double value) {
  SReqObj obj = Make(SReqObj_Type::Real);
  obj->real = value;
  return obj;
}

SReqObj SReqObj_CreateString(std::string_view bytes) {
  SReqObj obj = Make(SReqObj_Type::String);
  obj->bytes = bytes;
  return obj;
}

SReqObj SReqObj_CreateData(std::string_view bytes) {
  SReqObj obj = Make(SReqObj_Type::Data);
  obj->bytes = bytes;
  return obj;
}

SReqObj SReqObj_CreateArray() { return Make(SReqObj_Type::Array); }

SReqObj SReqObj_Copy(SReqObj obj) {
  if (obj == nullptr) return nullptr;
  SReqObj copy = Make(obj->type);
  copy->boolean = obj->boolean;
  copy->integer = obj->integer;
  copy->real = obj->real;
  copy->bytes = obj->bytes;
  for (const auto& e : obj->elements) copy->elements.emplace_back(SReqObj_Copy(e.get()));
  return copy;
}

void SReqObj_Destroy(SReqObj& obj) {
  delete obj;
  obj = nullptr;
}

bool SReqObj_Append(SReqObj array, SReqObj element) {
  if (element == nullptr || !Is(array, SReqObj_Type::Array)) {
    SReqObj_Destroy(element);
    return false;
  }
  array->elements.emplace_back(element);
  return true;
}

std::size_t SReqObj_Count(SReqObj array) {
  return array != nullptr && array->type == SReqObj_Type::Array ? array->elements.size() : 0;
}

SReqObj SReqObj_Element(SReqObj array, std::size_t index) {
  return index < SReqObj_Count(array) ? array->elements[index].get() : nullptr;
}

SReqObj SReqObj_Remove(SReqObj array, std::size_t index) {
  if (index >= SReqObj_Count(array)) return nullptr;
  SReqObj element = array->elements[index].release();
  array->elements.erase(array->elements.begin() + static_cast<std::ptrdiff_t>(index));
  return element;
}

SReqObj_Type SReqObj_TypeOf(SReqObj obj) { return obj == nullptr ? SReqObj_Type::Void : obj->type; }
bool SReqObj_GetBoolean(SReqObj obj) { return Is(obj, SReqObj_Type::Boolean) && obj->boolean; }
std::int32_t SReqObj_GetInteger(SReqObj obj) { return Is(obj, SReqObj_Type::Integer) ? obj->integer : 0; }
double SReqObj_GetReal(SReqObj obj) { return Is(obj, SReqObj_Type::Real) ? obj->real : 0; }

std::string_view SReqObj_Bytes(SReqObj obj) {
  if (obj == nullptr || (obj->type != SReqObj_Type::String && obj->type != SReqObj_Type::Data)) {
    SReqObj_error = 4;
    return {};
  }
  return obj->bytes;
}

void SReqObj_GetString(SReqObj obj, StrOut text) {
  const std::string_view bytes = SReqObj_Bytes(obj);
  if (bytes.empty()) return text.Clear();
  Strings_Copy(StrIn(bytes.data(), bytes.size()), 0, bytes.size(), text);
  text.Terminate(bytes.size());
}

void SReqObj_ToText(SReqObj obj, StrOut text) {
  std::string out;
  AppendText(obj, out);
  Strings_Assign(out, text);
}

bool SReqObj_Encode(SReqObj obj, std::string& bytes) {
  SReqObj_error = 0;
  std::string out;
  if (!WithinLimits(obj, 0) || !EncodeUnchecked(obj, out)) return SReqObj_error = 1, false;
  bytes += out;
  return true;
}

SReqObj SReqObj_Decode(std::string_view bytes, std::size_t& used) {
  SReqObj_error = 0;
  MemorySource in(bytes);
  auto obj = DecodeFrom(in, 0);
  used = obj == nullptr ? 0 : in.Used();
  return obj.release();
}

bool SReqObj_Send(Socket s, SReqObj obj) {
  std::string bytes;
  if (!SReqObj_Encode(obj, bytes)) return false;
  if (!Socket_WriteBytes(s, bytes.data(), bytes.size())) return SReqObj_error = 2, false;
  return true;
}

SReqObj SReqObj_Receive(Socket s) {
  SReqObj_error = 0;
  SocketSource in(s);
  return DecodeFrom(in, 0).release();
}
