// The text viewer's file: what ITxtView.cpp and ITxtViewText.cpp share.
// Private to the module.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <vector>

// A text file read in pages of lines. Opening reads the file once and
// notes where every kLinesPerPage-th line begins; a page is read when one of
// its lines is asked for, and the last few pages are kept.
class ITxtView_Text {
 public:
  static constexpr std::uint64_t kLinesPerPage = 256;
  static constexpr std::size_t kMaxLineBytes = 4096;
  static constexpr std::size_t kPagesKept = 8;

  ITxtView_Text() = default;
  ~ITxtView_Text() { Close(); }
  ITxtView_Text(const ITxtView_Text&) = delete;
  ITxtView_Text& operator=(const ITxtView_Text&) = delete;

  // Opens `path` and indexes it; false (nothing open) when it can't be read.
  bool Open(const std::string& path);
  void Close();
  bool IsOpen() const { return fd_ >= 0; }
  void Swap(ITxtView_Text& other);

  std::uint64_t LineCount() const { return lines_; }
  // The most bytes of one line (at most kMaxLineBytes), for the sideways bar.
  std::size_t Widest() const { return widest_; }
  // Line `index` as shown: tabs expanded, cut at kMaxLineBytes, UTF-8 (bytes
  // that are no UTF-8 taken as ISO 8859-1), without its line end. Empty past
  // the end.
  const std::string& Line(std::uint64_t index);
  // The first line at or after `from` (going round to the beginning) that
  // holds `text`, ignoring the case of ASCII letters; its byte column in
  // `column`. -1 when no line holds it.
  std::int64_t Find(const std::string& text, std::uint64_t from, std::size_t& column);

 private:
  struct Page {
    std::uint64_t number;
    std::vector<std::string> lines;
  };
  // The byte where line `index` begins.
  std::uint64_t LineStart(std::uint64_t index);
  // The line that holds byte `offset`.
  std::uint64_t LineAt(std::uint64_t offset);
  // Counts the line ends in [from, to).
  std::uint64_t CountLineEnds(std::uint64_t from, std::uint64_t to);
  Page& LoadPage(std::uint64_t number);

  int fd_ = -1;
  std::uint64_t size_ = 0, lines_ = 0;
  std::size_t widest_ = 0;
  std::vector<std::uint64_t> pageStart_;  // the byte where each page's first line begins
  std::list<Page> pages_;                 // the newest first
  std::string empty_;
};
