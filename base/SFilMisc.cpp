#include "base/SFilMisc.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <iterator>

#include <atomic>
#include <string>
#include <string_view>

#include "base/DirAcces.h"
#include "base/SRegExpr.h"
#include "base/StringOp.h"

namespace {

// Counts the names made in this process, so that one process asking twice
// for the same model gets two names.
std::atomic<unsigned long> tmpNameCount{0};

std::size_t ElementStart(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? 0 : slash + 1;
}

// Index in `path` where the suffix begins, or npos.
std::size_t SuffixStart(std::string_view path) {
  const std::size_t element = ElementStart(path);
  const std::size_t named = path.find_first_not_of('.', element);  // past the opening dots
  if (named == std::string_view::npos) return std::string_view::npos;
  const std::size_t dot = path.rfind('.');
  return dot != std::string_view::npos && dot > named ? dot : std::string_view::npos;
}

}  // namespace

void SFilMisc_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  DirAcces_Init();
}

void SFilMisc_SuffixOf(StrIn path, StrOut suffix) {
  const std::string_view text = path.View();
  const std::size_t start = SuffixStart(text);
  Strings_Assign(start == std::string_view::npos ? std::string() : std::string(text.substr(start)), suffix);
}

void SFilMisc_StripExtension(StrOut path) {
  const std::size_t start = SuffixStart(StrIn(path).View());
  if (start != std::string_view::npos) path.Terminate(start);
}

bool SFilMisc_RequireExtension(StrOut path, StrIn extension) {
  if (extension.Empty()) return true;
  const std::string wanted = extension[0] == '.' ? extension.Str() : "." + extension.Str();
  std::string result(StrIn(path).View());

  // An element of nothing but dots has no name to carry a suffix. Otherwise
  // the extension is there when the name ends in it and it does not begin
  // among the dots that open the element.
  const std::size_t named = result.find_first_not_of('.', ElementStart(result));
  if (named == std::string::npos) return false;
  if (result.ends_with(wanted) && result.size() - wanted.size() > named) return true;

  if (result.ends_with('.') && SuffixStart(result) == result.size() - 1) result.pop_back();
  result += wanted;
  if (result.size() > path.Capacity()) return false;
  Strings_Assign(result, path);
  return true;
}

bool SFilMisc_EscapeShMetaChars(StrIn text, StrOut escaped) {
  // A backslash keeps a meta character, and a tilde that would begin a
  // home directory; a backslash before a line feed would join two lines, so
  // a line feed stands alone in single quotes.
  std::string out;
  bool whole = true;
  for (const char c : text.Str()) {  // a copy: text may be escaped's own array
    std::string piece(1, c);
    if (c == '\n') piece = "'\n'";
    else if (c == '~' || StringOp_IsShellMetaChar(c)) piece.insert(0, 1, '\\');
    if (out.size() + piece.size() > escaped.Capacity()) {
      whole = false;  // cut before the piece, never inside it
      break;
    }
    out += piece;
  }
  Strings_Assign(out, escaped);
  return whole;
}

std::string SFilMisc_QuoteForShell(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

namespace {

// Writes `text` into `temporary` (made with `flags`), gives it `mode` and
// renames it over `path`; the temporary goes on failure.
bool WriteAndRename(const std::string& temporary, int flags, StrIn path, std::string_view text, unsigned mode) {
  const int file = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0600);
  if (file < 0) return false;
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t wrote = ::write(file, text.data() + done, text.size() - done);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) break;
    done += static_cast<std::size_t>(wrote);
  }
  const bool written = done == text.size() && ::fchmod(file, mode) == 0;
  if (::close(file) == 0 && written && std::rename(temporary.c_str(), path.Str().c_str()) == 0) return true;
  ::unlink(temporary.c_str());
  return false;
}

}  // namespace

bool SFilMisc_SaveAtomically(StrIn path, std::string_view text, unsigned mode) {
  PathStr temporary;
  return SFilMisc_CreateTmpName(path, temporary) && WriteAndRename(StrIn(temporary).Str(), O_EXCL, path, text, mode);
}

bool SFilMisc_SaveAtomicallyLocked(StrIn path, std::string_view text, unsigned mode) {
  return WriteAndRename(path.Str() + ".tmp", O_TRUNC, path, text, mode);
}

bool SFilMisc_ChMod(StrIn path, StrIn mode) {
  const std::string_view digits = mode.View();
  if (digits.empty() || digits.size() > 5) return false;
  mode_t bits = 0;
  for (const char c : digits) {
    if (c < '0' || c > '7') return false;
    bits = bits * 8 + static_cast<mode_t>(c - '0');
  }
  if (bits > 07777) return false;
  return ::chmod(path.Str().c_str(), bits) == 0;
}

bool SFilMisc_CreateTmpName(StrIn model, StrOut path) {
  path.Clear();
  const std::string text = model.Str();
  const std::size_t element = ElementStart(text);
  const std::size_t suffix = SuffixStart(text);
  const std::string stem = text.substr(element, suffix == std::string::npos ? std::string::npos : suffix - element);
  const std::string tail = ".tmp" + (suffix == std::string::npos ? std::string() : text.substr(suffix));
  NameStr host;
  DirAcces_GetMachineName(host);
  const std::string prefix = stem + "." + StrIn(host).Str() + "-" + std::to_string(::getpid()) + "-";

  // Names that exist are passed over; a bounded number of tries keeps a
  // directory full of leftovers from holding us up forever.
  for (int attempt = 0; attempt < 1000; ++attempt) {
    const std::string name = prefix + std::to_string(++tmpNameCount) + tail;
    TextStr full;
    if (element > 0) {
      Strings_Assign(text.substr(0, element) + name, full);
    } else {
      DirAcces_IncludeSpecialPath(DirAcces_TMP, name, full);
    }
    const std::size_t length = Strings_Length(full);
    if (length >= sizeof full || length > path.Capacity()) return false;
    struct stat info;
    if (::lstat(full, &info) != 0) {
      Strings_Assign(full, path);
      return true;
    }
  }
  return false;
}

bool SFilMisc_IsTmpName(StrIn path) {
  static const SRegExpr form = SRegExpr_Create("\\.[^/]*-[0-9]+\\.tmp(\\.[^./]*)?$");
  const std::string_view text = path.View();
  return SRegExpr_Match(form, std::string(text.substr(ElementStart(text))));
}

bool SFilMisc_ReadAll(const std::string& path, std::string& text) {
  if (path == "-") {
    text.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    return !std::cin.bad();
  }
  std::FILE* in = std::fopen(path.c_str(), "rb");
  if (in == nullptr) return false;
  char chunk[8192];
  for (std::size_t got; (got = std::fread(chunk, 1, sizeof chunk, in)) > 0;) text.append(chunk, got);
  const bool read = std::ferror(in) == 0;
  std::fclose(in);
  return read;
}
