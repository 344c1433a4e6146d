#include "base/SConfigF.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "base/BFileIO.h"
#include "base/DirAcces.h"
#include "base/Messages.h"

struct SConfigF_Rec {
  BFileIO_File file = nullptr;
  std::string name;
  bool wrap = true;
  bool failed = false;  // a write went wrong; told once, answered by Close
  // Writing: the line that waits for StartLine or Close.
  std::string pending;
  // Reading: bytes read ahead, and the fields of the current line.
  std::string buffer;
  std::size_t at = 0;
  bool atEnd = false;
  std::vector<std::pair<std::string, std::string>> fields;
  std::size_t nextField = 0;
};

std::uint8_t SConfigF_error = 0;

namespace {

char section[kSectionCap] = "SConfigF";

constexpr std::size_t kReadChunk = 65536;
constexpr std::size_t kTabColumns = 8;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

void Fail(SConfigF file, std::uint8_t code) {
  SConfigF_error = code;
  Messages_SupplyAdditionalInfo(file->name);
  Messages_Error(section, code);  // messages: SConfigF 1-3
}

// Sends `text` to the file. After the first failure nothing more is tried:
// the file is spoilt, and one report says so.
void Put(SConfigF file, const std::string& text) {
  if (file->failed) return;
  Messages_IgnoreErrors(true);
  const bool written = BFileIO_Write(file->file, text.data(), text.size());
  Messages_IgnoreErrors(false);
  if (written) return;
  file->failed = true;
  Fail(file, 2);
}

// The next physical line without its line feed; false when the file has no
// more bytes.
bool PhysicalLine(SConfigF file, std::string& line) {
  line.clear();
  for (;;) {
    const char* from = file->buffer.data() + file->at;
    const std::size_t left = file->buffer.size() - file->at;
    if (const void* feed = std::memchr(from, '\n', left); feed != nullptr) {
      const std::size_t length = static_cast<const char*>(feed) - from;
      line.append(from, length);
      file->at += length + 1;
      return true;
    }
    line.append(from, left);
    file->buffer.clear();
    file->at = 0;
    if (file->atEnd) return !line.empty();
    file->buffer.resize(kReadChunk);
    Messages_IgnoreErrors(true);
    const std::size_t got = BFileIO_Read(file->file, file->buffer.data(), kReadChunk);
    Messages_IgnoreErrors(false);
    file->buffer.resize(got);
    if (got < kReadChunk) {
      file->atEnd = true;
      if (BFileIO_ioError != 0) Fail(file, 3);
    }
  }
}

// The next logical line: continuation lines joined, cut at the line bound.
// Whether a line goes on is judged on the physical line, so a cut never makes
// or hides a continuation.
bool LogicalLine(SConfigF file, std::string& logical) {
  logical.clear();
  std::string piece;
  bool any = false;
  while (PhysicalLine(file, piece)) {
    std::size_t from = 0;
    if (any)
      while (from < piece.size() && IsBlank(piece[from])) ++from;
    const bool goesOn = piece.size() > from && piece.back() == '\\';
    const std::size_t length = piece.size() - from - (goesOn ? 1 : 0);
    logical.append(piece, from, std::min(length, kTextCap - logical.size()));
    any = true;
    if (!goesOn) break;
  }
  return any;
}

// Splits a line's content into fields; false when it has none (blank, or a
// comment from its first non-blank on).
bool SplitFields(const std::string& line, std::vector<std::pair<std::string, std::string>>& fields) {
  fields.clear();
  std::vector<std::string> texts(1);
  bool content = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (c == '\\' && i + 1 < line.size() && (line[i + 1] == ':' || line[i + 1] == '#')) {
      texts.back() += line[++i];
    } else if (c == '#') {
      break;
    } else if (c == ':') {
      texts.emplace_back();
    } else {
      texts.back() += c;
      content = content || !IsBlank(c);
      continue;
    }
    content = true;
  }
  if (!content) return false;
  for (std::string& text : texts) {
    const std::size_t equals = text.find('=');
    std::string key = text.substr(0, equals);
    const std::size_t first = key.find_first_not_of(" \t");
    key = first == std::string::npos ? std::string() : key.substr(first, key.find_last_not_of(" \t") + 1 - first);
    if (key.size() > kSConfigFKeyCap - 1) key.resize(kSConfigFKeyCap - 1);
    fields.emplace_back(std::move(key), equals == std::string::npos ? std::string() : text.substr(equals + 1));
  }
  return true;
}

