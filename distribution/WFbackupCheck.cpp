// WFbackup: checking an archive from its listing before anything of it is
// written. tar itself is asked for the listing, so the check sees the
// members exactly as the extraction will.
//
// Names are taken apart lexically, never against the disk: the extraction
// goes into an empty directory of our own, where only the archive's own
// links could lead elsewhere, and no member may lie behind one of those.
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/DirAcces.h"
#include "distribution/WFbackup.h"

namespace {

// messages: WFbackup 13-19
constexpr unsigned kUnreadable = 13;
constexpr unsigned kAbsolute = 14;
constexpr unsigned kUpward = 15;
constexpr unsigned kLinkOut = 16;
constexpr unsigned kSpecial = 17;
constexpr unsigned kTooLong = 18;
constexpr unsigned kBehindLink = 19;

// The longest element a file system takes.
constexpr std::size_t kElementCap = 255;

// Reads a string in tar's "c" quoting at `at` (on its opening quote) and
// moves behind its closing quote. False when it is not one.
bool Quoted(std::string_view line, std::size_t& at, std::string& out) {
  if (at >= line.size() || line[at] != '"') return false;
  out.clear();
  for (++at; at < line.size(); ++at) {
    char c = line[at];
    if (c == '"') {
      ++at;
      return true;
    }
    if (c != '\\') {
      out += c;
      continue;
    }
    if (++at >= line.size()) return false;
    c = line[at];
    if (c >= '0' && c <= '7') {
      unsigned value = 0;
      for (int digits = 0; digits < 3 && at < line.size() && line[at] >= '0' && line[at] <= '7'; ++digits) {
        value = value * 8 + static_cast<unsigned>(line[at++] - '0');
      }
      --at;
      out += static_cast<char>(value & 0xff);
      continue;
    }
    static constexpr std::string_view kFrom = "abfnrtv", kTo = "\a\b\f\n\r\t\v";
    const std::size_t known = kFrom.find(c);
    out += known != std::string_view::npos ? kTo[known] : c;
  }
  return false;
}

// The elements of `path` without empty ones and ".". False when one is "..".
bool Elements(std::string_view path, std::vector<std::string>& elements) {
  elements.clear();
  while (!path.empty()) {
    const std::size_t slash = path.find('/');
    const std::string_view element = path.substr(0, slash);
    path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
    if (element.empty() || element == ".") continue;
    if (element == "..") return false;
    elements.emplace_back(element);
  }
  return true;
}

std::string Joined(const std::vector<std::string>& elements) {
  std::string path;
  for (const std::string& element : elements) path += (path.empty() ? "" : "/") + element;
  return path;
}

// Resolves `target` lexically against the elements of `base`; false when it
// climbs above the top, or climbs back out of one of `links` (where the
// disk would climb out of the link's target instead).
bool Resolve(std::vector<std::string> base, std::string_view target, std::vector<std::string>& result,
             const std::set<std::string>& links = {}) {
  while (!target.empty()) {
    const std::size_t slash = target.find('/');
    const std::string_view element = target.substr(0, slash);
    target = slash == std::string_view::npos ? std::string_view() : target.substr(slash + 1);
    if (element.empty() || element == ".") continue;
    if (element == "..") {
      if (base.empty() || links.count(Joined(base)) != 0) return false;
      base.pop_back();
      continue;
    }
    base.emplace_back(element);
  }
  result = std::move(base);
  return true;
}

bool Fits(std::string_view tree, const std::vector<std::string>& elements) {
  std::size_t length = tree.size();
  for (const std::string& element : elements) {
    if (element.size() > kElementCap) return false;
    length += 1 + element.size();
  }
  return length < kPathCap;
}

struct Checked {
  char type;
  std::vector<std::string> name;
  std::string link;                     // a relative target, as it stands
  std::vector<std::string> hardTarget;  // empty unless a hard link
};

// The checks of one member on its own; 0 or a message number.
unsigned CheckOne(const WFbackup_Member& member, std::string_view tree, Checked& checked) {
  const std::string_view name = StrIn(member.name).View();
  const std::string_view link = StrIn(member.link).View();
  checked.type = member.type;
  if (!link.starts_with('/')) checked.link = link;
  if (member.type != '-' && member.type != 'd' && member.type != 'l' && member.type != 'h') return kSpecial;
  if (name.starts_with('/')) return kAbsolute;
  if (!Elements(name, checked.name)) return kUpward;
  if (checked.name.empty() && member.type != 'd') return kUpward;  // only the top may be "."
  if (!Fits(tree, checked.name)) return kTooLong;
  if (member.type == 'l') {
    std::vector<std::string> leadsTo;
    if (link.starts_with('/')) {
      // An absolute target is fine inside the tree; it is still never passed.
      if (!DirAcces_PathStartsWith(std::string(link), std::string(tree)) || !Elements(link, leadsTo)) return kLinkOut;
    } else {
      std::vector<std::string> parent(checked.name.begin(), checked.name.end() - 1);
      if (!Resolve(parent, link, leadsTo)) return kLinkOut;
    }
    if (link.size() >= kPathCap) return kTooLong;
  }
  if (member.type == 'h') {
    if (link.starts_with('/') || !Resolve({}, link, checked.hardTarget) || checked.hardTarget.empty()) {
      return kLinkOut;
    }
  }
  return 0;
}

// Whether a proper prefix of `elements` is one of `links`.
bool BehindLink(const std::vector<std::string>& elements, const std::set<std::string>& links) {
  std::string prefix;
  for (std::size_t n = 0; n + 1 < elements.size(); ++n) {
    prefix += (n == 0 ? "" : "/") + elements[n];
    if (links.count(prefix) != 0) return true;
  }
  return false;
}

// The checks of one member against all links of the archive, wherever they
// stand in it: no member may be written through a link, no hard link made to
// one behind a link, and a link's target may pass another link only
// forwards. 0 or a message number.
unsigned CheckAgainstLinks(const Checked& checked, const std::set<std::string>& links) {
  std::vector<std::string> leadsTo;
  if (checked.type == 'l' && !checked.link.empty() &&
      !Resolve({checked.name.begin(), checked.name.end() - 1}, checked.link, leadsTo, links)) {
    return kLinkOut;
  }
  if (checked.type == 'h' && !Resolve({}, checked.link, leadsTo, links)) return kLinkOut;
  if (BehindLink(checked.name, links)) return kBehindLink;
  if (!checked.hardTarget.empty() &&
      (BehindLink(checked.hardTarget, links) || links.count(Joined(checked.hardTarget)) != 0)) {
    return kBehindLink;
  }
  return 0;
}

}  // namespace

