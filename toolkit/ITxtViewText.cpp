// ITxtView: the file behind the text viewer, read in pages of lines, so
// that a file of many megabytes opens at once and takes little memory.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "toolkit/ITxtViewPrivate.h"
#include "toolkit/WtUtf8.h"

namespace {

constexpr std::size_t kChunk = 1 << 20;
constexpr int kTabWidth = 8;

// Reads up to `length` bytes at `offset`; the count read (0 at the end or on
// failure).
std::size_t ReadAt(int fd, std::uint64_t offset, char* buffer, std::size_t length) {
  std::size_t done = 0;
  while (done < length) {
    const ssize_t n = ::pread(fd, buffer + done, length - done, static_cast<off_t>(offset + done));
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  return done;
}

bool IsUtf8(const std::string& text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto c = static_cast<unsigned char>(text[i]);
    const std::size_t length = c < 0x80 ? 1 : (c >> 5) == 0x6 ? 2 : (c >> 4) == 0xE ? 3 : (c >> 3) == 0x1E ? 4 : 0;
    if (length == 0 || i + length > text.size()) return false;
    for (std::size_t k = 1; k < length; ++k)
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
    i += length;
  }
  return true;
}

// A raw line as the viewer shows it.
std::string Shown(std::string raw) {
  if (!raw.empty() && raw.back() == '\r') raw.pop_back();
  if (!IsUtf8(raw)) raw = WtUtf8_FromLatin1(raw);
  std::string line;
  int column = 0;
  for (const char c : raw) {
    if (c == '\t') {
      do line += ' ';
      while (++column % kTabWidth != 0);
      continue;
    }
    line += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++column;
  }
  return line;
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

bool ITxtView_Text::Open(const std::string& path) {
  Close();
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat st;
  if (fd < 0) return false;
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    return false;
  }
  fd_ = fd;
  // One pass over the file: the start of every page, the line count and the
  // widest line.
  std::vector<char> buffer(kChunk);
  std::uint64_t offset = 0, lineStart = 0;
  pageStart_.push_back(0);
  for (;;) {
    const std::size_t n = ReadAt(fd_, offset, buffer.data(), kChunk);
    if (n == 0) break;
    for (const char* p = buffer.data(); (p = static_cast<const char*>(std::memchr(p, '\n', buffer.data() + n - p)));
         ++p) {
      const std::uint64_t end = offset + static_cast<std::uint64_t>(p - buffer.data());
      widest_ = std::max(widest_, static_cast<std::size_t>(std::min<std::uint64_t>(end - lineStart, kMaxLineBytes)));
      lineStart = end + 1;
      if (++lines_ % kLinesPerPage == 0) pageStart_.push_back(lineStart);
    }
    offset += n;
  }
  size_ = offset;
  if (lineStart < size_) {  // a last line without its line end
    widest_ = std::max(widest_, static_cast<std::size_t>(std::min<std::uint64_t>(size_ - lineStart, kMaxLineBytes)));
    ++lines_;
  } else if (lines_ % kLinesPerPage == 0 && lines_ > 0) {
    pageStart_.pop_back();  // no line begins there
  }
  return true;
}

void ITxtView_Text::Close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  size_ = lines_ = 0;
  widest_ = 0;
  pageStart_.clear();
  pages_.clear();
}

void ITxtView_Text::Swap(ITxtView_Text& other) {
  std::swap(fd_, other.fd_);
  std::swap(size_, other.size_);
  std::swap(lines_, other.lines_);
  std::swap(widest_, other.widest_);
  pageStart_.swap(other.pageStart_);
  pages_.swap(other.pages_);
}

