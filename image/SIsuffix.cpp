#include "image/SIsuffix.h"

#include <cctype>
#include <string>
#include <string_view>

namespace {

// An overview file's suffix is two letters of its kind and the first
// character of the image's suffix; a ticket puts "jt" in place of the two
// letters. PDF, which has no overview, would meet PostScript at ".jtp", so it
// has a ticket suffix of its own.
constexpr char kTicketLetters[] = ".jt";
constexpr char kPdf[] = "pdf";
constexpr char kPdfTicket[] = ".jtpd";

// Overviews (AI, PX, AH, AC), contours (CN), colour separations and vector
// parts, job tickets and the other files a tool leaves beside an image.
constexpr char kAddonsRegExpr[] = R"(\.(AI.|PX.|AH.|CN.|aof|AC.|acs|jt.|jtpd|[cmyk]ct|vct|vlw|svs|fa|lfs)$)";

// Assigns `text` whole, or leaves `out` empty and answers false.
bool AssignWhole(const std::string& text, StrOut out) {
  out.Clear();
  if (text.size() > out.Capacity()) return false;
  Strings_Assign(text, out);
  return true;
}

}  // namespace

bool SIsuffix_InfSuffix(StrIn suffix, StrOut infSuffix) {
  std::string_view text = suffix.View();
  if (!text.empty() && text.front() == '.') text.remove_prefix(1);
  if (text.empty()) {
    infSuffix.Clear();
    return false;
  }
  std::string lower(text);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (lower == kPdf) return AssignWhole(kPdfTicket, infSuffix);
  return AssignWhole(std::string(kTicketLetters) + lower.front(), infSuffix);
}

bool SIsuffix_GetAllSufficesRegExp(StrOut expr) { return AssignWhole(kAddonsRegExpr, expr); }
