#include "rules/SRenamOp.h"

#include <algorithm>
#include <cstring>

#include "rules/SRenameRec.h"

std::uint8_t SRenamOp_error = 0;

namespace {

// The keywords that share their type data. Changing the keyword within a
// family keeps the data; crossing families resets them.
enum class Family { CharTypes, Delimiter, Letters, Numerical, Variant, Unknown };

Family FamilyOf(std::uint8_t keyword) {
  switch (keyword) {
    case SRenamOp_kChars:
    case SRenamOp_kName1:
    case SRenamOp_kName2:
    case SRenamOp_kName3: return Family::CharTypes;
    case SRenamOp_kDelimiter: return Family::Delimiter;
    case SRenamOp_kLetters: return Family::Letters;
    case SRenamOp_kDigits:
    case SRenamOp_kNum1:
    case SRenamOp_kNum2:
    case SRenamOp_kCounter: return Family::Numerical;
    case SRenamOp_kVariant: return Family::Variant;
    default: return Family::Unknown;
  }
}

bool Fail(std::uint8_t error) {
  SRenamOp_error = error;
  return false;
}

bool Done() {
  SRenamOp_error = 0;
  return true;
}

// Whether a call for source sections may touch `s`.
bool SourceCall(SRenamOp s) {
  if (s == nullptr) return Fail(SRenamOp_kNilSeg);
  if (!s->isSrc) return Fail(SRenamOp_kNotSrc);
  return Done();
}

bool DestinationCall(SRenamOp s) {
  if (s == nullptr) return Fail(SRenamOp_kNilSeg);
  if (s->isSrc) return Fail(SRenamOp_kNotDst);
  return Done();
}

bool FamilyCall(SRenamOp s, Family family, std::uint8_t error) {
  if (!SourceCall(s)) return false;
  if (FamilyOf(s->keyword) != family) return Fail(error);
  return true;
}

std::string Cut(StrIn text) {
  std::string_view view = text.View();
  return std::string(view.substr(0, kNameCap));
}

// A VARIANT's range follows its texts; a list of lengths stays as it is.
void RangeFromVariants(SRenamOp s) {
  if (s->lengthIsList || s->variants.empty()) return;
  const auto [shortest, longest] = std::minmax_element(
      s->variants.begin(), s->variants.end(),
      [](const std::string& a, const std::string& b) { return a.size() < b.size(); });
  s->minLength = static_cast<std::uint32_t>(shortest->size());
  s->maxLength = static_cast<std::uint32_t>(longest->size());
}

}  // namespace

std::size_t SRenamOp_ContentLength(const SRenamOp_Rec& segment) {
  return static_cast<std::size_t>(std::find(segment.content, segment.content + kNameCap, '\0') - segment.content);
}

bool SRenamOp_KeywordIsNumerical(std::uint8_t keyword) { return FamilyOf(keyword) == Family::Numerical; }

bool SRenamOp_KeywordHasCharTypes(std::uint8_t keyword) { return FamilyOf(keyword) == Family::CharTypes; }

// --- Create and destroy ----------------------------------------------------------

SRenamOp SRenamOp_Create(bool isString, bool isSrc) {
  auto* s = new SRenamOp_Rec;
  s->isString = isString;
  s->isSrc = isSrc;
  Done();
  return s;
}

void SRenamOp_Destroy(SRenamOp& segment) {
  delete segment;
  segment = nullptr;
}

SRenamOp SRenamOp_Nil() { return nullptr; }

// --- Every segment -----------------------------------------------------------------

void SRenamOp_GetContent(SRenamOp segment, StrOut content) {
  content.Clear();
  if (segment == nullptr) {
    Fail(SRenamOp_kNilSeg);
    return;
  }
  Strings_Assign(StrIn(segment->content, kNameCap - 1), content);
  Done();
}

void SRenamOp_SetContent(SRenamOp segment, StrIn content) {
  if (segment == nullptr) {
    Fail(SRenamOp_kNilSeg);
    return;
  }
  Strings_Assign(content, segment->content);
  Done();
}

