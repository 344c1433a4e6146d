#include "workflow/WFplaces.h"

#include <charconv>
#include <cstdio>
#include <string>
#include <string_view>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/StrHash.h"
#include "workflow/WFbase.h"

namespace {

constexpr std::size_t kBuckets = 16;

// A place is kept in the table's word: the column in the high half, the row
// in the low half. (0, 0) is never stored, so no place reads as missing.
std::uintptr_t Pack(std::int32_t column, std::int32_t row) {
  return (static_cast<std::uintptr_t>(static_cast<std::uint32_t>(column)) << 32) |
         static_cast<std::uint32_t>(row);
}

void Unpack(std::uintptr_t value, std::int32_t& column, std::int32_t& row) {
  column = static_cast<std::int32_t>(static_cast<std::uint32_t>(value >> 32));
  row = static_cast<std::int32_t>(static_cast<std::uint32_t>(value & 0xffffffffu));
}

bool Number(std::string_view text, std::int32_t& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

// Takes the last blank-separated word off `line`.
std::string_view LastWord(std::string_view& line) {
  const std::size_t blank = line.rfind(' ');
  if (blank == std::string_view::npos) {
    const std::string_view word = line;
    line = {};
    return word;
  }
  const std::string_view word = line.substr(blank + 1);
  line = line.substr(0, blank);
  return word;
}

}  // namespace

static_assert(sizeof(std::uintptr_t) >= 8, "a place needs two 32-bit halves");

struct WFplaces_Rec {
  StrHash table = nullptr;  // made with the first place
  NameStr workflow = "";
  PathStr file = "";
  bool modified = false;
};

void WFplaces_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  SFilMisc_Init();
  WFbase_Init();
}

WFplaces WFplaces_Nil() { return nullptr; }

WFplaces WFplaces_Create(StrIn workflow) {
  auto* places = new WFplaces_Rec;
  Strings_Assign(workflow, places->workflow);
  PathStr start;
  WFbase_GetStartPath(workflow, start);
  DirAcces_IncludePath(start, WFplaces_fileName, places->file);
  return places;
}

WFplaces WFplaces_Open(StrIn workflow) {
  WFplaces places = WFplaces_Create(workflow);
  const std::string text = [&] {
    std::string content;
    std::FILE* file = std::fopen(places->file, "r");
    if (file == nullptr) return content;
    char buffer[4096];
    for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, file)) > 0;) content.append(buffer, got);
    std::fclose(file);
    return content;
  }();
  std::string_view rest = text;
  bool first = true;
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    if (first) {
      if (line != StrIn(places->workflow).View()) break;  // another workflow's places
      first = false;
      continue;
    }
    std::int32_t column = 0, row = 0;
    const std::string_view rowText = LastWord(line);
    const std::string_view columnText = LastWord(line);
    if (line.empty() || !Number(rowText, row) || !Number(columnText, column)) continue;
    if (column == 0 && row == 0) continue;
    if (places->table == nullptr) places->table = StrHash_CreateTable(kBuckets);
    StrHash_PutEntry(places->table, std::string(line), Pack(column, row));
  }
  return places;
}

void WFplaces_Close(WFplaces& places) {
  if (places == nullptr) return;
  StrHash_DestroyTable(places->table);
  delete places;
  places = nullptr;
}

void WFplaces_Save(WFplaces places) {
  if (places == nullptr || !places->modified) return;
  if (StrHash_Entries(places->table) == 0) {
    Messages_Quietly([&] { return DirAcces_Remove(places->file); });
    places->modified = false;
    return;
  }
  std::string text = StrIn(places->workflow).Str() + "\n";
  StrHash_Iterator walk = StrHash_CreateIterator(places->table);
  PathStr path;
  std::uintptr_t value = 0;
  while (StrHash_Iterate(walk, path, value)) {
    std::int32_t column = 0, row = 0;
    Unpack(value, column, row);
    text += StrIn(path).Str() + " " + std::to_string(column) + " " + std::to_string(row) + "\n";
  }
  StrHash_DestroyIterator(walk);
  if (SFilMisc_SaveAtomically(places->file, text, 0666)) places->modified = false;
}

WFplaces WFplaces_Copy(WFplaces places) {
  if (places == nullptr) return nullptr;
  auto* copy = new WFplaces_Rec(*places);
  copy->table = nullptr;
  StrHash_Iterator walk = StrHash_CreateIterator(places->table);
  PathStr path;
  std::uintptr_t value = 0;
  while (StrHash_Iterate(walk, path, value)) {
    if (copy->table == nullptr) copy->table = StrHash_CreateTable(kBuckets);
    StrHash_PutEntry(copy->table, path, value);
  }
  StrHash_DestroyIterator(walk);
  return copy;
}

bool WFplaces_GetPlace(WFplaces places, StrIn path, std::int32_t& column, std::int32_t& row) {
  column = row = 0;
  const std::uintptr_t value = places != nullptr ? StrHash_GetEntry(places->table, path) : 0;
  if (value == 0) return false;
  Unpack(value, column, row);
  return true;
}

void WFplaces_SetPlace(WFplaces places, StrIn path, std::int32_t dcolumn, std::int32_t drow) {
  if (places == nullptr) return;
  std::int32_t column = 0, row = 0;
  const bool known = WFplaces_GetPlace(places, path, column, row);
  column += dcolumn;
  row += drow;
  if (column < 0) column = 0;
  if (column == 0 && row == 0) {
    if (!known) return;  // a new place that comes to nothing
    StrHash_DestroyEntry(places->table, path);
  } else {
    if (places->table == nullptr) places->table = StrHash_CreateTable(kBuckets);
    StrHash_PutEntry(places->table, path, Pack(column, row));
  }
  places->modified = true;
}

void WFplaces_ResetPlace(WFplaces places, StrIn path) {
  if (places != nullptr && StrHash_DestroyEntry(places->table, path)) places->modified = true;
}
