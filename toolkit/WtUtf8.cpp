#include "toolkit/WtUtf8.h"

namespace {

bool Continuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// The length of the sequence that starts with `lead`; 1 for a stray byte.
int SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if ((lead >> 5) == 0x6) return 2;
  if ((lead >> 4) == 0xE) return 3;
  if ((lead >> 3) == 0x1E) return 4;
  return 1;
}

}  // namespace

std::string WtUtf8_ToLatin1(const std::string& utf8) {
  std::string out;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    const int length = SequenceLength(lead);
    bool whole = i + static_cast<std::size_t>(length) <= utf8.size();
    for (int k = 1; whole && k < length; ++k) whole = Continuation(utf8[i + static_cast<std::size_t>(k)]);
    if (lead < 0x80) out += static_cast<char>(lead);
    else if (whole && length == 2 && (lead & 0x1F) <= 3)
      out += static_cast<char>(((lead & 0x1F) << 6) | (static_cast<unsigned char>(utf8[i + 1]) & 0x3F));
    else out += '?';
    i += whole ? static_cast<std::size_t>(length) : 1;
  }
  return out;
}

std::string WtUtf8_FromLatin1(const std::string& latin1) {
  std::string out;
  for (const unsigned char c : latin1) {
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

int WtUtf8_Next(const std::string& text, int index) {
  const int size = static_cast<int>(text.size());
  if (index >= size) return size;
  ++index;
  while (index < size && Continuation(text[static_cast<std::size_t>(index)])) ++index;
  return index;
}

int WtUtf8_Previous(const std::string& text, int index) {
  if (index <= 0) return 0;
  --index;
  while (index > 0 && Continuation(text[static_cast<std::size_t>(index)])) --index;
  return index;
}

int WtUtf8_Length(const std::string& text) {
  int count = 0;
  for (const char c : text) count += Continuation(c) ? 0 : 1;
  return count;
}