bool SRenamOp_IsString(SRenamOp segment) { return segment != nullptr && segment->isString; }

bool SRenamOp_IsSrc(SRenamOp segment) { return segment != nullptr && segment->isSrc; }

// --- Source sections: keyword and length ----------------------------------------

std::uint8_t SRenamOp_GetKeyword(SRenamOp segment) {
  return SourceCall(segment) ? segment->keyword : SRenamOp_kChars;
}

bool SRenamOp_SetKeyword(SRenamOp segment, std::uint8_t keyword) {
  if (!SourceCall(segment)) return false;
  if (FamilyOf(keyword) != FamilyOf(segment->keyword)) {
    segment->charFirst = segment->charLast = SRenamOp_kAnyChar;
    segment->numLow = SRenamOp_kNumLow;
    segment->numHigh = SRenamOp_kNumHigh;
    segment->numParity = SRenamOp_kAnyParity;
    segment->fix.clear();
    segment->variants.clear();
  }
  segment->keyword = keyword;
  return true;
}

bool SRenamOp_IsRange(SRenamOp segment) { return SourceCall(segment) && !segment->lengthIsList; }

bool SRenamOp_GetRange(SRenamOp segment, std::uint32_t& minLength, std::uint32_t& maxLength) {
  if (!SourceCall(segment)) return false;
  if (segment->lengthIsList) return Fail(SRenamOp_kNotRange);
  minLength = segment->minLength;
  maxLength = segment->maxLength;
  return true;
}

bool SRenamOp_SetRange(SRenamOp segment, std::uint32_t a, std::uint32_t b) {
  if (!SourceCall(segment)) return false;
  if (segment->lengthIsList) return Fail(SRenamOp_kNotRange);
  segment->minLength = std::min(a, b);
  segment->maxLength = std::max(a, b);
  return true;
}

bool SRenamOp_GetFirstLength(SRenamOp segment, std::uint32_t& length) {
  if (!SourceCall(segment)) return false;
  segment->lengthCursor = 0;
  return SRenamOp_GetNextLength(segment, length);
}

bool SRenamOp_GetNextLength(SRenamOp segment, std::uint32_t& length) {
  if (!SourceCall(segment)) return false;
  if (!segment->lengthIsList || segment->lengthCursor >= segment->lengths.size()) return false;
  length = segment->lengths[segment->lengthCursor++];
  return true;
}

bool SRenamOp_AddFixedLength(SRenamOp segment, std::uint32_t length) {
  if (!SourceCall(segment)) return false;
  if (!segment->lengthIsList) {
    segment->lengthIsList = true;
    segment->lengths.clear();
  }
  auto& lengths = segment->lengths;
  const auto at = std::lower_bound(lengths.begin(), lengths.end(), length);
  if (at == lengths.end() || *at != length) lengths.insert(at, length);
  return true;
}

// --- Source sections: type data -------------------------------------------------------

bool SRenamOp_IsNumerical(SRenamOp segment) {
  return SourceCall(segment) && FamilyOf(segment->keyword) == Family::Numerical;
}

bool SRenamOp_GetNumRange(SRenamOp segment, std::uint32_t& low, std::uint32_t& high) {
  if (!FamilyCall(segment, Family::Numerical, SRenamOp_kNotNumerical)) return false;
  low = segment->numLow;
  high = segment->numHigh;
  return true;
}

bool SRenamOp_SetNumRange(SRenamOp segment, std::uint32_t a, std::uint32_t b) {
  if (!FamilyCall(segment, Family::Numerical, SRenamOp_kNotNumerical)) return false;
  segment->numLow = std::min(a, b);
  segment->numHigh = std::max(a, b);
  return true;
}

std::uint8_t SRenamOp_GetNumParity(SRenamOp segment) {
  return FamilyCall(segment, Family::Numerical, SRenamOp_kNotNumerical) ? segment->numParity
                                                                          : SRenamOp_kAnyParity;
}

bool SRenamOp_SetNumParity(SRenamOp segment, std::uint8_t parity) {
  if (!FamilyCall(segment, Family::Numerical, SRenamOp_kNotNumerical)) return false;
  segment->numParity = parity;
  return true;
}