// The column at which the pending line ends, a wrapped line's tab counted
// as a full tab stop.
std::size_t Column(const std::string& pending) {
  const std::size_t feed = pending.rfind('\n');
  if (feed == std::string::npos) return pending.size();
  return pending.size() - feed - 1 + (kTabColumns - 1);
}

std::string Escaped(StrIn key, StrIn value) {
  std::string field;
  const auto add = [&field](std::string_view text) {
    for (char c : text) {
      if (c == '\n') {
        field += "\\n";
        continue;
      }
      if (c == ':' || c == '#') field += '\\';
      field += c;
    }
  };
  add(key.View());
  field += '=';
  add(value.View());
  return field;
}

bool EndsWith(std::string_view text, std::string_view tail) {
  return text.size() >= tail.size() && text.substr(text.size() - tail.size()) == tail;
}

}  // namespace

void SConfigF_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Messages_Init();
  DirAcces_Init();
  BFileIO_Init();
}

SConfigF SConfigF_Nil() { return nullptr; }

SConfigF SConfigF_Open(StrIn envVar, StrIn name) {
  SConfigF_Init();
  char path[kTextCap];
  const bool found = Messages_Quietly([&] { return DirAcces_Lookup(envVar, "", name, DirAcces_Mode::Read, path); });
  BFileIO_File file = found ? Messages_Quietly([&] { return BFileIO_Open(path, FileIO_readMode); }) : nullptr;
  if (file == nullptr) {
    Strings_Assign(name, path);
    file = Messages_Quietly([&] { return BFileIO_Open(path, FileIO_readMode); });
  }
  if (file == nullptr) return nullptr;
  SConfigF handle = new SConfigF_Rec;
  handle->file = file;
  handle->name = StrIn(path).Str();
  return handle;
}

SConfigF SConfigF_Create(StrIn envVar, StrIn name) {
  SConfigF_Init();
  SConfigF_error = 0;
  char list[kTextCap] = "", directory[kTextCap] = "", path[kTextCap];
  if (!envVar.Empty() && DirAcces_EnvVar(envVar, list)) DirAcces_GetPath(list, directory);
  DirAcces_IncludePath(directory, name, path);
  SConfigF handle = new SConfigF_Rec;
  handle->name = StrIn(path).Str();
  handle->wrap = !EndsWith(handle->name, ".jtp");
  Messages_IgnoreErrors(true);
  handle->file = BFileIO_Create(path);
  Messages_IgnoreErrors(false);
  if (handle->file == nullptr) {
    Fail(handle, 1);
    delete handle;
    return nullptr;
  }
  // The demon may run as another user and must be able to replace the file.
  Messages_Quietly([&] { return DirAcces_ChMod(path, 0666); });
  return handle;
}

bool SConfigF_Close(SConfigF& file) {
  if (file == nullptr) return true;
  SConfigF_StartLine(file);
  Messages_IgnoreErrors(true);
  const bool closed = BFileIO_Close(file->file);
  Messages_IgnoreErrors(false);
  if (!closed && !file->failed) {
    file->failed = true;
    Fail(file, 2);
  }
  const bool good = !file->failed;
  delete file;
  file = nullptr;
  return good;
}

bool SConfigF_ReadLine(SConfigF file) {
  if (file == nullptr) return false;
  std::string line;
  while (LogicalLine(file, line)) {
    if (SplitFields(line, file->fields)) {
      file->nextField = 0;
      return true;
    }
  }
  file->fields.clear();
  file->nextField = 0;
  return false;
}

bool SConfigF_NextField(SConfigF file, StrOut key, StrOut value) {
  if (file == nullptr || file->nextField >= file->fields.size()) return false;
  const auto& [k, v] = file->fields[file->nextField++];
  Strings_Assign(k, key);
  Strings_Assign(v, value);
  return true;
}

void SConfigF_StartLine(SConfigF file) {
  if (file == nullptr || file->pending.empty()) return;
  file->pending += '\n';
  Put(file, file->pending);
  file->pending.clear();
}

void SConfigF_PutField(SConfigF file, StrIn key, StrIn value) {
  if (file == nullptr) return;
  const std::string field = Escaped(key, value);
  if (!file->pending.empty()) file->pending += ':';
  const std::size_t column = Column(file->pending);
  if (file->wrap && column != 0 && column + field.size() >= kSConfigFWrapColumn) file->pending += "\\\n\t";
  file->pending += field;
}

void SConfigF_PutInt(SConfigF file, StrIn key, std::int64_t value) {
  SConfigF_PutField(file, key, std::to_string(value));
}

void SConfigF_Comment(SConfigF file, StrIn text) {
  if (file == nullptr) return;
  Put(file, "#" + text.Str() + "\n");
}
