// The records behind the SRename and SRenamOp handles. Only the two modules
// of the rename engine include this: SRenamOp keeps the segment's rules, and
// SRename's matcher and file code read segments without a call per field.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/Strings.h"
#include "rules/SRenamOp.h"

struct SRenamOp_Rec {
  SRenamOp_Rec* next = nullptr;  // the scheme's list; the scheme owns its segments
  char content[kNameCap] = "";   // no terminator when full
  bool isString = false;
  bool isSrc = true;
  std::size_t order = 0;  // the matcher's number of the segment in its list

  // Source sections.
  std::uint8_t keyword = SRenamOp_kChars;
  bool lengthIsList = false;
  std::uint32_t minLength = 1, maxLength = 1;  // a range
  std::vector<std::uint32_t> lengths;          // a list: ascending, no duplicates
  std::size_t lengthCursor = 0;
  std::uint8_t charFirst = SRenamOp_kAnyChar, charLast = SRenamOp_kAnyChar;
  std::uint32_t numLow = SRenamOp_kNumLow, numHigh = SRenamOp_kNumHigh;
  std::uint8_t numParity = SRenamOp_kAnyParity;
  std::string fix;                    // DELIMITER, at most 128 bytes
  std::vector<std::string> variants;  // VARIANT, each at most 128 bytes

  // Destination sections.
  SRenamOp_Rec* source = nullptr;  // the source section referred to; not owned
  std::uint8_t shift = SRenamOp_kNoShift;
  std::vector<SRenamOp_Operator> ops;
  std::size_t opCursor = 0;
};

struct SRename_Rec {
  SRenamOp_Rec* source = nullptr;       // the source list, in the order of the name
  SRenamOp_Rec* destination = nullptr;  // empty: the scheme only matches
  SRenamOp_Rec* sourceCursor = nullptr;
  SRenamOp_Rec* destinationCursor = nullptr;
  char example[kNameCap] = "";
  // The matcher's record of (segment, position, may-miss) states known to
  // fail; it keeps its room from one match to the next.
  std::vector<std::uint8_t> failed;
  // The place (offset, length) in the name of each source segment's piece.
  std::vector<std::pair<std::size_t, std::size_t>> pieces;
  // For each source segment, the least and the most the segments from it on
  // can take of a name.
  std::vector<std::pair<std::uint64_t, std::uint64_t>> rest;
};

// The length of a segment's content.
std::size_t SRenamOp_ContentLength(const SRenamOp_Rec& segment);
// Whether a keyword is one of the numerical family.
bool SRenamOp_KeywordIsNumerical(std::uint8_t keyword);
// Whether a keyword carries FIRST and LAST character types.
bool SRenamOp_KeywordHasCharTypes(std::uint8_t keyword);
