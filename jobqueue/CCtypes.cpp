#include "jobqueue/CCtypes.h"

#include <array>

namespace {

constexpr std::array<const char*, 8> kJobStates = {"unknown", "waiting", "waitingForPrecond", "running",
                                                    "done",    "failed",  "canceled",          "removed"};
constexpr std::array<const char*, 3> kQueueStates = {"unknown", "running", "stopped"};
constexpr std::array<const char*, 3> kCpuUsages = {"low", "high", "free"};
constexpr std::array<const char*, 3> kNodeTypes = {"???", "local", "cluster"};
constexpr std::array<const char*, 4> kCancelReasons = {"noReason", "serverTermination", "timeout", "remove"};

template <std::size_t N>
void Word(const std::array<const char*, N>& words, unsigned value, const char* other, StrOut word) {
  Strings_Assign(StrIn::C(value < N ? words[value] : other), word);
}

// The index of `word`, or `other` when none has it.
template <std::size_t N>
std::uint8_t Number(const std::array<const char*, N>& words, StrIn word, std::uint8_t other) {
  for (std::size_t i = 0; i < N; ++i)
    if (word.View() == words[i]) return static_cast<std::uint8_t>(i);
  return other;
}

void SetToString(std::uint8_t set, void (*word)(std::uint8_t, StrOut), StrOut text) {
  std::string out;
  for (unsigned bit = 0; bit < 8; ++bit) {
    if ((set >> bit & 1U) == 0) continue;
    char one[kNameCap];
    word(static_cast<std::uint8_t>(bit), StrOut(one));
    if (!out.empty()) out += ',';
    out += StrIn(one).View();
  }
  Strings_Assign(out, text);
}

std::uint8_t StringToSet(StrIn text, std::uint8_t (*number)(StrIn)) {
  std::uint8_t set = 0;
  const std::string_view all = text.View();
  for (std::size_t from = 0; from <= all.size();) {
    std::size_t comma = all.find(',', from);
    if (comma == std::string_view::npos) comma = all.size();
    const std::string one(all.substr(from, comma - from));
    if (!one.empty()) set = static_cast<std::uint8_t>(set | 1U << number(one));
    from = comma + 1;
  }
  return set;
}

}  // namespace

void CCtypes_JobStatusToString(std::uint8_t status, StrOut word) { Word(kJobStates, status, "unknown", word); }
std::uint8_t CCtypes_StringToJobStatus(StrIn word) { return Number(kJobStates, word, CCtypes_Unknown); }

void CCtypes_JobStatusSetToString(std::uint8_t set, StrOut text) { SetToString(set, CCtypes_JobStatusToString, text); }
std::uint8_t CCtypes_StringToJobStatusSet(StrIn text) { return StringToSet(text, CCtypes_StringToJobStatus); }

void CCtypes_QueueStatusToString(std::uint8_t status, StrOut word) { Word(kQueueStates, status, "unknown", word); }
std::uint8_t CCtypes_StringToQueueStatus(StrIn word) { return Number(kQueueStates, word, CCtypes_QueueUnknown); }

void CCtypes_CpuUsageToString(std::uint8_t usage, StrOut word) { Word(kCpuUsages, usage, "unknown", word); }
std::uint8_t CCtypes_StringToCpuUsage(StrIn word) { return Number(kCpuUsages, word, CCtypes_CpuHigh); }
void CCtypes_CpuUsageSetToString(std::uint8_t set, StrOut text) {
  SetToString(set & CCtypes_AllCpuUsages, CCtypes_CpuUsageToString, text);
}
std::uint8_t CCtypes_StringToCpuUsageSet(StrIn text) { return StringToSet(text, CCtypes_StringToCpuUsage); }

// Index 0 is no node type: it prints as "???" as every other stranger does.
void CCtypes_NodeTypeToString(std::uint8_t type, StrOut word) { Word(kNodeTypes, type, "???", word); }
std::uint8_t CCtypes_StringToNodeType(StrIn word) { return Number(kNodeTypes, word, 0); }

void CCtypes_CancelReasonToString(std::uint8_t reason, StrOut word) { Word(kCancelReasons, reason, "???", word); }
std::uint8_t CCtypes_StringToCancelReason(StrIn word) { return Number(kCancelReasons, word, CCtypes_NoReason); }

std::string CCtypes_Escape(std::string_view value) {
  std::string out;
  out.reserve(value.size());
  for (char c : value) {
    if (c == ' ' || c == '\\') out += '\\';
    out += c;
  }
  return out;
}

std::string CCtypes_Unescape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) ++i;
    out += text[i];
  }
  return out;
}

std::vector<std::string> CCtypes_SplitEscaped(std::string_view text) {
  std::vector<std::string> tokens(1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) {
      tokens.back() += text[++i];
    } else if (text[i] == ' ') {
      tokens.emplace_back();
    } else {
      tokens.back() += text[i];
    }
  }
  return tokens;
}

std::string CCtypes_LineEscape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    if (c == '%') out += "%25";
    else if (c == '\n') out += "%0A";
    else if (c == '\r') out += "%0D";
    else out += c;
  }
  return out;
}

std::string CCtypes_LineUnescape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string_view code = text.substr(i, 3);
    if (code == "%25") out += '%', i += 2;
    else if (code == "%0A") out += '\n', i += 2;
    else if (code == "%0D") out += '\r', i += 2;
    else out += text[i];
  }
  return out;
}
