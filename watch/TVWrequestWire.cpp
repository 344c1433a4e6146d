// TVWrequest: the tokens of the line protocol and the demon's side of it.
#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

#include "jobqueue/CCtypes.h"
#include "watch/TVWrequest.h"

namespace {

constexpr std::size_t kLineMax = kTVWrequestLineCap - 1;
constexpr std::string_view kRequests[] = {"", "TEST_SERVICE", "IGNORE_FILE", "FILE_STATUS", "STATUS_QUERY",
                                          "FILE_READY"};

std::string Escape(std::string_view text) {
  if (text.empty()) return "\"\"";
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    if (c == ' ' || c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out;
}

bool Append(StrOut line, const std::string& token) {
  std::string joined = StrIn(line).Str();
  if (!joined.empty()) joined += ' ';
  joined += token;
  if (joined.size() > kLineMax || joined.size() > line.High()) return false;
  Strings_Assign(joined, line);
  return true;
}

// The raw text of the next token and where it ends; false when none is left.
bool RawToken(std::string_view text, std::size_t& from, std::size_t& to) {
  from = text.find_first_not_of(' ');
  if (from == std::string_view::npos) return false;
  to = from;
  while (to < text.size() && text[to] != ' ') to += text[to] == '\\' && to + 1 < text.size() ? 2 : 1;
  return true;
}

std::string Unescape(std::string_view raw) { return raw == "\"\"" ? "" : CCtypes_Unescape(raw); }

bool SplitBool(StrOut line, bool& value) {
  TVWrequest_Line token;
  if (!TVWrequest_SplitToken(line, token)) return false;
  value = Strings_Equal(token, "true");
  return true;
}

bool SplitName(StrOut line, StrOut name) { return TVWrequest_SplitToken(line, name) && !StrIn(name).Empty(); }

}  // namespace

// --- Tokens ------------------------------------------------------------------------------

bool TVWrequest_AppendString(StrOut line, StrIn text) { return Append(line, Escape(text.View())); }

bool TVWrequest_AppendInt(StrOut line, std::int64_t value) { return Append(line, std::to_string(value)); }

bool TVWrequest_AppendBool(StrOut line, bool value) { return Append(line, value ? "true" : "false"); }

bool TVWrequest_SplitToken(StrOut line, StrOut token) {
  const std::string text = StrIn(line).Str();
  std::size_t from = 0, to = 0;
  if (!RawToken(text, from, to)) {
    line.Clear();
    return false;
  }
  Strings_Assign(Unescape(std::string_view(text).substr(from, to - from)), token);
  Strings_Assign(text.substr(to), line);
  return true;
}

bool TVWrequest_SplitInt(StrOut line, std::int32_t& value) {
  NameStr token;
  if (!TVWrequest_SplitToken(line, token)) return false;
  const std::string_view digits = StrIn(token).View();
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size() || digits.empty()) return false;
  value = number;
  return true;
}

// --- Demon side ------------------------------------------------------------------------------

Socket TVWrequest_SetupService(StrIn address, std::uint16_t port) {
  return Socket_Listen(address, port, kTextCap);
}

bool TVWrequest_TakeLine(Socket s, StrOut line, bool& tooLong) {
  tooLong = false;
  Socket_Fill(s);  // what came before the peer closed is still read
  const std::size_t count = std::min(Socket_Available(s), kLineMax + 1);
  std::string buffered(count, '\0');
  if (count == 0 || !Socket_Peek(s, 0, buffered.data(), count)) return false;
  const std::size_t end = buffered.find('\n');
  if (end == std::string::npos) {
    tooLong = count > kLineMax;
    return false;
  }
  Socket_ReadBytes(s, buffered.data(), end + 1);
  buffered.resize(end);
  Strings_Assign(buffered, line);
  return true;
}

int TVWrequest_SplitRequest(StrOut line) {
  NameStr token;
  if (!TVWrequest_SplitToken(line, token)) return TVWrequest_reqUnknown;
  for (int number = TVWrequest_reqTestService; number <= TVWrequest_reqFileReady; ++number)
    if (StrIn(token).View() == kRequests[number]) return number;
  return TVWrequest_reqUnknown;
}

bool TVWrequest_SplitIgnoreFileRequest(StrOut line, std::int32_t& pid, StrOut file, bool& begin, bool& flag) {
  return TVWrequest_SplitInt(line, pid) && SplitName(line, file) && SplitBool(line, begin) && SplitBool(line, flag);
}

bool TVWrequest_SplitFileStatusRequest(StrOut line, StrOut file, std::int32_t& modified) {
  return SplitName(line, file) && TVWrequest_SplitInt(line, modified);
}

bool TVWrequest_SplitFileStatusQuery(StrOut line, StrOut directory, std::int32_t& count) {
  return SplitName(line, directory) && TVWrequest_SplitInt(line, count);
}

bool TVWrequest_SplitFile(StrOut line, StrOut name, std::int32_t& modified) {
  return SplitName(line, name) && TVWrequest_SplitInt(line, modified);
}

bool TVWrequest_SplitFileReadyInform(StrOut line, StrOut file) { return SplitName(line, file); }

bool TVWrequest_SendResult(Socket s, std::int32_t code, StrIn result, StrIn error) {
  TVWrequest_Line line = "";
  TVWrequest_AppendInt(line, code);
  if (!TVWrequest_AppendString(line, result)) TVWrequest_AppendString(line, "");
  if (code != 0) {
    // An error text too long for the line goes cut.
    std::string text = error.Str();
    while (!TVWrequest_AppendString(line, text) && !text.empty()) text.resize(text.size() / 2);
  }
  const std::string bytes = StrIn(line).Str() + "\n";
  return Socket_WriteBytes(s, bytes.data(), bytes.size()) && Socket_Flush(s);
}
