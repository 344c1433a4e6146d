#include "base/SWilCard.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace {

// One element of a pattern with its escapes resolved.
struct Piece {
  enum Kind : unsigned char { kLiteral, kAnyOne, kAnyRun } kind;
  char c;  // for kLiteral
};

std::vector<Piece> Parse(std::string_view pattern) {
  std::vector<Piece> pieces;
  pieces.reserve(pattern.size());
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char c = pattern[i];
    if (c == '\\' && i + 1 < pattern.size()) {
      pieces.push_back({Piece::kLiteral, pattern[++i]});
    } else if (c == '*') {
      // A run of stars means no more than one star.
      if (pieces.empty() || pieces.back().kind != Piece::kAnyRun) pieces.push_back({Piece::kAnyRun, 0});
    } else {
      pieces.push_back({c == '?' ? Piece::kAnyOne : Piece::kLiteral, c});
    }
  }
  return pieces;
}

bool Fits(const Piece& piece, char c) { return piece.kind == Piece::kAnyOne || piece.c == c; }

}  // namespace

bool SWilCard_Match(StrIn pattern, StrIn name) {
  const std::vector<Piece> pieces = Parse(pattern.View());
  const std::string_view text = name.View();

  // Greedy scan that remembers only the latest star. When a later piece
  // fails, that star takes one more character and the scan resumes behind it.
  // Going back to an earlier star is never needed: whatever the earlier star
  // could still absorb, the latest one can absorb as well. So each star
  // restart costs at most one pass over the pieces, never an exponential tree.
  std::size_t p = 0, t = 0;
  std::size_t starPiece = pieces.size(), starText = 0;  // no star seen yet
  while (t < text.size()) {
    if (p < pieces.size() && pieces[p].kind == Piece::kAnyRun) {
      starPiece = p++;
      starText = t;
    } else if (p < pieces.size() && Fits(pieces[p], text[t])) {
      ++p;
      ++t;
    } else if (starPiece < pieces.size()) {
      p = starPiece + 1;
      t = ++starText;
    } else {
      return false;
    }
  }
  while (p < pieces.size() && pieces[p].kind == Piece::kAnyRun) ++p;
  return p == pieces.size();
}