bool WFbackup_ParseMember(StrIn line, WFbackup_Member& member) {
  member = WFbackup_Member{};
  const std::string_view text = line.View();
  // The mode's ten characters, owner, size and time, then the quoted name:
  // only the name has quotes.
  std::size_t at = text.find('"');
  if (text.size() < 11 || text[10] != ' ' || at == std::string_view::npos) return false;
  member.type = text[0];
  std::string name, link;
  if (!Quoted(text, at, name)) return false;
  const std::string_view rest = text.substr(at);
  std::string_view arrow;
  for (const std::string_view form : {std::string_view(" -> "), std::string_view(" link to ")}) {
    if (rest.starts_with(form)) arrow = form;
  }
  if (!arrow.empty()) {
    at += arrow.size();
    if (!Quoted(text, at, link) || at != text.size()) return false;
  } else if (!rest.empty()) {
    return false;
  }
  if ((member.type == 'l' || member.type == 'h') != !arrow.empty()) return false;
  if (name.size() >= kTextCap || link.size() >= kTextCap) return false;
  Strings_Assign(name, member.name);
  Strings_Assign(link, member.link);
  return true;
}

unsigned WFbackup_CheckListing(StrIn listing, StrIn tree, StrOut member) {
  member.Clear();
  std::string top(tree.View());
  while (top.size() > 1 && top.back() == '/') top.pop_back();
  std::vector<Checked> members;
  std::vector<std::string> names;
  std::set<std::string> links;
  std::string_view rest = listing.View();
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    if (line.empty()) continue;
    WFbackup_Member parsed;
    if (!WFbackup_ParseMember(std::string(line), parsed)) {
      Strings_Assign(std::string(line), member);
      return kUnreadable;
    }
    Checked checked;
    const unsigned refused = CheckOne(parsed, top, checked);
    if (refused != 0) {
      Strings_Assign(parsed.name, member);
      return refused;
    }
    if (parsed.type == 'l') links.insert(Joined(checked.name));
    members.push_back(std::move(checked));
    names.emplace_back(StrIn(parsed.name).View());
  }
  for (std::size_t n = 0; n < members.size(); ++n) {
    const unsigned refused = CheckAgainstLinks(members[n], links);
    if (refused != 0) {
      Strings_Assign(names[n], member);
      return refused;
    }
  }
  return 0;
}