bool SRenamOp_GetFixContent(SRenamOp segment, StrOut text) {
  text.Clear();
  if (!FamilyCall(segment, Family::Delimiter, SRenamOp_kNotDelimiter)) return false;
  Strings_Assign(segment->fix, text);
  return true;
}

bool SRenamOp_SetFixContent(SRenamOp segment, StrIn text) {
  if (!FamilyCall(segment, Family::Delimiter, SRenamOp_kNotDelimiter)) return false;
  segment->fix = Cut(text);
  return true;
}

bool SRenamOp_GetCharProperties(SRenamOp segment, std::uint8_t& first, std::uint8_t& last) {
  if (!FamilyCall(segment, Family::CharTypes, SRenamOp_kNotCharType)) return false;
  first = segment->charFirst;
  last = segment->charLast;
  return true;
}

bool SRenamOp_SetCharProperties(SRenamOp segment, std::uint8_t first, std::uint8_t last) {
  if (!FamilyCall(segment, Family::CharTypes, SRenamOp_kNotCharType)) return false;
  segment->charFirst = first;
  segment->charLast = last;
  return true;
}

bool SRenamOp_AddVariant(SRenamOp segment, StrIn variant) {
  if (!FamilyCall(segment, Family::Variant, SRenamOp_kNotVariant)) return false;
  std::string text = Cut(variant);
  if (std::find(segment->variants.begin(), segment->variants.end(), text) != segment->variants.end()) return true;
  segment->variants.push_back(std::move(text));
  RangeFromVariants(segment);
  return true;
}

bool SRenamOp_RemoveVariant(SRenamOp segment, StrIn variant) {
  if (!FamilyCall(segment, Family::Variant, SRenamOp_kNotVariant)) return false;
  std::erase(segment->variants, Cut(variant));
  RangeFromVariants(segment);
  return true;
}

bool SRenamOp_IterateVariants(SRenamOp segment, SRenamOp_VariantProc visit, void* data) {
  if (!FamilyCall(segment, Family::Variant, SRenamOp_kNotVariant)) return false;
  for (const std::string& variant : segment->variants) visit(variant, data);
  return true;
}

// --- Destination sections ----------------------------------------------------------

std::uint8_t SRenamOp_GetShiftOp(SRenamOp segment) {
  return DestinationCall(segment) ? segment->shift : SRenamOp_kNoShift;
}

bool SRenamOp_SetShiftOp(SRenamOp segment, std::uint8_t shift) {
  if (!DestinationCall(segment)) return false;
  segment->shift = shift;
  return true;
}

bool SRenamOp_AddOp(SRenamOp segment, const SRenamOp_Operator& op) {
  if (!DestinationCall(segment)) return false;
  segment->ops.push_back(op);
  return true;
}

bool SRenamOp_RemoveOp(SRenamOp segment, std::size_t n) {
  if (!DestinationCall(segment)) return false;
  if (n == 0 || n > segment->ops.size()) return false;
  segment->ops.erase(segment->ops.begin() + static_cast<std::ptrdiff_t>(n - 1));
  return true;
}

bool SRenamOp_GetFirstOp(SRenamOp segment, SRenamOp_Operator& op) {
  if (!DestinationCall(segment)) return false;
  segment->opCursor = 0;
  return SRenamOp_GetNextOp(segment, op);
}

bool SRenamOp_GetNextOp(SRenamOp segment, SRenamOp_Operator& op) {
  if (!DestinationCall(segment) || segment->opCursor >= segment->ops.size()) return false;
  op = segment->ops[segment->opCursor++];
  return true;
}

SRenamOp SRenamOp_GetSrcSeg(SRenamOp segment) { return DestinationCall(segment) ? segment->source : nullptr; }

bool SRenamOp_SetSrcSeg(SRenamOp segment, SRenamOp source) {
  if (!DestinationCall(segment)) return false;
  if (source != nullptr && (!source->isSrc || source->isString)) return Fail(SRenamOp_kNotSection);
  segment->source = source;
  return true;
}
