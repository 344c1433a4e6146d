#include "base/Catalog.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"

std::uint8_t Catalog_catError = 0;

struct Catalog_Catalogue {
  struct Entry {
    unsigned number;
    std::uint16_t offset;
  };
  struct Section {
    std::string name;
    std::vector<Entry> entries;
    std::vector<char> texts;
  };
  std::vector<Section> sections;  // file order, which is ascending by name
};

namespace {

char section[kSectionCap] = "Catalog";

using Section = Catalog_Catalogue::Section;

// The one walk of Catalog_StartSection / Catalog_NextStringRef.
const Section* walkSection = nullptr;
std::size_t walkIndex = 0;

// The file's fields are little-endian whatever the host's order.
bool ReadU16(std::FILE* file, std::uint16_t& value) {
  unsigned char bytes[2];
  if (std::fread(bytes, 1, 2, file) != 2) return false;
  value = static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
  return true;
}

enum class ReadResult { Section, End, Damaged };

// Reads one section: quiet end at a section boundary or at an oversized
// count, damage inside the entry table or text block.
ReadResult ReadSection(std::FILE* file, Section& out) {
  char name[kSectionCap];
  const std::size_t got = std::fread(name, 1, sizeof name, file);
  if (got == 0) return ReadResult::End;
  std::uint16_t count = 0, size = 0;
  if (got != sizeof name || !ReadU16(file, count) || !ReadU16(file, size)) return ReadResult::Damaged;
  if (count > kCatalogMaxEntries) return ReadResult::End;
  out.name.assign(StrIn(name).View());
  out.entries.resize(count);
  for (auto& entry : out.entries) {
    std::uint16_t number = 0;
    if (!ReadU16(file, number) || !ReadU16(file, entry.offset)) return ReadResult::Damaged;
    entry.number = number;
  }
  out.texts.resize(size);
  if (size > 0 && std::fread(out.texts.data(), 1, size, file) != size) return ReadResult::Damaged;
  // A text must start inside the block and end with its terminator there.
  for (const auto& entry : out.entries)
    if (entry.offset >= size || std::memchr(&out.texts[entry.offset], '\0', size - entry.offset) == nullptr)
      return ReadResult::Damaged;
  return ReadResult::Section;
}

const Section* SearchSection(Catalog_Handle catalog, StrIn name) {
  for (const Section& s : catalog->sections) {
    const int order = Strings_CompareStr(s.name, name);
    if (order == 0) return &s;
    if (order > 0) break;
  }
  return nullptr;
}

const char* Lookup(Catalog_Handle catalog, StrIn sectionName, unsigned number) {
  Catalog_catError = 0;
  if (catalog == nullptr) {
    Catalog_catError = 1;
    return nullptr;
  }
  const Section* s = SearchSection(catalog, sectionName);
  if (s == nullptr) {
    Catalog_catError = 2;
    return nullptr;
  }
  for (const auto& entry : s->entries) {
    if (entry.number == number) return &s->texts[entry.offset];
    if (entry.number > number) break;
  }
  Catalog_catError = 3;
  return nullptr;
}

struct LanguageRule {
  const char* prefix;
  const char* word;
};

}  // namespace

void Catalog_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  DirAcces_Init();
  Messages_Init();
}

void Catalog_GetLanguage(StrOut language, StrIn fallback) {
  static constexpr LanguageRule kPrefixes[] = {{"de", "deu"}, {"en", "eng"}, {"fr", "fra"},
                                               {"it", "ita"}, {"es", "spa"}, {"pl", "pol"},
                                               {"pt", "por"}};
  static constexpr LanguageRule kNames[] = {{"german", "deu"}, {"German", "deu"}, {"English", "eng"}};
  const char* value = std::getenv("LANGUAGE");
  if (value == nullptr || *value == '\0') value = std::getenv("LANG");
  std::string word = value != nullptr ? value : "";
  for (const auto& rule : kPrefixes)
    if (word.starts_with(rule.prefix)) word = rule.word;
  for (const auto& rule : kNames)
    if (word.starts_with(rule.prefix)) word = rule.word;
  Strings_Assign(word.empty() ? std::string(fallback.View()) : word, language);
}

