#include "rc/SrcFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/BConvert.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "base/StrHash.h"
#include "base/Utility.h"

// The life of an entry
// --------------------
//   (none) --SrcFile_Define*--> defined: the program's variable holds the
//          value, the loaded copy is the variable's value
//   (none) --a load meets the key--> undefined: the entry owns storage for
//          the value (a merge never makes entries)
//   undefined --SrcFile_Define* of the same type--> defined: the variable
//          takes the value, the entry's storage goes
//   undefined --SrcFile_Define* of another type--> undefined (error 3)
//   defined --SrcFile_Define*--> defined (error 1)
//   defined --SrcFile_SUndefine / SrcFile_UndefineI--> undefined: the value
//          moves into storage of the entry's own
// Entries are never removed: a key once met is written by every later save
// of its section.

std::uint8_t SrcFile_error = 0;
char SrcFile_rcName[kNameCap] = ".tavrinrc";

namespace {

char section[kSectionCap] = "SrcFile";

constexpr char kTypeKeys[] = "BECIRSPFM";
constexpr std::size_t kBuckets = 256;
constexpr char kGlobalPrefix[] = "[global]";
// A key behind its prefix has at most this many characters.
constexpr std::size_t kMaxKey = kNameCap - 1;
constexpr std::uint32_t kRetryMs = 100;
constexpr std::uint32_t kMergeWaitMs = 500;
constexpr std::uint32_t kLocationWaitMs = 1500;

using Check = std::variant<std::monostate, SrcFile_CardCheck, SrcFile_IntCheck, SrcFile_RealCheck,
                           SrcFile_StringCheck>;

struct Entry {
  char key[kNameCap] = "";
  std::uint8_t type = 0;
  // The program's variable, or own.get() while undefined; `size` bytes.
  unsigned char* value = nullptr;
  std::size_t size = 0;
  std::unique_ptr<unsigned char[]> own;
  // The value last seen in a file or at definition: the base of the merge.
  std::vector<unsigned char> loaded;
  std::uint32_t limit = 255;
  Check check;
  std::uint32_t checkData = 0;
  char description[kNameCap] = "";
  bool defined = false;
  bool hasCallback = false;
  SrcFile_ChangeCallback callback = nullptr;
  std::uintptr_t callbackData = 0;
};

// The table's values point into `entries`, which owns them for the life of
// the process.
StrHash table = StrHash_Nil();
std::vector<std::unique_ptr<Entry>> entries;
char host[kNameCap] = "";
// The last file a load, merge or save opened, for error reports.
std::string lastFile;
SrcFile_MessageCallback messageCallback = nullptr;
unsigned autoSaveLocation = 0;

bool IsString(std::uint8_t type) { return type >= SrcFile_tString; }
std::uint8_t Family(std::uint8_t type) { return IsString(type) ? SrcFile_tString : type; }

int TypeOfKey(char c) {
  const char* at = c == '\0' ? nullptr : std::strchr(kTypeKeys, c);
  return at == nullptr ? -1 : static_cast<int>(at - kTypeKeys);
}

// Bytes of a value of `type` outside a string variable.
std::size_t SizeOf(std::uint8_t type) {
  static constexpr std::size_t kSizes[] = {sizeof(bool), sizeof(std::uint8_t), sizeof(std::uint32_t),
                                           sizeof(std::int32_t), sizeof(double)};
  return IsString(type) ? kTextCap : kSizes[type];
}

// Calls of lower modules whose failures are answers here, not errors.
template <class Call>
auto Quietly(Call call) {
  Messages_IgnoreErrors(true);
  const auto result = call();
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  return result;
}

void Begin() {
  SrcFile_Init();
  SrcFile_error = 0;
}

void Fail(std::uint8_t code, StrIn info) {
  SrcFile_error = code;
  Messages_SupplyAdditionalInfo(info);
  Messages_Error(section, code);  // messages: SrcFile 1-6
}

// --- Values ------------------------------------------------------------------

template <class T>
T Get(const unsigned char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

template <class T>
std::string BytesOf(T value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

StrIn TextOf(const unsigned char* bytes, std::size_t size) {
  return StrIn(reinterpret_cast<const char*>(bytes), size - 1);
}

// Stores a value's bytes through the entry's value field, as far as the
// storage reaches. The bytes follow the type they were read as, which need
// not be the entry's: a file's line decides how its value is read. A boolean
// takes any byte but 0 as true, so that it always holds a valid value.
void Store(Entry& entry, std::string_view bytes) {
  const std::size_t count = std::min(bytes.size(), entry.size);
  std::memcpy(entry.value, bytes.data(), count);
  if (entry.type == SrcFile_tBool) {
    const bool truth = entry.value[0] != 0;
    std::memcpy(entry.value, &truth, sizeof truth);
  }
}

void KeepLoaded(Entry& entry) { entry.loaded.assign(entry.value, entry.value + entry.size); }

// Whether this process left the value as it was last loaded; reals compare
// exactly.
bool Unchanged(const Entry& entry) {
  const unsigned char* loaded = entry.loaded.data();
  if (entry.type == SrcFile_tReal) return Get<double>(entry.value) == Get<double>(loaded);
  if (IsString(entry.type)) return Strings_Equal(TextOf(entry.value, entry.size), TextOf(loaded, entry.size));
  return std::memcmp(entry.value, loaded, entry.size) == 0;
}

void Notify(const Entry& entry) {
  if (entry.hasCallback) entry.callback(StrIn(entry.key), entry.callbackData);
}

// Seven significant places: the decimals shrink as the magnitude grows;
// small numbers go to exponent notation.
void RealText(double value, StrOut text) {
  struct Format {
    double above;
    int width, decimals;
  };
  static constexpr Format kFormats[] = {
      {9999.999, 15, 9}, {999.9999, 15, 10}, {99.99999, 15, 11}, {9.999999, 15, 12}, {0.9999999, 15, 13}};
  const double magnitude = value < 0 ? -value : value;
  for (const Format& format : kFormats) {
    if (magnitude > format.above) {
      BConvert_RealToStr(text, value, format.width, format.decimals);
      return;
    }
  }
  BConvert_RealToStr(text, value, 18, -1);
}

// The value as a file holds it.
std::string ValueText(const Entry& entry) {
  char text[kTextCap] = "";
  switch (entry.type) {
    case SrcFile_tBool:
      return Get<bool>(entry.value) ? "ON" : "OFF";
    case SrcFile_tEnum:
      BConvert_CardToStr(text, Get<std::uint8_t>(entry.value), 0);
      break;
    case SrcFile_tCard:
      BConvert_CardToStr(text, Get<std::uint32_t>(entry.value), 0);
      break;
    case SrcFile_tInt:
      BConvert_IntToStr(text, Get<std::int32_t>(entry.value), 0);
      break;
    case SrcFile_tReal:
      RealText(Get<double>(entry.value), text);
      break;
    default:
      return TextOf(entry.value, entry.size).Str();
  }
  return text;
}

// The first word of `text`: blanks and tabs in front are passed over.
std::string_view FirstWord(std::string_view text) {
  const std::size_t start = std::min(text.find_first_not_of(" \t"), text.size());
  const std::size_t end = std::min(text.find_first_of(" \t\r", start), text.size());
  return text.substr(start, end - start);
}

// Reads a value of `type` from the front of `text` into the bytes of that
// type; an enumeration comes as its full 32-bit number, for the caller to
// hold against the limit. False when no value can be read.
bool ParseValue(std::uint8_t type, std::string_view text, std::string& bytes) {
  if (IsString(type)) {
    bytes.assign(text);
    bytes += '\0';
    return true;
  }
  if (type == SrcFile_tBool) {
    const std::string_view word = FirstWord(text);
    if (word != "ON" && word != "TRUE" && word != "OFF" && word != "FALSE") return false;
    bytes = BytesOf(word == "ON" || word == "TRUE");
    return true;
  }
  char number[kTextCap];
  std::string_view digits = text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
  if (type == SrcFile_tInt && digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
  Strings_Assign(std::string(digits.substr(0, kTextCap - 1)), number);
  std::uint32_t card = 0;
  std::int32_t integer = 0;
  double real = 0;
  switch (type) {
    case SrcFile_tInt:
      if (!BConvert_StrToInt(number, integer)) return false;
      bytes = BytesOf(integer);
      return true;
    case SrcFile_tReal:
      if (!BConvert_StrToReal(number, real)) return false;
      bytes = BytesOf(real);
      return true;
    default:
      if (!BConvert_StrToCard(number, card)) return false;
      bytes = BytesOf(card);
      return true;
  }
}

// An enumeration's number against the limit: false when above it; the byte
// to store otherwise.
bool EnumWithin(const Entry& entry, std::string& bytes) {
  const std::uint32_t number = Get<std::uint32_t>(reinterpret_cast<const unsigned char*>(bytes.data()));
  bytes = BytesOf(static_cast<std::uint8_t>(number));
  return number <= entry.limit;
}

// --- The table -----------------------------------------------------------------

std::string KeyOf(StrIn key) {
  char cut[kNameCap];
  Strings_Assign(key, cut);
  return StrIn(cut).Str();
}

Entry* Find(StrIn key) { return reinterpret_cast<Entry*>(StrHash_GetEntry(table, KeyOf(key))); }

Entry* MakeEntry(const std::string& key, std::uint8_t type) {
  entries.push_back(std::make_unique<Entry>());
  Entry* entry = entries.back().get();
  Strings_Assign(key, entry->key);
  entry->type = type;
  StrHash_PutEntry(table, key, reinterpret_cast<std::uintptr_t>(entry));
  return entry;
}

// Gives the entry storage of its own, holding the value it has.
void OwnStorage(Entry& entry) {
  const std::size_t size = SizeOf(entry.type);
  auto own = std::make_unique<unsigned char[]>(size);
  if (entry.value != nullptr) std::memcpy(own.get(), entry.value, std::min(size, entry.size));
  entry.loaded.resize(size);
  entry.value = own.get();
  entry.size = size;
  entry.own = std::move(own);
}

Entry* MakeUndefined(const std::string& key, std::uint8_t type) {
  Entry* entry = MakeEntry(key, type);
  OwnStorage(*entry);
  return entry;
}

// The entry of `key` when its type belongs to `type`'s family: defined, or
// also undefined for `foreign`. Errors 2 and 3 otherwise.
Entry* Lookup(StrIn key, std::uint8_t type, bool foreign) {
  Entry* entry = Find(key);
  if (entry == nullptr || !(entry->defined || foreign)) {
    Fail(2, key);
    return nullptr;
  }
  if (Family(entry->type) != Family(type)) {
    Fail(3, key);
    return nullptr;
  }
  return entry;
}

struct Definition {
  std::uint8_t type;
  void* variable;
  std::size_t size;
  StrIn description;
  Check check;
  std::uint32_t data;
  std::uint32_t limit;
};

void Define(StrIn key, const Definition& definition) {
  Begin();
  if (definition.type >= SrcFile_tString + kSrcFileStringKinds) {
    Fail(3, key);
    return;
  }
  Entry* entry = Find(key);
  if (entry != nullptr && entry->defined) {
    Fail(1, key);
    return;
  }
  if (entry != nullptr && Family(entry->type) != Family(definition.type)) {
    Fail(3, key);
    return;
  }
  auto* variable = static_cast<unsigned char*>(definition.variable);
  const std::uint32_t limit = std::min<std::uint32_t>(definition.limit, 255);
  if (entry == nullptr) {
    entry = MakeEntry(KeyOf(key), definition.type);
    entry->value = variable;
    entry->size = definition.size;
    KeepLoaded(*entry);
  } else {
    // The variable takes the loaded value; the copy of the file stays the
    // base of the next merge.
    const std::string loaded(reinterpret_cast<const char*>(entry->own.get()), entry->size);
    entry->type = definition.type;
    entry->value = variable;
    entry->size = definition.size;
    Store(*entry, loaded);
    entry->own.reset();
    entry->loaded.resize(definition.size);
    if (definition.type == SrcFile_tEnum && *variable > limit) *variable = 0;
  }
  entry->limit = limit;
  entry->check = definition.check;
  entry->checkData = definition.data;
  Strings_Assign(definition.description, entry->description);
  entry->defined = true;
}

void Undefine(StrIn key, bool reportMissing) {
  Begin();
  Entry* entry = Find(key);
  if (entry == nullptr || !entry->defined) {
    if (reportMissing) Fail(2, key);
    return;
  }
  OwnStorage(*entry);
  entry->limit = 255;
  entry->check = {};
  entry->checkData = 0;
  entry->description[0] = '\0';
  entry->defined = false;
  entry->hasCallback = false;
}

template <class T>
T Query(StrIn key, std::uint8_t type, bool foreign) {
  Begin();
  const Entry* entry = Lookup(key, type, foreign);
  return entry == nullptr ? T{} : Get<T>(entry->value);
}

void QueryText(StrIn key, StrOut value, bool foreign) {
  Begin();
  value.Clear();
  if (const Entry* entry = Lookup(key, SrcFile_tString, foreign); entry != nullptr)
    Strings_Assign(TextOf(entry->value, entry->size), value);
}

// Whether the entry's check lets `value` through; no check does.
template <class CheckProc, class T>
bool Accepts(const Entry& entry, T value) {
  const CheckProc* check = std::get_if<CheckProc>(&entry.check);
  return check == nullptr || *check == nullptr || (*check)(value, entry.checkData);
}

// A set of a value whose bytes are ready; `accepted` is the check's answer.
void Assign(Entry& entry, StrIn key, std::string_view bytes, bool accepted) {
  if (!accepted) {
    Fail(5, key);
    return;
  }
  Store(entry, bytes);
  Notify(entry);
}

template <class CheckProc, class T>
void SetNumber(StrIn key, std::uint8_t type, T value) {
  Begin();
  if (Entry* entry = Lookup(key, type, false); entry != nullptr)
    Assign(*entry, key, BytesOf(value), Accepts<CheckProc>(*entry, value));
}

// `kind` -1 keeps the kind and allows kind 0 only.
void SetText(StrIn key, int kind, StrIn value, bool check) {
  Begin();
  if (kind >= kSrcFileStringKinds) {
    Fail(3, key);
    return;
  }
  Entry* entry = Lookup(key, SrcFile_tString, false);
  if (entry == nullptr) return;
  if (kind < 0 && entry->type != SrcFile_tString) {
    Fail(3, key);
    return;
  }
  const std::string bytes = value.Str() + '\0';
  const bool accepted = !check || Accepts<SrcFile_StringCheck>(*entry, value);
  if (accepted && kind >= 0) entry->type = static_cast<std::uint8_t>(SrcFile_tString + kind);
  Assign(*entry, key, bytes, accepted);
}

// --- Lines of a file -----------------------------------------------------------

struct Line {
  std::uint8_t type = 0;
  std::string_view key, value;
};

enum class LineKind { End, Skipped, Entry };

bool Blank(char c) { return c == ' ' || c == '\t'; }

// Reads the line at `at`. The key runs to the next "=" wherever it is, so a
// text line that starts with a type key swallows the lines up to the next
// "=": comment lines must not start with one. A string takes at most 5120
// bytes; the rest of its line is read as a line of its own.
LineKind NextLine(std::string_view text, std::size_t& at, Line& line) {
  const auto restOfLine = [&](std::size_t limit) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::size_t cut = std::min(end, at + limit);
    std::string_view rest = text.substr(at, cut - at);
    at = cut == end ? end + 1 : cut;
    return rest;
  };
  if (at >= text.size()) return LineKind::End;
  const int type = TypeOfKey(text[at++]);
  if (type < 0) {
    restOfLine(text.size());
    return LineKind::Skipped;
  }
  ++at;  // the writer's blank, whatever stands there
  const std::size_t equals = at < text.size() ? text.find('=', at) : std::string_view::npos;
  if (equals == std::string_view::npos) {
    at = text.size();
    return LineKind::End;
  }
  line.type = static_cast<std::uint8_t>(type);
  line.key = text.substr(at, equals - at);
  at = equals + 1;
  if (IsString(line.type)) {
    while (at < text.size() && Blank(text[at])) ++at;
    line.value = restOfLine(kTextCap);
  } else {
    line.value = restOfLine(text.size());
  }
  return LineKind::Entry;
}

// The table's key of a file's key: behind the prefix, cut at 128 bytes.
std::string TableKey(std::string_view prefix, std::string_view key) {
  return (std::string(prefix) + std::string(key.substr(0, kNameCap))).substr(0, kNameCap);
}

// Parses a whole file into the table. Tolerant: bad keys and values are
// passed over. Strict: the first is error 4 and ends the reading.
void Parse(std::string_view text, std::string_view prefix, bool tolerant) {
  std::size_t at = 0;
  Line line;
  std::string bytes;
  for (LineKind kind; (kind = NextLine(text, at, line)) != LineKind::End;) {
    if (kind == LineKind::Skipped) continue;
    bool good = line.key.size() <= kMaxKey;
    Entry* entry = nullptr;
    if (good) {
      // 1. A key nobody claimed yet gets an undefined entry of the line's type.
      const std::string key = TableKey(prefix, line.key);
      entry = Find(key);
      if (entry == nullptr) entry = MakeUndefined(key, line.type);
      // 2. The line's type rules the reading, whatever the entry's type.
      good = ParseValue(line.type, line.value, bytes);
    }
    if (!good) {
      if (tolerant) continue;
      Fail(4, lastFile);
      return;
    }
    if (line.type == SrcFile_tEnum && !EnumWithin(*entry, bytes)) bytes = BytesOf(std::uint8_t{0});
    Store(*entry, bytes);
    KeepLoaded(*entry);
    Notify(*entry);
  }
}

// The three-way merge before a save: of each line whose key is in the table,
// the value on disk is taken over where this process left the value as it
// was loaded; a value changed here wins. No check, no change callback.
void Merge(std::string_view text, std::string_view prefix) {
  std::size_t at = 0;
  Line line;
  std::string bytes;
  for (LineKind kind; (kind = NextLine(text, at, line)) != LineKind::End;) {
    if (kind == LineKind::Skipped || line.key.size() > kMaxKey) continue;
    Entry* entry = Find(TableKey(prefix, line.key));
    if (entry == nullptr || !ParseValue(line.type, line.value, bytes)) continue;
    if (line.type == SrcFile_tEnum && !EnumWithin(*entry, bytes)) continue;
    if (Unchanged(*entry)) Store(*entry, bytes);
    KeepLoaded(*entry);
  }
}

// --- Paths and opening ------------------------------------------------------

std::string FileName(StrIn name) {
  if (name.Empty()) return SrcFile_globalFileName;
  char file[kNameCap] = ".%src";
  SPrintf_String(file, name);
  return file;
}

std::string_view PrefixOf(StrIn name) { return name.Empty() ? kGlobalPrefix : ""; }

std::string PathFor(const std::string& file, unsigned location) {
  char path[kPathCap] = "";
  char home[kPathCap];
  switch (location) {
    case 0:
      DirAcces_IncludeSpecialPath(DirAcces_TV_CUSTOMER, file, path);
      break;
    case 1:
      if (DirAcces_EnvVar("HOME", home)) DirAcces_IncludePath(home, file, path);
      break;
    case 2:
      Strings_Assign(file, path);
      break;
    default:
      break;
  }
  return path;
}

// The whole content of an open file; a failed read ends it.
std::string ReadAll(BFileIO_File file) {
  std::string text;
  char buffer[kBFileIOBufferSize];
  for (std::size_t count = sizeof buffer; count == sizeof buffer;) {
    count = Quietly([&] { return BFileIO_Read(file, buffer, sizeof buffer); });
    text.append(buffer, count);
  }
  return text;
}

void Close(BFileIO_File& file) {
  Quietly([&] { return BFileIO_Close(file); });
}

// Reads the file at `path` (or its backup) into `text`; false when none opens.
bool ReadFile(const std::string& path, std::uint32_t waitMs, std::string& text) {
  BFileIO_File file = SrcFile_MyOpen(path, waitMs);
  if (file == BFileIO_Nil()) return false;
  text = ReadAll(file);
  Close(file);
  return true;
}

bool LoadFile(const std::string& path, std::uint32_t waitMs, std::string_view prefix, bool tolerant) {
  std::string text;
  if (!ReadFile(path, waitMs, text)) return false;
  Parse(text, prefix, tolerant);
  return true;
}

// --- Saving ------------------------------------------------------------------

// "[name]rest" belongs to section "name"; a key without brackets to "".
std::string_view SectionOf(std::string_view key, std::string_view& name) {
  const std::size_t close = key.find(']');
  if (key.empty() || key[0] != '[' || close == std::string_view::npos) {
    name = key;
    return {};
  }
  name = key.substr(close + 1);
  return key.substr(1, close - 1);
}

// The lines of the section's entries, in the table's walking order.
std::string Render(std::string_view wanted) {
  std::string text;
  char key[kNameCap];
  std::uintptr_t value = 0;
  StrHash_Iterator walk = StrHash_CreateIterator(table);
  while (StrHash_Iterate(walk, key, value)) {
    const Entry& entry = *reinterpret_cast<const Entry*>(value);
    std::string_view name;
    if (SectionOf(StrIn(key).View(), name) != wanted) continue;
    text += kTypeKeys[entry.type];
    text += ' ';
    text.append(name);
    text += "= ";
    text += ValueText(entry);
    text += '\n';
  }
  StrHash_DestroyIterator(walk);
  return text;
}

bool WriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

void Warn(const std::string& path) {
  if (messageCallback == nullptr) return;
  char text[kTextCap];
  Messages_GetMsg(section, 1, text);
  SPrintf_String(text, path);
  messageCallback(StrIn(text));
}

// Keeps a copy of the new file for readers that meet a damaged one. It goes
// through the temporary name too, so the copy is never seen half-written.
void CopyToBackup(const std::string& path, const std::string& temporary) {
  const std::string backup = path + ".backup";
  Quietly([&] {
    if (DirAcces_Copy(path, temporary) && DirAcces_AtomicRename(temporary, backup)) return true;
    ::unlink(temporary.c_str());
    return false;
  });
}

void AutoSaveAtExit() { SrcFile_Save(autoSaveLocation); }

}  // namespace

// --- Start -------------------------------------------------------------------

void SrcFile_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Messages_Init();
  DirAcces_Init();
  Processe_Init();
  BFileIO_Init();
  table = StrHash_CreateTable(kBuckets);
  Strings_Assign(SrcFile_globalFileName, SrcFile_rcName);
  DirAcces_GetMachineName(host);
  SrcFile_Load("");
}

// --- Definition ----------------------------------------------------------------

void SrcFile_DefineBool(StrIn key, bool& variable) { SrcFile_SDefineBool(key, "", variable); }

void SrcFile_DefineEnum(StrIn key, std::uint32_t limit, std::uint8_t& variable) {
  SrcFile_SDefineEnum(key, "", limit, variable);
}

void SrcFile_DefineCard(StrIn key, std::uint32_t& variable) { SrcFile_SDefineCard(key, "", nullptr, 0, variable); }

void SrcFile_DefineInt(StrIn key, std::int32_t& variable) { SrcFile_SDefineInt(key, "", nullptr, 0, variable); }

void SrcFile_DefineReal(StrIn key, double& variable) { SrcFile_SDefineReal(key, "", nullptr, 0, variable); }

void SrcFile_DefineString(StrIn key, StrOut variable) {
  SrcFile_SDefineStringS(key, "", nullptr, 0, 0, variable);
}

void SrcFile_SDefineBool(StrIn key, StrIn description, bool& variable) {
  Define(key, {SrcFile_tBool, &variable, sizeof variable, description, {}, 0, 255});
}

void SrcFile_SDefineEnum(StrIn key, StrIn description, std::uint32_t limit, std::uint8_t& variable) {
  Define(key, {SrcFile_tEnum, &variable, sizeof variable, description, {}, 0, limit});
}

void SrcFile_SDefineCard(StrIn key, StrIn description, SrcFile_CardCheck check, std::uint32_t data,
                         std::uint32_t& variable) {
  Define(key, {SrcFile_tCard, &variable, sizeof variable, description, check, data, 255});
}

void SrcFile_SDefineInt(StrIn key, StrIn description, SrcFile_IntCheck check, std::uint32_t data,
                        std::int32_t& variable) {
  Define(key, {SrcFile_tInt, &variable, sizeof variable, description, check, data, 255});
}

void SrcFile_SDefineReal(StrIn key, StrIn description, SrcFile_RealCheck check, std::uint32_t data,
                         double& variable) {
  Define(key, {SrcFile_tReal, &variable, sizeof variable, description, check, data, 255});
}

void SrcFile_SDefineString(StrIn key, StrIn description, SrcFile_StringCheck check, std::uint32_t data,
                           StrOut variable) {
  SrcFile_SDefineStringS(key, description, check, data, 0, variable);
}

void SrcFile_SDefineStringS(StrIn key, StrIn description, SrcFile_StringCheck check, std::uint32_t data,
                            std::uint8_t kind, StrOut variable) {
  Define(key, {static_cast<std::uint8_t>(SrcFile_tString + kind), variable.Data(), variable.Capacity(),
               description, check, data, 255});
}

bool SrcFile_IsDefined(StrIn key) {
  Begin();
  const Entry* entry = Find(key);
  return entry != nullptr && entry->defined;
}

void SrcFile_SUndefine(StrIn key) { Undefine(key, true); }

void SrcFile_UndefineI(StrIn key) { Undefine(key, false); }

void SrcFile_DefineICB(StrIn key, SrcFile_ChangeCallback callback, std::uintptr_t data) {
  Begin();
  Entry* entry = Find(key);
  if (entry == nullptr || !entry->defined) {
    Fail(2, key);
    return;
  }
  entry->hasCallback = callback != nullptr;
  entry->callback = callback;
  entry->callbackData = data;
}

// --- Reading values ------------------------------------------------------------

bool SrcFile_QueryBool(StrIn key) { return Query<bool>(key, SrcFile_tBool, false); }
std::uint8_t SrcFile_QueryEnum(StrIn key) { return Query<std::uint8_t>(key, SrcFile_tEnum, false); }
std::uint32_t SrcFile_QueryCard(StrIn key) { return Query<std::uint32_t>(key, SrcFile_tCard, false); }
std::int32_t SrcFile_QueryInt(StrIn key) { return Query<std::int32_t>(key, SrcFile_tInt, false); }
double SrcFile_QueryReal(StrIn key) { return Query<double>(key, SrcFile_tReal, false); }
void SrcFile_QueryString(StrIn key, StrOut value) { QueryText(key, value, false); }

bool SrcFile_QueryBoolForeignProcess(StrIn key) { return Query<bool>(key, SrcFile_tBool, true); }
std::uint8_t SrcFile_QueryEnumForeignProcess(StrIn key) { return Query<std::uint8_t>(key, SrcFile_tEnum, true); }
std::uint32_t SrcFile_QueryCardForeignProcess(StrIn key) {
  return Query<std::uint32_t>(key, SrcFile_tCard, true);
}
std::int32_t SrcFile_QueryIntForeignProcess(StrIn key) { return Query<std::int32_t>(key, SrcFile_tInt, true); }
double SrcFile_QueryRealForeignProcess(StrIn key) { return Query<double>(key, SrcFile_tReal, true); }
void SrcFile_QueryStringForeignProcess(StrIn key, StrOut value) { QueryText(key, value, true); }

// --- Setting values ------------------------------------------------------------

void SrcFile_SetBool(StrIn key, bool value) {
  Begin();
  if (Entry* entry = Lookup(key, SrcFile_tBool, false); entry != nullptr)
    Assign(*entry, key, BytesOf(value), true);
}

void SrcFile_SetCard(StrIn key, std::uint32_t value) {
  SetNumber<SrcFile_CardCheck>(key, SrcFile_tCard, value);
}

void SrcFile_SetInt(StrIn key, std::int32_t value) { SetNumber<SrcFile_IntCheck>(key, SrcFile_tInt, value); }

void SrcFile_SetReal(StrIn key, double value) { SetNumber<SrcFile_RealCheck>(key, SrcFile_tReal, value); }

void SrcFile_SetString(StrIn key, StrIn value) { SetText(key, -1, value, true); }

void SrcFile_SetStringS(StrIn key, std::uint8_t kind, StrIn value) { SetText(key, kind, value, true); }

void SrcFile_SetStringSnoCB(StrIn key, std::uint8_t kind, StrIn value) { SetText(key, kind, value, false); }

// --- Files -------------------------------------------------------------------

BFileIO_File SrcFile_MyOpen(StrIn path, std::uint32_t waitMs) {
  SrcFile_Init();
  if (path.Empty()) return BFileIO_Nil();
  // 1. The file itself, refused when empty; 2. its backup, taken as it is.
  const std::string names[] = {path.Str(), path.Str() + ".backup"};
  for (const std::string& name : names) {
    const bool sizeTest = &name == &names[0];
    for (std::uint32_t waited = 0;; waited += kRetryMs) {
      lastFile = name;
      BFileIO_File file = Quietly([&] { return BFileIO_Open(name, FileIO_readMode); });
      if (file != BFileIO_Nil()) {
        if (!sizeTest || Quietly([&] { return BFileIO_Length(file); }) > 0) return file;
        Close(file);
        break;
      }
      if (waited >= waitMs || !DirAcces_Access(name, DirAcces_Mode::Exists)) break;
      Utility_Delay(kRetryMs);
    }
  }
  return BFileIO_Nil();
}

void SrcFile_Load(StrIn name) {
  Begin();
  const std::string file = FileName(name);
  Strings_Assign(file, SrcFile_rcName);
  static constexpr struct {
    unsigned location;
    std::uint32_t waitMs;
  } kPlaces[] = {{2, 500}, {1, 1000}, {0, 1000}};
  for (const auto& place : kPlaces)
    if (LoadFile(PathFor(file, place.location), place.waitMs, PrefixOf(name), true)) return;
}

void SrcFile_LoadFromLocation(StrIn name, unsigned location) {
  Begin();
  const std::string file = FileName(name);
  Strings_Assign(file, SrcFile_rcName);
  LoadFile(PathFor(file, location), kLocationWaitMs, PrefixOf(name), true);
}

void SrcFile_LoadFromLocationAndName(StrIn name, unsigned location) {
  Begin();
  const std::string file = FileName(name);
  Strings_Assign(file, SrcFile_rcName);
  const std::string path = PathFor(file, location);
  if (!LoadFile(path, kLocationWaitMs, PrefixOf(name), false)) Fail(6, path);
}

bool SrcFile_GetEntryFromLocation(StrIn name, unsigned location, StrIn key, StrOut value) {
  Begin();
  value.Clear();
  const std::string path = PathFor(FileName(name), location);
  BFileIO_File file = path.empty() ? BFileIO_Nil() : Quietly([&] { return BFileIO_Open(path, FileIO_readMode); });
  if (file == BFileIO_Nil()) return false;
  const std::string text = ReadAll(file);
  Close(file);
  char wanted[kNameCap + 2] = "%s=";
  SPrintf_String(wanted, key);
  std::string_view rest(text);
  while (!rest.empty()) {
    // Lines of up to 128 bytes, the rest of a longer line passed over.
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    std::string_view line = rest.substr(0, std::min(end, kNameCap));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    const std::string_view first = FirstWord(line);
    line.remove_prefix(static_cast<std::size_t>(first.data() + first.size() - line.data()));
    const std::string_view second = FirstWord(line);
    if (first.empty() || second != StrIn(wanted).View()) continue;
    line.remove_prefix(static_cast<std::size_t>(second.data() + second.size() - line.data()));
    Strings_Assign(std::string(line.substr(std::min(line.find_first_not_of(" \t"), line.size()))), value);
    return true;
  }
  return false;
}

void SrcFile_SaveToFile(StrIn file, unsigned location, StrIn sectionName) {
  Begin();
  // 1. The path; a location without a file saves nothing.
  const std::string path = PathFor(file.Str(), location);
  if (path.empty()) return;
  // 2. Another user's file that we may not replace: tell, and go on.
  if (DirAcces_Access(path, DirAcces_Mode::Exists) && !DirAcces_Access(path, DirAcces_Mode::Write)) Warn(path);
  // 3. The temporary file beside it, named for this host and process.
  char suffix[kNameCap] = ".%s-%d.tmp";
  SPrintf_String(suffix, host);
  SPrintf_Int(suffix, Processe_GetPID());
  const std::string temporary = path + suffix;
  lastFile = temporary;
  const int descriptor = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (descriptor < 0) {
    Fail(5, lastFile);
    return;
  }
  // 4. What others saved meanwhile comes in where we changed nothing.
  const std::string wanted = sectionName.Str();
  std::string present;
  if (ReadFile(path, kMergeWaitMs, present)) Merge(present, wanted.empty() ? "" : "[" + wanted + "]");
  // 5.-6. The section's entries, on disk before the rename.
  const bool written = WriteAll(descriptor, Render(wanted)) && ::fsync(descriptor) == 0 &&
                       ::fchmod(descriptor, 0666) == 0;
  if (::close(descriptor) != 0 || !written) {
    ::unlink(temporary.c_str());
    Fail(5, lastFile);
    return;
  }
  // 7. Readers see the old file or the new one, never a part.
  if (!Quietly([&] { return DirAcces_AtomicRename(temporary, path); })) {
    ::unlink(temporary.c_str());
    Fail(5, lastFile);
    return;
  }
  // 8. The fallback for readers that meet a damaged file.
  CopyToBackup(path, temporary);
}

void SrcFile_Save(unsigned location) { SrcFile_SaveToFile(SrcFile_rcName, location, ""); }

void SrcFile_SaveGlobal(unsigned location) {
  SrcFile_SaveToFile(SrcFile_globalFileName, location, SrcFile_globalSectionName);
}

void SrcFile_SaveToLocation(StrIn name, unsigned location) { SrcFile_SaveToFile(FileName(name), location, ""); }

void SrcFile_AutoSave(unsigned location) {
  Begin();
  static bool installed = false;
  autoSaveLocation = location;
  if (installed) return;
  installed = true;
  Processe_InstallTerminationProcedure(AutoSaveAtExit);
}

// --- Settings editor -------------------------------------------------------

SrcFile_DefaultsList SrcFile_GetDefaultsList(StrIn exclusions) {
  Begin();
  std::vector<std::string> excluded;
  for (std::string_view rest = exclusions.View(); !rest.empty();) {
    const std::string_view word = FirstWord(rest);
    if (word.empty()) break;
    excluded.emplace_back(word);
    rest.remove_prefix(static_cast<std::size_t>(word.data() + word.size() - rest.data()));
  }
  SrcFile_DefaultsList list = nullptr;
  char key[kNameCap];
  std::uintptr_t value = 0;
  StrHash_Iterator walk = StrHash_CreateIterator(table);
  while (StrHash_Iterate(walk, key, value)) {
    const Entry& entry = *reinterpret_cast<const Entry*>(value);
    std::string_view text = StrIn(entry.description).View();
    const auto excludedBy = [&](const std::string& word) { return text.starts_with(word); };
    if (text.empty() || std::any_of(excluded.begin(), excluded.end(), excludedBy)) continue;
    // A group mark "<<group>>" in front is for the editor's grouping only.
    if (const std::size_t close = text.find(">>"); text.starts_with("<<") && close != std::string_view::npos) {
      text.remove_prefix(close + 2);
      text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    }
    auto* record = new SrcFile_Default;
    Strings_Assign(std::string(text), record->text);
    Strings_Assign(entry.key, record->key);
    record->type = entry.type;
    // Descending order; an equal text goes behind those already there.
    SrcFile_Default** place = &list;
    while (*place != nullptr && Strings_CompareStr((*place)->text, record->text) >= 0) place = &(*place)->next;
    record->next = *place;
    *place = record;
  }
  StrHash_DestroyIterator(walk);
  return list;
}

void SrcFile_DestroyDefaultsList(SrcFile_DefaultsList& list) {
  while (list != nullptr) delete std::exchange(list, list->next);
}

void SrcFile_DefineMessageCallback(SrcFile_MessageCallback callback) {
  SrcFile_Init();
  messageCallback = callback;
}
