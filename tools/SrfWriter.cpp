#include "tools/SrfWriter.h"

#include <cctype>
#include <cstdint>

namespace {

constexpr std::size_t kSectionNameBytes = 16;
constexpr std::size_t kMaxEntries = 15000;
constexpr std::size_t kMaxField = 0xFFFF;

std::string Trim(const std::string& line) {
  std::size_t begin = 0, end = line.size();
  while (begin < end && std::isspace(static_cast<unsigned char>(line[begin]))) ++begin;
  while (end > begin && std::isspace(static_cast<unsigned char>(line[end - 1]))) --end;
  return line.substr(begin, end - begin);
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads the quoted text at `at`; everything behind the closing quote must be
// blank.
bool ParseQuoted(const std::string& line, std::size_t at, std::string& text, std::string& what) {
  if (at >= line.size() || line[at] != '"') {
    what = "expected a quoted text";
    return false;
  }
  for (std::size_t i = at + 1; i < line.size(); ++i) {
    const char c = line[i];
    if (c == '"') {
      if (!Trim(line.substr(i + 1)).empty()) {
        what = "text after the closing quote";
        return false;
      }
      return true;
    }
    if (c != '\\') {
      text.push_back(c);
      continue;
    }
    if (++i >= line.size()) break;
    switch (line[i]) {
      case 'n': text.push_back('\n'); break;
      case 't': text.push_back('\t'); break;
      case '\\': text.push_back('\\'); break;
      case '"': text.push_back('"'); break;
      case 'x': {
        const int high = i + 1 < line.size() ? HexValue(line[i + 1]) : -1;
        const int low = i + 2 < line.size() ? HexValue(line[i + 2]) : -1;
        if (high < 0 || low < 0 || (high == 0 && low == 0)) {
          what = "bad \\x escape";
          return false;
        }
        text.push_back(static_cast<char>(high * 16 + low));
        i += 2;
        break;
      }
      default:
        what = std::string("unknown escape \\") + line[i];
        return false;
    }
  }
  what = "missing closing quote";
  return false;
}

void PutU16(std::vector<unsigned char>& bytes, std::size_t value) {
  bytes.push_back(static_cast<unsigned char>(value & 0xFF));
  bytes.push_back(static_cast<unsigned char>((value >> 8) & 0xFF));
}

}  // namespace

bool Srf_ParseSource(std::istream& source, const std::string& origin, SrfCatalog& catalog,
                     std::string& error) {
  std::map<unsigned, std::string>* current = nullptr;
  std::string raw;
  for (unsigned lineNo = 1; std::getline(source, raw); ++lineNo) {
    const std::string line = Trim(raw);
    std::string what;
    if (line.empty() || line[0] == '#') continue;
    if (line[0] == '[') {
      const std::string name = line.back() == ']' ? line.substr(1, line.size() - 2) : "";
      if (name.empty() || name.size() > kSectionNameBytes || name.find('\0') != std::string::npos)
        what = "a section name is [Name] with 1 to 16 bytes";
      else
        current = &catalog.sections[name];
    } else if (std::isdigit(static_cast<unsigned char>(line[0]))) {
      std::size_t at = 0;
      unsigned long number = 0;
      while (at < line.size() && std::isdigit(static_cast<unsigned char>(line[at])) && number <= kMaxField)
        number = number * 10 + static_cast<unsigned long>(line[at++] - '0');
      while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) ++at;
      std::string text;
      if (current == nullptr) what = "message before the first section";
      else if (number > kMaxField) what = "message number above 65535";
      else if (ParseQuoted(line, at, text, what) && !current->emplace(number, text).second)
        what = "message " + std::to_string(number) + " stands twice";
    } else {
      what = "expected [Section], a numbered text or a # comment";
    }
    if (!what.empty()) {
      error = origin + ":" + std::to_string(lineNo) + ": " + what;
      return false;
    }
  }
  return true;
}

bool Srf_Encode(const SrfCatalog& catalog, std::vector<unsigned char>& bytes, std::string& error) {
  bytes.clear();
  for (const auto& [name, entries] : catalog.sections) {
    std::vector<unsigned char> texts;
    std::vector<std::size_t> offsets;
    for (const auto& [number, text] : entries) {
      offsets.push_back(texts.size());
      texts.insert(texts.end(), text.begin(), text.end());
      texts.push_back(0);
    }
    if (entries.size() > kMaxEntries || texts.size() > kMaxField) {
      error = "section " + name + ": more than 15000 messages or 65535 bytes of text";
      return false;
    }
    std::string field = name;
    field.resize(kSectionNameBytes, '\0');
    bytes.insert(bytes.end(), field.begin(), field.end());
    PutU16(bytes, entries.size());
    PutU16(bytes, texts.size());
    std::size_t i = 0;
    for (const auto& [number, text] : entries) {
      PutU16(bytes, number);
      PutU16(bytes, offsets[i++]);
    }
    bytes.insert(bytes.end(), texts.begin(), texts.end());
  }
  return true;
}
