// The start folder: how a file enters the workflow.
#include <cstring>

#include "commands/ASrules.h"
#include "workflow/WFticket.h"

namespace {

char section[kSectionCap] = "ASstart";

enum class Transfer { Move, Link, Copy, Ticket };

// By the rc's first command, as the front end builds it; by "MODE" when the
// command is none of those.
Transfer TransferOf(SAutoRcF rc) {
  TextStr command;
  SAutoRcF_GetFirstCmd(rc, command);
  const std::string word = StrIn(command).Str().substr(0, StrIn(command).View().find(' '));
  if (word == "mv" || word == "imgmv") return Transfer::Move;
  if (word == "ln" || word == "imgln") return Transfer::Link;
  if (word == "cp" || word == "imgcp") return Transfer::Copy;
  if (word == "jobticket.sh") return Transfer::Ticket;
  const std::uint32_t mode = ASrules_CardOpt(rc, "MODE", 0);
  return mode == 1 ? Transfer::Link : mode == 2 ? Transfer::Copy : mode == 3 ? Transfer::Ticket : Transfer::Move;
}

std::string StringOpt(SAutoRcF rc, const char* key, const char* fallback) {
  TextStr value;
  SAutoRcF_GetOptValue(rc, StrIn::C(key), StrIn::C(fallback), value);
  return StrIn(value).Str();
}

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); !from.empty() && at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// The name of a file from a subdirectory of the start folder: the
// directories (EXTENDMODE 0) or the nearest one (1) in front, each joined by
// the delimiter, which is replaced where it stands in a directory's name.
std::string ExtendedName(SAutoRcF rc, const std::string& subdir, const std::string& name) {
  bool extend = false;
  SAutoRcF_GetBoolOpt(rc, "EXTENDFILENAMES", extend);
  if (!extend || subdir.empty()) return name;
  const std::uint32_t mode = ASrules_CardOpt(rc, "EXTENDMODE", 0);
  const std::string delimiter = StringOpt(rc, "EXTENDDELIMITER", "_");
  const std::string replacement = StringOpt(rc, "EXTENDDELIMREPLACEMENT", "-");
  std::string prefix;
  std::size_t start = mode == 1 ? subdir.rfind('/') + 1 : 0;
  for (;;) {
    const std::size_t slash = subdir.find('/', start);
    prefix += ReplaceAll(subdir.substr(start, slash == std::string::npos ? std::string::npos : slash - start), delimiter,
                         replacement) + delimiter;
    if (slash == std::string::npos) break;
    start = slash + 1;
  }
  return prefix + name;
}

}  // namespace

ASrules_Decision ASrules_Start(const ASrules_Folder& folder, const std::string& source, const std::string& subdir) {
  const std::string name = ExtendedName(folder.rc, subdir, source.substr(source.rfind('/') + 1));
  const Transfer transfer = TransferOf(folder.rc);
  switch (transfer) {
    case Transfer::Move:
      return ASrules_ToOut(folder, 1, name);
    case Transfer::Link:
    case Transfer::Copy: {
      ASrules_Decision decision = ASrules_ToOut(folder, 1, name, transfer == Transfer::Link ? ASplan_How::Link : ASplan_How::Copy);
      decision.keep = true;
      return decision;
    }
    case Transfer::Ticket:
      break;
  }
  if (WFticket_IsTicketFile(source)) return ASrules_ToOut(folder, 1, name);
  if (source.find('\n') != std::string::npos) return ASrules_Fail(section, 1, {name});  // messages: ASstart 1
  NameStr ticket;
  WFticket_TicketFilename(name, ticket);
  ASrules_Decision decision = ASrules_ToOut(folder, 1, StrIn(ticket).Str(), ASplan_How::Text);
  if (decision.what != ASrules_Decision::Deliver) return decision;
  decision.targets[0].text = std::string(WFticket_header) + "\n" + WFticket_imageReferenceKey + "=" + source + "\n";
  decision.keep = true;
  return decision;
}