ITxtView_Text::Page& ITxtView_Text::LoadPage(std::uint64_t number) {
  const auto kept = std::find_if(pages_.begin(), pages_.end(), [&](const Page& p) { return p.number == number; });
  if (kept != pages_.end()) {
    pages_.splice(pages_.begin(), pages_, kept);
    return pages_.front();
  }
  if (pages_.size() >= kPagesKept) pages_.pop_back();
  pages_.push_front({number, {}});
  Page& page = pages_.front();
  const std::uint64_t first = number * kLinesPerPage;
  const std::uint64_t count = std::min(kLinesPerPage, lines_ - first);
  const std::uint64_t end = number + 1 < pageStart_.size() ? pageStart_[number + 1] : size_;
  // Each line keeps its first kMaxLineBytes; the rest is read past.
  std::vector<char> buffer(std::min<std::uint64_t>(kChunk, end - pageStart_[number]));
  std::string raw;
  for (std::uint64_t at = pageStart_[number]; at < end && page.lines.size() < count;) {
    const std::size_t n = ReadAt(fd_, at, buffer.data(), std::min<std::uint64_t>(buffer.size(), end - at));
    if (n == 0) break;
    for (std::size_t i = 0; i < n && page.lines.size() < count; ++i) {
      if (buffer[i] == '\n') {
        page.lines.push_back(Shown(std::move(raw)));
        raw.clear();
      } else if (raw.size() < kMaxLineBytes) {
        raw += buffer[i];
      }
    }
    at += n;
  }
  if (page.lines.size() < count) page.lines.push_back(Shown(std::move(raw)));
  page.lines.resize(count);  // a file cut meanwhile shows empty lines
  return page;
}

const std::string& ITxtView_Text::Line(std::uint64_t index) {
  if (fd_ < 0 || index >= lines_) return empty_;
  return LoadPage(index / kLinesPerPage).lines[index % kLinesPerPage];
}

std::uint64_t ITxtView_Text::CountLineEnds(std::uint64_t from, std::uint64_t to) {
  std::vector<char> buffer(std::min<std::uint64_t>(kChunk, to - from));
  std::uint64_t count = 0;
  for (std::uint64_t at = from; at < to;) {
    const std::size_t n = ReadAt(fd_, at, buffer.data(), std::min<std::uint64_t>(buffer.size(), to - at));
    if (n == 0) break;
    count += static_cast<std::uint64_t>(std::count(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(n), '\n'));
    at += n;
  }
  return count;
}

std::uint64_t ITxtView_Text::LineStart(std::uint64_t index) {
  const std::uint64_t page = index / kLinesPerPage;
  std::uint64_t at = pageStart_[page], skip = index % kLinesPerPage;
  std::vector<char> buffer(skip > 0 ? 64 * 1024 : 0);
  while (skip > 0 && at < size_) {
    const std::size_t n = ReadAt(fd_, at, buffer.data(), buffer.size());
    if (n == 0) break;
    const char* p = buffer.data();
    while (skip > 0 && (p = static_cast<const char*>(std::memchr(p, '\n', buffer.data() + n - p))) != nullptr) {
      ++p;
      --skip;
    }
    at += skip == 0 ? static_cast<std::uint64_t>(p - buffer.data()) : n;
  }
  return at;
}

std::uint64_t ITxtView_Text::LineAt(std::uint64_t offset) {
  const auto page = std::upper_bound(pageStart_.begin(), pageStart_.end(), offset) - pageStart_.begin() - 1;
  const auto number = static_cast<std::uint64_t>(page);
  return number * kLinesPerPage + CountLineEnds(pageStart_[number], offset);
}

std::int64_t ITxtView_Text::Find(const std::string& text, std::uint64_t from, std::size_t& column) {
  column = 0;
  if (fd_ < 0 || text.empty() || lines_ == 0) return -1;
  std::string needle;
  for (const char c : text) needle += Lower(c);
  const auto equal = [](char a, char b) { return Lower(a) == b; };
  const std::uint64_t start = LineStart(std::min(from, lines_ - 1));
  // From the line on to the end, then from the beginning up to it; chunks
  // overlap by the needle's length, so a match across two is found.
  std::vector<char> buffer(kChunk + needle.size());
  for (const auto& [begin, end] : {std::pair{start, size_}, std::pair{std::uint64_t{0}, start}}) {
    for (std::uint64_t at = begin; at < end;) {
      const std::uint64_t want = std::min<std::uint64_t>(buffer.size(), end + needle.size() - 1 - at);
      const std::size_t n = ReadAt(fd_, at, buffer.data(), std::min<std::uint64_t>(want, size_ - at));
      if (n < needle.size()) break;
      const auto found = std::search(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(n), needle.begin(),
                                     needle.end(), equal);
      if (found != buffer.begin() + static_cast<std::ptrdiff_t>(n)) {
        const std::uint64_t hit = at + static_cast<std::uint64_t>(found - buffer.begin());
        const std::uint64_t line = LineAt(hit);
        column = static_cast<std::size_t>(hit - LineStart(line));
        return static_cast<std::int64_t>(line);
      }
      if (at + n >= end + needle.size() - 1 || at + n >= size_) break;
      at += n - (needle.size() - 1);
    }
  }
  return -1;
}
