// Fuzz target: arbitrary bytes as the listing tar gives of an archive. The
// check never crashes, and a listing it lets through has only members of the
// four plain types whose names stay inside the tree.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "distribution/WFbackup.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

bool Climbs(std::string_view name) {
  for (std::size_t at = 0; at <= name.size();) {
    const std::size_t slash = std::min(name.find('/', at), name.size());
    if (name.substr(at, slash - at) == "..") return true;
    at = slash + 1;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A text ends at its first zero byte, for the check as for everyone.
  std::string listing(reinterpret_cast<const char*>(data), size);
  listing.resize(std::min(listing.find('\0'), listing.size()));
  TextStr member;
  if (WFbackup_CheckListing(listing, "/projects", member) != 0) return 0;
  std::string_view rest = listing;
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    const std::string line(rest.substr(0, end));
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    if (line.empty()) continue;
    WFbackup_Member parsed;
    Check(WFbackup_ParseMember(line, parsed));
    const std::string_view name = StrIn(parsed.name).View();
    Check(std::string_view("-dlh").find(parsed.type) != std::string_view::npos);
    Check(!name.starts_with('/') && !Climbs(name) && name.size() < kPathCap);
  }
  return 0;
}