Catalog_Handle Catalog_OpenCatalogue(StrIn name) {
  char language[kNameCap];
  Catalog_GetLanguage(language, "eng");
  return Catalog_OpenForeignCatalogue(name, language);
}

Catalog_Handle Catalog_OpenForeignCatalogue(StrIn name, StrIn language) {
  Catalog_catError = 0;
  const std::string candidates[] = {language.Str() + "/" + name.Str(), "eng/" + name.Str(),
                                    "deu/" + name.Str()};
  const bool found = Messages_Quietly([&] {
    for (const std::string& candidate : candidates)
      if (DirAcces_PathLookup("MARLENV", candidate, DirAcces_Mode::Read)) return true;
    return false;
  });
  if (!found) {
    // messages: Catalog 1
    char reason[kTextCap];
    Messages_GetMsg(section, 1, reason);
    Strings_Concat(reason, name, reason);
    Strings_Concat(reason, "'", reason);
    Messages_SupplyAdditionalInfo(reason);
    Catalog_catError = 4;
    Messages_Error(section, 1);
    return nullptr;
  }
  char path[kTextCap];
  Strings_Assign(DirAcces_effName, path);
  return Catalog_ReadFile(path);
}

Catalog_Handle Catalog_ReadFile(StrIn path) {
  Catalog_catError = 0;
  std::FILE* file = std::fopen(path.Str().c_str(), "rb");
  if (file == nullptr) {
    Catalog_catError = 4;
    Messages_SupplyAdditionalInfo(path);
    Messages_Error(section, 1);
    return nullptr;
  }
  auto* catalog = new Catalog_Catalogue;
  for (;;) {
    Section s;
    const ReadResult result = ReadSection(file, s);
    if (result == ReadResult::End) break;
    if (result == ReadResult::Damaged) {
      Catalog_catError = 5;
      Messages_SupplyAdditionalInfo(path);
      Messages_Error(section, 0);
      break;
    }
    catalog->sections.push_back(std::move(s));
  }
  std::fclose(file);
  return catalog;
}

void Catalog_CloseCatalogue(Catalog_Handle& catalog) {
  if (catalog != nullptr && walkSection != nullptr) {
    for (const Section& s : catalog->sections)
      if (&s == walkSection) walkSection = nullptr;
  }
  delete catalog;
  catalog = nullptr;
}

Catalog_Handle Catalog_NilCatalogue() { return nullptr; }

bool Catalog_CatalogueEqual(Catalog_Handle a, Catalog_Handle b) { return a == b; }

bool Catalog_GetString(Catalog_Handle catalog, StrIn sectionName, unsigned number, StrOut text) {
  const char* found = Lookup(catalog, sectionName, number);
  Strings_Assign(found != nullptr ? StrIn::C(found) : StrIn("???"), text);
  return found != nullptr;
}

const char* Catalog_GetStringRef(Catalog_Handle catalog, StrIn sectionName, unsigned number) {
  return Lookup(catalog, sectionName, number);
}

bool Catalog_StartSection(Catalog_Handle catalog, StrIn sectionName) {
  Catalog_catError = 0;
  walkIndex = 0;
  walkSection = catalog != nullptr ? SearchSection(catalog, sectionName) : nullptr;
  if (walkSection == nullptr) Catalog_catError = catalog != nullptr ? 6 : 1;
  return walkSection != nullptr;
}

const char* Catalog_NextStringRef(unsigned& number) {
  if (walkSection == nullptr || walkIndex >= walkSection->entries.size()) return nullptr;
  const auto& entry = walkSection->entries[walkIndex++];
  number = entry.number;
  return &walkSection->texts[entry.offset];
}
